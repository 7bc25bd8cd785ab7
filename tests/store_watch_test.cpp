// Watches of a typed store: the changes that they report.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <optional>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include "ConfigurationControl/ConfigurationCtrl.h"
#include "support/Files.h"
#include "support/StoreTypes.h"

namespace {

using testing::ElementsAre;
using ticket::Event;
using ticket::Store;
using ticket::Watch;

std::string Shown(std::optional<ticket::Value> const& value) {
    if (!value) return "nothing";
    if (auto const* number = std::get_if<std::int64_t>(&*value)) return std::to_string(*number);
    if (auto const* text = std::get_if<std::string>(&*value)) return *text;
    if (auto const* list = std::get_if<ticket::List>(&*value)) return std::to_string(list->size()) + " elements";
    return "other";
}

// Collects the reports of a watch.
class LOG {
 public:
    Watch Of(Store& store, char const* selector) {
        return store.on_change(selector, [this](Event const& event) {
            events.push_back(event.key + ": " + Shown(event.before) + " -> " + Shown(event.after));
        });
    }
    std::vector<std::string> events;
};

}  // namespace

TEST(StoreWatch, TellsOldAndNewValueOfWatchedKeys) {
    Store store;
    store.set("Window/Width", 800);
    LOG log;
    Watch const watch = log.Of(store, "Window/*");
    ASSERT_TRUE(watch);
    store.set("Window/Width", 900);
    store.set("Window/Title", "t");
    store.set("Other", 1);
    store.erase("Window/Width");
    store.set("Window/List", {1, 2});
    EXPECT_THAT(log.events, ElementsAre("Window/Width: 800 -> 900", "Window/Title: nothing -> t",
                                        "Window/Width: 900 -> nothing", "Window/List: nothing -> 2 elements"));
}

TEST(StoreWatch, ADeclaredKeyIsWatchedOfAStructItsMembers) {
    Store store;
    std::vector<std::string> heard;
    auto const note = [&](Event const& event) { heard.push_back(event.key); };
    auto const title = store.on_change(ticket::Key<std::string>{"Title", ""}, note);
    auto const window = store.on_change(ticket::Key<Window>{"Main"}, note);
    store.set("Title", "View");
    store.set("Titles", "View");
    store.set("Main/Title", "Proofs");
    store.set("Mains/Title", "Proofs");
    EXPECT_THAT(heard, ElementsAre("Title", "Main/Title"));
}

TEST(StoreWatch, AValueThatStaysTheSameIsNoChange) {
    Store store;
    LOG log;
    Watch const watch = log.Of(store, "*");
    store.set("Number", 1);
    store.set("Number", 1);
    store.set("NaN", std::numeric_limits<double>::quiet_NaN());
    store.set("NaN", std::numeric_limits<double>::quiet_NaN());
    store.set("List", {"a", "b"});
    store.set("List", {"a", "b"});
    EXPECT_EQ(log.events.size(), 3u);
}

TEST(StoreWatch, HearsWhoeverChangesTheTicket) {
    Store store;
    LOG log;
    Watch const watch = log.Of(store, "*");
    auto const* const table = store.table();
    int const number = 5;
    table->SetParameter(table->pTicket, "Key", PARAM_INT, &number, SCALAR_INDEX);
    Store other(table);
    other.set("Key", 6);
    table->Operation(table->pTicket, STICKET_OP_CLEAR, nullptr);
    EXPECT_THAT(log.events, ElementsAre("Key: nothing -> 5", "Key: 5 -> 6", "Key: 6 -> nothing"));
}

TEST(StoreWatch, AChangeOfSeveralIsToldTogetherWhenItIsDone) {
    Store store;
    std::vector<int> seen;
    Watch const watch = store.on_change("*", [&](Event const&) { seen.push_back(store.get("B", 0)); });
    store.change([](ticket::Change& c) {
        c.set("A", 1);
        c.set("B", 2);
    });
    EXPECT_THAT(seen, ElementsAre(2, 2));
}

TEST(StoreWatch, TheFunctionMayChangeTheStoreEndTheWatchAndThrow) {
    Store store;
    Watch watch;
    int calls = 0;
    watch = store.on_change("Key", [&](Event const& event) {
        ++calls;
        if (Shown(event.after) == "1") store.set("Key", 2);
        if (Shown(event.after) == "3") watch.end();
        throw std::runtime_error("dropped");
    });
    EXPECT_TRUE(store.set("Key", 1));
    EXPECT_EQ(store.get("Key", 0), 2);
    EXPECT_EQ(calls, 2);
    store.set("Key", 3);
    store.set("Key", 4);
    EXPECT_EQ(calls, 3);
    EXPECT_FALSE(watch);
}

TEST(StoreWatch, EndsWithItsObjectAndMayOutliveTheStore) {
    LOG log;
    std::optional<Store> store(std::in_place);
    {
        Watch first = log.Of(*store, "*");
        Watch second = std::move(first);
        store->set("Key", 1);
        second = Watch();
        store->set("Key", 2);
    }
    EXPECT_EQ(log.events.size(), 1u);
    Watch const late = log.Of(*store, "*");
    store.reset();
    EXPECT_EQ(log.events.size(), 1u);
}

TEST(StoreWatch, WhatASaveTakesOverIsHeardAndNotSavedAgain) {
    SCRATCH_DIRECTORY const scratch;
    std::string const file = scratch.Path("t.xml");
    Store store(file), other(file);
    LOG log;
    Watch const watch = log.Of(store, "*");
    other.set("Theirs", 1);
    ASSERT_TRUE(other.save());
    store.set("Ours", 2);
    ASSERT_TRUE(store.save());
    EXPECT_THAT(log.events, ElementsAre("Ours: nothing -> 2", "Theirs: nothing -> 1"));
    EXPECT_FALSE(store.has_unsaved());
}

