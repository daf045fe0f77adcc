// OpenSSL as a test oracle.  Kept apart from kry's headers: OpenSSL's type
// names (RSA, DSA, ...) clash with kry's.
#define OPENSSL_SUPPRESS_DEPRECATED 1
#include "oracle.h"

#include <openssl/des.h>
#include <openssl/evp.h>
#include <openssl/sha.h>
#include <openssl/hmac.h>
#include <openssl/provider.h>

#include <cstring>

namespace oracle {

Bytes openssl_digest(const std::string &name, const uint8_t *data, size_t len) {
    const EVP_MD *md = EVP_get_digestbyname(name.c_str());
    if (md == nullptr) return {};
    Bytes out(EVP_MAX_MD_SIZE);
    unsigned int n = 0;
    if (EVP_Digest(data, len, out.data(), &n, md, nullptr) != 1) return {};
    out.resize(n);
    return out;
}

bool openssl_des_encrypt_block(const uint8_t key[8], const uint8_t in[8], uint8_t out[8]) {
    // The low-level DES interface needs no legacy provider; the key is used
    // as given (parity bits ignored), which is what DES itself does.
    DES_cblock k;
    std::memcpy(k, key, 8);
    DES_key_schedule ks;
    DES_set_key_unchecked(&k, &ks);
    DES_cblock i, o;
    std::memcpy(i, in, 8);
    DES_ecb_encrypt(&i, &o, &ks, DES_ENCRYPT);
    std::memcpy(out, o, 8);
    return true;
}

Bytes openssl_sha512_compress(const Bytes &blocks) {
    if (blocks.size() % SHA512_CBLOCK) return {};
    SHA512_CTX ctx;
    SHA512_Init(&ctx);
    for (size_t i = 0; i < blocks.size(); i += SHA512_CBLOCK) SHA512_Transform(&ctx, blocks.data() + i);
    Bytes out(64);
    for (int i = 0; i < 8; i++)
        for (int j = 0; j < 8; j++) out[8 * i + j] = static_cast<uint8_t>(ctx.h[i] >> (56 - 8 * j));
    return out;
}

namespace {
void load_providers() {
    // Kept for the life of the process (the leak checker sees them; volatile
    // so that an optimised build still stores them).
    static OSSL_PROVIDER *volatile const providers[2] = {OSSL_PROVIDER_load(nullptr, "default"),
                                                OSSL_PROVIDER_load(nullptr, "legacy")};
    (void)providers;
}
}  // namespace

bool openssl_cipher(const std::string &name, const Bytes &key, const Bytes &iv, bool encrypt, bool padding,
                    const Bytes &in, Bytes &out, int rc2_bits) {
    load_providers();
    EVP_CIPHER *cipher = EVP_CIPHER_fetch(nullptr, name.c_str(), nullptr);
    if (cipher == nullptr) return false;
    EVP_CIPHER_CTX *ctx = EVP_CIPHER_CTX_new();
    bool ok = ctx != nullptr && EVP_CipherInit_ex(ctx, cipher, nullptr, nullptr, nullptr, encrypt ? 1 : 0) == 1;
    if (ok && static_cast<int>(key.size()) != EVP_CIPHER_CTX_get_key_length(ctx))
        ok = EVP_CIPHER_CTX_set_key_length(ctx, static_cast<int>(key.size())) == 1;
    if (ok && rc2_bits > 0) ok = EVP_CIPHER_CTX_ctrl(ctx, EVP_CTRL_SET_RC2_KEY_BITS, rc2_bits, nullptr) == 1;
    if (ok) ok = EVP_CipherInit_ex(ctx, nullptr, nullptr, key.data(), iv.empty() ? nullptr : iv.data(), -1) == 1;
    if (ok) ok = EVP_CIPHER_CTX_set_padding(ctx, padding ? 1 : 0) == 1;
    out.assign(in.size() + 64, 0);
    int n1 = 0, n2 = 0;
    if (ok) ok = EVP_CipherUpdate(ctx, out.data(), &n1, in.data(), static_cast<int>(in.size())) == 1;
    if (ok) ok = EVP_CipherFinal_ex(ctx, out.data() + n1, &n2) == 1;
    out.resize(ok ? static_cast<size_t>(n1 + n2) : 0);
    EVP_CIPHER_CTX_free(ctx);
    EVP_CIPHER_free(cipher);
    return ok;
}

Bytes openssl_hmac(const std::string &digest, const Bytes &key, const Bytes &data) {
    const EVP_MD *md = EVP_get_digestbyname(digest.c_str());
    if (md == nullptr) return {};
    Bytes out(EVP_MAX_MD_SIZE);
    unsigned int n = 0;
    static const uint8_t empty = 0;
    if (HMAC(md, key.empty() ? &empty : key.data(), static_cast<int>(key.size()), data.empty() ? &empty : data.data(),
             data.size(), out.data(), &n) == nullptr)
        return {};
    out.resize(n);
    return out;
}

void openssl_sha1_transform(uint32_t h[5], const uint8_t block[64]) {
    SHA_CTX ctx;
    SHA1_Init(&ctx);
    ctx.h0 = h[0];
    ctx.h1 = h[1];
    ctx.h2 = h[2];
    ctx.h3 = h[3];
    ctx.h4 = h[4];
    SHA1_Transform(&ctx, block);
    h[0] = ctx.h0;
    h[1] = ctx.h1;
    h[2] = ctx.h2;
    h[3] = ctx.h3;
    h[4] = ctx.h4;
}

}  // namespace oracle
