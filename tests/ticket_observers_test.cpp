// Permanent observers of both kinds of ticket: what they are told of, when and in which order, and what they may do.
#include <gtest/gtest.h>

#include <atomic>
#include <functional>
#include <list>
#include <new>
#include <string>
#include <vector>

#include "ConfigurationControl/TicketServices.h"
#include "support/FileTickets.h"
#include "support/Threads.h"

namespace {

using namespace tickets;

// The keys of a call, each followed by a blank; "*" for a call without keys.
std::string Names(char const* const* keys) {
    if (!keys) return "*";
    std::string names;
    for (; *keys; ++keys) names += *keys + std::string(" ");
    return names;
}

// An observer that writes a line for each call: its name, ":", and the keys. Then it may do something else.
class WITNESS {
 public:
    WITNESS(STICKET_ACCESS const* ticket, LINES& lines, std::string name, std::function<void(WITNESS&)> then = {})
        : m_ticket(ticket), m_lines(lines), m_name(std::move(name)), m_then(std::move(then)) {
        m_id = TicketAddObserver(ticket, &Observe, this);
        EXPECT_NE(m_id, 0u);
    }
    WITNESS(WITNESS const&) = delete;
    WITNESS& operator=(WITNESS const&) = delete;

    int Remove() const { return TicketRemoveObserver(m_ticket, m_id); }
    STICKET_ACCESS const* Ticket() const { return m_ticket; }
    void Note(std::string const& line) { m_lines.push_back(line); }

 private:
    static void Observe(void* context, char const* const* keys) {
        auto& self = *static_cast<WITNESS*>(context);
        self.Note(self.m_name + ":" + Names(keys));
        if (self.m_then) self.m_then(self);
    }

    STICKET_ACCESS const* m_ticket;
    LINES& m_lines;
    std::string m_name;
    std::function<void(WITNESS&)> m_then;
    uint64_t m_id;
};

enum class KIND { MEMORY, FILE };

class Observers : public testing::TestWithParam<KIND> {
 protected:
    // What was heard since the last call.
    LINES Heard() { return std::exchange(m_lines, {}); }
    WITNESS& Add(std::string name, std::function<void(WITNESS&)> then = {}) {
        return m_witnesses.emplace_back(m_ticket, m_lines, std::move(name), std::move(then));
    }

