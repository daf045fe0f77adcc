// PKCS #1 (RFC 8017) message encodings used by the RSA unit: EMSA-PKCS1-v1_5,
// EMSA-PSS, EME-OAEP (the PKCS #1 v2.0 and v2.1 block forms), RSAES-PKCS1-v1_5
// and the mask generation function MGF1.
#ifndef KRY_SRC_PUBKEY_RSA_PADDING_H
#define KRY_SRC_PUBKEY_RSA_PADDING_H

#include <stdint.h>
#include <kry/export.h>
#include <kry/bigint.h>
#include <kry/digest.h>

#include <kry/rsa.h>

#ifdef __cplusplus
namespace kry {

// MGF1 (RFC 8017 B.2.1) with the unit's own digest.
uint32_t mgf1_RSA(uint8_t *out, uint32_t out_length, const uint8_t *seed, uint32_t seed_length,
                  DIGEST_UNIT *unit);

// EMSA-PSS encoding with a caller-supplied salt of salt_length bytes (known-answer tests).
uint32_t pss_encode_with_salt(RSA *rsa, uint8_t *em, uint32_t em_length, const uint8_t *hash,
                              uint32_t h, int32_t salt_length, DIGEST_UNIT *unit,
                              const uint8_t *salt);

// EME-OAEP encoding with a caller-supplied seed of h bytes (known-answer tests).
uint32_t oaep_encode_with_seed(RSA *rsa, const uint8_t *m, uint32_t m_length, uint8_t *em,
                               uint32_t capacity, int32_t form, const uint8_t *seed);

} // namespace kry
#endif

#endif // KRY_SRC_PUBKEY_RSA_PADDING_H
