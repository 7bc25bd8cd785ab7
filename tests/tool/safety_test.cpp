// The tool with files, directories, streams and other processes that do not behave.
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/xattr.h>
#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <cstdint>
#include <cstring>
#include <optional>
#include <thread>

#include "Program.h"
#include "tool/MemoryFile.h"
#include "tool/Owner.h"
#include "tool/Turn.h"
#include "tool/Values.h"

namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::MatchesRegex;
using testing::StartsWith;

// The commands that write, each as it would change "s.xml".
std::vector<ARGUMENTS> WriteCommands() {
    return {{"set", "s.xml", "a", "x"},
            {"set", "s.xml", "a", "x", "--force"},
            {"delete", "s.xml", "a"},
            {"delete", "s.xml", "a", "--force"},
            {"merge", "from.xml", "s.xml"},
            {"merge", "from.xml", "s.xml", "--clear", "--force"},
            {"import", "s.xml"},
            {"import", "s.xml", "--clear", "--force"}};
}

// The commands that read, each of "s.xml".
std::vector<ARGUMENTS> ReadCommands() {
    return {{"list", "s.xml"},
            {"get", "s.xml", "a"},
            {"export", "s.xml"},
            {"settings", "s.xml"},
            {"diff", "s.xml", "from.xml"}};
}

std::vector<ARGUMENTS> AllCommands() {
    auto commands = ReadCommands();
    for (auto const& command : WriteCommands()) commands.push_back(command);
    return commands;
}

class ToolSafety : public Tool {
 protected:
    ToolSafety() {
        WriteTicket("from.xml", "<a type='string'>new</a>");
        m_manner.input = R"([{"key": "a", "type": "string", "value": "new"}])";
    }

    // Runs the rest of the test as a user whom permissions stop; false if there is no such user.
    bool BecomeNobody() {
        if (!IsRoot()) return true;
        std::filesystem::permissions(m_scratch.Path(), std::filesystem::perms::all);
        std::filesystem::permissions(m_scratch.Path("from.xml"), std::filesystem::perms(0644));  // whatever the mask
        m_manner.asNobody = true;
        m_manner.environment.push_back("TMPDIR=/tmp");
        return Ticket({"--version"}).code == 0;
    }
};

TEST_F(ToolSafety, AFileThatDoesNotParseIsRefusedWithItsPlaceAndLeftAsItWas) {
    std::string const broken = "<ticket>\n  <a type='string'>x</b>\n</ticket>\n";
    Write("s.xml", broken);
    for (auto const& command : AllCommands()) {
        EXPECT_EQ(Error(command), "s.xml:2:23: does not parse: <a> of line 2 is not closed: here stands </b>")
            << command[0];
        EXPECT_EQ(Content("s.xml"), broken);
    }
    EXPECT_THAT(files::Names(m_scratch), ElementsAre("from.xml", "s.xml"));
}

TEST_F(ToolSafety, AFileWithContentAndNoValueIsAnotherProgramsAndReplacedOnlyWithForce) {
    for (std::string const content :
         {"<html><body class='a'><p>text</p></body></html>", "<licence>ABCD</licence>", "<a><![CDATA[x]]></a>"}) {
        for (auto const& command : WriteCommands()) {
            if (command[0] == "delete") continue;
            Write("s.xml", content);
            if (command.back() == "--force") {
                EXPECT_EQ(Output(command), "");
                EXPECT_EQ(Output({"list", "s.xml", "--keys"}), "a\n");
            } else {
                EXPECT_EQ(
                    Error(command),
                    "s.xml: not written: it has content and not one value: is it a ticket file? --force replaces it");
                EXPECT_EQ(Content("s.xml"), content);
            }
        }
    }
}

TEST_F(ToolSafety, AFileWithNothingInItIsATicketFile) {
    for (std::string const content : {"<ticket/>", "<ticket>\n\t\n</ticket>\n", "<ticket><!-- none yet --></ticket>"}) {
        Write("s.xml", content);
        EXPECT_EQ(Output({"set", "s.xml", "a", "x"}), "");
    }
}

