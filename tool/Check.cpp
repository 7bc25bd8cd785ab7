// `ticket check`: what the library passes over in silence. The file's own text
// is looked at node by node; what a save would lose is found by saving a copy.
#include <algorithm>
#include <cstring>
#include <iostream>
#include <iterator>
#include <locale>
#include <sstream>
#include <unordered_map>
#include <vector>

#include "Commands.h"
#include "Format/Escapes.h"
#include "Rehearsal.h"
#include "Terminal.h"
#include "Text.h"
#include "XmlText.h"

namespace {

// One finding, at its place in the file.
struct FINDING {
    std::size_t offset;
    std::string message;
};

class CHECKER {
 public:
    CHECKER() { m_stream.imbue(std::locale::classic()); }

    // Looks at every node; `raw` is the same file parsed without decoding.
    void Look(pugi::xml_node document, pugi::xml_node raw);
    void Say(LOSS const& loss);
    std::vector<FINDING> TakeFindings();

 private:
    void LookAtTop(pugi::xml_node document);
    void LookAt(pugi::xml_node node, pugi::xml_node raw);
    void LookAtElement(pugi::xml_node element, pugi::xml_node raw);
    void LookAtAttributes(pugi::xml_node element);
    void LookAtLeaf(pugi::xml_node element, pugi::xml_node raw);
    void LookAtBranch(pugi::xml_node element);
    void LookAtKey(pugi::xml_node element);
    void LookAtText(pugi::xml_node element, std::string const& text, std::string const& rawText);
    void LookAtNumber(pugi::xml_node element, std::string_view type, std::string const& text);
    void LookAtEscapes(pugi::xml_node element, std::string_view type, std::string const& text);
    void Say(pugi::xml_node node, std::string message);

    template <typename T>
    std::string NumberFinding(std::string const& text);

