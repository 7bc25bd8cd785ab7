// The numeric helpers against their documented results, boundary by boundary.
#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <cstring>
#include <limits>
#include <type_traits>

#include "ConfigurationControl/MathLib.h"

namespace {

constexpr double NOT_A_NUMBER = std::numeric_limits<double>::quiet_NaN();
constexpr double INF = std::numeric_limits<double>::infinity();
constexpr double DENORMAL = std::numeric_limits<double>::denorm_min();
constexpr double BIGGEST = std::numeric_limits<double>::max();
constexpr int INT_LOWEST = std::numeric_limits<int>::min();
constexpr int INT_HIGHEST = std::numeric_limits<int>::max();
constexpr long long I64_LOWEST = std::numeric_limits<long long>::min();
constexpr long long I64_HIGHEST = std::numeric_limits<long long>::max();
constexpr unsigned long long ALL_ONES = ~0ULL;
constexpr double TWO_POW_52 = 4503599627370496.0;
constexpr double TWO_POW_63 = 9223372036854775808.0;
constexpr double TWO_POW_64 = 18446744073709551616.0;
constexpr double BELOW_TWO_POW_64 = 18446744073709549568.0;

uint64_t Bits(double value) {
    uint64_t bits;
    std::memcpy(&bits, &value, sizeof bits);
    return bits;
}

uint32_t Bits(float value) {
    uint32_t bits;
    std::memcpy(&bits, &value, sizeof bits);
    return bits;
}

// Compares bits, so that the two zeros differ; any NaN equals any other.
bool Same(double a, double b) {
    return (std::isnan(a) && std::isnan(b)) || Bits(a) == Bits(b);
}

template <typename RESULT>
struct CASE {
    double value;
    RESULT expected;
};

template <typename RESULT, std::size_t N>
void CheckAll(RESULT (*function)(double) noexcept, CASE<RESULT> const (&cases)[N]) {
    for (auto const& c : cases) EXPECT_EQ(function(c.value), c.expected) << std::hexfloat << c.value;
}

// Read during static initialisation: the constant must already have its value.
double const g_copiedBeforeMain = MathLib::NOT_A_DOUBLE_NUMBER;

}  // namespace

TEST(MathLibConstants, HaveTheirExactBits) {
    EXPECT_EQ(Bits(MathLib::NOT_A_DOUBLE_NUMBER), 0x7FF8000000000000u);
    EXPECT_EQ(Bits(MathLib::NOT_A_FLOAT_NUMBER), 0x7FC00000u);
    EXPECT_EQ(Bits(g_copiedBeforeMain), 0x7FF8000000000000u);
}

TEST(MathLibIsNotANumber, IsTrueForNansAndInfinities) {
    for (double const value : {NOT_A_NUMBER, -NOT_A_NUMBER, INF, -INF, std::numeric_limits<double>::signaling_NaN()})
        EXPECT_TRUE(MathLib::IsNotANumber(value));
    for (double const value : {0.0, -0.0, 1.5, BIGGEST, -BIGGEST, DENORMAL}) EXPECT_FALSE(MathLib::IsNotANumber(value));
    using FLOAT = std::numeric_limits<float>;
    for (float const value : {FLOAT::quiet_NaN(), FLOAT::infinity(), -FLOAT::infinity()})
        EXPECT_TRUE(MathLib::IsNotANumber(value));
    for (float const value : {0.0f, -1.5f, FLOAT::max(), FLOAT::denorm_min()})
        EXPECT_FALSE(MathLib::IsNotANumber(value));
}

TEST(MathLibRound, TakesTiesAwayFromZeroAndNanToZero) {
    CASE<double> const cases[] = {
        {0.5, 1.0},
        {-0.5, -1.0},
        {2.5, 3.0},
        {-2.5, -3.0},
        {2.4999999999999996, 2.0},
        {-0.3, -0.0},
        {0.3, 0.0},
        {0.0, 0.0},
        {-0.0, 0.0},
        {NOT_A_NUMBER, 0.0},
        {INF, INF},
        {-INF, -INF},
        {BIGGEST, BIGGEST},
        {DENORMAL, 0.0},
        {TWO_POW_52 - 1, TWO_POW_52 - 1},
        {TWO_POW_52 - 1.5, TWO_POW_52 - 1},
        {-(TWO_POW_52 - 1.5), -(TWO_POW_52 - 1)},
        {TWO_POW_52, TWO_POW_52},
        {TWO_POW_52 + 1, TWO_POW_52 + 1},
    };
    for (auto const& c : cases) EXPECT_TRUE(Same(MathLib::Round(c.value), c.expected)) << c.value;
}