TEST_F(ToolSafety, ADirectoryIsNoTicketFile) {
    std::filesystem::create_directory(m_scratch.Path("s.xml"));
    for (auto const& command : AllCommands()) EXPECT_EQ(Error(command), "s.xml: not a regular file") << command[0];
    EXPECT_EQ(Error({"check", "s.xml"}), "s.xml: not a regular file");
}

TEST_F(ToolSafety, APipeIsNotWrittenAndNotWaitedFor) {
    ASSERT_EQ(mkfifo((m_scratch.Path("s.xml")).c_str(), 0600), 0);
    for (auto const& command : WriteCommands()) EXPECT_EQ(Error(command), "s.xml: not a regular file") << command[0];
}

TEST_F(ToolSafety, AMissingFileIsMadeByWritingCommandsAndRefusedByOthers) {
    for (auto const& command : ReadCommands()) EXPECT_EQ(Error(command), "s.xml: no such file") << command[0];
    EXPECT_EQ(Error({"delete", "s.xml", "a"}), "s.xml: no such file");
    EXPECT_EQ(Output({"import", "s.xml"}), "");
    EXPECT_EQ(Output({"get", "s.xml", "a"}), "new\n");
    EXPECT_EQ(Error({"set", "none/s.xml", "a", "x"}), "none/s.xml: no such directory");
    EXPECT_EQ(Error({"set", "from.xml/s.xml", "a", "x"}), "from.xml/s.xml: no such file");
}

TEST_F(ToolSafety, AnEmptyNameIsRefusedAndLeavesNothing) {
    EXPECT_EQ(Error({"set", "", "a", "x"}), "the name of a ticket file is empty");
    EXPECT_EQ(Error({"list", ""}), "the name of a ticket file is empty");
    EXPECT_THAT(files::Names(m_scratch), ElementsAre("from.xml"));
}

TEST_F(ToolSafety, AFileThatCannotBeReadIsRefused) {
    WriteTicket("s.xml", "<a type='int'>1</a>");
    std::filesystem::permissions(m_scratch.Path("s.xml"), std::filesystem::perms::none);
    if (!BecomeNobody()) GTEST_SKIP() << "no user without rights can run the tool here";
    for (auto const& command : AllCommands()) {
        EXPECT_EQ(Error(command), "s.xml: cannot be read: Permission denied") << command[0];
    }
    EXPECT_EQ(Error({"check", "s.xml"}), "s.xml: cannot be read: Permission denied");
}

TEST_F(ToolSafety, ADirectoryThatCannotBeEnteredIsTold) {
    std::filesystem::create_directory(m_scratch.Path("closed"));
    WriteTicket("closed/s.xml", "<a type='int'>1</a>");
    std::filesystem::permissions(m_scratch.Path("closed"), std::filesystem::perms::none);
    if (!BecomeNobody()) GTEST_SKIP() << "no user without rights can run the tool here";
    EXPECT_EQ(Error({"list", "closed/s.xml"}), "closed/s.xml: cannot be read: Permission denied");
    EXPECT_EQ(Error({"set", "closed/s.xml", "a", "1"}), "closed/s.xml: cannot be read: Permission denied");
    std::filesystem::permissions(m_scratch.Path("closed"), std::filesystem::perms::owner_all);
}

