// DSA domain parameter generation (FIPS 186-2 appendix 2.2): the appendix 5
// seed, the size rules, NIST CAVS PQGVer and OpenSSL's parameter checks.
#include <gtest/gtest.h>

#include <kry/bigint.h>
#include <kry/blockcipher.h>
#include <kry/digest.h>
#include <kry/dsa.h>
#include <kry/error.h>

#include "oracle_bn.h"
#include "oracle_pk_dsa.h"
#include "test_support.h"

#include <string>

using namespace kry_test;

namespace {

Bytes bytes_of_big(const BIGINT *b) {
    Bytes out(static_cast<size_t>((get_BIGINT_bits_length(b) + 7) / 8));
    BIGINT_to_binary_unsigned(b, out.data());
    return out;
}

class DsaSlow : public ::testing::Test {
  protected:
    static void SetUpTestSuite() { ChangeNonProvenMode(); }
};

// Checks a generated domain: sizes, primality, q | p - 1, g of order q, and
// OpenSSL's parameter check.
void check_domain(const DSA *u, int32_t p_bits) {
    ASSERT_NE(u->p, nullptr);
    ASSERT_NE(u->q, nullptr);
    ASSERT_NE(u->g, nullptr);
    EXPECT_EQ(get_BIGINT_bits_length(u->p), p_bits);
    EXPECT_EQ(get_BIGINT_bits_length(u->q), 160);
    const std::string p = to_hex(bytes_of_big(u->p)), q = to_hex(bytes_of_big(u->q)),
                      g = to_hex(bytes_of_big(u->g));
    EXPECT_EQ(oracle::bn::is_prime(p), 1);
    EXPECT_EQ(oracle::bn::is_prime(q), 1);
    EXPECT_EQ(oracle::bn::mod_exp(p, "1", q), "01");  // p = 1 mod q
    EXPECT_EQ(oracle::bn::mod_exp(g, q, p), "01");
    EXPECT_NE(oracle::bn::mod_exp(g, "1", p), "01");
    // OpenSSL's check accepts only the FIPS 186-4 sizes (1024-bit p here).
    if (p_bits == 1024) {
        EXPECT_EQ(oracle::dsa::param_check(bytes_of_big(u->p), bytes_of_big(u->q), bytes_of_big(u->g)), 1);
    }
}

TEST_F(DsaSlow, Appendix5SeedGivesItsDomain) {
    VectorBlock b;
    for (const auto &block : read_vectors("dsa.txt"))
        if (block.count("SEED") != 0)
            b = block;
    ASSERT_FALSE(b.empty());
    const Bytes seed = from_hex(b.at("SEED"));
    DSA *u = new_DSA();
    ASSERT_EQ(generate_DSA_params(u, KRY_SHA1, 512, seed.data()), 0u);
    ASSERT_NE(u->p, nullptr);
    EXPECT_EQ(to_hex(bytes_of_big(u->p)), b.at("P"));
    EXPECT_EQ(to_hex(bytes_of_big(u->q)), b.at("Q"));
    EXPECT_EQ(to_hex(bytes_of_big(u->g)), b.at("G"));
    free_DSA(u);
}

TEST_F(DsaSlow, BlockCipherGeneratorsSearchWithSha1) {
    // ARIA and SEED identifiers select the generator's G function; the
    // search itself hashes with SHA-1, so a given seed gives the same domain.
    VectorBlock b;
    for (const auto &block : read_vectors("dsa.txt"))
        if (block.count("SEED") != 0)
            b = block;
    ASSERT_FALSE(b.empty());
    const Bytes seed = from_hex(b.at("SEED"));
    for (uint32_t id : {KRY_ARIA_128, KRY_SEED}) {
        DSA *u = new_DSA();
        ASSERT_EQ(generate_DSA_params(u, id, 512, seed.data()), 0u);
        ASSERT_NE(u->p, nullptr);
        EXPECT_EQ(to_hex(bytes_of_big(u->p)), b.at("P"));
        EXPECT_EQ(to_hex(bytes_of_big(u->q)), b.at("Q"));
        EXPECT_EQ(to_hex(bytes_of_big(u->g)), b.at("G"));
        ASSERT_EQ(generate_DSA_params(u, id, 512, nullptr), 0u);
        check_domain(u, 512);
        free_DSA(u);
    }
}

TEST_F(DsaSlow, BlockCipherGeneratorsNeverStallOrFail) {
    // Drawn from one long ARIA or SEED generator stream, the seeds used to
    // cycle or trip the continuous test (about one search in a hundred);
    // every search must now end with a domain.
    for (uint32_t id : {KRY_ARIA_128, KRY_SEED}) {
        for (int i = 0; i < 60; i++) {
            DSA *u = new_DSA();
            ASSERT_EQ(generate_DSA_params(u, id, 512, nullptr), 0u) << std::hex << id << " search " << i;
            ASSERT_EQ(get_BIGINT_bits_length(u->q), 160);
            free_DSA(u);
        }
    }
}

TEST_F(DsaSlow, SizeIsRaisedTo512) {
    DSA *u = new_DSA();
    ASSERT_EQ(generate_DSA_params(u, KRY_SHA1, 300, nullptr), 0u);
    check_domain(u, 512);
    free_DSA(u);
}

TEST_F(DsaSlow, SizeIsRoundedUpToAMultipleOf64) {
    DSA *u = new_DSA();
    ASSERT_EQ(generate_DSA_params(u, KRY_SHA1, 1000, nullptr), 0u);
    check_domain(u, 1024);
    // A key pair on the new domain, accepted by OpenSSL.
    ASSERT_EQ(generate_DSA_key_pair(u), 0u);
    EXPECT_EQ(oracle::dsa::public_check(bytes_of_big(u->p), bytes_of_big(u->q), bytes_of_big(u->g),
                                        bytes_of_big(u->y)),
              1);
    free_DSA(u);
}

TEST_F(DsaSlow, NullUnitIsAllowed) { EXPECT_EQ(generate_DSA_params(nullptr, KRY_SHA1, 512, nullptr), 0u); }

TEST_F(DsaSlow, SeedWithCompositeQStoresNothing) {
    // Look for a seed whose q is composite (most are), then generate with it.
    Bytes seed(20, 0);
    for (int i = 0; i < 256; ++i) {
        seed[19] = static_cast<uint8_t>(i);
        Bytes s1 = seed, s2 = seed;
        for (int j = 19; j >= 0; --j)
            if (++s2[static_cast<size_t>(j)] != 0)
                break;
        Bytes h1(20), h2(20);
        uint32_t l = 0;
        ASSERT_EQ(Digest(KRY_SHA1, s1.data(), 20, h1.data(), &l), 0u);
        ASSERT_EQ(Digest(KRY_SHA1, s2.data(), 20, h2.data(), &l), 0u);
        for (size_t k = 0; k < 20; ++k)
            h1[k] ^= h2[k];
        h1[0] |= 0x80;
        h1[19] |= 1;
        if (oracle::bn::is_prime(to_hex(h1)) == 0)
            break;
    }
    DSA *u = new_DSA();
    EXPECT_EQ(generate_DSA_params(u, KRY_SHA1, 512, seed.data()), 0u);
    EXPECT_EQ(u->p, nullptr);
    EXPECT_EQ(u->q, nullptr);
    EXPECT_EQ(u->g, nullptr);
    free_DSA(u);
}

// The passing PQGVer entries: their seed reproduces p and q, and g when it
// was made from h = 2.
TEST_F(DsaSlow, CavsPQGVerPassingEntries) {
    int checked = 0;
    for (const auto &b : read_vectors("cavp/dsa186-2/PQGVer.rsp")) {
        if (b.count("Seed") == 0 || b.at("Result").rfind("P", 0) != 0)
            continue;
        const Bytes seed = from_hex(b.at("Seed"));
        ASSERT_EQ(seed.size(), 20u);
        DSA *u = new_DSA();
        ASSERT_EQ(generate_DSA_params(u, KRY_SHA1, static_cast<uint32_t>(b.at("P").size() * 4), seed.data()), 0u);
        ASSERT_NE(u->p, nullptr);
        EXPECT_EQ(to_hex(bytes_of_big(u->p)), b.at("P"));
        EXPECT_EQ(to_hex(bytes_of_big(u->q)), b.at("Q"));
        BIGINT *h = nullptr;
        {
            const Bytes hb = from_hex(b.at("H"));
            h = binary_to_BIGINT(hb.data(), static_cast<int32_t>(hb.size()), nullptr);
        }
        if (get_BIGINT_word(h) == 2 && get_BIGINT_bits_length(h) == 2) {
            EXPECT_EQ(to_hex(bytes_of_big(u->g)), b.at("G"));
        }
        free_BIGINT(h);
        free_DSA(u);
        ++checked;
    }
    EXPECT_GT(checked, 0);
}

}  // namespace
