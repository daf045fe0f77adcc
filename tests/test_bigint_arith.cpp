// BIGINT multiplication, squaring, division, modular products, gcd and
// inverse: the word kernels against each other, the choice of method by
// size, and every operation against OpenSSL's BN.
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

// Random words with more than their share of all-ones and zero words, which
// is where carries and quotient corrections go wrong.
Words random_words(TestRng &rng, int n) {
    Words w(static_cast<size_t>(n));
    for (auto &x : w) {
        switch (rng.below(8)) {
        case 0: x = 0xFFFFFFFFu; break;
        case 1: x = 0; break;
        case 2: x = 0x80000000u; break;
        default: x = static_cast<uint32_t>(rng.next() >> 17);
        }
    }
    if (n > 0 && w.back() == 0) w.back() = 1 + static_cast<uint32_t>(rng.next() >> 40);
    return w;
}

// A heap BIGINT holding the words (normalised).
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

// Upper-case hexadecimal without leading zeros, "0" for zero.
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

// OpenSSL's output without leading zeros.
std::string norm(const std::string &h) {
    size_t i = 0;
    while (i + 1 < h.size() && h[i] == '0') i++;
    return h.substr(i);
}

bool normalised(const BIGINT *b) { return b->length == 0 || b->data[b->length - 1] != 0; }

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

// Operand lengths of the differential sweeps: every length from 1 to 80
// words, the power-of-two sizes, and unequal pairs around the method
// boundaries.
std::vector<std::pair<int, int>> length_pairs() {
    std::vector<std::pair<int, int>> pairs;
    for (int n = 1; n <= 80; n++) pairs.emplace_back(n, n);
    for (int n : {4, 8, 16, 32, 64}) {
        pairs.emplace_back(n, n - 1);
        pairs.emplace_back(n - 1, n);
        pairs.emplace_back(n + 1, n);
        pairs.emplace_back(n, n + 1);
    }
    for (auto p : std::vector<std::pair<int, int>>{{16, 10}, {10, 16}, {8, 7}, {9, 8}, {17, 16}, {31, 33},
                                                   {80, 1}, {1, 80}, {47, 46}, {63, 64}, {65, 64},
                                                   {80, 79}, {40, 80}, {15, 16}, {16, 15}, {24, 12}})
        pairs.push_back(p);
    return pairs;
}

// ---- kernels ------------------------------------------------------------------

Words schoolbook(const Words &a, const Words &b) {
    Words r(a.size() + b.size());
    kry::words::mul_schoolbook(r.data(), a.data(), static_cast<int32_t>(a.size()), b.data(),
                               static_cast<int32_t>(b.size()));
    return r;
}

TEST(BigintKernel, Comba8x8EqualsSchoolbook) {
    TestRng rng(1);
    for (int round = 0; round < 300; round++) {
        Words a = random_words(rng, 8), b = random_words(rng, 8);
        if (round == 0) a = b = Words(8, 0xFFFFFFFFu);
        Words r(16);
        kry::words::comba_mul8(r.data(), a.data(), b.data());
        EXPECT_EQ(r, schoolbook(a, b));
    }
}

TEST(BigintKernel, CombaSquaresEqualSchoolbook) {
    TestRng rng(2);
    for (int round = 0; round < 300; round++) {
        for (int n : {4, 8}) {
            Words a = random_words(rng, n);
            if (round == 0) a = Words(static_cast<size_t>(n), 0xFFFFFFFFu);
            Words r(2 * static_cast<size_t>(n)), s(2 * static_cast<size_t>(n)), t(2 * static_cast<size_t>(n));
            if (n == 4)
                kry::words::comba_sqr4(r.data(), a.data());
            else
                kry::words::comba_sqr8(r.data(), a.data());
            kry::words::sqr_schoolbook(s.data(), a.data(), n, t.data());
            EXPECT_EQ(r, s);
            EXPECT_EQ(r, schoolbook(a, a));
        }
    }
}

