// The recursive ticket mutex. The two pthread calls that can fail are replaced by forwarders which can be told to.
#include <dlfcn.h>
#include <gtest/gtest.h>
#include <pthread.h>

#include <atomic>
#include <cerrno>
#include <cstddef>
#include <string>
#include <thread>
#include <vector>

#include "ConfigurationControl/SysLib.h"
#include "TicketMutex.h"

using SysLib::MUTEX_INSTANCE;
using SysLib::MUTEX_LOCK;

namespace {

std::atomic<pthread_mutex_t*> g_failingLock{nullptr};
std::atomic<pthread_mutex_t*> g_countedLock{nullptr};
std::atomic<int> g_locks{0};
std::atomic<bool> g_initFails{false};

template <typename FUNCTION>
FUNCTION* Next(char const* name) {
    return reinterpret_cast<FUNCTION*>(dlsym(RTLD_NEXT, name));
}

}  // namespace

extern "C" int pthread_mutex_lock(pthread_mutex_t* mutex) noexcept {
    static auto* const next = Next<int(pthread_mutex_t*)>("pthread_mutex_lock");
    if (mutex == g_failingLock) return EINVAL;
    if (mutex == g_countedLock) ++g_locks;
    return next(mutex);
}

extern "C" int pthread_mutex_init(pthread_mutex_t* mutex, pthread_mutexattr_t const* attributes) noexcept {
    static auto* const next = Next<int(pthread_mutex_t*, pthread_mutexattr_t const*)>("pthread_mutex_init");
    return g_initFails ? ENOMEM : next(mutex, attributes);
}

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
    g_initFails = true;
    EXPECT_EQ(ThrownText([] { MUTEX_INSTANCE instance; }), "MUTEX_INSTANCE: pthread_mutex_init fail");
    g_initFails = false;
}

TEST(MutexLock, NestedGuardsLockOnceAndUnlockWhenTheOuterOneEnds) {
    MUTEX_INSTANCE instance;
    g_locks = 0;
    g_countedLock = &instance.mutex;
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
    g_countedLock = nullptr;
    EXPECT_EQ(g_locks, 1);
    EXPECT_EQ(instance.owner.load(), 0u);
    EXPECT_EQ(instance.depth, 0);
    EXPECT_TRUE(IsFree(instance));
}

TEST(MutexLock, FailingLockThrowsItsTextAndLeavesTheInstanceFree) {
    MUTEX_INSTANCE instance;
    g_failingLock = &instance.mutex;
    EXPECT_EQ(ThrownText([&] { MUTEX_LOCK const lock(instance); }), "MUTEX_LOCK: pthread_mutex_lock fail");
    g_failingLock = nullptr;
    EXPECT_EQ(instance.owner.load(), 0u);
    EXPECT_EQ(instance.depth, 0);
    EXPECT_TRUE(IsFree(instance));
}

TEST(MutexLock, FailingLockOfABusyMutexThrowsItsText) {
    MUTEX_INSTANCE instance;
    MUTEX_LOCK const held(instance);
    std::string text;
    g_failingLock = &instance.mutex;
    std::thread([&] { text = ThrownText([&] { MUTEX_LOCK const lock(instance); }); }).join();
    g_failingLock = nullptr;
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
        g_locks = 0;
        g_countedLock = &instance.mutex;
        waiter = std::thread([&] {
            MUTEX_LOCK const lock(instance);
            acquired = true;
        });
        while (g_locks == 0) std::this_thread::yield();  // until it leaves the waiting to the system
        EXPECT_FALSE(acquired);
    }
    waiter.join();
    g_countedLock = nullptr;
    EXPECT_TRUE(acquired);
}

TEST(MutexLock, ManyThreadsExcludeEachOther) {
    MUTEX_INSTANCE instance;
    constexpr int THREADS = 4;
    constexpr int ROUNDS = 20000;
    long long counter = 0;  // plain: the sanitizer sees a missing exclusion, the sum a lost addition
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
