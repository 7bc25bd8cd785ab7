/** @file
 * Ordered sets that keep one stable copy of each distinct value.
 *
 * A pointer that a cache hands out stays valid until the cache is cleared or destroyed. No locking.
 */
#ifndef CONFIGURATIONCONTROL_VALUECACHES_H
#define CONFIGURATIONCONTROL_VALUECACHES_H

#include "ConfigurationControl/CxxOnly.h"

#include <cstring>
#include <functional>
#include <set>
#include <string>
#include <string_view>

#include "ConfigurationControl/TicketRecords.h"

/** The order of a VALCACHE. */
template <typename T>
struct VALCACHE_LESS : std::less<T> {};
/** Doubles by their bits: a total order, NaN included, that keeps -0.0 and 0.0 apart. */
template <>
struct VALCACHE_LESS<double> {
    /** Whether `a` comes before `b`. */
    bool operator()(double a, double b) const { return Bits(a) < Bits(b); }

 private:
    static uint64_t Bits(double value) {
        uint64_t bits;
        std::memcpy(&bits, &value, sizeof bits);
        return bits;
    }
};

/** One copy of each distinct number. */
template <typename T>
class VALCACHE {
 public:
    /** The stored copy of `value`, made if there is none. */
    T const* Add(T value) { return &*m_values.insert(value).first; }
    /** Drops all copies. */
    void clear() { m_values.clear(); }

 private:
    std::set<T, VALCACHE_LESS<T>> m_values;
};

/** One copy of each distinct text. */
class CONFIGURATIONCONTROL_API STRINGCACHE {
 public:
    /** Replaces `text` by a pointer to the stored copy, made if there is none. A null pointer is left alone.
     * @return 0 for null, 1 otherwise */
    int operator()(char const*& text);
    /** Whether a text is stored; false for null. */
    bool find(char const* text) const;
    /** Drops all copies. */
    void clear() { m_strings.clear(); }

 private:
    std::set<std::string, std::less<>> m_strings;
};

/** An owning copy of a byte string. */
class CONFIGURATIONCONTROL_API BIN_STRING_BUFFER {
 public:
    /** Copies the bytes; null data makes the empty byte string. */
    explicit BIN_STRING_BUFFER(BIN_STRING const& bytes);
    BIN_STRING_BUFFER(BIN_STRING_BUFFER const&) = delete;
    BIN_STRING_BUFFER& operator=(BIN_STRING_BUFFER const&) = delete;

    /** The bytes, valid as long as this buffer. */
    BIN_STRING const& Get() const { return m_view; }

 private:
    std::string m_bytes;
    BIN_STRING m_view;
};

/** One copy of each distinct byte string. */
class CONFIGURATIONCONTROL_API BIN_STRING_CACHE {
 public:
    /** The stored copy of `bytes`, made if there is none. */
    BIN_STRING const* Add(BIN_STRING const& bytes);
    /** Drops all copies. */
    void clear() { m_buffers.clear(); }

 private:
    struct LESS {
        using is_transparent = void;
        CONFIGURATIONCONTROL_LOCAL bool operator()(BIN_STRING_BUFFER const& a, BIN_STRING_BUFFER const& b) const;
        CONFIGURATIONCONTROL_LOCAL bool operator()(BIN_STRING_BUFFER const& a, std::string_view b) const;
    };
    std::set<BIN_STRING_BUFFER, LESS> m_buffers;
};

#endif
