/**
 * @file kry/api.h
 * @brief The context API (`KRY_` calls): keys kept in the library under aliases.
 *
 * Call KRY_Initialize() once, then create a context with KRY_Context_new().
 * A context keeps symmetric keys and key pairs under text aliases; operation
 * objects (digest, HMAC, cipher, sign/verify) name their keys by alias.
 * Every call returns one of the `KRY_R_` numbers below: #KRY_R_OK (0) for
 * success.  Toolkit error words never come out of this layer.
 *
 * Every call that takes a context first checks, in this order:
 * #KRY_R_NOT_INITIALIZED (KRY_Initialize() has not run),
 * #KRY_R_SELFTEST_RUNNING (a self-test holds the module and the context is
 * not its own) and #KRY_R_INVALID_CONTEXT (null or released context); then
 * a null required pointer, or an out handle that is not NULL, gives
 * #KRY_R_INVALID_ARGUMENT.  The return lists below leave these common
 * numbers out unless they say more.
 *
 * The module starts in proven mode: objects made while KRY_IsProven() is 1
 * refuse algorithms that are not approved.  KRY_ChangeNonProvenMode() leaves
 * proven mode for the rest of the process.  The return numbers, algorithm
 * numbers and what proven mode allows are tabled in docs/context-api.md.
 */
#ifndef KRY_API_H
#define KRY_API_H

#include <stdint.h>
#include <kry/export.h>

KRY_BEGIN_DECLS

/** @name Return numbers
 * What every `KRY_` call returns; 0 is success.
 * @{ */
#define KRY_R_OK                  0u /**< success */
#define KRY_R_NOT_INITIALIZED     1u  /**< KRY_Initialize has not been called */
#define KRY_R_SELFTEST_RUNNING    2u  /**< a self-test is running on another context */
#define KRY_R_INVALID_CONTEXT     3u  /**< null, released or invalid context */
#define KRY_R_MALLOC              4u  /**< allocation failed, or the entry cannot be made */
#define KRY_R_INVALID_ARGUMENT    5u  /**< null pointer, or an out handle that is not empty */
#define KRY_R_RANDOM              7u  /**< random generator failed */
#define KRY_R_UNKNOWN_DIGEST      8u  /**< digest number not known */
#define KRY_R_BUFFER_TOO_SMALL    9u  /**< output buffer too small */
#define KRY_R_SYMKEY_NOT_FOUND    10u /**< no symmetric key under the alias */
#define KRY_R_UNSUPPORTED_CIPHER  11u /**< cipher number, mode byte and key length do not fit */
#define KRY_R_ENCRYPT_INIT        12u /**< the cipher could not be set up for encryption (e.g. refused in proven mode, missing IV) */
#define KRY_R_ENCRYPT_UPDATE      13u /**< encryption failed, or the output buffer is too small */
#define KRY_R_ENCRYPT_FINAL       14u /**< the last encryption step failed, or the output buffer is too small */
#define KRY_R_DECRYPT_INIT        15u /**< the cipher could not be set up for decryption */
#define KRY_R_DECRYPT_UPDATE      16u /**< decryption failed, or the output buffer is too small */
#define KRY_R_DECRYPT_FINAL       17u /**< the last decryption step failed (e.g. bad padding) */
#define KRY_R_SIGN_KEY_NOT_FOUND  18u /**< no key pair under the alias (signing side) */
#define KRY_R_SIGN                20u /**< signing failed, or unknown key type */
#define KRY_R_VERIFY_KEY_NOT_FOUND 21u /**< no key pair under the alias (verifying side) */
#define KRY_R_VERIFY              22u /**< verification could not be carried out */
#define KRY_R_BAD_SIGNATURE       23u /**< the signature does not verify */
#define KRY_R_NOT_RSA             24u /**< the key pair is not an RSA key */
#define KRY_R_RSA_ENCRYPT         25u /**< RSA encryption failed (message too long, buffer too small, refused encoding) */
#define KRY_R_RSA_DECRYPT         26u /**< RSA decryption failed */
#define KRY_R_RSA_GENERATE        27u /**< RSA key generation failed */
#define KRY_R_DSA_GENERATE        30u /**< DSA parameter or key generation failed */
#define KRY_R_KCDSA_GENERATE      32u /**< KCDSA parameter or key generation failed */
#define KRY_R_EXPORT              37u /**< key pair export failed */
#define KRY_R_IMPORT              38u /**< key pair import failed (bad data or password) */
#define KRY_R_STORE_REFUSED       41u /**< the key store refused the entry */
#define KRY_R_ALIAS_NOT_FOUND     42u /**< the alias is not in the store (destroy calls) */
#define KRY_R_NO_ENTRY            43u /**< no entry at that index */
#define KRY_R_COUNT               44u /**< the store's count could not be read */
#define KRY_R_SELFTEST_KAT        46u /**< a known-answer comparison failed */
#define KRY_R_DIGEST_INIT         47u /**< the digest could not be set up (e.g. refused in proven mode) */
#define KRY_R_DIGEST_UPDATE       48u /**< the digest update failed */
#define KRY_R_DIGEST_FINAL        49u /**< the digest final failed */
#define KRY_R_HMAC_INIT           50u /**< the HMAC could not be set up (e.g. refused in proven mode) */
#define KRY_R_HMAC_UPDATE         51u /**< the HMAC update failed */
#define KRY_R_HMAC_FINAL          52u /**< the HMAC final failed */
#define KRY_R_PROVEN_REFUSED      0xFFFFFFFFu /**< KRY_DSACreate: parameter identifier refused */

