// Walks the parsed document of a ticket file. The key of the current element is kept as a running path, so that a
// deeply nested file costs no more than its length.
#include "TicketImpSFileReader.h"

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <limits>
#include <new>

#include "TicketImpSFileFormat.h"
#include "TicketImpSFileNames.h"
#include "TicketImpSFileNumbers.h"
#include "TicketImpSFileText.h"

namespace {

// White space of texts is ours to normalise; the parser only has to keep a text that is nothing else.
constexpr unsigned int PARSE_OPTIONS = pug::parse_full | pug::parse_ws_pcdata_single;

// Nesting can make keys that together are as long as the square of the file. Files of flat or usual shape stay far
// below both limits.
constexpr std::size_t LENGTH_OF_KEYS = std::size_t{256} << 20;
constexpr std::size_t LENGTH_OF_KEYS_PER_BYTE = 16;
// As ==, for short texts whose length nobody knows.
bool Equals(char const* text, std::string_view word) {
    for (char const letter : word)
        if (*text++ != letter) return false;
    return *text == '\0';
}

PARAM_TYPE TypeOf(char const* name) {
    for (auto const& known : TICKET_FORMAT::TYPE_NAMES)
        if (Equals(name, known.name)) return known.type;
    return PARAM_NONE;
}

// `whenParsed` may still change names in the text.
template <typename WHEN_PARSED>
READING Read(FILE_ROOM const& room, std::size_t size, xml_outline::SET set, void* context, WHEN_PARSED whenParsed) {
    std::size_t const maximum = std::max(LENGTH_OF_KEYS, LENGTH_OF_KEYS_PER_BYTE * size);
    DOCUMENT_MEMORY const memory(room);
    pug::xml_document document;
    auto const parsed = document.load_buffer_inplace(room.Text(), size, PARSE_OPTIONS, pug::encoding_utf8);
    if (parsed.status == pug::status_out_of_memory) throw std::bad_alloc();
    if (!parsed) return READING::NO_DOCUMENT;
    whenParsed();
    xml_outline outline(set, context, maximum);
    return document.traverse(outline) ? READING::DONE : READING::OUT_OF_PROPORTION;
}

}  // namespace

bool xml_outline::begin(pug::xml_node& /*root*/) {
    return true;
}

bool xml_outline::end(pug::xml_node& /*root*/) {
    return true;
}

bool xml_outline::for_each(pug::xml_node& node) {
    if (node.type() != pug::node_element) return true;
    auto const level = static_cast<std::size_t>(depth());
    std::size_t const path = m_parents[level];
    std::size_t const end = AppendName(path, node.name());
    pug::xml_node const child = node.first_child();
    if (!child) return true;

    pug::xml_attribute const attribute = node.first_attribute();
    if (Equals(attribute.name(), TICKET_FORMAT::TYPE_ATTRIBUTE)) {
        PARAM_TYPE const type = TypeOf(attribute.value());
        if (type != PARAM_NONE) {
            if (end > m_left) return false;
            m_left -= end;
            Store(type, child.value());
        }
    }

    if (m_parents.size() == level + 1) m_parents.emplace_back();
    bool const isPartOfKeys = end != path && std::string_view(&m_key[path], end - path) != TICKET_FORMAT::ROOT;
    if (isPartOfKeys) m_key[end] = '/';
    m_parents[level + 1] = isPartOfKeys ? end + 1 : path;
    return true;
}

// Puts the name of an element, and a NUL, behind the path of its parent. Returns where it ends.
std::size_t xml_outline::AppendName(std::size_t path, char const* name) {
    std::size_t const length = std::strlen(name);
    if (m_key.size() - path <= length) m_key.resize(2 * (path + length + 1));
    std::memcpy(&m_key[path], name, length + 1);
    return path + length;
}

void xml_outline::Store(PARAM_TYPE type, char const* text) {
    auto const set = [&](auto const& value) { m_set(m_context, m_key.data(), type, &value, APPEND_INDEX); };
    std::size_t const plainLength = PlainLength(text);
    bool const isPlain = plainLength != std::string::npos;
    std::string_view const value = isPlain ? std::string_view(text, plainLength) : NormaliseSpace(text, m_space);
    switch (type) {
        case PARAM_INT:
            return set(ParseNumber<int32_t>(value));
        case PARAM_INT64:
            return set(ParseNumber<int64_t>(value));
        case PARAM_UINT64:
            return set(ParseNumber<uint64_t>(value));
        case PARAM_DOUBLE:
            return set(value == TICKET_FORMAT::NOT_A_NUMBER ? std::numeric_limits<double>::quiet_NaN()
                                                            : ParseNumber<double>(value));
        default:
            break;
    }
    if (!isPlain) {
        m_value.clear();
        DecodeTo(m_value, value);
    }
    BIN_STRING const bytes = isPlain ? BIN_STRING{text, plainLength} : BIN_STRING{m_value.c_str(), m_value.size()};
    if (type == PARAM_BINSTR) return set(bytes);
    m_set(m_context, m_key.data(), type, bytes.data, APPEND_INDEX);
}

READING ReadTicket(FILE_ROOM const& room, std::size_t size, xml_outline::SET set, void* context) {
    return Read(room, size, set, context, [] {});
}

READING ReadTicketOfAnyNames(std::string_view text, xml_outline::SET set, void* context) {
    FILE_ROOM const room = FILE_ROOM::WithDocument(text.size());
    std::copy(text.begin(), text.end(), room.Text());
    TICKET_NAMES::Replace(text, room.Text());
    return Read(room, text.size(), set, context, [&] { TICKET_NAMES::Restore(text, room.Text()); });
}
