// BIGINT multiplication, squaring, long division, modular products, greatest
// common divisor and modular inverse, and the word-array kernels they (and
// Montgomery reduction) rest on.
//
// Kernels work on plain arrays of 32-bit words, least significant first,
// with 64-bit intermediate products.  Multiplication picks its method by
// size: Comba for 8 x 8 words, schoolbook below 16 words or for lengths that
// differ by more than one word, Karatsuba otherwise (Knuth, TAOCP vol. 2,
// 4.3.3).  Division is Knuth's Algorithm D (TAOCP vol. 2, 4.3.1; HAC 14.20).
//
// Scratch integers come from the caller's BIGINT_POOL in a frame of the
// function's own; records whose fields are damaged (negative length, length
// above size, no array) are refused like null arguments.

#include <kry/bigint.h>
#include <kry/error.h>

#include "bigint/bigint_internal.h"
#include "foundation/common.h"

#include <bit>
#include <cstdint>
#include <cstring>
#include <utility>

namespace kry::words {

using u64 = uint64_t;
using u128 = unsigned __int128;

uint32_t mul_add(uint32_t *r, const uint32_t *a, int32_t n, uint32_t w) {
    u64 c = 0;
    int32_t i = 0;
    for (; i + 4 <= n; i += 4) {
        u64 t0 = u64{a[i]} * w + r[i] + c;
        r[i] = static_cast<uint32_t>(t0);
        u64 t1 = u64{a[i + 1]} * w + r[i + 1] + (t0 >> 32);
        r[i + 1] = static_cast<uint32_t>(t1);
        u64 t2 = u64{a[i + 2]} * w + r[i + 2] + (t1 >> 32);
        r[i + 2] = static_cast<uint32_t>(t2);
        u64 t3 = u64{a[i + 3]} * w + r[i + 3] + (t2 >> 32);
        r[i + 3] = static_cast<uint32_t>(t3);
        c = t3 >> 32;
    }
    for (; i < n; i++) {
        const u64 t = u64{a[i]} * w + r[i] + c;
        r[i] = static_cast<uint32_t>(t);
        c = t >> 32;
    }
    return static_cast<uint32_t>(c);
}

uint32_t mul(uint32_t *r, const uint32_t *a, int32_t n, uint32_t w) {
    u64 c = 0;
    int32_t i = 0;
    for (; i + 4 <= n; i += 4) {
        u64 t0 = u64{a[i]} * w + c;
        r[i] = static_cast<uint32_t>(t0);
        u64 t1 = u64{a[i + 1]} * w + (t0 >> 32);
        r[i + 1] = static_cast<uint32_t>(t1);
        u64 t2 = u64{a[i + 2]} * w + (t1 >> 32);
        r[i + 2] = static_cast<uint32_t>(t2);
        u64 t3 = u64{a[i + 3]} * w + (t2 >> 32);
        r[i + 3] = static_cast<uint32_t>(t3);
        c = t3 >> 32;
    }
    for (; i < n; i++) {
        const u64 t = u64{a[i]} * w + c;
        r[i] = static_cast<uint32_t>(t);
        c = t >> 32;
    }
    return static_cast<uint32_t>(c);
}

uint32_t mul_sub(uint32_t *r, const uint32_t *a, int32_t n, uint32_t w) {
    // The running value is r[i] - a[i] w - borrow as a signed 64-bit number
    // in two's complement: its low word is the result word and its high
    // word, negated, the next borrow (never above w).
    u64 borrow = 0;
    int32_t i = 0;
    auto step = [&](int32_t k) {
        const u64 t = u64{r[k]} - u64{a[k]} * w - borrow;
        r[k] = static_cast<uint32_t>(t);
        borrow = 0 - (t >> 32);
        borrow &= 0xFFFFFFFFu;
    };
    for (; i + 4 <= n; i += 4) {
        step(i);
        step(i + 1);
        step(i + 2);
        step(i + 3);
    }
    for (; i < n; i++)
        step(i);
    return static_cast<uint32_t>(borrow);
}

void sqr_words(uint32_t *r, const uint32_t *a, int32_t n) {
    for (int32_t i = 0; i < n; i++) {
        const u64 t = u64{a[i]} * a[i];
        r[2 * i] = static_cast<uint32_t>(t);
        r[2 * i + 1] = static_cast<uint32_t>(t >> 32);
    }
}

uint32_t div_2by1(uint32_t hi, uint32_t lo, uint32_t d) {
    if (d == 0 || hi >= d)
        return 0xFFFFFFFFu;  // the quotient would not fit one word
    return static_cast<uint32_t>(((u64{hi} << 32) | lo) / d);
}

uint32_t add(uint32_t *r, const uint32_t *a, const uint32_t *b, int32_t n) {
    u64 c = 0;
    int32_t i = 0;
    for (; i + 4 <= n; i += 4) {
        u64 t0 = u64{a[i]} + b[i] + c;
        r[i] = static_cast<uint32_t>(t0);
        u64 t1 = u64{a[i + 1]} + b[i + 1] + (t0 >> 32);
        r[i + 1] = static_cast<uint32_t>(t1);
        u64 t2 = u64{a[i + 2]} + b[i + 2] + (t1 >> 32);
        r[i + 2] = static_cast<uint32_t>(t2);
        u64 t3 = u64{a[i + 3]} + b[i + 3] + (t2 >> 32);
        r[i + 3] = static_cast<uint32_t>(t3);
        c = t3 >> 32;
    }
    for (; i < n; i++) {
        const u64 t = u64{a[i]} + b[i] + c;
        r[i] = static_cast<uint32_t>(t);
        c = t >> 32;
    }
    return static_cast<uint32_t>(c);
}

uint32_t sub(uint32_t *r, const uint32_t *a, const uint32_t *b, int32_t n) {
    // (t >> 63) is 1 exactly when the 64-bit difference wrapped.
    u64 c = 0;
    int32_t i = 0;
    for (; i + 4 <= n; i += 4) {
        u64 t0 = u64{a[i]} - b[i] - c;
        r[i] = static_cast<uint32_t>(t0);
        u64 t1 = u64{a[i + 1]} - b[i + 1] - (t0 >> 63);
        r[i + 1] = static_cast<uint32_t>(t1);
        u64 t2 = u64{a[i + 2]} - b[i + 2] - (t1 >> 63);
        r[i + 2] = static_cast<uint32_t>(t2);
        u64 t3 = u64{a[i + 3]} - b[i + 3] - (t2 >> 63);
        r[i + 3] = static_cast<uint32_t>(t3);
        c = t3 >> 63;
    }
    for (; i < n; i++) {
        const u64 t = u64{a[i]} - b[i] - c;
        r[i] = static_cast<uint32_t>(t);
        c = t >> 63;
    }
    return static_cast<uint32_t>(c);
}

namespace {

// Adds carry into r[0..n); returns what leaves the top.
uint32_t add_carry(uint32_t *r, int32_t n, uint32_t carry) {
    for (int32_t i = 0; i < n && carry != 0; i++) {
        const u64 t = u64{r[i]} + carry;
        r[i] = static_cast<uint32_t>(t);
        carry = static_cast<uint32_t>(t >> 32);
    }
    return carry;
}

// Column-wise product of N x N words: each column's partial products are
// summed in a 128-bit accumulator, whose low word is the result word and the
// rest carries into the next column.
template <int N> inline void comba_mul(uint32_t *r, const uint32_t *a, const uint32_t *b) {
    u128 acc = 0;
#pragma GCC unroll 16
    for (int k = 0; k < 2 * N - 1; k++) {
        const int lo = k < N ? 0 : k - N + 1;
        const int hi = k < N ? k : N - 1;
#pragma GCC unroll 8
        for (int i = lo; i <= hi; i++)
            acc += u64{a[i]} * b[k - i];
        r[k] = static_cast<uint32_t>(acc);
        acc >>= 32;
    }
    r[2 * N - 1] = static_cast<uint32_t>(acc);
}

// Column-wise square: the cross products of a column are summed once and
// doubled, then the square of the middle word is added.
template <int N> inline void comba_sqr(uint32_t *r, const uint32_t *a) {
    u128 acc = 0;
#pragma GCC unroll 16
    for (int k = 0; k < 2 * N - 1; k++) {
        const int lo = k < N ? 0 : k - N + 1;
        u128 cross = 0;
#pragma GCC unroll 8
        for (int i = lo; i < k - i; i++)
            cross += u64{a[i]} * a[k - i];
        acc += cross << 1;
        if ((k & 1) == 0)
            acc += u64{a[k / 2]} * a[k / 2];
        r[k] = static_cast<uint32_t>(acc);
        acc >>= 32;
    }
    r[2 * N - 1] = static_cast<uint32_t>(acc);
}

// r[0..n) = |x - y| for x of nx and y of ny words (nx, ny <= n, both
// zero-extended to n words); true when x < y.
bool abs_diff(uint32_t *r, const uint32_t *x, int32_t nx, const uint32_t *y, int32_t ny, int32_t n) {
    int cmp = 0;
    for (int32_t i = n - 1; i >= 0 && cmp == 0; i--) {
        const uint32_t xi = i < nx ? x[i] : 0;
        const uint32_t yi = i < ny ? y[i] : 0;
        if (xi != yi)
            cmp = xi > yi ? 1 : -1;
    }
    const bool negative = cmp < 0;
    if (negative) {
        std::swap(x, y);
        std::swap(nx, ny);
    }
    // x >= y now; ny <= nx is not guaranteed (zero top words), so subtract
    // word by word over n words.
    u64 c = 0;
    for (int32_t i = 0; i < n; i++) {
        const u64 t = u64{i < nx ? x[i] : 0u} - (i < ny ? y[i] : 0u) - c;
        r[i] = static_cast<uint32_t>(t);
        c = t >> 63;
    }
    return negative;
}

// Product of na >= nb words (na - nb <= 1 for Karatsuba) by the method
// mtp_BIGINT chooses; t is the Karatsuba scratch.
void mul_words(uint32_t *r, const uint32_t *a, int32_t na, const uint32_t *b, int32_t nb, uint32_t *t) {
    if (na == 8 && nb == 8)
        comba_mul8(r, a, b);
    else if (na < 16 || nb < 16 || na - nb > 1)
        mul_schoolbook(r, a, na, b, nb);
    else
        mul_karatsuba(r, a, na, b, nb, t);
}

// Square of n words for the recursion of sqr_karatsuba (n a power of two).
void sqr_words_pow2(uint32_t *r, const uint32_t *a, int32_t n, uint32_t *t) {
    if (n == 4)
        comba_sqr4(r, a);
    else if (n == 8)
        comba_sqr8(r, a);
    else if (n >= 16)
        sqr_karatsuba(r, a, n, t);
    else
        sqr_schoolbook(r, a, n, t);
}

}  // namespace

void comba_mul8(uint32_t *r, const uint32_t *a, const uint32_t *b) { comba_mul<8>(r, a, b); }
void comba_sqr4(uint32_t *r, const uint32_t *a) { comba_sqr<4>(r, a); }
void comba_sqr8(uint32_t *r, const uint32_t *a) { comba_sqr<8>(r, a); }

void mul_schoolbook(uint32_t *r, const uint32_t *a, int32_t na, const uint32_t *b, int32_t nb) {
    // Rows run over the shorter operand, each adding the longer one times a
    // word.
    if (na < nb) {
        std::swap(a, b);
        std::swap(na, nb);
    }
    if (nb <= 0) {
        if (na > 0)
            std::memset(r, 0, static_cast<size_t>(na) * sizeof(uint32_t));
        return;
    }
    r[na] = mul(r, a, na, b[0]);
    for (int32_t j = 1; j < nb; j++)
        r[na + j] = mul_add(r + j, a, na, b[j]);
}

void sqr_schoolbook(uint32_t *r, const uint32_t *a, int32_t n, uint32_t *t) {
    if (n <= 0)
        return;
    const int32_t n2 = 2 * n;
    // Cross products a[i] * a[j], i < j, at r[i + j].
    r[0] = 0;
    r[n2 - 1] = 0;
    if (n > 1) {
        r[n] = mul(r + 1, a + 1, n - 1, a[0]);
        for (int32_t i = 1; i < n - 1; i++)
            r[n + i] = mul_add(r + 2 * i + 1, a + i + 1, n - i - 1, a[i]);
    }
    // Doubled, plus the squares of the words.
    uint32_t carry = 0;
    for (int32_t i = 0; i < n2; i++) {
        const uint32_t w = r[i];
        r[i] = (w << 1) | carry;
        carry = w >> 31;
    }
    sqr_words(t, a, n);
    add(r, r, t, n2);
}

int32_t karatsuba_scratch(int32_t n) {
    if (n < 16)
        return 0;
    const int32_t h = (n + 1) / 2;
    return 4 * h + karatsuba_scratch(h);
}

// a = a1 B^h + a0, b = b1 B^h + b0 with B = 2^32 and h = ceil(na / 2):
//   a b = z2 B^2h + (z0 + z2 + (a0 - a1)(b1 - b0)) B^h + z0,
// z0 = a0 b0 and z2 = a1 b1.  The middle product is formed from the
// absolute differences with its sign kept aside, so nothing carries out of h
// words.  Scratch: 4h words at this level (the two differences, later the
// middle sum, and their product) and the recursion's beyond.
void mul_karatsuba(uint32_t *r, const uint32_t *a, int32_t na, const uint32_t *b, int32_t nb, uint32_t *t) {
    const int32_t h = (na + 1) / 2;
    const int32_t na1 = na - h;
    const int32_t nb1 = nb - h;
    const int32_t n = na + nb;
    uint32_t *da = t;
    uint32_t *db = t + h;
    uint32_t *m = t + 2 * h;
    uint32_t *rest = t + 4 * h;

    const bool neg_a = abs_diff(da, a, h, a + h, na1, h);
    const bool neg_b = abs_diff(db, b + h, nb1, b, h, h);
    mul_words(m, da, h, db, h, rest);

    mul_words(r, a, h, b, h, rest);
    const int32_t nz2 = n - 2 * h;
    if (nb1 > 0)
        mul_words(r + 2 * h, a + h, na1, b + h, nb1, rest);
    else
        std::memset(r + 2 * h, 0, static_cast<size_t>(nz2) * sizeof(uint32_t));

    // mid = z0 + z2 +- m over 2h words plus a small carry (never negative).
    uint32_t *mid = t;
    int64_t carry = add(mid, r, r + 2 * h, nz2);
    if (nz2 < 2 * h) {
        std::memcpy(mid + nz2, r + nz2, static_cast<size_t>(2 * h - nz2) * sizeof(uint32_t));
        carry = add_carry(mid + nz2, 2 * h - nz2, static_cast<uint32_t>(carry));
    }
    if (neg_a != neg_b)
        carry -= sub(mid, mid, m, 2 * h);
    else
        carry += add(mid, mid, m, 2 * h);

    carry += add(r + h, r + h, mid, 2 * h);
    add_carry(r + 3 * h, n - 3 * h, static_cast<uint32_t>(carry));
}

// a^2 = z2 B^2h + (z0 + z2 - (a0 - a1)^2) B^h + z0 for n = 2h words.  Scratch
// 2n words at this level (the square of the difference, then the middle
// sum over the difference) and 2n for the recursion.
void sqr_karatsuba(uint32_t *r, const uint32_t *a, int32_t n, uint32_t *t) {
    const int32_t h = n / 2;
    uint32_t *m = t;
    uint32_t *d = t + n;
    uint32_t *rest = t + 2 * n;

    abs_diff(d, a, h, a + h, h, h);
    sqr_words_pow2(m, d, h, rest);
    sqr_words_pow2(r, a, h, rest);
    sqr_words_pow2(r + n, a + h, h, rest);

    uint32_t *mid = t + n;
    int64_t carry = add(mid, r, r + n, n);
    carry -= sub(mid, mid, m, n);
    carry += add(r + h, r + h, mid, n);
    add_carry(r + n + h, h, static_cast<uint32_t>(carry));
}

}  // namespace kry::words

