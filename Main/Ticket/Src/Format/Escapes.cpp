// Escapes and white space of a ticket file's texts. Both directions copy ordinary bytes in runs and look closer only
// where something has to change.
#include "Format/Escapes.h"

#include <array>
#include <cstddef>
#include <optional>

#include "Format/Words.h"

namespace {

constexpr char HEX_DIGITS[] = "0123456789ABCDEF";

using BYTE_SET = std::array<bool, 256>;

template <typename RULE>
constexpr BYTE_SET BytesThat(RULE rule) {
    BYTE_SET bytes{};
    for (unsigned int byte = 0; byte < bytes.size(); ++byte) bytes[byte] = rule(byte);
    return bytes;
}

constexpr BYTE_SET WRITABLE = BytesThat(
    [](unsigned int byte) { return byte >= 0x20 && byte < 0x7F && byte != '\\' && byte != '<' && byte != '>'; });
constexpr BYTE_SET PLAIN = BytesThat([](unsigned int byte) { return byte > 0x20 && byte != '\\'; });

bool IsIn(BYTE_SET const& bytes, char byte) {
    return bytes[static_cast<unsigned char>(byte)];
}

bool IsSpace(char byte) {
    return static_cast<unsigned char>(byte) <= 0x20;
}

void AppendEscape(std::string& out, char byte) {
    switch (byte) {
        case '\t':
            out += "\\t";
            return;
        case '\n':
            out += "\\n";
            return;
        case '\r':
            out += "\\r";
            return;
        case '\\':
            out += "\\\\";
            return;
        default:
            break;
    }
    auto const value = static_cast<unsigned char>(byte);
    char const escape[] = {'\\', 'x', HEX_DIGITS[value >> 4], HEX_DIGITS[value & 0xF]};
    out.append(escape, sizeof escape);
}

// Upper case only: "\x1b" is no escape. Kept: files may hold such texts.
std::optional<unsigned int> HexDigit(char byte) {
    if (byte >= '0' && byte <= '9') return static_cast<unsigned int>(byte - '0');
    if (byte >= 'A' && byte <= 'F') return static_cast<unsigned int>(byte - 'A' + 10);
    return std::nullopt;
}

// Decodes what follows the backslash at `in[at]` and returns where the plain text goes on.
std::size_t DecodeEscape(std::string& out, std::string_view in, std::size_t at) {
    std::string_view const rest = in.substr(at);
    if (rest.size() < 2) return in.size();
    switch (rest[1]) {
        case '\\':
            out += '\\';
            return at + 2;
        case 'n':
            out += '\n';
            return at + 2;
        case 'r':
            out += '\r';
            return at + 2;
        case 't':
            out += '\t';
            return at + 2;
        case 'x':
            break;
        default:
            out += rest.substr(0, 2);
            return at + 2;
    }
    if (rest.size() < 3) return in.size();
    auto const high = HexDigit(rest[2]);
    if (!high) {
        out += rest.substr(0, 3);
        return at + 3;
    }
    if (rest.size() < 4) return in.size();
    if (auto const low = HexDigit(rest[3]))
        out += static_cast<char>(*high * 16 + *low);
    else
        out += rest.substr(0, 4);
    return at + 4;
}

// Whether a byte inside a trimmed text is white space that has to change. The text goes on behind it.
bool SpaceChanges(std::string_view text, std::size_t at) {
    return IsSpace(text[at]) && (text[at] != ' ' || IsSpace(text[at + 1]));
}

}  // namespace

std::string EncodeString(std::string const& in) {
    std::string out;
    out.reserve(2 * in.size());
    EncodeTo(out, in);
    return out;
}

std::string DecodeString(std::string const& in) {
    std::string out;
    out.reserve(in.size());
    DecodeTo(out, in);
    return out;
}

void EncodeTo(std::string& out, std::string_view in) {
    std::size_t done = 0;
    for (std::size_t at = 0; at < in.size(); ++at) {
        bool const isSecondSpace = in[at] == ' ' && at > done && in[at - 1] == ' ';
        if (IsIn(WRITABLE, in[at]) && !isSecondSpace) continue;
        out.append(in, done, at - done);
        AppendEscape(out, in[at]);
        done = at + 1;
    }
    out.append(in, done, in.size() - done);
}

void DecodeTo(std::string& out, std::string_view in) {
    if (in == TICKET_FORMAT::EMPTY_TEXT) return;
    for (std::size_t at = 0; at < in.size();) {
        std::size_t const escape = in.find('\\', at);
        out += in.substr(at, escape - at);
        if (escape == std::string_view::npos) return;
        at = DecodeEscape(out, in, escape);
    }
}

std::string_view NormaliseSpace(std::string_view in, std::string& scratch) {
    while (!in.empty() && IsSpace(in.front())) in.remove_prefix(1);
    while (!in.empty() && IsSpace(in.back())) in.remove_suffix(1);

    std::size_t at = 0;
    while (at < in.size() && !SpaceChanges(in, at)) ++at;
    if (at == in.size()) return in;

    scratch.assign(in, 0, at);
    for (; at < in.size(); ++at) {
        if (!IsSpace(in[at]))
            scratch += in[at];
        else if (!IsSpace(in[at + 1]))
            scratch += ' ';
    }
    return scratch;
}

std::size_t PlainLength(char const* text) {
    std::size_t at = 0;
    for (; text[at] != '\0'; ++at)
        if (!IsIn(PLAIN, text[at]) && (text[at] != ' ' || at == 0 || !IsIn(PLAIN, text[at + 1])))
            return std::string::npos;
    return at;
}
