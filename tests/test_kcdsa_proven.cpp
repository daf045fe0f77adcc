// KCDSA in proven mode (this file never leaves it): the HAS-160 random
// generator is refused, so signing, key pairs and parameter generation fail
// at the step that needs it; verification still works.
#include <gtest/gtest.h>

#include <kry/bigint.h>
#include <kry/error.h>
#include <kry/kcdsa.h>

#include "test_support.h"

using namespace kry_test;

namespace {

BIGINT *big(const VectorBlock &v, const char *name) {
    Bytes b = from_hex(v.at(name));
    return binary_to_BIGINT(b.data(), static_cast<int32_t>(b.size()), nullptr);
}

class KcdsaProven : public ::testing::Test {
  protected:
    void SetUp() override {
        auto blocks = read_vectors("kcdsa.txt");
        ASSERT_EQ(blocks.size(), 1u);
        v = blocks[0];
        p = big(v, "P");
        q = big(v, "Q");
        g = big(v, "G");
        x = big(v, "X");
        msg = from_hex(v.at("MSG"));
        unit = new_KCDSA();
        ASSERT_NE(unit, nullptr);
    }
    void TearDown() override {
        for (BIGINT *b : {p, q, g, x})
            free_BIGINT(b);
        free_KCDSA(unit);
    }
    VectorBlock v;
    BIGINT *p = nullptr, *q = nullptr, *g = nullptr, *x = nullptr;
    Bytes msg;
    KCDSA *unit = nullptr;
};

TEST_F(KcdsaProven, StartsInProvenMode) { EXPECT_EQ(IsProven(), 1); }

TEST_F(KcdsaProven, SigningFailsDrawingK) {
    ASSERT_EQ(set_KCDSA_params(unit, p, q, g, x, nullptr), 0u);
    ASSERT_EQ(init_KCDSA(unit, 1), 0u);
    ASSERT_EQ(update_KCDSA(unit, msg.data(), static_cast<uint32_t>(msg.size())), 0u);
    uint8_t r[20], s[20];
    uint32_t rl = 20, sl = 20;
    EXPECT_EQ(final_KCDSA(unit, r, &rl, s, &sl), 0x0F041B00u);
}

TEST_F(KcdsaProven, VerificationWorks) {
    ASSERT_EQ(set_KCDSA_params(unit, p, q, g, x, nullptr), 0u);
    ASSERT_EQ(init_KCDSA(unit, 0), 0u);
    ASSERT_EQ(update_KCDSA(unit, msg.data(), static_cast<uint32_t>(msg.size())), 0u);
    Bytes r = from_hex(v.at("R")), s = from_hex(v.at("S"));
    uint32_t rl = 20, sl = 20;
    EXPECT_EQ(final_KCDSA(unit, r.data(), &rl, s.data(), &sl), 0u);
}

TEST_F(KcdsaProven, KeyPairRefused) {
    ASSERT_EQ(set_KCDSA_params(unit, p, q, g, nullptr, nullptr), 0u);
    EXPECT_EQ(generate_KCDSA_key_pair(unit), 0x0F080001u);
}

TEST_F(KcdsaProven, ParameterGenerationRefused) {
    EXPECT_EQ(generate_KCDSA_params(unit, 1024, 160), 0x0F060001u);
    EXPECT_EQ(unit->seed, nullptr);
    EXPECT_EQ(generate_KCDSA_params(unit, 1000, 160), 0x0F060003u);
}

}  // namespace
