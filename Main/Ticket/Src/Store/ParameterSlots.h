// The hash table of a map's parameters: from the hash of a key to the id of its entry.
//
// A place holds a hash and an id; a key stands in the first free place from the one that the leading bits of its hash
// name. So the table grows without looking at a key, and in the order of memory.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <new>
#include <utility>

#include "Store/SystemMemory.h"

class PARAMETER_SLOTS {
 public:
    using ID = uint32_t;
    static constexpr ID NONE = 0;

    struct SLOT {
        uint32_t hash;
        ID id;  // NONE: free
    };

    std::size_t Count() const { return m_count; }

    // The id with this hash for which `isKey` holds, or NONE.
    template <typename IS_KEY>
    ID Find(uint32_t hash, IS_KEY const& isKey) const {
        return m_slots ? SlotOf(hash, isKey).id : NONE;
    }

    // Makes room for so many more than there are. Throws std::bad_alloc and then has changed nothing.
    void Reserve(std::size_t more) {
        if (m_count + more > m_limit) Grow(m_count + more);
    }
    // Needs a Reserve before it.
    void Insert(uint32_t hash, ID id) noexcept {
        FreeSlot(hash) = {hash, id};
        ++m_count;
    }

    void Erase(uint32_t hash, ID id) noexcept {
        std::size_t hole =
            static_cast<std::size_t>(&SlotOf(hash, [id](ID other) { return other == id; }) - &m_slots[0]);
        // What stands behind it only because this place was taken moves up.
        for (std::size_t at = Next(hole); m_slots[at].id != NONE; at = Next(at)) {
            std::size_t const displacement = (at - Home(m_slots[at].hash)) & m_mask;
            if (displacement < ((at - hole) & m_mask)) continue;
            m_slots[hole] = m_slots[at];
            hole = at;
        }
        m_slots[hole].id = NONE;
        --m_count;
    }

    void Clear() noexcept { *this = PARAMETER_SLOTS(); }

    // Asks the processor for the place where a search will begin.
    void Prefetch(uint32_t hash) const {
        if (m_slots) Fetch(&m_slots[Home(hash)]);
    }
    static void Fetch(void const* address) {
        __builtin_prefetch(address);
        asm volatile("");  // compilers drop the calls of functions that do nothing but prefetch
    }

 private:
    static constexpr unsigned FIRST_BITS = 4;
    static constexpr unsigned HASH_BITS = 32;

    static constexpr std::size_t LimitOf(std::size_t size) { return size / 16 * 13; }

    std::size_t Home(uint32_t hash) const { return hash >> m_shift; }
    std::size_t Next(std::size_t at) const { return (at + 1) & m_mask; }

    // Where the id stands, or the free place that ends the search for it.
    template <typename IS_KEY>
    SLOT& SlotOf(uint32_t hash, IS_KEY const& isKey) const {
        std::size_t at = Home(hash);
        while (m_slots[at].id != NONE && !(m_slots[at].hash == hash && isKey(m_slots[at].id))) at = Next(at);
        return m_slots[at];
    }
    SLOT& FreeSlot(uint32_t hash) const {
        std::size_t at = Home(hash);
        while (m_slots[at].id != NONE) at = Next(at);
        return m_slots[at];
    }

    void Grow(std::size_t count) {
        PARAMETER_SLOTS larger;
        unsigned bits = m_slots ? HASH_BITS + 1 - m_shift : FIRST_BITS;
        while (LimitOf(std::size_t{1} << bits) < count) ++bits;
        std::size_t const size = std::size_t{1} << bits;
        larger.m_memory = NewSlots(size);
        larger.m_slots = reinterpret_cast<SLOT*>(larger.m_memory.get());
        larger.m_mask = size - 1;
        larger.m_shift = HASH_BITS - bits;
        larger.m_limit = LimitOf(size);
        for (std::size_t at = 0; m_slots && at <= m_mask; ++at)
            if (m_slots[at].id != NONE) larger.Insert(m_slots[at].hash, m_slots[at].id);
        *this = std::move(larger);
    }

    static SYSTEM_MEMORY::BYTES NewSlots(std::size_t count) {
        std::size_t const size = count * sizeof(SLOT);
        bool const isLarge = size >= SYSTEM_MEMORY::HUGE_PAGE;
        auto memory = isLarge ? SYSTEM_MEMORY::Map(size) : SYSTEM_MEMORY::Allocate(size);
        if (!memory) throw std::bad_alloc();
        auto* const slots = reinterpret_cast<SLOT*>(memory.get());
        isLarge ? std::uninitialized_default_construct_n(slots, count)  // a mapping is zero
                : std::uninitialized_value_construct_n(slots, count);
        return memory;
    }

    SYSTEM_MEMORY::BYTES m_memory = SYSTEM_MEMORY::Nothing();
    SLOT* m_slots = nullptr;
    std::size_t m_mask = 0;
    std::size_t m_count = 0;
    std::size_t m_limit = 0;  // of m_count, before searches become long
    unsigned m_shift = 0;     // brings a hash down to a place
};
