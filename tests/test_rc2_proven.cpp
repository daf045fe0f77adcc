// In proven mode (this file never leaves it) RC5, Blowfish and RC2 are
// refused in every mode with 0xFFFFFFFF; for RC2 in CTR mode the refusal
// comes before the missing-CTR answer.
#include <kry/blockcipher.h>
#include <kry/error.h>

#include <gtest/gtest.h>

namespace {

uint32_t set_up(uint32_t id) {
    const uint8_t key[16] = {}, iv[8] = {};
    BLOCK_CIPHER_UNIT *unit = new_BLOCK_CIPHER_UNIT();
    const uint32_t r = init_BlockCipher(unit, id, key, iv, KRY_ENCRYPT);
    free_BLOCK_CIPHER_UNIT(unit);
    return r;
}

constexpr uint32_t kModes[] = {KRY_MODE_ECB, KRY_MODE_CBC, KRY_MODE_CFB, KRY_MODE_CFB128, KRY_MODE_OFB,
                               KRY_MODE_CTR};

}  // namespace

TEST(Rc2Proven, CtrRefusedAsNotApproved) {
    ASSERT_EQ(IsProven(), 1);
    EXPECT_EQ(set_up(KRY_RC2 | KRY_MODE_CTR), KRY_ERR_NOT_PROVEN);
    EXPECT_EQ(set_up(KRY_RC2 | KRY_MODE_CTR | KRY_NO_PADDING), KRY_ERR_NOT_PROVEN);
}

TEST(Rc2Proven, EveryModeRefused) {
    ASSERT_EQ(IsProven(), 1);
    for (uint32_t mode : kModes) EXPECT_EQ(set_up(KRY_RC2 | mode), KRY_ERR_NOT_PROVEN) << mode;
}

TEST(Rc5Proven, EveryModeRefused) {
    ASSERT_EQ(IsProven(), 1);
    for (uint32_t mode : kModes) EXPECT_EQ(set_up(KRY_RC5 | mode), KRY_ERR_NOT_PROVEN) << mode;
}

TEST(BlowfishProven, EveryModeRefused) {
    ASSERT_EQ(IsProven(), 1);
    for (uint32_t mode : kModes) EXPECT_EQ(set_up(KRY_BLOWFISH | mode), KRY_ERR_NOT_PROVEN) << mode;
    const uint8_t key[16] = {}, in[8] = {};
    uint8_t out[16];
    uint32_t n = 0;
    EXPECT_EQ(BlockCipher(KRY_BLOWFISH | KRY_MODE_ECB, KRY_ENCRYPT, key, nullptr, in, 8, out, &n), KRY_ERR_NOT_PROVEN);
}
