// A directory of its own for one test, removed with everything in it.
#pragma once

#include <stdlib.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <string>
#include <system_error>

class SCRATCH_DIRECTORY {
 public:
    SCRATCH_DIRECTORY() : SCRATCH_DIRECTORY(std::filesystem::temp_directory_path()) {}
    // Creates it below `place`, for instance on another file system.
    explicit SCRATCH_DIRECTORY(std::filesystem::path const& place) : m_path(place / "test_XXXXXX") {
        if (!mkdtemp(m_path.data())) throw std::runtime_error("no scratch directory");
    }
    ~SCRATCH_DIRECTORY() {
        std::error_code ignored;
        std::filesystem::remove_all(m_path, ignored);
    }
    SCRATCH_DIRECTORY(SCRATCH_DIRECTORY const&) = delete;
    SCRATCH_DIRECTORY& operator=(SCRATCH_DIRECTORY const&) = delete;

    std::string Path(std::string const& name) const { return m_path + "/" + name; }
    std::string const& Path() const { return m_path; }

    void Write(std::string const& name, std::string const& content) const {
        std::ofstream(Path(name), std::ios::binary) << content;
    }
    bool Has(std::string const& name) const { return std::filesystem::exists(Path(name)); }

 private:
    std::string m_path;
};

// The bytes of a file; "" if there is none.
inline std::string FileContent(std::string const& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}
