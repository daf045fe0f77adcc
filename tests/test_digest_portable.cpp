// The portable SHA-1 and SHA-256 block functions, run even on processors
// that have the SHA extensions, and the two implementations side by side.
#include <gtest/gtest.h>

#include <kry/digest.h>
#include <kry/error.h>

#include "digest/sha2.h"
#include "digest/sha_x86.h"
#include "digest_util.h"
#include "oracle.h"
#include "test_support.h"

using namespace kry_test;

namespace {

class PortableSha : public ::testing::TestWithParam<DigestAlg> {
  protected:
    static void SetUpTestSuite() {
        ChangeNonProvenMode();
        kry::x86::use_sha_extensions(false);
    }
    static void TearDownTestSuite() { kry::x86::use_sha_extensions(true); }
};

}  // namespace

TEST_P(PortableSha, EveryLengthTo1000WithRandomSplits) {
    const DigestAlg &alg = GetParam();
    ASSERT_FALSE(kry::x86::has_sha_extensions());
    TestRng rng(alg.id + 5);
    for (size_t len = 0; len <= 1000; len++) {
        Bytes msg = rng.bytes(len);
        std::vector<size_t> cuts;
        if (len > 0) cuts.push_back(rng.below(static_cast<uint32_t>(len)));
        ASSERT_EQ(to_hex(unit_digest(alg.id, msg, cuts)),
                  to_hex(oracle::openssl_digest(alg.openssl, msg.data(), msg.size())))
            << "length " << len;
    }
    Bytes abc = bytes_of("abc");
    EXPECT_EQ(to_hex(unit_digest(KRY_SHA256, abc)), "ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad");
}

INSTANTIATE_TEST_SUITE_P(Sha, PortableSha,
                         ::testing::Values(all_digests()[0], all_digests()[1], all_digests()[2]),
                         [](const auto &info) { return std::string(info.param.name); });

TEST(ShaExtensions, AgreeWithPortableBlockFunction) {
    kry::x86::use_sha_extensions(true);
    if (!kry::x86::has_sha_extensions()) GTEST_SKIP() << "processor has no SHA extensions";
    TestRng rng(3);
    for (int round = 0; round < 200; round++) {
        size_t n = 1 + rng.below(4);
        Bytes blocks = rng.bytes(64 * n);
        uint32_t a[8], b[8];
        for (int i = 0; i < 8; i++) a[i] = b[i] = static_cast<uint32_t>(rng.next());
        kry::x86::sha256_compress_shani(a, blocks.data(), n);
        for (size_t i = 0; i < n; i++) kry::sha2::compress(b, blocks.data() + 64 * i);
        ASSERT_EQ(0, std::memcmp(a, b, sizeof a));
    }
}
