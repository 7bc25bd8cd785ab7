// The hash of parameter keys: 64 well mixed bits of a byte string.
//
// It is seeded per process, so that no file can be made whose keys all fall on one place of a table. It never leaves
// the process: nothing is stored or ordered by it.
#pragma once

#include <unistd.h>

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string_view>

namespace KEY_HASH {

__extension__ typedef unsigned __int128 UINT128;

// Odd numbers without structure; they keep a run of zero bytes from making a zero product.
constexpr uint64_t MIXER_A = 0x9E3779B97F4A7C15u;
constexpr uint64_t MIXER_B = 0xD6E8FEB86659FD93u;

template <typename WORD>
inline uint64_t Load(char const* bytes) {
    WORD word;
    std::memcpy(&word, bytes, sizeof word);
    return word;
}

// Both halves of the 128-bit product, so that every bit of the inputs reaches every bit of the result.
inline uint64_t Mix(uint64_t a, uint64_t b) {
    UINT128 const product = static_cast<UINT128>(a) * b;
    return static_cast<uint64_t>(product) ^ static_cast<uint64_t>(product >> 64);
}

// The seed of this process.
inline uint64_t Seed() {
    static uint64_t const seed = [] {
        uint64_t random = 0;
        // Without entropy any number has to do.
        return getentropy(&random, sizeof random) == 0 ? random : MIXER_B;
    }();
    return seed;
}

constexpr std::size_t BLOCK = 32;

// The blocks of a long key, in two chains at a time, as each product waits for the one before. Not part of its caller,
// whose keys are mostly short.
[[gnu::noinline]] inline uint64_t MixBlocks(char const* bytes, std::size_t count, uint64_t seed) {
    uint64_t state = seed;
    uint64_t other = seed;
    for (; count > 0; --count, bytes += BLOCK) {
        state = Mix(Load<uint64_t>(bytes) ^ MIXER_A, Load<uint64_t>(bytes + 8) ^ state);
        other = Mix(Load<uint64_t>(bytes + 16) ^ MIXER_B, Load<uint64_t>(bytes + 24) ^ other);
    }
    return state ^ other;
}

inline uint64_t Hash(std::string_view key, uint64_t seed) {
    char const* bytes = key.data();
    char const* const end = bytes + key.size();
    uint64_t state = seed;
    uint64_t first = 0;
    uint64_t last = 0;
    // The last 16 bytes or fewer are read as two words that may overlap each other and what was read before.
    if (key.size() >= 16) {
        if (key.size() > BLOCK) {
            std::size_t const blocks = (key.size() - 1) / BLOCK;
            state = MixBlocks(bytes, blocks, seed);
            bytes += blocks * BLOCK;
        }
        for (; end - bytes > 16; bytes += 16)
            state = Mix(Load<uint64_t>(bytes) ^ MIXER_A, Load<uint64_t>(bytes + 8) ^ state);
        first = Load<uint64_t>(end - 16);
        last = Load<uint64_t>(end - 8);
    } else if (key.size() >= 8) {
        first = Load<uint64_t>(bytes);
        last = Load<uint64_t>(end - 8);
    } else if (key.size() >= 4) {
        first = Load<uint32_t>(bytes);
        last = Load<uint32_t>(end - 4);
    } else if (!key.empty()) {
        first = Load<uint8_t>(bytes);
        last = Load<uint8_t>(bytes + key.size() / 2) << 8 | Load<uint8_t>(end - 1);
    }
    return Mix(Mix(first ^ MIXER_A, last ^ state), key.size() ^ MIXER_B);
}

}  // namespace KEY_HASH
