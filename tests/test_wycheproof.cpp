// Project Wycheproof vectors for DSA and RSA (PKCS #1 v1.5 signatures and
// decryption, RSASSA-PSS, RSAES-OAEP).  Every test of every file is run
// through the library and its verdict compared with the file's result
// (valid / invalid / acceptable).  The tally of each file is printed, every
// disagreeing group is listed with the reason, and the exact tallies are
// asserted so that a change of verdict is noticed.
#include <gtest/gtest.h>

#include <kry/bigint.h>
#include <kry/digest.h>
#include <kry/dsa.h>
#include <kry/error.h>
#include <kry/rsa.h>

#include "pubkey/dsa_internal.h"

#include "test_support.h"

#include <nlohmann/json.hpp>

#include <cstdio>
#include <fstream>
#include <map>
#include <string>
#include <vector>

using namespace kry_test;
using json = nlohmann::json;

namespace {

enum class Verdict { Accept, Reject, NotApplicable };

struct Outcome {
    Verdict verdict;
    std::string reason;  // for NotApplicable
};

struct Tally {
    int total = 0;
    int agree = 0;
    int disagree = 0;
    int not_applicable = 0;
    bool operator==(const Tally &) const = default;
};

std::ostream &operator<<(std::ostream &os, const Tally &t) {
    return os << "{total " << t.total << ", agree " << t.agree << ", disagree " << t.disagree
              << ", not applicable " << t.not_applicable << "}";
}

json load(const std::string &name) {
    std::ifstream in(vector_path("wycheproof/" + name));
    EXPECT_TRUE(in.good()) << name;
    return json::parse(in);
}

BIGINT *big(const Bytes &b) {
    return binary_to_BIGINT(b.data(), static_cast<int32_t>(b.size()), nullptr);
}
BIGINT *big(const json &hex) { return big(from_hex(hex.get<std::string>())); }

uint32_t digest_id(const std::string &name) {
    if (name == "SHA-1")
        return KRY_SHA1;
    if (name == "SHA-224")
        return KRY_SHA224;
    if (name == "SHA-256")
        return KRY_SHA256;
    if (name == "SHA-384")
        return KRY_SHA384;
    if (name == "SHA-512")
        return KRY_SHA512;
    return 0;
}

// Why the library's verdict differs from the file's, keyed by the vector's
// comment (the same comment is used across the files of one kind).
std::string explain(const std::string &comment) {
    static const std::map<std::string, std::string> reasons = {
        {"Modified r or s, e.g. by adding or subtracting the group order",
         "s + q verifies as s: the library does not check 0 < s < q (FIPS 186-2 section 6) and inverts s mod q"},
        {"the signature has value 1",
         "the PKCS #1 v1.5 check compares only as many bytes as the recovered value has, from the second byte of "
         "the expected encoding, without requiring k - 1 of them: s = 1 gives the single byte 01, which is the "
         "first byte of every expected encoding, so s = 1 verifies for any message"},
        {"prepending 0's to signature",
         "the signature is read as an integer of any length; a length other than k is not rejected "
         "(RFC 8017 8.1.2 step 1)"},
        {"prepended bytes to ciphertext",
         "the ciphertext is read as an integer of any length; a length other than k is not rejected "
         "(RFC 8017 7.1.2 step 1)"},
        {"Prepended bytes to ciphertext",
         "the ciphertext is read as an integer of any length; a length other than k is not rejected "
         "(RFC 8017 7.2.2 step 1)"},
        {"First byte is 1", "the OAEP v2.1 decoder skips the leading byte Y without checking that it is zero"},
        {"", "a decryption yielding the empty message is reported as a failure"},
        {"Message of length 0.", "a decryption yielding the empty message is reported as a failure"},
        {"The block type is 1. This block type is used for signatures.",
         "the PKCS #1 v1.5 decoder accepts block type 1 as well as block type 2 in decryption"},
        {"Using signature padding instead of encryption padding.",
         "the PKCS #1 v1.5 decoder accepts block type 1 as well as block type 2 in decryption"},
        {"The first byte of the encoded message is 1.",
         "the block is taken from the integer's minimal bytes, so the leading zero byte is never checked: "
         "01 02 PS 00 M reads as block type 1 with padding 02 PS"},
        {"The padding string has been truncated.",
         "the block is taken from the integer's minimal bytes and its length is not checked against k - 1, so a "
         "block with extra leading zero bytes decodes"},
    };
    const auto it = reasons.find(comment);
    return it == reasons.end() ? "unexplained" : it->second;
}

// Runs every test of a file.  run(group, test) gives the library's verdict.
template <typename Run>
Tally run_file(const std::string &name, Run run) {
    const json doc = load(name);
    Tally tally;
    std::map<std::string, std::vector<int>> disagreements;  // description -> tcIds
    std::map<std::string, int> skipped;        // reason -> count
    int group_index = 0;
    for (const json &group : doc.at("testGroups")) {
        ++group_index;
        for (const json &test : group.at("tests")) {
            ++tally.total;
            const std::string expected = test.at("result").get<std::string>();
            const Outcome out = run(group, test);
            if (out.verdict == Verdict::NotApplicable) {
                ++tally.not_applicable;
                ++skipped[out.reason];
                continue;
            }
            const bool agree = expected == "acceptable" ||
                               (expected == "valid" && out.verdict == Verdict::Accept) ||
                               (expected == "invalid" && out.verdict == Verdict::Reject);
            if (agree) {
                ++tally.agree;
                continue;
            }
            ++tally.disagree;
            std::string flags;
            if (test.contains("flags"))
                for (const json &f : test.at("flags"))
                    flags += (flags.empty() ? "" : ",") + f.get<std::string>();
            const std::string key = "group " + std::to_string(group_index) + ": expected " + expected +
                                    ", library " + (out.verdict == Verdict::Accept ? "accepts" : "rejects") +
                                    " [" + flags + "] \"" + test.value("comment", "") +
                                    "\": " + explain(test.value("comment", ""));
            disagreements[key].push_back(test.at("tcId").get<int>());
        }
    }
    std::printf("%s: total %d, agree %d, disagree %d, not applicable %d\n", name.c_str(), tally.total, tally.agree,
                tally.disagree, tally.not_applicable);
    for (const auto &[reason, count] : skipped)
        std::printf("  not applicable x%d: %s\n", count, reason.c_str());
    for (const auto &[description, ids] : disagreements) {
        std::string list;
        for (int id : ids)
            list += (list.empty() ? "" : " ") + std::to_string(id);
        std::printf("  disagree x%zu (tcId %s): %s\n", ids.size(), list.c_str(), description.c_str());
    }
    std::fflush(stdout);
    const int declared = doc.at("numberOfTests").get<int>();
    EXPECT_EQ(tally.total, declared) << name;
    return tally;
}

// Empty messages are passed with a valid pointer and length 0.
const uint8_t *data_of(const Bytes &b) {
    static const uint8_t empty = 0;
    return b.empty() ? &empty : b.data();
}

// ---- DSA ----

// Strict DER: SEQUENCE { INTEGER r, INTEGER s }, minimal lengths, minimal
// non-negative integers, nothing trailing.  Returns r and s as minimal
// unsigned big-endian bytes.
bool der_length(const Bytes &b, size_t &pos, size_t &len) {
    if (pos >= b.size())
        return false;
    const uint8_t first = b[pos++];
    if (first < 0x80) {
        len = first;
        return true;
    }
    const int n = first & 0x7F;
    if (n == 0 || n > 2 || pos + static_cast<size_t>(n) > b.size() || b[pos] == 0)
        return false;
    len = 0;
    for (int i = 0; i < n; ++i)
        len = (len << 8) | b[pos++];
    return len >= 0x80;
}

bool der_integer(const Bytes &b, size_t &pos, Bytes &out) {
    size_t len = 0;
    if (pos >= b.size() || b[pos++] != 0x02 || !der_length(b, pos, len) || len == 0 || pos + len > b.size())
        return false;
    if (b[pos] & 0x80)
        return false;  // negative
    if (len > 1 && b[pos] == 0 && !(b[pos + 1] & 0x80))
        return false;  // not minimal
    size_t start = pos;
    pos += len;
    while (start < pos && b[start] == 0)
        ++start;
    out.assign(b.begin() + static_cast<std::ptrdiff_t>(start), b.begin() + static_cast<std::ptrdiff_t>(pos));
    return true;
}

bool der_signature(const Bytes &sig, Bytes &r, Bytes &s) {
    size_t pos = 0, len = 0;
    if (sig.empty() || sig[pos++] != 0x30 || !der_length(sig, pos, len) || pos + len != sig.size())
        return false;
    return der_integer(sig, pos, r) && der_integer(sig, pos, s) && pos == sig.size();
}

Outcome dsa_run(const json &group, const json &test) {
    const json &key = group.contains("publicKey") ? group.at("publicKey") : group.at("key");
    const uint32_t id = digest_id(group.at("sha").get<std::string>());
    if (id == 0)
        return {Verdict::NotApplicable, "digest not provided by the library"};
    const Bytes q_bytes = from_hex(key.at("q").get<std::string>());
    BIGINT *q = big(q_bytes);
    const int32_t q_bits = get_BIGINT_bits_length(q);
    if (static_cast<int32_t>(get_DigestLength(id) * 8) > q_bits) {
        free_BIGINT(q);
        // FIPS 186-2 DSA takes the whole hash as the integer reduced mod q;
        // FIPS 186-3 and later keep only the leftmost bits of q's length.
        return {Verdict::NotApplicable, "hash longer than q: the library reduces the whole hash mod q (FIPS 186-2), "
                                        "the vectors take its leftmost bits"};
    }
    Bytes r, s;
    if (!der_signature(from_hex(test.at("sig").get<std::string>()), r, s)) {
        free_BIGINT(q);
        return {Verdict::NotApplicable, "signature is not strict DER: the library takes r and s, not their encoding"};
    }
    DSA *unit = new_DSA();
    BIGINT *p = big(key.at("p")), *g = big(key.at("g")), *y = big(key.at("y"));
    EXPECT_EQ(set_DSA_params(unit, p, q, g, y, nullptr), 0u);
    free_BIGINT(p);
    free_BIGINT(q);
    free_BIGINT(g);
    free_BIGINT(y);
    EXPECT_EQ(init_DSA(unit, id, KRY_DSA_VERIFY, nullptr, 0), 0u);
    const Bytes msg = from_hex(test.at("msg").get<std::string>());
    EXPECT_EQ(update_DSA(unit, data_of(msg), static_cast<uint32_t>(msg.size())), 0u);
    int match = 0;
    const uint32_t rc = kry::dsa_verify_result(unit, r.data(), static_cast<uint32_t>(r.size()), s.data(),
                                               static_cast<uint32_t>(s.size()), &match);
    free_DSA(unit);
    return {rc == 0 && match == 1 ? Verdict::Accept : Verdict::Reject, ""};
}

// ---- RSA ----

RSA *rsa_public(const json &key) {
    RSA *rsa = new_RSA();
    BIGINT *n = big(key.at("modulus")), *e = big(key.at("publicExponent"));
    EXPECT_EQ(set_RSA_public_parmas(rsa, n, e), 0u);
    free_BIGINT(n);
    free_BIGINT(e);
    return rsa;
}

RSA *rsa_private(const json &key) {
    RSA *rsa = new_RSA();
    BIGINT *n = big(key.at("modulus")), *e = big(key.at("publicExponent")), *d = big(key.at("privateExponent"));
    BIGINT *p = big(key.at("prime1")), *q = big(key.at("prime2"));
    BIGINT *dp = big(key.at("exponent1")), *dq = big(key.at("exponent2")), *qi = big(key.at("coefficient"));
    EXPECT_EQ(set_RSA_params(rsa, n, e, d, p, q, dp, dq, qi), 0u);
    for (BIGINT *b : {n, e, d, p, q, dp, dq, qi})
        free_BIGINT(b);
    return rsa;
}

Outcome rsa_sig_run(const json &group, const json &test, int32_t encoding) {
    const uint32_t id = digest_id(group.at("sha").get<std::string>());
    if (id == 0)
        return {Verdict::NotApplicable, "digest not provided by the library"};
    if (encoding == KRY_RSA_EMSA_PSS) {
        if (group.at("mgfSha") != group.at("sha"))
            return {Verdict::NotApplicable, "MGF1 hash differs from the message hash"};
        if (group.at("sLen").get<uint32_t>() != get_DigestLength(id))
            return {Verdict::NotApplicable, "salt length differs from the hash length"};
    }
    RSA *rsa = rsa_public(group.at("publicKey"));
    EXPECT_EQ(init_RSASSA(rsa, id, encoding, 0), 0u);
    const Bytes msg = from_hex(test.at("msg").get<std::string>());
    const Bytes sig = from_hex(test.at("sig").get<std::string>());
    EXPECT_EQ(update_RSASSA(rsa, data_of(msg), static_cast<uint32_t>(msg.size())), 0u);
    const uint32_t rc = verify_RSASSA(rsa, sig.data(), static_cast<uint32_t>(sig.size()));
    free_RSA(rsa);
    return {rc == 0 ? Verdict::Accept : Verdict::Reject, ""};
}

Outcome rsa_dec_run(const json &group, const json &test, int32_t encoding) {
    uint32_t id = 0;
    if (encoding == KRY_RSA_OAEP_V21) {
        id = digest_id(group.at("sha").get<std::string>());
        if (id == 0)
            return {Verdict::NotApplicable, "digest not provided by the library"};
        if (group.at("mgfSha") != group.at("sha"))
            return {Verdict::NotApplicable, "MGF1 hash differs from the label hash"};
        if (!test.at("label").get<std::string>().empty())
            return {Verdict::NotApplicable, "non-empty OAEP label: the library decrypts with the empty label only"};
    }
    RSA *rsa = rsa_private(group.at("privateKey"));
    EXPECT_EQ(init_RSAES(rsa, encoding, 1, id), 0u);
    const Bytes ct = from_hex(test.at("ct").get<std::string>());
    const Bytes msg = from_hex(test.at("msg").get<std::string>());
    Bytes out(ct.size() + 64);
    uint32_t out_length = 0;
    const uint32_t rc =
        decrypt_RSAES(rsa, out.data(), &out_length, ct.data(), static_cast<uint32_t>(ct.size()));
    free_RSA(rsa);
    if (rc != 0)
        return {Verdict::Reject, ""};
    out.resize(out_length <= out.size() ? out_length : out.size());
    // A decryption that yields another message is a rejection of the vector.
    return {out == msg ? Verdict::Accept : Verdict::Reject, ""};
}

class Wycheproof : public ::testing::Test {
protected:
    static void SetUpTestSuite() { ChangeNonProvenMode(); }
};

Tally dsa_file(const std::string &name) { return run_file(name, dsa_run); }
Tally pkcs1_sig_file(const std::string &name) {
    return run_file(name, [](const json &g, const json &t) { return rsa_sig_run(g, t, KRY_RSA_EMSA_PKCS1_V15); });
}
Tally pss_file(const std::string &name) {
    return run_file(name, [](const json &g, const json &t) { return rsa_sig_run(g, t, KRY_RSA_EMSA_PSS); });
}
Tally oaep_file(const std::string &name) {
    return run_file(name, [](const json &g, const json &t) { return rsa_dec_run(g, t, KRY_RSA_OAEP_V21); });
}
Tally pkcs1_dec_file(const std::string &name) {
    return run_file(name, [](const json &g, const json &t) { return rsa_dec_run(g, t, KRY_RSA_RSAES_PKCS1_V15); });
}

}  // namespace

