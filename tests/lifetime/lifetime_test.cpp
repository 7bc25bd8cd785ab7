// The library's lifetime in a process: loading, unloading, the end of the process, and programs that the process
// starts.
#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <malloc.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cstdio>
#include <functional>
#include <memory>
#include <pugixml.hpp>
#include <string>
#include <vector>

#include "Library.h"
#include "support/Files.h"
#include "support/Processes.h"
#include "support/Sanitizers.h"
#include "support/Threads.h"

namespace {

void Set(STICKET_ACCESS const* ticket, char const* key, char const* text) {
    ASSERT_EQ(ticket->SetParameter(ticket->pTicket, key, PARAM_STRING, text, SCALAR_INDEX), 1);
}

void Save(STICKET_ACCESS const* ticket) {
    ASSERT_EQ(ticket->Operation(ticket->pTicket, STICKET_OP_SAVE, nullptr), 1);
}

// Resources that an unloaded library could leak.
struct LEFT {
    std::ptrdiff_t mappings;
    std::ptrdiff_t descriptors;
    std::ptrdiff_t heap;
};

LEFT Now() {
    std::string const mappings = FileContent("/proc/self/maps");
    auto const descriptors = std::filesystem::directory_iterator("/proc/self/fd");
    return {std::count(mappings.begin(), mappings.end(), '\n'), std::distance(begin(descriptors), end(descriptors)),
            static_cast<std::ptrdiff_t>(mallinfo2().uordblks + mallinfo2().hblkhd)};
}

// A directory in memory, if there is one: thousands of flushed files cost little there.
std::filesystem::path InMemory() {
    std::filesystem::path const place = "/dev/shm";
    return access(place.c_str(), W_OK) == 0 ? place : std::filesystem::temp_directory_path();
}

// Loads the library, uses a ticket of each kind and the service, and unloads it.
void LoadUseAndUnload(std::string const& file) {
    {
        LIBRARY const library;
        STICKET_ACCESS const* memory = library.Tickets().Create(nullptr);
        STICKET_ACCESS const* bound = library.Tickets().Create(file.c_str());
        Set(memory, "a/b", "text");
        Set(bound, "a/b", "text");
        Set(bound, "a/*c", "text");
        ASSERT_EQ(memory->MergeTicket(memory->pTicket, bound, nullptr, true), 1);
        IConfigurationControl& service = library.Service();
        ASSERT_TRUE(service.Initialize(file + ".settings"));
        service.SetLoginUserName("ada");
        ASSERT_EQ(service.GetLoginUserName(), "ada");
        service.Release();
        library.Tickets().Destroy(memory);
        library.Tickets().Destroy(bound);
    }
    ASSERT_FALSE(LIBRARY::IsLoaded());
}

// Starts the host. Returns its pid.
pid_t Start(char const* how, std::string const& file, int output = STDOUT_FILENO) {
    pid_t const child = fork();
    if (child == 0) {
        if (output != STDOUT_FILENO) dup2(output, STDOUT_FILENO);
        execl(HOST, HOST, how, file.c_str(), nullptr);
        _exit(127);
    }
    return child;
}

// The version of the host's file; 0 if the file is not one complete version.
int VersionOf(std::string const& file) {
    pugi::xml_document document;
    if (!document.load_file(file.c_str())) return 0;
    int version = 0;
    int count = 0;
    for (pugi::xml_node const& value : document.child("ticket").child("values")) {
        if (count++ == 0) version = value.text().as_int();
        if (value.text().as_int() != version) return 0;
    }
    return count == 100 ? version : 0;
}

std::string DescriptorsOfAChild(SCRATCH_DIRECTORY const& scratch) {
    std::string const list = scratch.Path("list");
    int const output = open(list.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600);
    EXPECT_TRUE(Succeeded(Start("list-descriptors", "", output)));
    close(output);
    return FileContent(list);
}

}  // namespace

