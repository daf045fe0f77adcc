/**
 * @file kry/blockcipher.h
 * @brief Block ciphers: the BLOCK_CIPHER_UNIT with its modes and padding.
 *
 * A 32-bit cipher identifier names the algorithm and key size (bits 31..8),
 * the mode (bits 7..1: 0x00 ECB, 0x20 CBC, 0x40 CFB, 0x4C CFB128, 0x60 OFB,
 * 0x80 CTR) and the no-padding bit (bit 0).  Without the no-padding bit ECB
 * and CBC add PKCS #7 padding, and decryption holds back its last block until
 * final (in every mode: stream-mode callers set the no-padding bit).
 *
 * In proven mode every cipher but ARIA and SEED is refused with
 * #KRY_ERR_NOT_PROVEN, and so is CTR mode.  Functions return 0 for success,
 * otherwise an error word (kry/error.h).
 */
#ifndef KRY_BLOCKCIPHER_H
#define KRY_BLOCKCIPHER_H

#include <stdint.h>
#include <kry/export.h>

KRY_BEGIN_DECLS

/** @name Base identifiers (low byte clear)
 * Or one with a mode byte and, optionally, #KRY_NO_PADDING.
 * @{ */
#define KRY_AES_128     0x01000100u /**< AES-128 (FIPS 197), 16-byte key; refused in proven mode */
#define KRY_AES_192     0x01000200u /**< AES-192, 24-byte key; refused in proven mode */
#define KRY_AES_256     0x01000300u /**< AES-256, 32-byte key; refused in proven mode */
#define KRY_DES         0x02000100u /**< DES (FIPS 46-3), 8-byte key; refused in proven mode */
#define KRY_DES_EDE3    0x02000200u /**< DES-EDE, three keys, 24 bytes; refused in proven mode */
#define KRY_DES_EDE2    0x02001200u /**< DES-EDE, two keys, 16 bytes; refused in proven mode */
#define KRY_DES_EDE3_B  0x02010200u /**< same cipher as #KRY_DES_EDE3 */
#define KRY_ARIA_128    0x03000100u /**< ARIA-128 (RFC 5794), 16-byte key */
#define KRY_ARIA_192    0x03000200u /**< ARIA-192, 24-byte key */
#define KRY_ARIA_256    0x03000300u /**< ARIA-256, 32-byte key */
#define KRY_SEED        0x04000100u /**< SEED (RFC 4269), 16-byte key */
#define KRY_RC5         0x05000100u /**< RC5-32/12/16 (RFC 2040); refused in proven mode */
#define KRY_BLOWFISH    0x06000100u /**< Blowfish, 16-byte key; refused in proven mode */
#define KRY_RC2         0x07000100u /**< RC2 (RFC 2268), 1024 effective bits, no CTR; refused in proven mode */
/** @} */

/** @name Mode bytes and the no-padding bit
 * @{ */
#define KRY_MODE_ECB    0x00u /**< ECB */
#define KRY_MODE_CBC    0x20u /**< CBC */
#define KRY_MODE_CFB    0x40u /**< CFB with full-block feedback */
#define KRY_MODE_CFB128 0x4Cu /**< CFB-128 (stored in the unit as #KRY_MODE_CFB) */
#define KRY_MODE_OFB    0x60u /**< OFB */
#define KRY_MODE_CTR    0x80u /**< CTR, 16-byte big-endian counter; refused in proven mode */
#define KRY_NO_PADDING  0x01u /**< no PKCS #7 padding, no held-back block */
/** @} */

#define KRY_ENCRYPT 1u /**< direction: encrypt */
#define KRY_DECRYPT 0u /**< direction: decrypt */

/** A block-cipher unit; see struct BLOCK_CIPHER_UNIT. */
typedef struct BLOCK_CIPHER_UNIT BLOCK_CIPHER_UNIT;

/** The algorithm's key-schedule function: (unit, key, iv, direction). */
typedef uint32_t (*BLOCK_KEY_FUNC)(BLOCK_CIPHER_UNIT *unit, const uint8_t *key, const uint8_t *iv,
                                   uint32_t direction);
/** The algorithm's function for the unit's mode: (unit, output, input, length). */
typedef uint32_t (*BLOCK_MODE_FUNC)(BLOCK_CIPHER_UNIT *unit, uint8_t *out, const uint8_t *in,
                                    uint32_t length);

/** A block-cipher unit: one cipher, mode, key and direction set by
 *  init_BlockCipher(), then any number of updates and one final. */
