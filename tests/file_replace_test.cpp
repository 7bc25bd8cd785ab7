// Replacing and deleting a ticket's file while other processes save it, on a full disk, and with other objects at its
// names. The system calls are replaced here, to record them and to make them fail.
#include <dlfcn.h>
#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <pthread.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <chrono>
#include <cstdio>
#include <functional>
#include <new>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "Disk/FileReader.h"
#include "Disk/Replacement.h"
#include "support/Files.h"
#include "support/Replace.h"
#include "support/Unprivileged.h"

namespace {

using files::Exists;
using files::Mode;
using files::Names;
using files::Write;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::UnorderedElementsAre;
using TICKETFILE::FILE_READER;
using TICKETFILE::OLD;
using TICKETFILE::REPLACEMENT;

// The simulated behaviour of the system; used by one thread only.
struct SYSTEM {
    long roomLeft = -1;         // bytes that can still be written; -1: any number
    size_t longestWrite = ~0u;  // the most bytes that one write takes
    bool interrupts = false;    // every call fails with EINTR the first time
    int flushError = 0;
    int closeError = 0;
    int modeError = 0;
    int lockError = 0;
    std::function<void()> beforeLock{};    // called once
    std::function<void()> beforeRename{};  // called once
    bool watching = false;
    std::vector<std::string> calls{};
    std::string flushedDirectory{};

    void Note(std::string call) {
        if (watching && (calls.empty() || calls.back() != call)) calls.push_back(std::move(call));
    }
};
SYSTEM g_system;
std::atomic<int> g_locks{0};  // attempts to lock, by any thread

// Restores the usual behaviour at the end of a test.
struct USUAL_SYSTEM {
    ~USUAL_SYSTEM() { g_system = SYSTEM{}; }
};

void CallOnce(std::function<void()>& function) {
    if (auto const once = std::exchange(function, nullptr)) once();
}

int Fail(int error) {
    errno = error;
    return -1;
}

bool Interrupt() {
    static bool s_interrupted = false;
    if (!g_system.interrupts) return false;
    s_interrupted = !s_interrupted;
    return s_interrupted;
}

bool IsDirectory(int file) {
    struct stat found;
    return fstat(file, &found) == 0 && S_ISDIR(found.st_mode);
}

std::string ModeOf(int file) {
    struct stat found;
    if (fstat(file, &found) != 0) return "?";
    char text[8];
    std::snprintf(text, sizeof text, "%o", found.st_mode & 07777);
    return text;
}

template <typename FUNCTION>
FUNCTION Next(char const* name) {
    return reinterpret_cast<FUNCTION>(dlsym(RTLD_NEXT, name));
}

}  // namespace

extern "C" {

ssize_t write(int file, void const* bytes, size_t size) {
    static auto const next = Next<ssize_t (*)(int, void const*, size_t)>("write");
    if (file <= STDERR_FILENO) return next(file, bytes, size);
    g_system.Note("write " + ModeOf(file) + (fcntl(file, F_GETFD) & FD_CLOEXEC ? "" : " inheritable"));
    if (Interrupt()) return Fail(EINTR);
    if (g_system.roomLeft == 0) return Fail(ENOSPC);
    if (size > g_system.longestWrite) size = g_system.longestWrite;
    if (g_system.roomLeft > 0) {
        if (size > static_cast<size_t>(g_system.roomLeft)) size = static_cast<size_t>(g_system.roomLeft);
        g_system.roomLeft -= static_cast<long>(size);
    }
    return next(file, bytes, size);
}

int fsync(int file) {
    static auto const next = Next<int (*)(int)>("fsync");
    bool const directory = IsDirectory(file);
    if (directory && g_system.watching)
        g_system.flushedDirectory = std::filesystem::read_symlink("/proc/self/fd/" + std::to_string(file));
    g_system.Note(directory ? "flush directory" : "flush");
    if (Interrupt()) return Fail(EINTR);
    return g_system.flushError && !directory ? Fail(g_system.flushError) : next(file);
}

int close(int file) {
    static auto const next = Next<int (*)(int)>("close");
    bool const regular = !IsDirectory(file);
    if (regular) g_system.Note("close");
    int const result = next(file);
    return g_system.closeError && regular ? Fail(g_system.closeError) : result;
}

int fchmod(int file, mode_t mode) noexcept {
    static auto const next = Next<int (*)(int, mode_t)>("fchmod");
    return g_system.modeError ? Fail(g_system.modeError) : next(file, mode);
}

int flock(int file, int operation) noexcept {
    static auto const next = Next<int (*)(int, int)>("flock");
    g_system.Note("lock");
    ++g_locks;
    CallOnce(g_system.beforeLock);
    return g_system.lockError ? Fail(g_system.lockError) : next(file, operation);
}

int ftruncate(int file, off_t size) noexcept {
    static auto const next = Next<int (*)(int, off_t)>("ftruncate");
    g_system.Note("truncate");
    return next(file, size);
}

int rename(char const* from, char const* to) noexcept {
    static auto const next = Next<int (*)(char const*, char const*)>("rename");
    g_system.Note("rename");
    CallOnce(g_system.beforeRename);
    return next(from, to);
}

int unlink(char const* name) noexcept {
    static auto const next = Next<int (*)(char const*)>("unlink");
    g_system.Note("unlink");
    return next(name);
}

}  // extern "C"

