// Project Wycheproof vectors for AES-CBC with PKCS #7 padding and for HMAC
// over SHA-1, SHA-224, SHA-256, SHA-384 and SHA-512 (tags truncated to the
// group's tag size).  Every test of every file is run through the library's
// BLOCK_CIPHER_UNIT and HMAC_UNIT and its verdict compared with the file's
// result; the tally of each file is printed and asserted exactly.
#include <gtest/gtest.h>

#include <kry/blockcipher.h>
#include <kry/digest.h>
#include <kry/error.h>
#include <kry/hmac.h>

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

struct Tally {
    int total = 0;
    int agree = 0;     // library's verdict equals the file's result
    int disagree = 0;  // library's verdict differs (listed with the test ids)
    int crashes = 0;   // an error word where an answer was due, or a length out of range
    bool operator==(const Tally &) const = default;
};

std::ostream &operator<<(std::ostream &os, const Tally &t) {
    return os << "{total " << t.total << ", agree " << t.agree << ", disagree " << t.disagree << ", crashes "
              << t.crashes << "}";
}

struct Outcome {
    bool accept = false;
    bool broken = false;  // the library misbehaved (counted as a crash)
};

// Empty inputs are passed with a valid pointer and length 0.
const uint8_t *data_of(const Bytes &b) {
    static const uint8_t empty = 0;
    return b.empty() ? &empty : b.data();
}

template <typename Run>
Tally run_file(const std::string &name, Run run) {
    std::ifstream in(vector_path("wycheproof/" + name));
    EXPECT_TRUE(in.good()) << name;
    const json doc = json::parse(in);
    Tally tally;
    std::map<std::string, std::vector<int>> disagreements;
    for (const json &group : doc.at("testGroups")) {
        for (const json &test : group.at("tests")) {
            ++tally.total;
            const std::string expected = test.at("result").get<std::string>();
            const Outcome out = run(group, test);
            if (out.broken) {
                ++tally.crashes;
                ADD_FAILURE() << name << " tcId " << test.at("tcId").get<int>() << ": library misbehaved";
                continue;
            }
            const bool agree = expected == "acceptable" || (expected == "valid" && out.accept) ||
                               (expected == "invalid" && !out.accept);
            if (agree) {
                ++tally.agree;
                continue;
            }
            ++tally.disagree;
            disagreements["expected " + expected + ", library " + (out.accept ? "accepts" : "rejects") + ": \"" +
                          test.value("comment", "") + "\""]
                .push_back(test.at("tcId").get<int>());
        }
    }
    std::printf("%s: total %d, agree %d, disagree %d, crashes %d\n", name.c_str(), tally.total, tally.agree,
                tally.disagree, tally.crashes);
    for (const auto &[description, ids] : disagreements) {
        std::string list;
        for (int id : ids)
            list += (list.empty() ? "" : " ") + std::to_string(id);
        std::printf("  disagree x%zu (tcId %s): %s\n", ids.size(), list.c_str(), description.c_str());
    }
    std::fflush(stdout);
    EXPECT_EQ(tally.total, doc.at("numberOfTests").get<int>()) << name;
    return tally;
}

// ---- AES-CBC with PKCS #7 padding ----

uint32_t aes_id(int key_bits) {
    switch (key_bits) {
    case 128:
        return KRY_AES_128;
    case 192:
        return KRY_AES_192;
    case 256:
        return KRY_AES_256;
    default:
        return 0;
    }
}

// Decrypts with a streaming unit (update + final) and, for the file's valid
// tests, also encrypts with the one-call function (init + final alone for
// the empty message): a test is accepted when decryption succeeds with the
// file's message and encryption gives the file's ciphertext.
Outcome aes_cbc_run(const json &group, const json &test) {
    const Bytes key = from_hex(test.at("key").get<std::string>());
    const Bytes iv = from_hex(test.at("iv").get<std::string>());
    const Bytes msg = from_hex(test.at("msg").get<std::string>());
    const Bytes ct = from_hex(test.at("ct").get<std::string>());
    const uint32_t base = aes_id(group.at("keySize").get<int>());
    if (base == 0 || key.size() != get_KeyLength(base) || iv.size() != 16)
        return {false, true};
    const uint32_t id = base | KRY_MODE_CBC;

    Outcome out;
    BLOCK_CIPHER_UNIT *unit = new_BLOCK_CIPHER_UNIT();
    if (unit == nullptr || init_BlockCipher(unit, id, key.data(), iv.data(), KRY_DECRYPT) != 0) {
        free_BLOCK_CIPHER_UNIT(unit);
        return {false, true};
    }
    Bytes plain(ct.size() + 32, 0xA5);
    uint32_t n1 = 0, n2 = 0;
    // An update of zero bytes is refused (0x01020003): empty input goes
    // straight to final.
    uint32_t rc =
        ct.empty() ? 0 : update_BlockCipher(unit, plain.data(), &n1, ct.data(), static_cast<int32_t>(ct.size()));
    if (rc == 0) {
        if (n1 > ct.size() + 16)
            out.broken = true;
        else
            rc = final_BlockCipher(unit, plain.data() + n1, &n2);
    }
    free_BLOCK_CIPHER_UNIT(unit);
    if (out.broken)
        return out;
    bool decrypt_ok = false;
    if (rc == 0) {
        if (static_cast<size_t>(n1) + n2 > ct.size())
            return {false, true};
        plain.resize(n1 + n2);
        decrypt_ok = plain == msg;
    }

    bool encrypt_ok = true;
    if (test.at("result") == "valid" || decrypt_ok) {
        Bytes cipher(msg.size() + 32, 0x5A);
        uint32_t n = 0, last = 0;
        if (msg.empty()) {
            BLOCK_CIPHER_UNIT *enc = new_BLOCK_CIPHER_UNIT();
            const uint32_t erc = init_BlockCipher(enc, id, key.data(), iv.data(), KRY_ENCRYPT) != 0
                                     ? 1u
                                     : final_BlockCipher(enc, cipher.data(), &last);
            free_BLOCK_CIPHER_UNIT(enc);
            if (erc != 0)
                return {false, true};
        } else if (BlockCipher(id, KRY_ENCRYPT, key.data(), iv.data(), msg.data(), static_cast<int32_t>(msg.size()),
                               cipher.data(), &n) != 0) {
            return {false, true};
        }
        n += last;
        if (n > msg.size() + 16)
            return {false, true};
        cipher.resize(n);
        encrypt_ok = cipher == ct;
    }
    out.accept = decrypt_ok && encrypt_ok;
    return out;
}

