// The ticket file byte for byte: the saved form of every kind of value, compared with a file written by hand.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <fstream>
#include <iterator>
#include <limits>
#include <random>
#include <string>

#include "Format/Reader.h"
#include "Format/TreeWriter.h"
#include "TicketImpSNode.h"
#include "support/FileText.h"
#include "support/HostileLocale.h"

namespace {

std::string Golden(char const* name) {
    std::ifstream file(std::string(TEST_DATA) + "/golden/" + name, std::ios::binary);
    EXPECT_TRUE(file) << name;
    return {std::istreambuf_iterator<char>(file), {}};
}

class Store {
 public:
    void Text(char const* key, char const* value, int index = SCALAR_INDEX) {
        EXPECT_TRUE(m_node.SetParameter(key, PARAM_STRING, value, index)) << key;
    }
    void Number(char const* key, double value, int index = SCALAR_INDEX) { Set(key, PARAM_DOUBLE, value, index); }
    void Integer(char const* key, int64_t value, int index = SCALAR_INDEX) { Set(key, PARAM_INT64, value, index); }
    void Unsigned(char const* key, uint64_t value) { Set(key, PARAM_UINT64, value, SCALAR_INDEX); }
    template <std::size_t SIZE>
    void Bytes(char const* key, char const (&value)[SIZE], int index = SCALAR_INDEX) {
        Set(key, PARAM_BINSTR, BIN_STRING{value, SIZE - 1}, index);
    }
    void Pointer(char const* key) { EXPECT_TRUE(m_node.SetParameter(key, PARAM_POINTER, this, SCALAR_INDEX)); }
    void EmptyVector(char const* key) { m_node.SetVector(key); }

    bool Read(std::string text) {
        auto const set = [](void* node, std::string_view key, PARAM_TYPE type, void const* value, int index) -> int {
            return static_cast<clTICKETNODE*>(node)->SetParameter(key, type, value, index);
        };
        return FileText::Read(text, set, &m_node);
    }

    std::string Write() {
        TREE_WRITER document(nullptr, nullptr);
        m_node.WalkParameter(&TREE_WRITER::SaveOne, &document, "", WALK_EVERYTHING);
        return std::string(document.Serialise().View());
    }

 private:
    template <typename VALUE>
    void Set(char const* key, PARAM_TYPE type, VALUE const& value, int index) {
        EXPECT_TRUE(m_node.SetParameter(key, type, &value, index)) << key;
    }

    clTICKETNODE m_node;
};

void FillWithEveryType(Store& store) {
    store.Text("/Nameless", "no component before the slash");
    store.Bytes("Binary/Bytes", "\x00\x01\t\n\r\x1B\x1F  !&\"'\\<=>?[]~\x7F\x80\xFF");
    store.Bytes("Binary/Empty", "");
    store.Text("Branch/Empty/", "ends in a slash, so that no leaf is written");
    store.Integer("Branch//Inner", 1);
    store.EmptyVector("Gone/EmptyVector");
    store.Pointer("Gone/Pointer");
    store.Integer("Integer/Largest", 2147483647);
    store.Integer("Integer/Negative", -42);
    store.Number("Integer/NegativeZero", -0.0);
    store.Number("Integer/OutOfRange", 1e100);
    store.Integer("Integer/Smallest", -2147483648);
    store.Number("Integer/Whole", 100.0);
    store.Integer("Integer64/Negative", -9007199254740993);
    store.Integer("Integer64/Positive", 9223372036854775807);
    store.Unsigned("Integer64/Unsigned", 18446744073709551615U);
    store.Text("Mixed", "leaf");
    store.Integer("Mixed/Below", 1);
    store.Number("Mixed/Below/Further", 2.5);
    store.Number("Number/Fixed", 12345.678);
    store.Number("Number/Half", 0.5);
    store.Number("Number/Large", 1234567.89);
    store.Number("Number/Negative", -2.5);
    store.Number("Number/NotANumber", std::numeric_limits<double>::quiet_NaN());
    store.Number("Number/Small", 0.0001);
    store.Number("Number/Tenth", 0.1);
    store.Number("Number/Tiny", std::numeric_limits<double>::denorm_min());
    store.Text("Text/Backslash", "\\");
    store.Text("Text/Control", "\x01\t\n\r\x1B\x7F");
    store.Text("Text/Empty", "");
    store.Text("Text/Markup", "<tag a=\"1\" b='2'> & so on");
    store.Text("Text/Plain", "Plain text");
    store.Text("Text/Spaces", "x  y   z");
    store.Text("Text/Umlaut", "\xC3\xA4");
    store.Integer("Vector", 1, APPEND_INDEX);
    store.Text("Vector", "two", APPEND_INDEX);
    store.Number("Vector", 3.5, APPEND_INDEX);
    store.Bytes("Vector", "\x04", APPEND_INDEX);
    store.Integer("Vector", 9007199254740993, APPEND_INDEX);
    store.Text("Vector/Below", "under the first element");
}

// Loads a text that may be cut off or damaged; the result does not matter, only that nothing crashes.
void LoadIgnoringTheResult(std::string const& text) {
    Store store;
    store.Read(text);
    store.Write();
}

}  // namespace

