// Modular exponentiation by sliding windows (HAC 14.85), with Montgomery
// multiplication (HAC 14.36; P. L. Montgomery, "Modular multiplication
// without trial division", Math. Comp. 44, 1985) or with plain products and
// long division.
//
// Montgomery products of residues below the modulus do not go through a
// separate product and reduction: for a modulus of an even number of 32-bit
// words they are formed on 64-bit limbs by product scanning, multiplication
// and reduction interleaved column by column; for an odd number of words by
// operand scanning on 32-bit limbs.  R is 2^(32 n) for a modulus of n words
// either way, so the result is the one reduce_mont_BIGINT gives after a
// plain product.  Inputs outside that case take the separate route.  An
// exponentiation whose modulus allows it runs entirely on 64-bit limbs.
//
// On x86-64 the inner column sums are a few lines of assembly (plain mulq,
// available on every x86-64 processor); elsewhere, or with
// KRY_BIGINT_PORTABLE defined, the same sums are written in C++.

#include <kry/bigint.h>
#include <kry/error.h>

#include "bigint/bigint_ifma.h"
#include "bigint/bigint_internal.h"
#include "foundation/common.h"

#include <cstdint>
#include <cstring>

namespace {

using kry::readable;
using kry::ScratchPool;
using kry::used_words;

constexpr char kFile[] = ".\\src\\bigint_mont";

using u64 = uint64_t;
using u128 = unsigned __int128;

// Compares the values (not the lengths) of two records: 1, 0 or -1.
int cmp_values(const BIGINT *a, const BIGINT *b) {
    const int32_t na = used_words(a);
    const int32_t nb = used_words(b);
    if (na != nb)
        return na > nb ? 1 : -1;
    return kry::cmp_BIGINT_words(a->data, b->data, na);
}

// A pool integer grown to words words; null on failure.
BIGINT *take(BIGINT_POOL *pool, int32_t words) {
    BIGINT *b = get_BIGINT_POOL(pool);
    if (b == nullptr || kry::expand_BIGINT(b, words < 1 ? 1 : words) == nullptr)
        return nullptr;
    return b;
}

// ---- fused Montgomery product: operand scanning ----------------------------------
//
// Used on 32-bit limbs, for a modulus of an odd number of words.

// Largest modulus of the fused product, in 32-bit words (8192 bits).
constexpr int32_t kFusedWords = 256;

template <class Limb> struct Wider;
template <> struct Wider<uint32_t> { using type = u64; };
template <> struct Wider<u64> { using type = u128; };

// r[0..n) = a b B^-n mod m for a, b < m, m odd, n0 = -m^-1 mod B; t holds
// n + 1 limbs.  Each row adds a * b[i] and u * m, u chosen to clear the low
// limb, and shifts one limb down; two carry chains keep every sum inside a
// double limb.  The running value stays below 2m, so one conditional
// subtraction ends it.
template <class Limb>
void mont_mul(Limb *r, const Limb *a, const Limb *b, const Limb *m, int32_t n, Limb n0, Limb *t) {
    using Wide = typename Wider<Limb>::type;
    constexpr int kBits = 8 * sizeof(Limb);
    std::memset(t, 0, sizeof(Limb) * static_cast<size_t>(n + 1));
    for (int32_t i = 0; i < n; i++) {
        const Limb bi = b[i];
        Wide x = static_cast<Wide>(a[0]) * bi + t[0];
        Limb c1 = static_cast<Limb>(x >> kBits);
        const Limb u = static_cast<Limb>(x) * n0;
        Wide y = static_cast<Wide>(u) * m[0] + static_cast<Limb>(x);
        Limb c2 = static_cast<Limb>(y >> kBits);
        for (int32_t j = 1; j < n; j++) {
            x = static_cast<Wide>(a[j]) * bi + t[j] + c1;
            c1 = static_cast<Limb>(x >> kBits);
            y = static_cast<Wide>(u) * m[j] + static_cast<Limb>(x) + c2;
            t[j - 1] = static_cast<Limb>(y);
            c2 = static_cast<Limb>(y >> kBits);
        }
        const Wide z = static_cast<Wide>(t[n]) + c1 + c2;
        t[n - 1] = static_cast<Limb>(z);
        t[n] = static_cast<Limb>(z >> kBits);
    }
    // r = t - m when t >= m, else t.
    Limb borrow = 0;
    for (int32_t j = 0; j < n; j++) {
        const Limb d = t[j] - m[j];
        const Limb b1 = t[j] < m[j];
        r[j] = d - borrow;
        borrow = b1 | (d < borrow);
    }
    if (borrow > t[n])
        std::memcpy(r, t, sizeof(Limb) * static_cast<size_t>(n));
}

// r[0..n) = a^2 B^-n mod m: the square's cross products once, doubled, plus
// the squares of the limbs, then n reduction rows.  t holds 2n + 1 limbs.
template <class Limb>
void mont_sqr(Limb *r, const Limb *a, const Limb *m, int32_t n, Limb n0, Limb *t) {
    using Wide = typename Wider<Limb>::type;
    constexpr int kBits = 8 * sizeof(Limb);
    const int32_t n2 = 2 * n;
    // Cross products a[i] a[j], i < j, at t[i + j].
    t[0] = 0;
    t[n2 - 1] = 0;
    t[n2] = 0;
    if (n > 1) {
        Limb c = 0;
        for (int32_t j = 1; j < n; j++) {
            const Wide x = static_cast<Wide>(a[0]) * a[j] + c;
            t[j] = static_cast<Limb>(x);
            c = static_cast<Limb>(x >> kBits);
        }
        t[n] = c;
        for (int32_t i = 1; i < n - 1; i++) {
            const Limb ai = a[i];
            c = 0;
            for (int32_t j = i + 1; j < n; j++) {
                const Wide x = static_cast<Wide>(ai) * a[j] + t[i + j] + c;
                t[i + j] = static_cast<Limb>(x);
                c = static_cast<Limb>(x >> kBits);
            }
            t[n + i] = c;
        }
    }
    // Doubled, plus the limbs' squares.
    Limb shifted_out = 0;
    Limb carry = 0;
    for (int32_t i = 0; i < n; i++) {
        const Wide sq = static_cast<Wide>(a[i]) * a[i];
        const Limb lo = t[2 * i];
        const Limb hi = t[2 * i + 1];
        const Limb dlo = static_cast<Limb>((lo << 1) | shifted_out);
        const Limb dhi = static_cast<Limb>((hi << 1) | (lo >> (kBits - 1)));
        shifted_out = hi >> (kBits - 1);
        Wide s = static_cast<Wide>(dlo) + static_cast<Limb>(sq) + carry;
        t[2 * i] = static_cast<Limb>(s);
        s = static_cast<Wide>(dhi) + static_cast<Limb>(sq >> kBits) + static_cast<Limb>(s >> kBits);
        t[2 * i + 1] = static_cast<Limb>(s);
        carry = static_cast<Limb>(s >> kBits);
    }
    // Reduction: row i clears t[i] by adding u m at t[i..], its carry
    // rippling into t[i + n].
    Limb top = 0;  // carry out of t[i + n] waiting for the next row
    for (int32_t i = 0; i < n; i++) {
        const Limb u = t[i] * n0;
        Limb c = 0;
        for (int32_t j = 0; j < n; j++) {
            const Wide x = static_cast<Wide>(u) * m[j] + t[i + j] + c;
            t[i + j] = static_cast<Limb>(x);
            c = static_cast<Limb>(x >> kBits);
        }
        const Wide z = static_cast<Wide>(t[i + n]) + c + top;
        t[i + n] = static_cast<Limb>(z);
        top = static_cast<Limb>(z >> kBits);
    }
    // The result t[n..2n) plus top (< 2m).
    const Limb *h = t + n;
    Limb borrow = 0;
    for (int32_t j = 0; j < n; j++) {
        const Limb d = h[j] - m[j];
        const Limb b1 = h[j] < m[j];
        r[j] = d - borrow;
        borrow = b1 | (d < borrow);
    }
    if (borrow > top)
        std::memcpy(r, h, sizeof(Limb) * static_cast<size_t>(n));
}

// ---- product scanning on 64-bit limbs ----------------------------------------
//
// The finely integrated product-scanning form (Koc, Acar and Kaliski,
// "Analyzing and comparing Montgomery multiplication algorithms", IEEE
// Micro 16(3), 1996): column k of the result gathers every a[j] b[k-j] and
// u[j] m[k-j] in a three-limb accumulator; while k < n, u[k] is chosen to
// clear the column's low limb.  The accumulator never leaves registers.

struct Acc {
    u64 lo = 0, mid = 0, hi = 0;

