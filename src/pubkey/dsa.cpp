// DSA (FIPS 186-2): signing, verification, domain parameters by the
// seed-and-counter search of appendix 2.2, key pairs.  Per-message k and the
// private key come from the FIPS 186-2 general-purpose generator (appendix 3).
#include <kry/dsa.h>
#include <kry/error.h>

#include "bigint/bigint_internal.h"
#include "foundation/common.h"
#include "foundation/ct.h"
#include "pubkey/dsa_internal.h"

#include <cstring>

namespace {

constexpr uint32_t kProvenRefusal = 0xFFFFFFFFu;

constexpr uint32_t kInitDigest = 0x0E010600u;
constexpr uint32_t kUpdateNoUnit = 0x0E020006u;
constexpr uint32_t kUpdateDigest = 0x0E020600u;
constexpr uint32_t kFinalNoKey = 0x0E020C00u;
constexpr uint32_t kFinalNoUnit = 0x0E030006u;
constexpr uint32_t kSignMissing = 0x0E040006u;
constexpr uint32_t kSignFailure = 0x0E040600u;
constexpr uint32_t kVerifyMissing = 0x0E050006u;
constexpr uint32_t kVerifyFailure = 0x0E050600u;
constexpr uint32_t kSetMissing = 0x0E060003u;
constexpr uint32_t kGenParamsFailure = 0x0E070600u;
constexpr uint32_t kGenKeyFailure = 0x0E080600u;

constexpr int32_t kPrimeRounds = 50;
constexpr uint32_t kSeedBytes = 20;
constexpr uint32_t kCounterLimit = 4096;

void release(BIGINT *&b) {
    if (b != nullptr) {
        clear_BIGINT(b);
        free_BIGINT(b);
        b = nullptr;
    }
}

// Increments a big-endian byte string modulo 2^(8 length).
void increment_be(uint8_t *bytes, uint32_t length) {
    for (uint32_t i = length; i-- > 0;) {
        if (++bytes[i] != 0)
            break;
    }
}

// Hashes data into out (outlen bytes).
bool hash_bytes(DIGEST_UNIT *digest, uint32_t digest_id, const uint8_t *data, uint32_t length, uint8_t *out) {
    uint32_t out_length = 0;
    if (init_Digest(digest, digest_id) != 0)
        return false;
    if (update_Digest(digest, data, length) != 0)
        return false;
    return final_Digest(digest, out, &out_length) == 0;
}

// Writes b in minimal big-endian form; returns its length.
uint32_t write_minimal(const BIGINT *b, uint8_t *out) {
    const int32_t n = BIGINT_to_binary_unsigned(b, out);
    return n > 0 ? static_cast<uint32_t>(n) : 0;
}

// The signing arithmetic of FIPS 186-2 section 5 with the digest already
// finished into h (h_length bytes).  k is drawn from the unit's generator
// when fixed_k is null.
uint32_t sign_arith(DSA *unit, const BIGINT *fixed_k, const uint8_t *h, uint32_t h_length, uint8_t *r,
                    uint32_t *r_length, uint8_t *s, uint32_t *s_length) {
    kry::PoolFrame frame(unit->pool);
    BIGINT *k = frame.get();
    BIGINT *t = frame.get();
    BIGINT *hm = frame.get();
    BIGINT *rr = frame.get();
    BIGINT *ss = frame.get();
    BIGINT *kinv = frame.get();
    if (!frame.ok() || k == nullptr || t == nullptr || hm == nullptr || rr == nullptr || ss == nullptr ||
        kinv == nullptr)
        return kSignFailure;

    uint32_t status = 0;
    if (fixed_k != nullptr) {
        if (copy_BIGINT(k, fixed_k) != 0)
            status = kSignFailure;
    } else {
        do {
            if (get_rand_DSA_BIGINT(unit->prng, k, unit->q) != 0) {
                status = kSignFailure;
                break;
            }
        } while (get_BIGINT_bits_length(k) == 0);
    }
    if (status == 0) {
        // r = (g^k mod p) mod q
        if (mod_exp_mont_BIGINT(t, unit->g, k, unit->p, unit->pool) != 0 ||
            div_BIGINT(nullptr, rr, t, unit->q, unit->pool) != 0)
            status = kSignFailure;
    }
    if (status == 0) {
        // s = k^-1 ((H mod q) + (x r mod q)) mod q
        if (binary_to_BIGINT(h, static_cast<int32_t>(h_length), t) == nullptr ||
            div_BIGINT(nullptr, hm, t, unit->q, unit->pool) != 0 ||
            mod_mtp_BIGINT(t, unit->x, rr, unit->q, unit->pool) != 0 ||
            add_BIGINT(ss, hm, t, unit->pool) != 0 || div_BIGINT(nullptr, t, ss, unit->q, unit->pool) != 0 ||
            kry::inv_BIGINT(kinv, k, unit->q, unit->pool) == nullptr ||
            mod_mtp_BIGINT(ss, kinv, t, unit->q, unit->pool) != 0)
            status = kSignFailure;
    }
    if (status == 0) {
        const uint32_t rl = write_minimal(rr, r);
        const uint32_t sl = write_minimal(ss, s);
        if (r_length != nullptr)
            *r_length = rl;
        // An odd-length s is reported one byte longer (the byte after it in
        // the caller's buffer is not written).
        if (s_length != nullptr)
            *s_length = (sl & 1u) != 0 ? sl + 1 : sl;
    }
    clear_BIGINT(k);
    clear_BIGINT(kinv);
    clear_BIGINT(t);
    clear_BIGINT(hm);
    clear_BIGINT(ss);
    clear_BIGINT(rr);
    return status;
}

uint32_t finish_digest(DSA *unit, uint8_t *h, uint32_t *h_length) {
    if (unit->digest_unit == nullptr)
        return 1;
    return final_Digest(unit->digest_unit, h, h_length);
}

uint32_t sign_common(DSA *unit, const BIGINT *fixed_k, uint8_t *r, uint32_t *r_length, uint8_t *s,
                     uint32_t *s_length) {
    if (unit == nullptr)
        return kSignMissing;
    if (fixed_k == nullptr) {
        if (unit->x == nullptr)
            return kSignMissing;
        // k comes from the generator keyed with x; the kept seed is the
        // additional input.
        uint8_t xbytes[KRY_MAX_DIGEST_LENGTH * 8];
        kry::WipeOnExit wipe_x(xbytes);
        if (get_BIGINT_bits_length(unit->x) > static_cast<int32_t>(sizeof xbytes * 8))
            return kSignFailure;
        const uint32_t xl = write_minimal(unit->x, xbytes);
        if (unit->prng == nullptr)
            unit->prng = new_PRNG_UNIT();
        if (unit->prng == nullptr ||
            init_PRNG(unit->prng, KRY_SHA1, xbytes, xl, unit->seed, unit->seed_length, unit->pool) != 0)
            return kSignFailure;
    }
    if (unit->p == nullptr || unit->q == nullptr || unit->x == nullptr || unit->g == nullptr)
        return kSignMissing;
    uint8_t h[KRY_MAX_DIGEST_LENGTH] = {};
    uint32_t h_length = 0;
    if (finish_digest(unit, h, &h_length) != 0)
        return kSignFailure;
    if (r == nullptr || s == nullptr)
        return kSignFailure;
    return sign_arith(unit, fixed_k, h, h_length, r, r_length, s, s_length);
}

}  // namespace

