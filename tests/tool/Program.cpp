// Starts programs by fork and exec, and talks to them through pipes or a terminal.
#include "Program.h"

#include <fcntl.h>
#include <grp.h>
#include <poll.h>
#include <pty.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <regex>
#include <utility>

namespace {

constexpr int NOT_STARTED = 127;

struct PIPE {
    PIPE() {
        int ends[2];
        if (pipe2(ends, O_CLOEXEC) != 0) std::abort();
        out = ends[0];
        in = ends[1];
    }
    int out;
    int in;
};

// In the child: becomes the program. Only calls that are safe after a fork.
[[noreturn]] void Become(char* const* command, MANNER const& manner, int const (&streams)[3]) {
    for (int i = 0; i < 3; ++i) {
        if (streams[i] >= 0) dup2(streams[i], i);
    }
    for (int const stream : manner.closed) close(stream);
    bool ready = chdir(manner.directory.c_str()) == 0;
    for (auto const& variable : manner.environment) putenv(const_cast<char*>(variable.c_str()));
    if (manner.asNobody) ready = ready && setgroups(0, nullptr) == 0 && setgid(NOBODY) == 0 && setuid(NOBODY) == 0;
    if (ready) execvp(command[0], command);
    _exit(NOT_STARTED);
}

std::vector<char*> Pointers(ARGUMENTS const& command) {
    std::vector<char*> pointers;
    for (auto const& argument : command) pointers.push_back(const_cast<char*>(argument.c_str()));
    pointers.push_back(nullptr);
    return pointers;
}

int CodeOf(pid_t process) {
    int status = 0;
    while (waitpid(process, &status, 0) < 0 && errno == EINTR) continue;
    return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
}

// Feeds the input and collects both outputs, all at once so that no pipe fills up.
RESULT Talk(pid_t process, std::string const& input, int in, int out, int err) {
    RESULT result{0, {}, {}};
    std::size_t fed = 0;
    fcntl(in, F_SETFL, O_NONBLOCK);
    pollfd streams[] = {{in, POLLOUT, 0}, {out, POLLIN, 0}, {err, POLLIN, 0}};
    auto const finish = [](pollfd& stream) { close(std::exchange(stream.fd, -1)); };
    if (input.empty()) finish(streams[0]);
    while (streams[1].fd >= 0 || streams[2].fd >= 0) {
        if (poll(streams, 3, -1) < 0) continue;
        if (streams[0].revents != 0) {
            ssize_t const count = write(in, input.data() + fed, input.size() - fed);
            if (count > 0) fed += static_cast<std::size_t>(count);
            if (fed == input.size() || (count < 0 && errno != EAGAIN)) finish(streams[0]);
        }
        for (int i = 1; i < 3; ++i) {
            if (streams[i].revents == 0) continue;
            char block[4096];
            ssize_t const count = read(streams[i].fd, block, sizeof block);
            if (count <= 0) {
                finish(streams[i]);
            } else {
                (i == 1 ? result.out : result.err).append(block, static_cast<std::size_t>(count));
            }
        }
    }
    if (streams[0].fd >= 0) finish(streams[0]);
    result.code = CodeOf(process);
    return result;
}

}  // namespace

PROCESS::PROCESS(ARGUMENTS const& command, MANNER const& manner) {
    static bool const deaf = std::signal(SIGPIPE, SIG_IGN) != SIG_ERR;
    if (!deaf) std::abort();
    auto const pointers = Pointers(command);
    PIPE const in;
    PIPE const out;
    PIPE const err;
    m_process = fork();
    if (m_process == 0) {
        std::signal(SIGPIPE, SIG_DFL);
        Become(pointers.data(), manner, {in.out, out.in, err.in});
    }
    if (m_process < 0) std::abort();  // Signal would reach every process of the machine
    close(in.out);
    close(out.in);
    close(err.in);
    m_result = std::async(std::launch::async, Talk, m_process, manner.input, in.in, out.out, err.out);
}

void PROCESS::Signal(int number) const {
    kill(m_process, number);
}

bool PROCESS::HasEnded() const {
    return m_result.wait_for(std::chrono::seconds(0)) == std::future_status::ready;
}

