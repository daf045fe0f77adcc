// ARIA and AES in proven mode (the state at load; this file never leaves
// it): ARIA initialises and runs in CBC (the KISA ARIA-CBC vectors), CTR is
// refused with 0xFFFFFFFF for every key size, and AES is refused with
// 0xFFFFFFFF in every mode.
#include <kry/blockcipher.h>
#include <kry/error.h>

#include "cipher_util.h"
#include "test_support.h"

#include <gtest/gtest.h>

using kry_test::Bytes;
using kry_test::from_hex;
using kry_test::to_hex;
using kry_test::unit_crypt;

TEST(AriaProven, CbcInitialisesAndWorks) {
    ASSERT_EQ(IsProven(), 1);
    size_t n = 0;
    for (auto &v : kry_test::read_vectors("aria.txt")) {
        if (v.at("MODE") != "CBC") continue;
        Bytes key = from_hex(v.at("KEY")), iv = from_hex(v.at("IV"));
        Bytes pt = from_hex(v.at("PT")), ct = from_hex(v.at("CT"));
        const uint32_t base = key.size() == 16 ? KRY_ARIA_128 : key.size() == 24 ? KRY_ARIA_192 : KRY_ARIA_256;
        auto e = unit_crypt(base | KRY_MODE_CBC | KRY_NO_PADDING, KRY_ENCRYPT, key, iv, pt);
        auto d = unit_crypt(base | KRY_MODE_CBC | KRY_NO_PADDING, KRY_DECRYPT, key, iv, ct);
        ASSERT_EQ(e.rc, 0u);
        ASSERT_EQ(d.rc, 0u);
        EXPECT_EQ(to_hex(e.out), v.at("CT"));
        EXPECT_EQ(to_hex(d.out), v.at("PT"));

        // With padding too: the round trip restores the message.
        auto p = unit_crypt(base | KRY_MODE_CBC, KRY_ENCRYPT, key, iv, pt);
        ASSERT_EQ(p.rc, 0u);
        EXPECT_EQ(p.out.size(), pt.size() + 16);
        auto q = unit_crypt(base | KRY_MODE_CBC, KRY_DECRYPT, key, iv, p.out);
        ASSERT_EQ(q.rc, 0u);
        EXPECT_EQ(to_hex(q.out), v.at("PT"));
        n++;
    }
    EXPECT_EQ(n, 3u);
}

TEST(AriaProven, OtherModesInitialise) {
    const Bytes key(32, 1), iv(16, 2);
    for (uint32_t mode : {KRY_MODE_ECB, KRY_MODE_CFB, KRY_MODE_CFB128, KRY_MODE_OFB}) {
        BLOCK_CIPHER_UNIT *unit = new_BLOCK_CIPHER_UNIT();
        EXPECT_EQ(init_BlockCipher(unit, KRY_ARIA_256 | mode, key.data(), iv.data(), KRY_ENCRYPT), 0u) << mode;
        free_BLOCK_CIPHER_UNIT(unit);
    }
}

TEST(AriaProven, CtrRefused) {
    const Bytes key(32, 1), iv(16, 0);
    for (uint32_t base : {KRY_ARIA_128, KRY_ARIA_192, KRY_ARIA_256}) {
        for (uint32_t pad : {0u, KRY_NO_PADDING}) {
            BLOCK_CIPHER_UNIT *unit = new_BLOCK_CIPHER_UNIT();
            EXPECT_EQ(init_BlockCipher(unit, base | KRY_MODE_CTR | pad, key.data(), iv.data(), KRY_ENCRYPT),
                      0xFFFFFFFFu);
            free_BLOCK_CIPHER_UNIT(unit);
        }
    }
}

TEST(AriaProven, AesRefused) {
    const Bytes key(32, 1), iv(16, 0);
    for (uint32_t base : {KRY_AES_128, KRY_AES_192, KRY_AES_256}) {
        for (uint32_t mode :
             {KRY_MODE_ECB, KRY_MODE_CBC, KRY_MODE_CFB, KRY_MODE_CFB128, KRY_MODE_OFB, KRY_MODE_CTR}) {
            BLOCK_CIPHER_UNIT *unit = new_BLOCK_CIPHER_UNIT();
            EXPECT_EQ(init_BlockCipher(unit, base | mode, key.data(), iv.data(), KRY_ENCRYPT), 0xFFFFFFFFu)
                << std::hex << (base | mode);
            free_BLOCK_CIPHER_UNIT(unit);
            uint8_t out[32];
            uint32_t n = 0;
            EXPECT_EQ(BlockCipher(base | mode, KRY_ENCRYPT, key.data(), iv.data(), key.data(), 16, out, &n),
                      0xFFFFFFFFu);
        }
    }
    EXPECT_EQ(IsProven(), 1);
}
