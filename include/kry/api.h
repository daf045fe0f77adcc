/*
 * kry - the context API.
 *
 * Call KRY_Initialize once, then create a context with KRY_Context_new.  A
 * context keeps symmetric keys and key pairs under text aliases; operation
 * objects (digest, HMAC, cipher, sign/verify) name their keys by alias.
 * Every call returns one of the KRY_R_ numbers below: 0 for success.
 *
 * The module starts in proven mode: objects made while KRY_IsProven() is 1
 * refuse algorithms that are not approved.  KRY_ChangeNonProvenMode leaves
 * proven mode for the rest of the process.
 */
#ifndef KRY_API_H
#define KRY_API_H

#include <stdint.h>
#include <kry/export.h>

KRY_BEGIN_DECLS

/* ---- return numbers ---- */
#define KRY_R_OK                  0u
#define KRY_R_NOT_INITIALIZED     1u  /* KRY_Initialize has not been called */
#define KRY_R_SELFTEST_RUNNING    2u  /* a self-test is running on another context */
#define KRY_R_INVALID_CONTEXT     3u  /* null, released or invalid context */
#define KRY_R_MALLOC              4u  /* allocation failed, or the entry cannot be made */
#define KRY_R_INVALID_ARGUMENT    5u  /* null pointer, or an out handle that is not empty */
#define KRY_R_RANDOM              7u  /* random generator failed */
#define KRY_R_UNKNOWN_DIGEST      8u  /* digest number not known */
#define KRY_R_BUFFER_TOO_SMALL    9u  /* output buffer too small */
#define KRY_R_SYMKEY_NOT_FOUND    10u /* no symmetric key under the alias */
#define KRY_R_UNSUPPORTED_CIPHER  11u /* cipher number, mode byte and key length do not fit */
#define KRY_R_ENCRYPT_INIT        12u
#define KRY_R_ENCRYPT_UPDATE      13u
#define KRY_R_ENCRYPT_FINAL       14u
#define KRY_R_DECRYPT_INIT        15u
#define KRY_R_DECRYPT_UPDATE      16u
#define KRY_R_DECRYPT_FINAL       17u
#define KRY_R_SIGN_KEY_NOT_FOUND  18u /* no key pair under the alias (signing side) */
#define KRY_R_SIGN                20u /* signing failed, or unknown key type */
#define KRY_R_VERIFY_KEY_NOT_FOUND 21u /* no key pair under the alias (verifying side) */
#define KRY_R_VERIFY              22u /* verification could not be carried out */
#define KRY_R_BAD_SIGNATURE       23u /* the signature does not verify */
#define KRY_R_NOT_RSA             24u /* the key pair is not an RSA key */
#define KRY_R_RSA_ENCRYPT         25u
#define KRY_R_RSA_DECRYPT         26u
#define KRY_R_RSA_GENERATE        27u
#define KRY_R_DSA_GENERATE        30u
#define KRY_R_KCDSA_GENERATE      32u
#define KRY_R_EXPORT              37u /* key pair export failed */
#define KRY_R_IMPORT              38u /* key pair import failed (bad data or password) */
#define KRY_R_STORE_REFUSED       41u /* the key store refused the entry */
#define KRY_R_ALIAS_NOT_FOUND     42u
#define KRY_R_NO_ENTRY            43u /* no entry at that index */
#define KRY_R_COUNT               44u
#define KRY_R_SELFTEST_KAT        46u /* a known-answer comparison failed */
#define KRY_R_DIGEST_INIT         47u
#define KRY_R_DIGEST_UPDATE       48u
#define KRY_R_DIGEST_FINAL        49u
#define KRY_R_HMAC_INIT           50u
#define KRY_R_HMAC_UPDATE         51u
#define KRY_R_HMAC_FINAL          52u
#define KRY_R_PROVEN_REFUSED      0xFFFFFFFFu /* KRY_DSACreate: parameter identifier refused */

/* ---- digest numbers (KRY_DigestInit, KRY_HMACInit) ---- */
#define KRY_MD_MD5    1u
#define KRY_MD_SHA1   2u
#define KRY_MD_SHA224 3u
#define KRY_MD_SHA256 4u
#define KRY_MD_SHA384 5u
#define KRY_MD_SHA512 6u
#define KRY_MD_HAS160 7u

/* ---- digest numbers of KRY_SignInit / KRY_VerifyInit ---- */
#define KRY_SIGN_SHA1   1u /* 4 also selects SHA-1 */
#define KRY_SIGN_HAS160 5u

