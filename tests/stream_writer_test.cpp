// The stream writer must write the same text as the tree writer, or refuse.
#include <gtest/gtest.h>

#include <cstdint>
#include <limits>
#include <random>
#include <stdexcept>
#include <string>
#include <vector>

#include "Format/StreamWriter.h"
#include "Format/TreeWriter.h"
#include "TicketImpSNode.h"

namespace {

std::string TextByDocument(clTICKETNODE const& node) {
    TREE_WRITER document(nullptr, nullptr);
    node.WalkParameter(&TREE_WRITER::SaveOne, &document, "", WALK_EVERYTHING);
    return std::string(document.Serialise().View());
}

// The text by the stream writer; "(refused)" if it refuses.
std::string TextByStream(clTICKETNODE const& node, STICKET_STRING_CONVERSION* conversion = nullptr) {
    STREAM_WRITER stream(conversion);
    node.WalkParameter(&STREAM_WRITER::SaveOne, &stream, "", WALK_EVERYTHING);
    return stream.IsRefused() ? "(refused)" : std::string(stream.Finish().View());
}

clTICKETNODE NodeOf(std::vector<std::string> const& keys) {
    clTICKETNODE node;
    int32_t value = 0;
    for (std::string const& key : keys) {
        ++value;
        node.SetParameter(key.c_str(), PARAM_INT, &value, APPEND_INDEX);
    }
    return node;
}

TEST(StreamWriter, WritesEveryTypeAsTheDocumentDoes) {
    clTICKETNODE node;
    double const half = 0.5;
    double const notANumber = std::numeric_limits<double>::quiet_NaN();
    int64_t const small = std::numeric_limits<int64_t>::min();
    uint64_t const large = std::numeric_limits<uint64_t>::max();
    BIN_STRING const bytes{"\0\xFF", 2};
    node.SetParameter("Group/a", PARAM_DOUBLE, &half, APPEND_INDEX);
    node.SetParameter("Group/a", PARAM_DOUBLE, &notANumber, APPEND_INDEX);
    node.SetParameter("Group/b", PARAM_STRING, "<x  y>", SCALAR_INDEX);
    node.SetParameter("Group/c", PARAM_STRING, "", SCALAR_INDEX);
    node.SetParameter("Group/d", PARAM_BINSTR, &bytes, SCALAR_INDEX);
    node.SetParameter("Group/Sub/e", PARAM_INT64, &small, SCALAR_INDEX);
    node.SetParameter("Group/Sub/f", PARAM_UINT64, &large, SCALAR_INDEX);
    node.SetParameter("z", PARAM_POINTER, &node, SCALAR_INDEX);
    EXPECT_EQ(TextByStream(node), TextByDocument(node));
}

TEST(StreamWriter, WritesParametersWithoutAnythingToKeepAsAnEmptyElement) {
    clTICKETNODE node;
    node.SetParameter("pointer", PARAM_POINTER, &node, SCALAR_INDEX);
    EXPECT_EQ(TextByStream(node), TextByDocument(node));
    EXPECT_EQ(TextByStream(node), "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<ticket/>\n");
}

TEST(StreamWriter, RefusesKeysWhoseElementsAnotherKeyCouldHaveMade) {
    for (std::vector<std::string> const& keys :
         std::vector<std::vector<std::string>>{{"a", "a/b"},         // the leaf contains the element
                                               {"a", "a-b", "a/c"},  // also when another key stands between them
                                               {"a", "a", "a/b"},    // the first of several leaves
                                               {"a/b", "a/b/c/d"},   // at a deeper level
                                               {"a*/b"},
                                               {"a?/b"},
                                               {"[a]/b"},
                                               {"a/[b"},
                                               {"a/b[/c"},
                                               {"/a"},
                                               {"a//b"},
                                               {"a/"},
                                               {""}}) {
        bool const isPattern = keys == std::vector<std::string>{"a/[b"};  // the last component is never a pattern
        EXPECT_EQ(TextByStream(NodeOf(keys)) == "(refused)", !isPattern) << testing::PrintToString(keys);
    }
}

TEST(StreamWriter, TakesKeysThatOnlyLookLikeAnothersElements) {
    for (std::vector<std::string> const& keys : std::vector<std::vector<std::string>>{
             {"a", "a-b/c"}, {"a-b", "a/c"}, {"a/b", "a.b/c"}, {"ab", "a/b"}, {"a/b", "a/bc/d"}, {"x/a", "y/a/b"}}) {
        EXPECT_EQ(TextByStream(NodeOf(keys)), TextByDocument(NodeOf(keys))) << testing::PrintToString(keys);
    }
}

TEST(StreamWriter, WritesRandomKeysAsTheDocumentDoesOrRefusesThem) {
    std::mt19937 random(20261121);
    std::vector<std::string> const components = {"a",      "a-b", "a.b", "ab", "b", "long-component-of-a-key",
                                                 "ticket", "c"};
    int written = 0;
    for (int round = 0; round < 3000; ++round) {
        std::vector<std::string> keys;
        for (auto count = 1 + random() % 12; count > 0; --count) {
            std::string key = components[random() % components.size()];
            for (auto more = random() % 4; more > 0; --more) key += '/' + components[random() % components.size()];
            if (random() % 100 == 0) key += "/";
            keys.push_back(key);
        }
        std::string const text = TextByStream(NodeOf(keys));
        if (text == "(refused)") continue;
        ++written;
        ASSERT_EQ(text, TextByDocument(NodeOf(keys))) << testing::PrintToString(keys);
    }
    EXPECT_GT(written, 1000);
}

TEST(StreamWriter, StopsAtAnInfiniteNumber) {
    clTICKETNODE node;
    double const infinity = std::numeric_limits<double>::infinity();
    node.SetParameter("a", PARAM_DOUBLE, &infinity, SCALAR_INDEX);
    EXPECT_THROW(TextByStream(node), char const*);
}

TEST(StreamWriter, LetsTextsPassThroughTheConversion) {
    struct BRACKETS : STICKET_STRING_CONVERSION {
        std::string ToFile(std::string const& text) override { return "(" + text + ")"; }
        std::string FromFile(std::string const& text, int) override { return text; }
    } brackets;
    clTICKETNODE node;
    node.SetParameter("a", PARAM_STRING, "", SCALAR_INDEX);
    EXPECT_EQ(TextByStream(node, &brackets),
              "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<ticket>\n\t<a type=\"string\">()</a>\n</ticket>\n");
}

TEST(StreamWriter, GrowsFromTheAllocatorsMemoryIntoAMappingWithoutLosingAByte) {
    clTICKETNODE node;
    for (int i = 0; i < 20000; ++i) {
        std::string const key = "Group" + std::to_string(i % 97) + "/Key" + std::to_string(i);
        node.SetParameter(key.c_str(), PARAM_STRING, key.c_str(), SCALAR_INDEX);
    }
    EXPECT_TRUE(TextByStream(node) == TextByDocument(node));
}

}  // namespace