    std::istringstream m_stream;
    std::string m_path;  // of the current element, as keys have it, up to its own name
    std::unordered_map<std::string, pugi::xml_node> m_leaves;  // the last one of each key
    std::vector<FINDING> m_findings;
};

std::string Normalised(std::string const& text) {
    std::string scratch;
    return std::string(NormaliseSpace(text, scratch));
}

std::string Trimmed(std::string const& text) {
    auto const end = std::find_if_not(text.rbegin(), text.rend(), IsSpace).base();
    return {std::find_if_not(text.begin(), end, IsSpace), end};
}

bool HasElements(pugi::xml_node node) {
    return !node.find_child([](pugi::xml_node child) { return child.type() == pugi::node_element; }).empty();
}

bool IsTop(pugi::xml_node element) {
    return element.parent().type() == pugi::node_document;
}

// An ancestor of this name is left out of keys.
bool IsLeftOut(pugi::xml_node element) {
    return std::strcmp(element.name(), "ticket") == 0;
}

pugi::xml_node PreviousElement(pugi::xml_node node) {
    do {
        node = node.previous_sibling();
    } while (node && node.type() != pugi::node_element);
    return node;
}

// The parser tells where a node's name or text begins, which is behind this
// mark.
std::size_t LengthOfMark(pugi::xml_node_type type) {
    switch (type) {
        case pugi::node_element:
            return std::strlen("<");
        case pugi::node_pi:
        case pugi::node_declaration:
            return std::strlen("<?");
        case pugi::node_comment:
            return std::strlen("<!--");
        case pugi::node_cdata:
            return std::strlen("<![CDATA[");
        default:
            return 0;
    }
}

std::size_t OffsetOf(pugi::xml_node node) {
    auto const offset = static_cast<std::size_t>(std::max<std::ptrdiff_t>(0, node.offset_debug()));
    return offset - std::min(offset, LengthOfMark(node.type()));
}

// Reads a number as the library does: as a stream of the classic locale would.
template <typename T>
std::string CHECKER::NumberFinding(std::string const& text) {
    T number{};
    m_stream.clear();
    m_stream.str(text);
    bool const read = static_cast<bool>(m_stream >> number);
    if (!read && number == 0) return "is not a number and is read as 0";
    if (!read) return "is out of range and is cut to " + PlainText(number);
    if (!m_stream.eof() && m_stream.peek() != std::istringstream::traits_type::eof()) {
        return "is read only up to " + Excerpt(text.substr(static_cast<std::size_t>(m_stream.tellg())));
    }
    if (std::is_unsigned_v<T> && text.front() == '-') return "is negative and is read as " + PlainText(number);
    return {};
}

void CHECKER::Say(pugi::xml_node node, std::string message) {
    m_findings.push_back({OffsetOf(node), std::move(message)});
}

void CHECKER::Say(LOSS const& loss) {
    auto const leaf = m_leaves.find(loss.key);
    m_findings.push_back(
        {leaf == m_leaves.end() ? 0 : OffsetOf(leaf->second), "key " + Quoted(loss.key) + " " + loss.what});
}

// Walks both documents without recursion: a file may nest a million deep.
void CHECKER::Look(pugi::xml_node document, pugi::xml_node raw) {
    LookAtTop(document);
    auto node = document.first_child();
    auto twin = raw.first_child();
    while (node) {
        LookAt(node, twin);
        if (node.first_child()) {
            if (!IsLeftOut(node)) m_path.append(node.name()).append(1, '/');
            node = node.first_child();
            twin = twin.first_child();
            continue;
        }
        while (!node.next_sibling() && node.parent() != document) {
            node = node.parent();
            twin = twin.parent();
            if (!IsLeftOut(node)) m_path.resize(m_path.size() - std::strlen(node.name()) - 1);
        }
        node = node.next_sibling();
        twin = twin.next_sibling();
    }
}

void CHECKER::LookAtTop(pugi::xml_node document) {
    int elements = 0;
    for (auto const child : document.children()) {
        if (IsMoreThanSpace(child)) Say(child, "text outside the top-level element stores nothing");
        if (child.type() == pugi::node_declaration) {
            std::string const encoding = child.attribute("encoding").value();
            if (!encoding.empty() && encoding != "UTF-8" && encoding != "utf-8") {
                Say(child, "the encoding " + Excerpt(encoding) + " is ignored: bytes are kept as they are");
            }
        }
        if (child.type() != pugi::node_element) continue;
        if (++elements > 1) Say(child, "a second top-level element; a save puts everything into one");
        if (!IsLeftOut(child)) {
            Say(child, "the top-level element is named " + Quoted(child.name()) +
                           ", not 'ticket', and becomes part of every key");
        }
    }
}

void CHECKER::LookAt(pugi::xml_node node, pugi::xml_node raw) {
    switch (node.type()) {
        case pugi::node_comment:
            return Say(node, "a comment is lost at the next save");
        case pugi::node_pi:
            return Say(node, "a processing instruction is lost at the next save");
        case pugi::node_doctype:
            return Say(node, "a document type is ignored and lost at the next save");
        case pugi::node_element:
            return LookAtElement(node, raw);
        default:
            return;
    }
}

void CHECKER::LookAtElement(pugi::xml_node element, pugi::xml_node raw) {
    if (!IsTop(element) && IsLeftOut(element) && HasElements(element)) {
        Say(element, "an element named 'ticket' is left out of the keys below it");
    }
    std::string_view const name = element.name();
    if (std::any_of(name.begin(), name.end(), IsControlByte)) {
        Say(element,
            "the name " + Quoted(std::string(name)) + " holds a control byte, which other files may not bring back");
    }
    LookAtAttributes(element);
    if (std::strcmp(element.first_attribute().name(), "type") == 0) {
        LookAtLeaf(element, raw);
    } else {
        LookAtBranch(element);
    }
}

void CHECKER::LookAtAttributes(pugi::xml_node element) {
    for (auto const attribute : element.attributes()) {
        bool const isType = std::strcmp(attribute.name(), "type") == 0;
        if (isType && attribute == element.first_attribute()) continue;
        Say(element, isType ? std::string("attribute 'type' is not the first one and is ignored")
                            : "attribute " + Quoted(attribute.name()) + " is ignored and lost at the next save");
    }
}

void CHECKER::LookAtBranch(pugi::xml_node element) {
    if (auto const text = element.find_child(IsMoreThanSpace)) {
        Say(text, "text in element " + Quoted(element.name()) + ", which has no type, stores nothing");
    } else if (!HasElements(element) && !IsTop(element)) {
        Say(element, "element " + Quoted(element.name()) + " holds nothing");
    }
}

void CHECKER::LookAtLeaf(pugi::xml_node element, pugi::xml_node raw) {
    auto const name = Quoted(element.name());
    std::string const type = element.first_attribute().value();
    if (!IsTypeInFiles(type)) {
        Say(element, name + " has the unknown type " + Excerpt(type) + " and stores nothing");
        return;
    }
    auto const value = element.first_child();
    if (!value) {
        Say(element, name + " has a type and no text and stores nothing");
        return;
    }
    LookAtKey(element);
    if (value.type() == pugi::node_element) {
        Say(element, name +
                         " has a type but starts with an element: its text is "
                         "taken as empty");
    } else if (!IsText(value)) {
        Say(value, name + " takes its value from a comment or instruction");
    }
    for (auto later = value.next_sibling(); later; later = later.next_sibling()) {
        if (IsMoreThanSpace(later)) Say(later, "only the first piece of text of " + name + " is its value");
    }
    std::string const text = value.value();
    LookAtText(element, text, raw.first_child().value());
    auto const loaded = Normalised(text);
    if (type == "string" || type == "binstr") {
        LookAtEscapes(element, type, loaded);
    } else {
        LookAtNumber(element, type, loaded);
    }
}

// A vector is a row of elements. A key that stands in two places was more
// likely meant as one value, and a program that asks for one value then finds
// none.
void CHECKER::LookAtKey(pugi::xml_node element) {
    auto const [leaf, isNew] = m_leaves.try_emplace(m_path + element.name(), element);
    if (isNew) return;
    if (PreviousElement(element) != leaf->second) {
        Say(element, "key " + Quoted(leaf->first) + " stands here again, so it holds a vector and no single value");
    }
    leaf->second = element;
}

void CHECKER::LookAtText(pugi::xml_node element, std::string const& text, std::string const& rawText) {
    auto const name = Quoted(element.name());
    if (text != rawText) {
        Say(element, name + " holds entities or line ends that are decoded: " + Excerpt(rawText));
    }
    // Around the text of an element that holds others too, space is layout.
    if ((HasElements(element) ? Trimmed(text) : text) != Normalised(text)) {
        Say(element, "white space of " + name + " changes: trimmed at the ends, inner runs become one space");
    }
}

void CHECKER::LookAtNumber(pugi::xml_node element, std::string_view type, std::string const& text) {
    if (type == "double" && text == "1.#QNAN") return;
    std::string finding;
    if (type == "int") finding = NumberFinding<int32_t>(text);
    if (type == "int64") finding = NumberFinding<int64_t>(text);
    if (type == "uint64") finding = NumberFinding<uint64_t>(text);
    if (type == "double") finding = NumberFinding<double>(text);
    if (!finding.empty()) Say(element, Quoted(element.name()) + ": " + Excerpt(text) + " " + finding);
}

void CHECKER::LookAtEscapes(pugi::xml_node element, std::string_view type, std::string const& text) {
    auto const name = Quoted(element.name());
    if (text == "\\") return;  // the empty text
    auto const isDigit = [](char c) { return std::string_view("0123456789ABCDEF").find(c) != std::string_view::npos; };
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (text[i] != '\\') continue;
        char const next = i + 1 < text.size() ? text[i + 1] : '\0';
        std::size_t const length = next == 'x' ? 4 : 2;
        if (i + length > text.size()) {
            Say(element, name + " ends in an unfinished escape, which is dropped");
            return;
        }
        bool const known = next == 'x' ? isDigit(text[i + 2]) && isDigit(text[i + 3])
                                       : std::string_view("\\nrt").find(next) != std::string_view::npos;
        auto const escape = text.substr(i, length);
        if (!known) {
            Say(element, name + ": " + Quoted(escape) + " is not an escape and stays as it is");
        } else if (type == "string" && escape == "\\x00") {
            Say(element, name + ": a string ends at its first NUL byte; the rest is lost");
            return;
        }
        if (known) i += length - 1;
    }
}

