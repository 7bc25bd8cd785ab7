// Names of types, text of values. Everything here is exact and independent of the locale: a value that is shown can be
// set again from what was shown.
#include "Values.h"

#include <algorithm>
#include <charconv>
#include <cmath>

#include "Format/Words.h"
#include "Text.h"

namespace {

// The order of the alternatives of Value.
constexpr PARAM_TYPE ALTERNATIVES[] = {PARAM_INT,    PARAM_UNSIGNED, PARAM_INT64, PARAM_UINT64,
                                       PARAM_DOUBLE, PARAM_STRING,   PARAM_BINSTR};

template <typename T>
VALUE ParseNumber(std::string const& text, PARAM_TYPE type) {
    T number{};
    char const* const end = text.data() + text.size();
    char const* begin = text.data();
    if (text.size() > 1 && text[0] == '+' && text[1] != '-') ++begin;
    auto const [stop, error] = std::from_chars(begin, end, number);
    if (error == std::errc::result_out_of_range) {
        throw FAILURE(Excerpt(text) + " is out of the range of type " + TypeName(type));
    }
    if (error != std::errc() || stop != end) throw FAILURE(Excerpt(text) + " is not a value of type " + TypeName(type));
    return number;
}

template <typename T>
std::string NumberText(T number) {
    char buffer[32];
    return std::string(buffer, std::to_chars(buffer, buffer + sizeof buffer, number).ptr);
}

bool SameValue(VALUE const& a, VALUE const& b) {
    if (auto const* x = std::get_if<double>(&a); x != nullptr && std::isnan(*x)) {
        auto const* y = std::get_if<double>(&b);
        return y != nullptr && std::isnan(*y);
    }
    return a == b;
}

}  // namespace

bool SameParameter(PARAMETER const& a, PARAMETER const& b) {
    return std::equal(a.begin(), a.end(), b.begin(), b.end(), SameValue);
}

char const* TypeName(PARAM_TYPE type) {
    if (type == PARAM_UNSIGNED) return "unsigned";  // files spell it as another type
    auto const name = TICKET_FORMAT::NameOf(type);
    return name.empty() ? "none" : name.data();
}

PARAM_TYPE TypeOf(VALUE const& value) {
    return ALTERNATIVES[value.index()];
}
char const* TypeName(VALUE const& value) {
    return TypeName(TypeOf(value));
}

PARAM_TYPE TypeFromName(std::string_view name) {
    for (auto const type : ALTERNATIVES) {
        if (name == TypeName(type)) return type;
    }
    throw FAILURE("unknown type '" + std::string(name) + "'");
}

std::vector<std::string> const& TypeNames() {
    static std::vector<std::string> const names = [] {
        std::vector<std::string> result;
        for (auto const type : ALTERNATIVES) result.emplace_back(TypeName(type));
        return result;
    }();
    return names;
}

VALUE ParseValue(std::string const& text, PARAM_TYPE type) {
    switch (type) {
        case PARAM_INT:
            return ParseNumber<int32_t>(text, type);
        case PARAM_UNSIGNED:
            return ParseNumber<uint32_t>(text, type);
        case PARAM_INT64:
            return ParseNumber<int64_t>(text, type);
        case PARAM_UINT64:
            return ParseNumber<uint64_t>(text, type);
        case PARAM_DOUBLE:
            return ParseNumber<double>(text, type);
        case PARAM_BINSTR:
            return BYTES{text};
        default:
            return text;
    }
}

std::string PlainText(VALUE const& value) {
    if (auto const* text = std::get_if<std::string>(&value)) return *text;
    if (auto const* bytes = std::get_if<BYTES>(&value)) return bytes->data;
    if (auto const* number = std::get_if<double>(&value)) return std::isnan(*number) ? "nan" : NumberText(*number);
    if (auto const* number = std::get_if<int32_t>(&value)) return NumberText(*number);
    if (auto const* number = std::get_if<uint32_t>(&value)) return NumberText(*number);
    if (auto const* number = std::get_if<int64_t>(&value)) return NumberText(*number);
    return NumberText(std::get<uint64_t>(value));
}

std::string OneLine(VALUE const& value) {
    if (auto const* text = std::get_if<std::string>(&value))
        return '"' + Printable(*text, LAYOUT::ESCAPED, "\"\\") + '"';
    if (auto const* bytes = std::get_if<BYTES>(&value)) return ToHex(bytes->data);
    return PlainText(value);
}

std::string Excerpt(VALUE const& value) {
    return Beginning(OneLine(value));
}
