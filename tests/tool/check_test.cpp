// `ticket check`: each kind of finding with its place.
#include "Program.h"

namespace {

using testing::EndsWith;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

class ToolCheck : public Tool {
 protected:
    // The findings for a file of this content, without the name of the file; "" if there are none.
    std::string Findings(std::string const& content) const {
        Write("s.xml", content);
        auto const result = Ticket({"check", "s.xml"});
        EXPECT_EQ(result.code, result.out.empty() ? 0 : 1);
        EXPECT_EQ(result.err, "");
        std::string findings;
        std::istringstream lines(result.out);
        for (std::string line; std::getline(lines, line);) {
            EXPECT_THAT(line, StartsWith("s.xml:"));
            findings += line.substr(std::min<std::size_t>(line.size(), 6)) + "\n";
        }
        EXPECT_EQ(Content("s.xml"), content) << "a check changes nothing";
        return findings;
    }

    // The same for one element in "ticket"; the element begins in column 9.
    std::string FindingsIn(std::string const& element) const { return Findings("<ticket>" + element + "</ticket>"); }
};

TEST_F(ToolCheck, FindsNothingInWhatTheLibraryWrites) {
    std::string const json = R"([
        {"key": "a", "vector": [{"type": "int", "value": 1}, {"type": "string", "value": ""}]},
        {"key": "a-b", "type": "double", "value": "nan"}, {"key": "a/b", "type": "double", "value": 1e-300},
        {"key": "b", "type": "string", "value": "x  y & z\n\t\\x"}, {"key": "c", "type": "binstr", "hex": "00FF0A"},
        {"key": "d", "type": "int64", "value": -9223372036854775808},
        {"key": "e", "type": "uint64", "value": 18446744073709551615}, {"key": "g/ticket", "type": "int", "value": 1}])";
    ASSERT_EQ(TicketWithInput(json, {"import", "s.xml"}).err, "");
    EXPECT_EQ(Output({"check", "s.xml"}), "");
}

TEST_F(ToolCheck, FindsNothingInAFileWithoutValues) {
    EXPECT_EQ(Findings("<ticket/>"), "");
    EXPECT_EQ(Findings("<?xml version=\"1.0\" encoding=\"utf-8\"?>\n<ticket>\n</ticket>\n"), "");
}

TEST_F(ToolCheck, TellsWhereAFileDoesNotParse) {
    auto const broken = [&](std::string const& text) {
        auto told = Findings(text);
        auto const begin = told.find(" does not parse: ");
        return begin == std::string::npos ? told : told.erase(begin, sizeof "does not parse:");
    };
    EXPECT_EQ(broken("<ticket>\n\t<a type='int'>1</b>\n</ticket>"),
              "2:19: <a> of line 2 is not closed: here stands </b>\n");
    EXPECT_EQ(broken("<ticket>\n\t<a>\n\t\t<b type=\"int\">1</b>\n\t<c/>\n</ticket>\n"),
              "5:3: <a> of line 2 is not closed: here stands </ticket>\n");
    EXPECT_EQ(broken("<ticket>\n<!-- <x> -->\n<![CDATA[<y>]]><a\xFF>\n</a></ticket>"),
              "4:3: <a\\xFF> of line 3 is not closed: here stands </a>\n");
    EXPECT_EQ(broken("<ticket>\n\t<a>\n\t\t<b type=\"int\">1</b>\n"),
              "3:22: <a> of line 2 is not closed (the file may be cut off here)\n");
    EXPECT_EQ(broken("<ticket>\n\t<a>\n\t\t<b type=\"int\">1</"),
              "3:19: <b> of line 3 is not closed (the file may be cut off here)\n");
    EXPECT_EQ(broken("<ticket><b type=\"str"),
              "1:18: a broken attribute, which is spelt name=\"value\" (the file may be cut off here)\n");
    EXPECT_EQ(broken(""), "1:1: no element was found (the file is empty)\n");
    EXPECT_EQ(broken("\n \t"), "2:2: no element was found (the file is empty)\n");
    EXPECT_EQ(broken("<ticket>\n<a b=1/></ticket>"), "2:6: a broken attribute, which is spelt name=\"value\"\n");
    EXPECT_EQ(broken("<ticket>\n<a type=\"string\">1 < 2</a></ticket>"),
              "2:21: a < that begins no tag; a text spells it &lt;\n");
    EXPECT_EQ(broken("<ticket>\n<!-- <a/></ticket>"), "2:5: a comment that does not end with -->\n");
    EXPECT_EQ(broken(std::string("<ticket>\0</ticket>", 18)),
              "1:9: <ticket> of line 1 is not closed (a NUL byte ends the text here)\n");
}

