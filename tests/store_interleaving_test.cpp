// The typed store when something happens in the middle of a save, a reload or a dispatch. A function of the test runs
// before a chosen system call, which is where another thread or program would come between.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <functional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "ConfigurationControl/Store/FileWatch.h"
#include "ConfigurationControl/Ticket.h"
#include "support/FailingSystemCalls.h"
#include "support/Files.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using ticket::Event;
using ticket::Store;
using ticket::Watch;

class StoreInterleaving : public testing::Test {
 protected:
    ~StoreInterleaving() override { system_calls::g_before = nullptr; }

    // Runs `action` once, before the next call of that kind.
    static void BeforeNext(std::string_view call, std::function<void()> action) {
        system_calls::g_before = [call, action = std::move(action)](std::string_view kind, char const*) {
            if (kind != call) return 0;
            auto const run = action;
            system_calls::g_before = nullptr;
            run();
            return 0;
        };
    }
    static void Clear(Store& store) { store.table()->Operation(store.table()->pTicket, STICKET_OP_CLEAR, nullptr); }
    void SaveByAnother(char const* key, int value) const {
        Store other(m_file);
        other.set(key, value);
        EXPECT_TRUE(other.save());
    }

    void SaveByPlainHost(char const* key, int value) const {
        STICKET_ACCESS const* table = STicketInstance.Create(m_file.c_str());
        table->SetParameter(table->pTicket, key, PARAM_INT, &value, SCALAR_INDEX);
        STicketInstance.Destroy(table);
    }

    SCRATCH_DIRECTORY const m_scratch;
    std::string const m_file = m_scratch.Path("t.xml");
};

}  // namespace

TEST_F(StoreInterleaving, AClearDuringASaveErasesWhatTheSaveWritesToo) {
    Store store(m_file);
    store.set("New", 1);
    BeforeNext("rename", [&] { Clear(store); });
    ASSERT_TRUE(store.save());
    EXPECT_TRUE(Store(m_file).contains("New"));
    EXPECT_FALSE(store.contains("New"));
    EXPECT_TRUE(store.has_unsaved());
    ASSERT_TRUE(store.save());
    EXPECT_FALSE(Store(m_file).contains("New"));
}

TEST_F(StoreInterleaving, AReloadKeepsWhatIsSavedWhileItReads) {
    Store store(m_file);
    store.set("Key", 1);
    ASSERT_TRUE(store.save());
    Watch const watch = store.on_change("Key", [](Event const& event) { EXPECT_TRUE(event.after); });
    BeforeNext("close", [&] {
        store.set("Key", 2);
        store.set("New", 3);
        EXPECT_TRUE(store.save());
    });
    ASSERT_TRUE(store.reload());
    EXPECT_EQ(store.get("Key", 0), 2);
    EXPECT_EQ(store.get("New", 0), 3);
}

TEST_F(StoreInterleaving, ADispatchTellsNothingOfAnOwnSaveWhileItReads) {
    for (bool const merge : {true, false}) {
        std::filesystem::remove(m_file);
        Store store(m_file);
        std::vector<std::string> told;
        ticket::FileWatchOptions options;
        options.merge = merge;
        ticket::FileWatch watch(
            store, [&](Event const& event) { told.push_back(event.key); }, options);
        store.set("Key", 1);
        ASSERT_TRUE(store.save());
        BeforeNext("close", [&] {  // of the file: the events are read without one
            store.set("Key", 2);
            EXPECT_TRUE(store.save());
        });
        EXPECT_TRUE(watch.dispatch());
        EXPECT_THAT(told, IsEmpty());
        EXPECT_EQ(store.get("Key", 0), 2);
    }
}

TEST_F(StoreInterleaving, ASlowReloadDoesNotUndoANewerOne) {
    Store store(m_file);
    SaveByAnother("Key", 1);
    BeforeNext("close", [&] {
        SaveByAnother("Key", 2);
        EXPECT_TRUE(store.reload());
    });
    ASSERT_TRUE(store.reload());
    EXPECT_EQ(store.get("Key", 0), 2);
}

TEST_F(StoreInterleaving, AReloadDuringASaveKeepsWhatBothBring) {
    Store store(m_file);
    SaveByAnother("Theirs", 1);
    store.set("Ours", 1);
    BeforeNext("rename", [&] {
        SaveByPlainHost("Theirs", 2);
        EXPECT_TRUE(store.reload());
        EXPECT_EQ(store.get("Theirs", 0), 2);
    });
    ASSERT_TRUE(store.save());  // over the plain host's file
    Store const file(m_file);
    EXPECT_EQ(file.get("Ours", 0), 1);
    EXPECT_EQ(store.get("Theirs", 0), file.get("Theirs", 0));
    EXPECT_FALSE(store.has_unsaved());
}

TEST_F(StoreInterleaving, SavesOfOneStoreTakeTurnsWhereTheDirectoryCannotBeLocked) {
    Store::Options options;
    options.longest_wait = std::chrono::milliseconds(0);
    Store store(m_file, options);
    store.set("First", 1);
    std::vector<ticket::Reason> reasons;
    system_calls::g_before = [&](std::string_view kind, char const* path) {
        if (kind == "open" && path == m_scratch.Path()) return EACCES;
        if (kind == "rename" && reasons.empty()) {
            reasons.push_back(ticket::Reason::none);
            store.set("Second", 2);
            reasons.push_back(store.save().reason());
        }
        return 0;
    };
    EXPECT_TRUE(store.save());
    EXPECT_THAT(reasons, ElementsAre(ticket::Reason::none, ticket::Reason::busy));
    EXPECT_EQ(store.get("Second", 0), 2);
    EXPECT_TRUE(store.has_unsaved());
    EXPECT_TRUE(store.save());
    EXPECT_EQ(Store(m_file).entries().size(), 2u);
}

TEST_F(StoreInterleaving, TheLongestWaitMayBeForEver) {
    Store::Options options;
    options.longest_wait = std::chrono::milliseconds::max();
    Store store(m_file, options);
    store.set("Key", 1);
    int refused = 0;
    system_calls::g_before = [&](std::string_view kind, char const*) {
        return kind == "flock" && refused < 3 && ++refused != 0 ? EWOULDBLOCK : 0;
    };
    EXPECT_TRUE(store.save());
    EXPECT_EQ(refused, 3);
}
