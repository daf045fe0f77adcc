// Blowfish (B. Schneier, "Description of a New Variable-Length Key, 64-Bit
// Block Cipher (Blowfish)", Fast Software Encryption 1993): 16 rounds,
// big-endian 64-bit blocks.  Internal to the library.
#ifndef KRY_SRC_CIPHER_BLOWFISH_H
#define KRY_SRC_CIPHER_BLOWFISH_H

#include <cstddef>
#include <cstdint>

namespace kry {

// The P-array followed by the four S-boxes (4168 bytes).
struct BlowfishSchedule {
    uint32_t p[18];
    uint32_t s[4][256];
};

// The initial P-array and S-boxes: the fractional part of pi in hexadecimal,
// 32 bits per entry, P1 first and the last entry of S4 last.
extern const BlowfishSchedule kBlowfishPi;

constexpr uint32_t kBlowfishMaxKeyBytes = 72;  // 18 words of P; keys beyond 56 bytes are unusual

// Keys the schedule with a key of 1..72 bytes.  Returns 0, or 0x09010003 for
// a null argument or a key length out of range.
uint32_t blowfish_set_key(BlowfishSchedule *ks, const uint8_t *key, uint32_t key_length);

// One 8-byte block; in == out is allowed.
void blowfish_encrypt_block(const BlowfishSchedule &ks, const uint8_t in[8], uint8_t out[8]);
void blowfish_decrypt_block(const BlowfishSchedule &ks, const uint8_t in[8], uint8_t out[8]);

// CBC encryption of n whole blocks, chain holding the chaining value (the
// IV, then each ciphertext block); in == out is allowed.
void blowfish_cbc_encrypt_blocks(const BlowfishSchedule &ks, const uint8_t *in, uint8_t *out, size_t n,
                                 uint8_t chain[8]);

// The key expansion and the CBC function extract S-box indices with BMI1's
// BEXTR when the processor has it; tests switch that off to run the
// shift-and-mask form on such processors.
bool blowfish_bextr_available();
void blowfish_use_bextr(bool enabled);

}  // namespace kry

#endif  // KRY_SRC_CIPHER_BLOWFISH_H
