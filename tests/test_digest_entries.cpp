// The algorithm entries themselves: null arguments, the error words of each
// entry (including those kept for compatibility), what the frames leave in
// the public state records, and the counting quirks.
#include <gtest/gtest.h>

#include <kry/digest.h>
#include <kry/error.h>

#include "oracle.h"
#include "test_support.h"

#include <algorithm>
#include <cstring>

using namespace kry_test;

namespace {
const uint8_t kData[256] = {1, 2, 3};
uint8_t out[64];
}  // namespace

TEST(DigestEntries, NullStates) {
    EXPECT_EQ(init_SHA1(nullptr), 0x25010006u);
    EXPECT_EQ(init_SHA224(nullptr), 0x25050006u);
    EXPECT_EQ(init_SHA256(nullptr), 0x25080006u);
    EXPECT_EQ(init_SHA384(nullptr), 0x250C0006u);
    EXPECT_EQ(init_SHA512(nullptr), 0x250F0006u);
    EXPECT_EQ(init_MD5(nullptr), 0x24010006u);
    EXPECT_EQ(init_HAS160(nullptr), 0x23010006u);

    EXPECT_EQ(update_SHA1(nullptr, kData, 1), 0x25020006u);
    EXPECT_EQ(update_SHA224(nullptr, kData, 1), 0x25060006u);
    EXPECT_EQ(update_SHA256(nullptr, kData, 1), 0x25090006u);
    EXPECT_EQ(update_SHA384(nullptr, kData, 1), 0x250D0006u);
    EXPECT_EQ(update_SHA512(nullptr, kData, 1), 0x25100006u);
    EXPECT_EQ(update_MD5(nullptr, kData, 1), 0x24020006u);
    EXPECT_EQ(update_HAS160(nullptr, kData, 1), 0x23020006u);

    EXPECT_EQ(final_SHA1(nullptr, out), 0x25030006u);
    EXPECT_EQ(final_SHA224(nullptr, out), 0x25070006u);
    EXPECT_EQ(final_SHA256(nullptr, out), 0x250A0006u);
    EXPECT_EQ(final_SHA384(nullptr, out), 0x250E0006u);
    EXPECT_EQ(final_SHA512(nullptr, out), 0x25110006u);
    EXPECT_EQ(final_MD5(nullptr, out), 1u);  // final_MD5 answers 1
    EXPECT_EQ(final_HAS160(nullptr, out), 0x23030006u);
}

TEST(DigestEntries, NullDataAndOutput) {
    SHA1_STATE s1;
    SHA256_STATE s256;
    SHA512_STATE s512;
    MD5_STATE m;
    HAS160_STATE h;
    ASSERT_EQ(init_SHA1(&s1), 0u);
    ASSERT_EQ(init_SHA256(&s256), 0u);
    ASSERT_EQ(init_SHA512(&s512), 0u);
    ASSERT_EQ(init_MD5(&m), 0u);
    ASSERT_EQ(init_HAS160(&h), 0u);

    // The null check comes before the zero-count shortcut...
    EXPECT_EQ(update_SHA1(&s1, nullptr, 0), 0x25020006u);
    EXPECT_EQ(update_SHA224(&s256, nullptr, 0), 0x25060006u);
    EXPECT_EQ(update_SHA256(&s256, nullptr, 0), 0x25090006u);
    EXPECT_EQ(update_SHA384(&s512, nullptr, 0), 0x250D0006u);
    EXPECT_EQ(update_SHA512(&s512, nullptr, 0), 0x25100006u);
    EXPECT_EQ(update_MD5(&m, nullptr, 0), 0x24020006u);
    // ...except in HAS-160, which does not check the data pointer.
    EXPECT_EQ(update_HAS160(&h, nullptr, 0), 0u);
    EXPECT_EQ(update_HAS160(&h, nullptr, 5), 0x23020006u);
    EXPECT_EQ(h.count_low, 0u);

    EXPECT_EQ(final_SHA1(&s1, nullptr), 0x25030006u);
    EXPECT_EQ(final_SHA224(&s256, nullptr), 0x25070006u);
    EXPECT_EQ(final_SHA256(&s256, nullptr), 0x250A0006u);
    EXPECT_EQ(final_SHA384(&s512, nullptr), 0x250E0006u);
    EXPECT_EQ(final_SHA512(&s512, nullptr), 0x25110006u);
    EXPECT_EQ(final_MD5(&m, nullptr), 1u);
    EXPECT_EQ(final_HAS160(&h, nullptr), 0x23030006u);
}

