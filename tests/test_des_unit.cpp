// DES and DES-EDE through the block-cipher unit: FIPS 81 / SP 800-20 /
// SP 800-67 known answers and the NIST CAVP TDES multi-block tests (two-
// and three-key ECB, CBC, CFB64, OFB), the two-key/three-key and
// single-DES equivalences, the 64-bit CTR counter, the key-schedule
// functions' subkey orders, the DES-EDE expansion's checks, the mode
// functions' error words, and a differential test of the DES-EDE block
// function against OpenSSL.
#include "cipher/des.h"

#include <kry/blockcipher.h>
#include <kry/error.h>

#include "oracle.h"
#include "test_support.h"

#include <gtest/gtest.h>

#include <cstring>
#include <fstream>

using kry_test::Bytes;
using kry_test::from_hex;
using kry_test::to_hex;

namespace {

class DesUnit : public testing::Test {
  protected:
    static void SetUpTestSuite() { ChangeNonProvenMode(); }
};

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

// The unit's mode byte for a des.txt / CAVP mode name; 0xFF for modes the
// unit does not have (8-bit CFB and OFB).
uint32_t mode_of(const std::string &name) {
    if (name == "ECB") return KRY_MODE_ECB;
    if (name == "CBC") return KRY_MODE_CBC;
    if (name == "CFB64") return KRY_MODE_CFB;
    if (name == "OFB") return KRY_MODE_OFB;
    return 0xFF;
}

void expect_both_directions(uint32_t id, const Bytes &key, const Bytes &iv, const Bytes &pt, const Bytes &ct,
                            const std::string &what) {
    EXPECT_EQ(to_hex(through_unit(id, KRY_ENCRYPT, key, iv, pt)), to_hex(ct)) << what;
    EXPECT_EQ(to_hex(through_unit(id, KRY_DECRYPT, key, iv, ct)), to_hex(pt)) << what;
}

Bytes concat(std::initializer_list<Bytes> parts) {
    Bytes out;
    for (auto &p : parts) out.insert(out.end(), p.begin(), p.end());
    return out;
}

// The unit's key schedule as raw bytes.
Bytes schedule_bytes(const BLOCK_CIPHER_UNIT &unit) {
    const auto *p = static_cast<const uint8_t *>(unit.key_schedule);
    return Bytes(p, p + unit.key_schedule_size);
}

template <class T> Bytes bytes_of_object(const T &obj) {
    const auto *p = reinterpret_cast<const uint8_t *>(&obj);
    return Bytes(p, p + sizeof obj);
}

}  // namespace

TEST_F(DesUnit, Des81AndSp80020VectorsThroughUnit) {
    size_t ecb = 0, chained = 0, skipped = 0;
    for (auto &v : kry_test::read_vectors("des.txt")) {
        if (v.at("ALG") != "DES") continue;
        const uint32_t mode = mode_of(v.at("MODE"));
        if (mode == 0xFF) {
            skipped++;
            continue;
        }
        Bytes key = from_hex(v.at("KEY")), pt = from_hex(v.at("PT")), ct = from_hex(v.at("CT"));
        Bytes iv = v.count("IV") ? from_hex(v.at("IV")) : Bytes{};
        expect_both_directions(KRY_DES | mode | KRY_NO_PADDING, key, iv, pt, ct, v.at("MODE") + " " + v.at("KEY"));
        (mode == KRY_MODE_ECB ? ecb : chained)++;
    }
    EXPECT_GE(ecb, 230u);
    EXPECT_EQ(chained, 3u);  // FIPS 81 CBC, CFB64, OFB
    EXPECT_EQ(skipped, 2u);  // FIPS 81 CFB8, OFB8
}

