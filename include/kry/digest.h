/**
 * @file kry/digest.h
 * @brief Message digests: the DIGEST_UNIT, one-shot Digest() and the
 * per-algorithm entries.
 *
 * A DIGEST_UNIT binds one algorithm by identifier (init_Digest), hashes any
 * number of update_Digest calls and returns the digest with final_Digest,
 * which leaves the unit ready for the next message.  Digest() does all of it
 * in one call.  The per-algorithm init/update/final entries and their state
 * records are public too; the records' layouts are part of the interface.
 *
 * In proven mode SHA-224, MD5 and MDC-2 are refused with #KRY_ERR_NOT_PROVEN.
 * Functions return 0 for success, otherwise an error word (kry/error.h).
 */
#ifndef KRY_DIGEST_H
#define KRY_DIGEST_H

#include <stdint.h>
#include <kry/export.h>

KRY_BEGIN_DECLS

/** @name Digest identifiers
 * @{ */
#define KRY_SHA1   0x05000100u /**< SHA-1 (FIPS 180-2), 20 bytes */
#define KRY_SHA224 0x05000200u /**< SHA-224 (FIPS 180-2 change notice), 28 bytes; refused in proven mode */
#define KRY_SHA256 0x05000300u /**< SHA-256 (FIPS 180-2), 32 bytes */
#define KRY_SHA384 0x05000400u /**< SHA-384 (FIPS 180-2), 48 bytes */
#define KRY_SHA512 0x05000500u /**< SHA-512 (FIPS 180-2), 64 bytes */
#define KRY_MD5    0x06000100u /**< MD5 (RFC 1321), 16 bytes; refused in proven mode */
#define KRY_HAS160 0x07000100u /**< HAS-160 (TTAS.KO-12.0011), 20 bytes */
#define KRY_MDC2   0x08000100u /**< MDC-2 with DES (ISO/IEC 10118-2), 16 bytes; refused in proven mode */
/** @} */

/** The longest digest, in bytes (SHA-512): a buffer this size fits any digest. */
#define KRY_MAX_DIGEST_LENGTH 64

/* ---- State records ------------------------------------------------------ */

/** SHA-1 state (FIPS 180-2). */
typedef struct SHA1_STATE {
    uint64_t bit_count;     /**< message bits compressed so far */
    uint32_t block_fill;    /**< bytes in block (final only) */
    uint32_t h[5];          /**< chaining value H0..H4 */
    uint8_t block[64];      /**< last block and padding (final only) */
    uint8_t staging[64];    /**< bytes gathered by update */
    uint8_t staging_fill;   /**< bytes in staging, modulo 256 */
} SHA1_STATE;

/** SHA-224 and SHA-256 state (FIPS 180-2). */
typedef struct SHA256_STATE {
    uint64_t bit_count; /**< message bits compressed so far */
    uint32_t block_fill; /**< bytes in block (final only) */
    uint32_t h[8];          /**< chaining value H0..H7 */
    uint8_t block[64]; /**< last block and padding (final only) */
    uint8_t staging[64]; /**< bytes gathered by update */
    uint8_t staging_fill; /**< bytes in staging, modulo 256 */
} SHA256_STATE;

/** SHA-384 and SHA-512 state (FIPS 180-2).  Each chaining word is a native 64-bit
 * word: on the little-endian targets kry supports its low 32-bit half comes
 * first in memory. */
typedef struct SHA512_STATE {
    uint64_t bit_count; /**< message bits compressed so far */
    uint32_t block_fill;    /**< bytes in block (0 to 128) */
    uint64_t h[8];          /**< chaining value H0..H7 */
    uint8_t block[128]; /**< last block and padding (final only) */
    uint8_t staging[128]; /**< bytes gathered by update */
    uint8_t staging_fill; /**< bytes in staging, modulo 256 */
} SHA512_STATE;

/** MD5 state (RFC 1321). */
typedef struct MD5_STATE {
    uint8_t block[64];      /**< final only */
    uint64_t bit_count; /**< message bits compressed so far */
    uint32_t block_fill; /**< bytes in block (final only) */
    uint32_t abcd[4];       /**< chaining value A, B, C, D */
    uint8_t staging[64]; /**< bytes gathered by update */
    uint8_t staging_fill; /**< bytes in staging, modulo 256 */
} MD5_STATE;

