// Proven mode, in a process that never leaves it: only ARIA and SEED are
// accepted by the block-cipher unit, and never in CTR mode.
#include <gtest/gtest.h>

#include <kry/blockcipher.h>
#include <kry/error.h>

#include "cipher_util.h"
#include "test_support.h"

using namespace kry_test;

TEST(CipherProven, OnlyAriaAndSeedOutsideCtr) {
    ASSERT_EQ(IsProven(), 1);
    for (const auto &c : all_ciphers()) {
        const bool approved = c.id == KRY_SEED || (c.id >> 24) == 0x03;
        for (uint32_t mode : {0x00u, 0x20u, 0x40u, 0x4Cu, 0x60u, 0x80u}) {
            for (uint32_t pad : {0u, 1u}) {
                Bytes key(c.key, 0x11), iv(c.block, 0x22);
                BLOCK_CIPHER_UNIT *u = new_BLOCK_CIPHER_UNIT_EX(0);
                uint32_t r = init_BlockCipher(u, c.id | mode | pad, key.data(), iv.data(), KRY_ENCRYPT);
                EXPECT_EQ(u->proven, 1);  // sampled from the module
                if (approved && mode != 0x80)
                    EXPECT_EQ(r, 0u) << c.name << " mode " << mode;
                else
                    EXPECT_EQ(r, 0xFFFFFFFFu) << c.name << " mode " << mode;
                free_BLOCK_CIPHER_UNIT(u);
            }
        }
    }
}

TEST(CipherProven, RefusalKeepsTheIdentifier) {
    BLOCK_CIPHER_UNIT *u = new_BLOCK_CIPHER_UNIT();
    Bytes key(16, 1);
    EXPECT_EQ(init_BlockCipher(u, KRY_AES_128 | KRY_MODE_CBC, key.data(), nullptr, KRY_ENCRYPT), 0xFFFFFFFFu);
    EXPECT_EQ(u->algorithm_id, KRY_AES_128);
    EXPECT_EQ(u->key_schedule, nullptr);
    // ARIA-CTR passes the table step and is refused at set-up, with its
    // schedule allocated (and released by free).
    EXPECT_EQ(init_BlockCipher(u, KRY_ARIA_128 | KRY_MODE_CTR, key.data(), nullptr, KRY_ENCRYPT), 0xFFFFFFFFu);
    EXPECT_EQ(u->algorithm_id, KRY_ARIA_128);
    free_BLOCK_CIPHER_UNIT(u);

    // RC2 in CTR: the proven-mode refusal comes first.
    u = new_BLOCK_CIPHER_UNIT();
    EXPECT_EQ(init_BlockCipher(u, KRY_RC2 | KRY_MODE_CTR, key.data(), nullptr, KRY_ENCRYPT), 0xFFFFFFFFu);
    free_BLOCK_CIPHER_UNIT(u);
}

TEST(CipherProven, ApprovedCiphersWork) {
    TestRng rng(9);
    for (uint32_t id : {KRY_ARIA_128, KRY_ARIA_192, KRY_ARIA_256, KRY_SEED}) {
        for (uint32_t mode : {0x00u, 0x20u, 0x40u, 0x60u}) {
            Bytes key = rng.bytes(get_KeyLength(id)), iv = rng.bytes(16), msg = rng.bytes(100);
            uint32_t flags = mode >= 0x40 ? KRY_NO_PADDING : 0;
            auto enc = unit_crypt(id | mode | flags, KRY_ENCRYPT, key, iv, msg);
            ASSERT_EQ(enc.rc, 0u);
            auto dec = unit_crypt(id | mode | flags, KRY_DECRYPT, key, iv, enc.out);
            ASSERT_EQ(dec.rc, 0u);
            EXPECT_EQ(dec.out, msg);
        }
    }
}
