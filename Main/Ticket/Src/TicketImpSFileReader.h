// Reading a ticket file: from its text to calls of a set function, one for each stored value.
#pragma once

#include <cstddef>
#include <pugixml.hpp>
#include <string>
#include <string_view>
#include <vector>

#include "ConfigurationControl/TicketRecords.h"
#include "TicketImpSFileMemory.h"

namespace pug = pugi;

// Walks a parsed document and calls the set function for each leaf, in document order and with APPEND_INDEX, so that
// sibling leaves of one name come back as a vector. Key and value are valid during the call; its result is ignored.
class xml_outline : public pug::xml_tree_walker {
 public:
    using SET = int (*)(void* context, char const* key, PARAM_TYPE type, void const* value, int index);

    // `maximum`: the walk ends once the keys of all leaves together are longer than this.
    xml_outline(SET set, void* context, std::size_t maximum)
        : m_set(set), m_context(context), m_left(maximum), m_key(1), m_parents(1) {}

    bool begin(pug::xml_node& root) override;
    bool for_each(pug::xml_node& node) override;
    bool end(pug::xml_node& root) override;

 private:
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
    NO_DOCUMENT,       // what is no XML; nothing was set
    OUT_OF_PROPORTION  // deep nesting would make keys longer than 256 MiB and 16 times the text: to be dropped again
};

// Parses the text of a ticket file, the first `size` bytes of the room, and walks it with an xml_outline. The text is
// used as working space: its content is lost. Throws std::bad_alloc; exceptions of the set function pass through.
READING ReadTicket(FILE_ROOM const& room, std::size_t size, xml_outline::SET set, void* context);

// The same for a text that was no document: takes it for one with element names that are none in XML. Leaves the text.
READING ReadTicketOfAnyNames(std::string_view text, xml_outline::SET set, void* context);
