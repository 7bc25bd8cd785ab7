// One ticket of either kind under eight threads: guarantees for each thread while all others use the same ticket.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <memory>
#include <random>
#include <string>
#include <vector>

#include "ConfigurationControl/MultiPar.h"
#include "support/FileTickets.h"
#include "support/Sanitizers.h"
#include "support/Threads.h"

namespace {

using namespace tickets;

constexpr int THREADS = 8;
constexpr int PER_THREAD = 1000000;  // the values of thread n begin at n times this

enum class KIND { MEMORY, FILE };

class TicketThreads : public testing::TestWithParam<KIND> {
 protected:
    bool IsFile() const { return GetParam() == KIND::FILE; }
    // Releases a file ticket, so that the next access loads the saved file; a memory ticket keeps its values.
    void SaveAndDrop() const { EXPECT_EQ(Operate(m_ticket, STICKET_OP_RELEASE), 1); }

    SCRATCH_DIRECTORY const m_scratch;
    std::string const m_file = m_scratch.Path("t.xml");
    OWNER const m_ticket{IsFile() ? m_file.c_str() : nullptr};
};

struct PAIR {
    bool found[2];
    int value[2];
    bool IsWhole() const { return found[0] == found[1] && value[0] == value[1]; }
};

int SetPair(STICKET_ACCESS const* ticket, int value) {
    SETMULTIPAR batch[] = {
        {"pair/a", PARAM_INT, &value, SCALAR_INDEX, false}, {"pair/b", PARAM_INT, &value, SCALAR_INDEX, false}, {}};
    return ticket->SetMultiParameter(ticket->pTicket, batch) && AllMultiParameterOk(batch);
}

PAIR GetPair(STICKET_ACCESS const* ticket) {
    PAIR pair{};
    GETMULTIPAR batch[] = {{"pair/a", PARAM_INT, &pair.value[0], SCALAR_INDEX, false},
                           {"pair/b", PARAM_INT, &pair.value[1], SCALAR_INDEX, false},
                           {}};
    EXPECT_EQ(ticket->GetMultiParameter(ticket->pTicket, batch), 1);
    pair.found[0] = batch[0].result;
    pair.found[1] = batch[1].result;
    return pair;
}

// The pair as one walk reports it, and whether the walk's keys were in order.
struct WALKED {
    PAIR pair{};
    std::string lastKey;
    bool ascends = true;

    static bool Take(void* walked, char const* key, PARAM_TYPE type, void const* value, int) {
        auto& self = *static_cast<WALKED*>(walked);
        self.ascends = self.ascends && self.lastKey <= key;
        self.lastKey = key;
        for (int i = 0; i < 2; ++i) {
            if (self.lastKey != (i ? "pair/b" : "pair/a") || type != PARAM_INT) continue;
            self.pair.found[i] = true;
            self.pair.value[i] = *static_cast<int const*>(value);
        }
        return true;
    }
};

WALKED Walk(STICKET_ACCESS const* ticket) {
    WALKED walked;
    EXPECT_EQ(ticket->WalkParameter(ticket->pTicket, &WALKED::Take, &walked, "", WALK_EVERYTHING), 1);
    return walked;
}

std::vector<int> Elements(STICKET_ACCESS const* ticket, char const* key) {
    uint64_t count = 0;
    ticket->GetParameter(ticket->pTicket, key, PARAM_VECTOR, &count, SCALAR_INDEX);
    std::vector<int> elements(count);
    std::unique_ptr<GETMULTIPAR, decltype(&free)> const batch(NewGetMultipar(count, key, PARAM_INT), &free);
    for (std::size_t i = 0; i < count; ++i) batch.get()[i].value = &elements[i];
    EXPECT_EQ(ticket->GetMultiParameter(ticket->pTicket, batch.get()), 1);
    EXPECT_TRUE(AllMultiParameterOk(batch.get()));
    return elements;
}

// The elements that one thread has appended, in their order in the vector.
std::vector<int> Of(int thread, std::vector<int> const& elements) {
    std::vector<int> own;
    std::copy_if(elements.begin(), elements.end(), std::back_inserter(own),
                 [=](int element) { return element / PER_THREAD == thread; });
    return own;
}

// A text of one repeated letter, so that a byte of another text shows.
std::string TextOf(int thread, int length) {
    return std::string(static_cast<std::size_t>(20 + length % 50), static_cast<char>('a' + thread));
}

// One thread of the test that mixes all calls. It alone writes its own keys and shares the others.
class WORKER {
 public:
    struct SHARED {
        STICKET_ACCESS const* ticket;
        std::atomic<int> queued{0};
        std::atomic<int> called{0};
        int guarded = 0;  // written only by who holds advisory lock 7
        int locked = 0;   // how often the lock was taken; written in the same way
    };

