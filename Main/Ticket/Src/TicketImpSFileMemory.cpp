// Where a file's text and the XML library's documents lie. That library is linked into this one privately, so what is
// set here concerns nobody else in the process.
#include "TicketImpSFileMemory.h"

#include <sys/mman.h>

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <functional>
#include <new>
#include <pugixml.hpp>

namespace {

constexpr std::size_t HUGE_PAGE = std::size_t{2} << 20;
// A leaf's line of about 45 bytes makes nodes of 168 bytes. Where that is too much, the rest is never touched.
constexpr std::size_t DOCUMENT_PER_TEXT = 4;
constexpr std::size_t LARGEST_TEXT = std::size_t{1} << 32;
constexpr std::size_t PAGE = 4096;
constexpr std::size_t ALIGNMENT = alignof(std::max_align_t);

thread_local DOCUMENT_MEMORY* innermost = nullptr;

constexpr std::size_t RoundedUp(std::size_t size, std::size_t unit) {
    return (size + unit - 1) / unit * unit;
}

// A mapping of `size` bytes, a multiple of PAGE, that begins where a huge page may begin. Null when memory is short. A
// system without huge pages brings in small ones.
char* Map(std::size_t size) {
    void* const mapped = mmap(nullptr, size + HUGE_PAGE, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    if (mapped == MAP_FAILED) return nullptr;
    char* const bytes = static_cast<char*>(mapped);
    std::size_t const gap = HUGE_PAGE - reinterpret_cast<std::uintptr_t>(bytes) % HUGE_PAGE;
    munmap(bytes, gap);
    if (gap < HUGE_PAGE) munmap(bytes + gap + size, HUGE_PAGE - gap);
    madvise(bytes + gap, size, MADV_HUGEPAGE);
    return bytes + gap;
}

}  // namespace

FILE_ROOM::FILE_ROOM(std::size_t size) {
    std::size_t const rest = size < LARGEST_TEXT ? DOCUMENT_PER_TEXT * size : 0;
    std::size_t const mapped = RoundedUp(size + rest, PAGE);
    using BYTES = std::unique_ptr<char, GIVE_BACK>;
    if (mapped >= HUGE_PAGE) m_bytes = BYTES(Map(mapped), GIVE_BACK{mapped});
    if (m_bytes) {
        m_restSize = rest;
    } else {
        // Also when there is no room for both: the document then lies with the allocator.
        m_bytes = BYTES(static_cast<char*>(std::malloc(std::max<std::size_t>(size, 1))), GIVE_BACK{0});
    }
    if (!m_bytes) throw std::bad_alloc();
    m_textSize = size;
}

void FILE_ROOM::GIVE_BACK::operator()(char* bytes) const {
    if (mapped > 0)
        munmap(bytes, mapped);
    else
        std::free(bytes);
}

DOCUMENT_MEMORY::DOCUMENT_MEMORY(FILE_ROOM const& room) : m_outer(innermost), m_room(room) {
    static bool const installed = (pugi::set_memory_management_functions(&Take, &GiveBack), true);
    static_cast<void>(installed);
    // From here on every piece begins aligned.
    m_used = std::min(RoundedUp(room.TextSize(), ALIGNMENT) - room.TextSize(), room.RestSize());
    innermost = this;
}

DOCUMENT_MEMORY::~DOCUMENT_MEMORY() {
    innermost = m_outer;
}

void* DOCUMENT_MEMORY::Take(std::size_t size) {
    DOCUMENT_MEMORY* const memory = innermost;
    if (memory == nullptr || size > memory->m_room.RestSize() - memory->m_used) return std::malloc(size);
    char* const taken = memory->m_room.Rest() + memory->m_used;
    memory->m_used = std::min(memory->m_used + RoundedUp(size, ALIGNMENT), memory->m_room.RestSize());
    return taken;
}

void DOCUMENT_MEMORY::GiveBack(void* memory) {
    for (DOCUMENT_MEMORY const* owner = innermost; owner != nullptr; owner = owner->m_outer) {
        if (owner->Holds(memory)) return;  // goes with the room
    }
    std::free(memory);
}

bool DOCUMENT_MEMORY::Holds(void const* memory) const {
    std::less<void const*> const before;
    char const* const rest = m_room.Rest();
    return m_room.RestSize() > 0 && !before(memory, rest) && before(memory, rest + m_room.RestSize());
}
