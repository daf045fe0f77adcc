// HMAC (FIPS 198, RFC 2104) outside proven mode: the RFC 2202 and RFC 4231
// known answers, the unit's life cycle (messages without re-keying, final
// after final), key handling around the block length, names, error words,
// and differential runs against OpenSSL and against an HMAC written here
// over kry's own digests (HAS-160, MDC-2).
#include <gtest/gtest.h>

#include <kry/digest.h>
#include <kry/error.h>
#include <kry/hmac.h>

#include "digest/sha_x86.h"
#include "oracle.h"
#include "test_support.h"

#include <algorithm>
#include <cstring>
#include <string>
#include <vector>

using namespace kry_test;

namespace {

class Hmac : public ::testing::Test {
  protected:
    static void SetUpTestSuite() { ChangeNonProvenMode(); }
};

struct Alg {
    uint32_t id;
    const char *name;     // kry's and OpenSSL's name
    bool openssl;         // OpenSSL has it
    uint32_t block;
    uint32_t length;
};

const std::vector<Alg> &all_algs() {
    static const std::vector<Alg> algs = {
        {KRY_SHA1, "SHA1", true, 64, 20},     {KRY_SHA224, "SHA224", true, 64, 28},
        {KRY_SHA256, "SHA256", true, 64, 32}, {KRY_SHA384, "SHA384", true, 128, 48},
        {KRY_SHA512, "SHA512", true, 128, 64}, {KRY_MD5, "MD5", true, 64, 16},
        {KRY_HAS160, "HAS160", false, 64, 20}, {KRY_MDC2, "MDC2", false, 8, 16},
    };
    return algs;
}

uint32_t id_of(const std::string &name) {
    for (const auto &a : all_algs())
        if (name == a.name) return a.id;
    return 0;
}

const uint8_t kEmpty[1] = {0};
const uint8_t *ptr(const Bytes &b) { return b.empty() ? kEmpty : b.data(); }

// One message through a unit, cut into pieces ending at the given offsets.
Bytes unit_mac(HMAC_UNIT *u, const Bytes &msg, const std::vector<size_t> &cuts = {}) {
    size_t at = 0;
    for (size_t cut : cuts) {
        if (cut < at || cut > msg.size()) break;
        if (update_HMAC(u, ptr(msg) + at, static_cast<uint32_t>(cut - at)) != 0) return {};
        at = cut;
    }
    if (update_HMAC(u, ptr(msg) + at, static_cast<uint32_t>(msg.size() - at)) != 0) return {};
    Bytes out(64);
    uint32_t len = 0;
    if (final_HMAC(u, out.data(), &len) != 0) return {};
    out.resize(len);
    return out;
}

Bytes one_shot(uint32_t id, const Bytes &key, const Bytes &msg) {
    Bytes out(64);
    uint32_t len = 0;
    if (HMac(id, ptr(key), static_cast<uint32_t>(key.size()), ptr(msg), static_cast<uint32_t>(msg.size()), out.data(),
             &len) != 0)
        return {};
    out.resize(len);
    return out;
}

Bytes fresh_unit_mac(uint32_t id, const Bytes &key, const Bytes &msg, const std::vector<size_t> &cuts = {}) {
    HMAC_UNIT *u = new_HMAC_UNIT();
    Bytes out;
    if (init_HMAC(u, id, ptr(key), static_cast<uint32_t>(key.size())) == 0) out = unit_mac(u, msg, cuts);
    free_HMAC_UNIT(u);
    return out;
}

Bytes kry_digest(uint32_t id, const Bytes &data) {
    Bytes out(64);
    uint32_t len = 0;
    if (Digest(id, ptr(data), static_cast<uint32_t>(data.size()), out.data(), &len) != 0) return {};
    out.resize(len);
    return out;
}

Bytes concat(Bytes a, const Bytes &b) {
    a.insert(a.end(), b.begin(), b.end());
    return a;
}

// RFC 2104 written out: K0 is the key (hashed when longer than B, the
// first B bytes of the digest kept when the digest is longer than B), zero
// padded to B bytes; H((K0 ^ opad) || H((K0 ^ ipad) || m)).
template <class Hash>
Bytes rfc2104(Hash hash, size_t block, Bytes key, const Bytes &msg) {
    if (key.size() > block) key = hash(key);
    key.resize(block, 0);
    Bytes ipad(block), opad(block);
    for (size_t i = 0; i < block; i++) {
        ipad[i] = key[i] ^ 0x36;
        opad[i] = key[i] ^ 0x5C;
    }
    return hash(concat(opad, hash(concat(ipad, msg))));
}

std::vector<size_t> random_cuts(TestRng &rng, size_t size) {
    std::vector<size_t> cuts;
    size_t n = rng.below(5);
    for (size_t i = 0; i < n; i++) cuts.push_back(rng.below(static_cast<uint32_t>(size + 1)));
    std::sort(cuts.begin(), cuts.end());
    return cuts;
}

bool all_zero(const HMAC_UNIT &u) {
    HMAC_UNIT zero;
    std::memset(&zero, 0, sizeof zero);
    return std::memcmp(&u, &zero, sizeof u) == 0;
}

}  // namespace

