// AES (FIPS 197): the FIPS 197 appendix C examples, the SP 800-38A mode
// examples and a sample of the NIST CAVP AESAVS files through the
// block-cipher unit; the key expansions (FIPS 197 appendix A words, the
// equivalent-inverse-cipher layout, the error word); the key-schedule
// function's order of steps and its error words; the mode functions' error
// words; in-place CBC decryption; and the block functions, table-driven and
// on the AES instructions, against OpenSSL's AES-ECB.
#include "cipher/aes.h"
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
using kry_test::unit_crypt;

namespace {

class Aes : public testing::Test {
  protected:
    static void SetUpTestSuite() { ChangeNonProvenMode(); }
    void TearDown() override { kry::aes_use_hardware(true); }
};

// The block-function implementations this processor can run: the tables,
// and the AES instructions when present.
std::vector<bool> implementations() {
    std::vector<bool> v{false};
    if (kry::aes_hardware_available()) v.push_back(true);
    return v;
}
const char *impl_name(bool hw) { return hw ? "AES-NI" : "tables"; }

uint32_t base_of(size_t key_length) {
    return key_length == 16 ? KRY_AES_128 : key_length == 24 ? KRY_AES_192 : KRY_AES_256;
}

// Mode bytes of an aes.txt / CAVP mode name (CFB128 runs as both CFB bytes).
std::vector<uint32_t> modes_of(const std::string &name) {
    if (name == "ECB") return {KRY_MODE_ECB};
    if (name == "CBC") return {KRY_MODE_CBC};
    if (name == "CFB128") return {KRY_MODE_CFB, KRY_MODE_CFB128};
    if (name == "OFB") return {KRY_MODE_OFB};
    if (name == "CTR") return {KRY_MODE_CTR};
    return {};
}

// Encrypts pt and decrypts ct through the unit (no-padding bit), in one
// piece and cut at the given offsets.
void expect_unit(uint32_t id, const Bytes &key, const Bytes &iv, const Bytes &pt, const Bytes &ct,
                 const std::string &what, const std::vector<size_t> &cuts = {}) {
    for (const auto &c : {std::vector<size_t>{}, cuts}) {
        auto e = unit_crypt(id, KRY_ENCRYPT, key, iv, pt, c);
        ASSERT_EQ(e.rc, 0u) << what;
        EXPECT_EQ(to_hex(e.out), to_hex(ct)) << what;
        auto d = unit_crypt(id, KRY_DECRYPT, key, iv, ct, c);
        ASSERT_EQ(d.rc, 0u) << what;
        EXPECT_EQ(to_hex(d.out), to_hex(pt)) << what;
    }
}

Bytes raw_blocks(const Bytes &key, const Bytes &in, bool encrypt) {
    kry::AES_SCHEDULE ks{};
    const uint32_t r = encrypt ? kry::aes_set_encrypt_key(key.data(), static_cast<uint32_t>(key.size()), ks)
                               : kry::aes_set_decrypt_key(key.data(), static_cast<uint32_t>(key.size()), ks);
    EXPECT_EQ(r, 0u);
    Bytes out(in.size());
    for (size_t i = 0; i + 16 <= in.size(); i += 16) {
        if (encrypt)
            kry::aes_encrypt_block(in.data() + i, out.data() + i, ks);
        else
            kry::aes_decrypt_block(in.data() + i, out.data() + i, ks);
    }
    return out;
}

// InvMixColumns of one big-endian column word, straight from FIPS 197
// section 5.3.3.
uint8_t gmul(uint8_t a, uint8_t b) {
    uint8_t r = 0;
    for (; b; b >>= 1) {
        if (b & 1) r ^= a;
        a = static_cast<uint8_t>((a << 1) ^ ((a & 0x80) ? 0x1B : 0));
    }
    return r;
}
uint32_t inv_mix_column(uint32_t w) {
    uint8_t s[4] = {uint8_t(w >> 24), uint8_t(w >> 16), uint8_t(w >> 8), uint8_t(w)};
    static const uint8_t m[4] = {0x0e, 0x0b, 0x0d, 0x09};
    uint32_t out = 0;
    for (int r = 0; r < 4; r++) {
        uint8_t v = 0;
        for (int c = 0; c < 4; c++) v ^= gmul(s[c], m[(c - r + 4) % 4]);
        out = (out << 8) | v;
    }
    return out;
}

}  // namespace

