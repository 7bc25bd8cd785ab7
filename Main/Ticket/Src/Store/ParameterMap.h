// The ordered container beneath a ticket: key to value, in ascending byte order.
//
// Three parts share the work: an arena holds the values with their keys, a hash table finds a key in about two memory
// accesses whatever the number of keys, and an index keeps the order for walks. Lookups take views and allocate
// nothing. A value stays where it is until its own key is erased.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>
#include <utility>

#include "Store/KeyIndex.h"
#include "Store/ParameterArena.h"
#include "Store/ParameterOrder.h"

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
        POSITION(PARAMETER_ORDER::PLACE place, KEYED_VALUE<VALUE> const* entry) : m_place(place), m_entry(entry) {}
        PARAMETER_ORDER::PLACE m_place;
        KEYED_VALUE<VALUE> const* m_entry;
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
        std::swap(m_index, other.m_index);
        return *this;
    }
    PARAMETER_MAP& operator=(PARAMETER_MAP const&) = delete;
    ~PARAMETER_MAP() { Clear(); }

    VALUE const* Find(std::string_view key) const {
        ID const id = m_index.Find(m_index.Hash(key), HasKey(key));
        return id == NONE ? nullptr : &m_arena[id];
    }
    VALUE* Find(std::string_view key) { return const_cast<VALUE*>(std::as_const(*this).Find(key)); }

    // For lookups that are known beforehand: Prepare all their keys, Prefetch what that returned, then Find each. Hints
    // only, that make the waits for memory overlap; MayMissCaches tells whether they are worth their own time.
    bool MayMissCaches() const { return m_index.Count() > KEYS_IN_CACHE; }
    uint32_t Prepare(std::string_view key) const {
        uint32_t const hash = m_index.Hash(key);
        m_index.Prefetch(hash);
        return hash;
    }
    void Prefetch(uint32_t hash) const {
        ID const id = m_index.Guess(hash);
        if (id != NONE) KEY_INDEX::Fetch(&m_arena[id]);
    }

    // The value of `key`; a default-made one if the key is new. Throws std::bad_alloc and then has changed nothing.
    VALUE& FindOrInsert(std::string_view key) {
        uint32_t hash = m_index.Hash(key);
        // Files hold their keys in order: a key that comes last needs no search.
        bool const isLast = m_isAppending && (m_order.Empty() || IsBefore(key)(m_order.Last()));
        if (!isLast) {
            ID const id = m_index.Find(hash, HasKey(key));
            if (id != NONE) {
                m_isAppending = false;
                return m_arena[id];
            }
        }
        if (Reserve(1)) hash = m_index.Hash(key);
        ID const id = m_arena.Make(key);
        try {
            auto const place = isLast ? m_order.End() : m_order.PartitionPoint(IsBefore(key));
            m_isAppending = m_order.AtEnd(place);
            m_order.Insert(place, id);
        } catch (...) {
            m_arena.Free(id);
            throw;
        }
        isLast ? m_index.InsertLater(hash, id) : m_index.Insert(hash, id);
        return m_arena[id];
    }

    // Makes room in the index for `more` keys; returns whether hashes have changed. Throws std::bad_alloc and then has
    // changed nothing.
    bool Reserve(std::size_t more) {
        return m_index.Reserve(more, [this](ID id) { return m_arena[id].Key(); });
    }

    // `key` may be a view of the erased key or value.
    bool Erase(std::string_view key) noexcept {
        uint32_t const hash = m_index.Hash(key);
        ID const id = m_index.Find(hash, HasKey(key));
        if (id == NONE) return false;
        if (m_index.Count() == 1) {
            Clear();
            return true;
        }
        m_order.Erase(m_order.PartitionPoint(IsBefore(key)));
        m_index.Erase(hash, id);
        m_arena.Free(id);
        return true;
    }

    void Clear() noexcept {
        for (auto place = m_order.First(); !m_order.AtEnd(place); place = m_order.Next(place))
            m_arena.Free(m_order[place]);
        m_order.Clear();
        m_index.Clear();
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
    using ID = KEY_INDEX::ID;
    static constexpr ID NONE = KEY_INDEX::NONE;
    static_assert(NONE == PARAMETER_ARENA<VALUE>::NONE);

    // More do not fit in a first-level cache.
    static constexpr std::size_t KEYS_IN_CACHE = 1000;

    // As many steps of a walk take as long as memory does to answer.
    static constexpr std::size_t STEPS_AHEAD = 8;

    auto HasKey(std::string_view key) const {
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
    KEY_INDEX m_index;
    // Whether FindOrInsert last made a key at the end, where the next one is then tried first. A hint only: a stale
    // value is harmless.
    bool m_isAppending = true;
};
