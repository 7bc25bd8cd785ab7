// Replaces a file by one text.
#pragma once

#include <string>
#include <string_view>

#include "Disk/Replacement.h"

inline TICKETFILE::SAVE_OUTCOME OutcomeOfReplacing(std::string const& fileName, std::string_view bytes,
                                                   TICKETFILE::OLD old) {
    TICKETFILE::REPLACEMENT file(fileName);
    file.Take(bytes);
    return file.Commit(old);
}

inline bool Replace(std::string const& fileName, std::string_view bytes, TICKETFILE::OLD old) {
    return OutcomeOfReplacing(fileName, bytes, old).Succeeded();
}
