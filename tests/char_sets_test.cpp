// The byte-string helpers. Random strings are compared with
// reference implementations that follow the documented steps one by one.
#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <map>
#include <memory>
#include <random>
#include <type_traits>

#include "ConfigurationControl/CharSets.h"
#include "ConfigurationControl/MultiPar.h"

namespace {

using BYTE = unsigned char;
using CharSets::FilterString;

struct UNSIGNED_LESS {
    bool operator()(char a, char b) const { return static_cast<BYTE>(a) < static_cast<BYTE>(b); }
};

bool ReferenceIsUtf8Coded(char const* s) {
    if (std::strlen(s) < 1) return false;
    auto const continues = [s](std::size_t i) { return (static_cast<BYTE>(s[i]) & 0xC0) == 0x80; };
    for (std::size_t i = 0;; ++i) {
        BYTE const c = static_cast<BYTE>(s[i]);
        if ((c & 0xE0) == 0xC0 && continues(i + 1))
            return true;
        else if ((c & 0xF0) == 0xE0 && continues(i + 1) && continues(i + 2))
            return true;
        else if ((c & 0xF1) == 0xF0 && continues(i + 1) && continues(i + 2) && continues(i + 3))
            return true;
        if (i + 1 >= std::strlen(s)) return false;
    }
}

void ReferenceReplaceConflicting(std::string& s) {
    static std::map<char, std::string, UNSIGNED_LESS> const replacements{
        {'"', "&quot;"},    {'&', "&amp;"},     {'\'', "&apos;"},   {'<', "&lt;"},
        {'>', "&gt;"},      {'\xC4', "&#196;"}, {'\xD6', "&#214;"}, {'\xDC', "&#220;"},
        {'\xDF', "&#223;"}, {'\xE4', "&#228;"}, {'\xF6', "&#246;"}, {'\xFC', "&#252;"}};
    std::size_t cursor = 0;
    for (auto const& [key, replacement] : replacements) {
        if (s.find(key) == std::string::npos || cursor >= s.size()) continue;
        do {
            std::size_t const found = s.find(key, cursor);
            if (found == std::string::npos) break;
            s.erase(found, 1);
            s.insert(found, replacement);
            cursor = found + 1;
        } while (cursor < s.size());
    }
}

std::string Escaped(std::string text) {
    CharSets::ReplaceConflictingXMLDataInString(text);
    return text;
}

std::string RandomText(std::mt19937& random, std::string const& alphabet, std::size_t longest) {
    std::string text(random() % (longest + 1), '\0');
    for (char& c : text) c = alphabet[random() % alphabet.size()];
    return text;
}

std::string EveryByte() {
    std::string bytes;
    for (int byte = 0; byte <= 0xFF; ++byte) bytes += static_cast<char>(byte);
    return bytes;
}

}  // namespace

TEST(IsUtf8Coded, FindsOneSequenceAnywhere) {
    struct {
        char const* text;
        bool expected;
    } const cases[] = {
        {nullptr, false},
        {"", false},
        {"abc", false},
        {"\xC3\xA4", true},
        {"abc\xC3\xA4xyz", true},
        {"\xC3", false},
        {"abc\xC3", false},
        {"\xC3x\xA4", false},
        {"\xA4\xA4", false},
        {"\xE2\x82\xAC", true},
        {"\xE2\x82", false},
        {"\xE2\x82x", false},
        {"\xE2\xC3\xA4", true},  // a sequence may begin inside a broken one
        {"\xF0\x9F\x98\x80", true},
        {"\xF0\x9F\x98", false},
        {"\xF1\x9F\x98\x80", false},
        {"\xC0\x80", true},  // overlong
    };
    for (auto const& c : cases) EXPECT_EQ(CharSets::IsUtf8Coded(c.text), c.expected) << (c.text ? c.text : "null");
}

TEST(IsUtf8Coded, TakesEveryEvenLeadByteFromF0UpAsFourByteLead) {
    for (int lead = 0xF0; lead <= 0xFF; ++lead) {
        std::string const text = static_cast<char>(lead) + std::string("\x80\x80\x80");
        EXPECT_EQ(CharSets::IsUtf8Coded(text), lead % 2 == 0) << lead;
    }
}

TEST(IsUtf8Coded, StringFormEndsAtTheFirstZero) {
    EXPECT_FALSE(CharSets::IsUtf8Coded(std::string("a\0\xC3\xA4", 4)));
    EXPECT_FALSE(CharSets::IsUtf8Coded(std::string("\xC3\0\xA4", 3)));
    EXPECT_TRUE(CharSets::IsUtf8Coded(std::string("\xC3\xA4")));
}

