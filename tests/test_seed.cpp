// SEED (RFC 4269): known answers through the block-cipher unit and through
// the internal block functions, the key-schedule function's contract, the
// mode functions' error words, and a differential test of the block
// functions against OpenSSL's SEED-ECB.  SEED is approved, so this file
// stays in proven mode (CTR is not used here).
#include "cipher/seed.h"

#include <kry/blockcipher.h>
#include <kry/error.h>

#include "oracle.h"
#include "test_support.h"

#include <gtest/gtest.h>

#include <cstring>

using kry_test::Bytes;
using kry_test::from_hex;
using kry_test::to_hex;

namespace {

constexpr uint32_t kEcb = KRY_SEED | KRY_MODE_ECB | KRY_NO_PADDING;
constexpr uint32_t kCbc = KRY_SEED | KRY_MODE_CBC | KRY_NO_PADDING;

// One init / update / final pass through a fresh unit.
Bytes through_unit(uint32_t id, uint32_t direction, const Bytes &key, const Bytes &iv, const Bytes &in) {
    BLOCK_CIPHER_UNIT *unit = new_BLOCK_CIPHER_UNIT();
    EXPECT_NE(unit, nullptr);
    EXPECT_EQ(init_BlockCipher(unit, id, key.data(), iv.empty() ? nullptr : iv.data(), direction), 0u);
    Bytes out(in.size() + 32);
    uint32_t n1 = 0, n2 = 0;
    EXPECT_EQ(update_BlockCipher(unit, out.data(), &n1, in.data(), static_cast<int32_t>(in.size())), 0u);
    EXPECT_EQ(final_BlockCipher(unit, out.data() + n1, &n2), 0u);
    out.resize(n1 + n2);
    free_BLOCK_CIPHER_UNIT(unit);
    return out;
}

std::vector<kry_test::VectorBlock> vectors(const std::string &mode) {
    std::vector<kry_test::VectorBlock> out;
    for (auto &v : kry_test::read_vectors("seed.txt"))
        if (v.at("MODE") == mode) out.push_back(v);
    return out;
}

}  // namespace

TEST(Seed, Rfc4269VectorsThroughUnitEcb) {
    auto vs = vectors("ECB");
    ASSERT_EQ(vs.size(), 4u);
    for (auto &v : vs) {
        Bytes key = from_hex(v.at("KEY")), pt = from_hex(v.at("PT")), ct = from_hex(v.at("CT"));
        EXPECT_EQ(to_hex(through_unit(kEcb, KRY_ENCRYPT, key, {}, pt)), v.at("CT"));
        EXPECT_EQ(to_hex(through_unit(kEcb, KRY_DECRYPT, key, {}, ct)), v.at("PT"));
    }
}

TEST(Seed, Rfc4196CbcVectorsThroughUnit) {
    auto vs = vectors("CBC");
    ASSERT_EQ(vs.size(), 2u);
    for (auto &v : vs) {
        Bytes key = from_hex(v.at("KEY")), iv = from_hex(v.at("IV"));
        Bytes pt = from_hex(v.at("PT")), ct = from_hex(v.at("CT"));
        EXPECT_EQ(to_hex(through_unit(kCbc, KRY_ENCRYPT, key, iv, pt)), v.at("CT"));
        EXPECT_EQ(to_hex(through_unit(kCbc, KRY_DECRYPT, key, iv, ct)), v.at("PT"));
    }
}

TEST(Seed, CbcWithPaddingRoundTrip) {
    auto v = vectors("CBC").at(0);
    Bytes key = from_hex(v.at("KEY")), iv = from_hex(v.at("IV")), pt = from_hex(v.at("PT"));
    Bytes ct = through_unit(KRY_SEED | KRY_MODE_CBC, KRY_ENCRYPT, key, iv, pt);
    ASSERT_EQ(ct.size(), pt.size() + 16);  // a whole padding block
    EXPECT_EQ(to_hex(Bytes(ct.begin(), ct.begin() + 32)), v.at("CT"));
    EXPECT_EQ(through_unit(KRY_SEED | KRY_MODE_CBC, KRY_DECRYPT, key, iv, ct), pt);
}