struct BLOCK_CIPHER_UNIT {
    uint32_t algorithm_id;        /**< base identifier; 0 after a failed set-up */
    uint32_t block_length;        /**< bytes */
    uint32_t key_length;          /**< bytes */
    uint32_t iv_length;           /**< bytes */
    uint32_t effective_bits;      /**< RC2 only: 1024 */
    uint8_t mode;                 /**< 0x00, 0x20, 0x40, 0x60 or 0x80 */
    uint8_t no_padding;           /**< bit 0 of the identifier */
    BLOCK_KEY_FUNC key_func;      /**< the algorithm's key schedule */
    BLOCK_MODE_FUNC mode_func;    /**< the algorithm's function for the mode */
    uint32_t direction;           /**< 1 encrypt, 0 decrypt */
    uint8_t iv[16];               /**< the IV as given */
    uint8_t feedback[16];         /**< chaining value, shift/output register or counter */
    uint8_t pending[32];          /**< input not yet forming a whole block */
    uint8_t keystream[32];        /**< CTR: the last encrypted counter */
    uint32_t pending_count;       /**< bytes in pending */
    uint32_t position;            /**< CFB/OFB/CTR byte position; 0: a new block is due */
    void *key_schedule;           /**< owned */
    uint32_t key_schedule_size;   /**< bytes */
    uint32_t hold_back;           /**< decryption holds a block in held */
    uint32_t block_mask;          /**< block length - 1 */
    uint8_t held[32];             /**< last decrypted block, kept until final */
    uint32_t initialised;         /**< 0xFFFFFFFF once init_BlockCipher has run */
    uint8_t proven;               /**< statusisproven at the last init_BlockCipher */
};

/** Allocates a unit.  Its proven flag is taken from the toolkit's proven
 *  mode (#statusisproven) at each init_BlockCipher().
 *  @return the unit, or NULL; release it with free_BLOCK_CIPHER_UNIT(). */
KRY_API BLOCK_CIPHER_UNIT *new_BLOCK_CIPHER_UNIT(void);
/** Allocates a unit with its proven flag preset (the context API passes
 *  its proven mode); init_BlockCipher() sets the flag again from the
 *  toolkit's proven mode.
 *  @param proven the flag.
 *  @return the unit, or NULL; release it with free_BLOCK_CIPHER_UNIT(). */
KRY_API BLOCK_CIPHER_UNIT *new_BLOCK_CIPHER_UNIT_EX(uint8_t proven);
/** Wipes and releases the key schedule and the unit's buffers; the unit may
 *  be set up again.
 *  @param unit the unit (NULL is ignored). */
KRY_API void clean_BLOCK_CIPHER_UNIT(BLOCK_CIPHER_UNIT *unit);
/** Cleans and frees a unit.
 *  @param unit the unit (NULL is ignored). */
KRY_API void free_BLOCK_CIPHER_UNIT(BLOCK_CIPHER_UNIT *unit);

/** Sets the unit up: cipher, mode, padding, key schedule and IV.  A unit
 *  already set up is released first.  The unit's proven flag is set from
 *  the toolkit's proven mode: non-approved ciphers and CTR are then refused.
 *  @param unit      the unit.
 *  @param cipher_id base identifier | mode byte | optional #KRY_NO_PADDING.
 *  @param key       the key (the cipher's key length; copied into the schedule).
 *  @param iv        the IV (one block) for CBC, CFB, OFB and the initial counter
 *                   for CTR; ignored for ECB.
 *  @param direction #KRY_ENCRYPT or #KRY_DECRYPT.
 *  @return 0; #KRY_ERR_NOT_PROVEN; an error word (unknown identifier or
 *          mode, failed key schedule). */
KRY_API uint32_t init_BlockCipher(BLOCK_CIPHER_UNIT *unit, uint32_t cipher_id, const uint8_t *key,
                                  const uint8_t *iv, uint32_t direction);
/** Fills in the unit's algorithm and mode fields without a key;
 *  init_BlockCipher() calls it.
 *  @param unit      the unit.
 *  @param cipher_id base identifier | mode byte.
 *  @return 0; #KRY_ERR_NOT_PROVEN; an error word; 1 for RC2 in CTR mode. */
KRY_API uint32_t init_BlockAlg(BLOCK_CIPHER_UNIT *unit, uint32_t cipher_id);

/** Enciphers or deciphers more input, as the unit's direction says.
 *  @param unit       a unit set up by init_BlockCipher().
 *  @param out        receives the output: room for @p in_length plus one block.
 *  @param out_length receives the bytes written.
 *  @param in         the input.
 *  @param in_length  bytes at @p in.
 *  @return 0 or an error word. */
KRY_API uint32_t update_BlockCipher(BLOCK_CIPHER_UNIT *unit, uint8_t *out, uint32_t *out_length,
                                    const uint8_t *in, int32_t in_length);
/** Finishes the unit's direction: final_Encryption() or final_Decryption().
 *  @param unit       a unit set up by init_BlockCipher().
 *  @param out        receives the last bytes (up to one block).
 *  @param out_length receives the bytes written.
 *  @return 0 or an error word. */
