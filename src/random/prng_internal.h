// Internal interface of the random generator: the G functions, one
// generator step, and the process-wide entropy pool.  Nothing here is
// exported; the tests reach it through the static library.
#ifndef KRY_SRC_RANDOM_PRNG_INTERNAL_H
#define KRY_SRC_RANDOM_PRNG_INTERNAL_H

#include <kry/bigint.h>
#include <kry/prng.h>

#include <cstdint>

namespace kry::prng {

// Size of the entropy pool and of its digest.
inline constexpr int32_t kPoolBytes = 1023;
inline constexpr uint32_t kPoolDigestBytes = 20;

// The G constant t of FIPS 186-2 (the SHA-1 initial hash value), big-endian.
inline constexpr uint8_t kT[20] = {0x67, 0x45, 0x23, 0x01, 0xEF, 0xCD, 0xAB, 0x89, 0x98, 0xBA,
                                   0xDC, 0xFE, 0x10, 0x32, 0x54, 0x76, 0xC3, 0xD2, 0xE1, 0xF0};

// Binds the G algorithm of a unit: 0, -2 (gate), -1 (not approved in proven
// mode) or 0x0D020004 (unknown identifier).
uint32_t prng_select_G(PRNG_UNIT *unit, uint32_t id);

// Hash G: XVAL written as ceil(b/8) big-endian bytes at the front of a
// zero-filled 64-byte block, compressed on the unit's persistent hash state;
// the result (20, 32, 48 or 64 bytes) goes to x and its length to x_length.
// 0, or 1 when the unit has no hash G or XVAL does not fit the block.
uint32_t prng_G_hash(PRNG_UNIT *unit, const BIGINT *xval, int32_t b, uint8_t x[64], uint32_t *x_length);

// Block-cipher G: the five-round construction over ARIA or SEED with the
// constant t; x receives 20 bytes.  0, or 1 without a cipher G.
uint32_t prng_G_cipher(PRNG_UNIT *unit, const uint8_t t[20], const BIGINT *xval, int32_t b, uint8_t x[20]);

// One FIPS 186-2 step: writes the block (out must hold 64 bytes) and its
// length (the digest length, or 16 for a cipher G).
uint32_t prng_next_block(PRNG_UNIT *unit, uint8_t *out, uint32_t *length);

// Block length of the G identifier (20, 32, 48, 64 or 16), 0 for none.
uint32_t prng_block_length(uint32_t id);

// Mixes count bytes into the entropy pool and adds estimate to the entropy
// estimate (below 32.0).  Takes the pool's lock.
void pool_add(const uint8_t *bytes, int32_t count, double estimate);

// A copy of the entropy pool, for the tests.
struct PoolView {
    uint8_t bytes[kPoolBytes];
    uint8_t digest[kPoolDigestBytes];
    int32_t index;
    int32_t fill;
    uint32_t counter[2];
    double entropy;
    uint32_t collected;
};
void pool_snapshot(PoolView &view);

// How many times the entropy collection has run in this process (at most
// once).
uint32_t collection_runs();

}  // namespace kry::prng

#endif  // KRY_SRC_RANDOM_PRNG_INTERNAL_H
