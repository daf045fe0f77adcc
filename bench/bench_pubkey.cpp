// Public-key signatures of kry next to OpenSSL (EVP), in one process.
//
// Cases, each a benchmark "LABEL/kry" and, where OpenSSL has the algorithm,
// "LABEL/OpenSSL":
//
// - RSA-2048 and RSA-3072 sign and verify: RSASSA-PKCS1-v1_5 with SHA-256,
//   signing with the CRT key; e = 65537.
// - RSA-2048 keygen: one key generation per run, e = 65537, timed as the
//   median of 31 single-run repetitions.
// - DSA-1024/160 sign and verify with SHA-1.
// - KCDSA-1024/160 and KCDSA-2048/224 sign and verify (HAS-160): kry alone.
//
// One iteration signs or verifies one 64-byte message from scratch: kry's
// init, update and final on a unit whose key was set once; OpenSSL's
// EVP_DigestSignInit / EVP_DigestSign (or the Verify pair) on an EVP_PKEY
// and an EVP_MD_CTX kept for the run.
//
// The optional peers (libgcrypt, nettle, Crypto++, Botan; peers_extra.h) run
// the RSA and DSA cases too, keys loaded once: "RSA-2048 sign/nettle", ...
// Their RSA signatures must equal kry's byte for byte and they must accept
// kry's DSA signatures.
//
// The keys are generated once at start-up with OpenSSL and loaded into kry.
// Before timing, each side's signature is checked on the other side (see
// check_rsa and check_dsa); a failure is reported on stderr, flagged in the
// table and makes the exit status 1.  The table gives operations per second
// (from CPU time, median when repeated), the best peer and the ratio
// kry/peer of the rates (above 1: kry is faster).

#include <kry.h>

#include "peers_extra.h"
#include "peers_pk.h"
#include "ratio_report.h"

#include <benchmark/benchmark.h>

#include <cstdint>
#include <cstdio>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace {

using Bytes = std::vector<uint8_t>;

constexpr const char *kDefaultMinTime = "--benchmark_min_time=1";
constexpr int kKeygenRepetitions = 31;

const Bytes &message() {
    static const Bytes m = [] {
        Bytes b(64);
        for (size_t i = 0; i < b.size(); ++i) b[i] = static_cast<uint8_t>(i * 7 + 1);
        return b;
    }();
    return m;
}

// BIGINT built from big-endian bytes, freed with its owner.
struct BigDeleter {
    void operator()(BIGINT *b) const { free_BIGINT(b); }
};
using Big = std::unique_ptr<BIGINT, BigDeleter>;

Big big(const Bytes &b) { return Big(binary_to_BIGINT(b.data(), static_cast<int32_t>(b.size()), nullptr)); }

Bytes bytes_of(const BIGINT *b) {
    if (b == nullptr) return {};
    Bytes out(static_cast<size_t>(4 * b->length + 4));
    const int32_t n = BIGINT_to_binary_unsigned(b, out.data());
    out.resize(n > 0 ? static_cast<size_t>(n) : 0);
    return out;
}

// ---------------------------------------------------------------- RSA

struct RsaCase {
    std::string name;  // "RSA-2048"
    int bits = 0;
    peers::Key *peer = nullptr;
    peers::RsaComponents key;
    Bytes peer_signature;  // OpenSSL's signature of message(), for verification
    bool agrees = false;
    std::vector<std::pair<const peers::Library *, bool>> extras;  // optional peers, agreeing
};

// kry units holding the case's private (CRT) key and public key.
class KryRsa {
public:
    explicit KryRsa(const peers::RsaComponents &k) : priv_(new_RSA()), pub_(new_RSA()) {
        Big n = big(k.n), e = big(k.e), d = big(k.d), p = big(k.p), q = big(k.q), dp = big(k.dp),
            dq = big(k.dq), qinv = big(k.qinv);
        ok_ = priv_ && pub_ && n && e && d && p && q && dp && dq && qinv &&
              set_RSA_params(priv_, n.get(), e.get(), d.get(), p.get(), q.get(), dp.get(), dq.get(),
                             qinv.get()) == 0 &&
              set_RSA_public_parmas(pub_, n.get(), e.get()) == 0;
    }
    ~KryRsa() {
        free_RSA(priv_);
        free_RSA(pub_);
    }
    KryRsa(const KryRsa &) = delete;
    KryRsa &operator=(const KryRsa &) = delete;

