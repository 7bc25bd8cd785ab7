// A file ticket under hostile hosts, failing disks, other processes and broken files, driven through the table.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/sysmacros.h>

#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "ConfigurationControl/ConfigurationCtrl.h"
#include "ConfigurationControl/StringConversion.h"
#include "support/FileTickets.h"
#include "support/FullDisk.h"
#include "support/HostileLocale.h"
#include "support/Lease.h"
#include "support/NoDescriptors.h"
#include "support/Repeated.h"
#include "support/SavedMarks.h"
#include "support/SmallStack.h"

namespace {

using namespace tickets;
using files::Exists;
using files::Names;
using files::Write;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::UnorderedElementsAre;

class FileRobustness : public testing::Test {
 protected:
    SCRATCH_DIRECTORY m_scratch;
    std::string const m_file = m_scratch.Path("t.xml");
    std::string const m_unreadable = m_file + ".unreadable";
};

// Replaces the file as editors do: writes another name and renames it.
class FoundFile : public FileRobustness {
 protected:
    void PutThere(std::string const& content) {
        Write(m_scratch.Path("edited"), content);
        std::filesystem::rename(m_scratch.Path("edited"), m_file);
    }
};

using UnreadableFile = FileRobustness;
using ClearedTicket = FileRobustness;
using LeasedFile = FileRobustness;
using SpecialFile = FileRobustness;
using FileDisk = FileRobustness;
using FileLocale = FileRobustness;
using FileAliasing = FileRobustness;
using FileWalk = FileRobustness;

}  // namespace

// A file that exists but could not be parsed or read is kept beside the first save that replaces or deletes it

TEST_F(UnreadableFile, FileThatIsNoXmlReadsAsEmptyAndIsKeptBesideTheFirstSave) {
    for (std::string const& content : {std::string("settings: none"), std::string("<ticket><a type=\"int\">1</ticket>"),
                                       std::string("<ticket><a type=\"int\">1</a>"), std::string(" "),
                                       std::string("\0", 1), Document({"<a type=\"int\">1</a>"}).substr(0, 60)}) {
        SCOPED_TRACE(content);
        std::filesystem::remove(m_unreadable);
        Write(m_file, content);
        {
            OWNER const ticket(m_file.c_str());
            EXPECT_THAT(Contents(ticket), IsEmpty());
            EXPECT_EQ(Set(ticket, "b", 2), 1);
            EXPECT_EQ(FileContent(m_file), content);
            EXPECT_EQ(Operate(ticket, STICKET_OP_SAVE), 1);
            EXPECT_EQ(FileContent(m_unreadable), content);
            EXPECT_EQ(FileContent(m_file), Document({"<b type=\"int\">2</b>"}));

            EXPECT_EQ(Set(ticket, "b", 3), 1);
            EXPECT_EQ(Operate(ticket, STICKET_OP_SAVE), 1);
            EXPECT_EQ(FileContent(m_unreadable), content);  // the second save finds no unreadable file to keep
        }
        EXPECT_THAT(Names(m_scratch), UnorderedElementsAre("t.xml", "t.xml.unreadable"));
    }
}

TEST_F(UnreadableFile, IsNotReplacedByAnEmptyOne) {
    Write(m_file, "");
    Write(m_unreadable, "earlier");
    OWNER const ticket(m_file.c_str());
    EXPECT_THAT(Contents(ticket), IsEmpty());
    Set(ticket, "a", 1);
    EXPECT_EQ(Operate(ticket, STICKET_OP_SAVE), 1);
    EXPECT_EQ(FileContent(m_file), Document({"<a type=\"int\">1</a>"}));
    EXPECT_EQ(FileContent(m_unreadable), "earlier");
}

TEST_F(UnreadableFile, IsLeftAloneWhileNothingIsSaved) {
    Write(m_file, "broken");
    {
        OWNER const ticket(m_file.c_str());
        EXPECT_EQ(GetInt(ticket, "a"), std::nullopt);
        Operate(ticket, STICKET_OP_SAVE);
        Operate(ticket, STICKET_OP_RELEASE);
        EXPECT_EQ(GetInt(ticket, "a"), std::nullopt);
    }
    EXPECT_EQ(FileContent(m_file), "broken");
    EXPECT_THAT(Names(m_scratch), ElementsAre("t.xml"));
}

