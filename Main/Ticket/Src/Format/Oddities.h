// What readers of a ticket file silently correct, drop or keep, for programs that report it.
#pragma once

#include <cstddef>

namespace TICKET_FORMAT {

enum class ODDITY {
    WHITE_SPACE,        // leading or trailing white space that is dropped, or a run of it that becomes one space
    UNKNOWN_ESCAPE,     // a backslash and what follows it are no escape and stay as they are
    UNFINISHED_ESCAPE,  // the text ends inside an escape, which is dropped
    NOT_A_NUMBER,       // read as 0
    OUT_OF_RANGE,       // replaced by the nearest number of the type
    NEGATIVE_WRAPS,     // a negative number, read as an unsigned one
    BEHIND_NUMBER       // ignored
};

// Receives each oddity from the functions that read texts and numbers. They take null for none, which costs nothing:
// they look at it only where something is odd.
class ODDITY_LISTENER {
 public:
    // `offset` and `length`: the odd bytes, counted from the first byte of the text that was given to the function.
    virtual void Tell(ODDITY oddity, std::size_t offset, std::size_t length) = 0;

 protected:
    ~ODDITY_LISTENER() = default;
};

}  // namespace TICKET_FORMAT