TEST_F(ToolSafety, ADirectoryThatCannotBeWrittenIsTold) {
    WriteTicket("s.xml", "<a type='string'>1</a>");
    std::filesystem::permissions(m_scratch.Path("s.xml"), std::filesystem::perms(0644));
    auto const before = Content("s.xml");
    if (!BecomeNobody()) GTEST_SKIP() << "no user without rights can run the tool here";
    bool const given = !IsRoot() || chown(m_scratch.Path("s.xml").c_str(), NOBODY, NOBODY) == 0;
    ASSERT_TRUE(given);
    std::filesystem::permissions(m_scratch.Path(), std::filesystem::perms(0555));
    for (auto const& command : WriteCommands()) {
        EXPECT_THAT(Error(command),
                    MatchesRegex("s.xml: cannot be written: (s.xml.tmp cannot be made|it cannot be deleted): "
                                 "Permission denied"))
            << command[0];
    }
    EXPECT_EQ(Error({"set", "new.xml", "a", "x"}),
              "new.xml: cannot be written: new.xml.tmp cannot be made: Permission denied");
    std::filesystem::permissions(m_scratch.Path(), std::filesystem::perms(0755));
    EXPECT_EQ(Content("s.xml"), before);
    EXPECT_FALSE(files::Exists(m_scratch.Path("new.xml")));
}

TEST_F(ToolSafety, ASaveThatDoesNotGoThroughIsToldEvenWithForce) {
    WriteTicket("s.xml", "<a type='string'>1</a><b type='int'>1</b>");
    auto const before = Content("s.xml");
    std::filesystem::create_directory(m_scratch.Path("s.xml.tmp"));
    for (auto const& command : WriteCommands()) {
        EXPECT_EQ(Error(command), "s.xml: cannot be written: s.xml.tmp cannot be made: Is a directory") << command[0];
        EXPECT_EQ(Content("s.xml"), before);
    }
}

TEST_F(ToolSafety, ADirectoryForTemporaryFilesIsNotNeeded) {
    WriteTicket("s.xml", "<a type='string'>1</a>");
    m_manner.environment = {"TMPDIR=/does/not/exist"};
    for (auto const& command : WriteCommands()) {
        WriteTicket("s.xml", "<a type='string'>1</a>");
        EXPECT_EQ(Ticket(command).code, 0) << command[0];
    }
}

TEST_F(ToolSafety, ALinkIsFollowedAndStays) {
    std::filesystem::create_directory(m_scratch.Path("real"));
    WriteTicket("real/t.xml", "<a type='string'>1</a>");
    std::filesystem::create_symlink("real/t.xml", m_scratch.Path("s.xml"));
    EXPECT_EQ(Output({"set", "s.xml", "a", "2"}), "");
    EXPECT_TRUE(std::filesystem::is_symlink(m_scratch.Path("s.xml")));
    EXPECT_EQ(Output({"get", "real/t.xml", "a"}), "2\n");
}

TEST_F(ToolSafety, ALinkToNothingIsRefused) {
    std::filesystem::create_symlink("nothing.xml", m_scratch.Path("s.xml"));
    EXPECT_EQ(Error({"set", "s.xml", "a", "2"}), "s.xml: a link to nothing");
    EXPECT_EQ(Error({"list", "s.xml"}), "s.xml: no such file");
    EXPECT_TRUE(std::filesystem::is_symlink(m_scratch.Path("s.xml")));
}

TEST_F(ToolSafety, AFileOfAnotherUserIsTakenFromHimOnlyWithForce) {
    if (!IsRoot()) GTEST_SKIP() << "only root can give files to others";
    WriteTicket("s.xml", "<a type='string'>1</a><b type='int'>1</b>");
    std::filesystem::permissions(m_scratch.Path("s.xml"), std::filesystem::perms(0644));
    auto const before = Content("s.xml");
    if (!BecomeNobody()) GTEST_SKIP() << "no user without rights can run the tool here";
    for (auto const& command : WriteCommands()) {
        if (std::find(command.begin(), command.end(), "--force") != command.end()) continue;
        EXPECT_EQ(Error(command),
                  "s.xml: not written: it is another user's, and would be yours; --force writes all the same");
        EXPECT_EQ(Content("s.xml"), before);
    }
    EXPECT_EQ(Output({"set", "s.xml", "a", "2", "--force"}), "");
    EXPECT_EQ(Output({"get", "s.xml", "a"}), "2\n");
}

