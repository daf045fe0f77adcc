/*
 * kry - RSA (RFC 8017 / PKCS #1): one key per unit, RSASSA signatures,
 * RSAES encryption and key generation.
 */
#ifndef KRY_RSA_H
#define KRY_RSA_H

#include <stdint.h>
#include <kry/export.h>
#include <kry/bigint.h>
#include <kry/digest.h>

KRY_BEGIN_DECLS

/* Signature encodings */
#define KRY_RSA_ENC_NONE        0
#define KRY_RSA_EMSA_PKCS1_V15  1
#define KRY_RSA_EMSA_PSS        2
/* Encryption encodings */
#define KRY_RSA_OAEP_V20        8
#define KRY_RSA_OAEP_V21        16
#define KRY_RSA_RSAES_PKCS1_V15 32

/* key_state bits */
#define KRY_RSA_HAS_N   1u
#define KRY_RSA_HAS_E   2u
#define KRY_RSA_HAS_D   4u
#define KRY_RSA_HAS_CRT 8u

typedef struct RSA {
    int32_t encoding;      /* signature or encryption encoding set by init */
    uint32_t key_state;    /* bit 0 n, bit 1 e, bit 2 d, bit 3 CRT values */
    DIGEST_UNIT *digest;   /* owned; made by the first init */
    BIGINT *e;
    BIGINT *d;
    BIGINT *n;
    BIGINT *p;
    BIGINT *dP;
    BIGINT *q;
    BIGINT *dQ;
    BIGINT *qInv;
    int32_t mode;          /* 0 public-key operation, 1 private-key operation */
    BIGINT_POOL *pool;     /* owned scratch pool */
    BIGINT *blinding;      /* r^e mod n */
    BIGINT *unblinding;    /* r^-1 mod n */
} RSA;

KRY_API RSA *new_RSA(void);
KRY_API void clean_RSA(RSA *rsa);
KRY_API void free_RSA(RSA *rsa);
KRY_API uint32_t set_RSA_params(RSA *rsa, const BIGINT *n, const BIGINT *e, const BIGINT *d, const BIGINT *p,
                                const BIGINT *q, const BIGINT *dP, const BIGINT *dQ, const BIGINT *qInv);
KRY_API uint32_t set_RSA_public_parmas(RSA *rsa, const BIGINT *n, const BIGINT *e);
/* Modulus length in bytes. */
KRY_API uint32_t get_RSA_length(RSA *rsa);

KRY_API uint32_t init_RSASSA(RSA *rsa, uint32_t digest_id, int32_t encoding, int32_t mode);
KRY_API uint32_t update_RSASSA(RSA *rsa, const uint8_t *data, uint32_t length);
KRY_API uint32_t final_RSASSA(RSA *rsa, uint8_t *signature, uint32_t *length);
KRY_API uint32_t sign_RSASSA(RSA *rsa, uint8_t *out, uint32_t *out_length);
KRY_API uint32_t verify_RSASSA(RSA *rsa, const uint8_t *signature, uint32_t length);

KRY_API uint32_t init_RSAES(RSA *rsa, int32_t encoding, int32_t mode, uint32_t digest_id);
KRY_API uint32_t encrypt_RSAES(RSA *rsa, uint8_t *out, uint32_t *out_length, const uint8_t *in, uint32_t in_length);
KRY_API uint32_t decrypt_RSAES(RSA *rsa, uint8_t *out, uint32_t *out_length, const uint8_t *in, uint32_t in_length);

/* kind 1: d = e^-1 mod (p-1)(q-1); kind 2: mod lcm(p-1, q-1). */
KRY_API uint32_t generate_RSA_params(RSA *rsa, const BIGINT *e, int32_t bits, int32_t kind);

/* ---- encodings ---- */
KRY_API uint32_t add_EMSA_PKCS1_v1_5_ENCODE(uint8_t *em, uint32_t em_length, const uint8_t *hash,
                                            uint32_t h, uint32_t digest_id);
KRY_API uint32_t check_EMSA_PKCS1_v1_5_ENCODE(const uint8_t *em, int32_t length, uint32_t k,
                                              const uint8_t *hash, uint32_t h, uint32_t digest_id);
KRY_API uint32_t add_RSASSA_PKCS1_PSS_ENCODE(RSA *rsa, uint8_t *em, uint32_t em_length,
                                             const uint8_t *hash, uint32_t h, int32_t salt_length,
                                             DIGEST_UNIT *unit);
KRY_API uint32_t check_RSASSA_PKCS1_PSS_ENCODE(RSA *rsa, const uint8_t *em, uint32_t length,
                                               const uint8_t *hash, uint32_t h, int32_t salt_length,
                                               DIGEST_UNIT *unit);
/* form 0 (or 8): PKCS #1 v2.0 block of k - 1 bytes; otherwise the v2.1 block of k bytes. */
KRY_API uint32_t encode_RSAES_OAEP_PADDING(RSA *rsa, const uint8_t *m, uint32_t m_length, uint8_t *em,
                                           uint32_t capacity, uint8_t *scratch, uint32_t label_length,
                                           int32_t form);
KRY_API uint32_t decode_RSAES_OAEP_PADDING(RSA *rsa, const uint8_t *em, uint32_t length, uint8_t *out,
                                           uint32_t capacity, uint8_t *scratch, uint32_t label_length,
                                           int32_t form);
KRY_API uint32_t encode_RSAES_PKCS1_PADDING(RSA *rsa, const uint8_t *m, uint32_t m_length, uint8_t *em,
                                            uint32_t k);
KRY_API uint32_t decode_RSAES_PKCS1_PADDING(RSA *rsa, const uint8_t *em, uint32_t length, uint8_t *out,
                                            uint32_t capacity);

/* ---- end of encodings ---- */

KRY_END_DECLS

#endif /* KRY_RSA_H */
