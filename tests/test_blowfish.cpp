// Blowfish (Schneier 1993): the initial P-array and S-boxes against pi
// computed here, the published vectors (ECB data and set_key data through
// the key expansion, 16-byte keys and the chaining data through the
// block-cipher unit), the key-schedule function's results, the mode
// functions' error words, and a differential test against OpenSSL's BF-ECB.
#include "cipher/blowfish.h"
#include "cipher/modes.h"
#include "foundation/common.h"

#include <kry/blockcipher.h>
#include <kry/error.h>

#include "cipher_util.h"
#include "oracle.h"
#include "test_support.h"

#include <gtest/gtest.h>

#include <array>
#include <cstring>
#include <memory>

using kry_test::Bytes;
using kry_test::from_hex;
using kry_test::to_hex;

namespace {

constexpr uint32_t kErrArgument = 0x09010003;
constexpr uint32_t kErrNoKey = 0x09010002;

class Blowfish : public ::testing::Test {
  protected:
    static void SetUpTestSuite() { ChangeNonProvenMode(); }
};

std::unique_ptr<kry::BlowfishSchedule> schedule_for(const Bytes &key) {
    auto ks = std::make_unique<kry::BlowfishSchedule>();
    EXPECT_EQ(kry::blowfish_set_key(ks.get(), key.data(), static_cast<uint32_t>(key.size())), 0u);
    return ks;
}

uint32_t mode_of(const std::string &name) {
    if (name == "ECB") return KRY_MODE_ECB;
    if (name == "CBC") return KRY_MODE_CBC;
    if (name == "CFB64") return KRY_MODE_CFB;
    if (name == "OFB") return KRY_MODE_OFB;
    ADD_FAILURE() << "mode " << name;
    return 0xFF;
}

// The fractional part of pi in base 2^32, by Machin's formula
// pi = 16 atan(1/5) - 4 atan(1/239) in fixed point (word 0 holds the
// integer part; three guard words absorb the truncation errors).
std::vector<uint32_t> pi_fraction_words(size_t count) {
    const size_t n = count + 3;
    using Num = std::vector<uint32_t>;
    auto divide = [n](const Num &a, uint32_t d, Num &q, size_t from) {
        uint64_t r = 0;
        for (size_t i = 0; i < from; i++) q[i] = 0;
        for (size_t i = from; i <= n; i++) {
            const uint64_t cur = (r << 32) | a[i];
            q[i] = static_cast<uint32_t>(cur / d);
            r = cur % d;
        }
    };
    auto add = [n](Num &s, const Num &t, bool subtract) {
        uint64_t carry = 0;
        for (size_t i = n + 1; i-- > 0;) {
            const uint64_t v = subtract ? uint64_t{s[i]} - t[i] - carry : uint64_t{s[i]} + t[i] + carry;
            s[i] = static_cast<uint32_t>(v);
            carry = subtract ? (v >> 63) & 1 : v >> 32;
        }
    };
    // s += m * atan(1/x), or s -= it
    auto atan_term = [&](Num &s, uint32_t m, uint32_t x, bool subtract) {
        Num term(n + 1, 0), t(n + 1, 0);
        term[0] = m;
        divide(term, x, term, 0);
        size_t lead = 0;
        for (uint32_t k = 0;; k++) {
            while (lead <= n && term[lead] == 0) lead++;
            if (lead > n) break;
            divide(term, 2 * k + 1, t, lead);
            add(s, t, subtract != ((k & 1) != 0));
            divide(term, x * x, term, lead);
        }
    };
    Num s(n + 1, 0);
    atan_term(s, 16, 5, false);
    atan_term(s, 4, 239, true);
    EXPECT_EQ(s[0], 3u);
    return std::vector<uint32_t>(s.begin() + 1, s.begin() + 1 + static_cast<std::ptrdiff_t>(count));
}

}  // namespace

