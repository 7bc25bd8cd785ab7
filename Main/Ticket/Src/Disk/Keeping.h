// Keeps a file that could not be read when a save or a deletion takes its name.
//
// The file gets KeptName and replaces an earlier kept file. A symbolic link is kept as a link; its target stays.
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

// Whether the file of that name need not be kept: the misread file is kept already, and another save has made this one
// since. Without marks every other file counts as saved: to keep it would lose the misread one. False if that one is
// unknown.
bool WasSavedSince(std::string const& fileName, std::optional<FILE_ID> const& misread);

// Keeps a file that is about to be replaced, and leaves it under its name if it can be linked or copied. Throws
// std::bad_alloc before anything has happened.
KEPT Keep(std::string const& fileName);

// Keeps a file that is to be deleted, by moving it. Leaves the reason of a failure in errno.
KEPT MoveAside(std::string const& fileName);

}  // namespace TICKETFILE