TEST(Seed, BlockFunctionsKnownAnswers) {
    for (auto &v : vectors("ECB")) {
        Bytes key = from_hex(v.at("KEY")), pt = from_hex(v.at("PT")), ct = from_hex(v.at("CT"));
        kry::SEED_SCHEDULE ks;
        kry::seed_set_key(key.data(), ks);
        uint8_t buf[16];
        kry::seed_encrypt_block(pt.data(), buf, ks);
        EXPECT_EQ(to_hex(buf, 16), v.at("CT"));
        kry::seed_decrypt_block(buf, buf, ks);  // in place
        EXPECT_EQ(to_hex(buf, 16), v.at("PT"));
        std::memcpy(buf, pt.data(), 16);
        kry::seed_encrypt_block(buf, buf, ks);
        EXPECT_EQ(to_hex(buf, 16), v.at("CT"));
    }
}

TEST(Seed, BlockFunctionsMatchOpenSsl) {
    kry_test::TestRng rng(0x5EED);
    for (int round = 0; round < 300; round++) {
        Bytes key = rng.bytes(16), pt = rng.bytes(16 * (1 + rng.below(8)));
        Bytes want;
        ASSERT_TRUE(oracle::openssl_cipher("SEED-ECB", key, {}, true, false, pt, want));
        kry::SEED_SCHEDULE ks;
        kry::seed_set_key(key.data(), ks);
        Bytes got(pt.size()), back(pt.size());
        for (size_t i = 0; i < pt.size(); i += 16) {
            kry::seed_encrypt_block(pt.data() + i, got.data() + i, ks);
            kry::seed_decrypt_block(got.data() + i, back.data() + i, ks);
        }
        ASSERT_EQ(to_hex(got), to_hex(want)) << "key " << to_hex(key);
        ASSERT_EQ(back, pt);
    }
}

// One expansion serves both directions, in every mode.
TEST(Seed, SameScheduleForBothDirections) {
    const Bytes key = from_hex("28dbc3bc49ffd87dcfa509b11d422be7");
    kry::SEED_SCHEDULE want;
    kry::seed_set_key(key.data(), want);
    for (uint32_t mode : {KRY_MODE_ECB, KRY_MODE_CBC, KRY_MODE_CFB, KRY_MODE_OFB}) {
        for (uint32_t direction : {KRY_ENCRYPT, KRY_DECRYPT}) {
            BLOCK_CIPHER_UNIT unit{};
            ASSERT_EQ(init_BlockCipher(&unit, KRY_SEED | mode, key.data(), nullptr, direction), 0u);
            ASSERT_EQ(unit.key_schedule_size, sizeof want);
            EXPECT_EQ(std::memcmp(unit.key_schedule, &want, sizeof want), 0) << mode << " " << direction;
            EXPECT_EQ(unit.direction, direction);
            clean_BLOCK_CIPHER_UNIT(&unit);
        }
    }
}

TEST(Seed, KeyScheduleFunctionContract) {
    const Bytes key = from_hex("000102030405060708090a0b0c0d0e0f");
    const Bytes iv = from_hex("f0e1d2c3b4a5968778695a4b3c2d1e0f");
    BLOCK_CIPHER_UNIT unit{};
    ASSERT_EQ(init_BlockCipher(&unit, KRY_SEED | KRY_MODE_OFB, nullptr, nullptr, KRY_ENCRYPT), 0u);
    // A null key leaves the freshly zeroed schedule as it is.
    const Bytes zero(128, 0);
    EXPECT_EQ(std::memcmp(unit.key_schedule, zero.data(), 128), 0);
    // Called again: the IV goes into the IV field and the feedback register,
    // the key is expanded, the direction is stored.
    ASSERT_EQ(unit.key_func(&unit, key.data(), iv.data(), 7), 0u);
    EXPECT_EQ(to_hex(unit.iv, 16), to_hex(iv));
    EXPECT_EQ(to_hex(unit.feedback, 16), to_hex(iv));
    EXPECT_EQ(unit.direction, 7u);
    kry::SEED_SCHEDULE want;
    kry::seed_set_key(key.data(), want);
    EXPECT_EQ(std::memcmp(unit.key_schedule, &want, sizeof want), 0);
    // Without an IV the IV field is copied to the feedback register again.
    std::memset(unit.feedback, 0xAA, 16);
    ASSERT_EQ(unit.key_func(&unit, nullptr, nullptr, 0), 0u);
    EXPECT_EQ(to_hex(unit.feedback, 16), to_hex(iv));
    EXPECT_EQ(unit.direction, 0u);
    clean_BLOCK_CIPHER_UNIT(&unit);
}

