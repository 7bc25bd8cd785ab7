// A callback under a ticket's mutex, the outcomes of saves and loads, and the tables that the plain functions accept.
#include <gtest/gtest.h>

#include <atomic>
#include <cerrno>
#include <chrono>
#include <filesystem>
#include <limits>
#include <string>
#include <thread>

#include "ConfigurationControl/StringConversion.h"
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

// Outcomes of saves and loads

class CONVERSION : public STICKET_STRING_CONVERSION {
 public:
    std::string ToFile(std::string const& text) override {
        if (text == "refused") throw 17;
        if (text == "refused with a text") throw "no";
        return text;
    }
    std::string FromFile(std::string const& text, int) override {
        if (text == "refused") throw 17;
        return text;
    }
};

class Outcomes : public testing::Test {
 protected:
    static STICKET_WHOAMI Converting() {
        static CONVERSION conversion;
        STICKET_WHOAMI whoAmI = NOBODY;
        whoAmI.pContext = static_cast<STICKET_STRING_CONVERSION*>(&conversion);
        return whoAmI;
    }
    // The step, errno and note of the last save, with blanks between them.
    static std::string Saved(STICKET_ACCESS const* ticket) {
        TICKET_SAVE_OUTCOME outcome{sizeof outcome, 99, 99, 99};
        EXPECT_EQ(TicketGetSaveOutcome(ticket, &outcome), 1);
        EXPECT_EQ(outcome.nSize, sizeof outcome);
        return std::to_string(outcome.nStep) + " " + std::to_string(outcome.nError) + " " +
               std::to_string(outcome.nNote);
    }
    // The state, errno, line and column of the last load.
    static std::string Loaded(STICKET_ACCESS const* ticket) {
        TICKET_LOAD_OUTCOME outcome{sizeof outcome, 99, 99, 99, 99};
        EXPECT_EQ(TicketGetLoadOutcome(ticket, &outcome), 1);
        return std::to_string(outcome.nState) + " " + std::to_string(outcome.nError) + " " +
               std::to_string(outcome.nLine) + " " + std::to_string(outcome.nColumn);
    }
    std::string LoadedFrom(std::string const& content) {
        files::Write(m_file, content);
        OWNER const ticket(STICKET::PCreate(m_file, Converting()));
        Count(ticket);
        return Loaded(ticket);
    }

    SCRATCH_DIRECTORY const m_scratch;
    std::string const m_file = m_scratch.Path("t.xml");
};

TEST_F(Outcomes, OfASaveAreThoseOfTheLastOne) {
    OWNER const ticket(m_file.c_str());
    EXPECT_EQ(Saved(ticket), "0 0 0") << "nothing was saved yet";
    Set(ticket, "a", std::numeric_limits<double>::infinity());
    EXPECT_EQ(Operate(ticket, STICKET_OP_SAVE), 0);
    EXPECT_EQ(Saved(ticket), "1 0 0");
    Set(ticket, "a", 1);
    EXPECT_EQ(Saved(ticket), "1 0 0") << "a change is no save";
    EXPECT_EQ(Operate(ticket, STICKET_OP_SAVE), 1);
    EXPECT_EQ(Saved(ticket), "0 0 0");
}

TEST_F(Outcomes, OfASaveTellAThrowingConversion) {
    OWNER const ticket(STICKET::PCreate(m_file, Converting()));
    for (char const* const text : {"refused", "refused with a text"}) {
        Set(ticket, "a", text);
        EXPECT_EQ(Operate(ticket, STICKET_OP_SAVE), 0);
        EXPECT_EQ(Saved(ticket), "2 0 0") << text;
    }
    Delete(ticket, "a");
}

TEST_F(Outcomes, OfASaveTellTheStepThatTheDiskRefused) {
    std::filesystem::create_directory(m_file + ".tmp");
    OWNER const ticket(m_file.c_str());
    Set(ticket, "a", 1);
    EXPECT_EQ(Operate(ticket, STICKET_OP_SAVE), 1) << "as ever";
    EXPECT_EQ(Saved(ticket), "5 " + std::to_string(EISDIR) + " 0");
}

