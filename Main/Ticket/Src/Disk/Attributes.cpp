#include "Disk/Attributes.h"

#include <sys/stat.h>
#include <sys/xattr.h>
#include <unistd.h>

#include <cstring>
#include <filesystem>
#include <string_view>
#include <system_error>

#include "Disk/FileNames.h"
#include "Disk/SystemCalls.h"

namespace TICKETFILE {

char const SAVED_MARK[] = "user.configurationcontrol.saved";

namespace {

constexpr char ACL[] = "system.posix_acl_access";
constexpr char USERS[] = "user.";
constexpr mode_t PERMISSION_BITS = 0777;
constexpr mode_t ALL_MODE_BITS = 07777;

constexpr int MOST_LINKS = 40;  // the system follows no more of them

// What a symbolic link leads to, itself a link perhaps; empty if it cannot be read.
std::string TargetOf(std::string const& link) {
    std::error_code error;
    std::filesystem::path const target = std::filesystem::read_symlink(link, error);
    return error ? "" : (std::filesystem::path(link).parent_path() / target).string();
}

// Whether another user may have chosen the file that the name leads to: the file, which `file` describes, or a link on
// the way to it.
bool MayBePlanted(std::string const& fileName, struct stat const& file, int mostLinks = MOST_LINKS) {
    struct stat named;
    struct stat directory;
    if (lstat(fileName.c_str(), &named) != 0 || stat(DirectoryOf(fileName).c_str(), &directory) != 0) return true;
    bool const isTrusted = IsTrusted(file.st_uid) && IsTrusted(named.st_uid) && IsTrusted(directory.st_uid);
    if (!isTrusted || (directory.st_mode & S_IWOTH) != 0) return true;
    return S_ISLNK(named.st_mode) && (mostLinks == 0 || MayBePlanted(TargetOf(fileName), file, mostLinks - 1));
}

// Nothing if it cannot be read; errno tells why.
std::optional<std::string> ExtendedAttribute(std::string const& fileName, char const* name) {
    ssize_t size = getxattr(fileName.c_str(), name, nullptr, 0);
    if (size < 0) return {};
    std::string value(static_cast<std::size_t>(size), '\0');
    size = getxattr(fileName.c_str(), name, value.data(), value.size());
    if (size < 0) return {};
    value.resize(static_cast<std::size_t>(size));
    return value;
}

// The names of all extended attributes, each followed by a NUL.
std::string ExtendedNames(std::string const& fileName) {
    ssize_t size = listxattr(fileName.c_str(), nullptr, 0);
    if (size <= 0) return {};
    std::string names(static_cast<std::size_t>(size), '\0');
    size = listxattr(fileName.c_str(), names.data(), names.size());
    names.resize(size < 0 ? 0 : static_cast<std::size_t>(size));
    return names;
}

void ReadExtended(std::string const& fileName, FILE_ATTRIBUTES& attributes) {
    std::string const names = ExtendedNames(fileName);
    for (std::size_t begin = 0; begin < names.size(); begin += std::strlen(&names[begin]) + 1) {
        std::string const name = &names[begin];
        if (name.compare(0, std::strlen(USERS), USERS) != 0 || name == SAVED_MARK) continue;
        if (auto value = ExtendedAttribute(fileName, name.c_str()))
            attributes.extended.emplace_back(name, std::move(*value));
    }
}

void ReadPermissions(std::string const& fileName, struct stat const& file, FILE_ATTRIBUTES& attributes) {
    attributes.mode = file.st_mode & PERMISSION_BITS;
    attributes.group = file.st_gid;
    if (auto acl = ExtendedAttribute(fileName, ACL))
        attributes.acl = std::move(*acl);
    else if (errno != ENODATA && errno != EOPNOTSUPP)
        attributes.mode &= S_IRWXU;  // an ACL that cannot be read may allow less than the bits
}

// Returns permission bits that give no user more than the ACL does: without it, the users and groups that it names get
// the bits of the group or of others. An ACL is a version of 4 bytes, then entries of 8: 2 tag, 2 bits, little-endian.
mode_t BitsWithinAcl(mode_t mode, std::string_view acl) {
    enum TAG { NAMED_USER = 0x02, OWNING_GROUP = 0x04, NAMED_GROUP = 0x08, MASK = 0x10, OTHERS = 0x20 };
    constexpr std::size_t VERSION_SIZE = 4;
    constexpr std::size_t ENTRY_SIZE = 8;
    mode_t group = 0;
    mode_t others = 0;
    mode_t mask = S_IRWXO;
    mode_t named = S_IRWXO;  // what all named users and groups may do
    bool hasNamed = false;
    for (std::size_t at = VERSION_SIZE; at + ENTRY_SIZE <= acl.size(); at += ENTRY_SIZE) {
        mode_t const bits = static_cast<unsigned char>(acl[at + 2]) & S_IRWXO;
        switch (static_cast<unsigned char>(acl[at])) {
            case OWNING_GROUP:
                group = bits;
                break;
            case MASK:
                mask = bits;
                break;
            case OTHERS:
                others = bits;
                break;
            case NAMED_USER:
            case NAMED_GROUP:
                named &= bits;
                hasNamed = true;
                break;
        }
    }
    if (hasNamed) named &= mask;
    return (mode & S_IRWXU) | (group & mask & named) << 3 | (others & named);
}

// Members of the old group become others, and members of the new group were others: neither may gain rights.
mode_t BitsWithoutGroup(mode_t mode) {
    mode_t const group = (mode & S_IRWXG) >> 3;
    return (mode & S_IRWXU) | (mode & S_IRWXO & group);
}

// A new file may have inherited an ACL from its directory, which takes effect once the group gets bits.
bool RemoveAcl(int file) {
    return fremovexattr(file, ACL) == 0 || errno == ENODATA || errno == EOPNOTSUPP;
}

}  // namespace

// Another file may get the name between these calls; then the time of the last change differs, and they are repeated.
FILE_ATTRIBUTES AttributesFor(std::string const& fileName) {
    constexpr int ATTEMPTS = 3;
    for (int attempt = 0; attempt < ATTEMPTS; ++attempt) {
        FILE_ATTRIBUTES attributes;
        struct stat file;
        if (stat(fileName.c_str(), &file) != 0 || !S_ISREG(file.st_mode)) return {};
        if (!MayBePlanted(fileName, file)) ReadPermissions(fileName, file, attributes);
        ReadExtended(fileName, attributes);
        struct stat after;
        bool const isKnown = stat(fileName.c_str(), &after) == 0;
        if (isKnown && IsSameFile(file, after) && IsSameTime(file.st_ctim, after.st_ctim)) return attributes;
    }
    return {};
}

// The mode comes last: the owner may set attributes only while the mode lets him write.
void GiveAttributes(int file, FILE_ATTRIBUTES const& attributes) {
    for (auto const& [name, value] : attributes.extended) fsetxattr(file, name.c_str(), value.data(), value.size(), 0);
    struct stat own;
    bool const isKnown = fstat(file, &own) == 0;
    bool const hasGroup = !attributes.group || (isKnown && own.st_gid == *attributes.group) ||
                          fchown(file, static_cast<uid_t>(-1), *attributes.group) == 0;
    std::string const& acl = attributes.acl;
    if (hasGroup && !acl.empty() && fsetxattr(file, ACL, acl.data(), acl.size(), 0) == 0) return;
    mode_t mode = acl.empty() ? attributes.mode : BitsWithinAcl(attributes.mode, acl);
    if (!hasGroup) mode = BitsWithoutGroup(mode);
    if ((mode & S_IRWXG) != 0 && !RemoveAcl(file)) mode &= ~static_cast<mode_t>(S_IRWXG);
    // Fails only on file systems that keep no such bits.
    if (!isKnown || (own.st_mode & ALL_MODE_BITS) != mode) Retried([&] { return fchmod(file, mode); });
}

}  // namespace TICKETFILE
