// Finds out what a save would lose, without a save.
#pragma once

#include <string>
#include <vector>

#include "MemoryFile.h"
#include "TicketFile.h"

// A key that differs after a ticket was saved and loaded again, with what
// becomes of it.
struct LOSS {
    std::string key;
    std::string what;
    bool preventsSave = false;
};

// What a save of this ticket to `path` would write: the whole file. False for
// what the library refuses to save.
bool WriteTo(MEMORY_FILE& file, TICKET const& ticket);

// What would differ after a save to `path`; `file` receives what would be
// written. Throws FAILURE for a ticket whose file could not be loaded at all.
std::vector<LOSS> LossesOfASave(TICKET const& ticket, std::string const& path, MEMORY_FILE& file);
std::vector<LOSS> LossesOfASave(TICKET const& ticket, std::string const& path);
