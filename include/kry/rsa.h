/**
 * @file kry/rsa.h
 * @brief RSA (RFC 8017 / PKCS #1): one key per unit, RSASSA signatures,
 * RSAES encryption and key generation.
 *
 * Private-key operations use the CRT values when present, with blinding.
 * In proven mode the raw encodings (#KRY_RSA_ENC_NONE) and RSAES-PKCS1-v1_5
 * are refused with #KRY_ERR_NOT_PROVEN.  Functions return 0 for success,
 * otherwise an error word (library 0x10).
 */
#ifndef KRY_RSA_H
#define KRY_RSA_H

#include <stdint.h>
#include <kry/export.h>
#include <kry/bigint.h>
#include <kry/digest.h>

KRY_BEGIN_DECLS

/** @name Signature encodings (init_RSASSA())
 * @{ */
#define KRY_RSA_ENC_NONE        0 /**< raw: the digest itself is exponentiated (also raw RSAES); refused in proven mode */
#define KRY_RSA_EMSA_PKCS1_V15  1 /**< EMSA-PKCS1-v1_5 (RFC 8017 9.2) */
#define KRY_RSA_EMSA_PSS        2 /**< EMSA-PSS (RFC 8017 9.1), salt as long as the digest */
/** @} */
/** @name Encryption encodings (init_RSAES())
 * @{ */
#define KRY_RSA_OAEP_V20        8  /**< EME-OAEP, PKCS #1 v2.0 block of k - 1 bytes */
#define KRY_RSA_OAEP_V21        16 /**< EME-OAEP, PKCS #1 v2.1 block of k bytes (RFC 8017 7.1) */
#define KRY_RSA_RSAES_PKCS1_V15 32 /**< RSAES-PKCS1-v1_5 (RFC 8017 7.2); refused in proven mode */
/** @} */

/** @name key_state bits
 * @{ */
#define KRY_RSA_HAS_N   1u /**< the modulus is set */
#define KRY_RSA_HAS_E   2u /**< the public exponent is set */
#define KRY_RSA_HAS_D   4u /**< the private exponent is set */
#define KRY_RSA_HAS_CRT 8u /**< p, q, dP, dQ and qInv are set */
/** @} */

/** An RSA unit: one key, its digest and scratch pool. */
typedef struct RSA {
    int32_t encoding;      /**< signature or encryption encoding set by init */
    uint32_t key_state;    /**< bit 0 n, bit 1 e, bit 2 d, bit 3 CRT values */
    DIGEST_UNIT *digest;   /**< owned; made by the first init */
    BIGINT *e;             /**< public exponent */
    BIGINT *d;             /**< private exponent */
    BIGINT *n;             /**< modulus */
    BIGINT *p;             /**< first prime */
    BIGINT *dP;            /**< d mod (p - 1) */
    BIGINT *q;             /**< second prime */
    BIGINT *dQ;            /**< d mod (q - 1) */
    BIGINT *qInv;          /**< q^-1 mod p */
    int32_t mode;          /**< 0 public-key operation, 1 private-key operation */
    BIGINT_POOL *pool;     /**< owned scratch pool */
    BIGINT *blinding;      /**< r^e mod n */
    BIGINT *unblinding;    /**< r^-1 mod n */
} RSA;

/** Allocates an empty RSA unit with its scratch pool.
 *  @return the unit, or NULL; release it with free_RSA(). */
KRY_API RSA *new_RSA(void);
/** Wipes and releases the key values, blinding values and digest.
 *  @param rsa the unit (NULL is ignored). */
KRY_API void clean_RSA(RSA *rsa);
/** Cleans and frees a unit.
 *  @param rsa the unit (NULL is ignored). */
KRY_API void free_RSA(RSA *rsa);
/** Loads a key (copies).  Any value may be NULL; key_state records which
 *  are present.
 *  @param rsa  the unit.
 *  @param n    modulus.
 *  @param e    public exponent.
 *  @param d    private exponent.
 *  @param p    first prime.
 *  @param q    second prime.
 *  @param dP   d mod (p - 1).
 *  @param dQ   d mod (q - 1).
 *  @param qInv q^-1 mod p.
 *  @return 0 or an error word. */
KRY_API uint32_t set_RSA_params(RSA *rsa, const BIGINT *n, const BIGINT *e, const BIGINT *d, const BIGINT *p,
                                const BIGINT *q, const BIGINT *dP, const BIGINT *dQ, const BIGINT *qInv);
/** Loads a public key (copies).
 *  @param rsa the unit.
 *  @param n   modulus.
 *  @param e   public exponent.
 *  @return 0 or an error word. */
KRY_API uint32_t set_RSA_public_parmas(RSA *rsa, const BIGINT *n, const BIGINT *e);
/** The modulus length.
 *  @param rsa the unit.
 *  @return bytes (k), 0 without a modulus. */
