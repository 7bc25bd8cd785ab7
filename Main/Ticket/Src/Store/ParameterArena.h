// Storage for the values of one map with their keys: a value, then its key, in one allocation.
//
// Allocations are carved out of large chunks, which saves the allocator's overhead (8 bytes a key) and keeps neighbours
// together. They are named by 32-bit ids and never move; the memory of a freed one serves the next of its size.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <memory>
#include <new>
#include <string_view>
#include <utility>
#include <vector>

// A value with its key, whose characters and a NUL follow. VALUE is a base, so that the length may lie in its padding.
template <typename VALUE>
struct KEYED_VALUE : VALUE {
    uint32_t length;

    char const* Text() const { return reinterpret_cast<char const*>(this) + sizeof(KEYED_VALUE); }
    std::string_view Key() const { return {Text(), length}; }

    // Compares word by word: for keys, which are short, that takes less time than a call.
    bool HasKey(std::string_view key) const {
        if (length != key.size()) return false;
        if (length < sizeof(uint64_t)) return std::memcmp(Text(), key.data(), length) == 0;
        std::size_t const last = length - sizeof(uint64_t);  // overlaps the word before it
        if (Word(last, Text()) != Word(last, key.data())) return false;
        for (std::size_t i = 0; i < last; i += sizeof(uint64_t))
            if (Word(i, Text()) != Word(i, key.data())) return false;
        return true;
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
    using ID = uint32_t;
    static constexpr ID NONE = 0;

    KEYED_VALUE<VALUE>& operator[](ID id) const {
        return *std::launder(reinterpret_cast<KEYED_VALUE<VALUE>*>(Address(id)));
    }

    // Makes a value for a new key. Throws std::bad_alloc and then has changed nothing.
    ID Make(std::string_view key) {
        if (key.size() > MAX_KEY) throw std::bad_alloc();
        std::size_t const size = SizeFor(key.size());
        ID const id = size > LARGE ? AddChunk(size) : Carve(size);
        char* const memory = Address(id);
        (new (memory) KEYED_VALUE<VALUE>())->length = static_cast<uint32_t>(key.size());
        char* const text = memory + sizeof(KEYED_VALUE<VALUE>);
        if (!key.empty()) std::memcpy(text, key.data(), key.size());
        text[key.size()] = '\0';
        return id;
    }

    void Free(ID id) noexcept {
        KEYED_VALUE<VALUE>& value = (*this)[id];
        std::size_t const size = SizeFor(value.length);
        value.~KEYED_VALUE<VALUE>();
        if (size > LARGE) {
            CHUNK& chunk = m_chunks[id >> OFFSET_BITS];
            chunk.memory.reset();
            chunk.nextEmpty = std::exchange(m_emptyChunk, id);
        } else {
            // The list of freed allocations runs through their own memory.
            ID const next = std::exchange(m_freed[size / GRANULE], id);
            std::memcpy(Address(id), &next, sizeof next);
        }
    }

    // Destroys a value, but leaves its memory to Clear, which must come next.
    void Destroy(ID id) noexcept { (*this)[id].~KEYED_VALUE<VALUE>(); }
    // Gives all memory back. Every value must have been freed or destroyed.
    void Clear() noexcept { *this = PARAMETER_ARENA(); }

 private:
    static constexpr unsigned OFFSET_BITS = 13;  // of an id: the granule within its chunk
    static constexpr std::size_t GRANULE = 8;
    static constexpr std::size_t MAX_CHUNK = GRANULE << OFFSET_BITS;
    static constexpr std::size_t MAX_CHUNKS = std::size_t{1} << (32 - OFFSET_BITS);
    static constexpr std::size_t FIRST_CHUNK = 1024;
    static constexpr std::size_t LARGE = 8192;  // allocations above this many bytes have a chunk of their own
    static constexpr std::size_t MAX_KEY = UINT32_MAX;
    static_assert(alignof(KEYED_VALUE<VALUE>) <= GRANULE);

    static constexpr std::size_t SizeFor(std::size_t length) {
        return (sizeof(KEYED_VALUE<VALUE>) + length + 1 + GRANULE - 1) / GRANULE * GRANULE;
    }

    struct CHUNK {
        std::unique_ptr<char[]> memory;
        ID nextEmpty;  // of a chunk whose large value was freed
    };

    char* Address(ID id) const {
        return m_chunks[id >> OFFSET_BITS].memory.get() + (id & ((ID{1} << OFFSET_BITS) - 1)) * GRANULE;
    }

    ID Carve(std::size_t size) {
        if (m_freed.size() <= size / GRANULE) m_freed.resize(size / GRANULE + 1, NONE);
        if (ID const freed = m_freed[size / GRANULE]; freed != NONE) {
            std::memcpy(&m_freed[size / GRANULE], Address(freed), sizeof freed);
            return freed;
        }
        if (size > m_left) {
            // As large as all before together, so that a small map stays small.
            std::size_t const chunk = std::max(size, std::clamp(m_carved, FIRST_CHUNK, MAX_CHUNK));
            m_next = AddChunk(chunk);
            m_left = chunk;
            m_carved += chunk;
        }
        ID const id = m_next;
        m_next += static_cast<ID>(size / GRANULE);
        m_left -= size;
        return id;
    }

    // The id of the first granule of a new chunk. Not inlined: rare.
    [[gnu::noinline]] ID AddChunk(std::size_t size) {
        if (m_chunks.empty()) m_chunks.push_back({nullptr, NONE});  // never used, so that no value has the id NONE
        std::unique_ptr<char[]> memory(new char[size]);             // make_unique would set it to zero
        if (m_emptyChunk != NONE) {
            CHUNK& empty = m_chunks[m_emptyChunk >> OFFSET_BITS];
            empty.memory = std::move(memory);
            return std::exchange(m_emptyChunk, empty.nextEmpty);
        }
        if (m_chunks.size() == MAX_CHUNKS) throw std::bad_alloc();
        m_chunks.push_back({std::move(memory), NONE});
        return static_cast<ID>(m_chunks.size() - 1) << OFFSET_BITS;
    }

    std::vector<CHUNK> m_chunks;
    ID m_emptyChunk = NONE;
    ID m_next = NONE;          // where the next allocation is carved
    std::size_t m_left = 0;    // bytes of that chunk
    std::size_t m_carved = 0;  // bytes of all chunks that are carved
    std::vector<ID> m_freed;   // by size in granules, up to the largest size so far, so that Free takes no memory
};
