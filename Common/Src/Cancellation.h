// What a `catch (...)` does first, so that only exceptions end in it and the cancellation of a thread does not.
#pragma once

#include <exception>

// Goes on unwinding when the exception being handled is none of C++, as a cancelled thread's is. (Catching that one by
// its type would bind a reference to nothing for every other exception.)
inline void PassCancellation() {
    if (!std::current_exception()) throw;
}
