// Takes and releases the ticket mutex, inline, because every table entry does. The exported MUTEX_LOCK calls these.
#pragma once

#include "ConfigurationControl/SysLib.h"

namespace TicketMutex {

// Waits for a mutex that another thread holds. Throws the C string "MUTEX_LOCK: pthread_mutex_lock fail".
void Wait(pthread_mutex_t& mutex);

// The owner word is read and written relaxed: a thread finds its own identifier there only if it wrote it itself, and
// all else is ordered by the mutex.
inline void Acquire(SysLib::MUTEX_INSTANCE& instance) {
    pthread_t const self = pthread_self();
    pthread_t const owner = instance.owner.load(std::memory_order_relaxed);
    if (__builtin_expect(owner == self, false)) {
        ++instance.depth;
        return;
    }
    // Tried first: a thread that lost the race for a free mutex would sleep in pthread_mutex_lock.
    if (__builtin_expect(owner != 0 || pthread_mutex_trylock(&instance.mutex) != 0, false)) Wait(instance.mutex);
    instance.owner.store(self, std::memory_order_relaxed);
    instance.depth = 1;
}

// By the owner only.
inline void Release(SysLib::MUTEX_INSTANCE& instance) noexcept {
    if (__builtin_expect(instance.depth > 1, false)) {
        --instance.depth;
        return;
    }
    instance.depth = 0;
    instance.owner.store(0, std::memory_order_relaxed);
    pthread_mutex_unlock(&instance.mutex);
}

// MUTEX_LOCK for the library itself, without a call through the linker's table.
class GUARD {
 public:
    explicit GUARD(SysLib::MUTEX_INSTANCE& instance) : m_instance(instance) { Acquire(instance); }
    ~GUARD() { Release(m_instance); }
    GUARD(GUARD const&) = delete;
    GUARD& operator=(GUARD const&) = delete;

 private:
    SysLib::MUTEX_INSTANCE& m_instance;
};

}  // namespace TicketMutex