TEST_F(Blowfish, InitialTablesAreTheDigitsOfPi) {
    const auto pi = pi_fraction_words(18 + 4 * 256);
    ASSERT_EQ(pi[0], 0x243F6A88u);
    const kry::BlowfishSchedule &t = kry::kBlowfishPi;
    for (int i = 0; i < 18; i++) EXPECT_EQ(t.p[i], pi[static_cast<size_t>(i)]) << "P" << i + 1;
    for (int b = 0; b < 4; b++)
        for (int i = 0; i < 256; i++)
            ASSERT_EQ(t.s[b][i], pi[static_cast<size_t>(18 + 256 * b + i)]) << "S" << b + 1 << "[" << i << "]";
}

// Every ECB entry (8-byte keys and the set_key data with keys of 1 to 24
// bytes) through the key expansion and the block functions.
TEST_F(Blowfish, PublishedEcbVectorsThroughBlockFunctions) {
    size_t seen = 0;
    std::array<bool, 25> lengths{};
    for (auto &v : kry_test::read_vectors("blowfish.txt")) {
        if (v.at("MODE") != "ECB") continue;
        ++seen;
        Bytes key = from_hex(v.at("KEY")), pt = from_hex(v.at("PT")), ct = from_hex(v.at("CT"));
        ASSERT_LE(key.size(), 24u);
        lengths[key.size()] = true;
        auto ks = schedule_for(key);
        uint8_t out[8];
        kry::blowfish_encrypt_block(*ks, pt.data(), out);
        EXPECT_EQ(to_hex(out, 8), v.at("CT")) << "key " << v.at("KEY");
        kry::blowfish_decrypt_block(*ks, ct.data(), out);
        EXPECT_EQ(to_hex(out, 8), v.at("PT")) << "key " << v.at("KEY");
    }
    EXPECT_EQ(seen, 34u + 24u);
    for (size_t n = 1; n <= 24; n++) EXPECT_TRUE(lengths[n]) << n;
}

// The entries with 16-byte keys (the unit's key length) through the unit:
// the set_key entry in ECB, the chaining data in CBC, CFB64 and OFB, all
// with the no-padding bit.
TEST_F(Blowfish, SixteenByteKeyVectorsThroughUnit) {
    size_t seen = 0;
    for (auto &v : kry_test::read_vectors("blowfish.txt")) {
        Bytes key = from_hex(v.at("KEY"));
        if (key.size() != 16) continue;
        ++seen;
        const uint32_t id = KRY_BLOWFISH | mode_of(v.at("MODE")) | KRY_NO_PADDING;
        Bytes iv = v.count("IV") ? from_hex(v.at("IV")) : Bytes{};
        Bytes pt = from_hex(v.at("PT")), ct = from_hex(v.at("CT"));
        auto enc = kry_test::unit_crypt(id, KRY_ENCRYPT, key, iv, pt);
        EXPECT_EQ(enc.rc, 0u);
        EXPECT_EQ(to_hex(enc.out), v.at("CT")) << v.at("MODE");
        auto dec = kry_test::unit_crypt(id, KRY_DECRYPT, key, iv, ct);
        EXPECT_EQ(dec.rc, 0u);
        EXPECT_EQ(to_hex(dec.out), v.at("PT")) << v.at("MODE");
        // The stream modes also in uneven pieces.
        if (v.at("MODE") != "ECB" && v.at("MODE") != "CBC") {
            auto split = kry_test::unit_crypt(id, KRY_ENCRYPT, key, iv, pt, {3, 4, 13, 21});
            EXPECT_EQ(to_hex(split.out), v.at("CT")) << v.at("MODE");
        }
    }
    EXPECT_EQ(seen, 4u);
}