TEST(BigintKernel, SchoolbookSquareEqualsProduct) {
    TestRng rng(3);
    for (int n = 1; n <= 40; n++) {
        Words a = random_words(rng, n);
        Words s(2 * static_cast<size_t>(n)), t(2 * static_cast<size_t>(n));
        kry::words::sqr_schoolbook(s.data(), a.data(), n, t.data());
        EXPECT_EQ(s, schoolbook(a, a)) << n;
    }
}

TEST(BigintKernel, KaratsubaEqualsSchoolbook) {
    TestRng rng(4);
    for (int na = 16; na <= 140; na++) {
        for (int nb : {na, na - 1}) {
            Words a = random_words(rng, na), b = random_words(rng, nb);
            if (na == 33) a = Words(33, 0xFFFFFFFFu), b = Words(static_cast<size_t>(nb), 0xFFFFFFFFu);
            Words r(static_cast<size_t>(na + nb));
            Words t(static_cast<size_t>(kry::words::karatsuba_scratch(na)) + 1, 0xDEADBEEFu);
            kry::words::mul_karatsuba(r.data(), a.data(), na, b.data(), nb, t.data());
            EXPECT_EQ(r, schoolbook(a, b)) << na << "x" << nb;
            EXPECT_EQ(t.back(), 0xDEADBEEFu) << "scratch overrun at " << na;
        }
    }
}

TEST(BigintKernel, KaratsubaSquareEqualsSchoolbook) {
    TestRng rng(5);
    for (int n : {16, 32, 64, 128, 256}) {
        for (int round = 0; round < 4; round++) {
            Words a = random_words(rng, n);
            if (round == 0) a = Words(static_cast<size_t>(n), 0xFFFFFFFFu);
            Words r(2 * static_cast<size_t>(n)), t(4 * static_cast<size_t>(n) + 1, 0xDEADBEEFu);
            kry::words::sqr_karatsuba(r.data(), a.data(), n, t.data());
            EXPECT_EQ(r, schoolbook(a, a)) << n;
            EXPECT_EQ(t.back(), 0xDEADBEEFu);
        }
    }
}

TEST(BigintKernel, KaratsubaScratchFitsTheMethodsScratch) {
    for (int na = 16; na <= 4096; na++) {
        for (int nb : {na - 1, na}) {
            if (kry::mtp_method(na, nb) == kry::MulMethod::schoolbook) continue;
            const int need = kry::words::karatsuba_scratch(na);
            EXPECT_LE(need, kry::mtp_scratch_words(na, nb)) << na << "x" << nb;
        }
    }
}

TEST(BigintKernel, WordOperations) {
    Words r = {1, 2, 3, 4, 5};
    const Words a = {0xFFFFFFFFu, 0xFFFFFFFFu, 0xFFFFFFFFu, 0xFFFFFFFFu, 0xFFFFFFFFu};
    // r + a * 0xFFFFFFFF
    EXPECT_EQ(kry::words::mul_add(r.data(), a.data(), 5, 0xFFFFFFFFu), 0xFFFFFFFFu);
    EXPECT_EQ(r, (Words{2, 1, 3, 4, 5}));
    Words m(5);
    EXPECT_EQ(kry::words::mul(m.data(), a.data(), 5, 2), 1u);
    EXPECT_EQ(m, (Words{0xFFFFFFFEu, 0xFFFFFFFFu, 0xFFFFFFFFu, 0xFFFFFFFFu, 0xFFFFFFFFu}));
    Words s(5);
    EXPECT_EQ(kry::words::add(s.data(), a.data(), a.data(), 5), 1u);
    EXPECT_EQ(s, m);
    const Words one = {1, 0, 0, 0, 0};
    Words d(5);
    EXPECT_EQ(kry::words::sub(d.data(), one.data(), a.data(), 5), 1u);
    EXPECT_EQ(d, (Words{2, 0, 0, 0, 0}));
    Words q(4);
    const Words x = {3, 0xFFFFFFFFu};
    kry::words::sqr_words(q.data(), x.data(), 2);
    EXPECT_EQ(q, (Words{9, 0, 1, 0xFFFFFFFEu}));
    EXPECT_EQ(kry::words::div_2by1(1, 0, 2), 0x80000000u);
    EXPECT_EQ(kry::words::div_2by1(0x12345678u, 0x9ABCDEF0u, 0x87654321u), 0x226B9022u);
    Words u = {5, 0, 1};
    const Words v = {3, 1};
    EXPECT_EQ(kry::words::mul_sub(u.data(), v.data(), 2, 2), 1u);  // borrows from u[2]
    EXPECT_EQ(u, (Words{0xFFFFFFFFu, 0xFFFFFFFDu, 1}));
    Words u2 = {0, 0};
    EXPECT_EQ(kry::words::mul_sub(u2.data(), a.data(), 2, 0xFFFFFFFFu), 0xFFFFFFFFu);
    EXPECT_EQ(u2, (Words{0xFFFFFFFFu, 0}));
}

