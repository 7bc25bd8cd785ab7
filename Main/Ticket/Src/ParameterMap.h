// The ordered container beneath a ticket: key to value, in ascending byte order.
//
// Three parts share the work: an arena holds the values with their keys, a hash table finds a key in about two memory
// accesses whatever the number of keys, and an index keeps the order for walks. Lookups take views and allocate
// nothing. A value stays where it is until its own key is erased.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string_view>
#include <utility>
#include <vector>

#include "KeyHash.h"
#include "ParameterArena.h"
#include "ParameterOrder.h"

template <typename VALUE>
class PARAMETER_MAP {
 public:
    // A place in the key order, usable until the next insertion or erasure. False past the last key.
    class POSITION {
     public:
        explicit operator bool() const { return m_entry != nullptr; }
        std::string_view Key() const { return m_entry->Key(); }
        VALUE const& Value() const { return *m_entry; }

     private:
        friend class PARAMETER_MAP;
        POSITION(PARAMETER_ORDER::PLACE place, PARAMETER_ENTRY<VALUE> const* entry) : m_place(place), m_entry(entry) {}
        PARAMETER_ORDER::PLACE m_place;
        PARAMETER_ENTRY<VALUE> const* m_entry;
    };

    PARAMETER_MAP() = default;
    PARAMETER_MAP(PARAMETER_MAP const& other) : PARAMETER_MAP() {
        for (auto position = other.First(); position; position = other.Next(position))
            FindOrInsert(position.Key()) = position.Value();
    }
    PARAMETER_MAP(PARAMETER_MAP&& other) noexcept : PARAMETER_MAP() { *this = std::move(other); }
    // `other` receives what this map held.
    PARAMETER_MAP& operator=(PARAMETER_MAP&& other) noexcept {
        std::swap(m_arena, other.m_arena);
        std::swap(m_order, other.m_order);
        std::swap(m_slots, other.m_slots);
        std::swap(m_shift, other.m_shift);
        std::swap(m_count, other.m_count);
        std::swap(m_seed, other.m_seed);
        return *this;
    }
    PARAMETER_MAP& operator=(PARAMETER_MAP const&) = delete;
    ~PARAMETER_MAP() { Clear(); }

    VALUE const* Find(std::string_view key) const {
        if (m_slots.empty()) return nullptr;
        ID const id = m_slots[SlotOf(key, Tag(key))].id;
        return id == NONE ? nullptr : &m_arena[id];
    }
    VALUE* Find(std::string_view key) { return const_cast<VALUE*>(std::as_const(*this).Find(key)); }

    // The value of `key`, default-made if it is new. Either done or, on an exception, without effect.
    VALUE& FindOrInsert(std::string_view key) {
        uint32_t const tag = Tag(key);
        if (!m_slots.empty()) {
            if (ID const id = m_slots[SlotOf(key, tag)].id; id != NONE) return m_arena[id];
        }
        if (m_count + 1 > MAX_LOAD * (m_slots.size() / LOAD_UNIT)) Grow();
        ID const id = m_arena.Make(key);
        try {
            m_order.Insert(m_order.PartitionPoint(IsBefore(key)), id);
        } catch (...) {
            m_arena.Free(id);
            throw;
        }
        m_slots[FreeSlot(tag)] = {tag, id};
        ++m_count;
        return m_arena[id];
    }

    // `key` may be a view of the erased key or value.
    bool Erase(std::string_view key) noexcept {
        if (m_slots.empty()) return false;
        std::size_t const slot = SlotOf(key, Tag(key));
        ID const id = m_slots[slot].id;
        if (id == NONE) return false;
        if (m_count == 1) {
            Clear();
            return true;
        }
        m_order.Erase(m_order.PartitionPoint(IsBefore(key)));
        Vacate(slot);
        m_arena.Free(id);
        --m_count;
        return true;
    }

    void Clear() noexcept {
        for (auto place = m_order.First(); !m_order.AtEnd(place); place = m_order.Next(place))
            m_arena.Free(m_order[place]);
        m_order.Clear();
        m_arena.Clear();
        std::vector<SLOT>().swap(m_slots);
        m_count = 0;
    }

    POSITION First() const { return At(m_order.First()); }
    POSITION Next(POSITION const& position) const { return At(m_order.Next(position.m_place)); }
    // The first key that is greater than `key`, whether that is here or not.
    POSITION After(std::string_view key) const {
        return At(m_order.PartitionPoint([&](ID id) { return m_arena[id].Key() <= key; }));
    }

 private:
    using ID = uint32_t;
    static constexpr ID NONE = PARAMETER_ARENA<VALUE>::NONE;

    // One place of the hash table: the hash of the key, and its entry or NONE. A key stands in the first free slot from
    // the one that the leading bits of its hash name.
    struct SLOT {
        uint32_t tag;
        ID id;
    };

    static constexpr std::size_t FIRST_SLOTS = 16;
    static constexpr std::size_t MAX_LOAD = 13;  // used slots of LOAD_UNIT, at most
    static constexpr std::size_t LOAD_UNIT = 16;

    uint32_t Tag(std::string_view key) const { return static_cast<uint32_t>(KEY_HASH::Hash(key, m_seed)); }
    std::size_t Home(uint32_t tag) const { return tag >> m_shift; }
    std::size_t NextSlot(std::size_t slot) const { return (slot + 1) & (m_slots.size() - 1); }

    // Where a key stands, or else the free slot that ends the search for it.
    std::size_t SlotOf(std::string_view key, uint32_t tag) const {
        std::size_t slot = Home(tag);
        while (m_slots[slot].id != NONE && !(m_slots[slot].tag == tag && m_arena[m_slots[slot].id].Key() == key))
            slot = NextSlot(slot);
        return slot;
    }

    std::size_t FreeSlot(uint32_t tag) const {
        std::size_t slot = Home(tag);
        while (m_slots[slot].id != NONE) slot = NextSlot(slot);
        return slot;
    }

    void Grow() {
        std::vector<SLOT> old(m_slots.empty() ? FIRST_SLOTS : 2 * m_slots.size());
        m_shift = m_slots.empty() ? 32 - 4 : m_shift - 1;
        m_slots.swap(old);
        for (SLOT const& slot : old)
            if (slot.id != NONE) m_slots[FreeSlot(slot.tag)] = slot;
    }

    // Empties a slot and moves up what was placed behind it only because it was taken.
    void Vacate(std::size_t hole) noexcept {
        std::size_t const mask = m_slots.size() - 1;
        for (std::size_t slot = NextSlot(hole); m_slots[slot].id != NONE; slot = NextSlot(slot)) {
            std::size_t const displacement = (slot - Home(m_slots[slot].tag)) & mask;
            if (displacement < ((slot - hole) & mask)) continue;
            m_slots[hole] = m_slots[slot];
            hole = slot;
        }
        m_slots[hole].id = NONE;
    }

    auto IsBefore(std::string_view key) const {
        return [this, key](ID id) { return m_arena[id].Key() < key; };
    }

    POSITION At(PARAMETER_ORDER::PLACE place) const {
        return {place, m_order.AtEnd(place) ? nullptr : &m_arena[m_order[place]]};
    }

    PARAMETER_ARENA<VALUE> m_arena;
    PARAMETER_ORDER m_order;
    std::vector<SLOT> m_slots;
    unsigned m_shift = 0;  // brings a tag down to a slot
    std::size_t m_count = 0;
    uint64_t m_seed = KEY_HASH::Seed();
};
