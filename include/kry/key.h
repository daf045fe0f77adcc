/*
 * kry - key pairs: the KEY record, key-pair generation, and the encoded
 * form in which key pairs leave and enter the library.
 *
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
 *
 * Functions return 0 for success, otherwise an error word.
 */
#ifndef KRY_KEY_H
#define KRY_KEY_H

#include <stdint.h>
#include <kry/export.h>

KRY_BEGIN_DECLS

#define KRY_KEY_EMPTY 0u
#define KRY_KEY_RSA   2u
#define KRY_KEY_DSA   3u
#define KRY_KEY_KCDSA 4u

typedef struct KEY {
    uint32_t type;   /* KRY_KEY_RSA, KRY_KEY_DSA, KRY_KEY_KCDSA, or 0 while empty */
    void *unit;      /* owned: the RSA, DSA or KCDSA unit holding the values */
    uint32_t length; /* bytes: RSA modulus; DSA/KCDSA the first component (p) */
} KEY;

KRY_API KEY *new_KEY(void);
/* Cleans the unit by type and zeroes the record. */
KRY_API void clean_KEY(KEY *key);
/* Frees the unit by type, then the record.  NULL is ignored. */
KRY_API void free_KEY(KEY *key);
/* Release the unit held by the record. */
KRY_API uint32_t destroy_RSA_KEY(KEY *key);
KRY_API uint32_t destroy_DSA_KEY(KEY *key);
KRY_API uint32_t destroy_KCDSA_KEY(KEY *key);

/* RSA key pair with e = 65537; kind as generate_RSA_params. */
KRY_API uint32_t create_RSA_KEY(KEY *key, int32_t bits, int32_t kind);
/* DSA domain parameters (generate_DSA_params with parameter_id, p_bits and
 * seed, which may be NULL) and a key pair. */
KRY_API uint32_t create_DSA_KEY(KEY *key, uint32_t parameter_id, uint32_t p_bits, const uint8_t *seed);
/* KCDSA domain parameters of p_bits / q_bits and a key pair. */
KRY_API uint32_t create_KCDSA_KEY(KEY *key, int32_t p_bits, int32_t q_bits);

/* *length: in, the buffer size; out, the reported length (a plain export
 * reports the payload length L, without the 5-byte header; an enciphered
 * one reports L + 5).  password may be NULL (plain export). */
KRY_API uint32_t export_RSA_KEY(KEY *key, uint8_t *out, uint32_t *length, const char *password);
KRY_API uint32_t export_DSA_KEY(KEY *key, uint8_t *out, uint32_t *length, const char *password);
KRY_API uint32_t export_KCDSA_KEY(KEY *key, uint8_t *out, uint32_t *length, const char *password);

/* Reads 5 + L bytes of encoded (L from its header).  password may be NULL. */
KRY_API uint32_t import_RSA_KEY(KEY *key, const uint8_t *encoded, const char *password);
KRY_API uint32_t import_DSA_KEY(KEY *key, const uint8_t *encoded, const char *password);
KRY_API uint32_t import_KCDSA_KEY(KEY *key, const uint8_t *encoded, const char *password);

KRY_END_DECLS

#endif /* KRY_KEY_H */
