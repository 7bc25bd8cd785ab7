// The hash table from keys to the ids under which their owner keeps them.
//
// The table is an array of hashes with their ids, in ascending order, with free slots between them: the leading bits of
// a hash name its home slot, and it stands there or in one of the next slots. A search looks at 1.8 slots on average
// when the table is three fifths full. Thanks to the order the table grows in one pass, without a look at a key, and
// searches stay short: among a million keys the longest looks at some 35 slots, even in a full table.
//
// A search that becomes longer than LongestOf allows means that the secret of the hash is known. The table is then
// rebuilt with another secret; see KeyHash.h.
#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <new>
#include <string_view>
#include <utility>
#include <vector>

#include "Store/KeyHash.h"

class KEY_INDEX {
 public:
    using ID = uint32_t;
    static constexpr ID NONE = 0;  // no key has this id

    // 31 bits, so that no hash is that of a free slot.
    uint32_t Hash(std::string_view key) const {
        return static_cast<uint32_t>(KEY_HASH::Hash(key, m_secret) >> (64 - HASH_BITS));
    }

    std::size_t Count() const { return m_count + m_waitingCount; }

    // Returns the first result of `match(id)` that is not zero, among the ids with this hash; zero if there is none.
    template <typename MATCH>
    auto Find(uint32_t hash, MATCH const& match) const -> decltype(match(ID{})) {
        SLOT const* slot = m_slots.data();
        if (!slot) return {};
        slot += Home(hash);
        while (slot->hash < hash) ++slot;
        for (; slot->hash == hash; ++slot) {
            auto const found = match(slot->id);
            if (__builtin_expect(found != decltype(found){}, true)) return found;  // two keys hardly share a hash
        }
        if (m_waitingCount == 0) return {};
        for (std::size_t i = NextWaiting(hash, 0); i < m_waitingCount; i = NextWaiting(hash, i + 1))
            if (auto const found = match(m_waiting[i].id)) return found;
        return {};
    }

    // Makes room for `more` keys. `keyOf(id)` is the key of an id. Returns whether hashes have changed, which then
    // must be computed again. Throws std::bad_alloc and then has changed nothing.
    template <typename KEY_OF>
    bool Reserve(std::size_t more, KEY_OF const& keyOf) {
        if (Count() + more > m_limit) Grow(Count() + more);
        if (!m_isCrowded) return false;
        Rekey(keyOf);
        return true;
    }

    // Needs a Reserve before it.
    void Insert(uint32_t hash, ID id) noexcept {
        Settle();
        Enter(hash, id);
    }

    // The same for keys that arrive in order. A key waits until sixteen have come or another change is made, while the
    // processor fetches its slot: a load of 100,000 keys takes 0.85 of the time, of a million 0.6.
    void InsertLater(uint32_t hash, ID id) noexcept {
        if (m_waitingCount == MOST_WAITING) Settle();
        m_waiting[m_waitingCount++] = {hash, id};
        Prefetch(hash);
    }

    // The id must be in the table under this hash.
    void Erase(uint32_t hash, ID id) noexcept {
        Settle();
        std::size_t at = Home(hash);
        while (m_slots[at].id != id) ++at;
        // Hashes that are not at home move back by one slot.
        for (; m_slots[at + 1].hash != FREE && Home(m_slots[at + 1].hash) <= at; ++at) m_slots[at] = m_slots[at + 1];
        m_slots[at] = {FREE, NONE};
        --m_count;
    }

    void Clear() noexcept { *this = KEY_INDEX(); }

    // Asks the processor for the slot where a search begins, or for any other memory.
    void Prefetch(uint32_t hash) const {
        if (!m_slots.empty()) Fetch(&m_slots[Home(hash)]);
    }
    static void Fetch(void const* address) {
        __builtin_prefetch(address);
        asm volatile("");  // compilers drop the calls of functions that do nothing but prefetch
    }

 private:
    struct SLOT {
        uint32_t hash;
        ID id;
    };

    static constexpr unsigned HASH_BITS = 31;
    static constexpr uint32_t FREE = UINT32_MAX;  // above every hash
    static constexpr unsigned FIRST_BITS = 4;
    static constexpr unsigned REKEY_ATTEMPTS = 8;
    static constexpr std::size_t MOST_WAITING = 16;

    static constexpr std::size_t LimitOf(std::size_t homes) { return homes / 16 * 13; }
    // The greatest distance, in slots, between the home of a hash and its slot. In a full table of a thousand homes
    // chance alone led to 17 of 36 slots, of four million homes to 34 of 60.
    static constexpr std::size_t LongestOf(unsigned bits) { return 16 + 2 * bits; }

