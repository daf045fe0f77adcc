#include "peers_bn.h"

#include <openssl/bn.h>

namespace peers {

class ModExp {
public:
    BN_CTX *ctx = BN_CTX_new();
    BIGNUM *a = BN_new();
    BIGNUM *p = BN_new();
    BIGNUM *m = BN_new();
    BIGNUM *r = BN_new();

    ~ModExp() {
        BN_free(a);
        BN_free(p);
        BN_free(m);
        BN_free(r);
        BN_CTX_free(ctx);
    }
    bool ok() const { return ctx && a && p && m && r; }
};

namespace {

bool load(BIGNUM *b, const std::vector<uint8_t> &bytes) {
    return BN_bin2bn(bytes.data(), static_cast<int>(bytes.size()), b) != nullptr;
}

}  // namespace

ModExp *new_mod_exp(const std::vector<uint8_t> &a, const std::vector<uint8_t> &p,
                    const std::vector<uint8_t> &m) {
    auto *e = new ModExp;
    if (!e->ok() || !load(e->a, a) || !load(e->p, p) || !load(e->m, m) || !BN_is_odd(e->m)) {
        delete e;
        return nullptr;
    }
    return e;
}

void free_mod_exp(ModExp *e) { delete e; }

bool run(ModExp *e) { return BN_mod_exp_mont(e->r, e->a, e->p, e->m, e->ctx, nullptr) == 1; }

std::vector<uint8_t> result(const ModExp *e) {
    std::vector<uint8_t> out(static_cast<size_t>(BN_num_bytes(e->r)));
    BN_bn2bin(e->r, out.data());
    return out;
}

}  // namespace peers
