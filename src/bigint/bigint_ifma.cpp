// Almost Montgomery multiplication on 52-bit digits with AVX-512 IFMA; see
// bigint_ifma.h.
//
// Operand scanning, one digit a_i of a per step, on the running sum kept as
// two sets of 256-bit registers: L gathers the low halves of the products
// a_i b_j and y m_j, H the high halves.  Per step:
//   y   = ((L_0 + H_0 + lo(a_i b_0)) k0) mod 2^52, worked out in a
//         general register from the two low lanes, so that digit 0 of the
//         sum becomes a multiple of 2^52;
//   L  += lo(a_i b) + lo(y m), then L moves down one digit and takes the
//         carry of the cleared digit 0;
//   H   moves down one digit, then H += hi(a_i b) + hi(y m) (a high half of
//         digit j has the weight of digit j + 1, which is digit j after the
//         move).
// The lanes are 64 bits wide and each step adds at most a few 52-bit terms
// to each, so nothing overflows for the digit counts used here; the sum
// L + H is brought back to 52-bit digits once, at the end.

#include "bigint/bigint_ifma.h"

#include "foundation/common.h"
#include "foundation/cpu.h"

#include <atomic>
#include <cstring>

#if defined(__x86_64__) && !defined(KRY_PORTABLE)
#define KRY_IFMA 1
#include <immintrin.h>
#endif

