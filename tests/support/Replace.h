// A save of one piece.
#pragma once

#include <string>
#include <string_view>

#include "Disk/Replacement.h"

inline bool Replace(std::string const& fileName, std::string_view bytes, TICKETFILE::OLD old,
                    TICKETFILE::KEPT* kept = nullptr) {
    TICKETFILE::REPLACEMENT file(fileName);
    file.Take(bytes);
    return file.Commit(old, kept);
}
