// Tickets on a system that fails: no memory, no mutex.
#include <gtest/gtest.h>

#include <algorithm>
#include <cerrno>
#include <filesystem>
#include <new>
#include <set>
#include <string>
#include <vector>

#include "ConfigurationControl/MultiPar.h"
#include "ConfigurationControl/MultiParList.h"
#include "ConfigurationControl/PartialMode.h"
#include "ConfigurationControl/TicketServices.h"
#include "support/FailingAllocations.h"
#include "support/FailingMutex.h"
#include "support/FileTickets.h"
#include "support/ScratchDirectory.h"
#include "support/Tickets.h"

namespace {

using namespace std::string_literals;
using tickets::LINES;
using tickets::OPEN_TICKET;
using tickets::OWNER;

char const LONG_KEY[] = "a key that is too long for the small buffer of a string";
char const LONG_TEXT[] = "a text that is too long for the small buffer of a string";

// Runs `action` with 0, 1, 2… successful allocations until it succeeds, and calls `expect` after each attempt to check
// the state. Returns the number of allocations that `action` needs.
template <typename ACTION, typename EXPECT>
int StarveUntilSuccess(ACTION const& action, EXPECT const& expect) {
    for (int granted = 0; granted < 1000; ++granted) {
        bool const done = allocations::With(granted, action);
        if (done) return granted;
        expect();
    }
    ADD_FAILURE() << "never succeeds";
    return 0;
}

TEST(TicketWithoutMemory, CannotBeCreated) {
    for (char const* name : {static_cast<char const*>(nullptr), LONG_TEXT}) {
        STICKET_ACCESS const* access = nullptr;
        auto const create = [&] {
            try {
                access = STICKET::Create(name);
                return true;
            } catch (std::bad_alloc const&) {
                return false;
            }
        };
        EXPECT_GT(StarveUntilSuccess(create, [] {}), 0);
        STICKET::Destroy(access);
    }
}

TEST(TicketWithoutMemory, RefusesASetAndKeepsItsRegistrations) {
    OPEN_TICKET ticket;
    STICKET_ACCESS const* const access = ticket.GetInterface();
    ticket.Register(1, {LONG_KEY});
    auto const unchanged = [&] {
        EXPECT_EQ(tickets::Contents(access), LINES{});
        EXPECT_EQ(ticket.Registered(), std::vector<int>{1});
    };
    EXPECT_GT(StarveUntilSuccess([&] { return tickets::Set(access, LONG_KEY, LONG_TEXT); }, unchanged), 0);
    EXPECT_EQ(tickets::GetText(access, LONG_KEY), LONG_TEXT);
    EXPECT_EQ(ticket.Registered(), std::vector<int>{});
}

TEST(TicketWithoutMemory, RefusesABatchOrStoresNothingOfIt) {
    OPEN_TICKET ticket;
    STICKET_ACCESS const* const access = ticket.GetInterface();
    ticket.Register(1, {LONG_KEY});
    SETMULTIPAR records[] = {{LONG_KEY, PARAM_STRING, LONG_TEXT, SCALAR_INDEX, false}, {}};
    auto const set = [&] { return access->SetMultiParameter(access->pTicket, records) && records[0].result; };
    auto const unchanged = [&] {
        EXPECT_EQ(tickets::Contents(access), LINES{});
        EXPECT_EQ(ticket.Registered(), std::vector<int>{1});
    };
    EXPECT_GT(StarveUntilSuccess(set, unchanged), 0);
    EXPECT_EQ(ticket.Registered(), std::vector<int>{});
}

TEST(TicketWithoutMemory, AnswersABatchAndTellsThoseWhoWatchWhatItStored) {
    OPEN_TICKET ticket;
    STICKET_ACCESS const* const access = ticket.GetInterface();
    BIN_STRING const endless{LONG_TEXT, uint64_t{1} << 62};
    SETMULTIPAR records[] = {{"a", PARAM_STRING, LONG_TEXT, SCALAR_INDEX, false},
                             {"b", PARAM_BINSTR, &endless, SCALAR_INDEX, true},
                             {"c", PARAM_STRING, LONG_TEXT, SCALAR_INDEX, false},
                             {}};
    ticket.Register(1, {"a"});
    ticket.Register(2, {"b"});
    ticket.Register(3, {"c"});
    int calls = 0;
    access->QueueAfterNotification(
        access->pTicket, [](void* count) { ++*static_cast<int*>(count); }, &calls);
    EXPECT_EQ(access->SetMultiParameter(access->pTicket, records), 1);
    EXPECT_TRUE(records[0].result && !records[1].result && records[2].result);
    EXPECT_EQ(ticket.Registered(), std::vector<int>{2});
    EXPECT_EQ(calls, 1);
}

// However little memory there is: the answer is 1, and each result says whether its value is there.
TEST(TicketWithoutMemory, AnswersABatchWhateverItCouldStore) {
    SETMULTIPAR records[] = {{"a", PARAM_STRING, LONG_TEXT, SCALAR_INDEX, false},
                             {LONG_KEY, PARAM_STRING, LONG_TEXT, SCALAR_INDEX, false},
                             {}};
    int granted = 0;
    for (bool done = false; granted < 1000 && !done; ++granted) {
        OWNER const ticket;
        for (SETMULTIPAR& record : records) record.result = true;
        EXPECT_EQ(allocations::With(granted, [&] { return ticket->SetMultiParameter(ticket->pTicket, records); }), 1);
        for (SETMULTIPAR const* record = records; record->key; ++record) {
            EXPECT_EQ(record->result, tickets::GetText(ticket, record->key) == LONG_TEXT) << granted;
        }
        done = AllMultiParameterOk(records);
    }
    EXPECT_GT(granted, 5);
}

TEST(TicketWithoutMemory, QueuesNoCallback) {
    OWNER const ticket;
    static int calls = 0;
    auto const queue = [&] {
        return ticket->QueueAfterNotification(
            ticket->pTicket, [](void*) { ++calls; }, nullptr);
    };
    EXPECT_EQ(StarveUntilSuccess(queue, [] {}), 1);
    tickets::Set(ticket, "a", 1);
    EXPECT_EQ(calls, 1);
}

TEST(TicketWithoutMemory, MergesNothingUntilEverythingIsCollected) {
    OWNER const source;
    OWNER const target;
    tickets::Set(source, LONG_KEY, LONG_TEXT);
    tickets::Set(source, "real", 0.5);
    tickets::Set(target, "old", 1);
    auto const merge = [&] {
        // A merge that has collected everything answers 1, whatever its batch could store.
        return target->MergeTicket(target->pTicket, source, nullptr, false) && allocations::t_failed == 0;
    };
    EXPECT_GT(StarveUntilSuccess(merge, [&] { EXPECT_EQ(tickets::GetInt(target, "old"), 1); }), 5);
    EXPECT_EQ(tickets::Count(target), 3u);
}

TEST(TicketWithoutMemory, EndsWithTheOldFileUntilTheNewOneCanBeWritten) {
    SCRATCH_DIRECTORY const scratch;
    std::string const file = scratch.Path("t.xml");
    std::string const old = tickets::Document({"<a type=\"string\">old</a>"});
    std::string const changed = tickets::Document({("<a type=\"string\">"s + LONG_TEXT + "</a>").c_str()});
    files::Write(file, old);
    int granted = 0;
    for (; granted < 1000 && FileContent(file) == old; ++granted) {
        STICKET_ACCESS const* ticket = STICKET::Create(file.c_str());
        ASSERT_EQ(tickets::Set(ticket, "a", LONG_TEXT), 1);
        allocations::With(granted, [&] { STICKET::Destroy(ticket); });
        EXPECT_EQ(files::Names(scratch), std::set<std::string>{"t.xml"});
    }
    EXPECT_EQ(FileContent(file), changed);
    EXPECT_GT(granted, 1);
}

TEST(TicketWithoutMemory, TellsThatASaveRanOutOfIt) {
    SCRATCH_DIRECTORY const scratch;
    OWNER const ticket(scratch.Path("t.xml").c_str());
    tickets::Set(ticket, LONG_KEY, LONG_TEXT);
    auto const expectMemory = [&] {
        TICKET_SAVE_OUTCOME outcome{sizeof outcome, 99, 99, 99};
        EXPECT_EQ(TicketGetSaveOutcome(ticket, &outcome), 1);
        EXPECT_EQ(outcome.nStep, uint32_t{TICKET_SAVE_MEMORY});
        EXPECT_EQ(outcome.nError, ENOMEM);
        EXPECT_EQ(outcome.nNote, 0u);
    };
    EXPECT_GT(StarveUntilSuccess([&] { return tickets::Operate(ticket, STICKET_OP_SAVE); }, expectMemory), 0);
}

TEST(TicketWithoutMemory, KeepsWhatCouldNotBeReadWhereverASaveFailed) {
    SCRATCH_DIRECTORY const scratch;
    std::string const file = scratch.Path("t.xml");
    std::string const broken = "<ticket><a>";
    std::set<std::string> const saved = {"t.xml", "t.xml.unreadable"};
    bool done = false;
    for (int granted = 0; granted < 1000 && !done; ++granted) {
        std::filesystem::remove(file + ".unreadable");
        files::Write(file, broken);
        OWNER const ticket(file.c_str());
        ASSERT_EQ(tickets::Set(ticket, "a", 1), 1);
        auto const save = [&] { return tickets::Operate(ticket, STICKET_OP_SAVE); };
        done = allocations::With(granted, save);
        std::set<std::string> const names = files::Names(scratch);
        EXPECT_TRUE(std::includes(saved.begin(), saved.end(), names.begin(), names.end())) << granted;
        EXPECT_EQ(save(), 1);
        EXPECT_EQ(FileContent(file), tickets::Document({"<a type=\"int\">1</a>"}));
        EXPECT_EQ(FileContent(file + ".unreadable"), broken) << granted;
    }
    EXPECT_TRUE(done);
}

// A batch with a key of a partial tree. The tree is dropped before the whole file is loaded.
class BatchWithoutMemory : public testing::Test {
 protected:
    // Runs `access(ticket, records)`, where the second key is KEY and lies in the tree itself. `expect(ticket, records,
    // done)` checks the results, which were set to true before.
    template <typename RECORD, typename ACCESS, typename EXPECT>
    void StarveUntilSuccess(RECORD const& first, RECORD second, ACCESS const& access, EXPECT const& expect) {
        bool done = false;
        int granted = 0;
        for (; granted < 1000 && !done; ++granted) {
            SCOPED_TRACE(granted);
            files::Write(m_file, m_content);
            OWNER const ticket(m_file.c_str());
            ASSERT_EQ(tickets::SetPartialKeys(ticket, {"p"}), 1);
            BIN_STRING key{};
            ASSERT_EQ(ticket->GetParameter(ticket->pTicket, "p", PARAM_BINSTR, &key, SCALAR_INDEX), 1);
            second.key = static_cast<char const*>(key.data);
            RECORD records[] = {first, second, {}};
            records[0].result = records[1].result = true;
            done = allocations::With(granted, [&] { return access(ticket, records) && AllMultiParameterOk(records); });
            expect(ticket, records, done);
        }
        EXPECT_TRUE(done);
        EXPECT_GT(granted, 5);
    }

