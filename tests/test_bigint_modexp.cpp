// Modular exponentiation, Montgomery and plain, and the Montgomery context,
// product and reduction, against OpenSSL's BN.
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

// Random value of exactly bits bits (0 for 0).
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

std::string hex_of(const uint32_t *w, int n) {
    std::string s;
    char buf[9];
    bool started = false;
    for (int i = n - 1; i >= 0; i--) {
        if (!started) {
            if (w[i] == 0) continue;
            std::snprintf(buf, sizeof buf, "%X", w[i]);
            started = true;
        } else {
            std::snprintf(buf, sizeof buf, "%08X", w[i]);
        }
        s += buf;
    }
    return started ? s : "0";
}
std::string hex(const BIGINT *b) { return hex_of(b->data, b->length); }
std::string hex(const Words &w) { return hex_of(w.data(), static_cast<int>(w.size())); }

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
    BIGINT_POOL *operator->() const { return p_; }

  private:
    BIGINT_POOL *p_;
};

struct Mont {
    BIGINT_MONT *ctx = kry::new_BIGINT_MONT();
    ~Mont() { kry::free_BIGINT_MONT(ctx); }
    Mont() = default;
    Mont(const Mont &) = delete;
    Mont &operator=(const Mont &) = delete;
};

using ExpFn = int (*)(BIGINT *, const BIGINT *, const BIGINT *, const BIGINT *, BIGINT_POOL *);
constexpr ExpFn kBoth[] = {mod_exp_mont_BIGINT, mod_exp_BIGINT};

// R^-1 mod m in hexadecimal, R = 2^(32 words).
std::string r_inverse(const std::string &m, int words) {
    return oracle::bn::mod_inverse("1" + std::string(static_cast<size_t>(8 * words), '0'), m);
}

// ---- window widths --------------------------------------------------------------

TEST(BigintModExp, WindowWidthByExponentSize) {
    EXPECT_EQ(kry::mod_exp_window_bits(1), 1);
    EXPECT_EQ(kry::mod_exp_window_bits(17), 1);  // 65537
    EXPECT_EQ(kry::mod_exp_window_bits(23), 1);
    EXPECT_EQ(kry::mod_exp_window_bits(24), 3);
    EXPECT_EQ(kry::mod_exp_window_bits(79), 3);
    EXPECT_EQ(kry::mod_exp_window_bits(80), 4);
    EXPECT_EQ(kry::mod_exp_window_bits(160), 4);
    EXPECT_EQ(kry::mod_exp_window_bits(239), 4);
    EXPECT_EQ(kry::mod_exp_window_bits(240), 5);
    EXPECT_EQ(kry::mod_exp_window_bits(671), 5);
    EXPECT_EQ(kry::mod_exp_window_bits(672), 6);
    EXPECT_EQ(kry::mod_exp_window_bits(1024), 6);
    EXPECT_EQ(kry::mod_exp_window_bits(4096), 6);
    for (int bits = 1; bits < 5000; bits++) EXPECT_NE(kry::mod_exp_window_bits(bits), 2);
}

// A 1024-bit exponent keeps 32 odd powers in the pool; 65537 keeps one.
TEST(BigintModExp, TableSizeFollowsTheWindow) {
    TestRng rng(1);
    Big m(odd(random_bits(rng, 1024))), a(random_bits(rng, 1000)), r;
    Big big_exp(random_bits(rng, 1024)), small_exp(Words{65537});
    PoolGuard wide, narrow;
    ASSERT_EQ(mod_exp_mont_BIGINT(r, a, big_exp, m, wide), 0);
    ASSERT_EQ(mod_exp_mont_BIGINT(r, a, small_exp, m, narrow), 0);
    EXPECT_GE(wide->available, 34u);  // base, 32 odd powers, accumulator
    EXPECT_LT(narrow->available, 32u);
    EXPECT_EQ(hex(r), norm(oracle::bn::mod_exp(hex(a), "10001", hex(m))));
}

// ---- edge cases ----------------------------------------------------------------------

