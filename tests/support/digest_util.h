// Hashing helpers for the digest tests: one message through a DIGEST_UNIT
// or through an algorithm's own entries, with the input cut at given points.
#ifndef KRY_TEST_DIGEST_UTIL_H
#define KRY_TEST_DIGEST_UTIL_H

#include <kry/digest.h>

#include "test_support.h"

#include <ostream>
#include <string>
#include <vector>

namespace kry_test {

struct DigestAlg {
    uint32_t id;
    const char *name;        // kry's name
    const char *vector_alg;  // ALG field of tests/vectors/sha.txt, or the file
    const char *openssl;     // OpenSSL name, or nullptr
    size_t length;
    size_t block;
};

// gtest prints a parameter with this (instead of its bytes).
inline void PrintTo(const DigestAlg &alg, std::ostream *os) { *os << alg.name; }

inline const std::vector<DigestAlg> &all_digests() {
    static const std::vector<DigestAlg> algs = {
        {KRY_SHA1, "SHA1", "SHA-1", "SHA1", 20, 64},
        {KRY_SHA224, "SHA224", "SHA-224", "SHA224", 28, 64},
        {KRY_SHA256, "SHA256", "SHA-256", "SHA256", 32, 64},
        {KRY_SHA384, "SHA384", "SHA-384", "SHA384", 48, 128},
        {KRY_SHA512, "SHA512", "SHA-512", "SHA512", 64, 128},
        {KRY_MD5, "MD5", "md5.txt", "MD5", 16, 64},
        {KRY_HAS160, "HAS160", "has160.txt", nullptr, 20, 64},
        {KRY_MDC2, "MDC2", "mdc2.txt", nullptr, 16, 8},
    };
    return algs;
}

// Feeds msg to a fresh unit in pieces ending at each cut (sorted, <= size).
inline Bytes unit_digest(uint32_t id, const Bytes &msg, const std::vector<size_t> &cuts = {}) {
    DIGEST_UNIT *unit = new_DIGEST_UNIT();
    Bytes out(KRY_MAX_DIGEST_LENGTH);
    uint32_t len = 0;
    bool ok = unit != nullptr && init_Digest(unit, id) == 0;
    size_t at = 0;
    static const uint8_t empty = 0;
    for (size_t cut : cuts) {
        if (!ok || cut < at || cut > msg.size()) break;
        ok = update_Digest(unit, cut > at ? msg.data() + at : &empty, static_cast<uint32_t>(cut - at)) == 0;
        at = cut;
    }
    if (ok)
        ok = update_Digest(unit, msg.size() > at ? msg.data() + at : &empty, static_cast<uint32_t>(msg.size() - at)) == 0;
    if (ok)
        ok = final_Digest(unit, out.data(), &len) == 0;
    free_DIGEST_UNIT(unit);
    if (!ok) return {};
    out.resize(len);
    return out;
}

// Feeds msg one byte at a time.
inline Bytes unit_digest_bytewise(uint32_t id, const Bytes &msg) {
    std::vector<size_t> cuts;
    for (size_t i = 1; i < msg.size(); i++) cuts.push_back(i);
    return unit_digest(id, msg, cuts);
}

}  // namespace kry_test

#endif
