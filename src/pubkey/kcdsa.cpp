// KCDSA (TTAK.KO-12.0001) with HAS-160: signing, verification, domain
// parameter generation and key pairs with a pairwise self-check.
#include <kry/kcdsa.h>

#include <kry/error.h>

#include "bigint/bigint_internal.h"
#include "foundation/common.h"
#include "foundation/ct.h"
#include "pubkey/kcdsa_internal.h"

#include <cstring>

namespace {

constexpr const char *kFile = "kcdsa.c";
constexpr uint32_t kHashLength = 20;    // HAS-160 output bytes
constexpr int32_t kZWords = 512 / 32;   // z = y mod 2^512

// Error words.
constexpr uint32_t kInitDigest = 0x0F010600;
constexpr uint32_t kInitNoUnit = 0x0F010006;
constexpr uint32_t kUpdateNoUnit = 0x0F020006;
constexpr uint32_t kUpdateAlloc = 0x0F020400;
constexpr uint32_t kUpdateDigest = 0x0F020600;
constexpr uint32_t kSignMissing = 0x0F040006;
constexpr uint32_t kSignDigest = 0x0F04000A;
constexpr uint32_t kSignRandom = 0x0F041B00;
constexpr uint32_t kSignPool = 0x0F041C00;
constexpr uint32_t kSignExp = 0x0F041D00;
constexpr uint32_t kSignSub = 0x0F041E00;
constexpr uint32_t kSignE = 0x0F041F00;
constexpr uint32_t kSignArith = 0x0F040600;
constexpr uint32_t kVerifyMissing = 0x0F050006;
constexpr uint32_t kVerifyDigest = 0x0F05000A;
constexpr uint32_t kVerifyPool = 0x0F051C00;
constexpr uint32_t kVerifyExp = 0x0F051D00;
constexpr uint32_t kVerifyS = 0x0F051F00;
constexpr uint32_t kVerifySZero = 0x0F052000;
constexpr uint32_t kVerifySRange = 0x0F052100;
constexpr uint32_t kVerifyInvalid = 0x0F050600;
constexpr uint32_t kGenSize = 0x0F060003;
constexpr uint32_t kGenNoUnit = 0x0F060006;
constexpr uint32_t kGenSeedAlloc = 0x0F060023;
constexpr uint32_t kGenPrng = 0x0F060001;
constexpr uint32_t kGenSeed = 0x0F060700;
constexpr uint32_t kGenCofactor = 0x0F061F00;
constexpr uint32_t kGenExpand = 0x0F06001C;
constexpr uint32_t kGenQBits = 0x0F062000;
constexpr uint32_t kGenP = 0x0F061B00;
constexpr uint32_t kGenQTest = 0x0F061C00;
constexpr uint32_t kGenPTest = 0x0F061D00;
constexpr uint32_t kGenH = 0x0F061E00;
constexpr uint32_t kGenG = 0x0F060600;
constexpr uint32_t kSetMissing = 0x0F070003;
constexpr uint32_t kSetY = 0x0F070600;
constexpr uint32_t kPairMissing = 0x0F080006;
constexpr uint32_t kPairPrng = 0x0F080001;
constexpr uint32_t kPairRandom = 0x0F081B00;
constexpr uint32_t kPairInverse = 0x0F081C00;
constexpr uint32_t kPairExp = 0x0F080600;
constexpr uint32_t kPairCheck = 0x0F081200;

void free_bigint(BIGINT *&b) {
    if (b != nullptr)
        free_BIGINT(b);
    b = nullptr;
}

// Zeroes a scratch number's words, leaving the record to its pool.
void wipe_scratch(BIGINT *b) {
    if (b != nullptr && b->data != nullptr && b->size > 0 && (b->flags & BIGINT_STATIC_DATA) == 0)
        kry::wipe(b->data, static_cast<size_t>(b->size) * sizeof(uint32_t));
}

bool is_zero(const BIGINT *b) { return get_BIGINT_bits_length(b) == 0; }

int32_t byte_length(const BIGINT *b) { return (get_BIGINT_bits_length(b) + 7) / 8; }

// HAS-160 of b's minimal unsigned big-endian bytes, through the unit's
// digest (re-initialised with its own algorithm).  0 or 1.
uint32_t hash_bigint(DIGEST_UNIT *digest, const BIGINT *b, uint8_t *out) {
    const int32_t n = byte_length(b);
    uint8_t *bytes = static_cast<uint8_t *>(lum_malloc(static_cast<uint32_t>(n > 0 ? n : 1), kFile, __LINE__));
    if (bytes == nullptr)
        return 1;
    BIGINT_to_binary_unsigned(b, bytes);
    uint32_t out_length = 0;
    uint32_t err = init_Digest(digest, digest->algorithm_id);
    if (err == 0)
        err = update_Digest(digest, bytes, static_cast<uint32_t>(n));
    if (err == 0)
        err = final_Digest(digest, out, &out_length);
    kry::wipe(bytes, static_cast<size_t>(n));
    lum_free(bytes, kFile, __LINE__);
    return err == 0 && out_length == kHashLength ? 0 : 1;
}

// A random generator bound to HAS-160: created when absent, initialised
// when not yet keyed.  0 or 1.
uint32_t ensure_prng(KCDSA *unit) {
    if (unit->prng == nullptr) {
        unit->prng = new_PRNG_UNIT();
        if (unit->prng == nullptr)
            return 1;
    }
    if (unit->prng->xkey != nullptr && unit->prng->g_id == KRY_HAS160)
        return 0;
    if (init_PRNG(unit->prng, KRY_HAS160, nullptr, 0, nullptr, 0, nullptr) != 0) {
        // Leave no half-bound generator behind: a later call starts afresh.
        free_PRNG_UNIT(unit->prng);
        unit->prng = nullptr;
        return 1;
    }
    return 0;
}

uint32_t ensure_pool(KCDSA *unit) {
    if (unit->pool == nullptr)
        unit->pool = new_BIGINT_POOL();
    return unit->pool == nullptr ? 1 : 0;
}

// Draws a nonzero value below bound.  0 or 1.
uint32_t draw_nonzero(PRNG_UNIT *prng, BIGINT *out, const BIGINT *bound) {
    for (;;) {
        if (prng == nullptr || get_rand_DSA_BIGINT(prng, out, bound) != 0)
            return 1;
        if (!is_zero(out))
            return 0;
    }
}

// y = g^(x^-1 mod q) mod p.  0, or 1 (pool / inverse), 2 (exponentiation).
uint32_t derive_y(BIGINT *y, const BIGINT *p, const BIGINT *q, const BIGINT *g, const BIGINT *x,
                  BIGINT_POOL *pool) {
    kry::PoolFrame frame(pool);
    BIGINT *xi = frame.get();
    if (xi == nullptr)
        return 1;
    uint32_t err = 0;
    if (kry::inv_BIGINT(xi, x, q, pool) == nullptr)
        err = 1;
    else if (mod_exp_mont_BIGINT(y, g, xi, p, pool) != 0)
        err = 2;
    wipe_scratch(xi);
    return err;
}

uint32_t sign_core(KCDSA *unit, const BIGINT *fixed_k, uint8_t *r, uint32_t *r_length, uint8_t *s,
                   uint32_t *s_length) {
    if (unit == nullptr || unit->p == nullptr || unit->q == nullptr || unit->x == nullptr ||
        unit->g == nullptr || r == nullptr || r_length == nullptr || s == nullptr || s_length == nullptr)
        return kSignMissing;
    if (unit->digest == nullptr)
        return kSignDigest;
    uint8_t h[KRY_MAX_DIGEST_LENGTH] = {};
    uint32_t h_length = 0;
    if (final_Digest(unit->digest, h, &h_length) != 0 || h_length != kHashLength)
        return kSignDigest;

    kry::PoolFrame frame(unit->pool);
    BIGINT *k = frame.get();
    BIGINT *w = frame.get();
    BIGINT *e = frame.get();
    if (k == nullptr || w == nullptr || e == nullptr)
        return kSignPool;
    struct Scrub {
        BIGINT *a, *b, *c;
        ~Scrub() {
            wipe_scratch(a);
            wipe_scratch(b);
            wipe_scratch(c);
        }
    } scrub{k, w, e};

    if (fixed_k != nullptr) {
        if (copy_BIGINT(k, fixed_k) != 0)
            return kSignRandom;
    } else if (draw_nonzero(unit->prng, k, unit->q) != 0) {
        return kSignRandom;
    }

    // W = g^k mod p; r = HAS-160(W).
    if (mod_exp_mont_BIGINT(w, unit->g, k, unit->p, unit->pool) != 0)
        return kSignExp;
    uint8_t rr[kHashLength];
    if (hash_bigint(unit->digest, w, rr) != 0)
        return kSignExp;
    std::memcpy(r, rr, kHashLength);
    *r_length = kHashLength;

    // e = (r xor H) mod q.
    uint8_t ev[kHashLength];
    for (uint32_t i = 0; i < kHashLength; i++)
        ev[i] = static_cast<uint8_t>(rr[i] ^ h[i]);
    if (binary_to_BIGINT(ev, static_cast<int32_t>(kHashLength), w) == nullptr)
        return kSignE;
    if (div_BIGINT(nullptr, e, w, unit->q, unit->pool) != 0)
        return kSignE;

    // s = x (k - e) mod q.
    if (cmp_BIGINT(k, e) < 0) {
        if (add_BIGINT(w, k, unit->q, unit->pool) != 0 || copy_BIGINT(k, w) != 0)
            return kSignArith;
    }
    if (sub_BIGINT(w, k, e, unit->pool) != 0)
        return kSignSub;
    if (mod_mtp_BIGINT(k, unit->x, w, unit->q, unit->pool) != 0)
        return kSignArith;

    // s right-aligned in ceil(bits(q) / 8) bytes.
    const int32_t field = byte_length(unit->q);
    const int32_t n = byte_length(k);
    if (n > field)
        return kSignArith;
    std::memset(s, 0, static_cast<size_t>(field));
    BIGINT_to_binary_unsigned(k, s + (field - n));
    *s_length = static_cast<uint32_t>(n + (n % 2));
    return 0;
}

}  // namespace

