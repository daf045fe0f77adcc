// DSA in proven mode (this file never leaves it): init_DSA is refused.
#include <gtest/gtest.h>

#include <kry/digest.h>
#include <kry/dsa.h>
#include <kry/error.h>

#include <vector>

namespace {

TEST(DsaProven, StartsInProvenMode) { EXPECT_EQ(IsProven(), 1); }

TEST(DsaProven, InitIsRefused) {
    DSA *u = new_DSA();
    ASSERT_NE(u, nullptr);
    EXPECT_EQ(init_DSA(u, KRY_SHA1, KRY_DSA_SIGN, nullptr, 0), 0xFFFFFFFFu);
    EXPECT_EQ(init_DSA(u, KRY_SHA256, KRY_DSA_VERIFY, nullptr, 0), 0xFFFFFFFFu);
    // Nothing was set up.
    EXPECT_EQ(u->digest_unit, nullptr);
    const std::vector<uint8_t> seed(21, 1);
    EXPECT_EQ(init_DSA(u, KRY_SHA1, KRY_DSA_SIGN, seed.data(), 21), 0xFFFFFFFFu);
    EXPECT_EQ(u->seed, nullptr);
    free_DSA(u);
}

}  // namespace
