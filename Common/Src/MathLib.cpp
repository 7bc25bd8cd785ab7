// Rounding and saturating conversions between doubles and integers. Every conversion to an integer checks the range
// first, as a cast beyond it is undefined.

#include "ConfigurationControl/MathLib.h"

#include <cmath>
#include <cstdint>
#include <cstring>
#include <limits>

namespace MathLib {

extern double const NOT_A_DOUBLE_NUMBER = std::numeric_limits<double>::quiet_NaN();
extern float const NOT_A_FLOAT_NUMBER = std::numeric_limits<float>::quiet_NaN();

namespace {

static_assert(std::numeric_limits<double>::is_iec559 && std::numeric_limits<float>::is_iec559);

constexpr double LARGE = 4503599627370495.0;  // 2^52 - 1
constexpr double TWO_POW_63 = 9223372036854775808.0;
constexpr double U64_MAX_DOUBLE = 18446744073709549568.0;  // the largest double below 2^64

template <typename TO, typename FROM>
TO BitCast(FROM from) noexcept {
    static_assert(sizeof(TO) == sizeof(FROM));
    TO to;
    std::memcpy(&to, &from, sizeof to);
    return to;
}

// Not std::round: that gives 0 for 0.49999999999999994, where this sum is already 1.
double RoundHalfAway(double x) noexcept {
    if (std::fabs(x) > LARGE) return x;
    if (x > 0) return std::floor(x + 0.5);
    if (x < 0) return -std::floor(0.5 - x);
    return 0;  // zero of either sign, NaN
}

int SaturateToInt(double x) noexcept {
    if (x > 2147483647.0) return std::numeric_limits<int>::max();
    if (!(x >= -2147483648.0)) return std::numeric_limits<int>::min();
    return static_cast<int>(x);
}

unsigned int SaturateToUnsigned(double x) noexcept {
    if (x > 4294967295.0) return std::numeric_limits<unsigned int>::max();
    if (!(x >= 0)) return 0;
    return static_cast<unsigned int>(x);
}

double NudgedFloor(double value, double epsilon) noexcept {
    return std::floor(value + std::fabs(epsilon * value));
}

double NudgedCeil(double value, double epsilon) noexcept {
    return std::ceil(value - std::fabs(epsilon * value));
}

}  // namespace

bool IsNotANumber(double value) noexcept {
    constexpr uint64_t EXPONENT = 0x7FF0000000000000;
    return (BitCast<uint64_t>(value) & EXPONENT) == EXPONENT;
}

bool IsNotANumber(float value) noexcept {
    constexpr uint32_t EXPONENT = 0x7F800000;
    return (BitCast<uint32_t>(value) & EXPONENT) == EXPONENT;
}

int EpsilonFloorToInt(double value, double epsilon) noexcept {
    return SaturateToInt(NudgedFloor(value, epsilon));
}

int EpsilonCeilToInt(double value, double epsilon) noexcept {
    return SaturateToInt(NudgedCeil(value, epsilon));
}

unsigned int EpsilonFloorToUnsigned(double value, double epsilon) noexcept {
    return SaturateToUnsigned(NudgedFloor(value, epsilon));
}

unsigned int EpsilonCeilToUnsigned(double value, double epsilon) noexcept {
    return SaturateToUnsigned(NudgedCeil(value, epsilon));
}

double Round(double value) noexcept {
    return RoundHalfAway(value);
}

double RoundToBigGranularity(double value, int granularity) noexcept {
    if (granularity < 1) return value;
    return RoundHalfAway(value / granularity) * granularity;
}

double RoundToSmallGranularity(double value, int granularity) noexcept {
    if (granularity < 1) return value;
    return RoundHalfAway(value * granularity) / granularity;
}

int RoundToInt(double value) noexcept {
    return SaturateToInt(RoundHalfAway(value));
}

unsigned int RoundToUnsigned(double value) noexcept {
    return SaturateToUnsigned(RoundHalfAway(value));
}

long long RoundToI64(double value) noexcept {
    double const rounded = RoundHalfAway(value);
    if (rounded >= TWO_POW_63) return std::numeric_limits<long long>::max();
    if (rounded < -TWO_POW_63) return std::numeric_limits<long long>::min();
    return static_cast<long long>(rounded);
}

// Rounds NaN to 0, so RoundToU64(NaN) is 0 although DoubleToU64(NaN) is not. Reads of stored numbers rely on it.
unsigned long long RoundToU64(double value) noexcept {
    return DoubleToU64(RoundHalfAway(value));
}

unsigned long long DoubleToU64(double value) noexcept {
    if (IsNotANumber(value) || value > U64_MAX_DOUBLE) return std::numeric_limits<unsigned long long>::max();
    if (value < 0) return 0;
    return static_cast<unsigned long long>(value);
}

double U64ToDouble(unsigned long long value) noexcept {
    constexpr uint64_t SIGN_BIT = uint64_t{1} << 63;
    if (value < SIGN_BIT) return static_cast<double>(static_cast<long long>(value));
    constexpr uint64_t HIGHEST = 0x7FFFFFFFFFFFFBFF;  // rounds to 2^64 - 2048; one more would carry into the exponent
    constexpr uint64_t EXPONENT_63 = 0x43E0000000000000;
    uint64_t const low = value & ~SIGN_BIT;
    return BitCast<double>(EXPONENT_63 | (((low < HIGHEST ? low : HIGHEST) + 1024) >> 11));
}

double MagneticInt(double value, double tolerance) noexcept {
    double const rounded = RoundHalfAway(value);
    double const bound = rounded != 0 ? std::fabs(rounded) * tolerance : tolerance;
    return std::fabs(value - rounded) > bound ? value : rounded;
}

double ResolutionToEncoderGranularity(double resolution, double encoderResolution) noexcept {
    if (resolution > encoderResolution || !(resolution > 0 && encoderResolution > 0)) return NOT_A_DOUBLE_NUMBER;
    return encoderResolution / SaturateToInt(RoundHalfAway(encoderResolution / resolution));
}

}  // namespace MathLib
