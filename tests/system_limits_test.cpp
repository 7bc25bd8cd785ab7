// File tickets at the limits of the process and on a full file system. Whatever fails, the file is the complete old or
// the complete new one, no descriptor leaks, the ticket stays usable, and the next save works.
#include <gtest/gtest.h>
#include <sched.h>
#include <sys/mount.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <string>
#include <vector>

#include "support/FaultyFile.h"

namespace {

using namespace tickets;

// Limits of the process

class LIMIT {
 public:
    LIMIT(int which, rlim_t value) : m_which(which) {
        getrlimit(Which(), &m_before);
        rlimit const limit{value, m_before.rlim_max};
        setrlimit(Which(), &limit);
    }
    ~LIMIT() { setrlimit(Which(), &m_before); }
    LIMIT(LIMIT const&) = delete;
    LIMIT& operator=(LIMIT const&) = delete;

 private:
    __rlimit_resource Which() const { return static_cast<__rlimit_resource>(m_which); }

    int m_which;
    rlimit m_before{};
};

using Limit = FaultyFile;

TEST_F(Limit, OfTheSizeOfFilesLeavesTheOldFileWhereItIsTooLow) {
    auto const handler = std::signal(SIGXFSZ, SIG_IGN);
    OWNER const ticket(m_file.c_str());
    Set(ticket, "a", 1);
    Operate(ticket, STICKET_OP_SAVE);
    auto const size = static_cast<rlim_t>(Text(2).size());
    for (rlim_t limit = 0; limit <= size; ++limit) {
        files::Write(m_file, Text(1));
        Set(ticket, "a", 2);
        {
            LIMIT const low(RLIMIT_FSIZE, limit);
            EXPECT_EQ(Operate(ticket, STICKET_OP_SAVE), 1);
        }
        EXPECT_EQ(Content(m_file), Text(limit < size ? 1 : 2)) << limit;
        EXPECT_FALSE(files::Exists(m_temporary));
        EXPECT_EQ(GetInt(ticket, "a"), 2);
    }
    std::signal(SIGXFSZ, handler);
}

// The library leaves SIGXFSZ to the host: by default it ends a process that writes beyond the limit.
TEST_F(Limit, OfTheSizeOfFilesEndsAHostThatDidNotAskOtherwiseAndLeavesTheOldFile) {
    files::Write(m_file, Text(1));
    pid_t const child = fork();
    if (child == 0) {
        std::signal(SIGXFSZ, SIG_DFL);
        LIMIT const low(RLIMIT_FSIZE, 20);
        LIMIT const none(RLIMIT_CORE, 0);
        OWNER const ticket(m_file.c_str());
        Set(ticket, "a", 2);
        Operate(ticket, STICKET_OP_SAVE);
        _exit(0);
    }
    int status = 0;
    waitpid(child, &status, 0);
    EXPECT_TRUE(WIFSIGNALED(status) && WTERMSIG(status) == SIGXFSZ);
    EXPECT_EQ(Content(m_file), Text(1));
    OWNER const ticket(m_file.c_str());
    Set(ticket, "a", 3);
    Operate(ticket, STICKET_OP_SAVE);
    EXPECT_EQ(Content(m_file), Text(3));
    EXPECT_FALSE(files::Exists(m_temporary));
}

TEST_F(Limit, OfDescriptorsLeavesTheOldFileWhereItIsTooLow) {
    int saved = 0;
    int refused = 0;
    for (rlim_t spare = 0; spare < 6; ++spare) {
        files::Write(m_file, Text(1));
        OWNER const ticket(m_file.c_str());
        int const before = OpenDescriptors();
        int const next = dup(0);
        close(next);
        bool isLoaded = false;
        {
            LIMIT const low(RLIMIT_NOFILE, static_cast<rlim_t>(next) + spare);
            isLoaded = Set(ticket, "a", 2) == 1;
            EXPECT_EQ(Operate(ticket, STICKET_OP_SAVE), 1);
        }
        EXPECT_EQ(OpenDescriptors(), before);
        std::string const found = Content(m_file);
        EXPECT_TRUE(found == Text(1) || found == Text(2)) << found;
        (found == Text(2) ? saved : refused) += 1;
        EXPECT_EQ(isLoaded, spare > 0);
        EXPECT_TRUE(isLoaded || found == Text(1));
        EXPECT_EQ(GetInt(ticket, "a"), isLoaded ? 2 : 1);
        Set(ticket, "a", 3);
        Operate(ticket, STICKET_OP_SAVE);
        EXPECT_EQ(Content(m_file), Text(3));
    }
    EXPECT_GT(saved, 0);
    EXPECT_GT(refused, 0);
}

// The library never opens a file under the number of a standard stream, even if no other number is free.
TEST_F(Limit, OfDescriptorsLeavesNothingBesideWhereOnlyThoseOfTheStreamsAreFree) {
    for (int spare = 0; spare < 5; ++spare) {
        for (int streams = 0; streams <= 3; ++streams) {
            SCOPED_TRACE(std::to_string(spare) + " free, and of the streams " + std::to_string(streams));
            Empty();
            pid_t const child = fork();
            if (child == 0) {
                OWNER const ticket(m_file.c_str());
                Set(ticket, "a", 1);
                LIMIT const low(RLIMIT_NOFILE, 50);
                std::vector<int> all;
                for (int file = dup(0); file >= 0; file = dup(0)) all.push_back(file);
                for (int i = 0; i < spare; ++i) close(all[all.size() - 1 - static_cast<std::size_t>(i)]);
                for (int stream = 0; stream < streams; ++stream) close(stream);
                _exit(Operate(ticket, STICKET_OP_SAVE) == 1 ? 0 : 1);
            }
            int status = -1;
            waitpid(child, &status, 0);
            EXPECT_EQ(status, 0);
            EXPECT_EQ(Content(m_file), files::Exists(m_file) ? Text(1) : "");
            EXPECT_EQ(files::Names(m_scratch).size(), files::Exists(m_file) ? 1u : 0u);
        }
    }
}

// A full file system

class FullDisk : public FaultyFile {
 protected:
    static constexpr int NOT_ALLOWED = 77;
    static constexpr std::size_t PAGE = 4096;
    static constexpr std::size_t PAGES = 16;