// FIPS 197 appendix C.1-C.3, through the raw block functions and the unit.
TEST_F(Aes, Fips197AppendixC) {
    size_t n = 0;
    for (auto &v : kry_test::read_vectors("aes.txt")) {
        if (v.at("MODE") != "ECB" || v.at("PT") != "00112233445566778899aabbccddeeff") continue;
        Bytes key = from_hex(v.at("KEY")), pt = from_hex(v.at("PT")), ct = from_hex(v.at("CT"));
        for (bool hw : implementations()) {
            kry::aes_use_hardware(hw);
            EXPECT_EQ(to_hex(raw_blocks(key, pt, true)), v.at("CT")) << impl_name(hw);
            EXPECT_EQ(to_hex(raw_blocks(key, ct, false)), v.at("PT")) << impl_name(hw);
            expect_unit(base_of(key.size()) | KRY_MODE_ECB | KRY_NO_PADDING, key, {}, pt, ct, v.at("KEY"));
        }
        n++;
    }
    EXPECT_EQ(n, 3u);
}

// SP 800-38A appendix F: ECB, CBC, CFB128 (as 0x40 and 0x4C), OFB and CTR
// for the three key sizes, whole and in uneven pieces.
TEST_F(Aes, Sp80038aModesThroughUnit) {
    size_t n = 0;
    for (auto &v : kry_test::read_vectors("aes.txt")) {
        Bytes key = from_hex(v.at("KEY")), pt = from_hex(v.at("PT")), ct = from_hex(v.at("CT"));
        Bytes iv = v.count("IV") ? from_hex(v.at("IV")) : Bytes{};
        auto modes = modes_of(v.at("MODE"));
        ASSERT_FALSE(modes.empty()) << v.at("MODE");
        for (bool hw : implementations()) {
            kry::aes_use_hardware(hw);
            for (uint32_t mode : modes) {
                const bool stream = mode != KRY_MODE_ECB && mode != KRY_MODE_CBC;
                const std::vector<size_t> cuts =
                    stream ? std::vector<size_t>{1, 15, 16, 33, 47} : std::vector<size_t>{16, 48};
                expect_unit(base_of(key.size()) | mode | KRY_NO_PADDING, key, iv, pt, ct,
                            v.at("MODE") + " " + v.at("KEY") + " " + impl_name(hw), cuts);
            }
        }
        n++;
    }
    EXPECT_EQ(n, 18u);
}

