// Objects with a thread of their own. Thread creation is replaced by a function that can fail, return late, and delay
// the new thread.
#include <gtest/gtest.h>
#include <pthread.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <functional>
#include <future>
#include <memory>
#include <stdexcept>
#include <thread>
#include <utility>

#include "ConfigurationControl/ThreadBase.h"
#include "support/FailingAllocations.h"
#include "support/NextFunction.h"

namespace {

std::atomic<bool> g_creationFails{false};
std::atomic<bool> g_returnsLate{false};  // creation returns only after the new thread has run for a while
std::atomic<int> g_created{0};
std::atomic<int> g_ended{0};
std::atomic<int> g_detached{0};
std::shared_future<void> g_heldBack;  // if valid, new threads wait for it before they run

// The function that a new thread runs. It counts the thread's end, also by cancellation.
struct ENTRANCE {
    std::shared_future<void> heldBack;
    void* (*routine)(void*);
    void* argument;

    static void* Enter(void* self) {
        ENTRANCE const entrance = *static_cast<ENTRANCE*>(self);
        delete static_cast<ENTRANCE*>(self);
        struct END {
            ~END() { ++g_ended; }
        } const end;
        if (entrance.heldBack.valid()) entrance.heldBack.wait();
        return entrance.routine(entrance.argument);
    }
};

}  // namespace

extern "C" int pthread_create(pthread_t* thread, pthread_attr_t const* attributes, void* (*routine)(void*),
                              void* argument) noexcept {
    static auto* const next = NextFunction<decltype(&pthread_create)>("pthread_create");
    if (g_creationFails) return EAGAIN;
    ++g_created;
    int const result = next(thread, attributes, ENTRANCE::Enter, new ENTRANCE{g_heldBack, routine, argument});
    if (g_returnsLate) std::this_thread::sleep_for(std::chrono::milliseconds(5));
    return result;
}

extern "C" int pthread_detach(pthread_t thread) noexcept {
    static auto* const next = NextFunction<decltype(&pthread_detach)>("pthread_detach");
    ++g_detached;
    return next(thread);
}

namespace {

// Runs a given function; the other members let tests inspect the object.
class WORKER : public CThreadBase {
 public:
    explicit WORKER(std::function<void(WORKER&)> work, bool startNow = false)
        : CThreadBase(startNow), m_work(std::move(work)) {}
    ~WORKER() override {
        if (m_onDestruction) m_onDestruction();
    }
    void DeleteItself(std::function<void()> onDestruction) {
        m_onDestruction = std::move(onDestruction);
        m_selfDelete = true;
    }
    bool DeletesItself() const { return m_selfDelete; }

 private:
    void Run() override { m_work(*this); }

    std::function<void(WORKER&)> m_work;
    std::function<void()> m_onDestruction;
};

// The handle has no accessor; it is read at its fixed offset.
pthread_t Handle(CThreadBase const& object) {
    return *reinterpret_cast<std::atomic<pthread_t> const*>(reinterpret_cast<char const*>(&object) + sizeof(void*));
}

class ThreadBase : public testing::Test {
 protected:
    void SetUp() override {
        g_created = 0;
        g_ended = 0;
        g_detached = 0;
    }
    // Waits until no thread can access its object any more.
    static void AwaitThreads() {
        while (g_ended < g_created) std::this_thread::yield();
    }
    void TearDown() override {
        g_creationFails = false;
        g_returnsLate = false;
        g_heldBack = {};
    }
};

}  // namespace

TEST_F(ThreadBase, StartsNothingByItself) {
    WORKER const worker([](WORKER&) {});
    EXPECT_EQ(Handle(worker), 0u);
    EXPECT_FALSE(worker.DeletesItself());
    EXPECT_EQ(g_created, 0);
}

TEST_F(ThreadBase, StartRunsTheWorkOnADetachedThreadOfItsOwn) {
    pthread_t thread = 0;
    WORKER worker([&](WORKER&) { thread = pthread_self(); });
    worker.Start();
    AwaitThreads();
    EXPECT_NE(thread, pthread_self());
    EXPECT_EQ(Handle(worker), thread);
    EXPECT_EQ(g_created, 1);
    EXPECT_EQ(g_detached, 1);
}

