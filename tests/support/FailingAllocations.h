// Simulates exhausted memory. Replaces operator new, mmap and, where no sanitizer brings its own allocator, malloc and
// its relatives. Include it in one source of a program.
#pragma once

#include <malloc.h>
#include <sys/mman.h>

#include <cstddef>
#include <cstdlib>
#include <new>

#include "NextFunction.h"
#include "Sanitizers.h"

namespace allocations {

constexpr int UNLIMITED = -1;
// This thread's number of allocations that still succeed, and the number that then fail.
inline thread_local int t_left = UNLIMITED;
inline thread_local int t_failures = UNLIMITED;
// The number of failed allocations since With began.
inline thread_local int t_failed = 0;
// The number of blocks that this thread has allocated and not freed, and their bytes.
inline thread_local long t_held = 0;
inline thread_local std::size_t t_heldBytes = 0;

// Counts an allocation; false if it must fail.
inline bool IsGranted() {
    if (t_left == UNLIMITED) return true;
    if (t_left > 0) {
        --t_left;
        return true;
    }
    if (t_failures == 0) return true;
    if (t_failures > 0) --t_failures;
    ++t_failed;
    return false;
}

inline void* Held(void* memory) {
    if (memory == nullptr) return nullptr;
    ++t_held;
    t_heldBytes += malloc_usable_size(memory);
    return memory;
}

inline void Release(void* memory) {
    if (memory == nullptr) return;
    --t_held;
    t_heldBytes -= malloc_usable_size(memory);
}

inline void* New(std::size_t size, std::size_t alignment);
inline void Delete(void* memory) noexcept;

}  // namespace allocations

#ifdef NOT_SANITIZED

// The C library's allocator under its second names.
extern "C" {
void* __libc_malloc(std::size_t size);
void* __libc_calloc(std::size_t count, std::size_t size);
void* __libc_realloc(void* memory, std::size_t size);
void* __libc_memalign(std::size_t alignment, std::size_t size);
void __libc_free(void* memory);

[[gnu::visibility("default")]] void* malloc(std::size_t size) noexcept {
    return allocations::IsGranted() ? allocations::Held(__libc_malloc(size)) : nullptr;
}
[[gnu::visibility("default")]] void* calloc(std::size_t count, std::size_t size) noexcept {
    return allocations::IsGranted() ? allocations::Held(__libc_calloc(count, size)) : nullptr;
}
[[gnu::visibility("default")]] void* realloc(void* memory, std::size_t size) noexcept {
    if (!allocations::IsGranted()) return nullptr;
    std::size_t const before = malloc_usable_size(memory);
    void* const moved = __libc_realloc(memory, size);
    if (memory == nullptr || moved == nullptr) return allocations::Held(moved);
    allocations::t_heldBytes += malloc_usable_size(moved) - before;
    return moved;
}
[[gnu::visibility("default")]] void free(void* memory) noexcept {
    allocations::Release(memory);
    __libc_free(memory);
}
}

inline void* allocations::New(std::size_t size, std::size_t alignment) {
    if (!IsGranted()) return nullptr;
    return Held(alignment > 0 ? __libc_memalign(alignment, size) : __libc_malloc(size));
}

inline void allocations::Delete(void* memory) noexcept {
    free(memory);
}

#else

// The sanitizers' malloc ends the process for a size that no machine has, instead of returning null.
constexpr std::size_t LARGEST = std::size_t{1} << 40;

inline void* allocations::New(std::size_t size, std::size_t alignment) {
    if (!IsGranted() || size > LARGEST) return nullptr;
    std::size_t const rounded = alignment > 0 ? (size + alignment - 1) / alignment * alignment : size;
    return Held(alignment > 0 ? std::aligned_alloc(alignment, rounded) : std::malloc(size));
}

inline void allocations::Delete(void* memory) noexcept {
    Release(memory);
    std::free(memory);
}

#endif

extern "C" {

void* mmap(void* address, std::size_t size, int protection, int flags, int file, off_t offset) noexcept {
    static auto const next = NextFunction<decltype(&mmap)>("mmap");
    return allocations::IsGranted() ? next(address, size, protection, flags, file, offset) : MAP_FAILED;
}

}  // extern "C"

// Not inlined: the compiler would warn that memory from malloc is released by delete.
[[gnu::noinline]] void* operator new(std::size_t size) {
    if (void* const memory = allocations::New(size, 0)) return memory;
    throw std::bad_alloc();
}
[[gnu::noinline]] void* operator new(std::size_t size, std::align_val_t alignment) {
    if (void* const memory = allocations::New(size, static_cast<std::size_t>(alignment))) return memory;
    throw std::bad_alloc();
}
[[gnu::noinline]] void operator delete(void* memory) noexcept {
    allocations::Delete(memory);
}
[[gnu::noinline]] void operator delete(void* memory, std::size_t) noexcept {
    allocations::Delete(memory);
}
[[gnu::noinline]] void operator delete(void* memory, std::align_val_t) noexcept {
    allocations::Delete(memory);
}
[[gnu::noinline]] void operator delete(void* memory, std::size_t, std::align_val_t) noexcept {
    allocations::Delete(memory);
}

namespace allocations {

// Runs `action`: the first `granted` allocations succeed, the next `failures` fail, by default all.
template <typename ACTION>
auto With(int granted, ACTION const& action, int failures = UNLIMITED) {
    struct GRANT {
        GRANT(int left, int failing) {
            t_left = left;
            t_failures = failing;
            t_failed = 0;
        }
        ~GRANT() { t_left = UNLIMITED; }
    } const grant(granted, failures);
    return action();
}

}  // namespace allocations
