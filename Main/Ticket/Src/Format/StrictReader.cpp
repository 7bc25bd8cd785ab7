// Reads the lines of a file as a save writes it. Scans need no bound: each table below stops at the line feed.
#include "Format/StrictReader.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <iterator>
#include <utility>

#include "Format/KeyLimit.h"
#include "Format/Words.h"
#include "Format/XmlNames.h"

namespace {

constexpr std::string_view HEAD[] = {"<?xml version=\"1.0\" encoding=\"UTF-8\"?>", "<ticket>"};
constexpr std::string_view TYPE_MARK = " type=\"";

// How this reader treats a byte of a leaf's text.
enum class BYTE : unsigned char { PLAIN, SPACE, DECODED, AMPERSAND, END, FOREIGN };

constexpr auto BYTES = [] {
    std::array<BYTE, 256> bytes{};
    for (std::size_t byte = 1; byte < ' '; ++byte) bytes[byte] = BYTE::DECODED;
    bytes[0] = BYTE::FOREIGN;
    bytes['\n'] = BYTE::FOREIGN;
    bytes[' '] = BYTE::SPACE;
    bytes['\\'] = BYTE::DECODED;
    bytes['&'] = BYTE::AMPERSAND;
    bytes['<'] = BYTE::END;
    return bytes;
}();

BYTE KindOf(char byte) {
    return BYTES[static_cast<unsigned char>(byte)];
}

bool BeginsWith(std::string_view text, std::string_view start) {
    return text.size() >= start.size() && std::memcmp(text.data(), start.data(), start.size()) == 0;
}

std::string_view Between(char const* begin, char const* end) {
    return {begin, static_cast<std::size_t>(end - begin)};
}

// Whether the XML library would decode an entity here. A save writes every ampersand of a text unescaped.
bool IsEntity(std::string_view text) {
    constexpr std::string_view ENTITIES[] = {"&#", "&amp;", "&lt;", "&gt;", "&quot;", "&apos;"};
    return std::any_of(std::begin(ENTITIES), std::end(ENTITIES),
                       [&](std::string_view entity) { return BeginsWith(text, entity); });
}

// The text of a leaf up to its "<".
struct LEAF_TEXT {
    char* end;  // null if the text needs the XML library
    bool isPlain;
};

// The end of a text that has to be decoded; `at` is its first byte that needs it.
LEAF_TEXT EndOfDecoded(char* at, char* lineEnd) {
    auto const left = static_cast<std::size_t>(lineEnd - at);
    auto* const end = static_cast<char*>(std::memchr(at, '<', left));
    if (end == nullptr) return {nullptr, false};
    std::string_view const rest = Between(at, end);
    if (rest.find('\0') != std::string_view::npos) return {nullptr, false};
    for (std::size_t i = 0; (i = rest.find('&', i)) != std::string_view::npos; ++i)
        if (IsEntity(rest.substr(i))) return {nullptr, false};
    return {end, false};
}

// Stops at the line feed at the latest: it is not plain.
char* SkipPlain(char* at) {
    while (KindOf(*at) == BYTE::PLAIN) ++at;
    return at;
}

LEAF_TEXT FindEnd(char* text, char* lineEnd) {
    for (char* at = SkipPlain(text);; at = SkipPlain(at + 1)) {
        switch (KindOf(*at)) {
            case BYTE::SPACE: {
                BYTE const next = KindOf(at[1]);
                bool const stays = at != text && (next == BYTE::PLAIN || next == BYTE::AMPERSAND);
                if (!stays) return EndOfDecoded(at, lineEnd);
                break;
            }
            case BYTE::DECODED:
                return EndOfDecoded(at, lineEnd);
            case BYTE::AMPERSAND:
                if (IsEntity(Between(at, lineEnd))) return {nullptr, false};
                break;
            case BYTE::END:
                return {at, true};
            default:
                return {nullptr, false};
        }
    }
}

// The type that is named at the beginning of the text, before a quote; PARAM_NONE if there is none.
TICKET_FORMAT::TYPE_NAME QuotedType(std::string_view text) {
    for (auto const& known : TICKET_FORMAT::TYPE_NAMES) {
        std::size_t const length = known.name.size();
        bool const mayBe = text.size() > length && text[0] == known.name[0] && text[length] == '"';
        if (mayBe && BeginsWith(text, known.name)) return known;
    }
    return {PARAM_NONE, {}};
}

}  // namespace

LINE_BUFFER::LINE_BUFFER(FILE_SOURCE& source)
    : m_source(source), m_size(std::min(source.Size(), USUAL_SIZE - 1) + 1), m_bytes(new char[m_size]) {}

// Finds the next line when the buffer holds at most its beginning.
LINE_BUFFER::LINE LINE_BUFFER::NextOfSource() {
    for (;;) {
        std::size_t const looked = m_filled - m_begin;
        // A save writes no NUL, and a gigabyte may follow without a line feed.
        if (looked == m_size && std::memchr(Begin(), '\0', looked) != nullptr) return LINE::UNFINISHED;
        if (!Fill()) return LINE::UNREADABLE;
        if (m_filled == looked) return looked == 0 ? LINE::NONE : LINE::UNFINISHED;
        if (FindEnd(looked)) return LINE::WHOLE;
    }
}

