// Numbers of a ticket file. Plain spellings go through the standard library's character conversions, which ignore the
// locale; every other spelling is left to a stream with the classic locale, because files must read as it reads them.
#include "Format/Numbers.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <locale>
#include <sstream>
#include <string>
#include <system_error>
#include <type_traits>

#include "Format/Words.h"

namespace {

using TICKET_FORMAT::ODDITY;
using TICKET_FORMAT::ODDITY_LISTENER;

// A positive number rounded to 17 digits: the point follows the first digit, which is not zero.
struct DECIMAL {
    static constexpr int DIGITS = 17;
    char digits[DIGITS];
    int exponent;
};

__extension__ using UINT128 = unsigned __int128;

constexpr int LARGEST_POWER_OF_5 = 27;  // in 64 bits

constexpr auto POWERS_OF_5 = [] {
    std::array<uint64_t, LARGEST_POWER_OF_5 + 1> powers{1};
    for (std::size_t i = 1; i < powers.size(); ++i) powers[i] = 5 * powers[i - 1];
    return powers;
}();

// For numbers of usual size a few integer operations give the exact digits: value * 10^k is
// mantissa * 5^k * 2^(binary exponent + k). With std::to_chars alone, a save of 10,000 keys, a quarter of them doubles,
// takes 16 % more instructions. Returns false for other numbers and leaves `decimal` unset.
bool ToDecimalExactly(double value, DECIMAL& decimal) {
    constexpr uint64_t LIMIT = 100'000'000'000'000'000;  // 10^DIGITS
    constexpr int MANTISSA_BITS = std::numeric_limits<double>::digits;
    if (!(value >= 1e-10 && value < 1e16)) return false;
    uint64_t bits = 0;
    std::memcpy(&bits, &value, sizeof bits);
    constexpr uint64_t LEADING_BIT = uint64_t{1} << (MANTISSA_BITS - 1);
    uint64_t const mantissa = LEADING_BIT | (bits & (LEADING_BIT - 1));
    constexpr int BIAS = std::numeric_limits<double>::max_exponent - 1 + MANTISSA_BITS - 1;
    int const binaryExponent = static_cast<int>(bits >> (MANTISSA_BITS - 1)) - BIAS;

    // The estimate may be one too small.
    constexpr double LOG10_OF_2 = 0.30102999566398120;
    int exponent = static_cast<int>(std::floor((binaryExponent + MANTISSA_BITS - 1) * LOG10_OF_2));
    for (;; ++exponent) {
        int const places = DECIMAL::DIGITS - 1 - exponent;
        UINT128 const product = UINT128{mantissa} * POWERS_OF_5[static_cast<std::size_t>(places)];
        int const shift = -(binaryExponent + places);
        auto digits = static_cast<uint64_t>(shift > 0 ? product >> shift : product << -shift);
        if (digits >= LIMIT) continue;
        if (shift > 0) {
            UINT128 const rest = product - (UINT128{digits} << shift);
            UINT128 const half = UINT128{1} << (shift - 1);
            if (rest > half || (rest == half && digits % 2 != 0)) ++digits;
        }
        if (digits == LIMIT) {
            digits /= 10;
            ++exponent;
        }
        std::to_chars(decimal.digits, decimal.digits + DECIMAL::DIGITS, digits);
        decimal.exponent = exponent;
        return true;
    }
}

// Throws for an infinite number.
DECIMAL ToDecimal(double value) {
    DECIMAL decimal;
    if (ToDecimalExactly(value, decimal)) return decimal;
    if (std::isinf(value)) throw static_cast<char const*>(INFINITE_NUMBER);
    char text[32];
    char const* const end =
        std::to_chars(text, text + sizeof text, value, std::chars_format::scientific, DECIMAL::DIGITS - 1).ptr;
    decimal.digits[0] = text[0];
    std::copy_n(text + 2, DECIMAL::DIGITS - 1, decimal.digits + 1);
    char const* const exponent = text + DECIMAL::DIGITS + 2;  // after the point and the "e"
    std::from_chars(*exponent == '+' ? exponent + 1 : exponent, end, decimal.exponent);
    return decimal;
}

// Writes the digits with the point moved `places` to the right; zeros fill up missing digits and end no fraction.
char* WriteDigits(char* out, DECIMAL const& decimal, int places) {
    std::string_view const digits(decimal.digits, DECIMAL::DIGITS);
    std::size_t const whole = static_cast<std::size_t>(places) + 1;
    std::size_t const before = std::min(whole, digits.size());
    std::size_t const used = std::max(before, digits.find_last_not_of('0') + 1);
    out = std::copy_n(digits.data(), before, out);
    out = std::fill_n(out, whole - before, '0');
    *out++ = '.';
    return std::copy_n(digits.data() + before, used - before, out);
}

// How far the point moves to make the exponent a multiple of 3.
int EngineeringShift(int exponent) {
    int const remainder = exponent % 3;
    return exponent < 0 && remainder != 0 ? remainder + 3 : remainder;
}

char* WriteExponent(char* out, int exponent, int leastDigits) {
    int const magnitude = std::abs(exponent);
    *out++ = 'e';
    *out++ = exponent < 0 ? '-' : '+';
    if (magnitude < 100 && leastDigits > 2) *out++ = '0';
    if (magnitude < 10) *out++ = '0';
    return WriteNumber(out, magnitude);
}

// Whether the character conversions and a stream read `text` alike: it begins with a digit, or with "-" and a digit.
bool IsPlain(std::string_view text) {
    if (!text.empty() && text.front() == '-') text.remove_prefix(1);
    return !text.empty() && text.front() >= '0' && text.front() <= '9';
}

// The value of one to nine digits, which fit into every type; -1 for any other text. Most integers are such; with
// std::from_chars alone a load takes 3 % more instructions.
int32_t ParseDigits(std::string_view text) {
    constexpr std::size_t MOST_DIGITS = 9;
    if (text.empty() || text.size() > MOST_DIGITS) return -1;
    int32_t value = 0;
    for (char const byte : text) {
        if (byte < '0' || byte > '9') return -1;
        value = 10 * value + (byte - '0');
    }
    return value;
}

// Tells the listener what a stream ignored or changed when it read `text`.
void TellOddities(std::istringstream& stream, std::string_view text, bool isZero, bool isUnsigned,
                  ODDITY_LISTENER& listener) {
    if (stream.fail()) return listener.Tell(isZero ? ODDITY::NOT_A_NUMBER : ODDITY::OUT_OF_RANGE, 0, text.size());
    if (isUnsigned && text.find('-') < text.find_first_of("0123456789"))
        listener.Tell(ODDITY::NEGATIVE_WRAPS, 0, text.size());
    if (stream.eof()) return;
    auto const read = static_cast<std::size_t>(stream.tellg());
    if (read < text.size()) listener.Tell(ODDITY::BEHIND_NUMBER, read, text.size() - read);
}

// The number that a stream reads from a text that is not plainly spelled.
template <typename NUMBER>
NUMBER ParseAsStream(std::string_view text, ODDITY_LISTENER* listener) {
    std::istringstream stream;
    stream.imbue(std::locale::classic());
    stream.str(std::string(text));
    NUMBER value{};
    stream >> value;
    if (listener != nullptr) TellOddities(stream, text, value == 0, std::is_unsigned_v<NUMBER>, *listener);
    return value;
}

}  // namespace

