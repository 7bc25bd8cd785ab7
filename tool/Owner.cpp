// Everything is done on descriptors: a name may lead elsewhere by the time it is used.
#include "Owner.h"

#include <fcntl.h>
#include <sys/xattr.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <string_view>
#include <vector>

#include "Values.h"

namespace {

constexpr char ACCESS_CONTROL_LIST[] = "system.posix_acl_access";

bool SameContent(int a, int b) {
    std::vector<char> blockOfA(1 << 16);
    std::vector<char> blockOfB(blockOfA.size());
    for (off_t offset = 0;;) {
        ssize_t const count = pread(a, blockOfA.data(), blockOfA.size(), offset);
        if (count < 0 || pread(b, blockOfB.data(), blockOfB.size(), offset) != count) return false;
        if (count == 0) return true;
        if (!std::equal(blockOfA.begin(), blockOfA.begin() + count, blockOfB.begin())) return false;
        offset += count;
    }
}

// The names of a file's extended attributes, each followed by a NUL.
std::string AttributesOf(int file) {
    std::string names(1 << 16, '\0');
    ssize_t const size = flistxattr(file, names.data(), names.size());
    names.resize(size < 0 ? 0 : static_cast<std::size_t>(size));
    return names;
}

bool CopyAttribute(int from, int to, char const* name) {
    std::vector<char> value(1 << 16);
    ssize_t const size = fgetxattr(from, name, value.data(), value.size());
    return size >= 0 && fsetxattr(to, name, value.data(), static_cast<std::size_t>(size), 0) == 0;
}

// Returns false when an access control list was not copied.
bool CopyAttributes(int from, int to) {
    bool complete = true;
    auto const names = AttributesOf(from);
    for (std::size_t begin = 0; begin < names.size(); begin = names.find('\0', begin) + 1) {
        std::string_view const name = names.c_str() + begin;
        bool const isList = name == ACCESS_CONTROL_LIST;
        if (!isList && name.substr(0, 5) != "user.") continue;
        bool const copied = CopyAttribute(from, to, name.data());
        if (isList && !copied) complete = false;
    }
    return complete;
}

}  // namespace

OWNER::OWNER(std::string const& path)
    : m_path(path), m_file(open(path.c_str(), O_RDONLY | O_NOFOLLOW | O_CLOEXEC | O_NONBLOCK)) {
    if (m_file < 0 || fstat(m_file, &m_before) != 0) m_before = {};
}

OWNER::~OWNER() {
    if (m_file >= 0) close(m_file);
}

// Whether another user may have planted the file, to read secrets that are written into it.
bool OWNER::IsPlanted() const {
    if (m_before.st_uid == 0 || m_before.st_uid == geteuid()) return false;
    auto const directory = std::filesystem::path(m_path).parent_path();
    struct stat found;
    if (stat(directory.empty() ? "." : directory.c_str(), &found) != 0) return true;
    return (found.st_mode & S_IWOTH) != 0;
}

void OWNER::CheckForSave(bool force) const {
    if (m_file < 0 || force || m_before.st_uid == geteuid()) return;
    if (geteuid() != 0) {
        throw FAILURE(m_path +
                      ": not written: it is another user's, and would be "
                      "yours; --force writes all the same");
    }
    if (IsPlanted()) {
        throw FAILURE(m_path +
                      ": not written: it is another user's, in a directory in "
                      "which anybody can put files; " +
                      "--force writes it and makes it yours");
    }
}

void OWNER::Restore(MEMORY_FILE const& saved) const {
    if (m_file < 0 || geteuid() != 0 || IsPlanted()) return;
    int const file = open(m_path.c_str(), O_RDONLY | O_NOFOLLOW | O_CLOEXEC | O_NONBLOCK);
    if (file < 0) return;  // deleted, since nothing was left to save
    struct stat now;
    // With a second hard link, it may be a file of another user.
    bool const isOurs = fstat(file, &now) == 0 && S_ISREG(now.st_mode) && now.st_nlink == 1 &&
                        now.st_uid == geteuid() && SameContent(file, saved.Descriptor());
    try {
        if (!isOurs) throw FAILURE(m_path + ": was written, and replaced by somebody else's file at once");
        GiveBack(file);
    } catch (...) {
        close(file);
        throw;
    }
    close(file);
}

// The owner first: to change it clears bits of the mode, and rights are only ever added when the file is the owner's.
void OWNER::GiveBack(int file) const {
    bool restored = fchown(file, m_before.st_uid, m_before.st_gid) == 0;
    restored = restored && fchmod(file, m_before.st_mode & 07700) == 0;
    // The group's bits of a file with an access control list are the list's mask: without the list they say nothing.
    bool const isComplete = restored && CopyAttributes(m_file, file);
    restored = restored && fchmod(file, m_before.st_mode & (isComplete ? 07777 : 07707)) == 0;
    if (!restored) {
        throw FAILURE(m_path +
                      ": was written, but its owner and permissions could not be restored: " + std::strerror(errno));
    }
}
