// The strict reader reads every file that a save writes. Wherever it stops in another text, the result is that of the
// XML library alone.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <random>
#include <string>
#include <vector>

#include "Format/StrictReader.h"
#include "support/FileText.h"
#include "support/Files.h"
#include "support/Repeated.h"
#include "support/ScratchDirectory.h"
#include "support/Tickets.h"

namespace {

using namespace std::string_literals;
using testing::ElementsAre;
using testing::IsEmpty;
using END = STRICT_READER::END;
using TEXTS = std::vector<std::string>;

// The result of the strict reader alone.
struct STRICT_RESULT {
    END end;
    std::size_t leaves;
};

STRICT_RESULT ReadStrictly(std::string const& text) {
    TEXT_SOURCE source(text);
    auto const ignore = [](void*, std::string_view, PARAM_TYPE, void const*, int) { return 1; };
    LEAF_RECEIVER const receiver{ignore, nullptr};
    STRICT_READER reader(source, receiver);
    END const end = reader.Read();
    return {end, reader.Leaves()};
}

void ExpectSameAsByXml(std::string const& text) {
    FileText const byXml = FileText::ReadByXml(text);
    FileText const read = FileText::Read(text);
    EXPECT_EQ(read.result.reading, byXml.result.reading) << text;
    EXPECT_EQ(read.values, byXml.values) << text;
}

// These lines between two ordinary leaves, in a file as a save writes it.
std::string Around(std::string const& lines) {
    return FileText::Framed("\t<_ type=\"int\">0</_>\n" + lines + "\t<z type=\"int\">9</z>\n");
}

// Expects the strict reader to stop at the first of these lines.
void ExpectStop(std::string const& lines) {
    STRICT_RESULT const result = ReadStrictly(Around(lines));
    EXPECT_EQ(result.end, END::STOPPED) << lines;
    EXPECT_EQ(result.leaves, 1U) << lines;
    ExpectSameAsByXml(Around(lines));
}

// Expects the strict reader to read all of these lines.
void ExpectRead(std::string const& lines) {
    EXPECT_EQ(ReadStrictly(Around(lines)).end, END::WHOLE) << lines;
    ExpectSameAsByXml(Around(lines));
}

std::string Leaf(std::string const& name, std::string const& text, std::string const& type = "string") {
    return "\t<" + name + " type=\"" + type + "\">" + text + "</" + name + ">\n";
}

std::vector<std::string> FilesIn(std::string const& directory) {
    std::vector<std::string> texts;
    for (auto const& entry : std::filesystem::recursive_directory_iterator(directory))
        if (entry.is_regular_file()) texts.push_back(FileContent(entry.path()));
    std::sort(texts.begin(), texts.end());
    return texts;
}

}  // namespace

TEST(StrictReader, ReadsWhatASaveWrites) {
    for (char const* name : {"configuration_settings.xml", "every_kind.xml"}) {
        std::string const text = FileContent(TEST_DATA "/golden/"s + name);
        ExpectSameAsByXml(text);
    }
    EXPECT_EQ(ReadStrictly(FileContent(TEST_DATA "/golden/configuration_settings.xml")).end, END::WHOLE);
    ExpectRead("\t<a>\n\t\t<b type=\"int\">1</b>\n\t\t<c>\n\t\t\t<d type=\"int\">2</d>\n\t\t</c>\n\t</a>\n");
}

TEST(StrictReader, ReadsEveryType) {
    for (std::string const& leaf :
         TEXTS{Leaf("a", "-42", "int"), Leaf("a", "1.#QNAN", "double"), Leaf("a", "500.e-003", "double"),
               Leaf("a", "\\", "string"), Leaf("a", "\\x00\\xFF", "binstr"), Leaf("a", "9007199254740994", "int64"),
               Leaf("a", "18446744073709551615", "uint64"), Leaf("a", "12 pages", "int"), Leaf("a", "text", "int")})
        ExpectRead(leaf);
}

TEST(StrictReader, ReadsVectorsAndKeysInAnyOrder) {
    ExpectRead(Leaf("v", "1", "int") + Leaf("v", "two") + Leaf("v", "3", "int"));
    ExpectRead(Leaf("b", "1", "int") + Leaf("a", "2", "int") + Leaf("b", "3", "int"));
    ExpectRead("\t<a>\n\t\t<v type=\"int\">1</v>\n\t</a>\n\t<a>\n\t\t<v type=\"int\">2</v>\n\t</a>\n");
}

