// KRY_SelfTests outside proven mode, and each of its checks run on its own
// on a self-test context: the checks pass with the built-in tables, and a
// corrupted table or a failing call gives the check's number.
//
// The tables are checked against the published vectors under tests/vectors
// (FIPS 180-2, RFC 1321, TTAS.KO-12.0011/R2, NIST SP 800-67 and CAVP TDES,
// RFC 4269, RFC 4196, RFC 5794, the KISA ARIA vectors, RFC 2104) and against
// OpenSSL (and RHash for HAS-160).
#include <gtest/gtest.h>

#include <kry/api.h>
#include <kry/error.h>

#include "api/api_internal.h"
#include "api/selftest_internal.h"
#include "oracle.h"
#include "test_support.h"

#include <algorithm>
#include <cstring>
#include <fstream>
#include <set>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

using namespace kry_test;
namespace st = kry::selftest;

namespace {

const int kVerbose = 1;

// Every test of this file runs outside proven mode, in both layers.
void leave_proven() {
    KRY_Initialize();
    ChangeNonProvenMode();
    KRY_ChangeNonProvenMode();
}

std::string lines(const char *name) {
    return std::string(name) + " CHECK 0\n" + name + " CHECK 1\n";
}

// A self-test context with its objects, released at the end of the scope.
struct OpenSession {
    st::Session s{};
    explicit OpenSession(const void *verbose = nullptr) {
        s.verbose = verbose;
        uint32_t r = 99;
        const std::string out = capture_stdout([&] { r = st::step_context(s); });
        EXPECT_EQ(r, KRY_R_OK);
        EXPECT_EQ(out, verbose ? lines("CONTEXT") : "");
    }
    ~OpenSession() { st::release(s); }
};

Bytes bytes(const uint8_t *p, size_t n) { return p == nullptr ? Bytes{} : Bytes(p, p + n); }

const std::string kPrefixToHmac =
    "FLAGS CHECK 0\nFLAGS CHECK 1\nCONTEXT CHECK 0\nCONTEXT CHECK 1\nVERSION CHECK 0\nVERSION CHECK 1\n"
    "PRNG CHECK 0\nPRNG CHECK 1\nHMAC CHECK 0\n";

}  // namespace

// ---- the whole self-test ---------------------------------------------------

TEST(SelfTest, OutsideProvenModeStopsAtTheSha1HmacComparison) {
    leave_proven();
    uint32_t r = 0;
    const std::string out = capture_stdout([&] { r = KRY_SelfTests(&kVerbose); });
    EXPECT_EQ(r, KRY_R_SELFTEST_KAT);
    EXPECT_EQ(out, kPrefixToHmac);
    EXPECT_EQ(kry::api::selftest_lock(), 0u);
}

TEST(SelfTest, RunsAgainAndLeavesClientContextsAlone) {
    leave_proven();
    KRY_Context *ctx = nullptr;
    ASSERT_EQ(KRY_Context_new(&ctx), KRY_R_OK);
    ASSERT_EQ(KRY_SymKeyCreate(ctx, "mine", 16), KRY_R_OK);
    for (int i = 0; i < 3; ++i) {
        uint32_t r = 0;
        EXPECT_EQ(capture_stdout([&] { r = KRY_SelfTests(nullptr); }), "");
        EXPECT_EQ(r, KRY_R_SELFTEST_KAT);
        EXPECT_EQ(kry::api::selftest_lock(), 0u);
    }
    uint32_t count = 99;
    EXPECT_EQ(KRY_NumSymKey(ctx, &count), KRY_R_OK);
    EXPECT_EQ(count, 1u);
    KRY_Context *other = nullptr;
    EXPECT_EQ(KRY_Context_new(&other), KRY_R_OK);
    EXPECT_EQ(KRY_Context_free(other), KRY_R_OK);
    EXPECT_EQ(KRY_Context_free(ctx), KRY_R_OK);
}

// ---- FLAGS, CONTEXT, VERSION, PRNG -------------------------------------------

TEST(SelfTestSteps, FlagsSetsTheLockOnceInitialised) {
    leave_proven();
    st::Session s{};
    s.verbose = &kVerbose;
    uint32_t r = 99;
    EXPECT_EQ(capture_stdout([&] { r = st::step_flags(s); }), lines("FLAGS"));
    EXPECT_EQ(r, KRY_R_OK);
    EXPECT_EQ(kry::api::selftest_lock(), 1u);
    KRY_Context *ctx = nullptr;
    EXPECT_EQ(KRY_Context_new(&ctx), KRY_R_SELFTEST_RUNNING);
    EXPECT_EQ(ctx, nullptr);
    kry::api::set_selftest_lock(0);
    EXPECT_EQ(KRY_Context_new(&ctx), KRY_R_OK);
    EXPECT_EQ(KRY_Context_free(ctx), KRY_R_OK);
}

