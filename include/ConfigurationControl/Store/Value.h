/** @file
 * A value of any type, as ticket::Store::entries and ticket::Event hand it out. C++17.
 */
#ifndef CONFIGURATIONCONTROL_STORE_VALUE_H
#define CONFIGURATIONCONTROL_STORE_VALUE_H

#include <cstdint>
#include <cstring>
#include <optional>
#include <string>
#include <utility>
#include <variant>
#include <vector>

#include "ConfigurationControl/Store/Forms.h"

namespace ticket {

/** One value. Whole numbers are int64_t, or uint64_t where they need it; std::monostate is an opaque pointer. */
using Scalar = std::variant<std::monostate, std::int64_t, std::uint64_t, double, std::string, Bytes>;
/** The elements of a vector. They may differ in type where a plain host wrote them. */
using List = std::vector<Scalar>;
/** What a key holds. */
using Value = std::variant<std::monostate, std::int64_t, std::uint64_t, double, std::string, Bytes, List>;

/** A key and what it holds: for (auto const& [key, value] : store.entries()). */
template <typename Held>
struct BasicEntry {
    std::string key; /**< the key */
    Held value;      /**< a copy */
};
using Entry = BasicEntry<Value>; /**< what entries() hands out */

namespace detail {

/** Value and List under names that depend on a template parameter, so that their use is compiled only where needed. */
template <typename>
struct Lazily {
    using Value = ticket::Value;
    using List = ticket::List;
};

}  // namespace detail

namespace detail {

// Templates, so that a program which uses none of this does not pay for compiling it.

/** Copies one value or element into a variant. With the mutex held. */
template <typename Variant>
void read_scalar(Slot const& slot, Variant& out) {
    PARAM_TYPE const type = slot.type();
    if (type == PARAM_STRING) return void(out.template emplace<std::string>(slot.bytes()));
    if (type == PARAM_BINSTR) return void(out.template emplace<Bytes>(as_bytes(slot.bytes())));
    Exact const exact = read_exact(slot);
    double const number = exact.number;
    bool const small = number >= -EXACT && number <= EXACT;
    if (exact.kind == Exact::negative)
        out = exact.below;
    else if (exact.kind == Exact::unsigned_integer && exact.below > 0)
        out = exact.below;
    else if (exact.kind == Exact::unsigned_integer)
        out = exact.integer;
    else if (exact.kind == Exact::none)
        out = std::monostate{};
    else if (!small || static_cast<double>(static_cast<std::int64_t>(number)) != number || is_negative_zero(number))
        out = number;
    else
        out = static_cast<std::int64_t>(number);
}

/** Copies what a key holds; nothing where it is absent. With the mutex held. */
template <typename Variant = Value>
std::optional<Variant> read_value(Table table, char const* key) {
    Slot const slot{table, key};
    PARAM_TYPE const type = slot.type();
    std::optional<Variant> value;
    if (type == PARAM_NONE) return value;
    value.emplace();
    if (type != PARAM_VECTOR) {
        read_scalar(slot, *value);
        return value;
    }
    auto& list = value->template emplace<typename Lazily<Variant>::List>(static_cast<std::size_t>(slot.count()));
    for (std::size_t i = 0; i < list.size(); ++i) read_scalar(slot.element(i), list[i]);
    return value;
}

template <typename T, typename Variant>
bool holds_same(Variant const& a, Variant const& b) {
    T const* const left = std::get_if<T>(&a);
    T const* const right = std::get_if<T>(&b);
    return left == nullptr || *left == *right;
}

/** Whether two values of one type are the same; of doubles the bits decide, so that a NaN is the same as itself. */
template <typename Variant>
bool is_same_scalar(Variant const& a, Variant const& b) {
    if (auto const* number = std::get_if<double>(&a))
        return std::memcmp(number, std::get_if<double>(&b), sizeof *number) == 0;
    return holds_same<std::int64_t>(a, b) && holds_same<std::uint64_t>(a, b) && holds_same<std::string>(a, b) &&
           holds_same<Bytes>(a, b);
}

/** Whether two values, or absences of one, are the same. */
template <typename Variant>
bool is_same(std::optional<Variant> const& a, std::optional<Variant> const& b) {
    if (!a || !b) return a.has_value() == b.has_value();
    if (a->index() != b->index()) return false;
    using Elements = typename Lazily<Variant>::List;
    Elements const* const left = std::get_if<Elements>(&*a);
    if (left == nullptr) return is_same_scalar(*a, *b);
    Elements const& right = *std::get_if<Elements>(&*b);
    if (left->size() != right.size()) return false;
    for (std::size_t i = 0; i < right.size(); ++i)
        if ((*left)[i].index() != right[i].index() || !is_same_scalar((*left)[i], right[i])) return false;
    return true;
}

}  // namespace detail
}  // namespace ticket

#endif
