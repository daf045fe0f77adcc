// The key store of a context: symmetric keys and key pairs under aliases,
// counts, alias listing, creation, enciphered export and import (SEED-CBC
// under SHA-256 of the password), and full client flows per key type.
#include <gtest/gtest.h>

#include <kry/api.h>
#include <kry/error.h>
#include <kry/key.h>

#include "api/api_internal.h"
#include "oracle.h"
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

uint32_t get32(const uint8_t *p) {
    return (uint32_t(p[0]) << 24) | (uint32_t(p[1]) << 16) | (uint32_t(p[2]) << 8) | p[3];
}

void password_key(const std::string &password, Bytes &key, Bytes &iv) {
    Bytes h = oracle::openssl_digest("SHA256", reinterpret_cast<const uint8_t *>(password.data()), password.size());
    key.assign(h.begin(), h.begin() + 16);
    iv.assign(h.begin() + 16, h.end());
}

Bytes encode_keypair(const std::vector<Bytes> &components, const std::string &password) {
    Bytes list;
    uint8_t tag = 1;
    for (const Bytes &c : components) {
        list.push_back(tag++);
        put32(list, static_cast<uint32_t>(c.size()));
        list.insert(list.end(), c.begin(), c.end());
    }
    Bytes key, iv, payload;
    password_key(password, key, iv);
    if (!oracle::openssl_cipher("SEED-CBC", key, iv, true, true, list, payload))
        return {};
    Bytes out;
    out.push_back(static_cast<uint8_t>(components.size()));
    put32(out, static_cast<uint32_t>(payload.size()));
    out.insert(out.end(), payload.begin(), payload.end());
    return out;
}

// Deciphers an export and returns its components by tag (empty map on error).
std::map<int, Bytes> decode_keypair(const Bytes &encoded, const std::string &password) {
    std::map<int, Bytes> out;
    if (encoded.size() < 5)
        return out;
    const uint32_t L = get32(&encoded[1]);
    if (encoded.size() != 5u + L)
        return out;
    Bytes key, iv, list;
    password_key(password, key, iv);
    if (!oracle::openssl_cipher("SEED-CBC", key, iv, false, true, Bytes(encoded.begin() + 5, encoded.end()), list))
        return out;
    size_t pos = 0;
    for (int i = 0; i < encoded[0]; ++i) {
        if (pos + 5 > list.size())
            return {};
        const int tag = list[pos];
        const uint32_t n = get32(&list[pos + 1]);
        if (pos + 5 + n > list.size())
            return {};
        out[tag] = Bytes(list.begin() + static_cast<std::ptrdiff_t>(pos + 5),
                         list.begin() + static_cast<std::ptrdiff_t>(pos + 5 + n));
        pos += 5 + n;
    }
    if (pos != list.size())
        return {};
    return out;
}

struct DlKey {
    Bytes p, q, g, y, x, msg;
};

DlKey dl_key(const char *file) {
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
    return k;
}

// FIPS 186-2 appendix 5 (512-bit p) and the TTAK.KO-12.0001/R4 (1024, 160) example.
const DlKey &dsa_key() {
    static DlKey k = dl_key("dsa.txt");
    return k;
}
const DlKey &kcdsa_key() {
    static DlKey k = dl_key("kcdsa.txt");
    return k;
}

const oracle::rsa::Key &rsa_hex() {
    static oracle::rsa::Key k = [] {
        oracle::rsa::Key r;
        oracle::rsa::generate(1024, 65537, &r);
        return r;
    }();
    return k;
}

Bytes rsa_encoded(const std::string &password) {
    const auto &h = rsa_hex();
    return encode_keypair({hex_value(h.n), hex_value(h.e), hex_value(h.d), hex_value(h.p), hex_value(h.q),
                           hex_value(h.dP), hex_value(h.dQ), hex_value(h.qInv)},
                          password);
}

class ApiKeyStore : public ::testing::Test {
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