KRY_API uint32_t get_RSA_length(RSA *rsa);

/** Starts a signature or verification (RSASSA).
 *  @param rsa       a unit with a key.
 *  @param digest_id the message digest (#KRY_SHA256, ...).
 *  @param encoding  #KRY_RSA_ENC_NONE, #KRY_RSA_EMSA_PKCS1_V15 or #KRY_RSA_EMSA_PSS.
 *  @param mode      1 to sign (private key), 0 to verify (public key).
 *  @return 0 or an error word. */
KRY_API uint32_t init_RSASSA(RSA *rsa, uint32_t digest_id, int32_t encoding, int32_t mode);
/** Hashes more of the message.
 *  @param rsa    a unit started by init_RSASSA().
 *  @param data   message bytes.
 *  @param length bytes at @p data.
 *  @return 0 or an error word. */
KRY_API uint32_t update_RSASSA(RSA *rsa, const uint8_t *data, uint32_t length);
/** Finishes: signs (sign_RSASSA()) or verifies (verify_RSASSA()) as the
 *  mode of init_RSASSA() says.
 *  @param rsa       a unit started by init_RSASSA().
 *  @param signature sign: receives the signature (k bytes); verify: the signature.
 *  @param length    sign: receives the length; verify: the signature's length.
 *  @return 0 (signed, or the signature verifies), 1 or an error word otherwise. */
KRY_API uint32_t final_RSASSA(RSA *rsa, uint8_t *signature, uint32_t *length);
/** Signs the message hashed so far with the private key.
 *  @param rsa        a unit with a private key.
 *  @param out        receives the signature (k bytes).
 *  @param out_length receives its length.
 *  @return 0; #KRY_ERR_NOT_PROVEN; an error word. */
KRY_API uint32_t sign_RSASSA(RSA *rsa, uint8_t *out, uint32_t *out_length);
/** Verifies a signature over the message hashed so far.
 *  @param rsa       a unit with a public key.
 *  @param signature the signature.
 *  @param length    its length.
 *  @return 0 when it verifies; 1 or an error word when it does not. */
KRY_API uint32_t verify_RSASSA(RSA *rsa, const uint8_t *signature, uint32_t length);

/** Sets the unit up for encryption or decryption (RSAES).
 *  @param rsa       a unit with a key.
 *  @param encoding  #KRY_RSA_ENC_NONE (raw), #KRY_RSA_OAEP_V20,
 *                   #KRY_RSA_OAEP_V21 or #KRY_RSA_RSAES_PKCS1_V15.
 *  @param mode      0 to encrypt (public key), 1 to decrypt (private key).
 *  @param digest_id the OAEP hash and MGF1 digest (0: SHA-1).
 *  @return 0; #KRY_ERR_NOT_PROVEN; an error word. */
KRY_API uint32_t init_RSAES(RSA *rsa, int32_t encoding, int32_t mode, uint32_t digest_id);
/** Enciphers a message with the public key.
 *  @param rsa        a unit set up by init_RSAES().
 *  @param out        receives the ciphertext (k bytes).
 *  @param out_length receives its length.
 *  @param in         the message.
 *  @param in_length  its length (bounded by k and the encoding's overhead).
 *  @return 0 or an error word (e.g. message too long). */
KRY_API uint32_t encrypt_RSAES(RSA *rsa, uint8_t *out, uint32_t *out_length, const uint8_t *in, uint32_t in_length);
/** Deciphers a ciphertext with the private key.
 *  @param rsa        a unit set up by init_RSAES().
 *  @param out        receives the message.
 *  @param out_length receives its length.
 *  @param in         the ciphertext.
 *  @param in_length  its length.
 *  @return 0 or an error word (e.g. a decoding failure). */
KRY_API uint32_t decrypt_RSAES(RSA *rsa, uint8_t *out, uint32_t *out_length, const uint8_t *in, uint32_t in_length);

/** Generates a key pair (RFC 8017 3.1, 3.2) into the unit: two primes of
 *  half the modulus size each, d and the CRT values.
 *  @param rsa  the unit.
 *  @param e    the public exponent (e.g. 65537).
 *  @param bits the modulus length in bits.
 *  @param kind 1: d = e^-1 mod (p-1)(q-1); 2: d = e^-1 mod lcm(p-1, q-1).
 *  @return 0 or an error word. */
KRY_API uint32_t generate_RSA_params(RSA *rsa, const BIGINT *e, int32_t bits, int32_t kind);

/* ---- encodings ---- */
/** Builds an EMSA-PKCS1-v1_5 block (RFC 8017 9.2): 00 01 FF..FF 00 DigestInfo.
 *  @param em        receives the block.
 *  @param em_length the block length (k).
 *  @param hash      the digest value.
 *  @param h         its length.
 *  @param digest_id the digest, for the DigestInfo prefix.
 *  @return 0 or an error word. */
