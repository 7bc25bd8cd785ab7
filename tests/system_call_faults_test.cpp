// File tickets on a system that fails: each system call of a load and of a save with each plausible error, and
// obstacles at the names of files. Whatever fails, the file is the complete old or the complete new one, no descriptor
// leaks, the ticket stays usable, and the next save works.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/sysmacros.h>
#include <sys/un.h>

#include <climits>
#include <functional>
#include <map>
#include <set>
#include <string>
#include <vector>

#include "support/FailingSystemCalls.h"
#include "support/FaultyFile.h"
#include "support/Figures.h"
#include "support/Sanitizers.h"
#include "support/TracedProcess.h"

namespace {

using namespace tickets;
using system_calls::FAULT;
using TICKETFILE::SAVE_OUTCOME;
using TICKETFILE::SAVE_STEP;

// The plausible errors of each call.
std::map<std::string, std::vector<int>> const ERRORS = {
    {"open", {EINTR, EACCES, EPERM, EMFILE, ENFILE, ENOMEM, ENOSPC, EDQUOT, EROFS, EIO, ELOOP, EBUSY, ESTALE}},
    {"stat", {EACCES, ENOMEM, EIO, ELOOP, ESTALE}},
    {"lstat", {EACCES, ENOMEM, EIO, ESTALE}},
    {"statx", {EACCES, ENOMEM, EPERM, ENOSYS, EIO, ESTALE}},
    {"fstat", {EIO, ENOMEM, ESTALE}},
    {"read", {EINTR, EIO, ENOMEM, EISDIR, ESTALE}},
    {"pread", {EINTR, EIO, ENOMEM, EISDIR, ESTALE}},
    {"write", {EINTR, ENOSPC, EDQUOT, EFBIG, EIO, EPERM, ENOMEM, ESTALE}},
    {"fsync", {EINTR, EIO, ENOSPC, EDQUOT, EROFS, EINVAL}},
    {"close", {EINTR, EIO, ENOSPC, EDQUOT}},
    {"fchmod", {EPERM, EROFS, EIO, ENOMEM, EINTR}},
    {"ftruncate", {EINTR, EIO, EPERM, EROFS}},
    {"lseek", {EINVAL, EIO}},
    {"sync_file_range", {EINVAL, EIO, ENOSPC, ESPIPE}},
    {"flock", {EINTR, ENOLCK, EOPNOTSUPP, EIO}},
    {"fcntl", {EMFILE, EINVAL}},
    {"rename", {EACCES, EBUSY, EDQUOT, EIO, EISDIR, ENOMEM, ENOSPC, EPERM, EROFS, EXDEV}},
    {"link", {EPERM, EMLINK, EOPNOTSUPP, EACCES, EDQUOT, EIO, ENOSPC, EROFS, EXDEV}},
    {"unlink", {EACCES, EBUSY, EIO, EPERM, EROFS}},
    {"mkostemp", {EEXIST, EACCES, EMFILE, ENOSPC, EROFS}},
    {"fchown", {EPERM, EROFS, EIO, EINTR}},
    {"getxattr", {EACCES, EIO, ENOMEM, ERANGE, EOPNOTSUPP}},
    {"listxattr", {EACCES, EIO, ENOMEM, ERANGE, EOPNOTSUPP}},
    {"fsetxattr", {EACCES, EDQUOT, ENOSPC, EIO, EOPNOTSUPP, EPERM}},
    {"fremovexattr", {EACCES, EIO, EPERM, EROFS}},
};

// The step that the outcome names if a call of that kind makes the save fail.
std::map<std::string, SAVE_STEP> const FAILED_STEPS = {
    {"open", SAVE_STEP::OPEN},     {"fcntl", SAVE_STEP::OPEN},   {"fstat", SAVE_STEP::OPEN},
    {"write", SAVE_STEP::WRITE},   {"fsync", SAVE_STEP::FLUSH},  {"close", SAVE_STEP::FLUSH},
    {"mkostemp", SAVE_STEP::OPEN}, {"lstat", SAVE_STEP::RENAME}, {"rename", SAVE_STEP::RENAME},
    {"unlink", SAVE_STEP::REMOVE},
};

SAVE_OUTCOME LastSave(STICKET_ACCESS const* ticket) {
    return static_cast<STICKET_FILE*>(ticket->pTicket)->LastSave();
}

LOAD_OUTCOME LastLoad(STICKET_ACCESS const* ticket) {
    return static_cast<STICKET_FILE*>(ticket->pTicket)->LastLoad();
}

// Expects an outcome that matches the result: done, or failed at the step and with the error of `fault`.
void ExpectOutcome(SAVE_OUTCOME const& outcome, bool isDone, FAULT const& fault, std::string const& failing) {
    EXPECT_EQ(outcome.Succeeded(), isDone);
    EXPECT_EQ(outcome.error, isDone ? 0 : fault.error);
    if (isDone || fault.scope == FAULT::EVERYTHING) return;
    ASSERT_TRUE(FAILED_STEPS.count(failing)) << failing;
    EXPECT_EQ(outcome.failed, FAILED_STEPS.at(failing)) << failing;
}

constexpr int INTERRUPTIONS = 50;  // the number of calls that a signal interrupts, one after the other

// The text of `Text`, so long that it is read in three parts; the value is in the first part.
std::string LongText(int value) {
    std::string text = Text(value);
    std::string filler;
    while (filler.size() < 150000) filler += "\t<filler/>\n";
    return text.insert(text.rfind("</ticket>"), filler);
}

char const KEPT[] = ".unreadable";  // appended to the name of an unreadable file
char const BROKEN[] = "<ticket><a type=\"int\">1</ticket>";

// The state of the file before the test.
struct FOUND {
    char const* name;
    std::string content;  // "": there is none
    std::function<void(std::string const& file)> make;