/** HAS-160 state (TTAS.KO-12.0011).  The buffered byte count is
 * (count_low / 8) mod 64; there is no carry from count_low into count_high. */
typedef struct HAS160_STATE {
    uint32_t h[5]; /**< chaining value H0..H4 */
    uint32_t count_low;     /**< bit count, low word */
    uint32_t count_high;    /**< bit count, high word */
    uint8_t block[64]; /**< last block and padding (final only) */
} HAS160_STATE;

/** MDC-2 state (ISO/IEC 10118-2, with DES). */
typedef struct MDC2_STATE {
    uint32_t num;           /**< bytes in data (0 to 7) */
    uint8_t data[8]; /**< bytes of the partial block */
    uint8_t h[8];           /**< first half of the chaining value */
    uint8_t hh[8];          /**< second half */
    uint32_t pad_type;      /**< 1: zero-fill a partial block (default); 2: 0x80 then zeros, always */
} MDC2_STATE;

/* ---- Digest unit -------------------------------------------------------- */

/** An algorithm's init entry, on its state record. */
typedef uint32_t (*DIGEST_INIT_FUNC)(void *state);
/** An algorithm's update entry. */
typedef uint32_t (*DIGEST_UPDATE_FUNC)(void *state, const uint8_t *data, uint32_t length);
/** An algorithm's final entry: writes the digest. */
typedef uint32_t (*DIGEST_FINAL_FUNC)(void *state, uint8_t *out);

/** A digest unit: one algorithm bound by init_Digest(), hashing message
 *  after message. */
typedef struct DIGEST_UNIT {
    uint32_t algorithm_id;      /**< 0 when unbound */
    uint32_t block_length;      /**< bytes */
    uint32_t digest_length;     /**< bytes */
    void *state;                /**< owned; NULL when unbound */
    uint32_t state_size;        /**< bytes */
    DIGEST_INIT_FUNC init;      /**< the algorithm's init entry */
    DIGEST_UPDATE_FUNC update;  /**< the algorithm's update entry */
    DIGEST_FINAL_FUNC final;    /**< the algorithm's final entry */
    uint32_t bound;             /**< 0xFFFFFFFF once init_Digest bound the unit */
    uint8_t proven;             /**< from new_DIGEST_UNIT_EX */
    uint8_t reserved[3];        /**< always zero */
} DIGEST_UNIT;

/** Allocates an unbound digest unit.
 *  @return the unit, or NULL; release it with free_DIGEST_UNIT(). */
KRY_API DIGEST_UNIT *new_DIGEST_UNIT(void);
/** Allocates an unbound digest unit with a proven flag; a unit made with a
 *  nonzero flag refuses MDC-2.
 *  @param proven the flag (the context API passes its proven mode).
 *  @return the unit, or NULL; release it with free_DIGEST_UNIT(). */
KRY_API DIGEST_UNIT *new_DIGEST_UNIT_EX(uint8_t proven);
/** Releases the unit's state and unbinds it; the unit may be bound again.
 *  @param unit the unit (NULL is ignored). */
KRY_API void clean_DIGEST_UNIT(DIGEST_UNIT *unit);
/** Cleans and frees a unit.
 *  @param unit the unit (NULL is ignored). */
KRY_API void free_DIGEST_UNIT(DIGEST_UNIT *unit);
/** Binds the unit to an algorithm and starts a message.  A unit already
 *  bound is released first.
 *  @param unit         the unit.
 *  @param algorithm_id a digest identifier (#KRY_SHA256, ...).
 *  @return 0; #KRY_ERR_NOT_PROVEN for an algorithm refused in proven mode;
 *          an error word of the digest library (0x0A) for a null unit, an
 *          unknown identifier or a failed allocation. */
KRY_API uint32_t init_Digest(DIGEST_UNIT *unit, uint32_t algorithm_id);
/** Fills in the unit's algorithm fields (lengths and entries) without
 *  allocating a state; init_Digest() calls it.
 *  @param unit         the unit.
 *  @param algorithm_id a digest identifier.
 *  @return 0; #KRY_ERR_NOT_PROVEN; an error word for an unknown identifier. */
