// Writing a ticket file: the document that a walk over the parameters builds, and its text.
#pragma once

#include <cstddef>
#include <map>
#include <pugixml.hpp>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "ConfigurationControl/StringConversion.h"
#include "ConfigurationControl/TicketRecords.h"

namespace pug = pugi;

// Usage: construct, walk the parameters at WALK_EVERYTHING with SaveOne and the document as context, Serialise.
// Stack use does not depend on the keys; n parameters take O(n log n) in any order, fastest in ascending order of keys.
class TICKET_DOCUMENT {
 public:
    using LOG = void (*)(unsigned int level, char const* format, ...);

    // A document with an empty "ticket" element. Texts pass through `conversion` unless it is null; it is only used
    // while a text is added. `log` is told of keys that end where a name should follow; it may be null.
    // Throws std::bad_alloc, as every operation does.
    TICKET_DOCUMENT(STICKET_STRING_CONVERSION* conversion, LOG log);

    // Walk callback: adds one parameter, skips the types that files do not keep. `document` is a TICKET_DOCUMENT; false
    // only if it is null. Throws as CreateSubElem.
    static bool SaveOne(void* document, char const* key, PARAM_TYPE type, void const* value, int index);

    // Places one value below the "ticket" element: a new leaf at the path that `key` spells, behind what is there.
    // False for a type that files do not keep; the leaf then stays bare.
    // Throws the C string of BestDouble for an infinite number, and whatever the conversion throws.
    bool CreateSubElem(std::string_view key, PARAM_TYPE type, void const* value);

    // The bytes of the file. Throws std::bad_alloc or std::length_error where they do not fit into memory.
    std::string Serialise() const;

 private:
    // Children of one element by name, brought up to date when somebody searches. Names are the document's own.
    struct CHILDREN {
        struct CHILD {
            std::size_t order;
            pug::xml_node node;
        };
        pug::xml_node last;  // the last one that was looked at
        std::size_t count = 0;
        std::map<std::string_view, CHILD> firstByName;
    };
    // One inner element on the way to the last key. Only such elements as the same name always leads to: no wildcards.
    struct STEP {
        std::size_t end;  // where its name ends in m_lastKey
        pug::xml_node element;
    };

    void KeepSharedSteps(std::string_view key);
    pug::xml_node AddElement(pug::xml_node parent, std::string_view name, std::size_t depth);
    bool FillLeaf(pug::xml_node leaf, PARAM_TYPE type, void const* value, std::size_t depth);
    void FormatValue(PARAM_TYPE type, void const* value);
    pug::xml_node FindChild(pug::xml_node parent, std::string_view component);
    static pug::xml_node FindMatchingChild(pug::xml_node parent, CHILDREN const& children, std::string_view pattern);
    CHILDREN& UpToDateChildren(pug::xml_node parent);

    STICKET_STRING_CONVERSION* m_conversion;
    LOG m_log;
    pug::xml_document m_document;
    pug::xml_node m_ticket;
    std::string m_lastKey;
    std::vector<STEP> m_steps;
    std::unordered_map<pug::xml_node_struct*, CHILDREN> m_children;  // by element
    std::string m_name;                                              // scratch
    std::string m_text;                                              // scratch
    std::size_t m_size;                                              // the text of the document is at most this long
};
