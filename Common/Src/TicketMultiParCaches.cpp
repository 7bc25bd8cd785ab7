// The caches that give a batch list one stable copy of each distinct value.
// Each addition searches once, and allocates only for a value that is new.
#include <iterator>

#include "ConfigurationControl/ValueCaches.h"

int STRINGCACHE::operator()(char const*& text) {
    if (!text) return 0;
    std::string_view const wanted(text);
    // Walks deliver keys in ascending order and a vector's key many times over, so the last text is tried first.
    auto place = m_strings.end();
    if (!m_strings.empty()) {
        auto const last = std::prev(place);
        int const order = last->compare(wanted);
        if (order >= 0) place = order == 0 ? last : m_strings.lower_bound(wanted);
    }
    if (place == m_strings.end() || *place != wanted) place = m_strings.emplace_hint(place, wanted);
    text = place->c_str();
    return 1;
}

bool STRINGCACHE::find(char const* text) const {
    return text && m_strings.find(std::string_view(text)) != m_strings.end();
}

namespace {

std::string_view View(BIN_STRING const& bytes) {
    if (!bytes.data) return {};
    return {static_cast<char const*>(bytes.data), bytes.length};
}

// By length first: a byte string with an absurd length then fails to be copied before its bytes are read.
bool Less(std::string_view a, std::string_view b) {
    return a.size() != b.size() ? a.size() < b.size() : a < b;
}

}  // namespace

BIN_STRING_BUFFER::BIN_STRING_BUFFER(BIN_STRING const& bytes)
    : m_bytes(View(bytes)), m_view{m_bytes.data(), m_bytes.size()} {}

BIN_STRING const* BIN_STRING_CACHE::Add(BIN_STRING const& bytes) {
    std::string_view const wanted = View(bytes);
    auto place = m_buffers.lower_bound(wanted);
    if (place == m_buffers.end() || View(place->Get()) != wanted) place = m_buffers.emplace_hint(place, bytes);
    return &place->Get();
}

bool BIN_STRING_CACHE::LESS::operator()(BIN_STRING_BUFFER const& a, BIN_STRING_BUFFER const& b) const {
    return Less(View(a.Get()), View(b.Get()));
}

bool BIN_STRING_CACHE::LESS::operator()(BIN_STRING_BUFFER const& a, std::string_view b) const {
    return Less(View(a.Get()), b);
}
