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

// The length of the common prefix. Compares eight bytes at a time, because neighbouring keys share most of theirs.
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

bool STREAM_WRITER::SaveOne(void* writer, char const* key, PARAM_TYPE type, void const* value, int index) {
    if (writer == nullptr) return false;
    auto& self = *static_cast<STREAM_WRITER*>(writer);
    // The walk passes the same pointer for all elements of a vector. To compare a long key for each would take long.
    bool const isLater = index > 0 && key != nullptr && key == self.m_vector;
    std::string_view const typeName = TICKET_FORMAT::NameOf(type);
    if (typeName.empty()) {
        if (!isLater) self.m_vector = nullptr;
        return true;
    }
    self.m_vector = key;
    bool isLastKey = isLater;
    self.m_refused = !isLater && !self.MoveTo(key != nullptr ? key : "", isLastKey);
    if (self.m_refused) return false;
    std::string_view const name = self.LastKey().substr(self.NameBegin());
    self.m_layout.BeginValue(name, typeName, isLastKey);
    PutValue(self.m_layout.Text(), type, value, self.m_conversion);
    self.m_layout.EndValue(name);
    return true;
}

TEXT_BUFFER STREAM_WRITER::Finish() {
    if (m_lastLength == 0) {
        m_layout.PutDeclaration();
        m_layout.PutEmptyElement(TICKET_FORMAT::ROOT);
    } else {
        CloseBeyond(0);
        m_layout.CloseElement(TICKET_FORMAT::ROOT);
    }
    return m_layout.Finish();
}

bool STREAM_WRITER::MoveTo(std::string_view key, bool& isLastKey) {
    if (key.empty() || key.back() == '/') return false;
    if (m_lastLength == 0) {
        m_layout.PutDeclaration();
        m_layout.OpenElement(TICKET_FORMAT::ROOT);
    }
    std::size_t const shared = SharedLength(key, LastKey());
    isLastKey = shared == key.size() && shared == m_lastLength;
    if (IsBelowALeaf(key, shared)) return false;
    if (NameBegin() > shared) CloseBeyond(shared);
    SetLastKey(key, shared);
    std::size_t const slash = key.find('/', NameBegin());
    return slash == std::string_view::npos || OpenTo(key, slash);
}

// Whether an earlier leaf would have to hold the element of this key. The keys that are prefixes of this one have all
// come before; those up to the length `shared` are prefixes of the last key, too.
bool STREAM_WRITER::IsBelowALeaf(std::string_view key, std::size_t shared) {
    while (!m_leaves.empty() && m_leaves.back() > shared) m_leaves.pop_back();
    if (!m_leaves.empty() && m_leaves.back() < key.size() && key[m_leaves.back()] == '/') return true;
    if (m_leaves.empty() || m_leaves.back() != key.size()) m_leaves.push_back(key.size());
    return false;
}

void STREAM_WRITER::SetLastKey(std::string_view key, std::size_t shared) {
    if (m_lastKey.size() < key.size()) m_lastKey.resize(2 * key.size());
    std::memcpy(m_lastKey.data() + shared, key.data() + shared, key.size() - shared);
    m_lastLength = key.size();
}

// Opens the inner elements of the key that are not open yet; the name of the first ends at `slash`. False if another
// key may have made one of them, or if a name is empty.
bool STREAM_WRITER::OpenTo(std::string_view key, std::size_t slash) {
    for (; slash != std::string_view::npos; slash = key.find('/', slash + 1)) {
        std::string_view const name = key.substr(NameBegin(), slash - NameBegin());
        if (name.empty() || WILDCARD::IsPattern(name)) return false;
        m_nameEnds.push_back(slash);
        m_layout.OpenElement(name);
    }
    return true;
}

// Closes the open elements of the last key whose names do not end within its first `shared` bytes.
void STREAM_WRITER::CloseBeyond(std::size_t shared) {
    while (!m_nameEnds.empty() && m_nameEnds.back() >= shared) {
        std::size_t const end = m_nameEnds.back();
        m_nameEnds.pop_back();
        m_layout.CloseElement(LastKey().substr(NameBegin(), end - NameBegin()));
    }
}
