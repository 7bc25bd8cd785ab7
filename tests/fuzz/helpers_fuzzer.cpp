// Compares helpers that hosts may call with any text with simple references. The first byte of the input chooses the
// helper.
#include <algorithm>
#include <array>
#include <cstdint>
#include <cstdlib>
#include <memory>
#include <string>
#include <vector>

#include "ConfigurationControl/CharSets.h"
#include "ConfigurationControl/ConfigurationCtrl.h"
#include "ConfigurationControl/TicketAccess.h"
#include "Format/Wildcard.h"
#include "FuzzInput.h"
#include "FuzzWildcard.h"
#include "helpers_fuzzer_lists.h"

namespace {

using TEXTS = std::vector<std::string>;

constexpr std::size_t LONGEST_PATTERN = 64;

// ---- Character sets

bool LooksLikeUtf8(std::string const& text) {
    auto const byte = [&](std::size_t at) {
        return at < text.size() ? static_cast<unsigned int>(static_cast<unsigned char>(text[at])) : 0u;
    };
    auto const follow = [&](std::size_t at, std::size_t count) {
        while (count > 0 && (byte(at + count) & 0xC0) == 0x80) --count;
        return count == 0;
    };
    for (std::size_t at = 0; at < text.size(); ++at) {
        if ((byte(at) & 0xE0) == 0xC0 && follow(at, 1)) return true;
        if ((byte(at) & 0xF0) == 0xE0 && follow(at, 2)) return true;
        if ((byte(at) & 0xF1) == 0xF0 && follow(at, 3)) return true;
    }
    return false;
}

std::string EscapedForXml(std::string text) {
    struct {
        char byte;
        char const* replacement;
    } const keys[] = {{'"', "&quot;"},    {'&', "&amp;"},     {'\'', "&apos;"},   {'<', "&lt;"},
                      {'>', "&gt;"},      {'\xC4', "&#196;"}, {'\xD6', "&#214;"}, {'\xDC', "&#220;"},
                      {'\xDF', "&#223;"}, {'\xE4', "&#228;"}, {'\xF6', "&#246;"}, {'\xFC', "&#252;"}};
    std::size_t cursor = 0;
    for (auto const& [byte, replacement] : keys) {
        while (cursor < text.size()) {
            std::size_t const at = text.find(byte, cursor);
            if (at == std::string::npos) break;
            text.replace(at, 1, replacement);
            cursor = at + 1;
        }
    }
    return text;
}

void CheckDuplicate(char const* source) {
    char* const allocated = CharSets::DuplicateAndConvert(source, CharSets::WIN_TO_UTF8, CharSets::ALLOC_MALLOC);
    char* const made = CharSets::DuplicateAndConvert(source, CharSets::UTF8_TO_WIN, CharSets::ALLOC_NEW);
    MUST_HOLD((allocated != nullptr) == (source != nullptr) && (made != nullptr) == (source != nullptr));
    if (source != nullptr) {
        MustBeSame(allocated, source, "duplicate");
        MustBeSame(made, source, "duplicate");
    }
    std::free(allocated);
    delete[] made;
}

// Copies into a buffer of exactly that size, so that the sanitizer reports a write past its end.
void CheckCopy(char* (*copy)(char*, char const*, std::size_t), char const* source, std::size_t size) {
    std::unique_ptr<char[]> const buffer(new char[size]);
    std::fill_n(buffer.get(), size, 'x');
    MUST_HOLD(copy(buffer.get(), source, size) == buffer.get());
    if (size == 0) return;
    std::string expected = std::string(source != nullptr ? source : "").substr(0, size - 1);
    expected.resize(size);
    MustBeSame(std::string(buffer.get(), size), expected, "copy");
}

void CheckOverlap(INPUT& input, std::string const& text) {
    std::string bytes = text;
    std::size_t const from = text.empty() ? 0 : input.Below(256) % text.size();
    std::size_t const to = text.empty() ? 0 : input.Below(256) % text.size();
    std::size_t const size = bytes.size() - std::max(from, to);
    std::string expected = text.substr(from, size > 0 ? size - 1 : 0);
    expected.resize(size);
    CharSets::Utf82Win(&bytes[to], &bytes[from], size);
    MustBeSame(bytes.substr(to, size), expected, "copied over itself");
}

void CheckCharSets(INPUT& input) {
    std::size_t const size = input.Below(64);
    bool const isNull = input.Below(16) == 0;
    std::string const bytes = input.Bytes();
    std::string const text = bytes.c_str();
    char const* const source = isNull ? nullptr : text.c_str();

    MUST_HOLD(CharSets::IsUtf8Coded(source) == (!isNull && LooksLikeUtf8(text)));
    MUST_HOLD(CharSets::IsUtf8Coded(bytes) == LooksLikeUtf8(text));
    MUST_HOLD(!CharSets::NeedsConversion(source) && !CharSets::NeedsConversion(bytes));
    MUST_HOLD(CharSets::RequiredBufferSize(source) == 0 && CharSets::RequiredBufferSize(bytes) == 0);
    CheckDuplicate(source);
    for (auto* const copy : {static_cast<char* (*)(char*, char const*, std::size_t)>(&CharSets::Win2Utf8),
                             static_cast<char* (*)(char*, char const*, std::size_t)>(&CharSets::Win2Utf8Decomposed),
                             static_cast<char* (*)(char*, char const*, std::size_t)>(&CharSets::Utf82Win)}) {
        CheckCopy(copy, source, size);
        MUST_HOLD(copy(nullptr, source, size) == nullptr);
    }
    CheckOverlap(input, text);
    MustBeSame(CharSets::Win2Utf8(bytes), bytes, "string");
    MustBeSame(CharSets::Win2Utf8Decomposed(bytes), bytes, "string");
    MustBeSame(CharSets::Utf82Win(bytes), bytes, "string");
    std::string escaped = bytes;
    CharSets::ReplaceConflictingXMLDataInString(escaped);
    MustBeSame(escaped, EscapedForXml(bytes), "escaped");
    MUST_HOLD(CharSets::DBCS::LastAsciiPos(bytes) == static_cast<std::ptrdiff_t>(bytes.size()) - 1);
}

void CheckFilter(INPUT& input) {
    bool const passAll = input.Flag();
    CharSets::FilterString filter(passAll);
    std::array<char, 256> table{};
    auto const put = [&](std::size_t first, std::size_t last, int with) {
        for (std::size_t byte = first; byte <= last; ++byte) {
            table[byte] = with < 0 ? static_cast<char>(byte) : static_cast<char>(with);
        }
    };
    if (passAll) put(0, 255, -1);
    for (std::size_t steps = input.Below(12); steps > 0; --steps) {
        std::size_t const what = input.Below(6);
        std::size_t const first = input.Byte();
        std::size_t const last = input.Byte();
        int const with = what % 3 == 0 ? -1 : what % 3 == 1 ? 0 : static_cast<int>(input.Byte());
        auto const from = static_cast<char>(first);
        auto const to = static_cast<char>(last);
        if (what < 3) {
            if (what == 0) filter.setBypass(from, to);
            if (what == 1) filter.setRemove(from, to);
            if (what == 2) filter.setReplace(from, to, static_cast<char>(with));
            put(first, last, with);
            continue;
        }
        std::string const set = input.Text();
        char const* const members = first == 0 ? nullptr : set.c_str();
        if (what == 3) filter.setBypass(members);
        if (what == 4) filter.setRemove(members);
        if (what == 5) filter.setReplace(members, static_cast<char>(with));
        for (char const member : members != nullptr ? set : "") {
            auto const byte = static_cast<unsigned char>(member);
            put(byte, byte, with);
        }
    }
    std::string all;
    for (int byte = 0; byte < 256; ++byte) all += static_cast<char>(byte);
    std::string expected;
    for (char const kept : table)
        if (kept != 0) expected += kept;
    MustBeSame(filter(all), expected, "filtered");
    for (std::size_t byte = 0; byte < table.size(); ++byte) MUST_HOLD(filter(static_cast<char>(byte)) == table[byte]);
}

// ---- Texts in pieces, names

TEXTS Pieces(std::string const& text, std::string const& delimiters) {
    auto const isDelimiter = [&](std::size_t at) { return delimiters.find(text[at]) != std::string::npos; };
    TEXTS pieces{""};
    std::size_t at = 0;
    while (true) {
        for (; at < text.size() && !isDelimiter(at); ++at) pieces.back() += text[at];
        while (at < text.size() && isDelimiter(at)) ++at;
        if (at == text.size()) return pieces;
        pieces.emplace_back();
    }
}

void CheckTokens(INPUT& input) {
    TEXTS tokens(input.Below(3), "before");
    TEXTS expected = tokens;
    std::string const delimiters = input.Bytes();
    std::string const text = input.Bytes();
    for (std::string const& piece : Pieces(text, delimiters)) expected.push_back(piece);
    CConfigurationControl::Tokenize(text, tokens, delimiters);
    MUST_HOLD(tokens == expected);

    for (std::string const& piece : Pieces(tokens.back(), tokens.front())) expected.push_back(piece);
    CConfigurationControl::Tokenize(tokens.back(), tokens, tokens.front());
    MUST_HOLD(tokens == expected);

    TEXTS names{"left over"};
    FilenamesToTicket(names, tokens);
    for (std::string& name : expected) {
        for (char& byte : name)
            if (byte == '\\') byte = '/';
    }
    MUST_HOLD(names == expected);
    MUST_HOLD(FilenameToTicket(tokens.back()) == names.back() && FilenameFromTicket_C(tokens.back()) == names.back());
}

// ---- Wildcards

using wildcards::Matches;

void CheckWildcard(INPUT& input) {
    std::size_t const limit = 1 + input.Byte();
    std::string const pattern = input.Bytes().substr(0, LONGEST_PATTERN);
    std::string const name = input.Bytes().substr(0, LONGEST_PATTERN);
    WILDCARD const wildcard(pattern);
    MUST_HOLD(wildcard.Matches(name) == Matches(pattern, name));
    if (!WILDCARD::IsPattern(pattern)) MUST_HOLD(wildcard.Matches(name) == (pattern == name));

    TEXTS names{"left over"};
    if (!wildcard.ListNames(limit, names)) return;
    MUST_HOLD(names.size() <= limit);
    for (std::string const& listed : names) MUST_HOLD(Matches(pattern, listed));
    bool const isListed = std::find(names.begin(), names.end(), name) != names.end();
    MUST_HOLD(isListed == Matches(pattern, name));
}

constexpr void (*CHECKS[])(INPUT&) = {&CheckCharSets, &CheckFilter,    &CheckTokens,
                                      &CheckWildcard, &CheckBatchList, &CheckPartialMode};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size) {
    INPUT input(data, size);
    CHECKS[input.Below(std::size(CHECKS))](input);
    return 0;
}
