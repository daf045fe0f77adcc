// The digest unit and its registry, outside proven mode.
#include <gtest/gtest.h>

#include <kry/digest.h>
#include <kry/error.h>

#include "digest_util.h"
#include "test_support.h"

#include <cstring>

using namespace kry_test;

namespace {

class DigestUnit : public ::testing::Test {
  protected:
    static void SetUpTestSuite() { ChangeNonProvenMode(); }
};

bool all_zero(const DIGEST_UNIT &u) {
    DIGEST_UNIT zero;
    std::memset(&zero, 0, sizeof zero);
    return std::memcmp(&u, &zero, sizeof u) == 0;
}

}  // namespace

TEST_F(DigestUnit, OneShotSha256Abc) {
    uint8_t out[32];
    uint32_t len = 0;
    ASSERT_EQ(Digest(0x05000300, reinterpret_cast<const uint8_t *>("abc"), 3, out, &len), 0u);
    EXPECT_EQ(len, 32u);
    EXPECT_EQ(to_hex(out, 32), "ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad");
}

TEST_F(DigestUnit, NewUnitIsZeroFilled) {
    DIGEST_UNIT *u = new_DIGEST_UNIT();
    ASSERT_NE(u, nullptr);
    EXPECT_TRUE(all_zero(*u));
    free_DIGEST_UNIT(u);

    u = new_DIGEST_UNIT_EX(1);
    ASSERT_NE(u, nullptr);
    EXPECT_EQ(u->proven, 1);
    u->proven = 0;
    EXPECT_TRUE(all_zero(*u));
    free_DIGEST_UNIT(u);
    free_DIGEST_UNIT(nullptr);  // ignored
}

TEST_F(DigestUnit, BindingFillsTheFieldsFromTheRegistry) {
    struct Row { uint32_t id; uint32_t block, digest, state; };
    const Row rows[] = {
        {KRY_SHA1, 64, 20, sizeof(SHA1_STATE)},     {KRY_SHA224, 64, 28, sizeof(SHA256_STATE)},
        {KRY_SHA256, 64, 32, sizeof(SHA256_STATE)}, {KRY_SHA384, 128, 48, sizeof(SHA512_STATE)},
        {KRY_SHA512, 128, 64, sizeof(SHA512_STATE)}, {KRY_MD5, 64, 16, sizeof(MD5_STATE)},
        {KRY_HAS160, 64, 20, sizeof(HAS160_STATE)}, {KRY_MDC2, 8, 16, sizeof(MDC2_STATE)},
    };
    DIGEST_UNIT *u = new_DIGEST_UNIT();
    for (const auto &r : rows) {
        ASSERT_EQ(init_Digest(u, r.id), 0u);
        EXPECT_EQ(u->algorithm_id, r.id);
        EXPECT_EQ(u->block_length, r.block);
        EXPECT_EQ(u->digest_length, r.digest);
        EXPECT_EQ(u->state_size, r.state);
        EXPECT_NE(u->state, nullptr);
        EXPECT_NE(u->init, nullptr);
        EXPECT_NE(u->update, nullptr);
        EXPECT_NE(u->final, nullptr);
        EXPECT_EQ(u->bound, 0xFFFFFFFFu);
        EXPECT_EQ(get_DigestAlg_ID(u), r.id);
        EXPECT_EQ(get_DigestLength(r.id), r.digest);
    }
    free_DIGEST_UNIT(u);
}

TEST_F(DigestUnit, InitDigestAlgFillsWithoutAllocating) {
    DIGEST_UNIT u;
    std::memset(&u, 0, sizeof u);
    ASSERT_EQ(init_DigestAlg(&u, KRY_SHA384), 0u);
    EXPECT_EQ(u.algorithm_id, KRY_SHA384);
    EXPECT_EQ(u.digest_length, 48u);
    EXPECT_EQ(u.block_length, 128u);
    EXPECT_EQ(u.state, nullptr);
    EXPECT_EQ(u.bound, 0u);
    EXPECT_EQ(init_DigestAlg(&u, 0x05000600), 0x0A040004u);
    EXPECT_EQ(u.algorithm_id, 0u);  // cleared for an unknown identifier
}

TEST_F(DigestUnit, TwoMessagesThroughOneUnitMatchFreshUnits) {
    Bytes m1 = bytes_of("first message, longer than one block of sixty-four bytes so it compresses");
    Bytes m2 = bytes_of("second");
    for (const auto &alg : all_digests()) {
        SCOPED_TRACE(alg.name);
        DIGEST_UNIT *u = new_DIGEST_UNIT();
        ASSERT_EQ(init_Digest(u, alg.id), 0u);
        uint8_t out[64];
        uint32_t len = 0;
        ASSERT_EQ(update_Digest(u, m1.data(), static_cast<uint32_t>(m1.size())), 0u);
        ASSERT_EQ(final_Digest(u, out, &len), 0u);
        EXPECT_EQ(to_hex(out, len), to_hex(unit_digest(alg.id, m1)));
        ASSERT_EQ(update_Digest(u, m2.data(), static_cast<uint32_t>(m2.size())), 0u);
        ASSERT_EQ(final_Digest(u, out, nullptr), 0u);  // the length pointer may be null
        EXPECT_EQ(to_hex(out, alg.length), to_hex(unit_digest(alg.id, m2)));
        free_DIGEST_UNIT(u);
    }
}

