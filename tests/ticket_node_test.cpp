// Operations on whole entries: replace, append, element positions, deletion, types and counts.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <string_view>
#include <vector>

#include "TicketImpSNode.h"

namespace {

using ENTRY = clTICKETNODE::clENTRY;
using NODE = clTICKETNODE;
using testing::ElementsAre;

std::vector<double> Numbers(NODE const& node, std::string_view key) {
    std::vector<double> numbers;
    unsigned long count = 0;
    node.GetV(key, count);
    for (unsigned long i = 0; i < count; ++i) {
        double number = 0;
        EXPECT_TRUE(node.GetV(key, static_cast<int>(i), number));
        numbers.push_back(number);
    }
    return numbers;
}

NODE::TAG TagOf(NODE const& node, std::string_view key) {
    ENTRY const* const entry = node.GetEntry(key);
    EXPECT_NE(entry, nullptr);
    return entry ? entry->Tag() : NODE::ENTRY_EMPTY;
}

void Append(NODE& node, std::string_view key, int count) {
    for (int i = 0; i < count; ++i) node.AddEntry(key, ENTRY(i + 1));
}

TEST(TicketNode, SetEntryInsertsAndReplacesScalarsAndVectors) {
    NODE node;
    EXPECT_TRUE(node.SetEntry("key", ENTRY(1)));
    EXPECT_TRUE(node.SetEntry("key", ENTRY(std::string("text"))));
    EXPECT_EQ(TagOf(node, "key"), NODE::ENTRY_STRING);
    EXPECT_TRUE(node.SetEntry("key", ENTRY(ENTRY::VECTOR{ENTRY(1), ENTRY(2)})));
    EXPECT_THAT(Numbers(node, "key"), ElementsAre(1, 2));
    EXPECT_TRUE(node.SetEntry("key", ENTRY(3)));
    EXPECT_EQ(TagOf(node, "key"), NODE::ENTRY_NUMBER);
    EXPECT_EQ(node.Size(), 1u);
}

TEST(TicketNode, SetEntryAtTheSizeAppendsAndBeyondChangesNothing) {
    NODE node;
    Append(node, "two", 2);
    EXPECT_TRUE(node.SetEntry("two", 2, ENTRY(9)));
    EXPECT_THAT(Numbers(node, "two"), ElementsAre(1, 2, 9));

    node.SetEntry("one", ENTRY(ENTRY::VECTOR{ENTRY(1)}));
    EXPECT_FALSE(node.SetEntry("one", 2, ENTRY(9)));
    EXPECT_FALSE(node.SetEntry("one", -1, ENTRY(9)));
    EXPECT_THAT(Numbers(node, "one"), ElementsAre(1));
}

TEST(TicketNode, SetEntryReplacesAnElement) {
    NODE node;
    Append(node, "key", 3);
    EXPECT_TRUE(node.SetEntry("key", 1, ENTRY(9)));
    EXPECT_THAT(Numbers(node, "key"), ElementsAre(1, 9, 3));
}

TEST(TicketNode, ElementSettersLeaveAVectorEvenWhenTheyRefuseTheIndex) {
    NODE node;
    node.SetEntry("scalar", ENTRY(5));
    EXPECT_FALSE(node.SetEntry("scalar", 4, ENTRY(9)));
    EXPECT_EQ(TagOf(node, "scalar"), NODE::ENTRY_VECTOR);
    EXPECT_THAT(Numbers(node, "scalar"), ElementsAre(5));
    EXPECT_FALSE(node.Set("absent", 1, 2.0));
    EXPECT_EQ(TagOf(node, "absent"), NODE::ENTRY_VECTOR);
    EXPECT_THAT(Numbers(node, "absent"), ElementsAre());
    EXPECT_FALSE(node.Set("text", -3, std::string("x")));
    EXPECT_EQ(TagOf(node, "text"), NODE::ENTRY_VECTOR);
}

TEST(TicketNode, SetVectorConvertsWhatIsThere) {
    NODE node;
    EXPECT_TRUE(node.SetVector("absent")->empty());

    node.SetEntry("empty", ENTRY());
    EXPECT_TRUE(node.SetVector("empty")->empty());

    Append(node, "vector", 2);
    EXPECT_EQ(node.SetVector("vector")->size(), 2u);
    EXPECT_EQ(node.SetVector("vector"), &node.GetEntry("vector")->Elements());

    node.Set("scalar", std::string("a text that is too long for the small buffer of a string"));
    char const* before = nullptr;
    ASSERT_TRUE(node.Get("scalar", before));
    ENTRY::VECTOR const& elements = *node.SetVector("scalar");
    ASSERT_EQ(elements.size(), 1u);
    EXPECT_EQ(elements[0].Text().data(), before) << "the scalar is moved, not copied";
}

TEST(TicketNode, AddEntryThreeTimesGivesAScalarThenVectorsOfTwoAndThree) {
    NODE node;
    EXPECT_TRUE(node.AddEntry("key", ENTRY(1)));
    EXPECT_EQ(TagOf(node, "key"), NODE::ENTRY_NUMBER);
    EXPECT_TRUE(node.AddEntry("key", ENTRY(2)));
    EXPECT_THAT(Numbers(node, "key"), ElementsAre(1, 2));
    EXPECT_EQ(TagOf(node, "key"), NODE::ENTRY_VECTOR);
    EXPECT_TRUE(node.AddEntry("key", ENTRY(3)));
    EXPECT_THAT(Numbers(node, "key"), ElementsAre(1, 2, 3));
}

TEST(TicketNode, AddEntryGivesAnEmptyKeyAScalarAndFillsAnEmptyVector) {
    NODE node;
    node.SetEntry("empty", ENTRY());
    node.AddEntry("empty", ENTRY(1));
    EXPECT_EQ(TagOf(node, "empty"), NODE::ENTRY_NUMBER);
    node.SetVector("vector");
    node.AddEntry("vector", ENTRY(1));
    EXPECT_EQ(TagOf(node, "vector"), NODE::ENTRY_VECTOR);
    EXPECT_THAT(Numbers(node, "vector"), ElementsAre(1));
}

TEST(TicketNode, DelRemovesAKeyOnce) {
    NODE node;
    node.SetEntry("key", ENTRY(1));
    EXPECT_TRUE(node.Del("key"));
    EXPECT_EQ(node.GetEntry("key"), nullptr);
    EXPECT_FALSE(node.Del("key"));
    EXPECT_FALSE(node.Del("key", 0));
}

TEST(TicketNode, DelOfElementZeroRemovesAScalarWholly) {
    NODE node;
    node.SetEntry("key", ENTRY(1));
    EXPECT_FALSE(node.Del("key", 1));
    EXPECT_FALSE(node.Del("key", -1));
    EXPECT_TRUE(node.Del("key", 0));
    EXPECT_EQ(node.GetEntry("key"), nullptr);
}

TEST(TicketNode, DelOfTheOnlyElementLeavesAnEmptyVectorThatSizeDoesNotCount) {
    NODE node;
    node.SetEntry("key", ENTRY(ENTRY::VECTOR{ENTRY(1)}));
    EXPECT_TRUE(node.Del("key", 0));
    EXPECT_EQ(TagOf(node, "key"), NODE::ENTRY_VECTOR);
    EXPECT_EQ(node.Size(), 0u);
    EXPECT_FALSE(node.NonEmpty());
    EXPECT_FALSE(node.Del("key", 0));
}

TEST(TicketNode, DelOfAnElementMovesTheLaterOnesDown) {
    NODE node;
    Append(node, "key", 4);
    EXPECT_TRUE(node.Del("key", 1));
    EXPECT_THAT(Numbers(node, "key"), ElementsAre(1, 3, 4));
    EXPECT_FALSE(node.Del("key", 3));
    EXPECT_FALSE(node.Del("key", -1));
    EXPECT_TRUE(node.Del("key", 2));
    EXPECT_THAT(Numbers(node, "key"), ElementsAre(1, 3));
}

TEST(TicketNode, GetEntryFindsElementsByPositionAndAScalarAsItsOwnFirst) {
    NODE node;
    Append(node, "vector", 2);
    node.SetEntry("scalar", ENTRY(7));
    EXPECT_EQ(node.GetEntry("vector", 1)->Number(), 2);
    EXPECT_EQ(node.GetEntry("vector", 2), nullptr);
    EXPECT_EQ(node.GetEntry("vector", -1), nullptr);
    EXPECT_EQ(node.GetEntry("scalar", 0), node.GetEntry("scalar"));
    EXPECT_EQ(node.GetEntry("scalar", 1), nullptr);
    EXPECT_EQ(node.GetEntry("scalar", -1), nullptr);
    EXPECT_EQ(node.GetEntry("absent"), nullptr);
    EXPECT_EQ(node.GetEntry("absent", 0), nullptr);
}

TEST(TicketNode, GetTypeReportsTheStoredTypeAndZeroWhereThereIsNone) {
    NODE node;
    node.SetEntry("vector", ENTRY(ENTRY::VECTOR{ENTRY(1), ENTRY(std::string("text")), ENTRY()}));
    node.SetEntry("empty", ENTRY());
    int type = 77;
    EXPECT_TRUE(node.GetType("vector", type));
    EXPECT_EQ(type, PARAM_VECTOR);
    EXPECT_TRUE(node.GetType("vector", 0, type));
    EXPECT_EQ(type, PARAM_DOUBLE);
    EXPECT_TRUE(node.GetType("vector", 1, type));
    EXPECT_EQ(type, PARAM_STRING);
    EXPECT_FALSE(node.GetType("vector", 2, type));
    EXPECT_EQ(type, PARAM_NONE);
    type = 77;
    EXPECT_FALSE(node.GetType("vector", 3, type));
    EXPECT_EQ(type, PARAM_NONE);
    type = 77;
    EXPECT_FALSE(node.GetType("empty", type));
    EXPECT_EQ(type, PARAM_NONE);
    type = 77;
    EXPECT_FALSE(node.GetType("absent", type));
    EXPECT_EQ(type, PARAM_NONE);
}

TEST(TicketNode, SetReplacesAVectorByANormalisedIntegerOrAText) {
    NODE node;
    Append(node, "key", 2);
    EXPECT_TRUE(node.Set("key", 1ULL << 63));
    EXPECT_EQ(TagOf(node, "key"), NODE::ENTRY_UINT64);
    EXPECT_TRUE(node.Set("key", 7ULL));
    EXPECT_EQ(TagOf(node, "key"), NODE::ENTRY_NUMBER);
    EXPECT_TRUE(node.Set("key", std::string("text")));
    EXPECT_EQ(TagOf(node, "key"), NODE::ENTRY_STRING);
}

TEST(TicketNode, IndexedSetReplacesOrAppendsElements) {
    NODE node;
    EXPECT_TRUE(node.Set("key", 0, 1.5));
    EXPECT_TRUE(node.Set("key", 1, std::string("text")));
    EXPECT_TRUE(node.Set("key", 0, 2.5));
    EXPECT_FALSE(node.Set("key", 3, 3.5));
    EXPECT_EQ(node.GetEntry("key", 0)->Number(), 2.5);
    EXPECT_EQ(node.GetEntry("key", 1)->Text(), "text");
    EXPECT_EQ(node.GetEntry("key")->Elements().size(), 2u);
}

TEST(TicketNode, AcceptsElementsOfTheVectorThatIsReplaced) {
    NODE node;
    node.SetEntry("key", ENTRY(ENTRY::VECTOR{ENTRY(std::string("first")), ENTRY(std::string("second"))}));
    node.SetEntry("key", 0, *node.GetEntry("key", 1));
    EXPECT_EQ(node.GetEntry("key", 0)->Text(), "second");
    for (int i = 0; i < 20; ++i) node.AddEntry("key", *node.GetEntry("key", 0));
    EXPECT_EQ(node.GetEntry("key", 21)->Text(), "second");
    node.SetEntry("key", *node.GetEntry("key", 1));
    EXPECT_EQ(node.GetEntry("key")->Text(), "second");
    node.SetEntry("key", *node.GetEntry("key"));
    EXPECT_EQ(node.GetEntry("key")->Text(), "second");
}

TEST(TicketNode, AcceptsKeysThatPointIntoTheTextThatIsReplacedOrDeleted) {
    NODE node;
    std::string const key = "a key that is too long for the small buffer of a string";
    node.Set(key, key);
    char const* text = nullptr;
    ASSERT_TRUE(node.Get(key, text));
    EXPECT_TRUE(node.SetEntry(text, ENTRY(1)));
    EXPECT_EQ(node.GetEntry(key)->Number(), 1);

    node.Set(key, key);
    ASSERT_TRUE(node.Get(key, text));
    EXPECT_TRUE(node.Del(text));
    EXPECT_EQ(node.GetEntry(key), nullptr);

    node.SetEntry(key, ENTRY(ENTRY::VECTOR{ENTRY(key)}));
    ASSERT_TRUE(node.GetV(key, 0, text));
    EXPECT_TRUE(node.Del(text, 0));
    EXPECT_TRUE(node.GetEntry(key)->Elements().empty());

    node.Set(key, key);
    ASSERT_TRUE(node.Get(key, text));
    EXPECT_TRUE(node.Del(text, 0));
    EXPECT_EQ(node.GetEntry(key), nullptr);
}

TEST(TicketNode, HoldsTheEmptyKeyAndKeysWithAnyBytes) {
    NODE node;
    node.SetEntry("", ENTRY(1));
    node.SetEntry("\xff/\x01", ENTRY(2));
    EXPECT_EQ(node.GetEntry("")->Number(), 1);
    EXPECT_EQ(node.GetEntry("\xff/\x01")->Number(), 2);
    EXPECT_EQ(node.Size(), 2u);
}

TEST(TicketNode, SizeCountsScalarsAndEachElementButNoVectorAndNoEmptyEntry) {
    NODE node;
    EXPECT_EQ(node.Size(), 0u);
    node.SetEntry("empty", ENTRY());
    node.SetVector("emptyVector");
    node.SetEntry("nested", ENTRY(ENTRY::VECTOR{ENTRY(), ENTRY(ENTRY::VECTOR())}));
    EXPECT_EQ(node.Size(), 0u);
    EXPECT_FALSE(node.NonEmpty());

    int target = 0;
    node.SetEntry("a", ENTRY(static_cast<void*>(&target)));
    EXPECT_TRUE(node.NonEmpty());
    node.SetEntry("b", ENTRY(1.5));
    node.SetEntry("c", ENTRY(2));
    node.SetEntry("d", ENTRY(std::string()));
    node.SetEntry("e", ENTRY(BIN_STRING{nullptr, 0}));
    node.SetEntry("f", ENTRY(1LL << 60));
    node.SetEntry("g", ENTRY(1ULL << 63));
    EXPECT_EQ(node.Size(), 7u);
    Append(node, "vector", 5);
    EXPECT_EQ(node.Size(), 12u);
    node.AddEntry("vector", ENTRY(ENTRY::VECTOR{ENTRY(1), ENTRY(2)}));
    EXPECT_EQ(node.Size(), 14u);
}

TEST(TicketNode, ClearForgetsEverything) {
    NODE node;
    Append(node, "vector", 3);
    node.SetEntry("text", ENTRY(std::string("text")));
    node.Clear();
    EXPECT_FALSE(node.NonEmpty());
    EXPECT_EQ(node.GetEntry("vector"), nullptr);
    node.Clear();
    EXPECT_EQ(node.Size(), 0u);
}

}  // namespace