TEST(BigintModExp, ZeroExponentGivesOne) {
    TestRng rng(2);
    PoolGuard pool;
    Big zero_exp, r;
    const Words moduli[] = {{1}, {2}, {7}, odd(random_words(rng, 8)), random_words(rng, 5), {}};
    for (const Words &mw : moduli) {
        for (const Words &aw : {Words{}, Words{1}, random_words(rng, 9)}) {
            for (ExpFn fn : kBoth) {
                Big m(mw), a(aw);
                r.set({0xABCDu, 9});
                ASSERT_EQ(fn(r, a, zero_exp, m, pool), 0);
                EXPECT_EQ(hex(r), "1");
                ASSERT_EQ(fn(r, a, zero_exp, m, nullptr), 0);
                EXPECT_EQ(hex(r), "1");
            }
        }
    }
    // The constant zero (one word 0) is a zero exponent as well.
    Big m(Words{11}), a(Words{3});
    for (ExpFn fn : kBoth) {
        ASSERT_EQ(fn(r, a, value_zero_BIGINT(), m, pool), 0);
        EXPECT_EQ(hex(r), "1");
    }
}

TEST(BigintModExp, BaseEqualToModulusGivesZero) {
    TestRng rng(3);
    for (int words : {1, 5, 16, 32}) {
        const Words mw = odd(random_words(rng, words));
        Big m(mw), a(mw), p(random_bits(rng, 100)), r(Words{5});
        for (ExpFn fn : kBoth) {
            r.set({5});
            ASSERT_EQ(fn(r, a, p, m, nullptr), 0);
            EXPECT_EQ(r->length, 0);
        }
    }
    // Base zero, and modulus 1.
    Big zero, p(Words{3}), m(Words{13}), one(Words{1}), a(Words{5}), r;
    for (ExpFn fn : kBoth) {
        ASSERT_EQ(fn(r, zero, p, m, nullptr), 0);
        EXPECT_EQ(r->length, 0);
        ASSERT_EQ(fn(r, a, p, one, nullptr), 0);
        EXPECT_EQ(r->length, 0);
    }
}

TEST(BigintModExp, BaseAboveModulusIsReducedFirst) {
    TestRng rng(4);
    PoolGuard pool;
    for (int round = 0; round < 10; round++) {
        Big m(odd(random_words(rng, 4 + round))), a(random_words(rng, 20)), p(random_bits(rng, 90)), r;
        const std::string want = norm(oracle::bn::mod_exp(hex(a), hex(p), hex(m)));
        for (ExpFn fn : kBoth) {
            ASSERT_EQ(fn(r, a, p, m, pool), 0);
            EXPECT_EQ(hex(r), want);
        }
    }
}

TEST(BigintModExp, ZeroModulusFails) {
    Big zero, a(Words{3}), p(Words{5}), r;
    for (ExpFn fn : kBoth) EXPECT_EQ(fn(r, a, p, zero, nullptr), 1);
    EXPECT_EQ(mod_exp_mont_BIGINT(nullptr, a, p, a, nullptr), 1);
    EXPECT_EQ(mod_exp_BIGINT(r, nullptr, p, a, nullptr), 1);
}

// The plain variant works for any modulus; the Montgomery set-up needs the
// inverse of 2^32 modulo the modulus's low word, which an even modulus
// lacks, so the Montgomery variant fails there.
TEST(BigintModExp, EvenModulus) {
    TestRng rng(5);
    Big m(random_words(rng, 6)), a(random_words(rng, 5)), p(random_bits(rng, 150)), r;
    m->data[0] &= ~1u;
    ASSERT_EQ(mod_exp_BIGINT(r, a, p, m, nullptr), 0);
    EXPECT_EQ(hex(r), norm(oracle::bn::mod_exp(hex(a), hex(p), hex(m))));
    EXPECT_EQ(mod_exp_mont_BIGINT(r, a, p, m, nullptr), 1);
}

