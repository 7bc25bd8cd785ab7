// Memory for loading a file: room for the text that is being read, and for the document that is made of it.
//
// A document is large beside the ticket that comes of it and lives for a moment. To take it from the system page by
// page, each at its first touch, would cost more than to parse the text; so text and document get one room, which
// serves one piece of the file after the other.
#pragma once

#include <cstddef>

#include "Store/SystemMemory.h"

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
