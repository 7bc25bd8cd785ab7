// `ticket check`: what the library passes over in silence. The file's own text is looked at node by node; what a save
// would lose is found by saving a copy.
#include <algorithm>
#include <charconv>
#include <cstring>
#include <iostream>
#include <iterator>
#include <vector>

#include "Commands.h"
#include "Files.h"
#include "Terminal.h"
#include "XmlText.h"

namespace {

// One finding, at its place in the file.
struct FINDING {
    std::size_t offset;
    std::string message;
};

class CHECKER {
 public:
    explicit CHECKER(std::string const& text) : m_text(text) {}

    // Looks at every node; `raw` is the same file parsed without decoding.
    void Look(pugi::xml_node document, pugi::xml_node raw);
    std::vector<FINDING> TakeFindings();

 private:
    void LookAtTop(pugi::xml_node document);
    void LookAt(pugi::xml_node node, pugi::xml_node raw);
    void LookAtLeaf(pugi::xml_node element, pugi::xml_node raw);
    void LookAtBranch(pugi::xml_node element);
    void LookAtText(pugi::xml_node element, std::string const& text, std::string const& rawText);
    void LookAtNumber(pugi::xml_node element, std::string_view type, std::string const& text);
    void LookAtEscapes(pugi::xml_node element, std::string_view type, std::string const& text);
    void Say(pugi::xml_node node, std::string message);

