// The memory ticket through its table: argument checks and locking of every entry, operation codes, mutex,
// threads.
#include <gtest/gtest.h>
#include <pthread.h>

#include <atomic>
#include <cstring>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "support/Misaligned.h"
#include "support/Threads.h"
#include "support/Tickets.h"

namespace {

using tickets::LINES;
using tickets::OPEN_TICKET;
using tickets::Operate;
using tickets::OWNER;

// Calls every locking entry with arguments that succeed on a valid ticket; returns the results in the table's order.
std::vector<int> CallEveryEntry(STICKET_ACCESS const* table, STICKET* ticket) {
    GETMULTIPAR reads[] = {{}};
    SETMULTIPAR writes[] = {{}};
    int owner = 1;
    return {
        table->SetParameter(ticket, "a", PARAM_STRING, "text", SCALAR_INDEX),
        table->GetParameter(ticket, "a", PARAM_STRING, nullptr, SCALAR_INDEX),
        table->GetMultiParameter(ticket, reads),
        table->WalkParameter(
            ticket, [](void*, char const*, PARAM_TYPE, void const*, int) { return true; }, nullptr, "", WALK_KEYS),
        table->SetMultiParameter(ticket, writes),
        table->MergeTicket(ticket, table, nullptr, false),
        table->Operation(ticket, STICKET_OP_SAVE, nullptr),
        table->Lock(ticket, 0, &owner, true),
        table->EnDisNotification(ticket, -2, false, nullptr),
        table->QueueAfterNotification(
            ticket, [](void*) {}, nullptr),
    };
}

TEST(MemoryTicket, EveryEntryAnswersOneOnSuccess) {
    OWNER const ticket;
    EXPECT_EQ(CallEveryEntry(ticket, ticket->pTicket), std::vector<int>(10, 1));
}

TEST(MemoryTicket, EveryEntryAnswersZeroForANullTicket) {
    OWNER const ticket;
    EXPECT_EQ(CallEveryEntry(ticket, nullptr), std::vector<int>(10, 0));
    EXPECT_EQ(tickets::Contents(ticket), LINES{});
}

TEST(MemoryTicket, EveryEntryAnswersZeroWhenTheMutexIsMissing) {
    OWNER const server;
    OWNER const ticket(STICKET::PCreate({server->pTicket, 3, 4, nullptr, nullptr}));
    EXPECT_EQ(CallEveryEntry(ticket, ticket->pTicket), std::vector<int>(10, 0));
}

TEST(MemoryTicket, SaysWhichMutexIsMissing) {
    OPEN_TICKET server;
    OPEN_TICKET ticket({&server, 3, 4, nullptr, nullptr});
    try {
        ticket.GetMutexInstance();
        FAIL();
    } catch (char const* text) {
        EXPECT_STREQ(text, "STICKET::GetMutexInstance !WhoAmI.pMutex");
    }
}

TEST(MemoryTicket, WithoutAServerHasAMutexOfItsOwnWhateverTheCallerPassed) {
    OPEN_TICKET other;
    OPEN_TICKET ticket({nullptr, -2, -2, nullptr, &other.GetMutexInstance()});
    EXPECT_NE(&ticket.GetMutexInstance(), &other.GetMutexInstance());
    EXPECT_EQ(tickets::Set(ticket.GetInterface(), "a", 1), 1);
}

TEST(MemoryTicket, WithAServerUsesTheMutexItWasGiven) {
    OPEN_TICKET server;
    {
        OPEN_TICKET ticket({&server, -2, -2, nullptr, &server.GetMutexInstance()});
        EXPECT_EQ(&ticket.GetMutexInstance(), &server.GetMutexInstance());
        EXPECT_EQ(tickets::Set(ticket.GetInterface(), "a", 1), 1);
    }
    EXPECT_EQ(tickets::Set(server.GetInterface(), "a", 1), 1) << "the mutex was not the served ticket's to free";
}

TEST(MemoryTicket, GivesBackWhatWasStored) {
    OWNER const ticket;
    int target = 0;
    double const real = 2.5;
    int64_t const big = INT64_MIN;
    uint64_t const huge = UINT64_MAX;
    uint32_t const natural = 4000000000u;
    BIN_STRING const bytes{"a\0b", 3};
    auto const set = [&](char const* key, PARAM_TYPE type, void const* value) {
        return ticket->SetParameter(ticket->pTicket, key, type, value, SCALAR_INDEX);
    };
    EXPECT_EQ(set("1", PARAM_POINTER, &target), 1);
    EXPECT_EQ(tickets::Set(ticket, "2", -17), 1);
    EXPECT_EQ(set("3", PARAM_DOUBLE, &real), 1);
    EXPECT_EQ(set("4", PARAM_STRING, "text"), 1);
    EXPECT_EQ(set("5", PARAM_BINSTR, &bytes), 1);
    EXPECT_EQ(tickets::Set(ticket, "6", 1, APPEND_INDEX), 1);
    EXPECT_EQ(tickets::Set(ticket, "6", "b", APPEND_INDEX), 1);
    EXPECT_EQ(set("7", PARAM_INT64, &big), 1);
    EXPECT_EQ(set("8", PARAM_UNSIGNED, &natural), 1);
    EXPECT_EQ(set("9", PARAM_UINT64, &huge), 1);

    LINES const expected = {"1 1 " + std::to_string(reinterpret_cast<uintptr_t>(&target)),
                            "2 2 -17",
                            "3 3 2.500000",
                            "4 4 text",
                            std::string("5 5 a\0b", 7),
                            "6[0] 2 1",
                            "6[1] 4 b",
                            "7 7 -9223372036854775808",
                            "8 2 -2147483648",
                            "9 9 18446744073709551615"};
    EXPECT_EQ(tickets::Contents(ticket), expected);
    EXPECT_EQ(tickets::Count(ticket), 10u);
}

TEST(MemoryTicket, ReadsAndWritesBatches) {
    OWNER const ticket;
    int one = 1;
    SETMULTIPAR writes[] = {{"a", PARAM_INT, &one, SCALAR_INDEX, false},
                            {"b", PARAM_INT, nullptr, SCALAR_INDEX, true},
                            {"c", PARAM_STRING, "text", SCALAR_INDEX, false},
                            {}};
    EXPECT_EQ(ticket->SetMultiParameter(ticket->pTicket, writes), 1);
    EXPECT_TRUE(writes[0].result && !writes[1].result && writes[2].result);

    int number = 0;
    char const* text = nullptr;
    GETMULTIPAR reads[] = {{"a", PARAM_INT, &number, SCALAR_INDEX, false},
                           {"b", PARAM_INT, &one, SCALAR_INDEX, true},
                           {"c", PARAM_STRING, &text, SCALAR_INDEX, false},
                           {}};
    EXPECT_EQ(ticket->GetMultiParameter(ticket->pTicket, reads), 1);
    EXPECT_TRUE(reads[0].result && !reads[1].result && reads[2].result);
    EXPECT_EQ(number, 1);
    EXPECT_STREQ(text, "text");
    EXPECT_EQ(ticket->GetMultiParameter(ticket->pTicket, nullptr), 0);
    EXPECT_EQ(ticket->SetMultiParameter(ticket->pTicket, nullptr), 0);
}

// The array lies at an address that nobody may read.
TEST(MemoryTicket, WithoutATicketABatchIsNotEvenLookedAt) {
    OWNER const ticket;
    auto const unreadable = static_cast<std::uintptr_t>(16);
    EXPECT_EQ(ticket->GetMultiParameter(nullptr, reinterpret_cast<GETMULTIPAR*>(unreadable)), 0);
    EXPECT_EQ(ticket->SetMultiParameter(nullptr, reinterpret_cast<SETMULTIPAR*>(unreadable)), 0);
    SETMULTIPAR writes[] = {{"a", PARAM_STRING, "text", SCALAR_INDEX, true}, {}};
    EXPECT_EQ(ticket->SetMultiParameter(nullptr, writes), 0);
    EXPECT_TRUE(writes[0].result);
}

TEST(MemoryTicket, RefusesTypesThatDoNotExist) {
    OWNER const ticket;
    tickets::Set(ticket, "a", 1);
    for (uint32_t const type : {10u, 12u, 100u, UINT32_MAX}) {
        auto const bad = static_cast<PARAM_TYPE>(type);
        int untouched = 77;
        EXPECT_EQ(ticket->GetParameter(ticket->pTicket, "a", bad, &untouched, SCALAR_INDEX), 0);
        EXPECT_EQ(untouched, 77);
        EXPECT_EQ(ticket->GetParameter(ticket->pTicket, "a", bad, nullptr, SCALAR_INDEX), 1) << "an existence test";
        EXPECT_EQ(ticket->SetParameter(ticket->pTicket, "a", bad, &untouched, SCALAR_INDEX), 0);
    }
    EXPECT_EQ(tickets::Contents(ticket), LINES{"a 2 1"});
}

TEST(MemoryTicket, AWalkThatIsStoppedStillSucceedsAndOneWithoutCallbackFails) {
    OWNER const ticket;
    tickets::Set(ticket, "a", 1);
    tickets::Set(ticket, "b", 1);
    int calls = 0;
    auto const stop = [](void* count, char const*, PARAM_TYPE, void const*, int) {
        ++*static_cast<int*>(count);
        return false;
    };
    EXPECT_EQ(ticket->WalkParameter(ticket->pTicket, stop, &calls, "b", WALK_EVERYTHING), 1);
    EXPECT_EQ(calls, 1) << "the prefix selects nothing";
    EXPECT_EQ(ticket->WalkParameter(ticket->pTicket, nullptr, nullptr, "", WALK_EVERYTHING), 0);
}

TEST(MemoryTicket, AnExceptionFromAWalkCallbackEndsInTheEntry) {
    OWNER const ticket;
    tickets::Set(ticket, "a", 1);
    auto const thrower = [](void*, char const*, PARAM_TYPE, void const*, int) -> bool { throw 17; };
    EXPECT_EQ(ticket->WalkParameter(ticket->pTicket, thrower, nullptr, "", WALK_EVERYTHING), 0);
    EXPECT_EQ(tickets::GetInt(ticket, "a"), 1) << "and the mutex is free again";
    std::thread([&] { EXPECT_EQ(tickets::GetInt(ticket, "a"), 1); }).join();
}

// Operation codes

TEST(MemoryTicketOperation, SavingReleasingAndKeyBookkeepingSucceedAndDoNothing) {
    OWNER const ticket;
    tickets::Set(ticket, "a", 1);
    int seconds = 0;
    char const* keys[] = {"b", nullptr};
    for (uint32_t const code : {0u, 1u, 3u}) {
        EXPECT_EQ(Operate(ticket, code), 1);
        EXPECT_EQ(Operate(ticket, code, code == 3 ? static_cast<void*>(keys) : &seconds), 1);
    }
    EXPECT_EQ(tickets::Contents(ticket), LINES{"a 2 1"});
}

TEST(MemoryTicketOperation, ClearingRemovesEveryParameter) {
    OWNER const ticket;
    tickets::Set(ticket, "a", 1);
    tickets::Set(ticket, "b", "text", APPEND_INDEX);
    EXPECT_EQ(Operate(ticket, STICKET_OP_CLEAR), 1);
    EXPECT_EQ(tickets::Contents(ticket), LINES{});
    EXPECT_EQ(Operate(ticket, STICKET_OP_CLEAR), 1);
}

TEST(MemoryTicketOperation, CountsTheValues) {
    OWNER const ticket;
    for (int i = 0; i < 3; ++i) tickets::Set(ticket, "vector", i, APPEND_INDEX);
    tickets::Set(ticket, "text", "x");
    tickets::Set(ticket, "refused", 1, 5);  // leaves an empty vector
    for (uint32_t const code : {4u, 5u}) {
        unsigned int count = 99;
        EXPECT_EQ(Operate(ticket, code, &count), 1);
        EXPECT_EQ(count, 4u);
        EXPECT_EQ(Operate(ticket, code), 0);
    }
}

TEST(MemoryTicketOperation, IncrementsTheCallersCounterByOne) {
    OWNER const ticket;
    unsigned int counter = 41;
    EXPECT_EQ(Operate(ticket, STICKET_OP_INCREMENT, &counter), 1);
    EXPECT_EQ(counter, 42u);
    counter = UINT32_MAX;
    EXPECT_EQ(Operate(ticket, STICKET_OP_INCREMENT, &counter), 1);
    EXPECT_EQ(counter, 0u);
    EXPECT_EQ(Operate(ticket, STICKET_OP_INCREMENT), 0);
}

TEST(MemoryTicketOperation, FailsForEveryOtherCode) {
    OWNER const ticket;
    tickets::Set(ticket, "a", 1);
    for (uint32_t const code : {6u, 8u, 9u, 13u, 100u, 0x80000000u, UINT32_MAX, uint32_t(-2)}) {
        int data[8] = {};
        EXPECT_EQ(Operate(ticket, code, data), 0) << code;
        EXPECT_EQ(Operate(ticket, code), 0) << code;
    }
    EXPECT_EQ(tickets::Contents(ticket), LINES{"a 2 1"});
}

TEST(MemoryTicketOperation, ReportsTheContext) {
    int context = 0;
    OWNER const ticket(STICKET::PCreate({nullptr, 1, 2, &context, nullptr}));
    void* slot = nullptr;
    EXPECT_EQ(Operate(ticket, STICKET_OP_CONTEXT, &slot), 1);
    EXPECT_EQ(slot, &context);
    EXPECT_EQ(Operate(ticket, STICKET_OP_CONTEXT), 0);
}

TEST(MemoryTicketOperation, ReportsTheIdentity) {
    OWNER const server;
    STICKET_OPTION_WHOAMI identity{server, 1, 1};
    EXPECT_EQ(Operate(server, STICKET_OP_WHOAMI, &identity), 1);
    EXPECT_EQ(identity.pServer, nullptr);
    EXPECT_EQ(identity.nIdA, -2);
    EXPECT_EQ(identity.nIdB, -2);
    EXPECT_EQ(Operate(server, STICKET_OP_WHOAMI), 0);

    SysLib::MUTEX_INSTANCE mutex;
    OWNER const ticket(STICKET::PCreate({server->pTicket, 3, 4, nullptr, &mutex}));
    EXPECT_EQ(Operate(ticket, STICKET_OP_WHOAMI, &identity), 1);
    EXPECT_EQ(identity.pServer, static_cast<STICKET_ACCESS const*>(server));
    EXPECT_EQ(identity.nIdA, 3);
    EXPECT_EQ(identity.nIdB, 4);
}

TEST(MemoryTicketOperation, HandsOutTheInstanceRecord) {
    OWNER const ticket;
    void* record = nullptr;
    EXPECT_EQ(Operate(ticket, STICKET_OP_INSTANCE, &record), 1);
    EXPECT_EQ(record, hSTicketInstance);
    EXPECT_EQ(Operate(ticket, STICKET_OP_INSTANCE), 0);
}

TEST(MemoryTicketOperation, TakesDataAtAnyAlignment) {
    OWNER const ticket;
    tickets::Set(ticket, "a", 1);
    MISALIGNED<unsigned int> number(41);
    EXPECT_EQ(Operate(ticket, STICKET_OP_INCREMENT, number.Address()), 1);
    EXPECT_EQ(number.Value(), 42u);
    EXPECT_EQ(Operate(ticket, STICKET_OP_FLUSH_NOTIFICATION, number.Address()), 0);
    EXPECT_EQ(Operate(ticket, STICKET_OP_COUNT, number.Address()), 1);
    EXPECT_EQ(number.Value(), 1u);
    MISALIGNED<STICKET_OPTION_WHOAMI> identity;
    EXPECT_EQ(Operate(ticket, STICKET_OP_WHOAMI, identity.Address()), 1);
    EXPECT_EQ(identity.Value().nIdB, -2);
    MISALIGNED<void*> record;
    EXPECT_EQ(Operate(ticket, STICKET_OP_INSTANCE, record.Address()), 1);
    EXPECT_EQ(record.Value(), hSTicketInstance);
}

TEST(MemoryTicket, LocksThroughItsTable) {
    OWNER const ticket;
    int first = 7;
    int second = 8;
    EXPECT_EQ(ticket->Lock(ticket->pTicket, 19, &first, true), 1);
    EXPECT_EQ(ticket->Lock(ticket->pTicket, 19, &second, true), 0);
    EXPECT_EQ(second, 7);
    EXPECT_EQ(ticket->Lock(ticket->pTicket, -2, &first, false), 1);
    EXPECT_EQ(first, -1);
    EXPECT_EQ(ticket->Lock(ticket->pTicket, 0, nullptr, true), 0);
    EXPECT_EQ(ticket->Lock(ticket->pTicket, 20, &first, true), 0);
}

TEST(MemoryTicket, KeepsNoLogButMayBeAskedTo) {
    OPEN_TICKET::Log(0, "STICKET_MEM::Lock(%d, %d, %d) catch(...)", 1, 2, 3);
    EXPECT_FALSE(OPEN_TICKET::IsLogged(0));
}

TEST(MemoryTicket, HasNoServingInterfaceOfItsOwn) {
    OWNER const ticket;
    EXPECT_EQ(ticket->pTicket->GetServerInterface(), nullptr);
    EXPECT_EQ(ticket->pTicket->GetInterface(), static_cast<STICKET_ACCESS const*>(ticket));
}

// Arguments may point into the ticket.

TEST(MemoryTicketAliasing, AValueMayPointIntoTheEntryItReplaces) {
    OWNER const ticket;
    tickets::Set(ticket, "a", std::string(100, 'x').c_str());
    char const* text = nullptr;
    ticket->GetParameter(ticket->pTicket, "a", PARAM_STRING, &text, SCALAR_INDEX);
    EXPECT_EQ(tickets::Set(ticket, "a", text + 40), 1);
    EXPECT_EQ(tickets::GetText(ticket, "a"), std::string(60, 'x'));

    ticket->GetParameter(ticket->pTicket, "a", PARAM_STRING, &text, SCALAR_INDEX);
    for (int i = 0; i < 20; ++i) {
        EXPECT_EQ(tickets::Set(ticket, "a", text, APPEND_INDEX), 1);
        ticket->GetParameter(ticket->pTicket, "a", PARAM_STRING, &text, 0);
    }
    EXPECT_EQ(tickets::GetText(ticket, "a", 20), std::string(60, 'x'));
}

TEST(MemoryTicketAliasing, AKeyMayBeATextOfTheTicket) {
    OPEN_TICKET ticket;
    STICKET_ACCESS const* const access = ticket.GetInterface();
    std::string const name(100, 'k');
    for (bool const watched : {false, true}) {
        tickets::Set(access, name.c_str(), name.c_str());
        if (watched) ticket.Register(1, {name.c_str()});
        char const* text = nullptr;
        access->GetParameter(access->pTicket, name.c_str(), PARAM_STRING, &text, SCALAR_INDEX);
        EXPECT_EQ(tickets::Set(access, text, 5), 1);
        EXPECT_EQ(tickets::Contents(access), LINES{name + " 2 5"});
        EXPECT_EQ(ticket.Registered(), std::vector<int>{});
    }
}

TEST(MemoryTicketAliasing, AWalkMayDeleteWhatItStandsOn) {
    OPEN_TICKET ticket;
    STICKET_ACCESS const* const access = ticket.GetInterface();
    for (char const* key : {"a", "b", "c"}) tickets::Set(access, key, 1);
    ticket.Register(1, {"b"});
    auto const remove = [](void* table, char const* key, PARAM_TYPE, void const*, int) {
        return tickets::Delete(static_cast<STICKET_ACCESS const*>(table), key) == 1;
    };
    EXPECT_EQ(access->WalkParameter(access->pTicket, remove, const_cast<STICKET_ACCESS*>(access), "", WALK_VALUES), 1);
    EXPECT_EQ(tickets::Contents(access), LINES{});
    EXPECT_EQ(ticket.Registered(), std::vector<int>{});
}

TEST(MemoryTicketAliasing, AReadBatchMayWriteOverItsOwnKeys) {
    OWNER const ticket;
    int letter = 0;
    std::memcpy(&letter, "b\0\0", sizeof letter);
    Set(ticket, "a", letter);
    Set(ticket, "b", 7);
    alignas(int) char key[8] = "a";
    int value = 0;
    GETMULTIPAR records[] = {
        {key, PARAM_INT, key, SCALAR_INDEX, false}, {key, PARAM_INT, &value, SCALAR_INDEX, false}, {}};
    EXPECT_EQ(ticket->GetMultiParameter(ticket->pTicket, records), 1);
    EXPECT_STREQ(key, "b");
    EXPECT_EQ(value, 7);
}

TEST(MemoryTicket, BatchesOfATicketThatCannotBeUsedHaveNoResults) {
    OWNER const server;
    OWNER const ticket(STICKET::PCreate({server->pTicket, 0, 0, nullptr, nullptr}));
    int value = 5;
    GETMULTIPAR reads[] = {{"a", PARAM_INT, &value, SCALAR_INDEX, true}, {}};
    SETMULTIPAR writes[] = {{"a", PARAM_INT, &value, SCALAR_INDEX, true}, {}};
    EXPECT_EQ(ticket->GetMultiParameter(ticket->pTicket, reads), 0);
    EXPECT_EQ(ticket->SetMultiParameter(ticket->pTicket, writes), 0);
    EXPECT_FALSE(reads[0].result);
    EXPECT_FALSE(writes[0].result);
}

TEST(MemoryTicketAliasing, TheKeysOfABatchMayBeTextsOfTheTicket) {
    OPEN_TICKET ticket;
    STICKET_ACCESS const* const access = ticket.GetInterface();
    std::string const name(100, 'k');
    tickets::Set(access, name.c_str(), name.c_str());
    ticket.Register(1, {name.c_str()});
    char const* text = nullptr;
    access->GetParameter(access->pTicket, name.c_str(), PARAM_STRING, &text, SCALAR_INDEX);
    int one = 1;
    SETMULTIPAR records[] = {
        {text, PARAM_INT, &one, SCALAR_INDEX, false}, {text, PARAM_INT, &one, APPEND_INDEX, false}, {}};
    EXPECT_EQ(access->SetMultiParameter(access->pTicket, records), 1);
    EXPECT_EQ(tickets::Contents(access), (LINES{name + "[0] 2 1", name + "[1] 2 1"}));
    EXPECT_EQ(ticket.Registered(), std::vector<int>{});
}

// Threads

// One round of calls of a table's entries, on keys shared by all threads.
void Hammer(STICKET_ACCESS const* access, int thread, int round) {
    int value = round;
    int owner = thread;
    std::string const text = "text " + std::to_string(round);
    SETMULTIPAR writes[] = {{"vector", PARAM_INT, &value, SCALAR_INDEX, false},
                            {"vector", PARAM_INT, &value, APPEND_INDEX, false},
                            {"text", PARAM_STRING, text.c_str(), SCALAR_INDEX, false},
                            {}};
    tickets::Set(access, "number", value);
    access->SetMultiParameter(access->pTicket, writes);
    tickets::GetInt(access, "vector", 1);
    access->QueueAfterNotification(
        access->pTicket, [](void* table) { tickets::Set(static_cast<STICKET_ACCESS const*>(table), "queued", 1); },
        const_cast<STICKET_ACCESS*>(access));
    if (access->Lock(access->pTicket, 0, &owner, true)) access->Lock(access->pTicket, 0, &owner, false);
    access->EnDisNotification(access->pTicket, -2, false, nullptr);
    if (round % 16 == thread) Operate(access, STICKET_OP_CLEAR);
    LINES const lines = tickets::Contents(access);
    EXPECT_LE(lines.size(), 5u);
    EXPECT_LE(tickets::Count(access), 5u);
}

TEST(MemoryTicketThreads, MayAllUseEveryEntryAtOnce) {
    OWNER const ticket;
    Together(4, [&](int thread) {
        for (int round = 0; round < 500; ++round) Hammer(ticket, thread, round);
    });
}

TEST(MemoryTicketThreads, SerialiseWithTheTicketsThatShareAServersMutex) {
    OPEN_TICKET server;
    OWNER const first(STICKET::PCreate({&server, 1, 1, nullptr, &server.GetMutexInstance()}));
    OWNER const second(STICKET::PCreate({&server, 2, 2, nullptr, &server.GetMutexInstance()}));
    int callbacks = 0;  // not atomic: if two callbacks ran at once, an increment would be lost
    auto const add = [](void* count) {
        int const before = *static_cast<int*>(count);
        std::this_thread::yield();
        *static_cast<int*>(count) = before + 1;
    };
    Together(4, [&](int thread) {
        for (int round = 0; round < 1000; ++round) {
            STICKET_ACCESS const* const access = thread % 2 ? first : second;
            access->QueueAfterNotification(access->pTicket, add, &callbacks);
            tickets::Set(access, "number", round);
            if (round % 5 != 0) continue;
            Hammer(access, thread, round);
            Hammer(server.GetInterface(), thread, round);
            first->MergeTicket(first->pTicket, second, nullptr, round % 2);
        }
    });
    EXPECT_EQ(callbacks, 4 * 1000);
}

TEST(MemoryTicketThreads, AnotherThreadWaitsUntilTheCallbacksAreDone) {
    OWNER const ticket;
    struct STATE {
        STICKET_ACCESS const* access;
        std::thread reader;
        std::atomic<bool> started{false};
        std::atomic<bool> callbackDone{false};
        bool readAfterwards = false;
    } state{ticket, {}};
    ticket->QueueAfterNotification(
        ticket->pTicket,
        [](void* argument) {
            auto& shared = *static_cast<STATE*>(argument);
            shared.reader = std::thread([&shared] {
                shared.started = true;
                tickets::GetInt(shared.access, "a");
                shared.readAfterwards = shared.callbackDone;
            });
            while (!shared.started) std::this_thread::yield();
            std::this_thread::sleep_for(std::chrono::milliseconds(20));
            shared.callbackDone = true;
        },
        &state);
    tickets::Set(ticket, "a", 1);
    state.reader.join();
    EXPECT_TRUE(state.readAfterwards);
}

struct CANCELLED {
    STICKET_ACCESS const* access;
    std::atomic<bool> inside{false};
    std::atomic<bool> survived{false};