// A power that reaches zero on the way (3^2 = 0 mod 9) stays zero.
TEST(BigintModExp, PowerThatVanishes) {
    Big m(Words{9}), a(Words{3}), r;
    for (uint32_t e : {2u, 3u, 65537u, 0xFFFFFFFFu}) {
        Big p(Words{e});
        for (ExpFn fn : kBoth) {
            ASSERT_EQ(fn(r, a, p, m, nullptr), 0);
            EXPECT_EQ(r->length, 0);
        }
    }
    Big m2(Words{0, 0, 1}), a2(Words{0, 1}), p2(Words{2}), r2;  // (2^32)^2 mod 2^64
    ASSERT_EQ(mod_exp_BIGINT(r2, a2, p2, m2, nullptr), 0);
    EXPECT_EQ(r2->length, 0);
}

TEST(BigintModExp, ResultMayBeAnArgument) {
    TestRng rng(6);
    for (ExpFn fn : kBoth) {
        const Words mw = odd(random_words(rng, 8)), aw = random_words(rng, 7), pw = random_bits(rng, 200);
        const std::string want = norm(oracle::bn::mod_exp(hex(aw), hex(pw), hex(mw)));
        {
            Big m(mw), a(aw), p(pw);
            ASSERT_EQ(fn(a, a, p, m, nullptr), 0);
            EXPECT_EQ(hex(a), want);
        }
        {
            Big m(mw), a(aw), p(pw);
            ASSERT_EQ(fn(p, a, p, m, nullptr), 0);
            EXPECT_EQ(hex(p), want);
        }
        {
            Big m(mw), a(aw), p(pw);
            ASSERT_EQ(fn(m, a, p, m, nullptr), 0);
            EXPECT_EQ(hex(m), want);
        }
    }
}

TEST(BigintModExp, BothEntryPointsAgreeForOddModuli) {
    TestRng rng(7);
    PoolGuard pool;
    for (int round = 0; round < 40; round++) {
        const int words = 1 + static_cast<int>(rng.below(40));
        Big m(odd(random_words(rng, words))), a(random_words(rng, words)), p(random_bits(rng, 1 + rng.below(300)));
        Big r1, r2;
        ASSERT_EQ(mod_exp_mont_BIGINT(r1, a, p, m, pool), 0);
        ASSERT_EQ(mod_exp_BIGINT(r2, a, p, m, pool), 0);
        EXPECT_EQ(hex(r1), hex(r2));
    }
}

// ---- against OpenSSL -------------------------------------------------------------------

void expect_exponentiations(TestRng &rng, int mod_bits, int exp_bits, BIGINT_POOL *pool, int rounds) {
    for (int round = 0; round < rounds; round++) {
        Big m(odd(random_bits(rng, mod_bits)));
        Big a(random_bits(rng, 1 + static_cast<int>(rng.below(static_cast<uint32_t>(mod_bits)))));
        Big p(random_bits(rng, exp_bits));
        const std::string want = norm(oracle::bn::mod_exp(hex(a), hex(p), hex(m)));
        for (ExpFn fn : kBoth) {
            if (fn == mod_exp_BIGINT && mod_bits > 2048 && exp_bits > 160) continue;  // slow path
            Big r;
            ASSERT_EQ(fn(r, a, p, m, pool), 0);
            EXPECT_EQ(hex(r), want) << mod_bits << "-bit modulus, " << exp_bits << "-bit exponent";
        }
    }
}

TEST(BigintModExp, MatchesOpenSSL) {
    TestRng rng(8);
    PoolGuard pool;
    for (int mod_bits : {1, 2, 17, 32, 33, 64, 100, 128, 160, 255, 256, 512, 520, 1000, 1024, 2048}) {
        for (int exp_bits : {1, 17, 160, 1024, 2048}) {
            if (mod_bits >= 1024 && exp_bits == 2048 && mod_bits != 2048) continue;
            expect_exponentiations(rng, mod_bits < 2 ? 2 : mod_bits, exp_bits,
                                   mod_bits % 2 ? static_cast<BIGINT_POOL *>(pool) : nullptr,
                                   mod_bits >= 1024 ? 1 : 2);
        }
    }
    EXPECT_EQ(pool->depth, -1);
    EXPECT_EQ(pool->used, 0u);
}