TEST(IsUtf8Coded, AgreesWithTheStepByStepReference) {
    std::mt19937 random(1);
    std::string const leads("a\x80\xBF\xC3\xDF\xE2\xEF\xF0\xF1\xF4\xFE\xFF\0", 13);
    int found = 0;
    for (int i = 0; i < 20000; ++i) {
        std::string const text = RandomText(random, i % 2 ? leads : EveryByte(), 12);
        bool const expected = ReferenceIsUtf8Coded(text.c_str());
        found += expected;
        ASSERT_EQ(CharSets::IsUtf8Coded(text), expected) << testing::PrintToString(text);
    }
    EXPECT_GT(found, 1000);
    EXPECT_LT(found, 19000);
}

TEST(IsUtf8Coded, TakesLinearTime) {
    // A quadratic algorithm would take minutes on this text.
    EXPECT_FALSE(CharSets::IsUtf8Coded(std::string(4'000'000, '\xC3')));
}

TEST(ReplaceConflictingXMLData, EscapesWithOneCursorForAllKeys) {
    struct {
        char const *text, *expected;
    } const cases[] = {
        {"", ""},
        {"plain", "plain"},
        {"x\"y&z", "x&quot;y&amp;z"},
        {"<&", "<&amp;"},
        {"a<b&c", "a<b&amp;c"},
        {"&<", "&amp;&lt;"},
        {"&&", "&amp;&amp;"},
        {"&amp;", "&amp;amp;"},
        {"\"&'<>", "&quot;&amp;&apos;&lt;&gt;"},
        {"><'&\"", "><'&&quot;"},
        {"\"", "&quot;"},
        {"\xC4\xD6\xDC\xDF\xE4\xF6\xFC", "&#196;&#214;&#220;&#223;&#228;&#246;&#252;"},
        {"\xFC\xC4", "\xFC&#196;"},
        {"\xC4<", "\xC4&lt;"},
        {"a\xC3\xB6", "a\xC3\xB6"},
        {"#;", "#;"},
    };
    for (auto const& c : cases) EXPECT_EQ(Escaped(c.text), c.expected) << c.text;
}

TEST(ReplaceConflictingXMLData, PassesOverZeroBytes) {
    EXPECT_EQ(Escaped(std::string("\0&\0", 3)), std::string("\0&amp;\0", 7));
}

TEST(ReplaceConflictingXMLData, AgreesWithTheStepByStepReference) {
    std::mt19937 random(2);
    std::string const keys("\"&'<>\xC4\xD6\xDC\xDF\xE4\xF6\xFC");
    for (int i = 0; i < 20000; ++i) {
        std::string const alphabets[] = {keys, keys + "aqot;#&1" + std::string(20, 'x'), EveryByte()};
        std::string const text = RandomText(random, alphabets[i % 3], 40);
        std::string expected = text;
        ReferenceReplaceConflicting(expected);
        ASSERT_EQ(Escaped(text), expected) << testing::PrintToString(text);
    }
}

TEST(ReplaceConflictingXMLData, TakesLinearTime) {
    // Inserting in place would move the rest of the text three million times.
    EXPECT_EQ(Escaped(std::string(3'000'000, '&')).size(), 15'000'000u);
}

TEST(Conversions, AreNeverNeeded) {
    EXPECT_FALSE(CharSets::NeedsConversion("\xC3\xA4"));
    EXPECT_FALSE(CharSets::NeedsConversion(std::string("\xE4")));
    EXPECT_FALSE(CharSets::NeedsConversion(nullptr));
    EXPECT_EQ(CharSets::RequiredBufferSize("abc"), 0u);
    EXPECT_EQ(CharSets::RequiredBufferSize(std::string("abc")), 0u);
    EXPECT_EQ(CharSets::RequiredBufferSize(nullptr), 0u);
}

