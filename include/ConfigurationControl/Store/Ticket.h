/** @file
 * Who owns the ticket of a ticket::Store, and what the store remembers of its changes. C++17.
 */
#ifndef CONFIGURATIONCONTROL_STORE_TICKET_H
#define CONFIGURATIONCONTROL_STORE_TICKET_H

#include <atomic>
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
    SharedTicket(Table table, bool owned) : m_owners(new Owners{{1}, table, owned}) {}
    SharedTicket(SharedTicket const& other) noexcept : m_owners(other.m_owners) {
        if (m_owners != nullptr) ++m_owners->count;
    }
    SharedTicket(SharedTicket&& other) noexcept : m_owners(std::exchange(other.m_owners, nullptr)) {}
    SharedTicket& operator=(SharedTicket other) noexcept {
        std::swap(m_owners, other.m_owners);
        return *this;
    }
    ~SharedTicket() {
        if (m_owners == nullptr || --m_owners->count != 0) return;
        if (m_owners->owned) STicketInstance.Destroy(m_owners->table);
        delete m_owners;
    }

    Table table() const { return m_owners != nullptr ? m_owners->table : nullptr; }

 private:
    struct Owners {
        std::atomic<int> count;
        Table table;
        bool owned;
    };

    Owners* m_owners = nullptr;
};

/** A set of keys in the order in which they were added. */
template <typename Lazy>
class BasicKeySet {
 public:
    bool empty() const { return m_keys.empty(); }
    std::vector<std::string> const& keys() const { return m_keys; }
    bool contains(std::string_view key) const { return !m_slots.empty() && m_slots[find(key)] != 0; }
    void insert(std::string_view key) {
        if (m_keys.size() * 2 >= m_slots.size()) grow();
        std::size_t const slot = find(key);
        if (m_slots[slot] != 0) return;
        m_keys.emplace_back(key);
        m_slots[slot] = m_keys.size();
    }
    void insert(std::vector<std::string> const& keys) {
        for (std::string const& key : keys) insert(key);
    }

 private:
    /** The slot of a key, or the free one where it belongs. */
    std::size_t find(std::string_view key) const {
        std::size_t const mask = m_slots.size() - 1;
        std::size_t slot = std::hash<std::string_view>()(key) & mask;
        while (m_slots[slot] != 0 && m_keys[m_slots[slot] - 1] != key) slot = (slot + 1) & mask;
        return slot;
    }
    void grow() {
        m_slots.assign(m_slots.empty() ? 16 : m_slots.size() * 2, 0);
        for (std::size_t i = 0; i < m_keys.size(); ++i) m_slots[find(m_keys[i])] = i + 1;
    }

    std::vector<std::string> m_keys;
    std::vector<std::size_t> m_slots;  // 0 is free, otherwise one more than the position in m_keys; a power of two
};

using KeySet = BasicKeySet<void>;

/** What a store has changed since its last save. Used with the ticket's mutex held. */
template <typename Lazy>
struct BasicJournal {
    BasicKeySet<Lazy> keys;  /**< set or erased */
    bool everything = false; /**< memory was short for a key: the whole store is to be written */

    bool empty() const { return keys.empty() && !everything; }
    /** Adds what another journal holds. */
    void merge(BasicJournal other) {
        keys.insert(other.keys.keys());
        everything = everything || other.everything;
    }
};
using Journal = BasicJournal<void>;

}  // namespace ticket::detail

#endif
