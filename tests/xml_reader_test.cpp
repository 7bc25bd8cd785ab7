// The values that the text of a ticket file sets, and that no text crashes the reader.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <stdexcept>
#include <string>

#include "Format/Reader.h"
#include "Format/TreeWriter.h"
#include "support/FileText.h"
#include "support/HostileLocale.h"
#include "support/Repeated.h"
#include "support/SmallStack.h"

namespace {

using namespace std::string_literals;
using testing::ElementsAre;
using testing::IsEmpty;

// The values that these elements below the root set. Some texts have the form that a save writes, so both readers are
// compared.
std::vector<std::string> Values(std::string const& elements) {
    FileText const result = FileText::ReadByXml(FileText::Framed(elements));
    EXPECT_EQ(FileText::Read(FileText::Framed(elements)).values, result.values) << elements;
    EXPECT_TRUE(result.Parsed()) << elements;
    return result.values;
}

// The type number and value that one leaf named "x" sets.
std::string Value(std::string const& type, std::string const& text) {
    auto const values = Values("<x type=\"" + type + "\">" + text + "</x>");
    return values.size() == 1 ? values[0] : std::to_string(values.size()) + " values";
}

bool IsParsed(std::string const& text) {
    return FileText::ReadXmlNames(text).Parsed();
}

// Counts calls and key bytes without keeping them.
struct TALLY {
    std::size_t values = 0;
    std::size_t longestKey = 0;

    static int Set(void* tally, std::string_view key, PARAM_TYPE, void const*, int) {
        auto& self = *static_cast<TALLY*>(tally);
        ++self.values;
        self.longestKey = std::max(self.longestKey, key.size());
        return 0;
    }
};

}  // namespace

TEST(TicketReader, ReadsEachType) {
    EXPECT_EQ(Value("int", "42"), "x 2 42");
    EXPECT_EQ(Value("double", "500.e-003"), "x 3 0x1p-1");
    EXPECT_EQ(Value("double", "1.#QNAN"), "x 3 nan");
    EXPECT_EQ(Value("string", "a\\x3Cb"), "x 4 a<b");
    EXPECT_EQ(Value("binstr", "\\x00\\xFF"), "x 5 {00}{FF}");
    EXPECT_EQ(Value("int64", "-9007199254740993"), "x 7 -9007199254740993");
    EXPECT_EQ(Value("uint64", "18446744073709551615"), "x 9 18446744073709551615");
}

TEST(TicketReader, ReadsNumbersAsAStreamDoes) {
    EXPECT_EQ(Value("int", " 7 "), "x 2 7");
    EXPECT_EQ(Value("int", "+7mm"), "x 2 7");
    EXPECT_EQ(Value("int", "99999999999"), "x 2 2147483647");
    EXPECT_EQ(Value("int", "zero"), "x 2 0");
    EXPECT_EQ(Value("uint64", "-1"), "x 9 18446744073709551615");
    EXPECT_EQ(Value("double", "1.#QNANs"), "x 3 0x1p+0");
    EXPECT_EQ(Value("double", "1,5"), "x 3 0x1p+0");
    EXPECT_EQ(Value("double", ""), "0 values");
}

TEST(TicketReader, ReadsEmptyTexts) {
    EXPECT_EQ(Value("string", "\\"), "x 4 ");
    EXPECT_EQ(Value("binstr", "\\"), "x 5 ");
    EXPECT_EQ(Value("string", " "), "x 4 ");
    EXPECT_EQ(Value("int", " \n "), "x 2 0");
}

TEST(TicketReader, ATextEndsAtADecodedNulAndABinaryDoesNot) {
    EXPECT_EQ(Value("string", "a\\x00b"), "x 4 a");
    EXPECT_EQ(Value("binstr", "a\\x00b"), "x 5 a{00}b");
}

TEST(TicketReader, NormalisesWhiteSpaceButNotEscapes) {
    EXPECT_EQ(Value("string", "\n  a \t\r\n b  "), "x 4 a b");
    EXPECT_EQ(Value("string", "x \\x20y"), "x 4 x  y");
    EXPECT_EQ(Value("string", "\\x20a\\x20"), "x 4  a ");
    EXPECT_EQ(Value("string", "\\ta\\n"), "x 4 {09}a{0A}");
    EXPECT_EQ(Value("string",
                    "\xC2\xA0"
                    "a \xE4"),
              "x 4 {C2}{A0}a {E4}");
}