    bool ok() const { return ok_; }

    bool sign(Bytes *signature) {
        signature->resize(get_RSA_length(priv_));
        uint32_t length = static_cast<uint32_t>(signature->size());
        const Bytes &m = message();
        if (init_RSASSA(priv_, KRY_SHA256, KRY_RSA_EMSA_PKCS1_V15, 1) != 0 ||
            update_RSASSA(priv_, m.data(), static_cast<uint32_t>(m.size())) != 0 ||
            final_RSASSA(priv_, signature->data(), &length) != 0)
            return false;
        signature->resize(length);
        return true;
    }

    bool verify(const Bytes &signature) {
        uint32_t length = static_cast<uint32_t>(signature.size());
        const Bytes &m = message();
        return init_RSASSA(pub_, KRY_SHA256, KRY_RSA_EMSA_PKCS1_V15, 0) == 0 &&
               update_RSASSA(pub_, m.data(), static_cast<uint32_t>(m.size())) == 0 &&
               final_RSASSA(pub_, const_cast<uint8_t *>(signature.data()), &length) == 0;
    }

private:
    RSA *priv_, *pub_;
    bool ok_ = false;
};

// PKCS #1 v1.5 signatures are deterministic: both sides must produce the
// same bytes, each must accept the other's, and kry must refuse a signature
// with one bit changed.
bool check_rsa(RsaCase &c) {
    KryRsa kry(c.key);
    Bytes ours;
    if (!kry.ok() || !kry.sign(&ours) || !peers::rsa_sign(c.peer, message(), &c.peer_signature)) {
        std::fprintf(stderr, "%s: signing failed\n", c.name.c_str());
        return false;
    }
    bool good = true;
    if (ours != c.peer_signature) {
        std::fprintf(stderr, "%s: kry and OpenSSL signatures differ\n", c.name.c_str());
        good = false;
    }
    if (!peers::rsa_verify(c.peer, message(), ours)) {
        std::fprintf(stderr, "%s: OpenSSL rejects kry's signature\n", c.name.c_str());
        good = false;
    }
    if (!kry.verify(c.peer_signature)) {
        std::fprintf(stderr, "%s: kry rejects OpenSSL's signature\n", c.name.c_str());
        good = false;
    }
    Bytes bad = c.peer_signature;
    bad[bad.size() / 2] ^= 0x01;
    if (kry.verify(bad)) {
        std::fprintf(stderr, "%s: kry accepts a corrupted signature\n", c.name.c_str());
        good = false;
    }
    return good;
}

void bench_rsa_sign_kry(benchmark::State &state, const RsaCase *c) {
    KryRsa kry(c->key);
    Bytes signature;
    if (!kry.ok()) {
        state.SkipWithError("set-up failed");
        return;
    }
    for (auto _ : state) {
        if (!kry.sign(&signature)) {
            state.SkipWithError("sign failed");
            return;
        }
    }
    state.SetBytesProcessed(state.iterations());  // one "byte" per operation
}

void bench_rsa_verify_kry(benchmark::State &state, const RsaCase *c) {
    KryRsa kry(c->key);
    if (!kry.ok()) {
        state.SkipWithError("set-up failed");
        return;
    }
    for (auto _ : state) {
        if (!kry.verify(c->peer_signature)) {
            state.SkipWithError("verify failed");
            return;
        }
    }
    state.SetBytesProcessed(state.iterations());
}

void bench_rsa_sign_openssl(benchmark::State &state, const RsaCase *c) {
    Bytes signature;
    for (auto _ : state) {
        if (!peers::rsa_sign(c->peer, message(), &signature)) {
            state.SkipWithError("EVP_DigestSign failed");
            return;
        }
    }
    state.SetBytesProcessed(state.iterations());
}