TEST(Lifetime, LoadedUsedAndUnloadedAThousandTimesTheLibraryLeavesNothingBehind) {
    constexpr int CYCLES = SANITIZED ? 100 : 1000;
    constexpr std::ptrdiff_t HEAP_OF_THE_TEST = 16384;
    SCRATCH_DIRECTORY const scratch(InMemory());
    std::string const file = scratch.Path("t.xml");
    for (int i = 0; i < 10; ++i) LoadUseAndUnload(file);
    LEFT const before = Now();
    for (int i = 0; i < CYCLES && !HasFatalFailure(); ++i) LoadUseAndUnload(file);
    LEFT const after = Now();
    std::printf("%d cycles: %td more mappings, %td more descriptors, %td more bytes of heap\n", CYCLES,
                after.mappings - before.mappings, after.descriptors - before.descriptors, after.heap - before.heap);
    EXPECT_LE(after.mappings, before.mappings + (SANITIZED ? 50 : 2));
    EXPECT_EQ(after.descriptors, before.descriptors);
    EXPECT_LE(after.heap, before.heap + HEAP_OF_THE_TEST);
}

class Exit : public testing::Test {
 protected:
    void Run(char const* how) { EXPECT_TRUE(Succeeded(Start(how, m_file))); }

    SCRATCH_DIRECTORY m_scratch;
    std::string const m_file = m_scratch.Path("t.xml");
};

TEST_F(Exit, OpenTicketsAtTheEndOfMainLeaveWhatWasSaved) {
    Run("return-from-main");
    EXPECT_EQ(VersionOf(m_file), 1);
    EXPECT_THAT(FileContent(m_file + ".settings"), testing::HasSubstr(">1</Level>"));
}

TEST_F(Exit, StaticDestructorsOfTheHostMayStillChangeAndEndTickets) {
    Run("end-in-a-static-destructor");
    EXPECT_EQ(VersionOf(m_file), 2);
    EXPECT_THAT(FileContent(m_file + ".settings"), testing::HasSubstr(">2</Level>"));
}

TEST_F(Exit, StaticDestructorsOfAHostThatOpenedTheLibraryMayStillUseIt) {
    Run("end-in-a-static-destructor-what-was-opened");
    EXPECT_EQ(VersionOf(m_file), 2);
    EXPECT_THAT(FileContent(m_file + ".settings"), testing::HasSubstr(">2</Level>"));
}

TEST_F(Exit, ProcessMayEndWhileThreadsAreInsideTheLibrary) {
    constexpr int ROUNDS = SANITIZED ? 4 : 40;
    for (char const* const how : {"return-while-threads-save", "exit-from-a-thread"}) {
        for (int round = 0; round < ROUNDS; ++round) {
            Run(how);
            EXPECT_GE(VersionOf(m_file), 1) << how;
            pugi::xml_document settings;
            EXPECT_TRUE(settings.load_file((m_file + ".settings").c_str())) << how;
        }
    }
}

// A program that is started while threads load, save and read inherits none of their files.
TEST(Fork, StartedProgramsInheritNoDescriptor) {
    constexpr int PROGRAMS = SANITIZED ? 20 : 200;
    SCRATCH_DIRECTORY const scratch;
    std::string const file = scratch.Path("t.xml");
    LIBRARY const library;
    std::string const before = DescriptorsOfAChild(scratch);
    IConfigurationControl& service = library.Service();
    service.Initialize(file + ".settings");
    service.SetLogLevel(1);
    std::atomic<bool> done{false};
    auto const untilDone = [&](std::function<void()> const& work) {
        return [&done, work] {
            while (!done) work();
        };
    };
    int differing = 0;
    Together({
        untilDone([&] {
            STICKET_ACCESS const* ticket = library.Tickets().Create(file.c_str());
            Set(ticket, "a", "text");
            Save(ticket);
            library.Tickets().Destroy(ticket);
        }),
        untilDone([&] { service.Flush(true); }),
        untilDone([&] { service.IsConfigFileAvailable(); }),
        [&] {
            for (int i = 0; i < PROGRAMS; ++i) {
                std::string const now = DescriptorsOfAChild(scratch);
                if (now != before && ++differing <= 3) ADD_FAILURE() << "inherited:\n" << now;
            }
            done = true;
        },
    });
    EXPECT_EQ(differing, 0);
    service.Release();
}
