// Escapes and white space of a ticket file's texts. Reading copies runs of ordinary bytes.
#include "Format/Escapes.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstring>

#include "Format/Words.h"

using TICKET_FORMAT::ODDITY;
using TICKET_FORMAT::ODDITY_LISTENER;

namespace {

constexpr char HEX_DIGITS[] = "0123456789ABCDEF";
constexpr char WITH_LETTERS[] = "\t\n\r\\";  // bytes whose escapes are a backslash and a letter
constexpr char LETTERS[] = "tnr\\";

std::size_t IndexOf(char byte) {
    return static_cast<unsigned char>(byte);
}

template <typename VALUE, typename RULE>
constexpr auto TableOf(RULE rule) {
    std::array<VALUE, 256> table{};
    for (unsigned int byte = 0; byte < table.size(); ++byte) table[byte] = rule(byte);
    return table;
}

// How a byte is written; for a space, its escape. All of `text` is copied; later bytes overwrite the unused ones.
struct alignas(8) SPELLING {
    char text[LONGEST_ESCAPE];
    uint8_t length;
    bool isItself;
};

constexpr SPELLING Spell(unsigned int byte) {
    char const itself = static_cast<char>(byte);
    for (std::size_t i = 0; WITH_LETTERS[i] != '\0'; ++i)
        if (WITH_LETTERS[i] == itself) return {{'\\', LETTERS[i]}, 2, false};
    bool const isItself = byte > 0x20 && byte < 0x7F && itself != '<' && itself != '>';
    return {{'\\', 'x', HEX_DIGITS[byte >> 4], HEX_DIGITS[byte & 0xF]}, LONGEST_ESCAPE, isItself};
}

constexpr auto SPELLINGS = TableOf<SPELLING>(Spell);

constexpr auto PLAIN = TableOf<bool>([](unsigned int byte) { return byte > 0x20 && byte != '\\'; });

// Upper-case digits only: "\x1b" is no escape, and files hold such texts. -1 for any other byte.
constexpr auto HEX_VALUES = TableOf<int8_t>([](unsigned int byte) -> int8_t {
    for (int8_t value = 0; value < 16; ++value)
        if (HEX_DIGITS[value] == static_cast<char>(byte)) return value;
    return -1;
});

bool IsHex(char byte) {
    return HEX_VALUES[IndexOf(byte)] >= 0;
}

bool IsSpace(char byte) {
    return static_cast<unsigned char>(byte) <= 0x20;
}

// The number of bytes at the front of `text` that are kept because they are no escape; 0 for an unfinished escape.
std::size_t LengthOfUnknown(std::string_view text) {
    if (text.size() < 2) return 0;
    if (text[1] != 'x') return 2;
    if (text.size() < 3) return 0;
    if (!IsHex(text[2])) return 3;
    return text.size() < 4 ? 0 : 4;
}

// Decodes the run of "\xHH" escapes at `in`.
void DecodeHex(char const*& in, char const* end, char*& out) {
    char const* at = in;
    char* to = out;
    for (; end - at >= 4 && std::memcmp(at, "\\x", 2) == 0; at += 4) {
        int const byte = HEX_VALUES[IndexOf(at[2])] * 16 | HEX_VALUES[IndexOf(at[3])];
        if (byte < 0) break;
        *to++ = static_cast<char>(byte);
    }
    in = at;
    out = to;
}

// Decodes an escape other than "\xHH" at `text[at]`, or copies what is no escape. Returns the position after it.
std::size_t DecodeOther(std::string_view text, std::size_t at, char*& out, ODDITY_LISTENER* listener) {
    std::string_view const rest = text.substr(at);
    char const* const letter = rest.size() >= 2 ? std::strchr(LETTERS, rest[1]) : nullptr;
    if (letter != nullptr && *letter != '\0') {
        *out++ = WITH_LETTERS[letter - LETTERS];
        return at + 2;
    }
    std::size_t const kept = LengthOfUnknown(rest);
    std::size_t const length = kept != 0 ? kept : rest.size();
    if (listener != nullptr) listener->Tell(kept != 0 ? ODDITY::UNKNOWN_ESCAPE : ODDITY::UNFINISHED_ESCAPE, at, length);
    out = std::copy_n(rest.data(), kept, out);
    return at + length;
}

// Writes the decoded text to `out` and returns its end.
char* Decode(char* out, std::string_view text, ODDITY_LISTENER* listener) {
    char const* in = text.data();
    char const* const end = in + text.size();
    while (in != end) {
        auto const left = static_cast<std::size_t>(end - in);
        auto const* const escape = static_cast<char const*>(std::memchr(in, '\\', left));
        out = std::copy(in, escape != nullptr ? escape : end, out);
        if (escape == nullptr) break;
        in = escape;
        DecodeHex(in, end, out);
        if (in != end && *in == '\\')
            in = text.data() + DecodeOther(text, static_cast<std::size_t>(in - text.data()), out, listener);
    }
    return out;
}

// The first byte of white space, or the end. Tests eight bytes at a time: the subtraction sets the highest bit of each
// byte below 0x21, and before the first of them that of no byte where it was clear.
char const* FindSpace(char const* at, char const* end) {
    constexpr uint64_t EACH = 0x0101010101010101;
    for (; end - at >= 8; at += 8) {
        uint64_t bytes;
        std::memcpy(&bytes, at, sizeof bytes);
        if (((bytes - 0x21 * EACH) & ~bytes & 0x80 * EACH) != 0) break;
    }
    while (at != end && !IsSpace(*at)) ++at;
    return at;
}

char const* SkipSpace(char const* at, char const* end) {
    while (at != end && IsSpace(*at)) ++at;
    return at;
}

// The first run of white space that is not one space, or the end. The text does not end in white space.
char const* FindChangedSpace(char const* at, char const* end) {
    while ((at = FindSpace(at, end)) != end) {
        if (*at != ' ' || IsSpace(at[1])) break;
        ++at;
    }
    return at;
}

void TellSpace(ODDITY_LISTENER* listener, char const* text, char const* begin, char const* end) {
    if (listener == nullptr || begin == end) return;
    listener->Tell(ODDITY::WHITE_SPACE, static_cast<std::size_t>(begin - text), static_cast<std::size_t>(end - begin));
}

}  // namespace

