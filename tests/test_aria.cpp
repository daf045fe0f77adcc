// ARIA (KS X 1213, RFC 5794): the RFC 5794 appendix A examples through the
// block functions and the unit, the KISA mode vectors (ECB, CBC, CTR, CFB,
// OFB) through the unit, the key expansions (rounds, the decryption round
// keys against the diffusion layer written from the RFC's equations, the
// error word), the key-schedule function (a NULL key is accepted, a failed
// expansion), the mode functions' error words, in-place CBC decryption, and
// the block functions against OpenSSL's ARIA-ECB, table-driven and on the
// GFNI instructions.  CTR needs non-proven mode; the proven-mode behaviour is
// in test_aria_proven.cpp.
#include "cipher/aria.h"

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

class Aria : public testing::Test {
  protected:
    static void SetUpTestSuite() { ChangeNonProvenMode(); }
    void TearDown() override { kry::aria_use_hardware(true); }
};

// The block-function implementations this processor can run: the tables,
// and the GFNI instructions when present.
std::vector<bool> implementations() {
    std::vector<bool> v{false};
    if (kry::aria_hardware_available()) v.push_back(true);
    return v;
}
const char *impl_name(bool hw) { return hw ? "GFNI" : "tables"; }

uint32_t base_of(size_t key_length) {
    return key_length == 16 ? KRY_ARIA_128 : key_length == 24 ? KRY_ARIA_192 : KRY_ARIA_256;
}

std::vector<uint32_t> modes_of(const std::string &name) {
    if (name == "ECB") return {KRY_MODE_ECB};
    if (name == "CBC") return {KRY_MODE_CBC};
    if (name == "CFB128") return {KRY_MODE_CFB, KRY_MODE_CFB128};
    if (name == "OFB") return {KRY_MODE_OFB};
    if (name == "CTR") return {KRY_MODE_CTR};
    return {};
}

Bytes raw_blocks(const Bytes &key, const Bytes &in, bool encrypt) {
    kry::ARIA_SCHEDULE ks{};
    const uint32_t r = encrypt ? kry::aria_set_encrypt_key(key.data(), static_cast<uint32_t>(key.size()), ks)
                               : kry::aria_set_decrypt_key(key.data(), static_cast<uint32_t>(key.size()), ks);
    EXPECT_EQ(r, 0u);
    Bytes out(in.size());
    for (size_t i = 0; i + 16 <= in.size(); i += 16) {
        if (encrypt)
            kry::aria_encrypt_block(in.data() + i, out.data() + i, ks);
        else
            kry::aria_decrypt_block(in.data() + i, out.data() + i, ks);
    }
    return out;
}

// The diffusion layer A, from the sixteen equations of RFC 5794 section
// 2.4.3.
void diffusion(const uint8_t x[16], uint8_t y[16]) {
    static const int terms[16][7] = {
        {3, 4, 6, 8, 9, 13, 14},   {2, 5, 7, 8, 9, 12, 15},   {1, 4, 6, 10, 11, 12, 15}, {0, 5, 7, 10, 11, 13, 14},
        {0, 2, 5, 8, 11, 14, 15},  {1, 3, 4, 9, 10, 14, 15},  {0, 2, 7, 9, 10, 12, 13},  {1, 3, 6, 8, 11, 12, 13},
        {0, 1, 4, 7, 10, 13, 15},  {0, 1, 5, 6, 11, 12, 14},  {2, 3, 5, 6, 8, 13, 15},   {2, 3, 4, 7, 9, 12, 14},
        {1, 2, 6, 7, 9, 11, 12},   {0, 3, 6, 7, 8, 10, 13},   {0, 3, 4, 5, 9, 11, 14},   {1, 2, 4, 5, 8, 10, 15},
    };
    for (int i = 0; i < 16; i++) {
        uint8_t v = 0;
        for (int t : terms[i]) v ^= x[t];
        y[i] = v;
    }
}

}  // namespace

