// How a change reaches a file safely.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "TicketFile.h"

// Changes a file, or makes it. The change is rehearsed on a copy first, saved, read back and compared: when it would
// not come back as it was made, or would alter something else, nothing is written and Failure says which key. `force`
// writes all the same. One tool at a time changes the files of a directory; a link is followed, and the owner stays.
void Rewrite(std::string const& path, bool force, std::function<void(TicketFile&)> const& change);

// A key that differs after a file was loaded, saved and loaded again, with what becomes of it.
struct LOSS {
    std::string key;
    std::string what;
    bool preventsSave = false;
};
std::vector<LOSS> LossesOfASave(std::string const& path);
