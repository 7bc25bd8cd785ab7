// The names that belong to a ticket's file.
#pragma once

#include <string>

namespace TICKETFILE {

// The absolute name, which leads to the same file after a change of the working directory. Symbolic links in it are not
// resolved. An empty name stays empty; a relative one stays as it is where the working directory is not known or the
// name would become too long for the system.
std::string AbsoluteName(std::string const& fileName);

// The directory of a name, up to its last "/"; "." if it has none.
std::string DirectoryOf(std::string const& fileName);

// The file that a save writes and then renames: ".tmp" is appended. See NameBeside for long names.
std::string TemporaryName(std::string const& fileName);

// Where a file that could not be read is kept: ".unreadable" is appended. See NameBeside for long names.
std::string KeptName(std::string const& fileName);

// Names for CreateUnique: ".XXXXXX" is appended as well.
std::string UniqueTemporaryName(std::string const& fileName);
std::string UniqueKeptName(std::string const& fileName);

// Appends a suffix. A name that would exceed 255 bytes is shortened first: to its beginning, not within a character of
// UTF-8, followed by '~' and 16 hexadecimal digits, the FNV-1a hash of the whole name (without its directory).
std::string NameBeside(std::string const& fileName, char const* suffix);

}  // namespace TICKETFILE
