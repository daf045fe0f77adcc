// The generator in proven mode (this file never leaves it): only the SHA-1,
// ARIA and SEED G functions are allowed, and the random integers and prime
// routines that name a refused G fail.
#include <gtest/gtest.h>

#include <kry/bigint.h>
#include <kry/digest.h>
#include <kry/error.h>
#include <kry/prng.h>

#include "test_support.h"

#include <vector>

using namespace kry_test;

namespace {

const Bytes kXkey(20, 0x5C);
const Bytes kXseed(20, 0x36);

uint32_t init_with(PRNG_UNIT *u, uint32_t id) {
    return init_PRNG(u, id, kXkey.data(), 20, kXseed.data(), 20, nullptr);
}

TEST(PrngProven, StartsInProvenMode) { EXPECT_EQ(IsProven(), 1); }

TEST(PrngProven, RefusedGFunctions) {
    for (uint32_t id : {KRY_SHA256, KRY_SHA384, KRY_SHA512, KRY_HAS160}) {
        PRNG_UNIT *u = new_PRNG_UNIT();
        EXPECT_EQ(init_with(u, id), 0xFFFFFFFFu) << std::hex << id;
        EXPECT_EQ(u->g_id, 0u);
        EXPECT_EQ(u->g_state, nullptr);
        EXPECT_EQ(init_PRNG(u, id, nullptr, 0, nullptr, 0, nullptr), 0xFFFFFFFFu);
        free_PRNG_UNIT(u);
    }
    EXPECT_EQ(IsProven(), 1);
}

TEST(PrngProven, AllowedGFunctions) {
    for (uint32_t id : {KRY_SHA1, 0x03000100u, 0x03000200u, 0x03000300u, 0x04000100u}) {
        PRNG_UNIT *u = new_PRNG_UNIT();
        ASSERT_EQ(init_with(u, id), 0u) << std::hex << id;
        uint8_t out[45];
        EXPECT_EQ(get_rand(u, out, sizeof out), 0u);
        BIGINT *r = new_BIGINT();
        EXPECT_EQ(get_rand_DSA_BIGINT(u, r, nullptr), 0u);
        EXPECT_EQ(get_rand_BIGINT(u, r, 100), 0u);
        free_BIGINT(r);
        free_PRNG_UNIT(u);
    }
}

TEST(PrngProven, UnknownIdentifiersAreNotProvenRefusals) {
    for (uint32_t id : {KRY_SHA224, KRY_MD5, KRY_MDC2, 0u}) {
        PRNG_UNIT *u = new_PRNG_UNIT();
        EXPECT_EQ(init_with(u, id), 0x0D020004u) << std::hex << id;
        free_PRNG_UNIT(u);
    }
}

TEST(PrngProven, RandBytesWorks) {
    uint8_t a[32], b[32];
    ASSERT_EQ(RAND_BYTES(a, sizeof a), 0u);
    ASSERT_EQ(RAND_BYTES(b, sizeof b), 0u);
    EXPECT_NE(Bytes(a, a + 32), Bytes(b, b + 32));
}

TEST(PrngProven, IntegersAndPrimesWithARefusedG) {
    BIGINT *r = new_BIGINT();
    EXPECT_EQ(rand_BIGINT(r, 128, 0, 0, nullptr, KRY_SHA256), 1);
    EXPECT_EQ(rand_BIGINT(r, 128, 0, 0, nullptr, 0), 0);
    EXPECT_EQ(rand_BIGINT(r, 128, 0, 0, nullptr, 0x04000100), 0);
    EXPECT_EQ(generate_BIGINT_prime(r, 128, nullptr, KRY_HAS160), 1);
    // The witness cannot be drawn: a failed step.
    BIGINT *p = HEX_to_BIGINT("FFFFFFFFFFFFFFC5");  // 2^64 - 59, prime
    EXPECT_EQ(is_BIGINT_prime(p, 5, nullptr, KRY_SHA512), 0);
    EXPECT_EQ(is_BIGINT_prime(p, 5, nullptr, 0), 1);
    free_BIGINT(p);
    free_BIGINT(r);
    EXPECT_EQ(IsProven(), 1);
}

}  // namespace
