// Walks the parsed document of a ticket file. The key of the current element is kept as a running path, so that a
// deeply nested file costs no more than its length.
#include "Format/XmlReader.h"

#include <algorithm>
#include <cstring>
#include <memory>
#include <new>
#include <string>

#include "Format/Escapes.h"
#include "Format/KeyLimit.h"
#include "Format/OddNames.h"
#include "Format/Words.h"

namespace {

// White space of texts is ours to normalise; the parser only has to keep a text that is nothing else.
constexpr unsigned int PARSE_OPTIONS = pug::parse_full | pug::parse_ws_pcdata_single;

// The type of the value that an element stores; PARAM_NONE if it stores none.
PARAM_TYPE StoredType(pug::xml_node const& element) {
    pug::xml_attribute const attribute = element.first_attribute();
    bool const isTyped = element.type() == pug::node_element && element.first_child() &&
                         attribute.name() == TICKET_FORMAT::TYPE_ATTRIBUTE;
    return isTyped ? TypeNamed(attribute.value()) : PARAM_NONE;
}

// Whether the element before this one, which stores a value, is another element of the same vector.
bool IsLaterOfVector(pug::xml_node const& element) {
    pug::xml_node before = element.previous_sibling();
    while (before && before.type() != pug::node_element) before = before.previous_sibling();
    return std::strcmp(before.name(), element.name()) == 0 && StoredType(before) != PARAM_NONE;
}

READ_RESULT NoDocument(std::string_view text, std::size_t offset) {
    std::string_view const before = text.substr(0, offset);
    auto const feeds = std::count(before.begin(), before.end(), '\n');
    std::size_t const lineBegin = before.rfind('\n') + 1;
    return {READING::NO_DOCUMENT, offset, static_cast<std::size_t>(feeds) + 1, offset - lineBegin + 1};
}

// What the parser looks at: nothing behind the first NUL, which is part of the result.
std::string_view UpToNul(std::string_view text) {
    std::size_t const nul = text.find('\0');
    return nul == std::string_view::npos ? text : text.substr(0, nul + 1);
}

// A text that the parser works on in place, and the document that it makes of it.
class PARSED_TEXT {
 public:
    explicit PARSED_TEXT(std::string_view text) : m_text(text), m_copy(new char[text.size()]) {
        text.copy(m_copy.get(), text.size());
    }

    char* Copy() const { return m_copy.get(); }

    pug::xml_parse_result Parse() {
        auto const parsed =
            m_document.load_buffer_inplace(m_copy.get(), m_text.size(), PARSE_OPTIONS, pug::encoding_utf8);
        if (parsed.status == pug::status_out_of_memory) throw std::bad_alloc();
        return parsed;
    }

    READ_RESULT Walk(LEAF_RECEIVER const& receiver, std::size_t passedOver) {
        xml_outline outline(receiver, passedOver, TICKET_FORMAT::LongestKeysOf(m_text.size()));
        if (!m_document.traverse(outline)) return {READING::OUT_OF_PROPORTION};
        bool const isWhole = m_text.find('\0') == std::string_view::npos;  // what follows a NUL was not parsed
        return {isWhole ? READING::DONE : READING::IN_PART};
    }

 private:
    std::string_view m_text;
    std::unique_ptr<char[]> m_copy;
    pug::xml_document m_document;
};

}  // namespace

bool xml_outline::begin(pug::xml_node& /*root*/) {
    return true;
}

bool xml_outline::end(pug::xml_node& /*root*/) {
    return true;
}

// Mostly elements have children, but so has an XML declaration that ends like a start tag.
bool xml_outline::for_each(pug::xml_node& node) {
    if (!node.first_child()) return true;
    auto const level = static_cast<std::size_t>(depth());
    std::string_view const name = node.name();
    std::size_t const end = m_key.Append(m_paths[level], name);
    PARAM_TYPE const type = StoredType(node);
    if (type != PARAM_NONE && !TakeLeaf(node, type, end)) return false;
    m_paths.resize(level + 1);
    m_paths.push_back(m_key.Enter(m_paths[level], name));
    return true;
}

bool xml_outline::TakeLeaf(pug::xml_node const& leaf, PARAM_TYPE type, std::size_t keyLength) {
    std::size_t const charge = IsLaterOfVector(leaf) ? 0 : keyLength;
    if (charge > m_allowed) return false;
    m_allowed -= charge;
    if (m_passedOver > 0) {
        --m_passedOver;
        return true;
    }
    if (!m_setter.IsWanted({m_key.Text(), keyLength})) return true;
    char const* const text = leaf.first_child().value();
    std::size_t const plain = PlainLength(text);
    bool const isPlain = plain != std::string::npos;
    m_setter.Set(m_key.Text(), type, isPlain ? std::string_view(text, plain) : text, isPlain);
    return true;
}

READ_RESULT ReadXml(std::string_view text, LEAF_RECEIVER const& receiver, std::size_t passedOver) {
    PARSED_TEXT parsed(text);
    pug::xml_parse_result const result = parsed.Parse();
    return result ? parsed.Walk(receiver, passedOver) : NoDocument(text, static_cast<std::size_t>(result.offset));
}

READ_RESULT ReadXmlOfAnyNames(std::string_view text, LEAF_RECEIVER const& receiver, std::size_t passedOver) {
    std::string_view const parsedPart = UpToNul(text);
    PARSED_TEXT parsed(text);
    TICKET_NAMES::Replace(parsedPart, parsed.Copy());
    pug::xml_parse_result const result = parsed.Parse();
    if (!result) return NoDocument(text, static_cast<std::size_t>(result.offset));
    TICKET_NAMES::Restore(parsedPart, parsed.Copy());
    return parsed.Walk(receiver, passedOver);
}

// Tags that look like markup, <?a> for instance, can make a document in which everything between two of them is one
// instruction. Where they stand, the second attempt comes first; if it fails, the file may hold more than was read.
READ_RESULT ReadDocument(std::string_view text, LEAF_RECEIVER const& receiver, std::size_t passedOver) {
    if (text.empty()) return {READING::DONE};
    bool const isDoubtful = TICKET_NAMES::LookLikeMarkup(UpToNul(text));
    READ_RESULT const first =
        isDoubtful ? ReadXmlOfAnyNames(text, receiver, passedOver) : ReadXml(text, receiver, passedOver);
    if (first.reading != READING::NO_DOCUMENT) return first;
    READ_RESULT const second =
        isDoubtful ? ReadXml(text, receiver, passedOver) : ReadXmlOfAnyNames(text, receiver, passedOver);
    return isDoubtful && second.IsRead() ? READ_RESULT{READING::IN_PART} : second;
}
