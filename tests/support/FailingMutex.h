// Mutexes that fail. Replaces pthread's functions by forwarders which can be told to fail, and which count, in one
// source of a program.
#pragma once

#include <pthread.h>

#include <atomic>
#include <cerrno>

#include "NextFunction.h"

namespace mutexes {

inline std::atomic<pthread_mutex_t*> g_failing{nullptr};  // cannot be locked
inline std::atomic<bool> g_initFails{false};

// Of the mutex that is counted: how often it was taken, tried in vain, and waited for.
inline std::atomic<pthread_mutex_t*> g_counted{nullptr};
inline std::atomic<int> g_taken{0};
inline std::atomic<int> g_triedInVain{0};
inline std::atomic<int> g_waits{0};

inline void Count(pthread_mutex_t* mutex) {
    g_taken = g_triedInVain = g_waits = 0;
    g_counted = mutex;
}

}  // namespace mutexes

extern "C" int pthread_mutex_lock(pthread_mutex_t* mutex) noexcept {
    static auto* const next = NextFunction<int (*)(pthread_mutex_t*)>("pthread_mutex_lock");
    if (mutex == mutexes::g_failing) return EINVAL;
    bool const isCounted = mutex == mutexes::g_counted;
    if (isCounted) ++mutexes::g_waits;
    int const result = next(mutex);
    if (isCounted) ++mutexes::g_taken;
    return result;
}

extern "C" int pthread_mutex_trylock(pthread_mutex_t* mutex) noexcept {
    static auto* const next = NextFunction<int (*)(pthread_mutex_t*)>("pthread_mutex_trylock");
    if (mutex == mutexes::g_failing) return EINVAL;
    int const result = next(mutex);
    if (mutex == mutexes::g_counted) ++(result == 0 ? mutexes::g_taken : mutexes::g_triedInVain);
    return result;
}

extern "C" int pthread_mutex_init(pthread_mutex_t* mutex, pthread_mutexattr_t const* attributes) noexcept {
    static auto* const next = NextFunction<int (*)(pthread_mutex_t*, pthread_mutexattr_t const*)>("pthread_mutex_init");
    return mutexes::g_initFails ? ENOMEM : next(mutex, attributes);
}
