#include "Disk/Keeping.h"

#include <fcntl.h>
#include <unistd.h>

#include <array>
#include <cstdio>

namespace TICKETFILE {
namespace {

constexpr mode_t PERMISSION_BITS = 0777;

std::string KeptName(std::string const& fileName) {
    return fileName + ".unreadable";
}

// Leaves no `from` behind, also where both are names of one file, which a rename leaves alone.
bool MoveOver(std::string const& from, std::string const& to) {
    bool const moved = rename(from.c_str(), to.c_str()) == 0;
    unlink(from.c_str());
    return moved;
}

// A second name for the file itself, or for a link if that is what it is.
bool KeepByLink(std::string const& fileName, std::string const& kept) {
    std::string free = kept + ".XXXXXX";
    DESCRIPTOR const made = CreateUnique(free);  // its name is what matters
    if (!made || unlink(free.c_str()) != 0) return false;
    return link(fileName.c_str(), free.c_str()) == 0 && MoveOver(free, kept);
}

bool CopyAll(int from, int to) {
    std::array<char, 16384> bytes;
    for (;;) {
        ssize_t const count = Retried([&] { return read(from, bytes.data(), bytes.size()); });
        if (count <= 0) return count == 0;
        if (!WriteAll(to, {bytes.data(), static_cast<std::size_t>(count)})) return false;
    }
}

bool KeepByCopy(std::string const& fileName, std::string const& kept) {
    DESCRIPTOR const file = Open(fileName, O_RDONLY | O_NONBLOCK);
    struct stat found;
    if (!file || fstat(file.Number(), &found) != 0 || !S_ISREG(found.st_mode)) return false;
    std::string name = kept + ".XXXXXX";
    DESCRIPTOR copy = CreateUnique(name);
    if (!copy) return false;
    // Refused only where files have no such bits of their own; then there is nothing to protect by them.
    fchmod(copy.Number(), found.st_mode & PERMISSION_BITS);
    bool const whole = FlushAndClose(copy, CopyAll(file.Number(), copy.Number()));
    if (whole) return MoveOver(name, kept);
    unlink(name.c_str());
    return false;
}

}  // namespace

bool IsStill(std::string const& fileName, std::optional<FILE_ID> const& misread) {
    struct stat found;
    if (!misread || stat(fileName.c_str(), &found) != 0) return true;
    return found.st_dev == misread->device && found.st_ino == misread->number;
}

// Only another user's file, which may be neither linked nor read, is moved away first: to be without a file for a
// moment is better than to lose it. A directory is never replaced.
KEPT Keep(std::string const& fileName) {
    std::string const kept = KeptName(fileName);
    std::string const directory = DirectoryOf(fileName);
    struct stat old;
    struct stat earlier;
    bool const isKnown = lstat(fileName.c_str(), &old) == 0;
    if (isKnown ? S_ISDIR(old.st_mode) : errno == ENOENT) return KEPT::NOTHING;
    bool const isKept = isKnown && lstat(kept.c_str(), &earlier) == 0 && IsSameFile(old, earlier);
    bool const done = isKept || KeepByLink(fileName, kept) || KeepByCopy(fileName, kept) ||
                      (isKnown && rename(fileName.c_str(), kept.c_str()) == 0);
    if (!done) return errno == ENOENT ? KEPT::NOTHING : KEPT::NO;
    FlushDirectory(directory);
    return KEPT::YES;
}

KEPT MoveAside(std::string const& fileName) {
    std::string const kept = KeptName(fileName);
    struct stat found;
    struct stat earlier;
    bool const isKnown = lstat(fileName.c_str(), &found) == 0;
    if (isKnown && S_ISDIR(found.st_mode)) return KEPT::NOTHING;
    // A rename leaves both names of one file alone.
    bool const isKept = isKnown && lstat(kept.c_str(), &earlier) == 0 && IsSameFile(found, earlier);
    int const failed = isKept ? unlink(fileName.c_str()) : rename(fileName.c_str(), kept.c_str());
    if (failed == 0) return KEPT::YES;
    return errno == ENOENT ? KEPT::NOTHING : KEPT::NO;
}

}  // namespace TICKETFILE
