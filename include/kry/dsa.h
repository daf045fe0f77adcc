/*
 * kry - DSA (FIPS 186-2): signing and verification with any digest of the
 * library, domain parameter generation by the seed-and-counter procedure
 * (appendix 2.2) and key pair generation.  DSA is refused in proven mode.
 *
 * Signature values r and s are unsigned big-endian integers in their
 * minimal length.  verify_DSA returns 0 once its arithmetic succeeds, whether
 * or not v equals r: callers must not rely on it to reject a wrong signature.
 */
#ifndef KRY_DSA_H
#define KRY_DSA_H

#include <stdint.h>
#include <kry/export.h>
#include <kry/bigint.h>
#include <kry/digest.h>
#include <kry/prng.h>

KRY_BEGIN_DECLS

#define KRY_DSA_SIGN   1u /* operation of init_DSA: sign; any other value verifies */
#define KRY_DSA_VERIFY 0u

typedef struct DSA {
    DIGEST_UNIT *digest_unit; /* owned: message digest */
    PRNG_UNIT *prng;          /* owned: random generator */
    uint8_t *seed;            /* owned: seed kept by init_DSA, or NULL */
    uint32_t seed_length;     /* bytes */
    BIGINT *p;                /* owned */
    BIGINT *q;                /* owned */
    BIGINT *g;                /* owned */
    BIGINT *y;                /* owned: public key */
    BIGINT *x;                /* owned: private key */
    BIGINT_POOL *pool;        /* owned: scratch pool */
    uint32_t operation;       /* 1 sign, otherwise verify */
} DSA;

KRY_API DSA *new_DSA(void);
KRY_API void clean_DSA(DSA *unit);
KRY_API void free_DSA(DSA *unit);
/* p, q, g and y are required; x may be NULL.  The values are copied. */
KRY_API uint32_t set_DSA_params(DSA *unit, const BIGINT *p, const BIGINT *q, const BIGINT *g, const BIGINT *y,
                                const BIGINT *x);
KRY_API uint32_t init_DSA(DSA *unit, uint32_t digest_id, uint32_t operation, const uint8_t *seed,
                          uint32_t seed_length);
KRY_API uint32_t update_DSA(DSA *unit, const uint8_t *message, uint32_t length);
/* Sign: r and s receive the signature.  Verify: r and s are read, their
 * lengths taken by value. */
KRY_API uint32_t final_DSA(DSA *unit, uint8_t *r, uint32_t *r_length, uint8_t *s, uint32_t *s_length);
/* s_length is the minimal length of s plus one when that length is odd. */
KRY_API uint32_t sign_DSA(DSA *unit, uint8_t *r, uint32_t *r_length, uint8_t *s, uint32_t *s_length);
KRY_API uint32_t verify_DSA(DSA *unit, const uint8_t *r, uint32_t r_length, const uint8_t *s, uint32_t s_length);
/* seed: 20 bytes or NULL (fresh seeds are drawn).  A NULL unit is allowed
 * (the parameters are then discarded). */
KRY_API uint32_t generate_DSA_params(DSA *unit, uint32_t digest_id, uint32_t p_bits, const uint8_t *seed);
KRY_API uint32_t generate_DSA_key_pair(DSA *unit);

KRY_END_DECLS

#endif /* KRY_DSA_H */
