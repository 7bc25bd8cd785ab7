// Interrupted saves: the process is killed before and after each system call of a save and at random moments, and the
// power fails. In every case the file is the complete old one or the complete new one.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <csignal>
#include <cstdlib>
#include <ctime>
#include <functional>
#include <map>
#include <ostream>
#include <random>
#include <string>
#include <vector>

#include "support/DiskModel.h"
#include "support/Figures.h"
#include "support/FileEvents.h"
#include "support/FileTickets.h"
#include "support/Files.h"
#include "support/Processes.h"
#include "support/Sanitizers.h"
#include "support/TracedProcess.h"

namespace {

using namespace tickets;
using CONTENT = DISK_MODEL::CONTENT;

constexpr int VALUES = 200;
constexpr int RANDOM_KILLS = SANITIZED ? 100 : 1000;

int RandomKills() {
    char const* const wanted = std::getenv("CONFIGURATIONCONTROL_KILLS");
    return wanted ? std::max(RANDOM_KILLS, std::atoi(wanted)) : RANDOM_KILLS;
}

CONTENT ContentOf(std::string const& path) {
    if (!std::filesystem::is_regular_file(path)) return {};
    return FileContent(path);
}

void SetAll(STICKET_ACCESS const* ticket, int value) {
    for (int i = 0; i < VALUES; ++i) Set(ticket, ("values/v" + std::to_string(i)).c_str(), value);
}

// The state of the file that the saving process finds.
struct STATE {
    char const* name;
    std::function<void(std::string const& file)> make;
    bool empties = false;  // the save deletes the file

    friend std::ostream& operator<<(std::ostream& stream, STATE const& state) { return stream << state.name; }
};

class CutOffSave : public testing::TestWithParam<STATE> {
 protected:
    CutOffSave() {
        std::string const whole = m_scratch.Path("whole");
        {
            OWNER const ticket(whole.c_str());
            SetAll(ticket, 1);
        }
        m_whole = FileContent(whole);
        std::filesystem::remove(whole);
        if (!GetParam().empties) m_new = Changed(m_whole);
    }

    void SetUp() override {
        if (!TRACED_PROCESS::IsPossible()) GTEST_SKIP() << "this system lets no process be traced";
    }

    static std::string Changed(std::string text) {
        for (std::size_t at = 0; (at = text.find(">1<", at)) != std::string::npos; ++at) text[at + 1] = '2';
        return text;
    }

    // Makes the directory hold only what the state says.
    void MakeState() {
        for (std::string const& name : files::Names(m_scratch)) std::filesystem::remove_all(m_scratch.Path(name));
        m_precious = m_whole;
        files::Write(m_scratch.Path("precious"), m_precious);
        GetParam().make(m_file);
        m_old = ContentOf(m_file);
        m_before = files::Names(m_scratch);
    }

    // Prepare and Save run in the process that will be killed.
    void Prepare() {
        m_ticket = STICKET::Create(m_file.c_str());
        Count(m_ticket);
        SetAll(m_ticket, 2);
        if (GetParam().empties) Operate(m_ticket, STICKET_OP_CLEAR);
    }
    void Save() { Operate(m_ticket, STICKET_OP_SAVE); }

    // Expects the old or the new file, every other file unchanged, and a next save that works.
    void Check() {
        CONTENT const found = ContentOf(m_file);
        EXPECT_TRUE(found == m_old || found == m_new) << "neither old nor new: " << found.value_or("(no file)");
        m_olds += found == m_old;
        m_news += found == m_new;
        EXPECT_EQ(FileContent(m_scratch.Path("precious")), m_precious);
        if (!IsReadable()) {
            EXPECT_TRUE(IsKept());
        }

        SaveAgain();
        EXPECT_EQ(ContentOf(m_file), Changed(m_whole));
        std::string const temporary = "t.xml.tmp.";
        for (std::string const& name : files::Names(m_scratch)) {
            bool const isLeft = name.compare(0, temporary.size(), temporary) == 0;  // left by the killed process
            EXPECT_TRUE(m_before.count(name) || name == "t.xml" || isLeft || !IsReadable()) << name;
        }
        std::string const left = m_file + ".tmp";
        bool const isOurs = files::Exists(left) && std::filesystem::hard_link_count(left) == 1;
        EXPECT_FALSE(isOurs);
    }

