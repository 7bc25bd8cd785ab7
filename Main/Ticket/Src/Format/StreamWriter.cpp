// The usual way of a save: from the walk to the text of the file in one pass.
#include "Format/StreamWriter.h"

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <utility>

#include "Format/Values.h"
#include "Format/Wildcard.h"
#include "Format/Words.h"

namespace {

// How many leading bytes two texts share, eight at a time: neighbouring keys share most of theirs.
std::size_t SharedLength(std::string_view a, std::string_view b) {
    std::size_t const length = std::min(a.size(), b.size());
    std::size_t shared = 0;
    for (; shared + sizeof(uint64_t) <= length; shared += sizeof(uint64_t)) {
        uint64_t wordOfA;
        uint64_t wordOfB;
        std::memcpy(&wordOfA, a.data() + shared, sizeof wordOfA);
        std::memcpy(&wordOfB, b.data() + shared, sizeof wordOfB);
        if (wordOfA != wordOfB) break;
    }
    while (shared < length && a[shared] == b[shared]) ++shared;
    return shared;
}

}  // namespace

bool TICKET_STREAM::SaveOne(void* stream, char const* key, PARAM_TYPE type, void const* value, int /*index*/) {
    if (stream == nullptr) return false;
    auto& self = *static_cast<TICKET_STREAM*>(stream);
    if (TICKET_FORMAT::NameOf(type).empty()) return true;
    self.m_refused = !self.Add(key != nullptr ? key : "", type, value);
    return !self.m_refused;
}

FILE_TEXT TICKET_STREAM::Finish() {
    if (m_lastKey.empty()) {
        m_text.Put(TICKET_FORMAT::DECLARATION);
        m_text.Put("<ticket/>\n");
    } else {
        CloseDownTo(0);
        m_text.Put("</ticket>\n");
    }
    return std::move(m_text);
}

bool TICKET_STREAM::Add(std::string_view key, PARAM_TYPE type, void const* value) {
    if (key.empty()) return false;
    if (m_lastKey.empty()) {
        m_text.Put(TICKET_FORMAT::DECLARATION);
        m_text.Put("<ticket>\n");
    }
    std::size_t const shared = SharedLength(key, m_lastKey);
    if (IsBelowALeaf(key, shared)) return false;
    std::size_t steps = m_steps.size();
    while (steps > 0 && m_steps[steps - 1] >= shared) --steps;
    CloseDownTo(steps);
    m_lastKey.replace(shared, std::string::npos, key.substr(shared));
    if (!OpenTo(key)) return false;
    PutLeaf(key.substr(m_steps.empty() ? 0 : m_steps.back() + 1), type, value);
    return true;
}

// A leaf that is met first would take in the elements below it. All keys with which this one begins have come before,
// and the last key begins with those of them that are not longer than what it shares with this one.
bool TICKET_STREAM::IsBelowALeaf(std::string_view key, std::size_t shared) {
    while (!m_leaves.empty() && m_leaves.back() > shared) m_leaves.pop_back();
    if (!m_leaves.empty() && m_leaves.back() < key.size() && key[m_leaves.back()] == '/') return true;
    if (m_leaves.empty() || m_leaves.back() != key.size()) m_leaves.push_back(key.size());
    return false;
}

// Opens the inner elements of the key that are not open yet. False for one that could be another's, or nobody's.
bool TICKET_STREAM::OpenTo(std::string_view key) {
    std::size_t begin = m_steps.empty() ? 0 : m_steps.back() + 1;
    for (std::size_t end; (end = key.find('/', begin)) != std::string_view::npos; begin = end + 1) {
        std::string_view const name = key.substr(begin, end - begin);
        if (name.empty() || WILDCARD::IsPattern(name)) return false;
        m_steps.push_back(end);
        m_text.Indent(m_steps.size());
        m_text.Put("<", name, ">\n");
    }
    return begin < key.size();
}

void TICKET_STREAM::CloseDownTo(std::size_t steps) {
    for (; m_steps.size() > steps; m_steps.pop_back()) {
        std::size_t const begin = m_steps.size() > 1 ? m_steps[m_steps.size() - 2] + 1 : 0;
        m_text.Indent(m_steps.size());
        m_text.Put("</", std::string_view(m_lastKey).substr(begin, m_steps.back() - begin), ">\n");
    }
}

void TICKET_STREAM::PutLeaf(std::string_view name, PARAM_TYPE type, void const* value) {
    m_value.clear();
    AppendValue(m_value, type, value, m_conversion);
    m_text.Indent(m_steps.size() + 1);
    m_text.Put("<", name, " type=\"", TICKET_FORMAT::NameOf(type), "\">",
               m_value.empty() ? TICKET_FORMAT::EMPTY_TEXT : m_value, "</", name, ">\n");
}
