// Exhausted memory: each allocation of each set is made to fail in turn, and the node must be as it was before.
#include <gtest/gtest.h>
#include <malloc.h>

#include <cstddef>
#include <functional>
#include <string>
#include <vector>

#include "TicketImpSNode.h"
#include "support/FailingAllocations.h"

namespace {

using ENTRY = clTICKETNODE::clENTRY;

char const LONG_KEY[] = "a key that is too long for the small buffer of a string";
char const LONG_TEXT[] = "a text that is too long for the small buffer of a string";

bool WriteDown(void* context, char const* key, PARAM_TYPE type, void const* value, int index) {
    std::string line = std::string(key) + " " + std::to_string(type) + " " + std::to_string(index);
    if (type == PARAM_STRING && value) line += static_cast<char const*>(value);
    if (type == PARAM_INT && value) line += std::to_string(*static_cast<int const*>(value));
    static_cast<std::vector<std::string>*>(context)->push_back(line);
    return true;
}

std::vector<std::string> Contents(clTICKETNODE const& node) {
    std::vector<std::string> contents;
    for (int const level : {WALK_TYPES, WALK_EVERYTHING}) node.Walk(WriteDown, &contents, "", level);
    return contents;
}

struct OPERATION {
    char const* name;
    std::function<bool(clTICKETNODE&)> run;
};

bool SetText(clTICKETNODE& node, char const* key, int index) {
    return node.SetParameter(key, PARAM_STRING, LONG_TEXT, index);
}

class ShortOfMemory : public testing::TestWithParam<OPERATION> {};

TEST_P(ShortOfMemory, FailsAndChangesNothing) {
    clTICKETNODE original;
    original.Set("scalar", std::string(LONG_TEXT));
    original.SetEntry("vector", ENTRY(ENTRY::VECTOR{ENTRY(1), ENTRY(std::string(LONG_TEXT))}));
    std::vector<std::string> const before = Contents(original);
    bool done = false;
    int allowed = 0;
    for (; !done; ++allowed) {
        ASSERT_LT(allowed, 100);
        clTICKETNODE node(original);
        done = allocations::With(allowed, [&] { return GetParam().run(node); });
        if (!done) {
            EXPECT_EQ(Contents(node), before) << allowed;
        }
    }
    EXPECT_GT(allowed, 1) << "an operation that allocates";
}

int const NUMBER = 7;

INSTANTIATE_TEST_SUITE_P(
    Operations, ShortOfMemory,
    testing::Values(OPERATION{"NewKey", [](auto& node) { return SetText(node, LONG_KEY, SCALAR_INDEX); }},
                    OPERATION{"Replacement", [](auto& node) { return SetText(node, "scalar", SCALAR_INDEX); }},
                    OPERATION{"VectorByScalar", [](auto& node) { return SetText(node, "vector", SCALAR_INDEX); }},
                    OPERATION{"AppendToNewKey", [](auto& node) { return SetText(node, LONG_KEY, APPEND_INDEX); }},
                    OPERATION{"AppendToScalar", [](auto& node) { return SetText(node, "scalar", APPEND_INDEX); }},
                    OPERATION{"AppendToVector", [](auto& node) { return SetText(node, "vector", APPEND_INDEX); }},
                    OPERATION{"ElementOfNewKey", [](auto& node) { return SetText(node, LONG_KEY, 0); }},
                    OPERATION{"ElementOfScalar", [](auto& node) { return SetText(node, "scalar", 1); }},
                    OPERATION{"ElementOfVector", [](auto& node) { return SetText(node, "vector", 0); }},
                    OPERATION{"NumberAppendedToScalar",
                              [](auto& node) { return node.SetParameter("scalar", PARAM_INT, &NUMBER, APPEND_INDEX); }},
                    OPERATION{"Batch",
                              [](auto& node) {
                                  SETMULTIPAR records[] = {{LONG_KEY, PARAM_INT, &NUMBER, SCALAR_INDEX, true},
                                                           {nullptr, PARAM_NONE, nullptr, 0, false}};
                                  bool const done = node.SetMultiParameter(records);
                                  EXPECT_FALSE(records[0].result && !done);
                                  return done && records[0].result;
                              }}),
    [](auto const& test) { return test.param.name; });

TEST(ShortOfMemoryBatch, ResultsTellWhichRecordsWereStored) {
    for (int allowed = 0, stored = 0; stored < 2; ++allowed) {
        ASSERT_LT(allowed, 100);
        clTICKETNODE node;
        SETMULTIPAR records[] = {{"a", PARAM_STRING, LONG_TEXT, SCALAR_INDEX, true},
                                 {"b", PARAM_STRING, LONG_TEXT, SCALAR_INDEX, true},
                                 {nullptr, PARAM_NONE, nullptr, 0, false}};
        allocations::With(allowed, [&] { return node.SetMultiParameter(records); });
        EXPECT_EQ(node.GetEntry("a") != nullptr, records[0].result);
        EXPECT_EQ(node.GetEntry("b") != nullptr, records[1].result);
        stored = records[0].result + records[1].result;
    }
}

}  // namespace

TEST(TicketNodeMemory, ATextThatIsStoredAgainStaysWhereItIs) {
    clTICKETNODE node;
    for (int const index : {static_cast<int>(SCALAR_INDEX), 0}) {
        auto const read = [&] {
            char const* text = nullptr;
            EXPECT_TRUE(node.GetParameter("key", PARAM_STRING, &text, index));
            return text;
        };
        ASSERT_TRUE(SetText(node, "key", index));
        char const* const first = read();
        ASSERT_TRUE(SetText(node, "key", index));
        EXPECT_EQ(read(), first);
        ASSERT_TRUE(node.SetParameter("key", PARAM_STRING, "another", index));
        EXPECT_STREQ(read(), "another");
        BIN_STRING const bytes{"another", 7};
        ASSERT_TRUE(node.SetParameter("key", PARAM_BINSTR, &bytes, index));
        unsigned int type = 0;
        ASSERT_TRUE(node.GetParameter("key", PARAM_NONE, &type, index));
        EXPECT_EQ(type, PARAM_BINSTR) << "bytes are no text, even if they are the same";
    }
}

TEST(TicketNodeMemory, OfEveryKindOfValueIsGivenBackWithTheNode) {
    auto const fillAndDrop = [] {
        clTICKETNODE node;
        node.SetEntry("number", ENTRY(1.5));
        node.SetEntry("pointer", ENTRY(static_cast<void*>(&node)));
        node.Set("text", std::string(LONG_TEXT));
        node.SetEntry("bytes", ENTRY(BIN_STRING{LONG_TEXT, sizeof LONG_TEXT}));
        node.SetEntry("vector", ENTRY(ENTRY::VECTOR{ENTRY(1), ENTRY(std::string(LONG_TEXT))}));
    };
    fillAndDrop();  // buffers that are allocated once stay
    std::size_t const before = mallinfo2().uordblks;
    for (int round = 0; round < 1000; ++round) fillAndDrop();
    EXPECT_LE(mallinfo2().uordblks, before + 1000);
}
