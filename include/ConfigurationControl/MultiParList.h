/** @file
 * A list of settings for a batch, with copies of their keys and values.
 */
#ifndef CONFIGURATIONCONTROL_MULTIPARLIST_H
#define CONFIGURATIONCONTROL_MULTIPARLIST_H

#include "ConfigurationControl/CxxOnly.h"

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "ConfigurationControl/MultiParListC.h"
#include "ConfigurationControl/PartialMode.h"
#include "ConfigurationControl/TicketRecords.h"
#include "ConfigurationControl/ValueCaches.h"

/**
 * Collects settings one by one, from short-lived values or from a ticket, and hands them out as one array for
 * STICKET_ACCESS::SetMultiParameter. It keeps copies of all keys and copied values until `Clear` or destruction.
 *
 * Errors: setters return true. A setter that throws adds nothing: std::bad_alloc if memory is exhausted,
 * std::length_error for a byte string of absurd length. Collecting from a ticket that cannot be walked (it is unusable,
 * or its load ran out of memory) adds nothing and reports nothing. Threads: one at a time per list.
 */
class CONFIGURATIONCONTROL_API SETMULTIPAR_LIST {
 public:
    /** An empty list. `copyAll`: collected values (Merge, MergeIf, ySetParameter) are copied for every type. */
    explicit SETMULTIPAR_LIST(bool copyAll = false) : m_copyAll(copyAll) {}
    /** An empty list, then `Merge(ticket, keys)`. */
    SETMULTIPAR_LIST(STICKET_ACCESS const* ticket, char const* const* keys, bool copyAll);
    /** An empty list, then `Merge(ticket, mode)`. */
    SETMULTIPAR_LIST(STICKET_ACCESS const* ticket, PARTIAL_MODE const& mode, bool copyAll);
    ~SETMULTIPAR_LIST();
    SETMULTIPAR_LIST(SETMULTIPAR_LIST const&) = delete;
    SETMULTIPAR_LIST& operator=(SETMULTIPAR_LIST const&) = delete;

    /**
     * Adds one record with copies of key and value. Types 0, 1 and 6 and unknown types keep the caller's `value`
     * pointer; null stays null. A double that is not a number, infinities included, becomes NaN. A null key is kept (as
     * an array ends there, it sorts last).
     * @return true
     */
    bool xSetParameter(char const* key, PARAM_TYPE type, void const* value, int index);
    /**
     * Adds one record as a walk reports it: index 0 becomes SCALAR_INDEX, so that a collected vector replaces the
     * target's and grows it one by one. Copies as xSetParameter if the list copies all; otherwise copies only keys,
     * byte strings and 32-bit integers. Other values keep the walk's pointer, valid as long as the walked ticket stays
     * unchanged.
     * @return true
     */
    bool ySetParameter(char const* key, PARAM_TYPE type, void const* value, int index);
    /** Adds records that replace a whole vector: the deletion of `key`, then each text appended. @return true */
    bool SetVectorParameter(char const* key, std::vector<std::string> const& values);
    /** As SetVectorParameter, with every backslash of the names turned into "/". @return true */
    bool SetFilenameVectorParameter(char const* key, std::vector<std::string> const& fileNames);

    /**
     * The records as an array ended by an all-zero record; null when there are none. To a ticket a record with an empty
     * key ends it too; sorted, that record comes first.
     * @param sort puts the records in key order (bytewise, stable) first; they stay in that order
     * @return owned by the list; valid until the next addition, a sort of unsorted records, `Clear`, or destruction
     */
    SETMULTIPAR* Table(bool sort);
    /** Number of records. */
    uint64_t Size() const { return m_records.size(); }
    /** Empties the list; whether it copies all stays. */
    void Clear();
    /** Whether a record with this key was added since the last Clear. False for null. */
    bool ParameterExists(char const* key) const { return m_keys.find(key); }

    /**
     * Adds the parameters of `ticket` that `keys` selects (see PARTIAL_MODE); all of them when `keys` is null or has no
     * strings; none for a first string of "". A null ticket adds nothing. The values are those that
     * STICKET_ACCESS::WalkParameter reports; see its caution about large numbers.
     */
    void Merge(STICKET_ACCESS const* ticket, char const* const* keys);
    /** As above; an empty mode selects everything. */
    void Merge(STICKET_ACCESS const* ticket, PARTIAL_MODE const& mode);
    /**
     * Adds the parameters for whose key `filter` returns true. An exception from the filter (std::bad_function_call
     * from an empty one) ends the collecting and leaves this function. The list keeps the filter, and what it captured,
     * until the next MergeIf or its own end.
     */
    void MergeIf(STICKET_ACCESS const* ticket, std::function<bool(char const*)> filter);

    /** STICKET_WALK_CALLBACK whose context is a SETMULTIPAR_LIST: adds every value, ignores types 0 and 6. Returns
     * true. Exhausted memory throws std::bad_alloc; the walking entry then returns 0. */
    static bool CollectAction(void* list, char const* key, PARAM_TYPE type, void const* value, int index);

 private:
    CONFIGURATIONCONTROL_LOCAL void const* Stored(PARAM_TYPE type, void const* value);
    CONFIGURATIONCONTROL_LOCAL bool Append(char const* key, PARAM_TYPE type, void const* value, int index);
    CONFIGURATIONCONTROL_LOCAL void MergeSelected(STICKET_ACCESS const* ticket, PARTIAL_MODE const& mode);

    STRINGCACHE m_keys;
    VALCACHE<int> m_ints;
    VALCACHE<unsigned int> m_unsigneds;
    VALCACHE<long long> m_int64s;
    VALCACHE<unsigned long long> m_uint64s;
    VALCACHE<double> m_doubles;
    STRINGCACHE m_strings;
    BIN_STRING_CACHE m_binaries;
    bool m_sorted = false;
    bool m_copyAll;
    std::vector<SETMULTIPAR> m_records;
    std::vector<SETMULTIPAR> m_table;          /**< the last array handed out; empty: none */
    std::function<bool(char const*)> m_filter; /**< of the last MergeIf */
};

#endif
