/**
 * @file kry/hmac.h
 * @brief HMAC (FIPS 198, RFC 2104) over any digest of the registry.
 *
 * An HMAC identifier is a digest identifier with bit 28 set
 * (KRY_HMAC(KRY_SHA256) == 0x15000300).  init_HMAC takes the digest
 * identifier.  After init the unit hashes any number of messages under the
 * same key: each update after a final starts a new message.
 *
 * The digests refused in proven mode (MD5, SHA-224, MDC-2) are refused here
 * too.  Functions return 0 for success, otherwise an error word.
 */
#ifndef KRY_HMAC_H
#define KRY_HMAC_H

#include <stdint.h>
#include <kry/export.h>
#include <kry/digest.h>

KRY_BEGIN_DECLS

/** The HMAC identifier of a digest identifier (bit 28 set). */
#define KRY_HMAC(digest_id) ((digest_id) | 0x10000000u)

/** An HMAC unit: one digest and key, any number of messages. */
typedef struct HMAC_UNIT {
    uint32_t hmac_id;          /**< digest identifier | 0x10000000 */
    DIGEST_UNIT *digest;       /**< owned */
    void *inner;               /**< owned: digest state after the inner pad block */
    void *outer;               /**< owned: digest state after the outer pad block */
    uint32_t state_size;       /**< bytes of each snapshot */
    uint8_t key_block[128];    /**< the key (or its digest), zero-filled */
    uint32_t key_length;       /**< meaningful bytes in key_block */
    uint32_t phase;            /**< 1 inner loaded, 2 data absorbed, 3 finished */
    uint32_t bound;            /**< 0xFFFFFFFF once init_HMAC has run */
    uint8_t proven;            /**< from new_HMAC_UNIT_EX(); passed to the digest unit */
    uint8_t reserved[3];       /**< always zero */
} HMAC_UNIT;

/** Allocates an unbound HMAC unit.
 *  @return the unit, or NULL; release it with free_HMAC_UNIT(). */
KRY_API HMAC_UNIT *new_HMAC_UNIT(void);
/** Allocates an unbound HMAC unit with a proven flag, handed on to its
 *  digest unit (see new_DIGEST_UNIT_EX()).
 *  @param proven the flag.
 *  @return the unit, or NULL; release it with free_HMAC_UNIT(). */
KRY_API HMAC_UNIT *new_HMAC_UNIT_EX(uint8_t proven);
/** Wipes the key material and releases the digest unit and snapshots; the
 *  unit may be set up again.
 *  @param unit the unit (NULL is ignored). */
KRY_API void clean_HMAC_UNIT(HMAC_UNIT *unit);
/** Cleans and frees a unit.
 *  @param unit the unit (NULL is ignored). */
KRY_API void free_HMAC_UNIT(HMAC_UNIT *unit);
/** Binds the unit to a digest and a key (a key longer than the digest's
 *  block is hashed first).
 *  @param unit       the unit.
 *  @param digest_id  a digest identifier (#KRY_SHA256, ...), not an HMAC one.
 *  @param key        the key (copied).
 *  @param key_length bytes at @p key.
 *  @return 0; #KRY_ERR_NOT_PROVEN; an error word. */
KRY_API uint32_t init_HMAC(HMAC_UNIT *unit, uint32_t digest_id, const uint8_t *key, uint32_t key_length);
/** Feeds message bytes; the first update after a final starts a new message.
 *  @param unit   a unit set up by init_HMAC().
 *  @param data   message bytes.
 *  @param length bytes at @p data.
 *  @return 0 or an error word. */
KRY_API uint32_t update_HMAC(HMAC_UNIT *unit, const uint8_t *data, uint32_t length);
/** Writes the MAC of the message fed since the last final.
 *  @param unit       a unit set up by init_HMAC().
 *  @param out        receives the MAC (the digest length).
 *  @param out_length receives the MAC length.
 *  @return 0 or an error word. */
KRY_API uint32_t final_HMAC(HMAC_UNIT *unit, uint8_t *out, uint32_t *out_length);
/** Computes an HMAC in one call.
 *  @param digest_id  a digest identifier.
 *  @param key        the key.
 *  @param key_length bytes at @p key.
 *  @param data       the message.
 *  @param length     bytes at @p data.
 *  @param out        receives the MAC.
 *  @param out_length receives the MAC length.
 *  @return 0; #KRY_ERR_NOT_PROVEN; an error word. */
KRY_API uint32_t HMac(uint32_t digest_id, const uint8_t *key, uint32_t key_length, const uint8_t *data,
                      uint32_t length, uint8_t *out, uint32_t *out_length);
/** The name of an HMAC identifier: "HMAC_" and the digest name.
 *  @param hmac_id an HMAC identifier (KRY_HMAC(digest)).
 *  @return a new buffer (release it with lum_free()), or NULL when the
 *          identifier has no bit 28 or an unknown digest. */
KRY_API char *getHMAC_name(uint32_t hmac_id);

KRY_END_DECLS

#endif /* KRY_HMAC_H */
