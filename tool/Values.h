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
struct FAILURE : std::runtime_error {
    using std::runtime_error::runtime_error;
};

// A requested key is not in the file; ends the command with exit code 1.
struct MISSING_KEY : FAILURE {
    using FAILURE::FAILURE;
};

// Bytes that are not text; a type of its own so that it differs from std::string in a Value.
struct BYTES {
    std::string data;
    bool operator==(BYTES const& other) const { return data == other.data; }
};

using VALUE = std::variant<int32_t, uint32_t, int64_t, uint64_t, double, std::string, BYTES>;

// What a key holds: one value, or a vector of several. To a file a vector of one is the same as its element.
using PARAMETER = std::vector<VALUE>;

// Whether two parameters are the same to the bit; NaN equals NaN.
bool SameParameter(PARAMETER const& a, PARAMETER const& b);

// In ascending key order, as the ticket has them.
using PARAMETERS = std::map<std::string, PARAMETER>;

// "int", "double", ...: the names of the file format, and "unsigned".
char const* TypeName(PARAM_TYPE type);
char const* TypeName(VALUE const& value);
PARAM_TYPE TypeOf(VALUE const& value);
// Throws FAILURE for an unknown name.
PARAM_TYPE TypeFromName(std::string_view name);
// The names of the types that can be set, for help texts.
std::vector<std::string> const& TypeNames();

// Reads a whole text as a value of a type; throws FAILURE when it is not one or out of range. Independent of the
// locale.
VALUE ParseValue(std::string const& text, PARAM_TYPE type);

// As a person reads it: numbers in their shortest exact form, text and bytes as they are.
std::string PlainText(VALUE const& value);
// On one line: text in double quotes with escapes, bytes in hexadecimal.
std::string OneLine(VALUE const& value);
// The beginning of that, for messages.
std::string Excerpt(VALUE const& value);
