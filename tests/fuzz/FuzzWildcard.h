// A simple reference for wildcards in key components.
#pragma once

#include <string>
#include <vector>

namespace wildcards {

// The index of the bracket that closes the set opened at `at`; npos if there is none.
inline std::size_t SetEnd(std::string const& pattern, std::size_t at) {
    std::size_t const first = at + 1 < pattern.size() && pattern[at + 1] == '!' ? at + 2 : at + 1;
    return first < pattern.size() ? pattern.find(']', first + 1) : std::string::npos;
}

inline bool IsInSet(std::string members, char byte) {
    bool const isNegated = !members.empty() && members.front() == '!';
    if (isNegated) members.erase(0, 1);
    auto const code = [](char c) { return static_cast<unsigned char>(c); };
    for (; !members.empty(); members.erase(0, 1)) {
        char const first = members.front();
        if (members.size() >= 3 && members[1] == '-') {
            if (code(first) <= code(byte) && code(byte) <= code(members[2])) return !isNegated;
            members.erase(0, 2);
        } else if (first == byte) {
            return !isNegated;
        }
    }
    return isNegated;
}

// Dynamic programming: fits[at] is true if the pattern so far matches the first `at` bytes of the name.
inline bool Matches(std::string const& pattern, std::string const& name) {
    std::vector<bool> fits(name.size() + 1, false);
    fits[0] = true;
    for (std::size_t at = 0; at < pattern.size(); ++at) {
        std::size_t const end = pattern[at] == '[' ? SetEnd(pattern, at) : at;
        if (end == std::string::npos) return false;
        std::string const members = end > at ? pattern.substr(at + 1, end - at - 1) : "";
        std::vector<bool> next(fits.size(), false);
        for (std::size_t length = 0; length < fits.size(); ++length) {
            if (pattern[at] == '*') {
                next[length] = fits[length] || (length > 0 && next[length - 1]);
            } else if (length > 0) {
                char const byte = name[length - 1];
                bool const isFit = end > at ? IsInSet(members, byte) : pattern[at] == '?' || pattern[at] == byte;
                next[length] = fits[length - 1] && isFit;
            }
        }
        fits = next;
        at = end;
    }
    return fits.back();
}

}  // namespace wildcards