namespace {

class FileSave : public testing::Test {
 protected:
    void SetUp() override { g_locks = 0; }

    SCRATCH_DIRECTORY m_scratch;
    std::string const m_file = m_scratch.Path("t.xml");
    std::string const m_temporary = m_file + ".tmp";
    std::string const m_unreadable = m_file + ".unreadable";
    USUAL_SYSTEM m_usual;
};

using FileDelete = FileSave;

bool Deletes(std::string const& fileName, OLD old) {
    return TICKETFILE::Delete(fileName, old).Succeeded();
}

// Opens a file and locks it as a save in another process does.
int Lock(std::string const& path) {
    int const file = open(path.c_str(), O_RDWR | O_CREAT, 0600);
    EXPECT_EQ(flock(file, LOCK_EX), 0);
    return file;
}

// Runs `work` on a thread with a pending cancellation; true if the thread is cancelled only after `work` has returned.
bool IsCancelledBehind(std::function<void()> work) {
    auto const run = [](void* argument) -> void* {
        pthread_cancel(pthread_self());
        (*static_cast<std::function<void()>*>(argument))();
        pthread_testcancel();
        return nullptr;
    };
    pthread_t thread;
    void* result = nullptr;
    if (pthread_create(&thread, nullptr, run, &work) == 0) pthread_join(thread, &result);
    return result == PTHREAD_CANCELED;
}

}  // namespace

// Replacing

TEST_F(FileSave, NewFileHoldsTheBytesAndNothingIsLeftBeside) {
    EXPECT_TRUE(Replace(m_file, "new", OLD::DISCARD));
    EXPECT_EQ(FileContent(m_file), "new");
    EXPECT_THAT(Names(m_scratch), ElementsAre("t.xml"));
}

TEST_F(FileSave, OldFileIsReplacedByANewOne) {
    Write(m_file, "old and longer");
    std::filesystem::create_hard_link(m_file, m_scratch.Path("witness"));
    EXPECT_TRUE(Replace(m_file, "new", OLD::DISCARD));
    EXPECT_EQ(FileContent(m_file), "new");
    EXPECT_EQ(FileContent(m_scratch.Path("witness")), "old and longer");
}

TEST_F(FileSave, NoBytesMakeAnEmptyFile) {
    EXPECT_TRUE(Replace(m_file, "", OLD::DISCARD));
    EXPECT_EQ(FileContent(m_file), "");
}

TEST_F(FileSave, PiecesFollowEachOther) {
    REPLACEMENT file(m_file);
    EXPECT_THAT(Names(m_scratch), IsEmpty());
    std::string whole;
    for (char byte = 'a'; byte <= 'f'; ++byte) {
        std::string const piece(byte == 'c' ? 1 : 100000, byte);
        file.Take(piece);
        whole += piece;
    }
    EXPECT_THAT(Names(m_scratch), ElementsAre("t.xml.tmp"));
    EXPECT_TRUE(file.Commit(OLD::DISCARD).Succeeded());
    EXPECT_EQ(FileContent(m_file), whole);
    EXPECT_THAT(Names(m_scratch), ElementsAre("t.xml"));
}

TEST_F(FileSave, RestartForgetsThePieces) {
    REPLACEMENT file(m_file);
    file.Restart();
    file.Take("something longer");
    file.Restart();
    file.Take("new");
    EXPECT_TRUE(file.Commit(OLD::DISCARD).Succeeded());
    EXPECT_EQ(FileContent(m_file), "new");
}

TEST_F(FileSave, WithoutACommitNothingHasHappened) {
    Write(m_file, "old");
    {
        REPLACEMENT file(m_file);
        file.Take("new");
    }
    EXPECT_EQ(FileContent(m_file), "old");
    EXPECT_THAT(Names(m_scratch), ElementsAre("t.xml"));
}

