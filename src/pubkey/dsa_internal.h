// Internal entries of the DSA unit used by the context layer and the tests.
#ifndef KRY_SRC_PUBKEY_DSA_INTERNAL_H
#define KRY_SRC_PUBKEY_DSA_INTERNAL_H

#include <kry/dsa.h>

namespace kry {

// verify_DSA with the comparison result: *match becomes 1 when v equals r
// (equal minimal length and bytes), else 0.  Returns what verify_DSA returns.
// With retry_trimmed_s, a failed comparison on an s of even length is
// repeated (same digest) on s without its last byte: the signer reports an
// odd-length s one byte longer, so such an s carries one byte too many.
uint32_t dsa_verify_result(DSA *unit, const uint8_t *r, uint32_t r_length, const uint8_t *s, uint32_t s_length,
                           int *match, bool retry_trimmed_s = false);

// sign_DSA with a caller-chosen k (0 < k < q) instead of one drawn from the
// generator; used for known-answer tests.  Same failure words as sign_DSA.
uint32_t dsa_sign_with_k(DSA *unit, const BIGINT *k, uint8_t *r, uint32_t *r_length, uint8_t *s,
                         uint32_t *s_length);

}  // namespace kry

#endif  // KRY_SRC_PUBKEY_DSA_INTERNAL_H
