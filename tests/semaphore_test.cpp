// The counting semaphore. No test waits for real time: the system's timed wait is replaced by one that can
// time out at once.
#include "ConfigurationControl/Semaphore.h"

#include <gtest/gtest.h>
#include <pthread.h>
#include <sys/time.h>

#include <atomic>
#include <cerrno>
#include <chrono>
#include <functional>
#include <thread>
#include <type_traits>
#include <vector>

namespace {

std::function<void(timespec const&)> g_onTimedWait;  // when set, every timed wait calls it and times out at once

}  // namespace

extern "C" int pthread_cond_timedwait(pthread_cond_t* condition, pthread_mutex_t* mutex, timespec const* deadline) {
    if (!g_onTimedWait) return pthread_cond_clockwait(condition, mutex, CLOCK_REALTIME, deadline);
    g_onTimedWait(*deadline);
    return ETIMEDOUT;
}

namespace {

using namespace std::chrono_literals;

constexpr auto LONG_ENOUGH_TO_WAKE = 30ms;
constexpr std::size_t COUNT_OFFSET = sizeof(void*) + sizeof(pthread_cond_t) + sizeof(pthread_mutex_t);
static_assert(sizeof(Semaphore) == COUNT_OFFSET + 8);

// The state has no accessor; it is read at its fixed offset.
int State(Semaphore const& semaphore) {
    auto const* const place = reinterpret_cast<char const*>(&semaphore) + COUNT_OFFSET + 4;
    return *reinterpret_cast<std::atomic<int32_t> const*>(place);
}

// Threads that wait for one unit each. All of them sleep when the constructor returns.
class WAITERS {
 public:
    WAITERS(Semaphore& semaphore, int count) : m_semaphore(semaphore) {
        for (int i = 0; i < count; ++i) {
            semaphore.status(false);  // state 0: the next change to 2 is the new thread's
            m_threads.emplace_back([this] {
                m_semaphore.wait(true);
                ++m_returned;
            });
            while (State(semaphore) != 2) std::this_thread::yield();
            semaphore.getCount();  // takes the mutex, which is free only once the thread sleeps
        }
    }
    ~WAITERS() {
        for (auto& thread : m_threads) thread.join();
    }
    int Returned() const { return m_returned; }
    void AwaitReturned(int count) const {
        while (m_returned < count) std::this_thread::yield();
    }

 private:
    Semaphore& m_semaphore;
    std::atomic<int> m_returned{0};
    std::vector<std::thread> m_threads;
};

class SemaphoreTimedWait : public testing::Test {
 protected:
    void TearDown() override { g_onTimedWait = nullptr; }
};

}  // namespace

TEST(SemaphoreTest, StartsWithItsCountAndStateZero) {
    Semaphore none;
    EXPECT_EQ(none.getCount(), 0);
    EXPECT_EQ(State(none), 0);
    for (int const initial : {0, 3, -2}) {
        Semaphore semaphore(initial);
        EXPECT_EQ(semaphore.getCount(), initial);
        EXPECT_EQ(State(semaphore), 0);
    }
    static_assert(std::has_virtual_destructor_v<Semaphore> && !std::is_copy_constructible_v<Semaphore>);
}

TEST(SemaphoreTest, WaitWithoutBlockingOnZeroReturnsFalseAndLeavesStateZero) {
    Semaphore semaphore;
    EXPECT_FALSE(semaphore.wait(false));
    EXPECT_EQ(State(semaphore), 0);
    EXPECT_EQ(semaphore.getCount(), 0);
    semaphore.update(-1);
    EXPECT_FALSE(semaphore.wait(false));
    EXPECT_EQ(semaphore.getCount(), -1);
}

TEST(SemaphoreTest, WaitTakesAUnitAndLeavesStateOne) {
    for (bool const block : {false, true}) {
        Semaphore semaphore(2);
        EXPECT_TRUE(semaphore.wait(block));
        EXPECT_EQ(semaphore.getCount(), 1);
        EXPECT_EQ(State(semaphore), 1);
        EXPECT_TRUE(semaphore.wait(block, 1, true));
        EXPECT_EQ(semaphore.getCount(), 0);
        EXPECT_EQ(State(semaphore), 1);
    }
}

TEST(SemaphoreTest, BlockingWaitSleepsUntilASignal) {
    Semaphore semaphore;
    WAITERS waiters(semaphore, 1);
    EXPECT_EQ(State(semaphore), 2);
    EXPECT_EQ(waiters.Returned(), 0);
    semaphore.signal();
    waiters.AwaitReturned(1);
    EXPECT_EQ(semaphore.getCount(), 0);
    EXPECT_EQ(State(semaphore), 1);
}

