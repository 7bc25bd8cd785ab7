// The limit for the total length of the keys in one ticket file. A load refuses a file beyond it, so a save must, too.
//
// Nested elements spell keys whose total length grows with the square of the file: a megabyte of them would fill the
// memory of the host. Files of flat or usual shape stay far below both bounds.
//
// The rule: each element that stores a value is charged the length of its key, "/" included; but not if the element
// before it in the same parent has the same name and stores a value, because both belong to one vector.
#pragma once

#include <algorithm>
#include <cstddef>

namespace TICKET_FORMAT {

constexpr std::size_t LONGEST_KEYS = std::size_t{256} << 20;
constexpr std::size_t LONGEST_KEYS_PER_BYTE = 16;

// The greatest total length of keys, in bytes, that a file of `fileSize` bytes may hold.
constexpr std::size_t LongestKeysOf(std::size_t fileSize) {
    return std::max(LONGEST_KEYS, LONGEST_KEYS_PER_BYTE * fileSize);
}

}  // namespace TICKET_FORMAT
