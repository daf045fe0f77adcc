// PKCS #1 encodings: EMSA-PKCS1-v1_5, EMSA-PSS, EME-OAEP (v2.0 and v2.1 block
// forms), RSAES-PKCS1-v1_5 and MGF1.
#include <gtest/gtest.h>

#include <algorithm>

#include <kry/bigint.h>
#include <kry/digest.h>
#include <kry/error.h>
#include <kry/rsa.h>

#include "pubkey/rsa_padding.h"
#include "support/oracle.h"
#include "support/oracle_bn.h"
#include "support/test_support.h"

#include <cstring>
#include <fstream>
#include <string>
#include <vector>

using kry_test::Bytes;
using kry_test::from_hex;
using kry_test::to_hex;

namespace {

// A bare RSA record holding a modulus and a digest unit, enough for the encodings.
class Record {
public:
    Record(const Bytes &n, uint32_t digest_id) {
        std::memset(&rsa_, 0, sizeof rsa_);
        rsa_.n = binary_to_BIGINT(n.data(), static_cast<int32_t>(n.size()), nullptr);
        rsa_.digest = new_DIGEST_UNIT();
        init_Digest(rsa_.digest, digest_id);
    }
    ~Record() {
        free_BIGINT(rsa_.n);
        free_DIGEST_UNIT(rsa_.digest);
    }
    RSA *get() { return &rsa_; }

private:
    RSA rsa_;
};

// A modulus of exactly `bits` bits (top bit set, odd); the encodings only read its length.
Bytes modulus_of_bits(uint32_t bits) {
    Bytes n((bits + 7) / 8, 0xA5);
    uint32_t top = bits % 8 == 0 ? 8 : bits % 8;
    n[0] = static_cast<uint8_t>((n[0] & ((1u << top) - 1)) | (1u << (top - 1)));
    n.back() |= 1;
    return n;
}

std::string hex_upper(const Bytes &b) {
    std::string s = to_hex(b);
    for (auto &c : s)
        c = static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
    return s;
}

Bytes left_pad(const Bytes &b, size_t len) {
    Bytes out(len > b.size() ? len - b.size() : 0, 0);
    out.insert(out.end(), b.begin(), b.end());
    return out;
}

// x^e mod n through OpenSSL, as k big-endian bytes.
Bytes public_op(const Bytes &x, const Bytes &e, const Bytes &n) {
    std::string r = oracle::bn::mod_exp(hex_upper(x), hex_upper(e), hex_upper(n));
    if (r.size() % 2)
        r = "0" + r;
    return left_pad(from_hex(r), n.size());
}

// The labelled hex fields of an RSA Laboratories vector file, in file order.
struct Field {
    std::string label;
    Bytes value;
};

std::vector<Field> read_fields(const std::string &name) {
    std::ifstream in(kry_test::vector_path(name));
    std::vector<Field> fields;
    std::string line;
    while (std::getline(in, line)) {
        if (!line.empty() && line.back() == '\r')
            line.pop_back();
        if (line.rfind("# ", 0) == 0) {
            std::string label = line.substr(2);
            while (!label.empty() && (label.back() == ' ' || label.back() == '\t'))
                label.pop_back();
            fields.push_back({label, {}});
            continue;
        }
        if (fields.empty() || line.empty() || line[0] == '=' || line[0] == '#')
            continue;
        std::string hex;
        for (char c : line)
            if (std::isxdigit(static_cast<unsigned char>(c)))
                hex += c;
        if (hex.size() % 2 == 0) {
            Bytes b = from_hex(hex);
            fields.back().value.insert(fields.back().value.end(), b.begin(), b.end());
        }
    }
    return fields;
}

struct Case {
    Bytes n, e, message, random, result;
    std::string name;
};

// Collects (modulus, public exponent, message, seed or salt, ciphertext or signature).
std::vector<Case> read_cases(const std::string &file, const std::string &prefix,
                             const std::string &random_label, const std::string &result_label) {
    std::vector<Case> cases;
    Bytes n, e;
    bool in_public = false;
    Case current;
    for (const auto &f : read_fields(file)) {
        if (f.label == "Public key")
            in_public = true;
        else if (f.label == "Private key")
            in_public = false;
        else if (in_public && f.label == "Modulus:")
            n = f.value;
        else if (in_public && f.label == "Exponent:")
            e = f.value;
        else if (f.label.rfind(prefix, 0) == 0) {
            current = Case{};
            current.n = n;
            current.e = e;
            current.name = f.label;
        } else if (f.label.rfind("Message", 0) == 0)
            current.message = f.value;
        else if (f.label == random_label)
            current.random = f.value;
        else if (f.label == result_label) {
            current.result = f.value;
            cases.push_back(current);
        }
    }
    return cases;
}

Bytes sha(const std::string &name, const Bytes &m) { return oracle::openssl_digest(name, m.data(), m.size()); }

// DER DigestInfo built from the algorithm's object identifier (RFC 8017 A.2.4).
Bytes digest_info(const Bytes &oid, const Bytes &hash) {
    Bytes alg = {0x06, static_cast<uint8_t>(oid.size())};
    alg.insert(alg.end(), oid.begin(), oid.end());
    alg.push_back(0x05);
    alg.push_back(0x00);
    Bytes alg_seq = {0x30, static_cast<uint8_t>(alg.size())};
    alg_seq.insert(alg_seq.end(), alg.begin(), alg.end());
    Bytes body = alg_seq;
    body.push_back(0x04);
    body.push_back(static_cast<uint8_t>(hash.size()));
    body.insert(body.end(), hash.begin(), hash.end());
    Bytes out = {0x30, static_cast<uint8_t>(body.size())};
    out.insert(out.end(), body.begin(), body.end());
    return out;
}

Bytes emsa_v15_expected(size_t k, const Bytes &oid, const Bytes &hash) {
    Bytes t = digest_info(oid, hash);
    Bytes em = {0x00, 0x01};
    em.insert(em.end(), k - t.size() - 3, 0xFF);
    em.push_back(0x00);
    em.insert(em.end(), t.begin(), t.end());
    return em;
}

} // namespace

