// The temporary file of a save: other objects at its name, and other processes that save the same file. A test
// can act as another process just before the calls that lock and rename.
#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <linux/fs.h>
#include <sys/file.h>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <chrono>
#include <cstdio>
#include <functional>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "support/FailingSystemCalls.h"
#include "support/Files.h"
#include "support/Replace.h"
#include "support/Unprivileged.h"

namespace {

using files::Exists;
using files::Names;
using files::Write;
using testing::ElementsAre;
using testing::UnorderedElementsAre;
using TICKETFILE::OLD;

std::function<void()> g_beforeLock;    // called once
std::function<void()> g_beforeRename;  // called once
int g_lockError = 0;
std::atomic<int> g_locks{0};  // attempts to lock, by any thread

void CallOnce(std::function<void()>& function) {
    if (auto const once = std::exchange(function, nullptr)) once();
}

int BeforeCall(std::string_view kind, char const* /*path*/) {
    if (kind == "rename") CallOnce(g_beforeRename);
    if (kind != "flock") return 0;
    ++g_locks;
    CallOnce(g_beforeLock);
    return g_lockError;
}

class FileSave : public testing::Test {
 protected:
    void SetUp() override {
        system_calls::g_before = &BeforeCall;
        g_locks = 0;
    }
    void TearDown() override {
        system_calls::g_before = nullptr;
        g_beforeLock = nullptr;
        g_beforeRename = nullptr;
        g_lockError = 0;
    }

    SCRATCH_DIRECTORY m_scratch;
    std::string const m_file = m_scratch.Path("t.xml");
    std::string const m_temporary = m_file + ".tmp";
};

// Opens a file and locks it as a save in another process does.
int Lock(std::string const& path) {
    int const file = open(path.c_str(), O_RDWR | O_CREAT, 0600);
    EXPECT_EQ(flock(file, LOCK_EX), 0);
    return file;
}

// Makes a directory append-only, or ends that. Needs root and a file system that knows such directories.
bool SetAppendOnly(std::string const& directory, bool isAppendOnly) {
    int const opened = open(directory.c_str(), O_RDONLY | O_DIRECTORY);
    int flags = 0;
    bool isSet = ioctl(opened, FS_IOC_GETFLAGS, &flags) == 0;
    flags = isAppendOnly ? flags | FS_APPEND_FL : flags & ~FS_APPEND_FL;
    isSet = isSet && ioctl(opened, FS_IOC_SETFLAGS, &flags) == 0;
    close(opened);
    return isSet;
}

}  // namespace

// Other objects at the temporary name

TEST_F(FileSave, DirectoryAtTheTemporaryNameRefusesTheSave) {
    std::filesystem::create_directory(m_temporary);
    EXPECT_FALSE(Replace(m_file, "new", OLD::DISCARD));
    EXPECT_THAT(Names(m_scratch), ElementsAre("t.xml.tmp"));
    Write(m_file, "old");
    for (OLD const old : {OLD::DISCARD, OLD::KEEP}) {
        EXPECT_FALSE(Replace(m_file, "new", old));
        EXPECT_EQ(FileContent(m_file), "old");
        EXPECT_TRUE(std::filesystem::is_directory(m_temporary));
        EXPECT_THAT(Names(m_scratch), ElementsAre("t.xml", "t.xml.tmp"));
    }
}

// Nothing can be renamed or removed in such a directory.
TEST_F(FileSave, InAnAppendOnlyDirectoryFailsAndLeavesNoFile) {
    Write(m_file, "old");
    if (!SetAppendOnly(m_scratch.Path(), true)) GTEST_SKIP() << "no append-only directories here";
    for (OLD const old : {OLD::DISCARD, OLD::KEEP}) {
        TICKETFILE::SAVE_OUTCOME const outcome = OutcomeOfReplacing(m_file, "new", old);
        EXPECT_EQ(outcome.failed, TICKETFILE::SAVE_STEP::OPEN);
        EXPECT_EQ(outcome.error, EPERM);
        EXPECT_THAT(Names(m_scratch), ElementsAre("t.xml"));
    }
    EXPECT_EQ(FileContent(m_file), "old");
    EXPECT_TRUE(SetAppendOnly(m_scratch.Path(), false));
}

TEST_F(FileSave, LeftoverOfACrashIsRemoved) {
    Write(m_temporary, "left over, and longer than what comes");
    EXPECT_TRUE(Replace(m_file, "new", OLD::DISCARD));
    EXPECT_EQ(FileContent(m_file), "new");
    EXPECT_FALSE(Exists(m_temporary));
}

TEST_F(FileSave, LeftoverOfACrashThatIsReadOnlyIsNoObstacle) {
    std::filesystem::permissions(m_scratch.Path(), std::filesystem::perms(0777));
    EXPECT_TRUE(Unprivileged([&] {
        for (std::string const& name : {m_file, m_temporary}) {
            Write(name, "old");
            std::filesystem::permissions(name, std::filesystem::perms(0400));
        }
        return Replace(m_file, "new", OLD::DISCARD) && FileContent(m_file) == "new";
    }));
}

