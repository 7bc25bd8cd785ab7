// Reading a ticket file: from its text to calls of a set function, one for each stored value.
#pragma once

#include <cstddef>
#include <pugixml.hpp>
#include <string>
#include <string_view>
#include <vector>

#include "Common/Src/ByteStreams.h"
#include "ConfigurationControl/TicketRecords.h"

namespace pug = pugi;

// Walks a parsed document and calls the set function for each leaf, in document order and with APPEND_INDEX, so that
// sibling leaves of one name come back as a vector. Key and value are valid during the call; its result is ignored.
class xml_outline : public pug::xml_tree_walker {
 public:
    using SET = int (*)(void* context, char const* key, PARAM_TYPE type, void const* value, int index);

    // For the walks of several documents, one after the other. `maximum`: a walk ends once the keys of all leaves
    // together are longer than this.
    xml_outline(SET set, void* context, std::size_t maximum)
        : m_set(set), m_context(context), m_left(maximum), m_key(USUAL_KEY), m_parents(1) {
        m_parents.reserve(USUAL_DEPTH);
    }

    bool begin(pug::xml_node& root) override;
    bool for_each(pug::xml_node& node) override;
    bool end(pug::xml_node& root) override;

 private:
    static constexpr std::size_t USUAL_KEY = 128;
    static constexpr std::size_t USUAL_DEPTH = 8;

    std::size_t AppendName(std::size_t path, char const* name);
    void Store(PARAM_TYPE type, char const* text);

    SET m_set;
    void* m_context;
    std::size_t m_left;
    std::vector<char> m_key;             // the path of the current element, NUL-terminated after its name
    std::vector<std::size_t> m_parents;  // by depth: how much of m_key is the path of the parent, "/" included
    std::string m_space;                 // scratch
    std::string m_value;                 // scratch
};

enum class READING {
    DONE,
    CUT_SHORT,          // likewise, but the document ends before a NUL, and what follows was not looked at
    NO_DOCUMENT,        // what is no XML; what was set is to be dropped again
    OUT_OF_PROPORTION,  // deep nesting would make keys longer than 256 MiB and 16 times the text; likewise
    UNREADABLE          // the source failed; likewise
};

// What is parsed at a time. So much text and its document fit into the processor's second-level cache.
constexpr std::size_t FILE_PIECE = std::size_t{64} << 10;

// Parses the text of a ticket file, piece by piece, and walks each with an xml_outline: calls the set function as if
// the text had been parsed as a whole. Throws std::bad_alloc; exceptions of the set function pass through.
READING ReadTicket(FILE_SOURCE& source, xml_outline::SET set, void* context, std::size_t piece = FILE_PIECE);

// The same for a text that was no document: takes it for one with element names that are none in XML.
READING ReadTicketOfAnyNames(FILE_SOURCE& source, xml_outline::SET set, void* context);
