// The typed store on a file: what comes back after a save and a load, and what is refused. Each test of the first group
// is a line of the table in docs/store-guide.md.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/file.h>

#include <cmath>
#include <cstdint>
#include <cstring>
#include <filesystem>
#include <future>
#include <limits>
#include <random>
#include <string>
#include <utility>
#include <vector>

#include "ConfigurationControl/Ticket.h"
#include "support/Files.h"
#include "support/StoreTypes.h"

namespace {

using namespace std::chrono_literals;
using testing::HasSubstr;
using ticket::Bytes;
using ticket::Reason;
using ticket::Store;

enum class Fate { REFUSED, KEPT };

template <typename T>
bool IsSame(T const& a, T const& b) {
    return a == b;
}
bool IsSame(double a, double b) {
    return std::isnan(a) ? std::isnan(b) : std::memcmp(&a, &b, sizeof a) == 0;
}

Bytes BytesOf(std::string const& text) {
    return ticket::detail::as_bytes(text);
}

class StoreFile : public testing::Test {
 protected:
    // Sets a value, saves it and reads it with another store: it is refused, or it comes back as it was.
    template <typename T>
    Fate FateOf(T const& value, char const* key = "Key") {
        std::filesystem::remove(m_file);
        Store store(m_file);
        ticket::Result const set = store.set(key, value);
        if (!set) {
            EXPECT_EQ(set.reason(), Reason::not_kept) << set.message();
            EXPECT_FALSE(store.contains(key));
            return Fate::REFUSED;
        }
        EXPECT_TRUE(store.save());
        Store const loaded(m_file);
        auto const read = loaded.read<T>(key);
        EXPECT_TRUE(read) << read.result().message();
        if (read) {
            EXPECT_TRUE(IsSame(*read, value)) << FileContent(m_file);
        }
        EXPECT_EQ(loaded.entries().size(), 1u) << FileContent(m_file);
        return Fate::KEPT;
    }

    // The same for the wide form, which is never refused.
    template <typename T>
    void IsKeptWide(T const& value) {
        std::filesystem::remove(m_file);
        auto const key = ticket::Key<T>("Key").wide();
        {
            Store store(m_file);
            ASSERT_TRUE(store.set(key, value));
            ASSERT_TRUE(store.save());
        }
        auto const read = Store(m_file).read(key);
        ASSERT_TRUE(read) << read.result().message();
        EXPECT_TRUE(IsSame(*read, value)) << FileContent(m_file);
    }

    SCRATCH_DIRECTORY const m_scratch;
    std::string const m_file = m_scratch.Path("t.xml");
};

// With the NUL at its end.
template <std::size_t N>
std::string BytesOfLiteral(char const (&literal)[N]) {
    return std::string(literal, N);
}

std::string RandomText(std::mt19937& random, std::string_view pieces) {
    std::string text;
    for (std::size_t i = random() % 12; i > 0; --i) text += pieces[random() % pieces.size()];
    return text;
}

}  // namespace

// ---- What a file keeps

TEST_F(StoreFile, WholeNumbersOf32BitsAndBeyond53AreKeptThoseBetweenAreRefused) {
    constexpr auto EXACT = std::int64_t{1} << 53;
    for (std::int64_t const number :
         {std::int64_t{0}, std::int64_t{-1}, std::int64_t{INT32_MIN}, std::int64_t{INT32_MAX}, EXACT + 1, -EXACT - 1,
          std::numeric_limits<std::int64_t>::min(), std::numeric_limits<std::int64_t>::max()})
        EXPECT_EQ(FateOf(number), Fate::KEPT) << number;
    for (std::int64_t const number : {std::int64_t{INT32_MIN} - 1, std::int64_t{INT32_MAX} + 1, EXACT, -EXACT})
        EXPECT_EQ(FateOf(number), Fate::REFUSED) << number;
    EXPECT_EQ(FateOf(std::numeric_limits<std::uint64_t>::max()), Fate::KEPT);
    EXPECT_EQ(FateOf(std::uint64_t{5000000000}), Fate::REFUSED);
    EXPECT_EQ(FateOf(std::uint32_t{4000000000}), Fate::REFUSED);
    EXPECT_EQ(FateOf(std::uint32_t{2000000000}), Fate::KEPT);
    EXPECT_EQ(FateOf(3e9f), Fate::REFUSED);
    EXPECT_EQ(FateOf(std::vector<std::int64_t>{1, 5000000000}), Fate::REFUSED);
}

