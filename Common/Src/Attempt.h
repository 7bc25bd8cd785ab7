// Turns an exception of the standard library into the result false.
#pragma once

#include <exception>

// Returns what `action` returns; false if it throws because memory is exhausted or a length is too large.
template <typename ACTION>
bool Attempt(ACTION const& action) {
    try {
        return action();
    } catch (std::exception const&) {
        return false;
    }
}
