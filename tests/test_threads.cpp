// Eight threads at once, each with its own contexts and units, plus the
// process-wide state they share: the module flags, the entropy pool and its
// one-time collection, and the context layer's initialisation, proven-mode
// and self-test words.  Built with -fsanitize=thread (KRY_TSAN) this is the
// race check; in a normal build it checks that every thread's results equal
// the single-thread reference.
//
// Every TEST here runs in its own process under CTest, so the first test
// body is the first user of the entropy pool: its threads are released by a
// barrier before anything has touched the pool.
#include <gtest/gtest.h>

#include <kry/api.h>
#include <kry/bigint.h>
#include <kry/blockcipher.h>
#include <kry/digest.h>
#include <kry/dsa.h>
#include <kry/hmac.h>
#include <kry/prng.h>
#include <kry/rsa.h>

#include "pubkey/dsa_internal.h"
#include "random/prng_internal.h"
#include "test_support.h"

#include <atomic>
#include <cstring>
#include <latch>
#include <string>
#include <thread>
#include <vector>

extern "C" {
KRY_API uint8_t IsProven(void);
KRY_API void ChangeNonProvenMode(void);
KRY_API uint32_t ChangeTestMode(void);
}

using namespace kry_test;

namespace {

constexpr int kThreads = 8;

Bytes message_for(int t) {
    Bytes m(200 + 37 * static_cast<size_t>(t));
    for (size_t i = 0; i < m.size(); ++i)
        m[i] = static_cast<uint8_t>(i * 7 + static_cast<size_t>(t) * 13 + 1);
    return m;
}

Bytes key_for(int t, size_t n) {
    Bytes k(n);
    for (size_t i = 0; i < n; ++i)
        k[i] = static_cast<uint8_t>(0xA0 + i + static_cast<size_t>(t) * 3);
    return k;
}

// ---- deterministic work: each returns its output (empty on failure) ----

Bytes digest_unit(const Bytes &m) {
    DIGEST_UNIT *u = new_DIGEST_UNIT();
    Bytes out(64);
    uint32_t len = 0;
    bool ok = u != nullptr && init_Digest(u, KRY_SHA256) == 0 &&
              update_Digest(u, m.data(), static_cast<uint32_t>(m.size() / 2)) == 0 &&
              update_Digest(u, m.data() + m.size() / 2, static_cast<uint32_t>(m.size() - m.size() / 2)) == 0 &&
              final_Digest(u, out.data(), &len) == 0;
    free_DIGEST_UNIT(u);
    if (!ok)
        return {};
    out.resize(len);
    return out;
}

Bytes hmac_unit(const Bytes &key, const Bytes &m) {
    HMAC_UNIT *u = new_HMAC_UNIT();
    Bytes out(64);
    uint32_t len = 0;
    bool ok = u != nullptr && init_HMAC(u, KRY_SHA256, key.data(), static_cast<uint32_t>(key.size())) == 0 &&
              update_HMAC(u, m.data(), static_cast<uint32_t>(m.size())) == 0 && final_HMAC(u, out.data(), &len) == 0;
    free_HMAC_UNIT(u);
    if (!ok)
        return {};
    out.resize(len);
    return out;
}

Bytes cipher_unit(uint32_t id, const Bytes &key, const Bytes &iv, uint32_t direction, const Bytes &in) {
    BLOCK_CIPHER_UNIT *u = new_BLOCK_CIPHER_UNIT();
    Bytes out(in.size() + 32);
    uint32_t a = 0, b = 0;
    bool ok = u != nullptr && init_BlockCipher(u, id, key.data(), iv.data(), direction) == 0 &&
              update_BlockCipher(u, out.data(), &a, in.data(), static_cast<uint32_t>(in.size())) == 0 &&
              final_BlockCipher(u, out.data() + a, &b) == 0;
    free_BLOCK_CIPHER_UNIT(u);
    if (!ok)
        return {};
    out.resize(a + b);
    return out;
}

Bytes prng_unit(int t) {
    PRNG_UNIT *u = new_PRNG_UNIT();
    const Bytes xkey = key_for(t, 20), xseed = key_for(t + 100, 20);
    Bytes out(97);
    bool ok = u != nullptr &&
              init_PRNG(u, KRY_SHA1, xkey.data(), 20, xseed.data(), 20, nullptr) == 0 &&
              get_rand(u, out.data(), static_cast<uint32_t>(out.size())) == 0;
    free_PRNG_UNIT(u);
    return ok ? out : Bytes{};
}

struct ApiObjects {
    KRY_Context *ctx = nullptr;
    KRY_MD *md = nullptr;
    KRY_HMAC *hmac = nullptr;
    KRY_CIPHER *cipher = nullptr;
    KRY_SIGNVERIFY *sv = nullptr;
    bool ok = false;
    ApiObjects() {
        ok = KRY_Context_new(&ctx) == 0 && KRY_MD_new(ctx, &md) == 0 && KRY_HMAC_new(ctx, &hmac) == 0 &&
             KRY_CIPHER_new(ctx, &cipher) == 0 && KRY_SIGNVERIFY_new(ctx, &sv) == 0;
    }
    ~ApiObjects() {
        if (ctx == nullptr)
            return;
        if (sv != nullptr)
            KRY_SIGNVERIFY_free(ctx, sv);
        if (cipher != nullptr)
            KRY_CIPHER_free(ctx, cipher);
        if (hmac != nullptr)
            KRY_HMAC_free(ctx, hmac);
        if (md != nullptr)
            KRY_MD_free(ctx, md);
        KRY_Context_free(ctx);
    }
    ApiObjects(const ApiObjects &) = delete;
    ApiObjects &operator=(const ApiObjects &) = delete;
};

Bytes api_digest(ApiObjects &o, const Bytes &m) {
    Bytes out(64);
    uint32_t len = 0;
    if (KRY_DigestInit(o.ctx, o.md, KRY_MD_SHA256) != 0 ||
        KRY_DigestUpdate(o.ctx, o.md, m.data(), static_cast<uint32_t>(m.size())) != 0 ||
        KRY_DigestFinal(o.ctx, o.md, out.data(), static_cast<uint32_t>(out.size()), &len) != 0)
        return {};
    out.resize(len);
    return out;
}

Bytes api_hmac(ApiObjects &o, const Bytes &key, const Bytes &m) {
    Bytes out(64);
    uint32_t len = 0;
    if (KRY_HMACInit(o.ctx, o.hmac, key.data(), static_cast<uint32_t>(key.size()), KRY_MD_SHA256) != 0 ||
        KRY_HMACUpdate(o.ctx, o.hmac, m.data(), static_cast<uint32_t>(m.size())) != 0 ||
        KRY_HMACFinal(o.ctx, o.hmac, out.data(), static_cast<uint32_t>(out.size()), &len) != 0)
        return {};
    out.resize(len);
    return out;
}

// Enciphers (or deciphers) with SEED-CBC under the context's key "k".
Bytes api_cipher(ApiObjects &o, bool encrypt, const Bytes &iv, const Bytes &in) {
    Bytes out(in.size() + 32);
    uint32_t a = 0, b = 0;
    if (encrypt) {
        if (KRY_EncryptInit(o.ctx, o.cipher, KRY_CIPHER_SEED, KRY_MODE_BYTE_CBC, "k", iv.data()) != 0 ||
            KRY_EncryptUpdate(o.ctx, o.cipher, out.data(), static_cast<uint32_t>(out.size()), &a, in.data(),
                              static_cast<uint32_t>(in.size())) != 0 ||
            KRY_EncryptFinal(o.ctx, o.cipher, out.data() + a, static_cast<uint32_t>(out.size() - a), &b) != 0)
            return {};
    } else {
        if (KRY_DecryptInit(o.ctx, o.cipher, KRY_CIPHER_SEED, KRY_MODE_BYTE_CBC, "k", iv.data()) != 0 ||
            KRY_DecryptUpdate(o.ctx, o.cipher, out.data(), static_cast<uint32_t>(out.size()), &a, in.data(),
                              static_cast<uint32_t>(in.size())) != 0 ||
            KRY_DecryptFinal(o.ctx, o.cipher, out.data() + a, static_cast<uint32_t>(out.size() - a), &b) != 0)
            return {};
    }
    out.resize(a + b);
    return out;
}

// prng_unit's reference is made after the threads ran: init_PRNG feeds the
// entropy pool, which the threads must be the first to touch.
struct Reference {
    Bytes digest, hmac, aria, seed;
};

const Bytes kIv = Bytes(16, 0x3C);

Reference reference_for(int t) {
    const Bytes m = message_for(t);
    Reference r;
    r.digest = digest_unit(m);
    r.hmac = hmac_unit(key_for(t, 24), m);
    r.aria = cipher_unit(KRY_ARIA_128 | KRY_MODE_CBC, key_for(t, 16), kIv, KRY_ENCRYPT, m);
    r.seed = cipher_unit(KRY_SEED | KRY_MODE_CBC, key_for(t + 50, 16), kIv, KRY_ENCRYPT, m);
    return r;
}

// ---- randomised work, checked by verification ----

BIGINT *big(const std::string &hex) {
    const Bytes b = from_hex(hex);
    return binary_to_BIGINT(b.data(), static_cast<int32_t>(b.size()), nullptr);
}

// The FIPS 186-2 appendix 5 domain (tests/vectors/dsa.txt).
struct DsaDomain {
    std::string p, q, g;
};

DsaDomain dsa_domain() {
    for (const auto &b : read_vectors("dsa.txt"))
        if (b.count("P") != 0)
            return {b.at("P"), b.at("Q"), b.at("G")};
    return {};
}

// A fresh key pair for the domain, a signature over m, its verification,
// and the verification of a changed message.  Returns "" or what failed.
std::string dsa_round(const DsaDomain &d, const Bytes &m) {
    DSA *u = new_DSA();
    BIGINT *p = big(d.p), *q = big(d.q), *g = big(d.g);
    std::string err;
    // g stands in for y until the key pair is generated.
    if (u == nullptr || set_DSA_params(u, p, q, g, g, nullptr) != 0)
        err = "set_DSA_params";
    // Signing keys its generator with the minimal bytes of x, at least 20:
    // draw again in the rare case of a shorter x.
    for (int i = 0; err.empty() && i < 64; ++i) {
        if (generate_DSA_key_pair(u) != 0)
            err = "generate_DSA_key_pair";
        else if (get_BIGINT_bits_length(u->x) > 152)
            break;
    }
    uint8_t r[64], s[64];
    uint32_t rl = 0, sl = 0;
    if (err.empty() && (init_DSA(u, KRY_SHA1, KRY_DSA_SIGN, nullptr, 0) != 0 ||
                        update_DSA(u, m.data(), static_cast<uint32_t>(m.size())) != 0 ||
                        final_DSA(u, r, &rl, s, &sl) != 0))
        err = "DSA sign";
    // verify_DSA reports only its arithmetic; the comparison comes from the
    // library's internal entry (which also takes the signer's s of one byte
    // too many).
    auto verifies = [&](const Bytes &msg) {
        int match = -1;
        return init_DSA(u, KRY_SHA1, KRY_DSA_VERIFY, nullptr, 0) == 0 &&
               update_DSA(u, msg.data(), static_cast<uint32_t>(msg.size())) == 0 &&
               kry::dsa_verify_result(u, r, rl, s, sl, &match, true) == 0 && match == 1;
    };
    if (err.empty() && !verifies(m))
        err = "DSA verify";
    if (err.empty()) {
        Bytes changed = m;
        changed[0] ^= 1;
        if (verifies(changed))
            err = "DSA verified a changed message";
    }
    free_BIGINT(p);
    free_BIGINT(q);
    free_BIGINT(g);
    free_DSA(u);
    return err;
}

// A fresh 512-bit RSA key, an EMSA-PKCS1-v1_5 signature and its checks.
std::string rsa_round(const Bytes &m) {
    RSA *rsa = new_RSA();
    BIGINT *e = big("010001");
    std::string err;
    if (rsa == nullptr || generate_RSA_params(rsa, e, 512, 1) != 0)
        err = "generate_RSA_params";
    Bytes sig(128);
    uint32_t len = 0;
    if (err.empty() && (init_RSASSA(rsa, KRY_SHA256, KRY_RSA_EMSA_PKCS1_V15, 1) != 0 ||
                        update_RSASSA(rsa, m.data(), static_cast<uint32_t>(m.size())) != 0 ||
                        final_RSASSA(rsa, sig.data(), &len) != 0 || len != 64))
        err = "RSA sign";
    if (err.empty() && (init_RSASSA(rsa, KRY_SHA256, KRY_RSA_EMSA_PKCS1_V15, 0) != 0 ||
                        update_RSASSA(rsa, m.data(), static_cast<uint32_t>(m.size())) != 0 ||
                        final_RSASSA(rsa, sig.data(), &len) != 0))
        err = "RSA verify";
    if (err.empty()) {
        sig[5] ^= 0x40;
        if (init_RSASSA(rsa, KRY_SHA256, KRY_RSA_EMSA_PKCS1_V15, 0) != 0 ||
            update_RSASSA(rsa, m.data(), static_cast<uint32_t>(m.size())) != 0 ||
            final_RSASSA(rsa, sig.data(), &len) == 0)
            err = "RSA verified a changed signature";
    }
    free_BIGINT(e);
    free_RSA(rsa);
    return err;
}

// A key pair made by the context layer, signed and verified through it.
std::string api_sign_round(ApiObjects &o, const Bytes &m) {
    if (KRY_RSACreate(o.ctx, "rsa", 1024, 1) != 0)
        return "KRY_RSACreate";
    uint8_t sig[256];
    uint32_t len = 0;
    if (KRY_SignInit(o.ctx, o.sv, KRY_SIGN_SHA1, "rsa") != 0 ||
        KRY_SignUpdate(o.ctx, o.sv, m.data(), static_cast<uint32_t>(m.size())) != 0 ||
        KRY_SignFinal(o.ctx, o.sv, sig, sizeof sig, &len) != 0)
        return "KRY_Sign";
    if (KRY_VerifyInit(o.ctx, o.sv, KRY_SIGN_SHA1, "rsa") != 0 ||
        KRY_VerifyUpdate(o.ctx, o.sv, m.data(), static_cast<uint32_t>(m.size())) != 0 ||
        KRY_VerifyFinal(o.ctx, o.sv, sig, len) != 0)
        return "KRY_Verify";
    sig[len / 2] ^= 1;
    if (KRY_VerifyInit(o.ctx, o.sv, KRY_SIGN_SHA1, "rsa") != 0 ||
        KRY_VerifyUpdate(o.ctx, o.sv, m.data(), static_cast<uint32_t>(m.size())) != 0 ||
        KRY_VerifyFinal(o.ctx, o.sv, sig, len) != KRY_R_BAD_SIGNATURE)
        return "KRY_Verify accepted a changed signature";
    if (KRY_KeyPairDestory(o.ctx, "rsa") != 0)
        return "KRY_KeyPairDestory";
    return "";
}

bool differ(const Bytes &a, const Bytes &b) { return a != b; }

// Runs body(t) on kThreads threads released together; collects failures.
template <class Body>
std::vector<std::string> run_threads(Body body) {
    std::latch start(kThreads);
    std::vector<std::string> failures(kThreads);
    std::vector<std::thread> threads;
    for (int t = 0; t < kThreads; ++t)
        threads.emplace_back([&, t] {
            start.arrive_and_wait();
            failures[static_cast<size_t>(t)] = body(t);
        });
    for (auto &th : threads)
        th.join();
    return failures;
}

void expect_no_failures(const std::vector<std::string> &failures) {
    for (size_t t = 0; t < failures.size(); ++t)
        EXPECT_EQ(failures[t], "") << "thread " << t;
}

}  // namespace

