// Takes memory from the allocator or straight from the system.
#include "Store/SystemMemory.h"

#include <sys/mman.h>
#include <unistd.h>

#include <cstdint>
#include <new>

namespace SYSTEM_MEMORY {

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
    auto const page = static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
    std::size_t const size = (least + page - 1) / page * page;
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
