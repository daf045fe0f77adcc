// Crypto++ as a test oracle for the ciphers OpenSSL lacks, as plain
// byte-string functions (no Crypto++ types here).
#ifndef KRY_TEST_ORACLE_CRYPTOPP_H
#define KRY_TEST_ORACLE_CRYPTOPP_H

#include <cstdint>

namespace oracle {

// RC5-32/12 with a 16-byte key, one 8-byte block; false on failure.
bool cryptopp_rc5_ecb(const uint8_t key[16], const uint8_t in[8], uint8_t out[8], bool encrypt);

}  // namespace oracle

#endif
