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
#include "digest/md_frame.h"
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

#if defined(__x86_64__) || defined(__i386__)
namespace kry::x86 {
void sha1_output_shani(const uint32_t h[5], uint8_t *out);
}
#endif

TEST(FramePaths, Sha1OutputWithShaExtensionsIsBigEndian) {
#if defined(__x86_64__) || defined(__i386__)
    kry::x86::use_sha_extensions(true);
    if (!kry::x86::has_sha_extensions()) GTEST_SKIP() << "processor has no SHA extensions";
    TestRng rng(160);
    for (int i = 0; i < 100; i++) {
        uint32_t h[5];
        const Bytes b = rng.bytes(sizeof h);
        std::memcpy(h, b.data(), sizeof h);
        uint8_t hw[20], want[20];
        kry::x86::sha1_output_shani(h, hw);
        for (int j = 0; j < 5; j++)
            for (int k = 0; k < 4; k++) want[4 * j + k] = static_cast<uint8_t>(h[j] >> (24 - 8 * k));
        ASSERT_EQ(to_hex(hw, 20), to_hex(want, 20)) << i;
    }
#else
    GTEST_SKIP() << "x86 only";
#endif
}

TEST(FramePaths, Sha256OutputWithShaExtensionsAgreesWithPortable) {
#if defined(__x86_64__) || defined(__i386__)
    kry::x86::use_sha_extensions(true);
    if (!kry::x86::has_sha_extensions()) GTEST_SKIP() << "processor has no SHA extensions";
    TestRng rng(256);
    for (int i = 0; i < 100; i++) {
        uint32_t h[8];
        const Bytes b = rng.bytes(sizeof h);
        std::memcpy(h, b.data(), sizeof h);
        uint8_t hw[32], portable[32];
        kry::x86::sha256_output_shani(h, hw);
        kry::sha2::output(h, portable);
        ASSERT_EQ(to_hex(hw, 32), to_hex(portable, 32)) << i;
    }
#else
    GTEST_SKIP() << "x86 only";
#endif
}

// Records placed across a page boundary at every 4-byte offset: the digest
// and every byte of the record after each call are those of a record at an
// ordinary address, on both block function paths.
template <class State>
void check_records_across_a_page(uint32_t (*init)(State *), uint32_t (*update)(State *, const uint8_t *, uint32_t),
                                 uint32_t (*final)(State *, uint8_t *), size_t block) {
    TestRng rng(4096);
    static_assert(alignof(State) <= 8);
    alignas(4096) static uint8_t pages[3 * 4096];
    for (size_t len : {size_t{0}, size_t{3}, block - 9, block - 8, block, block + 17, 3 * block + 5}) {
        const Bytes msg = rng.bytes(len);
        const uint8_t *data = msg.empty() ? pages : msg.data();
        State ref;
        std::memset(&ref, 0, sizeof ref);
        ASSERT_EQ(init(&ref), 0u);
        ASSERT_EQ(update(&ref, data, static_cast<uint32_t>(len)), 0u);
        const State ref_updated = ref;
        uint8_t want[64] = {};
        ASSERT_EQ(final(&ref, want), 0u);
        for (size_t at = 4096 - sizeof(State); at <= 4096; at += 4) {
            if (at % alignof(State) != 0) continue;
            std::memset(pages, 0xA5, sizeof pages);
            std::memset(pages + at, 0, sizeof(State));  // padding bytes as in ref
            auto *s = reinterpret_cast<State *>(pages + at);
            ASSERT_EQ(init(s), 0u);
            ASSERT_EQ(update(s, data, static_cast<uint32_t>(len)), 0u);
            ASSERT_EQ(std::memcmp(s, &ref_updated, sizeof ref_updated), 0) << len << " " << at;
            uint8_t got[64] = {};
            ASSERT_EQ(final(s, got), 0u);
            ASSERT_EQ(std::memcmp(got, want, sizeof want), 0) << len << " " << at;
            ASSERT_EQ(std::memcmp(s, &ref, sizeof ref), 0) << len << " " << at;
        }
    }
}

TEST(FramePaths, RecordsAcrossAPageBoundary) {
    ChangeNonProvenMode();
    for (bool hw : {false, true}) {
        kry::x86::use_sha_extensions(hw);
        kry::sha2::use_sha512_avx2(hw);
        check_records_across_a_page<SHA1_STATE>(init_SHA1, update_SHA1, final_SHA1, 64);
        check_records_across_a_page<SHA256_STATE>(init_SHA256, update_SHA256, final_SHA256, 64);
        check_records_across_a_page<SHA256_STATE>(init_SHA224, update_SHA224, final_SHA224, 64);
        check_records_across_a_page<SHA512_STATE>(init_SHA512, update_SHA512, final_SHA512, 128);
        check_records_across_a_page<MD5_STATE>(init_MD5, update_MD5, final_MD5, 64);
    }
    kry::x86::use_sha_extensions(true);
    kry::sha2::use_sha512_avx2(true);
}

TEST(FramePaths, PieceCopiesAndWipesAcrossAPageBoundary) {
    TestRng rng(176);
    alignas(4096) static uint8_t pages[3 * 4096];
    const Bytes src = rng.bytes(160);
    for (size_t at = 4096 - 176; at <= 4096 + 16; at++) {
        std::memset(pages, 0xA5, sizeof pages);
        kry::md::copy_pieces(pages + at, src.data(), src.size());
        ASSERT_EQ(std::memcmp(pages + at, src.data(), src.size()), 0) << at;
        for (size_t i = 0; i < sizeof pages; i++)
            if (i < at || i >= at + src.size()) {
                ASSERT_EQ(pages[i], 0xA5) << at << " " << i;
            }
        auto &buf = *reinterpret_cast<uint8_t(*)[160]>(pages + at);
        kry::md::wipe_pieces(buf);
        for (size_t i = 0; i < sizeof pages; i++)
            ASSERT_EQ(pages[i], i < at || i >= at + 160 ? 0xA5 : 0) << at << " " << i;
    }
}
