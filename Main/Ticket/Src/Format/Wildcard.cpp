// Matches without recursion: after a mismatch, only the last "*" takes one more byte and matching resumes after it.
// Earlier ones need no backtracking, so the time is at most the product of both lengths.
#include "Format/Wildcard.h"

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <utility>

namespace {

using BYTES = std::bitset<256>;

std::size_t Position(char byte) {
    return static_cast<unsigned char>(byte);
}

// Reads the set at the front of `pattern` and removes it from there. False if the set is not closed.
bool TakeSet(std::string_view& pattern, BYTES& bytes) {
    pattern.remove_prefix(1);
    bool const negated = !pattern.empty() && pattern.front() == '!';
    if (negated) pattern.remove_prefix(1);
    std::size_t const close = pattern.find(']', 1);
    if (close == std::string_view::npos) return false;

    std::string_view const members = pattern.substr(0, close);
    for (std::size_t at = 0; at < members.size(); ++at) {
        bool const isRange = at + 2 < members.size() && members[at + 1] == '-';
        std::size_t const last = Position(members[isRange ? at + 2 : at]);
        for (std::size_t byte = Position(members[at]); byte <= last; ++byte) bytes.set(byte);
        if (isRange) at += 2;
    }
    if (negated) bytes.flip();
    pattern.remove_prefix(close + 1);
    return true;
}

// Replaces each name by its continuations with one byte of the set.
void AppendByteOf(BYTES const& bytes, std::vector<std::string>& names) {
    std::vector<char> members;
    for (std::size_t byte = 0; byte < bytes.size(); ++byte)
        if (bytes[byte]) members.push_back(static_cast<char>(byte));
    if (members.size() == 1) {
        for (std::string& name : names) name += members.front();
        return;
    }
    std::vector<std::string> longer;
    longer.reserve(names.size() * members.size());
    for (std::string const& name : names)
        for (char const member : members) longer.push_back(name + member);
    names = std::move(longer);
}

}  // namespace

WILDCARD::WILDCARD(std::string_view pattern) {
    while (!pattern.empty()) {
        ELEMENT element{};
        if (pattern.front() == '[') {
            if (!TakeSet(pattern, element.bytes)) {
                m_matchable = false;
                return;
            }
        } else {
            element.isStar = pattern.front() == '*';
            element.isPlain = pattern.front() != '*' && pattern.front() != '?';
            element.plain = pattern.front();
            if (pattern.front() == '?')
                element.bytes.set();
            else
                element.bytes.set(Position(pattern.front()));
            pattern.remove_prefix(1);
        }
        m_elements.push_back(element);
    }
}

bool WILDCARD::Matches(std::string_view name) const {
    if (!m_matchable) return false;
    constexpr std::size_t NONE = std::string_view::npos;
    std::size_t element = 0;
    std::size_t at = 0;
    std::size_t starAt = NONE;  // the last "*"; the bytes that it matches end at starEnd
    std::size_t starEnd = 0;
    while (at < name.size()) {
        if (element < m_elements.size() && m_elements[element].isStar) {
            starAt = element++;
            starEnd = at;
        } else if (element < m_elements.size() && m_elements[element].bytes[Position(name[at])]) {
            ++element;
            ++at;
        } else if (starAt != NONE) {
            element = starAt + 1;
            at = ++starEnd;
        } else {
            return false;
        }
    }
    return std::all_of(m_elements.begin() + static_cast<std::ptrdiff_t>(element), m_elements.end(),
                       [](ELEMENT const& rest) { return rest.isStar; });
}

WILDCARD::FRAGMENT WILDCARD::FragmentOf(char const* bytes) {
    FRAGMENT fragment;
    std::memcpy(&fragment, bytes, sizeof fragment);
    return fragment;
}

std::vector<WILDCARD::FRAGMENT> WILDCARD::Fragments() const {
    std::vector<FRAGMENT> fragments;
    std::string run;
    for (ELEMENT const& element : m_elements) {
        if (element.isPlain)
            run += element.plain;
        else
            run.clear();
        if (run.size() >= FRAGMENT_LENGTH) fragments.push_back(FragmentOf(run.data() + run.size() - FRAGMENT_LENGTH));
    }
    return fragments;
}

bool WILDCARD::ListNames(std::size_t limit, std::vector<std::string>& names) const {
    names.clear();
    if (!m_matchable) return true;
    names.emplace_back();
    for (ELEMENT const& element : m_elements) {
        if (element.isStar || element.bytes.count() > limit / names.size()) return false;
        AppendByteOf(element.bytes, names);
        if (names.empty()) return true;
    }
    return true;
}