TEST_F(ToolCheck, NamesTheWholeKeyOfAnElement) {
    EXPECT_EQ(
        Findings("<ticket><Log>\n<Level type=\"integer\">4</Level>\n<Mode type=\"int\">4x</Mode></Log></ticket>"),
        "2:1: 'Log/Level' has the unknown type \"integer\" and stores nothing; files hold int, string, double, binstr, "
        "int64, uint64\n"
        "3:1: 'Log/Mode': \"4x\" is read only up to \"x\"\n");
}

TEST_F(ToolCheck, LooksAtAFileWithNamesThatAreNoneInXml) {
    EXPECT_EQ(Findings("<ticket>\n\t<HP 4000 type=\"int\">4x</HP 4000>\n\t<1>\n\t\t<2/>\n\t</1>\n</ticket>\n"),
              "2:2: 'HP 4000': \"4x\" is read only up to \"x\"\n"
              "4:3: element '2' holds nothing\n");
    EXPECT_EQ(Findings("<ticket>\n\t<HP 4000 type=\"int\">4</HP 4000>\n\t<a>\n\t</b>\n</ticket>\n"),
              "4:4: does not parse: <a> of line 3 is not closed: here stands </b>\n");
    EXPECT_EQ(Findings("<ticket>\n<a\tb type=\"int\">4</a\tb>\n</ticket>\n"),
              "2:1: the name 'a\\tb' holds a control byte, which other files may not bring back\n");
}

TEST_F(ToolCheck, TellsKeysThatNoFileCanHold) {
    for (std::string const name : {"a<b", "a\"b", "a\nb", "\"", ">ab"}) {
        EXPECT_THAT(Findings("<ticket>\n\t<" + name + " type=\"int\">1</" + name + ">\n</ticket>\n"),
                    HasSubstr("(no file can hold a key with <, >, \" or a line end)\n"))
            << name;
    }
    EXPECT_THAT(Findings("<ticket>\n\t<a>b type=\"int\">1</a>b>\n</ticket>\n"),
                HasSubstr("2:5: text in element 'a', which has no type, stores nothing\n"));
    for (std::string const name : {"a", "a\tb"}) {
        EXPECT_THAT(Findings("<ticket>\n\t<" + name + " type=\"int\">1</b>\n</ticket>\n"),
                    Not(HasSubstr("no file can hold")));
    }
}

TEST_F(ToolCheck, TellsAFileOfWideCharacters) {
    EXPECT_THAT(Findings(std::string("\xFF\xFE<\0t\0/\0>\0", 10)), HasSubstr("it looks like UTF-16"));
    EXPECT_THAT(Findings(std::string("\0<\0t\0/\0>", 8)), HasSubstr("it looks like UTF-16"));
}