TEST(SelfTestSteps, ContextMakesTheSelfTestContextAndItsObjects) {
    leave_proven();
    st::Session s{};
    s.verbose = &kVerbose;
    uint32_t r = 99;
    EXPECT_EQ(capture_stdout([&] { r = st::step_context(s); }), lines("CONTEXT"));
    ASSERT_EQ(r, KRY_R_OK);
    ASSERT_NE(s.ctx, nullptr);
    EXPECT_EQ(s.ctx->selftest, 1u);
    EXPECT_EQ(s.ctx->valid, 1u);
    EXPECT_NE(s.hmac, nullptr);
    EXPECT_NE(s.md, nullptr);
    EXPECT_NE(s.cipher, nullptr);
    EXPECT_NE(s.sv, nullptr);
    st::release(s);
    EXPECT_EQ(s.ctx, nullptr);
    EXPECT_EQ(s.hmac, nullptr);
    EXPECT_EQ(s.md, nullptr);
    EXPECT_EQ(s.cipher, nullptr);
    EXPECT_EQ(s.sv, nullptr);
    st::release(s);  // nothing left: a second release does nothing
}

TEST(SelfTestSteps, VersionPassesAndFails) {
    leave_proven();
    OpenSession o(&kVerbose);
    uint32_t r = 99;
    EXPECT_EQ(capture_stdout([&] { r = st::step_version(o.s, "KRY 5.0.0"); }), lines("VERSION"));
    EXPECT_EQ(r, KRY_R_OK);
    EXPECT_EQ(capture_stdout([&] { r = st::step_version(o.s, "KRY 5.0.1"); }), "VERSION CHECK 0\n");
    EXPECT_EQ(r, KRY_R_SELFTEST_KAT);
    o.s.verbose = nullptr;
    EXPECT_EQ(st::step_version(o.s, "KRY 5.0.0 "), KRY_R_SELFTEST_KAT);
    KRY_Context *ctx = o.s.ctx;
    o.s.ctx = nullptr;
    EXPECT_EQ(st::step_version(o.s, "KRY 5.0.0"), KRY_R_INVALID_CONTEXT);
    o.s.ctx = ctx;
}

TEST(SelfTestSteps, PrngPassesAndReportsTheCallsNumber) {
    leave_proven();
    OpenSession o(&kVerbose);
    uint32_t r = 99;
    EXPECT_EQ(capture_stdout([&] { r = st::step_prng(o.s); }), lines("PRNG"));
    EXPECT_EQ(r, KRY_R_OK);
    KRY_Context *ctx = o.s.ctx;
    o.s.ctx = nullptr;
    EXPECT_EQ(capture_stdout([&] { r = st::step_prng(o.s); }), "PRNG CHECK 0\n");
    EXPECT_EQ(r, KRY_R_INVALID_CONTEXT);
    o.s.ctx = ctx;
}

// ---- HMAC ------------------------------------------------------------------

// The expected MACs are HMAC-MD5 values (RFC 2104 sample and the empty-key
// vector); OpenSSL computes the same.
TEST(SelfTestTables, HmacMacsAreHmacMd5) {
    for (size_t i = 0; i < st::kHmacVectorCount; ++i) {
        const st::HmacVector &v = st::kHmacVectors[i];
        const Bytes mac = oracle::openssl_hmac("MD5", bytes(v.key, v.key_length), bytes(v.message, v.message_length));
        EXPECT_EQ(to_hex(mac), to_hex(v.mac, 16)) << i;
    }
    EXPECT_EQ(to_hex(st::kHmacVectors[1].mac, 16), "9294727a3638bb1c13f48ef8158bfc9d");  // RFC 2104
    EXPECT_EQ(std::string(reinterpret_cast<const char *>(st::kHmacVectors[0].message), 54),
              "More text test vectors to stuff up EBCDIC machines :-)");
    EXPECT_EQ(st::kHmacVectors[0].key_length, 0u);
    EXPECT_EQ(st::kHmacDigests[0], 1u);
    EXPECT_EQ(st::kHmacDigests[1], 2u);
    EXPECT_EQ(st::kHmacDigests[2], 6u);
    EXPECT_EQ(st::kHmacDeclaredSize, 20u);
}

