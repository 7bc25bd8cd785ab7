// Keeps the owner of a file across a save. A save creates a new file, which belongs to the user who runs the tool.
#pragma once

#include <sys/stat.h>

#include <string>

#include "MemoryFile.h"

// Made before a save, it knows owner, group, permissions and extended attributes of the file, if there is one. An
// administrator must not take a program's settings away from it.
class OWNER {
 public:
    explicit OWNER(std::string const& path);
    ~OWNER();
    OWNER(OWNER const&) = delete;
    OWNER& operator=(OWNER const&) = delete;

    // Throws FAILURE when the new file would not be the owner's, or should not be. `force` allows it.
    void CheckForSave(bool force) const;

    // Gives the file that was saved back to the owner. Only root can; for others it does nothing. `saved` is what was
    // written: a file that another process has put in its place is not given away. Throws FAILURE when that failed.
    void Restore(MEMORY_FILE const& saved) const;

 private:
    bool IsPlanted() const;
    void GiveBack(int file) const;

    std::string m_path;
    int const m_file;  // the old one, also while its name leads to another; -1 if
                       // there is none
    struct stat m_before;
};