TEST_F(UnreadableFile, IsKeptByWhateverSavesFirst) {
    using SAVE = std::function<void(STICKET_ACCESS const*&)>;
    for (SAVE const& save : {
             SAVE([](auto& t) { Operate(t, STICKET_OP_SAVE); }),
             SAVE([](auto& t) { Operate(t, STICKET_OP_RELEASE); }),
             SAVE([](auto& t) { Operate(t, STICKET_OP_PARTIAL_KEYS); }),
             SAVE([](auto& t) { STICKET::Destroy(t); }),
         }) {
        std::filesystem::remove(m_unreadable);
        Write(m_file, "broken");
        STICKET_ACCESS const* ticket = STICKET::Create(m_file.c_str());
        Set(ticket, "a", 1);
        save(ticket);
        EXPECT_EQ(FileContent(m_unreadable), "broken");
        EXPECT_EQ(FileContent(m_file), Document({"<a type=\"int\">1</a>"}));
        STICKET::Destroy(ticket);
    }
}

TEST_F(UnreadableFile, IsKeptWhenTheTicketIsEmptiedInsteadOfWritten) {
    Write(m_file, "broken");
    OWNER const ticket(m_file.c_str());
    Set(ticket, "a", 1);
    Operate(ticket, STICKET_OP_CLEAR);
    EXPECT_EQ(Operate(ticket, STICKET_OP_SAVE), 1);
    EXPECT_THAT(Names(m_scratch), ElementsAre("t.xml.unreadable"));
    EXPECT_EQ(FileContent(m_unreadable), "broken");
}

TEST_F(UnreadableFile, IsKeptThoughTheTicketIsClearedBeforeAnythingIsRead) {
    OWNER const other;
    Set(other, "a", 1);
    using CLEAR = std::function<void(STICKET_ACCESS const*)>;
    for (CLEAR const& clear : {
             CLEAR([](auto* t) { Operate(t, STICKET_OP_CLEAR); }),
             CLEAR([&](auto* t) { t->MergeTicket(t->pTicket, other, nullptr, true); }),
         }) {
        std::filesystem::remove(m_unreadable);
        Write(m_file, "broken");
        OWNER const ticket(m_file.c_str());
        clear(ticket);
        Set(ticket, "a", 1);
        EXPECT_EQ(Operate(ticket, STICKET_OP_SAVE), 1);
        EXPECT_EQ(FileContent(m_unreadable), "broken");
        EXPECT_EQ(FileContent(m_file), Document({"<a type=\"int\">1</a>"}));
    }
}

TEST_F(UnreadableFile, StaysKeptWhenAnotherTicketThatMisreadItSavesToo) {
    for (bool const empties : {false, true}) {
        std::filesystem::remove(m_unreadable);
        Write(m_file, "broken");
        OWNER const one(m_file.c_str());
        OWNER const other(m_file.c_str());
        Set(one, "a", 1);
        Set(other, "b", 2);
        EXPECT_EQ(Operate(one, STICKET_OP_SAVE), 1);
        if (empties) Operate(other, STICKET_OP_CLEAR);
        EXPECT_EQ(Operate(other, STICKET_OP_SAVE), 1);
        EXPECT_EQ(FileContent(m_unreadable), "broken");
        EXPECT_EQ(Exists(m_file), !empties);
    }
}

TEST_F(UnreadableFile, IsNoneForWantOfDescriptors) {
    std::string const document = Document({"<a type=\"int\">1</a>"});
    Write(m_file, document);
    OWNER const ticket(m_file.c_str());
    {
        NO_DESCRIPTORS const none;
        EXPECT_EQ(GetInt(ticket, "a"), std::nullopt);
        EXPECT_EQ(Set(ticket, "b", 2), 0);
        EXPECT_EQ(Operate(ticket, STICKET_OP_SAVE), 1);
    }
    EXPECT_EQ(FileContent(m_file), document);
    EXPECT_EQ(GetInt(ticket, "a"), 1);
    EXPECT_THAT(Names(m_scratch), ElementsAre("t.xml"));
}