// ---- EMSA-PKCS1-v1_5 ----------------------------------------------------

TEST(RsaPaddingEmsaV15, MatchesDigestInfoConstruction) {
    struct Alg {
        uint32_t id;
        const char *name;
        Bytes oid;
    } algs[] = {
        {KRY_MD5, "MD5", {0x2a, 0x86, 0x48, 0x86, 0xf7, 0x0d, 0x02, 0x05}},
        {KRY_SHA1, "SHA1", {0x2b, 0x0e, 0x03, 0x02, 0x1a}},
        {KRY_SHA256, "SHA256", {0x60, 0x86, 0x48, 0x01, 0x65, 0x03, 0x04, 0x02, 0x01}},
        {KRY_SHA384, "SHA384", {0x60, 0x86, 0x48, 0x01, 0x65, 0x03, 0x04, 0x02, 0x02}},
        {KRY_SHA512, "SHA512", {0x60, 0x86, 0x48, 0x01, 0x65, 0x03, 0x04, 0x02, 0x03}},
    };
    for (const auto &a : algs) {
        Bytes hash = sha(a.name, kry_test::bytes_of("abc"));
        for (uint32_t k : {128u, 256u}) {
            Bytes em(k, 0x77);
            ASSERT_EQ(add_EMSA_PKCS1_v1_5_ENCODE(em.data(), k, hash.data(), static_cast<uint32_t>(hash.size()), a.id),
                      0u)
                << a.name;
            EXPECT_EQ(to_hex(em), to_hex(emsa_v15_expected(k, a.oid, hash))) << a.name;
            // The verifier receives the value without its leading zero byte.
            EXPECT_EQ(check_EMSA_PKCS1_v1_5_ENCODE(em.data() + 1, static_cast<int32_t>(k - 1), k, hash.data(),
                                                   static_cast<uint32_t>(hash.size()), a.id),
                      0u);
        }
    }
}

TEST(RsaPaddingEmsaV15, DigestsWithoutPrefixFail) {
    uint8_t hash[64] = {0};
    Bytes em(256);
    EXPECT_EQ(add_EMSA_PKCS1_v1_5_ENCODE(em.data(), 256, hash, 28, KRY_SHA224), 0xFFFFFFFFu);
    EXPECT_EQ(add_EMSA_PKCS1_v1_5_ENCODE(em.data(), 256, hash, 20, KRY_HAS160), 0xFFFFFFFFu);
    EXPECT_EQ(add_EMSA_PKCS1_v1_5_ENCODE(em.data(), 256, hash, 16, KRY_MDC2), 0xFFFFFFFFu);
    EXPECT_EQ(check_EMSA_PKCS1_v1_5_ENCODE(em.data(), 255, 256, hash, 28, KRY_SHA224), 0x10200800u);
}