TEST(BigintModExp, FourThousandBitModulus) {
    TestRng rng(9);
    PoolGuard pool;
    expect_exponentiations(rng, 4096, 17, pool, 1);
    expect_exponentiations(rng, 4096, 160, pool, 1);
    expect_exponentiations(rng, 4096, 1024, pool, 1);
}

TEST(BigintModExp, SteadyStateAllocatesNoPoolRecords) {
    TestRng rng(10);
    PoolGuard pool;
    Big m(odd(random_bits(rng, 1024))), a(random_bits(rng, 1023)), p(random_bits(rng, 1024)), r;
    ASSERT_EQ(mod_exp_mont_BIGINT(r, a, p, m, pool), 0);
    const uint32_t available = pool->available;
    std::vector<int32_t> sizes;
    for (auto *blk = pool->head; blk != nullptr; blk = blk->next)
        for (const BIGINT &rec : blk->records) sizes.push_back(rec.size);
    for (int round = 0; round < 3; round++) {
        // Operands of the same sizes take the same path through the pool.
        Big a2(random_bits(rng, 1023)), p2(random_bits(rng, 1024));
        ASSERT_EQ(mod_exp_mont_BIGINT(r, a2, p2, m, pool), 0);
        EXPECT_EQ(hex(r), norm(oracle::bn::mod_exp(hex(a2), hex(p2), hex(m))));
    }
    EXPECT_EQ(pool->available, available);
    std::vector<int32_t> after;
    for (auto *blk = pool->head; blk != nullptr; blk = blk->next)
        for (const BIGINT &rec : blk->records) after.push_back(rec.size);
    EXPECT_EQ(after, sizes);  // no array had to grow
    EXPECT_EQ(pool->used, 0u);
    EXPECT_EQ(pool->depth, -1);
}

// ---- the Montgomery context and product -----------------------------------------------

TEST(BigintMont, ContextSetUp) {
    TestRng rng(11);
    PoolGuard pool;
    for (int words : {1, 2, 3, 8, 16, 33}) {
        const Words mw = odd(random_words(rng, words));
        Big m(mw);
        Mont mont;
        ASSERT_NE(mont.ctx, nullptr);
        ASSERT_EQ(kry::set_BIGINT_MONT(mont.ctx, m, words % 2 ? static_cast<BIGINT_POOL *>(pool) : nullptr), 0);
        EXPECT_EQ(mont.ctx->r_bits, 32 * words);
        EXPECT_EQ(hex(&mont.ctx->modulus), hex(mw));
        EXPECT_EQ(static_cast<uint32_t>(mont.ctx->n0 * mw[0]), 0xFFFFFFFFu);  // n0 = -m^-1 mod 2^32
        EXPECT_EQ(mont.ctx->n_inverse.data[0], mont.ctx->n0);
        const std::string r2 = "1" + std::string(static_cast<size_t>(16 * words), '0');
        EXPECT_EQ(hex(&mont.ctx->rr), norm(oracle::bn::mod(r2, hex(mw))));
    }
    // Low word 1: the inverse modulo 1 is 0 and n0 comes out as 0xFFFFFFFF.
    Big m(Words{1, 5});
    Mont mont;
    ASSERT_EQ(kry::set_BIGINT_MONT(mont.ctx, m, pool), 0);
    EXPECT_EQ(mont.ctx->n0, 0xFFFFFFFFu);
    // An even low word has no inverse of 2^32.
    Big even(Words{6, 5});
    Mont mont2;
    EXPECT_EQ(kry::set_BIGINT_MONT(mont2.ctx, even, pool), 1);
    EXPECT_EQ(pool->depth, -1);
}

