// The simultaneous exponentiation a1^p1 a2^p2 mod m (the DSA verification
// step), against OpenSSL's BN and against two separate exponentiations and a
// modular product.
#include <kry/bigint.h>

#include "bigint/bigint_internal.h"
#include "oracle_bn.h"
#include "test_support.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

namespace {

using Words = std::vector<uint32_t>;
using kry_test::TestRng;

Words random_words(TestRng &rng, int n) {
    Words w(static_cast<size_t>(n));
    for (auto &x : w) x = static_cast<uint32_t>(rng.next() >> 11);
    if (n > 0 && w.back() == 0) w.back() = 1;
    return w;
}

Words random_bits(TestRng &rng, int bits) {
    if (bits == 0) return {};
    Words w = random_words(rng, (bits + 31) / 32);
    const int top = (bits - 1) % 32;
    w.back() &= top == 31 ? 0xFFFFFFFFu : (2u << top) - 1;
    w.back() |= 1u << top;
    return w;
}

Words odd(Words w) {
    w[0] |= 1;
    return w;
}

struct Big {
    BIGINT *b = new_BIGINT();
    Big() = default;
    explicit Big(const Words &w) { set(w); }
    ~Big() { free_BIGINT(b); }
    Big(const Big &) = delete;
    Big &operator=(const Big &) = delete;
    void set(const Words &w) {
        EXPECT_NE(kry::expand_BIGINT(b, w.empty() ? 1 : static_cast<int32_t>(w.size())), nullptr);
        if (!w.empty()) std::memcpy(b->data, w.data(), w.size() * 4);
        b->length = static_cast<int32_t>(w.size());
        kry::normalize_BIGINT(b);
    }
    BIGINT *operator->() const { return b; }
    operator BIGINT *() const { return b; }
};

std::string hex(const BIGINT *b) {
    std::string s;
    char buf[9];
    bool started = false;
    for (int i = b->length - 1; i >= 0; i--) {
        if (!started) {
            if (b->data[i] == 0) continue;
            std::snprintf(buf, sizeof buf, "%X", b->data[i]);
            started = true;
        } else {
            std::snprintf(buf, sizeof buf, "%08X", b->data[i]);
        }
        s += buf;
    }
    return started ? s : "0";
}

std::string oracle_dual(const BIGINT *a1, const BIGINT *p1, const BIGINT *a2, const BIGINT *p2, const BIGINT *m) {
    const std::string e1 = oracle::bn::mod_exp(hex(a1), hex(p1), hex(m));
    const std::string e2 = oracle::bn::mod_exp(hex(a2), hex(p2), hex(m));
    std::string h = oracle::bn::mod_mul(e1, e2, hex(m));
    size_t i = 0;
    while (i + 1 < h.size() && h[i] == '0') i++;
    return h.substr(i);
}

// The same value by the separate route.
std::string separate(const BIGINT *a1, const BIGINT *p1, const BIGINT *a2, const BIGINT *p2, const BIGINT *m) {
    Big t1, t2, r;
    EXPECT_EQ(mod_exp_mont_BIGINT(t1, a1, p1, m, nullptr), 0);
    EXPECT_EQ(mod_exp_mont_BIGINT(t2, a2, p2, m, nullptr), 0);
    EXPECT_EQ(mod_mtp_BIGINT(r, t1, t2, m, nullptr), 0);
    return hex(r);
}

// Moduli of even and odd word counts (both limb layouts and the unrolled
// sizes), exponents of different lengths so that the windows differ.
TEST(BigintDualExp, RandomAgainstOpenSSL) {
    TestRng rng(0x5EED);
    BIGINT_POOL *pool = new_BIGINT_POOL();
    const int sizes[] = {1, 2, 3, 5, 8, 15, 16, 17, 31, 32, 33, 48, 64, 96};
    for (int words : sizes) {
        for (int round = 0; round < 3; round++) {
            Big m(odd(random_words(rng, words)));
            Big a1(random_words(rng, words)), a2(random_words(rng, words));
            const int bits1 = 1 + static_cast<int>(rng.next() % (32u * static_cast<unsigned>(words) + 40u));
            const int bits2 = 1 + static_cast<int>(rng.next() % 200u);
            Big p1(random_bits(rng, bits1)), p2(random_bits(rng, bits2));
            Big r;
            ASSERT_EQ(kry::mod_exp2_mont_BIGINT(r, a1, p1, a2, p2, m, pool), 0);
            const std::string want = oracle_dual(a1, p1, a2, p2, m);
            ASSERT_FALSE(want.empty());
            EXPECT_EQ(hex(r), want) << words << " words, exponents " << bits1 << "/" << bits2;
            EXPECT_EQ(hex(r), separate(a1, p1, a2, p2, m));
            // Without a pool, and with the exponents swapped.
            ASSERT_EQ(kry::mod_exp2_mont_BIGINT(r, a2, p2, a1, p1, m, nullptr), 0);
            EXPECT_EQ(hex(r), want);
        }
    }
    free_BIGINT_POOL(pool);
}

// DSA-sized operands: a 1024-bit modulus and 160-bit exponents, 2048/224 and
// 3072/256.
TEST(BigintDualExp, DsaSizes) {
    TestRng rng(77);
    const int shapes[][2] = {{1024, 160}, {2048, 224}, {2048, 256}, {3072, 256}};
    for (const auto &shape : shapes) {
        for (int round = 0; round < 4; round++) {
            Big m(odd(random_bits(rng, shape[0])));
            Big a1(random_bits(rng, shape[0] - 1)), a2(random_bits(rng, shape[0] - 3));
            Big p1(random_bits(rng, shape[1] - round)), p2(random_bits(rng, shape[1]));
            Big r;
            ASSERT_EQ(kry::mod_exp2_mont_BIGINT(r, a1, p1, a2, p2, m, nullptr), 0);
            EXPECT_EQ(hex(r), oracle_dual(a1, p1, a2, p2, m));
        }
    }
}

// Bases at or above the modulus, zero bases, zero exponents, modulus one and
// even moduli: the value is the separate route's in every case.
TEST(BigintDualExp, EdgeCasesMatchTheSeparateRoute) {
    TestRng rng(3);
    const Words mw = odd(random_words(rng, 8));
    const Words moduli[] = {mw, {1}, {7}, random_words(rng, 6), odd(random_words(rng, 9))};
    for (const Words &m_words : moduli) {
        Big m(m_words);
        const Words bases[] = {{}, {1}, m_words, random_words(rng, 20), random_words(rng, 3)};
        const Words exps[] = {{}, {1}, {2}, random_bits(rng, 70)};
        for (const Words &x : bases) {
            for (const Words &e : exps) {
                Big a1(x), p1(e), a2(random_words(rng, 4)), p2(random_bits(rng, 33)), r;
                ASSERT_EQ(kry::mod_exp2_mont_BIGINT(r, a1, p1, a2, p2, m, nullptr), 0);
                EXPECT_EQ(hex(r), separate(a1, p1, a2, p2, m));
                ASSERT_EQ(kry::mod_exp2_mont_BIGINT(r, a2, p2, a1, p1, m, nullptr), 0);
                EXPECT_EQ(hex(r), separate(a2, p2, a1, p1, m));
                if ((m_words[0] & 1) != 0 && !(m_words.size() == 1 && m_words[0] == 1)) {
                    EXPECT_EQ(hex(r), oracle_dual(a2, p2, a1, p1, m));
                }
            }
        }
    }
}

// The result may share its record with an input.
TEST(BigintDualExp, ResultMayAliasAnInput) {
    TestRng rng(9);
    Big m(odd(random_bits(rng, 1024))), a1(random_bits(rng, 1000)), a2(random_bits(rng, 1020));
    Big p1(random_bits(rng, 160)), p2(random_bits(rng, 159));
    const std::string want = oracle_dual(a1, p1, a2, p2, m);
    ASSERT_EQ(kry::mod_exp2_mont_BIGINT(a1, a1, p1, a2, p2, m, nullptr), 0);
    EXPECT_EQ(hex(a1), want);
}

}  // namespace

