// Keeping a file that could not be read when a save or a deletion takes its name.
//
// It is kept as the file name with ".unreadable" appended, where it replaces an earlier one.
#pragma once

#include <optional>
#include <string>

#include "Disk/SystemCalls.h"

namespace TICKETFILE {

// What becomes of the old file. KEEP is for one whose content never reached the ticket.
enum class OLD { DISCARD, KEEP };

// What came of that.
enum class KEPT { NOTHING, YES, NO };

// False if the name leads to another file than the one that was misread: whoever put it there has kept that one, and
// keeping the new one would lose it. True if it is not known which file that was.
bool IsStill(std::string const& fileName, std::optional<FILE_ID> const& misread);

// Keeps a file that is about to be replaced, and leaves it where it is if that can be done.
KEPT Keep(std::string const& fileName);

// Keeps a file that is to be deleted, by moving it.
KEPT MoveAside(std::string const& fileName);

}  // namespace TICKETFILE