/** @} */

/** @name Digest numbers of KRY_DigestInit() and KRY_HMACInit()
 * Any other number gives #KRY_R_UNKNOWN_DIGEST.
 * @{ */
#define KRY_MD_MD5    1u /**< MD5 (refused in proven mode) */
#define KRY_MD_SHA1   2u /**< SHA-1 */
#define KRY_MD_SHA224 3u /**< SHA-224 (refused in proven mode) */
#define KRY_MD_SHA256 4u /**< SHA-256 */
#define KRY_MD_SHA384 5u /**< SHA-384 */
#define KRY_MD_SHA512 6u /**< SHA-512 */
#define KRY_MD_HAS160 7u /**< HAS-160 */

/** @} */

/** @name Digest numbers of KRY_SignInit() and KRY_VerifyInit()
 * A table of its own: 1 and 4 select SHA-1.  KCDSA always hashes with HAS-160.
 * @{ */
#define KRY_SIGN_SHA1   1u /**< SHA-1 (4 also selects SHA-1) */
#define KRY_SIGN_HAS160 5u /**< HAS-160 */

/** @} */

/** @name Cipher numbers and mode bytes of KRY_EncryptInit() and KRY_DecryptInit()
 * The stored key must have the cipher's key length.  Mode byte: low nibble
 * 1 ECB, 2 CBC; a high nibble of 1 turns PKCS #7 padding off.
 * @{ */
#define KRY_CIPHER_DES_EDE 1u /**< 24-byte key */
#define KRY_CIPHER_SEED    2u /**< 16-byte key */
#define KRY_CIPHER_ARIA128 3u /**< 16-byte key */
#define KRY_CIPHER_ARIA192 4u /**< 24-byte key */
#define KRY_CIPHER_ARIA256 5u /**< 32-byte key */
#define KRY_MODE_BYTE_ECB   0x01u /**< ECB mode */
#define KRY_MODE_BYTE_CBC   0x02u /**< CBC mode */
#define KRY_MODE_BYTE_NOPAD 0x10u /**< or-ed into the mode byte: no PKCS #7 padding */

/** @} */

/** @name RSA encodings of KRY_RSA_pub_encrypt() and KRY_RSA_pri_decrypt()
 * @{ */
#define KRY_RSAENC_RAW         1u /**< raw RSA, no padding (refused in proven mode) */
#define KRY_RSAENC_OAEP_V20    2u /**< OAEP, PKCS #1 v2.0 block */
#define KRY_RSAENC_OAEP_V21    3u /**< OAEP, PKCS #1 v2.1 block (RFC 8017) */
#define KRY_RSAENC_PKCS1_V15   32u /**< PKCS #1 v1.5 encryption (refused in proven mode) */

/** @} */

/** @name Key pair types of KRY_KeyPairImport()
 * @{ */
#define KRY_KEYPAIR_RSA   2u /**< an RSA key pair */
#define KRY_KEYPAIR_DSA   3u /**< a DSA key pair */
#define KRY_KEYPAIR_KCDSA 4u /**< a KCDSA key pair */
/** @} */

/** A context: the key store (symmetric keys and key pairs by alias) that
 *  operations run against.  Opaque; made by KRY_Context_new(). */
typedef struct KRY_Context KRY_Context;
typedef struct KRY_HMAC KRY_HMAC;             /**< An HMAC object (an HMAC_UNIT); see KRY_HMAC_new(). */
typedef struct KRY_MD KRY_MD;                 /**< A digest object (a DIGEST_UNIT); see KRY_MD_new(). */
typedef struct KRY_CIPHER KRY_CIPHER;         /**< A cipher object (a BLOCK_CIPHER_UNIT); see KRY_CIPHER_new(). */
typedef struct KRY_SIGNVERIFY KRY_SIGNVERIFY; /**< A sign/verify object: the key pair and digest in use. */

/* ---- module and contexts ---- */

/** Marks the module initialised; every other context call returns
 *  #KRY_R_NOT_INITIALIZED until this has run.  Call it once per process
 *  (calling it again is harmless).
 *  @return #KRY_R_OK. */
KRY_API uint32_t KRY_Initialize(void);
/** Same as KRY_Initialize().
 *  @return #KRY_R_OK. */
KRY_API uint32_t KRY_Initialize_r(void);
/** Tells whether the context API is in proven mode.
 *  @return 1 in proven mode (the state when the library is loaded), 0 after
 *          KRY_ChangeNonProvenMode(). */
KRY_API uint32_t KRY_IsProven(void);
/** Leaves proven mode in the context API for the rest of the process:
 *  objects made afterwards carry a cleared proven flag.  The toolkit under
 *  the objects has its own switch, ChangeNonProvenMode(), and still refuses
 *  the non-approved algorithms while it is in proven mode: call both to use
 *  them.  Nothing switches proven mode back on.
 *  @return #KRY_R_OK. */
