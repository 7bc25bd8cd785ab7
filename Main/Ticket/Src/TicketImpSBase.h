// What every ticket holds behind the public STICKET class.
#pragma once

#include <list>
#include <map>

#include "ConfigurationControl/PartialMode.h"
#include "ConfigurationControl/SysLib.h"
#include "ConfigurationControl/Ticket.h"
#include "TicketImpSNode.h"

// A one-shot registration: which keys it watches; an empty selection watches all.
struct STICKET::NOTIFICATION {
    PARTIAL_MODE selection;
};

struct STICKET::CONTENT {
    clTICKETNODE parameters;
    std::map<int, NOTIFICATION> registrations;
    struct DEFERRED {
        STICKET_DEFERRED_CALLBACK callback;
        void* argument;
    };
    std::list<DEFERRED> deferred;
};

// Twenty numbered advisory locks; see STICKET_ACCESS::Lock. Runs under the ticket mutex.
class TICKETLOCKS {
 public:
    static constexpr int LOCKS = 20;

    TICKETLOCKS();
    int operator()(int number, int* owner, bool lock);
    bool Operate(int number, int* owner, bool lock);

 private:
    int m_owners[LOCKS];
    unsigned int m_counts[LOCKS];  // meaningful while held
};
