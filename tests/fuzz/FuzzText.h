// A reference for the normalisation of white space.
#pragma once

#include <string>

inline std::string Normalised(std::string const& in) {
    std::string out;
    bool isGap = false;
    for (char const byte : in) {
        bool const isSpace = byte > 0 && byte <= ' ';
        if (!isSpace && isGap && !out.empty()) out += ' ';
        if (!isSpace) out += byte;
        isGap = isSpace;
    }
    return out;
}
