// A typed store that reports when others change its file.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <poll.h>

#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <string>
#include <vector>

#include "ConfigurationControl/Store/FileWatch.h"
#include "support/Files.h"
#include "support/StoreTypes.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using ticket::Event;
using ticket::Reason;
using ticket::Store;

class StoreFileWatch : public testing::Test {
 protected:
    // Dispatches all events up to now. Returns the keys that the watch reported.
    template <typename Watch>
    std::vector<std::string> Told(Watch& watch) {
        m_told.clear();
        pollfd wait{watch.fd(), POLLIN, 0};
        if (poll(&wait, 1, 0) > 0) m_result = watch.dispatch();
        return m_told;
    }
    auto Teller() {
        return [this](Event const& event) { m_told.push_back(event.key); };
    }
    void SaveByAnother(char const* key, int value) {
        Store other(m_file);
        other.set(key, value);
        EXPECT_TRUE(other.save());
    }

    SCRATCH_DIRECTORY const m_scratch;
    std::string const m_file = m_scratch.Path("t.xml");
    std::vector<std::string> m_told;
    ticket::Result m_result;
};

}  // namespace

TEST_F(StoreFileWatch, WhatAnotherProgramSavesIsToldAndMerged) {
    Store store(m_file);
    store.set("Ours", 1);
    ASSERT_TRUE(store.save());
    ticket::FileWatch watch(store, Teller());
    ASSERT_TRUE(watch);
    EXPECT_THAT(Told(watch), IsEmpty());
    SaveByAnother("Theirs", 2);
    EXPECT_THAT(Told(watch), ElementsAre("Theirs"));
    EXPECT_EQ(store.get("Theirs", 0), 2);
    EXPECT_FALSE(store.has_unsaved());
    EXPECT_THAT(Told(watch), IsEmpty());
}

TEST_F(StoreFileWatch, OwnSavesAreNotToldAndOwnUnsavedKeysStay) {
    Store store(m_file);
    ticket::FileWatch watch(store, Teller());
    store.set("Ours", 1);
    ASSERT_TRUE(store.save());
    EXPECT_THAT(Told(watch), IsEmpty());
    store.set("Ours", 5);
    SaveByAnother("Ours", 2);
    EXPECT_THAT(Told(watch), IsEmpty());
    EXPECT_EQ(store.get("Ours", 0), 5);
}

TEST_F(StoreFileWatch, AnEditorThatWritesInPlaceIsHeardAndABrokenFileChangesNothing) {
    Store store(m_file);
    store.set("Key", 1);
    ASSERT_TRUE(store.save());
    ticket::FileWatch watch(store, Teller());
    files::Write(m_file, "<ticket><Key type=\"int\">7</Key></ticket>");
    EXPECT_THAT(Told(watch), ElementsAre("Key"));
    EXPECT_EQ(store.get("Key", 0), 7);
    files::Write(m_file, "<ticket><Key type=\"int\">8</Ke");
    EXPECT_THAT(Told(watch), IsEmpty());
    EXPECT_EQ(m_result.reason(), Reason::unreadable);
    EXPECT_EQ(store.get("Key", 0), 7);
}

TEST_F(StoreFileWatch, AFileThatIsDeletedAndMadeAgainIsWatchedOn) {
    Store store(m_file);
    store.set("Key", 1);
    ASSERT_TRUE(store.save());
    ticket::FileWatch watch(store, Teller());
    std::filesystem::remove(m_file);
    EXPECT_THAT(Told(watch), IsEmpty());
    EXPECT_EQ(store.get("Key", 0), 1);
    files::Write(m_file, "<ticket><New type=\"int\">7</New></ticket>");
    EXPECT_THAT(Told(watch), ElementsAre("New", "Key"));
    EXPECT_FALSE(store.contains("Key"));
}

TEST_F(StoreFileWatch, WithoutMergeADifferenceIsToldOnce) {
    Store store(m_file);
    ticket::FileWatchOptions options;
    options.merge = false;
    ticket::FileWatch watch(store, Teller(), options);
    SaveByAnother("Key", 1);
    EXPECT_THAT(Told(watch), ElementsAre("Key"));
    EXPECT_FALSE(store.contains("Key"));
    SaveByAnother("Other", 1);
    EXPECT_THAT(Told(watch), ElementsAre("Other"));
    SaveByAnother("Key", 2);
    EXPECT_THAT(Told(watch), ElementsAre("Key"));
}

TEST_F(StoreFileWatch, AnExceptionOfTheFunctionLeavesDispatchAndTheNextOneTellsTheRest) {
    Store store(m_file);
    bool throws = true;
    ticket::FileWatch watch(store, [&](Event const& event) {
        m_told.push_back(event.key);
        if (throws) throw std::runtime_error("stop");
    });
    Store other(m_file);
    other.set("A", 1);
    other.set("B", 2);
    ASSERT_TRUE(other.save());
    EXPECT_THROW((void)watch.dispatch(), std::runtime_error);
    EXPECT_THAT(m_told, ElementsAre("A"));
    EXPECT_EQ(store.get("B", 0), 2) << "all was merged before";
    throws = false;
    EXPECT_TRUE(watch.dispatch());
    EXPECT_THAT(m_told, ElementsAre("A", "B"));
    EXPECT_TRUE(watch.dispatch());
    EXPECT_THAT(m_told, ElementsAre("A", "B"));
}

TEST_F(StoreFileWatch, ADirectoryThatIsGoneIsReportedByEachDispatch) {
    std::string const directory = m_scratch.Path("inner");
    std::filesystem::create_directory(directory);
    Store store(directory + "/t.xml");
    ticket::FileWatch watch(store, Teller());
    EXPECT_TRUE(watch.dispatch());
    std::filesystem::remove(directory);
    EXPECT_EQ(watch.dispatch().reason(), Reason::system);
    EXPECT_EQ(watch.dispatch().reason(), Reason::system);
}

TEST_F(StoreFileWatch, ADirectoryThatIsRenamedIsReportedByEachDispatch) {
    std::filesystem::create_directory(m_scratch.Path("inner"));
    Store store(m_scratch.Path("inner/t.xml"));
    ticket::FileWatch watch(store, Teller());
    std::filesystem::rename(m_scratch.Path("inner"), m_scratch.Path("renamed"));
    EXPECT_THAT(Told(watch), IsEmpty());
    EXPECT_EQ(m_result.reason(), Reason::system);
    EXPECT_EQ(watch.dispatch().reason(), Reason::system);
}

TEST_F(StoreFileWatch, TheFirstDispatchTellsWhatHasChangedSinceTheStoreReadTheFile) {
    Store store(m_file);
    SaveByAnother("Theirs", 2);
    ticket::FileWatch watch(store, Teller());
    EXPECT_TRUE(watch.dispatch());
    EXPECT_THAT(m_told, ElementsAre("Theirs"));
    EXPECT_EQ(store.get("Theirs", 0), 2);
}

TEST_F(StoreFileWatch, ADirectoryThatIsMissingIsNotWatchedAndDispatchTellsWhy) {
    Store store(m_scratch.Path("missing/t.xml"));
    ticket::FileWatch watch(store, Teller());
    EXPECT_FALSE(watch);
    EXPECT_EQ(watch.dispatch().error(), ENOENT);
}

TEST_F(StoreFileWatch, AStoreWithoutAFileIsNotWatched) {
    Store store;
    ticket::FileWatch watch(store, Teller());
    EXPECT_FALSE(watch);
    EXPECT_EQ(watch.fd(), -1);
    EXPECT_EQ(watch.dispatch().reason(), Reason::system);
}