    bool IsReadable() const { return !m_old || *m_old == m_whole; }

    // Whether the unreadable file still exists under either name.
    bool IsKept() const {
        auto const names = files::Names(m_scratch);
        return std::any_of(names.begin(), names.end(),
                           [&](std::string const& name) { return ContentOf(m_scratch.Path(name)) == m_old; });
    }

    void SaveAgain() {
        OWNER const ticket(m_file.c_str());
        SetAll(ticket, 2);
        Operate(ticket, STICKET_OP_SAVE);
    }

    SCRATCH_DIRECTORY m_scratch;
    std::string const m_file = m_scratch.Path("t.xml");
    std::string m_whole;  // the usual old content
    std::string m_precious;
    CONTENT m_old;
    CONTENT m_new;
    std::set<std::string> m_before;
    STICKET_ACCESS const* m_ticket = nullptr;
    int m_olds = 0;
    int m_news = 0;
};

TEST_P(CutOffSave, LeavesTheOldFileOrTheNewOneWhereverTheProcessIsKilled) {
    int points = 0;
    for (bool done = false; !done; ++points) {
        SCOPED_TRACE("killed at point " + std::to_string(points));
        MakeState();
        {
            TRACED_PROCESS process([this] { Prepare(); }, [this] { Save(); });
            for (int i = 0; i <= points && !done; ++i) done = !process.Step();
        }
        Check();
    }
    EXPECT_GT(m_olds, 0);
    EXPECT_GT(m_news, 0);
    Figure(std::string(GetParam().name) + ": kill points", points);
    Figure(std::string(GetParam().name) + ": found neither old nor new", points - std::min(points, m_olds + m_news));
}

// A recorded save, for the model of the disk.
struct RECORD {
    std::map<std::string, std::string> before;  // files
    std::vector<FILE_EVENT> events;
};

// The indexes of the events after which a power failure may leave a file that is neither old nor new; -1: before all of
// them. The last event of a record is the end of the save; after it only the new file is right.
std::vector<int> Losses(RECORD const& record, std::string const& file, CONTENT const& old, CONTENT const& saved) {
    std::vector<int> losses;
    DISK_MODEL disk(record.before);
    int const last = static_cast<int>(record.events.size()) - 1;
    for (int i = -1; i <= last; ++i) {
        if (i >= 0) disk.Happen(record.events[static_cast<std::size_t>(i)]);
        for (CONTENT const& found : disk.AfterPowerLoss(file)) {
            if (found == saved || (found == old && i < last)) continue;
            losses.push_back(i);
            break;
        }
    }
    return losses;
}

class PowerLoss : public CutOffSave {
 protected:
    RECORD RecordSave() {
        MakeState();
        RECORD record;
        for (std::string const& name : files::Names(m_scratch)) {
            if (CONTENT const content = ContentOf(m_scratch.Path(name))) record.before[m_scratch.Path(name)] = *content;
        }
        FILE_EVENTS events;
        TRACED_PROCESS process([this] { Prepare(); }, [this] { Save(); });
        while (process.Step()) {
            if (!process.IsAfter()) continue;
            if (auto event = events.Of(process)) record.events.push_back(*event);
        }
        EXPECT_THAT(events.Unknown(), testing::IsEmpty()) << "numbers of calls of which this test knows nothing";
        EXPECT_EQ(ContentOf(m_file), m_new) << "the save was not disturbed";
        return record;
    }
};

TEST_P(PowerLoss, LeavesTheOldFileOrTheNewOneAndAfterTheSaveTheNewOne) {
    RECORD const record = RecordSave();
    EXPECT_THAT(Losses(record, m_file, m_old, m_new), testing::IsEmpty());
    Figure(std::string(GetParam().name) + ": moments of power loss", record.events.size() + 1);
}

// Shows that the test above can fail.
TEST_P(PowerLoss, WouldHarmWithoutAnyOneOfTheFlushes) {
    RECORD const record = RecordSave();
    std::size_t last = 0;  // the directory flush that makes the new name durable; earlier ones are for other names
    for (std::size_t i = 0; i < record.events.size(); ++i) {
        if (record.events[i].kind == FILE_EVENT::FLUSH_DIRECTORY) last = i;
    }
    int flushes = 0;
    for (std::size_t i = 0; i < record.events.size(); ++i) {
        if (record.events[i].kind != FILE_EVENT::FLUSH && i != last) continue;
        RECORD without = record;
        without.events.erase(without.events.begin() + static_cast<std::ptrdiff_t>(i));
        EXPECT_THAT(Losses(without, m_file, m_old, m_new), testing::Not(testing::IsEmpty())) << "event " << i;
        ++flushes;
    }
    EXPECT_GE(flushes, GetParam().empties ? 1 : 2);
}

TEST_P(PowerLoss, IsProvidedForByTheOrderOfWritingFlushingAndRenaming) {
    std::vector<std::string> order;
    for (FILE_EVENT const& event : RecordSave().events) {
        if (event.kind == FILE_EVENT::WRITE && (order.empty() || order.back() != "write")) order.push_back("write");
        if (event.kind == FILE_EVENT::FLUSH) order.push_back("flush");
        if (event.kind == FILE_EVENT::RENAME && event.target == m_file) order.push_back("rename");
        bool const isRenamed = GetParam().empties || (!order.empty() && order.back() == "rename");
        if (event.kind == FILE_EVENT::FLUSH_DIRECTORY && isRenamed) order.push_back("flush directory");
    }
    if (GetParam().empties)
        EXPECT_THAT(order, testing::ElementsAre("flush directory"));
    else
        EXPECT_THAT(order, testing::ElementsAre("write", "flush", "rename", "flush directory"));
}

class KilledSave : public CutOffSave {
 protected:
    // The duration in microseconds of an undisturbed save, in a child process like those that are killed.
    long Duration() {
        std::vector<long> durations(11);
        for (long& duration : durations) {
            MakeState();
            int ends[2];
            EXPECT_EQ(pipe(ends), 0);
            pid_t const child = Spawn([&] {
                Prepare();
                auto const begin = std::chrono::steady_clock::now();
                Save();
                std::chrono::duration<double, std::micro> const passed = std::chrono::steady_clock::now() - begin;
                long const microseconds = std::lround(passed.count());
                return write(ends[1], &microseconds, sizeof microseconds) == sizeof microseconds;
            });
            EXPECT_TRUE(Succeeded(child));
            EXPECT_EQ(read(ends[0], &duration, sizeof duration), static_cast<ssize_t>(sizeof duration));
            for (int const end : ends) close(end);
        }
        std::nth_element(durations.begin(), durations.begin() + 5, durations.end());
        return durations[5];
    }

