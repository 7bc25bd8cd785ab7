#include "Pager.h"

#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <string>
#include <string_view>

#include "Values.h"

namespace {

// Shows the text also where there is no less.
constexpr char USUAL[] = "if command -v less >/dev/null; then exec less; else exec cat; fi";

// The shell's exit codes for a program that it cannot start. Any other code is the pager's own.
constexpr char SHOW_UNLESS_STARTED[] = "\ncase $? in 126|127) exec cat;; esac";

}  // namespace

bool PAGER::IsWanted() {
    char const* const named = std::getenv("PAGER");
    return named == nullptr || (*named != '\0' && std::string_view(named) != "cat");
}

PAGER::PAGER() {
    int ends[2];
    if (pipe(ends) != 0) throw FAILURE("no pager can be started; PAGER=cat does without");
    char const* const named = std::getenv("PAGER");
    auto const command = named == nullptr ? USUAL : named + std::string(SHOW_UNLESS_STARTED);
    setenv("LESS", "FRX", 0);  // show colours; leave short texts on the screen
    m_process = fork();
    if (m_process == 0) {
        dup2(ends[0], STDIN_FILENO);
        close(ends[0]);
        close(ends[1]);
        execl("/bin/sh", "sh", "-c", command.c_str(), nullptr);
        _exit(127);
    }
    close(ends[0]);
    m_input = ends[1];
    // Both concern the pager: leaving it closes the pipe, and an interrupt ends a search in it.
    std::signal(SIGPIPE, SIG_IGN);
    std::signal(SIGINT, SIG_IGN);
}

PAGER::~PAGER() {
    close(m_input);
    while (waitpid(m_process, nullptr, 0) < 0 && errno == EINTR) continue;
}

void PAGER::Show(std::string_view text) {
    while (!text.empty()) {
        ssize_t const count = write(m_input, text.data(), text.size());
        if (count < 0 && errno == EINTR) continue;
        if (count <= 0) return;
        text.remove_prefix(static_cast<std::size_t>(count));
    }
}
