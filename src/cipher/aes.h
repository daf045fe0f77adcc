// AES (FIPS 197): key expansion and single-block encryption and decryption
// for the block-cipher unit.  Internal to the library (nothing here is
// exported).
#ifndef KRY_SRC_CIPHER_AES_H
#define KRY_SRC_CIPHER_AES_H

#include <cstddef>
#include <cstdint>

namespace kry {

// The key schedule (244 bytes): up to 60 round-key words, each the
// big-endian reading of four round-key bytes, and the number of rounds
// (10, 12 or 14 for 16-, 24- and 32-byte keys).  A decryption schedule holds
// the round keys of the equivalent inverse cipher (FIPS 197 section 5.3.5):
// in reverse round order, InvMixColumns applied to all but the first and the
// last.
struct AES_SCHEDULE {
    uint32_t rk[60];
    uint32_t rounds;
};
static_assert(sizeof(AES_SCHEDULE) == 244);

// Error word of both expansions: a null key or schedule, or a key length
// other than 16, 24 or 32 bytes.
inline constexpr uint32_t kAesErrInvalidKey = 0x02010003;

// Key expansion for encryption; 0 or kAesErrInvalidKey.
uint32_t aes_set_encrypt_key(const uint8_t *key, uint32_t key_length, AES_SCHEDULE &ks);
// Key expansion for decryption: the encryption expansion (whose error it
// returns), then the round keys reversed and InvMixColumns applied to round
// keys 1 .. rounds-1.
uint32_t aes_set_decrypt_key(const uint8_t *key, uint32_t key_length, AES_SCHEDULE &ks);

// One 16-byte block under an encryption schedule; in == out is allowed.
void aes_encrypt_block(const uint8_t in[16], uint8_t out[16], const AES_SCHEDULE &ks);
// One 16-byte block under a decryption schedule; in == out is allowed.
void aes_decrypt_block(const uint8_t in[16], uint8_t out[16], const AES_SCHEDULE &ks);

// nblocks consecutive 16-byte blocks, each on its own (ECB), under an
// encryption or a decryption schedule; in == out is allowed.  With the AES
// instructions several blocks are in flight at once, which is much faster
// than a loop over the single-block functions.
void aes_encrypt_blocks(const uint8_t *in, uint8_t *out, size_t nblocks, const AES_SCHEDULE &ks);
void aes_decrypt_blocks(const uint8_t *in, uint8_t *out, size_t nblocks, const AES_SCHEDULE &ks);

// CBC encryption of nblocks whole blocks under an encryption schedule:
// block i is XORed with the chaining value (chain, then the previous
// ciphertext block) and encrypted; chain receives the last ciphertext block.
// in == out is allowed.
void aes_cbc_encrypt_blocks(const uint8_t *in, uint8_t *out, size_t nblocks, uint8_t chain[16],
                            const AES_SCHEDULE &ks);

// CBC decryption of nblocks whole blocks under a decryption schedule: block
// i is decrypted and XORed with the chaining value (chain, then the previous
// ciphertext block); chain receives the last ciphertext block.  in == out is
// allowed.
void aes_cbc_decrypt_blocks(const uint8_t *in, uint8_t *out, size_t nblocks, uint8_t chain[16],
                            const AES_SCHEDULE &ks);

// CTR over nblocks whole blocks under an encryption schedule: block i is
// XORed with the encryption of the counter, which is then incremented as a
// 128-bit big-endian number.  counter receives the counter after the last
// block and, when nblocks != 0, stream the last keystream block.  in == out
// is allowed.
void aes_ctr_blocks(const uint8_t *in, uint8_t *out, size_t nblocks, uint8_t counter[16], uint8_t stream[16],
                    const AES_SCHEDULE &ks);

// The block functions run on the processor's AES instructions when it has
// them (x86 AES-NI with SSSE3), on the table-driven rounds otherwise.  Tests
// switch the instructions off to exercise the tables on such processors.
bool aes_hardware_available();
void aes_use_hardware(bool enabled);
// The multi-block functions use the 256-bit forms of the AES instructions
// (two blocks per register) when the processor has them (VAES with AVX2)
// and the hardware is enabled; tests switch them off to exercise the
// 128-bit forms.
bool aes_wide_available();
void aes_use_wide(bool enabled);

}  // namespace kry

#endif  // KRY_SRC_CIPHER_AES_H