    void mac(u64 x, u64 y) {
        const u128 p = static_cast<u128>(x) * y;
        const u128 s = ((static_cast<u128>(mid) << 64) | lo) + p;
        hi += s < p;
        lo = static_cast<u64>(s);
        mid = static_cast<u64>(s >> 64);
    }
    // Adds twice the value of c (the cross products of a square's column).
    void add_doubled(const Acc &c) {
        const u64 dlo = c.lo << 1;
        const u64 dmid = (c.mid << 1) | (c.lo >> 63);
        const u64 dhi = (c.hi << 1) | (c.mid >> 63);
        const u128 d = (static_cast<u128>(dmid) << 64) | dlo;
        const u128 s = ((static_cast<u128>(mid) << 64) | lo) + d;
        hi += dhi + (s < d);
        lo = static_cast<u64>(s);
        mid = static_cast<u64>(s >> 64);
    }
    // Hands out the low limb and moves one limb down.
    u64 shift() {
        const u64 out = lo;
        lo = mid;
        mid = hi;
        hi = 0;
        return out;
    }
};

// acc += x y, with y read from memory.
inline void mac(Acc &acc, u64 x, const u64 *y) {
#if defined(__x86_64__) && !defined(KRY_BIGINT_PORTABLE)
    __asm__("mulq %[y]\n\t"
            "addq %%rax, %[lo]\n\t"
            "adcq %%rdx, %[mid]\n\t"
            "adcq $0, %[hi]"
            : [lo] "+r"(acc.lo), [mid] "+r"(acc.mid), [hi] "+r"(acc.hi), "+a"(x)
            : [y] "m"(*y)
            : "rdx", "cc");
#else
    acc.mac(x, *y);
#endif
}

// acc += x[0] y[0] + x[1] y[-1] + ... (count terms; y walks down).
inline void dot(Acc &acc, const u64 *x, const u64 *y, long count) {
    if ((count & 1) != 0) {
        acc.mac(*x++, *y--);
        count--;
    }
#if defined(__x86_64__) && !defined(KRY_BIGINT_PORTABLE)
    if (count > 0) {
        __asm__(
            "1:\n\t"
            "movq (%[x]), %%rax\n\t"
            "mulq (%[y])\n\t"
            "addq %%rax, %[lo]\n\t"
            "adcq %%rdx, %[mid]\n\t"
            "adcq $0, %[hi]\n\t"
            "movq 8(%[x]), %%rax\n\t"
            "mulq -8(%[y])\n\t"
            "addq %%rax, %[lo]\n\t"
            "adcq %%rdx, %[mid]\n\t"
            "adcq $0, %[hi]\n\t"
            "leaq 16(%[x]), %[x]\n\t"
            "leaq -16(%[y]), %[y]\n\t"
            "subq $2, %[count]\n\t"
            "jnz 1b\n\t"
            : [lo] "+r"(acc.lo), [mid] "+r"(acc.mid), [hi] "+r"(acc.hi), [x] "+r"(x), [y] "+r"(y),
              [count] "+r"(count)
            :
            : "rax", "rdx", "cc", "memory");
    }
#else
    for (; count > 0; count--)
        acc.mac(*x++, *y--);
#endif
}

// acc += sum over k < count of x[k] y[-k] + v[k] w[-k].
inline void dot2(Acc &acc, const u64 *x, const u64 *y, const u64 *v, const u64 *w, long count) {
    if ((count & 1) != 0) {
        acc.mac(*x++, *y--);
        acc.mac(*v++, *w--);
        count--;
    }
#if defined(__x86_64__) && !defined(KRY_BIGINT_PORTABLE)
    if (count > 0) {
        __asm__(
            "1:\n\t"
            "movq (%[x]), %%rax\n\t"
            "mulq (%[y])\n\t"
            "addq %%rax, %[lo]\n\t"
            "adcq %%rdx, %[mid]\n\t"
            "adcq $0, %[hi]\n\t"
            "movq (%[v]), %%rax\n\t"
            "mulq (%[w])\n\t"
            "addq %%rax, %[lo]\n\t"
            "adcq %%rdx, %[mid]\n\t"
            "adcq $0, %[hi]\n\t"
            "movq 8(%[x]), %%rax\n\t"
            "mulq -8(%[y])\n\t"
            "addq %%rax, %[lo]\n\t"
            "adcq %%rdx, %[mid]\n\t"
            "adcq $0, %[hi]\n\t"
            "movq 8(%[v]), %%rax\n\t"
            "mulq -8(%[w])\n\t"
            "addq %%rax, %[lo]\n\t"
            "adcq %%rdx, %[mid]\n\t"
            "adcq $0, %[hi]\n\t"
            "leaq 16(%[x]), %[x]\n\t"
            "leaq 16(%[v]), %[v]\n\t"
            "leaq -16(%[y]), %[y]\n\t"
            "leaq -16(%[w]), %[w]\n\t"
            "subq $2, %[count]\n\t"
            "jnz 1b\n\t"
            : [lo] "+r"(acc.lo), [mid] "+r"(acc.mid), [hi] "+r"(acc.hi), [x] "+r"(x), [y] "+r"(y),
              [v] "+r"(v), [w] "+r"(w), [count] "+r"(count)
            :
            : "rax", "rdx", "cc", "memory");
    }
#else
    for (; count > 0; count--) {
        acc.mac(*x++, *y--);
        acc.mac(*v++, *w--);
    }
#endif
}

// r = t - m when t (n limbs and a top limb) >= m, else t.
void final_subtract(u64 *r, const u64 *t, u64 top, const u64 *m, int32_t n) {
    u64 borrow = 0;
    for (int32_t j = 0; j < n; j++) {
        const u128 d = static_cast<u128>(t[j]) - m[j] - borrow;
        r[j] = static_cast<u64>(d);
        borrow = static_cast<u64>(d >> 64) & 1;
    }
    if (borrow > top)
        std::memcpy(r, t, sizeof(u64) * static_cast<size_t>(n));
}

// r = a b R^-1 mod m for a, b < m; u and t hold n limbs each.  The value
// before the final subtraction is below 2m.
void fips_mul(u64 *r, const u64 *a, const u64 *b, const u64 *m, int32_t n, u64 n0, u64 *u, u64 *t) {
    Acc acc;
    for (int32_t i = 0; i < n; i++) {
        dot2(acc, a, b + i, u, m + i, i);
        acc.mac(a[i], b[0]);
        u[i] = acc.lo * n0;
        acc.mac(u[i], m[0]);
        acc.shift();
    }
    for (int32_t i = n; i < 2 * n - 1; i++) {
        const int32_t j = i - n + 1;
        dot2(acc, a + j, b + n - 1, u + j, m + n - 1, n - j);
        t[i - n] = acc.shift();
    }
    t[n - 1] = acc.shift();
    final_subtract(r, t, acc.lo, m, n);
}

// r = a^2 R^-1 mod m: each column's cross products a[j] a[k-j], j < k - j,
// are gathered once and doubled, then the square of the middle limb and
// the reduction terms are added.
void fips_sqr(u64 *r, const u64 *a, const u64 *m, int32_t n, u64 n0, u64 *u, u64 *t) {
    Acc acc;
    for (int32_t i = 0; i < n; i++) {
        Acc cross;
        dot(cross, a, a + i, (i + 1) / 2);
        acc.add_doubled(cross);
        if ((i & 1) == 0)
            acc.mac(a[i / 2], a[i / 2]);
        dot(acc, u, m + i, i);
        u[i] = acc.lo * n0;
        acc.mac(u[i], m[0]);
        acc.shift();
    }
    for (int32_t i = n; i < 2 * n - 1; i++) {
        const int32_t j = i - n + 1;
        Acc cross;
        dot(cross, a + j, a + n - 1, (n - j) / 2);
        acc.add_doubled(cross);
        if ((i & 1) == 0)
            acc.mac(a[i / 2], a[i / 2]);
        dot(acc, u + j, m + n - 1, n - j);
        t[i - n] = acc.shift();
    }
    t[n - 1] = acc.shift();
    final_subtract(r, t, acc.lo, m, n);
}

// The same two products for a fixed number of limbs, every loop unrolled:
// used for the common sizes (512, 1024, 1536 and 2048 bits), where the loops'
// own bookkeeping is a large share of the work.
template <int N> void fips_mul_fixed(u64 *r, const u64 *a, const u64 *b, const u64 *m, u64 n0) {
    u64 u[N], t[N];
    Acc acc;
#pragma GCC unroll 64
    for (int i = 0; i < N; i++) {
#pragma GCC unroll 64
        for (int j = 0; j < i; j++) {
            mac(acc, a[j], &b[i - j]);
            mac(acc, u[j], &m[i - j]);
        }
        mac(acc, a[i], &b[0]);
        u[i] = acc.lo * n0;
        mac(acc, u[i], &m[0]);
        acc.shift();
    }
#pragma GCC unroll 64
    for (int i = N; i < 2 * N - 1; i++) {
#pragma GCC unroll 64
        for (int j = i - N + 1; j < N; j++) {
            mac(acc, a[j], &b[i - j]);
            mac(acc, u[j], &m[i - j]);
        }
        t[i - N] = acc.shift();
    }
    t[N - 1] = acc.shift();
    final_subtract(r, t, acc.lo, m, N);
    kry::wipe(u, sizeof u);
    kry::wipe(t, sizeof t);
}

template <int N> void fips_sqr_fixed(u64 *r, const u64 *a, const u64 *m, u64 n0) {
    u64 u[N], t[N];
    Acc acc;
#pragma GCC unroll 64
    for (int i = 0; i < 2 * N - 1; i++) {
        const int lo = i < N ? 0 : i - N + 1;
        Acc cross;
#pragma GCC unroll 64
        for (int j = lo; j < i - j; j++)
            mac(cross, a[j], &a[i - j]);
        acc.add_doubled(cross);
        if ((i & 1) == 0)
            mac(acc, a[i / 2], &a[i / 2]);
#pragma GCC unroll 64
        for (int j = lo; j < (i < N ? i : N); j++)
            mac(acc, u[j], &m[i - j]);
        if (i < N) {
            u[i] = acc.lo * n0;
            mac(acc, u[i], &m[0]);
            acc.shift();
        } else {
            t[i - N] = acc.shift();
        }
    }
    t[N - 1] = acc.shift();
    final_subtract(r, t, acc.lo, m, N);
    kry::wipe(u, sizeof u);
    kry::wipe(t, sizeof t);
}

// Montgomery product and square on limbs limbs, by the unrolled forms where
// there is one; u and t are the loops' working arrays (limbs limbs each).
void limb_mul(u64 *r, const u64 *a, const u64 *b, const u64 *m, int32_t limbs, u64 n0, u64 *u, u64 *t) {
    switch (limbs) {
    case 8:
        return fips_mul_fixed<8>(r, a, b, m, n0);
    case 16:
        return fips_mul_fixed<16>(r, a, b, m, n0);
    case 24:
        return fips_mul_fixed<24>(r, a, b, m, n0);
    case 32:
        return fips_mul_fixed<32>(r, a, b, m, n0);
    default:
        return fips_mul(r, a, b, m, limbs, n0, u, t);
    }
}

void limb_sqr(u64 *r, const u64 *a, const u64 *m, int32_t limbs, u64 n0, u64 *u, u64 *t) {
    switch (limbs) {
    case 8:
        return fips_sqr_fixed<8>(r, a, m, n0);
    case 16:
        return fips_sqr_fixed<16>(r, a, m, n0);
    case 24:
        return fips_sqr_fixed<24>(r, a, m, n0);
    case 32:
        return fips_sqr_fixed<32>(r, a, m, n0);
    default:
        return fips_sqr(r, a, m, limbs, n0, u, t);
    }
}

// -m^-1 mod 2^64 from n0 = -m^-1 mod 2^32 by one Newton step.
u64 n0_64(uint32_t n0, u64 m0) {
    const u64 inv32 = static_cast<u64>(static_cast<uint32_t>(0u - n0));
    const u64 inv64 = inv32 * (2 - m0 * inv32);
    return 0 - inv64;
}

// Loads a value of at most n words into n words (zero-filled above).
void load_words(uint32_t *dst, const BIGINT *src, int32_t n) {
    const int32_t len = src->length < n ? src->length : n;
    if (len > 0)
        std::memcpy(dst, src->data, sizeof(uint32_t) * static_cast<size_t>(len));
    if (len < n)
        std::memset(dst + len, 0, sizeof(uint32_t) * static_cast<size_t>(n - len));
}

// The fused product when the context and operands allow it: a normalised
// odd modulus of at most kFusedWords words whose bit length gives R = 2^(32 n),
// and operands below it.  Returns -1 when they don't, else 0 or 1.
int fused_mont(BIGINT *r, const BIGINT *a, const BIGINT *b, const BIGINT_MONT *ctx) {
    const BIGINT *m = &ctx->modulus;
    const int32_t n = m->length;
    if (!readable(m) || n == 0 || n > kFusedWords || ctx->r_bits != 32 * n || m->data[n - 1] == 0 ||
        (m->data[0] & 1) == 0 || a->length > n || b->length > n)
        return -1;
    if ((a->length == n && kry::cmp_BIGINT_words(a->data, m->data, n) >= 0) ||
        (b->length == n && kry::cmp_BIGINT_words(b->data, m->data, n) >= 0))
        return -1;
    if (kry::expand_BIGINT(r, n) == nullptr)
        return 1;

    const bool square = a == b;
    if (n % 2 == 0) {
        const int32_t limbs = n / 2;
        u64 x[kFusedWords / 2], y[kFusedWords / 2], mm[kFusedWords / 2], out[kFusedWords / 2];
        u64 t[kFusedWords + 1];
        load_words(reinterpret_cast<uint32_t *>(x), a, n);
        std::memcpy(mm, m->data, sizeof(uint32_t) * static_cast<size_t>(n));
        const u64 k0 = n0_64(ctx->n0, mm[0]);
        u64 uu[kFusedWords / 2];
        if (square) {
            limb_sqr(out, x, mm, limbs, k0, uu, t);
        } else {
            load_words(reinterpret_cast<uint32_t *>(y), b, n);
            limb_mul(out, x, y, mm, limbs, k0, uu, t);
            kry::wipe(y, sizeof(u64) * static_cast<size_t>(limbs));
        }
        std::memcpy(r->data, out, sizeof(uint32_t) * static_cast<size_t>(n));
        kry::wipe(x, sizeof(u64) * static_cast<size_t>(limbs));
        kry::wipe(out, sizeof(u64) * static_cast<size_t>(limbs));
        kry::wipe(t, sizeof(u64) * static_cast<size_t>(n + 1));
        kry::wipe(uu, sizeof(u64) * static_cast<size_t>(limbs));
    } else {
        uint32_t x[kFusedWords], y[kFusedWords], out[kFusedWords];
        uint32_t t[2 * kFusedWords + 1];
        load_words(x, a, n);
        if (square) {
            mont_sqr<uint32_t>(out, x, m->data, n, ctx->n0, t);
        } else {
            load_words(y, b, n);
            mont_mul<uint32_t>(out, x, y, m->data, n, ctx->n0, t);
            kry::wipe(y, sizeof(uint32_t) * static_cast<size_t>(n));
        }
        std::memcpy(r->data, out, sizeof(uint32_t) * static_cast<size_t>(n));
        kry::wipe(x, sizeof(uint32_t) * static_cast<size_t>(n));
        kry::wipe(out, sizeof(uint32_t) * static_cast<size_t>(n));
        kry::wipe(t, sizeof(uint32_t) * static_cast<size_t>(2 * n + 1));
    }
    r->length = n;
    kry::normalize_BIGINT(r);
    return 0;
}

}  // namespace

