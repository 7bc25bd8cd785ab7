/** @file
 * Numbers, times and bytes as text that every file keeps: decimal digits and percent-encoding. C++17.
 *
 * Nothing here depends on the host's locale. Times are decimal seconds, so that a program with another clock, or
 * another unit, reads the same time.
 */
#ifndef CONFIGURATIONCONTROL_STORE_TEXT_H
#define CONFIGURATIONCONTROL_STORE_TEXT_H

#include <locale.h>  // NOLINT: newlocale and uselocale are POSIX

#include <clocale>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <string>
#include <string_view>

#include "ConfigurationControl/Store/Result.h"
#include "ConfigurationControl/Store/Types.h"

namespace ticket::detail {

constexpr bool is_digit(char c) {
    return c >= '0' && c <= '9';
}

/** Appends `value` in decimal, with at least `digits` digits. */
inline void append_decimal(std::string& text, Integer128 value, int digits = 1) {
    char buffer[48];
    char* begin = buffer + sizeof buffer;
    bool const negative = value < 0;
    for (; value != 0 || digits > 0; value /= 10, --digits) {
        int const digit = static_cast<int>(value % 10);
        *--begin = static_cast<char>('0' + (digit < 0 ? -digit : digit));
    }
    if (negative) *--begin = '-';
    text.append(begin, static_cast<std::size_t>(buffer + sizeof buffer - begin));
}

/** Reads a whole text as a decimal integer: an optional "-" and digits, at most 37 of them. */
inline bool parse_decimal(std::string_view text, Integer128& value) {
    bool const negative = !text.empty() && text.front() == '-';
    if (negative) text.remove_prefix(1);
    if (text.empty() || text.size() > 37) return false;
    value = 0;
    for (char const c : text) {
        if (!is_digit(c)) return false;
        value = value * 10 + (negative ? '0' - c : c - '0');
    }
    return true;
}

/** The "C" locale for this thread while it lives: printf and strtod then use a full stop. */
class ClassicLocale {
 public:
    ClassicLocale() : m_before(uselocale(classic())) {}
    ~ClassicLocale() { uselocale(m_before); }
    ClassicLocale(ClassicLocale const&) = delete;
    ClassicLocale& operator=(ClassicLocale const&) = delete;

 private:
    static locale_t classic() {
        static locale_t const locale = newlocale(LC_ALL_MASK, "C", nullptr);
        return locale;
    }

    locale_t m_before;
};

/** A double as the shortest text that reads back as the same double; "nan", "inf" and "-inf" where it is none. */
inline std::string decimal(double value) {
    if (value != value) return "nan";
    char buffer[40];
    ClassicLocale const locale;
    for (int digits = 15; digits <= 17; ++digits) {
        std::snprintf(buffer, sizeof buffer, "%.*g", digits, value);
        if (std::strtod(buffer, nullptr) == value) break;
    }
    return buffer;
}

/** Reads a whole text as `decimal` writes it; other spellings of numbers only in decimal. */
inline bool parse_decimal(std::string const& text, double& value) {
    std::string_view const digits = text.empty() || text[0] != '-' ? std::string_view(text) : text.c_str() + 1;
    bool const named = digits == "inf" || text == "nan";
    if (!named && (digits.empty() || digits.find_first_not_of("0123456789.eE+-") != std::string_view::npos ||
                   !(is_digit(digits[0]) || digits[0] == '.')))
        return false;
    ClassicLocale const locale;
    char* end = nullptr;
    value = std::strtod(text.c_str(), &end);
    return end == text.c_str() + text.size();
}

/** Writes `value` per cent: blanks, control bytes, '%' and '&' as "%20" and the like; all from 0x7F up if `ascii`. */
inline std::string percent_encode(std::string_view value, bool ascii) {
    constexpr char hex[] = "0123456789ABCDEF";
    std::string text;
    for (char const c : value) {
        unsigned int const byte = static_cast<unsigned char>(c);
        if (byte > 0x20 && c != '%' && c != '&' && (byte < 0x7F || !ascii)) {
            text += c;
            continue;
        }
        text += '%';
        text += hex[byte >> 4];
        text += hex[byte & 0xF];
    }
    return text;
}

/** The value of a hexadecimal digit, -1 if it is none. */
constexpr int hex_value(char c) {
    if (is_digit(c)) return c - '0';
    if (c >= 'A' && c <= 'F') return c - 'A' + 10;
    return c >= 'a' && c <= 'f' ? c - 'a' + 10 : -1;
}

/** The inverse of percent_encode; false for a '%' without two hexadecimal digits. */
inline bool percent_decode(std::string_view text, std::string& value) {
    value.clear();
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (text[i] != '%') {
            value += text[i];
            continue;
        }
        int const high = i + 2 < text.size() ? hex_value(text[i + 1]) : -1;
        int const low = high >= 0 ? hex_value(text[i + 2]) : -1;
        if (low < 0) return false;
        value += static_cast<char>(high * 16 + low);
        i += 2;
    }
    return true;
}