KRY_API uint32_t add_EMSA_PKCS1_v1_5_ENCODE(uint8_t *em, uint32_t em_length, const uint8_t *hash,
                                            uint32_t h, uint32_t digest_id);
/** Checks a recovered EMSA-PKCS1-v1_5 block against a digest value.
 *  @param em        the recovered block (leading zero bytes stripped).
 *  @param length    its length.
 *  @param k         the modulus length.
 *  @param hash      the expected digest value.
 *  @param h         its length.
 *  @param digest_id the digest.
 *  @return 0 when it matches, otherwise an error word. */
KRY_API uint32_t check_EMSA_PKCS1_v1_5_ENCODE(const uint8_t *em, int32_t length, uint32_t k,
                                              const uint8_t *hash, uint32_t h, uint32_t digest_id);
/** Builds an EMSA-PSS block (RFC 8017 9.1.1) with MGF1.
 *  @param rsa         the unit (for the modulus length).
 *  @param em          receives the block.
 *  @param em_length   the block length.
 *  @param hash        the message digest value.
 *  @param h           its length.
 *  @param salt_length salt bytes (drawn at random).
 *  @param unit        the digest unit for the PSS hash and MGF1.
 *  @return 0 or an error word. */
KRY_API uint32_t add_RSASSA_PKCS1_PSS_ENCODE(RSA *rsa, uint8_t *em, uint32_t em_length,
                                             const uint8_t *hash, uint32_t h, int32_t salt_length,
                                             DIGEST_UNIT *unit);
/** Checks a recovered EMSA-PSS block (RFC 8017 9.1.2).
 *  @param rsa         the unit.
 *  @param em          the recovered block.
 *  @param length      its length.
 *  @param hash        the message digest value.
 *  @param h           its length.
 *  @param salt_length the expected salt length.
 *  @param unit        the digest unit for the PSS hash and MGF1.
 *  @return 0 when it is consistent, otherwise an error word. */
KRY_API uint32_t check_RSASSA_PKCS1_PSS_ENCODE(RSA *rsa, const uint8_t *em, uint32_t length,
                                               const uint8_t *hash, uint32_t h, int32_t salt_length,
                                               DIGEST_UNIT *unit);
/** Builds an EME-OAEP block with an empty label.  @p form 0 (or 8): the
 *  PKCS #1 v2.0 block of k - 1 bytes; otherwise the v2.1 block of k bytes.
 *  @param rsa          the unit (modulus length and digest).
 *  @param m            the message.
 *  @param m_length     its length.
 *  @param em           receives the block.
 *  @param capacity     bytes available at @p em.
 *  @param scratch      work space of at least the block length.
 *  @param label_length ignored: the label is always empty.
 *  @param form         the block form.
 *  @return 0 or an error word. */
KRY_API uint32_t encode_RSAES_OAEP_PADDING(RSA *rsa, const uint8_t *m, uint32_t m_length, uint8_t *em,
                                           uint32_t capacity, uint8_t *scratch, uint32_t label_length,
                                           int32_t form);
/** Decodes an EME-OAEP block (forms as encode_RSAES_OAEP_PADDING()).
 *  @param rsa          the unit.
 *  @param em           the block.
 *  @param length       its length.
 *  @param out          receives the message.
 *  @param capacity     bytes available at @p out.
 *  @param scratch      work space of at least the block length.
 *  @param label_length ignored: the label is always empty.
 *  @param form         the block form.
 *  @return 0 or an error word. */
KRY_API uint32_t decode_RSAES_OAEP_PADDING(RSA *rsa, const uint8_t *em, uint32_t length, uint8_t *out,
                                           uint32_t capacity, uint8_t *scratch, uint32_t label_length,
                                           int32_t form);
/** Builds an RSAES-PKCS1-v1_5 block (RFC 8017 7.2.1): 00 02 PS 00 M.
 *  @param rsa      the unit.
 *  @param m        the message.
 *  @param m_length its length (at most k - 11).
 *  @param em       receives the block.
 *  @param k        the block length.
 *  @return 0 or an error word. */
KRY_API uint32_t encode_RSAES_PKCS1_PADDING(RSA *rsa, const uint8_t *m, uint32_t m_length, uint8_t *em,
                                            uint32_t k);
/** Decodes an RSAES-PKCS1-v1_5 block.
 *  @param rsa      the unit.
 *  @param em       the block.
 *  @param length   its length.
 *  @param out      receives the message.
 *  @param capacity bytes available at @p out.
 *  @return 0 or an error word. */
KRY_API uint32_t decode_RSAES_PKCS1_PADDING(RSA *rsa, const uint8_t *em, uint32_t length, uint8_t *out,
                                            uint32_t capacity);

/* ---- end of encodings ---- */

KRY_END_DECLS

#endif /* KRY_RSA_H */
