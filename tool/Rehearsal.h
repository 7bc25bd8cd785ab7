// Finds out what a save would lose, without touching the file.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "MemoryFile.h"
#include "TicketFile.h"

// A key that differs after a ticket was saved and loaded again, with what becomes of it.
struct LOSS {
    std::string key;
    std::string what;
    bool preventsSave = false;
};

// Whether a save of this ticket would write exactly this text.
bool IsAsSaved(TICKET const& ticket, std::string_view text);

// What would differ after a save to `path`; `file` receives what would be written. Throws FAILURE for a ticket whose
// file could not be loaded at all.
std::vector<LOSS> LossesOfASave(TICKET const& ticket, std::string const& path, MEMORY_FILE& file);
std::vector<LOSS> LossesOfASave(TICKET const& ticket, std::string const& path);