KRY_API uint32_t KRY_ChangeNonProvenMode(void);
/** Writes the module's version text, "KRY 5.0.0", and a terminating NUL.
 *  @param ctx    a valid context.
 *  @param out    receives the text and its NUL.
 *  @param size   bytes available at @p out: at least 10.
 *  @param length receives the text length, 9.
 *  @return #KRY_R_OK; #KRY_R_INVALID_ARGUMENT for a null @p out or @p length;
 *          #KRY_R_BUFFER_TOO_SMALL when @p size is below 10 (nothing written). */
KRY_API uint32_t KRY_GetVersion(KRY_Context *ctx, uint8_t *out, uint32_t size, uint32_t *length);
/** Creates an empty context.  The caller owns it and releases it with
 *  KRY_Context_free().
 *  @param ctx receives the new context; @p *ctx must be NULL on entry.
 *  @return #KRY_R_OK; #KRY_R_NOT_INITIALIZED; #KRY_R_SELFTEST_RUNNING;
 *          #KRY_R_INVALID_ARGUMENT for a null @p ctx or a non-NULL @p *ctx;
 *          #KRY_R_MALLOC. */
KRY_API uint32_t KRY_Context_new(KRY_Context **ctx);
/** Releases a context with every key it holds (the keys are wiped).  The
 *  handle is invalid afterwards.
 *  @param ctx a context from KRY_Context_new().
 *  @return #KRY_R_OK, or a number of the common checks. */
KRY_API uint32_t KRY_Context_free(KRY_Context *ctx);

/* ---- operation objects ---- */

/** Creates an HMAC object carrying the context API's proven flag.  In
 *  proven mode (see KRY_ChangeNonProvenMode()) MD5 and SHA-224 are refused.
 *  @param ctx  a valid context.
 *  @param hmac receives the object; @p *hmac must be NULL on entry.  Release
 *              it with KRY_HMAC_free().
 *  @return #KRY_R_OK; #KRY_R_INVALID_ARGUMENT; #KRY_R_MALLOC. */
KRY_API uint32_t KRY_HMAC_new(KRY_Context *ctx, KRY_HMAC **hmac);
/** Wipes and releases an HMAC object.
 *  @param ctx  a valid context.
 *  @param hmac an object from KRY_HMAC_new().
 *  @return #KRY_R_OK; #KRY_R_INVALID_ARGUMENT for a null @p hmac. */
KRY_API uint32_t KRY_HMAC_free(KRY_Context *ctx, KRY_HMAC *hmac);
/** Creates a digest object carrying the context API's proven flag.  In
 *  proven mode (see KRY_ChangeNonProvenMode()) MD5 and SHA-224 are refused.
 *  @param ctx a valid context.
 *  @param md  receives the object; @p *md must be NULL on entry.  Release it
 *             with KRY_MD_free().
 *  @return #KRY_R_OK; #KRY_R_INVALID_ARGUMENT; #KRY_R_MALLOC. */
KRY_API uint32_t KRY_MD_new(KRY_Context *ctx, KRY_MD **md);
/** Wipes and releases a digest object.
 *  @param ctx a valid context.
 *  @param md  an object from KRY_MD_new().
 *  @return #KRY_R_OK; #KRY_R_INVALID_ARGUMENT for a null @p md. */
KRY_API uint32_t KRY_MD_free(KRY_Context *ctx, KRY_MD *md);
/** Creates a cipher object carrying the context API's proven flag.  In
 *  proven mode (see KRY_ChangeNonProvenMode()) DES-EDE is refused.
 *  @param ctx    a valid context.
 *  @param cipher receives the object; @p *cipher must be NULL on entry.
 *                Release it with KRY_CIPHER_free().
 *  @return #KRY_R_OK; #KRY_R_INVALID_ARGUMENT; #KRY_R_MALLOC. */
KRY_API uint32_t KRY_CIPHER_new(KRY_Context *ctx, KRY_CIPHER **cipher);
/** Wipes and releases a cipher object with its key schedule.
 *  @param ctx    a valid context.
 *  @param cipher an object from KRY_CIPHER_new().
 *  @return #KRY_R_OK; #KRY_R_INVALID_ARGUMENT for a null @p cipher. */
KRY_API uint32_t KRY_CIPHER_free(KRY_Context *ctx, KRY_CIPHER *cipher);
/** Creates a sign/verify object for the KRY_Sign and KRY_Verify calls.
 *  @param ctx a valid context.
 *  @param sv  receives the object; @p *sv must be NULL on entry.
 *  @return #KRY_R_OK; #KRY_R_INVALID_ARGUMENT; #KRY_R_MALLOC. */
KRY_API uint32_t KRY_SIGNVERIFY_new(KRY_Context *ctx, KRY_SIGNVERIFY **sv);
/** Ends the use of a sign/verify object.  The object's small record stays
 *  allocated, so code that still reads it remains valid.
 *  @param ctx a valid context.
 *  @param sv  an object from KRY_SIGNVERIFY_new().
 *  @return #KRY_R_OK; #KRY_R_INVALID_ARGUMENT for a null @p sv. */
KRY_API uint32_t KRY_SIGNVERIFY_free(KRY_Context *ctx, KRY_SIGNVERIFY *sv);

