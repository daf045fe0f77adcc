// SEED (RFC 4269; KISA, TTAS.KO-12.0004): 128-bit blocks, 128-bit key,
// 16-round Feistel network.
//
// The two S-boxes are built at compile time from their algebraic definition
// in the SEED standard (KISA, TTAS.KO-12.0004),
//     S1(x) = A1 . x^247 + 169,    S2(x) = A2 . x^251 + 56,
// in GF(2^8) modulo x^8 + x^6 + x^5 + x + 1, with A1 and A2 8 x 8 binary
// matrices; they are checked below against entries of RFC 4269 Appendix A.
// The function G (RFC 4269 section 2.1) then becomes four 256-entry word
// tables, one per input byte, each folding its S-box and G's masked byte
// permutation together, so G is four lookups.
#include "cipher/seed.h"

#include "cipher/modes.h"
#include "cipher/gf256.h"
#include "foundation/common.h"

#include <array>
#include <cstddef>
#include <cstring>

namespace kry {
namespace {

// ---- S-boxes -----------------------------------------------------------------

constexpr auto gf_pow = gf256::pow<gf256::kSeedPoly>;

// A linear map of GF(2)^8 given by its columns: column i is the image of
// bit i.
using Matrix = std::array<uint8_t, 8>;
constexpr Matrix kA1 = {0x2C, 0xD0, 0x69, 0xC2, 0x41, 0x44, 0x58, 0xE2};
constexpr Matrix kA2 = {0xD0, 0x2A, 0xE1, 0x2C, 0x21, 0x30, 0xA2, 0x6C};

constexpr uint8_t apply(const Matrix &m, uint8_t v) {
    uint8_t r = 0;
    for (unsigned i = 0; i < 8; ++i)
        if ((v >> i) & 1)
            r ^= m[i];
    return r;
}

constexpr std::array<uint8_t, 256> make_sbox(const Matrix &m, unsigned exponent, uint8_t constant) {
    std::array<uint8_t, 256> s{};
    for (unsigned x = 0; x < 256; ++x)
        s[x] = apply(m, gf_pow(static_cast<uint8_t>(x), exponent)) ^ constant;
    return s;
}

constexpr auto kS1 = make_sbox(kA1, 247, 169);
constexpr auto kS2 = make_sbox(kA2, 251, 56);

constexpr bool is_permutation(const std::array<uint8_t, 256> &s) {
    std::array<bool, 256> seen{};
    for (uint8_t v : s) {
        if (seen[v])
            return false;
        seen[v] = true;
    }
    return true;
}
static_assert(is_permutation(kS1) && is_permutation(kS2));
// The first entries of RFC 4269 Appendix A.
static_assert(kS1[0] == 0xA9 && kS1[1] == 0x85 && kS1[2] == 0xD6 && kS1[3] == 0xD3 && kS1[15] == 0x63);
static_assert(kS2[0] == 0x38 && kS2[1] == 0xE8 && kS2[2] == 0x2D && kS2[3] == 0xA6 && kS2[15] == 0x5B);

// ---- G -------------------------------------------------------------------------

// G (RFC 4269 2.1): for X = X3||X2||X1||X0, Y0 = S1(X0), Y1 = S2(X1),
// Y2 = S1(X2), Y3 = S2(X3), and with the masks m0..m3 = FC F3 CF 3F
//   Z0 = Y0&m0 ^ Y1&m1 ^ Y2&m2 ^ Y3&m3     Z1 = Y0&m1 ^ Y1&m2 ^ Y2&m3 ^ Y3&m0
//   Z2 = Y0&m2 ^ Y1&m3 ^ Y2&m0 ^ Y3&m1     Z3 = Y0&m3 ^ Y1&m0 ^ Y2&m1 ^ Y3&m2
// G(X) = Z3||Z2||Z1||Z0.  Table n holds the contribution of Yn to Z.
constexpr std::array<uint8_t, 4> kMask = {0xFC, 0xF3, 0xCF, 0x3F};

constexpr std::array<std::array<uint32_t, 256>, 4> make_ss() {
    std::array<std::array<uint32_t, 256>, 4> t{};
    for (unsigned n = 0; n < 4; ++n)
        for (unsigned x = 0; x < 256; ++x) {
            const uint8_t y = (n % 2 == 0) ? kS1[x] : kS2[x];
            uint32_t z = 0;
            for (unsigned out = 0; out < 4; ++out)  // Zout takes Yn & m[(n + out) mod 4]
                z |= uint32_t{static_cast<uint8_t>(y & kMask[(n + out) % 4])} << (8 * out);
            t[n][x] = z;
        }
    return t;
}
constexpr auto kSS = make_ss();
static_assert(kSS[0][0] == 0x2989A1A8 && kSS[1][0] == 0x38380830 && kSS[2][0] == 0xA1A82989 &&
              kSS[3][0] == 0x08303838);

// Pins a value as computed: keeps the compiler from folding it back into the
// expressions that use it (a shallow xor tree staying a tree, a value formed
// early staying early).
[[gnu::always_inline]] inline uint32_t opaque(uint32_t v) {
#if defined(__GNUC__)
    __asm__("" : "+r"(v));
#endif
    return v;
}

// The four tables, addressed through one base register.
[[gnu::always_inline]] inline const uint32_t *ss_base() {
    const uint32_t *p = kSS[0].data();
#if defined(__GNUC__)
    __asm__("" : "+r"(p));
#endif
    return p;
}
static_assert(sizeof(kSS) == 4 * 256 * 4);

// Table n's entry i.
template <int N> [[gnu::always_inline]] inline uint32_t ss(const uint32_t *t, size_t i) {
    uint32_t v;
    std::memcpy(&v, reinterpret_cast<const unsigned char *>(t) + 1024 * N + 4 * i, 4);
    return v;
}

[[gnu::always_inline]] inline uint32_t g(const uint32_t *t, uint32_t x) {
    // Indices taken from a 64-bit copy: the table offsets then fold into the
    // addressing rather than into the byte indices.
    const uint64_t y = x;
    const size_t b0 = y & 0xFF, b1 = (y >> 8) & 0xFF, b2 = (y >> 16) & 0xFF, b3 = y >> 24;
    return opaque(ss<0>(t, b0) ^ ss<1>(t, b1)) ^ opaque(ss<2>(t, b2) ^ ss<3>(t, b3));
}

[[gnu::always_inline]] inline uint32_t g(uint32_t x) { return g(kSS[0].data(), x); }

// ---- rounds --------------------------------------------------------------------

// The 128-bit block as four big-endian words: L = l0||l1, R = r0||r1.
struct Block {
    uint32_t l0, l1, r0, r1;
};

inline Block load_block(const uint8_t *p) {
    return {load32_be(p), load32_be(p + 4), load32_be(p + 8), load32_be(p + 12)};
}

// The output R16 || L16 of the rounds below.
inline void store_block(uint8_t *p, const Block &b) {
    store32_be(p, b.r0);
    store32_be(p + 4, b.r1);
    store32_be(p + 8, b.l0);
    store32_be(p + 12, b.l1);
}

// Round i of the sixteen (0-based) for direction Decrypt: the index of its
// round key.
template <bool Decrypt> constexpr int key_index(int i) { return Decrypt ? 15 - i : i; }

// One block in the rounds.  The round (RFC 4269 2.1) is
//   (L, R) -> (R, L ^ F(R, K)),  F: C = R0 ^ K0, D = R1 ^ K1;
//   D = G(C ^ D); C = G(C + D); D = G(D + C); C = C + D;  F = C || D.
// R is held as Q ^ (c, d): Q known a round early, (c, d) the last F output,
// so the next round's input is formed one xor after F is done, and the
// chain through the block is three G's, their additions and one xor per
// round.
struct Lane {
    uint32_t p0, p1;  // L
    uint32_t q0, q1;  // R = (q0 ^ c, q1 ^ d)
    uint32_t c, d;
};

[[gnu::always_inline]] inline Lane lane_of(const Block &b) { return {b.l0, b.l1, b.r0, b.r1, 0, 0}; }

[[gnu::always_inline]] inline void lane_round(const uint32_t *t, Lane &s, uint32_t k0, uint32_t k1) {
    const uint32_t u0 = s.q0 ^ k0;
    const uint32_t u1 = opaque(s.q1 ^ k1 ^ u0);
    uint32_t c = u0 ^ s.c;
    uint32_t d = g(t, (u1 ^ s.d) ^ s.c);
    c = g(t, c + d);
    d = g(t, d + c);
    c += d;
    // L' = R, R' = L ^ F.
    const uint32_t r0 = s.q0 ^ s.c, r1 = s.q1 ^ s.d;
    s.q0 = s.p0, s.q1 = s.p1;
    s.p0 = r0, s.p1 = r1;
    s.c = c, s.d = d;
}

// Sixteen rounds in the swapping form, leaving L16 in the block's l words
// and R16 in its r words; the output block is R16 || L16 (the last round of
// the standard does not swap).  Decryption is the same network with the
// round keys reversed.  Fully unrolled; with N blocks the rounds
// of the blocks alternate, so their independent chains overlap.
template <bool Decrypt, int N>
[[gnu::always_inline]] inline void rounds(Block (&b)[N], const uint32_t *k) {
    const uint32_t *t = ss_base();
    Lane s[N];
#pragma GCC unroll 4
    for (int j = 0; j < N; j++)
        s[j] = lane_of(b[j]);
#pragma GCC unroll 16
    for (int i = 0; i < 16; i++) {
        const int a = key_index<Decrypt>(i);
        const uint32_t k0 = k[2 * a], k1 = k[2 * a + 1];
#pragma GCC unroll 4
        for (int j = 0; j < N; j++)
            lane_round(t, s[j], k0, k1);
    }
#pragma GCC unroll 4
    for (int j = 0; j < N; j++)
        b[j] = {s[j].p0, s[j].p1, s[j].q0 ^ s[j].c, s[j].q1 ^ s[j].d};
}

template <bool Decrypt>
[[gnu::always_inline]] inline void crypt(const uint8_t *in, uint8_t *out, const SEED_SCHEDULE &ks) {
    Block b[1] = {load_block(in)};
    rounds<Decrypt>(b, ks.k);
    store_block(out, b[0]);
}

// n blocks, two at a time.
template <bool Decrypt> void crypt_blocks(const uint8_t *in, uint8_t *out, size_t n, const SEED_SCHEDULE &ks) {
    for (; n >= 2; n -= 2, in += 32, out += 32) {
        Block b[2] = {load_block(in), load_block(in + 16)};
        rounds<Decrypt>(b, ks.k);
        store_block(out, b[0]);
        store_block(out + 16, b[1]);
    }
    if (n != 0)
        crypt<Decrypt>(in, out, ks);
}

// CBC encryption with the chaining value kept in registers: each block's
// input is its plaintext words xor the previous output words.
void cbc_encrypt(const uint8_t *in, uint8_t *out, size_t n, uint8_t *chain, const SEED_SCHEDULE &ks) {
    if (n == 0)
        return;
    uint32_t c0 = load32_be(chain), c1 = load32_be(chain + 4), c2 = load32_be(chain + 8), c3 = load32_be(chain + 12);
    for (; n != 0; n--, in += 16, out += 16) {
        Block b[1] = {{load32_be(in) ^ c0, load32_be(in + 4) ^ c1, load32_be(in + 8) ^ c2, load32_be(in + 12) ^ c3}};
        rounds<false>(b, ks.k);
        c0 = b[0].r0, c1 = b[0].r1, c2 = b[0].l0, c3 = b[0].l1;
        store_block(out, b[0]);
    }
    store32_be(chain, c0);
    store32_be(chain + 4, c1);
    store32_be(chain + 8, c2);
    store32_be(chain + 12, c3);
}

// Key-schedule constants KC_i = the golden-ratio word 9E3779B9 rotated left
// by i (RFC 4269 2.2).
constexpr std::array<uint32_t, 16> make_kc() {
    std::array<uint32_t, 16> kc{};
    for (unsigned i = 0; i < 16; ++i)
        kc[i] = rotl32(0x9E3779B9u, static_cast<int>(i));
    return kc;
}
constexpr auto kKC = make_kc();
static_assert(kKC[1] == 0x3C6EF373 && kKC[15] == 0xBCDCCF1B);

}  // namespace

// RFC 4269 2.2: Key = A||B||C||D; for i = 1..16:
//   Ki,0 = G(A + C - KC_{i-1}),  Ki,1 = G(B - D + KC_{i-1}),
//   then A||B >>>= 8 after odd rounds and C||D <<<= 8 after even ones.
void seed_set_key(const uint8_t key[16], SEED_SCHEDULE &ks) {
    uint32_t a = load32_be(key), b = load32_be(key + 4);
    uint32_t c = load32_be(key + 8), d = load32_be(key + 12);
    for (unsigned i = 0; i < 16; i += 2) {
        ks.k[2 * i] = g(a + c - kKC[i]);
        ks.k[2 * i + 1] = g(b - d + kKC[i]);
        uint32_t t = a;
        a = (a >> 8) | (b << 24);
        b = (b >> 8) | (t << 24);

        ks.k[2 * i + 2] = g(a + c - kKC[i + 1]);
        ks.k[2 * i + 3] = g(b - d + kKC[i + 1]);
        t = c;
        c = (c << 8) | (d >> 24);
        d = (d << 8) | (t >> 24);
    }
}

void seed_encrypt_block(const uint8_t in[16], uint8_t out[16], const SEED_SCHEDULE &ks) {
    crypt<false>(in, out, ks);
}

void seed_decrypt_block(const uint8_t in[16], uint8_t out[16], const SEED_SCHEDULE &ks) {
    crypt<true>(in, out, ks);
}

// ---- the block-cipher unit's SEED -------------------------------------------------

namespace cipher {
namespace {

struct Seed {
    static constexpr uint32_t kBlock = 16;
    using Schedule = SEED_SCHEDULE;
    static void encrypt(const Schedule &ks, const uint8_t *in, uint8_t *out) { crypt<false>(in, out, ks); }
    static void decrypt(const Schedule &ks, const uint8_t *in, uint8_t *out) { crypt<true>(in, out, ks); }
    static void encrypt_blocks(const Schedule &ks, const uint8_t *in, uint8_t *out, size_t n) {
        crypt_blocks<false>(in, out, n, ks);
    }
    static void decrypt_blocks(const Schedule &ks, const uint8_t *in, uint8_t *out, size_t n) {
        crypt_blocks<true>(in, out, n, ks);
    }
    static void cbc_encrypt_blocks(const Schedule &ks, const uint8_t *in, uint8_t *out, size_t n, uint8_t *chain) {
        cbc_encrypt(in, out, n, chain, ks);
    }
    static constexpr ModeErrors kErrors{0x05020003, 0x05030003, 0x05040003, 0x05050003, 0x05060003};
    static constexpr uint32_t kErrInit = 0x05010003;  // F_INIT_SEED_KEY, invalid input

    // One expansion serves both directions.
    static uint32_t key_schedule(BLOCK_CIPHER_UNIT *unit, const uint8_t *key, const uint8_t *iv,
                                 uint32_t direction) {
        return expand_key<Seed>(unit, key, iv, direction, kErrInit, [](Schedule &ks, const uint8_t *k, bool) {
            seed_set_key(k, ks);
            return 0u;
        });
    }
};
static_assert(sizeof(Seed::Schedule) == 128);

}  // namespace

const Modes kSeedModes = modes_of<Seed>();

}  // namespace cipher
}  // namespace kry
