// DES core (FIPS 46-3): known answers, inverse, schedule orders, the raw
// word form used by DES-EDE and MDC-2, and a differential test against
// OpenSSL's single DES.
#include "cipher/des.h"
#include "foundation/common.h"

#include "oracle.h"
#include "test_support.h"

#include <gtest/gtest.h>

#include <array>
#include <cstring>

using kry_test::Bytes;
using kry_test::from_hex;
using kry_test::to_hex;

namespace {

using Block = std::array<uint8_t, 8>;

Block encrypt(const uint8_t key[8], const uint8_t in[8]) {
    kry::DesKeySchedule ks;
    kry::des_set_key(ks, key);
    Block out;
    kry::des_encrypt_block(ks, in, out.data());
    return out;
}

bool same_schedule(const kry::DesKeySchedule &a, const kry::DesKeySchedule &b) {
    return std::memcmp(a.k, b.k, sizeof a.k) == 0;
}

// Single-DES ECB vectors of des.txt (FIPS 81 example, SP 800-20 tables).
std::vector<kry_test::VectorBlock> des_ecb_vectors() {
    std::vector<kry_test::VectorBlock> out;
    for (auto &v : kry_test::read_vectors("des.txt"))
        if (v.at("ALG") == "DES" && v.at("MODE") == "ECB") out.push_back(v);
    return out;
}

}  // namespace

TEST(DesCore, KnownAnswersEncryptAndDecrypt) {
    auto vectors = des_ecb_vectors();
    ASSERT_GE(vectors.size(), 200u);  // FIPS 81 ECB example and the SP 800-20 tables
    for (auto &v : vectors) {
        Bytes key = from_hex(v.at("KEY")), pt = from_hex(v.at("PT")), ct = from_hex(v.at("CT"));
        ASSERT_EQ(key.size(), 8u);
        ASSERT_EQ(pt.size(), ct.size());
        ASSERT_EQ(pt.size() % 8, 0u);
        kry::DesKeySchedule ks;
        kry::des_set_key(ks, key.data());
        Bytes enc(pt.size()), dec(pt.size());
        for (size_t i = 0; i < pt.size(); i += 8) {
            kry::des_encrypt_block(ks, pt.data() + i, enc.data() + i);
            kry::des_decrypt_block(ks, ct.data() + i, dec.data() + i);
        }
        EXPECT_EQ(to_hex(enc), v.at("CT")) << "key " << v.at("KEY") << " pt " << v.at("PT");
        EXPECT_EQ(to_hex(dec), v.at("PT")) << "key " << v.at("KEY") << " ct " << v.at("CT");
    }
}

// The three-key TDEA example of SP 800-67 through the raw word form: one
// IP, encrypt K1 / decrypt K2 / encrypt K3, one FP.
TEST(DesCore, RawWordsChainAsTripleDes) {
    int seen = 0;
    for (auto &v : kry_test::read_vectors("des.txt")) {
        if (v.at("ALG") != "DES-EDE3" || v.at("MODE") != "ECB") continue;
        ++seen;
        Bytes key = from_hex(v.at("KEY")), pt = from_hex(v.at("PT"));
        ASSERT_EQ(key.size(), 24u);
        kry::DesKeySchedule k1, k2, k3;
        kry::des_set_key(k1, key.data());
        kry::des_set_key(k2, key.data() + 8);
        kry::des_set_key(k3, key.data() + 16);
        Bytes enc(pt.size());
        for (size_t i = 0; i < pt.size(); i += 8) {
            uint32_t l = kry::load32_be(pt.data() + i), r = kry::load32_be(pt.data() + i + 4);
            kry::des_ip(l, r);
            kry::des_crypt_words(k1, l, r, false);
            kry::des_crypt_words(k2, l, r, true);
            kry::des_crypt_words(k3, l, r, false);
            kry::des_fp(l, r);
            kry::store32_be(enc.data() + i, l);
            kry::store32_be(enc.data() + i + 4, r);
        }
        EXPECT_EQ(to_hex(enc), v.at("CT"));
    }
    EXPECT_EQ(seen, 1);
}

