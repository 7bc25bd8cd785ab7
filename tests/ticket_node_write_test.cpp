// Writing values of a node: every type as a whole value and as an element, deletion, and batches that write or read.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <climits>
#include <cstring>
#include <limits>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

#include "ConfigurationControl/MathLib.h"
#include "ConfigurationControl/MultiPar.h"
#include "support/Misaligned.h"
#include "support/Nodes.h"

namespace {

using namespace nodes;

NODE::TAG TagOf(NODE const& node) {
    ENTRY const* const entry = node.GetEntry(KEY);
    EXPECT_NE(entry, nullptr);
    return entry ? entry->Tag() : NODE::ENTRY_EMPTY;
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

// The value argument of a set: the pointer itself for texts and pointers, otherwise a pointer to the value.
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
                             {KEY, PARAM_NONE, nullptr, 0, false},  // deletes the key, since its value is a scalar
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

// A batch so large that its lookups are prefetched.
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

TEST(Batch, ReadsWhatEarlierRecordsHaveWrittenOverKeysAndRecords) {
    for (int const others : {0, 14, 15, 16}) {  // records of the same group, and of the next one
        SCOPED_TRACE(others);
        NODE node;
        int letter = 0;
        std::memcpy(&letter, "b\0\0", sizeof letter);
        node.SetEntry("a", ENTRY(letter));
        node.SetEntry("b", ENTRY(7));
        node.SetEntry("pointer", ENTRY(const_cast<char*>("b")));
        alignas(int) char key[4] = "c";
        int read[2] = {};
        std::vector<GETMULTIPAR> records = {{"a", PARAM_INT, key, SCALAR_INDEX, false}, {}};
        for (int i = 0; i < others; ++i) records.push_back({"b", PARAM_NONE, nullptr, SCALAR_INDEX, false});
        records.push_back({key, PARAM_INT, &read[0], SCALAR_INDEX, false});
        records.push_back({"c", PARAM_INT, &read[1], SCALAR_INDEX, false});
        records.push_back({});
        records[1] = {"pointer", PARAM_POINTER, &records[records.size() - 2].key, SCALAR_INDEX, false};
        EXPECT_TRUE(node.GetMultiParameter(records.data()));
        EXPECT_THAT(read, testing::ElementsAre(7, 7));
        for (std::size_t i = 0; i + 1 < records.size(); ++i) EXPECT_TRUE(records[i].result) << i;
    }
}

TEST(Batch, StoresUnderKeysThatAreTextsItReplaces) {
    NODE node;
    std::string const name = "the name of another key, too long for the small buffer of a string";
    node.Set("names", name);
    node.SetEntry("vector", ENTRY(ENTRY::VECTOR{ENTRY(name)}));
    char const* key = nullptr;
    char const* element = nullptr;
    ASSERT_TRUE(node.Get("names", key));
    ASSERT_TRUE(node.GetV("vector", 0, element));
    int const value = 5;
    SETMULTIPAR records[] = {{"names", PARAM_INT, &value, SCALAR_INDEX, false},
                             {"vector", PARAM_INT, &value, SCALAR_INDEX, false},
                             {key, PARAM_INT, &value, SCALAR_INDEX, false},
                             {element, PARAM_INT, &value, APPEND_INDEX, false},
                             {nullptr, PARAM_NONE, nullptr, 0, false}};
    EXPECT_TRUE(node.SetMultiParameter(records));
    ASSERT_NE(node.GetEntry(name), nullptr);
    EXPECT_EQ(node.GetEntry(name)->Elements().size(), 2u);
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
