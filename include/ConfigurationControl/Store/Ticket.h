/** @file
 * Who owns the ticket of a ticket::Store, and what the store remembers of its changes. C++17.
 */
#ifndef CONFIGURATIONCONTROL_STORE_TICKET_H
#define CONFIGURATIONCONTROL_STORE_TICKET_H

#include <cstdint>
#include <string>
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
    SharedTicket(SharedTicket&& other) noexcept { swap(other); }
    SharedTicket& operator=(SharedTicket other) noexcept {
        swap(other);
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

    void swap(SharedTicket& other) noexcept {
        Owners* const owners = m_owners;
        m_owners = other.m_owners;
        other.m_owners = owners;
    }

    Owners* m_owners = nullptr;
};

/**
 * The functions of watches that this thread is calling, from the innermost on: one object on the stack for each. What
 * such a function changes is notified after it has returned, so the journal does not know it before.
 */
class WatchCall {
 public:
    explicit WatchCall(Table table) : m_table(table), m_outer(t_innermost) { t_innermost = this; }
    ~WatchCall() { t_innermost = m_outer; }
    WatchCall(WatchCall const&) = delete;
    WatchCall& operator=(WatchCall const&) = delete;

    /** Whether this thread is calling one for a change of that ticket. */
    static bool is_under_way(Table table) {
        for (WatchCall const* call = t_innermost; call != nullptr; call = call->m_outer)
            if (call->m_table == table) return true;
        return false;
    }

 private:
    static inline thread_local WatchCall const* t_innermost = nullptr;

    Table m_table;
    WatchCall const* m_outer;
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
 * A ticket in memory holds the keys, each with the number of the save that is to write it. So a failed save has nothing
 * to restore, and what is set while a save is under way waits for the next one. A std::map is no faster, and including
 * it takes a tenth more time to compile than Store.h; std::hash is no protection against keys that were chosen to
 * collide.
 */
template <typename Lazy>
class BasicJournal {
 public:
    /** One save: what it writes. */
    struct Saving {
        int number;      /**< it writes the keys up to this number */
        bool everything; /**< it writes the whole store */
    };

    /** Begins; until then it is empty. */
    void open() { m_keys = SharedTicket(STicketInstance.Create(nullptr), true); }

    /** Adds a key. Without memory for it, the whole store is to be written. */
    void add(char const* key) {
        Slot const slot{m_keys.table(), key};
        int number = 0;
        if (slot.get(PARAM_INT, &number) && number == m_saves) return;
        m_newest = m_saves;
        if (m_keys.table()->SetParameter(m_keys.table()->pTicket, key, PARAM_INT, &m_saves, SCALAR_INDEX) == 0)
            add_everything();
    }
    /** The whole store is to be written, whatever keys it has. */
    void add_everything() { m_everything = true; }

    bool empty() const { return !m_everything && count() == 0; }
    bool has_everything() const { return m_everything; }
    bool contains(char const* key) const { return Slot{m_keys.table(), key}.get(PARAM_NONE, nullptr); }
    std::vector<std::string> keys() const { return keys_of(m_keys.table()); }

    /** Begins a save. */
    Saving begin() {
        Saving const saving{m_saves++, m_everything};
        m_everything = false;
        return saving;
    }
    /** The save has failed. Allocates nothing. */
    void fail(Saving const& saving) noexcept { m_everything = m_everything || saving.everything; }
    /** The save is done. */
    void finish(Saving const& saving) {
        if (m_newest <= saving.number) {
            m_keys.table()->Operation(m_keys.table()->pTicket, STICKET_OP_CLEAR, nullptr);  // allocates nothing
            return;
        }
        for (std::string const& key : keys()) {
            int number = 0;
            Slot const slot{m_keys.table(), key.c_str()};
            if (slot.get(PARAM_INT, &number) && number <= saving.number)
                slot.table->SetParameter(slot.table->pTicket, slot.key, PARAM_NONE, nullptr, SCALAR_INDEX);
        }
    }

 private:
    unsigned int count() const {
        unsigned int keys = 0;
        if (m_keys.table() != nullptr) m_keys.table()->Operation(m_keys.table()->pTicket, STICKET_OP_COUNT, &keys);
        return keys;
    }

    SharedTicket m_keys;
    int m_saves = 0;   // the number of saves that have begun
    int m_newest = 0;  // the number of the key that was added last
    bool m_everything = false;
};
using Journal = BasicJournal<void>;

}  // namespace ticket::detail

#endif