// A sample of the NIST CAVP AESAVS response files (known-answer and
// multi-block message tests); each entry is checked in both directions.
TEST_F(Aes, CavpSampleThroughUnit) {
    const struct {
        const char *file;
        uint32_t mode;
        size_t entries;  // encryption and decryption sections together
    } files[] = {
        {"ECBGFSbox128", KRY_MODE_ECB, 14},  {"ECBGFSbox192", KRY_MODE_ECB, 12},  {"ECBGFSbox256", KRY_MODE_ECB, 10},
        {"ECBKeySbox128", KRY_MODE_ECB, 42}, {"ECBKeySbox192", KRY_MODE_ECB, 48}, {"ECBKeySbox256", KRY_MODE_ECB, 32},
        {"ECBVarTxt128", KRY_MODE_ECB, 256}, {"ECBVarKey128", KRY_MODE_ECB, 256}, {"ECBMMT256", KRY_MODE_ECB, 20},
        {"CBCMMT128", KRY_MODE_CBC, 20},     {"CBCMMT192", KRY_MODE_CBC, 20},     {"CBCMMT256", KRY_MODE_CBC, 20},
        {"CFB128MMT192", KRY_MODE_CFB, 20},  {"OFBMMT256", KRY_MODE_OFB, 20},
    };
    size_t total = 0;
    for (auto f : files) {
        const std::string name = std::string("cavp/aes/") + f.file + ".rsp";
        size_t n = 0;
        for (auto &v : kry_test::read_vectors(name)) {
            if (!v.count("KEY")) continue;
            Bytes key = from_hex(v.at("KEY")), pt = from_hex(v.at("PLAINTEXT")), ct = from_hex(v.at("CIPHERTEXT"));
            Bytes iv = v.count("IV") ? from_hex(v.at("IV")) : Bytes{};
            const std::string what = name + " COUNT " + v.at("COUNT");
            const uint32_t id = base_of(key.size()) | f.mode | KRY_NO_PADDING;
            for (bool hw : implementations()) {
                kry::aes_use_hardware(hw);
                auto e = unit_crypt(id, KRY_ENCRYPT, key, iv, pt);
                auto d = unit_crypt(id, KRY_DECRYPT, key, iv, ct);
                ASSERT_EQ(e.rc | d.rc, 0u) << what;
                EXPECT_EQ(to_hex(e.out), to_hex(ct)) << what << " " << impl_name(hw);
                EXPECT_EQ(to_hex(d.out), to_hex(pt)) << what << " " << impl_name(hw);
            }
            n++;
        }
        EXPECT_EQ(n, f.entries) << name;
        total += n;
    }
    EXPECT_EQ(total, 790u);
}

// FIPS 197 appendix A: the first expanded and the last round-key words of
// the three key-expansion examples, and the rounds field.
TEST_F(Aes, KeyExpansionAppendixA) {
    const struct {
        const char *key;
        uint32_t first_word, first_value, last_value, rounds;
    } cases[] = {
        {"2b7e151628aed2a6abf7158809cf4f3c", 4, 0xa0fafe17, 0xb6630ca6, 10},
        {"8e73b0f7da0e6452c810f32b809079e562f8ead2522c6b7b", 6, 0xfe0c91f7, 0x01002202, 12},
        {"603deb1015ca71be2b73aef0857d77811f352c073b6108d72d9810a30914dff4", 8, 0x9ba35411, 0x706c631e, 14},
    };
    for (auto &c : cases) {
        Bytes key = from_hex(c.key);
        kry::AES_SCHEDULE ks;
        std::memset(&ks, 0xAA, sizeof ks);
        ASSERT_EQ(kry::aes_set_encrypt_key(key.data(), static_cast<uint32_t>(key.size()), ks), 0u);
        EXPECT_EQ(ks.rounds, c.rounds);
        for (uint32_t i = 0; i < key.size() / 4; i++)  // the key itself, big-endian words
            EXPECT_EQ(ks.rk[i], kry::load32_be(key.data() + 4 * i));
        EXPECT_EQ(ks.rk[c.first_word], c.first_value) << c.key;
        EXPECT_EQ(ks.rk[4 * c.rounds + 3], c.last_value) << c.key;
        for (uint32_t i = 4 * (c.rounds + 1); i < 60; i++) EXPECT_EQ(ks.rk[i], 0u);
    }
}

// The decryption schedule: round keys reversed, InvMixColumns on all but
// the first and last.
TEST_F(Aes, DecryptionScheduleIsEquivalentInverseLayout) {
    kry_test::TestRng rng(197);
    for (uint32_t len : {16u, 24u, 32u}) {
        Bytes key = rng.bytes(len);
        kry::AES_SCHEDULE enc{}, dec{};
        ASSERT_EQ(kry::aes_set_encrypt_key(key.data(), len, enc), 0u);
        ASSERT_EQ(kry::aes_set_decrypt_key(key.data(), len, dec), 0u);
        const uint32_t n = enc.rounds;
        ASSERT_EQ(dec.rounds, n);
        for (uint32_t r = 0; r <= n; r++)
            for (uint32_t k = 0; k < 4; k++) {
                const uint32_t w = enc.rk[4 * (n - r) + k];
                EXPECT_EQ(dec.rk[4 * r + k], (r == 0 || r == n) ? w : inv_mix_column(w)) << len << " " << r;
            }
    }
}

