/**
 * @file kry/bigint.h
 * @brief BIGINT: unsigned multi-precision integers of 32-bit words, least
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

#define BIGINT_MALLOCED    1u /**< the record itself was allocated by the library */
#define BIGINT_STATIC_DATA 2u /**< data is a constant array, never grown */
#define BIGINT_IN_PLACE    4u /**< the record was set up in place */

/** An unsigned multi-precision integer. */
typedef struct BIGINT {
    uint32_t *data; /**< least significant word first */
    int32_t length; /**< words in use; the top one nonzero after normalising */
    int32_t size;   /**< words allocated */
    uint32_t flags; /**< BIGINT_MALLOCED, BIGINT_STATIC_DATA, BIGINT_IN_PLACE */
} BIGINT;

/** A block of the pool: eight records, then the chain links. */
typedef struct BIGINT_POOL_BLOCK {
    BIGINT records[8];              /**< the records handed out */
    struct BIGINT_POOL_BLOCK *prev; /**< previous block of the chain */
    struct BIGINT_POOL_BLOCK *next; /**< next block of the chain */
} BIGINT_POOL_BLOCK;

/** A scratch pool of BIGINT records handed out in nested frames
 *  (start_BIGINT_POOL() ... finish_BIGINT_POOL()). */
typedef struct BIGINT_POOL {
    BIGINT_POOL_BLOCK *head;    /**< first block */
    BIGINT_POOL_BLOCK *current; /**< block of the next record */
    BIGINT_POOL_BLOCK *tail;    /**< last block */
    uint32_t used;              /**< records handed out */
    uint32_t available;         /**< records in all blocks */
    uint32_t frame_counts[80];  /**< records taken in each open frame */
    int32_t depth;              /**< innermost open frame; -1 when none */
} BIGINT_POOL;

/** Montgomery context of one modulus. */
typedef struct BIGINT_MONT {
    int32_t r_bits;     /**< bit length of R: the modulus's rounded up to 32 */
    BIGINT rr;          /**< R^2 mod modulus */
    BIGINT modulus;     /**< the modulus */
    BIGINT n_inverse;   /**< the modulus's inverse used by the reduction */
    uint32_t n0;        /**< -modulus^-1 mod 2^32 */
} BIGINT_MONT;

/* ---- life cycle ---------------------------------------------------------- */
/** Allocates a zero integer (#BIGINT_MALLOCED).
 *  @return the record, or NULL; release it with free_BIGINT(). */
KRY_API BIGINT *new_BIGINT(void);
/** Sets up a record in caller memory as zero (#BIGINT_IN_PLACE).
 *  @param b the record.
 *  @return 0, or 1 for NULL or a library constant. */
KRY_API int init_BIGINT(BIGINT *b);
/** Wipes and releases the word array; the record stays, as zero.
 *  @param b the record (NULL and constants are ignored). */
KRY_API void clear_BIGINT(BIGINT *b);
/** Clears the record and frees it when the library allocated it.
 *  @param b the record.
 *  @return 0, or 1 for NULL or a library constant. */
KRY_API int free_BIGINT(BIGINT *b);
/** Copies a value.
 *  @param dst the destination (grown as needed).
 *  @param src the source.
 *  @return 0, 1 for a null argument, 0x11010500 when growth fails. */
KRY_API uint32_t copy_BIGINT(BIGINT *dst, const BIGINT *src);
/** Copies a value into a new record.
 *  @param src the source.
 *  @return the copy, or NULL; release it with free_BIGINT(). */
KRY_API BIGINT *dup_BIGINT(const BIGINT *src);
/** Exchanges the values (arrays) of two records.
 *  @param a one record.
 *  @param b the other.
 *  @return 0, or 1 for NULL or a library constant. */
KRY_API int swap_BIGINT(BIGINT *a, BIGINT *b);
/** The constant 1.
 *  @return a library constant (never free it). */
KRY_API const BIGINT *value_one_BIGINT(void);
/** The constant 0, as one word 0 with length 1 (not the normalised form
 *  of zero).
 *  @return a library constant (never free it). */
KRY_API const BIGINT *value_zero_BIGINT(void);

/* ---- words and bits ------------------------------------------------------- */
/** Sets a one-word value.
 *  @param b the record.
 *  @param w the value.
 *  @return 0 or 1. */
KRY_API int set_BIGINT_word(BIGINT *b, uint32_t w);
/** Reads a one-word value.
 *  @param b the record.
 *  @return the value when it fits one word, 0xFFFFFFFF when longer, 1 for NULL. */
KRY_API uint32_t get_BIGINT_word(const BIGINT *b);
/** Sets bit @p n (0 is the least significant), growing the value.
 *  @param b the record.
 *  @param n the bit number.
 *  @return 0 or 1. */
KRY_API int set_BIGINT_bit(BIGINT *b, int32_t n);
/** Tests bit @p n.
 *  @param b the record.
 *  @param n the bit number.
 *  @return 1 when set, 0 otherwise. */