// ---------------------------------------------------------------------------

namespace {

using kry::readable;
using kry::used_words;
using kry::words::u64;

// A scratch integer of at least words words: from the pool when there is
// one (inside the caller's frame), else a new record released when this
// object goes.
class Scratch {
  public:
    Scratch() = default;
    Scratch(BIGINT_POOL *pool, int32_t words) { acquire(pool, words); }
    ~Scratch() { free_BIGINT(owned_); }
    Scratch(const Scratch &) = delete;
    Scratch &operator=(const Scratch &) = delete;

    BIGINT *acquire(BIGINT_POOL *pool, int32_t words) {
        b_ = pool != nullptr ? get_BIGINT_POOL(pool) : (owned_ = new_BIGINT());
        if (b_ != nullptr && kry::expand_BIGINT(b_, words < 1 ? 1 : words) == nullptr)
            b_ = nullptr;
        return b_;
    }
    BIGINT *get() const { return b_; }
    uint32_t *words() const { return b_->data; }

  private:
    BIGINT *b_ = nullptr;
    BIGINT *owned_ = nullptr;
};

// A scratch integer taken from a pool (null on failure).
BIGINT *take(BIGINT_POOL *pool, int32_t words) {
    BIGINT *b = get_BIGINT_POOL(pool);
    if (b == nullptr || kry::expand_BIGINT(b, words < 1 ? 1 : words) == nullptr)
        return nullptr;
    return b;
}

int copy_words_to(BIGINT *dst, const uint32_t *src, int32_t n) {
    if (kry::expand_BIGINT(dst, n < 1 ? 1 : n) == nullptr)
        return 1;
    if (n > 0 && dst->data != src)
        std::memmove(dst->data, src, static_cast<size_t>(n) * sizeof(uint32_t));
    dst->length = n;
    kry::normalize_BIGINT(dst);
    return 0;
}

bool is_power_of_two(int32_t n) { return n > 0 && (n & (n - 1)) == 0; }

}  // namespace

