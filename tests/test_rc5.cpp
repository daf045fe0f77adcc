// RC5-32/12/16 (RFC 2040): the paper's known answers through the block
// functions and through the block-cipher unit, the key-schedule function's
// results, the mode functions' error words, and a differential test of the
// block functions against Crypto++.
#include "cipher/modes.h"
#include "cipher/rc5.h"
#include "foundation/common.h"

#include <kry/blockcipher.h>
#include <kry/error.h>

#include "cipher_util.h"
#include "oracle_cryptopp.h"
#include "test_support.h"

#include <gtest/gtest.h>

#include <cstring>

using kry_test::Bytes;
using kry_test::from_hex;
using kry_test::to_hex;

namespace {

constexpr uint32_t kEcb = KRY_RC5 | KRY_MODE_ECB | KRY_NO_PADDING;
constexpr uint32_t kErrKey = 0x08010002;

class Rc5 : public ::testing::Test {
  protected:
    static void SetUpTestSuite() { ChangeNonProvenMode(); }
};

kry::Rc5Schedule schedule_for(const Bytes &key) {
    kry::Rc5Schedule ks{};
    EXPECT_EQ(kry::rc5_set_key(&ks, key.data(), static_cast<uint32_t>(key.size())), 0u);
    return ks;
}

// A unit set up for RC5-ECB encryption with a zero key.
BLOCK_CIPHER_UNIT *ready_unit(uint32_t mode = KRY_MODE_ECB) {
    BLOCK_CIPHER_UNIT *unit = new_BLOCK_CIPHER_UNIT();
    const uint8_t key[16] = {}, iv[8] = {};
    EXPECT_EQ(init_BlockCipher(unit, KRY_RC5 | mode | KRY_NO_PADDING, key, iv, KRY_ENCRYPT), 0u);
    return unit;
}

}  // namespace

TEST_F(Rc5, PaperVectorsThroughBlockFunctions) {
    auto vs = kry_test::read_vectors("rc5.txt");
    ASSERT_EQ(vs.size(), 5u);
    for (auto &v : vs) {
        ASSERT_EQ(v.at("ROUNDS"), "12");
        Bytes key = from_hex(v.at("KEY")), pt = from_hex(v.at("PT")), ct = from_hex(v.at("CT"));
        kry::Rc5Schedule ks = schedule_for(key);
        uint8_t out[8];
        kry::rc5_encrypt_block(ks, pt.data(), out);
        EXPECT_EQ(to_hex(out, 8), v.at("CT")) << "key " << v.at("KEY");
        kry::rc5_decrypt_block(ks, ct.data(), out);
        EXPECT_EQ(to_hex(out, 8), v.at("PT")) << "key " << v.at("KEY");
    }
}

TEST_F(Rc5, PaperVectorsThroughUnitEcb) {
    for (auto &v : kry_test::read_vectors("rc5.txt")) {
        Bytes key = from_hex(v.at("KEY")), pt = from_hex(v.at("PT")), ct = from_hex(v.at("CT"));
        auto enc = kry_test::unit_crypt(kEcb, KRY_ENCRYPT, key, {}, pt);
        EXPECT_EQ(enc.rc, 0u);
        EXPECT_EQ(to_hex(enc.out), v.at("CT"));
        auto dec = kry_test::unit_crypt(kEcb, KRY_DECRYPT, key, {}, ct);
        EXPECT_EQ(dec.rc, 0u);
        EXPECT_EQ(to_hex(dec.out), v.at("PT"));
    }
}

// The five examples are chained: each ciphertext is the next plaintext.
TEST_F(Rc5, PaperVectorsChain) {
    auto vs = kry_test::read_vectors("rc5.txt");
    for (size_t i = 1; i < vs.size(); i++)
        EXPECT_EQ(vs[i].at("PT"), vs[i - 1].at("CT"));
}

TEST_F(Rc5, ScheduleLayout) {
    const Bytes key(16, 0x5A);
    kry::Rc5Schedule ks;
    std::memset(&ks, 0xCC, sizeof ks);
    ASSERT_EQ(kry::rc5_set_key(&ks, key.data(), 16), 0u);
    EXPECT_EQ(ks.rounds, 12u);
    for (uint32_t i = 26; i < kry::kRc5MaxWords; i++)
        EXPECT_EQ(ks.s[i], 0u) << i;  // 2 * (12 + 1) words in use

    BLOCK_CIPHER_UNIT *unit = ready_unit();
    EXPECT_EQ(unit->key_schedule_size, 140u);
    kry::Rc5Schedule in_unit;
    std::memcpy(&in_unit, unit->key_schedule, sizeof in_unit);
    EXPECT_EQ(in_unit.rounds, 12u);
    free_BLOCK_CIPHER_UNIT(unit);
}