/** Fills a buffer from the library's random generator (FIPS 186-2).
 *  @param ctx    a valid context.
 *  @param out    receives @p length bytes.
 *  @param length number of bytes wanted.
 *  @return #KRY_R_OK; #KRY_R_INVALID_ARGUMENT for a null @p out; #KRY_R_RANDOM. */
KRY_API uint32_t KRY_RandomBytes(KRY_Context *ctx, uint8_t *out, uint32_t length);

/** Starts an HMAC (RFC 2104) under a key given by value.
 *  @param ctx        a valid context.
 *  @param hmac       an object from KRY_HMAC_new().
 *  @param key        the key bytes (copied into the object).
 *  @param key_length bytes at @p key.
 *  @param digest     a digest number, #KRY_MD_MD5 to #KRY_MD_HAS160.
 *  @return #KRY_R_OK; #KRY_R_INVALID_ARGUMENT; #KRY_R_UNKNOWN_DIGEST;
 *          #KRY_R_HMAC_INIT (e.g. MD5 or SHA-224 in proven mode). */
KRY_API uint32_t KRY_HMACInit(KRY_Context *ctx, KRY_HMAC *hmac, const uint8_t *key, uint32_t key_length,
                              uint32_t digest);
/** Feeds message bytes to the HMAC.
 *  @param ctx    a valid context.
 *  @param hmac   an object started by KRY_HMACInit().
 *  @param data   message bytes.
 *  @param length bytes at @p data.
 *  @return #KRY_R_OK; #KRY_R_INVALID_ARGUMENT; #KRY_R_HMAC_UPDATE. */
KRY_API uint32_t KRY_HMACUpdate(KRY_Context *ctx, KRY_HMAC *hmac, const uint8_t *data, uint32_t length);
/** Finishes the HMAC and writes the tag.  The size is checked before
 *  anything is written.
 *  @param ctx    a valid context.
 *  @param hmac   an object started by KRY_HMACInit().
 *  @param out    receives the tag (as long as the digest).
 *  @param size   bytes available at @p out.
 *  @param length receives the tag length.
 *  @return #KRY_R_OK; #KRY_R_INVALID_ARGUMENT; #KRY_R_BUFFER_TOO_SMALL;
 *          #KRY_R_HMAC_FINAL. */
KRY_API uint32_t KRY_HMACFinal(KRY_Context *ctx, KRY_HMAC *hmac, uint8_t *out, uint32_t size, uint32_t *length);

/** Starts a digest.
 *  @param ctx    a valid context.
 *  @param md     an object from KRY_MD_new().
 *  @param digest a digest number, #KRY_MD_MD5 to #KRY_MD_HAS160.
 *  @return #KRY_R_OK; #KRY_R_INVALID_ARGUMENT; #KRY_R_UNKNOWN_DIGEST;
 *          #KRY_R_DIGEST_INIT (e.g. MD5 or SHA-224 in proven mode). */
KRY_API uint32_t KRY_DigestInit(KRY_Context *ctx, KRY_MD *md, uint32_t digest);
/** Feeds message bytes to the digest.
 *  @param ctx    a valid context.
 *  @param md     an object started by KRY_DigestInit().
 *  @param data   message bytes.
 *  @param length bytes at @p data.
 *  @return #KRY_R_OK; #KRY_R_INVALID_ARGUMENT; #KRY_R_DIGEST_UPDATE. */
KRY_API uint32_t KRY_DigestUpdate(KRY_Context *ctx, KRY_MD *md, const uint8_t *data, uint32_t length);
/** Finishes the digest and writes it.  The size is checked before anything
 *  is written.
 *  @param ctx    a valid context.
 *  @param md     an object started by KRY_DigestInit().
 *  @param out    receives the digest.
 *  @param size   bytes available at @p out.
 *  @param length receives the digest length.
 *  @return #KRY_R_OK; #KRY_R_INVALID_ARGUMENT; #KRY_R_BUFFER_TOO_SMALL;
 *          #KRY_R_DIGEST_FINAL. */
KRY_API uint32_t KRY_DigestFinal(KRY_Context *ctx, KRY_MD *md, uint8_t *out, uint32_t size, uint32_t *length);

/* The output of Update and Final is written before its size is checked:
 * size the buffer for the input length plus one block. */

/** Starts encryption under the symmetric key stored as @p alias.
 *  @param ctx           a valid context.
 *  @param cipher        an object from KRY_CIPHER_new().
 *  @param cipher_number #KRY_CIPHER_DES_EDE to #KRY_CIPHER_ARIA256; the
 *                       stored key must have that cipher's key length.
 *  @param mode          #KRY_MODE_BYTE_ECB or #KRY_MODE_BYTE_CBC, optionally
 *                       or-ed with #KRY_MODE_BYTE_NOPAD.
 *  @param alias         the key's alias.
 *  @param iv            the IV (one block) for CBC; may be NULL for ECB.
 *  @return #KRY_R_OK; #KRY_R_INVALID_ARGUMENT; #KRY_R_SYMKEY_NOT_FOUND;
 *          #KRY_R_UNSUPPORTED_CIPHER (number, mode byte and key length do
 *          not fit); #KRY_R_ENCRYPT_INIT (e.g. DES-EDE in proven mode, a missing
 *          IV). */
KRY_API uint32_t KRY_EncryptInit(KRY_Context *ctx, KRY_CIPHER *cipher, uint32_t cipher_number, uint8_t mode,
                                 const char *alias, const uint8_t *iv);
