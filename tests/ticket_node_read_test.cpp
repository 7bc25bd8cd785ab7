// Reading values of a node: the typed getters, and every stored value read as every type.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <climits>
#include <cmath>
#include <cstring>
#include <string>
#include <string_view>
#include <vector>

#include "ConfigurationControl/MathLib.h"
#include "support/Misaligned.h"
#include "support/Nodes.h"

namespace {

using namespace nodes;

// ---- Typed getters

TEST(TypedGetters, RoundHalvesAwayFromZeroForIntegers) {
    int number = 0;
    EXPECT_TRUE(NodeWith(ENTRY(2.5)).Get(KEY, number));
    EXPECT_EQ(number, 3);
    EXPECT_TRUE(NodeWith(ENTRY(-2.5)).Get(KEY, number));
    EXPECT_EQ(number, -3);
}

TEST(TypedGetters, GiveEachIntegerTypeItsOwnValueForNaNAndSucceed) {
    NODE const node = NodeWith(ENTRY(MathLib::NOT_A_DOUBLE_NUMBER));
    int i = 0;
    unsigned int u = 0;
    long long i64 = 0;
    unsigned long long u64 = 0;
    double d = 0;
    EXPECT_TRUE(node.Get(KEY, i));
    EXPECT_TRUE(node.Get(KEY, u));
    EXPECT_TRUE(node.Get(KEY, i64));
    EXPECT_TRUE(node.Get(KEY, u64));
    EXPECT_TRUE(node.Get(KEY, d));
    EXPECT_EQ(i, INT_MIN);
    EXPECT_EQ(u, UINT_MAX);
    EXPECT_EQ(i64, LLONG_MAX);
    EXPECT_EQ(u64, ULLONG_MAX);
    EXPECT_TRUE(std::isnan(d));
}

TEST(TypedGetters, KeepTheBitsOfWideIntegersButRoundThemAsDoubles) {
    NODE const node = NodeWith(ENTRY(TWO_53 + 1));
    double number = 0;
    long long integer = 0;
    EXPECT_TRUE(node.Get(KEY, number));
    EXPECT_EQ(number, 9007199254740992.0);
    EXPECT_TRUE(node.Get(KEY, integer));
    EXPECT_EQ(integer, 9007199254740993LL);
    EXPECT_TRUE(NodeWith(ENTRY(TWO_63 + 5)).Get(KEY, integer));
    EXPECT_EQ(integer, LLONG_MIN + 5) << "bit for bit, so it comes out negative";
    unsigned long long wide = 0;
    EXPECT_TRUE(NodeWith(ENTRY(-TWO_53 - 1)).Get(KEY, wide));
    EXPECT_EQ(wide, static_cast<unsigned long long>(-TWO_53 - 1));
}

TEST(TypedGetters, ReadTextAsBytesButNotBytesAsText) {
    BIN_STRING bytes{nullptr, 0};
    EXPECT_TRUE(NodeWith(Text("text")).Get(KEY, bytes));
    EXPECT_EQ(bytes.length, 4u);
    char const* text = "before";
    EXPECT_FALSE(NodeWith(Bytes("bytes")).Get(KEY, text));
    EXPECT_EQ(text, nullptr);
}

TEST(TypedGetters, ReadAScalarAsItsElementZeroOnly) {
    NODE const node = NodeWith(ENTRY(5));
    int number = 1;
    EXPECT_TRUE(node.GetV(KEY, 0, number));
    EXPECT_EQ(number, 5);
    EXPECT_FALSE(node.GetV(KEY, 1, number));
    EXPECT_EQ(number, 0);
    number = 1;
    EXPECT_FALSE(node.GetV(KEY, -1, number));
    EXPECT_EQ(number, 0);
}

template <typename T>
void ExpectRefused(NODE const& node, T const& failure) {
    T value;
    std::memset(static_cast<void*>(&value), 0x5a, sizeof value);
    EXPECT_FALSE(node.Get(KEY, value));
    EXPECT_EQ(std::memcmp(&value, &failure, sizeof value), 0);
}

TEST(TypedGetters, RefuseVectorsAndAbsentKeysAndWriteTheFailureValue) {
    for (NODE const& node : {NODE(), NodeWith(Vector({ENTRY(1)})), NodeWith(Vector({Text("a")})), NodeWith(ENTRY())}) {
        ExpectRefused<double>(node, 0);
        ExpectRefused<int>(node, 0);
        ExpectRefused<unsigned int>(node, 0);
        ExpectRefused<long long>(node, 0);
        ExpectRefused<unsigned long long>(node, 0);
        ExpectRefused<char const*>(node, nullptr);
        ExpectRefused<BIN_STRING>(node, {nullptr, 0});
        ExpectRefused<void*>(node, nullptr);
    }
}

TEST(TypedGetters, CountOneForAScalarZeroForAnEmptyVectorAndFailForAnAbsentKey) {
    unsigned long count = 77;
    EXPECT_TRUE(NodeWith(ENTRY(5)).GetV(KEY, count));
    EXPECT_EQ(count, 1u);
    EXPECT_TRUE(NodeWith(Vector({})).GetV(KEY, count));
    EXPECT_EQ(count, 0u);
    EXPECT_TRUE(NodeWith(Vector({ENTRY(1), ENTRY(2)})).GetV(KEY, count));
    EXPECT_EQ(count, 2u);
    EXPECT_FALSE(NODE().GetV(KEY, count));
    EXPECT_EQ(count, 0u);
}

// ---- Every stored value read as every number type

struct NUMBERS {
    char const* name;
    ENTRY stored;
    int i;
    unsigned int u;
    long long i64;
    unsigned long long u64;
    double d;
};

std::vector<NUMBERS> const NUMBER_CASES = {
    {"Zero", ENTRY(0), 0, 0, 0, 0, 0},
    {"MinusZero", ENTRY(-0.0), 0, 0, 0, 0, -0.0},
    {"Half", ENTRY(0.5), 1, 1, 1, 1, 0.5},
    {"MinusHalf", ENTRY(-0.5), -1, 0, -1, 0, -0.5},
    {"Fraction", ENTRY(2.4), 2, 2, 2, 2, 2.4},
    {"Negative", ENTRY(-7), -7, 0, -7, 0, -7},
    {"AboveInt", ENTRY(3e9), INT_MAX, 3000000000U, 3000000000LL, 3000000000ULL, 3e9},
    {"BelowInt", ENTRY(-3e9), INT_MIN, 0, -3000000000LL, 0, -3e9},
    {"AboveUnsigned", ENTRY(1e12), INT_MAX, UINT_MAX, 1000000000000LL, 1000000000000ULL, 1e12},
    {"Huge", ENTRY(1e300), INT_MAX, UINT_MAX, LLONG_MAX, ULLONG_MAX, 1e300},
    {"MinusHuge", ENTRY(-1e300), INT_MIN, 0, LLONG_MIN, 0, -1e300},
    {"TwoTo63", ENTRY(9223372036854775808.0), INT_MAX, UINT_MAX, LLONG_MAX, TWO_63, 9223372036854775808.0},
    {"TwoTo64", ENTRY(18446744073709551616.0), INT_MAX, UINT_MAX, LLONG_MAX, ULLONG_MAX, 18446744073709551616.0},
    {"Infinity", ENTRY(INFINITE), INT_MAX, UINT_MAX, LLONG_MAX, ULLONG_MAX, INFINITE},
    {"MinusInfinity", ENTRY(-INFINITE), INT_MIN, 0, LLONG_MIN, ULLONG_MAX, -INFINITE},
    {"NaN", ENTRY(MathLib::NOT_A_DOUBLE_NUMBER), INT_MIN, UINT_MAX, LLONG_MAX, ULLONG_MAX,
     MathLib::NOT_A_DOUBLE_NUMBER},
    {"Int64", ENTRY(TWO_53 + 1), INT_MAX, UINT_MAX, TWO_53 + 1, static_cast<unsigned long long>(TWO_53 + 1),
     9007199254740992.0},
    {"LowestInt64", ENTRY(LLONG_MIN), INT_MIN, 0, LLONG_MIN, TWO_63, -9223372036854775808.0},
    {"Uint64", ENTRY(TWO_63), INT_MAX, UINT_MAX, LLONG_MIN, TWO_63, 9223372036854775808.0},
    {"LargestUint64", ENTRY(ULLONG_MAX), INT_MAX, UINT_MAX, -1, ULLONG_MAX, 18446744073709549568.0},
};

class ReadNumbers : public testing::TestWithParam<NUMBERS> {};

template <typename T>
void ExpectRead(NODE const& node, PARAM_TYPE type, int index, T const& expected, bool succeeds = true) {
    T value;
    std::memset(static_cast<void*>(&value), 0x5a, sizeof value);
    EXPECT_EQ(node.GetParameter(KEY, type, &value, index), succeeds) << "type " << type << " index " << index;
    EXPECT_EQ(std::memcmp(&value, &expected, sizeof value), 0) << "type " << type << " index " << index;
}

void ExpectAllNumbers(NODE const& node, int index, NUMBERS const& expected) {
    ExpectRead(node, PARAM_INT, index, expected.i);
    ExpectRead(node, PARAM_UNSIGNED, index, expected.u);
    ExpectRead(node, PARAM_INT64, index, expected.i64);
    ExpectRead(node, PARAM_UINT64, index, expected.u64);
    ExpectRead(node, PARAM_DOUBLE, index, expected.d);
    ExpectRead<char const*>(node, PARAM_STRING, index, nullptr, false);
    ExpectRead<BIN_STRING>(node, PARAM_BINSTR, index, {nullptr, 0}, false);
}

TEST_P(ReadNumbers, AsEveryTypeAsAWholeAndAsAnElement) {
    ExpectAllNumbers(NodeWith(GetParam().stored), SCALAR_INDEX, GetParam());
    ExpectAllNumbers(NodeWith(GetParam().stored), 0, GetParam());
    ExpectAllNumbers(NodeWith(Vector({Text("other"), GetParam().stored})), 1, GetParam());
}

INSTANTIATE_TEST_SUITE_P(Stored, ReadNumbers, testing::ValuesIn(NUMBER_CASES),
                         [](auto const& test) { return test.param.name; });

// ---- GetParameter

void ExpectNoNumber(NODE const& node, int index) {
    ExpectRead<int>(node, PARAM_INT, index, 0, false);
    ExpectRead<unsigned int>(node, PARAM_UNSIGNED, index, 0, false);
    ExpectRead<long long>(node, PARAM_INT64, index, 0, false);
    ExpectRead<unsigned long long>(node, PARAM_UINT64, index, 0, false);
    ExpectRead<double>(node, PARAM_DOUBLE, index, 0, false);
}

void ExpectNothing(NODE const& node, int index) {
    ExpectNoNumber(node, index);
    ExpectRead<char const*>(node, PARAM_STRING, index, nullptr, false);
    ExpectRead<BIN_STRING>(node, PARAM_BINSTR, index, {nullptr, 0}, false);
}

TEST(GetParameter, ReadsTextAsTextAndAsBytes) {
    NODE const node = NodeWith(Text("text"));
    char const* text = nullptr;
    EXPECT_TRUE(node.GetParameter(KEY, PARAM_STRING, &text, SCALAR_INDEX));
    EXPECT_STREQ(text, "text");
    ExpectRead<BIN_STRING>(node, PARAM_BINSTR, SCALAR_INDEX, {text, 4});
    ExpectRead<char const*>(node, PARAM_STRING, 0, text);
    ExpectRead<void*>(node, PARAM_POINTER, SCALAR_INDEX, nullptr, false);
    ExpectNoNumber(node, SCALAR_INDEX);
}

TEST(GetParameter, ReadsBytesAsBytesOnly) {
    NODE const node = NodeWith(Bytes(std::string_view("a\0b", 3)));
    BIN_STRING bytes{nullptr, 0};
    EXPECT_TRUE(node.GetParameter(KEY, PARAM_BINSTR, &bytes, SCALAR_INDEX));
    EXPECT_EQ(std::string(static_cast<char const*>(bytes.data), bytes.length), std::string("a\0b", 3));
    ExpectRead<char const*>(node, PARAM_STRING, SCALAR_INDEX, nullptr, false);
    ExpectNoNumber(node, SCALAR_INDEX);
}

TEST(GetParameter, ReadsAPointerOnlyAsAWhole) {
    int target = 0;
    NODE const node = NodeWith(ENTRY(static_cast<void*>(&target)));
    ExpectRead<void*>(node, PARAM_POINTER, SCALAR_INDEX, &target);
    void* untouched = &untouched;
    EXPECT_FALSE(node.GetParameter(KEY, PARAM_POINTER, &untouched, 0));
    EXPECT_EQ(untouched, &untouched) << "fails without writing";
    ExpectNothing(node, SCALAR_INDEX);
}

TEST(GetParameter, TellsTheTypeOfAVectorAndOfItsElements) {
    NODE const node = NodeWith(Vector({ENTRY(1), Text("text"), ENTRY()}));
    ExpectRead(node, PARAM_NONE, SCALAR_INDEX, PARAM_VECTOR);
    ExpectRead(node, PARAM_NONE, 0, PARAM_DOUBLE);
    ExpectRead(node, PARAM_NONE, 1, PARAM_STRING);
    ExpectRead(node, PARAM_NONE, 2, PARAM_NONE, false);
    ExpectRead(node, PARAM_NONE, 3, PARAM_NONE, false);
    ExpectRead(node, PARAM_NONE, APPEND_INDEX, PARAM_NONE, false);
    ExpectRead(NodeWith(ENTRY()), PARAM_NONE, SCALAR_INDEX, PARAM_NONE, false);
}

TEST(GetParameter, CountsElementsOfTheWholeOnly) {
    EXPECT_EQ(Count(NodeWith(ENTRY(1))), 1u);
    EXPECT_EQ(Count(NodeWith(ENTRY())), 1u);
    EXPECT_EQ(Count(NodeWith(Vector({}))), 0u);
    EXPECT_EQ(Count(NodeWith(Vector({ENTRY(1), ENTRY(2), ENTRY(3)}))), 3u);
    ExpectRead<uint64_t>(NODE(), PARAM_VECTOR, SCALAR_INDEX, 0, false);
    uint64_t untouched = 77;
    EXPECT_FALSE(NodeWith(ENTRY(1)).GetParameter(KEY, PARAM_VECTOR, &untouched, 0));
    EXPECT_FALSE(NodeWith(Vector({ENTRY(1)})).GetParameter(KEY, PARAM_VECTOR, &untouched, APPEND_INDEX));
    EXPECT_EQ(untouched, 77u) << "fails without writing";
}

TEST(GetParameter, ReadsAVectorByItsElementsOnly) {
    NODE const node = NodeWith(Vector({ENTRY(5), ENTRY(6)}));
    ExpectNothing(node, SCALAR_INDEX);
    ExpectRead<void*>(node, PARAM_POINTER, SCALAR_INDEX, nullptr, false);
    ExpectRead(node, PARAM_INT, 0, 5);
    ExpectRead(node, PARAM_INT, 1, 6);
    for (int const index : INDEXES{2, APPEND_INDEX, -3, INT_MIN, INT_MAX}) ExpectNothing(node, index);
}

TEST(GetParameter, WritesTheFailureValueForAbsentKeysAndForANullKey) {
    NODE const node = NodeWith(ENTRY(5));
    for (char const* const key : {static_cast<char const*>(nullptr), "absent", ""}) {
        double number = 5;
        EXPECT_FALSE(node.GetParameter(key, PARAM_DOUBLE, &number, SCALAR_INDEX));
        EXPECT_EQ(number, 0);
        uint64_t count = 5;
        EXPECT_FALSE(node.GetParameter(key, PARAM_VECTOR, &count, SCALAR_INDEX));
        EXPECT_EQ(count, 0u);
        count = 5;
        EXPECT_FALSE(node.GetParameter(key, PARAM_VECTOR, &count, 0));
        EXPECT_EQ(count, 5u);
        void* pointer = &pointer;
        EXPECT_FALSE(node.GetParameter(key, PARAM_POINTER, &pointer, SCALAR_INDEX));
        EXPECT_EQ(pointer, nullptr);
    }
}

TEST(GetParameter, WithoutABufferTestsForExistenceWhateverTheType) {
    NODE node = NodeWith(Vector({ENTRY(1)}));
    node.SetEntry("empty", ENTRY());
    for (unsigned int const type : {0u, 1u, 4u, 6u, 9u, 10u, 12u, 100u, UINT_MAX}) {
        EXPECT_TRUE(node.GetParameter(KEY, Type(type), nullptr, SCALAR_INDEX));
        EXPECT_TRUE(node.GetParameter(KEY, Type(type), nullptr, 0));
        EXPECT_FALSE(node.GetParameter(KEY, Type(type), nullptr, 1));
        EXPECT_FALSE(node.GetParameter(KEY, Type(type), nullptr, APPEND_INDEX));
        EXPECT_TRUE(node.GetParameter("empty", Type(type), nullptr, SCALAR_INDEX));
        EXPECT_FALSE(node.GetParameter("absent", Type(type), nullptr, SCALAR_INDEX));
        EXPECT_FALSE(node.GetParameter(nullptr, Type(type), nullptr, SCALAR_INDEX));
    }
}

TEST(GetParameter, RefusesUnknownTypesWithoutWriting) {
    NODE const node = NodeWith(ENTRY(5));
    for (unsigned int const type : {10u, 12u, 100u, UINT_MAX}) {
        uint64_t untouched = 77;
        EXPECT_FALSE(node.GetParameter(KEY, Type(type), &untouched, SCALAR_INDEX));
        EXPECT_FALSE(node.GetParameter(KEY, Type(type), &untouched, 0));
        EXPECT_FALSE(node.GetParameter(nullptr, Type(type), &untouched, SCALAR_INDEX));
        EXPECT_EQ(untouched, 77u);
    }
}

TEST(GetParameter, WritesToBuffersOfAnyAlignment) {
    NODE const node = NodeWith(ENTRY(2.5));
    MISALIGNED<double> number;
    EXPECT_TRUE(node.GetParameter(KEY, PARAM_DOUBLE, number.Address(), SCALAR_INDEX));
    EXPECT_EQ(number.Value(), 2.5);
}

TEST(GetParameter, PointersStayValidWhileOtherKeysComeAndGoAndTheVectorGrows) {
    NODE node;
    node.SetEntry(KEY, Vector({Text("a text that is too long for the small buffer of a string")}));
    char const* text = nullptr;
    ASSERT_TRUE(node.GetParameter(KEY, PARAM_STRING, &text, 0));
    for (int i = 0; i < 100; ++i) {
        node.AddEntry(KEY, ENTRY(i));
        node.SetEntry(std::to_string(i), ENTRY(i));
    }
    char const* again = nullptr;
    ASSERT_TRUE(node.GetParameter(KEY, PARAM_STRING, &again, 0));
    EXPECT_EQ(text, again);
    EXPECT_STREQ(text, "a text that is too long for the small buffer of a string");
}

}  // namespace
