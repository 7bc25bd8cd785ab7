// Tickets as JSON that brings every type and vector back exactly.
//
// An array of objects in key order: {"key": "Log/Level", "type": "int", "value": 3}, or for a vector {"key": ...,
// "vector": [{"type": ..., "value": ...}, ...]}. Bytes stand as "hex" instead of "value", and so do texts that are not
// UTF-8; keys that are not as "keyHex". A double that is not a number is the text "nan". A hidden value is "redacted":
// true, which FromJson refuses.
#pragma once

#include <iosfwd>
#include <nlohmann/json_fwd.hpp>
#include <string>

#include "Values.h"

// Prints an array of parameters, one after the other.
class JSON_ARRAY {
 public:
    explicit JSON_ARRAY(std::ostream& out) : m_out(out) {}
    void Add(std::string const& key, PARAMETER const& parameter, bool isHidden);
    // Prints the end, with a final line end.
    void Finish();

 private:
    std::ostream& m_out;
    bool m_isEmpty = true;
};

// Throws FAILURE for text that is not JSON of this shape.
PARAMETERS FromJson(std::string const& text);

// Reads any JSON document. `source` begins the message of the FAILURE that is thrown for text that is none, or has an
// object with two members of one name.
nlohmann::ordered_json ParseJson(std::string const& text, std::string const& source);

// Members of an object. They throw FAILURE for one that is missing or of another type.
nlohmann::ordered_json const& JsonMember(nlohmann::ordered_json const& object, char const* name);
std::string JsonTextMember(nlohmann::ordered_json const& object, char const* name);

// Puts a value into an object, as "value" or "hex".
void PutJsonValue(nlohmann::ordered_json& object, VALUE const& value);

// The text of a document: indented, with a final line end, harmless to a terminal.
std::string JsonText(nlohmann::ordered_json const& json);