// The entropy pool's one-time collection raced by eight first users, while
// the flags change under them; then every kind of work at once.
TEST(Threads, FirstUseOfThePoolFlagsAndAllWorkAtOnce) {
    std::vector<Reference> refs;
    for (int t = 0; t < kThreads; ++t) {
        refs.push_back(reference_for(t));
        ASSERT_EQ(refs.back().digest.size(), 32u);
        ASSERT_EQ(refs.back().hmac.size(), 32u);
        ASSERT_FALSE(refs.back().aria.empty());
        ASSERT_FALSE(refs.back().seed.empty());
    }
    const DsaDomain domain = dsa_domain();
    ASSERT_FALSE(domain.p.empty());
    // Nothing so far has touched the entropy pool.
    ASSERT_EQ(kry::prng::collection_runs(), 0u);

    std::vector<std::vector<Bytes>> prng_outputs(kThreads);
    auto failures = run_threads([&](int t) -> std::string {
        // First touch of the pool, from all threads at once.
        Bytes a(48), b(48);
        if (RAND_BYTES(a.data(), 48) != 0 || RAND_BYTES(b.data(), 48) != 0)
            return "RAND_BYTES";
        if (!differ(a, b))
            return "RAND_BYTES repeated itself";
        // Module flags and the context layer's words, raced.
        (void)IsProven();
        KRY_Initialize();
        (void)KRY_IsProven();
        ChangeNonProvenMode();
        KRY_ChangeNonProvenMode();
        if (t % 2 == 0)
            ChangeTestMode();
        if (IsProven() != 0 || KRY_IsProven() != 0)
            return "still proven";

        ApiObjects o;
        if (!o.ok)
            return "context objects";
        const Reference &ref = refs[static_cast<size_t>(t)];
        const Bytes m = message_for(t);
        for (int round = 0; round < 3; ++round) {
            Bytes r1(40), r2(40);
            if (KRY_RandomBytes(o.ctx, r1.data(), 40) != 0 || KRY_RandomBytes(o.ctx, r2.data(), 40) != 0 ||
                !differ(r1, r2))
                return "KRY_RandomBytes";
            prng_outputs[static_cast<size_t>(t)].push_back(prng_unit(t));
            if (digest_unit(m) != ref.digest)
                return "digest unit";
            if (hmac_unit(key_for(t, 24), m) != ref.hmac)
                return "HMAC unit";
            const Bytes aria = cipher_unit(KRY_ARIA_128 | KRY_MODE_CBC, key_for(t, 16), kIv, KRY_ENCRYPT, m);
            if (aria != ref.aria)
                return "ARIA unit";
            if (cipher_unit(KRY_ARIA_128 | KRY_MODE_CBC, key_for(t, 16), kIv, KRY_DECRYPT, aria) != m)
                return "ARIA unit decipher";
            if (api_digest(o, m) != ref.digest)
                return "KRY_Digest";
            if (api_hmac(o, key_for(t, 24), m) != ref.hmac)
                return "KRY_HMAC";
            const Bytes seed_key = key_for(t + 50, 16);
            if (round == 0 && KRY_SymKeyImport(o.ctx, "k", seed_key.data(), 16) != 0)
                return "KRY_SymKeyImport";
            const Bytes c = api_cipher(o, true, kIv, m);
            if (c != ref.seed)
                return "KRY_Encrypt";
            if (api_cipher(o, false, kIv, c) != m)
                return "KRY_Decrypt";
        }
        if (std::string e = dsa_round(domain, m); !e.empty())
            return e;
        if (std::string e = rsa_round(m); !e.empty())
            return e;
        return api_sign_round(o, m);
    });
    expect_no_failures(failures);
    // Eight first users, one collection of the platform readings.
    EXPECT_EQ(kry::prng::collection_runs(), 1u);
    for (int t = 0; t < kThreads; ++t) {
        const Bytes ref = prng_unit(t);
        ASSERT_EQ(ref.size(), 97u);
        ASSERT_EQ(prng_outputs[static_cast<size_t>(t)].size(), 3u);
        for (const Bytes &out : prng_outputs[static_cast<size_t>(t)])
            EXPECT_EQ(out, ref) << "PRNG unit of thread " << t;
    }
    EXPECT_EQ(IsProven(), 0);
    EXPECT_EQ(KRY_IsProven(), 0u);
}