    uint32_t import(const char *alias, uint32_t type, const Bytes &enc, const char *password) {
        return KRY_KeyPairImport(ctx, alias, type, enc.data(), static_cast<uint32_t>(enc.size()), password);
    }
    uint32_t export_pair(const char *alias, const char *password, Bytes &out) {
        out.assign(4096, 0);
        uint32_t len = static_cast<uint32_t>(out.size());
        uint32_t r = KRY_KeyPairExport(ctx, alias, out.data(), static_cast<uint32_t>(out.size()), &len, password);
        out.resize(r == 0 ? len : 0);
        return r;
    }
    uint32_t sym_count() {
        uint32_t n = 0xEEEE;
        EXPECT_EQ(KRY_NumSymKey(ctx, &n), 0u);
        return n;
    }
    uint32_t pair_count() {
        uint32_t n = 0xEEEE;
        EXPECT_EQ(KRY_NumKeyPair(ctx, &n), 0u);
        return n;
    }
    Bytes sym_export(const char *alias) {
        uint8_t buf[32];
        uint32_t len = 0;
        if (KRY_SymKeyExport(ctx, alias, buf, sizeof buf, &len) != 0)
            return {};
        return Bytes(buf, buf + len);
    }
    std::vector<std::string> sym_aliases() {
        std::vector<std::string> out;
        const uint32_t n = sym_count();
        for (uint32_t i = 0; i < n; ++i) {
            char buf[64];
            uint32_t len = 0;
            EXPECT_EQ(KRY_GetSymKeyAlias(ctx, static_cast<int32_t>(i), buf, sizeof buf, &len), 0u);
            EXPECT_EQ(std::strlen(buf), len);
            out.emplace_back(buf, len);
        }
        return out;
    }
    // Signs m and checks the signature and a tampered copy; returns the number
    // the tampered verification gave.
    void sign_and_verify(const char *alias, uint32_t digest, const Bytes &m, uint32_t tampered_result) {
        KRY_SIGNVERIFY *sv = nullptr;
        ASSERT_EQ(KRY_SIGNVERIFY_new(ctx, &sv), 0u);
        ASSERT_EQ(KRY_SignInit(ctx, sv, digest, alias), 0u);
        ASSERT_EQ(KRY_SignUpdate(ctx, sv, m.data(), static_cast<uint32_t>(m.size())), 0u);
        uint8_t sig[600];
        uint32_t len = 0;
        ASSERT_EQ(KRY_SignFinal(ctx, sv, sig, sizeof sig, &len), 0u);
        ASSERT_GT(len, 0u);
        ASSERT_EQ(KRY_VerifyInit(ctx, sv, digest, alias), 0u);
        ASSERT_EQ(KRY_VerifyUpdate(ctx, sv, m.data(), static_cast<uint32_t>(m.size())), 0u);
        EXPECT_EQ(KRY_VerifyFinal(ctx, sv, sig, len), 0u);
        sig[len - 2] ^= 0x10;
        ASSERT_EQ(KRY_VerifyInit(ctx, sv, digest, alias), 0u);
        ASSERT_EQ(KRY_VerifyUpdate(ctx, sv, m.data(), static_cast<uint32_t>(m.size())), 0u);
        EXPECT_EQ(KRY_VerifyFinal(ctx, sv, sig, len), tampered_result);
        EXPECT_EQ(KRY_SIGNVERIFY_free(ctx, sv), 0u);
        kry::api::api_free(sv, sizeof *sv);
    }

    KRY_Context *ctx = nullptr;
};

// ---- symmetric keys -------------------------------------------------------------

TEST_F(ApiKeyStore, SymKeyImportExportDestroy) {
    TestRng rng(0x5E);
    Bytes key = rng.bytes(24);
    ASSERT_EQ(KRY_SymKeyImport(ctx, "tdes", key.data(), 24), 0u);
    EXPECT_EQ(sym_count(), 1u);
    EXPECT_EQ(to_hex(sym_export("tdes")), to_hex(key));
    EXPECT_EQ(KRY_SymKeyDestroy(ctx, "tdes"), 0u);
    EXPECT_EQ(sym_count(), 0u);
    uint8_t buf[32];
    uint32_t len = 0;
    EXPECT_EQ(KRY_SymKeyExport(ctx, "tdes", buf, sizeof buf, &len), KRY_R_SYMKEY_NOT_FOUND);
    EXPECT_EQ(KRY_SymKeyDestroy(ctx, "tdes"), KRY_R_ALIAS_NOT_FOUND);
}

TEST_F(ApiKeyStore, SymKeyOf32IsStoredAnd33IsRefusedWith4) {
    TestRng rng(0x33);
    Bytes key = rng.bytes(33);
    ASSERT_EQ(KRY_SymKeyImport(ctx, "k32", key.data(), 32), 0u);
    EXPECT_EQ(to_hex(sym_export("k32")), to_hex(Bytes(key.begin(), key.begin() + 32)));
    EXPECT_EQ(KRY_SymKeyImport(ctx, "k33", key.data(), 33), KRY_R_MALLOC);
    EXPECT_EQ(KRY_SymKeyCreate(ctx, "c33", 33), KRY_R_MALLOC);
    EXPECT_EQ(KRY_SymKeyCreate(ctx, "c1000", 1000), KRY_R_MALLOC);
    EXPECT_EQ(KRY_SymKeyImport(ctx, "k1", key.data(), 1), 0u);
    EXPECT_EQ(sym_count(), 2u);
}