TEST_F(FileSave, NameWithoutADirectoryIsInTheWorkingDirectory) {
    auto const before = std::filesystem::current_path();
    std::filesystem::current_path(m_scratch.Path());
    EXPECT_TRUE(Replace("t.xml", "new", OLD::DISCARD));
    std::filesystem::current_path(before);
    EXPECT_EQ(FileContent(m_file), "new");
}

TEST_F(FileSave, BytesAreOnTheDiskBeforeTheRenameAndTheNameAfterIt) {
    Write(m_file, "old");
    std::filesystem::permissions(m_file, std::filesystem::perms(0640));
    g_system.watching = true;
    Replace(m_file, "new", OLD::DISCARD);
    g_system.watching = false;
    EXPECT_THAT(g_system.calls,
                ElementsAre("lock", "write 600", "flush", "close", "rename", "flush directory", "close"));
}

TEST_F(FileSave, DirectoryThatIsFlushedIsTheOneThatHoldsTheName) {
    auto const before = std::filesystem::current_path();
    auto const elsewhere = std::filesystem::canonical(m_scratch.Path());
    auto const below = elsewhere / "below";
    std::filesystem::create_directory(below);
    std::filesystem::current_path(elsewhere);
    g_system.watching = true;
    EXPECT_TRUE(Replace(below / "t.xml", "new", OLD::DISCARD));
    EXPECT_EQ(g_system.flushedDirectory, below);
    EXPECT_TRUE(Replace("t.xml", "new", OLD::DISCARD));
    EXPECT_EQ(g_system.flushedDirectory, elsewhere);
    EXPECT_TRUE(Deletes("below/t.xml", OLD::DISCARD));
    EXPECT_EQ(g_system.flushedDirectory, below);
    std::filesystem::current_path(before);
}

TEST_F(FileSave, NewFileIsItsOwnersAloneFromTheFirstByteOn) {
    Write(m_temporary, "left over");
    std::filesystem::permissions(m_temporary, std::filesystem::perms(0666));
    g_system.watching = true;
    Replace(m_file, "password", OLD::DISCARD);
    g_system.watching = false;
    EXPECT_THAT(g_system.calls, testing::Contains("write 600"));
    EXPECT_EQ(Mode(m_file), 0600u);
}

TEST_F(FileSave, PermissionBitsStayWhateverTheMaskOfTheProcess) {
    for (mode_t const mask : {0000u, 0022u, 0777u}) {
        for (unsigned int const mode : {0600u, 0644u, 0660u, 0400u, 0777u}) {
            Write(m_file, "old");
            std::filesystem::permissions(m_file, std::filesystem::perms(mode));
            mode_t const before = umask(mask);
            EXPECT_TRUE(Replace(m_file, "new", OLD::DISCARD));
            umask(before);
            EXPECT_EQ(Mode(m_file), mode);
            std::filesystem::remove(m_file);
        }
    }
}

TEST_F(FileSave, SpecialBitsOfTheOldFileAreNotTakenOver) {
    Write(m_file, "old");
    std::filesystem::permissions(m_file, std::filesystem::perms(06755));
    Replace(m_file, "new", OLD::DISCARD);
    EXPECT_EQ(Mode(m_file), 0755u);
}

TEST_F(FileSave, FileSystemWithoutPermissionBitsIsWrittenToAllTheSame) {
    g_system.modeError = EPERM;
    Write(m_file, "old");
    std::filesystem::permissions(m_file, std::filesystem::perms(0644));
    EXPECT_TRUE(Replace(m_file, "new", OLD::DISCARD));
    EXPECT_EQ(FileContent(m_file), "new");
    EXPECT_THAT(Names(m_scratch), ElementsAre("t.xml"));
}

TEST_F(FileSave, SymbolicLinkIsReplacedAndWhatItNamedStays) {
    Write(m_scratch.Path("elsewhere"), "old");
    std::filesystem::permissions(m_scratch.Path("elsewhere"), std::filesystem::perms(0644));
    std::filesystem::create_symlink(m_scratch.Path("elsewhere"), m_file);
    EXPECT_TRUE(Replace(m_file, "new", OLD::DISCARD));
    EXPECT_FALSE(std::filesystem::is_symlink(m_file));
    EXPECT_EQ(FileContent(m_file), "new");
    EXPECT_EQ(Mode(m_file), 0644u);
    EXPECT_EQ(FileContent(m_scratch.Path("elsewhere")), "old");
}

TEST_F(FileSave, InterruptedAndShortWritesAreContinued) {
    g_system.interrupts = true;
    g_system.longestWrite = 3;
    EXPECT_TRUE(Replace(m_file, "the whole text", OLD::DISCARD));
    EXPECT_EQ(FileContent(m_file), "the whole text");
}