// RFC 5794 appendix A.1-A.3, through the block functions and the unit.
TEST_F(Aria, Rfc5794AppendixA) {
    size_t n = 0;
    for (auto &v : kry_test::read_vectors("aria.txt")) {
        if (v.at("MODE") != "ECB" || v.at("PT") != "00112233445566778899aabbccddeeff") continue;
        Bytes key = from_hex(v.at("KEY")), pt = from_hex(v.at("PT")), ct = from_hex(v.at("CT"));
        for (bool hw : implementations()) {
            kry::aria_use_hardware(hw);
            EXPECT_EQ(to_hex(raw_blocks(key, pt, true)), v.at("CT")) << impl_name(hw);
            EXPECT_EQ(to_hex(raw_blocks(key, ct, false)), v.at("PT")) << impl_name(hw);
            const uint32_t id = base_of(key.size()) | KRY_MODE_ECB | KRY_NO_PADDING;
            EXPECT_EQ(to_hex(unit_crypt(id, KRY_ENCRYPT, key, {}, pt).out), v.at("CT")) << impl_name(hw);
            EXPECT_EQ(to_hex(unit_crypt(id, KRY_DECRYPT, key, {}, ct).out), v.at("PT")) << impl_name(hw);
        }
        n++;
    }
    EXPECT_EQ(n, 3u);
}

// The KISA mode vectors (160-byte messages) and the CFB128/OFB pair, both
// directions, whole and in uneven pieces; CFB128 also as the 0x40 mode.
TEST_F(Aria, ModeVectorsThroughUnit) {
    size_t n = 0;
    for (auto &v : kry_test::read_vectors("aria.txt")) {
        Bytes key = from_hex(v.at("KEY")), pt = from_hex(v.at("PT")), ct = from_hex(v.at("CT"));
        Bytes iv = v.count("IV") ? from_hex(v.at("IV")) : Bytes{};
        auto modes = modes_of(v.at("MODE"));
        ASSERT_FALSE(modes.empty()) << v.at("MODE");
        for (bool hw : implementations()) {
            kry::aria_use_hardware(hw);
            for (uint32_t mode : modes) {
                const uint32_t id = base_of(key.size()) | mode | KRY_NO_PADDING;
                const bool stream = mode != KRY_MODE_ECB && mode != KRY_MODE_CBC;
                const std::vector<size_t> cuts = stream ? std::vector<size_t>{3, 16, 19, 64, 100, 159}
                                                        : std::vector<size_t>{16, 80, 96};
                const std::string what = v.at("MODE") + " " + v.at("KEY") + " " + impl_name(hw);
                for (const auto &c : {std::vector<size_t>{}, cuts}) {
                    auto e = unit_crypt(id, KRY_ENCRYPT, key, iv, pt, c);
                    auto d = unit_crypt(id, KRY_DECRYPT, key, iv, ct, c);
                    ASSERT_EQ(e.rc | d.rc, 0u) << what;
                    EXPECT_EQ(to_hex(e.out), v.at("CT")) << what;
                    EXPECT_EQ(to_hex(d.out), v.at("PT")) << what;
                }
            }
        }
        n++;
    }
    EXPECT_EQ(n, 14u);
}

// Rounds by key length, the decryption round keys (dk1 = ek(n+1),
// dk(i) = A(ek(n+2-i)), dk(n+1) = ek1), and zero beyond the used keys.
TEST_F(Aria, KeyExpansionLayout) {
    kry_test::TestRng rng(5794);
    for (uint32_t len : {16u, 24u, 32u}) {
        const Bytes key = rng.bytes(len);
        kry::ARIA_SCHEDULE enc, dec;
        std::memset(&enc, 0xAA, sizeof enc);
        std::memset(&dec, 0xAA, sizeof dec);
        ASSERT_EQ(kry::aria_set_encrypt_key(key.data(), len, enc), 0u);
        ASSERT_EQ(kry::aria_set_decrypt_key(key.data(), len, dec), 0u);
        const uint32_t n = len == 16 ? 12 : len == 24 ? 14 : 16;
        EXPECT_EQ(enc.rounds, n);
        EXPECT_EQ(dec.rounds, n);
        EXPECT_EQ(std::memcmp(enc.enc, dec.enc, sizeof enc.enc), 0);
        EXPECT_EQ(to_hex(dec.dec[0], 16), to_hex(enc.enc[n], 16));
        EXPECT_EQ(to_hex(dec.dec[n], 16), to_hex(enc.enc[0], 16));
        for (uint32_t i = 1; i < n; i++) {
            uint8_t a[16];
            diffusion(enc.enc[n - i], a);
            EXPECT_EQ(to_hex(dec.dec[i], 16), to_hex(a, 16)) << len << " dk" << i + 1;
        }
        const Bytes zero(16, 0);
        for (uint32_t i = n + 1; i < 17; i++) {
            EXPECT_EQ(to_hex(enc.enc[i], 16), to_hex(zero));
            EXPECT_EQ(to_hex(dec.dec[i], 16), to_hex(zero));
        }
    }
}

