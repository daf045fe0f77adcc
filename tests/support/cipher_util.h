// Helpers for the block-cipher tests: drive a BLOCK_CIPHER_UNIT over a
// message cut into pieces, and the table of ciphers with their OpenSSL names.
#ifndef KRY_TEST_CIPHER_UTIL_H
#define KRY_TEST_CIPHER_UTIL_H

#include <kry/blockcipher.h>

#include "test_support.h"

#include <ostream>
#include <string>
#include <vector>

namespace kry_test {

struct CipherResult {
    uint32_t rc = 0;       // first failing word, 0 on success
    Bytes out;
};

// init_BlockCipher, one update_BlockCipher per piece (pieces end at the
// cuts), final_BlockCipher.  Zero-length pieces are skipped.
inline CipherResult unit_crypt(uint32_t id, uint32_t direction, const Bytes &key, const Bytes &iv, const Bytes &in,
                               const std::vector<size_t> &cuts = {}) {
    CipherResult r;
    BLOCK_CIPHER_UNIT *unit = new_BLOCK_CIPHER_UNIT();
    r.rc = init_BlockCipher(unit, id, key.empty() ? nullptr : key.data(), iv.empty() ? nullptr : iv.data(), direction);
    Bytes out(in.size() + 64);
    size_t produced = 0, at = 0;
    std::vector<size_t> ends = cuts;
    ends.push_back(in.size());
    for (size_t end : ends) {
        if (r.rc != 0) break;
        if (end <= at || end > in.size()) continue;
        uint32_t n = 0;
        r.rc = update_BlockCipher(unit, out.data() + produced, &n, in.data() + at, static_cast<int32_t>(end - at));
        produced += n;
        at = end;
    }
    if (r.rc == 0) {
        uint32_t n = 0;
        r.rc = final_BlockCipher(unit, out.data() + produced, &n);
        produced += n;
    }
    free_BLOCK_CIPHER_UNIT(unit);
    out.resize(produced);
    r.out = out;
    return r;
}

struct CipherInfo {
    uint32_t id;            // base identifier
    const char *name;
    size_t key, block;
    const char *ossl;       // OpenSSL name stem: "AES-128" gives "AES-128-CBC"; nullptr: none
    const char *ossl_ecb;   // OpenSSL ECB name
    bool ossl_ctr;          // OpenSSL has this cipher's CTR with the same counter
    bool has_ctr;           // kry has CTR for it
    int rc2_bits;
};

inline void PrintTo(const CipherInfo &c, std::ostream *os) { *os << c.name; }

inline const std::vector<CipherInfo> &all_ciphers() {
    static const std::vector<CipherInfo> c = {
        {KRY_AES_128, "AES128", 16, 16, "AES-128", "AES-128-ECB", true, true, 0},
        {KRY_AES_192, "AES192", 24, 16, "AES-192", "AES-192-ECB", true, true, 0},
        {KRY_AES_256, "AES256", 32, 16, "AES-256", "AES-256-ECB", true, true, 0},
        {KRY_ARIA_128, "ARIA128", 16, 16, "ARIA-128", "ARIA-128-ECB", true, true, 0},
        {KRY_ARIA_192, "ARIA192", 24, 16, "ARIA-192", "ARIA-192-ECB", true, true, 0},
        {KRY_ARIA_256, "ARIA256", 32, 16, "ARIA-256", "ARIA-256-ECB", true, true, 0},
        {KRY_SEED, "SEED", 16, 16, "SEED", "SEED-ECB", false, true, 0},
        {KRY_DES, "DES", 8, 8, "DES", "DES-ECB", false, true, 0},
        {KRY_DES_EDE2, "DESEDE2", 16, 8, "DES-EDE", "DES-EDE-ECB", false, true, 0},
        {KRY_DES_EDE3, "DESEDE3", 24, 8, "DES-EDE3", "DES-EDE3-ECB", false, true, 0},
        {KRY_DES_EDE3_B, "DESEDE3B", 24, 8, "DES-EDE3", "DES-EDE3-ECB", false, true, 0},
        {KRY_RC5, "RC5", 16, 8, nullptr, nullptr, false, true, 0},
        {KRY_BLOWFISH, "Blowfish", 16, 8, "BF", "BF-ECB", false, true, 0},
        {KRY_RC2, "RC2", 8, 8, "RC2", "RC2-ECB", false, false, 1024},
    };
    return c;
}

}  // namespace kry_test

#endif
