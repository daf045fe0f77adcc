/*
 * kry - random numbers: the general-purpose generator of FIPS 186-2
 * (appendix 3.1, change notice 1) with a hash G function (SHA-1, SHA-256,
 * SHA-384, SHA-512, HAS-160) or a block-cipher G (ARIA-128/192/256, SEED).
 * Seeds the caller does not give come from a process-wide entropy pool.
 */
#ifndef KRY_PRNG_H
#define KRY_PRNG_H

#include <stdint.h>
#include <kry/export.h>
#include <kry/bigint.h>

KRY_BEGIN_DECLS

typedef struct PRNG_UNIT {
    BIGINT *xkey;          /* owned: the b-bit state */
    BIGINT *xseed;         /* owned */
    uint32_t g_id;         /* digest or cipher identifier of G; 0 unbound */
    void *g_state;         /* owned: hash state record or cipher key schedule */
    uint32_t g_size;       /* bytes of g_state wiped by clean */
    uint32_t bound;        /* 0xFFFFFFFF once init_PRNG has started */
    BIGINT_POOL *pool;     /* scratch pool */
    uint32_t pool_owned;   /* 1 when init_PRNG made the pool */
} PRNG_UNIT;

KRY_API PRNG_UNIT *new_PRNG_UNIT(void);
/* xkey / xseed may be null (defaults are drawn); xkey_length 20..64. */
KRY_API uint32_t init_PRNG(PRNG_UNIT *unit, uint32_t g_id, const uint8_t *xkey, uint32_t xkey_length,
                           const uint8_t *xseed, uint32_t xseed_length, BIGINT_POOL *pool);
KRY_API uint32_t get_rand(PRNG_UNIT *unit, uint8_t *out, uint32_t length);
KRY_API uint32_t RAND_BYTES(uint8_t *out, uint32_t length);
KRY_API void clean_PRNG_UNIT(PRNG_UNIT *unit);
KRY_API void free_PRNG_UNIT(PRNG_UNIT *unit);
KRY_API uint32_t get_rand_BIGINT(PRNG_UNIT *unit, BIGINT *result, int32_t bits);
KRY_API uint32_t get_rand_DSA_BIGINT(PRNG_UNIT *unit, BIGINT *result, const BIGINT *q);

KRY_END_DECLS

#endif /* KRY_PRNG_H */