TEST_F(DesUnit, Sp80067TdeaExampleThroughUnit) {
    size_t n = 0;
    for (auto &v : kry_test::read_vectors("des.txt")) {
        if (v.at("ALG") != "DES-EDE3") continue;
        ASSERT_EQ(v.at("MODE"), "ECB");
        Bytes key = from_hex(v.at("KEY")), pt = from_hex(v.at("PT")), ct = from_hex(v.at("CT"));
        ASSERT_EQ(key.size(), 24u);
        for (uint32_t base : {KRY_DES_EDE3, KRY_DES_EDE3_B})
            expect_both_directions(base | KRY_MODE_ECB | KRY_NO_PADDING, key, {}, pt, ct, "SP 800-67");
        n++;
    }
    EXPECT_EQ(n, 1u);
}

// NIST CAVP TDES multi-block message tests: *MMT2 are two-key (KEY3 = KEY1,
// run as the 16-byte key KEY1||KEY2), *MMT3 three-key.
TEST_F(DesUnit, CavpTdesMultiBlockThroughUnit) {
    const struct {
        const char *file;
        uint32_t mode;
    } files[] = {{"TECBMMT", KRY_MODE_ECB}, {"TCBCMMT", KRY_MODE_CBC}, {"TCFB64MMT", KRY_MODE_CFB},
                 {"TOFBMMT", KRY_MODE_OFB}};
    size_t total = 0;
    for (auto f : files) {
        for (int keys : {2, 3}) {
            const std::string name = std::string("cavp/tdes/") + f.file + std::to_string(keys) + ".rsp";
            size_t n = 0;
            for (auto &v : kry_test::read_vectors(name)) {
                if (!v.count("KEY1")) continue;
                Bytes k1 = from_hex(v.at("KEY1")), k2 = from_hex(v.at("KEY2")), k3 = from_hex(v.at("KEY3"));
                Bytes iv = v.count("IV") ? from_hex(v.at("IV")) : Bytes{};
                Bytes pt = from_hex(v.at("PLAINTEXT")), ct = from_hex(v.at("CIPHERTEXT"));
                const std::string what = name + " COUNT " + v.at("COUNT");
                if (keys == 2) {
                    ASSERT_EQ(k3, k1) << what;
                    expect_both_directions(KRY_DES_EDE2 | f.mode | KRY_NO_PADDING, concat({k1, k2}), iv, pt, ct,
                                           what);
                }
                expect_both_directions(KRY_DES_EDE3 | f.mode | KRY_NO_PADDING, concat({k1, k2, k3}), iv, pt, ct,
                                       what);
                n++;
            }
            EXPECT_EQ(n, 20u) << name;  // ten encrypt and ten decrypt entries
            total += n;
        }
    }
    EXPECT_EQ(total, 160u);
}

// K1 = K2 = K3 collapses EDE to single DES, in every mode.
TEST_F(DesUnit, EdeWithEqualKeysIsSingleDes) {
    kry_test::TestRng rng(0xDE5);
    for (int round = 0; round < 20; round++) {
        Bytes k = rng.bytes(8), iv = rng.bytes(8), pt = rng.bytes(8 * (1 + rng.below(6)));
        for (uint32_t mode : {KRY_MODE_ECB, KRY_MODE_CBC, KRY_MODE_CFB, KRY_MODE_OFB, KRY_MODE_CTR}) {
            Bytes des = through_unit(KRY_DES | mode | KRY_NO_PADDING, KRY_ENCRYPT, k, iv, pt);
            EXPECT_EQ(through_unit(KRY_DES_EDE3 | mode | KRY_NO_PADDING, KRY_ENCRYPT, concat({k, k, k}), iv, pt), des);
            EXPECT_EQ(through_unit(KRY_DES_EDE2 | mode | KRY_NO_PADDING, KRY_ENCRYPT, concat({k, k}), iv, pt), des);
            EXPECT_EQ(through_unit(KRY_DES_EDE3 | mode | KRY_NO_PADDING, KRY_DECRYPT, concat({k, k, k}), iv, des),
                      pt);
        }
    }
}

