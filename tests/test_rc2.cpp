// RC2 (RFC 2268): the RFC's vectors through the key expansion (various key
// lengths and effective key bits), the unit's configuration (8-byte key,
// 1024 effective bits) against OpenSSL's RC2-ECB, the key-schedule
// function's results, the mode functions' error words and the missing CTR
// mode.
#include "cipher/modes.h"
#include "cipher/rc2.h"
#include "foundation/common.h"

#include <kry/blockcipher.h>
#include <kry/error.h>

#include "cipher_util.h"
#include "oracle.h"
#include "test_support.h"

#include <gtest/gtest.h>

#include <cstring>

using kry_test::Bytes;
using kry_test::from_hex;
using kry_test::to_hex;

namespace {

constexpr uint32_t kEcb = KRY_RC2 | KRY_MODE_ECB | KRY_NO_PADDING;
constexpr uint32_t kErrKey = 0x29000003;

class Rc2 : public ::testing::Test {
  protected:
    static void SetUpTestSuite() { ChangeNonProvenMode(); }
};

kry::Rc2Schedule schedule_for(const Bytes &key, uint32_t bits) {
    kry::Rc2Schedule ks{};
    EXPECT_EQ(kry::rc2_set_key(&ks, key.data(), static_cast<uint32_t>(key.size()), bits), 0u);
    return ks;
}

Bytes ecb_blocks(const kry::Rc2Schedule &ks, const Bytes &in, bool encrypt) {
    Bytes out(in.size());
    for (size_t i = 0; i + 8 <= in.size(); i += 8) {
        if (encrypt)
            kry::rc2_encrypt_block(ks, in.data() + i, out.data() + i);
        else
            kry::rc2_decrypt_block(ks, in.data() + i, out.data() + i);
    }
    return out;
}

BLOCK_CIPHER_UNIT *ready_unit(uint32_t mode = KRY_MODE_ECB) {
    BLOCK_CIPHER_UNIT *unit = new_BLOCK_CIPHER_UNIT();
    const uint8_t key[8] = {}, iv[8] = {};
    EXPECT_EQ(init_BlockCipher(unit, KRY_RC2 | mode | KRY_NO_PADDING, key, iv, KRY_ENCRYPT), 0u);
    return unit;
}

}  // namespace

TEST_F(Rc2, Rfc2268VectorsThroughExpansion) {
    auto vs = kry_test::read_vectors("rc2.txt");
    ASSERT_EQ(vs.size(), 8u);
    for (auto &v : vs) {
        Bytes key = from_hex(v.at("KEY")), pt = from_hex(v.at("PT")), ct = from_hex(v.at("CT"));
        ASSERT_EQ(key.size(), std::stoul(v.at("KEYLEN")));
        const uint32_t bits = static_cast<uint32_t>(std::stoul(v.at("EFFECTIVE_BITS")));
        kry::Rc2Schedule ks = schedule_for(key, bits);
        EXPECT_EQ(to_hex(ecb_blocks(ks, pt, true)), v.at("CT")) << "key " << v.at("KEY") << " bits " << bits;
        EXPECT_EQ(to_hex(ecb_blocks(ks, ct, false)), v.at("PT")) << "key " << v.at("KEY") << " bits " << bits;
    }
}

// The oracle is configured the same way: OpenSSL's RC2-ECB with the key
// length and effective bits set reproduces the RFC's vectors.
TEST_F(Rc2, OpensslReproducesRfc2268Vectors) {
    for (auto &v : kry_test::read_vectors("rc2.txt")) {
        Bytes key = from_hex(v.at("KEY")), pt = from_hex(v.at("PT")), out;
        const int bits = std::stoi(v.at("EFFECTIVE_BITS"));
        ASSERT_TRUE(oracle::openssl_cipher("RC2-ECB", key, {}, true, false, pt, out, bits)) << v.at("KEY");
        EXPECT_EQ(to_hex(out), v.at("CT")) << "key " << v.at("KEY") << " bits " << bits;
    }
}

