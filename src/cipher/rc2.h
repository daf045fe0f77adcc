// RC2 (RFC 2268): 64-bit blocks, variable key length and effective key
// bits.  The block-cipher unit uses 8-byte keys and 1024 effective bits.
// Internal to the library.
#ifndef KRY_SRC_CIPHER_RC2_H
#define KRY_SRC_CIPHER_RC2_H

#include <cstdint>

namespace kry {

// The expanded key K[0..63] of RFC 2268, one 16-bit word in each 32-bit
// entry (256 bytes).
struct Rc2Schedule {
    uint32_t k[64];
};

constexpr uint32_t kRc2MaxKeyBytes = 128;
constexpr uint32_t kRc2MaxEffectiveBits = 1024;

// Key expansion (RFC 2268 section 2) of a 1..128-byte key.  An
// effective_bits value of 0 or above 1024 means 1024.  Returns 0, or
// 0x29000003 for a null argument or a key length out of range.
uint32_t rc2_set_key(Rc2Schedule *ks, const uint8_t *key, uint32_t key_length, uint32_t effective_bits);

// One 8-byte block (four little-endian 16-bit words); in == out is allowed.
void rc2_encrypt_block(const Rc2Schedule &ks, const uint8_t in[8], uint8_t out[8]);
void rc2_decrypt_block(const Rc2Schedule &ks, const uint8_t in[8], uint8_t out[8]);

}  // namespace kry

#endif  // KRY_SRC_CIPHER_RC2_H