KRY_API int is_BIGINT_bit_set(const BIGINT *b, int32_t n);
/** The bit length of the value.
 *  @param b the record.
 *  @return bits (0 for zero). */
KRY_API int32_t get_BIGINT_bits_length(const BIGINT *b);
/** Compares two values.
 *  @param a one value.
 *  @param b the other.
 *  @return 1, 0 or -1 as a > b, a == b, a < b; 1 for a null argument. */
KRY_API int cmp_BIGINT(const BIGINT *a, const BIGINT *b);

/* ---- single-word arithmetic, in place ------------------------------------ */
/** b = b + w.
 *  @param b the value.
 *  @param w the word.
 *  @return 0 or 1. */
KRY_API int add_BIGINT_word(BIGINT *b, uint32_t w);
/** b = b - w, or the absolute difference when a one-word b is smaller.
 *  @param b the value.
 *  @param w the word.
 *  @return 0 or 1. */
KRY_API int sub_BIGINT_word(BIGINT *b, uint32_t w);
/** b = b * w.
 *  @param b the value.
 *  @param w the word.
 *  @return 0 or 1. */
KRY_API int mtp_BIGINT_word(BIGINT *b, uint32_t w);
/** b = b / w.
 *  @param b the value.
 *  @param w the divisor.
 *  @return the remainder; 0xFFFFFFFF for w = 0. */
KRY_API uint32_t div_BIGINT_word(BIGINT *b, uint32_t w);
/** b mod w, leaving b unchanged.
 *  @param b the value.
 *  @param w the divisor.
 *  @return the remainder; 0xFFFFFFFF for w = 0. */
KRY_API uint32_t mod_BIGINT_word(const BIGINT *b, uint32_t w);

/* ---- arithmetic ----------------------------------------------------------- */
/** r = a + b.
 *  @param r    the result (may be @p a or @p b).
 *  @param a    one operand.
 *  @param b    the other.
 *  @param pool scratch pool.
 *  @return 0 or 1. */
KRY_API int add_BIGINT(BIGINT *r, const BIGINT *a, const BIGINT *b, BIGINT_POOL *pool);
/** r = a - b for a >= b.
 *  @param r    the result.
 *  @param a    the minuend.
 *  @param b    the subtrahend.
 *  @param pool scratch pool.
 *  @return 0; 1 when a < b or on failure. */
KRY_API int sub_BIGINT(BIGINT *r, const BIGINT *a, const BIGINT *b, BIGINT_POOL *pool);
/** r = a * b (Comba, Karatsuba for long operands).
 *  @param r    the result.
 *  @param a    one operand.
 *  @param b    the other.
 *  @param pool scratch pool.
 *  @return 0 or 1. */
KRY_API int mtp_BIGINT(BIGINT *r, const BIGINT *a, const BIGINT *b, BIGINT_POOL *pool);
/** r = a * a.
 *  @param r    the result.
 *  @param a    the operand.
 *  @param pool scratch pool.
 *  @return 0 or 1. */
KRY_API int sqr_BIGINT(BIGINT *r, const BIGINT *a, BIGINT_POOL *pool);
/** q = a / d, rem = a mod d.
 *  @param q    the quotient, or NULL.
 *  @param rem  the remainder, or NULL.
 *  @param a    the dividend.
 *  @param d    the divisor.
 *  @param pool scratch pool.
 *  @return 0; 1 for d = 0 or on failure. */
KRY_API int div_BIGINT(BIGINT *q, BIGINT *rem, const BIGINT *a, const BIGINT *d, BIGINT_POOL *pool);
/** r = a * b mod m.
 *  @param r    the result.
 *  @param a    one factor.
 *  @param b    the other.
 *  @param m    the modulus.
 *  @param pool scratch pool.
 *  @return 0 or 1. */
KRY_API int mod_mtp_BIGINT(BIGINT *r, const BIGINT *a, const BIGINT *b, const BIGINT *m, BIGINT_POOL *pool);
/** r = a random integer of @p bits bits.
 *  @param r         the result.
 *  @param bits      the bit length.
 *  @param top       0 sets the top bit, 1 the two top bits, -1 nothing.
 *  @param bottom    nonzero makes the result odd.
 *  @param pool      scratch pool.
 *  @param digest_id the generator's G function (0: SHA-1).
 *  @return 0 or 1. */
KRY_API int rand_BIGINT(BIGINT *r, int32_t bits, int32_t top, int32_t bottom, BIGINT_POOL *pool,
                        uint32_t digest_id);
/** r = a^p mod m by Montgomery exponentiation (m odd).
 *  @param r    the result.
 *  @param a    the base.
 *  @param p    the exponent.
 *  @param m    the modulus.
 *  @param pool scratch pool.
 *  @return 0 or 1. */
KRY_API int mod_exp_mont_BIGINT(BIGINT *r, const BIGINT *a, const BIGINT *p, const BIGINT *m, BIGINT_POOL *pool);
/** r = a^p mod m for any modulus.
 *  @param r    the result.
 *  @param a    the base.
 *  @param p    the exponent.
 *  @param m    the modulus.
 *  @param pool scratch pool.
 *  @return 0 or 1. */
