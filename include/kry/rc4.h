/*
 * kry - RC4 stream cipher.  Encryption and decryption are the same call.
 */
#ifndef KRY_RC4_H
#define KRY_RC4_H

#include <stdint.h>
#include <kry/export.h>

KRY_BEGIN_DECLS

typedef struct RC4_UNIT {
    uint32_t i;
    uint32_t j;
    uint32_t S[256]; /* state entries 0..255 */
} RC4_UNIT;

KRY_API RC4_UNIT *new_RC4_UNIT(void);
KRY_API void clean_RC4_UNIT(RC4_UNIT *unit);
KRY_API void free_RC4_UNIT(RC4_UNIT *unit);
KRY_API uint32_t init_RC4(RC4_UNIT *unit, const uint8_t *key, int32_t key_length);
KRY_API uint32_t do_RC4(RC4_UNIT *unit, const uint8_t *in, uint32_t length, uint8_t *out);

KRY_END_DECLS

#endif /* KRY_RC4_H */