TEST(StrictReader, LeavesOutInnerElementsNamedTicketAndKeepsSuchLeaves) {
    ExpectRead("\t<ticket>\n\t\t<a type=\"int\">1</a>\n\t</ticket>\n" + Leaf("ticket", "x"));
}

TEST(StrictReader, StopsAtNamesThatAreNotExactlyThoseOfXml) {
    for (std::string const& name : TEXTS{"a ",   "a\t", "a\r", "a\n", "1",     "-a",   ".a", "a%",  "a*",  "?", "a?",
                                         "a[0]", "!a",  "#",   "a b", "a\x7F", "\x01", "\\", "a=b", "a&b", "'", ""}) {
        ExpectStop(Leaf(name, "x"));
        ExpectStop("\t<" + name + ">\n\t</" + name + ">\n");
    }
    for (std::string const& name : TEXTS{"\x80", "\xFF\xC3\xA4", "_", ":", "a-1.2:b_"}) ExpectRead(Leaf(name, "x"));
}

TEST(StrictReader, LeavesEntitiesToTheXmlLibrary) {
    for (std::string const& text :
         TEXTS{"&amp;", "&lt;", "&gt;", "&quot;", "&apos;", "&#65;", "&#x42;", "&#0;", "a&#;", "&#", "&#32;&#32;",
               "a &#92;n", "&#xD800;", "&#99999999999;", "\\x41&amp;", " &lt;"})
        ExpectStop(Leaf("a", text));
    for (std::string const& text :
         TEXTS{"&", "a & b", "&&", "&am", "&foo;", "&Amp;", "&amp", "&ampx;", "x &y", "\\t&", "\\\\ & &l"})
        ExpectRead(Leaf("a", text));
}

TEST(StrictReader, NormalisesAndDecodesAsTheXmlReader) {
    for (std::string const& text :
         TEXTS{" ",        "  ",           " a",   "a ",   "a  b", "a\tb", "\ta", "a\r",    "\r",
               "a \\x20b", "\\n",          "\\",   "\\\\", "\\q",  "\\x4", "\\x", "\\x4 1", "a\\ ",
               "\\ b",     "\x7F\x80\xFF", "\x01", "\"'>", "]]>",  "-->",  "?>"})
        for (std::string const& type : TEXTS{"string", "binstr", "int", "double"}) ExpectRead(Leaf("a", text, type));
}

TEST(StrictReader, StopsAtWhatATextOfOursNeverHolds) {
    for (std::string const& text :
         TEXTS{"", "a\nb", "\n", "<b/>", "<!-- c -->", "<![CDATA[x]]>", "<", "\0"s, "a\0"s, "\\\0"s})
        ExpectStop(Leaf("a", text));
}

TEST(StrictReader, StopsAtLinesOfAnotherForm) {
    for (std::string const& line : TEXTS{"\t<a/>\n",
                                         "\t<ticket/>\n",
                                         "\t<a type=\"int\"/>\n",
                                         "\t<a type=\"int\">\n\t\t1\n\t\t<b type=\"int\">2</b>\n\t</a>\n",
                                         "\t<a type='int'>1</a>\n",
                                         "\t<a type=\"INT\">1</a>\n",
                                         "\t<a type=\"int \">1</a>\n",
                                         "\t<a type=\"\">1</a>\n",
                                         "\t<a type=\"unsigned\">1</a>\n",
                                         "\t<a  type=\"int\">1</a>\n",
                                         "\t<a type =\"int\">1</a>\n",
                                         "\t<a type=\"int\" >1</a>\n",
                                         "\t<a type=\"int\" b=\"\">1</a>\n",
                                         "\t<a other=\"1\" type=\"int\">1</a>\n",
                                         "\t<a Type=\"int\">1</a>\n",
                                         "\t<a type=\"int\">1</a >\n",
                                         "\t<a type=\"int\">1</a> \n",
                                         "\t<a type=\"int\">1</a>\r\n",
                                         "\t<a type=\"int\">1</b>\n",
                                         "\t<a type=\"int\">1</ab>\n",
                                         "\t<ab type=\"int\">1</a>\n",
                                         "<a type=\"int\">1</a>\n",
                                         "\t\t<a type=\"int\">1</a>\n",
                                         "  <a type=\"int\">1</a>\n",
                                         "\t <a type=\"int\">1</a>\n",
                                         "\n",
                                         "\t\n",
                                         "text\n",
                                         "\ttext\n",
                                         "<!-- c -->\n",
                                         "\t<?pi?>\n",
                                         "\t</a>\n",
                                         "</a>\n",
                                         "\t<a\n",
                                         "\t<\n",
                                         "\t</\n",
                                         "\t<a>\r\n\t</a>\n",
                                         "\t<a >\n\t</a>\n",
                                         "\t<a></a>\n",
                                         "\t<a>\n\t</b>\n",
                                         "\t<a>\n</a>\n",
                                         "\t<a type=\"int\">1</a><b type=\"int\">2</b>\n",
                                         "\0"s,
                                         "\t\0<a type=\"int\">1</a>\n"s,
                                         "\t<a\0 type=\"int\">1</a\0>\n"s})
        ExpectStop(line);
}

