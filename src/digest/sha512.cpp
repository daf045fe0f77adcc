// SHA-384 and SHA-512 (FIPS 180-2 section 6.3 and 6.4).
#include "digest/md_frame.h"
#include "digest/sha2.h"
#include "foundation/cpu.h"

#include <kry/digest.h>

#include <atomic>
#if defined(__x86_64__)
#include <immintrin.h>
#endif

#if defined(__x86_64__)
namespace kry::sha2 {
namespace {

std::atomic<bool> avx2_enabled{true};

bool cpu_has_avx2_bmi2() {
    const auto &f = cpu::features();
    return f.avx2 && f.bmi2;
}

#define KRY_TARGET_AVX2 __attribute__((target("avx2,bmi,bmi2")))

KRY_TARGET_AVX2 inline __m256i rotr_v(__m256i x, int n) {
    return _mm256_or_si256(_mm256_srli_epi64(x, n), _mm256_slli_epi64(x, 64 - n));
}

// The message schedule of four blocks, one block per 64-bit lane, with the
// round constants added: wk[t][j] = W_t + K_t of block j.  Lanes past the
// last block repeat it.  The words are produced in 40 steps of two so that
// the schedule of the next four blocks can run between the rounds of the
// current ones (vector and integer units work in parallel).
struct Schedule4 {
    const uint8_t *q[4];
    __m256i w[16];

    KRY_TARGET_AVX2 void start(const uint8_t *p, size_t nb) {
        for (size_t j = 0; j < 4; j++)
            q[j] = p + 128 * (j < nb ? j : nb - 1);
    }

    KRY_TARGET_AVX2 inline __m256i row(int j, int t, __m256i bswap) const {
        return _mm256_shuffle_epi8(_mm256_loadu_si256(reinterpret_cast<const __m256i *>(q[j] + 8 * t)), bswap);
    }

    // Words 2s and 2s + 1 into wk.
    KRY_TARGET_AVX2 inline void step(uint64_t (*wk)[4], int s) {
        using P = Params<uint64_t>;
        const int t0 = 2 * s;
        if (t0 < 16) {
            if ((t0 & 3) == 0) {
                const __m256i bswap = _mm256_setr_epi8(7, 6, 5, 4, 3, 2, 1, 0, 15, 14, 13, 12, 11, 10, 9, 8, 7, 6,
                                                       5, 4, 3, 2, 1, 0, 15, 14, 13, 12, 11, 10, 9, 8);
                __m256i r0 = row(0, t0, bswap), r1 = row(1, t0, bswap), r2 = row(2, t0, bswap), r3 = row(3, t0, bswap);
                __m256i u0 = _mm256_unpacklo_epi64(r0, r1), u1 = _mm256_unpackhi_epi64(r0, r1);
                __m256i u2 = _mm256_unpacklo_epi64(r2, r3), u3 = _mm256_unpackhi_epi64(r2, r3);
                w[t0] = _mm256_permute2x128_si256(u0, u2, 0x20);
                w[t0 + 1] = _mm256_permute2x128_si256(u1, u3, 0x20);
                w[t0 + 2] = _mm256_permute2x128_si256(u0, u2, 0x31);
                w[t0 + 3] = _mm256_permute2x128_si256(u1, u3, 0x31);
            }
        }
        for (int t = t0; t < t0 + 2; t++) {
            if (t >= 16) {
                __m256i x = w[(t - 15) & 15], y = w[(t - 2) & 15];
                __m256i s0 =
                    _mm256_xor_si256(_mm256_xor_si256(rotr_v(x, 1), rotr_v(x, 8)), _mm256_srli_epi64(x, 7));
                __m256i s1 =
                    _mm256_xor_si256(_mm256_xor_si256(rotr_v(y, 19), rotr_v(y, 61)), _mm256_srli_epi64(y, 6));
                w[t & 15] = _mm256_add_epi64(_mm256_add_epi64(w[t & 15], s0), _mm256_add_epi64(w[(t - 7) & 15], s1));
            }
            _mm256_store_si256(reinterpret_cast<__m256i *>(wk[t]),
                               _mm256_add_epi64(w[t & 15], _mm256_set1_epi64x(static_cast<long long>(P::kK[t]))));
        }
    }