    std::string const& m_text;
    std::vector<FINDING> m_findings;
};

constexpr char const* kTypes[] = {"int", "double", "string", "binstr", "int64", "uint64"};

bool IsKnownType(std::string_view type) {
    return std::find(std::begin(kTypes), std::end(kTypes), type) != std::end(kTypes);
}

bool IsSpace(char c) {
    return static_cast<unsigned char>(c) <= 0x20;
}

// What loading makes of a text: no white space at the ends, one space for each inner run.
std::string Normalised(std::string const& text) {
    std::string result;
    for (char const c : text) {
        if (!IsSpace(c)) {
            result += c;
        } else if (!result.empty() && result.back() != ' ') {
            result += ' ';
        }
    }
    if (!result.empty() && result.back() == ' ') result.pop_back();
    return result;
}

bool IsText(pugi::xml_node node) {
    return node.type() == pugi::node_pcdata || node.type() == pugi::node_cdata;
}

template <typename T>
std::string NumberFinding(std::string const& text) {
    T number{};
    char const* begin = text.data();
    char const* const end = begin + text.size();
    if (begin != end && *begin == '+') ++begin;
    auto const [stop, error] = std::from_chars(begin, end, number);
    if (error == std::errc::result_out_of_range) return "is out of range and is cut to the nearest limit";
    if (error != std::errc()) return "is not a number and is read as 0";
    // A full stop at the end belongs to the writer's own form of a double.
    if (stop != end) return "is read only up to '" + std::string(stop, end) + "'";
    return {};
}

void CHECKER::Say(pugi::xml_node node, std::string message) {
    // A parser's offset points behind the "<" of an element.
    auto const offset = static_cast<std::size_t>(std::max<std::ptrdiff_t>(0, node.offset_debug()));
    m_findings.push_back({offset, std::move(message)});
}

// Walks both documents without recursion: a file may nest a million deep.
void CHECKER::Look(pugi::xml_node document, pugi::xml_node raw) {
    LookAtTop(document);
    auto node = document.first_child();
    auto twin = raw.first_child();
    while (node) {
        LookAt(node, twin);
        if (node.first_child()) {
            node = node.first_child();
            twin = twin.first_child();
            continue;
        }
        while (node && node != document && !node.next_sibling()) {
            node = node.parent();
            twin = twin.parent();
        }
        if (node == document) break;
        node = node.next_sibling();
        twin = twin.next_sibling();
    }
}

void CHECKER::LookAtTop(pugi::xml_node document) {
    int elements = 0;
    for (auto const child : document.children()) {
        if (child.type() != pugi::node_element) continue;
        if (++elements > 1) Say(child, "a second top-level element; a save puts everything into one");
        if (std::strcmp(child.name(), "ticket") != 0) {
            Say(child, "the top-level element is named '" + std::string(child.name()) +
                           "', not 'ticket', and becomes part of every key");
        }
    }
}

void CHECKER::LookAt(pugi::xml_node node, pugi::xml_node raw) {
    if (node.type() == pugi::node_comment) Say(node, "a comment is lost at the next save");
    if (node.type() != pugi::node_element) return;
    bool const top = node.parent().type() == pugi::node_document;
    if (!top && std::strcmp(node.name(), "ticket") == 0) {
        Say(node, "an element named 'ticket' is left out of the keys below it");
    }
    auto const first = node.first_attribute();
    for (auto const attribute : node.attributes()) {
        if (attribute == first && std::strcmp(attribute.name(), "type") == 0) continue;
        bool const misplaced = std::strcmp(attribute.name(), "type") == 0;
        Say(node, misplaced ? std::string("attribute 'type' is not the first one and is ignored")
                            : "attribute '" + std::string(attribute.name()) + "' is ignored and lost at the next save");
    }
    if (first && std::strcmp(first.name(), "type") == 0) {
        LookAtLeaf(node, raw);
    } else {
        LookAtBranch(node);
    }
}

void CHECKER::LookAtBranch(pugi::xml_node element) {
    bool const top = element.parent().type() == pugi::node_document;
    if (!element.first_child()) {
        if (!top) Say(element, "element '" + std::string(element.name()) + "' holds nothing and stores nothing");
        return;
    }
    for (auto const child : element.children()) {
        if (!IsText(child)) continue;
        Say(child, "text in element '" + std::string(element.name()) + "', which has no type, stores nothing");
        return;
    }
}

void CHECKER::LookAtLeaf(pugi::xml_node element, pugi::xml_node raw) {
    std::string const name = element.name();
    std::string const type = element.first_attribute().value();
    if (!IsKnownType(type)) {
        Say(element, "'" + name + "' has the unknown type '" + type + "' and stores nothing");
        return;
    }
    auto const value = element.first_child();
    if (!value) {
        Say(element, "'" + name + "' has a type and no text and stores nothing");
        return;
    }
    if (value.type() == pugi::node_element) {
        Say(element, "'" + name + "' has a type but starts with an element: its value is empty");
    } else if (!IsText(value)) {
        Say(value, "'" + name + "' takes its value from a comment or instruction");
    }
    for (auto later = value.next_sibling(); later; later = later.next_sibling()) {
        if (IsText(later)) Say(later, "only the first piece of text of '" + name + "' is its value");
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

void CHECKER::LookAtText(pugi::xml_node element, std::string const& text, std::string const& rawText) {
    std::string const name = element.name();
    if (text != rawText) Say(element, "'" + name + "' holds entities or line ends that are decoded: '" + rawText + "'");
    if (text != Normalised(text)) {
        Say(element, "white space of '" + name + "' changes: trimmed at the ends, inner runs become one space");
    }
}

void CHECKER::LookAtNumber(pugi::xml_node element, std::string_view type, std::string const& text) {
    if (type == "double" && text == "1.#QNAN") return;
    std::string finding;
    if (type == "int") finding = NumberFinding<int32_t>(text);
    if (type == "int64") finding = NumberFinding<int64_t>(text);
    if (type == "uint64") finding = NumberFinding<uint64_t>(text);
    if (type == "double") finding = NumberFinding<double>(text);
    if (!finding.empty()) Say(element, "'" + std::string(element.name()) + "': '" + text + "' " + finding);
}

void CHECKER::LookAtEscapes(pugi::xml_node element, std::string_view type, std::string const& text) {
    std::string const name = element.name();
    if (text == "\\") return;  // the empty text
    constexpr char kHex[] = "0123456789ABCDEF";
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (text[i] != '\\') continue;
        char const next = i + 1 < text.size() ? text[i + 1] : '\0';
        std::size_t const length = next == 'x' ? 4 : 2;
        if (i + length > text.size()) {
            Say(element, "'" + name + "' ends in an unfinished escape, which is dropped");
            return;
        }
        bool const known = next == 'x' ? std::strchr(kHex, text[i + 2]) != nullptr && text[i + 2] != '\0' &&
                                             std::strchr(kHex, text[i + 3]) != nullptr && text[i + 3] != '\0'
                                       : std::strchr("\\nrt", next) != nullptr;
        auto const escape = text.substr(i, length);
        if (!known) {
            Say(element, "'" + name + "': '" + escape + "' is not an escape and stays as it is");
        } else if (type == "string" && escape == "\\x00") {
            Say(element, "'" + name + "': a string ends at its first NUL byte; the rest is lost");
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

bool CheckOne(std::string const& file) {
    auto const text = ReadWholeFile(file);
    auto const document = ParseTicketText(file, text);
    auto const raw = ParseTicketText(file, text, false);
    CHECKER checker(text);
    checker.Look(*document, *raw);
    auto const findings = checker.TakeFindings();
    for (auto const& finding : findings) {
        std::cout << Coloured(PlaceOf(file, text, finding.offset), Colour::yellow) << finding.message << '\n';
    }
    auto const losses = LossesOfASave(file);
    for (auto const& loss : losses) {
        std::cout << Coloured(file + ": ", Colour::yellow) << "key '" << loss.key << "': " << loss.what << '\n';
    }
    return findings.empty() && losses.empty();
}

}  // namespace

int Check(std::vector<std::string> const& files) {
    bool clean = true;
    for (auto const& file : files) {
        try {
            if (!CheckOne(file)) clean = false;
        } catch (Failure const& failure) {
            // A file that does not parse is a finding like any other here, and the next files are still looked at.
            std::cout << Coloured(failure.what(), Colour::red) << '\n';
            clean = false;
        }
    }
    return clean ? 0 : 1;
}