    SCRATCH_DIRECTORY const m_scratch;
    std::string const m_file = m_scratch.Path("t.xml");
    OWNER const m_ticket{GetParam() == KIND::FILE ? m_file.c_str() : nullptr};
    LINES m_lines;
    std::list<WITNESS> m_witnesses;
};

INSTANTIATE_TEST_SUITE_P(Of, Observers, testing::Values(KIND::MEMORY, KIND::FILE),
                         [](auto const& test) { return test.param == KIND::FILE ? "File" : "Memory"; });

TEST_P(Observers, AreToldTheKeyOfEachSuccessfulSet) {
    Add("A");
    Set(m_ticket, "Log/Level", 1);
    Set(m_ticket, "Log/Level", 1);
    Set(m_ticket, "vector", 1, APPEND_INDEX);
    Set(m_ticket, "", "the empty key");
    Delete(m_ticket, "Log/Level");
    EXPECT_EQ(Heard(), (LINES{"A:Log/Level ", "A:Log/Level ", "A:vector ", "A: ", "A:Log/Level "}));
    EXPECT_EQ(Delete(m_ticket, "absent"), 0);
    EXPECT_EQ(m_ticket->SetParameter(m_ticket->pTicket, nullptr, PARAM_STRING, "x", SCALAR_INDEX), 0);
    EXPECT_EQ(m_ticket->SetParameter(m_ticket->pTicket, "a", PARAM_INT, nullptr, SCALAR_INDEX), 0);
    EXPECT_EQ(Heard(), LINES{});
}

TEST_P(Observers, AreToldTheKeysOfABatchThatWereStored) {
    Add("A");
    int const one = 1;
    SETMULTIPAR records[] = {{"a", PARAM_INT, &one, SCALAR_INDEX, false},
                             {"b", PARAM_INT, nullptr, SCALAR_INDEX, true},
                             {"v", PARAM_INT, &one, SCALAR_INDEX, false},
                             {"v", PARAM_INT, &one, 1, false},
                             {"v", PARAM_VECTOR, &one, 2, false},
                             {"v", PARAM_INT, &one, 2, false},
                             {"c", PARAM_STRING, "c", SCALAR_INDEX, false},
                             {"v", PARAM_NONE, nullptr, 0, false},
                             {}};
    EXPECT_EQ(m_ticket->SetMultiParameter(m_ticket->pTicket, records), 1);
    EXPECT_EQ(Heard(), LINES{"A:a v c v "});
    SETMULTIPAR failing[] = {{"b", PARAM_INT, nullptr, SCALAR_INDEX, false}, {}};
    EXPECT_EQ(m_ticket->SetMultiParameter(m_ticket->pTicket, failing), 1);
    EXPECT_EQ(m_ticket->SetMultiParameter(m_ticket->pTicket, failing + 1), 1);
    EXPECT_EQ(m_ticket->SetMultiParameter(m_ticket->pTicket, nullptr), 0);
    EXPECT_EQ(Heard(), LINES{}) << "nothing was stored";
}

TEST_P(Observers, AreToldThatAnyKeyMayHaveChangedByAClearAndByNoOtherCode) {
    Set(m_ticket, "a", 1);
    Add("A");
    EXPECT_EQ(Operate(m_ticket, STICKET_OP_CLEAR), 1);
    EXPECT_EQ(Heard(), LINES{"A:*"});
    Set(m_ticket, "a", 1);
    Heard();
    for (uint32_t code = 0; code < 15; ++code) {
        uint64_t data[8] = {};
        if (code != STICKET_OP_CLEAR) Operate(m_ticket, code, code < 4 ? nullptr : data);
    }
    EXPECT_EQ(Heard(), LINES{});
}

TEST_P(Observers, AreToldOfAMergeAsOfTheChangesThatItMakes) {
    OWNER const source;
    Set(source, "b", 1);
    Set(source, "a", 1);
    Set(source, "", 1);
    Add("A");
    EXPECT_EQ(m_ticket->MergeTicket(m_ticket->pTicket, source, nullptr, false), 1);
    EXPECT_EQ(Heard(), (LINES{"A: ", "A:a b "}));
    char const* const keys[] = {"b", nullptr};
    EXPECT_EQ(m_ticket->MergeTicket(m_ticket->pTicket, source, keys, true), 1);
    EXPECT_EQ(Heard(), (LINES{"A:*", "A:b "}));
}

TEST_P(Observers, AreNotToldOfReadsAndWalks) {
    Set(m_ticket, "a", 1);
    Add("A");
    GetInt(m_ticket, "a");
    Contents(m_ticket);
    GETMULTIPAR records[] = {{"a", PARAM_INT, nullptr, SCALAR_INDEX, false}, {}};
    m_ticket->GetMultiParameter(m_ticket->pTicket, records);
    int owner = 1;
    m_ticket->Lock(m_ticket->pTicket, 0, &owner, true);
    EXPECT_EQ(Heard(), LINES{});
}

TEST_P(Observers, SeeTheChangeAfterTheDeferredCallbacks) {
    static LINES* lines;
    lines = &m_lines;
    Add("A", [](WITNESS& self) { self.Note(*GetText(self.Ticket(), "a")); });
    m_ticket->QueueAfterNotification(
        m_ticket->pTicket, [](void*) { lines->push_back("deferred"); }, nullptr);
    Set(m_ticket, "a", "new");
    EXPECT_EQ(Heard(), (LINES{"deferred", "A:a ", "new"}));
}

TEST_P(Observers, OfADeferredCallbacksChangeHearOfItFirst) {
    Add("A");
    m_ticket->QueueAfterNotification(
        m_ticket->pTicket,
        [](void* ticket) { tickets::Set(*static_cast<OWNER const*>(ticket), "a key of the callback", 1); },
        const_cast<OWNER*>(&m_ticket));
    Set(m_ticket, "a", 1);
    EXPECT_EQ(Heard(), (LINES{"A:a key of the callback ", "A:a "}));
}

TEST_P(Observers, AreCalledInTheirOrderUntilTheyAreRemoved) {
    Add("A");
    WITNESS const& second = Add("B");
    Add("C");
    Set(m_ticket, "a", 1);
    EXPECT_EQ(Heard(), (LINES{"A:a ", "B:a ", "C:a "}));
    EXPECT_EQ(second.Remove(), 1);
    EXPECT_EQ(second.Remove(), 0);
    Set(m_ticket, "a", 1);
    EXPECT_EQ(Heard(), (LINES{"A:a ", "C:a "}));
}

TEST_P(Observers, MayBeAddedTwiceEachByANumberOfItsOwn) {
    std::vector<uint64_t> ids;
    int calls = 0;
    auto const count = [](void* counter, char const* const*) { ++*static_cast<int*>(counter); };
    for (int i = 0; i < 2; ++i) ids.push_back(TicketAddObserver(m_ticket, count, &calls));
    EXPECT_NE(ids[0], ids[1]);
    Set(m_ticket, "a", 1);
    EXPECT_EQ(calls, 2);
    OWNER const other;
    EXPECT_EQ(TicketRemoveObserver(other, ids[0]), 0) << "a number belongs to one ticket";
    EXPECT_EQ(TicketRemoveObserver(m_ticket, ids[0]), 1);
    EXPECT_EQ(TicketRemoveObserver(m_ticket, 0), 0);
    Set(m_ticket, "a", 1);
    EXPECT_EQ(calls, 3);
}

TEST_P(Observers, HearOfOnesOwnAndOthersChangesInTheirOrderAfterTheCurrentOne) {
    Add("A", [](WITNESS& self) {
        if (GetInt(self.Ticket(), "a") < 3) {
            tickets::Set(self.Ticket(), "a", *GetInt(self.Ticket(), "a") + 1);
            self.Note("is set");
        }
    });
    Add("B", [this](WITNESS&) {
        if (GetInt(m_ticket, "a") == 3 && !GetInt(m_ticket, "b")) {
            SETMULTIPAR batch[] = {{"b", PARAM_STRING, "", SCALAR_INDEX, false}, {}};
            m_ticket->SetMultiParameter(m_ticket->pTicket, batch);
            Operate(m_ticket, STICKET_OP_CLEAR);
            tickets::Set(m_ticket, "b", 1);
            tickets::Set(m_ticket, "a", 3);
        }
    });
    Set(m_ticket, "a", 1);
    EXPECT_EQ(Heard(), (LINES{"A:a ", "is set", "B:a ", "A:a ", "is set", "B:a ", "A:a ", "B:a ", "A:b ", "B:b ", "A:*",
                              "B:*", "A:b ", "B:b ", "A:a ", "B:a "}));
}

// Calls within calls as deep as the chain of changes would exhaust the stack.
TEST_P(Observers, MayMakeAnyNumberOfChanges) {
    constexpr int MANY = 100'000;
    struct CHAIN {
        STICKET_ACCESS const* ticket;
        int calls;
    } chain{m_ticket, 0};
    TicketAddObserver(
        m_ticket,
        [](void* context, char const* const*) {
            auto& [ticket, calls] = *static_cast<CHAIN*>(context);
            if (++calls < MANY) tickets::Set(ticket, "a", calls);
        },
        &chain);
    Set(m_ticket, "a", 0);
    EXPECT_EQ(chain.calls, MANY);
}

TEST_P(Observers, AddedWithinACallHearOfLaterChangesOnly) {
    bool once = true;
    Add("A", [&](WITNESS& self) {
        if (!std::exchange(once, false)) return;
        tickets::Set(self.Ticket(), "before", 1);
        Add("B");
        tickets::Set(self.Ticket(), "after", 1);
    });
    Set(m_ticket, "a", 1);
    EXPECT_EQ(Heard(), (LINES{"A:a ", "A:before ", "A:after ", "B:after "}));
}

TEST_P(Observers, MayRemoveThemselvesAndOthersWithinACall) {
    WITNESS* last = nullptr;
    Add("A", [&](WITNESS& self) {
        EXPECT_EQ(self.Remove(), 1);
        EXPECT_EQ(self.Remove(), 0);
        EXPECT_EQ(last->Remove(), 1);
    });
    Add("B");
    last = &Add("C");
    Add("D");
    Set(m_ticket, "a", 1);
    Set(m_ticket, "b", 1);
    EXPECT_EQ(Heard(), (LINES{"A:a ", "B:a ", "D:a ", "B:b ", "D:b "}));
}

TEST_P(Observers, HearOfTheNextChangeThoughOneHasThrown) {
    Add("A", [](WITNESS&) { throw 17; });
    Add("B", [](WITNESS&) { throw std::bad_alloc(); });
    Add("C");
    EXPECT_EQ(Set(m_ticket, "a", 1), 1);
    EXPECT_EQ(Set(m_ticket, "b", 1), 1);
    EXPECT_EQ(Heard(), (LINES{"A:a ", "B:a ", "C:a ", "A:b ", "B:b ", "C:b "}));
}

// The key is a text of the ticket, which the change frees.
TEST_P(Observers, AreToldKeysThatTheChangeItselfDeletes) {
    Set(m_ticket, "name", "a_key_that_is_too_long_for_the_small_buffer");
    BIN_STRING text{};
    m_ticket->GetParameter(m_ticket->pTicket, "name", PARAM_BINSTR, &text, SCALAR_INDEX);
    auto const* const key = static_cast<char const*>(text.data);
    Set(m_ticket, key, 1);
    Add("A");
    SETMULTIPAR records[] = {
        {"name", PARAM_NONE, nullptr, SCALAR_INDEX, false}, {key, PARAM_NONE, nullptr, SCALAR_INDEX, false}, {}};
    EXPECT_EQ(m_ticket->SetMultiParameter(m_ticket->pTicket, records), 1);
    EXPECT_EQ(Heard(), LINES{"A:name a_key_that_is_too_long_for_the_small_buffer "});
    EXPECT_EQ(Count(m_ticket), 0u);
}

TEST_P(Observers, HearWhatChangesThroughAnotherTicketsObserver) {
    OWNER const other;
    WITNESS const forward(other, m_lines, "other", [this](WITNESS&) { tickets::Set(m_ticket, "copy", 1); });
    Add("A", [&](WITNESS&) {
        if (!GetInt(other, "back")) tickets::Set(other, "back", 1);
    });
    Set(other, "a", 1);
    EXPECT_EQ(Heard(), (LINES{"other:a ", "A:copy ", "other:back ", "A:copy "}));
}

TEST_P(Observers, AreRemovedOnceTheCallOfAnotherThreadHasEnded) {
    struct {
        std::atomic<bool> isCalled{false};
        std::atomic<bool> isDone{false};
    } state;
    auto const observe = [](void* context, char const* const*) {
        auto& call = *static_cast<decltype(state)*>(context);
        call.isCalled = true;
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
        call.isDone = true;
    };
    uint64_t const id = TicketAddObserver(m_ticket, observe, &state);
    Together({[&] { Set(m_ticket, "a", 1); },
              [&] {
                  while (!state.isCalled) std::this_thread::yield();
                  EXPECT_EQ(TicketRemoveObserver(m_ticket, id), 1);
                  EXPECT_TRUE(state.isDone);
              }});
}

TEST_P(Observers, ComeAndGoWhileOtherThreadsChangeTheTicket) {
    int calls[3] = {};  // guarded by the ticket's mutex
    auto const count = [](void* context, char const* const*) { ++*static_cast<int*>(context); };
    Together(3, [&](int thread) {
        for (int i = 0; i < 300; ++i) {
            uint64_t const id = TicketAddObserver(m_ticket, count, &calls[thread]);
            Set(m_ticket, "a", i);
            EXPECT_EQ(TicketRemoveObserver(m_ticket, id), 1);
        }
    });
    for (int const number : calls) EXPECT_GE(number, 300);
    int const before = calls[0];
    Set(m_ticket, "a", 0);
    EXPECT_EQ(calls[0], before);
}

class FileObservers : public testing::Test {
 protected:
    SCRATCH_DIRECTORY const m_scratch;
    std::string const m_file = m_scratch.Path("t.xml");
    LINES m_lines;

