/** @file
 * Who owns the ticket of a ticket::Store, and what the store remembers of its changes. C++17.
 */
#ifndef CONFIGURATIONCONTROL_STORE_TICKET_H
#define CONFIGURATIONCONTROL_STORE_TICKET_H

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "ConfigurationControl/Store/Table.h"

namespace ticket::detail {

/** One ticket, shared by a store and its watches, so that a watch may outlive the store. */
class SharedTicket {
 public:
    SharedTicket() = default;
    /** Shares in a ticket that is destroyed with its last owner; with `owned` false it never is. */
    SharedTicket(Table table, bool owned) : m_owners(new Owners{1, table, owned}) {}
    SharedTicket(SharedTicket const& other) noexcept : m_owners(other.m_owners) {
        if (m_owners != nullptr) __atomic_add_fetch(&m_owners->count, 1, __ATOMIC_RELAXED);
    }
    SharedTicket(SharedTicket&& other) noexcept : m_owners(std::exchange(other.m_owners, nullptr)) {}
    SharedTicket& operator=(SharedTicket other) noexcept {
        std::swap(m_owners, other.m_owners);
        return *this;
    }
    ~SharedTicket() {
        if (m_owners == nullptr || __atomic_sub_fetch(&m_owners->count, 1, __ATOMIC_ACQ_REL) != 0) return;
        if (m_owners->owned) STicketInstance.Destroy(m_owners->table);
        delete m_owners;
    }

    Table table() const { return m_owners != nullptr ? m_owners->table : nullptr; }

 private:
    struct Owners {
        int count;  // changed by atomic built-in functions: every program would compile <atomic> for it
        Table table;
        bool owned;
    };

    Owners* m_owners = nullptr;
};

/** All keys of a ticket. With the mutex held. */
template <typename Key = std::string>
std::vector<Key> keys_of(Table table) {
    std::vector<Key> keys;
    walk_keys(table, [&](char const* key) {
        keys.emplace_back(key);
        return true;
    });
    return keys;
}

/**
 * The keys that a store has set or erased since its last save. Used with the mutex of the store's ticket held.
 *
 * Each key has the number of the save that is to write it. So a failed save has nothing to restore, and what is set
 * while a save is under way waits for the next one. A hash table of its own: each set looks its key up, and programs
 * would compile <unordered_map> for it.
 */
template <typename Lazy>
class BasicJournal {
 public:
    /** One save: what it writes. */
    struct Saving {
        int number;      /**< it writes the keys up to this number */
        bool everything; /**< it writes the whole store */
    };

    /** Adds a key. May throw std::bad_alloc; then the key is not added. */
    void add(std::string_view key) {
        if (2 * m_used >= m_slots.size()) make_room();
        Changed& slot = m_slots[find(key)];
        if (slot.save == UNUSED) {
            slot.key.assign(key.data(), key.size());
            ++m_used;
        }
        if (slot.save < 0) ++m_waiting;
        slot.save = m_saves;
    }
    /** The whole store is to be written, whatever keys it has. */
    void add_everything() { m_everything = true; }

    bool empty() const { return !m_everything && m_waiting == 0; }
    bool has_everything() const { return m_everything; }
    bool contains(std::string_view key) const { return m_waiting != 0 && m_slots[find(key)].save >= 0; }
    std::vector<std::string> keys() const {
        std::vector<std::string> keys;
        for (Changed const& slot : m_slots)
            if (slot.save >= 0) keys.push_back(slot.key);
        return keys;
    }

    /** Begins a save. */
    Saving begin() { return {m_saves++, std::exchange(m_everything, false)}; }
    /** The save has failed. Allocates nothing. */
    void fail(Saving const& saving) noexcept { m_everything = m_everything || saving.everything; }
    /** The save is done. Allocates nothing. */
    void finish(Saving const& saving) noexcept {
        for (Changed& slot : m_slots) {
            if (slot.save < 0 || slot.save > saving.number) continue;
            slot.save = WRITTEN;
            --m_waiting;
        }
    }

 private:
    static constexpr int WRITTEN = -1, UNUSED = -2;
    struct Changed {
        std::string key;
        int save = UNUSED;  // the number of the save that is to write the key
    };

    /** The slot of a key, or the unused one that is for it. */
    std::size_t find(std::string_view key) const {
        for (std::size_t hash = std::hash<std::string_view>()(key);; ++hash) {
            std::size_t const at = hash & (m_slots.size() - 1);
            if (m_slots[at].save == UNUSED || m_slots[at].key == key) return at;
        }
    }
    /** Makes room for another key: drops those that were written, and doubles the table if the others need it. */
    void make_room() {
        std::size_t const size = m_slots.empty() ? 16 : m_slots.size();
        std::vector<Changed> slots(4 * m_waiting < size ? size : 2 * size);
        m_slots.swap(slots);
        m_used = m_waiting;
        for (Changed& slot : slots)
            if (slot.save >= 0) m_slots[find(slot.key)] = std::move(slot);
    }

    std::vector<Changed> m_slots;  // a power of two, at most half of them used
    std::size_t m_used = 0;
    std::size_t m_waiting = 0;  // keys that no save has written
    int m_saves = 0;            // the number of saves that have begun
    bool m_everything = false;
};
using Journal = BasicJournal<void>;

}  // namespace ticket::detail

#endif
