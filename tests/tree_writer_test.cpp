// The tree writer: the element of each value, and the exact text of the file.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdarg>
#include <cstdio>
#include <limits>
#include <list>
#include <random>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "Format/TreeWriter.h"
#include "Format/Wildcard.h"
#include "support/FileText.h"
#include "support/HostileLocale.h"
#include "support/Repeated.h"
#include "support/SmallStack.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

std::vector<std::string> s_logged;

__attribute__((format(printf, 2, 3))) void Log(unsigned int level, char const* format, ...) {
    char text[256];
    std::va_list arguments;
    va_start(arguments, format);
    std::vsnprintf(text, sizeof text, format, arguments);
    va_end(arguments);
    s_logged.push_back(std::to_string(level) + ' ' + text);
}

class TreeWriter : public testing::Test {
 protected:
    void SetUp() override { s_logged.clear(); }

    template <typename VALUE>
    void Add(std::string_view key, PARAM_TYPE type, VALUE const& value) {
        EXPECT_TRUE(m_document.CreateSubElem(key, type, &value)) << key;
    }
    void Add(std::string_view key, char const* text) { EXPECT_TRUE(m_document.CreateSubElem(key, PARAM_STRING, text)); }
    void Add(std::string_view key, int32_t value) { Add(key, PARAM_INT, value); }
    void Add(std::string_view key, double value) { Add(key, PARAM_DOUBLE, value); }

    void ExpectElements(std::string const& elements) const {
        EXPECT_EQ(m_document.Serialise().View(), FileText::Framed(elements));
    }

    TREE_WRITER m_document{nullptr, &Log};
};

class Brackets : public STICKET_STRING_CONVERSION {
 public:
    std::string ToFile(std::string const& text) override { return "<" + text + ">"; }
    std::string FromFile(std::string const& text, int) override { return text; }
};

class Refusal : public Brackets {
 public:
    std::string ToFile(std::string const&) override { throw std::runtime_error("no"); }
};

// A reference that builds the same document simply: it searches each component among all children, in document order.
class PlainDocument {
 public:
    void Add(std::string_view key, int32_t value) {
        ELEMENT* parent = &m_ticket;
        for (std::size_t slash; (slash = key.find('/')) != std::string_view::npos; key.remove_prefix(slash + 1))
            parent = &FindOrAdd(*parent, std::string(key.substr(0, slash)));
        if (key.empty()) return;
        parent->children.push_back({std::string(key), std::to_string(value), {}});
    }

    std::string Serialise() const {
        std::string text = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n";
        Write(text, m_ticket, "");
        return text;
    }

 private:
    struct ELEMENT {
        std::string name;
        std::string value;
        std::list<ELEMENT> children;
    };

    static ELEMENT& FindOrAdd(ELEMENT& parent, std::string const& component) {
        for (ELEMENT& child : parent.children)
            if (!child.name.empty() && WILDCARD(component).Matches(child.name)) return child;
        return parent.children.emplace_back(ELEMENT{component, "", {}});
    }

    static void Write(std::string& text, ELEMENT const& element, std::string const& indent) {
        std::string const name = element.name.empty() ? "anonymous" : element.name;
        text += indent + "<" + name + (element.value.empty() ? "" : " type=\"int\"");
        if (element.value.empty() && element.children.empty()) {
            text += "/>\n";
            return;
        }
        if (element.children.empty()) {
            text += ">" + element.value + "</" + name + ">\n";
            return;
        }
        text += ">\n";
        if (!element.value.empty()) text += indent + "\t" + element.value + "\n";
        for (ELEMENT const& child : element.children) Write(text, child, indent + "\t");
        text += indent + "</" + name + ">\n";
    }

    ELEMENT m_ticket{"ticket", "", {}};
};

std::string RandomKey(std::mt19937& random, std::vector<std::string> const& components) {
    std::string key = components[random() % components.size()];
    for (auto more = random() % 4; more > 0; --more) key += '/' + components[random() % components.size()];
    return key;
}