// A key length other than 16, 24 or 32 (only reachable directly) and a null
// key fail both expansions with 0x02010003.
TEST_F(Aes, ExpansionRejectsBadKeys) {
    Bytes key(32, 0x11);
    kry::AES_SCHEDULE ks{};
    for (uint32_t len : {0u, 8u, 15u, 17u, 20u, 23u, 31u, 33u, 64u}) {
        EXPECT_EQ(kry::aes_set_encrypt_key(key.data(), len, ks), 0x02010003u) << len;
        EXPECT_EQ(kry::aes_set_decrypt_key(key.data(), len, ks), 0x02010003u) << len;
    }
    EXPECT_EQ(kry::aes_set_encrypt_key(nullptr, 16, ks), 0x02010003u);
    EXPECT_EQ(kry::aes_set_decrypt_key(nullptr, 16, ks), 0x02010003u);
    EXPECT_EQ(kry::kAesErrInvalidKey, 0x02010003u);
}

// A NULL key: init_BlockCipher fails with 0x01010001; the key-schedule
// function itself answers 0x06010002 after it has taken the IV and the
// direction, and leaves the schedule zero.
TEST_F(Aes, NullKeyFailsAfterIvAndDirection) {
    const Bytes iv = from_hex("000102030405060708090a0b0c0d0e0f");
    for (uint32_t base : {KRY_AES_128, KRY_AES_192, KRY_AES_256}) {
        BLOCK_CIPHER_UNIT *unit = new_BLOCK_CIPHER_UNIT();
        EXPECT_EQ(init_BlockCipher(unit, base | KRY_MODE_CBC, nullptr, iv.data(), KRY_ENCRYPT), 0x01010001u);

        ASSERT_NE(unit->key_func, nullptr);
        ASSERT_NE(unit->key_schedule, nullptr);
        const Bytes other = from_hex("f0f1f2f3f4f5f6f7f8f9fafbfcfdfeff");
        EXPECT_EQ(unit->key_func(unit, nullptr, other.data(), KRY_DECRYPT), 0x06010002u);
        EXPECT_EQ(to_hex(unit->iv, 16), to_hex(other));
        EXPECT_EQ(to_hex(unit->feedback, 16), to_hex(other));
        EXPECT_EQ(unit->direction, KRY_DECRYPT);
        const Bytes zero(244, 0);
        EXPECT_EQ(to_hex(static_cast<const uint8_t *>(unit->key_schedule), unit->key_schedule_size), to_hex(zero));
        free_BLOCK_CIPHER_UNIT(unit);
    }
}

// The key-schedule function builds the decryption schedule only for ECB and
// CBC decryption; a failed expansion gives 0x02010002.
TEST_F(Aes, KeyFunctionChoosesSchedule) {
    const Bytes key = from_hex("000102030405060708090a0b0c0d0e0f1011121314151617");
    kry::AES_SCHEDULE enc{}, dec{};
    ASSERT_EQ(kry::aes_set_encrypt_key(key.data(), 24, enc), 0u);
    ASSERT_EQ(kry::aes_set_decrypt_key(key.data(), 24, dec), 0u);
    for (uint32_t mode : {KRY_MODE_ECB, KRY_MODE_CBC, KRY_MODE_CFB, KRY_MODE_OFB, KRY_MODE_CTR}) {
        for (uint32_t dir : {KRY_ENCRYPT, KRY_DECRYPT}) {
            BLOCK_CIPHER_UNIT *unit = new_BLOCK_CIPHER_UNIT();
            ASSERT_EQ(init_BlockCipher(unit, KRY_AES_192 | mode, key.data(), nullptr, dir), 0u);
            ASSERT_EQ(unit->key_schedule_size, sizeof(kry::AES_SCHEDULE));
            const bool want_dec = dir == KRY_DECRYPT && (mode == KRY_MODE_ECB || mode == KRY_MODE_CBC);
            EXPECT_EQ(std::memcmp(unit->key_schedule, want_dec ? &dec : &enc, sizeof enc), 0) << mode << " " << dir;

            // The expansion failing (a key length the registry never gives).
            unit->key_length = 20;
            EXPECT_EQ(unit->key_func(unit, key.data(), nullptr, dir), 0x02010002u);
            free_BLOCK_CIPHER_UNIT(unit);
        }
    }
}

