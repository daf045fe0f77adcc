// Differential tests: every message length from 0 to 1000 bytes, random
// content, random cut points, compared with OpenSSL (SHA-1/224/256/384/512,
// MD5) and RHash (HAS-160).
#include <gtest/gtest.h>

#include <kry/digest.h>
#include <kry/error.h>

#include "digest_util.h"
#include "oracle.h"
#include "test_support.h"

#include <algorithm>

using namespace kry_test;

namespace {

Bytes reference(const DigestAlg &alg, const Bytes &msg) {
    if (alg.id == KRY_HAS160) return oracle::rhash_has160(msg.data(), msg.size());
    return oracle::openssl_digest(alg.openssl, msg.data(), msg.size());
}

std::vector<size_t> random_cuts(TestRng &rng, size_t size) {
    std::vector<size_t> cuts;
    size_t n = rng.below(6);
    for (size_t i = 0; i < n; i++) cuts.push_back(rng.below(static_cast<uint32_t>(size + 1)));
    std::sort(cuts.begin(), cuts.end());
    return cuts;
}

class DigestDifferential : public ::testing::TestWithParam<DigestAlg> {
  protected:
    static void SetUpTestSuite() { ChangeNonProvenMode(); }
};

}  // namespace

TEST_P(DigestDifferential, EveryLengthTo1000WithRandomSplits) {
    const DigestAlg &alg = GetParam();
    TestRng rng(alg.id);
    for (size_t len = 0; len <= 1000; len++) {
        Bytes msg = rng.bytes(len);
        Bytes want = reference(alg, msg);
        ASSERT_EQ(want.size(), alg.length);
        auto cuts = random_cuts(rng, len);
        ASSERT_EQ(to_hex(unit_digest(alg.id, msg, cuts)), to_hex(want)) << "length " << len;
    }
}

TEST_P(DigestDifferential, OneUnitManyMessages) {
    // final_Digest re-initialises the unit: a stream of messages through one
    // unit gives the same digests as fresh units.
    const DigestAlg &alg = GetParam();
    TestRng rng(alg.id * 7 + 1);
    DIGEST_UNIT *unit = new_DIGEST_UNIT();
    ASSERT_NE(unit, nullptr);
    ASSERT_EQ(init_Digest(unit, alg.id), 0u);
    for (int i = 0; i < 200; i++) {
        Bytes msg = rng.bytes(rng.below(3000));
        size_t cut = rng.below(static_cast<uint32_t>(msg.size() + 1));
        uint8_t out[KRY_MAX_DIGEST_LENGTH];
        uint32_t len = 0;
        ASSERT_EQ(update_Digest(unit, msg.data(), static_cast<uint32_t>(cut)), 0u);
        ASSERT_EQ(update_Digest(unit, msg.data() + cut, static_cast<uint32_t>(msg.size() - cut)), 0u);
        ASSERT_EQ(final_Digest(unit, out, &len), 0u);
        ASSERT_EQ(len, alg.length);
        ASSERT_EQ(to_hex(out, len), to_hex(reference(alg, msg))) << "message " << i;
    }
    free_DIGEST_UNIT(unit);
}

TEST_P(DigestDifferential, LargeMessage) {
    const DigestAlg &alg = GetParam();
    TestRng rng(99);
    Bytes msg = rng.bytes(3 * 1024 * 1024 + 17);
    EXPECT_EQ(to_hex(unit_digest(alg.id, msg, {1, 4096, 1000000})), to_hex(reference(alg, msg)));
}

INSTANTIATE_TEST_SUITE_P(WithPeer, DigestDifferential,
                         ::testing::ValuesIn([] {
                             std::vector<DigestAlg> v;
                             for (const auto &a : all_digests())
                                 if (a.openssl != nullptr || a.id == KRY_HAS160) v.push_back(a);
                             return v;
                         }()),
                         [](const auto &info) { return std::string(info.param.name); });