TEST(StrictReader, StopsAtAnotherHead) {
    std::string const rest = "\t<a type=\"int\">1</a>\n</ticket>\n";
    std::string const head = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n";
    for (std::string const& text :
         TEXTS{"\xEF\xBB\xBF" + head + "<ticket>\n" + rest, "<ticket>\n" + rest, head + rest,
               "<?xml version=\"1.0\" encoding=\"utf-8\"?>\n<ticket>\n" + rest, "\n" + head + "<ticket>\n" + rest,
               head + "\n<ticket>\n" + rest, head + "<ticket >\n" + rest, head + "<Ticket>\n" + rest,
               head + "<ticket/>\n", head + "<ticket type=\"int\">\n" + rest, head + head + "<ticket>\n" + rest, head,
               "x"s, "\n"s, ""s}) {
        STRICT_RESULT const result = ReadStrictly(text);
        EXPECT_EQ(result.end, END::STOPPED) << text;
        EXPECT_EQ(result.leaves, 0U) << text;
        ExpectSameAsByXml(text);
    }
}

TEST(StrictReader, StopsAtAnotherEnd) {
    std::string const whole = FileText::Framed("\t<a type=\"int\">1</a>\n");
    EXPECT_EQ(ReadStrictly(whole).end, END::WHOLE);
    for (std::string const& behind : TEXTS{"\n"s, " "s, "\0"s, "\0<x>"s, "x"s, "x\n"s, "<b/>"s, "<!-- c -->\n"s, whole,
                                           "</ticket>\n"s, "<ticket>\n</ticket>\n"s, "\t<a type=\"int\">1</a>\n"s}) {
        EXPECT_EQ(ReadStrictly(whole + behind).end, END::STOPPED) << behind;
        ExpectSameAsByXml(whole + behind);
    }
    for (std::size_t length = 0; length < whole.size(); ++length) {
        EXPECT_EQ(ReadStrictly(whole.substr(0, length)).end, END::STOPPED) << length;
        ExpectSameAsByXml(whole.substr(0, length));
    }
}

TEST(StrictReader, ReadsLinesThatLieAcrossTheEndsOfItsBuffer) {
    std::string const text =
        Around("\t<abc>\n\t\t<a-name type=\"string\">a text \\x41 with &amp; more</a-name>\n\t</abc>\n" +
               Leaf("b", std::string(100, 'x')) + Leaf("c", "\\xC3\\xA4") + Leaf("d", "-1", "int"));
    FileText const whole = FileText::ReadByXml(text);
    for (std::size_t told = 0; told <= text.size(); ++told) {
        TOLD_SOURCE source(text, told);
        EXPECT_EQ(FileText::Read(source).values, whole.values) << told;
    }
}

TEST(StrictReader, ReadsALineLongerThanItsBuffer) {
    for (std::size_t const length : {65000U, 65536U, 200000U}) {
        ExpectRead(Leaf("a", std::string(length, 'x')) + Leaf(std::string(length, 'n'), "1", "int"));
        ExpectStop(Leaf("a", std::string(length, 'x') + "&amp;"));
    }
}