TEST_F(ToolCheck, TellsUnknownAndMisplacedTypes) {
    EXPECT_EQ(FindingsIn("<x type='INT'>1</x>"),
              "1:9: 'x' has the unknown type \"INT\" and stores nothing; files hold int, string, double, binstr, "
              "int64, uint64\n");
    EXPECT_EQ(FindingsIn("<x type='unsigned'>1</x>"),
              "1:9: 'x' has the unknown type \"unsigned\" and stores nothing; files hold int, string, double, binstr, "
              "int64, uint64\n");
    EXPECT_EQ(FindingsIn("<x type=''>1</x>"),
              "1:9: 'x' has the unknown type \"\" and stores nothing; files hold int, string, double, binstr, int64, "
              "uint64\n");
    EXPECT_EQ(FindingsIn("<x other='1' type='int'>1</x>"),
              "1:9: attribute 'other' is ignored and lost at the next save\n"
              "1:9: attribute 'type' is not the first one and is ignored\n"
              "1:33: text in element 'x', which has no type, stores nothing\n");
}

TEST_F(ToolCheck, TellsNumbersThatDoNotParseOrAreCut) {
    for (auto const& [type, text, finding] : {
             std::tuple{"int", "abc", "\"abc\" is not a number and is read as 0"},
             std::tuple{"int", "\\", "\"\\\\\" is not a number and is read as 0"},
             std::tuple{"int", "4.5", "\"4.5\" is read only up to \".5\""},
             std::tuple{"int", "0x10", "\"0x10\" is read only up to \"x10\""},
             std::tuple{"int", "1 000", "\"1 000\" is read only up to \" 000\""},
             std::tuple{"int", "2147483648", "\"2147483648\" is out of range and is cut to 2147483647"},
             std::tuple{"int", "-2147483649", "\"-2147483649\" is out of range and is cut to -2147483648"},
             std::tuple{"int64", "9223372036854775808",
                        "\"9223372036854775808\" is out of range and is cut to 9223372036854775807"},
             std::tuple{"uint64", "18446744073709551616",
                        "\"18446744073709551616\" is out of range and is cut to 18446744073709551615"},
             std::tuple{"uint64", "-1", "\"-1\" is negative and is read as 18446744073709551615"},
             std::tuple{"double", "1,5", "\"1,5\" is read only up to \",5\""},
             std::tuple{"double", "nan", "\"nan\" is not a number and is read as 0"},
             std::tuple{"double", "inf", "\"inf\" is not a number and is read as 0"},
         }) {
        EXPECT_EQ(FindingsIn(std::string("<x type='") + type + "'>" + text + "</x>"),
                  std::string("1:9: 'x': ") + finding + "\n");
    }
    EXPECT_THAT(FindingsIn("<x type='double'>1e999</x>"),
                HasSubstr("'x': \"1e999\" is out of range and is cut to 1.7976931348623157e+308"));
}

TEST_F(ToolCheck, AcceptsEveryFormOfANumberThatIsReadWhole) {
    EXPECT_EQ(FindingsIn("<a type='int'>+5</a><b type='int'>007</b><c type='int'>-0</c><d type='double'>.5</d>"
                         "<e type='double'>5.e-01</e><f type='double'>1.5E3</f><g type='uint64'>+1</g>"),
              "");
}

TEST_F(ToolCheck, TellsElementsThatHoldNothing) {
    EXPECT_EQ(FindingsIn("<x type='int'/>"), "1:9: 'x' has a type and no text and stores nothing\n");
    EXPECT_EQ(FindingsIn("<x type='string'></x>"), "1:9: 'x' has a type and no text and stores nothing\n");
    EXPECT_EQ(FindingsIn("<a><x/></a>"), "1:12: element 'x' holds nothing\n");
    EXPECT_EQ(FindingsIn("<x> <!-- c --> </x>").substr(0, 32), "1:9: element 'x' holds nothing\n1");
    EXPECT_EQ(FindingsIn("<x>1</x>"), "1:12: text in element 'x', which has no type, stores nothing\n");
    EXPECT_EQ(Findings("<ticket/>junk"), "1:10: text outside the top-level element stores nothing\n");
}