    WORKER(SHARED& shared, int thread)
        : m_shared(shared), m_ticket(shared.ticket), m_thread(thread), m_random(static_cast<unsigned int>(thread)) {
        m_key = "own/t" + std::to_string(thread);
        m_merged = "merged/t" + std::to_string(thread) + "/";
    }

    void Run(int rounds) {
        using STEP = void (WORKER::*)();
        constexpr STEP STEPS[] = {&WORKER::Count,  &WORKER::Count, &WORKER::Text,    &WORKER::Pair,
                                  &WORKER::Append, &WORKER::Walk,  &WORKER::MergeIn, &WORKER::MergeOut,
                                  &WORKER::Save,   &WORKER::Drop,  &WORKER::Notify,  &WORKER::Lock};
        for (m_round = 0; m_round < rounds; ++m_round) (this->*STEPS[m_random() % std::size(STEPS)])();
    }

    void ExpectWhatItWrote() const {
        EXPECT_EQ(GetInt(m_ticket, m_key.c_str()).value_or(0), m_count);
        EXPECT_EQ(Of(m_thread, Elements(m_ticket, "list")), m_appended);
        EXPECT_EQ(GetInt(m_ticket, (m_merged + "x").c_str()).value_or(0), m_lastMerged);
    }

 private:
    void Count() {
        EXPECT_EQ(Set(m_ticket, m_key.c_str(), ++m_count), 1);
        EXPECT_EQ(GetInt(m_ticket, m_key.c_str()), m_count);
    }
    void Text() {
        EXPECT_EQ(Set(m_ticket, "text", TextOf(m_thread, m_round).c_str()), 1);
        uint64_t count = 0;
        EXPECT_EQ(m_ticket->GetParameter(m_ticket->pTicket, "text", PARAM_VECTOR, &count, SCALAR_INDEX), 1);
        EXPECT_EQ(count, 1u);
    }
    void Pair() {
        EXPECT_EQ(SetPair(m_ticket, m_thread * PER_THREAD + m_round), 1);
        EXPECT_TRUE(GetPair(m_ticket).IsWhole());
    }
    void Append() {
        m_appended.push_back(m_thread * PER_THREAD + static_cast<int>(m_appended.size()));
        EXPECT_EQ(Set(m_ticket, "list", m_appended.back(), APPEND_INDEX), 1);
    }
    void Walk() {
        WALKED const walked = ::Walk(m_ticket);
        EXPECT_TRUE(walked.ascends);
        EXPECT_TRUE(walked.pair.IsWhole());
    }
    void MergeIn() {
        OWNER const source;
        Set(source, (m_merged + "x").c_str(), m_round + 1);
        Set(source, "not selected", 1);
        std::string const prefix = m_merged + "*";
        char const* const keys[] = {prefix.c_str(), nullptr};
        EXPECT_EQ(m_ticket->MergeTicket(m_ticket->pTicket, source, keys, false), 1);
        m_lastMerged = m_round + 1;
        EXPECT_EQ(GetInt(m_ticket, "not selected"), std::nullopt);
    }
    void MergeOut() {
        OWNER const target;
        Set(m_ticket, m_key.c_str(), ++m_count);
        EXPECT_EQ(target->MergeTicket(target->pTicket, m_ticket, nullptr, true), 1);
        EXPECT_TRUE(GetPair(target).IsWhole());
        EXPECT_EQ(GetInt(target, m_key.c_str()), m_count);
    }
    void Save() { EXPECT_EQ(Operate(m_ticket, STICKET_OP_SAVE), 1); }
    void Drop() {
        EXPECT_EQ(Operate(m_ticket, STICKET_OP_RELEASE), 1);
        unsigned int calls = 41;
        EXPECT_EQ(Operate(m_ticket, STICKET_OP_INCREMENT, &calls), 1);
        EXPECT_EQ(calls, 42u);
    }
    void Notify() {
        auto const called = [](void* shared) { ++static_cast<SHARED*>(shared)->called; };
        EXPECT_TRUE(m_ticket->QueueAfterNotification(m_ticket->pTicket, called, &m_shared));
        ++m_shared.queued;
        EXPECT_EQ(m_ticket->EnDisNotification(m_ticket->pTicket, -2, false, nullptr), 1);
    }
    void Lock() {
        int owner = m_thread;
        if (!m_ticket->Lock(m_ticket->pTicket, 7, &owner, true)) {
            EXPECT_NE(owner, m_thread);
            return;
        }
        EXPECT_EQ(m_shared.guarded++, 0);
        ++m_shared.locked;
        EXPECT_EQ(--m_shared.guarded, 0);
        EXPECT_EQ(m_ticket->Lock(m_ticket->pTicket, 7, &owner, false), 1);
        EXPECT_EQ(owner, -1);
    }

