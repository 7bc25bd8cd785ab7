/** @file
 * How ticket::Store writes and reads numbers: exactly, or not at all. C++17.
 */
#ifndef CONFIGURATIONCONTROL_STORE_NUMBERS_H
#define CONFIGURATIONCONTROL_STORE_NUMBERS_H

#include <cstdint>
#include <limits>
#include <type_traits>

#include "ConfigurationControl/Store/Table.h"

namespace ticket::detail {

constexpr double EXACT = 9007199254740992.0;        /**< 2^53: from here on a double is no exact integer */
constexpr double TWO_TO_63 = 9223372036854775808.0; /**< one above the largest int64_t */

inline bool is_negative_zero(double value) {
    return value == 0 && 1 / value < 0;
}

/** Whether a file gives a double back. A load reads every whole number as a 32-bit integer, which has no -0. */
inline Status kept_by_file(double value) {
    constexpr char const* remedy =
        "a file keeps no whole number beyond 32 bits, no -0 and no infinity; declare the key wide";
    if (value != value) return {};
    if (is_negative_zero(value)) return {Reason::not_kept, remedy};
    if (value >= std::numeric_limits<std::int32_t>::min() && value <= std::numeric_limits<std::int32_t>::max())
        return {};
    bool const whole =
        value <= -EXACT || value >= EXACT || static_cast<double>(static_cast<std::int64_t>(value)) == value;
    return whole ? Status{Reason::not_kept, remedy} : Status{};
}

/** Whether a file gives an integer back: those of 32 bits, and those beyond 2^53, which have a form of their own. */
template <typename T>
constexpr Status integer_kept_by_file(T value) {
    constexpr auto exact = std::int64_t{1} << 53;
    bool kept = value <= static_cast<T>(std::numeric_limits<std::int32_t>::max());
    if constexpr (std::is_signed_v<T>)
        kept = (kept && value >= std::numeric_limits<std::int32_t>::min()) || value < -exact;
    if constexpr (sizeof(T) == sizeof(std::int64_t)) kept = kept || value > static_cast<T>(exact);
    if (kept) return {};
    return {Reason::not_kept, "a file keeps no whole number between 32 and 53 bits; declare the key wide"};
}

/** Gives the sink an integer as the type of the table that holds it. */
template <typename T, typename Sink>
Status put_integer(T value, Rules rules, Sink& sink) {
    constexpr bool fits = sizeof(T) < sizeof(std::int32_t) || std::is_same_v<T, std::int32_t>;
    if constexpr (!fits) {
        Status const status = rules == Rules::file ? integer_kept_by_file(value) : Status{};
        if (!status) return status;
    }
    if constexpr (sizeof(T) < sizeof(std::int32_t) || (sizeof(T) == sizeof(std::int32_t) && std::is_signed_v<T>)) {
        auto const number = static_cast<std::int32_t>(value);
        return sink(PARAM_INT, &number, Lifetime::temporary);
    } else if constexpr (sizeof(T) == sizeof(std::int32_t)) {
        auto const number = static_cast<std::uint32_t>(value);
        return sink(PARAM_UNSIGNED, &number, Lifetime::temporary);
    } else if constexpr (std::is_signed_v<T>) {
        auto const number = static_cast<std::int64_t>(value);
        return sink(PARAM_INT64, &number, Lifetime::temporary);
    } else {
        auto const number = static_cast<std::uint64_t>(value);
        return sink(PARAM_UINT64, &number, Lifetime::temporary);
    }
}

/** Gives the sink a double. */
template <typename Sink>
Status put_double(double value, Rules rules, Sink& sink) {
    if (rules == Rules::file) {
        if (Status const status = kept_by_file(value); !status) return status;
    }
    return sink(PARAM_DOUBLE, &value, Lifetime::temporary);
}

/** A stored number, exactly as it is stored. */
struct Exact {
    enum Kind { none, floating, negative, unsigned_integer } kind = none;
    double number = 0;         /**< floating */
    std::int64_t below = 0;    /**< negative: an integer below -2^53 */
    std::uint64_t integer = 0; /**< unsigned_integer: one above 2^53 */
};

/** Reads a number in full. Two calls of the table, so call it with the mutex held. */
inline Exact read_exact(Slot const& slot) {
    Exact exact;
    switch (slot.type()) {
        case PARAM_DOUBLE:
            if (slot.get(PARAM_DOUBLE, &exact.number)) exact.kind = Exact::floating;
            break;
        case PARAM_INT64:
            if (!slot.get(PARAM_INT64, &exact.below)) break;
            exact.kind = exact.below < 0 ? Exact::negative : Exact::unsigned_integer;
            exact.integer = static_cast<std::uint64_t>(exact.below);
            break;
        case PARAM_UINT64:
            if (slot.get(PARAM_UINT64, &exact.integer)) exact.kind = Exact::unsigned_integer;
            break;
        default:
            break;
    }
    return exact;
}

constexpr Status DOES_NOT_FIT_KEY{Reason::out_of_range, "the number does not fit the type of the key"};
constexpr Status DOES_NOT_FIT{Reason::out_of_range, "the stored number does not fit the type"};

/** Cuts a double to the range of T and rounds half away from zero. Not for NaN. */
template <typename T>
T nearest_integer(double value) {
    constexpr T low = std::numeric_limits<T>::min(), high = std::numeric_limits<T>::max();
    double const edge = sizeof(T) < sizeof(std::int64_t) ? static_cast<double>(high) + 1
                        : std::is_signed_v<T>            ? TWO_TO_63
                                                         : 2 * TWO_TO_63;
    if (value >= edge) return high;
    if (value <= static_cast<double>(low)) return low;
    if (value > -EXACT / 2 && value < EXACT / 2) {
        auto const rounded = static_cast<std::int64_t>(value < 0 ? value - 0.5 : value + 0.5);
        if (static_cast<double>(rounded) >= edge) return high;
        return static_cast<T>(rounded);
    }
    return static_cast<T>(value);
}

/** Converts what read_exact gave; for 64-bit integers and for numbers that are not simply there. */
template <typename T>
Status convert(Exact const& exact, bool round, T& out) {
    constexpr T low = std::numeric_limits<T>::min(), high = std::numeric_limits<T>::max();
    if (exact.kind == Exact::unsigned_integer) {
        bool const fits = exact.integer <= static_cast<std::uint64_t>(high);
        if (!fits && !round) return DOES_NOT_FIT;
        out = fits ? static_cast<T>(exact.integer) : high;
    } else if (exact.kind == Exact::negative) {
        bool const fits = sizeof(T) == sizeof(std::int64_t) && std::is_signed_v<T>;
        if (!fits && !round) return DOES_NOT_FIT;
        out = fits ? static_cast<T>(exact.below) : low;
    } else {
        if (exact.number != exact.number) return {Reason::out_of_range, "the stored value is not a number"};
        T const converted = nearest_integer<T>(exact.number);
        bool const edge = sizeof(T) == sizeof(std::int64_t) && converted == high;  // which is no double
        if (!round && (edge || static_cast<double>(converted) != exact.number)) return DOES_NOT_FIT;
        out = converted;
    }
    return {};
}

/** Reads with the mutex held whatever the short way of take_integer does not settle. */
template <typename T>
[[gnu::noinline]] Status take_integer_slowly(Slot slot, bool round, T& out) {
    if (slot.type() == PARAM_NONE) return NO_VALUE;
    Status status = NO_TICKET;
    locked(slot.table, [&] {
        Exact const exact = read_exact(slot);
        status = exact.kind == Exact::none ? slot.mismatch() : convert(exact, round, out);
    });
    return status;
}

/** Reads an integer; one that does not fit T is refused or, with `round`, the nearest that does. */
template <typename T>
inline Status take_integer(Slot const& slot, bool round, T& out) {
    double value = 0;
    constexpr bool narrow = sizeof(T) < sizeof(std::int64_t);
    double const low = narrow                ? static_cast<double>(std::numeric_limits<T>::min())
                       : std::is_signed_v<T> ? 1 - EXACT
                                             : 0;
    double const high = narrow ? static_cast<double>(std::numeric_limits<T>::max()) : EXACT - 1;
    if (slot.get(PARAM_DOUBLE, &value) && value >= low && value <= high) {
        T const integer = static_cast<T>(value);
        if (static_cast<double>(integer) == value) {
            out = integer;
            return {};
        }
    }
    return take_integer_slowly(slot, round, out);
}

/** Reads a double; an integer beyond 2^53 that is no double is refused unless `round`. */
inline Status take_double(Slot const& slot, bool round, double& out) {
    double value = 0;
    if (!slot.get(PARAM_DOUBLE, &value)) return slot.mismatch();
    out = value;
    if ((value < EXACT && value > -EXACT) || value != value || round) return {};
    Status status = NO_TICKET;
    locked(slot.table, [&] {
        Exact const exact = read_exact(slot);
        status = {};
        if (exact.kind == Exact::none) {
            status = slot.mismatch();
        } else if (exact.kind == Exact::floating) {
            out = exact.number;
        } else if (exact.kind == Exact::negative) {
            out = static_cast<double>(exact.below);
            if (out < -TWO_TO_63 || static_cast<std::int64_t>(out) != exact.below) status = DOES_NOT_FIT;
        } else {
            out = static_cast<double>(exact.integer);
            if (out >= 2 * TWO_TO_63 || static_cast<std::uint64_t>(out) != exact.integer) status = DOES_NOT_FIT;
        }
    });
    return status;
}

}  // namespace ticket::detail

#endif