TEST(RsaPaddingEmsaV15, LengthTestCountsPrefixOnly) {
    uint8_t hash[20] = {1};
    Bytes em(64);
    EXPECT_EQ(add_EMSA_PKCS1_v1_5_ENCODE(em.data(), 25, hash, 0, KRY_SHA1), 1u);
    EXPECT_EQ(add_EMSA_PKCS1_v1_5_ENCODE(em.data(), 26, hash, 0, KRY_SHA1), 0u);
    // Long enough for the prefix test but not for the hash: refused without writing past em.
    EXPECT_EQ(add_EMSA_PKCS1_v1_5_ENCODE(em.data(), 26, hash, 20, KRY_SHA1), 1u);
}

TEST(RsaPaddingEmsaV15, CheckRejectsAltered) {
    Bytes hash = sha("SHA256", kry_test::bytes_of("message"));
    Bytes em(256);
    ASSERT_EQ(add_EMSA_PKCS1_v1_5_ENCODE(em.data(), 256, hash.data(), 32, KRY_SHA256), 0u);
    EXPECT_EQ(check_EMSA_PKCS1_v1_5_ENCODE(nullptr, 255, 256, hash.data(), 32, KRY_SHA256), 1u);
    EXPECT_EQ(check_EMSA_PKCS1_v1_5_ENCODE(em.data() + 1, 0, 256, hash.data(), 32, KRY_SHA256), 1u);
    EXPECT_EQ(check_EMSA_PKCS1_v1_5_ENCODE(em.data() + 1, -5, 256, hash.data(), 32, KRY_SHA256), 1u);
    // Too long for the expected block.
    EXPECT_EQ(check_EMSA_PKCS1_v1_5_ENCODE(em.data(), 256, 256, hash.data(), 32, KRY_SHA256), 0x10201900u);
    for (size_t i = 1; i < em.size(); ++i) {
        for (int bit = 0; bit < 8; bit += 3) {
            Bytes bad = em;
            bad[i] ^= static_cast<uint8_t>(1u << bit);
            EXPECT_EQ(check_EMSA_PKCS1_v1_5_ENCODE(bad.data() + 1, 255, 256, hash.data(), 32, KRY_SHA256),
                      0x10201900u);
        }
    }
    Bytes other = sha("SHA256", kry_test::bytes_of("other"));
    EXPECT_EQ(check_EMSA_PKCS1_v1_5_ENCODE(em.data() + 1, 255, 256, other.data(), 32, KRY_SHA256), 0x10201900u);
}

// ---- MGF1 ---------------------------------------------------------------

TEST(RsaPaddingMgf1, MatchesCounterConstruction) {
    DIGEST_UNIT *unit = new_DIGEST_UNIT();
    ASSERT_EQ(init_Digest(unit, KRY_SHA256), 0u);
    Bytes seed = kry_test::bytes_of("seed value");
    for (uint32_t len : {0u, 1u, 31u, 32u, 33u, 100u}) {
        Bytes out(len + 1, 0xEE);
        ASSERT_EQ(kry::mgf1_RSA(out.data(), len, seed.data(), static_cast<uint32_t>(seed.size()), unit), 0u);
        Bytes expected;
        for (uint32_t c = 0; expected.size() < len; ++c) {
            Bytes in = seed;
            in.push_back(static_cast<uint8_t>(c >> 24));
            in.push_back(static_cast<uint8_t>(c >> 16));
            in.push_back(static_cast<uint8_t>(c >> 8));
            in.push_back(static_cast<uint8_t>(c));
            Bytes d = sha("SHA256", in);
            expected.insert(expected.end(), d.begin(), d.end());
        }
        expected.resize(len);
        EXPECT_EQ(to_hex(out.data(), len), to_hex(expected));
        EXPECT_EQ(out[len], 0xEE);
    }
    EXPECT_EQ(kry::mgf1_RSA(seed.data(), 4, seed.data(), 4, nullptr), 0x10210003u);
    free_DIGEST_UNIT(unit);
}

