// Internal interface of the BIGINT subsystem: growth, normalisation, the
// shifts, gcd and inverse, the Montgomery context and the word kernels that
// every operation shares.  Nothing here is exported.
#ifndef KRY_SRC_BIGINT_INTERNAL_H
#define KRY_SRC_BIGINT_INTERNAL_H

#include <kry/bigint.h>

#include <cstddef>
#include <cstdint>

namespace kry {

// ---- bigint.cpp ------------------------------------------------------------

// Grows b to at least words words (copying the used words); null when
// words > 0xFFFFFF, for constant data, or when allocation fails.
BIGINT *expand_BIGINT(BIGINT *b, int32_t words);
// Lowers length while the top word is zero.
void normalize_BIGINT(BIGINT *b);
// Compares two arrays of n words from the top: 1, 0 or -1 (1 for null).
int cmp_BIGINT_words(const uint32_t *a, const uint32_t *b, int32_t n);
// r = a << n and r = a >> n bits (r may be a); 0 or 1.
int lshift_BIGINT(BIGINT *r, const BIGINT *a, int32_t n);
int rshift_BIGINT(BIGINT *r, const BIGINT *a, int32_t n);

// ---- bigint_operation.cpp --------------------------------------------------

// Greatest common divisor; 0 or 1.
int gcd_BIGINT(BIGINT *r, const BIGINT *a, const BIGINT *b, BIGINT_POOL *pool);
// r = a^-1 mod m; r, or null when there is no inverse or a step fails.
BIGINT *inv_BIGINT(BIGINT *r, const BIGINT *a, const BIGINT *m, BIGINT_POOL *pool);

// Word kernels on arrays of 32-bit words, least significant first.
namespace words {
// r[0..n) += a[0..n) * w; returns the carry word.
uint32_t mul_add(uint32_t *r, const uint32_t *a, int32_t n, uint32_t w);
// r[0..n) = a[0..n) * w; returns the carry word.
uint32_t mul(uint32_t *r, const uint32_t *a, int32_t n, uint32_t w);
// r[0..2n) = the squares of a's words, word i's square at r[2i], r[2i+1].
void sqr_words(uint32_t *r, const uint32_t *a, int32_t n);
// (hi:lo) / d for hi < d.
uint32_t div_2by1(uint32_t hi, uint32_t lo, uint32_t d);
// r = a + b / a - b over n words; returns the carry / borrow.
uint32_t add(uint32_t *r, const uint32_t *a, const uint32_t *b, int32_t n);
uint32_t sub(uint32_t *r, const uint32_t *a, const uint32_t *b, int32_t n);
}  // namespace words

// ---- bigint_mont.cpp -------------------------------------------------------

BIGINT_MONT *new_BIGINT_MONT();
void free_BIGINT_MONT(BIGINT_MONT *ctx);
int set_BIGINT_MONT(BIGINT_MONT *ctx, const BIGINT *m, BIGINT_POOL *pool);
int mod_mtp_mont_BIGINT(BIGINT *r, const BIGINT *a, const BIGINT *b, BIGINT_MONT *ctx, BIGINT_POOL *pool);
int reduce_mont_BIGINT(BIGINT *r, const BIGINT *t, BIGINT_MONT *ctx, BIGINT_POOL *pool);

}  // namespace kry

#endif  // KRY_SRC_BIGINT_INTERNAL_H