TEST_F(ApiKeyStore, EmptyAliasIsRefusedWith4) {
    const uint8_t key[16] = {0};
    EXPECT_EQ(KRY_SymKeyImport(ctx, "", key, 16), KRY_R_MALLOC);
    EXPECT_EQ(KRY_SymKeyCreate(ctx, "", 16), KRY_R_MALLOC);
    EXPECT_EQ(sym_count(), 0u);
    const Bytes enc = encode_keypair({dsa_key().p, dsa_key().q, dsa_key().g, dsa_key().y, dsa_key().x}, "pw");
    EXPECT_EQ(import("", KRY_KEYPAIR_DSA, enc, "pw"), KRY_R_MALLOC);
    EXPECT_EQ(pair_count(), 0u);
}

TEST_F(ApiKeyStore, SymKeyArgumentChecks) {
    const uint8_t key[16] = {0};
    uint8_t buf[32];
    uint32_t len = 0;
    EXPECT_EQ(KRY_SymKeyImport(ctx, nullptr, key, 16), KRY_R_INVALID_ARGUMENT);
    EXPECT_EQ(KRY_SymKeyImport(ctx, "k", nullptr, 16), KRY_R_INVALID_ARGUMENT);
    EXPECT_EQ(KRY_SymKeyImport(ctx, "k", key, 0), KRY_R_INVALID_ARGUMENT);
    EXPECT_EQ(KRY_SymKeyCreate(ctx, nullptr, 16), KRY_R_INVALID_ARGUMENT);
    EXPECT_EQ(KRY_SymKeyCreate(ctx, "k", 0), KRY_R_INVALID_ARGUMENT);
    EXPECT_EQ(KRY_SymKeyExport(ctx, nullptr, buf, 32, &len), KRY_R_INVALID_ARGUMENT);
    EXPECT_EQ(KRY_SymKeyExport(ctx, "k", nullptr, 32, &len), KRY_R_INVALID_ARGUMENT);
    EXPECT_EQ(KRY_SymKeyExport(ctx, "k", buf, 32, nullptr), KRY_R_INVALID_ARGUMENT);
    EXPECT_EQ(KRY_SymKeyDestroy(ctx, nullptr), KRY_R_INVALID_ARGUMENT);
    EXPECT_EQ(KRY_NumSymKey(ctx, nullptr), KRY_R_INVALID_ARGUMENT);
    EXPECT_EQ(KRY_NumKeyPair(ctx, nullptr), KRY_R_INVALID_ARGUMENT);
    EXPECT_EQ(sym_count(), 0u);
}

TEST_F(ApiKeyStore, SymKeyCreateDrawsFreshKeys) {
    ASSERT_EQ(KRY_SymKeyCreate(ctx, "a", 16), 0u);
    ASSERT_EQ(KRY_SymKeyCreate(ctx, "b", 16), 0u);
    ASSERT_EQ(KRY_SymKeyCreate(ctx, "c", 32), 0u);
    const Bytes a = sym_export("a"), b = sym_export("b"), c = sym_export("c");
    EXPECT_EQ(a.size(), 16u);
    EXPECT_EQ(c.size(), 32u);
    EXPECT_NE(a, b);
    EXPECT_NE(a, Bytes(16, 0));
    // The created key is usable by the cipher objects.
    KRY_CIPHER *ci = nullptr;
    ASSERT_EQ(KRY_CIPHER_new(ctx, &ci), 0u);
    EXPECT_EQ(KRY_EncryptInit(ctx, ci, KRY_CIPHER_ARIA256, 0x01, "c", nullptr), 0u);
    EXPECT_EQ(KRY_CIPHER_free(ctx, ci), 0u);
}

TEST_F(ApiKeyStore, SymKeyExportBufferTooSmallGives9) {
    const uint8_t key[24] = {1, 2, 3};
    ASSERT_EQ(KRY_SymKeyImport(ctx, "k", key, 24), 0u);
    uint8_t buf[32];
    std::memset(buf, 0xAA, sizeof buf);
    uint32_t len = 0x77;
    EXPECT_EQ(KRY_SymKeyExport(ctx, "k", buf, 23, &len), KRY_R_BUFFER_TOO_SMALL);
    for (uint8_t b : buf) {
        EXPECT_EQ(b, 0xAA);
    }
    ASSERT_EQ(KRY_SymKeyExport(ctx, "k", buf, 24, &len), 0u);
    EXPECT_EQ(len, 24u);
    EXPECT_EQ(buf[24], 0xAA);
}

TEST_F(ApiKeyStore, AliasesAreListedShortestFirstThenBytewise) {
    const uint8_t key[32] = {0};
    ASSERT_EQ(KRY_SymKeyImport(ctx, "skey32", key, 32), 0u);
    ASSERT_EQ(KRY_SymKeyImport(ctx, "skey16", key, 16), 0u);
    ASSERT_EQ(KRY_SymKeyImport(ctx, "ab", key, 16), 0u);
    ASSERT_EQ(KRY_SymKeyImport(ctx, "skey24", key, 24), 0u);
    ASSERT_EQ(KRY_SymKeyImport(ctx, "b", key, 16), 0u);
    EXPECT_EQ(sym_aliases(), (std::vector<std::string>{"b", "ab", "skey16", "skey24", "skey32"}));
    EXPECT_EQ(sym_export("skey24").size(), 24u);
}