namespace kry {

BIGINT_MONT *new_BIGINT_MONT() {
    auto *ctx = static_cast<BIGINT_MONT *>(lum_malloc(sizeof(BIGINT_MONT), kFile, __LINE__));
    if (ctx == nullptr)
        return nullptr;
    std::memset(ctx, 0, sizeof *ctx);
    init_BIGINT(&ctx->rr);
    init_BIGINT(&ctx->modulus);
    init_BIGINT(&ctx->n_inverse);
    return ctx;
}

void free_BIGINT_MONT(BIGINT_MONT *ctx) {
    if (ctx == nullptr)
        return;
    clear_BIGINT(&ctx->rr);
    clear_BIGINT(&ctx->modulus);
    clear_BIGINT(&ctx->n_inverse);
    wipe_object(*ctx);
    lum_free(ctx, kFile, __LINE__);
}

int set_BIGINT_MONT(BIGINT_MONT *ctx, const BIGINT *m, BIGINT_POOL *pool) {
    if (ctx == nullptr || !readable(m))
        return 1;
    kry::ScratchFrame scratch(pool);
    if (!scratch.ok())
        return 1;
    BIGINT_POOL *p = scratch.pool();

    if (copy_BIGINT(&ctx->modulus, m) != 0)
        return 1;
    ctx->r_bits = ((get_BIGINT_bits_length(m) + 31) / 32) * 32;

    // n0 = -m^-1 mod 2^32 from R' = (2^32)^-1 mod t, t the low word of m:
    // (R' 2^32 - 1) / t is that value.
    BIGINT *t = get_BIGINT_POOL(p);
    BIGINT *ri = get_BIGINT_POOL(p);
    if (t == nullptr || ri == nullptr)
        return 1;
    if (set_BIGINT_word(t, m->length > 0 ? m->data[0] : 0) != 0 || set_BIGINT_bit(ri, 32) != 0)
        return 1;
    if (inv_BIGINT(ri, ri, t, p) == nullptr)
        return 1;
    if (lshift_BIGINT(ri, ri, 32) != 0)
        return 1;
    if (ri->length != 0) {
        if (sub_BIGINT_word(ri, 1) != 0)
            return 1;
    } else if (set_BIGINT_word(ri, 0xFFFFFFFFu) != 0) {
        return 1;
    }
    if (div_BIGINT(&ctx->n_inverse, nullptr, ri, t, p) != 0)
        return 1;
    ctx->n0 = ctx->n_inverse.length > 0 ? ctx->n_inverse.data[0] : 0;

    // rr = 2^(2 r_bits) mod m.
    BIGINT *x = get_BIGINT_POOL(p);
    if (x == nullptr || set_BIGINT_bit(x, 2 * ctx->r_bits) != 0)
        return 1;
    return div_BIGINT(nullptr, &ctx->rr, x, m, p) != 0 ? 1 : 0;
}

int reduce_mont_BIGINT(BIGINT *r, const BIGINT *t, BIGINT_MONT *ctx, BIGINT_POOL *pool) {
    if (r == nullptr || !readable(t) || ctx == nullptr || !readable(&ctx->modulus))
        return 1;
    ScratchPool scratch(pool);
    BIGINT_POOL *p = scratch.get();
    if (p == nullptr || start_BIGINT_POOL(p) != 0)
        return 1;
    const BIGINT *m = &ctx->modulus;
    const int32_t n = m->length;
    const int32_t k = ctx->r_bits / 32;
    BIGINT *s = get_BIGINT_POOL(p);
    if (s == nullptr) {
        finish_BIGINT_POOL(p);
        return 1;
    }
    if (k <= 0 || n == 0) {
        // Nothing to reduce by: the scratch is emptied and r left as it is,
        // and this frame stays open.
        s->length = 0;
        return 0;
    }
    // Room for the n rows (up to word 2n) and any longer input, plus a
    // carry word.
    int32_t words = n + k + 1;
    if (words < 2 * n + 1)
        words = 2 * n + 1;
    if (words < t->length + 1)
        words = t->length + 1;
    if (expand_BIGINT(s, words) == nullptr) {
        finish_BIGINT_POOL(p);
        return 1;
    }
    uint32_t *w = s->data;
    if (t->length > 0)
        std::memcpy(w, t->data, sizeof(uint32_t) * static_cast<size_t>(t->length));
    std::memset(w + t->length, 0, sizeof(uint32_t) * static_cast<size_t>(words - t->length));

    for (int32_t i = 0; i < n; i++) {
        uint32_t carry = words::mul_add(w + i, m->data, n, w[i] * ctx->n0);
        for (int32_t j = i + n; carry != 0 && j < words; j++) {
            const u64 sum = u64{w[j]} + carry;
            w[j] = static_cast<uint32_t>(sum);
            carry = static_cast<uint32_t>(sum >> 32);
        }
    }
    s->length = words;
    normalize_BIGINT(s);

    const int32_t len = s->length > k ? s->length - k : 0;
    int rc = 0;
    if (expand_BIGINT(r, len < 1 ? 1 : len) == nullptr) {
        rc = 1;
    } else {
        if (len > 0)
            std::memmove(r->data, w + k, sizeof(uint32_t) * static_cast<size_t>(len));
        r->length = len;
        if (cmp_values(r, m) >= 0 && sub_BIGINT(r, r, m, p) != 0)
            rc = 1;
    }
    finish_BIGINT_POOL(p);
    return rc;
}

int mod_mtp_mont_BIGINT(BIGINT *r, const BIGINT *a, const BIGINT *b, BIGINT_MONT *ctx, BIGINT_POOL *pool) {
    if (!readable(r) || !readable(a) || !readable(b) || ctx == nullptr)
        return 1;
    if (used_words(a) == 0 || used_words(b) == 0) {
        r->length = 0;
        return 0;
    }
    const int fused = fused_mont(r, a, b, ctx);
    if (fused >= 0)
        return fused;

    kry::ScratchFrame scratch(pool);
    if (!scratch.ok())
        return 1;
    BIGINT_POOL *p = scratch.pool();
    BIGINT *t = get_BIGINT_POOL(p);
    if (t == nullptr)
        return 1;
    const int rc = a == b ? sqr_BIGINT(t, a, p) : mtp_BIGINT(t, a, b, p);
    if (rc != 0)
        return rc;
    return reduce_mont_BIGINT(r, t, ctx, p);
}

int mod_exp_window_bits(int32_t bits) {
    if (bits >= 672)
        return 6;
    if (bits >= 240)
        return 5;
    if (bits >= 80)
        return 4;
    if (bits >= 24)
        return 3;
    return 1;
}

}  // namespace kry