// The 16-byte key K1||K2 is the 24-byte key K1||K2||K1, with and without
// padding, in both directions.
TEST_F(DesUnit, TwoKeyEqualsThreeKeyWithK3EqualK1) {
    kry_test::TestRng rng(0x2E3);
    for (int round = 0; round < 20; round++) {
        Bytes k1 = rng.bytes(8), k2 = rng.bytes(8), iv = rng.bytes(8), pt = rng.bytes(1 + rng.below(40));
        for (uint32_t mode : {KRY_MODE_ECB, KRY_MODE_CBC}) {
            Bytes two = through_unit(KRY_DES_EDE2 | mode, KRY_ENCRYPT, concat({k1, k2}), iv, pt);
            EXPECT_EQ(through_unit(KRY_DES_EDE3 | mode, KRY_ENCRYPT, concat({k1, k2, k1}), iv, pt), two);
            EXPECT_EQ(through_unit(KRY_DES_EDE3_B | mode, KRY_DECRYPT, concat({k1, k2, k1}), iv, two), pt);
            EXPECT_EQ(through_unit(KRY_DES_EDE2 | mode, KRY_DECRYPT, concat({k1, k2}), iv, two), pt);
        }
    }
}

// The 8-byte counter block is a 64-bit big-endian number: FF..FF wraps to
// 00..00, and a carry crosses the middle of the block.
TEST_F(DesUnit, CtrCounterWrapsAsSixtyFourBits) {
    const struct {
        const char *iv, *next;
    } cases[] = {{"ffffffffffffffff", "0000000000000000"},
                 {"00000000ffffffff", "0000000100000000"},
                 {"0123456789abcdef", "0123456789abcdf0"}};
    const Bytes key = from_hex("0123456789abcdef"), key3 = from_hex("0123456789abcdef23456789abcdef01456789abcdef0123");
    for (auto c : cases) {
        for (auto [id, k] : {std::pair{KRY_DES, key}, std::pair{KRY_DES_EDE3, key3}}) {
            const Bytes iv = from_hex(c.iv);
            BLOCK_CIPHER_UNIT *unit = new_BLOCK_CIPHER_UNIT();
            ASSERT_EQ(init_BlockCipher(unit, id | KRY_MODE_CTR | KRY_NO_PADDING, k.data(), iv.data(), KRY_ENCRYPT), 0u);
            const Bytes zero(8, 0);
            uint8_t out[8];
            uint32_t n = 0;
            ASSERT_EQ(update_BlockCipher(unit, out, &n, zero.data(), 8), 0u);
            ASSERT_EQ(n, 8u);
            EXPECT_EQ(to_hex(unit->feedback, 8), c.next) << c.iv;
            // The first keystream block is the encryption of the IV itself.
            EXPECT_EQ(to_hex(out, 8), to_hex(through_unit(id | KRY_MODE_ECB | KRY_NO_PADDING, KRY_ENCRYPT, k, {}, iv)));
            free_BLOCK_CIPHER_UNIT(unit);
        }
    }
}

// DES: encryption order except for ECB and CBC decryption; the stream
// modes use the encryption order in both directions.
TEST_F(DesUnit, DesKeyScheduleOrder) {
    const Bytes key = from_hex("133457799bbcdff1");
    kry::DesKeySchedule enc, dec;
    kry::des_set_key(enc, key.data(), kry::DesOrder::encrypt);
    kry::des_set_key(dec, key.data(), kry::DesOrder::decrypt);
    for (uint32_t mode : {KRY_MODE_ECB, KRY_MODE_CBC, KRY_MODE_CFB, KRY_MODE_OFB, KRY_MODE_CTR}) {
        for (uint32_t direction : {KRY_ENCRYPT, KRY_DECRYPT}) {
            BLOCK_CIPHER_UNIT unit{};
            ASSERT_EQ(init_BlockCipher(&unit, KRY_DES | mode, key.data(), nullptr, direction), 0u);
            ASSERT_EQ(unit.key_schedule_size, 128u);
            const bool decrypt_order = direction == KRY_DECRYPT && (mode == KRY_MODE_ECB || mode == KRY_MODE_CBC);
            EXPECT_EQ(schedule_bytes(unit), bytes_of_object(decrypt_order ? dec : enc)) << mode << " " << direction;
            EXPECT_EQ(unit.direction, direction);
            clean_BLOCK_CIPHER_UNIT(&unit);
        }
    }
}

