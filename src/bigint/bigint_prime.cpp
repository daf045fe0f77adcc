// Probable primes: the Miller-Rabin test (HAC 4.24, Knuth 4.5.4 algorithm P)
// with random witnesses, and prime generation by a small-prime sieve over
// a random odd start followed by repeated single-round tests.
#include "bigint/bigint_internal.h"
#include "bigint/bigint_prime_internal.h"
#include "foundation/common.h"

#include <kry/bigint.h>

#include <array>
#include <atomic>
#include <cstdint>
#include <utility>

namespace kry {
namespace {

using kry::readable;
using kry::used_words;

// ---- the first 2048 primes ---------------------------------------------------

constexpr int kTablePrimes = prime::kSmallPrimeCount;
constexpr int kTableLimit = 17864;  // one above the 2048th prime

constexpr std::array<uint16_t, kTablePrimes> make_small_primes() {
    std::array<bool, kTableLimit> composite{};
    std::array<uint16_t, kTablePrimes> primes{};
    int count = 0;
    for (int i = 2; i < kTableLimit && count < kTablePrimes; i++) {
        if (composite[i])
            continue;
        primes[count++] = static_cast<uint16_t>(i);
        for (int j = i * i; j < kTableLimit; j += i)
            composite[j] = true;
    }
    return primes;
}

constexpr std::array<uint16_t, kTablePrimes> kSmallPrimes = make_small_primes();
static_assert(kSmallPrimes[0] == 2 && kSmallPrimes[1] == 3);
static_assert(kSmallPrimes[kTablePrimes - 2] != 0, "the table holds 2048 primes");
static_assert(kSmallPrimes[kTablePrimes - 1] == 17863, "the 2048th prime is 17863");

// The sieve walks delta in 32-bit arithmetic: remainder + delta stays below
// 2^32 while delta <= 2^32 - 1 - 17863.
constexpr uint32_t kMaxDelta = 0xFFFFFFFFu - 17863u;
static_assert(kMaxDelta == 0xFFFFBA38u);

// Below 16 bits no odd number passes the sieve (every one is either a table
// prime, divisible by one, or one above a multiple of one).
constexpr int32_t kMinPrimeBits = 16;

// ---- scratch helpers -----------------------------------------------------------

bool is_one(const BIGINT *v) { return v->length == 1 && v->data[0] == 1; }

std::atomic<uint64_t> g_rounds{0};

}  // namespace

// Single-round test count by the size of the prime searched for.
int prime::test_count(int32_t bits) {
    if (bits < 150) return 38;
    if (bits < 200) return 20;
    if (bits < 250) return 16;
    if (bits < 300) return 13;
    if (bits < 350) return 10;
    if (bits < 400) return 9;
    if (bits < 450) return 8;
    if (bits < 550) return 7;
    if (bits < 650) return 6;
    if (bits < 850) return 5;
    if (bits < 1300) return 4;
    return 3;
}

const uint16_t *prime::small_primes() { return kSmallPrimes.data(); }

uint64_t prime::rounds_performed() { return g_rounds.load(std::memory_order_relaxed); }

namespace {

// One Miller-Rabin round of n = 2^s d + 1 (t = n - 1) with a random
// witness: 1 passes, -1 composite, 0 a step failed.
int miller_rabin_round(const BIGINT *n, const BIGINT *t, const BIGINT *d, int32_t s, BIGINT_POOL *pool,
                       uint32_t digest_id) {
    kry::PoolFrame frame(pool);
    BIGINT *a = frame.get();
    BIGINT *reduced = frame.get();
    BIGINT *x = frame.get();
    BIGINT *y = frame.get();
    if (a == nullptr || reduced == nullptr || x == nullptr || y == nullptr)
        return 0;
    g_rounds.fetch_add(1, std::memory_order_relaxed);

    // Witness: bit length of t with the top bit set, reduced mod t when
    // above it, drawn again while zero.
    const int32_t t_bits = get_BIGINT_bits_length(t);
    do {
        if (rand_BIGINT(a, t_bits, 0, 0, pool, digest_id) != 0)
            return 0;
        if (cmp_BIGINT(a, t) > 0) {
            if (div_BIGINT(nullptr, reduced, a, t, pool) != 0)
                return 0;
            std::swap(a, reduced);
        }
    } while (a->length == 0);

    if (mod_exp_mont_BIGINT(x, a, d, n, pool) != 0)
        return 0;
    if (is_one(x))
        return 1;
    for (int32_t j = 0; j < s; j++) {
        if (cmp_BIGINT(x, t) == 0)  // (x + 1) mod n == 0
            return 1;
        if (j + 1 == s)
            break;
        if (mod_mtp_BIGINT(y, x, x, n, pool) != 0)
            return 0;
        std::swap(x, y);
    }
    return -1;
}

// The sieve of generate_BIGINT_prime: the smallest even delta <= limit
// such that no table prime (3 and up) divides candidate + delta or
// candidate + delta - 1; false when there is none.
bool sieve_delta(const uint16_t *remainders, uint32_t limit, uint32_t &delta) {
    delta = 0;
    for (;;) {
        bool admissible = true;
        for (int k = 1; k < kTablePrimes; k++) {
            if ((remainders[k] + delta) % kSmallPrimes[k] <= 1) {
                admissible = false;
                break;
            }
        }
        if (admissible)
            return true;
        if (limit - delta < 2)
            return false;
        delta += 2;
    }
}

// The largest delta that keeps candidate + delta below 2^bits (only bounds
// the walk for sizes that fit 63 bits; larger sizes use the sieve's limit).
uint32_t delta_limit(const BIGINT *candidate, int32_t bits) {
    if (bits >= 64)
        return kMaxDelta;
    uint64_t c = 0;
    const int32_t words = kry::used_words(candidate);
    for (int32_t i = words - 1; i >= 0; i--)
        c = (c << 32) | candidate->data[i];
    const uint64_t room = (uint64_t{1} << bits) - 1 - c;
    return room < kMaxDelta ? static_cast<uint32_t>(room) : kMaxDelta;
}

}  // namespace
}  // namespace kry

