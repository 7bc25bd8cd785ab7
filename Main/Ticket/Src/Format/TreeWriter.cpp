// Builds the tree of a ticket file's elements and turns it into text. An inner element of a key is the first child in
// document order whose name matches: usually the greatest one or none; else an index of names finds it, or for
// wildcards a search.
#include "Format/TreeWriter.h"

#include <algorithm>
#include <cstring>
#include <new>

#include "Format/Layout.h"
#include "Format/Values.h"
#include "Format/Wildcard.h"
#include "Format/Words.h"

namespace {

constexpr std::size_t FIRST_BLOCK = 8192;
// Short patterns that match at most this many names are looked up name by name.
constexpr std::size_t FEW_NAMES = 64;
constexpr std::size_t SHORT_PATTERN = 256;
// Making the index of fragments takes as long as comparing each name this many times.
constexpr std::size_t COMPARISONS_FOR_FRAGMENTS = 32;
constexpr std::size_t LONGEST_NAME_OF_FRAGMENTS = 256;

}  // namespace

// Writes a tree, element by element, without recursion.
class TREE_WRITER::SERIALISER {
 public:
    explicit SERIALISER(FILE_LAYOUT& layout) : m_layout(layout) {}

    void Write(ELEMENT const& root) {
        m_layout.PutDeclaration();
        ELEMENT const* before = nullptr;
        for (ELEMENT const* element = &root;;) {
            Open(*element, before);
            before = nullptr;
            if (element->firstChild != nullptr) {
                element = element->firstChild;
                continue;
            }
            while (element != &root && element->next == nullptr) {
                element = element->parent;
                m_layout.CloseElement(NameOf(*element));
            }
            if (element == &root) return;
            before = element;
            element = element->next;
        }
    }

 private:
    static std::string_view NameOf(ELEMENT const& element) {
        return element.name.empty() ? TICKET_FORMAT::NAMELESS : element.name;
    }

    // `before`: the element before this one in the same parent; null if there is none.
    void Open(ELEMENT const& element, ELEMENT const* before) {
        std::string_view const name = NameOf(element);
        bool const hasChildren = element.firstChild != nullptr;
        if (element.typeName.empty()) return hasChildren ? m_layout.OpenElement(name) : m_layout.PutEmptyElement(name);
        bool const isLaterOfVector = before != nullptr && !before->typeName.empty() && NameOf(*before) == name;
        m_layout.BeginValue(name, element.typeName, isLaterOfVector);
        if (hasChildren) return m_layout.PutValueOfOpenElement(name, element.text);
        m_layout.Text().Put(element.text);
        m_layout.EndValue(name);
    }

    FILE_LAYOUT& m_layout;
};

TREE_WRITER::TREE_WRITER(STICKET_STRING_CONVERSION* conversion, LOG log)
    : m_conversion(conversion), m_log(log), m_memory(FIRST_BLOCK), m_ticket{TICKET_FORMAT::ROOT, nullptr} {}

bool TREE_WRITER::SaveOne(void* writer, char const* key, PARAM_TYPE type, void const* value, int index) {
    if (writer == nullptr) return false;
    auto& self = *static_cast<TREE_WRITER*>(writer);
    // As in STREAM_WRITER, where all elements of the vector have one parent.
    bool const isLater = index > 0 && key != nullptr && key == self.m_vector && self.m_vectorParent != nullptr;
    if (!isLater) self.m_vector = nullptr;
    if (TICKET_FORMAT::NameOf(type).empty()) return true;
    if (isLater) {
        ELEMENT& parent = *self.m_vectorParent;
        self.FillLeaf(self.AddElement(parent, parent.lastChild->name), type, value);
        return true;
    }
    self.CreateSubElem(key != nullptr ? key : "", type, value);
    self.m_vector = key;
    return true;
}

bool TREE_WRITER::CreateSubElem(std::string_view key, PARAM_TYPE type, void const* value) {
    ELEMENT* parent = &m_ticket;
    bool isFoundAgain = true;  // whether the next search for this parent ends here, too
    for (std::size_t slash; (slash = key.find('/')) != std::string_view::npos; key.remove_prefix(slash + 1)) {
        std::string_view const component = key.substr(0, slash);
        ELEMENT* const found = FindChild(*parent, component);
        if (found == nullptr && (component.empty() || WILDCARD::IsPattern(component))) isFoundAgain = false;
        parent = found != nullptr ? found : &AddElement(*parent, component);
    }
    m_vectorParent = isFoundAgain && !key.empty() ? parent : nullptr;
    if (!key.empty()) return FillLeaf(AddElement(*parent, key), type, value);
    if (m_log != nullptr)
        m_log(0, "STICKET_FILE Illegal key .../%s creates empty node", std::string(parent->name).append("/").c_str());
    return true;
}

TEXT_BUFFER TREE_WRITER::Serialise(FILE_SINK* sink) const {
    FILE_LAYOUT layout(sink);
    SERIALISER(layout).Write(m_ticket);
    return layout.Finish();
}

// The first child of `parent` in document order whose name matches `component`; null if there is none.
TREE_WRITER::ELEMENT* TREE_WRITER::FindChild(ELEMENT const& parent, std::string_view component) {
    if (component.empty() || parent.greatestChild == nullptr) return nullptr;
    if (WILDCARD::IsPattern(component)) return FindMatchingChild(parent, IndexOf(parent), component);
    // Ascending keys make ascending names, nearly always.
    int const order = component.compare(parent.greatestChild->name);
    if (order >= 0) return order == 0 ? parent.greatestChild : nullptr;
    auto const& names = IndexOf(parent).firstOfName;
    auto const found = names.find(component);
    return found != names.end() ? found->second : nullptr;
}