TEST_F(ToolSafety, ALimitOfFileSizesIsAFailure) {
    WriteTicket("s.xml", "<a type='string'>1</a>");
    auto const before = Content("s.xml");
    rlimit usual;
    ASSERT_EQ(getrlimit(RLIMIT_FSIZE, &usual), 0);
    rlimit const low{1000, usual.rlim_max};
    ASSERT_EQ(setrlimit(RLIMIT_FSIZE, &low), 0);
    auto const error = Error({"set", "s.xml", "a", std::string(5000, 'x')});
    ASSERT_EQ(setrlimit(RLIMIT_FSIZE, &usual), 0);
    EXPECT_EQ(error, "a file in memory cannot be written: File too large");
    EXPECT_EQ(Content("s.xml"), before);
}

TEST_F(ToolSafety, AFileKeepsItsOwnerAndPermissions) {
    WriteTicket("s.xml", "<a type='string'>1</a>");
    std::filesystem::permissions(m_scratch.Path("s.xml"), std::filesystem::perms(0640));
    constexpr uid_t other = 12345;
    bool const given = !IsRoot() || chown((m_scratch.Path("s.xml")).c_str(), other, other) == 0;
    ASSERT_TRUE(given);
    EXPECT_EQ(Output({"set", "s.xml", "a", "2"}), "");
    struct stat found;
    ASSERT_EQ(stat((m_scratch.Path("s.xml")).c_str(), &found), 0);
    EXPECT_EQ(found.st_mode & 07777u, 0640u);
    EXPECT_EQ(found.st_uid, IsRoot() ? other : geteuid());
    EXPECT_EQ(found.st_gid, IsRoot() ? other : getegid());
}

TEST_F(ToolSafety, CommandsThatChangeOneFileAtTheSameTimeAllArrive) {
    std::vector<PROCESS> all;
    for (int i = 10; i < 22; ++i) all.push_back(Start({"set", "s.xml", "k" + std::to_string(i), "x"}));
    for (auto& one : all) EXPECT_EQ(one.Wait().err, "");
    auto const keys = Output({"list", "--keys", "s.xml"});
    EXPECT_EQ(std::count(keys.begin(), keys.end(), '\n'), 12) << keys;
    EXPECT_THAT(files::Names(m_scratch), ElementsAre("from.xml", "s.xml"));
}

TEST_F(ToolSafety, ACommandWaitsWhileAnotherIsAtWorkInTheDirectory) {
    std::optional<TURN> other(m_scratch.Path("other.xml"));
    auto waiting = Start({"set", "s.xml", "a", "x"});
    std::this_thread::sleep_for(std::chrono::milliseconds(100));
    EXPECT_FALSE(waiting.HasEnded());
    EXPECT_FALSE(files::Exists(m_scratch.Path("s.xml")));
    other.reset();
    EXPECT_EQ(waiting.Wait().code, 0);
    EXPECT_EQ(Output({"get", "s.xml", "a"}), "x\n");
}

TEST_F(ToolSafety, ATurnThatDoesNotComeIsAFailure) {
    auto const file = m_scratch.Path("s.xml");
    auto const wait = [&] { TURN(file, std::chrono::milliseconds(20)); };
    TURN const other(file);
    EXPECT_THAT(wait, testing::ThrowsMessage<FAILURE>(
                          file + ": not written: another ticket is busy with a file of its directory; try again"));
}

// Commands that can be ended while they are at work: there are enough keys to keep them busy for a while.
class ToolEnded : public Tool {
 protected:
    ToolEnded() {
        std::string elements;
        for (int i = 0; i < 20000; ++i)
            elements += "<k" + std::to_string(i) + " type='int'>1</k" + std::to_string(i) + ">";
        WriteTicket("s.xml", elements);
        std::filesystem::create_directory(m_temporary);
        m_manner.environment = {"TMPDIR=" + m_temporary};
    }