// ---- method choice -----------------------------------------------------------

TEST(BigintMulMethod, BySize) {
    using kry::MulMethod;
    EXPECT_EQ(kry::mtp_method(8, 8), MulMethod::comba8);
    EXPECT_EQ(kry::mtp_method(16, 10), MulMethod::schoolbook);
    EXPECT_EQ(kry::mtp_method(10, 16), MulMethod::schoolbook);
    EXPECT_EQ(kry::mtp_method(15, 15), MulMethod::schoolbook);
    EXPECT_EQ(kry::mtp_method(8, 9), MulMethod::schoolbook);
    EXPECT_EQ(kry::mtp_method(18, 16), MulMethod::schoolbook);
    EXPECT_EQ(kry::mtp_method(16, 16), MulMethod::karatsuba);
    EXPECT_EQ(kry::mtp_method(16, 17), MulMethod::karatsuba_unequal);
    EXPECT_EQ(kry::mtp_method(32, 31), MulMethod::karatsuba);
    EXPECT_EQ(kry::mtp_method(33, 32), MulMethod::karatsuba_unequal);
    EXPECT_EQ(kry::mtp_method(63, 63), MulMethod::karatsuba_unequal);
    EXPECT_EQ(kry::mtp_scratch_words(16, 16), 64);
    EXPECT_EQ(kry::mtp_scratch_words(17, 16), 128);
    EXPECT_EQ(kry::mtp_scratch_words(63, 62), 256);
    EXPECT_EQ(kry::mtp_scratch_words(64, 64), 256);
    EXPECT_EQ(kry::mtp_scratch_words(16, 10), 0);
}

TEST(BigintMulMethod, SixteenByTenIsTheSchoolbookProduct) {
    TestRng rng(6);
    const Words a = random_words(rng, 16), b = random_words(rng, 10);
    Big x(a), y(b), r;
    PoolGuard pool;
    ASSERT_EQ(mtp_BIGINT(r, x, y, pool), 0);
    EXPECT_EQ(hex(r), hex(schoolbook(a, b)));
    EXPECT_EQ(pool->available, 0u);  // no Karatsuba scratch was taken
}

TEST(BigintMulMethod, EightByEightIsTheCombaProduct) {
    TestRng rng(7);
    const Words a = random_words(rng, 8), b = random_words(rng, 8);
    Big x(a), y(b), r;
    ASSERT_EQ(x->length, 8);
    ASSERT_EQ(y->length, 8);
    ASSERT_EQ(mtp_BIGINT(r, x, y, nullptr), 0);
    Words c(16);
    kry::words::comba_mul8(c.data(), a.data(), b.data());
    EXPECT_EQ(hex(r), hex(c));
    EXPECT_EQ(hex(r), norm(oracle::bn::mul(hex(a), hex(b))));
}

