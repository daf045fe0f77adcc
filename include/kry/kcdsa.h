/*
 * kry - KCDSA (TTAK.KO-12.0001) signatures with HAS-160: signing,
 * verification, domain-parameter generation and key pairs.
 *
 * Functions return 0 for success, otherwise an error word.
 */
#ifndef KRY_KCDSA_H
#define KRY_KCDSA_H

#include <stdint.h>
#include <kry/export.h>
#include <kry/bigint.h>
#include <kry/digest.h>
#include <kry/prng.h>

KRY_BEGIN_DECLS

typedef struct KCDSA {
    DIGEST_UNIT *digest;      /* HAS-160 */
    PRNG_UNIT *prng;          /* random generator (HAS-160 G function) */
    BIGINT *p;                /* prime modulus */
    BIGINT *q;                /* prime order */
    BIGINT *g;                /* generator */
    BIGINT *x;                /* private key */
    BIGINT *y;                /* public key, g^(x^-1 mod q) mod p */
    BIGINT *z;                /* y mod 2^512, derived on the first update */
    BIGINT *r;                /* cofactor prime of generation, p = 2qr + 1 */
    uint32_t counter;         /* counter at which generation found q */
    uint8_t *seed;            /* generation seed + 4 counter bytes (generation only) */
    uint32_t seed_length;     /* bytes: q bits / 8 */
    uint32_t operation;       /* 1 sign, 0 verify */
    BIGINT_POOL *pool;        /* scratch pool */
} KCDSA;

KRY_API KCDSA *new_KCDSA(void);
KRY_API void clean_KCDSA(KCDSA *unit);
KRY_API void free_KCDSA(KCDSA *unit);
/* p, q and g required; y is derived from x when only x is given. */
KRY_API uint32_t set_KCDSA_params(KCDSA *unit, const BIGINT *p, const BIGINT *q, const BIGINT *g,
                                  const BIGINT *x, const BIGINT *y);
KRY_API uint32_t init_KCDSA(KCDSA *unit, uint32_t operation);
/* Each call hashes z before its piece of the message. */
KRY_API uint32_t update_KCDSA(KCDSA *unit, const uint8_t *message, uint32_t length);
KRY_API uint32_t final_KCDSA(KCDSA *unit, uint8_t *r, uint32_t *r_length, uint8_t *s, uint32_t *s_length);
KRY_API uint32_t sign_KCDSA(KCDSA *unit, uint8_t *r, uint32_t *r_length, uint8_t *s, uint32_t *s_length);
KRY_API uint32_t verify_KCDSA(KCDSA *unit, uint8_t *r, uint32_t *r_length, uint8_t *s, uint32_t *s_length);
/* p_bits 1024..2048 in steps of 256, q_bits 160..256 in steps of 32. */
KRY_API uint32_t generate_KCDSA_params(KCDSA *unit, int32_t p_bits, int32_t q_bits);
KRY_API uint32_t generate_KCDSA_key_pair(KCDSA *unit);
/* Bytes of s: ceil(bits(q) / 8); -2 when the test-mode gate fails. */
KRY_API int32_t get_KCDSA_length(KCDSA *unit);

KRY_END_DECLS

#endif /* KRY_KCDSA_H */