namespace kry {

uint32_t kcdsa_expand(const uint8_t *seed, uint32_t seed_length, uint8_t *out, int32_t bits) {
    if (seed == nullptr || out == nullptr || bits <= 0)
        return 1;
    const uint32_t n = (static_cast<uint32_t>(bits) + 7) / 8;
    uint8_t *input = static_cast<uint8_t *>(lum_malloc(seed_length + 1, kFile, __LINE__));
    if (input == nullptr)
        return 1;
    std::memcpy(input, seed, seed_length);
    uint32_t err = 0;
    uint8_t counter = 0;
    uint32_t remaining = n;
    uint32_t digest_length = 0;
    while (err == 0 && remaining >= kHashLength) {
        input[seed_length] = counter++;
        err = Digest(KRY_HAS160, input, seed_length + 1, out + (remaining - kHashLength), &digest_length);
        remaining -= kHashLength;
    }
    if (err == 0 && remaining > 0) {
        // The leading bytes come from an 80-byte area holding the last
        // digest in its first 20 bytes, read from offset 80 - 4m.
        uint8_t area[80] = {};
        input[seed_length] = counter;
        err = Digest(KRY_HAS160, input, seed_length + 1, area, &digest_length);
        if (err == 0)
            std::memcpy(out, area + (80 - 4 * remaining), remaining);
        kry::wipe(area, sizeof area);
    }
    if (err == 0 && bits % 8 != 0)
        out[0] &= static_cast<uint8_t>((1u << (bits % 8)) - 1);
    kry::wipe(input, seed_length + 1);
    lum_free(input, kFile, __LINE__);
    return err == 0 ? 0 : 1;
}

uint32_t kcdsa_sign_with_k(KCDSA *unit, const BIGINT *k, uint8_t *r, uint32_t *r_length, uint8_t *s,
                           uint32_t *s_length) {
    if (k == nullptr)
        return kSignRandom;
    return sign_core(unit, k, r, r_length, s, s_length);
}

}  // namespace kry

