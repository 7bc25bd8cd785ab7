/** @file
 * Keys of a ticket::Store: as text, and declared once with type, fallback, range and help. C++17.
 */
#ifndef CONFIGURATIONCONTROL_STORE_KEY_H
#define CONFIGURATIONCONTROL_STORE_KEY_H

#include <initializer_list>
#include <string>
#include <string_view>
#include <type_traits>

#include "ConfigurationControl/Store/Conversion.h"
#include "ConfigurationControl/Store/Result.h"
#include "ConfigurationControl/Store/Types.h"

namespace ticket {

namespace detail {

/** Whether a component of usual bytes comes back from a file. */
constexpr bool is_kept_usual_component(std::string_view part) {
    return !part.empty() && part.front() != ' ' && part.back() != ' ' && part != "ticket";
}

/** Whether a component of a key, which the text of a file nests by, comes back from a file. */
constexpr bool is_kept_component(std::string_view part, bool last) {
    if (part.empty() || part == "ticket") return false;
    if (part.front() == ' ' || part.back() == ' ' || part.front() == '?' || part.front() == '!') return false;
    for (std::size_t i = 0; i < part.size(); ++i) {
        auto const byte = static_cast<unsigned char>(part[i]);
        if (byte < 0x20 || byte == 0x7F || byte == '<' || byte == '>' || byte == '"' || byte == '*') return false;
        if (!last && (byte == '?' || byte == '[')) return false;
        if (byte == '\'' && i > 0 && part[i - 1] == '=') return false;
    }
    return true;
}

/** The bytes that are kept wherever they stand, but for a blank at an edge. A table, because set() checks each key. */
struct UsualKeyBytes {
    bool is_usual[256] = {};

    constexpr UsualKeyBytes() {
        for (unsigned int byte = ' '; byte < 256; ++byte) is_usual[byte] = byte != 0x7F;
        for (char const c : std::string_view("\"!'*/<>?[")) is_usual[static_cast<unsigned char>(c)] = false;
    }
    constexpr bool operator[](char c) const { return is_usual[static_cast<unsigned char>(c)]; }
};
inline constexpr UsualKeyBytes USUAL_KEY_BYTES;

/** Whether a file gives a value back under this key or, with `inner`, under the keys below it. */
constexpr bool is_kept_key(char const* key, bool inner = false) {
    for (;;) {
        char const* end = key;
        while (USUAL_KEY_BYTES[*end]) ++end;  // stops at '/' and at the NUL
        bool const is_usual = *end == '/' || *end == '\0';
        while (*end != '/' && *end != '\0') ++end;
        std::string_view const part(key, static_cast<std::size_t>(end - key));
        bool const last = *end == '\0';
        if (!(is_usual ? is_kept_usual_component(part) : is_kept_component(part, last && !inner))) return false;
        if (last) return true;
        key = end + 1;
    }
}

/** A key as an argument: borrows from literals and std::string, copies a std::string_view. Lives during the call. */
class KeyName {
 public:
    /** Null is the empty key, which holds no value. */
    KeyName(char const* text) : m_text(text != nullptr ? text : "") {}
    KeyName(std::string const& text) : m_text(text.c_str()), m_whole(std::string_view(m_text).size() == text.size()) {}
    KeyName(std::string_view text)
        : m_copy(text), m_text(m_copy.c_str()), m_whole(std::string_view(m_text).size() == text.size()) {}
    template <typename T, std::enable_if_t<std::is_integral_v<T> || std::is_null_pointer_v<T>, int> = 0>
    KeyName(T) {
        static_assert(always_false<T>, "ticket::Store: a number or nullptr is no key; give a text");
    }
    KeyName(KeyName const&) = delete;
    KeyName& operator=(KeyName const&) = delete;

    char const* c_str() const { return m_text; }
    /** Whether no NUL cuts the key. */
    bool is_whole() const { return m_whole; }

