// The context API frame: module state, contexts, the three common checks
// made by every context call, the algorithm number maps, the alias-ordered
// key stores and the version call.
#include <gtest/gtest.h>

#include <kry/api.h>
#include <kry/key.h>
#include <kry/stack.h>

#include "api/api_internal.h"
#include "test_support.h"

#include <cstring>
#include <string>
#include <vector>

using namespace kry_test;
using namespace kry::api;

namespace {

// ---- state before KRY_Initialize -------------------------------------------
//
// Once any test has called KRY_Initialize the process can never return to
// the uninitialised state, and gtest runs every test of this file in one
// process when the executable is started directly (under CTest each test
// has a process of its own).  To stay independent of test order and
// filters, the calls that must see an uninitialised module are made by a
// static initialiser of this file, before main() and so before any test
// body can run; the tests below only check what it recorded.

struct BeforeInit {
    uint32_t initialized_word = 0xEE;
    uint32_t is_proven = 0xEE;
    std::vector<std::pair<std::string, uint32_t>> results;  // call, return number
    bool handle_untouched = false;
    bool find_keypair_null = false;
    bool version_untouched = false;
};

BeforeInit record_before_init() {
    BeforeInit b;
    b.initialized_word = initialized();
    b.is_proven = KRY_IsProven();

    // A context record that looks valid: the state check comes first.
    KRY_Context fake{nullptr, nullptr, 1, 0};
    KRY_Context *contexts[2] = {nullptr, &fake};
    const char *names[2] = {"null", "fake"};

    KRY_Context *handle = nullptr;
    b.results.emplace_back("KRY_Context_new", KRY_Context_new(&handle));
    b.handle_untouched = handle == nullptr;
    b.find_keypair_null = kry_find_keypair(&fake, "a") == nullptr;

    uint8_t buf[64];
    std::memset(buf, 0xAA, sizeof buf);
    uint32_t len = 0x55;
    uint32_t count = 0;
    char text[32];
    const uint8_t key[16] = {0};

    for (int i = 0; i < 2; ++i) {
        KRY_Context *c = contexts[i];
        const std::string tag = std::string(" (") + names[i] + ")";
        KRY_HMAC *h = nullptr;
        KRY_MD *m = nullptr;
        KRY_CIPHER *ci = nullptr;
        KRY_SIGNVERIFY *sv = nullptr;
        auto add = [&](const char *name, uint32_t r) { b.results.emplace_back(name + tag, r); };
        add("KRY_GetVersion", KRY_GetVersion(c, buf, sizeof buf, &len));
        add("KRY_Context_free", KRY_Context_free(c));
        add("KRY_HMAC_new", KRY_HMAC_new(c, &h));
        add("KRY_HMAC_free", KRY_HMAC_free(c, nullptr));
        add("KRY_MD_new", KRY_MD_new(c, &m));
        add("KRY_MD_free", KRY_MD_free(c, nullptr));
        add("KRY_CIPHER_new", KRY_CIPHER_new(c, &ci));
        add("KRY_CIPHER_free", KRY_CIPHER_free(c, nullptr));
        add("KRY_SIGNVERIFY_new", KRY_SIGNVERIFY_new(c, &sv));
        add("KRY_SIGNVERIFY_free", KRY_SIGNVERIFY_free(c, nullptr));
        add("KRY_RandomBytes", KRY_RandomBytes(c, buf, 8));
        add("KRY_HMACInit", KRY_HMACInit(c, nullptr, key, 16, KRY_MD_SHA256));
        add("KRY_HMACUpdate", KRY_HMACUpdate(c, nullptr, key, 16));
        add("KRY_HMACFinal", KRY_HMACFinal(c, nullptr, buf, sizeof buf, &len));
        add("KRY_DigestInit", KRY_DigestInit(c, nullptr, KRY_MD_SHA256));
        add("KRY_DigestUpdate", KRY_DigestUpdate(c, nullptr, key, 16));
        add("KRY_DigestFinal", KRY_DigestFinal(c, nullptr, buf, sizeof buf, &len));
        add("KRY_EncryptInit", KRY_EncryptInit(c, nullptr, 2, 1, "k", nullptr));
        add("KRY_EncryptUpdate", KRY_EncryptUpdate(c, nullptr, buf, sizeof buf, &len, key, 16));
        add("KRY_EncryptFinal", KRY_EncryptFinal(c, nullptr, buf, sizeof buf, &len));
        add("KRY_DecryptInit", KRY_DecryptInit(c, nullptr, 2, 1, "k", nullptr));
        add("KRY_DecryptUpdate", KRY_DecryptUpdate(c, nullptr, buf, sizeof buf, &len, key, 16));
        add("KRY_DecryptFinal", KRY_DecryptFinal(c, nullptr, buf, sizeof buf, &len));
        add("KRY_SignInit", KRY_SignInit(c, nullptr, 1, "k"));
        add("KRY_SignUpdate", KRY_SignUpdate(c, nullptr, key, 16));
        add("KRY_SignFinal", KRY_SignFinal(c, nullptr, buf, sizeof buf, &len));
        add("KRY_VerifyInit", KRY_VerifyInit(c, nullptr, 1, "k"));
        add("KRY_VerifyUpdate", KRY_VerifyUpdate(c, nullptr, key, 16));
        add("KRY_VerifyFinal", KRY_VerifyFinal(c, nullptr, buf, 47));
        add("KRY_RSA_pub_encrypt", KRY_RSA_pub_encrypt(c, key, 16, buf, sizeof buf, &len, "k", 3));
        add("KRY_RSA_pri_decrypt", KRY_RSA_pri_decrypt(c, key, 16, buf, sizeof buf, &len, "k", 3));
        add("KRY_SymKeyCreate", KRY_SymKeyCreate(c, "k", 16));
        add("KRY_SymKeyImport", KRY_SymKeyImport(c, "k", key, 16));
        add("KRY_SymKeyExport", KRY_SymKeyExport(c, "k", buf, sizeof buf, &len));
        add("KRY_SymKeyDestroy", KRY_SymKeyDestroy(c, "k"));
        add("KRY_RSACreate", KRY_RSACreate(c, "k", 1024, 1));
        add("KRY_DSACreate", KRY_DSACreate(c, 0x05000100u, "k", 1024));
        add("KRY_KCDSACreate", KRY_KCDSACreate(c, "k", 1024, 160));
        add("KRY_KeyPairImport", KRY_KeyPairImport(c, "k", 2, buf, sizeof buf, ""));
        len = sizeof buf;
        add("KRY_KeyPairExport", KRY_KeyPairExport(c, "k", buf, sizeof buf, &len, ""));
        add("KRY_KeyPairDestory", KRY_KeyPairDestory(c, "k"));
        add("KRY_NumKeyPair", KRY_NumKeyPair(c, &count));
        add("KRY_NumSymKey", KRY_NumSymKey(c, &count));
        add("KRY_GetKeyPairAlias", KRY_GetKeyPairAlias(c, 0, text, sizeof text, &len));
        add("KRY_GetSymKeyAlias", KRY_GetSymKeyAlias(c, 0, text, sizeof text, &len));
        if (h != nullptr || m != nullptr || ci != nullptr || sv != nullptr)
            b.results.emplace_back("an object was created" + tag, 0xDEAD);
    }
    b.results.emplace_back("KRY_SelfTests", KRY_SelfTests(nullptr));
    b.results.emplace_back("kry_find_symkey", kry_find_symkey(&fake, "k", buf, &len));
    b.results.emplace_back("kry_add_symkey_entry", kry_add_symkey_entry(&fake, nullptr));
    b.results.emplace_back("kry_add_keypair_entry", kry_add_keypair_entry(&fake, nullptr));
    b.results.emplace_back("common_checks", common_checks(&fake));

    // GetVersion wrote nothing.
    uint8_t probe[16];
    std::memset(probe, 0xAA, sizeof probe);
    uint32_t plen = 0x77;
    KRY_GetVersion(nullptr, probe, sizeof probe, &plen);
    b.version_untouched = plen == 0x77 && probe[0] == 0xAA;
    return b;
}

const BeforeInit g_before = record_before_init();

TEST(ApiBeforeInitialize, ModuleStartsUninitialisedAndProven) {
    EXPECT_EQ(g_before.initialized_word, 0u);
    EXPECT_EQ(g_before.is_proven, 1u);
}

TEST(ApiBeforeInitialize, EveryCallReturns1EvenWithNullContext) {
    ASSERT_GT(g_before.results.size(), 90u);
    for (const auto &[name, r] : g_before.results)
        EXPECT_EQ(r, KRY_R_NOT_INITIALIZED) << name;
    EXPECT_TRUE(g_before.handle_untouched);
    EXPECT_TRUE(g_before.find_keypair_null);
    EXPECT_TRUE(g_before.version_untouched);
}

// ---- helpers ----------------------------------------------------------------

class Ctx {
  public:
    Ctx() {
        KRY_Initialize();
        r_ = KRY_Context_new(&ctx_);
    }
    ~Ctx() {
        if (ctx_ != nullptr) {
            ctx_->valid = 1;
            KRY_Context_free(ctx_);
        }
    }
    KRY_Context *get() const { return ctx_; }
    uint32_t created() const { return r_; }
  private:
    KRY_Context *ctx_ = nullptr;
    uint32_t r_ = 0xEE;
};

// Sets the self-test lock for the life of the object.
struct LockGuard {
    LockGuard() { set_selftest_lock(1); }
    ~LockGuard() { set_selftest_lock(0); }
};

std::vector<std::string> sym_aliases(KRY_Context *ctx) {
    std::vector<std::string> out;
    uint32_t n = 0;
    if (KRY_NumSymKey(ctx, &n) != 0)
        return out;
    for (uint32_t i = 0; i < n; ++i) {
        char buf[64];
        uint32_t len = 0;
        if (KRY_GetSymKeyAlias(ctx, static_cast<int32_t>(i), buf, sizeof buf, &len) != 0)
            out.push_back("<error>");
        else
            out.emplace_back(buf, len);
    }
    return out;
}

// Every context call with harmless arguments; returns name -> number.
std::vector<std::pair<std::string, uint32_t>> call_everything(KRY_Context *c) {
    std::vector<std::pair<std::string, uint32_t>> r;
    uint8_t buf[64] = {0};
    uint32_t len = sizeof buf;
    uint32_t count = 0;
    char text[32];
    const uint8_t key[16] = {0};
    KRY_HMAC *h = nullptr;
    KRY_MD *m = nullptr;
    KRY_CIPHER *ci = nullptr;
    KRY_SIGNVERIFY *sv = nullptr;
    r.emplace_back("KRY_GetVersion", KRY_GetVersion(c, buf, sizeof buf, &len));
    r.emplace_back("KRY_HMAC_new", KRY_HMAC_new(c, &h));
    r.emplace_back("KRY_MD_new", KRY_MD_new(c, &m));
    r.emplace_back("KRY_CIPHER_new", KRY_CIPHER_new(c, &ci));
    r.emplace_back("KRY_SIGNVERIFY_new", KRY_SIGNVERIFY_new(c, &sv));
    r.emplace_back("KRY_HMAC_free", KRY_HMAC_free(c, nullptr));
    r.emplace_back("KRY_MD_free", KRY_MD_free(c, nullptr));
    r.emplace_back("KRY_CIPHER_free", KRY_CIPHER_free(c, nullptr));
    r.emplace_back("KRY_SIGNVERIFY_free", KRY_SIGNVERIFY_free(c, nullptr));
    r.emplace_back("KRY_RandomBytes", KRY_RandomBytes(c, buf, 8));
    r.emplace_back("KRY_HMACInit", KRY_HMACInit(c, nullptr, key, 16, 4));
    r.emplace_back("KRY_HMACUpdate", KRY_HMACUpdate(c, nullptr, key, 16));
    r.emplace_back("KRY_HMACFinal", KRY_HMACFinal(c, nullptr, buf, sizeof buf, &len));
    r.emplace_back("KRY_DigestInit", KRY_DigestInit(c, nullptr, 4));
    r.emplace_back("KRY_DigestUpdate", KRY_DigestUpdate(c, nullptr, key, 16));
    r.emplace_back("KRY_DigestFinal", KRY_DigestFinal(c, nullptr, buf, sizeof buf, &len));
    r.emplace_back("KRY_EncryptInit", KRY_EncryptInit(c, nullptr, 2, 1, "k", nullptr));
    r.emplace_back("KRY_EncryptUpdate", KRY_EncryptUpdate(c, nullptr, buf, sizeof buf, &len, key, 16));
    r.emplace_back("KRY_EncryptFinal", KRY_EncryptFinal(c, nullptr, buf, sizeof buf, &len));
    r.emplace_back("KRY_DecryptInit", KRY_DecryptInit(c, nullptr, 2, 1, "k", nullptr));
    r.emplace_back("KRY_DecryptUpdate", KRY_DecryptUpdate(c, nullptr, buf, sizeof buf, &len, key, 16));
    r.emplace_back("KRY_DecryptFinal", KRY_DecryptFinal(c, nullptr, buf, sizeof buf, &len));
    r.emplace_back("KRY_SignInit", KRY_SignInit(c, nullptr, 1, "k"));
    r.emplace_back("KRY_SignUpdate", KRY_SignUpdate(c, nullptr, key, 16));
    r.emplace_back("KRY_SignFinal", KRY_SignFinal(c, nullptr, buf, sizeof buf, &len));
    r.emplace_back("KRY_VerifyInit", KRY_VerifyInit(c, nullptr, 1, "k"));
    r.emplace_back("KRY_VerifyUpdate", KRY_VerifyUpdate(c, nullptr, key, 16));
    r.emplace_back("KRY_VerifyFinal", KRY_VerifyFinal(c, nullptr, buf, 47));
    r.emplace_back("KRY_RSA_pub_encrypt", KRY_RSA_pub_encrypt(c, key, 16, buf, sizeof buf, &len, "k", 3));
    r.emplace_back("KRY_RSA_pri_decrypt", KRY_RSA_pri_decrypt(c, key, 16, buf, sizeof buf, &len, "k", 3));
    r.emplace_back("KRY_SymKeyCreate", KRY_SymKeyCreate(c, "k", 16));
    r.emplace_back("KRY_SymKeyImport", KRY_SymKeyImport(c, "k", key, 16));
    r.emplace_back("KRY_SymKeyExport", KRY_SymKeyExport(c, "k", buf, sizeof buf, &len));
    r.emplace_back("KRY_SymKeyDestroy", KRY_SymKeyDestroy(c, "k"));
    r.emplace_back("KRY_RSACreate", KRY_RSACreate(c, "k", 1024, 1));
    r.emplace_back("KRY_DSACreate", KRY_DSACreate(c, 0x05000100u, "k", 1024));
    r.emplace_back("KRY_KCDSACreate", KRY_KCDSACreate(c, "k", 1024, 160));
    r.emplace_back("KRY_KeyPairImport", KRY_KeyPairImport(c, "k", 2, buf, sizeof buf, ""));
    len = sizeof buf;
    r.emplace_back("KRY_KeyPairExport", KRY_KeyPairExport(c, "k", buf, sizeof buf, &len, ""));
    r.emplace_back("KRY_KeyPairDestory", KRY_KeyPairDestory(c, "k"));
    r.emplace_back("KRY_NumKeyPair", KRY_NumKeyPair(c, &count));
    r.emplace_back("KRY_NumSymKey", KRY_NumSymKey(c, &count));
    r.emplace_back("KRY_GetKeyPairAlias", KRY_GetKeyPairAlias(c, 0, text, sizeof text, &len));
    r.emplace_back("KRY_GetSymKeyAlias", KRY_GetSymKeyAlias(c, 0, text, sizeof text, &len));
    r.emplace_back("kry_find_symkey", kry_find_symkey(c, "k", buf, &len));
    r.emplace_back("kry_add_symkey_entry", kry_add_symkey_entry(c, nullptr));
    r.emplace_back("kry_add_keypair_entry", kry_add_keypair_entry(c, nullptr));
    r.emplace_back("KRY_Context_free", KRY_Context_free(c));
    if (h != nullptr || m != nullptr || ci != nullptr || sv != nullptr)
        r.emplace_back("an object was created", 0xDEAD);
    return r;
}

// ---- module calls ------------------------------------------------------------

TEST(ApiModule, InitializeAlwaysReturns0AndStays) {
    EXPECT_EQ(KRY_Initialize(), 0u);
    EXPECT_EQ(initialized(), 1u);
    EXPECT_EQ(KRY_Initialize(), 0u);
    EXPECT_EQ(KRY_Initialize_r(), 0u);
    EXPECT_EQ(initialized(), 1u);
    EXPECT_EQ(selftest_lock(), 0u);
}

TEST(ApiModule, ChangeNonProvenModeClearsTheFlagForGood) {
    KRY_Initialize();
    EXPECT_EQ(KRY_ChangeNonProvenMode(), 0u);
    EXPECT_EQ(KRY_IsProven(), 0u);
    EXPECT_EQ(proven_flag(), 0u);
    EXPECT_EQ(KRY_ChangeNonProvenMode(), 0u);
    KRY_Initialize();
    EXPECT_EQ(KRY_IsProven(), 0u);
}

TEST(ApiModule, GetVersionNeedsTenBytes) {
    Ctx c;
    ASSERT_EQ(c.created(), 0u);
    uint8_t buf[16];
    std::memset(buf, 0xAA, sizeof buf);
    uint32_t len = 0;
    ASSERT_EQ(KRY_GetVersion(c.get(), buf, 10, &len), KRY_R_OK);
    EXPECT_EQ(len, 9u);
    EXPECT_EQ(std::string(reinterpret_cast<char *>(buf)), "KRY 5.0.0");
    EXPECT_EQ(buf[9], 0);
    EXPECT_EQ(buf[10], 0xAA);

    std::memset(buf, 0xAA, sizeof buf);
    len = 0x1234;
    EXPECT_EQ(KRY_GetVersion(c.get(), buf, 9, &len), KRY_R_BUFFER_TOO_SMALL);
    for (uint8_t b : buf)
        EXPECT_EQ(b, 0xAA);
    EXPECT_EQ(len, 0x1234u);
    EXPECT_EQ(KRY_GetVersion(c.get(), buf, 0, &len), KRY_R_BUFFER_TOO_SMALL);
}

TEST(ApiModule, GetVersionArgumentsAfterTheContext) {
    Ctx c;
    uint8_t buf[16];
    uint32_t len = 0;
    EXPECT_EQ(KRY_GetVersion(c.get(), nullptr, 16, &len), KRY_R_INVALID_ARGUMENT);
    EXPECT_EQ(KRY_GetVersion(c.get(), buf, 16, nullptr), KRY_R_INVALID_ARGUMENT);
    // The context check comes before the argument check.
    EXPECT_EQ(KRY_GetVersion(nullptr, nullptr, 16, nullptr), KRY_R_INVALID_CONTEXT);
}

// ---- contexts ------------------------------------------------------------------

TEST(ApiContext, NewMakesAValidContext) {
    KRY_Initialize();
    KRY_Context *ctx = nullptr;
    ASSERT_EQ(KRY_Context_new(&ctx), KRY_R_OK);
    ASSERT_NE(ctx, nullptr);
    EXPECT_EQ(ctx->valid, 1u);
    EXPECT_EQ(ctx->selftest, 0u);
    EXPECT_NE(ctx->keypairs, nullptr);
    EXPECT_NE(ctx->symkeys, nullptr);
    uint32_t n = 99;
    EXPECT_EQ(KRY_NumSymKey(ctx, &n), 0u);
    EXPECT_EQ(n, 0u);
    EXPECT_EQ(KRY_NumKeyPair(ctx, &n), 0u);
    EXPECT_EQ(n, 0u);
    EXPECT_EQ(KRY_Context_free(ctx), KRY_R_OK);
}

TEST(ApiContext, NewRefusesAHandleThatHoldsAValue) {
    KRY_Initialize();
    KRY_Context *ctx = nullptr;
    ASSERT_EQ(KRY_Context_new(&ctx), 0u);
    KRY_Context *const before = ctx;
    EXPECT_EQ(KRY_Context_new(&ctx), KRY_R_INVALID_ARGUMENT);
    EXPECT_EQ(ctx, before);
    EXPECT_EQ(ctx->valid, 1u);
    EXPECT_EQ(KRY_Context_new(nullptr), KRY_R_INVALID_ARGUMENT);
    // A dangling-looking value is refused as well, and not touched.
    KRY_Context *junk = reinterpret_cast<KRY_Context *>(static_cast<uintptr_t>(0x10));
    EXPECT_EQ(KRY_Context_new(&junk), KRY_R_INVALID_ARGUMENT);
    EXPECT_EQ(junk, reinterpret_cast<KRY_Context *>(static_cast<uintptr_t>(0x10)));
    EXPECT_EQ(KRY_Context_free(ctx), 0u);
}

TEST(ApiContext, FreeReleasesStoresWithEntries) {
    KRY_Initialize();
    KRY_Context *ctx = nullptr;
    ASSERT_EQ(KRY_Context_new(&ctx), 0u);
    const uint8_t key[32] = {1, 2, 3};
    for (const char *a : {"one", "two", "three"})
        ASSERT_EQ(KRY_SymKeyImport(ctx, a, key, 16), 0u) << a;
    // Under a sanitizer build a leak or a double release shows up here.
    EXPECT_EQ(KRY_Context_free(ctx), KRY_R_OK);
    EXPECT_EQ(KRY_Context_free(nullptr), KRY_R_INVALID_CONTEXT);
}

TEST(ApiContext, NullContextGives3EverywhereAfterInitialize) {
    KRY_Initialize();
    for (const auto &[name, r] : call_everything(nullptr))
        EXPECT_EQ(r, KRY_R_INVALID_CONTEXT) << name;
}

// A context whose valid word is anything but 1 is treated as a null context.
class ApiReleasedContext : public ::testing::TestWithParam<uint32_t> {};

TEST_P(ApiReleasedContext, EveryCallGives3) {
    Ctx c;
    ASSERT_EQ(c.created(), 0u);
    const uint8_t key[16] = {9};
    ASSERT_EQ(KRY_SymKeyImport(c.get(), "k", key, 16), 0u);
    c.get()->valid = GetParam();
    for (const auto &[name, r] : call_everything(c.get()))
        EXPECT_EQ(r, KRY_R_INVALID_CONTEXT) << name << " valid=" << GetParam();
    EXPECT_EQ(common_checks(c.get()), KRY_R_INVALID_CONTEXT);
    EXPECT_EQ(kry_find_keypair(c.get(), "k"), nullptr);
    c.get()->valid = 1;
    uint32_t n = 0;
    EXPECT_EQ(KRY_NumSymKey(c.get(), &n), 0u);
    EXPECT_EQ(n, 1u);  // nothing was changed by the refused calls
}

INSTANTIATE_TEST_SUITE_P(Words, ApiReleasedContext, ::testing::Values(0u, 2u, 0xFFFFFFFFu, 0x101u));

// ---- the self-test lock ----------------------------------------------------

TEST(ApiSelfTestLock, OtherContextsAndNewContextsGet2) {
    Ctx c;
    ASSERT_EQ(c.created(), 0u);
    {
        LockGuard lock;
        KRY_Context *extra = nullptr;
        EXPECT_EQ(KRY_Context_new(&extra), KRY_R_SELFTEST_RUNNING);
        EXPECT_EQ(extra, nullptr);
        for (const auto &[name, r] : call_everything(c.get()))
            EXPECT_EQ(r, KRY_R_SELFTEST_RUNNING) << name;
        // The lock is checked before the context: null gives 2 too.
        for (const auto &[name, r] : call_everything(nullptr))
            EXPECT_EQ(r, KRY_R_SELFTEST_RUNNING) << name << " (null)";
        EXPECT_EQ(kry_find_keypair(c.get(), "k"), nullptr);
    }
    // The context survived (KRY_Context_free was refused) and works again.
    EXPECT_EQ(c.get()->valid, 1u);
    uint8_t buf[16];
    uint32_t len = 0;
    EXPECT_EQ(KRY_GetVersion(c.get(), buf, sizeof buf, &len), 0u);
}

TEST(ApiSelfTestLock, TheSelfTestContextIsExempt) {
    KRY_Initialize();
    LockGuard lock;
    KRY_Context *st = nullptr;
    ASSERT_EQ(context_new(&st, 1), 0u);
    ASSERT_NE(st, nullptr);
    EXPECT_EQ(st->selftest, 1u);
    EXPECT_EQ(st->valid, 1u);
    uint8_t buf[16];
    uint32_t len = 0;
    EXPECT_EQ(KRY_GetVersion(st, buf, sizeof buf, &len), 0u);
    const uint8_t key[16] = {1};
    EXPECT_EQ(KRY_SymKeyImport(st, "k", key, 16), 0u);
    uint32_t n = 0;
    EXPECT_EQ(KRY_NumSymKey(st, &n), 0u);
    EXPECT_EQ(n, 1u);
    // A released self-test context is still refused with 3.
    st->valid = 0;
    EXPECT_EQ(KRY_GetVersion(st, buf, sizeof buf, &len), KRY_R_INVALID_CONTEXT);
    st->valid = 1;
    EXPECT_EQ(KRY_Context_free(st), 0u);
}

TEST(ApiSelfTestLock, OtherSelfTestFlagSkipsTheLockButMarksNothing) {
    KRY_Initialize();
    LockGuard lock;
    KRY_Context *c = nullptr;
    ASSERT_EQ(context_new(&c, 2), 0u);
    ASSERT_NE(c, nullptr);
    EXPECT_EQ(c->selftest, 0u);
    uint8_t buf[16];
    uint32_t len = 0;
    EXPECT_EQ(KRY_GetVersion(c, buf, sizeof buf, &len), KRY_R_SELFTEST_RUNNING);
    set_selftest_lock(0);
    EXPECT_EQ(KRY_Context_free(c), 0u);
}

TEST(ApiSelfTestLock, ContextNewWithFlag0IsTheOrdinaryConstructor) {
    KRY_Initialize();
    KRY_Context *c = nullptr;
    ASSERT_EQ(context_new(&c, 0), 0u);
    EXPECT_EQ(c->selftest, 0u);
    KRY_Context *d = c;
    EXPECT_EQ(context_new(&d, 1), KRY_R_INVALID_ARGUMENT);
    EXPECT_EQ(KRY_Context_free(c), 0u);
    {
        LockGuard lock;
        KRY_Context *e = nullptr;
        EXPECT_EQ(context_new(&e, 0), KRY_R_SELFTEST_RUNNING);
        EXPECT_EQ(e, nullptr);
    }
}

// ---- number maps ---------------------------------------------------------------

TEST(ApiMaps, DigestNumbers) {
    EXPECT_EQ(map_digest(1), 0x06000100u);
    EXPECT_EQ(map_digest(2), 0x05000100u);
    EXPECT_EQ(map_digest(3), 0x05000200u);
    EXPECT_EQ(map_digest(4), 0x05000300u);
    EXPECT_EQ(map_digest(5), 0x05000400u);
    EXPECT_EQ(map_digest(6), 0x05000500u);
    EXPECT_EQ(map_digest(7), 0x07000100u);
    for (uint32_t n : {0u, 8u, 9u, 0x08000100u, 0xFFFFFFFFu})
        EXPECT_EQ(map_digest(n), 0xFFFFFFFFu) << n;
}

TEST(ApiMaps, CipherNumbersModesAndKeyLengths) {
    struct Row {
        uint32_t number, key_length, ecb;
    };
    const Row rows[] = {{1, 24, 0x02000200u}, {2, 16, 0x04000100u}, {3, 16, 0x03000100u},
                        {4, 24, 0x03000200u}, {5, 32, 0x03000300u}};
    for (const Row &r : rows) {
        SCOPED_TRACE(r.number);
        EXPECT_EQ(map_cipher(r.number, 0x01, r.key_length), r.ecb);
        EXPECT_EQ(map_cipher(r.number, 0x02, r.key_length), r.ecb | 0x20u);
        EXPECT_EQ(map_cipher(r.number, 0x11, r.key_length), r.ecb | 0x01u);
        EXPECT_EQ(map_cipher(r.number, 0x12, r.key_length), r.ecb | 0x21u);
        // Only a high nibble of exactly 1 is the no-padding flag.
        for (uint8_t high : {0x20, 0x30, 0xF0}) {
            EXPECT_EQ(map_cipher(r.number, static_cast<uint8_t>(high | 1), r.key_length), r.ecb);
            EXPECT_EQ(map_cipher(r.number, static_cast<uint8_t>(high | 2), r.key_length), r.ecb | 0x20u);
        }
        for (uint8_t mode : {0x00, 0x03, 0x04, 0x0F, 0x13, 0x10})
            EXPECT_EQ(map_cipher(r.number, mode, r.key_length), 0xFFFFFFFFu) << int(mode);
        for (uint32_t len : {0u, 8u, 15u, 16u, 17u, 24u, 32u, 33u}) {
            if (len != r.key_length) {
                EXPECT_EQ(map_cipher(r.number, 0x01, len), 0xFFFFFFFFu) << len;
            }
        }
    }
    for (uint32_t n : {0u, 6u, 7u, 0xFFFFFFFFu})
        for (uint32_t len : {8u, 16u, 24u, 32u})
            EXPECT_EQ(map_cipher(n, 0x01, len), 0xFFFFFFFFu) << n << "/" << len;
}

TEST(ApiMaps, RsaEncodingNumbers) {
    EXPECT_EQ(map_rsa_encoding(1), 0u);
    EXPECT_EQ(map_rsa_encoding(2), 8u);
    EXPECT_EQ(map_rsa_encoding(3), 16u);
    EXPECT_EQ(map_rsa_encoding(32), 32u);
    for (uint32_t n : {0u, 4u, 8u, 16u, 31u, 33u, 0xFFFFFFFFu})
        EXPECT_EQ(map_rsa_encoding(n), 1u) << n;
}

// ---- alias comparison and the store primitives ----------------------------------

TEST(ApiStore, AliasCompareIsLengthFirstThenBytes) {
    KRY_SYMKEY_ENTRY *a = kry_new_symkey_entry("ab", reinterpret_cast<const uint8_t *>("k"), 1);
    KRY_SYMKEY_ENTRY *b = kry_new_symkey_entry("b", reinterpret_cast<const uint8_t *>("k"), 1);
    KRY_SYMKEY_ENTRY *c = kry_new_symkey_entry("ac", reinterpret_cast<const uint8_t *>("k"), 1);
    KRY_SYMKEY_ENTRY *a2 = kry_new_symkey_entry("ab", reinterpret_cast<const uint8_t *>("z"), 1);
    ASSERT_TRUE(a && b && c && a2);
    EXPECT_EQ(kry_alias_compare(&b, &a), -1);
    EXPECT_EQ(kry_alias_compare(&a, &b), 1);
    EXPECT_LT(kry_alias_compare(&a, &c), 0);
    EXPECT_GT(kry_alias_compare(&c, &a), 0);
    EXPECT_EQ(kry_alias_compare(&a, &a2), 0);
    EXPECT_EQ(kry_alias_compare(nullptr, &a), -2);
    EXPECT_EQ(kry_alias_compare(&a, nullptr), -2);
    for (auto *e : {a, b, c, a2})
        kry_free_symkey_entry(e);
    kry_free_symkey_entry(nullptr);
    kry_free_keypair_entry(nullptr);
}

TEST(ApiStore, SymkeyEntryConstruction) {
    uint8_t key[33];
    for (int i = 0; i < 33; ++i)
        key[i] = static_cast<uint8_t>(i + 1);
    KRY_SYMKEY_ENTRY *e = kry_new_symkey_entry("alias", key, 32);
    ASSERT_NE(e, nullptr);
    EXPECT_STREQ(e->alias, "alias");
    EXPECT_EQ(e->alias_length, 5u);
    EXPECT_EQ(e->key_length, 32u);
    EXPECT_EQ(std::memcmp(e->key, key, 32), 0);
    kry_free_symkey_entry(e);
    EXPECT_EQ(kry_new_symkey_entry("alias", key, 33), nullptr);
    EXPECT_EQ(kry_new_symkey_entry("", key, 16), nullptr);
    EXPECT_EQ(kry_new_symkey_entry(nullptr, key, 16), nullptr);
    EXPECT_EQ(kry_new_symkey_entry("alias", nullptr, 16), nullptr);
}

TEST(ApiStore, KeypairEntryConstruction) {
    KEY *key = new_KEY();
    ASSERT_NE(key, nullptr);
    key->type = KRY_KEY_DSA;  // no unit: free_KEY must cope with a null unit
    EXPECT_EQ(kry_new_keypair_entry("", key), nullptr);
    EXPECT_EQ(kry_new_keypair_entry(nullptr, key), nullptr);
    EXPECT_EQ(kry_new_keypair_entry("a", nullptr), nullptr);
    KRY_KEYPAIR_ENTRY *e = kry_new_keypair_entry("pair", key);
    ASSERT_NE(e, nullptr);
    EXPECT_STREQ(e->alias, "pair");
    EXPECT_EQ(e->alias_length, 4u);
    EXPECT_EQ(e->key_type, 3u);
    EXPECT_EQ(e->key, key);
    kry_free_keypair_entry(e);  // releases the KEY record too
}

TEST(ApiStore, AddAndFindSymkeys) {
    Ctx c;
    ASSERT_EQ(c.created(), 0u);
    const uint8_t key[5] = {1, 2, 3, 4, 5};
    EXPECT_EQ(kry_add_symkey_entry(c.get(), nullptr), KRY_R_INVALID_ARGUMENT);
    EXPECT_EQ(kry_add_keypair_entry(c.get(), nullptr), KRY_R_INVALID_ARGUMENT);
    KRY_SYMKEY_ENTRY *e = kry_new_symkey_entry("five", key, 5);
    ASSERT_NE(e, nullptr);
    ASSERT_EQ(kry_add_symkey_entry(c.get(), e), 0u);
    uint8_t out[32];
    std::memset(out, 0xAA, sizeof out);
    uint32_t len = 0;
    ASSERT_EQ(kry_find_symkey(c.get(), "five", out, &len), 0u);
    EXPECT_EQ(len, 5u);
    EXPECT_EQ(std::memcmp(out, key, 5), 0);
    EXPECT_EQ(out[5], 0xAA);
    EXPECT_EQ(kry_find_symkey(c.get(), "fiv", out, &len), KRY_R_ALIAS_NOT_FOUND);
    EXPECT_EQ(kry_find_symkey(c.get(), "fivf", out, &len), KRY_R_ALIAS_NOT_FOUND);
    EXPECT_EQ(kry_find_symkey(c.get(), nullptr, out, &len), KRY_R_INVALID_ARGUMENT);
    EXPECT_EQ(kry_find_symkey(c.get(), "five", nullptr, &len), KRY_R_INVALID_ARGUMENT);
    EXPECT_EQ(kry_find_symkey(c.get(), "five", out, nullptr), KRY_R_INVALID_ARGUMENT);
    EXPECT_EQ(kry_find_symkey(nullptr, "five", out, &len), KRY_R_INVALID_CONTEXT);
    EXPECT_EQ(kry_find_keypair(c.get(), "five"), nullptr);  // a different store
    EXPECT_EQ(kry_find_keypair(c.get(), nullptr), nullptr);
    EXPECT_EQ(kry_find_keypair(nullptr, "five"), nullptr);
}

TEST(ApiStore, AddAndFindKeypairs) {
    Ctx c;
    ASSERT_EQ(c.created(), 0u);
    for (const char *alias : {"zz", "a", "mm"}) {
        KEY *key = new_KEY();
        ASSERT_NE(key, nullptr);
        key->type = 9;  // unknown type: free_KEY frees only the record
        KRY_KEYPAIR_ENTRY *e = kry_new_keypair_entry(alias, key);
        ASSERT_NE(e, nullptr);
        ASSERT_EQ(kry_add_keypair_entry(c.get(), e), 0u);
    }
    KRY_KEYPAIR_ENTRY *found = kry_find_keypair(c.get(), "mm");
    ASSERT_NE(found, nullptr);
    EXPECT_STREQ(found->alias, "mm");
    EXPECT_EQ(found->key_type, 9u);
    EXPECT_EQ(kry_find_keypair(c.get(), "m"), nullptr);
    EXPECT_EQ(kry_find_keypair(c.get(), "b"), nullptr);
    uint32_t n = 0;
    EXPECT_EQ(KRY_NumKeyPair(c.get(), &n), 0u);
    EXPECT_EQ(n, 3u);
    char buf[8];
    uint32_t len = 0;
    ASSERT_EQ(KRY_GetKeyPairAlias(c.get(), 0, buf, sizeof buf, &len), 0u);
    EXPECT_STREQ(buf, "a");
    ASSERT_EQ(KRY_GetKeyPairAlias(c.get(), 1, buf, sizeof buf, &len), 0u);
    EXPECT_STREQ(buf, "mm");
    ASSERT_EQ(KRY_GetKeyPairAlias(c.get(), 2, buf, sizeof buf, &len), 0u);
    EXPECT_STREQ(buf, "zz");
}

TEST(ApiStore, ShorterAliasSortsFirst) {
    Ctx c;
    ASSERT_EQ(c.created(), 0u);
    const uint8_t key[16] = {0};
    ASSERT_EQ(KRY_SymKeyImport(c.get(), "ab", key, 16), 0u);
    ASSERT_EQ(KRY_SymKeyImport(c.get(), "b", key, 16), 0u);
    EXPECT_EQ(sym_aliases(c.get()), (std::vector<std::string>{"b", "ab"}));
    ASSERT_EQ(KRY_SymKeyImport(c.get(), "aa", key, 16), 0u);
    ASSERT_EQ(KRY_SymKeyImport(c.get(), "a", key, 16), 0u);
    ASSERT_EQ(KRY_SymKeyImport(c.get(), "abc", key, 16), 0u);
    ASSERT_EQ(KRY_SymKeyImport(c.get(), "c", key, 16), 0u);
    EXPECT_EQ(sym_aliases(c.get()), (std::vector<std::string>{"a", "b", "c", "aa", "ab", "abc"}));
}

// A store that cannot take the entry (push fails on a missing store) gives 41,
// and a store whose count cannot be read gives 44.
TEST(ApiStore, RefusedInsertGives41AndUnreadableCountGives44) {
    Ctx c;
    ASSERT_EQ(c.created(), 0u);
    const uint8_t key[16] = {0};
    STACK *sym = c.get()->symkeys;
    c.get()->symkeys = nullptr;
    EXPECT_EQ(KRY_SymKeyImport(c.get(), "k", key, 16), KRY_R_STORE_REFUSED);
    EXPECT_EQ(KRY_SymKeyCreate(c.get(), "k", 16), KRY_R_STORE_REFUSED);
    uint32_t n = 77;
    EXPECT_EQ(KRY_NumSymKey(c.get(), &n), KRY_R_COUNT);
    KRY_SYMKEY_ENTRY *e = kry_new_symkey_entry("k", key, 16);
    ASSERT_NE(e, nullptr);
    EXPECT_EQ(kry_add_symkey_entry(c.get(), e), KRY_R_STORE_REFUSED);
    kry_free_symkey_entry(e);  // still the caller's
    c.get()->symkeys = sym;

    STACK *pairs = c.get()->keypairs;
    c.get()->keypairs = nullptr;
    EXPECT_EQ(KRY_NumKeyPair(c.get(), &n), KRY_R_COUNT);
    KEY *key_record = new_KEY();
    KRY_KEYPAIR_ENTRY *pe = kry_new_keypair_entry("p", key_record);
    ASSERT_NE(pe, nullptr);
    EXPECT_EQ(kry_add_keypair_entry(c.get(), pe), KRY_R_STORE_REFUSED);
    kry_free_keypair_entry(pe);
    c.get()->keypairs = pairs;
    EXPECT_EQ(KRY_NumSymKey(c.get(), &n), 0u);
    EXPECT_EQ(n, 0u);
}

TEST(ApiStore, CommonChecksOnAValidContext) {
    Ctx c;
    ASSERT_EQ(c.created(), 0u);
    EXPECT_EQ(common_checks(c.get()), 0u);
    EXPECT_EQ(common_checks(nullptr), KRY_R_INVALID_CONTEXT);
}

}  // namespace