    static constexpr char const* KEY = "a_key_that_is_too_long_for_the_small_buffer";

    SCRATCH_DIRECTORY const m_scratch;
    std::string const m_file = m_scratch.Path("t.xml");
    std::string const m_content = tickets::Document(
        {("<p type=\"string\">"s + KEY + "</p>").c_str(), ("<"s + KEY + " type=\"string\">1</" + KEY + ">").c_str()});
};

TEST_F(BatchWithoutMemory, IsReadWithFalseResultsThoughItsKeysAreGone) {
    char const* texts[2];
    StarveUntilSuccess(
        GETMULTIPAR{"p", PARAM_STRING, &texts[0], SCALAR_INDEX, false},
        GETMULTIPAR{nullptr, PARAM_STRING, &texts[1], SCALAR_INDEX, false},
        [](STICKET_ACCESS const* ticket, GETMULTIPAR* records) {
            return ticket->GetMultiParameter(ticket->pTicket, records);
        },
        [](STICKET_ACCESS const*, GETMULTIPAR const* records, bool done) {
            EXPECT_EQ(records[0].result, done);
            EXPECT_EQ(records[1].result, done);
        });
}

TEST_F(BatchWithoutMemory, TellsWhatItHasStoredThoughItsKeysAreGone) {
    StarveUntilSuccess(
        SETMULTIPAR{LONG_KEY, PARAM_STRING, LONG_TEXT, SCALAR_INDEX, false},
        SETMULTIPAR{nullptr, PARAM_STRING, LONG_TEXT, SCALAR_INDEX, false},
        [](STICKET_ACCESS const* ticket, SETMULTIPAR* records) {
            return ticket->SetMultiParameter(ticket->pTicket, records);
        },
        [](STICKET_ACCESS const* ticket, SETMULTIPAR const* records, bool done) {
            EXPECT_EQ(records[0].result && records[1].result, done);
            EXPECT_EQ(records[0].result, tickets::GetText(ticket, LONG_KEY) == LONG_TEXT);
            EXPECT_EQ(records[1].result, tickets::GetText(ticket, KEY) == LONG_TEXT);
        });
}

TEST(TicketWithoutMemory, FailsToFlushAsAlways) {
    OPEN_TICKET ticket;
    STICKET_ACCESS const* const access = ticket.GetInterface();
    tickets::Set(access, LONG_KEY, LONG_TEXT);
    ticket.Register(1, {LONG_KEY, "a prefix that is rather long/*"});
    for (int granted = 0; granted < 40; ++granted) {
        int number = 1;
        EXPECT_EQ(allocations::With(granted,
                                    [&] { return tickets::Operate(access, STICKET_OP_FLUSH_NOTIFICATION, &number); }),
                  0);
    }
}

TEST(ListWithoutMemory, KnowsNoKeyThatWasNotAdded) {
    int granted = 0;
    for (bool added = false; !added && granted < 100; ++granted) {
        SETMULTIPAR_LIST list(true);
        try {
            added = allocations::With(
                granted, [&] { return list.xSetParameter(LONG_KEY, PARAM_STRING, LONG_TEXT, SCALAR_INDEX); });
        } catch (std::bad_alloc const&) {
        }
        EXPECT_EQ(list.ParameterExists(LONG_KEY), added) << granted;
    }
    EXPECT_GT(granted, 2);
}

TEST(ListWithoutMemory, AddsNeitherTheDeletionNorAnElementOfAVector) {
    std::vector<std::string> const texts{LONG_TEXT, "2", "3", "4", "5"};
    int granted = 0;
    for (bool added = false; !added && granted < 100; ++granted) {
        SETMULTIPAR_LIST list;
        list.xSetParameter("before", PARAM_STRING, "", SCALAR_INDEX);
        SETMULTIPAR const* const table = list.Table(false);
        try {
            added = allocations::With(
                granted, [&] { return list.SetVectorParameter(LONG_KEY, texts); }, 1);
        } catch (std::bad_alloc const&) {
            EXPECT_EQ(list.Table(false), table) << "discarded at " << granted;
        }
        EXPECT_EQ(list.Size(), added ? 7U : 1U) << granted;
        EXPECT_EQ(list.ParameterExists(LONG_KEY), added) << granted;
    }
    EXPECT_GT(granted, 2);
}

TEST(SelectionWithoutMemory, KeepsThePrefixThatWasToGiveWay) {
    std::string const shorter = "a prefix that is rather long/";
    STRINGPREFIXSET prefixes;
    prefixes.insert(shorter + "and longer/");
    EXPECT_THROW(allocations::With(0, [&] { prefixes.insert(shorter); }), std::bad_alloc);
    EXPECT_TRUE(prefixes.Covers(shorter + "and longer/x"));
    prefixes.insert(shorter);
    EXPECT_TRUE(prefixes.Covers(shorter + "x"));
}

TEST(TicketWithoutMutex, CannotBeCreatedAndSaysSo) {
    for (char const* name : {static_cast<char const*>(nullptr), LONG_TEXT}) {
        std::string thrown;
        mutexes::g_initFails = true;
        try {
            STICKET::Create(name);
        } catch (char const* text) {
            thrown = text;
        }
        mutexes::g_initFails = false;
        EXPECT_EQ(thrown, "MUTEX_INSTANCE: pthread_mutex_init fail");
    }
}

TEST(TicketWithoutMutex, AnswersZeroWhileTheMutexCannotBeLocked) {
    OPEN_TICKET ticket;
    STICKET_ACCESS const* const access = ticket.GetInterface();
    ticket.Register(1, {});
    mutexes::g_failing = &ticket.GetMutexInstance().mutex;
    int owner = 1;
    unsigned int count = 0;
    EXPECT_EQ(tickets::Set(access, "a", 1), 0);
    EXPECT_EQ(tickets::GetInt(access, "a"), std::nullopt);
    EXPECT_EQ(tickets::Operate(access, STICKET_OP_COUNT, &count), 0);
    EXPECT_EQ(access->Lock(access->pTicket, 0, &owner, true), 0);
    EXPECT_EQ(access->EnDisNotification(access->pTicket, -2, false, nullptr), 0);
    EXPECT_FALSE(access->QueueAfterNotification(
        access->pTicket, [](void*) {}, nullptr));
    EXPECT_THROW(ticket.AfterNotification(), char const*);
    mutexes::g_failing = nullptr;
    EXPECT_EQ(tickets::Set(access, "a", 1), 1) << "and works again afterwards";
}

}  // namespace
