// Keeping a file that could not be read when a save or a deletion takes its name.
//
// It is kept under KeptName, where it replaces an earlier one. Of a symbolic link the link is kept; what it leads to
// stays where it is.
#pragma once

#include <optional>
#include <string>

#include "Disk/Outcome.h"
#include "Disk/SystemCalls.h"

namespace TICKETFILE {

// Whether a save keeps the old file. KEEP is for a ticket that could not read its file.
enum class OLD { DISCARD, KEEP };

// Marks an open, completely written file as made by a save. Only an unchanged file counts as marked: neither a copy nor
// one that was written to later. File systems without extended attributes of users hold no marks.
void MarkAsSaved(int file);

// Whether the file of that name need not be kept: the misread one is kept already, and another save has put this one
// there since. Without marks every other file counts as such, since to keep it would lose the misread one. False if it
// is not known which file was misread.
bool WasSavedSince(std::string const& fileName, std::optional<FILE_ID> const& misread);

// Keeps a file that is about to be replaced, and leaves it under its name if it can be linked or copied. Throws
// std::bad_alloc before anything has happened.
KEPT Keep(std::string const& fileName);

// Keeps a file that is to be deleted, by moving it. Leaves the reason of a failure in errno.
KEPT MoveAside(std::string const& fileName);

}  // namespace TICKETFILE
