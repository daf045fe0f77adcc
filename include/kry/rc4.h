/**
 * @file kry/rc4.h
 * @brief RC4 stream cipher.  Encryption and decryption are the same call.
 *
 * RC4 has no proven-mode check of its own.  Functions return 0 for success,
 * otherwise an error word.
 */
#ifndef KRY_RC4_H
#define KRY_RC4_H

#include <stdint.h>
#include <kry/export.h>

KRY_BEGIN_DECLS

/** The RC4 state. */
typedef struct RC4_UNIT {
    uint32_t i; /**< generator index i */
    uint32_t j; /**< generator index j */
    uint32_t S[256]; /**< state entries 0..255 */
} RC4_UNIT;

/** Allocates an RC4 unit.
 *  @return the unit, or NULL; release it with free_RC4_UNIT(). */
KRY_API RC4_UNIT *new_RC4_UNIT(void);
/** Wipes the state.
 *  @param unit the unit (NULL is ignored). */
KRY_API void clean_RC4_UNIT(RC4_UNIT *unit);
/** Wipes and frees a unit.
 *  @param unit the unit (NULL is ignored). */
KRY_API void free_RC4_UNIT(RC4_UNIT *unit);
/** Runs the key schedule.
 *  @param unit       the unit.
 *  @param key        the key.
 *  @param key_length bytes at @p key, at least 1.
 *  @return 0, or an error word for a null argument or a length below 1. */
KRY_API uint32_t init_RC4(RC4_UNIT *unit, const uint8_t *key, int32_t key_length);
/** Enciphers or deciphers: @p out = @p in XOR keystream.  @p in and @p out
 *  may be the same buffer.
 *  @param unit   a keyed unit.
 *  @param in     the input.
 *  @param length bytes, at least 1.
 *  @param out    receives @p length bytes.
 *  @return 0, or an error word for a null argument or a length of 0. */
KRY_API uint32_t do_RC4(RC4_UNIT *unit, const uint8_t *in, uint32_t length, uint8_t *out);

KRY_END_DECLS

#endif /* KRY_RC4_H */