    SHARED& m_shared;
    STICKET_ACCESS const* m_ticket;
    int m_thread;
    std::mt19937 m_random;
    std::string m_key;
    std::string m_merged;
    int m_round = 0;
    int m_count = 0;
    int m_lastMerged = 0;
    std::vector<int> m_appended;
};

}  // namespace

TEST_P(TicketThreads, MixedWorkKeepsWhatEachThreadWroteAndLocksAndCallsBackExactlyOnce) {
    WORKER::SHARED shared{m_ticket};
    std::vector<WORKER> workers;
    for (int thread = 0; thread < THREADS; ++thread) workers.emplace_back(shared, thread);
    Together(THREADS,
             [&](int thread) { workers[static_cast<std::size_t>(thread)].Run(IsFile() || SANITIZED ? 300 : 2000); });
    Set(m_ticket, "last", 1);  // runs the callbacks that were queued after the last change
    EXPECT_GT(shared.queued, 0);
    EXPECT_EQ(shared.called, shared.queued);
    EXPECT_GT(shared.locked, 0);
    for (WORKER const& worker : workers) worker.ExpectWhatItWrote();
    SaveAndDrop();
    for (WORKER const& worker : workers) worker.ExpectWhatItWrote();
    EXPECT_EQ(files::Names(m_scratch).size(), IsFile() ? 1u : 0u);
}

TEST_P(TicketThreads, ValuesAppendedToOneVectorAreAllThereInTheOrderOfTheirThread) {
    constexpr int EACH = SANITIZED ? 2000 : 5000;
    Together(THREADS, [&](int thread) {
        for (int i = 0; i < EACH; ++i) {
            EXPECT_EQ(Set(m_ticket, "list", thread * PER_THREAD + i, APPEND_INDEX), 1);
            if (i % 1000 == thread) SaveAndDrop();
        }
    });
    std::vector<int> const elements = Elements(m_ticket, "list");
    EXPECT_EQ(elements.size(), static_cast<std::size_t>(THREADS * EACH));
    for (int thread = 0; thread < THREADS; ++thread) {
        std::vector<int> expected;
        for (int i = 0; i < EACH; ++i) expected.push_back(thread * PER_THREAD + i);
        EXPECT_EQ(Of(thread, elements), expected) << "thread " << thread;
    }
    SaveAndDrop();
    EXPECT_EQ(Elements(m_ticket, "list"), elements);
}

