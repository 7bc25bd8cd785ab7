/** @file
 * Selections of a ticket's parameters by exact keys and key prefixes. No locking.
 *
 * Hosts write a selection as a null-terminated array of strings, in which a trailing "*" marks a prefix:
 * {"Product/Name", "Login*", nullptr}.
 */
#ifndef CONFIGURATIONCONTROL_PARTIALMODE_H
#define CONFIGURATIONCONTROL_PARTIALMODE_H

#include "ConfigurationControl/CxxOnly.h"

#include <cstddef>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "ConfigurationControl/TicketRecords.h"

class SETMULTIPAR_LIST;

/**
 * A set of prefixes, none of which begins with another. Strings are equivalent when one is a prefix of the other; the
 * empty string is equivalent to every string.
 */
class CONFIGURATIONCONTROL_API STRINGPREFIXSET {
 public:
    /** The prefix ordering: compares the first min(a, b) bytes only. */
    struct LESS {
        using is_transparent = void; /**< lookups of any kind of text make no copy */
        /** Whether `a` comes before `b`. */
        bool operator()(std::string_view a, std::string_view b) const;
    };
    /** An iterator. Valid until its element is removed. */
    using const_iterator = std::set<std::string, LESS>::const_iterator;

    /**
     * Adds a prefix unless one that covers it is there. A longer stored prefix that it covers is replaced; of several
     * such only the first is removed, and the new prefix is then not added ("a/b/", "a/c/" and "a/" give "a/c/"):
     * hosts rely on their selections being reduced this way.
     */
    void insert(std::string const& prefix);
    /**
     * Removes the stored prefix that equals `prefix` or is a prefix of it: removing "a/b/" removes "a/". A longer one
     * stays.
     * @return how many were removed, 0 or 1
     */
    std::size_t erase(std::string const& prefix);
    /** The first stored string equivalent to `text`, or end(). */
    const_iterator find(std::string_view text) const;
    /** Whether `key` begins with a stored prefix. */
    bool Covers(std::string_view key) const;

    /** The first prefix, in byte order. */
    const_iterator begin() const { return m_prefixes.begin(); }
    /** After the last prefix. */
    const_iterator end() const { return m_prefixes.end(); }
    /** Whether there is no prefix. */
    bool empty() const { return m_prefixes.empty(); }
    /** Number of prefixes. */
    std::size_t size() const { return m_prefixes.size(); }
    /** Removes all prefixes. */
    void clear() { m_prefixes.clear(); }

 private:
    std::set<std::string, LESS> m_prefixes;
};

/** A selection of keys. A selection without keys and prefixes stands for "everything" where the caller says so. */
struct CONFIGURATIONCONTROL_API PARTIAL_MODE {
    std::set<std::string, std::less<>> keys; /**< selected exactly */
    STRINGPREFIXSET prefixes;                /**< selected with everything that begins with them */

    /**
     * Changes the selection. Null empties it. If the first string is "", the following strings are removed (see erase);
     * otherwise all strings are added. A list without strings changes nothing.
     */
    void set(char const* const* list);
    /** Removes one entry, written as in a list; a trailing "*" means a prefix (see STRINGPREFIXSET::erase). */
    void erase(std::string entry);
    /** Whether `key` is one of the keys or begins with one of the prefixes. False for null. */
    bool Selects(char const* key) const;
    /** Whether there is neither a key nor a prefix. */
    bool empty() const { return keys.empty() && prefixes.empty(); }
};

/** A selection as the null-terminated array that ticket operations take, in byte order, prefixes with their "*". */
class CONFIGURATIONCONTROL_API PARTIAL_TABLE {
 public:
    /** Copies what it needs of `mode`. */
    explicit PARTIAL_TABLE(PARTIAL_MODE const& mode);
    PARTIAL_TABLE(PARTIAL_TABLE const&) = delete;
    PARTIAL_TABLE& operator=(PARTIAL_TABLE const&) = delete;

    /** The array, valid as long as this object; null for an empty selection. */
    char const* const* Table() const { return m_table.empty() ? nullptr : m_table.data(); }

 private:
    std::set<std::string> m_strings;
    std::vector<char const*> m_table;
};

/** Walk context that adds the selected parameters of a ticket to a batch list. Holds references to both. */
struct CONFIGURATIONCONTROL_API PARTIAL_COLLECT_ACTION {
    SETMULTIPAR_LIST& list;   /**< receives the parameters */
    PARTIAL_MODE const& mode; /**< selects them; an empty one selects nothing here */

    /** Adds the parameter when the mode selects its key. May throw std::bad_alloc. */
    void SetParameter(char const* key, PARAM_TYPE type, void const* value, int index);
    /** STICKET_WALK_CALLBACK whose context is a PARTIAL_COLLECT_ACTION; ignores types 0 and 6. Returns true. */
    static bool CollectAction(void* action, char const* key, PARAM_TYPE type, void const* value, int index);
};

#endif
