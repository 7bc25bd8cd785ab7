// The ticket object that all ticket kinds share: identity, mutex, change notifications, deferred callbacks, the common
// operation codes, the lock table, and the factory with its exported record.
#include "TicketImpSBase.h"

#include <algorithm>
#include <iterator>

#include "Common/Src/UntypedValue.h"
#include "ConfigurationControl/MultiPar.h"
#include "ConfigurationControl/MultiParList.h"

// Initialised at compile time, so that constructors and destructors of other static objects may use it.
constexpr STICKET_INSTANCE STicketInstance = {
    sizeof(STICKET_INSTANCE), 1, &STICKET::Create, &STICKET::Destroy, 2, {},
};
constexpr STICKET_INSTANCE const* hSTicketInstance = &STicketInstance;

// Creation and destruction

STICKET_ACCESS const* STICKET::Create(char const* name) {
    return CCreate(name, STICKET_WHOAMI{nullptr, -2, -2, nullptr, nullptr});
}

STICKET_ACCESS const* STICKET::CCreate(char const* name, STICKET_WHOAMI const& whoAmI) {
    return name ? PCreate(std::string(name), whoAmI) : PCreate(whoAmI);
}

void STICKET::Destroy(STICKET_ACCESS const*& access) {
    if (!access) return;
    STICKET const* const ticket = access->pTicket;
    access = nullptr;
    delete ticket;
}

STICKET::STICKET(STICKET_WHOAMI const& whoAmI) : m_whoAmI(whoAmI), m_state(std::make_unique<STATE>()) {
    if (!m_whoAmI.pServer) m_whoAmI.pMutex = new SysLib::MUTEX_INSTANCE;
}

STICKET::~STICKET() {
    if (!m_whoAmI.pServer) delete m_whoAmI.pMutex;
}

STICKET_ACCESS const* STICKET::GetServerInterface() const {
    return nullptr;
}

SysLib::MUTEX_INSTANCE& STICKET::GetMutexInstance() const {
    if (!m_whoAmI.pMutex) throw "STICKET::GetMutexInstance !WhoAmI.pMutex";
    return *m_whoAmI.pMutex;
}

// Log hooks: the library calls them where a log would help; they do nothing.

void STICKET::Log(unsigned int, char const*, ...) {}
void STICKET::VLog(unsigned int, char const*, std::va_list) {}
bool STICKET::IsLogged(unsigned int) {
    return false;
}

// Operation codes

namespace {

template <typename T>
bool Store(void* data, T value) {
    if (!data) return false;
    StoreValue(data, value);
    return true;
}

}  // namespace

bool STICKET::CommonOperation(STICKET_OP code, void* data) {
    switch (code) {
        case STICKET_OP_COUNT:
        case STICKET_OP_COUNT_LOADED:
            return data && Store(data, static_cast<unsigned int>(m_state->parameters.Size()));
        case STICKET_OP_FLUSH_NOTIFICATION:
            return data && FlushToNotification(GetNotification(LoadValue<int>(data)));
        case STICKET_OP_INCREMENT:
            return data && Store(data, LoadValue<unsigned int>(data) + 1);
        case STICKET_OP_CONTEXT:
            return Store(data, m_whoAmI.pContext);
        case STICKET_OP_WHOAMI: {
            STICKET const* const server = m_whoAmI.pServer;
            return data && Store(data, STICKET_OPTION_WHOAMI{server ? server->GetInterface() : nullptr, m_whoAmI.nIdA,
                                                             m_whoAmI.nIdB});
        }
        case STICKET_OP_INSTANCE:
            return Store<void const*>(data, hSTicketInstance);
        default:
            return false;
    }
}

// Change notifications

namespace {

// Advances first and then erases the element that it left, so that the iterator stays valid.
template <typename MAP>
void Next(MAP& map, typename MAP::iterator& place, bool& erase) {
    auto const left = place++;
    if (erase) map.erase(left);
    erase = false;
}

// A lookup that throws counts as a match: one notification too many is better than one too few.
bool Watches(PARTIAL_MODE const& selection, char const* key) {
    try {
        return selection.empty() || selection.Selects(key);
    } catch (...) {
        PassCancellation();
        return true;
    }
}

bool WatchesAnyStored(PARTIAL_MODE const& selection, SETMULTIPAR const* records) {
    for (; IsRecord(*records); ++records) {
        if (records->result && Watches(selection, records->key)) return true;
    }
    return false;
}

template <typename MAP, typename TOUCHED>
void RemoveTouched(MAP& registrations, TOUCHED const& touched) {
    for (auto place = registrations.begin(); place != registrations.end();) {
        bool erase = touched(place->second.selection);
        Next(registrations, place, erase);
    }
}

}  // namespace

int STICKET::GetHNotification(int) const {
    return 0;
}

