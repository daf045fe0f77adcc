// DES core (FIPS 46-3): key schedule and single-block encryption and
// decryption.  Shared by the MDC-2 digest, the DES and DES-EDE ciphers and
// the DES-based MACs; internal to the library (nothing here is exported).
#ifndef KRY_SRC_CIPHER_DES_H
#define KRY_SRC_CIPHER_DES_H

#include <cstddef>
#include <cstdint>

namespace kry {

// Sixteen round subkeys, two words each, in the order the rounds use them
// (128 bytes).  Each subkey's 48 bits are kept as eight 6-bit groups, one per
// S-box, in the low six bits of a byte: word 0 holds the groups of S1, S3,
// S5, S7 (most significant byte first), word 1 those of S2, S4, S6, S8.
struct DesKeySchedule {
    uint32_t k[32];
};

// Order of the subkeys in a schedule.  A decryption-order schedule holds the
// same subkeys reversed, so des_encrypt_block with it decrypts: this is the
// "one block function serves both directions" model of the cipher modes.
enum class DesOrder { encrypt, decrypt };

// Builds the schedule of an 8-byte key.  Parity bits are ignored and weak
// keys are accepted.
void des_set_key(DesKeySchedule &ks, const uint8_t key[8], DesOrder order = DesOrder::encrypt);
// The same with the key as the big-endian value of its 8 bytes.
void des_set_key64(DesKeySchedule &ks, uint64_t key, DesOrder order = DesOrder::encrypt);

// One 8-byte block through the 16 rounds, subkeys taken in schedule order
// (encryption under an encryption-order schedule).  in == out is allowed.
void des_encrypt_block(const DesKeySchedule &ks, const uint8_t in[8], uint8_t out[8]);
// The same with the subkeys taken in reverse schedule order: the inverse of
// des_encrypt_block under the same schedule.  in == out is allowed.
void des_decrypt_block(const DesKeySchedule &ks, const uint8_t in[8], uint8_t out[8]);

// n blocks through des_encrypt_block (several in flight at once); in == out
// is allowed.
void des_encrypt_blocks(const DesKeySchedule &ks, const uint8_t *in, uint8_t *out, size_t n);
// CBC encryption of n blocks with des_encrypt_block: chain holds the
// chaining value and is left holding the last output block.  in == out is
// allowed.
void des_cbc_encrypt(const DesKeySchedule &ks, const uint8_t *in, uint8_t *out, size_t n, uint8_t chain[8]);

// Raw form without the initial and final permutations, for DES-EDE and
// MDC-2: des_ip turns the big-endian block words (left, right) into the
// round input L0 R0; des_crypt_words runs the 16 rounds (in reverse
// schedule order when reverse is set) and leaves the preoutput R16 L16 in
// (l, r); des_fp turns that into the output block words.  Since FP is the
// inverse of IP, passes can be chained with des_crypt_words alone:
//   des_ip(l, r); des_crypt_words(k1, l, r, false);
//   des_crypt_words(k2, l, r, true); des_crypt_words(k3, l, r, false); des_fp(l, r);
void des_ip(uint32_t &l, uint32_t &r);
void des_fp(uint32_t &l, uint32_t &r);
void des_crypt_words(const DesKeySchedule &ks, uint32_t &l, uint32_t &r, bool reverse);

// ---- DES-EDE (triple DES, encrypt-decrypt-encrypt) -------------------------

// Three DES schedules in the order the three passes use them (384 bytes).
// Each pass runs its schedule's subkeys in stored order, so the passes'
// directions are fixed when the schedule is built.
struct DesEdeKeySchedule {
    DesKeySchedule pass[3];
};

// Builds the schedule of a 16-byte (K1 K2, with K3 = K1) or 24-byte
// (K1 K2 K3) key.  direction 1: E(K1), D(K2), E(K3); direction 0: D(K3),
// E(K2), D(K1).  A key length other than 16 or 24 returns 1; any other
// direction leaves the schedule untouched; otherwise 0.
uint32_t des_ede_set_key(const uint8_t *key, uint32_t key_length, DesEdeKeySchedule &ks, uint32_t direction);

// One 8-byte block through the three passes (IP and FP once).  in == out is
// allowed.
void des_ede_block(const DesEdeKeySchedule &ks, const uint8_t in[8], uint8_t out[8]);
// The same over n blocks, and CBC encryption as des_cbc_encrypt does it.
void des_ede_blocks(const DesEdeKeySchedule &ks, const uint8_t *in, uint8_t *out, size_t n);
void des_ede_cbc_encrypt(const DesEdeKeySchedule &ks, const uint8_t *in, uint8_t *out, size_t n, uint8_t chain[8]);

}  // namespace kry

#endif  // KRY_SRC_CIPHER_DES_H
