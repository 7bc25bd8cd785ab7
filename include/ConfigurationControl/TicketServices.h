/** @file
 * Plain functions for a ticket's table beyond its entries: a callback under the ticket's mutex, and permanent observers
 * of its changes. C11 and C++.
 *
 * Each function takes the table of a ticket of this library. It returns 0 for a null table, for a table that another
 * library made, and for a ticket that cannot be used (see STICKET_WHOAMI::pMutex). No C++ exception leaves a function.
 *
 * Threads: any, at any time while the ticket lives. Each function takes the ticket's mutex, so it waits for an entry or
 * a callback that another thread has under way.
 */
#ifndef CONFIGURATIONCONTROL_TICKETSERVICES_H
#define CONFIGURATIONCONTROL_TICKETSERVICES_H

#include "ConfigurationControl/TicketRecords.h"

#ifdef __cplusplus
extern "C" {
#endif

/** Called once by TicketRunLocked. `context` is what the caller of that function passed. */
typedef void (*TICKET_LOCKED_CALLBACK)(void* context);

/**
 * Calls `callback(context)` on this thread with the ticket's mutex held. Meanwhile no other thread changes the ticket,
 * so what the callback reads stays valid until it returns: copy borrowed text and bytes here. The callback may use the
 * table and may change the ticket. It must not wait for another thread that uses the ticket, and must not destroy it.
 * @param access the ticket's table
 * @param callback null returns 0
 * @param context passed to the callback
 * @return 1 once the callback has returned; 0 if it was not called, or if a C++ exception left it
 */
CONFIGURATIONCONTROL_API int TicketRunLocked(STICKET_ACCESS const* access, TICKET_LOCKED_CALLBACK callback,
                                             void* context);

/**
 * An observer of a ticket's changes; see TicketAddObserver.
 * @param context what was passed to TicketAddObserver
 * @param keys null-terminated array of the keys that may have other values now, in the order of the changes; a key may
 *        appear more than once. Null: any key may. The array and its texts are valid during the call
 */
typedef void (*TICKET_OBSERVER)(void* context, char const* const* keys);

/**
 * Adds an observer. It is called for every successful change that begins after this call:
 * - SetParameter, with its key, also when the value stays the same;
 * - SetMultiParameter, with the keys of the records whose `result` is set; not at all if there are none;
 * - STICKET_OP_CLEAR, with null;
 * - MergeTicket, once for each of these that it makes of them.
 *
 * Nothing else calls it: the other operation codes change no value, and a load, which may find what another program has
 * saved meanwhile, notifies nobody. (A load follows STICKET_OP_RELEASE and STICKET_OP_PARTIAL_KEYS.)
 *
 * It is called on the thread of the change, before the changing entry returns, after registrations and deferred
 * callbacks (see STICKET_ACCESS::QueueAfterNotification), with the ticket's mutex held. Observers are called in the
 * order in which they were added. A C++ exception that leaves one is dropped, and the next one is called.
 *
 * An observer may use the table, add observers, and remove itself and others; a removed one is not called any more. A
 * change that it makes is told to all observers, itself included, after the current one. CAUTION: an observer that
 * changes the ticket at each call never ends; change only what differs.
 * An observer must not wait for another thread that uses the ticket, and must not destroy the ticket. An observer of
 * the settings service's ticket must not call the service, whose mutex its caller may hold.
 *
 * @param access the ticket's table
 * @param observer null returns 0
 * @param context passed to the observer
 * @return a number for TicketRemoveObserver, which no other observer of this process gets; 0 if there was no memory
 */
CONFIGURATIONCONTROL_API uint64_t TicketAddObserver(STICKET_ACCESS const* access, TICKET_OBSERVER observer,
                                                    void* context);

/**
 * Removes an observer. Afterwards it is not called any more, and no call of it is under way, except that an observer
 * may remove itself within its call: then that call goes on. Waits for a call on another thread to end; so do not hold
 * a lock that the observer takes. Observers that are still there end with their ticket.
 * @param access the table that was passed to TicketAddObserver
 * @param id what TicketAddObserver returned
 * @return 1, or 0 if the ticket has no observer of that number
 */
CONFIGURATIONCONTROL_API int TicketRemoveObserver(STICKET_ACCESS const* access, uint64_t id);

#ifdef __cplusplus
}
#endif

#endif