namespace kry {

MulMethod mtp_method(int32_t na, int32_t nb) {
    if (na == 8 && nb == 8)
        return MulMethod::comba8;
    if (na < 16 || nb < 16 || na - nb > 1 || nb - na > 1)
        return MulMethod::schoolbook;
    const int32_t longer = na >= nb ? na : nb;
    const int32_t j = static_cast<int32_t>(std::bit_floor(static_cast<uint32_t>(longer)));
    return na > j || nb > j ? MulMethod::karatsuba_unequal : MulMethod::karatsuba;
}

int32_t mtp_scratch_words(int32_t na, int32_t nb) {
    const int32_t longer = na >= nb ? na : nb;
    const int32_t j = longer > 0 ? static_cast<int32_t>(std::bit_floor(static_cast<uint32_t>(longer))) : 0;
    switch (mtp_method(na, nb)) {
    case MulMethod::karatsuba:
        return 4 * j;
    case MulMethod::karatsuba_unequal:
        return 8 * j;
    default:
        return 0;
    }
}

}  // namespace kry

KRY_API int mtp_BIGINT_word(BIGINT *b, uint32_t w) {
    if (!readable(b))
        return 1;
    if (b->length == 0)
        return 0;
    if (w == 0) {
        b->length = 0;
        return 0;
    }
    const uint32_t carry = kry::words::mul(b->data, b->data, b->length, w);
    if (carry != 0) {
        if (kry::expand_BIGINT(b, b->length + 1) == nullptr)
            return 1;
        b->data[b->length++] = carry;
    }
    return 0;
}

