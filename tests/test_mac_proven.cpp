// MACs in proven mode, in a process that never leaves it: every CBC-MAC and
// DES-MAC entry answers 0xFFFFFFFF; HMAC refuses SHA-224, MD5 and MDC-2
// through its digest unit and computes over the approved digests.
#include <gtest/gtest.h>

#include <kry/cbcmac.h>
#include <kry/digest.h>
#include <kry/error.h>
#include <kry/hmac.h>

#include "test_support.h"

#include <cstring>

using namespace kry_test;

TEST(MacProven, CbcMacEntriesAreRefused) {
    ASSERT_EQ(IsProven(), 1);
    const Bytes key(32, 0x11), msg(32, 0x22);
    uint8_t out[64];
    uint32_t len = 55;
    CBC_MAC_UNIT *u = new_CBC_MAC_UNIT();
    ASSERT_NE(u, nullptr);
    // ARIA and SEED are approved ciphers, but CBC-MAC itself is not.
    for (uint32_t id : {KRY_ARIA_128, KRY_SEED, KRY_AES_128, KRY_DES, 0u}) {
        EXPECT_EQ(init_CBC_MAC(u, id, key.data()), 0xFFFFFFFFu) << std::hex << id;
        EXPECT_EQ(CBC_MAC(id, key.data(), msg.data(), 32, out, &len), 0xFFFFFFFFu) << std::hex << id;
    }
    EXPECT_EQ(u->cipher->initialised, 0u);  // refused before anything was set up
    EXPECT_EQ(update_CBC_MAC(u, msg.data(), 32), 0xFFFFFFFFu);
    EXPECT_EQ(final_CBC_MAC(u, out, &len), 0xFFFFFFFFu);
    EXPECT_EQ(len, 55u);
    // The refusal comes before any argument is looked at.
    EXPECT_EQ(init_CBC_MAC(nullptr, KRY_ARIA_128, nullptr), 0xFFFFFFFFu);
    EXPECT_EQ(update_CBC_MAC(nullptr, nullptr, 5), 0xFFFFFFFFu);
    EXPECT_EQ(final_CBC_MAC(nullptr, nullptr, nullptr), 0xFFFFFFFFu);
    EXPECT_EQ(CBC_MAC(KRY_ARIA_128, nullptr, nullptr, 0, nullptr, nullptr), 0xFFFFFFFFu);
    free_CBC_MAC_UNIT(u);
}

TEST(MacProven, DesMacIsRefused) {
    ASSERT_EQ(IsProven(), 1);
    const Bytes key = from_hex("0123456789abcdef"), msg(28, 0x20);
    uint8_t mac[8] = {};
    EXPECT_EQ(DES_MAC(key.data(), msg.data(), 28, mac), 0xFFFFFFFFu);
    for (uint8_t b : mac) EXPECT_EQ(b, 0);
    EXPECT_EQ(DES_MAC(nullptr, nullptr, 0, nullptr), 0xFFFFFFFFu);
}

TEST(MacProven, HmacRefusesSha224AndMd5) {
    ASSERT_EQ(IsProven(), 1);
    const Bytes key(20, 0x0b), msg = bytes_of("Hi There");
    uint8_t out[64];
    uint32_t len = 0;
    for (uint32_t id : {KRY_SHA224, KRY_MD5, KRY_MDC2}) {
        HMAC_UNIT *u = new_HMAC_UNIT();
        EXPECT_EQ(init_HMAC(u, id, key.data(), 20), 0xFFFFFFFFu) << std::hex << id;
        EXPECT_EQ(u->hmac_id, id | 0x10000000u);
        EXPECT_EQ(update_HMAC(u, msg.data(), 8), 0x0B020600u);
        EXPECT_EQ(final_HMAC(u, out, &len), 0x0B030600u);
        free_HMAC_UNIT(u);
        EXPECT_EQ(HMac(id, key.data(), 20, msg.data(), 8, out, &len), 0xFFFFFFFFu) << std::hex << id;
        // A proven unit meets the module's refusal first, for MDC-2 too.
        HMAC_UNIT *ex = new_HMAC_UNIT_EX(1);
        EXPECT_EQ(init_HMAC(ex, id, key.data(), 20), 0xFFFFFFFFu) << std::hex << id;
        free_HMAC_UNIT(ex);
    }
}

TEST(MacProven, HmacOverApprovedDigests) {
    ASSERT_EQ(IsProven(), 1);
    // RFC 4231 test case 2 and RFC 2202 test case 2.
    const Bytes key = bytes_of("Jefe"), msg = bytes_of("what do ya want for nothing?");
    uint8_t out[64];
    uint32_t len = 0;
    ASSERT_EQ(HMac(KRY_SHA256, key.data(), 4, msg.data(), static_cast<uint32_t>(msg.size()), out, &len), 0u);
    EXPECT_EQ(len, 32u);
    EXPECT_EQ(to_hex(out, 32), "5bdcc146bf60754e6a042426089575c75a003f089d2739839dec58b964ec3843");

    HMAC_UNIT *u = new_HMAC_UNIT_EX(1);
    ASSERT_EQ(init_HMAC(u, KRY_SHA256, key.data(), 4), 0u);
    EXPECT_EQ(u->digest->proven, 1);
    ASSERT_EQ(update_HMAC(u, msg.data(), static_cast<uint32_t>(msg.size())), 0u);
    ASSERT_EQ(final_HMAC(u, out, &len), 0u);
    EXPECT_EQ(to_hex(out, 32), "5bdcc146bf60754e6a042426089575c75a003f089d2739839dec58b964ec3843");
    ASSERT_EQ(init_HMAC(u, KRY_SHA1, key.data(), 4), 0u);
    ASSERT_EQ(update_HMAC(u, msg.data(), static_cast<uint32_t>(msg.size())), 0u);
    ASSERT_EQ(final_HMAC(u, out, &len), 0u);
    EXPECT_EQ(to_hex(out, 20), "effcdf6ae5eb2fa2d27416d5f184df9c259a7c79");
    free_HMAC_UNIT(u);

    for (uint32_t id : {KRY_SHA384, KRY_SHA512, KRY_HAS160})
        EXPECT_EQ(HMac(id, key.data(), 4, msg.data(), static_cast<uint32_t>(msg.size()), out, &len), 0u)
            << std::hex << id;
}

TEST(MacProven, HmacNamesDoNotConsultProvenMode) {
    for (uint32_t id : {0x15000200u, 0x16000100u, 0x18000100u}) {
        char *name = getHMAC_name(id);
        ASSERT_NE(name, nullptr);
        EXPECT_EQ(std::strncmp(name, "HMAC_", 5), 0);
        lum_free(name, __FILE__, __LINE__);
    }
}
