// KCDSA domain-parameter generation (TTAK.KO-12.0001 with HAS-160): the
// results have the stated sizes, p = 2qr + 1, g has order q, and a key pair
// on them signs and verifies.
#include <gtest/gtest.h>

#include <kry/bigint.h>
#include <kry/digest.h>
#include <kry/error.h>
#include <kry/kcdsa.h>

#include "test_support.h"

using namespace kry_test;

namespace {

void check_generation(int32_t p_bits, int32_t q_bits) {
    ChangeNonProvenMode();
    KCDSA *unit = new_KCDSA();
    ASSERT_NE(unit, nullptr);
    ASSERT_EQ(generate_KCDSA_params(unit, p_bits, q_bits), 0u);
    EXPECT_EQ(unit->seed, nullptr);
    EXPECT_GE(unit->counter, 1u);
    EXPECT_EQ(get_BIGINT_bits_length(unit->p), p_bits);
    EXPECT_EQ(get_BIGINT_bits_length(unit->q), q_bits);
    EXPECT_EQ(get_BIGINT_bits_length(unit->r), p_bits - q_bits);
    EXPECT_EQ(get_KCDSA_length(unit), q_bits / 8);

    BIGINT_POOL *pool = new_BIGINT_POOL();
    BIGINT *t = new_BIGINT();
    BIGINT *u = new_BIGINT();
    // p = 2qr + 1
    ASSERT_EQ(mtp_BIGINT(t, unit->q, unit->r, pool), 0);
    ASSERT_EQ(add_BIGINT(u, t, t, pool), 0);
    ASSERT_EQ(add_BIGINT_word(u, 1), 0);
    EXPECT_EQ(cmp_BIGINT(u, unit->p), 0);
    // primes
    EXPECT_EQ(is_BIGINT_prime(unit->q, 20, pool, KRY_SHA1), 1);
    EXPECT_EQ(is_BIGINT_prime(unit->p, 5, pool, KRY_SHA1), 1);
    EXPECT_EQ(is_BIGINT_prime(unit->r, 5, pool, KRY_SHA1), 1);
    // g != 1 and g^q = 1 mod p
    EXPECT_NE(cmp_BIGINT(unit->g, value_one_BIGINT()), 0);
    ASSERT_EQ(mod_exp_mont_BIGINT(t, unit->g, unit->q, unit->p, pool), 0);
    EXPECT_EQ(cmp_BIGINT(t, value_one_BIGINT()), 0);
    free_BIGINT(t);
    free_BIGINT(u);
    free_BIGINT_POOL(pool);

    ASSERT_EQ(generate_KCDSA_key_pair(unit), 0u);
    TestRng rng(static_cast<uint64_t>(p_bits) * 1000 + static_cast<uint64_t>(q_bits));
    Bytes m = rng.bytes(100);
    uint8_t r[64] = {}, s[64] = {};
    uint32_t rl = sizeof r, sl = sizeof s;
    ASSERT_EQ(init_KCDSA(unit, 1), 0u);
    ASSERT_EQ(update_KCDSA(unit, m.data(), 100), 0u);
    ASSERT_EQ(final_KCDSA(unit, r, &rl, s, &sl), 0u);
    uint32_t field = static_cast<uint32_t>(q_bits / 8);
    ASSERT_EQ(init_KCDSA(unit, 0), 0u);
    ASSERT_EQ(update_KCDSA(unit, m.data(), 100), 0u);
    EXPECT_EQ(final_KCDSA(unit, r, &rl, s, &field), 0u);
    free_KCDSA(unit);
}

TEST(KcdsaSlow, Generate1024x160) { check_generation(1024, 160); }
TEST(KcdsaSlow, Generate1536x160) { check_generation(1536, 160); }
TEST(KcdsaSlow, Generate2048x224) { check_generation(2048, 224); }
TEST(KcdsaSlow, Generate2048x256) { check_generation(2048, 256); }

}  // namespace