TEST_F(FileSave, ThreadThatIsBeingCancelledFinishesWhatItDoes) {
    Write(m_file, "old");
    EXPECT_TRUE(IsCancelledBehind([&] { FILE_READER{m_file}; }));
    EXPECT_TRUE(IsCancelledBehind([&] { REPLACEMENT(m_file).Take("never finished"); }));
    EXPECT_EQ(FileContent(m_file), "old");
    EXPECT_TRUE(IsCancelledBehind([&] { Replace(m_file, "new", OLD::DISCARD); }));
    EXPECT_EQ(FileContent(m_file), "new");
    EXPECT_THAT(Names(m_scratch), ElementsAre("t.xml"));
}

TEST_F(FileSave, WhatIsPrintedWhileTheStreamsAreClosedDoesNotLandInTheFile) {
    std::filesystem::permissions(m_scratch.Path(), std::filesystem::perms(0777));
    EXPECT_TRUE(Unprivileged([&] {
        for (int const stream : {0, 1, 2}) close(stream);
        REPLACEMENT file(m_file);
        file.Take("new");
        for (int const stream : {0, 1, 2}) {
            if (write(stream, "warning", 7) == 7) return false;
        }
        return file.Commit(OLD::DISCARD).Succeeded() && FileContent(m_file) == "new";
    }));
}

// Failures: the old file stays, and no incomplete file takes its name

TEST_F(FileSave, FailureOfTheDiskLeavesTheOldFileAndNoTemporaryFile) {
    struct CASE {
        char const* name;
        std::function<void()> fail;
    };
    for (CASE const& c :
         {CASE{"full at once", [] { g_system.roomLeft = 0; }}, CASE{"full half way", [] { g_system.roomLeft = 2; }},
          CASE{"cannot be flushed", [] { g_system.flushError = EIO; }},
          CASE{"cannot be closed", [] { g_system.closeError = EDQUOT; }}}) {
        SCOPED_TRACE(c.name);
        for (OLD const old : {OLD::DISCARD, OLD::KEEP}) {
            Write(m_file, "old");
            c.fail();
            EXPECT_FALSE(Replace(m_file, "new", old));
            g_system = SYSTEM{};
            EXPECT_EQ(FileContent(m_file), "old");
            EXPECT_THAT(Names(m_scratch), ElementsAre("t.xml"));
        }
    }
}

TEST_F(FileSave, NoPieceIsWrittenBehindOneThatFailed) {
    Write(m_file, "old");
    REPLACEMENT file(m_file);
    file.Take("first");
    g_system.roomLeft = 2;
    file.Take("second");
    g_system.roomLeft = -1;
    file.Take("third");
    file.Restart();
    file.Take("fourth");
    EXPECT_FALSE(file.Commit(OLD::DISCARD).Succeeded());
    EXPECT_EQ(FileContent(m_file), "old");
    EXPECT_THAT(Names(m_scratch), ElementsAre("t.xml"));
}

TEST_F(FileSave, FailureWithoutAnOldFileLeavesNothing) {
    g_system.roomLeft = 2;
    EXPECT_FALSE(Replace(m_file, "new", OLD::DISCARD));
    EXPECT_THAT(Names(m_scratch), IsEmpty());
}

// After a failed write, the temporary name may already lead to another process's half-written file.
TEST_F(FileSave, NothingIsRenamedAfterAFailedWrite) {
    g_system.roomLeft = 0;
    g_system.watching = true;
    Replace(m_file, "new", OLD::DISCARD);
    g_system.watching = false;
    EXPECT_THAT(g_system.calls, ElementsAre("lock", "write 600", "close", "unlink", "flush directory", "close"));
}

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

TEST_F(FileSave, MissingDirectoryIsNotMade) {
    EXPECT_FALSE(Replace(m_scratch.Path("missing/t.xml"), "new", OLD::DISCARD));
    EXPECT_FALSE(Replace("", "new", OLD::DISCARD) && Exists(""));
    EXPECT_THAT(Names(m_scratch), IsEmpty());
    std::filesystem::remove(".tmp");
}

TEST_F(FileSave, ReadOnlyDirectoryKeepsItsOldFile) {
    Write(m_file, "old");
    std::filesystem::permissions(m_file, std::filesystem::perms(0666));
    std::filesystem::permissions(m_scratch.Path(), std::filesystem::perms(0555));
    EXPECT_TRUE(Unprivileged([&] { return !Replace(m_file, "new", OLD::DISCARD); }));
    EXPECT_TRUE(Unprivileged([&] { return !Replace(m_file, "new", OLD::KEEP); }));
    EXPECT_TRUE(Unprivileged([&] { return !Deletes(m_file, OLD::DISCARD); }));
    EXPECT_TRUE(Unprivileged([&] { return !Deletes(m_file, OLD::KEEP); }));
    std::filesystem::permissions(m_scratch.Path(), std::filesystem::perms(0700));
    EXPECT_EQ(FileContent(m_file), "old");
    EXPECT_THAT(Names(m_scratch), ElementsAre("t.xml"));
}