// The longer comparisons run past the 16-byte MAC into the bytes that follow
// it in the table; past the table's end the window holds zeros.
TEST(SelfTestTables, HmacWindowStaysInsideTheTable) {
    uint8_t window[64];
    st::hmac_expected_window(st::kHmacVectors, st::kHmacVectorCount, 0, window);
    EXPECT_EQ(to_hex(window, 16), to_hex(st::kHmacVectors[0].mac, 16));
    EXPECT_EQ(to_hex(window + 16, 16), to_hex(st::kHmacVectors[1].key, 16));
    EXPECT_EQ(to_hex(window + 32, 4), "10000000");  // key length 16, as stored
    EXPECT_EQ(to_hex(window + 36, 8), "4869205468657265");  // "Hi There"

    st::hmac_expected_window(st::kHmacVectors, st::kHmacVectorCount, 1, window);
    EXPECT_EQ(to_hex(window, 16), to_hex(st::kHmacVectors[1].mac, 16));
    EXPECT_EQ(to_hex(window + 16, 48), std::string(96, '0'));

    std::memset(window, 0xAA, sizeof window);
    st::hmac_expected_window(st::kHmacVectors, st::kHmacVectorCount, 2, window);
    EXPECT_EQ(to_hex(window, 64), std::string(128, '0'));
}

TEST(SelfTestSteps, HmacOutsideProvenModeFailsAtTheSha1Comparison) {
    leave_proven();
    OpenSession o(&kVerbose);
    uint32_t r = 99;
    EXPECT_EQ(capture_stdout([&] { r = st::step_hmac(o.s, st::kHmacVectors, st::kHmacVectorCount); }),
              "HMAC CHECK 0\n");
    EXPECT_EQ(r, KRY_R_SELFTEST_KAT);

    // The MD5 run matches, the SHA-1 run's 20 bytes do not.
    const st::HmacVector &v = st::kHmacVectors[0];
    uint8_t window[64];
    st::hmac_expected_window(st::kHmacVectors, st::kHmacVectorCount, 0, window);
    uint8_t mac[64] = {0};
    uint32_t length = 0;
    ASSERT_EQ(KRY_HMACInit(o.s.ctx, o.s.hmac, v.key, v.key_length, KRY_MD_MD5), KRY_R_OK);
    ASSERT_EQ(KRY_HMACUpdate(o.s.ctx, o.s.hmac, v.message, v.message_length), KRY_R_OK);
    ASSERT_EQ(KRY_HMACFinal(o.s.ctx, o.s.hmac, mac, 20, &length), KRY_R_OK);
    EXPECT_EQ(length, 16u);
    EXPECT_EQ(to_hex(mac, 16), to_hex(window, 16));
    ASSERT_EQ(KRY_HMACInit(o.s.ctx, o.s.hmac, v.key, v.key_length, KRY_MD_SHA1), KRY_R_OK);
    ASSERT_EQ(KRY_HMACUpdate(o.s.ctx, o.s.hmac, v.message, v.message_length), KRY_R_OK);
    ASSERT_EQ(KRY_HMACFinal(o.s.ctx, o.s.hmac, mac, 20, &length), KRY_R_OK);
    EXPECT_EQ(length, 20u);
    EXPECT_NE(to_hex(mac, 20), to_hex(window, 20));
    // And the SHA-512 run could not pass the declared size of 20 bytes.
    ASSERT_EQ(KRY_HMACInit(o.s.ctx, o.s.hmac, v.key, v.key_length, KRY_MD_SHA512), KRY_R_OK);
    ASSERT_EQ(KRY_HMACUpdate(o.s.ctx, o.s.hmac, v.message, v.message_length), KRY_R_OK);
    EXPECT_EQ(KRY_HMACFinal(o.s.ctx, o.s.hmac, mac, 20, &length), KRY_R_BUFFER_TOO_SMALL);
}

TEST(SelfTestSteps, HmacCorruptedMd5MacGives46) {
    leave_proven();
    OpenSession o;
    st::HmacVector table[1] = {st::kHmacVectors[1]};
    EXPECT_EQ(st::step_hmac(o.s, table, 1), KRY_R_SELFTEST_KAT);
    table[0].mac[3] ^= 1;
    EXPECT_EQ(st::step_hmac(o.s, table, 1), KRY_R_SELFTEST_KAT);
    table[0].key_length = 17;  // beyond the entry's key array: refused, nothing read
    EXPECT_EQ(st::step_hmac(o.s, table, 1), KRY_R_SELFTEST_KAT);
}

TEST(SelfTestSteps, HmacFailingCallGivesItsNumber) {
    leave_proven();
    OpenSession o;
    KRY_HMAC *hmac = o.s.hmac;
    o.s.hmac = nullptr;
    EXPECT_EQ(st::step_hmac(o.s, st::kHmacVectors, st::kHmacVectorCount), KRY_R_INVALID_ARGUMENT);
    o.s.hmac = hmac;
    EXPECT_EQ(st::step_hmac(o.s, st::kHmacVectors, 0), KRY_R_OK);  // an empty table has nothing to fail
}

// ---- MD ----------------------------------------------------------------------

