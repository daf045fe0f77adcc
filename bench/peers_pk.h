// OpenSSL's side of the public-key benchmark, behind plain byte-string
// functions: no OpenSSL type appears here, so this header sits next to kry's
// own, whose type names (RSA, DSA) clash with OpenSSL's.
#ifndef KRY_BENCH_PEERS_PK_H
#define KRY_BENCH_PEERS_PK_H

#include <cstdint>
#include <vector>

namespace peers {

using Bytes = std::vector<uint8_t>;

// Components of an RSA private key, big-endian without leading zeros.
struct RsaComponents {
    Bytes n, e, d, p, q, dp, dq, qinv;
};

// DSA domain parameters and key pair, big-endian without leading zeros.
struct DsaComponents {
    Bytes p, q, g, x, y;
};

// An OpenSSL key (EVP_PKEY) with the digest it signs with and one reused
// EVP_MD_CTX.
class Key;

// A new RSA key of bits bits (e = 65537) for PKCS #1 v1.5 with SHA-256;
// its components go to out.  Null on failure.
Key *generate_rsa(int bits, RsaComponents *out);

// New DSA domain parameters of p_bits / q_bits (OpenSSL's FIPS 186-4
// generation, with the digest it picks for the size of q) and a key pair,
// signing with SHA-1; the values go to out.  Null on failure.
Key *generate_dsa(int p_bits, int q_bits, DsaComponents *out);

void free_key(Key *key);

// Loads the components into an OpenSSL key and runs OpenSSL's full key
// check (primality of p and q, n = pq, d, CRT values) and a sign/verify
// round with it; false when any of them fails.
bool rsa_key_valid(const RsaComponents &key);

// One RSA key generation (2048 bits or as asked, e = 65537); false on failure.
bool rsa_keygen(int bits);

// RSASSA-PKCS1-v1_5 / SHA-256.
bool rsa_sign(Key *key, const Bytes &message, Bytes *signature);
bool rsa_verify(Key *key, const Bytes &message, const Bytes &signature);

// DSA / SHA-1; the signature as the DER SEQUENCE OpenSSL produces and reads.
bool dsa_sign(Key *key, const Bytes &message, Bytes *der);
bool dsa_verify(Key *key, const Bytes &message, const Bytes &der);

// Conversion between (r, s), big-endian unsigned, and the DER form.
bool dsa_der_to_rs(const Bytes &der, Bytes *r, Bytes *s);
bool dsa_rs_to_der(const Bytes &r, const Bytes &s, Bytes *der);

}  // namespace peers

#endif  // KRY_BENCH_PEERS_PK_H
