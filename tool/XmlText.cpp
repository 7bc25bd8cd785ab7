// Reading and parsing with places; shared by the checks and by everything that must refuse a broken file.
#include "XmlText.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <filesystem>

namespace {

std::string Hint(std::string_view text) {
    auto const begins = [&](std::string_view mark) { return text.substr(0, mark.size()) == mark; };
    using namespace std::string_view_literals;
    bool const wide = begins("\xFF\xFE"sv) || begins("\xFE\xFF"sv) || begins("<\0"sv) || begins("\0<"sv);
    return wide ? " (it looks like UTF-16; only UTF-8 is read)" : "";
}

}  // namespace

std::string ReadBytes(std::string const& path) {
    std::unique_ptr<std::FILE, int (*)(std::FILE*)> const file(std::fopen(path.c_str(), "rbe"), std::fclose);
    std::string text;
    char block[1 << 16];
    for (std::size_t count = sizeof block; file && count == sizeof block;) {
        count = std::fread(block, 1, sizeof block, file.get());
        text.append(block, count);
    }
    if (!file || std::ferror(file.get()) != 0) throw Failure(path + ": cannot be read: " + std::strerror(errno));
    return text;
}

std::string ReadTicketText(std::string const& path) {
    std::error_code error;
    auto const status = std::filesystem::status(path, error);
    if (status.type() == std::filesystem::file_type::not_found) throw Failure(path + ": no such file");
    if (error) throw Failure(path + ": cannot be read: " + error.message());
    if (!std::filesystem::is_regular_file(status)) throw Failure(path + ": not a regular file");
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

std::unique_ptr<pugi::xml_document> ParseTicketText(std::string const& path, std::string const& text,
                                                    unsigned int options) {
    auto document = std::make_unique<pugi::xml_document>();
    auto const result = document->load_buffer(text.data(), text.size(), options, pugi::encoding_utf8);
    if (!result) {
        throw UnloadableFile(PLACES(path, text).Of(static_cast<std::size_t>(result.offset)) +
                             "does not parse: " + result.description() + Hint(text));
    }
    return document;
}

bool IsTypeInFiles(std::string_view name) {
    auto const& names = TypeNames();
    return name != TypeName(PARAM_UNSIGNED) && std::find(names.begin(), names.end(), name) != names.end();
}

bool StoresValue(pugi::xml_node element) {
    auto const first = element.first_attribute();
    return element.type() == pugi::node_element && std::strcmp(first.name(), "type") == 0 &&
           IsTypeInFiles(first.value()) && element.first_child();
}