namespace kry {

uint32_t dsa_sign_with_k(DSA *unit, const BIGINT *k, uint8_t *r, uint32_t *r_length, uint8_t *s,
                         uint32_t *s_length) {
    if (k == nullptr)
        return kSignMissing;
    return sign_common(unit, k, r, r_length, s, s_length);
}

}  // namespace kry

namespace {

// The verification arithmetic over a finished digest H; *match as for
// dsa_verify_result.
uint32_t verify_hashed(DSA *unit, const uint8_t *h, uint32_t h_length, const uint8_t *r, uint32_t r_length,
                       const uint8_t *s, uint32_t s_length, int *match) {
    if ((r == nullptr && r_length != 0) || (s == nullptr && s_length != 0) || r_length > 0x7FFFFFFFu ||
        s_length > 0x7FFFFFFFu)
        return kVerifyFailure;

    kry::PoolFrame frame(unit->pool);
    BIGINT *rb = frame.get();
    BIGINT *sb = frame.get();
    BIGINT *w = frame.get();
    BIGINT *u1 = frame.get();
    BIGINT *u2 = frame.get();
    BIGINT *t1 = frame.get();
    BIGINT *t2 = frame.get();
    if (!frame.ok() || rb == nullptr || sb == nullptr || w == nullptr || u1 == nullptr || u2 == nullptr ||
        t1 == nullptr || t2 == nullptr)
        return kVerifyFailure;
    // r and s are taken as given, without a range check.
    if (binary_to_BIGINT(r, static_cast<int32_t>(r_length), rb) == nullptr ||
        binary_to_BIGINT(s, static_cast<int32_t>(s_length), sb) == nullptr ||
        binary_to_BIGINT(h, static_cast<int32_t>(h_length), t1) == nullptr)
        return kVerifyFailure;
    if (kry::inv_BIGINT(w, sb, unit->q, unit->pool) == nullptr ||
        mod_mtp_BIGINT(u1, t1, w, unit->q, unit->pool) != 0 || mod_mtp_BIGINT(u2, rb, w, unit->q, unit->pool) != 0 ||
        kry::mod_exp2_mont_BIGINT(w, unit->g, u1, unit->y, u2, unit->p, unit->pool) != 0 ||
        div_BIGINT(nullptr, u1, w, unit->q, unit->pool) != 0)
        return kVerifyFailure;

    // v = u1: compare its minimal bytes with r as given.
    const int32_t v_bits = get_BIGINT_bits_length(u1);
    const uint32_t v_length = static_cast<uint32_t>((v_bits + 7) / 8);
    if (v_length == r_length) {
        uint8_t stack_buf[512];
        uint8_t *v = v_length <= sizeof stack_buf
                         ? stack_buf
                         : static_cast<uint8_t *>(lum_malloc(v_length, __FILE__, __LINE__));
        if (v == nullptr)
            return kVerifyFailure;
        write_minimal(u1, v);
        const bool equal = v_length == 0 || kry::ct_equal(v, r, v_length) == 1;
        if (v != stack_buf)
            lum_Free(v, v_length);
        else
            kry::wipe(stack_buf, v_length);
        if (match != nullptr)
            *match = equal ? 1 : 0;
    }
    return 0;
}

}  // namespace