namespace {

// Finds the digest entry in the published vector files.
bool digest_is_published(const st::DigestVector &v) {
    static const std::pair<uint32_t, const char *> kAlg[] = {
        {KRY_MD_SHA1, "SHA-1"}, {KRY_MD_SHA224, "SHA-224"}, {KRY_MD_SHA256, "SHA-256"},
        {KRY_MD_SHA384, "SHA-384"}, {KRY_MD_SHA512, "SHA-512"}};
    const std::string msg = to_hex(v.message, v.message_length);
    const std::string md = to_hex(v.expected, v.expected_length);
    std::string file, alg;
    if (v.digest == KRY_MD_MD5) file = "md5.txt";
    else if (v.digest == KRY_MD_HAS160) file = "has160.txt";
    else {
        file = "sha.txt";
        for (const auto &a : kAlg)
            if (a.first == v.digest) alg = a.second;
    }
    for (const VectorBlock &b : read_vectors(file)) {
        if (!alg.empty() && (b.count("ALG") == 0 || b.at("ALG") != alg)) continue;
        if (b.count("REPEAT") != 0) continue;
        if (b.count("MSG") && b.count("MD") && b.at("MSG") == msg && b.at("MD") == md) return true;
    }
    return false;
}

Bytes oracle_digest(const st::DigestVector &v) {
    switch (v.digest) {
    case KRY_MD_MD5: return oracle::openssl_digest("MD5", v.message, v.message_length);
    case KRY_MD_SHA1: return oracle::openssl_digest("SHA1", v.message, v.message_length);
    case KRY_MD_SHA224: return oracle::openssl_digest("SHA224", v.message, v.message_length);
    case KRY_MD_SHA256: return oracle::openssl_digest("SHA256", v.message, v.message_length);
    case KRY_MD_SHA384: return oracle::openssl_digest("SHA384", v.message, v.message_length);
    case KRY_MD_SHA512: return oracle::openssl_digest("SHA512", v.message, v.message_length);
    case KRY_MD_HAS160: return oracle::rhash_has160(v.message, v.message_length);
    default: return {};
    }
}

}  // namespace

TEST(SelfTestTables, DigestTableCoversEveryDigestNumberWithPublishedVectors) {
    std::set<uint32_t> numbers;
    for (size_t i = 0; i < st::kDigestVectorCount; ++i) {
        const st::DigestVector &v = st::kDigestVectors[i];
        numbers.insert(v.digest);
        EXPECT_TRUE(digest_is_published(v)) << "entry " << i;
        EXPECT_EQ(to_hex(oracle_digest(v)), to_hex(v.expected, v.expected_length)) << "entry " << i;
    }
    EXPECT_EQ(numbers, (std::set<uint32_t>{1, 2, 3, 4, 5, 6, 7}));
}

TEST(SelfTestSteps, MdPasses) {
    leave_proven();
    OpenSession o(&kVerbose);
    uint32_t r = 99;
    EXPECT_EQ(capture_stdout([&] { r = st::step_md(o.s, st::kDigestVectors, st::kDigestVectorCount); }),
              lines("MD"));
    EXPECT_EQ(r, KRY_R_OK);
}

TEST(SelfTestSteps, MdCorruptedEntryGives46) {
    leave_proven();
    OpenSession o(&kVerbose);
    std::vector<st::DigestVector> table(st::kDigestVectors, st::kDigestVectors + st::kDigestVectorCount);
    for (size_t i = 0; i < table.size(); ++i) {
        std::vector<st::DigestVector> bad = table;
        Bytes expected(bad[i].expected, bad[i].expected + bad[i].expected_length);
        expected.back() ^= 0x80;
        bad[i].expected = expected.data();
        uint32_t r = 99;
        EXPECT_EQ(capture_stdout([&] { r = st::step_md(o.s, bad.data(), bad.size()); }), "MD CHECK 0\n");
        EXPECT_EQ(r, KRY_R_SELFTEST_KAT) << i;
    }
    // An expected digest of the wrong length does not match either.
    std::vector<st::DigestVector> bad = table;
    bad[1].expected_length = 16;
    o.s.verbose = nullptr;
    EXPECT_EQ(st::step_md(o.s, bad.data(), bad.size()), KRY_R_SELFTEST_KAT);
}

TEST(SelfTestSteps, MdFailingCallGivesItsNumber) {
    leave_proven();
    OpenSession o;
    std::vector<st::DigestVector> bad(st::kDigestVectors, st::kDigestVectors + st::kDigestVectorCount);
    bad[2].digest = 8;
    EXPECT_EQ(st::step_md(o.s, bad.data(), bad.size()), KRY_R_UNKNOWN_DIGEST);
    bad[2].digest = KRY_MD_SHA224;
    bad[2].message = nullptr;
    EXPECT_EQ(st::step_md(o.s, bad.data(), bad.size()), KRY_R_INVALID_ARGUMENT);
}

// ---- SYMKEY ------------------------------------------------------------------

