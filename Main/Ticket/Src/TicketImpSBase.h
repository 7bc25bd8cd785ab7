// What every ticket holds behind the public STICKET class, and the one frame in which all table entries run.
//
// A ticket kind derives from STICKET, offers its entries as public static functions named as in STICKET_ACCESS, and
// keeps the table that FRAME::Table makes of them.
#pragma once

#include <list>
#include <map>

#include "Common/Src/BatchRecords.h"
#include "Common/Src/Cancellation.h"
#include "ConfigurationControl/PartialMode.h"
#include "ConfigurationControl/Ticket.h"
#include "TicketImpSNode.h"
#include "TicketMutex.h"
#include "TicketObservers.h"

// A one-shot registration: the keys it watches; an empty selection watches all. Only a kind of ticket that derives from
// these classes inside the library can add one. Hosts add observers instead: TicketObservers.h.
struct STICKET::NOTIFICATION {
    PARTIAL_MODE selection;
};

struct STICKET::STATE {
    clTICKETNODE parameters;
    std::map<int, NOTIFICATION> registrations;
    struct DEFERRED {
        STICKET_DEFERRED_CALLBACK callback;
        void* argument;
    };
    std::list<DEFERRED> deferred;
    unsigned int passes = 0;  // runs of AfterNotification under way, one inside the other
    TICKET_OBSERVERS observers;
};

struct STICKET::FRAME {
    // Runs `work(KIND&)` with the ticket's mutex held and returns its result as a number. No exception gets out:
    // `report(nIdA, nIdB)` logs that there was one, and the result is 0. Only the cancellation of the thread passes.
    template <typename KIND, typename WORK, typename REPORT>
    static int Run(STICKET* ticket, WORK const& work, REPORT const& report) {
        if (!ticket) return 0;
        try {
            SysLib::MUTEX_INSTANCE* const mutex = ticket->m_whoAmI.pMutex;
            TicketMutex::GUARD const guard(mutex ? *mutex : ticket->GetMutexInstance());  // which throws
            return static_cast<int>(work(static_cast<KIND&>(*ticket)));
        } catch (...) {
            PassCancellation();
            report(ticket->m_whoAmI.nIdA, ticket->m_whoAmI.nIdB);
            return 0;
        }
    }

    // The same for reading a batch: on failure all results are false. Finds the end first: the work may free keys.
    template <typename KIND, typename WORK, typename REPORT>
    static int GetBatch(STICKET* ticket, GETMULTIPAR* records, WORK const& work, REPORT const& report) {
        if (!ticket) return 0;
        GETMULTIPAR const* end = nullptr;
        int const answer = Run<KIND>(
            ticket,
            [&](KIND& self) {
                end = EndOf(records);
                return work(self);
            },
            report);
        if (!answer) ClearResults(records, end ? end : EndOf(records));
        return answer;
    }

    // The same for a change by SetParameter, SetMultiParameter and Operation: after successful work, still under the
    // lock, removes the registrations that it touches, runs deferred callbacks and calls observers. Returns 1 or 0.
    template <typename KIND, typename WORK, typename REPORT>
    static int Set(STICKET* ticket, char const* key, PARAM_TYPE type, void const* value, int index, WORK const& work,
                   REPORT const& report) {
        return Run<KIND>(
            ticket,
            [&](KIND& self) {
                if (!key || !IsWatched(self)) return work(self) && Succeed(self);
                CHANGES changes = Observers(self).Begin(key);
                if (!work(self)) return false;
                self.NotifySetParameter(changes.front().notice.Key(), type, value, index);
                return Succeed(self, std::move(changes));
            },
            report);
    }
    template <typename KIND, typename WORK, typename REPORT>
    static int SetBatch(STICKET* ticket, SETMULTIPAR* records, WORK const& work, REPORT const& report) {
        if (!ticket) return 0;
        bool cleared = false;  // before the work, which may free the keys
        int const answer = Run<KIND>(
            ticket,
            [&](KIND& self) {
                ClearResults(records);
                cleared = true;
                if (!records || !IsWatched(self)) return work(self) && Succeed(self);
                CHANGES changes = Observers(self).Begin(records);
                if (!work(self)) return false;
                changes.front().notice.TakeResults(records);
                self.NotifySetMultiParameter(changes.front().notice.Records());
                return Succeed(self, std::move(changes));
            },
            report);
        if (!cleared) ClearResults(records);
        return answer;
    }
    template <typename KIND, typename WORK, typename REPORT>
    static int Operate(STICKET* ticket, STICKET_OP code, void* data, WORK const& work, REPORT const& report) {
        return Run<KIND>(
            ticket,
            [&](KIND& self) {
                CHANGES changes;  // the other codes change no value
                if (code == STICKET_OP_CLEAR && IsWatched(self)) changes = Observers(self).BeginOfAnyKey();
                if (!work(self)) return false;
                self.NotifyOperation(code, data);
                return Succeed(self, std::move(changes));
            },
            report);
    }

    static TICKET_OBSERVERS& Observers(STICKET& ticket) { return ticket.m_state->observers; }

    // The table of `ticket`, made of the kind's entries and the shared ones; all reserved places are null.
    template <typename KIND>
    static STICKET_ACCESS Table(KIND& ticket) {
        STICKET_ACCESS table{};
        table.nSize = sizeof(STICKET_ACCESS);
        table.nVersion = ACCESS_VERSION;
        table.pTicket = &ticket;
        table.GetParameter = &KIND::GetParameter;
        table.GetMultiParameter = &KIND::GetMultiParameter;
        table.WalkParameter = &KIND::WalkParameter;
        table.SetParameter = &KIND::SetParameter;
        table.SetMultiParameter = &KIND::SetMultiParameter;
        table.MergeTicket = &STICKET::MergeTicket;
        table.Operation = &KIND::Operation;
        table.Lock = &KIND::Lock;
        table.EnDisNotification = &STICKET::EnDisNotification;
        table.QueueAfterNotification = &STICKET::QueueAfterNotification;
        return table;
    }

    static constexpr uint32_t ACCESS_VERSION = 2;

 private:
    using CHANGES = TICKET_OBSERVERS::CHANGES;

    // Whether any registration or observer must be notified of changes.
    static bool IsWatched(STICKET const& ticket) {
        return !ticket.m_state->registrations.empty() || !ticket.m_state->observers.IsEmpty();
    }

    // Runs deferred callbacks and calls observers after a successful change. Returns true.
    static bool Succeed(STICKET& ticket) {
        if (!ticket.m_state->deferred.empty()) ticket.AfterNotification();
        return true;
    }
    static bool Succeed(STICKET& ticket, CHANGES&& changes) {
        Succeed(ticket);
        if (!changes.empty()) Observers(ticket).Tell(std::move(changes));
        return true;
    }
};

// Twenty numbered advisory locks; see STICKET_ACCESS::Lock. Runs under the ticket mutex.
class TICKETLOCKS {
 public:
    static constexpr int LOCKS = 20;
    static constexpr int FREE = -1;      // as an owner: the lock is free
    static constexpr int WILDCARD = -2;  // as an owner: any owner; as a number: every lock

    TICKETLOCKS();
    // Takes or releases one lock; all of them for number WILDCARD. Nonzero on success.
    int operator()(int number, int* owner, bool lock);
    bool Operate(int number, int* owner, bool lock);

 private:
    int ReleaseAll(int& owner);

    int m_owners[LOCKS];
    unsigned int m_counts[LOCKS];  // meaningful while held
};
static_assert(sizeof(TICKETLOCKS) == 160);