void ExpectSameBytesAsPlainSearch(std::vector<std::string> const& keys) {
    TREE_WRITER document(nullptr, nullptr);
    PlainDocument plain;
    for (int32_t value = 0; value < static_cast<int32_t>(keys.size()); ++value) {
        document.CreateSubElem(keys[static_cast<std::size_t>(value)], PARAM_INT, &value);
        plain.Add(keys[static_cast<std::size_t>(value)], value);
    }
    ASSERT_EQ(document.Serialise().View(), plain.Serialise()) << testing::PrintToString(keys);
}

}  // namespace

TEST_F(TreeWriter, EachElementOfAVectorGoesWhereAValueOfItsKeyWouldGo) {
    TREE_WRITER values{nullptr, nullptr};
    for (char const* const key : {"v", "a/v", "a//v", "a/b/v", "w*/v", "x[y]/v", "x[y]/z/v", "s/"}) {
        for (int index = 0; index < 3; ++index) {
            EXPECT_TRUE(TREE_WRITER::SaveOne(&m_document, key, PARAM_INT, &index, index));
            EXPECT_TRUE(values.CreateSubElem(key, PARAM_INT, &index));
        }
    }
    EXPECT_EQ(m_document.Serialise().View(), values.Serialise().View());
}

TEST_F(TreeWriter, WithoutValuesIsAnEmptyRoot) {
    EXPECT_EQ(m_document.Serialise().View(), "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<ticket/>\n");
}

TEST_F(TreeWriter, WritesEachTypeByItsName) {
    Add("b", PARAM_BINSTR, BIN_STRING{"\0\xFF", 2});
    Add("d", 2.5);
    Add("i", -42);
    Add("l", PARAM_INT64, int64_t{-9007199254740993});
    Add("s", "<tag> & \\");
    Add("u", PARAM_UINT64, uint64_t{18446744073709551615U});
    ExpectElements(
        "\t<b type=\"binstr\">\\x00\\xFF</b>\n"
        "\t<d type=\"double\">2.5</d>\n"
        "\t<i type=\"int\">-42</i>\n"
        "\t<l type=\"int64\">-9007199254740993</l>\n"
        "\t<s type=\"string\">\\x3Ctag\\x3E & \\\\</s>\n"
        "\t<u type=\"uint64\">18446744073709551615</u>\n");
}

TEST_F(TreeWriter, WritesEmptyTextsAsALoneBackslash) {
    Add("a", "");
    Add("b", PARAM_BINSTR, BIN_STRING{nullptr, 5});
    Add("c", PARAM_BINSTR, BIN_STRING{"x", 0});
    ExpectElements(
        "\t<a type=\"string\">\\</a>\n"
        "\t<b type=\"binstr\">\\</b>\n"
        "\t<c type=\"binstr\">\\</c>\n");
}

TEST_F(TreeWriter, WritesNan) {
    Add("n", std::numeric_limits<double>::quiet_NaN());
    ExpectElements("\t<n type=\"double\">1.#QNAN</n>\n");
}

TEST_F(TreeWriter, ThrowsOnInfinity) {
    double const infinity = std::numeric_limits<double>::infinity();
    EXPECT_THROW(TREE_WRITER::SaveOne(&m_document, "k", PARAM_DOUBLE, &infinity, -1), char const*);
}

TEST_F(TreeWriter, NestsKeysAndSharesTheirLeadingComponents) {
    Add("a/b", 1);
    Add("a/c", "x");
    Add("a/d/e", 2);
    ExpectElements(
        "\t<a>\n"
        "\t\t<b type=\"int\">1</b>\n"
        "\t\t<c type=\"string\">x</c>\n"
        "\t\t<d>\n"
        "\t\t\t<e type=\"int\">2</e>\n"
        "\t\t</d>\n"
        "\t</a>\n");
}