// The test's diffusion layer is an involution (A(A(x)) = x), as RFC 5794
// section 2.4.3 states, so the check of the decryption keys above does not
// rest on a mistyped equation.
TEST_F(Aria, DiffusionIsAnInvolution) {
    kry_test::TestRng rng(2);
    for (int i = 0; i < 32; i++) {
        Bytes x = rng.bytes(16);
        uint8_t y[16], z[16];
        diffusion(x.data(), y);
        diffusion(y, z);
        EXPECT_EQ(to_hex(z, 16), to_hex(x));
    }
}

// A NULL key, or a key length the registry never gives, fails both
// expansions with 0x06010003.
TEST_F(Aria, ExpansionRejectsBadKeys) {
    kry::ARIA_SCHEDULE ks{};
    const Bytes key(32, 1);
    EXPECT_EQ(kry::aria_set_encrypt_key(nullptr, 16, ks), 0x06010003u);
    EXPECT_EQ(kry::aria_set_decrypt_key(nullptr, 32, ks), 0x06010003u);
    for (uint32_t len : {0u, 15u, 20u, 33u}) {
        EXPECT_EQ(kry::aria_set_encrypt_key(key.data(), len, ks), 0x06010003u) << len;
        EXPECT_EQ(kry::aria_set_decrypt_key(key.data(), len, ks), 0x06010003u) << len;
    }
    EXPECT_EQ(kry::kAriaErrInvalidKey, 0x06010003u);
}

// A NULL key is accepted: init succeeds, the IV is loaded and the schedule
// stays zero (12 rounds under zero round keys).
TEST_F(Aria, NullKeyAccepted) {
    const Bytes iv = from_hex("0f1e2d3c4b5a69788796a5b4c3d2e1f0");
    for (uint32_t base : {KRY_ARIA_128, KRY_ARIA_192, KRY_ARIA_256}) {
        BLOCK_CIPHER_UNIT *unit = new_BLOCK_CIPHER_UNIT();
        ASSERT_EQ(init_BlockCipher(unit, base | KRY_MODE_CBC | KRY_NO_PADDING, nullptr, iv.data(), KRY_ENCRYPT), 0u);
        EXPECT_EQ(to_hex(unit->feedback, 16), to_hex(iv));
        EXPECT_EQ(unit->direction, KRY_ENCRYPT);
        const Bytes zero(548, 0);
        EXPECT_EQ(to_hex(static_cast<const uint8_t *>(unit->key_schedule), unit->key_schedule_size), to_hex(zero));

        // The key-schedule function itself, with a NULL key and a new IV.
        const Bytes iv2(16, 0x5A);
        EXPECT_EQ(unit->key_func(unit, nullptr, iv2.data(), KRY_DECRYPT), 0u);
        EXPECT_EQ(to_hex(unit->iv, 16), to_hex(iv2));
        EXPECT_EQ(unit->direction, KRY_DECRYPT);
        unit->direction = KRY_ENCRYPT;
        std::memcpy(unit->feedback, iv.data(), 16);

        Bytes pt(32, 0x33), out(32);
        uint32_t n = 0;
        ASSERT_EQ(update_BlockCipher(unit, out.data(), &n, pt.data(), 32), 0u);
        ASSERT_EQ(n, 32u);
        kry::ARIA_SCHEDULE ks{};
        uint8_t block[16];
        for (int i = 0; i < 16; i++) block[i] = pt[i] ^ iv[i];
        kry::aria_encrypt_block(block, block, ks);
        EXPECT_EQ(to_hex(out.data(), 16), to_hex(block, 16));
        free_BLOCK_CIPHER_UNIT(unit);
    }
}