// The unit's configuration, for which no published vector exists: 8-byte
// keys with 1024 effective bits, raw blocks and the unit against OpenSSL.
TEST_F(Rc2, EightByteKey1024BitsMatchesOpenssl) {
    kry_test::TestRng rng(0x2268);
    for (int n = 0; n < 200; n++) {
        Bytes key = rng.bytes(8), pt = rng.bytes(8 * (1 + rng.below(16))), theirs;
        kry::Rc2Schedule ks = schedule_for(key, 1024);
        ASSERT_TRUE(oracle::openssl_cipher("RC2-ECB", key, {}, true, false, pt, theirs, 1024));
        ASSERT_EQ(to_hex(ecb_blocks(ks, pt, true)), to_hex(theirs)) << "key " << to_hex(key);
        auto enc = kry_test::unit_crypt(kEcb, KRY_ENCRYPT, key, {}, pt);
        ASSERT_EQ(enc.rc, 0u);
        ASSERT_EQ(to_hex(enc.out), to_hex(theirs)) << "key " << to_hex(key);

        ASSERT_TRUE(oracle::openssl_cipher("RC2-ECB", key, {}, false, false, pt, theirs, 1024));
        ASSERT_EQ(to_hex(ecb_blocks(ks, pt, false)), to_hex(theirs)) << "key " << to_hex(key);
        auto dec = kry_test::unit_crypt(kEcb, KRY_DECRYPT, key, {}, pt);
        ASSERT_EQ(dec.rc, 0u);
        ASSERT_EQ(to_hex(dec.out), to_hex(theirs)) << "key " << to_hex(key);
    }
}

// Other key lengths and effective bits, raw blocks against OpenSSL.
TEST_F(Rc2, KeyLengthsAndBitsMatchOpenssl) {
    kry_test::TestRng rng(0x2269);
    for (uint32_t len : {1u, 5u, 8u, 16u, 33u, 64u, 128u}) {
        for (uint32_t bits : {1u, 8u, 40u, 63u, 64u, 128u, 129u, 1000u, 1024u}) {
            Bytes key = rng.bytes(len), pt = rng.bytes(16), theirs;
            kry::Rc2Schedule ks = schedule_for(key, bits);
            ASSERT_TRUE(oracle::openssl_cipher("RC2-ECB", key, {}, true, false, pt, theirs, static_cast<int>(bits)));
            EXPECT_EQ(to_hex(ecb_blocks(ks, pt, true)), to_hex(theirs)) << "length " << len << " bits " << bits;
        }
    }
}

TEST_F(Rc2, EffectiveBitsOutOfRangeMean1024) {
    const Bytes key = from_hex("88bca90e90875a7f");
    kry::Rc2Schedule full = schedule_for(key, 1024);
    for (uint32_t bits : {0u, 1025u, 4096u, 0x80000000u, 0xFFFFFFFFu}) {
        kry::Rc2Schedule ks = schedule_for(key, bits);
        EXPECT_EQ(std::memcmp(&ks, &full, sizeof ks), 0) << bits;
    }
    kry::Rc2Schedule less = schedule_for(key, 1023);
    EXPECT_NE(std::memcmp(&less, &full, sizeof less), 0);
}

TEST_F(Rc2, SetKeyArguments) {
    kry::Rc2Schedule ks{};
    const uint8_t key[130] = {};
    EXPECT_EQ(kry::rc2_set_key(nullptr, key, 8, 1024), kErrKey);
    EXPECT_EQ(kry::rc2_set_key(&ks, nullptr, 8, 1024), kErrKey);
    EXPECT_EQ(kry::rc2_set_key(&ks, key, 0, 1024), kErrKey);
    EXPECT_EQ(kry::rc2_set_key(&ks, key, 129, 1024), kErrKey);
    EXPECT_EQ(kry::rc2_set_key(&ks, key, 128, 1024), 0u);
    EXPECT_EQ(kry::rc2_set_key(&ks, key, 1, 1), 0u);
    for (uint32_t k : ks.k) EXPECT_LE(k, 0xFFFFu);  // one 16-bit word per entry
}

