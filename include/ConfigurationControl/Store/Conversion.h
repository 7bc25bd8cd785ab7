/** @file
 * Values of another type than the one that a key, or a call, names: converted whole, refused, or a compile error.
 * C++17.
 */
#ifndef CONFIGURATIONCONTROL_STORE_CONVERSION_H
#define CONFIGURATIONCONTROL_STORE_CONVERSION_H

#include <limits>
#include <optional>
#include <string>
#include <string_view>
#include <type_traits>
#include <utility>

#include "ConfigurationControl/Store/Types.h"

namespace ticket::detail {

/** Whether U becomes T without a narrowing conversion of the language. */
template <typename T, typename U, typename = void>
inline constexpr bool converts_without_narrowing = false;
template <typename T, typename U>
inline constexpr bool converts_without_narrowing<T, U, std::void_t<decltype(T{std::declval<U const&>()})>> = true;

/** Explains why a value of type U is none of type T, which would convert it in silence. */
template <typename T, typename U>
constexpr void check_conversion() {
    if constexpr (is_optional<T> && is_optional<U>) {
        check_conversion<typename T::value_type, typename U::value_type>();
    } else if constexpr (is_optional<T> && !std::is_same_v<U, std::nullopt_t>) {
        check_conversion<typename T::value_type, U>();
    } else {
        static_assert(!std::is_null_pointer_v<U>, "ticket::Store: nullptr is no value; erase(key) removes a value");
        static_assert(!std::is_floating_point_v<U> || !std::is_integral_v<T>,
                      "ticket::Store: a key of whole numbers takes no number with a fraction; round it first");
        static_assert(!std::is_same_v<T, bool> || std::is_same_v<U, bool> || std::is_class_v<U>,
                      "ticket::Store: a key of type bool takes true and false only; compare the value, x != 0");
        constexpr bool converts = std::is_convertible_v<U const&, T>;
        constexpr bool is_narrowing =
            std::is_arithmetic_v<T> && std::is_class_v<U> && !converts_without_narrowing<T, U>;
        static_assert(converts || (std::is_same_v<T, std::string> && is_text<U>),
                      "ticket::Store: the value is not of the type of the key; convert it first");
        static_assert(!converts || !is_narrowing,
                      "ticket::Store: this conversion may lose digits; convert the value to the type of the key first");
    }
}

/** Whether a number of type U, or of an enumeration, fits the type T; a floating-point type has a nearest number. */
template <typename T, typename U>
constexpr bool fits(U const& value) {
    if constexpr (is_optional<T> && is_optional<U>) {
        return !value || fits<typename T::value_type>(*value);
    } else if constexpr (is_optional<T>) {
        return fits<typename T::value_type>(value);
    } else if constexpr (std::is_enum_v<U> && std::is_arithmetic_v<T>) {
        return fits<T>(static_cast<std::underlying_type_t<U>>(value));
    } else if constexpr (!std::is_arithmetic_v<T> || !std::is_arithmetic_v<U>) {
        return true;
    } else if constexpr (std::is_integral_v<T>) {
        auto const number = static_cast<Integer128>(value);
        return number >= std::numeric_limits<T>::min() && number <= std::numeric_limits<T>::max();
    } else if constexpr (std::is_floating_point_v<U>) {
        constexpr auto limit = static_cast<long double>(std::numeric_limits<T>::max());
        return !(value - value == 0) || (value <= limit && value >= -limit);
    } else {
        constexpr auto exact = Integer128{1} << std::numeric_limits<T>::digits;
        return value <= exact && value >= -exact;
    }
}

/** Converts a value that fits; a null text is empty. */
template <typename T, typename U>
constexpr T convert_given(U const& value) {
    if constexpr (is_text<U> && std::is_pointer_v<U>)
        if (value == nullptr) return T{};
    if constexpr (std::is_array_v<U> && std::is_constructible_v<T, std::string_view>)
        return static_cast<T>(given(value));
    else if constexpr (std::is_constructible_v<T, U const&>)
        return static_cast<T>(value);
    else
        return T{};  // check_conversion has already explained the error
}

/** Converts a fallback; a number that does not fit is cut to the range of the type. */
template <typename T, typename U>
T convert_fallback(U const& value) {
    if constexpr (std::is_same_v<T, U>) {
        return value;
    } else if constexpr (is_optional<T> && std::is_arithmetic_v<U>) {
        return convert_fallback<typename T::value_type>(value);
    } else {
        check_conversion<T, U>();
        if constexpr (std::is_arithmetic_v<T> && !std::is_class_v<U>)
            if (!fits<T>(value)) return value > U{} ? std::numeric_limits<T>::max() : std::numeric_limits<T>::lowest();
        return convert_given<T>(value);
    }
}

}  // namespace ticket::detail

#endif