TEST_F(UnreadableFile, IsKeptByALaterSaveWhenTheDiskRefusedTheFirst) {
    Write(m_file, "broken");
    OWNER const ticket(m_file.c_str());
    Set(ticket, "a", 1);
    {
        FULL_DISK const full;
        Operate(ticket, STICKET_OP_SAVE);
    }
    EXPECT_EQ(FileContent(m_file), "broken");
    EXPECT_FALSE(Exists(m_unreadable));
    Set(ticket, "a", 2);
    Operate(ticket, STICKET_OP_SAVE);
    EXPECT_EQ(FileContent(m_unreadable), "broken");
    EXPECT_EQ(FileContent(m_file), Document({"<a type=\"int\">2</a>"}));
}

TEST_F(UnreadableFile, FileThatWasMendedAndReadAgainIsNotKept) {
    Write(m_file, "broken");
    OWNER const ticket(m_file.c_str());
    GetInt(ticket, "a");
    Operate(ticket, STICKET_OP_RELEASE);
    Write(m_file, Document({"<a type=\"int\">1</a>"}));
    EXPECT_EQ(GetInt(ticket, "a"), 1);
    Set(ticket, "a", 2);
    Operate(ticket, STICKET_OP_SAVE);
    EXPECT_THAT(Names(m_scratch), ElementsAre("t.xml"));
}

TEST_F(UnreadableFile, FileThatGoesOnBehindANulLoadsAndIsKept) {
    std::string const loaded = Document({"<a type=\"int\">1</a>"});
    std::string const content = loaded + std::string("\0<b type=\"int\">2</b>", 20);
    Write(m_file, content);
    OWNER const ticket(m_file.c_str());
    EXPECT_THAT(Contents(ticket), ElementsAre("a 2 1"));
    Set(ticket, "a", 1);
    EXPECT_EQ(Operate(ticket, STICKET_OP_SAVE), 1);
    EXPECT_EQ(FileContent(m_file), loaded);
    EXPECT_EQ(FileContent(m_unreadable), content);
}

TEST_F(UnreadableFile, DirectoryIsNeverReplacedMovedOrDeleted) {
    std::filesystem::create_directory(m_file);
    OWNER const ticket(m_file.c_str());
    EXPECT_THAT(Contents(ticket), IsEmpty());
    Set(ticket, "a", 1);
    EXPECT_EQ(Operate(ticket, STICKET_OP_SAVE), 1);
    Operate(ticket, STICKET_OP_CLEAR);
    EXPECT_EQ(Operate(ticket, STICKET_OP_SAVE), 1);
    EXPECT_TRUE(std::filesystem::is_directory(m_file));
    EXPECT_FALSE(Exists(m_unreadable));
}

TEST_F(UnreadableFile, FileWhoseNestingMakesEndlessKeysIsRefusedWhole) {
    constexpr std::size_t LEVELS = 100000;
    std::string const content = Repeated("<a type=\"int\">1", LEVELS) + Repeated("</a>", LEVELS);
    Write(m_file, content);
    RunOnSmallStack([&] {
        OWNER const ticket(m_file.c_str());
        EXPECT_EQ(Count(ticket), 0u);
        Set(ticket, "b", 1);
    });
    EXPECT_TRUE(FileContent(m_unreadable) == content);
    EXPECT_EQ(FileContent(m_file), Document({"<b type=\"int\">1</b>"}));
}

// A ticket that could not read its file saves: what it finds at the name

TEST_F(FoundFile, OfAnEditorThatMendedTheBrokenOneIsKept) {
    std::string const mended = Document({"<a type=\"int\">7</a>"});
    for (bool const empties : {false, true}) {
        std::filesystem::remove(m_unreadable);
        Write(m_file, "broken");
        OWNER const ticket(m_file.c_str());
        Set(ticket, "b", 1);
        PutThere(mended);
        if (empties) Operate(ticket, STICKET_OP_CLEAR);
        EXPECT_EQ(Operate(ticket, STICKET_OP_SAVE), 1);
        EXPECT_EQ(FileContent(m_unreadable), mended);
        EXPECT_EQ(Exists(m_file), !empties);
    }
}