TEST(SelfTestSteps, SymkeyPassesAndLeavesThreeKeys) {
    leave_proven();
    OpenSession o(&kVerbose);
    uint32_t r = 99;
    EXPECT_EQ(capture_stdout([&] { r = st::step_symkey(o.s); }), lines("SYMKEY"));
    ASSERT_EQ(r, KRY_R_OK);
    uint32_t count = 0;
    EXPECT_EQ(KRY_NumSymKey(o.s.ctx, &count), KRY_R_OK);
    EXPECT_EQ(count, 3u);
    uint8_t key[32];
    uint32_t length = 0;
    EXPECT_EQ(KRY_SymKeyExport(o.s.ctx, "skey16", key, sizeof key, &length), KRY_R_OK);
    EXPECT_EQ(length, 16u);
    EXPECT_EQ(KRY_SymKeyExport(o.s.ctx, "skey24", key, sizeof key, &length), KRY_R_OK);
    EXPECT_EQ(length, 24u);
    EXPECT_EQ(KRY_SymKeyExport(o.s.ctx, "skey32", key, sizeof key, &length), KRY_R_OK);
    EXPECT_EQ(length, 32u);
}

TEST(SelfTestSteps, SymkeyWrongAliasOrderGives46) {
    leave_proven();
    OpenSession o(&kVerbose);
    // "skey15" has the same length and sorts first: index 0 is no longer "skey16".
    ASSERT_EQ(KRY_SymKeyCreate(o.s.ctx, "skey15", 16), KRY_R_OK);
    uint32_t r = 99;
    EXPECT_EQ(capture_stdout([&] { r = st::step_symkey(o.s); }), "SYMKEY CHECK 0\n");
    EXPECT_EQ(r, KRY_R_SELFTEST_KAT);
}

TEST(SelfTestSteps, SymkeyFailingCallGivesItsNumber) {
    leave_proven();
    OpenSession o;
    KRY_Context *ctx = o.s.ctx;
    o.s.ctx = nullptr;
    EXPECT_EQ(st::step_symkey(o.s), KRY_R_INVALID_CONTEXT);
    o.s.ctx = ctx;
}

// ---- CIPHER ------------------------------------------------------------------

namespace {

std::string openssl_name(const st::CipherVector &v) {
    std::string name;
    switch (v.cipher) {
    case KRY_CIPHER_DES_EDE: name = "DES-EDE3"; break;
    case KRY_CIPHER_SEED: name = "SEED"; break;
    case KRY_CIPHER_ARIA128: name = "ARIA-128"; break;
    case KRY_CIPHER_ARIA192: name = "ARIA-192"; break;
    case KRY_CIPHER_ARIA256: name = "ARIA-256"; break;
    default: return "";
    }
    return name + ((v.mode & 0x0F) == 1 ? "-ECB" : "-CBC");
}

size_t block_size(const st::CipherVector &v) { return v.cipher == KRY_CIPHER_DES_EDE ? 8 : 16; }
bool padded(const st::CipherVector &v) { return (v.mode & 0xF0) != 0x10; }

std::string read_text(const std::string &name) {
    std::ifstream in(vector_path(name));
    std::stringstream ss;
    ss << in.rdbuf();
    return ss.str();
}

// An unpadded entry is a published vector or the start of one (a prefix of
// an ECB or CBC vector is a vector of the same key and initial vector).
bool cipher_is_published(const st::CipherVector &v) {
    const std::string key = to_hex(v.key, v.key_length);
    const std::string iv = v.iv ? to_hex(v.iv, block_size(v)) : "";
    const std::string pt = to_hex(v.plaintext, v.plaintext_length);
    const std::string ct = to_hex(v.ciphertext, v.ciphertext_length);
    const std::string mode = (v.mode & 0x0F) == 1 ? "ECB" : "CBC";
    if (v.cipher == KRY_CIPHER_DES_EDE && mode == "CBC") {
        // NIST CAVP TDES multi-block CBC, three keys.
        const std::string text = read_text("cavp/tdes/TCBCMMT3.rsp");
        const std::string block = "KEY1 = " + key.substr(0, 16) + "\nKEY2 = " + key.substr(16, 16) +
                                  "\nKEY3 = " + key.substr(32, 16) + "\nIV = " + iv + "\nPLAINTEXT = " + pt +
                                  "\nCIPHERTEXT = " + ct + "\n";
        std::string unix_text = text;
        unix_text.erase(std::remove(unix_text.begin(), unix_text.end(), '\r'), unix_text.end());
        return unix_text.find(block) != std::string::npos;
    }
    const char *file = v.cipher == KRY_CIPHER_DES_EDE ? "des.txt" : v.cipher == KRY_CIPHER_SEED ? "seed.txt" : "aria.txt";
    for (const VectorBlock &b : read_vectors(file)) {
        if (b.count("MODE") == 0 || b.at("MODE") != mode || b.count("KEY") == 0 || b.at("KEY") != key) continue;
        if (v.cipher == KRY_CIPHER_DES_EDE && (b.count("ALG") == 0 || b.at("ALG") != "DES-EDE3")) continue;
        if (!iv.empty() && (b.count("IV") == 0 || b.at("IV") != iv)) continue;
        if (b.at("PT").rfind(pt, 0) == 0 && b.at("CT").rfind(ct, 0) == 0) return true;
    }
    return false;
}

}  // namespace

