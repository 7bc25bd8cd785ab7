// The batch list: adding, the table it returns, and collecting from tickets.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <limits>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <type_traits>
#include <vector>

#include "ConfigurationControl/MathLib.h"
#include "ConfigurationControl/MultiParList.h"
#include "support/FakeTicket.h"
#include "support/Misaligned.h"
#include "support/Records.h"

namespace {

using testing::ElementsAre;

static_assert(!std::is_copy_constructible_v<SETMULTIPAR_LIST> && !std::is_copy_assignable_v<SETMULTIPAR_LIST>);

std::vector<std::string> Records(SETMULTIPAR_LIST& list, bool sort = false) {
    return records::Lines(list.Table(sort), list.Size());
}

std::vector<std::string> Keys(SETMULTIPAR const* table) {
    std::vector<std::string> keys;
    for (; table && table->key; ++table) keys.emplace_back(table->key);
    return keys;
}

bool AllZero(SETMULTIPAR const& record) {
    static SETMULTIPAR const zero{};
    return std::memcmp(&record.key, &zero.key, sizeof zero.key) == 0 && record.type == PARAM_NONE && !record.value &&
           record.index == 0 && !record.result;
}

void AddInt(SETMULTIPAR_LIST& list, char const* key, int value, int index = SCALAR_INDEX) {
    EXPECT_TRUE(list.xSetParameter(key, PARAM_INT, &value, index));
}

// A fake ticket that reports every kind of value that this library's tickets report in a full walk.
class Collecting : public testing::Test {
 protected:
    int m_seven = 7;
    double m_half = 0.5;
    long long m_big = -9007199254740993;
    unsigned long long m_huge = 18446744073709551615U;
    BIN_STRING m_bytes{"by", 2};
    uint64_t m_count = 2;
    FAKE_TICKET m_ticket;

    Collecting() {
        m_ticket.entries = {{"a/int", PARAM_INT, &m_seven, -1},       {"a/text", PARAM_STRING, "text", -1},
                            {"b/bytes", PARAM_BINSTR, &m_bytes, -1},  {"b/double", PARAM_DOUBLE, &m_half, -1},
                            {"b/int64", PARAM_INT64, &m_big, -1},     {"b/none", PARAM_NONE, nullptr, -1},
                            {"b/uint64", PARAM_UINT64, &m_huge, -1},  {"b/vector", PARAM_VECTOR, &m_count, -1},
                            {"c/elements", PARAM_STRING, "first", 0}, {"c/elements", PARAM_STRING, "second", 1},
                            {"c/pointer", PARAM_POINTER, nullptr, -1}};
    }