TEST_F(FoundFile, OfAnEditorIsKeptAlsoOverTheBrokenOneThatIsKept) {
    std::string const mended = Document({"<a type=\"int\">7</a>"});
    for (bool const inPlace : {false, true}) {
        std::filesystem::remove(m_unreadable);
        Write(m_file, "broken");
        if (!files::TakesMarks(m_file)) GTEST_SKIP() << "files of this file system have no user attributes";
        OWNER const one(m_file.c_str());
        OWNER const other(m_file.c_str());
        Set(one, "a", 1);
        Set(other, "b", 2);
        EXPECT_EQ(Operate(one, STICKET_OP_SAVE), 1);
        EXPECT_EQ(FileContent(m_unreadable), "broken");
        if (inPlace) files::WriteLater(m_file, mended);
        if (!inPlace) PutThere(mended);
        EXPECT_EQ(Operate(other, STICKET_OP_SAVE), 1);
        EXPECT_EQ(FileContent(m_unreadable), mended);
    }
}

TEST_F(FoundFile, OfSavesThatKeptTheBrokenOneIsNotKept) {
    Write(m_file, "broken");
    OWNER const one(m_file.c_str());
    OWNER const other(m_file.c_str());
    Set(other, "b", 2);
    for (int i = 0; i < 3; ++i) {
        Set(one, "a", i);
        EXPECT_EQ(Operate(one, STICKET_OP_SAVE), 1);
    }
    OWNER const third(m_file.c_str());
    Set(third, "c", 3);
    EXPECT_EQ(Operate(third, STICKET_OP_SAVE), 1);
    EXPECT_EQ(Operate(other, STICKET_OP_SAVE), 1);
    EXPECT_EQ(FileContent(m_unreadable), "broken");
    EXPECT_EQ(FileContent(m_file), Document({"<b type=\"int\">2</b>"}));
    EXPECT_THAT(Names(m_scratch), UnorderedElementsAre("t.xml", "t.xml.unreadable"));
}

TEST_F(FoundFile, OfASaveThatKeptNothingIsKept) {
    Write(m_unreadable, "of another day");
    Write(m_file, "broken");
    OWNER const ticket(m_file.c_str());
    Set(ticket, "b", 2);
    PutThere(Document({"<a type=\"int\">7</a>"}));
    OWNER const third(m_file.c_str());
    Set(third, "c", 3);
    EXPECT_EQ(Operate(third, STICKET_OP_SAVE), 1);
    EXPECT_EQ(Operate(ticket, STICKET_OP_SAVE), 1);
    EXPECT_EQ(FileContent(m_unreadable), Document({"<a type=\"int\">7</a>", "<c type=\"int\">3</c>"}));
}

// Clearing a ticket does not read the file; the save finds out whether the file can be read

TEST_F(ClearedTicket, CallsNoConversionAndCannotFail) {
    struct CONVERSION : STICKET_STRING_CONVERSION {
        std::string ToFile(std::string const& text) override { return text; }
        std::string FromFile(std::string const&, int) override {
            ++calls;
            throw "no";
        }
        int calls = 0;
    } conversion;
    STICKET_WHOAMI whoAmI = NOBODY;
    whoAmI.pContext = &conversion;
    for (bool const breaks : {false, true}) {
        std::filesystem::remove(m_unreadable);
        std::string const content = breaks ? "broken" : Document({"<a type=\"string\">text</a>"});
        Write(m_file, content);
        STICKET_ACCESS const* ticket = STICKET::PCreate(m_file, whoAmI);
        {
            NO_DESCRIPTORS const none;
            EXPECT_EQ(Operate(ticket, STICKET_OP_CLEAR), 1);
        }
        EXPECT_EQ(FileContent(m_file), content);
        EXPECT_EQ(Set(ticket, "b", 1), 1);
        EXPECT_EQ(Operate(ticket, STICKET_OP_SAVE), 1);
        EXPECT_EQ(conversion.calls, 0);
        EXPECT_EQ(FileContent(m_file), Document({"<b type=\"int\">1</b>"}));
        EXPECT_EQ(Exists(m_unreadable), breaks);
        STICKET::Destroy(ticket);
    }
}

TEST_F(ClearedTicket, KeepsItsValuesWhileTheSaveLooksAtTheFile) {
    for (std::string const& content :
         {Document({"<a type=\"int\">1</a>"}), std::string("<odd name=><a type=\"int\">")}) {
        Write(m_file, content);
        OWNER const ticket(m_file.c_str());
        Operate(ticket, STICKET_OP_CLEAR);
        Set(ticket, "b", 2);
        EXPECT_EQ(Operate(ticket, STICKET_OP_SAVE), 1);
        EXPECT_THAT(Contents(ticket), ElementsAre("b 2 2"));
        EXPECT_EQ(FileContent(m_file), Document({"<b type=\"int\">2</b>"}));
    }
}