// Each mode function answers its own word for a null input or output.
TEST_F(Aes, ModeFunctionErrorWords) {
    const struct {
        uint32_t mode, word;
    } cases[] = {{KRY_MODE_ECB, 0x02020003}, {KRY_MODE_CBC, 0x02030003}, {KRY_MODE_CFB, 0x02040003},
                 {KRY_MODE_OFB, 0x02050003}, {KRY_MODE_CTR, 0x02060003}};
    const Bytes key(16, 7), iv(16, 9);
    uint8_t buf[32] = {};
    for (auto c : cases) {
        BLOCK_CIPHER_UNIT *unit = new_BLOCK_CIPHER_UNIT();
        ASSERT_EQ(init_BlockCipher(unit, KRY_AES_128 | c.mode | KRY_NO_PADDING, key.data(), iv.data(), KRY_ENCRYPT),
                  0u);
        EXPECT_EQ(unit->mode_func(unit, nullptr, buf, 16), c.word);
        EXPECT_EQ(unit->mode_func(unit, buf, nullptr, 16), c.word);
        EXPECT_EQ(unit->mode_func(unit, buf, buf, 16), 0u);
        // Without a key schedule.
        void *ks = unit->key_schedule;
        unit->key_schedule = nullptr;
        EXPECT_EQ(unit->mode_func(unit, buf, buf, 16), c.word);
        unit->key_schedule = ks;
        free_BLOCK_CIPHER_UNIT(unit);
    }
}

// CBC decryption in place gives the plaintext of an out-of-place decryption
// (through the unit and through the mode function directly, with a trailing
// partial block for the latter).
TEST_F(Aes, CbcDecryptionInPlace) {
    kry_test::TestRng rng(38);
    for (uint32_t len : {16u, 24u, 32u}) {
        const Bytes key = rng.bytes(len), iv = rng.bytes(16), pt = rng.bytes(160);
        const uint32_t id = base_of(len) | KRY_MODE_CBC | KRY_NO_PADDING;
        auto ct = unit_crypt(id, KRY_ENCRYPT, key, iv, pt);
        ASSERT_EQ(ct.rc, 0u);
        for (bool hw : implementations()) {
            kry::aes_use_hardware(hw);
            BLOCK_CIPHER_UNIT *unit = new_BLOCK_CIPHER_UNIT();
            ASSERT_EQ(init_BlockCipher(unit, id, key.data(), iv.data(), KRY_DECRYPT), 0u);
            Bytes buf = ct.out;
            uint32_t n = 0;
            ASSERT_EQ(update_BlockCipher(unit, buf.data(), &n, buf.data(), static_cast<int32_t>(buf.size())), 0u);
            EXPECT_EQ(n, buf.size());
            EXPECT_EQ(to_hex(buf), to_hex(pt)) << impl_name(hw);
            free_BLOCK_CIPHER_UNIT(unit);

            // The mode function over 150 bytes: separate and identical buffers agree.
            Bytes a(ct.out.begin(), ct.out.begin() + 150), b = a, out(150);
            BLOCK_CIPHER_UNIT *u1 = new_BLOCK_CIPHER_UNIT(), *u2 = new_BLOCK_CIPHER_UNIT();
            ASSERT_EQ(init_BlockCipher(u1, id, key.data(), iv.data(), KRY_DECRYPT), 0u);
            ASSERT_EQ(init_BlockCipher(u2, id, key.data(), iv.data(), KRY_DECRYPT), 0u);
            ASSERT_EQ(u1->mode_func(u1, out.data(), a.data(), 150), 0u);
            ASSERT_EQ(u2->mode_func(u2, b.data(), b.data(), 150), 0u);
            EXPECT_EQ(to_hex(out), to_hex(b));
            EXPECT_EQ(to_hex(Bytes(out.begin(), out.begin() + 144)), to_hex(Bytes(pt.begin(), pt.begin() + 144)));
            EXPECT_EQ(to_hex(u1->feedback, 16), to_hex(u2->feedback, 16));
            free_BLOCK_CIPHER_UNIT(u1);
            free_BLOCK_CIPHER_UNIT(u2);
        }
    }
}

