// The typed store when memory runs out at any allocation of a call.
#include <gtest/gtest.h>

#include <new>
#include <string>

#include "ConfigurationControl/Store/FileWatch.h"
#include "support/FailingAllocations.h"
#include "support/Files.h"

// A save that stored a part of its batch abandons its ticket, whose destruction would save that part.
extern "C" __attribute__((visibility("default"))) char const* __lsan_default_suppressions();
extern "C" char const* __lsan_default_suppressions() {
    return "leak:BasicFileTicket";
}

namespace {

using ticket::Store;

constexpr int MANY = 2000;

// Runs `action` with `granted` allocations before `failures` of them fail; false if it returned a failed result or
// threw std::bad_alloc.
template <typename ACTION>
bool IsDoneWith(int granted, ACTION const& action, int failures = allocations::UNLIMITED) {
    try {
        return allocations::With(
            granted, [&] { return static_cast<bool>(action()); }, failures);
    } catch (std::bad_alloc const&) {
        return false;
    }
}

class StoreFaults : public testing::TestWithParam<bool> {
 protected:
    // Writes a file with two values and changes one of them in a store.
    void Change(Store& store) const {
        store.set("Changed", std::string(100, 'b'));
        store.set("Added", {1, 2});
    }
    void WriteOldFile() const {
        files::Write(m_file, "<ticket><Changed type=\"int\">1</Changed><Kept type=\"int\">2</Kept></ticket>");
    }
    Store::Options Options() const {
        Store::Options options;
        options.merge = GetParam();
        return options;
    }

    SCRATCH_DIRECTORY const m_scratch;
    std::string const m_file = m_scratch.Path("t.xml");
};

}  // namespace

TEST_P(StoreFaults, ASaveThatRunsOutOfMemoryLeavesTheFileOldOrNewAndTheChangesUnsaved) {
    bool done = false;
    for (int granted = 0; !done && granted < MANY; ++granted) {
        WriteOldFile();
        Store store(m_file, Options());
        Change(store);
        done = IsDoneWith(granted, [&] { return store.save(); });
        {
            Store const file(m_file);
            ASSERT_EQ(file.get("Kept", 0), 2) << granted;
            bool const isNew = file.contains("Added");
            ASSERT_EQ(file.get("Changed", 0), isNew ? 0 : 1) << granted;
            ASSERT_TRUE(isNew || (!done && store.has_unsaved())) << granted;
        }
        ASSERT_TRUE(store.save()) << granted;
        ASSERT_EQ(Store(m_file).get("Changed", ""), std::string(100, 'b')) << granted;
        store.set("Later", 3);
        ASSERT_TRUE(store.save()) << granted;
        ASSERT_EQ(Store(m_file).get("Later", 0), 3) << granted;
    }
    EXPECT_TRUE(done);
}

TEST_P(StoreFaults, ASaveThatRunsOutOfMemoryForAMomentReportsWhatTheFileHolds) {
    bool done = false;
    for (int granted = 0; !done && granted < MANY; ++granted) {
        WriteOldFile();
        Store store(m_file, Options());
        Change(store);
        done = IsDoneWith(
                   granted, [&] { return store.save(); }, 1) &&
               allocations::t_failed == 0;
        bool const isNew = Store(m_file).contains("Added");
        ASSERT_NE(isNew, store.has_unsaved()) << granted;
    }
    EXPECT_TRUE(done);
}

TEST_P(StoreFaults, AReloadThatRunsOutOfMemoryLosesNoChange) {
    bool done = false;
    for (int granted = 0; !done && granted < MANY; ++granted) {
        WriteOldFile();
        Store store(m_file, Options());
        files::Write(m_file, "<ticket><Changed type=\"int\">5</Changed><Kept type=\"int\">2</Kept></ticket>");
        done = IsDoneWith(granted, [&] { return store.reload(); });
        store.set("Later", 3);
        ASSERT_TRUE(store.has_unsaved()) << granted;
        ASSERT_TRUE(store.save()) << granted;
        ASSERT_EQ(Store(m_file).get("Later", 0), 3) << granted;
    }
    EXPECT_TRUE(done);
}

TEST_P(StoreFaults, ADispatchThatRunsOutOfMemoryIsMadeUpForByTheNextOne) {
    bool done = false;
    for (int granted = 0; !done && granted < MANY; ++granted) {
        WriteOldFile();
        Store store(m_file);
        int heard = 0;
        ticket::FileWatchOptions options;
        options.merge = GetParam();
        ticket::FileWatch watch(
            store, [&](ticket::Event const&) { ++heard; }, options);
        files::Write(m_file, "<ticket><Changed type=\"int\">5</Changed><Kept type=\"int\">3</Kept></ticket>");
        done = IsDoneWith(granted, [&] { return watch.dispatch(); });
        ASSERT_TRUE(watch.dispatch()) << granted;
        ASSERT_EQ(heard, 2) << granted;
        ASSERT_EQ(store.get("Changed", 0), GetParam() ? 5 : 1) << granted;
    }
    EXPECT_TRUE(done);
}

TEST(StoreWatchFaults, AChangeThatRunsOutOfMemoryIsToldOrMadeUpForByTheNextOneOfItsKey) {
    bool done = false;
    for (int granted = 0; !done && granted < MANY; ++granted) {
        Store store;
        std::int64_t told[3] = {};
        ticket::Watch const watch = store.on_change("*", [&](ticket::Event const& event) {
            std::int64_t& last = told[event.key[0] - 'A'];
            EXPECT_EQ(event.before ? std::get<std::int64_t>(*event.before) : 0, last) << granted;
            last = std::get<std::int64_t>(*event.after);
        });
        auto const setAll = [&](int value) {
            return store.change([&](ticket::Change& change) {
                for (char const* key : {"A", "B", "C"}) change.set(key, value);
            });
        };
        done = IsDoneWith(granted, [&] { return setAll(1); }) && told[0] + told[1] + told[2] == 3;
        setAll(2);
        EXPECT_EQ(told[0] + told[1] + told[2], 6) << granted;
    }
    EXPECT_TRUE(done);
}

INSTANTIATE_TEST_SUITE_P(WithAndWithoutMerge, StoreFaults, testing::Bool());
