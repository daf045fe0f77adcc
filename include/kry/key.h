/**
 * @file kry/key.h
 * @brief Key pairs: the KEY record, key-pair generation, and the encoded
 * form in which key pairs leave and enter the library.
 *
 * @verbatim
 * Encoded key pair (all integers big-endian):
 *   offset 0  1 byte   number of components that follow
 *   offset 1  4 bytes  payload length L
 *   offset 5  L bytes  payload: the component list, in plain or enciphered
 * Component list, in increasing tag order, each present value once:
 *   1 byte tag, 4 bytes length n, n bytes unsigned big-endian value (minimal)
 * Tags: RSA 1 n, 2 e, 3 d, 4 p, 5 q, 6 dP, 7 dQ, 8 qInv;
 *       DSA and KCDSA 1 p, 2 q, 3 g, 4 y, 5 x.
 * With a password the payload is the component list enciphered with
 * SEED-CBC and PKCS #7 padding; key = SHA-256(password)[0..15],
 * IV = SHA-256(password)[16..31].
 * @endverbatim
 *
 * Functions return 0 for success, otherwise an error word (library 0x12).
 */
#ifndef KRY_KEY_H
#define KRY_KEY_H

#include <stdint.h>
#include <kry/export.h>

KRY_BEGIN_DECLS

#define KRY_KEY_EMPTY 0u /**< an empty record */
#define KRY_KEY_RSA   2u /**< the record holds an RSA unit */
#define KRY_KEY_DSA   3u /**< the record holds a DSA unit */
#define KRY_KEY_KCDSA 4u /**< the record holds a KCDSA unit */

/** A key record: one RSA, DSA or KCDSA unit by type. */
typedef struct KEY {
    uint32_t type;   /**< KRY_KEY_RSA, KRY_KEY_DSA, KRY_KEY_KCDSA, or 0 while empty */
    void *unit;      /**< owned: the RSA, DSA or KCDSA unit holding the values */
    uint32_t length; /**< bytes: RSA modulus; DSA/KCDSA the first component (p) */
} KEY;

/** Allocates an empty, zeroed key record.
 *  @return the record, or NULL; release it with free_KEY(). */
KRY_API KEY *new_KEY(void);
/** Cleans the unit by type and zeroes the record.
 *  @param key the record (NULL is ignored). */
KRY_API void clean_KEY(KEY *key);
/** Frees the unit by type, then the record.
 *  @param key the record (NULL is ignored). */
KRY_API void free_KEY(KEY *key);
/** Releases the RSA unit held by the record; the record stays.
 *  @param key the record.
 *  @return 0 or an error word. */
KRY_API uint32_t destroy_RSA_KEY(KEY *key);
/** Releases the DSA unit held by the record; the record stays.
 *  @param key the record.
 *  @return 0 or an error word. */
KRY_API uint32_t destroy_DSA_KEY(KEY *key);
/** Releases the KCDSA unit held by the record; the record stays.
 *  @param key the record.
 *  @return 0 or an error word. */
KRY_API uint32_t destroy_KCDSA_KEY(KEY *key);

/** Generates an RSA key pair with e = 65537 into the record.
 *  @param key  the record.
 *  @param bits the modulus length in bits.
 *  @param kind as generate_RSA_params(): 1 (mod (p-1)(q-1)) or 2 (mod lcm).
 *  @return 0 or an error word. */
KRY_API uint32_t create_RSA_KEY(KEY *key, int32_t bits, int32_t kind);
/** Generates DSA domain parameters (generate_DSA_params()) and a key pair
 *  into the record.
 *  @param key          the record.
 *  @param parameter_id the generator's G function (see generate_DSA_params()).
 *  @param p_bits       the length of p.
 *  @param seed         a 20-byte seed, or NULL.
 *  @return 0 or an error word. */
KRY_API uint32_t create_DSA_KEY(KEY *key, uint32_t parameter_id, uint32_t p_bits, const uint8_t *seed);
/** Generates KCDSA domain parameters and a key pair into the record.
 *  @param key    the record.
 *  @param p_bits 1024 to 2048 in steps of 256.
 *  @param q_bits 160 to 256 in steps of 32.
 *  @return 0 or an error word. */
KRY_API uint32_t create_KCDSA_KEY(KEY *key, int32_t p_bits, int32_t q_bits);

/** Writes the record's RSA key pair in the encoded form above.
 *  @param key      the record.
 *  @param out      receives the encoding.
 *  @param length   in: the buffer size; out: the reported length (a plain
 *                  export reports the payload length L, without the 5-byte
 *                  header; an enciphered one reports L + 5).
 *  @param password the password, or NULL for a plain export.
 *  @return 0 or an error word (e.g. buffer too small). */
KRY_API uint32_t export_RSA_KEY(KEY *key, uint8_t *out, uint32_t *length, const char *password);
/** Writes the record's DSA key pair in the encoded form above.
 *  @param key      the record.
 *  @param out      receives the encoding.
 *  @param length   in: the buffer size; out: the reported length (as export_RSA_KEY()).
 *  @param password the password, or NULL for a plain export.
 *  @return 0 or an error word. */
KRY_API uint32_t export_DSA_KEY(KEY *key, uint8_t *out, uint32_t *length, const char *password);
/** Writes the record's KCDSA key pair in the encoded form above.
 *  @param key      the record.
 *  @param out      receives the encoding.
 *  @param length   in: the buffer size; out: the reported length (as export_RSA_KEY()).
 *  @param password the password, or NULL for a plain export.
 *  @return 0 or an error word. */
KRY_API uint32_t export_KCDSA_KEY(KEY *key, uint8_t *out, uint32_t *length, const char *password);

/** Reads an encoded RSA key pair into the record.  Reads 5 + L bytes (L
 *  from the header): use KRY_KeyPairImport() for data of untrusted length.
 *  @param key      the record.
 *  @param encoded  the encoding.
 *  @param password the password, or NULL for a plain encoding.
 *  @return 0 or an error word (malformed data, wrong password). */
KRY_API uint32_t import_RSA_KEY(KEY *key, const uint8_t *encoded, const char *password);
/** Reads an encoded DSA key pair into the record (as import_RSA_KEY()).
 *  @param key      the record.
 *  @param encoded  the encoding.
 *  @param password the password, or NULL for a plain encoding.
 *  @return 0 or an error word. */
KRY_API uint32_t import_DSA_KEY(KEY *key, const uint8_t *encoded, const char *password);
/** Reads an encoded KCDSA key pair into the record (as import_RSA_KEY()).
 *  @param key      the record.
 *  @param encoded  the encoding.
 *  @param password the password, or NULL for a plain encoding.
 *  @return 0 or an error word. */
KRY_API uint32_t import_KCDSA_KEY(KEY *key, const uint8_t *encoded, const char *password);

KRY_END_DECLS

#endif /* KRY_KEY_H */