TEST_F(Blowfish, SetKeyArguments) {
    kry::BlowfishSchedule ks{};
    const uint8_t key[80] = {1};
    EXPECT_EQ(kry::blowfish_set_key(nullptr, key, 16), kErrArgument);
    EXPECT_EQ(kry::blowfish_set_key(&ks, nullptr, 16), kErrArgument);
    EXPECT_EQ(kry::blowfish_set_key(&ks, key, 0), kErrArgument);
    EXPECT_EQ(kry::blowfish_set_key(&ks, key, 73), kErrArgument);
    EXPECT_EQ(kry::blowfish_set_key(&ks, key, 72), 0u);
    EXPECT_EQ(kry::blowfish_set_key(&ks, key, 1), 0u);
}

TEST_F(Blowfish, InPlaceBlocks) {
    kry_test::TestRng rng(99);
    auto ks = schedule_for(rng.bytes(16));
    Bytes block = rng.bytes(8), copy = block;
    uint8_t expect[8];
    kry::blowfish_encrypt_block(*ks, block.data(), expect);
    kry::blowfish_encrypt_block(*ks, block.data(), block.data());
    EXPECT_EQ(std::memcmp(block.data(), expect, 8), 0);
    kry::blowfish_decrypt_block(*ks, block.data(), block.data());
    EXPECT_EQ(block, copy);
}

TEST_F(Blowfish, KeyScheduleFunction) {
    BLOCK_CIPHER_UNIT *unit = new_BLOCK_CIPHER_UNIT();
    const Bytes key = from_hex("0123456789abcdeff0e1d2c3b4a59687");
    const Bytes iv = from_hex("fedcba9876543210");
    ASSERT_EQ(init_BlockCipher(unit, KRY_BLOWFISH | KRY_MODE_CBC, key.data(), nullptr, KRY_ENCRYPT), 0u);
    EXPECT_EQ(unit->key_schedule_size, 4168u);
    const BLOCK_KEY_FUNC key_func = kry::cipher::kBlowfishModes.key_func;
    ASSERT_EQ(unit->key_func, key_func);
    auto expect = schedule_for(key);
    EXPECT_EQ(std::memcmp(unit->key_schedule, expect.get(), sizeof *expect), 0);

    EXPECT_EQ(key_func(unit, key.data(), iv.data(), KRY_DECRYPT), 0u);
    EXPECT_EQ(unit->direction, KRY_DECRYPT);
    EXPECT_EQ(to_hex(unit->feedback, 8), "fedcba9876543210");
    EXPECT_EQ(std::memcmp(unit->key_schedule, expect.get(), sizeof *expect), 0);

    // Without a key: 0x09010002 after the IV is loaded; direction kept.
    std::memset(unit->feedback, 0, sizeof unit->feedback);
    EXPECT_EQ(key_func(unit, nullptr, nullptr, KRY_ENCRYPT), kErrNoKey);
    EXPECT_EQ(unit->direction, KRY_DECRYPT);
    EXPECT_EQ(to_hex(unit->feedback, 8), "fedcba9876543210");

    // Also when this call runs the module start-up through the gate.
    kry::flag_store(initialize_flag, 1);
    EXPECT_EQ(key_func(unit, nullptr, nullptr, KRY_ENCRYPT), kErrNoKey);
    EXPECT_EQ(initialize_flag, 0);

    // No schedule to key: the expansion's argument word.
    BLOCK_CIPHER_UNIT *bare = new_BLOCK_CIPHER_UNIT();
    EXPECT_EQ(key_func(bare, key.data(), nullptr, KRY_ENCRYPT), kErrArgument);
    EXPECT_EQ(key_func(nullptr, key.data(), nullptr, KRY_ENCRYPT), kErrNoKey);
    free_BLOCK_CIPHER_UNIT(bare);
    free_BLOCK_CIPHER_UNIT(unit);
}

TEST_F(Blowfish, UnitWithoutKeyFails) {
    BLOCK_CIPHER_UNIT *unit = new_BLOCK_CIPHER_UNIT();
    EXPECT_EQ(init_BlockCipher(unit, KRY_BLOWFISH | KRY_MODE_ECB, nullptr, nullptr, KRY_ENCRYPT), 0x01010001u);
    free_BLOCK_CIPHER_UNIT(unit);
}