// The key-schedule function builds the decryption schedule only for ECB and
// CBC decryption; a failed expansion gives 0x06070001.
TEST_F(Aria, KeyFunctionChoosesSchedule) {
    const Bytes key = from_hex("00112233445566778899aabbccddeeff0011223344556677");
    kry::ARIA_SCHEDULE enc{}, dec{};
    ASSERT_EQ(kry::aria_set_encrypt_key(key.data(), 24, enc), 0u);
    ASSERT_EQ(kry::aria_set_decrypt_key(key.data(), 24, dec), 0u);
    for (uint32_t mode : {KRY_MODE_ECB, KRY_MODE_CBC, KRY_MODE_CFB, KRY_MODE_OFB, KRY_MODE_CTR}) {
        for (uint32_t dir : {KRY_ENCRYPT, KRY_DECRYPT}) {
            BLOCK_CIPHER_UNIT *unit = new_BLOCK_CIPHER_UNIT();
            ASSERT_EQ(init_BlockCipher(unit, KRY_ARIA_192 | mode, key.data(), nullptr, dir), 0u);
            ASSERT_EQ(unit->key_schedule_size, sizeof(kry::ARIA_SCHEDULE));
            const bool want_dec = dir == KRY_DECRYPT && (mode == KRY_MODE_ECB || mode == KRY_MODE_CBC);
            EXPECT_EQ(std::memcmp(unit->key_schedule, want_dec ? &dec : &enc, sizeof enc), 0) << mode << " " << dir;

            unit->key_length = 20;
            unit->direction = 7;
            EXPECT_EQ(unit->key_func(unit, key.data(), nullptr, dir), 0x06070001u);
            EXPECT_EQ(unit->direction, 7u);  // the direction is stored after the key
            free_BLOCK_CIPHER_UNIT(unit);
        }
    }
}

TEST_F(Aria, ModeFunctionErrorWords) {
    const struct {
        uint32_t mode, word;
    } cases[] = {{KRY_MODE_ECB, 0x06020003}, {KRY_MODE_CBC, 0x06030003}, {KRY_MODE_CFB, 0x06040003},
                 {KRY_MODE_OFB, 0x06050003}, {KRY_MODE_CTR, 0x06060003}};
    const Bytes key(16, 7), iv(16, 9);
    uint8_t buf[32] = {};
    for (auto c : cases) {
        BLOCK_CIPHER_UNIT *unit = new_BLOCK_CIPHER_UNIT();
        ASSERT_EQ(init_BlockCipher(unit, KRY_ARIA_128 | c.mode | KRY_NO_PADDING, key.data(), iv.data(), KRY_ENCRYPT),
                  0u);
        EXPECT_EQ(unit->mode_func(unit, nullptr, buf, 16), c.word);
        EXPECT_EQ(unit->mode_func(unit, buf, nullptr, 16), c.word);
        EXPECT_EQ(unit->mode_func(unit, buf, buf, 16), 0u);
        void *ks = unit->key_schedule;
        unit->key_schedule = nullptr;
        EXPECT_EQ(unit->mode_func(unit, buf, buf, 16), c.word);
        unit->key_schedule = ks;
        free_BLOCK_CIPHER_UNIT(unit);
    }
}

TEST_F(Aria, CbcDecryptionInPlace) {
    kry_test::TestRng rng(4);
    for (uint32_t len : {16u, 24u, 32u}) {
        const Bytes key = rng.bytes(len), iv = rng.bytes(16), pt = rng.bytes(96);
        const uint32_t id = base_of(len) | KRY_MODE_CBC | KRY_NO_PADDING;
        auto ct = unit_crypt(id, KRY_ENCRYPT, key, iv, pt);
        ASSERT_EQ(ct.rc, 0u);
        BLOCK_CIPHER_UNIT *unit = new_BLOCK_CIPHER_UNIT();
        ASSERT_EQ(init_BlockCipher(unit, id, key.data(), iv.data(), KRY_DECRYPT), 0u);
        Bytes buf = ct.out;
        uint32_t n = 0;
        ASSERT_EQ(update_BlockCipher(unit, buf.data(), &n, buf.data(), static_cast<int32_t>(buf.size())), 0u);
        EXPECT_EQ(n, buf.size());
        EXPECT_EQ(to_hex(buf), to_hex(pt));
        free_BLOCK_CIPHER_UNIT(unit);
    }
}

