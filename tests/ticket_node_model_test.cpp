// Random operations on a node and on its reference model: both must return the same results. The seed is fixed, so that
// a failure can be reproduced.
#include <gtest/gtest.h>

#include <climits>
#include <limits>
#include <optional>
#include <random>
#include <string>
#include <variant>
#include <vector>

#include "ConfigurationControl/MathLib.h"
#include "ConfigurationControl/MultiPar.h"
#include "TicketImpSNode.h"
#include "support/TicketModel.h"

namespace {

using namespace ticket_model;

constexpr unsigned int SEED = 20240607;
constexpr double INFINITE = std::numeric_limits<double>::infinity();
constexpr double EXACT = 9007199254740992.0;

// ---- Random arguments

// The argument of a set in both forms: for the node and for the model.
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
    auto const ask = [&](void* value) { return node.GetParameter(key.c_str(), type, value, index); };
    ASSERT_EQ(Ask(type, ask), model.Get(key, type, index)) << key << " type " << type << " at " << index;
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
