#include "Lines.h"

#include <sstream>

#include "Text.h"

namespace {

// The inverse of Printable with a backslash before each character of "\"" and "\\".
std::string Unescaped(std::string_view text) {
    std::string result;
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (text[i] != '\\') {
            result += text[i];
            continue;
        }
        char const next = ++i < text.size() ? text[i] : '\0';
        if (next == 'n') {
            result += '\n';
        } else if (next == 'r') {
            result += '\r';
        } else if (next == 't') {
            result += '\t';
        } else if (next == '\\' || next == '"') {
            result += next;
        } else if (next == 'x' && i + 2 < text.size()) {
            result += FromHex(text.substr(i + 1, 2));
            i += 2;
        } else {
            throw FAILURE(
                "a backslash is followed by none of n, r, t, x and two "
                "digits, \\ or \"");
        }
    }
    return result;
}

std::string Begin(std::string const& key, VALUE const& value) {
    return Printable(key, LAYOUT::ESCAPED, "\\") + "\t" + TypeName(value) + "\t";
}

}  // namespace

std::string ToLine(std::string const& key, VALUE const& value) {
    return Begin(key, value) + OneLine(value);
}

std::string ToHiddenLine(std::string const& key, VALUE const& value) {
    return Begin(key, value) + "********";
}

std::vector<EDITED_LINE> FromLines(std::string const& text) {
    std::vector<EDITED_LINE> lines;
    std::istringstream stream(text);
    std::size_t number = 0;
    for (std::string line; std::getline(stream, line);) {
        ++number;
        if (line.find_first_not_of(" \t\r") == std::string::npos || line[0] == '#') continue;
        auto const first = line.find('\t');
        auto const second = first == std::string::npos ? first : line.find('\t', first + 1);
        if (second == std::string::npos) {
            throw FAILURE("line " + std::to_string(number) + ": not key, type and value with a TAB between them");
        }
        lines.push_back({Unescaped(line.substr(0, first)), line.substr(first + 1, second - first - 1),
                         line.substr(second + 1), number});
    }
    return lines;
}

VALUE ValueOf(EDITED_LINE const& line) {
    try {
        auto const type = TypeFromName(line.type);
        auto const& text = line.value;
        if (type == PARAM_BINSTR) return BYTES{FromHex(text)};
        if (type != PARAM_STRING) return ParseValue(text, type);
        if (text.size() < 2 || text.front() != '"' || text.back() != '"') throw FAILURE("a string stands in quotes");
        return Unescaped(std::string_view(text).substr(1, text.size() - 2));
    } catch (FAILURE const& failure) {
        throw FAILURE("line " + std::to_string(line.number) + ": " + Quoted(line.key) + ": " + failure.what());
    }
}
