// Lets the cancellation of a thread pass through a `catch (...)`.
#pragma once

#include <exception>

// To be called first in a `catch (...)`. Rethrows what is not a C++ exception, as a cancelled thread's is not. (A
// handler for its type would bind a reference to nothing for every other exception.)
inline void PassCancellation() {
    if (!std::current_exception()) throw;
}
