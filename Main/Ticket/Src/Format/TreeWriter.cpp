// Builds the tree of a ticket file's elements and turns it into text. An inner element of a key is the first child in
// document order whose name matches. Three ways lead to it, all to the same one: the path of the last key, an index of
// names, and, for names with wildcards, searches.
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

// Whether a search for `component` finds the element of that name which it has just made.
bool FindsItself(std::string_view component) {
    return !component.empty() && (!WILDCARD::IsPattern(component) || WILDCARD(component).Matches(component));
}

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

bool TREE_WRITER::SaveOne(void* writer, char const* key, PARAM_TYPE type, void const* value, int /*index*/) {
    if (writer == nullptr) return false;
    if (!TICKET_FORMAT::NameOf(type).empty())
        static_cast<TREE_WRITER*>(writer)->CreateSubElem(key != nullptr ? key : "", type, value);
    return true;
}

bool TREE_WRITER::CreateSubElem(std::string_view key, PARAM_TYPE type, void const* value) {
    KeepSharedParents(key);
    ELEMENT* parent = m_parents.empty() ? &m_ticket : m_parents.back().element;
    std::size_t begin = m_parents.empty() ? 0 : m_parents.back().end + 1;
    bool isOnPath = true;
    for (std::size_t end; (end = key.find('/', begin)) != std::string_view::npos; begin = end + 1) {
        std::string_view const component = key.substr(begin, end - begin);
        ELEMENT* const found = FindChild(*parent, component);
        parent = found != nullptr ? found : &AddElement(*parent, component);
        isOnPath = isOnPath && (found != nullptr || FindsItself(component));
        if (isOnPath) m_parents.push_back({end, parent});
    }
    std::string_view const name = key.substr(begin);
    if (!name.empty()) return FillLeaf(AddElement(*parent, name), type, value);
    if (m_log != nullptr)
        m_log(0, "STICKET_FILE Illegal key .../%s creates empty node", std::string(parent->name).append("/").c_str());
    return true;
}

TEXT_BUFFER TREE_WRITER::Serialise(FILE_SINK* sink) const {
    FILE_LAYOUT layout(sink);
    SERIALISER(layout).Write(m_ticket);
    return layout.Finish();
}

// Forgets the elements that do not lead to `key`.
void TREE_WRITER::KeepSharedParents(std::string_view key) {
    std::string_view const last = m_lastKey;
    auto const differing = std::mismatch(key.begin(), key.end(), last.begin(), last.end());
    auto const shared = static_cast<std::size_t>(differing.first - key.begin());
    while (!m_parents.empty() && m_parents.back().end >= shared) m_parents.pop_back();
    m_lastKey.replace(shared, std::string::npos, key.substr(shared));
}

// The first child of `parent` in document order whose name matches `component`; null if there is none.
TREE_WRITER::ELEMENT* TREE_WRITER::FindChild(ELEMENT& parent, std::string_view component) {
    if (component.empty() || parent.greatestChild == nullptr) return nullptr;
    if (WILDCARD::IsPattern(component)) return FindMatchingChild(parent, component);
    // Ascending keys make ascending names, nearly always: most new names are found to be new right here.
    if (component > parent.greatestChild->name) return nullptr;
    auto& names = m_indexes[&parent].names;
    names.Update(parent);
    auto const found = names.first.find(component);
    return found != names.first.end() ? found->second.element : nullptr;
}

TREE_WRITER::ELEMENT* TREE_WRITER::FindMatchingChild(ELEMENT const& parent, std::string_view pattern) {
    WILDCARD const wildcard(pattern);
    INDEX& index = m_indexes[&parent];
    index.names.Update(parent);
    std::vector<std::string> names;
    if (pattern.size() > SHORT_PATTERN || !wildcard.ListNames(std::min(index.names.count, FEW_NAMES), names))
        return FindFirstMatch(parent, index, wildcard);
    CHILD const* first = nullptr;
    for (std::string const& name : names) {
        auto const found = index.names.first.find(name);
        if (found != index.names.first.end() && (first == nullptr || found->second.order < first->order))
            first = &found->second;
    }
    return first != nullptr ? first->element : nullptr;
}

