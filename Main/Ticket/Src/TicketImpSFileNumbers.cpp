// Numbers of a ticket file. Plain spellings go through the character conversions of the standard library, which know no
// locale; every other spelling is left to a stream with the classic locale, whose behaviour is the rule.
#include "TicketImpSFileNumbers.h"

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

// Moves the point of `mantissa`, which stands at `point`, to the right; zeros fill up what is missing.
void MovePoint(std::string& mantissa, std::size_t point, int places) {
    auto const target = point + static_cast<std::size_t>(places);
    mantissa.erase(point, 1);
    if (mantissa.size() < target) mantissa.append(target - mantissa.size(), '0');
    mantissa.insert(target, 1, '.');
}

// The exponent in engineering notation and how far the point has to move for it; both stay where the exponent is a
// multiple of 3 already. Only changed exponents have three digits. Kept: files have always looked so.
int Engineering(std::string& exponent, int value) {
    int const remainder = value % 3;
    if (remainder == 0) return 0;
    int const shift = value > 0 ? remainder : remainder + 3;
    std::string digits = std::to_string(std::abs(value - shift));
    if (digits.size() < 3) digits.insert(0, 3 - digits.size(), '0');
    exponent.replace(2, std::string::npos, digits);
    return shift;
}

std::string Format(BestDouble const& bd) {
    if (std::isnan(bd.value)) return TICKET_FORMAT::NOT_A_NUMBER;

    char buffer[32];
    auto const end =
        std::to_chars(buffer, buffer + sizeof buffer, bd.value, std::chars_format::scientific, FRACTION_DIGITS).ptr;
    std::string text(buffer, end);
    if (std::abs(bd.value) < std::numeric_limits<double>::min()) return text;

    auto const point = text.find('.');
    if (point == std::string::npos) throw "operator<< (std::ostream& os, const BestDouble& bd): missing '.'";
    auto const mark = text.rfind('e');
    if (mark == std::string::npos) throw "operator<< (std::ostream& os, const BestDouble& bd): missing 'e'";

    std::string exponent = text.substr(mark);
    text.resize(mark);
    int const value = std::atoi(exponent.c_str() + 1);
    if (value >= 0 && value <= bd.limit) {
        exponent.clear();
        MovePoint(text, point, value);
    } else {
        MovePoint(text, point, Engineering(exponent, value));
    }
    text.resize(text.find_last_not_of('0') + 1);
    return text += exponent;
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
    return os << Format(bd);
}

void AppendNumber(std::string& out, BestDouble const& bd) {
    out += Format(bd);
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
