// Internal view of the prime search, for the tests: the small-prime table,
// the single-round test count by size, and a count of Miller-Rabin rounds.
#ifndef KRY_SRC_BIGINT_PRIME_INTERNAL_H
#define KRY_SRC_BIGINT_PRIME_INTERNAL_H

#include <cstdint>

namespace kry::prime {

inline constexpr int kSmallPrimeCount = 2048;

// The first 2048 primes, 2 to 17863, ascending.
const uint16_t *small_primes();

// The number of single-round tests generate_BIGINT_prime runs on a
// candidate of the given size.
int test_count(int32_t bits);

// Miller-Rabin rounds (witnesses tried) so far in this process.
uint64_t rounds_performed();

}  // namespace kry::prime

#endif  // KRY_SRC_BIGINT_PRIME_INTERNAL_H
