// OpenSSL RSA as a test oracle.  Keys travel as upper-case hexadecimal
// strings and data as byte strings; no OpenSSL or kry types appear here.
#ifndef KRY_TEST_ORACLE_PK_RSA_H
#define KRY_TEST_ORACLE_PK_RSA_H

#include <cstdint>
#include <string>
#include <vector>

namespace oracle::rsa {

using Bytes = std::vector<uint8_t>;

struct Key {
    std::string n, e, d, p, q, dP, dQ, qInv;  // hexadecimal; empty when absent
};

// A new key from OpenSSL's generator; ok false on failure.
bool generate(int bits, unsigned long e, Key *key);

// Raw RSA: in^e mod n (public) and in^d mod n (private); in is k bytes or
// fewer.  Results are k bytes; empty on failure.
Bytes raw_public(const Key &key, const Bytes &in);
Bytes raw_private(const Key &key, const Bytes &in);

// PKCS #1 v1.5 signatures; digest is an OpenSSL name ("SHA256", "SHA1", ...).
Bytes sign_pkcs1(const Key &key, const std::string &digest, const Bytes &message);
bool verify_pkcs1(const Key &key, const std::string &digest, const Bytes &message, const Bytes &signature);

// RSASSA-PSS with salt length equal to the digest length and MGF1 over the same digest.
Bytes sign_pss(const Key &key, const std::string &digest, const Bytes &message);
bool verify_pss(const Key &key, const std::string &digest, const Bytes &message, const Bytes &signature);

// RSAES-OAEP (RFC 8017 form, empty label, MGF1 with the same digest).
Bytes encrypt_oaep(const Key &key, const std::string &digest, const Bytes &message);
Bytes decrypt_oaep(const Key &key, const std::string &digest, const Bytes &ciphertext);

// RSAES-PKCS1-v1_5.
Bytes encrypt_pkcs1(const Key &key, const Bytes &message);
Bytes decrypt_pkcs1(const Key &key, const Bytes &ciphertext);

// OpenSSL's consistency check of a full private key (with CRT values).
bool check_private_key(const Key &key);

}  // namespace oracle::rsa

#endif
