// Builds the document of a ticket file and turns it into text. An inner element of a key is the first child in document
// order whose name matches; three ways lead to it, all to the same one: the path of the last key, an index of names,
// and, for names with wildcards, a search.
#include "TicketImpSFileWriter.h"

#include <algorithm>
#include <cstdint>
#include <new>

#include "TicketImpSFileFormat.h"
#include "TicketImpSFileNumbers.h"
#include "TicketImpSFileText.h"
#include "TicketImpSFileWildcard.h"

namespace {

constexpr char DECLARATION_NAME[] = "xml";
// What a line holds beside names, texts and indentation, generously.
constexpr std::size_t LINE_OVERHEAD = 32;
// Patterns that stand for few names, and are short, are looked up name by name.
constexpr std::size_t FEW_NAMES = 256;
constexpr std::size_t SHORT_PATTERN = 256;

// The library reports exhausted memory by null results and false.
pug::xml_node Checked(pug::xml_node node) {
    if (!node) throw std::bad_alloc();
    return node;
}

void Check(bool done) {
    if (!done) throw std::bad_alloc();
}

void AddAttribute(pug::xml_node node, char const* name, char const* value) {
    pug::xml_attribute attribute = node.append_attribute(name);
    Check(attribute && attribute.set_value(value));
}

bool IsReusable(std::string_view component) {
    return !component.empty() && !WILDCARD::IsPattern(component);
}

void AppendAttributes(std::string& out, pug::xml_node node) {
    for (pug::xml_attribute attribute = node.first_attribute(); attribute; attribute = attribute.next_attribute()) {
        out.append(1, ' ').append(attribute.name());
        if (*attribute.value() != '\0') out.append("=\"").append(attribute.value()).append(1, '"');
    }
}

char const* WrittenName(pug::xml_node element) {
    return *element.name() != '\0' ? element.name() : TICKET_FORMAT::NAMELESS;
}

void AppendClosingTag(std::string& out, pug::xml_node element) {
    out.append("</").append(WrittenName(element)).append(">\n");
}

// Writes an element up to its children, or whole if it fits on a line. Returns its first child in the former case.
pug::xml_node OpenElement(std::string& out, pug::xml_node element) {
    out.append(1, '<').append(WrittenName(element));
    AppendAttributes(out, element);
    pug::xml_node const first = element.first_child();
    if (!first) {
        out.append("/>\n");
        return {};
    }
    if (first.type() == pug::node_pcdata && !first.next_sibling()) {
        out.append(1, '>').append(first.value());
        AppendClosingTag(out, element);
        return {};
    }
    out.append(">\n");
    return first;
}

// Writes the line, or the first line, of a node. Returns its first child if the children are to follow.
pug::xml_node OpenNode(std::string& out, pug::xml_node node) {
    switch (node.type()) {
        case pug::node_element:
            return OpenElement(out, node);
        case pug::node_declaration:
            out.append("<?").append(node.name());
            AppendAttributes(out, node);
            out.append("?>\n");
            return {};
        default:
            out.append(node.value()).append(1, '\n');
            return {};
    }
}

}  // namespace

TICKET_DOCUMENT::TICKET_DOCUMENT(STICKET_STRING_CONVERSION* conversion, LOG log)
    : m_conversion(conversion), m_log(log), m_size(4 * LINE_OVERHEAD) {
    pug::xml_node declaration = Checked(m_document.append_child(pug::node_declaration));
    Check(declaration.set_name(DECLARATION_NAME));
    AddAttribute(declaration, "version", "1.0");
    AddAttribute(declaration, "encoding", "UTF-8");
    m_ticket = AddElement(m_document, TICKET_FORMAT::ROOT, 0);
}

bool TICKET_DOCUMENT::SaveOne(void* document, char const* key, PARAM_TYPE type, void const* value, int /*index*/) {
    if (document == nullptr) return false;
    if (TICKET_FORMAT::NameOf(type) != nullptr)
        static_cast<TICKET_DOCUMENT*>(document)->CreateSubElem(key != nullptr ? key : "", type, value);
    return true;
}

bool TICKET_DOCUMENT::CreateSubElem(std::string_view key, PARAM_TYPE type, void const* value) {
    KeepSharedSteps(key);
    pug::xml_node parent = m_steps.empty() ? m_ticket : m_steps.back().element;
    std::size_t begin = m_steps.empty() ? 0 : m_steps.back().end + 1;
    std::size_t depth = m_steps.size() + 1;
    bool isStep = true;
    bool isNew = false;  // what was just made has no children to search
    for (std::size_t end; (end = key.find('/', begin)) != std::string_view::npos; begin = end + 1) {
        std::string_view const component = key.substr(begin, end - begin);
        pug::xml_node element = isNew ? pug::xml_node() : FindChild(parent, component);
        isNew = !element;
        if (isNew) element = AddElement(parent, component, depth);
        isStep = isStep && IsReusable(component);
        if (isStep) m_steps.push_back({end, element});
        parent = element;
        ++depth;
    }
    std::string_view const name = key.substr(begin);
    if (!name.empty()) return FillLeaf(AddElement(parent, name, depth), type, value, depth);
    if (m_log != nullptr)
        m_log(0, "STICKET_FILE Illegal key .../%s creates empty node", std::string(parent.name()).append("/").c_str());
    return true;
}