TEST_F(ApiKeyStore, AliasGetterBounds) {
    const uint8_t key[16] = {0};
    ASSERT_EQ(KRY_SymKeyImport(ctx, "alias5", key, 16), 0u);
    ASSERT_EQ(KRY_SymKeyImport(ctx, "a", key, 16), 0u);
    char buf[16];
    uint32_t len = 0;
    EXPECT_EQ(KRY_GetSymKeyAlias(ctx, 2, buf, sizeof buf, &len), KRY_R_NO_ENTRY);  // index == count
    EXPECT_EQ(KRY_GetSymKeyAlias(ctx, 3, buf, sizeof buf, &len), KRY_R_NO_ENTRY);
    EXPECT_EQ(KRY_GetSymKeyAlias(ctx, -1, buf, sizeof buf, &len), KRY_R_NO_ENTRY);
    EXPECT_EQ(KRY_GetKeyPairAlias(ctx, 0, buf, sizeof buf, &len), KRY_R_NO_ENTRY);
    EXPECT_EQ(KRY_GetSymKeyAlias(ctx, 0, nullptr, sizeof buf, &len), KRY_R_INVALID_ARGUMENT);
    EXPECT_EQ(KRY_GetKeyPairAlias(ctx, 0, nullptr, sizeof buf, &len), KRY_R_INVALID_ARGUMENT);
    // "alias5" and its NUL need 7 bytes; nothing is written past the size.
    std::memset(buf, 0xAA, sizeof buf);
    ASSERT_EQ(KRY_GetSymKeyAlias(ctx, 1, buf, 7, &len), 0u);
    EXPECT_STREQ(buf, "alias5");
    EXPECT_EQ(len, 6u);
    EXPECT_EQ(static_cast<uint8_t>(buf[7]), 0xAA);
    std::memset(buf, 0xAA, sizeof buf);
    EXPECT_EQ(KRY_GetSymKeyAlias(ctx, 1, buf, 4, &len), KRY_R_BUFFER_TOO_SMALL);
    for (size_t i = 4; i < sizeof buf; ++i) {
        ASSERT_EQ(static_cast<uint8_t>(buf[i]), 0xAA) << i;
    }
    ASSERT_EQ(KRY_GetSymKeyAlias(ctx, 0, buf, 2, &len), 0u);
    EXPECT_STREQ(buf, "a");
}

TEST_F(ApiKeyStore, DuplicateSymAliasesAreKeptAndDestroyRemovesTheOneFound) {
    const uint8_t k1[16] = {1}, k2[16] = {2};
    ASSERT_EQ(KRY_SymKeyImport(ctx, "dup", k1, 16), 0u);
    ASSERT_EQ(KRY_SymKeyImport(ctx, "dup", k2, 16), 0u);
    ASSERT_EQ(KRY_SymKeyImport(ctx, "other", k1, 16), 0u);
    EXPECT_EQ(sym_count(), 3u);
    EXPECT_EQ(sym_aliases(), (std::vector<std::string>{"dup", "dup", "other"}));
    const Bytes found = sym_export("dup");
    ASSERT_EQ(found.size(), 16u);
    ASSERT_TRUE(found[0] == 1 || found[0] == 2);
    EXPECT_EQ(KRY_SymKeyDestroy(ctx, "dup"), 0u);
    EXPECT_EQ(sym_count(), 2u);
    const Bytes rest = sym_export("dup");
    ASSERT_EQ(rest.size(), 16u);
    EXPECT_EQ(rest[0], found[0] == 1 ? 2 : 1);  // the one found first is gone
    EXPECT_EQ(KRY_SymKeyDestroy(ctx, "dup"), 0u);
    EXPECT_EQ(KRY_SymKeyDestroy(ctx, "dup"), KRY_R_ALIAS_NOT_FOUND);
    EXPECT_EQ(sym_aliases(), (std::vector<std::string>{"other"}));
}

// ---- key pairs: import and export ----------------------------------------------