TEST_F(StoreFile, DoublesAreKeptBitByBitOrRefused) {
    for (double const number : {0.0, 0.1, -2.5, 5e-324, 2.2250738585072009e-308, 3e9 + 0.5, 123456789.25,
                                std::numeric_limits<double>::quiet_NaN(), -2147483648.0})
        EXPECT_EQ(FateOf(number), Fate::KEPT) << number;
    for (double const number :
         {-0.0, 3e9, -3e9, 1e100, std::numeric_limits<double>::infinity(), -std::numeric_limits<double>::infinity()})
        EXPECT_EQ(FateOf(number), Fate::REFUSED) << number;
}

TEST_F(StoreFile, RandomNumbersAreKeptOrRefused) {
    std::mt19937_64 random(20261121);
    int kept = 0;
    for (int i = 0; i < 150; ++i) {
        std::uint64_t const bits = random();
        double number = 0;
        std::memcpy(&number, &bits, sizeof number);
        kept += FateOf(number) == Fate::KEPT;
        kept += FateOf(static_cast<std::int64_t>(bits >> (bits % 64))) == Fate::KEPT;
    }
    EXPECT_GT(kept, 50);
    EXPECT_LT(kept, 250);
}

TEST_F(StoreFile, TextsWithBlanksAtTheirEdgesOrEntitiesAreRefusedOthersKept) {
    for (char const* text :
         {"",   "a",   "a b",  "a  b",   "\t",   "\n a\r", "\x01\x1F", "\\",       "\\x41", "a\\",  "<b>", "&",
          "&&", "& ;", "&amp", "&nbsp;", "&#;x", "&#xyz;", "]]>",      "\xC3\xA4", "\xFF",  "\x7F", "'\"", "#65;"})
        EXPECT_EQ(FateOf(std::string(text)), Fate::KEPT) << text;
    for (char const* text : {" ", " a", "a ", "  ", "&amp;", "x&lt;y", "&gt;", "&quot;", "&apos;", "&#65;", "&#x41;",
                             "&#0;", "&&amp;", "&#38;lt;"})
        EXPECT_EQ(FateOf(std::string(text)), Fate::REFUSED) << text;
    EXPECT_EQ(FateOf(std::string("a\0", 2)), Fate::REFUSED);
}

TEST_F(StoreFile, BytesAreKeptOrRefusedAsTextsButMayHoldNuls) {
    for (std::string const& bytes : {std::string(), std::string(3, '\0'), std::string("\0 \xFF", 3), std::string("\n")})
        EXPECT_EQ(FateOf(BytesOf(bytes)), Fate::KEPT);
    EXPECT_EQ(FateOf(BytesOf(" a")), Fate::REFUSED);
    EXPECT_EQ(FateOf(BytesOf("&lt;")), Fate::REFUSED);
}

TEST_F(StoreFile, RandomTextsAndBytesAreKeptOrRefused) {
    std::mt19937 random(20261121);
    std::string const pieces = BytesOfLiteral("&#;xlt6 \\<>\t\n\r\0\x80g");
    int kept = 0;
    for (int i = 0; i < 200; ++i) {
        std::string const text = RandomText(random, pieces);
        kept += FateOf(text) == Fate::KEPT;
        kept += FateOf(BytesOf(text)) == Fate::KEPT;
    }
    EXPECT_GT(kept, 100);
}