// ---- HMAC ----

uint32_t hmac_digest(const std::string &file) {
    if (file == "hmac_sha1_test.json")
        return KRY_SHA1;
    if (file == "hmac_sha224_test.json")
        return KRY_SHA224;
    if (file == "hmac_sha256_test.json")
        return KRY_SHA256;
    if (file == "hmac_sha384_test.json")
        return KRY_SHA384;
    if (file == "hmac_sha512_test.json")
        return KRY_SHA512;
    return 0;
}

// The MAC is computed twice (the one-call function and a unit fed the
// message in two pieces), truncated to the group's tag size and compared
// with the file's tag.
Outcome hmac_run(uint32_t digest, const json &group, const json &test) {
    const Bytes key = from_hex(test.at("key").get<std::string>());
    const Bytes msg = from_hex(test.at("msg").get<std::string>());
    const Bytes tag = from_hex(test.at("tag").get<std::string>());
    const size_t tag_bytes = group.at("tagSize").get<size_t>() / 8;
    const uint32_t full = get_DigestLength(digest);
    if (tag_bytes > full)
        return {false, true};

    Bytes one(full + 16, 0);
    uint32_t one_length = 0;
    if (HMac(digest, data_of(key), static_cast<uint32_t>(key.size()), data_of(msg),
             static_cast<uint32_t>(msg.size()), one.data(), &one_length) != 0 ||
        one_length != full)
        return {false, true};

    HMAC_UNIT *unit = new_HMAC_UNIT();
    Bytes two(full + 16, 0);
    uint32_t two_length = 0;
    const size_t half = msg.size() / 2;
    bool ok = unit != nullptr && init_HMAC(unit, digest, data_of(key), static_cast<uint32_t>(key.size())) == 0 &&
              update_HMAC(unit, data_of(msg), static_cast<uint32_t>(half)) == 0 &&
              update_HMAC(unit, data_of(msg) + half, static_cast<uint32_t>(msg.size() - half)) == 0 &&
              final_HMAC(unit, two.data(), &two_length) == 0 && two_length == full;
    free_HMAC_UNIT(unit);
    if (!ok || one != two)
        return {false, true};

    one.resize(tag_bytes);
    return {one == tag, false};
}

Tally hmac_file(const std::string &name) {
    const uint32_t digest = hmac_digest(name);
    EXPECT_NE(digest, 0u) << name;
    return run_file(name, [digest](const json &g, const json &t) { return hmac_run(digest, g, t); });
}

// AES and HMAC over SHA-224 are refused in proven mode.
class WycheproofSym : public ::testing::Test {
protected:
    static void SetUpTestSuite() { ChangeNonProvenMode(); }
};

}  // namespace

TEST_F(WycheproofSym, AesCbcPkcs5) {
    EXPECT_EQ(run_file("aes_cbc_pkcs5_test.json", aes_cbc_run), (Tally{216, 216, 0, 0}));
}
TEST_F(WycheproofSym, HmacSha1) { EXPECT_EQ(hmac_file("hmac_sha1_test.json"), (Tally{170, 170, 0, 0})); }
TEST_F(WycheproofSym, HmacSha224) { EXPECT_EQ(hmac_file("hmac_sha224_test.json"), (Tally{172, 172, 0, 0})); }
TEST_F(WycheproofSym, HmacSha256) { EXPECT_EQ(hmac_file("hmac_sha256_test.json"), (Tally{174, 174, 0, 0})); }
TEST_F(WycheproofSym, HmacSha384) { EXPECT_EQ(hmac_file("hmac_sha384_test.json"), (Tally{174, 174, 0, 0})); }
TEST_F(WycheproofSym, HmacSha512) { EXPECT_EQ(hmac_file("hmac_sha512_test.json"), (Tally{174, 174, 0, 0})); }
