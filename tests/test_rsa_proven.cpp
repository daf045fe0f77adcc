// The RSA unit in proven mode (this file never leaves it): raw RSA and
// RSAES-PKCS1-v1_5 are refused, the PKCS #1 signature and OAEP stay usable.
#include <gtest/gtest.h>

#include <kry/bigint.h>
#include <kry/digest.h>
#include <kry/error.h>
#include <kry/rsa.h>

#include "oracle_pk_rsa.h"
#include "rsa_test_util.h"
#include "test_support.h"

using namespace kry_test;
using namespace rsa_test;
using oracle::rsa::Key;

namespace {

const Key &proven_key() {
    static Key k;
    static bool made = false;
    if (!made) {
        EXPECT_TRUE(oracle::rsa::generate(1024, 65537, &k));
        made = true;
    }
    return k;
}

struct Unit {
    RSA *rsa = new_RSA();
    ~Unit() { free_RSA(rsa); }
};

TEST(RsaProven, StartsInProvenMode) { EXPECT_EQ(IsProven(), 1); }

TEST(RsaProven, InitRsaesRefusesRawAndPkcs1) {
    Unit u;
    EXPECT_EQ(init_RSAES(u.rsa, 32, 0, 0), 0xFFFFFFFFu);
    EXPECT_EQ(init_RSAES(u.rsa, 0, 1, 0), 0xFFFFFFFFu);
    EXPECT_EQ(u.rsa->digest, nullptr);
    EXPECT_EQ(init_RSAES(u.rsa, 16, 0, KRY_SHA256), 0u);
    EXPECT_EQ(init_RSAES(u.rsa, 8, 0, 0), 0u);
}

TEST(RsaProven, RawSignatureRefused) {
    Unit u;
    ASSERT_EQ(load_key(u.rsa, proven_key()), 0u);
    ASSERT_EQ(init_RSASSA(u.rsa, KRY_SHA256, 0, 1), 0u);
    ASSERT_EQ(update_RSASSA(u.rsa, reinterpret_cast<const uint8_t *>("abc"), 3), 0u);
    uint8_t sig[128] = {};
    uint32_t len = sizeof sig;
    EXPECT_EQ(final_RSASSA(u.rsa, sig, &len), 0xFFFFFFFFu);
    EXPECT_EQ(u.rsa->pool->depth, -1);
    ASSERT_EQ(init_RSASSA(u.rsa, KRY_SHA256, 0, 0), 0u);
    sig[0] = 1;
    EXPECT_EQ(final_RSASSA(u.rsa, sig, &len), 0xFFFFFFFFu);
}

TEST(RsaProven, RawAndPkcs1EncryptionRefused) {
    Unit u;
    ASSERT_EQ(load_key(u.rsa, proven_key()), 0u);
    ASSERT_EQ(init_RSAES(u.rsa, 16, 0, 0), 0u);
    uint8_t out[128];
    uint32_t len = 0;
    const uint8_t in[3] = {1, 2, 3};
    for (int32_t encoding : {0, 32}) {
        u.rsa->encoding = encoding;
        u.rsa->mode = 0;
        EXPECT_EQ(encrypt_RSAES(u.rsa, out, &len, in, 3), 0xFFFFFFFFu) << encoding;
        u.rsa->mode = 1;
        EXPECT_EQ(decrypt_RSAES(u.rsa, out, &len, in, 3), 0xFFFFFFFFu) << encoding;
    }
    EXPECT_EQ(u.rsa->pool->depth, -1);
}

TEST(RsaProven, Pkcs1SignatureAndOaepWork) {
    const Key &k = proven_key();
    Unit u;
    ASSERT_EQ(load_key(u.rsa, k), 0u);
    const Bytes m = bytes_of("proven mode message");
    ASSERT_EQ(init_RSASSA(u.rsa, KRY_SHA256, 1, 1), 0u);
    ASSERT_EQ(update_RSASSA(u.rsa, m.data(), static_cast<uint32_t>(m.size())), 0u);
    Bytes sig(128);
    uint32_t len = 0;
    ASSERT_EQ(final_RSASSA(u.rsa, sig.data(), &len), 0u);
    ASSERT_EQ(len, 128u);
    EXPECT_TRUE(oracle::rsa::verify_pkcs1(k, "SHA256", m, sig));

    Bytes c = oracle::rsa::encrypt_oaep(k, "SHA256", m);
    ASSERT_EQ(init_RSAES(u.rsa, 16, 1, KRY_SHA256), 0u);
    Bytes out(128);
    uint32_t olen = 0;
    ASSERT_EQ(decrypt_RSAES(u.rsa, out.data(), &olen, c.data(), static_cast<uint32_t>(c.size())), 0u);
    out.resize(olen);
    EXPECT_EQ(out, m);
}

TEST(RsaProven, GenerationSkipsRoundTrip) {
    Unit u;
    Big e("10001");
    ASSERT_EQ(generate_RSA_params(u.rsa, e.b, 512, 1), 0u);
    EXPECT_EQ(u.rsa->key_state, 31u);
    // The round trip's init calls are refused, so mode and encoding stay as they were.
    EXPECT_EQ(u.rsa->mode, 0);
    EXPECT_EQ(u.rsa->encoding, 0);
    EXPECT_EQ(u.rsa->digest, nullptr);
}

}  // namespace
