// Published known answers for every digest: FIPS 180-2 (SHA), RFC 1321 (MD5),
// the HAS-160 standard's vectors and the NIST CAVP SHAVS byte-oriented
// files, each fed whole, byte by byte and split around block boundaries.
#include <gtest/gtest.h>

#include <kry/digest.h>
#include <kry/error.h>

#include "digest_util.h"
#include "test_support.h"

#include <fstream>

using namespace kry_test;

namespace {

class DigestKat : public ::testing::Test {
  protected:
    static void SetUpTestSuite() { ChangeNonProvenMode(); }
};

// Cut lists that put a piece boundary on each side of the block edges.
std::vector<std::vector<size_t>> boundary_splits(size_t size) {
    std::vector<std::vector<size_t>> splits = {{}};
    for (size_t at : {55, 56, 63, 64, 65, 111, 112, 127, 128, 129})
        if (at <= size) splits.push_back({at});
    if (size >= 129) splits.push_back({55, 56, 63, 64, 65, 111, 112, 127, 128, 129});
    return splits;
}

void check_message(const DigestAlg &alg, const Bytes &msg, const std::string &expect_hex, bool bytewise) {
    SCOPED_TRACE(std::string(alg.name) + " message of " + std::to_string(msg.size()) + " bytes");
    for (const auto &cuts : boundary_splits(msg.size()))
        EXPECT_EQ(to_hex(unit_digest(alg.id, msg, cuts)), expect_hex);
    if (bytewise) {
        EXPECT_EQ(to_hex(unit_digest_bytewise(alg.id, msg)), expect_hex);
    }

    Bytes out(KRY_MAX_DIGEST_LENGTH);
    uint32_t len = 0;
    static const uint8_t empty = 0;  // Digest refuses a null data pointer, even for no data
    const uint8_t *data = msg.empty() ? &empty : msg.data();
    ASSERT_EQ(Digest(alg.id, data, static_cast<uint32_t>(msg.size()), out.data(), &len), 0u);
    ASSERT_EQ(len, alg.length);
    out.resize(len);
    EXPECT_EQ(to_hex(out), expect_hex);
}

const DigestAlg &alg_by_vector_name(const std::string &name) {
    for (const auto &a : all_digests())
        if (name == a.vector_alg) return a;
    throw std::runtime_error("unknown algorithm " + name);
}

}  // namespace

TEST_F(DigestKat, Fips180Examples) {
    auto blocks = read_vectors("sha.txt");
    ASSERT_EQ(blocks.size(), 15u);
    for (const auto &b : blocks) {
        const DigestAlg &alg = alg_by_vector_name(b.at("ALG"));
        Bytes msg = message_of(b);
        check_message(alg, msg, b.at("MD"), msg.size() < 100000);
    }
}

TEST_F(DigestKat, Rfc1321Suite) {
    auto blocks = read_vectors("md5.txt");
    ASSERT_EQ(blocks.size(), 7u);
    for (const auto &b : blocks) check_message(all_digests()[5], message_of(b), b.at("MD"), true);
}

TEST_F(DigestKat, Has160StandardVectors) {
    auto blocks = read_vectors("has160.txt");
    ASSERT_EQ(blocks.size(), 8u);
    for (const auto &b : blocks) {
        Bytes msg = message_of(b);
        check_message(all_digests()[6], msg, b.at("MD"), msg.size() < 100000);
    }
}

TEST_F(DigestKat, Mdc2PublishedVectorsThroughTheUnit) {
    auto blocks = read_vectors("mdc2.txt");
    size_t checked = 0;
    for (const auto &b : blocks) {
        if (b.at("PAD") != "1") continue;  // the unit always uses padding type 1
        check_message(all_digests()[7], message_of(b), b.at("MD"), true);
        checked++;
    }
    EXPECT_EQ(checked, 4u);
}