TEST(BigintMulMethod, KaratsubaTakesItsScratchFromThePool) {
    TestRng rng(8);
    Big x(random_words(rng, 32)), y(random_words(rng, 32)), r;
    PoolGuard pool;
    ASSERT_EQ(mtp_BIGINT(r, x, y, pool), 0);
    EXPECT_EQ(pool->available, 8u);
    EXPECT_EQ(pool->used, 0u);
    EXPECT_EQ(pool->depth, -1);
    EXPECT_GE(pool->head->records[0].size, 128);
    EXPECT_EQ(hex(r), norm(oracle::bn::mul(hex(x), hex(y))));
}

// ---- products and squares against OpenSSL -------------------------------------

TEST(BigintMul, MatchesOpenSSL) {
    TestRng rng(10);
    PoolGuard pool;
    for (auto [na, nb] : length_pairs()) {
        for (int round = 0; round < 2; round++) {
            Big x(random_words(rng, na)), y(random_words(rng, nb)), r;
            ASSERT_EQ(mtp_BIGINT(r, x, y, round == 0 ? static_cast<BIGINT_POOL *>(pool) : nullptr), 0);
            EXPECT_TRUE(normalised(r));
            EXPECT_EQ(hex(r), norm(oracle::bn::mul(hex(x), hex(y)))) << na << "x" << nb;
        }
    }
    EXPECT_EQ(pool->depth, -1);
    EXPECT_EQ(pool->used, 0u);
}

TEST(BigintMul, ResultMayBeAnOperand) {
    TestRng rng(11);
    PoolGuard pool;
    for (int n : {3, 8, 16, 33, 64}) {
        for (BIGINT_POOL *p : {static_cast<BIGINT_POOL *>(pool), static_cast<BIGINT_POOL *>(nullptr)}) {
            const Words a = random_words(rng, n), b = random_words(rng, n);
            const std::string ab = norm(oracle::bn::mul(hex(a), hex(b)));
            Big x(a), y(b);
            ASSERT_EQ(mtp_BIGINT(x, x, y, p), 0);
            EXPECT_EQ(hex(x), ab);
            x.set(a);
            ASSERT_EQ(mtp_BIGINT(y, x, y, p), 0);
            EXPECT_EQ(hex(y), ab);
            x.set(a);
            ASSERT_EQ(mtp_BIGINT(x, x, x, p), 0);
            EXPECT_EQ(hex(x), norm(oracle::bn::sqr(hex(a))));
        }
    }
}

TEST(BigintMul, ZeroOperandGivesZero) {
    Big x(Words{5}), zero, r(Words{7, 7});
    EXPECT_EQ(mtp_BIGINT(r, x, zero, nullptr), 0);
    EXPECT_EQ(r->length, 0);
    r.set(Words{7});
    EXPECT_EQ(mtp_BIGINT(r, zero, x, nullptr), 0);
    EXPECT_EQ(r->length, 0);
    EXPECT_EQ(mtp_BIGINT(nullptr, x, x, nullptr), 1);
    EXPECT_EQ(mtp_BIGINT(r, nullptr, x, nullptr), 1);
}

TEST(BigintMul, ByWord) {
    TestRng rng(12);
    for (int n = 1; n <= 20; n++) {
        const Words a = random_words(rng, n);
        const uint32_t w = static_cast<uint32_t>(rng.next());
        Big x(a);
        ASSERT_EQ(mtp_BIGINT_word(x, w), 0);
        char wh[9];
        std::snprintf(wh, sizeof wh, "%X", w);
        EXPECT_EQ(hex(x), norm(oracle::bn::mul(hex(a), wh)));
    }
    Big all(Words{0xFFFFFFFFu, 0xFFFFFFFFu});
    ASSERT_EQ(mtp_BIGINT_word(all, 0xFFFFFFFFu), 0);
    EXPECT_EQ(all->length, 3);  // a final carry adds a word
    EXPECT_EQ(hex(all), "FFFFFFFEFFFFFFFF00000001");
    ASSERT_EQ(mtp_BIGINT_word(all, 0), 0);
    EXPECT_EQ(all->length, 0);
    EXPECT_EQ(mtp_BIGINT_word(nullptr, 3), 1);
}

