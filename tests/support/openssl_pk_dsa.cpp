// OpenSSL DSA oracle; see oracle_pk_dsa.h.
#include "oracle_pk_dsa.h"

#include <openssl/bn.h>
#include <openssl/core_names.h>
#include <openssl/dsa.h>
#include <openssl/evp.h>
#include <openssl/param_build.h>

namespace oracle::dsa {
namespace {

BIGNUM *bn(const Bytes &b) { return BN_bin2bn(b.data(), static_cast<int>(b.size()), nullptr); }

// A DSA key from its parts (y and x optional: empty vectors).
EVP_PKEY *make_key(const Bytes &p, const Bytes &q, const Bytes &g, const Bytes &y, const Bytes &x) {
    OSSL_PARAM_BLD *bld = OSSL_PARAM_BLD_new();
    BIGNUM *bp = bn(p), *bq = bn(q), *bg = bn(g);
    BIGNUM *by = y.empty() ? nullptr : bn(y);
    BIGNUM *bx = x.empty() ? nullptr : bn(x);
    EVP_PKEY *key = nullptr;
    OSSL_PARAM *params = nullptr;
    EVP_PKEY_CTX *ctx = nullptr;
    int selection = EVP_PKEY_KEY_PARAMETERS;
    bool ok = bld != nullptr && bp != nullptr && bq != nullptr && bg != nullptr &&
              OSSL_PARAM_BLD_push_BN(bld, OSSL_PKEY_PARAM_FFC_P, bp) == 1 &&
              OSSL_PARAM_BLD_push_BN(bld, OSSL_PKEY_PARAM_FFC_Q, bq) == 1 &&
              OSSL_PARAM_BLD_push_BN(bld, OSSL_PKEY_PARAM_FFC_G, bg) == 1;
    if (ok && by != nullptr) {
        ok = OSSL_PARAM_BLD_push_BN(bld, OSSL_PKEY_PARAM_PUB_KEY, by) == 1;
        selection = EVP_PKEY_PUBLIC_KEY;
    }
    if (ok && bx != nullptr) {
        ok = OSSL_PARAM_BLD_push_BN(bld, OSSL_PKEY_PARAM_PRIV_KEY, bx) == 1;
        selection = EVP_PKEY_KEYPAIR;
    }
    if (ok)
        params = OSSL_PARAM_BLD_to_param(bld);
    if (params != nullptr)
        ctx = EVP_PKEY_CTX_new_from_name(nullptr, "DSA", nullptr);
    if (ctx != nullptr && EVP_PKEY_fromdata_init(ctx) == 1)
        EVP_PKEY_fromdata(ctx, &key, selection, params);
    EVP_PKEY_CTX_free(ctx);
    OSSL_PARAM_free(params);
    OSSL_PARAM_BLD_free(bld);
    BN_free(bp);
    BN_free(bq);
    BN_free(bg);
    BN_free(by);
    BN_clear_free(bx);
    return key;
}

Bytes to_bytes(const BIGNUM *b) {
    Bytes out(static_cast<size_t>(BN_num_bytes(b)));
    BN_bn2bin(b, out.data());
    return out;
}

}  // namespace

int verify(const Bytes &p, const Bytes &q, const Bytes &g, const Bytes &y, const Bytes &digest, const Bytes &r,
           const Bytes &s) {
    EVP_PKEY *key = make_key(p, q, g, y, {});
    if (key == nullptr)
        return -1;
    DSA_SIG *sig = DSA_SIG_new();
    BIGNUM *br = bn(r), *bs = bn(s);
    int result = -1;
    if (sig != nullptr && br != nullptr && bs != nullptr && DSA_SIG_set0(sig, br, bs) == 1) {
        br = bs = nullptr;
        unsigned char *der = nullptr;
        const int der_length = i2d_DSA_SIG(sig, &der);
        EVP_PKEY_CTX *ctx = EVP_PKEY_CTX_new(key, nullptr);
        if (der_length > 0 && ctx != nullptr && EVP_PKEY_verify_init(ctx) == 1) {
            const int v = EVP_PKEY_verify(ctx, der, static_cast<size_t>(der_length), digest.data(), digest.size());
            result = v == 1 ? 1 : (v == 0 ? 0 : -1);
        }
        EVP_PKEY_CTX_free(ctx);
        OPENSSL_free(der);
    }
    BN_free(br);
    BN_free(bs);
    DSA_SIG_free(sig);
    EVP_PKEY_free(key);
    return result;
}

bool sign(const Bytes &p, const Bytes &q, const Bytes &g, const Bytes &y, const Bytes &x, const Bytes &digest,
          Bytes &r, Bytes &s) {
    EVP_PKEY *key = make_key(p, q, g, y, x);
    if (key == nullptr)
        return false;
    bool ok = false;
    EVP_PKEY_CTX *ctx = EVP_PKEY_CTX_new(key, nullptr);
    size_t length = 0;
    if (ctx != nullptr && EVP_PKEY_sign_init(ctx) == 1 &&
        EVP_PKEY_sign(ctx, nullptr, &length, digest.data(), digest.size()) == 1) {
        Bytes der(length);
        if (EVP_PKEY_sign(ctx, der.data(), &length, digest.data(), digest.size()) == 1) {
            const unsigned char *in = der.data();
            DSA_SIG *sig = d2i_DSA_SIG(nullptr, &in, static_cast<long>(length));
            if (sig != nullptr) {
                const BIGNUM *br = nullptr, *bs = nullptr;
                DSA_SIG_get0(sig, &br, &bs);
                r = to_bytes(br);
                s = to_bytes(bs);
                ok = true;
                DSA_SIG_free(sig);
            }
        }
    }
    EVP_PKEY_CTX_free(ctx);
    EVP_PKEY_free(key);
    return ok;
}

int param_check(const Bytes &p, const Bytes &q, const Bytes &g) {
    EVP_PKEY *key = make_key(p, q, g, {}, {});
    if (key == nullptr)
        return -1;
    EVP_PKEY_CTX *ctx = EVP_PKEY_CTX_new(key, nullptr);
    const int v = ctx != nullptr ? EVP_PKEY_param_check(ctx) : -1;
    EVP_PKEY_CTX_free(ctx);
    EVP_PKEY_free(key);
    return v == 1 ? 1 : (v == 0 ? 0 : -1);
}

int public_check(const Bytes &p, const Bytes &q, const Bytes &g, const Bytes &y) {
    EVP_PKEY *key = make_key(p, q, g, y, {});
    if (key == nullptr)
        return -1;
    EVP_PKEY_CTX *ctx = EVP_PKEY_CTX_new(key, nullptr);
    const int v = ctx != nullptr ? EVP_PKEY_public_check(ctx) : -1;
    EVP_PKEY_CTX_free(ctx);
    EVP_PKEY_free(key);
    return v == 1 ? 1 : (v == 0 ? 0 : -1);
}

}  // namespace oracle::dsa
