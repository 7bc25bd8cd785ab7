// Shows the progress of a command.
#pragma once

#include <chrono>
#include <condition_variable>
#include <mutex>
#include <string>
#include <thread>

// A bar on standard error, where that is a terminal, from half a second on. The destructor removes it. Draws on a
// thread of its own, to which no signal is delivered.
class PROGRESS {
 public:
    // `steps`: how often Next will be called.
    PROGRESS(std::string name, int steps);
    ~PROGRESS();
    PROGRESS(PROGRESS const&) = delete;
    PROGRESS& operator=(PROGRESS const&) = delete;

    // Begins the next step.
    void Next(char const* step);

 private:
    void Run();
    void Draw() const;

    std::string const m_name;
    int const m_steps;
    std::chrono::steady_clock::time_point const m_begin = std::chrono::steady_clock::now();
    std::mutex m_mutex;
    std::condition_variable m_changed;
    char const* m_step = "";
    int m_number = 0;
    bool m_isOver = false;
    std::thread m_thread;
};