TEST(BigintSqr, MatchesOpenSSL) {
    TestRng rng(13);
    PoolGuard pool;
    for (int n = 1; n <= 80; n++) {
        for (int round = 0; round < 2; round++) {
            Big x(random_words(rng, n)), r;
            ASSERT_EQ(sqr_BIGINT(r, x, round == 0 ? static_cast<BIGINT_POOL *>(pool) : nullptr), 0);
            EXPECT_TRUE(normalised(r));
            EXPECT_EQ(hex(r), norm(oracle::bn::sqr(hex(x)))) << n;
        }
    }
    for (int n : {128, 256}) {
        Big x(random_words(rng, n)), r;
        ASSERT_EQ(sqr_BIGINT(r, x, pool), 0);
        EXPECT_EQ(hex(r), norm(oracle::bn::sqr(hex(x)))) << n;
    }
    EXPECT_EQ(pool->depth, -1);
}

TEST(BigintSqr, ResultMayBeTheOperand) {
    TestRng rng(14);
    for (int n : {1, 4, 8, 16, 20, 32}) {
        const Words a = random_words(rng, n);
        Big x(a);
        ASSERT_EQ(sqr_BIGINT(x, x, nullptr), 0);
        EXPECT_EQ(hex(x), norm(oracle::bn::sqr(hex(a))));
    }
}

TEST(BigintSqr, ZeroLengthOperandIsRefused) {
    Big zero, r(Words{3});
    EXPECT_EQ(sqr_BIGINT(r, zero, nullptr), 1);
    EXPECT_EQ(sqr_BIGINT(nullptr, r, nullptr), 1);
}

// ---- division -------------------------------------------------------------------

void expect_division(const Words &a, const Words &d, BIGINT_POOL *pool) {
    Big x(a), y(d), q, r;
    ASSERT_EQ(div_BIGINT(q, r, x, y, pool), 0);
    EXPECT_TRUE(normalised(q));
    EXPECT_TRUE(normalised(r));
    EXPECT_EQ(hex(q), norm(oracle::bn::div(hex(a), hex(d)))) << hex(a) << " / " << hex(d);
    EXPECT_EQ(hex(r), norm(oracle::bn::mod(hex(a), hex(d)))) << hex(a) << " % " << hex(d);
}

TEST(BigintDiv, MatchesOpenSSL) {
    TestRng rng(20);
    PoolGuard pool;
    for (int na = 1; na <= 80; na++) {
        for (int nd : {1, 2, 3, na / 2 + 1, na - 1, na, na + 1}) {
            if (nd < 1) continue;
            expect_division(random_words(rng, na), random_words(rng, nd), pool);
        }
    }
    for (int n : {4, 8, 16, 32, 64}) {
        expect_division(random_words(rng, 2 * n), random_words(rng, n), pool);
        expect_division(random_words(rng, 2 * n), random_words(rng, n), nullptr);
    }
    EXPECT_EQ(pool->depth, -1);
    EXPECT_EQ(pool->used, 0u);
}

