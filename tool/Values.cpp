// Names of types, text of values. Everything here is exact and independent of the locale: a value that is shown can be
// set again from what was shown.
#include "Values.h"

#include <algorithm>
#include <charconv>
#include <cmath>

namespace {

struct TYPE_NAME {
    PARAM_TYPE type;
    char const* name;
};
constexpr TYPE_NAME kTypeNames[] = {
    {PARAM_INT, "int"},       {PARAM_UNSIGNED, "unsigned"}, {PARAM_INT64, "int64"},   {PARAM_UINT64, "uint64"},
    {PARAM_DOUBLE, "double"}, {PARAM_STRING, "string"},     {PARAM_BINSTR, "binstr"},
};
// The order of the alternatives of Value.
constexpr PARAM_TYPE kAlternatives[] = {PARAM_INT,    PARAM_UNSIGNED, PARAM_INT64, PARAM_UINT64,
                                        PARAM_DOUBLE, PARAM_STRING,   PARAM_BINSTR};

template <typename T>
Value ParseNumber(std::string const& text, PARAM_TYPE type) {
    T number{};
    char const* const end = text.data() + text.size();
    char const* begin = text.data();
    if (text.size() > 1 && text[0] == '+' && text[1] != '-') ++begin;
    auto const [stop, error] = std::from_chars(begin, end, number);
    if (error == std::errc::result_out_of_range) {
        throw Failure(Excerpt(text) + " is out of the range of type " + TypeName(type));
    }
    if (error != std::errc() || stop != end) throw Failure(Excerpt(text) + " is not a value of type " + TypeName(type));
    return number;
}

template <typename T>
std::string NumberText(T number) {
    char buffer[32];
    return std::string(buffer, std::to_chars(buffer, buffer + sizeof buffer, number).ptr);
}

int HexDigit(char c) {
    if (c >= '0' && c <= '9') return c - '0';
    if (c >= 'a' && c <= 'f') return c - 'a' + 10;
    if (c >= 'A' && c <= 'F') return c - 'A' + 10;
    throw Failure(std::string("'") + c + "' is not a hexadecimal digit");
}

// The length of the UTF-8 sequence that `text` begins with; 0 if it begins with none.
std::size_t SequenceLength(std::string_view text) {
    auto const byte = [&](std::size_t i) { return static_cast<unsigned char>(text[i]); };
    unsigned char const first = byte(0);
    if (first < 0x80) return 1;
    std::size_t const length = first < 0xC2 ? 0 : first < 0xE0 ? 2 : first < 0xF0 ? 3 : first < 0xF5 ? 4 : 0;
    if (length == 0 || text.size() < length) return 0;
    for (std::size_t i = 1; i < length; ++i) {
        if ((byte(i) & 0xC0) != 0x80) return 0;
    }
    // Longer than needed, halves of pairs, beyond the last character.
    bool const wrong = (first == 0xE0 && byte(1) < 0xA0) || (first == 0xED && byte(1) > 0x9F) ||
                       (first == 0xF0 && byte(1) < 0x90) || (first == 0xF4 && byte(1) > 0x8F);
    return wrong ? 0 : length;
}

bool IsControl(std::string_view character) {
    auto const first = static_cast<unsigned char>(character[0]);
    // U+0080 to U+009F are controls as well.
    return first < 0x20 || first == 0x7F || (first == 0xC2 && static_cast<unsigned char>(character[1]) < 0xA0);
}

// Puts a backslash before each character of `special` too.
std::string Escaped(std::string_view text, std::string_view special) {
    std::string result;
    while (!text.empty()) {
        std::size_t const length = SequenceLength(text);
        auto const character = text.substr(0, length == 0 ? 1 : length);
        text.remove_prefix(character.size());
        if (character == "\n") {
            result += "\\n";
        } else if (character == "\r") {
            result += "\\r";
        } else if (character == "\t") {
            result += "\\t";
        } else if (length == 0 || IsControl(character)) {
            for (char const byte : character) result += "\\x" + ToHex({&byte, 1});
        } else {
            if (special.find(character) != std::string_view::npos) result += '\\';
            result += character;
        }
    }
    return result;
}

// Messages are for people: the beginning of a long text says enough.
std::string Cut(std::string line) {
    constexpr std::size_t kLongest = 60;
    if (line.size() <= kLongest) return line;
    std::size_t length = kLongest;
    while (length > 0 && (static_cast<unsigned char>(line[length]) & 0xC0) == 0x80) --length;
    return line.replace(length, std::string::npos, "...");
}

bool SameValue(Value const& a, Value const& b) {
    if (auto const* x = std::get_if<double>(&a); x != nullptr && std::isnan(*x)) {
        auto const* y = std::get_if<double>(&b);
        return y != nullptr && std::isnan(*y);
    }
    return a == b;
}

}  // namespace

