// ARIA (KS X 1213, RFC 5794): key expansion and single-block encryption and
// decryption, used by the block-cipher unit and directly by the random
// generator.  Internal to the library (nothing here is exported).
#ifndef KRY_SRC_CIPHER_ARIA_H
#define KRY_SRC_CIPHER_ARIA_H

#include <cstddef>
#include <cstdint>

namespace kry {

// The key schedule (548 bytes): 17 encryption round keys ek1..ek17 and 17
// decryption round keys dk1..dk17 of 16 bytes each, in the standard's byte
// order, and the number of rounds (12, 14 or 16 for 16-, 24- and 32-byte
// keys).  Only the first rounds + 1 keys of each array are used; the rest
// are zero.
struct ARIA_SCHEDULE {
    uint8_t enc[17][16];
    uint8_t dec[17][16];
    uint32_t rounds;
};
static_assert(sizeof(ARIA_SCHEDULE) == 548);

// Error word of both expansions: a null key (or a key length other than 16,
// 24 or 32 bytes).
inline constexpr uint32_t kAriaErrInvalidKey = 0x06010003;

// Encryption key expansion (RFC 5794 section 2.2): fills enc and rounds.
uint32_t aria_set_encrypt_key(const uint8_t *key, uint32_t key_length, ARIA_SCHEDULE &ks);
// Decryption key expansion: the encryption expansion (whose error it
// returns), then dk1 = ek(n+1), dk(i) = A(ek(n+2-i)) for i = 2..n, and
// dk(n+1) = ek1, where A is the diffusion layer.
uint32_t aria_set_decrypt_key(const uint8_t *key, uint32_t key_length, ARIA_SCHEDULE &ks);

// One 16-byte block with the encryption round keys; in == out is allowed.
void aria_encrypt_block(const uint8_t in[16], uint8_t out[16], const ARIA_SCHEDULE &ks);
// One 16-byte block with the decryption round keys; in == out is allowed.
void aria_decrypt_block(const uint8_t in[16], uint8_t out[16], const ARIA_SCHEDULE &ks);

// nblocks consecutive 16-byte blocks, each on its own (ECB), with the
// encryption or the decryption round keys; in == out is allowed.  With the
// GFNI instructions several blocks are in flight at once.
void aria_encrypt_blocks(const uint8_t *in, uint8_t *out, size_t nblocks, const ARIA_SCHEDULE &ks);
void aria_decrypt_blocks(const uint8_t *in, uint8_t *out, size_t nblocks, const ARIA_SCHEDULE &ks);

// CBC encryption of nblocks whole blocks with the encryption round keys,
// chain holding the chaining value (the IV, then each ciphertext block in
// turn); in == out is allowed.
void aria_cbc_encrypt_blocks(const uint8_t *in, uint8_t *out, size_t nblocks, uint8_t chain[16],
                             const ARIA_SCHEDULE &ks);

// The block functions run on the processor's GFNI instructions when it has
// them (x86, with SSSE3 and SSE4.1), on the table-driven rounds otherwise.
// Tests switch the instructions off to exercise the tables on such
// processors.
bool aria_hardware_available();
void aria_use_hardware(bool enabled);

}  // namespace kry

#endif  // KRY_SRC_CIPHER_ARIA_H