// The raw block functions against OpenSSL's ARIA-ECB over random keys and
// blocks, for every key size; decryption inverts encryption, also in place.
TEST_F(Aria, BlockFunctionsMatchOpenSsl) {
    kry_test::TestRng rng(0xA81A);
    for (uint32_t len : {16u, 24u, 32u}) {
        const std::string name = "ARIA-" + std::to_string(len * 8) + "-ECB";
        for (int trial = 0; trial < 60; trial++) {
            const Bytes key = rng.bytes(len), pt = rng.bytes(16 * (1 + rng.below(16)));
            Bytes expect;
            ASSERT_TRUE(oracle::openssl_cipher(name, key, {}, true, false, pt, expect));
            for (bool hw : implementations()) {
                kry::aria_use_hardware(hw);
                EXPECT_EQ(to_hex(raw_blocks(key, pt, true)), to_hex(expect)) << name << " " << impl_name(hw);
                EXPECT_EQ(to_hex(raw_blocks(key, expect, false)), to_hex(pt)) << name << " " << impl_name(hw);

                kry::ARIA_SCHEDULE ks{};
                ASSERT_EQ(kry::aria_set_decrypt_key(key.data(), len, ks), 0u);
                uint8_t block[16];
                std::memcpy(block, pt.data(), 16);
                kry::aria_encrypt_block(block, block, ks);
                EXPECT_EQ(to_hex(block, 16), to_hex(expect.data(), 16));
                kry::aria_decrypt_block(block, block, ks);
                EXPECT_EQ(to_hex(block, 16), to_hex(pt.data(), 16));
            }
        }
    }
}

// Both implementations agree on any schedule content, including rounds
// fields the expansion never writes (they run 12, 14 or 16 rounds).
TEST_F(Aria, ImplementationsAgreeOnAnySchedule) {
    if (!kry::aria_hardware_available()) GTEST_SKIP() << "no GFNI instructions";
    kry_test::TestRng rng(1213);
    for (uint32_t rounds : {0u, 11u, 12u, 13u, 14u, 15u, 16u, 17u, 0xFFFFFFFFu}) {
        kry::ARIA_SCHEDULE ks;
        Bytes keys = rng.bytes(sizeof ks.enc);
        std::memcpy(ks.enc, keys.data(), sizeof ks.enc);
        keys = rng.bytes(sizeof ks.dec);
        std::memcpy(ks.dec, keys.data(), sizeof ks.dec);
        ks.rounds = rounds;
        for (int i = 0; i < 8; i++) {
            const Bytes in = rng.bytes(16);
            uint8_t a[16], b[16], c[16], d[16];
            kry::aria_use_hardware(false);
            kry::aria_encrypt_block(in.data(), a, ks);
            kry::aria_decrypt_block(in.data(), c, ks);
            kry::aria_use_hardware(true);
            kry::aria_encrypt_block(in.data(), b, ks);
            kry::aria_decrypt_block(in.data(), d, ks);
            EXPECT_EQ(to_hex(a, 16), to_hex(b, 16)) << rounds;
            EXPECT_EQ(to_hex(c, 16), to_hex(d, 16)) << rounds;
        }
    }
}

// The multi-block functions give the single-block results for any count
// (across the four-block groups), in place too.
TEST_F(Aria, MultiBlockFunctionsMatchSingleBlock) {
    kry_test::TestRng rng(4);
    for (bool hw : implementations()) {
        kry::aria_use_hardware(hw);
        for (uint32_t len : {16u, 24u, 32u}) {
            const Bytes key = rng.bytes(len);
            kry::ARIA_SCHEDULE ks{};
            ASSERT_EQ(kry::aria_set_decrypt_key(key.data(), len, ks), 0u);
            for (size_t n : {0u, 1u, 3u, 4u, 5u, 8u, 11u}) {
                const Bytes pt = rng.bytes(16 * n);
                Bytes one(pt.size()), many(pt.size()), back = pt;
                for (size_t i = 0; i < n; i++) kry::aria_encrypt_block(pt.data() + 16 * i, one.data() + 16 * i, ks);
                kry::aria_encrypt_blocks(pt.data(), many.data(), n, ks);
                EXPECT_EQ(to_hex(many), to_hex(one)) << impl_name(hw) << " " << len << " " << n;
                kry::aria_encrypt_blocks(back.data(), back.data(), n, ks);
                EXPECT_EQ(to_hex(back), to_hex(one));
                kry::aria_decrypt_blocks(back.data(), back.data(), n, ks);
                EXPECT_EQ(to_hex(back), to_hex(pt));
            }
        }
    }
}

