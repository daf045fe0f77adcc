// ARIA (KS X 1213, RFC 5794) for the block-cipher unit: key expansion, the
// block functions, and the unit's key-schedule function and mode functions.
//
// The state is kept as four 32-bit words, word i holding bytes 4i..4i+3 with
// byte 4i+k in lane k (bits 8k..8k+7: little-endian loads).  Within a word,
// three byte permutations matter: a swaps lanes 0-1 and 2-3, b swaps 0-2 and
// 1-3, c reverses the word.  Written as a 4 x 4 matrix of 4 x 4 byte blocks,
// the diffusion layer A of RFC 5794 section 2.4.3 has blocks that are sums of
// e (identity), a, b and c; since these commute it factors as
//
//     A = M . diag(e, a, b, c) . M . (a + b + c)
//
// where M mixes whole words (Y0 = X0^X1^X2, Y1 = X0^X2^X3, Y2 = X0^X1^X3,
// Y3 = X1^X2^X3).  The factor (a + b + c) sends each substituted byte to the
// other three lanes of its word, so it is folded into the S-box tables: one
// 256-entry word table per lane and substitution layer, holding S(x) in
// every lane but its own.  A round is then sixteen table lookups, two word
// mixes and three byte permutations.  The factorisation is checked against
// the RFC's equations at compile time.
//
// On processors with the GFNI instructions the block functions run on SSE
// registers instead (see "GFNI rounds" below); both give the same results.
#include "cipher/aria.h"

#include "cipher/modes.h"
#include "cipher/gf256.h"
#include "foundation/common.h"
#include "foundation/cpu.h"

#include <array>
#include <atomic>
#include <cstring>

#if defined(__x86_64__) || defined(__i386__)
#include <immintrin.h>
#define KRY_ARIA_GFNI 1
#endif