TEST_F(Hmac, KnownAnswersRfc2202AndRfc4231) {
    const auto blocks = read_vectors("hmac.txt");
    ASSERT_EQ(blocks.size(), 43u);
    size_t long_keys = 0, truncated = 0;
    for (const auto &v : blocks) {
        const uint32_t id = id_of(v.at("HASH"));
        ASSERT_NE(id, 0u) << v.at("HASH");
        const Bytes key = from_hex(v.at("KEY")), msg = from_hex(v.at("MSG")), mac = from_hex(v.at("MAC"));
        size_t compare = mac.size();
        if (v.count("TRUNC")) {
            compare = std::stoul(v.at("TRUNC"));
            truncated++;
        }
        ASSERT_LE(compare, mac.size());
        if (key.size() == 80 || key.size() == 131) long_keys++;
        SCOPED_TRACE(v.at("HASH") + " key " + v.at("KEY").substr(0, 16) + " msg " + v.at("MSG").substr(0, 16));

        const Bytes a = one_shot(id, key, msg);
        ASSERT_GE(a.size(), compare);
        EXPECT_EQ(to_hex(a.data(), compare), to_hex(mac.data(), compare));
        // Fed in pieces, and byte by byte.
        std::vector<size_t> bytewise;
        for (size_t i = 1; i < msg.size(); i++) bytewise.push_back(i);
        EXPECT_EQ(fresh_unit_mac(id, key, msg, {msg.size() / 3, msg.size() / 2}), a);
        EXPECT_EQ(fresh_unit_mac(id, key, msg, bytewise), a);
    }
    EXPECT_EQ(long_keys, 12u);  // 80-byte keys of RFC 2202, 131-byte keys of RFC 4231
    EXPECT_EQ(truncated, 6u);
}

TEST_F(Hmac, OutputLengthIsTheDigestLength) {
    const Bytes key = bytes_of("key"), msg = bytes_of("The quick brown fox jumps over the lazy dog");
    for (const auto &a : all_algs()) {
        uint8_t out[64];
        uint32_t len = 0;
        ASSERT_EQ(HMac(a.id, key.data(), 3, msg.data(), static_cast<uint32_t>(msg.size()), out, &len), 0u) << a.name;
        EXPECT_EQ(len, a.length) << a.name;
        EXPECT_EQ(HMac(a.id, key.data(), 3, msg.data(), static_cast<uint32_t>(msg.size()), out, nullptr), 0u);
    }
    // HMAC-SHA256 of the classic example.
    uint8_t out[32];
    ASSERT_EQ(HMac(KRY_SHA256, key.data(), 3, msg.data(), static_cast<uint32_t>(msg.size()), out, nullptr), 0u);
    EXPECT_EQ(to_hex(out, 32), "f7bc83f430538424b13298e6aa6fb143ef4d59a14946175997479dbc2d1a3cd8");
}

