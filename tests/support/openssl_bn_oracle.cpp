// OpenSSL BN as the big-integer oracle, behind hexadecimal strings.
#include "oracle_bn.h"

#include <openssl/bn.h>
#include <openssl/crypto.h>

#include <memory>

namespace oracle::bn {
namespace {

struct BnFree {
    void operator()(BIGNUM *b) const { BN_free(b); }
};
using Bn = std::unique_ptr<BIGNUM, BnFree>;

struct CtxFree {
    void operator()(BN_CTX *c) const { BN_CTX_free(c); }
};

Bn parse(const std::string &hex) {
    BIGNUM *b = nullptr;
    if (BN_hex2bn(&b, hex.empty() ? "0" : hex.c_str()) == 0) return Bn(BN_new());
    return Bn(b);
}

std::string text(const BIGNUM *b) {
    if (BN_is_zero(b)) return "0";
    char *h = BN_bn2hex(b);
    std::string s = h ? h : "";
    OPENSSL_free(h);
    return s;
}

BN_CTX *ctx() {
    static std::unique_ptr<BN_CTX, CtxFree> c(BN_CTX_new());
    return c.get();
}

}  // namespace

std::string mul(const std::string &a, const std::string &b) {
    Bn r(BN_new()), x = parse(a), y = parse(b);
    return BN_mul(r.get(), x.get(), y.get(), ctx()) ? text(r.get()) : "";
}

std::string sqr(const std::string &a) {
    Bn r(BN_new()), x = parse(a);
    return BN_sqr(r.get(), x.get(), ctx()) ? text(r.get()) : "";
}

std::string div(const std::string &a, const std::string &d) {
    Bn q(BN_new()), x = parse(a), y = parse(d);
    return BN_div(q.get(), nullptr, x.get(), y.get(), ctx()) ? text(q.get()) : "";
}

std::string mod(const std::string &a, const std::string &d) {
    Bn r(BN_new()), x = parse(a), y = parse(d);
    return BN_mod(r.get(), x.get(), y.get(), ctx()) ? text(r.get()) : "";
}

std::string mod_mul(const std::string &a, const std::string &b, const std::string &m) {
    Bn r(BN_new()), x = parse(a), y = parse(b), n = parse(m);
    return BN_mod_mul(r.get(), x.get(), y.get(), n.get(), ctx()) ? text(r.get()) : "";
}

std::string mod_exp(const std::string &a, const std::string &p, const std::string &m) {
    Bn r(BN_new()), x = parse(a), e = parse(p), n = parse(m);
    return BN_mod_exp(r.get(), x.get(), e.get(), n.get(), ctx()) ? text(r.get()) : "";
}

std::string mod_inverse(const std::string &a, const std::string &m) {
    Bn r(BN_new()), x = parse(a), n = parse(m);
    return BN_mod_inverse(r.get(), x.get(), n.get(), ctx()) ? text(r.get()) : "";
}

std::string gcd(const std::string &a, const std::string &b) {
    Bn r(BN_new()), x = parse(a), y = parse(b);
    return BN_gcd(r.get(), x.get(), y.get(), ctx()) ? text(r.get()) : "";
}

std::string to_dec(const std::string &a) {
    Bn x = parse(a);
    char *d = BN_bn2dec(x.get());
    std::string s = d ? d : "";
    OPENSSL_free(d);
    return s;
}

int is_prime(const std::string &a) {
    Bn x = parse(a);
    return BN_check_prime(x.get(), ctx(), nullptr);
}

}  // namespace oracle::bn
