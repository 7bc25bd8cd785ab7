// Memory for what is large: in huge pages from the system, where it has them.
//
// Small pages come in one by one, each at its first touch, which costs more than most uses of them; and the processor
// remembers where only some hundreds of them lie.
#pragma once

#include <cstddef>
#include <memory>

namespace SYSTEM_MEMORY {

constexpr std::size_t HUGE_PAGE = std::size_t{2} << 20;

struct RELEASE {
    std::size_t mapped;  // 0: the allocator's
    void operator()(char* bytes) const noexcept;
};
using BYTES = std::unique_ptr<char, RELEASE>;

inline BYTES Nothing() noexcept {
    return {nullptr, RELEASE{0}};
}

// The allocator's memory, not set. Null when memory is short.
BYTES Allocate(std::size_t size) noexcept;

// A mapping that begins where a huge page may begin, set to zero. Only what is touched is taken from the system, a huge
// page at a time. Null when memory is short.
BYTES Map(std::size_t size) noexcept;

}  // namespace SYSTEM_MEMORY
