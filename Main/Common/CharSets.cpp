// Byte-string helpers without state. On this platform the host's code page is UTF-8, so every conversion is a copy.

#include "ConfigurationControl/CharSets.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <string_view>
#include <utility>

namespace CharSets {

namespace {

using BYTE = unsigned char;

// Stops at a terminating zero, which is no continuation byte.
bool ContinuationBytes(char const* text, int count) {
    return std::all_of(text, text + count, [](char c) { return (static_cast<BYTE>(c) & 0xC0) == 0x80; });
}

// The number of continuation bytes after a lead byte; 0 for any other byte. The last mask is deliberately not 0xF8:
// hosts rely on 0xF8 to 0xFE being accepted if even.
int ContinuationsAfter(char lead) {
    BYTE const c = static_cast<BYTE>(lead);
    if ((c & 0xE0) == 0xC0) return 1;
    if ((c & 0xF0) == 0xE0) return 2;
    if ((c & 0xF1) == 0xF0) return 3;
    return 0;
}

char* CopyAndPad(char* destination, char const* source, std::size_t size) {
    if (!destination || size == 0) return destination;
    std::size_t const length = source ? strnlen(source, size - 1) : 0;
    if (length != 0) std::memmove(destination, source, length);
    std::memset(destination + length, 0, size - length);
    return destination;
}

struct ESCAPE {
    char key;
    std::string_view replacement;
};

// In ascending order of the unsigned bytes; the order decides what stays unescaped.
constexpr ESCAPE ESCAPES[] = {
    {'"', "&quot;"},    {'&', "&amp;"},     {'\'', "&apos;"},   {'<', "&lt;"},
    {'>', "&gt;"},      {'\xC4', "&#196;"}, {'\xD6', "&#214;"}, {'\xDC', "&#220;"},
    {'\xDF', "&#223;"}, {'\xE4', "&#228;"}, {'\xF6', "&#246;"}, {'\xFC', "&#252;"},
};

}  // namespace

bool IsUtf8Coded(char const* text) {
    if (!text) return false;
    for (; *text; ++text) {
        int const continuations = ContinuationsAfter(*text);
        if (continuations != 0 && ContinuationBytes(text + 1, continuations)) return true;
    }
    return false;
}

bool IsUtf8Coded(std::string const& text) {
    return IsUtf8Coded(text.c_str());
}

bool NeedsConversion(char const*) {
    return false;
}

bool NeedsConversion(std::string const&) {
    return false;
}

std::size_t RequiredBufferSize(char const*) {
    return 0;
}

std::size_t RequiredBufferSize(std::string const&) {
    return 0;
}

char* Win2Utf8(char* destination, char const* source, std::size_t size) {
    return CopyAndPad(destination, source, size);
}

char* Win2Utf8Decomposed(char* destination, char const* source, std::size_t size) {
    return CopyAndPad(destination, source, size);
}

char* Utf82Win(char* destination, char const* source, std::size_t size) {
    return CopyAndPad(destination, source, size);
}

std::string Win2Utf8(std::string const& text) {
    return text;
}

std::string Win2Utf8Decomposed(std::string const& text) {
    return text;
}

std::string Utf82Win(std::string const& text) {
    return text;
}

char* DuplicateAndConvert(char const* source, DIRECTION, ALLOC_METHOD method) {
    if (!source) return nullptr;
    std::size_t const size = std::strlen(source) + 1;
    char* const copy = method == ALLOC_MALLOC ? static_cast<char*>(std::malloc(size)) : new char[size];
    if (copy) std::memcpy(copy, source, size);
    return copy;
}

// The cursor is the position after the last replacement. A byte is replaced if it does not lie before the cursor at
// which the pass for its character began. Positions in the original text suffice: no replacement holds such a character
// after its "&".
void ReplaceConflictingXMLDataInString(std::string& text) {
    constexpr std::size_t NOWHERE = std::string::npos;
    std::size_t end[256] = {};  // the position after the last occurrence of each byte; 0: it does not occur
    for (std::size_t i = 0; i < text.size(); ++i) end[static_cast<BYTE>(text[i])] = i + 1;

    struct RULE {
        std::size_t from = NOWHERE;  // the first position where the byte is replaced
        std::string_view replacement;
    } rules[256];
    std::size_t cursor = 0;
    for (ESCAPE const& escape : ESCAPES) {
        BYTE const key = static_cast<BYTE>(escape.key);
        if (end[key] <= cursor) continue;
        rules[key] = {cursor, escape.replacement};
        cursor = end[key];
    }
    if (cursor == 0) return;

    std::string escaped;
    escaped.reserve(text.size() + text.size() / 8 + 8);
    for (std::size_t i = 0; i < text.size(); ++i) {
        RULE const& rule = rules[static_cast<BYTE>(text[i])];
        if (i >= rule.from)
            escaped += rule.replacement;
        else
            escaped += text[i];
    }
    text = std::move(escaped);
}

void DBCS::ReplaceAll(std::string& text, char from, char to) {
    std::replace(text.begin(), text.end(), from, to);
}

std::ptrdiff_t DBCS::LastAsciiPos(std::string const& text) {
    return static_cast<std::ptrdiff_t>(text.size()) - 1;
}

FilterString::FilterString(bool passAll) : m_table{} {
    if (passAll) setBypass('\0', '\xFF');
}

void FilterString::setBypass(char first, char last) {
    for (int byte = static_cast<BYTE>(first); byte <= static_cast<BYTE>(last); ++byte)
        m_table[byte] = static_cast<char>(byte);
}

void FilterString::setBypass(char const* set) {
    for (; set && *set; ++set) m_table[static_cast<BYTE>(*set)] = *set;
}

void FilterString::setRemove(char first, char last) {
    setReplace(first, last, '\0');
}

void FilterString::setRemove(char const* set) {
    setReplace(set, '\0');
}

void FilterString::setReplace(char first, char last, char with) {
    for (int byte = static_cast<BYTE>(first); byte <= static_cast<BYTE>(last); ++byte) m_table[byte] = with;
}

void FilterString::setReplace(char const* set, char with) {
    for (; set && *set; ++set) m_table[static_cast<BYTE>(*set)] = with;
}

std::string FilterString::operator()(std::string const& text) const {
    std::string filtered;
    filtered.reserve(text.size());
    for (char const c : text)
        if (char const kept = (*this)(c)) filtered += kept;
    return filtered;
}

}  // namespace CharSets