TEST(TicketFileGolden, EveryTypeIsWrittenByteForByte) {
    Store store;
    FillWithEveryType(store);
    EXPECT_EQ(store.Write(), Golden("every_type.xml"));
}

TEST(TicketFileGolden, EveryTypeIsWrittenAlikeUnderAnyLocale) {
    HostileLocale const locale;
    Store store;
    FillWithEveryType(store);
    EXPECT_EQ(store.Write(), Golden("every_type.xml"));
}

TEST(TicketFileGolden, EveryTypeIsReadBackUnderAnyLocale) {
    HostileLocale const locale;
    auto const [result, values] = FileText::Read(Golden("every_type.xml"));
    EXPECT_EQ(result.reading, READING::DONE);
    EXPECT_THAT(values, testing::ElementsAreArray({
                            "anonymous/Nameless 4 no component before the slash",
                            "Binary/Bytes 5 {00}{01}{09}{0A}{0D}{1B}{1F}  !&\"'\\<=>?[]~{7F}{80}{FF}",
                            "Binary/Empty 5 ",
                            "Branch/anonymous/Inner 2 1",
                            "Integer/Largest 2 2147483647",
                            "Integer/Negative 2 -42",
                            "Integer/NegativeZero 2 0",
                            "Integer/OutOfRange 2 -2147483648",
                            "Integer/Smallest 2 -2147483648",
                            "Integer/Whole 2 100",
                            "Integer64/Negative 7 -9007199254740993",
                            "Integer64/Positive 7 9223372036854775807",
                            "Integer64/Unsigned 9 18446744073709551615",
                            "Mixed 4 leaf",
                            "Mixed/Below 2 1",
                            "Mixed/Below/Further 3 0x1.4p+1",
                            "Number/Fixed 3 0x1.81cd6c8b43958p+13",
                            "Number/Half 3 0x1p-1",
                            "Number/Large 3 0x1.2d687e3d70a3dp+20",
                            "Number/Negative 3 -0x1.4p+1",
                            "Number/NotANumber 3 nan",
                            "Number/Small 3 0x1.a36e2eb1c432dp-14",
                            "Number/Tenth 3 0x1.999999999999ap-4",
                            "Number/Tiny 3 0x0.0000000000001p-1022",
                            "Text/Backslash 4 \\",
                            "Text/Control 4 {01}{09}{0A}{0D}{1B}{7F}",
                            "Text/Empty 4 ",
                            "Text/Markup 4 <tag a=\"1\" b='2'> & so on",
                            "Text/Plain 4 Plain text",
                            "Text/Spaces 4 x  y   z",
                            "Text/Umlaut 4 {C3}{A4}",
                            "Vector 2 1",
                            "Vector/Below 4 under the first element",
                            "Vector 4 two",
                            "Vector 3 0x1.cp+1",
                            "Vector 5 {04}",
                            "Vector 7 9007199254740993",
                        }));
}

TEST(TicketFileGolden, WhatIsReadIsWrittenAgainAlike) {
    Store first;
    ASSERT_TRUE(first.Read(Golden("every_type.xml")));
    std::string const text = first.Write();
    Store second;
    ASSERT_TRUE(second.Read(text));
    EXPECT_EQ(second.Write(), text);
}

TEST(TicketFileGolden, AHandWrittenFileIsWrittenInOrder) {
    Store store;
    ASSERT_TRUE(store.Read(Golden("by_hand.xml")));
    EXPECT_EQ(store.Write(), Golden("by_hand_saved.xml"));
}

TEST(TicketFileDamage, NoPrefixOfAFileDoesHarm) {
    std::string const golden = Golden("every_type.xml");
    for (std::size_t length = 0; length < golden.size(); ++length) LoadIgnoringTheResult(golden.substr(0, length));
}

TEST(TicketFileDamage, NoRandomChangeOfAFileDoesHarm) {
    std::string const golden = Golden("every_type.xml");
    std::mt19937 random(1);
    for (int round = 0; round < 3000; ++round) {
        std::string text = golden;
        for (auto changes = 1 + random() % 8; changes > 0; --changes) {
            auto const at = random() % text.size();
            switch (random() % 4) {
                case 0:
                    text[at] = static_cast<char>(random());
                    break;
                case 1:
                    text[at] = "<>/\\\"& \n\0x=?![]"[random() % 15];
                    break;
                case 2:
                    text.erase(at, random() % 20);
                    break;
                default:
                    text.insert(at, text, random() % text.size(), random() % 60);
                    break;
            }
            if (text.empty()) text = golden;
        }
        LoadIgnoringTheResult(text);
    }
}
