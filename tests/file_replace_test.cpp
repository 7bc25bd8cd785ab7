// Replacing and deleting a ticket's file, in order and on a disk that fails. The system calls are replaced here, to
// record them and to make them fail.
#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <pthread.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <functional>
#include <new>
#include <string>
#include <utility>
#include <vector>

#include "Disk/FileReader.h"
#include "Disk/Replacement.h"
#include "support/Files.h"
#include "support/NextFunction.h"
#include "support/NoDescriptors.h"
#include "support/Replace.h"
#include "support/Unprivileged.h"

namespace {

using files::Exists;
using files::Mode;
using files::Names;
using files::Write;
using testing::ElementsAre;
using testing::IsEmpty;
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
    bool watching = false;
    std::vector<std::string> calls{};
    std::string flushedDirectory{};

    void Note(std::string call) {
        if (watching && (calls.empty() || calls.back() != call)) calls.push_back(std::move(call));
    }
};
SYSTEM g_system;

// Restores the usual behaviour at the end of a test.
struct USUAL_SYSTEM {
    ~USUAL_SYSTEM() { g_system = SYSTEM{}; }
};

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

}  // namespace

extern "C" {

ssize_t write(int file, void const* bytes, size_t size) {
    static auto const next = NextFunction<ssize_t (*)(int, void const*, size_t)>("write");
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
    static auto const next = NextFunction<int (*)(int)>("fsync");
    bool const directory = IsDirectory(file);
    if (directory && g_system.watching)
        g_system.flushedDirectory = std::filesystem::read_symlink("/proc/self/fd/" + std::to_string(file));
    g_system.Note(directory ? "flush directory" : "flush");
    if (Interrupt()) return Fail(EINTR);
    return g_system.flushError && !directory ? Fail(g_system.flushError) : next(file);
}

int close(int file) {
    static auto const next = NextFunction<int (*)(int)>("close");
    bool const regular = !IsDirectory(file);
    if (regular) g_system.Note("close");
    int const result = next(file);
    return g_system.closeError && regular ? Fail(g_system.closeError) : result;
}

int fchmod(int file, mode_t mode) noexcept {
    static auto const next = NextFunction<int (*)(int, mode_t)>("fchmod");
    return g_system.modeError ? Fail(g_system.modeError) : next(file, mode);
}

int flock(int file, int operation) noexcept {
    static auto const next = NextFunction<int (*)(int, int)>("flock");
    g_system.Note("lock");
    return next(file, operation);
}

int ftruncate(int file, off_t size) noexcept {
    static auto const next = NextFunction<int (*)(int, off_t)>("ftruncate");
    g_system.Note("truncate");
    return next(file, size);
}

int rename(char const* from, char const* to) noexcept {
    static auto const next = NextFunction<int (*)(char const*, char const*)>("rename");
    g_system.Note("rename");
    return next(from, to);
}

int unlink(char const* name) noexcept {
    static auto const next = NextFunction<int (*)(char const*)>("unlink");
    g_system.Note("unlink");
    return next(name);
}

}  // extern "C"

namespace {

class FileSave : public testing::Test {
 protected:
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

TEST_F(FileSave, AnotherFileThatTookTheTemporaryNameIsNotRenamedAndStays) {
    Write(m_file, "old");
    REPLACEMENT file(m_file);
    file.Take("new");
    std::filesystem::remove(m_temporary);
    Write(m_temporary, "planted");
    auto const outcome = file.Commit(OLD::DISCARD);
    EXPECT_EQ(outcome.failed, TICKETFILE::SAVE_STEP::RENAME);
    EXPECT_EQ(outcome.error, ESTALE);
    EXPECT_EQ(FileContent(m_file), "old");
    EXPECT_EQ(FileContent(m_temporary), "planted");
}

TEST_F(FileSave, PipeThatTookTheFileNameMeanwhileStays) {
    REPLACEMENT file(m_file);
    file.Take("new");
    ASSERT_EQ(mkfifo(m_file.c_str(), 0600), 0);
    EXPECT_FALSE(file.Commit(OLD::DISCARD).Succeeded());
    EXPECT_TRUE(std::filesystem::is_fifo(m_file));
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
    {
        NO_DESCRIPTORS const none;
        EXPECT_FALSE(Replace(m_file, "new", OLD::DISCARD));
        EXPECT_THROW(FILE_READER{m_file}, std::bad_alloc) << "no reason to take the file for unreadable";
    }
    EXPECT_EQ(FileContent(m_file), "old");
    EXPECT_EQ(FileContent(m_temporary), "of another process");
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
