/** @file
 * A counting semaphore with blocking, non-blocking and timed waits.
 */
#ifndef CONFIGURATIONCONTROL_SEMAPHORE_H
#define CONFIGURATIONCONTROL_SEMAPHORE_H

#include "ConfigurationControl/CxxOnly.h"

#include <pthread.h>

#include <atomic>
#include <cstdint>

#include "ConfigurationControl/Export.h"

/**
 * Counts units that threads take and give back. `update` and `signal(int)` may make the count negative; then as many
 * units must be given back before a waiter gets one.
 *
 * Threads: any thread may call any operation at any time. `status` and `update` take no lock and wake nobody; their
 * results are reliable only where the callers exclude each other. The object must outlive every call. No operation
 * throws; errors of the system's mutex and condition variable are ignored.
 */
class CONFIGURATIONCONTROL_API Semaphore {
 public:
    /** No unit. */
    Semaphore();
    /** `initial` units, which may be negative. */
    explicit Semaphore(int initial);
    virtual ~Semaphore();
    Semaphore(Semaphore const&) = delete;
    Semaphore& operator=(Semaphore const&) = delete;

    /**
     * Takes one unit.
     * @param block waits, without limit, until there is one
     * @return whether a unit was taken; always true when `block`
     */
    bool wait(bool block);
    /**
     * Takes one unit, waiting in periods of `seconds` by the wall clock.
     * @param block false: does not wait
     * @param seconds length of a period; 0 or less ends it at once
     * @param giveUpOnTimeout true: returns false when the thread wakes, for any reason, and there is no unit; false:
     * waits for another period
     * @return whether a unit was taken
     */
    bool wait(bool block, int seconds, bool giveUpOnTimeout);
    /**
     * Takes one unit if there is one; never waits, not even for the lock.
     * @param peek after a failure, true leaves the state at 2 (checking), false sets it to 0
     * @return 1 if a unit was taken; otherwise 2 if `peek`, else 0
     */
    int status(bool peek);

    /** Gives one unit, and wakes one waiter unless the count was negative. */
    void signal();
    /** Gives `count` units. If the new count is above 0, wakes one waiter, whatever `count` is. */
    void signal(int count);
    /** Gives one unit, and wakes all waiters unless the count was negative. One takes the unit, the others wait on. */
    void broadcast();
    /** Adds `delta`, which may be negative, to the count; wakes no thread. @return the new count */
    int update(int delta);
    /** The count. */
    int getCount();

 private:
    pthread_cond_t m_condition;
    pthread_mutex_t m_mutex;
    std::atomic<int32_t> m_count;
    std::atomic<int32_t> m_state; /**< of the last attempt: 0 no unit taken, 1 one taken, 2 checking or waiting */
};
static_assert(sizeof(std::atomic<int32_t>) == 4);

#endif
