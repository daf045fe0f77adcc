// OpenSSL (EVP) signatures for the public-key benchmark.
#include "peers_pk.h"

#include <openssl/bn.h>
#include <openssl/core_names.h>
#include <openssl/dsa.h>
#include <openssl/err.h>
#include <openssl/evp.h>
#include <openssl/param_build.h>
#include <openssl/rsa.h>

#include <cstdio>

namespace peers {

class Key {
public:
    Key(EVP_PKEY *pkey, const char *digest, bool rsa)
        : pkey_(pkey), md_(EVP_MD_fetch(nullptr, digest, nullptr)), ctx_(EVP_MD_CTX_new()), rsa_(rsa) {}
    ~Key() {
        EVP_MD_CTX_free(ctx_);
        EVP_MD_free(md_);
        EVP_PKEY_free(pkey_);
    }
    Key(const Key &) = delete;
    Key &operator=(const Key &) = delete;

    bool ok() const { return pkey_ != nullptr && md_ != nullptr && ctx_ != nullptr; }

    bool sign(const Bytes &message, Bytes *signature) {
        EVP_PKEY_CTX *pctx = nullptr;
        if (EVP_MD_CTX_reset(ctx_) != 1 || EVP_DigestSignInit(ctx_, &pctx, md_, nullptr, pkey_) != 1) return false;
        if (rsa_ && EVP_PKEY_CTX_set_rsa_padding(pctx, RSA_PKCS1_PADDING) != 1) return false;
        size_t length = 0;
        if (EVP_DigestSign(ctx_, nullptr, &length, message.data(), message.size()) != 1) return false;
        signature->resize(length);
        if (EVP_DigestSign(ctx_, signature->data(), &length, message.data(), message.size()) != 1) return false;
        signature->resize(length);
        return true;
    }

    bool verify(const Bytes &message, const Bytes &signature) {
        EVP_PKEY_CTX *pctx = nullptr;
        if (EVP_MD_CTX_reset(ctx_) != 1 || EVP_DigestVerifyInit(ctx_, &pctx, md_, nullptr, pkey_) != 1)
            return false;
        if (rsa_ && EVP_PKEY_CTX_set_rsa_padding(pctx, RSA_PKCS1_PADDING) != 1) return false;
        return EVP_DigestVerify(ctx_, signature.data(), signature.size(), message.data(), message.size()) == 1;
    }

