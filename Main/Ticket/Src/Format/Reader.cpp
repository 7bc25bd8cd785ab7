// Walks the parsed document of a ticket file. The key of the current element is kept as a running path, so that a
// deeply nested file costs no more than its length.
#include "Format/Reader.h"

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <limits>
#include <new>
#include <utility>

#include "Format/Escapes.h"
#include "Format/FileMemory.h"
#include "Format/KeyLimit.h"
#include "Format/Numbers.h"
#include "Format/OddNames.h"
#include "Format/Words.h"

namespace {

// White space of texts is ours to normalise; the parser only has to keep a text that is nothing else.
constexpr unsigned int PARSE_OPTIONS = pug::parse_full | pug::parse_ws_pcdata_single;

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

// The type of the value that an element stores; PARAM_NONE if it stores none.
PARAM_TYPE StoredType(pug::xml_node const& element) {
    pug::xml_attribute const attribute = element.first_attribute();
    bool const isTyped = element.type() == pug::node_element && element.first_child() &&
                         Equals(attribute.name(), TICKET_FORMAT::TYPE_ATTRIBUTE);
    return isTyped ? TypeOf(attribute.value()) : PARAM_NONE;
}

// Whether the element before this one, which stores a value, is another element of the same vector.
bool IsLaterOfVector(pug::xml_node const& element) {
    pug::xml_node before = element.previous_sibling();
    while (before && before.type() != pug::node_element) before = before.previous_sibling();
    return std::strcmp(before.name(), element.name()) == 0 && StoredType(before) != PARAM_NONE;
}

// Whether the text is a document. One that is none leaves what was found of it.
bool ParseInPlace(pug::xml_document& document, char* text, std::size_t size) {
    auto const parsed = document.load_buffer_inplace(text, size, PARSE_OPTIONS, pug::encoding_utf8);
    if (parsed.status == pug::status_out_of_memory) throw std::bad_alloc();
    return static_cast<bool>(parsed);
}

// The parser looks at nothing behind a NUL, but it remembers the very last byte of the text: a tag or the like of which
// just that byte is missing before the NUL is whole. So a text that is cut at its first NUL gets the last byte of all
// in the place of the NUL. False if the source fails.
bool PutLastByte(FILE_SOURCE& source, char& nul) {
    return source.Read(std::max<std::size_t>(source.Size(), 1) - 1, &nul, 1).has_value();
}

// A part of a text that is parsed by itself.
//
// It ends before the start tag of an element, where it gets a mark: an element whose place in the document tells which
// others are open there. The next piece begins with the tags of those, so that the parser is in the very state in which
// it would have come there. A document without the mark means that the piece ended inside of something, a comment for
// instance, or that the text is broken; then all that is left becomes one piece.
class PIECE {
 public:
    PIECE(FILE_SOURCE& source, std::size_t size) : m_source(source), m_size(std::min(size, source.Size() + 1)) {}

    // Reads the piece. False if the source fails. Throws std::bad_alloc.
    bool Load() {
        while (Fill()) {
            if (m_isLast) return true;
            std::size_t const end = LastStart({Text(), m_length});
            if (end != std::string_view::npos) {
                m_length = end;
                MARK.copy(Text() + m_length, MARK.size());
                return true;
            }
            Enlarge();
        }
        return false;
    }

    // Where the document of this piece may lie.
    FILE_ROOM const& Room() const { return m_room; }
    bool IsLast() const { return m_isLast; }
    bool IsEmpty() const { return m_begin + m_length == 0; }
    bool HoldsNul() const { return m_hasNul; }

    // Whether the piece is a document, or the beginning of one. If not, it is larger the next time unless it was the
    // last one.
    bool Parse(pug::xml_document& document) {
        char const* const mark = Text() + m_length + 1;
        std::size_t const size = m_open.size() + m_length + (m_isLast ? 0 : MARK.size());
        bool const parses = ParseInPlace(document, m_room.Text(), size);
        if (m_isLast) return parses;
        std::string open;
        pug::xml_node node = document.last_child();
        for (; node.type() == pug::node_element && node.name() != mark; node = node.last_child())
            open.append("<").append(node.name()).append(">");
        bool const isBeginning = node.type() == pug::node_element;
        if (isBeginning) {
            m_open = std::move(open);
            m_begin += m_length;
        }
        // Deep nesting would make the tags that come again the larger part of each piece.
        if (!isBeginning || m_open.size() > MOST_OPEN) Enlarge();
        return isBeginning;
    }

 private:
    static constexpr std::string_view MARK = "<_/>\n";
    static constexpr std::size_t MOST_OPEN = FILE_PIECE / 16;