namespace {

// Runs the sliding-window scan of p from its top bit: a 0 bit squares the
// accumulator (not before the first window); at a 1 bit the longest window
// of at most w bits that ends in a 1 selects an odd power, the accumulator
// is squared once per window bit and multiplied by that power.  The first
// window loads the power instead (the accumulator still holds one).
//   square()      acc = acc^2
//   multiply(k)   acc = acc * base^(2k+1)
//   load(k)       acc = base^(2k+1)
template <class Square, class Multiply, class Load>
int scan_windows(const BIGINT *p, int32_t bits, int w, Square square, Multiply multiply, Load load) {
    bool first = true;
    int32_t i = bits - 1;
    while (i >= 0) {
        if (!is_BIGINT_bit_set(p, i)) {
            if (!first)
                if (const int rc = square(); rc != 0)
                    return rc;
            i--;
            continue;
        }
        int32_t j = i - w + 1 > 0 ? i - w + 1 : 0;
        while (!is_BIGINT_bit_set(p, j))
            j++;
        uint32_t value = 0;
        for (int32_t k = i; k >= j; k--)
            value = (value << 1) | static_cast<uint32_t>(is_BIGINT_bit_set(p, k));
        if (first) {
            if (const int rc = load(value >> 1); rc != 0)
                return rc;
            first = false;
        } else {
            for (int32_t k = 0; k < i - j + 1; k++)
                if (const int rc = square(); rc != 0)
                    return rc;
            if (const int rc = multiply(value >> 1); rc != 0)
                return rc;
        }
        i = j - 1;
    }
    return 0;
}

// The arithmetic of one exponentiation: Montgomery (values in Montgomery
// form) or plain (products reduced by division).
class ModArith {
  public:
    ModArith(const BIGINT *m, BIGINT_POOL *pool, bool montgomery) : m_(m), pool_(pool), mont_(montgomery) {}
    ~ModArith() { kry::free_BIGINT_MONT(ctx_); }
    ModArith(const ModArith &) = delete;
    ModArith &operator=(const ModArith &) = delete;

