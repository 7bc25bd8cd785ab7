// A reference model of a ticket's parameters: a plain map and the documented rules.
#pragma once

#include <algorithm>
#include <climits>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <limits>
#include <map>
#include <optional>
#include <string>
#include <type_traits>
#include <variant>
#include <vector>

#include "ConfigurationControl/MathLib.h"
#include "ConfigurationControl/TicketRecords.h"

namespace ticket_model {

struct BYTES {
    std::string bytes;
};
using SCALAR = std::variant<double, int64_t, uint64_t, std::string, BYTES, void*>;

// ---- Conversions between types

// From 2^63 up, doubles are 2048 apart; ties are rounded up, and no result reaches 2^64.
inline double AsDouble(uint64_t integer) {
    if (integer <= INT64_MAX) return static_cast<double>(integer);
    uint64_t const steps = integer / 2048 + (integer % 2048 >= 1024 ? 1 : 0);
    return static_cast<double>(std::min(steps, (uint64_t{1} << 53) - 1)) * 2048;
}

inline std::optional<double> AsDouble(SCALAR const& scalar) {
    if (auto const* number = std::get_if<double>(&scalar)) return *number;
    if (auto const* integer = std::get_if<int64_t>(&scalar)) return static_cast<double>(*integer);
    if (auto const* integer = std::get_if<uint64_t>(&scalar)) return AsDouble(*integer);
    return std::nullopt;
}

// Rounds half away from zero by adding 0.5, a sum that is itself rounded; then saturates.
template <typename T>
T Rounded(double number, T notANumber) {
    if (std::isnan(number)) return notANumber;
    double rounded = number;
    if (std::abs(number) <= 4503599627370495.0)
        rounded = number > 0 ? std::floor(number + 0.5) : -std::floor(0.5 - number);
    // Exact even where the largest integer has no double.
    auto const exact = static_cast<long double>(rounded);
    if (exact >= static_cast<long double>(std::numeric_limits<T>::max())) return std::numeric_limits<T>::max();
    if (exact <= static_cast<long double>(std::numeric_limits<T>::min())) return std::numeric_limits<T>::min();
    return static_cast<T>(rounded);
}

template <typename T>
std::optional<T> AsInteger(SCALAR const& scalar, T notANumber) {
    if (sizeof(T) == sizeof(int64_t)) {
        if (auto const* integer = std::get_if<int64_t>(&scalar)) return static_cast<T>(*integer);
        if (auto const* integer = std::get_if<uint64_t>(&scalar)) return static_cast<T>(*integer);
    }
    std::optional<double> const number = AsDouble(scalar);
    if (!number) return std::nullopt;
    if (std::is_same_v<T, uint64_t> && std::isinf(*number)) return notANumber;
    return Rounded<T>(*number, notANumber);
}

inline PARAM_TYPE TypeOf(SCALAR const& scalar) {
    constexpr PARAM_TYPE types[] = {PARAM_DOUBLE, PARAM_INT64, PARAM_UINT64, PARAM_STRING, PARAM_BINSTR, PARAM_POINTER};
    return types[scalar.index()];
}

// A value as text, so that results of all types compare and print in one way.
inline std::string Print(double value) {
    char bits[32];
    std::snprintf(bits, sizeof bits, "%a", std::isnan(value) ? MathLib::NOT_A_DOUBLE_NUMBER : value);
    return bits;
}
inline std::string Print(BIN_STRING const& value) {
    return value.data ? "bytes " + std::string(static_cast<char const*>(value.data), value.length)
                      : "no bytes " + std::to_string(value.length);
}
inline std::string Print(char const* value) {
    return value ? std::string("text ") + value : "no text";
}
inline std::string Print(void* value) {
    return value ? "pointer" : "no pointer";
}
template <typename T>
std::string Print(T value) {
    return std::to_string(value);
}

// ---- The model

struct PARAMETER {
    bool isVector;
    std::vector<SCALAR> values;
};

class MODEL {
 public:
    bool Set(std::string const& key, std::optional<SCALAR> const& value, int index) {
        if (!value) return Delete(key, index);
        auto const found = m_parameters.find(key);
        if (index == SCALAR_INDEX || (index == APPEND_INDEX && found == m_parameters.end())) {
            m_parameters[key] = {false, {*value}};
            return true;
        }
        PARAMETER& parameter = m_parameters[key];
        parameter.isVector = true;
        if (index == APPEND_INDEX) index = static_cast<int>(parameter.values.size());
        if (index < 0 || index > static_cast<int>(parameter.values.size())) return false;
        if (index == static_cast<int>(parameter.values.size())) parameter.values.emplace_back();
        parameter.values[static_cast<std::size_t>(index)] = *value;
        return true;
    }