/** Enciphers bytes: whole blocks come out, the rest waits for the next call.
 *  The output is written before its size is checked: make @p size at least
 *  @p in_length plus one block.
 *  @param ctx       a valid context.
 *  @param cipher    an object started by KRY_EncryptInit().
 *  @param out       receives the ciphertext.
 *  @param size      bytes available at @p out.
 *  @param length    receives the bytes written.
 *  @param in        plaintext bytes.
 *  @param in_length bytes at @p in.
 *  @return #KRY_R_OK; #KRY_R_INVALID_ARGUMENT; #KRY_R_BUFFER_TOO_SMALL;
 *          #KRY_R_ENCRYPT_UPDATE. */
KRY_API uint32_t KRY_EncryptUpdate(KRY_Context *ctx, KRY_CIPHER *cipher, uint8_t *out, uint32_t size,
                                   uint32_t *length, const uint8_t *in, uint32_t in_length);
/** Finishes encryption: the last block with its PKCS #7 padding (without
 *  padding, when #KRY_MODE_BYTE_NOPAD was given, the input must have been
 *  whole blocks).
 *  @param ctx    a valid context.
 *  @param cipher an object started by KRY_EncryptInit().
 *  @param out    receives the last bytes (up to one block).
 *  @param size   bytes available at @p out.
 *  @param length receives the bytes written.
 *  @return #KRY_R_OK; #KRY_R_INVALID_ARGUMENT; #KRY_R_BUFFER_TOO_SMALL;
 *          #KRY_R_ENCRYPT_FINAL. */
KRY_API uint32_t KRY_EncryptFinal(KRY_Context *ctx, KRY_CIPHER *cipher, uint8_t *out, uint32_t size,
                                  uint32_t *length);
/** Starts decryption under the symmetric key stored as @p alias.
 *  @param ctx           a valid context.
 *  @param cipher        an object from KRY_CIPHER_new().
 *  @param cipher_number #KRY_CIPHER_DES_EDE to #KRY_CIPHER_ARIA256.
 *  @param mode          the mode byte the data was enciphered with.
 *  @param alias         the key's alias.
 *  @param iv            the IV for CBC; may be NULL for ECB.
 *  @return #KRY_R_OK; #KRY_R_INVALID_ARGUMENT; #KRY_R_SYMKEY_NOT_FOUND;
 *          #KRY_R_UNSUPPORTED_CIPHER; #KRY_R_DECRYPT_INIT. */
KRY_API uint32_t KRY_DecryptInit(KRY_Context *ctx, KRY_CIPHER *cipher, uint32_t cipher_number, uint8_t mode,
                                 const char *alias, const uint8_t *iv);
/** Deciphers bytes.  With padding, the last whole block is held back until
 *  KRY_DecryptFinal().  Make @p size at least @p in_length plus one block.
 *  @param ctx       a valid context.
 *  @param cipher    an object started by KRY_DecryptInit().
 *  @param out       receives the plaintext.
 *  @param size      bytes available at @p out.
 *  @param length    receives the bytes written.
 *  @param in        ciphertext bytes.
 *  @param in_length bytes at @p in.
 *  @return #KRY_R_OK; #KRY_R_INVALID_ARGUMENT; #KRY_R_BUFFER_TOO_SMALL;
 *          #KRY_R_DECRYPT_UPDATE. */
KRY_API uint32_t KRY_DecryptUpdate(KRY_Context *ctx, KRY_CIPHER *cipher, uint8_t *out, uint32_t size,
                                   uint32_t *length, const uint8_t *in, uint32_t in_length);
/** Finishes decryption: the held-back block, without its padding.
 *  @param ctx    a valid context.
 *  @param cipher an object started by KRY_DecryptInit().
 *  @param out    receives the last plaintext bytes.
 *  @param size   bytes available at @p out.
 *  @param length receives the bytes written.
 *  @return #KRY_R_OK; #KRY_R_INVALID_ARGUMENT; #KRY_R_BUFFER_TOO_SMALL;
 *          #KRY_R_DECRYPT_FINAL (bad padding, incomplete block). */
KRY_API uint32_t KRY_DecryptFinal(KRY_Context *ctx, KRY_CIPHER *cipher, uint8_t *out, uint32_t size,
                                  uint32_t *length);

/* ---- signatures and RSA encryption by alias ---- */

/** Starts a signature with the key pair stored as @p alias.  RSA keys sign
 *  with the raw-hash encoding, which proven mode refuses (KRY_SignFinal()
 *  then returns #KRY_R_SIGN); DSA is refused in proven mode; KCDSA always
 *  hashes with HAS-160.
 *  @param ctx    a valid context.
 *  @param sv     an object from KRY_SIGNVERIFY_new().
 *  @param digest #KRY_SIGN_SHA1 (or 4) or #KRY_SIGN_HAS160.
 *  @param alias  the key pair's alias.
 *  @return #KRY_R_OK; #KRY_R_INVALID_ARGUMENT; #KRY_R_SIGN_KEY_NOT_FOUND;
 *          #KRY_R_SIGN when the key's unit cannot be set up. */