TEST_F(Hmac, UnitFieldsThroughTheLifeCycle) {
    HMAC_UNIT *u = new_HMAC_UNIT_EX(1);
    ASSERT_NE(u, nullptr);
    EXPECT_EQ(u->proven, 1);
    u->proven = 0;
    EXPECT_TRUE(all_zero(*u));
    u->proven = 1;

    const Bytes key = bytes_of("Jefe");
    ASSERT_EQ(init_HMAC(u, KRY_SHA256, key.data(), 4), 0u);
    EXPECT_EQ(u->hmac_id, 0x15000300u);
    ASSERT_NE(u->digest, nullptr);
    EXPECT_EQ(u->digest->proven, 1);  // the digest unit carries the unit's proven flag
    EXPECT_EQ(u->digest->algorithm_id, KRY_SHA256);
    EXPECT_EQ(u->state_size, u->digest->state_size);
    EXPECT_EQ(u->state_size, sizeof(SHA256_STATE));
    EXPECT_EQ(u->key_length, 4u);
    EXPECT_EQ(std::memcmp(u->key_block, "Jefe", 4), 0);
    for (size_t i = 4; i < sizeof u->key_block; i++) ASSERT_EQ(u->key_block[i], 0) << i;
    EXPECT_EQ(u->phase, 1u);
    EXPECT_EQ(u->bound, 0xFFFFFFFFu);
    // The digest state holds the inner snapshot.
    EXPECT_EQ(std::memcmp(u->digest->state, u->inner, u->state_size), 0);

    const Bytes msg = bytes_of("what do ya want for nothing?");
    ASSERT_EQ(update_HMAC(u, msg.data(), static_cast<uint32_t>(msg.size())), 0u);
    EXPECT_EQ(u->phase, 2u);
    uint8_t out[32];
    uint32_t len = 0;
    ASSERT_EQ(final_HMAC(u, out, &len), 0u);
    EXPECT_EQ(u->phase, 3u);
    EXPECT_EQ(len, 32u);
    EXPECT_EQ(to_hex(out, 32), "5bdcc146bf60754e6a042426089575c75a003f089d2739839dec58b964ec3843");
    ASSERT_EQ(update_HMAC(u, msg.data(), 0), 0u);  // a zero-length update starts the next message
    EXPECT_EQ(u->phase, 2u);

    clean_HMAC_UNIT(u);
    EXPECT_TRUE(all_zero(*u));  // the key block and the proven flag with the rest
    clean_HMAC_UNIT(u);         // unbound: nothing happens
    free_HMAC_UNIT(u);
    free_HMAC_UNIT(nullptr);
    clean_HMAC_UNIT(nullptr);

    // Clean leaves a never-bound unit as it is.
    HMAC_UNIT *v = new_HMAC_UNIT_EX(1);
    clean_HMAC_UNIT(v);
    EXPECT_EQ(v->proven, 1);
    free_HMAC_UNIT(v);
}

TEST_F(Hmac, TwoMessagesThroughOneUnitEqualFreshUnits) {
    TestRng rng(2104);
    for (const auto &a : all_algs()) {
        const Bytes key = rng.bytes(rng.below(150));
        HMAC_UNIT *u = new_HMAC_UNIT();
        ASSERT_EQ(init_HMAC(u, a.id, key.data(), static_cast<uint32_t>(key.size())), 0u) << a.name;
        for (int i = 0; i < 4; i++) {
            const Bytes msg = rng.bytes(rng.below(300));
            const auto cuts = random_cuts(rng, msg.size());
            EXPECT_EQ(to_hex(unit_mac(u, msg, cuts)), to_hex(fresh_unit_mac(a.id, key, msg))) << a.name << " " << i;
            EXPECT_EQ(to_hex(unit_mac(u, msg)), to_hex(one_shot(a.id, key, msg))) << a.name << " " << i;
        }
        free_HMAC_UNIT(u);
    }
}

TEST_F(Hmac, ReInitialisingAUnitChangesKeyAndDigest) {
    const Bytes k1 = bytes_of("first key"), k2 = bytes_of("second key"), msg = bytes_of("message");
    HMAC_UNIT *u = new_HMAC_UNIT();
    ASSERT_EQ(init_HMAC(u, KRY_SHA1, k1.data(), 9), 0u);
    EXPECT_EQ(unit_mac(u, msg), oracle::openssl_hmac("SHA1", k1, msg));
    ASSERT_EQ(init_HMAC(u, KRY_SHA512, k2.data(), 10), 0u);
    EXPECT_EQ(unit_mac(u, msg), oracle::openssl_hmac("SHA512", k2, msg));
    EXPECT_EQ(u->hmac_id, 0x15000500u);
    free_HMAC_UNIT(u);
}