// Moves the unfinished line to the front of the buffer and appends more bytes. False if the source fails.
bool LINE_BUFFER::Fill() {
    std::size_t const kept = m_filled - m_begin;
    if (kept == m_size) {
        std::unique_ptr<char[]> larger(new char[2 * m_size]);
        std::memcpy(larger.get(), m_bytes.get(), kept);
        m_bytes = std::move(larger);
        m_size *= 2;
    } else {
        std::memmove(m_bytes.get(), Begin(), kept);
    }
    m_begin = 0;
    m_filled = kept;
    auto const count = m_source.Read(m_offset, m_bytes.get() + kept, m_size - kept);
    if (!count) return false;
    m_offset += *count;
    m_filled += *count;
    return true;
}

STRICT_READER::STRICT_READER(FILE_SOURCE& source, LEAF_RECEIVER const& receiver)
    : m_lines(source), m_setter(receiver), m_allowed(TICKET_FORMAT::LongestKeysOf(source.Size())) {}

STRICT_READER::END STRICT_READER::Read() {
    using LINE = LINE_BUFFER::LINE;
    LINE line = LINE::WHOLE;
    std::size_t count = 0;
    for (; (line = m_lines.Next()) == LINE::WHOLE; ++count) {
        bool const isHead = count < std::size(HEAD);
        bool const isOurs = isHead ? m_lines.Text() == HEAD[count] : ReadLine(m_lines.Begin(), m_lines.End());
        if (!isOurs) return END::STOPPED;
        if (count + 1 == std::size(HEAD)) Open(TICKET_FORMAT::ROOT);
    }
    if (line == LINE::UNREADABLE) return END::UNREADABLE;
    bool const isWhole = line == LINE::NONE && count > std::size(HEAD) && m_open.empty();
    return isWhole ? END::WHOLE : END::STOPPED;
}

bool STRICT_READER::ReadLine(char* line, char* end) {
    char* tag = line;
    while (*tag == '\t') ++tag;
    auto const depth = static_cast<std::size_t>(tag - line);
    if (*tag != '<' || m_open.empty()) return false;
    char* const name = tag + 1;
    if (*name == '/') return depth + 1 == m_open.size() && end[-1] == '>' && Close(Between(name + 1, end - 1));
    if (depth != m_open.size() || !XML_NAMES::IsFirst(*name)) return false;
    char* nameEnd = name + 1;
    while (XML_NAMES::IsLater(*nameEnd)) ++nameEnd;
    if (*nameEnd == ' ') return ReadLeaf(Between(name, nameEnd), nameEnd, end);
    if (*nameEnd != '>' || nameEnd + 1 != end) return false;
    Open(Between(name, nameEnd));
    return true;
}

void STRICT_READER::Open(std::string_view name) {
    std::size_t const path = Path();
    m_key.Append(path, name);
    m_names.append(name);
    m_open.push_back({m_names.size(), m_key.Enter(path, name)});
    m_leafEnd = 0;
}

bool STRICT_READER::Close(std::string_view name) {
    std::size_t const begin = NameBegin();
    if (name != std::string_view(m_names).substr(begin)) return false;
    m_names.resize(begin);
    m_open.pop_back();
    m_leafEnd = 0;
    return true;
}

// Sets m_key to the key of a leaf. False if the keys of the file get too long.
inline bool STRICT_READER::MoveTo(std::string_view name) {
    std::size_t const path = Path();
    bool const mayBeSame = m_leafEnd == path + name.size() && m_key.Text()[m_leafEnd - 1] == name.back();
    m_isLater = mayBeSame && std::string_view(m_key.Text(), m_leafEnd).substr(path) == name;
    if (m_isLater) return true;
    m_leafEnd = m_key.Append(path, name);
    if (m_leafEnd > m_allowed) return false;
    m_allowed -= m_leafEnd;
    return true;
}

// `rest` is what follows the name, up to the end of the line.
bool STRICT_READER::ReadLeaf(std::string_view name, char* rest, char* end) {
    if (!BeginsWith(Between(rest, end), TYPE_MARK)) return false;
    char* const typeName = rest + TYPE_MARK.size();
    auto const [type, spelling] = QuotedType(Between(typeName, end));
    char* const typeEnd = typeName + spelling.size();
    if (type == PARAM_NONE || typeEnd[1] != '>') return false;

    char* const text = typeEnd + 2;
    auto const [textEnd, isPlain] = FindEnd(text, end);
    if (textEnd == nullptr || textEnd == text) return false;
    std::string_view const closing = Between(textEnd, end);
    if (closing.size() != name.size() + 3 || closing[1] != '/' || closing.back() != '>' ||
        std::memcmp(closing.data() + 2, name.data(), name.size()) != 0 || !MoveTo(name))
        return false;

    ++m_leaves;
    std::string_view const key(m_key.Text(), m_leafEnd);
    if (!m_setter.IsWanted(key)) return true;
    *textEnd = '\0';
    m_setter.Set(key, type, Between(text, textEnd), isPlain, m_isLater);
    return true;
}