KRY_API int mod_exp_BIGINT(BIGINT *r, const BIGINT *a, const BIGINT *p, const BIGINT *m, BIGINT_POOL *pool);

/* ---- primes --------------------------------------------------------------- */
/** Miller-Rabin probable-prime test.
 *  @param n         the candidate.
 *  @param rounds    the number of rounds.
 *  @param pool      scratch pool.
 *  @param digest_id the generator's G function for the bases (0: SHA-1).
 *  @return 1 probable prime (and 2), -1 even or composite, 0 zero or failure. */
KRY_API int is_BIGINT_prime(const BIGINT *n, int32_t rounds, BIGINT_POOL *pool, uint32_t digest_id);
/** Generates a random probable prime of @p bits bits.
 *  @param p         receives the prime.
 *  @param bits      its bit length.
 *  @param pool      scratch pool.
 *  @param digest_id the generator's G function (0: SHA-1).
 *  @return 0 or 1. */
KRY_API int generate_BIGINT_prime(BIGINT *p, int32_t bits, BIGINT_POOL *pool, uint32_t digest_id);

/* ---- conversions ---------------------------------------------------------- */
/** Loads big-endian bytes.
 *  @param bytes the bytes.
 *  @param len   how many.
 *  @param b     the record, or NULL for a new one.
 *  @return the record, or NULL on failure. */
KRY_API BIGINT *binary_to_BIGINT(const uint8_t *bytes, int32_t len, BIGINT *b);
/** Writes the value as big-endian bytes with a sign byte: (bits + 8) / 8
 *  bytes, a leading 0x00 when the top bit fills a byte.
 *  @param b   the value.
 *  @param out receives the bytes.
 *  @return the bytes written, or a negative number on failure. */
KRY_API int32_t BIGINT_to_binary(const BIGINT *b, uint8_t *out);
/** Writes the value as minimal big-endian bytes: (bits + 7) / 8, no
 *  leading zero; zero writes nothing.
 *  @param b   the value.
 *  @param out receives the bytes.
 *  @return the bytes written, or a negative number on failure. */
KRY_API int32_t BIGINT_to_binary_unsigned(const BIGINT *b, uint8_t *out);
/** Reads the leading run of hexadecimal digits into a new record (not
 *  normalised: leading zero digits give zero top words).
 *  @param text the digits.
 *  @return the record (release with free_BIGINT()), or NULL. */
KRY_API BIGINT *HEX_to_BIGINT(const char *text);
/** Formats the value in hexadecimal: upper case, an even number of digits
 *  ("0" for zero).
 *  @param b the value.
 *  @return new text (release it with lum_free()), or NULL. */
KRY_API char *BIGINT_to_HEX(const BIGINT *b);
/** Formats the value in decimal.
 *  @param b the value.
 *  @return new text (release it with lum_free()), or NULL. */
KRY_API char *BIGINT_to_DEC(const BIGINT *b);
/** Formats the value as "0x" and BIGINT_to_HEX().
 *  @param b the value.
 *  @return new text (release it with lum_free()), or NULL. */
KRY_API char *dump_BIGINT(const BIGINT *b);
/** Prints "0x" on standard output; the digits are not printed.
 *  @param b the value. */
KRY_API void print_BIGINT(const BIGINT *b);

/* ---- scratch pool --------------------------------------------------------- */
/** Allocates and sets up a scratch pool.
 *  @return the pool, or NULL; release it with free_BIGINT_POOL(). */
KRY_API BIGINT_POOL *new_BIGINT_POOL(void);
/** Sets up a pool record (also after clear_BIGINT_POOL()).
 *  @param pool the pool.
 *  @return 0 or 1. */
KRY_API int init_BIGINT_POOL(BIGINT_POOL *pool);
/** Opens a frame (at most 80 nested).
 *  @param pool the pool.
 *  @return 0, or 1 for NULL or an 81st frame. */
KRY_API int start_BIGINT_POOL(BIGINT_POOL *pool);
/** Hands out a zero record in the innermost open frame.
 *  @param pool the pool.
 *  @return the record (owned by the pool), or NULL without an open frame,
 *          for a cleared pool or when a block cannot be allocated. */
KRY_API BIGINT *get_BIGINT_POOL(BIGINT_POOL *pool);
/** Closes the innermost frame; its records go back to the pool.
 *  @param pool the pool.
 *  @return 0, or 1 without an open frame. */
KRY_API int finish_BIGINT_POOL(BIGINT_POOL *pool);
/** Wipes and releases every record's array and every block; set the pool
 *  up again with init_BIGINT_POOL() before reuse.
 *  @param pool the pool.
 *  @return 0 or 1. */
KRY_API int clear_BIGINT_POOL(BIGINT_POOL *pool);
/** Clears and frees a pool.
 *  @param pool the pool.
 *  @return 0 or 1. */
KRY_API int free_BIGINT_POOL(BIGINT_POOL *pool);

KRY_END_DECLS

#endif /* KRY_BIGINT_H */
