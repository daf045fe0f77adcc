// OpenSSL side of the cipher and MAC benchmark.  Kept apart from
// bench_cipher.cpp so that OpenSSL's type names never meet kry's.
#include "peers_cipher.h"

#include <openssl/core_names.h>
#include <openssl/evp.h>
#include <openssl/params.h>
#include <openssl/provider.h>

#include <climits>
#include <vector>

namespace peers {

namespace {

// SEED, DES, Blowfish, RC2 and RC4 live in the legacy provider; loading it
// explicitly unloads the implicit default, so both are loaded, once.
void load_providers() {
    static const bool loaded = [] {
        OSSL_PROVIDER_load(nullptr, "default");
        OSSL_PROVIDER_load(nullptr, "legacy");
        return true;
    }();
    (void)loaded;
}

// A context with the cipher bound, the key length and RC2's effective bits
// set, padding off; key and IV not yet given.
EVP_CIPHER_CTX *bound_context(EVP_CIPHER *cipher, std::size_t key_length, int rc2_bits) {
    EVP_CIPHER_CTX *ctx = EVP_CIPHER_CTX_new();
    if (ctx == nullptr) return nullptr;
    bool ok = EVP_CipherInit_ex2(ctx, cipher, nullptr, nullptr, 1, nullptr) == 1;
    if (ok && static_cast<int>(key_length) != EVP_CIPHER_CTX_get_key_length(ctx))
        ok = EVP_CIPHER_CTX_set_key_length(ctx, static_cast<int>(key_length)) == 1;
    if (ok && rc2_bits > 0)
        ok = EVP_CIPHER_CTX_ctrl(ctx, EVP_CTRL_SET_RC2_KEY_BITS, rc2_bits, nullptr) == 1;
    if (ok) ok = EVP_CIPHER_CTX_set_padding(ctx, 0) == 1;
    if (!ok) {
        EVP_CIPHER_CTX_free(ctx);
        return nullptr;
    }
    return ctx;
}

}  // namespace

class Cipher {
public:
    Cipher(EVP_CIPHER *cipher, EVP_CIPHER_CTX *ctx, const uint8_t *key, std::size_t key_length,
           const uint8_t *iv, Restart restart)
        : cipher_(cipher), ctx_(ctx), key_(key, key + key_length), restart_(restart) {
        const int iv_length = EVP_CIPHER_get_iv_length(cipher);
        if (iv != nullptr && iv_length > 0) iv_.assign(iv, iv + iv_length);
    }
    ~Cipher() {
        EVP_CIPHER_CTX_free(ctx_);
        EVP_CIPHER_free(cipher_);
    }
    Cipher(const Cipher &) = delete;
    Cipher &operator=(const Cipher &) = delete;

    bool set_key() {
        return EVP_CipherInit_ex2(ctx_, nullptr, key_.data(), iv(), 1, nullptr) == 1;
    }

    bool encrypt(const uint8_t *in, std::size_t length, uint8_t *out) {
        if (length > INT_MAX) return false;
        switch (restart_) {
        case Restart::iv:
            // No key: OpenSSL keeps the key schedule and takes the new IV.
            if (EVP_CipherInit_ex2(ctx_, nullptr, nullptr, iv(), 1, nullptr) != 1) return false;
            break;
        case Restart::key_and_iv:
            if (!set_key()) return false;
            break;
        case Restart::none:
            break;
        }
        int written = 0;
        if (EVP_CipherUpdate(ctx_, out, &written, in, static_cast<int>(length)) != 1) return false;
        if (restart_ == Restart::none) return static_cast<std::size_t>(written) == length;
        int last = 0;
        if (EVP_CipherFinal_ex(ctx_, out + written, &last) != 1) return false;
        return static_cast<std::size_t>(written) + static_cast<std::size_t>(last) == length;
    }

private:
    const uint8_t *iv() const { return iv_.empty() ? nullptr : iv_.data(); }

    EVP_CIPHER *cipher_;
    EVP_CIPHER_CTX *ctx_;
    std::vector<uint8_t> key_;
    std::vector<uint8_t> iv_;
    Restart restart_;
};

Cipher *new_cipher(const char *name, const uint8_t *key, std::size_t key_length,
                   const uint8_t *iv, Restart restart, int rc2_bits) {
    load_providers();
    EVP_CIPHER *cipher = EVP_CIPHER_fetch(nullptr, name, nullptr);
    if (cipher == nullptr) return nullptr;
    EVP_CIPHER_CTX *ctx = bound_context(cipher, key_length, rc2_bits);
    if (ctx == nullptr) {
        EVP_CIPHER_free(cipher);
        return nullptr;
    }
    Cipher *result = new Cipher(cipher, ctx, key, key_length, iv, restart);
    if (!result->set_key()) {
        delete result;
        return nullptr;
    }
    return result;
}

void free_cipher(Cipher *cipher) { delete cipher; }

bool encrypt(Cipher *cipher, const uint8_t *in, std::size_t length, uint8_t *out) {
    return cipher->encrypt(in, length, out);
}

bool ecb_encrypt(const char *name, const uint8_t *key, std::size_t key_length, int rc2_bits,
                 const uint8_t *in, std::size_t length, uint8_t *out) {
    Cipher *cipher = new_cipher(name, key, key_length, nullptr, Restart::key_and_iv, rc2_bits);
    if (cipher == nullptr) return false;
    const bool ok = cipher->encrypt(in, length, out);
    delete cipher;
    return ok;
}

class Mac {
public:
    Mac(EVP_MAC *mac, EVP_MAC_CTX *ctx) : mac_(mac), ctx_(ctx) {}
    ~Mac() {
        EVP_MAC_CTX_free(ctx_);
        EVP_MAC_free(mac_);
    }
    Mac(const Mac &) = delete;
    Mac &operator=(const Mac &) = delete;

    bool compute(const uint8_t *data, std::size_t length, uint8_t *out, std::size_t *out_length) {
        // A null key re-initialises HMAC with the key already set (the
        // padded key states are copied, not recomputed).
        return EVP_MAC_init(ctx_, nullptr, 0, nullptr) == 1 &&
               EVP_MAC_update(ctx_, data, length) == 1 &&
               EVP_MAC_final(ctx_, out, out_length, 64) == 1;
    }

private:
    EVP_MAC *mac_;
    EVP_MAC_CTX *ctx_;
};

Mac *new_hmac(const char *digest, const uint8_t *key, std::size_t key_length) {
    load_providers();
    EVP_MAC *mac = EVP_MAC_fetch(nullptr, "HMAC", nullptr);
    if (mac == nullptr) return nullptr;
    EVP_MAC_CTX *ctx = EVP_MAC_CTX_new(mac);
    OSSL_PARAM params[] = {
        OSSL_PARAM_construct_utf8_string(OSSL_MAC_PARAM_DIGEST, const_cast<char *>(digest), 0),
        OSSL_PARAM_construct_end(),
    };
    if (ctx == nullptr || EVP_MAC_init(ctx, key, key_length, params) != 1) {
        EVP_MAC_CTX_free(ctx);
        EVP_MAC_free(mac);
        return nullptr;
    }
    return new Mac(mac, ctx);
}

void free_mac(Mac *mac) { delete mac; }

bool mac(Mac *mac, const uint8_t *data, std::size_t length, uint8_t *out, std::size_t *out_length) {
    return mac->compute(data, length, out, out_length);
}

}  // namespace peers
