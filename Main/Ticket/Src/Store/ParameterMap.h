// The ordered container beneath a ticket: key to value, in ascending byte order.
//
// Three parts share the work: an arena holds the values with their keys, a hash table finds a key in about two memory
// accesses however many keys there are, and an ordered index serves walks. Lookups allocate and change nothing. A value
// stays at its address until its own key is erased. Among 10,000 keys a search takes 13 ns, in a standard map 190 ns.
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
    // A position in the key order, valid until the next insertion or erasure. False past the last key.
    class POSITION {
     public:
        explicit operator bool() const { return m_value != nullptr; }
        std::string_view Key() const { return m_value->Key(); }
        VALUE const& Value() const { return *m_value; }

     private:
        friend class PARAMETER_MAP;
        POSITION(PARAMETER_ORDER::CURSOR cursor, KEYED_VALUE<VALUE> const* value) : m_cursor(cursor), m_value(value) {}
        PARAMETER_ORDER::CURSOR m_cursor;
        KEYED_VALUE<VALUE> const* m_value;
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

    VALUE const* Find(std::string_view key) const { return m_index.Find(Hash(key), WithKey(key)); }
    VALUE* Find(std::string_view key) { return const_cast<VALUE*>(std::as_const(*this).Find(key)); }

    // Many lookups in three steps, each for all keys, so that the waits for memory overlap. Prepare hashes a key and
    // fetches the slot where its search begins. Candidate fetches the value that probably has the key; null if there is
    // none. HasKey tells whether it has. The map must stay unchanged meanwhile. MayMissCaches tells whether this pays:
    // among 10,000 keys a batch of reads takes less time, among few it takes more instructions.
    bool MayMissCaches() const { return m_index.Count() > KEYS_IN_CACHE; }
    uint32_t Prepare(std::string_view key) const {
        uint32_t const hash = Hash(key);
        m_index.Prefetch(hash);
        return hash;
    }
    VALUE const* Candidate(uint32_t hash) const {
        return m_index.Find(hash, [this](ID id) {
            KEY_INDEX::Fetch(&m_arena[id]);
            return &m_arena[id];
        });
    }
    // `value` must be one of a map.
    static bool HasKey(VALUE const& value, std::string_view key) {
        return static_cast<KEYED_VALUE<VALUE> const&>(value).HasKey(key);
    }

    // The value of `key`, made if the key is new. Throws std::bad_alloc and then has changed nothing.
    VALUE& FindOrInsert(std::string_view key) {
        uint32_t const hash = Hash(key);
        // Files hold their keys in order: after an insertion at the end, the next key is tried there without a search.
        if (m_isAppending && (m_order.Empty() || IsBefore(key)(m_order.Last()))) return Append(key, hash);
        if (auto* const found = m_index.Find(hash, WithKey(key))) {
            m_isAppending = false;
            return *found;
        }
        return Insert(key, hash);
    }

    // Makes space for `more` keys; tells whether hashes have changed. If it throws (std::bad_alloc), nothing has
    // changed.
    bool Reserve(std::size_t more) {
        return m_index.Reserve(more, [this](ID id) { return m_arena[id].Key(); });
    }

    // `key` may be a view of the erased key or value.
    bool Erase(std::string_view key) noexcept {
        uint32_t const hash = Hash(key);
        if (!m_index.Find(hash, WithKey(key))) return false;
        if (m_index.Count() == 1) {
            Clear();
            return true;
        }
        auto const cursor = m_order.PartitionPoint(IsBefore(key));
        ID const id = m_order[cursor];
        m_order.Erase(cursor);
        m_index.Erase(hash, id);
        m_arena.Free(id);
        return true;
    }

    void Clear() noexcept {
        m_order.ForEach([this](ID id) { m_arena.Destroy(id); });
        m_order.Clear();
        m_index.Clear();
        m_arena.Clear();
    }

    POSITION First() const { return At(m_order.First()); }
    POSITION Next(POSITION const& position) const { return At(m_order.Next(position.m_cursor)); }
    // A value that a walk will come to soon, so that what it points to can be fetched; null if there is none near.
    VALUE const* Ahead(POSITION const& position) const {
        ID const id = m_order.Ahead(position.m_cursor, STEPS_AHEAD);
        return id == NONE ? nullptr : &m_arena[id];
    }
    // The first key that is greater than `key`, which need not exist.
    POSITION After(std::string_view key) const {
        return At(m_order.PartitionPoint([&](ID id) { return m_arena[id].Key() <= key; }));
    }

 private:
    using ID = KEY_INDEX::ID;
    static constexpr ID NONE = KEY_INDEX::NONE;
    static_assert(NONE == PARAMETER_ARENA<VALUE>::NONE);

    static constexpr std::size_t KEYS_IN_CACHE = 1000;  // more do not fit into a first-level cache

    // So many steps of a walk take about as long as a fetch from memory.
    static constexpr std::size_t STEPS_AHEAD = 8;

    // Adds a value for a new last key. Not inlined, like Insert: finding an existing key needs few registers.
    [[gnu::noinline]] VALUE& Append(std::string_view key, uint32_t hash) {
        if (Reserve(1)) hash = Hash(key);
        ID const id = m_arena.Make(key);
        PutInOrder(id, [&] { m_order.Append(id); });
        m_index.InsertLater(hash, id);
        return m_arena[id];
    }

    // The same at the place where the key belongs.
    [[gnu::noinline]] VALUE& Insert(std::string_view key, uint32_t hash) {
        if (Reserve(1)) hash = Hash(key);
        ID const id = m_arena.Make(key);
        PutInOrder(id, [&] {
            auto const cursor = m_order.PartitionPoint(IsBefore(key));
            m_isAppending = m_order.AtEnd(cursor);
            m_order.Insert(cursor, id);
        });
        m_index.Insert(hash, id);
        return m_arena[id];
    }

    // Runs `put`; frees the new value if that throws.
    template <typename PUT>
    void PutInOrder(ID id, PUT const& put) {
        try {
            put();
        } catch (...) {
            m_arena.Free(id);
            throw;
        }
    }

    uint32_t Hash(std::string_view key) const { return m_index.Hash(key); }

    auto WithKey(std::string_view key) const {
        return [this, key](ID id) {
            auto& value = m_arena[id];
            return value.HasKey(key) ? &value : nullptr;
        };
    }
    auto IsBefore(std::string_view key) const {
        return [this, key](ID id) { return m_arena[id].Key() < key; };
    }

    POSITION At(PARAMETER_ORDER::CURSOR cursor) const {
        return {cursor, m_order.AtEnd(cursor) ? nullptr : &m_arena[m_order[cursor]]};
    }

    PARAMETER_ARENA<VALUE> m_arena;
    PARAMETER_ORDER m_order;
    KEY_INDEX m_index;
    // Whether FindOrInsert last made a key at the end; it tries the next one there first. A stale value is harmless.
    bool m_isAppending = true;
};