TEST_F(StoreFile, WideKeysKeepEveryValue) {
    for (double const number :
         {-0.0, 3e9, 0.1, std::numeric_limits<double>::infinity(), std::numeric_limits<double>::quiet_NaN()})
        IsKeptWide(number);
    IsKeptWide(std::int64_t{5000000000});
    IsKeptWide(std::numeric_limits<std::uint64_t>::max());
    std::mt19937 random(20261121);
    std::string const pieces = BytesOfLiteral("&#;lt6% \\<>\t\n\0\x80\xFF");
    for (int i = 0; i < 60; ++i) {
        std::string const text = RandomText(random, pieces);
        IsKeptWide(text);
        IsKeptWide(BytesOf(text));
    }
}

TEST_F(StoreFile, TimesAreKeptToTheTick) {
    EXPECT_EQ(FateOf(std::chrono::system_clock::now()), Fate::KEPT);
    EXPECT_EQ(FateOf(std::chrono::system_clock::time_point::max()), Fate::KEPT);
    EXPECT_EQ(FateOf(-1ns), Fate::KEPT);
    EXPECT_EQ(FateOf(std::chrono::hours::max()), Fate::KEPT);
}

TEST_F(StoreFile, ListsAreKeptAlsoEmptyOrWithOneElement) {
    EXPECT_EQ(FateOf(std::vector<std::string>()), Fate::KEPT);
    EXPECT_EQ(FateOf(std::vector<std::string>{""}), Fate::KEPT);
    EXPECT_EQ(FateOf(std::vector<std::string>{"", "a"}), Fate::KEPT);
    EXPECT_EQ(FateOf(std::vector<Bytes>()), Fate::KEPT);
    EXPECT_EQ(FateOf(std::vector<Bytes>{Bytes()}), Fate::KEPT);
    EXPECT_EQ(FateOf(std::vector<int>()), Fate::KEPT);
    EXPECT_EQ(FateOf(std::vector<double>{0.5, 7}), Fate::KEPT);
    EXPECT_EQ(FateOf(std::vector<bool>{true, false, true}), Fate::KEPT);
    EXPECT_EQ(FateOf(std::vector<std::string>{"a", " "}), Fate::REFUSED);
}

TEST_F(StoreFile, KeysThatAFileWouldChangeAreRefusedOthersKept) {
    for (char const* key :
         {"a",   "a/b",           "a b/c d", "Ticket",  "a/Ticket", "tickets/x", "HP 4000/ID", "1",           "-x",
          "a.b", "\xC3\xA4/\xFF", "what?",   "a/[b]",   "a'b",      "a=b",       "a=b='",      "anonymous/x", "a]b/c",
          ":",   "a&b",           "&lt;",    "&#65;/x", "a;b",      "$",         "%20"})
        EXPECT_EQ(FateOf(1, key), std::string_view(key) == "a=b='" ? Fate::REFUSED : Fate::KEPT) << key;
    for (char const* key :
         {"/a",  "a/",   "a//b", "/",  "ticket", "a/ticket/b", "a/ticket", " a", "a ", "a /b", "a/ b", "a<b",
          "a>b", "a\"b", "a\nb", "\t", "\x7F",   "?x",         "!--a",     "a*", "*",  "a?/b", "[x]/y"})
        EXPECT_EQ(FateOf(1, key), Fate::REFUSED) << key;
}

