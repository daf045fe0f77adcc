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
    puts("c_consumer: ok");
    return 0;
}