// CBC encryption of whole blocks, on both implementations and for every
// key size, against OpenSSL's ARIA-CBC and against chained single blocks:
// the chaining value afterwards is the last ciphertext block (the IV when
// there are no blocks), and in == out works.  The unit's CBC encryption runs
// on the same function.
TEST_F(Aria, CbcBlocksMatchOpenSsl) {
    kry_test::TestRng rng(0xCBC);
    for (bool hw : implementations()) {
        kry::aria_use_hardware(hw);
        for (uint32_t len : {16u, 24u, 32u}) {
            const std::string name = "ARIA-" + std::to_string(len * 8) + "-CBC";
            for (size_t n : {0u, 1u, 2u, 5u, 17u, 64u}) {
                const Bytes key = rng.bytes(len), iv = rng.bytes(16), pt = rng.bytes(16 * n);
                kry::ARIA_SCHEDULE ks{};
                ASSERT_EQ(kry::aria_set_encrypt_key(key.data(), len, ks), 0u);
                Bytes out(pt.size()), inplace = pt, chained(pt.size());
                uint8_t chain[16], chain2[16], block[16];
                std::memcpy(chain, iv.data(), 16);
                std::memcpy(chain2, iv.data(), 16);
                kry::aria_cbc_encrypt_blocks(pt.data(), out.data(), n, chain, ks);
                kry::aria_cbc_encrypt_blocks(inplace.data(), inplace.data(), n, chain2, ks);
                const uint8_t *prev = iv.data();
                for (size_t i = 0; i < n; i++) {
                    for (int b = 0; b < 16; b++) block[b] = static_cast<uint8_t>(pt[16 * i + b] ^ prev[b]);
                    kry::aria_encrypt_block(block, chained.data() + 16 * i, ks);
                    prev = chained.data() + 16 * i;
                }
                EXPECT_EQ(to_hex(out), to_hex(chained)) << name << " " << impl_name(hw) << " " << n;
                EXPECT_EQ(to_hex(inplace), to_hex(chained)) << name << " " << impl_name(hw) << " " << n;
                EXPECT_EQ(to_hex(chain, 16), to_hex(prev, 16)) << name << " " << impl_name(hw) << " " << n;
                EXPECT_EQ(to_hex(chain2, 16), to_hex(prev, 16)) << name << " " << impl_name(hw) << " " << n;
                if (n != 0) {
                    Bytes expect;
                    ASSERT_TRUE(oracle::openssl_cipher(name, key, iv, true, false, pt, expect));
                    EXPECT_EQ(to_hex(out), to_hex(expect)) << name << " " << impl_name(hw) << " " << n;
                }
            }
        }
    }
}

// The unit's CBC encryption in pieces that split blocks, on both
// implementations, against OpenSSL.
TEST_F(Aria, CbcThroughUnitInPieces) {
    kry_test::TestRng rng(0xCBD);
    for (bool hw : implementations()) {
        kry::aria_use_hardware(hw);
        for (uint32_t len : {16u, 24u, 32u}) {
            const Bytes key = rng.bytes(len), iv = rng.bytes(16), pt = rng.bytes(16 * 41);
            const auto ours = unit_crypt(base_of(len) | KRY_MODE_CBC, KRY_ENCRYPT, key, iv, pt, {5, 48, 300, 301});
            ASSERT_EQ(ours.rc, 0u);
            Bytes expect;
            ASSERT_TRUE(oracle::openssl_cipher("ARIA-" + std::to_string(len * 8) + "-CBC", key, iv, true, false, pt,
                                               expect));
            ASSERT_GE(ours.out.size(), pt.size());
            EXPECT_EQ(to_hex(Bytes(ours.out.begin(), ours.out.begin() + static_cast<long>(pt.size()))),
                      to_hex(expect))
                << impl_name(hw) << " " << len;
        }
    }
}
