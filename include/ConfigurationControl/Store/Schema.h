/** @file
 * All declared keys of a program together: checks a ticket::Store against them, and tells them to other programs as
 * JSON. C++17.
 */
#ifndef CONFIGURATIONCONTROL_STORE_SCHEMA_H
#define CONFIGURATIONCONTROL_STORE_SCHEMA_H

#if !defined(__cplusplus) || __cplusplus < 201703L
#error \
    "ConfigurationControl/Store/Schema.h needs C++17; in C, include TicketRecords.h, TicketServices.h and MultiParListC.h"
#endif

#include <cstdio>
#include <memory>
#include <string>
#include <string_view>
#include <type_traits>
#include <utility>
#include <vector>

#include "ConfigurationControl/Store.h"

namespace ticket {

namespace detail {

/** Appends a text as a JSON string. Bytes from 0x80 up are passed on, as UTF-8. */
inline void append_json(std::string& json, std::string_view text) {
    json += '"';
    for (char const c : text) {
        char escaped[8];
        if (c == '"' || c == '\\') {
            json += '\\';
            json += c;
        } else if (static_cast<unsigned char>(c) < 0x20) {
            std::snprintf(escaped, sizeof escaped, "\\u%04x", static_cast<unsigned int>(static_cast<unsigned char>(c)));
            json += escaped;
        } else {
            json += c;
        }
    }
    json += '"';
}

/** Appends a value in the form in which the store keeps it: a number, a text, or null where JSON has no such number. */
template <typename T>
void append_json_value(std::string& json, T const& value, bool wide) {
    auto sink = [&](PARAM_TYPE type, void const* stored, Lifetime) {
        if (type == PARAM_STRING) {
            append_json(json, static_cast<char const*>(stored));
        } else if (type == PARAM_DOUBLE) {
            double const number = *static_cast<double const*>(stored);
            json += number - number == 0 ? decimal(number) : "null";
        } else if (type != PARAM_BINSTR) {
            if constexpr (std::is_integral_v<T> || std::is_enum_v<T>)
                append_decimal(json, static_cast<Integer128>(value));
        }
        return Status{};
    };
    if constexpr (can_be_wide<T>)
        if (wide) return void(put_scalar(Wide<T>{value}, Rules::memory, sink));
    put_scalar(value, Rules::memory, sink);
}

/** The type of a key as the command-line tool names types. */
template <typename T>
constexpr char const* type_name(bool wide) {
    if constexpr (has_codec<T>)
        return type_name<typename Codec<T>::Stored>(wide);
    else if constexpr (is_vector<T> || is_array<T> || is_optional<T>)
        return type_name<typename T::value_type>(wide);
    else if constexpr (std::is_same_v<T, Bytes>)
        return wide ? "string" : "binstr";
    else if constexpr (kind_of<T>() == Kind::text)
        return "string";
    else if constexpr (std::is_enum_v<T>)
        return type_name<std::underlying_type_t<T>>(wide);
    else if constexpr (std::is_floating_point_v<T>)
        return wide ? "string" : "double";
    else if constexpr (sizeof(T) == sizeof(std::int64_t))
        return wide ? "string" : std::is_signed_v<T> ? "int64" : "uint64";
    else
        return wide ? "string" : sizeof(T) == sizeof(std::uint32_t) && !std::is_signed_v<T> ? "unsigned" : "int";
}

/** A declared key of any type. */
class Declaration {
 public:
    virtual ~Declaration() = default;
    /** Why the store's value deviates; Reason::missing is no deviation. */
    virtual Result check(Store const& store) const = 0;
    /** Whether a key of a store belongs to it. */
    virtual bool declares(std::string_view key) const = 0;
    /** Appends its object, or objects, to the list of keys. */
    virtual void append(std::string& json) const = 0;
};

template <typename T>
bool declares_key(std::string const& name, std::string_view key) {
    if constexpr (kind_of<T>() == Kind::structure)
        return std::apply(
            [&](auto const&... member) {
                return (
                    declares_key<Plain<decltype(std::declval<T>().*member.pointer)>>(name + "/" + member.name, key) ||
                    ...);
            },
            members<T>);
    else if constexpr (kind_of<T>() == Kind::optional)
        return declares_key<typename T::value_type>(name, key);
    else
        return name == key;
}

template <typename T>
class KeyDeclaration final : public Declaration {
 public:
    explicit KeyDeclaration(Key<T> const& key) : m_key(key) {}
    Result check(Store const& store) const override { return store.read(m_key).result(); }
    bool declares(std::string_view key) const override { return declares_key<T>(m_key.name(), key); }
    void append(std::string& json) const override {
        if constexpr (kind_of<T>() == Kind::structure) {
            append_members<T>(json, m_key.name());
        } else {
            begin_object<T>(json, m_key.name(), m_key.is_wide());
            append_limits(json, m_key.is_wide());
            json += "}";
        }
    }

