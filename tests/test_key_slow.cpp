// Key-pair generation at full size: DSA (FIPS 186-2 appendix 2.2 search) and
// KCDSA (TTAK.KO-12.0001) 1024-bit parameters with their key pairs, checked
// by signing, by OpenSSL where it knows the algorithm, and by an enciphered
// export / import round trip.
#include <gtest/gtest.h>

#include <kry/bigint.h>
#include <kry/digest.h>
#include <kry/dsa.h>
#include <kry/error.h>
#include <kry/kcdsa.h>
#include <kry/key.h>

#include "oracle.h"
#include "oracle_pk_dsa.h"
#include "test_support.h"

#include <memory>
#include <vector>

using namespace kry_test;

namespace {

struct KeyDeleter {
    void operator()(KEY *k) const { free_KEY(k); }
};
using KeyPtr = std::unique_ptr<KEY, KeyDeleter>;

Bytes bytes_of_big(const BIGINT *b) {
    if (b == nullptr)
        return {};
    Bytes out(static_cast<size_t>((get_BIGINT_bits_length(b) + 7) / 8));
    if (!out.empty())
        BIGINT_to_binary_unsigned(b, out.data());
    return out;
}

class KeySlow : public ::testing::Test {
  protected:
    void SetUp() override { ChangeNonProvenMode(); }
};

void check_dsa_key(KEY *key) {
    ASSERT_EQ(key->type, KRY_KEY_DSA);
    auto *dsa = static_cast<DSA *>(key->unit);
    ASSERT_NE(dsa, nullptr);
    EXPECT_EQ(get_BIGINT_bits_length(dsa->p), 1024);
    EXPECT_EQ(get_BIGINT_bits_length(dsa->q), 160);
    EXPECT_EQ(key->length, 128u);
    const Bytes p = bytes_of_big(dsa->p), q = bytes_of_big(dsa->q), g = bytes_of_big(dsa->g),
                y = bytes_of_big(dsa->y), x = bytes_of_big(dsa->x);
    EXPECT_EQ(x.size(), 20u) << "the private key keys the signer's generator with 20 bytes";
    EXPECT_EQ(oracle::dsa::param_check(p, q, g), 1);
    EXPECT_EQ(oracle::dsa::public_check(p, q, g, y), 1);

    const Bytes msg = bytes_of("generated DSA key");
    ASSERT_EQ(init_DSA(dsa, KRY_SHA1, KRY_DSA_SIGN, nullptr, 0), 0u);
    ASSERT_EQ(update_DSA(dsa, msg.data(), static_cast<uint32_t>(msg.size())), 0u);
    uint8_t r[64], s[64];
    uint32_t rl = 0, sl = 0;
    ASSERT_EQ(final_DSA(dsa, r, &rl, s, &sl), 0u);
    const Bytes digest = oracle::openssl_digest("SHA1", msg.data(), msg.size());
    const Bytes rr(r, r + rl), full(s, s + sl), cut(s, s + sl - 1);
    EXPECT_EQ(oracle::dsa::verify(p, q, g, y, digest, rr, full) + oracle::dsa::verify(p, q, g, y, digest, rr, cut), 1);

    // Enciphered round trip keeps every value.
    std::vector<uint8_t> out(2048);
    uint32_t length = static_cast<uint32_t>(out.size());
    ASSERT_EQ(export_DSA_KEY(key, out.data(), &length, "slow"), 0u);
    KeyPtr back(new_KEY());
    ASSERT_EQ(import_DSA_KEY(back.get(), out.data(), "slow"), 0u);
    auto *b = static_cast<DSA *>(back->unit);
    EXPECT_EQ(bytes_of_big(b->p), p);
    EXPECT_EQ(bytes_of_big(b->q), q);
    EXPECT_EQ(bytes_of_big(b->g), g);
    EXPECT_EQ(bytes_of_big(b->y), y);
    EXPECT_EQ(bytes_of_big(b->x), x);
    EXPECT_EQ(back->length, 128u);
}

TEST_F(KeySlow, CreateDsa1024WithSha1) {
    KeyPtr key(new_KEY());
    ASSERT_EQ(create_DSA_KEY(key.get(), 0x05000100u, 1024, nullptr), 0u);
    check_dsa_key(key.get());
}

TEST_F(KeySlow, CreateDsa1024WithSeedGenerator) {
    // 0x04000100: the generator's G function is SEED; the search hashes with SHA-1.
    KeyPtr key(new_KEY());
    ASSERT_EQ(create_DSA_KEY(key.get(), 0x04000100u, 1024, nullptr), 0u);
    check_dsa_key(key.get());
}

TEST_F(KeySlow, CreateKcdsa1024x160) {
    KeyPtr key(new_KEY());
    ASSERT_EQ(create_KCDSA_KEY(key.get(), 1024, 160), 0u);
    ASSERT_EQ(key->type, KRY_KEY_KCDSA);
    EXPECT_EQ(key->length, 128u);
    auto *unit = static_cast<KCDSA *>(key->unit);
    ASSERT_NE(unit, nullptr);
    EXPECT_EQ(get_BIGINT_bits_length(unit->p), 1024);
    EXPECT_EQ(get_BIGINT_bits_length(unit->q), 160);

    std::vector<uint8_t> out(2048);
    uint32_t length = static_cast<uint32_t>(out.size());
    ASSERT_EQ(export_KCDSA_KEY(key.get(), out.data(), &length, ""), 0u);
    KeyPtr back(new_KEY());
    ASSERT_EQ(import_KCDSA_KEY(back.get(), out.data(), ""), 0u);
    auto *b = static_cast<KCDSA *>(back->unit);
    EXPECT_EQ(bytes_of_big(b->x), bytes_of_big(unit->x));
    EXPECT_EQ(bytes_of_big(b->y), bytes_of_big(unit->y));

    // The imported key signs; the generated one verifies.
    const Bytes msg = bytes_of("generated KCDSA key");
    uint8_t r[64], s[64];
    uint32_t rl = sizeof r, sl = sizeof s;
    ASSERT_EQ(init_KCDSA(b, 1), 0u);
    ASSERT_EQ(update_KCDSA(b, msg.data(), static_cast<uint32_t>(msg.size())), 0u);
    ASSERT_EQ(final_KCDSA(b, r, &rl, s, &sl), 0u);
    ASSERT_EQ(init_KCDSA(unit, 0), 0u);
    ASSERT_EQ(update_KCDSA(unit, msg.data(), static_cast<uint32_t>(msg.size())), 0u);
    EXPECT_EQ(final_KCDSA(unit, r, &rl, s, &sl), 0u);
    s[0] ^= 0x01;
    ASSERT_EQ(init_KCDSA(unit, 0), 0u);
    ASSERT_EQ(update_KCDSA(unit, msg.data(), static_cast<uint32_t>(msg.size())), 0u);
    EXPECT_NE(final_KCDSA(unit, r, &rl, s, &sl), 0u);
}

}  // namespace
