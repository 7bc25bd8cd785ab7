// Tickets as JSON that brings every type and vector back exactly.
//
// An array of objects in key order: {"key": "Log/Level", "type": "int", "value": 3}, or for a vector {"key": ...,
// "vector":
// [{"type": ..., "value": ...}, ...]}. Bytes stand as "hex" instead of "value", as do text and keys ("keyHex") that are
// not UTF-8. A double that is not a number is the text "nan".
#pragma once

#include <string>

#include "Values.h"

// Indented, with a final line end.
std::string ToJson(Parameters const& parameters);

// Throws Failure for text that is not JSON of this shape.
Parameters FromJson(std::string const& text);