TEST_F(TreeWriter, NeverReusesALeafForALeaf) {
    Add("v", 1);
    Add("v", "two");
    Add("v", 3);
    ExpectElements(
        "\t<v type=\"int\">1</v>\n"
        "\t<v type=\"string\">two</v>\n"
        "\t<v type=\"int\">3</v>\n");
}

TEST_F(TreeWriter, ReusesTheFirstLeafAsABranch) {
    Add("a", 1);
    Add("a", 2);
    Add("a/b", 3);
    Add("a/b/c", 4);
    ExpectElements(
        "\t<a type=\"int\">\n"
        "\t\t1\n"
        "\t\t<b type=\"int\">\n"
        "\t\t\t3\n"
        "\t\t\t<c type=\"int\">4</c>\n"
        "\t\t</b>\n"
        "\t</a>\n"
        "\t<a type=\"int\">2</a>\n");
}

TEST_F(TreeWriter, MakesNoElementForAnEmptyKey) {
    Add("", 1);
    EXPECT_EQ(m_document.Serialise().View(), "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<ticket/>\n");
    EXPECT_THAT(s_logged, ElementsAre("0 STICKET_FILE Illegal key .../ticket/ creates empty node"));
}

TEST_F(TreeWriter, LeavesAnEmptyElementForAKeyThatEndsInASlash) {
    Add("a/b/", 1);
    ExpectElements("\t<a>\n\t\t<b/>\n\t</a>\n");
    EXPECT_THAT(s_logged, ElementsAre("0 STICKET_FILE Illegal key .../b/ creates empty node"));
}

TEST_F(TreeWriter, NeverReusesANamelessElement) {
    Add("/x", 1);
    Add("/y", 2);
    Add("a//z", 3);
    ExpectElements(
        "\t<anonymous>\n\t\t<x type=\"int\">1</x>\n\t</anonymous>\n"
        "\t<anonymous>\n\t\t<y type=\"int\">2</y>\n\t</anonymous>\n"
        "\t<a>\n\t\t<anonymous>\n\t\t\t<z type=\"int\">3</z>\n\t\t</anonymous>\n\t</a>\n");
    EXPECT_THAT(s_logged, IsEmpty());
}

TEST_F(TreeWriter, LogsANamelessParentAsASlash) {
    Add("a//", 1);
    Add("/", 1);
    EXPECT_THAT(s_logged, ElementsAre("0 STICKET_FILE Illegal key ...// creates empty node",
                                      "0 STICKET_FILE Illegal key ...// creates empty node"));
    ExpectElements("\t<a>\n\t\t<anonymous/>\n\t</a>\n\t<anonymous/>\n");
}

TEST_F(TreeWriter, DoesWithoutALog) {
    TREE_WRITER document(nullptr, nullptr);
    EXPECT_TRUE(document.CreateSubElem("a/", PARAM_STRING, ""));
    EXPECT_EQ(document.Serialise().View(), FileText::Framed("\t<a/>\n"));
}

TEST_F(TreeWriter, ComponentsAreWildcardsForTheElementsThatAreThere) {
    Add("alpha/x", 1);
    Add("beta/x", 2);
    Add("*/y", 3);
    Add("?eta/y", 4);
    Add("[c-z]*/x", 5);
    Add("[c-z]*/y", 6);
    ExpectElements(
        "\t<alpha>\n\t\t<x type=\"int\">1</x>\n\t\t<y type=\"int\">3</y>\n\t</alpha>\n"
        "\t<beta>\n\t\t<x type=\"int\">2</x>\n\t\t<y type=\"int\">4</y>\n\t</beta>\n"
        "\t<[c-z]*>\n\t\t<x type=\"int\">5</x>\n\t</[c-z]*>\n"
        "\t<[c-z]*>\n\t\t<y type=\"int\">6</y>\n\t</[c-z]*>\n");
}

TEST_F(TreeWriter, ALastComponentIsNoWildcard) {
    Add("alpha", 1);
    Add("*", 2);
    ExpectElements("\t<alpha type=\"int\">1</alpha>\n\t<* type=\"int\">2</*>\n");
}