    friend std::ostream& operator<<(std::ostream& stream, FOUND const& found) { return stream << found.name; }
};

class FailingCall : public FaultyFile, public testing::WithParamInterface<FOUND> {
 protected:
    void MakeFile() {
        Empty();
        if (!GetParam().content.empty()) files::Write(m_file, GetParam().content);
        if (GetParam().make) GetParam().make(m_file);
    }

    // Runs `test` with every fault of every call that `calls` names.
    template <typename TEST>
    void WithEachFault(std::vector<std::string> const& calls, TEST const& test) {
        for (std::size_t i = 0; i < calls.size() && !HasFailure(); ++i) {
            ASSERT_TRUE(ERRORS.count(calls[i])) << calls[i];
            for (int const error : ERRORS.at(calls[i])) {
                SCOPED_TRACE("call " + std::to_string(i) + ", " + calls[i] + ": " + std::strerror(error));
                int const at = static_cast<int>(i);
                test(FAULT{at, error, 1, FAULT::THAT_KIND, SIZE_MAX});
                test(FAULT{at, error, error == EINTR ? INTERRUPTIONS : INT_MAX, FAULT::THAT_KIND, SIZE_MAX});
                if (error != EINTR) test(FAULT{at, error, INT_MAX, FAULT::EVERYTHING, SIZE_MAX});
            }
        }
    }

    // Saves without faults and without waiting for the disk.
    static int SaveQuickly(STICKET_ACCESS const* ticket) {
        int result = 0;
        system_calls::With({}, [&] { result = Operate(ticket, STICKET_OP_SAVE); });
        return result;
    }

    // Expects only files that a save may leave: the file itself and the kept unreadable one.
    void ExpectNothingLeft(system_calls::STATE const& fault) {
        bool const couldRemove = fault.fault.scope != FAULT::EVERYTHING && fault.failing != "unlink";
        for (std::string const& found : files::Names(m_scratch)) {
            bool const isOurs = std::filesystem::hard_link_count(m_scratch.Path(found)) == 1;
            bool const isPrivate =
                found.find(".tmp.") != std::string::npos || found.find(".unreadable.") != std::string::npos;
            EXPECT_FALSE(found == "t.xml.tmp" && isOurs);
            EXPECT_FALSE(isPrivate && isOurs && couldRemove) << found;
        }
    }

