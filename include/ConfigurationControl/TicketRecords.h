/** @file
 * A stable C ABI: the records, numbers and tables of functions through which hosts use tickets. C11 and C++.
 *
 * Hosts that were built separately read these records by offset. Sizes, offsets, orders, numbers and the reserved
 * fields never change; the assertions at the end check them.
 *
 * Terms used below:
 * - *key*: NUL-terminated text, compared byte by byte. A ticket file nests an element at each "/".
 * - *index*: SCALAR_INDEX addresses a value as a whole, APPEND_INDEX (set only) appends, 0 and up address the elements
 * of a vector. A scalar can be read as element 0.
 * - *result*: table entries return 0 for failure and non-zero for success; no exception leaves one.
 *
 * Threads: any thread may call any entry. Every entry but MergeTicket holds the ticket's mutex throughout. The
 * mutex is recursive: callbacks may call the same ticket again on the same thread.
 */
#ifndef CONFIGURATIONCONTROL_TICKETRECORDS_H
#define CONFIGURATIONCONTROL_TICKETRECORDS_H

#include "ConfigurationControl/Export.h"

#ifdef __cplusplus
#include <cstddef>
#include <cstdint>
#else
#include <stdbool.h>
#include <stddef.h>
#include <stdint.h>
#endif

/* clang-format off */

