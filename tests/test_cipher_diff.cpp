// Every cipher in every mode through the block-cipher unit, compared with
// OpenSSL: random keys and IVs, every length from 0 to 300 bytes, random
// update splits, with and without padding, both directions.  Full-block CFB
// is OpenSSL's CFB (cfb128 / cfb64); CTR where OpenSSL lacks it is modelled
// from OpenSSL's ECB with the unit's counter (128-bit for 16-byte blocks,
// 64-bit for 8-byte blocks).
#include <gtest/gtest.h>

#include <kry/blockcipher.h>
#include <kry/error.h>

#include "cipher_util.h"
#include "oracle.h"
#include "test_support.h"

#include <algorithm>

using namespace kry_test;

namespace {

class CipherDifferential : public ::testing::TestWithParam<CipherInfo> {
  protected:
    static void SetUpTestSuite() { ChangeNonProvenMode(); }
};

std::vector<size_t> random_cuts(TestRng &rng, size_t size) {
    std::vector<size_t> cuts;
    for (size_t n = rng.below(4); n > 0; n--) cuts.push_back(rng.below(static_cast<uint32_t>(size + 1)));
    std::sort(cuts.begin(), cuts.end());
    return cuts;
}

void increment(Bytes &counter) {
    for (size_t i = counter.size(); i-- > 0;)
        if (++counter[i] != 0) break;
}

// CTR keystream from ECB: E(iv), E(iv + 1), ...
Bytes ctr_reference(const CipherInfo &c, const Bytes &key, const Bytes &iv, const Bytes &in) {
    Bytes counters, stream;
    Bytes ctr = iv;
    for (size_t i = 0; i < in.size(); i += c.block) {
        counters.insert(counters.end(), ctr.begin(), ctr.end());
        increment(ctr);
    }
    if (!oracle::openssl_cipher(c.ossl_ecb, key, {}, true, false, counters, stream, c.rc2_bits)) return {};
    Bytes out(in.size());
    for (size_t i = 0; i < in.size(); i++) out[i] = in[i] ^ stream[i];
    return out;
}

Bytes reference(const CipherInfo &c, uint8_t mode, const Bytes &key, const Bytes &iv, bool encrypt, bool padding,
                const Bytes &in) {
    if (mode == KRY_MODE_CTR && !c.ossl_ctr) return ctr_reference(c, key, iv, in);
    std::string name = c.ossl;
    switch (mode) {
    case KRY_MODE_ECB: name = c.ossl_ecb; break;
    case KRY_MODE_CBC: name += "-CBC"; break;
    case KRY_MODE_CFB: name += "-CFB"; break;
    case KRY_MODE_OFB: name += "-OFB"; break;
    default: name += "-CTR"; break;
    }
    Bytes out;
    if (!oracle::openssl_cipher(name, key, mode == KRY_MODE_ECB ? Bytes{} : iv, encrypt, padding, in, out, c.rc2_bits))
        ADD_FAILURE() << "OpenSSL refused " << name;
    return out;
}

std::vector<uint8_t> modes_of(const CipherInfo &c) {
    std::vector<uint8_t> m = {KRY_MODE_ECB, KRY_MODE_CBC, KRY_MODE_CFB, KRY_MODE_OFB};
    if (c.has_ctr) m.push_back(KRY_MODE_CTR);
    return m;
}

}  // namespace

TEST_P(CipherDifferential, BlockModesWithPadding) {
    const CipherInfo &c = GetParam();
    TestRng rng(c.id ^ 0x1234);
    for (uint8_t mode : {KRY_MODE_ECB, KRY_MODE_CBC}) {
        for (size_t len = 0; len <= 300; len++) {
            Bytes key = rng.bytes(c.key), iv = rng.bytes(c.block), msg = rng.bytes(len);
            Bytes want = reference(c, mode, key, iv, true, true, msg);
            auto enc = unit_crypt(c.id | mode, KRY_ENCRYPT, key, iv, msg, random_cuts(rng, len));
            ASSERT_EQ(enc.rc, 0u) << "mode " << int(mode) << " length " << len;
            ASSERT_EQ(to_hex(enc.out), to_hex(want)) << "mode " << int(mode) << " length " << len;
            auto dec = unit_crypt(c.id | mode, KRY_DECRYPT, key, iv, want, random_cuts(rng, want.size()));
            ASSERT_EQ(dec.rc, 0u) << "mode " << int(mode) << " length " << len;
            ASSERT_EQ(to_hex(dec.out), to_hex(msg)) << "mode " << int(mode) << " length " << len;
        }
    }
}

