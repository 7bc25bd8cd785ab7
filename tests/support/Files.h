// A directory of its own for each test, and its files as texts.
#pragma once

#include <sys/stat.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <set>
#include <stdexcept>
#include <string>
#include <string_view>

namespace files {

// Removed with everything in it at the end of the scope.
class SCRATCH {
 public:
    SCRATCH() : m_path(std::filesystem::temp_directory_path() / "ticket_test_XXXXXX") {
        if (!mkdtemp(m_path.data())) throw std::runtime_error("no scratch directory " + m_path);
    }
    ~SCRATCH() {
        std::error_code ignored;
        std::filesystem::permissions(m_path, std::filesystem::perms::owner_all, ignored);
        std::filesystem::remove_all(m_path, ignored);
    }
    SCRATCH(SCRATCH const&) = delete;
    SCRATCH& operator=(SCRATCH const&) = delete;

    std::string const& Path() const { return m_path; }
    std::string operator/(std::string const& name) const { return m_path + "/" + name; }

    // The names of what is there.
    std::set<std::string> Names() const {
        std::set<std::string> names;
        for (auto const& entry : std::filesystem::directory_iterator(m_path)) names.insert(entry.path().filename());
        return names;
    }

 private:
    std::string m_path;
};

inline void Write(std::string const& path, std::string_view content) {
    std::ofstream(path, std::ios::binary) << content;
}

// "(none)" for a file that cannot be opened, which no ticket file holds.
inline std::string Content(std::string const& path) {
    std::ifstream file(path, std::ios::binary);
    if (!file || std::filesystem::is_directory(path)) return "(none)";
    return {std::istreambuf_iterator<char>(file), {}};
}

inline bool Exists(std::string const& path) {
    return std::filesystem::exists(std::filesystem::symlink_status(path));
}

inline unsigned int Mode(std::string const& path) {
    struct stat found;
    return stat(path.c_str(), &found) == 0 ? found.st_mode & 07777 : ~0u;
}

}  // namespace files
