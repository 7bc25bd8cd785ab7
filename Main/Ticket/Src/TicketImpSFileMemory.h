// Memory for loading a file: room for its text, and for the XML document that is made of it.
//
// Both are large beside the ticket that comes of them and live for a moment. To take them from the system page by page,
// each at its first touch, would cost more than to parse the text; so a large file gets one room for both, in huge
// pages.
#pragma once

#include <cstddef>
#include <memory>

class FILE_ROOM {
 public:
    // For nothing.
    FILE_ROOM() = default;
    // For a text of `size` bytes, and for its document if that will be large. Throws std::bad_alloc.
    explicit FILE_ROOM(std::size_t size);

    // The text's place; not set.
    char* Text() const { return m_bytes.get(); }
    std::size_t TextSize() const { return m_textSize; }
    // What is left for the document; none for a small one.
    char* Rest() const { return m_bytes.get() + m_textSize; }
    std::size_t RestSize() const { return m_restSize; }

 private:
    struct GIVE_BACK {
        std::size_t mapped;  // 0: the allocator's
        void operator()(char* bytes) const;
    };
    std::unique_ptr<char, GIVE_BACK> m_bytes{nullptr, GIVE_BACK{0}};
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
