// SHA-1 and SHA-256 block functions on the x86 SHA extensions.
//
// Both keep the message schedule as four-word groups X_i (rounds 4i..4i+3).
// SHA-256: X_i = msg2(msg1(X_{i-4}, X_{i-3}) + alignr(X_{i-1}, X_{i-2}, 4), X_{i-1});
// two sha256rnds2 per group.  SHA-1: X_i = msg2(msg1(X_{i-4}, X_{i-3}) ^ X_{i-2}, X_{i-1});
// one sha1rnds4 per group, with sha1nexte carrying E from group to group.
#if defined(__x86_64__) || defined(__i386__)

#include "digest/sha_x86.h"

#include "digest/sha2.h"
#include "foundation/cpu.h"

#include <atomic>
#include <cstring>
#include <immintrin.h>

namespace kry::x86 {

namespace {
std::atomic<bool> enabled{true};
}

std::atomic<signed char> sha_extensions_state{-1};

bool settle_sha_extensions() {
    const auto &f = cpu::features();
    const bool on = f.sha && f.ssse3 && f.sse41 && enabled.load(std::memory_order_relaxed);
    sha_extensions_state.store(on ? 1 : 0, std::memory_order_relaxed);
    return on;
}

void use_sha_extensions(bool on) {
    enabled.store(on, std::memory_order_relaxed);
    settle_sha_extensions();
}

#define KRY_TARGET_SHA __attribute__((target("sha,ssse3,sse4.1")))

KRY_TARGET_SHA
void sha256_compress_shani(uint32_t h[8], const uint8_t *p, size_t nblocks) {
    const __m128i bswap = _mm_set_epi64x(0x0c0d0e0f08090a0bULL, 0x0405060700010203ULL);
    const auto &K = sha2::Params<uint32_t>::kK;

    // The instructions want the state as ABEF and CDGH.
    __m128i t = _mm_loadu_si128(reinterpret_cast<const __m128i *>(h));
    __m128i s1 = _mm_loadu_si128(reinterpret_cast<const __m128i *>(h + 4));
    t = _mm_shuffle_epi32(t, 0xB1);
    s1 = _mm_shuffle_epi32(s1, 0x1B);
    __m128i s0 = _mm_alignr_epi8(t, s1, 8);
    s1 = _mm_blend_epi16(s1, t, 0xF0);

    for (; nblocks != 0; nblocks--, p += 64) {
        const __m128i save0 = s0, save1 = s1;
        __m128i x[4];
#pragma GCC unroll 16
        for (int i = 0; i < 16; i++) {
            __m128i &xi = x[i & 3];
            if (i < 4) {
                xi = _mm_shuffle_epi8(_mm_loadu_si128(reinterpret_cast<const __m128i *>(p + 16 * i)), bswap);
            } else {
                const __m128i prev = x[(i - 1) & 3], prev2 = x[(i - 2) & 3];
                xi = _mm_sha256msg1_epu32(xi, x[(i - 3) & 3]);
                xi = _mm_add_epi32(xi, _mm_alignr_epi8(prev, prev2, 4));
                xi = _mm_sha256msg2_epu32(xi, prev);
            }
            __m128i m = _mm_add_epi32(xi, _mm_loadu_si128(reinterpret_cast<const __m128i *>(&K[4 * i])));
            s1 = _mm_sha256rnds2_epu32(s1, s0, m);
            s0 = _mm_sha256rnds2_epu32(s0, s1, _mm_shuffle_epi32(m, 0x0E));
        }
        s0 = _mm_add_epi32(s0, save0);
        s1 = _mm_add_epi32(s1, save1);
    }

    t = _mm_shuffle_epi32(s0, 0x1B);
    s1 = _mm_shuffle_epi32(s1, 0xB1);
    s0 = _mm_blend_epi16(t, s1, 0xF0);
    s1 = _mm_alignr_epi8(s1, t, 8);
    _mm_storeu_si128(reinterpret_cast<__m128i *>(h), s0);
    _mm_storeu_si128(reinterpret_cast<__m128i *>(h + 4), s1);
}

KRY_TARGET_SHA
void sha256_output_shani(const uint32_t h[8], uint8_t *out) {
    const __m128i bswap = _mm_set_epi64x(0x0c0d0e0f08090a0bULL, 0x0405060700010203ULL);
    const __m128i lo = _mm_loadu_si128(reinterpret_cast<const __m128i *>(h));
    const __m128i hi = _mm_loadu_si128(reinterpret_cast<const __m128i *>(h + 4));
    _mm_storeu_si128(reinterpret_cast<__m128i *>(out), _mm_shuffle_epi8(lo, bswap));
    _mm_storeu_si128(reinterpret_cast<__m128i *>(out + 16), _mm_shuffle_epi8(hi, bswap));
}

KRY_TARGET_SHA
void sha1_output_shani(const uint32_t h[5], uint8_t *out) {
    const __m128i bswap = _mm_set_epi64x(0x0c0d0e0f08090a0bULL, 0x0405060700010203ULL);
    const __m128i abcd = _mm_loadu_si128(reinterpret_cast<const __m128i *>(h));
    _mm_storeu_si128(reinterpret_cast<__m128i *>(out), _mm_shuffle_epi8(abcd, bswap));
    const uint32_t e = __builtin_bswap32(h[4]);
    std::memcpy(out + 16, &e, 4);
}

KRY_TARGET_SHA
void sha1_compress_shani(uint32_t h[5], const uint8_t *p, size_t nblocks) {
    const __m128i bswap = _mm_set_epi64x(0x0001020304050607ULL, 0x08090a0b0c0d0e0fULL);
    __m128i abcd = _mm_shuffle_epi32(_mm_loadu_si128(reinterpret_cast<const __m128i *>(h)), 0x1B);
    __m128i e = _mm_set_epi32(static_cast<int>(h[4]), 0, 0, 0);

    for (; nblocks != 0; nblocks--, p += 64) {
        const __m128i abcd_save = abcd, e_save = e;
        __m128i x[4];
        __m128i prev_abcd = abcd;
#pragma GCC unroll 20
        for (int i = 0; i < 20; i++) {
            __m128i &xi = x[i & 3];
            if (i < 4) {
                xi = _mm_shuffle_epi8(_mm_loadu_si128(reinterpret_cast<const __m128i *>(p + 16 * i)), bswap);
            } else {
                xi = _mm_sha1msg1_epu32(xi, x[(i - 3) & 3]);
                xi = _mm_xor_si128(xi, x[(i - 2) & 3]);
                xi = _mm_sha1msg2_epu32(xi, x[(i - 1) & 3]);
            }
            const __m128i ew = i == 0 ? _mm_add_epi32(e, xi) : _mm_sha1nexte_epu32(prev_abcd, xi);
            prev_abcd = abcd;
            switch (i / 5) {  // the round function and constant change every 20 rounds
            case 0: abcd = _mm_sha1rnds4_epu32(abcd, ew, 0); break;
            case 1: abcd = _mm_sha1rnds4_epu32(abcd, ew, 1); break;
            case 2: abcd = _mm_sha1rnds4_epu32(abcd, ew, 2); break;
            default: abcd = _mm_sha1rnds4_epu32(abcd, ew, 3); break;
            }
        }
        e = _mm_sha1nexte_epu32(prev_abcd, e_save);
        abcd = _mm_add_epi32(abcd, abcd_save);
    }

    _mm_storeu_si128(reinterpret_cast<__m128i *>(h), _mm_shuffle_epi32(abcd, 0x1B));
    h[4] = static_cast<uint32_t>(_mm_extract_epi32(e, 3));
}

}  // namespace kry::x86

#endif
