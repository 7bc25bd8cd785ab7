// Comparison of names with wildcards.
#include "Format/Wildcard.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <random>
#include <string>
#include <vector>

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

bool Matches(std::string_view pattern, std::string_view name) {
    return WILDCARD(pattern).Matches(name);
}

struct PAIR {
    char const* pattern;
    char const* name;
};

// Whether `byte` is in the set at the front of `pattern`; advances `pattern` past the set. Sets `closed` to false if
// the set is not closed.
bool TakeSet(std::string_view& pattern, char byte, bool& closed) {
    std::size_t at = 1;
    bool const negated = at < pattern.size() && pattern[at] == '!';
    if (negated) ++at;
    bool found = false;
    for (bool first = true; at < pattern.size() && (first || pattern[at] != ']'); first = false) {
        if (at + 2 < pattern.size() && pattern[at + 1] == '-' && pattern[at + 2] != ']') {
            found = found || (byte >= pattern[at] && byte <= pattern[at + 2]);
            at += 3;
        } else {
            found = found || byte == pattern[at];
            ++at;
        }
    }
    closed = at < pattern.size();
    pattern.remove_prefix(closed ? at + 1 : pattern.size());
    return found != negated;
}

// A simple and slow reference for 7-bit texts.
bool MatchesSlowly(std::string_view pattern, std::string_view name) {
    if (pattern.empty()) return name.empty();
    if (pattern[0] == '*')
        return MatchesSlowly(pattern.substr(1), name) || (!name.empty() && MatchesSlowly(pattern, name.substr(1)));
    if (name.empty()) return false;
    if (pattern[0] == '[') {
        bool closed = false;
        bool const fits = TakeSet(pattern, name[0], closed);
        return closed && fits && MatchesSlowly(pattern, name.substr(1));
    }
    return (pattern[0] == '?' || pattern[0] == name[0]) && MatchesSlowly(pattern.substr(1), name.substr(1));
}

std::string RandomText(std::mt19937& random, std::string const& alphabet, std::size_t longest) {
    std::string text(random() % (longest + 1), '\0');
    for (char& letter : text) letter = alphabet[random() % alphabet.size()];
    return text;
}

std::vector<std::string> Names(std::string_view pattern) {
    std::vector<std::string> names;
    EXPECT_TRUE(WILDCARD(pattern).ListNames(256, names)) << pattern;
    return names;
}

}  // namespace

TEST(Wildcard, IsSuspectedOnlyWhereACharacterIsSpecial) {
    for (char const* pattern : {"*", "a?", "a[b]", "["}) EXPECT_TRUE(WILDCARD::IsPattern(pattern)) << pattern;
    for (char const* plain : {"", "abc", "]", "!", "-", "\\"}) EXPECT_FALSE(WILDCARD::IsPattern(plain)) << plain;
}

TEST(Wildcard, MatchesNamesThatFit) {
    PAIR const pairs[] = {
        {"abc", "abc"},   {"*", "abc"},      {"*", ""},
        {"a*", "a"},      {"a*c", "abcbc"},  {"*b*", "abc"},
        {"**a", "ba"},    {"a?c", "abc"},    {"???", "abc"},
        {"?*", "a"},      {"[abc]", "b"},    {"[a-c]x", "bx"},
        {"[!a-c]", "d"},  {"[]]", "]"},      {"[]a]", "a"},
        {"[!]]", "a"},    {"[a-]", "-"},     {"[-a]", "-"},
        {"[a!]", "!"},    {"a]", "a]"},      {"[*]", "*"},
        {"[?]", "?"},     {"[[]", "["},      {"[0-9a-f]", "e"},
        {"*[0-9]", "x7"}, {"?", "\xFF"},     {"[\x80-\xFF]", "\xC3"},
        {"[^a]", "^"},    {"*aab", "aaaab"}, {"[+--]", ","},
    };
    for (auto const& [pattern, name] : pairs) EXPECT_TRUE(Matches(pattern, name)) << pattern << " " << name;
}

TEST(Wildcard, RefusesNamesThatDoNotFit) {
    PAIR const pairs[] = {
        {"abc", "abd"}, {"abc", "ab"},  {"abc", "abcd"},        {"", "a"},      {"?", ""},      {"a?c", "ac"},
        {"a*c", "ab"},  {"[abc]", "d"}, {"[!a-c]", "b"},        {"[!]]", "]"},  {"[]", "]"},    {"[a", "a"},
        {"[a", "[a"},   {"a[", "a["},   {"[!]", "!"},           {"[c-a]", "b"}, {"[c-a]", "a"}, {"*[", "a["},
        {"A", "a"},     {"[a-c]", "B"}, {"list[0]", "list[0]"},
    };
    for (auto const& [pattern, name] : pairs) EXPECT_FALSE(Matches(pattern, name)) << pattern << " " << name;
}

TEST(Wildcard, AgreesWithTheRulesToldSlowly) {
    std::mt19937 random(1);
    for (int round = 0; round < 200000; ++round) {
        std::string const pattern = RandomText(random, "aabbc**??[[]]!-", 8);
        std::string const name = RandomText(random, "aabbcc]-!*", 6);
        ASSERT_EQ(Matches(pattern, name), MatchesSlowly(pattern, name)) << pattern << " " << name;
    }
}

TEST(Wildcard, ListsTheNamesOfAPatternThatStandsForFew) {
    EXPECT_THAT(Names("list[0]"), ElementsAre("list0"));
    EXPECT_THAT(Names("[ab]x[10]"), ElementsAre("ax0", "ax1", "bx0", "bx1"));
    EXPECT_THAT(Names("plain"), ElementsAre("plain"));
    EXPECT_THAT(Names("a["), IsEmpty());
    EXPECT_THAT(Names("[c-a]?*"), IsEmpty());
    EXPECT_EQ(Names("?").size(), 256U);
}

TEST(Wildcard, ListsNothingOfAPatternThatStandsForMany) {
    std::vector<std::string> names;
    EXPECT_FALSE(WILDCARD("*").ListNames(1000, names));
    EXPECT_FALSE(WILDCARD("[ab][ab]").ListNames(3, names));
    EXPECT_TRUE(WILDCARD("[ab][ab]").ListNames(4, names));
    EXPECT_FALSE(WILDCARD("????????").ListNames(1000000, names));
}

TEST(Wildcard, TakesNoExponentialTime) {
    std::string pattern;
    for (int piece = 0; piece < 200; ++piece) pattern += "*a";
    EXPECT_FALSE(Matches(pattern + "*b", std::string(5000, 'a')));
    EXPECT_TRUE(Matches(pattern + "*", std::string(5000, 'a')));
}