namespace kry {

uint32_t dsa_verify_result(DSA *unit, const uint8_t *r, uint32_t r_length, const uint8_t *s, uint32_t s_length,
                           int *match, bool retry_trimmed_s) {
    if (match != nullptr)
        *match = 0;
    if (unit == nullptr || unit->p == nullptr || unit->q == nullptr || unit->y == nullptr || unit->g == nullptr)
        return kVerifyMissing;
    uint8_t h[KRY_MAX_DIGEST_LENGTH] = {};
    uint32_t h_length = 0;
    if (finish_digest(unit, h, &h_length) != 0)
        return kVerifyFailure;
    int matched = 0;
    uint32_t status = verify_hashed(unit, h, h_length, r, r_length, s, s_length, &matched);
    // The signer reports an odd-length s one byte longer; such an s arrives
    // with a trailing byte that is not part of it.
    if (status == 0 && matched == 0 && retry_trimmed_s && s_length >= 2 && (s_length & 1u) == 0)
        status = verify_hashed(unit, h, h_length, r, r_length, s, s_length - 1, &matched);
    if (match != nullptr)
        *match = status == 0 ? matched : 0;
    return status;
}

}  // namespace kry

extern "C" {

KRY_API DSA *new_DSA(void) {
    auto *unit = static_cast<DSA *>(lum_malloc(sizeof(DSA), __FILE__, __LINE__));
    if (unit == nullptr)
        return nullptr;
    std::memset(unit, 0, sizeof *unit);
    unit->pool = new_BIGINT_POOL();
    unit->prng = new_PRNG_UNIT();
    if (unit->pool == nullptr || unit->prng == nullptr) {
        free_BIGINT_POOL(unit->pool);
        free_PRNG_UNIT(unit->prng);
        lum_free(unit, __FILE__, __LINE__);
        return nullptr;
    }
    return unit;
}

KRY_API void clean_DSA(DSA *unit) {
    if (unit == nullptr)
        return;
    release(unit->p);
    release(unit->q);
    release(unit->g);
    release(unit->x);
    release(unit->y);
    if (unit->pool != nullptr)
        free_BIGINT_POOL(unit->pool);
    if (unit->prng != nullptr)
        free_PRNG_UNIT(unit->prng);
    if (unit->digest_unit != nullptr)
        free_DIGEST_UNIT(unit->digest_unit);
    // The kept seed buffer is not freed here; its pointer is cleared with
    // the rest of the record.
    kry::wipe(unit, sizeof *unit);
}

KRY_API void free_DSA(DSA *unit) {
    if (unit == nullptr)
        return;
    // clean_DSA clears the seed pointer but leaves the buffer: release it
    // here.  Its length field need not describe the block.
    uint8_t *seed = unit->seed;
    clean_DSA(unit);
    kry::wipecheck::free_unsized(seed, __FILE__, __LINE__);
    lum_Free(unit, sizeof *unit);
}

KRY_API uint32_t set_DSA_params(DSA *unit, const BIGINT *p, const BIGINT *q, const BIGINT *g, const BIGINT *y,
                                const BIGINT *x) {
    if (uint32_t r = kry::test_mode_gate(); r != 0)
        return r;
    if (unit == nullptr)
        return kSetMissing;
    clean_DSA(unit);
    if (p == nullptr || q == nullptr || g == nullptr || y == nullptr)
        return kSetMissing;
    unit->p = dup_BIGINT(p);
    unit->q = dup_BIGINT(q);
    unit->g = dup_BIGINT(g);
    unit->y = dup_BIGINT(y);
    if (x != nullptr)
        unit->x = dup_BIGINT(x);
    if (unit->p == nullptr || unit->q == nullptr || unit->g == nullptr || unit->y == nullptr ||
        (x != nullptr && unit->x == nullptr))
        return 1;
    return 0;
}

KRY_API uint32_t init_DSA(DSA *unit, uint32_t digest_id, uint32_t operation, const uint8_t *seed,
                          uint32_t seed_length) {
    if (IsProven() == 1)
        return kProvenRefusal;  // DSA is not an approved algorithm in proven mode
    if (uint32_t r = kry::test_mode_gate(); r != 0)
        return r;
    if (unit == nullptr)
        return kInitDigest;
    if (unit->digest_unit != nullptr) {
        if (init_Digest(unit->digest_unit, digest_id) != 0)
            return kInitDigest;
    } else {
        DIGEST_UNIT *digest = new_DIGEST_UNIT();
        if (digest == nullptr)
            return kInitDigest;
        if (init_Digest(digest, digest_id) != 0) {
            free_DIGEST_UNIT(digest);
            return kInitDigest;
        }
        unit->digest_unit = digest;
    }
    if (unit->pool == nullptr) {
        unit->pool = new_BIGINT_POOL();
        if (unit->pool == nullptr)
            return kInitDigest;
    }
    // The seed is kept only when present and of odd length; the length field
    // is then left as it was.
    const uint32_t present = seed != nullptr ? 1u : 0u;
    if ((present & seed_length) != 0) {
        auto *copy = static_cast<uint8_t *>(lum_malloc(seed_length, __FILE__, __LINE__));
        if (copy != nullptr)
            std::memcpy(copy, seed, seed_length);
        kry::wipecheck::free_unsized(unit->seed, __FILE__, __LINE__);
        unit->seed = copy;
    } else {
        kry::wipecheck::free_unsized(unit->seed, __FILE__, __LINE__);
        unit->seed = nullptr;
        unit->seed_length = 0;
    }
    unit->operation = operation;
    return 0;
}

KRY_API uint32_t update_DSA(DSA *unit, const uint8_t *message, uint32_t length) {
    if (unit == nullptr)
        return kUpdateNoUnit;
    if (unit->digest_unit == nullptr || update_Digest(unit->digest_unit, message, length) != 0)
        return kUpdateDigest;
    return 0;
}

KRY_API uint32_t final_DSA(DSA *unit, uint8_t *r, uint32_t *r_length, uint8_t *s, uint32_t *s_length) {
    if (unit == nullptr)
        return kFinalNoUnit;
    if (unit->operation == KRY_DSA_SIGN) {
        if (unit->x == nullptr)
            return kFinalNoKey;
        return sign_DSA(unit, r, r_length, s, s_length);
    }
    return verify_DSA(unit, r, r_length != nullptr ? *r_length : 0, s, s_length != nullptr ? *s_length : 0);
}

KRY_API uint32_t sign_DSA(DSA *unit, uint8_t *r, uint32_t *r_length, uint8_t *s, uint32_t *s_length) {
    return sign_common(unit, nullptr, r, r_length, s, s_length);
}

KRY_API uint32_t verify_DSA(DSA *unit, const uint8_t *r, uint32_t r_length, const uint8_t *s, uint32_t s_length) {
    // The comparison of v with r is not reported here.
    return kry::dsa_verify_result(unit, r, r_length, s, s_length, nullptr);
}

KRY_API uint32_t generate_DSA_params(DSA *unit, uint32_t digest_id, uint32_t p_bits, const uint8_t *seed) {
    if (uint32_t r = kry::test_mode_gate(); r != 0)
        return r;
    DSA *own = nullptr;
    if (unit == nullptr) {
        own = new_DSA();
        if (own == nullptr)
            return kGenParamsFailure;
        unit = own;
    }
    if (unit->pool == nullptr) {
        unit->pool = new_BIGINT_POOL();
        if (unit->pool == nullptr)
            return kGenParamsFailure;
    }
    // The identifier selects the generator's G function; the search hashes
    // with it when it names a digest, otherwise (a block-cipher G: ARIA,
    // SEED) with SHA-1.
    uint32_t hash_id = digest_id;
    uint32_t outlen = get_DigestLength(digest_id);
    if (outlen == 0 || outlen > KRY_MAX_DIGEST_LENGTH) {
        hash_id = KRY_SHA1;
        outlen = get_DigestLength(KRY_SHA1);
    }
    // FIPS 186-2 appendix 2.2: L at least 512 and a multiple of 64.
    uint32_t L = p_bits < 512 ? 512 : p_bits;
    L = (L + 63) / 64 * 64;
    const uint32_t n = (L - 1) / 160;

    PRNG_UNIT *prng = new_PRNG_UNIT();
    DIGEST_UNIT *digest = new_DIGEST_UNIT();
    BIGINT *B = new_BIGINT();
    BIGINT *q = new_BIGINT();
    BIGINT *p = new_BIGINT();
    BIGINT *g = new_BIGINT();
    BIGINT *W = new_BIGINT();
    BIGINT *t = new_BIGINT();
    BIGINT *c = new_BIGINT();
    BIGINT *q2 = new_BIGINT();
    uint32_t status = 0;
    bool found = false;
    bool stop = false;
    uint8_t work[kSeedBytes];
    uint8_t u[KRY_MAX_DIGEST_LENGTH];
    uint8_t v[KRY_MAX_DIGEST_LENGTH];

    if (prng == nullptr || digest == nullptr || B == nullptr || q == nullptr || p == nullptr || g == nullptr ||
        W == nullptr || t == nullptr || c == nullptr || q2 == nullptr || outlen == 0 ||
        outlen > KRY_MAX_DIGEST_LENGTH || init_PRNG(prng, digest_id, nullptr, 0, nullptr, 0, unit->pool) != 0 ||
        init_Digest(digest, hash_id) != 0 || set_BIGINT_word(B, 0) != 0 ||
        set_BIGINT_bit(B, static_cast<int32_t>(L - 1)) != 0)
        status = kGenParamsFailure;

    while (status == 0 && !found && !stop) {
        // Step 1-5: a seed and q.
        uint8_t seed_bytes[kSeedBytes];
        if (seed != nullptr) {
            std::memcpy(seed_bytes, seed, kSeedBytes);
        } else {
            // A block-cipher G keys its next block with XKEY mod 2^b, which
            // loses entropy from block to block until the stream repeats
            // (seeds would cycle, or the continuous test fail): each seed is
            // drawn from a freshly seeded generator instead.
            const bool reseed = hash_id != digest_id;
            if ((reseed && init_PRNG(prng, digest_id, nullptr, 0, nullptr, 0, unit->pool) != 0) ||
                get_rand(prng, seed_bytes, kSeedBytes) != 0) {
                status = kGenParamsFailure;
                break;
            }
        }
        std::memcpy(work, seed_bytes, kSeedBytes);
        if (!hash_bytes(digest, hash_id, work, kSeedBytes, u)) {
            status = kGenParamsFailure;
            break;
        }
        increment_be(work, kSeedBytes);
        if (!hash_bytes(digest, hash_id, work, kSeedBytes, v)) {
            status = kGenParamsFailure;
            break;
        }
        for (uint32_t i = 0; i < outlen; ++i)
            u[i] ^= v[i];
        u[0] |= 0x80;
        u[outlen - 1] |= 0x01;
        if (binary_to_BIGINT(u, static_cast<int32_t>(outlen), q) == nullptr) {
            status = kGenParamsFailure;
            break;
        }
        if (is_BIGINT_prime(q, kPrimeRounds, unit->pool, 0) != 1) {
            if (seed != nullptr)
                stop = true;  // a given seed that does not give a prime q
            continue;
        }
        if (add_BIGINT(q2, q, q, unit->pool) != 0) {
            status = kGenParamsFailure;
            break;
        }
        // Steps 6-14: the counter search for p; the working copy continues
        // from SEED + 1.
        for (uint32_t counter = 0; counter < kCounterLimit && status == 0; ++counter) {
            if (set_BIGINT_word(W, 0) != 0) {
                status = kGenParamsFailure;
                break;
            }
            for (uint32_t k = 0; k <= n; ++k) {
                increment_be(work, kSeedBytes);
                if (!hash_bytes(digest, hash_id, work, kSeedBytes, v) ||
                    binary_to_BIGINT(v, static_cast<int32_t>(outlen), t) == nullptr ||
                    kry::lshift_BIGINT(t, t, static_cast<int32_t>(160 * k)) != 0 ||
                    add_BIGINT(W, W, t, unit->pool) != 0) {
                    status = kGenParamsFailure;
                    break;
                }
            }
            if (status != 0)
                break;
            // X = (W mod 2^(L-1)) + B; c = X mod 2q; p = X - (c - 1)
            if (div_BIGINT(nullptr, t, W, B, unit->pool) != 0 || add_BIGINT(t, t, B, unit->pool) != 0 ||
                div_BIGINT(nullptr, c, t, q2, unit->pool) != 0) {
                status = kGenParamsFailure;
                break;
            }
            if (get_BIGINT_bits_length(c) == 0) {
                if (copy_BIGINT(p, t) != 0 || add_BIGINT_word(p, 1) != 0) {
                    status = kGenParamsFailure;
                    break;
                }
            } else if (sub_BIGINT_word(c, 1) != 0 || sub_BIGINT(p, t, c, unit->pool) != 0) {
                status = kGenParamsFailure;
                break;
            }
            if (cmp_BIGINT(p, B) >= 0 && is_BIGINT_prime(p, kPrimeRounds, unit->pool, 0) == 1) {
                found = true;
                break;
            }
        }
    }

    if (status == 0 && found) {
        // g = h^((p-1)/q) mod p from h = 2 upward
        uint32_t h = 2;
        if (copy_BIGINT(t, p) != 0 || sub_BIGINT_word(t, 1) != 0 || div_BIGINT(W, nullptr, t, q, unit->pool) != 0)
            status = kGenParamsFailure;
        while (status == 0) {
            if (set_BIGINT_word(c, h) != 0 || mod_exp_mont_BIGINT(g, c, W, p, unit->pool) != 0) {
                status = kGenParamsFailure;
                break;
            }
            if (cmp_BIGINT(g, value_one_BIGINT()) != 0)
                break;
            ++h;
        }
        if (status == 0) {
            release(unit->p);
            release(unit->q);
            release(unit->g);
            unit->p = p;
            unit->q = q;
            unit->g = g;
            p = q = g = nullptr;
        }
    }

    kry::wipe(work, sizeof work);
    release(B);
    release(q);
    release(p);
    release(g);
    release(W);
    release(t);
    release(c);
    release(q2);
    free_PRNG_UNIT(prng);
    free_DIGEST_UNIT(digest);
    if (own != nullptr)
        free_DSA(own);
    return status;
}

KRY_API uint32_t generate_DSA_key_pair(DSA *unit) {
    if (uint32_t r = kry::test_mode_gate(); r != 0)
        return r;
    if (unit == nullptr)
        return 1;
    if (unit->x == nullptr) {
        unit->x = new_BIGINT();
        if (unit->x == nullptr)
            return 1;
    }
    if (unit->p == nullptr || unit->q == nullptr || unit->g == nullptr)
        return kGenKeyFailure;
    if (unit->pool == nullptr && (unit->pool = new_BIGINT_POOL()) == nullptr)
        return kGenKeyFailure;
    if (unit->prng == nullptr && (unit->prng = new_PRNG_UNIT()) == nullptr)
        return kGenKeyFailure;
    if (init_PRNG(unit->prng, KRY_SHA1, nullptr, 0, nullptr, 0, unit->pool) != 0)
        return kGenKeyFailure;
    do {
        if (get_rand_DSA_BIGINT(unit->prng, unit->x, unit->q) != 0)
            return kGenKeyFailure;
    } while (get_BIGINT_bits_length(unit->x) == 0);
    if (unit->y == nullptr) {
        unit->y = new_BIGINT();
        if (unit->y == nullptr)
            return 1;
    }
    if (mod_exp_mont_BIGINT(unit->y, unit->g, unit->x, unit->p, unit->pool) != 0)
        return kGenKeyFailure;
    return 0;
}

}  // extern "C"
