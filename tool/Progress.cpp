#include "Progress.h"

#include <sys/ioctl.h>
#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <cstdio>
#include <iostream>

#include "Text.h"

namespace {

constexpr auto PATIENCE = std::chrono::milliseconds(500);
constexpr auto INTERVAL = std::chrono::milliseconds(100);
constexpr int WIDTH = 20;

// As much of a line as the terminal shows in one row: only one row can be drawn over.
std::string OneRow(std::string const& line) {
    winsize size = {};
    bool const knowsWidth = ioctl(STDERR_FILENO, TIOCGWINSZ, &size) == 0 && size.ws_col > 0;
    std::size_t const room = knowsWidth ? size.ws_col - 1U : 79;
    return line.substr(0, LengthOfWholeCharacters(std::string_view(line).substr(0, room)));
}

}  // namespace

PROGRESS::PROGRESS(std::string name, int steps) : m_name(std::move(name)), m_steps(steps) {
    if (isatty(STDERR_FILENO) == 0) return;
    sigset_t all;
    sigset_t before;
    sigfillset(&all);
    pthread_sigmask(SIG_SETMASK, &all, &before);  // the thread inherits the mask
    m_thread = std::thread(&PROGRESS::Run, this);
    pthread_sigmask(SIG_SETMASK, &before, nullptr);
}

PROGRESS::~PROGRESS() {
    if (!m_thread.joinable()) return;
    {
        std::lock_guard const lock(m_mutex);
        m_isOver = true;
    }
    m_changed.notify_one();
    m_thread.join();
}

void PROGRESS::Next(char const* step) {
    std::lock_guard const lock(m_mutex);
    m_step = step;
    ++m_number;
}

void PROGRESS::Run() {
    std::unique_lock lock(m_mutex);
    auto const isOver = [this] { return m_isOver; };
    if (m_changed.wait_for(lock, PATIENCE, isOver)) return;
    do {
        Draw();
    } while (!m_changed.wait_for(lock, INTERVAL, isOver));
    std::cerr << "\r\033[K" << std::flush;
}

void PROGRESS::Draw() const {
    int const done = WIDTH * std::max(m_number - 1, 0) / m_steps;  // no step may have begun yet
    std::chrono::duration<double> const passed = std::chrono::steady_clock::now() - m_begin;
    char seconds[32];
    std::snprintf(seconds, sizeof seconds, "%.1f s", passed.count());
    std::string bar(static_cast<std::size_t>(WIDTH), '-');
    bar.replace(0, static_cast<std::size_t>(done), static_cast<std::size_t>(done), '#');
    auto const line = "[" + bar + "] " + m_step + ", " + seconds + ": " + Printable(m_name);
    std::cerr << "\r\033[K" + OneRow(line) << std::flush;
}
