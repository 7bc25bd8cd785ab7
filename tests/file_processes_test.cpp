// Several processes on one file. The environment variable PROCESS_SAVES raises the minimum number of saves per writer.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/mman.h>

#include <algorithm>
#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <new>
#include <pugixml.hpp>
#include <string>
#include <string_view>
#include <vector>

#include "support/FileTickets.h"
#include "support/Processes.h"

namespace {

using namespace tickets;

constexpr int WRITERS = 4;
constexpr int READS = 20;  // the writers stop after this many reads

// Memory that the processes of a test share.
struct SHARED {
    std::atomic<int> saves{0};
    std::atomic<bool> hasSeenEnough{false};
};

class SHARED_MEMORY {
 public:
    SHARED_MEMORY()
        : m_shared(new (mmap(nullptr, sizeof(SHARED), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0))
                       SHARED) {}
    ~SHARED_MEMORY() { munmap(m_shared, sizeof(SHARED)); }
    SHARED_MEMORY(SHARED_MEMORY const&) = delete;
    SHARED_MEMORY& operator=(SHARED_MEMORY const&) = delete;
    SHARED* operator->() const { return m_shared; }

 private:
    SHARED* m_shared;
};

int SavesOfEachWriter() {
    char const* const given = std::getenv("PROCESS_SAVES");
    return given ? std::atoi(given) : 60;
}

// The number of values in a version of the file. Versions differ in length, so that a mixture of two also shows in its
// length.
int ValuesOf(int version) {
    return 20 + version * 37 % 400;
}

bool SaveVersion(STICKET_ACCESS const* ticket, int version) {
    bool ok = Operate(ticket, STICKET_OP_CLEAR) && Set(ticket, "version", version);
    for (int i = 0; i < ValuesOf(version); ++i)
        ok = Set(ticket, ("values/v" + std::to_string(i)).c_str(), version) && ok;
    return Operate(ticket, STICKET_OP_SAVE) && ok;
}

bool IsWholeVersion(std::vector<int> const& values) {
    return !values.empty() && static_cast<int>(values.size()) == ValuesOf(values[0]) + 1 &&
           std::count(values.begin(), values.end(), values[0]) == static_cast<std::ptrdiff_t>(values.size());
}

// Whether the bytes are one complete version, judged as XML without the library.
bool IsWholeText(std::string const& text) {
    constexpr std::string_view END = "</ticket>\n";
    if (text.size() < END.size() || text.substr(text.size() - END.size()) != END) return false;
    pugi::xml_document document;
    if (!document.load_buffer(text.data(), text.size())) return false;
    std::vector<int> values;
    for (pugi::xpath_node const& leaf : document.select_nodes("//*[@type]"))
        values.push_back(leaf.node().text().as_int());
    return IsWholeVersion(values);
}

bool IsWholeTicket(std::string const& file) {
    OWNER const ticket(file.c_str());
    std::vector<int> values;
    auto const take = [](void* all, char const*, PARAM_TYPE, void const* value, int) {
        static_cast<std::vector<int>*>(all)->push_back(*static_cast<int const*>(value));
        return true;
    };
    return ticket->WalkParameter(ticket->pTicket, take, &values, "", WALK_EVERYTHING) && IsWholeVersion(values);
}

}  // namespace

TEST(FileOfProcesses, FourSaveTheSameFileAndAReaderNeverFindsATornOrEmptyOne) {
    SCRATCH_DIRECTORY const scratch;
    std::string const file = scratch.Path("t.xml");
    int const saves = SavesOfEachWriter();
    SHARED_MEMORY const shared;
    {
        OWNER const ticket(file.c_str());
        ASSERT_TRUE(SaveVersion(ticket, 1));
    }
    std::vector<pid_t> writers;
    for (int writer = 0; writer < WRITERS; ++writer) {
        writers.push_back(Spawn([&] {
            OWNER const ticket(file.c_str());
            bool ok = true;
            for (int i = 0; i < saves || (!shared->hasSeenEnough && i < 1000 * saves); ++i) {
                ok = SaveVersion(ticket, 2 + i * WRITERS + writer) && ok;
                ++shared->saves;
            }
            return ok;
        }));
    }
    int reads = 0;
    int torn = 0;
    auto const look = [&] {
        torn += !IsWholeText(FileContent(file));
        torn += !IsWholeTicket(file);
        shared->hasSeenEnough = ++reads >= READS;
    };
    while (!std::all_of(writers.begin(), writers.end(), HasEnded)) look();
    look();
    for (pid_t const writer : writers) EXPECT_TRUE(Succeeded(writer));
    std::printf("%d saves by %d processes, read %d times as text and as often as a ticket: %d torn or empty\n",
                shared->saves.load(), WRITERS, reads, torn);
    EXPECT_EQ(torn, 0);
    EXPECT_GE(reads, READS);
    EXPECT_THAT(files::Names(scratch), testing::ElementsAre("t.xml"));
}

// A process that dies while it saves leaves the temporary file behind; its lock is gone, so nobody waits.
TEST(FileOfProcesses, WritersThatAreKilledNeitherTearTheFileNorHoldUpTheOthers) {
    SCRATCH_DIRECTORY const scratch;
    std::string const file = scratch.Path("t.xml");
    {
        OWNER const ticket(file.c_str());
        ASSERT_TRUE(SaveVersion(ticket, 1));
    }
    for (int round = 0; round < 10; ++round) {
        pid_t const killed = Spawn([&] {
            OWNER const ticket(file.c_str());
            for (int version = 2;; ++version) SaveVersion(ticket, version);
            return true;
        });
        usleep(static_cast<useconds_t>(3000 + 700 * round));
        kill(killed, SIGKILL);
        EXPECT_FALSE(Succeeded(killed));
        EXPECT_TRUE(IsWholeText(FileContent(file)));
        OWNER const ticket(file.c_str());
        EXPECT_TRUE(SaveVersion(ticket, 1000 + round));
        EXPECT_TRUE(IsWholeTicket(file));
        EXPECT_EQ(GetInt(ticket, "version"), 1000 + round);
        EXPECT_THAT(files::Names(scratch), testing::ElementsAre("t.xml"));
    }
}