KRY_API uint32_t KRY_SignInit(KRY_Context *ctx, KRY_SIGNVERIFY *sv, uint32_t digest, const char *alias);
/** Feeds message bytes to the signature.
 *  @param ctx    a valid context.
 *  @param sv     an object started by KRY_SignInit().
 *  @param data   message bytes.
 *  @param length bytes at @p data.
 *  @return #KRY_R_OK; #KRY_R_INVALID_ARGUMENT; #KRY_R_SIGN. */
KRY_API uint32_t KRY_SignUpdate(KRY_Context *ctx, KRY_SIGNVERIFY *sv, const uint8_t *data, uint32_t length);
/** Finishes the signature and writes it.  RSA writes the modulus length;
 *  DSA and KCDSA write the string `30 L 30 (rlen+1) 00 r 30 slen s`
 *  described in docs/context-api.md.  Nothing is written when it does not fit.
 *  @param ctx    a valid context.
 *  @param sv     an object started by KRY_SignInit().
 *  @param out    receives the signature.
 *  @param size   bytes available at @p out.
 *  @param length receives the signature length.
 *  @return #KRY_R_OK; #KRY_R_INVALID_ARGUMENT; #KRY_R_SIGN (failure, refused
 *          in proven mode, buffer too small, unknown key type). */
KRY_API uint32_t KRY_SignFinal(KRY_Context *ctx, KRY_SIGNVERIFY *sv, uint8_t *out, uint32_t size,
                               uint32_t *length);
/** Starts a verification with the key pair stored as @p alias.
 *  @param ctx    a valid context.
 *  @param sv     an object from KRY_SIGNVERIFY_new().
 *  @param digest #KRY_SIGN_SHA1 (or 4) or #KRY_SIGN_HAS160.
 *  @param alias  the key pair's alias.
 *  @return #KRY_R_OK; #KRY_R_INVALID_ARGUMENT; #KRY_R_VERIFY_KEY_NOT_FOUND;
 *          #KRY_R_VERIFY when the key's unit cannot be set up. */
KRY_API uint32_t KRY_VerifyInit(KRY_Context *ctx, KRY_SIGNVERIFY *sv, uint32_t digest, const char *alias);
/** Feeds message bytes to the verification.  Failures of the unit surface
 *  at KRY_VerifyFinal().
 *  @param ctx    a valid context.
 *  @param sv     an object started by KRY_VerifyInit().
 *  @param data   message bytes.
 *  @param length bytes at @p data.
 *  @return #KRY_R_OK; #KRY_R_INVALID_ARGUMENT. */
KRY_API uint32_t KRY_VerifyUpdate(KRY_Context *ctx, KRY_SIGNVERIFY *sv, const uint8_t *data, uint32_t length);
/** Checks a signature over the message fed so far.
 *  @param ctx       a valid context.
 *  @param sv        an object started by KRY_VerifyInit().
 *  @param signature the signature, as KRY_SignFinal() wrote it.
 *  @param length    bytes at @p signature.
 *  @return #KRY_R_OK when the signature verifies; #KRY_R_BAD_SIGNATURE when
 *          it does not (RSA, DSA) or is malformed; #KRY_R_VERIFY when the
 *          check cannot be carried out (refused in proven mode; also a KCDSA
 *          signature that does not verify); #KRY_R_INVALID_ARGUMENT. */
KRY_API uint32_t KRY_VerifyFinal(KRY_Context *ctx, KRY_SIGNVERIFY *sv, const uint8_t *signature,
                                 uint32_t length);
/** Enciphers a short message with the public half of the RSA key pair
 *  stored as @p alias.
 *  @param ctx       a valid context.
 *  @param in        the message.
 *  @param in_length bytes at @p in (bounded by the modulus and encoding).
 *  @param out       receives the ciphertext (the modulus length).
 *  @param size      bytes available at @p out.
 *  @param length    receives the ciphertext length.
 *  @param alias     the key pair's alias.
 *  @param encoding  #KRY_RSAENC_RAW, #KRY_RSAENC_OAEP_V20,
 *                   #KRY_RSAENC_OAEP_V21 or #KRY_RSAENC_PKCS1_V15; proven
 *                   mode allows the OAEP encodings only.
 *  @return #KRY_R_OK; #KRY_R_INVALID_ARGUMENT; #KRY_R_VERIFY_KEY_NOT_FOUND;
 *          #KRY_R_NOT_RSA; #KRY_R_RSA_ENCRYPT. */
KRY_API uint32_t KRY_RSA_pub_encrypt(KRY_Context *ctx, const uint8_t *in, uint32_t in_length, uint8_t *out,
                                     uint32_t size, uint32_t *length, const char *alias, uint32_t encoding);
/** Deciphers with the private half of the RSA key pair stored as @p alias.
 *  @param ctx       a valid context.
 *  @param in        the ciphertext.
 *  @param in_length bytes at @p in.
 *  @param out       receives the message.
 *  @param size      bytes available at @p out.
 *  @param length    receives the message length.
 *  @param alias     the key pair's alias.
 *  @param encoding  the encoding the message was enciphered with.
 *  @return #KRY_R_OK; #KRY_R_INVALID_ARGUMENT; #KRY_R_SIGN_KEY_NOT_FOUND;
 *          #KRY_R_NOT_RSA; #KRY_R_RSA_DECRYPT. */
