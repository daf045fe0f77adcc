// KCDSA with HAS-160 (TTAK.KO-12.0001): the (1024, 160) known answer of
// TTAK.KO-12.0001/R4, round trips, message splitting, the range checks on s
// and the argument checks.
#include <gtest/gtest.h>

#include <kry/bigint.h>
#include <kry/error.h>
#include <kry/kcdsa.h>

#include "pubkey/kcdsa_internal.h"
#include "test_support.h"

#include <string>

using namespace kry_test;

namespace {

struct Example {
    BIGINT *p, *q, *g, *x, *y, *k;
    Bytes seed, j, msg, r, s, z;
    uint32_t count;
};

BIGINT *big(const std::string &hex) {
    Bytes b = from_hex(hex);
    return binary_to_BIGINT(b.data(), static_cast<int32_t>(b.size()), nullptr);
}

Bytes bytes_of_big(const BIGINT *b) {
    Bytes out(static_cast<size_t>((get_BIGINT_bits_length(b) + 7) / 8));
    BIGINT_to_binary_unsigned(b, out.data());
    return out;
}

class KcdsaTest : public ::testing::Test {
  protected:
    void SetUp() override {
        ChangeNonProvenMode();
        auto blocks = read_vectors("kcdsa.txt");
        ASSERT_EQ(blocks.size(), 1u);
        auto &v = blocks[0];
        ex.p = big(v.at("P"));
        ex.q = big(v.at("Q"));
        ex.g = big(v.at("G"));
        ex.x = big(v.at("X"));
        ex.y = big(v.at("Y"));
        ex.k = big(v.at("K"));
        ex.seed = from_hex(v.at("SEED"));
        ex.j = from_hex(v.at("J"));
        ex.msg = from_hex(v.at("MSG"));
        ex.r = from_hex(v.at("R"));
        ex.s = from_hex(v.at("S"));
        ex.z = from_hex(v.at("Z"));
        ex.count = static_cast<uint32_t>(std::stoul(v.at("COUNT")));
        unit = new_KCDSA();
        ASSERT_NE(unit, nullptr);
    }
    void TearDown() override {
        for (BIGINT *b : {ex.p, ex.q, ex.g, ex.x, ex.y, ex.k})
            free_BIGINT(b);
        free_KCDSA(unit);
    }
    // Signs the pieces; r and s into the members.
    uint32_t sign_pieces(std::initializer_list<Bytes> pieces) {
        uint32_t err = init_KCDSA(unit, 1);
        for (const Bytes &m : pieces)
            err |= update_KCDSA(unit, m.data(), static_cast<uint32_t>(m.size()));
        r_len = sizeof r;
        s_len = sizeof s;
        return err | final_KCDSA(unit, r, &r_len, s, &s_len);
    }
    uint32_t verify_pieces(std::initializer_list<Bytes> pieces, uint8_t *rr, uint32_t rl, uint8_t *ss,
                           uint32_t sl) {
        EXPECT_EQ(init_KCDSA(unit, 0), 0u);
        for (const Bytes &m : pieces)
            EXPECT_EQ(update_KCDSA(unit, m.data(), static_cast<uint32_t>(m.size())), 0u);
        return final_KCDSA(unit, rr, &rl, ss, &sl);
    }
    uint32_t verify_example(const Bytes &msg, Bytes rr, Bytes ss) {
        return verify_pieces({msg}, rr.data(), static_cast<uint32_t>(rr.size()), ss.data(),
                             static_cast<uint32_t>(ss.size()));
    }