    // Runs each command `times` times and ends it by a signal, each time a little later, up to the duration of the
    // command. That is measured first, because it depends on the machine and the build, and corrected by each command
    // that was faster than its signal, since the machine may have become faster. Returns how many were ended.
    int EndMany(int number, int times, std::vector<ARGUMENTS> const& commands) {
        int ended = 0;
        for (auto const& command : commands) {
            auto whole = std::min({Duration(command), Duration(command), Duration(command)});
            for (int i = 0; i < times; ++i) {
                auto const delay = whole * i / times;
                auto process = Start(command);
                std::this_thread::sleep_for(delay);
                process.Signal(number);
                if (process.Wait().code == 128 + number)
                    ++ended;
                else
                    whole = std::max(delay, whole / 2);
            }
        }
        return ended;
    }

    std::string const m_temporary = m_scratch.Path("temporary");

 private:
    std::chrono::steady_clock::duration Duration(ARGUMENTS const& command) {
        auto const begin = std::chrono::steady_clock::now();
        Start(command).Wait();
        return std::chrono::steady_clock::now() - begin;
    }
};

TEST_F(ToolEnded, ByKillLeaveNoCopyAndTheNextCommandRemovesWhatTheSaveLeft) {
    int const killed = EndMany(SIGKILL, 20, {{"set", "s.xml", "a", "x"}, {"check", "s.xml"}, {"export", "s.xml"}});
    EXPECT_GT(killed, 30);
    EXPECT_TRUE(std::filesystem::is_empty(m_temporary));
    EXPECT_EQ(Output({"set", "s.xml", "a", "y"}), "");
    EXPECT_THAT(files::Names(m_scratch), ElementsAre("s.xml", "temporary"));
    EXPECT_TRUE(std::filesystem::is_empty(m_temporary));
}

TEST_F(ToolEnded, ByTheUserLeaveNothing) {
    for (int const signal : {SIGINT, SIGTERM, SIGHUP}) {
        EXPECT_GT(EndMany(signal, 20, {{"set", "s.xml", "a", "x"}}), 5);
        EXPECT_THAT(files::Names(m_scratch), ElementsAre("s.xml", "temporary"));
        EXPECT_TRUE(std::filesystem::is_empty(m_temporary));
    }
}

TEST_F(ToolEnded, ByAFailureLeaveNothing) {
    auto const before = Content("s.xml");
    EXPECT_THAT(Error({"set", "s.xml", "a<b", "x"}), HasSubstr("would not parse"));
    EXPECT_THAT(Error({"set", "s.xml", "a", "x "}), HasSubstr("would come back"));
    EXPECT_THAT(Error({"set", "s.xml", "a", "x", "--type", "int"}), HasSubstr("not a value"));
    EXPECT_EQ(Content("s.xml") == before, true);
    EXPECT_THAT(files::Names(m_scratch), ElementsAre("s.xml", "temporary"));
    EXPECT_TRUE(std::filesystem::is_empty(m_temporary));
}

// Root, who changes files of others.
class ToolAsRoot : public ToolSafety {
 protected:
    void SetUp() override {
        if (!IsRoot()) GTEST_SKIP() << "only root can change files of others and leave them theirs";
        WriteTicket("s.xml", "<a type='string'>1</a>");
        Own("s.xml", 0640);
    }

    void Own(std::string const& name, unsigned int mode) const {
        auto const path = m_scratch.Path(name);
        ASSERT_EQ(chown(path.c_str(), OTHER, GROUP), 0);
        std::filesystem::permissions(path, std::filesystem::perms(mode));
    }
    struct stat Found(std::string const& name) const {
        struct stat found = {};
        EXPECT_EQ(lstat(m_scratch.Path(name).c_str(), &found), 0);
        return found;
    }

    static constexpr uid_t OTHER = 12345;
    static constexpr gid_t GROUP = 12346;
};