KRY_API int mtp_BIGINT(BIGINT *r, const BIGINT *a, const BIGINT *b, BIGINT_POOL *pool) {
    if (!readable(r) || !readable(a) || !readable(b))
        return 1;
    int32_t na = a->length;
    int32_t nb = b->length;
    if (na == 0 || nb == 0) {
        r->length = 0;
        return 0;
    }
    kry::PoolFrame frame(pool);
    if (!frame.ok())
        return 1;
    // An aliased result is built apart and copied.
    const bool aliased = r == a || r == b;
    Scratch product;
    BIGINT *out = aliased ? product.acquire(pool, na + nb) : r;
    if (out == nullptr || kry::expand_BIGINT(out, na + nb) == nullptr)
        return 1;

    const uint32_t *x = a->data;
    const uint32_t *y = b->data;
    const kry::MulMethod method = kry::mtp_method(na, nb);
    if (method == kry::MulMethod::comba8) {
        kry::words::comba_mul8(out->data, x, y);
    } else if (method == kry::MulMethod::schoolbook) {
        kry::words::mul_schoolbook(out->data, x, na, y, nb);
    } else {
        if (na < nb) {
            std::swap(x, y);
            std::swap(na, nb);
        }
        Scratch t(pool, kry::mtp_scratch_words(na, nb));
        if (t.get() == nullptr)
            return 1;
        kry::words::mul_karatsuba(out->data, x, na, y, nb, t.words());
    }
    out->length = na + nb;
    kry::normalize_BIGINT(out);
    if (aliased && copy_BIGINT(r, out) != 0)
        return 1;
    return 0;
}

