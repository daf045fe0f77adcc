// kry speed: throughput of digests, HMAC, block ciphers (CBC and CTR) and
// RC4 over 16 KiB buffers, and operations per second of RSA-2048, DSA-1024
// and KCDSA signing and verification with fixed published keys.
#include "cli.h"
#include "kat_vectors.h"

#include <chrono>
#include <cmath>
#include <cstdlib>
#include <string>
#include <vector>

namespace kry_tool {
namespace {

using Bytes = std::vector<uint8_t>;
using Clock = std::chrono::steady_clock;
constexpr uint32_t kBuffer = 16384;
constexpr uint32_t kRefused = 0xFFFFFFFFu;


// Runs `step` (one operation, returning its error word) for about `seconds`;
// at least once.  Returns operations per second, or -1 with `rc` set when a
// call failed.
template <typename Step>
double measure(double seconds, Step step, uint32_t &rc) {
    rc = 0;
    const Clock::time_point start = Clock::now();
    uint64_t count = 0;
    double elapsed = 0;
    do {
        rc = step();
        if (rc != 0) return -1;
        ++count;
        elapsed = std::chrono::duration<double>(Clock::now() - start).count();
    } while (elapsed < seconds);
    return static_cast<double>(count) / elapsed;
}

enum class Kind { Digest, Hmac, Cipher, Rc4, Rsa, Dsa, Kcdsa };

struct SpeedAlg {
    const char *name;
    Kind kind;
    uint32_t id;  // digest or cipher identifier (cipher: with mode and no-padding bit)
    uint32_t key_length;
};

constexpr uint32_t kCbc = KRY_MODE_CBC | KRY_NO_PADDING;
constexpr uint32_t kCtr = KRY_MODE_CTR | KRY_NO_PADDING;

constexpr SpeedAlg kAlgs[] = {
    {"sha1", Kind::Digest, KRY_SHA1, 0},
    {"sha224", Kind::Digest, KRY_SHA224, 0},
    {"sha256", Kind::Digest, KRY_SHA256, 0},
    {"sha384", Kind::Digest, KRY_SHA384, 0},
    {"sha512", Kind::Digest, KRY_SHA512, 0},
    {"md5", Kind::Digest, KRY_MD5, 0},
    {"has160", Kind::Digest, KRY_HAS160, 0},
    {"mdc2", Kind::Digest, KRY_MDC2, 0},
    {"hmac-sha1", Kind::Hmac, KRY_SHA1, 20},
    {"hmac-sha256", Kind::Hmac, KRY_SHA256, 32},
    {"hmac-sha512", Kind::Hmac, KRY_SHA512, 64},
    {"hmac-md5", Kind::Hmac, KRY_MD5, 16},
    {"hmac-has160", Kind::Hmac, KRY_HAS160, 20},
    {"aes-128-cbc", Kind::Cipher, KRY_AES_128 | kCbc, 16},
    {"aes-128-ctr", Kind::Cipher, KRY_AES_128 | kCtr, 16},
    {"aes-256-cbc", Kind::Cipher, KRY_AES_256 | kCbc, 32},
    {"aes-256-ctr", Kind::Cipher, KRY_AES_256 | kCtr, 32},
    {"aria-128-cbc", Kind::Cipher, KRY_ARIA_128 | kCbc, 16},
    {"aria-128-ctr", Kind::Cipher, KRY_ARIA_128 | kCtr, 16},
    {"aria-256-cbc", Kind::Cipher, KRY_ARIA_256 | kCbc, 32},
    {"aria-256-ctr", Kind::Cipher, KRY_ARIA_256 | kCtr, 32},
    {"seed-cbc", Kind::Cipher, KRY_SEED | kCbc, 16},
    {"seed-ctr", Kind::Cipher, KRY_SEED | kCtr, 16},
    {"des-cbc", Kind::Cipher, KRY_DES | kCbc, 8},
    {"des-ctr", Kind::Cipher, KRY_DES | kCtr, 8},
    {"des-ede3-cbc", Kind::Cipher, KRY_DES_EDE3 | kCbc, 24},
    {"des-ede3-ctr", Kind::Cipher, KRY_DES_EDE3 | kCtr, 24},
    {"rc5-cbc", Kind::Cipher, KRY_RC5 | kCbc, 16},
    {"rc5-ctr", Kind::Cipher, KRY_RC5 | kCtr, 16},
    {"blowfish-cbc", Kind::Cipher, KRY_BLOWFISH | kCbc, 16},
    {"blowfish-ctr", Kind::Cipher, KRY_BLOWFISH | kCtr, 16},
    {"rc2-cbc", Kind::Cipher, KRY_RC2 | kCbc, 8},
    {"rc4", Kind::Rc4, 0, 16},
    {"rsa-2048", Kind::Rsa, 0, 0},
    {"dsa-1024", Kind::Dsa, 0, 0},
    {"kcdsa", Kind::Kcdsa, 0, 0},
};

std::string alg_names() {
    std::string names;
    for (const SpeedAlg &a : kAlgs) names += (names.empty() ? "" : " ") + std::string(a.name);
    return names;
}

// A line "NAME   123.45 MB/s" or the reason the measurement failed.
bool report_rate(const SpeedAlg &a, double per_second, uint32_t rc) {
    if (per_second < 0) {
        if (rc == kRefused)
            std::printf("%-14s refused (proven mode)\n", a.name);
        else
            std::printf("%-14s failed: %s\n", a.name, toolkit_error(rc).c_str());
        return rc == kRefused && g.proven;
    }
    std::printf("%-14s %10.2f MB/s\n", a.name, per_second * kBuffer / 1e6);
    return true;
}

bool report_ops(const SpeedAlg &a, double sign, uint32_t sign_rc, double verify, uint32_t verify_rc) {
    if (sign < 0 || verify < 0) {
        const uint32_t rc = sign < 0 ? sign_rc : verify_rc;
        if (rc == kRefused)
            std::printf("%-14s refused (proven mode)\n", a.name);
        else
            std::printf("%-14s failed: %s\n", a.name, toolkit_error(rc).c_str());
        return rc == kRefused && g.proven;
    }
    std::printf("%-14s %10.1f sign/s %10.1f verify/s\n", a.name, sign, verify);
    return true;
}

bool speed_digest(const SpeedAlg &a, double seconds, const Bytes &data) {
    uint8_t out[KRY_MAX_DIGEST_LENGTH];
    uint32_t rc = 0;
    const double rate = measure(seconds, [&] {
        uint32_t length = 0;
        return Digest(a.id, data.data(), kBuffer, out, &length);
    }, rc);
    return report_rate(a, rate, rc);
}

bool speed_hmac(const SpeedAlg &a, double seconds, const Bytes &data) {
    SecretBytes key(a.key_length);
    for (uint32_t i = 0; i < a.key_length; ++i) key.data()[i] = static_cast<uint8_t>(i);
    uint8_t out[KRY_MAX_DIGEST_LENGTH];
    uint32_t rc = 0;
    const double rate = measure(seconds, [&] {
        uint32_t length = 0;
        return HMac(a.id, key.data(), a.key_length, data.data(), kBuffer, out, &length);
    }, rc);
    return report_rate(a, rate, rc);
}

bool speed_cipher(const SpeedAlg &a, double seconds, const Bytes &data) {
    SecretBytes key(a.key_length);
    for (uint32_t i = 0; i < a.key_length; ++i) key.data()[i] = static_cast<uint8_t>(0x11 * (i + 1));
    uint8_t iv[16] = {0};
    BLOCK_CIPHER_UNIT *unit = new_BLOCK_CIPHER_UNIT();
    if (unit == nullptr) return report_rate(a, -1, 1);
    Bytes out(kBuffer + 64);
    uint32_t rc = init_BlockCipher(unit, a.id, key.data(), iv, KRY_ENCRYPT);
    double rate = -1;
    if (rc == 0)
        rate = measure(seconds, [&] {
            uint32_t length = 0;
            const uint32_t r = update_BlockCipher(unit, out.data(), &length, data.data(), static_cast<int32_t>(kBuffer));
            // Every byte must come out: a short output would inflate the rate.
            return r != 0 ? r : (length == kBuffer ? 0u : 1u);
        }, rc);
    free_BLOCK_CIPHER_UNIT(unit);
    return report_rate(a, rate, rc);
}

bool speed_rc4(const SpeedAlg &a, double seconds, const Bytes &data) {
    SecretBytes key(a.key_length);
    for (uint32_t i = 0; i < a.key_length; ++i) key.data()[i] = static_cast<uint8_t>(i + 1);
    RC4_UNIT *unit = new_RC4_UNIT();
    if (unit == nullptr) return report_rate(a, -1, 1);
    Bytes out(kBuffer);
    uint32_t rc = init_RC4(unit, key.data(), static_cast<int32_t>(a.key_length));
    double rate = -1;
    if (rc == 0) rate = measure(seconds, [&] { return do_RC4(unit, data.data(), kBuffer, out.data()); }, rc);
    free_RC4_UNIT(unit);
    return report_rate(a, rate, rc);
}

struct Big {
    BIGINT *b;
    explicit Big(const char *text) : b(HEX_to_BIGINT(text)) {}
    ~Big() {
        if (b != nullptr) free_BIGINT(b);
    }
    Big(const Big &) = delete;
    Big &operator=(const Big &) = delete;
};

// RSA-2048 (PKCS #1 v1.5 test key 15), SHA-256, EMSA-PKCS1-v1_5.
bool speed_rsa(const SpeedAlg &a, double seconds) {
    const kat::RsaKey &k = kat::kRsa2048Key;
    RSA *rsa = new_RSA();
    if (rsa == nullptr) return report_ops(a, -1, 1, -1, 1);
    uint32_t sign_rc = 0, verify_rc = 0;
    double sign = -1, verify = -1;
    {
        Big n(k.n), e(k.e), d(k.d), p(k.p), q(k.q), dp(k.dp), dq(k.dq), qinv(k.qinv);
        sign_rc = set_RSA_params(rsa, n.b, e.b, d.b, p.b, q.b, dp.b, dq.b, qinv.b);
    }
    const uint8_t msg[] = "kry speed";
    Bytes sig(512);
    uint32_t sig_length = 0;
    if (sign_rc == 0)
        sign = measure(seconds, [&] {
            uint32_t r = init_RSASSA(rsa, KRY_SHA256, KRY_RSA_EMSA_PKCS1_V15, 1);
            if (r == 0) r = update_RSASSA(rsa, msg, sizeof msg - 1);
            sig_length = static_cast<uint32_t>(sig.size());
            return r != 0 ? r : final_RSASSA(rsa, sig.data(), &sig_length);
        }, sign_rc);
    if (sign >= 0)
        verify = measure(seconds, [&] {
            uint32_t r = init_RSASSA(rsa, KRY_SHA256, KRY_RSA_EMSA_PKCS1_V15, 0);
            if (r == 0) r = update_RSASSA(rsa, msg, sizeof msg - 1);
            Bytes copy(sig.begin(), sig.begin() + sig_length);
            uint32_t length = sig_length;
            return r != 0 ? r : final_RSASSA(rsa, copy.data(), &length);
        }, verify_rc);
    free_RSA(rsa);
    return report_ops(a, sign, sign_rc, verify, verify_rc);
}

// DSA-1024 (NIST CAVS FIPS 186-2 SigGen domain and key), SHA-1.
bool speed_dsa(const SpeedAlg &a, double seconds) {
    DSA *unit = new_DSA();
    if (unit == nullptr) return report_ops(a, -1, 1, -1, 1);
    uint32_t sign_rc = 0, verify_rc = 0;
    double sign = -1, verify = -1;
    {
        Big p(kat::kDsa1024P), q(kat::kDsa1024Q), g(kat::kDsa1024G), y(kat::kDsa1024Y), x(kat::kDsa1024X);
        sign_rc = set_DSA_params(unit, p.b, q.b, g.b, y.b, x.b);
    }
    const uint8_t msg[] = "kry speed";
    uint8_t r[64] = {}, s[64] = {};
    uint32_t r_length = 0, s_length = 0;
    if (sign_rc == 0)
        sign = measure(seconds, [&] {
            uint32_t rc = init_DSA(unit, KRY_SHA1, KRY_DSA_SIGN, nullptr, 0);
            if (rc == 0) rc = update_DSA(unit, msg, sizeof msg - 1);
            r_length = s_length = 0;
            return rc != 0 ? rc : final_DSA(unit, r, &r_length, s, &s_length);
        }, sign_rc);
    if (sign >= 0)
        verify = measure(seconds, [&] {
            uint32_t rc = init_DSA(unit, KRY_SHA1, KRY_DSA_VERIFY, nullptr, 0);
            if (rc == 0) rc = update_DSA(unit, msg, sizeof msg - 1);
            return rc != 0 ? rc : verify_DSA(unit, r, r_length, s, s_length);
        }, verify_rc);
    free_DSA(unit);
    return report_ops(a, sign, sign_rc, verify, verify_rc);
}

// KCDSA (TTAK.KO-12.0001/R4 example domain and key, |p| = 1024), HAS-160.
// Verification runs over the example's published signature, so that it is
// measured in proven mode too, where signing cannot draw its k: the KCDSA
// generator runs on the HAS-160 G function, which proven mode refuses
// (0x0F041B00, a failed draw).
bool speed_kcdsa(const SpeedAlg &a, double seconds) {
    constexpr uint32_t kDrawFailed = 0x0F041B00u;
    KCDSA *unit = new_KCDSA();
    if (unit == nullptr) return report_ops(a, -1, 1, -1, 1);
    uint32_t sign_rc = 0, verify_rc = 0;
    double sign = -1, verify = -1;
    {
        Big p(kat::kKcdsaP), q(kat::kKcdsaQ), g(kat::kKcdsaG), x(kat::kKcdsaX), y(kat::kKcdsaY);
        sign_rc = verify_rc = set_KCDSA_params(unit, p.b, q.b, g.b, x.b, y.b);
    }
    std::string error;
    Bytes msg, r_pub, s_pub;
    if (!from_hex(kat::kKcdsaMsg, msg, error) || !from_hex(kat::kKcdsaR, r_pub, error) ||
        !from_hex(kat::kKcdsaS, s_pub, error))
        verify_rc = 1;
    uint8_t r[64] = {}, s[64] = {};
    uint32_t r_length = 0, s_length = 0;
    if (sign_rc == 0)
        sign = measure(seconds, [&] {
            uint32_t rc = init_KCDSA(unit, 1);
            if (rc == 0) rc = update_KCDSA(unit, msg.data(), static_cast<uint32_t>(msg.size()));
            r_length = s_length = 0;
            return rc != 0 ? rc : final_KCDSA(unit, r, &r_length, s, &s_length);
        }, sign_rc);
    if (verify_rc == 0)
        verify = measure(seconds, [&] {
            uint32_t rc = init_KCDSA(unit, 0);
            if (rc == 0) rc = update_KCDSA(unit, msg.data(), static_cast<uint32_t>(msg.size()));
            uint32_t rl = static_cast<uint32_t>(r_pub.size()), sl = static_cast<uint32_t>(s_pub.size());
            return rc != 0 ? rc : verify_KCDSA(unit, r_pub.data(), &rl, s_pub.data(), &sl);
        }, verify_rc);
    free_KCDSA(unit);
    if (g.proven && sign < 0 && sign_rc == kDrawFailed && verify >= 0) {
        std::printf("%-14s %10s sign/s %10.1f verify/s (signing refused in proven mode: its generator's "
                    "HAS-160 G is not approved)\n",
                    a.name, "-", verify);
        return true;
    }
    return report_ops(a, sign, sign_rc, verify, verify_rc);
}

void speed_usage(std::FILE *out) {
    std::fprintf(out,
                 "usage: kry [--proven] speed [--seconds S] [ALGORITHM...]\n"
                 "\n"
                 "Measures each ALGORITHM (default: all) for about S seconds (default\n"
                 "0.3, at most 60): MB/s over 16 KiB buffers for digests, HMAC, block\n"
                 "ciphers and RC4; signatures and verifications per second for RSA-2048\n"
                 "(SHA-256, PKCS #1 v1.5), DSA-1024 (SHA-1) and KCDSA (1024-bit p,\n"
                 "HAS-160), with fixed published keys.\n"
                 "\n"
                 "algorithms: %s\n"
                 "\n"
                 "Exit status: 0 when every measurement ran (or was refused in proven\n"
                 "mode), 1 when one failed, 2 for a usage error.\n",
                 alg_names().c_str());
}

}  // namespace

int cmd_speed(int argc, char **argv) {
    Args args;
    std::string error;
    if (!args.parse(argc, argv, {{"seconds", 's', true}, {"help", 'h', false}}, error))
        return usage_error("speed", error);
    if (args.has("help")) {
        speed_usage(stdout);
        return kExitOk;
    }
    double seconds = 0.3;
    if (args.has("seconds")) {
        const std::string text = args.get("seconds");
        char *end = nullptr;
        seconds = std::strtod(text.c_str(), &end);
        if (text.empty() || end == nullptr || *end != '\0' || !std::isfinite(seconds) || seconds <= 0 || seconds > 60)
            return usage_error("speed", "--seconds takes a number of seconds above 0 and at most 60, not '" + text + "'");
    }
    std::vector<const SpeedAlg *> chosen;
    for (const std::string &name : args.positional()) {
        const SpeedAlg *found = nullptr;
        for (const SpeedAlg &a : kAlgs)
            if (fold_name(a.name) == fold_name(name)) found = &a;
        if (found == nullptr) return usage_error("speed", "unknown algorithm '" + name + "'; known: " + alg_names());
        chosen.push_back(found);
    }
    if (chosen.empty())
        for (const SpeedAlg &a : kAlgs) chosen.push_back(&a);

    Bytes data(kBuffer);
    for (uint32_t i = 0; i < kBuffer; ++i) data[i] = static_cast<uint8_t>(i * 7 + 3);
    bool all_ok = true;
    for (const SpeedAlg *a : chosen) {
        bool ok = false;
        switch (a->kind) {
        case Kind::Digest: ok = speed_digest(*a, seconds, data); break;
        case Kind::Hmac: ok = speed_hmac(*a, seconds, data); break;
        case Kind::Cipher: ok = speed_cipher(*a, seconds, data); break;
        case Kind::Rc4: ok = speed_rc4(*a, seconds, data); break;
        case Kind::Rsa: ok = speed_rsa(*a, seconds); break;
        case Kind::Dsa: ok = speed_dsa(*a, seconds); break;
        case Kind::Kcdsa: ok = speed_kcdsa(*a, seconds); break;
        }
        std::fflush(stdout);
        all_ok = all_ok && ok;
    }
    return all_ok ? kExitOk : kExitFailure;
}

}  // namespace kry_tool