 private:
    template <typename M>
    static void begin_object(std::string& json, std::string const& name, bool wide) {
        json += json.back() == '[' ? "\n    {\"key\": " : ",\n    {\"key\": ";
        append_json(json, name);
        json += std::string(", \"type\": \"") + type_name<M>(wide) + "\"";
    }

    /** A struct has no value of its own: each of its members is a key. */
    template <typename S>
    static void append_members(std::string& json, std::string const& name) {
        auto const append_member = [&](auto const& member) {
            using M = Plain<decltype(std::declval<S>().*member.pointer)>;
            if constexpr (kind_of<M>() == Kind::structure) {
                append_members<M>(json, name + "/" + member.name);
            } else {
                begin_object<M>(json, name + "/" + member.name, false);
                json += "}";
            }
        };
        std::apply([&](auto const&... member) { (append_member(member), ...); }, members<S>);
    }

    void append_limits(std::string& json, bool wide) const {
        if constexpr (is_scalar<T> && !has_codec<T> && !std::is_same_v<T, Bytes>) {
            json += ", \"default\": ";
            append_json_value(json, m_key.fallback(), wide);
            auto const& limits = m_key.limits();
            if constexpr (has_range<T>) {
                if (limits.bounded) {
                    json += ", \"min\": ";
                    append_json_value(json, T(limits.low), wide);
                    json += ", \"max\": ";
                    append_json_value(json, T(limits.high), wide);
                }
            }
            append_choices(json, wide);
        }
        if (*m_key.help_text() != '\0') {
            json += ", \"help\": ";
            append_json(json, m_key.help_text());
        }
    }

    void append_choices(std::string& json, bool wide) const {
        auto const& limits = m_key.limits();
        std::vector<T> choices;
        for (std::size_t i = 0; i < limits.count; ++i) choices.push_back(T(limits.choices[i]));
        if constexpr (has_names<T>)
            if (choices.empty())
                for (auto const& row : names<T>.rows) choices.push_back(row.value);
        if (choices.empty()) return;
        json += ", \"choices\": [";
        bool first = true;
        for (T const& choice : choices) {
            if (!first) json += ", ";
            first = false;
            append_json_value(json, choice, wide);
        }
        json += "]";
    }

    Key<T> m_key;
};

}  // namespace detail

/** The declared keys of a program: ticket::Schema const schema(Width, Height, Title). Copies the keys. */
class Schema {
 public:
    /** A schema of these keys. */
    template <typename... T>
    explicit Schema(Key<T> const&... keys) {
        m_declarations.reserve(sizeof...(T));
        (m_declarations.push_back(std::make_unique<detail::KeyDeclaration<T>>(keys)), ...);
    }

    /**
     * Lists what deviates: values of another type, outside the range or choices of their key, and keys that are not
     * declared (Reason::undeclared). A key without a value does not deviate.
     */
    std::vector<Result> check(Store const& store) const {
        std::vector<Result> deviations;
        for (auto const& declaration : m_declarations) {
            Result result = declaration->check(store);
            if (!result && result.reason() != Reason::missing) deviations.push_back(std::move(result));
        }
        for (auto const& [key, value] : store.entries()) {
            (void)value;
            bool declared = false;
            for (auto const& declaration : m_declarations) declared = declared || declaration->declares(key);
            if (!declared) deviations.emplace_back(Reason::undeclared, key);
        }
        return deviations;
    }

    /** The keys as JSON for the command-line tool; docs/store-guide.md tells the format. Ends with a line end. */
    std::string json() const {
        std::string json = "{\n  \"keys\": [";
        for (auto const& declaration : m_declarations) declaration->append(json);
        json += "\n  ]\n}\n";
        return json;
    }

 private:
    std::vector<std::unique_ptr<detail::Declaration const>> m_declarations;
};

}  // namespace ticket

#endif