TEST(SelfTestTables, CipherTableCoversEveryCipherModeAndPadding) {
    std::set<std::pair<uint32_t, uint8_t>> seen;
    for (size_t i = 0; i < st::kCipherVectorCount; ++i) {
        const st::CipherVector &v = st::kCipherVectors[i];
        EXPECT_TRUE(seen.insert({v.cipher, v.mode}).second) << "entry " << i;
        EXPECT_LE(v.plaintext_length, st::kCipherBufferSize);
        EXPECT_LE(v.ciphertext_length, st::kCipherBufferSize);
        EXPECT_EQ(v.iv == nullptr, (v.mode & 0x0F) == 1) << "entry " << i;
    }
    for (uint32_t cipher = 1; cipher <= 5; ++cipher)
        for (uint8_t mode : {0x01, 0x02, 0x11, 0x12})
            EXPECT_EQ(seen.count({cipher, mode}), 1u) << cipher << " " << int(mode);
}

TEST(SelfTestTables, UnpaddedCipherEntriesArePublishedVectors) {
    for (size_t i = 0; i < st::kCipherVectorCount; ++i) {
        const st::CipherVector &v = st::kCipherVectors[i];
        if (!padded(v)) {
            EXPECT_TRUE(cipher_is_published(v)) << "entry " << i << " " << openssl_name(v);
        }
    }
}

// The padded ciphertexts were computed once with OpenSSL; every entry,
// padded or not, must agree with it in both directions.  A padded entry
// starts with the unpadded encryption of the same plaintext.
TEST(SelfTestTables, CipherEntriesAgreeWithOpenSsl) {
    for (size_t i = 0; i < st::kCipherVectorCount; ++i) {
        const st::CipherVector &v = st::kCipherVectors[i];
        const Bytes key = bytes(v.key, v.key_length);
        const Bytes iv = bytes(v.iv, v.iv ? block_size(v) : 0);
        const Bytes pt = bytes(v.plaintext, v.plaintext_length);
        const Bytes ct = bytes(v.ciphertext, v.ciphertext_length);
        Bytes out;
        ASSERT_TRUE(oracle::openssl_cipher(openssl_name(v), key, iv, true, padded(v), pt, out)) << i;
        EXPECT_EQ(to_hex(out), to_hex(ct)) << "entry " << i << " " << openssl_name(v);
        ASSERT_TRUE(oracle::openssl_cipher(openssl_name(v), key, iv, false, padded(v), ct, out)) << i;
        EXPECT_EQ(to_hex(out), to_hex(pt)) << "entry " << i;
        if (padded(v)) {
            EXPECT_EQ(ct.size(), (pt.size() / block_size(v) + 1) * block_size(v)) << i;
            ASSERT_TRUE(oracle::openssl_cipher(openssl_name(v), key, iv, true, false, pt, out)) << i;
            EXPECT_EQ(to_hex(ct).rfind(to_hex(out), 0), 0u) << i;
        }
    }
}

TEST(SelfTestSteps, CipherPassesAndRemovesItsKeys) {
    leave_proven();
    OpenSession o(&kVerbose);
    uint32_t r = 99;
    EXPECT_EQ(capture_stdout([&] { r = st::step_cipher(o.s, st::kCipherVectors, st::kCipherVectorCount); }),
              lines("CIPHER"));
    EXPECT_EQ(r, KRY_R_OK);
    uint32_t count = 99;
    EXPECT_EQ(KRY_NumSymKey(o.s.ctx, &count), KRY_R_OK);
    EXPECT_EQ(count, 0u);
}

TEST(SelfTestSteps, CipherCorruptedEntryGives46) {
    leave_proven();
    OpenSession o(&kVerbose);
    for (size_t i = 0; i < st::kCipherVectorCount; ++i) {
        std::vector<st::CipherVector> table(st::kCipherVectors, st::kCipherVectors + st::kCipherVectorCount);
        Bytes ct(table[i].ciphertext, table[i].ciphertext + table[i].ciphertext_length);
        ct[0] ^= 0x01;
        table[i].ciphertext = ct.data();
        uint32_t r = 99;
        EXPECT_EQ(capture_stdout([&] { r = st::step_cipher(o.s, table.data(), table.size()); }), "CIPHER CHECK 0\n");
        EXPECT_EQ(r, KRY_R_SELFTEST_KAT) << i;
        uint32_t count = 99;
        EXPECT_EQ(KRY_NumSymKey(o.s.ctx, &count), KRY_R_OK);
        EXPECT_EQ(count, 0u) << "the vector's key is removed on failure too";
    }
}

