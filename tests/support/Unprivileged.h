// Runs work to which permission bits apply, even if the tests run as root.
#pragma once

#include <grp.h>
#include <sys/wait.h>
#include <unistd.h>

#include <functional>

// Runs `work` in an unprivileged child process; true if it returned true.
inline bool Unprivileged(std::function<bool()> const& work) {
    pid_t const child = fork();
    if (child == 0) {
        if (geteuid() == 0 && (setgroups(0, nullptr) != 0 || setgid(65534) != 0 || setuid(65534) != 0)) _exit(2);
        _exit(work() ? 0 : 1);
    }
    int status = 0;
    waitpid(child, &status, 0);
    return WIFEXITED(status) && WEXITSTATUS(status) == 0;
}
