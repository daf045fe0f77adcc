// BIGINT: life cycle, growth and normalisation, word and bit access,
// comparison, single-word arithmetic, addition and subtraction of
// magnitudes and the bit shifts.
//
// A BIGINT is an unsigned magnitude of 32-bit words, least significant
// first.  The record is public, so every call first checks that length and
// size describe a usable array: a record whose fields were damaged
// (negative length, length above size, a null array with a nonzero size) is
// treated like a null argument and no word outside data[0..size) is touched.
//
// Word arrays are zeroised before they are released, including the old array
// that growth replaces.

#include <kry/bigint.h>
#include <kry/error.h>

#include "bigint/bigint_internal.h"
#include "foundation/common.h"

#include <bit>
#include <cstdint>
#include <cstring>

#if defined(__x86_64__) && !defined(KRY_BIGINT_PORTABLE)
#include <x86intrin.h>
#endif

namespace {

constexpr char kFile[] = ".\\src\\bigint";
constexpr int32_t kMaxWords = 0xFFFFFF;
constexpr uint32_t kCopyExpandFailure = 0x11010500;  // L_BIGINT_UTILS, F_COPY_BIGINT

// The constant records.  Their arrays are read-only; every writing path
// refuses them (see is_constant_data).
constexpr uint32_t kOneWord[1] = {1};
constexpr uint32_t kZeroWord[1] = {0};
const BIGINT kOne = {const_cast<uint32_t *>(kOneWord), 1, 1, BIGINT_STATIC_DATA};
const BIGINT kZero = {const_cast<uint32_t *>(kZeroWord), 1, 1, BIGINT_STATIC_DATA};

bool is_constant_record(const BIGINT *b) { return b == &kOne || b == &kZero; }
bool is_constant_data(const uint32_t *d) { return d == kOneWord || d == kZeroWord; }

// length and size describe an array that may be read.
bool usable(const BIGINT *b) {
    return b != nullptr && b->length >= 0 && b->length <= b->size &&
           (b->data != nullptr || b->size == 0);
}

void wipe_words(uint32_t *d, int32_t n) {
    if (d != nullptr && n > 0)
        kry::wipe(d, static_cast<size_t>(n) * sizeof(uint32_t));
}

// Growth to a word count computed in 64 bits (no overflow on damaged
// lengths near INT32_MAX).
BIGINT *grow(BIGINT *b, int64_t words) {
    return words > INT32_MAX ? nullptr : kry::expand_BIGINT(b, static_cast<int32_t>(words));
}

// Bit length of a nonzero word (0 for 0).
inline int32_t word_bits(uint32_t w) { return static_cast<int32_t>(std::bit_width(w)); }

// Division of a two-word value by a normalised word d (top bit set) with a
// precomputed reciprocal, after Moeller and Granlund, "Improved division by
// invariant integers" (IEEE Trans. Computers, 2011), algorithm 4.  Replaces
// a hardware division per word by two multiplications.
struct NormalisedDivisor {
    uint32_t d;  // divisor shifted left until its top bit is set
    uint32_t v;  // floor((2^64 - 1) / d) - 2^32
    int shift;   // the shift applied

    explicit NormalisedDivisor(uint32_t w)
        : d(w << (32 - word_bits(w))),
          v(static_cast<uint32_t>(((static_cast<uint64_t>(~d) << 32) | 0xFFFFFFFFu) / d)),
          shift(32 - word_bits(w)) {}

