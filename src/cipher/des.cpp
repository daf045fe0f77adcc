// DES (FIPS 46-3).
//
// The tables of the standard (IP, E, the S-boxes, P, PC-1, PC-2 and the
// key-schedule rotations) are written out once below in the standard's bit
// numbering (bit 1 is the most significant bit); everything the fast code
// uses is derived from them at compile time:
//  - the eight "SP boxes", each S-box followed by the permutation P, so a
//    round is eight table lookups;
//  - the expansion E as two rotations of R, which line the eight 6-bit
//    groups up on byte boundaries (the subkeys are stored to match); the
//    rounds carry both rotations of each half in one 64-bit word, with the
//    SP boxes' outputs given in that form too;
//  - IP and FP as five swap-and-mask steps, checked against the IP table
//    bit by bit at compile time;
//  - PC-1 and PC-2 as lookup tables over 4- and 7-bit pieces of their input.
#include "cipher/des.h"

#include "foundation/common.h"

#include <array>
#include <bit>
#include <cstddef>
#include <cstring>

namespace kry {
namespace {

// ---- the tables of FIPS 46-3 ---------------------------------------------

constexpr std::array<uint8_t, 64> kIP = {
    58, 50, 42, 34, 26, 18, 10, 2, 60, 52, 44, 36, 28, 20, 12, 4,
    62, 54, 46, 38, 30, 22, 14, 6, 64, 56, 48, 40, 32, 24, 16, 8,
    57, 49, 41, 33, 25, 17, 9,  1, 59, 51, 43, 35, 27, 19, 11, 3,
    61, 53, 45, 37, 29, 21, 13, 5, 63, 55, 47, 39, 31, 23, 15, 7};

constexpr std::array<uint8_t, 48> kE = {
    32, 1,  2,  3,  4,  5,  4,  5,  6,  7,  8,  9,  8,  9,  10, 11,
    12, 13, 12, 13, 14, 15, 16, 17, 16, 17, 18, 19, 20, 21, 20, 21,
    22, 23, 24, 25, 24, 25, 26, 27, 28, 29, 28, 29, 30, 31, 32, 1};

constexpr std::array<uint8_t, 32> kP = {
    16, 7, 20, 21, 29, 12, 28, 17, 1,  15, 23, 26, 5,  18, 31, 10,
    2,  8, 24, 14, 32, 27, 3,  9,  19, 13, 30, 6,  22, 11, 4,  25};

// S1..S8, each as four rows of sixteen entries.
constexpr uint8_t kS[8][64] = {
    {14, 4,  13, 1,  2,  15, 11, 8,  3,  10, 6,  12, 5,  9,  0,  7,
     0,  15, 7,  4,  14, 2,  13, 1,  10, 6,  12, 11, 9,  5,  3,  8,
     4,  1,  14, 8,  13, 6,  2,  11, 15, 12, 9,  7,  3,  10, 5,  0,
     15, 12, 8,  2,  4,  9,  1,  7,  5,  11, 3,  14, 10, 0,  6,  13},
    {15, 1,  8,  14, 6,  11, 3,  4,  9,  7,  2,  13, 12, 0,  5,  10,
     3,  13, 4,  7,  15, 2,  8,  14, 12, 0,  1,  10, 6,  9,  11, 5,
     0,  14, 7,  11, 10, 4,  13, 1,  5,  8,  12, 6,  9,  3,  2,  15,
     13, 8,  10, 1,  3,  15, 4,  2,  11, 6,  7,  12, 0,  5,  14, 9},
    {10, 0,  9,  14, 6,  3,  15, 5,  1,  13, 12, 7,  11, 4,  2,  8,
     13, 7,  0,  9,  3,  4,  6,  10, 2,  8,  5,  14, 12, 11, 15, 1,
     13, 6,  4,  9,  8,  15, 3,  0,  11, 1,  2,  12, 5,  10, 14, 7,
     1,  10, 13, 0,  6,  9,  8,  7,  4,  15, 14, 3,  11, 5,  2,  12},
    {7,  13, 14, 3,  0,  6,  9,  10, 1,  2,  8,  5,  11, 12, 4,  15,
     13, 8,  11, 5,  6,  15, 0,  3,  4,  7,  2,  12, 1,  10, 14, 9,
     10, 6,  9,  0,  12, 11, 7,  13, 15, 1,  3,  14, 5,  2,  8,  4,
     3,  15, 0,  6,  10, 1,  13, 8,  9,  4,  5,  11, 12, 7,  2,  14},
    {2,  12, 4,  1,  7,  10, 11, 6,  8,  5,  3,  15, 13, 0,  14, 9,
     14, 11, 2,  12, 4,  7,  13, 1,  5,  0,  15, 10, 3,  9,  8,  6,
     4,  2,  1,  11, 10, 13, 7,  8,  15, 9,  12, 5,  6,  3,  0,  14,
     11, 8,  12, 7,  1,  14, 2,  13, 6,  15, 0,  9,  10, 4,  5,  3},
    {12, 1,  10, 15, 9,  2,  6,  8,  0,  13, 3,  4,  14, 7,  5,  11,
     10, 15, 4,  2,  7,  12, 9,  5,  6,  1,  13, 14, 0,  11, 3,  8,
     9,  14, 15, 5,  2,  8,  12, 3,  7,  0,  4,  10, 1,  13, 11, 6,
     4,  3,  2,  12, 9,  5,  15, 10, 11, 14, 1,  7,  6,  0,  8,  13},
    {4,  11, 2,  14, 15, 0,  8,  13, 3,  12, 9,  7,  5,  10, 6,  1,
     13, 0,  11, 7,  4,  9,  1,  10, 14, 3,  5,  12, 2,  15, 8,  6,
     1,  4,  11, 13, 12, 3,  7,  14, 10, 15, 6,  8,  0,  5,  9,  2,
     6,  11, 13, 8,  1,  4,  10, 7,  9,  5,  0,  15, 14, 2,  3,  12},
    {13, 2,  8,  4,  6,  15, 11, 1,  10, 9,  3,  14, 5,  0,  12, 7,
     1,  15, 13, 8,  10, 3,  7,  4,  12, 5,  6,  11, 0,  14, 9,  2,
     7,  11, 4,  1,  9,  12, 14, 2,  0,  6,  10, 13, 15, 3,  5,  8,
     2,  1,  14, 7,  4,  10, 8,  13, 15, 12, 9,  0,  3,  5,  6,  11}};

constexpr std::array<uint8_t, 56> kPC1 = {
    57, 49, 41, 33, 25, 17, 9,  1,  58, 50, 42, 34, 26, 18,
    10, 2,  59, 51, 43, 35, 27, 19, 11, 3,  60, 52, 44, 36,
    63, 55, 47, 39, 31, 23, 15, 7,  62, 54, 46, 38, 30, 22,
    14, 6,  61, 53, 45, 37, 29, 21, 13, 5,  28, 20, 12, 4};

constexpr std::array<uint8_t, 48> kPC2 = {
    14, 17, 11, 24, 1,  5,  3,  28, 15, 6,  21, 10,
    23, 19, 12, 4,  26, 8,  16, 7,  27, 20, 13, 2,
    41, 52, 31, 37, 47, 55, 30, 40, 51, 45, 33, 48,
    44, 49, 39, 56, 34, 53, 46, 42, 50, 36, 29, 32};

// Left rotations of C and D before each round's PC-2.
constexpr std::array<uint8_t, 16> kShifts = {1, 1, 2, 2, 2, 2, 2, 2, 1, 2, 2, 2, 2, 2, 2, 1};

// Bit n (1 = most significant) of a width-bit value.
constexpr uint64_t bit_of(uint64_t v, unsigned width, unsigned n) { return (v >> (width - n)) & 1; }

// ---- round function ------------------------------------------------------

// SP box i: S-box i+1 applied to a 6-bit group b1..b6 (row b1 b6, column
// b2..b5), its four output bits placed at bits 4i+1..4i+4 of the S output,
// then P.
constexpr std::array<std::array<uint32_t, 64>, 8> make_sp() {
    std::array<std::array<uint32_t, 64>, 8> sp{};
    for (unsigned i = 0; i < 8; ++i) {
        for (unsigned x = 0; x < 64; ++x) {
            unsigned row = ((x >> 4) & 2) | (x & 1);
            unsigned col = (x >> 1) & 15;
            uint32_t s = uint32_t{kS[i][row * 16 + col]} << (28 - 4 * i);
            uint32_t p = 0;
            for (unsigned j = 1; j <= 32; ++j)
                p |= static_cast<uint32_t>(bit_of(s, 32, kP[j - 1])) << (32 - j);
            sp[i][x] = p;
        }
    }
    return sp;
}
constexpr auto kSP = make_sp();

// E's group g reads bits 4g..4g+5 of R (cyclically, bit 0 meaning bit 32), so
// rotr(R, 27 - 4g) holds group g in its low six bits, and shifting that by 8
// gives group g - 2.  Hence rotl(R, 1) carries groups 2, 4, 6, 8 (in 1-based
// S-box numbering, most significant byte first) and rotr(R, 3) groups
// 1, 3, 5, 7, each in the low six bits of a byte.
constexpr uint64_t expand_by_table(uint32_t r) {
    uint64_t e = 0;
    for (unsigned j = 1; j <= 48; ++j) e = (e << 1) | bit_of(r, 32, kE[j - 1]);
    return e;
}
constexpr uint32_t group_byte(uint32_t w, unsigned byte) { return (w >> (24 - 8 * byte)) & 0x3F; }
constexpr bool expansion_matches(uint32_t r) {
    uint32_t odd = std::rotr(r, 3), even = std::rotl(r, 1);
    uint64_t e = expand_by_table(r);
    for (unsigned g = 0; g < 8; ++g) {
        uint32_t want = static_cast<uint32_t>(e >> (42 - 6 * g)) & 0x3F;
        uint32_t got = (g % 2 == 0) ? group_byte(odd, g / 2) : group_byte(even, g / 2);
        if (want != got) return false;
    }
    return true;
}
static_assert(expansion_matches(0x80000001) && expansion_matches(0x12345678) &&
              expansion_matches(0xF0E1D2C3) && expansion_matches(0x00010000));

// ---- rounds -----------------------------------------------------------------
//
// The rounds keep each 32-bit half R as one 64-bit word holding two masked
// rotations of it,
//     high half  rotr(R, 1) & 0xFCFCFCFC   (the E groups of S1, S3, S5, S7)
//     low half   rotl(R, 3) & 0xFCFCFCFC   (the E groups of S2, S4, S6, S8),
// every E group in the top six bits of a byte (the rotations that line the
// groups up on bytes, shifted left by two), and between the two halves every
// bit of R.  A byte of that word xor the subkey is then four times its SP
// box's index.  The rotations and masks are linear, so L' = L ^ f(R, K) holds
// in this form too when the SP boxes give their outputs in it: eight
// lookups a round, and nothing to rotate or mask between rounds.

constexpr uint32_t kGroupMask = 0xFCFCFCFC;

constexpr uint64_t form_of(uint32_t r) {
    return (uint64_t{std::rotr(r, 1) & kGroupMask} << 32) | (std::rotl(r, 3) & kGroupMask);
}
constexpr uint32_t word_of(uint64_t x) {
    return std::rotl(static_cast<uint32_t>(x >> 32), 1) | std::rotr(static_cast<uint32_t>(x), 3);
}

static_assert(word_of(form_of(0x12345678)) == 0x12345678 && word_of(form_of(0xFFFFFFFF)) == 0xFFFFFFFF &&
              word_of(form_of(0x80000001)) == 0x80000001);
// The groups land where the subkey words have them (shifted by two).
static_assert((form_of(0x80000001) >> 34) == (std::rotr(0x80000001u, 3) & 0x3F3F3F3F) &&
              ((form_of(0x12345678) & 0xFFFFFFFF) >> 2) == (std::rotl(0x12345678u, 1) & 0x3F3F3F3F));

// The SP boxes with their outputs in the form.
constexpr std::array<std::array<uint64_t, 64>, 8> make_form_sp() {
    std::array<std::array<uint64_t, 64>, 8> t{};
    for (unsigned i = 0; i < 8; ++i)
        for (unsigned x = 0; x < 64; ++x) t[i][x] = form_of(kSP[i][x]);
    return t;
}
alignas(64) constexpr auto kFormSP = make_form_sp();

// Pins a value as computed, so the compiler keeps the xor tree below a tree
// (shallow) rather than a chain through every lookup.
[[gnu::always_inline]] inline uint64_t pin(uint64_t v) {
#if defined(__GNUC__)
    __asm__("" : "+r"(v));
#endif
    return v;
}

// The tables' bytes, addressed through one base register.
[[gnu::always_inline]] inline const unsigned char *table_base() {
    const unsigned char *p = reinterpret_cast<const unsigned char *>(&kFormSP);
#if defined(__GNUC__)
    __asm__("" : "+r"(p));
#endif
    return p;
}
static_assert(sizeof(kFormSP) == 8 * 64 * 8);

// Box T's entry for a byte holding four times its index.
template <int T> [[gnu::always_inline]] inline uint64_t entry(const unsigned char *base, uint64_t byte) {
    uint64_t v;
    std::memcpy(&v, base + 512 * T + 2 * byte, 8);
    return v;
}

// A subkey (the two words of DesKeySchedule) in the form.
[[gnu::always_inline]] inline uint64_t key_form(const uint32_t *k) {
    return (uint64_t{k[0]} << 34) | (uint64_t{k[1]} << 2);
}

// p ^ f(R, K) in the form, given x = form(R) ^ K.  The groups in bytes 7, 1
// and 0 take one instruction to extract, the others two, so their entries
// and p (known early) are combined first: the tree then adds three xors
// after the last lookup.
[[gnu::always_inline]] inline uint64_t feistel(const unsigned char *t, uint64_t x, uint64_t p) {
    const uint64_t e0 = entry<0>(t, x >> 56), e5 = entry<5>(t, (x >> 8) & 0xFF), e7 = entry<7>(t, x & 0xFF);
    const uint64_t e2 = entry<2>(t, (x >> 48) & 0xFF), e4 = entry<4>(t, (x >> 40) & 0xFF);
    const uint64_t e6 = entry<6>(t, (x >> 32) & 0xFF), e1 = entry<1>(t, (x >> 24) & 0xFF);
    const uint64_t e3 = entry<3>(t, (x >> 16) & 0xFF);
    return pin(pin(pin(e0 ^ e5) ^ pin(e7 ^ p)) ^ pin(e2 ^ e4)) ^ pin(pin(e6 ^ e1) ^ e3);
}

// Subkeys in the form: straight from a schedule (single blocks), or
// converted once for a run of blocks.
struct ScheduleKeys {
    const uint32_t *k;
    uint64_t operator()(int i) const { return key_form(k + 2 * i); }
};
struct FormKeys {
    const uint64_t *k;
    uint64_t operator()(int i) const { return k[i]; }
};

// Sixteen rounds on N independent blocks, interleaved: (l, r) = (L0, R0) in
// form in, (L16, R16) out.  Subkeys in key order, or reversed.  The next
// round's input is formed from the half it will use, xored with its subkey
// ahead of time and folded into the lookups' xor tree, so each round's chain
// is the lookups and that tree.
template <bool Reverse, int N, class Keys>
[[gnu::always_inline]] inline void rounds(Keys key, uint64_t (&l)[N], uint64_t (&r)[N]) {
    constexpr auto sub = [](int i) { return Reverse ? 15 - i : i; };
    const unsigned char *t = table_base();
    uint64_t x[N];
    const uint64_t k0 = key(sub(0));
#pragma GCC unroll 4
    for (int j = 0; j < N; j++)
        x[j] = r[j] ^ k0;
#pragma GCC unroll 16
    for (int i = 0; i < 16; i++) {
        const uint64_t kn = i < 15 ? key(sub(i + 1)) : 0;
#pragma GCC unroll 4
        for (int j = 0; j < N; j++) {
            uint64_t nr;
            if (i < 15) {
                // x' = form(L ^ f) ^ K' = (L ^ K') ^ f, and L ^ f = x' ^ K'.
                x[j] = feistel(t, x[j], pin(l[j] ^ kn));
                nr = x[j] ^ kn;
            } else {
                nr = feistel(t, x[j], l[j]);
            }
            l[j] = r[j];
            r[j] = nr;
        }
    }
}

// ---- initial and final permutations ----------------------------------------

// Exchanges the bits of b selected by m with the bits of a selected by m << n.
constexpr void swap_bits(uint32_t &a, uint32_t &b, unsigned n, uint32_t m) {
    uint32_t t = ((a >> n) ^ b) & m;
    b ^= t;
    a ^= t << n;
}

// IP viewed on the block as an 8 x 8 bit matrix is a transposition with the
// columns regrouped; five exchanges of bit groups between and within the two
// halves perform it.  Each exchange is an involution, so FP (= IP^-1) is the
// same steps in reverse order.
constexpr void ip_words(uint32_t &l, uint32_t &r) {
    swap_bits(l, r, 4, 0x0F0F0F0F);
    swap_bits(l, r, 16, 0x0000FFFF);
    swap_bits(r, l, 2, 0x33333333);
    swap_bits(r, l, 8, 0x00FF00FF);
    swap_bits(l, r, 1, 0x55555555);
}
constexpr void fp_words(uint32_t &l, uint32_t &r) {
    swap_bits(l, r, 1, 0x55555555);
    swap_bits(r, l, 8, 0x00FF00FF);
    swap_bits(r, l, 2, 0x33333333);
    swap_bits(l, r, 16, 0x0000FFFF);
    swap_bits(l, r, 4, 0x0F0F0F0F);
}

// Both are linear over GF(2), so agreeing with the table on every one of the
// 64 single-bit blocks proves them equal to IP and its inverse.
constexpr bool ip_matches_table() {
    for (unsigned n = 1; n <= 64; ++n) {
        uint64_t x = uint64_t{1} << (64 - n);
        uint64_t want = 0;
        for (unsigned j = 1; j <= 64; ++j) want |= bit_of(x, 64, kIP[j - 1]) << (64 - j);
        uint32_t l = static_cast<uint32_t>(x >> 32), r = static_cast<uint32_t>(x);
        ip_words(l, r);
        if (((uint64_t{l} << 32) | r) != want) return false;
        fp_words(l, r);
        if (((uint64_t{l} << 32) | r) != x) return false;
    }
    return true;
}
static_assert(ip_matches_table());

// ---- key schedule ----------------------------------------------------------

// PC-1 by nibbles: entry [n][v] is the 56-bit C||D (C in the high 28 bits)
// contributed by value v in nibble n (n = 0 holding key bits 1..4).
constexpr std::array<std::array<uint64_t, 16>, 16> make_pc1() {
    std::array<std::array<uint64_t, 16>, 16> t{};
    for (unsigned n = 0; n < 16; ++n)
        for (unsigned v = 0; v < 16; ++v) {
            uint64_t key = uint64_t{v} << (60 - 4 * n);
            uint64_t cd = 0;
            for (unsigned j = 1; j <= 56; ++j) cd = (cd << 1) | bit_of(key, 64, kPC1[j - 1]);
            t[n][v] = cd;
        }
    return t;
}
constexpr auto kPC1Nibbles = make_pc1();

// PC-2 by 7-bit chunks of C||D (chunk n holding bits 7n+1..7n+7, so chunks
// 0..3 cover C and 4..7 cover D): the subkey bits in DesKeySchedule's
// layout, word 0 in the high half, word 1 in the low half.
constexpr std::array<std::array<uint64_t, 128>, 8> make_pc2() {
    std::array<std::array<uint64_t, 128>, 8> t{};
    for (unsigned n = 0; n < 8; ++n)
        for (unsigned v = 0; v < 128; ++v) {
            uint64_t cd = uint64_t{v} << (49 - 7 * n);
            uint64_t out = 0;
            for (unsigned j = 1; j <= 48; ++j) {
                unsigned group = (j - 1) / 6, pos = 5 - (j - 1) % 6;
                unsigned at = 8 * (3 - group / 2) + pos + (group % 2 == 0 ? 32 : 0);
                out |= bit_of(cd, 56, kPC2[j - 1]) << at;
            }
            t[n][v] = out;
        }
    return t;
}
constexpr auto kPC2Chunks = make_pc2();

constexpr uint32_t rotl28(uint32_t x, unsigned n) {
    return ((x << n) | (x >> (28 - n))) & 0x0FFFFFFF;
}

}  // namespace

void des_set_key64(DesKeySchedule &ks, uint64_t key, DesOrder order) {
    uint64_t cd = 0;
    for (unsigned n = 0; n < 16; ++n) cd |= kPC1Nibbles[n][(key >> (60 - 4 * n)) & 15];
    uint32_t c = static_cast<uint32_t>(cd >> 28), d = static_cast<uint32_t>(cd) & 0x0FFFFFFF;
    for (unsigned round = 0; round < 16; ++round) {
        c = rotl28(c, kShifts[round]);
        d = rotl28(d, kShifts[round]);
        uint64_t sub = 0;
        for (unsigned n = 0; n < 4; ++n) {
            sub |= kPC2Chunks[n][(c >> (21 - 7 * n)) & 0x7F];
            sub |= kPC2Chunks[n + 4][(d >> (21 - 7 * n)) & 0x7F];
        }
        unsigned slot = order == DesOrder::encrypt ? round : 15 - round;
        ks.k[2 * slot] = static_cast<uint32_t>(sub >> 32);
        ks.k[2 * slot + 1] = static_cast<uint32_t>(sub);
    }
}

void des_set_key(DesKeySchedule &ks, const uint8_t key[8], DesOrder order) {
    des_set_key64(ks, load64_be(key), order);
}

void des_ip(uint32_t &l, uint32_t &r) { ip_words(l, r); }
void des_fp(uint32_t &l, uint32_t &r) { fp_words(l, r); }

namespace {

// One block through the rounds on words: (l, r) = (L0, R0) in, the
// preoutput (R16, L16) out.
template <bool Reverse>
[[gnu::always_inline]] inline void crypt_words(const uint32_t *k, uint32_t &l, uint32_t &r) {
    uint64_t hl[1] = {form_of(l)}, hr[1] = {form_of(r)};
    rounds<Reverse>(ScheduleKeys{k}, hl, hr);
    l = word_of(hr[0]);
    r = word_of(hl[0]);
}

template <bool Reverse>
[[gnu::always_inline]] inline void crypt_block(const uint32_t *k, const uint8_t *in, uint8_t *out) {
    uint32_t l = load32_be(in), r = load32_be(in + 4);
    ip_words(l, r);
    crypt_words<Reverse>(k, l, r);
    fp_words(l, r);
    store32_be(out, l);
    store32_be(out + 4, r);
}

// The subkeys of Passes passes in the form, in the order they run (wiped
// when done).
template <int Passes> struct PassKeys {
    uint64_t k[Passes][16];
    explicit PassKeys(const DesKeySchedule *pass) {
        for (int p = 0; p < Passes; p++)
            for (int i = 0; i < 16; i++) k[p][i] = key_form(pass[p].k + 2 * i);
    }
    ~PassKeys() { wipe_object(k); }
    PassKeys(const PassKeys &) = delete;
    PassKeys &operator=(const PassKeys &) = delete;
};

// The passes (one for DES, three for DES-EDE) on N blocks in form:
// (l, r) = (L0, R0) in, (L16, R16) of the last pass out.
template <int Passes, int N>
[[gnu::always_inline]] inline void passes(const PassKeys<Passes> &keys, uint64_t (&l)[N], uint64_t (&r)[N]) {
    rounds<false>(FormKeys{keys.k[0]}, l, r);
    if constexpr (Passes == 3) {
        rounds<false>(FormKeys{keys.k[1]}, r, l);
        rounds<false>(FormKeys{keys.k[2]}, l, r);
    }
}

// Blocks through the passes, two at a time.  Each pass runs its subkeys in
// stored order.
template <int Passes>
void crypt_blocks(const DesKeySchedule *pass, const uint8_t *in, uint8_t *out, size_t n) {
    const PassKeys<Passes> keys(pass);
    for (; n >= 2; n -= 2, in += 16, out += 16) {
        uint32_t w0 = load32_be(in), w1 = load32_be(in + 4), w2 = load32_be(in + 8), w3 = load32_be(in + 12);
        ip_words(w0, w1);
        ip_words(w2, w3);
        uint64_t l[2] = {form_of(w0), form_of(w2)}, r[2] = {form_of(w1), form_of(w3)};
        passes(keys, l, r);
        w0 = word_of(r[0]), w1 = word_of(l[0]), w2 = word_of(r[1]), w3 = word_of(l[1]);
        fp_words(w0, w1);
        fp_words(w2, w3);
        store32_be(out, w0);
        store32_be(out + 4, w1);
        store32_be(out + 8, w2);
        store32_be(out + 12, w3);
    }
    if (n != 0) {
        uint32_t wl = load32_be(in), wr = load32_be(in + 4);
        ip_words(wl, wr);
        uint64_t l[1] = {form_of(wl)}, r[1] = {form_of(wr)};
        passes(keys, l, r);
        wl = word_of(r[0]), wr = word_of(l[0]);
        fp_words(wl, wr);
        store32_be(out, wl);
        store32_be(out + 4, wr);
    }
}

// CBC encryption.  IP is linear and undoes FP, so IP(P ^ C) = IP(P) ^ the
// preoutput of the block before: the chain stays in the rounds' form, with
// IP and FP beside it.
template <int Passes>
void cbc_encrypt(const DesKeySchedule *pass, const uint8_t *in, uint8_t *out, size_t n, uint8_t *chain) {
    if (n == 0)
        return;
    const PassKeys<Passes> keys(pass);
    uint32_t cl = load32_be(chain), cr = load32_be(chain + 4);
    ip_words(cl, cr);
    // The preoutput (R16, L16) of the block before, as (r, l).
    uint64_t l[1] = {form_of(cr)}, r[1] = {form_of(cl)};
    for (; n != 0; n--, in += 8, out += 8) {
        uint32_t pl = load32_be(in), pr = load32_be(in + 4);
        ip_words(pl, pr);
        uint64_t nl[1] = {form_of(pl) ^ r[0]}, nr[1] = {form_of(pr) ^ l[0]};
        passes(keys, nl, nr);
        l[0] = nl[0], r[0] = nr[0];
        uint32_t ol = word_of(r[0]), orr = word_of(l[0]);
        fp_words(ol, orr);
        store32_be(out, ol);
        store32_be(out + 4, orr);
    }
    std::memcpy(chain, out - 8, 8);
}

}  // namespace

void des_crypt_words(const DesKeySchedule &ks, uint32_t &l, uint32_t &r, bool reverse) {
    if (reverse)
        crypt_words<true>(ks.k, l, r);
    else
        crypt_words<false>(ks.k, l, r);
}

void des_encrypt_block(const DesKeySchedule &ks, const uint8_t in[8], uint8_t out[8]) {
    crypt_block<false>(ks.k, in, out);
}

void des_decrypt_block(const DesKeySchedule &ks, const uint8_t in[8], uint8_t out[8]) {
    crypt_block<true>(ks.k, in, out);
}

void des_encrypt_blocks(const DesKeySchedule &ks, const uint8_t *in, uint8_t *out, size_t n) {
    crypt_blocks<1>(&ks, in, out, n);
}

void des_cbc_encrypt(const DesKeySchedule &ks, const uint8_t *in, uint8_t *out, size_t n, uint8_t chain[8]) {
    cbc_encrypt<1>(&ks, in, out, n, chain);
}

// ---- DES-EDE -----------------------------------------------------------------

uint32_t des_ede_set_key(const uint8_t *key, uint32_t key_length, DesEdeKeySchedule &ks, uint32_t direction) {
    if (key_length != 16 && key_length != 24)
        return 1;
    const uint8_t *k1 = key, *k2 = key + 8, *k3 = key_length == 24 ? key + 16 : key;
    if (direction == 1) {
        des_set_key(ks.pass[0], k1, DesOrder::encrypt);
        des_set_key(ks.pass[1], k2, DesOrder::decrypt);
        des_set_key(ks.pass[2], k3, DesOrder::encrypt);
    } else if (direction == 0) {
        des_set_key(ks.pass[0], k3, DesOrder::decrypt);
        des_set_key(ks.pass[1], k2, DesOrder::encrypt);
        des_set_key(ks.pass[2], k1, DesOrder::decrypt);
    }
    return 0;
}

// FP followed by IP is the identity, so the passes chain on the preoutput
// (R16, L16) of the one before: it is the next pass's (L0, R0).
void des_ede_block(const DesEdeKeySchedule &ks, const uint8_t in[8], uint8_t out[8]) {
    uint32_t l = load32_be(in), r = load32_be(in + 4);
    ip_words(l, r);
    uint64_t hl[1] = {form_of(l)}, hr[1] = {form_of(r)};
    rounds<false>(ScheduleKeys{ks.pass[0].k}, hl, hr);  // leaves L16 in hl, R16 in hr
    rounds<false>(ScheduleKeys{ks.pass[1].k}, hr, hl);
    rounds<false>(ScheduleKeys{ks.pass[2].k}, hl, hr);
    l = word_of(hr[0]), r = word_of(hl[0]);
    fp_words(l, r);
    store32_be(out, l);
    store32_be(out + 4, r);
}

void des_ede_blocks(const DesEdeKeySchedule &ks, const uint8_t *in, uint8_t *out, size_t n) {
    crypt_blocks<3>(ks.pass, in, out, n);
}

void des_ede_cbc_encrypt(const DesEdeKeySchedule &ks, const uint8_t *in, uint8_t *out, size_t n, uint8_t chain[8]) {
    cbc_encrypt<3>(ks.pass, in, out, n, chain);
}

}  // namespace kry
