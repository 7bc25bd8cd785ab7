// Names of elements that a ticket file may hold and an XML parser does not take.
//
// Components of keys are written as they are, so that "Printer/HP 4000" is the element <HP 4000>. A writer puts each
// tag, or each value with both of its tags, on a line of its own, and no name holds "<", ">", a double quote or "/".
// That is enough to find such names without a parser: its own rules make "<HP 4000>" an element HP with an attribute.
#pragma once

#include <string_view>

namespace TICKET_NAMES {

// Replaces, in a copy of the text of a ticket file, each byte of a name that no XML name has at its place by one that
// names may have; the copy has the size of the text and its bytes keep their places. Looks only at lines of the
// writer's form, blanks at either end aside. Takes linear time.
void Replace(std::string_view text, char* copy);

// Puts the names back, in a copy that a parser has meanwhile worked on in place.
void Restore(std::string_view text, char* copy);

// Whether the text holds a tag of an element, on a line of the writer's form, that a parser could take for the
// beginning of an instruction, a comment or the like, such as <?a type="int">1</?a>. Takes linear time.
bool LookLikeMarkup(std::string_view text);

}  // namespace TICKET_NAMES
