// Selections of keys: the prefix set, the mode, and its list form.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "ConfigurationControl/MultiParList.h"
#include "ConfigurationControl/PartialMode.h"

namespace {

using testing::ElementsAre;

std::vector<std::string> Content(STRINGPREFIXSET const& prefixes) {
    return {prefixes.begin(), prefixes.end()};
}

STRINGPREFIXSET Prefixes(std::initializer_list<char const*> list) {
    STRINGPREFIXSET prefixes;
    for (char const* prefix : list) prefixes.insert(prefix);
    return prefixes;
}

PARTIAL_MODE Mode(std::vector<char const*> list) {
    list.push_back(nullptr);
    PARTIAL_MODE mode;
    mode.set(list.data());
    return mode;
}

void Change(PARTIAL_MODE& mode, std::vector<char const*> list) {
    list.push_back(nullptr);
    mode.set(list.data());
}

std::vector<std::string> Entries(PARTIAL_TABLE const& table) {
    std::vector<std::string> entries;
    for (char const* const* entry = table.Table(); entry && *entry; ++entry) entries.emplace_back(*entry);
    return entries;
}

TEST(PrefixOrder, ComparesTheCommonLengthOnly) {
    STRINGPREFIXSET::LESS const less;
    EXPECT_TRUE(less("a", "b"));
    EXPECT_FALSE(less("b", "a"));
    EXPECT_TRUE(less("ab/x", "b"));
    EXPECT_FALSE(less("a", "ab"));
    EXPECT_FALSE(less("ab", "a"));
    EXPECT_FALSE(less("", "z"));
    EXPECT_FALSE(less("z", ""));
    EXPECT_TRUE(less("a", "\x80")) << "bytes count as unsigned";
}

TEST(PrefixSet, AShorterPrefixReplacesALongerOneThatItCovers) {
    STRINGPREFIXSET prefixes = Prefixes({"a/b/", "a/"});
    EXPECT_THAT(Content(prefixes), ElementsAre("a/"));
}

TEST(PrefixSet, ALongerPrefixIsNotAddedBesideOneThatCoversIt) {
    STRINGPREFIXSET prefixes = Prefixes({"a/", "a/b/"});
    EXPECT_THAT(Content(prefixes), ElementsAre("a/"));
}

TEST(PrefixSet, OfSeveralCoveredPrefixesOnlyTheFirstGoesAndTheNewOneIsNotAdded) {
    EXPECT_THAT(Content(Prefixes({"a/b/", "a/c/", "a/"})), ElementsAre("a/c/"));
    EXPECT_THAT(Content(Prefixes({"a/c/", "a/b/", "a/d/", "a/"})), ElementsAre("a/c/", "a/d/"));
    EXPECT_THAT(Content(Prefixes({"x", "y", ""})), ElementsAre("y"));
}

TEST(PrefixSet, TheEmptyPrefixCoversEverything) {
    STRINGPREFIXSET prefixes = Prefixes({"", "a/"});
    EXPECT_THAT(Content(prefixes), ElementsAre(""));
    EXPECT_TRUE(prefixes.Covers("anything"));
    EXPECT_TRUE(prefixes.Covers(""));
    EXPECT_EQ(prefixes.erase("z"), 1u);
    EXPECT_TRUE(prefixes.empty());
}

TEST(PrefixSet, ErasingANarrowerPrefixTakesAwayTheWiderOne) {
    STRINGPREFIXSET prefixes = Prefixes({"a/"});
    EXPECT_EQ(prefixes.erase("a/b/"), 1u);
    EXPECT_TRUE(prefixes.empty());
}

TEST(PrefixSet, ErasingAWiderPrefixLeavesTheNarrowerOne) {
    STRINGPREFIXSET prefixes = Prefixes({"a/b/"});
    EXPECT_EQ(prefixes.erase("a/"), 0u);
    EXPECT_THAT(Content(prefixes), ElementsAre("a/b/"));
}

TEST(PrefixSet, ErasesAnEqualPrefixAndNothingUnrelated) {
    STRINGPREFIXSET prefixes = Prefixes({"a/", "b/", "c/"});
    EXPECT_EQ(prefixes.erase("d/"), 0u);
    EXPECT_EQ(prefixes.erase("b/"), 1u);
    EXPECT_THAT(Content(prefixes), ElementsAre("a/", "c/"));
}

TEST(PrefixSet, MayBeGivenItsOwnElements) {
    STRINGPREFIXSET prefixes = Prefixes({"a/", "b/"});
    prefixes.insert(*prefixes.begin());
    EXPECT_THAT(Content(prefixes), ElementsAre("a/", "b/"));
    EXPECT_EQ(prefixes.erase(*prefixes.begin()), 1u);
    EXPECT_THAT(Content(prefixes), ElementsAre("b/"));
}

TEST(PrefixSet, FindsTheFirstEquivalentElement) {
    STRINGPREFIXSET prefixes = Prefixes({"a/b/", "a/c/", "b/"});
    ASSERT_NE(prefixes.find("a/"), prefixes.end());
    EXPECT_EQ(*prefixes.find("a/"), "a/b/");
    EXPECT_EQ(*prefixes.find("a/c/x"), "a/c/");
    EXPECT_EQ(*prefixes.find(""), "a/b/");
    EXPECT_EQ(prefixes.find("a/d"), prefixes.end());
    EXPECT_EQ(prefixes.find("c"), prefixes.end());
    prefixes.clear();
    EXPECT_EQ(prefixes.find(""), prefixes.end());
}

TEST(PrefixSet, FindsTheCoveringPrefixAmongMany) {
    STRINGPREFIXSET prefixes;
    for (int i = 0; i < 1000; ++i) prefixes.insert("key" + std::to_string(i) + "/");
    EXPECT_EQ(prefixes.size(), 1000u);
    for (int i = 0; i < 1000; ++i) {
        EXPECT_TRUE(prefixes.Covers("key" + std::to_string(i) + "/x"));
        EXPECT_FALSE(prefixes.Covers("key" + std::to_string(i))) << "shorter than the prefix";
    }
    EXPECT_FALSE(prefixes.Covers("key1000/x"));
}

TEST(PartialMode, SelectsExactKeysAndWhatBeginsWithAPrefix) {
    PARTIAL_MODE const mode = Mode({"a/b", "c/*"});
    EXPECT_TRUE(mode.Selects("a/b"));
    EXPECT_TRUE(mode.Selects("c/x/y"));
    EXPECT_TRUE(mode.Selects("c/"));
    EXPECT_FALSE(mode.Selects("a/bc"));
    EXPECT_FALSE(mode.Selects("a/"));
    EXPECT_FALSE(mode.Selects("c")) << "shorter than the prefix";
    EXPECT_FALSE(mode.Selects(""));
    EXPECT_FALSE(mode.Selects(nullptr));
}

TEST(PartialMode, AStarAloneSelectsEveryKey) {
    PARTIAL_MODE const mode = Mode({"*"});
    EXPECT_TRUE(mode.Selects("a"));
    EXPECT_TRUE(mode.Selects(""));
    EXPECT_FALSE(mode.empty());
}

TEST(PartialMode, OnlyOneTrailingStarIsAMark) {
    PARTIAL_MODE const mode = Mode({"a**", "b*c"});
    EXPECT_THAT(Content(mode.prefixes), ElementsAre("a*"));
    EXPECT_THAT(mode.keys, ElementsAre("b*c"));
}

TEST(PartialMode, AListThatBeginsWithTheEmptyTextRemovesTheOthers) {
    PARTIAL_MODE mode = Mode({"a/b", "c/*"});
    Change(mode, {"", "c/*"});
    EXPECT_THAT(mode.keys, ElementsAre("a/b"));
    EXPECT_TRUE(mode.prefixes.empty());
    Change(mode, {"", "unknown", "d*", "a/b"});
    EXPECT_TRUE(mode.empty());
}

TEST(PartialMode, RemovingByAPrefixFollowsTheAsymmetryOfThePrefixSet) {
    PARTIAL_MODE mode = Mode({"a/*", "b/c/*"});
    Change(mode, {"", "a/x/*", "b/*"});
    EXPECT_THAT(Content(mode.prefixes), ElementsAre("b/c/"));
}

TEST(PartialMode, TheEmptyTextFurtherDownIsAnExactKey) {
    PARTIAL_MODE mode = Mode({"a", ""});
    EXPECT_TRUE(mode.Selects(""));
    mode.erase("");
    EXPECT_FALSE(mode.Selects(""));
}

TEST(PartialMode, NullEmptiesTheModeAndAListWithoutStringsChangesNothing) {
    PARTIAL_MODE mode = Mode({"a", "b*"});
    Change(mode, {});
    EXPECT_FALSE(mode.empty());
    mode.set(nullptr);
    EXPECT_TRUE(mode.empty());
}

TEST(PartialMode, ListsAddToWhatIsThere) {
    PARTIAL_MODE mode = Mode({"a"});
    Change(mode, {"b", "a"});
    EXPECT_THAT(mode.keys, ElementsAre("a", "b"));
}

TEST(PartialMode, MayBeChangedByAListOfItsOwnStrings) {
    PARTIAL_MODE mode = Mode({"a", "a key that is too long for a small string"});
    Change(mode, {"", mode.keys.begin()->c_str(), mode.keys.begin()->c_str(), mode.keys.rbegin()->c_str(),
                  mode.keys.rbegin()->c_str()});
    EXPECT_TRUE(mode.empty());
}

TEST(PartialTable, ListsKeysAndStarredPrefixesByTheirText) {
    PARTIAL_MODE mode;
    mode.keys.insert("b");
    mode.prefixes.insert("a/");
    PARTIAL_TABLE const table(mode);
    ASSERT_NE(table.Table(), nullptr);
    EXPECT_STREQ(table.Table()[0], "a/*");
    EXPECT_STREQ(table.Table()[1], "b");
    EXPECT_EQ(table.Table()[2], nullptr);
}

TEST(PartialTable, IsNullForAnEmptyMode) {
    EXPECT_EQ(PARTIAL_TABLE(PARTIAL_MODE()).Table(), nullptr);
}

TEST(PartialTable, GivesBackTheSameSelection) {
    PARTIAL_MODE const mode = Mode({"x", "a/*", "a", "m/n/*", "z/"});
    PARTIAL_TABLE const table(mode);
    EXPECT_THAT(Entries(table), ElementsAre("a", "a/*", "m/n/*", "x", "z/"));
    PARTIAL_MODE again;
    again.set(table.Table());
    EXPECT_EQ(again.keys, mode.keys);
    EXPECT_EQ(Content(again.prefixes), Content(mode.prefixes));
}

TEST(PartialTable, OutlivesTheMode) {
    auto mode = std::make_unique<PARTIAL_MODE>(Mode({"a key that is too long for a small string", "b*"}));
    PARTIAL_TABLE const table(*mode);
    mode.reset();
    EXPECT_THAT(Entries(table), ElementsAre("a key that is too long for a small string", "b*"));
}

TEST(PartialCollectAction, AddsSelectedKeysOnly) {
    SETMULTIPAR_LIST list;
    PARTIAL_MODE const mode = Mode({"a", "b/*"});
    PARTIAL_COLLECT_ACTION action{list, mode};
    int const value = 3;
    action.SetParameter("a", PARAM_INT, &value, -1);
    action.SetParameter("b", PARAM_INT, &value, -1);
    action.SetParameter("b/x", PARAM_INT, &value, 4);
    action.SetParameter(nullptr, PARAM_INT, &value, -1);
    ASSERT_EQ(list.Size(), 2u);
    SETMULTIPAR const* const table = list.Table(false);
    EXPECT_STREQ(table[0].key, "a");
    EXPECT_EQ(table[0].type, PARAM_INT);
    EXPECT_EQ(table[0].index, -1);
    EXPECT_STREQ(table[1].key, "b/x");
    EXPECT_EQ(table[1].index, 4);
}

TEST(PartialCollectAction, KeepsEveryTypeThatCanBeSetAndAlwaysGoesOn) {
    SETMULTIPAR_LIST list(true);
    PARTIAL_MODE const mode = Mode({"*"});
    PARTIAL_COLLECT_ACTION action{list, mode};
    for (unsigned int type = 0; type <= 12; ++type) {
        EXPECT_TRUE(
            PARTIAL_COLLECT_ACTION::CollectAction(&action, "k", static_cast<PARAM_TYPE>(type), nullptr, SCALAR_INDEX));
    }
    std::vector<int> types;
    for (SETMULTIPAR const* record = list.Table(false); record->key; ++record)
        types.push_back(static_cast<int>(record->type));
    EXPECT_THAT(types, ElementsAre(1, 2, 3, 4, 5, 7, 8, 9));
    EXPECT_TRUE(PARTIAL_COLLECT_ACTION::CollectAction(nullptr, "k", PARAM_STRING, "text", SCALAR_INDEX));
}

}  // namespace