TEST(MathLibRound, AddsAHalfAndCutsEvenWhereTheSumIsRoundedUp) {
    EXPECT_EQ(MathLib::Round(0.49999999999999994), 1.0);
    EXPECT_EQ(MathLib::Round(-0.49999999999999994), -1.0);
}

TEST(MathLibRound, LeavesValuesAboveTheLimitAlone) {
    EXPECT_EQ(MathLib::Round(TWO_POW_52 - 0.5), TWO_POW_52 - 0.5);
    EXPECT_EQ(MathLib::Round(-(TWO_POW_52 - 0.5)), -(TWO_POW_52 - 0.5));
}

TEST(MathLibRoundToInt, RoundsAndSaturates) {
    CheckAll(MathLib::RoundToInt, {{3e9, INT_HIGHEST},
                                   {-3e9, INT_LOWEST},
                                   {NOT_A_NUMBER, 0},
                                   {INF, INT_HIGHEST},
                                   {-INF, INT_LOWEST},
                                   {2.5, 3},
                                   {-2.5, -3},
                                   {2147483647.0, INT_HIGHEST},
                                   {2147483646.5, INT_HIGHEST},
                                   {2147483647.4, INT_HIGHEST},
                                   {2147483648.0, INT_HIGHEST},
                                   {-2147483648.0, INT_LOWEST},
                                   {-2147483648.4, INT_LOWEST},
                                   {-2147483649.0, INT_LOWEST},
                                   {-2147483647.4, INT_LOWEST + 1}});
}

TEST(MathLibRoundToUnsigned, RoundsAndSaturates) {
    CheckAll(MathLib::RoundToUnsigned, {{-1.0, 0u},
                                        {-0.3, 0u},
                                        {-0.5, 0u},
                                        {0.5, 1u},
                                        {NOT_A_NUMBER, 0u},
                                        {INF, 4294967295u},
                                        {-INF, 0u},
                                        {4294967294.5, 4294967295u},
                                        {4294967295.0, 4294967295u},
                                        {4294967296.0, 4294967295u},
                                        {3e9, 3000000000u}});
}

TEST(MathLibRoundToI64, RoundsAndSaturates) {
    CheckAll(MathLib::RoundToI64, {{2.5, 3LL},
                                   {-2.5, -3LL},
                                   {NOT_A_NUMBER, 0LL},
                                   {INF, I64_HIGHEST},
                                   {-INF, I64_LOWEST},
                                   {TWO_POW_63 - 1024, I64_HIGHEST - 1023},
                                   {TWO_POW_63, I64_HIGHEST},
                                   {TWO_POW_63 + 2048, I64_HIGHEST},
                                   {-TWO_POW_63, I64_LOWEST},
                                   {-TWO_POW_63 - 2048, I64_LOWEST},
                                   {-TWO_POW_63 + 1024, I64_LOWEST + 1024}});
}

TEST(MathLibRoundToU64, RoundsAndSaturatesWithAllOnesForEitherInfinity) {
    CheckAll(MathLib::RoundToU64, {{0.5, 1ULL},
                                   {-0.3, 0ULL},
                                   {-0.5, 0ULL},
                                   {-1e300, 0ULL},
                                   {NOT_A_NUMBER, 0ULL},
                                   {INF, ALL_ONES},
                                   {-INF, ALL_ONES},
                                   {TWO_POW_63, 1ULL << 63},
                                   {BELOW_TWO_POW_64, 18446744073709549568ULL},
                                   {TWO_POW_64, ALL_ONES},
                                   {1e300, ALL_ONES}});
}

TEST(MathLibDoubleToU64, CutsAndSaturatesWithAllOnesForNan) {
    CheckAll(MathLib::DoubleToU64, {{0.9, 0ULL},
                                    {1.9, 1ULL},
                                    {-0.3, 0ULL},
                                    {-1.0, 0ULL},
                                    {-0.0, 0ULL},
                                    {NOT_A_NUMBER, ALL_ONES},
                                    {INF, ALL_ONES},
                                    {-INF, ALL_ONES},
                                    {TWO_POW_63, 1ULL << 63},
                                    {BELOW_TWO_POW_64, 18446744073709549568ULL},
                                    {TWO_POW_64, ALL_ONES}});
}