TEST(Conversions, CopyIntoABufferCutsAndPads) {
    using COPY = char* (*)(char*, char const*, std::size_t);
    for (COPY const copy : {COPY(CharSets::Win2Utf8), COPY(CharSets::Win2Utf8Decomposed), COPY(CharSets::Utf82Win)}) {
        char buffer[8];
        auto const fill = [&] { std::memset(buffer, '#', sizeof buffer); };
        auto const bytes = [&] { return std::string(buffer, sizeof buffer); };

        fill();
        EXPECT_EQ(copy(buffer, "abcdef", 4), buffer);
        EXPECT_EQ(bytes(), std::string("abc\0####", 8));
        fill();
        copy(buffer, "ab", 6);
        EXPECT_EQ(bytes(), std::string("ab\0\0\0\0##", 8));
        fill();
        copy(buffer, "abc", 4);
        EXPECT_EQ(bytes(), std::string("abc\0####", 8));
        fill();
        copy(buffer, nullptr, 3);
        EXPECT_EQ(bytes(), std::string("\0\0\0#####", 8));
        fill();
        copy(buffer, "abc", 1);
        EXPECT_EQ(bytes(), std::string("\0#######", 8));
        fill();
        EXPECT_EQ(copy(buffer, "abc", 0), buffer);
        EXPECT_EQ(bytes(), "########");
        EXPECT_EQ(copy(nullptr, "abc", 4), nullptr);
        EXPECT_EQ(copy(nullptr, nullptr, 0), nullptr);
    }
}

TEST(Conversions, CopyMayOverlapItsSource) {
    char buffer[] = "abcdef";
    CharSets::Win2Utf8(buffer, buffer + 2, sizeof buffer);
    EXPECT_EQ(std::string(buffer, sizeof buffer), std::string("cdef\0\0\0", 7));
    char whole[] = "abcdef";
    CharSets::Utf82Win(whole, whole, 4);
    EXPECT_STREQ(whole, "abc");
}

TEST(Conversions, OfAStringCopyEveryByte) {
    std::string const text("a\0\xE4\xC3\xA4", 5);
    EXPECT_EQ(CharSets::Win2Utf8(text), text);
    EXPECT_EQ(CharSets::Win2Utf8Decomposed(text), text);
    EXPECT_EQ(CharSets::Utf82Win(text), text);
}

TEST(DuplicateAndConvert, AllocatesAsAskedAndCopiesTheTerminator) {
    std::unique_ptr<char, void (*)(void*)> const allocated(
        CharSets::DuplicateAndConvert("text\xE4", CharSets::WIN_TO_UTF8, CharSets::ALLOC_MALLOC), std::free);
    EXPECT_STREQ(allocated.get(), "text\xE4");
    for (int const method : {1, 2, -1}) {
        std::unique_ptr<char[]> const made(CharSets::DuplicateAndConvert("", static_cast<CharSets::DIRECTION>(7),
                                                                         static_cast<CharSets::ALLOC_METHOD>(method)));
        EXPECT_STREQ(made.get(), "");
    }
    EXPECT_EQ(CharSets::DuplicateAndConvert(nullptr, CharSets::UTF8_TO_WIN, CharSets::ALLOC_NEW), nullptr);
    EXPECT_EQ(CharSets::DuplicateAndConvert(nullptr, CharSets::UTF8_TO_WIN, CharSets::ALLOC_MALLOC), nullptr);
}

TEST(DuplicateAndConvert, IsAskedByNumbersThatStay) {
    EXPECT_EQ(CharSets::ALLOC_MALLOC, 0);
    EXPECT_EQ(CharSets::ALLOC_NEW, 1);
    EXPECT_EQ(CharSets::WIN_TO_UTF8, 0);
    EXPECT_EQ(CharSets::UTF8_TO_WIN, 1);
}

TEST(Dbcs, ReplaceAllReplacesEveryEqualByte) {
    std::string text = "\\a\\\\b\\";
    CharSets::DBCS::ReplaceAll(text, '\\', '/');
    EXPECT_EQ(text, "/a//b/");
    std::string bytes("\0\xFF\0", 3);
    CharSets::DBCS::ReplaceAll(bytes, '\0', '\xFF');
    EXPECT_EQ(bytes, "\xFF\xFF\xFF");
    std::string empty;
    CharSets::DBCS::ReplaceAll(empty, 'a', 'b');
    EXPECT_EQ(empty, "");
}

TEST(Dbcs, LastAsciiPosIsTheLengthMinusOne) {
    EXPECT_EQ(CharSets::DBCS::LastAsciiPos(""), -1);
    EXPECT_EQ(CharSets::DBCS::LastAsciiPos("a"), 0);
    EXPECT_EQ(CharSets::DBCS::LastAsciiPos("abc\xE4"), 3);
}

