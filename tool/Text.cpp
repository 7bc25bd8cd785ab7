// A file may hold any bytes; terminal control sequences are shown as escapes.
#include "Text.h"

#include <algorithm>
#include <cstdint>

#include "Values.h"

namespace {

constexpr char DIGITS[] = "0123456789ABCDEF";

int HexDigit(char c) {
    if (c >= '0' && c <= '9') return c - '0';
    if (c >= 'a' && c <= 'f') return c - 'a' + 10;
    if (c >= 'A' && c <= 'F') return c - 'A' + 10;
    throw FAILURE(std::string("'") + c + "' is not a hexadecimal digit");
}

// The number of a character, of a whole UTF-8 sequence.
std::uint32_t CodePoint(std::string_view sequence) {
    auto const byte = [&](std::size_t i) { return static_cast<unsigned char>(sequence[i]); };
    if (sequence.size() == 1) return byte(0);
    std::uint32_t number = byte(0) & (0xFFu >> (sequence.size() + 1));
    for (std::size_t i = 1; i < sequence.size(); ++i) number = number << 6 | (byte(i) & 0x3Fu);
    return number;
}

struct RANGE {
    std::uint32_t first;
    std::uint32_t last;
};
// clang-format off
constexpr RANGE CONTROLS[] = {
    {0x0000, 0x001F}, {0x007F, 0x009F},                    // C0, DEL, C1
    {0x061C, 0x061C}, {0x200E, 0x200F}, {0x202A, 0x202E},  // marks, embeddings and overrides of direction
    {0x2028, 0x2029},                                      // line and paragraph separator
    {0x2066, 0x2069},                                      // isolates of direction
};
// clang-format on

bool IsControl(std::uint32_t character) {
    return std::any_of(std::begin(CONTROLS), std::end(CONTROLS),
                       [&](RANGE const& range) { return character >= range.first && character <= range.last; });
}

std::string Escape(std::string_view character) {
    if (character == "\n") return "\\n";
    if (character == "\r") return "\\r";
    if (character == "\t") return "\\t";
    std::string escape;
    for (char const byte : character) escape += "\\x" + ToHex({&byte, 1});
    return escape;
}

}  // namespace

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

bool IsUtf8(std::string_view text) {
    while (!text.empty()) {
        std::size_t const length = SequenceLength(text);
        if (length == 0) return false;
        text.remove_prefix(length);
    }
    return true;
}

std::size_t LengthOfWholeCharacters(std::string_view text) {
    constexpr std::size_t LONGEST = 4;
    for (std::size_t length = 1; length < LONGEST && length <= text.size(); ++length) {
        auto const byte = static_cast<unsigned char>(text[text.size() - length]);
        if (byte < 0x80) break;
        if (byte < 0xC0) continue;  // a later byte of a sequence
        std::size_t const needed = byte < 0xE0 ? 2 : byte < 0xF0 ? 3 : 4;
        return needed > length ? text.size() - length : text.size();
    }
    return text.size();
}

std::string Printable(std::string_view text, LAYOUT layout, std::string_view special) {
    std::string result;
    while (!text.empty()) {
        std::size_t const length = SequenceLength(text);
        auto const character = text.substr(0, length == 0 ? 1 : length);
        text.remove_prefix(character.size());
        bool const kept = layout == LAYOUT::KEPT && (character == "\n" || character == "\t");
        if (!kept && (length == 0 || IsControl(CodePoint(character)))) {
            result += Escape(character);
        } else {
            if (special.find(character) != std::string_view::npos) result += '\\';
            result += character;
        }
    }
    return result;
}

std::string PrintableJson(std::string_view json) {
    std::string result;
    result.reserve(json.size());
    while (!json.empty()) {
        auto const character = json.substr(0, std::max<std::size_t>(1, SequenceLength(json)));
        json.remove_prefix(character.size());
        auto const number = CodePoint(character);
        if (number < 0x7F || !IsControl(number)) {  // JSON escapes the first ones by itself
            result += character;
        } else {
            result += "\\u";
            for (int shift = 12; shift >= 0; shift -= 4) result += DIGITS[number >> shift & 15];
        }
    }
    return result;
}

std::string Beginning(std::string line) {
    constexpr std::size_t LONGEST = 60;
    if (line.size() <= LONGEST) return line;
    return line.replace(LengthOfWholeCharacters(std::string_view(line).substr(0, LONGEST)), std::string::npos, "...");
}

std::string Quoted(std::string_view name) {
    return "'" + Beginning(Printable(name)) + "'";
}

std::string FromHex(std::string_view digits) {
    if (digits.size() % 2 != 0) throw FAILURE("an odd number of hexadecimal digits");
    std::string bytes;
    bytes.reserve(digits.size() / 2);
    for (std::size_t i = 0; i < digits.size(); i += 2) {
        bytes += static_cast<char>(HexDigit(digits[i]) * 16 + HexDigit(digits[i + 1]));
    }
    return bytes;
}

std::string ToHex(std::string_view bytes) {
    std::string digits;
    digits.reserve(bytes.size() * 2);
    for (char const c : bytes) {
        auto const byte = static_cast<unsigned char>(c);
        digits += DIGITS[byte >> 4];
        digits += DIGITS[byte & 15];
    }
    return digits;
}
