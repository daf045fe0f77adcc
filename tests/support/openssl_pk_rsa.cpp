// OpenSSL RSA oracle (see oracle_pk_rsa.h).
#include "oracle_pk_rsa.h"

#include <openssl/bn.h>
#include <openssl/core_names.h>
#include <openssl/evp.h>
#include <openssl/param_build.h>
#include <openssl/rsa.h>

#include <memory>

namespace oracle::rsa {
namespace {

struct BnFree {
    void operator()(BIGNUM *b) const { BN_clear_free(b); }
};
using Bn = std::unique_ptr<BIGNUM, BnFree>;
struct PkeyFree {
    void operator()(EVP_PKEY *p) const { EVP_PKEY_free(p); }
};
using Pkey = std::unique_ptr<EVP_PKEY, PkeyFree>;
struct CtxFree {
    void operator()(EVP_PKEY_CTX *c) const { EVP_PKEY_CTX_free(c); }
};
using Ctx = std::unique_ptr<EVP_PKEY_CTX, CtxFree>;

Bn from_hex(const std::string &h) {
    BIGNUM *b = nullptr;
    if (h.empty() || BN_hex2bn(&b, h.c_str()) == 0)
        return Bn();
    return Bn(b);
}

std::string to_hex(const BIGNUM *b) {
    if (b == nullptr)
        return "";
    char *s = BN_bn2hex(b);
    std::string r = s != nullptr ? s : "";
    OPENSSL_free(s);
    return r;
}

std::string get_param(EVP_PKEY *pkey, const char *name) {
    BIGNUM *b = nullptr;
    if (EVP_PKEY_get_bn_param(pkey, name, &b) != 1)
        return "";
    std::string r = to_hex(b);
    BN_clear_free(b);
    return r;
}

Pkey make_key(const Key &key, bool with_private) {
    OSSL_PARAM_BLD *bld = OSSL_PARAM_BLD_new();
    if (bld == nullptr)
        return Pkey();
    Bn n = from_hex(key.n), e = from_hex(key.e), d = from_hex(key.d), p = from_hex(key.p), q = from_hex(key.q),
       dp = from_hex(key.dP), dq = from_hex(key.dQ), qi = from_hex(key.qInv);
    bool ok = n && e && OSSL_PARAM_BLD_push_BN(bld, OSSL_PKEY_PARAM_RSA_N, n.get()) == 1 &&
              OSSL_PARAM_BLD_push_BN(bld, OSSL_PKEY_PARAM_RSA_E, e.get()) == 1;
    if (ok && with_private) {
        ok = d && OSSL_PARAM_BLD_push_BN(bld, OSSL_PKEY_PARAM_RSA_D, d.get()) == 1;
        if (ok && p && q && dp && dq && qi)
            ok = OSSL_PARAM_BLD_push_BN(bld, OSSL_PKEY_PARAM_RSA_FACTOR1, p.get()) == 1 &&
                 OSSL_PARAM_BLD_push_BN(bld, OSSL_PKEY_PARAM_RSA_FACTOR2, q.get()) == 1 &&
                 OSSL_PARAM_BLD_push_BN(bld, OSSL_PKEY_PARAM_RSA_EXPONENT1, dp.get()) == 1 &&
                 OSSL_PARAM_BLD_push_BN(bld, OSSL_PKEY_PARAM_RSA_EXPONENT2, dq.get()) == 1 &&
                 OSSL_PARAM_BLD_push_BN(bld, OSSL_PKEY_PARAM_RSA_COEFFICIENT1, qi.get()) == 1;
    }
    OSSL_PARAM *params = ok ? OSSL_PARAM_BLD_to_param(bld) : nullptr;
    OSSL_PARAM_BLD_free(bld);
    if (params == nullptr)
        return Pkey();
    EVP_PKEY *pkey = nullptr;
    Ctx ctx(EVP_PKEY_CTX_new_from_name(nullptr, "RSA", nullptr));
    if (ctx && EVP_PKEY_fromdata_init(ctx.get()) == 1)
        EVP_PKEY_fromdata(ctx.get(), &pkey, with_private ? EVP_PKEY_KEYPAIR : EVP_PKEY_PUBLIC_KEY, params);
    OSSL_PARAM_free(params);
    return Pkey(pkey);
}

int modulus_bytes(const Key &key) {
    Bn n = from_hex(key.n);
    return n ? BN_num_bytes(n.get()) : 0;
}

enum class Op { encrypt, decrypt };

Bytes cipher(const Key &key, bool priv, Op op, int padding, const std::string &digest, const Bytes &in) {
    Pkey pkey = make_key(key, priv);
    if (!pkey)
        return {};
    Ctx ctx(EVP_PKEY_CTX_new_from_pkey(nullptr, pkey.get(), nullptr));
    if (!ctx)
        return {};
    if ((op == Op::encrypt ? EVP_PKEY_encrypt_init(ctx.get()) : EVP_PKEY_decrypt_init(ctx.get())) != 1)
        return {};
    if (EVP_PKEY_CTX_set_rsa_padding(ctx.get(), padding) != 1)
        return {};
    if (padding == RSA_PKCS1_OAEP_PADDING) {
        const EVP_MD *md = EVP_get_digestbyname(digest.c_str());
        if (md == nullptr || EVP_PKEY_CTX_set_rsa_oaep_md(ctx.get(), md) != 1 ||
            EVP_PKEY_CTX_set_rsa_mgf1_md(ctx.get(), md) != 1)
            return {};
    }
    size_t out_len = 0;
    if ((op == Op::encrypt ? EVP_PKEY_encrypt(ctx.get(), nullptr, &out_len, in.data(), in.size())
                           : EVP_PKEY_decrypt(ctx.get(), nullptr, &out_len, in.data(), in.size())) != 1)
        return {};
    Bytes out(out_len);
    if ((op == Op::encrypt ? EVP_PKEY_encrypt(ctx.get(), out.data(), &out_len, in.data(), in.size())
                           : EVP_PKEY_decrypt(ctx.get(), out.data(), &out_len, in.data(), in.size())) != 1)
        return {};
    out.resize(out_len);
    return out;
}

Bytes left_pad(const Key &key, const Bytes &in) {
    const int k = modulus_bytes(key);
    if (k <= 0 || in.size() > static_cast<size_t>(k))
        return {};
    Bytes padded(static_cast<size_t>(k) - in.size(), 0);
    padded.insert(padded.end(), in.begin(), in.end());
    return padded;
}

}  // namespace

bool generate(int bits, unsigned long e, Key *key) {
    Ctx ctx(EVP_PKEY_CTX_new_from_name(nullptr, "RSA", nullptr));
    if (!ctx || EVP_PKEY_keygen_init(ctx.get()) != 1 || EVP_PKEY_CTX_set_rsa_keygen_bits(ctx.get(), bits) != 1)
        return false;
    Bn be(BN_new());
    if (!be || BN_set_word(be.get(), e) != 1 || EVP_PKEY_CTX_set1_rsa_keygen_pubexp(ctx.get(), be.get()) != 1)
        return false;
    EVP_PKEY *raw = nullptr;
    if (EVP_PKEY_keygen(ctx.get(), &raw) != 1)
        return false;
    Pkey pkey(raw);
    key->n = get_param(raw, OSSL_PKEY_PARAM_RSA_N);
    key->e = get_param(raw, OSSL_PKEY_PARAM_RSA_E);
    key->d = get_param(raw, OSSL_PKEY_PARAM_RSA_D);
    key->p = get_param(raw, OSSL_PKEY_PARAM_RSA_FACTOR1);
    key->q = get_param(raw, OSSL_PKEY_PARAM_RSA_FACTOR2);
    key->dP = get_param(raw, OSSL_PKEY_PARAM_RSA_EXPONENT1);
    key->dQ = get_param(raw, OSSL_PKEY_PARAM_RSA_EXPONENT2);
    key->qInv = get_param(raw, OSSL_PKEY_PARAM_RSA_COEFFICIENT1);
    return !key->n.empty() && !key->d.empty() && !key->qInv.empty();
}

Bytes raw_public(const Key &key, const Bytes &in) {
    return cipher(key, false, Op::encrypt, RSA_NO_PADDING, "", left_pad(key, in));
}

Bytes raw_private(const Key &key, const Bytes &in) {
    return cipher(key, true, Op::decrypt, RSA_NO_PADDING, "", left_pad(key, in));
}

namespace {
Bytes sign_with(const Key &key, const std::string &digest, const Bytes &message, bool pss) {
    Pkey pkey = make_key(key, true);
    const EVP_MD *md = EVP_get_digestbyname(digest.c_str());
    if (!pkey || md == nullptr)
        return {};
    EVP_MD_CTX *mctx = EVP_MD_CTX_new();
    EVP_PKEY_CTX *pctx = nullptr;
    Bytes sig;
    size_t len = 0;
    if (mctx != nullptr && EVP_DigestSignInit(mctx, &pctx, md, nullptr, pkey.get()) == 1 &&
        (!pss || (EVP_PKEY_CTX_set_rsa_padding(pctx, RSA_PKCS1_PSS_PADDING) == 1 &&
                  EVP_PKEY_CTX_set_rsa_pss_saltlen(pctx, RSA_PSS_SALTLEN_DIGEST) == 1 &&
                  EVP_PKEY_CTX_set_rsa_mgf1_md(pctx, md) == 1)) &&
        EVP_DigestSign(mctx, nullptr, &len, message.data(), message.size()) == 1) {
        sig.resize(len);
        if (EVP_DigestSign(mctx, sig.data(), &len, message.data(), message.size()) == 1)
            sig.resize(len);
        else
            sig.clear();
    }
    EVP_MD_CTX_free(mctx);
    return sig;
}
}  // namespace

Bytes sign_pkcs1(const Key &key, const std::string &digest, const Bytes &message) {
    return sign_with(key, digest, message, false);
}

Bytes sign_pss(const Key &key, const std::string &digest, const Bytes &message) {
    return sign_with(key, digest, message, true);
}

namespace {
bool verify_with(const Key &key, const std::string &digest, const Bytes &message, const Bytes &signature, bool pss) {
    Pkey pkey = make_key(key, false);
    const EVP_MD *md = EVP_get_digestbyname(digest.c_str());
    if (!pkey || md == nullptr)
        return false;
    EVP_MD_CTX *mctx = EVP_MD_CTX_new();
    EVP_PKEY_CTX *pctx = nullptr;
    bool ok = false;
    if (mctx != nullptr && EVP_DigestVerifyInit(mctx, &pctx, md, nullptr, pkey.get()) == 1) {
        bool setup = true;
        if (pss)
            setup = EVP_PKEY_CTX_set_rsa_padding(pctx, RSA_PKCS1_PSS_PADDING) == 1 &&
                    EVP_PKEY_CTX_set_rsa_pss_saltlen(pctx, RSA_PSS_SALTLEN_DIGEST) == 1 &&
                    EVP_PKEY_CTX_set_rsa_mgf1_md(pctx, md) == 1;
        ok = setup && EVP_DigestVerify(mctx, signature.data(), signature.size(), message.data(), message.size()) == 1;
    }
    EVP_MD_CTX_free(mctx);
    return ok;
}
}  // namespace

bool verify_pkcs1(const Key &key, const std::string &digest, const Bytes &message, const Bytes &signature) {
    return verify_with(key, digest, message, signature, false);
}

bool verify_pss(const Key &key, const std::string &digest, const Bytes &message, const Bytes &signature) {
    return verify_with(key, digest, message, signature, true);
}

Bytes encrypt_oaep(const Key &key, const std::string &digest, const Bytes &message) {
    return cipher(key, false, Op::encrypt, RSA_PKCS1_OAEP_PADDING, digest, message);
}

Bytes decrypt_oaep(const Key &key, const std::string &digest, const Bytes &ciphertext) {
    return cipher(key, true, Op::decrypt, RSA_PKCS1_OAEP_PADDING, digest, ciphertext);
}

Bytes encrypt_pkcs1(const Key &key, const Bytes &message) {
    return cipher(key, false, Op::encrypt, RSA_PKCS1_PADDING, "", message);
}

Bytes decrypt_pkcs1(const Key &key, const Bytes &ciphertext) {
    return cipher(key, true, Op::decrypt, RSA_PKCS1_PADDING, "", ciphertext);
}

bool check_private_key(const Key &key) {
    Pkey pkey = make_key(key, true);
    if (!pkey)
        return false;
    Ctx ctx(EVP_PKEY_CTX_new_from_pkey(nullptr, pkey.get(), nullptr));
    return ctx && EVP_PKEY_check(ctx.get()) == 1;
}

}  // namespace oracle::rsa
