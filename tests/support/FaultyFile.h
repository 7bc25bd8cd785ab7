// Shared by the tests of file tickets on a system that fails: a fixture with a directory, and what the tests compare.
#pragma once

#include <gtest/gtest.h>
#include <unistd.h>

#include <filesystem>
#include <string>

#include "FileTickets.h"

namespace tickets {

// The number of open descriptors of this process.
inline int OpenDescriptors() {
    int count = 0;
    for (auto const& entry : std::filesystem::directory_iterator("/proc/self/fd")) count += !entry.path().empty();
    return count;
}

// The bytes of a file; "" for any other object.
inline std::string Content(std::string const& path) {
    return std::filesystem::is_regular_file(std::filesystem::symlink_status(path)) ? FileContent(path) : "";
}

// The bytes of the file of a ticket whose only key is "a".
inline std::string Text(int value) {
    return Document({("<a type=\"int\">" + std::to_string(value) + "</a>").c_str()});
}

// Ends the process after 100 s, so that a save that waits for ever fails.
class FaultyFile : public testing::Test {
 protected:
    FaultyFile() { alarm(100); }
    ~FaultyFile() override { alarm(0); }

    // Removes everything in the directory.
    void Empty() {
        for (std::string const& name : files::Names(m_scratch)) std::filesystem::remove_all(m_scratch.Path(name));
    }

    // Whether another file in the directory has that content.
    bool IsKept(std::string const& content) const {
        for (std::string const& name : files::Names(m_scratch)) {
            if (name != "t.xml" && name != "t.xml.tmp" && Content(m_scratch.Path(name)) == content) return true;
        }
        return false;
    }

    SCRATCH_DIRECTORY m_scratch;
    std::string const m_file = m_scratch.Path("t.xml");
    std::string const m_temporary = m_file + ".tmp";
};

}  // namespace tickets