KRY_API uint32_t final_BlockCipher(BLOCK_CIPHER_UNIT *unit, uint8_t *out, uint32_t *out_length);
/** Enciphers more input: whole blocks are written, a partial block waits.
 *  @param unit       a unit set up to encrypt.
 *  @param out        receives the ciphertext: room for @p in_length plus one block.
 *  @param out_length receives the bytes written.
 *  @param in         the plaintext.
 *  @param in_length  bytes at @p in.
 *  @return 0 or an error word. */
KRY_API uint32_t update_Encryption(BLOCK_CIPHER_UNIT *unit, uint8_t *out, uint32_t *out_length,
                                   const uint8_t *in, int32_t in_length);
/** Deciphers more input.  Without #KRY_NO_PADDING the last whole block is
 *  held back until final_Decryption().
 *  @param unit       a unit set up to decrypt.
 *  @param out        receives the plaintext: room for @p in_length plus one block.
 *  @param out_length receives the bytes written.
 *  @param in         the ciphertext.
 *  @param in_length  bytes at @p in.
 *  @return 0 or an error word. */
KRY_API uint32_t update_Decryption(BLOCK_CIPHER_UNIT *unit, uint8_t *out, uint32_t *out_length,
                                   const uint8_t *in, int32_t in_length);
/** Finishes encryption: the padded last block in ECB and CBC (none with
 *  #KRY_NO_PADDING), the pending bytes in the stream modes.
 *  @param unit       a unit set up to encrypt.
 *  @param out        receives the last bytes.
 *  @param out_length receives the bytes written.
 *  @return 0 or an error word (e.g. a partial block without padding). */
KRY_API uint32_t final_Encryption(BLOCK_CIPHER_UNIT *unit, uint8_t *out, uint32_t *out_length);
/** Finishes decryption: the held-back block with its padding checked and
 *  removed.
 *  @param unit       a unit set up to decrypt.
 *  @param out        receives the last bytes.
 *  @param out_length receives the bytes written.
 *  @return 0 or an error word (e.g. invalid padding). */
KRY_API uint32_t final_Decryption(BLOCK_CIPHER_UNIT *unit, uint8_t *out, uint32_t *out_length);

/** Enciphers or deciphers a whole message in one call: set up, one update,
 *  final.
 *  @param cipher_id  base identifier | mode byte | optional #KRY_NO_PADDING.
 *  @param direction  #KRY_ENCRYPT or #KRY_DECRYPT.
 *  @param key        the key.
 *  @param iv         the IV, or NULL for ECB.
 *  @param in         the input.
 *  @param in_length  bytes at @p in.
 *  @param out        receives the output: room for @p in_length plus one block.
 *  @param out_length receives the total written.
 *  @return 0; #KRY_ERR_NOT_PROVEN; an error word. */
KRY_API uint32_t BlockCipher(uint32_t cipher_id, uint32_t direction, const uint8_t *key, const uint8_t *iv,
                             const uint8_t *in, int32_t in_length, uint8_t *out, uint32_t *out_length);

/** Adds 1 to a 16-byte big-endian counter block.
 *  @param block the counter (NULL is ignored). */
KRY_API void increaseCounter(uint8_t *block);

/** The base identifier the unit is set up with.
 *  @param unit the unit.
 *  @return the identifier (low byte clear), 0 for NULL or after a failed set-up. */
KRY_API uint32_t get_BlockAlg_ID(const BLOCK_CIPHER_UNIT *unit);
/** The name of a cipher.
 *  @param cipher_id an identifier (the mode bits are ignored).
 *  @return a static string, or NULL for an unknown identifier. */
KRY_API const char *get_BlockAlg_Name(uint32_t cipher_id);
/** The name of the mode in an identifier.
 *  @param cipher_id an identifier with its mode byte.
 *  @return a static string, or NULL for an unknown mode. */
KRY_API const char *get_ModeName(uint32_t cipher_id);
/** The block length of a cipher.
 *  @param cipher_id an identifier.
 *  @return bytes, or 1 for an unknown identifier. */
KRY_API uint32_t get_BlockLength(uint32_t cipher_id);
/** The key length of a cipher.
 *  @param cipher_id an identifier.
 *  @return bytes, or 1 for an unknown identifier. */
KRY_API uint32_t get_KeyLength(uint32_t cipher_id);
/** The IV length of a cipher.
 *  @param cipher_id an identifier.
 *  @return bytes, or 1 for an unknown identifier. */
KRY_API uint32_t get_IVLength(uint32_t cipher_id);
/** The bytes the unit's mode processes per step: the block length for ECB,
 *  CBC, CFB, OFB and CTR; the feedback size for the CFB variants.
 *  @param unit the unit.
 *  @return bytes, 0 for NULL or an unknown mode. */
KRY_API uint32_t get_ModeLength(const BLOCK_CIPHER_UNIT *unit);

KRY_END_DECLS

#endif /* KRY_BLOCKCIPHER_H */