using namespace kry;

extern "C" {

KRY_API int is_BIGINT_prime(const BIGINT *n, int32_t rounds, BIGINT_POOL *pool, uint32_t digest_id) {
    if (n == nullptr)
        return 0;
    const int32_t words = kry::used_words(n);
    if (words == 0)
        return 0;
    if (words == 1 && n->data[0] == 2)
        return 1;
    if ((n->data[0] & 1) == 0)
        return -1;
    // 1 has no odd part to test (n - 1 has no set bit); answered as not prime.
    if (words == 1 && n->data[0] == 1)
        return -1;

    kry::ScratchFrame frame(pool);
    BIGINT *nn = frame.get();
    BIGINT *t = frame.get();
    BIGINT *d = frame.get();
    if (nn == nullptr || t == nullptr || d == nullptr)
        return 0;
    if (copy_BIGINT(nn, n) != 0)
        return 0;
    normalize_BIGINT(nn);
    if (copy_BIGINT(t, nn) != 0 || sub_BIGINT_word(t, 1) != 0)
        return 0;
    int32_t s = 1;
    while (is_BIGINT_bit_set(t, s) == 0)
        s++;
    if (rshift_BIGINT(d, t, s) != 0)
        return 0;

    // The round counter is raised before it is compared with rounds: rounds
    // - 1 witnesses are tried, and without any the answer stays -1.
    int result = -1;
    for (int32_t round = 1; round < rounds; round++) {
        const int r = miller_rabin_round(nn, t, d, s, frame.pool(), digest_id);
        if (r != 1)
            return r;
        result = 1;
    }
    return result;
}

KRY_API int generate_BIGINT_prime(BIGINT *p, int32_t bits, BIGINT_POOL *pool, uint32_t digest_id) {
    if (p == nullptr || bits < kMinPrimeBits)
        return 1;
    const int tests = prime::test_count(bits);
    kry::ScratchFrame frame(pool);
    BIGINT *half = frame.get();
    if (half == nullptr)
        return 1;

    uint16_t remainders[kTablePrimes] = {};
    WipeOnExit wipe_remainders(remainders);
    for (;;) {
        // A random odd candidate with its top bit set.
        if (rand_BIGINT(p, bits, 0, 1, frame.pool(), digest_id) != 0)
            return 1;
        for (int k = 1; k < kTablePrimes; k++)
            remainders[k] = static_cast<uint16_t>(mod_BIGINT_word(p, kSmallPrimes[k]));

        uint32_t delta = 0;
        if (!sieve_delta(remainders, delta_limit(p, bits), delta))
            continue;
        if (add_BIGINT_word(p, delta) != 0 || rshift_BIGINT(half, p, 1) != 0)
            return 1;
        if (get_BIGINT_bits_length(p) != bits)
            continue;

        int verdict = 1;
        for (int i = 0; i < tests && verdict == 1; i++)
            verdict = is_BIGINT_prime(p, 2, frame.pool(), digest_id);
        if (verdict == 0)
            return 1;
        if (verdict == 1) {
            clear_BIGINT(half);
            return 0;
        }
    }
}

}  // extern "C"
