// SHA-384/512 with the portable block function forced, and the AVX2 block
// function (chosen at run time) against the portable one.
#include <gtest/gtest.h>

#include <kry/digest.h>
#include <kry/error.h>

#include "digest/sha2.h"
#include "digest_util.h"
#include "oracle.h"
#include "test_support.h"

#include <cstring>

using namespace kry_test;

namespace {

class PortableSha512 : public ::testing::TestWithParam<DigestAlg> {
  protected:
    static void SetUpTestSuite() {
        ChangeNonProvenMode();
        kry::sha2::use_sha512_avx2(false);
    }
    static void TearDownTestSuite() { kry::sha2::use_sha512_avx2(true); }
};

}  // namespace

TEST_P(PortableSha512, EveryLengthTo1200WithRandomSplits) {
    const DigestAlg &alg = GetParam();
    ASSERT_FALSE(kry::sha2::has_sha512_avx2());
    TestRng rng(alg.id + 11);
    for (size_t len = 0; len <= 1200; len++) {
        Bytes msg = rng.bytes(len);
        std::vector<size_t> cuts;
        if (len > 0) cuts.push_back(rng.below(static_cast<uint32_t>(len)));
        ASSERT_EQ(to_hex(unit_digest(alg.id, msg, cuts)),
                  to_hex(oracle::openssl_digest(alg.openssl, msg.data(), msg.size())))
            << "length " << len;
    }
    // FIPS 180-2 appendix C.1: SHA-512("abc").
    EXPECT_EQ(to_hex(unit_digest(KRY_SHA512, bytes_of("abc"))),
              "ddaf35a193617abacc417349ae20413112e6fa4e89a97ea20a9eeee64b55d39a"
              "2192992a274fc1a836ba3c23a3feebbd454d4423643ce80e2a9ac94fa54ca49f");
}

INSTANTIATE_TEST_SUITE_P(Sha, PortableSha512, ::testing::Values(all_digests()[3], all_digests()[4]),
                         [](const auto &info) { return std::string(info.param.name); });

TEST(Sha512Avx2, AgreesWithPortableBlockFunction) {
    kry::sha2::use_sha512_avx2(true);
    if (!kry::sha2::has_sha512_avx2()) GTEST_SKIP() << "processor has no AVX2 and BMI2";
    TestRng rng(5);
    // Block counts across the four-block groups, including partial groups.
    for (int round = 0; round < 300; round++) {
        size_t n = 1 + rng.below(13);
        Bytes blocks = rng.bytes(128 * n);
        uint64_t a[8], b[8];
        for (int i = 0; i < 8; i++) a[i] = b[i] = rng.next();
        kry::sha2::sha512_compress_avx2(a, blocks.data(), n);
        for (size_t i = 0; i < n; i++) kry::sha2::compress(b, blocks.data() + 128 * i);
        ASSERT_EQ(0, std::memcmp(a, b, sizeof a)) << n << " blocks";
    }
}

TEST(Sha512Avx2, LongMessagesMatchOpenSsl) {
    kry::sha2::use_sha512_avx2(true);
    ChangeNonProvenMode();
    TestRng rng(9);
    for (size_t len : {size_t{128 * 4}, size_t{128 * 5 + 3}, size_t{16384}, size_t{128 * 9 + 127}}) {
        Bytes msg = rng.bytes(len);
        EXPECT_EQ(to_hex(unit_digest(KRY_SHA512, msg)), to_hex(oracle::openssl_digest("SHA512", msg.data(), msg.size())));
        EXPECT_EQ(to_hex(unit_digest(KRY_SHA384, msg)), to_hex(oracle::openssl_digest("SHA384", msg.data(), msg.size())));
    }
}
