// Takes memory from the allocator or straight from the system.
#include "SystemMemory.h"

#include <sys/mman.h>

#include <cstdint>
#include <new>

namespace SYSTEM_MEMORY {

namespace {

constexpr std::size_t PAGE = 4096;

}  // namespace

void RELEASE::operator()(char* bytes) const noexcept {
    if (mapped > 0)
        munmap(bytes, mapped);
    else
        ::operator delete(bytes);
}

BYTES Allocate(std::size_t size) noexcept {
    try {
        return {static_cast<char*>(::operator new(size)), RELEASE{0}};
    } catch (std::bad_alloc const&) {
        return Nothing();
    }
}

BYTES Map(std::size_t least) noexcept {
    std::size_t const size = (least + PAGE - 1) / PAGE * PAGE;
    void* const mapped = mmap(nullptr, size + HUGE_PAGE, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    if (mapped == MAP_FAILED) return Nothing();
    char* const bytes = static_cast<char*>(mapped);
    std::size_t const gap = HUGE_PAGE - reinterpret_cast<std::uintptr_t>(bytes) % HUGE_PAGE;
    munmap(bytes, gap);
    if (gap < HUGE_PAGE) munmap(bytes + gap + size, HUGE_PAGE - gap);
    madvise(bytes + gap, size, MADV_HUGEPAGE);
    return {bytes + gap, RELEASE{size}};
}

}  // namespace SYSTEM_MEMORY
