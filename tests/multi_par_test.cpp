// The helpers for arrays of batch records: creating, copying and checking them, and running them as a batch.
#include <gtest/gtest.h>

#include <climits>
#include <cstdlib>
#include <memory>
#include <vector>

#include "ConfigurationControl/MultiPar.h"
#include "TicketImpSNode.h"

namespace {

struct FREE {
    void operator()(void* memory) const { std::free(memory); }
};
using GET_ARRAY = std::unique_ptr<GETMULTIPAR[], FREE>;
using SET_ARRAY = std::unique_ptr<SETMULTIPAR[], FREE>;

char const KEY[] = "key";

template <typename RECORD>
void ExpectTerminator(RECORD const& record) {
    EXPECT_EQ(record.key, nullptr);
    EXPECT_EQ(record.type, PARAM_NONE);
    EXPECT_EQ(record.value, nullptr);
    EXPECT_EQ(record.index, 0);
    EXPECT_FALSE(record.result);
}

TEST(MultiPar, NewGetMultiparReadsElementsZeroAndUp) {
    GET_ARRAY const records(NewGetMultipar(3, KEY, PARAM_DOUBLE));
    ASSERT_TRUE(records);
    for (int i = 0; i < 3; ++i) {
        GETMULTIPAR const& record = records[static_cast<std::size_t>(i)];
        EXPECT_EQ(record.key, KEY) << "the pointer itself, no copy";
        EXPECT_EQ(record.type, PARAM_DOUBLE);
        EXPECT_EQ(record.value, nullptr);
        EXPECT_EQ(record.index, i);
        EXPECT_FALSE(record.result);
    }
    ExpectTerminator(records[3]);
}

TEST(MultiPar, NewSetMultiparStartsWithTheWholeValue) {
    SET_ARRAY const records(NewSetMultipar(3, KEY, PARAM_INT));
    ASSERT_TRUE(records);
    int const indexes[] = {SCALAR_INDEX, 1, 2};
    for (std::size_t i = 0; i < 3; ++i) {
        EXPECT_EQ(records[i].key, KEY);
        EXPECT_EQ(records[i].type, PARAM_INT);
        EXPECT_EQ(records[i].value, nullptr);
        EXPECT_EQ(records[i].index, indexes[i]);
        EXPECT_FALSE(records[i].result);
    }
    ExpectTerminator(records[3]);
}

TEST(MultiPar, ZeroRecordsAreATerminatorAlone) {
    GET_ARRAY const get(NewGetMultipar(0, KEY, PARAM_INT));
    ASSERT_TRUE(get);
    ExpectTerminator(get[0]);
    SET_ARRAY const set(NewSetMultipar(0, KEY, PARAM_INT));
    ASSERT_TRUE(set);
    ExpectTerminator(set[0]);
}

TEST(MultiPar, CountsThatOverflowGiveNull) {
    for (unsigned long const count : {ULONG_MAX, ULONG_MAX / sizeof(GETMULTIPAR), ULONG_MAX / sizeof(GETMULTIPAR) + 1,
                                      static_cast<unsigned long>(INT_MAX) + 1}) {
        EXPECT_EQ(NewGetMultipar(count, KEY, PARAM_INT), nullptr) << count;
        EXPECT_EQ(NewSetMultipar(count, KEY, PARAM_INT), nullptr) << count;
    }
}

class RewriteByBatch : public testing::TestWithParam<int> {};

TEST_P(RewriteByBatch, LeavesExactlyTheValuesOfANewSetMultipar) {
    clTICKETNODE node;
    for (int i = 0; i < 5; ++i) node.AddEntry(KEY, clTICKETNODE::clENTRY(i));
    auto const count = static_cast<std::size_t>(GetParam());
    std::vector<int> values;
    for (int i = 0; i < GetParam(); ++i) values.push_back(7 + i);
    SET_ARRAY const records(NewSetMultipar(count, KEY, PARAM_INT));
    for (std::size_t i = 0; i < count; ++i) records[i].value = &values[i];
    EXPECT_TRUE(node.SetMultiParameter(records.get()));
    EXPECT_TRUE(AllMultiParameterOk(records.get()));

    uint64_t size = 0;
    EXPECT_TRUE(node.GetParameter(KEY, PARAM_VECTOR, &size, SCALAR_INDEX));
    EXPECT_EQ(size, count);
    PARAM_TYPE type = PARAM_NONE;
    EXPECT_TRUE(node.GetParameter(KEY, PARAM_NONE, &type, SCALAR_INDEX));
    EXPECT_EQ(type, count == 1 ? PARAM_DOUBLE : PARAM_VECTOR) << "one value stays a scalar";

    std::vector<int> read(count);
    GET_ARRAY const reading(NewGetMultipar(count, KEY, PARAM_INT));
    for (std::size_t i = 0; i < count; ++i) reading[i].value = &read[i];
    EXPECT_TRUE(node.GetMultiParameter(reading.get()));
    EXPECT_TRUE(AllMultiParameterOk(reading.get()));
    EXPECT_EQ(read, values);
}

INSTANTIATE_TEST_SUITE_P(Counts, RewriteByBatch, testing::Values(1, 2, 3, 8));

struct CHECK {
    char const* name;
    std::vector<bool> results;
    bool all;
    bool any;
};

class MultiParResults : public testing::TestWithParam<CHECK> {};

template <typename RECORD>
void ExpectChecks(CHECK const& check) {
    std::vector<RECORD> records(check.results.size() + 1, RECORD());
    for (std::size_t i = 0; i < check.results.size(); ++i) {
        records[i].key = KEY;
        records[i].result = check.results[i];
    }
    EXPECT_EQ(AllMultiParameterOk(records.data()), check.all);
    EXPECT_EQ(AnyMultiParameterOk(records.data()), check.any);
}

TEST_P(MultiParResults, AreSummedUpForBothRecordKinds) {
    ExpectChecks<GETMULTIPAR>(GetParam());
    ExpectChecks<SETMULTIPAR>(GetParam());
}

INSTANTIATE_TEST_SUITE_P(Cases, MultiParResults,
                         testing::Values(CHECK{"NoRecord", {}, true, false}, CHECK{"OneGood", {true}, true, true},
                                         CHECK{"OneBad", {false}, false, false},
                                         CHECK{"LastBad", {true, true, false}, false, true},
                                         CHECK{"FirstBad", {false, true}, false, true},
                                         CHECK{"AllGood", {true, true}, true, true},
                                         CHECK{"AllBad", {false, false}, false, false}),
                         [](auto const& test) { return test.param.name; });

TEST(MultiPar, NullArraysAreNeitherAllNorAnyOk) {
    EXPECT_FALSE(AllMultiParameterOk(static_cast<GETMULTIPAR const*>(nullptr)));
    EXPECT_FALSE(AllMultiParameterOk(static_cast<SETMULTIPAR const*>(nullptr)));
    EXPECT_FALSE(AnyMultiParameterOk(static_cast<GETMULTIPAR const*>(nullptr)));
    EXPECT_FALSE(AnyMultiParameterOk(static_cast<SETMULTIPAR const*>(nullptr)));
}

TEST(MultiPar, TheChecksCountARecordWithAnEmptyKeyThoughTheBatchEndsThere) {
    clTICKETNODE node;
    int value = 1;
    SETMULTIPAR records[] = {{"a", PARAM_INT, &value, SCALAR_INDEX, false},
                             {"", PARAM_INT, &value, SCALAR_INDEX, false},
                             {nullptr, PARAM_NONE, nullptr, 0, false}};
    EXPECT_TRUE(node.SetMultiParameter(records));
    EXPECT_TRUE(records[0].result);
    EXPECT_FALSE(AllMultiParameterOk(records));
    EXPECT_TRUE(AnyMultiParameterOk(records));
    records[0].result = false;
    records[1].result = true;
    EXPECT_TRUE(AnyMultiParameterOk(records));
}

TEST(MultiPar, ResultCpyCopiesResultsOnlyUntilEitherArrayEnds) {
    int value = 1;
    SETMULTIPAR const source[] = {{"a", PARAM_INT, &value, 1, true},
                                  {"b", PARAM_INT, &value, 2, false},
                                  {"c", PARAM_INT, &value, 3, true},
                                  {nullptr, PARAM_NONE, nullptr, 0, true}};
    SETMULTIPAR longer[] = {{"x", PARAM_NONE, nullptr, 5, false},
                            {"", PARAM_NONE, nullptr, 5, true},
                            {"x", PARAM_NONE, nullptr, 5, false},
                            {"x", PARAM_NONE, nullptr, 5, false},
                            {nullptr, PARAM_NONE, nullptr, 0, false}};
    MultiParameterResultCpy(longer, source);
    EXPECT_TRUE(longer[0].result);
    EXPECT_FALSE(longer[1].result);
    EXPECT_TRUE(longer[2].result);
    EXPECT_FALSE(longer[3].result) << "the source ended";
    EXPECT_STREQ(longer[0].key, "x");
    EXPECT_EQ(longer[0].type, PARAM_NONE);
    EXPECT_EQ(longer[0].index, 5);

    SETMULTIPAR shorter[] = {{"x", PARAM_NONE, nullptr, 5, false}, {nullptr, PARAM_NONE, nullptr, 0, true}};
    MultiParameterResultCpy(shorter, source);
    EXPECT_TRUE(shorter[0].result);
    EXPECT_TRUE(shorter[1].result) << "the terminator is not written";
}

TEST(MultiPar, ResultCpyAcceptsNullAndEmptyArrays) {
    SETMULTIPAR records[] = {{"x", PARAM_NONE, nullptr, 0, false}, {nullptr, PARAM_NONE, nullptr, 0, false}};
    SETMULTIPAR none[] = {{nullptr, PARAM_NONE, nullptr, 0, true}};
    MultiParameterResultCpy(nullptr, records);
    MultiParameterResultCpy(records, nullptr);
    MultiParameterResultCpy(records, none);
    MultiParameterResultCpy(none, records);
    EXPECT_FALSE(records[0].result);
    EXPECT_TRUE(none[0].result);
}

TEST(MultiPar, DupCopiesTheTerminatorTooAndSharesKeysAndValues) {
    int value = 1;
    SETMULTIPAR const records[] = {{"a", PARAM_INT, &value, SCALAR_INDEX, true},
                                   {"", PARAM_DOUBLE, &value, 4, false},
                                   {nullptr, PARAM_UINT64, &value, 9, true}};
    SET_ARRAY const copy(MultiParameterDup(records));
    ASSERT_TRUE(copy);
    for (std::size_t i = 0; i < 3; ++i) {
        EXPECT_EQ(copy[i].key, records[i].key);
        EXPECT_EQ(copy[i].type, records[i].type);
        EXPECT_EQ(copy[i].value, records[i].value);
        EXPECT_EQ(copy[i].index, records[i].index);
        EXPECT_EQ(copy[i].result, records[i].result);
    }
}

TEST(MultiPar, DupOfNullIsNullAndOfNoRecordATerminator) {
    EXPECT_EQ(MultiParameterDup(nullptr), nullptr);
    SETMULTIPAR const none[] = {{nullptr, PARAM_NONE, nullptr, 0, false}};
    SET_ARRAY const copy(MultiParameterDup(none));
    ASSERT_TRUE(copy);
    EXPECT_EQ(copy[0].key, nullptr);
}

}  // namespace