TEST(TicketReader, DecodesEntitiesAsXmlDoes) {
    EXPECT_EQ(Value("string", "&lt;&amp;&gt;&quot;&apos;&#65;"), "x 4 <&>\"'A");
    EXPECT_EQ(Value("string", "&unknown; & &"), "x 4 &unknown; & &");
    EXPECT_EQ(Value("string", "&#228;"), "x 4 {C3}{A4}");
}

TEST(TicketReader, TakesTheFirstChildOfAnyKind) {
    EXPECT_EQ(Value("string", "<![CDATA[ a  <b> ]]>"), "x 4 a <b>");
    EXPECT_EQ(Value("string", "<!-- note -->text"), "x 4 note");
    EXPECT_EQ(Value("string", "text<!-- note -->"), "x 4 text");
    EXPECT_EQ(Value("string", "<y/>text"), "x 4 ");
    EXPECT_EQ(Value("int", "<y/>5"), "x 2 0");
}

TEST(TicketReader, BuildsKeysFromTheNamesOfElements) {
    EXPECT_THAT(Values("<a><b type=\"int\">1</b><c><d type=\"int\">2</d></c></a><e type=\"int\">3</e>"),
                ElementsAre("a/b 2 1", "a/c/d 2 2", "e 2 3"));
}

TEST(TicketReader, ReadsLeavesThatAreBranchesToo) {
    EXPECT_THAT(Values("<a type=\"int\">\n\t1\n\t<b type=\"int\">2<c type=\"int\">3</c></b></a><d type=\"int\">4</d>"),
                ElementsAre("a 2 1", "a/b 2 2", "a/b/c 2 3", "d 2 4"));
}

TEST(TicketReader, HandsSiblingsOfOneNameOnAsOneVector) {
    EXPECT_THAT(Values("<v type=\"int\">1</v><w type=\"int\">2</w><v type=\"string\">three</v>"),
                ElementsAre("v 2 1", "w 2 2", "v 4 three"));
}

TEST(TicketReader, LeavesOutEveryAncestorNamedTicket) {
    EXPECT_THAT(Values("<x><ticket><y type=\"int\">1</y></ticket></x>"), ElementsAre("x/y 2 1"));
    EXPECT_THAT(Values("<ticket><ticket><y type=\"int\">1</y></ticket></ticket>"), ElementsAre("y 2 1"));
    EXPECT_THAT(Values("<x><ticket type=\"int\">1<y type=\"int\">2</y></ticket><z type=\"int\">3</z></x>"),
                ElementsAre("x/ticket 2 1", "x/y 2 2", "x/z 2 3"));
    EXPECT_THAT(Values("<Ticket><y type=\"int\">1</y></Ticket>"), ElementsAre("Ticket/y 2 1"));
}

TEST(TicketReader, TakesAnyRoot) {
    EXPECT_THAT(FileText::Read("<a><b type=\"int\">1</b></a><c type=\"int\">2</c>").values,
                ElementsAre("a/b 2 1", "c 2 2"));
    EXPECT_THAT(FileText::Read("<ticket type=\"int\">1</ticket>").values, ElementsAre("ticket 2 1"));
}

TEST(TicketReader, IgnoresWhatIsNoLeafInSilence) {
    for (char const* elements :
         {"<x type=\"int\"/>", "<x type=\"int\"></x>", "<x type=\"INT\">1</x>", "<x type=\" int\">1</x>",
          "<x type=\"\">1</x>", "<x type=\"float\">1</x>", "<x type=\"pointer\">1</x>", "<x type=\"unsigned\">1</x>",
          "<x other=\"1\" type=\"int\">1</x>", "<x Type=\"int\">1</x>", "<x>1</x>", "<x/>", "text",
          "<!-- <x type=\"int\">1</x> -->", "<?x type=\"int\"?>", "<![CDATA[<x type=\"int\">1</x>]]>"})
        EXPECT_THAT(Values(elements), IsEmpty()) << elements;
}

TEST(TicketReader, LooksAtTheFirstAttributeOnly) {
    EXPECT_EQ(Values("<x type=\"int\" type=\"string\" other=\"1\">1</x>"), std::vector<std::string>{"x 2 1"});
}

TEST(TicketReader, GoesOnAfterAnElementThatStoresNothing) {
    EXPECT_THAT(Values("<x type=\"INT\">1<y type=\"int\">2</y></x><z type=\"int\">3</z>"),
                ElementsAre("x/y 2 2", "z 2 3"));
}