TEST(DesCore, RawWordsMatchBlockFunctions) {
    kry_test::TestRng rng(11);
    for (int i = 0; i < 200; ++i) {
        Bytes key = rng.bytes(8), in = rng.bytes(8);
        kry::DesKeySchedule ks;
        kry::des_set_key(ks, key.data());
        for (bool reverse : {false, true}) {
            Block want;
            if (reverse)
                kry::des_decrypt_block(ks, in.data(), want.data());
            else
                kry::des_encrypt_block(ks, in.data(), want.data());
            uint32_t l = kry::load32_be(in.data()), r = kry::load32_be(in.data() + 4);
            kry::des_ip(l, r);
            kry::des_crypt_words(ks, l, r, reverse);
            kry::des_fp(l, r);
            EXPECT_EQ(l, kry::load32_be(want.data()));
            EXPECT_EQ(r, kry::load32_be(want.data() + 4));
        }
        uint32_t l = kry::load32_be(in.data()), r = kry::load32_be(in.data() + 4);
        kry::des_ip(l, r);
        kry::des_fp(l, r);
        EXPECT_EQ(l, kry::load32_be(in.data()));
        EXPECT_EQ(r, kry::load32_be(in.data() + 4));
    }
}

TEST(DesCore, DecryptInvertsEncryptInPlace) {
    kry_test::TestRng rng(7);
    for (int i = 0; i < 500; ++i) {
        Bytes key = rng.bytes(8), msg = rng.bytes(8);
        kry::DesKeySchedule ks;
        kry::des_set_key(ks, key.data());
        Block want = encrypt(key.data(), msg.data());
        Bytes buf = msg;
        kry::des_encrypt_block(ks, buf.data(), buf.data());
        EXPECT_EQ(buf, Bytes(want.begin(), want.end()));
        kry::des_decrypt_block(ks, buf.data(), buf.data());
        EXPECT_EQ(buf, msg);
    }
}

// A decryption-order schedule reverses the subkeys: the forward block
// function then decrypts.
TEST(DesCore, DecryptionOrderSchedule) {
    kry_test::TestRng rng(3);
    for (int i = 0; i < 200; ++i) {
        Bytes key = rng.bytes(8), ct = rng.bytes(8);
        kry::DesKeySchedule enc, dec;
        kry::des_set_key(enc, key.data(), kry::DesOrder::encrypt);
        kry::des_set_key(dec, key.data(), kry::DesOrder::decrypt);
        for (int r = 0; r < 16; ++r) {
            EXPECT_EQ(dec.k[2 * r], enc.k[2 * (15 - r)]);
            EXPECT_EQ(dec.k[2 * r + 1], enc.k[2 * (15 - r) + 1]);
        }
        Block a, b;
        kry::des_encrypt_block(dec, ct.data(), a.data());
        kry::des_decrypt_block(enc, ct.data(), b.data());
        EXPECT_EQ(a, b);
    }
}

TEST(DesCore, ParityBitsIgnoredAndKeyForms) {
    kry_test::TestRng rng(5);
    for (int i = 0; i < 100; ++i) {
        Bytes key = rng.bytes(8), flipped = key;
        for (auto &b : flipped) b ^= 1;
        kry::DesKeySchedule a, b, c;
        kry::des_set_key(a, key.data());
        kry::des_set_key(b, flipped.data());
        kry::des_set_key64(c, kry::load64_be(key.data()));
        EXPECT_TRUE(same_schedule(a, b));
        EXPECT_TRUE(same_schedule(a, c));
        // Subkey groups are six bits wide, stored in the low bits of bytes.
        for (uint32_t w : a.k) EXPECT_EQ(w & 0xC0C0C0C0u, 0u);
    }
}

// The weak keys of FIPS 74 make encryption an involution.
TEST(DesCore, WeakKeysAreInvolutions) {
    for (const char *hex : {"0101010101010101", "fefefefefefefefe", "e0e0e0e0f1f1f1f1",
                            "1f1f1f1f0e0e0e0e"}) {
        Bytes key = from_hex(hex);
        kry::DesKeySchedule ks;
        kry::des_set_key(ks, key.data());
        Bytes msg = from_hex("0123456789abcdef"), buf = msg;
        kry::des_encrypt_block(ks, buf.data(), buf.data());
        EXPECT_NE(buf, msg);
        kry::des_encrypt_block(ks, buf.data(), buf.data());
        EXPECT_EQ(buf, msg) << hex;
    }
}

