#include "Format/TextBuffer.h"

#include <algorithm>
#include <cstdint>
#include <new>
#include <utility>

namespace {

constexpr std::size_t FIRST_TEXT = 8192;
constexpr std::size_t INDENTATION_PER_TEXT = 16;
constexpr std::size_t LARGEST_PIECE = std::size_t{64} << 10;

}  // namespace

void FILE_TEXT::MakeRoom(std::size_t size) {
    if (size > SIZE_MAX / 2 - m_size) throw std::bad_alloc();
    if (m_sink != nullptr && m_size + size > LARGEST_PIECE) {
        m_sink->Take(View());
        m_handedOn += std::exchange(m_size, 0);
        if (size <= m_capacity) return;
    }
    std::size_t const capacity = std::max({m_size + size, 2 * m_capacity, FIRST_TEXT});
    SYSTEM_MEMORY::BYTES larger = SYSTEM_MEMORY::Allocate(capacity);
    if (!larger) throw std::bad_alloc();
    if (m_size > 0) std::memcpy(larger.get(), m_bytes.get(), m_size);
    m_bytes = std::move(larger);
    m_capacity = capacity;
}

void FILE_TEXT::CheckIndentation() const {
    std::size_t const whole = m_handedOn + m_size;
    if (m_indentation > INDENTATION_PER_TEXT * (whole - std::min(whole, m_indentation))) throw std::bad_alloc();
}
