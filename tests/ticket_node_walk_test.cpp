// Walks: what each level reports, in which order, and that a callback may change the node during the walk.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <climits>
#include <cmath>
#include <cstring>
#include <functional>
#include <limits>
#include <string>
#include <vector>

#include "ConfigurationControl/MathLib.h"
#include "TicketImpSNode.h"
#include "support/ClassicLocale.h"

namespace {

using ENTRY = clTICKETNODE::clENTRY;
using NODE = clTICKETNODE;
using testing::ElementsAre;
using testing::IsEmpty;

constexpr double INFINITE = std::numeric_limits<double>::infinity();
int g_target = 0;

std::string Describe(PARAM_TYPE type, void const* value) {
    if (!value) return "null";
    auto const print = [](auto typed, void const* source) {
        std::memcpy(&typed, source, sizeof typed);
        return ClassicText(typed);
    };
    switch (type) {
        case PARAM_POINTER:
            return value == &g_target ? "target" : "unknown pointer";
        case PARAM_INT:
            return print(int(), value);
        case PARAM_DOUBLE:
            return print(double(), value);
        case PARAM_STRING:
            return static_cast<char const*>(value);
        case PARAM_BINSTR: {
            auto const* bytes = static_cast<BIN_STRING const*>(value);
            return std::string(static_cast<char const*>(bytes->data), bytes->length);
        }
        case PARAM_VECTOR:
        case PARAM_UINT64:
            return print(uint64_t(), value);
        case PARAM_INT64:
            return print(int64_t(), value);
        default:
            return "value of unexpected type";
    }
}

// Records each call as "key[index] type value", then runs the test's action.
struct RECORDER {
    std::vector<std::string> calls;
    std::function<bool(char const* key, void const* value, int index)> action;

