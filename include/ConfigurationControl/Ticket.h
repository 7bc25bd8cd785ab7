/** @file
 * The ticket: creation and destruction. Everything else is done through the table that creation returns.
 */
#ifndef CONFIGURATIONCONTROL_TICKET_H
#define CONFIGURATIONCONTROL_TICKET_H

#include <cstdarg>
#include <memory>
#include <string>
#include <utility>

#include "ConfigurationControl/TicketRecords.h"

/**
 * A typed, ordered parameter store. Hosts use the public static functions and the STICKET_ACCESS table; the rest is for
 * the library's own ticket kinds.
 */
class STICKET {
 public:
    /**
     * Creates a ticket with the default identity (no server, both numbers -2, no context): in memory for a null `name`,
     * otherwise bound to the XML file of that name, "" included. The file is read at the first access.
     * @return the table, to be given to Destroy
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
     * Destroys a ticket and sets the caller's pointer to null. A dirty file ticket is saved first; if that save throws
     * (an infinite number cannot be written), the process ends. No other call may be under way. Null does nothing.
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
    struct CONTENT;
    struct ENTRY;
    using REGISTRATION = std::pair<int const, NOTIFICATION>;

    /** Throws as Create. */
    explicit STICKET(STICKET_WHOAMI const& whoAmI);

    /** Throws the C string "STICKET::GetMutexInstance !WhoAmI.pMutex" when there is none. */
    SysLib::MUTEX_INSTANCE& GetMutexInstance() const;

    /** The operation codes that every kind performs alike: 4 to 12, on the parameters as they are in memory. */
    bool CommonOperation(STICKET_OP code, void* data);

    int GetHNotification(int number) const;
    REGISTRATION const* GetNotification(int number) const;
    bool EnDisNotification(int number, bool enable, char const* const* keys);
    void NotifySetParameter(char const* key, PARAM_TYPE type, void const* value, int index);
    void NotifySetMultiParameter(SETMULTIPAR const* records);
    void NotifyOperation(STICKET_OP code, void* data);
    void AfterNotification();
    int FlushToNotification(REGISTRATION const* registration) const;

    static void Log(unsigned int level, char const* format, ...) __attribute__((format(printf, 2, 3)));
    static void VLog(unsigned int level, char const* format, std::va_list arguments);
    static bool IsLogged(unsigned int level);

    STICKET_WHOAMI m_whoAmI;
    std::unique_ptr<CONTENT> m_content; /**< parameters, registrations and deferred callbacks, in this order */
};

#endif
