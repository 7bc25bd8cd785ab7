// Objects with a thread of their own. Start must not touch the object once the thread, which may delete it, may run.

#include "ConfigurationControl/ThreadBase.h"

#include <future>
#include <memory>
#include <new>

#include "Common/Src/Cancellation.h"

namespace {

// The argument of a new thread, which waits until its handle is in the object and from then on has the object to
// itself. On the heap, because the thread may outlive the call that started it, or end before it.
struct LAUNCH {
    CThreadBase* object;
    std::future<void> handleStored;
};

void* EnterThread(void* argument) {
    std::unique_ptr<LAUNCH> launch(static_cast<LAUNCH*>(argument));
    launch->handleStored.wait();
    CThreadBase* const object = launch->object;
    launch.reset();
    return CThreadBase::ProcessJobs(object);
}

}  // namespace

CThreadBase::CThreadBase(bool startNow) : m_thread(0), m_selfDelete(false) {
    if (startNow) CThreadBase::Start();
}

CThreadBase::~CThreadBase() {
    Terminate();
}

void CThreadBase::Start() {
    if (m_thread != 0) return;
    try {
        std::promise<void> handleStored;
        auto launch = std::make_unique<LAUNCH>(LAUNCH{this, handleStored.get_future()});
        pthread_t thread;
        if (pthread_create(&thread, nullptr, EnterThread, launch.get()) != 0) return;
        static_cast<void>(launch.release());
        m_thread = thread;
        handleStored.set_value();
        pthread_detach(thread);
    } catch (std::bad_alloc const&) {
        // Treated like a thread that the system cannot make.
    }
}

void CThreadBase::Terminate() {
    m_thread = 0;
}

void* CThreadBase::ProcessJobs(void* object) {
    if (!object) return nullptr;
    auto* const base = static_cast<CThreadBase*>(object);
    try {
        base->Run();
    } catch (...) {
        PassCancellation();
    }
    if (base->m_selfDelete) delete base;
    return nullptr;
}
