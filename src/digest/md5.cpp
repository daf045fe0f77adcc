// MD5 (RFC 1321).
#include "digest/md_frame.h"

#include <kry/digest.h>

namespace kry {
namespace {

// T[i] = floor(2^32 * |sin(i + 1)|), RFC 1321 section 3.4.
constexpr uint32_t kT[64] = {
    0xd76aa478, 0xe8c7b756, 0x242070db, 0xc1bdceee, 0xf57c0faf, 0x4787c62a, 0xa8304613, 0xfd469501,
    0x698098d8, 0x8b44f7af, 0xffff5bb1, 0x895cd7be, 0x6b901122, 0xfd987193, 0xa679438e, 0x49b40821,
    0xf61e2562, 0xc040b340, 0x265e5a51, 0xe9b6c7aa, 0xd62f105d, 0x02441453, 0xd8a1e681, 0xe7d3fbc8,
    0x21e1cde6, 0xc33707d6, 0xf4d50d87, 0x455a14ed, 0xa9e3e905, 0xfcefa3f8, 0x676f02d9, 0x8d2a4c8a,
    0xfffa3942, 0x8771f681, 0x6d9d6122, 0xfde5380c, 0xa4beea44, 0x4bdecfa9, 0xf6bb4b60, 0xbebfbc70,
    0x289b7ec6, 0xeaa127fa, 0xd4ef3085, 0x04881d05, 0xd9d4d039, 0xe6db99e5, 0x1fa27cf8, 0xc4ac5665,
    0xf4292244, 0x432aff97, 0xab9423a7, 0xfc93a039, 0x655b59c3, 0x8f0ccc92, 0xffeff47d, 0x85845dd1,
    0x6fa87e4f, 0xfe2ce6e0, 0xa3014314, 0x4e0811a1, 0xf7537e82, 0xbd3af235, 0x2ad7d2bb, 0xeb86d391,
};

struct Md5 {
    using State = MD5_STATE;
    static constexpr size_t kBlock = 64;
    static constexpr bool kBigEndian = false;
    static constexpr uint64_t kFlushBits = 512;
    static constexpr uint32_t kIV[4] = {0x67452301, 0xefcdab89, 0x98badcfe, 0x10325476};
    static uint32_t *chain(State &s) { return s.abcd; }

    static void compress(State &s, const uint8_t *p, size_t n = 1) {
        for (; n != 0; n--, p += kBlock)
            compress_block(s, p);
    }

    // One step: a = b + ((a + g + x + t) <<< r).  The part that does not
    // depend on b (the previous step's result) is summed first, and the
    // empty asm keeps the compiler from folding b back into the middle of
    // that sum, so the chain from step to step stays short.
    // In the second round G = (b & d) | (c & ~d) is the sum of two disjoint
    // parts, and only the second depends on b.
#define KRY_MD5_STEP_G(a, b, c, d, k, i, r)                                                           \
    do {                                                                                             \
        a += load32_le(p + 4 * (k)) + kT[i];                                                         \
        a += c & ~d;                                                                                 \
        __asm__("" : "+r"(a));                                                                       \
        a += b & d;                                                                                  \
        a = rotl32(a, r) + b;                                                                        \
    } while (0)
#define KRY_MD5_STEP(g, a, b, c, d, k, i, r)                                                          \
    do {                                                                                             \
        a += load32_le(p + 4 * (k)) + kT[i];                                                         \
        __asm__("" : "+r"(a));                                                                       \
        a += g(b, c, d);                                                                             \
        a = rotl32(a, r) + b;                                                                        \
    } while (0)

    static inline uint32_t step_f(uint32_t b, uint32_t c, uint32_t d) { return d ^ (b & (c ^ d)); }
    static inline uint32_t step_h(uint32_t b, uint32_t c, uint32_t d) { return b ^ (c ^ d); }
    static inline uint32_t step_i(uint32_t b, uint32_t c, uint32_t d) { return c ^ (b | ~d); }

    static void compress_block(State &s, const uint8_t *p) {
        uint32_t a = s.abcd[0], b = s.abcd[1], c = s.abcd[2], d = s.abcd[3];
#pragma GCC unroll 4
        for (int i = 0; i < 16; i += 4) {
            KRY_MD5_STEP(step_f, a, b, c, d, i, i, 7);
            KRY_MD5_STEP(step_f, d, a, b, c, i + 1, i + 1, 12);
            KRY_MD5_STEP(step_f, c, d, a, b, i + 2, i + 2, 17);
            KRY_MD5_STEP(step_f, b, c, d, a, i + 3, i + 3, 22);
        }
#pragma GCC unroll 4
        for (int i = 16; i < 32; i += 4) {
            KRY_MD5_STEP_G(a, b, c, d, (5 * i + 1) & 15, i, 5);
            KRY_MD5_STEP_G(d, a, b, c, (5 * i + 6) & 15, i + 1, 9);
            KRY_MD5_STEP_G(c, d, a, b, (5 * i + 11) & 15, i + 2, 14);
            KRY_MD5_STEP_G(b, c, d, a, (5 * i + 16) & 15, i + 3, 20);
        }
#pragma GCC unroll 4
        for (int i = 32; i < 48; i += 4) {
            KRY_MD5_STEP(step_h, a, b, c, d, (3 * i + 5) & 15, i, 4);
            KRY_MD5_STEP(step_h, d, a, b, c, (3 * i + 8) & 15, i + 1, 11);
            KRY_MD5_STEP(step_h, c, d, a, b, (3 * i + 11) & 15, i + 2, 16);
            KRY_MD5_STEP(step_h, b, c, d, a, (3 * i + 14) & 15, i + 3, 23);
        }
#pragma GCC unroll 4
        for (int i = 48; i < 64; i += 4) {
            KRY_MD5_STEP(step_i, a, b, c, d, (7 * i) & 15, i, 6);
            KRY_MD5_STEP(step_i, d, a, b, c, (7 * i + 7) & 15, i + 1, 10);
            KRY_MD5_STEP(step_i, c, d, a, b, (7 * i + 14) & 15, i + 2, 15);
            KRY_MD5_STEP(step_i, b, c, d, a, (7 * i + 21) & 15, i + 3, 21);
        }
#undef KRY_MD5_STEP
#undef KRY_MD5_STEP_G
        s.abcd[0] += a;
        s.abcd[1] += b;
        s.abcd[2] += c;
        s.abcd[3] += d;
    }

    static void output(const State &s, uint8_t *out) {
        for (int i = 0; i < 4; i++)
            store32_le(out + 4 * i, s.abcd[i]);
    }
};

// final_MD5 answers 1 for a null output (and a null state).
constexpr md::FrameErrors kErrors{
    .update_null = 0x24020006,
    .update_fill = 0x24020600,
    .final_null = 1,
    .final_fill = 0x24030600,
};

}  // namespace
}  // namespace kry

extern "C" {

KRY_API uint32_t init_MD5(MD5_STATE *state) { return kry::md::init<kry::Md5>(state, 0x24010006); }

KRY_API uint32_t update_MD5(MD5_STATE *state, const uint8_t *data, uint32_t length) {
    return kry::md::update<kry::Md5>(state, data, length, kry::kErrors);
}

KRY_API uint32_t final_MD5(MD5_STATE *state, uint8_t *out) { return kry::md::final<kry::Md5>(state, out, kry::kErrors); }

}  // extern "C"
