// Runs parts of a test in child processes.
#pragma once

#include <sys/wait.h>
#include <unistd.h>

#include <functional>
#include <stdexcept>

// Runs `work` in a child process, which ends without destructors or exit handlers. Returns its process number. Throws
// if no process can be started: a signal to the number -1 would reach every process of the machine.
inline pid_t Spawn(std::function<bool()> const& work) {
    pid_t const child = fork();
    if (child < 0) throw std::runtime_error("no child process");
    if (child == 0) _exit(work() ? 0 : 1);
    return child;
}

// Waits for a child; true if its work returned true.
inline bool Succeeded(pid_t child) {
    int status = 0;
    return waitpid(child, &status, 0) == child && WIFEXITED(status) && WEXITSTATUS(status) == 0;
}

// Whether a child has ended; Succeeded must still be called.
inline bool HasEnded(pid_t child) {
    siginfo_t ended{};
    return waitid(P_PID, static_cast<id_t>(child), &ended, WEXITED | WNOHANG | WNOWAIT) != 0 || ended.si_pid != 0;
}
