/** @file
 * What a ticket::Store keeps, and how a host adds types of its own: names of enumerators, members of a struct, a codec.
 * C++17.
 */
#ifndef CONFIGURATIONCONTROL_STORE_TYPES_H
#define CONFIGURATIONCONTROL_STORE_TYPES_H

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <tuple>
#include <type_traits>
#include <utility>
#include <vector>

namespace ticket {

/** Bytes; kept as a byte string. */
using Bytes = std::vector<std::byte>;

/** One enumerator and the text that stands for it. */
template <typename E>
struct Named {
    E value;               /**< the enumerator */
    std::string_view name; /**< its text in the store */
};

/** The enumerators of an enumeration that is kept by name; what names_of makes. */
template <typename E, std::size_t N>
struct NameTable {
    Named<E> rows[N]; /**< in the order in which they were given */
};

/** Makes the table of names of an enumeration: names_of<Theme>({{Theme::light, "light"}, {Theme::dark, "dark"}}). */
template <typename E, std::size_t N>
constexpr NameTable<E, N> names_of(Named<E> const (&rows)[N]) {
    NameTable<E, N> table{};
    for (std::size_t i = 0; i < N; ++i) table.rows[i] = rows[i];
    return table;
}

/**
 * Specialise it for an enumeration that is to be kept by name. Without it, enumerators are kept as numbers.
 * `template <> inline constexpr auto ticket::names<Theme> = ticket::names_of<Theme>({{Theme::light, "light"}});`
 */
template <typename E>
inline constexpr auto names = nullptr;

/** One member of a struct and the key that it has below the key of the struct. */
template <typename S, typename M>
struct Member {
    char const* name; /**< "Width" for the key "Window/Width" */
    M S::*pointer;    /**< &Window::width */
};
/** Member{"Width", &Window::width} needs no types. */
template <typename S, typename M>
Member(char const*, M S::*) -> Member<S, M>;

/** Lists the members of a struct: members_of(Member{"Width", &Window::width}, Member{"Height", &Window::height}). */
template <typename... S, typename... M>
constexpr std::tuple<Member<S, M>...> members_of(Member<S, M> const&... list) {
    return {list...};
}

/**
 * Specialise it for a struct that is to be kept member by member, each under a key of its own.
 * `template <> inline constexpr auto ticket::members<Window> = ticket::members_of(Member{"Width", &Window::width});`
 */
template <typename S>
inline constexpr auto members = nullptr;

/**
 * Specialise it for a type of the host that is kept as one value of a type that the store knows:
 *
 *     template <> struct ticket::Codec<Colour> {
 *         using Stored = std::string;                                  // or a number, Bytes, a vector of them
 *         static std::string encode(Colour const& colour);
 *         static std::optional<Colour> decode(std::string const& text);  // empty: the text is no colour
 *     };
 */
template <typename T>
struct Codec {
    using Stored = void; /**< none: the type is not known */
};

/**
 * A value in the form that every file keeps, whatever the value: a number as decimal text, a text or bytes
 * percent-encoded. `store.set("Bytes written", ticket::Wide{total});` A Key that was declared `wide` does the same.
 */
template <typename T>
struct Wide {
    T value{}; /**< the value */
};
/** Wide{total} needs no type. */
template <typename T>
Wide(T) -> Wide<T>;

/** Asks a read to round and to cut to the range of the type instead of refusing: store.get("Zoom", 1, nearest). */
struct Nearest {};
inline constexpr Nearest nearest{}; /**< the one value of its type */

namespace detail {

template <typename T>
inline constexpr bool always_false = false;

template <typename T>
using Plain = std::remove_cv_t<std::remove_reference_t<T>>;

template <typename T>
inline constexpr bool has_names = !std::is_same_v<Plain<decltype(names<T>)>, std::nullptr_t>;
template <typename T>
inline constexpr bool has_members = !std::is_same_v<Plain<decltype(members<T>)>, std::nullptr_t>;
template <typename T>
inline constexpr bool has_codec = !std::is_void_v<typename Codec<T>::Stored>;

template <typename T>
inline constexpr bool is_vector = false;
template <typename T, typename A>
inline constexpr bool is_vector<std::vector<T, A>> = true;
template <typename A>
inline constexpr bool is_vector<std::vector<std::byte, A>> = false;

template <typename T>
inline constexpr bool is_array = false;
/** A std::array, recognised by its size, so that its header need not be included here. */
template <template <typename, std::size_t> class Array, typename T, std::size_t N>
inline constexpr bool is_array<Array<T, N>> = std::tuple_size<Array<T, N>>::value == N;

template <typename T>
inline constexpr bool is_optional = false;
template <typename T>
inline constexpr bool is_optional<std::optional<T>> = true;

template <typename T>
inline constexpr bool is_duration = false;
template <typename R, typename P>
inline constexpr bool is_duration<std::chrono::duration<R, P>> = true;

template <typename T>
inline constexpr bool is_time_point = false;
template <typename C, typename D>
inline constexpr bool is_time_point<std::chrono::time_point<C, D>> = true;

template <typename T>
inline constexpr bool is_wide = false;
template <typename T>
inline constexpr bool is_wide<Wide<T>> = true;

/** Whether a type has a wide form. */
template <typename T>
inline constexpr bool can_be_wide =
    (std::is_arithmetic_v<T> && !std::is_same_v<T, bool>) || std::is_same_v<T, std::string> || std::is_same_v<T, Bytes>;

/** Whether an enumeration has a declared type, so that each number of that type is one of its values. */
template <typename T, typename = void>
inline constexpr bool has_fixed_type = false;
template <typename T>
inline constexpr bool has_fixed_type<T, std::void_t<decltype(T{std::declval<std::underlying_type_t<T>>()})>> = true;

/** T, but not deduced from an argument. */
template <typename T>
struct Identity {
    using Type = T;
};
template <typename T>
using Same = typename Identity<T>::Type;

__extension__ using Integer128 = __int128; /**< wide enough for every 64-bit count times its unit */

/** Whether a type is an integer of 128 bits, which some language modes count among the arithmetic types. */
__extension__ template <typename T>
inline constexpr bool is_huge = std::is_same_v<T, __int128> || std::is_same_v<T, unsigned __int128>;

template <typename T>
inline constexpr bool is_wide_character =
    std::is_same_v<T, wchar_t> || std::is_same_v<T, char16_t> || std::is_same_v<T, char32_t>;

/** A path, recognised by its members, so that its header need not be included here. */
template <typename T, typename = void>
inline constexpr bool is_path = false;
template <typename T>
inline constexpr bool is_path<
    T, std::void_t<typename T::format, typename T::string_type, decltype(std::declval<T const&>().lexically_normal()),
                   decltype(std::declval<T const&>().native())>> = std::is_same_v<typename T::string_type, std::string>;

template <typename T>
inline constexpr bool is_text = std::is_same_v<T, std::string> || std::is_same_v<T, std::string_view> ||
                                std::is_same_v<T, char const*> || std::is_same_v<T, char*>;

/** How a type lies in the store. */
enum class Kind { unknown, number, text, list, structure, optional };

template <typename T>
constexpr Kind kind_of() {
    if constexpr (has_codec<T>)
        return kind_of<typename Codec<T>::Stored>();
    else if constexpr (has_members<T>)
        return Kind::structure;
    else if constexpr (is_wide<T> || is_text<T> || is_duration<T> || is_time_point<T> || is_path<T> || has_names<T> ||
                       std::is_same_v<T, Bytes>)
        return Kind::text;
    else if constexpr (std::is_arithmetic_v<T> || std::is_enum_v<T>)
        return Kind::number;
    else if constexpr (is_vector<T> || is_array<T>)
        return Kind::list;
    else if constexpr (is_optional<T>)
        return Kind::optional;
    else
        return Kind::unknown;
}

/** Whether a type can be an element of a vector or an array. */
template <typename T>
inline constexpr bool is_scalar = kind_of<T>() == Kind::number || kind_of<T>() == Kind::text;

/** What is stored of an argument: of an array of characters the text up to its first NUL, or all where there is none.
 */
template <std::size_t N>
constexpr std::string_view given(char const (&text)[N]) {
    std::string_view const all(text, N);
    return all.substr(0, all.find('\0'));
}
template <typename T>
constexpr T const& given(T const& value) {
    return value;
}

/** The type that is stored of an argument. */
template <typename T>
using Given = std::decay_t<decltype(given(std::declval<T const&>()))>;

/** The type that is kept for what a caller gives: a text literal is kept, and comes back, as a std::string. */
template <typename T>
using Kept = std::conditional_t<is_text<std::decay_t<T>>, std::string, std::decay_t<T>>;

/** The type of a value: the one that the caller has named, otherwise that of the argument. */
template <typename T, typename U>
using NamedOr = std::conditional_t<std::is_void_v<T>, U, T>;

/** Explains to the developer why a type cannot be kept. Compiles to nothing for one that can. */
template <typename T>
constexpr void check_type() {
    constexpr bool is_nothing = std::is_same_v<T, std::nullptr_t> || std::is_same_v<T, std::nullopt_t>;
    static_assert(!is_nothing, "ticket::Store: nullptr and nullopt are no values; erase(key) removes a value");
    constexpr bool is_wide_text = is_wide_character<Plain<std::remove_pointer_t<T>>>;
    static_assert(!std::is_pointer_v<T> || is_text<T> || is_wide_text,
                  "ticket::Store: a pointer is no setting; give the value that it points to, and for an array a "
                  "std::array or std::vector");
    static_assert(!std::is_same_v<T, long double>, "ticket::Store: no file keeps a long double; use double");
    static_assert(!is_huge<T>, "ticket::Store: integers have at most 64 bits; keep a wider one as text");
    static_assert(!is_wide_text,
                  "ticket::Store: wide characters are not kept; convert the text to UTF-8 in a std::string");
    if constexpr (is_duration<T>)
        static_assert(
            std::is_integral_v<typename T::rep> && 1000000000000000000 % T::period::den == 0,
            "ticket::Store: a duration is kept as decimal seconds, so it needs whole ticks of a decimal unit; "
            "use std::chrono::duration_cast, for instance to std::chrono::nanoseconds");
    if constexpr (is_time_point<T>) {
        static_assert(std::is_same_v<typename T::clock, std::chrono::system_clock>,
                      "ticket::Store: only times of std::chrono::system_clock mean the same after a restart");
        check_type<typename T::duration>();
    }
    if constexpr (is_wide<T>) {
        static_assert(can_be_wide<decltype(T::value)>,
                      "ticket::Wide: only numbers, std::string and ticket::Bytes have a wide form");
    }
    if constexpr (is_vector<T> || is_array<T>) {
        static_assert(is_scalar<typename T::value_type>,
                      "ticket::Store: the elements of a vector are numbers, texts, bytes, times or enumerators; keep "
                      "vectors of vectors and of structs under keys of their own");
        check_type<typename T::value_type>();
    }
    if constexpr (is_optional<T>) {
        static_assert(!is_optional<typename T::value_type>, "ticket::Store: an optional of an optional has no form");
        check_type<typename T::value_type>();
    }
    if constexpr (has_codec<T>) check_type<typename Codec<T>::Stored>();
    constexpr bool explained = is_nothing || std::is_pointer_v<T> || is_wide_character<T> || is_huge<T>;
    static_assert(explained || kind_of<T>() != Kind::unknown,
                  "ticket::Store: this type is not known; specialise ticket::Codec<T> for one value, or "
                  "ticket::members<T> for a struct that is kept member by member");
}

}  // namespace detail
}  // namespace ticket

#endif