TEST_F(Hmac, KeyOfBlockLengthIsUsedAsItIsLongerIsHashed) {
    TestRng rng(198);
    for (const auto &a : all_algs()) {
        SCOPED_TRACE(a.name);
        const Bytes msg = rng.bytes(77);
        // Exactly B bytes: the key itself.
        const Bytes kb = rng.bytes(a.block);
        HMAC_UNIT *u = new_HMAC_UNIT();
        ASSERT_EQ(init_HMAC(u, a.id, kb.data(), a.block), 0u);
        EXPECT_EQ(u->key_length, a.block);
        EXPECT_EQ(to_hex(u->key_block, a.block), to_hex(kb));
        const Bytes tag_b = unit_mac(u, msg);

        // B + 1 bytes: its digest.
        const Bytes kb1 = rng.bytes(a.block + 1);
        ASSERT_EQ(init_HMAC(u, a.id, kb1.data(), a.block + 1), 0u);
        const Bytes hk = kry_digest(a.id, kb1);
        EXPECT_EQ(u->key_length, a.length);
        EXPECT_EQ(to_hex(u->key_block, a.length), to_hex(hk));
        const Bytes tag_b1 = unit_mac(u, msg);
        free_HMAC_UNIT(u);

        if (a.openssl) {
            EXPECT_EQ(to_hex(tag_b), to_hex(oracle::openssl_hmac(a.name, kb, msg)));
            EXPECT_EQ(to_hex(tag_b1), to_hex(oracle::openssl_hmac(a.name, kb1, msg)));
            // The hashed key is equivalent to giving its digest as the key.
            EXPECT_EQ(to_hex(tag_b1), to_hex(one_shot(a.id, hk, msg)));
        }
    }
}

TEST_F(Hmac, EmptyKeyWithANonNullPointerIsAccepted) {
    const uint8_t k = 0xAA;
    const Bytes msg = bytes_of("abc");
    for (const auto &a : all_algs()) {
        if (!a.openssl) continue;
        uint8_t out[64];
        uint32_t len = 0;
        ASSERT_EQ(HMac(a.id, &k, 0, msg.data(), 3, out, &len), 0u);
        EXPECT_EQ(to_hex(out, len), to_hex(oracle::openssl_hmac(a.name, {}, msg))) << a.name;
    }
}

TEST_F(Hmac, FinalAfterFinalHashesFromTheStateTheFirstFinalLeft) {
    TestRng rng(3);
    for (const auto &a : all_algs()) {
        if (!a.openssl) continue;
        SCOPED_TRACE(a.name);
        const Bytes key = rng.bytes(20), msg = rng.bytes(50);
        HMAC_UNIT *u = new_HMAC_UNIT();
        ASSERT_EQ(init_HMAC(u, a.id, key.data(), 20), 0u);

        // A final straight after init is the MAC of the empty message.
        uint8_t out[64];
        uint32_t len = 0;
        ASSERT_EQ(final_HMAC(u, out, &len), 0u);
        EXPECT_EQ(to_hex(out, len), to_hex(oracle::openssl_hmac(a.name, key, {})));

        const Bytes first = unit_mac(u, msg);
        EXPECT_EQ(to_hex(first), to_hex(oracle::openssl_hmac(a.name, key, msg)));

        // The first final left the inner hash freshly initialised, so the
        // second one computes H((K0 ^ opad) || H("")), without the ipad block.
        Bytes opad(a.block, 0x5C);
        for (size_t i = 0; i < key.size(); i++) opad[i] ^= key[i];
        const Bytes empty_hash = oracle::openssl_digest(a.name, nullptr, 0);
        const Bytes outer_in = concat(opad, empty_hash);
        const Bytes expected = oracle::openssl_digest(a.name, outer_in.data(), outer_in.size());
        ASSERT_EQ(final_HMAC(u, out, &len), 0u);
        EXPECT_EQ(to_hex(out, len), to_hex(expected));
        EXPECT_NE(to_hex(out, len), to_hex(oracle::openssl_hmac(a.name, key, {})));
        ASSERT_EQ(final_HMAC(u, out, &len), 0u);  // and again the same
        EXPECT_EQ(to_hex(out, len), to_hex(expected));

        // The next update reloads the inner snapshot.
        EXPECT_EQ(to_hex(unit_mac(u, msg)), to_hex(first));
        free_HMAC_UNIT(u);
    }
}