    // A callback that waits for the cancellation.
    static void Await(void* context) {
        static_cast<CANCELLED*>(context)->inside = true;
        for (;;) pthread_testcancel();
    }
};

// A cancelled thread unwinds through the entry, which must neither stop it nor keep the mutex.
void ExpectCancellable(void (*useTicket)(CANCELLED&)) {
    OWNER const ticket;
    tickets::Set(ticket, "a", 1);
    CANCELLED state{ticket};
    std::pair<CANCELLED*, void (*)(CANCELLED&)> start{&state, useTicket};
    auto const run = [](void* argument) -> void* {
        auto const [shared, use] = *static_cast<decltype(start)*>(argument);
        use(*shared);
        shared->survived = true;
        return nullptr;
    };
    pthread_t thread;
    ASSERT_EQ(pthread_create(&thread, nullptr, run, &start), 0);
    while (!state.inside) std::this_thread::yield();
    pthread_cancel(thread);
    void* result = nullptr;
    pthread_join(thread, &result);
    EXPECT_EQ(result, PTHREAD_CANCELED);
    EXPECT_FALSE(state.survived);
    EXPECT_EQ(tickets::GetInt(ticket, "a"), 1) << "the mutex is free";
}

TEST(MemoryTicketThreads, CanBeCancelledInAWalksCallback) {
    ExpectCancellable([](CANCELLED& state) {
        auto const wait = [](void* context, char const*, PARAM_TYPE, void const*, int) {
            CANCELLED::Await(context);
            return true;
        };
        state.access->WalkParameter(state.access->pTicket, wait, &state, "", WALK_VALUES);
    });
}

TEST(MemoryTicketThreads, CanBeCancelledInADeferredCallback) {
    ExpectCancellable([](CANCELLED& state) {
        state.access->QueueAfterNotification(state.access->pTicket, &CANCELLED::Await, &state);
        tickets::Set(state.access, "a", 1);
    });
}

TEST(MemoryTicketThreads, CanBeCancelledInAMerge) {
    ExpectCancellable([](CANCELLED& state) {
        STICKET_ACCESS foreign{};
        foreign.pTicket = reinterpret_cast<STICKET*>(&state);
        foreign.WalkParameter = [](STICKET* context, STICKET_WALK_CALLBACK, void*, char const*, int) {
            CANCELLED::Await(context);
            return 0;
        };
        state.access->MergeTicket(state.access->pTicket, &foreign, nullptr, false);
    });
}

}  // namespace