TEST(DigestEntries, BadBlockFillWordsAreKeptAsTheyAre) {
    SHA1_STATE s1;
    init_SHA1(&s1);
    s1.block_fill = 65;
    EXPECT_EQ(update_SHA1(&s1, kData, 1), 0x25020006u);
    s1.block_fill = 64;
    EXPECT_EQ(update_SHA1(&s1, kData, 1), 0u);  // update accepts 64, final does not
    EXPECT_EQ(final_SHA1(&s1, out), 1u);

    SHA256_STATE s;
    init_SHA256(&s);
    s.block_fill = 65;
    EXPECT_EQ(update_SHA256(&s, kData, 1), 1u);
    EXPECT_EQ(update_SHA224(&s, kData, 1), 1u);  // passed on from update_SHA256
    s.block_fill = 64;
    EXPECT_EQ(final_SHA256(&s, out), 0x250A0006u);
    EXPECT_EQ(final_SHA224(&s, out), 0x2507000Au);

    SHA512_STATE w;
    init_SHA512(&w);
    w.block_fill = 129;
    EXPECT_EQ(update_SHA512(&w, kData, 1), 0x25100006u);
    EXPECT_EQ(update_SHA384(&w, kData, 1), 0x25100006u);
    w.block_fill = 128;
    EXPECT_EQ(final_SHA512(&w, out), 0x25110006u);
    EXPECT_EQ(final_SHA384(&w, out), 0x250E0006u);
    // A state final_SHA384 accepts but final_SHA512 refuses.
    w.block_fill = 0;
    w.staging_fill = 200;
    EXPECT_EQ(final_SHA384(&w, out), 0x25110600u);

    MD5_STATE m;
    init_MD5(&m);
    m.block_fill = 65;
    EXPECT_EQ(update_MD5(&m, kData, 1), 0x24020600u);
    m.block_fill = 64;
    EXPECT_EQ(final_MD5(&m, out), 0x24030600u);
}

TEST(DigestEntries, CorruptStagingFillStaysInBounds) {
    SHA1_STATE s1;
    init_SHA1(&s1);
    s1.staging_fill = 255;
    EXPECT_EQ(update_SHA1(&s1, kData, 10), 0x25020006u);
    EXPECT_EQ(final_SHA1(&s1, out), 1u);
    SHA512_STATE w;
    init_SHA512(&w);
    w.staging_fill = 128;
    EXPECT_EQ(update_SHA512(&w, kData, 10), 0x25100006u);
    EXPECT_EQ(final_SHA512(&w, out), 0x25110006u);
}

TEST(DigestEntries, WholeBlockIsCompressedDuringUpdate) {
    SHA1_STATE s;
    init_SHA1(&s);
    uint32_t iv[5];
    std::memcpy(iv, s.h, sizeof iv);
    ASSERT_EQ(update_SHA1(&s, kData, 55), 0u);
    EXPECT_EQ(s.staging_fill, 55);
    EXPECT_EQ(s.bit_count, 0u);
    EXPECT_EQ(std::memcmp(iv, s.h, sizeof iv), 0);
    ASSERT_EQ(update_SHA1(&s, kData, 9), 0u);  // 64 bytes in all
    EXPECT_EQ(s.staging_fill, 0);
    EXPECT_EQ(s.bit_count, 512u);
    EXPECT_NE(std::memcmp(iv, s.h, sizeof iv), 0);
    EXPECT_EQ(s.block_fill, 0u);

    SHA512_STATE w;
    init_SHA512(&w);
    ASSERT_EQ(update_SHA512(&w, kData, 128), 0u);
    EXPECT_EQ(w.staging_fill, 0);
    EXPECT_EQ(w.bit_count, 1024u);

    MD5_STATE m;
    init_MD5(&m);
    ASSERT_EQ(update_MD5(&m, kData, 200), 0u);
    EXPECT_EQ(m.staging_fill, 200 - 192);
    EXPECT_EQ(m.bit_count, 3u * 512);
}

TEST(DigestEntries, StagingBufferHoldsWhatWasStagedLast) {
    // Blocks pass through the staging buffer: after 200 bytes it holds the
    // last whole block (bytes 128..191) with the 8 pending bytes over its
    // start, whichever way the input was cut.
    Bytes msg(200);
    for (size_t i = 0; i < msg.size(); i++) msg[i] = static_cast<uint8_t>(i * 7 + 1);
    Bytes want(msg.begin() + 128, msg.begin() + 192);
    std::copy(msg.begin() + 192, msg.end(), want.begin());
    for (size_t cut : {0, 1, 63, 64, 100, 199}) {
        SHA1_STATE s;
        init_SHA1(&s);
        ASSERT_EQ(update_SHA1(&s, msg.data(), static_cast<uint32_t>(cut)), 0u);
        ASSERT_EQ(update_SHA1(&s, msg.data() + cut, static_cast<uint32_t>(200 - cut)), 0u);
        EXPECT_EQ(s.staging_fill, 8);
        EXPECT_EQ(s.bit_count, 3u * 512);
        EXPECT_EQ(to_hex(s.staging, 64), to_hex(want)) << "cut at " << cut;
    }
}

TEST(DigestEntries, FinalKeepsChainingValueAndClearsBuffers) {
    SHA256_STATE s;
    init_SHA256(&s);
    ASSERT_EQ(update_SHA256(&s, kData, 70), 0u);
    ASSERT_EQ(final_SHA256(&s, out), 0u);
    // The chaining value is the digest, big-endian; the bit count stays.
    for (int i = 0; i < 8; i++) {
        uint32_t be = (uint32_t(out[4 * i]) << 24) | (out[4 * i + 1] << 16) | (out[4 * i + 2] << 8) | out[4 * i + 3];
        EXPECT_EQ(s.h[i], be);
    }
    EXPECT_EQ(s.bit_count, 70u * 8);
    EXPECT_EQ(s.staging_fill, 0);
    for (uint8_t b : s.staging) EXPECT_EQ(b, 0);
    for (uint8_t b : s.block) EXPECT_EQ(b, 0);
}

