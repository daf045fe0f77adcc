// Signing, verification and RSA encryption through the context API, outside
// proven mode.  Keys enter the context as enciphered key-pair exports built
// here (SEED-CBC under SHA-256 of the password, see kry/key.h): an RSA key
// from OpenSSL's generator, the DSA example of FIPS 186-2 appendix 5 and the
// KCDSA (1024, 160) example of TTAK.KO-12.0001/R4.
#include <gtest/gtest.h>

#include <kry/api.h>
#include <kry/bigint.h>
#include <kry/error.h>
#include <kry/key.h>
#include <kry/rsa.h>

#include "api/api_internal.h"
#include "oracle.h"
#include "oracle_pk_dsa.h"
#include "oracle_pk_rsa.h"
#include "test_support.h"

#include <cstring>
#include <map>
#include <string>
#include <vector>

using namespace kry_test;

namespace {

// ---- encoded key pairs ---------------------------------------------------------

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

// Count byte, payload length, and the component list enciphered under password.
Bytes encode_keypair(const std::vector<Bytes> &components, const std::string &password) {
    Bytes list;
    uint8_t tag = 1;
    for (const Bytes &c : components) {
        list.push_back(tag++);
        put32(list, static_cast<uint32_t>(c.size()));
        list.insert(list.end(), c.begin(), c.end());
    }
    Bytes h = oracle::openssl_digest("SHA256", reinterpret_cast<const uint8_t *>(password.data()), password.size());
    Bytes key(h.begin(), h.begin() + 16), iv(h.begin() + 16, h.end());
    Bytes payload;
    if (!oracle::openssl_cipher("SEED-CBC", key, iv, true, true, list, payload))
        return {};
    Bytes out;
    out.push_back(static_cast<uint8_t>(components.size()));
    put32(out, static_cast<uint32_t>(payload.size()));
    out.insert(out.end(), payload.begin(), payload.end());
    return out;
}

struct RsaFixtureKey {
    oracle::rsa::Key hex;
    Bytes encoded;
};

const RsaFixtureKey &rsa_key() {
    static RsaFixtureKey k = [] {
        RsaFixtureKey r;
        if (!oracle::rsa::generate(1024, 65537, &r.hex))
            return r;
        const oracle::rsa::Key &h = r.hex;
        r.encoded = encode_keypair({hex_value(h.n), hex_value(h.e), hex_value(h.d), hex_value(h.p), hex_value(h.q),
                                    hex_value(h.dP), hex_value(h.dQ), hex_value(h.qInv)},
                                   "rsa password");
        return r;
    }();
    return k;
}

struct DlKey {
    Bytes p, q, g, y, x, msg;
    Bytes encoded;
};

DlKey dl_key(const char *file, const std::string &password) {
    DlKey k;
    auto blocks = read_vectors(file);
    if (blocks.empty())
        return k;
    auto &v = blocks[0];
    k.p = hex_value(v.at("P"));
    k.q = hex_value(v.at("Q"));
    k.g = hex_value(v.at("G"));
    k.y = hex_value(v.at("Y"));
    k.x = hex_value(v.at("X"));
    k.msg = from_hex(v.at("MSG"));
    k.encoded = encode_keypair({k.p, k.q, k.g, k.y, k.x}, password);
    return k;
}

const DlKey &dsa_key() {
    static DlKey k = dl_key("dsa.txt", "dsa password");
    return k;
}

const DlKey &kcdsa_key() {
    static DlKey k = dl_key("kcdsa.txt", "");
    return k;
}

BIGINT *big(const std::string &hex) {
    Bytes b = hex_value(hex);
    return binary_to_BIGINT(b.data(), static_cast<int32_t>(b.size()), nullptr);
}

class ApiSign : public ::testing::Test {
  protected:
    void SetUp() override {
        ChangeNonProvenMode();
        KRY_ChangeNonProvenMode();
        ASSERT_EQ(KRY_Initialize(), 0u);
        ASSERT_EQ(KRY_Context_new(&ctx), 0u);
        ASSERT_FALSE(rsa_key().encoded.empty());
        ASSERT_FALSE(dsa_key().encoded.empty());
        ASSERT_FALSE(kcdsa_key().encoded.empty());
        const Bytes &r = rsa_key().encoded;
        ASSERT_EQ(KRY_KeyPairImport(ctx, "rsa", KRY_KEYPAIR_RSA, r.data(), static_cast<uint32_t>(r.size()),
                                    "rsa password"),
                  0u);
        const Bytes &d = dsa_key().encoded;
        ASSERT_EQ(KRY_KeyPairImport(ctx, "dsa", KRY_KEYPAIR_DSA, d.data(), static_cast<uint32_t>(d.size()),
                                    "dsa password"),
                  0u);
        const Bytes &k = kcdsa_key().encoded;
        ASSERT_EQ(KRY_KeyPairImport(ctx, "kcdsa", KRY_KEYPAIR_KCDSA, k.data(), static_cast<uint32_t>(k.size()), ""),
                  0u);
        ASSERT_EQ(KRY_SIGNVERIFY_new(ctx, &sv), 0u);
    }
    void TearDown() override {
        if (sv != nullptr) {
            EXPECT_EQ(KRY_SIGNVERIFY_free(ctx, sv), 0u);
            kry::api::api_free(sv, sizeof *sv);
        }
        if (ctx != nullptr) {
            EXPECT_EQ(KRY_Context_free(ctx), 0u);
        }
    }