/* ---- cipher numbers and mode bytes (KRY_EncryptInit, KRY_DecryptInit) ---- */
#define KRY_CIPHER_DES_EDE 1u /* 24-byte key */
#define KRY_CIPHER_SEED    2u /* 16-byte key */
#define KRY_CIPHER_ARIA128 3u /* 16-byte key */
#define KRY_CIPHER_ARIA192 4u /* 24-byte key */
#define KRY_CIPHER_ARIA256 5u /* 32-byte key */
#define KRY_MODE_BYTE_ECB   0x01u
#define KRY_MODE_BYTE_CBC   0x02u
#define KRY_MODE_BYTE_NOPAD 0x10u /* or-ed into the mode byte: no PKCS #7 padding */

/* ---- RSA encryption encodings (KRY_RSA_pub_encrypt, KRY_RSA_pri_decrypt) ---- */
#define KRY_RSAENC_RAW         1u
#define KRY_RSAENC_OAEP_V20    2u
#define KRY_RSAENC_OAEP_V21    3u
#define KRY_RSAENC_PKCS1_V15   32u

/* ---- key pair types ---- */
#define KRY_KEYPAIR_RSA   2u
#define KRY_KEYPAIR_DSA   3u
#define KRY_KEYPAIR_KCDSA 4u

typedef struct KRY_Context KRY_Context;
typedef struct KRY_HMAC KRY_HMAC;             /* an HMAC_UNIT */
typedef struct KRY_MD KRY_MD;                 /* a DIGEST_UNIT */
typedef struct KRY_CIPHER KRY_CIPHER;         /* a BLOCK_CIPHER_UNIT */
typedef struct KRY_SIGNVERIFY KRY_SIGNVERIFY; /* key pair and digest in use */

/* ---- module and contexts ---- */
KRY_API uint32_t KRY_Initialize(void);
KRY_API uint32_t KRY_Initialize_r(void);
KRY_API uint32_t KRY_IsProven(void);
KRY_API uint32_t KRY_ChangeNonProvenMode(void);
/* Writes "KRY 5.0.0" and a NUL (size must be at least 10); *length = 9. */
KRY_API uint32_t KRY_GetVersion(KRY_Context *ctx, uint8_t *out, uint32_t size, uint32_t *length);
/* *ctx must be NULL on entry. */
KRY_API uint32_t KRY_Context_new(KRY_Context **ctx);
KRY_API uint32_t KRY_Context_free(KRY_Context *ctx);

/* ---- operation objects ---- */
KRY_API uint32_t KRY_HMAC_new(KRY_Context *ctx, KRY_HMAC **hmac);
KRY_API uint32_t KRY_HMAC_free(KRY_Context *ctx, KRY_HMAC *hmac);
KRY_API uint32_t KRY_MD_new(KRY_Context *ctx, KRY_MD **md);
KRY_API uint32_t KRY_MD_free(KRY_Context *ctx, KRY_MD *md);
KRY_API uint32_t KRY_CIPHER_new(KRY_Context *ctx, KRY_CIPHER **cipher);
KRY_API uint32_t KRY_CIPHER_free(KRY_Context *ctx, KRY_CIPHER *cipher);
KRY_API uint32_t KRY_SIGNVERIFY_new(KRY_Context *ctx, KRY_SIGNVERIFY **sv);
/* Returns 0 and keeps the object's memory allocated. */
KRY_API uint32_t KRY_SIGNVERIFY_free(KRY_Context *ctx, KRY_SIGNVERIFY *sv);

KRY_API uint32_t KRY_RandomBytes(KRY_Context *ctx, uint8_t *out, uint32_t length);

KRY_API uint32_t KRY_HMACInit(KRY_Context *ctx, KRY_HMAC *hmac, const uint8_t *key, uint32_t key_length,
                              uint32_t digest);
KRY_API uint32_t KRY_HMACUpdate(KRY_Context *ctx, KRY_HMAC *hmac, const uint8_t *data, uint32_t length);
KRY_API uint32_t KRY_HMACFinal(KRY_Context *ctx, KRY_HMAC *hmac, uint8_t *out, uint32_t size, uint32_t *length);

KRY_API uint32_t KRY_DigestInit(KRY_Context *ctx, KRY_MD *md, uint32_t digest);
KRY_API uint32_t KRY_DigestUpdate(KRY_Context *ctx, KRY_MD *md, const uint8_t *data, uint32_t length);
KRY_API uint32_t KRY_DigestFinal(KRY_Context *ctx, KRY_MD *md, uint8_t *out, uint32_t size, uint32_t *length);

/* The output of Update and Final is written before its size is checked:
 * size the buffer for the input length plus one block. */
KRY_API uint32_t KRY_EncryptInit(KRY_Context *ctx, KRY_CIPHER *cipher, uint32_t cipher_number, uint8_t mode,
                                 const char *alias, const uint8_t *iv);
KRY_API uint32_t KRY_EncryptUpdate(KRY_Context *ctx, KRY_CIPHER *cipher, uint8_t *out, uint32_t size,
                                   uint32_t *length, const uint8_t *in, uint32_t in_length);
