// The name of a ticket's file: which directory it is relative to, and how long names are shortened
// for the temporary and the kept file.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdio>
#include <string>

#include "ConfigurationControl/ConfigurationCtrl.h"
#include "Disk/FileNames.h"
#include "support/FileTickets.h"
#include "support/Processes.h"

namespace {

using namespace tickets;
using files::Exists;
using files::Names;
using files::Write;
using testing::IsEmpty;
using testing::UnorderedElementsAre;

// Restores the working directory.
class WORKING_DIRECTORY {
 public:
    explicit WORKING_DIRECTORY(std::string const& path) { std::filesystem::current_path(path); }
    ~WORKING_DIRECTORY() { std::filesystem::current_path(m_before); }
    WORKING_DIRECTORY(WORKING_DIRECTORY const&) = delete;
    WORKING_DIRECTORY& operator=(WORKING_DIRECTORY const&) = delete;

 private:
    std::filesystem::path const m_before = std::filesystem::current_path();
};

bool Save(STICKET_ACCESS const* ticket, int value) {
    return Set(ticket, "a", value) && Operate(ticket, STICKET_OP_SAVE);
}

}  // namespace

// Relative names

TEST(RelativeName, MeansTheWorkingDirectoryAtTheTicketsCreation) {
    SCRATCH_DIRECTORY const home;
    SCRATCH_DIRECTORY const elsewhere;
    Write(elsewhere.Path("t.xml"), "another's");
    WORKING_DIRECTORY const before(home.Path());
    {
        OWNER const ticket("t.xml");
        std::filesystem::current_path(elsewhere.Path());
        EXPECT_TRUE(Save(ticket, 1));
        EXPECT_EQ(FileContent(home.Path("t.xml")), Document({"<a type=\"int\">1</a>"}));
        std::filesystem::current_path("/");
        Operate(ticket, STICKET_OP_RELEASE);
        EXPECT_EQ(GetInt(ticket, "a"), 1);
        Delete(ticket, "a");
    }
    EXPECT_THAT(Names(home), IsEmpty());
    EXPECT_EQ(FileContent(elsewhere.Path("t.xml")), "another's");
}

TEST(RelativeName, MayLeadThroughOtherDirectories) {
    SCRATCH_DIRECTORY const home;
    std::filesystem::create_directory(home.Path("a"));
    std::filesystem::create_directory(home.Path("b"));
    WORKING_DIRECTORY const before(home.Path("a"));
    OWNER const ticket("../b/t.xml");
    std::filesystem::current_path("/");
    EXPECT_TRUE(Save(ticket, 1));
    EXPECT_TRUE(Exists(home.Path("b/t.xml")));
}

TEST(RelativeName, MeansTheWorkingDirectoryAtTheServicesInitialisation) {
    SCRATCH_DIRECTORY const home;
    SCRATCH_DIRECTORY const elsewhere;
    WORKING_DIRECTORY const before(home.Path());
    CConfigurationControl service;
    EXPECT_TRUE(service.Initialize("s.xml"));
    std::filesystem::current_path(elsewhere.Path());
    std::string name = "product";
    service.SetProductName(name);
    EXPECT_TRUE(service.Flush(true));
    EXPECT_TRUE(Exists(home.Path("s.xml")));
    EXPECT_TRUE(service.IsConfigFileAvailable());
    service.UnInitialize();
    EXPECT_TRUE(service.Initialize(""));
    EXPECT_EQ(service.GetProductName(), "product");
    service.UnInitialize();
    EXPECT_THAT(Names(elsewhere), IsEmpty());
}

TEST(RelativeName, IsUsedAsItIsWhereTheWorkingDirectoryIsNotKnown) {
    EXPECT_TRUE(Succeeded(Spawn([] {
        SCRATCH_DIRECTORY const home;
        std::filesystem::current_path(home.Path());
        std::filesystem::remove(home.Path());
        OWNER const ticket("t.xml");
        SCRATCH_DIRECTORY const elsewhere;
        std::filesystem::current_path(elsewhere.Path());
        return Save(ticket, 1) && Exists(elsewhere.Path("t.xml"));
    })));
}

