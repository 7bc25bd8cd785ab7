// Listing a directory and renaming a file.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>

#include "ConfigurationControl/SysLib.h"

namespace {

using testing::IsEmpty;
using testing::UnorderedElementsAre;

// A directory of its own for each test.
class SysLibFiles : public testing::Test {
 protected:
    void SetUp() override {
        std::string pattern = testing::TempDir() + "/sys_lib_XXXXXX";
        ASSERT_NE(mkdtemp(pattern.data()), nullptr);
        m_directory = pattern;
    }
    void TearDown() override {
        std::error_code ignored;
        std::filesystem::remove_all(m_directory, ignored);
    }

    std::string Path(std::string const& name) const { return m_directory + "/" + name; }
    void Write(std::string const& name, std::string const& content) const { std::ofstream(Path(name)) << content; }
    std::string Read(std::string const& name) const {
        std::ifstream file(Path(name));
        return {std::istreambuf_iterator<char>(file), {}};
    }
    std::list<std::string> List(std::string const& suffix) const {
        std::list<std::string> names{"left over from before"};
        SysLib::GetAllFilenames(names, m_directory, suffix);
        return names;
    }

    std::string m_directory;
};

}  // namespace

TEST_F(SysLibFiles, EmptySuffixListsEveryEntryDotsIncluded) {
    Write("x.tmp", "");
    Write("y.xml", "");
    ASSERT_EQ(mkdir(Path("folder").c_str(), 0700), 0);
    EXPECT_THAT(List(""), UnorderedElementsAre(".", "..", "x.tmp", "y.xml", "folder"));
}

TEST_F(SysLibFiles, SuffixSelectsTheNamesThatEndWithIt) {
    Write("x.tmp", "");
    Write("y.xml", "");
    EXPECT_THAT(List(".xml"), UnorderedElementsAre("y.xml"));
}

TEST_F(SysLibFiles, SuffixIsComparedByteForByte) {
    Write("a.xml", "");
    Write("a.XML", "");
    Write(".xml", "");
    Write("xml", "");
    Write("a.xml~", "");
    ASSERT_EQ(mkdir(Path("folder.xml").c_str(), 0700), 0);
    EXPECT_THAT(List(".xml"), UnorderedElementsAre("a.xml", ".xml", "folder.xml"));
}

TEST_F(SysLibFiles, SuffixLongerThanEveryNameListsNothing) {
    Write("y.xml", "");
    EXPECT_THAT(List("a suffix longer than every name.xml"), IsEmpty());
}

TEST_F(SysLibFiles, UnreadableDirectoryListsNothing) {
    std::list<std::string> names{"left over"};
    SysLib::GetAllFilenames(names, Path("missing"), "");
    EXPECT_THAT(names, IsEmpty());

    Write("file", "");
    names = {"left over"};
    SysLib::GetAllFilenames(names, Path("file"), "");
    EXPECT_THAT(names, IsEmpty());
    SysLib::GetAllFilenames(names, "", "");
    EXPECT_THAT(names, IsEmpty());
}

TEST_F(SysLibFiles, DirectoryAndSuffixMayBeElementsOfTheList) {
    Write("y.xml", "");
    std::list<std::string> names{m_directory, ".xml"};
    SysLib::GetAllFilenames(names, names.front(), names.back());
    EXPECT_THAT(names, UnorderedElementsAre("y.xml"));
}

TEST_F(SysLibFiles, ForceRenameReplacesTheTarget) {
    Write("from", "new");
    Write("to", "old");
    EXPECT_EQ(SysLib::ForceRename(Path("from"), Path("to")), "");
    EXPECT_EQ(Read("to"), "new");
    EXPECT_NE(access(Path("from").c_str(), F_OK), 0);
}

TEST_F(SysLibFiles, ForceRenameThatFailsLeavesBothFiles) {
    Write("file", "content");
    EXPECT_EQ(SysLib::ForceRename(Path("missing"), Path("file")), "");
    EXPECT_EQ(Read("file"), "content");
    EXPECT_EQ(SysLib::ForceRename(Path("file"), Path("missing/file")), "");
    EXPECT_EQ(Read("file"), "content");
    EXPECT_EQ(SysLib::ForceRename(Path("file"), m_directory), "");
    EXPECT_EQ(Read("file"), "content");
}
