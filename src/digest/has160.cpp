// HAS-160 (TTAS.KO-12.0011): 160-bit hash with 64-byte blocks, four rounds of
// twenty steps, little-endian words.  The frame is simpler than the SHA one:
// one block buffer, and the number of buffered bytes derived from the low
// word of the bit count.
#include "foundation/common.h"

#include <kry/digest.h>

namespace kry {
namespace {

constexpr uint32_t kIV[5] = {0x67452301, 0xEFCDAB89, 0x98BADCFE, 0x10325476, 0xC3D2E1F0};
constexpr uint32_t kK[4] = {0x00000000, 0x5A827999, 0x6ED9EBA1, 0x8F1BBCDC};

// Left-rotation of A per step (the same in every round) and of B per round.
constexpr int kRotA[20] = {5, 11, 7, 15, 6, 13, 8, 14, 7, 12, 9, 11, 8, 15, 6, 12, 9, 14, 5, 13};
constexpr int kRotB[4] = {10, 17, 25, 30};

// Message word used by each step; 16..19 are the round's extra words.
constexpr uint8_t kOrder[4][20] = {
    {18, 0, 1, 2, 3, 19, 4, 5, 6, 7, 16, 8, 9, 10, 11, 17, 12, 13, 14, 15},
    {18, 3, 6, 9, 12, 19, 15, 2, 5, 8, 16, 11, 14, 1, 4, 17, 7, 10, 13, 0},
    {18, 12, 5, 14, 7, 19, 0, 9, 2, 11, 16, 4, 13, 6, 15, 17, 8, 1, 10, 3},
    {18, 7, 2, 13, 8, 19, 3, 14, 9, 4, 16, 15, 10, 5, 0, 17, 11, 6, 1, 12},
};

// Each extra word X[16 + j] is the XOR of the four message words listed.
constexpr uint8_t kExtra[4][4][4] = {
    {{0, 1, 2, 3}, {4, 5, 6, 7}, {8, 9, 10, 11}, {12, 13, 14, 15}},
    {{3, 6, 9, 12}, {15, 2, 5, 8}, {11, 14, 1, 4}, {7, 10, 13, 0}},
    {{12, 5, 14, 7}, {0, 9, 2, 11}, {4, 13, 6, 15}, {8, 1, 10, 3}},
    {{7, 2, 13, 8}, {3, 14, 9, 4}, {15, 10, 5, 0}, {11, 6, 1, 12}},
};

template <int R>
constexpr uint32_t f(uint32_t x, uint32_t y, uint32_t z) {
    if constexpr (R == 0)
        return (x & y) | (~x & z);
    else if constexpr (R == 2)
        return y ^ (x | ~z);
    else
        return x ^ y ^ z;
}

template <int R>
inline void round(uint32_t (&x)[20], uint32_t &a, uint32_t &b, uint32_t &c, uint32_t &d, uint32_t &e) {
    for (int j = 0; j < 4; j++) {
        const auto &src = kExtra[R][j];
        x[16 + j] = x[src[0]] ^ x[src[1]] ^ x[src[2]] ^ x[src[3]];
    }
#pragma GCC unroll 20
    for (int j = 0; j < 20; j++) {
        uint32_t t = rotl32(a, kRotA[j]) + f<R>(b, c, d) + e + x[kOrder[R][j]] + kK[R];
        e = d;
        d = c;
        c = rotl32(b, kRotB[R]);
        b = a;
        a = t;
    }
}

void compress(HAS160_STATE &s, const uint8_t *p) {
    uint32_t x[20];
    for (int i = 0; i < 16; i++)
        x[i] = load32_le(p + 4 * i);
    uint32_t a = s.h[0], b = s.h[1], c = s.h[2], d = s.h[3], e = s.h[4];
    round<0>(x, a, b, c, d, e);
    round<1>(x, a, b, c, d, e);
    round<2>(x, a, b, c, d, e);
    round<3>(x, a, b, c, d, e);
    s.h[0] += a;
    s.h[1] += b;
    s.h[2] += c;
    s.h[3] += d;
    s.h[4] += e;
    wipe(x, sizeof x);
}

inline uint32_t buffered(const HAS160_STATE &s) { return (s.count_low >> 3) & 63; }

}  // namespace
}  // namespace kry

extern "C" {

KRY_API uint32_t init_HAS160(HAS160_STATE *state) {
    if (uint32_t r = kry::test_mode_gate(); r != 0)
        return r;
    if (state == nullptr)
        return 0x23010006;
    std::copy(std::begin(kry::kIV), std::end(kry::kIV), state->h);
    state->count_low = 0;
    state->count_high = 0;
    kry::wipe(state->block, sizeof state->block);
    return 0;
}

KRY_API uint32_t update_HAS160(HAS160_STATE *state, const uint8_t *data, uint32_t length) {
    if (state == nullptr || (data == nullptr && length != 0))
        return 0x23020006;
    uint32_t have = kry::buffered(*state);
    // The bit count is two words with no carry between them: a total of
    // 2^32 bits or more is counted short, as the frame always has.
    state->count_low += length << 3;
    state->count_high += length >> 29;
    if (length < 64 - have) {
        if (length != 0)
            std::memcpy(state->block + have, data, length);
        return 0;
    }
    uint32_t take = 64 - have;
    std::memcpy(state->block + have, data, take);
    kry::compress(*state, state->block);
    data += take;
    length -= take;
    // Whole blocks are compressed straight from the input; the last of them
    // is left in the block buffer, as if each had been copied there first.
    if (length >= 64) {
        for (; length >= 64; data += 64, length -= 64)
            kry::compress(*state, data);
        std::memcpy(state->block, data - 64, 64);
    }
    if (length != 0)
        std::memcpy(state->block, data, length);
    return 0;
}

KRY_API uint32_t final_HAS160(HAS160_STATE *state, uint8_t *out) {
    if (state == nullptr || out == nullptr)
        return 0x23030006;
    uint32_t pos = kry::buffered(*state);
    state->block[pos] = 0x80;
    if (pos >= 56) {
        std::memset(state->block + pos + 1, 0, 63 - pos);
        kry::compress(*state, state->block);
        std::memset(state->block, 0, 56);
    } else {
        std::memset(state->block + pos + 1, 0, 55 - pos);
    }
    kry::store32_le(state->block + 56, state->count_low);
    kry::store32_le(state->block + 60, state->count_high);
    kry::compress(*state, state->block);
    for (int i = 0; i < 5; i++)
        kry::store32_le(out + 4 * i, state->h[i]);
    // The chaining value and count stay; the last message bytes do not.
    kry::wipe(state->block, sizeof state->block);
    return 0;
}

}  // extern "C"
