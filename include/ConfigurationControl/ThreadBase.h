/** @file
 * A base for objects that run their work on a detached thread of their own.
 */
#ifndef CONFIGURATIONCONTROL_THREADBASE_H
#define CONFIGURATIONCONTROL_THREADBASE_H

#include <pthread.h>

#include <atomic>

#include "ConfigurationControl/Export.h"

/**
 * A derived class supplies `Run`. Nobody joins the thread, and after `Run` it looks once more at the object (see
 * m_selfDelete): the object must either delete itself or live as long as the thread, in practice as the process.
 *
 * The safe pattern: give this base `false`, and call `Start` when the derived object is complete, at the earliest at
 * the end of the most derived constructor.
 *
 *     class JOB : public CThreadBase {
 *      public:
 *         JOB() : CThreadBase(false) {
 *             m_selfDelete = true;
 *             Start();  // nothing behind this line: the object may be gone already
 *         }
 *
 *      private:
 *         void Run() override { ... }
 *     };
 *
 * Threads: `Start` and `Terminate` may be called from any thread, one at a time. None of the operations throws.
 */
class CONFIGURATIONCONTROL_API CThreadBase {
 public:
    /**
     * Starts nothing unless `startNow`. With `startNow` the thread runs while the derived object is still being built:
     * it may call `Run` before there is one, which ends the process, or find members that are not there yet. It is only
     * safe where the host keeps the thread from getting that far; otherwise use the pattern above.
     */
    explicit CThreadBase(bool startNow);
    /** Forgets the thread. It is not stopped: a thread that still runs must not touch the object any more. */
    virtual ~CThreadBase();
    CThreadBase(CThreadBase const&) = delete;
    CThreadBase& operator=(CThreadBase const&) = delete;

 protected:
    /**
     * The work. Called once on the object's thread. An exception that leaves it is swallowed; a cancellation or
     * pthread_exit ends the thread at once, and the object is then not deleted.
     */
    virtual void Run() = 0;

 public:
    /**
     * Starts the thread, detached and with default attributes, unless one was started and not forgotten. A thread that
     * cannot be made is not reported; `Start` may be called again. Does not touch the object once `Run` can begin, so
     * that the thread may delete it at any moment.
     */
    virtual void Start();
    /** Forgets the thread, so that `Start` starts another one. It is neither stopped nor waited for. */
    void Terminate();
    /**
     * What the thread does: `Run`, then the deletion of the object if it is to delete itself.
     * @param object a CThreadBase, converted to `void*` from exactly that type; null does nothing
     * @return null
     */
    static void* ProcessJobs(void* object);

 private:
    std::atomic<pthread_t> m_thread; /**< 0: none started, or forgotten */

 protected:
    bool m_selfDelete; /**< false at first; the object deletes itself after `Run`. To be set before `Start` or in `Run`
                        */
};
static_assert(sizeof(std::atomic<pthread_t>) == sizeof(pthread_t));

#endif
