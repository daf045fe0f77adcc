// Arithmetic in GF(2^8) = GF(2)[x] / p(x), at compile time: the S-boxes of
// AES and ARIA (p = x^8 + x^4 + x^3 + x + 1, 0x11B) and of SEED
// (p = x^8 + x^6 + x^5 + x + 1, 0x163) are built from it.
#ifndef KRY_SRC_CIPHER_GF256_H
#define KRY_SRC_CIPHER_GF256_H

#include <cstdint>

namespace kry::gf256 {

// a * x.
template <unsigned kPoly>
constexpr uint8_t xtime(uint8_t a) {
    return static_cast<uint8_t>((a << 1) ^ ((a & 0x80) ? (kPoly & 0xFF) : 0));
}

template <unsigned kPoly>
constexpr uint8_t mul(uint8_t a, uint8_t b) {
    uint8_t r = 0;
    for (; b != 0; b >>= 1, a = xtime<kPoly>(a))
        if (b & 1)
            r ^= a;
    return r;
}

template <unsigned kPoly>
constexpr uint8_t pow(uint8_t a, unsigned e) {
    uint8_t r = 1;
    for (; e != 0; e >>= 1, a = mul<kPoly>(a, a))
        if (e & 1)
            r = mul<kPoly>(r, a);
    return r;
}

// a^254 = a^-1, with 0 mapped to 0.
template <unsigned kPoly>
constexpr uint8_t inverse(uint8_t a) {
    return pow<kPoly>(a, 254);
}

constexpr unsigned kAesPoly = 0x11B;
constexpr unsigned kSeedPoly = 0x163;

}  // namespace kry::gf256

#endif  // KRY_SRC_CIPHER_GF256_H
