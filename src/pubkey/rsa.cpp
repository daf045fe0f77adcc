// RSA unit (RFC 8017 / PKCS #1): key storage, RSASSA signatures with
// blinding and CRT, RSAES encryption and decryption.
#include <kry/rsa.h>
#include <kry/prng.h>

#include "bigint/bigint_internal.h"
#include "foundation/common.h"
#include "pubkey/rsa_padding.h"

#include <cstring>

namespace {

constexpr const char *kSource = "rsa";

constexpr uint32_t kNotProven = KRY_ERR_NOT_PROVEN;

constexpr uint32_t err(uint32_t function, uint32_t reason) { return kry::error_word(0x10, function, reason); }

// Function numbers.
constexpr uint32_t kSign = 0x01, kVerify = 0x02, kInitSsa = 0x03, kUpdate = 0x04, kFinal = 0x05,
                   kSetParams = 0x08, kSetPublic = 0x09, kEncrypt = 0x0A, kDecrypt = 0x0B, kInitEs = 0x0C;

// Heap buffer released (and wiped) at scope end.
class Buffer {
  public:
    explicit Buffer(uint32_t size) : size_(size != 0 ? size : 1) {
        data_ = static_cast<uint8_t *>(lum_calloc(size_, 1, kSource, __LINE__));
    }
    ~Buffer() {
        if (data_ != nullptr) {
            kry::wipe(data_, size_);
            lum_free(data_, kSource, __LINE__);
        }
    }
    Buffer(const Buffer &) = delete;
    Buffer &operator=(const Buffer &) = delete;
    uint8_t *get() { return data_; }
    uint32_t size() const { return size_; }

