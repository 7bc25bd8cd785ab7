// The ordered container beneath a ticket: key to value, in ascending byte order.
//
// Three parts share the work: an arena holds the values with their keys, a hash table finds a key in about two memory
// accesses whatever the number of keys, and an index keeps the order for walks. Lookups take views and allocate
// nothing. A value stays where it is until its own key is erased.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string_view>
#include <utility>

#include "Store/KeyHash.h"
#include "Store/ParameterArena.h"
#include "Store/ParameterOrder.h"
#include "Store/ParameterSlots.h"

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
        std::swap(m_waiting, other.m_waiting);
        std::swap(m_waitingCount, other.m_waitingCount);
        std::swap(m_seed, other.m_seed);
        return *this;
    }
    PARAMETER_MAP& operator=(PARAMETER_MAP const&) = delete;
    ~PARAMETER_MAP() { Clear(); }

    VALUE const* Find(std::string_view key) const { return FindHashed(key, Hash(key)); }
    VALUE* Find(std::string_view key) { return const_cast<VALUE*>(std::as_const(*this).Find(key)); }

    // For lookups that are known beforehand: Prepare all their keys, Prefetch what that returned, then Find each. Hints
    // only, that make the waits for memory overlap; MayMissCaches tells whether they are worth their own time.
    bool MayMissCaches() const { return m_slots.Count() > KEYS_IN_CACHE; }
    uint32_t Prepare(std::string_view key) const {
        uint32_t const hash = Hash(key);
        m_slots.Prefetch(hash);
        return hash;
    }
    void Prefetch(uint32_t hash) const {
        ID const id = m_slots.Find(hash, [](ID) { return true; });
        if (id != NONE) PARAMETER_SLOTS::Fetch(&m_arena[id]);
    }

    // The value of `key`, default-made if it is new. Either done or, on an exception, without effect.
    VALUE& FindOrInsert(std::string_view key) {
        uint32_t const hash = Hash(key);
        // Files hold their keys in order: those that come last need no search.
        bool const isLast = m_isAppending && (m_order.Empty() || IsBefore(key)(m_order.Last()));
        if (isLast) {
            m_slots.Prefetch(hash);
        } else if (VALUE const* const found = FindHashed(key, hash)) {
            m_isAppending = false;
            return const_cast<VALUE&>(*found);
        }
        Reserve(1);
        ID const id = m_arena.Make(key);
        try {
            auto const place = isLast ? m_order.End() : m_order.PartitionPoint(IsBefore(key));
            m_isAppending = m_order.AtEnd(place);
            m_order.Insert(place, id);
        } catch (...) {
            m_arena.Free(id);
            throw;
        }
        if (m_waitingCount == m_waiting.size()) Settle();
        m_waiting[m_waitingCount++] = {hash, id};
        return m_arena[id];
    }

    // Makes room in the table of keys for so many more. Throws std::bad_alloc and then has changed nothing.
    void Reserve(std::size_t more) { m_slots.Reserve(m_waitingCount + more); }

    // `key` may be a view of the erased key or value.
    bool Erase(std::string_view key) noexcept {
        Settle();
        uint32_t const hash = Hash(key);
        ID const id = m_slots.Find(hash, IsKey(key));
        if (id == NONE) return false;
        if (m_slots.Count() == 1) {
            Clear();
            return true;
        }
        m_order.Erase(m_order.PartitionPoint(IsBefore(key)));
        m_slots.Erase(hash, id);
        m_arena.Free(id);
        return true;
    }

    void Clear() noexcept {
        for (auto place = m_order.First(); !m_order.AtEnd(place); place = m_order.Next(place))
            m_arena.Free(m_order[place]);
        m_order.Clear();
        m_slots.Clear();
        m_waitingCount = 0;
        m_arena.Clear();
    }

    POSITION First() const { return At(m_order.First()); }
    POSITION Next(POSITION const& position) const { return At(m_order.Next(position.m_place)); }
    // A value that a walk will come to soon, so that what it points to can be fetched; null if there is none near.
    VALUE const* Ahead(POSITION const& position) const {
        ID const id = m_order.Ahead(position.m_place, STEPS_AHEAD);
        return id == NONE ? nullptr : &m_arena[id];
    }
    // The first key that is greater than `key`, whether that is here or not.
    POSITION After(std::string_view key) const {
        return At(m_order.PartitionPoint([&](ID id) { return m_arena[id].Key() <= key; }));
    }

 private:
    using ID = PARAMETER_SLOTS::ID;
    static constexpr ID NONE = PARAMETER_SLOTS::NONE;
    static_assert(NONE == PARAMETER_ARENA<VALUE>::NONE);

    uint32_t Hash(std::string_view key) const { return static_cast<uint32_t>(KEY_HASH::Hash(key, m_seed)); }

    // More do not fit in a first-level cache.
    static constexpr std::size_t KEYS_IN_CACHE = 1000;

    // As many steps of a walk take as long as memory does to answer.
    static constexpr std::size_t STEPS_AHEAD = 8;

    VALUE const* FindHashed(std::string_view key, uint32_t hash) const {
        if (m_waitingCount > 0) Settle();
        ID const id = m_slots.Find(hash, IsKey(key));
        return id == NONE ? nullptr : &m_arena[id];
    }

    // Enters the keys that wait. There is room for them.
    void Settle() const noexcept {
        for (std::size_t i = 0; i < m_waitingCount; ++i) m_slots.Insert(m_waiting[i].hash, m_waiting[i].id);
        m_waitingCount = 0;
    }

    auto IsKey(std::string_view key) const {
        return [this, key](ID id) { return m_arena[id].HasKey(key); };
    }
    auto IsBefore(std::string_view key) const {
        return [this, key](ID id) { return m_arena[id].Key() < key; };
    }

    POSITION At(PARAMETER_ORDER::PLACE place) const {
        return {place, m_order.AtEnd(place) ? nullptr : &m_arena[m_order[place]]};
    }

    PARAMETER_ARENA<VALUE> m_arena;
    PARAMETER_ORDER m_order;
    // New keys enter the table only when some have come together, or one is looked for: until then memory has time to
    // bring their places.
    static constexpr std::size_t MOST_WAITING = 16;
    mutable PARAMETER_SLOTS m_slots;
    mutable std::array<PARAMETER_SLOTS::SLOT, MOST_WAITING> m_waiting{};
    mutable std::size_t m_waitingCount = 0;
    uint64_t m_seed = KEY_HASH::Seed();
    // Whether FindOrInsert last made a key at the end, where the next one is then tried first. A hint only: whatever it
    // says, what erases, clears or moves may leave it.
    bool m_isAppending = true;
};
