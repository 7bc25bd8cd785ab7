// Reading a ticket file through a document tree of the XML library: for every file that is not exactly as a save
// writes it.
#pragma once

#include <cstddef>
#include <pugixml.hpp>
#include <string_view>
#include <vector>

#include "Format/Leaf.h"

namespace pug = pugi;

enum class READING {
    DONE,
    IN_PART,            // likewise, but the text may hold values that were not read, behind a NUL for instance
    NO_DOCUMENT,        // the text is no XML; nothing is set
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
    // The first `passedOver` leaves are not handed over. The walk ends when the keys are longer than `maximum`, by the
    // rule in KeyLimit.h.
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
    KEY_PATH m_key;
    std::vector<std::size_t> m_paths;  // by depth: how much of m_key the keys there begin with
};

// Reads a text as XML if it is, otherwise allowing names that XML forbids; see OddNames.h. Hands over all leaves but
// the first `passedOver`. Throws std::bad_alloc and what the receiver throws.
READ_RESULT ReadDocument(std::string_view text, LEAF_RECEIVER const& receiver, std::size_t passedOver = 0);

// Its two attempts.
READ_RESULT ReadXml(std::string_view text, LEAF_RECEIVER const& receiver, std::size_t passedOver = 0);
READ_RESULT ReadXmlOfAnyNames(std::string_view text, LEAF_RECEIVER const& receiver, std::size_t passedOver = 0);