TEST_F(ToolCheck, TellsWhiteSpaceThatChanges) {
    std::string const finding = "1:9: white space of 'x' changes: trimmed at the ends, inner runs become one space\n";
    EXPECT_EQ(FindingsIn("<x type='string'> a</x>"), finding);
    EXPECT_EQ(FindingsIn("<x type='string'>a </x>"), finding);
    EXPECT_EQ(FindingsIn("<x type='string'>a  b</x>"), finding);
    EXPECT_EQ(FindingsIn("<x type='string'>a\tb</x>"), finding);
    EXPECT_EQ(FindingsIn("<x type='string'> </x>"), finding);
    EXPECT_EQ(FindingsIn("<x type='int'> 1</x>"), finding);
    EXPECT_EQ(FindingsIn("<x type='int'>1\n\t<y type='int'> 2</y></x>"),
              "2:2: white space of 'x/y' changes: trimmed at the ends, inner runs become one space\n");
    EXPECT_EQ(FindingsIn("<x type='string'>a b</x>"), "");
}

TEST_F(ToolCheck, TellsEntitiesAndLineEndsThatAreDecoded) {
    EXPECT_EQ(FindingsIn("<x type='string'>a&lt;b</x>"),
              "1:9: 'x' holds entities or line ends that are decoded: \"a&lt;b\"\n");
    EXPECT_THAT(FindingsIn("<x type='string'>a\r\nb</x>"),
                HasSubstr("1:9: 'x' holds entities or line ends that are decoded: \"a\\r\\nb\"\n"));
    EXPECT_EQ(FindingsIn("<x type='string'>a & b &foo;</x>"), "");
}

TEST_F(ToolCheck, TellsEscapesThatAreNone) {
    EXPECT_EQ(FindingsIn("<x type='string'>C:\\Program</x>"), "1:9: 'x': '\\P' is not an escape and stays as it is\n");
    EXPECT_EQ(FindingsIn("<x type='string'>a\\x1bb</x>"), "1:9: 'x': '\\x1b' is not an escape and stays as it is\n");
    EXPECT_EQ(FindingsIn("<x type='string'>a\\x4</x>"), "1:9: 'x' ends in an unfinished escape, which is dropped\n");
    EXPECT_EQ(FindingsIn("<x type='string'>a\\</x>"), "1:9: 'x' ends in an unfinished escape, which is dropped\n");
    EXPECT_EQ(FindingsIn("<x type='string'>a\\x00b</x>"),
              "1:9: 'x': a string ends at its first NUL byte; the rest is lost\n");
    EXPECT_EQ(FindingsIn("<x type='binstr'>a\\x00b</x>"), "");
    EXPECT_EQ(FindingsIn("<x type='string'>\\\\P</x>"), "");
}

TEST_F(ToolCheck, TellsValuesThatASaveWouldChange) {
    EXPECT_EQ(FindingsIn("<a><x type='int64'>5000000000</x></a>"),
              "1:12: key 'a/x' (int64 5000000000) would come back as int -2147483648\n");
    EXPECT_EQ(FindingsIn("<x type='string'>\\x20a</x>"),
              "1:9: key 'x' (string \" a\") would come back as string \"a\"\n");
    EXPECT_THAT(FindingsIn("<x type='string'>&amp;lt;</x>"),
                HasSubstr("1:9: key 'x' (string \"&lt;\") would come back as string \"<\"\n"));
    EXPECT_EQ(FindingsIn("<v type='int'>1</v>\n<v type='double'>1e10</v>"),
              "2:1: key 'v' element 1 (int64 10000000000) would come back as int -2147483648\n");
}

TEST_F(ToolCheck, TellsElementsThatChangeTheKeys) {
    EXPECT_EQ(FindingsIn("<ticket><y type='int'>1</y></ticket>"),
              "1:9: an element named 'ticket' is left out of the keys below it\n");
    EXPECT_EQ(FindingsIn("<a><ticket type='int'>1</ticket></a>"), "");
    EXPECT_EQ(Findings("<settings><a type='int'>1</a></settings>"),
              "1:1: the top-level element is named 'settings', not 'ticket', and becomes part of every key\n");
    EXPECT_EQ(Findings("<ticket><a type='int'>1</a></ticket>\n<ticket><b type='int'>1</b></ticket>"),
              "2:1: a second top-level element; a save puts everything into one\n");
}

