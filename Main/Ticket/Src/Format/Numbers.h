// How numbers are spelled inside a ticket file and read back. Nothing here depends on the locale of C or of C++.
#pragma once

#include <cstdint>
#include <ostream>
#include <string>
#include <string_view>

// A double on its way to text. Exponents from 0 to `limit` are written out in fixed notation, others in engineering
// notation; ticket files use FILE_LIMIT.
struct BestDouble {
    static constexpr int32_t FILE_LIMIT = 5;

    double value;
    int32_t limit;
};

// Throws the C string "operator<< (std::ostream& os, const BestDouble& bd): missing '.'" for an infinite value.
std::ostream& operator<<(std::ostream& os, BestDouble const& bd);
// The same, appended to a string.
void AppendNumber(std::string& out, BestDouble const& bd);

// Decimal, a "-" for negative numbers, no grouping.
void AppendNumber(std::string& out, int32_t value);
void AppendNumber(std::string& out, int64_t value);
void AppendNumber(std::string& out, uint64_t value);

// Reads a number as an extraction from a stream with the classic locale does: leading white space is skipped, reading
// stops at the first character that does not fit, what is out of range is clamped, "-1" as an unsigned number wraps,
// and a text without a number gives 0. For int32_t, int64_t, uint64_t and double.
template <typename NUMBER>
NUMBER ParseNumber(std::string_view text);