TEST_F(FileSave, SymbolicLinkAtTheTemporaryNameIsNotFollowed) {
    Write(m_file, "old");
    Write(m_scratch.Path("victim"), "precious");
    std::filesystem::create_symlink(m_scratch.Path("victim"), m_temporary);
    EXPECT_TRUE(Replace(m_file, "new", OLD::DISCARD));
    EXPECT_EQ(FileContent(m_scratch.Path("victim")), "precious");
    EXPECT_EQ(FileContent(m_file), "new");
}

TEST_F(FileSave, PipeAtTheTemporaryNameDoesNotHoldTheSaveUp) {
    Write(m_file, "old");
    ASSERT_EQ(mkfifo(m_temporary.c_str(), 0600), 0);
    EXPECT_TRUE(Replace(m_file, "new", OLD::DISCARD));
    EXPECT_EQ(FileContent(m_file), "new");
}

TEST_F(FileSave, PipeWithAReaderAtTheTemporaryNameIsNotWrittenTo) {
    ASSERT_EQ(mkfifo(m_temporary.c_str(), 0600), 0);
    int const reader = open(m_temporary.c_str(), O_RDONLY | O_NONBLOCK);
    EXPECT_TRUE(Replace(m_file, "new", OLD::DISCARD));
    char byte;
    EXPECT_LE(read(reader, &byte, 1), 0);
    close(reader);
    EXPECT_EQ(FileContent(m_file), "new");
}

TEST_F(FileSave, FileOfSeveralNamesAtTheTemporaryNameIsNotWrittenTo) {
    Write(m_scratch.Path("precious"), "precious");
    std::filesystem::create_hard_link(m_scratch.Path("precious"), m_temporary);
    EXPECT_TRUE(Replace(m_file, "new", OLD::DISCARD));
    EXPECT_EQ(FileContent(m_file), "new");
    EXPECT_EQ(FileContent(m_scratch.Path("precious")), "precious");
    EXPECT_TRUE(Exists(m_temporary)) << "it is no left-over of a save";
}

TEST_F(FileSave, TemporaryFileOfAnotherUserIsNotWrittenTo) {
    if (geteuid() != 0) GTEST_SKIP() << "only root can be two users";
    std::filesystem::permissions(m_scratch.Path(), std::filesystem::perms(0777));
    for (unsigned int const mode : {0600u, 0666u}) {
        SCOPED_TRACE(mode);
        Write(m_temporary, "of another user");
        std::filesystem::permissions(m_temporary, std::filesystem::perms(mode));
        int const witness = open(m_temporary.c_str(), O_RDONLY);
        Unprivileged([&] { return Replace(m_file, "new", OLD::DISCARD); });
        char text[100] = {};
        EXPECT_EQ(read(witness, text, sizeof text), 15);
        EXPECT_STREQ(text, "of another user");
        close(witness);
    }
    EXPECT_EQ(FileContent(m_file), "new");
}

// Other processes that save the same file

TEST_F(FileSave, WaitsForTheOneWhoIsSaving) {
    int const other = Lock(m_temporary);
    std::function<void()> const hisSave = [&] {
        EXPECT_FALSE(Exists(m_file));
        if (g_locks < 5) {
            g_beforeLock = hisSave;
            return;
        }
        EXPECT_EQ(write(other, "his", 3), 3);
        EXPECT_EQ(rename(m_temporary.c_str(), m_file.c_str()), 0);
        std::filesystem::create_hard_link(m_file, m_scratch.Path("his"));
        close(other);
    };
    g_beforeLock = hisSave;
    EXPECT_TRUE(Replace(m_file, "mine", OLD::DISCARD));
    EXPECT_GE(g_locks, 6);
    EXPECT_EQ(FileContent(m_file), "mine");
    EXPECT_EQ(FileContent(m_scratch.Path("his")), "his");  // the file whose lock was awaited is unchanged
}

TEST_F(FileSave, FileThatWasRenamedAwayBeforeItCouldBeLockedIsNotWrittenTo) {
    Write(m_temporary, "his");
    g_beforeLock = [&] { std::filesystem::rename(m_temporary, m_scratch.Path("his")); };
    EXPECT_TRUE(Replace(m_file, "mine", OLD::DISCARD));
    EXPECT_EQ(FileContent(m_file), "mine");
    EXPECT_EQ(FileContent(m_scratch.Path("his")), "his");
}

TEST_F(FileSave, FileWhoseNameAnotherHasTakenBeforeItCouldBeLockedIsNotWrittenTo) {
    Write(m_temporary, "his");
    g_beforeLock = [&] {
        std::filesystem::rename(m_temporary, m_scratch.Path("his"));
        Write(m_temporary, "another's");
    };
    EXPECT_TRUE(Replace(m_file, "mine", OLD::DISCARD));
    EXPECT_EQ(FileContent(m_file), "mine");
    EXPECT_EQ(FileContent(m_scratch.Path("his")), "his");
}