KRY_API int sqr_BIGINT(BIGINT *r, const BIGINT *a, BIGINT_POOL *pool) {
    if (!readable(r) || !readable(a))
        return 1;
    const int32_t n = a->length;
    if (n == 0) {
        r->length = 0;
        return 1;  // zero-length operands are refused
    }
    kry::PoolFrame frame(pool);
    if (!frame.ok())
        return 1;
    const bool aliased = r == a;
    Scratch square;
    BIGINT *out = aliased ? square.acquire(pool, 2 * n) : r;
    if (out == nullptr || kry::expand_BIGINT(out, 2 * n) == nullptr)
        return 1;

    if (n == 4) {
        kry::words::comba_sqr4(out->data, a->data);
    } else if (n == 8) {
        kry::words::comba_sqr8(out->data, a->data);
    } else if (n >= 16 && is_power_of_two(n)) {
        Scratch t(pool, 4 * n);
        if (t.get() == nullptr)
            return 1;
        kry::words::sqr_karatsuba(out->data, a->data, n, t.words());
    } else {
        Scratch t(pool, 2 * n);
        if (t.get() == nullptr)
            return 1;
        kry::words::sqr_schoolbook(out->data, a->data, n, t.words());
    }
    out->length = 2 * n;
    kry::normalize_BIGINT(out);
    if (aliased && copy_BIGINT(r, out) != 0)
        return 1;
    return 0;
}

