// Prime generation at the sizes RSA key generation uses, repeated: exact
// size, OpenSSL's verdict, the sieve conditions, and the time taken.
#include <gtest/gtest.h>

#include <kry/bigint.h>
#include <kry/digest.h>
#include <kry/error.h>

#include "bigint/bigint_prime_internal.h"

#include "oracle_bn.h"

#include <chrono>
#include <cstdio>
#include <string>

namespace {

class PrimeSlow : public ::testing::Test {
  protected:
    static void SetUpTestSuite() { ChangeNonProvenMode(); }
};

std::string hex_of(const BIGINT *b) {
    char *t = BIGINT_to_HEX(b);
    std::string s = t != nullptr ? t : "";
    lum_free(t, "test", 0);
    size_t nz = s.find_first_not_of('0');
    return nz == std::string::npos ? "0" : s.substr(nz);
}

void generate_and_check(int bits, int count, uint32_t digest_id = 0) {
    BIGINT_POOL *pool = new_BIGINT_POOL();
    BIGINT *p = new_BIGINT();
    const uint16_t *table = kry::prime::small_primes();
    double total_ms = 0;
    for (int i = 0; i < count; i++) {
        const auto start = std::chrono::steady_clock::now();
        ASSERT_EQ(generate_BIGINT_prime(p, bits, pool, digest_id), 0) << bits;
        total_ms += std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - start).count();
        EXPECT_EQ(get_BIGINT_bits_length(p), bits);
        EXPECT_EQ(oracle::bn::is_prime(hex_of(p)), 1) << hex_of(p);
        for (int k = 1; k < kry::prime::kSmallPrimeCount; k++)
            ASSERT_GT(mod_BIGINT_word(p, table[k]), 1u);
        EXPECT_EQ(pool->depth, -1);
    }
    std::printf("%d-bit primes: %.1f ms each on average (%d generated)\n", bits, total_ms / count, count);
    free_BIGINT(p);
    free_BIGINT_POOL(pool);
}

TEST_F(PrimeSlow, Many512BitPrimes) { generate_and_check(512, 50); }
TEST_F(PrimeSlow, Primes768) { generate_and_check(768, 4); }
TEST_F(PrimeSlow, Primes1024) { generate_and_check(1024, 20); }
TEST_F(PrimeSlow, Primes1024WithSeedG) { generate_and_check(1024, 2, 0x04000100); }
TEST_F(PrimeSlow, Primes1536) { generate_and_check(1536, 2); }
TEST_F(PrimeSlow, Primes2048) { generate_and_check(2048, 4); }
TEST_F(PrimeSlow, ManySmallSizes) {
    for (int bits = 16; bits <= 160; bits += 7) generate_and_check(bits, 3);
}

}  // namespace