void bench_rsa_verify_openssl(benchmark::State &state, const RsaCase *c) {
    for (auto _ : state) {
        if (!peers::rsa_verify(c->peer, message(), c->peer_signature)) {
            state.SkipWithError("EVP_DigestVerify failed");
            return;
        }
    }
    state.SetBytesProcessed(state.iterations());
}

// A key from kry's generate_RSA_params must have a modulus of the size asked
// for and pass OpenSSL's key check.
bool check_rsa_keygen(int bits) {
    const uint8_t f4[] = {0x01, 0x00, 0x01};
    Big e(binary_to_BIGINT(f4, 3, nullptr));
    RSA *rsa = new_RSA();
    bool good = rsa != nullptr && e && generate_RSA_params(rsa, e.get(), bits, 1) == 0;
    if (good) {
        peers::RsaComponents k{bytes_of(rsa->n), bytes_of(rsa->e), bytes_of(rsa->d),  bytes_of(rsa->p),
                               bytes_of(rsa->q), bytes_of(rsa->dP), bytes_of(rsa->dQ), bytes_of(rsa->qInv)};
        good = k.n.size() * 8 == static_cast<size_t>(bits) && peers::rsa_key_valid(k);
    }
    free_RSA(rsa);
    if (!good) std::fprintf(stderr, "RSA-%d keygen: kry's key fails OpenSSL's key check\n", bits);
    return good;
}

void bench_rsa_keygen_kry(benchmark::State &state, int bits) {
    const uint8_t f4[] = {0x01, 0x00, 0x01};
    Big e(binary_to_BIGINT(f4, 3, nullptr));
    for (auto _ : state) {
        RSA *rsa = new_RSA();
        const bool ok = rsa != nullptr && e && generate_RSA_params(rsa, e.get(), bits, 1) == 0;
        free_RSA(rsa);
        if (!ok) {
            state.SkipWithError("generate_RSA_params failed");
            return;
        }
    }
    state.SetBytesProcessed(state.iterations());
}

void bench_rsa_keygen_openssl(benchmark::State &state, int bits) {
    for (auto _ : state) {
        if (!peers::rsa_keygen(bits)) {
            state.SkipWithError("EVP_PKEY_keygen failed");
            return;
        }
    }
    state.SetBytesProcessed(state.iterations());
}

// ---------------------------------------------------------------- DSA

struct DsaCase {
    std::string name;  // "DSA-1024/160"
    peers::Key *peer = nullptr;
    peers::DsaComponents key;
    Bytes peer_der;          // OpenSSL's signature of message()
    Bytes peer_r, peer_s;    // the same as (r, s)
    bool agrees = false;
    std::vector<std::pair<const peers::Library *, bool>> extras;  // optional peers, agreeing
};

class KryDsa {
public:
    explicit KryDsa(const peers::DsaComponents &k) : priv_(new_DSA()), pub_(new_DSA()) {
        Big p = big(k.p), q = big(k.q), g = big(k.g), x = big(k.x), y = big(k.y);
        ok_ = priv_ && pub_ && p && q && g && x && y &&
              set_DSA_params(priv_, p.get(), q.get(), g.get(), y.get(), x.get()) == 0 &&
              set_DSA_params(pub_, p.get(), q.get(), g.get(), y.get(), nullptr) == 0;
    }
    ~KryDsa() {
        free_DSA(priv_);
        free_DSA(pub_);
    }
    KryDsa(const KryDsa &) = delete;
    KryDsa &operator=(const KryDsa &) = delete;

    bool ok() const { return ok_; }