// Long division (Knuth, Algorithm D): the divisor is shifted left until its
// top bit is set and the dividend alike; each step estimates a quotient
// word from the remainder's top two words and the divisor's top word,
// corrects it with the divisor's second word, multiplies and subtracts, and
// adds the divisor back in the rare case the estimate was still one too
// large.  The remainder is shifted back at the end.
KRY_API int div_BIGINT(BIGINT *q, BIGINT *rem, const BIGINT *a, const BIGINT *d, BIGINT_POOL *pool) {
    if (!readable(a) || !readable(d) || (q != nullptr && !readable(q)) ||
        (rem != nullptr && !readable(rem)))
        return 1;
    const int32_t nd = used_words(d);
    if (nd == 0)
        return 1;  // division by zero
    const int32_t na = used_words(a);

    if (na < nd || (na == nd && kry::cmp_BIGINT_words(a->data, d->data, nd) < 0)) {
        // a < d: the remainder is a, the quotient 0 (the remainder first, as
        // q may be a).
        if (q != nullptr && q != rem && q != a)
            q->length = 0;
        if (rem != nullptr && copy_words_to(rem, a->data, na) != 0)
            return 1;
        if (q != nullptr && q != rem && q == a)
            q->length = 0;
        return 0;
    }

    kry::ScratchFrame scratch(pool);
    if (!scratch.ok())
        return 1;
    BIGINT_POOL *p = scratch.pool();
    const int32_t nq = na - nd + 1;
    BIGINT *quot = take(p, nq);
    if (quot == nullptr)
        return 1;
    uint32_t *qw = quot->data;
    uint32_t remainder_word = 0;
    BIGINT *u = nullptr;  // the shifted dividend, then the shifted remainder
    int shift = 0;

    if (nd == 1) {
        const uint32_t w = d->data[0];
        u64 r = 0;
        for (int32_t i = na - 1; i >= 0; i--) {
            const u64 cur = (r << 32) | a->data[i];
            qw[i] = static_cast<uint32_t>(cur / w);
            r = cur % w;
        }
        remainder_word = static_cast<uint32_t>(r);
    } else {
        shift = std::countl_zero(d->data[nd - 1]);
        BIGINT *v = take(p, nd);
        u = take(p, na + 1);
        if (v == nullptr || u == nullptr)
            return 1;
        uint32_t *vw = v->data;
        uint32_t *uw = u->data;
        if (shift == 0) {
            std::memcpy(vw, d->data, static_cast<size_t>(nd) * sizeof(uint32_t));
            std::memcpy(uw, a->data, static_cast<size_t>(na) * sizeof(uint32_t));
            uw[na] = 0;
        } else {
            for (int32_t i = nd - 1; i > 0; i--)
                vw[i] = (d->data[i] << shift) | (d->data[i - 1] >> (32 - shift));
            vw[0] = d->data[0] << shift;
            uw[na] = a->data[na - 1] >> (32 - shift);
            for (int32_t i = na - 1; i > 0; i--)
                uw[i] = (a->data[i] << shift) | (a->data[i - 1] >> (32 - shift));
            uw[0] = a->data[0] << shift;
        }
        const uint32_t v1 = vw[nd - 1];
        const uint32_t v2 = vw[nd - 2];
        for (int32_t j = nq - 1; j >= 0; j--) {
            const uint32_t u0 = uw[j + nd];
            const uint32_t u1 = uw[j + nd - 1];
            const uint32_t u2 = uw[j + nd - 2];
            const u64 num = (u64{u0} << 32) | u1;
            u64 qhat = num / v1;
            u64 rhat = num % v1;
            // At most two corrections make qhat exact or one too large.
            while (qhat > 0xFFFFFFFFu || qhat * v2 > ((rhat << 32) | u2)) {
                qhat--;
                rhat += v1;
                if (rhat > 0xFFFFFFFFu)
                    break;
            }
            uint32_t qj = static_cast<uint32_t>(qhat);
            const uint32_t borrow = kry::words::mul_sub(uw + j, vw, nd, qj);
            if (borrow > u0) {
                // One too large: add the divisor back.
                qj--;
                const uint32_t c = kry::words::add(uw + j, uw + j, vw, nd);
                uw[j + nd] = u0 - borrow + c;
            } else {
                uw[j + nd] = u0 - borrow;
            }
            qw[j] = qj;
        }
        // The remainder is uw[0..nd) >> shift.
        if (shift != 0) {
            for (int32_t i = 0; i < nd - 1; i++)
                uw[i] = (uw[i] >> shift) | (uw[i + 1] << (32 - shift));
            uw[nd - 1] >>= shift;
        }
    }

    if (rem != nullptr) {
        if (nd == 1) {
            if (kry::expand_BIGINT(rem, 1) == nullptr)
                return 1;
            rem->data[0] = remainder_word;
            rem->length = remainder_word != 0 ? 1 : 0;
        } else if (copy_words_to(rem, u->data, nd) != 0) {
            return 1;
        }
    }
    if (q != nullptr && q != rem && copy_words_to(q, qw, nq) != 0)
        return 1;
    return 0;
}