TEST_F(DigestUnit, ZeroLengthUpdateIsPassedOn) {
    DIGEST_UNIT *u = new_DIGEST_UNIT();
    ASSERT_EQ(init_Digest(u, KRY_SHA1), 0u);
    uint8_t b = 0;
    EXPECT_EQ(update_Digest(u, &b, 0), 0u);
    uint8_t out[20];
    ASSERT_EQ(final_Digest(u, out, nullptr), 0u);
    EXPECT_EQ(to_hex(out, 20), "da39a3ee5e6b4b0d3255bfef95601890afd80709");
    free_DIGEST_UNIT(u);
}

TEST_F(DigestUnit, ProvenUnitRefusesMdc2ButAcceptsMd5AndSha224) {
    DIGEST_UNIT *u = new_DIGEST_UNIT_EX(1);
    EXPECT_EQ(init_Digest(u, KRY_MDC2), 0x0A040004u);
    EXPECT_EQ(u->algorithm_id, 0u);
    EXPECT_EQ(u->state, nullptr);
    clean_DIGEST_UNIT(u);  // bound marker set: clears all fields, the flag too
    EXPECT_TRUE(all_zero(*u));
    free_DIGEST_UNIT(u);

    u = new_DIGEST_UNIT_EX(1);
    EXPECT_EQ(init_Digest(u, KRY_MD5), 0u);
    EXPECT_EQ(u->proven, 1);
    // Binding again releases the old binding with every field, so the unit
    // forgets its proven flag: MDC-2 is then accepted.
    EXPECT_EQ(init_Digest(u, KRY_MDC2), 0u);
    EXPECT_EQ(u->proven, 0);
    free_DIGEST_UNIT(u);

    u = new_DIGEST_UNIT_EX(1);
    EXPECT_EQ(init_Digest(u, KRY_SHA224), 0u);
    free_DIGEST_UNIT(u);

    // init_DigestAlg alone keeps the flag and keeps refusing.
    u = new_DIGEST_UNIT_EX(1);
    EXPECT_EQ(init_DigestAlg(u, KRY_MDC2), 0x0A040004u);
    EXPECT_EQ(init_DigestAlg(u, KRY_MDC2), 0x0A040004u);
    EXPECT_EQ(init_DigestAlg(u, KRY_MD5), 0u);
    free_DIGEST_UNIT(u);
}

TEST_F(DigestUnit, CleanKeepsAnUnboundUnitAndClearsABoundOne) {
    DIGEST_UNIT *u = new_DIGEST_UNIT_EX(1);
    clean_DIGEST_UNIT(u);
    EXPECT_EQ(u->proven, 1);  // never bound: untouched
    ASSERT_EQ(init_Digest(u, KRY_SHA256), 0u);
    EXPECT_EQ(u->proven, 1);  // the first binding keeps it
    clean_DIGEST_UNIT(u);
    EXPECT_TRUE(all_zero(*u));  // bound: every field cleared, the flag too
    free_DIGEST_UNIT(u);

    u = new_DIGEST_UNIT_EX(1);
    u->bound = 0xFFFFFFFF;  // bound but without a state (as after a failed init)
    clean_DIGEST_UNIT(u);
    EXPECT_TRUE(all_zero(*u));
    free_DIGEST_UNIT(u);

    clean_DIGEST_UNIT(nullptr);
}

TEST_F(DigestUnit, UnknownIdentifier) {
    DIGEST_UNIT *u = new_DIGEST_UNIT();
    EXPECT_EQ(init_Digest(u, 0x09000100), 0x0A040004u);
    EXPECT_EQ(u->algorithm_id, 0u);
    EXPECT_EQ(u->bound, 0xFFFFFFFFu);  // a failed init leaves the marker set
    uint8_t b = 0, out[64];
    EXPECT_EQ(update_Digest(u, &b, 1), 0x0A020009u);  // nothing bound to update
    EXPECT_EQ(final_Digest(u, out, nullptr), 0x0A03000Au);
    free_DIGEST_UNIT(u);

    uint32_t len = 77;
    EXPECT_EQ(Digest(0, &b, 1, out, &len), 0x0A040004u);
    EXPECT_EQ(len, 77u);
}