    // (hi : lo) / d for hi < d: the quotient, and the remainder in hi.
    uint32_t divide(uint32_t &hi, uint32_t lo) const {
        const uint64_t q = static_cast<uint64_t>(v) * hi + ((static_cast<uint64_t>(hi) << 32) | lo);
        uint32_t q1 = static_cast<uint32_t>(q >> 32) + 1;
        const uint32_t q0 = static_cast<uint32_t>(q);
        uint32_t r = lo - q1 * d;
        if (r > q0) {
            q1--;
            r += d;
        }
        if (r >= d) {
            q1++;
            r -= d;
        }
        hi = r;
        return q1;
    }
};

// Word j of x[0..n) shifted left by s (0 <= s < 32), for j in [0, n].
inline uint32_t shifted_word(const uint32_t *x, int32_t n, int32_t j, int s) {
    const uint32_t hi = j < n ? x[j] : 0;
    if (s == 0)
        return hi;
    const uint32_t lo = j > 0 ? x[j - 1] : 0;
    return (hi << s) | (lo >> (32 - s));
}

// Two words as one 64-bit limb (the words are least significant first, so
// on this little-endian target a pair reads as a native 64-bit value).
inline uint64_t load_pair(const uint32_t *p) {
    uint64_t v;
    std::memcpy(&v, p, sizeof v);
    return v;
}
inline void store_pair(uint32_t *p, uint64_t v) { std::memcpy(p, &v, sizeof v); }

// z = x + y over n words, then the carry through x's words [n, m); returns
// the carry out.  z may be x or y.
uint32_t add_words(uint32_t *z, const uint32_t *x, int32_t m, const uint32_t *y, int32_t n) {
    int32_t i = 0;
#if defined(__x86_64__) && !defined(KRY_BIGINT_PORTABLE)
    // Four words per step in one add-with-carry chain.
    unsigned char c = 0;
    for (; i + 4 <= n; i += 4) {
        unsigned long long t0, t1;
        c = _addcarry_u64(c, load_pair(x + i), load_pair(y + i), &t0);
        c = _addcarry_u64(c, load_pair(x + i + 2), load_pair(y + i + 2), &t1);
        store_pair(z + i, t0);
        store_pair(z + i + 2, t1);
    }
    unsigned long long carry = c;
#else
    unsigned long long carry = 0;
#endif
    for (; i + 2 <= n; i += 2) {
        unsigned long long t;
        const bool c1 = __builtin_uaddll_overflow(load_pair(x + i), load_pair(y + i), &t);
        const bool c2 = __builtin_uaddll_overflow(t, carry, &t);
        store_pair(z + i, t);
        carry = c1 | c2;
    }
    for (; i < n; i++) {
        const uint64_t t = static_cast<uint64_t>(x[i]) + y[i] + carry;
        z[i] = static_cast<uint32_t>(t);
        carry = t >> 32;
    }
    for (; i < m && carry != 0; i++) {
        const uint32_t zi = x[i] + 1;
        z[i] = zi;
        carry = zi == 0;
    }
    if (z != x && i < m)
        std::memcpy(z + i, x + i, static_cast<size_t>(m - i) * sizeof(uint32_t));
    return static_cast<uint32_t>(carry);
}

// z = x - y over n words, then the borrow through x's words [n, m); returns
// the borrow out.  z may be x or y.
uint32_t sub_words(uint32_t *z, const uint32_t *x, int32_t m, const uint32_t *y, int32_t n) {
    int32_t i = 0;
#if defined(__x86_64__) && !defined(KRY_BIGINT_PORTABLE)
    unsigned char c = 0;
    for (; i + 4 <= n; i += 4) {
        unsigned long long t0, t1;
        c = _subborrow_u64(c, load_pair(x + i), load_pair(y + i), &t0);
        c = _subborrow_u64(c, load_pair(x + i + 2), load_pair(y + i + 2), &t1);
        store_pair(z + i, t0);
        store_pair(z + i + 2, t1);
    }
    unsigned long long borrow = c;
#else
    unsigned long long borrow = 0;
#endif
    for (; i + 2 <= n; i += 2) {
        unsigned long long t;
        const bool b1 = __builtin_usubll_overflow(load_pair(x + i), load_pair(y + i), &t);
        const bool b2 = __builtin_usubll_overflow(t, borrow, &t);
        store_pair(z + i, t);
        borrow = b1 | b2;
    }
    for (; i < n; i++) {
        const uint64_t t = static_cast<uint64_t>(x[i]) - y[i] - borrow;
        z[i] = static_cast<uint32_t>(t);
        borrow = (t >> 63) & 1;
    }
    for (; i < m && borrow != 0; i++) {
        const uint32_t xi = x[i];
        z[i] = xi - 1;
        borrow = xi == 0;
    }
    if (z != x && i < m)
        std::memcpy(z + i, x + i, static_cast<size_t>(m - i) * sizeof(uint32_t));
    return static_cast<uint32_t>(borrow);
}

}  // namespace

