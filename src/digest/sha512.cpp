// SHA-384 and SHA-512 (FIPS 180-2 section 6.3 and 6.4).
#include "digest/md_frame.h"

#include <kry/digest.h>

namespace kry {
namespace {

constexpr uint64_t kK[80] = {
    0x428a2f98d728ae22, 0x7137449123ef65cd, 0xb5c0fbcfec4d3b2f, 0xe9b5dba58189dbbc, 0x3956c25bf348b538,
    0x59f111f1b605d019, 0x923f82a4af194f9b, 0xab1c5ed5da6d8118, 0xd807aa98a3030242, 0x12835b0145706fbe,
    0x243185be4ee4b28c, 0x550c7dc3d5ffb4e2, 0x72be5d74f27b896f, 0x80deb1fe3b1696b1, 0x9bdc06a725c71235,
    0xc19bf174cf692694, 0xe49b69c19ef14ad2, 0xefbe4786384f25e3, 0x0fc19dc68b8cd5b5, 0x240ca1cc77ac9c65,
    0x2de92c6f592b0275, 0x4a7484aa6ea6e483, 0x5cb0a9dcbd41fbd4, 0x76f988da831153b5, 0x983e5152ee66dfab,
    0xa831c66d2db43210, 0xb00327c898fb213f, 0xbf597fc7beef0ee4, 0xc6e00bf33da88fc2, 0xd5a79147930aa725,
    0x06ca6351e003826f, 0x142929670a0e6e70, 0x27b70a8546d22ffc, 0x2e1b21385c26c926, 0x4d2c6dfc5ac42aed,
    0x53380d139d95b3df, 0x650a73548baf63de, 0x766a0abb3c77b2a8, 0x81c2c92e47edaee6, 0x92722c851482353b,
    0xa2bfe8a14cf10364, 0xa81a664bbc423001, 0xc24b8b70d0f89791, 0xc76c51a30654be30, 0xd192e819d6ef5218,
    0xd69906245565a910, 0xf40e35855771202a, 0x106aa07032bbd1b8, 0x19a4c116b8d2d0c8, 0x1e376c085141ab53,
    0x2748774cdf8eeb99, 0x34b0bcb5e19b48a8, 0x391c0cb3c5c95a63, 0x4ed8aa4ae3418acb, 0x5b9cca4f7763e373,
    0x682e6ff3d6b2b8a3, 0x748f82ee5defb2fc, 0x78a5636f43172f60, 0x84c87814a1f0ab72, 0x8cc702081a6439ec,
    0x90befffa23631e28, 0xa4506cebde82bde9, 0xbef9a3f7b2c67915, 0xc67178f2e372532b, 0xca273eceea26619c,
    0xd186b8c721c0c207, 0xeada7dd6cde0eb1e, 0xf57d4f7fee6ed178, 0x06f067aa72176fba, 0x0a637dc5a2c898a6,
    0x113f9804bef90dae, 0x1b710b35131c471b, 0x28db77f523047d84, 0x32caab7b40c72493, 0x3c9ebe0a15c9bebc,
    0x431d67c49c100d4c, 0x4cc5d4becb3e42b6, 0x597f299cfc657e2a, 0x5fcb6fab3ad6faec, 0x6c44198c4a475817,
};

template <class IV>
struct Sha512Family {
    using State = SHA512_STATE;
    static constexpr size_t kBlock = 128;
    static constexpr bool kBigEndian = true;
    // A block filled by final's flush of the staged bytes counts 512 bits,
    // not 1024.  The flush never fills a block, since update compresses every
    // whole block itself, so the figure is never used on a well-formed state.
    static constexpr uint64_t kFlushBits = 512;
    static constexpr auto &kIV = IV::value;
    static uint64_t *chain(State &s) { return s.h; }

    static void compress(State &s, const uint8_t *p) {
        uint64_t w[80];
        for (int i = 0; i < 16; i++)
            w[i] = load64_be(p + 8 * i);
#pragma GCC unroll 64
        for (int i = 16; i < 80; i++) {
            uint64_t s0 = rotr64(w[i - 15], 1) ^ rotr64(w[i - 15], 8) ^ (w[i - 15] >> 7);
            uint64_t s1 = rotr64(w[i - 2], 19) ^ rotr64(w[i - 2], 61) ^ (w[i - 2] >> 6);
            w[i] = w[i - 16] + s0 + w[i - 7] + s1;
        }
        uint64_t a = s.h[0], b = s.h[1], c = s.h[2], d = s.h[3];
        uint64_t e = s.h[4], f = s.h[5], g = s.h[6], h = s.h[7];
#pragma GCC unroll 80
        for (int i = 0; i < 80; i++) {
            uint64_t t1 = h + (rotr64(e, 14) ^ rotr64(e, 18) ^ rotr64(e, 41)) + ((e & f) ^ (~e & g)) + kK[i] + w[i];
            uint64_t t2 = (rotr64(a, 28) ^ rotr64(a, 34) ^ rotr64(a, 39)) + ((a & b) ^ (a & c) ^ (b & c));
            h = g;
            g = f;
            f = e;
            e = d + t1;
            d = c;
            c = b;
            b = a;
            a = t1 + t2;
        }
        s.h[0] += a;
        s.h[1] += b;
        s.h[2] += c;
        s.h[3] += d;
        s.h[4] += e;
        s.h[5] += f;
        s.h[6] += g;
        s.h[7] += h;
        wipe(w, sizeof w);
    }

    static void output(const State &s, uint8_t *out) {
        for (int i = 0; i < 8; i++)
            store64_be(out + 8 * i, s.h[i]);
    }
};

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
using Sha512 = Sha512Family<Sha512IV>;
using Sha384 = Sha512Family<Sha384IV>;

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
