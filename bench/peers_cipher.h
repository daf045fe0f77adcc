// OpenSSL's side of the cipher and MAC benchmark, behind plain byte-string
// functions: no OpenSSL type appears here, so this header sits next to kry's
// own, whose type names clash with OpenSSL's.
#ifndef KRY_BENCH_PEERS_CIPHER_H
#define KRY_BENCH_PEERS_CIPHER_H

#include <cstddef>
#include <cstdint>

namespace peers {

// What a cipher context does before each message.
enum class Restart {
    iv,           // reload the IV, keep the key schedule (block-cipher modes)
    key_and_iv,   // set key and IV again (key set-up measured per message)
    none,         // continue the stream (RC4)
};

// A reusable OpenSSL EVP cipher context: cipher fetched, key (and IV) set
// once; each message runs the restart, one update over the whole message and
// the final call.  Padding is off.
class Cipher;

// name is OpenSSL's ("AES-128-CBC", "ARIA-256-CTR", "DES-EDE3-CBC", "RC4",
// ...); the legacy provider is loaded for SEED, DES, Blowfish, RC2 and RC4.
// rc2_bits > 0 sets RC2's effective key bits.  iv may be null for ciphers
// without one.  Returns null when OpenSSL lacks the cipher or refuses the
// key.
Cipher *new_cipher(const char *name, const uint8_t *key, std::size_t key_length,
                   const uint8_t *iv, Restart restart, int rc2_bits = 0);
void free_cipher(Cipher *cipher);

// Encrypts one message into out (length bytes; whole blocks for block
// modes).  False on a library failure or an output of another length.
bool encrypt(Cipher *cipher, const uint8_t *in, std::size_t length, uint8_t *out);

// One-shot ECB encryption without padding of whole blocks (used to check
// kry's CTR for ciphers OpenSSL has no CTR mode for).
bool ecb_encrypt(const char *name, const uint8_t *key, std::size_t key_length, int rc2_bits,
                 const uint8_t *in, std::size_t length, uint8_t *out);

// A reusable OpenSSL HMAC context (EVP_MAC): key set once; each message
// re-initialises with the same key, updates and finishes.
class Mac;

// digest is OpenSSL's name ("SHA256", "SHA1").  Null on failure.
Mac *new_hmac(const char *digest, const uint8_t *key, std::size_t key_length);
void free_mac(Mac *mac);

// One message; out holds at least 64 bytes, *out_length receives the tag
// length.
bool mac(Mac *mac, const uint8_t *data, std::size_t length, uint8_t *out, std::size_t *out_length);

}  // namespace peers

#endif  // KRY_BENCH_PEERS_CIPHER_H
