// Tickets as JSON that brings every type and vector back exactly.
//
// An array of objects in key order: {"key": "Log/Level", "type": "int", "value": 3}, or for a vector
// {"key": ..., "vector": [{"type": ..., "value": ...}, ...]}. Bytes stand as "hex" instead of "value", and so do texts
// that are not UTF-8; keys that are not as "keyHex". A double that is not a number is the text "nan".
#pragma once

#include <nlohmann/json_fwd.hpp>
#include <string>

#include "Values.h"

// Indented, with a final line end.
std::string ToJson(PARAMETERS const& parameters);

// Throws FAILURE for text that is not JSON of this shape.
PARAMETERS FromJson(std::string const& text);

// Puts a value into an object, as "value" or "hex".
void PutJsonValue(nlohmann::ordered_json& object, VALUE const& value);

// The text of a document: indented, with a final line end, harmless to a terminal.
std::string JsonText(nlohmann::ordered_json const& json);