// The raw block functions against OpenSSL's AES-ECB over random keys and
// blocks, for every key size and both implementations; decryption inverts
// encryption, also in place.
TEST_F(Aes, BlockFunctionsMatchOpenSsl) {
    kry_test::TestRng rng(0xAE5);
    for (uint32_t len : {16u, 24u, 32u}) {
        const std::string name = "AES-" + std::to_string(len * 8) + "-ECB";
        for (int trial = 0; trial < 40; trial++) {
            const Bytes key = rng.bytes(len), pt = rng.bytes(16 * (1 + rng.below(8)));
            Bytes expect;
            ASSERT_TRUE(oracle::openssl_cipher(name, key, {}, true, false, pt, expect));
            for (bool hw : implementations()) {
                kry::aes_use_hardware(hw);
                EXPECT_EQ(to_hex(raw_blocks(key, pt, true)), to_hex(expect)) << name << " " << impl_name(hw);
                EXPECT_EQ(to_hex(raw_blocks(key, expect, false)), to_hex(pt)) << name << " " << impl_name(hw);

                kry::AES_SCHEDULE enc{}, dec{};
                ASSERT_EQ(kry::aes_set_encrypt_key(key.data(), len, enc), 0u);
                ASSERT_EQ(kry::aes_set_decrypt_key(key.data(), len, dec), 0u);
                uint8_t block[16];
                std::memcpy(block, pt.data(), 16);
                kry::aes_encrypt_block(block, block, enc);
                EXPECT_EQ(to_hex(block, 16), to_hex(expect.data(), 16));
                kry::aes_decrypt_block(block, block, dec);
                EXPECT_EQ(to_hex(block, 16), to_hex(pt.data(), 16));
            }
        }
    }
}

// Both implementations agree on any schedule content, including rounds
// fields the expansion never writes (they run 10, 12 or 14 rounds).
TEST_F(Aes, ImplementationsAgreeOnAnySchedule) {
    if (!kry::aes_hardware_available()) GTEST_SKIP() << "no AES instructions";
    kry_test::TestRng rng(60);
    for (uint32_t rounds : {0u, 9u, 10u, 11u, 12u, 13u, 14u, 15u, 0xFFFFFFFFu}) {
        kry::AES_SCHEDULE ks;
        Bytes words = rng.bytes(sizeof ks.rk);
        std::memcpy(ks.rk, words.data(), sizeof ks.rk);
        ks.rounds = rounds;
        const Bytes in = rng.bytes(16);
        uint8_t a[16], b[16], c[16], d[16];
        kry::aes_use_hardware(false);
        kry::aes_encrypt_block(in.data(), a, ks);
        kry::aes_decrypt_block(in.data(), c, ks);
        kry::aes_use_hardware(true);
        kry::aes_encrypt_block(in.data(), b, ks);
        kry::aes_decrypt_block(in.data(), d, ks);
        EXPECT_EQ(to_hex(a, 16), to_hex(b, 16)) << rounds;
        EXPECT_EQ(to_hex(c, 16), to_hex(d, 16)) << rounds;
    }
}