    int m_faults = 0;
    int m_failures = 0;
};

// Loading

TEST_P(FailingCall, OfALoadCostsNoValue) {
    MakeFile();
    auto const load = [](STICKET_ACCESS const* ticket) { return [ticket] { Count(ticket); }; };
    LINES whole;
    std::vector<std::string> calls;
    LOAD_STATE undisturbed;
    {
        OWNER const ticket(m_file.c_str());
        EXPECT_EQ(LastLoad(ticket).state, LOAD_STATE::NOT_YET);
        calls = system_calls::With({}, load(ticket)).calls;
        undisturbed = LastLoad(ticket).state;
        EXPECT_EQ(LastLoad(ticket).error, GetParam().content.empty() ? ENOENT : 0);
        whole = Contents(ticket);
    }
    EXPECT_THAT(calls, testing::Contains("stat"));
    EXPECT_EQ(undisturbed, GetParam().content.empty()     ? LOAD_STATE::NO_FILE
                           : GetParam().content == BROKEN ? LOAD_STATE::NO_DOCUMENT
                                                          : LOAD_STATE::LOADED);
    WithEachFault(calls, [&](FAULT const& fault) {
        for (bool const saves : {false, true}) {
            MakeFile();
            OWNER const ticket(m_file.c_str());
            int const before = OpenDescriptors();
            m_failures += system_calls::With(fault, load(ticket)).failures;
            ++m_faults;
            EXPECT_EQ(OpenDescriptors(), before);
            LOAD_OUTCOME const outcome = LastLoad(ticket);
            bool const isUnreadable = outcome.state == LOAD_STATE::UNREADABLE;
            EXPECT_TRUE(outcome.state == undisturbed || outcome.state == LOAD_STATE::NOT_YET || isUnreadable);
            EXPECT_TRUE(!isUnreadable || outcome.error == fault.error);
            LINES const loaded = Contents(ticket);
            EXPECT_TRUE(loaded == whole || loaded.empty()) << testing::PrintToString(loaded);
            EXPECT_EQ(Content(m_file), GetParam().content);
            if (saves) {
                EXPECT_EQ(Set(ticket, "a", 2), 1);
                EXPECT_EQ(SaveQuickly(ticket), 1);
                EXPECT_EQ(Content(m_file), Text(2));
                EXPECT_TRUE(loaded == whole || IsKept(GetParam().content));
            }
            EXPECT_EQ(Operate(ticket, STICKET_OP_RELEASE), 1);
            EXPECT_EQ(Contents(ticket), saves ? LINES{"a 2 2"} : whole);
        }
    });
    Figure(std::string("faults of loads, ") + GetParam().name, m_faults);
    Figure(std::string("failed calls of loads, ") + GetParam().name, m_failures);
}

// Saving

TEST_P(FailingCall, OfASaveLeavesTheOldFileOrTheNewOne) {
    auto const save = [](STICKET_ACCESS const* ticket) { return [ticket] { Operate(ticket, STICKET_OP_SAVE); }; };
    std::vector<std::string> calls;
    {
        MakeFile();
        OWNER const ticket(m_file.c_str());
        Set(ticket, "a", 2);
        calls = system_calls::With({}, save(ticket)).calls;
        EXPECT_EQ(Content(m_file), Text(2));
    }
    std::string const old = GetParam().content;
    WithEachFault(calls, [&](FAULT const& fault) {
        MakeFile();
        OWNER const ticket(m_file.c_str());
        Set(ticket, "a", 2);
        int const before = OpenDescriptors();
        auto const happened = system_calls::With(fault, save(ticket));
        m_failures += happened.failures;
        ++m_faults;
        EXPECT_EQ(OpenDescriptors(), before);
        std::string const found = Content(m_file);
        EXPECT_TRUE(found == old || found == Text(2)) << found;
        EXPECT_TRUE(found == old || old != BROKEN || IsKept(old));
        ExpectOutcome(LastSave(ticket), found == Text(2), fault, happened.failing);
        EXPECT_EQ(Contents(ticket), LINES{"a 2 2"});

        EXPECT_EQ(Set(ticket, "a", 3), 1);
        EXPECT_EQ(SaveQuickly(ticket), 1);
        EXPECT_EQ(Content(m_file), Text(3));
        EXPECT_TRUE(old != BROKEN || IsKept(old));
        ExpectNothingLeft(happened);
    });
    Figure(std::string("faults of saves, ") + GetParam().name, m_faults);
    Figure(std::string("failed calls of saves, ") + GetParam().name, m_failures);
}

TEST_P(FailingCall, OfADeletionLeavesTheOldFileOrNone) {
    auto const save = [](STICKET_ACCESS const* ticket) { return [ticket] { Operate(ticket, STICKET_OP_SAVE); }; };
    auto const empty = [](STICKET_ACCESS const* ticket) {
        Count(ticket);
        Operate(ticket, STICKET_OP_CLEAR);
    };
    std::vector<std::string> calls;
    {
        MakeFile();
        OWNER const ticket(m_file.c_str());
        empty(ticket);
        calls = system_calls::With({}, save(ticket)).calls;
        EXPECT_FALSE(files::Exists(m_file));
    }
    std::string const old = GetParam().content;
    WithEachFault(calls, [&](FAULT const& fault) {
        MakeFile();
        OWNER const ticket(m_file.c_str());
        empty(ticket);
        int const before = OpenDescriptors();
        auto const happened = system_calls::With(fault, save(ticket));
        m_failures += happened.failures;
        ++m_faults;
        EXPECT_EQ(OpenDescriptors(), before);
        EXPECT_EQ(Content(m_file), files::Exists(m_file) ? old : "");
        SAVE_OUTCOME const outcome = LastSave(ticket);
        if (outcome.failed == SAVE_STEP::KEEP)
            EXPECT_EQ(outcome.error, fault.error);
        else if (!old.empty())
            ExpectOutcome(outcome, !files::Exists(m_file), fault, happened.failing);
        EXPECT_TRUE(files::Exists(m_file) || old != BROKEN || IsKept(old));
        empty(ticket);
        EXPECT_EQ(SaveQuickly(ticket), 1);
        EXPECT_FALSE(files::Exists(m_file));
        EXPECT_TRUE(old != BROKEN || IsKept(old));
    });
    Figure(std::string("faults of deletions, ") + GetParam().name, m_faults);
}

TEST_P(FailingCall, ThatMovesOnlyAPartIsContinued) {
    for (std::size_t const longest : {1u, 7u, 64u}) {
        MakeFile();
        OWNER const ticket(m_file.c_str());
        FAULT const fault{-1, 0, 0, FAULT::THAT_KIND, longest};
        auto const happened = system_calls::With(fault, [&] {
            Set(ticket, "a", 2);
            Operate(ticket, STICKET_OP_SAVE);
        });
        EXPECT_EQ(Content(m_file), Text(2));
        EXPECT_GE(std::count(happened.calls.begin(), happened.calls.end(), "write"),
                  static_cast<long>((Text(2).size() + longest - 1) / longest));
        system_calls::With(fault, [&] {
            Operate(ticket, STICKET_OP_RELEASE);
            EXPECT_EQ(Contents(ticket), LINES{"a 2 2"});
        });
    }
}

// The tests above can make every system call fail that a load or save makes, except those that allocate memory.
TEST_P(FailingCall, IsReplacedHereWhicheverItIs) {
    if (!TRACED_PROCESS::IsPossible()) GTEST_SKIP() << "this system lets no process be traced";
    MakeFile();
    STICKET_ACCESS const* ticket = nullptr;
    TRACED_PROCESS process([&] { ticket = STICKET::Create(m_file.c_str()); },
                           [&] {
                               Set(ticket, "a", 2);
                               Operate(ticket, STICKET_OP_SAVE);
                           });
    std::set<long> const replaced = {
#ifdef SYS_open
        SYS_open,      SYS_stat,         SYS_lstat,
        SYS_rename,    SYS_link,         SYS_unlink,
#endif
        SYS_openat,    SYS_lseek,        SYS_sync_file_range,
        SYS_read,      SYS_write,        SYS_fstat,
        SYS_pread64,   SYS_newfstatat,   SYS_fsync,
        SYS_close,     SYS_fchmod,       SYS_ftruncate,
        SYS_flock,     SYS_fcntl,        SYS_linkat,
        SYS_unlinkat,  SYS_renameat2,    SYS_getrandom,  // by mkostemp
        SYS_mmap,      SYS_munmap,       SYS_brk,
        SYS_madvise,   SYS_mprotect,  // memory
        SYS_fchown,    SYS_getxattr,     SYS_listxattr,
        SYS_fsetxattr, SYS_fremovexattr, SYS_statx,
        SYS_geteuid,  // which cannot fail
    };
    std::set<long> others;
    int calls = 0;
    for (; process.Step(); calls += process.IsAfter()) {
        if (!replaced.count(process.Call().number)) others.insert(process.Call().number);
    }
    EXPECT_GT(calls, 10);
    EXPECT_TRUE(SANITIZED || others.empty())
        << testing::PrintToString(others);  // sanitizers make system calls of their own
    Figure(std::string("system calls of a load and a save, ") + GetParam().name, calls);
}

INSTANTIATE_TEST_SUITE_P(
    Files, FailingCall,
    testing::Values(FOUND{"NoFile", "", {}}, FOUND{"File", Text(1), {}}, FOUND{"LongFile", LongText(1), {}},
                    FOUND{"StaleTemporary", Text(1),
                          [](auto& file) { files::Write(file + ".tmp", std::string(10000, 'x')); }},
                    FOUND{"TemporaryOfTwoNames", Text(1),
                          [](auto& file) {
                              files::Write(file + ".tmp", "precious");
                              std::filesystem::create_hard_link(file + ".tmp", file + ".precious");
                          }},
                    FOUND{"UnreadableFile", BROKEN, {}},
                    FOUND{"KeptFile", BROKEN, [](auto& file) { files::Write(file + KEPT, "kept earlier"); }}),
    [](auto const& test) { return std::string(test.param.name); });

// Obstacles at the name of the file, of the temporary file, or of the kept unreadable file

struct OBSTACLE {
    char const* name;
    std::function<bool(std::string const& path)> make;