// The 52-bit digit engine (AVX-512 IFMA, where the processor has it) and the
// 64-bit limb engine give the same products, and both match OpenSSL.
#include "bigint/bigint_ifma.h"

TEST(BigintDualExp, DigitEngineMatchesLimbEngine) {
    TestRng rng(0xD16);
    for (int words = 1; words <= 130; words += 1 + static_cast<int>(rng.next() % 9u)) {
        Big m(odd(random_words(rng, words)));
        Big a1(random_words(rng, words)), a2(random_words(rng, words));
        Big p1(random_bits(rng, 1 + static_cast<int>(rng.next() % 300u))), p2(random_bits(rng, 160));
        Big fast, slow;
        ASSERT_EQ(kry::mod_exp2_mont_BIGINT(fast, a1, p1, a2, p2, m, nullptr), 0);
        kry::ifma::use_ifma(false);
        const int rc = kry::mod_exp2_mont_BIGINT(slow, a1, p1, a2, p2, m, nullptr);
        kry::ifma::use_ifma(true);
        ASSERT_EQ(rc, 0);
        EXPECT_EQ(hex(fast), hex(slow)) << words << " words";
        EXPECT_EQ(hex(fast), oracle_dual(a1, p1, a2, p2, m)) << words << " words";
    }
}