TEST_P(TicketThreads, ValuesAppendedByOneBatchStandSideBySide) {
    constexpr int BATCHES = 2000;
    constexpr int LENGTH = 4;
    Together(THREADS, [&](int thread) {
        for (int batch = 0; batch < BATCHES; ++batch) {
            int values[LENGTH];
            SETMULTIPAR records[LENGTH + 1] = {};
            for (int i = 0; i < LENGTH; ++i) {
                values[i] = thread * PER_THREAD + batch * LENGTH + i;
                records[i] = {"list", PARAM_INT, &values[i], APPEND_INDEX, false};
            }
            EXPECT_EQ(m_ticket->SetMultiParameter(m_ticket->pTicket, records), 1);
            EXPECT_TRUE(AllMultiParameterOk(records));
        }
    });
    std::vector<int> const elements = Elements(m_ticket, "list");
    ASSERT_EQ(elements.size(), static_cast<std::size_t>(THREADS * BATCHES * LENGTH));
    for (std::size_t i = 0; i < elements.size(); ++i)
        EXPECT_EQ(elements[i], elements[i - i % LENGTH] + static_cast<int>(i % LENGTH)) << i;
}

TEST_P(TicketThreads, PairsOfOneBatchAreNeverReadApart) {
    constexpr int ROUNDS = SANITIZED ? 1000 : 5000;
    SetPair(m_ticket, 0);
    std::atomic<int> differing{0};
    // No thread stops before all have done their rounds and the readers have seen the pair change.
    std::atomic<int> unfinished{THREADS};
    auto const goesOn = [&](int round) {
        return round <= ROUNDS || unfinished > 0 || (differing <= THREADS && round < 1000 * ROUNDS);
    };
    Together(THREADS, [&](int thread) {
        int last = -1;
        for (int i = 1; goesOn(i); ++i) {
            if (i == ROUNDS) --unfinished;
            if (thread < 3) {
                EXPECT_EQ(SetPair(m_ticket, thread * PER_THREAD + i), 1);
            } else if (thread == 3) {
                Operate(m_ticket, i % 20 == 0    ? STICKET_OP_CLEAR
                                  : i % 20 == 10 ? STICKET_OP_RELEASE
                                                 : STICKET_OP_WHOAMI);
            } else {
                PAIR const pair = thread < 7 ? GetPair(m_ticket) : Walk(m_ticket).pair;
                EXPECT_TRUE(pair.IsWhole()) << pair.value[0] << " and " << pair.value[1];
                if (pair.found[0]) differing += pair.value[0] != std::exchange(last, pair.value[0]);
            }
        }
    });
    EXPECT_GT(differing, THREADS);
}

INSTANTIATE_TEST_SUITE_P(, TicketThreads, testing::Values(KIND::MEMORY, KIND::FILE),
                         [](auto const& kind) { return kind.param == KIND::MEMORY ? "Memory" : "File"; });

// A text that was read from a file ticket stays valid and unchanged as long as the ticket lives.
TEST(FileTicketThreads, TextsThatWereReadStayWholeWhileOthersReplaceThem) {
    SCRATCH_DIRECTORY const scratch;
    OWNER const ticket(scratch.Path("t.xml").c_str());
    Set(ticket, "text", TextOf(0, 0).c_str());
    Together(THREADS, [&](int thread) {
        std::vector<char const*> read;
        for (int i = 0; i < 1000; ++i) {
            EXPECT_EQ(Set(ticket, "text", TextOf(thread, i).c_str()), 1);
            char const* text = nullptr;
            ASSERT_EQ(ticket->GetParameter(ticket->pTicket, "text", PARAM_STRING, &text, SCALAR_INDEX), 1);
            read.push_back(text);
            if (i % 100 == thread) Operate(ticket, STICKET_OP_RELEASE);
        }
        for (std::string const text : read) {
            ASSERT_GE(text.size(), 20u);
            EXPECT_EQ(text, std::string(text.size(), text[0]));
        }
    });
}
