// A process that has no free file descriptor, simulated by the limit of their number.
#pragma once

#include <sys/resource.h>
#include <unistd.h>

// While an object exists, the process can open nothing. Does not use up the descriptors: a process may have a billion.
class NO_DESCRIPTORS {
 public:
    NO_DESCRIPTORS() {
        getrlimit(RLIMIT_NOFILE, &m_before);
        int const lowestFree = dup(STDIN_FILENO);
        close(lowestFree);
        rlimit const none{static_cast<rlim_t>(lowestFree), m_before.rlim_max};
        setrlimit(RLIMIT_NOFILE, &none);
    }
    ~NO_DESCRIPTORS() { setrlimit(RLIMIT_NOFILE, &m_before); }
    NO_DESCRIPTORS(NO_DESCRIPTORS const&) = delete;
    NO_DESCRIPTORS& operator=(NO_DESCRIPTORS const&) = delete;

 private:
    rlimit m_before{};
};