TEST(TicketReader, GoesOnWhateverTheSetFunctionAnswers) {
    TALLY tally;
    std::string text = "<a><b type=\"int\">1</b><c type=\"int\">2</c></a>";
    EXPECT_TRUE(FileText::Read(text, &TALLY::Set, &tally));
    EXPECT_EQ(tally.values, 2U);
}

TEST(TicketReader, LetsAnExceptionOfTheSetFunctionThrough) {
    std::string text = "<b type=\"int\">1</b>";
    auto const fail = [](void*, std::string_view, PARAM_TYPE, void const*, int) -> int {
        throw std::runtime_error("no");
    };
    EXPECT_THROW(FileText::Read(text, fail, nullptr), std::runtime_error);
}

TEST(TicketReader, IsTheSameUnderAnyLocale) {
    HostileLocale const locale;
    EXPECT_EQ(Value("double", "1.5"), "x 3 0x1.8p+0");
    EXPECT_EQ(Value("double", "+1.5"), "x 3 0x1.8p+0");
    EXPECT_EQ(Value("int", "1.234"), "x 2 1");
}

TEST(TicketReader, TellsATextThatIsParsedFromOneThatIsNot) {
    for (char const* text : {"<ticket/>", "<?xml version=\"1.0\"?>\n<ticket></ticket>\n", "\xEF\xBB\xBF<ticket/>",
                             "<!-- note --><ticket/>", "<!DOCTYPE ticket><ticket/>", "<other/>"})
        EXPECT_TRUE(IsParsed(text)) << text;
    for (char const* text : {" ", "text", "<ticket>", "<ticket></tickets>", "</ticket>", "<ticket", "<ticket a=1/>",
                             "<ticket><1/></ticket>", "<ticket><a[0] type=\"int\">1</a[0]></ticket>", "<!-- note -->"})
        EXPECT_FALSE(IsParsed(text)) << text;
}

TEST(TicketReader, SetsNothingFromATextThatCannotBeParsed) {
    EXPECT_THAT(FileText::Read("<ticket><a type=\"int\">1</a><b>").values, IsEmpty());
}

READING ReadingOf(std::string const& text) {
    return FileText::Read(text).result.reading;
}

// The parser takes it for an instruction if "?>" follows anywhere.
TEST(TicketReader, ADeclarationThatEndsLikeAStartTagHoldsElementsToo) {
    for (std::string const& text : {"<?xml version=\"1.0\"><ticket><b>?></b><a type=\"int\">1</a></ticket></xml><x/>"s,
                                    "<?xml type=\"int\"><b>?></b><a type=\"int\">1</a></xml><ticket/>"s,
                                    "<ticket/><?xml a=\"\"><b c=\"?>\"/><a type=\"int\">1</a></xml>"s})
        EXPECT_THAT(FileText::Read(text).values, ElementsAre("xml/a 2 1")) << text;
}

TEST(TicketReader, AnEmptyTextHoldsNothing) {
    EXPECT_EQ(ReadingOf(""), READING::DONE);
    EXPECT_THAT(FileText::Read("").values, IsEmpty());
}

TEST(TicketReader, ANulByteEndsTheText) {
    EXPECT_EQ(ReadingOf("<ticket><a type=\"int\">1\0</a></ticket>"s), READING::NO_DOCUMENT);
    EXPECT_EQ(ReadingOf("\0<ticket/>"s), READING::NO_DOCUMENT);
    EXPECT_EQ(ReadingOf("<ticket/>\0<x>"s), READING::IN_PART);
    EXPECT_EQ(ReadingOf("<ticket/>"), READING::DONE);
}

TEST(TicketReader, TellsWhereATextStopsBeingADocument) {
    struct CASE {
        std::string text;
        std::size_t offset, line, column;
    };
    std::string const ours = FileText::Framed("\t<a type=\"int\">1</a>\n\t<1 type=\"int\">2</1>\n\t<b>\n");
    for (CASE const& c : {CASE{"<ticket>\n<a></b>\n</ticket>", 14, 2, 6}, CASE{"x", 0, 1, 1}, CASE{"<", 0, 1, 1},
                          CASE{"<a/>\n\n< ", 7, 3, 2}, CASE{ours, ours.size() - 8, 6, 3}}) {
        READ_RESULT const result = FileText::Read(c.text).result;
        EXPECT_EQ(result.reading, READING::NO_DOCUMENT) << c.text;
        EXPECT_EQ(result.offset, c.offset) << c.text;
        EXPECT_EQ(result.line, c.line) << c.text;
        EXPECT_EQ(result.column, c.column) << c.text;
    }
}