    // r and s as written by final_DSA; s_length may count one byte beyond
    // the minimal s (the unit's rule for odd lengths).
    bool sign(Bytes *r, Bytes *s) {
        r->assign(64, 0);
        s->assign(64, 0);
        uint32_t r_length = 64, s_length = 64;
        const Bytes &m = message();
        if (init_DSA(priv_, KRY_SHA1, KRY_DSA_SIGN, nullptr, 0) != 0 ||
            update_DSA(priv_, m.data(), static_cast<uint32_t>(m.size())) != 0 ||
            final_DSA(priv_, r->data(), &r_length, s->data(), &s_length) != 0 || r_length > 64 || s_length > 64)
            return false;
        r->resize(r_length);
        s->resize(s_length);
        return true;
    }

    bool verify(const Bytes &r, const Bytes &s) {
        uint32_t r_length = static_cast<uint32_t>(r.size()), s_length = static_cast<uint32_t>(s.size());
        const Bytes &m = message();
        return init_DSA(pub_, KRY_SHA1, KRY_DSA_VERIFY, nullptr, 0) == 0 &&
               update_DSA(pub_, m.data(), static_cast<uint32_t>(m.size())) == 0 &&
               final_DSA(pub_, const_cast<uint8_t *>(r.data()), &r_length, const_cast<uint8_t *>(s.data()),
                         &s_length) == 0;
    }

private:
    DSA *priv_, *pub_;
    bool ok_ = false;
};

// OpenSSL must accept kry's signatures (several, since each is random; when
// kry's s length was padded by its odd-length rule the minimal s is the one
// byte shorter) and kry's verification must complete on OpenSSL's.  kry's
// verify_DSA returns 0 whether or not the signature matches, so only the
// first direction is a real check.
bool check_dsa(DsaCase &c) {
    KryDsa kry(c.key);
    if (!kry.ok() || !peers::dsa_sign(c.peer, message(), &c.peer_der) ||
        !peers::dsa_der_to_rs(c.peer_der, &c.peer_r, &c.peer_s)) {
        std::fprintf(stderr, "%s: set-up failed\n", c.name.c_str());
        return false;
    }
    bool good = true;
    for (int i = 0; i < 8 && good; ++i) {
        Bytes r, s, der;
        if (!kry.sign(&r, &s)) {
            std::fprintf(stderr, "%s: kry's sign_DSA failed\n", c.name.c_str());
            return false;
        }
        bool accepted = peers::dsa_rs_to_der(r, s, &der) && peers::dsa_verify(c.peer, message(), der);
        if (!accepted && s.size() % 2 == 0 && s.size() > 1) {
            s.pop_back();
            accepted = peers::dsa_rs_to_der(r, s, &der) && peers::dsa_verify(c.peer, message(), der);
        }
        if (!accepted) {
            std::fprintf(stderr, "%s: OpenSSL rejects kry's signature\n", c.name.c_str());
            good = false;
        }
    }
    if (!kry.verify(c.peer_r, c.peer_s)) {
        std::fprintf(stderr, "%s: kry's verify_DSA fails on OpenSSL's signature\n", c.name.c_str());
        good = false;
    }
    return good;
}

void bench_dsa_sign_kry(benchmark::State &state, const DsaCase *c) {
    KryDsa kry(c->key);
    Bytes r, s;
    if (!kry.ok()) {
        state.SkipWithError("set-up failed");
        return;
    }
    for (auto _ : state) {
        if (!kry.sign(&r, &s)) {
            state.SkipWithError("sign failed");
            return;
        }
    }
    state.SetBytesProcessed(state.iterations());
}

void bench_dsa_verify_kry(benchmark::State &state, const DsaCase *c) {
    KryDsa kry(c->key);
    if (!kry.ok()) {
        state.SkipWithError("set-up failed");
        return;
    }
    for (auto _ : state) {
        if (!kry.verify(c->peer_r, c->peer_s)) {
            state.SkipWithError("verify failed");
            return;
        }
    }
    state.SetBytesProcessed(state.iterations());
}

void bench_dsa_sign_openssl(benchmark::State &state, const DsaCase *c) {
    Bytes der;
    for (auto _ : state) {
        if (!peers::dsa_sign(c->peer, message(), &der)) {
            state.SkipWithError("EVP_DigestSign failed");
            return;
        }
    }
    state.SetBytesProcessed(state.iterations());
}