TEST_F(ApiKeyStore, KeyPairExportNeedsAPasswordAndEmptyOneStillEnciphers) {
    const DlKey &k = dsa_key();
    ASSERT_EQ(import("dsa", KRY_KEYPAIR_DSA, encode_keypair({k.p, k.q, k.g, k.y, k.x}, "pw"), "pw"), 0u);
    Bytes out(2048);
    uint32_t len = static_cast<uint32_t>(out.size());
    EXPECT_EQ(KRY_KeyPairExport(ctx, "dsa", out.data(), 2048, &len, nullptr), KRY_R_INVALID_ARGUMENT);

    Bytes enc;
    ASSERT_EQ(export_pair("dsa", "", enc), 0u);
    ASSERT_GT(enc.size(), 5u);
    EXPECT_EQ(enc[0], 5);
    EXPECT_EQ(get32(&enc[1]) + 5, enc.size());  // an enciphered export reports L + 5
    EXPECT_EQ(get32(&enc[1]) % 16, 0u);
    auto comps = decode_keypair(enc, "");
    ASSERT_EQ(comps.size(), 5u);
    EXPECT_EQ(to_hex(comps[1]), to_hex(k.p));
    EXPECT_EQ(to_hex(comps[2]), to_hex(k.q));
    EXPECT_EQ(to_hex(comps[3]), to_hex(k.g));
    EXPECT_EQ(to_hex(comps[4]), to_hex(k.y));
    EXPECT_EQ(to_hex(comps[5]), to_hex(k.x));
    // The plain component list does not appear in the export.
    EXPECT_EQ(decode_keypair(enc, "x").size(), 0u);
    // It imports back under the empty password.
    ASSERT_EQ(import("again", KRY_KEYPAIR_DSA, enc, ""), 0u);
    sign_and_verify("again", 1, k.msg, KRY_R_BAD_SIGNATURE);
    sign_and_verify("dsa", 1, k.msg, KRY_R_BAD_SIGNATURE);
}

TEST_F(ApiKeyStore, KeyPairExportChecks) {
    const DlKey &k = dsa_key();
    ASSERT_EQ(import("dsa", KRY_KEYPAIR_DSA, encode_keypair({k.p, k.q, k.g, k.y, k.x}, "pw"), "pw"), 0u);
    Bytes out(2048);
    uint32_t len = 2048;
    EXPECT_EQ(KRY_KeyPairExport(ctx, nullptr, out.data(), 2048, &len, "pw"), KRY_R_INVALID_ARGUMENT);
    EXPECT_EQ(KRY_KeyPairExport(ctx, "dsa", nullptr, 2048, &len, "pw"), KRY_R_INVALID_ARGUMENT);
    EXPECT_EQ(KRY_KeyPairExport(ctx, "dsa", out.data(), 2048, nullptr, "pw"), KRY_R_INVALID_ARGUMENT);
    EXPECT_EQ(KRY_KeyPairExport(ctx, "nope", out.data(), 2048, &len, "pw"), KRY_R_SIGN_KEY_NOT_FOUND);
    // The in value of the length is the buffer size the export works with.
    len = 20;
    EXPECT_EQ(KRY_KeyPairExport(ctx, "dsa", out.data(), 2048, &len, "pw"), KRY_R_EXPORT);
    // A record of an unknown type cannot be exported.
    kry::api::KRY_KEYPAIR_ENTRY *e = kry::api::kry_find_keypair(ctx, "dsa");
    ASSERT_NE(e, nullptr);
    e->key->type = 7;
    e->key_type = 7;
    len = 2048;
    EXPECT_EQ(KRY_KeyPairExport(ctx, "dsa", out.data(), 2048, &len, "pw"), KRY_R_EXPORT);
    e->key->type = 3;
    e->key_type = 3;
}

TEST_F(ApiKeyStore, KeyPairImportChecks) {
    const DlKey &k = dsa_key();
    const Bytes enc = encode_keypair({k.p, k.q, k.g, k.y, k.x}, "right");
    const uint32_t n = static_cast<uint32_t>(enc.size());
    EXPECT_EQ(KRY_KeyPairImport(ctx, nullptr, 3, enc.data(), n, "right"), KRY_R_INVALID_ARGUMENT);
    EXPECT_EQ(KRY_KeyPairImport(ctx, "d", 3, nullptr, n, "right"), KRY_R_INVALID_ARGUMENT);
    EXPECT_EQ(KRY_KeyPairImport(ctx, "d", 3, enc.data(), n, nullptr), KRY_R_INVALID_ARGUMENT);
    // Wrong password.
    EXPECT_EQ(KRY_KeyPairImport(ctx, "d", 3, enc.data(), n, "wrong"), KRY_R_IMPORT);
    EXPECT_EQ(KRY_KeyPairImport(ctx, "d", 3, enc.data(), n, ""), KRY_R_IMPORT);
    // Unknown key types.
    for (uint32_t type : {0u, 1u, 5u, 0xFFFFFFFFu}) {
        EXPECT_EQ(KRY_KeyPairImport(ctx, "d", type, enc.data(), n, "right"), KRY_R_IMPORT) << type;
    }
    // An encoded length shorter than the header claims.
    EXPECT_EQ(KRY_KeyPairImport(ctx, "d", 3, enc.data(), n - 1, "right"), KRY_R_IMPORT);
    EXPECT_EQ(KRY_KeyPairImport(ctx, "d", 3, enc.data(), n - 16, "right"), KRY_R_IMPORT);
    EXPECT_EQ(KRY_KeyPairImport(ctx, "d", 3, enc.data(), 4, "right"), KRY_R_IMPORT);
    EXPECT_EQ(KRY_KeyPairImport(ctx, "d", 3, enc.data(), 0, "right"), KRY_R_IMPORT);
    EXPECT_EQ(pair_count(), 0u);
    // A longer buffer than needed is fine.
    Bytes longer = enc;
    longer.resize(enc.size() + 40, 0x5A);
    EXPECT_EQ(KRY_KeyPairImport(ctx, "d", 3, longer.data(), static_cast<uint32_t>(longer.size()), "right"), 0u);
    EXPECT_EQ(pair_count(), 1u);
}

