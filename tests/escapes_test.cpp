// How texts and bytes are spelled in a ticket file: escapes in both directions, and white space.
#include "Format/Escapes.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <string>
#include <string_view>
#include <vector>

#include "support/RecordedOddities.h"

namespace {

using namespace std::string_literals;
using testing::ElementsAre;
using testing::IsEmpty;

struct SPELLING {
    std::string text;
    std::string written;
};

std::vector<std::string> OdditiesOfDecoding(std::string const& text) {
    RECORDED_ODDITIES oddities;
    std::string out;
    DecodeTo(out, text, &oddities);
    return oddities.Told();
}

std::vector<std::string> OdditiesOfSpace(std::string const& text) {
    RECORDED_ODDITIES oddities;
    std::string scratch;
    NormaliseSpace(text, scratch, &oddities);
    return oddities.Told();
}

std::string RandomBytes(std::mt19937& random, std::string const& alphabet) {
    std::string bytes(random() % 40, '\0');
    for (char& byte : bytes) byte = random() % 2 ? alphabet[random() % alphabet.size()] : static_cast<char>(random());
    return bytes;
}

}  // namespace

TEST(EncodeString, EscapesWhatParsingCouldChange) {
    SPELLING const spellings[] = {
        {"", ""},
        {"plain text", "plain text"},
        {"\t\n\r", "\\t\\n\\r"},
        {"a\\b", "a\\\\b"},
        {"\\", "\\\\"},
        {"\x1B", "\\x1B"},
        {"<tag>", "\\x3Ctag\\x3E"},
        {"&\"'", "&\"'"},
        {"\0\xFF"s, "\\x00\\xFF"},
        {"\x7F", "\\x7F"},
        {"\xC3\xA4", "\\xC3\\xA4"},
    };
    for (auto const& [text, written] : spellings) EXPECT_EQ(EncodeString(text), written);
}

TEST(EncodeString, EscapesEverySecondSpaceOfARun) {
    SPELLING const spellings[] = {
        {" ", " "},        {" a ", " a "},           {"x  y", "x \\x20y"}, {"   ", " \\x20 "}, {"    ", " \\x20 \\x20"},
        {" \t ", " \\t "}, {"a b  c", "a b \\x20c"},
    };
    for (auto const& [text, written] : spellings) EXPECT_EQ(EncodeString(text), written);
}

TEST(EncodeString, WritesEveryByteByItsClass) {
    for (int value = 0; value < 256; ++value) {
        std::string const byte(1, static_cast<char>(value));
        char hex[5];
        std::snprintf(hex, sizeof hex, "\\x%02X", static_cast<unsigned int>(value));
        std::string expected = value < 0x20 || value >= 0x7F || byte == "<" || byte == ">" ? hex : byte;
        if (byte == "\t") expected = "\\t";
        if (byte == "\n") expected = "\\n";
        if (byte == "\r") expected = "\\r";
        if (byte == "\\") expected = "\\\\";
        EXPECT_EQ(EncodeString(byte), expected) << value;
    }
}

TEST(EncodeString, ReservesTwiceTheLength) {
    EXPECT_GE(EncodeString(std::string(1000, 'a')).capacity(), 2000U);
}

TEST(Encode, WritesATextInPartsAsItWritesItWhole) {
    std::mt19937 random(4);
    for (int round = 0; round < 20000; ++round) {
        std::string const bytes = RandomBytes(random, "   \\a<\xFF");
        std::string_view const first = std::string_view(bytes).substr(0, random() % (bytes.size() + 1));
        char out[LONGEST_ESCAPE * 40];
        bool isAfterSpace = false;
        char* end = Encode(out, first, isAfterSpace);
        end = Encode(end, std::string_view(bytes).substr(first.size()), isAfterSpace);
        ASSERT_EQ(std::string(out, end), EncodeString(bytes)) << "round " << round;
    }
}

TEST(EncodeString, EscapesSpacesAcrossItsParts) {
    for (std::size_t const length : {254U, 255U, 256U, 257U, 511U, 512U}) {
        std::string const text = std::string(length, 'x') + "  y";
        EXPECT_EQ(EncodeString(text), std::string(length, 'x') + " \\x20y") << length;
    }
}

TEST(DecodeString, UndoesEscapesAndKeepsWhatIsNone) {
    SPELLING const spellings[] = {
        {"", ""},
        {"", "\\"},
        {"\\", "\\\\"},
        {"a\\b", "a\\\\b"},
        {"\\q", "\\q"},
        {"\t\n\r", "\\t\\n\\r"},
        {"\x1B", "\\x1B"},
        {"\0\xFF"s, "\\x00\\xFF"},
        {"x  y", "x \\x20y"},
        {"\\xZ1", "\\xZ1"},
        {"\\x4G", "\\x4G"},
        {"\\x\\n", "\\x\\n"},  // the backslash that breaks off an escape does not begin another
        {"\\x4\\n", "\\x4\\n"},
        {"\\ n", "\\ n"},
    };
    for (auto const& [text, written] : spellings) EXPECT_EQ(DecodeString(written), text) << written;
}

TEST(DecodeString, KnowsUpperCaseDigitsOnly) {
    EXPECT_EQ(DecodeString("\\x1b"), "\\x1b");
    EXPECT_EQ(DecodeString("\\xaB"), "\\xaB");
    EXPECT_EQ(DecodeString("\\xAb"), "\\xAb");
}

TEST(DecodeString, DropsAnUnfinishedEscapeAtTheEnd) {
    EXPECT_EQ(DecodeString("a\\"), "a");
    EXPECT_EQ(DecodeString("a\\x"), "a");
    EXPECT_EQ(DecodeString("a\\x4"), "a");
}