TEST_F(Outcomes, OfASaveNoteThatTheMisreadFileCouldNotBeKept) {
    files::Write(m_file, "<broken");
    std::filesystem::create_directory(m_file + ".unreadable");
    OWNER const ticket(m_file.c_str());
    Set(ticket, "a", 1);
    EXPECT_EQ(Operate(ticket, STICKET_OP_SAVE), 1);
    EXPECT_EQ(Saved(ticket), "0 0 1");
}

TEST_F(Outcomes, OfASaveTellThatTheFileOfAnEmptyTicketCouldNotBeKept) {
    files::Write(m_file, "<broken");
    std::filesystem::create_directory(m_file + ".unreadable");
    OWNER const ticket(m_file.c_str());
    Operate(ticket, STICKET_OP_CLEAR);
    Operate(ticket, STICKET_OP_SAVE);
    EXPECT_EQ(Saved(ticket), "9 " + std::to_string(EISDIR) + " 0");
    EXPECT_EQ(Loaded(ticket), "0 0 0 0") << "the save's look at the file is no load";
}

TEST_F(Outcomes, OfALoadTellWhatItFound) {
    OWNER const ticket(m_file.c_str());
    EXPECT_EQ(Loaded(ticket), "0 0 0 0");
    Count(ticket);
    EXPECT_EQ(Loaded(ticket), "2 " + std::to_string(ENOENT) + " 0 0");
    EXPECT_EQ(LoadedFrom(Document({"<a type=\"int\">1</a>"})), "1 0 0 0");
    EXPECT_EQ(LoadedFrom("<ticket>\n<a>\n</b>\n</ticket>\n").substr(0, 5), "4 0 3");
    EXPECT_EQ(LoadedFrom(Document({"<a type=\"int\">1</a>"}) + std::string("\0<b/>", 5)), "5 0 0 0");
    EXPECT_EQ(LoadedFrom(Document({"<a type=\"string\">refused</a>"})), "7 0 0 0");
}

TEST_F(Outcomes, OfALoadTellWhyAFileIsUnreadable) {
    std::filesystem::create_directory(m_file);
    OWNER const ticket(m_file.c_str());
    Count(ticket);
    EXPECT_EQ(Loaded(ticket).substr(0, 1), "3");
}

TEST_F(Outcomes, FillNoMoreThanTheCallerHasRoomFor) {
    OWNER const ticket(m_file.c_str());
    Count(ticket);
    TICKET_LOAD_OUTCOME outcome{8, 99, 99, 99, 99};
    EXPECT_EQ(TicketGetLoadOutcome(ticket, &outcome), 1);
    EXPECT_EQ(outcome.nState, static_cast<uint32_t>(TICKET_LOAD_NO_FILE));
    EXPECT_EQ(outcome.nError, 99);
    for (uint32_t const none : {0u, 3u}) {
        outcome.nSize = none;
        EXPECT_EQ(TicketGetLoadOutcome(ticket, &outcome), 0);
        EXPECT_EQ(outcome.nSize, none);
    }
}

TEST_F(Outcomes, AreThoseOfFileTicketsOnly) {
    OWNER const memory;
    OWNER const file(m_file.c_str());
    TICKET_SAVE_OUTCOME save{sizeof save, 99, 99, 99};
    TICKET_LOAD_OUTCOME load{sizeof load, 99, 99, 99, 99};
    EXPECT_EQ(TicketGetSaveOutcome(memory, &save), 0);
    EXPECT_EQ(TicketGetLoadOutcome(memory, &load), 0);
    EXPECT_EQ(TicketGetSaveOutcome(nullptr, &save), 0);
    EXPECT_EQ(TicketGetLoadOutcome(nullptr, &load), 0);
    EXPECT_EQ(TicketGetSaveOutcome(file, nullptr), 0);
    EXPECT_EQ(TicketGetLoadOutcome(file, nullptr), 0);
    EXPECT_EQ(save.nStep, 99u);
    EXPECT_EQ(load.nState, 99u);
}

}  // namespace
