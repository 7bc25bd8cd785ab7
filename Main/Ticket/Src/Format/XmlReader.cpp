// Walks the parsed document of a ticket file. The key of the current element is kept as a running path, so that a
// deeply nested file costs no more than its length.
#include "Format/XmlReader.h"

#include <algorithm>
#include <cstring>
#include <new>
#include <string>

#include "Format/Escapes.h"
#include "Format/KeyLimit.h"
#include "Format/OddNames.h"
#include "Format/Words.h"

namespace {

// The type of the value that an element stores; PARAM_NONE if it stores none.
PARAM_TYPE StoredType(pug::xml_node const& element) {
    pug::xml_attribute const attribute = element.first_attribute();
    bool const isTyped = element.type() == pug::node_element && element.first_child() &&
                         attribute.name() == TICKET_FORMAT::TYPE_ATTRIBUTE;
    return isTyped ? TypeNamed(attribute.value()) : PARAM_NONE;
}

// The element before this one, which stores a value, if both belong to one vector; otherwise null.
pug::xml_node EarlierOfVector(pug::xml_node const& element) {
    pug::xml_node before = element.previous_sibling();
    while (before && before.type() != pug::node_element) before = before.previous_sibling();
    bool const isOne = std::strcmp(before.name(), element.name()) == 0 && StoredType(before) != PARAM_NONE;
    return isOne ? before : pug::xml_node();
}

READ_RESULT NoDocument(std::string_view text, std::size_t offset) {
    std::string_view const before = text.substr(0, offset);
    auto const feeds = std::count(before.begin(), before.end(), '\n');
    std::size_t const lineBegin = before.rfind('\n') + 1;
    return {READING::NO_DOCUMENT, offset, static_cast<std::size_t>(feeds) + 1, offset - lineBegin + 1};
}

// The part of the text that the parser reads: up to the first NUL, which is included.
std::string_view UpToNul(std::string_view text) {
    std::size_t const nul = text.find('\0');
    return nul == std::string_view::npos ? text : text.substr(0, nul + 1);
}

}  // namespace

bool xml_outline::begin(pug::xml_node& /*root*/) {
    return true;
}

bool xml_outline::end(pug::xml_node& /*root*/) {
    return true;
}

// Not only elements have children: an XML declaration that ends like a start tag has, too.
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
    pug::xml_node const earlier = EarlierOfVector(leaf);
    std::size_t const charge = earlier ? 0 : keyLength;
    if (charge > m_allowed) return false;
    m_allowed -= charge;
    if (m_passedOver > 0) {
        --m_passedOver;
        return true;
    }
    std::string_view const key(m_key.Text(), keyLength);
    if (!m_setter.IsWanted(key)) return true;
    char const* const text = leaf.first_child().value();
    std::size_t const plain = PlainLength(text);
    bool const isPlain = plain != std::string::npos;
    m_setter.Set(key, type, isPlain ? std::string_view(text, plain) : text, isPlain, earlier && earlier == m_lastSet);
    m_lastSet = leaf;
    return true;
}

PARSED_TEXT::PARSED_TEXT(std::string_view text, NAMES names, unsigned int options) : m_copy(new char[text.size()]) {
    std::string_view const looked = UpToNul(text);
    m_isInPart = !looked.empty() && looked.back() == '\0';
    text.copy(m_copy.get(), text.size());
    if (names == NAMES::ANY) TICKET_NAMES::Replace(looked, m_copy.get());
    m_result = m_document.load_buffer_inplace(m_copy.get(), text.size(), options, pug::encoding_utf8);
    if (m_result.status == pug::status_out_of_memory) throw std::bad_alloc();
    if (names == NAMES::ANY && m_result) TICKET_NAMES::Restore(looked, m_copy.get());
}

// Two tags such as <?a> can make a document in which everything between them is one instruction. A text with such tags
// is first parsed allowing any names. If that fails, it is parsed as XML, and the document may hide values.
std::unique_ptr<PARSED_TEXT> ParseAsLoad(std::string_view text, unsigned int options) {
    using NAMES = PARSED_TEXT::NAMES;
    bool const isDoubtful = TICKET_NAMES::LookLikeMarkup(UpToNul(text));
    auto parsed = std::make_unique<PARSED_TEXT>(text, isDoubtful ? NAMES::ANY : NAMES::OF_XML, options);
    if (parsed->IsDocument()) return parsed;
    parsed.reset();
    parsed = std::make_unique<PARSED_TEXT>(text, isDoubtful ? NAMES::OF_XML : NAMES::ANY, options);
    if (isDoubtful) parsed->MayHideValues();
    return parsed;
}

READ_RESULT ReadDocument(std::string_view text, LEAF_RECEIVER const& receiver, std::size_t passedOver) {
    if (text.empty()) return {READING::DONE};
    return ReadParsed(*ParseAsLoad(text), text, receiver, passedOver);
}

READ_RESULT ReadParsed(PARSED_TEXT& parsed, std::string_view text, LEAF_RECEIVER const& receiver,
                       std::size_t passedOver) {
    if (!parsed.IsDocument()) return NoDocument(text, static_cast<std::size_t>(parsed.Result().offset));
    xml_outline outline(receiver, passedOver, TICKET_FORMAT::LongestKeysOf(text.size()));
    if (!parsed.Document().traverse(outline)) return {READING::OUT_OF_PROPORTION};
    return {parsed.IsInPart() ? READING::IN_PART : READING::DONE};
}