TEST(StoreWatch, WhatTheFunctionChangesWhileASaveOrReloadTakesOverIsSaved) {
    SCRATCH_DIRECTORY const scratch;
    for (bool const saves : {true, false}) {
        std::string const file = scratch.Path(saves ? "saved.xml" : "reloaded.xml");
        Store store(file), other(file);
        Watch const watch = store.on_change("Theirs", [&](Event const&) {
            store.set("Derived", 2);
            store.set("Theirs", 3);
        });
        other.set("Theirs", 1);
        other.set("Others", 1);
        ASSERT_TRUE(other.save());
        store.set("Ours", 1);
        ASSERT_TRUE(saves ? store.save() : store.reload());
        EXPECT_TRUE(store.has_unsaved());
        other.set("Others", 2);
        ASSERT_TRUE(other.save());
        ASSERT_TRUE(store.save());
        Store const saved(file);
        EXPECT_EQ(saved.get("Derived", 0), 2);
        EXPECT_EQ(saved.get("Theirs", 0), 3);
        EXPECT_EQ(saved.get("Others", 0), 2) << "what is taken over is no change of this store";
        EXPECT_EQ(store.entries().size(), 4u);
    }
}

TEST(StoreWatch, TheFunctionMaySaveAStoreOfTheSameDirectoryWhileASaveTakesOver) {
    SCRATCH_DIRECTORY const scratch;
    std::string const file = scratch.Path("t.xml");
    Store::Options options;
    options.longest_wait = std::chrono::milliseconds(0);
    Store store(file, options), other(file), neighbour(scratch.Path("neighbour.xml"), options);
    std::string saved;
    Watch const watch = store.on_change("Theirs", [&](Event const&) {
        neighbour.set("Derived", 2);
        saved = neighbour.save().message();
    });
    other.set("Theirs", 1);
    ASSERT_TRUE(other.save());
    store.set("Ours", 1);
    ASSERT_TRUE(store.save());
    EXPECT_EQ(saved, "done");
    EXPECT_EQ(Store(scratch.Path("neighbour.xml")).get("Derived", 0), 2);
}

TEST(StoreWatch, ASaveOrReloadWithinTheFunctionKeepsWhatItHasChanged) {
    SCRATCH_DIRECTORY const scratch;
    std::string const file = scratch.Path("t.xml");
    Store store(file), other(file), same(store.table());
    std::vector<ticket::Reason> reasons;
    Watch const watch = same.on_change("Key", [&](Event const&) {
        store.set("Derived", 2);
        reasons = {store.save().reason(), store.reload().reason()};
    });
    other.set("Theirs", 1);
    ASSERT_TRUE(other.save());
    store.set("Key", 1);
    EXPECT_THAT(reasons, ElementsAre(ticket::Reason::none, ticket::Reason::busy));
    EXPECT_EQ(Store(file).get("Key", 0), 1);
    EXPECT_EQ(store.get("Derived", 0), 2);
    EXPECT_TRUE(store.has_unsaved());
    ASSERT_TRUE(store.save());
    EXPECT_EQ(Store(file).get("Derived", 0), 2);
    EXPECT_EQ(store.get("Theirs", 0), 1);
}

TEST(StoreWatch, TheServicesSettingsAreReadWrittenAndHeard) {
    SCRATCH_DIRECTORY const scratch;
    CConfigurationControl service;
    service.Initialize(scratch.Path("s.xml"));
    {
        Store store(service.GetConfigInstance(true));
        LOG log;
        Watch const watch = log.Of(store, "Log/*");
        service.SetLogLevel(5);
        EXPECT_EQ(store.get("Log/Level", 0), 5);
        EXPECT_TRUE(store.set("Log/Level", 6));
        EXPECT_TRUE(store.set("Login/Password", ticket::detail::as_bytes("secret")));
        EXPECT_EQ(service.GetLogLevel(), 6);
        EXPECT_EQ(service.GetLoginPassword(), "secret");
        EXPECT_THAT(log.events, ElementsAre("Log/Level: nothing -> 5", "Log/Level: 5 -> 6"));
        EXPECT_TRUE(store.save());
    }
    EXPECT_EQ(Store(scratch.Path("s.xml")).get("Log/Level", 0), 6);
    service.UnInitialize();
}

TEST(StoreWatch, ThreadsChangeReadAndWatchAtTheSameTime) {
    Store store;
    std::atomic<int> told{0};
    std::atomic<bool> done{false};
    std::vector<std::thread> threads;
    for (int number = 0; number < 2; ++number)
        threads.emplace_back([&, number] {
            for (int i = 0; i < 500; ++i) {
                store.set("Text", std::string(static_cast<std::size_t>(20 + i % 50), static_cast<char>('a' + number)));
                store.set("List", std::vector<std::string>(static_cast<std::size_t>(i % 4), "element"));
            }
        });
    threads.emplace_back([&] {
        while (!done) {
            std::string const text = store.get("Text", "aa");
            EXPECT_EQ(text, std::string(text.size(), text[0]));
            for (std::string const& element : store.get("List", {"element"})) EXPECT_EQ(element, "element");
        }
    });
    threads.emplace_back([&] {
        while (!done) Watch const watch = store.on_change("*", [&](Event const&) { ++told; });
    });
    threads[0].join();
    threads[1].join();
    done = true;
    threads[2].join();
    threads[3].join();
    Watch const watch = store.on_change("*", [&](Event const&) { ++told; });
    store.set("Text", "last");
    EXPECT_GT(told, 0);
}
