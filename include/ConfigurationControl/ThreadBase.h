/** @file
 * A base for objects that run their work on a detached thread of their own.
 */
#ifndef CONFIGURATIONCONTROL_THREADBASE_H
#define CONFIGURATIONCONTROL_THREADBASE_H

#include "ConfigurationControl/CxxOnly.h"

#include <pthread.h>

#include <atomic>

#include "ConfigurationControl/Export.h"

/**
 * A derived class supplies `Run`. Nobody joins the thread, and after `Run` the thread reads m_selfDelete: the object
 * must either delete itself or live as long as the thread, in practice as long as the process.
 *
 * The safe pattern: pass `false` to this base, and call `Start` when the derived object is complete, at the earliest
 * at the end of the most derived constructor.
 *
 *     class JOB : public CThreadBase {
 *      public:
 *         JOB() : CThreadBase(false) {
 *             m_selfDelete = true;
 *             Start();  // the last statement: the object may have deleted itself
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
     * With `startNow` the thread starts while the derived object is still being constructed: it may call the pure
     * virtual `Run`, which ends the process, or use members that are not constructed yet. That is safe only if the host
     * delays the thread; otherwise use the pattern above.
     */
    explicit CThreadBase(bool startNow);
    /** Forgets the thread without stopping it. A thread that still runs must not use the object any more. */
    virtual ~CThreadBase();
    CThreadBase(CThreadBase const&) = delete;
    CThreadBase& operator=(CThreadBase const&) = delete;

 protected:
    /**
     * The work, called once on the object's thread. An exception that leaves it is dropped. A cancellation or
     * pthread_exit ends the thread at once without deleting the object.
     */
    virtual void Run() = 0;

 public:
    /**
     * Starts the thread, detached and with default attributes, unless one was started and not forgotten. A failure is
     * not reported; `Start` may be called again. Once `Run` can begin, `Start` does not use the object any more, so the
     * thread may delete it.
     */
    virtual void Start();
    /** Forgets the thread, so that `Start` starts another one. Neither stops the thread nor waits for it. */
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
