// RSA key pair generation (RFC 8017 3.1, 3.2): two primes of half the
// modulus size each, d modulo (p-1)(q-1) or lcm(p-1, q-1), and the CRT values.
#include <kry/rsa.h>

#include "bigint/bigint_internal.h"
#include "foundation/common.h"

namespace {

constexpr uint32_t kBadArgument = 0x10070003u;

bool make_absent(BIGINT *&b) {
    if (b == nullptr)
        b = new_BIGINT();
    return b != nullptr;
}

// 1 when gcd(x - 1, e) is 1, 0 when not, -1 on failure.
int coprime_minus_one(const BIGINT *x, const BIGINT *e, BIGINT *t, BIGINT *g, BIGINT_POOL *pool) {
    if (copy_BIGINT(t, x) != 0 || sub_BIGINT_word(t, 1) != 0 || kry::gcd_BIGINT(g, t, e, pool) != 0)
        return -1;
    return cmp_BIGINT(g, value_one_BIGINT()) == 0 ? 1 : 0;
}

uint32_t generate(RSA *rsa, const BIGINT *e, int32_t bits, int32_t kind, BIGINT_POOL *pool, kry::PoolFrame &frame) {
    if (!make_absent(rsa->n) || !make_absent(rsa->d) || !make_absent(rsa->e) || !make_absent(rsa->p) ||
        !make_absent(rsa->q) || !make_absent(rsa->dP) || !make_absent(rsa->dQ) || !make_absent(rsa->qInv))
        return 1;
    if (copy_BIGINT(rsa->e, e) != 0)
        return 1;
    // Blinding values belong to the previous key; the first signature makes new ones.
    for (BIGINT **b : {&rsa->blinding, &rsa->unblinding}) {
        if (*b != nullptr) {
            free_BIGINT(*b);
            *b = nullptr;
        }
    }
    BIGINT *t = frame.get();
    BIGINT *g = frame.get();
    BIGINT *p1 = frame.get();
    BIGINT *q1 = frame.get();
    if (t == nullptr || g == nullptr || p1 == nullptr || q1 == nullptr)
        return 1;
    // (p-1), (q-1) and the exponent modulus are secret: cleared on every exit.
    struct Clear {
        BIGINT *v[4];
        ~Clear() {
            for (BIGINT *b : v)
                clear_BIGINT(b);
        }
    } clear_on_exit{{t, g, p1, q1}};

    const int32_t p_bits = (bits + 1) / 2;
    const int32_t q_bits = bits - p_bits;

    for (;;) {
        if (generate_BIGINT_prime(rsa->p, p_bits, pool, 0) != 0)
            return 1;
        const int c = coprime_minus_one(rsa->p, rsa->e, t, g, pool);
        if (c < 0)
            return 1;
        if (c == 1)
            break;
    }
    for (;;) {
        int draws = 0;
        for (;;) {
            if (generate_BIGINT_prime(rsa->q, q_bits, pool, 0) != 0)
                return 1;
            if (cmp_BIGINT(rsa->q, rsa->p) != 0)
                break;
            if (++draws >= 3)
                return 1;
        }
        const int c = coprime_minus_one(rsa->q, rsa->e, t, g, pool);
        if (c < 0)
            return 1;
        if (c == 1)
            break;
    }
    if (cmp_BIGINT(rsa->p, rsa->q) < 0 && swap_BIGINT(rsa->p, rsa->q) != 0)
        return 1;

    if (mtp_BIGINT(rsa->n, rsa->p, rsa->q, pool) != 0)
        return 1;
    if (copy_BIGINT(p1, rsa->p) != 0 || sub_BIGINT_word(p1, 1) != 0 || copy_BIGINT(q1, rsa->q) != 0 ||
        sub_BIGINT_word(q1, 1) != 0)
        return 1;
    if (mtp_BIGINT(t, p1, q1, pool) != 0)
        return 1;
    if (kind == 2) {
        if (kry::gcd_BIGINT(g, p1, q1, pool) != 0 || div_BIGINT(t, nullptr, t, g, pool) != 0)
            return 1;
    }
    if (kry::inv_BIGINT(rsa->d, rsa->e, t, pool) == nullptr)
        return 1;
    if (div_BIGINT(nullptr, rsa->dP, rsa->d, p1, pool) != 0 || div_BIGINT(nullptr, rsa->dQ, rsa->d, q1, pool) != 0)
        return 1;
    if (kry::inv_BIGINT(rsa->qInv, rsa->q, rsa->p, pool) == nullptr)
        return 1;
    rsa->key_state = 31;

    // Round trip on the new key; its outcome is not examined.
    static const uint8_t probe[3] = {0x01, 0x02, 0x03};
    const uint32_t k = get_RSA_length(rsa);
    if (k != 0 && k != KRY_ERR_TEST_FAIL) {
        auto *c = static_cast<uint8_t *>(lum_calloc(k, 1, "rsa", __LINE__));
        auto *m = static_cast<uint8_t *>(lum_calloc(k, 1, "rsa", __LINE__));
        if (c != nullptr && m != nullptr) {
            uint32_t c_length = 0;
            uint32_t m_length = 0;
            init_RSAES(rsa, 0, 0, 0);
            encrypt_RSAES(rsa, c, &c_length, probe, sizeof probe);
            init_RSAES(rsa, 0, 1, 0);
            decrypt_RSAES(rsa, m, &m_length, c, c_length);
        }
        if (c != nullptr) {
            kry::wipe(c, k);
            lum_free(c, "rsa", __LINE__);
        }
        if (m != nullptr) {
            kry::wipe(m, k);
            lum_free(m, "rsa", __LINE__);
        }
    }
    return 0;
}

}  // namespace

extern "C" KRY_API uint32_t generate_RSA_params(RSA *rsa, const BIGINT *e, int32_t bits, int32_t kind) {
    if (uint32_t r = kry::test_mode_gate(); r != 0)
        return r;
    if (rsa == nullptr || e == nullptr || bits < 8 || (kind != 1 && kind != 2))
        return kBadArgument;
    if (rsa->pool == nullptr && (rsa->pool = new_BIGINT_POOL()) == nullptr)
        return 1;
    BIGINT_POOL *pool = rsa->pool;
    kry::PoolFrame frame(pool);
    if (!frame.ok())
        return 1;
    return generate(rsa, e, bits, kind, pool, frame);
}