TEST_F(ThreadBase, HandleIsInTheObjectBeforeTheWorkBegins) {
    g_returnsLate = true;
    for (int i = 0; i < 5; ++i) {
        pthread_t seen = 0;
        WORKER worker([&](WORKER& self) { seen = Handle(self); });
        worker.Start();
        AwaitThreads();
        EXPECT_NE(seen, 0u);
        EXPECT_EQ(seen, Handle(worker));
    }
}

TEST_F(ThreadBase, StartTwiceStartsOneThreadOnly) {
    int runs = 0;
    WORKER worker([&](WORKER&) { ++runs; });
    worker.Start();
    worker.Start();
    AwaitThreads();
    worker.Start();  // the handle is kept when the work is done
    EXPECT_EQ(g_created, 1);
    EXPECT_EQ(runs, 1);
}

TEST_F(ThreadBase, TerminateForgetsTheThreadWhichRunsOn) {
    std::promise<void> proceed;
    std::shared_future<void> const mayProceed = proceed.get_future().share();
    std::atomic<int> runs{0};
    WORKER worker([&, mayProceed](WORKER&) {
        mayProceed.wait();
        ++runs;
    });
    worker.Start();
    worker.Terminate();
    EXPECT_EQ(Handle(worker), 0u);
    worker.Start();
    EXPECT_NE(Handle(worker), 0u);
    EXPECT_EQ(g_created, 2);
    proceed.set_value();
    AwaitThreads();
    EXPECT_EQ(runs, 2);
}

TEST_F(ThreadBase, FailedCreationIsSilentAndMayBeTriedAgain) {
    int runs = 0;
    WORKER worker([&](WORKER&) { ++runs; });
    g_creationFails = true;
    worker.Start();
    EXPECT_EQ(Handle(worker), 0u);
    EXPECT_EQ(g_detached, 0);
    g_creationFails = false;
    worker.Start();
    AwaitThreads();
    EXPECT_EQ(runs, 1);
}

TEST_F(ThreadBase, ExhaustedMemoryIsAFailedCreation) {
    int runs = 0;
    WORKER worker([&](WORKER&) { ++runs; });
    g_creationFails = true;  // creation fails, so that only allocations of the object itself are counted
    int failed = 0;
    do {
        allocations::With(failed, [&] { worker.Start(); });
        EXPECT_EQ(Handle(worker), 0u);
    } while (allocations::t_failed > 0 && ++failed);
    EXPECT_GT(failed, 0) << "nothing failed";
    g_creationFails = false;
    worker.Start();
    AwaitThreads();
    EXPECT_EQ(runs, 1);
}

TEST_F(ThreadBase, StartNowStartsFromTheConstructor) {
    std::promise<void> constructed;
    g_heldBack = constructed.get_future().share();  // safe only because the new thread does not run yet
    int runs = 0;
    WORKER worker([&](WORKER&) { ++runs; }, true);
    EXPECT_EQ(g_created, 1);
    EXPECT_NE(Handle(worker), 0u);
    worker.Start();
    EXPECT_EQ(g_created, 1);
    constructed.set_value();
    AwaitThreads();
    EXPECT_EQ(runs, 1);
}

TEST_F(ThreadBase, ObjectDeletesItselfAfterItsWorkWhenAsked) {
    bool worked = false;
    bool deletedAfterwards = false;
    auto* const worker = new WORKER([&](WORKER&) { worked = true; });
    worker->DeleteItself([&] { deletedAfterwards = worked; });
    worker->Start();
    AwaitThreads();
    EXPECT_TRUE(deletedAfterwards);
}

