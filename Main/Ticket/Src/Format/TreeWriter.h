// Writes a ticket file whose keys need a search: a walk builds a tree of elements, which becomes the text.
#pragma once

#include <cstddef>
#include <map>
#include <memory_resource>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "ConfigurationControl/StringConversion.h"
#include "ConfigurationControl/TicketRecords.h"
#include "Format/TextBuffer.h"
#include "Format/Wildcard.h"

// Builds a tree of elements first, because a component with wildcards may match any element that is there, and a leaf
// may get elements inside. STREAM_WRITER needs no tree.
//
// Usage: construct, walk the parameters at WALK_EVERYTHING with SaveOne and the writer as context, Serialise. Stack use
// does not depend on the keys. n parameters take O(n log n), fastest in ascending order of keys; but a component with
// wildcards may take O(n) by itself, if it stands for many names and has no four adjacent plain bytes that few other
// names have.
class TREE_WRITER {
 public:
    using LOG = void (*)(unsigned int level, char const* format, ...);

    // A tree with an empty "ticket" element. Texts pass through `conversion` unless it is null; it is only used
    // while a text is added. `log`, which may be null, receives a message for each key whose last component is empty.
    TREE_WRITER(STICKET_STRING_CONVERSION* conversion, LOG log);

    // Walk callback: adds one parameter, skips the types that files do not keep. `writer` is a TREE_WRITER; false
    // only if it is null. Throws as CreateSubElem.
    static bool SaveOne(void* writer, char const* key, PARAM_TYPE type, void const* value, int index);

    // Places one value below the "ticket" element: a new leaf at the path that `key` spells, after the existing
    // elements. False for a type that files do not keep; the leaf then stays bare. Throws the C string of BestDouble
    // for an infinite number, std::bad_alloc, and whatever the conversion throws; the tree is then incomplete.
    bool CreateSubElem(std::string_view key, PARAM_TYPE type, void const* value);

    // The bytes of the file that `sink` has not taken. Throws std::bad_alloc, also for a file that a load would refuse,
    // and what the sink throws.
    TEXT_BUFFER Serialise(FILE_SINK* sink = nullptr) const;

 private:
    // Elements, and all that they view, live in m_memory as long as the writer. They are only ever added, each behind
    // its siblings; hence the first one that a component finds stays the first.
    struct ELEMENT {
        std::string_view name;
        ELEMENT* parent;
        std::size_t order = 0;  // among its siblings
        ELEMENT* firstChild = nullptr;
        ELEMENT* lastChild = nullptr;
        ELEMENT* greatestChild = nullptr;  // by name
        ELEMENT* next = nullptr;
        std::string_view typeName{};  // of a leaf, otherwise empty
        std::string_view text{};      // of a leaf
    };
    // The children whose names hold a fragment, in document order; incomplete if a name is long, because there would be
    // too many. Without this index, saves of patterns that begin with a wildcard take quadratic time.
    struct FRAGMENTS {
        ELEMENT* last = nullptr;  // the last child that is in the index
        bool isComplete = true;
        std::map<WILDCARD::FRAGMENT, std::vector<ELEMENT*>> holders;
        std::vector<ELEMENT*> const none{};

        void Update(ELEMENT const& parent);
        // The children that hold the rarest fragment of the pattern; null if it has none or the index is incomplete.
        std::vector<ELEMENT*> const* FewestHolders(WILDCARD const& wildcard) const;
    };
    // Indexes of the children of one element. The maps are ordered: hostile names could collide in a hash.
    struct INDEX {
        ELEMENT* last = nullptr;                           // the last child that is in firstOfName
        std::map<std::string_view, ELEMENT*> firstOfName;  // without the empty name
        std::string lastPattern;                           // the last one that matched
        ELEMENT* lastMatch = nullptr;
        std::size_t comparisons = 0;  // of names with patterns
        FRAGMENTS fragments;
    };
    class SERIALISER;

    static ELEMENT* Next(ELEMENT const* last, ELEMENT const& parent);
    ELEMENT* FindChild(ELEMENT const& parent, std::string_view component);
    INDEX& IndexOf(ELEMENT const& parent);
    static ELEMENT* FindMatchingChild(ELEMENT const& parent, INDEX& index, std::string_view pattern);
    static ELEMENT* FindFirstMatch(ELEMENT const& parent, INDEX& index, WILDCARD const& wildcard);
    ELEMENT& AddElement(ELEMENT& parent, std::string_view name);
    bool FillLeaf(ELEMENT& leaf, PARAM_TYPE type, void const* value);
    std::string_view Keep(std::string_view text);

    STICKET_STRING_CONVERSION* m_conversion;
    LOG m_log;
    std::pmr::monotonic_buffer_resource m_memory;
    ELEMENT m_ticket;
    std::unordered_map<ELEMENT const*, INDEX> m_indexes;  // by parent
    char const* m_vector = nullptr;                       // the last key as the walk handed it over, or null
    ELEMENT* m_vectorParent = nullptr;                    // of the last leaf, if further ones of its key go there
    TEXT_BUFFER m_value;                                  // scratch
};