void bench_dsa_verify_openssl(benchmark::State &state, const DsaCase *c) {
    for (auto _ : state) {
        if (!peers::dsa_verify(c->peer, message(), c->peer_der)) {
            state.SkipWithError("EVP_DigestVerify failed");
            return;
        }
    }
    state.SetBytesProcessed(state.iterations());
}

// ---------------------------------------------------------------- KCDSA

// KCDSA's arithmetic is that of DSA over a prime-order subgroup, so DSA
// domain parameters of the same sizes (from OpenSSL) serve; the private key
// is OpenSSL's DSA x, and kry derives y = g^(x^-1 mod q) mod p from it.
struct KcdsaCase {
    std::string name;  // "KCDSA-1024/160"
    peers::DsaComponents params;
    Bytes r, s;        // a signature of message() made by kry
    bool agrees = false;
};

class KryKcdsa {
public:
    explicit KryKcdsa(const peers::DsaComponents &k) : priv_(new_KCDSA()), pub_(new_KCDSA()) {
        Big p = big(k.p), q = big(k.q), g = big(k.g), x = big(k.x);
        ok_ = priv_ && pub_ && p && q && g && x &&
              set_KCDSA_params(priv_, p.get(), q.get(), g.get(), x.get(), nullptr) == 0 && priv_->y != nullptr;
        ok_ = ok_ && set_KCDSA_params(pub_, p.get(), q.get(), g.get(), nullptr, priv_->y) == 0;
    }
    ~KryKcdsa() {
        free_KCDSA(priv_);
        free_KCDSA(pub_);
    }
    KryKcdsa(const KryKcdsa &) = delete;
    KryKcdsa &operator=(const KryKcdsa &) = delete;

    bool ok() const { return ok_; }

    bool sign(Bytes *r, Bytes *s) {
        r->assign(64, 0);
        s->assign(64, 0);
        uint32_t r_length = 64, s_length = 64;
        const Bytes &m = message();
        if (init_KCDSA(priv_, 1) != 0 || update_KCDSA(priv_, m.data(), static_cast<uint32_t>(m.size())) != 0 ||
            final_KCDSA(priv_, r->data(), &r_length, s->data(), &s_length) != 0 || r_length > 64 || s_length > 64)
            return false;
        r->resize(r_length);
        s->resize(s_length);
        return true;
    }

    bool verify(const Bytes &r, const Bytes &s) {
        Bytes rr = r, ss = s;
        uint32_t r_length = static_cast<uint32_t>(rr.size()), s_length = static_cast<uint32_t>(ss.size());
        const Bytes &m = message();
        return init_KCDSA(pub_, 0) == 0 && update_KCDSA(pub_, m.data(), static_cast<uint32_t>(m.size())) == 0 &&
               final_KCDSA(pub_, rr.data(), &r_length, ss.data(), &s_length) == 0;
    }

private:
    KCDSA *priv_, *pub_;
    bool ok_ = false;
};

// No peer: kry must accept its own signature and refuse it with a bit of s
// changed.
bool check_kcdsa(KcdsaCase &c) {
    KryKcdsa kry(c.params);
    if (!kry.ok() || !kry.sign(&c.r, &c.s)) {
        std::fprintf(stderr, "%s: set-up or signing failed\n", c.name.c_str());
        return false;
    }
    bool good = true;
    if (!kry.verify(c.r, c.s)) {
        std::fprintf(stderr, "%s: kry rejects its own signature\n", c.name.c_str());
        good = false;
    }
    Bytes bad = c.s;
    bad.back() ^= 0x01;
    if (kry.verify(c.r, bad)) {
        std::fprintf(stderr, "%s: kry accepts a corrupted signature\n", c.name.c_str());
        good = false;
    }
    return good;
}