// Opening a file under a lease waits

TEST_F(LeasedFile, IsReadOnceItsHolderGivesItUp) {
    Write(m_file, Document({"<a type=\"int\">1</a>"}));
    {
        LEASE const lease(m_file);
        if (!lease.IsHeld()) GTEST_SKIP() << "this file system knows no leases";
        OWNER const ticket(m_file.c_str());
        EXPECT_EQ(GetInt(ticket, "a"), 1);
        Set(ticket, "a", 2);
        EXPECT_EQ(Operate(ticket, STICKET_OP_SAVE), 1);
    }
    EXPECT_EQ(FileContent(m_file), Document({"<a type=\"int\">2</a>"}));
    EXPECT_THAT(Names(m_scratch), ElementsAre("t.xml"));
}

TEST_F(LeasedFile, IsThereForTheService) {
    Write(m_file, "content");
    CConfigurationControl service;
    service.Initialize(m_file);
    {
        LEASE const lease(m_file);
        if (!lease.IsHeld()) GTEST_SKIP() << "this file system knows no leases";
        EXPECT_TRUE(service.IsConfigFileAvailable());
    }
    LEASE const lease(m_file);
    std::string path = m_file;
    long time = 0;
    EXPECT_TRUE(CConfigurationControl::GetModifiedFileTime(path, time));
    EXPECT_GT(time, 0);
}

// Devices, sockets and FIFOs are left alone like directories

TEST_F(SpecialFile, IsNeitherReadNorReplacedNorDeleted) {
    struct CASE {
        char const* name;
        std::function<bool(char const*)> make;
    };
    for (CASE const& c : {
             CASE{"FIFO", [](char const* path) { return mkfifo(path, 0600) == 0; }},
             CASE{"null device", [](char const* path) { return mknod(path, S_IFCHR | 0600, makedev(1, 3)) == 0; }},
             CASE{"endless device", [](char const* path) { return mknod(path, S_IFCHR | 0600, makedev(1, 5)) == 0; }},
             CASE{"block device", [](char const* path) { return mknod(path, S_IFBLK | 0600, makedev(7, 250)) == 0; }},
             CASE{"socket", [](char const* path) { return mknod(path, S_IFSOCK | 0600, 0) == 0; }},
         }) {
        SCOPED_TRACE(c.name);
        if (!c.make(m_file.c_str())) continue;  // only root can create devices
        struct stat before;
        struct stat after;
        ASSERT_EQ(lstat(m_file.c_str(), &before), 0);
        {
            OWNER const ticket(m_file.c_str());
            EXPECT_THAT(Contents(ticket), IsEmpty());
            for (int i = 0; i < 2; ++i) {
                Set(ticket, "a", i);
                EXPECT_EQ(Operate(ticket, STICKET_OP_SAVE), 1);
                EXPECT_EQ(GetInt(ticket, "a"), i);
            }
            Operate(ticket, STICKET_OP_CLEAR);
            EXPECT_EQ(Operate(ticket, STICKET_OP_SAVE), 1);
        }
        ASSERT_EQ(lstat(m_file.c_str(), &after), 0);
        EXPECT_EQ(after.st_ino, before.st_ino);
        EXPECT_EQ(after.st_mode, before.st_mode);
        EXPECT_THAT(Names(m_scratch), ElementsAre("t.xml"));
        std::filesystem::remove(m_file);
    }
}

// The disk

TEST_F(FileDisk, FullDiskKeepsTheOldFileAndTheTicketGoesOn) {
    Write(m_file, Document({"<a type=\"int\">1</a>"}));
    OWNER const ticket(m_file.c_str());
    Set(ticket, "a", 2);

    {
        FULL_DISK const full;
        EXPECT_EQ(Operate(ticket, STICKET_OP_SAVE), 1);
    }
    EXPECT_EQ(FileContent(m_file), Document({"<a type=\"int\">1</a>"}));
    EXPECT_THAT(Names(m_scratch), ElementsAre("t.xml"));
    EXPECT_EQ(GetInt(ticket, "a"), 2);
    Set(ticket, "a", 3);
    EXPECT_EQ(Operate(ticket, STICKET_OP_SAVE), 1);
    EXPECT_EQ(FileContent(m_file), Document({"<a type=\"int\">3</a>"}));
}

