// The ticket mutex, and two file system helpers for hosts.
// How a thread waits for a busy ticket is decided here.

#include "ConfigurationControl/SysLib.h"

#include <dirent.h>

#include <cerrno>
#include <chrono>
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

// An entry takes a microsecond, putting a thread to sleep and waking it about 15. So a waiter first tries again for 20
// microseconds, by the clock: a PAUSE takes 3 to 60 ns, depending on the processor. Between its tries it leaves the
// mutex alone, so that the thread that has it keeps the cache lines and its full speed. False: still not acquired.
bool AcquireWithPauses(pthread_mutex_t& mutex) noexcept {
    using CLOCK = std::chrono::steady_clock;
    constexpr std::chrono::microseconds PAUSE{2};
    constexpr int TRIES = 10;
    auto end = CLOCK::now();
    for (int tries = 0; tries < TRIES; ++tries) {
        end += PAUSE;
        while (CLOCK::now() < end) Pause();
        int const result = pthread_mutex_trylock(&mutex);
        if (result != EBUSY) return result == 0;
    }
    return false;
}

}  // namespace

void Wait(pthread_mutex_t& mutex) {
    if (!AcquireWithPauses(mutex) && pthread_mutex_lock(&mutex) != 0) throw "MUTEX_LOCK: pthread_mutex_lock fail";
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
