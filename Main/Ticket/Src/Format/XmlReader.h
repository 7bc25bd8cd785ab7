// Reads a ticket file through a document tree of the XML library, if it is not exactly as a save writes it.
#pragma once

#include <cstddef>
#include <memory>
#include <pugixml.hpp>
#include <string_view>
#include <vector>

#include "Format/Leaf.h"

namespace pug = pugi;

enum class READING {
    DONE,
    IN_PART,            // likewise, but the text may hold values that were not read, for instance after a NUL
    NO_DOCUMENT,        // the text does not parse as XML; nothing is set
    OUT_OF_PROPORTION,  // the keys exceed TICKET_FORMAT::LongestKeysOf; what was set is to be dropped
    UNREADABLE          // the source failed; likewise
};

struct READ_RESULT {
    READING reading;
    // For NO_DOCUMENT: the byte of the text at which it stops being a document, counted from 0, and the line and the
    // column in bytes of that, counted from 1.
    std::size_t offset = 0;
    std::size_t line = 0;
    std::size_t column = 0;

    bool IsRead() const { return reading == READING::DONE || reading == READING::IN_PART; }
};

// Walks a parsed document and hands over each leaf, in document order.
class xml_outline : public pug::xml_tree_walker {
 public:
    // Passes over the first leaves. The walk ends when the keys, by the rule in KeyLimit.h, are longer than `maximum`.
    xml_outline(LEAF_RECEIVER const& receiver, std::size_t passedOver, std::size_t maximum)
        : m_setter(receiver), m_passedOver(passedOver), m_allowed(maximum), m_paths(1) {}

    bool begin(pug::xml_node& root) override;
    bool for_each(pug::xml_node& node) override;
    bool end(pug::xml_node& root) override;

 private:
    bool TakeLeaf(pug::xml_node const& leaf, PARAM_TYPE type, std::size_t keyLength);

    LEAF_SETTER m_setter;
    std::size_t m_passedOver;
    std::size_t m_allowed;
    pug::xml_node m_lastSet;  // the leaf that was handed over last
    KEY_PATH m_key;
    std::vector<std::size_t> m_paths;  // by depth: length of the beginning of m_key that keys there share
};

// Options of the XML parser. NormaliseSpace treats white space; the parser only keeps a text that is nothing else.
constexpr unsigned int PARSE_OPTIONS = pug::parse_full | pug::parse_ws_pcdata_single;

// A copy of a text that the XML library has parsed in place, and the document that it made. Throws std::bad_alloc.
class PARSED_TEXT {
 public:
    enum class NAMES {
        OF_XML,
        ANY  // also names that XML forbids; see OddNames.h
    };
    PARSED_TEXT(std::string_view text, NAMES names, unsigned int options = PARSE_OPTIONS);

    bool IsDocument() const { return static_cast<bool>(m_result); }
    // The result of the parser; if parsing failed, with the offset of the error.
    pug::xml_parse_result const& Result() const { return m_result; }
    pug::xml_document& Document() { return m_document; }

    // Whether the text may hold more values than the document: it continues after a NUL, or MayHideValues was called.
    bool IsInPart() const { return m_isInPart; }
    void MayHideValues() { m_isInPart = true; }

 private:
    std::unique_ptr<char[]> m_copy;
    pug::xml_document m_document;
    pug::xml_parse_result m_result;
    bool m_isInPart;
};

// Parses a text as a load does: as XML; if that fails, allowing names that XML forbids. A text with names that look
// like markup is parsed in the other order.
std::unique_ptr<PARSED_TEXT> ParseAsLoad(std::string_view text, unsigned int options = PARSE_OPTIONS);

// Parses a text as ParseAsLoad does and hands over all leaves but the first `passedOver`. An empty text holds nothing.
// Throws std::bad_alloc and what the receiver throws.
READ_RESULT ReadDocument(std::string_view text, LEAF_RECEIVER const& receiver, std::size_t passedOver = 0);

// The same for a text that has been parsed.
READ_RESULT ReadParsed(PARSED_TEXT& parsed, std::string_view text, LEAF_RECEIVER const& receiver,
                       std::size_t passedOver = 0);