TEST_F(ToolCheck, TellsAKeyThatStandsInTwoPlaces) {
    EXPECT_EQ(FindingsIn("<Log><Level type='int'>1</Level></Log>\n<Log><Level type='int'>2</Level></Log>"),
              "2:6: key 'Log/Level' stands here again, so it holds a vector and no single value\n"
              "2:6: key 'Log/Level' is of type vector; programs read int and get the fallback 3\n");
    EXPECT_EQ(FindingsIn("<a type='int'>1</a><b type='int'>1</b>\n<a type='int'>2</a>"),
              "2:1: key 'a' stands here again, so it holds a vector and no single value\n");
    EXPECT_EQ(FindingsIn("<a type='int'>1</a>\n<a type='int'>2</a><a type='int'>3</a>"), "");
}

TEST_F(ToolCheck, TellsValuesInOtherPiecesThanTheFirst) {
    EXPECT_EQ(FindingsIn("<x type='int'>1<![CDATA[2]]></x>"),
              "1:24: only the first piece of text of 'x' is its value\n");
    EXPECT_EQ(FindingsIn("<x type='int'><!--7-->8</x>"),
              "1:23: 'x' takes its value from a comment or instruction\n"
              "1:23: a comment is lost at the next save\n"
              "1:31: only the first piece of text of 'x' is its value\n");
    EXPECT_EQ(FindingsIn("<x type='string'><y type='int'>1</y></x>"),
              "1:9: 'x' has a type but starts with an element: its text is taken as empty\n");
}

TEST_F(ToolCheck, TellsWhatASaveWouldLeaveOut) {
    EXPECT_EQ(FindingsIn("\n <!-- why -->\n<a type='int' unit='mm'>1</a>"),
              "2:2: a comment is lost at the next save\n"
              "3:1: attribute 'unit' is ignored and lost at the next save\n");
    EXPECT_THAT(Findings("<?pi x?><!DOCTYPE ticket><ticket/>"),
                HasSubstr("1:1: a processing instruction is lost at the next save\n"));
    EXPECT_THAT(Findings("<?pi x?><!DOCTYPE ticket><ticket/>"),
                HasSubstr("a document type is ignored and lost at the next save\n"));
    EXPECT_EQ(Findings("<?xml version='1.0' encoding='ISO-8859-1'?>\n<ticket/>"),
              "1:1: the encoding \"ISO-8859-1\" is ignored: bytes are kept as they are\n");
    EXPECT_EQ(Findings(std::string("<ticket/>\0<more/>", 17)), "1:10: a NUL byte ends the file; the rest is lost\n");
}

TEST_F(ToolCheck, FindingsComeInTheOrderOfTheFile) {
    EXPECT_EQ(FindingsIn("\n<c type='int64'>5000000000</c>\n<b type='int'>x</b>\n<a/>\n"),
              "2:1: key 'c' (int64 5000000000) would come back as int -2147483648\n"
              "3:1: 'b': \"x\" is not a number and is read as 0\n"
              "4:1: element 'a' holds nothing\n");
}

TEST_F(ToolCheck, FindingsAreOneLineEachAndNotEndless) {
    auto const findings = FindingsIn("<x type='int'>\x1B[31m&#10;" + std::string(100000, 'y') + "</x>");
    EXPECT_LT(findings.size(), 1000u);
    EXPECT_EQ(findings.find('\x1B'), std::string::npos);
}

