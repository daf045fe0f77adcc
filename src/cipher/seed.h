// SEED (RFC 4269): key expansion and single-block encryption and decryption.
// Used by the SEED cipher of the block-cipher unit and by the random
// generator's block-cipher G function; internal to the library.
#ifndef KRY_SRC_CIPHER_SEED_H
#define KRY_SRC_CIPHER_SEED_H

#include <cstdint>

namespace kry {

// The 32 round-key words Ki,0 Ki,1 of rounds 1..16 (128 bytes).  One
// schedule serves both directions: decryption takes the round keys in
// reverse order.
struct SEED_SCHEDULE {
    uint32_t k[32];
};

// Expands a 16-byte key (read as four big-endian words).  Cannot fail.
void seed_set_key(const uint8_t key[16], SEED_SCHEDULE &ks);

// One 16-byte block; in == out is allowed.
void seed_encrypt_block(const uint8_t in[16], uint8_t out[16], const SEED_SCHEDULE &ks);
void seed_decrypt_block(const uint8_t in[16], uint8_t out[16], const SEED_SCHEDULE &ks);

}  // namespace kry

#endif  // KRY_SRC_CIPHER_SEED_H