TEST_F(StoreFile, AStructIsRefusedUnderAKeyThatAFileChangesForItsMembers) {
    for (char const* key : {"a?", "a[0]", "b/?", "ticket", "a "}) {
        EXPECT_EQ(FateOf(Point{1, 2}, key), Fate::REFUSED) << key;
        EXPECT_EQ(FateOf(std::optional<Point>{Point{1, 2}}, key), Fate::REFUSED) << key;
        Store store(m_file);
        ticket::ChangeResult const changed = store.change([&](ticket::Change& change) {
            change.set("Good", 1);
            change.set(key, Point{1, 2});
        });
        EXPECT_EQ(changed.reason(), Reason::not_kept) << key;
        EXPECT_TRUE(store.entries().empty()) << key;
    }
    EXPECT_THROW(ticket::Key<Point>{"a?"}, ticket::Error);
    EXPECT_EQ(ticket::Key<int>{"a?"}.name(), std::string("a?"));
}

TEST_F(StoreFile, RandomKeysAreKeptOrRefusedAlsoSideBySide) {
    std::mt19937 random(20261121);
    std::string const pieces = BytesOfLiteral("ab/ 1'=?!-[]&;.:<\"\n*\x80");
    Store store(m_file);
    int kept = 0;
    for (int i = 0; i < 300; ++i) {
        std::string const key = RandomText(random, pieces);
        if (!key.empty() && i < 120) FateOf(i, key.c_str());
    }
    std::filesystem::remove(m_file);
    for (int i = 0; i < 3000; ++i) kept += static_cast<bool>(store.set(RandomText(random, pieces), i));
    EXPECT_GT(kept, 300);
    ASSERT_TRUE(store.save());
    Store const loaded(m_file);
    auto const before = store.entries();
    auto const after = loaded.entries();
    ASSERT_EQ(before.size(), after.size());
    for (std::size_t i = 0; i < before.size(); ++i) {
        EXPECT_EQ(before[i].key, after[i].key);
        EXPECT_EQ(before[i].value, after[i].value);
    }
}

TEST_F(StoreFile, TheFormDependsOnTheTypeSoThatAPlainHostFindsIt) {
    {
        Store store(m_file);
        store.set("Time", 1500ms);
        store.set("Theme", Theme::dark);
        store.set("Unit", Unit::inch);
        store.set(ticket::Key<std::int64_t>("Total").wide(), 5);
        store.set("Bytes", BytesOf("b"));
        store.set("Point", Point{1, 2});
        EXPECT_TRUE(store.save());
    }
    EXPECT_EQ(FileContent(m_file),
              "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<ticket>\n"
              "\t<Bytes type=\"binstr\">b</Bytes>\n"
              "\t<Point>\n\t\t<X type=\"int\">1</X>\n\t\t<Y type=\"int\">2</Y>\n\t</Point>\n"
              "\t<Theme type=\"string\">dark & deep</Theme>\n"
              "\t<Time type=\"string\">1.5</Time>\n"
              "\t<Total type=\"string\">5</Total>\n"
              "\t<Unit type=\"int\">7</Unit>\n"
              "</ticket>\n");
}

// ---- Saves

TEST_F(StoreFile, ThereIsNoFileBeforeASaveAndTheDestructorSaves) {
    {
        Store store(m_file);
        EXPECT_TRUE(store.loaded());
        EXPECT_FALSE(store.has_unsaved());
        store.set("Key", 1);
        EXPECT_TRUE(store.has_unsaved());
        EXPECT_FALSE(files::Exists(m_file));
        EXPECT_TRUE(store.save());
        EXPECT_FALSE(store.has_unsaved());
        EXPECT_TRUE(files::Exists(m_file));
        store.set("Key", 2);
    }
    EXPECT_EQ(Store(m_file).get("Key", 0), 2);
}

TEST_F(StoreFile, ARelativeNameMeansTheWorkingDirectoryOfItsCreation) {
    std::filesystem::path const before = std::filesystem::current_path();
    std::filesystem::current_path(m_scratch.Path());
    Store store("t.xml");
    std::filesystem::current_path(before);
    store.set("Key", 1);
    EXPECT_TRUE(store.save());
    EXPECT_TRUE(files::Exists(m_file));
}

