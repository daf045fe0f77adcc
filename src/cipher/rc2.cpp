// RC2 (RFC 2268) and its mode functions for the block-cipher unit (ECB, CBC,
// CFB and OFB: this cipher has no CTR mode).
#include "cipher/rc2.h"

#include "cipher/modes.h"
#include "foundation/common.h"

#include <array>
#include <cstring>

namespace kry {
namespace {

constexpr uint32_t kErrKey = 0x29000003;

// PITABLE, RFC 2268 section 2: a permutation of 0..255 derived from the
// digits of pi.
constexpr std::array<uint8_t, 256> kPiTable = {
    0xd9, 0x78, 0xf9, 0xc4, 0x19, 0xdd, 0xb5, 0xed, 0x28, 0xe9, 0xfd, 0x79, 0x4a, 0xa0, 0xd8, 0x9d,
    0xc6, 0x7e, 0x37, 0x83, 0x2b, 0x76, 0x53, 0x8e, 0x62, 0x4c, 0x64, 0x88, 0x44, 0x8b, 0xfb, 0xa2,
    0x17, 0x9a, 0x59, 0xf5, 0x87, 0xb3, 0x4f, 0x13, 0x61, 0x45, 0x6d, 0x8d, 0x09, 0x81, 0x7d, 0x32,
    0xbd, 0x8f, 0x40, 0xeb, 0x86, 0xb7, 0x7b, 0x0b, 0xf0, 0x95, 0x21, 0x22, 0x5c, 0x6b, 0x4e, 0x82,
    0x54, 0xd6, 0x65, 0x93, 0xce, 0x60, 0xb2, 0x1c, 0x73, 0x56, 0xc0, 0x14, 0xa7, 0x8c, 0xf1, 0xdc,
    0x12, 0x75, 0xca, 0x1f, 0x3b, 0xbe, 0xe4, 0xd1, 0x42, 0x3d, 0xd4, 0x30, 0xa3, 0x3c, 0xb6, 0x26,
    0x6f, 0xbf, 0x0e, 0xda, 0x46, 0x69, 0x07, 0x57, 0x27, 0xf2, 0x1d, 0x9b, 0xbc, 0x94, 0x43, 0x03,
    0xf8, 0x11, 0xc7, 0xf6, 0x90, 0xef, 0x3e, 0xe7, 0x06, 0xc3, 0xd5, 0x2f, 0xc8, 0x66, 0x1e, 0xd7,
    0x08, 0xe8, 0xea, 0xde, 0x80, 0x52, 0xee, 0xf7, 0x84, 0xaa, 0x72, 0xac, 0x35, 0x4d, 0x6a, 0x2a,
    0x96, 0x1a, 0xd2, 0x71, 0x5a, 0x15, 0x49, 0x74, 0x4b, 0x9f, 0xd0, 0x5e, 0x04, 0x18, 0xa4, 0xec,
    0xc2, 0xe0, 0x41, 0x6e, 0x0f, 0x51, 0xcb, 0xcc, 0x24, 0x91, 0xaf, 0x50, 0xa1, 0xf4, 0x70, 0x39,
    0x99, 0x7c, 0x3a, 0x85, 0x23, 0xb8, 0xb4, 0x7a, 0xfc, 0x02, 0x36, 0x5b, 0x25, 0x55, 0x97, 0x31,
    0x2d, 0x5d, 0xfa, 0x98, 0xe3, 0x8a, 0x92, 0xae, 0x05, 0xdf, 0x29, 0x10, 0x67, 0x6c, 0xba, 0xc9,
    0xd3, 0x00, 0xe6, 0xcf, 0xe1, 0x9e, 0xa8, 0x2c, 0x63, 0x16, 0x01, 0x3f, 0x58, 0xe2, 0x89, 0xa9,
    0x0d, 0x38, 0x34, 0x1b, 0xab, 0x33, 0xff, 0xb0, 0xbb, 0x48, 0x0c, 0x5f, 0xb9, 0xb1, 0xcd, 0x2e,
    0xc5, 0xf3, 0xdb, 0x47, 0xe5, 0xa5, 0x9c, 0x77, 0x0a, 0xa6, 0x20, 0x68, 0xfe, 0x7f, 0xc1, 0xad,
};

constexpr bool is_permutation(const std::array<uint8_t, 256> &t) {
    std::array<bool, 256> seen{};
    for (uint8_t v : t) {
        if (seen[v])
            return false;
        seen[v] = true;
    }
    return true;
}
static_assert(is_permutation(kPiTable));

// 16-bit word arithmetic.
inline uint16_t rol16(uint16_t x, int n) { return static_cast<uint16_t>((x << n) | (x >> (16 - n))); }
inline uint16_t ror16(uint16_t x, int n) { return static_cast<uint16_t>((x >> n) | (x << (16 - n))); }
inline uint16_t k16(const Rc2Schedule &ks, uint32_t i) { return static_cast<uint16_t>(ks.k[i & 63]); }

// The four words R[0..3] of a block and the rounds of RFC 2268 sections 3
// and 4 (the word index j runs up during encryption, down during decryption).
struct Words {
    uint16_t r0, r1, r2, r3;
};

inline void mix(Words &w, const Rc2Schedule &ks, uint32_t &j) {
    w.r0 = rol16(static_cast<uint16_t>(w.r0 + k16(ks, j) + (w.r3 & w.r2) + (~w.r3 & w.r1)), 1);
    w.r1 = rol16(static_cast<uint16_t>(w.r1 + k16(ks, j + 1) + (w.r0 & w.r3) + (~w.r0 & w.r2)), 2);
    w.r2 = rol16(static_cast<uint16_t>(w.r2 + k16(ks, j + 2) + (w.r1 & w.r0) + (~w.r1 & w.r3)), 3);
    w.r3 = rol16(static_cast<uint16_t>(w.r3 + k16(ks, j + 3) + (w.r2 & w.r1) + (~w.r2 & w.r0)), 5);
    j += 4;
}

inline void mash(Words &w, const Rc2Schedule &ks) {
    w.r0 = static_cast<uint16_t>(w.r0 + k16(ks, w.r3));
    w.r1 = static_cast<uint16_t>(w.r1 + k16(ks, w.r0));
    w.r2 = static_cast<uint16_t>(w.r2 + k16(ks, w.r1));
    w.r3 = static_cast<uint16_t>(w.r3 + k16(ks, w.r2));
}

// j is one past the last word the inverted mixing round uses.
inline void rmix(Words &w, const Rc2Schedule &ks, uint32_t &j) {
    j -= 4;
    w.r3 = static_cast<uint16_t>(ror16(w.r3, 5) - k16(ks, j + 3) - (w.r2 & w.r1) - (~w.r2 & w.r0));
    w.r2 = static_cast<uint16_t>(ror16(w.r2, 3) - k16(ks, j + 2) - (w.r1 & w.r0) - (~w.r1 & w.r3));
    w.r1 = static_cast<uint16_t>(ror16(w.r1, 2) - k16(ks, j + 1) - (w.r0 & w.r3) - (~w.r0 & w.r2));
    w.r0 = static_cast<uint16_t>(ror16(w.r0, 1) - k16(ks, j) - (w.r3 & w.r2) - (~w.r3 & w.r1));
}

inline void rmash(Words &w, const Rc2Schedule &ks) {
    w.r3 = static_cast<uint16_t>(w.r3 - k16(ks, w.r2));
    w.r2 = static_cast<uint16_t>(w.r2 - k16(ks, w.r1));
    w.r1 = static_cast<uint16_t>(w.r1 - k16(ks, w.r0));
    w.r0 = static_cast<uint16_t>(w.r0 - k16(ks, w.r3));
}

inline uint16_t load16_le(const uint8_t *p) { return static_cast<uint16_t>(p[0] | (p[1] << 8)); }
inline void store16_le(uint8_t *p, uint16_t v) {
    p[0] = static_cast<uint8_t>(v);
    p[1] = static_cast<uint8_t>(v >> 8);
}

Words load_block(const uint8_t *in) {
    return Words{load16_le(in), load16_le(in + 2), load16_le(in + 4), load16_le(in + 6)};
}
void store_block(uint8_t *out, const Words &w) {
    store16_le(out, w.r0);
    store16_le(out + 2, w.r1);
    store16_le(out + 4, w.r2);
    store16_le(out + 6, w.r3);
}

}  // namespace

uint32_t rc2_set_key(Rc2Schedule *ks, const uint8_t *key, uint32_t key_length, uint32_t effective_bits) {
    if (ks == nullptr || key == nullptr || key_length < 1 || key_length > kRc2MaxKeyBytes)
        return kErrKey;
    const uint32_t T = key_length;
    const uint32_t T1 = effective_bits < 1 || effective_bits > kRc2MaxEffectiveBits ? kRc2MaxEffectiveBits
                                                                                     : effective_bits;
    const uint32_t T8 = (T1 + 7) / 8;
    const uint8_t TM = static_cast<uint8_t>(0xFF >> (8 * T8 - T1));

    uint8_t L[128] = {};
    WipeOnExit wipe_l(L);
    std::memcpy(L, key, T);
    for (uint32_t i = T; i < 128; i++)
        L[i] = kPiTable[static_cast<uint8_t>(L[i - 1] + L[i - T])];
    L[128 - T8] = kPiTable[L[128 - T8] & TM];
    for (uint32_t i = 128 - T8; i-- > 0;)
        L[i] = kPiTable[L[i + 1] ^ L[i + T8]];

    for (uint32_t i = 0; i < 64; i++)
        ks->k[i] = L[2 * i] | (static_cast<uint32_t>(L[2 * i + 1]) << 8);
    return 0;
}

// Five mixing rounds, a mashing round, six mixing rounds, a mashing round
// and five mixing rounds (RFC 2268 section 3).
void rc2_encrypt_block(const Rc2Schedule &ks, const uint8_t in[8], uint8_t out[8]) {
    Words w = load_block(in);
    uint32_t j = 0;
    for (int i = 0; i < 5; i++)
        mix(w, ks, j);
    mash(w, ks);
    for (int i = 0; i < 6; i++)
        mix(w, ks, j);
    mash(w, ks);
    for (int i = 0; i < 5; i++)
        mix(w, ks, j);
    store_block(out, w);
}

// The inverse (RFC 2268 section 4).
void rc2_decrypt_block(const Rc2Schedule &ks, const uint8_t in[8], uint8_t out[8]) {
    Words w = load_block(in);
    uint32_t j = 64;
    for (int i = 0; i < 5; i++)
        rmix(w, ks, j);
    rmash(w, ks);
    for (int i = 0; i < 6; i++)
        rmix(w, ks, j);
    rmash(w, ks);
    for (int i = 0; i < 5; i++)
        rmix(w, ks, j);
    store_block(out, w);
}

namespace cipher {
namespace {

struct Rc2 {
    static constexpr uint32_t kBlock = 8;
    static constexpr uint32_t kKeyBytes = 8;
    using Schedule = Rc2Schedule;
    static void encrypt(const Schedule &ks, const uint8_t *in, uint8_t *out) { rc2_encrypt_block(ks, in, out); }
    static void decrypt(const Schedule &ks, const uint8_t *in, uint8_t *out) { rc2_decrypt_block(ks, in, out); }
    // No CTR function: the last entry is never used.
    static constexpr ModeErrors kErrors{0x29000001, 0x29000000, 0x29000007, 0x29000006, 0};

    // A missing key answers 1 without recording the direction.
    static uint32_t key_schedule(BLOCK_CIPHER_UNIT *unit, const uint8_t *key, const uint8_t *iv,
                                 uint32_t direction) {
        const uint32_t bits = unit == nullptr ? 0 : unit->effective_bits;
        return expand_key_or_one<Rc2>(unit, key, iv, direction, kErrKey, [bits](Schedule &ks, const uint8_t *k) {
            return rc2_set_key(&ks, k, kKeyBytes, bits);
        });
    }
};
static_assert(sizeof(Rc2::Schedule) == 256);

}  // namespace

const Modes kRc2Modes = modes_of<Rc2, false>();

}  // namespace cipher
}  // namespace kry
