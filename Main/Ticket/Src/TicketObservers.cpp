#include "TicketObservers.h"

#include <algorithm>
#include <atomic>
#include <cstring>

#include "Common/Src/BatchRecords.h"
#include "Common/Src/Cancellation.h"

void CHANGE_NOTICE::Take(char const* key) {
    m_texts.resize(1);
    m_texts.front() = key;
    m_keys.resize(2);
    m_keys.front() = m_texts.front().c_str();
}

void CHANGE_NOTICE::Take(SETMULTIPAR const* records) {
    for (SETMULTIPAR const* record = records; IsRecord(*record); ++record) m_texts.emplace_back(record->key);
    for (std::string const& key : m_texts) m_records.push_back({key.c_str(), PARAM_NONE, nullptr, 0, false});
    m_records.push_back({});
    m_keys.resize(m_records.size());
}

void CHANGE_NOTICE::TakeResults(SETMULTIPAR const* records) noexcept {
    auto key = m_keys.begin();
    char const* last = nullptr;
    for (SETMULTIPAR& record : m_records) {
        if (!record.key) return;
        record.result = records++->result;
        // The elements of one vector share their key, which is reported once.
        if (!record.result || (last && std::strcmp(last, record.key) == 0)) continue;
        *key++ = last = record.key;
    }
}

uint64_t TICKET_OBSERVERS::Add(TICKET_OBSERVER observer, void* context) {
    static std::atomic<uint64_t> last{0};
    m_observers.push_back({0, observer, context});
    return m_observers.back().id = ++last;
}

uint64_t TICKET_OBSERVERS::Newest() const {
    return m_observers.empty() ? 0 : m_observers.back().id;
}

bool TICKET_OBSERVERS::Remove(uint64_t id) {
    auto const found = std::find_if(m_observers.begin(), m_observers.end(),
                                    [id](OBSERVER const& observer) { return observer.id == id && observer.call; });
    if (found == m_observers.end()) return false;
    if (m_calling)
        found->call = nullptr;  // the calls under way go through the list
    else
        m_observers.erase(found);
    return true;
}

TICKET_OBSERVERS::CHANGES TICKET_OBSERVERS::BeginOfAnyKey() {
    CHANGES changes;
    changes.push_back({CHANGE_NOTICE(), Newest()});
    return changes;
}

TICKET_OBSERVERS::CHANGES TICKET_OBSERVERS::Begin(SETMULTIPAR const* records) {
    CHANGES changes = BeginOfAnyKey();
    changes.front().notice.Take(records);
    return changes;
}

TICKET_OBSERVERS::CHANGES TICKET_OBSERVERS::Begin(char const* key) {
    CHANGES changes;
    if (m_spare.empty())
        changes = BeginOfAnyKey();
    else
        changes.swap(m_spare);
    changes.front().notice.Take(key);
    changes.front().newest = Newest();
    return changes;
}

void TICKET_OBSERVERS::Tell(CHANGES&& done) {
    if (done.front().notice.IsOfNoKey()) return;
    m_untold.splice(m_untold.end(), done);
    if (m_calling) return;
    struct CALLS {
        TICKET_OBSERVERS& observers;
        explicit CALLS(TICKET_OBSERVERS& all) : observers(all) { observers.m_calling = true; }
        ~CALLS() { observers.EndCalls(); }
    } const calls(*this);
    while (!m_untold.empty()) {
        CHANGES current;
        current.splice(current.end(), m_untold, m_untold.begin());
        TellAll(current.front());
        if (m_spare.empty() && current.front().notice.IsOfOneKey()) m_spare.swap(current);
    }
}

void TICKET_OBSERVERS::TellAll(UNTOLD const& change) {
    for (OBSERVER const& observer : m_observers) {
        if (observer.id > change.newest) return;
        if (!observer.call) continue;
        try {
            observer.call(observer.context, change.notice.Keys());
        } catch (...) {  // dropped; the next observer is still notified
            PassCancellation();
        }
    }
}

void TICKET_OBSERVERS::EndCalls() {
    m_calling = false;
    m_observers.remove_if([](OBSERVER const& observer) { return !observer.call; });
}