bool SameParameter(Parameter const& a, Parameter const& b) {
    return std::equal(a.begin(), a.end(), b.begin(), b.end(), SameValue);
}

char const* TypeName(PARAM_TYPE type) {
    for (auto const& row : kTypeNames) {
        if (row.type == type) return row.name;
    }
    return "none";
}

PARAM_TYPE TypeOf(Value const& value) {
    return kAlternatives[value.index()];
}
char const* TypeName(Value const& value) {
    return TypeName(TypeOf(value));
}

PARAM_TYPE TypeFromName(std::string_view name) {
    for (auto const& row : kTypeNames) {
        if (name == row.name) return row.type;
    }
    throw Failure("unknown type '" + std::string(name) + "'");
}

std::vector<std::string> const& TypeNames() {
    static std::vector<std::string> const names = [] {
        std::vector<std::string> result;
        for (auto const& row : kTypeNames) result.emplace_back(row.name);
        return result;
    }();
    return names;
}

Value ParseValue(std::string const& text, PARAM_TYPE type) {
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
            return Bytes{text};
        default:
            return text;
    }
}

std::string FromHex(std::string_view digits) {
    if (digits.size() % 2 != 0) throw Failure("an odd number of hexadecimal digits");
    std::string bytes;
    bytes.reserve(digits.size() / 2);
    for (std::size_t i = 0; i < digits.size(); i += 2) {
        bytes += static_cast<char>(HexDigit(digits[i]) * 16 + HexDigit(digits[i + 1]));
    }
    return bytes;
}

std::string ToHex(std::string_view bytes) {
    constexpr char kDigits[] = "0123456789ABCDEF";
    std::string digits;
    digits.reserve(bytes.size() * 2);
    for (char const c : bytes) {
        auto const byte = static_cast<unsigned char>(c);
        digits += kDigits[byte >> 4];
        digits += kDigits[byte & 15];
    }
    return digits;
}

std::string PlainText(Value const& value) {
    if (auto const* text = std::get_if<std::string>(&value)) return *text;
    if (auto const* bytes = std::get_if<Bytes>(&value)) return bytes->data;
    if (auto const* number = std::get_if<double>(&value)) return std::isnan(*number) ? "nan" : NumberText(*number);
    if (auto const* number = std::get_if<int32_t>(&value)) return NumberText(*number);
    if (auto const* number = std::get_if<uint32_t>(&value)) return NumberText(*number);
    if (auto const* number = std::get_if<int64_t>(&value)) return NumberText(*number);
    return NumberText(std::get<uint64_t>(value));
}

std::string OneLine(Value const& value) {
    if (auto const* text = std::get_if<std::string>(&value)) return '"' + Escaped(*text, "\"\\") + '"';
    if (auto const* bytes = std::get_if<Bytes>(&value)) return ToHex(bytes->data);
    return PlainText(value);
}

std::string Excerpt(Value const& value) {
    return Cut(OneLine(value));
}

std::string Quoted(std::string_view key) {
    return "'" + Cut(Printable(key)) + "'";
}

bool IsUtf8(std::string_view text) {
    while (!text.empty()) {
        std::size_t const length = SequenceLength(text);
        if (length == 0) return false;
        text.remove_prefix(length);
    }
    return true;
}

std::string Printable(std::string_view text) {
    return Escaped(text, {});
}
