#include "Format/TextBuffer.h"

#include <algorithm>
#include <cstdint>
#include <new>
#include <utility>

namespace {

constexpr std::size_t FIRST_CAPACITY = 8192;
constexpr std::size_t FULL = std::size_t{64} << 10;
constexpr std::size_t INDENTATION_PER_TEXT = 16;

}  // namespace

void TEXT_BUFFER::MakeRoom(std::size_t size) {
    if (size > SIZE_MAX / 2 - m_size) throw std::bad_alloc();
    if (m_sink != nullptr && m_size + size > FULL) {
        m_sink->Take(View());
        m_handedOn += std::exchange(m_size, 0);
        if (size <= m_capacity) return;
    }
    std::size_t const capacity = std::max({m_size + size, 2 * m_capacity, FIRST_CAPACITY});
    std::unique_ptr<char[]> larger(new char[capacity]);  // uninitialised
    if (m_size > 0) std::memcpy(larger.get(), m_bytes.get(), m_size);
    m_bytes = std::move(larger);
    m_capacity = capacity;
}

void TEXT_BUFFER::CheckIndentation() const {
    if (m_indentation > INDENTATION_PER_TEXT * (Size() - std::min(Size(), m_indentation))) throw OUT_OF_PROPORTION();
}
