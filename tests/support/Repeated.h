// Repeats a text, to build deep nesting and long values.
#pragma once

#include <cstddef>
#include <string>

inline std::string Repeated(std::string const& text, std::size_t count) {
    std::string all;
    all.reserve(text.size() * count);
    while (count-- > 0) all += text;
    return all;
}