TEST_F(ToolCheck, LooksAtEveryFileItIsGiven) {
    WriteTicket("good.xml", "<a type='int'>1</a>");
    WriteTicket("bad.xml", "<a/>");
    Write("broken.xml", "<ticket>");
    auto const found = Ticket({"check", "broken.xml", "good.xml", "bad.xml"});
    EXPECT_EQ(found.code, 1);
    EXPECT_EQ(found.out,
              "broken.xml:1:8: does not parse: <ticket> of line 1 is not closed (the file may be cut off here)\n"
              "bad.xml:1:9: element 'a' holds nothing\n");
    EXPECT_EQ(found.err, "");
    auto const failed = Ticket({"check", "none.xml", "bad.xml"});
    EXPECT_EQ(failed.code, 2);
    EXPECT_EQ(failed.out, "bad.xml:1:9: element 'a' holds nothing\n");
    EXPECT_EQ(failed.err, "ticket: none.xml: no such file\n");
}

TEST_F(ToolCheck, ManyFindingsAreAllTold) {
    std::string elements;
    for (int i = 0; i < 30000; ++i) elements += "<a/>\n";
    auto const findings = FindingsIn(elements);
    EXPECT_EQ(std::count(findings.begin(), findings.end(), '\n'), 30000);
    EXPECT_THAT(findings, EndsWith("30000:1: element 'a' holds nothing\n"));
}

TEST_F(ToolCheck, AnEscapeThatIsReadWholeIsNotUnfinished) {
    EXPECT_EQ(FindingsIn("<a type='string'>abc\\xg</a>"), "1:9: 'a': '\\xg' is not an escape and stays as it is\n");
    EXPECT_EQ(Output({"get", "s.xml", "a"}), "abc\\xg\n");
    EXPECT_EQ(FindingsIn("<a type='string'>abc\\x4</a>"), "1:9: 'a' ends in an unfinished escape, which is dropped\n");
}

TEST_F(ToolCheck, TellsAPathWithSingleBackslashes) {
    EXPECT_THAT(
        FindingsIn("<a type='string'>C:\\temp\\new</a>"),
        HasSubstr("key 'a' looks like a path and holds the sequence \\t, which stands for a control character"));
    EXPECT_THAT(FindingsIn("<a type='string'>\\\\server\\new</a>"),
                HasSubstr("key 'a' looks like a path and holds the sequence \\n"));
    EXPECT_EQ(FindingsIn("<a type='string'>\\\\\\\\server\\\\new</a>"), "");
    EXPECT_EQ(FindingsIn("<a type='string'>C:\\\\temp\\\\new</a>"), "");
    EXPECT_EQ(FindingsIn("<a type='string'>Title:\\ttext</a>"), "");
}

TEST_F(ToolCheck, TellsBytesThatAreNotUtf8) {
    EXPECT_EQ(FindingsIn("<Name type='string'>M\xFCller</Name>"),
              "1:9: the text of 'Name' is not UTF-8; programs get its bytes as they are\n");
    EXPECT_EQ(FindingsIn("<B\xFC><Name type='string'>\xC3\xBC</Name></B\xFC>"),
              "1:9: the name 'B\\xFC' is not UTF-8; programs get its bytes as they are\n");
}

TEST_F(ToolCheck, TellsSettingsThatTheServiceCannotUse) {
    EXPECT_EQ(FindingsIn("<Log><Level type='string'>4</Level></Log>"),
              "1:14: key 'Log/Level' is of type string; programs read int and get the fallback 3\n");
    EXPECT_EQ(FindingsIn("<Locale><Measure type='int'>9</Measure></Locale>"),
              "1:17: key 'Locale/Measure' 9 is not 0 to 4\n");
    EXPECT_EQ(FindingsIn("<Log><Levle type='int'>4</Levle></Log>"),
              "1:14: key 'Log/Levle' is no known key; did you mean 'Log/Level'?\n");
    EXPECT_EQ(Output({"check", "s.xml", "--schema", "none"}), "");
    EXPECT_EQ(FindingsIn("<Product><Version type='double'>7.5</Version></Product>"
                         "<Option><Screenproof type='string'>x</Screenproof></Option>"),
              "");
}

}  // namespace