TEST_F(StoreFile, TwoStoresOnOneFileBothKeepTheirKeys) {
    Store first(m_file), second(m_file);
    first.set("First", 1);
    first.set("Both", 1);
    second.set("Second", 2);
    second.set("Both", 2);
    EXPECT_TRUE(first.save());
    EXPECT_TRUE(second.save());
    EXPECT_EQ(second.get("First", 0), 1) << "a save takes over what others have changed";
    EXPECT_EQ(first.get("Second", 0), 0);
    EXPECT_TRUE(first.reload());
    EXPECT_EQ(first.get("Second", 0), 2);
    EXPECT_EQ(first.get("Both", 0), 2) << "the last save wins";
}

TEST_F(StoreFile, AnErasedKeyIsErasedInTheFileAndOnlyIt) {
    Store first(m_file), second(m_file);
    first.set("Old/A", 1);
    first.set("Old/B", {1, 2});
    EXPECT_TRUE(first.save());
    EXPECT_TRUE(second.reload());
    first.set("Old/C", 3);
    EXPECT_TRUE(first.save());
    EXPECT_TRUE(second.erase("Old/*"));
    EXPECT_TRUE(second.save());
    EXPECT_TRUE(first.reload());
    EXPECT_EQ(first.entries().size(), 1u) << "a selector erases the keys that were there at the call";
    EXPECT_TRUE(first.contains("Old/C"));
    EXPECT_TRUE(second.contains("Old/C"));
}

TEST_F(StoreFile, WhatIsChangedThroughTheTableIsSavedToo) {
    Store store(m_file);
    store.set("Old", 1);
    EXPECT_TRUE(store.save());
    auto const* const table = store.table();
    int const number = 5;
    table->SetParameter(table->pTicket, "Plain", PARAM_INT, &number, SCALAR_INDEX);
    EXPECT_TRUE(store.save());
    EXPECT_EQ(Store(m_file).get("Plain", 0), 5);
    Store other(m_file);
    other.set("Others", 1);
    EXPECT_TRUE(other.save());
    table->Operation(table->pTicket, STICKET_OP_CLEAR, nullptr);
    store.set("New", 1);
    EXPECT_TRUE(store.save());
    Store const left(m_file);
    EXPECT_FALSE(left.contains("Old"));
    EXPECT_FALSE(left.contains("Plain"));
    EXPECT_TRUE(left.contains("Others"));
    EXPECT_TRUE(left.contains("New"));
}

TEST_F(StoreFile, WhatIsChangedDuringASaveIsLeftToTheNextOneAndAFailedSaveLeavesAll) {
    ticket::detail::Journal journal;
    journal.open();
    EXPECT_TRUE(journal.empty());
    journal.add("A");
    journal.add("B");
    auto const failed = journal.begin();
    journal.add("C");
    journal.fail(failed);
    auto const saving = journal.begin();
    EXPECT_THAT(journal.keys(), testing::ElementsAre("A", "B", "C"));
    journal.add("B");
    journal.add("D");
    journal.finish(saving);
    EXPECT_THAT(journal.keys(), testing::ElementsAre("B", "D"));
    journal.add_everything();
    auto const whole = journal.begin();
    EXPECT_FALSE(journal.has_everything());
    journal.fail(whole);
    EXPECT_TRUE(journal.has_everything());
    journal.finish(journal.begin());
    EXPECT_TRUE(journal.empty());
}

TEST_F(StoreFile, WithoutMergeTheWholeStoreIsWritten) {
    Store::Options options;
    options.merge = false;
    Store store(m_file, options);
    Store other(m_file);
    other.set("Other", 1);
    EXPECT_TRUE(other.save());
    store.set("Key", 1);
    EXPECT_TRUE(store.save());
    EXPECT_FALSE(Store(m_file).contains("Other"));
    EXPECT_TRUE(Store(m_file).contains("Key"));
}