TEST_F(ThreadBase, StartLeavesAnObjectAloneThatDeletesItselfAtOnce) {
    constexpr int OBJECTS = 300;
    std::atomic<int> deleted{0};
    for (int i = 0; i < OBJECTS; ++i) {
        auto* const worker = new WORKER([](WORKER&) {});
        worker->DeleteItself([&] { ++deleted; });
        worker->Start();  // the sanitizers report a use after destruction
    }
    AwaitThreads();
    EXPECT_EQ(deleted, OBJECTS);
}

TEST_F(ThreadBase, WorkMayDecideThatTheObjectDeletesItself) {
    bool deleted = false;
    auto* const worker = new WORKER([&](WORKER& self) { self.DeleteItself([&] { deleted = true; }); });
    worker->Start();
    AwaitThreads();
    EXPECT_TRUE(deleted);
}

TEST_F(ThreadBase, ExceptionFromTheWorkIsSwallowedAndTheObjectStillDeleted) {
    std::function<void(WORKER&)> const works[] = {[](WORKER&) { throw std::runtime_error("work"); },
                                                  [](WORKER&) { throw 5; }, [](WORKER&) { throw "text"; }};
    for (auto const& work : works) {
        bool deleted = false;
        auto* const worker = new WORKER(work);
        worker->DeleteItself([&] { deleted = true; });
        worker->Start();
        AwaitThreads();
        EXPECT_TRUE(deleted);
    }
}

TEST_F(ThreadBase, CancellationEndsTheThread) {
    std::atomic<bool> running{false};
    WORKER worker([&](WORKER&) {
        running = true;
        for (;;) usleep(1000);  // no locals: AddressSanitizer does not notice that a cancellation leaves their frame
    });
    worker.Start();
    while (!running) std::this_thread::yield();
    ASSERT_EQ(pthread_cancel(Handle(worker)), 0);
    AwaitThreads();  // a swallowed cancellation would have ended the process
}

TEST_F(ThreadBase, ThreadMayExitFromItsWorkWhichKeepsTheObject) {
    bool deleted = false;
    {
        WORKER worker([](WORKER&) { pthread_exit(nullptr); });
        worker.DeleteItself([&] { deleted = true; });
        worker.Start();
        AwaitThreads();
        EXPECT_FALSE(deleted);
    }
    EXPECT_TRUE(deleted);
}

TEST_F(ThreadBase, ProcessJobsRunsTheWorkOfItsObject) {
    EXPECT_EQ(CThreadBase::ProcessJobs(nullptr), nullptr);

    int runs = 0;
    WORKER worker([&](WORKER&) { ++runs; });
    EXPECT_EQ(CThreadBase::ProcessJobs(static_cast<CThreadBase*>(&worker)), nullptr);
    EXPECT_EQ(runs, 1);

    bool deleted = false;
    auto* const deletedOne = new WORKER([&](WORKER&) { ++runs; });
    deletedOne->DeleteItself([&] { deleted = true; });
    EXPECT_EQ(CThreadBase::ProcessJobs(static_cast<CThreadBase*>(deletedOne)), nullptr);
    EXPECT_TRUE(deleted);
    EXPECT_EQ(runs, 2);
}

TEST_F(ThreadBase, WorkAndStartAreTheVirtualOperationsBehindTheDestructors) {
    int runs = 0;
    WORKER worker([&](WORKER&) { ++runs; });
    using OPERATION = void (*)(CThreadBase*);
    auto const* const operations = *reinterpret_cast<OPERATION const* const*>(&worker);
    operations[2](&worker);
    EXPECT_EQ(runs, 1);
    operations[3](&worker);
    AwaitThreads();
    EXPECT_EQ(runs, 2);
    EXPECT_EQ(g_created, 1);
}

TEST_F(ThreadBase, StartMayBeOverridden) {
    struct COUNTING : CThreadBase {
        COUNTING() : CThreadBase(false) {}
        void Run() override {}
        void Start() override { ++starts; }
        int starts = 0;
    } object;
    static_cast<CThreadBase&>(object).Start();
    EXPECT_EQ(object.starts, 1);
    EXPECT_EQ(g_created, 0);
}