TEST(SemaphoreTest, SignalOfThreeWakesExactlyOneOfThreeWaiters) {
    Semaphore semaphore;
    WAITERS waiters(semaphore, 3);
    semaphore.signal(3);
    waiters.AwaitReturned(1);
    std::this_thread::sleep_for(LONG_ENOUGH_TO_WAKE);
    EXPECT_EQ(waiters.Returned(), 1);
    EXPECT_EQ(semaphore.getCount(), 2);
    EXPECT_EQ(State(semaphore), 1);  // a second waiter would have taken a unit or left the state 2

    semaphore.signal();
    waiters.AwaitReturned(2);
    semaphore.signal();
    waiters.AwaitReturned(3);
    EXPECT_EQ(semaphore.getCount(), 2);
}

TEST(SemaphoreTest, SignalOnMinusOneRaisesItToZeroAndWakesNobody) {
    Semaphore semaphore(-1);
    WAITERS waiters(semaphore, 1);
    EXPECT_EQ(semaphore.status(false), 0);  // a waiter that woke would set the state to 2
    semaphore.signal();
    std::this_thread::sleep_for(LONG_ENOUGH_TO_WAKE);
    EXPECT_EQ(semaphore.getCount(), 0);
    EXPECT_EQ(State(semaphore), 0);
    EXPECT_EQ(waiters.Returned(), 0);
    semaphore.signal();
    waiters.AwaitReturned(1);
}

TEST(SemaphoreTest, SignalOfACountWakesOnlyWhenTheResultIsPositive) {
    Semaphore semaphore(-2);
    WAITERS waiters(semaphore, 1);
    EXPECT_EQ(semaphore.status(false), 0);
    semaphore.signal(2);
    std::this_thread::sleep_for(LONG_ENOUGH_TO_WAKE);
    EXPECT_EQ(State(semaphore), 0);
    EXPECT_EQ(semaphore.getCount(), 0);
    semaphore.signal(-4);
    EXPECT_EQ(semaphore.getCount(), -4);
    semaphore.signal(5);
    waiters.AwaitReturned(1);
    EXPECT_EQ(semaphore.getCount(), 0);
}

TEST(SemaphoreTest, BroadcastWakesEveryWaiter) {
    Semaphore semaphore;
    WAITERS waiters(semaphore, 3);
    semaphore.update(2);
    semaphore.broadcast();
    waiters.AwaitReturned(3);
    EXPECT_EQ(semaphore.getCount(), 0);
}

TEST(SemaphoreTest, BroadcastOfOneUnitLetsOneWaiterReturn) {
    Semaphore semaphore;
    WAITERS waiters(semaphore, 3);
    semaphore.broadcast();
    waiters.AwaitReturned(1);
    std::this_thread::sleep_for(LONG_ENOUGH_TO_WAKE);
    EXPECT_EQ(waiters.Returned(), 1);
    EXPECT_EQ(semaphore.getCount(), 0);
    semaphore.update(1);
    semaphore.broadcast();
    waiters.AwaitReturned(3);
}

TEST(SemaphoreTest, BroadcastOnMinusOneWakesNobody) {
    Semaphore semaphore(-1);
    WAITERS waiters(semaphore, 1);
    EXPECT_EQ(semaphore.status(false), 0);
    semaphore.broadcast();
    std::this_thread::sleep_for(LONG_ENOUGH_TO_WAKE);
    EXPECT_EQ(semaphore.getCount(), 0);
    EXPECT_EQ(State(semaphore), 0);
    semaphore.signal();
}

TEST(SemaphoreTest, UpdateChangesTheCountAndWakesNobody) {
    Semaphore semaphore;
    WAITERS waiters(semaphore, 1);
    EXPECT_EQ(semaphore.update(-1), -1);
    EXPECT_EQ(semaphore.status(false), 0);
    EXPECT_EQ(semaphore.update(2), 1);
    std::this_thread::sleep_for(LONG_ENOUGH_TO_WAKE);
    EXPECT_EQ(waiters.Returned(), 0);
    EXPECT_EQ(State(semaphore), 0);
    semaphore.signal();
    waiters.AwaitReturned(1);
    EXPECT_EQ(semaphore.getCount(), 1);
}

TEST(SemaphoreTest, StatusTakesAUnitOrTellsWhatItLeaves) {
    Semaphore semaphore(2);
    for (bool const peek : {true, false}) {
        EXPECT_EQ(semaphore.status(peek), 1);
        EXPECT_EQ(State(semaphore), 1);
    }
    EXPECT_EQ(semaphore.getCount(), 0);
    EXPECT_EQ(semaphore.status(true), 2);
    EXPECT_EQ(State(semaphore), 2);
    EXPECT_EQ(semaphore.status(false), 0);
    EXPECT_EQ(State(semaphore), 0);
    EXPECT_EQ(semaphore.getCount(), 0);
}

TEST_F(SemaphoreTimedWait, WithoutBlockingReturnsFalseAndLeavesStateZero) {
    g_onTimedWait = [](timespec const&) { ADD_FAILURE() << "waited"; };
    Semaphore semaphore;
    EXPECT_FALSE(semaphore.wait(false, 3600, false));
    EXPECT_EQ(State(semaphore), 0);
}

