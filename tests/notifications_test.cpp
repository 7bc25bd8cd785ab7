// One-shot registrations and deferred callbacks. A derived ticket makes the registrations, since no public call does.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "support/Tickets.h"

namespace {

using tickets::OPEN_TICKET;
using NUMBERS = std::vector<int>;

class Registrations : public testing::Test {
 protected:
    int SetBatch(std::vector<SETMULTIPAR> records) {
        records.push_back({});
        return m_access->SetMultiParameter(m_access->pTicket, records.data());
    }
    static SETMULTIPAR Text(char const* key) { return {key, PARAM_STRING, "text", SCALAR_INDEX, false}; }

    OPEN_TICKET m_ticket;
    STICKET_ACCESS const* m_access = m_ticket.GetInterface();
};

TEST_F(Registrations, ASetOfAKeyUnderTheWatchedPrefixRemovesThem) {
    m_ticket.Register(1, {"Log/*"});
    tickets::Set(m_access, "Lo", 1);
    tickets::Set(m_access, "Log", 1);
    tickets::Set(m_access, "Login", 1);
    EXPECT_EQ(m_ticket.Registered(), NUMBERS{1});
    tickets::Set(m_access, "Log/Level", 1);
    EXPECT_EQ(m_ticket.Registered(), NUMBERS{});
}

TEST_F(Registrations, WatchWholeKeysExactly) {
    m_ticket.Register(1, {"Log/Level"});
    tickets::Set(m_access, "Log/Levels", 1);
    tickets::Set(m_access, "Log/", 1);
    EXPECT_EQ(m_ticket.Registered(), NUMBERS{1});
    tickets::Set(m_access, "Log/Level", 1);
    EXPECT_EQ(m_ticket.Registered(), NUMBERS{});
}

TEST_F(Registrations, WithoutASelectionWatchEverything) {
    m_ticket.Register(1, {});
    tickets::Set(m_access, "anything", 1);
    EXPECT_EQ(m_ticket.Registered(), NUMBERS{});
}

TEST_F(Registrations, EachIsDecidedByItself) {
    m_ticket.Register(-5, {"a"});
    m_ticket.Register(0, {"b"});
    m_ticket.Register(1, {"a", "c*"});
    m_ticket.Register(2, {"c"});
    m_ticket.Register(9, {"a*"});
    tickets::Set(m_access, "a", 1);
    EXPECT_EQ(m_ticket.Registered(), (NUMBERS{0, 2}));
}

TEST_F(Registrations, StayWhenAChangeFails) {
    m_ticket.Register(1, {});
    EXPECT_EQ(m_access->SetParameter(m_access->pTicket, "a", PARAM_INT, nullptr, SCALAR_INDEX), 0);
    EXPECT_EQ(m_access->SetParameter(m_access->pTicket, nullptr, PARAM_STRING, "x", SCALAR_INDEX), 0);
    EXPECT_EQ(tickets::Operate(m_access, 13), 0);
    EXPECT_EQ(m_ticket.Registered(), NUMBERS{1});
}

TEST_F(Registrations, StayWhenAParameterIsOnlyRead) {
    m_ticket.Register(1, {});
    tickets::GetInt(m_access, "a");
    tickets::Contents(m_access);
    GETMULTIPAR records[] = {{"a", PARAM_INT, nullptr, SCALAR_INDEX, false}, {}};
    m_access->GetMultiParameter(m_access->pTicket, records);
    EXPECT_EQ(m_ticket.Registered(), NUMBERS{1});
}

TEST_F(Registrations, ABatchRemovesThoseThatWatchAKeyItStored) {
    m_ticket.Register(1, {"a"});
    m_ticket.Register(2, {"b*"});
    m_ticket.Register(3, {"c"});
    m_ticket.Register(4, {});
    EXPECT_EQ(SetBatch({Text("x"), Text("a"), Text("b/c")}), 1);
    EXPECT_EQ(m_ticket.Registered(), NUMBERS{3});
}

TEST_F(Registrations, ABatchWithoutAStoredRecordRemovesNone) {
    m_ticket.Register(1, {"a"});
    m_ticket.Register(2, {});
    SETMULTIPAR const failing{"a", PARAM_VECTOR, "x", SCALAR_INDEX, true};
    EXPECT_EQ(SetBatch({failing}), 1);
    EXPECT_EQ(SetBatch({}), 1);
    EXPECT_EQ(SetBatch({Text(""), Text("a")}), 1) << "an empty key ends the batch";
    EXPECT_EQ(m_access->SetMultiParameter(m_access->pTicket, nullptr), 0);
    m_ticket.NotifySetMultiParameter(nullptr);
    EXPECT_EQ(m_ticket.Registered(), (NUMBERS{1, 2}));
}

TEST_F(Registrations, OnlyTheStoredRecordsOfABatchCount) {
    m_ticket.Register(1, {"a"});
    m_ticket.Register(2, {"b"});
    EXPECT_EQ(SetBatch({{"a", PARAM_INT, nullptr, SCALAR_INDEX, false}, Text("b")}), 1);
    EXPECT_EQ(m_ticket.Registered(), NUMBERS{1});
}

TEST_F(Registrations, ClearingRemovesThemAllAndCountingNone) {
    unsigned int count = 0;
    m_ticket.Register(1, {"a"});
    m_ticket.Register(2, {});
    EXPECT_EQ(tickets::Operate(m_access, STICKET_OP_COUNT_LOADED, &count), 1);
    EXPECT_EQ(m_ticket.Registered(), (NUMBERS{1, 2}));
    EXPECT_EQ(tickets::Operate(m_access, STICKET_OP_CLEAR), 1);
    EXPECT_EQ(m_ticket.Registered(), NUMBERS{});
}

TEST_F(Registrations, AreDroppedByTheCodesTwoSevenAndEightOnly) {
    for (uint32_t code = 0; code < 15; ++code) {
        m_ticket.Register(1, {"a"});
        m_ticket.NotifyOperation(static_cast<STICKET_OP>(code), nullptr);
        bool const drops = code == 2 || code == 7 || code == 8;
        EXPECT_EQ(m_ticket.Registered(), drops ? NUMBERS{} : NUMBERS{1}) << code;
    }
}

TEST_F(Registrations, ACounterIncrementRemovesThemAll) {
    m_ticket.Register(1, {"a"});
    unsigned int counter = 0;
    EXPECT_EQ(tickets::Operate(m_access, STICKET_OP_INCREMENT), 0);
    EXPECT_EQ(m_ticket.Registered(), NUMBERS{1});
    EXPECT_EQ(tickets::Operate(m_access, STICKET_OP_INCREMENT, &counter), 1);
    EXPECT_EQ(m_ticket.Registered(), NUMBERS{});
}

TEST_F(Registrations, AreRemovedTogetherByNumberMinusTwo) {
    m_ticket.Register(-1, {"a"});
    m_ticket.Register(7, {"b"});
    EXPECT_EQ(m_access->EnDisNotification(m_access->pTicket, -2, true, nullptr), 0);
    EXPECT_EQ(m_ticket.Registered(), (NUMBERS{-1, 7}));
    EXPECT_EQ(m_access->EnDisNotification(m_access->pTicket, -2, false, nullptr), 1);
    EXPECT_EQ(m_ticket.Registered(), NUMBERS{});
    EXPECT_EQ(m_access->EnDisNotification(m_access->pTicket, -2, false, nullptr), 1);
}

TEST_F(Registrations, CannotBeRemovedOneByOneWithoutAServingTicket) {
    m_ticket.Register(3, {"a"});
    for (int const number : {3, 0, -1, -3}) {
        EXPECT_EQ(m_access->EnDisNotification(m_access->pTicket, number, true, nullptr), 0);
        EXPECT_EQ(m_access->EnDisNotification(m_access->pTicket, number, false, nullptr), 0);
    }
    EXPECT_EQ(m_ticket.Registered(), NUMBERS{3});
}

TEST_F(Registrations, OfAServedTicketAreRemovedByNumberWhateverIsAsked) {
    OPEN_TICKET served({&m_ticket, 1, 2, nullptr, &m_ticket.GetMutexInstance()});
    char const* keys[] = {"ignored", nullptr};
    for (int number = 0; number < 3; ++number) served.Register(number, {"a"});
    STICKET_ACCESS const* const access = served.GetInterface();
    EXPECT_EQ(access->EnDisNotification(access->pTicket, 1, true, keys), 1);
    EXPECT_EQ(served.Registered(), (NUMBERS{0, 2}));
    EXPECT_EQ(access->EnDisNotification(access->pTicket, 0, false, nullptr), 1);
    EXPECT_EQ(access->EnDisNotification(access->pTicket, 99, false, nullptr), 1) << "absent is as good as removed";
    EXPECT_EQ(access->EnDisNotification(access->pTicket, -1, false, nullptr), 0);
    EXPECT_EQ(access->EnDisNotification(access->pTicket, -2, true, nullptr), 0);
    EXPECT_EQ(served.Registered(), NUMBERS{2});
    EXPECT_TRUE(served.EnDisNotification(-2, false, nullptr));
    EXPECT_EQ(served.Registered(), NUMBERS{});
}

TEST_F(Registrations, CannotBeChangedWithoutATicketOrItsMutex) {
    EXPECT_EQ(STICKET::EnDisNotification(nullptr, -2, false, nullptr), 0);
    OPEN_TICKET mutexless({&m_ticket, -2, -2, nullptr, nullptr});
    mutexless.Register(1, {"a"});
    EXPECT_EQ(STICKET::EnDisNotification(&mutexless, -2, false, nullptr), 0);
    EXPECT_EQ(mutexless.Registered(), NUMBERS{1});
}

TEST_F(Registrations, AreFoundByNumberUntilTheyAreRemoved) {
    m_ticket.Register(4, {"a"});
    auto const* const found = m_ticket.GetNotification(4);
    ASSERT_NE(found, nullptr);
    EXPECT_EQ(found->first, 4);
    EXPECT_EQ(m_ticket.GetNotification(5), nullptr);
    EXPECT_EQ(m_ticket.GetHNotification(4), 0) << "no handles are given out";
    tickets::Set(m_access, "a", 1);
    EXPECT_EQ(m_ticket.GetNotification(4), nullptr);
}

TEST_F(Registrations, AFlushToThemAlwaysFailsAndLeavesThem) {
    m_ticket.Register(1, {"a", "b*"});
    m_ticket.Register(2, {});
    tickets::Set(m_access, "b", 1.5);
    m_ticket.Register(1, {"a", "b*"});
    m_ticket.Register(2, {});
    for (int number : {1, 2, 3}) {
        EXPECT_EQ(tickets::Operate(m_access, STICKET_OP_FLUSH_NOTIFICATION, &number), 0);
        EXPECT_EQ(m_ticket.FlushToNotification(m_ticket.GetNotification(number)), 0);
    }
    EXPECT_EQ(tickets::Operate(m_access, STICKET_OP_FLUSH_NOTIFICATION), 0);
    EXPECT_EQ(m_ticket.Registered(), (NUMBERS{1, 2}));
}

// Deferred callbacks. Each appends a letter to a shared trace and may then act on the fixture.
class DeferredCallbacks : public testing::Test {
 public:
    struct STEP {
        DeferredCallbacks* test;
        char letter;
        void (*extra)(DeferredCallbacks&);
    };

