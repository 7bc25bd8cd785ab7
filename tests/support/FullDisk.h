// A full disk, simulated by the limit of the file size.
#pragma once

#include <sys/resource.h>

#include <csignal>

// While an object exists, writes beyond the first 20 bytes of a file fail.
class FULL_DISK {
 public:
    FULL_DISK() : m_handler(std::signal(SIGXFSZ, SIG_IGN)) {
        getrlimit(RLIMIT_FSIZE, &m_before);
        rlimit const small{20, m_before.rlim_max};
        setrlimit(RLIMIT_FSIZE, &small);
    }
    ~FULL_DISK() {
        setrlimit(RLIMIT_FSIZE, &m_before);
        std::signal(SIGXFSZ, m_handler);
    }
    FULL_DISK(FULL_DISK const&) = delete;
    FULL_DISK& operator=(FULL_DISK const&) = delete;

 private:
    void (*m_handler)(int);
    rlimit m_before{};
};