TEST(BigintMont, ProductAndReduction) {
    TestRng rng(12);
    PoolGuard pool;
    for (int words : {1, 2, 3, 4, 5, 8, 15, 16, 17, 32, 33, 64, 65}) {
        const Words mw = odd(random_words(rng, words));
        Big m(mw);
        Mont mont;
        ASSERT_EQ(kry::set_BIGINT_MONT(mont.ctx, m, pool), 0);
        const std::string rinv = r_inverse(hex(mw), words);
        for (int round = 0; round < 3; round++) {
            Big a(random_words(rng, words)), b(random_words(rng, 1 + static_cast<int>(rng.below(words)))), r;
            ASSERT_EQ(div_BIGINT(nullptr, a, a, m, pool), 0);
            const std::string ab = oracle::bn::mod_mul(hex(a), hex(b), hex(mw));
            const std::string want = norm(oracle::bn::mod_mul(ab, rinv, hex(mw)));
            ASSERT_EQ(kry::mod_mtp_mont_BIGINT(r, a, b, mont.ctx, pool), 0);
            EXPECT_EQ(hex(r), want) << words;
            // The same through the separate product and reduction.
            Big t, r2;
            ASSERT_EQ(mtp_BIGINT(t, a, b, pool), 0);
            ASSERT_EQ(kry::reduce_mont_BIGINT(r2, t, mont.ctx, pool), 0);
            EXPECT_EQ(hex(r2), want);
            // Squares (the same record twice).
            const std::string aa = oracle::bn::mod_mul(hex(a), hex(a), hex(mw));
            ASSERT_EQ(kry::mod_mtp_mont_BIGINT(r, a, a, mont.ctx, nullptr), 0);
            EXPECT_EQ(hex(r), norm(oracle::bn::mod_mul(aa, rinv, hex(mw))));
            ASSERT_EQ(kry::mod_mtp_mont_BIGINT(a, a, a, mont.ctx, nullptr), 0);
            EXPECT_EQ(hex(a), hex(r));
        }
    }
    EXPECT_EQ(pool->depth, -1);
    EXPECT_EQ(pool->used, 0u);
}

// Operands at or above the modulus take the separate product and reduction,
// whose single final subtraction may leave a value above the modulus.
TEST(BigintMont, OperandsAboveTheModulus) {
    TestRng rng(13);
    PoolGuard pool;
    Big m(odd(random_words(rng, 4)));
    Mont mont;
    ASSERT_EQ(kry::set_BIGINT_MONT(mont.ctx, m, pool), 0);
    Big a(random_words(rng, 6)), b(random_words(rng, 3)), r, t, r2;
    ASSERT_EQ(kry::mod_mtp_mont_BIGINT(r, a, b, mont.ctx, pool), 0);
    ASSERT_EQ(mtp_BIGINT(t, a, b, pool), 0);
    ASSERT_EQ(kry::reduce_mont_BIGINT(r2, t, mont.ctx, pool), 0);
    EXPECT_EQ(hex(r), hex(r2));
    const std::string rinv = r_inverse(hex(m), 4);
    const std::string want = norm(oracle::bn::mod_mul(oracle::bn::mod_mul(hex(a), hex(b), hex(m)), rinv, hex(m)));
    EXPECT_EQ(norm(oracle::bn::mod(hex(r), hex(m))), want);
    // A zero operand gives zero.
    Big zero;
    ASSERT_EQ(kry::mod_mtp_mont_BIGINT(r, zero, zero, mont.ctx, pool), 0);
    EXPECT_EQ(r->length, 0);
}

// With a context that has no modulus, the reduction empties its scratch,
// leaves r alone and returns 0 with its pool frame still open.
TEST(BigintMont, ReductionWithoutModulusLeavesItsFrameOpen) {
    PoolGuard pool;
    Mont mont;
    Big t(Words{1, 2, 3}), r(Words{42});
    const int32_t depth = pool->depth;
    EXPECT_EQ(kry::reduce_mont_BIGINT(r, t, mont.ctx, pool), 0);
    EXPECT_EQ(hex(r), "2A");
    EXPECT_EQ(pool->depth, depth + 1);
    EXPECT_EQ(pool->used, 1u);
    EXPECT_EQ(pool->head->records[0].length, 0);
}

}  // namespace

