/** @file
 * A counting semaphore with blocking, non-blocking and timed waits.
 */
#ifndef CONFIGURATIONCONTROL_SEMAPHORE_H
#define CONFIGURATIONCONTROL_SEMAPHORE_H

#include <pthread.h>

#include <atomic>
#include <cstdint>

#include "ConfigurationControl/Export.h"

/**
 * Counts units that threads take and give back. The count may go below 0 through `update` or `signal(int)`; then as
 * many units are owed before a waiter gets one.
 *
 * Threads: any, at any time, for all operations. `status` and `update` take no lock: they wake nobody, and what they
 * answer is steady only where the callers take turns. The object must outlive every call. No operation throws; what the
 * system's mutex and condition report is not looked at.
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
     * @param seconds length of a period; at 0 or less a period has passed at once
     * @param giveUpOnTimeout true: gives up when the thread wakes, for whatever reason, and there is still no unit;
     * false: waits another period instead
     * @return whether a unit was taken
     */
    bool wait(bool block, int seconds, bool giveUpOnTimeout);
    /**
     * Takes one unit if there is one; never waits, not even for the lock.
     * @param peek what a failure leaves: true, the state of a caller who is still checking; false, that of one who
     * went away
     * @return 1 when a unit was taken; otherwise 2 when `peek`, else 0
     */
    int status(bool peek);

    /** Gives one unit, and wakes one waiter unless units were owed. */
    void signal();
    /** Gives `count` units, and wakes one waiter (only one, whatever `count` is) if there is a unit then. */
    void signal(int count);
    /** Gives one unit, and wakes all waiters unless units were owed. One of them takes it, the others wait on. */
    void broadcast();
    /** Adds `delta`, which may be negative, to the count; wakes nobody. @return the new count */
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
