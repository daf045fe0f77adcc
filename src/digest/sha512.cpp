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

// The message schedule of four blocks, one block per 64-bit lane.  Row t
// holds W_t of the four blocks, W_t + K_t (what the rounds read) and K_t in
// every lane.  Lanes past the last block repeat it.  Words 0 to 15 are
// loaded at once; words 16 to 79 are produced sixteen at a time between
// the rounds of the current four blocks (vector and integer units work in
// parallel).  Each word is addressed from one row pointer with constant
// offsets, so the schedule spends no integer instruction on indexing.
struct alignas(32) Row {
    __m256i w, wk, k;
};

struct Schedule4 {
    Row rows[80];

    KRY_TARGET_AVX2 void set_constants() {
        for (int t = 0; t < 80; t++)
            rows[t].k = _mm256_set1_epi64x(static_cast<long long>(Params<uint64_t>::kK[t]));
    }

    // Words 0 to 15 of the nb (1 to 4) blocks at p.
    KRY_TARGET_AVX2 void load(const uint8_t *p, size_t nb) {
        const __m256i bswap = _mm256_setr_epi8(7, 6, 5, 4, 3, 2, 1, 0, 15, 14, 13, 12, 11, 10, 9, 8, 7, 6, 5, 4, 3,
                                               2, 1, 0, 15, 14, 13, 12, 11, 10, 9, 8);
        const uint8_t *q[4];
        for (size_t j = 0; j < 4; j++)
            q[j] = p + 128 * (j < nb ? j : nb - 1);
        auto row = [&](int j, int t) KRY_TARGET_AVX2 {
            return _mm256_shuffle_epi8(_mm256_loadu_si256(reinterpret_cast<const __m256i *>(q[j] + 8 * t)), bswap);
        };
        for (int t = 0; t < 16; t += 4) {
            __m256i r0 = row(0, t), r1 = row(1, t), r2 = row(2, t), r3 = row(3, t);
            __m256i u0 = _mm256_unpacklo_epi64(r0, r1), u1 = _mm256_unpackhi_epi64(r0, r1);
            __m256i u2 = _mm256_unpacklo_epi64(r2, r3), u3 = _mm256_unpackhi_epi64(r2, r3);
            rows[t].w = _mm256_permute2x128_si256(u0, u2, 0x20);
            rows[t + 1].w = _mm256_permute2x128_si256(u1, u3, 0x20);
            rows[t + 2].w = _mm256_permute2x128_si256(u0, u2, 0x31);
            rows[t + 3].w = _mm256_permute2x128_si256(u1, u3, 0x31);
            for (int i = t; i < t + 4; i++)
                rows[i].wk = _mm256_add_epi64(rows[i].w, rows[i].k);
        }
    }
};

// Word t of the schedule, r pointing at row t.
KRY_TARGET_AVX2 inline void word(Row *r) {
    const __m256i x = r[-15].w, y = r[-2].w;
    const __m256i s0 = _mm256_xor_si256(_mm256_xor_si256(rotr_v(x, 1), rotr_v(x, 8)), _mm256_srli_epi64(x, 7));
    const __m256i s1 = _mm256_xor_si256(_mm256_xor_si256(rotr_v(y, 19), rotr_v(y, 61)), _mm256_srli_epi64(y, 6));
    const __m256i w = _mm256_add_epi64(_mm256_add_epi64(r[-16].w, s0), _mm256_add_epi64(r[-7].w, s1));
    r->w = w;
    r->wk = _mm256_add_epi64(w, r->k);
}