TREE_WRITER::INDEX& TREE_WRITER::IndexOf(ELEMENT const& parent) {
    INDEX& index = m_indexes[&parent];
    for (ELEMENT* child = Next(index.last, parent); child != nullptr; child = child->next) {
        if (!child->name.empty()) index.firstOfName.emplace_hint(index.firstOfName.end(), child->name, child);
        index.last = child;
    }
    return index;
}

TREE_WRITER::ELEMENT* TREE_WRITER::FindMatchingChild(ELEMENT const& parent, INDEX& index, std::string_view pattern) {
    if (pattern == index.lastPattern) return index.lastMatch;
    WILDCARD const wildcard(pattern);
    std::size_t const few = std::min(parent.lastChild->order + 1, FEW_NAMES);
    std::vector<std::string> names;
    ELEMENT* first = nullptr;
    if (pattern.size() > SHORT_PATTERN || !wildcard.ListNames(few, names)) {
        first = FindFirstMatch(parent, index, wildcard);
    } else {
        for (std::string const& name : names) {
            auto const found = index.firstOfName.find(name);
            if (found != index.firstOfName.end() && (first == nullptr || found->second->order < first->order))
                first = found->second;
        }
    }
    if (first != nullptr) {
        index.lastPattern = pattern;
        index.lastMatch = first;
    }
    return first;
}

// Searches in document order. After many comparisons, a second search among the names that hold one fragment of the
// pattern takes turns with it; the first match of either counts.
TREE_WRITER::ELEMENT* TREE_WRITER::FindFirstMatch(ELEMENT const& parent, INDEX& index, WILDCARD const& wildcard) {
    std::vector<ELEMENT*> const* holders = nullptr;
    if (index.comparisons > COMPARISONS_FOR_FRAGMENTS * index.firstOfName.size()) {
        index.fragments.Update(parent);
        holders = index.fragments.FewestHolders(wildcard);
    }
    std::size_t turn = 0;
    for (ELEMENT* child = parent.firstChild; child != nullptr; child = child->next, ++turn) {
        if (!child->name.empty() && wildcard.Matches(child->name)) return child;
        if (holders != nullptr) {
            if (turn == holders->size()) return nullptr;
            if (wildcard.Matches((*holders)[turn]->name)) return (*holders)[turn];
        }
        ++index.comparisons;
    }
    return nullptr;
}

void TREE_WRITER::FRAGMENTS::Update(ELEMENT const& parent) {
    for (ELEMENT* child = Next(last, parent); isComplete && child != nullptr; child = child->next) {
        last = child;
        isComplete = child->name.size() <= LONGEST_NAME_OF_FRAGMENTS;
        if (!isComplete) return holders.clear();
        for (std::size_t end = WILDCARD::FRAGMENT_LENGTH; end <= child->name.size(); ++end) {
            auto& all = holders[WILDCARD::FragmentOf(child->name.data() + end - WILDCARD::FRAGMENT_LENGTH)];
            if (all.empty() || all.back() != child) all.push_back(child);
        }
    }
}

std::vector<TREE_WRITER::ELEMENT*> const* TREE_WRITER::FRAGMENTS::FewestHolders(WILDCARD const& wildcard) const {
    std::vector<ELEMENT*> const* fewest = nullptr;
    if (!isComplete) return nullptr;
    for (WILDCARD::FRAGMENT const fragment : wildcard.Fragments()) {
        auto const found = holders.find(fragment);
        if (found == holders.end()) return &none;
        if (fewest == nullptr || found->second.size() < fewest->size()) fewest = &found->second;
    }
    return fewest;
}

// The child behind `last`; the first one if that is null.
TREE_WRITER::ELEMENT* TREE_WRITER::Next(ELEMENT const* last, ELEMENT const& parent) {
    return last != nullptr ? last->next : parent.firstChild;
}

TREE_WRITER::ELEMENT& TREE_WRITER::AddElement(ELEMENT& parent, std::string_view name) {
    auto* const element = new (m_memory.allocate(sizeof(ELEMENT), alignof(ELEMENT))) ELEMENT{Keep(name), &parent};
    if (parent.lastChild == nullptr) {
        parent.firstChild = element;
    } else {
        parent.lastChild->next = element;
        element->order = parent.lastChild->order + 1;
    }
    parent.lastChild = element;
    if (!name.empty() && (parent.greatestChild == nullptr || name > parent.greatestChild->name))
        parent.greatestChild = element;
    return *element;
}

bool TREE_WRITER::FillLeaf(ELEMENT& leaf, PARAM_TYPE type, void const* value) {
    std::string_view const typeName = TICKET_FORMAT::NameOf(type);
    if (typeName.empty()) return false;
    m_value.Clear();
    PutValue(m_value, type, value, m_conversion);
    leaf.typeName = typeName;
    leaf.text = Keep(m_value.View());
    return true;
}

// A copy that lives as long as the writer.
std::string_view TREE_WRITER::Keep(std::string_view text) {
    if (text.empty()) return {};
    auto* const copy = static_cast<char*>(m_memory.allocate(text.size(), 1));
    std::memcpy(copy, text.data(), text.size());
    return {copy, text.size()};
}