    static void Trace(void* argument) {
        STEP const& step = *static_cast<STEP*>(argument);
        step.test->m_trace += step.letter;
        if (step.extra) step.extra(*step.test);
    }

    bool Queue(char letter, void (*extra)(DeferredCallbacks&) = nullptr) {
        m_steps.push_back({this, letter, extra});
        return m_access->QueueAfterNotification(m_access->pTicket, &Trace, &m_steps.back());
    }

    tickets::OWNER m_access;
    std::list<STEP> m_steps;
    std::string m_trace;
};

TEST_F(DeferredCallbacks, RunInOrderAtTheNextChangeAndOnlyOnce) {
    EXPECT_TRUE(Queue('A'));
    EXPECT_TRUE(Queue('B'));
    EXPECT_EQ(m_trace, "");
    tickets::Set(m_access, "a", 1);
    EXPECT_EQ(m_trace, "AB");
    tickets::Set(m_access, "a", 2);
    EXPECT_EQ(m_trace, "AB");
}

TEST_F(DeferredCallbacks, RunAfterEveryKindOfSuccessfulChange) {
    SETMULTIPAR nothing[] = {{}};
    Queue('s');
    tickets::Set(m_access, "a", 1);
    Queue('b');
    m_access->SetMultiParameter(m_access->pTicket, nothing);
    Queue('o');
    tickets::Operate(m_access, STICKET_OP_SAVE);
    Queue('m');
    tickets::OWNER source;
    tickets::Set(source, "b", 1);
    m_access->MergeTicket(m_access->pTicket, source, nullptr, false);
    EXPECT_EQ(m_trace, "sbom");
}

TEST_F(DeferredCallbacks, WaitThroughReadsAndFailedChanges) {
    Queue('A');
    int owner = 1;
    tickets::GetInt(m_access, "a");
    tickets::Contents(m_access);
    m_access->Lock(m_access->pTicket, 0, &owner, true);
    m_access->EnDisNotification(m_access->pTicket, -2, false, nullptr);
    m_access->SetParameter(m_access->pTicket, "a", PARAM_VECTOR, nullptr, SCALAR_INDEX);
    m_access->SetMultiParameter(m_access->pTicket, nullptr);
    tickets::Operate(m_access, STICKET_OP_UNUSED_8);
    EXPECT_EQ(m_trace, "");
}

TEST_F(DeferredCallbacks, SeeTheChangeThatTriggeredThem) {
    Queue('A', [](DeferredCallbacks& test) { test.m_trace += *tickets::GetText(test.m_access, "a"); });
    tickets::Set(m_access, "a", "new");
    EXPECT_EQ(m_trace, "Anew");
}

TEST_F(DeferredCallbacks, AnExceptionDoesNotStopTheNext) {
    Queue('A', [](DeferredCallbacks&) { throw 17; });
    Queue('B', [](DeferredCallbacks&) { throw std::bad_alloc(); });
    Queue('C');
    EXPECT_EQ(tickets::Set(m_access, "a", 1), 1);
    EXPECT_EQ(m_trace, "ABC");
}

TEST_F(DeferredCallbacks, QueuedByACallbackRunInTheSamePassAfterTheRest) {
    Queue('A', [](DeferredCallbacks& test) { test.Queue('C'); });
    Queue('B');
    tickets::Set(m_access, "a", 1);
    EXPECT_EQ(m_trace, "ABC");
}

TEST_F(DeferredCallbacks, AChangeMadeByACallbackRunsTheRestOfTheQueue) {
    Queue('A', [](DeferredCallbacks& test) {
        tickets::Set(test.m_access, "b", 1);
        test.m_trace += 'a';
    });
    Queue('B');
    tickets::Set(m_access, "a", 1);
    EXPECT_EQ(m_trace, "ABa");
}

// Calling the callbacks recursively would exhaust the stack.
TEST_F(DeferredCallbacks, AnyNumberOfCallbacksMayChangeTheTicket) {
    constexpr int MANY = 100'000;
    for (int i = 0; i < MANY; ++i) {
        Queue('.', [](DeferredCallbacks& test) { tickets::Set(test.m_access, "b", "changed"); });
    }
    tickets::Set(m_access, "a", 1);
    EXPECT_EQ(m_trace, std::string(MANY, '.'));
    Queue('A');
    tickets::Set(m_access, "a", 1);
    EXPECT_EQ(m_trace.back(), 'A') << "the depth is counted back";
}

TEST_F(DeferredCallbacks, CannotBeNullAndNeedATicketWithAMutex) {
    EXPECT_FALSE(m_access->QueueAfterNotification(m_access->pTicket, nullptr, this));
    EXPECT_FALSE(m_access->QueueAfterNotification(nullptr, &Trace, this));
    OPEN_TICKET mutexless({m_access->pTicket, -2, -2, nullptr, nullptr});
    EXPECT_FALSE(STICKET::QueueAfterNotification(&mutexless, &Trace, this));
    EXPECT_THROW(mutexless.AfterNotification(), char const*);
}

TEST_F(DeferredCallbacks, StillQueuedAreDroppedWithTheTicket) {
    STICKET_ACCESS const* access = STICKET::Create(nullptr);
    m_steps.push_back({this, 'A', nullptr});
    EXPECT_TRUE(access->QueueAfterNotification(access->pTicket, &Trace, &m_steps.back()));
    STICKET::Destroy(access);
    EXPECT_EQ(m_trace, "");
}

}  // namespace
