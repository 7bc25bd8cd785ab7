// A value at an odd address, as it may lie in a host's packed record or byte buffer.
#pragma once

#include <cstring>

template <typename T>
class MISALIGNED {
 public:
    explicit MISALIGNED(T value = {}) { std::memcpy(m_bytes + 1, &value, sizeof value); }

    void* Address() { return m_bytes + 1; }
    T Value() const {
        T value;
        std::memcpy(&value, m_bytes + 1, sizeof value);
        return value;
    }

 private:
    alignas(T) char m_bytes[sizeof(T) + 1] = {};
};
