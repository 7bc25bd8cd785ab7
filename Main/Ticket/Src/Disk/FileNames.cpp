#include "Disk/FileNames.h"

#include <climits>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <string_view>
#include <system_error>

namespace TICKETFILE {
namespace {

constexpr std::size_t HASH_SIZE = 17;  // '~' and the digits

std::string HashText(std::string_view name) {
    std::uint64_t hash = 14695981039346656037u;
    for (char const byte : name) hash = (hash ^ static_cast<unsigned char>(byte)) * 1099511628211u;
    char text[HASH_SIZE + 1];
    std::snprintf(text, sizeof text, "~%016llx", static_cast<unsigned long long>(hash));
    return text;
}

bool IsInsideCharacter(char byte) {
    return (static_cast<unsigned char>(byte) & 0xC0) == 0x80;
}

}  // namespace

std::string AbsoluteName(std::string const& fileName) {
    if (fileName.empty() || fileName.front() == '/') return fileName;
    std::error_code error;
    std::string name = std::filesystem::current_path(error);
    if (error || name.empty() || name.front() != '/') return fileName;
    if (name.back() != '/') name += '/';
    name += fileName;
    return name.size() < PATH_MAX ? name : fileName;
}

std::string DirectoryOf(std::string const& fileName) {
    std::size_t const slash = fileName.rfind('/');
    return slash == std::string::npos ? "." : fileName.substr(0, slash + 1);
}

std::string NameBeside(std::string const& fileName, char const* suffix) {
    std::size_t const begin = fileName.rfind('/') + 1;  // 0 without a directory
    std::string_view const name = std::string_view(fileName).substr(begin);
    std::size_t const room = NAME_MAX - std::string_view(suffix).size();
    if (name.size() <= room) return fileName + suffix;
    std::size_t size = room - HASH_SIZE;
    while (size > 0 && IsInsideCharacter(name[size])) --size;
    return fileName.substr(0, begin + size) + HashText(name) + suffix;
}

std::string TemporaryName(std::string const& fileName) {
    return NameBeside(fileName, ".tmp");
}

std::string KeptName(std::string const& fileName) {
    return NameBeside(fileName, ".unreadable");
}

std::string UniqueTemporaryName(std::string const& fileName) {
    return NameBeside(fileName, ".tmp.XXXXXX");
}

std::string UniqueKeptName(std::string const& fileName) {
    return NameBeside(fileName, ".unreadable.XXXXXX");
}

}  // namespace TICKETFILE