TEST(RelativeName, IsMadeAbsoluteByTheWorkingDirectoryAlone) {
    using TICKETFILE::AbsoluteName;
    SCRATCH_DIRECTORY const home;
    std::filesystem::create_symlink("nowhere", home.Path("link"));
    WORKING_DIRECTORY const before("/");
    EXPECT_EQ(AbsoluteName(""), "");
    EXPECT_EQ(AbsoluteName("/a/../t.xml"), "/a/../t.xml");
    EXPECT_EQ(AbsoluteName("t.xml"), "/t.xml");
    std::filesystem::current_path(home.Path());
    EXPECT_EQ(AbsoluteName("./link/../t.xml"), std::filesystem::current_path().string() + "/./link/../t.xml");
    std::string const longest(4094, 'x');
    EXPECT_EQ(AbsoluteName(longest), longest);
}

// Long names

TEST(LongName, IsShortenedOnlyWhereItHasToBe) {
    using TICKETFILE::NameBeside;
    EXPECT_EQ(NameBeside("t.xml", ".tmp"), "t.xml.tmp");
    EXPECT_EQ(NameBeside("/a/t.xml", ".tmp"), "/a/t.xml.tmp");
    std::string const fits(251, 'x');
    EXPECT_EQ(NameBeside(fits, ".tmp"), fits + ".tmp");
    EXPECT_EQ(NameBeside("/a/" + fits, ".tmp"), "/a/" + fits + ".tmp");
    std::string const tooLong(252, 'x');
    std::string const shortened = NameBeside("/a/" + tooLong, ".tmp");
    EXPECT_EQ(shortened, "/a/" + std::string(234, 'x') + "~163d66d138a0fe95.tmp");  // FNV-1a of the 252 bytes
    EXPECT_EQ(shortened.size(), 3u + 255u);
}

TEST(LongName, IsShortenedToOneOfItsOwn) {
    using TICKETFILE::KeptName;
    std::string const begin(250, 'x');
    EXPECT_NE(KeptName(begin + "1.xml"), KeptName(begin + "2.xml"));
    EXPECT_EQ(KeptName(begin + "1.xml"), KeptName(begin + "1.xml"));
}

TEST(LongName, IsNotCutWithinACharacter) {
    std::string name;
    while (name.size() < 252) name += "\xE2\x82\xAC";
    std::string const shortened = TICKETFILE::NameBeside(name, ".tmp");
    std::size_t const end = shortened.find('~');
    EXPECT_LE(shortened.size(), 255u);
    EXPECT_EQ(end % 3, 0u);
    EXPECT_EQ(shortened.substr(0, end), name.substr(0, end));
}

TEST(LongName, IsSavedKeptAndRefusedLikeOthers) {
    for (std::size_t size = 235; size <= 255; ++size) {
        SCOPED_TRACE(size);
        SCRATCH_DIRECTORY const scratch;
        std::string const name = std::string(size - 4, 'n') + ".xml";
        std::string const file = scratch.Path(name);
        std::string const kept = TICKETFILE::KeptName(file);
        Write(file, "broken");
        OWNER const ticket(file.c_str());
        EXPECT_TRUE(Save(ticket, 1));
        EXPECT_EQ(FileContent(file), Document({"<a type=\"int\">1</a>"}));
        EXPECT_EQ(FileContent(kept), "broken");
        EXPECT_THAT(Names(scratch), UnorderedElementsAre(name, std::filesystem::path(kept).filename()));

        std::filesystem::create_directory(TICKETFILE::TemporaryName(file));
        EXPECT_TRUE(Save(ticket, 2));
        EXPECT_EQ(FileContent(file), Document({"<a type=\"int\">1</a>"}));
    }
}

TEST(LongName, ThatNoFileCanHaveLeavesNothing) {
    SCRATCH_DIRECTORY const scratch;
    OWNER const ticket(scratch.Path(std::string(256, 'x')).c_str());
    EXPECT_TRUE(Save(ticket, 1));
    EXPECT_THAT(Names(scratch), IsEmpty());
}
