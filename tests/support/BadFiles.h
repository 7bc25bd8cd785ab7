// The cases of bad_files_test: broken, odd and hostile files, and what loads of each.
#pragma once

#include <string>
#include <vector>

#include "Repeated.h"

namespace bad_files {

using LINES = std::vector<std::string>;

struct CASE {
    std::string name;
    std::string content;
    LINES loads;        // in the form of tickets::Contents: key, number of the type, value
    bool isKept;        // whether the next save keeps the file beside the new one
    LINES comesBack{};  // the values after that save, where they differ
};

// A text with zero bytes around each character, as in UTF-16 and UTF-32.
inline std::string Wide(std::string const& text, std::size_t before, std::size_t behind) {
    std::string wide;
    for (char const c : text) wide += std::string(before, '\0') + c + std::string(behind, '\0');
    return wide;
}

inline std::string Root(std::string const& inner) {
    return "<ticket>" + inner + "</ticket>";
}

class TABLE {
 public:
    std::vector<CASE> cases;

    // Files that load.
    void Loads(std::string const& name, std::string const& content, LINES const& loads, LINES const& comesBack = {}) {
        cases.push_back({name, content, loads, false, comesBack});
    }
    // Files that load, given the text inside the outermost element.
    void Holds(std::string const& name, std::string const& inner, LINES const& loads, LINES const& comesBack = {}) {
        Loads(name, Root(inner), loads, comesBack);
    }
    // A file with one value.
    void Value(char const* type, std::string const& name, std::string const& text, std::string const& read) {
        Holds(std::string(type) + ": " + name, std::string("<a type=\"") + type + "\">" + text + "</a>", {"a " + read});
    }
    // Files with bytes after the end of what is read.
    void LoadsInPart(std::string const& name, std::string const& content, LINES const& loads) {
        cases.push_back({name, content, loads, true});
    }
    // Files that load nothing.
    void Fails(std::string const& name, std::string const& content) { cases.push_back({name, content, {}, true}); }
};

inline void AddWholeFiles(TABLE& table) {
    std::string const one = Root("<a type=\"int\">1</a>");
    using namespace std::string_literals;
    table.Loads("empty file", "", {});
    table.Fails("one byte", "x");
    table.Fails("one bracket", "<");
    table.Fails("nothing but white space", " \n\t");
    table.Loads("byte-order mark", "\xEF\xBB\xBF" + one, {"a 2 1"});
    table.Loads("two byte-order marks", "\xEF\xBB\xBF\xEF\xBB\xBF" + one, {"a 2 1"});
    table.Fails("nothing but a byte-order mark", "\xEF\xBB\xBF");
    table.Fails("UTF-16, low byte first", "\xFF\xFE" + Wide(one, 0, 1));
    table.Fails("UTF-16, high byte first", "\xFE\xFF" + Wide(one, 1, 0));
    table.Fails("UTF-16 without a mark", Wide(one, 0, 1));
    table.Fails("UTF-32, low byte first", "\xFF\xFE\0\0"s + Wide(one, 0, 3));
    table.Fails("UTF-32, high byte first", "\0\0\xFE\xFF"s + Wide(one, 3, 0));
    table.Loads("another encoding declared",
                "<?xml version=\"1.0\" encoding=\"ISO-8859-1\"?>" + Root("<a type=\"string\">\xE4</a>"), {"a 4 \xE4"});
    table.Holds("bytes that are no UTF-8", "<a type=\"string\">\xFF\xC0\x80</a>", {"a 4 \xFF\xC0\x80"});
    table.Fails("NUL in a text", Root("<a type=\"int\">1\0</a>"s));
    table.Fails("NUL between elements", Root("<a type=\"int\">1</a>\0"s));
    table.Fails("NUL first", "\0"s + one);
    table.Fails("nothing but NUL", std::string(4096, '\0'));
    table.LoadsInPart("NUL behind the end", one + std::string(100, '\0') + "<x>", {"a 2 1"});
    table.Loads("CRLF", "<ticket>\r\n\t<a type=\"int\">1</a>\r\n\t<b type=\"string\">x\r\ny</b>\r\n</ticket>\r\n",
                {"a 2 1", "b 4 x y"});
    table.Loads("CR", "<ticket>\r\t<a type=\"int\">1</a>\r\t<b type=\"string\">x\ry</b>\r</ticket>\r",
                {"a 2 1", "b 4 x y"});
    table.Loads("no line ends", "<?xml version=\"1.0\"?>" + one, {"a 2 1"});
}

inline void AddRoots(TABLE& table) {
    std::string const one = Root("<a type=\"int\">1</a>");
    table.Fails("no root", "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n");
    table.Fails("nothing but a comment", "<!-- note -->");
    table.Fails("nothing but a document type", "<!DOCTYPE ticket>");
    table.Loads("root without values", "<ticket/>", {});
    table.Loads("two roots", one + Root("<b type=\"int\">2</b>"), {"a 2 1", "b 2 2"});
    table.Loads("wrong root", "<settings><a type=\"int\">1</a></settings>", {"settings/a 2 1"});
    table.Loads("root in capitals", "<Ticket><a type=\"int\">1</a></Ticket>", {"Ticket/a 2 1"});
    table.Loads("root with a value", "<ticket type=\"int\">5<a type=\"int\">1</a></ticket>", {"a 2 1", "ticket 2 5"});
    table.Loads("text around the root", "junk" + one + "junk", {"a 2 1"});
    table.Loads("declaration behind blank lines", "\n\n<?xml version=\"1.0\"?>" + one, {"a 2 1"});
    table.Loads("comments around the root", "<!-- a --><?pi?>" + one + "<!-- b -->", {"a 2 1"});
}

inline void AddUnclosed(TABLE& table) {
    table.Fails("root not closed", "<ticket><a type=\"int\">1</a>");
    table.Fails("element not closed", "<ticket><a type=\"int\">1</ticket>");
    table.Fails("text not ended", "<ticket><a type=\"int\">1");
    table.Fails("tag not ended", "<ticket><a type=\"int\"");
    table.Fails("attribute not ended", "<ticket><a type=\"int>1</a></ticket>");
    table.Fails("attribute name alone at the end", "<ticket><a type");
    table.Fails("closing tag not ended", "<ticket><a type=\"int\">1</a></ticket");
    table.Fails("comment not ended", "<ticket><a type=\"int\">1</a><!-- note </ticket>");
    table.Fails("section not ended", "<ticket><a type=\"string\"><![CDATA[x</a></ticket>");
    table.Fails("instruction not ended", "<ticket><a type=\"int\">1</a><?note </ticket>");
    table.Fails("document type not ended", "<!DOCTYPE ticket [ <ticket><a type=\"int\">1</a></ticket>");
    table.Fails("closing tag alone", "</ticket>");
    table.Fails("closing tag too many", "<ticket></a></ticket>");
    table.Fails("closing tag of another name", "<ticket><a type=\"int\">1</b></ticket>");
    table.Fails("closing tag in other case", "<ticket><a type=\"int\">1</A></ticket>");
    table.Fails("elements that overlap", "<ticket><a><b type=\"int\">1</a></b></ticket>");
    table.Fails("tag without a name", "<ticket><></></ticket>");
    table.Fails("bare bracket in a text", "<ticket><a type=\"string\">1 < 2</a></ticket>");
    table.Holds("bare closing bracket in a text", "<a type=\"string\">2 > 1</a>", {"a 4 2 > 1"});
}

inline void AddMarkup(TABLE& table) {
    std::string const one = Root("<a type=\"int\">1</a>");
    table.Loads("comment in a document type", "<!DOCTYPE ticket [ <!-- ]> --> ]>" + one, {"a 2 1"});
    table.Loads("external document type", "<!DOCTYPE ticket SYSTEM \"http://example.com/x.dtd\">" + one, {"a 2 1"});
    table.Loads("external entity",
                "<!DOCTYPE ticket [<!ENTITY x SYSTEM \"file:///etc/hostname\">]>" + Root("<a type=\"string\">&x;</a>"),
                {"a 4 &x;"});
    table.Loads("entities that multiply",
                "<!DOCTYPE t [<!ENTITY a \"xx\"><!ENTITY b \"&a;&a;\">]>" + Root("<a type=\"string\">&b;</a>"),
                {"a 4 &b;"});
    table.Holds("known entities", "<a type=\"string\">&lt;&gt;&amp;&quot;&apos;</a>", {"a 4 <>&\"'"});
    table.Holds("unknown and unfinished entities", "<a type=\"string\">&foo; & &lt &; &amp</a>",
                {"a 4 &foo; & &lt &; &amp"});
    table.Holds("entity of an entity", "<a type=\"string\">&amp;lt;</a>", {"a 4 &lt;"}, {"a 4 <"});
    table.Holds("character references", "<a type=\"string\">&#65;&#x42;&#xe4;</a>", {"a 4 AB\xC3\xA4"});
    table.Holds("reference to NUL", "<a type=\"string\">x&#0;y</a>", {"a 4 x"});
    table.Holds("references to control characters", "<a type=\"string\">x&#10;&#9;y&#1;</a>", {"a 4 x y"});
    table.Holds("unfinished references", "<a type=\"string\">&#;&#x;&#65 &#xZ;</a>", {"a 4 &#;&#x;&#65 &#xZ;"});
    table.Holds("attribute twice", "<a type=\"int\" type=\"string\">1</a>", {"a 2 1"});
    table.Holds("type not first", "<a unit=\"mm\" type=\"int\">1</a>", {});
    table.Holds("further attributes", "<a type=\"int\" unit=\"mm\">1</a>", {"a 2 1"});
    table.Holds("10,000 attributes behind the type", "<a type=\"int\"" + Repeated(" x=\"1\"", 9999) + ">1</a>",
                {"a 2 1"});
    table.Holds("10,000 attributes before the type", "<a" + Repeated(" x=\"1\"", 9999) + " type=\"int\">1</a>", {});
    table.Fails("attribute without quotes", Root("<a type=int>1</a>"));
    table.Fails("attribute without a value", Root("<a type>1</a>"));
    table.Holds("attribute in single quotes", "<a type='int'>1</a>", {"a 2 1"});
    table.Holds("blanks in a tag", "<a  type = \"int\" >1</a >", {"a 2 1"});
    table.Holds("type in capitals", "<a type=\"INT\">1</a>", {});
    table.Holds("type with a blank", "<a type=\"int \">1</a>", {});
    table.Holds("type that is none", "<a type=\"pointer\">1</a>", {});
    table.Holds("type by a reference", "<a type=\"&#105;nt\">1</a>", {"a 2 1"});
    table.Holds("no type", "<a>1</a>", {});
    table.Holds("name with a prefix", "<x:a type=\"int\" xmlns:x=\"urn:x\">1</x:a>", {"x:a 2 1"});
}

inline void AddContents(TABLE& table) {
    table.Holds("mixed content", "<a type=\"string\">x<b type=\"int\">1</b>y</a>", {"a 4 x", "a/b 2 1"});
    table.Holds("element before the text", "<a type=\"string\"><b type=\"int\">1</b>y</a>", {"a 4 ", "a/b 2 1"});
    table.Holds("comment before the text", "<a type=\"string\"><!--c-->x</a>", {"a 4 c"});
    table.Holds("comment in the text", "<a type=\"string\">x<!--c-->y</a>", {"a 4 x"});
    table.Holds("instruction as the value", "<a type=\"string\"><?p q?></a>", {"a 4 q"});
    table.Holds("section as the value", "<a type=\"string\"><![CDATA[<b> &amp; ]]></a>", {"a 4 <b> &amp;"},
                {"a 4 <b> &"});
    table.Holds("section behind the text", "<a type=\"string\">x<![CDATA[y]]></a>", {"a 4 x"});
    table.Holds("blank text", "<a type=\"string\"> \n\t </a>", {"a 4 "});
    table.Holds("no text", "<a type=\"string\"></a><b type=\"int\"/>", {});
    table.Holds("blank number", "<a type=\"int\"> </a>", {"a 2 0"});
    table.Holds("white space in a text", "<a type=\"string\"> x \n\t y  z </a>", {"a 4 x y z"});
    table.Holds("escaped white space", "<a type=\"string\">\\x20\\t\\n\\x20</a>", {"a 4  \t\n "}, {"a 4 \t\n"});
    table.Holds("text outside of values", "x<a>y<b type=\"int\">1</b>z</a>", {"a/b 2 1"});
}

inline void AddNumbers(TABLE& table) {
    table.Value("int", "no number", "abc", "2 0");
    table.Value("int", "empty text", "\\", "2 0");
    table.Value("int", "blanks and a plus", " +5 ", "2 5");
    table.Value("int", "zeros in front", "007", "2 7");
    table.Value("int", "two signs", "+-5", "2 0");
    table.Value("int", "a sign alone", "-", "2 0");
    table.Value("int", "hexadecimal", "0x10", "2 0");
    table.Value("int", "a fraction", "4.9", "2 4");
    table.Value("int", "an exponent", "1e3", "2 1");
    table.Value("int", "grouped digits", "1,000", "2 1");
    table.Value("int", "a unit", "12 pages", "2 12");
    table.Value("int", "digits of another script", "\xD9\xA1\xD9\xA2", "2 0");
    table.Value("int", "too large", "2147483648", "2 2147483647");
    table.Value("int", "too small", "-99999999999999999999", "2 -2147483648");
    table.Value("int", "a million digits", std::string(1000000, '9'), "2 2147483647");
    table.Value("int64", "small", "5", "2 5");
    table.Value("int64", "between 32 and 53 bits", "5000000000", "2 -2147483648");
    table.Value("int64", "too large", "9223372036854775808", "7 9223372036854775807");
    table.Value("int64", "too small", "-9223372036854775809", "7 -9223372036854775808");
    table.Value("uint64", "negative", "-1", "9 18446744073709551615");
    table.Value("uint64", "too large", "18446744073709551616", "9 18446744073709551615");
    table.Value("double", "a comma", "1,5", "2 1");
    table.Value("double", "a point alone", ".", "2 0");
    table.Value("double", "an unfinished exponent", "1e", "2 0");
    table.Value("double", "hexadecimal", "0x1p4", "2 0");
    table.Value("double", "infinity", "inf", "2 0");
    table.Value("double", "not a number in another spelling", "nan", "2 0");
    table.Value("double", "not a number", "1.#QNAN", "3 nan");
    table.Value("double", "not a number in small letters", "1.#qnan", "2 1");
    table.Value("double", "too large", "1e999", "2 -2147483648");
    table.Value("double", "too small", "1e-999", "2 0");
}

inline void AddEscapes(TABLE& table) {
    using namespace std::string_literals;
    table.Value("string", "backslash alone", "\\", "4 ");
    table.Value("string", "backslash at the end", "a\\", "4 a");
    table.Value("string", "escape cut behind x", "a\\x", "4 a");
    table.Value("string", "escape cut behind one digit", "a\\x4", "4 a");
    table.Value("string", "escape that is none", "C:\\Quit", "4 C:\\Quit");
    table.Value("string", "escape with a wrong digit", "\\x4G\\xG4", "4 \\x4G\\xG4");
    table.Value("string", "escape in small letters", "\\x1b", "4 \\x1b");
    table.Value("string", "escaped NUL", "a\\x00b", "4 a");
    table.Value("binstr", "escaped NUL", "a\\x00b", "5 a\0b"s);
    table.Value("binstr", "backslash alone", "\\", "5 ");
    table.Value("binstr", "escape cut behind one digit", "\\x00\\x4", "5 \0"s);
}

inline void AddKeys(TABLE& table) {
    table.Loads("names that are none in XML",
                "<ticket>\n\t<HP 4000>\n\t\t<1 type=\"int\">1</1>\n\t</HP 4000>\n</ticket>\n", {"HP 4000/1 2 1"});
    table.Loads("names that look like the two ends of an instruction",
                "<ticket>\n\t<?a type=\"int\">1</?a>\n\t<b type=\"int\">2</b>\n\t<z? type=\"int\">3</z?>\n</ticket>\n",
                {"?a 2 1", "b 2 2", "z? 2 3"});
    table.Loads(
        "names that look like the two ends of a comment",
        "<ticket>\n\t<!--a type=\"int\">1</!--a>\n\t<b type=\"int\">2</b>\n\t<z-- type=\"int\">3</z-->\n</ticket>\n",
        {"!--a 2 1", "b 2 2", "z-- 2 3"});
    table.LoadsInPart(
        "such names beside one that cannot be read",
        "<ticket>\n\t<?a type=\"int\">1</?a>\n\t<c<d>\n\t<z? type=\"int\">3</z?>\n\t<b type=\"int\">2</b>\n</ticket>\n",
        {"b 2 2"});
    table.Fails("names that are none in XML, on one line", Root("<HP 4000><a type=\"int\">1</a></HP 4000>"));
    table.Fails("name with a bracket", "<ticket>\n\t<a<b type=\"int\">1</a<b>\n</ticket>\n");
    table.Fails("name with a quote", "<ticket>\n\t<a\"b type=\"int\">1</a\"b>\n</ticket>\n");
    table.Fails("name with a line end", "<ticket>\n\t<a\nb type=\"int\">1</a\nb>\n</ticket>\n");
    table.Loads("name with a closing bracket", "<ticket>\n\t<a>b type=\"int\">1</a>b>\n</ticket>\n", {});
    table.Fails("name with a slash", Root("<a/b type=\"int\">1</a/b>"));
    table.Holds("name of a megabyte",
                "<" + std::string(1 << 20, 'n') + " type=\"int\">1</" + std::string(1 << 20, 'n') + ">",
                {std::string(1 << 20, 'n') + " 2 1"});
    table.Holds("root again inside", "<x><ticket><y type=\"int\">1</y></ticket></x>", {"x/y 2 1"});
    table.Holds("leaf before its branch", "<a type=\"int\">1</a><a><b type=\"int\">2</b></a>", {"a 2 1", "a/b 2 2"});
    table.Holds("branch before its leaf", "<a><b type=\"int\">2</b></a><a type=\"int\">1</a>", {"a 2 1", "a/b 2 2"});
    table.Holds("mixed types under one key",
                "<a type=\"int\">1</a><a type=\"string\">x</a><a type=\"binstr\">\\x41</a>",
                {"a[0] 2 1", "a[1] 4 x", "a[2] 5 A"});
    table.Holds("one key in two places", "<a><b type=\"int\">1</b></a><c/><a><b type=\"int\">2</b></a>",
                {"a/b[0] 2 1", "a/b[1] 2 2"});
    table.Holds("a value and elements, twice",
                "<a type=\"int\">1<b type=\"int\">2</b></a><a type=\"int\">3<b type=\"int\">4</b></a>",
                {"a[0] 2 1", "a[1] 2 3", "a/b[0] 2 2", "a/b[1] 2 4"});
    table.Holds("nesting of 3,000 elements", Repeated("<a>", 3000) + "<b type=\"int\">1</b>" + Repeated("</a>", 3000),
                {Repeated("a/", 3000) + "b 2 1"});
    table.Fails("nesting whose keys would fill the memory",
                Root(Repeated("<a type=\"int\">1", 100000) + Repeated("</a>", 100000)));
    table.Fails("nesting of 1,000,000 elements, not closed", Repeated("<a>", 1000000));
}

inline std::vector<CASE> Cases() {
    TABLE table;
    AddWholeFiles(table);
    AddRoots(table);
    AddUnclosed(table);
    AddMarkup(table);
    AddContents(table);
    AddNumbers(table);
    AddEscapes(table);
    AddKeys(table);
    return table.cases;
}

}  // namespace bad_files
