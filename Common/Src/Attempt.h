// What turns an exception of the standard library into the answer that these interfaces give instead: false.
#pragma once

#include <exception>

// What `action` returns; false where memory is short or a length absurd.
template <typename ACTION>
bool Attempt(ACTION const& action) {
    try {
        return action();
    } catch (std::exception const&) {
        return false;
    }
}