TEST_F(TreeWriter, LeavesALeafOfAnUnknownTypeBare) {
    for (PARAM_TYPE const type : {PARAM_NONE, PARAM_POINTER, PARAM_VECTOR, PARAM_UNSIGNED, PARAM_TYPE(10)}) {
        TREE_WRITER document(nullptr, nullptr);
        EXPECT_FALSE(document.CreateSubElem("a", type, &type));
        EXPECT_EQ(document.Serialise().View(), FileText::Framed("\t<a/>\n"));
    }
}

TEST_F(TreeWriter, AWalkSkipsTheTypesThatFilesDoNotKeep) {
    for (PARAM_TYPE const type : {PARAM_NONE, PARAM_POINTER, PARAM_VECTOR, PARAM_UNSIGNED, PARAM_TYPE(10)})
        EXPECT_TRUE(TREE_WRITER::SaveOne(&m_document, "a", type, &type, -1));
    EXPECT_EQ(m_document.Serialise().View(), "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<ticket/>\n");
}

TEST_F(TreeWriter, AWalkWithoutADocumentEnds) {
    EXPECT_FALSE(TREE_WRITER::SaveOne(nullptr, "a", PARAM_STRING, "x", -1));
}

TEST_F(TreeWriter, AWalkIgnoresTheIndex) {
    EXPECT_TRUE(TREE_WRITER::SaveOne(&m_document, "a", PARAM_STRING, "x", 7));
    ExpectElements("\t<a type=\"string\">x</a>\n");
}

TEST_F(TreeWriter, ConvertsEveryTextAndNothingElse) {
    Brackets brackets;
    TREE_WRITER document(&brackets, nullptr);
    document.CreateSubElem("a", PARAM_STRING, "x");
    document.CreateSubElem("b", PARAM_STRING, "");
    BIN_STRING const bytes{"y", 1};
    document.CreateSubElem("c", PARAM_BINSTR, &bytes);
    EXPECT_EQ(document.Serialise().View(), FileText::Framed("\t<a type=\"string\">\\x3Cx\\x3E</a>\n"
                                                            "\t<b type=\"string\">\\x3C\\x3E</b>\n"
                                                            "\t<c type=\"binstr\">y</c>\n"));
}

TEST_F(TreeWriter, LetsAFailingConversionThrough) {
    Refusal refusal;
    TREE_WRITER document(&refusal, nullptr);
    EXPECT_THROW(TREE_WRITER::SaveOne(&document, "a", PARAM_STRING, "x", -1), std::runtime_error);
}

TEST_F(TreeWriter, IsTheSameUnderAnyLocale) {
    HostileLocale const locale;
    Add("d", 1234.5);
    Add("i", 1234567);
    ExpectElements("\t<d type=\"double\">1234.5</d>\n\t<i type=\"int\">1234567</i>\n");
}

TEST(TreeWriterSearch, GivesTheSameBytesAsAPlainSearchInDocumentOrder) {
    std::vector<std::string> const components = {"a",  "b",  "ab",   "abc",  "a-b", "",       "*", "?",     "a*",
                                                 "*b", "?b", "[ab]", "[!a]", "[0]", "[a-b]b", "[", "ticket"};
    std::mt19937 random(1);
    for (int round = 0; round < 3000 && !testing::Test::HasFailure(); ++round) {
        std::vector<std::string> keys(1 + random() % 40);
        for (std::string& key : keys) key = RandomKey(random, components);
        ExpectSameBytesAsPlainSearch(keys);
        std::sort(keys.begin(), keys.end());
        ExpectSameBytesAsPlainSearch(keys);
    }
}