TEST(StrictReader, ReadsFilesOfManyBuffersWhereverTheyStopBeingOurs) {
    std::string lines;
    for (int i = 0; i < 6000; ++i) lines += Leaf("key" + std::to_string(i), "text " + std::to_string(i));
    ExpectRead(lines);
    for (std::size_t at = 0; at < lines.size(); at = lines.find('\n', at + 30011) + 1) {
        if (at == 0 && !lines.empty() && lines.front() != '\t') break;
        std::string odd = lines;
        odd.insert(at, "<!-- note -->\n");
        EXPECT_EQ(ReadStrictly(Around(odd)).end, END::STOPPED);
        ExpectSameAsByXml(Around(odd));
        odd = lines;
        odd.insert(at, Leaf("HP 4000", "x"));
        ExpectSameAsByXml(Around(odd));
        odd.insert(at, "</a>");
        ExpectSameAsByXml(Around(odd));
        if (lines.find('\n', at + 30011) == std::string::npos) break;
    }
}

TEST(StrictReader, ConvertsEachTextOnceInTheOrderOfTheFile) {
    for (std::string const& odd : TEXTS{""s, Leaf("&", "odd"), "<!-- note -->"s, Leaf("x", "&amp;")}) {
        FileText const read = FileText::Read(Around(Leaf("a", "1") + Leaf("b", "2") + odd + Leaf("c", "3")));
        EXPECT_TRUE(read.Parsed());
        EXPECT_EQ(std::count(read.values.begin(), read.values.end(), "a 4 1"), 1);
        EXPECT_EQ(std::count(read.values.begin(), read.values.end(), "c 4 3"), 1);
        EXPECT_EQ(read.values.front(), "_ 2 0");
        EXPECT_EQ(read.values.back(), "z 2 9");
    }
}

TEST(StrictReader, PassesOverKeysThatAreNotWantedInBothReaders) {
    struct WANTED {
        std::vector<std::string> keys;
        static int Set(void* context, std::string_view key, PARAM_TYPE, void const*, int) {
            static_cast<WANTED*>(context)->keys.emplace_back(key);
            return 1;
        }
        static bool Wants(void*, std::string_view key) { return key == "a" || key == "c"; }
    };
    for (std::string const& odd : TEXTS{""s, "<!-- note -->"s, Leaf("1", "odd name")}) {
        WANTED wanted;
        std::string const text =
            Around(Leaf("a", "1") + Leaf("b", "2") + odd + Leaf("c", "3") + Leaf("c", "4") + Leaf("d", "5"));
        TEXT_SOURCE source(text);
        EXPECT_TRUE(ReadTicket(source, {&WANTED::Set, &wanted, &WANTED::Wants}).IsRead());
        EXPECT_THAT(wanted.keys, ElementsAre("a", "c", "c"));
    }
}

TEST(StrictReader, ChargesKeysOnceAcrossBothReaders) {
    std::string const name(65000, 'n');
    auto const file = [&](std::string const& elements, std::string const& end) {
        return FileText::Framed("\t<" + name + ">\n" + elements + "\t</" + name + ">\n" + end);
    };
    auto const read = [](std::string const& text) {
        std::size_t count = 0;
        auto const set = [](void* counter, std::string_view, PARAM_TYPE, void const*, int) {
            return static_cast<int>(++*static_cast<std::size_t*>(counter));
        };
        TEXT_SOURCE source(text);
        READ_RESULT const result = ReadTicket(source, {set, &count});
        EXPECT_TRUE(result.IsRead() || result.reading == READING::OUT_OF_PROPORTION);
        return result.IsRead() ? count : 0;
    };
    constexpr std::size_t LARGEST = (std::size_t{256} << 20) / 65002;
    auto const distinct = [](std::size_t count) {
        std::string elements;
        for (std::size_t i = 0; i < count; ++i)
            elements += std::string("\t\t<") + (i % 2 ? "a" : "b") + " type=\"int\">1</" + (i % 2 ? "a" : "b") + ">\n";
        return elements;
    };
    for (std::string const& end : TEXTS{""s, "<!-- note -->"s}) {
        EXPECT_EQ(read(file(Repeated("\t\t<a type=\"int\">1</a>\n", 5000), end)), 5000U);
        EXPECT_EQ(read(file(distinct(LARGEST), end)), LARGEST);
        EXPECT_EQ(read(file(distinct(LARGEST + 1), end)), 0U);
    }
}

