// The configuration service's helpers for files and paths.
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>
#include <utime.h>

#include "ConfigurationControl/ConfigurationCtrl.h"
#include "support/Processes.h"
#include "support/ScratchDirectory.h"

namespace {

TEST(Seperator, IsTheSlash) {
    EXPECT_EQ(CConfigurationControl::GetSeperator(), "/");
}

TEST(CreateSubDirectory, MakesEveryMissingDirectory) {
    SCRATCH_DIRECTORY const scratch;
    CConfigurationControl::CreateSubDirectory(scratch.Path("a/b/c"));
    EXPECT_TRUE(std::filesystem::is_directory(scratch.Path("a/b/c")));
    CConfigurationControl::CreateSubDirectory(scratch.Path("a/b/d/"));
    EXPECT_TRUE(std::filesystem::is_directory(scratch.Path("a/b/d")));
}

TEST(CreateSubDirectory, GivesAllRightsThatTheMaskLeaves) {
    SCRATCH_DIRECTORY const scratch;
    mode_t const mask = umask(0027);
    CConfigurationControl::CreateSubDirectory(scratch.Path("a/b"));
    umask(mask);
    for (char const* name : {"a", "a/b"}) {
        struct stat status;
        ASSERT_EQ(stat(scratch.Path(name).c_str(), &status), 0);
        EXPECT_EQ(status.st_mode & 0777, 0750u) << name;
    }
}

TEST(CreateSubDirectory, TakesARelativePath) {
    SCRATCH_DIRECTORY const scratch;
    auto const before = std::filesystem::current_path();
    std::filesystem::current_path(scratch.Path());
    CConfigurationControl::CreateSubDirectory("here/below");
    std::filesystem::current_path(before);
    EXPECT_TRUE(std::filesystem::is_directory(scratch.Path("here/below")));
}

TEST(CreateSubDirectory, LeavesWhatExistsAlone) {
    SCRATCH_DIRECTORY const scratch;
    scratch.Write("file", "content");
    CConfigurationControl::CreateSubDirectory(scratch.Path("file"));
    EXPECT_EQ(FileContent(scratch.Path("file")), "content");
}

TEST(CreateSubDirectory, IgnoresWhatCannotBeMade) {
    SCRATCH_DIRECTORY const scratch;
    scratch.Write("file", "content");
    CConfigurationControl::CreateSubDirectory(scratch.Path("file/below"));
    CConfigurationControl::CreateSubDirectory("");
    EXPECT_EQ(FileContent(scratch.Path("file")), "content");
}

class ModifiedFileTime : public testing::Test {
 protected:
    // Creates the file with a time two days after the epoch and reads that time through the service.
    bool Ask(std::string const& content) {
        m_scratch.Write("file", content);
        std::string path = m_scratch.Path("file");
        utimbuf const times{0, TWO_DAYS};
        EXPECT_EQ(utime(path.c_str(), &times), 0);
        return CConfigurationControl::GetModifiedFileTime(path, m_time);
    }

    static constexpr long TWO_DAYS = 2 * 86400;
    SCRATCH_DIRECTORY m_scratch;
    long m_time = -7;
};

TEST_F(ModifiedFileTime, IsGivenInSecondsSince1970) {
    EXPECT_TRUE(Ask("x"));
    EXPECT_EQ(m_time, TWO_DAYS);
}

TEST_F(ModifiedFileTime, OfAnEmptyFileSucceedsAndLeavesTheTimeUnchanged) {
    EXPECT_TRUE(Ask(""));
    EXPECT_EQ(m_time, -7);
}

TEST_F(ModifiedFileTime, OfADirectorySucceeds) {
    std::string path = m_scratch.Path();
    EXPECT_TRUE(CConfigurationControl::GetModifiedFileTime(path, m_time));
}

TEST_F(ModifiedFileTime, OfAPipeSucceedsWithoutItsWriterAndLeavesTheTimeUnchanged) {
    std::string path = m_scratch.Path("pipe");
    ASSERT_EQ(mkfifo(path.c_str(), 0600), 0);
    EXPECT_TRUE(Succeeded(Spawn([&] {
        alarm(20);
        return CConfigurationControl::GetModifiedFileTime(path, m_time) && m_time == -7;
    })));
}

TEST_F(ModifiedFileTime, OfAMissingFileFailsAndLeavesTheTimeUnchanged) {
    std::string path = m_scratch.Path("missing");
    EXPECT_FALSE(CConfigurationControl::GetModifiedFileTime(path, m_time));
    EXPECT_EQ(m_time, -7);
    EXPECT_EQ(path, m_scratch.Path("missing"));
}

}  // namespace