// DES-EDE: the three passes' schedules in the order the passes use them.
TEST_F(DesUnit, DesEdeKeyScheduleArrangement) {
    const Bytes key = from_hex("0123456789abcdef23456789abcdef01456789abcdef0123");
    const uint8_t *k1 = key.data(), *k2 = key.data() + 8, *k3 = key.data() + 16;
    using kry::DesOrder;
    auto make = [](const uint8_t *a, DesOrder oa, const uint8_t *b, DesOrder ob, const uint8_t *c, DesOrder oc) {
        kry::DesEdeKeySchedule ks;
        kry::des_set_key(ks.pass[0], a, oa);
        kry::des_set_key(ks.pass[1], b, ob);
        kry::des_set_key(ks.pass[2], c, oc);
        return bytes_of_object(ks);
    };
    const Bytes enc = make(k1, DesOrder::encrypt, k2, DesOrder::decrypt, k3, DesOrder::encrypt);
    const Bytes dec = make(k3, DesOrder::decrypt, k2, DesOrder::encrypt, k1, DesOrder::decrypt);
    for (uint32_t mode : {KRY_MODE_ECB, KRY_MODE_CBC, KRY_MODE_CFB, KRY_MODE_OFB, KRY_MODE_CTR}) {
        for (uint32_t direction : {KRY_ENCRYPT, KRY_DECRYPT}) {
            BLOCK_CIPHER_UNIT unit{};
            ASSERT_EQ(init_BlockCipher(&unit, KRY_DES_EDE3 | mode, key.data(), nullptr, direction), 0u);
            ASSERT_EQ(unit.key_schedule_size, 384u);
            const bool decrypt_order = direction == KRY_DECRYPT && (mode == KRY_MODE_ECB || mode == KRY_MODE_CBC);
            EXPECT_EQ(schedule_bytes(unit), decrypt_order ? dec : enc) << mode << " " << direction;
            clean_BLOCK_CIPHER_UNIT(&unit);
        }
    }
    // Two-key: K3 is K1.
    BLOCK_CIPHER_UNIT unit{};
    ASSERT_EQ(init_BlockCipher(&unit, KRY_DES_EDE2 | KRY_MODE_CBC, key.data(), nullptr, KRY_DECRYPT), 0u);
    EXPECT_EQ(schedule_bytes(unit), make(k1, DesOrder::decrypt, k2, DesOrder::encrypt, k1, DesOrder::decrypt));
    clean_BLOCK_CIPHER_UNIT(&unit);
}

TEST_F(DesUnit, DesEdeExpansionChecks) {
    const Bytes key = from_hex("0123456789abcdef23456789abcdef01456789abcdef0123");
    kry::DesEdeKeySchedule ks;
    std::memset(&ks, 0xA5, sizeof ks);
    const Bytes untouched = bytes_of_object(ks);
    for (uint32_t length : {0u, 1u, 8u, 15u, 17u, 23u, 25u, 32u})
        EXPECT_EQ(kry::des_ede_set_key(key.data(), length, ks, 1), 1u) << length;
    EXPECT_EQ(bytes_of_object(ks), untouched);
    for (uint32_t direction : {2u, 3u, 0xFFFFFFFFu}) {
        EXPECT_EQ(kry::des_ede_set_key(key.data(), 24, ks, direction), 0u);
        EXPECT_EQ(kry::des_ede_set_key(key.data(), 16, ks, direction), 0u);
    }
    EXPECT_EQ(bytes_of_object(ks), untouched);
    EXPECT_EQ(kry::des_ede_set_key(key.data(), 24, ks, 1), 0u);
    EXPECT_NE(bytes_of_object(ks), untouched);
}

