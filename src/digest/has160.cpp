// HAS-160 (TTAS.KO-12.0011): 160-bit hash with 64-byte blocks, four rounds of
// twenty steps, little-endian words.  The frame is simpler than the SHA one:
// one block buffer, and the number of buffered bytes derived from the low
// word of the bit count.
#include "digest/has160.h"

#include "foundation/common.h"
#include "foundation/cpu.h"

#include <kry/digest.h>

#include <atomic>

namespace kry::has160 {
namespace {
std::atomic<bool> bmi2_enabled{true};
}

#if defined(__x86_64__)
std::atomic<signed char> bmi2_state{-1};

bool settle_bmi2() {
    const bool on = cpu::features().bmi2 && bmi2_enabled.load(std::memory_order_relaxed);
    bmi2_state.store(on ? 1 : 0, std::memory_order_relaxed);
    return on;
}
#endif

void use_bmi2(bool enabled) {
    bmi2_enabled.store(enabled, std::memory_order_relaxed);
#if defined(__x86_64__)
    settle_bmi2();
#endif
}

}  // namespace kry::has160

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

// One round of twenty steps.  Each step's sum e + X + K and f(b, c, d)
// depend only on words of earlier steps, so they are formed first; the
// rotation of a and one addition remain on the chain from step to step.
template <int R>
[[gnu::always_inline]] inline void round(uint32_t (&x)[20], uint32_t &a, uint32_t &b, uint32_t &c, uint32_t &d,
                                         uint32_t &e) {
    for (int j = 0; j < 4; j++) {
        const auto &src = kExtra[R][j];
        x[16 + j] = x[src[0]] ^ x[src[1]] ^ x[src[2]] ^ x[src[3]];
    }
#pragma GCC unroll 20
    for (int j = 0; j < 20; j++) {
        uint32_t t = e + x[kOrder[R][j]];
        if constexpr (R == 2) {
            // f = c ^ (b | ~d) = ~(c ^ (~b & d)), and adding ~u is
            // subtracting u + 1: one operation fewer than the NOT form.
            t += kK[R] - 1;
            t -= c ^ (~b & d);
        } else {
            t += kK[R];
            t += f<R>(b, c, d);
        }
        t += rotl32(a, kRotA[j]);
        e = d;
        d = c;
        c = rotl32(b, kRotB[R]);
        b = a;
        a = t;
    }
}



#if defined(__x86_64__)
// One step with BMI2, written out instruction by instruction: the sum
// accumulates in E's register (which becomes the new A; the caller rotates
// the names), the word and the constant come in one lea, and B is rotated
// in place by rorx into the new C.
template <int R, int J>
[[gnu::always_inline]] inline void step_bmi2(uint32_t a, uint32_t &b, uint32_t c, uint32_t d, uint32_t &e,
                                             const uint32_t (&x)[20]) {
    constexpr int kA = 32 - kRotA[J], kB = 32 - kRotB[R];
    constexpr int32_t kSum = static_cast<int32_t>(R == 2 ? kK[R] - 1 : kK[R]);
    uint32_t u;
    if constexpr (R == 0) {
        // f = (b & c) | (~b & d) = ((c ^ d) & b) ^ d
        __asm__("add %[x], %[e]\n\t"
                "mov %[c], %[u]\n\t"
                "xor %[d], %[u]\n\t"
                "and %[b], %[u]\n\t"
                "xor %[d], %[u]\n\t"
                "add %[u], %[e]\n\t"
                "rorx %[ka], %[a], %[u]\n\t"
                "add %[u], %[e]\n\t"
                "rorx %[kb], %[b], %[b]"
                : [e] "+r"(e), [b] "+r"(b), [u] "=&r"(u)
                : [a] "r"(a), [c] "r"(c), [d] "r"(d), [x] "m"(x[kOrder[R][J]]), [ka] "i"(kA), [kb] "i"(kB)
                : "cc");
    } else if constexpr (R == 2) {
        // f = c ^ (b | ~d) = ~(c ^ (~b & d)); adding it is subtracting
        // c ^ (~b & d) after adding K - 1.
        __asm__("mov %[x], %[u]\n\t"
                "lea %c[k](%q[e], %q[u]), %k[e]\n\t"
                "andn %[d], %[b], %[u]\n\t"
                "xor %[c], %[u]\n\t"
                "sub %[u], %[e]\n\t"
                "rorx %[ka], %[a], %[u]\n\t"
                "add %[u], %[e]\n\t"
                "rorx %[kb], %[b], %[b]"
                : [e] "+r"(e), [b] "+r"(b), [u] "=&r"(u)
                : [a] "r"(a), [c] "r"(c), [d] "r"(d), [x] "m"(x[kOrder[R][J]]), [k] "i"(kSum), [ka] "i"(kA),
                  [kb] "i"(kB)
                : "cc");
    } else {
        // f = b ^ c ^ d
        __asm__("mov %[x], %[u]\n\t"
                "lea %c[k](%q[e], %q[u]), %k[e]\n\t"
                "mov %[b], %[u]\n\t"
                "xor %[c], %[u]\n\t"
                "xor %[d], %[u]\n\t"
                "add %[u], %[e]\n\t"
                "rorx %[ka], %[a], %[u]\n\t"
                "add %[u], %[e]\n\t"
                "rorx %[kb], %[b], %[b]"
                : [e] "+r"(e), [b] "+r"(b), [u] "=&r"(u)
                : [a] "r"(a), [c] "r"(c), [d] "r"(d), [x] "m"(x[kOrder[R][J]]), [k] "i"(kSum), [ka] "i"(kA),
                  [kb] "i"(kB)
                : "cc");
    }
}