KRY_API uint32_t init_DigestAlg(DIGEST_UNIT *unit, uint32_t algorithm_id);
/** Hashes more of the message.
 *  @param unit   a bound unit.
 *  @param data   message bytes (not NULL, even for a length of 0).
 *  @param length bytes at @p data.
 *  @return 0 or an error word. */
KRY_API uint32_t update_Digest(DIGEST_UNIT *unit, const uint8_t *data, uint32_t length);
/** Writes the digest and leaves the unit ready for the next message under
 *  the same algorithm.
 *  @param unit       a bound unit.
 *  @param out        receives the digest (see #KRY_MAX_DIGEST_LENGTH).
 *  @param out_length receives the digest length; may be NULL.
 *  @return 0 or an error word. */
KRY_API uint32_t final_Digest(DIGEST_UNIT *unit, uint8_t *out, uint32_t *out_length);
/** Hashes a whole message in one call.
 *  @param algorithm_id a digest identifier.
 *  @param data         the message (not NULL).
 *  @param length       bytes at @p data.
 *  @param out          receives the digest.
 *  @param out_length   receives the digest length; may be NULL.
 *  @return 0; #KRY_ERR_NOT_PROVEN; an error word. */
KRY_API uint32_t Digest(uint32_t algorithm_id, const uint8_t *data, uint32_t length,
                        uint8_t *out, uint32_t *out_length);
/** The identifier the unit is bound to.
 *  @param unit the unit.
 *  @return the identifier, 0 for an unbound or NULL unit, #KRY_ERR_TEST_FAIL
 *          when the test-mode gate fails. */
KRY_API uint32_t get_DigestAlg_ID(const DIGEST_UNIT *unit);
/** The name of a digest ("SHA256", "HAS160", ...).
 *  @param algorithm_id a digest identifier.
 *  @return a static string, or NULL for an unknown identifier. */
KRY_API const char *get_DigestAlg_Name(uint32_t algorithm_id);
/** Looks a digest up by name, in any case ("sha256", "HAS160").
 *  @param name the name (at most 16 characters are compared).
 *  @return the identifier, or 0xFFFFFFFF when no digest has that name. */
KRY_API uint32_t get_DigestAlg_ID_by_Name(const char *name);
/** The digest length of an algorithm.
 *  @param algorithm_id a digest identifier.
 *  @return bytes, or 0 for an unknown identifier. */
KRY_API uint32_t get_DigestLength(uint32_t algorithm_id);

/* ---- Algorithm entries -------------------------------------------------- */
/* Direct entries on a caller-owned state record: init, any number of
 * updates, final.  Each returns 0 or an error word of its library. */

/** Starts a SHA-1 message.
 *  @param state the state record.
 *  @return 0 or an error word. */
KRY_API uint32_t init_SHA1(SHA1_STATE *state);
/** Hashes more of a SHA-1 message.
 *  @param state  a state started by init_SHA1().
 *  @param data   message bytes.
 *  @param length bytes at @p data.
 *  @return 0 or an error word. */
KRY_API uint32_t update_SHA1(SHA1_STATE *state, const uint8_t *data, uint32_t length);
/** Finishes a SHA-1 message.
 *  @param state a state started by init_SHA1().
 *  @param out   receives the 20-byte digest.
 *  @return 0 or an error word. */
KRY_API uint32_t final_SHA1(SHA1_STATE *state, uint8_t *out);

/** Starts a SHA-224 message.
 *  @param state the state record.
 *  @return 0 or an error word. */
KRY_API uint32_t init_SHA224(SHA256_STATE *state);
/** Hashes more of a SHA-224 message.
 *  @param state  a state started by init_SHA224().
 *  @param data   message bytes.
 *  @param length bytes at @p data.
 *  @return 0 or an error word. */
KRY_API uint32_t update_SHA224(SHA256_STATE *state, const uint8_t *data, uint32_t length);
/** Finishes a SHA-224 message.
 *  @param state a state started by init_SHA224().
 *  @param out   receives the 28-byte digest.
 *  @return 0 or an error word. */
KRY_API uint32_t final_SHA224(SHA256_STATE *state, uint8_t *out);

/** Starts a SHA-256 message.
 *  @param state the state record.
 *  @return 0 or an error word. */
KRY_API uint32_t init_SHA256(SHA256_STATE *state);
/** Hashes more of a SHA-256 message.
 *  @param state  a state started by init_SHA256().
 *  @param data   message bytes.
 *  @param length bytes at @p data.
 *  @return 0 or an error word. */