TEST_F(ApiKeyStore, WrongPasswordIsRefusedForEveryType) {
    const DlKey &d = dsa_key(), &c = kcdsa_key();
    EXPECT_EQ(import("k", KRY_KEYPAIR_KCDSA, encode_keypair({c.p, c.q, c.g, c.y, c.x}, "secret"), "Secret"),
              KRY_R_IMPORT);
    EXPECT_EQ(import("k", KRY_KEYPAIR_DSA, encode_keypair({d.p, d.q, d.g, d.y, d.x}, "secret"), "secret "),
              KRY_R_IMPORT);
    EXPECT_EQ(import("k", KRY_KEYPAIR_RSA, rsa_encoded("secret"), "secreT"), KRY_R_IMPORT);
    EXPECT_EQ(pair_count(), 0u);
}

TEST_F(ApiKeyStore, KeyPairDestroyAndDuplicates) {
    const DlKey &d = dsa_key(), &c = kcdsa_key();
    ASSERT_EQ(import("dup", KRY_KEYPAIR_DSA, encode_keypair({d.p, d.q, d.g, d.y, d.x}, "p"), "p"), 0u);
    ASSERT_EQ(import("dup", KRY_KEYPAIR_KCDSA, encode_keypair({c.p, c.q, c.g, c.y, c.x}, "p"), "p"), 0u);
    EXPECT_EQ(pair_count(), 2u);
    char buf[8];
    uint32_t len = 0;
    ASSERT_EQ(KRY_GetKeyPairAlias(ctx, 0, buf, sizeof buf, &len), 0u);
    EXPECT_STREQ(buf, "dup");
    ASSERT_EQ(KRY_GetKeyPairAlias(ctx, 1, buf, sizeof buf, &len), 0u);
    EXPECT_STREQ(buf, "dup");
    EXPECT_EQ(KRY_GetKeyPairAlias(ctx, 2, buf, sizeof buf, &len), KRY_R_NO_ENTRY);
    kry::api::KRY_KEYPAIR_ENTRY *first = kry::api::kry_find_keypair(ctx, "dup");
    ASSERT_NE(first, nullptr);
    const uint32_t first_type = first->key_type;
    ASSERT_TRUE(first_type == 3 || first_type == 4);
    EXPECT_EQ(KRY_KeyPairDestory(ctx, "dup"), 0u);
    EXPECT_EQ(pair_count(), 1u);
    kry::api::KRY_KEYPAIR_ENTRY *rest = kry::api::kry_find_keypair(ctx, "dup");
    ASSERT_NE(rest, nullptr);
    EXPECT_EQ(rest->key_type, first_type == 3 ? 4u : 3u);
    EXPECT_EQ(KRY_KeyPairDestory(ctx, "dup"), 0u);
    EXPECT_EQ(KRY_KeyPairDestory(ctx, "dup"), KRY_R_ALIAS_NOT_FOUND);
    EXPECT_EQ(KRY_KeyPairDestory(ctx, nullptr), KRY_R_INVALID_ARGUMENT);
    EXPECT_EQ(pair_count(), 0u);
}

// ---- key pairs: creation ------------------------------------------------------------

TEST_F(ApiKeyStore, CreateArgumentChecksAndFailures) {
    EXPECT_EQ(KRY_RSACreate(ctx, nullptr, 1024, 1), KRY_R_INVALID_ARGUMENT);
    EXPECT_EQ(KRY_DSACreate(ctx, 0x05000100u, nullptr, 512), KRY_R_INVALID_ARGUMENT);
    EXPECT_EQ(KRY_KCDSACreate(ctx, nullptr, 1024, 160), KRY_R_INVALID_ARGUMENT);
    EXPECT_EQ(KRY_RSACreate(ctx, "r", 1024, 3), KRY_R_RSA_GENERATE);  // no such generation option
    EXPECT_EQ(KRY_RSACreate(ctx, "r", 0, 1), KRY_R_RSA_GENERATE);
    EXPECT_EQ(KRY_KCDSACreate(ctx, "k", 1000, 160), KRY_R_KCDSA_GENERATE);
    EXPECT_EQ(KRY_KCDSACreate(ctx, "k", 1024, 150), KRY_R_KCDSA_GENERATE);
    EXPECT_EQ(KRY_DSACreate(ctx, 0x09000100u, "d", 512), KRY_R_DSA_GENERATE);  // no such generator
    EXPECT_EQ(pair_count(), 0u);
}

