// The block function paths chosen at run time and the frame's final, each
// against an independent oracle and against the other path:
// - HAS-160 with the BMI2 build of its block function and with the portable
//   one (use_bmi2 switch), records compared field by field;
// - final on a record whose staging buffer holds stale bytes past the staged
//   ones (they must not reach the last block), for every staged length.
#include <gtest/gtest.h>

#include <kry/digest.h>
#include <kry/error.h>

#include "digest/has160.h"
#include "digest/sha2.h"
#include "digest/sha_x86.h"
#include "digest_util.h"
#include "oracle.h"
#include "test_support.h"

#include <cstring>

using namespace kry_test;

namespace {

// Hashes msg with the HAS-160 entries, cut at `cut`, and returns the record
// after update and the digest.
struct Has160Run {
    HAS160_STATE after_update;
    HAS160_STATE after_final;
    uint8_t digest[20];
};

Has160Run has160_run(const Bytes &msg, size_t cut) {
    Has160Run r{};
    HAS160_STATE s;
    std::memset(&s, 0, sizeof s);
    EXPECT_EQ(init_HAS160(&s), 0u);
    EXPECT_EQ(update_HAS160(&s, msg.data(), static_cast<uint32_t>(cut)), 0u);
    EXPECT_EQ(update_HAS160(&s, msg.data() + cut, static_cast<uint32_t>(msg.size() - cut)), 0u);
    r.after_update = s;
    EXPECT_EQ(final_HAS160(&s, r.digest), 0u);
    r.after_final = s;
    return r;
}

}  // namespace

TEST(Has160Paths, Bmi2AndPortableAgreeWithRhashAndLeaveTheSameRecords) {
    ChangeNonProvenMode();
    TestRng rng(160);
    for (size_t len = 0; len <= 700; len++) {
        Bytes msg = rng.bytes(len);
        const size_t cut = len ? rng.below(static_cast<uint32_t>(len)) : 0;
        kry::has160::use_bmi2(false);
        ASSERT_FALSE(kry::has160::has_bmi2());
        const Has160Run portable = has160_run(msg, cut);
        kry::has160::use_bmi2(true);
        const Has160Run chosen = has160_run(msg, cut);
        ASSERT_EQ(to_hex(portable.digest, 20), to_hex(oracle::rhash_has160(msg.data(), msg.size()))) << len;
        ASSERT_EQ(to_hex(chosen.digest, 20), to_hex(portable.digest, 20)) << len;
        ASSERT_EQ(0, std::memcmp(&chosen.after_update, &portable.after_update, sizeof(HAS160_STATE))) << len;
        ASSERT_EQ(0, std::memcmp(&chosen.after_final, &portable.after_final, sizeof(HAS160_STATE))) << len;
    }
}

TEST(Has160Paths, LongMessageBothPaths) {
    ChangeNonProvenMode();
    TestRng rng(161);
    Bytes msg = rng.bytes(16384 + 37);
    const Bytes want = oracle::rhash_has160(msg.data(), msg.size());
    for (bool bmi2 : {false, true}) {
        kry::has160::use_bmi2(bmi2);
        EXPECT_EQ(to_hex(unit_digest(KRY_HAS160, msg, {5, 4096, 9000})), to_hex(want)) << bmi2;
    }
    kry::has160::use_bmi2(true);
}

TEST(FramePaths, SwitchesSettleAndReport) {
    kry::x86::use_sha_extensions(false);
    EXPECT_FALSE(kry::x86::has_sha_extensions());
    kry::x86::use_sha_extensions(true);
    const bool sha = kry::x86::has_sha_extensions();
    EXPECT_EQ(sha, kry::x86::has_sha_extensions());
    kry::sha2::use_sha512_avx2(false);
    EXPECT_FALSE(kry::sha2::has_sha512_avx2());
    kry::sha2::use_sha512_avx2(true);
    kry::has160::use_bmi2(false);
    EXPECT_FALSE(kry::has160::has_bmi2());
    kry::has160::use_bmi2(true);
}

// A whole block then k bytes: the staging buffer keeps the block's bytes
// past the k staged ones.  Final must pad after the k bytes only, and leave
// both buffers and fills zero with the bit count of the message.
template <class State>
void check_stale_staging(uint32_t id, const char *openssl, size_t block, uint32_t (*init)(State *),
                         uint32_t (*update)(State *, const uint8_t *, uint32_t),
                         uint32_t (*final)(State *, uint8_t *), size_t digest_length) {
    TestRng rng(id);
    for (size_t k = 0; k < block; k++) {
        Bytes msg = rng.bytes(block + k);
        State s;
        ASSERT_EQ(init(&s), 0u);
        ASSERT_EQ(update(&s, msg.data(), static_cast<uint32_t>(msg.size())), 0u);
        ASSERT_EQ(s.staging_fill, k);
        uint8_t out[64];
        ASSERT_EQ(final(&s, out), 0u);
        ASSERT_EQ(to_hex(out, digest_length), to_hex(oracle::openssl_digest(openssl, msg.data(), msg.size()))) << k;
        EXPECT_EQ(s.bit_count, 8 * msg.size());
        EXPECT_EQ(s.block_fill, 0u);
        EXPECT_EQ(s.staging_fill, 0u);
        for (uint8_t b : s.block) ASSERT_EQ(b, 0);
        for (uint8_t b : s.staging) ASSERT_EQ(b, 0);
    }
}

TEST(FramePaths, FinalIgnoresStaleStagingBytes) {
    ChangeNonProvenMode();
    for (bool hw : {false, true}) {
        kry::x86::use_sha_extensions(hw);
        kry::sha2::use_sha512_avx2(hw);
        check_stale_staging<SHA1_STATE>(KRY_SHA1, "SHA1", 64, init_SHA1, update_SHA1, final_SHA1, 20);
        check_stale_staging<SHA256_STATE>(KRY_SHA256, "SHA256", 64, init_SHA256, update_SHA256, final_SHA256, 32);
        check_stale_staging<SHA512_STATE>(KRY_SHA512, "SHA512", 128, init_SHA512, update_SHA512, final_SHA512, 64);
        check_stale_staging<MD5_STATE>(KRY_MD5, "MD5", 64, init_MD5, update_MD5, final_MD5, 16);
    }
    kry::x86::use_sha_extensions(true);
    kry::sha2::use_sha512_avx2(true);
}
