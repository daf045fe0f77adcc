/**
 * @file kry/cbcmac.h
 * @brief CBC-MAC over any block cipher of the block-cipher unit, and DES-MAC
 * (ANSI X9.9 / ISO/IEC 9797-1 algorithm 1).  Both are refused in proven
 * mode.  Data that arrives in whole blocks gives the textbook CBC-MAC with a
 * zero IV; other splits are combined as the unit documents.
 *
 * Functions return 0 for success, #KRY_ERR_NOT_PROVEN in proven mode,
 * otherwise an error word (library 0x13 CBC-MAC, 0x14 DES-MAC).
 */
#ifndef KRY_CBCMAC_H
#define KRY_CBCMAC_H

#include <stdint.h>
#include <kry/export.h>
#include <kry/blockcipher.h>

KRY_BEGIN_DECLS

/** A CBC-MAC unit: a block cipher in ECB chained from a zero block. */
typedef struct CBC_MAC_UNIT {
    BLOCK_CIPHER_UNIT *cipher; /**< owned */
    uint8_t chain[64];         /**< chaining value (first block length bytes used) */
    uint8_t pending[64];       /**< pending block */
    int32_t pending_count;     /**< bytes in pending */
} CBC_MAC_UNIT;

/** Allocates a CBC-MAC unit.
 *  @return the unit, or NULL; release it with free_CBC_MAC_UNIT(). */
KRY_API CBC_MAC_UNIT *new_CBC_MAC_UNIT(void);
/** Wipes the chaining value and pending bytes and releases the cipher.
 *  @param unit the unit (NULL is ignored). */
KRY_API void clean_CBC_MAC_UNIT(CBC_MAC_UNIT *unit);
/** Cleans and frees a unit.
 *  @param unit the unit (NULL is ignored). */
KRY_API void free_CBC_MAC_UNIT(CBC_MAC_UNIT *unit);
/** Sets the unit up with a cipher and key; the chaining value starts at zero.
 *  @param unit      the unit.
 *  @param cipher_id a block-cipher base identifier (#KRY_AES_128, ...).
 *  @param key       the key (the cipher's key length).
 *  @return 0; #KRY_ERR_NOT_PROVEN; an error word. */
KRY_API uint32_t init_CBC_MAC(CBC_MAC_UNIT *unit, uint32_t cipher_id, const uint8_t *key);
/** Feeds message bytes.  Whole blocks chain as textbook CBC; the bytes of a
 *  block split over several calls are combined with the chaining value by
 *  the unit's own rule, so such results depend on the split.
 *  @param unit   a unit set up by init_CBC_MAC().
 *  @param data   message bytes (may be NULL when @p length is 0).
 *  @param length bytes at @p data.
 *  @return 0; #KRY_ERR_NOT_PROVEN; an error word. */
KRY_API uint32_t update_CBC_MAC(CBC_MAC_UNIT *unit, const uint8_t *data, uint32_t length);
/** Writes the MAC: the chaining value, after a zero-padded pending block.
 *  @param unit       a unit set up by init_CBC_MAC().
 *  @param out        receives the MAC (one block).
 *  @param out_length receives the MAC length; may be NULL.
 *  @return 0; #KRY_ERR_NOT_PROVEN; an error word. */
KRY_API uint32_t final_CBC_MAC(CBC_MAC_UNIT *unit, uint8_t *out, uint32_t *out_length);
/** Computes a CBC-MAC in one call.
 *  @param cipher_id  a block-cipher base identifier.
 *  @param key        the key.
 *  @param data       the message.
 *  @param length     bytes at @p data.
 *  @param out        receives the MAC (one block).
 *  @param out_length receives the MAC length.
 *  @return 0; #KRY_ERR_NOT_PROVEN; an error word. */
KRY_API uint32_t CBC_MAC(uint32_t cipher_id, const uint8_t *key, const uint8_t *data, uint32_t length,
                         uint8_t *out, uint32_t *out_length);
/** Computes a DES-MAC (FIPS 113 / ANSI X9.9; ISO/IEC 9797-1 MAC algorithm 1
 *  with zero padding).
 *  @param key    the 8-byte DES key.
 *  @param data   the message (not empty).
 *  @param length bytes at @p data.
 *  @param out    receives the 8-byte MAC.
 *  @return 0; #KRY_ERR_NOT_PROVEN; an error word. */
KRY_API uint32_t DES_MAC(const uint8_t *key, const uint8_t *data, uint32_t length, uint8_t *out);

KRY_END_DECLS

#endif /* KRY_CBCMAC_H */