TEST(FilterStringTest, IsATableOf256Bytes) {
    static_assert(sizeof(FilterString) == 256);
    FilterString const all(true);
    FilterString const none(false);
    for (int byte = 0; byte <= 0xFF; ++byte) {
        EXPECT_EQ(all(static_cast<char>(byte)), static_cast<char>(byte));
        EXPECT_EQ(none(static_cast<char>(byte)), '\0');
    }
    EXPECT_EQ(all(EveryByte()), EveryByte().substr(1));  // what maps to zero is removed, zero itself too
    EXPECT_EQ(none(EveryByte()), "");
}

TEST(FilterStringTest, BypassOfDigitsKeepsOnlyDigits) {
    FilterString digits(false);
    digits.setBypass('0', '9');
    EXPECT_EQ(digits("a1b2-3 \xFF"
                     "90"),
              "12390");
}

TEST(FilterStringTest, RangesAreUnsignedAndIncludeBothEnds) {
    FilterString high(false);
    high.setBypass('\xFE', '\xFF');
    EXPECT_EQ(high(EveryByte()), "\xFE\xFF");

    FilterString low(true);
    low.setRemove('\x01', '\xFD');
    EXPECT_EQ(low(EveryByte()), "\xFE\xFF");

    FilterString crossing(false);
    crossing.setBypass('\x7E', '\x81');
    EXPECT_EQ(crossing(EveryByte()), "\x7E\x7F\x80\x81");
}

TEST(FilterStringTest, RangeWithFirstAboveLastChangesNothing) {
    FilterString filter(true);
    filter.setRemove('b', 'a');
    filter.setReplace('\x80', '\x7F', 'x');  // above, as bytes are unsigned
    EXPECT_EQ(filter(EveryByte()), EveryByte().substr(1));
    FilterString none(false);
    none.setBypass('9', '0');
    EXPECT_EQ(none(EveryByte()), "");
}

TEST(FilterStringTest, SetsNameTheirBytes) {
    FilterString filter(false);
    filter.setBypass("abc\xE4");
    filter.setReplace("xy", '_');
    filter.setReplace("c", '\0');
    filter.setRemove("b");
    EXPECT_EQ(filter("a b c \xE4 x y z"), "a\xE4__");
}

TEST(FilterStringTest, NullAndEmptySetsChangeNothing) {
    FilterString filter(true);
    for (char const* const set : {static_cast<char const*>(nullptr), ""}) {
        filter.setBypass(set);
        filter.setRemove(set);
        filter.setReplace(set, 'x');
    }
    EXPECT_EQ(filter(EveryByte()), EveryByte().substr(1));
}

TEST(FilterStringTest, ReplacedRangesAndLaterSettingsWin) {
    FilterString filter(true);
    filter.setReplace('a', 'z', '*');
    filter.setBypass('m', 'n');
    filter.setReplace('\xF0', '\xFF', '\0');
    EXPECT_EQ(filter("lmno\xEF\xF0\xFF"), "*mn*\xEF");
}

TEST(FilterStringTest, ResultReservesTheLengthOfItsSource) {
    FilterString const none(false);
    EXPECT_GE(none(std::string(1000, 'a')).capacity(), 1000u);
}

TEST(ConvertSetMultiPar, KeepsAPrivateCopyOfTheRecords) {
    int value = 5;
    SETMULTIPAR batch[] = {{"a", PARAM_INT, &value, SCALAR_INDEX, 0}, {"", PARAM_NONE, nullptr, 3, 1}, {}};
    CharSets::clCONVERT_SETMULTIPAR const copy(batch, CharSets::WIN_TO_UTF8);
    char const* const key = batch[0].key;
    std::memset(batch, 0xFF, sizeof batch);

    SETMULTIPAR const* const records = copy.Table();
    ASSERT_NE(records, nullptr);
    EXPECT_EQ(records[0].key, key);
    EXPECT_EQ(records[0].type, PARAM_INT);
    EXPECT_EQ(records[0].value, &value);
    EXPECT_EQ(records[0].index, SCALAR_INDEX);
    EXPECT_STREQ(records[1].key, "");
    EXPECT_EQ(records[1].index, 3);
    EXPECT_EQ(records[2].key, nullptr);
}

TEST(ConvertSetMultiPar, AcceptsNullAndCannotBeCopied) {
    CharSets::clCONVERT_SETMULTIPAR const nothing(nullptr, CharSets::UTF8_TO_WIN);
    EXPECT_EQ(nothing.Table(), nullptr);
    static_assert(!std::is_copy_constructible_v<CharSets::clCONVERT_SETMULTIPAR>);
    static_assert(!std::is_copy_assignable_v<CharSets::clCONVERT_SETMULTIPAR>);
}
