// A callback under a ticket's mutex, and which tables the plain functions accept.
#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <string>
#include <thread>

#include "ConfigurationControl/TicketServices.h"
#include "support/FileTickets.h"
#include "support/Threads.h"

namespace {

using namespace tickets;

TEST(RunLocked, CallsOnceOnTheSameThreadWithTheContext) {
    OWNER const ticket;
    std::thread::id caller;
    EXPECT_EQ(TicketRunLocked(
                  ticket, [](void* id) { *static_cast<std::thread::id*>(id) = std::this_thread::get_id(); }, &caller),
              1);
    EXPECT_EQ(caller, std::this_thread::get_id());
}

// The callback reads text, waits, and copies it, while another thread replaces it as often as it can.
TEST(RunLocked, KeepsWhatTheCallbackHasReadUntilItReturns) {
    SCRATCH_DIRECTORY const scratch;
    std::string const file = scratch.Path("t.xml");
    for (char const* name : {static_cast<char const*>(nullptr), file.c_str()}) {
        OWNER const ticket(name);
        BIN_STRING const first{"first", 5};
        std::atomic<bool> isDone{false};
        auto const write = [&](char byte) {
            std::string const text(100, byte);
            BIN_STRING const bytes{text.data(), text.size()};
            ticket->SetParameter(ticket->pTicket, "a", PARAM_BINSTR, &bytes, SCALAR_INDEX);
        };
        ticket->SetParameter(ticket->pTicket, "a", PARAM_BINSTR, &first, SCALAR_INDEX);
        struct COPY {
            STICKET_ACCESS const* ticket;
            std::string text;
        } copy{ticket, {}};
        auto const read = [](void* context) {
            auto& [table, text] = *static_cast<COPY*>(context);
            BIN_STRING bytes{};
            table->GetParameter(table->pTicket, "a", PARAM_BINSTR, &bytes, SCALAR_INDEX);
            std::this_thread::sleep_for(std::chrono::microseconds(100));
            text.assign(static_cast<char const*>(bytes.data), bytes.length);
        };
        Together({[&] {
                      while (!isDone) write('x'), write('y');
                  },
                  [&] {
                      for (int i = 0; i < 50; ++i) {
                          EXPECT_EQ(TicketRunLocked(ticket, read, &copy), 1);
                          EXPECT_EQ(copy.text.find_first_not_of(copy.text.front(), 1),
                                    copy.text == "first" ? 1 : std::string::npos);
                      }
                      isDone = true;
                  }});
    }
}

TEST(RunLocked, LetsTheCallbackChangeTheTicketAndRunOthers) {
    OWNER const ticket;
    auto const set = [](void* context) { tickets::Set(*static_cast<OWNER const*>(context), "a", 1); };
    static decltype(+set) inner;
    inner = set;
    auto const outer = [](void* context) {
        EXPECT_EQ(TicketRunLocked(*static_cast<OWNER const*>(context), inner, context), 1);
    };
    EXPECT_EQ(TicketRunLocked(ticket, outer, const_cast<OWNER*>(&ticket)), 1);
    EXPECT_EQ(GetInt(ticket, "a"), 1);
}

TEST(RunLocked, AnswersAnExceptionOfTheCallbackWith0AndReleasesTheMutex) {
    OWNER const ticket;
    EXPECT_EQ(TicketRunLocked(
                  ticket, [](void*) { throw 17; }, nullptr),
              0);
    std::thread([&] { EXPECT_EQ(Set(ticket, "a", 1), 1); }).join();
}

TEST(RunLocked, NeedsACallbackAndATableOfThisLibraryWithAMutex) {
    static int calls = 0;
    auto const call = [](void*) { ++calls; };
    OWNER const ticket;
    OPEN_TICKET mutexless({ticket->pTicket, -2, -2, nullptr, nullptr});
    STICKET_ACCESS foreign = *ticket;
    foreign.QueueAfterNotification = [](STICKET*, STICKET_DEFERRED_CALLBACK, void*) { return false; };
    foreign.pTicket = reinterpret_cast<STICKET*>(&foreign);
    STICKET_ACCESS ticketless = *ticket;
    ticketless.pTicket = nullptr;
    EXPECT_EQ(TicketRunLocked(nullptr, call, nullptr), 0);
    EXPECT_EQ(TicketRunLocked(ticket, nullptr, nullptr), 0);
    for (STICKET_ACCESS const* const table : {mutexless.GetInterface(), static_cast<STICKET_ACCESS const*>(&foreign),
                                              static_cast<STICKET_ACCESS const*>(&ticketless)}) {
        EXPECT_EQ(TicketRunLocked(table, call, nullptr), 0);
    }
    EXPECT_EQ(calls, 0);
}

}  // namespace
