// The stored value: how numbers are normalised, which memory it owns, and that copies are deep.
#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <limits>
#include <string>
#include <utility>

#include "ConfigurationControl/MathLib.h"
#include "TicketImpSNode.h"

namespace {

using ENTRY = clTICKETNODE::clENTRY;
using NODE = clTICKETNODE;

constexpr long long TWO_53 = 1LL << 53;
constexpr unsigned long long TWO_63 = 1ULL << 63;

ENTRY Text(std::string text) {
    return ENTRY(std::move(text));
}
ENTRY Binary(std::string const& bytes) {
    return ENTRY(BIN_STRING{bytes.data(), bytes.size()});
}

PARAM_TYPE TypeOf(ENTRY const& entry) {
    PARAM_TYPE type = PARAM_VECTOR;
    entry.TypeOf(type);
    return type;
}

TEST(TicketEntry, IsEmptyAndHasNoTypeWhenNew) {
    ENTRY const entry;
    PARAM_TYPE type = PARAM_INT;
    EXPECT_EQ(entry.Tag(), NODE::ENTRY_EMPTY);
    EXPECT_FALSE(entry.TypeOf(type));
    EXPECT_EQ(type, PARAM_NONE);
}

TEST(TicketEntry, ReportsThePublicTypeOfEachTag) {
    EXPECT_EQ(TypeOf(ENTRY(1.5)), PARAM_DOUBLE);
    EXPECT_EQ(TypeOf(Text("a")), PARAM_STRING);
    EXPECT_EQ(TypeOf(Binary("a")), PARAM_BINSTR);
    EXPECT_EQ(TypeOf(ENTRY(static_cast<void*>(nullptr))), PARAM_POINTER);
    EXPECT_EQ(TypeOf(ENTRY(ENTRY::VECTOR())), PARAM_VECTOR);
    EXPECT_EQ(TypeOf(ENTRY(TWO_53 + 1)), PARAM_INT64);
    EXPECT_EQ(TypeOf(ENTRY(TWO_63)), PARAM_UINT64);
}

TEST(TicketEntry, TakesSixteenBytes) {
    EXPECT_EQ(sizeof(ENTRY), 16u);
}

TEST(TicketEntry, KeepsThirtyTwoBitIntegersAsNumbers) {
    for (int const value : {0, -1, 42, std::numeric_limits<int>::min(), std::numeric_limits<int>::max()}) {
        EXPECT_EQ(ENTRY(value).Tag(), NODE::ENTRY_NUMBER);
        EXPECT_EQ(ENTRY(value).Number(), value);
    }
    ENTRY const largest(std::numeric_limits<unsigned int>::max());
    EXPECT_EQ(largest.Tag(), NODE::ENTRY_NUMBER);
    EXPECT_EQ(largest.Number(), 4294967295.0);
}

TEST(TicketEntry, KeepsSigned64BitIntegersAsNumbersWhileADoubleIsExact) {
    for (long long const value : {0LL, -1LL, TWO_53, -TWO_53}) {
        EXPECT_EQ(ENTRY(value).Tag(), NODE::ENTRY_NUMBER) << value;
        EXPECT_EQ(ENTRY(value).Number(), static_cast<double>(value));
    }
    for (long long const value :
         {TWO_53 + 1, -TWO_53 - 1, std::numeric_limits<long long>::min(), std::numeric_limits<long long>::max()}) {
        EXPECT_EQ(ENTRY(value).Tag(), NODE::ENTRY_INT64) << value;
        EXPECT_EQ(ENTRY(value).Int64(), value);
    }
}

TEST(TicketEntry, KeepsUnsigned64BitIntegersInTheFirstOfNumberInt64AndUint64ThatHoldsThem) {
    for (unsigned long long const value : {0ULL, 1ULL << 53}) {
        EXPECT_EQ(ENTRY(value).Tag(), NODE::ENTRY_NUMBER) << value;
        EXPECT_EQ(ENTRY(value).Number(), static_cast<double>(value));
    }
    for (unsigned long long const value : {(1ULL << 53) + 1, TWO_63 - 1}) {
        EXPECT_EQ(ENTRY(value).Tag(), NODE::ENTRY_INT64) << value;
        EXPECT_EQ(ENTRY(value).Int64(), static_cast<long long>(value));
    }
    for (unsigned long long const value : {TWO_63, std::numeric_limits<unsigned long long>::max()}) {
        EXPECT_EQ(ENTRY(value).Tag(), NODE::ENTRY_UINT64) << value;
        EXPECT_EQ(ENTRY(value).Uint64(), value);
    }
}

TEST(TicketEntry, StoresDoublesAsGiven) {
    double const infinity = std::numeric_limits<double>::infinity();
    EXPECT_EQ(ENTRY(infinity).Number(), infinity);
    EXPECT_EQ(ENTRY(-infinity).Number(), -infinity);
    EXPECT_TRUE(std::isnan(ENTRY(MathLib::NOT_A_DOUBLE_NUMBER).Number()));
    EXPECT_TRUE(std::signbit(ENTRY(-0.0).Number()));
}

TEST(TicketEntry, CopiesTheBytesOfAByteStringWithTheirNuls) {
    std::string bytes("a\0b", 3);
    ENTRY const entry = Binary(bytes);
    bytes = "changed";
    EXPECT_EQ(entry.Tag(), NODE::ENTRY_BINARY);
    EXPECT_EQ(entry.Text(), std::string("a\0b", 3));
}

TEST(TicketEntry, TakesAByteStringWithoutDataAsEmptyWhateverItsLength) {
    EXPECT_EQ(ENTRY(BIN_STRING{nullptr, 0}).Text(), "");
    EXPECT_EQ(ENTRY(BIN_STRING{nullptr, std::numeric_limits<uint64_t>::max()}).Text(), "");
}

TEST(TicketEntry, CopiesTextAndElementsDeeply) {
    ENTRY::VECTOR elements{Text("one"), ENTRY(2), Binary("three"), ENTRY(ENTRY::VECTOR{Text("inner")})};
    ENTRY const source{std::move(elements)};
    ENTRY copy(source);
    copy.Elements()[0] = Text("changed");
    copy.Elements()[3].Elements().clear();
    copy.Elements().pop_back();
    EXPECT_EQ(source.Elements().size(), 4u);
    EXPECT_EQ(source.Elements()[0].Text(), "one");
    EXPECT_EQ(source.Elements()[1].Number(), 2.0);
    EXPECT_EQ(source.Elements()[2].Tag(), NODE::ENTRY_BINARY);
    EXPECT_EQ(source.Elements()[3].Elements()[0].Text(), "inner");
    EXPECT_NE(copy.Elements()[2].Text().data(), source.Elements()[2].Text().data());
}

TEST(TicketEntry, CopiesEveryKindOfPayload) {
    int target = 0;
    for (ENTRY const& source :
         {ENTRY(), ENTRY(1.5), ENTRY(TWO_53 + 1), ENTRY(TWO_63), ENTRY(static_cast<void*>(&target)), Text("text"),
          Binary("bytes"), ENTRY(ENTRY::VECTOR{ENTRY(7)})}) {
        ENTRY copy(Text("before"));
        copy = source;
        ASSERT_EQ(copy.Tag(), source.Tag());
        switch (source.Tag()) {
            case NODE::ENTRY_EMPTY:
                break;
            case NODE::ENTRY_NUMBER:
                EXPECT_EQ(copy.Number(), 1.5);
                break;
            case NODE::ENTRY_INT64:
                EXPECT_EQ(copy.Int64(), TWO_53 + 1);
                break;
            case NODE::ENTRY_UINT64:
                EXPECT_EQ(copy.Uint64(), TWO_63);
                break;
            case NODE::ENTRY_POINTER:
                EXPECT_EQ(copy.Pointer(), &target);
                break;
            case NODE::ENTRY_STRING:
                EXPECT_EQ(copy.Text(), "text");
                break;
            case NODE::ENTRY_BINARY:
                EXPECT_EQ(copy.Text(), "bytes");
                break;
            case NODE::ENTRY_VECTOR:
                EXPECT_EQ(copy.Elements().at(0).Number(), 7.0);
                break;
        }
    }
}

TEST(TicketEntry, SurvivesAssignmentFromItselfAndFromItsOwnElement) {
    ENTRY entry{ENTRY::VECTOR{Text("first"), Text("second")}};
    ENTRY const& same = entry;
    entry = same;
    ASSERT_EQ(entry.Elements().size(), 2u);
    entry = entry.Elements()[1];
    ASSERT_EQ(entry.Tag(), NODE::ENTRY_STRING);
    EXPECT_EQ(entry.Text(), "second");

    ENTRY moved{ENTRY::VECTOR{Text("first"), Text("second")}};
    moved = std::move(moved.Elements()[0]);
    EXPECT_EQ(moved.Text(), "first");
}

TEST(TicketEntry, MovesWithoutMovingTheCharacters) {
    ENTRY source = Text("a text that is too long for the small buffer of a string");
    char const* const characters = source.Text().data();
    ENTRY const target(std::move(source));
    EXPECT_EQ(target.Text().data(), characters);
    EXPECT_EQ(source.Tag(), NODE::ENTRY_EMPTY);  // NOLINT: the moved-from state is promised
}

TEST(TicketEntry, SwapsPayloadAndTag) {
    ENTRY a = Text("text");
    ENTRY b(3);
    ENTRY::_swap(a, b);
    EXPECT_EQ(a.Tag(), NODE::ENTRY_NUMBER);
    EXPECT_EQ(a.Number(), 3.0);
    EXPECT_EQ(b.Text(), "text");
    ENTRY::_swap(b, b);
    EXPECT_EQ(b.Text(), "text");
}

}  // namespace