TEST(DecodeTo, TellsEachBackslashThatStays) {
    EXPECT_THAT(OdditiesOfDecoding("abc\\xg"), ElementsAre("unknown escape 3+3"));
    EXPECT_THAT(OdditiesOfDecoding("\\x\\x00b"), ElementsAre("unknown escape 0+3"));
    EXPECT_THAT(OdditiesOfDecoding("\\q\\x1b"), ElementsAre("unknown escape 0+2", "unknown escape 2+4"));
}

TEST(DecodeTo, TellsAnEscapeThatTheTextEndsIn) {
    EXPECT_THAT(OdditiesOfDecoding("abc\\"), ElementsAre("unfinished escape 3+1"));
    EXPECT_THAT(OdditiesOfDecoding("abc\\x"), ElementsAre("unfinished escape 3+2"));
    EXPECT_THAT(OdditiesOfDecoding("abc\\x4"), ElementsAre("unfinished escape 3+3"));
}

TEST(DecodeTo, TellsNothingOfWhatASaveWrites) {
    EXPECT_THAT(OdditiesOfDecoding("\\"), IsEmpty());  // the empty text
    std::mt19937 random(5);
    for (int round = 0; round < 2000; ++round) {
        std::string const written = EncodeString(RandomBytes(random, "\\x0AnN <>\t"));
        ASSERT_THAT(OdditiesOfDecoding(written), IsEmpty()) << written;
    }
}

TEST(DecodeString, IsTheInverseOfEncodeString) {
    std::mt19937 random(1);
    for (int round = 0; round < 20000; ++round) {
        std::string const bytes = RandomBytes(random, "\\x0AnN <>\t");
        // Only the empty text is written as a lone backslash.
        ASSERT_NE(EncodeString(bytes), "\\");
        ASSERT_EQ(DecodeString(EncodeString(bytes)), bytes) << "round " << round;
    }
}

TEST(NormaliseSpace, TrimsBothEndsAndJoinsRuns) {
    std::string scratch;
    SPELLING const spellings[] = {
        {"", ""},
        {" ", ""},
        {" \t\r\n\x01 ", ""},
        {"a", "a"},
        {"  a  ", "a"},
        {"a b", "a b"},
        {"a  b", "a b"},
        {"a\tb", "a b"},
        {"\na \n\t b c\x1F", "a b c"},
        {"\xA0 a \x85", "\xA0 a \x85"},
        {"a\x7F", "a\x7F"},
    };
    for (auto const& [text, normal] : spellings) EXPECT_EQ(NormaliseSpace(text, scratch), normal) << text;
}

TEST(NormaliseSpace, LosesNothingOfAnEncodedTextButASpaceAtEitherEnd) {
    std::mt19937 random(2);
    std::string scratch;
    for (int round = 0; round < 20000; ++round) {
        std::string bytes = RandomBytes(random, "  \t\na\\");
        std::string const read = DecodeString(std::string(NormaliseSpace(EncodeString(bytes), scratch)));
        if (bytes == " ") bytes.clear();
        if (bytes.rfind(" ", 0) == 0 && bytes.size() != read.size()) bytes.erase(0, 1);
        if (bytes.size() == read.size() + 1) bytes.pop_back();
        ASSERT_EQ(read, bytes) << "round " << round;
    }
}

TEST(NormaliseSpace, TellsEachRunThatChanges) {
    EXPECT_THAT(OdditiesOfSpace(" a b\tc  d \n"),
                ElementsAre("white space 0+1", "white space 4+1", "white space 6+2", "white space 9+2"));
    EXPECT_THAT(OdditiesOfSpace("  "), ElementsAre("white space 0+2"));
    EXPECT_THAT(OdditiesOfSpace("a b c"), IsEmpty());
    EXPECT_THAT(OdditiesOfSpace(""), IsEmpty());
}

TEST(NormaliseSpace, FindsWhiteSpaceAtEveryPlaceOfALongText) {
    std::string scratch;
    for (std::size_t length = 1; length < 40; ++length)
        for (std::size_t place = 0; place < length; ++place) {
            std::string text(length, '\xA0');
            text[place] = '\t';
            std::string expected = text;
            bool const isAtEnd = place == 0 || place == length - 1;
            expected.replace(place, 1, isAtEnd ? "" : " ");
            ASSERT_EQ(NormaliseSpace(text, scratch), expected) << length << ' ' << place;
        }
}

TEST(PlainLength, IsKnownOnlyWhereReadingChangesNothing) {
    for (char const* text : {"", "a", "42", "plain text", "a b c", "&<>\"'", "\xC3\xA4", "a\x7F"})
        EXPECT_EQ(PlainLength(text), std::string(text).size()) << text;
    for (char const* text : {" ", " a", "a ", "a  b", "a\tb", "\n", "\\", "a\\nb", "\x01", "a \\x20b", "a \tb"})
        EXPECT_EQ(PlainLength(text), std::string::npos) << text;
}

TEST(PlainLength, AgreesWithTheNormalisingAndDecodingItSpares) {
    std::mt19937 random(3);
    std::string scratch;
    int plain = 0;
    for (int round = 0; round < 20000; ++round) {
        std::string text = RandomBytes(random, "  abcdefgh");
        text.resize(std::min(text.size(), text.find('\0')));
        if (PlainLength(text.c_str()) == std::string::npos) continue;
        ++plain;
        ASSERT_EQ(PlainLength(text.c_str()), text.size());
        ASSERT_EQ(DecodeString(std::string(NormaliseSpace(text, scratch))), text);
    }
    EXPECT_GT(plain, 100);
}
