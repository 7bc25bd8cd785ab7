// How numbers are spelled inside a ticket file and read back. Nothing here depends on the locale of C or of C++.
#pragma once

#include <cstddef>
#include <cstdint>
#include <ostream>
#include <string>
#include <string_view>

#include "Format/Oddities.h"

// A double to be written. Exponents from 0 to `limit` are written out in fixed notation, others in engineering
// notation; ticket files use FILE_LIMIT.
struct BestDouble {
    static constexpr int32_t FILE_LIMIT = 5;

    double value;
    int32_t limit;
};

// Thrown for an infinite value, as a `char const*`.
inline constexpr char INFINITE_NUMBER[] = "operator<< (std::ostream& os, const BestDouble& bd): missing '.'";

// Throws INFINITE_NUMBER.
std::ostream& operator<<(std::ostream& os, BestDouble const& bd);

// Enough for every number: the largest double in fixed notation has 309 digits before the point.
constexpr std::size_t LONGEST_NUMBER = 336;

// Write a number to `out`, which has space for LONGEST_NUMBER bytes, and return its end. Integers are decimal, with a
// "-" if they are negative. A BestDouble throws as above.
char* WriteNumber(char* out, BestDouble const& bd);
char* WriteNumber(char* out, int32_t value);
char* WriteNumber(char* out, int64_t value);
char* WriteNumber(char* out, uint64_t value);

template <typename NUMBER>
std::string NumberText(NUMBER const& number) {
    char text[LONGEST_NUMBER];
    return {text, WriteNumber(text, number)};
}

// Reads a number as an extraction from a stream with the classic locale does: leading white space is skipped, reading
// stops at the first character that does not fit, a number out of range is clamped, "-1" as an unsigned number wraps,
// and a text without a number gives 0. For int32_t, int64_t, uint64_t and double; "1.#QNAN" is NaN.
template <typename NUMBER>
NUMBER ParseNumber(std::string_view text, TICKET_FORMAT::ODDITY_LISTENER* listener = nullptr);
