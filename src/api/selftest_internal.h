// The self-test of the context API, one function per check.  KRY_SelfTests
// runs them in order on a context of its own; the tests run them one by one
// with the same tables (or altered ones) to reach every check and failure.
//
// Every step returns 0 when its check passed, 46 (KRY_R_SELFTEST_KAT) when a
// computed value differs from the expected one, and otherwise the return
// number of the KRY_ call that failed.  With a non-null verbose flag a step
// prints "<NAME> CHECK 0\n" when it starts and "<NAME> CHECK 1\n" when it
// has passed.
#ifndef KRY_SRC_API_SELFTEST_INTERNAL_H
#define KRY_SRC_API_SELFTEST_INTERNAL_H

#include <kry/api.h>

#include <cstddef>
#include <cstdint>

namespace kry::selftest {

// The self-test's context and its operation objects (null until made).
struct Session {
    const void *verbose;
    KRY_Context *ctx;
    KRY_HMAC *hmac;
    KRY_MD *md;
    KRY_CIPHER *cipher;
    KRY_SIGNVERIFY *sv;
};

// Prints line with printf when verbose is not null.
void progress(const void *verbose, const char *line);

// ---- HMAC --------------------------------------------------------------
// One entry: key, message and a single 16-byte expected MAC.  The entries of
// a table lie back to back (104 bytes each, no padding), so the bytes after
// an entry's MAC are the next entry's key and length.
struct HmacVector {
    uint8_t key[16];
    uint32_t key_length;
    uint8_t message[64];
    uint32_t message_length;
    uint8_t mac[16];
};
static_assert(sizeof(HmacVector) == 104, "HmacVector entries must lie back to back");

inline constexpr size_t kHmacVectorCount = 2;
extern const HmacVector kHmacVectors[kHmacVectorCount];

// Each entry is run with these digest numbers, each final declaring an
// output size of kHmacDeclaredSize bytes; the out length must be the
// corresponding kHmacOutLengths value.
inline constexpr size_t kHmacRunCount = 3;
extern const uint32_t kHmacDigests[kHmacRunCount];     // 1 MD5, 2 SHA-1, 6 SHA-512
extern const uint32_t kHmacOutLengths[kHmacRunCount];  // 16, 20, 64
inline constexpr uint32_t kHmacDeclaredSize = 20;

// The bytes an output of up to 64 bytes is compared with: the table's bytes
// from entry `index`'s MAC on (the MAC, then whatever follows it in the
// table), zeros past the table's end.  Never reads outside the table.
void hmac_expected_window(const HmacVector *table, size_t count, size_t index, uint8_t window[64]);

// ---- digests -----------------------------------------------------------
struct DigestVector {
    uint32_t digest;  // API digest number 1..7
    const uint8_t *message;
    uint32_t message_length;
    const uint8_t *expected;
    uint32_t expected_length;
};
extern const DigestVector kDigestVectors[];
extern const size_t kDigestVectorCount;

// ---- symmetric ciphers -------------------------------------------------
// Plaintext and ciphertext are at most kCipherBufferSize bytes: the whole
// output of one encryption (update and final) goes into that many bytes.
struct CipherVector {
    uint32_t cipher;  // API cipher number 1..5
    uint8_t mode;     // mode byte: 0x01/0x02 padded, 0x11/0x12 not padded
    const uint8_t *key;
    uint32_t key_length;
    const uint8_t *iv;  // null for ECB
    const uint8_t *plaintext;
    uint32_t plaintext_length;
    const uint8_t *ciphertext;
    uint32_t ciphertext_length;
};
inline constexpr uint32_t kCipherBufferSize = 64;
extern const CipherVector kCipherVectors[];
extern const size_t kCipherVectorCount;
// Alias under which each vector's key is imported (and destroyed after).
extern const char kCipherKeyAlias[];

// ---- key pairs ---------------------------------------------------------
struct KeyPairPlan {
    const char *rsa_alias;
    uint32_t rsa_bits;
    uint32_t rsa_option;
    const char *dsa_alias;        // every DSA key pair is stored under it
    const uint32_t *dsa_ids;      // parameter identifiers, one key pair each
    size_t dsa_count;
    uint32_t dsa_option;          // p bits
    const char *kcdsa_alias;
    uint32_t kcdsa_p_bits;
    uint32_t kcdsa_q_bits;
    const char *password;         // export and import of the RSA key pair
};
extern const KeyPairPlan kKeyPairPlan;

// ---- RSA encryption and signatures -------------------------------------
extern const uint8_t kMessage[14];  // "Hello World!!!"
extern const uint32_t kRsaEncoding; // encoding number of the RSAENC round trip

struct SignVerifyVector {
    uint32_t digest;  // digest number of KRY_SignInit / KRY_VerifyInit
    const char *alias;
};
extern const SignVerifyVector kSignVerifyVectors[];
extern const size_t kSignVerifyVectorCount;

// ---- the steps, in the order KRY_SelfTests runs them -------------------
// FLAGS: 1 (lock cleared) when the module is not initialised; otherwise
// sets the self-test lock and returns 0.
uint32_t step_flags(Session &s);
// CONTEXT: the self-test's own context and its four objects.
uint32_t step_context(Session &s);
// VERSION: KRY_GetVersion must give `expected` (nine characters and a NUL).
uint32_t step_version(Session &s, const char *expected);
uint32_t step_prng(Session &s);
uint32_t step_hmac(Session &s, const HmacVector *table, size_t count);
uint32_t step_md(Session &s, const DigestVector *table, size_t count);
uint32_t step_symkey(Session &s);
uint32_t step_cipher(Session &s, const CipherVector *table, size_t count);
uint32_t step_prikey(Session &s, const KeyPairPlan &plan);
uint32_t step_rsaenc(Session &s, const char *alias, uint32_t encoding, const uint8_t *message,
                     uint32_t length);
uint32_t step_signverify(Session &s, const SignVerifyVector *table, size_t count);

// Frees the objects that exist and the context (with every key in it) and
// nulls them.  Leaves the self-test lock alone.
void release(Session &s);

}  // namespace kry::selftest

#endif  // KRY_SRC_API_SELFTEST_INTERNAL_H
