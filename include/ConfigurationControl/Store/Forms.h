/** @file
 * The form in which ticket::Store keeps each type. It depends on the type alone, never on the value. C++17.
 */
#ifndef CONFIGURATIONCONTROL_STORE_FORMS_H
#define CONFIGURATIONCONTROL_STORE_FORMS_H

#include <string>
#include <string_view>
#include <type_traits>
#include <utility>
#include <vector>

#include "ConfigurationControl/Store/Key.h"
#include "ConfigurationControl/Store/Numbers.h"
#include "ConfigurationControl/Store/Table.h"
#include "ConfigurationControl/Store/Text.h"
#include "ConfigurationControl/Store/Types.h"

namespace ticket::detail {

/** Why a file, or any store, does not take a key; good if it does. */
inline Status examine_key(KeyName const& key, Rules rules) {
    if (!key.is_whole() || *key.c_str() == '\0') return {Reason::not_kept, "a key is not empty and has no NUL"};
    if (rules == Rules::file && !is_kept_key(key.c_str()))
        return {
            Reason::not_kept,
            "a file does not give this key back; no component may be empty or \"ticket\", begin or end with a blank, "
            "begin with ? or !, or hold <, >, \", *, =' or a control byte; only the last may hold ? or ["};
    return {};
}

/** A key that can be stored under, or why not. */
inline Status check_key(KeyName const& key, Rules rules) {
    bool const any = rules == Rules::memory && key.is_whole() && *key.c_str() != '\0';
    return any ? Status{} : examine_key(key, rules);
}

/** How a read is done. */
struct ReadMode {
    bool round = false; /**< ticket::nearest was given */
};

template <typename Held = Bytes>
std::string_view as_chars(Held const& bytes) {
    return {static_cast<char const*>(static_cast<void const*>(bytes.data())), bytes.size()};
}

template <typename Result = Bytes>
Result as_bytes(std::string_view chars) {
    auto const* const data = static_cast<std::byte const*>(static_cast<void const*>(chars.data()));
    return Result(data, data + chars.size());
}

/** Gives the sink a text. */
template <typename Sink>
Status put_text(std::string const& text, Rules rules, Sink& sink, Lifetime lifetime) {
    if (text.find('\0') != std::string::npos)
        return {Reason::not_kept, "a text ends at its first NUL; declare the key wide, or store bytes"};
    if (rules == Rules::file) {
        if (Status const status = kept_by_file(text); !status) return status;
    }
    return sink(PARAM_STRING, text.c_str(), lifetime);
}

/** Gives the sink bytes. */
template <typename Held, typename Sink>
Status put_bytes(Held const& bytes, Rules rules, Sink& sink) {
    if (rules == Rules::file) {
        if (Status const status = kept_by_file(as_chars(bytes)); !status) return status;
    }
    BIN_STRING const view{bytes.data(), bytes.size()};
    return sink(PARAM_BINSTR, &view, Lifetime::borrowed);
}

/** Reads a text as a view. Call it with the mutex held; the view is valid until the value changes. */
inline Status view_text(Slot const& slot, std::string_view& out) {
    if (PARAM_TYPE const type = slot.type(); type != PARAM_STRING)
        return {type == PARAM_NONE ? Reason::missing : Reason::wrong_type, nullptr};
    out = slot.bytes();
    return {};
}

/** Reads bytes, or the bytes of a text, as a view; as view_text. */
inline Status view_bytes(Slot const& slot, std::string_view& out) {
    if (PARAM_TYPE const type = slot.type(); type != PARAM_STRING && type != PARAM_BINSTR)
        return {type == PARAM_NONE ? Reason::missing : Reason::wrong_type, nullptr};
    out = slot.bytes();
    return {};
}

template <typename V, typename Sink>
Status put_wide(V const& value, Sink& sink) {
    std::string text;
    if constexpr (std::is_integral_v<V>)
        append_decimal(text, value);
    else if constexpr (std::is_floating_point_v<V>)
        text = decimal(value);
    else if constexpr (std::is_same_v<V, Bytes>)
        text = percent_encode(as_chars(value), true);
    else
        text = percent_encode(value, false);
    return sink(PARAM_STRING, text.c_str(), Lifetime::temporary);
}

/** Reads the wide form of a value. */
template <typename V>
Status parse_wide(std::string_view text, V& out) {
    constexpr Status no_number{Reason::wrong_type, "the text is no decimal number"};
    if constexpr (std::is_integral_v<V>) {
        Integer128 value = 0;
        if (!parse_decimal(text, value)) return no_number;
        if (value < std::numeric_limits<V>::min() || value > std::numeric_limits<V>::max()) return DOES_NOT_FIT;
        out = static_cast<V>(value);
    } else if constexpr (std::is_floating_point_v<V>) {
        double value = 0;
        if (!parse_decimal(std::string(text), value)) return no_number;
        constexpr double limit = static_cast<double>(std::numeric_limits<V>::max());
        constexpr double finite = std::numeric_limits<double>::max();
        if ((value > limit && value <= finite) || (value < -limit && value >= -finite)) return DOES_NOT_FIT;
        out = static_cast<V>(value);
    } else {
        std::string value;
        if (!percent_decode(text, value)) return {Reason::wrong_type, "the text is not percent-encoded"};
        if constexpr (std::is_same_v<V, Bytes>)
            out = as_bytes<V>(value);
        else
            out = std::move(value);
    }
    return {};
}

/** Writes one value of type T. Sink: Status (PARAM_TYPE, void const* value, Lifetime). */
template <typename T, typename Sink>
Status put_scalar(T const& value, Rules rules, Sink& sink) {
    if constexpr (has_codec<T>) {
        using Stored = typename Codec<T>::Stored;
        auto keep = [&](PARAM_TYPE type, void const* stored, Lifetime) {
            return sink(type, stored, Lifetime::temporary);
        };
        return put_scalar<Stored>(Codec<T>::encode(value), rules, keep);
    } else if constexpr (is_wide<T>) {
        return put_wide(value.value, sink);
    } else if constexpr (std::is_same_v<T, std::string>) {
        return put_text(value, rules, sink, Lifetime::borrowed);
    } else if constexpr (is_text<T>) {
        bool none = false;
        if constexpr (std::is_pointer_v<T>) none = value == nullptr;
        return put_text(none ? std::string() : std::string(value), rules, sink, Lifetime::temporary);
    } else if constexpr (std::is_same_v<T, Bytes>) {
        return put_bytes(value, rules, sink);
    } else if constexpr (is_path<T>) {
        return put_text(value.native(), rules, sink, Lifetime::borrowed);
    } else if constexpr (is_duration<T>) {
        std::string const text = decimal_seconds(value.count(), T::period::num, T::period::den);
        return sink(PARAM_STRING, text.c_str(), Lifetime::temporary);
    } else if constexpr (is_time_point<T>) {
        return put_scalar(value.time_since_epoch(), rules, sink);
    } else if constexpr (has_names<T>) {
        for (auto const& row : names<T>.rows)
            if (row.value == value) return put_text(std::string(row.name), rules, sink, Lifetime::temporary);
        return {Reason::out_of_range, "the enumerator has no name"};
    } else if constexpr (std::is_enum_v<T>) {
        return put_scalar(static_cast<std::underlying_type_t<T>>(value), rules, sink);
    } else if constexpr (std::is_floating_point_v<T>) {
        return put_double(static_cast<double>(value), rules, sink);
    } else if constexpr (std::is_same_v<T, bool>) {
        return put_integer(static_cast<int>(value), rules, sink);
    } else if constexpr (std::is_integral_v<T>) {
        return put_integer(value, rules, sink);
    } else {
        return {};  // check_type has already explained the error
    }
}

/** Converts what a text slot holds to a type that is kept as text. */
template <typename T>
Status convert_text(std::string_view text, ReadMode mode, T& out) {
    if constexpr (is_path<T>) {
        out = T(std::string(text));
    } else if constexpr (is_duration<T>) {
        Integer128 count = 0;
        Status const status = parse_seconds(text, T::period::num, T::period::den, !mode.round, count);
        if (!status) return status;
        using Rep = typename T::rep;
        constexpr Rep low = std::numeric_limits<Rep>::min(), high = std::numeric_limits<Rep>::max();
        if (!mode.round && (count < low || count > high)) return {Reason::out_of_range, "the time does not fit"};
        count = count < low ? low : count > high ? high : count;
        out = T(static_cast<Rep>(count));
    } else if constexpr (is_time_point<T>) {
        typename T::duration since{};
        if (Status const status = convert_text(text, mode, since); !status) return status;
        out = T(since);
    } else if constexpr (has_names<T>) {
        for (auto const& row : names<T>.rows) {
            if (row.name != text) continue;
            out = row.value;
            return {};
        }
        return {Reason::out_of_range, "the text names no enumerator"};
    } else {
        static_assert(std::is_same_v<T, std::string>,
                      "ticket::Store: read a std::string, which is a copy; borrow_text() is the view of the text");
        if constexpr (std::is_same_v<T, std::string>) out.assign(text.data(), text.size());
    }
    return {};
}

template <typename T>
Status take_scalar(Slot const& slot, ReadMode mode, T& out);

/** Reads a value that is kept as text. Call it with the mutex held. */
template <typename T>
Status take_text(Slot const& slot, ReadMode mode, T& out) {
    std::string_view text;
    if constexpr (std::is_same_v<T, Bytes>) {
        Status const status = view_bytes(slot, text);
        if (status) out = as_bytes<T>(text);
        return status;
    } else if constexpr (is_wide<T>) {
        using V = decltype(T::value);
        // A plain host, or the store before the key was declared wide, left the usual form of a number or of bytes.
        PARAM_TYPE const type = slot.type();
        if (type != PARAM_STRING && !std::is_same_v<V, std::string>) return take_scalar(slot, mode, out.value);
        Status const status = view_text(slot, text);
        return status ? parse_wide(text, out.value) : status;
    } else {
        Status const status = view_text(slot, text);
        return status ? convert_text(text, mode, out) : status;
    }
}

/** Reads a value that is kept as a number. */
template <typename T>
Status take_number(Slot const& slot, ReadMode mode, T& out) {
    if constexpr (std::is_same_v<T, double>) {
        return take_double(slot, mode.round, out);
    } else if constexpr (std::is_floating_point_v<T>) {
        double value = 0;
        if (Status const status = take_double(slot, mode.round, value); !status) return status;
        constexpr double limit = static_cast<double>(std::numeric_limits<T>::max());
        constexpr double finite = std::numeric_limits<double>::max();
        bool const fits = !(value > limit || value < -limit) || value > finite || value < -finite;
        if (!fits && !mode.round) return DOES_NOT_FIT;
        if (!fits) value = value > 0 ? limit : -limit;
        out = static_cast<T>(value);
        return {};
    } else if constexpr (std::is_same_v<T, bool>) {
        std::uint8_t value = 0;
        if (Status const status = take_integer(slot, mode.round, value); !status) return status;
        if (value > 1 && !mode.round) return DOES_NOT_FIT;
        out = value != 0;
        return {};
    } else if constexpr (std::is_enum_v<T>) {
        static_assert(has_fixed_type<T>,
                      "ticket::Store: a file may hold a number that this enumeration cannot; declare its type, "
                      "enum Mode : int, or its ticket::names");
        std::underlying_type_t<T> value{};
        Status const status = take_number(slot, mode, value);
        if (status) out = static_cast<T>(value);
        return status;
    } else {
        return take_integer(slot, mode.round, out);
    }
}

/** Reads one value of type T; leaves `out` alone on failure. With the mutex held, but for numbers. */
template <typename T>
Status take_scalar(Slot const& slot, ReadMode mode, T& out) {
    if constexpr (has_codec<T>) {
        typename Codec<T>::Stored stored{};
        if (Status const status = take_scalar(slot, mode, stored); !status) return status;
        std::optional<T> value = Codec<T>::decode(stored);
        if (!value) return {Reason::out_of_range, "the stored value does not decode to the type"};
        out = *std::move(value);
        return {};
    } else if constexpr (kind_of<T>() == Kind::number) {
        return take_number(slot, mode, out);
    } else {
        return take_text(slot, mode, out);
    }
}

/** Whether the elements of a list are bytes, so that an empty text, and no empty byte string, stands for no elements.
 */
template <typename T>
constexpr bool is_kept_as_bytes() {
    if constexpr (has_codec<T>)
        return is_kept_as_bytes<typename Codec<T>::Stored>();
    else
        return std::is_same_v<T, Bytes>;
}

/** Writes a vector or an array. No elements are kept as an empty byte string, which no other list begins with. */
template <typename List, typename Batch>
Status put_list(char const* key, List const& list, Rules rules, Batch& batch) {
    using T = typename List::value_type;
    auto sink = [&](PARAM_TYPE type, void const* value, Lifetime lifetime) {
        batch.add(type, value, lifetime);
        return Status{};
    };
    batch.begin(key);
    if (list.begin() == list.end()) {
        if constexpr (is_kept_as_bytes<T>()) return sink(PARAM_STRING, "", Lifetime::temporary);
        BIN_STRING const nothing{nullptr, 0};
        return sink(PARAM_BINSTR, &nothing, Lifetime::temporary);
    }
    for (auto const& element : list)
        if (Status const status = put_scalar<T>(element, rules, sink); !status) return status;
    return {};
}

/** Whether a slot holds what stands for a list without elements. */
template <typename T>
bool is_empty_list(Slot const& slot) {
    constexpr PARAM_TYPE mark = is_kept_as_bytes<T>() ? PARAM_STRING : PARAM_BINSTR;
    return slot.type() == mark && slot.bytes().empty();
}

template <typename List>
Status take_list(Slot const& slot, ReadMode mode, List& out) {
    using T = typename List::value_type;
    PARAM_TYPE const type = slot.type();
    if (type == PARAM_NONE) return NO_VALUE;
    std::uint64_t const count = is_empty_list<T>(slot) ? 0 : slot.count();
    List list{};
    if constexpr (is_vector<List>)
        list.reserve(count);
    else if (count != list.size())
        return {Reason::out_of_range, "the number of elements differs"};
    for (std::uint64_t i = 0; i < count; ++i) {
        T element{};
        if (Status const status = take_scalar(slot.element(i), mode, element); !status) return status;
        if constexpr (is_vector<List>)
            list.push_back(std::move(element));
        else
            list[i] = std::move(element);
    }
    out = std::move(list);
    return {};
}

template <typename T>
Status take(Slot const& slot, ReadMode mode, T& out);

/** Reads the members of a struct that are there; the others keep what `out` holds. */
template <typename T>
Status take_members(Slot const& slot, ReadMode mode, T& out) {
    T value = out;
    bool found = false;
    Status status;
    auto const take_member = [&](auto const& member) {
        if (!status) return;
        std::string const key = std::string(slot.key) + "/" + member.name;
        Status const taken = take(Slot{slot.table, key.c_str()}, mode, value.*member.pointer);
        if (taken) found = true;
        if (!taken && taken.reason != Reason::missing) status = taken;
    };
    std::apply([&](auto const&... member) { (take_member(member), ...); }, members<T>);
    if (!status) return status;
    if (!found) return NO_VALUE;
    out = std::move(value);
    return {};
}

/** Reads any type that the store keeps; leaves `out` alone on failure. With the mutex held, but for numbers. */
template <typename T>
Status take(Slot const& slot, ReadMode mode, T& out) {
    if constexpr (kind_of<T>() == Kind::optional) {
        typename T::value_type value{};
        Status const status = take(slot, mode, value);
        if (status) out = std::move(value);
        return status;
    } else if constexpr (kind_of<T>() == Kind::structure) {
        return take_members(slot, mode, out);
    } else if constexpr (kind_of<T>() == Kind::list && !has_codec<T>) {
        return take_list(slot, mode, out);
    } else if constexpr (kind_of<T>() == Kind::list) {
        typename Codec<T>::Stored stored{};
        if (Status const status = take(slot, mode, stored); !status) return status;
        std::optional<T> value = Codec<T>::decode(stored);
        if (!value) return {Reason::out_of_range, "the stored value does not decode to the type"};
        out = *std::move(value);
        return {};
    } else {
        return take_scalar(slot, mode, out);
    }
}

/** Calls `visit(key)` for each key that a value of type T occupies: of a struct, those of its members. */
template <typename T, typename Visit>
void visit_keys(std::string const& key, Visit&& visit) {
    if constexpr (kind_of<T>() == Kind::structure)
        std::apply(
            [&](auto const&... member) {
                (visit_keys<Plain<decltype(std::declval<T>().*member.pointer)>>(key + "/" + member.name, visit), ...);
            },
            members<T>);
    else if constexpr (kind_of<T>() == Kind::optional)
        visit_keys<typename T::value_type>(key, visit);
    else
        visit(key);
}

/**
 * Adds a value of any type to a batch. Nothing of it is to be stored if the status is not good. The caller has checked
 * the key; the keys of a struct's members are checked here.
 */
template <typename T, typename Batch>
Status put(char const* key, T const& value, Rules rules, Batch& batch) {
    if constexpr (kind_of<T>() == Kind::optional) {
        if (value) return put(key, *value, rules, batch);
        visit_keys<T>(key, [&](std::string const& erased) { batch.erase(erased); });
        return {};
    } else if constexpr (kind_of<T>() == Kind::structure) {
        Status status;
        auto const put_member = [&](auto const& member) {
            std::string const name = std::string(key) + "/" + member.name;
            if (status) status = check_key(name, rules);
            if (status) status = put(name.c_str(), value.*member.pointer, rules, batch);
        };
        std::apply([&](auto const&... member) { (put_member(member), ...); }, members<T>);
        return status;
    } else if constexpr (has_codec<T> && kind_of<T>() == Kind::list) {
        return put(key, Codec<T>::encode(value), rules, batch);
    } else if constexpr (kind_of<T>() == Kind::list) {
        return put_list(key, value, rules, batch);
    } else {
        auto sink = [&](PARAM_TYPE type, void const* stored, Lifetime lifetime) {
            batch.add(type, stored, lifetime);
            return Status{};
        };
        batch.begin(key);
        return put_scalar(value, rules, sink);
    }
}

}  // namespace ticket::detail

#endif
