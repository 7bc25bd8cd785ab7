// The batch list through its plain functions, as a host in C uses it.
#include <gtest/gtest.h>

#include <limits>

#include "ConfigurationControl/MultiParListC.h"
#include "support/Records.h"

namespace {

class PlainBatchList : public testing::Test {
 protected:
    ~PlainBatchList() override { MultiParListDestroy(&m_list); }

    SETMULTIPAR_LIST* m_list = MultiParListCreate();
};

TEST_F(PlainBatchList, StartsEmpty) {
    ASSERT_NE(m_list, nullptr);
    EXPECT_EQ(MultiParListSize(m_list), 0u);
    EXPECT_EQ(MultiParListTable(m_list, 0), nullptr);
}

TEST_F(PlainBatchList, DestroyingClearsTheHandleAndMayBeRepeated) {
    MultiParListDestroy(&m_list);
    EXPECT_EQ(m_list, nullptr);
    MultiParListDestroy(&m_list);
    MultiParListDestroy(nullptr);
}

TEST_F(PlainBatchList, CopiesWhatIsAdded) {
    int value = 5;
    EXPECT_TRUE(MultiParListSetParameter(m_list, "key", PARAM_INT, &value, SCALAR_INDEX));
    value = 6;
    EXPECT_TRUE(MultiParListSetParameter(m_list, "key", PARAM_INT, &value, 0));
    EXPECT_EQ(MultiParListSize(m_list), 2u);
    SETMULTIPAR const* const table = MultiParListTable(m_list, 0);
    EXPECT_EQ(records::Line(table[0]), "key[-1] 2 5");
    EXPECT_EQ(records::Line(table[1]), "key[0] 2 6") << "the index is kept as given";
    EXPECT_EQ(table[2].key, nullptr);
}

TEST_F(PlainBatchList, OnlyTheLowByteAsksForSorting) {
    struct {
        int sort;
        char const* first;
    } const cases[] = {{0, "b"}, {0x100, "b"}, {0x7FFFFF00, "b"}, {std::numeric_limits<int>::min(), "b"},
                       {1, "a"}, {0x180, "a"}, {-1, "a"}};
    for (auto const& each : cases) {
        SETMULTIPAR_LIST* list = MultiParListCreate();
        MultiParListSetParameter(list, "b", PARAM_STRING, "1", SCALAR_INDEX);
        MultiParListSetParameter(list, "a", PARAM_STRING, "2", SCALAR_INDEX);
        EXPECT_STREQ(MultiParListTable(list, each.sort)[0].key, each.first) << each.sort;
        MultiParListDestroy(&list);
    }
}

TEST_F(PlainBatchList, ANullHandleIsEmptyAndTakesNothing) {
    EXPECT_EQ(MultiParListSize(nullptr), 0u);
    EXPECT_EQ(MultiParListTable(nullptr, 1), nullptr);
    EXPECT_FALSE(MultiParListSetParameter(nullptr, "key", PARAM_STRING, "text", SCALAR_INDEX));
}

TEST_F(PlainBatchList, TakesNullKeysNullValuesAndUnknownTypes) {
    EXPECT_TRUE(MultiParListSetParameter(m_list, nullptr, PARAM_STRING, "text", SCALAR_INDEX));
    EXPECT_TRUE(MultiParListSetParameter(m_list, "key", PARAM_INT, nullptr, SCALAR_INDEX));
    EXPECT_TRUE(MultiParListSetParameter(m_list, "key", static_cast<PARAM_TYPE>(100), "x", 12345));
    EXPECT_EQ(MultiParListSize(m_list), 3u);
}

TEST_F(PlainBatchList, AFailureToCopyIsAnAnswerNotAnException) {
    BIN_STRING const tooLarge{"x", std::numeric_limits<uint64_t>::max()};
    EXPECT_FALSE(MultiParListSetParameter(m_list, "key", PARAM_BINSTR, &tooLarge, SCALAR_INDEX));
    EXPECT_EQ(MultiParListSize(m_list), 0u);
    EXPECT_TRUE(MultiParListSetParameter(m_list, "key", PARAM_STRING, "text", SCALAR_INDEX));
}

}  // namespace
