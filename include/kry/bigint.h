/*
 * kry - BIGINT: unsigned multi-precision integers of 32-bit words, least
 * significant word first, with scratch pools, modular arithmetic,
 * exponentiation and primes.  Byte strings exchanged with a BIGINT are
 * big-endian.
 *
 * Functions return 0 for success and 1 for a null argument or a failed
 * growth unless their comment says otherwise.
 */
#ifndef KRY_BIGINT_H
#define KRY_BIGINT_H

#include <stdint.h>
#include <kry/export.h>

KRY_BEGIN_DECLS

#define BIGINT_MALLOCED    1u /* the record itself was allocated by the library */
#define BIGINT_STATIC_DATA 2u /* data is a constant array, never grown */
#define BIGINT_IN_PLACE    4u /* the record was set up in place */

typedef struct BIGINT {
    uint32_t *data; /* least significant word first */
    int32_t length; /* words in use; the top one nonzero after normalising */
    int32_t size;   /* words allocated */
    uint32_t flags;
} BIGINT;

/* A block of the pool: eight records, then the chain links. */
typedef struct BIGINT_POOL_BLOCK {
    BIGINT records[8];
    struct BIGINT_POOL_BLOCK *prev;
    struct BIGINT_POOL_BLOCK *next;
} BIGINT_POOL_BLOCK;

typedef struct BIGINT_POOL {
    BIGINT_POOL_BLOCK *head;
    BIGINT_POOL_BLOCK *current;
    BIGINT_POOL_BLOCK *tail;
    uint32_t used;              /* records handed out */
    uint32_t available;         /* records in all blocks */
    uint32_t frame_counts[80];  /* records taken in each open frame */
    int32_t depth;              /* innermost open frame; -1 when none */
} BIGINT_POOL;

/* Montgomery context of one modulus. */
typedef struct BIGINT_MONT {
    int32_t r_bits;     /* bit length of R: the modulus's rounded up to 32 */
    BIGINT rr;          /* R^2 mod modulus */
    BIGINT modulus;
    BIGINT n_inverse;
    uint32_t n0;        /* -modulus^-1 mod 2^32 */
} BIGINT_MONT;

/* ---- life cycle ---------------------------------------------------------- */
KRY_API BIGINT *new_BIGINT(void);
KRY_API int init_BIGINT(BIGINT *b);
KRY_API void clear_BIGINT(BIGINT *b);
KRY_API int free_BIGINT(BIGINT *b);
/* 0, 1 for a null argument, 0x11010500 when growth fails. */
KRY_API uint32_t copy_BIGINT(BIGINT *dst, const BIGINT *src);
KRY_API BIGINT *dup_BIGINT(const BIGINT *src);
KRY_API int swap_BIGINT(BIGINT *a, BIGINT *b);
KRY_API const BIGINT *value_one_BIGINT(void);
/* Zero as one word 0 with length 1 (not the normalised form of zero). */
KRY_API const BIGINT *value_zero_BIGINT(void);

/* ---- words and bits ------------------------------------------------------- */
KRY_API int set_BIGINT_word(BIGINT *b, uint32_t w);
/* The value when it fits one word, 0xFFFFFFFF when longer, 1 for null. */
KRY_API uint32_t get_BIGINT_word(const BIGINT *b);
KRY_API int set_BIGINT_bit(BIGINT *b, int32_t n);
KRY_API int is_BIGINT_bit_set(const BIGINT *b, int32_t n);
KRY_API int32_t get_BIGINT_bits_length(const BIGINT *b);
/* 1, 0 or -1 as a > b, a == b, a < b; 1 for a null argument. */
KRY_API int cmp_BIGINT(const BIGINT *a, const BIGINT *b);

/* ---- single-word arithmetic, in place ------------------------------------ */
KRY_API int add_BIGINT_word(BIGINT *b, uint32_t w);
/* b - w, or the absolute difference when a one-word b is smaller. */
KRY_API int sub_BIGINT_word(BIGINT *b, uint32_t w);
KRY_API int mtp_BIGINT_word(BIGINT *b, uint32_t w);
/* Divides in place and returns the remainder; 0xFFFFFFFF for w = 0. */
KRY_API uint32_t div_BIGINT_word(BIGINT *b, uint32_t w);
/* b mod w; 0xFFFFFFFF for w = 0. */
KRY_API uint32_t mod_BIGINT_word(const BIGINT *b, uint32_t w);

