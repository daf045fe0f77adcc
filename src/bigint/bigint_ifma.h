// Montgomery products on 52-bit digits with the AVX-512 IFMA instructions
// (vpmadd52luq / vpmadd52huq on 256-bit registers, four digits each).
//
// S. Gueron and V. Krasnov, "Accelerating big integer arithmetic using Intel
// IFMA extensions", ARITH 2016; the "almost Montgomery multiplication" of
// S. Gueron, "Efficient software implementations of modular exponentiation",
// J. Cryptographic Engineering 2, 2012: for a modulus m with 4m < R = 2^(52 D)
// and inputs below 2m, a b R^-1 mod m is returned as a value below 2m, with
// no final subtraction.  Values are arrays of D digits below 2^52, least
// significant first; D is a multiple of four.
#ifndef KRY_SRC_BIGINT_BIGINT_IFMA_H
#define KRY_SRC_BIGINT_BIGINT_IFMA_H

#include <cstdint>

namespace kry::ifma {

// Largest digit count: a 4096-bit modulus with its two bits of headroom.
constexpr int kMaxDigits = 80;

// Whether the processor has the instructions and the test switch allows them.
bool available();

// Turns the IFMA products on or off (tests run the 64-bit limb engine on a
// processor that has IFMA this way).
void use_ifma(bool enabled);

// The digit count for a modulus of bits bits (4 m < 2^(52 D), D a multiple of
// four), or 0 when it exceeds kMaxDigits.
int digits_for(int32_t bits);

// d = the value of words (n 32-bit words) as D digits; the value must fit.
void to_digits(uint64_t *d, int digits, const uint32_t *words, int32_t n);

// words = the value of D digits below 2^52 as n 32-bit words (the value must
// fit in n words).
void from_digits(uint32_t *words, int32_t n, const uint64_t *d, int digits);

// r = a b 2^(-52 D) mod m, below 2m, for a, b below 2m (digits below 2^52);
// k0 = -m^-1 mod 2^52.  r may be a or b.  Only called when available().
void amm(uint64_t *r, const uint64_t *a, const uint64_t *b, const uint64_t *m, uint64_t k0, int digits);

}  // namespace kry::ifma

#endif  // KRY_SRC_BIGINT_BIGINT_IFMA_H
