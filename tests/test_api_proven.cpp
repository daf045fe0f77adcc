// The context API while the module stays in proven mode (the state at load):
// nothing in this file leaves it.  Approved algorithms work; the others are
// refused by the toolkit and reported with the call's fixed number.
#include <gtest/gtest.h>

#include <kry/api.h>
#include <kry/error.h>
#include <kry/key.h>

#include "api/api_internal.h"
#include "oracle.h"
#include "oracle_pk_rsa.h"
#include "test_support.h"

#include <cstring>
#include <string>
#include <vector>

using namespace kry_test;

namespace {

Bytes minimal(Bytes b) {
    size_t i = 0;
    while (i + 1 < b.size() && b[i] == 0)
        ++i;
    return Bytes(b.begin() + static_cast<std::ptrdiff_t>(i), b.end());
}

Bytes hex_value(std::string hex) {
    if (hex.size() % 2)
        hex.insert(hex.begin(), '0');
    return minimal(from_hex(hex));
}

void put32(Bytes &out, uint32_t v) {
    for (int i = 3; i >= 0; --i)
        out.push_back(static_cast<uint8_t>(v >> (8 * i)));
}

// Encoded key pair enciphered with SEED-CBC under SHA-256(password) (kry/key.h).
Bytes encode_keypair(const std::vector<Bytes> &components, const std::string &password) {
    Bytes list;
    uint8_t tag = 1;
    for (const Bytes &c : components) {
        list.push_back(tag++);
        put32(list, static_cast<uint32_t>(c.size()));
        list.insert(list.end(), c.begin(), c.end());
    }
    Bytes h = oracle::openssl_digest("SHA256", reinterpret_cast<const uint8_t *>(password.data()), password.size());
    Bytes payload;
    if (!oracle::openssl_cipher("SEED-CBC", Bytes(h.begin(), h.begin() + 16), Bytes(h.begin() + 16, h.end()), true,
                                true, list, payload))
        return {};
    Bytes out;
    out.push_back(static_cast<uint8_t>(components.size()));
    put32(out, static_cast<uint32_t>(payload.size()));
    out.insert(out.end(), payload.begin(), payload.end());
    return out;
}

Bytes dl_encoded(const char *file) {
    auto blocks = read_vectors(file);
    if (blocks.empty())
        return {};
    auto &v = blocks[0];
    return encode_keypair({hex_value(v.at("P")), hex_value(v.at("Q")), hex_value(v.at("G")), hex_value(v.at("Y")),
                           hex_value(v.at("X"))},
                          "pw");
}

const oracle::rsa::Key &rsa_hex() {
    static oracle::rsa::Key k = [] {
        oracle::rsa::Key r;
        oracle::rsa::generate(1024, 65537, &r);
        return r;
    }();
    return k;
}

class ApiProven : public ::testing::Test {
  protected:
    void SetUp() override {
        ASSERT_EQ(KRY_Initialize(), 0u);
        ASSERT_EQ(KRY_IsProven(), 1u) << "a test of this file left proven mode";
        ASSERT_EQ(IsProven(), 1u);
        ASSERT_EQ(KRY_Context_new(&ctx), 0u);
    }
    void TearDown() override {
        if (ctx != nullptr) {
            EXPECT_EQ(KRY_Context_free(ctx), 0u);
        }
    }
    void import_rsa() {
        const auto &h = rsa_hex();
        const Bytes enc = encode_keypair({hex_value(h.n), hex_value(h.e), hex_value(h.d), hex_value(h.p),
                                          hex_value(h.q), hex_value(h.dP), hex_value(h.dQ), hex_value(h.qInv)},
                                         "pw");
        ASSERT_EQ(KRY_KeyPairImport(ctx, "rsa", KRY_KEYPAIR_RSA, enc.data(), static_cast<uint32_t>(enc.size()), "pw"),
                  0u);
    }
    KRY_Context *ctx = nullptr;
};

TEST_F(ApiProven, ModuleIsProvenAtLoad) {
    EXPECT_EQ(KRY_IsProven(), 1u);
    EXPECT_EQ(kry::api::proven_flag(), 1u);
    EXPECT_EQ(IsProven(), 1u);
}

TEST_F(ApiProven, DesEdeIsRefusedAtInitWith12And15) {
    const uint8_t key[24] = {1, 2, 3};
    ASSERT_EQ(KRY_SymKeyImport(ctx, "tdes", key, 24), 0u);
    KRY_CIPHER *c = nullptr;
    ASSERT_EQ(KRY_CIPHER_new(ctx, &c), 0u);
    EXPECT_EQ(KRY_EncryptInit(ctx, c, KRY_CIPHER_DES_EDE, 0x01, "tdes", nullptr), KRY_R_ENCRYPT_INIT);
    EXPECT_EQ(KRY_DecryptInit(ctx, c, KRY_CIPHER_DES_EDE, 0x02, "tdes", nullptr), KRY_R_DECRYPT_INIT);
    // ARIA-192 uses a key of the same length and is approved.
    const uint8_t iv[16] = {0};
    EXPECT_EQ(KRY_EncryptInit(ctx, c, KRY_CIPHER_ARIA192, 0x02, "tdes", iv), 0u);
    EXPECT_EQ(KRY_CIPHER_free(ctx, c), 0u);
}

TEST_F(ApiProven, ApprovedCiphersMatchOpenSsl) {
    TestRng rng(0xA9);
    Bytes key = rng.bytes(16), iv = rng.bytes(16), pt = rng.bytes(45);
    ASSERT_EQ(KRY_SymKeyImport(ctx, "k", key.data(), 16), 0u);
    for (uint32_t number : {KRY_CIPHER_SEED, KRY_CIPHER_ARIA128}) {
        KRY_CIPHER *c = nullptr;
        ASSERT_EQ(KRY_CIPHER_new(ctx, &c), 0u);
        ASSERT_EQ(KRY_EncryptInit(ctx, c, number, 0x02, "k", iv.data()), 0u);
        uint8_t out[80];
        uint32_t a = 0, b = 0;
        ASSERT_EQ(KRY_EncryptUpdate(ctx, c, out, sizeof out, &a, pt.data(), 45), 0u);
        ASSERT_EQ(KRY_EncryptFinal(ctx, c, out + a, sizeof out - a, &b), 0u);
        Bytes expect;
        ASSERT_TRUE(oracle::openssl_cipher(number == KRY_CIPHER_SEED ? "SEED-CBC" : "ARIA-128-CBC", key, iv, true,
                                           true, pt, expect));
        EXPECT_EQ(to_hex(out, a + b), to_hex(expect));
        EXPECT_EQ(KRY_CIPHER_free(ctx, c), 0u);
    }
}

TEST_F(ApiProven, RefusedDigestsGive47And50) {
    KRY_MD *md = nullptr;
    ASSERT_EQ(KRY_MD_new(ctx, &md), 0u);
    EXPECT_EQ(KRY_DigestInit(ctx, md, KRY_MD_MD5), KRY_R_DIGEST_INIT);
    EXPECT_EQ(KRY_DigestInit(ctx, md, KRY_MD_SHA224), KRY_R_DIGEST_INIT);
    for (uint32_t n : {KRY_MD_SHA1, KRY_MD_SHA256, KRY_MD_SHA384, KRY_MD_SHA512, KRY_MD_HAS160}) {
        EXPECT_EQ(KRY_DigestInit(ctx, md, n), 0u) << n;
    }
    EXPECT_EQ(KRY_MD_free(ctx, md), 0u);

    KRY_HMAC *h = nullptr;
    ASSERT_EQ(KRY_HMAC_new(ctx, &h), 0u);
    const uint8_t key[20] = {0x0b};
    EXPECT_EQ(KRY_HMACInit(ctx, h, key, 20, KRY_MD_MD5), KRY_R_HMAC_INIT);
    EXPECT_EQ(KRY_HMACInit(ctx, h, key, 20, KRY_MD_SHA224), KRY_R_HMAC_INIT);
    ASSERT_EQ(KRY_HMACInit(ctx, h, key, 20, KRY_MD_SHA256), 0u);
    const Bytes m = bytes_of("Hi There");
    ASSERT_EQ(KRY_HMACUpdate(ctx, h, m.data(), 8), 0u);
    uint8_t out[32];
    uint32_t len = 0;
    ASSERT_EQ(KRY_HMACFinal(ctx, h, out, sizeof out, &len), 0u);
    EXPECT_EQ(to_hex(out, len), to_hex(oracle::openssl_hmac("SHA256", Bytes(key, key + 20), m)));
    EXPECT_EQ(KRY_HMAC_free(ctx, h), 0u);
}

// RSA signing through this layer uses no encoding, which proven mode refuses:
// the refusal surfaces at Final.
TEST_F(ApiProven, RsaSignAndVerifyFinalAreRefused) {
    import_rsa();
    KRY_SIGNVERIFY *sv = nullptr;
    ASSERT_EQ(KRY_SIGNVERIFY_new(ctx, &sv), 0u);
    const Bytes m = bytes_of("abc");
    ASSERT_EQ(KRY_SignInit(ctx, sv, 1, "rsa"), 0u);
    ASSERT_EQ(KRY_SignUpdate(ctx, sv, m.data(), 3), 0u);
    uint8_t sig[256];
    std::memset(sig, 0xAA, sizeof sig);
    uint32_t len = 0;
    EXPECT_EQ(KRY_SignFinal(ctx, sv, sig, sizeof sig, &len), KRY_R_SIGN);

    // A signature made by OpenSSL over the bare SHA-1 digest cannot be checked either.
    Bytes em(128, 0);
    Bytes h = oracle::openssl_digest("SHA1", m.data(), 3);
    std::copy(h.begin(), h.end(), em.end() - 20);
    Bytes good = oracle::rsa::raw_private(rsa_hex(), em);
    ASSERT_EQ(good.size(), 128u);
    ASSERT_EQ(KRY_VerifyInit(ctx, sv, 1, "rsa"), 0u);
    ASSERT_EQ(KRY_VerifyUpdate(ctx, sv, m.data(), 3), 0u);
    EXPECT_EQ(KRY_VerifyFinal(ctx, sv, good.data(), 128), KRY_R_VERIFY);
    EXPECT_EQ(KRY_SIGNVERIFY_free(ctx, sv), 0u);
    kry::api::api_free(sv, sizeof *sv);
}

TEST_F(ApiProven, RsaEncryptionOnlyWithOaep) {
    import_rsa();
    const Bytes m = bytes_of("proven message");
    uint8_t out[256];
    uint32_t len = 0;
    EXPECT_EQ(KRY_RSA_pub_encrypt(ctx, m.data(), 14, out, sizeof out, &len, "rsa", KRY_RSAENC_RAW), KRY_R_RSA_ENCRYPT);
    EXPECT_EQ(KRY_RSA_pub_encrypt(ctx, m.data(), 14, out, sizeof out, &len, "rsa", KRY_RSAENC_PKCS1_V15),
              KRY_R_RSA_ENCRYPT);
    const Bytes c1 = oracle::rsa::encrypt_pkcs1(rsa_hex(), m);
    EXPECT_EQ(KRY_RSA_pri_decrypt(ctx, c1.data(), 128, out, sizeof out, &len, "rsa", KRY_RSAENC_PKCS1_V15),
              KRY_R_RSA_DECRYPT);
    EXPECT_EQ(KRY_RSA_pri_decrypt(ctx, c1.data(), 128, out, sizeof out, &len, "rsa", KRY_RSAENC_RAW),
              KRY_R_RSA_DECRYPT);
    for (uint32_t enc : {KRY_RSAENC_OAEP_V20, KRY_RSAENC_OAEP_V21}) {
        ASSERT_EQ(KRY_RSA_pub_encrypt(ctx, m.data(), 14, out, sizeof out, &len, "rsa", enc), 0u) << enc;
        uint8_t back[256];
        uint32_t blen = 0;
        ASSERT_EQ(KRY_RSA_pri_decrypt(ctx, out, len, back, sizeof back, &blen, "rsa", enc), 0u) << enc;
        EXPECT_EQ(to_hex(back, blen), to_hex(m));
    }
}

TEST_F(ApiProven, DsaCreateRefusesOtherParameterIdentifiers) {
    for (uint32_t id : {0x06000100u, 0x07000100u, 0x05000200u, 0x02000100u, 0u}) {
        EXPECT_EQ(KRY_DSACreate(ctx, id, "dsa", 512), KRY_R_PROVEN_REFUSED) << std::hex << id;
    }
    uint32_t n = 9;
    EXPECT_EQ(KRY_NumKeyPair(ctx, &n), 0u);
    EXPECT_EQ(n, 0u);
    // The alias check comes first.
    EXPECT_EQ(KRY_DSACreate(ctx, 0x06000100u, nullptr, 512), KRY_R_INVALID_ARGUMENT);
}

// Parameter and key generation with an allowed generator identifier is not
// refused; only signing and verifying with DSA are.
TEST_F(ApiProven, DsaCreateWithAnAllowedIdentifierStoresAKeyThatCannotSign) {
    ASSERT_EQ(KRY_DSACreate(ctx, 0x05000100u, "dsa", 512), 0u);
    uint32_t n = 9;
    EXPECT_EQ(KRY_NumKeyPair(ctx, &n), 0u);
    EXPECT_EQ(n, 1u);
    kry::api::KRY_KEYPAIR_ENTRY *e = kry::api::kry_find_keypair(ctx, "dsa");
    ASSERT_NE(e, nullptr);
    EXPECT_EQ(e->key_type, 3u);
    EXPECT_EQ(e->key->length, 64u);
    KRY_SIGNVERIFY *sv = nullptr;
    ASSERT_EQ(KRY_SIGNVERIFY_new(ctx, &sv), 0u);
    EXPECT_EQ(KRY_SignInit(ctx, sv, 1, "dsa"), KRY_R_SIGN);
    EXPECT_EQ(KRY_SIGNVERIFY_free(ctx, sv), 0u);
    kry::api::api_free(sv, sizeof *sv);
}

TEST_F(ApiProven, DsaSigningIsRefused) {
    const Bytes enc = dl_encoded("dsa.txt");
    ASSERT_EQ(KRY_KeyPairImport(ctx, "dsa", KRY_KEYPAIR_DSA, enc.data(), static_cast<uint32_t>(enc.size()), "pw"),
              0u);
    KRY_SIGNVERIFY *sv = nullptr;
    ASSERT_EQ(KRY_SIGNVERIFY_new(ctx, &sv), 0u);
    EXPECT_EQ(KRY_SignInit(ctx, sv, 1, "dsa"), KRY_R_SIGN);
    EXPECT_EQ(KRY_VerifyInit(ctx, sv, 1, "dsa"), KRY_R_VERIFY);
    EXPECT_EQ(KRY_SIGNVERIFY_free(ctx, sv), 0u);
    kry::api::api_free(sv, sizeof *sv);
}

// KCDSA draws its per-signature value from the HAS-160 generator, which is
// refused in proven mode.
TEST_F(ApiProven, KcdsaSigningFailsWith20) {
    const Bytes enc = dl_encoded("kcdsa.txt");
    ASSERT_EQ(KRY_KeyPairImport(ctx, "kc", KRY_KEYPAIR_KCDSA, enc.data(), static_cast<uint32_t>(enc.size()), "pw"),
              0u);
    KRY_SIGNVERIFY *sv = nullptr;
    ASSERT_EQ(KRY_SIGNVERIFY_new(ctx, &sv), 0u);
    const Bytes m = bytes_of("abc");
    uint32_t r = KRY_SignInit(ctx, sv, 1, "kc");
    if (r == 0)
        r = KRY_SignUpdate(ctx, sv, m.data(), 3);
    if (r == 0) {
        uint8_t sig[100];
        uint32_t len = 0;
        r = KRY_SignFinal(ctx, sv, sig, sizeof sig, &len);
    }
    EXPECT_EQ(r, KRY_R_SIGN);
    EXPECT_EQ(KRY_SIGNVERIFY_free(ctx, sv), 0u);
    kry::api::api_free(sv, sizeof *sv);
}

TEST_F(ApiProven, KeyStoreWorks) {
    const uint8_t key[16] = {7};
    ASSERT_EQ(KRY_SymKeyImport(ctx, "k", key, 16), 0u);
    ASSERT_EQ(KRY_SymKeyCreate(ctx, "r", 32), 0u);
    uint8_t rnd[16];
    EXPECT_EQ(KRY_RandomBytes(ctx, rnd, sizeof rnd), 0u);
    import_rsa();
    uint8_t out[1024];
    uint32_t len = sizeof out;
    EXPECT_EQ(KRY_KeyPairExport(ctx, "rsa", out, sizeof out, &len, "x"), 0u);
    EXPECT_EQ(KRY_KeyPairImport(ctx, "rsa2", KRY_KEYPAIR_RSA, out, len, "x"), 0u);
    uint32_t n = 0;
    EXPECT_EQ(KRY_NumKeyPair(ctx, &n), 0u);
    EXPECT_EQ(n, 2u);
}

}  // namespace
