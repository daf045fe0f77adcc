/*
 * kry - message digests.
 *
 * A DIGEST_UNIT binds one algorithm by identifier (init_Digest), hashes any
 * number of update_Digest calls and returns the digest with final_Digest,
 * which leaves the unit ready for the next message.  Digest() does all of it
 * in one call.  The per-algorithm init/update/final entries and their state
 * records are public too; the records' layouts are part of the interface.
 */
#ifndef KRY_DIGEST_H
#define KRY_DIGEST_H

#include <stdint.h>
#include <kry/export.h>

KRY_BEGIN_DECLS

/* Digest identifiers. */
#define KRY_SHA1   0x05000100u
#define KRY_SHA224 0x05000200u
#define KRY_SHA256 0x05000300u
#define KRY_SHA384 0x05000400u
#define KRY_SHA512 0x05000500u
#define KRY_MD5    0x06000100u
#define KRY_HAS160 0x07000100u
#define KRY_MDC2   0x08000100u

#define KRY_MAX_DIGEST_LENGTH 64

/* ---- State records ------------------------------------------------------ */

/* SHA-1 (FIPS 180-2). */
typedef struct SHA1_STATE {
    uint64_t bit_count;     /* message bits compressed so far */
    uint32_t block_fill;    /* bytes in block (final only) */
    uint32_t h[5];          /* chaining value H0..H4 */
    uint8_t block[64];      /* last block and padding (final only) */
    uint8_t staging[64];    /* bytes gathered by update */
    uint8_t staging_fill;   /* bytes in staging, modulo 256 */
} SHA1_STATE;

/* SHA-224 and SHA-256 (FIPS 180-2). */
typedef struct SHA256_STATE {
    uint64_t bit_count;
    uint32_t block_fill;
    uint32_t h[8];          /* chaining value H0..H7 */
    uint8_t block[64];
    uint8_t staging[64];
    uint8_t staging_fill;
} SHA256_STATE;

/* SHA-384 and SHA-512 (FIPS 180-2).  Each chaining word is a native 64-bit
 * word: on the little-endian targets kry supports its low 32-bit half comes
 * first in memory. */
typedef struct SHA512_STATE {
    uint64_t bit_count;
    uint32_t block_fill;    /* bytes in block (0 to 128) */
    uint64_t h[8];          /* chaining value H0..H7 */
    uint8_t block[128];
    uint8_t staging[128];
    uint8_t staging_fill;
} SHA512_STATE;

/* MD5 (RFC 1321). */
typedef struct MD5_STATE {
    uint8_t block[64];      /* final only */
    uint64_t bit_count;
    uint32_t block_fill;
    uint32_t abcd[4];       /* chaining value A, B, C, D */
    uint8_t staging[64];
    uint8_t staging_fill;
} MD5_STATE;

/* HAS-160 (TTAS.KO-12.0011).  The buffered byte count is
 * (count_low / 8) mod 64; there is no carry from count_low into count_high. */
typedef struct HAS160_STATE {
    uint32_t h[5];
    uint32_t count_low;     /* bit count, low word */
    uint32_t count_high;    /* bit count, high word */
    uint8_t block[64];
} HAS160_STATE;

/* MDC-2 with DES (ISO/IEC 10118-2). */
typedef struct MDC2_STATE {
    uint32_t num;           /* bytes in data (0 to 7) */
    uint8_t data[8];
    uint8_t h[8];           /* first half of the chaining value */
    uint8_t hh[8];          /* second half */
    uint32_t pad_type;      /* 1: zero-fill a partial block (default); 2: 0x80 then zeros, always */
} MDC2_STATE;

/* ---- Digest unit -------------------------------------------------------- */

typedef uint32_t (*DIGEST_INIT_FUNC)(void *state);
typedef uint32_t (*DIGEST_UPDATE_FUNC)(void *state, const uint8_t *data, uint32_t length);
typedef uint32_t (*DIGEST_FINAL_FUNC)(void *state, uint8_t *out);

