/** @file
 * Typed access to tickets: whole containers and file names in one call.
 *
 * A container is always read or written by a single batch, under one holding of the ticket's mutex. Nothing here throws
 * except the three free functions (std::bad_alloc): a ticket call that failed, a null key and exhausted memory all
 * return false. A view may be used by several threads at once; the containers passed in may not.
 *
 * Element types: bool (stored as the int 0 or 1), int, unsigned int, long long, unsigned long long, double,
 * char const*, std::string (vectors only) and void*. Numbers are converted as STICKET_ACCESS::GetParameter does.
 *
 * Lifetime of text. A `char const*` read from a ticket in memory is valid until that value changes or is deleted; one
 * read from a file ticket is valid until the ticket is destroyed. std::string results are copies that are made after
 * the batch has returned: while one thread reads text of a ticket in memory, other threads must not change it, or the
 * read must run in TicketRunLocked. Texts of a file ticket need no such care.
 */
#ifndef CONFIGURATIONCONTROL_TICKETACCESS_H
#define CONFIGURATIONCONTROL_TICKETACCESS_H

#include "ConfigurationControl/CxxOnly.h"

#include <string>
#include <vector>

#include "ConfigurationControl/TicketRecords.h"

/** Reads typed values through a ticket's table. A view: it owns nothing, and the ticket must outlive it. */
class CONFIGURATIONCONTROL_API STICKET_READ {
 public:
    /** Keeps a reference to the table. */
    explicit STICKET_READ(STICKET_ACCESS const& access) : m_access(access) {}

    /** Reads text. On failure `value` is empty. */
    bool GetParameter(char const* key, std::string& value, int index) const;
    /** Reads a file name: text with every backslash turned into "/". On failure `value` is empty. */
    bool GetFilenameParameterChk_C(char const* key, std::string& value, int index) const;
    /** Reads the ticket's identity. On failure `who` holds a null table and the numbers -1 and -1. */
    bool WhoAmI(STICKET_OPTION_WHOAMI& who) const;

    /**
     * Reads all elements of a vector, or a scalar as one element. Elements that cannot be converted are left out, the
     * others keep their order. The elements are counted first: what another thread appends between that and the batch
     * is not seen.
     * @return whether at least one element was read. False leaves `value` as it was if the key has no elements (or
     * memory was short), and empty if it has some but none could be read
     */
    bool GetVectorParameter(char const* key, std::vector<int>& value) const;
    /** @copydoc GetVectorParameter(char const*, std::vector<int>&) const */
    bool GetVectorParameter(char const* key, std::vector<unsigned int>& value) const;
    /** @copydoc GetVectorParameter(char const*, std::vector<int>&) const */
    bool GetVectorParameter(char const* key, std::vector<long long>& value) const;
    /** @copydoc GetVectorParameter(char const*, std::vector<int>&) const */
    bool GetVectorParameter(char const* key, std::vector<unsigned long long>& value) const;
    /** @copydoc GetVectorParameter(char const*, std::vector<int>&) const */
    bool GetVectorParameter(char const* key, std::vector<double>& value) const;
    /** @copydoc GetVectorParameter(char const*, std::vector<int>&) const */
    bool GetVectorParameter(char const* key, std::vector<char const*>& value) const;
    /** @copydoc GetVectorParameter(char const*, std::vector<int>&) const */
    bool GetVectorParameter(char const* key, std::vector<bool>& value) const;
    /** @copydoc GetVectorParameter(char const*, std::vector<int>&) const */
    bool GetVectorParameter(char const* key, std::vector<std::string>& value) const;
    /** Always false, with `value` empty if there are elements: tickets return pointers only as whole values. Declared
     * because every type that can be written has its counterpart. */
    bool GetVectorParameter(char const* key, std::vector<void*>& value) const;
    /** As the vector of std::string, each element a file name with every backslash turned into "/". */
    bool GetFilenameVectorParameter_C(char const* key, std::vector<std::string>& value) const;

    /**
     * Reads the first `count` elements into `array`. An element that cannot be converted is set to 0 or null.
     * @return whether all were read; false for a `count` of 0 or beyond the ticket's elements, and a null `array`
     */
    bool GetArrayParameter(char const* key, int* array, unsigned long count) const;
    /** @copydoc GetArrayParameter(char const*, int*, unsigned long) const */
    bool GetArrayParameter(char const* key, unsigned int* array, unsigned long count) const;
    /** @copydoc GetArrayParameter(char const*, int*, unsigned long) const */
    bool GetArrayParameter(char const* key, long long* array, unsigned long count) const;
    /** @copydoc GetArrayParameter(char const*, int*, unsigned long) const */
    bool GetArrayParameter(char const* key, unsigned long long* array, unsigned long count) const;
    /** @copydoc GetArrayParameter(char const*, int*, unsigned long) const */
    bool GetArrayParameter(char const* key, double* array, unsigned long count) const;
    /** @copydoc GetArrayParameter(char const*, int*, unsigned long) const */
    bool GetArrayParameter(char const* key, char const** array, unsigned long count) const;
    /** @copydoc GetArrayParameter(char const*, int*, unsigned long) const */
    bool GetArrayParameter(char const* key, bool* array, unsigned long count) const;
    /** Always false, and `array` is not written: tickets return pointers only as whole values. */
    bool GetArrayParameter(char const* key, void** array, unsigned long count) const;