TEST_F(StoreFile, ASaveWaitsForTheLockOnTheDirectoryAndReportsWhenItDoesNotCome) {
    Store::Options options;
    options.longest_wait = 20ms;
    Store store(m_file, options);
    store.set("Key", 1);
    int const directory = open(m_scratch.Path().c_str(), O_RDONLY | O_DIRECTORY);
    ASSERT_EQ(flock(directory, LOCK_EX), 0);
    ticket::Result const saved = store.save();
    EXPECT_EQ(saved.reason(), Reason::busy);
    EXPECT_THAT(saved.message(), HasSubstr("t.xml: not saved: another program is busy"));
    EXPECT_TRUE(store.has_unsaved());
    close(directory);
    EXPECT_TRUE(store.save());
    EXPECT_EQ(Store(m_file).get("Key", 0), 1);
}

TEST_F(StoreFile, ASaveMayWaitForTheLockWithoutALimit) {
    Store::Options options;
    options.longest_wait = std::chrono::milliseconds::max();
    Store store(m_file, options);
    store.set("Key", 1);
    int const directory = open(m_scratch.Path().c_str(), O_RDONLY | O_DIRECTORY);
    ASSERT_EQ(flock(directory, LOCK_EX), 0);
    auto saved = std::async(std::launch::async, [&] { return store.save().reason(); });
    saved.wait_for(50ms);  // long enough for a save that does not wait to fail; a slow one passes all the same
    close(directory);
    EXPECT_EQ(saved.get(), Reason::none);
}

TEST_F(StoreFile, AFileThatIsDeletedIsWrittenWhole) {
    Store store(m_file);
    store.set("First", 1);
    EXPECT_TRUE(store.save());
    std::filesystem::remove(m_file);
    store.set("Second", 2);
    EXPECT_TRUE(store.save());
    EXPECT_EQ(Store(m_file).entries().size(), 2u);
    EXPECT_EQ(store.get("First", 0), 1);
}

TEST_F(StoreFile, ASaveThatTheDiskRefusesIsReportedAndTriedAgain) {
    Store store(m_file);
    store.set("Key", 1);
    std::filesystem::create_directory(m_file + ".tmp");
    ticket::Result const saved = store.save();
    EXPECT_EQ(saved.reason(), Reason::system);
    EXPECT_THAT(saved.message(), HasSubstr("t.xml: not saved"));
    EXPECT_TRUE(store.has_unsaved());
    std::filesystem::remove(m_file + ".tmp");
    EXPECT_TRUE(store.save());
    EXPECT_EQ(Store(m_file).get("Key", 0), 1);
}

TEST_F(StoreFile, AFileThatIsNoTicketIsReportedAndKeptByTheSave) {
    files::Write(m_file, "<ticket><Key");
    Store store(m_file);
    EXPECT_EQ(store.loaded().reason(), Reason::unreadable);
    store.set("Key", 1);
    EXPECT_TRUE(store.save());
    EXPECT_EQ(FileContent(m_file + ".unreadable"), "<ticket><Key");
    EXPECT_EQ(Store(m_file).get("Key", 0), 1);
}

TEST_F(StoreFile, AFileThatIsCutAtANulIsReportedAndLosesNothingOfTheStore) {
    Store store(m_file);
    store.set("A", 1);
    store.set("B", 2);
    ASSERT_TRUE(store.save());
    std::string const cut = BytesOfLiteral("<ticket><A type=\"int\">7</A></ticket>");
    files::Write(m_file, cut);
    EXPECT_EQ(Store(m_file).loaded().reason(), Reason::unreadable);
    EXPECT_EQ(Store(m_file).get("A", 0), 7);
    ticket::Result const reloaded = store.reload();
    EXPECT_EQ(reloaded.reason(), Reason::unreadable);
    EXPECT_THAT(reloaded.message(), HasSubstr("t.xml: not loaded as a whole"));
    EXPECT_EQ(store.get("A", 0), 1);
    store.set("C", 3);
    EXPECT_TRUE(store.save());
    EXPECT_EQ(FileContent(m_file + ".unreadable"), cut);
    Store const saved(m_file);
    EXPECT_EQ(saved.get("A", 0) + saved.get("B", 0) + saved.get("C", 0), 6);
    EXPECT_EQ(store.get("B", 0), 2);
}

