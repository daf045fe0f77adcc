// RC5-32/12/16 (R. Rivest, "The RC5 Encryption Algorithm", 1994; RFC 2040):
// 32-bit words, 12 rounds, used with 16-byte keys.  Internal to the library.
#ifndef KRY_SRC_CIPHER_RC5_H
#define KRY_SRC_CIPHER_RC5_H

#include <cstdint>

namespace kry {

constexpr uint32_t kRc5Rounds = 12;
constexpr uint32_t kRc5MaxWords = 34;  // room for 16 rounds: 2 * (16 + 1)

// The expanded key table S (2 * (rounds + 1) words used) followed by the
// number of rounds (140 bytes).
struct Rc5Schedule {
    uint32_t s[kRc5MaxWords];
    uint32_t rounds;
};

// Expands a key of 0 to 255 bytes for 12 rounds (RFC 2040 section 4).
// Returns 0, or 0x08010002 for a null argument or a longer key.
uint32_t rc5_set_key(Rc5Schedule *ks, const uint8_t *key, uint32_t key_length);

// One 8-byte block (two little-endian words); in == out is allowed.
void rc5_encrypt_block(const Rc5Schedule &ks, const uint8_t in[8], uint8_t out[8]);
void rc5_decrypt_block(const Rc5Schedule &ks, const uint8_t in[8], uint8_t out[8]);

}  // namespace kry

#endif  // KRY_SRC_CIPHER_RC5_H
