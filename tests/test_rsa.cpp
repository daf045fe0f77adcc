// RSA unit: key handling, RSASSA and RSAES against OpenSSL and the PKCS #1
// v1.5 signature examples, error words, and small key generation.
#include <gtest/gtest.h>

#include <kry/bigint.h>
#include <kry/digest.h>
#include <kry/error.h>
#include <kry/rsa.h>

#include "oracle_bn.h"
#include "oracle_pk_rsa.h"
#include "rsa_test_util.h"
#include "test_support.h"

#include <map>
#include <string>
#include <vector>

using namespace kry_test;
using namespace rsa_test;
using oracle::rsa::Key;

namespace {

const Key &test_key(int bits) {
    static std::map<int, Key> keys;
    auto it = keys.find(bits);
    if (it == keys.end()) {
        Key k;
        EXPECT_TRUE(oracle::rsa::generate(bits, 65537, &k));
        it = keys.emplace(bits, k).first;
    }
    return it->second;
}

struct Unit {
    RSA *rsa = new_RSA();
    ~Unit() { free_RSA(rsa); }
};

Bytes digest_of(uint32_t id, const Bytes &m) {
    Bytes out(64);
    uint32_t len = 0;
    EXPECT_EQ(Digest(id, m.data(), static_cast<uint32_t>(m.size()), out.data(), &len), 0u);
    out.resize(len);
    return out;
}

Bytes kry_sign(RSA *rsa, uint32_t digest_id, int32_t encoding, const Bytes &m, uint32_t *status = nullptr) {
    EXPECT_EQ(init_RSASSA(rsa, digest_id, encoding, 1), 0u);
    EXPECT_EQ(update_RSASSA(rsa, m.data(), static_cast<uint32_t>(m.size())), 0u);
    Bytes sig(get_RSA_length(rsa) + 8);
    uint32_t len = 0;
    uint32_t r = final_RSASSA(rsa, sig.data(), &len);
    if (status != nullptr)
        *status = r;
    else
        EXPECT_EQ(r, 0u);
    sig.resize(r == 0 ? len : 0);
    return sig;
}

uint32_t kry_verify(RSA *rsa, uint32_t digest_id, int32_t encoding, const Bytes &m, const Bytes &sig) {
    EXPECT_EQ(init_RSASSA(rsa, digest_id, encoding, 0), 0u);
    EXPECT_EQ(update_RSASSA(rsa, m.data(), static_cast<uint32_t>(m.size())), 0u);
    Bytes copy = sig;
    uint32_t len = static_cast<uint32_t>(copy.size());
    return final_RSASSA(rsa, copy.data(), &len);
}

class Rsa : public ::testing::Test {
  protected:
    void SetUp() override { ChangeNonProvenMode(); }
};

TEST_F(Rsa, NewAndFree) {
    RSA *rsa = new_RSA();
    ASSERT_NE(rsa, nullptr);
    EXPECT_NE(rsa->pool, nullptr);
    EXPECT_EQ(rsa->key_state, 0u);
    EXPECT_EQ(rsa->n, nullptr);
    EXPECT_EQ(rsa->digest, nullptr);
    EXPECT_EQ(rsa->mode, 0);
    free_RSA(rsa);
    free_RSA(nullptr);
    clean_RSA(nullptr);
}

TEST_F(Rsa, SetParamsKeyStateAndBlinding) {
    Unit u;
    ASSERT_EQ(load_key(u.rsa, test_key(1024)), 0u);
    EXPECT_EQ(u.rsa->key_state, 15u);
    EXPECT_NE(u.rsa->blinding, nullptr);
    EXPECT_NE(u.rsa->unblinding, nullptr);
    EXPECT_EQ(hex_of(u.rsa->n), strip_hex(test_key(1024).n));
    EXPECT_EQ(get_RSA_length(u.rsa), 128u);

    // Blinding values are made once and reused by every signature.
    const std::string b = hex_of(u.rsa->blinding);
    BIGINT *before = u.rsa->blinding;
    kry_sign(u.rsa, KRY_SHA256, 1, bytes_of("abc"));
    kry_sign(u.rsa, KRY_SHA256, 1, bytes_of("abd"));
    EXPECT_EQ(u.rsa->blinding, before);
    EXPECT_EQ(hex_of(u.rsa->blinding), b);

    // blinding x unblinding^-e is 1: r^e * (r^-1)^e mod n.
    Big e(test_key(1024).e);
    BIGINT *t = new_BIGINT();
    BIGINT_POOL *pool = new_BIGINT_POOL();
    ASSERT_EQ(mod_exp_BIGINT(t, u.rsa->unblinding, e.b, u.rsa->n, pool), 0);
    ASSERT_EQ(mod_mtp_BIGINT(t, t, u.rsa->blinding, u.rsa->n, pool), 0);
    EXPECT_EQ(hex_of(t), "1");
    free_BIGINT(t);
    free_BIGINT_POOL(pool);
}

TEST_F(Rsa, PublicKeyAfterPrivateKeepsStateBits) {
    Unit u;
    ASSERT_EQ(load_key(u.rsa, test_key(1024)), 0u);
    u.rsa->mode = 1;
    ASSERT_EQ(load_key(u.rsa, test_key(1024), false), 0u);
    EXPECT_EQ(u.rsa->key_state, 15u);
    EXPECT_EQ(u.rsa->d, nullptr);
    EXPECT_EQ(u.rsa->p, nullptr);
    EXPECT_EQ(u.rsa->qInv, nullptr);
    EXPECT_EQ(u.rsa->blinding, nullptr);
    EXPECT_EQ(u.rsa->mode, 0);
}

TEST_F(Rsa, PartialResets) {
    const Key &k = test_key(1024);
    Big n(k.n), e(k.e), d(k.d);
    Unit u;
    // n and d only: bit 2 and bit 0.
    ASSERT_EQ(set_RSA_params(u.rsa, n.b, nullptr, d.b, nullptr, nullptr, nullptr, nullptr, nullptr),
              0x10080600u);  // blinding needs e
    EXPECT_EQ(u.rsa->key_state, 5u);
    // Then n and e: the earlier bit 2 stays (the state was not exactly 4).
    ASSERT_EQ(set_RSA_params(u.rsa, n.b, e.b, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr), 0u);
    EXPECT_EQ(u.rsa->key_state, 7u);
    EXPECT_EQ(u.rsa->d, nullptr);

    // A state of exactly 2 is reset when e is absent.
    Unit v;
    v.rsa->key_state = 2;
    ASSERT_EQ(set_RSA_params(v.rsa, n.b, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr), 0u);
    EXPECT_EQ(v.rsa->key_state, 1u);
    // CRT values set the state to 8 first, clearing earlier bits.
    Unit w;
    w.rsa->key_state = 16;
    Big p(k.p), q(k.q), dp(k.dP), dq(k.dQ), qi(k.qInv);
    ASSERT_EQ(set_RSA_params(w.rsa, n.b, e.b, nullptr, p.b, q.b, dp.b, dq.b, qi.b), 0u);
    EXPECT_EQ(w.rsa->key_state, 11u);
}

TEST_F(Rsa, SetParamsErrors) {
    Unit u;
    Big n(test_key(1024).n), e(test_key(1024).e);
    EXPECT_EQ(set_RSA_params(u.rsa, nullptr, e.b, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr),
              0x10080003u);
    EXPECT_EQ(set_RSA_public_parmas(u.rsa, nullptr, e.b), 0x10090003u);
    EXPECT_EQ(set_RSA_public_parmas(u.rsa, n.b, nullptr), 0x10090003u);
    EXPECT_EQ(set_RSA_public_parmas(u.rsa, n.b, e.b), 0u);
    EXPECT_EQ(u.rsa->key_state, 3u);
}

TEST_F(Rsa, InitErrors) {
    Unit u;
    // A new unit that cannot be started is released.
    EXPECT_EQ(init_RSASSA(u.rsa, 0x09000100u, 1, 0), 0x10030600u);
    EXPECT_EQ(u.rsa->digest, nullptr);
    EXPECT_EQ(init_RSASSA(u.rsa, KRY_SHA256, 1, 0), 0u);
    EXPECT_EQ(u.rsa->digest->algorithm_id, KRY_SHA256);
    EXPECT_EQ(init_RSASSA(u.rsa, 0x09000100u, 1, 0), 0x10030001u);
    // Unknown encodings pass init.
    EXPECT_EQ(init_RSASSA(u.rsa, KRY_SHA1, 77, 1), 0u);
    EXPECT_EQ(u.rsa->encoding, 77);
    EXPECT_EQ(u.rsa->mode, 1);

    Unit v;
    EXPECT_EQ(init_RSAES(v.rsa, 16, 0, 0x09000100u), 0x100C0600u);
    EXPECT_EQ(v.rsa->digest, nullptr);
    EXPECT_EQ(init_RSAES(v.rsa, 16, 0, 0), 0u);
    EXPECT_EQ(v.rsa->digest->algorithm_id, KRY_SHA1);
    EXPECT_EQ(init_RSAES(v.rsa, 16, 0, 0x09000100u), 0x100C0001u);
    EXPECT_EQ(init_RSAES(v.rsa, 99, 1, KRY_SHA256), 0u);

    Unit w;
    EXPECT_EQ(update_RSASSA(w.rsa, nullptr, 0), 0x10040006u);
    EXPECT_EQ(update_RSASSA(nullptr, nullptr, 0), 0x10040006u);
    uint8_t buf[8];
    uint32_t len = 8;
    EXPECT_EQ(final_RSASSA(nullptr, buf, &len), 0x10050006u);
}

TEST_F(Rsa, FinalKeyStateChecks) {
    Unit u;
    uint8_t sig[256];
    uint32_t len = sizeof sig;
    ASSERT_EQ(init_RSASSA(u.rsa, KRY_SHA256, 1, 0), 0u);
    EXPECT_EQ(final_RSASSA(u.rsa, sig, &len), 0x10050B00u);
    ASSERT_EQ(load_key(u.rsa, test_key(1024), false), 0u);
    ASSERT_EQ(init_RSASSA(u.rsa, KRY_SHA256, 1, 1), 0u);
    EXPECT_EQ(final_RSASSA(u.rsa, sig, &len), 0x10050C00u);
}

TEST_F(Rsa, RawSignatureMatchesOpenSSL) {
    const Key &k = test_key(1024);
    for (bool crt : {true, false}) {
        Unit u;
        ASSERT_EQ(load_key(u.rsa, k, true, crt), 0u);
        const Bytes m = bytes_of("raw signature message");
        Bytes sig = kry_sign(u.rsa, KRY_SHA256, 0, m);
        ASSERT_EQ(sig.size(), 128u);
        EXPECT_EQ(sig, oracle::rsa::raw_private(k, digest_of(KRY_SHA256, m)));
        EXPECT_EQ(kry_verify(u.rsa, KRY_SHA256, 0, m, sig), 0u);
        Bytes bad = sig;
        bad[100] ^= 1;
        EXPECT_EQ(kry_verify(u.rsa, KRY_SHA256, 0, m, bad), 1u);
    }
}

TEST_F(Rsa, SignatureAlwaysModulusLength) {
    const Key &k = test_key(1024);
    Unit u;
    ASSERT_EQ(load_key(u.rsa, k), 0u);
    int leading_zero = 0;
    // A signature below 2^(8(k-1)) turns up about once in 256 messages or
    // more often; 6000 messages leave a miss probability below 1e-9.
    for (int i = 0; i < 6000 && leading_zero == 0; ++i) {
        const Bytes m = bytes_of("message " + std::to_string(i));
        Bytes sig = kry_sign(u.rsa, KRY_SHA1, 0, m);
        ASSERT_EQ(sig.size(), 128u);
        if (sig[0] == 0)
            ++leading_zero;
    }
    EXPECT_GT(leading_zero, 0);
}

TEST_F(Rsa, Pkcs1SignaturesBothWaysWithOpenSSL) {
    const Key &k = test_key(2048);
    const std::vector<std::pair<uint32_t, std::string>> digests = {
        {KRY_SHA1, "SHA1"}, {KRY_SHA256, "SHA256"}, {KRY_SHA384, "SHA384"}, {KRY_SHA512, "SHA512"}, {KRY_MD5, "MD5"}};
    Unit u;
    ASSERT_EQ(load_key(u.rsa, k), 0u);
    Unit pub;
    ASSERT_EQ(load_key(pub.rsa, k, false), 0u);
    for (const auto &[id, name] : digests) {
        const Bytes m = bytes_of("PKCS #1 v1.5 signature with " + name);
        Bytes sig = kry_sign(u.rsa, id, 1, m);
        ASSERT_EQ(sig.size(), 256u) << name;
        EXPECT_TRUE(oracle::rsa::verify_pkcs1(k, name, m, sig)) << name;
        Bytes theirs = oracle::rsa::sign_pkcs1(k, name, m);
        EXPECT_EQ(sig, theirs) << name;  // deterministic encoding
        EXPECT_EQ(kry_verify(pub.rsa, id, 1, m, theirs), 0u) << name;
        Bytes other = bytes_of("another message");
        EXPECT_NE(kry_verify(pub.rsa, id, 1, other, theirs), 0u) << name;
    }
}

TEST_F(Rsa, Pkcs1SignatureWithoutPrefixFails) {
    Unit u;
    ASSERT_EQ(load_key(u.rsa, test_key(1024)), 0u);
    uint32_t status = 0;
    kry_sign(u.rsa, KRY_SHA224, 1, bytes_of("abc"), &status);
    EXPECT_NE(status, 0u);
}

TEST_F(Rsa, Pkcs1SignatureExamples) {
    std::vector<Key> keys;
    std::vector<SignatureVector> vectors;
    read_pkcs1_sign_vectors(&keys, &vectors);
    ASSERT_EQ(keys.size(), 15u);
    ASSERT_EQ(vectors.size(), 300u);
    for (size_t i = 0; i < vectors.size(); i += 7) {
        const auto &v = vectors[i];
        const Key &k = keys[v.key_index];
        Unit u;
        ASSERT_EQ(load_key(u.rsa, k, true, (i % 2) == 0), 0u);
        Bytes sig = kry_sign(u.rsa, KRY_SHA1, 1, v.message);
        EXPECT_EQ(sig, v.signature) << "vector " << i;
        Unit pub;
        ASSERT_EQ(load_key(pub.rsa, k, false), 0u);
        EXPECT_EQ(kry_verify(pub.rsa, KRY_SHA1, 1, v.message, v.signature), 0u) << "vector " << i;
    }
}

TEST_F(Rsa, PssSignaturesVerifyWithOpenSSL) {
    std::vector<Key> keys;
    std::vector<SignatureVector> vectors;
    read_pkcs1_sign_vectors(&keys, &vectors);
    ASSERT_GE(keys.size(), 15u);
    // 1024, 1025 (one leading zero byte in the encoding) and 2048 bits.
    for (size_t idx : {size_t{0}, size_t{6}, size_t{14}}) {
        const Key &k = keys[idx];
        for (const auto &[id, name] : std::vector<std::pair<uint32_t, std::string>>{{KRY_SHA1, "SHA1"},
                                                                                   {KRY_SHA256, "SHA256"}}) {
            Unit u;
            ASSERT_EQ(load_key(u.rsa, k), 0u);
            const Bytes m = bytes_of("PSS message");
            Bytes sig = kry_sign(u.rsa, id, 2, m);
            ASSERT_EQ(sig.size(), get_RSA_length(u.rsa));
            EXPECT_TRUE(oracle::rsa::verify_pss(k, name, m, sig)) << idx << " " << name;
            Unit pub;
            ASSERT_EQ(load_key(pub.rsa, k, false), 0u);
            EXPECT_EQ(kry_verify(pub.rsa, id, 2, m, sig), 0u) << idx << " " << name;
            EXPECT_NE(kry_verify(pub.rsa, id, 2, bytes_of("other"), sig), 0u) << idx << " " << name;
            // And the other way: OpenSSL's PSS signature verifies in kry.
            const Bytes theirs = oracle::rsa::sign_pss(k, name, m);
            ASSERT_FALSE(theirs.empty());
            EXPECT_EQ(kry_verify(pub.rsa, id, 2, m, theirs), 0u) << idx << " " << name;
        }
    }
}

TEST_F(Rsa, Pkcs1SignaturesWith3072BitOpenSSLKey) {
    const Key &k = test_key(3072);
    Unit u;
    ASSERT_EQ(load_key(u.rsa, k), 0u);
    Unit pub;
    ASSERT_EQ(load_key(pub.rsa, k, false), 0u);
    for (const auto &[id, name] : std::vector<std::pair<uint32_t, std::string>>{{KRY_SHA256, "SHA256"},
                                                                               {KRY_SHA512, "SHA512"}}) {
        const Bytes m = bytes_of("3072-bit message");
        Bytes sig = kry_sign(u.rsa, id, 1, m);
        ASSERT_EQ(sig.size(), 384u);
        EXPECT_TRUE(oracle::rsa::verify_pkcs1(k, name, m, sig)) << name;
        EXPECT_EQ(kry_verify(pub.rsa, id, 1, m, oracle::rsa::sign_pkcs1(k, name, m)), 0u) << name;
        EXPECT_EQ(kry_verify(pub.rsa, id, 2, m, oracle::rsa::sign_pss(k, name, m)), 0u) << name;
    }
}

TEST_F(Rsa, SignAndVerifyErrors) {
    const Key &k = test_key(1024);
    Unit u;
    ASSERT_EQ(load_key(u.rsa, k), 0u);
    uint32_t status = 0;
    kry_sign(u.rsa, KRY_SHA1, 5, bytes_of("abc"), &status);
    EXPECT_EQ(status, 0x10010300u);
    // The pool is left balanced by that exit.
    EXPECT_EQ(u.rsa->pool->depth, -1);

    Bytes sig = kry_sign(u.rsa, KRY_SHA1, 1, bytes_of("abc"));
    EXPECT_EQ(kry_verify(u.rsa, KRY_SHA1, 5, bytes_of("abc"), sig), 0x10020900u);
    // Length 0.
    ASSERT_EQ(init_RSASSA(u.rsa, KRY_SHA1, 1, 0), 0u);
    EXPECT_EQ(verify_RSASSA(u.rsa, sig.data(), 0), 0x10020003u);
    // A signature not below n.
    Bytes big = from_hex(k.n);
    ASSERT_EQ(init_RSASSA(u.rsa, KRY_SHA1, 1, 0), 0u);
    EXPECT_EQ(verify_RSASSA(u.rsa, big.data(), static_cast<uint32_t>(big.size())), 0x10020E00u);
    // Raw representative (a 64-byte hash) not below a tiny modulus.
    Unit small;
    Big n("10001"), e("3"), d("5");  // a 17-bit modulus: only its size matters here
    ASSERT_EQ(set_RSA_params(small.rsa, n.b, e.b, d.b, nullptr, nullptr, nullptr, nullptr, nullptr), 0u);
    kry_sign(small.rsa, KRY_SHA512, 0, bytes_of("abc"), &status);
    EXPECT_EQ(status, 0x10010D00u);
}

TEST_F(Rsa, CrtFaultCheckFallsBackOrFails) {
    const Key &k = test_key(1024);
    Key broken = k;
    // dP one too large: the CRT result is wrong and must be caught.
    Big dp(k.dP);
    ASSERT_EQ(add_BIGINT_word(dp.b, 2), 0);
    broken.dP = hex_of(dp.b);
    int good = 0;
    for (int i = 0; i < 12; ++i) {
        Unit u;
        ASSERT_EQ(load_key(u.rsa, broken), 0u);
        const Bytes m = bytes_of("crt " + std::to_string(i));
        uint32_t status = 0;
        Bytes sig = kry_sign(u.rsa, KRY_SHA256, 1, m, &status);
        if (status == 0) {
            EXPECT_TRUE(oracle::rsa::verify_pkcs1(k, "SHA256", m, sig));
            ++good;
        } else {
            EXPECT_EQ(status, 0x10010600u);
        }
    }
    EXPECT_GT(good, 0);
}

TEST_F(Rsa, RawEncryptionMatchesOpenSSL) {
    const Key &k = test_key(1024);
    Unit u;
    ASSERT_EQ(load_key(u.rsa, k, false), 0u);
    TestRng rng(7);
    bool shorter = false;
    // A ciphertext below 2^(8(k-1)) turns up about once in 256 tries or
    // more often; 4000 tries leave a miss probability below 1e-6.
    for (int i = 0; i < 4000 && !shorter; ++i) {
        Bytes m = rng.bytes(100);
        ASSERT_EQ(init_RSAES(u.rsa, 0, 0, 0), 0u);
        Bytes c(128);
        uint32_t len = 0;
        ASSERT_EQ(encrypt_RSAES(u.rsa, c.data(), &len, m.data(), 100), 0u);
        c.resize(len);
        EXPECT_EQ(c, strip_leading_zeros(oracle::rsa::raw_public(k, m)));
        if (len < 128)
            shorter = true;
    }
    EXPECT_TRUE(shorter);  // the result is not padded to k bytes

    // Private-key encryption, public-key decryption.
    Unit priv;
    ASSERT_EQ(load_key(priv.rsa, k), 0u);
    Bytes m = bytes_of("hello");
    ASSERT_EQ(init_RSAES(priv.rsa, 0, 1, 0), 0u);
    Bytes c(128);
    uint32_t clen = 0;
    ASSERT_EQ(encrypt_RSAES(priv.rsa, c.data(), &clen, m.data(), 5), 0u);
    c.resize(clen);
    EXPECT_EQ(c, strip_leading_zeros(oracle::rsa::raw_private(k, m)));
    ASSERT_EQ(init_RSAES(u.rsa, 0, 0, 0), 0u);
    Bytes out(clen);
    uint32_t olen = 0;
    ASSERT_EQ(decrypt_RSAES(u.rsa, out.data(), &olen, c.data(), clen), 0u);
    out.resize(olen);
    EXPECT_EQ(out, m);
}

TEST_F(Rsa, OaepBothWaysWithOpenSSL) {
    const Key &k = test_key(2048);
    for (const auto &[id, name] : std::vector<std::pair<uint32_t, std::string>>{{KRY_SHA1, "SHA1"},
                                                                               {KRY_SHA256, "SHA256"}}) {
        Unit pub, priv;
        ASSERT_EQ(load_key(pub.rsa, k, false), 0u);
        ASSERT_EQ(load_key(priv.rsa, k), 0u);
        const Bytes m = bytes_of("OAEP message for " + name);
        ASSERT_EQ(init_RSAES(pub.rsa, 16, 0, id), 0u);
        Bytes c(256);
        uint32_t clen = 0;
        ASSERT_EQ(encrypt_RSAES(pub.rsa, c.data(), &clen, m.data(), static_cast<uint32_t>(m.size())), 0u);
        c.resize(clen);
        Bytes padded(256 - c.size(), 0);
        padded.insert(padded.end(), c.begin(), c.end());
        EXPECT_EQ(oracle::rsa::decrypt_oaep(k, name, padded), m) << name;

        Bytes theirs = oracle::rsa::encrypt_oaep(k, name, m);
        ASSERT_EQ(theirs.size(), 256u);
        ASSERT_EQ(init_RSAES(priv.rsa, 16, 1, id), 0u);
        Bytes out(256);
        uint32_t olen = 0;
        ASSERT_EQ(decrypt_RSAES(priv.rsa, out.data(), &olen, theirs.data(), 256), 0u) << name;
        out.resize(olen);
        EXPECT_EQ(out, m) << name;
    }
}

TEST_F(Rsa, OaepV20RoundTrip) {
    const Key &k = test_key(1024);
    Unit pub, priv;
    ASSERT_EQ(load_key(pub.rsa, k, false), 0u);
    ASSERT_EQ(load_key(priv.rsa, k, true, false), 0u);
    const Bytes m = bytes_of("OAEP v2.0 form");
    ASSERT_EQ(init_RSAES(pub.rsa, 8, 0, KRY_SHA1), 0u);
    Bytes c(128);
    uint32_t clen = 0;
    ASSERT_EQ(encrypt_RSAES(pub.rsa, c.data(), &clen, m.data(), static_cast<uint32_t>(m.size())), 0u);
    ASSERT_EQ(init_RSAES(priv.rsa, 8, 1, KRY_SHA1), 0u);
    Bytes out(128);
    uint32_t olen = 0;
    ASSERT_EQ(decrypt_RSAES(priv.rsa, out.data(), &olen, c.data(), clen), 0u);
    out.resize(olen);
    EXPECT_EQ(out, m);
}

TEST_F(Rsa, Pkcs1EncryptionBothWaysWithOpenSSL) {
    const Key &k = test_key(1024);
    Unit pub, priv;
    ASSERT_EQ(load_key(pub.rsa, k, false), 0u);
    ASSERT_EQ(load_key(priv.rsa, k), 0u);
    const Bytes m = bytes_of("PKCS #1 v1.5 encryption");
    ASSERT_EQ(init_RSAES(pub.rsa, 32, 0, 0), 0u);
    Bytes c(128);
    uint32_t clen = 0;
    ASSERT_EQ(encrypt_RSAES(pub.rsa, c.data(), &clen, m.data(), static_cast<uint32_t>(m.size())), 0u);
    c.resize(clen);
    Bytes padded(128 - c.size(), 0);
    padded.insert(padded.end(), c.begin(), c.end());
    EXPECT_EQ(oracle::rsa::decrypt_pkcs1(k, padded), m);

    Bytes theirs = oracle::rsa::encrypt_pkcs1(k, m);
    ASSERT_EQ(init_RSAES(priv.rsa, 32, 1, 0), 0u);
    Bytes out(128);
    uint32_t olen = 0;
    ASSERT_EQ(decrypt_RSAES(priv.rsa, out.data(), &olen, theirs.data(), static_cast<uint32_t>(theirs.size())), 0u);
    out.resize(olen);
    EXPECT_EQ(out, m);
}

TEST_F(Rsa, EncryptDecryptErrors) {
    const Key &k = test_key(1024);
    uint8_t out[256];
    uint32_t len = 0;
    const uint8_t in[4] = {1, 2, 3, 4};
    {
        Unit u;  // no key
        ASSERT_EQ(init_RSAES(u.rsa, 16, 0, 0), 0u);
        EXPECT_EQ(encrypt_RSAES(u.rsa, out, &len, in, 4), 0x100A0B00u);
        EXPECT_EQ(decrypt_RSAES(u.rsa, out, &len, in, 4), 0x100A0C00u);
        ASSERT_EQ(init_RSAES(u.rsa, 16, 1, 0), 0u);
        EXPECT_EQ(encrypt_RSAES(u.rsa, out, &len, in, 4), 0x100A0C00u);
        EXPECT_EQ(decrypt_RSAES(u.rsa, out, &len, in, 4), 0x100A0B00u);
    }
    Unit u;
    ASSERT_EQ(load_key(u.rsa, k), 0u);
    // Unknown encodings.
    ASSERT_EQ(init_RSAES(u.rsa, 3, 0, 0), 0u);
    EXPECT_EQ(encrypt_RSAES(u.rsa, out, &len, in, 4), 0x100A0800u);
    ASSERT_EQ(init_RSAES(u.rsa, 3, 1, 0), 0u);
    len = 77;
    EXPECT_EQ(decrypt_RSAES(u.rsa, out, &len, in, 4), 0x100B0900u);
    EXPECT_EQ(len, 0u);
    // Blocks not below n.
    Bytes n = from_hex(k.n);
    ASSERT_EQ(init_RSAES(u.rsa, 0, 0, 0), 0u);
    EXPECT_EQ(encrypt_RSAES(u.rsa, out, &len, n.data(), static_cast<uint32_t>(n.size())), 0x100A0D00u);
    ASSERT_EQ(init_RSAES(u.rsa, 0, 1, 0), 0u);
    EXPECT_EQ(decrypt_RSAES(u.rsa, out, &len, n.data(), static_cast<uint32_t>(n.size())), 0x100B0D00u);
    // A message too long for PKCS #1 v1.5.
    Bytes long_message(128 - 10, 0x41);
    ASSERT_EQ(init_RSAES(u.rsa, 32, 0, 0), 0u);
    EXPECT_EQ(encrypt_RSAES(u.rsa, out, &len, long_message.data(), static_cast<uint32_t>(long_message.size())),
              0x100A0800u);
    // An OAEP message that is too long leaves a zero block: the result is empty.
    Bytes oaep_long(200, 0x42);
    ASSERT_EQ(init_RSAES(u.rsa, 16, 0, 0), 0u);
    len = 9;
    EXPECT_EQ(encrypt_RSAES(u.rsa, out, &len, oaep_long.data(), static_cast<uint32_t>(oaep_long.size())), 0u);
    EXPECT_EQ(len, 0u);
    // A ciphertext that does not decode.
    ASSERT_EQ(init_RSAES(u.rsa, 16, 1, 0), 0u);
    len = 5;
    EXPECT_EQ(decrypt_RSAES(u.rsa, out, &len, in, 4), 0x100B0900u);
    EXPECT_EQ(len, 0u);
    // Another mode skips the exponentiation and gives an empty result.
    ASSERT_EQ(init_RSAES(u.rsa, 0, 2, 0), 0u);
    len = 9;
    EXPECT_EQ(encrypt_RSAES(u.rsa, out, &len, in, 4), 0u);
    EXPECT_EQ(len, 0u);
    EXPECT_EQ(u.rsa->pool->depth, -1);
}

TEST_F(Rsa, GetLengthOfOddSizes) {
    std::vector<Key> keys;
    std::vector<SignatureVector> vectors;
    read_pkcs1_sign_vectors(&keys, &vectors);
    ASSERT_GE(keys.size(), 15u);
    Unit u;
    ASSERT_EQ(load_key(u.rsa, keys[6], false), 0u);  // 1025 bits
    EXPECT_EQ(get_RSA_length(u.rsa), 129u);
    ASSERT_EQ(load_key(u.rsa, keys[14], false), 0u);
    EXPECT_EQ(get_RSA_length(u.rsa), 256u);
}

// ---- key generation (small sizes) ----

TEST_F(Rsa, GenerateArgumentErrors) {
    Unit u;
    Big e("10001");
    EXPECT_EQ(generate_RSA_params(u.rsa, e.b, 7, 1), 0x10070003u);
    EXPECT_EQ(generate_RSA_params(u.rsa, e.b, 64, 3), 0x10070003u);
    EXPECT_EQ(generate_RSA_params(u.rsa, e.b, 64, 0), 0x10070003u);
    EXPECT_EQ(generate_RSA_params(u.rsa, nullptr, 64, 1), 0x10070003u);
    EXPECT_EQ(generate_RSA_params(nullptr, e.b, 64, 1), 0x10070003u);
}

void check_generated(RSA *rsa, int bits, const std::string &e_hex, int kind) {
    ASSERT_EQ(rsa->key_state, 31u);
    EXPECT_EQ(rsa->mode, 1);
    EXPECT_EQ(rsa->encoding, 0);
    const int32_t nbits = get_BIGINT_bits_length(rsa->n);
    EXPECT_TRUE(nbits == bits || nbits == bits - 1) << nbits;
    EXPECT_EQ(get_BIGINT_bits_length(rsa->p), (bits + 1) / 2);
    EXPECT_EQ(get_BIGINT_bits_length(rsa->q), bits - (bits + 1) / 2);
    EXPECT_GT(cmp_BIGINT(rsa->p, rsa->q), 0);
    const std::string p = hex_of(rsa->p), q = hex_of(rsa->q), n = hex_of(rsa->n), d = hex_of(rsa->d);
    EXPECT_EQ(strip_hex(oracle::bn::mul(p, q)), n);
    EXPECT_EQ(oracle::bn::is_prime(p), 1);
    EXPECT_EQ(oracle::bn::is_prime(q), 1);
    Big one("1");
    Big p1(p), q1(q);
    ASSERT_EQ(sub_BIGINT_word(p1.b, 1), 0);
    ASSERT_EQ(sub_BIGINT_word(q1.b, 1), 0);
    const std::string ps = hex_of(p1.b), qs = hex_of(q1.b);
    std::string t = oracle::bn::mul(ps, qs);
    if (kind == 2)
        t = oracle::bn::div(t, oracle::bn::gcd(ps, qs));
    EXPECT_EQ(strip_hex(oracle::bn::mod_inverse(e_hex, t)), d);
    EXPECT_EQ(hex_of(rsa->dP), strip_hex(oracle::bn::mod(d, ps)));
    EXPECT_EQ(hex_of(rsa->dQ), strip_hex(oracle::bn::mod(d, qs)));
    EXPECT_EQ(hex_of(rsa->qInv), strip_hex(oracle::bn::mod_inverse(q, p)));
    EXPECT_EQ(rsa->blinding, nullptr);
}

TEST_F(Rsa, GenerateSmallKeys) {
    for (int kind : {1, 2}) {
        for (int bits : {32, 33, 64, 257, 512}) {
            Unit u;
            Big e("10001");
            ASSERT_EQ(generate_RSA_params(u.rsa, e.b, bits, kind), 0u) << bits;
            check_generated(u.rsa, bits, "10001", kind);
        }
    }
}

TEST_F(Rsa, GenerateWithExponentThree) {
    for (int i = 0; i < 4; ++i) {
        Unit u;
        Big e("3");
        ASSERT_EQ(generate_RSA_params(u.rsa, e.b, 256, 1), 0u);
        check_generated(u.rsa, 256, "3", 1);
        EXPECT_EQ(mod_BIGINT_word(u.rsa->p, 3), 2u);
        EXPECT_EQ(mod_BIGINT_word(u.rsa->q, 3), 2u);
    }
}

TEST_F(Rsa, GeneratedKeySignsAndEncrypts) {
    Unit u;
    Big e("10001");
    ASSERT_EQ(generate_RSA_params(u.rsa, e.b, 768, 2), 0u);
    Key k;
    k.n = hex_of(u.rsa->n);
    k.e = hex_of(u.rsa->e);
    k.d = hex_of(u.rsa->d);
    k.p = hex_of(u.rsa->p);
    k.q = hex_of(u.rsa->q);
    k.dP = hex_of(u.rsa->dP);
    k.dQ = hex_of(u.rsa->dQ);
    k.qInv = hex_of(u.rsa->qInv);
    EXPECT_TRUE(oracle::rsa::check_private_key(k));
    const Bytes m = bytes_of("generated key");
    Bytes sig = kry_sign(u.rsa, KRY_SHA256, 1, m);
    EXPECT_TRUE(oracle::rsa::verify_pkcs1(k, "SHA256", m, sig));
    Bytes c = oracle::rsa::encrypt_oaep(k, "SHA1", m);
    ASSERT_EQ(init_RSAES(u.rsa, 16, 1, 0), 0u);
    Bytes out(c.size());
    uint32_t olen = 0;
    ASSERT_EQ(decrypt_RSAES(u.rsa, out.data(), &olen, c.data(), static_cast<uint32_t>(c.size())), 0u);
    out.resize(olen);
    EXPECT_EQ(out, m);
}

TEST_F(Rsa, GenerateReplacesPreviousKey) {
    Unit u;
    ASSERT_EQ(load_key(u.rsa, test_key(1024)), 0u);
    Big e("10001");
    ASSERT_EQ(generate_RSA_params(u.rsa, e.b, 512, 1), 0u);
    check_generated(u.rsa, 512, "10001", 1);
}

}  // namespace