KRY_API int mod_mtp_BIGINT(BIGINT *r, const BIGINT *a, const BIGINT *b, const BIGINT *m, BIGINT_POOL *pool) {
    if (r == nullptr || !readable(a) || !readable(b) || !readable(m))
        return 1;
    kry::ScratchFrame scratch(pool);
    if (!scratch.ok())
        return 1;
    BIGINT_POOL *p = scratch.pool();
    BIGINT *t = get_BIGINT_POOL(p);
    if (t == nullptr || mtp_BIGINT(t, a, b, p) != 0)
        return 1;
    return div_BIGINT(nullptr, r, t, m, p);
}

namespace kry {

// Euclid's algorithm on remainders.
int gcd_BIGINT(BIGINT *r, const BIGINT *a, const BIGINT *b, BIGINT_POOL *pool) {
    if (!readable(r) || !readable(a) || !readable(b))
        return 1;
    kry::ScratchFrame scratch(pool);
    if (!scratch.ok())
        return 1;
    BIGINT_POOL *p = scratch.pool();
    BIGINT *x = get_BIGINT_POOL(p);
    BIGINT *y = get_BIGINT_POOL(p);
    if (x == nullptr || y == nullptr || copy_BIGINT(x, a) != 0 || copy_BIGINT(y, b) != 0)
        return 1;
    normalize_BIGINT(x);
    normalize_BIGINT(y);
    while (y->length != 0) {
        if (div_BIGINT(nullptr, x, x, y, p) != 0)
            return 1;
        std::swap(x, y);
    }
    return copy_BIGINT(r, x) != 0 ? 1 : 0;
}

// Extended Euclid with non-negative cofactors (HAC 14.61 in the remainder
// form): with r0 = m, r1 = a mod m, s0 = 0, s1 = 1 and
//   r[i+1] = r[i-1] - q r[i],  s[i+1] = s[i-1] + q s[i],
// r[i] = (-1)^(i+1) s[i] a (mod m).  When r[k] is the last nonzero
// remainder and equals 1, a^-1 is s[k] for odd k and m - s[k] for even k.
BIGINT *inv_BIGINT(BIGINT *r, const BIGINT *a, const BIGINT *m, BIGINT_POOL *pool) {
    if (!readable(r) || !readable(a) || !readable(m) || used_words(m) == 0)
        return nullptr;
    kry::ScratchFrame scratch(pool);
    if (!scratch.ok())
        return nullptr;
    BIGINT_POOL *p = scratch.pool();
    BIGINT *r0 = get_BIGINT_POOL(p);
    BIGINT *r1 = get_BIGINT_POOL(p);
    BIGINT *s0 = get_BIGINT_POOL(p);
    BIGINT *s1 = get_BIGINT_POOL(p);
    BIGINT *qt = get_BIGINT_POOL(p);
    BIGINT *t = get_BIGINT_POOL(p);
    if (t == nullptr || qt == nullptr || s1 == nullptr || s0 == nullptr || r1 == nullptr || r0 == nullptr)
        return nullptr;
    if (copy_BIGINT(r0, m) != 0 || div_BIGINT(nullptr, r1, a, m, p) != 0 || set_BIGINT_word(s1, 1) != 0)
        return nullptr;
    normalize_BIGINT(r0);
    s0->length = 0;
    int32_t k = 0;  // index of r0
    while (r1->length != 0) {
        if (div_BIGINT(qt, t, r0, r1, p) != 0)
            return nullptr;
        // Rotating the pointers keeps every array with its pool record.
        std::swap(r0, r1);  // r0 = r[k+1]
        std::swap(r1, t);   // r1 = r[k+2]
        if (mtp_BIGINT(t, qt, s1, p) != 0 || add_BIGINT(t, t, s0, p) != 0)
            return nullptr;
        std::swap(s0, s1);  // s0 = s[k+1]
        std::swap(s1, t);   // s1 = s[k+2]
        k++;
    }
    // r0 = gcd(a, m), s0 its cofactor.
    if (r0->length != 1 || r0->data[0] != 1)
        return nullptr;
    if ((k & 1) == 0 && s0->length != 0) {
        if (sub_BIGINT(s0, m, s0, p) != 0)
            return nullptr;
    }
    normalize_BIGINT(s0);
    return copy_BIGINT(r, s0) != 0 ? nullptr : r;
}

}  // namespace kry