RESULT PROCESS::Wait() {
    return m_result.get();
}

ON_TERMINAL::ON_TERMINAL(ARGUMENTS const& command, MANNER const& manner, unsigned short rows) {
    auto const pointers = Pointers(command);
    winsize const size = {rows, 80, 0, 0};
    m_process = forkpty(&m_terminal, nullptr, nullptr, &size);
    if (m_process == 0) Become(pointers.data(), manner, {-1, -1, -1});
}

ON_TERMINAL::~ON_TERMINAL() {
    close(m_terminal);  // ends a program that still runs, by SIGHUP
    if (m_process > 0) CodeOf(m_process);
}

bool ON_TERMINAL::Read() {
    char block[4096];
    ssize_t const count = read(m_terminal, block, sizeof block);
    if (count <= 0) return false;  // EIO when the other side is closed
    m_shown.append(block, static_cast<std::size_t>(count));
    return true;
}

bool ON_TERMINAL::WaitFor(std::string const& text) {
    while (m_shown.find(text) == std::string::npos) {
        if (!Read()) return false;
    }
    return true;
}

void ON_TERMINAL::Type(std::string const& keys) const {
    if (write(m_terminal, keys.data(), keys.size()) != static_cast<ssize_t>(keys.size())) std::abort();
}

RESULT ON_TERMINAL::Wait() {
    while (Read()) continue;
    return {CodeOf(std::exchange(m_process, -1)), m_shown, {}};
}

// Removes only what is exactly a bar: whatever else a file makes the tool write to the terminal stays.
std::string WithoutProgress(std::string shown) {
    static std::regex const s_bar(R"(\[[#-]{20}\] [a-z ]*, [0-9]+\.[0-9] s: [ -~]*)");
    std::string const erase = "\r\033[K";  // before each bar and behind the last one
    bool isBehindBar = false;
    for (std::size_t at = 0; (at = shown.find(erase, at)) != std::string::npos;) {
        std::size_t const begin = at + erase.size();
        std::size_t const end = shown.find(erase, begin);
        bool const isBar = end != std::string::npos && std::regex_match(shown.substr(begin, end - begin), s_bar);
        if (isBar)
            shown.erase(at, end - at);
        else if (isBehindBar)
            shown.erase(at, erase.size());
        else
            ++at;
        isBehindBar = isBar;
    }
    return shown;
}

std::string RunOnTerminal(ARGUMENTS const& command, MANNER const& manner) {
    return WithoutProgress(ON_TERMINAL(command, manner).Wait().out);
}

PROCESS Tool::Start(ARGUMENTS arguments) const {
    arguments.insert(arguments.begin(), TICKET_PROGRAM);
    return PROCESS(arguments, m_manner);
}

RESULT Tool::TicketWithInput(std::string input, ARGUMENTS arguments) const {
    arguments.insert(arguments.begin(), TICKET_PROGRAM);
    auto manner = m_manner;
    manner.input = std::move(input);
    return PROCESS(arguments, manner).Wait();
}

std::string Tool::Output(ARGUMENTS arguments) const {
    auto const result = Ticket(std::move(arguments));
    EXPECT_EQ(result.code, 0);
    EXPECT_EQ(result.err, "");
    return result.out;
}

std::string Tool::Error(ARGUMENTS arguments, int code) const {
    std::string const begin = "ticket: ";
    auto const result = Ticket(std::move(arguments));
    EXPECT_EQ(result.code, code);
    EXPECT_EQ(result.out, "");
    EXPECT_EQ(std::count(result.err.begin(), result.err.end(), '\n'), 1) << result.err;
    if (result.err.substr(0, begin.size()) != begin || result.err.back() != '\n') {
        ADD_FAILURE() << result.err;
        return result.err;
    }
    return result.err.substr(begin.size(), result.err.size() - begin.size() - 1);
}

void Tool::WriteTicket(std::string const& name, std::string const& elements) const {
    Write(name, "<ticket>" + elements + "</ticket>");
}

bool IsRoot() {
    return geteuid() == 0;
}
