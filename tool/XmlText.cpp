// Reading and parsing with places; shared by the checks and by everything that must refuse a broken file.
#include "XmlText.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <filesystem>

#include "Format/Escapes.h"
#include "Format/Words.h"

namespace {

// Whether the tag at an offset is one that a save makes of a key that no file can hold.
bool IsOfAnImpossibleKey(std::string_view text, std::size_t offset) {
    auto const end = text.find(" type=\"", text.rfind('\n', offset) + 1);
    auto const start = text.substr(0, end).rfind("\t<");
    if (end == std::string_view::npos || start == std::string_view::npos) return false;
    auto const name = text.substr(start + 2, end - start - 2);
    return std::any_of(name.begin(), name.end(), [](char c) { return c == '<' || c == '>' || c == '"' || c == '\n'; });
}

std::string Hint(std::string_view text, std::size_t offset) {
    auto const begins = [&](std::string_view mark) { return text.substr(0, mark.size()) == mark; };
    using namespace std::string_view_literals;
    bool const wide = begins("\xFF\xFE"sv) || begins("\xFE\xFF"sv) || begins("<\0"sv) || begins("\0<"sv);
    if (wide) return " (it looks like UTF-16; only UTF-8 is read)";
    if (text.find_first_not_of(" \t\r\n") == std::string_view::npos) return " (the file is empty)";
    if (EndsEarly(text, offset)) return " (the file may be cut off here)";
    return IsOfAnImpossibleKey(text, offset) ? " (no file can hold a key with <, >, \" or a line end)" : "";
}

}  // namespace

bool EndsEarly(std::string_view text, std::size_t breakAt) {
    return text.find('>', breakAt + 1) == std::string_view::npos;
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

std::string ReadTicketText(std::string const& path) {
    std::error_code error;
    auto const status = std::filesystem::status(path, error);
    if (status.type() == std::filesystem::file_type::not_found) throw FAILURE(path + ": no such file");
    if (error) throw FAILURE(path + ": cannot be read: " + error.message());
    if (!std::filesystem::is_regular_file(status)) throw FAILURE(path + ": not a regular file");
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
    auto const offset = static_cast<std::size_t>(parsed->Result().offset);
    throw UNLOADABLE_FILE(
        PLACES(path, text).Of(offset) + "does not parse: " + parsed->Result().description() + Hint(text, offset),
        offset);
}

bool StoresValue(pugi::xml_node element) {
    auto const type = element.first_attribute();
    return element.type() == pugi::node_element && element.first_child() &&
           type.name() == TICKET_FORMAT::TYPE_ATTRIBUTE && TypeNamed(type.value()) != PARAM_NONE;
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