// The 80 rounds of one block over lane j of its schedule rows; with kNext,
// the sixteen words of the next schedule starting at row `next` are produced
// alongside, two per eight rounds.
template <bool kNext>
KRY_TARGET_AVX2 void rounds(uint64_t (&h)[8], const Row *cur, size_t j, Row *next) {
    constexpr size_t kStride = sizeof(Row) / sizeof(uint64_t);
    const uint64_t *w = reinterpret_cast<const uint64_t *>(&cur[0].wk) + j;
    uint64_t a = h[0], b = h[1], c = h[2], d = h[3], e = h[4], f = h[5], g = h[6], hh = h[7];
    // One round on the working variables A..H (the caller rotates the names):
    // H becomes T1 + T2 and D becomes D + T1, with W_t + K_t from the rows.
    // Written out instruction by instruction, in this order (the compiler's
    // own order and register choice ran slower): 22 integer operations,
    // rotations with BMI2 rorx, Ch(e,f,g) = ((f ^ g) & e) ^ g and
    // Maj(a,b,c) = ((a ^ b) & (b ^ c)) ^ b, where b ^ c (in BC) is the
    // previous round's a ^ b; the round leaves its own a ^ b in AB.  C itself
    // is not read.
#define KRY_SHA512_ROUND(A, B, C, D, E, F, G, H, BC, AB, T)                                           \
    __asm__("add %[wk], %[h]\n\t"                                                                    \
            "mov %[f], %[t0]\n\t"                                                                    \
            "xor %[g], %[t0]\n\t"                                                                    \
            "and %[e], %[t0]\n\t"                                                                    \
            "xor %[g], %[t0]\n\t"                                                                    \
            "add %[t0], %[h]\n\t"                                                                    \
            "rorx $14, %[e], %[t0]\n\t"                                                              \
            "rorx $18, %[e], %[ab]\n\t"                                                              \
            "xor %[ab], %[t0]\n\t"                                                                   \
            "rorx $41, %[e], %[ab]\n\t"                                                              \
            "xor %[ab], %[t0]\n\t"                                                                   \
            "add %[t0], %[h]\n\t"                                                                    \
            "rorx $28, %[a], %[t0]\n\t"                                                              \
            "rorx $34, %[a], %[ab]\n\t"                                                              \
            "add %[h], %[d]\n\t"                                                                     \
            "xor %[ab], %[t0]\n\t"                                                                   \
            "rorx $39, %[a], %[ab]\n\t"                                                              \
            "xor %[ab], %[t0]\n\t"                                                                   \
            "mov %[a], %[ab]\n\t"                                                                    \
            "xor %[b], %[ab]\n\t"                                                                    \
            "and %[ab], %[bc]\n\t"                                                                   \
            "xor %[b], %[bc]\n\t"                                                                    \
            "add %[t0], %[bc]\n\t"                                                                   \
            "add %[bc], %[h]"                                                                        \
            : [h] "+r"(H), [d] "+r"(D), [bc] "+r"(BC), [ab] "=&r"(AB), [t0] "=&r"(t0)                \
            : [a] "r"(A), [b] "r"(B), [e] "r"(E), [f] "r"(F), [g] "r"(G), [wk] "m"(w[kStride * (T)])  \
            : "cc")
    uint64_t x = b ^ c, y, t0;  // x and y take turns as BC and AB
#pragma GCC unroll 10
    for (int i = 0; i < 10; i++) {
        const int t = 8 * i;
        if constexpr (kNext) {
            if (i < 8) {
                word(next + 2 * i);
                word(next + 2 * i + 1);
            }
        }
        KRY_SHA512_ROUND(a, b, c, d, e, f, g, hh, x, y, t);
        KRY_SHA512_ROUND(hh, a, b, c, d, e, f, g, y, x, t + 1);
        KRY_SHA512_ROUND(g, hh, a, b, c, d, e, f, x, y, t + 2);
        KRY_SHA512_ROUND(f, g, hh, a, b, c, d, e, y, x, t + 3);
        KRY_SHA512_ROUND(e, f, g, hh, a, b, c, d, x, y, t + 4);
        KRY_SHA512_ROUND(d, e, f, g, hh, a, b, c, y, x, t + 5);
        KRY_SHA512_ROUND(c, d, e, f, g, hh, a, b, x, y, t + 6);
        KRY_SHA512_ROUND(b, c, d, e, f, g, hh, a, y, x, t + 7);
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

std::atomic<signed char> sha512_avx2_state{-1};

bool settle_sha512_avx2() {
    const bool on = cpu_has_avx2_bmi2() && avx2_enabled.load(std::memory_order_relaxed);
    sha512_avx2_state.store(on ? 1 : 0, std::memory_order_relaxed);
    return on;
}

void use_sha512_avx2(bool enabled) {
    avx2_enabled.store(enabled, std::memory_order_relaxed);
    settle_sha512_avx2();
}

KRY_TARGET_AVX2 void sha512_compress_avx2(uint64_t h[8], const uint8_t *p, size_t nblocks) {
    // The four-lane schedule pays off only over whole groups of blocks;
    // fewer blocks (final's one or two) take the one-block function.
    if (nblocks < 4) {
        for (; nblocks != 0; nblocks--, p += 128)
            compress(*reinterpret_cast<uint64_t(*)[8]>(h), p);
        return;
    }
    alignas(32) Schedule4 sched[2];
    uint64_t(&hv)[8] = *reinterpret_cast<uint64_t(*)[8]>(h);
    sched[0].set_constants();
    bool second = false;  // sched[1] in use (more than one group)
    size_t nb = 4;
    sched[0].load(p, nb);
    for (int t = 16; t < 80; t++)
        word(&sched[0].rows[t]);
    int cur = 0;
    for (;;) {
        const size_t rest = nblocks - nb;
        if (rest == 0) {
            for (size_t j = 0; j < nb; j++)
                rounds<false>(hv, sched[cur].rows, j, nullptr);
            break;
        }
        // Four blocks in this group; the next group's words 16 to 79 are
        // produced alongside their rounds, sixteen per block.
        const size_t nb_next = rest < 4 ? rest : 4;
        Schedule4 &next = sched[cur ^ 1];
        if (!second) {
            sched[1].set_constants();
            second = true;
        }
        next.load(p + 128 * nb, nb_next);
        for (size_t j = 0; j < 4; j++)
            rounds<true>(hv, sched[cur].rows, j, next.rows + 16 + 16 * j);
        p += 128 * nb;
        nblocks = rest;
        nb = nb_next;
        cur ^= 1;
    }
    // The rows held message words; a schedule never used holds nothing.
    wipe(sched, (second ? 2 : 1) * sizeof(Schedule4));
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