TEST_F(Hmac, DifferentialAgainstOpenSsl) {
    TestRng rng(0x484D4143);
    for (const auto &a : all_algs()) {
        if (!a.openssl) continue;
        SCOPED_TRACE(a.name);
        HMAC_UNIT *reused = new_HMAC_UNIT();
        for (int i = 0; i < 120; i++) {
            const Bytes key = rng.bytes(rng.below(201));
            const Bytes msg = rng.bytes(rng.below(i % 10 == 0 ? 3000 : 400));
            const auto cuts = random_cuts(rng, msg.size());
            const std::string want = to_hex(oracle::openssl_hmac(a.name, key, msg));
            ASSERT_EQ(want.size(), 2 * a.length);
            EXPECT_EQ(to_hex(one_shot(a.id, key, msg)), want) << "key " << key.size() << " msg " << msg.size();
            EXPECT_EQ(to_hex(fresh_unit_mac(a.id, key, msg, cuts)), want);
            ASSERT_EQ(init_HMAC(reused, a.id, ptr(key), static_cast<uint32_t>(key.size())), 0u);
            EXPECT_EQ(to_hex(unit_mac(reused, msg, cuts)), want);
            // A second message under the same key, without re-keying.
            const Bytes msg2 = rng.bytes(rng.below(200));
            EXPECT_EQ(to_hex(unit_mac(reused, msg2, random_cuts(rng, msg2.size()))),
                      to_hex(oracle::openssl_hmac(a.name, key, msg2)));
        }
        free_HMAC_UNIT(reused);
    }
}

TEST_F(Hmac, Has160AgainstRfc2104OverItsDigest) {
    auto kry_has160 = [](const Bytes &d) { return kry_digest(KRY_HAS160, d); };
    auto rhash_has160 = [](const Bytes &d) { return oracle::rhash_has160(ptr(d), d.size()); };
    TestRng rng(160);
    for (int i = 0; i < 150; i++) {
        const Bytes key = rng.bytes(rng.below(201));
        const Bytes msg = rng.bytes(rng.below(500));
        const std::string want = to_hex(rfc2104(kry_has160, 64, key, msg));
        ASSERT_EQ(want, to_hex(rfc2104(rhash_has160, 64, key, msg)));
        EXPECT_EQ(to_hex(one_shot(KRY_HAS160, key, msg)), want) << "key " << key.size() << " msg " << msg.size();
        EXPECT_EQ(to_hex(fresh_unit_mac(KRY_HAS160, key, msg, random_cuts(rng, msg.size()))), want);
    }
}

TEST_F(Hmac, Mdc2HasAnEightByteBlock) {
    // MDC-2's block is 8 bytes; a longer key is hashed to 16 bytes, of which
    // the pads use the first 8.
    auto mdc2 = [](const Bytes &d) { return kry_digest(KRY_MDC2, d); };
    TestRng rng(10118);
    for (uint32_t klen : {0u, 1u, 7u, 8u, 9u, 16u, 40u}) {
        const Bytes key = rng.bytes(klen), msg = rng.bytes(rng.below(100));
        Bytes k0 = key;
        if (key.size() > 8) {
            k0 = mdc2(key);
            k0.resize(8);
        }
        EXPECT_EQ(to_hex(one_shot(KRY_MDC2, key, msg)), to_hex(rfc2104(mdc2, 8, k0, msg))) << klen;
    }
    HMAC_UNIT *u = new_HMAC_UNIT();
    const Bytes key = rng.bytes(9);
    ASSERT_EQ(init_HMAC(u, KRY_MDC2, key.data(), 9), 0u);
    EXPECT_EQ(u->key_length, 16u);  // the whole digest is kept in the key block
    EXPECT_EQ(to_hex(u->key_block, 16), to_hex(mdc2(key)));
    free_HMAC_UNIT(u);
}

TEST_F(Hmac, Names) {
    for (const auto &a : all_algs()) {
        char *name = getHMAC_name(a.id | 0x10000000);
        ASSERT_NE(name, nullptr) << a.name;
        EXPECT_EQ(std::string(name), std::string("HMAC_") + a.name);
        lum_free(name, __FILE__, __LINE__);
    }
    char *sha1 = getHMAC_name(0x15000100);
    ASSERT_NE(sha1, nullptr);
    EXPECT_STREQ(sha1, "HMAC_SHA1");
    lum_free(sha1, __FILE__, __LINE__);
    EXPECT_EQ(getHMAC_name(0x05000100), nullptr);  // bit 28 clear
    EXPECT_EQ(getHMAC_name(0), nullptr);
    EXPECT_EQ(getHMAC_name(0x10000000), nullptr);  // no such digest
    EXPECT_EQ(getHMAC_name(0x15000600), nullptr);
    EXPECT_EQ(getHMAC_name(0x15000301), nullptr);
}

