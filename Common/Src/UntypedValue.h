// Reads and writes values through untyped pointers of hosts, at any alignment.
#pragma once

#include <cstring>

template <typename T>
T LoadValue(void const* source) {
    T value;
    std::memcpy(&value, source, sizeof value);
    return value;
}

template <typename T>
void StoreValue(void* destination, T const& value) {
    std::memcpy(destination, &value, sizeof value);
}