TEST_F(Rc2, InPlaceBlocks) {
    kry_test::TestRng rng(3);
    kry::Rc2Schedule ks = schedule_for(rng.bytes(8), 1024);
    Bytes block = rng.bytes(8), copy = block;
    uint8_t expect[8];
    kry::rc2_encrypt_block(ks, block.data(), expect);
    kry::rc2_encrypt_block(ks, block.data(), block.data());
    EXPECT_EQ(std::memcmp(block.data(), expect, 8), 0);
    kry::rc2_decrypt_block(ks, block.data(), block.data());
    EXPECT_EQ(block, copy);
}

TEST_F(Rc2, UnitConfiguration) {
    const Bytes key = from_hex("0123456789abcdef");
    BLOCK_CIPHER_UNIT *unit = new_BLOCK_CIPHER_UNIT();
    ASSERT_EQ(init_BlockCipher(unit, KRY_RC2 | KRY_MODE_CBC, key.data(), nullptr, KRY_ENCRYPT), 0u);
    EXPECT_EQ(unit->effective_bits, 1024u);
    EXPECT_EQ(unit->key_schedule_size, 256u);
    kry::Rc2Schedule expect = schedule_for(key, 1024);
    EXPECT_EQ(std::memcmp(unit->key_schedule, &expect, sizeof expect), 0);
    free_BLOCK_CIPHER_UNIT(unit);
}

TEST_F(Rc2, KeyScheduleFunction) {
    BLOCK_CIPHER_UNIT *unit = ready_unit(KRY_MODE_CBC);
    const BLOCK_KEY_FUNC key_func = kry::cipher::kRc2Modes.key_func;
    ASSERT_EQ(unit->key_func, key_func);
    const Bytes key = from_hex("88bca90e90875a7f");
    const Bytes iv = from_hex("1122334455667788");

    EXPECT_EQ(key_func(unit, key.data(), iv.data(), KRY_DECRYPT), 0u);
    EXPECT_EQ(unit->direction, KRY_DECRYPT);
    EXPECT_EQ(to_hex(unit->feedback, 8), "1122334455667788");
    kry::Rc2Schedule expect = schedule_for(key, 1024);
    EXPECT_EQ(std::memcmp(unit->key_schedule, &expect, sizeof expect), 0);

    // The unit's effective bits are the ones used.
    unit->effective_bits = 64;
    EXPECT_EQ(key_func(unit, key.data(), nullptr, KRY_DECRYPT), 0u);
    kry::Rc2Schedule reduced = schedule_for(key, 64);
    EXPECT_EQ(std::memcmp(unit->key_schedule, &reduced, sizeof reduced), 0);
    unit->effective_bits = 1024;

    // Without a key: 1, IV loaded, direction not stored.
    std::memset(unit->feedback, 0, sizeof unit->feedback);
    EXPECT_EQ(key_func(unit, nullptr, nullptr, KRY_ENCRYPT), 1u);
    EXPECT_EQ(unit->direction, KRY_DECRYPT);
    EXPECT_EQ(to_hex(unit->feedback, 8), "1122334455667788");

    BLOCK_CIPHER_UNIT *bare = new_BLOCK_CIPHER_UNIT();
    EXPECT_EQ(key_func(bare, key.data(), nullptr, KRY_ENCRYPT), kErrKey);
    EXPECT_EQ(key_func(nullptr, key.data(), nullptr, KRY_ENCRYPT), kErrKey);
    free_BLOCK_CIPHER_UNIT(bare);
    free_BLOCK_CIPHER_UNIT(unit);
}