    friend std::ostream& operator<<(std::ostream& stream, OBSTACLE const& obstacle) { return stream << obstacle.name; }
};

bool MakeSocket(std::string const& path) {
    int const file = socket(AF_UNIX, SOCK_STREAM, 0);
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    if (path.size() >= sizeof address.sun_path) return false;
    path.copy(address.sun_path, path.size());
    bool const made = bind(file, reinterpret_cast<sockaddr*>(&address), sizeof address) == 0;
    close(file);
    return made;
}

bool Link(char const* target, std::string const& path) {
    return symlink(target, path.c_str()) == 0;
}

OBSTACLE const OBSTACLES[] = {
    {"Directory", [](auto& path) { return mkdir(path.c_str(), 0700) == 0; }},
    {"FullDirectory",
     [](auto& path) { return mkdir(path.c_str(), 0700) == 0 && mkdir((path + "/below").c_str(), 0700) == 0; }},
    {"Device", [](auto& path) { return mknod(path.c_str(), S_IFCHR | 0600, makedev(1, 3)) == 0; }},
    {"Pipe", [](auto& path) { return mkfifo(path.c_str(), 0600) == 0; }},
    {"Socket", [](auto& path) { return MakeSocket(path); }},
    {"SymbolicLink", [](auto& path) { return Link("precious", path); }},
    {"DanglingSymbolicLink", [](auto& path) { return Link("nowhere", path); }},
    {"SymbolicLinkToItself", [](auto& path) { return Link(path.c_str(), path); }},
    {"LinkToTheFullDevice", [](auto& path) { return Link("/dev/full", path); }},
    {"LinkToTheEndlessDevice", [](auto& path) { return Link("/dev/zero", path); }},
    {"ReadOnlyFile",
     [](auto& path) {
         files::Write(path, Text(1));
         return chmod(path.c_str(), 0400) == 0;
     }},
};

class InTheWay : public FaultyFile, public testing::WithParamInterface<OBSTACLE> {
 protected:
    void SetUp() override {
        files::Write(m_scratch.Path("precious"), Text(1));
        if (!GetParam().make(m_scratch.Path("example"))) GTEST_SKIP() << "only root makes devices";
        m_kind = std::filesystem::symlink_status(m_scratch.Path("example")).type();
    }

