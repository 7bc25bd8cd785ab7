// Glob patterns: "*" matches any sequence of bytes, "?" one byte, "[...]" one byte of a set, "[!...]" one byte outside
// it. A set may hold ranges such as "a-z"; "]" is a member if it comes first.
#pragma once

#include <algorithm>
#include <bitset>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

class WILDCARD {
 public:
    // Whether `text` contains "*", "?" or "[".
    static bool IsPattern(std::string_view text) {
        auto const isSpecial = [](char byte) { return byte == '*' || byte == '?' || byte == '['; };
        return std::any_of(text.begin(), text.end(), isSpecial);
    }

    // Takes space linear in the pattern. An unclosed "[" makes a pattern that matches nothing.
    explicit WILDCARD(std::string_view pattern);

    // Takes time linear in the product of both lengths at worst.
    bool Matches(std::string_view name) const;

    // A fragment: four adjacent literal bytes of the pattern, which every matching name contains.
    using FRAGMENT = std::uint32_t;
    static constexpr std::size_t FRAGMENT_LENGTH = sizeof(FRAGMENT);
    static FRAGMENT FragmentOf(char const* bytes);
    std::vector<FRAGMENT> Fragments() const;

    // Lists all names that match, if these are at most `limit` (which is at least 1); otherwise returns false, and
    // `names` is unspecified. Fast for a pattern such as "list[0]", which matches few names.
    bool ListNames(std::size_t limit, std::vector<std::string>& names) const;

 private:
    struct ELEMENT {
        bool isStar;             // "*"
        bool isPlain;            // a literal byte
        char plain;              // the literal byte
        std::bitset<256> bytes;  // unless it is "*": the bytes that match
    };

    bool m_matchable = true;  // no "[" is unclosed
    std::vector<ELEMENT> m_elements;
};