TEST_F(Rc2, KeyScheduleWithoutKeyAfterGateRan) {
    BLOCK_CIPHER_UNIT *unit = ready_unit();
    ASSERT_EQ(test_mode, 1);
    kry::flag_store(initialize_flag, 1);
    EXPECT_EQ(unit->key_func(unit, nullptr, nullptr, KRY_DECRYPT), 0u);
    EXPECT_EQ(initialize_flag, 0);
    EXPECT_EQ(unit->direction, KRY_ENCRYPT);
    EXPECT_EQ(unit->key_func(unit, nullptr, nullptr, KRY_DECRYPT), 1u);
    free_BLOCK_CIPHER_UNIT(unit);
}

TEST_F(Rc2, UnitWithoutKeyFails) {
    BLOCK_CIPHER_UNIT *unit = new_BLOCK_CIPHER_UNIT();
    EXPECT_EQ(init_BlockCipher(unit, KRY_RC2 | KRY_MODE_ECB, nullptr, nullptr, KRY_ENCRYPT), 0x01010001u);
    free_BLOCK_CIPHER_UNIT(unit);
}

TEST_F(Rc2, ModeErrorWords) {
    const auto &m = kry::cipher::kRc2Modes;
    EXPECT_EQ(m.schedule_size, 256u);
    EXPECT_EQ(m.ctr, nullptr);
    BLOCK_CIPHER_UNIT *unit = ready_unit();
    uint8_t buf[8] = {};
    EXPECT_EQ(m.ecb(unit, nullptr, buf, 8), 0x29000001u);
    EXPECT_EQ(m.cbc(unit, buf, nullptr, 8), 0x29000000u);
    EXPECT_EQ(m.cfb(unit, nullptr, buf, 8), 0x29000007u);
    EXPECT_EQ(m.ofb(unit, buf, nullptr, 8), 0x29000006u);
    EXPECT_EQ(m.ecb(nullptr, buf, buf, 8), 0x29000001u);
    free_BLOCK_CIPHER_UNIT(unit);
}

// RC2 has no CTR mode: the set-up answers 1 with only the identifier filled.
TEST_F(Rc2, CtrModeFailsWithOne) {
    const uint8_t key[8] = {1, 2, 3, 4, 5, 6, 7, 8}, iv[8] = {};
    for (uint32_t pad : {0u, KRY_NO_PADDING}) {
        BLOCK_CIPHER_UNIT *unit = new_BLOCK_CIPHER_UNIT();
        EXPECT_EQ(init_BlockCipher(unit, KRY_RC2 | KRY_MODE_CTR | pad, key, iv, KRY_ENCRYPT), 1u);
        EXPECT_EQ(unit->algorithm_id, KRY_RC2);
        EXPECT_EQ(unit->mode_func, nullptr);
        free_BLOCK_CIPHER_UNIT(unit);
    }
    uint8_t out[16];
    uint32_t n = 0;
    EXPECT_EQ(BlockCipher(KRY_RC2 | KRY_MODE_CTR, KRY_ENCRYPT, key, iv, key, 8, out, &n), 1u);
}

// The other modes run through the unit and round-trip.
TEST_F(Rc2, OtherModesRoundTrip) {
    kry_test::TestRng rng(11);
    const Bytes key = rng.bytes(8), iv = rng.bytes(8), pt = rng.bytes(45);
    for (uint32_t mode : {KRY_MODE_ECB, KRY_MODE_CBC, KRY_MODE_CFB, KRY_MODE_OFB}) {
        const uint32_t pad = mode == KRY_MODE_CFB || mode == KRY_MODE_OFB ? KRY_NO_PADDING : 0u;
        auto enc = kry_test::unit_crypt(KRY_RC2 | mode | pad, KRY_ENCRYPT, key, iv, pt);
        ASSERT_EQ(enc.rc, 0u) << mode;
        auto dec = kry_test::unit_crypt(KRY_RC2 | mode | pad, KRY_DECRYPT, key, iv, enc.out);
        ASSERT_EQ(dec.rc, 0u) << mode;
        EXPECT_EQ(dec.out, pt) << mode;
    }
}
