// The KEY record and the encoded key-pair format: exact byte layout of the
// component list, plain and enciphered (SEED-CBC under SHA-256 of the
// password) round trips for RSA, DSA and KCDSA, the buffer-size rule, wrong
// passwords, malformed tags, truncated and inconsistent encodings, and that
// imported keys sign and verify.
//
// Fixed keys: RSA key 1 of the PKCS #1 v1.5 signature examples (RFC 8017
// test vectors, pkcs1v15sign-vectors.txt), the DSA example of FIPS 186-2
// Appendix 5 and the (1024, 160) HAS-160 example of TTAK.KO-12.0001/R4.
#include <gtest/gtest.h>

#include <kry/bigint.h>
#include <kry/digest.h>
#include <kry/dsa.h>
#include <kry/error.h>
#include <kry/kcdsa.h>
#include <kry/key.h>
#include <kry/rsa.h>

#include "api/api_internal.h"
#include "pubkey/dsa_internal.h"
#include "pubkey/kcdsa_internal.h"

#include "oracle.h"
#include "oracle_pk_dsa.h"
#include "rsa_test_util.h"
#include "test_support.h"

#include <cctype>
#include <cstring>
#include <memory>
#include <string>
#include <vector>

using namespace kry_test;

namespace {

// ---- fixed key material ------------------------------------------------

Bytes minimal(Bytes b) {
    size_t i = 0;
    while (i < b.size() && b[i] == 0)
        ++i;
    return Bytes(b.begin() + static_cast<long>(i), b.end());
}

Bytes hex_value(const std::string &hex) { return minimal(from_hex(hex.size() % 2 ? "0" + hex : hex)); }

Bytes bytes_of_big(const BIGINT *b) {
    if (b == nullptr)
        return {};
    Bytes out(static_cast<size_t>((get_BIGINT_bits_length(b) + 7) / 8));
    if (!out.empty())
        BIGINT_to_binary_unsigned(b, out.data());
    return out;
}

BIGINT *big(const Bytes &b) { return binary_to_BIGINT(b.data(), static_cast<int32_t>(b.size()), nullptr); }

// Components of a key pair in tag order (tag i + 1 is values[i]).
struct KeyValues {
    uint32_t type;
    std::vector<Bytes> values;
};

struct SignatureExample {
    Bytes message, signature;
};

KeyValues rsa_values(SignatureExample *example = nullptr) {
    std::vector<oracle::rsa::Key> keys;
    std::vector<rsa_test::SignatureVector> vectors;
    rsa_test::read_pkcs1_sign_vectors(&keys, &vectors);
    EXPECT_FALSE(keys.empty());
    if (keys.empty())
        return {KRY_KEY_RSA, {}};
    const auto &k = keys[0];
    if (example != nullptr && !vectors.empty()) {
        example->message = vectors[0].message;
        example->signature = vectors[0].signature;
    }
    return {KRY_KEY_RSA,
            {hex_value(k.n), hex_value(k.e), hex_value(k.d), hex_value(k.p), hex_value(k.q), hex_value(k.dP),
             hex_value(k.dQ), hex_value(k.qInv)}};
}

VectorBlock first_block(const std::string &file) {
    for (const auto &b : read_vectors(file))
        if (b.count("P") != 0)
            return b;
    ADD_FAILURE() << "no example in " << file;
    return {};
}

KeyValues dl_values(uint32_t type) {
    const VectorBlock b = first_block(type == KRY_KEY_DSA ? "dsa.txt" : "kcdsa.txt");
    return {type, {hex_value(b.at("P")), hex_value(b.at("Q")), hex_value(b.at("G")), hex_value(b.at("Y")),
                   hex_value(b.at("X"))}};
}

KeyValues values_of(uint32_t type) { return type == KRY_KEY_RSA ? rsa_values() : dl_values(type); }

// The component list as the format lays it out, built independently.
Bytes component_list(const KeyValues &kv) {
    Bytes out;
    for (size_t i = 0; i < kv.values.size(); i++) {
        const Bytes &v = kv.values[i];
        out.push_back(static_cast<uint8_t>(i + 1));
        const auto n = static_cast<uint32_t>(v.size());
        out.push_back(static_cast<uint8_t>(n >> 24));
        out.push_back(static_cast<uint8_t>(n >> 16));
        out.push_back(static_cast<uint8_t>(n >> 8));
        out.push_back(static_cast<uint8_t>(n));
        out.insert(out.end(), v.begin(), v.end());
    }
    return out;
}

Bytes be32(uint32_t v) {
    return {static_cast<uint8_t>(v >> 24), static_cast<uint8_t>(v >> 16), static_cast<uint8_t>(v >> 8),
            static_cast<uint8_t>(v)};
}

Bytes encoding(uint8_t count, const Bytes &payload) {
    Bytes out{count};
    const Bytes l = be32(static_cast<uint32_t>(payload.size()));
    out.insert(out.end(), l.begin(), l.end());
    out.insert(out.end(), payload.begin(), payload.end());
    return out;
}

struct KeyDeleter {
    void operator()(KEY *k) const { free_KEY(k); }
};
using KeyPtr = std::unique_ptr<KEY, KeyDeleter>;

// A KEY holding the fixed values in a unit of its type.
KeyPtr make_key(const KeyValues &kv) {
    KeyPtr key(new_KEY());
    EXPECT_NE(key, nullptr);
    if (!key)
        return key;
    std::vector<BIGINT *> b;
    for (const Bytes &v : kv.values)
        b.push_back(big(v));
    if (kv.type == KRY_KEY_RSA) {
        RSA *rsa = new_RSA();
        EXPECT_EQ(set_RSA_params(rsa, b[0], b[1], b[2], b[3], b[4], b[5], b[6], b[7]), 0u);
        key->unit = rsa;
    } else if (kv.type == KRY_KEY_DSA) {
        DSA *dsa = new_DSA();
        EXPECT_EQ(set_DSA_params(dsa, b[0], b[1], b[2], b[3], b[4]), 0u);
        key->unit = dsa;
    } else {
        KCDSA *kcdsa = new_KCDSA();
        EXPECT_EQ(set_KCDSA_params(kcdsa, b[0], b[1], b[2], b[4], b[3]), 0u);
        key->unit = kcdsa;
    }
    for (BIGINT *x : b)
        free_BIGINT(x);
    key->type = kv.type;
    key->length = static_cast<uint32_t>(kv.values[0].size());
    return key;
}

using ExportFn = uint32_t (*)(KEY *, uint8_t *, uint32_t *, const char *);
using ImportFn = uint32_t (*)(KEY *, const uint8_t *, const char *);

ExportFn exporter(uint32_t type) {
    return type == KRY_KEY_RSA ? export_RSA_KEY : type == KRY_KEY_DSA ? export_DSA_KEY : export_KCDSA_KEY;
}
ImportFn importer(uint32_t type) {
    return type == KRY_KEY_RSA ? import_RSA_KEY : type == KRY_KEY_DSA ? import_DSA_KEY : import_KCDSA_KEY;
}
// Function number of export in the error words; import is one more.
uint32_t export_fn(uint32_t type) { return type == KRY_KEY_RSA ? 0x06 : type == KRY_KEY_DSA ? 0x0A : 0x0E; }
uint32_t export_word(uint32_t type, uint32_t reason) { return 0x12000000u | (export_fn(type) << 16) | reason; }
uint32_t import_word(uint32_t type, uint32_t reason) { return 0x12000000u | ((export_fn(type) + 1) << 16) | reason; }

constexpr uint8_t kFill = 0xA5;
constexpr size_t kOutSize = 4096;

// Exports into a kOutSize buffer filled with kFill; *status and *reported
// receive the result.
Bytes export_key(KEY *key, const char *password, uint32_t *status, uint32_t *reported,
                 uint32_t size = kOutSize) {
    Bytes out(kOutSize, kFill);
    uint32_t length = size;
    *status = exporter(key->type)(key, out.data(), &length, password);
    *reported = length;
    return out;
}

// Unit values in tag order.
std::vector<Bytes> unit_values(const KEY *key) {
    std::vector<Bytes> out;
    if (key->type == KRY_KEY_RSA) {
        const auto *r = static_cast<const RSA *>(key->unit);
        for (const BIGINT *b : {r->n, r->e, r->d, r->p, r->q, r->dP, r->dQ, r->qInv})
            out.push_back(bytes_of_big(b));
    } else if (key->type == KRY_KEY_DSA) {
        const auto *d = static_cast<const DSA *>(key->unit);
        for (const BIGINT *b : {d->p, d->q, d->g, d->y, d->x})
            out.push_back(bytes_of_big(b));
    } else {
        const auto *k = static_cast<const KCDSA *>(key->unit);
        for (const BIGINT *b : {k->p, k->q, k->g, k->y, k->x})
            out.push_back(bytes_of_big(b));
    }
    return out;
}

std::vector<bool> unit_present(const KEY *key) {
    std::vector<bool> out;
    if (key->type == KRY_KEY_DSA) {
        const auto *d = static_cast<const DSA *>(key->unit);
        for (const BIGINT *b : {d->p, d->q, d->g, d->y, d->x})
            out.push_back(b != nullptr);
    } else if (key->type == KRY_KEY_KCDSA) {
        const auto *k = static_cast<const KCDSA *>(key->unit);
        for (const BIGINT *b : {k->p, k->q, k->g, k->y, k->x})
            out.push_back(b != nullptr);
    } else {
        const auto *r = static_cast<const RSA *>(key->unit);
        for (const BIGINT *b : {r->n, r->e, r->d, r->p, r->q, r->dP, r->dQ, r->qInv})
            out.push_back(b != nullptr);
    }
    return out;
}

Bytes sha256_of(const std::string &text) {
    return oracle::openssl_digest("SHA256", reinterpret_cast<const uint8_t *>(text.data()), text.size());
}

const uint32_t kTypes[] = {KRY_KEY_RSA, KRY_KEY_DSA, KRY_KEY_KCDSA};

// RSASSA-PKCS1-v1_5 with SHA-1 through the unit.
Bytes rsa_sign(RSA *rsa, const Bytes &message, uint32_t *status) {
    Bytes sig(512, 0);
    uint32_t length = static_cast<uint32_t>(sig.size());
    *status = init_RSASSA(rsa, KRY_SHA1, KRY_RSA_EMSA_PKCS1_V15, 1);
    if (*status == 0)
        *status = update_RSASSA(rsa, message.data(), static_cast<uint32_t>(message.size()));
    if (*status == 0)
        *status = final_RSASSA(rsa, sig.data(), &length);
    sig.resize(*status == 0 ? length : 0);
    return sig;
}

uint32_t rsa_verify(RSA *rsa, const Bytes &message, Bytes signature) {
    uint32_t length = static_cast<uint32_t>(signature.size());
    uint32_t r = init_RSASSA(rsa, KRY_SHA1, KRY_RSA_EMSA_PKCS1_V15, 0);
    if (r == 0)
        r = update_RSASSA(rsa, message.data(), static_cast<uint32_t>(message.size()));
    if (r == 0)
        r = final_RSASSA(rsa, signature.data(), &length);
    return r;
}

// ---- proven mode (the state at process start) --------------------------

// Defined first: when the whole file runs in one process, this test still
// sees the toolkit as it was loaded.
TEST(KeyProvenMode, EncipheredRsaRoundTripAndSignature) {
    ASSERT_EQ(IsProven(), 1);
    SignatureExample ex;
    const KeyValues kv = rsa_values(&ex);
    KeyPtr key = make_key(kv);
    uint32_t status = 0, reported = 0;
    Bytes out = export_key(key.get(), "proven", &status, &reported);
    ASSERT_EQ(status, 0u);
    KeyPtr back(new_KEY());
    ASSERT_EQ(import_RSA_KEY(back.get(), out.data(), "proven"), 0u);
    EXPECT_EQ(unit_values(back.get()), kv.values);
    Bytes sig = rsa_sign(static_cast<RSA *>(back->unit), ex.message, &status);
    ASSERT_EQ(status, 0u);
    EXPECT_EQ(to_hex(sig), to_hex(ex.signature));
}

class Key : public ::testing::Test {
  protected:
    void SetUp() override { ChangeNonProvenMode(); }
};

// ---- the record --------------------------------------------------------

TEST_F(Key, NewKeyIsZeroed) {
    KEY *key = new_KEY();
    ASSERT_NE(key, nullptr);
    EXPECT_EQ(key->type, 0u);
    EXPECT_EQ(key->unit, nullptr);
    EXPECT_EQ(key->length, 0u);
    free_KEY(key);
}

TEST_F(Key, FreeKeyIgnoresNullAndFreesEveryType) {
    free_KEY(nullptr);
    for (uint32_t type : kTypes) {
        KeyPtr key = make_key(values_of(type));
        EXPECT_NE(key->unit, nullptr);
    }  // released through free_KEY; the sanitizer build checks for leaks
    KEY *odd = new_KEY();
    odd->type = 9;  // unknown type: only the record is released
    free_KEY(odd);
}

TEST_F(Key, CleanKeyZeroesTheRecord) {
    for (uint32_t type : kTypes) {
        KeyPtr key = make_key(values_of(type));
        clean_KEY(key.get());
        EXPECT_EQ(key->type, 0u);
        EXPECT_EQ(key->unit, nullptr);
        EXPECT_EQ(key->length, 0u);
    }
    clean_KEY(nullptr);
}

TEST_F(Key, DestroyNullWords) {
    EXPECT_EQ(destroy_RSA_KEY(nullptr), 0x12080003u);
    EXPECT_EQ(destroy_DSA_KEY(nullptr), 0x120C0003u);
    EXPECT_EQ(destroy_KCDSA_KEY(nullptr), 0x12100003u);
}

TEST_F(Key, DestroyReleasesTheUnit) {
    KeyPtr rsa = make_key(values_of(KRY_KEY_RSA));
    KeyPtr dsa = make_key(values_of(KRY_KEY_DSA));
    KeyPtr kcdsa = make_key(values_of(KRY_KEY_KCDSA));
    EXPECT_EQ(destroy_RSA_KEY(rsa.get()), 0u);
    EXPECT_EQ(destroy_DSA_KEY(dsa.get()), 0u);
    EXPECT_EQ(destroy_KCDSA_KEY(kcdsa.get()), 0u);
    EXPECT_EQ(rsa->unit, nullptr);
    EXPECT_EQ(dsa->unit, nullptr);
    EXPECT_EQ(kcdsa->unit, nullptr);
    // A second destroy of an empty record is harmless.
    EXPECT_EQ(destroy_RSA_KEY(rsa.get()), 0u);
}

// ---- export ------------------------------------------------------------

TEST_F(Key, PlainExportLayoutAndReportedLength) {
    for (uint32_t type : kTypes) {
        SCOPED_TRACE(type);
        const KeyValues kv = values_of(type);
        KeyPtr key = make_key(kv);
        const Bytes list = component_list(kv);
        uint32_t status = 1, reported = 0;
        const Bytes out = export_key(key.get(), nullptr, &status, &reported);
        ASSERT_EQ(status, 0u);
        // The reported length is the payload only: 5 less than written.
        EXPECT_EQ(reported, list.size());
        const Bytes expected = encoding(static_cast<uint8_t>(kv.values.size()), list);
        EXPECT_EQ(to_hex(Bytes(out.begin(), out.begin() + static_cast<long>(expected.size()))), to_hex(expected));
        EXPECT_EQ(out[expected.size()], kFill) << "wrote past header + list";
        EXPECT_EQ(out[0], kv.values.size());
    }
}

TEST_F(Key, RsaExampleListStartsWithModulusTag) {
    // Spot check of the first bytes against the published modulus of key 1.
    const KeyValues kv = values_of(KRY_KEY_RSA);
    KeyPtr key = make_key(kv);
    uint32_t status = 1, reported = 0;
    const Bytes out = export_key(key.get(), nullptr, &status, &reported);
    ASSERT_EQ(status, 0u);
    EXPECT_EQ(to_hex(Bytes(out.begin(), out.begin() + 14)), "08" + to_hex(be32(reported)) + "01000000" "80a56e4a0e");
    // e = 01 00 01 follows the 128 modulus bytes.
    EXPECT_EQ(to_hex(Bytes(out.begin() + 5 + 5 + 128, out.begin() + 5 + 5 + 128 + 8)), "0200000003010001");
}

TEST_F(Key, OnlyPresentComponentsAreWritten) {
    // A public RSA key: n and e only.
    const KeyValues full = values_of(KRY_KEY_RSA);
    KeyPtr key(new_KEY());
    RSA *rsa = new_RSA();
    BIGINT *n = big(full.values[0]), *e = big(full.values[1]);
    ASSERT_EQ(set_RSA_public_parmas(rsa, n, e), 0u);
    free_BIGINT(n);
    free_BIGINT(e);
    key->type = KRY_KEY_RSA;
    key->unit = rsa;
    uint32_t status = 1, reported = 0;
    const Bytes out = export_key(key.get(), nullptr, &status, &reported);
    ASSERT_EQ(status, 0u);
    const KeyValues pub{KRY_KEY_RSA, {full.values[0], full.values[1]}};
    const Bytes expected = encoding(2, component_list(pub));
    EXPECT_EQ(to_hex(Bytes(out.begin(), out.begin() + static_cast<long>(expected.size()))), to_hex(expected));

    // A DSA key without x: four components.
    KeyValues dv = values_of(KRY_KEY_DSA);
    KeyPtr dkey = make_key(dv);
    auto *dsa = static_cast<DSA *>(dkey->unit);
    free_BIGINT(dsa->x);
    dsa->x = nullptr;
    const Bytes dout = export_key(dkey.get(), nullptr, &status, &reported);
    ASSERT_EQ(status, 0u);
    dv.values.pop_back();
    const Bytes dexpected = encoding(4, component_list(dv));
    EXPECT_EQ(to_hex(Bytes(dout.begin(), dout.begin() + static_cast<long>(dexpected.size()))), to_hex(dexpected));
}

TEST_F(Key, ExportBufferMustHoldListPlus24) {
    for (uint32_t type : kTypes) {
        SCOPED_TRACE(type);
        const KeyValues kv = values_of(type);
        KeyPtr key = make_key(kv);
        const auto list = static_cast<uint32_t>(component_list(kv).size());
        for (const char *pw : {static_cast<const char *>(nullptr), "pw"}) {
            uint32_t status = 0, reported = 0;
            const Bytes out = export_key(key.get(), pw, &status, &reported, list + 23);
            EXPECT_EQ(status, export_word(type, 0x1000));
            EXPECT_EQ(reported, list + 23) << "length left as given";
            EXPECT_EQ(out[0], kFill) << "nothing written";
            export_key(key.get(), pw, &status, &reported, list + 24);
            EXPECT_EQ(status, 0u);
        }
        uint32_t status = 0, reported = 0;
        export_key(key.get(), nullptr, &status, &reported, 0);
        EXPECT_EQ(status, export_word(type, 0x1000));
    }
}

TEST_F(Key, ExportArgumentChecks) {
    KeyPtr key = make_key(values_of(KRY_KEY_DSA));
    uint8_t out[1024];
    uint32_t length = sizeof out;
    EXPECT_EQ(export_DSA_KEY(nullptr, out, &length, nullptr), 0x120A0003u);
    EXPECT_EQ(export_DSA_KEY(key.get(), nullptr, &length, nullptr), 0x120A0003u);
    EXPECT_EQ(export_DSA_KEY(key.get(), out, nullptr, nullptr), 0x120A0003u);
    // A key of another type is not read as this one.
    EXPECT_EQ(export_RSA_KEY(key.get(), out, &length, nullptr), 0x12060003u);
    EXPECT_EQ(export_KCDSA_KEY(key.get(), out, &length, nullptr), 0x120E0003u);
    KeyPtr empty(new_KEY());
    EXPECT_EQ(export_RSA_KEY(empty.get(), out, &length, nullptr), 0x12060003u);
}

TEST_F(Key, EncipheredPayloadIsSeedCbcOfTheListUnderSha256OfPassword) {
    for (uint32_t type : kTypes) {
        for (const std::string &pw : {std::string("correct horse"), std::string("")}) {
            SCOPED_TRACE(std::to_string(type) + " '" + pw + "'");
            const KeyValues kv = values_of(type);
            KeyPtr key = make_key(kv);
            const Bytes list = component_list(kv);
            uint32_t status = 1, reported = 0;
            const Bytes out = export_key(key.get(), pw.c_str(), &status, &reported);
            ASSERT_EQ(status, 0u);
            const uint32_t L = (static_cast<uint32_t>(list.size()) / 16 + 1) * 16;  // PKCS #7
            EXPECT_EQ(reported, L + 5) << "an enciphered export reports header + payload";
            EXPECT_EQ(out[0], kv.values.size());
            EXPECT_EQ(to_hex(Bytes(out.begin() + 1, out.begin() + 5)), to_hex(be32(L)));
            EXPECT_EQ(out[5 + L], kFill);

            const Bytes digest = sha256_of(pw);
            ASSERT_EQ(digest.size(), 32u);
            const Bytes k(digest.begin(), digest.begin() + 16), iv(digest.begin() + 16, digest.end());
            const Bytes payload(out.begin() + 5, out.begin() + 5 + L);
            Bytes plain;
            ASSERT_TRUE(oracle::openssl_cipher("SEED-CBC", k, iv, /*encrypt*/ false, /*padding*/ true, payload, plain));
            EXPECT_EQ(to_hex(plain), to_hex(list));
        }
    }
}

// ---- import ------------------------------------------------------------

TEST_F(Key, RoundTripPlainAndEnciphered) {
    for (uint32_t type : kTypes) {
        for (const char *pw : {static_cast<const char *>(nullptr), "secret", ""}) {
            SCOPED_TRACE(std::to_string(type) + (pw ? std::string(" pw '") + pw + "'" : " plain"));
            const KeyValues kv = values_of(type);
            KeyPtr key = make_key(kv);
            uint32_t status = 1, reported = 0;
            const Bytes out = export_key(key.get(), pw, &status, &reported);
            ASSERT_EQ(status, 0u);
            KeyPtr back(new_KEY());
            ASSERT_EQ(importer(type)(back.get(), out.data(), pw), 0u);
            EXPECT_EQ(back->type, type);
            ASSERT_NE(back->unit, nullptr);
            EXPECT_EQ(unit_values(back.get()), kv.values);
            EXPECT_EQ(back->length, kv.values[0].size());
        }
    }
}

TEST_F(Key, KeyLengthFromTheFirstComponent) {
    // RSA example key 1: 1024-bit modulus; DSA example: 512-bit p;
    // KCDSA example: 1024-bit p.
    const uint32_t expected[] = {128, 64, 128};
    for (int i = 0; i < 3; i++) {
        const uint32_t type = kTypes[i];
        KeyPtr key = make_key(values_of(type));
        uint32_t status = 1, reported = 0;
        const Bytes out = export_key(key.get(), "x", &status, &reported);
        ASSERT_EQ(status, 0u);
        KeyPtr back(new_KEY());
        ASSERT_EQ(importer(type)(back.get(), out.data(), "x"), 0u);
        EXPECT_EQ(back->length, expected[i]);
    }
}

TEST_F(Key, WrongPasswordIsRefusedAndKeyUnchanged) {
    for (uint32_t type : kTypes) {
        SCOPED_TRACE(type);
        KeyPtr key = make_key(values_of(type));
        uint32_t status = 1, reported = 0;
        const Bytes out = export_key(key.get(), "right", &status, &reported);
        ASSERT_EQ(status, 0u);
        KeyPtr back(new_KEY());
        EXPECT_EQ(importer(type)(back.get(), out.data(), "wrong"), import_word(type, 0x1100));
        EXPECT_EQ(back->type, 0u);
        EXPECT_EQ(back->unit, nullptr);
        EXPECT_EQ(back->length, 0u);
        // The enciphered form read without a password is parsed as a list:
        // it either loads whatever tags it meets or is refused as unreadable,
        // never reading past the payload (checked by the sanitizer build).
        const uint32_t plain_try = kry::import_key_bounded(type, back.get(), out.data(), reported, nullptr);
        EXPECT_TRUE(plain_try == 0 || plain_try == import_word(type, 0x1400)) << std::hex << plain_try;
    }
}

TEST_F(Key, EmptyPasswordIsNotNoPassword) {
    KeyPtr key = make_key(values_of(KRY_KEY_KCDSA));
    uint32_t status = 1, reported = 0;
    const Bytes out = export_key(key.get(), "", &status, &reported);
    ASSERT_EQ(status, 0u);
    KeyPtr back(new_KEY());
    EXPECT_EQ(import_KCDSA_KEY(back.get(), out.data(), "a"), 0x120F1100u);
    EXPECT_EQ(import_KCDSA_KEY(back.get(), out.data(), ""), 0u);
}

TEST_F(Key, ImportArgumentChecks) {
    const Bytes blob = encoding(0, {});
    EXPECT_EQ(import_RSA_KEY(nullptr, blob.data(), nullptr), 0x12070003u);
    KeyPtr key(new_KEY());
    EXPECT_EQ(import_RSA_KEY(key.get(), nullptr, nullptr), 0x12070003u);
    EXPECT_EQ(import_DSA_KEY(key.get(), nullptr, nullptr), 0x120B0003u);
    EXPECT_EQ(import_KCDSA_KEY(key.get(), nullptr, nullptr), 0x120F0003u);
    EXPECT_NE(kry::import_key_bounded(7, key.get(), blob.data(), blob.size(), nullptr), 0u);
    EXPECT_EQ(key->unit, nullptr);
}

TEST_F(Key, RsaKeyStateFromTheCount) {
    const KeyValues kv = values_of(KRY_KEY_RSA);
    {
        KeyPtr key(new_KEY());
        const Bytes blob = encoding(8, component_list(kv));
        ASSERT_EQ(import_RSA_KEY(key.get(), blob.data(), nullptr), 0u);
        EXPECT_EQ(static_cast<RSA *>(key->unit)->key_state, 31u);
    }
    {
        // n, e, d: not all eight, so only the public part is flagged and the
        // key cannot sign.
        KeyPtr key(new_KEY());
        const KeyValues three{KRY_KEY_RSA, {kv.values[0], kv.values[1], kv.values[2]}};
        const Bytes blob = encoding(3, component_list(three));
        ASSERT_EQ(import_RSA_KEY(key.get(), blob.data(), nullptr), 0u);
        auto *rsa = static_cast<RSA *>(key->unit);
        EXPECT_EQ(rsa->key_state, 3u);
        ASSERT_NE(rsa->d, nullptr);
        uint32_t status = 0;
        rsa_sign(rsa, bytes_of("m"), &status);
        EXPECT_EQ(status, 0x10050C00u);
    }
}

TEST_F(Key, ImportedRsaKeySignsThePublishedSignatureAndVerifies) {
    SignatureExample ex;
    const KeyValues kv = rsa_values(&ex);
    ASSERT_FALSE(ex.signature.empty());
    KeyPtr key(new_KEY());
    const Bytes blob = encoding(8, component_list(kv));
    ASSERT_EQ(import_RSA_KEY(key.get(), blob.data(), nullptr), 0u);
    uint32_t status = 1;
    const Bytes sig = rsa_sign(static_cast<RSA *>(key->unit), ex.message, &status);
    ASSERT_EQ(status, 0u);
    EXPECT_EQ(to_hex(sig), to_hex(ex.signature));

    // The public part alone verifies it.
    KeyPtr pub(new_KEY());
    const KeyValues two{KRY_KEY_RSA, {kv.values[0], kv.values[1]}};
    const Bytes pblob = encoding(2, component_list(two));
    ASSERT_EQ(import_RSA_KEY(pub.get(), pblob.data(), nullptr), 0u);
    EXPECT_EQ(pub->length, 128u);
    EXPECT_EQ(rsa_verify(static_cast<RSA *>(pub->unit), ex.message, ex.signature), 0u);
    Bytes bad = ex.signature;
    bad[10] ^= 1;
    EXPECT_NE(rsa_verify(static_cast<RSA *>(pub->unit), ex.message, bad), 0u);
}

TEST_F(Key, ImportedDsaKeyGivesTheAppendix5Signature) {
    const VectorBlock b = first_block("dsa.txt");
    const KeyValues kv = dl_values(KRY_KEY_DSA);
    KeyPtr key(new_KEY());
    const Bytes blob = encoding(5, component_list(kv));
    ASSERT_EQ(import_DSA_KEY(key.get(), blob.data(), nullptr), 0u);
    auto *dsa = static_cast<DSA *>(key->unit);
    const Bytes msg = from_hex(b.at("MSG"));

    ASSERT_EQ(init_DSA(dsa, KRY_SHA1, KRY_DSA_SIGN, nullptr, 0), 0u);
    ASSERT_EQ(update_DSA(dsa, msg.data(), static_cast<uint32_t>(msg.size())), 0u);
    BIGINT *k = big(from_hex(b.at("K")));
    uint8_t r[64] = {}, s[64] = {};
    uint32_t rl = 0, sl = 0;
    ASSERT_EQ(kry::dsa_sign_with_k(dsa, k, r, &rl, s, &sl), 0u);
    free_BIGINT(k);
    EXPECT_EQ(to_hex(r, rl), b.at("R"));
    EXPECT_EQ(to_hex(s, 20), b.at("S"));

    // The published signature verifies with the imported key, a changed one
    // does not.
    const Bytes R = from_hex(b.at("R")), S = from_hex(b.at("S"));
    for (int flip = 0; flip < 2; flip++) {
        Bytes m = msg;
        if (flip)
            m[0] ^= 1;
        ASSERT_EQ(init_DSA(dsa, KRY_SHA1, KRY_DSA_VERIFY, nullptr, 0), 0u);
        ASSERT_EQ(update_DSA(dsa, m.data(), static_cast<uint32_t>(m.size())), 0u);
        int match = -1;
        EXPECT_EQ(kry::dsa_verify_result(dsa, R.data(), 20, S.data(), 20, &match), 0u);
        EXPECT_EQ(match, flip ? 0 : 1);
    }

    // A fresh signature (k from the generator keyed with x) verifies with
    // OpenSSL.
    ASSERT_EQ(init_DSA(dsa, KRY_SHA1, KRY_DSA_SIGN, nullptr, 0), 0u);
    ASSERT_EQ(update_DSA(dsa, msg.data(), static_cast<uint32_t>(msg.size())), 0u);
    ASSERT_EQ(final_DSA(dsa, r, &rl, s, &sl), 0u);
    const Bytes digest = oracle::openssl_digest("SHA1", msg.data(), msg.size());
    const Bytes rr(r, r + rl), full(s, s + sl), cut(s, s + (sl > 0 ? sl - 1 : 0));
    const int ok = oracle::dsa::verify(kv.values[0], kv.values[1], kv.values[2], kv.values[3], digest, rr, full) +
                   oracle::dsa::verify(kv.values[0], kv.values[1], kv.values[2], kv.values[3], digest, rr, cut);
    EXPECT_EQ(ok, 1);
}

TEST_F(Key, ImportedKcdsaKeyGivesThePublishedSignature) {
    const VectorBlock b = first_block("kcdsa.txt");
    const KeyValues kv = dl_values(KRY_KEY_KCDSA);
    uint32_t status = 1, reported = 0;
    KeyPtr src = make_key(kv);
    const Bytes out = export_key(src.get(), "kcdsa", &status, &reported);
    ASSERT_EQ(status, 0u);
    KeyPtr key(new_KEY());
    ASSERT_EQ(import_KCDSA_KEY(key.get(), out.data(), "kcdsa"), 0u);
    auto *unit = static_cast<KCDSA *>(key->unit);
    const Bytes msg = from_hex(b.at("MSG"));

    ASSERT_EQ(init_KCDSA(unit, 1), 0u);
    ASSERT_EQ(update_KCDSA(unit, msg.data(), static_cast<uint32_t>(msg.size())), 0u);
    BIGINT *k = big(from_hex(b.at("K")));
    uint8_t r[64] = {}, s[64] = {};
    uint32_t rl = sizeof r, sl = sizeof s;
    ASSERT_EQ(kry::kcdsa_sign_with_k(unit, k, r, &rl, s, &sl), 0u);
    free_BIGINT(k);
    EXPECT_EQ(to_hex(r, rl), b.at("R"));
    EXPECT_EQ(to_hex(s, sl), b.at("S"));

    Bytes R = from_hex(b.at("R")), S = from_hex(b.at("S"));
    uint32_t Rl = 20, Sl = 20;
    ASSERT_EQ(init_KCDSA(unit, 0), 0u);
    ASSERT_EQ(update_KCDSA(unit, msg.data(), static_cast<uint32_t>(msg.size())), 0u);
    EXPECT_EQ(final_KCDSA(unit, R.data(), &Rl, S.data(), &Sl), 0u);
    R[3] ^= 1;
    Rl = Sl = 20;
    ASSERT_EQ(init_KCDSA(unit, 0), 0u);
    ASSERT_EQ(update_KCDSA(unit, msg.data(), static_cast<uint32_t>(msg.size())), 0u);
    EXPECT_EQ(final_KCDSA(unit, R.data(), &Rl, S.data(), &Sl), 0x0F050600u);
}

// ---- malformed input ---------------------------------------------------

TEST_F(Key, TagZeroUsesUpTheRestOfTheCount) {
    // count 5: p, q, then a component with tag 0.  The third entry reads tag
    // 0 and stays where it is, so entries four and five read the same tag 0:
    // the import succeeds with p and q only.
    const KeyValues kv = dl_values(KRY_KEY_DSA);
    Bytes list = component_list({KRY_KEY_DSA, {kv.values[0], kv.values[1]}});
    Bytes rest = component_list({KRY_KEY_DSA, {kv.values[0], kv.values[1], kv.values[2]}});
    rest.erase(rest.begin(), rest.begin() + static_cast<long>(list.size()));
    rest[0] = 0;  // the g component, retagged 0
    list.insert(list.end(), rest.begin(), rest.end());
    const Bytes blob = encoding(5, list);
    KeyPtr key(new_KEY());
    ASSERT_EQ(kry::import_key_bounded(KRY_KEY_DSA, key.get(), blob.data(), blob.size(), nullptr), 0u);
    EXPECT_EQ(key->type, KRY_KEY_DSA);
    EXPECT_EQ(unit_present(key.get()), (std::vector<bool>{true, true, false, false, false}));
    EXPECT_EQ(unit_values(key.get())[1], kv.values[1]);
    EXPECT_EQ(key->length, 64u);
}

TEST_F(Key, BadTagFirstLeavesEveryValueUnread) {
    // count 3, the first entry tagged 6 (above the last KCDSA tag): all three
    // entries read that same tag, nothing is loaded, and the key length
    // (no p) is 0.
    const KeyValues kv = dl_values(KRY_KEY_KCDSA);
    Bytes list = component_list({KRY_KEY_KCDSA, {kv.values[0], kv.values[1], kv.values[2]}});
    list[0] = 6;
    const Bytes blob = encoding(3, list);
    KeyPtr key(new_KEY());
    ASSERT_EQ(kry::import_key_bounded(KRY_KEY_KCDSA, key.get(), blob.data(), blob.size(), nullptr), 0u);
    EXPECT_EQ(key->type, KRY_KEY_KCDSA);
    EXPECT_EQ(unit_present(key.get()), (std::vector<bool>(5, false)));
    EXPECT_EQ(key->length, 0u);
}

TEST_F(Key, BadTagInTheMiddleOfAnRsaList) {
    // Tag 9 is above RSA's last tag 8.  count 8: n, e, then tag 9 -> the
    // six remaining entries read it again.  Count 8 still flags all parts.
    const KeyValues kv = values_of(KRY_KEY_RSA);
    Bytes list = component_list(kv);
    const size_t third = 5 + kv.values[0].size() + 5 + kv.values[1].size();
    list[third] = 9;
    const Bytes blob = encoding(8, list);
    KeyPtr key(new_KEY());
    ASSERT_EQ(import_RSA_KEY(key.get(), blob.data(), nullptr), 0u);
    EXPECT_EQ(unit_present(key.get()), (std::vector<bool>{true, true, false, false, false, false, false, false}));
    EXPECT_EQ(static_cast<RSA *>(key->unit)->key_state, 31u);
    // Signing cannot use the missing values; it fails without crashing.
    uint32_t status = 0;
    rsa_sign(static_cast<RSA *>(key->unit), bytes_of("m"), &status);
    EXPECT_NE(status, 0u);
}

TEST_F(Key, ValidTagsOutOfOrderAndRepeatedAreLoaded) {
    const KeyValues kv = dl_values(KRY_KEY_DSA);
    // q then p then q again (the last one wins).
    Bytes list;
    const Bytes one = component_list({KRY_KEY_DSA, {kv.values[0]}});
    Bytes q2 = component_list({KRY_KEY_DSA, {kv.values[1]}});
    q2[0] = 2;
    Bytes small{2, 0, 0, 0, 1, 0x07};
    list.insert(list.end(), small.begin(), small.end());
    list.insert(list.end(), one.begin(), one.end());
    list.insert(list.end(), q2.begin(), q2.end());
    const Bytes blob = encoding(3, list);
    KeyPtr key(new_KEY());
    ASSERT_EQ(import_DSA_KEY(key.get(), blob.data(), nullptr), 0u);
    EXPECT_EQ(unit_values(key.get())[0], kv.values[0]);
    EXPECT_EQ(unit_values(key.get())[1], kv.values[1]);
}

TEST_F(Key, CountBeyondTheListIsRefused) {
    for (uint32_t type : kTypes) {
        const KeyValues kv = values_of(type);
        const Bytes list = component_list(kv);
        const Bytes blob = encoding(static_cast<uint8_t>(kv.values.size() + 1), list);
        KeyPtr key(new_KEY());
        EXPECT_EQ(kry::import_key_bounded(type, key.get(), blob.data(), blob.size(), nullptr),
                  import_word(type, 0x1400));
        EXPECT_EQ(key->unit, nullptr);
        EXPECT_EQ(key->type, 0u);
    }
}

TEST_F(Key, EveryTruncationIsRefusedWithoutReadingPastIt) {
    for (uint32_t type : kTypes) {
        SCOPED_TRACE(type);
        const KeyValues kv = values_of(type);
        const Bytes blob = encoding(static_cast<uint8_t>(kv.values.size()), component_list(kv));
        KeyPtr key = make_key(kv);
        void *const unit = key->unit;
        const uint32_t length = key->length;
        for (size_t available = 0; available < blob.size(); available++) {
            // An exactly sized heap copy, so that the sanitizer build catches
            // any read past `available`.
            std::unique_ptr<uint8_t[]> copy(new uint8_t[available == 0 ? 1 : available]);
            if (available != 0)
                std::memcpy(copy.get(), blob.data(), available);
            ASSERT_EQ(kry::import_key_bounded(type, key.get(), copy.get(), available, nullptr),
                      import_word(type, 0x1400))
                << available;
            ASSERT_EQ(key->unit, unit);
            ASSERT_EQ(key->type, type);
            ASSERT_EQ(key->length, length);
        }
        std::unique_ptr<uint8_t[]> copy(new uint8_t[blob.size()]);
        std::memcpy(copy.get(), blob.data(), blob.size());
        EXPECT_EQ(kry::import_key_bounded(type, key.get(), copy.get(), blob.size(), nullptr), 0u);
    }
}

TEST_F(Key, ShortenedPayloadLengthIsRefused) {
    // The header claims fewer payload bytes than the list needs: every
    // component must end inside L.
    for (uint32_t type : kTypes) {
        SCOPED_TRACE(type);
        const KeyValues kv = values_of(type);
        const Bytes list = component_list(kv);
        for (size_t L = 0; L < list.size(); L++) {
            Bytes blob = encoding(static_cast<uint8_t>(kv.values.size()), Bytes(list.begin(), list.begin() + static_cast<long>(L)));
            KeyPtr key(new_KEY());
            std::unique_ptr<uint8_t[]> copy(new uint8_t[blob.size()]);
            std::memcpy(copy.get(), blob.data(), blob.size());
            ASSERT_EQ(kry::import_key_bounded(type, key.get(), copy.get(), blob.size(), nullptr),
                      import_word(type, 0x1400))
                << L;
            ASSERT_EQ(key->unit, nullptr);
        }
    }
}

TEST_F(Key, ComponentLengthPastThePayloadIsRefused) {
    const KeyValues kv = values_of(KRY_KEY_DSA);
    for (uint32_t bad : {0xFFFFFFFFu, 0x80000000u, 0x7FFFFFFFu, 65u}) {
        Bytes list = component_list(kv);
        // p is 64 bytes; claim more than the payload holds after its header.
        const Bytes b = be32(bad == 65u ? static_cast<uint32_t>(list.size()) : bad);
        std::copy(b.begin(), b.end(), list.begin() + 1);
        const Bytes blob = encoding(5, list);
        KeyPtr key(new_KEY());
        EXPECT_EQ(kry::import_key_bounded(KRY_KEY_DSA, key.get(), blob.data(), blob.size(), nullptr), 0x120B1400u);
        EXPECT_EQ(key->unit, nullptr);
    }
    // A header whose L exceeds what is available.
    Bytes blob = encoding(5, component_list(kv));
    const Bytes big_l = be32(0xFFFFFFF0u);
    std::copy(big_l.begin(), big_l.end(), blob.begin() + 1);
    KeyPtr key(new_KEY());
    EXPECT_EQ(kry::import_key_bounded(KRY_KEY_DSA, key.get(), blob.data(), blob.size(), nullptr), 0x120B1400u);
}

TEST_F(Key, EncipheredTruncationsAreRefused) {
    for (uint32_t type : kTypes) {
        SCOPED_TRACE(type);
        KeyPtr src = make_key(values_of(type));
        uint32_t status = 1, reported = 0;
        const Bytes out = export_key(src.get(), "pw", &status, &reported);
        ASSERT_EQ(status, 0u);
        const Bytes blob(out.begin(), out.begin() + reported);
        KeyPtr key(new_KEY());
        for (size_t available = 0; available < blob.size(); available++) {
            std::unique_ptr<uint8_t[]> copy(new uint8_t[available == 0 ? 1 : available]);
            if (available != 0)
                std::memcpy(copy.get(), blob.data(), available);
            ASSERT_EQ(kry::import_key_bounded(type, key.get(), copy.get(), available, "pw"), import_word(type, 0x1400))
                << available;
            ASSERT_EQ(key->unit, nullptr);
        }
        // A header L that is not a whole number of blocks, or cuts the last
        // block: the decipherment fails.
        const uint32_t L = reported - 5;
        for (uint32_t shorter : {L - 1, L - 16, 0u}) {
            Bytes b = blob;
            const Bytes l = be32(shorter);
            std::copy(l.begin(), l.end(), b.begin() + 1);
            EXPECT_EQ(kry::import_key_bounded(type, key.get(), b.data(), b.size(), "pw"), import_word(type, 0x1100))
                << shorter;
            ASSERT_EQ(key->unit, nullptr);
        }
        EXPECT_EQ(kry::import_key_bounded(type, key.get(), blob.data(), blob.size(), "pw"), 0u);
    }
}

TEST_F(Key, RandomCorruptionsNeverReadOutOfBounds) {
    TestRng rng(0x4B4559u);
    for (uint32_t type : kTypes) {
        const KeyValues kv = values_of(type);
        const Bytes blob = encoding(static_cast<uint8_t>(kv.values.size()), component_list(kv));
        for (int round = 0; round < 300; round++) {
            Bytes b = blob;
            const uint32_t flips = 1 + rng.below(4);
            for (uint32_t i = 0; i < flips; i++)
                b[rng.below(static_cast<uint32_t>(b.size() < 40 ? b.size() : 40))] ^=
                    static_cast<uint8_t>(1u << rng.below(8));
            const size_t available = rng.below(static_cast<uint32_t>(b.size()) + 1);
            std::unique_ptr<uint8_t[]> copy(new uint8_t[available == 0 ? 1 : available]);
            if (available != 0)
                std::memcpy(copy.get(), b.data(), available);
            KeyPtr key(new_KEY());
            const uint32_t r = kry::import_key_bounded(type, key.get(), copy.get(), available, nullptr);
            if (r != 0) {
                EXPECT_EQ(r, import_word(type, 0x1400));
                EXPECT_EQ(key->unit, nullptr);
            } else {
                EXPECT_EQ(key->type, type);
            }
        }
    }
}

// ---- replacing and failing ---------------------------------------------

TEST_F(Key, ImportReplacesTheUnitOfAnyType) {
    KeyPtr key = make_key(values_of(KRY_KEY_DSA));
    const KeyValues kv = values_of(KRY_KEY_RSA);
    const Bytes blob = encoding(8, component_list(kv));
    ASSERT_EQ(import_RSA_KEY(key.get(), blob.data(), nullptr), 0u);
    EXPECT_EQ(key->type, KRY_KEY_RSA);
    EXPECT_EQ(unit_values(key.get()), kv.values);
    EXPECT_EQ(key->length, 128u);
}

TEST_F(Key, FailedImportLeavesTheKeyAsItWas) {
    KeyPtr key = make_key(values_of(KRY_KEY_KCDSA));
    void *const unit = key->unit;
    const uint32_t length = key->length;
    uint32_t status = 1, reported = 0;
    KeyPtr other = make_key(values_of(KRY_KEY_DSA));
    const Bytes out = export_key(other.get(), "p1", &status, &reported);
    ASSERT_EQ(status, 0u);
    EXPECT_EQ(import_DSA_KEY(key.get(), out.data(), "p2"), 0x120B1100u);
    EXPECT_EQ(key->type, KRY_KEY_KCDSA);
    EXPECT_EQ(key->unit, unit);
    EXPECT_EQ(key->length, length);
    EXPECT_EQ(unit_values(key.get()), values_of(KRY_KEY_KCDSA).values);
}

// ---- creation ----------------------------------------------------------

TEST_F(Key, CreateRsa1024SignsAndRoundTrips) {
    KeyPtr key(new_KEY());
    ASSERT_EQ(create_RSA_KEY(key.get(), 1024, 1), 0u);
    EXPECT_EQ(key->type, KRY_KEY_RSA);
    EXPECT_EQ(key->length, 128u);
    auto *rsa = static_cast<RSA *>(key->unit);
    ASSERT_NE(rsa, nullptr);
    EXPECT_EQ(rsa->key_state, 31u);
    ASSERT_NE(rsa->e, nullptr);
    EXPECT_EQ(get_BIGINT_word(rsa->e), 65537u);
    const int32_t bits = get_BIGINT_bits_length(rsa->n);
    EXPECT_TRUE(bits == 1024 || bits == 1023) << bits;

    uint32_t status = 1, reported = 0;
    const Bytes out = export_key(key.get(), "gen", &status, &reported);
    ASSERT_EQ(status, 0u);
    KeyPtr back(new_KEY());
    ASSERT_EQ(import_RSA_KEY(back.get(), out.data(), "gen"), 0u);
    EXPECT_EQ(unit_values(back.get()), unit_values(key.get()));

    const Bytes msg = bytes_of("created key");
    const Bytes sig = rsa_sign(static_cast<RSA *>(back->unit), msg, &status);
    ASSERT_EQ(status, 0u);
    EXPECT_EQ(rsa_verify(rsa, msg, sig), 0u);
    // OpenSSL agrees.
    const auto v = unit_values(key.get());
    oracle::rsa::Key ok{to_hex(v[0]), to_hex(v[1]), to_hex(v[2]), to_hex(v[3]), to_hex(v[4]),
                        to_hex(v[5]), to_hex(v[6]), to_hex(v[7])};
    for (auto *s : {&ok.n, &ok.e, &ok.d, &ok.p, &ok.q, &ok.dP, &ok.dQ, &ok.qInv})
        for (auto &c : *s)
            c = static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
    EXPECT_TRUE(oracle::rsa::verify_pkcs1(ok, "SHA1", msg, sig));
    EXPECT_TRUE(oracle::rsa::check_private_key(ok));
}

TEST_F(Key, CreateReplacesAnExistingUnit) {
    KeyPtr key = make_key(values_of(KRY_KEY_KCDSA));
    ASSERT_EQ(create_RSA_KEY(key.get(), 512, 2), 0u);
    EXPECT_EQ(key->type, KRY_KEY_RSA);
    EXPECT_EQ(key->length, 64u);
}

TEST_F(Key, CreateFailures) {
    EXPECT_EQ(create_RSA_KEY(nullptr, 1024, 1), 0x12050003u);
    EXPECT_EQ(create_DSA_KEY(nullptr, KRY_SHA1, 512, nullptr), 0x12090003u);
    EXPECT_EQ(create_KCDSA_KEY(nullptr, 1024, 160), 0x120D0003u);
    KeyPtr key = make_key(values_of(KRY_KEY_DSA));
    void *const unit = key->unit;
    // Sizes the generators refuse.
    EXPECT_EQ(create_RSA_KEY(key.get(), 4, 1), 0x12051200u);
    EXPECT_EQ(create_RSA_KEY(key.get(), 1024, 3), 0x12051200u);
    EXPECT_EQ(create_KCDSA_KEY(key.get(), 1000, 160), 0x120D1200u);
    EXPECT_EQ(create_KCDSA_KEY(key.get(), 1024, 100), 0x120D1200u);
    // A failed creation leaves the record as it was.
    EXPECT_EQ(key->type, KRY_KEY_DSA);
    EXPECT_EQ(key->unit, unit);
}

TEST_F(Key, CreateDsaFromTheAppendix5Seed) {
    // FIPS 186-2 Appendix 5: the 512-bit search from its SEED finds the
    // published p and q (counter 105).
    const VectorBlock b = first_block("dsa.txt");
    const Bytes seed = from_hex(b.at("SEED"));
    KeyPtr key(new_KEY());
    ASSERT_EQ(create_DSA_KEY(key.get(), KRY_SHA1, 512, seed.data()), 0u);
    EXPECT_EQ(key->type, KRY_KEY_DSA);
    EXPECT_EQ(key->length, 64u);
    const auto v = unit_values(key.get());
    EXPECT_EQ(to_hex(v[0]), b.at("P"));
    EXPECT_EQ(to_hex(v[1]), b.at("Q"));
    // The private key is redrawn until it has 20 bytes, so the key signs.
    EXPECT_EQ(v[4].size(), 20u);
    auto *dsa = static_cast<DSA *>(key->unit);
    const Bytes msg = bytes_of("abc");
    ASSERT_EQ(init_DSA(dsa, KRY_SHA1, KRY_DSA_SIGN, nullptr, 0), 0u);
    ASSERT_EQ(update_DSA(dsa, msg.data(), 3), 0u);
    uint8_t r[64], s[64];
    uint32_t rl = 0, sl = 0;
    ASSERT_EQ(final_DSA(dsa, r, &rl, s, &sl), 0u);
    const Bytes digest = oracle::openssl_digest("SHA1", msg.data(), msg.size());
    const Bytes rr(r, r + rl), full(s, s + sl), cut(s, s + sl - 1);
    EXPECT_EQ(oracle::dsa::verify(v[0], v[1], v[2], v[3], digest, rr, full) +
                  oracle::dsa::verify(v[0], v[1], v[2], v[3], digest, rr, cut),
              1);
}

}  // namespace
