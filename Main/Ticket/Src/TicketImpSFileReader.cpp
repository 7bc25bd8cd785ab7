// Walks the parsed document of a ticket file. The key of the current element is kept as a running path, so that a
// deeply nested file costs no more than its length.
#include "TicketImpSFileReader.h"

#include <algorithm>
#include <cstdint>
#include <limits>

#include "TicketImpSFileFormat.h"
#include "TicketImpSFileNumbers.h"
#include "TicketImpSFileText.h"

namespace {

// White space of texts is ours to normalise; the parser only has to keep a text that is nothing else.
constexpr unsigned int PARSE_OPTIONS = pug::parse_full | pug::parse_ws_pcdata_single;

// Nesting can make keys that together are as long as the square of the file. Files of flat or usual shape stay far
// below both limits.
constexpr std::size_t LENGTH_OF_KEYS = std::size_t{256} << 20;
constexpr std::size_t LENGTH_OF_KEYS_PER_BYTE = 16;

bool IsPartOfKeys(std::string_view ancestor) {
    return !ancestor.empty() && ancestor != TICKET_FORMAT::ROOT;
}

}  // namespace

bool xml_outline::begin(pug::xml_node& /*root*/) {
    m_key.clear();
    m_parents.assign(1, 0);
    return true;
}

bool xml_outline::end(pug::xml_node& /*root*/) {
    return true;
}

bool xml_outline::for_each(pug::xml_node& node) {
    if (node.type() != pug::node_element) return true;
    auto const level = static_cast<std::size_t>(depth());
    std::size_t const parent = m_parents[level];
    m_key.resize(parent);
    m_key += node.name();

    pug::xml_attribute const attribute = node.first_attribute();
    pug::xml_node const child = node.first_child();
    if (attribute && child && attribute.name() == std::string_view(TICKET_FORMAT::TYPE_ATTRIBUTE)) {
        PARAM_TYPE const type = TICKET_FORMAT::TypeOf(attribute.value());
        if (type != PARAM_NONE) {
            if (m_key.size() > m_left) return false;
            m_left -= m_key.size();
            Store(type, child.value());
        }
    }

    if (!child) return true;
    if (m_parents.size() == level + 1) m_parents.emplace_back();
    bool const isPart = IsPartOfKeys(std::string_view(m_key).substr(parent));
    if (isPart) m_key += '/';
    m_parents[level + 1] = isPart ? m_key.size() : parent;
    return true;
}

void xml_outline::Store(PARAM_TYPE type, std::string_view text) {
    text = NormaliseSpace(text, m_space);
    auto const set = [&](auto const& value) { m_set(m_context, m_key.c_str(), type, &value, APPEND_INDEX); };
    switch (type) {
        case PARAM_INT:
            return set(ParseNumber<int32_t>(text));
        case PARAM_INT64:
            return set(ParseNumber<int64_t>(text));
        case PARAM_UINT64:
            return set(ParseNumber<uint64_t>(text));
        case PARAM_DOUBLE:
            return set(text == TICKET_FORMAT::NOT_A_NUMBER ? std::numeric_limits<double>::quiet_NaN()
                                                           : ParseNumber<double>(text));
        default:
            break;
    }
    m_value.clear();
    DecodeTo(m_value, text);
    if (type == PARAM_BINSTR) return set(BIN_STRING{m_value.data(), m_value.size()});
    m_set(m_context, m_key.c_str(), type, m_value.c_str(), APPEND_INDEX);
}

bool ReadTicket(std::string& text, xml_outline::SET set, void* context) {
    std::size_t const maximum = std::max(LENGTH_OF_KEYS, LENGTH_OF_KEYS_PER_BYTE * text.size());
    pug::xml_document document;
    if (!document.load_buffer_inplace(text.data(), text.size(), PARSE_OPTIONS, pug::encoding_utf8)) return false;
    xml_outline outline(set, context, maximum);
    return document.traverse(outline);
}