// ---- EMSA-PSS -----------------------------------------------------------

TEST(RsaPaddingPss, RsaLabsVectors) {
    auto cases = read_cases("rsa/pss-vect.txt", "PSS Example", "Salt:", "Signature:");
    ASSERT_EQ(cases.size(), 60u);
    for (const auto &c : cases) {
        Record rec(c.n, KRY_SHA1);
        uint32_t k = static_cast<uint32_t>(c.n.size());
        Bytes em_expected = public_op(c.result, c.e, c.n); // s^e mod n = EM, k bytes
        Bytes hash = sha("SHA1", c.message);
        Bytes em(k, 0x55);
        ASSERT_EQ(kry::pss_encode_with_salt(rec.get(), em.data(), k, hash.data(), 20, 20, rec.get()->digest,
                                            c.random.data()),
                  0u)
            << c.name;
        EXPECT_EQ(to_hex(em), to_hex(em_expected)) << c.name;
        // Verification of the k-byte value and of its minimal form.
        EXPECT_EQ(check_RSASSA_PKCS1_PSS_ENCODE(rec.get(), em.data(), k, hash.data(), 20, 20, rec.get()->digest), 0u)
            << c.name;
        size_t skip = 0;
        while (skip < em.size() && em[skip] == 0)
            ++skip;
        EXPECT_EQ(check_RSASSA_PKCS1_PSS_ENCODE(rec.get(), em.data() + skip, static_cast<uint32_t>(k - skip),
                                                hash.data(), 20, -1, rec.get()->digest),
                  0u)
            << c.name;
    }
}

TEST(RsaPaddingPss, Modulus1025BitsLeadsWithZero) {
    Record rec(modulus_of_bits(1025), KRY_SHA256);
    Bytes hash = sha("SHA256", kry_test::bytes_of("m"));
    Bytes em(129, 0x55);
    ASSERT_EQ(add_RSASSA_PKCS1_PSS_ENCODE(rec.get(), em.data(), 129, hash.data(), 32, 32, rec.get()->digest), 0u);
    EXPECT_EQ(em[0], 0x00);
    EXPECT_EQ(em[128], 0xBC);
    EXPECT_EQ(check_RSASSA_PKCS1_PSS_ENCODE(rec.get(), em.data() + 1, 128, hash.data(), 32, 32, rec.get()->digest),
              0u);
    EXPECT_EQ(check_RSASSA_PKCS1_PSS_ENCODE(rec.get(), em.data(), 129, hash.data(), 32, 32, rec.get()->digest), 0u);
}

TEST(RsaPaddingPss, TopBitsClearedAndRoundTrip) {
    for (uint32_t bits : {1024u, 1027u, 1031u, 2048u}) {
        Record rec(modulus_of_bits(bits), KRY_SHA1);
        uint32_t k = (bits + 7) / 8;
        Bytes hash = sha("SHA1", kry_test::bytes_of("round trip"));
        Bytes em(k);
        ASSERT_EQ(add_RSASSA_PKCS1_PSS_ENCODE(rec.get(), em.data(), k, hash.data(), 20, 20, rec.get()->digest), 0u);
        uint32_t em_bits = bits - 1;
        EXPECT_EQ(em[0] >> (em_bits % 8), 0) << bits;
        EXPECT_EQ(check_RSASSA_PKCS1_PSS_ENCODE(rec.get(), em.data(), k, hash.data(), 20, 20, rec.get()->digest), 0u);
        Bytes other = sha("SHA1", kry_test::bytes_of("other"));
        EXPECT_EQ(check_RSASSA_PKCS1_PSS_ENCODE(rec.get(), em.data(), k, other.data(), 20, 20, rec.get()->digest), 1u);
        EXPECT_EQ(check_RSASSA_PKCS1_PSS_ENCODE(rec.get(), em.data(), k, hash.data(), 20, 19, rec.get()->digest),
                  0xFFFFFFFFu);
    }
}