// The CBC function answers with the ECB word.
TEST_F(Blowfish, ModeErrorWords) {
    const auto &m = kry::cipher::kBlowfishModes;
    EXPECT_EQ(m.schedule_size, 4168u);
    BLOCK_CIPHER_UNIT *unit = new_BLOCK_CIPHER_UNIT();
    const uint8_t key[16] = {};
    ASSERT_EQ(init_BlockCipher(unit, KRY_BLOWFISH | KRY_MODE_ECB, key, nullptr, KRY_ENCRYPT), 0u);
    uint8_t buf[8] = {};
    EXPECT_EQ(m.ecb(unit, nullptr, buf, 8), 0x09020003u);
    EXPECT_EQ(m.cbc(unit, nullptr, buf, 8), 0x09020003u);
    EXPECT_EQ(m.cfb(unit, buf, nullptr, 8), 0x09040003u);
    EXPECT_EQ(m.ofb(unit, nullptr, buf, 8), 0x09050003u);
    ASSERT_NE(m.ctr, nullptr);
    EXPECT_EQ(m.ctr(unit, buf, nullptr, 8), 0x09060003u);
    EXPECT_EQ(m.cbc(nullptr, buf, buf, 8), 0x09020003u);
    free_BLOCK_CIPHER_UNIT(unit);
}

TEST_F(Blowfish, CtrCounterWraps) {
    const Bytes key = from_hex("0123456789abcdeff0e1d2c3b4a59687");
    auto r = kry_test::unit_crypt(KRY_BLOWFISH | KRY_MODE_CTR | KRY_NO_PADDING, KRY_ENCRYPT, key, Bytes(8, 0xFF),
                                  Bytes(16, 0));
    ASSERT_EQ(r.rc, 0u);
    auto ks = schedule_for(key);
    uint8_t first[8], second[8];
    const uint8_t ones[8] = {0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF}, zeros[8] = {};
    kry::blowfish_encrypt_block(*ks, ones, first);
    kry::blowfish_encrypt_block(*ks, zeros, second);
    EXPECT_EQ(to_hex(r.out), to_hex(first, 8) + to_hex(second, 8));
}

// Raw blocks against OpenSSL's BF-ECB with the unit's 16-byte keys.
TEST_F(Blowfish, BlockFunctionsMatchOpenssl) {
    kry_test::TestRng rng(0xB10F);
    for (int n = 0; n < 200; n++) {
        Bytes key = rng.bytes(16), pt = rng.bytes(8 * (1 + rng.below(16)));
        auto ks = schedule_for(key);
        Bytes enc(pt.size()), dec(pt.size());
        for (size_t i = 0; i < pt.size(); i += 8) {
            kry::blowfish_encrypt_block(*ks, pt.data() + i, enc.data() + i);
            kry::blowfish_decrypt_block(*ks, pt.data() + i, dec.data() + i);
        }
        Bytes theirs;
        ASSERT_TRUE(oracle::openssl_cipher("BF-ECB", key, {}, true, false, pt, theirs));
        ASSERT_EQ(to_hex(enc), to_hex(theirs)) << "key " << to_hex(key);
        ASSERT_TRUE(oracle::openssl_cipher("BF-ECB", key, {}, false, false, pt, theirs));
        ASSERT_EQ(to_hex(dec), to_hex(theirs)) << "key " << to_hex(key);
    }
}

// Other key lengths through the expansion, also against OpenSSL.
TEST_F(Blowfish, KeyLengthsMatchOpenssl) {
    kry_test::TestRng rng(0xB11F);
    for (uint32_t len : {1u, 4u, 5u, 8u, 15u, 17u, 24u, 32u, 55u, 56u}) {
        Bytes key = rng.bytes(len), pt = rng.bytes(32);
        auto ks = schedule_for(key);
        Bytes enc(pt.size());
        for (size_t i = 0; i < pt.size(); i += 8) kry::blowfish_encrypt_block(*ks, pt.data() + i, enc.data() + i);
        Bytes theirs;
        ASSERT_TRUE(oracle::openssl_cipher("BF-ECB", key, {}, true, false, pt, theirs)) << len;
        EXPECT_EQ(to_hex(enc), to_hex(theirs)) << "key length " << len;
    }
}