    int set_up() {
        if (!mont_)
            return 0;
        ctx_ = kry::new_BIGINT_MONT();
        if (ctx_ == nullptr)
            return 1;
        return kry::set_BIGINT_MONT(ctx_, m_, pool_);
    }
    const BIGINT_MONT *context() const { return ctx_; }

    // r = x into the working form (x < m).
    int enter(BIGINT *r, const BIGINT *x) {
        if (mont_)
            return kry::mod_mtp_mont_BIGINT(r, x, &ctx_->rr, ctx_, pool_);
        return copy_BIGINT(r, x) != 0 ? 1 : 0;
    }

    // r = 1 in the working form.
    int one(BIGINT *r) {
        if (mont_)
            return kry::mod_mtp_mont_BIGINT(r, value_one_BIGINT(), &ctx_->rr, ctx_, pool_);
        // 1 mod m (0 for m = 1).
        if (set_BIGINT_word(r, 1) != 0)
            return 1;
        return cmp_values(r, m_) >= 0 ? div_BIGINT(nullptr, r, r, m_, pool_) : 0;
    }

    int mul(BIGINT *r, const BIGINT *x, const BIGINT *y) {
        if (mont_)
            return kry::mod_mtp_mont_BIGINT(r, x, y, ctx_, pool_);
        kry::PoolFrame frame(pool_);
        if (!frame.ok())
            return 1;
        BIGINT *t = get_BIGINT_POOL(pool_);
        if (t == nullptr)
            return 1;
        int rc;
        if (x == y && x->length != 0)
            rc = sqr_BIGINT(t, x, pool_);
        else
            rc = mtp_BIGINT(t, x, y, pool_);
        if (rc != 0)
            return rc;
        return div_BIGINT(nullptr, r, t, m_, pool_);
    }

    // r = x out of the working form.
    int leave(BIGINT *r, const BIGINT *x) {
        if (mont_)
            return kry::reduce_mont_BIGINT(r, x, ctx_, pool_);
        return copy_BIGINT(r, x) != 0 ? 1 : 0;
    }

