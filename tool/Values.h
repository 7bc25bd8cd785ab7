// Values of a ticket as the tool holds, reads from the command line and shows them.
#pragma once

#include <cstdint>
#include <map>
#include <stdexcept>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

#include "ConfigurationControl/TicketRecords.h"

// What went wrong, as one line for the user; ends the command with exit code 2.
struct Failure : std::runtime_error {
    using std::runtime_error::runtime_error;
};

// Bytes that are not text; a type of its own so that it differs from std::string in a Value.
struct Bytes {
    std::string data;
    bool operator==(Bytes const& other) const { return data == other.data; }
};

using Value = std::variant<int32_t, uint32_t, int64_t, uint64_t, double, std::string, Bytes>;

// What a key holds: one value, or a vector of several. To a file a vector of one is the same as its element.
using Parameter = std::vector<Value>;

// Whether two parameters are the same to the bit; NaN equals NaN.
bool SameParameter(Parameter const& a, Parameter const& b);

// In ascending key order, as the ticket has them.
using Parameters = std::map<std::string, Parameter>;

// "int", "double", ...: the names of the file format, and "unsigned".
char const* TypeName(PARAM_TYPE type);
char const* TypeName(Value const& value);
PARAM_TYPE TypeOf(Value const& value);
// Throws Failure for an unknown name.
PARAM_TYPE TypeFromName(std::string_view name);
// The names of the types that can be set, for help texts.
std::vector<std::string> const& TypeNames();

// Reads a whole text as a value of a type; throws Failure when it is not one or out of range. Independent of the
// locale.
Value ParseValue(std::string const& text, PARAM_TYPE type);

// Pairs of hexadecimal digits, any case; throws Failure for anything else.
std::string FromHex(std::string_view digits);
std::string ToHex(std::string_view bytes);

// As a person reads it: numbers in their shortest exact form, text and bytes as they are.
std::string PlainText(Value const& value);
// On one line: text in double quotes with escapes, bytes in hexadecimal.
std::string OneLine(Value const& value);
// The beginning of a value or key on one line, for messages.
std::string Excerpt(Value const& value);
std::string Quoted(std::string_view key);

bool IsUtf8(std::string_view text);
// On one line and harmless to a terminal: control characters and bytes that are not UTF-8 as escapes.
std::string Printable(std::string_view text);