    EVP_PKEY *pkey() const { return pkey_; }

private:
    EVP_PKEY *pkey_;
    EVP_MD *md_;
    EVP_MD_CTX *ctx_;
    bool rsa_;
};

namespace {

bool get_bn(EVP_PKEY *pkey, const char *name, Bytes *out) {
    BIGNUM *bn = nullptr;
    if (EVP_PKEY_get_bn_param(pkey, name, &bn) != 1) return false;
    out->resize(static_cast<size_t>(BN_num_bytes(bn)));
    BN_bn2bin(bn, out->data());
    BN_clear_free(bn);
    return true;
}

EVP_PKEY *rsa_generate(int bits) {
    EVP_PKEY_CTX *ctx = EVP_PKEY_CTX_new_from_name(nullptr, "RSA", nullptr);
    EVP_PKEY *pkey = nullptr;
    if (ctx == nullptr || EVP_PKEY_keygen_init(ctx) != 1 || EVP_PKEY_CTX_set_rsa_keygen_bits(ctx, bits) != 1 ||
        EVP_PKEY_keygen(ctx, &pkey) != 1) {
        EVP_PKEY_free(pkey);
        pkey = nullptr;
    }
    EVP_PKEY_CTX_free(ctx);
    return pkey;
}

}  // namespace

Key *generate_rsa(int bits, RsaComponents *out) {
    EVP_PKEY *pkey = rsa_generate(bits);
    if (pkey == nullptr) return nullptr;
    Key *key = new Key(pkey, "SHA256", true);
    const bool ok = key->ok() && get_bn(pkey, OSSL_PKEY_PARAM_RSA_N, &out->n) &&
                    get_bn(pkey, OSSL_PKEY_PARAM_RSA_E, &out->e) && get_bn(pkey, OSSL_PKEY_PARAM_RSA_D, &out->d) &&
                    get_bn(pkey, OSSL_PKEY_PARAM_RSA_FACTOR1, &out->p) &&
                    get_bn(pkey, OSSL_PKEY_PARAM_RSA_FACTOR2, &out->q) &&
                    get_bn(pkey, OSSL_PKEY_PARAM_RSA_EXPONENT1, &out->dp) &&
                    get_bn(pkey, OSSL_PKEY_PARAM_RSA_EXPONENT2, &out->dq) &&
                    get_bn(pkey, OSSL_PKEY_PARAM_RSA_COEFFICIENT1, &out->qinv);
    if (!ok) {
        delete key;
        return nullptr;
    }
    return key;
}

Key *generate_dsa(int p_bits, int q_bits, DsaComponents *out) {
    EVP_PKEY_CTX *ctx = EVP_PKEY_CTX_new_from_name(nullptr, "DSA", nullptr);
    EVP_PKEY *params = nullptr;
    EVP_PKEY *pkey = nullptr;
    bool ok = ctx != nullptr && EVP_PKEY_paramgen_init(ctx) == 1 &&
              EVP_PKEY_CTX_set_dsa_paramgen_bits(ctx, p_bits) == 1 &&
              EVP_PKEY_CTX_set_dsa_paramgen_q_bits(ctx, q_bits) == 1 &&
              EVP_PKEY_paramgen(ctx, &params) == 1;
    EVP_PKEY_CTX_free(ctx);
    ctx = ok ? EVP_PKEY_CTX_new_from_pkey(nullptr, params, nullptr) : nullptr;
    ok = ok && ctx != nullptr && EVP_PKEY_keygen_init(ctx) == 1 && EVP_PKEY_keygen(ctx, &pkey) == 1;
    EVP_PKEY_CTX_free(ctx);
    EVP_PKEY_free(params);
    if (!ok) {
        ERR_print_errors_fp(stderr);
        EVP_PKEY_free(pkey);
        return nullptr;
    }
    Key *key = new Key(pkey, "SHA1", false);
    ok = key->ok() && get_bn(pkey, OSSL_PKEY_PARAM_FFC_P, &out->p) && get_bn(pkey, OSSL_PKEY_PARAM_FFC_Q, &out->q) &&
         get_bn(pkey, OSSL_PKEY_PARAM_FFC_G, &out->g) && get_bn(pkey, OSSL_PKEY_PARAM_PRIV_KEY, &out->x) &&
         get_bn(pkey, OSSL_PKEY_PARAM_PUB_KEY, &out->y);
    if (!ok) {
        delete key;
        return nullptr;
    }
    return key;
}

void free_key(Key *key) { delete key; }

bool rsa_key_valid(const RsaComponents &key) {
    const Bytes *values[] = {&key.n, &key.e, &key.d, &key.p, &key.q, &key.dp, &key.dq, &key.qinv};
    const char *names[] = {OSSL_PKEY_PARAM_RSA_N,         OSSL_PKEY_PARAM_RSA_E,
                           OSSL_PKEY_PARAM_RSA_D,         OSSL_PKEY_PARAM_RSA_FACTOR1,
                           OSSL_PKEY_PARAM_RSA_FACTOR2,   OSSL_PKEY_PARAM_RSA_EXPONENT1,
                           OSSL_PKEY_PARAM_RSA_EXPONENT2, OSSL_PKEY_PARAM_RSA_COEFFICIENT1};
    BIGNUM *bns[8] = {};
    OSSL_PARAM_BLD *bld = OSSL_PARAM_BLD_new();
    bool ok = bld != nullptr;
    for (int i = 0; i < 8 && ok; ++i) {
        bns[i] = BN_bin2bn(values[i]->data(), static_cast<int>(values[i]->size()), nullptr);
        ok = bns[i] != nullptr && OSSL_PARAM_BLD_push_BN(bld, names[i], bns[i]) == 1;
    }
    OSSL_PARAM *params = ok ? OSSL_PARAM_BLD_to_param(bld) : nullptr;
    EVP_PKEY_CTX *ctx = EVP_PKEY_CTX_new_from_name(nullptr, "RSA", nullptr);
    EVP_PKEY *pkey = nullptr;
    ok = params != nullptr && ctx != nullptr && EVP_PKEY_fromdata_init(ctx) == 1 &&
         EVP_PKEY_fromdata(ctx, &pkey, EVP_PKEY_KEYPAIR, params) == 1;
    EVP_PKEY_CTX_free(ctx);
    ctx = ok ? EVP_PKEY_CTX_new_from_pkey(nullptr, pkey, nullptr) : nullptr;
    ok = ok && ctx != nullptr && EVP_PKEY_check(ctx) == 1;
    EVP_PKEY_CTX_free(ctx);
    OSSL_PARAM_free(params);
    OSSL_PARAM_BLD_free(bld);
    for (BIGNUM *bn : bns) BN_clear_free(bn);
    if (!ok) {
        EVP_PKEY_free(pkey);
        return false;
    }
    Key signer(pkey, "SHA256", true);
    const Bytes message(32, 0x5a);
    Bytes signature;
    return signer.ok() && signer.sign(message, &signature) && signer.verify(message, signature);
}

bool rsa_keygen(int bits) {
    EVP_PKEY *pkey = rsa_generate(bits);
    EVP_PKEY_free(pkey);
    return pkey != nullptr;
}

bool rsa_sign(Key *key, const Bytes &message, Bytes *signature) { return key->sign(message, signature); }
bool rsa_verify(Key *key, const Bytes &message, const Bytes &signature) { return key->verify(message, signature); }
bool dsa_sign(Key *key, const Bytes &message, Bytes *der) { return key->sign(message, der); }
bool dsa_verify(Key *key, const Bytes &message, const Bytes &der) { return key->verify(message, der); }

bool dsa_der_to_rs(const Bytes &der, Bytes *r, Bytes *s) {
    const unsigned char *in = der.data();
    DSA_SIG *sig = d2i_DSA_SIG(nullptr, &in, static_cast<long>(der.size()));
    if (sig == nullptr) return false;
    const BIGNUM *br = nullptr;
    const BIGNUM *bs = nullptr;
    DSA_SIG_get0(sig, &br, &bs);
    r->resize(static_cast<size_t>(BN_num_bytes(br)));
    BN_bn2bin(br, r->data());
    s->resize(static_cast<size_t>(BN_num_bytes(bs)));
    BN_bn2bin(bs, s->data());
    DSA_SIG_free(sig);
    return true;
}

bool dsa_rs_to_der(const Bytes &r, const Bytes &s, Bytes *der) {
    DSA_SIG *sig = DSA_SIG_new();
    BIGNUM *br = BN_bin2bn(r.data(), static_cast<int>(r.size()), nullptr);
    BIGNUM *bs = BN_bin2bn(s.data(), static_cast<int>(s.size()), nullptr);
    if (sig == nullptr || br == nullptr || bs == nullptr || DSA_SIG_set0(sig, br, bs) != 1) {
        BN_free(br);
        BN_free(bs);
        DSA_SIG_free(sig);
        return false;
    }
    unsigned char *out = nullptr;
    const int length = i2d_DSA_SIG(sig, &out);
    DSA_SIG_free(sig);
    if (length <= 0) return false;
    der->assign(out, out + length);
    OPENSSL_free(out);
    return true;
}

}  // namespace peers