// ---- DSA ----
TEST_F(Wycheproof, Dsa2048_224_Sha224) {
    EXPECT_EQ(dsa_file("dsa_2048_224_sha224_test.json"), (Tally{336, 124, 0, 212}));
}
TEST_F(Wycheproof, Dsa2048_224_Sha256) {
    EXPECT_EQ(dsa_file("dsa_2048_224_sha256_test.json"), (Tally{364, 0, 0, 364}));
}
TEST_F(Wycheproof, Dsa2048_256_Sha256) {
    EXPECT_EQ(dsa_file("dsa_2048_256_sha256_test.json"), (Tally{366, 154, 0, 212}));
}
TEST_F(Wycheproof, Dsa3072_256_Sha256) {
    EXPECT_EQ(dsa_file("dsa_3072_256_sha256_test.json"), (Tally{366, 155, 0, 211}));
}
TEST_F(Wycheproof, DsaLegacy) { EXPECT_EQ(dsa_file("legacy/dsa_test.json"), (Tally{906, 224, 2, 680})); }

// ---- RSASSA-PKCS1-v1_5 ----
TEST_F(Wycheproof, RsaSig2048_Sha256) {
    EXPECT_EQ(pkcs1_sig_file("rsa_signature_2048_sha256_test.json"), (Tally{259, 258, 1, 0}));
}
TEST_F(Wycheproof, RsaSig2048_Sha512) {
    EXPECT_EQ(pkcs1_sig_file("rsa_signature_2048_sha512_test.json"), (Tally{259, 258, 1, 0}));
}
TEST_F(Wycheproof, RsaSig3072_Sha256) {
    EXPECT_EQ(pkcs1_sig_file("rsa_signature_3072_sha256_test.json"), (Tally{259, 258, 1, 0}));
}
TEST_F(Wycheproof, RsaSig3072_Sha512) {
    EXPECT_EQ(pkcs1_sig_file("rsa_signature_3072_sha512_test.json"), (Tally{260, 259, 1, 0}));
}