/** The types in which values are exchanged. Unknown types are refused everywhere. */
#ifdef __cplusplus
enum PARAM_TYPE : uint32_t {
#else
typedef uint32_t PARAM_TYPE;
enum {
#endif
    PARAM_NONE = 0,     /**< no value: type query (get), deletion (set), key-only walk */
    PARAM_POINTER = 1,  /**< opaque pointer; never dereferenced, never freed, never saved */
    PARAM_INT = 2,      /**< int32_t */
    PARAM_DOUBLE = 3,   /**< double */
    PARAM_STRING = 4,   /**< NUL-terminated text, `char const*` */
    PARAM_BINSTR = 5,   /**< BIN_STRING */
    PARAM_VECTOR = 6,   /**< element count, uint64_t (get only) */
    PARAM_INT64 = 7,    /**< int64_t */
    PARAM_UNSIGNED = 8, /**< uint32_t */
    PARAM_UINT64 = 9    /**< uint64_t */
};

/** Operation codes of STICKET_ACCESS::Operation, each with what `data` points to. A ticket in memory does nothing for
 * the codes 0, 1 and 3 and returns 1. */
#ifdef __cplusplus
enum STICKET_OP : uint32_t {
#else
typedef uint32_t STICKET_OP;
enum {
#endif
    STICKET_OP_SAVE = 0,         /**< null, or `int const*` seconds: save a dirty file ticket, with seconds only one that
                                      has been dirty for longer than that. A save that the disk refused returns 1 too,
                                      and the ticket counts as saved: TicketGetSaveOutcome tells what became of it */
    STICKET_OP_RELEASE = 1,      /**< null, or `int const*` seconds: drop a file ticket's loaded contents (saved first if
                                      dirty), with seconds only after longer disuse; the next access loads again */
    STICKET_OP_CLEAR = 2,        /**< not read: remove every parameter. A file ticket reads nothing; its next save finds
                                      out whether the file could be read, and keeps it if not */
    STICKET_OP_PARTIAL_KEYS = 3, /**< `char const* const*`, null-terminated: the keys a file ticket keeps loaded. Null
                                      forgets them; a first key of "" removes the following ones; otherwise they are
                                      added. Saves a dirty ticket and drops its contents, as code 1 does. CAUTION:
                                      saving a partial tree writes only what is in memory */
    STICKET_OP_COUNT = 4,        /**< `unsigned int*`: receives the number of values, loaded first if need be */
    STICKET_OP_COUNT_LOADED = 5, /**< `unsigned int*`: receives the number of values in memory */
    STICKET_OP_FLUSH_NOTIFICATION = 6, /**< `int const*` registration number: always returns 0 */
    STICKET_OP_INCREMENT = 7,    /**< `unsigned int*`: incremented by one */
    STICKET_OP_UNUSED_8 = 8,     /**< always returns 0 */
    STICKET_OP_UNUSED_9 = 9,     /**< always returns 0 */
    STICKET_OP_CONTEXT = 10,     /**< `void**`: receives STICKET_WHOAMI::pContext */
    STICKET_OP_WHOAMI = 11,      /**< `STICKET_OPTION_WHOAMI*`: filled */
    STICKET_OP_INSTANCE = 12     /**< `void**`: receives a pointer to the library's STICKET_INSTANCE record */
};
/* clang-format on */

enum {
    SCALAR_INDEX = -1, /**< index of a value as a whole */
    APPEND_INDEX = -2  /**< set only: append to the key's vector */
};

/** A borrowed byte string: it never owns its bytes. If `data` is null, it is empty, whatever `length` says. */
typedef struct BIN_STRING {
    void const* data; /**< the first byte; may be null */
    uint64_t length;  /**< bytes */
} BIN_STRING;

/** One read of a batch. An array of these ends at a record whose key is null or empty. Owns nothing. */
typedef struct GETMULTIPAR {
    char const* key; /**< what to read; null or "" ends the array */
    PARAM_TYPE type; /**< type of the buffer */
    void* value;     /**< output buffer, as for STICKET_ACCESS::GetParameter */
    int index;       /**< SCALAR_INDEX or an element */
    bool result;     /**< written by the batch: whether this record was read */
} GETMULTIPAR;

/** One write of a batch. An array of these ends at a record whose key is null or empty. Owns nothing. */
typedef struct SETMULTIPAR {
    char const* key;   /**< what to write; null or "" ends the array */
    PARAM_TYPE type;   /**< type of the value */
    void const* value; /**< input, as for STICKET_ACCESS::SetParameter */
    int index;         /**< SCALAR_INDEX, APPEND_INDEX or an element */
    bool result;       /**< written by the batch: whether this record was stored */
} SETMULTIPAR;

#ifdef __cplusplus
class STICKET;
namespace SysLib {
struct MUTEX_INSTANCE;
}
#else
/** A ticket; hosts only pass its pointer on. */
typedef struct STICKET STICKET;
#endif

/**
 * Called for every parameter of a walk.
 * @param context what the caller of the walk passed
 * @param key the key; valid during the call
 * @param type type of `value`
 * @param value as in the PARAM_TYPE table; null for PARAM_NONE and where the walk level asks for types only. Numbers of
 *        type 3, 7 and 9 and text point at the stored value (NaN at MathLib::NOT_A_DOUBLE_NUMBER), the others at
 *        temporaries of this call
 * @param index SCALAR_INDEX for a whole value, or the position of a vector's element
 * @return false ends the walk
 */
typedef bool (*STICKET_WALK_CALLBACK)(void* context, char const* key, PARAM_TYPE type, void const* value, int index);

/** A callback deferred with STICKET_ACCESS::QueueAfterNotification. */
typedef void (*STICKET_DEFERRED_CALLBACK)(void* argument);

/** Usual levels of STICKET_ACCESS::WalkParameter. */
enum {
    WALK_KEYS = 0,         /**< each key once, without type */
    WALK_TYPES = 1,        /**< each key once, with its type */
    WALK_VALUES = 2,       /**< each value; a vector by its element count */
    WALK_EVERYTHING = 8000 /**< each value, and each element of each vector */
};

/**
 * A ticket's function table, handed out by the factory and valid until the ticket is destroyed. Every entry is called
 * as `table->Entry(table->pTicket, ...)`.
 */
typedef struct STICKET_ACCESS {
    uint64_t nSize;     /**< 576 */
    uint32_t nVersion;  /**< 2 */
    uint32_t nReserved; /**< 0 */
    STICKET* pTicket;   /**< first argument of every entry */

    /**
     * Reads one value, converted to `type`:
     * - A number is read as any number type, rounded half away from zero; out of range as the nearest bound. NaN reads
     *   as INT32_MIN, UINT32_MAX, INT64_MAX or UINT64_MAX; an infinity of either sign reads as UINT64_MAX, too.
     * - A 64-bit integer beyond 2^53 keeps its bits when read with the other sign.
     * - Text is also read as a byte string. There are no other conversions.
     * - PARAM_NONE reads the type (a PARAM_TYPE): PARAM_DOUBLE for every number but a 64-bit integer beyond 2^53.
     * - PARAM_VECTOR reads the number of elements (1 for a scalar).
     *
     * Lifetime: text of a ticket in memory, and bytes of a byte string, are valid until that value changes or is
     * deleted, or a file ticket drops its contents. Text of a file ticket is valid until the ticket is destroyed. The
     * host owns what an opaque pointer points to.
     *
     * @param ticket null returns 0
     * @param key null: no such key
     * @param type type of the buffer
     * @param value buffer of the type's size. On failure it receives 0, null or {null, 0}. It is left alone by
     *        PARAM_POINTER and PARAM_VECTOR with an element index, by unknown types, and if the ticket cannot be used
     *        or loaded. Null: nothing is read, the result tells whether the value exists
     * @param index SCALAR_INDEX or an element. A vector as a whole is read as PARAM_NONE or PARAM_VECTOR only
     */
    int (*GetParameter)(STICKET* ticket, char const* key, PARAM_TYPE type, void* value, int index);
    /** Reads a batch under one lock, each record as GetParameter does, and sets each record's `result`. Returns
     * non-zero; or 0 if `records` is null, the ticket cannot be used, memory is exhausted, or a save before a partial
     * tree is dropped fails: then every `result` is false and the buffers are undefined. For a null ticket returns 0
     * and leaves the records alone. */
    int (*GetMultiParameter)(STICKET* ticket, GETMULTIPAR* records);
    /**
     * Calls back for every parameter in ascending key order. `prefix` is accepted and ignored. Levels: below 1 keys
     * only, 1 types, 2 and 3 values (vectors by their count), 4 to 9 elements by type, from 10 elements with values.
     * As a value, a number without a fraction is reported as PARAM_INT, any other as PARAM_DOUBLE, an integer beyond
     * 2^53 as PARAM_INT64 or PARAM_UINT64; by type alone the first two are both PARAM_DOUBLE. CAUTION: a number without
     * a fraction that does not fit into an int32_t is reported as INT32_MIN. Read such values by their key.
     * Runs on the calling thread, with the mutex held throughout. The callback may change this ticket: the walk
     * continues with the next greater key. A C++ exception that leaves the callback ends the walk with 0.
     * @return non-zero, also if the callback ended the walk; 0 if `callback` is null or the ticket cannot be used
     */
    int (*WalkParameter)(STICKET* ticket, STICKET_WALK_CALLBACK callback, void* context, char const* prefix, int level);
    void* Reserved1[20]; /**< null */

    /**
     * Stores a copy of the value that `value` points to; PARAM_POINTER stores `value` itself. A null `value` is "" for
     * PARAM_STRING, null for PARAM_POINTER, and refused for numbers and byte strings. PARAM_NONE takes a null `value`
     * and deletes the key or, with an element index, that element; later elements move down. PARAM_VECTOR is refused:
     * vectors are built element by element.
     *
     * SCALAR_INDEX replaces the old value or vector. APPEND_INDEX stores a scalar under an absent key, turns a scalar
     * into the vector of the old and the new value, and appends to a vector. An element index first turns the key into
     * a vector: an absent key into an empty one, a scalar into one element. Then an index equal to the number of
     * elements appends; a higher or negative one is refused, but the key stays a vector. Any other refusal changes
     * nothing. `value` and `key` may point into this ticket.
     * @return 1 or 0
     */
    int (*SetParameter)(STICKET* ticket, char const* key, PARAM_TYPE type, void const* value, int index);
    /** Stores a batch under one lock, in order, after reading all its keys and values, and sets each record's `result`.
     * Returns 1, also if records failed because memory was exhausted; or 0 if `records` is null, or the ticket cannot
     * be used or loaded: then every `result` is false. For a null ticket returns 0 and leaves the records alone. */
    int (*SetMultiParameter)(STICKET* ticket, SETMULTIPAR* records);
    /**
     * Copies parameters of `source`, which may be this ticket, into this ticket. The mutex is not held between the
     * steps (collect, clear, store): other threads may see a cleared target. CAUTION: the values are those that a walk
     * reports, so a number without a fraction beyond 32 bits arrives as INT32_MIN.
     * @param ticket the target; null returns 0
     * @param source null returns 0. If it cannot be walked, nothing changes
     * @param keys null-terminated selection: exact keys, or prefixes with a trailing "*". Null or no strings:
     *        everything; a first string of "": nothing
     * @param clear empties the target before the copies are stored
     * @return 1, also if memory ran out while the copies were stored; 0 if it ran out while they were collected, or if
     * the source holds nothing that `keys` selects; `clear` then still empties the target
     */
    int (*MergeTicket)(STICKET* ticket, struct STICKET_ACCESS const* source, char const* const* keys, bool clear);
    /** Performs an operation code; see STICKET_OP. Returns 1; or 0 for an unknown code, a null `data` where one is
     * needed, an unusable ticket, or a save that ran out of memory or met an infinite number, a throwing conversion or
     * a key nested too deep. Such a save leaves the file as it was, and the ticket stays unsaved. */
    int (*Operation)(STICKET* ticket, STICKET_OP code, void* data);
    /**
     * Takes or releases one of twenty advisory locks (0 to 19); never blocks. Locks are not saved.
     * - `*owner` names the caller: any int but -1 and -2. The holder may lock again and must unlock as often.
     * - If another owner holds the lock, the entry returns 0 and writes the holder to `*owner`.
     * - Unlocking writes -1 to `*owner` once the lock is free.
     * - Unlocking number -2 frees everything that `*owner` holds, and writes -1 only if no lock is held any more.
     * - Unlocking with `*owner` -2, which is left as it is, frees the lock, or all locks, of any owner.
     * @return non-zero if the lock was taken, released, or already free; for number -2 if at least one was released, or
     * `*owner` is -2
     */
    int (*Lock)(STICKET* ticket, int number, int* owner, bool lock);
    void* Reserved2[20]; /**< null */

    /** Removes change registrations: all of them for number -2 with `enable` false; one for a number from 0 on a ticket
     * with a server. No function that a host can call adds one; see TicketServices.h for observers. `keys` is ignored.
     * Returns 1; or 0 for any other number and for a ticket that cannot be used. */
    int (*EnDisNotification)(STICKET* ticket, int number, bool enable, char const* const* keys);
    /**
     * Queues a callback that runs once: in the next SetParameter, SetMultiParameter or Operation that succeeds, on its
     * thread, after its work, with the mutex held. Callbacks run in the order in which they were queued. A callback may
     * use the ticket and queue others, which run in the same pass: one that queues itself again never ends. To hear of
     * every change, see TicketAddObserver. Callbacks still queued when the ticket is destroyed are dropped. `argument`
     * is passed to the callback; the library does not read what it points to.
     * @return false if `callback` is null, the ticket is null or cannot be used, or memory is exhausted
     */
    bool (*QueueAfterNotification)(STICKET* ticket, STICKET_DEFERRED_CALLBACK callback, void* argument);
    void* Reserved3[19]; /**< null */
} STICKET_ACCESS;

/** Identity and options of a ticket, copied when it is created. */
typedef struct STICKET_WHOAMI {
    STICKET* pServer; /**< the ticket that serves this one and outlives it; null: this ticket owns a mutex of its own */
    int nIdA;         /**< reported by STICKET_OP_WHOAMI and in log texts; -2 by default */
    int nIdB;         /**< likewise */
    void* pContext;   /**< the caller's, returned by STICKET_OP_CONTEXT. For a file ticket null or a
                           STICKET_STRING_CONVERSION, used whenever text is saved or loaded; outlives the ticket */
#ifdef __cplusplus
    SysLib::MUTEX_INSTANCE* pMutex; /**< with `pServer`: the mutex to share, not owned; if null, the ticket cannot be
                                         used and every entry returns 0. Without `pServer`: ignored */
#else
    void* pMutex; /**< as in C++ */
#endif
} STICKET_WHOAMI;

/** What STICKET_OP_WHOAMI fills. */
typedef struct STICKET_OPTION_WHOAMI {
    STICKET_ACCESS const* pServer; /**< the serving ticket's table, which lives as long as that ticket; or null */
    int nIdA;                      /**< as given in STICKET_WHOAMI */
    int nIdB;                      /**< as given in STICKET_WHOAMI */
} STICKET_OPTION_WHOAMI;

/** The library's entry point for tickets: exported as `STicketInstance`, and by pointer as `hSTicketInstance`. */
typedef struct STICKET_INSTANCE {
    uint64_t nSize;    /**< 192 */
    uint64_t nVersion; /**< 1; a host goes no further with another one */
    /**
     * Creates a ticket and returns its table, to be passed to `Destroy`. Null name: in memory; any other, "" included:
     * bound to the XML file of that name, which is read at the first access. Throws a C++ exception if memory is
     * exhausted.
     */
    STICKET_ACCESS const* (*Create)(char const* name);
    /**
     * Destroys the ticket of a table and sets the caller's pointer to null. The table and all pointers read from the
     * ticket become invalid. Saves a dirty file ticket first. CAUTION: the process ends if that save meets an infinite
     * number or a conversion that throws; if it runs out of memory, the old file stays. No call may be under way. Null
     * does nothing.
     */
#ifdef __cplusplus
    void (*Destroy)(STICKET_ACCESS const*& access);
#else
    void (*Destroy)(STICKET_ACCESS const** access);
#endif
    uint64_t nAccessVersion; /**< the `nVersion` of every table that Create hands out: 2 */
    void* Reserved[19];      /**< null */
} STICKET_INSTANCE;

/** @cond */
/* clang-format off */
#ifdef __cplusplus
#define TICKETRECORDS_ASSERT(condition) static_assert(condition, #condition)
#else
#define TICKETRECORDS_ASSERT(condition) _Static_assert(condition, #condition)
#endif
TICKETRECORDS_ASSERT(sizeof(void*) == 8);
TICKETRECORDS_ASSERT(sizeof(PARAM_TYPE) == 4);
TICKETRECORDS_ASSERT(sizeof(STICKET_OP) == 4);
TICKETRECORDS_ASSERT(sizeof(bool) == 1);
TICKETRECORDS_ASSERT(sizeof(BIN_STRING) == 16);
TICKETRECORDS_ASSERT(offsetof(BIN_STRING, length) == 8);
TICKETRECORDS_ASSERT(sizeof(GETMULTIPAR) == 32);
TICKETRECORDS_ASSERT(offsetof(GETMULTIPAR, type) == 8);
TICKETRECORDS_ASSERT(offsetof(GETMULTIPAR, value) == 16);
TICKETRECORDS_ASSERT(offsetof(GETMULTIPAR, index) == 24);
TICKETRECORDS_ASSERT(offsetof(GETMULTIPAR, result) == 28);
TICKETRECORDS_ASSERT(sizeof(SETMULTIPAR) == 32);
TICKETRECORDS_ASSERT(offsetof(SETMULTIPAR, type) == 8);
TICKETRECORDS_ASSERT(offsetof(SETMULTIPAR, value) == 16);
TICKETRECORDS_ASSERT(offsetof(SETMULTIPAR, index) == 24);
TICKETRECORDS_ASSERT(offsetof(SETMULTIPAR, result) == 28);
TICKETRECORDS_ASSERT(sizeof(STICKET_ACCESS) == 576);
TICKETRECORDS_ASSERT(offsetof(STICKET_ACCESS, nVersion) == 8);
TICKETRECORDS_ASSERT(offsetof(STICKET_ACCESS, nReserved) == 12);
TICKETRECORDS_ASSERT(offsetof(STICKET_ACCESS, pTicket) == 16);
TICKETRECORDS_ASSERT(offsetof(STICKET_ACCESS, GetParameter) == 24);
TICKETRECORDS_ASSERT(offsetof(STICKET_ACCESS, GetMultiParameter) == 32);
TICKETRECORDS_ASSERT(offsetof(STICKET_ACCESS, WalkParameter) == 40);
TICKETRECORDS_ASSERT(offsetof(STICKET_ACCESS, Reserved1) == 48);
TICKETRECORDS_ASSERT(offsetof(STICKET_ACCESS, SetParameter) == 208);
TICKETRECORDS_ASSERT(offsetof(STICKET_ACCESS, SetMultiParameter) == 216);
TICKETRECORDS_ASSERT(offsetof(STICKET_ACCESS, MergeTicket) == 224);
TICKETRECORDS_ASSERT(offsetof(STICKET_ACCESS, Operation) == 232);
TICKETRECORDS_ASSERT(offsetof(STICKET_ACCESS, Lock) == 240);
TICKETRECORDS_ASSERT(offsetof(STICKET_ACCESS, Reserved2) == 248);
TICKETRECORDS_ASSERT(offsetof(STICKET_ACCESS, EnDisNotification) == 408);
TICKETRECORDS_ASSERT(offsetof(STICKET_ACCESS, QueueAfterNotification) == 416);
TICKETRECORDS_ASSERT(offsetof(STICKET_ACCESS, Reserved3) == 424);
TICKETRECORDS_ASSERT(sizeof(STICKET_WHOAMI) == 32);
TICKETRECORDS_ASSERT(offsetof(STICKET_WHOAMI, nIdA) == 8);
TICKETRECORDS_ASSERT(offsetof(STICKET_WHOAMI, nIdB) == 12);
TICKETRECORDS_ASSERT(offsetof(STICKET_WHOAMI, pContext) == 16);
TICKETRECORDS_ASSERT(offsetof(STICKET_WHOAMI, pMutex) == 24);
TICKETRECORDS_ASSERT(sizeof(STICKET_OPTION_WHOAMI) == 16);
TICKETRECORDS_ASSERT(offsetof(STICKET_OPTION_WHOAMI, nIdA) == 8);
TICKETRECORDS_ASSERT(offsetof(STICKET_OPTION_WHOAMI, nIdB) == 12);
TICKETRECORDS_ASSERT(sizeof(STICKET_INSTANCE) == 192);
TICKETRECORDS_ASSERT(offsetof(STICKET_INSTANCE, nVersion) == 8);
TICKETRECORDS_ASSERT(offsetof(STICKET_INSTANCE, Create) == 16);
TICKETRECORDS_ASSERT(offsetof(STICKET_INSTANCE, Destroy) == 24);
TICKETRECORDS_ASSERT(offsetof(STICKET_INSTANCE, nAccessVersion) == 32);
TICKETRECORDS_ASSERT(offsetof(STICKET_INSTANCE, Reserved) == 40);
#undef TICKETRECORDS_ASSERT
/* clang-format on */
/** @endcond */

/** The factory record. Constant; usable from any thread, also while static objects are constructed or destroyed. */
CONFIGURATIONCONTROL_API extern STICKET_INSTANCE const STicketInstance;
/** Pointer to STicketInstance; what STICKET_OP_INSTANCE hands out. */
CONFIGURATIONCONTROL_API extern STICKET_INSTANCE const* const hSTicketInstance;

#endif