TEST_F(ApiKeyStore, RsaCreateStoresAKeyOfTheRequestedLength) {
    ASSERT_EQ(KRY_RSACreate(ctx, "rsa", 1024, 1), 0u);
    EXPECT_EQ(pair_count(), 1u);
    kry::api::KRY_KEYPAIR_ENTRY *e = kry::api::kry_find_keypair(ctx, "rsa");
    ASSERT_NE(e, nullptr);
    EXPECT_EQ(e->key_type, 2u);
    EXPECT_EQ(e->key->type, 2u);
    EXPECT_EQ(e->key->length, 128u);
    char buf[8];
    uint32_t len = 0;
    ASSERT_EQ(KRY_GetKeyPairAlias(ctx, 0, buf, sizeof buf, &len), 0u);
    EXPECT_STREQ(buf, "rsa");
    EXPECT_EQ(len, 3u);
    // An empty alias is refused after generation, and nothing is stored.
    EXPECT_EQ(KRY_RSACreate(ctx, "", 512, 2), KRY_R_MALLOC);
    EXPECT_EQ(pair_count(), 1u);
}

// Create, export under a password, destroy, import, sign, verify, and a
// tampered signature is refused.
TEST_F(ApiKeyStore, RsaClientFlow) {
    ASSERT_EQ(KRY_RSACreate(ctx, "mykey", 1024, 2), 0u);
    Bytes enc;
    ASSERT_EQ(export_pair("mykey", "correct horse", enc), 0u);
    auto comps = decode_keypair(enc, "correct horse");
    ASSERT_EQ(comps.size(), 8u);
    oracle::rsa::Key hex{to_hex(comps[1]), to_hex(comps[2]), to_hex(comps[3]), to_hex(comps[4]),
                         to_hex(comps[5]), to_hex(comps[6]), to_hex(comps[7]), to_hex(comps[8])};
    EXPECT_EQ(comps[2], (Bytes{0x01, 0x00, 0x01}));
    EXPECT_EQ(comps[1].size(), 128u);
    EXPECT_TRUE(oracle::rsa::check_private_key(hex));
    ASSERT_EQ(KRY_KeyPairDestory(ctx, "mykey"), 0u);
    EXPECT_EQ(pair_count(), 0u);
    EXPECT_EQ(import("mykey", KRY_KEYPAIR_RSA, enc, "correct horsE"), KRY_R_IMPORT);
    ASSERT_EQ(import("mykey", KRY_KEYPAIR_RSA, enc, "correct horse"), 0u);
    EXPECT_EQ(kry::api::kry_find_keypair(ctx, "mykey")->key->length, 128u);
    const Bytes m = bytes_of("client flow message");
    sign_and_verify("mykey", 1, m, KRY_R_BAD_SIGNATURE);
    sign_and_verify("mykey", 5, m, KRY_R_BAD_SIGNATURE);
    // Its public half works with OpenSSL: an OAEP ciphertext from OpenSSL decrypts.
    const Bytes secret = bytes_of("for the key holder");
    const Bytes c = oracle::rsa::encrypt_oaep(hex, "SHA1", secret);
    uint8_t out[256];
    uint32_t len = 0;
    ASSERT_EQ(KRY_RSA_pri_decrypt(ctx, c.data(), static_cast<uint32_t>(c.size()), out, sizeof out, &len, "mykey", 3),
              0u);
    EXPECT_EQ(to_hex(out, len), to_hex(secret));
}

TEST_F(ApiKeyStore, ImportedOpenSslRsaKeyRoundTrips) {
    const Bytes enc = rsa_encoded("pw");
    ASSERT_EQ(import("rsa", KRY_KEYPAIR_RSA, enc, "pw"), 0u);
    Bytes out;
    ASSERT_EQ(export_pair("rsa", "pw", out), 0u);
    // Same components, same cipher, same password: the same bytes.
    EXPECT_EQ(to_hex(out), to_hex(enc));
}