TEST(SelfTestSteps, CipherShortOrOversizedEntryGives46) {
    leave_proven();
    OpenSession o;
    // A ciphertext cut by one block: the encryption comparison fails first.
    st::CipherVector v = st::kCipherVectors[10];  // ARIA-128 CBC, no padding, 64 bytes
    ASSERT_EQ(v.mode, 0x12);
    v.ciphertext_length = 48;
    EXPECT_EQ(st::step_cipher(o.s, &v, 1), KRY_R_SELFTEST_KAT);
    // Oversized entries are refused before any buffer is touched.
    v = st::kCipherVectors[10];
    Bytes big(80, 0x11);
    v.plaintext = big.data();
    v.plaintext_length = 80;
    EXPECT_EQ(st::step_cipher(o.s, &v, 1), KRY_R_SELFTEST_KAT);
}

TEST(SelfTestSteps, CipherFailingCallGivesItsNumber) {
    leave_proven();
    OpenSession o;
    st::CipherVector v = st::kCipherVectors[4];  // SEED ECB
    v.cipher = 9;
    EXPECT_EQ(st::step_cipher(o.s, &v, 1), KRY_R_UNSUPPORTED_CIPHER);
    v = st::kCipherVectors[0];  // DES-EDE with a 16-byte key
    v.key_length = 16;
    EXPECT_EQ(st::step_cipher(o.s, &v, 1), KRY_R_UNSUPPORTED_CIPHER);
    v = st::kCipherVectors[4];
    v.mode = 0x03;
    EXPECT_EQ(st::step_cipher(o.s, &v, 1), KRY_R_UNSUPPORTED_CIPHER);
    v = st::kCipherVectors[4];
    v.key_length = 0;
    EXPECT_EQ(st::step_cipher(o.s, &v, 1), KRY_R_INVALID_ARGUMENT);  // the import refuses it
    uint32_t count = 99;
    EXPECT_EQ(KRY_NumSymKey(o.s.ctx, &count), KRY_R_OK);
    EXPECT_EQ(count, 0u);
}

// ---- PRIKEY, RSAENC, SIGNVERIFY ------------------------------------------------

TEST(SelfTestSteps, PrikeyFailingGenerationGivesItsNumber) {
    leave_proven();
    OpenSession o(&kVerbose);
    st::KeyPairPlan plan = st::kKeyPairPlan;
    plan.rsa_alias = nullptr;
    uint32_t r = 99;
    EXPECT_EQ(capture_stdout([&] { r = st::step_prikey(o.s, plan); }), "PRIKEY CHECK 0\nRSA GEN 0\n");
    EXPECT_EQ(r, KRY_R_INVALID_ARGUMENT);
    plan = st::kKeyPairPlan;
    plan.rsa_bits = 0;
    o.s.verbose = nullptr;
    EXPECT_EQ(st::step_prikey(o.s, plan), KRY_R_RSA_GENERATE);
}

TEST(SelfTestSteps, RsaencWithoutKeyGivesItsNumber) {
    leave_proven();
    OpenSession o(&kVerbose);
    uint32_t r = 99;
    EXPECT_EQ(capture_stdout([&] { r = st::step_rsaenc(o.s, "rsa", st::kRsaEncoding, st::kMessage, 14); }),
              "RSAENC CHECK 0\n");
    EXPECT_EQ(r, KRY_R_VERIFY_KEY_NOT_FOUND);
    EXPECT_EQ(std::string(reinterpret_cast<const char *>(st::kMessage), 14), "Hello World!!!");
}

TEST(SelfTestSteps, SignverifyWithoutKeyGivesItsNumber) {
    leave_proven();
    OpenSession o(&kVerbose);
    uint32_t r = 99;
    EXPECT_EQ(capture_stdout([&] { r = st::step_signverify(o.s, st::kSignVerifyVectors, st::kSignVerifyVectorCount); }),
              "SIGNVERIFY CHECK 0\n");
    EXPECT_EQ(r, KRY_R_SIGN_KEY_NOT_FOUND);
}

TEST(SelfTestTables, SignverifyTableCoversTheGeneratedKeyPairs) {
    std::set<std::string> aliases;
    for (size_t i = 0; i < st::kSignVerifyVectorCount; ++i) aliases.insert(st::kSignVerifyVectors[i].alias);
    EXPECT_EQ(aliases, (std::set<std::string>{st::kKeyPairPlan.rsa_alias, st::kKeyPairPlan.dsa_alias,
                                               st::kKeyPairPlan.kcdsa_alias}));
    EXPECT_EQ(st::kKeyPairPlan.rsa_bits, 1024u);
    EXPECT_EQ(st::kKeyPairPlan.rsa_option, 1u);
    ASSERT_EQ(st::kKeyPairPlan.dsa_count, 3u);
    EXPECT_EQ(st::kKeyPairPlan.dsa_ids[0], 0x03000100u);
    EXPECT_EQ(st::kKeyPairPlan.dsa_ids[1], 0x04000100u);
    EXPECT_EQ(st::kKeyPairPlan.dsa_ids[2], 0x05000100u);
    EXPECT_EQ(st::kKeyPairPlan.dsa_option, 1024u);
    EXPECT_EQ(st::kKeyPairPlan.kcdsa_p_bits, 1024u);
    EXPECT_EQ(st::kKeyPairPlan.kcdsa_q_bits, 160u);
    EXPECT_EQ(std::strlen(st::kKeyPairPlan.password), 4u);
}

