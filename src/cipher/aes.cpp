// AES (FIPS 197) for the block-cipher unit: key expansion, the table-driven
// round functions, the AES-NI round functions chosen at run time, and the
// unit's key-schedule function and mode functions.
//
// Every table follows from the standard at compile time: the S-box from
// inversion in GF(2^8) (modulo x^8 + x^4 + x^3 + x + 1) and the affine map
// of section 5.1.1; the four encryption tables combine SubBytes with
// MixColumns (column {02 01 01 03} times S[x], rotated for each byte
// position), the four decryption tables InvSubBytes with InvMixColumns
// (column {0e 09 0d 0b} times InvS[x]).
#include "cipher/aes.h"

#include "cipher/modes.h"
#include "cipher/gf256.h"
#include "foundation/common.h"
#include "foundation/cpu.h"

#include <array>
#include <atomic>
#include <cstring>

#if defined(__x86_64__) || defined(__i386__)
#include <immintrin.h>
#define KRY_AES_NI 1
#endif

namespace kry {
namespace {

// ---- GF(2^8) and the tables ----------------------------------------------

constexpr auto xtime = gf256::xtime<gf256::kAesPoly>;
constexpr auto gf_mul = gf256::mul<gf256::kAesPoly>;
constexpr auto gf_inverse = gf256::inverse<gf256::kAesPoly>;

constexpr uint8_t rotl8(uint8_t x, int n) { return static_cast<uint8_t>((x << n) | (x >> (8 - n))); }

// SubBytes: the inverse followed by the affine map b ^ (b <<< 1) ^ (b <<< 2)
// ^ (b <<< 3) ^ (b <<< 4) ^ 0x63.
constexpr std::array<uint8_t, 256> make_sbox() {
    std::array<uint8_t, 256> s{};
    for (int x = 0; x < 256; x++) {
        const uint8_t b = gf_inverse(static_cast<uint8_t>(x));
        s[x] = static_cast<uint8_t>(b ^ rotl8(b, 1) ^ rotl8(b, 2) ^ rotl8(b, 3) ^ rotl8(b, 4) ^ 0x63);
    }
    return s;
}

constexpr std::array<uint8_t, 256> invert(const std::array<uint8_t, 256> &s) {
    std::array<uint8_t, 256> inv{};
    for (int x = 0; x < 256; x++)
        inv[s[x]] = static_cast<uint8_t>(x);
    return inv;
}

constexpr auto kSbox = make_sbox();
constexpr auto kInvSbox = invert(kSbox);
static_assert(kSbox[0x00] == 0x63 && kSbox[0x53] == 0xED && kSbox[0xFF] == 0x16);  // FIPS 197 figure 7

// A column word (big-endian) of the given multipliers of one byte.
constexpr uint32_t column(uint8_t v, uint8_t m0, uint8_t m1, uint8_t m2, uint8_t m3) {
    return (uint32_t{gf_mul(v, m0)} << 24) | (uint32_t{gf_mul(v, m1)} << 16) | (uint32_t{gf_mul(v, m2)} << 8) |
           gf_mul(v, m3);
}

using Tables = std::array<std::array<uint32_t, 256>, 4>;

// Table i is table 0 rotated right by 8i bits: the column of the byte in row i.
constexpr Tables make_tables(const std::array<uint8_t, 256> &box, uint8_t m0, uint8_t m1, uint8_t m2, uint8_t m3) {
    Tables t{};
    for (int x = 0; x < 256; x++) {
        const uint32_t c = column(box[x], m0, m1, m2, m3);
        for (int i = 0; i < 4; i++)
            t[i][x] = rotr32(c, 8 * i);
    }
    return t;
}

alignas(64) constexpr Tables kTe = make_tables(kSbox, 2, 1, 1, 3);
alignas(64) constexpr Tables kTd = make_tables(kInvSbox, 14, 9, 13, 11);

// ---- key expansion (FIPS 197 section 5.2) ---------------------------------

constexpr uint32_t sub_word(uint32_t w) {
    return (uint32_t{kSbox[w >> 24]} << 24) | (uint32_t{kSbox[(w >> 16) & 0xFF]} << 16) |
           (uint32_t{kSbox[(w >> 8) & 0xFF]} << 8) | kSbox[w & 0xFF];
}

// Rcon[i] = x^(i-1) in the high byte.
constexpr std::array<uint32_t, 11> make_rcon() {
    std::array<uint32_t, 11> r{};
    uint8_t v = 1;
    for (int i = 1; i < 11; i++, v = xtime(v))
        r[i] = uint32_t{v} << 24;
    return r;
}
constexpr auto kRcon = make_rcon();

// The number of rounds the block functions run for a schedule's rounds
// field: 10, 12 or 14, so that any record content stays within the 60 words.
inline uint32_t rounds_of(const AES_SCHEDULE &ks) {
    return ks.rounds > 12 ? 14 : ks.rounds > 10 ? 12 : 10;
}

// InvMixColumns of one word through the decryption tables (which include
// InvSubBytes, undone here by SubBytes).
inline uint32_t inv_mix_column(uint32_t w) {
    return kTd[0][kSbox[w >> 24]] ^ kTd[1][kSbox[(w >> 16) & 0xFF]] ^ kTd[2][kSbox[(w >> 8) & 0xFF]] ^
           kTd[3][kSbox[w & 0xFF]];
}

// ---- table-driven rounds ----------------------------------------------------

inline uint32_t byte_of(uint32_t w, int i) { return (w >> (24 - 8 * i)) & 0xFF; }

void encrypt_tables(const uint8_t in[16], uint8_t out[16], const AES_SCHEDULE &ks) {
    const uint32_t *rk = ks.rk;
    const uint32_t n = rounds_of(ks);
    uint32_t s0 = load32_be(in) ^ rk[0], s1 = load32_be(in + 4) ^ rk[1];
    uint32_t s2 = load32_be(in + 8) ^ rk[2], s3 = load32_be(in + 12) ^ rk[3];
    auto te = [](uint32_t a, uint32_t b, uint32_t c, uint32_t d) {
        return kTe[0][a >> 24] ^ kTe[1][(b >> 16) & 0xFF] ^ kTe[2][(c >> 8) & 0xFF] ^ kTe[3][d & 0xFF];
    };
    for (uint32_t r = 1; r < n; r++) {
        rk += 4;
        const uint32_t t0 = te(s0, s1, s2, s3) ^ rk[0];
        const uint32_t t1 = te(s1, s2, s3, s0) ^ rk[1];
        const uint32_t t2 = te(s2, s3, s0, s1) ^ rk[2];
        const uint32_t t3 = te(s3, s0, s1, s2) ^ rk[3];
        s0 = t0, s1 = t1, s2 = t2, s3 = t3;
    }
    rk += 4;
    // Last round: SubBytes and ShiftRows without MixColumns.
    auto last = [](uint32_t a, uint32_t b, uint32_t c, uint32_t d) {
        return (uint32_t{kSbox[a >> 24]} << 24) | (uint32_t{kSbox[byte_of(b, 1)]} << 16) |
               (uint32_t{kSbox[byte_of(c, 2)]} << 8) | kSbox[d & 0xFF];
    };
    store32_be(out, last(s0, s1, s2, s3) ^ rk[0]);
    store32_be(out + 4, last(s1, s2, s3, s0) ^ rk[1]);
    store32_be(out + 8, last(s2, s3, s0, s1) ^ rk[2]);
    store32_be(out + 12, last(s3, s0, s1, s2) ^ rk[3]);
}

// The equivalent inverse cipher (FIPS 197 section 5.3.5): InvShiftRows
// takes row i of column j from column j - i.
void decrypt_tables(const uint8_t in[16], uint8_t out[16], const AES_SCHEDULE &ks) {
    const uint32_t *rk = ks.rk;
    const uint32_t n = rounds_of(ks);
    uint32_t s0 = load32_be(in) ^ rk[0], s1 = load32_be(in + 4) ^ rk[1];
    uint32_t s2 = load32_be(in + 8) ^ rk[2], s3 = load32_be(in + 12) ^ rk[3];
    auto td = [](uint32_t a, uint32_t b, uint32_t c, uint32_t d) {
        return kTd[0][a >> 24] ^ kTd[1][(b >> 16) & 0xFF] ^ kTd[2][(c >> 8) & 0xFF] ^ kTd[3][d & 0xFF];
    };
    for (uint32_t r = 1; r < n; r++) {
        rk += 4;
        const uint32_t t0 = td(s0, s3, s2, s1) ^ rk[0];
        const uint32_t t1 = td(s1, s0, s3, s2) ^ rk[1];
        const uint32_t t2 = td(s2, s1, s0, s3) ^ rk[2];
        const uint32_t t3 = td(s3, s2, s1, s0) ^ rk[3];
        s0 = t0, s1 = t1, s2 = t2, s3 = t3;
    }
    rk += 4;
    auto last = [](uint32_t a, uint32_t b, uint32_t c, uint32_t d) {
        return (uint32_t{kInvSbox[a >> 24]} << 24) | (uint32_t{kInvSbox[byte_of(b, 1)]} << 16) |
               (uint32_t{kInvSbox[byte_of(c, 2)]} << 8) | kInvSbox[d & 0xFF];
    };
    store32_be(out, last(s0, s3, s2, s1) ^ rk[0]);
    store32_be(out + 4, last(s1, s0, s3, s2) ^ rk[1]);
    store32_be(out + 8, last(s2, s1, s0, s3) ^ rk[2]);
    store32_be(out + 12, last(s3, s2, s1, s0) ^ rk[3]);
}

// ---- AES-NI ------------------------------------------------------------------
// The instructions keep the state and round keys in byte order; the schedule
// holds big-endian words, so each round key is byte-swapped per word as it is
// loaded.  The decryption schedule is already in the layout aesdec expects
// (the equivalent inverse cipher).

#if KRY_AES_NI
bool cpu_has_aes() {
    const auto &f = cpu::features();
    return f.aesni && f.ssse3;
}

#define KRY_TARGET_AES __attribute__((target("aes,ssse3")))

// Round key i in the instructions' byte order.
KRY_TARGET_AES inline __m128i round_key(const uint32_t *rk, int i) {
    const __m128i swap = _mm_set_epi8(12, 13, 14, 15, 8, 9, 10, 11, 4, 5, 6, 7, 0, 1, 2, 3);
    return _mm_shuffle_epi8(_mm_loadu_si128(reinterpret_cast<const __m128i *>(rk + 4 * i)), swap);
}

template <bool kDecrypt> KRY_TARGET_AES inline __m128i middle_round(__m128i x, __m128i k) {
    return kDecrypt ? _mm_aesdec_si128(x, k) : _mm_aesenc_si128(x, k);
}
template <bool kDecrypt> KRY_TARGET_AES inline __m128i last_round(__m128i x, __m128i k) {
    return kDecrypt ? _mm_aesdeclast_si128(x, k) : _mm_aesenclast_si128(x, k);
}

// n blocks with N rounds; eight at a time so that the rounds of independent
// blocks overlap in the pipeline.  in == out is allowed.
template <int N, bool kDecrypt>
KRY_TARGET_AES void crypt_ni(const uint8_t *in, uint8_t *out, size_t n, const uint32_t *rk) {
    __m128i k[N + 1];
    for (int i = 0; i <= N; i++)
        k[i] = round_key(rk, i);
    for (; n >= 8; n -= 8, in += 128, out += 128) {
        __m128i x[8];
#pragma GCC unroll 8
        for (int b = 0; b < 8; b++)
            x[b] = _mm_xor_si128(_mm_loadu_si128(reinterpret_cast<const __m128i *>(in + 16 * b)), k[0]);
#pragma GCC unroll 14
        for (int r = 1; r < N; r++)
#pragma GCC unroll 8
            for (int b = 0; b < 8; b++)
                x[b] = middle_round<kDecrypt>(x[b], k[r]);
#pragma GCC unroll 8
        for (int b = 0; b < 8; b++)
            _mm_storeu_si128(reinterpret_cast<__m128i *>(out + 16 * b), last_round<kDecrypt>(x[b], k[N]));
    }
    for (; n != 0; n--, in += 16, out += 16) {
        __m128i x = _mm_xor_si128(_mm_loadu_si128(reinterpret_cast<const __m128i *>(in)), k[0]);
#pragma GCC unroll 14
        for (int r = 1; r < N; r++)
            x = middle_round<kDecrypt>(x, k[r]);
        _mm_storeu_si128(reinterpret_cast<__m128i *>(out), last_round<kDecrypt>(x, k[N]));
    }
}

// CBC encryption of n blocks, the chaining value kept in a register.
template <int N>
KRY_TARGET_AES void cbc_ni(const uint8_t *in, uint8_t *out, size_t n, uint8_t *chain, const uint32_t *rk) {
    __m128i k[N + 1];
    for (int i = 0; i <= N; i++)
        k[i] = round_key(rk, i);
    // The chain is latency-bound.  The next block's input and first round
    // key are folded into the last round key (aesenclast ends with the key
    // XOR), so that the next block's state comes straight from aesenclast,
    // next to the ciphertext block computed from the same state.
    __m128i c = _mm_loadu_si128(reinterpret_cast<const __m128i *>(chain));
    if (n == 0)
        return;
    const __m128i last_first = _mm_xor_si128(k[N], k[0]);
    __m128i x = _mm_xor_si128(c, _mm_xor_si128(_mm_loadu_si128(reinterpret_cast<const __m128i *>(in)), k[0]));
    for (;;) {
#pragma GCC unroll 14
        for (int r = 1; r < N; r++)
            x = _mm_aesenc_si128(x, k[r]);
        c = _mm_aesenclast_si128(x, k[N]);
        _mm_storeu_si128(reinterpret_cast<__m128i *>(out), c);
        if (--n == 0)
            break;
        in += 16, out += 16;
        x = _mm_aesenclast_si128(
            x, _mm_xor_si128(last_first, _mm_loadu_si128(reinterpret_cast<const __m128i *>(in))));
    }
    _mm_storeu_si128(reinterpret_cast<__m128i *>(chain), c);
}

KRY_TARGET_AES void cbc_hardware(const uint8_t *in, uint8_t *out, size_t n, uint8_t *chain,
                                  const AES_SCHEDULE &ks) {
    switch (rounds_of(ks)) {
    case 10: cbc_ni<10>(in, out, n, chain, ks.rk); break;
    case 12: cbc_ni<12>(in, out, n, chain, ks.rk); break;
    default: cbc_ni<14>(in, out, n, chain, ks.rk); break;
    }
}

// A 128-bit big-endian counter block from its two halves: the halves set as
// one little-endian 128-bit value, then its bytes reversed.
KRY_TARGET_AES inline __m128i counter_block(uint64_t hi, uint64_t lo) {
    const __m128i reverse = _mm_set_epi8(0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15);
    return _mm_shuffle_epi8(_mm_set_epi64x(static_cast<long long>(hi), static_cast<long long>(lo)), reverse);
}

// Adds m to the counter halves (the carry out of the low half goes up).
inline void advance_counter(uint64_t &hi, uint64_t &lo, uint64_t m) {
    const uint64_t next = lo + m;
    hi += next < lo;
    lo = next;
}

// CTR over n blocks, eight at a time; the counter stays in two 64-bit halves.
// The last round key is XORed with the input so that aesenclast yields the
// output directly; the last keystream block is recovered from it.
template <int N>
KRY_TARGET_AES void ctr_ni(const uint8_t *in, uint8_t *out, size_t n, uint64_t &hi, uint64_t &lo,
                           __m128i &stream, const uint32_t *rk) {
    __m128i k[N + 1];
    for (int i = 0; i <= N; i++)
        k[i] = round_key(rk, i);
    for (; n >= 8; n -= 8, in += 128, out += 128) {
        __m128i x[8], p[8];
        if (lo <= ~uint64_t{0} - 7) {
#pragma GCC unroll 8
            for (int b = 0; b < 8; b++)
                x[b] = _mm_xor_si128(counter_block(hi, lo + static_cast<uint64_t>(b)), k[0]);
            advance_counter(hi, lo, 8);
        } else {
            for (int b = 0; b < 8; b++) {
                x[b] = _mm_xor_si128(counter_block(hi, lo), k[0]);
                advance_counter(hi, lo, 1);
            }
        }
#pragma GCC unroll 14
        for (int r = 1; r < N; r++)
#pragma GCC unroll 8
            for (int b = 0; b < 8; b++)
                x[b] = _mm_aesenc_si128(x[b], k[r]);
#pragma GCC unroll 8
        for (int b = 0; b < 8; b++) {
            p[b] = _mm_loadu_si128(reinterpret_cast<const __m128i *>(in + 16 * b));
            x[b] = _mm_aesenclast_si128(x[b], _mm_xor_si128(k[N], p[b]));
            _mm_storeu_si128(reinterpret_cast<__m128i *>(out + 16 * b), x[b]);
        }
        stream = _mm_xor_si128(x[7], p[7]);
    }
    for (; n != 0; n--, in += 16, out += 16) {
        __m128i x = _mm_xor_si128(counter_block(hi, lo), k[0]);
        advance_counter(hi, lo, 1);
#pragma GCC unroll 14
        for (int r = 1; r < N; r++)
            x = _mm_aesenc_si128(x, k[r]);
        stream = _mm_aesenclast_si128(x, k[N]);
        _mm_storeu_si128(reinterpret_cast<__m128i *>(out),
                         _mm_xor_si128(stream, _mm_loadu_si128(reinterpret_cast<const __m128i *>(in))));
    }
}

// CBC decryption of n blocks, eight at a time; the chaining value is folded
// into the last round key (aesdeclast ends with the key XOR).  All eight
// ciphertext blocks are loaded before any output is stored (in may be out).
template <int N>
KRY_TARGET_AES void cbc_decrypt_ni(const uint8_t *in, uint8_t *out, size_t n, __m128i &chain, const uint32_t *rk) {
    __m128i k[N + 1];
    for (int i = 0; i <= N; i++)
        k[i] = round_key(rk, i);
    for (; n >= 8; n -= 8, in += 128, out += 128) {
        __m128i c[8], x[8];
#pragma GCC unroll 8
        for (int b = 0; b < 8; b++) {
            c[b] = _mm_loadu_si128(reinterpret_cast<const __m128i *>(in + 16 * b));
            x[b] = _mm_xor_si128(c[b], k[0]);
        }
#pragma GCC unroll 14
        for (int r = 1; r < N; r++)
#pragma GCC unroll 8
            for (int b = 0; b < 8; b++)
                x[b] = _mm_aesdec_si128(x[b], k[r]);
#pragma GCC unroll 8
        for (int b = 0; b < 8; b++)
            _mm_storeu_si128(reinterpret_cast<__m128i *>(out + 16 * b),
                             _mm_aesdeclast_si128(x[b], _mm_xor_si128(k[N], b == 0 ? chain : c[b - 1])));
        chain = c[7];
    }
    for (; n != 0; n--, in += 16, out += 16) {
        const __m128i c = _mm_loadu_si128(reinterpret_cast<const __m128i *>(in));
        __m128i x = _mm_xor_si128(c, k[0]);
#pragma GCC unroll 14
        for (int r = 1; r < N; r++)
            x = _mm_aesdec_si128(x, k[r]);
        _mm_storeu_si128(reinterpret_cast<__m128i *>(out), _mm_aesdeclast_si128(x, _mm_xor_si128(k[N], chain)));
        chain = c;
    }
}

// ---- VAES: the same with two blocks per 256-bit register ------------------------
// Eight registers (sixteen blocks) are in flight; what is left after the
// sixteen-block groups goes to the 128-bit functions above.

#define KRY_TARGET_VAES __attribute__((target("vaes,avx2,aes,ssse3")))

bool cpu_has_vaes() { return cpu::features().vaes; }

KRY_TARGET_VAES inline __m256i wide_key(const uint32_t *rk, int i) {
    return _mm256_broadcastsi128_si256(round_key(rk, i));
}

template <int N>
KRY_TARGET_VAES void ctr_vaes(const uint8_t *in, uint8_t *out, size_t n, uint64_t &hi, uint64_t &lo,
                              __m128i &stream, const uint32_t *rk) {
    __m256i k[N + 1];
    for (int i = 0; i <= N; i++)
        k[i] = wide_key(rk, i);
    const __m256i reverse = _mm256_broadcastsi128_si256(
        _mm_set_epi8(0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15));
    for (; n >= 16; n -= 16, in += 256, out += 256) {
        __m256i x[8], p[8];
        if (lo <= ~uint64_t{0} - 15) {
            const __m256i base = _mm256_set_epi64x(static_cast<long long>(hi), static_cast<long long>(lo + 1),
                                                   static_cast<long long>(hi), static_cast<long long>(lo));
#pragma GCC unroll 8
            for (int b = 0; b < 8; b++)
                x[b] = _mm256_xor_si256(
                    _mm256_shuffle_epi8(_mm256_add_epi64(base, _mm256_set_epi64x(0, 2 * b, 0, 2 * b)), reverse),
                    k[0]);
            advance_counter(hi, lo, 16);
        } else {
            for (int b = 0; b < 8; b++) {
                const __m128i c0 = counter_block(hi, lo);
                advance_counter(hi, lo, 1);
                const __m128i c1 = counter_block(hi, lo);
                advance_counter(hi, lo, 1);
                x[b] = _mm256_xor_si256(_mm256_inserti128_si256(_mm256_castsi128_si256(c0), c1, 1), k[0]);
            }
        }
#pragma GCC unroll 14
        for (int r = 1; r < N; r++)
#pragma GCC unroll 8
            for (int b = 0; b < 8; b++)
                x[b] = _mm256_aesenc_epi128(x[b], k[r]);
#pragma GCC unroll 8
        for (int b = 0; b < 8; b++) {
            p[b] = _mm256_loadu_si256(reinterpret_cast<const __m256i *>(in + 32 * b));
            x[b] = _mm256_aesenclast_epi128(x[b], _mm256_xor_si256(k[N], p[b]));
            _mm256_storeu_si256(reinterpret_cast<__m256i *>(out + 32 * b), x[b]);
        }
        stream = _mm256_extracti128_si256(_mm256_xor_si256(x[7], p[7]), 1);
    }
    if (n != 0)
        ctr_ni<N>(in, out, n, hi, lo, stream, rk);
}

template <int N>
KRY_TARGET_VAES void cbc_decrypt_vaes(const uint8_t *in, uint8_t *out, size_t n, __m128i &chain,
                                      const uint32_t *rk) {
    __m256i k[N + 1];
    for (int i = 0; i <= N; i++)
        k[i] = wide_key(rk, i);
    for (; n >= 16; n -= 16, in += 256, out += 256) {
        __m256i c[8], x[8], prev[8];
#pragma GCC unroll 8
        for (int b = 0; b < 8; b++) {
            c[b] = _mm256_loadu_si256(reinterpret_cast<const __m256i *>(in + 32 * b));
            x[b] = _mm256_xor_si256(c[b], k[0]);
        }
        // The chaining values of blocks 2b and 2b + 1: ciphertext blocks
        // 2b - 1 and 2b (the first one the incoming chaining value).
        prev[0] = _mm256_inserti128_si256(_mm256_castsi128_si256(chain), _mm256_castsi256_si128(c[0]), 1);
#pragma GCC unroll 8
        for (int b = 1; b < 8; b++)
            prev[b] = _mm256_loadu_si256(reinterpret_cast<const __m256i *>(in + 32 * b - 16));
        chain = _mm256_extracti128_si256(c[7], 1);
#pragma GCC unroll 14
        for (int r = 1; r < N; r++)
#pragma GCC unroll 8
            for (int b = 0; b < 8; b++)
                x[b] = _mm256_aesdec_epi128(x[b], k[r]);
#pragma GCC unroll 8
        for (int b = 0; b < 8; b++)
            _mm256_storeu_si256(reinterpret_cast<__m256i *>(out + 32 * b),
                                _mm256_aesdeclast_epi128(x[b], _mm256_xor_si256(k[N], prev[b])));
    }
    if (n != 0)
        cbc_decrypt_ni<N>(in, out, n, chain, rk);
}

template <int N, bool kDecrypt>
KRY_TARGET_VAES void crypt_vaes(const uint8_t *in, uint8_t *out, size_t n, const uint32_t *rk) {
    __m256i k[N + 1];
    for (int i = 0; i <= N; i++)
        k[i] = wide_key(rk, i);
    for (; n >= 16; n -= 16, in += 256, out += 256) {
        __m256i x[8];
#pragma GCC unroll 8
        for (int b = 0; b < 8; b++)
            x[b] = _mm256_xor_si256(_mm256_loadu_si256(reinterpret_cast<const __m256i *>(in + 32 * b)), k[0]);
#pragma GCC unroll 14
        for (int r = 1; r < N; r++)
#pragma GCC unroll 8
            for (int b = 0; b < 8; b++)
                x[b] = kDecrypt ? _mm256_aesdec_epi128(x[b], k[r]) : _mm256_aesenc_epi128(x[b], k[r]);
#pragma GCC unroll 8
        for (int b = 0; b < 8; b++)
            _mm256_storeu_si256(reinterpret_cast<__m256i *>(out + 32 * b),
                                kDecrypt ? _mm256_aesdeclast_epi128(x[b], k[N]) : _mm256_aesenclast_epi128(x[b], k[N]));
    }
    if (n != 0)
        crypt_ni<N, kDecrypt>(in, out, n, rk);
}

template <bool kDecrypt>
KRY_TARGET_AES void crypt_hardware(const uint8_t *in, uint8_t *out, size_t n, const AES_SCHEDULE &ks) {
    switch (rounds_of(ks)) {
    case 10: crypt_ni<10, kDecrypt>(in, out, n, ks.rk); break;
    case 12: crypt_ni<12, kDecrypt>(in, out, n, ks.rk); break;
    default: crypt_ni<14, kDecrypt>(in, out, n, ks.rk); break;
    }
}

#else
bool cpu_has_aes() { return false; }
bool cpu_has_vaes() { return false; }
#endif

std::atomic<bool> hardware_enabled{true};
std::atomic<bool> wide_enabled{true};

inline bool use_hardware() { return cpu_has_aes() && hardware_enabled.load(std::memory_order_relaxed); }
inline bool use_wide() { return cpu_has_vaes() && wide_enabled.load(std::memory_order_relaxed); }

#if KRY_AES_NI
// Several blocks: the 256-bit forms when present and enabled, else the
// 128-bit ones.  Only called when use_hardware() holds.
template <bool kDecrypt>
void crypt_many_hardware(const uint8_t *in, uint8_t *out, size_t n, const AES_SCHEDULE &ks) {
    if (n < 16 || !use_wide()) {
        crypt_hardware<kDecrypt>(in, out, n, ks);
        return;
    }
    switch (rounds_of(ks)) {
    case 10: crypt_vaes<10, kDecrypt>(in, out, n, ks.rk); break;
    case 12: crypt_vaes<12, kDecrypt>(in, out, n, ks.rk); break;
    default: crypt_vaes<14, kDecrypt>(in, out, n, ks.rk); break;
    }
}

KRY_TARGET_AES void ctr_hardware(const uint8_t *in, uint8_t *out, size_t n, uint8_t *counter, uint8_t *stream,
                                 const AES_SCHEDULE &ks) {
    uint64_t hi = load64_be(counter), lo = load64_be(counter + 8);
    __m128i last = _mm_loadu_si128(reinterpret_cast<const __m128i *>(stream));
    const bool wide = n >= 16 && use_wide();
    switch (rounds_of(ks)) {
    case 10: wide ? ctr_vaes<10>(in, out, n, hi, lo, last, ks.rk) : ctr_ni<10>(in, out, n, hi, lo, last, ks.rk); break;
    case 12: wide ? ctr_vaes<12>(in, out, n, hi, lo, last, ks.rk) : ctr_ni<12>(in, out, n, hi, lo, last, ks.rk); break;
    default: wide ? ctr_vaes<14>(in, out, n, hi, lo, last, ks.rk) : ctr_ni<14>(in, out, n, hi, lo, last, ks.rk); break;
    }
    store64_be(counter, hi);
    store64_be(counter + 8, lo);
    _mm_storeu_si128(reinterpret_cast<__m128i *>(stream), last);
    last = _mm_setzero_si128();
}

KRY_TARGET_AES void cbc_decrypt_hardware(const uint8_t *in, uint8_t *out, size_t n, uint8_t *chain,
                                         const AES_SCHEDULE &ks) {
    __m128i c = _mm_loadu_si128(reinterpret_cast<const __m128i *>(chain));
    const bool wide = n >= 16 && use_wide();
    switch (rounds_of(ks)) {
    case 10: wide ? cbc_decrypt_vaes<10>(in, out, n, c, ks.rk) : cbc_decrypt_ni<10>(in, out, n, c, ks.rk); break;
    case 12: wide ? cbc_decrypt_vaes<12>(in, out, n, c, ks.rk) : cbc_decrypt_ni<12>(in, out, n, c, ks.rk); break;
    default: wide ? cbc_decrypt_vaes<14>(in, out, n, c, ks.rk) : cbc_decrypt_ni<14>(in, out, n, c, ks.rk); break;
    }
    _mm_storeu_si128(reinterpret_cast<__m128i *>(chain), c);
}
#else
template <bool kDecrypt> void crypt_hardware(const uint8_t *, uint8_t *, size_t, const AES_SCHEDULE &) {}
template <bool kDecrypt> void crypt_many_hardware(const uint8_t *, uint8_t *, size_t, const AES_SCHEDULE &) {}
void cbc_hardware(const uint8_t *, uint8_t *, size_t, uint8_t *, const AES_SCHEDULE &) {}
void ctr_hardware(const uint8_t *, uint8_t *, size_t, uint8_t *, uint8_t *, const AES_SCHEDULE &) {}
void cbc_decrypt_hardware(const uint8_t *, uint8_t *, size_t, uint8_t *, const AES_SCHEDULE &) {}
#endif

}  // namespace

bool aes_hardware_available() { return cpu_has_aes(); }

void aes_use_hardware(bool enabled) { hardware_enabled.store(enabled, std::memory_order_relaxed); }

bool aes_wide_available() { return cpu_has_vaes(); }

void aes_use_wide(bool enabled) { wide_enabled.store(enabled, std::memory_order_relaxed); }

uint32_t aes_set_encrypt_key(const uint8_t *key, uint32_t key_length, AES_SCHEDULE &ks) {
    if (key == nullptr || (key_length != 16 && key_length != 24 && key_length != 32))
        return kAesErrInvalidKey;
    const uint32_t nk = key_length / 4, rounds = nk + 6, words = 4 * (rounds + 1);
    uint32_t *w = ks.rk;
    for (uint32_t i = 0; i < nk; i++)
        w[i] = load32_be(key + 4 * i);
    for (uint32_t i = nk; i < words; i++) {
        uint32_t t = w[i - 1];
        if (i % nk == 0)
            t = sub_word(rotl32(t, 8)) ^ kRcon[i / nk];
        else if (nk > 6 && i % nk == 4)
            t = sub_word(t);
        w[i] = w[i - nk] ^ t;
    }
    for (uint32_t i = words; i < 60; i++)
        w[i] = 0;
    ks.rounds = rounds;
    return 0;
}

uint32_t aes_set_decrypt_key(const uint8_t *key, uint32_t key_length, AES_SCHEDULE &ks) {
    if (uint32_t r = aes_set_encrypt_key(key, key_length, ks); r != 0)
        return r;
    uint32_t *w = ks.rk;
    const uint32_t n = ks.rounds;
    for (uint32_t i = 0, j = 4 * n; i < j; i += 4, j -= 4)
        for (uint32_t k = 0; k < 4; k++) {
            const uint32_t t = w[i + k];
            w[i + k] = w[j + k];
            w[j + k] = t;
        }
    for (uint32_t i = 4; i < 4 * n; i++)
        w[i] = inv_mix_column(w[i]);
    return 0;
}

void aes_encrypt_block(const uint8_t in[16], uint8_t out[16], const AES_SCHEDULE &ks) {
    if (use_hardware())
        crypt_hardware<false>(in, out, 1, ks);
    else
        encrypt_tables(in, out, ks);
}

void aes_decrypt_block(const uint8_t in[16], uint8_t out[16], const AES_SCHEDULE &ks) {
    if (use_hardware())
        crypt_hardware<true>(in, out, 1, ks);
    else
        decrypt_tables(in, out, ks);
}

void aes_encrypt_blocks(const uint8_t *in, uint8_t *out, size_t nblocks, const AES_SCHEDULE &ks) {
    if (use_hardware()) {
        crypt_many_hardware<false>(in, out, nblocks, ks);
        return;
    }
    for (; nblocks != 0; nblocks--, in += 16, out += 16)
        encrypt_tables(in, out, ks);
}

void aes_decrypt_blocks(const uint8_t *in, uint8_t *out, size_t nblocks, const AES_SCHEDULE &ks) {
    if (use_hardware()) {
        crypt_many_hardware<true>(in, out, nblocks, ks);
        return;
    }
    for (; nblocks != 0; nblocks--, in += 16, out += 16)
        decrypt_tables(in, out, ks);
}

void aes_cbc_encrypt_blocks(const uint8_t *in, uint8_t *out, size_t nblocks, uint8_t chain[16],
                            const AES_SCHEDULE &ks) {
    if (use_hardware()) {
        cbc_hardware(in, out, nblocks, chain, ks);
        return;
    }
    uint8_t block[16];
    for (; nblocks != 0; nblocks--, in += 16, out += 16) {
        for (int i = 0; i < 16; i++)
            block[i] = static_cast<uint8_t>(chain[i] ^ in[i]);
        encrypt_tables(block, chain, ks);
        std::memcpy(out, chain, 16);
    }
    wipe_object(block);
}

void aes_cbc_decrypt_blocks(const uint8_t *in, uint8_t *out, size_t nblocks, uint8_t chain[16],
                            const AES_SCHEDULE &ks) {
    if (use_hardware()) {
        cbc_decrypt_hardware(in, out, nblocks, chain, ks);
        return;
    }
    uint8_t saved[16], block[16];
    for (; nblocks != 0; nblocks--, in += 16, out += 16) {
        std::memcpy(saved, in, 16);  // in may be out
        decrypt_tables(saved, block, ks);
        for (int i = 0; i < 16; i++)
            out[i] = static_cast<uint8_t>(block[i] ^ chain[i]);
        std::memcpy(chain, saved, 16);
    }
    wipe_object(saved);
    wipe_object(block);
}

void aes_ctr_blocks(const uint8_t *in, uint8_t *out, size_t nblocks, uint8_t counter[16], uint8_t stream[16],
                    const AES_SCHEDULE &ks) {
    if (use_hardware()) {
        ctr_hardware(in, out, nblocks, counter, stream, ks);
        return;
    }
    for (; nblocks != 0; nblocks--, in += 16, out += 16) {
        encrypt_tables(counter, stream, ks);
        increaseCounter(counter);
        for (int i = 0; i < 16; i++)
            out[i] = static_cast<uint8_t>(in[i] ^ stream[i]);
    }
}

// ---- the unit's functions ------------------------------------------------------

namespace cipher {
namespace {

constexpr uint32_t kErrNullKey = 0x06010002;  // carries the ARIA library byte; kept
constexpr uint32_t kErrExpansion = 0x02010002;

struct Aes {
    static constexpr uint32_t kBlock = 16;
    using Schedule = AES_SCHEDULE;
    static void encrypt(const Schedule &ks, const uint8_t *in, uint8_t *out) { aes_encrypt_block(in, out, ks); }
    static void decrypt(const Schedule &ks, const uint8_t *in, uint8_t *out) { aes_decrypt_block(in, out, ks); }
    // Several blocks at once, for a mode engine that batches independent blocks.
    static void encrypt_blocks(const Schedule &ks, const uint8_t *in, uint8_t *out, size_t n) {
        aes_encrypt_blocks(in, out, n, ks);
    }
    static void decrypt_blocks(const Schedule &ks, const uint8_t *in, uint8_t *out, size_t n) {
        aes_decrypt_blocks(in, out, n, ks);
    }
    static void cbc_encrypt_blocks(const Schedule &ks, const uint8_t *in, uint8_t *out, size_t n, uint8_t *chain) {
        aes_cbc_encrypt_blocks(in, out, n, chain, ks);
    }
    static void cbc_decrypt_blocks(const Schedule &ks, const uint8_t *in, uint8_t *out, size_t n, uint8_t *chain) {
        aes_cbc_decrypt_blocks(in, out, n, chain, ks);
    }
    static void ctr_blocks(const Schedule &ks, const uint8_t *in, uint8_t *out, size_t n, uint8_t *counter,
                           uint8_t *stream) {
        aes_ctr_blocks(in, out, n, counter, stream, ks);
    }
    static constexpr ModeErrors kErrors{0x02020003, 0x02030003, 0x02040003, 0x02050003, 0x02060003};

    // In this order: the test-mode gate (-2 when it fails), the IV, the
    // direction, then the key.
    static uint32_t key_schedule(BLOCK_CIPHER_UNIT *unit, const uint8_t *key, const uint8_t *iv,
                                 uint32_t direction) {
        if (test_mode_gate() != 0)
            return KRY_ERR_TEST_FAIL;
        if (unit == nullptr)
            return kErrNullKey;
        load_iv(unit, iv);
        unit->direction = direction;
        if (key == nullptr)
            return kErrNullKey;
        Schedule *ks = mutable_schedule_of<Aes>(unit);
        if (ks == nullptr)
            return kErrExpansion;
        const uint32_t r = decryption_schedule(unit, direction) ? aes_set_decrypt_key(key, unit->key_length, *ks)
                                                                : aes_set_encrypt_key(key, unit->key_length, *ks);
        return r != 0 ? kErrExpansion : 0;
    }
};

}  // namespace

const Modes kAesModes = modes_of<Aes>();

}  // namespace cipher
}  // namespace kry
