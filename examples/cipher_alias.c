/*
 * Enciphering with a key kept inside a kry context, named by an alias.
 *
 * 1. ARIA-128 in ECB without padding under an imported key, checked against
 *    the RFC 5794 appendix A.1 vector.
 * 2. ARIA-128 in CBC with PKCS #7 padding under a freshly generated key,
 *    fed in pieces, then deciphered back.
 *
 * ARIA and SEED are approved, so this program stays in proven mode.
 */
#include <kry.h>

#include <stdio.h>
#include <string.h>

#define CHECK(call)                                                        \
    do {                                                                   \
        uint32_t rc_ = (call);                                             \
        if (rc_ != KRY_R_OK) {                                             \
            fprintf(stderr, "%s:%d: %s returned %u\n", __FILE__, __LINE__, \
                    #call, (unsigned)rc_);                                 \
            return 1;                                                      \
        }                                                                  \
    } while (0)

static int run(KRY_Context *ctx, KRY_CIPHER *enc, KRY_CIPHER *dec)
{
    /* RFC 5794, appendix A.1 */
    const uint8_t key[16] = {0x00, 0x01, 0x02, 0x03, 0x04, 0x05, 0x06, 0x07,
                             0x08, 0x09, 0x0a, 0x0b, 0x0c, 0x0d, 0x0e, 0x0f};
    const uint8_t block[16] = {0x00, 0x11, 0x22, 0x33, 0x44, 0x55, 0x66, 0x77,
                               0x88, 0x99, 0xaa, 0xbb, 0xcc, 0xdd, 0xee, 0xff};
    const uint8_t expected[16] = {0xd7, 0x18, 0xfb, 0xd6, 0xab, 0x64, 0x4c, 0x73,
                                  0x9d, 0xa9, 0x5f, 0x3b, 0xe6, 0x45, 0x17, 0x78};
    uint8_t out[16 + 16];
    uint32_t n = 0, m = 0;

    CHECK(KRY_SymKeyImport(ctx, "rfc5794", key, sizeof key));
    CHECK(KRY_EncryptInit(ctx, enc, KRY_CIPHER_ARIA128, KRY_MODE_BYTE_ECB | KRY_MODE_BYTE_NOPAD,
                          "rfc5794", NULL));
    CHECK(KRY_EncryptUpdate(ctx, enc, out, sizeof out, &n, block, sizeof block));
    CHECK(KRY_EncryptFinal(ctx, enc, out + n, sizeof out - n, &m));
    if (n + m != 16 || memcmp(out, expected, 16) != 0) {
        fprintf(stderr, "ARIA-128 does not match RFC 5794\n");
        return 1;
    }
    printf("ARIA-128 ECB known answer: ok\n");

    /* A random 16-byte key under the alias "disk", CBC with padding. */
    const char msg[] = "Messages of any length are padded to whole blocks.";
    const uint32_t msg_len = (uint32_t)strlen(msg);
    uint8_t iv[16];
    uint8_t ct[sizeof msg + 16];
    uint8_t pt[sizeof ct + 16];
    uint32_t ct_len = 0, pt_len = 0;

    CHECK(KRY_SymKeyCreate(ctx, "disk", 16));
    CHECK(KRY_RandomBytes(ctx, iv, sizeof iv));

    CHECK(KRY_EncryptInit(ctx, enc, KRY_CIPHER_ARIA128, KRY_MODE_BYTE_CBC, "disk", iv));
    /* Size every output for the input plus one block. */
    CHECK(KRY_EncryptUpdate(ctx, enc, ct, sizeof ct, &n, (const uint8_t *)msg, 20));
    ct_len = n;
    CHECK(KRY_EncryptUpdate(ctx, enc, ct + ct_len, sizeof ct - ct_len, &n,
                            (const uint8_t *)msg + 20, msg_len - 20));
    ct_len += n;
    CHECK(KRY_EncryptFinal(ctx, enc, ct + ct_len, sizeof ct - ct_len, &n));
    ct_len += n;

    CHECK(KRY_DecryptInit(ctx, dec, KRY_CIPHER_ARIA128, KRY_MODE_BYTE_CBC, "disk", iv));
    CHECK(KRY_DecryptUpdate(ctx, dec, pt, sizeof pt, &n, ct, ct_len));
    pt_len = n;
    CHECK(KRY_DecryptFinal(ctx, dec, pt + pt_len, sizeof pt - pt_len, &n));
    pt_len += n;

    if (ct_len != (msg_len / 16 + 1) * 16 || pt_len != msg_len || memcmp(pt, msg, msg_len) != 0) {
        fprintf(stderr, "ARIA-128 CBC round trip failed (%u -> %u -> %u bytes)\n",
                (unsigned)msg_len, (unsigned)ct_len, (unsigned)pt_len);
        return 1;
    }
    printf("ARIA-128 CBC round trip: %u -> %u -> %u bytes: ok\n",
           (unsigned)msg_len, (unsigned)ct_len, (unsigned)pt_len);

    CHECK(KRY_SymKeyDestroy(ctx, "disk"));
    CHECK(KRY_SymKeyDestroy(ctx, "rfc5794"));
    return 0;
}

int main(void)
{
    KRY_Context *ctx = NULL;
    KRY_CIPHER *enc = NULL;
    KRY_CIPHER *dec = NULL;

    CHECK(KRY_Initialize());
    CHECK(KRY_Context_new(&ctx));
    CHECK(KRY_CIPHER_new(ctx, &enc));
    CHECK(KRY_CIPHER_new(ctx, &dec));

    int failed = run(ctx, enc, dec);

    CHECK(KRY_CIPHER_free(ctx, dec));
    CHECK(KRY_CIPHER_free(ctx, enc));
    CHECK(KRY_Context_free(ctx));
    return failed;
}