// Dividends that drive the quotient estimate to its corrections, including
// the final add-back (the classic cases of Knuth's exercise 4.3.1-22 style).
TEST(BigintDiv, QuotientCorrections) {
    PoolGuard pool;
    expect_division({3, 0, 0x80000000u}, {1, 0, 0x20000000u}, pool);
    expect_division({0, 0xFFFE, 0x80000000u}, {0xFFFF, 0x80000000u}, pool);
    expect_division({0, 0, 0x8000, 0x7FFF}, {1, 0, 0x8000}, pool);
    expect_division({0, 0, 0x80000000u, 0x7FFFFFFFu}, {1, 0, 0x80000000u}, pool);
    expect_division({0, 0xFFFFFFFEu, 0x80000000u}, {0xFFFFFFFFu, 0x80000000u}, pool);
    expect_division({0xFFFFFFFFu, 0xFFFFFFFFu, 0xFFFFFFFFu, 0xFFFFFFFFu}, {0xFFFFFFFFu, 0xFFFFFFFFu}, pool);
    expect_division({0, 0, 0, 0x80000000u}, {1, 0, 0x80000000u}, pool);
    expect_division({0x12345678u, 0x9ABCDEF0u}, {0xFFFFFFFFu}, pool);
    expect_division({7}, {7}, pool);
    expect_division({6}, {7}, pool);
    expect_division({0, 1}, {0, 1}, pool);
    // A run of search over near-worst-case divisors for the add-back step.
    TestRng rng(21);
    for (int round = 0; round < 2000; round++) {
        const int nd = 2 + static_cast<int>(rng.below(4));
        Words d(static_cast<size_t>(nd), 0);
        d[static_cast<size_t>(nd - 1)] = 0x80000000u | static_cast<uint32_t>(rng.below(4));
        d[0] = static_cast<uint32_t>(rng.below(3));
        Words a(static_cast<size_t>(nd + 2), 0);
        a.back() = d.back() - static_cast<uint32_t>(rng.below(2)) - 1;
        a[static_cast<size_t>(nd)] = 0xFFFFFFFFu - static_cast<uint32_t>(rng.below(3));
        a[0] = static_cast<uint32_t>(rng.below(4));
        expect_division(a, d, pool);
    }
}

TEST(BigintDiv, OutputsMayBeNullOrAliased) {
    TestRng rng(22);
    PoolGuard pool;
    for (int round = 0; round < 20; round++) {
        const Words a = random_words(rng, 12), d = random_words(rng, 5);
        const std::string q = norm(oracle::bn::div(hex(a), hex(d)));
        const std::string r = norm(oracle::bn::mod(hex(a), hex(d)));
        {
            Big x(a), y(d), out;
            ASSERT_EQ(div_BIGINT(out, nullptr, x, y, pool), 0);
            EXPECT_EQ(hex(out), q);
            ASSERT_EQ(div_BIGINT(nullptr, out, x, y, pool), 0);
            EXPECT_EQ(hex(out), r);
        }
        {
            Big x(a), y(d), rem;
            ASSERT_EQ(div_BIGINT(x, rem, x, y, pool), 0);  // q is a
            EXPECT_EQ(hex(x), q);
            EXPECT_EQ(hex(rem), r);
        }
        {
            Big x(a), y(d), quo;
            ASSERT_EQ(div_BIGINT(quo, x, x, y, pool), 0);  // rem is a
            EXPECT_EQ(hex(x), r);
            EXPECT_EQ(hex(quo), q);
        }
        {
            Big x(a), y(d), rem;
            ASSERT_EQ(div_BIGINT(y, rem, x, y, nullptr), 0);  // q is d
            EXPECT_EQ(hex(y), q);
            EXPECT_EQ(hex(rem), r);
        }
    }
}

TEST(BigintDiv, SmallDividendAndZeroDivisor) {
    PoolGuard pool;
    Big a(Words{5, 1}), d(Words{1, 2}), q(Words{9}), r;
    ASSERT_EQ(div_BIGINT(q, r, a, d, pool), 0);
    EXPECT_EQ(q->length, 0);
    EXPECT_EQ(hex(r), "100000005");
    ASSERT_EQ(div_BIGINT(a, r, a, d, pool), 0);  // q is a, still below d
    EXPECT_EQ(a->length, 0);
    EXPECT_EQ(hex(r), "100000005");
    Big zero, x(Words{5});
    EXPECT_EQ(div_BIGINT(q, r, x, zero, pool), 1);
    EXPECT_EQ(div_BIGINT(q, r, x, nullptr, pool), 1);
    Big zdiv(Words{});
    ASSERT_EQ(div_BIGINT(q, r, zdiv, x, pool), 0);  // 0 / 5
    EXPECT_EQ(q->length, 0);
    EXPECT_EQ(r->length, 0);
    // The constant zero (one word 0) is a zero divisor too.
    EXPECT_EQ(div_BIGINT(q, r, x, value_zero_BIGINT(), pool), 1);
}

