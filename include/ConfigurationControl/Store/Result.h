/** @file
 * What became of a call on a ticket::Store: done, or why not. C++17.
 */
#ifndef CONFIGURATIONCONTROL_STORE_RESULT_H
#define CONFIGURATIONCONTROL_STORE_RESULT_H

#include <string.h>  // NOLINT: strerror_r is POSIX

#include <cstdint>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>

namespace ticket {

/** Why a call did not do what it was asked to do. */
enum class Reason : std::uint8_t {
    none,         /**< it did */
    missing,      /**< the key has no value */
    wrong_type,   /**< the key holds a value of another type */
    out_of_range, /**< the value does not fit the type, the declared range or the declared choices */
    not_kept,     /**< a file would not give this value, or this key, back as it is */
    no_memory,    /**< memory was short */
    busy,         /**< another save took too long, or reload was called within a function of on_change */
    unreadable,   /**< the file is there, but it was not loaded as a whole */
    undeclared,   /**< Schema::check: no declared key has this name */
    no_ticket,    /**< the store was moved from, or its table cannot be used */
    system        /**< the operating system refused; Result::error is its number */
};

/** The reason as words, such as "out of range". */
constexpr char const* name_of(Reason reason) {
    constexpr char const* names[] = {"done",          "missing", "wrong type", "out of range", "not kept by a file",
                                     "out of memory", "busy",    "unreadable", "undeclared",   "no ticket",
                                     "system error"};
    return names[static_cast<std::uint8_t>(reason)];
}

namespace detail {

/** A reason with a static text; what inner functions return. Trivial, so that success costs nothing. */
struct Status {
    Reason reason = Reason::none;
    char const* detail = nullptr; /**< what was wrong and what to do; static, or null */

    constexpr explicit operator bool() const { return reason == Reason::none; }
};
inline constexpr Status NO_TICKET{Reason::no_ticket, nullptr};
inline constexpr Status NO_VALUE{Reason::missing, nullptr};

// What strerror_r returns: the text itself in the GNU version of the function, an error number in that of POSIX.
inline char const* text_of(char const* text, char const*) {
    return text;
}
inline char const* text_of(int, char const* buffer) {
    return buffer;
}

}  // namespace detail

/** The exception of those who ask for exceptions: Result::or_throw, Expected::value, Options::throws. */
class Error : public std::runtime_error {
 public:
    /** Takes reason and message of a failed Result. */
    Error(Reason reason, std::string const& message) : std::runtime_error(message), m_reason(reason) {}
    /** Why. */
    Reason reason() const noexcept { return m_reason; }

 private:
    Reason m_reason;
};

/** Whether a call was done, and if not, why: `if (auto saved = store.save(); !saved) warn(saved.message());` */
class Result {
 public:
    /** Done. */
    Result() noexcept = default;
    /**
     * Not done.
     * @param reason why not
     * @param subject the key or file that was concerned
     * @param detail what was wrong; static text or null
     * @param error the system's error number, or 0
     */
    Result(Reason reason, std::string_view subject, char const* detail = nullptr, int error = 0)
        : m_detail(detail), m_error(error), m_reason(reason), m_subject(subject) {}
    /** As above, from an inner function. */
    Result(detail::Status status, std::string_view subject) : Result(status.reason, subject, status.detail) {}

    /** Whether it was done. */
    explicit operator bool() const noexcept { return m_reason == Reason::none; }
    /** Why not; Reason::none if it was done. */
    Reason reason() const noexcept { return m_reason; }
    /** The system's error number (errno), 0 where none is known. */
    int error() const noexcept { return m_error; }
    /** The key or file that was concerned. */
    std::string const& subject() const noexcept { return m_subject; }
    /** One line for people: "viewer.xml: No space left on device". "done" if it was done. */
    std::string message() const {
        if (*this) return name_of(m_reason);
        std::string text = m_subject;
        if (!text.empty()) text += ": ";
        if (m_detail != nullptr) text += m_detail;
        if (m_error != 0) {
            if (m_detail != nullptr) text += ": ";
            char buffer[128] = "";
            text += detail::text_of(strerror_r(m_error, buffer, sizeof buffer), buffer);
        } else if (m_detail == nullptr) {
            text += name_of(m_reason);
        }
        return text;
    }
    /** Throws Error unless it was done. */
    Result const& or_throw() const {
        if (!*this) throw Error(m_reason, message());
        return *this;
    }

 private:
    char const* m_detail = nullptr;
    int m_error = 0;
    Reason m_reason = Reason::none;
    std::string m_subject;
};

/** A value, or why there is none. */
template <typename T>
class Expected {
 public:
    /** A value. */
    explicit Expected(T value) : m_value(std::move(value)) {}
    /** None, and why. */
    explicit Expected(Result result) : m_result(std::move(result)) {}

    /** Whether there is a value. */
    explicit operator bool() const noexcept { return m_value.has_value(); }
    /** The value. Requires that there is one. */
    T const& operator*() const& noexcept { return *m_value; }
    /** The value, moved out, so that a loop may run over it. Requires that there is one. */
    T operator*() && { return *std::move(m_value); }
    /** A member of the value. Requires that there is one. */
    T const* operator->() const noexcept { return &*m_value; }
    /** The value; throws Error when there is none. */
    T const& value() const& {
        m_result.or_throw();
        return *m_value;
    }
    /** The value, moved out; throws Error when there is none. */
    T value() && {
        m_result.or_throw();
        return *std::move(m_value);
    }
    /** The value, or `fallback`. */
    T value_or(T fallback) const { return m_value ? *m_value : std::move(fallback); }
    /** Why there is none. */
    Result const& result() const noexcept { return m_result; }
    /** The value as an optional; the reason is lost. */
    std::optional<T> optional() && { return std::move(m_value); }

 private:
    std::optional<T> m_value;
    Result m_result;
};

}  // namespace ticket

#endif