std::string TICKET_DOCUMENT::Serialise() const {
    std::string out;
    out.reserve(m_size);
    std::size_t depth = 0;
    for (pug::xml_node node = m_document.first_child(); node;) {
        out.append(depth, '\t');
        if (pug::xml_node const child = OpenNode(out, node)) {
            node = child;
            ++depth;
            continue;
        }
        while (!node.next_sibling() && depth > 0) {
            node = node.parent();
            out.append(--depth, '\t');
            AppendClosingTag(out, node);
        }
        node = node.next_sibling();
    }
    return out;
}

// Forgets the steps that `key` does not take.
void TICKET_DOCUMENT::KeepSharedSteps(std::string_view key) {
    std::size_t const length = std::min(m_lastKey.size(), key.size());
    auto const differing =
        std::mismatch(key.begin(), key.begin() + static_cast<std::ptrdiff_t>(length), m_lastKey.begin());
    auto const shared = static_cast<std::size_t>(differing.first - key.begin());
    while (!m_steps.empty() && m_steps.back().end >= shared) m_steps.pop_back();
    m_lastKey.replace(shared, std::string::npos, key.substr(shared));
}

pug::xml_node TICKET_DOCUMENT::AddElement(pug::xml_node parent, std::string_view name, std::size_t depth) {
    m_name = name;
    pug::xml_node element = Checked(parent.append_child(pug::node_element));
    Check(element.set_name(m_name.c_str()));
    m_size += 2 * (depth + std::max(name.size(), sizeof TICKET_FORMAT::NAMELESS)) + LINE_OVERHEAD;
    return element;
}

bool TICKET_DOCUMENT::FillLeaf(pug::xml_node leaf, PARAM_TYPE type, void const* value, std::size_t depth) {
    char const* const typeName = TICKET_FORMAT::NameOf(type);
    if (typeName == nullptr) return false;
    m_text.clear();
    FormatValue(type, value);
    if (m_text.empty()) m_text = TICKET_FORMAT::EMPTY_TEXT;
    AddAttribute(leaf, TICKET_FORMAT::TYPE_ATTRIBUTE, typeName);
    Check(Checked(leaf.append_child(pug::node_pcdata)).set_value(m_text.c_str()));
    m_size += depth + m_text.size() + LINE_OVERHEAD;
    return true;
}

void TICKET_DOCUMENT::FormatValue(PARAM_TYPE type, void const* value) {
    if (value == nullptr) return;
    switch (type) {
        case PARAM_INT:
            return AppendNumber(m_text, *static_cast<int32_t const*>(value));
        case PARAM_INT64:
            return AppendNumber(m_text, *static_cast<int64_t const*>(value));
        case PARAM_UINT64:
            return AppendNumber(m_text, *static_cast<uint64_t const*>(value));
        case PARAM_DOUBLE:
            return AppendNumber(m_text, BestDouble{*static_cast<double const*>(value), BestDouble::FILE_LIMIT});
        case PARAM_STRING: {
            auto const text = static_cast<char const*>(value);
            return m_conversion != nullptr ? EncodeTo(m_text, m_conversion->ToFile(text)) : EncodeTo(m_text, text);
        }
        case PARAM_BINSTR: {
            auto const& bytes = *static_cast<BIN_STRING const*>(value);
            if (bytes.data != nullptr) EncodeTo(m_text, {static_cast<char const*>(bytes.data), bytes.length});
            return;
        }
        default:
            return;
    }
}

// The first child of `parent` in document order whose name matches `component`; null if there is none.
pug::xml_node TICKET_DOCUMENT::FindChild(pug::xml_node parent, std::string_view component) {
    if (component.empty() || !parent.first_child()) return {};
    CHILDREN const& children = UpToDateChildren(parent);
    if (WILDCARD::IsPattern(component)) return FindMatchingChild(parent, children, component);
    auto const found = children.firstByName.find(component);
    return found != children.firstByName.end() ? found->second.node : pug::xml_node();
}

pug::xml_node TICKET_DOCUMENT::FindMatchingChild(pug::xml_node parent, CHILDREN const& children,
                                                 std::string_view pattern) {
    WILDCARD const wildcard(pattern);
    std::vector<std::string> names;
    if (pattern.size() > SHORT_PATTERN || !wildcard.ListNames(std::min(children.count, FEW_NAMES), names)) {
        for (pug::xml_node child = parent.first_child(); child; child = child.next_sibling())
            if (*child.name() != '\0' && wildcard.Matches(child.name())) return child;
        return {};
    }
    CHILDREN::CHILD const* first = nullptr;
    for (std::string const& name : names) {
        auto const found = children.firstByName.find(name);
        if (found != children.firstByName.end() && (first == nullptr || found->second.order < first->order))
            first = &found->second;
    }
    return first != nullptr ? first->node : pug::xml_node();
}

TICKET_DOCUMENT::CHILDREN& TICKET_DOCUMENT::UpToDateChildren(pug::xml_node parent) {
    CHILDREN& children = m_children[parent.internal_object()];
    pug::xml_node child = children.last ? children.last.next_sibling() : parent.first_child();
    for (; child; child = child.next_sibling()) {
        // Ascending keys make ascending names, nearly always.
        if (*child.name() != '\0')
            children.firstByName.emplace_hint(children.firstByName.end(), child.name(),
                                              CHILDREN::CHILD{children.count, child});
        ++children.count;
        children.last = child;
    }
    return children;
}
