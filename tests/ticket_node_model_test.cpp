// Random operations on a node and on a model of it that is as simple as can be: after each of them both must answer the
// same. The seed is fixed, so that a failure comes back.
#include <gtest/gtest.h>

#include <climits>
#include <cmath>
#include <cstring>
#include <limits>
#include <map>
#include <optional>
#include <random>
#include <string>
#include <variant>
#include <vector>

#include "ConfigurationControl/MathLib.h"
#include "ConfigurationControl/MultiPar.h"
#include "TicketImpSNode.h"

namespace {

constexpr unsigned int SEED = 20240607;
constexpr double INFINITE = std::numeric_limits<double>::infinity();
constexpr double EXACT = 9007199254740992.0;

struct BYTES {
    std::string bytes;
};
using SCALAR = std::variant<double, int64_t, uint64_t, std::string, BYTES, void*>;

// ---- What a value is worth when it is read as another type

std::optional<double> AsDouble(SCALAR const& scalar) {
    if (auto const* number = std::get_if<double>(&scalar)) return *number;
    if (auto const* integer = std::get_if<int64_t>(&scalar)) return static_cast<double>(*integer);
    if (auto const* integer = std::get_if<uint64_t>(&scalar)) {
        return std::min(static_cast<double>(*integer), 18446744073709549568.0);  // no ties among the values used here
    }
    return std::nullopt;
}

// Half away from zero, saturated. The magnitudes used here are exact in long double.
template <typename T>
T Rounded(double number, T notANumber) {
    if (std::isnan(number)) return notANumber;
    long double const rounded = std::round(static_cast<long double>(number));
    if (rounded >= static_cast<long double>(std::numeric_limits<T>::max())) return std::numeric_limits<T>::max();
    if (rounded <= static_cast<long double>(std::numeric_limits<T>::min())) return std::numeric_limits<T>::min();
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
    if (std::is_same_v<T, uint64_t> && *number == -INFINITE) return notANumber;
    return Rounded<T>(*number, notANumber);
}

PARAM_TYPE TypeOf(SCALAR const& scalar) {
    constexpr PARAM_TYPE types[] = {PARAM_DOUBLE, PARAM_INT64, PARAM_UINT64, PARAM_STRING, PARAM_BINSTR, PARAM_POINTER};
    return types[scalar.index()];
}

// A value as text, so that results of any type compare and print alike.
std::string Print(double value) {
    char bits[32];
    std::snprintf(bits, sizeof bits, "%a", std::isnan(value) ? MathLib::NOT_A_DOUBLE_NUMBER : value);
    return bits;
}
std::string Print(BIN_STRING const& value) {
    return value.data ? "bytes " + std::string(static_cast<char const*>(value.data), value.length)
                      : "no bytes " + std::to_string(value.length);
}
std::string Print(char const* value) {
    return value ? std::string("text ") + value : "no text";
}
std::string Print(void* value) {
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

    // The result of a get as "1 value" or "0 value", or without a value where nothing is written.
    std::string Get(std::string const& key, PARAM_TYPE type, int index) const {
        PARAMETER const* const parameter = Find(key);
        SCALAR const* const scalar = Scalar(parameter, index);
        switch (type) {
            case PARAM_NONE:
                if (index == SCALAR_INDEX && parameter && parameter->isVector) return "1 6";
                return scalar ? "1 " + Print<unsigned int>(::TypeOf(*scalar)) : "0 0";
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

// ---- The same questions put to the node

template <typename T>
std::string GetAs(clTICKETNODE const& node, std::string const& key, PARAM_TYPE type, int index) {
    T value;
    T untouched;
    std::memset(static_cast<void*>(&value), 0x5a, sizeof value);
    std::memset(static_cast<void*>(&untouched), 0x5a, sizeof untouched);
    bool const found = node.GetParameter(key.c_str(), type, &value, index);
    if (std::memcmp(&value, &untouched, sizeof value) == 0) return found ? "1" : "0";
    return (found ? "1 " : "0 ") + Print(value);
}

std::string Get(clTICKETNODE const& node, std::string const& key, PARAM_TYPE type, int index) {
    switch (type) {
        case PARAM_NONE:
        case PARAM_UNSIGNED:
            return GetAs<unsigned int>(node, key, type, index);
        case PARAM_POINTER:
            return GetAs<void*>(node, key, type, index);
        case PARAM_INT:
            return GetAs<int>(node, key, type, index);
        case PARAM_DOUBLE:
            return GetAs<double>(node, key, type, index);
        case PARAM_STRING:
            return GetAs<char const*>(node, key, type, index);
        case PARAM_BINSTR:
            return GetAs<BIN_STRING>(node, key, type, index);
        case PARAM_INT64:
            return GetAs<int64_t>(node, key, type, index);
        default:
            return GetAs<uint64_t>(node, key, type, index);
    }
}

std::string PrintWalked(PARAM_TYPE type, void const* value) {
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

bool WriteDown(void* context, char const* key, PARAM_TYPE type, void const* value, int index) {
    static_cast<std::vector<std::string>*>(context)->push_back(
        std::string(key) + " " + Print(index) + " " + Print<unsigned int>(type) + " " + PrintWalked(type, value));
    return true;
}

// ---- Random arguments

// The argument of a set, and what it means to the model.
struct ARGUMENT {
    PARAM_TYPE type;
    std::variant<std::monostate, int, unsigned int, int64_t, uint64_t, double, std::string, void*> held;
    BIN_STRING bytes{nullptr, 0};

    void const* Pointer() {
        if (std::holds_alternative<std::monostate>(held)) return nullptr;
        if (auto* text = std::get_if<std::string>(&held)) {
            if (type == PARAM_STRING) return text->c_str();
            bytes = {text->data(), text->size()};
            return &bytes;
        }
        if (auto* pointer = std::get_if<void*>(&held)) return *pointer;
        return std::visit([](auto& value) -> void const* { return &value; }, held);
    }

    std::optional<SCALAR> Meaning() const {
        switch (type) {
            case PARAM_INT:
                return static_cast<double>(std::get<int>(held));
            case PARAM_UNSIGNED:
                return static_cast<double>(std::get<unsigned int>(held));
            case PARAM_DOUBLE:
                return std::get<double>(held);
            case PARAM_INT64: {
                int64_t const value = std::get<int64_t>(held);
                auto const number = static_cast<double>(value);
                if (std::abs(number) <= EXACT && static_cast<int64_t>(number) == value) return number;
                return value;
            }
            case PARAM_UINT64: {
                uint64_t const value = std::get<uint64_t>(held);
                if (value <= static_cast<uint64_t>(EXACT)) return static_cast<double>(value);
                if (value <= INT64_MAX) return static_cast<int64_t>(value);
                return value;
            }
            case PARAM_STRING:
                return std::get<std::string>(held);
            case PARAM_BINSTR:
                return BYTES{std::get<std::string>(held)};
            case PARAM_POINTER:
                return std::get<void*>(held);
            default:
                return std::nullopt;
        }
    }
};

class DICE {
 public:
    int Between(int first, int last) { return std::uniform_int_distribution<int>(first, last)(m_engine); }
    bool Chance(int percent) { return Between(1, 100) <= percent; }
    std::string Key() { return m_keys[static_cast<std::size_t>(Between(0, 11))]; }
    int Index() { return Chance(50) ? SCALAR_INDEX : Between(-3, 5); }
    PARAM_TYPE Type() { return static_cast<PARAM_TYPE>(Between(0, 9)); }

    ARGUMENT Argument() {
        switch (Between(0, 9)) {
            case 0:
            case 1:
                return {PARAM_NONE, {}};
            case 2:
                return {PARAM_INT, Of<int>({0, 1, -1, 42, INT_MIN, INT_MAX})};
            case 3:
                return {PARAM_UNSIGNED, Of<unsigned int>({0, 7, UINT_MAX})};
            case 4:
                return {PARAM_DOUBLE,
                        Of<double>({0.0, -0.0, 0.5, -0.5, 2.5, -2.5, 3.25, 3e9, -3e9, 1e12, 1e300, -1e300, INFINITE,
                                    -INFINITE, EXACT, 0x1p62, -0x1p63, 0x1p64, MathLib::NOT_A_DOUBLE_NUMBER})};
            case 5:
                return {PARAM_INT64, Of<int64_t>({0, -9, 1LL << 53, -(1LL << 53), (1LL << 53) + 1, -(1LL << 53) - 1,
                                                  INT64_MIN, INT64_MAX})};
            case 6:
                return {PARAM_UINT64,
                        Of<uint64_t>({0, 9, 1ULL << 53, (1ULL << 53) + 1, INT64_MAX, 1ULL << 63, UINT64_MAX})};
            case 7:
                return {PARAM_STRING, Text()};
            case 8:
                return {PARAM_BINSTR, Chance(30) ? std::string("\0nul\0", 5) : Text()};
            default:
                return {PARAM_POINTER, Chance(20) ? nullptr : static_cast<void*>(this)};
        }
    }

 private:
    template <typename T>
    T Of(std::vector<T> const& pool) {
        return pool[static_cast<std::size_t>(Between(0, static_cast<int>(pool.size()) - 1))];
    }
    std::string Text() {
        return std::string(static_cast<std::size_t>(Between(0, 40)), static_cast<char>(Between('a', 'z')));
    }

    std::mt19937 m_engine{SEED};
    std::vector<std::string> m_keys = {"a",    "a/b",  "a/b/c",     "a.b", "ab",  "B",
                                       "\xff", "\x01", "z/z/z/z/z", "key", "Key", "a key that is longer than others"};
};

void ExpectSameAnswers(clTICKETNODE const& node, MODEL const& model, std::string const& key, PARAM_TYPE type,
                       int index) {
    ASSERT_EQ(Get(node, key, type, index), model.Get(key, type, index)) << key << " type " << type << " at " << index;
    ASSERT_EQ(node.GetParameter(key.c_str(), type, nullptr, index), model.Exists(key, index)) << key << " at " << index;
}

TEST(TicketNodeAgainstModel, SingleSetsGetsAndWalksAgree) {
    clTICKETNODE node;
    MODEL model;
    DICE dice;
    for (int step = 0; step < 20000; ++step) {
        SCOPED_TRACE(step);
        std::string const key = dice.Key();
        int const index = dice.Index();
        ARGUMENT argument = dice.Argument();
        ASSERT_EQ(node.SetParameter(key.c_str(), argument.type, argument.Pointer(), index),
                  model.Set(key, argument.Meaning(), index));
        for (int question = 0; question < 5; ++question) {
            ASSERT_NO_FATAL_FAILURE(ExpectSameAnswers(node, model, question < 3 ? key : dice.Key(), dice.Type(),
                                                      question == 0 ? index : dice.Index()));
        }
        if (step % 50 != 0) continue;
        ASSERT_EQ(node.Size(), model.Size());
        ASSERT_EQ(node.NonEmpty(), model.Size() > 0);
        int const level =
            std::vector<int>{-1, 0, 1, 2, 3, 4, 9, 10, 8000}[static_cast<std::size_t>(dice.Between(0, 8))];
        std::vector<std::string> calls;
        ASSERT_TRUE(node.Walk(WriteDown, &calls, "", level));
        ASSERT_EQ(calls, model.Walk(level)) << "level " << level;
    }
}

TEST(TicketNodeAgainstModel, BatchesAgreeWithTheSameSetsOneByOne) {
    clTICKETNODE node;
    MODEL model;
    DICE dice;
    for (int step = 0; step < 3000; ++step) {
        SCOPED_TRACE(step);
        auto const count = static_cast<std::size_t>(dice.Between(0, 8));
        std::vector<ARGUMENT> arguments(count);
        std::vector<std::string> keys(count);
        std::vector<SETMULTIPAR> records(count + 1, SETMULTIPAR());
        std::vector<bool> expected;
        for (std::size_t i = 0; i < count; ++i) {
            keys[i] = i > 0 && dice.Chance(50) ? keys[i - 1] : dice.Key();
            arguments[i] = dice.Argument();
            records[i] = {keys[i].c_str(), arguments[i].type, arguments[i].Pointer(), dice.Index(), dice.Chance(50)};
            expected.push_back(model.Set(keys[i], arguments[i].Meaning(), records[i].index));
        }
        ASSERT_TRUE(node.SetMultiParameter(records.data()));
        for (std::size_t i = 0; i < count; ++i) ASSERT_EQ(records[i].result, expected[i]) << i;
        if (step % 20 == 0 || step == 2999) {
            std::vector<std::string> calls;
            node.Walk(WriteDown, &calls, "", 8000);
            ASSERT_EQ(calls, model.Walk(8000));
        }
    }
}

}  // namespace
