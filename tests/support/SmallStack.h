// Runs part of a test on a thread with a small stack, where code that recurses with its input would crash.
#pragma once

#include <gtest/gtest.h>
#include <pthread.h>

#include <functional>

inline void RunOnSmallStack(std::function<void()> work) {
    constexpr std::size_t STACK = 256 * 1024;
    pthread_attr_t attributes;
    ASSERT_EQ(pthread_attr_init(&attributes), 0);
    ASSERT_EQ(pthread_attr_setstacksize(&attributes, STACK), 0);
    auto const run = [](void* function) -> void* {
        (*static_cast<std::function<void()>*>(function))();
        return nullptr;
    };
    pthread_t thread;
    ASSERT_EQ(pthread_create(&thread, &attributes, run, &work), 0);
    pthread_join(thread, nullptr);
    pthread_attr_destroy(&attributes);
}