TEST(MathLibU64ToDouble, TakesTheNearestDoubleButNeverTwoPow64) {
    struct {
        unsigned long long value;
        double expected;
    } const cases[] = {
        {0, 0.0},
        {1, 1.0},
        {(1ULL << 53) + 1, 9007199254740992.0},
        {(1ULL << 53) + 3, 9007199254740996.0},
        {(1ULL << 63) - 1, TWO_POW_63},
        {1ULL << 63, TWO_POW_63},
        {(1ULL << 63) + 1023, TWO_POW_63},
        {(1ULL << 63) + 1024, TWO_POW_63 + 2048},  // a tie goes up, although the lower neighbour is the even one
        {(1ULL << 63) + 1025, TWO_POW_63 + 2048},
        {(1ULL << 63) + 3072, TWO_POW_63 + 4096},
        {18446744073709549568ULL, BELOW_TWO_POW_64},
        {ALL_ONES - 1024, BELOW_TWO_POW_64},
        {ALL_ONES - 1023, BELOW_TWO_POW_64},
        {18446744073709551615ULL, 18446744073709549568.0},
    };
    for (auto const& c : cases) EXPECT_EQ(MathLib::U64ToDouble(c.value), c.expected) << c.value;
}

TEST(MathLibU64ToDouble, CanAlwaysBeConvertedBack) {
    for (unsigned long long value = 1; value != 0; value <<= 1) {
        EXPECT_EQ(MathLib::DoubleToU64(MathLib::U64ToDouble(value)), value);
        double const nearby = MathLib::U64ToDouble(value - 1);
        EXPECT_EQ(MathLib::U64ToDouble(MathLib::DoubleToU64(nearby)), nearby);
    }
}

TEST(MathLibEpsilonFloorToInt, NudgesUpwardByTheRelativeEpsilon) {
    struct {
        double value, epsilon;
        int expected;
    } const cases[] = {
        {2.9999999, 1e-6, 3},
        {2.9999999, 0.0, 2},
        {2.9999999, -1e-6, 3},
        {2.99, 1e-6, 2},
        {-2.9999999, 1e-6, -3},
        {-3.0000001, 1e-6, -3},
        {-3.0000001, 0.0, -4},
        {3e9, 0.0, INT_HIGHEST},
        {-3e9, 0.0, INT_LOWEST},
        {NOT_A_NUMBER, 1e-6, INT_LOWEST},
        {INF, 1e-6, INT_HIGHEST},
        {-INF, 1e-6, INT_LOWEST},  // -inf + inf is not a number
        {1.0, NOT_A_NUMBER, INT_LOWEST},
    };
    for (auto const& c : cases) EXPECT_EQ(MathLib::EpsilonFloorToInt(c.value, c.epsilon), c.expected) << c.value;
}

TEST(MathLibEpsilonCeilToInt, NudgesDownwardByTheRelativeEpsilon) {
    struct {
        double value, epsilon;
        int expected;
    } const cases[] = {
        {3.0000001, 1e-6, 3},  {3.0000001, 0.0, 4},     {3.01, 1e-6, 4},         {-2.9999999, 1e-6, -3},
        {-2.9999999, 0.0, -2}, {3e9, 0.0, INT_HIGHEST}, {-3e9, 0.0, INT_LOWEST}, {NOT_A_NUMBER, 1e-6, INT_LOWEST},
    };
    for (auto const& c : cases) EXPECT_EQ(MathLib::EpsilonCeilToInt(c.value, c.epsilon), c.expected) << c.value;
}

TEST(MathLibEpsilonToUnsigned, NudgesAndSaturates) {
    EXPECT_EQ(MathLib::EpsilonFloorToUnsigned(2.9999999, 1e-6), 3u);
    EXPECT_EQ(MathLib::EpsilonFloorToUnsigned(-0.5, 0.0), 0u);
    EXPECT_EQ(MathLib::EpsilonFloorToUnsigned(4294967295.5, 0.0), 4294967295u);
    EXPECT_EQ(MathLib::EpsilonFloorToUnsigned(1e10, 0.0), 4294967295u);
    EXPECT_EQ(MathLib::EpsilonFloorToUnsigned(NOT_A_NUMBER, 0.0), 0u);
    EXPECT_EQ(MathLib::EpsilonCeilToUnsigned(3.0000001, 1e-6), 3u);
    EXPECT_EQ(MathLib::EpsilonCeilToUnsigned(3.5, 0.0), 4u);
    EXPECT_EQ(MathLib::EpsilonCeilToUnsigned(-0.5, 0.0), 0u);
    EXPECT_EQ(MathLib::EpsilonCeilToUnsigned(-7.0, 0.0), 0u);
    EXPECT_EQ(MathLib::EpsilonCeilToUnsigned(INF, 0.0), 0u);  // 0 * inf is not a number
    EXPECT_EQ(MathLib::EpsilonCeilToUnsigned(NOT_A_NUMBER, 0.0), 0u);
}