    void SetUp() override { files::Write(m_file, Document({"<a type=\"string\">1</a>", "<b type=\"int\">1</b>"})); }
};

TEST_F(FileObservers, AreNotToldOfLoadsWhateverTheFileHolds) {
    OWNER const ticket(m_file.c_str());
    WITNESS const witness(ticket, m_lines, "A");
    EXPECT_EQ(Count(ticket), 2u);
    files::Write(m_file, Document({"<other type=\"int\">1</other>"}));
    EXPECT_EQ(Operate(ticket, STICKET_OP_RELEASE), 1);
    EXPECT_EQ(Count(ticket), 1u);
    EXPECT_EQ(SetPartialKeys(ticket, {"other"}), 1);
    EXPECT_EQ(GetInt(ticket, "other"), 1);
    EXPECT_EQ(GetInt(ticket, "absent"), std::nullopt);
    EXPECT_EQ(m_lines, LINES{});
    Set(ticket, "other", 2);
    EXPECT_EQ(m_lines, LINES{"A:other "});
}

TEST_F(FileObservers, AreNotToldOfASetThatIsRefusedBecauseTheFileCannotBeLoaded) {
    OWNER const ticket(m_file.c_str());
    WITNESS const witness(ticket, m_lines, "A");
    EXPECT_EQ(SetPartialKeys(ticket, {"a"}), 1);
    EXPECT_EQ(Set(ticket, "a", std::numeric_limits<double>::infinity()), 1);
    m_lines.clear();
    EXPECT_EQ(Set(ticket, "b", 1), 0) << "the partial tree cannot be saved before the rest is loaded";
    EXPECT_EQ(Set(ticket, "a", 1), 1);
    EXPECT_EQ(m_lines, LINES{"A:a "});
}

TEST(ObserversOfASharedMutex, HearOfTheirOwnTicketOnly) {
    SysLib::MUTEX_INSTANCE mutex;
    OWNER const server;
    OWNER const first(STICKET::PCreate({server->pTicket, 1, 1, nullptr, &mutex}));
    OWNER const second(STICKET::PCreate({server->pTicket, 2, 2, nullptr, &mutex}));
    LINES lines;
    WITNESS const a(first, lines, "first", [&](WITNESS&) { tickets::Set(second, "from first", 1); });
    WITNESS const b(second, lines, "second");
    Set(first, "x", 1);
    EXPECT_EQ(lines, (LINES{"first:x ", "second:from first "}));
}

TEST(ObserversOfNothing, AreRefused) {
    auto const ignore = [](void*, char const* const*) {};
    OWNER const server;
    OPEN_TICKET mutexless({server->pTicket, -2, -2, nullptr, nullptr});
    EXPECT_EQ(TicketAddObserver(nullptr, ignore, nullptr), 0u);
    EXPECT_EQ(TicketAddObserver(server, nullptr, nullptr), 0u);
    EXPECT_EQ(TicketAddObserver(mutexless.GetInterface(), ignore, nullptr), 0u);
    EXPECT_EQ(TicketRemoveObserver(nullptr, 1), 0);
    EXPECT_EQ(TicketRemoveObserver(mutexless.GetInterface(), 1), 0);
}

}  // namespace
