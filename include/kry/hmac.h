/*
 * kry - HMAC (FIPS 198, RFC 2104) over any digest of the registry.
 *
 * An HMAC identifier is a digest identifier with bit 28 set
 * (KRY_HMAC(KRY_SHA256) == 0x15000300).  init_HMAC takes the digest
 * identifier.  After init the unit hashes any number of messages under the
 * same key: each update after a final starts a new message.
 */
#ifndef KRY_HMAC_H
#define KRY_HMAC_H

#include <stdint.h>
#include <kry/export.h>
#include <kry/digest.h>

KRY_BEGIN_DECLS

#define KRY_HMAC(digest_id) ((digest_id) | 0x10000000u)

typedef struct HMAC_UNIT {
    uint32_t hmac_id;          /* digest identifier | 0x10000000 */
    DIGEST_UNIT *digest;       /* owned */
    void *inner;               /* owned: digest state after the inner pad block */
    void *outer;               /* owned: digest state after the outer pad block */
    uint32_t state_size;       /* bytes of each snapshot */
    uint8_t key_block[128];    /* the key (or its digest), zero-filled */
    uint32_t key_length;       /* meaningful bytes in key_block */
    uint32_t phase;            /* 1 inner loaded, 2 data absorbed, 3 finished */
    uint32_t bound;            /* 0xFFFFFFFF once init_HMAC has run */
    uint8_t proven;
    uint8_t reserved[3];
} HMAC_UNIT;

KRY_API HMAC_UNIT *new_HMAC_UNIT(void);
KRY_API HMAC_UNIT *new_HMAC_UNIT_EX(uint8_t proven);
KRY_API void clean_HMAC_UNIT(HMAC_UNIT *unit);
KRY_API void free_HMAC_UNIT(HMAC_UNIT *unit);
KRY_API uint32_t init_HMAC(HMAC_UNIT *unit, uint32_t digest_id, const uint8_t *key, uint32_t key_length);
KRY_API uint32_t update_HMAC(HMAC_UNIT *unit, const uint8_t *data, uint32_t length);
KRY_API uint32_t final_HMAC(HMAC_UNIT *unit, uint8_t *out, uint32_t *out_length);
KRY_API uint32_t HMac(uint32_t digest_id, const uint8_t *key, uint32_t key_length, const uint8_t *data,
                      uint32_t length, uint8_t *out, uint32_t *out_length);
/* "HMAC_" + digest name in a new buffer (release with lum_free), or NULL. */
KRY_API char *getHMAC_name(uint32_t hmac_id);

KRY_END_DECLS

#endif /* KRY_HMAC_H */