    bool IsDirectory() const { return m_kind == std::filesystem::file_type::directory; }

    // Whether a save replaces the obstacle: it replaces only files and links.
    bool IsReplaced() const {
        return m_kind == std::filesystem::file_type::regular || m_kind == std::filesystem::file_type::symlink;
    }

    void ExpectRefusal(STICKET_ACCESS const* ticket, SAVE_STEP step) {
        EXPECT_EQ(std::filesystem::symlink_status(m_file).type(), m_kind);
        EXPECT_EQ(LastSave(ticket).failed, step);
        EXPECT_EQ(LastSave(ticket).error, IsDirectory() ? EISDIR : EOPNOTSUPP);
    }

    // Expects everything that does not belong to the ticket unchanged.
    void ExpectTheRestToBeThere() {
        EXPECT_EQ(Content(m_scratch.Path("precious")), Text(1));
        EXPECT_EQ(std::filesystem::symlink_status(m_scratch.Path("example")).type(), m_kind);
        EXPECT_FALSE(files::Exists(m_scratch.Path("nowhere")));
        EXPECT_TRUE(std::filesystem::is_character_file("/dev/full"));
        EXPECT_TRUE(std::filesystem::is_character_file("/dev/zero"));
    }

    void ExpectSave(STICKET_ACCESS const* ticket, int value) {
        EXPECT_EQ(Set(ticket, "a", value), 1);
        EXPECT_EQ(Operate(ticket, STICKET_OP_SAVE), 1);
        EXPECT_EQ(GetInt(ticket, "a"), value);
    }