TEST(TreeWriterSearch, GivesTheSameBytesAmongManyChildren) {
    std::mt19937 random(2);
    std::vector<std::string> keys;
    for (int number = 0; number < 1500; ++number) {
        std::string const name = "k" + std::to_string(random() % 500);
        std::string const patterns[] = {name,
                                        name,
                                        "k[" + std::to_string(random() % 500) + "]",
                                        "k?" + name.substr(1),
                                        name + "*",
                                        "*" + name.substr(1),
                                        "*" + name.substr(2) + "*",
                                        "k*" + name.substr(2),
                                        "[!a-c]*" + name.substr(2)};
        keys.push_back(patterns[random() % std::size(patterns)] + "/x" + std::to_string(random() % 3));
    }
    ExpectSameBytesAsPlainSearch(keys);
    std::sort(keys.begin(), keys.end());
    ExpectSameBytesAsPlainSearch(keys);
}

// The writer searches children in other ways as their number grows, and after a long name.
TEST(TreeWriterSearch, GivesTheSameBytesAmongNamesThatShareTheirFragments) {
    std::mt19937 random(3);
    auto const oneOf = [&](std::vector<std::string> const& choice) { return choice[random() % choice.size()]; };
    auto const syllables = [&](auto count) {
        std::string word;
        for (; count > 0; --count) word += oneOf({"abcd", "bcde", "aaaa", "cdab", "x", std::to_string(random() % 300)});
        return word;
    };
    for (bool const hasLongName : {false, true}) {
        std::vector<std::string> keys;
        for (int number = 0; number < 1500; ++number) {
            std::string const pattern = oneOf({"*", "?*", "[ab]*"}) + syllables(1 + random() % 3) +
                                        oneOf({"*", "*?", "?" + syllables(1) + "*"});
            keys.push_back((random() % 3 == 0 ? syllables(2 + random() % 3) : pattern) + "/v");
        }
        if (hasLongName) keys[1000] = Repeated("abcdbcdeaaaacdabx", 20) + "/v";
        ExpectSameBytesAsPlainSearch(keys);
        std::sort(keys.begin(), keys.end());
        ExpectSameBytesAsPlainSearch(keys);
    }
}

TEST(TreeWriterDepth, PlacesAHundredThousandComponentsOnASmallStack) {
    RunOnSmallStack([] {
        TREE_WRITER document(nullptr, nullptr);
        int32_t const value = 1;
        std::string const path = Repeated("a/", 100000);
        EXPECT_TRUE(document.CreateSubElem(path + "b", PARAM_INT, &value));
        EXPECT_TRUE(document.CreateSubElem(path + "c", PARAM_INT, &value));
        EXPECT_TRUE(document.CreateSubElem(path.substr(0, 100000) + "b", PARAM_INT, &value));
    });
}

TEST(TreeWriterDepth, WritesDeepNestingOnASmallStack) {
    RunOnSmallStack([] {
        constexpr int DEPTH = 3000;
        TREE_WRITER document(nullptr, nullptr);
        int32_t const value = 1;
        document.CreateSubElem(Repeated("a/", DEPTH) + "b", PARAM_INT, &value);
        std::string elements;
        for (int depth = 1; depth <= DEPTH; ++depth) elements += std::string(std::size_t(depth), '\t') + "<a>\n";
        elements += std::string(DEPTH + 1, '\t') + "<b type=\"int\">1</b>\n";
        for (int depth = DEPTH; depth >= 1; --depth) elements += std::string(std::size_t(depth), '\t') + "</a>\n";
        EXPECT_TRUE(document.Serialise().View() == FileText::Framed(elements));
    });
}

TEST(TreeWriterDepth, PlacesALongComponentBesideOneOfAThousandWildcards) {
    TREE_WRITER document(nullptr, nullptr);
    int32_t const value = 1;
    document.CreateSubElem(std::string(20000, 'a') + "/x", PARAM_INT, &value);
    EXPECT_TRUE(document.CreateSubElem(Repeated("*a", 1000) + "b/x", PARAM_INT, &value));
    EXPECT_TRUE(document.CreateSubElem(std::string(100000, '[') + "/x", PARAM_INT, &value));
}