TEST_F(SemaphoreTimedWait, GivesUpAfterOnePeriodAndLeavesStateTwo) {
    int periods = 0;
    g_onTimedWait = [&](timespec const&) { ++periods; };
    Semaphore semaphore;
    EXPECT_FALSE(semaphore.wait(true, 3600, true));
    EXPECT_EQ(periods, 1);
    EXPECT_EQ(State(semaphore), 2);
    EXPECT_EQ(semaphore.getCount(), 0);  // and the mutex is free
}

TEST_F(SemaphoreTimedWait, WaitsFurtherPeriodsUnlessItGivesUp) {
    Semaphore semaphore;
    int periods = 0;
    g_onTimedWait = [&](timespec const&) {
        if (++periods == 3) semaphore.update(1);
    };
    EXPECT_TRUE(semaphore.wait(true, 3600, false));
    EXPECT_EQ(periods, 3);
    EXPECT_EQ(State(semaphore), 1);
    EXPECT_EQ(semaphore.getCount(), 0);
}

TEST_F(SemaphoreTimedWait, TakesTheUnitThatCameWithTheTimeout) {
    Semaphore semaphore;
    g_onTimedWait = [&](timespec const&) { semaphore.update(1); };
    EXPECT_TRUE(semaphore.wait(true, 3600, true));
    EXPECT_EQ(State(semaphore), 1);
}

TEST_F(SemaphoreTimedWait, DeadlineIsWholeSecondsFromNowByTheWallClock) {
    auto const microseconds = [](auto seconds, auto rest) { return seconds * 1'000'000LL + rest; };
    auto const now = [&] {
        timeval time;
        gettimeofday(&time, nullptr);
        return microseconds(time.tv_sec, time.tv_usec);
    };
    for (int const seconds : {0, 1, 3600, -10, 2147483647}) {
        timespec deadline{};
        g_onTimedWait = [&](timespec const& given) { deadline = given; };
        Semaphore semaphore;
        auto const before = now();
        EXPECT_FALSE(semaphore.wait(true, seconds, true));
        auto const after = now();
        EXPECT_EQ(deadline.tv_nsec % 1000, 0);
        auto const given = microseconds(deadline.tv_sec, deadline.tv_nsec / 1000);
        EXPECT_GE(given, before + microseconds(seconds, 0));
        EXPECT_LE(given, after + microseconds(seconds, 0));
    }
}

TEST_F(SemaphoreTimedWait, ReallyTimesOut) {
    Semaphore semaphore;
    EXPECT_FALSE(semaphore.wait(true, 0, true));
    EXPECT_FALSE(semaphore.wait(true, -1, true));
    EXPECT_EQ(State(semaphore), 2);
}

TEST_F(SemaphoreTimedWait, IsWokenByASignal) {
    for (int const seconds : {0, 3600}) {
        Semaphore semaphore;
        std::thread waiter([&] { EXPECT_TRUE(semaphore.wait(true, seconds, false)); });
        while (State(semaphore) != 2) std::this_thread::yield();
        semaphore.signal();
        waiter.join();
        EXPECT_EQ(semaphore.getCount(), 0);
    }
}

TEST(SemaphoreTest, EveryUnitIsTakenOnceWhoeverTakesIt) {
    constexpr int UNITS = 4000;
    Semaphore semaphore;
    std::atomic<int> taken{0};
    auto const takeAll = [&](auto attempt) {
        return std::thread([&, attempt] {
            while (taken < UNITS) {
                if (attempt())
                    ++taken;
                else
                    std::this_thread::yield();
            }
        });
    };
    std::thread consumers[] = {takeAll([&] { return semaphore.wait(false); }),
                               takeAll([&] { return semaphore.wait(true, 0, true); }),
                               takeAll([&] { return semaphore.status(true) == 1; })};
    std::thread giver([&] {
        for (int i = 0; i < UNITS / 4; ++i) {
            semaphore.signal();
            semaphore.signal(2);
        }
    });
    for (int i = 0; i < UNITS / 4; ++i) semaphore.update(1);
    giver.join();
    for (auto& consumer : consumers) consumer.join();
    EXPECT_EQ(taken, UNITS);
    EXPECT_EQ(semaphore.getCount(), 0);
}

TEST(SemaphoreTest, CancelledWaiterReleasesTheMutex) {
    Semaphore semaphore;
    pthread_t thread;
    auto const wait = [](void* argument) -> void* {
        static_cast<Semaphore*>(argument)->wait(true);
        return nullptr;
    };
    ASSERT_EQ(pthread_create(&thread, nullptr, wait, &semaphore), 0);
    while (State(semaphore) != 2) std::this_thread::yield();
    semaphore.getCount();
    ASSERT_EQ(pthread_cancel(thread), 0);
    void* result = nullptr;
    ASSERT_EQ(pthread_join(thread, &result), 0);
    EXPECT_EQ(result, PTHREAD_CANCELED);
    semaphore.signal();
    EXPECT_TRUE(semaphore.wait(true));
}