// One thread runs the self-tests again and again while seven others use
// their contexts: they see either success or "self-test running", never
// anything else, and all calls succeed once the self-tests are over.  The
// self-tests stop at their HMAC step: refused in proven mode (the state of
// a fresh process), a failed comparison outside it.
TEST(Threads, SelfTestLockWhileOthersWork) {
    ASSERT_EQ(KRY_Initialize(), 0u);
    const uint32_t expected = KRY_IsProven() == 1 ? KRY_R_HMAC_INIT : KRY_R_SELFTEST_KAT;
    std::atomic<bool> done{false};
    auto failures = run_threads([&](int t) -> std::string {
        if (t == 0) {
            std::string err;
            for (int i = 0; i < 40 && err.empty(); ++i)
                if (const uint32_t r = KRY_SelfTests(nullptr); r != expected)
                    err = "KRY_SelfTests " + std::to_string(r);
            done.store(true);
            return err;
        }
        KRY_Context *ctx = nullptr;
        uint32_t made = 0;
        while ((made = KRY_Context_new(&ctx)) == KRY_R_SELFTEST_RUNNING)
            std::this_thread::yield();
        if (made != 0 || ctx == nullptr)
            return "KRY_Context_new " + std::to_string(made);
        const Bytes m = message_for(t);
        std::string err;
        uint8_t buf[32];
        while (err.empty() && !done.load()) {
            const uint32_t r = KRY_RandomBytes(ctx, buf, sizeof buf);
            if (r != 0 && r != KRY_R_SELFTEST_RUNNING)
                err = "KRY_RandomBytes " + std::to_string(r);
            if (digest_unit(m).size() != 32)
                err = "digest unit";
        }
        if (err.empty() && KRY_RandomBytes(ctx, buf, sizeof buf) != 0)
            err = "KRY_RandomBytes after the self-tests";
        uint32_t freed = 0;
        while ((freed = KRY_Context_free(ctx)) == KRY_R_SELFTEST_RUNNING)
            std::this_thread::yield();
        if (err.empty() && freed != 0)
            err = "KRY_Context_free " + std::to_string(freed);
        return err;
    });
    expect_no_failures(failures);
}
