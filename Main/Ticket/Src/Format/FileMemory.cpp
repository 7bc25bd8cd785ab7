// Where a file's text and the XML library's documents lie. That library is linked into this one privately, so what is
// set here concerns nobody else in the process.
#include "Format/FileMemory.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <new>
#include <pugixml.hpp>
#include <utility>

namespace {

// A leaf's line of about 45 bytes makes nodes of 168 bytes. Where that is too much, the rest is never touched.
constexpr std::size_t DOCUMENT_PER_TEXT = 4;
constexpr std::size_t DOCUMENT_PAGE = std::size_t{33} << 10;  // the XML library takes no less at a time
constexpr std::size_t LARGEST_TEXT = std::size_t{1} << 32;
constexpr std::size_t ALIGNMENT = alignof(std::max_align_t);

thread_local DOCUMENT_MEMORY* innermost = nullptr;

constexpr std::size_t RoundedUp(std::size_t size, std::size_t unit) {
    return (size + unit - 1) / unit * unit;
}

}  // namespace

FILE_ROOM::FILE_ROOM(std::size_t size) : m_textSize(size) {
    bool const isOfUse = size >= DOCUMENT_PAGE / DOCUMENT_PER_TEXT && size < LARGEST_TEXT;
    if (isOfUse) m_restSize = DOCUMENT_PER_TEXT * size;
    std::size_t const both = size + m_restSize;
    m_bytes = both < SYSTEM_MEMORY::HUGE_PAGE ? SYSTEM_MEMORY::Allocate(both) : SYSTEM_MEMORY::Map(both);
    if (m_bytes) return;
    m_restSize = 0;  // the document then lies with the allocator
    m_bytes = SYSTEM_MEMORY::Allocate(size);
    if (!m_bytes) throw std::bad_alloc();
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
