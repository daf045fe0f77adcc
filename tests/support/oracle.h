// Reference implementations for differential tests, as plain byte-string
// functions.  OpenSSL and RHash types never appear here, so this header can
// be included next to kry's own.
#ifndef KRY_TEST_ORACLE_H
#define KRY_TEST_ORACLE_H

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace oracle {

using Bytes = std::vector<uint8_t>;

// OpenSSL message digest by OpenSSL name ("SHA1", "SHA224", "SHA256",
// "SHA384", "SHA512", "MD5"); empty on failure.
Bytes openssl_digest(const std::string &name, const uint8_t *data, size_t len);

// OpenSSL single-DES block encryption (ECB, one 8-byte block, key parity
// ignored); false on failure.
bool openssl_des_encrypt_block(const uint8_t key[8], const uint8_t in[8], uint8_t out[8]);

// SHA-512 compression function alone: runs it from the SHA-512 initial value
// over whole 128-byte blocks and returns H0..H7 big-endian (64 bytes).
Bytes openssl_sha512_compress(const Bytes &blocks);

// OpenSSL EVP cipher by name ("AES-128-CBC", "ARIA-256-CTR", "SEED-OFB",
// "DES-EDE3-CBC", "BF-CFB", "RC2-ECB", "RC4", ...), one call over the whole
// input; the legacy provider is loaded for the old ciphers.  padding selects
// PKCS #7 for ECB/CBC.  rc2_bits > 0 sets RC2's effective key bits (and the
// key length is taken from key.size()).  Empty optional on failure.
bool openssl_cipher(const std::string &name, const Bytes &key, const Bytes &iv, bool encrypt, bool padding,
                    const Bytes &in, Bytes &out, int rc2_bits = 0);

// OpenSSL HMAC over a digest name ("SHA256", "MD5", ...).
Bytes openssl_hmac(const std::string &digest, const Bytes &key, const Bytes &data);

// RHash HAS-160 digest (20 bytes).
Bytes rhash_has160(const uint8_t *data, size_t len);

// SHA-1 compression function alone: replaces h (H0..H4) by the compression
// of one 64-byte block on top of it.
void openssl_sha1_transform(uint32_t h[5], const uint8_t block[64]);

}  // namespace oracle

#endif
