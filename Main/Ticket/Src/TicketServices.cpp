// The exported plain functions on top of a ticket's table.
#include "ConfigurationControl/TicketServices.h"

#include "TicketImpSBase.h"

namespace {

// Never made: a name for what only kinds of tickets may use.
struct KIND : STICKET {
    using STICKET::ENTRY;
};

// The ticket behind a table; null for a table that this library did not make, whose pointer could be to anything.
STICKET* TicketOf(STICKET_ACCESS const* access) {
    bool const isOurs = access && access->QueueAfterNotification == &STICKET::QueueAfterNotification;
    return isOurs ? access->pTicket : nullptr;
}

// Runs `work(STICKET&)` with the ticket's mutex held; 0 also if it throws.
template <typename WORK>
int RunLocked(STICKET_ACCESS const* access, WORK const& work) {
    return KIND::ENTRY::Run<STICKET>(TicketOf(access), work, [](int, int) {});
}

}  // namespace

int TicketRunLocked(STICKET_ACCESS const* access, TICKET_LOCKED_CALLBACK callback, void* context) {
    if (!callback) return 0;
    return RunLocked(access, [&](STICKET&) {
        callback(context);
        return 1;
    });
}

uint64_t TicketAddObserver(STICKET_ACCESS const* access, TICKET_OBSERVER observer, void* context) {
    uint64_t id = 0;
    if (!observer) return id;
    RunLocked(access, [&](STICKET& ticket) {
        id = KIND::ENTRY::Observers(ticket).Add(observer, context);
        return 1;
    });
    return id;
}

int TicketRemoveObserver(STICKET_ACCESS const* access, uint64_t id) {
    return RunLocked(access, [&](STICKET& ticket) { return KIND::ENTRY::Observers(ticket).Remove(id); });
}