TEST_P(CipherDifferential, BlockModesWithoutPadding) {
    const CipherInfo &c = GetParam();
    TestRng rng(c.id ^ 0x5678);
    for (uint8_t mode : {KRY_MODE_ECB, KRY_MODE_CBC}) {
        for (size_t blocks = 0; blocks <= 20; blocks++) {
            Bytes key = rng.bytes(c.key), iv = rng.bytes(c.block), msg = rng.bytes(blocks * c.block);
            Bytes want = reference(c, mode, key, iv, true, false, msg);
            auto enc = unit_crypt(c.id | mode | KRY_NO_PADDING, KRY_ENCRYPT, key, iv, msg, random_cuts(rng, msg.size()));
            ASSERT_EQ(enc.rc, 0u);
            ASSERT_EQ(to_hex(enc.out), to_hex(want)) << "mode " << int(mode) << " blocks " << blocks;
            auto dec = unit_crypt(c.id | mode | KRY_NO_PADDING, KRY_DECRYPT, key, iv, want, random_cuts(rng, want.size()));
            ASSERT_EQ(dec.rc, 0u);
            ASSERT_EQ(to_hex(dec.out), to_hex(msg));
        }
        // A partial block left at final without padding is an error.
        Bytes key = rng.bytes(c.key), iv = rng.bytes(c.block), msg = rng.bytes(c.block + 3);
        EXPECT_EQ(unit_crypt(c.id | mode | KRY_NO_PADDING, KRY_ENCRYPT, key, iv, msg).rc, 0x01040006u);
        EXPECT_EQ(unit_crypt(c.id | mode | KRY_NO_PADDING, KRY_DECRYPT, key, iv, msg).rc, 0x01050008u);
    }
}

TEST_P(CipherDifferential, StreamModes) {
    const CipherInfo &c = GetParam();
    TestRng rng(c.id ^ 0x9abc);
    for (uint8_t mode : modes_of(c)) {
        if (mode == KRY_MODE_ECB || mode == KRY_MODE_CBC) continue;
        for (size_t len = 0; len <= 300; len++) {
            Bytes key = rng.bytes(c.key), iv = rng.bytes(c.block), msg = rng.bytes(len);
            Bytes want = reference(c, mode, key, iv, true, false, msg);
            SCOPED_TRACE("mode " + std::to_string(mode) + " length " + std::to_string(len));
            // Encryption gives the same bytes with or without the no-padding bit.
            for (uint32_t pad : {0u, KRY_NO_PADDING}) {
                auto enc = unit_crypt(c.id | mode | pad, KRY_ENCRYPT, key, iv, msg, random_cuts(rng, len));
                ASSERT_EQ(enc.rc, 0u);
                ASSERT_EQ(to_hex(enc.out), to_hex(want));
            }
            auto dec = unit_crypt(c.id | mode | KRY_NO_PADDING, KRY_DECRYPT, key, iv, want, random_cuts(rng, len));
            ASSERT_EQ(dec.rc, 0u);
            ASSERT_EQ(to_hex(dec.out), to_hex(msg));
            // Without the no-padding bit decryption holds its last block
            // back and final does not release it: a ciphertext that ends on
            // a block boundary loses its last block.
            auto held = unit_crypt(c.id | mode, KRY_DECRYPT, key, iv, want, random_cuts(rng, len));
            ASSERT_EQ(held.rc, 0u);
            size_t keep = (len != 0 && len % c.block == 0) ? len - c.block : len;
            ASSERT_EQ(to_hex(held.out), to_hex(Bytes(msg.begin(), msg.begin() + keep)));
        }
    }
}

TEST_P(CipherDifferential, CfbAnd128BitCfbAreTheSame) {
    const CipherInfo &c = GetParam();
    TestRng rng(c.id ^ 0xdef0);
    Bytes key = rng.bytes(c.key), iv = rng.bytes(c.block), msg = rng.bytes(77);
    auto a = unit_crypt(c.id | KRY_MODE_CFB | KRY_NO_PADDING, KRY_ENCRYPT, key, iv, msg);
    auto b = unit_crypt(c.id | KRY_MODE_CFB128 | KRY_NO_PADDING, KRY_ENCRYPT, key, iv, msg);
    ASSERT_EQ(a.rc, 0u);
    ASSERT_EQ(b.rc, 0u);
    EXPECT_EQ(to_hex(a.out), to_hex(b.out));
}

INSTANTIATE_TEST_SUITE_P(WithOpenSsl, CipherDifferential, ::testing::ValuesIn([] {
                             std::vector<CipherInfo> v;
                             for (const auto &c : all_ciphers())
                                 if (c.ossl != nullptr) v.push_back(c);
                             return v;
                         }()),
                         [](const auto &info) { return std::string(info.param.name); });