// Five steps; the names come back to their places after each group.
template <int R, int J>
[[gnu::always_inline]] inline void five_steps_bmi2(uint32_t &a, uint32_t &b, uint32_t &c, uint32_t &d, uint32_t &e,
                                                   const uint32_t (&x)[20]) {
    step_bmi2<R, J>(a, b, c, d, e, x);
    step_bmi2<R, J + 1>(e, a, b, c, d, x);
    step_bmi2<R, J + 2>(d, e, a, b, c, x);
    step_bmi2<R, J + 3>(c, d, e, a, b, x);
    step_bmi2<R, J + 4>(b, c, d, e, a, x);
}

template <int R>
[[gnu::always_inline]] inline void round_bmi2(uint32_t (&x)[20], uint32_t &a, uint32_t &b, uint32_t &c, uint32_t &d,
                                              uint32_t &e) {
    for (int j = 0; j < 4; j++) {
        const auto &src = kExtra[R][j];
        x[16 + j] = x[src[0]] ^ x[src[1]] ^ x[src[2]] ^ x[src[3]];
    }
    five_steps_bmi2<R, 0>(a, b, c, d, e, x);
    five_steps_bmi2<R, 5>(a, b, c, d, e, x);
    five_steps_bmi2<R, 10>(a, b, c, d, e, x);
    five_steps_bmi2<R, 15>(a, b, c, d, e, x);
}

#endif

// One block: the message words, the four rounds (the portable steps, or
// with kBmi2 the BMI2 ones above), the sum into the chaining value.
template <bool kBmi2>
[[gnu::always_inline]] inline void compress_block(uint32_t (&h)[5], const uint8_t *p) {
    uint32_t x[20];
    for (int i = 0; i < 16; i++)
        x[i] = load32_le(p + 4 * i);
    uint32_t a = h[0], b = h[1], c = h[2], d = h[3], e = h[4];
#if defined(__x86_64__)
    if constexpr (kBmi2) {
        round_bmi2<0>(x, a, b, c, d, e);
        round_bmi2<1>(x, a, b, c, d, e);
        round_bmi2<2>(x, a, b, c, d, e);
        round_bmi2<3>(x, a, b, c, d, e);
    } else
#endif
    {
        round<0>(x, a, b, c, d, e);
        round<1>(x, a, b, c, d, e);
        round<2>(x, a, b, c, d, e);
        round<3>(x, a, b, c, d, e);
    }
    h[0] += a;
    h[1] += b;
    h[2] += c;
    h[3] += d;
    h[4] += e;
    wipe(x, sizeof x);
}

// The portable block function, n consecutive blocks.
void compress_portable(uint32_t (&h)[5], const uint8_t *p, size_t n) {
    for (; n != 0; n--, p += 64)
        compress_block<false>(h, p);
}

#if defined(__x86_64__)
// The same block function on BMI2 steps (the order of the steps' words and
// the extra words as in the portable one).
__attribute__((target("bmi,bmi2"))) void compress_bmi2(uint32_t (&h)[5], const uint8_t *p, size_t n) {
    for (; n != 0; n--, p += 64)
        compress_block<true>(h, p);
}
#endif

// n consecutive 64-byte blocks into the chaining value.
void compress(HAS160_STATE &s, const uint8_t *p, size_t n = 1) {
#if defined(__x86_64__)
    if (has160::has_bmi2())
        return compress_bmi2(s.h, p, n);
#endif
    compress_portable(s.h, p, n);
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
        const uint32_t n = length / 64;
        kry::compress(*state, data, n);
        data += 64 * n;
        length -= 64 * n;
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
