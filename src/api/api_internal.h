// Internal pieces of the context API shared by its sources and the tests:
// the context and key-store entry records, the module words, and the
// key-store primitives.  Nothing here is exported.
#ifndef KRY_SRC_API_API_INTERNAL_H
#define KRY_SRC_API_API_INTERNAL_H

#include <kry/api.h>
#include <kry/key.h>
#include <kry/stack.h>

#include <cstddef>
#include <cstdint>

// The context: key-pair store, symmetric-key store, valid flag (exactly 1
// while usable), self-test flag (1 only for the self-test's own context).
struct KRY_Context {
    STACK *keypairs;
    STACK *symkeys;
    uint32_t valid;
    uint32_t selftest;
};

// The sign/verify object: the key record in use and the digest identifier.
struct KRY_SIGNVERIFY {
    KEY *key;
    uint32_t digest_id;
};

namespace kry::api {

struct KRY_KEYPAIR_ENTRY {
    char *alias;           // heap copy with its NUL
    uint32_t alias_length; // strlen(alias)
    uint32_t key_type;     // copy of key->type
    KEY *key;              // owned
};

struct KRY_SYMKEY_ENTRY {
    char *alias;
    uint32_t alias_length;
    uint8_t key[32];
    uint32_t key_length;   // 1..32
};

// ---- module words (race-free: read by other threads during the self-test)
uint32_t initialized();
uint32_t selftest_lock();
void set_selftest_lock(uint32_t value);
uint8_t proven_flag();

// The three common checks of every context call: 1 (not initialised),
// 2 (self-test running, context not the self-test's), 3 (invalid context);
// 0 when the call may go on.
uint32_t common_checks(const KRY_Context *ctx);

// Context creation with the self-test flag: nonzero skips the lock check,
// 1 marks the context as the self-test's own.
uint32_t context_new(KRY_Context **ctx, uint32_t selftest_flag);

// ---- context-layer memory: malloc/free; releases wipe first.
void *api_malloc(size_t size);
void api_free(void *p, size_t size);

// ---- key stores
int kry_alias_compare(const void *a, const void *b);
uint32_t kry_add_keypair_entry(KRY_Context *ctx, KRY_KEYPAIR_ENTRY *entry);
uint32_t kry_add_symkey_entry(KRY_Context *ctx, KRY_SYMKEY_ENTRY *entry);
KRY_KEYPAIR_ENTRY *kry_find_keypair(KRY_Context *ctx, const char *alias);
// key must hold 32 bytes.
uint32_t kry_find_symkey(KRY_Context *ctx, const char *alias, uint8_t *key, uint32_t *key_length);
KRY_KEYPAIR_ENTRY *kry_new_keypair_entry(const char *alias, KEY *key);
KRY_SYMKEY_ENTRY *kry_new_symkey_entry(const char *alias, const uint8_t *key, uint32_t key_length);
void kry_free_keypair_entry(void *entry);
void kry_free_symkey_entry(void *entry);

// ---- number maps; -1 (0xFFFFFFFF) when refused
uint32_t map_digest(uint32_t number);
uint32_t map_cipher(uint32_t number, uint8_t mode, uint32_t key_length);
uint32_t map_rsa_encoding(uint32_t number);

}  // namespace kry::api

// Bounded import used by KRY_KeyPairImport (and the fuzz targets): reads at
// most `available` bytes of `encoded`; a header or component that points past
// them is refused with the import's failure word.  The exported import_*_KEY
// calls are this with an unlimited bound.
namespace kry {
uint32_t import_key_bounded(uint32_t type, KEY *key, const uint8_t *encoded, size_t available,
                            const char *password);
}

#endif  // KRY_SRC_API_API_INTERNAL_H