    // The result of a get: "1 VALUE" or "0 VALUE", or only the digit where nothing is written to the buffer.
    std::string Get(std::string const& key, PARAM_TYPE type, int index) const {
        PARAMETER const* const parameter = Find(key);
        SCALAR const* const scalar = Scalar(parameter, index);
        switch (type) {
            case PARAM_NONE:
                if (index == SCALAR_INDEX && parameter && parameter->isVector) return "1 6";
                return scalar ? "1 " + Print<unsigned int>(ticket_model::TypeOf(*scalar)) : "0 0";
            case PARAM_POINTER:
                if (index != SCALAR_INDEX) return "0";
                return Answer<void*>(scalar && scalar->index() == 5 ? std::get<void*>(*scalar) : nullptr,
                                     scalar && scalar->index() == 5);
            case PARAM_VECTOR:
                if (index != SCALAR_INDEX) return "0";
                return Answer<uint64_t>(parameter ? parameter->values.size() : 0, parameter);
            case PARAM_INT:
                return Answer(scalar ? AsInteger<int>(*scalar, INT_MIN) : std::nullopt);
            case PARAM_UNSIGNED:
                return Answer(scalar ? AsInteger<unsigned int>(*scalar, UINT_MAX) : std::nullopt);
            case PARAM_INT64:
                return Answer(scalar ? AsInteger<int64_t>(*scalar, INT64_MAX) : std::nullopt);
            case PARAM_UINT64:
                return Answer(scalar ? AsInteger<uint64_t>(*scalar, UINT64_MAX) : std::nullopt);
            case PARAM_DOUBLE:
                return Answer(scalar ? AsDouble(*scalar) : std::nullopt);
            case PARAM_STRING: {
                auto const* text = scalar ? std::get_if<std::string>(scalar) : nullptr;
                return Answer<char const*>(text ? text->c_str() : nullptr, text);
            }
            case PARAM_BINSTR: {
                std::string const* bytes = scalar ? std::get_if<std::string>(scalar) : nullptr;
                if (scalar && scalar->index() == 4) bytes = &std::get<BYTES>(*scalar).bytes;
                return Answer(bytes ? BIN_STRING{bytes->data(), bytes->size()} : BIN_STRING{nullptr, 0}, bytes);
            }
            default:
                return "0";
        }
    }

    bool Exists(std::string const& key, int index) const {
        PARAMETER const* const parameter = Find(key);
        return index == SCALAR_INDEX ? parameter != nullptr : Scalar(parameter, index) != nullptr;
    }

    unsigned long Size() const {
        unsigned long size = 0;
        for (auto const& [key, parameter] : m_parameters) size += parameter.values.size();
        return size;
    }

    void Clear() { m_parameters.clear(); }
    std::map<std::string, PARAMETER> const& Parameters() const { return m_parameters; }

    std::vector<std::string> Walk(int level) const {
        std::vector<std::string> calls;
        for (auto const& [key, parameter] : m_parameters) {
            if (level < 1) {
                calls.push_back(key + " -1 0 none");
            } else if (level == 1) {
                calls.push_back(key + " -1 " +
                                Print<unsigned int>(parameter.isVector ? PARAM_VECTOR : TypeOf(parameter.values[0])) +
                                " none");
            } else if (!parameter.isVector) {
                calls.push_back(key + " -1 " + Walked(parameter.values[0]));
            } else if (level < 4) {
                calls.push_back(key + " -1 6 " + Print(parameter.values.size()));
            } else {
                for (std::size_t i = 0; i < parameter.values.size(); ++i) {
                    SCALAR const& value = parameter.values[i];
                    std::string const what = level < 10 ? Print<unsigned int>(TypeOf(value)) + " none" : Walked(value);
                    calls.push_back(key + " " + Print(i) + " " + what);
                }
            }
        }
        return calls;
    }