    uint32_t sign(const char *alias, uint32_t digest, const Bytes &m, Bytes &sig, uint32_t size = 512) {
        if (uint32_t r = KRY_SignInit(ctx, sv, digest, alias); r != 0)
            return r;
        if (uint32_t r = KRY_SignUpdate(ctx, sv, m.data(), static_cast<uint32_t>(m.size())); r != 0)
            return r;
        sig.assign(size, 0);
        uint32_t len = 0;
        uint32_t r = KRY_SignFinal(ctx, sv, sig.data(), size, &len);
        sig.resize(r == 0 ? len : 0);
        return r;
    }
    uint32_t verify(const char *alias, uint32_t digest, const Bytes &m, const Bytes &sig) {
        if (uint32_t r = KRY_VerifyInit(ctx, sv, digest, alias); r != 0)
            return r;
        if (uint32_t r = KRY_VerifyUpdate(ctx, sv, m.data(), static_cast<uint32_t>(m.size())); r != 0)
            return 1000 + r;
        return KRY_VerifyFinal(ctx, sv, sig.data(), static_cast<uint32_t>(sig.size()));
    }

    KRY_Context *ctx = nullptr;
    KRY_SIGNVERIFY *sv = nullptr;
};

// Parses the signature string: 30 L 30 rlen+1 00 r 30 slen s.
bool parse_dl_signature(const Bytes &sig, Bytes &r, Bytes &s) {
    if (sig.size() < 7 || sig[0] != 0x30 || sig[2] != 0x30 || sig[4] != 0x00)
        return false;
    const size_t rlen = static_cast<size_t>(sig[3]) - 1;
    if (sig[1] != sig.size() - 2 || 5 + rlen + 2 > sig.size() || sig[5 + rlen] != 0x30)
        return false;
    const size_t slen = sig[6 + rlen];
    if (7 + rlen + slen != sig.size())
        return false;
    r.assign(sig.begin() + 5, sig.begin() + 5 + static_cast<std::ptrdiff_t>(rlen));
    s.assign(sig.begin() + 7 + static_cast<std::ptrdiff_t>(rlen), sig.end());
    return true;
}

Bytes left_pad(const Bytes &b, size_t k) {
    Bytes out(k > b.size() ? k - b.size() : 0, 0);
    out.insert(out.end(), b.begin(), b.end());
    return out;
}

// ---- RSA ------------------------------------------------------------------------

// Digest numbers 1 and 4 both select SHA-1: the signature is the bare SHA-1
// digest raised to d (no encoding), the same as a toolkit unit produces with
// encoding 0.
TEST_F(ApiSign, RsaDigestNumbers1And4SignWithSha1) {
    const Bytes m = bytes_of("The quick brown fox jumps over the lazy dog");
    const Bytes sha1 = oracle::openssl_digest("SHA1", m.data(), m.size());
    const auto &key = rsa_key().hex;

    RSA *unit = new_RSA();
    ASSERT_NE(unit, nullptr);
    BIGINT *n = big(key.n), *e = big(key.e), *d = big(key.d), *p = big(key.p), *q = big(key.q), *dp = big(key.dP),
           *dq = big(key.dQ), *qi = big(key.qInv);
    ASSERT_EQ(set_RSA_params(unit, n, e, d, p, q, dp, dq, qi), 0u);
    ASSERT_EQ(init_RSASSA(unit, 0x05000100u, 0, 1), 0u);
    ASSERT_EQ(update_RSASSA(unit, m.data(), static_cast<uint32_t>(m.size())), 0u);
    Bytes toolkit(128);
    uint32_t tlen = 0;
    ASSERT_EQ(final_RSASSA(unit, toolkit.data(), &tlen), 0u);
    toolkit.resize(tlen);
    free_RSA(unit);
    for (BIGINT *b : {n, e, d, p, q, dp, dq, qi})
        free_BIGINT(b);

    for (uint32_t number : {1u, 4u}) {
        SCOPED_TRACE(number);
        Bytes sig;
        ASSERT_EQ(sign("rsa", number, m, sig), 0u);
        EXPECT_EQ(sig.size(), 128u);
        EXPECT_EQ(to_hex(sig), to_hex(toolkit));
        EXPECT_EQ(to_hex(oracle::rsa::raw_public(key, sig)), to_hex(left_pad(sha1, 128)));
        EXPECT_EQ(verify("rsa", 1, m, sig), 0u);
        EXPECT_EQ(verify("rsa", 4, m, sig), 0u);
    }
}

TEST_F(ApiSign, RsaDigestNumber5SignsWithHas160) {
    const Bytes m = bytes_of("abc");
    Bytes sig;
    ASSERT_EQ(sign("rsa", 5, m, sig), 0u);
    const Bytes h = oracle::rhash_has160(m.data(), m.size());
    EXPECT_EQ(to_hex(oracle::rsa::raw_public(rsa_key().hex, sig)), to_hex(left_pad(h, 128)));
    EXPECT_EQ(verify("rsa", 5, m, sig), 0u);
    // A signature over HAS-160 does not verify as one over SHA-1.
    EXPECT_EQ(verify("rsa", 1, m, sig), KRY_R_BAD_SIGNATURE);
}

TEST_F(ApiSign, RsaOtherDigestNumbersAreRefusedByTheUnit) {
    for (uint32_t number : {0u, 2u, 3u, 6u, 7u, 0xFFFFFFFFu}) {
        EXPECT_EQ(KRY_SignInit(ctx, sv, number, "rsa"), KRY_R_SIGN) << number;
        EXPECT_EQ(KRY_VerifyInit(ctx, sv, number, "rsa"), KRY_R_VERIFY) << number;
    }
}

TEST_F(ApiSign, RsaTamperedSignatureOrMessageGives23) {
    const Bytes m = bytes_of("message to be signed");
    Bytes sig;
    ASSERT_EQ(sign("rsa", 1, m, sig), 0u);
    ASSERT_EQ(verify("rsa", 1, m, sig), 0u);
    Bytes bad = sig;
    bad[60] ^= 0x01;
    EXPECT_EQ(verify("rsa", 1, m, bad), KRY_R_BAD_SIGNATURE);
    Bytes m2 = m;
    m2[0] ^= 0x80;
    EXPECT_EQ(verify("rsa", 1, m2, sig), KRY_R_BAD_SIGNATURE);
}

TEST_F(ApiSign, RsaSignFinalTooSmallBufferGives20AndStaysInside) {
    const Bytes m = bytes_of("abc");
    ASSERT_EQ(KRY_SignInit(ctx, sv, 1, "rsa"), 0u);
    ASSERT_EQ(KRY_SignUpdate(ctx, sv, m.data(), 3), 0u);
    uint8_t buf[200];
    std::memset(buf, 0xAA, sizeof buf);
    uint32_t len = 0;
    EXPECT_EQ(KRY_SignFinal(ctx, sv, buf, 64, &len), KRY_R_SIGN);
    for (size_t i = 64; i < sizeof buf; ++i)
        ASSERT_EQ(buf[i], 0xAA) << "written past the given size at " << i;
}

TEST_F(ApiSign, SignVerifyArgumentChecks) {
    const uint8_t data[4] = {0};
    uint8_t out[64];
    uint32_t len = 0;
    EXPECT_EQ(KRY_SignInit(ctx, nullptr, 1, "rsa"), KRY_R_INVALID_ARGUMENT);
    EXPECT_EQ(KRY_SignInit(ctx, sv, 1, nullptr), KRY_R_INVALID_ARGUMENT);
    EXPECT_EQ(KRY_VerifyInit(ctx, nullptr, 1, "rsa"), KRY_R_INVALID_ARGUMENT);
    EXPECT_EQ(KRY_VerifyInit(ctx, sv, 1, nullptr), KRY_R_INVALID_ARGUMENT);
    EXPECT_EQ(KRY_SignInit(ctx, sv, 1, "nope"), KRY_R_SIGN_KEY_NOT_FOUND);
    EXPECT_EQ(KRY_VerifyInit(ctx, sv, 1, "nope"), KRY_R_VERIFY_KEY_NOT_FOUND);
    EXPECT_EQ(KRY_SignInit(ctx, sv, 1, "rs"), KRY_R_SIGN_KEY_NOT_FOUND);
    ASSERT_EQ(KRY_SignInit(ctx, sv, 1, "rsa"), 0u);
    EXPECT_EQ(KRY_SignUpdate(ctx, nullptr, data, 4), KRY_R_INVALID_ARGUMENT);
    EXPECT_EQ(KRY_SignUpdate(ctx, sv, nullptr, 4), KRY_R_INVALID_ARGUMENT);
    EXPECT_EQ(KRY_SignFinal(ctx, nullptr, out, 64, &len), KRY_R_INVALID_ARGUMENT);
    EXPECT_EQ(KRY_SignFinal(ctx, sv, nullptr, 64, &len), KRY_R_INVALID_ARGUMENT);
    EXPECT_EQ(KRY_SignFinal(ctx, sv, out, 64, nullptr), KRY_R_INVALID_ARGUMENT);
    ASSERT_EQ(KRY_VerifyInit(ctx, sv, 1, "rsa"), 0u);
    EXPECT_EQ(KRY_VerifyUpdate(ctx, nullptr, data, 4), KRY_R_INVALID_ARGUMENT);
    EXPECT_EQ(KRY_VerifyUpdate(ctx, sv, nullptr, 4), KRY_R_INVALID_ARGUMENT);
    EXPECT_EQ(KRY_VerifyFinal(ctx, nullptr, out, 64), KRY_R_INVALID_ARGUMENT);
    EXPECT_EQ(KRY_VerifyFinal(ctx, sv, nullptr, 64), KRY_R_INVALID_ARGUMENT);
}

TEST_F(ApiSign, InitStoresTheKeyRecordAndDigest) {
    ASSERT_EQ(KRY_SignInit(ctx, sv, 4, "rsa"), 0u);
    kry::api::KRY_KEYPAIR_ENTRY *e = kry::api::kry_find_keypair(ctx, "rsa");
    ASSERT_NE(e, nullptr);
    EXPECT_EQ(sv->key, e->key);
    EXPECT_EQ(sv->digest_id, 0x05000100u);
    ASSERT_EQ(KRY_VerifyInit(ctx, sv, 5, "dsa"), 0u);
    EXPECT_EQ(sv->key, kry::api::kry_find_keypair(ctx, "dsa")->key);
    EXPECT_EQ(sv->digest_id, 0x07000100u);
    ASSERT_EQ(KRY_SignInit(ctx, sv, 9, "kcdsa"), 0u);  // KCDSA ignores the digest
    EXPECT_EQ(sv->digest_id, 0xFFFFFFFFu);
}

// ---- DSA ------------------------------------------------------------------------

TEST_F(ApiSign, DsaSignatureStringLayout) {
    const DlKey &k = dsa_key();
    const Bytes digest = oracle::openssl_digest("SHA1", k.msg.data(), k.msg.size());
    bool saw_full = false;
    for (int i = 0; i < 24; ++i) {
        Bytes sig;
        ASSERT_EQ(sign("dsa", 1, k.msg, sig), 0u);
        Bytes r, s;
        ASSERT_TRUE(parse_dl_signature(sig, r, s)) << to_hex(sig);
        // The standard's verification accepts (r, s).  An s of odd minimal
        // length carries one extra trailing byte in the string.
        int ok = oracle::dsa::verify(k.p, k.q, k.g, k.y, digest, r, s);
        if (ok != 1 && s.size() % 2 == 0)
            ok = oracle::dsa::verify(k.p, k.q, k.g, k.y, digest, r, Bytes(s.begin(), s.end() - 1));
        EXPECT_EQ(ok, 1) << to_hex(sig);
        EXPECT_EQ(verify("dsa", 1, k.msg, sig), 0u);
        if (r.size() == 20 && s.size() == 20) {
            saw_full = true;
            ASSERT_EQ(sig.size(), 47u);
            EXPECT_EQ(to_hex(Bytes(sig.begin(), sig.begin() + 5)), "302d301500");
            EXPECT_EQ(sig[25], 0x30);
            EXPECT_EQ(sig[26], 0x14);
            break;
        }
    }
    EXPECT_TRUE(saw_full);
}

TEST_F(ApiSign, DsaWithHas160) {
    const Bytes m = bytes_of("HAS-160 message");
    Bytes sig, r, s;
    ASSERT_EQ(sign("dsa", 5, m, sig), 0u);
    ASSERT_TRUE(parse_dl_signature(sig, r, s));
    const DlKey &k = dsa_key();
    const Bytes h = oracle::rhash_has160(m.data(), m.size());
    int ok = oracle::dsa::verify(k.p, k.q, k.g, k.y, h, r, s);
    if (ok != 1 && s.size() % 2 == 0)
        ok = oracle::dsa::verify(k.p, k.q, k.g, k.y, h, r, Bytes(s.begin(), s.end() - 1));
    EXPECT_EQ(ok, 1);
    EXPECT_EQ(verify("dsa", 5, m, sig), 0u);
    EXPECT_EQ(verify("dsa", 1, m, sig), KRY_R_BAD_SIGNATURE);
}

TEST_F(ApiSign, DsaAcceptsAnOpenSslSignature) {
    const DlKey &k = dsa_key();
    const Bytes m = bytes_of("signed elsewhere");
    Bytes r, s;
    ASSERT_TRUE(oracle::dsa::sign(k.p, k.q, k.g, k.y, k.x, oracle::openssl_digest("SHA1", m.data(), m.size()), r, s));
    r = minimal(r);
    s = minimal(s);
    Bytes sig = {0x30, static_cast<uint8_t>(r.size() + s.size() + 5), 0x30, static_cast<uint8_t>(r.size() + 1), 0};
    sig.insert(sig.end(), r.begin(), r.end());
    sig.push_back(0x30);
    sig.push_back(static_cast<uint8_t>(s.size()));
    sig.insert(sig.end(), s.begin(), s.end());
    EXPECT_EQ(verify("dsa", 4, m, sig), 0u);
}

TEST_F(ApiSign, DsaTamperedSignatureGives23) {
    const DlKey &k = dsa_key();
    Bytes sig;
    ASSERT_EQ(sign("dsa", 1, k.msg, sig), 0u);
    ASSERT_EQ(verify("dsa", 1, k.msg, sig), 0u);
    const size_t rlen = sig[3] - 1u;
    Bytes bad_r = sig;
    bad_r[5 + rlen - 1] ^= 0x01;
    EXPECT_EQ(verify("dsa", 1, k.msg, bad_r), KRY_R_BAD_SIGNATURE);
    Bytes bad_s = sig;
    bad_s[sig.size() - 4] ^= 0x01;  // inside s, not its last byte (which may be padding)
    EXPECT_EQ(verify("dsa", 1, k.msg, bad_s), KRY_R_BAD_SIGNATURE);
    Bytes m2 = k.msg;
    m2.push_back('!');
    EXPECT_EQ(verify("dsa", 1, m2, sig), KRY_R_BAD_SIGNATURE);
}

// The verifier reads the string by position; a length byte that points past
// the given signature length is refused as a signature that does not verify.
TEST_F(ApiSign, DsaLengthBytesPointingOutsideGive23) {
    const DlKey &k = dsa_key();
    Bytes sig;
    ASSERT_EQ(sign("dsa", 1, k.msg, sig), 0u);
    const size_t rlen = sig[3] - 1u;
    Bytes a = sig;
    a[3] = 0xFF;
    EXPECT_EQ(verify("dsa", 1, k.msg, a), KRY_R_BAD_SIGNATURE);
    Bytes b = sig;
    b[6 + rlen] = 0xFF;
    EXPECT_EQ(verify("dsa", 1, k.msg, b), KRY_R_BAD_SIGNATURE);
    Bytes c = sig;
    c[6 + rlen] = static_cast<uint8_t>(c[6 + rlen] + 1);
    EXPECT_EQ(verify("dsa", 1, k.msg, c), KRY_R_BAD_SIGNATURE);
    // The right bytes, but a length argument that cuts them short.
    ASSERT_EQ(KRY_VerifyInit(ctx, sv, 1, "dsa"), 0u);
    ASSERT_EQ(KRY_VerifyUpdate(ctx, sv, k.msg.data(), static_cast<uint32_t>(k.msg.size())), 0u);
    EXPECT_EQ(KRY_VerifyFinal(ctx, sv, sig.data(), static_cast<uint32_t>(sig.size() - 1)), KRY_R_BAD_SIGNATURE);
    for (uint32_t len : {0u, 3u, 5u}) {
        ASSERT_EQ(KRY_VerifyInit(ctx, sv, 1, "dsa"), 0u);
        ASSERT_EQ(KRY_VerifyUpdate(ctx, sv, k.msg.data(), static_cast<uint32_t>(k.msg.size())), 0u);
        EXPECT_EQ(KRY_VerifyFinal(ctx, sv, sig.data(), len), KRY_R_BAD_SIGNATURE) << len;
    }
    // Tag bytes and the outer length are not examined.
    Bytes d = sig;
    d[0] = 0x02;
    d[1] = 0x00;
    d[2] = 0x02;
    EXPECT_EQ(verify("dsa", 1, k.msg, d), 0u);
}

TEST_F(ApiSign, DsaSignFinalTooSmallBufferGives20AndStaysInside) {
    const DlKey &k = dsa_key();
    for (uint32_t size : {0u, 10u, 40u}) {
        ASSERT_EQ(KRY_SignInit(ctx, sv, 1, "dsa"), 0u);
        ASSERT_EQ(KRY_SignUpdate(ctx, sv, k.msg.data(), static_cast<uint32_t>(k.msg.size())), 0u);
        uint8_t buf[100];
        std::memset(buf, 0xAA, sizeof buf);
        uint32_t len = 0;
        EXPECT_EQ(KRY_SignFinal(ctx, sv, buf, size, &len), KRY_R_SIGN) << size;
        for (size_t i = size; i < sizeof buf; ++i)
            ASSERT_EQ(buf[i], 0xAA) << "size " << size << ": written past it at " << i;
    }
}

TEST_F(ApiSign, DsaOtherDigestNumbersAreRefused) {
    for (uint32_t number : {0u, 2u, 6u}) {
        EXPECT_EQ(KRY_SignInit(ctx, sv, number, "dsa"), KRY_R_SIGN) << number;
        EXPECT_EQ(KRY_VerifyInit(ctx, sv, number, "dsa"), KRY_R_VERIFY) << number;
    }
}

// ---- KCDSA ------------------------------------------------------------------------

TEST_F(ApiSign, KcdsaRoundTripAndLayout) {
    const DlKey &k = kcdsa_key();
    for (int i = 0; i < 3; ++i) {
        Bytes sig, r, s;
        ASSERT_EQ(sign("kcdsa", 1, k.msg, sig), 0u);
        ASSERT_TRUE(parse_dl_signature(sig, r, s)) << to_hex(sig);
        EXPECT_LE(r.size(), 20u);
        EXPECT_LE(s.size(), 20u);
        EXPECT_EQ(verify("kcdsa", 1, k.msg, sig), 0u);
        // The digest number does not matter to KCDSA (HAS-160 always).
        EXPECT_EQ(verify("kcdsa", 2, k.msg, sig), 0u);
    }
}

TEST_F(ApiSign, KcdsaSignatureThatDoesNotVerifyGives22) {
    const DlKey &k = kcdsa_key();
    Bytes sig;
    ASSERT_EQ(sign("kcdsa", 5, k.msg, sig), 0u);
    ASSERT_EQ(verify("kcdsa", 5, k.msg, sig), 0u);
    Bytes bad = sig;
    bad[6] ^= 0x40;  // inside r
    EXPECT_EQ(verify("kcdsa", 5, k.msg, bad), KRY_R_VERIFY);
    Bytes m2 = k.msg;
    m2[3] ^= 1;
    EXPECT_EQ(verify("kcdsa", 5, m2, sig), KRY_R_VERIFY);
}

TEST_F(ApiSign, KcdsaSignFinalTooSmallBufferGives20) {
    const DlKey &k = kcdsa_key();
    ASSERT_EQ(KRY_SignInit(ctx, sv, 1, "kcdsa"), 0u);
    ASSERT_EQ(KRY_SignUpdate(ctx, sv, k.msg.data(), static_cast<uint32_t>(k.msg.size())), 0u);
    uint8_t buf[100];
    std::memset(buf, 0xAA, sizeof buf);
    uint32_t len = 0;
    EXPECT_EQ(KRY_SignFinal(ctx, sv, buf, 30, &len), KRY_R_SIGN);
    for (size_t i = 30; i < sizeof buf; ++i)
        ASSERT_EQ(buf[i], 0xAA) << i;
}

// ---- key records of an unknown type -----------------------------------------------

TEST_F(ApiSign, UnknownKeyTypeIsRefusedAtEachStep) {
    kry::api::KRY_KEYPAIR_ENTRY *e = kry::api::kry_find_keypair(ctx, "rsa");
    ASSERT_NE(e, nullptr);
    const Bytes m = bytes_of("abc");

    // Init with a record of type 7.
    e->key->type = 7;
    e->key_type = 7;
    EXPECT_EQ(KRY_SignInit(ctx, sv, 1, "rsa"), KRY_R_SIGN);
    EXPECT_EQ(KRY_VerifyInit(ctx, sv, 1, "rsa"), KRY_R_VERIFY);
    e->key->type = 2;
    e->key_type = 2;

    // A record whose type changes after Init.
    Bytes sig;
    ASSERT_EQ(sign("rsa", 1, m, sig), 0u);
    ASSERT_EQ(KRY_VerifyInit(ctx, sv, 1, "rsa"), 0u);
    e->key->type = 7;
    e->key_type = 7;
    EXPECT_EQ(KRY_VerifyUpdate(ctx, sv, m.data(), 3), KRY_R_OK);
    EXPECT_EQ(KRY_VerifyFinal(ctx, sv, sig.data(), static_cast<uint32_t>(sig.size())), KRY_R_BAD_SIGNATURE);
    e->key->type = 2;
    e->key_type = 2;

    ASSERT_EQ(KRY_SignInit(ctx, sv, 1, "rsa"), 0u);
    e->key->type = 0;
    e->key_type = 0;
    EXPECT_EQ(KRY_SignUpdate(ctx, sv, m.data(), 3), KRY_R_SIGN);
    uint8_t out[256];
    uint32_t len = 0;
    EXPECT_EQ(KRY_SignFinal(ctx, sv, out, sizeof out, &len), KRY_R_SIGN);
    e->key->type = 2;
    e->key_type = 2;
}

// ---- RSA encryption -----------------------------------------------------------------

class ApiRsaEncrypt : public ApiSign {
  protected:
    uint32_t pub(const Bytes &in, Bytes &out, uint32_t encoding, const char *alias = "rsa") {
        out.assign(256, 0);
        uint32_t len = 0;
        uint32_t r = KRY_RSA_pub_encrypt(ctx, in.data(), static_cast<uint32_t>(in.size()), out.data(),
                                         static_cast<uint32_t>(out.size()), &len, alias, encoding);
        out.resize(r == 0 ? len : 0);
        return r;
    }
    uint32_t pri(const Bytes &in, Bytes &out, uint32_t encoding, const char *alias = "rsa") {
        out.assign(256, 0);
        uint32_t len = 0;
        uint32_t r = KRY_RSA_pri_decrypt(ctx, in.data(), static_cast<uint32_t>(in.size()), out.data(),
                                         static_cast<uint32_t>(out.size()), &len, alias, encoding);
        out.resize(r == 0 ? len : 0);
        return r;
    }
};

TEST_F(ApiRsaEncrypt, RoundTripsForEveryEncoding) {
    TestRng rng(0x25A);
    for (uint32_t encoding : {1u, 2u, 3u, 32u}) {
        for (size_t len : {size_t(1), size_t(16), size_t(40)}) {
            SCOPED_TRACE(testing::Message() << "encoding " << encoding << " len " << len);
            Bytes m = rng.bytes(len);
            if (encoding == 1)
                m[0] |= 1;  // raw: a leading zero would not survive the round trip
            Bytes c, back;
            ASSERT_EQ(pub(m, c, encoding), 0u);
            // The ciphertext is written without leading zeros.
            EXPECT_LE(c.size(), 128u);
            EXPECT_GE(c.size(), 100u);
            ASSERT_FALSE(c.empty());
            EXPECT_NE(c[0], 0);
            ASSERT_EQ(pri(c, back, encoding), 0u);
            EXPECT_EQ(to_hex(back), to_hex(m));
        }
    }
}

TEST_F(ApiRsaEncrypt, RawEncryptionIsTheBareExponentiation) {
    TestRng rng(0x7A);
    const auto &key = rsa_key().hex;
    Bytes m = rng.bytes(100);
    m[0] |= 1;
    Bytes c;
    ASSERT_EQ(pub(m, c, 1), 0u);
    EXPECT_EQ(to_hex(left_pad(c, 128)), to_hex(oracle::rsa::raw_public(key, m)));
    Bytes c2 = oracle::rsa::raw_public(key, rng.bytes(90)), back;
    ASSERT_EQ(pri(c2, back, 1), 0u);
    EXPECT_EQ(to_hex(left_pad(back, 128)), to_hex(oracle::rsa::raw_private(key, c2)));
}

TEST_F(ApiRsaEncrypt, InteroperatesWithOpenSsl) {
    TestRng rng(0x0AE);
    const auto &key = rsa_key().hex;
    for (int i = 0; i < 4; ++i) {
        Bytes m = rng.bytes(1 + rng.below(60));
        // RSAES-OAEP (RFC 8017) with SHA-1, both directions.
        Bytes c, back;
        ASSERT_EQ(pub(m, c, 3), 0u);
        EXPECT_EQ(to_hex(oracle::rsa::decrypt_oaep(key, "SHA1", left_pad(c, 128))), to_hex(m));
        ASSERT_EQ(pri(oracle::rsa::encrypt_oaep(key, "SHA1", m), back, 3), 0u);
        EXPECT_EQ(to_hex(back), to_hex(m));
        // RSAES-PKCS1-v1_5, both directions.
        ASSERT_EQ(pub(m, c, 32), 0u);
        EXPECT_EQ(to_hex(oracle::rsa::decrypt_pkcs1(key, left_pad(c, 128))), to_hex(m));
        ASSERT_EQ(pri(oracle::rsa::encrypt_pkcs1(key, m), back, 32), 0u);
        EXPECT_EQ(to_hex(back), to_hex(m));
    }
}

TEST_F(ApiRsaEncrypt, KeyChecks) {
    const Bytes m = bytes_of("sixteen byte msg");
    Bytes out;
    EXPECT_EQ(pub(m, out, 3, "dsa"), KRY_R_NOT_RSA);
    EXPECT_EQ(pub(m, out, 3, "kcdsa"), KRY_R_NOT_RSA);
    EXPECT_EQ(pri(Bytes(128, 1), out, 3, "dsa"), KRY_R_NOT_RSA);
    EXPECT_EQ(pub(m, out, 3, "absent"), KRY_R_VERIFY_KEY_NOT_FOUND);
    EXPECT_EQ(pri(Bytes(128, 1), out, 3, "absent"), KRY_R_SIGN_KEY_NOT_FOUND);
}

TEST_F(ApiRsaEncrypt, ArgumentChecks) {
    uint8_t in[16] = {1}, out[256];
    uint32_t len = 0;
    EXPECT_EQ(KRY_RSA_pub_encrypt(ctx, nullptr, 16, out, 256, &len, "rsa", 3), KRY_R_INVALID_ARGUMENT);
    EXPECT_EQ(KRY_RSA_pub_encrypt(ctx, in, 16, nullptr, 256, &len, "rsa", 3), KRY_R_INVALID_ARGUMENT);
    EXPECT_EQ(KRY_RSA_pub_encrypt(ctx, in, 16, out, 256, nullptr, "rsa", 3), KRY_R_INVALID_ARGUMENT);
    EXPECT_EQ(KRY_RSA_pub_encrypt(ctx, in, 16, out, 256, &len, nullptr, 3), KRY_R_INVALID_ARGUMENT);
    EXPECT_EQ(KRY_RSA_pri_decrypt(ctx, nullptr, 16, out, 256, &len, "rsa", 3), KRY_R_INVALID_ARGUMENT);
    EXPECT_EQ(KRY_RSA_pri_decrypt(ctx, in, 16, nullptr, 256, &len, "rsa", 3), KRY_R_INVALID_ARGUMENT);
    EXPECT_EQ(KRY_RSA_pri_decrypt(ctx, in, 16, out, 256, nullptr, "rsa", 3), KRY_R_INVALID_ARGUMENT);
    EXPECT_EQ(KRY_RSA_pri_decrypt(ctx, in, 16, out, 256, &len, nullptr, 3), KRY_R_INVALID_ARGUMENT);
}

TEST_F(ApiRsaEncrypt, UnitFailuresGive25And26) {
    TestRng rng(0x2526);
    Bytes out;
    // An unknown encoding number maps to 1, which no encryption encoding uses.
    EXPECT_EQ(pub(rng.bytes(16), out, 7), KRY_R_RSA_ENCRYPT);
    EXPECT_EQ(pri(rng.bytes(128), out, 7), KRY_R_RSA_DECRYPT);
    // A ciphertext that does not decode.
    Bytes garbage = oracle::rsa::raw_public(rsa_key().hex, rng.bytes(127));
    EXPECT_EQ(pri(garbage, out, 3), KRY_R_RSA_DECRYPT);
    EXPECT_EQ(pri(garbage, out, 32), KRY_R_RSA_DECRYPT);
}

}  // namespace
