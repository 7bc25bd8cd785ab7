// The buffer in which the writers make the text of a file.
#pragma once

#include <cstddef>
#include <cstring>
#include <string_view>

#include "Common/Src/ByteStreams.h"
#include "Store/SystemMemory.h"

// The text of a file that is being made. It grows at its end; with a sink, what is complete is handed on in pieces,
// which stay in the processor's caches.
class FILE_TEXT {
 public:
    explicit FILE_TEXT(FILE_SINK* sink = nullptr) : m_sink(sink) {}

    template <typename... TEXTS>
    void Put(TEXTS const&... texts) {
        Append(std::string_view(texts)...);
    }
    // So many tabs. Indentation may be as long as the square of the keys: throws std::bad_alloc where it comes to more
    // than 512 MiB and 16 times all the rest, which no disk need ever see.
    void Indent(std::size_t depth) {
        m_indentation += depth;
        if (m_indentation > LARGEST_INDENTATION) CheckIndentation();
        if (depth > m_capacity - m_size) MakeRoom(depth);
        std::memset(m_bytes.get() + m_size, '\t', depth);
        m_size += depth;
    }
    // What has not been handed on.
    std::string_view View() const { return {m_bytes.get(), m_size}; }

 private:
    static constexpr std::size_t LARGEST_INDENTATION = std::size_t{512} << 20;

    template <typename... VIEWS>
    void Append(VIEWS... texts) {
        std::size_t const size = (texts.size() + ...);
        if (size > m_capacity - m_size) MakeRoom(size);
        char* end = m_bytes.get() + m_size;
        ((std::memcpy(end, texts.data(), texts.size()), end += texts.size()), ...);
        m_size += size;
    }

    // For so many bytes more. Throws std::bad_alloc, and what the sink throws.
    void MakeRoom(std::size_t size);
    void CheckIndentation() const;

    FILE_SINK* m_sink;
    SYSTEM_MEMORY::BYTES m_bytes = SYSTEM_MEMORY::Nothing();
    std::size_t m_size = 0;
    std::size_t m_capacity = 0;
    std::size_t m_handedOn = 0;
    std::size_t m_indentation = 0;
};
