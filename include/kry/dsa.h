/**
 * @file kry/dsa.h
 * @brief DSA (FIPS 186-2): signing and verification with any digest of the
 * library, domain parameter generation by the seed-and-counter procedure
 * (appendix 2.2) and key pair generation.  DSA is refused in proven mode.
 *
 * Signature values r and s are unsigned big-endian integers in their
 * minimal length.  verify_DSA returns 0 once its arithmetic succeeds, whether
 * or not v equals r: callers must not rely on it to reject a wrong signature.
 *
 * Functions return 0 for success, otherwise an error word (library 0x0E).
 */
#ifndef KRY_DSA_H
#define KRY_DSA_H

#include <stdint.h>
#include <kry/export.h>
#include <kry/bigint.h>
#include <kry/digest.h>
#include <kry/prng.h>

KRY_BEGIN_DECLS

#define KRY_DSA_SIGN   1u /**< operation of init_DSA: sign; any other value verifies */
#define KRY_DSA_VERIFY 0u /**< operation of init_DSA: verify */

/** A DSA unit: domain parameters, keys, digest and generator. */
typedef struct DSA {
    DIGEST_UNIT *digest_unit; /**< owned: message digest */
    PRNG_UNIT *prng;          /**< owned: random generator */
    uint8_t *seed;            /**< owned: seed kept by init_DSA, or NULL */
    uint32_t seed_length;     /**< bytes */
    BIGINT *p;                /**< owned */
    BIGINT *q;                /**< owned */
    BIGINT *g;                /**< owned */
    BIGINT *y;                /**< owned: public key */
    BIGINT *x;                /**< owned: private key */
    BIGINT_POOL *pool;        /**< owned: scratch pool */
    uint32_t operation;       /**< 1 sign, otherwise verify */
} DSA;

/** Allocates an empty DSA unit.
 *  @return the unit, or NULL; release it with free_DSA(). */
KRY_API DSA *new_DSA(void);
/** Wipes and releases the unit's values, digest, generator and pool.
 *  @param unit the unit (NULL is ignored). */
KRY_API void clean_DSA(DSA *unit);
/** Cleans and frees a unit.
 *  @param unit the unit (NULL is ignored). */
KRY_API void free_DSA(DSA *unit);
/** Loads domain parameters and keys (copies); the unit is cleaned first.
 *  @param unit the unit.
 *  @param p    the prime modulus (required).
 *  @param q    the prime divisor of p - 1 (required).
 *  @param g    the generator (required).
 *  @param y    the public key (required).
 *  @param x    the private key, or NULL for a verify-only unit.
 *  @return 0 or an error word. */
KRY_API uint32_t set_DSA_params(DSA *unit, const BIGINT *p, const BIGINT *q, const BIGINT *g, const BIGINT *y,
                                const BIGINT *x);
/** Starts a signature or a verification.  Refused in proven mode.
 *  @param unit        a unit with its parameters.
 *  @param digest_id   the message digest (#KRY_SHA1, ...).
 *  @param operation   #KRY_DSA_SIGN or #KRY_DSA_VERIFY.
 *  @param seed        seed bytes kept by the unit, or NULL.
 *  @param seed_length bytes at @p seed.
 *  @return 0; #KRY_ERR_NOT_PROVEN; an error word. */
KRY_API uint32_t init_DSA(DSA *unit, uint32_t digest_id, uint32_t operation, const uint8_t *seed,
                          uint32_t seed_length);
/** Hashes more of the message.
 *  @param unit    a unit started by init_DSA().
 *  @param message message bytes.
 *  @param length  bytes at @p message.
 *  @return 0 or an error word. */
KRY_API uint32_t update_DSA(DSA *unit, const uint8_t *message, uint32_t length);
/** Finishes: signs (sign_DSA()) or verifies (verify_DSA()) as init_DSA() said.
 *  @param unit     a unit started by init_DSA().
 *  @param r        sign: receives r; verify: r as received.
 *  @param r_length sign: receives the length of r; verify: read by value.
 *  @param s        sign: receives s; verify: s as received.
 *  @param s_length sign: receives the length of s; verify: read by value.
 *  @return 0 or an error word. */
KRY_API uint32_t final_DSA(DSA *unit, uint8_t *r, uint32_t *r_length, uint8_t *s, uint32_t *s_length);
/** Signs the message hashed so far.
 *  @param unit     a unit with a private key.
 *  @param r        receives r (minimal big-endian bytes).
 *  @param r_length receives the length of r.
 *  @param s        receives s.
 *  @param s_length receives the minimal length of s, plus one when that
 *                  length is odd.
 *  @return 0 or an error word. */
KRY_API uint32_t sign_DSA(DSA *unit, uint8_t *r, uint32_t *r_length, uint8_t *s, uint32_t *s_length);
/** Runs the verification arithmetic over the message hashed so far.  It
 *  returns 0 once the arithmetic succeeds whether or not v equals r: do not
 *  rely on it to reject a wrong signature (the context API compares v with
 *  r itself).
 *  @param unit     a unit with a public key.
 *  @param r        r as received.
 *  @param r_length bytes of r.
 *  @param s        s as received.
 *  @param s_length bytes of s.
 *  @return 0 or an error word (malformed input, failed arithmetic). */
KRY_API uint32_t verify_DSA(DSA *unit, const uint8_t *r, uint32_t r_length, const uint8_t *s, uint32_t s_length);
/** Generates domain parameters by the seed-and-counter procedure of FIPS
 *  186-2 appendix 2.2.  Can take several seconds.
 *  @param unit      receives p, q and g; NULL is allowed (the parameters are
 *                   then discarded).
 *  @param digest_id the generator's G function: a digest identifier, or
 *                   #KRY_ARIA_128 / #KRY_SEED (the search then hashes with
 *                   SHA-1).
 *  @param p_bits    the length of p: at least 512, a multiple of 64.
 *  @param seed      a 20-byte seed, or NULL to draw fresh seeds.
 *  @return 0 or an error word. */
KRY_API uint32_t generate_DSA_params(DSA *unit, uint32_t digest_id, uint32_t p_bits, const uint8_t *seed);
/** Generates a key pair (x, y = g^x mod p) for the unit's parameters.
 *  @param unit a unit with p, q and g.
 *  @return 0 or an error word. */
KRY_API uint32_t generate_DSA_key_pair(DSA *unit);

KRY_END_DECLS

#endif /* KRY_DSA_H */