    static std::string Big(int value) { return std::string(3 * PAGE, static_cast<char>('a' + value)); }

    static bool SaveBig(STICKET_ACCESS const* ticket, int value) {
        return Set(ticket, "a", Big(value).c_str()) && Operate(ticket, STICKET_OP_SAVE) &&
               GetText(ticket, "a") == Big(value);
    }

    // Fills the disk except for `spare` pages, saves, frees space and saves again. Returns the number of the step that
    // failed.
    static int Fill(std::string const& directory, std::size_t spare, int& saved) {
        std::string const file = directory + "/t.xml";
        std::string const filler = directory + "/filler";
        OWNER const ticket(file.c_str());
        if (!SaveBig(ticket, 1)) return 1;
        std::string const old = Content(file);
        files::Write(filler, std::string((PAGES - old.size() / PAGE - 2 - spare) * PAGE, 'x'));
        if (!SaveBig(ticket, 2)) return 2;
        std::string const found = Content(file);
        if (found != old && found.find(Big(2)) == std::string::npos) return 3;
        saved += found != old;
        if (files::Exists(file + ".tmp")) return 4;
        std::filesystem::remove(filler);
        if (!SaveBig(ticket, 3)) return 5;
        return Content(file).find(Big(3)) == std::string::npos ? 6 : 0;
    }

    static int FillWithEachSpare(std::string const& directory) {
        bool const mounted = unshare(geteuid() == 0 ? CLONE_NEWNS : CLONE_NEWUSER | CLONE_NEWNS) == 0 &&
                             mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0 &&
                             mount("none", directory.c_str(), "tmpfs", 0, "size=64k") == 0;
        if (!mounted) return NOT_ALLOWED;
        int saved = 0;
        for (std::size_t spare = 0; spare <= 6; ++spare) {
            if (int const wrong = Fill(directory, spare, saved)) return wrong;
        }
        return saved > 0 && saved < 7 ? 0 : 7;
    }
};

TEST_F(FullDisk, LeavesTheOldFileAndTheNextSaveSucceedsOnceThereIsRoom) {
    pid_t const child = fork();
    if (child == 0) _exit(FillWithEachSpare(m_scratch.Path()));
    int status = 0;
    waitpid(child, &status, 0);
    if (WIFEXITED(status) && WEXITSTATUS(status) == NOT_ALLOWED)
        GTEST_SKIP() << "mounting a small file system is not allowed here; system_call_faults_test makes the write "
                        "call fail with ENOSPC";
    EXPECT_EQ(status, 0) << "step " << WEXITSTATUS(status);
}

}  // namespace
