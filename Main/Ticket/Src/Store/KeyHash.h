// The keyed hash of parameter keys and texts: 64 well mixed bits of a byte string.
//
// A hostile file may hold keys that are chosen to collide. Each multiplication therefore has a secret word on both
// sides, so that no input is known to make a product zero or two products equal. Hashes never leave the process.
#pragma once

#include <unistd.h>

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string_view>

namespace KEY_HASH {

__extension__ typedef unsigned __int128 UINT128;

// The random words that key the hash.
struct SECRET {
    uint64_t left;        // of the factor with the first 8 bytes of each 16
    uint64_t right;       // of the factor with the other 8 bytes
    uint64_t secondLeft;  // for the second of the two chains over a long key
};

inline SECRET NewSecret() {
    // Used if the system has no entropy: only the protection against hostile keys is lost then.
    SECRET secret{0x9E3779B97F4A7C15u, 0xD6E8FEB86659FD93u, 0xC2B2AE3D27D4EB4Fu};
    static_cast<void>(!getentropy(&secret, sizeof secret));
    return secret;
}

// The secret of this process, with which every table begins.
inline SECRET const& ProcessSecret() {
    static SECRET const secret = NewSecret();
    return secret;
}

template <typename INTEGER>
inline uint64_t Load(char const* bytes) {
    INTEGER word;
    std::memcpy(&word, bytes, sizeof word);
    return word;
}

// Both halves of the 128-bit product, so that every bit of the inputs reaches every bit of the result.
inline uint64_t Mix(uint64_t a, uint64_t b) {
    UINT128 const product = static_cast<UINT128>(a) * b;
    return static_cast<uint64_t>(product) ^ static_cast<uint64_t>(product >> 64);
}

constexpr std::size_t WORD = 8;

// Mixes all but the last 16 bytes or fewer of a key that is longer than 32. Two chains, because each product of a chain
// waits for the one before. Not inlined: most keys are shorter.
[[gnu::noinline]] inline uint64_t MixLong(std::string_view key, uint64_t state, SECRET const& secret) {
    char const* bytes = key.data();
    char const* const end = bytes + key.size();
    uint64_t second = state;
    for (; end - bytes > 4 * static_cast<std::ptrdiff_t>(WORD); bytes += 4 * WORD) {
        state = Mix(Load<uint64_t>(bytes) ^ secret.left, Load<uint64_t>(bytes + WORD) ^ state);
        second = Mix(Load<uint64_t>(bytes + 2 * WORD) ^ secret.secondLeft, Load<uint64_t>(bytes + 3 * WORD) ^ second);
    }
    if (end - bytes > 2 * static_cast<std::ptrdiff_t>(WORD))
        state = Mix(Load<uint64_t>(bytes) ^ secret.left, Load<uint64_t>(bytes + WORD) ^ state);
    return state ^ second;
}

inline uint64_t Hash(std::string_view key, SECRET const& secret) {
    char const* const bytes = key.data();
    char const* const end = bytes + key.size();
    uint64_t state = secret.right * (key.size() + 1);  // another secret word for each length
    uint64_t first = 0;
    uint64_t last = 0;
    // The last 16 bytes or fewer are read as two words, which may overlap each other and the words before them.
    if (key.size() > 2 * WORD) {
        state = key.size() > 4 * WORD ? MixLong(key, state, secret)
                                      : Mix(Load<uint64_t>(bytes) ^ secret.left, Load<uint64_t>(bytes + WORD) ^ state);
        first = Load<uint64_t>(end - 2 * WORD);
        last = Load<uint64_t>(end - WORD);
    } else if (key.size() >= WORD) {
        first = Load<uint64_t>(bytes);
        last = Load<uint64_t>(end - WORD);
    } else if (key.size() >= 4) {
        first = Load<uint32_t>(bytes);
        last = Load<uint32_t>(end - 4);
    } else if (!key.empty()) {
        first = Load<uint8_t>(bytes);
        last = Load<uint8_t>(bytes + key.size() / 2) << 8 | Load<uint8_t>(end - 1);
    }
    return Mix(first ^ secret.left, last ^ state);
}

}  // namespace KEY_HASH
