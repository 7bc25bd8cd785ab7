// Memory for loading and saving a file: room for the text that is being read, and for the document that is made of it,
// and the text that is being made.
//
// A document is large beside the ticket that comes of it and lives for a moment. To take it from the system page by
// page, each at its first touch, would cost more than to parse the text; so text and document get one room, which
// serves one piece of the file after the other.
#pragma once

#include <cstddef>
#include <cstring>
#include <optional>
#include <string_view>

#include "SystemMemory.h"

class FILE_ROOM {
 public:
    // For nothing.
    FILE_ROOM() = default;
    // For a text of `size` bytes and the document that will be made of it, unless that is small. Throws std::bad_alloc.
    explicit FILE_ROOM(std::size_t size);

    // The text's place; not set.
    char* Text() const { return m_bytes.get(); }
    std::size_t TextSize() const { return m_textSize; }
    // What is left for the document; none for a small one.
    char* Rest() const { return m_bytes.get() + m_textSize; }
    std::size_t RestSize() const { return m_restSize; }

 private:
    SYSTEM_MEMORY::BYTES m_bytes = SYSTEM_MEMORY::Nothing();
    std::size_t m_textSize = 0;
    std::size_t m_restSize = 0;
};

// While one lives, the XML library's documents on this thread lie in what `room` has left, and with the allocator once
// that is used up. They must be gone before it. They may nest, as when a text conversion reads another ticket.
class DOCUMENT_MEMORY {
 public:
    explicit DOCUMENT_MEMORY(FILE_ROOM const& room);
    ~DOCUMENT_MEMORY();
    DOCUMENT_MEMORY(DOCUMENT_MEMORY const&) = delete;
    DOCUMENT_MEMORY& operator=(DOCUMENT_MEMORY const&) = delete;

    // What the XML library calls. Null when memory is short.
    static void* Take(std::size_t size);
    static void GiveBack(void* memory);

 private:
    bool Holds(void const* memory) const;

    DOCUMENT_MEMORY* const m_outer;
    FILE_ROOM const& m_room;
    std::size_t m_used;
};

// Gives the bytes of a text, from any place.
class FILE_SOURCE {
 public:
    // How long the text probably is.
    virtual std::size_t Size() const = 0;
    // Copies `size` bytes from place `begin` on, fewer only at the end of the text. Returns how many; nothing if they
    // cannot be had.
    virtual std::optional<std::size_t> Read(std::size_t begin, char* bytes, std::size_t size) = 0;

 protected:
    ~FILE_SOURCE() = default;
};

// Takes the pieces of a text, in their order.
class FILE_SINK {
 public:
    virtual void Take(std::string_view piece) = 0;

 protected:
    ~FILE_SINK() = default;
};

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