std::string EncodeString(std::string const& in) {
    constexpr std::size_t PART = 256;
    char part[LONGEST_ESCAPE * PART];
    std::string out;
    out.reserve(2 * in.size());
    bool isAfterSpace = false;
    for (std::size_t begin = 0; begin < in.size(); begin += PART) {
        char const* const end = Encode(part, std::string_view(in).substr(begin, PART), isAfterSpace);
        out.append(part, static_cast<std::size_t>(end - part));
    }
    return out;
}

std::string DecodeString(std::string const& in) {
    std::string out;
    DecodeTo(out, in);
    return out;
}

char* Encode(char* out, std::string_view in, bool& isAfterSpace) {
    if (in.empty()) return out;
    char const* const end = in.data() + in.size();
    char const* behindSpace = isAfterSpace ? in.data() : nullptr;  // the byte after the last unescaped space
    for (char const* at = in.data(); at != end; ++at) {
        char const byte = *at;
        SPELLING const& spelling = SPELLINGS[IndexOf(byte)];
        if (spelling.isItself) {
            *out++ = byte;
        } else if (byte == ' ' && at != behindSpace) {
            *out++ = ' ';
            behindSpace = at + 1;
        } else {
            std::memcpy(out, spelling.text, sizeof spelling.text);
            out += spelling.length;
        }
    }
    isAfterSpace = behindSpace == end;
    return out;
}

void DecodeTo(std::string& out, std::string_view in, ODDITY_LISTENER* listener) {
    if (in == TICKET_FORMAT::EMPTY_TEXT || in.empty()) return;
    std::size_t const before = out.size();
    out.resize(before + in.size());
    char const* const end = Decode(&out[before], in, listener);
    out.resize(static_cast<std::size_t>(end - out.data()));
}

std::string_view NormaliseSpace(std::string_view in, std::string& scratch, ODDITY_LISTENER* listener) {
    char const* const text = in.data();
    char const* end = text + in.size();
    char const* at = SkipSpace(text, end);
    while (end != at && IsSpace(end[-1])) --end;
    TellSpace(listener, text, text, at);

    char const* const begin = at;
    char const* changed = FindChangedSpace(at, end);
    std::string_view const trimmed(begin, static_cast<std::size_t>(end - begin));
    if (changed != end) scratch.clear();
    for (; changed != end; changed = FindChangedSpace(at, end)) {
        scratch.append(at, changed).append(1, ' ');
        at = SkipSpace(changed, end);
        TellSpace(listener, text, changed, at);
    }
    TellSpace(listener, text, end, text + in.size());
    return at == begin ? trimmed : std::string_view(scratch.append(at, end));
}

std::size_t PlainLength(char const* text) {
    std::size_t at = 0;
    for (; text[at] != '\0'; ++at)
        if (!PLAIN[IndexOf(text[at])] && (text[at] != ' ' || at == 0 || !PLAIN[IndexOf(text[at + 1])]))
            return std::string::npos;
    return at;
}