// ---- RSASSA-PSS ----
TEST_F(Wycheproof, RsaPss2048_Sha1) {
    EXPECT_EQ(pss_file("rsa_pss_2048_sha1_mgf1_20_test.json"), (Tally{88, 87, 1, 0}));
}
TEST_F(Wycheproof, RsaPss2048_Sha256) {
    EXPECT_EQ(pss_file("rsa_pss_2048_sha256_mgf1_32_test.json"), (Tally{108, 107, 1, 0}));
}
TEST_F(Wycheproof, RsaPss3072_Sha256) {
    EXPECT_EQ(pss_file("rsa_pss_3072_sha256_mgf1_32_test.json"), (Tally{108, 107, 1, 0}));
}

// ---- RSAES-OAEP ----
TEST_F(Wycheproof, RsaOaep2048_Sha1) {
    EXPECT_EQ(oaep_file("rsa_oaep_2048_sha1_mgf1sha1_test.json"), (Tally{36, 26, 3, 7}));
}
TEST_F(Wycheproof, RsaOaep2048_Sha256) {
    EXPECT_EQ(oaep_file("rsa_oaep_2048_sha256_mgf1sha256_test.json"), (Tally{37, 26, 3, 8}));
}
TEST_F(Wycheproof, RsaOaep3072_Sha256) {
    EXPECT_EQ(oaep_file("rsa_oaep_3072_sha256_mgf1sha256_test.json"), (Tally{37, 26, 3, 8}));
}

// ---- RSAES-PKCS1-v1_5 ----
TEST_F(Wycheproof, RsaPkcs1Dec2048) {
    EXPECT_EQ(pkcs1_dec_file("rsa_pkcs1_2048_test.json"), (Tally{67, 61, 6, 0}));
}
TEST_F(Wycheproof, RsaPkcs1Dec3072) {
    EXPECT_EQ(pkcs1_dec_file("rsa_pkcs1_3072_test.json"), (Tally{67, 61, 6, 0}));
}