KRY_API uint32_t update_SHA256(SHA256_STATE *state, const uint8_t *data, uint32_t length);
/** Finishes a SHA-256 message.
 *  @param state a state started by init_SHA256().
 *  @param out   receives the 32-byte digest.
 *  @return 0 or an error word. */
KRY_API uint32_t final_SHA256(SHA256_STATE *state, uint8_t *out);

/** Starts a SHA-384 message.
 *  @param state the state record.
 *  @return 0 or an error word. */
KRY_API uint32_t init_SHA384(SHA512_STATE *state);
/** Hashes more of a SHA-384 message.
 *  @param state  a state started by init_SHA384().
 *  @param data   message bytes.
 *  @param length bytes at @p data.
 *  @return 0 or an error word. */
KRY_API uint32_t update_SHA384(SHA512_STATE *state, const uint8_t *data, uint32_t length);
/** Finishes a SHA-384 message.
 *  @param state a state started by init_SHA384().
 *  @param out   receives the 48-byte digest.
 *  @return 0 or an error word. */
KRY_API uint32_t final_SHA384(SHA512_STATE *state, uint8_t *out);

/** Starts a SHA-512 message.
 *  @param state the state record.
 *  @return 0 or an error word. */
KRY_API uint32_t init_SHA512(SHA512_STATE *state);
/** Hashes more of a SHA-512 message.
 *  @param state  a state started by init_SHA512().
 *  @param data   message bytes.
 *  @param length bytes at @p data.
 *  @return 0 or an error word. */
KRY_API uint32_t update_SHA512(SHA512_STATE *state, const uint8_t *data, uint32_t length);
/** Finishes a SHA-512 message.
 *  @param state a state started by init_SHA512().
 *  @param out   receives the 64-byte digest.
 *  @return 0 or an error word. */
KRY_API uint32_t final_SHA512(SHA512_STATE *state, uint8_t *out);

/** Starts a MD5 message.
 *  @param state the state record.
 *  @return 0 or an error word. */
KRY_API uint32_t init_MD5(MD5_STATE *state);
/** Hashes more of a MD5 message.
 *  @param state  a state started by init_MD5().
 *  @param data   message bytes.
 *  @param length bytes at @p data.
 *  @return 0 or an error word. */
KRY_API uint32_t update_MD5(MD5_STATE *state, const uint8_t *data, uint32_t length);
/** Finishes a MD5 message.
 *  @param state a state started by init_MD5().
 *  @param out   receives the 16-byte digest.
 *  @return 0 or an error word. */
KRY_API uint32_t final_MD5(MD5_STATE *state, uint8_t *out);

/** Starts a HAS-160 message.
 *  @param state the state record.
 *  @return 0 or an error word. */
KRY_API uint32_t init_HAS160(HAS160_STATE *state);
/** Hashes more of a HAS-160 message.
 *  @param state  a state started by init_HAS160().
 *  @param data   message bytes.
 *  @param length bytes at @p data.
 *  @return 0 or an error word. */
KRY_API uint32_t update_HAS160(HAS160_STATE *state, const uint8_t *data, uint32_t length);
/** Finishes a HAS-160 message.
 *  @param state a state started by init_HAS160().
 *  @param out   receives the 20-byte digest.
 *  @return 0 or an error word. */
KRY_API uint32_t final_HAS160(HAS160_STATE *state, uint8_t *out);

/** Starts a MDC-2 message.
 *  @param state the state record.
 *  @return 0 or an error word. */
KRY_API uint32_t init_MDC2(MDC2_STATE *state);
/** Hashes more of a MDC-2 message.
 *  @param state  a state started by init_MDC2().
 *  @param data   message bytes.
 *  @param length bytes at @p data.
 *  @return 0 or an error word. */
KRY_API uint32_t update_MDC2(MDC2_STATE *state, const uint8_t *data, uint32_t length);
/** Finishes a MDC-2 message. The state is not cleared.
 *  @param state a state started by init_MDC2().
 *  @param out   receives the 16-byte digest.
 *  @return 0 or an error word. */
KRY_API uint32_t final_MDC2(MDC2_STATE *state, uint8_t *out);

KRY_END_DECLS

#endif /* KRY_DIGEST_H */
