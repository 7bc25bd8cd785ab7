/** @file
 * Creates and destroys tickets. Everything else is done through the table that creation returns.
 */
#ifndef CONFIGURATIONCONTROL_TICKET_H
#define CONFIGURATIONCONTROL_TICKET_H

#include "ConfigurationControl/CxxOnly.h"

#include <cstdarg>
#include <memory>
#include <string>
#include <utility>

#include "ConfigurationControl/TicketRecords.h"

/**
 * A typed, ordered parameter store. Hosts use the public static functions and the STICKET_ACCESS table. Everything else
 * here serves the library's own kinds of tickets.
 */
class STICKET {
 public:
    /**
     * Creates a ticket with the default identity (no server, both numbers -2, no context): in memory for a null `name`,
     * otherwise bound to the XML file of that name, "" included. The file is read at the first access.
     * @return the table; pass it to Destroy
     * Throws std::bad_alloc, or the C string "MUTEX_INSTANCE: pthread_mutex_init fail".
     */
    CONFIGURATIONCONTROL_API static STICKET_ACCESS const* Create(char const* name);
    /** As Create, with the caller's identity. */
    CONFIGURATIONCONTROL_API static STICKET_ACCESS const* CCreate(char const* name, STICKET_WHOAMI const& whoAmI);
    /** Creates a memory ticket; otherwise as CCreate. */
    CONFIGURATIONCONTROL_API static STICKET_ACCESS const* PCreate(STICKET_WHOAMI const& whoAmI);
    /** Creates a file ticket; otherwise as CCreate. */
    CONFIGURATIONCONTROL_API static STICKET_ACCESS const* PCreate(std::string const& fileName,
                                                                  STICKET_WHOAMI const& whoAmI);
    /**
     * Destroys a ticket and sets the caller's pointer to null. The table and all pointers read from the ticket become
     * invalid. Saves a dirty file ticket first. The process ends if that save throws, which it does for an infinite
     * number and when a text conversion throws; if the save runs out of memory, the old file stays. No other call may
     * be under way. Null does nothing.
     */
    CONFIGURATIONCONTROL_API static void Destroy(STICKET_ACCESS const*& access);

    /** Table entry, see STICKET_ACCESS::MergeTicket. The target's mutex is not held across the merge. */
    CONFIGURATIONCONTROL_API static int MergeTicket(STICKET* target, STICKET_ACCESS const* source,
                                                    char const* const* keys, bool clear);
    /** Table entry, see STICKET_ACCESS::EnDisNotification. */
    CONFIGURATIONCONTROL_API static int EnDisNotification(STICKET* ticket, int number, bool enable,
                                                          char const* const* keys);
    /** Table entry, see STICKET_ACCESS::QueueAfterNotification. */
    CONFIGURATIONCONTROL_API static bool QueueAfterNotification(STICKET* ticket, STICKET_DEFERRED_CALLBACK callback,
                                                                void* argument);

    virtual ~STICKET();
    /** The ticket's own table; lives as long as the ticket. */
    virtual STICKET_ACCESS const* GetInterface() const = 0;
    /** Null for both kinds of ticket of this library. */
    virtual STICKET_ACCESS const* GetServerInterface() const;

    STICKET(STICKET const&) = delete;
    STICKET& operator=(STICKET const&) = delete;

 protected:
    struct NOTIFICATION;
    struct STATE;
    struct FRAME;
    /** A number and what it watches. */
    using REGISTRATION = std::pair<int const, NOTIFICATION>;

    /** Throws as Create. */
    explicit STICKET(STICKET_WHOAMI const& whoAmI);

    /** The ticket's mutex. Throws the C string "STICKET::GetMutexInstance !WhoAmI.pMutex" if there is none. */
    SysLib::MUTEX_INSTANCE& GetMutexInstance() const;

    /** Performs the operation codes 4 to 12, which are the same for every kind, on the parameters in memory. */
    bool CommonOperation(STICKET_OP code, void* data);

    // Change registrations and deferred callbacks. Call these with the mutex held. Registrations are for tickets that
    // derive from these classes inside the library: no function that a host can reach adds one.

    /** Always 0: no handles are issued. */
    int GetHNotification(int number) const;
    /** The registration of that number, valid until it is removed; null if there is none. */
    REGISTRATION const* GetNotification(int number) const;
    /** The work of the table entry. */
    bool EnDisNotification(int number, bool enable, char const* const* keys);
    /** Removes the registrations that watch `key`. */
    void NotifySetParameter(char const* key, PARAM_TYPE type, void const* value, int index);
    /** Removes the registrations that watch a key of a record whose `result` is set. */
    void NotifySetMultiParameter(SETMULTIPAR const* records);
    /** Removes all registrations after the codes 2, 7 and 8. Both kinds of ticket refuse code 8, so it gets here only
     * from a derived kind. */
    void NotifyOperation(STICKET_OP code, void* data);
    /** Runs the deferred callbacks and drops their exceptions. */
    void AfterNotification();
    /** Collects the parameters that a registration selects, drops them and returns 0: there is no receiver. */
    int FlushToNotification(REGISTRATION const* registration) const;

    // Log hooks. The library calls them where a log would help; they do nothing.

    /** Does nothing in this library; `format` is printf's. */
    static void Log(unsigned int level, char const* format, ...) __attribute__((format(printf, 2, 3)));
    /** Does nothing in this library; `format` is printf's. */
    static void VLog(unsigned int level, char const* format, std::va_list arguments);
    /** Always false in this library. */
    static bool IsLogged(unsigned int level);

    STICKET_WHOAMI m_whoAmI;        /**< as given at creation, with the mutex that is used */
    std::unique_ptr<STATE> m_state; /**< parameters, registrations, deferred callbacks, observers */
};

#endif
