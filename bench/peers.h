// Peer implementations for the digest benchmark, behind plain byte-string
// functions: OpenSSL (EVP) and RHash types never appear here, so this header
// sits next to kry's own, whose type names clash with OpenSSL's.
#ifndef KRY_BENCH_PEERS_H
#define KRY_BENCH_PEERS_H

#include <cstddef>
#include <cstdint>

namespace peers {

// Algorithms that have a peer.  MDC-2 has none: the system OpenSSL is built
// without it.
enum class Alg { SHA1, SHA224, SHA256, SHA384, SHA512, MD5, HAS160 };

// A reusable hashing context of one peer library and algorithm, created
// once and reused for every message, like kry's DIGEST_UNIT in the bench.
class Hasher;

// Returns null when the peer does not provide the algorithm.
Hasher *new_hasher(Alg alg);
void free_hasher(Hasher *hasher);

// Which library serves the hasher ("OpenSSL" or "RHash").
const char *library_name(const Hasher *hasher);

// Digest length in bytes.
std::size_t digest_length(const Hasher *hasher);

// One whole message: init, update over data, final into out (digest_length
// bytes).  Returns false on a library failure.
bool hash(Hasher *hasher, const uint8_t *data, std::size_t length, uint8_t *out);

// OpenSSL's one-call digest, EVP_Digest with the algorithm's EVP_MD (SHA-1,
// SHA-224, SHA-256); false when OpenSSL fails or has no such call here.
bool one_shot(Alg alg, const uint8_t *data, std::size_t length, uint8_t *out);

}  // namespace peers

#endif  // KRY_BENCH_PEERS_H