STICKET::REGISTRATION const* STICKET::GetNotification(int number) const {
    auto const found = m_state->registrations.find(number);
    return found == m_state->registrations.end() ? nullptr : &*found;
}

bool STICKET::EnDisNotification(int number, bool enable, char const* const*) {
    auto& registrations = m_state->registrations;
    if (number == -2 && !enable) {
        registrations.clear();
        return true;
    }
    if (number < 0 || !m_whoAmI.pServer) return false;
    registrations.erase(number);
    return true;
}

int STICKET::EnDisNotification(STICKET* ticket, int number, bool enable, char const* const* keys) {
    return FRAME::Run<STICKET>(
        ticket, [&](STICKET& self) { return self.EnDisNotification(number, enable, keys); }, [](int, int) {});
}

void STICKET::NotifySetParameter(char const* key, PARAM_TYPE, void const*, int) {
    RemoveTouched(m_state->registrations, [&](PARTIAL_MODE const& selection) { return Watches(selection, key); });
}

void STICKET::NotifySetMultiParameter(SETMULTIPAR const* records) {
    if (!records || m_state->registrations.empty()) return;
    RemoveTouched(m_state->registrations,
                  [&](PARTIAL_MODE const& selection) { return WatchesAnyStored(selection, records); });
}

void STICKET::NotifyOperation(STICKET_OP code, void*) {
    if (code != STICKET_OP_CLEAR && code != STICKET_OP_INCREMENT && code != STICKET_OP_UNUSED_8) return;
    m_state->registrations.clear();
}

int STICKET::FlushToNotification(REGISTRATION const* registration) const {
    if (!registration) return 0;
    PARTIAL_MODE const& selection = registration->second.selection;
    // There is no receiver. A derived kind of ticket with receivers would hand these to them.
    SETMULTIPAR_LIST const list(GetInterface(), selection, false);
    PARTIAL_TABLE const table(selection);
    return 0;
}

// Deferred callbacks

bool STICKET::QueueAfterNotification(STICKET* ticket, STICKET_DEFERRED_CALLBACK callback, void* argument) {
    if (!callback) return false;
    return FRAME::Run<STICKET>(
        ticket,
        [&](STICKET& self) {
            self.m_state->deferred.push_back({callback, argument});
            return true;
        },
        [](int, int) {});
}

void STICKET::AfterNotification() {
    TicketMutex::GUARD const guard(GetMutexInstance());
    STATE& state = *m_state;
    if (state.deferred.empty()) return;

    // A callback that changes the ticket starts a pass inside this one. Beyond a depth that no host needs, the inner
    // pass leaves its callbacks to the outer ones, so that a long queue of such callbacks cannot exhaust the stack.
    constexpr unsigned int DEEPEST_PASS = 100;
    if (state.passes >= DEEPEST_PASS) return;
    struct PASS {
        unsigned int& passes;
        explicit PASS(unsigned int& count) : passes(count) { ++passes; }
        ~PASS() { --passes; }
    } const pass(state.passes);

    while (!state.deferred.empty()) {
        STATE::DEFERRED const next = state.deferred.front();
        state.deferred.pop_front();
        try {
            if (next.callback) next.callback(next.argument);
        } catch (...) {  // dropped; the next callback still runs
            PassCancellation();
        }
    }
}

// Advisory locks

TICKETLOCKS::TICKETLOCKS() : m_counts{} {
    std::fill(std::begin(m_owners), std::end(m_owners), FREE);
}

int TICKETLOCKS::operator()(int number, int* owner, bool lock) {
    if (number != WILDCARD) return Operate(number, owner, lock);
    return owner && !lock ? ReleaseAll(*owner) : 0;
}

int TICKETLOCKS::ReleaseAll(int& owner) {
    if (owner == WILDCARD) {
        std::fill(std::begin(m_owners), std::end(m_owners), FREE);
        return 1;
    }
    auto const released = std::count(std::begin(m_owners), std::end(m_owners), owner);
    std::replace(std::begin(m_owners), std::end(m_owners), int{owner}, int{FREE});
    if (std::count(std::begin(m_owners), std::end(m_owners), FREE) == LOCKS) owner = FREE;
    return released > 0;
}

bool TICKETLOCKS::Operate(int number, int* owner, bool lock) {
    if (!owner || number < 0 || number >= LOCKS) return false;
    int& holder = m_owners[number];
    unsigned int& count = m_counts[number];

    if (*owner == WILDCARD) {
        if (!lock) holder = FREE;
        return !lock;
    }
    if (holder != FREE && holder != *owner) {
        *owner = holder;
        return false;
    }
    if (lock) {
        count = holder == FREE ? 1 : count + 1;
        holder = *owner;
        return true;
    }
    if (holder != FREE && --count > 0) return true;
    holder = FREE;
    *owner = FREE;
    return true;
}
