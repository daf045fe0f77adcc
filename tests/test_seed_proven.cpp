// SEED, DES and DES-EDE in proven mode (the state at load; this file never
// leaves it): SEED initialises in ECB, CBC, CFB, CFB128 and OFB and is
// refused in CTR; every DES and DES-EDE identifier is refused in every mode.
#include <kry/blockcipher.h>
#include <kry/error.h>

#include "test_support.h"

#include <gtest/gtest.h>

using kry_test::Bytes;
using kry_test::from_hex;
using kry_test::to_hex;

namespace {
const uint32_t kModes[] = {KRY_MODE_ECB, KRY_MODE_CBC, KRY_MODE_CFB, KRY_MODE_CFB128, KRY_MODE_OFB, KRY_MODE_CTR};
}

TEST(SeedProven, ApprovedModesInitialise) {
    ASSERT_EQ(IsProven(), 1);
    const Bytes key(16, 0x11), iv(16, 0x22);
    for (uint32_t mode : {KRY_MODE_ECB, KRY_MODE_CBC, KRY_MODE_CFB, KRY_MODE_CFB128, KRY_MODE_OFB}) {
        for (uint32_t pad : {0u, KRY_NO_PADDING}) {
            BLOCK_CIPHER_UNIT *unit = new_BLOCK_CIPHER_UNIT();
            ASSERT_NE(unit, nullptr);
            EXPECT_EQ(init_BlockCipher(unit, KRY_SEED | mode | pad, key.data(), iv.data(), KRY_ENCRYPT), 0u) << mode;
            EXPECT_EQ(unit->proven, 1);
            free_BLOCK_CIPHER_UNIT(unit);
        }
    }
}

TEST(SeedProven, CtrRefused) {
    const Bytes key(16, 0x11), iv(16, 0x22);
    for (uint32_t direction : {KRY_ENCRYPT, KRY_DECRYPT}) {
        BLOCK_CIPHER_UNIT *unit = new_BLOCK_CIPHER_UNIT();
        EXPECT_EQ(init_BlockCipher(unit, KRY_SEED | KRY_MODE_CTR | KRY_NO_PADDING, key.data(), iv.data(), direction),
                  KRY_ERR_NOT_PROVEN);
        free_BLOCK_CIPHER_UNIT(unit);
    }
}

// RFC 4269 B.1 works in proven mode, through the one-shot call too.
TEST(SeedProven, KnownAnswer) {
    const Bytes key(16, 0), pt = from_hex("000102030405060708090a0b0c0d0e0f");
    uint8_t out[32];
    uint32_t n = 0;
    ASSERT_EQ(BlockCipher(KRY_SEED | KRY_MODE_ECB | KRY_NO_PADDING, KRY_ENCRYPT, key.data(), nullptr, pt.data(), 16,
                          out, &n),
              0u);
    ASSERT_EQ(n, 16u);
    EXPECT_EQ(to_hex(out, 16), "5ebac6e0054e166819aff1cc6d346cdb");
}

TEST(DesProven, EveryIdentifierRefused) {
    const Bytes key(24, 0x5A), iv(8, 0);
    for (uint32_t base : {KRY_DES, KRY_DES_EDE3, KRY_DES_EDE2, KRY_DES_EDE3_B}) {
        for (uint32_t mode : kModes) {
            for (uint32_t pad : {0u, KRY_NO_PADDING}) {
                for (uint32_t direction : {KRY_ENCRYPT, KRY_DECRYPT}) {
                    BLOCK_CIPHER_UNIT *unit = new_BLOCK_CIPHER_UNIT();
                    EXPECT_EQ(init_BlockCipher(unit, base | mode | pad, key.data(), iv.data(), direction),
                              KRY_ERR_NOT_PROVEN)
                        << std::hex << (base | mode | pad);
                    free_BLOCK_CIPHER_UNIT(unit);
                }
            }
        }
        uint8_t out[32];
        uint32_t n = 0;
        EXPECT_EQ(BlockCipher(base | KRY_MODE_ECB, KRY_ENCRYPT, key.data(), nullptr, key.data(), 8, out, &n),
                  KRY_ERR_NOT_PROVEN);
    }
}
