// Shared by the fuzzers: arguments made from the input's bytes, and a check that ends the process if it fails.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

// Unlike assert, it is checked in every build.
#define MUST_HOLD(condition)                                                                    \
    do {                                                                                        \
        if (!(condition)) {                                                                     \
            std::fprintf(stderr, "%s:%d: does not hold: %s\n", __FILE__, __LINE__, #condition); \
            std::abort();                                                                       \
        }                                                                                       \
    } while (false)

// The text with unprintable bytes made visible.
inline std::string Visible(std::string const& text) {
    std::string visible;
    for (char const byte : text) {
        char hex[8];
        std::snprintf(hex, sizeof hex, "{%02X}", static_cast<unsigned int>(static_cast<unsigned char>(byte)));
        byte >= ' ' && byte < 0x7F ? visible += byte : visible += hex;
    }
    return visible;
}

inline void MustBeSame(std::string const& actual, std::string const& expected, char const* what) {
    if (actual == expected) return;
    std::fprintf(stderr, "%s\n  is:       %s\n  expected: %s\n", what, Visible(actual).c_str(),
                 Visible(expected).c_str());
    std::abort();
}

// Reads the input from its front; after its end all bytes are zero.
class INPUT {
 public:
    INPUT(std::uint8_t const* data, std::size_t size) : m_data(data), m_left(size), m_isLarge(size >= LARGE) {}

    bool IsEmpty() const { return m_left == 0; }

    unsigned int Byte() { return Number<std::uint8_t>(); }
    // A number from 0 to `end` - 1; `end` is at most 256.
    std::size_t Below(std::size_t end) { return Byte() % end; }
    bool Flag() { return Byte() % 2 == 1; }

    template <typename NUMBER>
    NUMBER Number() {
        NUMBER number{};
        std::size_t const size = m_left < sizeof number ? m_left : sizeof number;
        if (size > 0) std::memcpy(&number, m_data, size);
        Skip(size);
        return number;
    }

    // A length, then as many bytes.
    std::string Bytes() {
        std::size_t const length = Length();
        std::size_t const size = m_left < length ? m_left : length;
        std::string const bytes(reinterpret_cast<char const*>(m_data), size);
        Skip(size);
        return bytes;
    }
    // The same up to the first NUL.
    std::string Text() { return Bytes().c_str(); }

 private:
    static constexpr std::size_t LARGE = 1 << 16;

    // One byte. In a large input, any length below 128 KiB; all magnitudes are equally likely.
    std::size_t Length() {
        if (!m_isLarge) return Byte();
        std::size_t const bits = Below(18);
        return Number<std::uint32_t>() & ((std::size_t{1} << bits) - 1);
    }

    void Skip(std::size_t size) {
        m_data += size;
        m_left -= size;
    }

    std::uint8_t const* m_data;
    std::size_t m_left;
    bool m_isLarge;
};
