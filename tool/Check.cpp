// `ticket check`: reports problems that the library ignores. CHECKER looks at the file's own text, node by node,
// MEANING at values that a program reads differently. LossesOfASave saves a copy to find what a save would lose.
#include <algorithm>
#include <cctype>
#include <cstring>
#include <iostream>
#include <map>
#include <unordered_map>
#include <vector>

#include "Commands.h"
#include "Format/Escapes.h"
#include "Format/Leaf.h"
#include "Format/Numbers.h"
#include "Format/Words.h"
#include "Progress.h"
#include "Rehearsal.h"
#include "Schema.h"
#include "Terminal.h"
#include "Text.h"
#include "XmlText.h"

namespace {

// One finding, at its place in the file.
struct FINDING {
    std::size_t offset;
    std::string message;
};

// Findings about keys, not about positions in the text: key and message.
using KEY_FINDINGS = std::multimap<std::string, std::string>;

class CHECKER {
 public:
    // `text` is that of the file from which `ticket` was loaded. The findings `ofKeys` get the positions of their keys.
    CHECKER(std::string const& text, TICKET const& ticket, KEY_FINDINGS const& ofKeys)
        : m_text(text), m_ticket(ticket), m_ofKeys(ofKeys) {}

    // Looks at every node.
    void Look(pugi::xml_node document);
    std::vector<FINDING> TakeFindings();

 private:
    void LookAtTop(pugi::xml_node document);
    void LookAt(pugi::xml_node node);
    void LookAtElement(pugi::xml_node element);
    void LookAtAttributes(pugi::xml_node element);
    void LookAtLeaf(pugi::xml_node element);
    void LookAtBranch(pugi::xml_node element);
    void LookAtKey(pugi::xml_node element);
    void LookAtSource(pugi::xml_node element, pugi::xml_node value);
    void LookAtSpace(pugi::xml_node element, std::string_view text);
    void LookAtText(pugi::xml_node element, PARAM_TYPE type, std::string_view text);
    void LookAtNumber(pugi::xml_node element, PARAM_TYPE type, std::string_view text);
    void Say(pugi::xml_node node, std::string message);
    // The key of the current element, in quotes.
    std::string KeyIn(pugi::xml_node element) const { return Quoted(m_path + element.name()); }

    std::string const& m_text;
    TICKET const& m_ticket;
    KEY_FINDINGS const& m_ofKeys;
    std::string m_path;  // of the current element, as keys have it, up to its own name
    std::unordered_map<std::string, pugi::xml_node> m_vectors;  // the last leaf of each key that has several
    std::map<std::string, std::size_t> m_places;                // of the keys of m_ofKeys: their last leaves
    std::vector<FINDING> m_findings;
};

// Collects the oddities that the library's functions report for one text.
class ODDITIES final : public TICKET_FORMAT::ODDITY_LISTENER {
 public:
    struct TOLD {
        TICKET_FORMAT::ODDITY oddity;
        std::size_t offset;
        std::size_t length;
    };
    void Tell(TICKET_FORMAT::ODDITY oddity, std::size_t offset, std::size_t length) override {
        m_all.push_back({oddity, offset, length});
    }
    std::vector<TOLD> const& All() const { return m_all; }