 private:
    std::string m_copy;
    char const* m_text;
    bool m_whole = true;
};

/** The text of a selector or prefix as an argument; null is empty. Lives during the call. */
class TextArgument {
 public:
    TextArgument(char const* text) : m_text(text != nullptr ? text : "") {}
    TextArgument(std::string const& text) : m_text(text) {}
    TextArgument(std::string_view text) : m_text(text) {}
    operator std::string_view() const { return m_text; }

 private:
    std::string_view m_text;
};

/** A key, or all keys that begin with what stands before a trailing '*'. */
class Selector {
 public:
    explicit Selector(std::string_view text) : m_text(text), m_prefix(!m_text.empty() && m_text.back() == '*') {
        if (m_prefix) m_text.pop_back();
    }
    bool is_prefix() const { return m_prefix; }
    std::string const& text() const { return m_text; }
    bool selects(std::string_view key) const {
        return m_prefix ? key.substr(0, m_text.size()) == m_text : key == m_text;
    }

 private:
    std::string m_text;
    bool m_prefix;
};

/** Converts a number that a key is declared with. One that does not fit is a compile error if the key is constexpr. */
template <typename T, typename U>
constexpr T convert_declared(U const& value) {
    check_conversion<T, U>();
    if (!fits<T>(value)) throw Error(Reason::out_of_range, "ticket::Key: the number does not fit the type of the key");
    return convert_given<T>(value);
}

template <typename T, typename U>
inline constexpr bool is_other_number = !std::is_same_v<T, U> && std::is_arithmetic_v<T> && std::is_arithmetic_v<U>;

struct NoFallback {};

/** What a declared key holds as its fallback, so that it can be a constant. */
template <typename T>
using FallbackOf = std::conditional_t<is_text<T> || is_path<T>, std::string_view,
                                      std::conditional_t<std::is_trivially_copyable_v<T>, T, NoFallback>>;

template <typename T>
inline constexpr bool has_range = (std::is_arithmetic_v<T> && !std::is_same_v<T, bool>) || is_duration<T>;

template <typename T>
inline constexpr bool has_choices = !std::is_same_v<FallbackOf<T>, NoFallback> && is_scalar<T> && !has_codec<T>;

/** The bounds and the choices of a key; without either, of a type that needs no default constructor. */
template <typename T, typename F = std::conditional_t<has_choices<T>, FallbackOf<T>, NoFallback>>
struct Limits {
    F low{};
    F high{};
    bool bounded = false;
    F const* choices = nullptr;
    std::size_t count = 0;
};

}  // namespace detail

/**
 * A key declared once: its name, type and fallback, and on request its range or choices, a line of help, and whether it
 * is kept in the wide form. A constant; the texts that it is given must be literals.
 *
 *     inline constexpr ticket::Key<int> Width = ticket::Key<int>{"Window/Width", 800}.range(100, 10000).help("pixels");
 *
 * A name that no file keeps does not compile where the key is constexpr. A stored value outside the range or choices is
 * read as the fallback, and set() refuses one.
 */
template <typename T>
class Key {
 public:
    using Type = T;                         /**< what get() returns */
    using Fallback = detail::FallbackOf<T>; /**< std::string_view for texts and paths */

    /** A key whose fallback is T{}. */
    constexpr explicit Key(char const* name) : Key(name, Fallback{}) {}
    /** A key with a fallback. */
    constexpr Key(char const* name, Fallback fallback) : m_name(name), m_fallback(fallback) {
        static_assert(std::is_same_v<T, detail::Plain<T>>, "ticket::Key: name the type without const and &");
        detail::check_type<T>();
        static_assert(!std::is_same_v<T, char const*> && !std::is_same_v<T, std::string_view>,
                      "ticket::Key: declare Key<std::string>; its fallback is a text that is not copied");
        if (name == nullptr || !detail::is_kept_key(name, detail::kind_of<T>() == detail::Kind::structure))
            throw Error(Reason::not_kept, "ticket::Key: no file keeps a key of this name");
    }
    /** As above, with a number of another type, which must fit. */
    template <typename U, std::enable_if_t<detail::is_other_number<Fallback, U>, int> = 0>
    constexpr Key(char const* name, U fallback) : Key(name, detail::convert_declared<Fallback>(fallback)) {}
    /** Not with a text that ends before the key. */
    template <typename U, typename F = Fallback,
              std::enable_if_t<std::is_same_v<U, std::string> && std::is_same_v<F, std::string_view>, int> = 0>
    constexpr Key(char const* name, U&&) : Key(name) {
        static_assert(detail::always_false<U>,
                      "ticket::Key: the fallback is not copied; give a literal, or a text that outlives the key");
    }