 private:
    static std::string Walked(SCALAR const& value) {
        auto const* number = std::get_if<double>(&value);
        if (number && std::floor(*number) == *number && !std::isinf(*number)) {
            bool const fits = *number >= INT_MIN && *number <= INT_MAX;
            return "2 " + Print(fits ? static_cast<int>(*number) : INT_MIN);
        }
        std::string const type = Print<unsigned int>(TypeOf(value)) + " ";
        if (auto const* text = std::get_if<std::string>(&value)) return type + Print(text->c_str());
        if (auto const* bytes = std::get_if<BYTES>(&value)) {
            return type + Print(BIN_STRING{bytes->bytes.data(), bytes->bytes.size()});
        }
        if (number) return type + Print(*number);
        if (auto const* pointer = std::get_if<void*>(&value)) return *pointer ? type + "pointer" : type + "none";
        if (auto const* integer = std::get_if<int64_t>(&value)) return type + Print(*integer);
        return type + Print(std::get<uint64_t>(value));
    }

    template <typename T>
    static std::string Answer(T const& value, bool found) {
        return (found ? "1 " : "0 ") + Print(value);
    }
    template <typename T>
    static std::string Answer(std::optional<T> const& value) {
        return Answer(value.value_or(T()), value.has_value());
    }

    bool Delete(std::string const& key, int index) {
        auto const found = m_parameters.find(key);
        if (found == m_parameters.end()) return false;
        std::vector<SCALAR>& values = found->second.values;
        if (index == SCALAR_INDEX || (index == 0 && !found->second.isVector)) {
            m_parameters.erase(found);
            return true;
        }
        if (!found->second.isVector || index < 0 || index >= static_cast<int>(values.size())) return false;
        values.erase(values.begin() + index);
        return true;
    }

    PARAMETER const* Find(std::string const& key) const {
        auto const found = m_parameters.find(key);
        return found == m_parameters.end() ? nullptr : &found->second;
    }

    static SCALAR const* Scalar(PARAMETER const* parameter, int index) {
        if (!parameter) return nullptr;
        if (index == SCALAR_INDEX) return parameter->isVector ? nullptr : &parameter->values[0];
        bool const inside = index >= 0 && index < static_cast<int>(parameter->values.size());
        return inside ? &parameter->values[static_cast<std::size_t>(index)] : nullptr;
    }

    std::map<std::string, PARAMETER> m_parameters;
};

// ---- The same results from a real ticket, by `ask(buffer)`

template <typename T, typename ASK>
std::string AskFor(ASK const& ask) {
    T value;
    T untouched;
    bool isWritten = false;
    bool found = false;
    // Two fill patterns, since a result may equal one of them.
    for (int const pattern : {0x5a, 0xa5}) {
        std::memset(static_cast<void*>(&value), pattern, sizeof value);
        std::memset(static_cast<void*>(&untouched), pattern, sizeof untouched);
        found = ask(&value);
        isWritten = std::memcmp(&value, &untouched, sizeof value) != 0;
        if (isWritten) break;
    }
    std::string const result = found ? "1" : "0";
    return isWritten ? result + " " + Print(value) : result;
}

template <typename ASK>
std::string Ask(PARAM_TYPE type, ASK const& ask) {
    switch (type) {
        case PARAM_NONE:
        case PARAM_UNSIGNED:
            return AskFor<unsigned int>(ask);
        case PARAM_POINTER:
            return AskFor<void*>(ask);
        case PARAM_INT:
            return AskFor<int>(ask);
        case PARAM_DOUBLE:
            return AskFor<double>(ask);
        case PARAM_STRING:
            return AskFor<char const*>(ask);
        case PARAM_BINSTR:
            return AskFor<BIN_STRING>(ask);
        case PARAM_INT64:
            return AskFor<int64_t>(ask);
        default:
            return AskFor<uint64_t>(ask);
    }
}

// ---- Walks

inline std::string PrintWalked(PARAM_TYPE type, void const* value) {
    if (!value) return "none";
    switch (type) {
        case PARAM_INT:
            return Print(*static_cast<int const*>(value));
        case PARAM_DOUBLE:
            return Print(*static_cast<double const*>(value));
        case PARAM_STRING:
            return Print(static_cast<char const*>(value));
        case PARAM_BINSTR:
            return Print(*static_cast<BIN_STRING const*>(value));
        case PARAM_POINTER:
            return "pointer";
        case PARAM_INT64:
            return Print(*static_cast<long long const*>(value));
        default:
            return Print(*static_cast<unsigned long long const*>(value));
    }
}

inline bool WriteDown(void* context, char const* key, PARAM_TYPE type, void const* value, int index) {
    static_cast<std::vector<std::string>*>(context)->push_back(
        std::string(key) + " " + Print(index) + " " + Print<unsigned int>(type) + " " + PrintWalked(type, value));
    return true;
}

}  // namespace ticket_model