KRY_API uint32_t KRY_RSA_pri_decrypt(KRY_Context *ctx, const uint8_t *in, uint32_t in_length, uint8_t *out,
                                     uint32_t size, uint32_t *length, const char *alias, uint32_t encoding);

/* ---- key store ---- */

/** Stores @p key_length random bytes as a symmetric key under @p alias.
 *  @param ctx        a valid context.
 *  @param alias      the alias (NUL-terminated, not empty).
 *  @param key_length 1 to 32 bytes.
 *  @return #KRY_R_OK; #KRY_R_INVALID_ARGUMENT (null alias, zero length);
 *          #KRY_R_MALLOC (longer than 32 bytes, empty alias, no memory);
 *          #KRY_R_RANDOM; #KRY_R_STORE_REFUSED. */
KRY_API uint32_t KRY_SymKeyCreate(KRY_Context *ctx, const char *alias, uint32_t key_length);
/** Stores a copy of the caller's symmetric key under @p alias.  The store
 *  does not check for an existing entry with the same alias.
 *  @param ctx        a valid context.
 *  @param alias      the alias (NUL-terminated, not empty).
 *  @param key        the key bytes; the caller keeps (and wipes) its copy.
 *  @param key_length 1 to 32 bytes.
 *  @return #KRY_R_OK; #KRY_R_INVALID_ARGUMENT; #KRY_R_MALLOC; #KRY_R_STORE_REFUSED. */
KRY_API uint32_t KRY_SymKeyImport(KRY_Context *ctx, const char *alias, const uint8_t *key, uint32_t key_length);
/** Copies the symmetric key stored under @p alias out of the context.
 *  @param ctx    a valid context.
 *  @param alias  the key's alias.
 *  @param out    receives the key; wipe it when done.
 *  @param size   bytes available at @p out.
 *  @param length receives the key length.
 *  @return #KRY_R_OK; #KRY_R_INVALID_ARGUMENT; #KRY_R_SYMKEY_NOT_FOUND;
 *          #KRY_R_BUFFER_TOO_SMALL. */
KRY_API uint32_t KRY_SymKeyExport(KRY_Context *ctx, const char *alias, uint8_t *out, uint32_t size,
                                  uint32_t *length);
/** Wipes and removes the symmetric key stored under @p alias (the first
 *  entry with that alias).
 *  @param ctx   a valid context.
 *  @param alias the key's alias.
 *  @return #KRY_R_OK; #KRY_R_INVALID_ARGUMENT; #KRY_R_ALIAS_NOT_FOUND. */
KRY_API uint32_t KRY_SymKeyDestroy(KRY_Context *ctx, const char *alias);
/** Generates an RSA key pair (e = 65537) and stores it under @p alias.
 *  @param ctx    a valid context.
 *  @param alias  the alias.
 *  @param bits   modulus length in bits (1024 is quick, 2048 takes about a
 *                second).
 *  @param option 1: d = e^-1 mod (p-1)(q-1); 2: d = e^-1 mod lcm(p-1, q-1).
 *  @return #KRY_R_OK; #KRY_R_INVALID_ARGUMENT; #KRY_R_RSA_GENERATE;
 *          #KRY_R_MALLOC; #KRY_R_STORE_REFUSED. */
KRY_API uint32_t KRY_RSACreate(KRY_Context *ctx, const char *alias, uint32_t bits, uint32_t option);
/** Generates DSA domain parameters (FIPS 186-2) and a key pair, and stores
 *  them under @p alias.  Parameter generation can take several seconds.
 *  @param ctx          a valid context.
 *  @param parameter_id the generator's G function: a digest identifier
 *                      (#KRY_SHA1, ...) or #KRY_ARIA_128 / #KRY_SEED; proven
 *                      mode allows #KRY_SHA1, #KRY_ARIA_128 and #KRY_SEED.
 *  @param alias        the alias.
 *  @param option       the length of p in bits.
 *  @return #KRY_R_OK; #KRY_R_INVALID_ARGUMENT; #KRY_R_PROVEN_REFUSED;
 *          #KRY_R_DSA_GENERATE; #KRY_R_MALLOC; #KRY_R_STORE_REFUSED. */
KRY_API uint32_t KRY_DSACreate(KRY_Context *ctx, uint32_t parameter_id, const char *alias, uint32_t option);
/** Generates KCDSA domain parameters (TTAK.KO-12.0001) and a key pair, and
 *  stores them under @p alias.  Uses the HAS-160 generator, which proven mode
 *  refuses.
 *  @param ctx    a valid context.
 *  @param alias  the alias.
 *  @param p_bits 1024 to 2048 in steps of 256.
 *  @param q_bits 160 to 256 in steps of 32.
 *  @return #KRY_R_OK; #KRY_R_INVALID_ARGUMENT; #KRY_R_KCDSA_GENERATE;
 *          #KRY_R_MALLOC; #KRY_R_STORE_REFUSED. */
