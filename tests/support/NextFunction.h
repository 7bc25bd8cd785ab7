// The function that a test program replaces by one of its own.
#pragma once

#include <dlfcn.h>

// The definition of `name` in the libraries behind this program. FUNCTION is a function pointer.
template <typename FUNCTION>
FUNCTION NextFunction(char const* name) {
    return reinterpret_cast<FUNCTION>(dlsym(RTLD_NEXT, name));
}
