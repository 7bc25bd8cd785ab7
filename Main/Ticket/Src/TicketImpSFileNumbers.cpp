// Numbers of a ticket file. Plain spellings go through the character conversions of the standard library, which know no
// locale; every other spelling is left to a stream with the classic locale, whose behaviour is the rule.
#include "TicketImpSFileNumbers.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstddef>
#include <cstdlib>
#include <limits>
#include <locale>
#include <sstream>
#include <system_error>

#include "TicketImpSFileFormat.h"

namespace {

constexpr int FRACTION_DIGITS = 16;

template <typename INTEGER>
void AppendInteger(std::string& out, INTEGER value) {
    char text[std::numeric_limits<INTEGER>::digits10 + 3];
    out.append(text, static_cast<std::size_t>(std::to_chars(text, text + sizeof text, value).ptr - text));
}

// Appends `digits` with the point moved `places` to the right; zeros fill up what is missing and end nothing.
void AppendFraction(std::string& out, std::string_view digits, std::size_t places) {
    std::size_t const moved = std::min(places, digits.size());
    out.append(digits, 0, moved).append(places - moved, '0').append(1, '.');
    digits.remove_prefix(moved);
    out.append(digits, 0, digits.find_last_not_of('0') + 1);
}

// How far the point moves to make the exponent a multiple of 3.
int EngineeringShift(int exponent) {
    int const remainder = exponent % 3;
    return exponent < 0 && remainder != 0 ? remainder + 3 : remainder;
}

// Appends a changed exponent, which has three digits at least. Unchanged ones may have two; kept: files always looked
// so.
void AppendExponent(std::string& out, char sign, int magnitude) {
    out.append(1, 'e').append(1, sign);
    if (magnitude < 100) out += '0';
    if (magnitude < 10) out += '0';
    AppendInteger(out, magnitude);
}

// Whether `text` is spelled as the conversions and a stream read it alike: digits, with a "-" at most before them.
bool IsPlain(std::string_view text) {
    if (!text.empty() && text.front() == '-') text.remove_prefix(1);
    return !text.empty() && text.front() >= '0' && text.front() <= '9';
}

template <typename NUMBER>
NUMBER ParseAsStream(std::string_view text) {
    std::istringstream stream;
    stream.imbue(std::locale::classic());
    stream.str(std::string(text));
    NUMBER value{};
    stream >> value;
    return value;
}

}  // namespace

std::ostream& operator<<(std::ostream& os, BestDouble const& bd) {
    std::string text;
    AppendNumber(text, bd);
    return os << text;
}

void AppendNumber(std::string& out, BestDouble const& bd) {
    if (std::isnan(bd.value)) {
        out += TICKET_FORMAT::NOT_A_NUMBER;
        return;
    }
    char buffer[32];
    auto const [end, error] =
        std::to_chars(buffer, buffer + sizeof buffer, bd.value, std::chars_format::scientific, FRACTION_DIGITS);
    std::string_view const text(buffer, static_cast<std::size_t>(end - buffer));
    if (std::abs(bd.value) < std::numeric_limits<double>::min()) {
        out += text;
        return;
    }
    auto const point = text.find('.');
    if (point == std::string_view::npos) throw "operator<< (std::ostream& os, const BestDouble& bd): missing '.'";
    auto const mark = text.rfind('e');
    if (mark == std::string_view::npos) throw "operator<< (std::ostream& os, const BestDouble& bd): missing 'e'";

    int magnitude = 0;
    std::from_chars(buffer + mark + 2, end, magnitude);
    char const sign = text[mark + 1];
    int const exponent = sign == '-' ? -magnitude : magnitude;
    bool const isFixed = exponent >= 0 && exponent <= bd.limit;
    int const shift = isFixed ? exponent : EngineeringShift(exponent);
    out += text.substr(0, point);
    AppendFraction(out, text.substr(point + 1, mark - point - 1), static_cast<std::size_t>(shift));
    if (isFixed) return;
    if (shift == 0)
        out += text.substr(mark);
    else
        AppendExponent(out, sign, std::abs(exponent - shift));
}

void AppendNumber(std::string& out, int32_t value) {
    AppendInteger(out, value);
}

void AppendNumber(std::string& out, int64_t value) {
    AppendInteger(out, value);
}

void AppendNumber(std::string& out, uint64_t value) {
    AppendInteger(out, value);
}

template <typename NUMBER>
NUMBER ParseNumber(std::string_view text) {
    if (IsPlain(text)) {
        NUMBER value{};
        char const* const end = text.data() + text.size();
        auto const [stop, error] = std::from_chars(text.data(), end, value);
        if (error == std::errc() && stop == end) return value;
    }
    return ParseAsStream<NUMBER>(text);
}

template int32_t ParseNumber<int32_t>(std::string_view);
template int64_t ParseNumber<int64_t>(std::string_view);
template uint64_t ParseNumber<uint64_t>(std::string_view);
template double ParseNumber<double>(std::string_view);
