// Digest, HMAC, random and cipher objects of the context API, outside proven
// mode (MD5, SHA-224 and DES-EDE need it), checked against OpenSSL and RHash.
#include <gtest/gtest.h>

#include <kry/api.h>
#include <kry/error.h>

#include "api/api_internal.h"
#include "oracle.h"
#include "test_support.h"

#include <cstring>
#include <string>
#include <vector>

using namespace kry_test;

namespace {

class ApiObjects : public ::testing::Test {
  protected:
    void SetUp() override {
        ChangeNonProvenMode();
        KRY_ChangeNonProvenMode();
        ASSERT_EQ(KRY_Initialize(), 0u);
        ASSERT_EQ(KRY_Context_new(&ctx), 0u);
    }
    void TearDown() override {
        if (ctx != nullptr) {
            EXPECT_EQ(KRY_Context_free(ctx), 0u);
        }
    }
    KRY_Context *ctx = nullptr;
};

struct DigestInfo {
    uint32_t number;
    const char *openssl;  // nullptr: HAS-160 (RHash)
    uint32_t length;
    uint32_t block;
};

const DigestInfo kDigests[] = {
    {1, "MD5", 16, 64},     {2, "SHA1", 20, 64},    {3, "SHA224", 28, 64},   {4, "SHA256", 32, 64},
    {5, "SHA384", 48, 128}, {6, "SHA512", 64, 128}, {7, nullptr, 20, 64},
};

Bytes reference_digest(const DigestInfo &d, const Bytes &m) {
    if (d.openssl == nullptr)
        return oracle::rhash_has160(m.data(), m.size());
    return oracle::openssl_digest(d.openssl, m.data(), m.size());
}

// HMAC (RFC 2104) over the reference digest; used for HAS-160, which OpenSSL lacks.
Bytes reference_hmac(const DigestInfo &d, const Bytes &key, const Bytes &m) {
    if (d.openssl != nullptr)
        return oracle::openssl_hmac(d.openssl, key, m);
    Bytes k = key.size() > d.block ? reference_digest(d, key) : key;
    k.resize(d.block, 0);
    Bytes inner(k), outer(k);
    for (auto &b : inner)
        b ^= 0x36;
    for (auto &b : outer)
        b ^= 0x5c;
    inner.insert(inner.end(), m.begin(), m.end());
    Bytes ih = reference_digest(d, inner);
    outer.insert(outer.end(), ih.begin(), ih.end());
    return reference_digest(d, outer);
}

// ---- object life cycle -------------------------------------------------------

TEST_F(ApiObjects, NewRefusesAnOccupiedHandleAndLeavesTheObjectAlone) {
    KRY_MD *md = nullptr;
    ASSERT_EQ(KRY_MD_new(ctx, &md), 0u);
    ASSERT_NE(md, nullptr);
    ASSERT_EQ(KRY_DigestInit(ctx, md, KRY_MD_SHA256), 0u);
    ASSERT_EQ(KRY_DigestUpdate(ctx, md, reinterpret_cast<const uint8_t *>("ab"), 2), 0u);
    KRY_MD *const kept = md;
    EXPECT_EQ(KRY_MD_new(ctx, &md), KRY_R_INVALID_ARGUMENT);
    EXPECT_EQ(md, kept);
    // The object still holds its state: "ab" + "c" is SHA-256("abc") (FIPS 180-2 B.1).
    ASSERT_EQ(KRY_DigestUpdate(ctx, md, reinterpret_cast<const uint8_t *>("c"), 1), 0u);
    uint8_t out[32];
    uint32_t len = 0;
    ASSERT_EQ(KRY_DigestFinal(ctx, md, out, sizeof out, &len), 0u);
    EXPECT_EQ(to_hex(out, len), "ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad");
    EXPECT_EQ(KRY_MD_free(ctx, md), 0u);

    KRY_HMAC *h = nullptr;
    ASSERT_EQ(KRY_HMAC_new(ctx, &h), 0u);
    KRY_HMAC *const kh = h;
    EXPECT_EQ(KRY_HMAC_new(ctx, &h), KRY_R_INVALID_ARGUMENT);
    EXPECT_EQ(h, kh);
    EXPECT_EQ(KRY_HMAC_free(ctx, h), 0u);

    KRY_CIPHER *c = nullptr;
    ASSERT_EQ(KRY_CIPHER_new(ctx, &c), 0u);
    KRY_CIPHER *const kc = c;
    EXPECT_EQ(KRY_CIPHER_new(ctx, &c), KRY_R_INVALID_ARGUMENT);
    EXPECT_EQ(c, kc);
    EXPECT_EQ(KRY_CIPHER_free(ctx, c), 0u);

    KRY_SIGNVERIFY *sv = nullptr;
    ASSERT_EQ(KRY_SIGNVERIFY_new(ctx, &sv), 0u);
    KRY_SIGNVERIFY *const ks = sv;
    EXPECT_EQ(KRY_SIGNVERIFY_new(ctx, &sv), KRY_R_INVALID_ARGUMENT);
    EXPECT_EQ(sv, ks);
    EXPECT_EQ(KRY_SIGNVERIFY_free(ctx, sv), 0u);
    kry::api::api_free(sv, sizeof *sv);
}

TEST_F(ApiObjects, NullHandlesAndNullObjects) {
    EXPECT_EQ(KRY_MD_new(ctx, nullptr), KRY_R_INVALID_ARGUMENT);
    EXPECT_EQ(KRY_HMAC_new(ctx, nullptr), KRY_R_INVALID_ARGUMENT);
    EXPECT_EQ(KRY_CIPHER_new(ctx, nullptr), KRY_R_INVALID_ARGUMENT);
    EXPECT_EQ(KRY_SIGNVERIFY_new(ctx, nullptr), KRY_R_INVALID_ARGUMENT);
    EXPECT_EQ(KRY_MD_free(ctx, nullptr), KRY_R_INVALID_ARGUMENT);
    EXPECT_EQ(KRY_HMAC_free(ctx, nullptr), KRY_R_INVALID_ARGUMENT);
    EXPECT_EQ(KRY_CIPHER_free(ctx, nullptr), KRY_R_INVALID_ARGUMENT);
    EXPECT_EQ(KRY_SIGNVERIFY_free(ctx, nullptr), KRY_R_INVALID_ARGUMENT);
}

TEST_F(ApiObjects, SignVerifyObjectStartsZeroedAndFreeKeepsIt) {
    KRY_SIGNVERIFY *sv = nullptr;
    ASSERT_EQ(KRY_SIGNVERIFY_new(ctx, &sv), 0u);
    ASSERT_NE(sv, nullptr);
    EXPECT_EQ(sv->key, nullptr);
    EXPECT_EQ(sv->digest_id, 0u);
    EXPECT_EQ(KRY_SIGNVERIFY_free(ctx, sv), KRY_R_OK);
    // The record stays allocated after the free call: it may still be read and
    // written (a sanitizer build reports a use after release here).
    sv->digest_id = 0x05000100u;
    EXPECT_EQ(sv->digest_id, 0x05000100u);
    EXPECT_EQ(KRY_SIGNVERIFY_free(ctx, sv), KRY_R_OK);
    kry::api::api_free(sv, sizeof *sv);
}

TEST_F(ApiObjects, ObjectsAreNotTiedToTheirContext) {
    KRY_Context *other = nullptr;
    ASSERT_EQ(KRY_Context_new(&other), 0u);
    KRY_MD *md = nullptr;
    ASSERT_EQ(KRY_MD_new(ctx, &md), 0u);
    ASSERT_EQ(KRY_DigestInit(other, md, KRY_MD_SHA1), 0u);
    ASSERT_EQ(KRY_DigestUpdate(ctx, md, reinterpret_cast<const uint8_t *>("abc"), 3), 0u);
    uint8_t out[20];
    uint32_t len = 0;
    ASSERT_EQ(KRY_DigestFinal(other, md, out, sizeof out, &len), 0u);
    // FIPS 180-2 appendix A.1
    EXPECT_EQ(to_hex(out, len), "a9993e364706816aba3e25717850c26c9cd0d89d");
    EXPECT_EQ(KRY_MD_free(other, md), 0u);
    EXPECT_EQ(KRY_Context_free(other), 0u);
}

// ---- random bytes ----------------------------------------------------------------

TEST_F(ApiObjects, RandomBytes) {
    EXPECT_EQ(KRY_RandomBytes(ctx, nullptr, 16), KRY_R_INVALID_ARGUMENT);
    uint8_t a[64], b[64];
    std::memset(a, 0, sizeof a);
    std::memset(b, 0, sizeof b);
    ASSERT_EQ(KRY_RandomBytes(ctx, a, sizeof a), 0u);
    ASSERT_EQ(KRY_RandomBytes(ctx, b, sizeof b), 0u);
    EXPECT_NE(std::memcmp(a, b, sizeof a), 0);
    const Bytes zero(64, 0);
    EXPECT_NE(std::memcmp(a, zero.data(), 64), 0);
    // Only the requested bytes are written.
    uint8_t c[16];
    std::memset(c, 0xAA, sizeof c);
    ASSERT_EQ(KRY_RandomBytes(ctx, c, 5), 0u);
    for (int i = 5; i < 16; ++i)
        EXPECT_EQ(c[i], 0xAA);
}

// ---- digests ----------------------------------------------------------------------

TEST_F(ApiObjects, DigestsEqualTheReference) {
    TestRng rng(0xD16E57);
    for (const DigestInfo &d : kDigests) {
        SCOPED_TRACE(d.number);
        KRY_MD *md = nullptr;
        ASSERT_EQ(KRY_MD_new(ctx, &md), 0u);
        for (size_t len : {size_t(0), size_t(1), size_t(55), size_t(56), size_t(64), size_t(111), size_t(112),
                           size_t(128), size_t(1000), size_t(rng.below(3000))}) {
            Bytes m = rng.bytes(len);
            m.reserve(1);  // data() is never null, even for the empty message
            ASSERT_EQ(KRY_DigestInit(ctx, md, d.number), 0u);
            // Split the message at a random point.
            size_t cut = len ? rng.below(static_cast<uint32_t>(len + 1)) : 0;
            ASSERT_EQ(KRY_DigestUpdate(ctx, md, m.data(), static_cast<uint32_t>(cut)), 0u);
            ASSERT_EQ(KRY_DigestUpdate(ctx, md, m.data() + cut, static_cast<uint32_t>(len - cut)), 0u);
            uint8_t out[80];
            uint32_t out_len = 0;
            ASSERT_EQ(KRY_DigestFinal(ctx, md, out, d.length, &out_len), 0u);
            ASSERT_EQ(out_len, d.length);
            EXPECT_EQ(to_hex(out, out_len), to_hex(reference_digest(d, m))) << "len " << len;
        }
        EXPECT_EQ(KRY_MD_free(ctx, md), 0u);
    }
}

TEST_F(ApiObjects, DigestUnknownNumbersGive8) {
    KRY_MD *md = nullptr;
    ASSERT_EQ(KRY_MD_new(ctx, &md), 0u);
    for (uint32_t n : {0u, 8u, 9u, 0x05000100u, 0xFFFFFFFFu})
        EXPECT_EQ(KRY_DigestInit(ctx, md, n), KRY_R_UNKNOWN_DIGEST) << n;
    EXPECT_EQ(KRY_DigestInit(ctx, nullptr, 2), KRY_R_INVALID_ARGUMENT);
    EXPECT_EQ(KRY_MD_free(ctx, md), 0u);
}

TEST_F(ApiObjects, DigestFinalChecksTheSizeBeforeWriting) {
    KRY_MD *md = nullptr;
    ASSERT_EQ(KRY_MD_new(ctx, &md), 0u);
    ASSERT_EQ(KRY_DigestInit(ctx, md, KRY_MD_SHA1), 0u);
    ASSERT_EQ(KRY_DigestUpdate(ctx, md, reinterpret_cast<const uint8_t *>("abc"), 3), 0u);
    uint8_t out[24];
    std::memset(out, 0xAA, sizeof out);
    uint32_t len = 0x5555;
    EXPECT_EQ(KRY_DigestFinal(ctx, md, out, 19, &len), KRY_R_BUFFER_TOO_SMALL);
    for (uint8_t b : out)
        EXPECT_EQ(b, 0xAA);
    EXPECT_EQ(len, 0x5555u);
    // The refused call did not finish the digest: 20 bytes now succeed.
    ASSERT_EQ(KRY_DigestFinal(ctx, md, out, 20, &len), 0u);
    EXPECT_EQ(len, 20u);
    EXPECT_EQ(to_hex(out, 20), "a9993e364706816aba3e25717850c26c9cd0d89d");
    EXPECT_EQ(out[20], 0xAA);
    EXPECT_EQ(KRY_MD_free(ctx, md), 0u);
}

TEST_F(ApiObjects, DigestArgumentChecks) {
    KRY_MD *md = nullptr;
    ASSERT_EQ(KRY_MD_new(ctx, &md), 0u);
    ASSERT_EQ(KRY_DigestInit(ctx, md, KRY_MD_SHA256), 0u);
    uint8_t out[32];
    uint32_t len = 0;
    EXPECT_EQ(KRY_DigestUpdate(ctx, nullptr, out, 1), KRY_R_INVALID_ARGUMENT);
    EXPECT_EQ(KRY_DigestUpdate(ctx, md, nullptr, 1), KRY_R_INVALID_ARGUMENT);
    EXPECT_EQ(KRY_DigestFinal(ctx, nullptr, out, 32, &len), KRY_R_INVALID_ARGUMENT);
    EXPECT_EQ(KRY_DigestFinal(ctx, md, nullptr, 32, &len), KRY_R_INVALID_ARGUMENT);
    EXPECT_EQ(KRY_DigestFinal(ctx, md, out, 32, nullptr), KRY_R_INVALID_ARGUMENT);
    EXPECT_EQ(KRY_MD_free(ctx, md), 0u);
}

TEST_F(ApiObjects, DigestOnAnUnboundObjectFails) {
    KRY_MD *md = nullptr;
    ASSERT_EQ(KRY_MD_new(ctx, &md), 0u);
    const uint8_t data[4] = {1, 2, 3, 4};
    EXPECT_EQ(KRY_DigestUpdate(ctx, md, data, 4), KRY_R_DIGEST_UPDATE);
    uint8_t out[64];
    uint32_t len = 0;
    EXPECT_EQ(KRY_DigestFinal(ctx, md, out, sizeof out, &len), KRY_R_DIGEST_FINAL);
    EXPECT_EQ(KRY_MD_free(ctx, md), 0u);
}

// ---- HMAC ---------------------------------------------------------------------------

TEST_F(ApiObjects, HmacsEqualTheReference) {
    TestRng rng(0x43AC);
    for (const DigestInfo &d : kDigests) {
        SCOPED_TRACE(d.number);
        KRY_HMAC *h = nullptr;
        ASSERT_EQ(KRY_HMAC_new(ctx, &h), 0u);
        for (size_t key_len : {size_t(1), size_t(20), size_t(d.block), size_t(d.block + 1), size_t(200)}) {
            Bytes key = rng.bytes(key_len);
            Bytes m = rng.bytes(rng.below(500));
            m.reserve(1);
            ASSERT_EQ(KRY_HMACInit(ctx, h, key.data(), static_cast<uint32_t>(key.size()), d.number), 0u);
            size_t cut = m.empty() ? 0 : rng.below(static_cast<uint32_t>(m.size()));
            ASSERT_EQ(KRY_HMACUpdate(ctx, h, m.data(), static_cast<uint32_t>(cut)), 0u);
            ASSERT_EQ(KRY_HMACUpdate(ctx, h, m.data() + cut, static_cast<uint32_t>(m.size() - cut)), 0u);
            uint8_t out[64];
            uint32_t len = 0;
            ASSERT_EQ(KRY_HMACFinal(ctx, h, out, d.length, &len), 0u);
            ASSERT_EQ(len, d.length);
            EXPECT_EQ(to_hex(out, len), to_hex(reference_hmac(d, key, m))) << "key " << key_len;
        }
        EXPECT_EQ(KRY_HMAC_free(ctx, h), 0u);
    }
}

TEST_F(ApiObjects, HmacRfc4231Case2) {
    // RFC 4231 test case 2: key "Jefe", "what do ya want for nothing?".
    KRY_HMAC *h = nullptr;
    ASSERT_EQ(KRY_HMAC_new(ctx, &h), 0u);
    const std::string data = "what do ya want for nothing?";
    ASSERT_EQ(KRY_HMACInit(ctx, h, reinterpret_cast<const uint8_t *>("Jefe"), 4, KRY_MD_SHA256), 0u);
    ASSERT_EQ(KRY_HMACUpdate(ctx, h, reinterpret_cast<const uint8_t *>(data.data()),
                             static_cast<uint32_t>(data.size())),
              0u);
    uint8_t out[40];
    std::memset(out, 0xAA, sizeof out);
    uint32_t len = 0x77;
    EXPECT_EQ(KRY_HMACFinal(ctx, h, out, 31, &len), KRY_R_BUFFER_TOO_SMALL);
    for (uint8_t b : out)
        EXPECT_EQ(b, 0xAA);
    EXPECT_EQ(len, 0x77u);
    ASSERT_EQ(KRY_HMACFinal(ctx, h, out, 32, &len), 0u);
    EXPECT_EQ(to_hex(out, len), "5bdcc146bf60754e6a042426089575c75a003f089d2739839dec58b964ec3843");
    EXPECT_EQ(out[32], 0xAA);
    EXPECT_EQ(KRY_HMAC_free(ctx, h), 0u);
}

TEST_F(ApiObjects, HmacUnknownNumbersAndArguments) {
    KRY_HMAC *h = nullptr;
    ASSERT_EQ(KRY_HMAC_new(ctx, &h), 0u);
    const uint8_t key[16] = {0};
    for (uint32_t n : {0u, 8u, 0x15000100u, 0xFFFFFFFFu})
        EXPECT_EQ(KRY_HMACInit(ctx, h, key, 16, n), KRY_R_UNKNOWN_DIGEST) << n;
    EXPECT_EQ(KRY_HMACInit(ctx, nullptr, key, 16, 2), KRY_R_INVALID_ARGUMENT);
    EXPECT_EQ(KRY_HMACInit(ctx, h, nullptr, 16, 2), KRY_R_INVALID_ARGUMENT);
    uint8_t out[64];
    uint32_t len = 0;
    EXPECT_EQ(KRY_HMACUpdate(ctx, nullptr, key, 1), KRY_R_INVALID_ARGUMENT);
    EXPECT_EQ(KRY_HMACUpdate(ctx, h, nullptr, 1), KRY_R_INVALID_ARGUMENT);
    EXPECT_EQ(KRY_HMACFinal(ctx, nullptr, out, 64, &len), KRY_R_INVALID_ARGUMENT);
    EXPECT_EQ(KRY_HMACFinal(ctx, h, nullptr, 64, &len), KRY_R_INVALID_ARGUMENT);
    EXPECT_EQ(KRY_HMACFinal(ctx, h, out, 64, nullptr), KRY_R_INVALID_ARGUMENT);
    EXPECT_EQ(KRY_HMAC_free(ctx, h), 0u);
}

TEST_F(ApiObjects, HmacOnAnUnboundObjectFails) {
    KRY_HMAC *h = nullptr;
    ASSERT_EQ(KRY_HMAC_new(ctx, &h), 0u);
    const uint8_t data[4] = {1, 2, 3, 4};
    EXPECT_EQ(KRY_HMACUpdate(ctx, h, data, 4), KRY_R_HMAC_UPDATE);
    uint8_t out[64];
    uint32_t len = 0;
    EXPECT_EQ(KRY_HMACFinal(ctx, h, out, sizeof out, &len), KRY_R_HMAC_FINAL);
    EXPECT_EQ(KRY_HMAC_free(ctx, h), 0u);
}

// ---- ciphers ------------------------------------------------------------------------

struct CipherInfo {
    uint32_t number;
    uint32_t key_length;
    uint32_t block;
    const char *ecb;
    const char *cbc;
};

const CipherInfo kCiphers[] = {
    {1, 24, 8, "DES-EDE3-ECB", "DES-EDE3-CBC"}, {2, 16, 16, "SEED-ECB", "SEED-CBC"},
    {3, 16, 16, "ARIA-128-ECB", "ARIA-128-CBC"}, {4, 24, 16, "ARIA-192-ECB", "ARIA-192-CBC"},
    {5, 32, 16, "ARIA-256-ECB", "ARIA-256-CBC"},
};

// Runs a whole encryption or decryption through the API, in pieces.
uint32_t run_cipher(KRY_Context *ctx, bool encrypt, uint32_t number, uint8_t mode, const char *alias,
                    const Bytes &iv, const Bytes &in, TestRng &rng, Bytes &out) {
    KRY_CIPHER *c = nullptr;
    if (uint32_t r = KRY_CIPHER_new(ctx, &c); r != 0)
        return 1000 + r;
    const uint8_t *ivp = iv.empty() ? nullptr : iv.data();
    uint32_t r = encrypt ? KRY_EncryptInit(ctx, c, number, mode, alias, ivp)
                         : KRY_DecryptInit(ctx, c, number, mode, alias, ivp);
    out.assign(in.size() + 64, 0);
    size_t done = 0, pos = 0;
    while (r == 0 && pos < in.size()) {
        size_t piece = 1 + rng.below(static_cast<uint32_t>(in.size() - pos));
        uint32_t len = 0;
        const uint32_t room = static_cast<uint32_t>(out.size() - done);
        r = encrypt ? KRY_EncryptUpdate(ctx, c, out.data() + done, room, &len, in.data() + pos,
                                        static_cast<uint32_t>(piece))
                    : KRY_DecryptUpdate(ctx, c, out.data() + done, room, &len, in.data() + pos,
                                        static_cast<uint32_t>(piece));
        done += len;
        pos += piece;
    }
    if (r == 0) {
        uint32_t len = 0;
        const uint32_t room = static_cast<uint32_t>(out.size() - done);
        r = encrypt ? KRY_EncryptFinal(ctx, c, out.data() + done, room, &len)
                    : KRY_DecryptFinal(ctx, c, out.data() + done, room, &len);
        done += len;
    }
    out.resize(done);
    KRY_CIPHER_free(ctx, c);
    return r;
}

TEST_F(ApiObjects, CiphersEqualOpenSsl) {
    TestRng rng(0xC1F4);
    for (const CipherInfo &ci : kCiphers) {
        Bytes key = rng.bytes(ci.key_length);
        const std::string alias = "key" + std::to_string(ci.number);
        ASSERT_EQ(KRY_SymKeyImport(ctx, alias.c_str(), key.data(), ci.key_length), 0u);
        for (uint8_t mode : {0x01, 0x02, 0x11, 0x12, 0x21, 0x22}) {
            const bool cbc = (mode & 0x0F) == 2;
            const bool padding = (mode & 0xF0) != 0x10;
            for (int trial = 0; trial < 6; ++trial) {
                SCOPED_TRACE(testing::Message() << "cipher " << ci.number << " mode " << std::hex << int(mode)
                                                << " trial " << std::dec << trial);
                size_t len = rng.below(200);
                if (!padding)
                    len -= len % ci.block;
                Bytes pt = rng.bytes(len);
                Bytes iv = cbc ? rng.bytes(ci.block) : Bytes{};
                Bytes expect;
                ASSERT_TRUE(oracle::openssl_cipher(cbc ? ci.cbc : ci.ecb, key, iv, true, padding, pt, expect));
                Bytes ct;
                ASSERT_EQ(run_cipher(ctx, true, ci.number, mode, alias.c_str(), iv, pt, rng, ct), 0u);
                EXPECT_EQ(to_hex(ct), to_hex(expect));
                Bytes back;
                ASSERT_EQ(run_cipher(ctx, false, ci.number, mode, alias.c_str(), iv, expect, rng, back), 0u);
                EXPECT_EQ(to_hex(back), to_hex(pt));
            }
        }
    }
}

TEST_F(ApiObjects, ModeByte0x21RunsExactlyLike0x01) {
    TestRng rng(0x21);
    Bytes key = rng.bytes(16);
    ASSERT_EQ(KRY_SymKeyImport(ctx, "seed", key.data(), 16), 0u);
    for (size_t len : {size_t(0), size_t(5), size_t(16), size_t(33)}) {
        Bytes pt = rng.bytes(len);
        Bytes a, b;
        ASSERT_EQ(run_cipher(ctx, true, 2, 0x01, "seed", {}, pt, rng, a), 0u);
        ASSERT_EQ(run_cipher(ctx, true, 2, 0x21, "seed", {}, pt, rng, b), 0u);
        EXPECT_EQ(to_hex(a), to_hex(b));
        EXPECT_EQ(a.size(), (len / 16 + 1) * 16);  // padding is on
    }
}

TEST_F(ApiObjects, UnsupportedCombinationsGive11) {
    const uint8_t key16[16] = {0}, key24[24] = {0};
    ASSERT_EQ(KRY_SymKeyImport(ctx, "k16", key16, 16), 0u);
    ASSERT_EQ(KRY_SymKeyImport(ctx, "k24", key24, 24), 0u);
    KRY_CIPHER *c = nullptr;
    ASSERT_EQ(KRY_CIPHER_new(ctx, &c), 0u);
    // DES-EDE with a two-key (16-byte) key is not reachable.
    EXPECT_EQ(KRY_EncryptInit(ctx, c, 1, 0x01, "k16", nullptr), KRY_R_UNSUPPORTED_CIPHER);
    EXPECT_EQ(KRY_DecryptInit(ctx, c, 1, 0x02, "k16", nullptr), KRY_R_UNSUPPORTED_CIPHER);
    EXPECT_EQ(KRY_EncryptInit(ctx, c, 2, 0x03, "k16", nullptr), KRY_R_UNSUPPORTED_CIPHER);
    EXPECT_EQ(KRY_DecryptInit(ctx, c, 2, 0x03, "k16", nullptr), KRY_R_UNSUPPORTED_CIPHER);
    EXPECT_EQ(KRY_EncryptInit(ctx, c, 2, 0x01, "k24", nullptr), KRY_R_UNSUPPORTED_CIPHER);
    EXPECT_EQ(KRY_EncryptInit(ctx, c, 6, 0x01, "k16", nullptr), KRY_R_UNSUPPORTED_CIPHER);
    EXPECT_EQ(KRY_EncryptInit(ctx, c, 0, 0x01, "k16", nullptr), KRY_R_UNSUPPORTED_CIPHER);
    EXPECT_EQ(KRY_CIPHER_free(ctx, c), 0u);
}

TEST_F(ApiObjects, MissingAliasGives10BeforeTheMap) {
    KRY_CIPHER *c = nullptr;
    ASSERT_EQ(KRY_CIPHER_new(ctx, &c), 0u);
    EXPECT_EQ(KRY_EncryptInit(ctx, c, 99, 0x07, "absent", nullptr), KRY_R_SYMKEY_NOT_FOUND);
    EXPECT_EQ(KRY_DecryptInit(ctx, c, 99, 0x07, "absent", nullptr), KRY_R_SYMKEY_NOT_FOUND);
    EXPECT_EQ(KRY_EncryptInit(ctx, c, 2, 0x01, "absent", nullptr), KRY_R_SYMKEY_NOT_FOUND);
    EXPECT_EQ(KRY_EncryptInit(ctx, c, 2, 0x01, nullptr, nullptr), KRY_R_INVALID_ARGUMENT);
    EXPECT_EQ(KRY_EncryptInit(ctx, nullptr, 2, 0x01, "absent", nullptr), KRY_R_INVALID_ARGUMENT);
    EXPECT_EQ(KRY_DecryptInit(ctx, c, 2, 0x01, nullptr, nullptr), KRY_R_INVALID_ARGUMENT);
    EXPECT_EQ(KRY_CIPHER_free(ctx, c), 0u);
}

TEST_F(ApiObjects, CipherUpdateAndFinalArguments) {
    const uint8_t key[16] = {0};
    ASSERT_EQ(KRY_SymKeyImport(ctx, "k", key, 16), 0u);
    KRY_CIPHER *c = nullptr;
    ASSERT_EQ(KRY_CIPHER_new(ctx, &c), 0u);
    ASSERT_EQ(KRY_EncryptInit(ctx, c, 3, 0x01, "k", nullptr), 0u);
    uint8_t in[16] = {0}, out[48];
    uint32_t len = 0;
    EXPECT_EQ(KRY_EncryptUpdate(ctx, nullptr, out, 48, &len, in, 16), KRY_R_INVALID_ARGUMENT);
    EXPECT_EQ(KRY_EncryptUpdate(ctx, c, nullptr, 48, &len, in, 16), KRY_R_INVALID_ARGUMENT);
    EXPECT_EQ(KRY_EncryptUpdate(ctx, c, out, 48, nullptr, in, 16), KRY_R_INVALID_ARGUMENT);
    EXPECT_EQ(KRY_EncryptUpdate(ctx, c, out, 48, &len, nullptr, 16), KRY_R_INVALID_ARGUMENT);
    EXPECT_EQ(KRY_EncryptFinal(ctx, nullptr, out, 48, &len), KRY_R_INVALID_ARGUMENT);
    EXPECT_EQ(KRY_EncryptFinal(ctx, c, nullptr, 48, &len), KRY_R_INVALID_ARGUMENT);
    EXPECT_EQ(KRY_EncryptFinal(ctx, c, out, 48, nullptr), KRY_R_INVALID_ARGUMENT);
    EXPECT_EQ(KRY_DecryptUpdate(ctx, nullptr, out, 48, &len, in, 16), KRY_R_INVALID_ARGUMENT);
    EXPECT_EQ(KRY_DecryptUpdate(ctx, c, out, 48, &len, nullptr, 16), KRY_R_INVALID_ARGUMENT);
    EXPECT_EQ(KRY_DecryptFinal(ctx, c, out, 48, nullptr), KRY_R_INVALID_ARGUMENT);
    EXPECT_EQ(KRY_CIPHER_free(ctx, c), 0u);
}

// The size check of Update and Final follows the toolkit call: 9 is reported
// after the output was produced; only the given size is written.
TEST_F(ApiObjects, CipherSizeCheckComesAfterTheToolkit) {
    TestRng rng(0x9);
    Bytes key = rng.bytes(16);
    ASSERT_EQ(KRY_SymKeyImport(ctx, "aria", key.data(), 16), 0u);
    Bytes pt = rng.bytes(32);
    Bytes expect;
    ASSERT_TRUE(oracle::openssl_cipher("ARIA-128-ECB", key, {}, true, true, pt, expect));
    ASSERT_EQ(expect.size(), 48u);

    KRY_CIPHER *c = nullptr;
    ASSERT_EQ(KRY_CIPHER_new(ctx, &c), 0u);
    ASSERT_EQ(KRY_EncryptInit(ctx, c, 3, 0x01, "aria", nullptr), 0u);
    uint8_t out[64];
    std::memset(out, 0xAA, sizeof out);
    uint32_t len = 0;
    EXPECT_EQ(KRY_EncryptUpdate(ctx, c, out, 16, &len, pt.data(), 32), KRY_R_BUFFER_TOO_SMALL);
    EXPECT_EQ(len, 32u);
    EXPECT_EQ(to_hex(out, 16), to_hex(expect.data(), 16));
    for (int i = 16; i < 64; ++i)
        ASSERT_EQ(out[i], 0xAA) << "written past the given size at " << i;
    // The toolkit consumed the input: Final produces the padding block.
    std::memset(out, 0xAA, sizeof out);
    len = 0;
    EXPECT_EQ(KRY_EncryptFinal(ctx, c, out, 8, &len), KRY_R_BUFFER_TOO_SMALL);
    EXPECT_EQ(len, 16u);
    EXPECT_EQ(to_hex(out, 8), to_hex(expect.data() + 32, 8));
    for (int i = 8; i < 64; ++i)
        ASSERT_EQ(out[i], 0xAA) << "written past the given size at " << i;
    EXPECT_EQ(KRY_CIPHER_free(ctx, c), 0u);

    // Decryption reports the same way.
    c = nullptr;
    ASSERT_EQ(KRY_CIPHER_new(ctx, &c), 0u);
    ASSERT_EQ(KRY_DecryptInit(ctx, c, 3, 0x11, "aria", nullptr), 0u);
    std::memset(out, 0xAA, sizeof out);
    EXPECT_EQ(KRY_DecryptUpdate(ctx, c, out, 20, &len, expect.data(), 48), KRY_R_BUFFER_TOO_SMALL);
    EXPECT_EQ(len, 48u);
    EXPECT_EQ(to_hex(out, 20), to_hex(pt.data(), 20));
    for (int i = 20; i < 64; ++i)
        ASSERT_EQ(out[i], 0xAA) << "written past the given size at " << i;
    EXPECT_EQ(KRY_CIPHER_free(ctx, c), 0u);
}

TEST_F(ApiObjects, CipherToolkitFailures) {
    TestRng rng(0x1417);
    Bytes key = rng.bytes(16);
    ASSERT_EQ(KRY_SymKeyImport(ctx, "seed", key.data(), 16), 0u);
    uint8_t out[64];
    uint32_t len = 0;
    const Bytes data = rng.bytes(20);

    // Update on an object that was never initialised.
    KRY_CIPHER *c = nullptr;
    ASSERT_EQ(KRY_CIPHER_new(ctx, &c), 0u);
    EXPECT_EQ(KRY_EncryptUpdate(ctx, c, out, sizeof out, &len, data.data(), 16), KRY_R_ENCRYPT_UPDATE);
    EXPECT_EQ(KRY_DecryptUpdate(ctx, c, out, sizeof out, &len, data.data(), 16), KRY_R_DECRYPT_UPDATE);
    EXPECT_EQ(KRY_CIPHER_free(ctx, c), 0u);

    // Without padding, a partial block cannot be finished.
    c = nullptr;
    ASSERT_EQ(KRY_CIPHER_new(ctx, &c), 0u);
    ASSERT_EQ(KRY_EncryptInit(ctx, c, 2, 0x11, "seed", nullptr), 0u);
    ASSERT_EQ(KRY_EncryptUpdate(ctx, c, out, sizeof out, &len, data.data(), 20), 0u);
    EXPECT_EQ(KRY_EncryptFinal(ctx, c, out, sizeof out, &len), KRY_R_ENCRYPT_FINAL);
    EXPECT_EQ(KRY_CIPHER_free(ctx, c), 0u);

    // Decryption of a block whose padding is wrong.
    Bytes bad;
    ASSERT_TRUE(oracle::openssl_cipher("SEED-ECB", key, {}, true, false, Bytes(16, 0x11), bad));
    c = nullptr;
    ASSERT_EQ(KRY_CIPHER_new(ctx, &c), 0u);
    ASSERT_EQ(KRY_DecryptInit(ctx, c, 2, 0x01, "seed", nullptr), 0u);
    ASSERT_EQ(KRY_DecryptUpdate(ctx, c, out, sizeof out, &len, bad.data(), 16), 0u);
    EXPECT_EQ(KRY_DecryptFinal(ctx, c, out, sizeof out, &len), KRY_R_DECRYPT_FINAL);
    EXPECT_EQ(KRY_CIPHER_free(ctx, c), 0u);
}

TEST_F(ApiObjects, CipherObjectCanBeReinitialised) {
    TestRng rng(0x7E);
    Bytes k1 = rng.bytes(24), k2 = rng.bytes(32);
    ASSERT_EQ(KRY_SymKeyImport(ctx, "tdes", k1.data(), 24), 0u);
    ASSERT_EQ(KRY_SymKeyImport(ctx, "aria256", k2.data(), 32), 0u);
    KRY_CIPHER *c = nullptr;
    ASSERT_EQ(KRY_CIPHER_new(ctx, &c), 0u);
    Bytes pt = rng.bytes(24), iv = rng.bytes(16);
    for (int round = 0; round < 2; ++round) {
        const bool des = round == 0;
        ASSERT_EQ(KRY_EncryptInit(ctx, c, des ? 1 : 5, 0x02, des ? "tdes" : "aria256", iv.data()), 0u);
        uint8_t out[64];
        uint32_t a = 0, b = 0;
        ASSERT_EQ(KRY_EncryptUpdate(ctx, c, out, sizeof out, &a, pt.data(), 24), 0u);
        ASSERT_EQ(KRY_EncryptFinal(ctx, c, out + a, sizeof out - a, &b), 0u);
        Bytes expect;
        Bytes ivx(iv.begin(), iv.begin() + (des ? 8 : 16));
        ASSERT_TRUE(oracle::openssl_cipher(des ? "DES-EDE3-CBC" : "ARIA-256-CBC", des ? k1 : k2, ivx, true, true,
                                           pt, expect));
        EXPECT_EQ(to_hex(out, a + b), to_hex(expect));
    }
    EXPECT_EQ(KRY_CIPHER_free(ctx, c), 0u);
}

}  // namespace
