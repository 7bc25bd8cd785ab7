// The twenty advisory locks of a ticket, as a class on its own.
#include <gtest/gtest.h>

#include <vector>

#include "TicketImpSBase.h"

namespace {

class TicketLocks : public testing::Test {
 protected:
    // The result of a request, and the caller's owner variable after it.
    struct ANSWER {
        bool success;
        int owner;
        bool operator==(ANSWER const& other) const { return success == other.success && owner == other.owner; }
        friend void PrintTo(ANSWER const& answer, std::ostream* stream) {
            *stream << (answer.success ? "yes, " : "no, ") << answer.owner;
        }
    };

    ANSWER Lock(int number, int owner) { return Request(number, owner, true); }
    ANSWER Unlock(int number, int owner) { return Request(number, owner, false); }

    // Returns the holder of a lock without changing it; 0: nobody.
    int Holder(int number) {
        int owner = 12345;
        if (!m_locks(number, &owner, true)) return owner;
        m_locks(number, &owner, false);
        return 0;
    }

    ANSWER Request(int number, int owner, bool lock) {
        int word = owner;
        bool const success = m_locks(number, &word, lock) != 0;
        return {success, word};
    }

    TICKETLOCKS m_locks;
};

constexpr int FIRST = 0;
constexpr int LAST = TICKETLOCKS::LOCKS - 1;

TEST_F(TicketLocks, AllAreFreeAtTheStart) {
    for (int number = FIRST; number <= LAST; ++number) EXPECT_EQ(Holder(number), 0) << number;
}

TEST_F(TicketLocks, SecondOwnerIsRefusedAndToldWhoHoldsTheLock) {
    EXPECT_EQ(Lock(3, 7), (ANSWER{true, 7}));
    EXPECT_EQ(Lock(3, 8), (ANSWER{false, 7}));
    EXPECT_EQ(Unlock(3, 8), (ANSWER{false, 7}));
    EXPECT_EQ(Holder(3), 7);
}

TEST_F(TicketLocks, EveryUnlockButTheLastLeavesTheLockHeld) {
    Lock(3, 7);
    Lock(3, 7);
    EXPECT_EQ(Unlock(3, 7), (ANSWER{true, 7}));
    EXPECT_EQ(Holder(3), 7);
    EXPECT_EQ(Unlock(3, 7), (ANSWER{true, -1}));
    EXPECT_EQ(Holder(3), 0);
}

TEST_F(TicketLocks, UnlockingAFreeLockSucceedsAndNamesNobody) {
    EXPECT_EQ(Unlock(FIRST, 7), (ANSWER{true, -1}));
    EXPECT_EQ(Unlock(LAST, 0), (ANSWER{true, -1}));
}

TEST_F(TicketLocks, ALockTakenAnewCountsFromOne) {
    for (int i = 0; i < 3; ++i) Lock(0, 7);
    Unlock(0, -2);
    Lock(0, 7);
    EXPECT_EQ(Unlock(0, 7), (ANSWER{true, -1}));
}

TEST_F(TicketLocks, AnyNumberCanBeAnOwner) {
    for (int const owner : {0, 1, -3, 2147483647, -2147483647 - 1}) {
        EXPECT_EQ(Lock(5, owner), (ANSWER{true, owner}));
        EXPECT_EQ(Lock(5, 77), (ANSWER{false, owner}));
        EXPECT_EQ(Unlock(5, owner), (ANSWER{true, -1}));
    }
}

TEST_F(TicketLocks, NumbersOutsideTheTableFailAndChangeNothing) {
    for (int const number : {-1, 20, 21, -3, 2147483647, -2147483647 - 1}) {
        EXPECT_EQ(Lock(number, 7), (ANSWER{false, 7})) << number;
        EXPECT_EQ(Unlock(number, 7), (ANSWER{false, 7})) << number;
        EXPECT_EQ(Unlock(number, -2), (ANSWER{false, -2})) << number;
    }
}

TEST_F(TicketLocks, WithoutAnOwnerWordNothingHappens) {
    Lock(4, 7);
    for (int const number : {4, 5, -2, -1, 20}) {
        EXPECT_EQ(m_locks(number, nullptr, true), 0);
        EXPECT_EQ(m_locks(number, nullptr, false), 0);
        EXPECT_FALSE(m_locks.Operate(number, nullptr, false));
    }
    EXPECT_EQ(Holder(4), 7);
}

TEST_F(TicketLocks, TheWildcardOwnerCannotLock) {
    EXPECT_EQ(Lock(3, -2), (ANSWER{false, -2}));
    EXPECT_EQ(Holder(3), 0);
}

TEST_F(TicketLocks, TheWildcardOwnerUnlocksWhoeverHoldsTheLock) {
    Lock(3, 7);
    Lock(3, 7);
    Lock(4, 7);
    EXPECT_EQ(Unlock(3, -2), (ANSWER{true, -2}));
    EXPECT_EQ(Holder(3), 0);
    EXPECT_EQ(Holder(4), 7);
    EXPECT_EQ(Unlock(3, -2), (ANSWER{true, -2}));
}

TEST_F(TicketLocks, LockingAllAtOnceFails) {
    EXPECT_EQ(Lock(-2, 7), (ANSWER{false, 7}));
}

TEST_F(TicketLocks, ReleaseEverythingFreesWhatTheOwnerHoldsHoweverOften) {
    for (int const number : {FIRST, 5, 5, 5, LAST}) Lock(number, 7);
    EXPECT_EQ(Unlock(-2, 7), (ANSWER{true, -1}));
    for (int const number : {FIRST, 5, LAST}) EXPECT_EQ(Holder(number), 0);
}

TEST_F(TicketLocks, ReleaseEverythingNamesTheOwnerWhileOthersHoldLocks) {
    Lock(1, 7);
    Lock(2, 8);
    EXPECT_EQ(Unlock(-2, 7), (ANSWER{true, 7}));
    EXPECT_EQ(Holder(1), 0);
    EXPECT_EQ(Holder(2), 8);
}

TEST_F(TicketLocks, ReleaseEverythingFailsWhenTheOwnerHoldsNothing) {
    EXPECT_EQ(Unlock(-2, 7), (ANSWER{false, -1})) << "all twenty are free";
    Lock(2, 8);
    EXPECT_EQ(Unlock(-2, 7), (ANSWER{false, 7}));
}

TEST_F(TicketLocks, ReleaseEverythingOfEverybodyFreesAllTwenty) {
    for (int number = FIRST; number <= LAST; ++number) Lock(number, number % 3);
    EXPECT_EQ(Unlock(-2, -2), (ANSWER{true, -2}));
    for (int number = FIRST; number <= LAST; ++number) EXPECT_EQ(Holder(number), 0) << number;
}

// The owner -1 means nobody: a lock taken for it stays free.
TEST_F(TicketLocks, NobodyLocksWithoutHolding) {
    EXPECT_EQ(Lock(6, -1), (ANSWER{true, -1}));
    EXPECT_EQ(Holder(6), 0);
    Lock(6, 7);
    EXPECT_EQ(Lock(6, -1), (ANSWER{false, 7}));
    EXPECT_EQ(Unlock(-2, -1), (ANSWER{true, -1})) << "nineteen free locks were nobody's";
    EXPECT_EQ(Holder(6), 7);
    for (int number = FIRST; number <= LAST; ++number) Lock(number, 7);
    EXPECT_EQ(Unlock(-2, -1), (ANSWER{false, -1}));
}

TEST_F(TicketLocks, OperateServesSingleLocksOnly) {
    int owner = 7;
    EXPECT_TRUE(m_locks.Operate(2, &owner, true));
    EXPECT_FALSE(m_locks.Operate(-2, &owner, false));
    EXPECT_FALSE(m_locks.Operate(20, &owner, true));
    EXPECT_EQ(Holder(2), 7);
    EXPECT_TRUE(m_locks.Operate(2, &owner, false));
    EXPECT_EQ(owner, -1);
}

TEST_F(TicketLocks, AreTwoPlainArraysOfTwenty) {
    Lock(19, 7);
    Lock(19, 7);
    auto const* const words = reinterpret_cast<int const*>(&m_locks);
    EXPECT_EQ(words[0], -1);
    EXPECT_EQ(words[19], 7);
    EXPECT_EQ(words[39], 2);
}

}  // namespace
