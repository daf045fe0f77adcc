// SHA-1 (FIPS 180-2, section 6.1).
#include "digest/md_frame.h"
#include "digest/sha_x86.h"

#include <kry/digest.h>

#if defined(__x86_64__) || defined(__i386__)
namespace kry::x86 {
// The SHA-1 digest of h, reading H0..H3 with the one sixteen-byte load
// that sha1_compress_shani stores them with (narrower loads from inside
// that store are not forwarded at once); defined in sha_x86.cpp.
void sha1_output_shani(const uint32_t h[5], uint8_t *out);
}  // namespace kry::x86
#endif

namespace kry {
namespace {

constexpr uint32_t kErrInitNull = 0x25010006;
constexpr md::FrameErrors kErrors{
    .update_null = 0x25020006,
    .update_fill = 0x25020006,
    .final_null = 0x25030006,
    .final_fill = 1,
};

struct Sha1 {
    using State = SHA1_STATE;
    static constexpr size_t kBlock = 64;
    static constexpr bool kBigEndian = true;
    static constexpr uint64_t kFlushBits = 512;
    static constexpr uint32_t kIV[5] = {0x67452301, 0xEFCDAB89, 0x98BADCFE, 0x10325476, 0xC3D2E1F0};
    static uint32_t *chain(State &s) { return s.h; }

    static void compress(State &s, const uint8_t *p, size_t n = 1) {
        if (x86::has_sha_extensions())
            return x86::sha1_compress_shani(s.h, p, n);
        for (; n != 0; n--, p += kBlock)
            compress_block(s, p);
    }

    static void compress_block(State &s, const uint8_t *p) {
        uint32_t w[16];
        for (int i = 0; i < 16; i++)
            w[i] = load32_be(p + 4 * i);
        uint32_t a = s.h[0], b = s.h[1], c = s.h[2], d = s.h[3], e = s.h[4];

        // Round t uses W[t]; from t = 16 on, W is kept in a 16-word ring.
        auto step = [&](int t, uint32_t f, uint32_t k) {
            uint32_t wt;
            if (t < 16) {
                wt = w[t];
            } else {
                wt = rotl32(w[(t - 3) & 15] ^ w[(t - 8) & 15] ^ w[(t - 14) & 15] ^ w[t & 15], 1);
                w[t & 15] = wt;
            }
            uint32_t tmp = rotl32(a, 5) + f + e + k + wt;
            e = d;
            d = c;
            c = rotl32(b, 30);
            b = a;
            a = tmp;
        };
#pragma GCC unroll 20
        for (int t = 0; t < 20; t++) step(t, (b & c) | (~b & d), 0x5A827999);
#pragma GCC unroll 20
        for (int t = 20; t < 40; t++) step(t, b ^ c ^ d, 0x6ED9EBA1);
#pragma GCC unroll 20
        for (int t = 40; t < 60; t++) step(t, (b & c) | (b & d) | (c & d), 0x8F1BBCDC);
#pragma GCC unroll 20
        for (int t = 60; t < 80; t++) step(t, b ^ c ^ d, 0xCA62C1D6);

        s.h[0] += a;
        s.h[1] += b;
        s.h[2] += c;
        s.h[3] += d;
        s.h[4] += e;
        wipe(w, sizeof w);
    }

    static void output(const State &s, uint8_t *out) {
#if defined(__x86_64__) || defined(__i386__)
        // Whoever wrote h last chose its stores; read it the same way.
        if (x86::has_sha_extensions())
            return x86::sha1_output_shani(s.h, out);
#endif
        for (int i = 0; i < 5; i++)
            store32_be(out + 4 * i, s.h[i]);
    }
};

}  // namespace
}  // namespace kry

extern "C" {

KRY_API uint32_t init_SHA1(SHA1_STATE *state) { return kry::md::init<kry::Sha1>(state, kry::kErrInitNull); }

KRY_API uint32_t update_SHA1(SHA1_STATE *state, const uint8_t *data, uint32_t length) {
    return kry::md::update<kry::Sha1>(state, data, length, kry::kErrors);
}

KRY_API uint32_t final_SHA1(SHA1_STATE *state, uint8_t *out) {
    return kry::md::final<kry::Sha1>(state, out, kry::kErrors);
}

}  // extern "C"
