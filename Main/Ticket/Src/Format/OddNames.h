// Names of elements that a ticket file may hold although XML forbids them.
//
// Components of keys are written as they are, so that "Printer/HP 4000" is the element <HP 4000>. A writer puts each
// tag, or each value with both of its tags, on a line of its own, and no name holds "<", ">", a double quote or "/".
// That is enough to find such names without a parser: its own rules make "<HP 4000>" an element HP with an attribute.
#pragma once

#include <string_view>

namespace TICKET_NAMES {

// Makes the names in `copy`, a copy of the text, names that XML allows, by replacing single bytes: all offsets stay.
// Looks only at lines as a save writes them, apart from white space at either end. Takes linear time.
void Replace(std::string_view text, char* copy);

// Restores the names in a copy that a parser has meanwhile parsed in place.
void Restore(std::string_view text, char* copy);

// Whether a line as a save writes it holds a tag that a parser could take for the beginning of an instruction or a
// comment, such as <?a type="int">1</?a>. Takes linear time.
bool LookLikeMarkup(std::string_view text);

}  // namespace TICKET_NAMES
