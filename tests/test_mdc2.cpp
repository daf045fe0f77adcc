// MDC-2 (ISO/IEC 10118-2) through init_MDC2 / update_MDC2 / final_MDC2:
// known answers under every way of splitting the input, the edge cases of
// the padding, a differential test against an MDC-2 built here on OpenSSL's
// DES, and the error words.
#include <kry/digest.h>

#include "oracle.h"
#include "test_support.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstring>

using kry_test::Bytes;
using kry_test::from_hex;
using kry_test::to_hex;

namespace {

// Digest of msg fed in pieces that end at the given offsets (ascending).
std::string mdc2_split(const Bytes &msg, uint32_t pad_type, const std::vector<size_t> &cuts) {
    MDC2_STATE st;
    EXPECT_EQ(init_MDC2(&st), 0u);
    st.pad_type = pad_type;
    size_t at = 0;
    for (size_t cut : cuts) {
        EXPECT_EQ(update_MDC2(&st, msg.data() + at, static_cast<uint32_t>(cut - at)), 0u);
        at = cut;
    }
    EXPECT_EQ(update_MDC2(&st, msg.data() + at, static_cast<uint32_t>(msg.size() - at)), 0u);
    uint8_t out[16];
    EXPECT_EQ(final_MDC2(&st, out), 0u);
    return to_hex(out, sizeof out);
}

std::string mdc2(const Bytes &msg, uint32_t pad_type = 1) { return mdc2_split(msg, pad_type, {}); }

std::string mdc2_chunks(const Bytes &msg, uint32_t pad_type, size_t chunk) {
    std::vector<size_t> cuts;
    for (size_t at = chunk; at < msg.size(); at += chunk) cuts.push_back(at);
    return mdc2_split(msg, pad_type, cuts);
}

// Reference MDC-2 written straight from ISO/IEC 10118-2 over OpenSSL's DES.
std::string reference_mdc2(const Bytes &msg, uint32_t pad_type) {
    Bytes m = msg;
    if (pad_type == 2) m.push_back(0x80);
    if (m.size() % 8) m.resize(m.size() + 8 - m.size() % 8, 0);
    std::array<uint8_t, 8> h, hh;
    h.fill(0x52);
    hh.fill(0x25);
    for (size_t i = 0; i < m.size(); i += 8) {
        std::array<uint8_t, 8> k1 = h, k2 = hh, a, b;
        k1[0] = static_cast<uint8_t>((k1[0] & 0x9F) | 0x40);
        k2[0] = static_cast<uint8_t>((k2[0] & 0x9F) | 0x20);
        EXPECT_TRUE(oracle::openssl_des_encrypt_block(k1.data(), m.data() + i, a.data()));
        EXPECT_TRUE(oracle::openssl_des_encrypt_block(k2.data(), m.data() + i, b.data()));
        for (int j = 0; j < 8; ++j) {
            a[j] ^= m[i + j];
            b[j] ^= m[i + j];
        }
        for (int j = 0; j < 4; ++j) {
            h[j] = a[j], h[j + 4] = b[j + 4];
            hh[j] = b[j], hh[j + 4] = a[j + 4];
        }
    }
    return to_hex(h.data(), 8) + to_hex(hh.data(), 8);
}

const std::string kEmpty = "52525252525252522525252525252525";

}  // namespace

TEST(Mdc2, KnownAnswersUnderEverySplit) {
    auto vectors = kry_test::read_vectors("mdc2.txt");
    ASSERT_EQ(vectors.size(), 5u);
    for (auto &v : vectors) {
        Bytes msg = from_hex(v.at("MSG"));
        uint32_t pad = static_cast<uint32_t>(std::stoul(v.at("PAD")));
        const std::string &md = v.at("MD");
        EXPECT_EQ(mdc2(msg, pad), md) << v.at("MSG");
        EXPECT_EQ(mdc2_chunks(msg, pad, 1), md) << "byte by byte";
        for (size_t chunk = 2; chunk <= msg.size(); ++chunk)
            EXPECT_EQ(mdc2_chunks(msg, pad, chunk), md) << "chunks of " << chunk;
        for (size_t cut = 1; cut < msg.size(); ++cut)
            EXPECT_EQ(mdc2_split(msg, pad, {cut}), md) << "split at " << cut;
        for (size_t c1 = 1; c1 < msg.size(); ++c1)
            for (size_t c2 = c1; c2 < msg.size(); ++c2)
                EXPECT_EQ(mdc2_split(msg, pad, {c1, c2}), md) << "split at " << c1 << ", " << c2;
    }
}

TEST(Mdc2, EmptyMessageIsTheInitialValue) {
    EXPECT_EQ(mdc2({}), kEmpty);
    // Zero-length updates, with or without a data pointer, change nothing.
    MDC2_STATE st;
    ASSERT_EQ(init_MDC2(&st), 0u);
    EXPECT_EQ(update_MDC2(&st, nullptr, 0), 0u);
    uint8_t byte = 0;
    EXPECT_EQ(update_MDC2(&st, &byte, 0), 0u);
    EXPECT_EQ(st.num, 0u);
    uint8_t out[16];
    ASSERT_EQ(final_MDC2(&st, out), 0u);
    EXPECT_EQ(to_hex(out, 16), kEmpty);
}

TEST(Mdc2, InitSetsTheIsoValues) {
    MDC2_STATE st;
    std::memset(&st, 0xA5, sizeof st);
    ASSERT_EQ(init_MDC2(&st), 0u);
    EXPECT_EQ(st.num, 0u);
    EXPECT_EQ(st.pad_type, 1u);
    EXPECT_EQ(to_hex(st.h, 8) + to_hex(st.hh, 8), kEmpty);
    // The data buffer is left as it is.
    for (uint8_t b : st.data) EXPECT_EQ(b, 0xA5);
}

