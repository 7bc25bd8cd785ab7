// Several processes, each with a typed store on the same file.
#include <gtest/gtest.h>

#include <cstdio>
#include <string>
#include <vector>

#include "support/Processes.h"
#include "support/ScratchDirectory.h"
#include "support/StoreTypes.h"

namespace {

constexpr int PROCESSES = 4;
constexpr int KEYS = 25;

// Sets its keys one by one, saving after each.
bool SaveAll(std::string const& file, int process) {
    ticket::Store::Options options;
    options.longest_wait = std::chrono::minutes(1);
    ticket::Store store(file, options);
    bool good = true;
    for (int i = 0; i < KEYS; ++i) {
        good = store.set("Process" + std::to_string(process) + "/Key" + std::to_string(i), i) && good;
        good = store.set("Same", std::string(1000, static_cast<char>('a' + process))) && good;
        good = store.save() && good;
    }
    return good;
}

}  // namespace

TEST(StoreProcesses, WhatEachOfThemHasSetIsThereAtTheEndAndASharedKeyIsWhole) {
    SCRATCH_DIRECTORY const scratch;
    std::string const file = scratch.Path("t.xml");
    std::vector<pid_t> processes;
    for (int process = 0; process < PROCESSES; ++process)
        processes.push_back(Spawn([&] { return SaveAll(file, process); }));
    for (pid_t const process : processes) EXPECT_TRUE(Succeeded(process));

    ticket::Store const store(file);
    int found = 0;
    for (int process = 0; process < PROCESSES; ++process)
        for (int i = 0; i < KEYS; ++i)
            found += store.get("Process" + std::to_string(process) + "/Key" + std::to_string(i), -1) == i;
    std::printf("%d processes saved %d keys each, one by one: %d of %d are there\n", PROCESSES, KEYS, found,
                PROCESSES * KEYS);
    EXPECT_EQ(found, PROCESSES * KEYS);
    std::string const same = store.get("Same", "");
    EXPECT_EQ(same.size(), 1000u);
    EXPECT_EQ(same, std::string(1000, same.empty() ? ' ' : same[0]));
}
