// Keys and values of leaves. Texts and numbers that need no decoding pass straight through.
#include "Format/Leaf.h"

#include <cstdint>

#include "Format/Escapes.h"
#include "Format/Numbers.h"
#include "Format/Words.h"

PARAM_TYPE TypeNamed(std::string_view name) {
    for (auto const& known : TICKET_FORMAT::TYPE_NAMES)
        if (name == known.name) return known.type;
    return PARAM_NONE;
}

std::size_t KEY_PATH::Enter(std::size_t parent, std::string_view name) {
    if (name.empty() || name == TICKET_FORMAT::ROOT) return parent;
    std::size_t const end = parent + name.size();
    m_text[end] = '/';
    return end + 1;
}

void LEAF_SETTER::Set(std::string_view key, PARAM_TYPE type, std::string_view text, bool isPlain, bool isLater) {
    m_set = isLater ? m_setLater : m_receiver.set;
    switch (type) {
        case PARAM_INT:
            return HandNumber<int32_t>(key, type, text, isPlain);
        case PARAM_INT64:
            return HandNumber<int64_t>(key, type, text, isPlain);
        case PARAM_UINT64:
            return HandNumber<uint64_t>(key, type, text, isPlain);
        case PARAM_DOUBLE:
            return HandNumber<double>(key, type, text, isPlain);
        default:
            break;
    }
    std::string_view const value = isPlain ? text : Decoded(text);
    if (type == PARAM_BINSTR) return Hand(key, type, BIN_STRING{value.data(), value.size()});
    m_set(m_receiver.context, key, type, value.data(), APPEND_INDEX);
}

template <typename NUMBER>
void LEAF_SETTER::HandNumber(std::string_view key, PARAM_TYPE type, std::string_view text, bool isPlain) {
    std::string_view const digits = isPlain ? text : NormaliseSpace(text, m_space);
    Hand(key, type, ParseNumber<NUMBER>(digits));
}

std::string_view LEAF_SETTER::Decoded(std::string_view text) {
    m_value.clear();
    DecodeTo(m_value, NormaliseSpace(text, m_space));
    return m_value;  // NUL-terminated
}