TEST_F(Hmac, ProvenUnitRefusesMdc2) {
    const uint8_t key[8] = {1, 2, 3, 4, 5, 6, 7, 8};
    HMAC_UNIT *u = new_HMAC_UNIT_EX(1);
    EXPECT_EQ(init_HMAC(u, KRY_MDC2, key, 8), 0x0A040004u);
    EXPECT_EQ(u->hmac_id, 0x18000100u);
    EXPECT_EQ(u->bound, 0xFFFFFFFFu);
    uint8_t out[16];
    EXPECT_EQ(update_HMAC(u, key, 8), 0x0B020600u);
    EXPECT_EQ(final_HMAC(u, out, nullptr), 0x0B030600u);
    // The other digests, MD5 and SHA-224 included, are fine in such a unit.
    HMAC_UNIT *v = new_HMAC_UNIT_EX(1);
    EXPECT_EQ(init_HMAC(v, KRY_MD5, key, 8), 0u);
    free_HMAC_UNIT(v);
    v = new_HMAC_UNIT_EX(1);
    EXPECT_EQ(init_HMAC(v, KRY_SHA224, key, 8), 0u);
    free_HMAC_UNIT(v);
    // A bound unit is cleaned by the next init, proven flag included: from
    // then on it behaves as an ordinary unit.
    EXPECT_EQ(init_HMAC(u, KRY_MDC2, key, 8), 0u);
    EXPECT_EQ(u->proven, 0);
    free_HMAC_UNIT(u);
    // A unit from new_HMAC_UNIT accepts MDC-2 outside proven mode.
    u = new_HMAC_UNIT();
    EXPECT_EQ(init_HMAC(u, KRY_MDC2, key, 8), 0u);
    free_HMAC_UNIT(u);
}

TEST_F(Hmac, ErrorWords) {
    const uint8_t key[4] = {1, 2, 3, 4};
    uint8_t out[64];
    uint32_t len = 77;

    HMAC_UNIT *u = new_HMAC_UNIT();
    EXPECT_EQ(init_HMAC(u, KRY_SHA1, nullptr, 4), 0x0B010006u);
    EXPECT_TRUE(all_zero(*u));  // refused before the unit is touched
    EXPECT_EQ(init_HMAC(nullptr, KRY_SHA1, key, 4), 0x0B010006u);
    EXPECT_EQ(init_HMAC(u, 0x05000600, key, 4), 0x0A040004u);  // unknown digest
    EXPECT_EQ(init_HMAC(u, 0x15000100, key, 4), 0x0A040004u);  // an HMAC identifier is not a digest
    EXPECT_EQ(update_HMAC(u, key, 4), 0x0B020600u);
    EXPECT_EQ(final_HMAC(u, out, &len), 0x0B030600u);
    EXPECT_EQ(len, 77u);
    free_HMAC_UNIT(u);

    // No null check on the unit in update and final: they fail cleanly.
    EXPECT_EQ(update_HMAC(nullptr, key, 4), 0x0B020600u);
    EXPECT_EQ(final_HMAC(nullptr, out, &len), 0x0B030600u);

    // Never initialised.
    u = new_HMAC_UNIT();
    EXPECT_EQ(update_HMAC(u, key, 4), 0x0B020600u);
    EXPECT_EQ(final_HMAC(u, out, &len), 0x0B030600u);
    u->phase = 3;
    EXPECT_EQ(update_HMAC(u, key, 4), 0x0B020600u);

    // Bound: null data, null output.
    ASSERT_EQ(init_HMAC(u, KRY_SHA1, key, 4), 0u);
    EXPECT_EQ(update_HMAC(u, nullptr, 4), 0x0B020600u);
    EXPECT_EQ(final_HMAC(u, nullptr, &len), 0x0B030600u);
    ASSERT_EQ(final_HMAC(u, out, &len), 0u);  // still the empty message's MAC
    EXPECT_EQ(to_hex(out, len), to_hex(oracle::openssl_hmac("SHA1", Bytes(key, key + 4), {})));
    free_HMAC_UNIT(u);

    // One-shot.
    EXPECT_EQ(HMac(KRY_SHA1, nullptr, 4, key, 4, out, &len), 0x0B010006u);
    EXPECT_EQ(HMac(0x05000600, key, 4, key, 4, out, &len), 0x0A040004u);
    EXPECT_EQ(HMac(KRY_SHA1, key, 4, nullptr, 4, out, &len), 0x0B020600u);
    EXPECT_EQ(HMac(KRY_SHA1, key, 4, key, 4, nullptr, &len), 0x0B030600u);
}