TEST_F(ToolAsRoot, EveryChangeRestoresOwnerGroupAndPermissions) {
    for (unsigned int const mode : {0640u, 0600u, 0664u, 0666u}) {
        for (auto const& command : WriteCommands()) {
            if (command[0] == "delete") continue;  // of the last key
            Own("s.xml", mode);
            EXPECT_EQ(Ticket(command).code, 0) << command[0];
            auto const found = Found("s.xml");
            EXPECT_EQ(found.st_mode & 07777u, mode);
            EXPECT_EQ(found.st_uid, OTHER);
            EXPECT_EQ(found.st_gid, GROUP);
        }
    }
}

TEST_F(ToolAsRoot, RestoresUserAttributes) {
    auto const path = m_scratch.Path("s.xml");
    if (setxattr(path.c_str(), "user.note", "x", 1, 0) != 0) GTEST_SKIP() << "no user attributes on this file system";
    EXPECT_EQ(Output({"set", "s.xml", "a", "2"}), "");
    char value = 0;
    EXPECT_EQ(getxattr(path.c_str(), "user.note", &value, 1), 1);
    EXPECT_EQ(value, 'x');
}

TEST_F(ToolAsRoot, RestoresTheAccessControlList) {
    // As the kernel stores it: owner rw, user 12347 rw, group r, mask rw, others none. 2 is the version of the format.
    struct {
        uint32_t version = 2;
        struct {
            uint16_t tag;
            uint16_t rights;
            uint32_t id;
        } rights[5] = {{0x01, 6, ~0u}, {0x02, 6, 12347}, {0x04, 4, ~0u}, {0x10, 6, ~0u}, {0x20, 0, ~0u}};
    } list;
    constexpr char ATTRIBUTE[] = "system.posix_acl_access";
    auto const path = m_scratch.Path("s.xml");
    if (setxattr(path.c_str(), ATTRIBUTE, &list, sizeof list, 0) != 0) {
        GTEST_SKIP() << "no access control lists on this file system";
    }
    EXPECT_EQ(Output({"set", "s.xml", "a", "2"}), "");
    EXPECT_EQ(Output({"get", "s.xml", "a"}), "2\n");
    decltype(list) found;
    ASSERT_EQ(getxattr(path.c_str(), ATTRIBUTE, &found, sizeof found), static_cast<ssize_t>(sizeof found));
    EXPECT_EQ(std::memcmp(&found, &list, sizeof list), 0);
    EXPECT_EQ(Found("s.xml").st_mode & 07777u, 0660u);  // the group's bits are the mask
    EXPECT_EQ(Found("s.xml").st_uid, OTHER);
}

TEST_F(ToolAsRoot, ALinkOfAnotherUserIsFollowedToHisOwnFilesOnly) {
    WriteTicket("public.xml", "<a type='string'>1</a>");
    auto const before = Content("public.xml");
    for (auto const* const name : {"link.xml", "chain.xml"}) {
        std::filesystem::create_symlink(name[0] == 'c' ? "link.xml" : "public.xml", m_scratch.Path(name));
        if (name[0] == 'l') {
            ASSERT_EQ(lchown(m_scratch.Path(name).c_str(), OTHER, GROUP), 0);
        }
        EXPECT_EQ(Error({"set", name, "a", "secret"}),
                  std::string(name) + ": not written: it is another user's link; --force follows it to " +
                      std::filesystem::canonical(m_scratch.Path("public.xml")).string());
        EXPECT_EQ(Content("public.xml"), before);
    }
    EXPECT_EQ(Output({"set", "link.xml", "a", "2", "--force"}), "");
    EXPECT_EQ(Output({"get", "public.xml", "a"}), "2\n");
    Own("public.xml", 0640);
    EXPECT_EQ(Output({"set", "link.xml", "a", "3"}), "");
    EXPECT_EQ(Output({"get", "public.xml", "a"}), "3\n");
}

