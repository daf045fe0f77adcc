/*
 * Moving a key pair between contexts: KRY_KeyPairExport enciphers it under
 * a password, KRY_KeyPairImport deciphers it into another context.
 *
 * The imported key is shown to be the same key by enciphering with it (RSA
 * OAEP, RFC 8017) in the second context and deciphering with the original
 * in the first.  A wrong password must be refused.  Key storage, export,
 * import and OAEP are all allowed in proven mode, so this program stays in
 * it.
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

static int run(KRY_Context *ctx, KRY_Context *other)
{
    const char *password = "correct horse battery staple";
    uint8_t blob[4096];
    uint32_t blob_len = sizeof blob; /* in: the buffer size; out: the length written */

    CHECK(KRY_RSACreate(ctx, "me", 1024, 1));
    CHECK(KRY_KeyPairExport(ctx, "me", blob, sizeof blob, &blob_len, password));
    printf("exported: %u bytes\n", (unsigned)blob_len);

    uint32_t rc = KRY_KeyPairImport(other, "me", KRY_KEYPAIR_RSA, blob, blob_len, "wrong password");
    if (rc != KRY_R_IMPORT) {
        fprintf(stderr, "wrong password: expected %u, got %u\n", (unsigned)KRY_R_IMPORT, (unsigned)rc);
        return 1;
    }
    printf("wrong password refused: ok\n");

    CHECK(KRY_KeyPairImport(other, "me", KRY_KEYPAIR_RSA, blob, blob_len, password));
    uint32_t count = 0;
    CHECK(KRY_NumKeyPair(other, &count));
    if (count != 1) {
        fprintf(stderr, "expected one key pair after import, found %u\n", (unsigned)count);
        return 1;
    }

    /* Encipher with the imported copy, decipher with the original. */
    const char *secret = "sixteen bytes!!!";
    uint8_t ct[256], pt[256];
    uint32_t ct_len = 0, pt_len = 0;
    CHECK(KRY_RSA_pub_encrypt(other, (const uint8_t *)secret, 16, ct, sizeof ct, &ct_len, "me",
                              KRY_RSAENC_OAEP_V21));
    CHECK(KRY_RSA_pri_decrypt(ctx, ct, ct_len, pt, sizeof pt, &pt_len, "me", KRY_RSAENC_OAEP_V21));
    if (pt_len != 16 || memcmp(pt, secret, 16) != 0) {
        fprintf(stderr, "the imported key is not the exported one\n");
        return 1;
    }
    printf("imported key matches: ok\n");

    memset(blob, 0, sizeof blob);
    CHECK(KRY_KeyPairDestory(other, "me"));
    CHECK(KRY_KeyPairDestory(ctx, "me"));
    return 0;
}

int main(void)
{
    KRY_Context *ctx = NULL;
    KRY_Context *other = NULL;

    CHECK(KRY_Initialize());
    CHECK(KRY_Context_new(&ctx));
    CHECK(KRY_Context_new(&other));

    int failed = run(ctx, other);

    CHECK(KRY_Context_free(other));
    CHECK(KRY_Context_free(ctx));
    return failed;
}
