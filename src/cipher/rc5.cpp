// RC5-32/12/16 (RFC 2040) and its mode functions for the block-cipher unit.
#include "cipher/rc5.h"

#include "cipher/modes.h"
#include "foundation/common.h"

#include <algorithm>

namespace kry {
namespace {

constexpr uint32_t kErrKey = 0x08010002;  // F_INIT_RC5_KEY, ERR_INIT_KEY_FAILURE
constexpr uint32_t kMaxKeyBytes = 255;

// Magic constants of RC5-32: Odd((e - 2) * 2^32) and Odd((phi - 1) * 2^32).
constexpr uint32_t kP32 = 0xB7E15163;
constexpr uint32_t kQ32 = 0x9E3779B9;

// A corrupted rounds field (the schedule lives in a caller-visible record)
// must not index past the table.
uint32_t rounds_of(const Rc5Schedule &ks) { return std::min(ks.rounds, (kRc5MaxWords - 2) / 2); }

}  // namespace

uint32_t rc5_set_key(Rc5Schedule *ks, const uint8_t *key, uint32_t key_length) {
    if (ks == nullptr || key == nullptr || key_length > kMaxKeyBytes)
        return kErrKey;

    // Key bytes into c little-endian words L[0..c-1], c >= 1.
    constexpr uint32_t kMaxKeyWords = (kMaxKeyBytes + 3) / 4;
    uint32_t L[kMaxKeyWords] = {};
    WipeOnExit wipe_l(L);
    const uint32_t c = std::max<uint32_t>(1, (key_length + 3) / 4);
    for (uint32_t i = key_length; i-- > 0;)
        L[i / 4] = (L[i / 4] << 8) + key[i];

    wipe_object(*ks);
    ks->rounds = kRc5Rounds;
    const uint32_t t = 2 * (kRc5Rounds + 1);
    uint32_t *S = ks->s;
    S[0] = kP32;
    for (uint32_t i = 1; i < t; i++)
        S[i] = S[i - 1] + kQ32;

    // Mix the secret key into S: 3 * max(t, c) steps.
    uint32_t A = 0, B = 0, i = 0, j = 0;
    for (uint32_t k = 3 * std::max(t, c); k != 0; k--) {
        A = S[i] = rotl32(S[i] + A + B, 3);
        B = L[j] = rotl32(L[j] + A + B, static_cast<int>((A + B) & 31));
        i = i + 1 == t ? 0 : i + 1;
        j = j + 1 == c ? 0 : j + 1;
    }
    return 0;
}

void rc5_encrypt_block(const Rc5Schedule &ks, const uint8_t in[8], uint8_t out[8]) {
    const uint32_t *S = ks.s;
    const uint32_t r = rounds_of(ks);
    uint32_t A = load32_le(in) + S[0];
    uint32_t B = load32_le(in + 4) + S[1];
    for (uint32_t i = 1; i <= r; i++) {
        A = rotl32(A ^ B, static_cast<int>(B & 31)) + S[2 * i];
        B = rotl32(B ^ A, static_cast<int>(A & 31)) + S[2 * i + 1];
    }
    store32_le(out, A);
    store32_le(out + 4, B);
}

void rc5_decrypt_block(const Rc5Schedule &ks, const uint8_t in[8], uint8_t out[8]) {
    const uint32_t *S = ks.s;
    const uint32_t r = rounds_of(ks);
    uint32_t A = load32_le(in);
    uint32_t B = load32_le(in + 4);
    for (uint32_t i = r; i >= 1; i--) {
        B = rotr32(B - S[2 * i + 1], static_cast<int>(A & 31)) ^ A;
        A = rotr32(A - S[2 * i], static_cast<int>(B & 31)) ^ B;
    }
    store32_le(out, A - S[0]);
    store32_le(out + 4, B - S[1]);
}

namespace cipher {
namespace {

struct Rc5 {
    static constexpr uint32_t kBlock = 8;
    static constexpr uint32_t kKeyBytes = 16;
    using Schedule = Rc5Schedule;
    static void encrypt(const Schedule &ks, const uint8_t *in, uint8_t *out) { rc5_encrypt_block(ks, in, out); }
    static void decrypt(const Schedule &ks, const uint8_t *in, uint8_t *out) { rc5_decrypt_block(ks, in, out); }
    static constexpr ModeErrors kErrors{0x08020003, 0x08030003, 0x08040003, 0x08050003, 0x08060003};

    // A missing key answers 1 without recording the direction.
    static uint32_t key_schedule(BLOCK_CIPHER_UNIT *unit, const uint8_t *key, const uint8_t *iv,
                                 uint32_t direction) {
        return expand_key_or_one<Rc5>(unit, key, iv, direction, kErrKey,
                                      [](Schedule &ks, const uint8_t *k) { return rc5_set_key(&ks, k, kKeyBytes); });
    }
};
static_assert(sizeof(Rc5::Schedule) == 140);

}  // namespace

const Modes kRc5Modes = modes_of<Rc5>();

}  // namespace cipher
}  // namespace kry