// ---- modular products, gcd, inverse ----------------------------------------------

TEST(BigintModMul, MatchesOpenSSL) {
    TestRng rng(30);
    PoolGuard pool;
    for (auto [na, nb] : length_pairs()) {
        const int nm = 1 + static_cast<int>(rng.below(static_cast<uint32_t>(na > nb ? na : nb) + 2));
        Big x(random_words(rng, na)), y(random_words(rng, nb)), m(random_words(rng, nm)), r;
        ASSERT_EQ(mod_mtp_BIGINT(r, x, y, m, na % 2 ? static_cast<BIGINT_POOL *>(pool) : nullptr), 0);
        EXPECT_EQ(hex(r), norm(oracle::bn::mod_mul(hex(x), hex(y), hex(m)))) << na << "x" << nb << " mod " << nm;
    }
    Big x(Words{5}), zero, r;
    EXPECT_EQ(mod_mtp_BIGINT(r, x, x, zero, pool), 1);
    EXPECT_EQ(pool->depth, -1);
}

TEST(BigintGcd, MatchesOpenSSL) {
    TestRng rng(31);
    PoolGuard pool;
    for (int round = 0; round < 120; round++) {
        const int na = 1 + static_cast<int>(rng.below(40)), nb = 1 + static_cast<int>(rng.below(40));
        Words a = random_words(rng, na), b = random_words(rng, nb);
        Big x(a), y(b), g, r;
        if (round % 3 == 0) {
            // A common factor.
            Big f(random_words(rng, 1 + static_cast<int>(rng.below(5))));
            ASSERT_EQ(mtp_BIGINT(x, x, f, pool), 0);
            ASSERT_EQ(mtp_BIGINT(y, y, f, pool), 0);
        }
        ASSERT_EQ(kry::gcd_BIGINT(g, x, y, round % 2 ? static_cast<BIGINT_POOL *>(pool) : nullptr), 0);
        EXPECT_EQ(hex(g), norm(oracle::bn::gcd(hex(x), hex(y))));
    }
    Big zero, five(Words{5}), g;
    ASSERT_EQ(kry::gcd_BIGINT(g, zero, five, pool), 0);
    EXPECT_EQ(hex(g), "5");
    ASSERT_EQ(kry::gcd_BIGINT(g, five, zero, pool), 0);
    EXPECT_EQ(hex(g), "5");
    ASSERT_EQ(kry::gcd_BIGINT(g, zero, zero, pool), 0);
    EXPECT_EQ(g->length, 0);
    EXPECT_EQ(pool->depth, -1);
}

TEST(BigintInverse, MatchesOpenSSL) {
    TestRng rng(32);
    PoolGuard pool;
    int found = 0;
    for (int round = 0; round < 200; round++) {
        const int nm = 1 + static_cast<int>(rng.below(64));
        const int na = 1 + static_cast<int>(rng.below(static_cast<uint32_t>(nm) + 3));
        Words m = random_words(rng, nm);
        if (round % 2 == 0) m[0] |= 1;
        Big x(random_words(rng, na)), n(m), r;
        const std::string want = oracle::bn::mod_inverse(hex(x), hex(n));
        BIGINT *got = kry::inv_BIGINT(r, x, n, round % 3 ? static_cast<BIGINT_POOL *>(pool) : nullptr);
        if (want.empty()) {
            EXPECT_EQ(got, nullptr) << hex(x) << " mod " << hex(n);
        } else {
            found++;
            ASSERT_EQ(got, r.b);
            EXPECT_EQ(hex(r), norm(want)) << hex(x) << " mod " << hex(n);
        }
    }
    EXPECT_GT(found, 50);
    EXPECT_EQ(pool->depth, -1);
}

