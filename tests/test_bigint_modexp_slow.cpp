// A wider sweep of the exponentiations and the operations under them
// against OpenSSL's BN: more sizes, more rounds, larger operands.
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
    for (auto &x : w) {
        switch (rng.below(10)) {
        case 0: x = 0xFFFFFFFFu; break;
        case 1: x = 0; break;
        default: x = static_cast<uint32_t>(rng.next() >> 13);
        }
    }
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

struct Big {
    BIGINT *b = new_BIGINT();
    Big() = default;
    explicit Big(const Words &w) {
        EXPECT_NE(kry::expand_BIGINT(b, w.empty() ? 1 : static_cast<int32_t>(w.size())), nullptr);
        if (!w.empty()) std::memcpy(b->data, w.data(), w.size() * 4);
        b->length = static_cast<int32_t>(w.size());
        kry::normalize_BIGINT(b);
    }
    ~Big() { free_BIGINT(b); }
    Big(const Big &) = delete;
    Big &operator=(const Big &) = delete;
    BIGINT *operator->() const { return b; }
    operator BIGINT *() const { return b; }
};

std::string hex(const BIGINT *b) {
    std::string s;
    char buf[9];
    for (int i = b->length - 1; i >= 0; i--) {
        std::snprintf(buf, sizeof buf, s.empty() ? "%X" : "%08X", b->data[i]);
        if (!s.empty() || b->data[i] != 0) s += buf;
    }
    return s.empty() ? "0" : s;
}

std::string norm(const std::string &h) {
    size_t i = 0;
    while (i + 1 < h.size() && h[i] == '0') i++;
    return h.substr(i);
}

class PoolGuard {
  public:
    PoolGuard() : p_(new_BIGINT_POOL()) {}
    ~PoolGuard() { free_BIGINT_POOL(p_); }
    PoolGuard(const PoolGuard &) = delete;
    PoolGuard &operator=(const PoolGuard &) = delete;
    operator BIGINT_POOL *() const { return p_; }

  private:
    BIGINT_POOL *p_;
};

TEST(BigintModExpSlow, EveryModulusSizeUpTo4096Bits) {
    TestRng rng(101);
    PoolGuard pool;
    for (int mod_bits = 2; mod_bits <= 4096; mod_bits += mod_bits < 300 ? 3 : 41) {
        for (int exp_bits : {1, 2, 17, 23, 24, 80, 160, 240, 672}) {
            Words mw = random_bits(rng, mod_bits);
            mw[0] |= 1;
            Big m(mw), a(random_bits(rng, 1 + static_cast<int>(rng.below(static_cast<uint32_t>(mod_bits + 40))))),
                p(random_bits(rng, exp_bits)), r1, r2;
            const std::string want = norm(oracle::bn::mod_exp(hex(a), hex(p), hex(m)));
            ASSERT_EQ(mod_exp_mont_BIGINT(r1, a, p, m, pool), 0);
            EXPECT_EQ(hex(r1), want) << mod_bits << " / " << exp_bits;
            if (mod_bits <= 2048 || exp_bits <= 240) {
                ASSERT_EQ(mod_exp_BIGINT(r2, a, p, m, pool), 0);
                EXPECT_EQ(hex(r2), want) << mod_bits << " / " << exp_bits;
            }
        }
    }
}

TEST(BigintModExpSlow, FullSizeExponents) {
    TestRng rng(102);
    PoolGuard pool;
    for (int bits : {512, 1024, 1536, 2048, 3072, 4096}) {
        for (int round = 0; round < 3; round++) {
            Words mw = random_bits(rng, bits);
            mw[0] |= 1;
            Big m(mw), a(random_bits(rng, bits - 1)), p(random_bits(rng, bits)), r;
            ASSERT_EQ(mod_exp_mont_BIGINT(r, a, p, m, round == 0 ? nullptr : static_cast<BIGINT_POOL *>(pool)), 0);
            EXPECT_EQ(hex(r), norm(oracle::bn::mod_exp(hex(a), hex(p), hex(m)))) << bits;
        }
    }
}

TEST(BigintModExpSlow, EvenModuliPlain) {
    TestRng rng(103);
    PoolGuard pool;
    for (int bits : {64, 100, 512, 1024, 2048}) {
        Words mw = random_bits(rng, bits);
        mw[0] &= ~1u;
        Big m(mw), a(random_bits(rng, bits + 10)), p(random_bits(rng, 300)), r;
        ASSERT_EQ(mod_exp_BIGINT(r, a, p, m, pool), 0);
        EXPECT_EQ(hex(r), norm(oracle::bn::mod_exp(hex(a), hex(p), hex(m)))) << bits;
    }
}

TEST(BigintArithSlow, LargeProductsAndQuotients) {
    TestRng rng(104);
    PoolGuard pool;
    for (int round = 0; round < 1500; round++) {
        const int na = 1 + static_cast<int>(rng.below(300));
        int nb = round % 2 ? na - 1 + static_cast<int>(rng.below(3)) : 1 + static_cast<int>(rng.below(300));
        if (nb < 1) nb = 1;
        Big a(random_words(rng, na)), b(random_words(rng, nb)), r, q, rem;
        ASSERT_EQ(mtp_BIGINT(r, a, b, pool), 0);
        EXPECT_EQ(hex(r), norm(oracle::bn::mul(hex(a), hex(b)))) << na << "x" << nb;
        ASSERT_EQ(sqr_BIGINT(r, a, pool), 0);
        EXPECT_EQ(hex(r), norm(oracle::bn::sqr(hex(a)))) << na;
        ASSERT_EQ(div_BIGINT(q, rem, a, b, pool), 0);
        EXPECT_EQ(hex(q), norm(oracle::bn::div(hex(a), hex(b))));
        EXPECT_EQ(hex(rem), norm(oracle::bn::mod(hex(a), hex(b))));
    }
}

TEST(BigintArithSlow, InversesOfLargeModuli) {
    TestRng rng(105);
    PoolGuard pool;
    for (int round = 0; round < 60; round++) {
        const int bits = 64 + static_cast<int>(rng.below(2048));
        Words mw = random_bits(rng, bits);
        if (round % 2 == 0) mw[0] |= 1;
        Big m(mw), a(random_bits(rng, 1 + static_cast<int>(rng.below(static_cast<uint32_t>(bits))))), r;
        const std::string want = oracle::bn::mod_inverse(hex(a), hex(m));
        BIGINT *got = kry::inv_BIGINT(r, a, m, pool);
        if (want.empty()) {
            EXPECT_EQ(got, nullptr);
        } else {
            ASSERT_NE(got, nullptr);
            EXPECT_EQ(hex(r), norm(want));
        }
    }
}

}  // namespace