TEST(StrictReader, TellsWhenItsSourceFails) {
    struct FAILING final : FILE_SOURCE {
        std::string text = FileText::Framed("\t<a type=\"int\">1</a>\n\t<b type=\"int\">2</b>\n");
        int granted = 0;
        std::size_t Size() const override { return 20; }
        std::optional<std::size_t> Read(std::size_t begin, char* bytes, std::size_t size) override {
            if (granted-- == 0) return std::nullopt;
            return TEXT_SOURCE(text).Read(begin, bytes, size);
        }
    };
    for (bool const isOurs : {true, false}) {
        int granted = 0;
        for (;; ++granted) {
            FAILING source;
            source.granted = granted;
            if (!isOurs) source.text += "<!-- note -->";
            FileText const read = FileText::Read(source);
            if (read.Parsed()) {
                EXPECT_THAT(read.values, ElementsAre("a 2 1", "b 2 2"));
                break;
            }
            EXPECT_EQ(read.result.reading, READING::UNREADABLE);
            EXPECT_THAT(read.values, IsEmpty());
        }
        EXPECT_GT(granted, 2);
    }
}

TEST(StrictReader, StartsOverWhenTheFileChangesMeanwhile) {
    struct CHANGING final : FILE_SOURCE {
        std::string text = FileText::Framed("\t<a type=\"int\">1</a>\n\t<b type=\"int\">2</b>\n");
        std::string next;
        std::size_t readsBefore = 0;
        bool hasChanged = false;
        std::size_t Size() const override { return 20; }
        std::optional<std::size_t> Read(std::size_t begin, char* bytes, std::size_t size) override {
            if (readsBefore-- == 0) {
                text = next;
                hasChanged = true;
            }
            return TEXT_SOURCE(text).Read(begin, bytes, size);
        }
        bool HasChanged() override { return std::exchange(hasChanged, false); }
    };
    for (std::string const& odd : TEXTS{""s, "<!-- note -->\n"s})
        for (std::size_t reads = 0; reads < 8; ++reads) {
            CHANGING source;
            source.readsBefore = reads;
            source.next = FileText::Framed(Leaf("c", "a text that is longer than the other", "string") + odd +
                                           "\t<d type=\"int\">4</d>\n\t<e type=\"int\">5</e>\n");
            source.text.insert(source.text.size() - 10, odd);
            FileText const read = FileText::Read(source);
            EXPECT_EQ(read.result.reading, READING::DONE);
            if (source.readsBefore < 8) continue;  // the reader did not get as far as the change
            EXPECT_THAT(read.values, ElementsAre("c 4 a text that is longer than the other", "d 2 4", "e 2 5"));
        }
}

// The values may come from two versions of the file.
TEST(StrictReader, LoadsNothingOfAFileThatNeverStopsChanging) {
    struct RESTLESS final : FILE_SOURCE {
        std::string const text = FileText::Framed("\t<a type=\"int\">1</a>\n");
        int asked = 0;
        std::size_t Size() const override { return text.size(); }
        std::optional<std::size_t> Read(std::size_t begin, char* bytes, std::size_t size) override {
            return TEXT_SOURCE(text).Read(begin, bytes, size);
        }
        bool HasChanged() override { return ++asked > 0; }
    } source;
    EXPECT_THROW(FileText::Read(source), std::bad_alloc);
    EXPECT_EQ(source.asked, 4);
}

TEST(StrictReader, ReadsAFileThatStopsChangingAtTheLastAttempt) {
    struct CALMING final : FILE_SOURCE {
        std::string const text = FileText::Framed("\t<a type=\"int\">1</a>\n");
        int asked = 0;
        std::size_t Size() const override { return text.size(); }
        std::optional<std::size_t> Read(std::size_t begin, char* bytes, std::size_t size) override {
            return TEXT_SOURCE(text).Read(begin, bytes, size);
        }
        bool HasChanged() override { return ++asked < 4; }
    } source;
    EXPECT_THAT(FileText::Read(source).values, ElementsAre("a 2 1"));
}