 private:
    STICKET_ACCESS const& m_access;
};

/**
 * Writes typed values through a ticket's table. A view: it owns nothing, and the ticket must outlive it. The ticket
 * copies what it is given, except that a void* is stored as it is and never dereferenced.
 */
class CONFIGURATIONCONTROL_API STICKET_MODIFY {
 public:
    /** Keeps a reference to the table. */
    explicit STICKET_MODIFY(STICKET_ACCESS const& access) : m_access(access) {}

    /**
     * Replaces whatever the key holds by exactly these elements; a single element becomes a scalar. An empty vector
     * removes the key and always returns true.
     * @return whether every element was stored
     */
    bool SetVectorParameter(char const* key, std::vector<int> const& value) const;
    /** @copydoc SetVectorParameter(char const*, std::vector<int> const&) const */
    bool SetVectorParameter(char const* key, std::vector<unsigned int> const& value) const;
    /** @copydoc SetVectorParameter(char const*, std::vector<int> const&) const */
    bool SetVectorParameter(char const* key, std::vector<long long> const& value) const;
    /** @copydoc SetVectorParameter(char const*, std::vector<int> const&) const */
    bool SetVectorParameter(char const* key, std::vector<unsigned long long> const& value) const;
    /** @copydoc SetVectorParameter(char const*, std::vector<int> const&) const */
    bool SetVectorParameter(char const* key, std::vector<double> const& value) const;
    /** @copydoc SetVectorParameter(char const*, std::vector<int> const&) const */
    bool SetVectorParameter(char const* key, std::vector<char const*> const& value) const;
    /** @copydoc SetVectorParameter(char const*, std::vector<int> const&) const */
    bool SetVectorParameter(char const* key, std::vector<void*> const& value) const;
    /** @copydoc SetVectorParameter(char const*, std::vector<int> const&) const */
    bool SetVectorParameter(char const* key, std::vector<bool> const& value) const;
    /** @copydoc SetVectorParameter(char const*, std::vector<int> const&) const */
    bool SetVectorParameter(char const* key, std::vector<std::string> const& value) const;
    /** As the vector of std::string, with every backslash of the names turned into "/". */
    bool SetFilenameVectorParameter(char const* key, std::vector<std::string> const& value) const;

    /**
     * Replaces whatever the key holds by the `count` elements of `array`; a single element becomes a scalar. A `count`
     * of 0 removes the key and always returns true.
     * @return whether every element was stored; false for a null `array`
     */
    bool SetArrayParameter(char const* key, int const* array, unsigned long count) const;
    /** @copydoc SetArrayParameter(char const*, int const*, unsigned long) const */
    bool SetArrayParameter(char const* key, unsigned int const* array, unsigned long count) const;
    /** @copydoc SetArrayParameter(char const*, int const*, unsigned long) const */
    bool SetArrayParameter(char const* key, long long const* array, unsigned long count) const;
    /** @copydoc SetArrayParameter(char const*, int const*, unsigned long) const */
    bool SetArrayParameter(char const* key, unsigned long long const* array, unsigned long count) const;
    /** @copydoc SetArrayParameter(char const*, int const*, unsigned long) const */
    bool SetArrayParameter(char const* key, double const* array, unsigned long count) const;
    /** @copydoc SetArrayParameter(char const*, int const*, unsigned long) const */
    bool SetArrayParameter(char const* key, char const* const* array, unsigned long count) const;
    /** @copydoc SetArrayParameter(char const*, int const*, unsigned long) const */
    bool SetArrayParameter(char const* key, void* const* array, unsigned long count) const;
    /** @copydoc SetArrayParameter(char const*, int const*, unsigned long) const */
    bool SetArrayParameter(char const* key, bool const* array, unsigned long count) const;

 private:
    STICKET_ACCESS const& m_access;
};

/** A copy of `fileName` as tickets keep it: every backslash becomes "/". */
CONFIGURATIONCONTROL_API std::string FilenameToTicket(std::string const& fileName);
/** A copy of a ticket's file name for the host: the same replacement, since older values may still hold backslashes. */
CONFIGURATIONCONTROL_API std::string FilenameFromTicket_C(std::string const& fileName);
/** Fills `out` with the names of `in`, in order, each as FilenameToTicket returns it. Both may be the same vector. */
CONFIGURATIONCONTROL_API void FilenamesToTicket(std::vector<std::string>& out, std::vector<std::string> const& in);

#endif