TEST_F(DigestUnit, NullArguments) {
    uint8_t b = 0, out[64];
    uint32_t len = 0;
    DIGEST_UNIT *u = new_DIGEST_UNIT();
    ASSERT_EQ(init_Digest(u, KRY_SHA1), 0u);
    EXPECT_EQ(update_Digest(nullptr, &b, 1), 0x0A020006u);
    EXPECT_EQ(update_Digest(u, nullptr, 1), 0x0A020006u);
    EXPECT_EQ(update_Digest(u, nullptr, 0), 0x0A020006u);
    EXPECT_EQ(final_Digest(nullptr, out, &len), 0x0A010006u);
    EXPECT_EQ(final_Digest(u, nullptr, &len), 0x0A010006u);
    EXPECT_EQ(Digest(KRY_SHA1, nullptr, 0, out, &len), 0x0A050006u);
    EXPECT_EQ(Digest(KRY_SHA1, &b, 1, nullptr, &len), 0x0A010006u);
    EXPECT_EQ(init_Digest(nullptr, KRY_SHA1), 0x0A010006u);
    EXPECT_EQ(init_DigestAlg(nullptr, KRY_SHA1), 0x0A010006u);
    EXPECT_EQ(get_DigestAlg_ID(nullptr), 0u);
    free_DIGEST_UNIT(u);

    DIGEST_UNIT unbound;
    std::memset(&unbound, 0, sizeof unbound);
    EXPECT_EQ(update_Digest(&unbound, &b, 1), 0x0A020009u);
    EXPECT_EQ(final_Digest(&unbound, out, &len), 0x0A03000Au);
    EXPECT_EQ(get_DigestAlg_ID(&unbound), 0u);
}

TEST_F(DigestUnit, EmbeddedUnit) {
    // Callers may embed a unit in their own record.
    DIGEST_UNIT u;
    std::memset(&u, 0, sizeof u);
    ASSERT_EQ(init_Digest(&u, KRY_HAS160), 0u);
    ASSERT_EQ(update_Digest(&u, reinterpret_cast<const uint8_t *>("abc"), 3), 0u);
    uint8_t out[20];
    ASSERT_EQ(final_Digest(&u, out, nullptr), 0u);
    EXPECT_EQ(to_hex(out, 20), "975e810488cf2a3d49838478124afce4b1c78804");
    clean_DIGEST_UNIT(&u);
    EXPECT_TRUE(all_zero(u));
}

TEST_F(DigestUnit, Names) {
    EXPECT_STREQ(get_DigestAlg_Name(KRY_SHA1), "SHA1");
    EXPECT_STREQ(get_DigestAlg_Name(KRY_SHA224), "SHA224");
    EXPECT_STREQ(get_DigestAlg_Name(KRY_SHA256), "SHA256");
    EXPECT_STREQ(get_DigestAlg_Name(KRY_SHA384), "SHA384");
    EXPECT_STREQ(get_DigestAlg_Name(KRY_SHA512), "SHA512");
    EXPECT_STREQ(get_DigestAlg_Name(KRY_MD5), "MD5");
    EXPECT_STREQ(get_DigestAlg_Name(KRY_HAS160), "HAS160");
    EXPECT_STREQ(get_DigestAlg_Name(KRY_MDC2), "MDC2");
    EXPECT_EQ(get_DigestAlg_Name(0), nullptr);
    EXPECT_EQ(get_DigestAlg_Name(0x05000600), nullptr);

    for (const auto &alg : all_digests()) EXPECT_EQ(get_DigestAlg_ID_by_Name(alg.name), alg.id);
    EXPECT_EQ(get_DigestAlg_ID_by_Name("sha256"), KRY_SHA256);
    EXPECT_EQ(get_DigestAlg_ID_by_Name("Sha256"), KRY_SHA256);
    EXPECT_EQ(get_DigestAlg_ID_by_Name("mdc2"), KRY_MDC2);
    EXPECT_EQ(get_DigestAlg_ID_by_Name("has160"), KRY_HAS160);
    EXPECT_EQ(get_DigestAlg_ID_by_Name("SHA-256"), 0xFFFFFFFFu);
    EXPECT_EQ(get_DigestAlg_ID_by_Name(" SHA256"), 0xFFFFFFFFu);
    EXPECT_EQ(get_DigestAlg_ID_by_Name("SHA256 "), 0xFFFFFFFFu);
    EXPECT_EQ(get_DigestAlg_ID_by_Name(""), 0xFFFFFFFFu);
    EXPECT_EQ(get_DigestAlg_ID_by_Name(nullptr), 0xFFFFFFFFu);
    // Only the first 16 characters are compared: a registered name padded
    // with letters to 17 characters matches nothing.
    EXPECT_EQ(get_DigestAlg_ID_by_Name("SHA256xxxxxxxxxxx"), 0xFFFFFFFFu);
    EXPECT_EQ(get_DigestAlg_ID_by_Name("HAS160HAS160HAS1"), 0xFFFFFFFFu);
    std::string long_name(5000, 'A');
    EXPECT_EQ(get_DigestAlg_ID_by_Name(long_name.c_str()), 0xFFFFFFFFu);

    EXPECT_EQ(get_DigestLength(0), 0u);
    EXPECT_EQ(get_DigestLength(0x05000600), 0u);
}

TEST_F(DigestUnit, OutsideProvenModeEveryAlgorithmIsAccepted) {
    EXPECT_EQ(IsProven(), 0);
    for (const auto &alg : all_digests()) {
        uint8_t out[64];
        uint32_t len = 0;
        EXPECT_EQ(Digest(alg.id, reinterpret_cast<const uint8_t *>("x"), 1, out, &len), 0u) << alg.name;
        EXPECT_EQ(len, alg.length);
    }
}