TEST(RsaPaddingPss, EncodeFailures) {
    Record rec(modulus_of_bits(1024), KRY_SHA1);
    uint8_t hash[20] = {0};
    Bytes em(128);
    EXPECT_EQ(add_RSASSA_PKCS1_PSS_ENCODE(rec.get(), em.data(), 128, hash, 20, 20, nullptr), 0x100D0003u);
    EXPECT_EQ(add_RSASSA_PKCS1_PSS_ENCODE(rec.get(), em.data(), 41, hash, 20, 20, rec.get()->digest), 0x100D0003u);
    EXPECT_EQ(add_RSASSA_PKCS1_PSS_ENCODE(rec.get(), em.data(), 42, hash, 20, 20, rec.get()->digest), 0u);
}

TEST(RsaPaddingPss, TruncationsAndBitFlipsRejected) {
    Record rec(modulus_of_bits(1027), KRY_SHA1);
    Bytes hash = sha("SHA1", kry_test::bytes_of("flip"));
    Bytes em(129);
    ASSERT_EQ(add_RSASSA_PKCS1_PSS_ENCODE(rec.get(), em.data(), 129, hash.data(), 20, 20, rec.get()->digest), 0u);
    for (uint32_t len = 0; len < em.size(); ++len) {
        Bytes t(em.begin(), em.begin() + len); // exact-size copy: overreads are caught by sanitizers
        EXPECT_NE(check_RSASSA_PKCS1_PSS_ENCODE(rec.get(), t.empty() ? nullptr : t.data(), len, hash.data(), 20, 20,
                                                rec.get()->digest),
                  0u)
            << len;
    }
    for (size_t i = 0; i < em.size(); ++i) {
        for (int bit = 0; bit < 8; ++bit) {
            Bytes bad = em;
            bad[i] ^= static_cast<uint8_t>(1u << bit);
            EXPECT_NE(check_RSASSA_PKCS1_PSS_ENCODE(rec.get(), bad.data(), 129, hash.data(), 20, 20, rec.get()->digest),
                      0u)
                << i << ":" << bit;
        }
    }
}

// ---- EME-OAEP -----------------------------------------------------------

TEST(RsaPaddingOaep, V20FormMatchesIntermediateValues) {
    // The PKCS #1 v2.0 block is maskedSeed || maskedDB over k - 1 bytes.
    auto fields = read_fields("rsa/oaep-int.txt");
    Bytes n, message, seed, em_expected;
    for (const auto &f : fields) {
        if (f.label == "Modulus:" && n.empty())
            n = f.value;
        else if (f.label == "Message to be encrypted:")
            message = f.value;
        else if (f.label == "seed:")
            seed = f.value;
        else if (f.label == "EM = maskedSeed || maskedDB:")
            em_expected = f.value;
    }
    ASSERT_EQ(n.size(), 128u);
    ASSERT_EQ(em_expected.size(), 127u);
    Record rec(n, KRY_SHA1);
    Bytes em(200, 0x33);
    EXPECT_EQ(kry::oaep_encode_with_seed(rec.get(), message.data(), static_cast<uint32_t>(message.size()), em.data(),
                                         200, 0, seed.data()),
              127u);
    EXPECT_EQ(to_hex(em.data(), 127), to_hex(em_expected));
    for (size_t i = 127; i < em.size(); ++i)
        EXPECT_EQ(em[i], 0);
    Bytes out(128);
    EXPECT_EQ(decode_RSAES_OAEP_PADDING(rec.get(), em_expected.data(), 127, out.data(), 128, nullptr, 0, 0),
              message.size());
    EXPECT_EQ(to_hex(out.data(), message.size()), to_hex(message));
}

TEST(RsaPaddingOaep, V21FormMatchesRsaLabsVectors) {
    auto cases = read_cases("rsa/oaep-vect.txt", "OAEP Example", "Seed:", "Encryption:");
    ASSERT_EQ(cases.size(), 60u);
    for (const auto &c : cases) {
        Record rec(c.n, KRY_SHA1);
        uint32_t k = static_cast<uint32_t>(c.n.size());
        Bytes em(k);
        ASSERT_EQ(kry::oaep_encode_with_seed(rec.get(), c.message.data(), static_cast<uint32_t>(c.message.size()),
                                             em.data(), k, 1, c.random.data()),
                  k);
        EXPECT_EQ(em[0], 0);
        EXPECT_EQ(to_hex(public_op(em, c.e, c.n)), to_hex(c.result)) << c.name;
        Bytes out(k);
        size_t skip = 0;
        while (skip < em.size() && em[skip] == 0)
            ++skip;
        EXPECT_EQ(decode_RSAES_OAEP_PADDING(rec.get(), em.data() + skip, static_cast<uint32_t>(k - skip), out.data(),
                                            k, nullptr, 0, 1),
                  c.message.size())
            << c.name;
        EXPECT_EQ(to_hex(out.data(), c.message.size()), to_hex(c.message));
    }
}