  private:
    uint32_t size_;
    uint8_t *data_ = nullptr;
};

void release(BIGINT *&b) {
    if (b != nullptr) {
        free_BIGINT(b);
        b = nullptr;
    }
}

uint32_t modulus_bytes(const RSA *rsa) {
    if (rsa == nullptr || rsa->n == nullptr)
        return 0;
    const int32_t bits = get_BIGINT_bits_length(rsa->n);
    return bits > 0 ? (static_cast<uint32_t>(bits) + 7) / 8 : 0;
}

bool is_zero(const BIGINT *b) { return get_BIGINT_bits_length(b) == 0; }

bool crt_values_present(const RSA *rsa) {
    return rsa->p != nullptr && rsa->q != nullptr && rsa->dP != nullptr && rsa->dQ != nullptr &&
           rsa->qInv != nullptr;
}

bool use_crt(const RSA *rsa) { return (rsa->key_state & KRY_RSA_HAS_CRT) != 0 || crt_values_present(rsa); }

// Blinding values for signatures: blinding = r^e mod n, unblinding = r^-1
// mod n.  0 on success, 1 on failure.
int set_RSA_blinding(RSA *rsa) {
    if (rsa == nullptr || rsa->n == nullptr || rsa->e == nullptr || rsa->pool == nullptr)
        return 1;
    if (rsa->blinding == nullptr && (rsa->blinding = new_BIGINT()) == nullptr)
        return 1;
    if (rsa->unblinding == nullptr && (rsa->unblinding = new_BIGINT()) == nullptr)
        return 1;

    kry::PoolFrame frame(rsa->pool);
    BIGINT *t = frame.get();
    BIGINT *r = frame.get();
    BIGINT *rr = frame.get();
    if (t == nullptr || r == nullptr || rr == nullptr)
        return 1;
    if (copy_BIGINT(t, rsa->n) != 0 || sub_BIGINT_word(t, 1) != 0)
        return 1;

    PRNG_UNIT *unit = new_PRNG_UNIT();
    if (unit == nullptr)
        return 1;
    int result = 1;
    if (init_PRNG(unit, KRY_SHA1, nullptr, 0, nullptr, 0, nullptr) == 0) {
        const int32_t bits = get_BIGINT_bits_length(t);
        bool drawn = false;
        // Draws below t are discarded.
        for (;;) {
            if (get_rand_BIGINT(unit, r, bits) != 0)
                break;
            if (cmp_BIGINT(r, t) >= 0 && !is_zero(r)) {
                drawn = true;
                break;
            }
        }
        if (drawn && div_BIGINT(nullptr, rr, r, rsa->n, rsa->pool) == 0 &&
            mod_exp_mont_BIGINT(rsa->blinding, rr, rsa->e, rsa->n, rsa->pool) == 0 &&
            kry::inv_BIGINT(rsa->unblinding, rr, rsa->n, rsa->pool) != nullptr)
            result = 0;
    }
    free_PRNG_UNIT(unit);
    clear_BIGINT(r);
    clear_BIGINT(rr);
    return result;
}

// Private-key operation with the Chinese remainder theorem (RFC 8017 5.1.2),
// checked against the public exponent.  0 on success, 1 on failure.
int crt_RSA(RSA *rsa, BIGINT *out, const BIGINT *in) {
    if (kry::test_mode_gate() != 0)
        return 1;
    if (rsa == nullptr || out == nullptr || in == nullptr || !crt_values_present(rsa) || rsa->pool == nullptr)
        return 1;
    BIGINT_POOL *pool = rsa->pool;
    kry::PoolFrame frame(pool);
    BIGINT *m1 = frame.get();
    BIGINT *m2 = frame.get();
    BIGINT *h = frame.get();
    BIGINT *t = frame.get();
    if (m1 == nullptr || m2 == nullptr || h == nullptr || t == nullptr)
        return 1;
    int result = 1;
    do {
        if (div_BIGINT(nullptr, t, in, rsa->q, pool) != 0 || mod_exp_mont_BIGINT(m2, t, rsa->dQ, rsa->q, pool) != 0)
            break;
        if (div_BIGINT(nullptr, t, in, rsa->p, pool) != 0 || mod_exp_mont_BIGINT(m1, t, rsa->dP, rsa->p, pool) != 0)
            break;
        bool ok = true;
        while (ok && cmp_BIGINT(m1, m2) < 0)
            ok = add_BIGINT(m1, m1, rsa->p, pool) == 0;
        if (!ok || sub_BIGINT(t, m1, m2, pool) != 0 || mod_mtp_BIGINT(h, t, rsa->qInv, rsa->p, pool) != 0)
            break;
        if (mtp_BIGINT(t, h, rsa->q, pool) != 0 || add_BIGINT(out, m2, t, pool) != 0)
            break;
        if (rsa->e != nullptr && rsa->n != nullptr) {
            // Fault check: out^e must give the input back.
            if (mod_exp_mont_BIGINT(t, out, rsa->e, rsa->n, pool) != 0)
                break;
            if (cmp_BIGINT(t, in) < 0)
                break;
            if (sub_BIGINT(h, t, in, pool) != 0 || div_BIGINT(nullptr, t, h, rsa->n, pool) != 0)
                break;
            if (!is_zero(t)) {
                if (rsa->d == nullptr || mod_exp_mont_BIGINT(out, in, rsa->d, rsa->n, pool) != 0)
                    break;
            }
        }
        result = 0;
    } while (false);
    clear_BIGINT(m1);
    clear_BIGINT(m2);
    clear_BIGINT(h);
    clear_BIGINT(t);
    return result;
}

// Private exponentiation: CRT when the values are there, else in^d mod n.
int private_op(RSA *rsa, BIGINT *out, const BIGINT *in) {
    if (use_crt(rsa))
        return crt_RSA(rsa, out, in);
    if (rsa->d == nullptr || rsa->n == nullptr)
        return 1;
    return mod_exp_mont_BIGINT(out, in, rsa->d, rsa->n, rsa->pool) == 0 ? 0 : 1;
}

// Starts (making when absent) the unit's digest.
uint32_t start_digest(RSA *rsa, uint32_t digest_id, uint32_t err_alloc, uint32_t err_new, uint32_t err_restart) {
    bool made = false;
    if (rsa->digest == nullptr) {
        rsa->digest = new_DIGEST_UNIT();
        if (rsa->digest == nullptr)
            return err_alloc;
        made = true;
    }
    if (init_Digest(rsa->digest, digest_id & 0x0FFFFFFFu) != 0) {
        if (made) {
            free_DIGEST_UNIT(rsa->digest);
            rsa->digest = nullptr;
            return err_new;
        }
        return err_restart;
    }
    if (rsa->pool == nullptr) {
        rsa->pool = new_BIGINT_POOL();
        if (rsa->pool == nullptr)
            return err_alloc;
    }
    return 0;
}

}  // namespace