TEST_F(ToolAsRoot, AFileThatAnybodyCanHavePutThereIsWrittenOnlyWithForceAndNotGivenAway) {
    std::filesystem::permissions(m_scratch.Path(), std::filesystem::perms(01777));
    auto const before = Content("s.xml");
    EXPECT_EQ(Error({"set", "s.xml", "a", "secret"}),
              "s.xml: not written: it is another user's, in a directory in which anybody can put files; --force writes "
              "it and makes it yours");
    EXPECT_EQ(Content("s.xml"), before);
    EXPECT_EQ(Output({"set", "s.xml", "a", "secret", "--force"}), "");
    EXPECT_EQ(Found("s.xml").st_uid, 0u);
    EXPECT_EQ(Found("s.xml").st_mode & 0077u & ~0040u, 0u);
}

TEST_F(ToolAsRoot, AFileThatTakesThePlaceOfTheSavedOneIsNotGivenAway) {
    Write("victim", "root's own");
    std::filesystem::permissions(m_scratch.Path("victim"), std::filesystem::perms(0600));
    OWNER const owner(m_scratch.Path("s.xml"));
    MEMORY_FILE saved;
    saved.Take("what was saved");
    for (auto const kind : {"hard link", "symbolic link", "other file"}) {
        std::filesystem::remove(m_scratch.Path("s.xml"));
        if (kind == std::string("hard link")) {
            std::filesystem::create_hard_link(m_scratch.Path("victim"), m_scratch.Path("s.xml"));
        } else if (kind == std::string("symbolic link")) {
            std::filesystem::create_symlink("victim", m_scratch.Path("s.xml"));
        } else {
            Write("s.xml", "another");
        }
        if (kind == std::string("symbolic link")) {
            owner.Restore(saved);
        } else {
            EXPECT_THROW(owner.Restore(saved), FAILURE) << kind;
        }
        EXPECT_EQ(Found("victim").st_uid, 0u) << kind;
        EXPECT_EQ(Found("victim").st_mode & 07777u, 0600u) << kind;
        EXPECT_EQ(Found("s.xml").st_uid, 0u) << kind;
    }
}

class ToolStreams : public ToolSafety {
 protected:
    ToolStreams() { WriteTicket("s.xml", "<a type='string'>1</a>"); }
};

TEST_F(ToolStreams, AClosedStandardOutputIsAFailureForCommandsThatPrint) {
    m_manner.closed = {STDOUT_FILENO};
    auto const result = Ticket({"list", "s.xml"});
    EXPECT_EQ(result.code, 2);
    EXPECT_EQ(result.err, "ticket: standard output cannot be written\n");
    EXPECT_EQ(Ticket({"--help"}).code, 2);
    EXPECT_EQ(Ticket({"check", "s.xml"}).code, 0);
}

TEST_F(ToolStreams, ClosedStandardStreamsDoNotReachTheFile) {
    m_manner.closed = {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO};
    EXPECT_EQ(Ticket({"set", "s.xml", "a", "2"}).code, 0);
    EXPECT_EQ(Ticket({"import", "s.xml"}).code, 2);
    EXPECT_EQ(Ticket({"set", "s.xml", "b<c", "2"}).code, 2);
    m_manner.closed.clear();
    EXPECT_EQ(Output({"list", "s.xml"}), "a\tstring\t\"2\"\n");
}

TEST_F(ToolStreams, AFullDiskBehindStandardOutputIsAFailure) {
    for (std::string const command : {"list s.xml", "export s.xml", "--help", "settings s.xml --json"}) {
        auto const result =
            PROCESS({"sh", "-c", "exec " TICKET_PROGRAM " " + command + " >/dev/full"}, m_manner).Wait();
        EXPECT_EQ(result.code, 2) << command;
        EXPECT_EQ(result.err, "ticket: standard output cannot be written\n");
    }
}

TEST_F(ToolStreams, AReaderThatHasSeenEnoughEndsTheToolQuietly) {
    std::string elements;
    for (int i = 0; i < 20000; ++i) elements += "<k type='int'>1</k>";
    WriteTicket("s.xml", elements);
    auto const result = PROCESS({"sh", "-c", TICKET_PROGRAM " list s.xml | head -1"}, m_manner).Wait();
    EXPECT_EQ(result.code, 0);
    EXPECT_EQ(result.out, "k[0]\tint\t1\n");
    EXPECT_EQ(result.err, "");
}

