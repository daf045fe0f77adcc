/**
 * @file kry/kcdsa.h
 * @brief KCDSA (TTAK.KO-12.0001) signatures with HAS-160: signing,
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

/** A KCDSA unit: domain parameters, keys, HAS-160 and generator. */
typedef struct KCDSA {
    DIGEST_UNIT *digest;      /**< HAS-160 */
    PRNG_UNIT *prng;          /**< random generator (HAS-160 G function) */
    BIGINT *p;                /**< prime modulus */
    BIGINT *q;                /**< prime order */
    BIGINT *g;                /**< generator */
    BIGINT *x;                /**< private key */
    BIGINT *y;                /**< public key, g^(x^-1 mod q) mod p */
    BIGINT *z;                /**< y mod 2^512, derived on the first update */
    BIGINT *r;                /**< cofactor prime of generation, p = 2qr + 1 */
    uint32_t counter;         /**< counter at which generation found q */
    uint8_t *seed;            /**< generation seed + 4 counter bytes (generation only) */
    uint32_t seed_length;     /**< bytes: q bits / 8 */
    uint32_t operation;       /**< 1 sign, 0 verify */
    BIGINT_POOL *pool;        /**< scratch pool */
} KCDSA;

/** Allocates an empty KCDSA unit with its pool and generator.
 *  @return the unit, or NULL; release it with free_KCDSA(). */
KRY_API KCDSA *new_KCDSA(void);
/** Wipes and releases the unit's values, digest, generator, pool and seed.
 *  @param unit the unit (NULL is ignored). */
KRY_API void clean_KCDSA(KCDSA *unit);
/** Cleans and frees a unit.
 *  @param unit the unit (NULL is ignored). */
KRY_API void free_KCDSA(KCDSA *unit);
/** Loads domain parameters and keys (copies).
 *  @param unit the unit.
 *  @param p    the prime modulus (required).
 *  @param q    the prime order (required).
 *  @param g    the generator (required).
 *  @param x    the private key, or NULL.
 *  @param y    the public key, or NULL to derive it from @p x.
 *  @return 0 or an error word. */
KRY_API uint32_t set_KCDSA_params(KCDSA *unit, const BIGINT *p, const BIGINT *q, const BIGINT *g,
                                  const BIGINT *x, const BIGINT *y);
/** Starts a signature or a verification (HAS-160, which proven mode refuses).
 *  @param unit      a unit with its parameters.
 *  @param operation 1 to sign, 0 to verify.
 *  @return 0 or an error word. */
KRY_API uint32_t init_KCDSA(KCDSA *unit, uint32_t operation);
/** Hashes more of the message.  Each call hashes z (y mod 2^512) before
 *  its piece of the message, so a message split into several calls signs
 *  differently from the same message in one call.
 *  @param unit    a unit started by init_KCDSA().
 *  @param message message bytes.
 *  @param length  bytes at @p message.
 *  @return 0 or an error word. */
KRY_API uint32_t update_KCDSA(KCDSA *unit, const uint8_t *message, uint32_t length);
/** Finishes: signs (sign_KCDSA()) or verifies (verify_KCDSA()) as
 *  init_KCDSA() said.
 *  @param unit     a unit started by init_KCDSA().
 *  @param r        sign: receives r; verify: r as received.
 *  @param r_length the length of r (written when signing).
 *  @param s        sign: receives s; verify: s as received.
 *  @param s_length the length of s (written when signing).
 *  @return 0 or an error word. */
KRY_API uint32_t final_KCDSA(KCDSA *unit, uint8_t *r, uint32_t *r_length, uint8_t *s, uint32_t *s_length);
/** Signs the message hashed so far.
 *  @param unit     a unit with a private key.
 *  @param r        receives r (20 bytes, a HAS-160 value).
 *  @param r_length receives the length of r.
 *  @param s        receives s (get_KCDSA_length() bytes).
 *  @param s_length receives the length of s.
 *  @return 0 or an error word. */
KRY_API uint32_t sign_KCDSA(KCDSA *unit, uint8_t *r, uint32_t *r_length, uint8_t *s, uint32_t *s_length);
/** Verifies a signature over the message hashed so far.
 *  @param unit     a unit with a public key.
 *  @param r        r as received.
 *  @param r_length points to the length of r (must be 20).
 *  @param s        s as received.
 *  @param s_length points to the length of s.
 *  @return 0 when the signature verifies, otherwise an error word. */
KRY_API uint32_t verify_KCDSA(KCDSA *unit, uint8_t *r, uint32_t *r_length, uint8_t *s, uint32_t *s_length);
/** Generates domain parameters.  Can take several seconds.
 *  @param unit   receives p, q, g, the cofactor prime, seed and counter.
 *  @param p_bits 1024 to 2048 in steps of 256.
 *  @param q_bits 160 to 256 in steps of 32.
 *  @return 0 or an error word. */
KRY_API uint32_t generate_KCDSA_params(KCDSA *unit, int32_t p_bits, int32_t q_bits);
/** Generates a key pair: x at random below q, y = g^(x^-1 mod q) mod p.
 *  @param unit a unit with p, q and g.
 *  @return 0 or an error word. */
KRY_API uint32_t generate_KCDSA_key_pair(KCDSA *unit);
/** The length of s.
 *  @param unit a unit with q.
 *  @return ceil(bits(q) / 8) bytes; -2 when the test-mode gate fails. */
KRY_API int32_t get_KCDSA_length(KCDSA *unit);

KRY_END_DECLS

#endif /* KRY_KCDSA_H */