TEST_F(FileDisk, MissingDirectoryIsNoFailureOfTheTicket) {
    OWNER const ticket((m_scratch.Path("missing/t.xml")).c_str());
    EXPECT_EQ(Set(ticket, "a", 1), 1);
    EXPECT_EQ(Operate(ticket, STICKET_OP_SAVE), 1);
    EXPECT_EQ(GetInt(ticket, "a"), 1);
    EXPECT_THAT(Names(m_scratch), IsEmpty());
}

TEST_F(FileDisk, PermissionBitsStayAndNewFilesAreTheirOwnersAlone) {
    OWNER const ticket(m_file.c_str());
    Set(ticket, "a", 1);
    Operate(ticket, STICKET_OP_SAVE);
    EXPECT_EQ(files::Mode(m_file), 0600u);
    std::filesystem::permissions(m_file, std::filesystem::perms(0664));
    Set(ticket, "a", 2);
    Operate(ticket, STICKET_OP_SAVE);
    EXPECT_EQ(files::Mode(m_file), 0664u);
}

// Locales

TEST_F(FileLocale, FileDoesNotDependOnTheLocalesOfTheHost) {
    std::string const content = Document(
        {"<a type=\"double\">123456.5</a>", "<b type=\"int\">1234567</b>", "<c type=\"int64\">-9007199254740993</c>",
         "<d type=\"uint64\">18446744073709551615</d>", "<e type=\"double\">500.e-003</e>"});
    Write(m_file, content);
    HostileLocale const locale;
    EXPECT_TRUE(HostileLocale::HoldsInC());
    OWNER const ticket(m_file.c_str());
    double number = 0;
    EXPECT_EQ(ticket->GetParameter(ticket->pTicket, "a", PARAM_DOUBLE, &number, SCALAR_INDEX), 1);
    EXPECT_EQ(number, 123456.5);
    EXPECT_EQ(ticket->GetParameter(ticket->pTicket, "e", PARAM_DOUBLE, &number, SCALAR_INDEX), 1);
    EXPECT_EQ(number, 0.5);
    EXPECT_EQ(GetInt(ticket, "b"), 1234567);
    int64_t integer = 0;
    EXPECT_EQ(ticket->GetParameter(ticket->pTicket, "c", PARAM_INT64, &integer, SCALAR_INDEX), 1);
    EXPECT_EQ(integer, -9007199254740993);
    Set(ticket, "b", 1234567);
    EXPECT_EQ(Operate(ticket, STICKET_OP_SAVE), 1);
    EXPECT_EQ(FileContent(m_file), content);
}

// Arguments that point into the ticket

TEST_F(FileAliasing, TextThatWasReadCanBeStoredAnywhere) {
    OWNER const ticket(m_file.c_str());
    Set(ticket, "v", "first element, not a short one", APPEND_INDEX);
    Set(ticket, "v", "second", APPEND_INDEX);
    char const* text = nullptr;
    ASSERT_EQ(ticket->GetParameter(ticket->pTicket, "v", PARAM_STRING, &text, 0), 1);
    EXPECT_EQ(Set(ticket, "v", text), 1);
    EXPECT_EQ(Set(ticket, "v", text, APPEND_INDEX), 1);
    EXPECT_EQ(Set(ticket, "v", text, 0), 1);
    EXPECT_EQ(Set(ticket, text, text), 1);
    SETMULTIPAR batch[] = {{"v", PARAM_NONE, nullptr, SCALAR_INDEX, false},
                           {"w", PARAM_STRING, text, SCALAR_INDEX, false},
                           {nullptr, PARAM_NONE, nullptr, 0, false}};
    EXPECT_EQ(ticket->SetMultiParameter(ticket->pTicket, batch), 1);
    EXPECT_THAT(Contents(ticket), ElementsAre("first element, not a short one 4 first element, not a short one",
                                              "w 4 first element, not a short one"));
}