TEST(RsaPaddingOaep, MessageBounds2048Sha256) {
    Record rec(modulus_of_bits(2048), KRY_SHA256);
    Bytes m(192, 0x42), em(256), out(256);
    // 190 bytes: the RFC 8017 bound; decodes back.
    ASSERT_EQ(encode_RSAES_OAEP_PADDING(rec.get(), m.data(), 190, em.data(), 256, nullptr, 0, 1), 256u);
    EXPECT_NE(to_hex(em), to_hex(Bytes(256, 0)));
    EXPECT_EQ(decode_RSAES_OAEP_PADDING(rec.get(), em.data(), 256, out.data(), 256, nullptr, 0, 1), 190u);
    // 191 bytes are accepted too; the separator overwrites the last label-digest byte.
    ASSERT_EQ(encode_RSAES_OAEP_PADDING(rec.get(), m.data(), 191, em.data(), 256, nullptr, 0, 1), 256u);
    EXPECT_NE(to_hex(em), to_hex(Bytes(256, 0)));
    EXPECT_EQ(decode_RSAES_OAEP_PADDING(rec.get(), em.data(), 256, out.data(), 256, nullptr, 0, 1), 0u);
    // 192 bytes: too long; the length is still returned, the block stays zero.
    ASSERT_EQ(encode_RSAES_OAEP_PADDING(rec.get(), m.data(), 192, em.data(), 256, nullptr, 0, 1), 256u);
    EXPECT_EQ(to_hex(em), to_hex(Bytes(256, 0)));
    // The v2.0 form: block of 255 bytes, bound 255 - 65 = 190.
    ASSERT_EQ(encode_RSAES_OAEP_PADDING(rec.get(), m.data(), 191, em.data(), 256, nullptr, 0, 0), 255u);
    EXPECT_EQ(to_hex(em), to_hex(Bytes(256, 0)));
    ASSERT_EQ(encode_RSAES_OAEP_PADDING(rec.get(), m.data(), 190, em.data(), 256, nullptr, 0, 0), 255u);
    EXPECT_EQ(decode_RSAES_OAEP_PADDING(rec.get(), em.data(), 255, out.data(), 256, nullptr, 0, 0), 190u);
    EXPECT_EQ(to_hex(out.data(), 190), to_hex(Bytes(190, 0x42)));
}

TEST(RsaPaddingOaep, RoundTripsAndCapacity) {
    for (int form : {0, 1}) {
        Record rec(modulus_of_bits(1024), KRY_SHA1);
        for (uint32_t len : {0u, 1u, 17u, 86u}) {
            Bytes m(len), em(128), out(128);
            for (uint32_t i = 0; i < len; ++i)
                m[i] = static_cast<uint8_t>(i * 7 + 1);
            uint32_t L = encode_RSAES_OAEP_PADDING(rec.get(), m.data(), len, em.data(), 128, nullptr, 0, form);
            ASSERT_EQ(L, form == 0 ? 127u : 128u);
            EXPECT_EQ(decode_RSAES_OAEP_PADDING(rec.get(), em.data(), L, out.data(), 128, nullptr, 0, form), len);
            EXPECT_EQ(to_hex(out.data(), len), to_hex(m));
            if (len > 0) {
                EXPECT_EQ(decode_RSAES_OAEP_PADDING(rec.get(), em.data(), L, out.data(), len - 1, nullptr, 0, form),
                          0u);
            }
            // An input longer than the block is refused.
            Bytes longer(L + 1, 0);
            std::memcpy(longer.data() + 1, em.data(), L);
            EXPECT_EQ(decode_RSAES_OAEP_PADDING(rec.get(), longer.data(), L + 1, out.data(), 128, nullptr, 0, form),
                      0u);
        }
    }
}