// The same comparison for all available files

TEST(BothReaders, ReadFilesOfAllKindsAsTheXmlLibraryAlone) {
    std::size_t strict = 0;
    std::size_t compared = 0;
    for (std::string const& directory : TEXTS{"/golden", "/fuzz/corpus/load", "/fuzz/regressions/load", "/../examples"})
        for (std::string const& text : FilesIn(TEST_DATA + directory)) {
            ExpectSameAsByXml(text);
            ++compared;
            if (ReadStrictly(text).leaves > 0) ++strict;
        }
    EXPECT_GT(compared, 100U);
    EXPECT_GT(strict, 5U);
}

namespace {

// A file as a save writes it, and a few changes to it.
class GENERATOR {
 public:
    explicit GENERATOR(unsigned int seed) : m_random(seed) {}

    std::string File() {
        std::string lines;
        Fill(lines, 1);
        return FileText::Framed(lines);
    }

    std::string Mutated(std::string text) {
        for (std::size_t left = Below(4); left > 0; --left) {
            std::size_t const at = Below(text.size() + 1);
            switch (Below(5)) {
                case 0:
                    text.insert(at, Pick({"<", ">", "/", "\"", "&", "&amp;", "\\", "\n", "\t", " ", "\r", "?", "!",
                                          "\0"s, "<!-- -->", "<a/>", "\xFF", "x", "1"}));
                    break;
                case 1:
                    text.erase(at, 1 + Below(5));
                    break;
                case 2: {  // repeats a line somewhere
                    std::size_t const begin = text.rfind('\n', at) + 1;
                    std::string const line = text.substr(begin, text.find('\n', begin) + 1 - begin);
                    text.insert(text.rfind('\n', Below(text.size() + 1)) + 1, line);
                    break;
                }
                case 3: {  // removes a line
                    std::size_t const begin = text.rfind('\n', at) + 1;
                    text.erase(begin, text.find('\n', begin) + 1 - begin);
                    break;
                }
                default:
                    if (at < text.size()) text[at] = Pick({"<", ">", "\t", "\n", "a", " ", "&", "\\"})[0];
            }
        }
        return text;
    }

 private:
    std::size_t Below(std::size_t end) { return m_random() % end; }
    std::string Pick(std::vector<std::string> const& from) { return from[Below(from.size())]; }

    void Fill(std::string& lines, std::size_t depth) {
        std::string const tabs(depth, '\t');
        for (std::size_t left = 1 + Below(5); left > 0; --left) {
            std::string const name = Pick({"a", "b", "Server", "x-1", "ticket", "_", "\xC3\xA4", "a:b", "Key001"});
            if (depth < 5 && Below(4) == 0) {
                lines += tabs + "<" + name + ">\n";
                Fill(lines, depth + 1);
                lines += tabs + "</" + name + ">\n";
                continue;
            }
            std::string const text =
                Pick({"1", "-7", "500.e-003", "some text", "\\", "a & b", "\\xC3\\xA4", " \\x20 ", "x "});
            lines += tabs + Leaf(name, text, Pick({"int", "string", "binstr", "double", "int64", "uint64"})).substr(1);
        }
    }

    std::mt19937 m_random;
};

}  // namespace

TEST(BothReaders, ReadGeneratedFilesAsTheXmlLibraryAlone) {
    unsigned long strict = 0;
    unsigned long stopped = 0;
    char const* const asked = std::getenv("ROUNDS");
    unsigned long const rounds = asked ? std::strtoul(asked, nullptr, 10) : 3000;
    for (unsigned int seed = 0; seed < rounds && !HasFailure(); ++seed) {
        GENERATOR generator(seed);
        std::string const file = generator.File();
        EXPECT_EQ(ReadStrictly(file).end, END::WHOLE) << file;
        ExpectSameAsByXml(file);
        std::string const mutated = generator.Mutated(file);
        ++(ReadStrictly(mutated).end == END::WHOLE ? strict : stopped);
        ExpectSameAsByXml(mutated);
    }
    EXPECT_GT(strict, rounds / 10);
    EXPECT_GT(stopped, rounds / 3);
}
