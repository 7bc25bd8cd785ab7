// The bytes that the XML library accepts in the name of an element.
#pragma once

#include <array>
#include <cstddef>

namespace XML_NAMES {

constexpr bool IsLetter(unsigned int byte) {
    return (byte >= 'a' && byte <= 'z') || (byte >= 'A' && byte <= 'Z') || byte == '_' || byte == ':' || byte >= 0x80;
}

// For each byte, whether a name may hold it after its first byte.
constexpr auto LATER_BYTES = [] {
    std::array<bool, 256> later{};
    for (unsigned int byte = 0; byte < later.size(); ++byte)
        later[byte] = IsLetter(byte) || (byte >= '0' && byte <= '9') || byte == '-' || byte == '.';
    return later;
}();

constexpr bool IsFirst(char byte) {
    return IsLetter(static_cast<unsigned char>(byte));
}

constexpr bool IsLater(char byte) {
    return LATER_BYTES[static_cast<unsigned char>(byte)];
}

}  // namespace XML_NAMES
