// The comparison helpers of foundation/ct.h, and the padding and encoding
// checks that use them: every single-byte corruption of a valid block gives
// the same result (error word, length, output) as the straightforward
// early-exit check written out here as the reference.
#include <gtest/gtest.h>

#include <kry/blockcipher.h>
#include <kry/bigint.h>
#include <kry/digest.h>
#include <kry/dsa.h>
#include <kry/error.h>
#include <kry/kcdsa.h>
#include <kry/rsa.h>

#include "foundation/ct.h"
#include "pubkey/dsa_internal.h"
#include "pubkey/rsa_padding.h"

#include "test_support.h"

#include <algorithm>
#include <cstring>
#include <vector>

using kry_test::Bytes;

namespace {

// ---- the helpers ----

TEST(CtHelpers, Masks) {
    const uint32_t values[] = {0u, 1u, 2u, 7u, 8u, 0x7Fu, 0x80u, 0xFFu, 0x100u, 0x7FFFFFFFu, 0x80000000u,
                               0x80000001u, 0xFFFFFFFEu, 0xFFFFFFFFu};
    for (uint32_t a : values) {
        EXPECT_EQ(kry::ct_is_zero(a), a == 0 ? 0xFFFFFFFFu : 0u) << a;
        EXPECT_EQ(kry::ct_is_nonzero(a), a != 0 ? 0xFFFFFFFFu : 0u) << a;
        for (uint32_t b : values) {
            EXPECT_EQ(kry::ct_eq(a, b), a == b ? 0xFFFFFFFFu : 0u) << a << " " << b;
            EXPECT_EQ(kry::ct_lt(a, b), a < b ? 0xFFFFFFFFu : 0u) << a << " " << b;
            EXPECT_EQ(kry::ct_select(0xFFFFFFFFu, a, b), a);
            EXPECT_EQ(kry::ct_select(0u, a, b), b);
        }
    }
    for (uint32_t a = 0; a < 300; ++a)
        for (uint32_t b = 0; b < 300; ++b)
            ASSERT_EQ(kry::ct_lt(a, b), a < b ? 0xFFFFFFFFu : 0u) << a << " " << b;
}

TEST(CtHelpers, EqualEveryPositionAndLength) {
    for (size_t n = 0; n <= 70; ++n) {
        Bytes a(n), b(n);
        for (size_t i = 0; i < n; ++i)
            a[i] = b[i] = static_cast<uint8_t>(i * 37 + n);
        EXPECT_EQ(kry::ct_equal(a.data(), b.data(), n), 1) << n;
        for (size_t i = 0; i < n; ++i)
            for (uint8_t x : {0x01, 0x80, 0xFF}) {
                Bytes c = b;
                c[i] ^= x;
                ASSERT_EQ(kry::ct_equal(a.data(), c.data(), n), 0) << n << " " << i;
                ASSERT_EQ(kry::ct_equal(c.data(), a.data(), n), 0) << n << " " << i;
            }
    }
    const uint8_t z = 0;
    EXPECT_EQ(kry::ct_equal(&z, &z, 0), 1);
}

// ---- PKCS #7 padding (final_Decryption) ----

// Deciphers one chosen plaintext block through AES-ECB with padding.
struct Pkcs7Result {
    uint32_t rc;
    Bytes out;
};

Pkcs7Result decrypt_block(const Bytes &key, const Bytes &plain) {
    Bytes ct(32);
    uint32_t n = 0;
    EXPECT_EQ(BlockCipher(KRY_AES_128 | KRY_MODE_ECB | KRY_NO_PADDING, KRY_ENCRYPT, key.data(), nullptr,
                          plain.data(), 16, ct.data(), &n),
              0u);
    BLOCK_CIPHER_UNIT *unit = new_BLOCK_CIPHER_UNIT();
    EXPECT_EQ(init_BlockCipher(unit, KRY_AES_128 | KRY_MODE_ECB, key.data(), nullptr, KRY_DECRYPT), 0u);
    Bytes out(32, 0xEE);
    uint32_t n1 = 0, n2 = 0;
    EXPECT_EQ(update_BlockCipher(unit, out.data(), &n1, ct.data(), 16), 0u);
    EXPECT_EQ(n1, 0u);
    const uint32_t rc = final_BlockCipher(unit, out.data(), &n2);
    free_BLOCK_CIPHER_UNIT(unit);
    out.resize(rc == 0 ? n2 : 0);
    return {rc, out};
}

// The early-exit PKCS #7 check: the error word is the one the unit returns
// for a bad pad (taken from a block ending in 0).
Pkcs7Result pkcs7_reference(const Bytes &plain, uint32_t bad_word) {
    const uint32_t B = 16;
    const uint8_t p = plain[B - 1];
    if (p == 0 || p > B)
        return {bad_word, {}};
    for (uint32_t i = B - p; i < B; i++)
        if (plain[i] != p)
            return {bad_word, {}};
    return {0, Bytes(plain.begin(), plain.begin() + (B - p))};
}

class CtPaths : public ::testing::Test {
protected:
    static void SetUpTestSuite() { ChangeNonProvenMode(); }
};

TEST_F(CtPaths, Pkcs7EveryCorruption) {
    const Bytes key = kry_test::from_hex("000102030405060708090a0b0c0d0e0f");
    Bytes zero_end(16, 0x41);
    zero_end[15] = 0;
    const uint32_t bad_word = decrypt_block(key, zero_end).rc;
    ASSERT_NE(bad_word, 0u);
    int cases = 0, accepted = 0;
    for (uint32_t pad = 0; pad <= 256; ++pad) {
        Bytes plain(16);
        for (uint32_t i = 0; i < 16; ++i)
            plain[i] = static_cast<uint8_t>(0x30 + i);
        const uint8_t p = static_cast<uint8_t>(pad & 0xFF);
        for (uint32_t i = pad >= 1 && pad <= 16 ? 16 - pad : 15; i < 16; ++i)
            plain[i] = p;
        for (int pos = -1; pos < 16; ++pos) {
            for (uint8_t x : {0x01, 0x10, 0xFF}) {
                Bytes c = plain;
                if (pos >= 0)
                    c[static_cast<size_t>(pos)] ^= x;
                const Pkcs7Result got = decrypt_block(key, c);
                const Pkcs7Result want = pkcs7_reference(c, bad_word);
                ASSERT_EQ(got.rc, want.rc) << "pad " << pad << " pos " << pos;
                ASSERT_EQ(got.out, want.out) << "pad " << pad << " pos " << pos;
                ++cases;
                accepted += got.rc == 0;
                if (pos < 0)
                    break;
            }
        }
    }
    std::printf("PKCS #7: %d blocks, %d accepted\n", cases, accepted);
    EXPECT_GT(accepted, 16);
}

// ---- EMSA-PKCS1-v1_5 check ----

TEST_F(CtPaths, EmsaPkcs1EveryCorruption) {
    for (uint32_t digest : {KRY_SHA1, KRY_SHA256, KRY_SHA512}) {
        const uint32_t k = 128, h = get_DigestLength(digest);
        Bytes hash(h);
        for (uint32_t i = 0; i < h; ++i)
            hash[i] = static_cast<uint8_t>(i * 3 + 1);
        Bytes em(k);
        ASSERT_EQ(add_EMSA_PKCS1_v1_5_ENCODE(em.data(), k, hash.data(), h, digest), 0u);
        const Bytes received(em.begin() + 1, em.end());  // without the leading zero byte
        ASSERT_EQ(check_EMSA_PKCS1_v1_5_ENCODE(received.data(), static_cast<int32_t>(k - 1), k, hash.data(), h,
                                               digest),
                  0u);
        for (size_t pos = 0; pos < received.size(); ++pos)
            for (uint8_t x : {0x01, 0x80, 0xFF}) {
                Bytes c = received;
                c[pos] ^= x;
                ASSERT_EQ(check_EMSA_PKCS1_v1_5_ENCODE(c.data(), static_cast<int32_t>(c.size()), k, hash.data(), h,
                                                       digest),
                          0x10201900u)
                    << pos;
            }
        // Shorter received values compare a prefix (the library's behaviour).
        for (int32_t len = 1; len < 8; ++len)
            ASSERT_EQ(check_EMSA_PKCS1_v1_5_ENCODE(received.data(), len, k, hash.data(), h, digest), 0u);
        ASSERT_EQ(check_EMSA_PKCS1_v1_5_ENCODE(em.data(), static_cast<int32_t>(k), k, hash.data(), h, digest),
                  0x10201900u);
    }
}

// ---- shared: a bare RSA record with a modulus of a given length ----

class Record {
public:
    Record(uint32_t bits, uint32_t digest_id) {
        std::memset(&rsa_, 0, sizeof rsa_);
        Bytes n((bits + 7) / 8, 0xA5);
        const uint32_t top = bits % 8 == 0 ? 8 : bits % 8;
        n[0] = static_cast<uint8_t>((n[0] & ((1u << top) - 1)) | (1u << (top - 1)));
        n.back() |= 1;
        rsa_.n = binary_to_BIGINT(n.data(), static_cast<int32_t>(n.size()), nullptr);
        rsa_.digest = new_DIGEST_UNIT();
        init_Digest(rsa_.digest, digest_id);
    }
    ~Record() {
        free_BIGINT(rsa_.n);
        free_DIGEST_UNIT(rsa_.digest);
    }
    Record(const Record &) = delete;
    Record &operator=(const Record &) = delete;
    RSA *get() { return &rsa_; }

private:
    RSA rsa_;
};

Bytes mgf1(const Bytes &seed, uint32_t n, DIGEST_UNIT *unit) {
    Bytes out(n);
    EXPECT_EQ(kry::mgf1_RSA(out.data(), n, seed.data(), static_cast<uint32_t>(seed.size()), unit), 0u);
    return out;
}

Bytes digest_of(DIGEST_UNIT *unit, const Bytes &data) {
    Bytes out(get_DigestLength(unit->algorithm_id));
    uint32_t n = 0;
    init_Digest(unit, unit->algorithm_id);
    if (!data.empty())
        update_Digest(unit, data.data(), static_cast<uint32_t>(data.size()));
    final_Digest(unit, out.data(), &n);
    return out;
}

// ---- EMSA-PSS check ----

// The early-exit EMSA-PSS verification (RFC 8017 9.1.2) with the library's
// rules: minimal input, leading zeros allowed, results kFault / 1 / 0.
uint32_t pss_reference(uint32_t bits, Bytes em, const Bytes &hash, int32_t salt_length, DIGEST_UNIT *unit) {
    constexpr uint32_t kFault = 0xFFFFFFFFu;
    const uint32_t em_bits = bits - 1, em_length = (em_bits + 7) / 8;
    if (em.size() < hash.size() + static_cast<size_t>(salt_length > 0 ? salt_length : 0) + 2 || em.back() != 0xBC)
        return kFault;
    while (em.size() > em_length) {
        if (em[0] != 0)
            return kFault;
        em.erase(em.begin());
    }
    em.insert(em.begin(), em_length - em.size(), 0);
    const uint32_t hlen = get_DigestLength(unit->algorithm_id);
    const uint8_t top_mask = em_bits % 8 != 0 ? static_cast<uint8_t>(0xFFu >> (8 - em_bits % 8)) : 0xFF;
    if ((em[0] & static_cast<uint8_t>(~top_mask)) != 0)
        return kFault;
    const uint32_t db_length = em_length - hlen - 1;
    const Bytes H(em.begin() + db_length, em.begin() + db_length + hlen);
    Bytes db(em.begin(), em.begin() + db_length);
    const Bytes mask = mgf1(H, db_length, unit);
    for (uint32_t i = 0; i < db_length; ++i)
        db[i] ^= mask[i];
    db[0] &= top_mask;
    uint32_t i = 0;
    while (i < db_length && db[i] == 0)
        ++i;
    if (i >= db_length || db[i] != 0x01)
        return kFault;
    ++i;
    if (salt_length >= 0 && db_length - i != static_cast<uint32_t>(salt_length))
        return kFault;
    Bytes m_prime(8 + hash.size() + (db_length - i), 0);
    std::copy(hash.begin(), hash.end(), m_prime.begin() + 8);
    std::copy(db.begin() + i, db.end(), m_prime.begin() + 8 + static_cast<std::ptrdiff_t>(hash.size()));
    return digest_of(unit, m_prime) == H ? 0 : 1;
}

TEST_F(CtPaths, PssEveryCorruption) {
    int cases = 0, results[3] = {0, 0, 0};
    for (uint32_t bits : {1024u, 1025u, 1031u}) {
        for (int32_t slen : {0, 20}) {
            Record rec(bits, KRY_SHA1);
            const uint32_t k = (bits + 7) / 8;
            Bytes hash(20), salt(static_cast<size_t>(slen));
            for (size_t i = 0; i < hash.size(); ++i)
                hash[i] = static_cast<uint8_t>(0x11 * i + 5);
            for (size_t i = 0; i < salt.size(); ++i)
                salt[i] = static_cast<uint8_t>(0x5A ^ i);
            Bytes em(k, 0);
            ASSERT_EQ(kry::pss_encode_with_salt(rec.get(), em.data(), k, hash.data(), 20, slen, rec.get()->digest,
                                                salt.empty() ? nullptr : salt.data()),
                      0u);
            for (int pos = -1; pos < static_cast<int>(k); ++pos)
                for (uint8_t x : {0x01, 0x02, 0x80, 0xFF}) {
                    Bytes c = em;
                    if (pos >= 0)
                        c[static_cast<size_t>(pos)] ^= x;
                    for (int32_t expect_salt : {slen, -1}) {
                        const uint32_t got = check_RSASSA_PKCS1_PSS_ENCODE(
                            rec.get(), c.data(), k, hash.data(), 20, expect_salt, rec.get()->digest);
                        const uint32_t want = pss_reference(bits, c, hash, expect_salt, rec.get()->digest);
                        ASSERT_EQ(got, want) << bits << " salt " << slen << " pos " << pos << " x " << int(x);
                        ++cases;
                        ++results[got == 0 ? 0 : got == 1 ? 1 : 2];
                    }
                }
        }
    }
    std::printf("EMSA-PSS: %d checks: %d valid, %d hash mismatch, %d malformed\n", cases, results[0], results[1],
                results[2]);
    EXPECT_GT(results[0], 0);
    EXPECT_GT(results[1], 0);
    EXPECT_GT(results[2], 0);
}

// ---- EME-OAEP decoding ----

// The early-exit EME-OAEP decoding with the library's rules (v2.0 block of
// k - 1 bytes, v2.1 block of k bytes whose leading byte is not checked).
// Returns the message length (0 for failure) and the message.
uint32_t oaep_reference(uint32_t k, const Bytes &em_in, bool v20, uint32_t capacity, DIGEST_UNIT *unit, Bytes &out) {
    const uint32_t L = v20 ? k - 1 : k, h = get_DigestLength(unit->algorithm_id);
    if (em_in.size() > L)
        return 0;
    Bytes block(L - em_in.size(), 0);
    block.insert(block.end(), em_in.begin(), em_in.end());
    const uint32_t offset = v20 ? 0 : 1;
    Bytes seed(block.begin() + offset, block.begin() + offset + h);
    Bytes db(block.begin() + offset + h, block.end());
    const Bytes seed_mask = mgf1(db, h, unit);
    for (uint32_t i = 0; i < h; ++i)
        seed[i] ^= seed_mask[i];
    const Bytes db_mask = mgf1(seed, static_cast<uint32_t>(db.size()), unit);
    for (size_t i = 0; i < db.size(); ++i)
        db[i] ^= db_mask[i];
    const Bytes lhash = digest_of(unit, {});
    for (uint32_t i = 0; i < h; ++i)
        if (db[i] != lhash[i])
            return 0;
    size_t i = h;
    while (i < db.size() && db[i] == 0)
        ++i;
    if (i >= db.size() || db[i] != 0x01)
        return 0;
    ++i;
    const uint32_t m_length = static_cast<uint32_t>(db.size() - i);
    if (m_length > capacity)
        return 0;
    out.assign(db.begin() + static_cast<std::ptrdiff_t>(i), db.end());
    return m_length;
}

// Masks a chosen DB with a fixed seed: the corruption lands exactly where it
// is put in the decoded block.
Bytes oaep_mask(const Bytes &db, const Bytes &seed_in, bool v20, DIGEST_UNIT *unit) {
    Bytes masked_db = db;
    const Bytes db_mask = mgf1(seed_in, static_cast<uint32_t>(db.size()), unit);
    for (size_t i = 0; i < db.size(); ++i)
        masked_db[i] ^= db_mask[i];
    Bytes seed = seed_in;
    const Bytes seed_mask = mgf1(masked_db, static_cast<uint32_t>(seed.size()), unit);
    for (size_t i = 0; i < seed.size(); ++i)
        seed[i] ^= seed_mask[i];
    Bytes em;
    if (!v20)
        em.push_back(0);
    em.insert(em.end(), seed.begin(), seed.end());
    em.insert(em.end(), masked_db.begin(), masked_db.end());
    return em;
}

TEST_F(CtPaths, OaepEveryCorruption) {
    int cases = 0, decoded = 0;
    for (uint32_t digest : {KRY_SHA1, KRY_SHA256}) {
        for (bool v20 : {true, false}) {
            Record rec(1024, digest);
            DIGEST_UNIT *unit = rec.get()->digest;
            const uint32_t k = 128, h = get_DigestLength(digest);
            const uint32_t L = v20 ? k - 1 : k;
            const uint32_t db_length = L - (v20 ? 0 : 1) - h;
            for (uint32_t m_length : {0u, 1u, 16u, db_length - h - 1}) {
                Bytes db = digest_of(unit, {});
                db.resize(db_length - m_length - 1, 0);
                db.push_back(0x01);
                for (uint32_t i = 0; i < m_length; ++i)
                    db.push_back(static_cast<uint8_t>(0xC0 + i));
                Bytes seed(h);
                for (uint32_t i = 0; i < h; ++i)
                    seed[i] = static_cast<uint8_t>(i * 7);
                for (int pos = -1; pos < static_cast<int>(db_length); ++pos)
                    for (uint8_t x : {0x01, 0xFF}) {
                        Bytes d = db;
                        if (pos >= 0)
                            d[static_cast<size_t>(pos)] ^= x;
                        const Bytes em = oaep_mask(d, seed, v20, unit);
                        for (uint32_t capacity : {128u, m_length > 0 ? m_length - 1 : 0u}) {
                            Bytes out(128, 0), want_out;
                            const uint32_t got =
                                decode_RSAES_OAEP_PADDING(rec.get(), em.data(), static_cast<uint32_t>(em.size()),
                                                          out.data(), capacity, nullptr, 0, v20 ? 0 : 1);
                            const uint32_t want = oaep_reference(k, em, v20, capacity, unit, want_out);
                            ASSERT_EQ(got, want) << "pos " << pos << " m " << m_length;
                            out.resize(got);
                            if (want != 0) {
                                ASSERT_EQ(out, want_out);
                            }
                            ++cases;
                            decoded += got != 0;
                        }
                    }
            }
        }
    }
    std::printf("EME-OAEP: %d decodings, %d non-empty results\n", cases, decoded);
    EXPECT_GT(decoded, 0);
}

// ---- RSAES-PKCS1-v1_5 decoding ----

uint32_t pkcs1_reference(const Bytes &em, uint32_t capacity, Bytes &out) {
    const uint32_t length = static_cast<uint32_t>(em.size());
    if (length < 1 || (em[0] != 0x01 && em[0] != 0x02))
        return 0;
    uint32_t i = 1;
    while (i < length && em[i] != 0)
        ++i;
    if (i >= length || i - 1 < 8)
        return 0;
    const uint32_t m_length = length - i - 1;
    if (m_length > capacity)
        return 0;
    out.assign(em.begin() + i + 1, em.end());
    return m_length;
}

TEST_F(CtPaths, Pkcs1DecodeEveryCorruption) {
    int cases = 0, decoded = 0;
    for (uint8_t type : {0x01, 0x02}) {
        for (uint32_t m_length : {0u, 1u, 20u, 116u}) {
            // The block without its leading zero byte: type, PS, 00, M (k - 1 = 127 bytes).
            Bytes em{type};
            const uint32_t ps = 127 - 2 - m_length;
            for (uint32_t i = 0; i < ps; ++i)
                em.push_back(type == 0x01 ? 0xFF : static_cast<uint8_t>(1 + (i * 29) % 255));
            em.push_back(0);
            for (uint32_t i = 0; i < m_length; ++i)
                em.push_back(static_cast<uint8_t>(i));
            for (int pos = -1; pos < static_cast<int>(em.size()); ++pos)
                for (int v = 0; v < 4; ++v) {
                    Bytes c = em;
                    if (pos >= 0) {
                        uint8_t &b = c[static_cast<size_t>(pos)];
                        b = v == 0 ? 0x00 : v == 1 ? 0x01 : v == 2 ? 0x02 : static_cast<uint8_t>(b ^ 0xFF);
                    }
                    for (uint32_t capacity : {128u, m_length > 0 ? m_length - 1 : 0u}) {
                        Bytes out(128, 0), want_out;
                        const uint32_t got = decode_RSAES_PKCS1_PADDING(nullptr, c.data(),
                                                                        static_cast<uint32_t>(c.size()), out.data(),
                                                                        capacity);
                        const uint32_t want = pkcs1_reference(c, capacity, want_out);
                        ASSERT_EQ(got, want) << "pos " << pos << " v " << v;
                        out.resize(got);
                        if (want != 0) {
                            ASSERT_EQ(out, want_out);
                        }
                        ++cases;
                        decoded += got != 0;
                    }
                    if (pos < 0)
                        break;
                }
        }
    }
    std::printf("RSAES-PKCS1-v1_5: %d decodings, %d non-empty results\n", cases, decoded);
    EXPECT_GT(decoded, 0);
}

// ---- DSA and KCDSA: the comparison of the recomputed value with r ----

BIGINT *big_hex(const std::string &hex) {
    const Bytes b = kry_test::from_hex(hex);
    return binary_to_BIGINT(b.data(), static_cast<int32_t>(b.size()), nullptr);
}

// FIPS 186-2 appendix 5 example: every corruption of r or s is a clean
// mismatch (call succeeds, match 0); the example itself matches.
TEST_F(CtPaths, DsaEveryCorruption) {
    const auto blocks = kry_test::read_vectors("dsa.txt");
    ASSERT_FALSE(blocks.empty());
    const auto &v = blocks[0];
    const Bytes msg = kry_test::from_hex(v.at("MSG"));
    const Bytes r = kry_test::from_hex(v.at("R")), s = kry_test::from_hex(v.at("S"));
    BIGINT *p = big_hex(v.at("P")), *q = big_hex(v.at("Q")), *g = big_hex(v.at("G")), *y = big_hex(v.at("Y"));
    DSA *unit = new_DSA();
    ASSERT_EQ(set_DSA_params(unit, p, q, g, y, nullptr), 0u);
    for (BIGINT *b : {p, q, g, y})
        free_BIGINT(b);
    auto verify = [&](const Bytes &rr, const Bytes &ss, int &match) {
        EXPECT_EQ(init_DSA(unit, KRY_SHA1, KRY_DSA_VERIFY, nullptr, 0), 0u);
        EXPECT_EQ(update_DSA(unit, msg.data(), static_cast<uint32_t>(msg.size())), 0u);
        match = 0;
        return kry::dsa_verify_result(unit, rr.data(), static_cast<uint32_t>(rr.size()), ss.data(),
                                      static_cast<uint32_t>(ss.size()), &match);
    };
    int match = 0;
    ASSERT_EQ(verify(r, s, match), 0u);
    ASSERT_EQ(match, 1);
    int cases = 0;
    for (int which = 0; which < 2; ++which)
        for (size_t pos = 0; pos < 20; ++pos)
            for (uint8_t x : {0x01, 0x80, 0xFF}) {
                Bytes rr = r, ss = s;
                (which == 0 ? rr : ss)[pos] ^= x;
                ASSERT_EQ(verify(rr, ss, match), 0u) << which << " " << pos;
                ASSERT_EQ(match, 0) << which << " " << pos;
                ++cases;
            }
    free_DSA(unit);
    std::printf("DSA: %d corrupted signatures, all mismatches\n", cases);
}

// The KCDSA example of kcdsa.txt: every corruption of r gives the
// invalid-signature word 0x0F050600.
TEST_F(CtPaths, KcdsaEveryCorruption) {
    const auto blocks = kry_test::read_vectors("kcdsa.txt");
    ASSERT_FALSE(blocks.empty());
    const auto &v = blocks[0];
    const Bytes msg = kry_test::from_hex(v.at("MSG"));
    const Bytes r = kry_test::from_hex(v.at("R")), s = kry_test::from_hex(v.at("S"));
    BIGINT *p = big_hex(v.at("P")), *q = big_hex(v.at("Q")), *g = big_hex(v.at("G")), *y = big_hex(v.at("Y"));
    KCDSA *unit = new_KCDSA();
    ASSERT_EQ(set_KCDSA_params(unit, p, q, g, nullptr, y), 0u);
    for (BIGINT *b : {p, q, g, y})
        free_BIGINT(b);
    auto verify = [&](Bytes rr, Bytes ss) {
        EXPECT_EQ(init_KCDSA(unit, 0), 0u);
        EXPECT_EQ(update_KCDSA(unit, msg.data(), static_cast<uint32_t>(msg.size())), 0u);
        uint32_t rl = static_cast<uint32_t>(rr.size()), sl = static_cast<uint32_t>(ss.size());
        return final_KCDSA(unit, rr.data(), &rl, ss.data(), &sl);
    };
    ASSERT_EQ(verify(r, s), 0u);
    int cases = 0;
    for (size_t pos = 0; pos < r.size(); ++pos)
        for (uint8_t x : {0x01, 0x80, 0xFF}) {
            Bytes rr = r;
            rr[pos] ^= x;
            ASSERT_EQ(verify(rr, s), 0x0F050600u) << pos;
            ++cases;
        }
    free_KCDSA(unit);
    std::printf("KCDSA: %d corrupted r values, all 0x0F050600\n", cases);
}

}  // namespace