void bench_kcdsa_sign(benchmark::State &state, const KcdsaCase *c) {
    KryKcdsa kry(c->params);
    Bytes r, s;
    if (!kry.ok()) {
        state.SkipWithError("set-up failed");
        return;
    }
    for (auto _ : state) {
        if (!kry.sign(&r, &s)) {
            state.SkipWithError("sign failed");
            return;
        }
    }
    state.SetBytesProcessed(state.iterations());
}

void bench_kcdsa_verify(benchmark::State &state, const KcdsaCase *c) {
    KryKcdsa kry(c->params);
    if (!kry.ok()) {
        state.SkipWithError("set-up failed");
        return;
    }
    for (auto _ : state) {
        if (!kry.verify(c->r, c->s)) {
            state.SkipWithError("verify failed");
            return;
        }
    }
    state.SetBytesProcessed(state.iterations());
}

// ---------------------------------------------------------------- optional peers

using SignMaker = std::function<peers::SignOp *()>;

// An optional peer's RSA signature must equal kry's, and the peer must
// accept kry's.
bool check_rsa_extra(const RsaCase &c, const peers::Library &lib) {
    std::unique_ptr<peers::SignOp> op(lib.rsa(c.key));
    KryRsa kry(c.key);
    Bytes ours, theirs;
    bool good = op && kry.ok() && kry.sign(&ours) && op->sign(message(), &theirs);
    good = good && theirs == ours && op->verify(message(), ours);
    if (!good) std::fprintf(stderr, "%s: %s's signature differs from kry's or is refused\n", c.name.c_str(), lib.name);
    return good;
}

// r || s, each as long as q.
Bytes dsa_joined(const Bytes &r, const Bytes &s, std::size_t q_bytes) {
    Bytes a = peers::pad_left(r, q_bytes), b = peers::pad_left(s, q_bytes);
    if (a.empty() || b.empty()) return {};
    a.insert(a.end(), b.begin(), b.end());
    return a;
}

// An optional peer must accept kry's DSA signatures (see check_dsa) and its
// own.
bool check_dsa_extra(const DsaCase &c, const peers::Library &lib) {
    std::unique_ptr<peers::SignOp> op(lib.dsa(c.key));
    KryDsa kry(c.key);
    const std::size_t q_bytes = peers::strip_zeros(c.key.q).size();
    bool good = op && kry.ok();
    for (int i = 0; i < 8 && good; ++i) {
        Bytes r, s;
        good = kry.sign(&r, &s);
        if (!good) break;
        bool accepted = op->verify(message(), dsa_joined(r, s, q_bytes));
        if (!accepted && s.size() % 2 == 0 && s.size() > 1) {
            s.pop_back();
            accepted = op->verify(message(), dsa_joined(r, s, q_bytes));
        }
        good = accepted;
    }
    Bytes theirs;
    good = good && op->sign(message(), &theirs) && op->verify(message(), theirs);
    if (!good) std::fprintf(stderr, "%s: %s refuses kry's signature or fails\n", c.name.c_str(), lib.name);
    return good;
}

void bench_sign_extra(benchmark::State &state, SignMaker make) {
    std::unique_ptr<peers::SignOp> op(make());
    Bytes signature;
    if (!op) {
        state.SkipWithError("set-up failed");
        return;
    }
    for (auto _ : state) {
        if (!op->sign(message(), &signature)) {
            state.SkipWithError("sign failed");
            return;
        }
    }
    state.SetBytesProcessed(state.iterations());
}

void bench_verify_extra(benchmark::State &state, SignMaker make) {
    std::unique_ptr<peers::SignOp> op(make());
    Bytes signature;
    if (!op || !op->sign(message(), &signature)) {
        state.SkipWithError("set-up failed");
        return;
    }
    for (auto _ : state) {
        if (!op->verify(message(), signature)) {
            state.SkipWithError("verify failed");
            return;
        }
    }
    state.SetBytesProcessed(state.iterations());
}

void bench_keygen_extra(benchmark::State &state, const peers::Library *lib, int bits) {
    for (auto _ : state) {
        if (!lib->rsa_keygen(bits)) {
            state.SkipWithError("key generation failed");
            return;
        }
    }
    state.SetBytesProcessed(state.iterations());
}