typedef struct DIGEST_UNIT {
    uint32_t algorithm_id;      /* 0 when unbound */
    uint32_t block_length;      /* bytes */
    uint32_t digest_length;     /* bytes */
    void *state;                /* owned; NULL when unbound */
    uint32_t state_size;        /* bytes */
    DIGEST_INIT_FUNC init;
    DIGEST_UPDATE_FUNC update;
    DIGEST_FINAL_FUNC final;
    uint32_t bound;             /* 0xFFFFFFFF once init_Digest bound the unit */
    uint8_t proven;             /* from new_DIGEST_UNIT_EX */
    uint8_t reserved[3];        /* always zero */
} DIGEST_UNIT;

KRY_API DIGEST_UNIT *new_DIGEST_UNIT(void);
KRY_API DIGEST_UNIT *new_DIGEST_UNIT_EX(uint8_t proven);
KRY_API void clean_DIGEST_UNIT(DIGEST_UNIT *unit);
KRY_API void free_DIGEST_UNIT(DIGEST_UNIT *unit);
KRY_API uint32_t init_Digest(DIGEST_UNIT *unit, uint32_t algorithm_id);
KRY_API uint32_t init_DigestAlg(DIGEST_UNIT *unit, uint32_t algorithm_id);
KRY_API uint32_t update_Digest(DIGEST_UNIT *unit, const uint8_t *data, uint32_t length);
KRY_API uint32_t final_Digest(DIGEST_UNIT *unit, uint8_t *out, uint32_t *out_length);
KRY_API uint32_t Digest(uint32_t algorithm_id, const uint8_t *data, uint32_t length,
                        uint8_t *out, uint32_t *out_length);
KRY_API uint32_t get_DigestAlg_ID(const DIGEST_UNIT *unit);
KRY_API const char *get_DigestAlg_Name(uint32_t algorithm_id);
KRY_API uint32_t get_DigestAlg_ID_by_Name(const char *name);
KRY_API uint32_t get_DigestLength(uint32_t algorithm_id);

/* ---- Algorithm entries -------------------------------------------------- */

KRY_API uint32_t init_SHA1(SHA1_STATE *state);
KRY_API uint32_t update_SHA1(SHA1_STATE *state, const uint8_t *data, uint32_t length);
KRY_API uint32_t final_SHA1(SHA1_STATE *state, uint8_t *out);

KRY_API uint32_t init_SHA224(SHA256_STATE *state);
KRY_API uint32_t update_SHA224(SHA256_STATE *state, const uint8_t *data, uint32_t length);
KRY_API uint32_t final_SHA224(SHA256_STATE *state, uint8_t *out);

KRY_API uint32_t init_SHA256(SHA256_STATE *state);
KRY_API uint32_t update_SHA256(SHA256_STATE *state, const uint8_t *data, uint32_t length);
KRY_API uint32_t final_SHA256(SHA256_STATE *state, uint8_t *out);

KRY_API uint32_t init_SHA384(SHA512_STATE *state);
KRY_API uint32_t update_SHA384(SHA512_STATE *state, const uint8_t *data, uint32_t length);
KRY_API uint32_t final_SHA384(SHA512_STATE *state, uint8_t *out);

KRY_API uint32_t init_SHA512(SHA512_STATE *state);
KRY_API uint32_t update_SHA512(SHA512_STATE *state, const uint8_t *data, uint32_t length);
KRY_API uint32_t final_SHA512(SHA512_STATE *state, uint8_t *out);

KRY_API uint32_t init_MD5(MD5_STATE *state);
KRY_API uint32_t update_MD5(MD5_STATE *state, const uint8_t *data, uint32_t length);
KRY_API uint32_t final_MD5(MD5_STATE *state, uint8_t *out);

KRY_API uint32_t init_HAS160(HAS160_STATE *state);
KRY_API uint32_t update_HAS160(HAS160_STATE *state, const uint8_t *data, uint32_t length);
KRY_API uint32_t final_HAS160(HAS160_STATE *state, uint8_t *out);

KRY_API uint32_t init_MDC2(MDC2_STATE *state);
KRY_API uint32_t update_MDC2(MDC2_STATE *state, const uint8_t *data, uint32_t length);
KRY_API uint32_t final_MDC2(MDC2_STATE *state, uint8_t *out);

KRY_END_DECLS

#endif /* KRY_DIGEST_H */
