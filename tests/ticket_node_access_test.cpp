// Converting access: the typed getters, every stored value read as every type, and sets of one value or a batch.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <climits>
#include <cmath>
#include <cstring>
#include <initializer_list>
#include <limits>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

#include "ConfigurationControl/MathLib.h"
#include "ConfigurationControl/MultiPar.h"
#include "TicketImpSNode.h"
#include "support/Misaligned.h"

namespace {

using ENTRY = clTICKETNODE::clENTRY;
using NODE = clTICKETNODE;
using INDEXES = std::initializer_list<int>;

constexpr char KEY[] = "key";
constexpr double INFINITE = std::numeric_limits<double>::infinity();
constexpr long long TWO_53 = 1LL << 53;
constexpr unsigned long long TWO_63 = 1ULL << 63;

PARAM_TYPE Type(unsigned int number) {
    return static_cast<PARAM_TYPE>(number);
}

NODE NodeWith(ENTRY entry) {
    NODE node;
    node.SetEntry(KEY, std::move(entry));
    return node;
}

ENTRY Text(char const* text) {
    return ENTRY(std::string(text));
}
ENTRY Bytes(std::string_view bytes) {
    return ENTRY(BIN_STRING{bytes.data(), bytes.size()});
}
ENTRY Vector(ENTRY::VECTOR elements) {
    return ENTRY(std::move(elements));
}

NODE::TAG TagOf(NODE const& node) {
    ENTRY const* const entry = node.GetEntry(KEY);
    EXPECT_NE(entry, nullptr);
    return entry ? entry->Tag() : NODE::ENTRY_EMPTY;
}

uint64_t Count(NODE const& node) {
    uint64_t count = 77;
    EXPECT_TRUE(node.GetParameter(KEY, PARAM_VECTOR, &count, SCALAR_INDEX));
    return count;
}

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

// ---- SetParameter

using VALUE = std::variant<int, unsigned int, long long, unsigned long long, double, char const*, BIN_STRING, void*>;
struct STORED {
    char const* name;
    PARAM_TYPE type;
    VALUE value;
    ENTRY expected;
};

int g_target = 0;
std::vector<STORED> const STORED_CASES = {
    {"Int", PARAM_INT, -5, ENTRY(-5)},
    {"Unsigned", PARAM_UNSIGNED, UINT_MAX, ENTRY(4294967295.0)},
    {"Double", PARAM_DOUBLE, 2.5, ENTRY(2.5)},
    {"Infinity", PARAM_DOUBLE, INFINITE, ENTRY(INFINITE)},
    {"Int64", PARAM_INT64, -TWO_53 - 1, ENTRY(-TWO_53 - 1)},
    {"Int64ThatADoubleHolds", PARAM_INT64, -TWO_53, ENTRY(-9007199254740992.0)},
    {"Uint64", PARAM_UINT64, TWO_63, ENTRY(TWO_63)},
    {"Uint64ThatInt64Holds", PARAM_UINT64, TWO_63 - 1, ENTRY(LLONG_MAX)},
    {"Uint64ThatADoubleHolds", PARAM_UINT64, 1ULL << 53, ENTRY(9007199254740992.0)},
    {"Text", PARAM_STRING, "text", Text("text")},
    {"NullText", PARAM_STRING, static_cast<char const*>(nullptr), Text("")},
    {"Bytes", PARAM_BINSTR, BIN_STRING{"a\0b", 3}, Bytes(std::string_view("a\0b", 3))},
    {"NullBytes", PARAM_BINSTR, BIN_STRING{nullptr, 9}, Bytes("")},
    {"Pointer", PARAM_POINTER, static_cast<void*>(&g_target), ENTRY(static_cast<void*>(&g_target))},
    {"NullPointer", PARAM_POINTER, static_cast<void*>(nullptr), ENTRY(static_cast<void*>(nullptr))},
};

// What a set's value argument is: the pointer itself for text and pointers, otherwise a pointer to the value.
void const* Argument(VALUE const& value) {
    if (auto const* text = std::get_if<char const*>(&value)) return *text;
    if (auto const* pointer = std::get_if<void*>(&value)) return *pointer;
    return std::visit([](auto const& held) -> void const* { return &held; }, value);
}

void ExpectSame(ENTRY const* entry, ENTRY const& expected) {
    ASSERT_NE(entry, nullptr);
    ASSERT_EQ(entry->Tag(), expected.Tag());
    switch (expected.Tag()) {
        case NODE::ENTRY_STRING:
        case NODE::ENTRY_BINARY:
            EXPECT_EQ(entry->Text(), expected.Text());
            break;
        case NODE::ENTRY_NUMBER:
            EXPECT_EQ(std::memcmp(&entry->Number(), &expected.Number(), sizeof(double)), 0) << entry->Number();
            break;
        case NODE::ENTRY_POINTER:
            EXPECT_EQ(entry->Pointer(), expected.Pointer());
            break;
        case NODE::ENTRY_INT64:
            EXPECT_EQ(entry->Int64(), expected.Int64());
            break;
        case NODE::ENTRY_UINT64:
            EXPECT_EQ(entry->Uint64(), expected.Uint64());
            break;
        default:
            ADD_FAILURE() << "no scalar";
    }
}

class SetParameterStores : public testing::TestWithParam<STORED> {};

TEST_P(SetParameterStores, AWholeValue) {
    for (NODE node : {NODE(), NodeWith(ENTRY(1)), NodeWith(Vector({ENTRY(1), ENTRY(2)})), NodeWith(Text("text"))}) {
        EXPECT_TRUE(node.SetParameter(KEY, GetParam().type, Argument(GetParam().value), SCALAR_INDEX));
        ExpectSame(node.GetEntry(KEY), GetParam().expected);
    }
}

TEST_P(SetParameterStores, AnAppendedValue) {
    NODE node;
    EXPECT_TRUE(node.SetParameter(KEY, GetParam().type, Argument(GetParam().value), APPEND_INDEX));
    ExpectSame(node.GetEntry(KEY), GetParam().expected);
    for (int count = 2; count <= 3; ++count) {
        EXPECT_TRUE(node.SetParameter(KEY, GetParam().type, Argument(GetParam().value), APPEND_INDEX));
        EXPECT_EQ(Count(node), static_cast<uint64_t>(count));
        ExpectSame(node.GetEntry(KEY, count - 1), GetParam().expected);
    }
}

TEST_P(SetParameterStores, AnElement) {
    NODE node;
    EXPECT_TRUE(node.SetParameter(KEY, GetParam().type, Argument(GetParam().value), 0));
    EXPECT_EQ(TagOf(node), NODE::ENTRY_VECTOR);
    node.SetEntry(KEY, ENTRY(1));
    EXPECT_TRUE(node.SetParameter(KEY, GetParam().type, Argument(GetParam().value), 1));
    EXPECT_EQ(Count(node), 2u);
    ExpectSame(node.GetEntry(KEY, 1), GetParam().expected);
    EXPECT_TRUE(node.SetParameter(KEY, GetParam().type, Argument(GetParam().value), 0));
    EXPECT_EQ(Count(node), 2u);
    ExpectSame(node.GetEntry(KEY, 0), GetParam().expected);
}

INSTANTIATE_TEST_SUITE_P(Values, SetParameterStores, testing::ValuesIn(STORED_CASES),
                         [](auto const& test) { return test.param.name; });

TEST(SetParameter, ReadsValuesOfAnyAlignment) {
    NODE node;
    MISALIGNED<int64_t> number(TWO_53 + 1);
    EXPECT_TRUE(node.SetParameter(KEY, PARAM_INT64, number.Address(), SCALAR_INDEX));
    EXPECT_EQ(node.GetEntry(KEY)->Int64(), TWO_53 + 1);
}

TEST(SetParameter, StoresOneNaNForAll) {
    uint64_t const bits = 0xFFF800000000BEEF;
    double strange = 0;
    std::memcpy(&strange, &bits, sizeof strange);
    NODE node;
    EXPECT_TRUE(node.SetParameter(KEY, PARAM_DOUBLE, &strange, SCALAR_INDEX));
    ExpectSame(node.GetEntry(KEY), ENTRY(MathLib::NOT_A_DOUBLE_NUMBER));
}

TEST(SetParameter, RefusesNullValuesBeforeAnythingChanges) {
    for (PARAM_TYPE const type : {PARAM_INT, PARAM_UNSIGNED, PARAM_DOUBLE, PARAM_INT64, PARAM_UINT64, PARAM_BINSTR}) {
        for (int const index : INDEXES{SCALAR_INDEX, APPEND_INDEX, 0, 5, -3}) {
            NODE node = NodeWith(ENTRY(5));
            EXPECT_FALSE(node.SetParameter(KEY, type, nullptr, index));
            EXPECT_EQ(TagOf(node), NODE::ENTRY_NUMBER);
            EXPECT_FALSE(node.SetParameter("absent", type, nullptr, index));
            EXPECT_EQ(node.GetEntry("absent"), nullptr);
        }
    }
}

TEST(SetParameter, RefusesVectorsUnknownTypesAndANullKeyWhateverTheIndex) {
    uint64_t const value = 5;
    for (int const index : INDEXES{SCALAR_INDEX, APPEND_INDEX, 0, 5, -3}) {
        for (unsigned int const type : {6u, 10u, 12u, 100u, UINT_MAX}) {
            NODE node = NodeWith(ENTRY(5));
            EXPECT_FALSE(node.SetParameter(KEY, Type(type), &value, index));
            EXPECT_FALSE(node.SetParameter(KEY, Type(type), nullptr, index));
            EXPECT_EQ(TagOf(node), NODE::ENTRY_NUMBER);
        }
        NODE node;
        EXPECT_FALSE(node.SetParameter(nullptr, PARAM_UINT64, &value, index));
        EXPECT_FALSE(node.SetParameter(nullptr, PARAM_NONE, nullptr, index));
    }
}

TEST(SetParameter, DeletesTheKeyOrOneElement) {
    NODE node = NodeWith(Vector({ENTRY(1), ENTRY(2)}));
    EXPECT_FALSE(node.SetParameter(KEY, PARAM_NONE, nullptr, 2));
    EXPECT_TRUE(node.SetParameter(KEY, PARAM_NONE, nullptr, 0));
    EXPECT_EQ(Count(node), 1u);
    EXPECT_TRUE(node.SetParameter(KEY, PARAM_NONE, nullptr, SCALAR_INDEX));
    EXPECT_EQ(node.GetEntry(KEY), nullptr);
    EXPECT_FALSE(node.SetParameter(KEY, PARAM_NONE, nullptr, SCALAR_INDEX));
}

TEST(SetParameter, RefusesADeletionWithAValueAndKeepsTheKey) {
    int value = 0;
    NODE node = NodeWith(ENTRY(5));
    EXPECT_FALSE(node.SetParameter(KEY, PARAM_NONE, &value, SCALAR_INDEX));
    EXPECT_FALSE(node.SetParameter(KEY, PARAM_NONE, &value, 0));
    EXPECT_EQ(TagOf(node), NODE::ENTRY_NUMBER);
}

TEST(SetParameter, RefusesADeletionWithAppendOrAnotherNegativeIndexAndConvertsNothing) {
    NODE node = NodeWith(ENTRY(5));
    for (int const index : INDEXES{APPEND_INDEX, -3, INT_MIN}) {
        EXPECT_FALSE(node.SetParameter(KEY, PARAM_NONE, nullptr, index));
        EXPECT_FALSE(node.SetParameter("absent", PARAM_NONE, nullptr, index));
    }
    EXPECT_EQ(TagOf(node), NODE::ENTRY_NUMBER);
    EXPECT_EQ(node.GetEntry("absent"), nullptr);
}

TEST(SetParameter, LeavesAVectorBehindARefusedIndex) {
    double const number = 1.5;
    for (int const index : INDEXES{5, 2, -3, INT_MIN, INT_MAX}) {
        NODE node = NodeWith(ENTRY(7));
        EXPECT_FALSE(node.SetParameter(KEY, PARAM_DOUBLE, &number, index));
        EXPECT_EQ(TagOf(node), NODE::ENTRY_VECTOR);
        EXPECT_EQ(Count(node), 1u);
        EXPECT_EQ(node.GetEntry(KEY, 0)->Number(), 7);
        EXPECT_FALSE(node.SetParameter("absent", PARAM_DOUBLE, &number, index));
        EXPECT_TRUE(node.GetEntry("absent")->Elements().empty());
    }
}

TEST(SetParameter, AcceptsTextAndBytesThatPointIntoTheEntryThatChanges) {
    std::string const longText(100, 'x');
    for (int const index : INDEXES{SCALAR_INDEX, APPEND_INDEX, 0, 1}) {
        NODE node;
        node.Set(KEY, longText);
        char const* text = nullptr;
        ASSERT_TRUE(node.GetParameter(KEY, PARAM_STRING, &text, SCALAR_INDEX));
        EXPECT_TRUE(node.SetParameter(KEY, PARAM_STRING, text + 1, index));
        ENTRY const& last = index == SCALAR_INDEX ? *node.GetEntry(KEY) : node.GetEntry(KEY)->Elements().back();
        EXPECT_EQ(last.Text(), longText.substr(1));

        node.Set(KEY, longText);
        BIN_STRING bytes{nullptr, 0};
        ASSERT_TRUE(node.GetParameter(KEY, PARAM_BINSTR, &bytes, SCALAR_INDEX));
        EXPECT_TRUE(node.SetParameter(KEY, PARAM_BINSTR, &bytes, index));
    }
}

TEST(SetParameter, AcceptsNumbersThatPointIntoTheVectorThatChanges) {
    NODE node = NodeWith(Vector({ENTRY(1.5), ENTRY(2.5)}));
    EXPECT_TRUE(node.SetParameter(KEY, PARAM_DOUBLE, &node.GetEntry(KEY, 1)->Number(), APPEND_INDEX));
    EXPECT_EQ(node.GetEntry(KEY, 2)->Number(), 2.5);
    EXPECT_TRUE(node.SetParameter(KEY, PARAM_DOUBLE, &node.GetEntry(KEY, 2)->Number(), SCALAR_INDEX));
    EXPECT_EQ(node.GetEntry(KEY)->Number(), 2.5);
}

TEST(SetParameter, FailsForAByteStringOfAbsurdLengthAndChangesNothing) {
    NODE node = NodeWith(ENTRY(5));
    BIN_STRING const absurd{"x", std::numeric_limits<uint64_t>::max()};
    for (int const index : INDEXES{SCALAR_INDEX, APPEND_INDEX, 0}) {
        EXPECT_FALSE(node.SetParameter(KEY, PARAM_BINSTR, &absurd, index));
        EXPECT_EQ(TagOf(node), NODE::ENTRY_NUMBER);
    }
}

// ---- Batches

TEST(Batch, FailsOnlyForANullArray) {
    NODE node;
    EXPECT_FALSE(node.GetMultiParameter(nullptr));
    EXPECT_FALSE(node.SetMultiParameter(nullptr));
    GETMULTIPAR get[] = {{nullptr, PARAM_NONE, nullptr, 0, false}};
    SETMULTIPAR set[] = {{nullptr, PARAM_NONE, nullptr, 0, false}};
    EXPECT_TRUE(node.GetMultiParameter(get));
    EXPECT_TRUE(node.SetMultiParameter(set));
}

TEST(Batch, ReadsEachRecordAndTellsEachResult) {
    NODE node = NodeWith(Vector({ENTRY(1), Text("text")}));
    int number = 7;
    char const* text = nullptr;
    int failed = 7;
    GETMULTIPAR records[] = {{KEY, PARAM_INT, &number, 0, false},
                             {KEY, PARAM_STRING, &text, 1, false},
                             {KEY, PARAM_INT, &failed, 1, true},
                             {"absent", PARAM_INT, nullptr, SCALAR_INDEX, true},
                             {nullptr, PARAM_NONE, nullptr, 0, false}};
    EXPECT_TRUE(node.GetMultiParameter(records));
    EXPECT_TRUE(records[0].result);
    EXPECT_TRUE(records[1].result);
    EXPECT_FALSE(records[2].result);
    EXPECT_FALSE(records[3].result);
    EXPECT_EQ(number, 1);
    EXPECT_STREQ(text, "text");
    EXPECT_EQ(failed, 0);
}

TEST(Batch, EndsAtAnEmptyKey) {
    NODE node = NodeWith(ENTRY(5));
    int first = 0;
    int second = 7;
    GETMULTIPAR get[] = {{KEY, PARAM_INT, &first, SCALAR_INDEX, false},
                         {"", PARAM_INT, &second, SCALAR_INDEX, false},
                         {KEY, PARAM_INT, &second, SCALAR_INDEX, false},
                         {nullptr, PARAM_NONE, nullptr, 0, false}};
    EXPECT_TRUE(node.GetMultiParameter(get));
    EXPECT_EQ(first, 5);
    EXPECT_EQ(second, 7);
    EXPECT_FALSE(get[2].result);

    SETMULTIPAR set[] = {{"a", PARAM_INT, &first, SCALAR_INDEX, false},
                         {"", PARAM_INT, &second, SCALAR_INDEX, true},
                         {"b", PARAM_INT, &second, SCALAR_INDEX, true},
                         {nullptr, PARAM_NONE, nullptr, 0, false}};
    EXPECT_TRUE(node.SetMultiParameter(set));
    EXPECT_TRUE(set[0].result);
    EXPECT_TRUE(set[1].result) << "not reached, not written";
    EXPECT_NE(node.GetEntry("a"), nullptr);
    EXPECT_EQ(node.GetEntry("b"), nullptr);
}

TEST(Batch, StoresInOrderAndGoesOnAfterAFailure) {
    NODE node;
    int const one = 1;
    double const two = 2.5;
    SETMULTIPAR records[] = {{KEY, PARAM_INT, &one, SCALAR_INDEX, false},
                             {KEY, PARAM_VECTOR, &one, SCALAR_INDEX, true},
                             {KEY, PARAM_INT, nullptr, SCALAR_INDEX, true},
                             {KEY, PARAM_DOUBLE, &two, 1, false},
                             {KEY, PARAM_DOUBLE, &two, 5, true},
                             {KEY, PARAM_STRING, "three", APPEND_INDEX, false},
                             {"gone", PARAM_INT, &one, SCALAR_INDEX, false},
                             {"gone", PARAM_NONE, nullptr, SCALAR_INDEX, false},
                             {"gone", PARAM_NONE, nullptr, SCALAR_INDEX, true},
                             {nullptr, PARAM_NONE, nullptr, 0, false}};
    EXPECT_TRUE(node.SetMultiParameter(records));
    bool const expected[] = {true, false, false, true, false, true, true, true, false};
    for (std::size_t i = 0; i < std::size(expected); ++i) EXPECT_EQ(records[i].result, expected[i]) << i;
    EXPECT_EQ(Count(node), 3u);
    EXPECT_EQ(node.GetEntry(KEY, 0)->Number(), 1);
    EXPECT_EQ(node.GetEntry(KEY, 1)->Number(), 2.5);
    EXPECT_EQ(node.GetEntry(KEY, 2)->Text(), "three");
    EXPECT_EQ(node.GetEntry("gone"), nullptr);
}

TEST(Batch, ReadsAllValuesBeforeItStoresAny) {
    NODE node;
    std::string const a(100, 'a');
    std::string const b(100, 'b');
    node.Set("a", a);
    node.Set("b", b);
    char const* readA = nullptr;
    char const* readB = nullptr;
    ASSERT_TRUE(node.Get("a", readA));
    ASSERT_TRUE(node.Get("b", readB));
    SETMULTIPAR swap[] = {{"a", PARAM_STRING, readB, SCALAR_INDEX, false},
                          {"b", PARAM_STRING, readA, SCALAR_INDEX, false},
                          {nullptr, PARAM_NONE, nullptr, 0, false}};
    EXPECT_TRUE(node.SetMultiParameter(swap));
    EXPECT_EQ(node.GetEntry("a")->Text(), b);
    EXPECT_EQ(node.GetEntry("b")->Text(), a);
}

TEST(Batch, AcceptsKeysThatItsOwnRecordsDelete) {
    NODE node;
    std::string const name = "the name of another key, too long for the small buffer of a string";
    node.Set("names", name);
    char const* key = nullptr;
    ASSERT_TRUE(node.Get("names", key));
    int const value = 5;
    SETMULTIPAR records[] = {{"names", PARAM_NONE, nullptr, SCALAR_INDEX, false},
                             {key, PARAM_INT, &value, SCALAR_INDEX, false},
                             {key, PARAM_INT, &value, APPEND_INDEX, false},
                             {nullptr, PARAM_NONE, nullptr, 0, false}};
    EXPECT_TRUE(node.SetMultiParameter(records));
    EXPECT_EQ(node.GetEntry("names"), nullptr);
    ASSERT_NE(node.GetEntry(name), nullptr);
    EXPECT_EQ(node.GetEntry(name)->Elements().size(), 2u);
}

TEST(Batch, MakesAKeyAnewAfterItsOwnRecordsDeletedIt) {
    NODE node;
    int const values[] = {1, 2, 3};
    SETMULTIPAR records[] = {{KEY, PARAM_INT, &values[0], SCALAR_INDEX, false},
                             {KEY, PARAM_NONE, nullptr, 0, false},  // of a scalar: the key
                             {KEY, PARAM_INT, &values[1], 0, false},
                             {KEY, PARAM_NONE, nullptr, SCALAR_INDEX, false},
                             {KEY, PARAM_INT, &values[2], APPEND_INDEX, false},
                             {nullptr, PARAM_NONE, nullptr, 0, false}};
    EXPECT_TRUE(node.SetMultiParameter(records));
    EXPECT_TRUE(AllMultiParameterOk(records));
    ASSERT_NE(node.GetEntry(KEY), nullptr);
    EXPECT_EQ(node.GetEntry(KEY)->Tag(), NODE::ENTRY_NUMBER);
    EXPECT_EQ(node.GetEntry(KEY)->Number(), 3);
}

TEST(Batch, FindsKeysThatTakeTurnsAndElementsOfOneKey) {
    NODE node;
    node.Set("a", 0, 1.0);
    node.Set("a", 1, 2.0);
    node.Set("b", 7);
    char const again[] = "a";
    int read[5] = {};
    GETMULTIPAR records[] = {{"a", PARAM_INT, &read[0], 0, false},    {"a", PARAM_INT, &read[1], 1, false},
                             {"a", PARAM_INT, &read[2], 2, true},     {"b", PARAM_INT, &read[3], SCALAR_INDEX, false},
                             {again, PARAM_INT, &read[4], 1, false},  {"c", PARAM_NONE, nullptr, SCALAR_INDEX, true},
                             {nullptr, PARAM_NONE, nullptr, 0, false}};
    EXPECT_TRUE(node.GetMultiParameter(records));
    EXPECT_THAT(read, testing::ElementsAre(1, 2, 0, 7, 2));
    EXPECT_FALSE(records[2].result);
    EXPECT_FALSE(records[5].result);
}

// Enough keys for the lookups of a batch to be prepared ahead.
TEST(Batch, ReadsManyKeysOfALargeNode) {
    constexpr int KEYS = 20000;
    NODE node;
    std::vector<std::string> keys;
    for (int i = 0; i < KEYS; ++i) {
        keys.push_back("Group/Key" + std::to_string(i));
        if (i % 3 != 0) node.Set(keys.back(), static_cast<unsigned long long>(i));
    }
    for (std::size_t const size : {1u, 15u, 16u, 17u, 1000u}) {
        std::vector<int> read(size, -1);
        std::vector<GETMULTIPAR> records;
        for (std::size_t i = 0; i < size; ++i)
            records.push_back({keys[i * 17].c_str(), PARAM_INT, &read[i], SCALAR_INDEX, false});
        records.push_back({});
        EXPECT_TRUE(node.GetMultiParameter(records.data()));
        for (std::size_t i = 0; i < size; ++i) {
            int const number = static_cast<int>(i) * 17;
            EXPECT_EQ(records[i].result, number % 3 != 0) << number;
            EXPECT_EQ(read[i], number % 3 != 0 ? number : 0);
        }
    }
}

TEST(Batch, RefusesOnlyTheRecordWhoseByteStringIsAbsurd) {
    NODE node;
    BIN_STRING const absurd{"x", std::numeric_limits<uint64_t>::max()};
    int const value = 5;
    SETMULTIPAR records[] = {{"a", PARAM_BINSTR, &absurd, SCALAR_INDEX, true},
                             {"b", PARAM_INT, &value, SCALAR_INDEX, false},
                             {nullptr, PARAM_NONE, nullptr, 0, false}};
    EXPECT_TRUE(node.SetMultiParameter(records));
    EXPECT_FALSE(records[0].result);
    EXPECT_TRUE(records[1].result);
}

}  // namespace
