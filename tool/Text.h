// Text for people: what is shown of keys, values and file names, on one line and harmless to a terminal.
#pragma once

#include <string>
#include <string_view>

bool IsUtf8(std::string_view text);

// The length of the UTF-8 sequence that a non-empty text begins with; 0 if it begins with none.
std::size_t SequenceLength(std::string_view text);

// The length of a beginning of the text that ends with no part of a character.
std::size_t LengthOfWholeCharacters(std::string_view text);

// Which characters a text keeps, of those that do not print.
enum class LAYOUT { ESCAPED, KEPT };

// Writes as escapes: bytes that are not UTF-8 and characters that control a terminal or the order of the text that
// follows. LAYOUT::KEPT keeps TAB and line feed. Puts a backslash before each character of `special`.
std::string Printable(std::string_view text, LAYOUT layout = LAYOUT::ESCAPED, std::string_view special = {});

// The same for the text of a JSON document, whose strings spell such characters as \uXXXX.
std::string PrintableJson(std::string_view json);

// The beginning of a long line.
std::string Beginning(std::string line);
// The beginning of a key or name, printable and in quotes.
std::string Quoted(std::string_view name);

// Pairs of hexadecimal digits, any case; throws FAILURE for anything else.
std::string FromHex(std::string_view digits);
std::string ToHex(std::string_view bytes);
