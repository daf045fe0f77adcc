/*
 * Signing and verifying with a key pair kept in a kry context.
 *
 * A 1024-bit RSA key pair is generated under the alias "signer" (quick; use
 * 2048 bits or more for real keys), a message is signed with SHA-1 and the
 * signature verified; a changed message must then fail to verify.
 *
 * Signatures through the context API use the raw-hash RSA encoding, which
 * proven mode refuses (KRY_SignFinal would return 20): this program leaves
 * proven mode first, in the toolkit and in the context API.
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

static int run(KRY_Context *ctx, KRY_SIGNVERIFY *sv)
{
    const char *text = "Pay the bearer 100 won.";
    const uint8_t *msg = (const uint8_t *)text;
    const uint32_t msg_len = (uint32_t)strlen(text);
    uint8_t sig[512];
    uint32_t sig_len = 0;

    CHECK(KRY_RSACreate(ctx, "signer", 1024, 1));

    CHECK(KRY_SignInit(ctx, sv, KRY_SIGN_SHA1, "signer"));
    CHECK(KRY_SignUpdate(ctx, sv, msg, 4));
    CHECK(KRY_SignUpdate(ctx, sv, msg + 4, msg_len - 4));
    CHECK(KRY_SignFinal(ctx, sv, sig, sizeof sig, &sig_len));
    printf("signature: %u bytes\n", (unsigned)sig_len);

    CHECK(KRY_VerifyInit(ctx, sv, KRY_SIGN_SHA1, "signer"));
    CHECK(KRY_VerifyUpdate(ctx, sv, msg, msg_len));
    CHECK(KRY_VerifyFinal(ctx, sv, sig, sig_len));
    printf("signature verifies: ok\n");

    /* One changed byte: the signature must not verify. */
    uint8_t changed[64];
    memcpy(changed, msg, msg_len);
    changed[15] ^= 0x01;
    CHECK(KRY_VerifyInit(ctx, sv, KRY_SIGN_SHA1, "signer"));
    CHECK(KRY_VerifyUpdate(ctx, sv, changed, msg_len));
    uint32_t rc = KRY_VerifyFinal(ctx, sv, sig, sig_len);
    if (rc != KRY_R_BAD_SIGNATURE) {
        fprintf(stderr, "changed message: expected %u, got %u\n",
                (unsigned)KRY_R_BAD_SIGNATURE, (unsigned)rc);
        return 1;
    }
    printf("changed message rejected: ok\n");

    CHECK(KRY_KeyPairDestory(ctx, "signer"));
    return 0;
}

int main(void)
{
    KRY_Context *ctx = NULL;
    KRY_SIGNVERIFY *sv = NULL;

    /* Leave proven mode: the toolkit, then the context API. */
    ChangeNonProvenMode();
    CHECK(KRY_ChangeNonProvenMode());
    CHECK(KRY_Initialize());
    CHECK(KRY_Context_new(&ctx));
    CHECK(KRY_SIGNVERIFY_new(ctx, &sv));

    int failed = run(ctx, sv);

    CHECK(KRY_SIGNVERIFY_free(ctx, sv));
    CHECK(KRY_Context_free(ctx));
    return failed;
}