TEST(DigestEntries, Sha512ChainingWordsAreStoredLowHalfFirst) {
    SHA512_STATE w;
    init_SHA512(&w);
    uint32_t halves[2];
    std::memcpy(halves, &w.h[0], 8);
    EXPECT_EQ(halves[0], 0xf3bcc908u);
    EXPECT_EQ(halves[1], 0x6a09e667u);
    init_SHA384(&w);
    std::memcpy(halves, &w.h[7], 8);
    EXPECT_EQ(halves[0], 0xbefa4fa4u);
    EXPECT_EQ(halves[1], 0x47b5481du);
}

TEST(DigestEntries, Sha512FlushOfAFullBlockCounts512Bits) {
    // A record whose block buffer already holds 100 bytes: final's flush of
    // 28 staged bytes fills the block, which is compressed and counted as
    // 512 bits.  The padding block then carries a length of 512.
    SHA512_STATE w;
    init_SHA512(&w);
    Bytes staged(28);
    for (size_t i = 0; i < staged.size(); i++) staged[i] = static_cast<uint8_t>(0xA0 + i);
    ASSERT_EQ(update_SHA512(&w, staged.data(), 28), 0u);
    w.block_fill = 100;  // the block buffer is zero after init
    ASSERT_EQ(final_SHA512(&w, out), 0u);

    Bytes blocks(256, 0);
    std::memcpy(blocks.data() + 100, staged.data(), 28);
    blocks[128] = 0x80;
    blocks[254] = 0x02;  // 512 = 0x0200, big-endian in bytes 248..255 of the pair
    EXPECT_EQ(to_hex(out, 64), to_hex(oracle::openssl_sha512_compress(blocks)));
    EXPECT_EQ(w.bit_count, 512u);
}

TEST(DigestEntries, Has160CountHasNoCarryBetweenWords) {
    HAS160_STATE h;
    init_HAS160(&h);
    h.count_low = 0xFFFFFE00;  // 0 bytes buffered, 64 bytes short of wrapping
    ASSERT_EQ(update_HAS160(&h, kData, 64), 0u);
    EXPECT_EQ(h.count_low, 0u);
    EXPECT_EQ(h.count_high, 0u);  // the carry is lost
    ASSERT_EQ(update_HAS160(&h, kData, 0x20000001u & 0), 0u);

    init_HAS160(&h);
    Bytes big(0x20000000u + 3);  // 2^29 + 3 bytes: the high word gets n >> 29 = 1
    ASSERT_EQ(update_HAS160(&h, big.data(), static_cast<uint32_t>(big.size())), 0u);
    EXPECT_EQ(h.count_high, 1u);
    EXPECT_EQ(h.count_low, 24u);  // (2^29 + 3) * 8 mod 2^32
}

TEST(DigestEntries, Has160FinalLeavesChainingValue) {
    HAS160_STATE h;
    init_HAS160(&h);
    ASSERT_EQ(update_HAS160(&h, reinterpret_cast<const uint8_t *>("abc"), 3), 0u);
    ASSERT_EQ(final_HAS160(&h, out), 0u);
    EXPECT_EQ(h.count_low, 24u);
    uint8_t again[20];
    for (int i = 0; i < 5; i++) std::memcpy(again + 4 * i, &h.h[i], 4);
    EXPECT_EQ(to_hex(again, 20), to_hex(out, 20));
}

TEST(DigestEntries, StateRecordLayouts) {
    // The random generator and other callers read these records directly.
    EXPECT_EQ(offsetof(SHA1_STATE, bit_count), 0u);
    EXPECT_EQ(offsetof(SHA1_STATE, block_fill), 8u);
    EXPECT_EQ(offsetof(SHA1_STATE, h), 12u);
    EXPECT_EQ(offsetof(SHA1_STATE, block), 32u);
    EXPECT_EQ(offsetof(SHA1_STATE, staging), 96u);
    EXPECT_EQ(offsetof(SHA1_STATE, staging_fill), 160u);
    EXPECT_EQ(offsetof(SHA256_STATE, block), 44u);
    EXPECT_EQ(offsetof(MD5_STATE, bit_count), 64u);
    EXPECT_EQ(offsetof(MD5_STATE, abcd), 76u);
    EXPECT_EQ(offsetof(HAS160_STATE, count_low), 20u);
    EXPECT_EQ(offsetof(HAS160_STATE, block), 28u);
    EXPECT_EQ(offsetof(MDC2_STATE, data), 4u);
    EXPECT_EQ(offsetof(MDC2_STATE, hh), 20u);
    EXPECT_EQ(offsetof(MDC2_STATE, pad_type), 28u);
}