TEST(DesCore, MatchesOpenSslOnRandomKeysAndBlocks) {
    kry_test::TestRng rng(0xDE5);
    for (int i = 0; i < 4000; ++i) {
        Bytes key = rng.bytes(8), in = rng.bytes(8);
        Block want;
        ASSERT_TRUE(oracle::openssl_des_encrypt_block(key.data(), in.data(), want.data()));
        Block got = encrypt(key.data(), in.data());
        ASSERT_EQ(got, want) << "key " << to_hex(key) << " in " << to_hex(in);
        kry::DesKeySchedule ks;
        kry::des_set_key(ks, key.data());
        Block back;
        kry::des_decrypt_block(ks, want.data(), back.data());
        ASSERT_EQ(Bytes(back.begin(), back.end()), in);
    }
}

// The multi-block functions (ECB runs, two blocks at a time, and CBC
// encryption with the chain kept between IP and FP) agree with the
// single-block functions for every count, in place or not.
TEST(DesCore, MultiBlockAndCbcMatchSingleBlocks) {
    kry_test::TestRng rng(0xB10C);
    for (int round = 0; round < 60; ++round) {
        const size_t n = static_cast<size_t>(round % 11);
        Bytes key = rng.bytes(24), iv = rng.bytes(8), pt = rng.bytes(8 * n);
        kry::DesKeySchedule ks;
        kry::des_set_key(ks, key.data(), round % 2 ? kry::DesOrder::decrypt : kry::DesOrder::encrypt);
        kry::DesEdeKeySchedule eks;
        ASSERT_EQ(kry::des_ede_set_key(key.data(), round % 3 ? 24 : 16, eks, round % 2 ? 0 : 1), 0u);

        Bytes ecb(pt.size()), ede(pt.size()), cbc(pt.size()), ede_cbc(pt.size());
        uint8_t chain[8], ede_chain[8];
        std::memcpy(chain, iv.data(), 8);
        std::memcpy(ede_chain, iv.data(), 8);
        for (size_t i = 0; i < n; ++i) {
            kry::des_encrypt_block(ks, pt.data() + 8 * i, ecb.data() + 8 * i);
            kry::des_ede_block(eks, pt.data() + 8 * i, ede.data() + 8 * i);
            uint8_t x[8];
            for (int j = 0; j < 8; ++j) x[j] = pt[8 * i + j] ^ chain[j];
            kry::des_encrypt_block(ks, x, chain);
            std::memcpy(cbc.data() + 8 * i, chain, 8);
            for (int j = 0; j < 8; ++j) x[j] = pt[8 * i + j] ^ ede_chain[j];
            kry::des_ede_block(eks, x, ede_chain);
            std::memcpy(ede_cbc.data() + 8 * i, ede_chain, 8);
        }

        Bytes got(pt.size());
        kry::des_encrypt_blocks(ks, pt.data(), got.data(), n);
        EXPECT_EQ(got, ecb) << n;
        got = pt;
        kry::des_encrypt_blocks(ks, got.data(), got.data(), n);
        EXPECT_EQ(got, ecb) << n;
        got = pt;
        kry::des_ede_blocks(eks, got.data(), got.data(), n);
        EXPECT_EQ(got, ede) << n;

        uint8_t c[8];
        std::memcpy(c, iv.data(), 8);
        got = pt;
        kry::des_cbc_encrypt(ks, got.data(), got.data(), n, c);
        EXPECT_EQ(got, cbc) << n;
        EXPECT_EQ(std::memcmp(c, chain, 8), 0) << n;
        std::memcpy(c, iv.data(), 8);
        got.assign(pt.size(), 0);
        kry::des_ede_cbc_encrypt(eks, pt.data(), got.data(), n, c);
        EXPECT_EQ(got, ede_cbc) << n;
        EXPECT_EQ(std::memcmp(c, ede_chain, 8), 0) << n;
    }
}