TEST_F(FileSave, DirectoryAtTheFileNameStays) {
    std::filesystem::create_directory(m_file);
    for (OLD const old : {OLD::DISCARD, OLD::KEEP}) Replace(m_file, "new", old);
    EXPECT_TRUE(std::filesystem::is_directory(m_file));
    EXPECT_FALSE(Exists(m_unreadable));
}

TEST_F(FileSave, ProcessWithoutFreeDescriptorsLeavesTheFiles) {
    Write(m_file, "old");
    Write(m_temporary, "of another process");
    std::vector<int> all;
    for (int file = dup(0); file >= 0; file = dup(0)) all.push_back(file);
    bool const replaced = Replace(m_file, "new", OLD::DISCARD);
    EXPECT_THROW(FILE_READER{m_file}, std::bad_alloc) << "no reason to take the file for unreadable";
    for (int const file : all) close(file);
    EXPECT_FALSE(replaced);
    EXPECT_EQ(FileContent(m_file), "old");
    EXPECT_EQ(FileContent(m_temporary), "of another process");
}

// Other objects at the temporary name

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
            g_system.beforeLock = hisSave;
            return;
        }
        EXPECT_EQ(write(other, "his", 3), 3);
        EXPECT_EQ(rename(m_temporary.c_str(), m_file.c_str()), 0);
        std::filesystem::create_hard_link(m_file, m_scratch.Path("his"));
        close(other);
    };
    g_system.beforeLock = hisSave;
    EXPECT_TRUE(Replace(m_file, "mine", OLD::DISCARD));
    EXPECT_GE(g_locks, 6);
    EXPECT_EQ(FileContent(m_file), "mine");
    EXPECT_EQ(FileContent(m_scratch.Path("his")), "his");  // the file whose lock was awaited is unchanged
}

TEST_F(FileSave, FileThatWasRenamedAwayBeforeItCouldBeLockedIsNotWrittenTo) {
    Write(m_temporary, "his");
    g_system.beforeLock = [&] { std::filesystem::rename(m_temporary, m_scratch.Path("his")); };
    EXPECT_TRUE(Replace(m_file, "mine", OLD::DISCARD));
    EXPECT_EQ(FileContent(m_file), "mine");
    EXPECT_EQ(FileContent(m_scratch.Path("his")), "his");
}

TEST_F(FileSave, FileWhoseNameAnotherHasTakenBeforeItCouldBeLockedIsNotWrittenTo) {
    Write(m_temporary, "his");
    g_system.beforeLock = [&] {
        std::filesystem::rename(m_temporary, m_scratch.Path("his"));
        Write(m_temporary, "another's");
    };
    EXPECT_TRUE(Replace(m_file, "mine", OLD::DISCARD));
    EXPECT_EQ(FileContent(m_file), "mine");
    EXPECT_EQ(FileContent(m_scratch.Path("his")), "his");
}

TEST_F(FileSave, LockIsHeldUntilTheRename) {
    bool refused = false;
    g_system.beforeRename = [&] {
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

TEST_F(FileSave, FileSystemWithoutLocksIsWrittenToAtOnce) {
    Write(m_file, "old");
    g_system.lockError = ENOLCK;
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

// Deleting

TEST_F(FileDelete, RemovesTheFileForGood) {
    Write(m_file, "old");
    g_system.watching = true;
    EXPECT_TRUE(Deletes(m_file, OLD::DISCARD));
    g_system.watching = false;
    EXPECT_THAT(g_system.calls, ElementsAre("unlink", "flush directory"));
    EXPECT_THAT(Names(m_scratch), IsEmpty());
}

TEST_F(FileDelete, FileThatIsNotThereIsDeletedAlready) {
    EXPECT_TRUE(Deletes(m_file, OLD::DISCARD));
    EXPECT_TRUE(Deletes(m_file, OLD::KEEP));
}

TEST_F(FileDelete, DirectoryStays) {
    std::filesystem::create_directory(m_file);
    EXPECT_FALSE(Deletes(m_file, OLD::DISCARD));
    Deletes(m_file, OLD::KEEP);
    EXPECT_TRUE(std::filesystem::is_directory(m_file));
}
