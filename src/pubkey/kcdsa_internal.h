// Internal entry points of the KCDSA unit, used by the unit's own tests.
// Nothing here is exported.
#ifndef KRY_SRC_PUBKEY_KCDSA_INTERNAL_H
#define KRY_SRC_PUBKEY_KCDSA_INTERNAL_H

#include <kry/kcdsa.h>

#include <cstdint>

namespace kry {

// The HAS-160 expansion of the parameter generation: ceil(bits / 8) bytes
// into out.  0 or 1.
uint32_t kcdsa_expand(const uint8_t *seed, uint32_t seed_length, uint8_t *out, int32_t bits);

// sign_KCDSA with a caller-chosen k (0 < k < q) instead of a drawn one
// (known-answer tests).
uint32_t kcdsa_sign_with_k(KCDSA *unit, const BIGINT *k, uint8_t *r, uint32_t *r_length, uint8_t *s,
                           uint32_t *s_length);

}  // namespace kry

#endif  // KRY_SRC_PUBKEY_KCDSA_INTERNAL_H