  private:
    const BIGINT *m_;
    BIGINT_POOL *pool_;
    bool mont_;
    BIGINT_MONT *ctx_ = nullptr;
};

// ---- the exponentiation on 64-bit limbs ----------------------------------------
//
// When the modulus suits the fused product (normalised, odd, at most
// kFusedWords words), the whole exponentiation runs on 64-bit limbs: the
// accumulator and the working arrays live on the stack, the odd powers in
// pool integers (copied in and out with memcpy, so that their 32-bit word
// arrays are never read through another type).  R is 2^(64 L) for L limbs;
// for an odd number of words that is not the context's R, so R^2 mod m is
// formed here.  The result does not depend on R.

constexpr int32_t kMaxLimbs = kFusedWords / 2;

bool limb_engine_fits(const BIGINT_MONT *ctx) {
    const BIGINT *m = &ctx->modulus;
    const int32_t n = m->length;
    return readable(m) && n > 0 && n <= kFusedWords && ctx->r_bits == 32 * n && m->data[n - 1] != 0 &&
           (m->data[0] & 1) != 0;
}

// Loads a value of at most 2 limbs words into limbs limbs.
void load_limbs(u64 *dst, const BIGINT *src, int32_t limbs) {
    std::memset(dst, 0, sizeof(u64) * static_cast<size_t>(limbs));
    int32_t len = src->length < 2 * limbs ? src->length : 2 * limbs;
    if (len > 0)
        std::memcpy(dst, src->data, sizeof(uint32_t) * static_cast<size_t>(len));
}

// Everything the limb exponentiation keeps on the stack, wiped at the end.
struct LimbWork {
    u64 m[kMaxLimbs], rr[kMaxLimbs], acc[kMaxLimbs], x[kMaxLimbs], u[kMaxLimbs], t[kMaxLimbs];
    int32_t limbs = 0;
    u64 n0 = 0;
    ~LimbWork() {
        const size_t bytes = sizeof(u64) * static_cast<size_t>(limbs);
        kry::wipe(rr, bytes);
        kry::wipe(acc, bytes);
        kry::wipe(x, bytes);
        kry::wipe(u, bytes);
        kry::wipe(t, bytes);
    }
    void mul(u64 *r, const u64 *a, const u64 *b) { limb_mul(r, a, b, m, limbs, n0, u, t); }
    void sqr(u64 *r, const u64 *a) { limb_sqr(r, a, m, limbs, n0, u, t); }
    size_t bytes() const { return sizeof(u64) * static_cast<size_t>(limbs); }
};

// Loads m, n0 and R^2 mod m for R = 2^(64 L).
int setup(LimbWork &wk, const BIGINT_MONT *ctx, BIGINT_POOL *pool) {
    const int32_t n = ctx->modulus.length;
    const int32_t limbs = (n + 1) / 2;
    wk.limbs = limbs;
    load_limbs(wk.m, &ctx->modulus, limbs);
    wk.n0 = n0_64(ctx->n0, wk.m[0]);
    if (n % 2 == 0) {
        load_limbs(wk.rr, &ctx->rr, limbs);
        return 0;
    }
    kry::PoolFrame frame(pool);
    if (!frame.ok())
        return 1;
    BIGINT *x = get_BIGINT_POOL(pool);
    BIGINT *rr = get_BIGINT_POOL(pool);
    if (x == nullptr || rr == nullptr || set_BIGINT_bit(x, 128 * limbs) != 0 ||
        div_BIGINT(nullptr, rr, x, &ctx->modulus, pool) != 0)
        return 1;
    load_limbs(wk.rr, rr, limbs);
    return 0;
}

// base (below m, nonzero) to Montgomery form and its odd powers into
// count pool integers.
int make_table(LimbWork &wk, BIGINT **table, int count, const BIGINT *base, BIGINT_POOL *pool) {
    const size_t bytes = sizeof(u64) * static_cast<size_t>(wk.limbs);
    for (int k = 0; k < count; k++) {
        table[k] = take(pool, 2 * wk.limbs);
        if (table[k] == nullptr)
            return 1;
    }
    load_limbs(wk.x, base, wk.limbs);
    wk.mul(wk.x, wk.x, wk.rr);
    std::memcpy(table[0]->data, wk.x, bytes);
    if (count > 1) {
        u64 *square = wk.acc;
        wk.sqr(square, wk.x);
        for (int k = 1; k < count; k++) {
            wk.mul(wk.x, wk.x, square);
            std::memcpy(table[k]->data, wk.x, bytes);
        }
    }
    return 0;
}

// r = the accumulator out of Montgomery form (times 1).
int finish(BIGINT *r, LimbWork &wk, const BIGINT_MONT *) {
    const size_t bytes = wk.bytes();
    std::memset(wk.x, 0, bytes);
    wk.x[0] = 1;
    wk.mul(wk.acc, wk.acc, wk.x);
    if (kry::expand_BIGINT(r, 2 * wk.limbs) == nullptr)
        return 1;
    std::memcpy(r->data, wk.acc, bytes);
    r->length = 2 * wk.limbs;
    kry::normalize_BIGINT(r);
    return 0;
}

// ---- the exponentiation on 52-bit digits (AVX-512 IFMA) ------------------------------
//
// The same windows with almost Montgomery products on D 52-bit digits
// (bigint_ifma.h), for moduli the limb engine takes, up to 4096 bits, and
// exponents of two bits or more (even e = 65537 gains: the conversions cost
// less than one product).  R is 2^(52 D) here;
// R^2 mod m comes from the context's 2^(64 n) mod m (n words) moved up by
// the difference.  Values stay below 2m between products; the last product
// (by 1) gives a value no larger than m, which is m only for a result of 0.

constexpr int32_t kIfmaMinExponentBits = 2;

bool ifma_engine_fits(const BIGINT_MONT *ctx, int32_t exponent_bits) {
    return exponent_bits >= kIfmaMinExponentBits && kry::ifma::available() &&
           kry::ifma::digits_for(get_BIGINT_bits_length(&ctx->modulus)) != 0;
}

struct DigitWork {
    static constexpr int kMax = kry::ifma::kMaxDigits;
    u64 m[kMax] = {}, rr[kMax] = {}, acc[kMax] = {}, x[kMax] = {};
    int digits = 0;
    u64 k0 = 0;
    ~DigitWork() {
        kry::wipe(rr, sizeof rr);
        kry::wipe(acc, sizeof acc);
        kry::wipe(x, sizeof x);
    }
    void mul(u64 *r, const u64 *a, const u64 *b) { kry::ifma::amm(r, a, b, m, k0, digits); }
    void sqr(u64 *r, const u64 *a) { mul(r, a, a); }
    size_t bytes() const { return sizeof(u64) * static_cast<size_t>(digits); }
};

// Loads m, k0 and R^2 mod m for R = 2^(52 D).
int setup(DigitWork &wk, const BIGINT_MONT *ctx, BIGINT_POOL *pool) {
    const BIGINT *mod = &ctx->modulus;
    const int32_t n = mod->length;
    wk.digits = kry::ifma::digits_for(get_BIGINT_bits_length(mod));
    const int D = wk.digits;
    kry::ifma::to_digits(wk.m, D, mod->data, n);
    const u64 m64 = n > 1 ? (static_cast<u64>(mod->data[1]) << 32) | mod->data[0] : mod->data[0];
    wk.k0 = n0_64(ctx->n0, m64) & ((u64{1} << 52) - 1);

    // R^2 mod m = 2^(64 n) 2^(104 D - 64 n) mod m when the difference is
    // not negative (the modulus fills its top word), else from 2^(104 D).
    kry::PoolFrame frame(pool);
    if (!frame.ok())
        return 1;
    BIGINT *t = get_BIGINT_POOL(pool);
    BIGINT *rr = get_BIGINT_POOL(pool);
    const int32_t shift = 104 * D - 64 * n;
    if (t == nullptr || rr == nullptr ||
        (shift >= 0 ? kry::lshift_BIGINT(t, &ctx->rr, shift) : set_BIGINT_bit(t, 104 * D)) != 0 ||
        div_BIGINT(nullptr, rr, t, mod, pool) != 0)
        return 1;
    kry::ifma::to_digits(wk.rr, D, rr->data, rr->length);
    return 0;
}

// base (below m, nonzero) to Montgomery form and its odd powers into count
// pool integers of 2D words.
int make_table(DigitWork &wk, BIGINT **table, int count, const BIGINT *base, BIGINT_POOL *pool) {
    const int D = wk.digits;
    for (int k = 0; k < count; k++) {
        table[k] = take(pool, 2 * D);
        if (table[k] == nullptr)
            return 1;
    }
    const size_t bytes = sizeof(u64) * static_cast<size_t>(D);
    kry::ifma::to_digits(wk.x, D, base->data, base->length);
    wk.mul(wk.x, wk.x, wk.rr);
    std::memcpy(table[0]->data, wk.x, bytes);
    if (count > 1) {
        u64 *square = wk.acc;
        wk.mul(square, wk.x, wk.x);
        for (int k = 1; k < count; k++) {
            wk.mul(wk.x, wk.x, square);
            std::memcpy(table[k]->data, wk.x, bytes);
        }
    }
    return 0;
}

// r = the accumulator out of Montgomery form (times 1): at most m, and m
// only for a result of 0.
int finish(BIGINT *r, DigitWork &wk, const BIGINT_MONT *ctx) {
    const BIGINT *mod = &ctx->modulus;
    const int32_t n = mod->length;
    std::memset(wk.x, 0, sizeof(u64) * static_cast<size_t>(wk.digits));
    wk.x[0] = 1;
    wk.mul(wk.acc, wk.acc, wk.x);
    if (kry::expand_BIGINT(r, n) == nullptr)
        return 1;
    kry::ifma::from_digits(r->data, n, wk.acc, wk.digits);
    r->length = n;
    if (kry::cmp_BIGINT_words(r->data, mod->data, n) == 0)
        std::memset(r->data, 0, sizeof(uint32_t) * static_cast<size_t>(n));
    kry::normalize_BIGINT(r);
    return 0;
}

// ---- the exponentiations on either engine --------------------------------------
//
// Work is LimbWork or DigitWork; setup(), make_table() and finish() are
// overloaded for both.

// r = base^p mod m for a nonzero base below m (p has bits bits, w is its
// window width).
template <class Work>
int engine_exp(BIGINT *r, const BIGINT *base, const BIGINT *p, int32_t bits, int w, const BIGINT_MONT *ctx,
               BIGINT_POOL *pool) {
    Work wk;
    BIGINT *table[32];
    if (setup(wk, ctx, pool) != 0 || make_table(wk, table, 1 << (w - 1), base, pool) != 0)
        return 1;
    const size_t bytes = wk.bytes();
    const int rc = scan_windows(
        p, bits, w, [&] { return wk.sqr(wk.acc, wk.acc), 0; },
        [&](uint32_t k) {
            std::memcpy(wk.x, table[k]->data, bytes);
            wk.mul(wk.acc, wk.acc, wk.x);
            return 0;
        },
        [&](uint32_t k) {
            std::memcpy(wk.acc, table[k]->data, bytes);
            return 0;
        });
    if (rc != 0)
        return rc;
    return finish(r, wk, ctx);
}

// ---- two exponentiations at once -----------------------------------------------
//
// a1^p1 a2^p2 mod m by interleaved sliding windows (simultaneous
// exponentiation, HAC 14.88 with a window of its own for each exponent):
// the squarings are shared, and each exponent's windows multiply in their
// own table of odd powers at the bit where the window ends.

// The next window of p at or below bit from: its low bit and the
// table index of its value; low is -1 when no set bit is left.
struct Window {
    int32_t low = -1;
    uint32_t k = 0;
};

Window next_window(const BIGINT *p, int32_t from, int w) {
    Window win;
    int32_t i = from;
    while (i >= 0 && !is_BIGINT_bit_set(p, i))
        i--;
    if (i < 0)
        return win;
    int32_t j = i - w + 1 > 0 ? i - w + 1 : 0;
    while (!is_BIGINT_bit_set(p, j))
        j++;
    uint32_t value = 0;
    for (int32_t k = i; k >= j; k--)
        value = (value << 1) | static_cast<uint32_t>(is_BIGINT_bit_set(p, k));
    win.low = j;
    win.k = value >> 1;
    return win;
}

// The interleaved windows of b1^p1 b2^p2 on either engine's work record
// (LimbWork or DigitWork, set up, with the tables of odd powers made);
// leaves the product in Montgomery form in wk.acc.
template <class Work>
void dual_windows(Work &wk, BIGINT *const *table1, const BIGINT *p1, int w1, BIGINT *const *table2, const BIGINT *p2,
                  int w2, size_t bytes) {
    const int32_t bits1 = get_BIGINT_bits_length(p1);
    const int32_t bits2 = get_BIGINT_bits_length(p2);
    bool started = false;
    // Multiplies the accumulator by a table entry (or loads it first).
    auto apply = [&](const BIGINT *entry) {
        if (!started) {
            std::memcpy(wk.acc, entry->data, bytes);
            started = true;
        } else {
            std::memcpy(wk.x, entry->data, bytes);
            wk.mul(wk.acc, wk.acc, wk.x);
        }
    };
    const int32_t top = bits1 > bits2 ? bits1 : bits2;
    Window win1 = next_window(p1, bits1 - 1, w1);
    Window win2 = next_window(p2, bits2 - 1, w2);
    for (int32_t i = top - 1; i >= 0; i--) {
        if (started)
            wk.sqr(wk.acc, wk.acc);
        if (win1.low == i) {
            apply(table1[win1.k]);
            win1 = next_window(p1, i - 1, w1);
        }
        if (win2.low == i) {
            apply(table2[win2.k]);
            win2 = next_window(p2, i - 1, w2);
        }
    }
}

// r = b1^p1 b2^p2 mod m for nonzero bases below m and nonzero exponents.
template <class Work>
int engine_exp2(BIGINT *r, const BIGINT *b1, const BIGINT *p1, const BIGINT *b2, const BIGINT *p2,
                const BIGINT_MONT *ctx, BIGINT_POOL *pool) {
    Work wk;
    if (setup(wk, ctx, pool) != 0)
        return 1;
    const int w1 = kry::mod_exp_window_bits(get_BIGINT_bits_length(p1));
    const int w2 = kry::mod_exp_window_bits(get_BIGINT_bits_length(p2));
    BIGINT *table1[32];
    BIGINT *table2[32];
    if (make_table(wk, table1, 1 << (w1 - 1), b1, pool) != 0 || make_table(wk, table2, 1 << (w2 - 1), b2, pool) != 0)
        return 1;
    dual_windows(wk, table1, p1, w1, table2, p2, w2, wk.bytes());
    return finish(r, wk, ctx);
}

// The fast route of mod_exp2 when it applies: -1 when it does not, else 0
// or 1.
int mod_exp2_fast(BIGINT *r, const BIGINT *a1, const BIGINT *p1, const BIGINT *a2, const BIGINT *p2,
                  const BIGINT *m, BIGINT_POOL *pool) {
    if (used_words(p1) == 0 || used_words(p2) == 0 || used_words(m) == 0 || (m->data[0] & 1) == 0)
        return -1;
    kry::ScratchFrame scratch(pool);
    if (!scratch.ok())
        return 1;
    BIGINT_POOL *sp = scratch.pool();
    const int32_t n = used_words(m);
    BIGINT *b1 = take(sp, n);
    BIGINT *b2 = take(sp, n);
    if (b1 == nullptr || b2 == nullptr)
        return 1;
    const BIGINT *in[2] = {a1, a2};
    BIGINT *out[2] = {b1, b2};
    for (int i = 0; i < 2; i++) {
        if (cmp_values(in[i], m) >= 0) {
            if (div_BIGINT(nullptr, out[i], in[i], m, sp) != 0)
                return 1;
        } else if (copy_BIGINT(out[i], in[i]) != 0) {
            return 1;
        }
        kry::normalize_BIGINT(out[i]);
        if (out[i]->length == 0)
            return -1;
    }
    ModArith arith(m, sp, true);
    if (arith.set_up() != 0)
        return 1;
    if (!limb_engine_fits(arith.context()))
        return -1;
    const int32_t bits1 = get_BIGINT_bits_length(p1);
    const int32_t bits2 = get_BIGINT_bits_length(p2);
    if (ifma_engine_fits(arith.context(), bits1 > bits2 ? bits1 : bits2))
        return engine_exp2<DigitWork>(r, b1, p1, b2, p2, arith.context(), sp);
    return engine_exp2<LimbWork>(r, b1, p1, b2, p2, arith.context(), sp);
}

// r = a^p mod m by sliding windows over p from its top bit.
int mod_exp(BIGINT *r, const BIGINT *a, const BIGINT *p, const BIGINT *m, BIGINT_POOL *pool, bool montgomery) {
    if (!readable(r) || !readable(a) || !readable(p) || !readable(m))
        return 1;
    const int32_t bits = get_BIGINT_bits_length(p);
    if (bits == 0)
        return set_BIGINT_word(r, 1);

    kry::ScratchFrame scratch(pool);
    if (!scratch.ok())
        return 1;
    BIGINT_POOL *sp = scratch.pool();
    const int32_t n = used_words(m);

    BIGINT *base = take(sp, n);
    if (base == nullptr)
        return 1;
    if (cmp_values(a, m) >= 0) {
        if (const int rc = div_BIGINT(nullptr, base, a, m, sp); rc != 0)
            return rc;
    } else if (copy_BIGINT(base, a) != 0) {
        return 1;
    }
    kry::normalize_BIGINT(base);
    if (base->length == 0) {
        r->length = 0;
        return 0;
    }

    ModArith arith(m, sp, montgomery);
    if (const int rc = arith.set_up(); rc != 0)
        return rc;
    const int w = kry::mod_exp_window_bits(bits);
    if (montgomery && limb_engine_fits(arith.context())) {
        if (ifma_engine_fits(arith.context(), bits))
            return engine_exp<DigitWork>(r, base, p, bits, w, arith.context(), sp);
        return engine_exp<LimbWork>(r, base, p, bits, w, arith.context(), sp);
    }

    // Odd powers base^1, base^3, ..., base^(2^w - 1).
    const int count = 1 << (w - 1);
    BIGINT *table[32];
    for (int i = 0; i < count; i++) {
        table[i] = take(sp, n);
        if (table[i] == nullptr)
            return 1;
    }
    BIGINT *acc = take(sp, n);
    if (acc == nullptr)
        return 1;
    if (const int rc = arith.enter(table[0], base); rc != 0)
        return rc;
    if (w > 1) {
        if (const int rc = arith.mul(acc, table[0], table[0]); rc != 0)
            return rc;
        for (int i = 1; i < count; i++)
            if (const int rc = arith.mul(table[i], table[i - 1], acc); rc != 0)
                return rc;
    }
    if (const int rc = arith.one(acc); rc != 0)
        return rc;

    const int rc = scan_windows(
        p, bits, w, [&] { return arith.mul(acc, acc, acc); },
        [&](uint32_t k) { return arith.mul(acc, acc, table[k]); },
        [&](uint32_t k) { return copy_BIGINT(acc, table[k]) != 0 ? 1 : 0; });
    if (rc != 0)
        return rc;
    return arith.leave(r, acc);
}

}  // namespace

