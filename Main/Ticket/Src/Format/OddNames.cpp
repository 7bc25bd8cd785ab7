// Finds names line by line. A line that could begin a comment or an instruction counts as a tag only where that is
// certain, so that comments added by hand do not change what is read.
#include "Format/OddNames.h"

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <set>

#include "Format/Words.h"
#include "Format/XmlNames.h"

namespace TICKET_NAMES {
namespace {

using XML_NAMES::IsFirst;
using XML_NAMES::IsLater;

constexpr std::string_view IN_NO_NAME{"<>\"/\0", 5};

bool IsSpace(char byte) {
    return byte == ' ' || byte == '\t' || byte == '\r';
}

bool IsXml(std::string_view name) {
    return IsFirst(name.front()) && std::all_of(name.begin(), name.end(), IsLater);
}

bool BeginsWith(std::string_view text, std::string_view start) {
    return text.substr(0, start.size()) == start;
}

bool EndsWith(std::string_view text, std::string_view end) {
    return text.size() >= end.size() && text.substr(text.size() - end.size()) == end;
}

std::string_view Trimmed(std::string_view line) {
    while (!line.empty() && IsSpace(line.front())) line.remove_prefix(1);
    while (!line.empty() && IsSpace(line.back())) line.remove_suffix(1);
    return line;
}

// The line that begins at `at`, without its end.
std::string_view LineAt(std::string_view text, std::size_t at) {
    return text.substr(at, text.find('\n', at) - at);
}

// A line as a save writes it.
struct LINE {
    enum KIND { OTHER, OPENING, CLOSING, EMPTY, WHOLE };
    KIND kind = OTHER;
    std::string_view name;
    std::string_view closing;  // the name again, at its second place, of a WHOLE element
};

LINE Known(LINE::KIND kind, std::string_view name, std::string_view closing = {}) {
    bool const isName = !name.empty() && name.find_first_of(IN_NO_NAME) == std::string_view::npos;
    return isName ? LINE{kind, name, closing} : LINE{};
}

// A line that begins with <NAME type="TYPE">; `quote` is where TYPE begins.
LINE TypedLine(std::string_view line, std::size_t quote) {
    constexpr std::string_view MARK = " type=\"";
    std::size_t const end = line.find('"', quote);
    if (quote < MARK.size() + 1 || end == std::string_view::npos) return {};
    auto const& types = TICKET_FORMAT::TYPE_NAMES;
    std::string_view const type = line.substr(quote, end - quote);
    bool const isType =
        std::any_of(std::begin(types), std::end(types), [&](auto const& known) { return known.name == type; });
    std::string_view const start = line.substr(0, quote);
    if (!isType || !EndsWith(start, MARK) || line.substr(end, 2) != "\">") return {};
    std::string_view const name = start.substr(1, start.size() - MARK.size() - 1);

    std::string_view const rest = line.substr(end + 2);
    if (rest.empty()) return Known(LINE::OPENING, name);
    std::size_t const tag = rest.rfind("</");
    if (tag == std::string_view::npos || tag != rest.find('<')) return {};
    std::string_view const closing = rest.substr(tag + 2, rest.size() - tag - 3);
    return closing == name ? Known(LINE::WHOLE, name, closing) : LINE{};
}

LINE Parse(std::string_view line) {
    line = Trimmed(line);
    if (line.size() < 3 || line.front() != '<' || line.back() != '>') return {};
    std::size_t const quote = line.find('"');
    if (quote != std::string_view::npos) return TypedLine(line, quote + 1);
    std::string_view const inner = line.substr(1, line.size() - 2);
    if (inner.front() == '/') return Known(LINE::CLOSING, inner.substr(1));
    if (inner.back() == '/') return Known(LINE::EMPTY, inner.substr(0, inner.size() - 1));
    return Known(LINE::OPENING, inner);
}

// Markup that is no element and may span lines.
struct MARKUP {
    std::string_view begin;
    std::string_view end;
};
constexpr MARKUP MARKUPS[] = {{"<!--", "-->"}, {"<![CDATA[", "]]>"}, {"<?", "?>"}};

// The markup that begins at `at`; the end of MARKUPS if it is an element.
MARKUP const* MarkupAt(std::string_view text, std::size_t at) {
    return std::find_if(std::begin(MARKUPS), std::end(MARKUPS),
                        [&](MARKUP const& known) { return BeginsWith(text.substr(at), known.begin); });
}

// The beginning of the next line after a line of another form, and after markup that begins on it.
std::size_t BehindOther(std::string_view text, std::size_t at) {
    while ((at = text.find_first_of("<\n", at)) < text.size()) {
        if (text[at] == '\n') return at + 1;
        MARKUP const* const markup = MarkupAt(text, at);
        at = markup == std::end(MARKUPS) ? at + 1 : text.find(markup->end, at + markup->begin.size());
    }
    return text.size();
}

bool BeginsAsMarkup(LINE const& line) {
    return line.name.front() == '?' || line.name.front() == '!';
}

class SCAN {
 public:
    explicit SCAN(std::string_view text) : m_text(text) {}

