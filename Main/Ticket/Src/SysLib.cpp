// The ticket mutex, and two file system helpers for hosts.
// How a thread waits for a busy ticket is decided here.

#include "ConfigurationControl/SysLib.h"

#include <dirent.h>

#include <cerrno>
#include <cstdio>
#include <memory>
#include <string_view>
#include <utility>

#include "TicketMutex.h"

namespace TicketMutex {

namespace {

inline void Pause() noexcept {
#if defined(__x86_64__) || defined(__i386__)
    __builtin_ia32_pause();
#elif defined(__aarch64__)
    asm volatile("yield");
#endif
}

// Ticket operations are far shorter than putting a thread to sleep and waking it, so a waiter first tries again for a
// while. Between its tries it stays away from the mutex for longer and longer, which leaves the cache lines, and so the
// full speed, to the thread that has them. False: still not acquired.
bool AcquireWithBackOff(pthread_mutex_t& mutex) noexcept {
    constexpr int FIRST_PAUSES = 64;
    constexpr int LAST_PAUSES = 4096;
    for (int pauses = FIRST_PAUSES; pauses <= LAST_PAUSES; pauses *= 2) {
        for (int i = 0; i < pauses; ++i) Pause();
        int const result = pthread_mutex_trylock(&mutex);
        if (result != EBUSY) return result == 0;
    }
    return false;
}

}  // namespace

void Wait(pthread_mutex_t& mutex) {
    if (!AcquireWithBackOff(mutex) && pthread_mutex_lock(&mutex) != 0) ThrowLockFailure();
}

void ThrowLockFailure() {
    throw "MUTEX_LOCK: pthread_mutex_lock fail";
}

}  // namespace TicketMutex

namespace SysLib {

MUTEX_INSTANCE::MUTEX_INSTANCE() : owner(0), depth(0) {
    if (pthread_mutex_init(&mutex, nullptr) != 0) throw "MUTEX_INSTANCE: pthread_mutex_init fail";
}

MUTEX_INSTANCE::~MUTEX_INSTANCE() {
    pthread_mutex_destroy(&mutex);
}

MUTEX_LOCK::MUTEX_LOCK(MUTEX_INSTANCE& instance) : m_instance(instance) {
    TicketMutex::Acquire(instance);
}

MUTEX_LOCK::~MUTEX_LOCK() {
    TicketMutex::Release(m_instance);
}

void GetAllFilenames(std::list<std::string>& names, std::string const& directory, std::string const& suffix) {
    std::list<std::string> found;  // `directory` and `suffix` may be elements of `names`
    if (std::unique_ptr<DIR, int (*)(DIR*)> const stream{opendir(directory.c_str()), closedir}) {
        while (dirent const* const entry = readdir(stream.get())) {
            std::string_view const name = entry->d_name;
            if (name.size() >= suffix.size() && name.substr(name.size() - suffix.size()) == suffix)
                found.emplace_back(name);
        }
    }
    names = std::move(found);
}

std::string ForceRename(std::string const& from, std::string const& to) {
    static_cast<void>(std::rename(from.c_str(), to.c_str()));
    return {};
}

}  // namespace SysLib