KRY_API int mod_exp_mont_BIGINT(BIGINT *r, const BIGINT *a, const BIGINT *p, const BIGINT *m, BIGINT_POOL *pool) {
    return mod_exp(r, a, p, m, pool, true);
}

KRY_API int mod_exp_BIGINT(BIGINT *r, const BIGINT *a, const BIGINT *p, const BIGINT *m, BIGINT_POOL *pool) {
    return mod_exp(r, a, p, m, pool, false);
}

namespace kry {

int mod_exp2_mont_BIGINT(BIGINT *r, const BIGINT *a1, const BIGINT *p1, const BIGINT *a2, const BIGINT *p2,
                         const BIGINT *m, BIGINT_POOL *pool) {
    if (!readable(r) || !readable(a1) || !readable(p1) || !readable(a2) || !readable(p2) || !readable(m))
        return 1;
    const int fast = mod_exp2_fast(r, a1, p1, a2, p2, m, pool);
    if (fast >= 0)
        return fast;
    // Zero exponents, bases or moduli outside the limb engine: two
    // exponentiations and a product.
    ScratchFrame scratch(pool);
    if (!scratch.ok())
        return 1;
    BIGINT_POOL *sp = scratch.pool();
    BIGINT *t1 = get_BIGINT_POOL(sp);
    BIGINT *t2 = get_BIGINT_POOL(sp);
    if (t1 == nullptr || t2 == nullptr || mod_exp_mont_BIGINT(t1, a1, p1, m, sp) != 0 ||
        mod_exp_mont_BIGINT(t2, a2, p2, m, sp) != 0)
        return 1;
    return mod_mtp_BIGINT(r, t1, t2, m, sp) != 0 ? 1 : 0;
}

}  // namespace kry
