/**
 * @file kry/prng.h
 * @brief Random numbers: the general-purpose generator of FIPS 186-2
 * (appendix 3.1, change notice 1) with a hash G function (SHA-1, SHA-256,
 * SHA-384, SHA-512, HAS-160) or a block-cipher G (ARIA-128/192/256, SEED).
 * Seeds the caller does not give come from a process-wide entropy pool.
 * Functions return 0 for success, otherwise an error word (library 0x0D).
 */
#ifndef KRY_PRNG_H
#define KRY_PRNG_H

#include <stdint.h>
#include <kry/export.h>
#include <kry/bigint.h>

KRY_BEGIN_DECLS

/** A generator: XKEY, XSEED and the G function. */
typedef struct PRNG_UNIT {
    BIGINT *xkey;          /**< owned: the b-bit state */
    BIGINT *xseed;         /**< owned */
    uint32_t g_id;         /**< digest or cipher identifier of G; 0 unbound */
    void *g_state;         /**< owned: hash state record or cipher key schedule */
    uint32_t g_size;       /**< bytes of g_state wiped by clean */
    uint32_t bound;        /**< 0xFFFFFFFF once init_PRNG has started */
    BIGINT_POOL *pool;     /**< scratch pool */
    uint32_t pool_owned;   /**< 1 when init_PRNG made the pool */
} PRNG_UNIT;

/** Allocates an unseeded generator.
 *  @return the unit, or NULL; release it with free_PRNG_UNIT(). */
KRY_API PRNG_UNIT *new_PRNG_UNIT(void);
/** Seeds the generator and selects its G function.
 *  @param unit         the unit.
 *  @param g_id         G: #KRY_SHA1, #KRY_SHA256, #KRY_SHA384, #KRY_SHA512,
 *                      #KRY_HAS160, #KRY_ARIA_128, #KRY_ARIA_192,
 *                      #KRY_ARIA_256 or #KRY_SEED; proven mode refuses
 *                      the SHA-2 and HAS-160 G functions.
 *  @param xkey         XKEY bytes, or NULL to draw them from the entropy pool.
 *  @param xkey_length  20 to 64 when @p xkey is given.
 *  @param xseed        XSEED bytes, or NULL to draw them.
 *  @param xseed_length bytes at @p xseed.
 *  @param pool         a scratch pool to use (not owned), or NULL for one of
 *                      the unit's own.
 *  @return 0 or an error word (unknown G, XKEY length out of range). */
KRY_API uint32_t init_PRNG(PRNG_UNIT *unit, uint32_t g_id, const uint8_t *xkey, uint32_t xkey_length,
                           const uint8_t *xseed, uint32_t xseed_length, BIGINT_POOL *pool);
/** Draws random bytes, with the continuous test against a first,
 *  unreleased block.
 *  @param unit   a seeded unit.
 *  @param out    receives @p length bytes.
 *  @param length bytes wanted.
 *  @return 0 or an error word (generation failure, continuous test failure). */
KRY_API uint32_t get_rand(PRNG_UNIT *unit, uint8_t *out, uint32_t length);
/** Draws random bytes from a fresh SHA-1 generator seeded from the entropy pool.
 *  @param out    receives @p length bytes.
 *  @param length bytes wanted.
 *  @return 0 or an error word. */
KRY_API uint32_t RAND_BYTES(uint8_t *out, uint32_t length);
/** Wipes and releases the generator's state (and its own pool).
 *  @param unit the unit (NULL is ignored). */
KRY_API void clean_PRNG_UNIT(PRNG_UNIT *unit);
/** Cleans and frees a unit.
 *  @param unit the unit (NULL is ignored). */
KRY_API void free_PRNG_UNIT(PRNG_UNIT *unit);
/** Draws a random integer of at most @p bits bits.
 *  @param unit   a seeded unit.
 *  @param result receives the integer.
 *  @param bits   the bit length (not negative).
 *  @return 0 or an error word. */
KRY_API uint32_t get_rand_BIGINT(PRNG_UNIT *unit, BIGINT *result, int32_t bits);
/** Draws an integer with the FIPS 186-2 appendix 3.1 step reduced modulo
 *  q (as DSA's k and x); no continuous test.
 *  @param unit   a seeded unit.
 *  @param result receives the integer, below @p q.
 *  @param q      the modulus.
 *  @return 0 or an error word. */
KRY_API uint32_t get_rand_DSA_BIGINT(PRNG_UNIT *unit, BIGINT *result, const BIGINT *q);

KRY_END_DECLS

#endif /* KRY_PRNG_H */