// Without a password the toolkit export writes the plain component list and
// reports its length L, 5 less than the bytes written (count byte and L).
TEST_F(ApiKeyStore, PlainRsaExportReportsFiveLessThanWritten) {
    ASSERT_EQ(import("rsa", KRY_KEYPAIR_RSA, rsa_encoded("pw"), "pw"), 0u);
    kry::api::KRY_KEYPAIR_ENTRY *e = kry::api::kry_find_keypair(ctx, "rsa");
    ASSERT_NE(e, nullptr);
    Bytes buf(2048, 0xAA);
    uint32_t len = static_cast<uint32_t>(buf.size());
    ASSERT_EQ(export_RSA_KEY(e->key, buf.data(), &len, nullptr), 0u);
    const auto &h = rsa_hex();
    size_t list_length = 0;
    for (const std::string *v : {&h.n, &h.e, &h.d, &h.p, &h.q, &h.dP, &h.dQ, &h.qInv})
        list_length += 5 + hex_value(*v).size();
    EXPECT_EQ(len, list_length);
    EXPECT_EQ(buf[0], 8);
    EXPECT_EQ(get32(&buf[1]), len);
    EXPECT_EQ(buf[5], 1);  // first tag: n
    EXPECT_EQ(get32(&buf[6]), 128u);
    EXPECT_EQ(to_hex(&buf[10], 128), to_hex(hex_value(h.n)));
    EXPECT_NE(buf[5 + len - 1], 0xAA);
    for (size_t i = 5 + len; i < buf.size(); ++i)
        ASSERT_EQ(buf[i], 0xAA) << i;
    // The plain form imports back through the toolkit.
    KEY *key = new_KEY();
    ASSERT_NE(key, nullptr);
    ASSERT_EQ(import_RSA_KEY(key, buf.data(), nullptr), 0u);
    EXPECT_EQ(key->type, KRY_KEY_RSA);
    EXPECT_EQ(key->length, 128u);
    free_KEY(key);
}

TEST_F(ApiKeyStore, DsaClientFlowWithPublishedParameters) {
    const DlKey &k = dsa_key();
    ASSERT_EQ(import("dsa", KRY_KEYPAIR_DSA, encode_keypair({k.p, k.q, k.g, k.y, k.x}, "one"), "one"), 0u);
    EXPECT_EQ(kry::api::kry_find_keypair(ctx, "dsa")->key->length, 64u);
    Bytes enc;
    ASSERT_EQ(export_pair("dsa", "two", enc), 0u);
    ASSERT_EQ(KRY_KeyPairDestory(ctx, "dsa"), 0u);
    EXPECT_EQ(import("dsa", KRY_KEYPAIR_DSA, enc, "one"), KRY_R_IMPORT);
    ASSERT_EQ(import("dsa", KRY_KEYPAIR_DSA, enc, "two"), 0u);
    sign_and_verify("dsa", 1, k.msg, KRY_R_BAD_SIGNATURE);
    sign_and_verify("dsa", 5, bytes_of("another message"), KRY_R_BAD_SIGNATURE);
}

TEST_F(ApiKeyStore, KcdsaClientFlowWithPublishedParameters) {
    const DlKey &k = kcdsa_key();
    ASSERT_EQ(import("kcdsa", KRY_KEYPAIR_KCDSA, encode_keypair({k.p, k.q, k.g, k.y, k.x}, "one"), "one"), 0u);
    EXPECT_EQ(kry::api::kry_find_keypair(ctx, "kcdsa")->key->length, 128u);
    Bytes enc;
    ASSERT_EQ(export_pair("kcdsa", "two", enc), 0u);
    auto comps = decode_keypair(enc, "two");
    ASSERT_EQ(comps.size(), 5u);
    EXPECT_EQ(to_hex(comps[4]), to_hex(k.y));
    ASSERT_EQ(KRY_KeyPairDestory(ctx, "kcdsa"), 0u);
    ASSERT_EQ(import("kcdsa", KRY_KEYPAIR_KCDSA, enc, "two"), 0u);
    sign_and_verify("kcdsa", 5, k.msg, KRY_R_VERIFY);
}

TEST_F(ApiKeyStore, CountsFollowTheStores) {
    const uint8_t key[16] = {0};
    const DlKey &k = dsa_key();
    const Bytes enc = encode_keypair({k.p, k.q, k.g, k.y, k.x}, "p");
    for (int i = 0; i < 5; ++i) {
        const std::string a = "s" + std::to_string(i);
        ASSERT_EQ(KRY_SymKeyImport(ctx, a.c_str(), key, 16), 0u);
    }
    for (int i = 0; i < 3; ++i) {
        const std::string a = "p" + std::to_string(i);
        ASSERT_EQ(import(a.c_str(), KRY_KEYPAIR_DSA, enc, "p"), 0u);
    }
    EXPECT_EQ(sym_count(), 5u);
    EXPECT_EQ(pair_count(), 3u);
    EXPECT_EQ(KRY_SymKeyDestroy(ctx, "s3"), 0u);
    EXPECT_EQ(KRY_KeyPairDestory(ctx, "p0"), 0u);
    EXPECT_EQ(sym_count(), 4u);
    EXPECT_EQ(pair_count(), 2u);
    EXPECT_EQ(sym_aliases(), (std::vector<std::string>{"s0", "s1", "s2", "s4"}));
}

}  // namespace