// CBC encryption of whole blocks against OpenSSL's BF-CBC, with the S-box
// indices extracted by BEXTR (when the processor has it) and by shifts and
// masks: the chaining value afterwards is the last ciphertext block, and
// in == out works.  The unit's CBC function runs on the same code, and the
// key expansion gives the same schedule both ways.
static Bytes fixed_key() {
    return Bytes{0x01, 0x23, 0x45, 0x67, 0x89, 0xAB, 0xCD, 0xEF, 0xF0, 0xE1, 0xD2, 0xC3, 0xB4, 0xA5, 0x96, 0x87};
}

TEST_F(Blowfish, CbcBlocksMatchOpenssl) {
    std::vector<bool> variants{false};
    if (kry::blowfish_bextr_available()) variants.push_back(true);
    for (bool bextr : variants) {
        kry::blowfish_use_bextr(bextr);
        kry_test::TestRng rng(0xB12F);
        for (int n = 0; n < 100; n++) {
            Bytes key = rng.bytes(16), iv = rng.bytes(8), pt = rng.bytes(8 * rng.below(40));
            auto ks = schedule_for(key);
            // The key expansion runs on the same rounds.
            kry::blowfish_use_bextr(!bextr);
            auto other = schedule_for(key);
            kry::blowfish_use_bextr(bextr);
            ASSERT_EQ(std::memcmp(ks.get(), other.get(), sizeof *ks), 0);
            Bytes out(pt.size()), inplace = pt;
            uint8_t chain[8], chain2[8];
            std::memcpy(chain, iv.data(), 8);
            std::memcpy(chain2, iv.data(), 8);
            kry::blowfish_cbc_encrypt_blocks(*ks, pt.data(), out.data(), pt.size() / 8, chain);
            kry::blowfish_cbc_encrypt_blocks(*ks, inplace.data(), inplace.data(), pt.size() / 8, chain2);
            Bytes theirs;
            ASSERT_TRUE(oracle::openssl_cipher("BF-CBC", key, iv, true, false, pt, theirs));
            ASSERT_EQ(to_hex(out), to_hex(theirs)) << "key " << to_hex(key) << " bextr " << bextr;
            ASSERT_EQ(to_hex(inplace), to_hex(theirs)) << "bextr " << bextr;
            const Bytes last = pt.empty() ? iv : Bytes(out.end() - 8, out.end());
            EXPECT_EQ(to_hex(Bytes(chain, chain + 8)), to_hex(last));
            EXPECT_EQ(to_hex(Bytes(chain2, chain2 + 8)), to_hex(last));
        }
        // Through the unit, in pieces that split blocks.
        Bytes key = fixed_key(), iv(8, 0x5A), pt(8 * 37);
        for (size_t i = 0; i < pt.size(); i++) pt[i] = static_cast<uint8_t>(i * 13 + 1);
        const auto ours = kry_test::unit_crypt(KRY_BLOWFISH | KRY_MODE_CBC, KRY_ENCRYPT, key, iv, pt, {24, 101, 200});
        ASSERT_EQ(ours.rc, 0u);
        Bytes theirs;
        ASSERT_TRUE(oracle::openssl_cipher("BF-CBC", key, iv, true, false, pt, theirs));
        ASSERT_GE(ours.out.size(), pt.size());
        EXPECT_EQ(to_hex(Bytes(ours.out.begin(), ours.out.begin() + 8 * 37)), to_hex(theirs)) << "bextr " << bextr;
    }
    kry::blowfish_use_bextr(true);
}
