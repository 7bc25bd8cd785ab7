// A reference model of selections of keys.
#pragma once

#include <algorithm>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "FuzzInput.h"

using TEXTS = std::vector<std::string>;

inline TEXTS Texts(INPUT& input, std::size_t most) {
    TEXTS texts(input.Below(most + 1));
    for (std::string& text : texts) text = input.Text();
    return texts;
}

inline std::vector<char const*> Array(TEXTS const& texts) {
    std::vector<char const*> array;
    for (std::string const& text : texts) array.push_back(text.c_str());
    array.push_back(nullptr);
    return array;
}

inline bool Begins(std::string const& text, std::string const& beginning) {
    return text.compare(0, beginning.size(), beginning) == 0;
}

class SELECTION {
 public:
    void Set(TEXTS const& list) {
        if (list.empty()) return;
        if (list.front().empty()) {
            for (std::size_t i = 1; i < list.size(); ++i) Erase(list[i]);
            return;
        }
        for (std::string const& entry : list) {
            if (!entry.empty() && entry.back() == '*')
                InsertPrefix(entry.substr(0, entry.size() - 1));
            else
                m_keys.insert(entry);
        }
    }
    void Erase(std::string const& entry) {
        if (entry.empty() || entry.back() != '*')
            m_keys.erase(entry);
        else
            ErasePrefix(entry.substr(0, entry.size() - 1));
    }
    std::size_t ErasePrefix(std::string const& prefix) {
        auto const found = Equivalent(prefix);
        if (found == m_prefixes.end() || found->size() > prefix.size()) return 0;
        m_prefixes.erase(found);
        return 1;
    }
    void InsertPrefix(std::string const& prefix) {
        auto const found = Equivalent(prefix);
        if (found != m_prefixes.end() && found->size() > prefix.size()) m_prefixes.erase(found);
        if (Equivalent(prefix) == m_prefixes.end()) m_prefixes.insert(prefix);
    }
    void Clear() { *this = {}; }

    bool Covers(std::string const& key) const {
        return std::any_of(m_prefixes.begin(), m_prefixes.end(),
                           [&](std::string const& prefix) { return Begins(key, prefix); });
    }
    bool Selects(std::string const& key) const { return m_keys.count(key) != 0 || Covers(key); }
    bool IsEmpty() const { return m_keys.empty() && m_prefixes.empty(); }
    std::optional<std::string> Found(std::string const& text) const {
        auto const found = Equivalent(text);
        return found == m_prefixes.end() ? std::nullopt : std::optional(*found);
    }

    std::set<std::string> Table() const {
        std::set<std::string> table = m_keys;
        for (std::string const& prefix : m_prefixes) table.insert(prefix + "*");
        return table;
    }

 private:
    // The first element that begins with `text` or that `text` begins with.
    std::set<std::string>::const_iterator Equivalent(std::string const& text) const {
        return std::find_if(m_prefixes.begin(), m_prefixes.end(),
                            [&](std::string const& prefix) { return Begins(prefix, text) || Begins(text, prefix); });
    }

    std::set<std::string> m_keys;
    std::set<std::string> m_prefixes;
};