TEST_F(StoreFile, AStoreOnANameThatIsNoneReportsThatAtOnceAndAtEachSave) {
    std::string const cut = m_file + BytesOfLiteral("") + "b";
    for (std::string const& name : {std::string(), cut}) {
        Store store(name);
        EXPECT_EQ(store.loaded().reason(), Reason::system) << name;
        EXPECT_TRUE(store.set("Key", 1));
        EXPECT_EQ(store.get("Key", 0), 1);
        EXPECT_TRUE(store.has_unsaved());
        ticket::Result const saved = store.save();
        EXPECT_EQ(saved.reason(), Reason::system);
        EXPECT_THAT(saved.message(), HasSubstr("file name"));
        EXPECT_FALSE(store.reload());
    }
    char const* const none = nullptr;
    EXPECT_FALSE(Store(none).loaded());
    EXPECT_FALSE(files::Exists(m_file));
}

TEST_F(StoreFile, AnInfiniteNumberFromTheTableIsReportedAndDoesNotEndTheProcess) {
    Store store(m_file);
    double const infinity = std::numeric_limits<double>::infinity();
    auto const* const table = store.table();
    table->SetParameter(table->pTicket, "Limit", PARAM_DOUBLE, &infinity, SCALAR_INDEX);
    ticket::Result const saved = store.save();
    EXPECT_EQ(saved.reason(), Reason::not_kept);
    EXPECT_THAT(saved.message(), HasSubstr("Limit"));
    EXPECT_TRUE(store.has_unsaved());
    store.erase("Limit");
    EXPECT_TRUE(store.save());
}

TEST_F(StoreFile, ASaveOnATableOfAnotherOwnerIsTriedAgainAfterTheDiskRefusedIt) {
    STICKET_ACCESS const* table = STICKET::Create(m_file.c_str());
    Store store(table);
    int changes = 0;
    auto const count = [](void* counted, char const* const* /*keys*/) { ++*static_cast<int*>(counted); };
    ASSERT_NE(TicketAddObserver(table, count, &changes), 0u);
    for (bool const isEmpty : {false, true}) {
        isEmpty ? store.erase("*") : store.set("Key", {1, 2});
        std::filesystem::path const obstacle = isEmpty ? m_file : m_file + ".tmp";
        std::filesystem::remove(obstacle);
        std::filesystem::create_directories(obstacle / "full");
        EXPECT_FALSE(store.save());
        EXPECT_FALSE(store.save()) << "the changes are still not in the file";
        std::filesystem::remove_all(obstacle);
        EXPECT_TRUE(store.save());
        EXPECT_EQ(Store(m_file).contains("Key"), !isEmpty);
        EXPECT_EQ(std::exchange(changes, 0), 1) << "a save changes nothing";
    }
    STICKET::Destroy(table);
}

TEST_F(StoreFile, AStoreOnATableOfAnotherOwnerSavesThatTicket) {
    STICKET_ACCESS const* table = STICKET::Create(m_file.c_str());
    {
        Store store(table);
        EXPECT_EQ(store.set("Wide", 5000000000).reason(), Reason::not_kept);
        EXPECT_TRUE(store.set("Key", 5));
        EXPECT_EQ(store.get("Key", 0), 5);
        EXPECT_TRUE(store.save());
    }
    EXPECT_EQ(Store(m_file).get("Key", 0), 5);
    STICKET::Destroy(table);
    Store none(static_cast<STICKET_ACCESS const*>(nullptr));
    EXPECT_EQ(none.set("Key", 1).reason(), Reason::no_ticket);
}