TEST_F(FileSave, LockIsHeldUntilTheRename) {
    bool refused = false;
    g_beforeRename = [&] {
        int const other = open(m_temporary.c_str(), O_RDWR);
        refused = flock(other, LOCK_EX | LOCK_NB) != 0 && errno == EWOULDBLOCK;
        close(other);
    };
    EXPECT_TRUE(Replace(m_file, "mine", OLD::DISCARD));
    EXPECT_TRUE(refused);
    int const later = open(m_file.c_str(), O_RDWR);
    EXPECT_EQ(flock(later, LOCK_EX | LOCK_NB), 0);
    close(later);
}

TEST_F(FileSave, SecondWaiterDoesNotWriteToTheFileOfTheFirst) {
    int const other = Lock(m_temporary);
    std::vector<std::thread> savers;
    for (char const* text : {"first text", "2nd"})
        savers.emplace_back([&, text] { EXPECT_TRUE(Replace(m_file, text, OLD::DISCARD)); });
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
    unlink(m_temporary.c_str());
    close(other);
    for (std::thread& saver : savers) saver.join();
    EXPECT_THAT(FileContent(m_file), testing::AnyOf("first text", "2nd"));
    EXPECT_THAT(Names(m_scratch), ElementsAre("t.xml"));
}

TEST_F(FileSave, GoesOnWithoutALockThatIsNeverGivenBackAndDoesNotMixTheTwoSaves) {
    Write(m_file, "old");
    int const stuck = Lock(m_temporary);
    EXPECT_TRUE(Replace(m_file, "mine", OLD::DISCARD));
    EXPECT_LE(g_locks, 1 + 401);                 // the other save's lock, then one attempt every 5 ms for 2 s
    ASSERT_EQ(write(stuck, "his, late", 9), 9);  // as a stopped process does when it continues
    EXPECT_EQ(FileContent(m_file), "mine");
    EXPECT_EQ(FileContent(m_temporary), "his, late");
    close(stuck);
    EXPECT_THAT(Names(m_scratch), UnorderedElementsAre("t.xml", "t.xml.tmp"));
}

// Another user could plant such a lock to delay each save.
TEST_F(FileSave, DoesNotWaitForALockOnWhatNoSaveOfThisUserOrRootHasMade) {
    Write(m_file, "old");
    int const planted = Lock(m_temporary);
    if (geteuid() == 0)
        ASSERT_EQ(fchown(planted, 65534, 65534), 0);
    else
        std::filesystem::create_hard_link(m_temporary, m_scratch.Path("second name"));
    g_locks = 0;
    EXPECT_TRUE(Replace(m_file, "new", OLD::DISCARD));
    EXPECT_EQ(g_locks, 1);
    EXPECT_EQ(FileContent(m_file), "new");
    EXPECT_TRUE(Exists(m_temporary)) << "a save of the other user may be writing it";
    close(planted);
}

TEST_F(FileSave, FileSystemWithoutLocksIsWrittenToAtOnce) {
    Write(m_file, "old");
    g_lockError = ENOLCK;
    EXPECT_TRUE(Replace(m_file, "new", OLD::DISCARD));
    EXPECT_EQ(g_locks, 1);
    EXPECT_EQ(FileContent(m_file), "new");
    EXPECT_THAT(Names(m_scratch), ElementsAre("t.xml"));
}

TEST_F(FileSave, TwoProcessesNeverLeaveATornOrEmptyFileForAThirdToRead) {
    constexpr int SAVES = 40;
    auto const text = [](char letter, int length) {
        return "<" + std::string(static_cast<size_t>(length), letter) + ">";
    };
    Write(m_file, text('o', 5000));
    auto const saveOften = [&](char letter) {
        for (int i = 0; i < SAVES; ++i)
            if (!Replace(m_file, text(letter, 3000 + 100 * i), OLD::DISCARD)) return false;
        return true;
    };

    std::vector<pid_t> savers;
    for (char const letter : {'a', 'b'}) {
        savers.push_back(fork());
        if (savers.back() == 0) _exit(saveOften(letter) ? 0 : 1);
    }
    int torn = 0;
    for (size_t ended = 0; ended < savers.size();) {
        std::string const seen = FileContent(m_file);
        if (seen.size() < 3002 || seen.back() != '>' || seen.find_first_not_of(seen[1], 1) != seen.size() - 1) ++torn;
        int status = 0;
        if (waitpid(savers[ended], &status, WNOHANG) == 0) continue;
        EXPECT_EQ(status, 0);
        ++ended;
    }
    EXPECT_EQ(torn, 0);
    EXPECT_THAT(Names(m_scratch), ElementsAre("t.xml"));
}
