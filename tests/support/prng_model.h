// An independent model of kry's FIPS 186-2 generator for the tests: the
// XKEY / XSEED arithmetic on plain byte vectors, the G functions on OpenSSL
// primitives (SHA-1 and SHA-512 compression, ARIA and SEED in ECB mode),
// and the block discipline of get_rand.
#ifndef KRY_TEST_PRNG_MODEL_H
#define KRY_TEST_PRNG_MODEL_H

#include "oracle.h"
#include "oracle_bn.h"
#include "test_support.h"

#include <algorithm>
#include <cstdint>
#include <functional>
#include <string>
#include <utility>
#include <vector>

namespace prng_model {

using kry_test::Bytes;

// Non-negative integers as little-endian byte vectors without high zeros.
using Num = std::vector<uint8_t>;

inline void trim(Num &n) {
    while (!n.empty() && n.back() == 0) n.pop_back();
}
inline Num from_be(const Bytes &b) {
    Num n(b.rbegin(), b.rend());
    trim(n);
    return n;
}
inline Bytes to_be(const Num &n, size_t width) {
    Bytes out(width, 0);
    for (size_t i = 0; i < width && i < n.size(); i++) out[width - 1 - i] = n[i];
    return out;
}
inline int bit_length(const Num &n) {
    Num t = n;
    trim(t);
    if (t.empty()) return 0;
    int top = 0;
    for (int v = t.back(); v != 0; v >>= 1) top++;
    return static_cast<int>(8 * (t.size() - 1)) + top;
}
inline Num add(const Num &a, const Num &b) {
    Num r(std::max(a.size(), b.size()) + 1, 0);
    unsigned carry = 0;
    for (size_t i = 0; i < r.size(); i++) {
        unsigned s = carry + (i < a.size() ? a[i] : 0) + (i < b.size() ? b[i] : 0);
        r[i] = static_cast<uint8_t>(s);
        carry = s >> 8;
    }
    trim(r);
    return r;
}
inline Num mod_pow2(Num a, int bits) {
    const size_t bytes = static_cast<size_t>((bits + 7) / 8);
    if (a.size() > bytes) a.resize(bytes);
    if (bits % 8 != 0 && a.size() == bytes) a.back() &= static_cast<uint8_t>((1u << (bits % 8)) - 1);
    trim(a);
    return a;
}
// Upper-case hexadecimal without leading zeros ("0" for zero), the form of
// the BN oracle.
inline std::string hex(const Num &n) {
    if (n.empty()) return "0";
    std::string s = kry_test::to_hex(to_be(n, n.size()));
    for (auto &c : s) c = static_cast<char>(toupper(static_cast<unsigned char>(c)));
    size_t nz = s.find_first_not_of('0');
    return nz == std::string::npos ? "0" : s.substr(nz);
}
inline Num from_hex_num(const std::string &h) {
    std::string digits = h.size() % 2 ? "0" + h : h;
    return from_be(kry_test::from_hex(digits));
}

// ---- G functions --------------------------------------------------------------

// A G function takes the 64-byte block holding XVAL (ceil(b/8) bytes at the
// front) and returns its whole result.
using GFunction = std::function<Bytes(const Bytes &block)>;

inline void put32_be(uint8_t *p, uint32_t v) {
    p[0] = static_cast<uint8_t>(v >> 24);
    p[1] = static_cast<uint8_t>(v >> 16);
    p[2] = static_cast<uint8_t>(v >> 8);
    p[3] = static_cast<uint8_t>(v);
}
inline uint32_t get32_be(const uint8_t *p) {
    return static_cast<uint32_t>(p[0]) << 24 | static_cast<uint32_t>(p[1]) << 16 | static_cast<uint32_t>(p[2]) << 8 | p[3];
}

// SHA-1 compression chaining from the initial value, one block per call.
inline GFunction sha1_g() {
    uint32_t h[5] = {0x67452301, 0xEFCDAB89, 0x98BADCFE, 0x10325476, 0xC3D2E1F0};
    return [h](const Bytes &block) mutable {
        oracle::openssl_sha1_transform(h, block.data());
        Bytes out(20);
        for (int i = 0; i < 5; i++) put32_be(out.data() + 4 * i, h[i]);
        return out;
    };
}

// SHA-512 fed half blocks: a compression every second call; the result is
// the low halves of H0..H7 followed by 32 zero bytes.
inline GFunction sha512_g() {
    Bytes all;
    return [all](const Bytes &block) mutable {
        all.insert(all.end(), block.begin(), block.end());
        static const uint64_t iv[8] = {0x6a09e667f3bcc908ull, 0xbb67ae8584caa73bull, 0x3c6ef372fe94f82bull,
                                       0xa54ff53a5f1d36f1ull, 0x510e527fade682d1ull, 0x9b05688c2b3e6c1full,
                                       0x1f83d9abfb41bd6bull, 0x5be0cd19137e2179ull};
        Bytes chain(64);
        const size_t whole = all.size() / 128 * 128;
        if (whole == 0) {
            for (int i = 0; i < 8; i++)
                for (int j = 0; j < 8; j++) chain[8 * i + j] = static_cast<uint8_t>(iv[i] >> (56 - 8 * j));
        } else {
            chain = oracle::openssl_sha512_compress(Bytes(all.begin(), all.begin() + static_cast<long>(whole)));
        }
        Bytes out(64, 0);
        for (int i = 0; i < 8; i++) std::copy(chain.begin() + 8 * i + 4, chain.begin() + 8 * i + 8, out.begin() + 4 * i);
        return out;
    };
}

// The five-round block-cipher G over an OpenSSL ECB cipher ("ARIA-128-ECB",
// "SEED-ECB", ...) with the given key length: XVAL folded to 20 bytes, t
// the SHA-1 initial value; key, block and output folding as documented in
// the library.
inline Bytes cipher_g_once(const std::string &cipher, size_t key_bytes, const Bytes &block) {
    static const uint8_t t[20] = {0x67, 0x45, 0x23, 0x01, 0xEF, 0xCD, 0xAB, 0x89, 0x98, 0xBA,
                                  0xDC, 0xFE, 0x10, 0x32, 0x54, 0x76, 0xC3, 0xD2, 0xE1, 0xF0};
    uint8_t folded[20] = {};
    for (size_t i = 0; i < block.size(); i++) folded[i % 20] ^= block[i];
    uint32_t c[5], x[5], y[5][4];
    for (int j = 0; j < 5; j++) {
        c[j] = get32_be(folded + 4 * j);
        x[j] = get32_be(t + 4 * j) ^ c[j];
    }
    for (int i = 0; i < 5; i++) {
        const uint32_t kw[8] = {c[(i + 4) % 5], c[(i + 3) % 5], c[(i + 2) % 5], c[(i + 1) % 5],
                                c[i],           x[(i + 4) % 5], x[(i + 3) % 5], x[(i + 2) % 5]};
        Bytes key(32), in(16), out;
        for (int k = 0; k < 8; k++) put32_be(key.data() + 4 * k, kw[k]);
        key.resize(key_bytes);
        put32_be(in.data(), x[i]);
        put32_be(in.data() + 4, x[(i + 1) % 5] ^ x[(i + 4) % 5]);
        put32_be(in.data() + 8, x[(i + 2) % 5]);
        put32_be(in.data() + 12, x[(i + 3) % 5]);
        if (!oracle::openssl_cipher(cipher, key, {}, true, false, in, out) || out.size() != 16) return {};
        for (int k = 0; k < 4; k++) y[i][k] = get32_be(out.data() + 4 * k);
    }
    Bytes z(20);
    for (int i = 0; i < 5; i++)
        put32_be(z.data() + 4 * i, y[i][0] ^ y[(i + 1) % 5][1] ^ y[(i + 2) % 5][2] ^ y[(i + 3) % 5][3]);
    return z;
}
inline GFunction cipher_g(const std::string &cipher, size_t key_bytes) {
    return [cipher, key_bytes](const Bytes &block) { return cipher_g_once(cipher, key_bytes, block); };
}

// ---- the generator ----------------------------------------------------------------

class Generator {
  public:
    // block_length: bytes output per block (the digest length, 16 for a
    // cipher G).
    Generator(const Bytes &xkey, const Bytes &xseed, GFunction g, size_t block_length)
        : xkey_(from_be(xkey)), xseed_(from_be(xseed)), g_(std::move(g)), m_(block_length) {}