    static bool Record(void* context, char const* key, PARAM_TYPE type, void const* value, int index) {
        auto& self = *static_cast<RECORDER*>(context);
        std::string const place = index == SCALAR_INDEX ? "" : "[" + std::to_string(index) + "]";
        self.calls.push_back(key + place + " " + std::to_string(type) + " " + Describe(type, value));
        if (!self.action) return true;
        bool const goOn = self.action(key, value, index);
        EXPECT_EQ(self.calls.back().compare(0, std::strlen(key), key), 0) << "the key outlives what the callback does";
        return goOn;
    }
};

std::vector<std::string> Walk(NODE const& node, int level) {
    RECORDER recorder;
    EXPECT_TRUE(node.Walk(RECORDER::Record, &recorder, "", level));
    RECORDER sorted;
    EXPECT_TRUE(node.WalkSorted(RECORDER::Record, &sorted, nullptr, level));
    EXPECT_EQ(recorder.calls, sorted.calls);
    return recorder.calls;
}

ENTRY Text(char const* text) {
    return ENTRY(std::string(text));
}
ENTRY Vector(ENTRY::VECTOR elements) {
    return ENTRY(std::move(elements));
}

NODE NodeOfEveryKind() {
    NODE node;
    node.SetEntry("a/integer", ENTRY(3));
    node.SetEntry("b/fraction", ENTRY(3.5));
    node.SetEntry("c/text", Text("text"));
    node.SetEntry("d/bytes", ENTRY(BIN_STRING{"bytes", 5}));
    node.SetEntry("e/pointer", ENTRY(static_cast<void*>(&g_target)));
    node.SetEntry("f/int64", ENTRY(-(1LL << 60)));
    node.SetEntry("g/uint64", ENTRY(1ULL << 63));
    node.SetEntry("h/empty", ENTRY());
    node.SetEntry("i/noElement", Vector({}));
    node.SetEntry("j/vector", Vector({ENTRY(1), Text("two"), ENTRY(), Vector({ENTRY(7), ENTRY(8)})}));
    return node;
}

TEST(Walk, BelowLevelOneReportsKeysOnly) {
    for (int const level : std::initializer_list<int>{WALK_KEYS, -1, -8, INT_MIN}) {
        EXPECT_THAT(Walk(NodeOfEveryKind(), level),
                    ElementsAre("a/integer 0 null", "b/fraction 0 null", "c/text 0 null", "d/bytes 0 null",
                                "e/pointer 0 null", "f/int64 0 null", "g/uint64 0 null", "h/empty 0 null",
                                "i/noElement 0 null", "j/vector 0 null"));
    }
}

TEST(Walk, AtLevelOneReportsTypesOnly) {
    EXPECT_THAT(
        Walk(NodeOfEveryKind(), WALK_TYPES),
        ElementsAre("a/integer 3 null", "b/fraction 3 null", "c/text 4 null", "d/bytes 5 null", "e/pointer 1 null",
                    "f/int64 7 null", "g/uint64 9 null", "h/empty 0 null", "i/noElement 6 null", "j/vector 6 null"));
}

std::vector<std::string> const SCALAR_CALLS = {"a/integer 2 3",
                                               "b/fraction 3 3.500000",
                                               "c/text 4 text",
                                               "d/bytes 5 bytes",
                                               "e/pointer 1 target",
                                               "f/int64 7 -1152921504606846976",
                                               "g/uint64 9 9223372036854775808"};

std::vector<std::string> ScalarCallsAnd(std::vector<std::string> const& more) {
    std::vector<std::string> calls = SCALAR_CALLS;
    calls.insert(calls.end(), more.begin(), more.end());
    return calls;
}

TEST(Walk, AtLevelsTwoAndThreeReportsValuesAndCountsOfVectors) {
    for (int const level : {2, 3}) {
        EXPECT_EQ(Walk(NodeOfEveryKind(), level), ScalarCallsAnd({"i/noElement 6 0", "j/vector 6 4"})) << level;
    }
}

TEST(Walk, FromLevelFourToNineReportsElementsByTypeWithTheirOwnIndex) {
    for (int const level : {4, 5, 8, 9}) {
        EXPECT_EQ(Walk(NodeOfEveryKind(), level), ScalarCallsAnd({"j/vector[0] 3 null", "j/vector[1] 4 null",
                                                                  "j/vector[2] 0 null", "j/vector[3] 6 null"}))
            << level;
    }
}

TEST(Walk, AtLevelsTenAndElevenReportsElementsWithValuesAndInnerVectorsByTheirCount) {
    for (int const level : {10, 11}) {
        EXPECT_EQ(Walk(NodeOfEveryKind(), level),
                  ScalarCallsAnd({"j/vector[0] 2 1", "j/vector[1] 4 two", "j/vector[3] 6 2"}))
            << level;
    }
}

TEST(Walk, FromLevelTwelveEntersInnerVectorsByType) {
    for (int const level : {12, 17}) {
        EXPECT_EQ(Walk(NodeOfEveryKind(), level),
                  ScalarCallsAnd({"j/vector[0] 2 1", "j/vector[1] 4 two", "j/vector[0] 3 null", "j/vector[1] 3 null"}))
            << level;
    }
}

TEST(Walk, AtTheHighestLevelsReportsEverythingWithItsValue) {
    for (int const level : std::initializer_list<int>{18, WALK_EVERYTHING, INT_MAX}) {
        EXPECT_EQ(Walk(NodeOfEveryKind(), level),
                  ScalarCallsAnd({"j/vector[0] 2 1", "j/vector[1] 4 two", "j/vector[0] 2 7", "j/vector[1] 2 8"}))
            << level;
    }
}

TEST(Walk, ReportsIntegralNumbersAsIntAndThoseThatAnIntCannotHoldAsItsMinimum) {
    struct {
        double stored;
        char const* call;
    } const cases[] = {{3.0, "key 2 3"},
                       {-0.0, "key 2 0"},
                       {3.5, "key 3 3.500000"},
                       {2147483647.0, "key 2 2147483647"},
                       {2147483648.0, "key 2 -2147483648"},
                       {-2147483648.0, "key 2 -2147483648"},
                       {-2147483649.0, "key 2 -2147483648"},
                       {1e12, "key 2 -2147483648"},
                       {1e300, "key 2 -2147483648"},
                       {-1e300, "key 2 -2147483648"},
                       {2147483647.5, "key 3 2147483647.500000"},
                       {INFINITE, "key 3 inf"},
                       {-INFINITE, "key 3 -inf"}};
    for (auto const& test : cases) {
        NODE node;
        node.SetEntry("key", ENTRY(test.stored));
        EXPECT_THAT(Walk(node, WALK_VALUES), ElementsAre(test.call)) << test.stored;
    }
}

TEST(Walk, PointsAtTheStoredPayloadAndForNaNAtTheConstant) {
    NODE node;
    node.SetEntry("a", ENTRY(3.5));
    node.SetEntry("b", ENTRY(INFINITE));
    node.SetEntry("c", ENTRY(std::nan("1")));
    node.SetEntry("d", ENTRY(LLONG_MIN));
    node.SetEntry("e", ENTRY(ULLONG_MAX));
    node.SetEntry("f", Text("text"));
    std::vector<void const*> values;
    RECORDER recorder;
    recorder.action = [&](char const*, void const* value, int) {
        values.push_back(value);
        return true;
    };
    node.Walk(RECORDER::Record, &recorder, "", WALK_VALUES);
    EXPECT_THAT(values, ElementsAre(&node.GetEntry("a")->Number(), &node.GetEntry("b")->Number(),
                                    &MathLib::NOT_A_DOUBLE_NUMBER, &node.GetEntry("d")->Int64(),
                                    &node.GetEntry("e")->Uint64(), node.GetEntry("f")->Text().data()));
}

TEST(Walk, GoesInByteOrderShorterFirst) {
    NODE node;
    for (char const* const key : {"b", "\xff", "a/b", "", "a", "a.b", "ab", "B", "\x01"}) node.SetEntry(key, ENTRY(1));
    EXPECT_THAT(Walk(node, WALK_KEYS), ElementsAre(" 0 null", "\x01 0 null", "B 0 null", "a 0 null", "a.b 0 null",
                                                   "a/b 0 null", "ab 0 null", "b 0 null", "\xff 0 null"));
}

TEST(Walk, IgnoresThePrefix) {
    NODE const node = NodeOfEveryKind();
    for (char const* const prefix : {"c", "zzz", ""}) {
        RECORDER recorder;
        node.Walk(RECORDER::Record, &recorder, prefix, WALK_KEYS);
        EXPECT_EQ(recorder.calls.size(), 10u);
    }
}

TEST(Walk, OfNothingSucceedsWithoutACall) {
    EXPECT_THAT(Walk(NODE(), WALK_EVERYTHING), IsEmpty());
}

TEST(Walk, EndsWithTheFirstCallbackThatReturnsFalseAlsoWithinAVector) {
    NODE const node = NodeOfEveryKind();
    RECORDER atOnce;
    atOnce.action = [](char const*, void const*, int) { return false; };
    EXPECT_FALSE(node.Walk(RECORDER::Record, &atOnce, "", WALK_KEYS));
    EXPECT_EQ(atOnce.calls.size(), 1u);

    RECORDER inside;
    inside.action = [](char const*, void const*, int index) { return index != 1; };
    EXPECT_FALSE(node.WalkSorted(RECORDER::Record, &inside, "", WALK_EVERYTHING));
    EXPECT_EQ(inside.calls.back(), "j/vector[1] 4 two");
}

TEST(WalkParameter, IsTrueEvenWhenTheCallbackStopsAtOnce) {
    NODE const node = NodeOfEveryKind();
    for (auto const walk : {&NODE::WalkParameter, &NODE::WalkParameterSorted}) {
        RECORDER recorder;
        recorder.action = [](char const*, void const*, int) { return false; };
        EXPECT_TRUE((node.*walk)(RECORDER::Record, &recorder, nullptr, WALK_EVERYTHING));
        EXPECT_EQ(recorder.calls.size(), 1u);
    }
}

TEST(WalkParameter, IsFalseForANullCallbackOnly) {
    for (NODE const& node : {NODE(), NodeOfEveryKind()}) {
        for (auto const walk : {&NODE::WalkParameter, &NODE::WalkParameterSorted}) {
            EXPECT_FALSE((node.*walk)(nullptr, nullptr, "", WALK_KEYS));
            RECORDER recorder;
            EXPECT_TRUE((node.*walk)(RECORDER::Record, &recorder, nullptr, WALK_KEYS));
        }
    }
}

// ---- Callbacks that change the node they walk

char const LONG_A[] = "a key that is too long for the small buffer of a string";
char const LONG_B[] = "b key that is too long for the small buffer of a string";
char const LONG_C[] = "c key that is too long for the small buffer of a string";
char const LONG_TEXT[] = "a text that is too long for the small buffer of a string";

// Three keys; the middle one is a vector of three texts.
class ChangingWalk : public testing::Test {
 protected:
    using ACTION = std::function<void(char const* key, int index)>;