extern "C" {

KRY_API RSA *new_RSA(void) {
    auto *rsa = static_cast<RSA *>(lum_calloc(1, sizeof(RSA), kSource, __LINE__));
    if (rsa == nullptr)
        return nullptr;
    rsa->pool = new_BIGINT_POOL();
    if (rsa->pool == nullptr) {
        lum_free(rsa, kSource, __LINE__);
        return nullptr;
    }
    return rsa;
}

KRY_API void clean_RSA(RSA *rsa) {
    if (rsa == nullptr)
        return;
    release(rsa->d);
    release(rsa->e);
    release(rsa->n);
    release(rsa->dP);
    release(rsa->dQ);
    release(rsa->p);
    release(rsa->q);
    release(rsa->qInv);
    release(rsa->blinding);
    release(rsa->unblinding);
    if (rsa->digest != nullptr) {
        free_DIGEST_UNIT(rsa->digest);
        rsa->digest = nullptr;
    }
}

KRY_API void free_RSA(RSA *rsa) {
    if (rsa == nullptr)
        return;
    if (rsa->pool != nullptr) {
        free_BIGINT_POOL(rsa->pool);
        rsa->pool = nullptr;
    }
    clean_RSA(rsa);
    kry::wipe(rsa, sizeof(RSA));
    lum_free(rsa, kSource, __LINE__);
}

KRY_API uint32_t set_RSA_params(RSA *rsa, const BIGINT *n, const BIGINT *e, const BIGINT *d, const BIGINT *p,
                                const BIGINT *q, const BIGINT *dP, const BIGINT *dQ, const BIGINT *qInv) {
    if (uint32_t r = kry::test_mode_gate(); r != 0)
        return r;
    if (rsa == nullptr)
        return err(kSetParams, 0x0003);
    clean_RSA(rsa);
    if (n == nullptr)
        return err(kSetParams, 0x0003);
    const uint32_t alloc_failure = err(kSetParams, 0x0400);

    if (p != nullptr && q != nullptr && dP != nullptr && dQ != nullptr && qInv != nullptr) {
        rsa->key_state = KRY_RSA_HAS_CRT;
        if ((rsa->p = dup_BIGINT(p)) == nullptr || (rsa->q = dup_BIGINT(q)) == nullptr ||
            (rsa->dP = dup_BIGINT(dP)) == nullptr || (rsa->dQ = dup_BIGINT(dQ)) == nullptr ||
            (rsa->qInv = dup_BIGINT(qInv)) == nullptr)
            return alloc_failure;
        rsa->key_state |= KRY_RSA_HAS_CRT;
    } else if (rsa->key_state == KRY_RSA_HAS_CRT) {
        rsa->key_state = 0;
    }

    if (d != nullptr) {
        if ((rsa->d = dup_BIGINT(d)) == nullptr)
            return alloc_failure;
        rsa->key_state |= KRY_RSA_HAS_D;
    } else if (rsa->key_state == KRY_RSA_HAS_D) {
        rsa->key_state = 0;
    }

    if (e != nullptr) {
        if ((rsa->e = dup_BIGINT(e)) == nullptr)
            return alloc_failure;
        rsa->key_state |= KRY_RSA_HAS_E;
    } else if (rsa->key_state == KRY_RSA_HAS_E) {
        rsa->key_state = 0;
    }

    if ((rsa->n = dup_BIGINT(n)) == nullptr)
        return alloc_failure;
    rsa->key_state |= KRY_RSA_HAS_N;

    if (rsa->key_state > 3 && set_RSA_blinding(rsa) != 0)
        return err(kSetParams, 0x0600);
    return 0;
}

KRY_API uint32_t set_RSA_public_parmas(RSA *rsa, const BIGINT *n, const BIGINT *e) {
    if (uint32_t r = kry::test_mode_gate(); r != 0)
        return r;
    if (rsa == nullptr)
        return err(kSetPublic, 0x0003);
    clean_RSA(rsa);
    rsa->mode = 0;
    if (n == nullptr || e == nullptr)
        return err(kSetPublic, 0x0003);
    if ((rsa->n = dup_BIGINT(n)) == nullptr || (rsa->e = dup_BIGINT(e)) == nullptr)
        return err(kSetPublic, 0x0400);
    rsa->key_state |= KRY_RSA_HAS_N | KRY_RSA_HAS_E;
    return 0;
}

KRY_API uint32_t get_RSA_length(RSA *rsa) {
    if (kry::test_mode_gate() != 0)
        return KRY_ERR_TEST_FAIL;
    return modulus_bytes(rsa);
}

KRY_API uint32_t init_RSASSA(RSA *rsa, uint32_t digest_id, int32_t encoding, int32_t mode) {
    if (uint32_t r = kry::test_mode_gate(); r != 0)
        return r;
    if (rsa == nullptr)
        return err(kInitSsa, 0x0003);
    if (uint32_t r = start_digest(rsa, digest_id, err(kInitSsa, 0x0001), err(kInitSsa, 0x0600), err(kInitSsa, 0x0001)); r != 0)
        return r;
    rsa->encoding = encoding;
    rsa->mode = mode;
    return 0;
}

KRY_API uint32_t update_RSASSA(RSA *rsa, const uint8_t *data, uint32_t length) {
    if (rsa == nullptr || rsa->digest == nullptr)
        return err(kUpdate, 0x0006);
    if (update_Digest(rsa->digest, data, length) != 0)
        return err(kUpdate, 0x0600);
    return 0;
}

KRY_API uint32_t final_RSASSA(RSA *rsa, uint8_t *signature, uint32_t *length) {
    if (rsa == nullptr || signature == nullptr || length == nullptr)
        return err(kFinal, 0x0006);
    if (rsa->mode == 0) {
        if (rsa->key_state < 3)
            return err(kFinal, 0x0B00);
        return verify_RSASSA(rsa, signature, *length);
    }
    if (rsa->key_state < 4)
        return err(kFinal, 0x0C00);
    return sign_RSASSA(rsa, signature, length);
}

KRY_API uint32_t sign_RSASSA(RSA *rsa, uint8_t *out, uint32_t *out_length) {
    if (rsa == nullptr || out == nullptr || out_length == nullptr)
        return err(kSign, 0x0003);
    const uint32_t failure = err(kSign, 0x0600);
    const uint32_t k = modulus_bytes(rsa);
    if (k == 0 || rsa->pool == nullptr)
        return failure;

    kry::PoolFrame frame(rsa->pool);
    BIGINT *m = frame.get();
    BIGINT *s = frame.get();
    BIGINT *t = frame.get();
    if (m == nullptr || s == nullptr || t == nullptr)
        return failure;
    Buffer hash(k > KRY_MAX_DIGEST_LENGTH ? k : KRY_MAX_DIGEST_LENGTH);
    Buffer em(k);
    if (hash.get() == nullptr || em.get() == nullptr)
        return err(kSign, 0x0400);

    uint32_t h = 0;
    if (rsa->digest == nullptr || final_Digest(rsa->digest, hash.get(), &h) != 0)
        return failure;
    const uint32_t digest_id = rsa->digest->algorithm_id;

    uint32_t result = 0;
    switch (rsa->encoding) {
    case KRY_RSA_ENC_NONE:
        if (kry::proven())
            return kNotProven;
        if (binary_to_BIGINT(hash.get(), static_cast<int32_t>(h), m) == nullptr)
            result = failure;
        break;
    case KRY_RSA_EMSA_PKCS1_V15:
        if (add_EMSA_PKCS1_v1_5_ENCODE(em.get(), k, hash.get(), h, digest_id) != 0)
            result = err(kSign, 0x0800);
        else if (binary_to_BIGINT(em.get(), static_cast<int32_t>(k), m) == nullptr)
            result = failure;
        break;
    case KRY_RSA_EMSA_PSS:
        if (add_RSASSA_PKCS1_PSS_ENCODE(rsa, em.get(), k, hash.get(), h, static_cast<int32_t>(h), rsa->digest) != 0)
            result = err(kSign, 0x0800);
        else if (binary_to_BIGINT(em.get(), static_cast<int32_t>(k), m) == nullptr)
            result = failure;
        break;
    default:
        return err(kSign, 0x0300);
    }
    if (result == 0) {
        do {
            if (cmp_BIGINT(m, rsa->n) >= 0) {
                result = err(kSign, 0x0D00);
                break;
            }
            if ((rsa->blinding == nullptr || rsa->unblinding == nullptr) && set_RSA_blinding(rsa) != 0) {
                result = failure;
                break;
            }
            if (mod_mtp_BIGINT(t, m, rsa->blinding, rsa->n, rsa->pool) != 0 || private_op(rsa, s, t) != 0 ||
                mod_mtp_BIGINT(t, s, rsa->unblinding, rsa->n, rsa->pool) != 0) {
                result = failure;
                break;
            }
            const int32_t len = (get_BIGINT_bits_length(t) + 7) / 8;
            if (len < 0 || static_cast<uint32_t>(len) > k) {
                result = failure;
                break;
            }
            std::memset(out, 0, k - static_cast<uint32_t>(len));
            BIGINT_to_binary_unsigned(t, out + (k - static_cast<uint32_t>(len)));
            *out_length = k;
        } while (false);
    }
    clear_BIGINT(m);
    clear_BIGINT(s);
    clear_BIGINT(t);
    return result;
}

KRY_API uint32_t verify_RSASSA(RSA *rsa, const uint8_t *signature, uint32_t length) {
    if (rsa == nullptr)
        return err(kVerify, 0x0003);
    const uint32_t failure = err(kVerify, 0x0600);
    const uint32_t k = modulus_bytes(rsa);
    if (k == 0 || rsa->pool == nullptr)
        return failure;

    kry::PoolFrame frame(rsa->pool);
    BIGINT *s = frame.get();
    BIGINT *m = frame.get();
    if (s == nullptr || m == nullptr)
        return failure;
    const uint32_t h_capacity =
        rsa->digest != nullptr && rsa->digest->digest_length != 0 ? rsa->digest->digest_length : KRY_MAX_DIGEST_LENGTH;
    Buffer mbuf(k);
    Buffer hash(h_capacity > KRY_MAX_DIGEST_LENGTH ? h_capacity : KRY_MAX_DIGEST_LENGTH);
    if (mbuf.get() == nullptr || hash.get() == nullptr)
        return err(kVerify, 0x0400);

    uint32_t h = 0;
    if (rsa->digest == nullptr || final_Digest(rsa->digest, hash.get(), &h) != 0)
        return failure;
    const uint32_t digest_id = rsa->digest->algorithm_id;
    if (length == 0 || signature == nullptr)
        return err(kVerify, 0x0003);
    if (length > 0x7FFFFFFFu || binary_to_BIGINT(signature, static_cast<int32_t>(length), s) == nullptr)
        return failure;
    if (cmp_BIGINT(s, rsa->n) >= 0)
        return err(kVerify, 0x0E00);
    if (rsa->e == nullptr || mod_exp_mont_BIGINT(m, s, rsa->e, rsa->n, rsa->pool) != 0)
        return failure;
    const int32_t L = BIGINT_to_binary_unsigned(m, mbuf.get());
    if (L < 0)
        return failure;

    switch (rsa->encoding) {
    case KRY_RSA_ENC_NONE: {
        if (kry::proven())
            return kNotProven;
        if (binary_to_BIGINT(hash.get(), static_cast<int32_t>(h), s) == nullptr)
            return failure;
        return cmp_BIGINT(m, s) == 0 ? 0 : 1;
    }
    case KRY_RSA_EMSA_PKCS1_V15:
        return check_EMSA_PKCS1_v1_5_ENCODE(mbuf.get(), L, k, hash.get(), h, digest_id);
    case KRY_RSA_EMSA_PSS:
        return check_RSASSA_PKCS1_PSS_ENCODE(rsa, mbuf.get(), static_cast<uint32_t>(L), hash.get(), h,
                                             static_cast<int32_t>(h), rsa->digest);
    default:
        return err(kVerify, 0x0900);
    }
}

KRY_API uint32_t init_RSAES(RSA *rsa, int32_t encoding, int32_t mode, uint32_t digest_id) {
    if (uint32_t r = kry::test_mode_gate(); r != 0)
        return r;
    if ((encoding == KRY_RSA_ENC_NONE || encoding == KRY_RSA_RSAES_PKCS1_V15) && kry::proven())
        return kNotProven;
    if (rsa == nullptr)
        return err(kInitEs, 0x0003);
    if (digest_id == 0)
        digest_id = KRY_SHA1;
    if (uint32_t r = start_digest(rsa, digest_id, err(kInitEs, 0x0600), err(kInitEs, 0x0600), err(kInitEs, 0x0001)); r != 0)
        return r;
    rsa->encoding = encoding;
    rsa->mode = mode;
    return 0;
}

KRY_API uint32_t encrypt_RSAES(RSA *rsa, uint8_t *out, uint32_t *out_length, const uint8_t *in, uint32_t in_length) {
    if (rsa == nullptr || out == nullptr || out_length == nullptr)
        return err(kEncrypt, 0x0003);
    if (rsa->mode == 0) {
        if ((rsa->key_state & 3u) == 0)
            return err(kEncrypt, 0x0B00);
    } else if ((rsa->key_state & 5u) == 0) {
        return err(kEncrypt, 0x0C00);
    }
    const uint32_t failure = err(kEncrypt, 0x0600);
    const uint32_t k = modulus_bytes(rsa);
    if (k == 0 || rsa->pool == nullptr)
        return failure;
    if (in == nullptr && in_length != 0)
        return err(kEncrypt, 0x0003);

    kry::PoolFrame frame(rsa->pool);
    BIGINT *m = frame.get();
    BIGINT *c = frame.get();
    if (m == nullptr || c == nullptr)
        return failure;
    const uint32_t em_size = rsa->encoding == KRY_RSA_ENC_NONE && in_length > k ? in_length : k;
    Buffer em(em_size);
    Buffer scratch(k > KRY_MAX_DIGEST_LENGTH ? k : KRY_MAX_DIGEST_LENGTH);
    if (em.get() == nullptr || scratch.get() == nullptr)
        return err(kEncrypt, 0x0400);

    uint32_t len = 0;
    switch (rsa->encoding) {
    case KRY_RSA_ENC_NONE:
        if (kry::proven())
            return kNotProven;
        if (in_length != 0)
            std::memcpy(em.get(), in, in_length);
        len = in_length;
        break;
    case KRY_RSA_OAEP_V20:
    case KRY_RSA_OAEP_V21:
        len = encode_RSAES_OAEP_PADDING(rsa, in, in_length, em.get(), k, scratch.get(), 0,
                                        rsa->encoding == KRY_RSA_OAEP_V21 ? 1 : 0);
        break;
    case KRY_RSA_RSAES_PKCS1_V15:
        if (kry::proven())
            return kNotProven;
        len = encode_RSAES_PKCS1_PADDING(rsa, in, in_length, em.get(), k);
        break;
    default:
        // No encoding step and no defined block: rejected.
        return err(kEncrypt, 0x0800);
    }
    if (len < 1 || len > em.size() || len > 0x7FFFFFFFu)
        return err(kEncrypt, 0x0800);

    uint32_t result = 0;
    do {
        if (binary_to_BIGINT(em.get(), static_cast<int32_t>(len), m) == nullptr) {
            result = failure;
            break;
        }
        if (cmp_BIGINT(m, rsa->n) >= 0) {
            result = err(kEncrypt, 0x0D00);
            break;
        }
        if (rsa->mode == 0) {
            if (rsa->e == nullptr || mod_exp_mont_BIGINT(c, m, rsa->e, rsa->n, rsa->pool) != 0) {
                result = failure;
                break;
            }
        } else if (rsa->mode == 1) {
            if (rsa->d == nullptr || mod_exp_BIGINT(c, m, rsa->d, rsa->n, rsa->pool) != 0) {
                result = failure;
                break;
            }
        } else {
            *out_length = 0;
            break;
        }
        const int32_t written = BIGINT_to_binary_unsigned(c, out);
        if (written < 0) {
            result = failure;
            break;
        }
        *out_length = static_cast<uint32_t>(written);
    } while (false);
    clear_BIGINT(m);
    clear_BIGINT(c);
    return result;
}

KRY_API uint32_t decrypt_RSAES(RSA *rsa, uint8_t *out, uint32_t *out_length, const uint8_t *in, uint32_t in_length) {
    if (rsa == nullptr || out == nullptr || out_length == nullptr)
        return err(kDecrypt, 0x0003);
    // (Both key checks carry the encryption function's number.)
    if (rsa->mode != 0) {
        if ((rsa->key_state & 3u) == 0)
            return err(kEncrypt, 0x0B00);
    } else if ((rsa->key_state & 5u) == 0) {
        return err(kEncrypt, 0x0C00);
    }
    const uint32_t failure = err(kDecrypt, 0x0600);
    const uint32_t k = modulus_bytes(rsa);
    if (k == 0 || rsa->pool == nullptr)
        return failure;

    kry::PoolFrame frame(rsa->pool);
    BIGINT *c = frame.get();
    BIGINT *m = frame.get();
    if (c == nullptr || m == nullptr)
        return failure;
    Buffer block(k);
    Buffer scratch(k > KRY_MAX_DIGEST_LENGTH ? k : KRY_MAX_DIGEST_LENGTH);
    if (block.get() == nullptr || scratch.get() == nullptr)
        return err(kDecrypt, 0x0400);

    uint32_t result = 0;
    do {
        if (in == nullptr || in_length > 0x7FFFFFFFu ||
            binary_to_BIGINT(in, static_cast<int32_t>(in_length), c) == nullptr) {
            result = failure;
            break;
        }
        if (cmp_BIGINT(c, rsa->n) >= 0) {
            result = err(kDecrypt, 0x0D00);
            break;
        }
        if (rsa->mode == 1) {
            if (private_op(rsa, m, c) != 0) {
                result = failure;
                break;
            }
        } else if (rsa->mode == 0) {
            if (rsa->e == nullptr || mod_exp_mont_BIGINT(m, c, rsa->e, rsa->n, rsa->pool) != 0) {
                result = failure;
                break;
            }
        }
        const int32_t L = BIGINT_to_binary_unsigned(m, block.get());
        if (L < 0) {
            result = failure;
            break;
        }
        uint32_t length = 0;
        switch (rsa->encoding) {
        case KRY_RSA_RSAES_PKCS1_V15:
            if (kry::proven()) {
                result = kNotProven;
                break;
            }
            length = decode_RSAES_PKCS1_PADDING(rsa, block.get(), static_cast<uint32_t>(L), out, in_length);
            break;
        case KRY_RSA_OAEP_V20:
        case KRY_RSA_OAEP_V21:
            length = decode_RSAES_OAEP_PADDING(rsa, block.get(), static_cast<uint32_t>(L), out, in_length,
                                               scratch.get(), 0, rsa->encoding == KRY_RSA_OAEP_V21 ? 1 : 0);
            break;
        case KRY_RSA_ENC_NONE:
            if (kry::proven()) {
                result = kNotProven;
                break;
            }
            if (static_cast<uint32_t>(L) <= in_length) {
                if (L > 0)
                    std::memcpy(out, block.get(), static_cast<uint32_t>(L));
                length = static_cast<uint32_t>(L);
            }
            break;
        default:
            break;
        }
        if (result != 0)
            break;
        *out_length = length;
        if (static_cast<int32_t>(length) < 1)
            result = err(kDecrypt, 0x0900);
    } while (false);
    clear_BIGINT(c);
    clear_BIGINT(m);
    return result;
}

}  // extern "C"