    std::vector<std::string> Everything() const {
        return {"a/int[-1] 2 7",
                "a/text[-1] 4 text",
                "b/bytes[-1] 5 by",
                "b/double[-1] 3 0.500000",
                "b/int64[-1] 7 -9007199254740993",
                "b/uint64[-1] 9 18446744073709551615",
                "c/elements[-1] 4 first",
                "c/elements[1] 4 second",
                "c/pointer[-1] 1 (null)"};
    }
};

TEST(BatchList, AnEmptyListHasNoTable) {
    SETMULTIPAR_LIST list;
    EXPECT_EQ(list.Table(false), nullptr);
    EXPECT_EQ(list.Table(true), nullptr);
    EXPECT_EQ(list.Size(), 0u);
}

TEST(BatchList, TheTableEndsAtAnAllZeroRecord) {
    SETMULTIPAR_LIST list;
    AddInt(list, "a", 1);
    SETMULTIPAR const* const table = list.Table(false);
    ASSERT_NE(table, nullptr);
    EXPECT_EQ(records::Line(table[0]), "a[-1] 2 1");
    EXPECT_FALSE(table[0].result);
    EXPECT_TRUE(AllZero(table[1]));
    EXPECT_EQ(list.Size(), 1u);
}

TEST(BatchList, ASortedTableStaysAndLaterRecordsFollowIt) {
    SETMULTIPAR_LIST list;
    AddInt(list, "b", 1);
    AddInt(list, "a", 2);
    SETMULTIPAR const* const sorted = list.Table(true);
    EXPECT_THAT(Keys(sorted), ElementsAre("a", "b"));
    list.Table(false)[0].result = true;
    EXPECT_EQ(list.Table(true), sorted);
    EXPECT_EQ(list.Table(false), sorted);
    EXPECT_TRUE(sorted[0].result) << "not made anew";
    AddInt(list, "c", 3);
    EXPECT_THAT(Keys(list.Table(false)), ElementsAre("a", "b", "c"));
}

TEST(BatchList, AnUnsortedTableIsKeptUntilSortingIsAskedFor) {
    SETMULTIPAR_LIST list;
    AddInt(list, "b", 1);
    AddInt(list, "a", 2);
    SETMULTIPAR const* const table = list.Table(false);
    EXPECT_THAT(Keys(table), ElementsAre("b", "a"));
    EXPECT_EQ(list.Table(false), table);
    EXPECT_THAT(Keys(list.Table(true)), ElementsAre("a", "b"));
}

TEST(BatchList, SortingIsStableByByteOrderWithNullKeysLast) {
    SETMULTIPAR_LIST list;
    char const* const keys[] = {"b", nullptr, "\x80", "a", "b", nullptr, "", "ab"};
    int order = 0;
    for (char const* key : keys) AddInt(list, key, order++);
    EXPECT_THAT(Records(list, true), ElementsAre("[-1] 2 6", "a[-1] 2 3", "ab[-1] 2 7", "b[-1] 2 0", "b[-1] 2 4",
                                                 "\x80[-1] 2 2", "(null)[-1] 2 1", "(null)[-1] 2 5"));
}

TEST(BatchList, SortingKeepsTheOrderOfManyRecordsOfEachKey) {
    SETMULTIPAR_LIST list;
    for (int i = 0; i < 100; ++i) AddInt(list, i % 2 ? "a" : "b", i);
    std::vector<std::string> expected;
    for (int i = 1; i < 100; i += 2) expected.push_back("a[-1] 2 " + std::to_string(i));
    for (int i = 0; i < 100; i += 2) expected.push_back("b[-1] 2 " + std::to_string(i));
    EXPECT_EQ(Records(list, true), expected);
}

TEST(BatchList, ResultsWrittenIntoATableDoNotReachTheNextOne) {
    SETMULTIPAR_LIST list;
    AddInt(list, "a", 1);
    list.Table(false)[0].result = true;
    AddInt(list, "b", 2);
    EXPECT_FALSE(list.Table(false)[0].result);
}

TEST(BatchList, EqualValuesShareTheStoredCopyWhichOutlivesTheCallersVariable) {
    SETMULTIPAR_LIST list;
    {
        auto const first = std::make_unique<int>(42);
        auto const second = std::make_unique<int>(42);
        list.xSetParameter("a", PARAM_INT, first.get(), SCALAR_INDEX);
        list.xSetParameter("b", PARAM_INT, second.get(), SCALAR_INDEX);
    }
    SETMULTIPAR const* const table = list.Table(false);
    EXPECT_EQ(table[0].value, table[1].value);
    EXPECT_EQ(*static_cast<int const*>(table[0].value), 42);
}

TEST(BatchList, CopiesTheKeyAndTheValueOfEveryType) {
    SETMULTIPAR_LIST list;
    std::string key = "key that is too long for a small string";
    std::string text = "text that is too long for a small string";
    int number = -5;
    unsigned int natural = 4000000000U;
    double real = 2.5;
    long long big = std::numeric_limits<long long>::min();
    unsigned long long huge = std::numeric_limits<unsigned long long>::max();
    char data[] = "bytes";
    BIN_STRING bytes{data, 5};
    char const* const k = key.c_str();
    EXPECT_TRUE(list.xSetParameter(k, PARAM_INT, &number, 0));
    EXPECT_TRUE(list.xSetParameter(k, PARAM_DOUBLE, &real, 1));
    EXPECT_TRUE(list.xSetParameter(k, PARAM_STRING, text.c_str(), -1));
    EXPECT_TRUE(list.xSetParameter(k, PARAM_BINSTR, &bytes, -2));
    EXPECT_TRUE(list.xSetParameter(k, PARAM_INT64, &big, 4));
    EXPECT_TRUE(list.xSetParameter(k, PARAM_UNSIGNED, &natural, 5));
    EXPECT_TRUE(list.xSetParameter(k, PARAM_UINT64, &huge, 6));

    std::string const name = key;
    key.assign(key.size(), 'x');
    text.assign(text.size(), 'x');
    number = 0, natural = 0, real = 0, big = 0, huge = 0, bytes = {}, data[0] = 'x';
    EXPECT_THAT(Records(list), ElementsAre(name + "[0] 2 -5", name + "[1] 3 2.500000",
                                           name + "[-1] 4 text that is too long for a small string",
                                           name + "[-2] 5 bytes", name + "[4] 7 -9223372036854775808",
                                           name + "[5] 8 4000000000", name + "[6] 9 18446744073709551615"));
}

TEST(BatchList, CopiesValuesFromAnyAlignment) {
    SETMULTIPAR_LIST list;
    MISALIGNED<int> number(-5);
    MISALIGNED<unsigned int> natural(4000000000U);
    MISALIGNED<double> real(2.5);
    MISALIGNED<int64_t> big(-9007199254740993);
    MISALIGNED<uint64_t> huge(18446744073709551615U);
    MISALIGNED<BIN_STRING> bytes({"bytes", 5});
    list.xSetParameter("k", PARAM_INT, number.Address(), SCALAR_INDEX);
    list.xSetParameter("k", PARAM_UNSIGNED, natural.Address(), SCALAR_INDEX);
    list.xSetParameter("k", PARAM_DOUBLE, real.Address(), SCALAR_INDEX);
    list.xSetParameter("k", PARAM_INT64, big.Address(), SCALAR_INDEX);
    list.xSetParameter("k", PARAM_UINT64, huge.Address(), SCALAR_INDEX);
    list.xSetParameter("k", PARAM_BINSTR, bytes.Address(), SCALAR_INDEX);
    EXPECT_THAT(Records(list),
                ElementsAre("k[-1] 2 -5", "k[-1] 8 4000000000", "k[-1] 3 2.500000", "k[-1] 7 -9007199254740993",
                            "k[-1] 9 18446744073709551615", "k[-1] 5 bytes"));
}

TEST(BatchList, KeepsTheCallersPointerOfTypesItCannotCopy) {
    SETMULTIPAR_LIST list;
    int object = 0;
    unsigned int const types[] = {PARAM_NONE, PARAM_POINTER, PARAM_VECTOR, 10, 12, 100, 0xFFFFFFFFU};
    for (unsigned int type : types) list.xSetParameter("k", static_cast<PARAM_TYPE>(type), &object, SCALAR_INDEX);
    SETMULTIPAR const* record = list.Table(false);
    for (unsigned int type : types) {
        EXPECT_EQ(record->value, &object) << type;
        EXPECT_EQ(record->type, type);
        ++record;
    }
}

TEST(BatchList, ANullValueStaysNullForEveryType) {
    SETMULTIPAR_LIST list;
    for (unsigned int type = 0; type <= 11; ++type) {
        EXPECT_TRUE(list.xSetParameter("k", static_cast<PARAM_TYPE>(type), nullptr, SCALAR_INDEX));
        EXPECT_TRUE(list.ySetParameter("k", static_cast<PARAM_TYPE>(type), nullptr, SCALAR_INDEX));
    }
    SETMULTIPAR const* const table = list.Table(false);
    for (std::size_t i = 0; i < list.Size(); ++i) EXPECT_EQ(table[i].value, nullptr);
}

TEST(BatchList, ADoubleThatIsNotANumberBecomesTheSharedNan) {
    SETMULTIPAR_LIST list;
    double const values[] = {std::numeric_limits<double>::quiet_NaN(), -std::numeric_limits<double>::quiet_NaN(),
                             std::numeric_limits<double>::infinity(), -std::numeric_limits<double>::infinity()};
    for (double const& value : values) list.xSetParameter("k", PARAM_DOUBLE, &value, SCALAR_INDEX);
    for (std::size_t i = 0; i < list.Size(); ++i) {
        EXPECT_EQ(list.Table(false)[i].value, &MathLib::NOT_A_DOUBLE_NUMBER);
        EXPECT_TRUE(std::isnan(*static_cast<double const*>(list.Table(false)[i].value)));
    }
}

TEST(BatchList, AByteStringWithoutDataIsEmpty) {
    SETMULTIPAR_LIST list;
    BIN_STRING const bytes{nullptr, 99};
    list.xSetParameter("k", PARAM_BINSTR, &bytes, SCALAR_INDEX);
    EXPECT_THAT(Records(list), ElementsAre("k[-1] 5 "));
}

TEST(BatchList, AValueTooLargeToCopyThrowsAndAddsNoRecord) {
    SETMULTIPAR_LIST list;
    BIN_STRING const stored{"xyz", 3};
    BIN_STRING const bytes{"x", std::numeric_limits<uint64_t>::max()};
    for (uint64_t before : {0u, 1u}) {
        EXPECT_ANY_THROW(list.xSetParameter("k", PARAM_BINSTR, &bytes, SCALAR_INDEX));
        EXPECT_EQ(list.Size(), before);
        EXPECT_FALSE(list.ParameterExists("k"));
        list.xSetParameter("stored", PARAM_BINSTR, &stored, SCALAR_INDEX);
    }
}

TEST(BatchList, KnowsExactlyTheKeysAddedSinceTheLastClear) {
    SETMULTIPAR_LIST list;
    AddInt(list, "a/b", 1);
    AddInt(list, nullptr, 1);
    EXPECT_TRUE(list.ParameterExists("a/b"));
    EXPECT_FALSE(list.ParameterExists("a/"));
    EXPECT_FALSE(list.ParameterExists("a/bc"));
    EXPECT_FALSE(list.ParameterExists(nullptr));
    list.Clear();
    EXPECT_FALSE(list.ParameterExists("a/b"));
}

TEST(BatchList, ClearEmptiesItForNewUse) {
    SETMULTIPAR_LIST list;
    AddInt(list, "b", 1);
    AddInt(list, "a", 2);
    list.Table(true);
    list.Clear();
    EXPECT_EQ(list.Size(), 0u);
    EXPECT_EQ(list.Table(false), nullptr);
    AddInt(list, "d", 3);
    AddInt(list, "c", 4);
    EXPECT_THAT(Keys(list.Table(false)), ElementsAre("d", "c"));
    EXPECT_THAT(Keys(list.Table(true)), ElementsAre("c", "d")) << "not sorted any more";
}

TEST(BatchList, MayBeGivenItsOwnKeysAndValues) {
    SETMULTIPAR_LIST list;
    BIN_STRING const bytes{"bytes", 5};
    list.xSetParameter("text", PARAM_STRING, "a text that is too long for a small string", SCALAR_INDEX);
    list.xSetParameter("bytes", PARAM_BINSTR, &bytes, SCALAR_INDEX);
    for (int i = 0; i < 100; ++i) {
        SETMULTIPAR const text = list.Table(false)[0];
        SETMULTIPAR const binary = list.Table(false)[1];
        list.xSetParameter(text.key, text.type, text.value, SCALAR_INDEX);
        list.xSetParameter(binary.key, binary.type, binary.value, SCALAR_INDEX);
    }
    SETMULTIPAR const* const table = list.Table(false);
    EXPECT_EQ(table[200].key, table[0].key);
    EXPECT_EQ(table[200].value, table[0].value);
    EXPECT_EQ(table[201].value, table[1].value);
}

TEST(BatchListCollectingForm, RewritesIndexZeroToTheWholeValue) {
    SETMULTIPAR_LIST list;
    int const value = 1;
    for (int index : {-3, -2, -1, 0, 1, 2}) EXPECT_TRUE(list.ySetParameter("k", PARAM_INT, &value, index));
    EXPECT_THAT(Records(list), ElementsAre("k[-3] 2 1", "k[-2] 2 1", "k[-1] 2 1", "k[-1] 2 1", "k[1] 2 1", "k[2] 2 1"));
}

TEST(BatchListCollectingForm, CopiesOnlyWhatAWalkKeepsInTemporaries) {
    SETMULTIPAR_LIST list;
    int number = 1;
    double real = 1.5;
    long long big = 1;
    char text[] = "text";
    BIN_STRING bytes{"bytes", 5};
    list.ySetParameter("k", PARAM_INT, &number, SCALAR_INDEX);
    list.ySetParameter("k", PARAM_BINSTR, &bytes, SCALAR_INDEX);
    list.ySetParameter("k", PARAM_DOUBLE, &real, SCALAR_INDEX);
    list.ySetParameter("k", PARAM_INT64, &big, SCALAR_INDEX);
    list.ySetParameter("k", PARAM_STRING, text, SCALAR_INDEX);
    SETMULTIPAR const* const table = list.Table(false);
    EXPECT_NE(table[0].value, &number);
    EXPECT_NE(table[1].value, &bytes);
    EXPECT_EQ(table[2].value, &real);
    EXPECT_EQ(table[3].value, &big);
    EXPECT_EQ(table[4].value, text);
}

TEST(BatchListCollectingForm, CopiesEveryTypeWhenTheListWasMadeToCopyAll) {
    SETMULTIPAR_LIST list(true);
    double real = 1.5;
    char text[] = "text";
    list.ySetParameter("k", PARAM_DOUBLE, &real, 0);
    list.ySetParameter("k", PARAM_STRING, text, 1);
    list.Clear();
    list.ySetParameter("k", PARAM_DOUBLE, &real, 0);
    list.ySetParameter("k", PARAM_STRING, text, 1);
    real = 0, text[0] = 'x';
    EXPECT_THAT(Records(list), ElementsAre("k[-1] 3 1.500000", "k[1] 4 text")) << "also after Clear";
}

TEST(BatchList, AVectorOfTextsIsADeletionFollowedByAppends) {
    SETMULTIPAR_LIST list;
    EXPECT_TRUE(list.SetVectorParameter("k", {"x", "y"}));
    EXPECT_THAT(Records(list), ElementsAre("k[-1] 0 (null)", "k[-2] 4 x", "k[-2] 4 y"));
    EXPECT_EQ(list.Table(false)[0].type, PARAM_NONE);
    EXPECT_TRUE(AllZero(list.Table(false)[3]));
}

TEST(BatchList, AnEmptyVectorIsTheDeletionAlone) {
    SETMULTIPAR_LIST list;
    EXPECT_TRUE(list.SetVectorParameter("k", {}));
    EXPECT_THAT(Records(list), ElementsAre("k[-1] 0 (null)"));
}

TEST(BatchList, AVectorOfFileNamesGetsForwardSlashes) {
    SETMULTIPAR_LIST list;
    EXPECT_TRUE(list.SetFilenameVectorParameter("k", {"a\\b\\c", "d/e"}));
    EXPECT_THAT(Records(list), ElementsAre("k[-1] 0 (null)", "k[-2] 4 a/b/c", "k[-2] 4 d/e"));
}

TEST(BatchList, AddingAVectorDiscardsTheTableAndItsOrder) {
    SETMULTIPAR_LIST list;
    AddInt(list, "z", 1);
    list.Table(true);
    list.SetVectorParameter("k", {"x"});
    EXPECT_THAT(Keys(list.Table(false)), ElementsAre("z", "k", "k"));
    EXPECT_THAT(Records(list, true), ElementsAre("k[-1] 0 (null)", "k[-2] 4 x", "z[-1] 2 1"));
}

TEST_F(Collecting, WalksOnceAtFullLevelFromAnEmptyPrefix) {
    SETMULTIPAR_LIST list(m_ticket.Access(), nullptr, false);
    EXPECT_EQ(m_ticket.walks, 1);
    EXPECT_EQ(m_ticket.walkLevel, 8000);
    EXPECT_EQ(m_ticket.walkPrefix, "");
    EXPECT_FALSE(m_ticket.walkStopped);
}

TEST_F(Collecting, WithoutKeysEverythingIsTakenExceptTypesWithoutValue) {
    char const* const none[] = {nullptr};
    EXPECT_EQ(Records(*std::make_unique<SETMULTIPAR_LIST>(m_ticket.Access(), nullptr, false)), Everything());
    EXPECT_EQ(Records(*std::make_unique<SETMULTIPAR_LIST>(m_ticket.Access(), none, true)), Everything());
    EXPECT_EQ(Records(*std::make_unique<SETMULTIPAR_LIST>(m_ticket.Access(), PARTIAL_MODE(), false)), Everything());
}

TEST_F(Collecting, KeysSelectExactlyOrByPrefix) {
    char const* const keys[] = {"a/int", "b/*", "c", nullptr};
    SETMULTIPAR_LIST list(m_ticket.Access(), keys, false);
    EXPECT_THAT(Keys(list.Table(false)), ElementsAre("a/int", "b/bytes", "b/double", "b/int64", "b/uint64"));
}

TEST_F(Collecting, AModeSelectsLikewise) {
    PARTIAL_MODE mode;
    mode.keys.insert("a/int");
    mode.prefixes.insert("c/e");
    SETMULTIPAR_LIST list(m_ticket.Access(), mode, true);
    EXPECT_THAT(Keys(list.Table(false)), ElementsAre("a/int", "c/elements", "c/elements"));
}

TEST_F(Collecting, AListWhoseFirstStringIsEmptySelectsNothing) {
    SETMULTIPAR_LIST list;
    char const* const empty[] = {"", nullptr};
    char const* const removal[] = {"", "a/int", nullptr};
    list.Merge(m_ticket.Access(), empty);
    list.Merge(m_ticket.Access(), removal);
    EXPECT_EQ(list.Size(), 0u);
}

TEST_F(Collecting, ANullTicketAddsNothing) {
    SETMULTIPAR_LIST list;
    char const* const keys[] = {"*", nullptr};
    list.Merge(nullptr, nullptr);
    list.Merge(nullptr, keys);
    list.Merge(nullptr, PARTIAL_MODE());
    list.MergeIf(nullptr, nullptr);
    EXPECT_EQ(list.Size(), 0u);
}

TEST_F(Collecting, MergesAddToWhatIsThere) {
    SETMULTIPAR_LIST list;
    char const* const first[] = {"c/pointer", nullptr};
    char const* const second[] = {"a/int", nullptr};
    list.Merge(m_ticket.Access(), first);
    list.Merge(m_ticket.Access(), second);
    EXPECT_THAT(Keys(list.Table(false)), ElementsAre("c/pointer", "a/int"));
}

TEST_F(Collecting, AFilterDecidesByKeyAndIsNotAskedAboutTypesWithoutValue) {
    SETMULTIPAR_LIST list;
    std::vector<std::string> asked;
    list.MergeIf(m_ticket.Access(), [&](char const* key) {
        asked.emplace_back(key);
        return key[0] == 'c';
    });
    EXPECT_THAT(Keys(list.Table(false)), ElementsAre("c/elements", "c/elements", "c/pointer"));
    EXPECT_THAT(asked, ElementsAre("a/int", "a/text", "b/bytes", "b/double", "b/int64", "b/uint64", "c/elements",
                                   "c/elements", "c/pointer"));
}

TEST_F(Collecting, AnEmptyFilterThrowsAtTheFirstValue) {
    SETMULTIPAR_LIST list;
    EXPECT_THROW(list.MergeIf(m_ticket.Access(), nullptr), std::bad_function_call);
    EXPECT_TRUE(m_ticket.walkStopped);
    EXPECT_FALSE(m_ticket.walkThrew) << "the walked table would have swallowed it";
    m_ticket.entries.clear();
    EXPECT_NO_THROW(list.MergeIf(m_ticket.Access(), nullptr)) << "nothing to ask about";
}

TEST_F(Collecting, AnExceptionOfTheFilterStopsTheWalkAndIsThrownAgain) {
    SETMULTIPAR_LIST list;
    auto const filter = [](char const* key) {
        if (std::string(key) == "b/double") throw std::runtime_error("not this one");
        return true;
    };
    try {
        list.MergeIf(m_ticket.Access(), filter);
        FAIL() << "no exception";
    } catch (std::runtime_error const& error) {
        EXPECT_STREQ(error.what(), "not this one");
    }
    EXPECT_TRUE(m_ticket.walkStopped);
    EXPECT_FALSE(m_ticket.walkThrew);
    EXPECT_THAT(Keys(list.Table(false)), ElementsAre("a/int", "a/text", "b/bytes")) << "what came before is kept";
}

TEST_F(Collecting, AFailureToCopyIsThrownAgainByEveryMerge) {
    BIN_STRING const tooLarge{"x", std::numeric_limits<uint64_t>::max()};
    m_ticket.entries = {{"a", PARAM_INT, &m_seven, -1}, {"b", PARAM_BINSTR, &tooLarge, -1}};
    char const* const keys[] = {"*", nullptr};
    SETMULTIPAR_LIST list;
    EXPECT_ANY_THROW(list.Merge(m_ticket.Access(), nullptr));
    EXPECT_ANY_THROW(list.Merge(m_ticket.Access(), keys));
    EXPECT_ANY_THROW(list.MergeIf(m_ticket.Access(), [](char const*) { return true; }));
    EXPECT_ANY_THROW(SETMULTIPAR_LIST(m_ticket.Access(), nullptr, true));
    EXPECT_FALSE(m_ticket.walkThrew);
    EXPECT_EQ(list.Size(), 3u);
}

TEST_F(Collecting, AFilterMayCollectIntoTheSameList) {
    SETMULTIPAR_LIST list;
    bool inside = false;
    list.MergeIf(m_ticket.Access(), [&](char const* key) {
        if (!inside) {
            inside = true;
            list.MergeIf(m_ticket.Access(), [](char const* other) { return std::string(other) == "b/double"; });
        }
        return std::string(key) == "a/text";
    });
    EXPECT_THAT(Keys(list.Table(false)), ElementsAre("b/double", "a/text"));
}

TEST_F(Collecting, TheFilterLivesOnInTheListUntilTheNextOne) {
    auto const captured = std::make_shared<int>(0);
    SETMULTIPAR_LIST list;
    list.MergeIf(m_ticket.Access(), [captured](char const*) { return false; });
    list.Clear();
    EXPECT_EQ(captured.use_count(), 2);
    list.MergeIf(m_ticket.Access(), [](char const*) { return false; });
    EXPECT_EQ(captured.use_count(), 1);
}

TEST_F(Collecting, TheCallbackTakesAListAsContextAndAlwaysGoesOn) {
    SETMULTIPAR_LIST list;
    for (unsigned int type = 0; type <= 12; ++type)
        EXPECT_TRUE(SETMULTIPAR_LIST::CollectAction(&list, "k", static_cast<PARAM_TYPE>(type), nullptr, -1));
    EXPECT_EQ(list.Size(), 8u);
    EXPECT_TRUE(SETMULTIPAR_LIST::CollectAction(nullptr, "k", PARAM_STRING, "text", -1));
}

// Collecting from real tickets.
class CollectingFromATicket : public testing::Test {
 protected:
    CollectingFromATicket() {
        int64_t const big = 9007199254740993;
        tickets::Set(*m_source, "text", "value");
        tickets::Set(*m_source, "half", 0.5);
        (*m_source)->SetParameter((*m_source)->pTicket, "big", PARAM_INT64, &big, SCALAR_INDEX);
        for (int element : {1, 2, 3}) tickets::Set(*m_source, "vector", element, APPEND_INDEX);
    }