TEST(Seed, ModeFunctionErrorWords) {
    const Bytes key(16, 1), iv(16, 2);
    const struct {
        uint32_t mode, word;
    } cases[] = {{KRY_MODE_ECB, 0x05020003}, {KRY_MODE_CBC, 0x05030003}, {KRY_MODE_CFB, 0x05040003},
                 {KRY_MODE_OFB, 0x05050003}};
    for (auto c : cases) {
        BLOCK_CIPHER_UNIT unit{};
        ASSERT_EQ(init_BlockCipher(&unit, KRY_SEED | c.mode | KRY_NO_PADDING, key.data(), iv.data(), KRY_ENCRYPT), 0u);
        uint8_t buf[16] = {};
        EXPECT_EQ(unit.mode_func(&unit, nullptr, buf, 16), c.word);
        EXPECT_EQ(unit.mode_func(&unit, buf, nullptr, 16), c.word);
        void *saved = unit.key_schedule;
        unit.key_schedule = nullptr;
        EXPECT_EQ(unit.mode_func(&unit, buf, buf, 16), c.word);
        unit.key_schedule = saved;
        EXPECT_EQ(unit.mode_func(&unit, buf, buf, 16), 0u);
        clean_BLOCK_CIPHER_UNIT(&unit);
    }
}

// Full-block CFB and OFB through the unit agree with OpenSSL (SEED has no
// CTR there; the generic differential test covers the unit's CTR).
TEST(Seed, StreamModesMatchOpenSsl) {
    kry_test::TestRng rng(0xCFB);
    for (int round = 0; round < 40; round++) {
        Bytes key = rng.bytes(16), iv = rng.bytes(16), pt = rng.bytes(1 + rng.below(100));
        for (auto [mode, name] : {std::pair{KRY_MODE_CFB, "SEED-CFB"}, std::pair{KRY_MODE_OFB, "SEED-OFB"}}) {
            Bytes want;
            ASSERT_TRUE(oracle::openssl_cipher(name, key, iv, true, false, pt, want));
            const uint32_t id = KRY_SEED | mode | KRY_NO_PADDING;
            EXPECT_EQ(to_hex(through_unit(id, KRY_ENCRYPT, key, iv, pt)), to_hex(want)) << name;
            EXPECT_EQ(through_unit(id, KRY_DECRYPT, key, iv, want), pt) << name;
        }
    }
}

// Runs of blocks through the unit (ECB two blocks at a time, CBC encryption
// with the chain in registers, CBC decryption in batches) agree with the
// single-block functions for every count, including odd ones.
TEST(Seed, BlockRunsMatchSingleBlocks) {
    kry_test::TestRng rng(0x5EED2);
    for (int round = 0; round < 40; round++) {
        const size_t n = static_cast<size_t>(1 + round % 19);
        Bytes key = rng.bytes(16), iv = rng.bytes(16), pt = rng.bytes(16 * n);
        kry::SEED_SCHEDULE ks;
        kry::seed_set_key(key.data(), ks);
        Bytes ecb(pt.size()), cbc(pt.size());
        uint8_t chain[16];
        std::memcpy(chain, iv.data(), 16);
        for (size_t i = 0; i < n; i++) {
            kry::seed_encrypt_block(pt.data() + 16 * i, ecb.data() + 16 * i, ks);
            uint8_t x[16];
            for (int j = 0; j < 16; j++) x[j] = pt[16 * i + j] ^ chain[j];
            kry::seed_encrypt_block(x, chain, ks);
            std::memcpy(cbc.data() + 16 * i, chain, 16);
        }
        EXPECT_EQ(to_hex(through_unit(kEcb, KRY_ENCRYPT, key, {}, pt)), to_hex(ecb)) << n;
        EXPECT_EQ(through_unit(kEcb, KRY_DECRYPT, key, {}, ecb), pt) << n;
        EXPECT_EQ(to_hex(through_unit(kCbc, KRY_ENCRYPT, key, iv, pt)), to_hex(cbc)) << n;
        EXPECT_EQ(through_unit(kCbc, KRY_DECRYPT, key, iv, cbc), pt) << n;
    }
}
