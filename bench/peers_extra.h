// The optional peer libraries of the benchmarks (libgcrypt, nettle with
// GMP, Crypto++, Botan 2), behind one interface of plain byte strings: no
// type of any peer appears here, so this header sits next to kry's own.
// Each library lives in a source file of its own (peer_gcrypt.cpp,
// peer_nettle.cpp, peer_cryptopp.cpp, peer_botan.cpp), compiled only when
// CMake found it (KRY_BENCH_HAVE_GCRYPT, ..._NETTLE, ..._CRYPTOPP, ..._BOTAN).
#ifndef KRY_BENCH_PEERS_EXTRA_H
#define KRY_BENCH_PEERS_EXTRA_H

#include "peers_pk.h"  // RsaComponents, DsaComponents (plain byte strings)

#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

namespace peers {

enum class Hash { SHA1, SHA224, SHA256, SHA384, SHA512, MD5 };

enum class Block { AES128, AES192, AES256, ARIA128, ARIA192, ARIA256, SEED, DES, DES_EDE3, Blowfish, RC2 };

// CBC without padding over whole blocks, or CTR with the whole block as a
// big-endian counter.  Every message starts again from the IV with the key
// schedule kept.
enum class Mode { CBC, CTR };

// One unit of work on a message, made once per benchmark and reused:
// a digest (out: the digest), an encryption (out: length bytes) or a MAC
// (out: the tag, at most 64 bytes).  False on a library failure.
class Op {
public:
    virtual ~Op() = default;
    virtual bool run(const uint8_t *in, std::size_t length, uint8_t *out) = 0;
};

// r = a^p mod m on operands loaded once (big-endian, m odd).
class ModExpOp {
public:
    virtual ~ModExpOp() = default;
    virtual bool run() = 0;
    virtual Bytes result() const = 0;  // big-endian without leading zeros
};

// A signature key held for the run.  RSA: RSASSA-PKCS1-v1_5 with SHA-256,
// the signature as long as the modulus.  DSA: SHA-1, the signature r || s,
// each as long as q.
class SignOp {
public:
    virtual ~SignOp() = default;
    virtual bool sign(const Bytes &message, Bytes *signature) = 0;
    virtual bool verify(const Bytes &message, const Bytes &signature) = 0;
};

// What one library offers; a null function or a null result means the
// library does not have that algorithm.
struct Library {
    const char *name;
    // one_shot: the library's one-call (or cheapest per-message) digest
    // instead of a context reused from message to message.
    Op *(*hasher)(Hash hash, bool one_shot);
    // rc2_bits: RC2's effective key bits.
    Op *(*cipher)(Block block, Mode mode, const uint8_t *key, std::size_t key_length, const uint8_t *iv,
                  int rc2_bits);
    // The key stream runs on from message to message.
    Op *(*rc4)(const uint8_t *key, std::size_t key_length);
    // Keyed once; every message restarts from the key's pad states.
    Op *(*hmac_sha256)(const uint8_t *key, std::size_t key_length);
    ModExpOp *(*mod_exp)(const Bytes &a, const Bytes &p, const Bytes &m);
    SignOp *(*rsa)(const RsaComponents &key);
    // One key generation, e = 65537; false on failure.
    bool (*rsa_keygen)(int bits);
    SignOp *(*dsa)(const DsaComponents &key);
};

// The libraries this build has, in a fixed order.
std::vector<const Library *> libraries();

const Library *gcrypt_library();
const Library *nettle_library();
const Library *cryptopp_library();
const Library *botan_library();

// Big-endian helpers for the peers.
Bytes strip_zeros(const Bytes &b);
Bytes pad_left(const Bytes &b, std::size_t length);  // empty when b does not fit

}  // namespace peers

#endif  // KRY_BENCH_PEERS_EXTRA_H