namespace kry {

BIGINT *expand_BIGINT(BIGINT *b, int32_t words) {
    if (!usable(b) || is_constant_record(b) || is_constant_data(b->data))
        return nullptr;
    if (words <= b->size)
        return b;
    if (words > kMaxWords || (b->flags & BIGINT_STATIC_DATA) != 0)
        return nullptr;
    auto *fresh = static_cast<uint32_t *>(
        lum_malloc(static_cast<uint32_t>(words) * sizeof(uint32_t), kFile, __LINE__));
    if (fresh == nullptr)
        return nullptr;
    if (b->data != nullptr) {
        if (b->length > 0)
            std::memcpy(fresh, b->data, static_cast<size_t>(b->length) * sizeof(uint32_t));
        wipe_words(b->data, b->size);
        lum_free(b->data, kFile, __LINE__);
    }
    b->data = fresh;
    b->size = words;
    return b;
}

void normalize_BIGINT(BIGINT *b) {
    if (!usable(b))
        return;
    int32_t n = b->length;
    while (n > 0 && b->data[n - 1] == 0)
        n--;
    b->length = n;
}

int cmp_BIGINT_words(const uint32_t *a, const uint32_t *b, int32_t n) {
    if (a == nullptr || b == nullptr)
        return 1;
    for (int32_t i = n - 1; i >= 0; i--) {
        if (a[i] != b[i])
            return a[i] > b[i] ? 1 : -1;
    }
    return 0;
}

int lshift_BIGINT(BIGINT *r, const BIGINT *a, int32_t n) {
    if (!usable(a) || r == nullptr || n < 0)
        return 1;
    const int32_t la = a->length;
    const int32_t ws = n / 32;
    const int bits = n % 32;
    if (grow(r, int64_t{la} + ws + 1) == nullptr)
        return 1;
    const uint32_t *src = a->data;  // read after growth: r may be a
    uint32_t *dst = r->data;
    if (la == 0) {
        r->length = 0;
        return 0;
    }
    if (bits == 0) {
        dst[la + ws] = 0;
        for (int32_t i = la - 1; i >= 0; i--)
            dst[i + ws] = src[i];
    } else {
        const int back = 32 - bits;
        dst[la + ws] = src[la - 1] >> back;
        for (int32_t i = la - 1; i > 0; i--)
            dst[i + ws] = (src[i] << bits) | (src[i - 1] >> back);
        dst[ws] = src[0] << bits;
    }
    if (ws > 0)
        std::memset(dst, 0, static_cast<size_t>(ws) * sizeof(uint32_t));
    r->length = la + ws + 1;
    normalize_BIGINT(r);
    return 0;
}

int rshift_BIGINT(BIGINT *r, const BIGINT *a, int32_t n) {
    if (!usable(a) || !usable(r) || n < 0)
        return 1;
    const int32_t la = a->length;
    const int32_t ws = n / 32;
    const int bits = n % 32;
    if (ws >= la) {
        if (expand_BIGINT(r, 0) == nullptr)
            return 1;
        r->length = 0;
        return 0;
    }
    const int32_t lr = la - ws;
    if (expand_BIGINT(r, lr) == nullptr)
        return 1;
    const uint32_t *src = a->data;
    uint32_t *dst = r->data;
    if (bits == 0) {
        for (int32_t i = 0; i < lr; i++)
            dst[i] = src[i + ws];
    } else {
        const int back = 32 - bits;
        for (int32_t i = 0; i < lr - 1; i++)
            dst[i] = (src[i + ws] >> bits) | (src[i + ws + 1] << back);
        dst[lr - 1] = src[la - 1] >> bits;
    }
    r->length = lr;
    normalize_BIGINT(r);
    return 0;
}

}  // namespace kry

