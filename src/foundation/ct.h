// Comparisons and selections whose running time does not depend on the
// bytes compared: no early exit on the first difference, no branch on a
// secret.  Masks are all ones (true) or all zeros (false).
#ifndef KRY_FOUNDATION_CT_H
#define KRY_FOUNDATION_CT_H

#include <cstddef>
#include <cstdint>

namespace kry {

// Keeps the compiler from turning mask arithmetic back into branches.
inline uint32_t ct_barrier(uint32_t x) {
#if defined(__GNUC__) || defined(__clang__)
    __asm__("" : "+r"(x));
#endif
    return x;
}

// All ones when x is zero, else zero.
inline uint32_t ct_is_zero(uint32_t x) { return ct_barrier(0u - ((~x & (x - 1u)) >> 31)); }

// All ones when x is non-zero, else zero.
inline uint32_t ct_is_nonzero(uint32_t x) { return ~ct_is_zero(x); }

// All ones when a == b.
inline uint32_t ct_eq(uint32_t a, uint32_t b) { return ct_is_zero(a ^ b); }

// All ones when a < b (unsigned).
inline uint32_t ct_lt(uint32_t a, uint32_t b) {
    return ct_barrier(0u - ((a ^ ((a ^ b) | ((a - b) ^ b))) >> 31));
}

// mask ? a : b.
inline uint32_t ct_select(uint32_t mask, uint32_t a, uint32_t b) { return (mask & a) | (~mask & b); }

// 1 when the n bytes at a and b are equal, else 0; every byte is read.
inline int ct_equal(const void *a, const void *b, size_t n) {
    const volatile uint8_t *x = static_cast<const volatile uint8_t *>(a);
    const volatile uint8_t *y = static_cast<const volatile uint8_t *>(b);
    uint32_t diff = 0;
    for (size_t i = 0; i < n; ++i)
        diff |= static_cast<uint32_t>(x[i] ^ y[i]);
    return static_cast<int>(ct_is_zero(diff) & 1u);
}

}  // namespace kry

#endif  // KRY_FOUNDATION_CT_H
