/** @file
 * Who owns the ticket of a ticket::Store, and what the store remembers of its changes. C++17.
 */
#ifndef CONFIGURATIONCONTROL_STORE_TICKET_H
#define CONFIGURATIONCONTROL_STORE_TICKET_H

#include <atomic>
#include <cstdint>
#include <functional>
#include <set>
#include <string>
#include <utility>

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

/** Keys in order. No hash table: its keys come from files too, and std::hash has no secret against made collisions. */
using KeySet = std::set<std::string, std::less<>>;

/** What a store has changed since its last save. Used with the ticket's mutex held. */
template <typename Lazy>
struct BasicJournal {
    KeySet keys;             /**< set or erased */
    bool everything = false; /**< memory was short for a key: the whole store is to be written */

    bool empty() const { return keys.empty() && !everything; }
    /** Adds what another journal holds. Allocates nothing. */
    void merge(BasicJournal& other) noexcept {
        keys.merge(other.keys);
        everything = everything || other.everything;
    }
};
using Journal = BasicJournal<void>;

}  // namespace ticket::detail

#endif
