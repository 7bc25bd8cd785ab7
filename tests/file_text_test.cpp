// How texts and bytes are spelled in a ticket file: escapes in both directions, and white space.
#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <string>

#include "Format/Escapes.h"

namespace {

using namespace std::string_literals;

struct SPELLING {
    std::string text;
    std::string written;
};

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

TEST(EncodeTo, AppendsAndForgetsTheSpaceThatWasThere) {
    std::string out = "before ";
    EncodeTo(out, " x");
    EXPECT_EQ(out, "before  x");
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
        {"\\x\\n", "\\x\\n"},  // the byte that ends an escape starts none
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

TEST(DecodeString, IsTheInverseOfEncodeString) {
    std::mt19937 random(1);
    for (int round = 0; round < 20000; ++round) {
        std::string const bytes = RandomBytes(random, "\\x0AnN <>\t");
        // The writer spells the empty text as a lone backslash; nothing else is spelled so.
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