using kry::expand_BIGINT;
using kry::normalize_BIGINT;

extern "C" {

// ---- life cycle --------------------------------------------------------------

KRY_API BIGINT *new_BIGINT(void) {
    auto *b = static_cast<BIGINT *>(lum_malloc(sizeof(BIGINT), kFile, __LINE__));
    if (b == nullptr)
        return nullptr;
    *b = BIGINT{nullptr, 0, 0, BIGINT_MALLOCED};
    return b;
}

// For a record in caller memory.  A record already marked by the library is
// zeroed first (an attached array is dropped, not released).
KRY_API int init_BIGINT(BIGINT *b) {
    if (b == nullptr || is_constant_record(b))
        return 1;
    if ((b->flags & (BIGINT_MALLOCED | BIGINT_STATIC_DATA | BIGINT_IN_PLACE)) != 0)
        *b = BIGINT{nullptr, 0, 0, 0};
    b->flags |= BIGINT_IN_PLACE;
    return 0;
}

// Zeroises and releases the array; constant arrays are only dropped.
KRY_API void clear_BIGINT(BIGINT *b) {
    if (b == nullptr || is_constant_record(b))
        return;
    if (b->data != nullptr) {
        const bool constant = (b->flags & BIGINT_STATIC_DATA) != 0 || is_constant_data(b->data);
        if (!constant) {
            if (b->size > 0)
                wipe_words(b->data, b->size);
            lum_free(b->data, kFile, __LINE__);
        }
        b->data = nullptr;
        b->flags &= ~BIGINT_STATIC_DATA;
    }
    b->length = 0;
    b->size = 0;
}

KRY_API int free_BIGINT(BIGINT *b) {
    if (b == nullptr || is_constant_record(b))
        return 1;
    clear_BIGINT(b);
    if ((b->flags & BIGINT_MALLOCED) != 0) {
        kry::wipe_object(*b);
        lum_free(b, kFile, __LINE__);
    }
    return 0;
}

KRY_API uint32_t copy_BIGINT(BIGINT *dst, const BIGINT *src) {
    if (dst == nullptr || !usable(src))
        return 1;
    if (dst == src)
        return 0;
    if (expand_BIGINT(dst, src->length) == nullptr)
        return usable(dst) ? kCopyExpandFailure : 1;
    if (src->length > 0)
        std::memmove(dst->data, src->data, static_cast<size_t>(src->length) * sizeof(uint32_t));
    dst->length = src->length;
    return 0;
}

KRY_API BIGINT *dup_BIGINT(const BIGINT *src) {
    if (!usable(src))
        return nullptr;
    BIGINT *b = new_BIGINT();
    if (b == nullptr)
        return nullptr;
    if (copy_BIGINT(b, src) != 0) {
        free_BIGINT(b);
        return nullptr;
    }
    return b;
}

// Exchanges the arrays; each record keeps its own MALLOCED bit and takes the
// other's STATIC_DATA bit, which belongs to the array.
KRY_API int swap_BIGINT(BIGINT *a, BIGINT *b) {
    if (a == nullptr || b == nullptr || is_constant_record(a) || is_constant_record(b))
        return 1;
    const BIGINT ta = *a;
    const BIGINT tb = *b;
    a->data = tb.data;
    a->length = tb.length;
    a->size = tb.size;
    a->flags = (ta.flags & BIGINT_MALLOCED) | (tb.flags & BIGINT_STATIC_DATA);
    b->data = ta.data;
    b->length = ta.length;
    b->size = ta.size;
    b->flags = (tb.flags & BIGINT_MALLOCED) | (ta.flags & BIGINT_STATIC_DATA);
    return 0;
}

KRY_API const BIGINT *value_one_BIGINT(void) { return &kOne; }
KRY_API const BIGINT *value_zero_BIGINT(void) { return &kZero; }

// ---- words and bits -------------------------------------------------------------

KRY_API int set_BIGINT_word(BIGINT *b, uint32_t w) {
    if (expand_BIGINT(b, 1) == nullptr)
        return 1;
    b->data[0] = w;
    b->length = w != 0 ? 1 : 0;
    return 0;
}

KRY_API uint32_t get_BIGINT_word(const BIGINT *b) {
    if (!usable(b))
        return 1;
    if (b->length == 0)
        return 0;
    return b->length == 1 ? b->data[0] : 0xFFFFFFFFu;
}

KRY_API int set_BIGINT_bit(BIGINT *b, int32_t n) {
    if (!usable(b) || n < 0)
        return 1;
    const int32_t word = n / 32;
    if (word >= b->length) {
        if (expand_BIGINT(b, word + 1) == nullptr)
            return 1;
        std::memset(b->data + b->length, 0,
                    static_cast<size_t>(word + 1 - b->length) * sizeof(uint32_t));
        b->length = word + 1;
    } else if (expand_BIGINT(b, b->length) == nullptr) {
        return 1;  // constant array
    }
    b->data[word] |= 1u << (n % 32);
    return 0;
}

KRY_API int is_BIGINT_bit_set(const BIGINT *b, int32_t n) {
    if (!usable(b) || n < 0 || n / 32 >= b->length)
        return 0;
    return (b->data[n / 32] >> (n % 32)) & 1u;
}

KRY_API int32_t get_BIGINT_bits_length(const BIGINT *b) {
    if (!usable(b) || b->length == 0)
        return 0;
    const int64_t bits = 32 * (int64_t{b->length} - 1) + word_bits(b->data[b->length - 1]);
    return bits <= INT32_MAX - 8 ? static_cast<int32_t>(bits) : 0;
}

KRY_API int cmp_BIGINT(const BIGINT *a, const BIGINT *b) {
    if (!usable(a) || !usable(b))
        return 1;
    if (a->length != b->length)
        return a->length > b->length ? 1 : -1;
    return kry::cmp_BIGINT_words(a->data, b->data, a->length);
}

// ---- single-word arithmetic -------------------------------------------------------

KRY_API int add_BIGINT_word(BIGINT *b, uint32_t w) {
    if (!usable(b))
        return 1;
    if (w == 0)
        return 0;
    if (b->length == 0)
        return set_BIGINT_word(b, w);
    const int32_t n = b->length;
    // Room for the carry word is made up front when the top word is full.
    if (grow(b, b->data[n - 1] == 0xFFFFFFFFu ? int64_t{n} + 1 : n) == nullptr)
        return 1;
    uint32_t *d = b->data;
    uint32_t carry = w;
    for (int32_t i = 0; i < n && carry != 0; i++) {
        const uint32_t s = d[i] + carry;
        carry = s < carry ? 1 : 0;
        d[i] = s;
    }
    if (carry != 0) {
        if (grow(b, int64_t{n} + 1) == nullptr)
            return 1;
        b->data[n] = 1;
        b->length = n + 1;
    }
    return 0;
}

// b - w.  A value that cannot go below zero: a zero b becomes w and a
// one-word b smaller than w becomes w - b.
KRY_API int sub_BIGINT_word(BIGINT *b, uint32_t w) {
    if (!usable(b))
        return 1;
    if (b->length == 0)
        return set_BIGINT_word(b, w);
    if (expand_BIGINT(b, b->length) == nullptr)
        return 1;  // constant array
    uint32_t *d = b->data;
    const int32_t n = b->length;
    if (n == 1) {
        d[0] = d[0] < w ? w - d[0] : d[0] - w;
        b->length = d[0] != 0 ? 1 : 0;
        return 0;
    }
    uint32_t borrow = w;
    for (int32_t i = 0; i < n && borrow != 0; i++) {
        const uint32_t x = d[i];
        d[i] = x - borrow;
        borrow = x < borrow ? 1 : 0;
    }
    if (d[n - 1] == 0)
        b->length = n - 1;
    return 0;
}

// Divides in place by a normalised divisor (HAC 14.20 with a one-word
// divisor): b and w are shifted left until w's top bit is set, each step
// divides (remainder : word) by it, and the remainder is shifted back.  The
// shifted words are formed on the fly; the array still grows by the word
// the shift may need, and zero top words are dropped as the shift does.
// Afterwards one leading zero word of the quotient is trimmed.
KRY_API uint32_t div_BIGINT_word(BIGINT *b, uint32_t w) {
    if (w == 0 || !usable(b))
        return 0xFFFFFFFFu;
    if (b->length == 0)
        return 0;
    if (grow(b, int64_t{b->length} + 1) == nullptr)
        return 0xFFFFFFFFu;
    normalize_BIGINT(b);
    const NormalisedDivisor nd(w);
    uint32_t *x = b->data;
    const int32_t n = b->length;
    const int s = nd.shift;
    // The word shifted out at the top is below d: its quotient word is 0.
    uint32_t rem = shifted_word(x, n, n, s);
    if (s == 0) {
        for (int32_t j = n - 1; j >= 0; j--)
            x[j] = nd.divide(rem, x[j]);
    } else {
        for (int32_t j = n - 1; j > 0; j--)
            x[j] = nd.divide(rem, (x[j] << s) | (x[j - 1] >> (32 - s)));
        x[0] = nd.divide(rem, x[0] << s);
    }
    if (n > 0 && x[n - 1] == 0)
        b->length = n - 1;
    return rem >> nd.shift;
}

// b mod w, from the top word down, leaving b unchanged.
KRY_API uint32_t mod_BIGINT_word(const BIGINT *b, uint32_t w) {
    if (w == 0 || !usable(b))
        return 0xFFFFFFFFu;
    const NormalisedDivisor nd(w);
    const uint32_t *x = b->data;
    const int32_t n = b->length;
    const int s = nd.shift;
    if (n == 0)
        return 0;
    uint32_t rem = shifted_word(x, n, n, s);
    if (s == 0) {
        for (int32_t j = n - 1; j >= 0; j--)
            nd.divide(rem, x[j]);
    } else {
        for (int32_t j = n - 1; j > 0; j--)
            nd.divide(rem, (x[j] << s) | (x[j - 1] >> (32 - s)));
        nd.divide(rem, x[0] << s);
    }
    return rem >> nd.shift;
}

// ---- addition and subtraction -------------------------------------------------------

KRY_API int add_BIGINT(BIGINT *r, const BIGINT *a, const BIGINT *b, BIGINT_POOL *) {
    if (r == nullptr || !usable(a) || !usable(b))
        return 1;
    if (a->length < b->length) {
        const BIGINT *t = a;
        a = b;
        b = t;
    }
    const int32_t la = a->length;
    const int32_t lb = b->length;
    if (grow(r, int64_t{la} + 1) == nullptr)
        return 1;
    // Read after growth: r may be a or b.
    const uint32_t carry = add_words(r->data, a->data, la, b->data, lb);
    if (carry != 0) {
        r->data[la] = 1;
        r->length = la + 1;
    } else {
        r->length = la;
    }
    return 0;
}

// r = a - b for a >= b; 1 when the borrow runs out of a's words.
KRY_API int sub_BIGINT(BIGINT *r, const BIGINT *a, const BIGINT *b, BIGINT_POOL *) {
    if (r == nullptr || !usable(a) || !usable(b))
        return 1;
    const int32_t la = a->length;
    int32_t lb = b->length;
    // Zero words above a's length (an unnormalised b) take no part.
    while (lb > la && b->data[lb - 1] == 0)
        lb--;
    if (lb > la)
        return 1;
    if (expand_BIGINT(r, la) == nullptr)
        return 1;
    const uint32_t borrow = sub_words(r->data, a->data, la, b->data, lb);
    r->length = la;
    if (borrow != 0)
        return 1;
    normalize_BIGINT(r);
    return 0;
}

}  // extern "C"
