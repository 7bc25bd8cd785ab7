// The permanent observers of a ticket and the notices of changes that they get; see
// ConfigurationControl/TicketServices.h. No locking: all of this runs under the ticket's mutex.
#pragma once

#include <cstdint>
#include <list>
#include <string>
#include <vector>

#include "ConfigurationControl/TicketServices.h"

// The keys of one change. A notice is made before the change, of copies: the change may free the texts that it is
// called with, and nothing may fail once it is done.
class CHANGE_NOTICE {
 public:
    // A new notice means any key; these set its keys. Both throw std::bad_alloc.
    void Take(char const* key);
    void Take(SETMULTIPAR const* records);

    // Call this when the batch is done: from now on Keys() are those that were stored.
    void TakeResults(SETMULTIPAR const* records) noexcept;

    // The records of the batch, with their keys and results only.
    SETMULTIPAR const* Records() const { return m_records.data(); }
    char const* Key() const { return m_texts.front().c_str(); }
    // Null-terminated; null: any key.
    char const* const* Keys() const { return m_keys.empty() ? nullptr : m_keys.data(); }
    bool IsOfNoKey() const { return !m_keys.empty() && !m_keys.front(); }
    bool IsOfOneKey() const { return m_records.empty() && m_keys.size() == 2; }

 private:
    std::vector<std::string> m_texts;
    std::vector<SETMULTIPAR> m_records;
    std::vector<char const*> m_keys;
};

class TICKET_OBSERVERS {
 public:
    // A change of which the observers have not been notified yet.
    struct UNTOLD {
        CHANGE_NOTICE notice;
        uint64_t newest;  // number of the newest observer when the change began; later ones are not notified
    };
    using CHANGES = std::list<UNTOLD>;

    bool IsEmpty() const { return m_observers.empty(); }
    // Throws std::bad_alloc.
    uint64_t Add(TICKET_OBSERVER observer, void* context);
    bool Remove(uint64_t id);

    // A list of one change that is about to begin: of one key, of a batch, of any key. Throws std::bad_alloc.
    CHANGES Begin(char const* key);
    CHANGES Begin(SETMULTIPAR const* records);
    CHANGES BeginOfAnyKey();
    // Notifies the observers of a completed change. A change that an observer makes is queued until all observers have
    // been notified of the current one: each sees all changes in order, and a chain of changes uses no more stack.
    void Tell(CHANGES&& done);

 private:
    struct OBSERVER {
        uint64_t id;
        TICKET_OBSERVER call;  // null: removed during a call
        void* context;
    };

    uint64_t Newest() const;
    void TellAll(UNTOLD const& change);
    void EndCalls();

    std::list<OBSERVER> m_observers;  // by ascending number
    CHANGES m_untold;
    CHANGES m_spare;  // at most one, of a single key, whose memory the next such change uses again
    bool m_calling = false;
};