// NIST CAVP SHAVS response files: Len (bits), Msg, MD.
TEST_F(DigestKat, CavpShortAndLongMessages) {
    const std::pair<const char *, uint32_t> files[] = {
        {"SHA1ShortMsg.rsp", KRY_SHA1},     {"SHA1LongMsg.rsp", KRY_SHA1},
        {"SHA224ShortMsg.rsp", KRY_SHA224}, {"SHA224LongMsg.rsp", KRY_SHA224},
        {"SHA256ShortMsg.rsp", KRY_SHA256}, {"SHA256LongMsg.rsp", KRY_SHA256},
        {"SHA384ShortMsg.rsp", KRY_SHA384}, {"SHA512ShortMsg.rsp", KRY_SHA512},
    };
    size_t total = 0;
    for (const auto &[file, id] : files) {
        for (const auto &b : read_vectors(std::string("cavp/sha/") + file)) {
            if (!b.count("Len")) continue;
            size_t bits = std::stoul(b.at("Len"));
            Bytes msg = from_hex(b.at("Msg"));
            msg.resize(bits / 8);
            SCOPED_TRACE(std::string(file) + " Len = " + b.at("Len"));
            EXPECT_EQ(to_hex(unit_digest(id, msg)), b.at("MD"));
            if (msg.size() > 3) {
                EXPECT_EQ(to_hex(unit_digest(id, msg, {1, msg.size() / 2, msg.size() - 1})), b.at("MD"));
            }
            total++;
        }
    }
    EXPECT_EQ(total, 65u * 3 + 64u * 3 + 129u * 2);
}

// FIPS 180-2 and the other examples through each algorithm's own entries
// rather than the unit.
TEST_F(DigestKat, DirectEntries) {
    Bytes abc = bytes_of("abc");
    uint8_t out[64];

    SHA1_STATE s1;
    ASSERT_EQ(init_SHA1(&s1), 0u);
    ASSERT_EQ(update_SHA1(&s1, abc.data(), 3), 0u);
    ASSERT_EQ(final_SHA1(&s1, out), 0u);
    EXPECT_EQ(to_hex(out, 20), "a9993e364706816aba3e25717850c26c9cd0d89d");

    SHA256_STATE s256;
    ASSERT_EQ(init_SHA224(&s256), 0u);
    ASSERT_EQ(update_SHA224(&s256, abc.data(), 3), 0u);
    ASSERT_EQ(final_SHA224(&s256, out), 0u);
    EXPECT_EQ(to_hex(out, 28), "23097d223405d8228642a477bda255b32aadbce4bda0b3f7e36c9da7");
    ASSERT_EQ(init_SHA256(&s256), 0u);
    ASSERT_EQ(update_SHA256(&s256, abc.data(), 3), 0u);
    ASSERT_EQ(final_SHA256(&s256, out), 0u);
    EXPECT_EQ(to_hex(out, 32), "ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad");

    SHA512_STATE s512;
    ASSERT_EQ(init_SHA384(&s512), 0u);
    ASSERT_EQ(update_SHA384(&s512, abc.data(), 3), 0u);
    ASSERT_EQ(final_SHA384(&s512, out), 0u);
    EXPECT_EQ(to_hex(out, 48), "cb00753f45a35e8bb5a03d699ac65007272c32ab0eded1631a8b605a43ff5bed8086072ba1e7cc2358baeca134c825a7");
    ASSERT_EQ(init_SHA512(&s512), 0u);
    ASSERT_EQ(update_SHA512(&s512, abc.data(), 3), 0u);
    ASSERT_EQ(final_SHA512(&s512, out), 0u);
    EXPECT_EQ(to_hex(out, 64), "ddaf35a193617abacc417349ae20413112e6fa4e89a97ea20a9eeee64b55d39a"
                               "2192992a274fc1a836ba3c23a3feebbd454d4423643ce80e2a9ac94fa54ca49f");

    MD5_STATE m;
    ASSERT_EQ(init_MD5(&m), 0u);
    ASSERT_EQ(update_MD5(&m, abc.data(), 3), 0u);
    ASSERT_EQ(final_MD5(&m, out), 0u);
    EXPECT_EQ(to_hex(out, 16), "900150983cd24fb0d6963f7d28e17f72");

    HAS160_STATE h;
    ASSERT_EQ(init_HAS160(&h), 0u);
    ASSERT_EQ(update_HAS160(&h, abc.data(), 3), 0u);
    ASSERT_EQ(final_HAS160(&h, out), 0u);
    EXPECT_EQ(to_hex(out, 20), "975e810488cf2a3d49838478124afce4b1c78804");
}