/* ---- arithmetic ----------------------------------------------------------- */
KRY_API int add_BIGINT(BIGINT *r, const BIGINT *a, const BIGINT *b, BIGINT_POOL *pool);
/* r = a - b for a >= b; 1 when a < b. */
KRY_API int sub_BIGINT(BIGINT *r, const BIGINT *a, const BIGINT *b, BIGINT_POOL *pool);
KRY_API int mtp_BIGINT(BIGINT *r, const BIGINT *a, const BIGINT *b, BIGINT_POOL *pool);
KRY_API int sqr_BIGINT(BIGINT *r, const BIGINT *a, BIGINT_POOL *pool);
/* q = a / d, rem = a mod d; either output may be null; 1 for d = 0. */
KRY_API int div_BIGINT(BIGINT *q, BIGINT *rem, const BIGINT *a, const BIGINT *d, BIGINT_POOL *pool);
KRY_API int mod_mtp_BIGINT(BIGINT *r, const BIGINT *a, const BIGINT *b, const BIGINT *m, BIGINT_POOL *pool);
/* A random integer of bits bits: top 0 sets the top bit, 1 the two top
 * bits, -1 nothing; bottom nonzero makes it odd.  digest_id selects the
 * generator's G function (0: SHA-1). */
KRY_API int rand_BIGINT(BIGINT *r, int32_t bits, int32_t top, int32_t bottom, BIGINT_POOL *pool,
                        uint32_t digest_id);
KRY_API int mod_exp_mont_BIGINT(BIGINT *r, const BIGINT *a, const BIGINT *p, const BIGINT *m, BIGINT_POOL *pool);
KRY_API int mod_exp_BIGINT(BIGINT *r, const BIGINT *a, const BIGINT *p, const BIGINT *m, BIGINT_POOL *pool);

/* ---- primes --------------------------------------------------------------- */
/* 1 probable prime (and 2), -1 even or composite, 0 zero or failure. */
KRY_API int is_BIGINT_prime(const BIGINT *n, int32_t rounds, BIGINT_POOL *pool, uint32_t digest_id);
KRY_API int generate_BIGINT_prime(BIGINT *p, int32_t bits, BIGINT_POOL *pool, uint32_t digest_id);

/* ---- conversions ---------------------------------------------------------- */
/* Loads len big-endian bytes into b (a new record when b is null). */
KRY_API BIGINT *binary_to_BIGINT(const uint8_t *bytes, int32_t len, BIGINT *b);
/* (bits + 8) / 8 bytes: a leading 0x00 when the top bit is set. */
KRY_API int32_t BIGINT_to_binary(const BIGINT *b, uint8_t *out);
/* (bits + 7) / 8 bytes, no leading zero; zero writes nothing. */
KRY_API int32_t BIGINT_to_binary_unsigned(const BIGINT *b, uint8_t *out);
/* New record from the leading hexadecimal digits (not normalised). */
KRY_API BIGINT *HEX_to_BIGINT(const char *text);
/* New upper-case text, an even number of digits ("0" for zero); lum_free it. */
KRY_API char *BIGINT_to_HEX(const BIGINT *b);
KRY_API char *BIGINT_to_DEC(const BIGINT *b);
/* "0x" + BIGINT_to_HEX. */
KRY_API char *dump_BIGINT(const BIGINT *b);
/* Prints "0x" only. */
KRY_API void print_BIGINT(const BIGINT *b);

/* ---- scratch pool --------------------------------------------------------- */
KRY_API BIGINT_POOL *new_BIGINT_POOL(void);
KRY_API int init_BIGINT_POOL(BIGINT_POOL *pool);
KRY_API int start_BIGINT_POOL(BIGINT_POOL *pool);
KRY_API BIGINT *get_BIGINT_POOL(BIGINT_POOL *pool);
KRY_API int finish_BIGINT_POOL(BIGINT_POOL *pool);
KRY_API int clear_BIGINT_POOL(BIGINT_POOL *pool);
KRY_API int free_BIGINT_POOL(BIGINT_POOL *pool);

KRY_END_DECLS

#endif /* KRY_BIGINT_H */
