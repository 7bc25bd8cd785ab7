// That reading a ticket file in pieces makes what reading it as a whole does.
#include <gtest/gtest.h>

#include <algorithm>
#include <cctype>
#include <optional>
#include <random>
#include <string>
#include <vector>

#include "support/TicketText.h"

namespace {

using namespace std::string_literals;

// What is read in pieces of any size is what is read as a whole. Counts the sizes for which the parser saw less than
// all of the text at a time.
std::size_t PiecesRead(std::string const& text) {
    TicketText const whole = TicketText::Read(text);
    std::size_t cut = 0;
    for (std::size_t size = 1; size <= text.size(); ++size) {
        struct COUNTING final : FILE_SOURCE {
            TEXT_SOURCE text;
            std::size_t longest = 0;
            explicit COUNTING(std::string_view view) : text(view) {}
            std::size_t Size() const override { return text.Size(); }
            std::optional<std::size_t> Read(std::size_t begin, char* bytes, std::size_t most) override {
                longest = std::max(longest, most);
                return text.Read(begin, bytes, most);
            }
        } source(text);
        TicketText const pieces = TicketText::Read(source, size);
        EXPECT_EQ(pieces.reading, whole.reading) << size << " bytes of " << text;
        if (whole.Parsed()) {
            EXPECT_EQ(pieces.values, whole.values) << size << " bytes of " << text;
        }
        if (source.longest < text.size()) ++cut;
    }
    return cut;
}

}  // namespace

TEST(TicketPieces, MakeWhatTheWholeMakes) {
    std::string const elements =
        "<a type=\"int\">1</a>\n<g>\n<b type=\"string\">x y</b>\n<g>\n<c type=\"int\">2</c></g>\n</g>\n";
    for (std::string const& text : {
             TicketText::Framed(elements),
             TicketText::Framed(elements + elements),
             TicketText::Framed("<g type=\"int\"> 1 <h type=\"int\">2</h> 3 </g><i type=\"string\"> </i>"),
             TicketText::Framed("<g type=\"int\"><h type=\"int\">2</h></g><g type=\"int\"><!-- <x> --><h>3</h></g>"),
             TicketText::Framed("<g>\n<g>\n<g type=\"int\">1</g>\n</g>\n<g type=\"int\">2</g></g>"),
             "<other>" + elements + "</other><ticket>" + elements + "</ticket>" + elements,
             "<!DOCTYPE ticket [<!ENTITY a \"<b>\">]><ticket>" + elements + "</ticket><!-- end -->",
         }) {
        EXPECT_EQ(TicketText::Read(text).reading, READING::DONE) << text;
        EXPECT_GT(PiecesRead(text), 0u) << text;
    }
}

TEST(TicketPieces, ThatEndWithinSomethingAreNotTakenForTheirOwn) {
    std::string const element = "<a type=\"int\">1</a>\n";
    for (std::string const inside :
         {"<!-- <b> <c> -->", "<![CDATA[ <b> <c> ]]>", "<? <b> <c> ?>", "<d e='<b> <c>'></d>", "<d e=\"<_/> <c>\"/>",
          "<_/>", "<!-- <_/> <b> -->", "<_><_/></_>", "<?xml a='b'><a type='int'>1</a><b> <c>?></c> </b></xml>"})
        for (std::string const& text :
             {TicketText::Framed(element + inside + element), TicketText::Framed(inside + inside), inside})
            PiecesRead(text);
}

TEST(TicketPieces, FindWhatIsBrokenWhereverItStands) {
    std::string const element = "<a type=\"int\">1</a>\n";
    for (std::string const& broken :
         std::vector<std::string>{"</a>", "<b>", "<b></c>", "<!--", "<![CDATA[", "<?", "<1/>", "<b c=1/>", "\0"s, "<",
                                  "</ticket>", "</ticket><ticket>", "<!DOCTYPE x>", "<?xml version=\"1.0\"?>"})
        for (std::string const& text :
             {TicketText::Framed(element + broken + element), TicketText::Framed(element) + broken, broken + element})
            PiecesRead(text);
}

// Where a text ends at a NUL, its very last byte tells the parser whether something is whole.
TEST(TicketPieces, EndAtANulAsTheWholeDoes) {
    std::string const document =
        "<ticket><a type=\"int\">1</a><![CDATA[x]]><b c='d'/></ticket><!-- x --><? x ?><!DOCTYPE x>";
    std::size_t parsed = 0;
    for (char const* const last : {"", "x", "<", ">", "-", "]", "?", "/", "'", "\""}) {
        std::string const whole = document + "<c>" + last;
        for (std::size_t nul = 0; nul < whole.size(); ++nul) {
            std::string text = whole;
            text[nul] = '\0';
            PiecesRead(text);
            TicketText const ofAnyNames = TicketText::ReadAnyNames(text);
            TicketText const ofXml = TicketText::Read(text);
            EXPECT_EQ(ofAnyNames.reading, ofXml.reading) << text;
            if (!ofXml.Parsed()) continue;
            EXPECT_EQ(ofAnyNames.values, ofXml.values) << text;
            ++parsed;
        }
    }
    EXPECT_GT(parsed, 10u);
}

TEST(TicketPieces, OfTextsAtRandomMakeWhatTheWholeMakes) {
    std::mt19937 random(20);
    std::vector<std::string> const words{"<a type=\"int\">",
                                         "<a>",
                                         "<b>",
                                         "</a>",
                                         "</b>",
                                         "1",
                                         " ",
                                         "\n",
                                         "<_/>",
                                         "<!--",
                                         "-->",
                                         "<![CDATA[",
                                         "]]>",
                                         "&lt;",
                                         "<c/>",
                                         "<c type='int'>2</c>",
                                         "\"",
                                         "<",
                                         ">",
                                         "<?",
                                         "?>"};
    std::size_t parsed = 0;
    std::size_t cut = 0;
    for (int round = 0; round < 3000; ++round) {
        std::string text = "<ticket>";
        std::vector<std::string> open{"ticket"};
        for (std::size_t i = random() % 12; i > 0; --i) {
            std::string const& word = words[random() % (round % 2 ? words.size() : 8)];
            if (word[0] == '<' && word.size() > 2 && word.back() == '>' && std::isalpha(word[1]) &&
                word.find('/') == std::string::npos)
                open.push_back(word.substr(1, 1));
            if (word[1] == '/' && open.size() > 1) {
                text += "</" + open.back() + ">";
                open.pop_back();
            } else {
                text += word;
            }
        }
        for (; !open.empty(); open.pop_back()) text += "</" + open.back() + ">";
        if (TicketText::Read(text).Parsed()) ++parsed;
        cut += PiecesRead(text);
    }
    EXPECT_GT(parsed, 500u);
    EXPECT_GT(cut, 500u);
}