TEST(TicketReader, WhatIsWrittenIsReadBack) {
    std::mt19937 random(1);
    for (int round = 0; round < 2000 && !testing::Test::HasFailure(); ++round) {
        std::string bytes(random() % 30, '\0');
        for (char& byte : bytes) {
            byte = random() % 2 ? static_cast<char>(random()) : " \\x0<\n"[random() % 6];
            if (byte == '&') byte = 'a';  // "&" is not escaped, so "&lt;" would be read as "<"
        }
        if (!bytes.empty() && bytes.front() == ' ') bytes.front() = 'a';
        if (!bytes.empty() && bytes.back() == ' ') bytes.back() = 'z';
        BIN_STRING const binary{bytes.data(), bytes.size()};
        TREE_WRITER document(nullptr, nullptr);
        document.CreateSubElem("a/b", PARAM_BINSTR, &binary);
        std::string text = bytes;
        std::replace(text.begin(), text.end(), '\0', '0');
        document.CreateSubElem("a/b/c", PARAM_STRING, text.c_str());
        EXPECT_THAT(FileText::Read(std::string(document.Serialise().View())).values,
                    ElementsAre("a/b 5 " + FileText::Printable(bytes), "a/b/c 4 " + FileText::Printable(text)));
    }
}

TEST(TicketReader, LosesASingleSpaceAtEitherEnd) {
    for (auto const& [text, read] : {std::pair{" a", "a"}, {"a ", "a"}, {" ", ""}, {"  ", " "}, {"  a  ", " a  "}}) {
        TREE_WRITER document(nullptr, nullptr);
        document.CreateSubElem("x", PARAM_STRING, text);
        EXPECT_THAT(FileText::Read(std::string(document.Serialise().View())).values, ElementsAre("x 4 "s + read))
            << '"' << text << '"';
    }
}

TEST(TicketReaderDepth, LoadsAMillionNestedElementsOnASmallStack) {
    RunOnSmallStack([] {
        constexpr int DEPTH = 1000000;
        std::string text = Repeated("<a>", DEPTH) + "<b type=\"int\">1</b>" + Repeated("</a>", DEPTH);
        TALLY tally;
        EXPECT_TRUE(FileText::Read(text, &TALLY::Set, &tally));
        EXPECT_EQ(tally.values, 1U);
        EXPECT_EQ(tally.longestKey, 2U * DEPTH + 1U);
    });
}

TEST(TicketReaderDepth, RefusesNestingThatWouldFillTheMemoryWithKeys) {
    RunOnSmallStack([] {
        constexpr int DEPTH = 1000000;
        std::string text = Repeated("<a type=\"int\">1", DEPTH) + Repeated("</a>", DEPTH);
        TALLY tally;
        EXPECT_FALSE(FileText::Read(text, &TALLY::Set, &tally));
        EXPECT_LT(tally.longestKey, 64U * 1024U);
    });
}

TEST(TicketReaderDepth, ChargesTheKeyOfAVectorOnce) {
    std::string const name(65000, 'n');
    std::string const element = "<a type=\"int\">1</a>\n";
    auto const read = [&](std::string const& elements) {
        TALLY tally;
        bool const isRead = FileText::Read("<" + name + ">" + elements + "</" + name + ">", &TALLY::Set, &tally);
        return isRead ? tally.values : 0;
    };
    EXPECT_EQ(read(Repeated(element, 4200)), 4200U);
    EXPECT_EQ(read(Repeated(element + "text<!-- note -->", 4200)), 4200U);
    EXPECT_EQ(read(Repeated(element + "<b type=\"int\">1</b>", 2100)), 0U);
    EXPECT_EQ(read(Repeated(element + "<b/>", 4200)), 0U);
    EXPECT_EQ(read(Repeated(element + "<a type=\"int\"/><a type=\"INT\">1</a><a>1</a>", 4200)), 0U);
}

TEST(TicketReaderDepth, RefusesUnclosedNestingOnASmallStack) {
    RunOnSmallStack([] {
        std::string text = Repeated("<a>", 1000000);
        EXPECT_FALSE(FileText::Read(text, &TALLY::Set, nullptr));
    });
}
