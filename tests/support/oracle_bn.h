// OpenSSL BN as a test oracle, through hexadecimal strings (upper- or
// lower-case digits, no prefix; "0" for zero).  No OpenSSL or kry types
// appear here.
#ifndef KRY_TEST_ORACLE_BN_H
#define KRY_TEST_ORACLE_BN_H

#include <string>

namespace oracle::bn {

// Each returns the result in upper-case hexadecimal without leading zeros
// ("0" for zero), or "" when OpenSSL fails.
std::string mul(const std::string &a, const std::string &b);
std::string sqr(const std::string &a);
std::string div(const std::string &a, const std::string &d);  // quotient
std::string mod(const std::string &a, const std::string &d);
std::string mod_mul(const std::string &a, const std::string &b, const std::string &m);
std::string mod_exp(const std::string &a, const std::string &p, const std::string &m);
std::string mod_inverse(const std::string &a, const std::string &m);  // "" when none
std::string gcd(const std::string &a, const std::string &b);
std::string to_dec(const std::string &a);
// 1 prime, 0 composite, -1 failure.
int is_prime(const std::string &a);

}  // namespace oracle::bn

#endif
