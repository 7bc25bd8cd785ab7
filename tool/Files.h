// What must hold of a file before a command touches it, and how a change reaches it safely.
#pragma once

#include <functional>
#include <string>

#include "TicketFile.h"

// Throws Failure unless the file exists, can be read and parses; the message carries line and column.
void RequireTicketFile(std::string const& path);

// The same, but a missing file is fine: a write command makes it.
void RequireTicketFileOrNone(std::string const& path);

// Changes a file. The change is rehearsed on a copy first, saved, read back and compared: when it would not come back
// as it was made, or would alter something else, nothing is written and Failure says which key. `force` skips the
// comparison.
void Rewrite(std::string const& path, bool force, std::function<void(TicketFile&)> const& change);

// The keys that differ after a file was loaded, saved and loaded again, each with what becomes of it.
struct LOSS {
    std::string key;
    std::string what;
};
std::vector<LOSS> LossesOfASave(std::string const& path);