// ---------------------------------------------------------------- table

}  // namespace

int main(int argc, char **argv) {
    std::FILE *table = ratio_report::initialize(argc, argv, kDefaultMinTime);
    if (table == nullptr) return 2;

    // DSA (and KCDSA, HAS-160) are refused in proven mode.
    ChangeNonProvenMode();

    static std::vector<RsaCase> rsa(2);
    static std::vector<DsaCase> dsa(1);
    static std::vector<KcdsaCase> kcdsa(2);
    rsa[0].name = "RSA-2048";
    rsa[0].bits = 2048;
    rsa[1].name = "RSA-3072";
    rsa[1].bits = 3072;
    dsa[0].name = "DSA-1024/160";
    kcdsa[0].name = "KCDSA-1024/160";
    kcdsa[1].name = "KCDSA-2048/224";

    bool all_good = true;
    for (RsaCase &c : rsa) {
        c.peer = peers::generate_rsa(c.bits, &c.key);
        if (c.peer == nullptr) std::fprintf(stderr, "%s: OpenSSL key generation failed\n", c.name.c_str());
        c.agrees = c.peer != nullptr && check_rsa(c);
        all_good = all_good && c.agrees;
    }
    const std::vector<const peers::Library *> libraries = peers::libraries();
    for (RsaCase &c : rsa) {
        if (c.peer == nullptr) continue;
        for (const peers::Library *lib : libraries) {
            if (lib->rsa == nullptr) continue;
            const bool ok = check_rsa_extra(c, *lib);
            all_good = all_good && ok;
            c.extras.emplace_back(lib, ok);
        }
    }
    const bool keygen_good = check_rsa_keygen(2048);
    all_good = all_good && keygen_good;
    dsa[0].peer = peers::generate_dsa(1024, 160, &dsa[0].key);
    if (dsa[0].peer == nullptr) std::fprintf(stderr, "DSA-1024/160: OpenSSL key generation failed\n");
    dsa[0].agrees = dsa[0].peer != nullptr && check_dsa(dsa[0]);
    all_good = all_good && dsa[0].agrees;
    if (dsa[0].peer != nullptr) {
        for (const peers::Library *lib : libraries) {
            if (lib->dsa == nullptr) continue;
            const bool ok = check_dsa_extra(dsa[0], *lib);
            all_good = all_good && ok;
            dsa[0].extras.emplace_back(lib, ok);
        }
    }

    kcdsa[0].params = dsa[0].key;
    peers::Key *dsa2048 = peers::generate_dsa(2048, 224, &kcdsa[1].params);
    if (dsa2048 == nullptr) std::fprintf(stderr, "2048/224 parameters: OpenSSL generation failed\n");
    for (KcdsaCase &c : kcdsa) {
        c.agrees = !c.params.p.empty() && check_kcdsa(c);
        all_good = all_good && c.agrees;
    }
    peers::free_key(dsa2048);

    std::vector<ratio_report::Row> rows;
    auto add_row = [&rows](const std::string &label, bool with_openssl, bool agrees) {
        ratio_report::Row row;
        row.label = label;
        row.kry_benchmark = label + "/kry";
        // A failed check may be on either side (see check_rsa, check_dsa):
        // the row is flagged as a whole.
        if (with_openssl) row.add_peer(label + "/OpenSSL", "OpenSSL");
        if (!agrees) row.note = " (check failed!)";
        rows.push_back(row);
        return &rows.back();
    };
    for (const RsaCase &c : rsa) {
        if (c.peer == nullptr) continue;
        benchmark::RegisterBenchmark((c.name + " sign/kry").c_str(), bench_rsa_sign_kry, &c);
        benchmark::RegisterBenchmark((c.name + " sign/OpenSSL").c_str(), bench_rsa_sign_openssl, &c);
        add_row(c.name + " sign", true, c.agrees);
        for (const auto &[lib, ok] : c.extras) {
            const peers::Library *l = lib;
            const peers::RsaComponents *key = &c.key;
            const std::string name = c.name + " sign/" + lib->name;
            benchmark::RegisterBenchmark(name.c_str(), bench_sign_extra, SignMaker([l, key] { return l->rsa(*key); }));
            rows.back().add_peer(name, lib->name, ok);
        }
        benchmark::RegisterBenchmark((c.name + " verify/kry").c_str(), bench_rsa_verify_kry, &c);
        benchmark::RegisterBenchmark((c.name + " verify/OpenSSL").c_str(), bench_rsa_verify_openssl, &c);
        add_row(c.name + " verify", true, c.agrees);
        for (const auto &[lib, ok] : c.extras) {
            const peers::Library *l = lib;
            const peers::RsaComponents *key = &c.key;
            const std::string name = c.name + " verify/" + lib->name;
            benchmark::RegisterBenchmark(name.c_str(), bench_verify_extra, SignMaker([l, key] { return l->rsa(*key); }));
            rows.back().add_peer(name, lib->name, ok);
        }
    }
    benchmark::RegisterBenchmark("RSA-2048 keygen/kry", bench_rsa_keygen_kry, 2048)
        ->Iterations(1)
        ->Repetitions(kKeygenRepetitions);
    benchmark::RegisterBenchmark("RSA-2048 keygen/OpenSSL", bench_rsa_keygen_openssl, 2048)
        ->Iterations(1)
        ->Repetitions(kKeygenRepetitions);
    add_row("RSA-2048 keygen", true, keygen_good);
    for (const peers::Library *lib : libraries) {
        if (lib->rsa_keygen == nullptr) continue;
        const std::string name = std::string("RSA-2048 keygen/") + lib->name;
        benchmark::RegisterBenchmark(name.c_str(), bench_keygen_extra, lib, 2048)
            ->Iterations(1)
            ->Repetitions(kKeygenRepetitions);
        rows.back().add_peer(name, lib->name);
    }
    for (const DsaCase &c : dsa) {
        if (c.peer == nullptr) continue;
        for (const char *op : {" sign", " verify"}) {
            const bool sign = op[1] == 's';
            benchmark::RegisterBenchmark((c.name + op + "/kry").c_str(), sign ? bench_dsa_sign_kry : bench_dsa_verify_kry, &c);
            benchmark::RegisterBenchmark((c.name + op + "/OpenSSL").c_str(),
                                         sign ? bench_dsa_sign_openssl : bench_dsa_verify_openssl, &c);
            add_row(c.name + op, true, c.agrees);
            for (const auto &[lib, ok] : c.extras) {
                const peers::Library *l = lib;
                const peers::DsaComponents *key = &c.key;
                const std::string name = c.name + op + "/" + lib->name;
                benchmark::RegisterBenchmark(name.c_str(), sign ? bench_sign_extra : bench_verify_extra,
                                             SignMaker([l, key] { return l->dsa(*key); }));
                rows.back().add_peer(name, lib->name, ok);
            }
        }
    }
    for (const KcdsaCase &c : kcdsa) {
        if (c.params.p.empty()) continue;
        benchmark::RegisterBenchmark((c.name + " sign/kry").c_str(), bench_kcdsa_sign, &c);
        benchmark::RegisterBenchmark((c.name + " verify/kry").c_str(), bench_kcdsa_verify, &c);
        add_row(c.name + " sign", false, c.agrees);
        add_row(c.name + " verify", false, c.agrees);
    }

    ratio_report::CollectingReporter reporter(benchmark::CreateDefaultDisplayReporter());
    benchmark::RunSpecifiedBenchmarks(&reporter);
    benchmark::Shutdown();
    ratio_report::print_table(table, reporter, rows, ratio_report::Unit::operations,
                              "Public-key operations: operations per second (CPU time; median of repetitions)");
    for (RsaCase &c : rsa) peers::free_key(c.peer);
    for (DsaCase &c : dsa) peers::free_key(c.peer);
    return all_good ? 0 : 1;
}