TEST_F(Rc5, SetKeyArguments) {
    kry::Rc5Schedule ks{};
    const uint8_t key[256] = {};
    EXPECT_EQ(kry::rc5_set_key(nullptr, key, 16), kErrKey);
    EXPECT_EQ(kry::rc5_set_key(&ks, nullptr, 16), kErrKey);
    EXPECT_EQ(kry::rc5_set_key(&ks, key, 256), kErrKey);
    EXPECT_EQ(kry::rc5_set_key(&ks, key, 255), 0u);
    EXPECT_EQ(kry::rc5_set_key(&ks, key, 0), 0u);  // RFC 2040 allows an empty key
    // An empty key and a key of zero bytes in one word expand alike (c = 1).
    kry::Rc5Schedule one{};
    EXPECT_EQ(kry::rc5_set_key(&one, key, 1), 0u);
    EXPECT_EQ(std::memcmp(&ks, &one, sizeof ks), 0);
}

TEST_F(Rc5, InPlaceBlocks) {
    kry_test::TestRng rng(51);
    kry::Rc5Schedule ks = schedule_for(rng.bytes(16));
    Bytes block = rng.bytes(8), copy = block;
    uint8_t expect[8];
    kry::rc5_encrypt_block(ks, block.data(), expect);
    kry::rc5_encrypt_block(ks, block.data(), block.data());
    EXPECT_EQ(std::memcmp(block.data(), expect, 8), 0);
    kry::rc5_decrypt_block(ks, block.data(), block.data());
    EXPECT_EQ(block, copy);
}

// A rounds field above 16 (the record is reachable through the unit) is
// capped instead of reading past the table.
TEST_F(Rc5, CorruptRoundsStayInBounds) {
    kry::Rc5Schedule ks = schedule_for(Bytes(16, 1));
    ks.rounds = 0xFFFFFFFF;
    uint8_t block[8] = {};
    kry::rc5_encrypt_block(ks, block, block);
    kry::rc5_decrypt_block(ks, block, block);
    EXPECT_EQ(to_hex(block, 8), "0000000000000000");
}

TEST_F(Rc5, KeyScheduleFunction) {
    BLOCK_CIPHER_UNIT *unit = ready_unit(KRY_MODE_CBC);
    const BLOCK_KEY_FUNC key_func = kry::cipher::kRc5Modes.key_func;
    ASSERT_EQ(unit->key_func, key_func);
    const Bytes key = from_hex("915f4619be41b2516355a50110a9ce91");
    const Bytes iv = from_hex("0102030405060708");

    // With a key: expanded into the unit, IV loaded, direction stored.
    EXPECT_EQ(key_func(unit, key.data(), iv.data(), KRY_DECRYPT), 0u);
    EXPECT_EQ(unit->direction, KRY_DECRYPT);
    EXPECT_EQ(to_hex(unit->iv, 8), "0102030405060708");
    EXPECT_EQ(to_hex(unit->feedback, 8), "0102030405060708");
    kry::Rc5Schedule expect = schedule_for(key);
    EXPECT_EQ(std::memcmp(unit->key_schedule, &expect, sizeof expect), 0);

    // Without a key: 1, the IV still loaded, the direction left alone.
    std::memset(unit->feedback, 0, sizeof unit->feedback);
    EXPECT_EQ(key_func(unit, nullptr, nullptr, KRY_ENCRYPT), 1u);
    EXPECT_EQ(unit->direction, KRY_DECRYPT);
    EXPECT_EQ(to_hex(unit->feedback, 8), "0102030405060708");
    EXPECT_EQ(std::memcmp(unit->key_schedule, &expect, sizeof expect), 0);

    // A unit without a schedule cannot be keyed.
    BLOCK_CIPHER_UNIT *bare = new_BLOCK_CIPHER_UNIT();
    bare->iv_length = 8;
    EXPECT_EQ(key_func(bare, key.data(), nullptr, KRY_ENCRYPT), kErrKey);
    EXPECT_EQ(key_func(nullptr, key.data(), nullptr, KRY_ENCRYPT), kErrKey);
    free_BLOCK_CIPHER_UNIT(bare);
    free_BLOCK_CIPHER_UNIT(unit);
}

// When this very call runs the module start-up through the test-mode gate,
// a missing key gives the gate's 0 instead of 1.
TEST_F(Rc5, KeyScheduleWithoutKeyAfterGateRan) {
    BLOCK_CIPHER_UNIT *unit = ready_unit();
    ASSERT_EQ(test_mode, 1);
    kry::flag_store(initialize_flag, 1);
    EXPECT_EQ(unit->key_func(unit, nullptr, nullptr, KRY_DECRYPT), 0u);
    EXPECT_EQ(initialize_flag, 0);
    EXPECT_EQ(unit->direction, KRY_ENCRYPT);  // still not stored
    EXPECT_EQ(unit->key_func(unit, nullptr, nullptr, KRY_DECRYPT), 1u);
    free_BLOCK_CIPHER_UNIT(unit);
}

