// SHA-224 and SHA-256 (FIPS 180-2 section 6.2 and Change Notice 1).
#include "digest/md_frame.h"

#include <kry/digest.h>

namespace kry {
namespace {

constexpr uint32_t kK[64] = {
    0x428a2f98, 0x71374491, 0xb5c0fbcf, 0xe9b5dba5, 0x3956c25b, 0x59f111f1, 0x923f82a4, 0xab1c5ed5,
    0xd807aa98, 0x12835b01, 0x243185be, 0x550c7dc3, 0x72be5d74, 0x80deb1fe, 0x9bdc06a7, 0xc19bf174,
    0xe49b69c1, 0xefbe4786, 0x0fc19dc6, 0x240ca1cc, 0x2de92c6f, 0x4a7484aa, 0x5cb0a9dc, 0x76f988da,
    0x983e5152, 0xa831c66d, 0xb00327c8, 0xbf597fc7, 0xc6e00bf3, 0xd5a79147, 0x06ca6351, 0x14292967,
    0x27b70a85, 0x2e1b2138, 0x4d2c6dfc, 0x53380d13, 0x650a7354, 0x766a0abb, 0x81c2c92e, 0x92722c85,
    0xa2bfe8a1, 0xa81a664b, 0xc24b8b70, 0xc76c51a3, 0xd192e819, 0xd6990624, 0xf40e3585, 0x106aa070,
    0x19a4c116, 0x1e376c08, 0x2748774c, 0x34b0bcb5, 0x391c0cb3, 0x4ed8aa4a, 0x5b9cca4f, 0x682e6ff3,
    0x748f82ee, 0x78a5636f, 0x84c87814, 0x8cc70208, 0x90befffa, 0xa4506ceb, 0xbef9a3f7, 0xc67178f2,
};

// SHA-224 and SHA-256 share the frame and the compression function; they
// differ in their initial hash values and in how much of H is output.
template <class IV>
struct Sha256Family {
    using State = SHA256_STATE;
    static constexpr size_t kBlock = 64;
    static constexpr bool kBigEndian = true;
    static constexpr uint64_t kFlushBits = 512;
    static constexpr auto &kIV = IV::value;
    static uint32_t *chain(State &s) { return s.h; }

    static void compress(State &s, const uint8_t *p) {
        uint32_t w[64];
        for (int i = 0; i < 16; i++)
            w[i] = load32_be(p + 4 * i);
#pragma GCC unroll 48
        for (int i = 16; i < 64; i++) {
            uint32_t s0 = rotr32(w[i - 15], 7) ^ rotr32(w[i - 15], 18) ^ (w[i - 15] >> 3);
            uint32_t s1 = rotr32(w[i - 2], 17) ^ rotr32(w[i - 2], 19) ^ (w[i - 2] >> 10);
            w[i] = w[i - 16] + s0 + w[i - 7] + s1;
        }
        uint32_t a = s.h[0], b = s.h[1], c = s.h[2], d = s.h[3];
        uint32_t e = s.h[4], f = s.h[5], g = s.h[6], h = s.h[7];
#pragma GCC unroll 64
        for (int i = 0; i < 64; i++) {
            uint32_t t1 = h + (rotr32(e, 6) ^ rotr32(e, 11) ^ rotr32(e, 25)) + ((e & f) ^ (~e & g)) + kK[i] + w[i];
            uint32_t t2 = (rotr32(a, 2) ^ rotr32(a, 13) ^ rotr32(a, 22)) + ((a & b) ^ (a & c) ^ (b & c));
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
            store32_be(out + 4 * i, s.h[i]);
    }
};

struct Sha256IV {
    static constexpr uint32_t value[8] = {0x6a09e667, 0xbb67ae85, 0x3c6ef372, 0xa54ff53a,
                                          0x510e527f, 0x9b05688c, 0x1f83d9ab, 0x5be0cd19};
};
struct Sha224IV {
    static constexpr uint32_t value[8] = {0xc1059ed8, 0x367cd507, 0x3070dd17, 0xf70e5939,
                                          0xffc00b31, 0x68581511, 0x64f98fa7, 0xbefa4fa4};
};
using Sha256 = Sha256Family<Sha256IV>;
using Sha224 = Sha256Family<Sha224IV>;

// The SHA-256 entries' error words; those of update_SHA256 and
// final_SHA256 are not uniform (1 for a bad block fill in update).
constexpr md::FrameErrors kErrors256{
    .update_null = 0x25090006,
    .update_fill = 1,
    .final_null = 0x250A0006,
    .final_fill = 0x250A0006,
};

}  // namespace
}  // namespace kry

extern "C" {

KRY_API uint32_t init_SHA256(SHA256_STATE *state) { return kry::md::init<kry::Sha256>(state, 0x25080006); }

KRY_API uint32_t update_SHA256(SHA256_STATE *state, const uint8_t *data, uint32_t length) {
    return kry::md::update<kry::Sha256>(state, data, length, kry::kErrors256);
}

KRY_API uint32_t final_SHA256(SHA256_STATE *state, uint8_t *out) {
    return kry::md::final<kry::Sha256>(state, out, kry::kErrors256);
}

KRY_API uint32_t init_SHA224(SHA256_STATE *state) { return kry::md::init<kry::Sha224>(state, 0x25050006); }

// SHA-224 is SHA-256 with its own initial value: update passes straight on.
KRY_API uint32_t update_SHA224(SHA256_STATE *state, const uint8_t *data, uint32_t length) {
    if (state == nullptr || data == nullptr)
        return 0x25060006;
    return update_SHA256(state, data, length);
}

// Runs the SHA-256 final into a local block and keeps its first 28 bytes.
KRY_API uint32_t final_SHA224(SHA256_STATE *state, uint8_t *out) {
    if (state == nullptr || out == nullptr)
        return 0x25070006;
    uint8_t full[32] = {};
    kry::WipeOnExit guard(full);
    if (final_SHA256(state, full) != 0)
        return 0x2507000A;
    std::memcpy(out, full, 28);
    return 0;
}

}  // extern "C"