std::ostream& operator<<(std::ostream& os, BestDouble const& bd) {
    return os << NumberText(bd);
}

char* WriteNumber(char* out, BestDouble const& bd) {
    if (std::isnan(bd.value))
        return std::copy(TICKET_FORMAT::NOT_A_NUMBER.begin(), TICKET_FORMAT::NOT_A_NUMBER.end(), out);
    if (std::abs(bd.value) < std::numeric_limits<double>::min())
        return std::to_chars(out, out + LONGEST_NUMBER, bd.value, std::chars_format::scientific, DECIMAL::DIGITS - 1)
            .ptr;
    DECIMAL const decimal = ToDecimal(std::abs(bd.value));
    int const exponent = decimal.exponent;
    bool const isFixed = exponent >= 0 && exponent <= bd.limit;
    int const shift = isFixed ? exponent : EngineeringShift(exponent);
    if (std::signbit(bd.value)) *out++ = '-';
    out = WriteDigits(out, decimal, shift);
    // An unchanged exponent may have two digits, a changed one has at least three: programs compare saved files.
    return isFixed ? out : WriteExponent(out, exponent - shift, shift == 0 ? 2 : 3);
}

char* WriteNumber(char* out, int32_t value) {
    return std::to_chars(out, out + LONGEST_NUMBER, value).ptr;
}

char* WriteNumber(char* out, int64_t value) {
    return std::to_chars(out, out + LONGEST_NUMBER, value).ptr;
}

char* WriteNumber(char* out, uint64_t value) {
    return std::to_chars(out, out + LONGEST_NUMBER, value).ptr;
}

template <typename NUMBER>
NUMBER ParseNumber(std::string_view text, ODDITY_LISTENER* listener) {
    if constexpr (std::is_integral_v<NUMBER>)
        if (int32_t const value = ParseDigits(text); value >= 0) return static_cast<NUMBER>(value);
    if (IsPlain(text)) {
        NUMBER value{};
        char const* const end = text.data() + text.size();
        auto const [stop, error] = std::from_chars(text.data(), end, value);
        if (error == std::errc() && stop == end) return value;
    }
    if constexpr (std::is_floating_point_v<NUMBER>)
        if (text == TICKET_FORMAT::NOT_A_NUMBER) return std::numeric_limits<NUMBER>::quiet_NaN();
    return ParseAsStream<NUMBER>(text, listener);
}

template int32_t ParseNumber<int32_t>(std::string_view, ODDITY_LISTENER*);
template int64_t ParseNumber<int64_t>(std::string_view, ODDITY_LISTENER*);
template uint64_t ParseNumber<uint64_t>(std::string_view, ODDITY_LISTENER*);
template double ParseNumber<double>(std::string_view, ODDITY_LISTENER*);
