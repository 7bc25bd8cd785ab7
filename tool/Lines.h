// Parameters as lines that a person edits: key, type and value with a TAB between them. The elements of a vector stand
// in lines of the same key. "#" begins a comment.
#pragma once

#include <string>
#include <vector>

#include "Values.h"

struct EDITED_LINE {
    std::string key;
    std::string type;
    std::string value;   // as in the line
    std::size_t number;  // of the line, from 1
};

std::string ToLine(std::string const& key, VALUE const& value);
// The same with the value hidden.
std::string ToHiddenLine(std::string const& key, VALUE const& value);

// Throws FAILURE with the number of a line that is none of these.
std::vector<EDITED_LINE> FromLines(std::string const& text);
// The value of a line; throws FAILURE.
VALUE ValueOf(EDITED_LINE const& line);