TEST_F(FileAliasing, BytesOfTheValueItselfCanReplaceIt) {
    OWNER const ticket(m_file.c_str());
    Set(ticket, "a", "bytes of a text that is not short");
    BIN_STRING bytes{};
    ASSERT_EQ(ticket->GetParameter(ticket->pTicket, "a", PARAM_BINSTR, &bytes, SCALAR_INDEX), 1);
    bytes.data = static_cast<char const*>(bytes.data) + 9;
    bytes.length -= 9;
    EXPECT_EQ(ticket->SetParameter(ticket->pTicket, "a", PARAM_BINSTR, &bytes, SCALAR_INDEX), 1);
    EXPECT_THAT(Contents(ticket), ElementsAre("a 5 a text that is not short"));
}

TEST_F(FileAliasing, TicketMergedIntoItselfKeepsItsContent) {
    OWNER const ticket(m_file.c_str());
    Set(ticket, "a/b", "text that is not short at all");
    Set(ticket, "v", 1, APPEND_INDEX);
    Set(ticket, "v", "two", APPEND_INDEX);
    LINES const before = Contents(ticket);
    for (bool const clear : {false, true}) {
        EXPECT_EQ(ticket->MergeTicket(ticket->pTicket, ticket, nullptr, clear), 1);
        EXPECT_EQ(Contents(ticket), before);
    }
    Operate(ticket, STICKET_OP_RELEASE);
    EXPECT_EQ(ticket->MergeTicket(ticket->pTicket, ticket, nullptr, true), 1);
    EXPECT_EQ(Contents(ticket), before);
}

TEST_F(FileAliasing, TicketsOfOneFileMergeIntoEachOther) {
    Write(m_file, Document({"<a type=\"int\">1</a>"}));
    OWNER const one(m_file.c_str());
    OWNER const other(m_file.c_str());
    Set(one, "b", 2);
    EXPECT_EQ(other->MergeTicket(other->pTicket, one, nullptr, true), 1);
    EXPECT_THAT(Contents(other), ElementsAre("a 2 1", "b 2 2"));
}

// Callbacks of a walk that change the ticket

TEST_F(FileWalk, CallbackMayDeleteAddSaveOrClear) {
    struct STEP {
        STICKET_ACCESS const* ticket;
        std::function<void(STICKET_ACCESS const*, char const*)> change;
        LINES keys;
        static bool Take(void* step, char const* key, PARAM_TYPE, void const*, int) {
            auto& self = *static_cast<STEP*>(step);
            self.keys.push_back(key);
            self.change(self.ticket, key);
            return self.keys.size() < 20;
        }
    };
    struct CASE {
        char const* name;
        std::function<void(STICKET_ACCESS const*, char const*)> change;
        LINES keys;
    };
    for (CASE const &c : {
             CASE{"deletes the key",
                  [](auto*t, char const*key) { Delete(t, std::string(key).c_str()); },
                  {"a", "b", "c"}},
             CASE{"deletes the next key", [](auto*t, char const*) { Delete(t, "b"); }, {"a", "c"}},
             CASE{"adds keys before and behind",
                  [](auto*t, char const*) {
                      Set(t, "A", 1);
                      Set(t, "d", 1);
                  },
                  {"a", "b", "c", "d"}},
             CASE{"saves and drops", [](auto*t, char const*) { Operate(t, STICKET_OP_RELEASE); }, {"a", "b", "c"}},
             CASE{"deletes and drops",
                  [](auto*t, char const*) {
                      Delete(t, "b");
                      Operate(t, STICKET_OP_RELEASE);
                  },
                  {"a", "c"}},
             CASE{"clears", [](auto*t, char const*) { Operate(t, STICKET_OP_CLEAR); }, {"a"}},
             CASE{"walks itself", [](auto*t, char const*) { Contents(t); }, {"a", "b", "c"}},
         }) {
        for (int const level : std::initializer_list<int>{WALK_KEYS, WALK_TYPES, WALK_VALUES, WALK_EVERYTHING}) {
            SCOPED_TRACE(c.name);
            Write(m_file, Document({"<a type=\"int\">1</a>", "<b type=\"string\">text</b>", "<c type=\"int\">3</c>"}));
            OWNER const ticket(m_file.c_str());
            STEP step{ticket, c.change, {}};
            EXPECT_EQ(ticket->WalkParameter(ticket->pTicket, &STEP::Take, &step, "", level), 1);
            EXPECT_EQ(step.keys, c.keys);
        }
    }
}