    ChangingWalk() {
        node.SetEntry(LONG_A, Text(LONG_TEXT));
        node.SetEntry(LONG_B, Vector({Text(LONG_TEXT), Text(LONG_TEXT), Text(LONG_TEXT)}));
        node.SetEntry(LONG_C, Text(LONG_TEXT));
    }

    // The calls as "a", "b0", "b1" and so on.
    std::vector<std::string> Calls(ACTION const& action, int level = WALK_EVERYTHING) {
        std::vector<std::string> calls;
        RECORDER recorder;
        recorder.action = [&](char const* key, void const*, int index) {
            calls.push_back(key[0] + (index == SCALAR_INDEX ? "" : std::to_string(index)));
            action(key, index);
            return true;
        };
        EXPECT_TRUE(node.Walk(RECORDER::Record, &recorder, "", level));
        return calls;
    }

    NODE node;
};

TEST_F(ChangingWalk, DeletingEachKeyReachesEveryKeyOnce) {
    EXPECT_THAT(Calls([&](char const* key, int) { node.Del(key); }), ElementsAre("a", "b0", "c"));
    EXPECT_FALSE(node.NonEmpty());
}

TEST_F(ChangingWalk, DeletingEachKeyWorksAtEveryLevel) {
    for (int const level : {0, 1, 2}) {
        NODE copy(node);
        RECORDER recorder;
        recorder.action = [&](char const* key, void const*, int) { return copy.Del(key); };
        EXPECT_TRUE(copy.Walk(RECORDER::Record, &recorder, "", level));
        EXPECT_EQ(recorder.calls.size(), 3u);
    }
}

TEST_F(ChangingWalk, DeletingTheVectorMidwayGoesOnWithTheNextKey) {
    EXPECT_THAT(Calls([&](char const* key, int index) {
                    if (index == 1) node.Del(key);
                }),
                ElementsAre("a", "b0", "b1", "c"));
}

TEST_F(ChangingWalk, ReplacingTheVectorByAScalarGoesOnWithTheNextKey) {
    EXPECT_THAT(Calls([&](char const* key, int index) {
                    if (index == 0) node.SetEntry(key, Text(LONG_TEXT));
                }),
                ElementsAre("a", "b0", "c"));
}

TEST_F(ChangingWalk, MakingTheWalkedScalarAVectorDoesNotWalkItAgain) {
    EXPECT_THAT(Calls([&](char const* key, int index) {
                    if (index == SCALAR_INDEX) node.AddEntry(key, ENTRY(1));
                }),
                ElementsAre("a", "b0", "b1", "b2", "c"));
}

TEST_F(ChangingWalk, GrowingTheVectorEndsAtTheElementsItHad) {
    EXPECT_THAT(Calls([&](char const* key, int index) {
                    if (index == SCALAR_INDEX) return;
                    for (int i = 0; i < 100; ++i) node.AddEntry(key, Text(LONG_TEXT));
                }),
                ElementsAre("a", "b0", "b1", "b2", "c"));
}

TEST_F(ChangingWalk, ShrinkingTheVectorSkipsWhatIsGone) {
    EXPECT_THAT(Calls([&](char const* key, int index) {
                    if (index == 0) node.Del(key, 2);
                }),
                ElementsAre("a", "b0", "b1", "c"));
}

TEST_F(ChangingWalk, AChangeElsewhereDoesNotEndTheVector) {
    EXPECT_THAT(Calls([&](char const*, int) { node.SetEntry(LONG_A, ENTRY(1)); }),
                ElementsAre("a", "b0", "b1", "b2", "c"));
}

TEST_F(ChangingWalk, DeletingOtherKeysSkipsThoseStillToCome) {
    EXPECT_THAT(Calls([&](char const* key, int index) {
                    if (index == 0) {
                        node.Del(LONG_A);
                        node.Del(LONG_C);
                    }
                    if (index == 2) node.Del(key);
                }),
                ElementsAre("a", "b0", "b1", "b2"));
}

TEST_F(ChangingWalk, ClearingEndsTheWalk) {
    EXPECT_THAT(Calls([&](char const*, int index) {
                    if (index == 0) node.Clear();
                }),
                ElementsAre("a", "b0"));
}

TEST_F(ChangingWalk, RebuildingTheNodeGoesOnBehindTheCurrentKey) {
    EXPECT_THAT(Calls([&](char const*, int index) {
                    if (index != 1) return;
                    node.Clear();
                    for (char const* const key : {"a", LONG_B, "d", "e"}) node.SetEntry(key, Text(LONG_TEXT));
                }),
                ElementsAre("a", "b0", "b1", "d", "e"));
}

TEST_F(ChangingWalk, NewKeysAreWalkedIfTheyAreGreater) {
    EXPECT_THAT(Calls(
                    [&](char const* key, int) {
                        if (key[0] != 'a') return;
                        node.SetEntry("0", ENTRY(1));
                        node.SetEntry("a", ENTRY(1));
                        node.SetEntry("az", ENTRY(1));
                        node.SetEntry("d", ENTRY(1));
                    },
                    2),
                ElementsAre("a", "a", "b", "c", "d"));
}

TEST_F(ChangingWalk, AnInnerVectorThatGoesAwayIsLeft) {
    node.SetEntry(LONG_B, Vector({Vector({Text("1"), Text("2")}), Vector({Text("3"), Text("4")}), Text("5")}));
    bool first = true;
    EXPECT_THAT(Calls([&](char const* key, int index) {
                    if (index == 0 && first) {
                        node.SetEntry(key, 0, Text(LONG_TEXT));
                        first = false;
                    }
                }),
                ElementsAre("a", "b0", "b0", "b1", "b2", "c"));
}

TEST_F(ChangingWalk, AnInnerVectorWhoseElementIsDeletedIsFoundAgain) {
    node.SetEntry(LONG_B, Vector({Vector({Text("1"), Text("2")}), Vector({Text("3"), Text("4")}), Text("5")}));
    bool first = true;
    EXPECT_THAT(Calls([&](char const* key, int index) {
                    if (index == 0 && first) {
                        node.Del(key, 0);  // the second inner vector takes the place of the first
                        first = false;
                    }
                }),
                ElementsAre("a", "b0", "b1", "b1", "c"));
}

TEST_F(ChangingWalk, AWalkInsideAWalkMayChangeTheNodeToo) {
    int inner = 0;
    auto const calls = Calls([&](char const*, int index) {
        if (index == SCALAR_INDEX) return;
        RECORDER recorder;
        recorder.action = [&](char const* key, void const*, int) {
            node.Del(key);
            node.SetEntry(key, Vector({Text(LONG_TEXT), Text(LONG_TEXT)}));
            return ++inner > 0;
        };
        node.Walk(RECORDER::Record, &recorder, "", WALK_EVERYTHING);
    });
    EXPECT_THAT(calls, ElementsAre("a", "b0", "b1", "c0", "c1"));
    EXPECT_GT(inner, 0);
}

TEST_F(ChangingWalk, TheSortedWalkSeesTheNodeAsItWas) {
    RECORDER recorder;
    recorder.action = [&](char const*, void const*, int) {
        node.Clear();
        node.SetEntry("z", ENTRY(1));
        return true;
    };
    EXPECT_TRUE(node.WalkSorted(RECORDER::Record, &recorder, "", WALK_EVERYTHING));
    EXPECT_EQ(recorder.calls.size(), 5u);
    EXPECT_EQ(recorder.calls.back(), std::string(LONG_C) + " 4 " + LONG_TEXT);
    EXPECT_EQ(node.Size(), 1u);
}

TEST_F(ChangingWalk, AnExceptionOfTheCallbackLeavesTheNodeUsable) {
    EXPECT_THROW(Calls([&](char const* key, int) {
                     node.Del(key);
                     throw 1;
                 }),
                 int);
    EXPECT_EQ(node.Size(), 4u);
    EXPECT_THAT(Calls([](char const*, int) {}), ElementsAre("b0", "b1", "b2", "c"));
}

}  // namespace
