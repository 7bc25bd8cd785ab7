// Reading and parsing with places; shared by the checks and by every command that must refuse a broken file.
#include "XmlText.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>

#include "Values.h"

std::string ReadWholeFile(std::string const& path) {
    if (!std::filesystem::is_regular_file(path)) throw Failure(path + ": not a regular file");
    std::ifstream stream(path, std::ios::binary);
    std::string text((std::istreambuf_iterator<char>(stream)), std::istreambuf_iterator<char>());
    if (!stream.good() && !stream.eof()) throw Failure(path + ": cannot be read: " + std::strerror(errno));
    return text;
}

std::string PlaceOf(std::string const& path, std::string_view text, std::size_t offset) {
    auto const before = text.substr(0, std::min(offset, text.size()));
    auto const line = std::count(before.begin(), before.end(), '\n') + 1;
    auto const lineStart = before.rfind('\n');
    auto const column = before.size() - (lineStart == std::string_view::npos ? 0 : lineStart + 1) + 1;
    return path + ":" + std::to_string(line) + ":" + std::to_string(column) + ": ";
}

std::unique_ptr<pugi::xml_document> ParseTicketText(std::string const& path, std::string const& text, bool decode) {
    auto document = std::make_unique<pugi::xml_document>();
    unsigned int options = pugi::parse_full | pugi::parse_ws_pcdata_single;
    if (!decode) options &= ~static_cast<unsigned int>(pugi::parse_escapes | pugi::parse_eol);
    auto const result = document->load_buffer(text.data(), text.size(), options, pugi::encoding_utf8);
    if (!result) {
        throw Failure(PlaceOf(path, text, static_cast<std::size_t>(result.offset)) +
                      "does not parse: " + result.description());
    }
    return document;
}
