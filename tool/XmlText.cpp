// Reading and parsing with places; shared by the checks and by everything that must refuse a broken file.
#include "XmlText.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <vector>

#include "Format/Escapes.h"
#include "Format/Words.h"
#include "Text.h"

namespace {

// Whether the tag at an offset is one that a save makes of a key that no file can hold.
bool IsOfAnImpossibleKey(std::string_view text, std::size_t offset) {
    auto const end = text.find(" type=\"", text.rfind('\n', offset) + 1);
    auto const start = text.substr(0, end).rfind("\t<");
    if (end == std::string_view::npos || start == std::string_view::npos) return false;
    auto const name = text.substr(start + 2, end - start - 2);
    return std::any_of(name.begin(), name.end(), [](char c) { return c == '<' || c == '>' || c == '"' || c == '\n'; });
}

// The start tag of the innermost element that is open at a place.
std::optional<TAG> OpenTagAt(std::string_view text, std::size_t place) {
    std::vector<TAG> open;
    for (auto tag = NextTag(text, 0); tag && tag->begin < place; tag = NextTag(text, tag->end)) {
        if (tag->kind == TAG::KIND::START) open.push_back(*tag);
        bool const isPassed = tag->kind == TAG::KIND::END && tag->end <= place;
        if (isPassed && !open.empty()) open.pop_back();
    }
    if (open.empty()) return std::nullopt;
    return open.back();
}

// Which element is not closed where the parser found another end tag, or none.
std::string Unclosed(std::string_view text, std::size_t place) {
    auto const open = OpenTagAt(text, place);
    if (!open) return "an end tag without a start tag";
    auto const line = 1 + std::count(text.begin(), text.begin() + static_cast<std::ptrdiff_t>(open->begin), '\n');
    auto told =
        "<" + Beginning(Printable(NameIn(text, *open))) + "> of line " + std::to_string(line) + " is not closed";
    auto const end = text.find('>', place);
    bool const isAtEndTag = place >= 2 && text.substr(place - 2, 2) == "</" && end != std::string_view::npos;
    if (!isAtEndTag) return told;
    return told + ": here stands </" + Beginning(Printable(text.substr(place, end - place))) + ">";
}

bool IsUtf16(std::string_view text) {
    using namespace std::string_view_literals;
    auto const begin = text.substr(0, 2);
    return begin == "\xFF\xFE"sv || begin == "\xFE\xFF"sv || begin == "<\0"sv || begin == "\0<"sv;
}

// What the parser found, in words of the file.
std::string Reason(pugi::xml_parse_result const& result, std::string_view text, std::size_t place) {
    switch (result.status) {
        case pugi::status_no_document_element:
            return "no element was found";
        case pugi::status_unrecognized_tag:
            return "a < that begins no tag; a text spells it &lt;";
        case pugi::status_bad_attribute:
            return "a broken attribute, which is spelt name=\"value\"";
        case pugi::status_bad_start_element:
        case pugi::status_bad_end_element:
            return "a broken tag";
        case pugi::status_bad_comment:
            return "a comment that does not end with -->";
        case pugi::status_end_element_mismatch:
            return Unclosed(text, place);
        default:
            return result.description();
    }
}

std::string Hint(std::string_view text, std::size_t offset) {
    if (text.find_first_not_of(" \t\r\n") == std::string_view::npos) return " (the file is empty)";
    if (EndsEarly(text, offset)) return " (the file may be cut off here)";
    if (offset < text.size() && text[offset] == '\0') return " (a NUL byte ends the text here)";
    return IsOfAnImpossibleKey(text, offset) ? " (no file can hold a key with <, >, \" or a line end)" : "";
}

}  // namespace

bool EndsEarly(std::string_view text, std::size_t breakAt) {
    return text.find('>', breakAt + 1) == std::string_view::npos;
}

