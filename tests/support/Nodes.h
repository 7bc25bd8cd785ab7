// A node with one entry, for the tests that read and write single values of a node.
#pragma once

#include <gtest/gtest.h>

#include <initializer_list>
#include <limits>
#include <string>
#include <string_view>
#include <utility>

#include "TicketImpSNode.h"

namespace nodes {

using ENTRY = clTICKETNODE::clENTRY;
using NODE = clTICKETNODE;
using INDEXES = std::initializer_list<int>;

inline constexpr char KEY[] = "key";
inline constexpr double INFINITE = std::numeric_limits<double>::infinity();
inline constexpr long long TWO_53 = 1LL << 53;
inline constexpr unsigned long long TWO_63 = 1ULL << 63;

inline PARAM_TYPE Type(unsigned int number) {
    return static_cast<PARAM_TYPE>(number);
}

inline NODE NodeWith(ENTRY entry) {
    NODE node;
    node.SetEntry(KEY, std::move(entry));
    return node;
}

inline ENTRY Text(char const* text) {
    return ENTRY(std::string(text));
}
inline ENTRY Bytes(std::string_view bytes) {
    return ENTRY(BIN_STRING{bytes.data(), bytes.size()});
}
inline ENTRY Vector(ENTRY::VECTOR elements) {
    return ENTRY(std::move(elements));
}

inline uint64_t Count(NODE const& node) {
    uint64_t count = 77;
    EXPECT_TRUE(node.GetParameter(KEY, PARAM_VECTOR, &count, SCALAR_INDEX));
    return count;
}

}  // namespace nodes