TEST(BigintInverse, SmallCases) {
    PoolGuard pool;
    Big r, three(Words{3}), seven(Words{7}), six(Words{6}), one(Words{1}), zero;
    ASSERT_EQ(kry::inv_BIGINT(r, three, seven, pool), r.b);
    EXPECT_EQ(hex(r), "5");
    EXPECT_EQ(kry::inv_BIGINT(r, three, six, pool), nullptr);
    EXPECT_EQ(kry::inv_BIGINT(r, zero, seven, pool), nullptr);
    EXPECT_EQ(kry::inv_BIGINT(r, three, zero, pool), nullptr);
    // Modulo 1 every value is its own inverse, 0.
    ASSERT_EQ(kry::inv_BIGINT(r, three, one, pool), r.b);
    EXPECT_EQ(r->length, 0);
    // The result may be the operand (a ≥ m is reduced first).
    Big big(Words{10});
    ASSERT_EQ(kry::inv_BIGINT(big, big, seven, pool), big.b);
    EXPECT_EQ(hex(big), "5");
    // 2^32 modulo a word: what the Montgomery set-up asks.
    Big r32, w(Words{0x12345679u});
    Big two32(Words{0, 1});
    ASSERT_EQ(kry::inv_BIGINT(r32, two32, w, pool), r32.b);
    EXPECT_EQ(hex(r32), norm(oracle::bn::mod_inverse("100000000", "12345679")));
}

// ---- refusals --------------------------------------------------------------------

TEST(BigintArithRefusals, DamagedRecordsAreRefused) {
    Big a(Words{1, 2, 3}), b(Words{4, 5}), r;
    BIGINT bad = *a.b;
    bad.length = bad.size + 1;  // length above size
    EXPECT_EQ(mtp_BIGINT(r, &bad, b, nullptr), 1);
    EXPECT_EQ(sqr_BIGINT(r, &bad, nullptr), 1);
    EXPECT_EQ(div_BIGINT(r, nullptr, &bad, b, nullptr), 1);
    EXPECT_EQ(div_BIGINT(r, nullptr, b, &bad, nullptr), 1);
    EXPECT_EQ(mod_mtp_BIGINT(r, a, b, &bad, nullptr), 1);
    EXPECT_EQ(kry::gcd_BIGINT(r, &bad, b, nullptr), 1);
    EXPECT_EQ(kry::inv_BIGINT(r, b, &bad, nullptr), nullptr);
    BIGINT negative = *a.b;
    negative.length = -1;
    EXPECT_EQ(mtp_BIGINT_word(&negative, 3), 1);
    EXPECT_EQ(mtp_BIGINT(&negative, a, b, nullptr), 1);
}

// A pool that can open no further frame makes the call fail and is left as
// it was.
TEST(BigintArithRefusals, PoolWithoutRoomForAFrame) {
    PoolGuard pool;
    int opened = 0;
    while (start_BIGINT_POOL(pool) == 0) opened++;
    ASSERT_GT(opened, 0);
    const int32_t depth = pool->depth;
    TestRng rng(40);
    Big a(random_words(rng, 21)), b(random_words(rng, 20)), r;  // a > b: division needs scratch
    EXPECT_EQ(mtp_BIGINT(r, a, b, pool), 1);
    EXPECT_EQ(div_BIGINT(r, nullptr, a, b, pool), 1);
    EXPECT_EQ(mod_mtp_BIGINT(r, a, b, b, pool), 1);
    EXPECT_EQ(pool->depth, depth);
    EXPECT_EQ(pool->used, 0u);
    for (int i = 0; i < opened; i++) finish_BIGINT_POOL(pool);
}

}  // namespace