TEST(MathLibGranularity, BigRoundsToMultiples) {
    EXPECT_EQ(MathLib::RoundToBigGranularity(17, 5), 15.0);
    EXPECT_EQ(MathLib::RoundToBigGranularity(17.5, 5), 20.0);
    EXPECT_EQ(MathLib::RoundToBigGranularity(-17.5, 5), -20.0);
    EXPECT_EQ(MathLib::RoundToBigGranularity(17.25, 1), 17.0);
    EXPECT_EQ(MathLib::RoundToBigGranularity(17.25, 0), 17.25);
    EXPECT_EQ(MathLib::RoundToBigGranularity(17.25, -3), 17.25);
    EXPECT_EQ(MathLib::RoundToBigGranularity(17.25, INT_LOWEST), 17.25);
    EXPECT_EQ(MathLib::RoundToBigGranularity(NOT_A_NUMBER, 5), 0.0);
    EXPECT_EQ(MathLib::RoundToBigGranularity(INF, 5), INF);
    EXPECT_EQ(MathLib::RoundToBigGranularity(1e300, 5), 1e300 / 5 * 5);
}

TEST(MathLibGranularity, SmallRoundsToFractions) {
    EXPECT_EQ(MathLib::RoundToSmallGranularity(0.3, 4), 0.25);
    EXPECT_EQ(MathLib::RoundToSmallGranularity(0.375, 4), 0.5);
    EXPECT_EQ(MathLib::RoundToSmallGranularity(-0.375, 4), -0.5);
    EXPECT_EQ(MathLib::RoundToSmallGranularity(0.3, 1), 0.0);
    EXPECT_EQ(MathLib::RoundToSmallGranularity(0.3, 0), 0.3);
    EXPECT_EQ(MathLib::RoundToSmallGranularity(0.3, -1), 0.3);
    EXPECT_EQ(MathLib::RoundToSmallGranularity(NOT_A_NUMBER, 4), 0.0);
}

TEST(MathLibMagneticInt, SnapsOnlyWithinTheTolerance) {
    struct {
        double value, tolerance, expected;
    } const cases[] = {
        {2.0004, 0.001, 2.0},     {2.01, 0.001, 2.01},   {0.0005, 0.001, 0.0}, {0.002, 0.001, 0.002},
        {1000.4, 0.001, 1000.0},  // the tolerance is relative: within 1
        {-2.0004, 0.001, -2.0},   {2.0004, 0.0, 2.0004}, {2.5, -1.0, 2.5},     {NOT_A_NUMBER, 0.001, 0.0},
        {2.4, NOT_A_NUMBER, 2.0}, {INF, 0.001, INF},     {-INF, 0.001, -INF},  {-0.0, 0.001, 0.0},
    };
    for (auto const& c : cases) EXPECT_TRUE(Same(MathLib::MagneticInt(c.value, c.tolerance), c.expected)) << c.value;
}

TEST(MathLibEncoder, ResolutionBecomesAWholeFractionOfTheEncoders) {
    EXPECT_EQ(MathLib::ResolutionToEncoderGranularity(600, 2400), 600.0);
    EXPECT_EQ(MathLib::ResolutionToEncoderGranularity(700, 2400), 800.0);
    EXPECT_EQ(MathLib::ResolutionToEncoderGranularity(2400, 2400), 2400.0);
    EXPECT_EQ(MathLib::ResolutionToEncoderGranularity(DENORMAL, 2400), 2400.0 / 2147483647);
    EXPECT_EQ(MathLib::ResolutionToEncoderGranularity(INF, INF), INF);
}

TEST(MathLibEncoder, ResolutionOutsideTheRangeIsNotANumber) {
    struct {
        double resolution, encoder;
    } const cases[] = {{0, 2400},           {-600, 2400}, {2401, 2400}, {NOT_A_NUMBER, 2400},
                       {600, NOT_A_NUMBER}, {-2, -1},     {0, 0}};
    for (auto const& c : cases)
        EXPECT_EQ(Bits(MathLib::ResolutionToEncoderGranularity(c.resolution, c.encoder)), 0x7FF8000000000000u)
            << c.resolution << ", " << c.encoder;
}

TEST(MathLibInterface, HasTheExactIntegerTypes) {
    static_assert(std::is_same_v<decltype(MathLib::RoundToInt(0)), int>);
    static_assert(std::is_same_v<decltype(MathLib::RoundToUnsigned(0)), unsigned int>);
    static_assert(std::is_same_v<decltype(MathLib::RoundToI64(0)), long long>);
    static_assert(std::is_same_v<decltype(MathLib::RoundToU64(0)), unsigned long long>);
    static_assert(std::is_same_v<decltype(MathLib::DoubleToU64(0)), unsigned long long>);
    static_assert(std::is_same_v<decltype(&MathLib::U64ToDouble), double (*)(unsigned long long) noexcept>);
    static_assert(std::is_same_v<decltype(&MathLib::RoundToBigGranularity), double (*)(double, int) noexcept>);
}
