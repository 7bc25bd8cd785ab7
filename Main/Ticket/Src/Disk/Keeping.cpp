#include "Disk/Keeping.h"

#include <fcntl.h>
#include <sys/xattr.h>
#include <unistd.h>

#include <array>
#include <climits>
#include <cstdio>
#include <string_view>

#include "Disk/Attributes.h"
#include "Disk/FileNames.h"

namespace TICKETFILE {
namespace {

// The value of a mark: the file's inode number and the time of its last write.
std::string MarkOf(struct stat const& file) {
    return std::to_string(file.st_ino) + ' ' + std::to_string(file.st_mtim.tv_sec) + '.' +
           std::to_string(file.st_mtim.tv_nsec);
}

// Also true on file systems without such attributes.
bool IsMarked(std::string const& fileName, struct stat const& file) {
    std::array<char, 80> mark;
    ssize_t const size = getxattr(fileName.c_str(), SAVED_MARK, mark.data(), mark.size());
    if (size < 0) return errno == EOPNOTSUPP;
    return std::string_view(mark.data(), static_cast<std::size_t>(size)) == MarkOf(file);
}

// A copy has another inode number, but the same size and time.
bool IsFileOrCopy(FILE_ID const& id, struct stat const& file) {
    return IsSameFile(id, file) || (id.size == file.st_size && IsSameTime(id.modified, file.st_mtim));
}

// The names that keeping a file needs. All are made at once: nothing may throw after a rename.
struct NAMES {
    explicit NAMES(std::string const& fileName)
        : file(fileName), kept(KeptName(fileName)), unique(UniqueKeptName(fileName)) {}

    std::string const file;
    std::string const kept;
    std::string unique;
};

// Renames a file. Removes `from` also if that fails or both names are links to one file: rename() then does nothing.
bool MoveOver(std::string const& from, std::string const& to) {
    bool const moved = rename(from.c_str(), to.c_str()) == 0;
    unlink(from.c_str());
    return moved;
}

// Makes a unique name for a file that does not exist yet.
bool FindFreeName(std::string& name) {
    DESCRIPTOR const made = CreateUnique(name);
    return made && unlink(name.c_str()) == 0;
}

// Whether this user may remove further names of a file: under the sticky bit only its owner may, and the directory's.
bool MayRemove(std::string const& fileName) {
    struct stat file;
    struct stat directory;
    if (lstat(fileName.c_str(), &file) != 0 || stat(DirectoryOf(fileName).c_str(), &directory) != 0) return false;
    bool const isOwner = file.st_uid == geteuid() || directory.st_uid == geteuid();
    return isOwner || (directory.st_mode & S_ISVTX) == 0;
}

// Makes a hard link to the file; for a symbolic link, to the link itself.
bool KeepByLink(NAMES names) {
    return MayRemove(names.file) && FindFreeName(names.unique) && link(names.file.c_str(), names.unique.c_str()) == 0 &&
           MoveOver(names.unique, names.kept);
}

bool CopyAll(int from, int to) {
    std::array<char, 16384> bytes;
    for (;;) {
        ssize_t const count = Retried([&] { return read(from, bytes.data(), bytes.size()); });
        if (count <= 0) return count == 0;
        if (!WriteAll(to, {bytes.data(), static_cast<std::size_t>(count)})) return false;
    }
}

bool CopyLink(NAMES names) {
    std::array<char, PATH_MAX> target;
    ssize_t const size = readlink(names.file.c_str(), target.data(), target.size() - 1);
    if (size < 0 || !FindFreeName(names.unique)) return false;
    target[static_cast<std::size_t>(size)] = '\0';
    return symlink(target.data(), names.unique.c_str()) == 0 && MoveOver(names.unique, names.kept);
}

// Does not follow a link: whoever planted it could read the copy of its target.
bool CopyFile(NAMES names) {
    FILE_ATTRIBUTES const attributes = AttributesFor(names.file);
    DESCRIPTOR const file = OpenToRead(names.file, O_NOFOLLOW);
    struct stat found;
    if (!file || fstat(file.Number(), &found) != 0 || !S_ISREG(found.st_mode)) return false;
    DESCRIPTOR copy = CreateUnique(names.unique);
    if (!copy) return false;
    bool const isCopied = CopyAll(file.Number(), copy.Number());
    timespec const times[] = {found.st_atim, found.st_mtim};
    futimens(copy.Number(), times);
    GiveAttributes(copy.Number(), attributes);
    if (FlushAndClose(copy, isCopied)) return MoveOver(names.unique, names.kept);
    unlink(names.unique.c_str());
    return false;
}

// Whether both names are hard links to one file: rename() would do nothing.
bool IsKept(struct stat const& file, std::string const& kept) {
    struct stat earlier;
    return lstat(kept.c_str(), &earlier) == 0 && IsSameFile(file, earlier);
}

}  // namespace

void MarkAsSaved(int file) {
    struct stat found;
    if (fstat(file, &found) != 0) return;
    std::string const mark = MarkOf(found);
    fsetxattr(file, SAVED_MARK, mark.data(), mark.size(), 0);
}

bool WasSavedSince(std::string const& fileName, std::optional<FILE_ID> const& misread) {
    struct stat found;
    struct stat kept;
    if (!misread || stat(fileName.c_str(), &found) != 0) return false;
    if (stat(KeptName(fileName).c_str(), &kept) != 0 || !IsFileOrCopy(*misread, kept)) return false;
    return IsMarked(fileName, found);
}

// A file that can be neither linked nor copied is renamed: better a moment without it than its loss.
KEPT Keep(std::string const& fileName) {
    NAMES const names(fileName);
    std::string const directory = DirectoryOf(fileName);
    struct stat old;
    bool const isKnown = lstat(fileName.c_str(), &old) == 0;
    if (isKnown ? WrongKind(old.st_mode) != 0 : errno == ENOENT) return KEPT::NOTHING;
    auto const copy = isKnown && S_ISLNK(old.st_mode) ? CopyLink : CopyFile;
    bool const done = (isKnown && IsKept(old, names.kept)) || KeepByLink(names) || copy(names) ||
                      (isKnown && rename(fileName.c_str(), names.kept.c_str()) == 0);
    if (!done) return errno == ENOENT ? KEPT::NOTHING : KEPT::NO;
    FlushDirectory(directory);
    return KEPT::YES;
}

KEPT MoveAside(std::string const& fileName) {
    std::string const kept = KeptName(fileName);
    struct stat found;
    bool const isKnown = lstat(fileName.c_str(), &found) == 0;
    bool const isKept = isKnown && IsKept(found, kept);
    int const failed = isKept ? unlink(fileName.c_str()) : rename(fileName.c_str(), kept.c_str());
    if (failed == 0) return KEPT::YES;
    return errno == ENOENT ? KEPT::NOTHING : KEPT::NO;
}

}  // namespace TICKETFILE
