// Selections of keys: the set of prefixes, and the conversion from and to the list form that hosts write.
#include <algorithm>

#include "ConfigurationControl/PartialMode.h"

namespace {

constexpr char PREFIX_MARK = '*';

// Takes the mark off an entry in list form; false for an exact key.
bool TakePrefixMark(std::string& entry) {
    if (entry.empty() || entry.back() != PREFIX_MARK) return false;
    entry.pop_back();
    return true;
}

std::vector<std::string> Entries(char const* const* list) {
    char const* const* end = list;
    while (*end) ++end;
    return {list, end};
}

}  // namespace

bool STRINGPREFIXSET::LESS::operator()(std::string_view a, std::string_view b) const {
    std::size_t const common = std::min(a.size(), b.size());
    return a.substr(0, common) < b.substr(0, common);
}

// The stored prefixes are never equivalent to each other, so they stand in byte order and those equivalent to a text
// stand side by side. Several may be (all that begin with it), which is why every operation starts from the lower bound
// and goes on by position: an operation of the set by value would take all of them.
STRINGPREFIXSET::const_iterator STRINGPREFIXSET::find(std::string_view text) const {
    auto const place = m_prefixes.lower_bound(text);
    return place == m_prefixes.end() || LESS()(text, *place) ? m_prefixes.end() : place;
}

void STRINGPREFIXSET::insert(std::string const& prefix) {
    auto const equivalent = find(prefix);
    if (equivalent == end()) {
        m_prefixes.emplace_hint(m_prefixes.lower_bound(prefix), prefix);
    } else if (equivalent->size() > prefix.size()) {
        std::string copy = prefix;  // allocates before it removes: a selection without prefixes would select everything
        auto node = m_prefixes.extract(equivalent);
        if (find(prefix) != end()) return;
        node.value() = std::move(copy);
        m_prefixes.insert(m_prefixes.lower_bound(prefix), std::move(node));
    }
}

std::size_t STRINGPREFIXSET::erase(std::string const& prefix) {
    auto const equivalent = find(prefix);
    if (equivalent == end() || equivalent->size() > prefix.size()) return 0;
    m_prefixes.erase(equivalent);
    return 1;
}

bool STRINGPREFIXSET::Covers(std::string_view key) const {
    auto const equivalent = find(key);
    return equivalent != end() && equivalent->size() <= key.size();
}

void PARTIAL_MODE::set(char const* const* list) {
    if (!list) {
        keys.clear();
        prefixes.clear();
        return;
    }
    // Copied first: the strings may belong to this selection, which frees them when it removes or replaces them.
    std::vector<std::string> entries = Entries(list);
    if (entries.empty()) return;
    if (entries.front().empty()) {
        std::for_each(entries.begin() + 1, entries.end(), [this](std::string& entry) { erase(std::move(entry)); });
        return;
    }
    for (std::string& entry : entries) {
        if (TakePrefixMark(entry)) {
            prefixes.insert(entry);
        } else {
            keys.insert(std::move(entry));
        }
    }
}

void PARTIAL_MODE::erase(std::string entry) {
    if (TakePrefixMark(entry)) {
        prefixes.erase(entry);
    } else {
        keys.erase(entry);
    }
}

bool PARTIAL_MODE::Selects(char const* key) const {
    if (!key) return false;
    std::string_view const wanted(key);
    return keys.find(wanted) != keys.end() || prefixes.Covers(wanted);
}

PARTIAL_TABLE::PARTIAL_TABLE(PARTIAL_MODE const& mode) : m_strings(mode.keys.begin(), mode.keys.end()) {
    for (std::string const& prefix : mode.prefixes) m_strings.insert(prefix + PREFIX_MARK);
    if (m_strings.empty()) return;
    m_table.reserve(m_strings.size() + 1);
    for (std::string const& entry : m_strings) m_table.push_back(entry.c_str());
    m_table.push_back(nullptr);
}