TEST(RsaPaddingOaep, TruncationsAndBitFlipsRejected) {
    Record rec(modulus_of_bits(1024), KRY_SHA1);
    Bytes m = kry_test::bytes_of("secret message");
    Bytes em(128), out(128);
    ASSERT_EQ(encode_RSAES_OAEP_PADDING(rec.get(), m.data(), static_cast<uint32_t>(m.size()), em.data(), 128, nullptr,
                                        0, 1),
              128u);
    for (uint32_t len = 0; len < 127; ++len) {
        Bytes t(em.end() - len, em.end());
        // The block is read as an integer: dropping leading zero bytes (the
        // random masked seed starts with 00 once in 256 encodings) changes
        // nothing, and byte 0 of the v2.1 block is skipped unchecked.
        const bool only_zeros_dropped =
            std::all_of(em.begin() + 1, em.end() - len, [](uint8_t b) { return b == 0; });
        EXPECT_EQ(decode_RSAES_OAEP_PADDING(rec.get(), t.data(), len, out.data(), 128, nullptr, 0, 1),
                  only_zeros_dropped ? m.size() : 0u)
            << len;
    }
    Bytes longer(129, 1);
    EXPECT_EQ(decode_RSAES_OAEP_PADDING(rec.get(), longer.data(), 129, out.data(), 128, nullptr, 0, 1), 0u);
    // Byte 0 of the v2.1 block is skipped unchecked; every other flip fails.
    for (size_t i = 1; i < em.size(); ++i) {
        for (int bit = 0; bit < 8; ++bit) {
            Bytes bad = em;
            bad[i] ^= static_cast<uint8_t>(1u << bit);
            EXPECT_EQ(decode_RSAES_OAEP_PADDING(rec.get(), bad.data(), 128, out.data(), 128, nullptr, 0, 1), 0u)
                << i << ":" << bit;
        }
    }
    Bytes first = em;
    first[0] = 0x7F;
    EXPECT_EQ(decode_RSAES_OAEP_PADDING(rec.get(), first.data(), 128, out.data(), 128, nullptr, 0, 1), m.size());
}

// ---- RSAES-PKCS1-v1_5 ---------------------------------------------------

TEST(RsaPaddingPkcs1, BlockType2HasNonzeroPadding) {
    Record rec(modulus_of_bits(1024), KRY_SHA1);
    rec.get()->mode = 0;
    Bytes m = kry_test::bytes_of("hello"), em(128), out(128);
    for (int round = 0; round < 20; ++round) {
        ASSERT_EQ(encode_RSAES_PKCS1_PADDING(rec.get(), m.data(), 5, em.data(), 128), 128u);
        EXPECT_EQ(em[0], 0x00);
        EXPECT_EQ(em[1], 0x02);
        for (size_t i = 2; i < 128 - 5 - 1; ++i)
            ASSERT_NE(em[i], 0) << i;
        EXPECT_EQ(em[128 - 6], 0x00);
        EXPECT_EQ(to_hex(em.data() + 123, 5), to_hex(m));
        EXPECT_EQ(decode_RSAES_PKCS1_PADDING(rec.get(), em.data() + 1, 127, out.data(), 128), 5u);
        EXPECT_EQ(to_hex(out.data(), 5), to_hex(m));
    }
}

TEST(RsaPaddingPkcs1, BlockType1AndLengths) {
    Record rec(modulus_of_bits(1024), KRY_SHA1);
    rec.get()->mode = 1;
    Bytes m(118, 0x11), em(128), out(128);
    EXPECT_EQ(encode_RSAES_PKCS1_PADDING(rec.get(), m.data(), 118, em.data(), 128), 0u);
    ASSERT_EQ(encode_RSAES_PKCS1_PADDING(rec.get(), m.data(), 117, em.data(), 128), 128u);
    Bytes expected = {0x00, 0x01};
    expected.insert(expected.end(), 8, 0xFF);
    expected.push_back(0x00);
    expected.insert(expected.end(), 117, 0x11);
    EXPECT_EQ(to_hex(em), to_hex(expected));
    // Block type 01 is accepted by a private-key decryption too.
    rec.get()->mode = 1;
    EXPECT_EQ(decode_RSAES_PKCS1_PADDING(rec.get(), em.data() + 1, 127, out.data(), 128), 117u);
    rec.get()->mode = 0;
    EXPECT_EQ(decode_RSAES_PKCS1_PADDING(rec.get(), em.data() + 1, 127, out.data(), 128), 117u);
    EXPECT_EQ(decode_RSAES_PKCS1_PADDING(rec.get(), em.data() + 1, 127, out.data(), 116), 0u);
    EXPECT_EQ(encode_RSAES_PKCS1_PADDING(rec.get(), m.data(), 0, em.data(), 10), 0u);
}

