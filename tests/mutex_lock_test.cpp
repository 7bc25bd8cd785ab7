// The recursive ticket mutex.
#include <gtest/gtest.h>
#include <pthread.h>

#include <atomic>
#include <cstddef>
#include <string>
#include <thread>
#include <vector>

#include "ConfigurationControl/SysLib.h"
#include "TicketMutex.h"
#include "support/FailingMutex.h"

using SysLib::MUTEX_INSTANCE;
using SysLib::MUTEX_LOCK;

namespace {

bool IsFree(MUTEX_INSTANCE& instance) {
    bool free = false;
    std::thread([&] {
        free = pthread_mutex_trylock(&instance.mutex) == 0;
        if (free) pthread_mutex_unlock(&instance.mutex);
    }).join();
    return free;
}

template <typename ACTION>
std::string ThrownText(ACTION action) {
    try {
        action();
    } catch (char const* text) {
        return text;
    }
    return "nothing thrown";
}

}  // namespace

TEST(MutexInstance, StartsFreeWithTheFixedLayout) {
    MUTEX_INSTANCE const instance;
    EXPECT_EQ(instance.owner.load(), 0u);
    EXPECT_EQ(instance.depth, 0);
    EXPECT_EQ(offsetof(MUTEX_INSTANCE, owner), sizeof(pthread_mutex_t));
    EXPECT_EQ(offsetof(MUTEX_INSTANCE, depth), sizeof(pthread_mutex_t) + 8);
}

TEST(MutexInstance, FailingInitialisationThrowsItsText) {
    mutexes::g_initFails = true;
    EXPECT_EQ(ThrownText([] { MUTEX_INSTANCE instance; }), "MUTEX_INSTANCE: pthread_mutex_init fail");
    mutexes::g_initFails = false;
}

TEST(MutexLock, NestedGuardsLockOnceAndUnlockWhenTheOuterOneEnds) {
    MUTEX_INSTANCE instance;
    mutexes::Count(&instance.mutex);
    {
        MUTEX_LOCK const outer(instance);
        EXPECT_EQ(instance.owner.load(), pthread_self());
        EXPECT_EQ(instance.depth, 1);
        {
            MUTEX_LOCK const inner(instance);
            EXPECT_EQ(instance.depth, 2);
        }
        EXPECT_EQ(instance.depth, 1);
        EXPECT_FALSE(IsFree(instance));
    }
    EXPECT_EQ(mutexes::g_taken, 1);
    mutexes::Count(nullptr);
    EXPECT_EQ(instance.owner.load(), 0u);
    EXPECT_EQ(instance.depth, 0);
    EXPECT_TRUE(IsFree(instance));
}

TEST(MutexLock, FailingLockThrowsItsTextAndLeavesTheInstanceFree) {
    MUTEX_INSTANCE instance;
    mutexes::g_failing = &instance.mutex;
    EXPECT_EQ(ThrownText([&] { MUTEX_LOCK const lock(instance); }), "MUTEX_LOCK: pthread_mutex_lock fail");
    mutexes::g_failing = nullptr;
    EXPECT_EQ(instance.owner.load(), 0u);
    EXPECT_EQ(instance.depth, 0);
    EXPECT_TRUE(IsFree(instance));
}

TEST(MutexLock, FailingLockOfABusyMutexThrowsItsText) {
    MUTEX_INSTANCE instance;
    MUTEX_LOCK const held(instance);
    std::string text;
    mutexes::g_failing = &instance.mutex;
    std::thread([&] { text = ThrownText([&] { MUTEX_LOCK const lock(instance); }); }).join();
    mutexes::g_failing = nullptr;
    EXPECT_EQ(text, "MUTEX_LOCK: pthread_mutex_lock fail");
    EXPECT_EQ(instance.owner.load(), pthread_self());
    EXPECT_EQ(instance.depth, 1);
}

TEST(MutexLock, LibraryGuardAndExportedGuardNestInEachOther) {
    MUTEX_INSTANCE instance;
    TicketMutex::GUARD const outer(instance);
    MUTEX_LOCK const middle(instance);
    TicketMutex::GUARD const inner(instance);
    EXPECT_EQ(instance.depth, 3);
}

TEST(MutexLock, WaiterSleepsUntilALongHolderReleases) {
    MUTEX_INSTANCE instance;
    std::atomic<bool> acquired{false};
    std::thread waiter;
    {
        MUTEX_LOCK const held(instance);
        mutexes::Count(&instance.mutex);
        waiter = std::thread([&] {
            MUTEX_LOCK const lock(instance);
            acquired = true;
        });
        while (mutexes::g_waits == 0) std::this_thread::yield();  // until the thread waits in the system
        EXPECT_FALSE(acquired);
        EXPECT_LE(mutexes::g_triedInVain, 10) << "at most one try every 2 of 20 microseconds";
    }
    waiter.join();
    mutexes::Count(nullptr);
    EXPECT_TRUE(acquired);
}

TEST(MutexLock, ManyThreadsExcludeEachOther) {
    MUTEX_INSTANCE instance;
    constexpr int THREADS = 4;
    constexpr int ROUNDS = 20000;
    long long counter = 0;  // not atomic: without exclusion the sanitizer reports a race and increments are lost
    std::vector<std::thread> threads;
    for (int t = 0; t < THREADS; ++t)
        threads.emplace_back([&] {
            for (int i = 0; i < ROUNDS; ++i) {
                MUTEX_LOCK const outer(instance);
                MUTEX_LOCK const inner(instance);
                ++counter;
            }
        });
    for (auto& thread : threads) thread.join();
    EXPECT_EQ(counter, THREADS * ROUNDS);
    EXPECT_EQ(instance.owner.load(), 0u);
    EXPECT_EQ(instance.depth, 0);
}