// Three searches take turns, and the one that ends first has the answer: in document order, among the names with the
// pattern's beginning, and, once there has been much to compare, among those that hold one of its fragments. So it is
// enough that the pattern matches an early element, or has plain bytes that few names share.
TREE_WRITER::ELEMENT* TREE_WRITER::FindFirstMatch(ELEMENT const& parent, INDEX& index, WILDCARD const& wildcard) {
    std::string const beginning = wildcard.Beginning();
    auto const& names = index.names.first;
    auto name = names.lower_bound(beginning);
    CHILD const* first = nullptr;  // of the names with this beginning that match
    bool const pays = index.comparisons > COMPARISONS_FOR_FRAGMENTS * index.names.count;
    auto const* const holders = pays ? index.fragments.FewestHolders(parent, wildcard) : nullptr;
    std::size_t turn = 0;
    for (ELEMENT* child = parent.firstChild; child != nullptr; child = child->next, ++turn) {
        if (!child->name.empty() && wildcard.Matches(child->name)) return child;
        if (!beginning.empty()) {
            if (name == names.end() || name->first.substr(0, beginning.size()) != beginning)
                return first != nullptr ? first->element : nullptr;
            bool const isEarlier = first == nullptr || name->second.order < first->order;
            if (isEarlier && wildcard.Matches(name->first)) first = &name->second;
            ++name;
        }
        if (holders != nullptr) {
            if (turn == holders->size()) return nullptr;
            if (wildcard.Matches((*holders)[turn]->name)) return (*holders)[turn];
        }
        ++index.comparisons;
    }
    return nullptr;
}

void TREE_WRITER::FRAGMENTS::Update(ELEMENT const& parent) {
    for (ELEMENT* child = last != nullptr ? last->next : parent.firstChild; child != nullptr; child = child->next) {
        last = child;
        isComplete = isComplete && child->name.size() <= LONGEST_NAME_OF_FRAGMENTS;
        if (!isComplete) return holders.clear();
        for (std::size_t end = WILDCARD::FRAGMENT_LENGTH; end <= child->name.size(); ++end) {
            auto& all = holders[WILDCARD::FragmentOf(child->name.data() + end - WILDCARD::FRAGMENT_LENGTH)];
            if (all.empty() || all.back() != child) all.push_back(child);
        }
    }
}

std::vector<TREE_WRITER::ELEMENT*> const* TREE_WRITER::FRAGMENTS::FewestHolders(ELEMENT const& parent,
                                                                                WILDCARD const& wildcard) {
    Update(parent);
    std::vector<ELEMENT*> const* fewest = nullptr;
    if (!isComplete) return nullptr;
    for (WILDCARD::FRAGMENT const fragment : wildcard.Fragments()) {
        auto const& all = holders[fragment];
        if (fewest == nullptr || all.size() < fewest->size()) fewest = &all;
    }
    return fewest;
}

void TREE_WRITER::NAMES::Update(ELEMENT const& parent) {
    for (ELEMENT* child = last != nullptr ? last->next : parent.firstChild; child != nullptr; child = child->next) {
        if (!child->name.empty()) first.emplace_hint(first.end(), child->name, CHILD{count, child});
        ++count;
        last = child;
    }
}

TREE_WRITER::ELEMENT& TREE_WRITER::AddElement(ELEMENT& parent, std::string_view name) {
    auto* const element = new (m_memory.allocate(sizeof(ELEMENT), alignof(ELEMENT))) ELEMENT{Keep(name), &parent};
    if (parent.lastChild == nullptr)
        parent.firstChild = element;
    else
        parent.lastChild->next = element;
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
