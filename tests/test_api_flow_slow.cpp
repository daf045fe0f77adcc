// Client flows with freshly generated DSA and KCDSA key pairs (parameter
// generation takes seconds): create, export under a password, destroy,
// import, sign, verify, and a tampered signature is refused.
#include <gtest/gtest.h>

#include <kry/api.h>
#include <kry/error.h>

#include "api/api_internal.h"
#include "oracle.h"
#include "oracle_pk_dsa.h"
#include "test_support.h"

#include <cstring>
#include <map>
#include <string>

using namespace kry_test;

namespace {

uint32_t get32(const uint8_t *p) {
    return (uint32_t(p[0]) << 24) | (uint32_t(p[1]) << 16) | (uint32_t(p[2]) << 8) | p[3];
}

// Components of an export enciphered with SEED-CBC under SHA-256(password).
std::map<int, Bytes> decode_keypair(const Bytes &encoded, const std::string &password) {
    std::map<int, Bytes> out;
    if (encoded.size() < 5 || encoded.size() != 5u + get32(&encoded[1]))
        return out;
    Bytes h = oracle::openssl_digest("SHA256", reinterpret_cast<const uint8_t *>(password.data()), password.size());
    Bytes list;
    if (!oracle::openssl_cipher("SEED-CBC", Bytes(h.begin(), h.begin() + 16), Bytes(h.begin() + 16, h.end()), false,
                                true, Bytes(encoded.begin() + 5, encoded.end()), list))
        return out;
    size_t pos = 0;
    for (int i = 0; i < encoded[0]; ++i) {
        if (pos + 5 > list.size())
            return {};
        const uint32_t n = get32(&list[pos + 1]);
        if (pos + 5 + n > list.size())
            return {};
        out[list[pos]] = Bytes(list.begin() + static_cast<std::ptrdiff_t>(pos + 5),
                               list.begin() + static_cast<std::ptrdiff_t>(pos + 5 + n));
        pos += 5 + n;
    }
    return out;
}

class ApiFlow : public ::testing::Test {
  protected:
    void SetUp() override {
        ChangeNonProvenMode();
        KRY_ChangeNonProvenMode();
        ASSERT_EQ(KRY_Initialize(), 0u);
        ASSERT_EQ(KRY_Context_new(&ctx), 0u);
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

    Bytes export_pair(const char *alias, const char *password) {
        Bytes out(4096);
        uint32_t len = static_cast<uint32_t>(out.size());
        EXPECT_EQ(KRY_KeyPairExport(ctx, alias, out.data(), static_cast<uint32_t>(out.size()), &len, password), 0u);
        out.resize(len <= out.size() ? len : 0);
        return out;
    }
    Bytes sign(const char *alias, uint32_t digest, const Bytes &m) {
        EXPECT_EQ(KRY_SignInit(ctx, sv, digest, alias), 0u);
        EXPECT_EQ(KRY_SignUpdate(ctx, sv, m.data(), static_cast<uint32_t>(m.size())), 0u);
        uint8_t sig[600];
        uint32_t len = 0;
        if (KRY_SignFinal(ctx, sv, sig, sizeof sig, &len) != 0) {
            ADD_FAILURE() << "SignFinal failed";
            return {};
        }
        return Bytes(sig, sig + len);
    }
    uint32_t verify(const char *alias, uint32_t digest, const Bytes &m, const Bytes &sig) {
        if (uint32_t r = KRY_VerifyInit(ctx, sv, digest, alias); r != 0)
            return r;
        KRY_VerifyUpdate(ctx, sv, m.data(), static_cast<uint32_t>(m.size()));
        return KRY_VerifyFinal(ctx, sv, sig.data(), static_cast<uint32_t>(sig.size()));
    }

    // The full flow; bad is what a tampered signature gives.
    void flow(const char *alias, uint32_t type, uint32_t bad) {
        uint32_t n = 0;
        ASSERT_EQ(KRY_NumKeyPair(ctx, &n), 0u);
        ASSERT_EQ(n, 1u);
        const Bytes enc = export_pair(alias, "flow password");
        ASSERT_FALSE(enc.empty());
        auto comps = decode_keypair(enc, "flow password");
        ASSERT_EQ(comps.size(), 5u);
        const Bytes &p = comps[1], &q = comps[2], &g = comps[3], &y = comps[4];
        ASSERT_EQ(KRY_KeyPairDestory(ctx, alias), 0u);
        ASSERT_EQ(KRY_NumKeyPair(ctx, &n), 0u);
        ASSERT_EQ(n, 0u);
        ASSERT_EQ(KRY_KeyPairImport(ctx, alias, type, enc.data(), static_cast<uint32_t>(enc.size()), "flow password"),
                  0u);
        const Bytes m = bytes_of("a message from the client");
        for (int i = 0; i < 3; ++i) {
            Bytes sig = sign(alias, 1, m);
            ASSERT_GE(sig.size(), 7u);
            EXPECT_EQ(sig[0], 0x30);
            EXPECT_EQ(sig[2], 0x30);
            EXPECT_EQ(sig[4], 0x00);
            EXPECT_EQ(verify(alias, 1, m, sig), 0u);
            if (type == KRY_KEYPAIR_DSA) {
                // The standard's verification accepts (r, s) over SHA-1.
                const size_t rlen = sig[3] - 1u;
                Bytes r(sig.begin() + 5, sig.begin() + 5 + static_cast<std::ptrdiff_t>(rlen));
                Bytes s(sig.begin() + 7 + static_cast<std::ptrdiff_t>(rlen), sig.end());
                const Bytes h = oracle::openssl_digest("SHA1", m.data(), m.size());
                int ok = oracle::dsa::verify(p, q, g, y, h, r, s);
                if (ok != 1 && s.size() % 2 == 0)  // odd-length s carries one trailing byte
                    ok = oracle::dsa::verify(p, q, g, y, h, r, Bytes(s.begin(), s.end() - 1));
                EXPECT_EQ(ok, 1);
            }
            Bytes bad_sig = sig;
            bad_sig[sig.size() - 3] ^= 0x04;
            EXPECT_EQ(verify(alias, 1, m, bad_sig), bad);
            Bytes m2 = m;
            m2[0] ^= 1;
            EXPECT_EQ(verify(alias, 1, m2, sig), bad);
        }
    }

    KRY_Context *ctx = nullptr;
    KRY_SIGNVERIFY *sv = nullptr;
};

TEST_F(ApiFlow, Dsa1024WithSha1Parameters) {
    ASSERT_EQ(KRY_DSACreate(ctx, 0x05000100u, "dsa", 1024), 0u);
    kry::api::KRY_KEYPAIR_ENTRY *e = kry::api::kry_find_keypair(ctx, "dsa");
    ASSERT_NE(e, nullptr);
    EXPECT_EQ(e->key_type, 3u);
    EXPECT_EQ(e->key->length, 128u);
    flow("dsa", KRY_KEYPAIR_DSA, KRY_R_BAD_SIGNATURE);
}

TEST_F(ApiFlow, Dsa512WithSeedGenerator) {
    ASSERT_EQ(KRY_DSACreate(ctx, 0x04000100u, "dsa512", 512), 0u);
    EXPECT_EQ(kry::api::kry_find_keypair(ctx, "dsa512")->key->length, 64u);
    flow("dsa512", KRY_KEYPAIR_DSA, KRY_R_BAD_SIGNATURE);
}

TEST_F(ApiFlow, Kcdsa1024x160) {
    ASSERT_EQ(KRY_KCDSACreate(ctx, "kcdsa", 1024, 160), 0u);
    kry::api::KRY_KEYPAIR_ENTRY *e = kry::api::kry_find_keypair(ctx, "kcdsa");
    ASSERT_NE(e, nullptr);
    EXPECT_EQ(e->key_type, 4u);
    EXPECT_EQ(e->key->length, 128u);
    flow("kcdsa", KRY_KEYPAIR_KCDSA, KRY_R_VERIFY);
}

}  // namespace
