// OpenSSL DSA as a test oracle through byte strings: integers are unsigned
// big-endian byte strings, the digest is the raw message digest.
#ifndef KRY_TEST_ORACLE_PK_DSA_H
#define KRY_TEST_ORACLE_PK_DSA_H

#include <cstdint>
#include <vector>

namespace oracle::dsa {

using Bytes = std::vector<uint8_t>;

// 1 the signature verifies, 0 it does not, -1 OpenSSL failed.
int verify(const Bytes &p, const Bytes &q, const Bytes &g, const Bytes &y, const Bytes &digest, const Bytes &r,
           const Bytes &s);
// Signs digest with x; r and s receive the signature.  False on failure.
bool sign(const Bytes &p, const Bytes &q, const Bytes &g, const Bytes &y, const Bytes &x, const Bytes &digest,
          Bytes &r, Bytes &s);
// 1 accepted, 0 refused, -1 OpenSSL failed.
int param_check(const Bytes &p, const Bytes &q, const Bytes &g);
int public_check(const Bytes &p, const Bytes &q, const Bytes &g, const Bytes &y);

}  // namespace oracle::dsa

#endif
