// Storage for the parameters of one map: each entry lies in one piece, its value first, then its key.
//
// Entries are carved out of large chunks, which saves the allocator's overhead and keeps neighbours together. They are
// named by 32-bit ids, never move, and the room of a freed one serves the next of its size.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <new>
#include <string_view>
#include <utility>
#include <vector>

#include "Store/SystemMemory.h"

// A value with its key. The value is a base class so that the length may lie in its trailing padding; the characters of
// the key and a NUL follow the entry.
template <typename VALUE>
struct PARAMETER_ENTRY : VALUE {
    uint32_t length;

    char const* Text() const { return reinterpret_cast<char const*>(this) + sizeof(PARAMETER_ENTRY); }
    std::string_view Key() const { return {Text(), length}; }

    // Keys are short, so that their words are compared in less time than a call takes.
    bool HasKey(std::string_view key) const {
        if (length != key.size()) return false;
        if (length < sizeof(uint64_t)) return std::memcmp(Text(), key.data(), length) == 0;
        std::size_t const last = length - sizeof(uint64_t);  // overlaps the word before it
        for (std::size_t i = 0; i < last; i += sizeof(uint64_t))
            if (Word(i, Text()) != Word(i, key.data())) return false;
        return Word(last, Text()) == Word(last, key.data());
    }

 private:
    static uint64_t Word(std::size_t at, char const* text) {
        uint64_t word;
        std::memcpy(&word, text + at, sizeof word);
        return word;
    }
};

template <typename VALUE>
class PARAMETER_ARENA {
 public:
    using ENTRY = PARAMETER_ENTRY<VALUE>;
    using ID = uint32_t;
    static constexpr ID NONE = 0;

    ENTRY& operator[](ID id) const { return *std::launder(reinterpret_cast<ENTRY*>(Room(id))); }

    // A new entry with a default-made value. Throws std::bad_alloc and then has changed nothing.
    ID Make(std::string_view key) {
        if (key.size() > MAX_KEY) throw std::bad_alloc();
        std::size_t const size = EntrySize(key.size());
        ID const id = size > LARGE ? AddChunk(size, false) : Carve(size);
        char* const room = Room(id);
        (new (room) ENTRY())->length = static_cast<uint32_t>(key.size());
        char* const text = room + sizeof(ENTRY);
        if (!key.empty()) std::memcpy(text, key.data(), key.size());
        text[key.size()] = '\0';
        return id;
    }

    void Free(ID id) noexcept {
        ENTRY& entry = (*this)[id];
        std::size_t const size = EntrySize(entry.length);
        entry.~ENTRY();
        if (size > LARGE) {
            CHUNK& chunk = m_chunks[id >> OFFSET_BITS];
            chunk.memory.reset();
            chunk.nextEmpty = std::exchange(m_emptyChunk, id);
        } else {
            // The list of freed entries runs through their own room.
            ID const next = std::exchange(m_freed[size / GRANULE], id);
            std::memcpy(Room(id), &next, sizeof next);
        }
    }

    // Gives all room back. Every entry must have been freed.
    void Clear() noexcept { *this = PARAMETER_ARENA(); }

 private:
    static constexpr unsigned OFFSET_BITS = 13;  // of an id: the granule within its chunk
    static constexpr std::size_t GRANULE = 8;
    static constexpr std::size_t MAX_CHUNK = GRANULE << OFFSET_BITS;
    static constexpr std::size_t MAX_CHUNKS = std::size_t{1} << (32 - OFFSET_BITS);
    static constexpr std::size_t HUGE_PAGES_FROM = std::size_t{4} << 20;  // from where a part of one is no great waste
    static constexpr std::size_t FIRST_CHUNK = 1024;
    static constexpr std::size_t LARGE = 8192;  // entries above this many bytes have a chunk of their own
    static constexpr std::size_t MAX_KEY = UINT32_MAX;
    static_assert(alignof(ENTRY) <= GRANULE);