    std::size_t Home(uint32_t hash) const { return hash >> m_shift; }

    // The first waiting key with this hash from `begin` on, or m_waitingCount. Not inlined: most searches end before.
    [[gnu::noinline]] std::size_t NextWaiting(uint32_t hash, std::size_t begin) const {
        while (begin < m_waitingCount && m_waiting[begin].hash != hash) ++begin;
        return begin;
    }

    void Settle() noexcept {
        for (std::size_t i = 0; i < m_waitingCount; ++i) Enter(m_waiting[i].hash, m_waiting[i].id);
        m_waitingCount = 0;
    }

    void Enter(uint32_t hash, ID id) noexcept {
        std::size_t const home = Home(hash);
        std::size_t at = home;
        while (m_slots[at].hash <= hash) ++at;
        std::size_t end = at;
        while (m_slots[end].hash != FREE) ++end;
        for (std::size_t i = end; i > at; --i) m_slots[i] = m_slots[i - 1];
        m_slots[at] = {hash, id};
        ++m_count;
        // The homes of the moved hashes are not before this one, so none of them stands further away than `end`.
        if (end - home >= m_longest && LongestDistance(at, end) >= m_longest) m_isCrowded = true;
    }

    // The greatest distance of a hash in these slots, the last included, from its home.
    [[gnu::noinline]] std::size_t LongestDistance(std::size_t begin, std::size_t last) const {
        std::size_t longest = 0;
        for (std::size_t i = begin; i <= last; ++i) longest = std::max(longest, i - Home(m_slots[i].hash));
        return longest;
    }

    KEY_INDEX WithHomes(unsigned bits) const {
        if (bits > HASH_BITS) throw std::bad_alloc();
        KEY_INDEX table;
        std::size_t const homes = std::size_t{1} << bits;
        table.m_longest = LongestOf(bits);
        // All waiting keys may enter before a search is found too long. The last slot stays free and ends every search.
        table.m_slots.assign(homes + table.m_longest + MOST_WAITING + 1, SLOT{FREE, NONE});
        table.m_shift = HASH_BITS - bits;
        table.m_limit = LimitOf(homes);
        table.m_secret = m_secret;
        return table;
    }

    unsigned Bits() const { return m_slots.empty() ? FIRST_BITS : HASH_BITS - m_shift; }

    // Not inlined: rare.
    [[gnu::noinline]] void Grow(std::size_t count) {
        unsigned bits = Bits();
        while (bits < HASH_BITS && LimitOf(std::size_t{1} << bits) < count) ++bits;
        KEY_INDEX larger = WithHomes(bits);
        std::size_t next = 0;
        for (SLOT const& slot : m_slots) {
            if (slot.hash == FREE) continue;
            next = std::max(next, larger.Home(slot.hash));
            larger.m_slots[next++] = slot;
        }
        larger.m_count = m_count;
        larger.m_waiting = m_waiting;
        larger.m_waitingCount = m_waitingCount;
        larger.m_isCrowded = m_isCrowded;
        *this = std::move(larger);
    }

    // Not inlined: only chance or hostile keys lead here.
    template <typename KEY_OF>
    [[gnu::noinline]] void Rekey(KEY_OF const& keyOf) {
        Settle();
        // More than half full, the table may be crowded by chance; so it becomes larger as well.
        unsigned const bits = Bits() + (m_count > m_limit / 2 ? 1 : 0);
        for (unsigned attempt = 0; attempt < REKEY_ATTEMPTS; ++attempt) {
            KEY_INDEX table = WithHomes(bits);
            table.m_secret = KEY_HASH::NewSecret();
            for (auto slot = m_slots.begin(); slot != m_slots.end() && !table.m_isCrowded; ++slot)
                if (slot->hash != FREE) table.Insert(table.Hash(keyOf(slot->id)), slot->id);
            if (table.m_isCrowded) continue;
            *this = std::move(table);
            return;
        }
        throw std::bad_alloc();
    }

    std::vector<SLOT> m_slots;
    std::size_t m_waitingCount = 0;
    std::size_t m_count = 0;    // of the keys in m_slots
    std::size_t m_limit = 0;    // of m_count, before searches become long
    std::size_t m_longest = 0;  // see LongestOf
    unsigned m_shift = 0;       // brings a hash down to its home
    bool m_isCrowded = false;   // a hash stands too far from its home
    KEY_HASH::SECRET m_secret = KEY_HASH::ProcessSecret();
    std::array<SLOT, MOST_WAITING> m_waiting{};
};
