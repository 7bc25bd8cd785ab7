// The buffer in which the writers make the text of a file.
#pragma once

#include <cstddef>
#include <cstring>
#include <memory>
#include <new>
#include <string_view>

#include "Common/Src/ByteStreams.h"

// Thrown by the save of a file that a load would refuse, or whose indentation exceeds the limit of Indent. A
// std::bad_alloc, because the destructor of a ticket treats both alike: the old file stays.
class OUT_OF_PROPORTION : public std::bad_alloc {};

// Grows at its end. With a sink, full buffers of some 64 KiB are handed on, so that they stay in the processor's
// caches. All functions that add text throw std::bad_alloc, and what the sink throws.
class TEXT_BUFFER {
 public:
    explicit TEXT_BUFFER(FILE_SINK* sink = nullptr) : m_sink(sink) {}

    template <typename... TEXTS>
    void Put(TEXTS const&... texts) {
        Append(std::string_view(texts)...);
    }
    // Writes `depth` tabs. Throws std::bad_alloc when all indentation comes to more than 512 MiB and to more than 16
    // times the rest of the text: indentation may grow with the square of the keys.
    void Indent(std::size_t depth) {
        m_indentation += depth;
        if (m_indentation > LARGEST_INDENTATION) CheckIndentation();
        constexpr std::string_view FEW_TABS = "\t\t\t\t\t\t\t\t";  // a call of memset takes longer
        if (depth <= FEW_TABS.size())
            std::memcpy(Reserve(FEW_TABS.size()), FEW_TABS.data(), FEW_TABS.size());
        else
            std::memset(Reserve(depth), '\t', depth);
        m_size += depth;
    }
    // Space for `size` bytes after the text; valid until the next call of another function. Advance says where the
    // bytes that were written there end.
    char* Reserve(std::size_t size) {
        if (size > m_capacity - m_size) MakeRoom(size);
        return m_bytes.get() + m_size;
    }
    void Advance(char const* end) { m_size = static_cast<std::size_t>(end - m_bytes.get()); }

    // Drops the text that has not been handed on.
    void Clear() { m_size = 0; }
    // The text that has not been handed on.
    std::string_view View() const { return {m_bytes.get(), m_size}; }
    // The length of the whole text.
    std::size_t Size() const { return m_handedOn + m_size; }

 private:
    static constexpr std::size_t LARGEST_INDENTATION = std::size_t{512} << 20;

    template <typename... VIEWS>
    void Append(VIEWS... texts) {
        char* end = Reserve((texts.size() + ...));
        ((std::memcpy(end, texts.data(), texts.size()), end += texts.size()), ...);
        Advance(end);
    }

    void MakeRoom(std::size_t size);
    void CheckIndentation() const;

    FILE_SINK* m_sink;
    std::unique_ptr<char[]> m_bytes;
    std::size_t m_size = 0;
    std::size_t m_capacity = 0;
    std::size_t m_handedOn = 0;
    std::size_t m_indentation = 0;
};