namespace kry {
namespace {

// ---- GF(2^8) (modulo x^8 + x^4 + x^3 + x + 1) and the S-boxes -----------------

constexpr auto gf_pow = gf256::pow<gf256::kAesPoly>;

// y = M x ^ c over GF(2)^8, the matrix written row by row as in the
// standard: row i gives output bit i, its j-th digit multiplies input bit j
// (bit 0 is the least significant).
constexpr uint8_t affine(const char *const (&rows)[8], uint8_t x, uint8_t c) {
    uint8_t y = c;
    for (int i = 0; i < 8; i++) {
        int bit = 0;
        for (int j = 0; j < 8; j++)
            bit ^= (rows[i][j] - '0') & (x >> j);
        y = static_cast<uint8_t>(y ^ ((bit & 1) << i));
    }
    return y;
}

// SB1(x) = A x^-1 ^ 0x63 (the S-box of FIPS 197), SB2(x) = B x^247 ^ 0xE2.
constexpr const char *kMatrixA[8] = {"10001111", "11000111", "11100011", "11110001",
                                     "11111000", "01111100", "00111110", "00011111"};
constexpr const char *kMatrixB[8] = {"01011110", "00111101", "11010111", "10011101",
                                     "00101100", "10000001", "01011101", "11010011"};

using Box = std::array<uint8_t, 256>;

constexpr Box make_box(const char *const (&rows)[8], int exponent, uint8_t c) {
    Box s{};
    for (int x = 0; x < 256; x++)
        s[x] = affine(rows, gf_pow(static_cast<uint8_t>(x), exponent), c);
    return s;
}

constexpr Box invert(const Box &s) {
    Box inv{};
    for (int x = 0; x < 256; x++)
        inv[s[x]] = static_cast<uint8_t>(x);
    return inv;
}

constexpr Box kSB1 = make_box(kMatrixA, 254, 0x63);
constexpr Box kSB2 = make_box(kMatrixB, 247, 0xE2);
constexpr Box kSB3 = invert(kSB1);
constexpr Box kSB4 = invert(kSB2);
static_assert(kSB1[0x00] == 0x63 && kSB1[0x01] == 0x7C && kSB1[0xFF] == 0x16);
static_assert(kSB2[0x00] == 0xE2 && kSB2[0x01] == 0x4E && kSB2[0x02] == 0x54 && kSB2[0x03] == 0xFC);

// The diffusion layer A (RFC 5794 section 2.4.3): output byte i is the XOR
// of these seven input bytes.
constexpr uint8_t kDiffusion[16][7] = {
    {3, 4, 6, 8, 9, 13, 14},  {2, 5, 7, 8, 9, 12, 15},  {1, 4, 6, 10, 11, 12, 15}, {0, 5, 7, 10, 11, 13, 14},
    {0, 2, 5, 8, 11, 14, 15}, {1, 3, 4, 9, 10, 14, 15}, {0, 2, 7, 9, 10, 12, 13},  {1, 3, 6, 8, 11, 12, 13},
    {0, 1, 4, 7, 10, 13, 15}, {0, 1, 5, 6, 11, 12, 14}, {2, 3, 5, 6, 8, 13, 15},   {2, 3, 4, 7, 9, 12, 14},
    {1, 2, 6, 7, 9, 11, 12},  {0, 3, 6, 7, 8, 10, 13},  {0, 3, 4, 5, 9, 11, 14},   {1, 2, 4, 5, 8, 10, 15},
};

using Bytes16 = std::array<uint8_t, 16>;

constexpr Bytes16 diffusion_reference(const Bytes16 &x) {
    Bytes16 y{};
    for (int i = 0; i < 16; i++)
        for (int j : kDiffusion[i])
            y[i] ^= x[j];
    return y;
}

// ---- the round tables ---------------------------------------------------------

// kTables[layer][lane][x]: layer 0 is SL1 (odd rounds: SB1, SB2, SB3, SB4 in
// lanes 0..3), layer 1 is SL2 (even rounds and the last: SB3, SB4, SB1,
// SB2); the entry holds S(x) in the three lanes other than its own.
using LaneTables = std::array<std::array<uint32_t, 256>, 4>;

constexpr std::array<LaneTables, 2> make_tables() {
    const Box *layers[2][4] = {{&kSB1, &kSB2, &kSB3, &kSB4}, {&kSB3, &kSB4, &kSB1, &kSB2}};
    std::array<LaneTables, 2> t{};
    for (int l = 0; l < 2; l++)
        for (int k = 0; k < 4; k++)
            for (int x = 0; x < 256; x++)
                t[l][k][x] = (uint32_t{(*layers[l][k])[x]} * 0x01010101u) & ~(0xFFu << (8 * k));
    return t;
}

alignas(64) constexpr std::array<LaneTables, 2> kTables = make_tables();

// Substitution and the (a + b + c) factor of the diffusion for one word.
inline uint32_t substitute(const LaneTables &t, uint32_t x) {
    return t[0][x & 0xFF] ^ t[1][(x >> 8) & 0xFF] ^ t[2][(x >> 16) & 0xFF] ^ t[3][x >> 24];
}

// SL2 alone, for the last round: lane k of SL2 uses the S-box of lane k ^ 2
// of SL1, whose table has it in lane k.
inline uint32_t substitute_last(uint32_t x) {
    const LaneTables &t = kTables[0];
    return (t[2][x & 0xFF] & 0x000000FFu) | (t[3][(x >> 8) & 0xFF] & 0x0000FF00u) |
           (t[0][(x >> 16) & 0xFF] & 0x00FF0000u) | (t[1][x >> 24] & 0xFF000000u);
}

constexpr uint32_t swap_pairs(uint32_t w) { return ((w & 0x00FF00FFu) << 8) | ((w >> 8) & 0x00FF00FFu); }

struct State {
    uint32_t w0, w1, w2, w3;
};

// M, diag(e, a, b, c), M.
constexpr void mix(State &s) {
    auto m = [](State &t) {
        t.w1 ^= t.w2;
        t.w2 ^= t.w3;
        t.w0 ^= t.w1;
        t.w3 ^= t.w1;
        t.w2 ^= t.w0;
        t.w1 ^= t.w2;
    };
    m(s);
    s.w1 = swap_pairs(s.w1);
    s.w2 = rotl32(s.w2, 16);
    s.w3 = __builtin_bswap32(s.w3);
    m(s);
}

// The diffusion layer A alone (the decryption round keys).
constexpr void diffuse(State &s) {
    auto spread = [](uint32_t w) { return swap_pairs(w) ^ rotl32(w, 16) ^ __builtin_bswap32(w); };
    s.w0 = spread(s.w0), s.w1 = spread(s.w1), s.w2 = spread(s.w2), s.w3 = spread(s.w3);
    mix(s);
}

inline State load_state(const uint8_t *p) {
    return {load32_le(p), load32_le(p + 4), load32_le(p + 8), load32_le(p + 12)};
}

// The factorisation gives the RFC's A on every unit vector.
constexpr bool factorisation_holds() {
    for (int j = 0; j < 16; j++) {
        Bytes16 x{};
        x[j] = 1;
        State s{};
        uint32_t *w[4] = {&s.w0, &s.w1, &s.w2, &s.w3};
        for (int i = 0; i < 16; i++)
            *w[i / 4] |= uint32_t{x[i]} << (8 * (i % 4));
        diffuse(s);
        const Bytes16 want = diffusion_reference(x);
        for (int i = 0; i < 16; i++)
            if (((*w[i / 4] >> (8 * (i % 4))) & 0xFF) != want[i])
                return false;
    }
    return true;
}
static_assert(factorisation_holds());
inline void store_state(uint8_t *p, const State &s) {
    store32_le(p, s.w0), store32_le(p + 4, s.w1), store32_le(p + 8, s.w2), store32_le(p + 12, s.w3);
}
inline void add_key(State &s, const uint8_t *rk) {
    s.w0 ^= load32_le(rk), s.w1 ^= load32_le(rk + 4), s.w2 ^= load32_le(rk + 8), s.w3 ^= load32_le(rk + 12);
}

// One round function: FO with layer 0, FE with layer 1 (RFC 5794 2.4.1).
template <int kLayer> [[gnu::always_inline]] inline void round(State &s, const uint8_t *rk) {
    add_key(s, rk);
    const LaneTables &t = kTables[kLayer];
    s = {substitute(t, s.w0), substitute(t, s.w1), substitute(t, s.w2), substitute(t, s.w3)};
    mix(s);
}

// N rounds: FO and FE alternately for rounds 1..N-1, then the last round
// SL2(x ^ ek(N)) ^ ek(N+1).
template <int N> void crypt_tables(const uint8_t (*rk)[16], const uint8_t *in, uint8_t *out) {
    State s = load_state(in);
#pragma GCC unroll 8
    for (int r = 0; r < N - 2; r += 2) {
        round<0>(s, rk[r]);
        round<1>(s, rk[r + 1]);
    }
    round<0>(s, rk[N - 2]);
    add_key(s, rk[N - 1]);
    s = {substitute_last(s.w0), substitute_last(s.w1), substitute_last(s.w2), substitute_last(s.w3)};
    add_key(s, rk[N]);
    store_state(out, s);
}

// The number of rounds run for a schedule's rounds field: 12, 14 or 16, so
// that any record content (a zero schedule included) stays within the 17
// round keys.
inline int rounds_of(const ARIA_SCHEDULE &ks) { return ks.rounds > 14 ? 16 : ks.rounds > 12 ? 14 : 12; }

// ---- GFNI rounds ----------------------------------------------------------------
//
// The state sits in one SSE register with its bytes grouped by S-box
// column: dword 0 holds bytes 0, 4, 8, 12 (SB1 in SL1), dword 1 bytes 2, 6,
// 10, 14 (SB3), dword 2 bytes 1, 5, 9, 13 (SB2), dword 3 bytes 3, 7, 11, 15
// (SB4).  GF2P8AFFINEINVQB computes M x^-1 with one matrix per 64-bit half,
// so one instruction gives SB1 (matrix A) on the low half and SB2 on the
// high half (matrix B F, F being x -> x^8, since x^247 = (x^-1)^8); SB3 and
// SB4 are the inverse affine maps (GF2P8AFFINEQB with A^-1 and (B F)^-1)
// followed by an inversion.  A dword blend then takes SB1/SB2 or SB3/SB4 per
// column, for SL1 or SL2.  The affine constants 0x63 and 0xE2 stay out of
// the rounds: those before an inversion go into a copy of the round key,
// those after it are carried through the (linear) diffusion layer into the
// next round key.  The diffusion layer is the sum of seven byte permutations
// (its bipartite graph is 7-regular, so it splits into seven perfect
// matchings, found below at compile time from the RFC's equations): seven
// PSHUFB and six XOR.

// Linear maps of GF(2)^8, as the images of 1, 2, 4, ..., 128.
using Linear = std::array<uint8_t, 8>;

constexpr uint8_t apply(const Linear &m, uint8_t x) {
    uint8_t y = 0;
    for (int j = 0; j < 8; j++)
        if ((x >> j) & 1)
            y ^= m[j];
    return y;
}
constexpr Linear linear_of(const char *const (&rows)[8]) {
    Linear m{};
    for (int j = 0; j < 8; j++)
        m[j] = affine(rows, static_cast<uint8_t>(1 << j), 0);
    return m;
}
constexpr Linear compose(const Linear &f, const Linear &g) {
    Linear m{};
    for (int j = 0; j < 8; j++)
        m[j] = apply(f, g[j]);
    return m;
}
constexpr Linear power8() {
    Linear m{};
    for (int j = 0; j < 8; j++)
        m[j] = gf_pow(static_cast<uint8_t>(1 << j), 8);
    return m;
}
constexpr Linear inverse(const Linear &m) {
    Linear inv{};
    for (int x = 0; x < 256; x++)
        for (int j = 0; j < 8; j++)
            if (apply(m, static_cast<uint8_t>(x)) == (1 << j))
                inv[j] = static_cast<uint8_t>(x);
    return inv;
}
// The instructions' matrix operand: byte 7 - i holds row i.
constexpr uint64_t gfni_matrix(const Linear &m) {
    uint64_t q = 0;
    for (int i = 0; i < 8; i++) {
        uint64_t row = 0;
        for (int j = 0; j < 8; j++)
            row |= uint64_t{(m[j] >> i) & 1u} << j;
        q |= row << (8 * (7 - i));
    }
    return q;
}

constexpr Linear kLinA = linear_of(kMatrixA);
constexpr Linear kLinB = compose(linear_of(kMatrixB), power8());
constexpr Linear kIdentity = {1, 2, 4, 8, 16, 32, 64, 128};

[[maybe_unused]] constexpr bool affine_forms_hold() {
    for (int x = 0; x < 256; x++) {
        const uint8_t inv = gf_pow(static_cast<uint8_t>(x), 254);
        if ((apply(kLinA, inv) ^ 0x63) != kSB1[x] || (apply(kLinB, inv) ^ 0xE2) != kSB2[x])
            return false;
        if (gf_pow(apply(inverse(kLinA), static_cast<uint8_t>(x ^ 0x63)), 254) != kSB3[x] ||
            gf_pow(apply(inverse(kLinB), static_cast<uint8_t>(x ^ 0xE2)), 254) != kSB4[x])
            return false;
    }
    return true;
}
// clang's default constexpr step limit is too small for this check; the
// gcc build (the reference build) keeps it.
#if !defined(__clang__)
static_assert(affine_forms_hold());
#endif

// Register byte j holds block byte kGroup[j].
constexpr Bytes16 kGroup = {0, 4, 8, 12, 2, 6, 10, 14, 1, 5, 9, 13, 3, 7, 11, 15};
constexpr Bytes16 register_of() {
    Bytes16 r{};
    for (int j = 0; j < 16; j++)
        r[kGroup[j]] = static_cast<uint8_t>(j);
    return r;
}
constexpr Bytes16 kUngroup = register_of();

// The seven permutations: perm[m][i] is the input byte that the m-th term
// gives output byte i.
constexpr bool augment(int row, const bool (&g)[16][16], int (&owner)[16], bool (&seen)[16]) {
    for (int c = 0; c < 16; c++) {
        if (!g[row][c] || seen[c])
            continue;
        seen[c] = true;
        if (owner[c] < 0 || augment(owner[c], g, owner, seen)) {
            owner[c] = row;
            return true;
        }
    }
    return false;
}
constexpr std::array<Bytes16, 7> diffusion_terms() {
    bool g[16][16] = {};
    for (int i = 0; i < 16; i++)
        for (int j : kDiffusion[i])
            g[i][j] = true;
    std::array<Bytes16, 7> perm{};
    for (auto &p : perm) {
        int owner[16];
        for (int &o : owner)
            o = -1;
        for (int row = 0; row < 16; row++) {
            bool seen[16] = {};
            if (!augment(row, g, owner, seen))
                return {};  // cannot happen for a regular graph; caught below
        }
        for (int c = 0; c < 16; c++) {
            p[owner[c]] = static_cast<uint8_t>(c);
            g[owner[c]][c] = false;
        }
    }
    return perm;
}
constexpr auto kTerms = diffusion_terms();

// The same permutations on the register layout (PSHUFB masks).
constexpr std::array<Bytes16, 7> register_masks() {
    std::array<Bytes16, 7> m{};
    for (int t = 0; t < 7; t++)
        for (int j = 0; j < 16; j++)
            m[t][j] = kUngroup[kTerms[t][kGroup[j]]];
    return m;
}
constexpr Bytes16 diffuse_register(const std::array<Bytes16, 7> &masks, const Bytes16 &x) {
    Bytes16 y{};
    for (const auto &m : masks)
        for (int j = 0; j < 16; j++)
            y[j] ^= x[m[j]];
    return y;
}

constexpr bool terms_hold() {
    const auto masks = register_masks();
    for (int j = 0; j < 16; j++) {
        Bytes16 x{}, xr{};
        x[j] = 1;
        xr[kUngroup[j]] = 1;
        const Bytes16 want = diffusion_reference(x), got = diffuse_register(masks, xr);
        for (int i = 0; i < 16; i++)
            if (got[kUngroup[i]] != want[i])
                return false;
    }
    return true;
}
static_assert(terms_hold());

constexpr Bytes16 constant(uint8_t d0, uint8_t d1, uint8_t d2, uint8_t d3) {
    Bytes16 c{};
    for (int j = 0; j < 16; j++)
        c[j] = j < 4 ? d0 : j < 8 ? d1 : j < 12 ? d2 : d3;
    return c;
}

struct alignas(16) Lane {
    Bytes16 b;
};
struct alignas(16) Matrices {
    uint64_t q[2];
};

alignas(16) constexpr Lane kLoadMask{kGroup};
alignas(16) constexpr Lane kStoreMask{kUngroup};
alignas(16) constexpr std::array<Lane, 7> kMasks = [] {
    std::array<Lane, 7> m{};
    const auto r = register_masks();
    for (int t = 0; t < 7; t++)
        m[t].b = r[t];
    return m;
}();
alignas(16) constexpr Matrices kForward{{gfni_matrix(kLinA), gfni_matrix(kLinB)}};
alignas(16) constexpr Matrices kBackward{{gfni_matrix(inverse(kLinA)), gfni_matrix(inverse(kLinB))}};
alignas(16) constexpr Matrices kPlain{{gfni_matrix(kIdentity), gfni_matrix(kIdentity)}};
// Before the inversion of SB3/SB4 (the columns from the high blend input).
alignas(16) constexpr Lane kBefore{constant(0x63, 0x63, 0xE2, 0xE2)};
// After the inversion of SB1/SB2, per layer, and carried through A.
alignas(16) constexpr std::array<Lane, 2> kAfter = {Lane{constant(0x63, 0, 0xE2, 0)}, Lane{constant(0, 0x63, 0, 0xE2)}};
alignas(16) constexpr std::array<Lane, 2> kCarried = {Lane{diffuse_register(register_masks(), kAfter[0].b)},
                                                      Lane{diffuse_register(register_masks(), kAfter[1].b)}};

#if KRY_ARIA_GFNI
#define KRY_TARGET_GFNI __attribute__((target("gfni,sse4.1,ssse3")))

bool cpu_has_gfni() {
    const auto &f = cpu::features();
    return f.gfni && f.ssse3 && f.sse41;
}

KRY_TARGET_GFNI inline __m128i vload(const void *p) { return _mm_load_si128(static_cast<const __m128i *>(p)); }

// SL1 (kLayer 0) or SL2 (kLayer 1) of x1, with x2 = x1 ^ kBefore.
template <int kLayer> KRY_TARGET_GFNI inline __m128i substitute_gfni(__m128i x1, __m128i x2) {
    const __m128i t1 = _mm_gf2p8affineinv_epi64_epi8(x1, vload(&kForward), 0);
    const __m128i t2 =
        _mm_gf2p8affineinv_epi64_epi8(_mm_gf2p8affine_epi64_epi8(x2, vload(&kBackward), 0), vload(&kPlain), 0);
    return _mm_blend_epi16(t1, t2, kLayer == 0 ? 0xCC : 0x33);
}

KRY_TARGET_GFNI inline __m128i diffuse_gfni(__m128i s) {
    auto term = [s](int t) KRY_TARGET_GFNI { return _mm_shuffle_epi8(s, vload(&kMasks[t])); };
    const __m128i a = _mm_xor_si128(term(0), term(1)), b = _mm_xor_si128(term(2), term(3));
    const __m128i c = _mm_xor_si128(term(4), term(5));
    return _mm_xor_si128(_mm_xor_si128(a, b), _mm_xor_si128(c, term(6)));
}

// Round key r in the register layout, with the constant the previous round
// carried.
KRY_TARGET_GFNI inline __m128i round_key(const uint8_t *rk, int carried) {
    const __m128i k = _mm_shuffle_epi8(_mm_loadu_si128(reinterpret_cast<const __m128i *>(rk)), vload(&kLoadMask));
    return carried < 0 ? k : _mm_xor_si128(k, vload(&kCarried[carried]));
}

template <int kLayer> KRY_TARGET_GFNI inline __m128i round_gfni(__m128i x, __m128i k) {
    const __m128i x1 = _mm_xor_si128(x, k), x2 = _mm_xor_si128(x, _mm_xor_si128(k, vload(&kBefore)));
    return diffuse_gfni(substitute_gfni<kLayer>(x1, x2));
}

// K blocks at once (their rounds interleave in the pipeline).
template <int N, int K> KRY_TARGET_GFNI void crypt_gfni(const uint8_t (*rk)[16], const uint8_t *in, uint8_t *out) {
    __m128i x[K];
    const __m128i before = vload(&kBefore);
#pragma GCC unroll 4
    for (int b = 0; b < K; b++)
        x[b] = _mm_shuffle_epi8(_mm_loadu_si128(reinterpret_cast<const __m128i *>(in + 16 * b)), vload(&kLoadMask));
    __m128i k = round_key(rk[0], -1);
#pragma GCC unroll 4
    for (int b = 0; b < K; b++)
        x[b] = round_gfni<0>(x[b], k);
#pragma GCC unroll 8
    for (int r = 1; r < N - 1; r += 2) {
        k = round_key(rk[r], 0);
#pragma GCC unroll 4
        for (int b = 0; b < K; b++)
            x[b] = round_gfni<1>(x[b], k);
        k = round_key(rk[r + 1], 1);
#pragma GCC unroll 4
        for (int b = 0; b < K; b++)
            x[b] = round_gfni<0>(x[b], k);
    }
    k = round_key(rk[N - 1], 0);
    const __m128i kb = _mm_xor_si128(k, before);
    const __m128i last = _mm_xor_si128(round_key(rk[N], -1), vload(&kAfter[1]));
#pragma GCC unroll 4
    for (int b = 0; b < K; b++) {
        const __m128i s = substitute_gfni<1>(_mm_xor_si128(x[b], k), _mm_xor_si128(x[b], kb));
        _mm_storeu_si128(reinterpret_cast<__m128i *>(out + 16 * b),
                         _mm_shuffle_epi8(_mm_xor_si128(s, last), vload(&kStoreMask)));
    }
}

// The diffusion layer followed by the next round's key addition: the key
// joins the seven permuted copies in the XOR tree (eight terms, three levels
// deep, like the seven alone), giving both inputs of the next substitution
// layer, x ^ k and x ^ k ^ kBefore.
KRY_TARGET_GFNI inline void diffuse_keyed_gfni(__m128i s, __m128i k1, __m128i k2, __m128i &x1, __m128i &x2) {
    auto term = [s](int t) KRY_TARGET_GFNI { return _mm_shuffle_epi8(s, vload(&kMasks[t])); };
    const __m128i a = _mm_xor_si128(term(0), term(1)), b = _mm_xor_si128(term(2), term(3));
    const __m128i c = _mm_xor_si128(term(4), term(5)), t6 = term(6);
    __m128i ab = _mm_xor_si128(a, b), e1 = _mm_xor_si128(c, _mm_xor_si128(t6, k1)),
            e2 = _mm_xor_si128(c, _mm_xor_si128(t6, k2));
    // Left to itself the compiler shares (a ^ b ^ c) between the two
    // results, which puts a fourth XOR on the chain.
    __asm__("" : "+x"(ab), "+x"(e1), "+x"(e2));
    x1 = _mm_xor_si128(ab, e1);
    x2 = _mm_xor_si128(ab, e2);
}

// CBC encryption of n blocks: each block depends on the one before, so the
// time per block is the length of one block's chain of instructions.  The
// round keys are laid out once per call, the chaining value stays in a
// register, and the rounds are unrolled with the key additions folded into
// the diffusion layers.
template <int N>
KRY_TARGET_GFNI void cbc_gfni(const uint8_t (*rk)[16], const uint8_t *in, uint8_t *out, size_t n, uint8_t *chain) {
    struct alignas(16) Keys {
        __m128i k1[N], k2[N], last;
    } keys;
    const __m128i before = vload(&kBefore);
#pragma GCC unroll 16
    for (int r = 0; r < N; r++) {
        keys.k1[r] = round_key(rk[r], r == 0 ? -1 : (r - 1) % 2);
        keys.k2[r] = _mm_xor_si128(keys.k1[r], before);
    }
    keys.last = _mm_xor_si128(round_key(rk[N], -1), vload(&kAfter[1]));
    // The chaining value c is the last substitution's output s with the
    // last round key added; the next block's first key addition takes that
    // key along (lk1, lk2), leaving one XOR with s on the chain between
    // blocks.
    const __m128i lk1 = _mm_xor_si128(keys.last, keys.k1[0]), lk2 = _mm_xor_si128(keys.last, keys.k2[0]);
    const __m128i load_mask = vload(&kLoadMask), store_mask = vload(&kStoreMask);
    __m128i s = _mm_xor_si128(
        _mm_shuffle_epi8(_mm_loadu_si128(reinterpret_cast<const __m128i *>(chain)), load_mask), keys.last);
    for (; n != 0; n--, in += 16, out += 16) {
        const __m128i p = _mm_shuffle_epi8(_mm_loadu_si128(reinterpret_cast<const __m128i *>(in)), load_mask);
        __m128i x1 = _mm_xor_si128(_mm_xor_si128(p, lk1), s), x2 = _mm_xor_si128(_mm_xor_si128(p, lk2), s);
#pragma GCC unroll 16
        for (int r = 0; r < N - 1; r += 2) {
            diffuse_keyed_gfni(substitute_gfni<0>(x1, x2), keys.k1[r + 1], keys.k2[r + 1], x1, x2);
            if (r + 2 < N)
                diffuse_keyed_gfni(substitute_gfni<1>(x1, x2), keys.k1[r + 2], keys.k2[r + 2], x1, x2);
        }
        s = substitute_gfni<1>(x1, x2);
        _mm_storeu_si128(reinterpret_cast<__m128i *>(out), _mm_shuffle_epi8(_mm_xor_si128(s, keys.last), store_mask));
    }
    _mm_storeu_si128(reinterpret_cast<__m128i *>(chain), _mm_shuffle_epi8(_mm_xor_si128(s, keys.last), store_mask));
    wipe_object(keys);
}

KRY_TARGET_GFNI void cbc_hardware(const uint8_t (*rk)[16], int rounds, const uint8_t *in, uint8_t *out, size_t n,
                                  uint8_t *chain) {
    switch (rounds) {
    case 12: cbc_gfni<12>(rk, in, out, n, chain); break;
    case 14: cbc_gfni<14>(rk, in, out, n, chain); break;
    default: cbc_gfni<16>(rk, in, out, n, chain); break;
    }
}

template <int N>
KRY_TARGET_GFNI void crypt_gfni_blocks(const uint8_t (*rk)[16], const uint8_t *in, uint8_t *out, size_t n) {
    for (; n >= 4; n -= 4, in += 64, out += 64)
        crypt_gfni<N, 4>(rk, in, out);
    for (; n != 0; n--, in += 16, out += 16)
        crypt_gfni<N, 1>(rk, in, out);
}

KRY_TARGET_GFNI void crypt_hardware(const uint8_t (*rk)[16], int rounds, const uint8_t *in, uint8_t *out,
                                    size_t n) {
    switch (rounds) {
    case 12: crypt_gfni_blocks<12>(rk, in, out, n); break;
    case 14: crypt_gfni_blocks<14>(rk, in, out, n); break;
    default: crypt_gfni_blocks<16>(rk, in, out, n); break;
    }
}
#else
bool cpu_has_gfni() { return false; }
void crypt_hardware(const uint8_t (*)[16], int, const uint8_t *, uint8_t *, size_t) {}
void cbc_hardware(const uint8_t (*)[16], int, const uint8_t *, uint8_t *, size_t, uint8_t *) {}
#endif

std::atomic<bool> hardware_enabled{true};

inline bool use_hardware() { return cpu_has_gfni() && hardware_enabled.load(std::memory_order_relaxed); }

// n consecutive blocks.
void crypt(const uint8_t (*rk)[16], int rounds, const uint8_t *in, uint8_t *out, size_t n) {
    if (use_hardware()) {
        crypt_hardware(rk, rounds, in, out, n);
        return;
    }
    for (; n != 0; n--, in += 16, out += 16) {
        switch (rounds) {
        case 12: crypt_tables<12>(rk, in, out); break;
        case 14: crypt_tables<14>(rk, in, out); break;
        default: crypt_tables<16>(rk, in, out); break;
        }
    }
}

// ---- key expansion (RFC 5794 section 2.2) ---------------------------------------

// The key-schedule constants C1, C2, C3 (the first 384 bits of the
// fractional part of 1/pi), as big-endian words.
constexpr uint32_t kC[3][4] = {{0x517cc1b7, 0x27220a94, 0xfe13abe8, 0xfa9a6ee0},
                               {0x6db14acc, 0x9e21c820, 0xff28b1d5, 0xef5de2b0},
                               {0xdb92371d, 0x2126e970, 0x03249775, 0x04e8c90e}};

// A 128-bit value as two big-endian halves, for the rotations.
struct Wide {
    uint64_t hi, lo;
};
inline Wide wide_of(const uint8_t *p) { return {load64_be(p), load64_be(p + 8)}; }

// Right rotation of the 128-bit string by n bits (0 < n < 128).
inline Wide rotr128(Wide v, int n) {
    if (n >= 64) {
        v = {v.lo, v.hi};
        n -= 64;
    }
    if (n == 0)
        return v;
    return {(v.hi >> n) | (v.lo << (64 - n)), (v.lo >> n) | (v.hi << (64 - n))};
}

}  // namespace

uint32_t aria_set_encrypt_key(const uint8_t *key, uint32_t key_length, ARIA_SCHEDULE &ks) {
    if (key == nullptr || (key_length != 16 && key_length != 24 && key_length != 32))
        return kAriaErrInvalidKey;
    const int n = key_length == 16 ? 12 : key_length == 24 ? 14 : 16;
    const int first = (n - 12) / 2;  // CK1, CK2, CK3 = C1.., C2.. or C3.. in turn

    uint8_t ck[3][16];
    for (int i = 0; i < 3; i++)
        for (int j = 0; j < 4; j++)
            store32_be(ck[i] + 4 * j, kC[(first + i) % 3][j]);
    uint8_t kr[16] = {};
    std::memcpy(kr, key + 16, key_length - 16);

    // W0 = KL, W1 = FO(W0, CK1) ^ KR, W2 = FE(W1, CK2) ^ W0, W3 = FO(W2, CK3) ^ W1.
    uint8_t w[4][16];
    std::memcpy(w[0], key, 16);
    const uint8_t *add[3] = {kr, w[0], w[1]};
    for (int i = 0; i < 3; i++) {
        State s = load_state(w[i]);
        if (i == 1)
            round<1>(s, ck[i]);
        else
            round<0>(s, ck[i]);
        add_key(s, add[i]);
        store_state(w[i + 1], s);
    }

    // ek(4g + j + 1) = W(j) ^ (W(j+1 mod 4) rotated), the rotations being
    // >>> 19, >>> 31, <<< 61 and <<< 31 for g = 0..3; ek17 = W0 ^ (W1 <<< 19).
    constexpr int kRight[5] = {19, 31, 128 - 61, 128 - 31, 128 - 19};
    Wide ws[4];
    for (int i = 0; i < 4; i++)
        ws[i] = wide_of(w[i]);
    for (int i = 0; i < 17; i++) {
        uint8_t *rk = ks.enc[i];
        if (i > n) {
            std::memset(rk, 0, 16);
            continue;
        }
        const int j = i & 3;
        const Wide r = rotr128(ws[(j + 1) & 3], kRight[i / 4]);
        store64_be(rk, ws[j].hi ^ r.hi);
        store64_be(rk + 8, ws[j].lo ^ r.lo);
    }
    ks.rounds = static_cast<uint32_t>(n);

    wipe_object(ck), wipe_object(kr), wipe_object(w), wipe_object(ws);
    return 0;
}

uint32_t aria_set_decrypt_key(const uint8_t *key, uint32_t key_length, ARIA_SCHEDULE &ks) {
    if (uint32_t r = aria_set_encrypt_key(key, key_length, ks); r != 0)
        return r;
    const int n = static_cast<int>(ks.rounds);
    std::memcpy(ks.dec[0], ks.enc[n], 16);
    for (int i = 1; i < n; i++) {
        State s = load_state(ks.enc[n - i]);
        diffuse(s);
        store_state(ks.dec[i], s);
        wipe_object(s);
    }
    std::memcpy(ks.dec[n], ks.enc[0], 16);
    for (int i = n + 1; i < 17; i++)
        std::memset(ks.dec[i], 0, 16);
    return 0;
}

bool aria_hardware_available() { return cpu_has_gfni(); }

void aria_use_hardware(bool enabled) { hardware_enabled.store(enabled, std::memory_order_relaxed); }

void aria_encrypt_block(const uint8_t in[16], uint8_t out[16], const ARIA_SCHEDULE &ks) {
    crypt(ks.enc, rounds_of(ks), in, out, 1);
}

void aria_decrypt_block(const uint8_t in[16], uint8_t out[16], const ARIA_SCHEDULE &ks) {
    crypt(ks.dec, rounds_of(ks), in, out, 1);
}

void aria_encrypt_blocks(const uint8_t *in, uint8_t *out, size_t nblocks, const ARIA_SCHEDULE &ks) {
    crypt(ks.enc, rounds_of(ks), in, out, nblocks);
}

void aria_decrypt_blocks(const uint8_t *in, uint8_t *out, size_t nblocks, const ARIA_SCHEDULE &ks) {
    crypt(ks.dec, rounds_of(ks), in, out, nblocks);
}

void aria_cbc_encrypt_blocks(const uint8_t *in, uint8_t *out, size_t nblocks, uint8_t chain[16],
                             const ARIA_SCHEDULE &ks) {
    if (use_hardware()) {
        cbc_hardware(ks.enc, rounds_of(ks), in, out, nblocks, chain);
        return;
    }
    uint8_t block[16];
    for (; nblocks != 0; nblocks--, in += 16, out += 16) {
        for (int i = 0; i < 16; i++)
            block[i] = static_cast<uint8_t>(in[i] ^ chain[i]);
        crypt(ks.enc, rounds_of(ks), block, chain, 1);
        std::memcpy(out, chain, 16);
    }
    wipe_object(block);
}

// ---- the unit's functions ------------------------------------------------------------

namespace cipher {
namespace {

constexpr uint32_t kErrKeySchedule = 0x06070001;

struct Aria {
    static constexpr uint32_t kBlock = 16;
    using Schedule = ARIA_SCHEDULE;
    static void encrypt(const Schedule &ks, const uint8_t *in, uint8_t *out) { aria_encrypt_block(in, out, ks); }
    static void decrypt(const Schedule &ks, const uint8_t *in, uint8_t *out) { aria_decrypt_block(in, out, ks); }
    // Several blocks at once, for a mode engine that batches independent blocks.
    static void encrypt_blocks(const Schedule &ks, const uint8_t *in, uint8_t *out, size_t n) {
        aria_encrypt_blocks(in, out, n, ks);
    }
    static void decrypt_blocks(const Schedule &ks, const uint8_t *in, uint8_t *out, size_t n) {
        aria_decrypt_blocks(in, out, n, ks);
    }
    static void cbc_encrypt_blocks(const Schedule &ks, const uint8_t *in, uint8_t *out, size_t n, uint8_t *chain) {
        aria_cbc_encrypt_blocks(in, out, n, chain, ks);
    }
    static constexpr ModeErrors kErrors{0x06020003, 0x06030003, 0x06040003, 0x06050003, 0x06060003};

    // A null key is accepted and leaves the schedule as it is.
    static uint32_t key_schedule(BLOCK_CIPHER_UNIT *unit, const uint8_t *key, const uint8_t *iv,
                                 uint32_t direction) {
        const uint32_t key_length = unit == nullptr ? 0 : unit->key_length;
        return expand_key<Aria>(unit, key, iv, direction, kErrKeySchedule,
                                [key_length](Schedule &ks, const uint8_t *k, bool decrypt) {
                                    const uint32_t r = decrypt ? aria_set_decrypt_key(k, key_length, ks)
                                                               : aria_set_encrypt_key(k, key_length, ks);
                                    return r != 0 ? kErrKeySchedule : 0u;
                                });
    }
};

}  // namespace

const Modes kAriaModes = modes_of<Aria>();

}  // namespace cipher
}  // namespace kry
