// Exhausted memory. Replaces the allocation functions of the program that includes this, in one of its sources.
#pragma once

#include <cstdlib>
#include <new>

namespace allocations {

constexpr int UNLIMITED = -1;
// How many more allocations this thread gets.
inline thread_local int t_left = UNLIMITED;

}  // namespace allocations

// Not inlined: the compiler would see malloc and delete side by side and take them for a mistake.
[[gnu::noinline]] void* operator new(std::size_t size) {
    if (allocations::t_left == 0) throw std::bad_alloc();
    if (allocations::t_left > 0) --allocations::t_left;
    if (void* const memory = std::malloc(size)) return memory;
    throw std::bad_alloc();
}
[[gnu::noinline]] void operator delete(void* memory) noexcept {
    std::free(memory);
}
[[gnu::noinline]] void operator delete(void* memory, std::size_t) noexcept {
    std::free(memory);
}

namespace allocations {

// Runs `action` with so many allocations.
template <typename ACTION>
auto With(int granted, ACTION const& action) {
    struct GRANT {
        explicit GRANT(int left) { t_left = left; }
        ~GRANT() { t_left = UNLIMITED; }
    } const grant(granted);
    return action();
}

}  // namespace allocations
