/** @file
 * The ticket mutex, its scoped lock, and two file system helpers.
 */
#ifndef CONFIGURATIONCONTROL_SYSLIB_H
#define CONFIGURATIONCONTROL_SYSLIB_H

#include "ConfigurationControl/CxxOnly.h"

#include <pthread.h>

#include <atomic>
#include <cstdint>
#include <list>
#include <string>

#include "ConfigurationControl/Export.h"

/** Threads and files. */
namespace SysLib {

/**
 * A mutex that its owning thread may lock again through MUTEX_LOCK. Several tickets can share one by
 * STICKET_WHOAMI::pMutex; it must outlive them.
 */
struct CONFIGURATIONCONTROL_API MUTEX_INSTANCE {
    /** Throws the C string "MUTEX_INSTANCE: pthread_mutex_init fail". */
    MUTEX_INSTANCE();
    ~MUTEX_INSTANCE();
    MUTEX_INSTANCE(MUTEX_INSTANCE const&) = delete;
    MUTEX_INSTANCE& operator=(MUTEX_INSTANCE const&) = delete;

    pthread_mutex_t mutex;        /**< default attributes */
    std::atomic<pthread_t> owner; /**< 0: free. A thread finds itself here only if it is the owner: no lock needed */
    int32_t depth;                /**< how often the owner has locked it; only the owner reads or writes this */
};
static_assert(sizeof(std::atomic<pthread_t>) == 8 && alignof(std::atomic<pthread_t>) == 8);
static_assert(sizeof(MUTEX_INSTANCE) == sizeof(pthread_mutex_t) + 16);

/** Locks a MUTEX_INSTANCE for its scope. One thread may nest such locks. */
class CONFIGURATIONCONTROL_API MUTEX_LOCK {
 public:
    /** Waits until this thread has the mutex. Throws the C string "MUTEX_LOCK: pthread_mutex_lock fail". */
    explicit MUTEX_LOCK(MUTEX_INSTANCE& instance);
    ~MUTEX_LOCK();
    MUTEX_LOCK(MUTEX_LOCK const&) = delete;
    MUTEX_LOCK& operator=(MUTEX_LOCK const&) = delete;

 private:
    MUTEX_INSTANCE& m_instance;
};

/**
 * Lists a directory: every entry, "." and ".." included, in the order the system returns them; with a non-empty
 * `suffix` only the names that end with exactly these bytes. They replace what `names` held; an unreadable directory
 * leaves it empty. `directory` and `suffix` may be elements of `names`. Safe to call from any thread.
 */
CONFIGURATIONCONTROL_API void GetAllFilenames(std::list<std::string>& names, std::string const& directory,
                                              std::string const& suffix);

/**
 * Renames a file, atomically replacing an existing one. A failure leaves both as they were and is not reported.
 * @return always ""
 */
CONFIGURATIONCONTROL_API std::string ForceRename(std::string const& from, std::string const& to);

}  // namespace SysLib

#endif