// ---- the 52-bit digit engine (AVX-512 IFMA) against the 64-bit limb engine ----------

#include "bigint/bigint_ifma.h"

namespace {

struct IfmaOff {
    IfmaOff() { kry::ifma::use_ifma(false); }
    ~IfmaOff() { kry::ifma::use_ifma(true); }
};

std::string mont_exp_hex(const Big &a, const Big &p, const Big &m, BIGINT_POOL *pool) {
    Big r;
    EXPECT_EQ(mod_exp_mont_BIGINT(r, a, p, m, pool), 0);
    return hex(r);
}

}  // namespace

TEST(BigintModExp, DigitConversionsRoundTrip) {
    TestRng rng(21);
    for (int words = 1; words <= 128; words++) {
        const Words w = random_words(rng, words);
        const int digits = kry::ifma::digits_for(32 * words);
        ASSERT_NE(digits, 0);
        std::vector<uint64_t> d(static_cast<size_t>(digits));
        kry::ifma::to_digits(d.data(), digits, w.data(), words);
        for (uint64_t x : d) EXPECT_LT(x, uint64_t{1} << 52);
        Words back(static_cast<size_t>(words));
        kry::ifma::from_digits(back.data(), words, d.data(), digits);
        EXPECT_EQ(back, w) << words << " words";
    }
    EXPECT_EQ(kry::ifma::digits_for(1024), 20);
    EXPECT_EQ(kry::ifma::digits_for(1536), 32);
    EXPECT_EQ(kry::ifma::digits_for(2048), 40);
    EXPECT_EQ(kry::ifma::digits_for(2078), 40);
    EXPECT_EQ(kry::ifma::digits_for(3072), 60);
    EXPECT_EQ(kry::ifma::digits_for(4096), 80);
    EXPECT_EQ(kry::ifma::digits_for(4158), 80);
    EXPECT_EQ(kry::ifma::digits_for(4159), 0);
}

// Both engines and OpenSSL agree on every modulus size up to 4096 bits, on
// edge bases and on a power that vanishes.  On processors without IFMA both
// runs take the limb engine.
TEST(BigintModExp, DigitEngineMatchesLimbEngine) {
    TestRng rng(22);
    PoolGuard pool;
    for (int mod_bits = 33; mod_bits <= 4096; mod_bits += 1 + static_cast<int>(rng.below(mod_bits < 2048 ? 61 : 200))) {
        Big m(odd(random_bits(rng, mod_bits)));
        Words mm1 = random_bits(rng, mod_bits);  // replaced below by m - 1
        mm1.assign(m->data, m->data + m->length);
        mm1[0] -= 1;  // m is odd
        const Words bases[] = {random_bits(rng, 1 + static_cast<int>(rng.below(static_cast<uint32_t>(mod_bits)))),
                               Words{1}, Words{2}, mm1};
        for (const Words &bw : bases) {
            Big a(bw), p(random_bits(rng, 64 + static_cast<int>(rng.below(1000))));
            const std::string fast = mont_exp_hex(a, p, m, pool);
            std::string slow;
            {
                IfmaOff off;
                slow = mont_exp_hex(a, p, m, pool);
            }
            EXPECT_EQ(fast, slow) << mod_bits << "-bit modulus";
            EXPECT_EQ(fast, norm(oracle::bn::mod_exp(hex(a), hex(p), hex(m)))) << mod_bits << "-bit modulus";
        }
    }
    // m = q^2 and base q: q^p vanishes mod m for p >= 2 (the last product
    // gives m itself, which must read as 0).
    for (int q_bits : {40, 500, 1000, 1024}) {
        Big q(odd(random_bits(rng, q_bits))), m, p(random_bits(rng, 100));
        ASSERT_EQ(mtp_BIGINT(m, q, q, pool), 0);
        EXPECT_EQ(mont_exp_hex(q, p, m, pool), "0") << q_bits;
    }
    EXPECT_EQ(pool->used, 0u);
}