    KRY_TARGET_AVX2 void clear() {
        for (auto &v : w)
            v = _mm256_setzero_si256();
    }
};

// The 80 rounds of one block over its precomputed schedule lane j; with
// kNext, steps 10 * part to 10 * part + 9 of the next schedule run alongside.
template <bool kNext>
KRY_TARGET_AVX2 void rounds(uint64_t (&h)[8], const uint64_t (*wk)[4], size_t j, Schedule4 &next,
                            uint64_t (*wk_next)[4], int part) {
    const uint64_t *w = &wk[0][j];
    uint64_t a = h[0], b = h[1], c = h[2], d = h[3], e = h[4], f = h[5], g = h[6], hh = h[7];
#define KRY_SHA512_ROUND(a, b, c, d, e, f, g, h, t)                                                   \
    do {                                                                                             \
        h += w[4 * (t)];                                                                             \
        h += g ^ (e & (f ^ g));                                                                      \
        __asm__("" : "+r"(h));                                                                       \
        h += std::rotr(e, 14) ^ std::rotr(e, 18) ^ std::rotr(e, 41);                                \
        d += h;                                                                                      \
        h += (std::rotr(a, 28) ^ std::rotr(a, 34) ^ std::rotr(a, 39)) + (((a ^ b) & (b ^ c)) ^ b);  \
    } while (0)
#pragma GCC unroll 10
    for (int i = 0; i < 10; i++) {
        const int t = 8 * i;
        if constexpr (kNext)
            next.step(wk_next, 10 * part + i);
        KRY_SHA512_ROUND(a, b, c, d, e, f, g, hh, t);
        KRY_SHA512_ROUND(hh, a, b, c, d, e, f, g, t + 1);
        KRY_SHA512_ROUND(g, hh, a, b, c, d, e, f, t + 2);
        KRY_SHA512_ROUND(f, g, hh, a, b, c, d, e, t + 3);
        KRY_SHA512_ROUND(e, f, g, hh, a, b, c, d, t + 4);
        KRY_SHA512_ROUND(d, e, f, g, hh, a, b, c, t + 5);
        KRY_SHA512_ROUND(c, d, e, f, g, hh, a, b, t + 6);
        KRY_SHA512_ROUND(b, c, d, e, f, g, hh, a, t + 7);
    }
#undef KRY_SHA512_ROUND
    h[0] += a;
    h[1] += b;
    h[2] += c;
    h[3] += d;
    h[4] += e;
    h[5] += f;
    h[6] += g;
    h[7] += hh;
}

}  // namespace

bool has_sha512_avx2() { return cpu_has_avx2_bmi2() && avx2_enabled.load(std::memory_order_relaxed); }

void use_sha512_avx2(bool enabled) { avx2_enabled.store(enabled, std::memory_order_relaxed); }

KRY_TARGET_AVX2 void sha512_compress_avx2(uint64_t h[8], const uint8_t *p, size_t nblocks) {
    // The four-lane schedule pays off only over whole groups of blocks;
    // fewer blocks (final's one or two) take the one-block function.
    if (nblocks < 4) {
        for (; nblocks != 0; nblocks--, p += 128)
            compress(*reinterpret_cast<uint64_t(*)[8]>(h), p);
        return;
    }
    alignas(32) uint64_t wk[2][80][4];
    uint64_t(&hv)[8] = *reinterpret_cast<uint64_t(*)[8]>(h);
    Schedule4 sched;
    size_t nb = nblocks < 4 ? nblocks : 4;
    sched.start(p, nb);
    for (int s = 0; s < 40; s++)
        sched.step(wk[0], s);
    int cur = 0;
    for (;;) {
        const size_t rest = nblocks - nb;
        if (rest == 0) {
            for (size_t j = 0; j < nb; j++)
                rounds<false>(hv, wk[cur], j, sched, nullptr, 0);
            break;
        }
        // Four blocks in this group; the next group's schedule (40 steps)
        // runs alongside their rounds, ten steps per block.
        const size_t nb_next = rest < 4 ? rest : 4;
        sched.start(p + 128 * nb, nb_next);
        for (int j = 0; j < 4; j++)
            rounds<true>(hv, wk[cur], static_cast<size_t>(j), sched, wk[cur ^ 1], j);
        p += 128 * nb;
        nblocks = rest;
        nb = nb_next;
        cur ^= 1;
    }
    sched.clear();
    wipe(wk, sizeof wk);
}

#undef KRY_TARGET_AVX2

}  // namespace kry::sha2
#endif  // __x86_64__

namespace kry {
namespace {

struct Sha512IV {
    static constexpr uint64_t value[8] = {0x6a09e667f3bcc908, 0xbb67ae8584caa73b, 0x3c6ef372fe94f82b,
                                          0xa54ff53a5f1d36f1, 0x510e527fade682d1, 0x9b05688c2b3e6c1f,
                                          0x1f83d9abfb41bd6b, 0x5be0cd19137e2179};
};
struct Sha384IV {
    static constexpr uint64_t value[8] = {0xcbbb9d5dc1059ed8, 0x629a292a367cd507, 0x9159015a3070dd17,
                                          0x152fecd8f70e5939, 0x67332667ffc00b31, 0x8eb44a8768581511,
                                          0xdb0c2e0d64f98fa7, 0x47b5481dbefa4fa4};
};
using Sha512 = sha2::Frame<SHA512_STATE, Sha512IV>;
using Sha384 = sha2::Frame<SHA512_STATE, Sha384IV>;

constexpr md::FrameErrors kErrors512{
    .update_null = 0x25100006,
    .update_fill = 0x25100006,
    .final_null = 0x25110006,
    .final_fill = 0x25110006,
};

}  // namespace
}  // namespace kry

extern "C" {

KRY_API uint32_t init_SHA512(SHA512_STATE *state) { return kry::md::init<kry::Sha512>(state, 0x250F0006); }

KRY_API uint32_t update_SHA512(SHA512_STATE *state, const uint8_t *data, uint32_t length) {
    return kry::md::update<kry::Sha512>(state, data, length, kry::kErrors512);
}

KRY_API uint32_t final_SHA512(SHA512_STATE *state, uint8_t *out) {
    return kry::md::final<kry::Sha512>(state, out, kry::kErrors512);
}

KRY_API uint32_t init_SHA384(SHA512_STATE *state) { return kry::md::init<kry::Sha384>(state, 0x250C0006); }

KRY_API uint32_t update_SHA384(SHA512_STATE *state, const uint8_t *data, uint32_t length) {
    if (state == nullptr || data == nullptr)
        return 0x250D0006;
    return update_SHA512(state, data, length);
}

// Runs the SHA-512 final into a local block and keeps its first 48 bytes.
KRY_API uint32_t final_SHA384(SHA512_STATE *state, uint8_t *out) {
    if (state == nullptr || out == nullptr || state->block_fill >= 128)
        return 0x250E0006;
    uint8_t full[64] = {};
    kry::WipeOnExit guard(full);
    if (final_SHA512(state, full) != 0)
        return 0x25110600;
    std::memcpy(out, full, 48);
    return 0;
}

}  // extern "C"
