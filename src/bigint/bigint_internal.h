// Internal interface of the BIGINT subsystem: growth, normalisation, the
// shifts, gcd and inverse, the Montgomery context and the word kernels that
// every operation shares.  Nothing here is exported.
#ifndef KRY_SRC_BIGINT_INTERNAL_H
#define KRY_SRC_BIGINT_INTERNAL_H

#include <kry/bigint.h>

#include <cstddef>
#include <cstdint>

namespace kry {

// length and size describe an array that may be read.
inline bool readable(const BIGINT *b) {
    return b != nullptr && b->length >= 0 && b->length <= b->size && (b->data != nullptr || b->size == 0);
}

// Words up to the highest nonzero one (the record need not be normalised).
inline int32_t used_words(const BIGINT *b) {
    int32_t n = b->data != nullptr ? b->length : 0;
    while (n > 0 && b->data[n - 1] == 0)
        n--;
    return n;
}

// The caller's pool, or one made for this scope and freed at its end.
class ScratchPool {
  public:
    explicit ScratchPool(BIGINT_POOL *given)
        : pool_(given != nullptr ? given : new_BIGINT_POOL()), owned_(given == nullptr) {}
    ~ScratchPool() {
        if (owned_)
            free_BIGINT_POOL(pool_);
    }
    ScratchPool(const ScratchPool &) = delete;
    ScratchPool &operator=(const ScratchPool &) = delete;
    BIGINT_POOL *get() const { return pool_; }

  private:
    BIGINT_POOL *pool_;
    bool owned_;
};

// One frame of a BIGINT pool for the life of the object.  A pool that
// refuses the frame (nested too deeply) is left alone: ok() is false, get()
// answers null and nothing is closed.  A null pool gives no frame.
class PoolFrame {
  public:
    explicit PoolFrame(BIGINT_POOL *pool) : pool_(pool) {
        if (pool_ != nullptr && start_BIGINT_POOL(pool_) != 0) {
            pool_ = nullptr;
            failed_ = true;
        }
    }
    ~PoolFrame() {
        if (pool_ != nullptr)
            finish_BIGINT_POOL(pool_);
    }
    PoolFrame(const PoolFrame &) = delete;
    PoolFrame &operator=(const PoolFrame &) = delete;
    bool ok() const { return !failed_; }
    BIGINT *get() { return pool_ != nullptr ? get_BIGINT_POOL(pool_) : nullptr; }

  private:
    BIGINT_POOL *pool_;
    bool failed_ = false;
};

// The caller's pool (or one of its own) with one frame open on it, for the
// life of the object: the usual prelude of an arithmetic entry.  ok() is
// false when no pool could be made or the frame was refused.
class ScratchFrame {
  public:
    explicit ScratchFrame(BIGINT_POOL *given) : scratch_(given), frame_(scratch_.get()) {}
    ScratchFrame(const ScratchFrame &) = delete;
    ScratchFrame &operator=(const ScratchFrame &) = delete;
    bool ok() const { return scratch_.get() != nullptr && frame_.ok(); }
    BIGINT_POOL *pool() const { return scratch_.get(); }
    BIGINT *get() { return frame_.get(); }

  private:
    ScratchPool scratch_;  // declared first: the frame closes before the pool goes
    PoolFrame frame_;
};

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
// r[0..n) -= a[0..n) * w; returns the borrow word.
uint32_t mul_sub(uint32_t *r, const uint32_t *a, int32_t n, uint32_t w);
// Comba (column-wise) products: r[0..16) = a[0..8) * b[0..8),
// r[0..8) = a[0..4)^2, r[0..16) = a[0..8)^2.
void comba_mul8(uint32_t *r, const uint32_t *a, const uint32_t *b);
void comba_sqr4(uint32_t *r, const uint32_t *a);
void comba_sqr8(uint32_t *r, const uint32_t *a);
// Schoolbook product r[0..na+nb) = a * b (r must not overlap a or b).
void mul_schoolbook(uint32_t *r, const uint32_t *a, int32_t na, const uint32_t *b, int32_t nb);
// Schoolbook square r[0..2n) = a^2 with a scratch t of 2n words.
void sqr_schoolbook(uint32_t *r, const uint32_t *a, int32_t n, uint32_t *t);
// Karatsuba product of na >= 16 and nb words, na - 1 <= nb <= na, into
// r[0..na+nb) with a scratch t of karatsuba_scratch(na) words.
void mul_karatsuba(uint32_t *r, const uint32_t *a, int32_t na, const uint32_t *b, int32_t nb, uint32_t *t);
int32_t karatsuba_scratch(int32_t n);
// Karatsuba square of n words, n a power of two >= 16, into r[0..2n) with a
// scratch t of 4n words.
void sqr_karatsuba(uint32_t *r, const uint32_t *a, int32_t n, uint32_t *t);
}  // namespace words

// The method mtp_BIGINT takes for operands of na and nb words, and the
// scratch it takes for Karatsuba (0 for the other methods).
enum class MulMethod { comba8, schoolbook, karatsuba, karatsuba_unequal };
MulMethod mtp_method(int32_t na, int32_t nb);
int32_t mtp_scratch_words(int32_t na, int32_t nb);

// ---- bigint_mont.cpp -------------------------------------------------------

BIGINT_MONT *new_BIGINT_MONT();
void free_BIGINT_MONT(BIGINT_MONT *ctx);
int set_BIGINT_MONT(BIGINT_MONT *ctx, const BIGINT *m, BIGINT_POOL *pool);
int mod_mtp_mont_BIGINT(BIGINT *r, const BIGINT *a, const BIGINT *b, BIGINT_MONT *ctx, BIGINT_POOL *pool);
int reduce_mont_BIGINT(BIGINT *r, const BIGINT *t, BIGINT_MONT *ctx, BIGINT_POOL *pool);
// Sliding-window width of the exponentiations for an exponent of bits bits.
int mod_exp_window_bits(int32_t bits);
// r = a1^p1 a2^p2 mod m, the value mod_mtp_BIGINT gives for the product of
// the two Montgomery exponentiations, with the squarings shared; 0 or 1.
int mod_exp2_mont_BIGINT(BIGINT *r, const BIGINT *a1, const BIGINT *p1, const BIGINT *a2, const BIGINT *p2,
                         const BIGINT *m, BIGINT_POOL *pool);

}  // namespace kry

#endif  // KRY_SRC_BIGINT_INTERNAL_H