TEST(Mdc2, EightBytesAreOneBlockWithoutPadding) {
    Bytes msg = kry_test::bytes_of("abcdefgh");
    MDC2_STATE st;
    ASSERT_EQ(init_MDC2(&st), 0u);
    ASSERT_EQ(update_MDC2(&st, msg.data(), 8), 0u);
    EXPECT_EQ(st.num, 0u);
    std::string after_block = to_hex(st.h, 8) + to_hex(st.hh, 8);
    EXPECT_NE(after_block, kEmpty);
    uint8_t out[16];
    ASSERT_EQ(final_MDC2(&st, out), 0u);
    EXPECT_EQ(to_hex(out, 16), after_block);
    EXPECT_EQ(to_hex(out, 16), reference_mdc2(msg, 1));
    // Zero padding of a partial block gives the same as the explicit zeros.
    Bytes five = kry_test::bytes_of("abcde"), padded = five;
    padded.resize(8, 0);
    EXPECT_EQ(mdc2(five), mdc2(padded));
}

TEST(Mdc2, PaddingTypeTwoAlwaysAddsABlock) {
    for (size_t len : {0u, 1u, 7u, 8u, 15u, 16u}) {
        Bytes msg = kry_test::TestRng(len + 1).bytes(len);
        Bytes padded = msg;
        padded.push_back(0x80);
        padded.resize((padded.size() + 7) / 8 * 8, 0);
        EXPECT_EQ(mdc2(msg, 2), mdc2(padded, 1)) << len;
    }
    EXPECT_NE(mdc2({}, 2), kEmpty);
}

TEST(Mdc2, FinalLeavesTheStateAsItIs) {
    Bytes msg = kry_test::bytes_of("0123456789abcdef");
    MDC2_STATE st;
    ASSERT_EQ(init_MDC2(&st), 0u);
    ASSERT_EQ(update_MDC2(&st, msg.data(), 16), 0u);
    uint8_t out1[16], out2[16];
    ASSERT_EQ(final_MDC2(&st, out1), 0u);
    ASSERT_EQ(final_MDC2(&st, out2), 0u);
    EXPECT_EQ(to_hex(out1, 16), to_hex(out2, 16));
    EXPECT_EQ(to_hex(out1, 16), to_hex(st.h, 8) + to_hex(st.hh, 8));

    // A partial block is padded inside the state's buffer; num is kept.
    ASSERT_EQ(init_MDC2(&st), 0u);
    ASSERT_EQ(update_MDC2(&st, msg.data(), 3), 0u);
    ASSERT_EQ(final_MDC2(&st, out1), 0u);
    EXPECT_EQ(st.num, 3u);
    EXPECT_EQ(to_hex(st.data, 8), to_hex(msg.data(), 3) + "0000000000");
}

TEST(Mdc2, MatchesReferenceOverLengthsAndSplits) {
    kry_test::TestRng rng(0x3DC2);
    for (uint32_t pad : {1u, 2u}) {
        for (size_t len = 0; len <= 1000; ++len) {
            Bytes msg = rng.bytes(len);
            std::vector<size_t> cuts;
            size_t parts = rng.below(6);
            for (size_t i = 0; i < parts; ++i) cuts.push_back(rng.below(static_cast<uint32_t>(len + 1)));
            std::sort(cuts.begin(), cuts.end());
            std::string want = reference_mdc2(msg, pad);
            ASSERT_EQ(mdc2(msg, pad), want) << "len " << len << " pad " << pad;
            ASSERT_EQ(mdc2_split(msg, pad, cuts), want) << "len " << len << " pad " << pad;
        }
    }
}

TEST(Mdc2, NullArguments) {
    EXPECT_EQ(init_MDC2(nullptr), 0x0C010006u);
    uint8_t data[8] = {0}, out[16];
    EXPECT_EQ(update_MDC2(nullptr, data, 8), 0x0C020006u);
    EXPECT_EQ(update_MDC2(nullptr, nullptr, 0), 0x0C020006u);
    EXPECT_EQ(final_MDC2(nullptr, out), 0x0C030006u);

    MDC2_STATE st{};
    ASSERT_EQ(init_MDC2(&st), 0u);
    ASSERT_EQ(update_MDC2(&st, data, 3), 0u);
    MDC2_STATE before = st;
    EXPECT_EQ(update_MDC2(&st, nullptr, 5), 0x0C020006u);
    EXPECT_EQ(final_MDC2(&st, nullptr), 0x0C030006u);
    EXPECT_EQ(std::memcmp(&st, &before, sizeof st), 0);
}

TEST(Mdc2, CorruptedCountIsRefused) {
    uint8_t data[8] = {1, 2, 3, 4, 5, 6, 7, 8}, out[16];
    for (uint32_t num : {8u, 9u, 255u, 0x80000000u, 0xFFFFFFFFu}) {
        MDC2_STATE st{};
        ASSERT_EQ(init_MDC2(&st), 0u);
        st.num = num;
        MDC2_STATE before = st;
        EXPECT_EQ(update_MDC2(&st, data, 1), 0x0C020006u);
        EXPECT_EQ(update_MDC2(&st, data, 8), 0x0C020006u);
        EXPECT_EQ(update_MDC2(&st, data, 0), 0x0C020006u);
        EXPECT_EQ(final_MDC2(&st, out), 0x0C030006u);
        EXPECT_EQ(std::memcmp(&st, &before, sizeof st), 0);
    }
}