std::optional<TAG> NextTag(std::string_view text, std::size_t at) {
    auto const begin = text.find('<', at);
    if (begin == std::string_view::npos) return std::nullopt;
    auto const rest = text.substr(begin);
    std::string_view const close = rest.substr(0, 4) == "<!--" ? "-->" : rest.substr(0, 9) == "<![CDATA[" ? "]]>" : ">";
    auto const size = rest.find(close);
    if (size == std::string_view::npos) return std::nullopt;
    bool const isOther = size < 2 || rest[1] == '?' || rest[1] == '!';
    auto const kind = isOther                 ? TAG::KIND::OTHER
                      : rest[1] == '/'        ? TAG::KIND::END
                      : rest[size - 1] == '/' ? TAG::KIND::EMPTY
                                              : TAG::KIND::START;
    return TAG{kind, begin, begin + size + close.size()};
}

std::size_t FindType(std::string_view text) {
    return std::min(text.find(" type=\""), text.find(" type='"));
}

std::string_view NameIn(std::string_view text, TAG const& tag) {
    auto const name = text.substr(tag.begin + 1, tag.end - tag.begin - 2);
    auto end = FindType(name);
    bool const hasAttribute = name.find("=\"") != std::string_view::npos || name.find("='") != std::string_view::npos;
    if (end == std::string_view::npos && hasAttribute) end = name.find_first_of(" \t\r\n");
    auto const whole = name.substr(0, end);
    return whole.substr(0, whole.find_last_not_of(" \t\r\n") + 1);
}

std::string ReadBytes(std::string const& path) {
    bool const isStandard = path == "-";
    // Not opened by a name: standard input may be another user's file or pipe.
    int const standard = isStandard ? fcntl(STDIN_FILENO, F_DUPFD_CLOEXEC, 0) : -1;
    std::unique_ptr<std::FILE, int (*)(std::FILE*)> const file(
        isStandard ? fdopen(standard, "rb") : std::fopen(path.c_str(), "rbe"), std::fclose);
    std::string text;
    char block[1 << 16];
    for (std::size_t count = sizeof block; file && count == sizeof block;) {
        count = std::fread(block, 1, sizeof block, file.get());
        text.append(block, count);
    }
    if (!file || std::ferror(file.get()) != 0) {
        throw FAILURE((isStandard ? "standard input" : path) + ": cannot be read: " + std::strerror(errno));
    }
    return text;
}

void RequireRegularFile(std::string const& path) {
    std::error_code error;
    auto const status = std::filesystem::status(path, error);
    if (status.type() == std::filesystem::file_type::not_found) throw FAILURE(path + ": no such file");
    if (error) throw FAILURE(path + ": cannot be read: " + error.message());
    if (!std::filesystem::is_regular_file(status)) throw FAILURE(path + ": not a regular file");
}

std::string ReadTicketText(std::string const& path) {
    RequireRegularFile(path);
    return ReadBytes(path);
}

std::string PLACES::Of(std::size_t offset) {
    for (auto const end = std::min(offset, m_text.size()); m_offset < end; ++m_offset) {
        if (m_text[m_offset] != '\n') continue;
        ++m_line;
        m_lineStart = m_offset + 1;
    }
    return m_path + ":" + std::to_string(m_line) + ":" + std::to_string(m_offset - m_lineStart + 1) + ": ";
}

std::unique_ptr<PARSED_TEXT> ParseTicketText(std::string const& path, std::string const& text, unsigned int options) {
    auto parsed = ParseAsLoad(text, options);
    if (parsed->IsDocument()) return parsed;
    auto const offset = std::min(static_cast<std::size_t>(parsed->Result().offset), text.size());
    auto const reason = IsUtf16(text) ? "it looks like UTF-16, and only UTF-8 is read"
                                      : Reason(parsed->Result(), text, offset) + Hint(text, offset);
    throw UNLOADABLE_FILE(PLACES(path, text).Of(offset) + "does not parse: " + reason, offset);
}

bool IsText(pugi::xml_node node) {
    return node.type() == pugi::node_pcdata || node.type() == pugi::node_cdata;
}

bool IsContent(pugi::xml_node node) {
    bool const isElement = node.type() == pugi::node_element;
    return (isElement && node.parent().type() == pugi::node_element) || IsMoreThanSpace(node);
}

bool IsMoreThanSpace(pugi::xml_node node) {
    std::string scratch;
    return IsText(node) && !NormaliseSpace(node.value(), scratch).empty();
}
