/*
 * kry - CBC-MAC over any block cipher of the block-cipher unit, and DES-MAC
 * (ANSI X9.9 / ISO/IEC 9797-1 algorithm 1).  Both are refused in proven
 * mode.  Data that arrives in whole blocks gives the textbook CBC-MAC with a
 * zero IV; other splits are combined as the unit documents.
 */
#ifndef KRY_CBCMAC_H
#define KRY_CBCMAC_H

#include <stdint.h>
#include <kry/export.h>
#include <kry/blockcipher.h>

KRY_BEGIN_DECLS

typedef struct CBC_MAC_UNIT {
    BLOCK_CIPHER_UNIT *cipher; /* owned */
    uint8_t chain[64];         /* chaining value (first block length bytes used) */
    uint8_t pending[64];       /* pending block */
    int32_t pending_count;
} CBC_MAC_UNIT;

KRY_API CBC_MAC_UNIT *new_CBC_MAC_UNIT(void);
KRY_API void clean_CBC_MAC_UNIT(CBC_MAC_UNIT *unit);
KRY_API void free_CBC_MAC_UNIT(CBC_MAC_UNIT *unit);
KRY_API uint32_t init_CBC_MAC(CBC_MAC_UNIT *unit, uint32_t cipher_id, const uint8_t *key);
KRY_API uint32_t update_CBC_MAC(CBC_MAC_UNIT *unit, const uint8_t *data, uint32_t length);
KRY_API uint32_t final_CBC_MAC(CBC_MAC_UNIT *unit, uint8_t *out, uint32_t *out_length);
KRY_API uint32_t CBC_MAC(uint32_t cipher_id, const uint8_t *key, const uint8_t *data, uint32_t length,
                         uint8_t *out, uint32_t *out_length);
KRY_API uint32_t DES_MAC(const uint8_t *key, const uint8_t *data, uint32_t length, uint8_t *out);

KRY_END_DECLS

#endif /* KRY_CBCMAC_H */