// A null key leaves the schedule zero and still succeeds; the IV goes to
// the IV field and the feedback register.
TEST_F(DesUnit, KeyScheduleFunctionWithoutKey) {
    const Bytes iv = from_hex("1234567890abcdef");
    for (uint32_t base : {KRY_DES, KRY_DES_EDE2, KRY_DES_EDE3}) {
        BLOCK_CIPHER_UNIT unit{};
        ASSERT_EQ(init_BlockCipher(&unit, base | KRY_MODE_OFB, nullptr, iv.data(), KRY_ENCRYPT), 0u);
        EXPECT_EQ(schedule_bytes(unit), Bytes(unit.key_schedule_size, 0));
        EXPECT_EQ(to_hex(unit.iv, 8), to_hex(iv));
        EXPECT_EQ(to_hex(unit.feedback, 8), to_hex(iv));
        std::memset(unit.feedback, 0, sizeof unit.feedback);
        EXPECT_EQ(unit.key_func(&unit, nullptr, nullptr, 5), 0u);
        EXPECT_EQ(to_hex(unit.feedback, 8), to_hex(iv));
        EXPECT_EQ(unit.direction, 5u);
        clean_BLOCK_CIPHER_UNIT(&unit);
    }
}

TEST_F(DesUnit, ModeFunctionErrorWords) {
    const Bytes key(24, 0x3C), iv(8, 1);
    const uint32_t modes[] = {KRY_MODE_ECB, KRY_MODE_CBC, KRY_MODE_CFB, KRY_MODE_OFB, KRY_MODE_CTR};
    for (auto [base, library] : {std::pair{KRY_DES, 0x03u}, std::pair{KRY_DES_EDE2, 0x04u},
                                 std::pair{KRY_DES_EDE3, 0x04u}, std::pair{KRY_DES_EDE3_B, 0x04u}}) {
        for (uint32_t m = 0; m < 5; m++) {
            const uint32_t word = library << 24 | (m + 2) << 16 | 3;
            BLOCK_CIPHER_UNIT unit{};
            ASSERT_EQ(init_BlockCipher(&unit, base | modes[m] | KRY_NO_PADDING, key.data(), iv.data(), KRY_ENCRYPT), 0u);
            uint8_t buf[8] = {};
            EXPECT_EQ(unit.mode_func(&unit, nullptr, buf, 8), word);
            EXPECT_EQ(unit.mode_func(&unit, buf, nullptr, 8), word);
            void *saved = unit.key_schedule;
            unit.key_schedule = nullptr;
            EXPECT_EQ(unit.mode_func(&unit, buf, buf, 8), word);
            unit.key_schedule = saved;
            EXPECT_EQ(unit.mode_func(&unit, buf, buf, 8), 0u);
            clean_BLOCK_CIPHER_UNIT(&unit);
        }
    }
}

// The EDE block function against OpenSSL's two- and three-key ECB.
TEST_F(DesUnit, EdeBlockFunctionMatchesOpenSsl) {
    kry_test::TestRng rng(0x3DE5);
    for (int round = 0; round < 200; round++) {
        const bool three = round % 2 == 0;
        Bytes key = rng.bytes(three ? 24 : 16), pt = rng.bytes(8 * (1 + rng.below(4)));
        Bytes want;
        ASSERT_TRUE(oracle::openssl_cipher(three ? "DES-EDE3-ECB" : "DES-EDE-ECB", key, {}, true, false, pt, want));
        kry::DesEdeKeySchedule enc, dec;
        ASSERT_EQ(kry::des_ede_set_key(key.data(), static_cast<uint32_t>(key.size()), enc, 1), 0u);
        ASSERT_EQ(kry::des_ede_set_key(key.data(), static_cast<uint32_t>(key.size()), dec, 0), 0u);
        Bytes got(pt.size()), back(pt.size());
        for (size_t i = 0; i < pt.size(); i += 8) {
            kry::des_ede_block(enc, pt.data() + i, got.data() + i);
            kry::des_ede_block(dec, got.data() + i, back.data() + i);
        }
        ASSERT_EQ(to_hex(got), to_hex(want)) << to_hex(key);
        ASSERT_EQ(back, pt);
        // in place
        kry::des_ede_block(enc, pt.data(), pt.data());
        ASSERT_EQ(to_hex(pt.data(), 8), to_hex(want.data(), 8));
    }
}