TEST_F(Hmac, StateAfterFinalIsAFreshlyInitialisedRecord) {
    // final_HMAC leaves the digest state as the algorithm's init makes it,
    // for every digest and for messages around the block length.
    TestRng rng(198);
    for (const auto &a : all_algs()) {
        SCOPED_TRACE(a.name);
        DIGEST_UNIT *fresh = new_DIGEST_UNIT();
        ASSERT_EQ(init_Digest(fresh, a.id), 0u);
        const Bytes key = rng.bytes(32);
        HMAC_UNIT *u = new_HMAC_UNIT();
        ASSERT_EQ(init_HMAC(u, a.id, key.data(), 32), 0u);
        ASSERT_EQ(u->state_size, fresh->state_size);
        for (size_t len : {size_t{0}, size_t{1}, size_t{a.block - 1}, size_t{a.block}, size_t{a.block + 1},
                           size_t{3 * a.block + 5}}) {
            const Bytes msg = rng.bytes(len);
            const Bytes mac = unit_mac(u, msg);
            if (a.openssl) {
                EXPECT_EQ(to_hex(mac), to_hex(oracle::openssl_hmac(a.name, key, msg))) << len;
            }
            EXPECT_EQ(std::memcmp(u->digest->state, fresh->state, u->state_size), 0) << len;
            EXPECT_EQ(u->phase, 3u);
        }
        free_HMAC_UNIT(u);
        free_DIGEST_UNIT(fresh);
    }
}

TEST_F(Hmac, NextMessageStartsFromAnExactCopyOfTheInnerSnapshot) {
    // update_HMAC after a final reloads the inner snapshot: the record it
    // leaves is, byte for byte, the snapshot with the message's bytes hashed
    // in, with the SHA extensions and with the portable block function.
    TestRng rng(4231);
    for (bool hw : {true, false}) {
        kry::x86::use_sha_extensions(hw);
        for (uint32_t id : {uint32_t{KRY_SHA256}, uint32_t{KRY_SHA224}}) {
            SCOPED_TRACE(std::to_string(id) + (hw ? " hw" : " portable"));
            const Bytes key = rng.bytes(40);
            HMAC_UNIT *u = new_HMAC_UNIT();
            ASSERT_EQ(init_HMAC(u, id, key.data(), 40), 0u);
            ASSERT_EQ(u->state_size, sizeof(SHA256_STATE));
            const char *name = id == KRY_SHA256 ? "SHA256" : "SHA224";
            for (size_t len : {size_t{0}, size_t{1}, size_t{31}, size_t{32}, size_t{55}, size_t{56}, size_t{63},
                               size_t{64}, size_t{65}, size_t{100}, size_t{128}, size_t{200}}) {
                const Bytes msg = rng.bytes(len);
                EXPECT_EQ(to_hex(unit_mac(u, msg)), to_hex(oracle::openssl_hmac(name, key, msg))) << len;
                ASSERT_EQ(update_HMAC(u, ptr(msg), static_cast<uint32_t>(len)), 0u);
                SHA256_STATE want;
                std::memcpy(&want, u->inner, sizeof want);
                ASSERT_EQ(update_SHA256(&want, ptr(msg), static_cast<uint32_t>(len)), 0u);
                EXPECT_EQ(std::memcmp(u->digest->state, &want, sizeof want), 0) << len;
                Bytes out(64);
                uint32_t n = 0;
                ASSERT_EQ(final_HMAC(u, out.data(), &n), 0u);
                out.resize(n);
                EXPECT_EQ(to_hex(out), to_hex(oracle::openssl_hmac(name, key, msg))) << len;
            }
            free_HMAC_UNIT(u);
        }
    }
    kry::x86::use_sha_extensions(true);
}
