// Listing a directory and renaming a file.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <list>
#include <string>

#include "ConfigurationControl/SysLib.h"
#include "support/ScratchDirectory.h"

namespace {

using testing::IsEmpty;
using testing::UnorderedElementsAre;

class SysLibFiles : public testing::Test {
 protected:
    std::string Path(std::string const& name) const { return m_scratch.Path(name); }
    void Write(std::string const& name, std::string const& content) const { m_scratch.Write(name, content); }
    std::string Read(std::string const& name) const { return FileContent(Path(name)); }
    std::list<std::string> List(std::string const& suffix) const {
        std::list<std::string> names{"left over from before"};
        SysLib::GetAllFilenames(names, m_scratch.Path(), suffix);
        return names;
    }

    SCRATCH_DIRECTORY m_scratch;
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
    std::list<std::string> names{m_scratch.Path(), ".xml"};
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
    EXPECT_EQ(SysLib::ForceRename(Path("file"), m_scratch.Path()), "");
    EXPECT_EQ(Read("file"), "content");
}