std::vector<FINDING> CHECKER::TakeFindings() {
    std::stable_sort(m_findings.begin(), m_findings.end(),
                     [](FINDING const& a, FINDING const& b) { return a.offset < b.offset; });
    return std::move(m_findings);
}

// Returns whether nothing was found.
bool CheckOne(std::string const& file) {
    auto const text = ReadTicketText(file);
    TICKET const loads(file);  // throws where it does not
    // As the library parses it, but with the text outside the top-level element
    // too.
    constexpr unsigned int decoded = PARSE_AS_LIBRARY | pugi::parse_fragment;
    constexpr unsigned int undecoded = decoded & ~static_cast<unsigned int>(pugi::parse_escapes | pugi::parse_eol);
    auto const document = ParseTicketText(file, text, decoded);
    auto const raw = ParseTicketText(file, text, undecoded);
    CHECKER checker;
    checker.Look(*document, *raw);
    for (auto const& loss : LossesOfASave(loads, file)) checker.Say(loss);
    auto findings = checker.TakeFindings();
    auto const end = text.find('\0');
    if (end != std::string::npos) findings.push_back({end, "a NUL byte ends the file; the rest is lost"});
    PLACES places(file, text);
    for (auto const& finding : findings) {
        std::cout << COLOURED{Printable(places.Of(finding.offset)), COLOUR::YELLOW} << Printable(finding.message)
                  << '\n';
    }
    return findings.empty();
}

}  // namespace

int Check(ARGUMENTS const& arguments) {
    bool clean = true;
    bool failed = false;
    for (auto const& file : arguments.All("FILE")) {
        // The next files are looked at all the same.
        try {
            if (!CheckOne(file)) clean = false;
        } catch (UNLOADABLE_FILE const& failure) {
            std::cout << COLOURED{Printable(failure.what()), COLOUR::RED} << '\n';
            clean = false;
        } catch (FAILURE const& failure) {
            Complain(failure.what());
            failed = true;
        }
    }
    if (failed) return FAILED;
    return clean ? DONE : FOUND_SOMETHING;
}