    void ExpectNextSaveToWork(STICKET_ACCESS const* ticket) {
        ExpectSave(ticket, 3);
        EXPECT_EQ(Content(m_file), Text(3));
        EXPECT_FALSE(std::filesystem::is_symlink(m_file));
    }

    std::filesystem::file_type m_kind;
    int const m_descriptors = OpenDescriptors();
};

TEST_P(InTheWay, OfTheFileHoldsNothingUp) {
    ASSERT_TRUE(GetParam().make(m_file));
    {
        OWNER const ticket(m_file.c_str());
        Count(ticket);
        ExpectSave(ticket, 2);
        EXPECT_EQ(Content(m_file), IsReplaced() ? Text(2) : "");
        if (!IsReplaced()) ExpectRefusal(ticket, SAVE_STEP::RENAME);
        ExpectTheRestToBeThere();
        std::filesystem::remove_all(m_file);
        ExpectNextSaveToWork(ticket);
    }
    EXPECT_EQ(OpenDescriptors(), m_descriptors);
}

TEST_P(InTheWay, OfADeletionHoldsNothingUp) {
    ASSERT_TRUE(GetParam().make(m_file));
    OWNER const ticket(m_file.c_str());
    Count(ticket);
    EXPECT_EQ(Operate(ticket, STICKET_OP_CLEAR), 1);
    EXPECT_EQ(Operate(ticket, STICKET_OP_SAVE), 1);
    EXPECT_EQ(files::Exists(m_file), !IsReplaced());
    if (!IsReplaced()) ExpectRefusal(ticket, SAVE_STEP::REMOVE);
    ExpectTheRestToBeThere();
    EXPECT_EQ(OpenDescriptors(), m_descriptors);
}

TEST_P(InTheWay, OfTheTemporaryFileHoldsNothingUp) {
    for (std::string const& old : {std::string(), Text(1), std::string(BROKEN)}) {
        std::filesystem::remove_all(m_temporary);
        std::filesystem::remove(m_file);
        if (!old.empty()) files::Write(m_file, old);
        ASSERT_TRUE(GetParam().make(m_temporary));
        OWNER const ticket(m_file.c_str());
        ExpectSave(ticket, 2);
        std::string const found = Content(m_file);
        EXPECT_TRUE(found == old || found == Text(2)) << found;
        ExpectTheRestToBeThere();
        std::filesystem::remove_all(m_temporary);
        ExpectNextSaveToWork(ticket);
        EXPECT_TRUE(old != BROKEN || IsKept(old));
    }
    EXPECT_EQ(OpenDescriptors(), m_descriptors);
}

TEST_P(InTheWay, OfWhatIsKeptHoldsNothingUp) {
    files::Write(m_file, BROKEN);
    ASSERT_TRUE(GetParam().make(m_file + KEPT));
    OWNER const ticket(m_file.c_str());
    ExpectSave(ticket, 2);
    EXPECT_EQ(Content(m_file), Text(2));
    EXPECT_EQ(IsKept(BROKEN), !IsDirectory());
    ExpectTheRestToBeThere();
    ExpectNextSaveToWork(ticket);
    EXPECT_EQ(OpenDescriptors(), m_descriptors);
}

INSTANTIATE_TEST_SUITE_P(Obstacles, InTheWay, testing::ValuesIn(OBSTACLES),
                         [](auto const& test) { return std::string(test.param.name); });

}  // namespace