    // Where the last start tag begins that the text does not begin with.
    static std::size_t LastStart(std::string_view text) {
        std::size_t at = text.size() - 1;  // the byte behind tells what begins
        while (auto const* const found = static_cast<char const*>(memrchr(text.data(), '<', at))) {
            at = static_cast<std::size_t>(found - text.data());
            bool const isStart = std::string_view("/!?").find(found[1]) == std::string_view::npos;
            if (isStart) return at > 0 ? at : std::string_view::npos;
        }
        return std::string_view::npos;
    }

    char* Text() const { return m_room.Text() + m_open.size(); }

    bool Fill() {
        std::size_t const needed = m_open.size() + m_size + MARK.size();
        if (m_room.TextSize() < needed) {
            m_room = {};
            m_room = FILE_ROOM(needed);
        }
        m_open.copy(m_room.Text(), m_open.size());
        auto const length = m_source.Read(m_begin, Text(), m_size);
        if (!length) return false;
        m_length = *length;
        m_isLast = m_length < m_size;
        auto* const nul = static_cast<char*>(std::memchr(Text(), '\0', m_length));
        m_hasNul = nul != nullptr;
        if (!m_hasNul || m_isLast) return true;
        m_length = static_cast<std::size_t>(nul - Text()) + 1;
        m_isLast = true;
        return PutLastByte(m_source, *nul);
    }

    void Enlarge() { m_size = std::max(2 * m_size, m_source.Size() - std::min(m_source.Size(), m_begin) + 1); }

    FILE_SOURCE& m_source;
    FILE_ROOM m_room;
    std::string m_open;       // the start tags that it begins with
    std::size_t m_begin = 0;  // of its text in the whole text
    std::size_t m_size;       // the most text it has
    std::size_t m_length = 0;
    bool m_isLast = false;
    bool m_hasNul = false;
};

// Reads a text, or its beginning up to its first NUL. False if the source fails.
bool ReadToNul(FILE_SOURCE& source, std::string& text) {
    for (std::size_t size = 0;;) {
        text.resize(size + FILE_PIECE);
        auto const length = source.Read(size, &text[size], FILE_PIECE);
        if (!length) return false;
        text.resize(size + *length);
        std::size_t const nul = text.find('\0', size);
        if (nul != std::string::npos) text.resize(nul + 1);
        if (nul != std::string::npos || *length < FILE_PIECE) return true;
        size += FILE_PIECE;
    }
}

}  // namespace

bool xml_outline::begin(pug::xml_node& /*root*/) {
    return true;
}

bool xml_outline::end(pug::xml_node& /*root*/) {
    return true;
}

// Mostly elements have children, but so has an XML declaration that ends like a start tag.
bool xml_outline::for_each(pug::xml_node& node) {
    pug::xml_node const child = node.first_child();
    if (!child) return true;
    auto const level = static_cast<std::size_t>(depth());
    std::size_t const path = m_parents[level];
    std::size_t const end = AppendName(path, node.name());

    PARAM_TYPE const type = StoredType(node);
    if (type != PARAM_NONE) {
        std::size_t const charge = IsLaterOfVector(node) ? 0 : end;
        if (charge > m_left) return false;
        m_left -= charge;
        Store(type, child.value());
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

READING ReadTicket(FILE_SOURCE& source, xml_outline::SET set, void* context, std::size_t size) {
    xml_outline outline(set, context, TICKET_FORMAT::LongestKeysOf(source.Size()));
    PIECE piece(source, size);
    while (piece.Load()) {
        if (piece.IsEmpty()) return READING::DONE;
        DOCUMENT_MEMORY const memory(piece.Room());
        pug::xml_document document;
        bool const isLast = piece.IsLast();
        bool const parses = piece.Parse(document);
        if (parses && !document.traverse(outline)) return READING::OUT_OF_PROPORTION;
        if (isLast) return !parses ? READING::NO_DOCUMENT : piece.HoldsNul() ? READING::CUT_SHORT : READING::DONE;
    }
    return READING::UNREADABLE;
}

READING ReadTicketOfAnyNames(FILE_SOURCE& source, xml_outline::SET set, void* context) {
    std::string text;
    if (!ReadToNul(source, text)) return READING::UNREADABLE;
    bool const hasNul = !text.empty() && text.back() == '\0';
    FILE_ROOM const copy(text.size());
    text.copy(copy.Text(), text.size());
    if (hasNul && !PutLastByte(source, copy.Text()[text.size() - 1])) return READING::UNREADABLE;
    TICKET_NAMES::Replace(text, copy.Text());
    DOCUMENT_MEMORY const memory(copy);
    pug::xml_document document;
    if (!ParseInPlace(document, copy.Text(), text.size())) return READING::NO_DOCUMENT;
    TICKET_NAMES::Restore(text, copy.Text());
    xml_outline outline(set, context, TICKET_FORMAT::LongestKeysOf(source.Size()));
    if (!document.traverse(outline)) return READING::OUT_OF_PROPORTION;
    return hasNul ? READING::CUT_SHORT : READING::DONE;
}
