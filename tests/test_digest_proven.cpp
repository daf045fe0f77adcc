// Proven mode, in a process that never leaves it: SHA-224, MD5 and MDC-2 are
// refused with 0xFFFFFFFF; the approved digests work.
#include <gtest/gtest.h>

#include <kry/digest.h>
#include <kry/error.h>

#include "test_support.h"

using namespace kry_test;

TEST(DigestProven, FirstGatedCallRunsTheStartUpHook) {
    // Nothing has called a gated entry yet in this process.
    EXPECT_EQ(initialize_flag, 1);
    EXPECT_EQ(test_mode, 1);
    EXPECT_EQ(get_DigestLength(KRY_SHA1), 20u);
    EXPECT_EQ(initialize_flag, 0);
    EXPECT_EQ(test_mode, 1);
}

TEST(DigestProven, RefusedAlgorithms) {
    ASSERT_EQ(IsProven(), 1);
    for (uint32_t id : {KRY_SHA224, KRY_MD5, KRY_MDC2}) {
        DIGEST_UNIT *u = new_DIGEST_UNIT();
        EXPECT_EQ(init_Digest(u, id), 0xFFFFFFFFu);
        EXPECT_EQ(u->algorithm_id, id);  // the identifier stays in the unit
        EXPECT_EQ(u->state, nullptr);
        EXPECT_EQ(u->digest_length, 0u);
        EXPECT_EQ(u->bound, 0xFFFFFFFFu);
        uint8_t b = 0, out[64];
        EXPECT_EQ(update_Digest(u, &b, 1), 0x0A020009u);
        EXPECT_EQ(final_Digest(u, out, nullptr), 0x0A03000Au);
        clean_DIGEST_UNIT(u);
        EXPECT_EQ(u->algorithm_id, 0u);
        free_DIGEST_UNIT(u);

        uint32_t len = 0;
        EXPECT_EQ(Digest(id, &b, 1, out, &len), 0xFFFFFFFFu);
        EXPECT_EQ(len, 0u);

        DIGEST_UNIT *ex = new_DIGEST_UNIT_EX(0);
        EXPECT_EQ(init_DigestAlg(ex, id), 0xFFFFFFFFu);
        EXPECT_EQ(ex->algorithm_id, id);
        EXPECT_EQ(ex->block_length, 0u);
        free_DIGEST_UNIT(ex);
    }
}

TEST(DigestProven, ApprovedAlgorithms) {
    ASSERT_EQ(IsProven(), 1);
    for (uint32_t id : {KRY_SHA1, KRY_SHA256, KRY_SHA384, KRY_SHA512, KRY_HAS160}) {
        DIGEST_UNIT *u = new_DIGEST_UNIT_EX(1);
        EXPECT_EQ(init_Digest(u, id), 0u) << std::hex << id;
        free_DIGEST_UNIT(u);
    }
    uint8_t out[32];
    uint32_t len = 0;
    ASSERT_EQ(Digest(KRY_SHA256, reinterpret_cast<const uint8_t *>("abc"), 3, out, &len), 0u);
    EXPECT_EQ(to_hex(out, 32), "ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad");
}

TEST(DigestProven, LookupsDoNotConsultProvenMode) {
    EXPECT_EQ(get_DigestAlg_ID_by_Name("SHA224"), KRY_SHA224);
    EXPECT_EQ(get_DigestAlg_ID_by_Name("md5"), KRY_MD5);
    EXPECT_STREQ(get_DigestAlg_Name(KRY_MDC2), "MDC2");
    EXPECT_EQ(get_DigestLength(KRY_MD5), 16u);
}

TEST(DigestProven, AlgorithmEntriesThemselvesAreNotGatedByProvenMode) {
    // Refusal happens in the unit; the modules' own entries still compute.
    MD5_STATE m;
    ASSERT_EQ(init_MD5(&m), 0u);
    ASSERT_EQ(update_MD5(&m, reinterpret_cast<const uint8_t *>("abc"), 3), 0u);
    uint8_t out[16];
    ASSERT_EQ(final_MD5(&m, out), 0u);
    EXPECT_EQ(to_hex(out, 16), "900150983cd24fb0d6963f7d28e17f72");
}