    Example ex{};
    KCDSA *unit = nullptr;
    uint8_t r[64] = {};
    uint8_t s[64] = {};
    uint32_t r_len = 0;
    uint32_t s_len = 0;
};

TEST_F(KcdsaTest, PublicKeyFollowsFromPrivateKey) {
    ASSERT_EQ(set_KCDSA_params(unit, ex.p, ex.q, ex.g, ex.x, nullptr), 0u);
    ASSERT_NE(unit->y, nullptr);
    EXPECT_EQ(cmp_BIGINT(unit->y, ex.y), 0);
    EXPECT_EQ(get_KCDSA_length(unit), 20);
}

TEST_F(KcdsaTest, ZIsLow512BitsOfY) {
    ASSERT_EQ(set_KCDSA_params(unit, ex.p, ex.q, ex.g, nullptr, ex.y), 0u);
    ASSERT_EQ(init_KCDSA(unit, 0), 0u);
    ASSERT_EQ(update_KCDSA(unit, ex.msg.data(), static_cast<uint32_t>(ex.msg.size())), 0u);
    ASSERT_NE(unit->z, nullptr);
    EXPECT_EQ(to_hex(bytes_of_big(unit->z)), to_hex(ex.z));
}

TEST_F(KcdsaTest, ExampleSignatureVerifies) {
    ASSERT_EQ(set_KCDSA_params(unit, ex.p, ex.q, ex.g, nullptr, ex.y), 0u);
    EXPECT_EQ(verify_example(ex.msg, ex.r, ex.s), 0u);
}

TEST_F(KcdsaTest, OneBitChangesFail) {
    ASSERT_EQ(set_KCDSA_params(unit, ex.p, ex.q, ex.g, nullptr, ex.y), 0u);
    for (size_t i = 0; i < ex.msg.size(); i += 7) {
        Bytes m = ex.msg;
        m[i] ^= 0x04;
        EXPECT_EQ(verify_example(m, ex.r, ex.s), 0x0F050600u) << i;
    }
    for (size_t i = 0; i < 20; i += 3) {
        Bytes rr = ex.r;
        rr[i] ^= 0x01;
        EXPECT_EQ(verify_example(ex.msg, rr, ex.s), 0x0F050600u) << i;
        Bytes ss = ex.s;
        ss[i == 0 ? 19 : i] ^= 0x01;  // low bits keep s below q
        EXPECT_EQ(verify_example(ex.msg, ex.r, ss), 0x0F050600u) << i;
    }
}

TEST_F(KcdsaTest, ExampleSignatureFromItsK) {
    ASSERT_EQ(set_KCDSA_params(unit, ex.p, ex.q, ex.g, ex.x, ex.y), 0u);
    ASSERT_EQ(init_KCDSA(unit, 1), 0u);
    ASSERT_EQ(update_KCDSA(unit, ex.msg.data(), static_cast<uint32_t>(ex.msg.size())), 0u);
    ASSERT_EQ(kry::kcdsa_sign_with_k(unit, ex.k, r, &r_len, s, &s_len), 0u);
    EXPECT_EQ(r_len, 20u);
    EXPECT_EQ(s_len, 20u);
    EXPECT_EQ(to_hex(r, r_len), to_hex(ex.r));
    EXPECT_EQ(to_hex(s, 20), to_hex(ex.s));
}

TEST_F(KcdsaTest, RoundTripOnExampleParameters) {
    ASSERT_EQ(set_KCDSA_params(unit, ex.p, ex.q, ex.g, ex.x, nullptr), 0u);
    TestRng rng(7);
    for (size_t len : {0u, 1u, 39u, 64u, 1000u}) {
        Bytes m = rng.bytes(len);
        ASSERT_EQ(sign_pieces({m}), 0u) << len;
        EXPECT_EQ(r_len, 20u);
        EXPECT_LE(s_len, 20u);
        EXPECT_EQ(verify_pieces({m}, r, 20, s, 20), 0u) << len;
    }
}

TEST_F(KcdsaTest, RoundTripWithDerivedKeyAndExampleMessage) {
    ASSERT_EQ(set_KCDSA_params(unit, ex.p, ex.q, ex.g, ex.x, nullptr), 0u);
    ASSERT_EQ(sign_pieces({ex.msg}), 0u);
    // A fresh unit holding only the public key verifies it.
    KCDSA *other = new_KCDSA();
    ASSERT_EQ(set_KCDSA_params(other, ex.p, ex.q, ex.g, nullptr, ex.y), 0u);
    ASSERT_EQ(init_KCDSA(other, 0), 0u);
    ASSERT_EQ(update_KCDSA(other, ex.msg.data(), static_cast<uint32_t>(ex.msg.size())), 0u);
    uint32_t rl = 20, sl = 20;
    EXPECT_EQ(final_KCDSA(other, r, &rl, s, &sl), 0u);
    free_KCDSA(other);
}

TEST_F(KcdsaTest, EachUpdateHashesZAgain) {
    ASSERT_EQ(set_KCDSA_params(unit, ex.p, ex.q, ex.g, ex.x, nullptr), 0u);
    const Bytes a(ex.msg.begin(), ex.msg.begin() + 10);
    const Bytes b(ex.msg.begin() + 10, ex.msg.end());
    ASSERT_EQ(sign_pieces({a, b}), 0u);
    EXPECT_EQ(verify_pieces({a, b}, r, 20, s, 20), 0u);
    EXPECT_EQ(verify_pieces({ex.msg}, r, 20, s, 20), 0x0F050600u);
    // The example signature covers z || M in one piece only.
    EXPECT_EQ(verify_pieces({a, b}, ex.r.data(), 20, ex.s.data(), 20), 0x0F050600u);
}

TEST_F(KcdsaTest, SOutOfRangeRejected) {
    ASSERT_EQ(set_KCDSA_params(unit, ex.p, ex.q, ex.g, nullptr, ex.y), 0u);
    EXPECT_EQ(verify_example(ex.msg, ex.r, Bytes(20, 0)), 0x0F052000u);
    Bytes q = bytes_of_big(ex.q);
    Bytes q1 = q;
    q1[19] += 1;  // q is odd: no carry
    EXPECT_EQ(verify_example(ex.msg, ex.r, q1), 0x0F052100u);
    EXPECT_EQ(verify_example(ex.msg, ex.r, Bytes(21, 0xFF)), 0x0F052100u);
    // s = q passes the range check and fails as a signature.
    EXPECT_EQ(verify_example(ex.msg, ex.r, q), 0x0F050600u);
}

TEST_F(KcdsaTest, WrongRLengthFails) {
    ASSERT_EQ(set_KCDSA_params(unit, ex.p, ex.q, ex.g, nullptr, ex.y), 0u);
    Bytes r19(ex.r.begin(), ex.r.end() - 1);
    EXPECT_EQ(verify_example(ex.msg, r19, ex.s), 0x0F050600u);
    Bytes r21 = ex.r;
    r21.push_back(0);
    EXPECT_EQ(verify_example(ex.msg, r21, ex.s), 0x0F050600u);
}

TEST_F(KcdsaTest, KeyPairOnExampleParameters) {
    ASSERT_EQ(set_KCDSA_params(unit, ex.p, ex.q, ex.g, nullptr, nullptr), 0u);
    ASSERT_EQ(generate_KCDSA_key_pair(unit), 0u);
    ASSERT_NE(unit->x, nullptr);
    ASSERT_NE(unit->y, nullptr);
    EXPECT_LT(cmp_BIGINT(unit->x, ex.q), 0);
    ASSERT_EQ(sign_pieces({ex.msg}), 0u);
    EXPECT_EQ(verify_pieces({ex.msg}, r, 20, s, 20), 0u);
    // A second pair replaces the first, z included.
    ASSERT_EQ(generate_KCDSA_key_pair(unit), 0u);
    KCDSA *other = new_KCDSA();
    ASSERT_EQ(set_KCDSA_params(other, ex.p, ex.q, ex.g, nullptr, unit->y), 0u);
    ASSERT_EQ(sign_pieces({ex.msg}), 0u);
    ASSERT_EQ(init_KCDSA(other, 0), 0u);
    ASSERT_EQ(update_KCDSA(other, ex.msg.data(), static_cast<uint32_t>(ex.msg.size())), 0u);
    uint32_t rl = 20, sl = 20;
    EXPECT_EQ(final_KCDSA(other, r, &rl, s, &sl), 0u);
    free_KCDSA(other);
}

TEST_F(KcdsaTest, QExpansionOfExampleSeed) {
    // q = HAS-160(SEED || COUNT || 00) with its top and bottom bits set.
    Bytes in = ex.seed;
    for (int i = 3; i >= 0; i--)
        in.push_back(static_cast<uint8_t>(ex.count >> (8 * i)));
    uint8_t out[20];
    ASSERT_EQ(kry::kcdsa_expand(in.data(), static_cast<uint32_t>(in.size()), out, 160), 0u);
    out[0] |= 0x80;
    out[19] |= 0x01;
    EXPECT_EQ(to_hex(out, 20), to_hex(bytes_of_big(ex.q)));
}

TEST_F(KcdsaTest, CofactorExpansionOfExampleSeed) {
    // 860 bits: five digests fill the low 100 bytes exactly as in the
    // example's J; the 8 leading bytes come from the unwritten part of the
    // 80-byte digest area and are zero.
    uint8_t out[108];
    ASSERT_EQ(kry::kcdsa_expand(ex.seed.data(), 20, out, 860), 0u);
    EXPECT_EQ(to_hex(out + 8, 100), to_hex(ex.j.data() + ex.j.size() - 100, 100));
    EXPECT_EQ(to_hex(out, 8), std::string(16, '0'));
}

TEST_F(KcdsaTest, ExpansionMasksLeadingByte) {
    uint8_t a[3], b[3];
    ASSERT_EQ(kry::kcdsa_expand(ex.seed.data(), 20, a, 20), 0u);
    ASSERT_EQ(kry::kcdsa_expand(ex.seed.data(), 20, b, 24), 0u);
    // m = 3: leading bytes from offset 68 of the area, all zero.
    EXPECT_EQ(to_hex(a, 3), "000000");
    EXPECT_EQ(to_hex(b, 3), "000000");
}

TEST_F(KcdsaTest, GenerationSizeChecks) {
    EXPECT_EQ(generate_KCDSA_params(unit, 1000, 160), 0x0F060003u);
    EXPECT_EQ(generate_KCDSA_params(unit, 1024, 168), 0x0F060003u);
    EXPECT_EQ(generate_KCDSA_params(unit, 2304, 160), 0x0F060003u);
    EXPECT_EQ(generate_KCDSA_params(unit, 768, 160), 0x0F060003u);
    EXPECT_EQ(generate_KCDSA_params(unit, 1024, 128), 0x0F060003u);
    EXPECT_EQ(generate_KCDSA_params(unit, 2048, 288), 0x0F060003u);
    EXPECT_EQ(generate_KCDSA_params(nullptr, 1024, 160), 0x0F060006u);
}

TEST_F(KcdsaTest, MissingArguments) {
    EXPECT_EQ(set_KCDSA_params(unit, nullptr, ex.q, ex.g, nullptr, nullptr), 0x0F070003u);
    EXPECT_EQ(set_KCDSA_params(unit, ex.p, nullptr, ex.g, nullptr, nullptr), 0x0F070003u);
    EXPECT_EQ(set_KCDSA_params(unit, ex.p, ex.q, nullptr, nullptr, nullptr), 0x0F070003u);
    EXPECT_EQ(generate_KCDSA_key_pair(unit), 0x0F080006u);
    EXPECT_EQ(generate_KCDSA_key_pair(nullptr), 0x0F080006u);
    EXPECT_EQ(update_KCDSA(nullptr, ex.msg.data(), 1), 0x0F020006u);

    // Public key only: signing refuses; no key at all: verifying and the
    // first update refuse.
    ASSERT_EQ(set_KCDSA_params(unit, ex.p, ex.q, ex.g, nullptr, ex.y), 0u);
    ASSERT_EQ(init_KCDSA(unit, 1), 0u);
    EXPECT_EQ(sign_KCDSA(unit, r, &r_len, s, &s_len), 0x0F040006u);
    ASSERT_EQ(set_KCDSA_params(unit, ex.p, ex.q, ex.g, nullptr, nullptr), 0u);
    ASSERT_EQ(init_KCDSA(unit, 0), 0u);
    EXPECT_EQ(update_KCDSA(unit, ex.msg.data(), 1), 0x0F020600u);
    r_len = 20;
    s_len = 20;
    EXPECT_EQ(verify_KCDSA(unit, r, &r_len, s, &s_len), 0x0F050006u);
    EXPECT_EQ(sign_KCDSA(nullptr, r, &r_len, s, &s_len), 0x0F040006u);
    EXPECT_EQ(verify_KCDSA(nullptr, r, &r_len, s, &s_len), 0x0F050006u);
}

TEST_F(KcdsaTest, SetParamsDiscardsZ) {
    ASSERT_EQ(set_KCDSA_params(unit, ex.p, ex.q, ex.g, nullptr, ex.y), 0u);
    ASSERT_EQ(init_KCDSA(unit, 0), 0u);
    ASSERT_EQ(update_KCDSA(unit, ex.msg.data(), 1), 0u);
    ASSERT_NE(unit->z, nullptr);
    // z survives init ...
    ASSERT_EQ(init_KCDSA(unit, 0), 0u);
    EXPECT_NE(unit->z, nullptr);
    // ... but not new parameters.
    ASSERT_EQ(set_KCDSA_params(unit, ex.p, ex.q, ex.g, nullptr, ex.y), 0u);
    EXPECT_EQ(unit->z, nullptr);
    EXPECT_EQ(unit->digest, nullptr);
    EXPECT_EQ(unit->prng, nullptr);
}

TEST_F(KcdsaTest, ShortSIsRightAligned) {
    // s one byte shorter than the field: written after a zero byte, and its
    // reported length (19 rounded up to even) is the field length.
    ASSERT_EQ(set_KCDSA_params(unit, ex.p, ex.q, ex.g, ex.x, nullptr), 0u);
    const Bytes m{1, 2, 3};
    bool found = false;
    for (int i = 0; i < 5000 && !found; i++) {
        ASSERT_EQ(sign_pieces({m}), 0u);
        if (s[0] == 0 && s[1] != 0) {
            found = true;
            EXPECT_EQ(s_len, 20u);
            EXPECT_EQ(verify_pieces({m}, r, r_len, s, s_len), 0u);
        } else if (s[0] != 0) {
            EXPECT_EQ(s_len, 20u);
        }
    }
    EXPECT_TRUE(found);
}

TEST_F(KcdsaTest, LifeCycle) {
    free_KCDSA(nullptr);
    clean_KCDSA(nullptr);
    EXPECT_EQ(get_KCDSA_length(unit), 0);
    ASSERT_EQ(set_KCDSA_params(unit, ex.p, ex.q, ex.g, ex.x, ex.y), 0u);
    clean_KCDSA(unit);
    EXPECT_EQ(unit->p, nullptr);
    EXPECT_EQ(unit->pool, nullptr);
    // A cleaned unit can be used again.
    ASSERT_EQ(set_KCDSA_params(unit, ex.p, ex.q, ex.g, ex.x, nullptr), 0u);
    ASSERT_EQ(sign_pieces({ex.msg}), 0u);
    EXPECT_EQ(verify_pieces({ex.msg}, r, 20, s, 20), 0u);
}

}  // namespace