// The one-shot call with padding: 16 bytes give 32, and decrypt back.
TEST_F(Aes, PaddedCbcRoundTrip) {
    const Bytes key = from_hex("2b7e151628aed2a6abf7158809cf4f3c"), iv = from_hex("000102030405060708090a0b0c0d0e0f");
    const Bytes pt = from_hex("6bc1bee22e409f96e93d7e117393172a");
    uint8_t ct[48], back[48];
    uint32_t n = 0, m = 0;
    ASSERT_EQ(BlockCipher(KRY_AES_128 | KRY_MODE_CBC, KRY_ENCRYPT, key.data(), iv.data(), pt.data(), 16, ct, &n), 0u);
    ASSERT_EQ(n, 32u);
    EXPECT_EQ(to_hex(ct, 16), "7649abac8119b246cee98e9b12e9197d");  // SP 800-38A F.2.1 block 1
    Bytes expect;
    ASSERT_TRUE(oracle::openssl_cipher("AES-128-CBC", key, iv, true, true, pt, expect));
    EXPECT_EQ(to_hex(ct, n), to_hex(expect));
    ASSERT_EQ(BlockCipher(KRY_AES_128 | KRY_MODE_CBC, KRY_DECRYPT, key.data(), iv.data(), ct, 32, back, &m), 0u);
    EXPECT_EQ(to_hex(back, m), to_hex(pt));
}

// The multi-block functions give the single-block results for any count
// (across the eight-block groups), in place too.
TEST_F(Aes, MultiBlockFunctionsMatchSingleBlock) {
    kry_test::TestRng rng(8);
    for (bool hw : implementations()) {
        kry::aes_use_hardware(hw);
        for (uint32_t len : {16u, 24u, 32u}) {
            const Bytes key = rng.bytes(len);
            kry::AES_SCHEDULE enc{}, dec{};
            ASSERT_EQ(kry::aes_set_encrypt_key(key.data(), len, enc), 0u);
            ASSERT_EQ(kry::aes_set_decrypt_key(key.data(), len, dec), 0u);
            for (size_t n : {0u, 1u, 7u, 8u, 9u, 16u, 23u}) {
                const Bytes pt = rng.bytes(16 * n);
                Bytes one(pt.size()), many(pt.size()), back = pt;
                for (size_t i = 0; i < n; i++) kry::aes_encrypt_block(pt.data() + 16 * i, one.data() + 16 * i, enc);
                kry::aes_encrypt_blocks(pt.data(), many.data(), n, enc);
                EXPECT_EQ(to_hex(many), to_hex(one)) << impl_name(hw) << " " << len << " " << n;
                kry::aes_encrypt_blocks(back.data(), back.data(), n, enc);
                EXPECT_EQ(to_hex(back), to_hex(one));
                kry::aes_decrypt_blocks(back.data(), back.data(), n, dec);
                EXPECT_EQ(to_hex(back), to_hex(pt));
            }
        }
    }
}

// CBC encryption of whole blocks gives the unit's CBC results (SP 800-38A
// F.2) and leaves the last ciphertext block as the chaining value.
TEST_F(Aes, CbcEncryptBlocksMatchesSp80038a) {
    size_t n = 0;
    for (auto &v : kry_test::read_vectors("aes.txt")) {
        if (v.at("MODE") != "CBC") continue;
        const Bytes key = from_hex(v.at("KEY")), pt = from_hex(v.at("PT"));
        for (bool hw : implementations()) {
            kry::aes_use_hardware(hw);
            kry::AES_SCHEDULE ks{};
            ASSERT_EQ(kry::aes_set_encrypt_key(key.data(), static_cast<uint32_t>(key.size()), ks), 0u);
            Bytes chain = from_hex(v.at("IV")), out(pt.size()), inplace = pt;
            kry::aes_cbc_encrypt_blocks(pt.data(), out.data(), 1, chain.data(), ks);  // one block, then three
            kry::aes_cbc_encrypt_blocks(pt.data() + 16, out.data() + 16, 3, chain.data(), ks);
            EXPECT_EQ(to_hex(out), v.at("CT")) << impl_name(hw);
            EXPECT_EQ(to_hex(chain), v.at("CT").substr(96)) << impl_name(hw);
            chain = from_hex(v.at("IV"));
            kry::aes_cbc_encrypt_blocks(inplace.data(), inplace.data(), 4, chain.data(), ks);
            EXPECT_EQ(to_hex(inplace), v.at("CT")) << impl_name(hw);
        }
        n++;
    }
    EXPECT_EQ(n, 3u);
}