// The checks after HMAC, run in the self-test's order on one self-test
// context: RSA, three DSA and a KCDSA key pair of 1024 bits (about a second),
// the RSA export and import under the password, the RSA-OAEP round trip and
// a signature with every key pair.
TEST(SelfTestKeyPairs, ChecksAfterHmacPassInOrder) {
    leave_proven();

    st::Session s{};
    s.verbose = &kVerbose;
    std::string out;
    uint32_t r[8] = {99, 99, 99, 99, 99, 99, 99, 99};
    out = capture_stdout([&] {
        r[0] = st::step_context(s);
        r[1] = st::step_md(s, st::kDigestVectors, st::kDigestVectorCount);
        r[2] = st::step_symkey(s);
        r[3] = st::step_cipher(s, st::kCipherVectors, st::kCipherVectorCount);
        r[4] = st::step_prikey(s, st::kKeyPairPlan);
        r[5] = st::step_rsaenc(s, st::kKeyPairPlan.rsa_alias, st::kRsaEncoding, st::kMessage, sizeof st::kMessage);
        r[6] = st::step_signverify(s, st::kSignVerifyVectors, st::kSignVerifyVectorCount);
    });
    for (int i = 0; i < 7; ++i) EXPECT_EQ(r[i], KRY_R_OK) << "step " << i;
    EXPECT_EQ(out,
              "CONTEXT CHECK 0\nCONTEXT CHECK 1\nMD CHECK 0\nMD CHECK 1\nSYMKEY CHECK 0\nSYMKEY CHECK 1\n"
              "CIPHER CHECK 0\nCIPHER CHECK 1\n"
              "PRIKEY CHECK 0\nRSA GEN 0\nRSA GEN 1\nDSA GEN 0\nDSA GEN 1\nDSA GEN 0\nDSA GEN 1\nDSA GEN 0\nDSA GEN 1\n"
              "KCDSA GEN 0\nKCDSA GEN 1\nPRIKEY CHECK 1\n"
              "RSAENC CHECK 0\nRSAENC CHECK 1\nSIGNVERIFY CHECK 0\nSIGNVERIFY CHECK 1\n");

    // rsa, three times dsa, kcdsa; the symmetric keys of SYMKEY.
    uint32_t count = 0;
    EXPECT_EQ(KRY_NumKeyPair(s.ctx, &count), KRY_R_OK);
    EXPECT_EQ(count, 5u);
    EXPECT_EQ(KRY_NumSymKey(s.ctx, &count), KRY_R_OK);
    EXPECT_EQ(count, 3u);

    // The imported RSA key pair is a full one again: it signs.
    const st::SignVerifyVector rsa_only[1] = {{KRY_SIGN_SHA1, "rsa"}};
    EXPECT_EQ(st::step_signverify(s, rsa_only, 1), KRY_R_OK);

    // Failure paths that need the key pairs.
    EXPECT_EQ(st::step_rsaenc(s, "dsa", st::kRsaEncoding, st::kMessage, sizeof st::kMessage), KRY_R_NOT_RSA);
    EXPECT_EQ(st::step_rsaenc(s, "kcdsa", st::kRsaEncoding, st::kMessage, sizeof st::kMessage), KRY_R_NOT_RSA);
    const st::SignVerifyVector unknown[1] = {{KRY_SIGN_SHA1, "nothere"}};
    EXPECT_EQ(st::step_signverify(s, unknown, 1), KRY_R_SIGN_KEY_NOT_FOUND);

    st::release(s);
    EXPECT_EQ(s.ctx, nullptr);
}

// The KCDSA generation failure comes after the RSA and DSA key pairs; its
// number is the KCDSA generation's.
TEST(SelfTestKeyPairs, PrikeyKcdsaFailureGivesItsNumber) {
    leave_proven();
    st::Session s{};
    ASSERT_EQ(st::step_context(s), KRY_R_OK);
    st::KeyPairPlan plan = st::kKeyPairPlan;
    plan.rsa_bits = 512;
    plan.dsa_count = 0;
    plan.kcdsa_q_bits = 0;
    EXPECT_EQ(st::step_prikey(s, plan), KRY_R_KCDSA_GENERATE);
    st::release(s);
}
