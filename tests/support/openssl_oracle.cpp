// OpenSSL as a test oracle.  Kept apart from kry's headers: OpenSSL's type
// names (RSA, DSA, ...) clash with kry's.
#define OPENSSL_SUPPRESS_DEPRECATED 1
#include "oracle.h"

#include <openssl/des.h>
#include <openssl/evp.h>
#include <openssl/sha.h>

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

}  // namespace oracle