    static constexpr std::size_t EntrySize(std::size_t length) {
        return (sizeof(ENTRY) + length + 1 + GRANULE - 1) / GRANULE * GRANULE;
    }

    struct CHUNK {
        SYSTEM_MEMORY::BYTES memory;  // of this chunk, or of all chunks of a huge page if this is its first
        char* room;
        ID nextEmpty;  // of a chunk whose large entry was freed
    };

    char* Room(ID id) const { return m_chunks[id >> OFFSET_BITS].room + (id & ((ID{1} << OFFSET_BITS) - 1)) * GRANULE; }

    ID Carve(std::size_t size) {
        if (m_freed.size() <= size / GRANULE) m_freed.resize(size / GRANULE + 1, NONE);
        if (ID const freed = m_freed[size / GRANULE]; freed != NONE) {
            std::memcpy(&m_freed[size / GRANULE], Room(freed), sizeof freed);
            return freed;
        }
        if (size > m_left) {
            // As large as all before together, so that a small map stays small.
            std::size_t const chunk = std::max(size, std::clamp(m_carved, FIRST_CHUNK, MAX_CHUNK));
            m_next = AddChunk(chunk, true);
            m_left = chunk;
            m_carved += chunk;
        }
        ID const id = m_next;
        m_next += static_cast<ID>(size / GRANULE);
        m_left -= size;
        return id;
    }

    // The id of the first granule of a new chunk. Only one that many entries share may be a part of a huge page: it
    // stays until all go.
    ID AddChunk(std::size_t size, bool isShared) {
        if (m_emptyChunk == NONE) {
            if (m_chunks.empty()) m_chunks.push_back(NewChunk(0));  // never used, so that no entry has the id NONE
            if (m_chunks.size() == MAX_CHUNKS) throw std::bad_alloc();
            if (m_chunks.size() == m_chunks.capacity()) m_chunks.reserve(2 * m_chunks.size());
        }
        CHUNK chunk = isShared && m_carved >= HUGE_PAGES_FROM ? NextOfHugePage() : NewChunk(size);
        if (m_emptyChunk == NONE) {
            m_chunks.push_back(std::move(chunk));
            return static_cast<ID>(m_chunks.size() - 1) << OFFSET_BITS;
        }
        ID const id = m_emptyChunk;
        m_emptyChunk = std::exchange(m_chunks[id >> OFFSET_BITS], std::move(chunk)).nextEmpty;
        return id;
    }

    static CHUNK NewChunk(std::size_t size) {
        SYSTEM_MEMORY::BYTES memory = SYSTEM_MEMORY::Allocate(size);
        if (!memory) throw std::bad_alloc();
        char* const room = memory.get();
        return {std::move(memory), room, NONE};
    }

    CHUNK NextOfHugePage() {
        SYSTEM_MEMORY::BYTES memory = SYSTEM_MEMORY::Nothing();
        if (m_hugePageLeft == 0) {
            memory = SYSTEM_MEMORY::Map(SYSTEM_MEMORY::HUGE_PAGE);
            if (!memory) throw std::bad_alloc();
            m_hugePage = memory.get();
            m_hugePageLeft = SYSTEM_MEMORY::HUGE_PAGE;
        }
        char* const room = std::exchange(m_hugePage, m_hugePage + MAX_CHUNK);
        m_hugePageLeft -= MAX_CHUNK;
        return {std::move(memory), room, NONE};
    }

    std::vector<CHUNK> m_chunks;
    ID m_emptyChunk = NONE;
    ID m_next = NONE;  // where the next entry is carved
    std::size_t m_left = 0;
    char* m_hugePage = nullptr;  // where the next chunk of it begins
    std::size_t m_hugePageLeft = 0;
    std::size_t m_carved = 0;
    std::vector<ID> m_freed;  // by size in granules, as far as sizes have come: to free takes no memory
};
