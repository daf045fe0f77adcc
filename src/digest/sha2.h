// The SHA-2 compression function (FIPS 180-2 sections 6.2 and 6.3), written
// once for both word sizes: 32-bit words and 64 rounds for SHA-224/256,
// 64-bit words and 80 rounds for SHA-384/512.
#ifndef KRY_SRC_DIGEST_SHA2_H
#define KRY_SRC_DIGEST_SHA2_H

#include "digest/sha_x86.h"
#include "foundation/common.h"

#include <atomic>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <type_traits>

#if defined(__x86_64__) || defined(__i386__)
namespace kry::x86 {
// The SHA-256 digest of h, read with the same two sixteen-byte loads that
// sha256_compress_shani stores h with (a narrower load from inside one of
// those stores is not forwarded at once and waits for the store to retire).
void sha256_output_shani(const uint32_t h[8], uint8_t *out);
}  // namespace kry::x86
#endif

namespace kry::sha2 {

#if defined(__x86_64__)
// SHA-384/512 blocks with the message schedule of four blocks computed at
// once in AVX2 registers and the rounds on BMI2 rotates, chosen at run time
// (CPUID) when the processor has both and the path has not been switched off
// with use_sha512_avx2(false) (tests use that to run the portable code too).
// The answer is settled on first use (-1 until then) and again by
// use_sha512_avx2(); it is read for every block function call.
extern std::atomic<signed char> sha512_avx2_state;
bool settle_sha512_avx2();
inline bool has_sha512_avx2() {
    const signed char s = sha512_avx2_state.load(std::memory_order_relaxed);
    if (s < 0) [[unlikely]]
        return settle_sha512_avx2();
    return s != 0;
}
void use_sha512_avx2(bool enabled);
void sha512_compress_avx2(uint64_t h[8], const uint8_t *blocks, size_t nblocks);
#else
inline bool has_sha512_avx2() { return false; }
inline void use_sha512_avx2(bool) {}
inline void sha512_compress_avx2(uint64_t *, const uint8_t *, size_t) {}
#endif

template <class W> struct Params;

template <> struct Params<uint32_t> {
    static constexpr int kRounds = 64;
    static constexpr int kSum0[3] = {2, 13, 22}, kSum1[3] = {6, 11, 25};
    static constexpr int kSigma0[3] = {7, 18, 3}, kSigma1[3] = {17, 19, 10};
    static constexpr uint32_t kK[64] = {
        0x428a2f98, 0x71374491, 0xb5c0fbcf, 0xe9b5dba5, 0x3956c25b, 0x59f111f1, 0x923f82a4, 0xab1c5ed5,
        0xd807aa98, 0x12835b01, 0x243185be, 0x550c7dc3, 0x72be5d74, 0x80deb1fe, 0x9bdc06a7, 0xc19bf174,
        0xe49b69c1, 0xefbe4786, 0x0fc19dc6, 0x240ca1cc, 0x2de92c6f, 0x4a7484aa, 0x5cb0a9dc, 0x76f988da,
        0x983e5152, 0xa831c66d, 0xb00327c8, 0xbf597fc7, 0xc6e00bf3, 0xd5a79147, 0x06ca6351, 0x14292967,
        0x27b70a85, 0x2e1b2138, 0x4d2c6dfc, 0x53380d13, 0x650a7354, 0x766a0abb, 0x81c2c92e, 0x92722c85,
        0xa2bfe8a1, 0xa81a664b, 0xc24b8b70, 0xc76c51a3, 0xd192e819, 0xd6990624, 0xf40e3585, 0x106aa070,
        0x19a4c116, 0x1e376c08, 0x2748774c, 0x34b0bcb5, 0x391c0cb3, 0x4ed8aa4a, 0x5b9cca4f, 0x682e6ff3,
        0x748f82ee, 0x78a5636f, 0x84c87814, 0x8cc70208, 0x90befffa, 0xa4506ceb, 0xbef9a3f7, 0xc67178f2,
    };
    static uint32_t load(const uint8_t *p) { return load32_be(p); }
    static void store(uint8_t *p, uint32_t v) { store32_be(p, v); }
};

template <> struct Params<uint64_t> {
    static constexpr int kRounds = 80;
    static constexpr int kSum0[3] = {28, 34, 39}, kSum1[3] = {14, 18, 41};
    static constexpr int kSigma0[3] = {1, 8, 7}, kSigma1[3] = {19, 61, 6};
    static constexpr uint64_t kK[80] = {
        0x428a2f98d728ae22, 0x7137449123ef65cd, 0xb5c0fbcfec4d3b2f, 0xe9b5dba58189dbbc, 0x3956c25bf348b538,
        0x59f111f1b605d019, 0x923f82a4af194f9b, 0xab1c5ed5da6d8118, 0xd807aa98a3030242, 0x12835b0145706fbe,
        0x243185be4ee4b28c, 0x550c7dc3d5ffb4e2, 0x72be5d74f27b896f, 0x80deb1fe3b1696b1, 0x9bdc06a725c71235,
        0xc19bf174cf692694, 0xe49b69c19ef14ad2, 0xefbe4786384f25e3, 0x0fc19dc68b8cd5b5, 0x240ca1cc77ac9c65,
        0x2de92c6f592b0275, 0x4a7484aa6ea6e483, 0x5cb0a9dcbd41fbd4, 0x76f988da831153b5, 0x983e5152ee66dfab,
        0xa831c66d2db43210, 0xb00327c898fb213f, 0xbf597fc7beef0ee4, 0xc6e00bf33da88fc2, 0xd5a79147930aa725,
        0x06ca6351e003826f, 0x142929670a0e6e70, 0x27b70a8546d22ffc, 0x2e1b21385c26c926, 0x4d2c6dfc5ac42aed,
        0x53380d139d95b3df, 0x650a73548baf63de, 0x766a0abb3c77b2a8, 0x81c2c92e47edaee6, 0x92722c851482353b,
        0xa2bfe8a14cf10364, 0xa81a664bbc423001, 0xc24b8b70d0f89791, 0xc76c51a30654be30, 0xd192e819d6ef5218,
        0xd69906245565a910, 0xf40e35855771202a, 0x106aa07032bbd1b8, 0x19a4c116b8d2d0c8, 0x1e376c085141ab53,
        0x2748774cdf8eeb99, 0x34b0bcb5e19b48a8, 0x391c0cb3c5c95a63, 0x4ed8aa4ae3418acb, 0x5b9cca4f7763e373,
        0x682e6ff3d6b2b8a3, 0x748f82ee5defb2fc, 0x78a5636f43172f60, 0x84c87814a1f0ab72, 0x8cc702081a6439ec,
        0x90befffa23631e28, 0xa4506cebde82bde9, 0xbef9a3f7b2c67915, 0xc67178f2e372532b, 0xca273eceea26619c,
        0xd186b8c721c0c207, 0xeada7dd6cde0eb1e, 0xf57d4f7fee6ed178, 0x06f067aa72176fba, 0x0a637dc5a2c898a6,
        0x113f9804bef90dae, 0x1b710b35131c471b, 0x28db77f523047d84, 0x32caab7b40c72493, 0x3c9ebe0a15c9bebc,
        0x431d67c49c100d4c, 0x4cc5d4becb3e42b6, 0x597f299cfc657e2a, 0x5fcb6fab3ad6faec, 0x6c44198c4a475817,
    };
    static uint64_t load(const uint8_t *p) { return load64_be(p); }
    static void store(uint8_t *p, uint64_t v) { store64_be(p, v); }
};

// One block of 16 words into the chaining value h[0..7].
template <class W>
void compress(W (&h)[8], const uint8_t *block) {
    using P = Params<W>;
    constexpr auto big_sigma = [](W x, const int (&r)[3]) {
        return std::rotr(x, r[0]) ^ std::rotr(x, r[1]) ^ std::rotr(x, r[2]);
    };
    constexpr auto small_sigma = [](W x, const int (&r)[3]) {
        return std::rotr(x, r[0]) ^ std::rotr(x, r[1]) ^ (x >> r[2]);
    };

    // The message schedule is kept in a ring of 16 words.
    W w[16];
    for (int i = 0; i < 16; i++)
        w[i] = P::load(block + sizeof(W) * i);
    W a = h[0], b = h[1], c = h[2], d = h[3], e = h[4], f = h[5], g = h[6], hh = h[7];
#pragma GCC unroll 80
    for (int t = 0; t < P::kRounds; t++) {
        if (t >= 16)
            w[t & 15] += small_sigma(w[(t - 15) & 15], P::kSigma0) + w[(t - 7) & 15] +
                         small_sigma(w[(t - 2) & 15], P::kSigma1);
        W t1 = hh + big_sigma(e, P::kSum1) + ((e & f) ^ (~e & g)) + P::kK[t] + w[t & 15];
        W t2 = big_sigma(a, P::kSum0) + ((a & b) ^ (a & c) ^ (b & c));
        hh = g;
        g = f;
        f = e;
        e = d + t1;
        d = c;
        c = b;
        b = a;
        a = t1 + t2;
    }
    h[0] += a;
    h[1] += b;
    h[2] += c;
    h[3] += d;
    h[4] += e;
    h[5] += f;
    h[6] += g;
    h[7] += hh;
    wipe(w, sizeof w);
}

// The first n chaining words, big-endian.
// All eight go out in sixteen-byte stores, so that a caller reading the
// digest by sixteen-byte pieces (the outer hash of HMAC) is not held up.
template <class W>
void output(const W (&h)[8], uint8_t *out, int n = 8) {
    if (n == 8) {
        typedef uint64_t V __attribute__((vector_size(16)));
        for (int i = 0; i < 8; i += 16 / static_cast<int>(sizeof(W))) {
            V v;
            if constexpr (sizeof(W) == 4) {
                // Two words at a time: big-endian bytes of h[i], then of h[i + 1].
                v[0] = std::rotr(__builtin_bswap64(h[i] | uint64_t{h[i + 1]} << 32), 32);
                v[1] = std::rotr(__builtin_bswap64(h[i + 2] | uint64_t{h[i + 3]} << 32), 32);
            } else {
                v[0] = __builtin_bswap64(h[i]);
                v[1] = __builtin_bswap64(h[i + 1]);
            }
            std::memcpy(out + sizeof(W) * i, &v, 16);
        }
        return;
    }
    for (int i = 0; i < n; i++)
        Params<W>::store(out + sizeof(W) * i, h[i]);
}

// Traits of the shared Merkle-Damgard frame (md_frame.h) for one member of
// the family: its state record and initial hash value.  The block is sixteen
// words; the length field and the output are big-endian.  A block filled by
// final's flush of staged bytes counts 512 bits in both sizes; update
// compresses every whole block itself, so on a state it produced the flush
// never fills one.
template <class S, class IV>
struct Frame {
    using State = S;
    using Word = std::remove_extent_t<decltype(S::h)>;
    static constexpr size_t kBlock = 16 * sizeof(Word);
    static constexpr bool kBigEndian = true;
    static constexpr uint64_t kFlushBits = 512;
    static constexpr auto &kIV = IV::value;
    static Word *chain(State &s) { return s.h; }
    static void compress(State &s, const uint8_t *p, size_t n = 1) {
        if constexpr (std::is_same_v<Word, uint32_t>) {
            if (x86::has_sha_extensions())
                return x86::sha256_compress_shani(s.h, p, n);
        } else {
            if (has_sha512_avx2())
                return sha512_compress_avx2(s.h, p, n);
        }
        for (; n != 0; n--, p += kBlock)
            sha2::compress(s.h, p);
    }
    static void output(const State &s, uint8_t *out) {
#if defined(__x86_64__) || defined(__i386__)
        if constexpr (std::is_same_v<Word, uint32_t>) {
            // Whoever wrote h last chose its stores; read it the same way.
            if (x86::has_sha_extensions())
                return x86::sha256_output_shani(s.h, out);
        }
#endif
        sha2::output(s.h, out);
    }
};

}  // namespace kry::sha2

#endif  // KRY_SRC_DIGEST_SHA2_H