 private:
    std::vector<TOLD> m_all;
};

constexpr char NOT_UTF_8[] = " is not UTF-8; programs get its bytes as they are";

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

// The parser tells where a node's name or text begins, which is behind this mark.
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

// How the library changes a number when it loads it; empty if it does not.
template <typename T>
std::string NumberFinding(std::string_view text) {
    using TICKET_FORMAT::ODDITY;
    ODDITIES oddities;
    VALUE const number = ParseNumber<T>(text, &oddities);
    if (oddities.All().empty()) return {};
    auto const& told = oddities.All().front();
    switch (told.oddity) {
        case ODDITY::NOT_A_NUMBER:
            return "is not a number and is read as 0";
        case ODDITY::OUT_OF_RANGE:
            return "is out of range and is cut to " + PlainText(number);
        case ODDITY::NEGATIVE_WRAPS:
            return "is negative and is read as " + PlainText(number);
        default:
            return "is read only up to " + Excerpt(std::string(text.substr(told.offset)));
    }
}

void CHECKER::Say(pugi::xml_node node, std::string message) {
    m_findings.push_back({OffsetOf(node), std::move(message)});
}

// Walks without recursion: a file may nest a million deep.
void CHECKER::Look(pugi::xml_node document) {
    LookAtTop(document);
    auto node = document.first_child();
    while (node) {
        LookAt(node);
        if (node.first_child()) {
            if (!IsLeftOut(node)) m_path.append(node.name()).append(1, '/');
            node = node.first_child();
            continue;
        }
        while (!node.next_sibling() && node.parent() != document) {
            node = node.parent();
            if (!IsLeftOut(node)) m_path.resize(m_path.size() - std::strlen(node.name()) - 1);
        }
        node = node.next_sibling();
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

void CHECKER::LookAt(pugi::xml_node node) {
    switch (node.type()) {
        case pugi::node_comment:
            return Say(node, "a comment is lost at the next save");
        case pugi::node_pi:
            return Say(node, "a processing instruction is lost at the next save");
        case pugi::node_doctype:
            return Say(node, "a document type is ignored and lost at the next save");
        case pugi::node_element:
            return LookAtElement(node);
        default:
            return;
    }
}

void CHECKER::LookAtElement(pugi::xml_node element) {
    if (!IsTop(element) && IsLeftOut(element) && HasElements(element)) {
        Say(element, "an element named 'ticket' is left out of the keys below it");
    }
    std::string_view const name = element.name();
    if (std::any_of(name.begin(), name.end(), IsControlByte)) {
        Say(element, "the name " + Quoted(name) + " holds a control byte, which other files may not bring back");
    }
    if (!IsUtf8(name)) Say(element, "the name " + Quoted(name) + NOT_UTF_8);
    LookAtAttributes(element);
    if (std::strcmp(element.first_attribute().name(), "type") == 0) {
        LookAtLeaf(element);
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

void CHECKER::LookAtLeaf(pugi::xml_node element) {
    auto const name = [&] { return KeyIn(element); };
    auto const type = TypeNamed(element.first_attribute().value());
    if (type == PARAM_NONE) {
        std::string const unknown = element.first_attribute().value();
        std::string known;
        for (auto const& row : TICKET_FORMAT::TYPE_NAMES) known.append(known.empty() ? "" : ", ").append(row.name);
        Say(element, name() + " has the unknown type " + Excerpt(unknown) + " and stores nothing; files hold " + known);
        return;
    }
    auto const value = element.first_child();
    if (!value) {
        Say(element, name() + " has a type and no text and stores nothing");
        return;
    }
    LookAtKey(element);
    if (value.type() == pugi::node_element) {
        Say(element, name() + " has a type but starts with an element: its text is taken as empty");
    } else if (!IsText(value)) {
        Say(value, name() + " takes its value from a comment or instruction");
    }
    for (auto later = value.next_sibling(); later; later = later.next_sibling()) {
        if (IsMoreThanSpace(later)) Say(later, "only the first piece of text of " + name() + " is its value");
    }
    LookAtSource(element, value);
    LookAtSpace(element, value.value());
    if (!IsUtf8(value.value())) Say(element, "the text of " + name() + NOT_UTF_8);
    std::string scratch;
    auto const text = NormaliseSpace(value.value(), scratch);
    if (type == PARAM_STRING || type == PARAM_BINSTR) {
        LookAtText(element, type, text);
    } else {
        LookAtNumber(element, type, text);
    }
}

// A vector is a row of elements. A key that stands in two places was more likely meant as one value, and a program that
// asks for one value then finds none.
void CHECKER::LookAtKey(pugi::xml_node element) {
    auto const key = m_path + element.name();
    if (m_ofKeys.count(key) != 0) m_places[key] = OffsetOf(element);
    if (!m_ticket.Has(key, 1)) return;
    auto const [leaf, isNew] = m_vectors.try_emplace(key, element);
    if (isNew) return;
    if (PreviousElement(element) != leaf->second) {
        Say(element, "key " + Quoted(key) + " stands here again, so it holds a vector and no single value");
    }
    leaf->second = element;
}

// What stands in the file, where the parser makes another text of it.
void CHECKER::LookAtSource(pugi::xml_node element, pugi::xml_node value) {
    auto const begin = static_cast<std::size_t>(std::max<std::ptrdiff_t>(0, value.offset_debug()));
    if (value.type() != pugi::node_pcdata || begin >= m_text.size()) return;
    constexpr std::string_view ENDS("<\0", 2);
    std::string_view const text = value.value();
    auto const rest = std::string_view(m_text).substr(begin);
    bool const isSame = rest.substr(0, text.size()) == text &&
                        (rest.size() == text.size() || ENDS.find(rest[text.size()]) != std::string_view::npos);
    if (isSame) return;
    std::string const source(rest.substr(0, rest.find_first_of(ENDS)));
    Say(element, KeyIn(element) + " holds entities or line ends that are decoded: " + Excerpt(source));
}

void CHECKER::LookAtSpace(pugi::xml_node element, std::string_view text) {
    ODDITIES oddities;
    std::string scratch;
    NormaliseSpace(text, scratch, &oddities);
    for (auto const& told : oddities.All()) {
        // Around the text of an element that holds others too, space is layout.
        bool const isAtAnEnd = told.offset == 0 || told.offset + told.length == text.size();
        if (isAtAnEnd && HasElements(element)) continue;
        Say(element, "white space of " + KeyIn(element) + " changes: trimmed at the ends, inner runs become one space");
        break;
    }
}

void CHECKER::LookAtNumber(pugi::xml_node element, PARAM_TYPE type, std::string_view text) {
    std::string finding;
    if (type == PARAM_INT) finding = NumberFinding<int32_t>(text);
    if (type == PARAM_INT64) finding = NumberFinding<int64_t>(text);
    if (type == PARAM_UINT64) finding = NumberFinding<uint64_t>(text);
    if (type == PARAM_DOUBLE) finding = NumberFinding<double>(text);
    if (!finding.empty()) Say(element, KeyIn(element) + ": " + Excerpt(std::string(text)) + " " + finding);
}

void CHECKER::LookAtText(pugi::xml_node element, PARAM_TYPE type, std::string_view text) {
    auto const name = [&] { return KeyIn(element); };
    ODDITIES oddities;
    std::string decoded;
    DecodeTo(decoded, text, &oddities);
    for (auto const& told : oddities.All()) {
        if (told.oddity == TICKET_FORMAT::ODDITY::UNFINISHED_ESCAPE) {
            Say(element, name() + " ends in an unfinished escape, which is dropped");
        } else {
            auto const escape = text.substr(told.offset, told.length);
            Say(element, name() + ": " + Quoted(escape) + " is not an escape and stays as it is");
        }
    }
    if (type == PARAM_STRING && decoded.find('\0') != std::string::npos) {
        Say(element, name() + ": a string ends at its first NUL byte; the rest is lost");
    }
}

std::vector<FINDING> CHECKER::TakeFindings() {
    for (auto const& [key, message] : m_ofKeys) {
        auto const place = m_places.find(key);
        m_findings.push_back({place == m_places.end() ? 0 : place->second, message});
    }
    std::stable_sort(m_findings.begin(), m_findings.end(),
                     [](FINDING const& a, FINDING const& b) { return a.offset < b.offset; });
    return std::move(m_findings);
}

// Finds values that a program reads differently, or not at all.
class MEANING {
 public:
    MEANING(TICKET const& ticket, SCHEMA const& schema) : m_ticket(ticket), m_schema(schema) {}

    // Looks at all keys; returns whether every one of them survives a round trip in any file, not only in this one.
    bool Look() {
        auto const* const table = m_ticket.Table();
        table->WalkParameter(table->pTicket, Take, this, "", WALK_EVERYTHING);
        for (auto const& known : m_schema.Keys()) LookAt(known);
        return m_arePromised;
    }
    KEY_FINDINGS& Findings() { return m_findings; }

 private:
    static bool Take(void* context, char const* key, PARAM_TYPE type, void const* value, int /*index*/) {
        auto& self = *static_cast<MEANING*>(context);
        std::string_view const name = key;
        if (std::any_of(name.begin(), name.end(), IsControlByte)) self.m_arePromised = false;
        if (type == PARAM_STRING) self.LookAtPath(key, static_cast<char const*>(value));
        self.LookAtName(key);
        return true;
    }

    // A path with single backslashes, as people type it.
    void LookAtPath(char const* key, std::string_view text) {
        bool const hasDrive = text.size() > 2 && std::isalpha(static_cast<unsigned char>(text[0])) != 0 &&
                              text[1] == ':' && std::string_view("\\\t\n\r").find(text[2]) != std::string_view::npos;
        bool const isOnServer = !text.empty() && text[0] == '\\';  // the file's "\\server" is read as "\server"
        auto const control = text.find_first_of("\t\n\r");
        if (!(hasDrive || isOnServer) || control == std::string_view::npos) return;
        auto const* const escape = text[control] == '\t' ? "\\t" : text[control] == '\n' ? "\\n" : "\\r";
        Say(key, std::string("looks like a path and holds the sequence ") + escape +
                     ", which stands for a control character; a file spells a backslash as two");
    }

    void LookAtName(std::string const& key) {
        if (key == m_lastKey) return;
        m_lastKey = key;
        auto const* const meant = m_schema.Meant(key);
        if (meant == nullptr || m_ticket.Has(meant->key)) return;
        Say(key, "is no known key; did you mean " + Quoted(meant->key) + "?");
    }

    void LookAt(KNOWN_KEY const& known) {
        auto const stored = m_ticket.Read(known.key);
        if (!stored || known.isVector) return;
        std::optional<VALUE> value;
        for (auto const type : known.types) {
            if (!value) value = m_ticket.Get(known.key, type, SCALAR_INDEX);
        }
        if (!value) {
            auto const* const found = stored->size() > 1 ? "vector" : TypeName(stored->front());
            auto const fallback = known.fallback ? "get the fallback " + OneLine(*known.fallback) : "cannot read it";
            Say(known.key, std::string("is of type ") + found + "; programs read " + TypeName(known.types.front()) +
                               " and " + fallback);
            return;
        }
        auto const objection = Objection(known, *value);
        if (!objection.empty()) Say(known.key, Excerpt(*value) + " " + objection);
    }

    void Say(std::string const& key, std::string const& what) {
        m_findings.emplace(key, "key " + Quoted(key) + " " + what);
    }

    TICKET const& m_ticket;
    SCHEMA const& m_schema;
    KEY_FINDINGS m_findings;
    std::string m_lastKey;
    bool m_arePromised = true;
};

// All findings in the order of the file.
std::vector<FINDING> FindingsIn(INPUT const& input, std::string const& text, SCHEMA const& schema) {
    PROGRESS progress(input.Name(), 3);
    progress.Next("loading");
    TICKET const ticket(input);  // throws where nothing loads
    progress.Next("looking at values");
    MEANING meaning(ticket, schema);
    bool const arePromised = meaning.Look();
    // A file that a save would reproduce byte by byte has no findings.
    if (arePromised && meaning.Findings().empty() && IsAsSaved(ticket, text)) return {};
    progress.Next("looking at the text");
    for (auto const& loss : LossesOfASave(ticket, input.Path())) {
        meaning.Findings().emplace(loss.key, "key " + Quoted(loss.key) + " " + loss.what);
    }
    // The text outside the top-level element counts too.
    auto const parsed = ParseTicketText(input.Name(), text, PARSE_OPTIONS | pugi::parse_fragment);
    CHECKER checker(text, ticket, meaning.Findings());
    checker.Look(parsed->Document());
    auto findings = checker.TakeFindings();
    auto const end = text.find('\0');
    if (end != std::string::npos) findings.push_back({end, "a NUL byte ends the file; the rest is lost"});
    return findings;
}

// Returns whether nothing was found.
bool CheckOne(std::string const& name, ARGUMENTS const& arguments) {
    INPUT const input(name);
    auto const text = ReadTicketText(input.Path());
    auto const findings = FindingsIn(input, text, SCHEMA(arguments, name));
    PLACES places(input.Name(), text);
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
            if (!CheckOne(file, arguments)) clean = false;
        } catch (UNLOADABLE_FILE const& failure) {
            std::cout << COLOURED{Printable(failure.what()), COLOUR::RED} << '\n';
            clean = false;
        } catch (FAILURE const& failure) {
            Complain(failure.what());
            failed = true;
        }
    }
    if (failed) return FAILED;
    return clean ? SUCCESS : FOUND_SOMETHING;
}