    // Calls `take` for each line as a save writes it that is certain to hold tags.
    template <typename TAKE>
    void ForEachLine(TAKE const& take) {
        FindClosings();
        for (std::size_t at = 0; at < m_text.size();) {
            std::string_view const whole = LineAt(m_text, at);
            LINE const line = Parse(whole);
            if (line.kind == LINE::OTHER || MayBeMarkup(line)) {
                at = BehindOther(m_text, at);
                continue;
            }
            at += whole.size() + 1;
            take(line);
        }
    }

    // Calls `take` for each name that is none in XML, in its opening and in its closing tag.
    template <typename TAKE>
    void ForEachOddName(TAKE const& take) {
        ForEachLine([&](LINE const& line) {
            if (IsXml(line.name)) return;
            take(line.name);
            if (line.kind == LINE::WHOLE) take(line.closing);
        });
    }

 private:
    // The position of the first end of this kind of markup after a position.
    struct MARKUP_END {
        std::size_t at = 0;
        bool isInTag = false;  // on a line as a save writes it
    };

    // A line that begins as markup holds an opening tag only if a closing tag of that name exists.
    bool MayBeMarkup(LINE const& line) {
        if (line.kind == LINE::WHOLE || line.kind == LINE::CLOSING) return false;
        std::size_t const at = static_cast<std::size_t>(line.name.data() - m_text.data()) - 1;
        if (line.kind == LINE::EMPTY) return MayBeMarkupAt(at);
        bool const beginsAsMarkup = MarkupAt(m_text, at) != std::end(MARKUPS) || BeginsWith(line.name, "!DOCTYPE");
        return beginsAsMarkup && m_closings.count(line.name) == 0;
    }

    // The same for an empty element: it is markup only if the end of that markup follows on a line without a tag.
    bool MayBeMarkupAt(std::size_t at) {
        MARKUP const* const markup = MarkupAt(m_text, at);
        if (markup == std::end(MARKUPS)) return false;
        std::size_t const inside = at + markup->begin.size();
        MARKUP_END& end = m_ends[markup - MARKUPS];  // cached: many lines may have one end
        if (end.at < inside) {
            end.at = std::min(m_text.find(markup->end, inside), m_text.size());
            std::size_t const lineBegin = m_text.rfind('\n', end.at) + 1;
            end.isInTag = Parse(LineAt(m_text, std::min(lineBegin, end.at))).kind != LINE::OTHER;
        }
        return end.at < m_text.size() && !end.isInTag;
    }

    void FindClosings() {
        for (std::size_t at = 0; at < m_text.size();) {
            std::string_view const whole = LineAt(m_text, at);
            at += whole.size() + 1;
            LINE const line = Parse(whole);
            if (line.kind == LINE::CLOSING && BeginsAsMarkup(line)) m_closings.insert(line.name);
        }
    }

    std::string_view m_text;
    std::set<std::string_view> m_closings;  // ordered: a hostile file can make names collide in the standard hash
    MARKUP_END m_ends[std::size(MARKUPS)];
};

}  // namespace

// Sets the highest bit: XML allows every byte from 0x80 up anywhere in a name. Tags that do not match still do not,
// except where a name already holds such bytes, in sequences that are not UTF-8.
void Replace(std::string_view text, char* copy) {
    SCAN(text).ForEachOddName([&](std::string_view name) {
        char* const place = copy + (name.data() - text.data());
        for (std::size_t i = 0; i < name.size(); ++i) {
            bool const isXml = i == 0 ? IsFirst(name[i]) : IsLater(name[i]);
            if (!isXml) place[i] = static_cast<char>(static_cast<unsigned char>(name[i]) | 0x80u);
        }
    });
}

void Restore(std::string_view text, char* copy) {
    SCAN(text).ForEachOddName(
        [&](std::string_view name) { std::memcpy(copy + (name.data() - text.data()), name.data(), name.size()); });
}

// Certain are a closing tag and an empty element; an opening tag alone may be an instruction.
bool LookLikeMarkup(std::string_view text) {
    auto const holds = [&](char const* part, std::size_t begin = 0) {
        return text.find(part, begin) != std::string_view::npos;
    };
    bool const mayHoldEmpty = holds("/>") && (holds("<!") || holds("<?", 1));  // a declaration stands at 0
    if (!mayHoldEmpty && !holds("</?") && !holds("</!")) return false;
    bool found = false;
    SCAN(text).ForEachLine([&](LINE const& line) {
        bool const isCertain = line.kind != LINE::OPENING;
        found = found || (isCertain && BeginsAsMarkup(line));
    });
    return found;
}

}  // namespace TICKET_NAMES