KRY_API uint32_t KRY_KCDSACreate(KRY_Context *ctx, const char *alias, uint32_t p_bits, uint32_t q_bits);
/** Deciphers a key pair written by KRY_KeyPairExport() and stores it under
 *  @p alias.  The format is described in kry/key.h.
 *  @param ctx            a valid context.
 *  @param alias          the alias to store it under.
 *  @param key_type       #KRY_KEYPAIR_RSA, #KRY_KEYPAIR_DSA or #KRY_KEYPAIR_KCDSA.
 *  @param encoded        the exported bytes.
 *  @param encoded_length bytes at @p encoded; a header that claims more is refused.
 *  @param password       the export's password (NUL-terminated; may be empty,
 *                        not NULL).
 *  @return #KRY_R_OK; #KRY_R_INVALID_ARGUMENT; #KRY_R_IMPORT (wrong password,
 *          malformed or truncated data, unknown type); #KRY_R_MALLOC;
 *          #KRY_R_STORE_REFUSED. */
KRY_API uint32_t KRY_KeyPairImport(KRY_Context *ctx, const char *alias, uint32_t key_type, const uint8_t *encoded,
                                   uint32_t encoded_length, const char *password);
/** Writes the key pair stored under @p alias enciphered under a password:
 *  SEED-CBC with key and IV from SHA-256(password) (see kry/key.h).
 *  @param ctx      a valid context.
 *  @param alias    the key pair's alias.
 *  @param out      receives the export.
 *  @param size     bytes available at @p out.
 *  @param length   in: the buffer size (never more than @p size is used);
 *                  out: the length written.
 *  @param password the password (NUL-terminated; an empty text still
 *                  enciphers; NULL is refused).
 *  @return #KRY_R_OK; #KRY_R_INVALID_ARGUMENT; #KRY_R_SIGN_KEY_NOT_FOUND;
 *          #KRY_R_EXPORT (buffer too small, unknown type). */
KRY_API uint32_t KRY_KeyPairExport(KRY_Context *ctx, const char *alias, uint8_t *out, uint32_t size,
                                   uint32_t *length, const char *password);
/** Wipes and removes the key pair stored under @p alias (the first entry
 *  with that alias).
 *  @param ctx   a valid context.
 *  @param alias the key pair's alias.
 *  @return #KRY_R_OK; #KRY_R_INVALID_ARGUMENT; #KRY_R_ALIAS_NOT_FOUND. */
KRY_API uint32_t KRY_KeyPairDestory(KRY_Context *ctx, const char *alias);
/** Counts the key pairs in the context.
 *  @param ctx   a valid context.
 *  @param count receives the count.
 *  @return #KRY_R_OK; #KRY_R_INVALID_ARGUMENT; #KRY_R_COUNT. */
KRY_API uint32_t KRY_NumKeyPair(KRY_Context *ctx, uint32_t *count);
/** Counts the symmetric keys in the context.
 *  @param ctx   a valid context.
 *  @param count receives the count.
 *  @return #KRY_R_OK; #KRY_R_INVALID_ARGUMENT; #KRY_R_COUNT. */
KRY_API uint32_t KRY_NumSymKey(KRY_Context *ctx, uint32_t *count);
/** Writes the alias of the key pair at @p index.  Aliases are ordered by
 *  length, then bytewise.
 *  @param ctx    a valid context.
 *  @param index  0 to KRY_NumKeyPair() - 1.
 *  @param out    receives the alias and a NUL.
 *  @param size   bytes available at @p out.
 *  @param length receives the alias length (without the NUL).
 *  @return #KRY_R_OK; #KRY_R_INVALID_ARGUMENT; #KRY_R_NO_ENTRY;
 *          #KRY_R_BUFFER_TOO_SMALL when the alias and its NUL do not fit. */
KRY_API uint32_t KRY_GetKeyPairAlias(KRY_Context *ctx, int32_t index, char *out, uint32_t size, uint32_t *length);
/** Writes the alias of the symmetric key at @p index.  Aliases are ordered
 *  by length, then bytewise.
 *  @param ctx    a valid context.
 *  @param index  0 to KRY_NumSymKey() - 1.
 *  @param out    receives the alias and a NUL.
 *  @param size   bytes available at @p out.
 *  @param length receives the alias length (without the NUL).
 *  @return #KRY_R_OK; #KRY_R_INVALID_ARGUMENT; #KRY_R_NO_ENTRY;
 *          #KRY_R_BUFFER_TOO_SMALL when the alias and its NUL do not fit. */
KRY_API uint32_t KRY_GetSymKeyAlias(KRY_Context *ctx, int32_t index, char *out, uint32_t size, uint32_t *length);

/* ---- self-test ---- */
/** Runs the module's self-test on a context of its own; while it runs,
 *  every other context gets #KRY_R_SELFTEST_RUNNING.  Its HMAC step ends the
 *  test by design: the call returns #KRY_R_HMAC_INIT (50) in proven mode and
 *  #KRY_R_SELFTEST_KAT (46) outside it (see docs/context-api.md).  It leaves
 *  no key or context behind and may be run again.
 *  @param verbose when not NULL, "NAME CHECK 0" / "NAME CHECK 1" progress
 *                 lines are printed on standard output.
 *  @return a return number: by design #KRY_R_HMAC_INIT (50) in proven mode
 *          and #KRY_R_SELFTEST_KAT (46) outside it; #KRY_R_NOT_INITIALIZED
 *          before KRY_Initialize(). */
KRY_API uint32_t KRY_SelfTests(const void *verbose);

KRY_END_DECLS

#endif /* KRY_API_H */
