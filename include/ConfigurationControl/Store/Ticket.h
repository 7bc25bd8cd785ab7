/** @file
 * Who owns the ticket of a ticket::Store, and what the store remembers of its changes. C++17.
 */
#ifndef CONFIGURATIONCONTROL_STORE_TICKET_H
#define CONFIGURATIONCONTROL_STORE_TICKET_H

#include <cstdint>
#include <map>
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
 * while a save is under way waits for the next one.
 */
template <typename Lazy>
class BasicJournal {
 public:
    /** A save under way. */
    struct Saving {
        int number;
        bool everything; /**< it writes the whole store */
    };

    /** Adds a key. May throw std::bad_alloc; then the key is not added. */
    void add(std::string_view key) {
        auto const place = m_keys.lower_bound(key);
        if (place != m_keys.end() && place->first == key)
            place->second = m_saves;
        else
            m_keys.emplace_hint(place, key, m_saves);
    }
    /** The whole store is to be written, whatever keys it has. */
    void add_everything() { m_everything = true; }

    bool empty() const { return !m_everything && m_keys.empty(); }
    bool has_everything() const { return m_everything; }
    bool contains(std::string_view key) const { return m_keys.find(key) != m_keys.end(); }
    std::vector<std::string> keys() const {
        std::vector<std::string> keys;
        for (auto const& [key, save] : m_keys) keys.push_back(key);
        return keys;
    }

    /** Begins a save. */
    Saving begin() { return {m_saves++, std::exchange(m_everything, false)}; }
    /** The save has failed. Allocates nothing. */
    void fail(Saving const& saving) noexcept { m_everything = m_everything || saving.everything; }
    /** The save is done. Allocates nothing. */
    void finish(Saving const& saving) noexcept {
        for (auto it = m_keys.begin(); it != m_keys.end();) it = it->second <= saving.number ? m_keys.erase(it) : ++it;
    }

 private:
    // Ordered: keys come from files, too, and a hostile one could make them collide in the standard hash.
    std::map<std::string, int, std::less<>> m_keys;
    int m_saves = 0;  // the number of saves that have begun
    bool m_everything = false;
};
using Journal = BasicJournal<void>;

}  // namespace ticket::detail

#endif
