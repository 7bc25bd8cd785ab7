// Matching of names against a pattern: "*" stands for any run of bytes, "?" for one byte, "[...]" for one byte of a set
// with ranges, or of all others after a leading "!". "]" is an ordinary member when it stands first.
#pragma once

#include <bitset>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

class WILDCARD {
 public:
    // Whether `text` holds a character that stands for others.
    static bool IsPattern(std::string_view text) { return text.find_first_of("*?[") != std::string_view::npos; }

    // Takes space linear in the pattern. An unclosed "[" makes a pattern that matches nothing.
    explicit WILDCARD(std::string_view pattern);

    // Takes time linear in the product of both lengths at worst.
    bool Matches(std::string_view name) const;

    // The plain bytes with which the pattern, and so every name that matches, begins.
    std::string Beginning() const;

    // A fragment: four plain bytes that stand side by side in the pattern, and so in every name that matches.
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
        bool isPlain;            // a byte that stands for itself
        char plain;              // this byte
        std::bitset<256> bytes;  // unless it is "*": the bytes that match
    };

    bool m_matchable = true;  // no "[" is unclosed
    std::vector<ELEMENT> m_elements;
};
