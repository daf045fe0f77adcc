/*
 * Hashing with kry: the one-shot Digest() call and the streaming
 * DIGEST_UNIT.  Prints SHA-256 and HAS-160 of "abc" and checks them against
 * the published values (FIPS 180-2 appendix B.1; the HAS-160 test vectors).
 *
 * Both digests are approved, so this program stays in proven mode.
 */
#include <kry.h>

#include <stdio.h>
#include <string.h>

static void to_hex(const uint8_t *bytes, uint32_t length, char *text)
{
    static const char digits[] = "0123456789abcdef";
    for (uint32_t i = 0; i < length; i++) {
        text[2 * i] = digits[bytes[i] >> 4];
        text[2 * i + 1] = digits[bytes[i] & 15];
    }
    text[2 * length] = '\0';
}

static int check(const char *name, const uint8_t *digest, uint32_t length, const char *expected)
{
    char text[2 * KRY_MAX_DIGEST_LENGTH + 1];
    to_hex(digest, length, text);
    printf("%-8s %s\n", name, text);
    if (strcmp(text, expected) != 0) {
        fprintf(stderr, "%s: expected %s\n", name, expected);
        return 1;
    }
    return 0;
}

int main(void)
{
    const uint8_t abc[] = {'a', 'b', 'c'};
    const char *sha256_abc = "ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad";
    const char *has160_abc = "975e810488cf2a3d49838478124afce4b1c78804";
    int failures = 0;

    /* One call: identifier, message, output buffer and its length. */
    uint8_t out[KRY_MAX_DIGEST_LENGTH];
    uint32_t out_len = 0;
    uint32_t err = Digest(KRY_SHA256, abc, sizeof abc, out, &out_len);
    if (err != 0) {
        GetErrorCode(err); /* prints the library, function and reason texts */
        return 1;
    }
    failures += check("SHA-256", out, out_len, sha256_abc);

    /* Streaming: bind the unit to an algorithm, feed pieces, finish. */
    DIGEST_UNIT *unit = new_DIGEST_UNIT();
    if (unit == NULL)
        return 1;
    err = init_Digest(unit, KRY_HAS160);
    if (err == 0)
        err = update_Digest(unit, abc, 1);      /* "a" */
    if (err == 0)
        err = update_Digest(unit, abc + 1, 2);  /* "bc" */
    if (err == 0)
        err = final_Digest(unit, out, &out_len);
    if (err != 0) {
        GetErrorCode(err);
        free_DIGEST_UNIT(unit);
        return 1;
    }
    failures += check("HAS-160", out, out_len, has160_abc);

    /* final_Digest leaves the unit ready for the next message. */
    err = update_Digest(unit, abc, sizeof abc);
    if (err == 0)
        err = final_Digest(unit, out, &out_len);
    free_DIGEST_UNIT(unit);
    if (err != 0) {
        GetErrorCode(err);
        return 1;
    }
    failures += check("HAS-160", out, out_len, has160_abc);

    return failures == 0 ? 0 : 1;
}
