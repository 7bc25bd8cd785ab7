// Queries about files and directories.
#pragma once

#include <sys/stat.h>

#include <filesystem>
#include <fstream>
#include <set>
#include <string>
#include <string_view>

#include "ScratchDirectory.h"

namespace files {

// The names in a directory.
inline std::set<std::string> Names(SCRATCH_DIRECTORY const& directory) {
    std::set<std::string> names;
    for (auto const& entry : std::filesystem::directory_iterator(directory.Path()))
        names.insert(entry.path().filename());
    return names;
}

inline void Write(std::string const& path, std::string_view content) {
    std::ofstream(path, std::ios::binary) << content;
}

// True also for a symbolic link without a target.
inline bool Exists(std::string const& path) {
    return std::filesystem::exists(std::filesystem::symlink_status(path));
}

inline unsigned int Mode(std::string const& path) {
    struct stat found;
    return stat(path.c_str(), &found) == 0 ? found.st_mode & 07777 : ~0u;
}

}  // namespace files