KRY_API uint32_t KRY_EncryptFinal(KRY_Context *ctx, KRY_CIPHER *cipher, uint8_t *out, uint32_t size,
                                  uint32_t *length);
KRY_API uint32_t KRY_DecryptInit(KRY_Context *ctx, KRY_CIPHER *cipher, uint32_t cipher_number, uint8_t mode,
                                 const char *alias, const uint8_t *iv);
KRY_API uint32_t KRY_DecryptUpdate(KRY_Context *ctx, KRY_CIPHER *cipher, uint8_t *out, uint32_t size,
                                   uint32_t *length, const uint8_t *in, uint32_t in_length);
KRY_API uint32_t KRY_DecryptFinal(KRY_Context *ctx, KRY_CIPHER *cipher, uint8_t *out, uint32_t size,
                                  uint32_t *length);

/* ---- signatures and RSA encryption by alias ---- */
KRY_API uint32_t KRY_SignInit(KRY_Context *ctx, KRY_SIGNVERIFY *sv, uint32_t digest, const char *alias);
KRY_API uint32_t KRY_SignUpdate(KRY_Context *ctx, KRY_SIGNVERIFY *sv, const uint8_t *data, uint32_t length);
KRY_API uint32_t KRY_SignFinal(KRY_Context *ctx, KRY_SIGNVERIFY *sv, uint8_t *out, uint32_t size,
                               uint32_t *length);
KRY_API uint32_t KRY_VerifyInit(KRY_Context *ctx, KRY_SIGNVERIFY *sv, uint32_t digest, const char *alias);
KRY_API uint32_t KRY_VerifyUpdate(KRY_Context *ctx, KRY_SIGNVERIFY *sv, const uint8_t *data, uint32_t length);
KRY_API uint32_t KRY_VerifyFinal(KRY_Context *ctx, KRY_SIGNVERIFY *sv, const uint8_t *signature,
                                 uint32_t length);
KRY_API uint32_t KRY_RSA_pub_encrypt(KRY_Context *ctx, const uint8_t *in, uint32_t in_length, uint8_t *out,
                                     uint32_t size, uint32_t *length, const char *alias, uint32_t encoding);
KRY_API uint32_t KRY_RSA_pri_decrypt(KRY_Context *ctx, const uint8_t *in, uint32_t in_length, uint8_t *out,
                                     uint32_t size, uint32_t *length, const char *alias, uint32_t encoding);

/* ---- key store ---- */
KRY_API uint32_t KRY_SymKeyCreate(KRY_Context *ctx, const char *alias, uint32_t key_length);
KRY_API uint32_t KRY_SymKeyImport(KRY_Context *ctx, const char *alias, const uint8_t *key, uint32_t key_length);
KRY_API uint32_t KRY_SymKeyExport(KRY_Context *ctx, const char *alias, uint8_t *out, uint32_t size,
                                  uint32_t *length);
KRY_API uint32_t KRY_SymKeyDestroy(KRY_Context *ctx, const char *alias);
KRY_API uint32_t KRY_RSACreate(KRY_Context *ctx, const char *alias, uint32_t bits, uint32_t option);
KRY_API uint32_t KRY_DSACreate(KRY_Context *ctx, uint32_t parameter_id, const char *alias, uint32_t option);
KRY_API uint32_t KRY_KCDSACreate(KRY_Context *ctx, const char *alias, uint32_t p_bits, uint32_t q_bits);
/* encoded_length is the size of the encoded key: a header that claims more
 * bytes than it is refused. */
KRY_API uint32_t KRY_KeyPairImport(KRY_Context *ctx, const char *alias, uint32_t key_type, const uint8_t *encoded,
                                   uint32_t encoded_length, const char *password);
/* *length: in, the buffer size; out, the length of the enciphered export. */
KRY_API uint32_t KRY_KeyPairExport(KRY_Context *ctx, const char *alias, uint8_t *out, uint32_t size,
                                   uint32_t *length, const char *password);
KRY_API uint32_t KRY_KeyPairDestory(KRY_Context *ctx, const char *alias);
KRY_API uint32_t KRY_NumKeyPair(KRY_Context *ctx, uint32_t *count);
KRY_API uint32_t KRY_NumSymKey(KRY_Context *ctx, uint32_t *count);
/* Writes the alias and a NUL and sets *length to the alias length; 9 when
 * the alias and its NUL do not fit in size bytes. */
KRY_API uint32_t KRY_GetKeyPairAlias(KRY_Context *ctx, int32_t index, char *out, uint32_t size, uint32_t *length);
KRY_API uint32_t KRY_GetSymKeyAlias(KRY_Context *ctx, int32_t index, char *out, uint32_t size, uint32_t *length);

/* ---- self-test ---- */
/* verbose: when not NULL, progress lines are printed on standard output. */
KRY_API uint32_t KRY_SelfTests(const void *verbose);

KRY_END_DECLS

#endif /* KRY_API_H */