// Through the unit a missing key fails the set-up: the unit's own gate has
// already run, so the key-schedule function answers 1.
TEST_F(Rc5, UnitWithoutKeyFails) {
    for (uint32_t mode : {KRY_MODE_ECB, KRY_MODE_CBC, KRY_MODE_CFB, KRY_MODE_OFB, KRY_MODE_CTR}) {
        BLOCK_CIPHER_UNIT *unit = new_BLOCK_CIPHER_UNIT();
        EXPECT_EQ(init_BlockCipher(unit, KRY_RC5 | mode, nullptr, nullptr, KRY_ENCRYPT), 0x01010001u) << mode;
        free_BLOCK_CIPHER_UNIT(unit);
    }
}

TEST_F(Rc5, ModeErrorWords) {
    const auto &m = kry::cipher::kRc5Modes;
    EXPECT_EQ(m.schedule_size, 140u);
    BLOCK_CIPHER_UNIT *unit = ready_unit();
    uint8_t buf[8] = {};
    EXPECT_EQ(m.ecb(unit, nullptr, buf, 8), 0x08020003u);
    EXPECT_EQ(m.cbc(unit, buf, nullptr, 8), 0x08030003u);
    EXPECT_EQ(m.cfb(unit, nullptr, buf, 8), 0x08040003u);
    EXPECT_EQ(m.ofb(unit, buf, nullptr, 8), 0x08050003u);
    ASSERT_NE(m.ctr, nullptr);
    EXPECT_EQ(m.ctr(unit, nullptr, buf, 8), 0x08060003u);
    BLOCK_CIPHER_UNIT *bare = new_BLOCK_CIPHER_UNIT();  // no schedule
    EXPECT_EQ(m.ecb(bare, buf, buf, 8), 0x08020003u);
    EXPECT_EQ(m.ctr(nullptr, buf, buf, 8), 0x08060003u);
    free_BLOCK_CIPHER_UNIT(bare);
    free_BLOCK_CIPHER_UNIT(unit);
}

// CTR's 8-byte counter block counts as a 64-bit big-endian number: after
// FF..FF comes 00..00.
TEST_F(Rc5, CtrCounterWraps) {
    const Bytes key = from_hex("5269f149d41ba0152497574d7f153125");
    const Bytes iv(8, 0xFF);
    auto r = kry_test::unit_crypt(KRY_RC5 | KRY_MODE_CTR | KRY_NO_PADDING, KRY_ENCRYPT, key, iv, Bytes(16, 0));
    ASSERT_EQ(r.rc, 0u);
    kry::Rc5Schedule ks = schedule_for(key);
    uint8_t first[8], second[8];
    const uint8_t ones[8] = {0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF}, zeros[8] = {};
    kry::rc5_encrypt_block(ks, ones, first);
    kry::rc5_encrypt_block(ks, zeros, second);
    EXPECT_EQ(to_hex(r.out), to_hex(first, 8) + to_hex(second, 8));
}

TEST_F(Rc5, BlockFunctionsMatchCryptopp) {
#ifndef KRY_TEST_CRYPTOPP
    GTEST_SKIP() << "built without the Crypto++ oracle";
#else
    kry_test::TestRng rng(0x5C5C);
    for (int n = 0; n < 2000; n++) {
        Bytes key = rng.bytes(16), block = rng.bytes(8);
        kry::Rc5Schedule ks = schedule_for(key);
        uint8_t mine[8], theirs[8];
        kry::rc5_encrypt_block(ks, block.data(), mine);
        ASSERT_TRUE(oracle::cryptopp_rc5_ecb(key.data(), block.data(), theirs, true));
        ASSERT_EQ(to_hex(mine, 8), to_hex(theirs, 8)) << "key " << to_hex(key);
        kry::rc5_decrypt_block(ks, block.data(), mine);
        ASSERT_TRUE(oracle::cryptopp_rc5_ecb(key.data(), block.data(), theirs, false));
        ASSERT_EQ(to_hex(mine, 8), to_hex(theirs, 8)) << "key " << to_hex(key);
    }
#endif
}

// Many blocks in one unit call agree with the block function (ECB) and
// decrypt back.
TEST_F(Rc5, UnitEcbMatchesBlockFunction) {
    kry_test::TestRng rng(7);
    for (int n = 0; n < 50; n++) {
        Bytes key = rng.bytes(16), pt = rng.bytes(8 * (1 + rng.below(20)));
        kry::Rc5Schedule ks = schedule_for(key);
        Bytes expect(pt.size());
        for (size_t i = 0; i < pt.size(); i += 8) kry::rc5_encrypt_block(ks, pt.data() + i, expect.data() + i);
        auto enc = kry_test::unit_crypt(kEcb, KRY_ENCRYPT, key, {}, pt);
        ASSERT_EQ(enc.rc, 0u);
        EXPECT_EQ(enc.out, expect);
        auto dec = kry_test::unit_crypt(kEcb, KRY_DECRYPT, key, {}, enc.out);
        ASSERT_EQ(dec.rc, 0u);
        EXPECT_EQ(dec.out, pt);
    }
}
