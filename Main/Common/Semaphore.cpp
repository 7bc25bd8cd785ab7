// The counting semaphore. Count and state are atomic, because two operations use them without the mutex.

#include "ConfigurationControl/Semaphore.h"

#include <sys/time.h>

#include <ctime>

namespace {

static_assert(sizeof(Semaphore) == sizeof(void*) + sizeof(pthread_cond_t) + sizeof(pthread_mutex_t) + 8);

enum STATE : int32_t { NOT_TAKEN = 0, TAKEN = 1, CHECKING = 2 };

// Releases the mutex when a waiting thread is cancelled, too.
class GUARD {
 public:
    explicit GUARD(pthread_mutex_t& mutex) : m_mutex(mutex) { pthread_mutex_lock(&m_mutex); }
    ~GUARD() { pthread_mutex_unlock(&m_mutex); }
    GUARD(GUARD const&) = delete;
    GUARD& operator=(GUARD const&) = delete;

 private:
    pthread_mutex_t& m_mutex;
};

// Tests and takes in one atomic step, because some callers do not hold the mutex.
bool TakeUnit(std::atomic<int32_t>& count, std::atomic<int32_t>& state) {
    int32_t available = count;
    while (available >= 1) {
        if (count.compare_exchange_weak(available, available - 1)) {
            state = TAKEN;
            return true;
        }
    }
    return false;
}

timespec DeadlineIn(int seconds) {
    timeval now;
    gettimeofday(&now, nullptr);
    return {now.tv_sec + seconds, now.tv_usec * 1000};
}

}  // namespace

Semaphore::Semaphore() : Semaphore(0) {}

Semaphore::Semaphore(int initial) : m_count(initial), m_state(NOT_TAKEN) {
    pthread_cond_init(&m_condition, nullptr);
    pthread_mutex_init(&m_mutex, nullptr);
}

Semaphore::~Semaphore() {
    pthread_cond_destroy(&m_condition);
    pthread_mutex_destroy(&m_mutex);
}

bool Semaphore::wait(bool block) {
    GUARD const guard(m_mutex);
    m_state = CHECKING;
    while (!TakeUnit(m_count, m_state)) {
        if (!block) {
            m_state = NOT_TAKEN;
            return false;
        }
        pthread_cond_wait(&m_condition, &m_mutex);
        m_state = CHECKING;
    }
    return true;
}

bool Semaphore::wait(bool block, int seconds, bool giveUpOnTimeout) {
    GUARD const guard(m_mutex);
    m_state = CHECKING;
    if (TakeUnit(m_count, m_state)) return true;
    if (!block) {
        m_state = NOT_TAKEN;
        return false;
    }
    for (;;) {
        timespec const deadline = DeadlineIn(seconds);
        pthread_cond_timedwait(&m_condition, &m_mutex, &deadline);
        m_state = CHECKING;
        if (TakeUnit(m_count, m_state)) return true;
        if (giveUpOnTimeout) return false;
    }
}

int Semaphore::status(bool peek) {
    m_state = CHECKING;
    if (TakeUnit(m_count, m_state)) return 1;
    if (peek) return 2;
    m_state = NOT_TAKEN;
    return 0;
}

void Semaphore::signal() {
    GUARD const guard(m_mutex);
    if (m_count++ >= 0) pthread_cond_signal(&m_condition);
}

void Semaphore::signal(int count) {
    GUARD const guard(m_mutex);
    if ((m_count += count) > 0) pthread_cond_signal(&m_condition);
}

void Semaphore::broadcast() {
    GUARD const guard(m_mutex);
    if (m_count++ >= 0) pthread_cond_broadcast(&m_condition);
}

int Semaphore::update(int delta) {
    return m_count += delta;
}

int Semaphore::getCount() {
    GUARD const guard(m_mutex);
    return m_count;
}