TEST(RsaPaddingPkcs1, MalformedRejected) {
    Record rec(modulus_of_bits(1024), KRY_SHA1);
    Bytes out(128);
    // Fewer than 8 padding bytes.
    Bytes seven = {0x02, 1, 2, 3, 4, 5, 6, 7, 0x00, 0xAA};
    EXPECT_EQ(decode_RSAES_PKCS1_PADDING(rec.get(), seven.data(), 10, out.data(), 128), 0u);
    Bytes eight = {0x02, 1, 2, 3, 4, 5, 6, 7, 8, 0x00, 0xAA};
    EXPECT_EQ(decode_RSAES_PKCS1_PADDING(rec.get(), eight.data(), 11, out.data(), 128), 1u);
    Bytes no_zero(50, 0x02);
    EXPECT_EQ(decode_RSAES_PKCS1_PADDING(rec.get(), no_zero.data(), 50, out.data(), 128), 0u);
    Bytes bad_type = eight;
    bad_type[0] = 0x03;
    EXPECT_EQ(decode_RSAES_PKCS1_PADDING(rec.get(), bad_type.data(), 11, out.data(), 128), 0u);
    EXPECT_EQ(decode_RSAES_PKCS1_PADDING(rec.get(), nullptr, 0, out.data(), 128), 0u);
    // Every truncation of a valid encoding, copied to an exact-size buffer.
    Bytes m = kry_test::bytes_of("payload"), em(128);
    ASSERT_EQ(encode_RSAES_PKCS1_PADDING(rec.get(), m.data(), 7, em.data(), 128), 128u);
    for (uint32_t len = 1; len <= 127; ++len) {
        Bytes t(em.begin() + 1, em.begin() + 1 + len);
        uint32_t r = decode_RSAES_PKCS1_PADDING(rec.get(), t.data(), len, out.data(), 128);
        if (len < 128 - 8)
            EXPECT_EQ(r, 0u) << len; // no zero separator inside the truncated block
        else
            EXPECT_LE(r, 7u);
    }
}

TEST(RsaPaddingPss, ExtraLeadingByteMustBeZero) {
    Record rec(modulus_of_bits(1025), KRY_SHA1);
    Bytes hash = sha("SHA1", kry_test::bytes_of("lead"));
    Bytes em(129);
    ASSERT_EQ(add_RSASSA_PKCS1_PSS_ENCODE(rec.get(), em.data(), 129, hash.data(), 20, 20, rec.get()->digest), 0u);
    em[0] = 0x01;
    EXPECT_EQ(check_RSASSA_PKCS1_PSS_ENCODE(rec.get(), em.data(), 129, hash.data(), 20, 20, rec.get()->digest),
              0xFFFFFFFFu);
    EXPECT_EQ(check_RSASSA_PKCS1_PSS_ENCODE(rec.get(), em.data() + 1, 128, hash.data(), 20, 20, rec.get()->digest),
              0u);
    EXPECT_EQ(check_RSASSA_PKCS1_PSS_ENCODE(rec.get(), em.data() + 1, 128, hash.data(), 20, 20, nullptr),
              0xFFFFFFFFu);
}

TEST(RsaPaddingOaep, SmallBufferStaysZero) {
    Record rec(modulus_of_bits(1024), KRY_SHA1);
    Bytes m(10, 0x42), em(100, 0x99);
    // The block length is returned; a buffer smaller than the block is only zero-filled.
    EXPECT_EQ(encode_RSAES_OAEP_PADDING(rec.get(), m.data(), 10, em.data(), 100, nullptr, 0, 1), 128u);
    EXPECT_EQ(to_hex(em), to_hex(Bytes(100, 0)));
}
