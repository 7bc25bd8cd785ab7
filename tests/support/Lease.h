// A lease on a file, as a file server holds one: opening the file waits until the lease is released.
#pragma once

#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <string>

// A child process holds the lease. It releases the lease shortly after another process opens the file, and at the
// latest when this object is destroyed.
class LEASE {
 public:
    explicit LEASE(std::string const& path) {
        int ready[2];
        if (pipe(ready) != 0) return;
        m_holder = fork();
        if (m_holder == 0) Hold(path, ready[1]);
        char isHeld = 0;
        m_isHeld = read(ready[0], &isHeld, 1) == 1 && isHeld == 1;
        close(ready[0]);
        close(ready[1]);
    }
    ~LEASE() {
        if (m_holder <= 0) return;  // to -1 the signal would reach every process of the machine
        kill(m_holder, SIGKILL);
        waitpid(m_holder, nullptr, 0);
    }
    LEASE(LEASE const&) = delete;
    LEASE& operator=(LEASE const&) = delete;

    // False where the file system has no leases.
    bool IsHeld() const { return m_isHeld; }

 private:
    [[noreturn]] static void Hold(std::string const& path, int ready) {
        sigset_t asked;
        sigemptyset(&asked);
        sigaddset(&asked, SIGIO);
        sigprocmask(SIG_BLOCK, &asked, nullptr);
        int const file = open(path.c_str(), O_RDWR);
        char const isHeld = fcntl(file, F_SETLEASE, F_WRLCK) == 0;
        int signal = 0;
        if (write(ready, &isHeld, 1) == 1 && isHeld) sigwait(&asked, &signal);
        usleep(50000);
        _exit(0);
    }

    pid_t m_holder = -1;
    bool m_isHeld = false;
};