namespace kry::ifma {

namespace {

std::atomic<bool> enabled{true};

constexpr uint64_t kMask = (uint64_t{1} << 52) - 1;

using u128 = unsigned __int128;

#if KRY_IFMA
#define KRY_TARGET_IFMA __attribute__((target("avx512f,avx512vl,avx512ifma")))

KRY_TARGET_IFMA inline uint64_t low_lane(__m256i v) {
    return static_cast<uint64_t>(_mm_cvtsi128_si64(_mm256_castsi256_si128(v)));
}

template <int K>
KRY_TARGET_IFMA void amm_fixed(uint64_t *r, const uint64_t *a, const uint64_t *b, const uint64_t *m, uint64_t k0) {
    constexpr int D = 4 * K;
    __m256i B[K], M[K], L[K], H[K];
    for (int k = 0; k < K; k++) {
        B[k] = _mm256_loadu_si256(reinterpret_cast<const __m256i *>(b + 4 * k));
        M[k] = _mm256_loadu_si256(reinterpret_cast<const __m256i *>(m + 4 * k));
        L[k] = _mm256_setzero_si256();
        H[k] = _mm256_setzero_si256();
    }
    const __m256i zero = _mm256_setzero_si256();
    const uint64_t b0 = b[0];
    const uint64_t m0 = m[0];
    for (int i = 0; i < D; i++) {
        const uint64_t ai = a[i];
        const uint64_t s = low_lane(L[0]) + low_lane(H[0]) + ((ai * b0) & kMask);
        const uint64_t y = (s * k0) & kMask;
        const uint64_t carry = (s + ((y * m0) & kMask)) >> 52;
        const __m256i A = _mm256_set1_epi64x(static_cast<long long>(ai));
        const __m256i Y = _mm256_set1_epi64x(static_cast<long long>(y));
#pragma GCC unroll 16
        for (int k = 0; k < K; k++)
            L[k] = _mm256_madd52lo_epu64(_mm256_madd52lo_epu64(L[k], A, B[k]), Y, M[k]);
        // Digit 0 of L + H is now a multiple of 2^52: both move down one
        // digit, dropping it, and its carry goes to the new digit 0.
#pragma GCC unroll 16
        for (int k = 0; k < K - 1; k++) {
            L[k] = _mm256_alignr_epi64(L[k + 1], L[k], 1);
            H[k] = _mm256_alignr_epi64(H[k + 1], H[k], 1);
        }
        L[K - 1] = _mm256_alignr_epi64(zero, L[K - 1], 1);
        H[K - 1] = _mm256_alignr_epi64(zero, H[K - 1], 1);
        L[0] = _mm256_add_epi64(L[0], _mm256_set_epi64x(0, 0, 0, static_cast<long long>(carry)));
#pragma GCC unroll 16
        for (int k = 0; k < K; k++)
            H[k] = _mm256_madd52hi_epu64(_mm256_madd52hi_epu64(H[k], A, B[k]), Y, M[k]);
    }
    alignas(32) uint64_t t[D];
    for (int k = 0; k < K; k++)
        _mm256_store_si256(reinterpret_cast<__m256i *>(t + 4 * k), _mm256_add_epi64(L[k], H[k]));
    uint64_t c = 0;
    for (int j = 0; j < D; j++) {
        const uint64_t v = t[j] + c;
        r[j] = v & kMask;
        c = v >> 52;
    }
    kry::wipe(t, sizeof t);
}
#endif

}  // namespace

bool available() {
#if KRY_IFMA
    return cpu::features().ifma && enabled.load(std::memory_order_relaxed);
#else
    return false;
#endif
}

void use_ifma(bool on) { enabled.store(on, std::memory_order_relaxed); }

int digits_for(int32_t bits) {
    if (bits <= 0)
        return 0;
    int d = (bits + 2 + 51) / 52;
    d = (d + 3) & ~3;
    return d <= kMaxDigits ? d : 0;
}

void to_digits(uint64_t *d, int digits, const uint32_t *words, int32_t n) {
    for (int j = 0; j < digits; j++) {
        const int32_t bit = 52 * j;
        const int32_t at = bit / 32;
        const int off = bit % 32;
        u128 v = 0;
        for (int k = 2; k >= 0; k--) {
            v <<= 32;
            if (at + k < n)
                v |= words[at + k];
        }
        d[j] = static_cast<uint64_t>(v >> off) & kMask;
    }
}

void from_digits(uint32_t *words, int32_t n, const uint64_t *d, int digits) {
    u128 acc = 0;
    int have = 0;
    int j = 0;
    for (int32_t i = 0; i < n; i++) {
        while (have < 32 && j < digits) {
            acc |= static_cast<u128>(d[j++]) << have;
            have += 52;
        }
        words[i] = static_cast<uint32_t>(acc);
        acc >>= 32;
        have = have > 32 ? have - 32 : 0;
    }
    acc = 0;
}

void amm(uint64_t *r, const uint64_t *a, const uint64_t *b, const uint64_t *m, uint64_t k0, int digits) {
#if KRY_IFMA
    switch (digits / 4) {
    case 1: return amm_fixed<1>(r, a, b, m, k0);
    case 2: return amm_fixed<2>(r, a, b, m, k0);
    case 3: return amm_fixed<3>(r, a, b, m, k0);
    case 4: return amm_fixed<4>(r, a, b, m, k0);
    case 5: return amm_fixed<5>(r, a, b, m, k0);
    case 6: return amm_fixed<6>(r, a, b, m, k0);
    case 7: return amm_fixed<7>(r, a, b, m, k0);
    case 8: return amm_fixed<8>(r, a, b, m, k0);
    case 9: return amm_fixed<9>(r, a, b, m, k0);
    case 10: return amm_fixed<10>(r, a, b, m, k0);
    case 11: return amm_fixed<11>(r, a, b, m, k0);
    case 12: return amm_fixed<12>(r, a, b, m, k0);
    case 13: return amm_fixed<13>(r, a, b, m, k0);
    case 14: return amm_fixed<14>(r, a, b, m, k0);
    case 15: return amm_fixed<15>(r, a, b, m, k0);
    case 16: return amm_fixed<16>(r, a, b, m, k0);
    case 17: return amm_fixed<17>(r, a, b, m, k0);
    case 18: return amm_fixed<18>(r, a, b, m, k0);
    case 19: return amm_fixed<19>(r, a, b, m, k0);
    default: return amm_fixed<20>(r, a, b, m, k0);
    }
#else
    (void)r, (void)a, (void)b, (void)m, (void)k0, (void)digits;
#endif
}

}  // namespace kry::ifma