    // One step: the whole G result.
    Bytes step() { return step_with([](const Num &x) { return x; }).second; }

    // One block as get_rand sees it.
    Bytes block() {
        Bytes x = step();
        return Bytes(x.begin(), x.begin() + static_cast<long>(m_));
    }

    // get_rand: n bytes, or ok = false where the continuous test fails (a
    // compared block equal to the reference block over its first bytes).
    Bytes get_rand(size_t n, bool *ok = nullptr) {
        bool dummy = true;
        bool &good = ok != nullptr ? *ok : dummy;
        good = true;
        Bytes first = block();
        if (m_ > n) {
            Bytes b = block();
            if (b == first) good = false;
            return good ? Bytes(b.begin(), b.begin() + static_cast<long>(n)) : Bytes{};
        }
        Bytes out;
        if (m_ < n) {
            while (n - out.size() > m_) {
                Bytes b = block();
                if (b == first) {
                    good = false;
                    return {};
                }
                out.insert(out.end(), b.begin(), b.end());
            }
            Bytes last = block();
            out.insert(out.end(), last.begin(), last.begin() + static_cast<long>(n - out.size()));
            return out;
        }
        first = block();
        Bytes b = block();
        if (b == first) {
            good = false;
            return {};
        }
        return b;
    }

    // The DSA step: G(XVAL) mod q (unreduced for an empty q) enters the XKEY
    // update; returns it in hexadecimal.
    std::string dsa(const std::string &q_hex) {
        auto r = step_with([&](const Num &x) {
            return q_hex.empty() ? x : from_hex_num(oracle::bn::mod(hex(x), q_hex));
        });
        return hex(r.first);
    }

    Bytes xkey(size_t width) const { return to_be(xkey_, width); }
    int b() const { return bit_length(xkey_); }

  private:
    template <class Reduce>
    std::pair<Num, Bytes> step_with(Reduce reduce) {
        const int b = bit_length(xkey_);
        const Num xval = mod_pow2(add(xkey_, xseed_), b);
        Bytes block(64, 0);
        Bytes v = to_be(xval, static_cast<size_t>((b + 7) / 8));
        std::copy(v.begin(), v.end(), block.begin());
        Bytes x = g_(block);
        Num r = reduce(from_be(x));
        xkey_ = mod_pow2(add(add(xkey_, r), Num{1}), b);
        return {r, x};
    }

    Num xkey_;
    Num xseed_;
    GFunction g_;
    size_t m_;
};

}  // namespace prng_model

#endif  // KRY_TEST_PRNG_MODEL_H
