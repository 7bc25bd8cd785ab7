// Merging tickets: selection, clearing, values that are hard to copy, and sources that fail or change during the merge.
#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <string>
#include <thread>
#include <vector>

#include "support/Misaligned.h"
#include "support/Tickets.h"

namespace {

using tickets::Contents;
using tickets::LINES;
using tickets::OPEN_TICKET;
using tickets::OWNER;

class Merge : public testing::Test {
 protected:
    Merge() {
        for (char const* key : {"a", "a/b", "a/c", "b"}) tickets::Set(m_source, key, key);
        tickets::Set(m_target, "a", "old");
        tickets::Set(m_target, "z", "old");
    }

    int Run(std::vector<char const*> keys, bool clear) {
        keys.push_back(nullptr);
        return m_target->MergeTicket(m_target->pTicket, m_source, keys.data(), clear);
    }

    OWNER m_source;
    OWNER m_target;
};

TEST_F(Merge, WithoutClearKeepsWhatTheSourceDoesNotHave) {
    EXPECT_EQ(m_target->MergeTicket(m_target->pTicket, m_source, nullptr, false), 1);
    EXPECT_EQ(Contents(m_target), (LINES{"a 4 a", "a/b 4 a/b", "a/c 4 a/c", "b 4 b", "z 4 old"}));
}

TEST_F(Merge, WithClearKeepsOnlyWhatTheSourceHas) {
    EXPECT_EQ(m_target->MergeTicket(m_target->pTicket, m_source, nullptr, true), 1);
    EXPECT_EQ(Contents(m_target), Contents(m_source));
}

TEST_F(Merge, AnEmptySelectionMeansEverything) {
    EXPECT_EQ(Run({}, true), 1);
    EXPECT_EQ(Contents(m_target), Contents(m_source));
}

TEST_F(Merge, SelectsExactKeysAndStarredPrefixes) {
    EXPECT_EQ(Run({"a/*", "b"}, false), 1);
    EXPECT_EQ(Contents(m_target), (LINES{"a 4 old", "a/b 4 a/b", "a/c 4 a/c", "b 4 b", "z 4 old"}));
    EXPECT_EQ(Run({"a/"}, true), 0) << "no star, no prefix";
    EXPECT_EQ(Contents(m_target), LINES{}) << "nothing was selected, but it was asked to clear";
}

// The entry for sets answers 0 for a batch without records, so a merge that selects nothing does, too.
TEST_F(Merge, OfNothingAnswersZero) {
    EXPECT_EQ(Run({"absent"}, false), 0);
    EXPECT_EQ(Run({"", "a"}, false), 0) << "a first empty string selects nothing";
    EXPECT_EQ(Contents(m_target), (LINES{"a 4 old", "z 4 old"}));
    OWNER const empty;
    EXPECT_EQ(m_target->MergeTicket(m_target->pTicket, empty, nullptr, true), 0);
    EXPECT_EQ(Contents(m_target), LINES{});
}

TEST_F(Merge, NeedsBothTickets) {
    EXPECT_EQ(m_target->MergeTicket(nullptr, m_source, nullptr, true), 0);
    EXPECT_EQ(m_target->MergeTicket(m_target->pTicket, nullptr, nullptr, true), 0);
    EXPECT_EQ(Contents(m_target), (LINES{"a 4 old", "z 4 old"}));
}

TEST_F(Merge, IntoItselfKeepsTheContent) {
    for (int i = 0; i < 3; ++i) tickets::Set(m_target, "vector", "element", APPEND_INDEX);
    tickets::Set(m_target, "real", 0.5);
    LINES const before = Contents(m_target);
    for (bool const clear : {false, true}) {
        EXPECT_EQ(m_target->MergeTicket(m_target->pTicket, m_target, nullptr, clear), 1);
        EXPECT_EQ(Contents(m_target), before);
    }
    char const* keys[] = {"z", nullptr};
    EXPECT_EQ(m_target->MergeTicket(m_target->pTicket, m_target, keys, true), 1);
    EXPECT_EQ(Contents(m_target), LINES{"z 4 old"});
}

TEST_F(Merge, SelectionMayPointIntoTheTarget) {
    char const* text = nullptr;
    tickets::Set(m_target, "which", "a*");
    m_target->GetParameter(m_target->pTicket, "which", PARAM_STRING, &text, SCALAR_INDEX);
    EXPECT_EQ(Run({text}, true), 1);
    EXPECT_EQ(Contents(m_target), (LINES{"a 4 a", "a/b 4 a/b", "a/c 4 a/c"}));
}

TEST_F(Merge, ReplacesVectorsAndScalarsOfTheTarget) {
    tickets::Set(m_source, "a", 1, APPEND_INDEX);
    for (int i = 0; i < 5; ++i) tickets::Set(m_target, "b", i, APPEND_INDEX);
    EXPECT_EQ(Run({"a", "b"}, false), 1);
    EXPECT_EQ(Contents(m_target), (LINES{"a[0] 4 a", "a[1] 2 1", "b 4 b", "z 4 old"}));
}

TEST_F(Merge, CarriesEveryTypeUnchanged) {
    auto const set = [this](char const* key, PARAM_TYPE type, void const* value) {
        return m_source->SetParameter(m_source->pTicket, key, type, value, SCALAR_INDEX);
    };
    int target = 0;
    double const infinity = std::numeric_limits<double>::infinity();
    double const none = std::numeric_limits<double>::quiet_NaN();
    double const tiny = 5e-324;
    int64_t const big = INT64_MIN;
    uint64_t const huge = UINT64_MAX;
    BIN_STRING const bytes{"x\0y", 3};
    BIN_STRING const noBytes{nullptr, 0};
    EXPECT_EQ(set("pointer", PARAM_POINTER, &target), 1);
    EXPECT_EQ(set("infinity", PARAM_DOUBLE, &infinity), 1);
    EXPECT_EQ(set("nan", PARAM_DOUBLE, &none), 1);
    EXPECT_EQ(set("tiny", PARAM_DOUBLE, &tiny), 1);
    EXPECT_EQ(set("int64", PARAM_INT64, &big), 1);
    EXPECT_EQ(set("uint64", PARAM_UINT64, &huge), 1);
    EXPECT_EQ(set("bytes", PARAM_BINSTR, &bytes), 1);
    EXPECT_EQ(set("no bytes", PARAM_BINSTR, &noBytes), 1);
    EXPECT_EQ(set("empty", PARAM_STRING, ""), 1);
    EXPECT_EQ(m_target->MergeTicket(m_target->pTicket, m_source, nullptr, true), 1);
    EXPECT_EQ(Contents(m_target), Contents(m_source));

    double real = 0;
    EXPECT_EQ(m_target->GetParameter(m_target->pTicket, "infinity", PARAM_DOUBLE, &real, SCALAR_INDEX), 1);
    EXPECT_EQ(real, infinity);
    EXPECT_EQ(m_target->GetParameter(m_target->pTicket, "tiny", PARAM_DOUBLE, &real, SCALAR_INDEX), 1);
    EXPECT_EQ(real, tiny);
    EXPECT_EQ(m_target->GetParameter(m_target->pTicket, "nan", PARAM_DOUBLE, &real, SCALAR_INDEX), 1);
    EXPECT_TRUE(std::isnan(real));
    void* pointer = nullptr;
    EXPECT_EQ(m_target->GetParameter(m_target->pTicket, "pointer", PARAM_POINTER, &pointer, SCALAR_INDEX), 1);
    EXPECT_EQ(pointer, &target);
}

TEST_F(Merge, CarriesAParameterWithAnEmptyKeyAndWhatFollowsIt) {
    tickets::Set(m_source, "", "nameless");
    tickets::Set(m_source, "", 2, APPEND_INDEX);
    EXPECT_EQ(Run({}, true), 1);
    EXPECT_EQ(Contents(m_target), Contents(m_source));
    EXPECT_EQ(m_target->MergeTicket(m_target->pTicket, m_target, nullptr, true), 1);
    EXPECT_EQ(Contents(m_target), Contents(m_source));
}

TEST_F(Merge, RunsThroughTheEntriesOfTheTarget) {
    OPEN_TICKET target;
    STICKET_ACCESS const* const access = target.GetInterface();
    target.Register(1, {"a/*"});
    target.Register(2, {"q"});
    EXPECT_EQ(access->MergeTicket(access->pTicket, m_source, nullptr, false), 1);
    EXPECT_EQ(target.Registered(), std::vector<int>{2});
    EXPECT_EQ(access->MergeTicket(access->pTicket, m_source, nullptr, true), 1);
    EXPECT_EQ(target.Registered(), std::vector<int>{}) << "clearing drops them all";
}

TEST_F(Merge, FromASourceThatCannotBeWalkedChangesNothing) {
    OWNER const mutexless(STICKET::PCreate({m_source->pTicket, -2, -2, nullptr, nullptr}));
    EXPECT_EQ(m_target->MergeTicket(m_target->pTicket, mutexless, nullptr, true), 0);
    EXPECT_EQ(Contents(m_target), (LINES{"a 4 old", "z 4 old"}));
}

TEST_F(Merge, IntoATargetThatCannotBeClearedFails) {
    OWNER const mutexless(STICKET::PCreate({m_source->pTicket, -2, -2, nullptr, nullptr}));
    EXPECT_EQ(mutexless->MergeTicket(mutexless->pTicket, m_source, nullptr, true), 0);
    EXPECT_EQ(mutexless->MergeTicket(mutexless->pTicket, m_source, nullptr, false), 0);
}

// A table from another module may report types that this library's tickets never report.
TEST_F(Merge, FromAForeignTableTakesWhatItKnows) {
    STICKET_ACCESS foreign{};
    foreign.WalkParameter = [](STICKET*, STICKET_WALK_CALLBACK callback, void* context, char const*, int) {
        uint32_t natural = 4000000000u;
        uint64_t count = 5;
        bool go = callback(context, nullptr, PARAM_STRING, "keyless", SCALAR_INDEX);
        go = go && callback(context, "u", PARAM_UNSIGNED, &natural, SCALAR_INDEX);
        natural = 0;  // the pointer is valid only during the callback
        go = go && callback(context, "v", PARAM_VECTOR, &count, SCALAR_INDEX);
        go = go && callback(context, "n", PARAM_NONE, nullptr, SCALAR_INDEX);
        go = go && callback(context, "x", static_cast<PARAM_TYPE>(77), &count, SCALAR_INDEX);
        go = go && callback(context, "d", PARAM_DOUBLE, nullptr, SCALAR_INDEX);
        go = go && callback(context, "s", PARAM_STRING, nullptr, SCALAR_INDEX);
        return go ? 1 : 0;
    };
    EXPECT_EQ(m_target->MergeTicket(m_target->pTicket, &foreign, nullptr, true), 1);
    double natural = 0;
    EXPECT_EQ(m_target->GetParameter(m_target->pTicket, "u", PARAM_DOUBLE, &natural, SCALAR_INDEX), 1);
    EXPECT_EQ(natural, 4000000000.0);
    EXPECT_EQ(tickets::Count(m_target), 2u) << "and the null text, which stores as an empty one";
}

TEST_F(Merge, FromATableWhoseValueCannotBeCopiedChangesNothing) {
    STICKET_ACCESS foreign{};
    foreign.WalkParameter = [](STICKET*, STICKET_WALK_CALLBACK callback, void* context, char const*, int) {
        BIN_STRING const absurd{"x", UINT64_MAX};
        if (callback(context, "a", PARAM_STRING, "new", SCALAR_INDEX))
            callback(context, "b", PARAM_BINSTR, &absurd, SCALAR_INDEX);
        return 1;
    };
    EXPECT_EQ(m_target->MergeTicket(m_target->pTicket, &foreign, nullptr, true), 0);
    EXPECT_EQ(Contents(m_target), (LINES{"a 4 old", "z 4 old"}));
}

TEST_F(Merge, TakesValuesOfAForeignTableFromAnyAlignment) {
    STICKET_ACCESS foreign{};
    foreign.WalkParameter = [](STICKET*, STICKET_WALK_CALLBACK callback, void* context, char const*, int) {
        MISALIGNED<int> number(-5);
        MISALIGNED<double> real(2.5);
        MISALIGNED<int64_t> big(INT64_MIN);
        MISALIGNED<BIN_STRING> bytes({"bytes", 5});
        callback(context, "b", PARAM_BINSTR, bytes.Address(), SCALAR_INDEX);
        callback(context, "d", PARAM_DOUBLE, real.Address(), SCALAR_INDEX);
        callback(context, "i", PARAM_INT, number.Address(), SCALAR_INDEX);
        callback(context, "l", PARAM_INT64, big.Address(), SCALAR_INDEX);
        return 1;
    };
    EXPECT_EQ(m_target->MergeTicket(m_target->pTicket, &foreign, nullptr, true), 1);
    EXPECT_EQ(Contents(m_target), (LINES{"b 5 bytes", "d 3 2.500000", "i 2 -5", "l 7 -9223372036854775808"}));
}

TEST_F(Merge, MayRunWhileAnotherThreadWritesTheSource) {
    std::thread writer([&] {
        for (int i = 0; i < 2000; ++i) {
            tickets::Set(m_source, "a", i % 2 ? "short" : "a text that needs memory of its own");
            tickets::Set(m_source, "a/b", i % 2 ? 0.5 : 1e300);
            if (i % 7 == 0) tickets::Delete(m_source, "b");
        }
    });
    for (int i = 0; i < 200; ++i) Run({}, i % 2);
    writer.join();
    Run({}, true);
    EXPECT_EQ(Contents(m_target), Contents(m_source));
}

// A merge does not hold its target's mutex while it walks the source.
TEST_F(Merge, InBothDirectionsAtOnceDoesNotDeadlock) {
    std::thread back([&] {
        for (int i = 0; i < 500; ++i) m_source->MergeTicket(m_source->pTicket, m_target, nullptr, false);
    });
    for (int i = 0; i < 500; ++i) Run({}, false);
    back.join();
    Run({}, false);
    EXPECT_EQ(tickets::GetText(m_target, "a/b"), "a/b");
}

}  // namespace