    /** The same key with the values from `low` to `high`, both included. */
    template <typename Low, typename High>
    constexpr Key range(Low low, High high) const {
        static_assert(detail::has_range<T>, "ticket::Key: only numbers and durations have a range");
        Key key = *this;
        if constexpr (detail::has_range<T>) {
            key.m_limits.low = detail::convert_declared<Fallback>(low);
            key.m_limits.high = detail::convert_declared<Fallback>(high);
            key.m_limits.bounded = true;
            if (!(key.m_limits.low <= key.m_limits.high))
                throw Error(Reason::out_of_range, "ticket::Key: the range is empty");
        }
        return key;
    }
    /** The same key with these values only. The array must be a constant that outlives the key. */
    template <std::size_t N>
    constexpr Key choices(Fallback const (&values)[N]) const {
        static_assert(detail::has_choices<T>, "ticket::Key: only numbers, texts, times and enumerators have choices");
        Key key = *this;
        key.m_limits.choices = values;
        key.m_limits.count = N;
        return key;
    }
    /** Not with a list in braces, which ends before the key. */
    template <typename U = T>
    constexpr Key choices(std::initializer_list<Fallback>) const {
        static_assert(
            detail::always_false<U>,
            "ticket::Key: the choices are not copied; give a constant array, constexpr int SIZES[] = {10, 12}");
        return *this;
    }
    /** The same key with a line for people. */
    constexpr Key help(char const* text) const {
        Key key = *this;
        key.m_help = text;
        return key;
    }
    /** The same key, kept in the wide form (see Wide): every number, text and byte string comes back from a file. */
    constexpr Key wide() const {
        static_assert(detail::can_be_wide<T>,
                      "ticket::Key: only numbers, std::string and ticket::Bytes have a wide form");
        Key key = *this;
        key.m_wide = true;
        return key;
    }

    constexpr char const* name() const { return m_name; }      /**< such as "Window/Width" */
    constexpr char const* help_text() const { return m_help; } /**< "" without help */
    constexpr bool is_wide() const { return m_wide; }          /**< whether wide() was asked for */
    /** Bounds and choices. */
    constexpr detail::Limits<T> const& limits() const { return m_limits; }
    /** What a read gives where there is no value, or none that fits. */
    T fallback() const {
        if constexpr (std::is_same_v<Fallback, detail::NoFallback>)
            return T{};
        else
            return T(m_fallback);
    }
    /** Whether a value is in the range and among the choices. */
    bool allows(T const& value) const {
        if constexpr (detail::has_range<T>)
            if (m_limits.bounded && !(value >= m_limits.low && value <= m_limits.high)) return false;
        if constexpr (detail::has_choices<T>) {
            for (std::size_t i = 0; i < m_limits.count; ++i)
                if (value == T(m_limits.choices[i])) return true;
        }
        return m_limits.count == 0;
    }

 private:
    char const* m_name;
    Fallback m_fallback;
    detail::Limits<T> m_limits{};
    char const* m_help = "";
    bool m_wide = false;
};

namespace detail {

/** What to tell of a value that a key does not allow. */
template <typename T>
Status not_allowed(Key<T> const& key) {
    return {Reason::out_of_range, key.limits().count != 0 ? "the value is not among the declared choices"
                                                          : "the value is outside the declared range"};
}

}  // namespace detail
}  // namespace ticket

#endif
