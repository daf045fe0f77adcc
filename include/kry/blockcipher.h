/*
 * kry - block ciphers: the BLOCK_CIPHER_UNIT with its modes and padding.
 *
 * A 32-bit cipher identifier names the algorithm and key size (bits 31..8),
 * the mode (bits 7..1: 0x00 ECB, 0x20 CBC, 0x40 CFB, 0x4C CFB128, 0x60 OFB,
 * 0x80 CTR) and the no-padding bit (bit 0).  Without the no-padding bit ECB
 * and CBC add PKCS #7 padding, and decryption holds back its last block until
 * final (in every mode: stream-mode callers set the no-padding bit).
 */
#ifndef KRY_BLOCKCIPHER_H
#define KRY_BLOCKCIPHER_H

#include <stdint.h>
#include <kry/export.h>

KRY_BEGIN_DECLS

/* Base identifiers (low byte clear). */
#define KRY_AES_128     0x01000100u
#define KRY_AES_192     0x01000200u
#define KRY_AES_256     0x01000300u
#define KRY_DES         0x02000100u
#define KRY_DES_EDE3    0x02000200u /* three keys, 24 bytes */
#define KRY_DES_EDE2    0x02001200u /* two keys, 16 bytes */
#define KRY_DES_EDE3_B  0x02010200u /* same cipher as KRY_DES_EDE3 */
#define KRY_ARIA_128    0x03000100u
#define KRY_ARIA_192    0x03000200u
#define KRY_ARIA_256    0x03000300u
#define KRY_SEED        0x04000100u
#define KRY_RC5         0x05000100u
#define KRY_BLOWFISH    0x06000100u
#define KRY_RC2         0x07000100u

/* Mode bytes and the no-padding bit. */
#define KRY_MODE_ECB    0x00u
#define KRY_MODE_CBC    0x20u
#define KRY_MODE_CFB    0x40u
#define KRY_MODE_CFB128 0x4Cu
#define KRY_MODE_OFB    0x60u
#define KRY_MODE_CTR    0x80u
#define KRY_NO_PADDING  0x01u

#define KRY_ENCRYPT 1u
#define KRY_DECRYPT 0u

typedef struct BLOCK_CIPHER_UNIT BLOCK_CIPHER_UNIT;

/* The algorithm's key-schedule function: (unit, key, iv, direction). */
typedef uint32_t (*BLOCK_KEY_FUNC)(BLOCK_CIPHER_UNIT *unit, const uint8_t *key, const uint8_t *iv,
                                   uint32_t direction);
/* The algorithm's function for the unit's mode: (unit, output, input, length). */
typedef uint32_t (*BLOCK_MODE_FUNC)(BLOCK_CIPHER_UNIT *unit, uint8_t *out, const uint8_t *in,
                                    uint32_t length);

struct BLOCK_CIPHER_UNIT {
    uint32_t algorithm_id;        /* base identifier; 0 after a failed set-up */
    uint32_t block_length;        /* bytes */
    uint32_t key_length;          /* bytes */
    uint32_t iv_length;           /* bytes */
    uint32_t effective_bits;      /* RC2 only: 1024 */
    uint8_t mode;                 /* 0x00, 0x20, 0x40, 0x60 or 0x80 */
    uint8_t no_padding;           /* bit 0 of the identifier */
    BLOCK_KEY_FUNC key_func;
    BLOCK_MODE_FUNC mode_func;
    uint32_t direction;           /* 1 encrypt, 0 decrypt */
    uint8_t iv[16];               /* the IV as given */
    uint8_t feedback[16];         /* chaining value, shift/output register or counter */
    uint8_t pending[32];          /* input not yet forming a whole block */
    uint8_t keystream[32];        /* CTR: the last encrypted counter */
    uint32_t pending_count;       /* bytes in pending */
    uint32_t position;            /* CFB/OFB/CTR byte position; 0: a new block is due */
    void *key_schedule;           /* owned */
    uint32_t key_schedule_size;   /* bytes */
    uint32_t hold_back;           /* decryption holds a block in held */
    uint32_t block_mask;          /* block length - 1 */
    uint8_t held[32];             /* last decrypted block, kept until final */
    uint32_t initialised;         /* 0xFFFFFFFF once init_BlockCipher has run */
    uint8_t proven;               /* statusisproven at the last init_BlockCipher */
};

KRY_API BLOCK_CIPHER_UNIT *new_BLOCK_CIPHER_UNIT(void);
KRY_API BLOCK_CIPHER_UNIT *new_BLOCK_CIPHER_UNIT_EX(uint8_t proven);
KRY_API void clean_BLOCK_CIPHER_UNIT(BLOCK_CIPHER_UNIT *unit);
KRY_API void free_BLOCK_CIPHER_UNIT(BLOCK_CIPHER_UNIT *unit);

KRY_API uint32_t init_BlockCipher(BLOCK_CIPHER_UNIT *unit, uint32_t cipher_id, const uint8_t *key,
                                  const uint8_t *iv, uint32_t direction);
KRY_API uint32_t init_BlockAlg(BLOCK_CIPHER_UNIT *unit, uint32_t cipher_id);

KRY_API uint32_t update_BlockCipher(BLOCK_CIPHER_UNIT *unit, uint8_t *out, uint32_t *out_length,
                                    const uint8_t *in, int32_t in_length);
KRY_API uint32_t final_BlockCipher(BLOCK_CIPHER_UNIT *unit, uint8_t *out, uint32_t *out_length);
KRY_API uint32_t update_Encryption(BLOCK_CIPHER_UNIT *unit, uint8_t *out, uint32_t *out_length,
                                   const uint8_t *in, int32_t in_length);
KRY_API uint32_t update_Decryption(BLOCK_CIPHER_UNIT *unit, uint8_t *out, uint32_t *out_length,
                                   const uint8_t *in, int32_t in_length);
KRY_API uint32_t final_Encryption(BLOCK_CIPHER_UNIT *unit, uint8_t *out, uint32_t *out_length);
KRY_API uint32_t final_Decryption(BLOCK_CIPHER_UNIT *unit, uint8_t *out, uint32_t *out_length);

/* One call: set up, one update, final; *out_length is the total. */
KRY_API uint32_t BlockCipher(uint32_t cipher_id, uint32_t direction, const uint8_t *key, const uint8_t *iv,
                             const uint8_t *in, int32_t in_length, uint8_t *out, uint32_t *out_length);

/* Adds 1 to a 16-byte big-endian counter block. */
KRY_API void increaseCounter(uint8_t *block);

KRY_API uint32_t get_BlockAlg_ID(const BLOCK_CIPHER_UNIT *unit);
KRY_API const char *get_BlockAlg_Name(uint32_t cipher_id);
KRY_API const char *get_ModeName(uint32_t cipher_id);
KRY_API uint32_t get_BlockLength(uint32_t cipher_id);
KRY_API uint32_t get_KeyLength(uint32_t cipher_id);
KRY_API uint32_t get_IVLength(uint32_t cipher_id);
KRY_API uint32_t get_ModeLength(const BLOCK_CIPHER_UNIT *unit);

KRY_END_DECLS

#endif /* KRY_BLOCKCIPHER_H */