    // Runs in a child process, which a timer of the system kills: on a busy machine this process would come too late.
    [[noreturn]] void SaveUntilKilled(long microseconds) {
        Prepare();
        sigevent kills{};
        kills.sigev_notify = SIGEV_SIGNAL;
        kills.sigev_signo = SIGKILL;
        long const nanoseconds = 1000 * std::max(microseconds, 1L);  // 0 would never kill
        itimerspec const once{{}, {nanoseconds / 1000000000, nanoseconds % 1000000000}};
        timer_t timer;
        if (timer_create(CLOCK_MONOTONIC, &kills, &timer) != 0) _exit(1);
        timer_settime(timer, 0, &once, nullptr);
        Save();
        for (;;) pause();
    }

    void KillAfter(long microseconds) {
        pid_t const child = fork();
        if (child == 0) SaveUntilKilled(microseconds);
        int status = 0;
        ASSERT_EQ(waitpid(child, &status, 0), child);
        ASSERT_TRUE(WIFSIGNALED(status) && WTERMSIG(status) == SIGKILL) << "ended with " << status;
    }
};

TEST_P(KilledSave, LeavesTheOldFileOrTheNewOneAtRandomMoments) {
    long const longest = 3 * Duration() / 2;  // all times are in microseconds
    std::mt19937 random(1);
    std::uniform_int_distribution<long> delays(0, longest);
    int const least = RandomKills();
    int kills = 0;
    long delay = longest;
    // If the machine has become slower since it was measured, the new file appears only with longer delays; if it has
    // become faster, the old one stays only with shorter ones.
    auto const goesOn = [&] {
        return kills < least || (m_news == 0 && delay < 1000 * longest) || (m_olds == 0 && delay > 0);
    };
    for (; goesOn() && !HasFailure(); ++kills) {
        if (kills < least)
            delay = delays(random);
        else
            delay = m_news == 0 ? 2 * std::max(delay, longest) : delay / 2;
        SCOPED_TRACE("killed after " + std::to_string(delay) + " us");
        MakeState();
        KillAfter(delay);
        CONTENT const found = ContentOf(m_file);
        EXPECT_TRUE(found == m_old || found == m_new) << found.value_or("(no file)");
        m_olds += found == m_old;
        m_news += found == m_new;
    }
    Figure("random kills", kills);
    Figure("random kills: old files found", m_olds);
    Figure("random kills: new files found", m_news);
    Figure("random kills: found neither old nor new", kills - m_olds - m_news);
    EXPECT_GT(m_olds, 0);
    EXPECT_GT(m_news, 0);
}

std::string Beside(std::string const& file, char const* name) {
    return file.substr(0, file.rfind('/') + 1) + name;
}

void CopyPrecious(std::string const& file) {
    std::filesystem::copy_file(Beside(file, "precious"), file);
}

STATE const STATES[] = {
    {"NoFile", [](std::string const&) {}},
    {"File", CopyPrecious},
    {"ReadOnlyFile",
     [](std::string const& file) {
         CopyPrecious(file);
         std::filesystem::permissions(file, std::filesystem::perms(0400));
     }},
    {"StaleTemporary",
     [](std::string const& file) {
         CopyPrecious(file);
         files::Write(file + ".tmp", std::string(100000, 'x'));
     }},
    {"TemporaryOfTwoNames",
     [](std::string const& file) {
         CopyPrecious(file);
         std::filesystem::create_hard_link(Beside(file, "precious"), file + ".tmp");
     }},
    {"SymbolicLink", [](std::string const& file) { std::filesystem::create_symlink("precious", file); }},
    {"DanglingSymbolicLink", [](std::string const& file) { std::filesystem::create_symlink("nowhere", file); }},
    {"UnreadableFile", [](std::string const& file) { files::Write(file, "<ticket><a type=\"int\">1</ticket>"); }},
    {"EmptiedTicket", CopyPrecious, true},
};

auto const Name = [](auto const& test) { return std::string(test.param.name); };
INSTANTIATE_TEST_SUITE_P(States, CutOffSave, testing::ValuesIn(STATES), Name);
INSTANTIATE_TEST_SUITE_P(States, PowerLoss, testing::ValuesIn(STATES), Name);
INSTANTIATE_TEST_SUITE_P(States, KilledSave, testing::Values(STATES[1]), Name);

TEST(TracedProcess, MakesNoCallAtWhichItWasKilled) {
    if (!TRACED_PROCESS::IsPossible()) GTEST_SKIP() << "this system lets no process be traced";
    SCRATCH_DIRECTORY const scratch;
    std::string const made = scratch.Path("made");
    for (bool const before : {true, false}) {
        TRACED_PROCESS process([] {}, [&] { syscall(SYS_mkdirat, AT_FDCWD, made.c_str(), 0700); });
        do ASSERT_TRUE(process.Step());
        while (process.Call().number != SYS_mkdirat || process.IsAfter() == before);
        process.Kill();
        EXPECT_EQ(files::Exists(made), !before);
    }
}

}  // namespace