constexpr std::int64_t ATTO = 1000000000000000000; /**< the finest fraction of a second that is kept: 10^-18 */

/** `count` units of `numerator`/`denominator` seconds as decimal seconds: "-1.5". The denominator divides 10^18. */
inline std::string decimal_seconds(Integer128 count, std::int64_t numerator, std::int64_t denominator) {
    Integer128 const total = count * numerator;
    Integer128 const whole = total / denominator;
    Integer128 fraction = total % denominator;
    std::string text;
    if (total < 0 && whole == 0) text += '-';
    append_decimal(text, whole);
    if (fraction == 0) return text;
    text += '.';
    append_decimal(text, (fraction < 0 ? -fraction : fraction) * (ATTO / denominator), 18);
    text.erase(text.find_last_not_of('0') + 1);
    return text;
}

/** Splits "-1.5" into whole seconds and 10^-18 seconds, both with the sign. */
inline bool split_seconds(std::string_view text, Integer128& whole, Integer128& atto) {
    std::size_t const point = text.find('.');
    if (!parse_decimal(text.substr(0, point), whole)) return false;
    atto = 0;
    if (point == std::string_view::npos) return true;
    std::string_view digits = text.substr(point + 1);
    if (digits.empty() || digits.front() == '-') return false;
    std::string_view const kept = digits.substr(0, 18);
    if (digits.find_first_not_of('0', kept.size()) != std::string_view::npos) return false;
    if (!parse_decimal(kept, atto)) return false;
    for (std::size_t i = kept.size(); i < 18; ++i) atto *= 10;
    if (text.front() == '-') atto = -atto;
    return true;
}

/** The inverse of decimal_seconds. With `exact` false, what is no whole number of units is rounded to the nearest. */
inline Status parse_seconds(std::string_view text, std::int64_t numerator, std::int64_t denominator, bool exact,
                            Integer128& count) {
    Integer128 whole = 0, atto = 0, units = 0;
    if (!split_seconds(text, whole, atto)) return {Reason::wrong_type, "the text is no time in decimal seconds"};
    Integer128 const unit = ATTO / denominator;
    if (__builtin_mul_overflow(whole, static_cast<Integer128>(denominator), &units) ||
        __builtin_add_overflow(units, atto / unit, &units))
        return {Reason::out_of_range, "the time does not fit"};
    Integer128 const rest = units % numerator * unit + atto % unit;
    if (exact && rest != 0) return {Reason::out_of_range, "the time is no whole number of this unit"};
    count = units / numerator;
    if (2 * (rest < 0 ? -rest : rest) >= numerator * unit) count += rest < 0 ? -1 : 1;
    return {};
}

/** Whether `text`, which follows a '&', makes it an entity that a load decodes: "lt;" or "#65;". */
inline bool continues_entity(std::string_view text) {
    for (std::string_view const name : {"amp;", "lt;", "gt;", "quot;", "apos;"})
        if (text.substr(0, name.size()) == name) return true;
    if (text.empty() || text.front() != '#') return false;
    std::size_t const end = text.find_first_not_of("0123456789abcdefABCDEFxX", 1);
    return end != std::string_view::npos && end > 1 && text[end] == ';';
}

/**
 * Whether a file gives this text, or these bytes, back as they are. A load may drop a blank at either end, and
 * decodes what looks like an entity.
 */
inline Status kept_by_file(std::string_view text) {
    if (text.empty()) return {};
    if (text.front() == ' ' || text.back() == ' ')
        return {Reason::not_kept, "a file drops a blank at either end; declare the key wide"};
    for (std::size_t at = text.find('&'); at != std::string_view::npos; at = text.find('&', at + 1))
        if (continues_entity(text.substr(at + 1)))
            return {Reason::not_kept, "a file decodes what looks like an entity; declare the key wide"};
    return {};
}

}  // namespace ticket::detail

#endif