extern "C" {

KRY_API KCDSA *new_KCDSA(void) {
    KCDSA *unit = static_cast<KCDSA *>(lum_calloc(1, sizeof(KCDSA), kFile, __LINE__));
    if (unit == nullptr)
        return nullptr;
    unit->pool = new_BIGINT_POOL();
    unit->prng = new_PRNG_UNIT();
    if (unit->pool == nullptr || unit->prng == nullptr) {
        free_KCDSA(unit);
        return nullptr;
    }
    return unit;
}

KRY_API void clean_KCDSA(KCDSA *unit) {
    if (unit == nullptr)
        return;
    free_bigint(unit->p);
    free_bigint(unit->q);
    free_bigint(unit->g);
    free_bigint(unit->x);
    free_bigint(unit->y);
    free_bigint(unit->z);
    free_bigint(unit->r);
    if (unit->pool != nullptr)
        free_BIGINT_POOL(unit->pool);
    if (unit->prng != nullptr)
        free_PRNG_UNIT(unit->prng);
    if (unit->seed != nullptr)
        lum_Free(unit->seed, unit->seed_length + 4);  // the block is seed_length + 4 bytes
    if (unit->digest != nullptr)
        free_DIGEST_UNIT(unit->digest);
    kry::wipe_object(*unit);
}

KRY_API void free_KCDSA(KCDSA *unit) {
    if (unit == nullptr)
        return;
    clean_KCDSA(unit);
    lum_free(unit, kFile, __LINE__);
}

KRY_API uint32_t set_KCDSA_params(KCDSA *unit, const BIGINT *p, const BIGINT *q, const BIGINT *g,
                                  const BIGINT *x, const BIGINT *y) {
    if (uint32_t gate = kry::test_mode_gate(); gate != 0)
        return gate;
    if (unit == nullptr)
        return kSetMissing;
    clean_KCDSA(unit);
    if (p == nullptr || q == nullptr || g == nullptr)
        return kSetMissing;
    unit->p = dup_BIGINT(p);
    unit->q = dup_BIGINT(q);
    unit->g = dup_BIGINT(g);
    if (unit->p == nullptr || unit->q == nullptr || unit->g == nullptr)
        return kSetMissing;
    if (x != nullptr && (unit->x = dup_BIGINT(x)) == nullptr)
        return kSetY;
    if (y != nullptr) {
        if ((unit->y = dup_BIGINT(y)) == nullptr)
            return kSetY;
    } else if (x != nullptr) {
        if (ensure_pool(unit) != 0 || (unit->y = new_BIGINT()) == nullptr)
            return kSetY;
        if (derive_y(unit->y, unit->p, unit->q, unit->g, unit->x, unit->pool) != 0) {
            free_bigint(unit->y);
            return kSetY;
        }
    }
    return 0;
}

KRY_API uint32_t init_KCDSA(KCDSA *unit, uint32_t operation) {
    if (uint32_t gate = kry::test_mode_gate(); gate != 0)
        return gate;
    if (unit == nullptr)
        return kInitNoUnit;
    if (unit->digest == nullptr)
        unit->digest = new_DIGEST_UNIT();
    if (unit->digest == nullptr || init_Digest(unit->digest, KRY_HAS160) != 0) {
        if (unit->digest != nullptr)
            free_DIGEST_UNIT(unit->digest);
        unit->digest = nullptr;
        return kInitDigest;
    }
    if (ensure_pool(unit) != 0)
        return kInitDigest;
    // A generator that cannot be bound (proven mode refuses HAS-160 as G)
    // is left absent; signing then fails when it draws k.
    (void)ensure_prng(unit);
    if (unit->seed != nullptr)
        lum_Free(unit->seed, unit->seed_length + 4);  // the block is seed_length + 4 bytes
    unit->seed = nullptr;
    unit->seed_length = 0;
    unit->operation = operation;
    return 0;
}

KRY_API uint32_t update_KCDSA(KCDSA *unit, const uint8_t *message, uint32_t length) {
    if (unit == nullptr || (message == nullptr && length != 0))
        return kUpdateNoUnit;
    if (unit->digest == nullptr)
        return kUpdateDigest;
    if (unit->z == nullptr) {
        if (unit->y == nullptr)
            return kUpdateDigest;
        unit->z = dup_BIGINT(unit->y);
        if (unit->z == nullptr)
            return kUpdateDigest;
        if (unit->z->length > kZWords) {
            unit->z->length = kZWords;
            kry::normalize_BIGINT(unit->z);
        }
    }
    const uint32_t zl = static_cast<uint32_t>(byte_length(unit->z));
    if (length > 0xFFFFFFFFu - zl)
        return kUpdateAlloc;
    const uint32_t total = zl + length;
    uint8_t *buffer = static_cast<uint8_t *>(lum_malloc(total > 0 ? total : 1, kFile, __LINE__));
    if (buffer == nullptr)
        return kUpdateAlloc;
    BIGINT_to_binary_unsigned(unit->z, buffer);
    if (length > 0)
        std::memcpy(buffer + zl, message, length);
    const uint32_t err = update_Digest(unit->digest, buffer, total);
    lum_Free(buffer, total > 0 ? total : 1);
    return err == 0 ? 0 : kUpdateDigest;
}

KRY_API uint32_t final_KCDSA(KCDSA *unit, uint8_t *r, uint32_t *r_length, uint8_t *s, uint32_t *s_length) {
    if (unit != nullptr && unit->operation == 1)
        return sign_KCDSA(unit, r, r_length, s, s_length);
    return verify_KCDSA(unit, r, r_length, s, s_length);
}

KRY_API uint32_t sign_KCDSA(KCDSA *unit, uint8_t *r, uint32_t *r_length, uint8_t *s, uint32_t *s_length) {
    return sign_core(unit, nullptr, r, r_length, s, s_length);
}

KRY_API uint32_t verify_KCDSA(KCDSA *unit, uint8_t *r, uint32_t *r_length, uint8_t *s, uint32_t *s_length) {
    if (unit == nullptr || unit->p == nullptr || unit->q == nullptr || unit->y == nullptr ||
        unit->g == nullptr || r == nullptr || r_length == nullptr || s == nullptr || s_length == nullptr)
        return kVerifyMissing;
    if (unit->digest == nullptr)
        return kVerifyDigest;
    uint8_t h[KRY_MAX_DIGEST_LENGTH] = {};
    uint32_t h_length = 0;
    if (final_Digest(unit->digest, h, &h_length) != 0 || h_length != kHashLength)
        return kVerifyDigest;

    kry::PoolFrame frame(unit->pool);
    BIGINT *sv = frame.get();
    BIGINT *e = frame.get();
    BIGINT *t1 = frame.get();
    BIGINT *t2 = frame.get();
    if (sv == nullptr || e == nullptr || t1 == nullptr || t2 == nullptr)
        return kVerifyPool;
    if (*s_length > 0x7FFFFFFFu || binary_to_BIGINT(s, static_cast<int32_t>(*s_length), sv) == nullptr)
        return kVerifyS;
    if (is_zero(sv))
        return kVerifySZero;
    if (cmp_BIGINT(sv, unit->q) > 0)
        return kVerifySRange;
    // r must be exactly one digest long; a shorter r is never read past
    // its end.
    if (*r_length != kHashLength)
        return kVerifyInvalid;

    uint8_t ev[kHashLength];
    for (uint32_t i = 0; i < kHashLength; i++)
        ev[i] = static_cast<uint8_t>(r[i] ^ h[i]);
    if (binary_to_BIGINT(ev, static_cast<int32_t>(kHashLength), e) == nullptr)
        return kVerifyExp;

    // W' = y^s g^e mod p.
    if (mod_exp_mont_BIGINT(t1, unit->y, sv, unit->p, unit->pool) != 0 ||
        mod_exp_mont_BIGINT(t2, unit->g, e, unit->p, unit->pool) != 0 ||
        mod_mtp_BIGINT(sv, t1, t2, unit->p, unit->pool) != 0)
        return kVerifyExp;
    uint8_t rv[kHashLength];
    if (hash_bigint(unit->digest, sv, rv) != 0)
        return kVerifyExp;
    return kry::ct_equal(rv, r, kHashLength) ? 0 : kVerifyInvalid;
}

KRY_API uint32_t generate_KCDSA_params(KCDSA *unit, int32_t p_bits, int32_t q_bits) {
    if (uint32_t gate = kry::test_mode_gate(); gate != 0)
        return gate;
    if (p_bits < 1024 || p_bits > 2048 || p_bits % 256 != 0 || q_bits < 160 || q_bits > 256 || q_bits % 32 != 0)
        return kGenSize;
    if (unit == nullptr)
        return kGenNoUnit;

    const int32_t rounds_r = p_bits < 2048 ? 3 : 2;
    const int32_t rounds_q = p_bits < 2048 ? 18 : 12;
    const int32_t rounds_p = p_bits < 2048 ? 3 : 2;

    if (unit->seed != nullptr)
        lum_Free(unit->seed, unit->seed_length + 4);  // the block is seed_length + 4 bytes
    unit->seed = nullptr;
    const uint32_t seed_length = static_cast<uint32_t>(q_bits) / 8;
    unit->seed = static_cast<uint8_t *>(lum_calloc(1, seed_length + 4, kFile, __LINE__));
    if (unit->seed == nullptr)
        return kGenSeedAlloc;
    unit->seed_length = seed_length;

    auto release_seed = [unit]() {
        if (unit->seed != nullptr) {
            kry::wipe(unit->seed, unit->seed_length + 4);
            lum_free(unit->seed, kFile, __LINE__);
        }
        unit->seed = nullptr;
    };

    if (unit->prng != nullptr)
        free_PRNG_UNIT(unit->prng);
    unit->prng = nullptr;
    if (ensure_prng(unit) != 0) {
        release_seed();
        return kGenPrng;
    }
    if (ensure_pool(unit) != 0) {
        release_seed();
        return kGenNoUnit;
    }
    for (BIGINT **b : {&unit->p, &unit->q, &unit->g, &unit->r}) {
        if (*b == nullptr && (*b = new_BIGINT()) == nullptr) {
            release_seed();
            return kGenNoUnit;
        }
    }

    const int32_t alpha = p_bits - q_bits;
    const uint32_t u_length = static_cast<uint32_t>(alpha) / 8;
    const uint32_t q_length = static_cast<uint32_t>(q_bits) / 8;
    uint8_t *u = static_cast<uint8_t *>(lum_calloc(1, u_length + q_length, kFile, __LINE__));
    if (u == nullptr) {
        release_seed();
        return kGenNoUnit;
    }
    uint8_t *qbuf = u + u_length;

    uint32_t result = 0;
    {
        kry::PoolFrame frame(unit->pool);
        BIGINT *t = frame.get();
        BIGINT *h = frame.get();
        if (t == nullptr || h == nullptr)
            result = kGenNoUnit;

        // Cofactor r: alpha bits, top and bottom bits set, prime.
        while (result == 0) {
            if (get_rand(unit->prng, unit->seed, seed_length) != 0) {
                result = kGenSeed;
                break;
            }
            if (kry::kcdsa_expand(unit->seed, seed_length, u, alpha - 4) != 0 ||
                binary_to_BIGINT(u, static_cast<int32_t>(u_length), unit->r) == nullptr ||
                set_BIGINT_bit(unit->r, alpha - 1) != 0 || set_BIGINT_bit(unit->r, 0) != 0) {
                result = kGenCofactor;
                break;
            }
            const int prime = is_BIGINT_prime(unit->r, rounds_r, unit->pool, KRY_HAS160);
            if (prime == 0) {
                result = 1;
                break;
            }
            if (prime == 1)
                break;
        }

        // q and p = 2qr + 1.
        uint32_t counter = 0;
        while (result == 0 && counter < (1u << 24)) {
            counter++;
            kry::store32_be(unit->seed + seed_length, counter);
            if (kry::kcdsa_expand(unit->seed, seed_length + 4, qbuf, q_bits) != 0) {
                result = kGenExpand;
                break;
            }
            if (binary_to_BIGINT(qbuf, static_cast<int32_t>(q_length), unit->q) == nullptr ||
                set_BIGINT_bit(unit->q, q_bits - 1) != 0 || set_BIGINT_bit(unit->q, 0) != 0) {
                result = kGenQBits;
                break;
            }
            if (mtp_BIGINT(t, unit->q, unit->r, unit->pool) != 0 || kry::lshift_BIGINT(t, t, 1) != 0 ||
                add_BIGINT_word(t, 1) != 0 || copy_BIGINT(unit->p, t) != 0) {
                result = kGenP;
                break;
            }
            if (get_BIGINT_bits_length(unit->p) != p_bits)
                continue;
            int prime = is_BIGINT_prime(unit->q, rounds_q, unit->pool, KRY_HAS160);
            if (prime == 0) {
                result = kGenQTest;
                break;
            }
            if (prime != 1)
                continue;
            prime = is_BIGINT_prime(unit->p, rounds_p, unit->pool, KRY_HAS160);
            if (prime == 0) {
                result = kGenPTest;
                break;
            }
            if (prime == 1)
                break;
        }
        unit->counter = counter;

        // g = h^(2r) mod p, g != 1.
        if (result == 0 && kry::lshift_BIGINT(t, unit->r, 1) != 0)
            result = kGenG;
        while (result == 0) {
            if (draw_nonzero(unit->prng, h, unit->p) != 0) {
                result = kGenH;
                break;
            }
            if (mod_exp_mont_BIGINT(unit->g, h, t, unit->p, unit->pool) != 0) {
                result = kGenG;
                break;
            }
            if (cmp_BIGINT(unit->g, value_one_BIGINT()) != 0)
                break;
        }
        wipe_scratch(t);
        wipe_scratch(h);
    }
    kry::wipe(u, u_length + q_length);
    lum_free(u, kFile, __LINE__);
    release_seed();
    return result;
}

KRY_API uint32_t generate_KCDSA_key_pair(KCDSA *unit) {
    if (unit == nullptr || unit->p == nullptr || unit->q == nullptr || unit->g == nullptr)
        return kPairMissing;
    if (unit->x == nullptr && (unit->x = new_BIGINT()) == nullptr)
        return kPairMissing;
    if (ensure_prng(unit) != 0)
        return kPairPrng;
    if (ensure_pool(unit) != 0)
        return kPairInverse;
    if (draw_nonzero(unit->prng, unit->x, unit->q) != 0)
        return kPairRandom;
    if (unit->y == nullptr && (unit->y = new_BIGINT()) == nullptr)
        return kPairInverse;
    // A new y gives a new z.
    free_bigint(unit->z);
    const uint32_t derived = derive_y(unit->y, unit->p, unit->q, unit->g, unit->x, unit->pool);
    if (derived == 1)
        return kPairInverse;
    if (derived != 0)
        return kPairExp;

    // Pairwise consistency: sign 01 02 03, then verify it.
    constexpr uint32_t kBuffer = 4096;
    uint8_t *rb = static_cast<uint8_t *>(lum_calloc(1, kBuffer, kFile, __LINE__));
    uint8_t *sb = static_cast<uint8_t *>(lum_calloc(1, kBuffer, kFile, __LINE__));
    uint32_t result = kPairCheck;
    if (rb != nullptr && sb != nullptr) {
        static const uint8_t kMessage[3] = {1, 2, 3};
        uint32_t r_length = kBuffer;
        uint32_t s_length = kBuffer;
        if (init_KCDSA(unit, 1) == 0 && update_KCDSA(unit, kMessage, 3) == 0 &&
            final_KCDSA(unit, rb, &r_length, sb, &s_length) == 0 && init_KCDSA(unit, 0) == 0 &&
            update_KCDSA(unit, kMessage, 3) == 0 && final_KCDSA(unit, rb, &r_length, sb, &s_length) == 0)
            result = 0;
    }
    lum_Free(rb, kBuffer);
    lum_Free(sb, kBuffer);
    return result;
}

KRY_API int32_t get_KCDSA_length(KCDSA *unit) {
    if (kry::test_mode_gate() != 0)
        return -2;
    if (unit == nullptr || unit->q == nullptr)
        return 0;
    return byte_length(unit->q);
}

}  // extern "C"
