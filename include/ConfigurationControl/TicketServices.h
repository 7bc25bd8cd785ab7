/** @file
 * Plain functions for a ticket's table beyond its entries: a callback under the ticket's mutex, permanent observers of
 * its changes, and what became of a file ticket's last save and load. C11 and C++.
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
 * saved meanwhile, notifies no observer. (A load follows STICKET_OP_RELEASE and STICKET_OP_PARTIAL_KEYS.)
 *
 * It is called on the thread of the change, before the changing entry returns, after registrations and deferred
 * callbacks (see STICKET_ACCESS::QueueAfterNotification), with the ticket's mutex held. Observers are called in the
 * order in which they were added. A C++ exception that leaves one is dropped, and the next one is called.
 *
 * An observer may use the table, add observers, and remove itself and others; a removed one is not called any more. A
 * change that it makes is reported to all observers, itself included, after the current one. CAUTION: an observer that
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

/** The step at which a save failed, in the order in which a save takes them. */
typedef enum TICKET_SAVE_STEP {
    TICKET_SAVE_OK = 0,                 /**< no step failed, or nothing was saved yet */
    TICKET_SAVE_CONTENT_NUMBER = 1,     /**< the ticket holds an infinite number */
    TICKET_SAVE_CONTENT_CONVERSION = 2, /**< the text conversion threw an exception other than std::bad_alloc */
    TICKET_SAVE_CONTENT_NESTING = 3,    /**< keys are nested so deeply that a load would refuse the file */
    TICKET_SAVE_MEMORY = 4,             /**< memory was exhausted */
    TICKET_SAVE_OPEN = 5,               /**< the temporary file could not be created */
    TICKET_SAVE_LOCK = 6,               /**< reserved: a save that gets no lock uses another temporary file */
    TICKET_SAVE_WRITE = 7,              /**< the temporary file could not be written */
    TICKET_SAVE_FLUSH = 8,              /**< the temporary file could not be flushed to disk or closed */
    TICKET_SAVE_KEEP = 9,               /**< an empty ticket's file cannot be read, and could not be kept */
    TICKET_SAVE_RENAME = 10,            /**< the temporary file could not be renamed over the file */
    TICKET_SAVE_REMOVE = 11             /**< an empty ticket's file could not be deleted */
} TICKET_SAVE_STEP;

/** Bits of TICKET_SAVE_OUTCOME::nNote. */
enum {
    TICKET_SAVE_NOT_KEPT =
        1 /**< the save succeeded, but replaced a file that could not be read and could not be kept */
};

/** What became of a file ticket's last save. */
typedef struct TICKET_SAVE_OUTCOME {
    uint32_t nSize; /**< set by the caller to sizeof(TICKET_SAVE_OUTCOME); at most that many bytes are written */
    uint32_t nStep; /**< a TICKET_SAVE_STEP: the step that failed */
    int32_t nError; /**< errno of that step; 0 if it has none */
    uint32_t nNote; /**< TICKET_SAVE_NOT_KEPT or 0 */
} TICKET_SAVE_OUTCOME;

/**
 * Tells what became of a file ticket's last save, whether by STICKET_OP_SAVE or before its contents were dropped. After
 * a failed step that concerns the disk (from TICKET_SAVE_OPEN on) the old file stays, the entry that saved returned 1,
 * and the ticket counts as saved: change a value and save again. After an earlier step the entry returned 0, and the
 * ticket stays unsaved. The save of STICKET::Destroy cannot be asked about: save before.
 * @param access the ticket's table
 * @param outcome receives the outcome; null returns 0
 * @return 1; 0 for a ticket in memory, which has no file
 */
CONFIGURATIONCONTROL_API int TicketGetSaveOutcome(STICKET_ACCESS const* access, TICKET_SAVE_OUTCOME* outcome);

/** What a load found. */
typedef enum TICKET_LOAD_STATE {
    TICKET_LOAD_NOT_YET = 0,     /**< nothing was loaded, or the last load ran out of memory or descriptors */
    TICKET_LOAD_LOADED = 1,      /**< the whole file was loaded; of a partial ticket, the keys that it keeps */
    TICKET_LOAD_NO_FILE = 2,     /**< there is no file, so the ticket is empty */
    TICKET_LOAD_UNREADABLE = 3,  /**< the file could not be opened or read: nError tells why */
    TICKET_LOAD_NO_DOCUMENT = 4, /**< the file is no XML document: nLine and nColumn tell where */
    TICKET_LOAD_CUT_AT_NUL = 5,  /**< loaded up to a NUL byte; what follows it may hold values that were not read */
    TICKET_LOAD_TOO_DEEP = 6,    /**< the nesting is out of proportion to the size of the file: nothing was loaded */
    TICKET_LOAD_CONVERSION_FAILED = 7 /**< the text conversion threw for at least one value; the others were loaded */
} TICKET_LOAD_STATE;

/** What became of a file ticket's last load. */
typedef struct TICKET_LOAD_OUTCOME {
    uint32_t nSize;   /**< set by the caller to sizeof(TICKET_LOAD_OUTCOME); at most that many bytes are written */
    uint32_t nState;  /**< a TICKET_LOAD_STATE */
    int32_t nError;   /**< errno of TICKET_LOAD_UNREADABLE and TICKET_LOAD_NO_FILE; otherwise 0 */
    uint32_t nLine;   /**< of TICKET_LOAD_NO_DOCUMENT, from 1; otherwise 0 */
    uint32_t nColumn; /**< of TICKET_LOAD_NO_DOCUMENT, in bytes from 1; otherwise 0 */
} TICKET_LOAD_OUTCOME;

/**
 * Tells what became of a file ticket's last load. Loads nothing: that is done by the first access, and by the next one
 * after the contents were dropped.
 * @param access the ticket's table
 * @param outcome receives the outcome; null returns 0
 * @return 1; 0 for a ticket in memory
 */
CONFIGURATIONCONTROL_API int TicketGetLoadOutcome(STICKET_ACCESS const* access, TICKET_LOAD_OUTCOME* outcome);

#ifdef __cplusplus
}
#endif

#endif
