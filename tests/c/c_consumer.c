/* A C99 client of the public headers: compiles with -std=c99 -pedantic and
 * links against the shared library only through exported names. */
#include <kry.h>

#include <stdio.h>
#include <string.h>

int main(void)
{
    static const char expected[] =
        "BA7816BF8F01CFEA414140DE5DAE2223B00361A396177A9CB410FF61F20015AD";
    uint8_t out[KRY_MAX_DIGEST_LENGTH];
    uint32_t len = 0;
    char hex[2 * KRY_MAX_DIGEST_LENGTH + 1];
    uint32_t i;
    DIGEST_UNIT *unit;

    if (Digest(KRY_SHA256, (const uint8_t *)"abc", 3, out, &len) != 0 || len != 32)
        return 1;
    for (i = 0; i < len; i++)
        sprintf(hex + 2 * i, "%02X", out[i]);
    if (strcmp(hex, expected) != 0)
        return 2;

    unit = new_DIGEST_UNIT();
    if (unit == NULL || init_Digest(unit, KRY_HAS160) != 0)
        return 3;
    if (update_Digest(unit, (const uint8_t *)"abc", 3) != 0 || final_Digest(unit, out, &len) != 0)
        return 4;
    free_DIGEST_UNIT(unit);
    if (len != 20 || out[0] != 0x97 || out[19] != 0x04)
        return 5;

    if (strcmp(get_CryptoVersion(), "5.0.9") != 0 || IsProven() != 1 || statusisproven != 1)
        return 6;
    /* The context API: a stored ARIA-128 key by alias (RFC 5794 A.1). */
    {
        static const uint8_t key[16] = {0x00, 0x01, 0x02, 0x03, 0x04, 0x05, 0x06, 0x07,
                                        0x08, 0x09, 0x0a, 0x0b, 0x0c, 0x0d, 0x0e, 0x0f};
        static const uint8_t pt[16] = {0x00, 0x11, 0x22, 0x33, 0x44, 0x55, 0x66, 0x77,
                                       0x88, 0x99, 0xaa, 0xbb, 0xcc, 0xdd, 0xee, 0xff};
        static const uint8_t ct[16] = {0xd7, 0x18, 0xfb, 0xd6, 0xab, 0x64, 0x4c, 0x73,
                                       0x9d, 0xa9, 0x5f, 0x3b, 0xe6, 0x45, 0x17, 0x78};
        KRY_Context *ctx = NULL;
        KRY_CIPHER *cipher = NULL;
        uint8_t buf[64];
        uint32_t n = 0, m = 0;
        if (KRY_Context_new(&ctx) != KRY_R_NOT_INITIALIZED || KRY_Initialize() != KRY_R_OK)
            return 7;
        if (KRY_Context_new(&ctx) != KRY_R_OK || KRY_CIPHER_new(ctx, &cipher) != KRY_R_OK)
            return 8;
        if (KRY_SymKeyImport(ctx, "aria", key, sizeof key) != KRY_R_OK)
            return 9;
        if (KRY_EncryptInit(ctx, cipher, KRY_CIPHER_ARIA128, KRY_MODE_BYTE_ECB | KRY_MODE_BYTE_NOPAD, "aria",
                            NULL) != KRY_R_OK ||
            KRY_EncryptUpdate(ctx, cipher, buf, sizeof buf, &n, pt, sizeof pt) != KRY_R_OK ||
            KRY_EncryptFinal(ctx, cipher, buf + n, sizeof buf - n, &m) != KRY_R_OK)
            return 10;
        if (n + m != 16 || memcmp(buf, ct, 16) != 0)
            return 11;
        if (KRY_CIPHER_free(ctx, cipher) != KRY_R_OK || KRY_Context_free(ctx) != KRY_R_OK)
            return 12;
    }
    puts("c_consumer: ok");
    return 0;
}