    static int Write(STICKET_ACCESS const* ticket, SETMULTIPAR* records) {
        return ticket->SetMultiParameter(ticket->pTicket, records);
    }

    tickets::LINES const m_records{"big[-1] 7 9007199254740993",
                                   "half[-1] 3 0.500000",
                                   "text[-1] 4 value",
                                   "vector[-1] 2 1",
                                   "vector[1] 2 2",
                                   "vector[2] 2 3"};
    std::optional<tickets::OWNER> m_source{std::in_place};
    tickets::OWNER m_target;
};

TEST_F(CollectingFromATicket, ABatchOfEverythingRebuildsTheTicketElsewhere) {
    for (int i = 0; i < 5; ++i) tickets::Set(m_target, "vector", "old", APPEND_INDEX);
    SETMULTIPAR_LIST list(*m_source, nullptr, false);
    EXPECT_EQ(Records(list), m_records);
    EXPECT_EQ(Write(m_target, list.Table(true)), 1);
    EXPECT_EQ(tickets::Contents(m_target), tickets::Contents(*m_source)) << "replaced, not element by element";
}

TEST_F(CollectingFromATicket, AListThatCopiesAllOutlivesItsSource) {
    SETMULTIPAR_LIST list(*m_source, nullptr, true);
    m_source.reset();
    EXPECT_EQ(Records(list), m_records);
}

TEST_F(CollectingFromATicket, AVectorOfTextsReplacesTheWholeKey) {
    SETMULTIPAR_LIST list;
    list.SetVectorParameter("vector", {"x", "y"});
    list.SetVectorParameter("text", {});
    Write(*m_source, list.Table(false));
    EXPECT_THAT(tickets::Contents(*m_source),
                ElementsAre("big 7 9007199254740993", "half 3 0.500000", "vector[0] 4 x", "vector[1] 4 y"));
}

TEST_F(CollectingFromATicket, AnExceptionOfTheFilterComesThroughTheRealTable) {
    SETMULTIPAR_LIST list;
    EXPECT_THROW(list.MergeIf(*m_source, nullptr), std::bad_function_call);
    EXPECT_THROW(list.MergeIf(*m_source, [](char const*) -> bool { throw 5; }), int);
    EXPECT_EQ(list.Size(), 0u);
}

}  // namespace
