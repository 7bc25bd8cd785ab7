// Runs functions at the same time, each on its own thread, and waits for them.
#pragma once

#include <atomic>
#include <functional>
#include <thread>
#include <vector>

inline void Together(std::vector<std::function<void()>> const& work) {
    std::atomic<bool> go{false};
    std::vector<std::thread> threads;
    for (auto const& one : work) {
        threads.emplace_back([&] {
            while (!go) std::this_thread::yield();
            one();
        });
    }
    go = true;
    for (std::thread& thread : threads) thread.join();
}

// Runs `work` on `count` threads; its argument is the thread's number.
inline void Together(int count, std::function<void(int)> const& work) {
    std::vector<std::function<void()>> all;
    for (int thread = 0; thread < count; ++thread) all.push_back([&work, thread] { work(thread); });
    Together(all);
}
