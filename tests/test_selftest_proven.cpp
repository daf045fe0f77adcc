// KRY_SelfTests in the state the module is loaded in: proven mode, which
// refuses HMAC-MD5 at KRY_HMACInit (50), and, before KRY_Initialize, the
// FLAGS check alone (1).  The first test must run before anything in its
// process calls KRY_Initialize (under CTest every test has a process).
#include <gtest/gtest.h>

#include <kry/api.h>
#include <kry/error.h>

#include "api/api_internal.h"
#include "api/selftest_internal.h"
#include "test_support.h"

#include <string>
#include <vector>

using namespace kry_test;
namespace st = kry::selftest;

namespace {

const int kVerbose = 1;

const std::string kPrefixToHmac =
    "FLAGS CHECK 0\nFLAGS CHECK 1\nCONTEXT CHECK 0\nCONTEXT CHECK 1\nVERSION CHECK 0\nVERSION CHECK 1\n"
    "PRNG CHECK 0\nPRNG CHECK 1\nHMAC CHECK 0\n";

struct OpenSession {
    st::Session s{};
    OpenSession() { EXPECT_EQ(st::step_context(s), KRY_R_OK); }
    ~OpenSession() { st::release(s); }
};

}  // namespace

TEST(SelfTestProven, BeforeInitializeReturnsOneAfterTheFlagsStartLine) {
    if (kry::api::initialized() != 0)
        GTEST_SKIP() << "KRY_Initialize already ran in this process; run this test on its own";
    uint32_t r = 99;
    EXPECT_EQ(capture_stdout([&] { r = KRY_SelfTests(nullptr); }), "");
    EXPECT_EQ(r, KRY_R_NOT_INITIALIZED);
    EXPECT_EQ(capture_stdout([&] { r = KRY_SelfTests(&kVerbose); }), "FLAGS CHECK 0\n");
    EXPECT_EQ(r, KRY_R_NOT_INITIALIZED);
    EXPECT_EQ(kry::api::selftest_lock(), 0u);
    KRY_Context *ctx = nullptr;
    EXPECT_EQ(KRY_Context_new(&ctx), KRY_R_NOT_INITIALIZED);
    // The FLAGS check on its own: 1, the lock left clear.
    st::Session s{};
    EXPECT_EQ(st::step_flags(s), KRY_R_NOT_INITIALIZED);
    EXPECT_EQ(kry::api::selftest_lock(), 0u);
}

TEST(SelfTestProven, StopsAtTheMd5HmacInit) {
    KRY_Initialize();
    ASSERT_EQ(KRY_IsProven(), 1u);
    uint32_t r = 99;
    const std::string out = capture_stdout([&] { r = KRY_SelfTests(&kVerbose); });
    EXPECT_EQ(r, KRY_R_HMAC_INIT);
    EXPECT_EQ(out, kPrefixToHmac);
    EXPECT_EQ(kry::api::selftest_lock(), 0u);
    EXPECT_EQ(KRY_IsProven(), 1u);
}

TEST(SelfTestProven, PrintsNothingWithoutTheVerboseFlag) {
    KRY_Initialize();
    uint32_t r = 99;
    EXPECT_EQ(capture_stdout([&] { r = KRY_SelfTests(nullptr); }), "");
    EXPECT_EQ(r, KRY_R_HMAC_INIT);
}

TEST(SelfTestProven, LockIsClearedAndClientContextsAreUnaffected) {
    KRY_Initialize();
    KRY_Context *ctx = nullptr;
    ASSERT_EQ(KRY_Context_new(&ctx), KRY_R_OK);
    ASSERT_EQ(KRY_SymKeyCreate(ctx, "client", 16), KRY_R_OK);
    for (int i = 0; i < 2; ++i) {
        EXPECT_EQ(KRY_SelfTests(nullptr), KRY_R_HMAC_INIT);
        EXPECT_EQ(kry::api::selftest_lock(), 0u);
        uint32_t count = 99;
        EXPECT_EQ(KRY_NumSymKey(ctx, &count), KRY_R_OK);
        EXPECT_EQ(count, 1u);
        KRY_Context *fresh = nullptr;
        EXPECT_EQ(KRY_Context_new(&fresh), KRY_R_OK);
        EXPECT_EQ(KRY_Context_free(fresh), KRY_R_OK);
    }
    EXPECT_EQ(KRY_Context_free(ctx), KRY_R_OK);
}

TEST(SelfTestProven, HmacStepRefusesMd5) {
    KRY_Initialize();
    OpenSession o;
    EXPECT_EQ(st::step_hmac(o.s, st::kHmacVectors, st::kHmacVectorCount), KRY_R_HMAC_INIT);
}

// MD5 comes first in the digest table and is refused in proven mode.
TEST(SelfTestProven, MdStepRefusesMd5AndPassesWithTheApprovedDigests) {
    KRY_Initialize();
    OpenSession o;
    ASSERT_EQ(st::kDigestVectors[0].digest, KRY_MD_MD5);
    EXPECT_EQ(st::step_md(o.s, st::kDigestVectors, st::kDigestVectorCount), KRY_R_DIGEST_INIT);
    std::vector<st::DigestVector> approved;
    for (size_t i = 0; i < st::kDigestVectorCount; ++i)
        if (st::kDigestVectors[i].digest != KRY_MD_MD5 && st::kDigestVectors[i].digest != KRY_MD_SHA224)
            approved.push_back(st::kDigestVectors[i]);
    ASSERT_EQ(approved.size(), 5u);
    EXPECT_EQ(st::step_md(o.s, approved.data(), approved.size()), KRY_R_OK);
}

// DES-EDE comes first in the cipher table and is refused in proven mode;
// the SEED and ARIA entries pass.
TEST(SelfTestProven, CipherStepRefusesDesEdeAndPassesWithSeedAndAria) {
    KRY_Initialize();
    OpenSession o;
    ASSERT_EQ(st::kCipherVectors[0].cipher, KRY_CIPHER_DES_EDE);
    EXPECT_EQ(st::step_cipher(o.s, st::kCipherVectors, st::kCipherVectorCount), KRY_R_ENCRYPT_INIT);
    std::vector<st::CipherVector> approved;
    for (size_t i = 0; i < st::kCipherVectorCount; ++i)
        if (st::kCipherVectors[i].cipher != KRY_CIPHER_DES_EDE) approved.push_back(st::kCipherVectors[i]);
    ASSERT_EQ(approved.size(), 16u);
    EXPECT_EQ(st::step_cipher(o.s, approved.data(), approved.size()), KRY_R_OK);
}

TEST(SelfTestProven, SymkeyStepPasses) {
    KRY_Initialize();
    OpenSession o;
    EXPECT_EQ(st::step_symkey(o.s), KRY_R_OK);
}