// Files that exceed a limit.
class ToolExtremes : public Tool {
 protected:
    static std::string Repeated(std::string const& text, int count) {
        std::string result;
        for (int i = 0; i < count; ++i) result += text;
        return result;
    }
};

TEST_F(ToolExtremes, AMillionNestedElementsAreListedAndCheckedAndNotSaved) {
    constexpr int levels = 1'000'000;
    WriteTicket("s.xml", Repeated("<a>", levels) + "<v type='int'>1</v>" + Repeated("</a>", levels));
    auto const before = Content("s.xml");
    EXPECT_EQ(Output({"list", "s.xml"}), Repeated("a/", levels) + "v\tint\t1\n");
    EXPECT_EQ(Output({"get", "s.xml", "other", "--help"}).empty(), false);
    auto const checked = Ticket({"check", "s.xml"});
    EXPECT_EQ(checked.code, 1);
    EXPECT_THAT(checked.out, StartsWith("s.xml:1:3000009: key 'a/a/a/a/"));
    EXPECT_THAT(checked.out, HasSubstr("...' nests 1000001 elements: too deep to be saved, or memory is short\n"));
    EXPECT_THAT(Error({"set", "s.xml", "b", "x", "--force"}),
                HasSubstr("nests 1000001 elements: too deep to be saved"));
    EXPECT_EQ(Content("s.xml") == before, true);
    EXPECT_THAT(files::Names(m_scratch), ElementsAre("s.xml"));
}

TEST_F(ToolExtremes, AMillionNestedElementsWithoutAValueAreChecked) {
    constexpr int levels = 1'000'000;
    WriteTicket("s.xml", Repeated("<a>", levels) + Repeated("</a>", levels));
    auto const checked = Ticket({"check", "s.xml"});
    EXPECT_EQ(checked.code, 1);
    EXPECT_EQ(checked.out, "s.xml:1:3000006: element 'a' holds nothing\n");
}

TEST_F(ToolExtremes, AFileWhoseKeysWouldFillTheMemoryIsRefusedAndNotTakenForEmpty) {
    constexpr int levels = 30'000;
    WriteTicket("s.xml", Repeated("<a type='int'>1", levels) + Repeated("</a>", levels));
    auto const before = Content("s.xml");
    std::string const reason = "s.xml: is not loaded: nested so deep that its keys would fill the memory";
    EXPECT_EQ(Error({"list", "s.xml"}), reason);
    EXPECT_EQ(Error({"set", "s.xml", "b", "x", "--force"}), reason);
    auto const checked = Ticket({"check", "s.xml"});
    EXPECT_EQ(checked.code, 1);
    EXPECT_EQ(checked.out, reason + "\n");
    EXPECT_EQ(Content("s.xml") == before, true);
    EXPECT_THAT(files::Names(m_scratch), ElementsAre("s.xml"));
}

TEST_F(ToolExtremes, AHundredThousandKeysAreServed) {
    std::string elements;
    for (int i = 0; i < 1000; ++i) {
        auto const group = "g" + std::to_string(i);
        elements += "<" + group + ">";
        for (int j = 0; j < 100; ++j) {
            auto const name = "k" + std::to_string(j);
            elements += "<" + name + " type='int'>" + std::to_string(j) + "</" + name + ">\n";
        }
        elements += "</" + group + ">";
    }
    WriteTicket("s.xml", elements);
    EXPECT_EQ(Output({"get", "s.xml", "g500/k50"}), "50\n");
    EXPECT_EQ(Output({"set", "s.xml", "g500/k50", "7"}), "");
    auto const list = Output({"list", "s.xml"});
    EXPECT_EQ(std::count(list.begin(), list.end(), '\n'), 100'000);
    EXPECT_THAT(list, HasSubstr("\ng500/k50\tint\t7\n"));
    EXPECT_EQ(Output({"check", "s.xml"}), "");
}

}  // namespace
