// The context API: module state, contexts with their alias-keyed stores,
// digest/HMAC/random/cipher objects, signing and RSA encryption by alias,
// and the key-store calls.
//
// Every call that takes a context starts with the same three checks
// (common_checks), then checks its arguments (5), then does its work and
// turns any toolkit error word into the call's own return number.  Toolkit
// error words never leave this layer.
#include <kry/api.h>
#include <kry/blockcipher.h>
#include <kry/digest.h>
#include <kry/dsa.h>
#include <kry/error.h>
#include <kry/hmac.h>
#include <kry/kcdsa.h>
#include <kry/key.h>
#include <kry/prng.h>
#include <kry/rsa.h>

#include "api/api_internal.h"
#include "foundation/common.h"
#include "pubkey/dsa_internal.h"

#include <atomic>
#include <cstdlib>
#include <cstring>

namespace kry::api {

namespace {

// Module words of this layer, distinct from the toolkit's flags.  The
// self-test lock is read by other threads while the self-test runs.
std::atomic<uint8_t> g_proven{1};
std::atomic<uint32_t> g_initialized{0};
std::atomic<uint32_t> g_selftest_lock{0};

constexpr char kVersion[] = "KRY 5.0.0";  // 9 characters and the NUL
constexpr uint32_t kSymKeyMax = 32;

// The probe entry used for lookups by alias.
struct AliasProbe {
    char *alias;
    uint32_t alias_length;
};

}  // namespace

uint32_t initialized() { return g_initialized.load(std::memory_order_acquire); }
uint32_t selftest_lock() { return g_selftest_lock.load(std::memory_order_acquire); }
void set_selftest_lock(uint32_t value) { g_selftest_lock.store(value, std::memory_order_release); }
uint8_t proven_flag() { return g_proven.load(std::memory_order_acquire); }

uint32_t common_checks(const KRY_Context *ctx) {
    if (initialized() == 0)
        return KRY_R_NOT_INITIALIZED;
    if ((ctx == nullptr || ctx->selftest != 1) && selftest_lock() != 0)
        return KRY_R_SELFTEST_RUNNING;
    if (ctx == nullptr || ctx->valid != 1)
        return KRY_R_INVALID_CONTEXT;
    return 0;
}

void *api_malloc(size_t size) {
    void *p = std::malloc(size == 0 ? 1 : size);
    kry::wipecheck::note_alloc(p, size, __FILE__, __LINE__);
    return p;
}

// The check build verifies that the size given covered the whole block.
void api_free(void *p, size_t size) {
    if (p == nullptr)
        return;
    kry::wipe(p, size);
    kry::wipecheck::note_release(p, __FILE__, __LINE__);
    std::free(p);
}

// ---- key stores ----------------------------------------------------------

// Orders entries by alias length, then bytewise.  a and b point to slots
// holding entry pointers; both entry kinds begin with (alias, length).
int kry_alias_compare(const void *a, const void *b) {
    if (a == nullptr || b == nullptr)
        return -2;
    const auto *ea = *static_cast<const AliasProbe *const *>(a);
    const auto *eb = *static_cast<const AliasProbe *const *>(b);
    if (ea == nullptr || eb == nullptr)
        return -2;
    if (ea->alias_length < eb->alias_length)
        return -1;
    if (ea->alias_length > eb->alias_length)
        return 1;
    if (ea->alias_length == 0)
        return 0;
    if (ea->alias == nullptr || eb->alias == nullptr)
        return -2;
    return std::memcmp(ea->alias, eb->alias, ea->alias_length);
}

namespace {

uint32_t add_entry(KRY_Context *ctx, STACK *KRY_Context::*store, void *entry) {
    if (uint32_t r = common_checks(ctx); r != 0)
        return r;
    if (entry == nullptr)
        return KRY_R_INVALID_ARGUMENT;
    if (push_STACK_value(ctx->*store, entry) < 1)
        return KRY_R_STORE_REFUSED;
    sort_STACK(ctx->*store);
    return 0;
}

// Index of the first entry with this alias in a store, or -1.
int32_t find_index(STACK *store, const char *alias) {
    AliasProbe probe{const_cast<char *>(alias), static_cast<uint32_t>(std::strlen(alias))};
    return find_STACK_value(store, &probe);
}

}  // namespace

uint32_t kry_add_keypair_entry(KRY_Context *ctx, KRY_KEYPAIR_ENTRY *entry) {
    return add_entry(ctx, &KRY_Context::keypairs, entry);
}

uint32_t kry_add_symkey_entry(KRY_Context *ctx, KRY_SYMKEY_ENTRY *entry) {
    return add_entry(ctx, &KRY_Context::symkeys, entry);
}

KRY_KEYPAIR_ENTRY *kry_find_keypair(KRY_Context *ctx, const char *alias) {
    if (common_checks(ctx) != 0 || alias == nullptr)
        return nullptr;
    const int32_t index = find_index(ctx->keypairs, alias);
    if (index < 0)
        return nullptr;
    return static_cast<KRY_KEYPAIR_ENTRY *>(get_STACK_value(ctx->keypairs, index));
}

uint32_t kry_find_symkey(KRY_Context *ctx, const char *alias, uint8_t *key, uint32_t *key_length) {
    if (uint32_t r = common_checks(ctx); r != 0)
        return r;
    if (alias == nullptr || key == nullptr || key_length == nullptr)
        return KRY_R_INVALID_ARGUMENT;
    const int32_t index = find_index(ctx->symkeys, alias);
    if (index < 0)
        return KRY_R_ALIAS_NOT_FOUND;
    const auto *entry = static_cast<const KRY_SYMKEY_ENTRY *>(get_STACK_value(ctx->symkeys, index));
    if (entry == nullptr)
        return KRY_R_NO_ENTRY;
    const uint32_t n = entry->key_length <= kSymKeyMax ? entry->key_length : kSymKeyMax;
    std::memcpy(key, entry->key, n);
    *key_length = n;
    return 0;
}

namespace {

// Heap copy of a non-empty alias with its NUL; its length in *length.
char *copy_alias(const char *alias, uint32_t *length) {
    const size_t n = std::strlen(alias);
    if (n == 0 || n > 0xFFFFFFFEu)
        return nullptr;
    auto *copy = static_cast<char *>(api_malloc(n + 1));
    if (copy == nullptr)
        return nullptr;
    std::memcpy(copy, alias, n + 1);
    *length = static_cast<uint32_t>(n);
    return copy;
}

}  // namespace

KRY_KEYPAIR_ENTRY *kry_new_keypair_entry(const char *alias, KEY *key) {
    if (alias == nullptr || key == nullptr)
        return nullptr;
    auto *entry = static_cast<KRY_KEYPAIR_ENTRY *>(api_malloc(sizeof(KRY_KEYPAIR_ENTRY)));
    if (entry == nullptr)
        return nullptr;
    std::memset(entry, 0, sizeof *entry);
    entry->alias = copy_alias(alias, &entry->alias_length);
    if (entry->alias == nullptr) {
        api_free(entry, sizeof *entry);
        return nullptr;
    }
    entry->key_type = key->type;
    entry->key = key;
    return entry;
}

KRY_SYMKEY_ENTRY *kry_new_symkey_entry(const char *alias, const uint8_t *key, uint32_t key_length) {
    if (alias == nullptr || key == nullptr || key_length > kSymKeyMax)
        return nullptr;
    auto *entry = static_cast<KRY_SYMKEY_ENTRY *>(api_malloc(sizeof(KRY_SYMKEY_ENTRY)));
    if (entry == nullptr)
        return nullptr;
    std::memset(entry, 0, sizeof *entry);
    entry->alias = copy_alias(alias, &entry->alias_length);
    if (entry->alias == nullptr) {
        api_free(entry, sizeof *entry);
        return nullptr;
    }
    std::memcpy(entry->key, key, key_length);
    entry->key_length = key_length;
    return entry;
}

void kry_free_keypair_entry(void *p) {
    auto *entry = static_cast<KRY_KEYPAIR_ENTRY *>(p);
    if (entry == nullptr)
        return;
    api_free(entry->alias, entry->alias != nullptr ? entry->alias_length + 1u : 0u);
    free_KEY(entry->key);
    api_free(entry, sizeof *entry);
}

void kry_free_symkey_entry(void *p) {
    auto *entry = static_cast<KRY_SYMKEY_ENTRY *>(p);
    if (entry == nullptr)
        return;
    api_free(entry->alias, entry->alias != nullptr ? entry->alias_length + 1u : 0u);
    api_free(entry, sizeof *entry);
}

// ---- number maps ---------------------------------------------------------

uint32_t map_digest(uint32_t number) {
    switch (number) {
    case KRY_MD_MD5: return KRY_MD5;
    case KRY_MD_SHA1: return KRY_SHA1;
    case KRY_MD_SHA224: return KRY_SHA224;
    case KRY_MD_SHA256: return KRY_SHA256;
    case KRY_MD_SHA384: return KRY_SHA384;
    case KRY_MD_SHA512: return KRY_SHA512;
    case KRY_MD_HAS160: return KRY_HAS160;
    default: return 0xFFFFFFFFu;
    }
}

uint32_t map_cipher(uint32_t number, uint8_t mode, uint32_t key_length) {
    struct Entry {
        uint32_t key_length;
        uint32_t id;
    };
    static constexpr Entry kCiphers[] = {
        {24, KRY_DES_EDE3}, {16, KRY_SEED}, {16, KRY_ARIA_128}, {24, KRY_ARIA_192}, {32, KRY_ARIA_256},
    };
    if (number < 1 || number > sizeof kCiphers / sizeof kCiphers[0])
        return 0xFFFFFFFFu;
    const Entry &e = kCiphers[number - 1];
    if (key_length != e.key_length)
        return 0xFFFFFFFFu;
    uint32_t id = e.id;
    switch (mode & 0x0Fu) {
    case 1: id |= KRY_MODE_ECB; break;
    case 2: id |= KRY_MODE_CBC; break;
    default: return 0xFFFFFFFFu;
    }
    // Only a high nibble of exactly 1 turns padding off.
    if ((mode >> 4) == 1)
        id |= KRY_NO_PADDING;
    return id;
}

uint32_t map_rsa_encoding(uint32_t number) {
    switch (number) {
    case KRY_RSAENC_RAW: return KRY_RSA_ENC_NONE;
    case KRY_RSAENC_OAEP_V20: return KRY_RSA_OAEP_V20;
    case KRY_RSAENC_OAEP_V21: return KRY_RSA_OAEP_V21;
    case KRY_RSAENC_PKCS1_V15: return KRY_RSA_RSAES_PKCS1_V15;
    default: return 1;
    }
}

// ---- contexts ------------------------------------------------------------

namespace {

void release_context(KRY_Context *ctx) {
    free_STACK_values(ctx->keypairs, kry_free_keypair_entry);
    free_STACK_values(ctx->symkeys, kry_free_symkey_entry);
    ctx->valid = 0;
    api_free(ctx, sizeof *ctx);
}

}  // namespace

uint32_t context_new(KRY_Context **handle, uint32_t selftest_flag) {
    if (initialized() == 0)
        return KRY_R_NOT_INITIALIZED;
    if (selftest_flag == 0 && selftest_lock() != 0)
        return KRY_R_SELFTEST_RUNNING;
    if (handle == nullptr || *handle != nullptr)
        return KRY_R_INVALID_ARGUMENT;
    auto *ctx = static_cast<KRY_Context *>(api_malloc(sizeof(KRY_Context)));
    if (ctx == nullptr)
        return KRY_R_MALLOC;
    std::memset(ctx, 0, sizeof *ctx);
    ctx->keypairs = new_STACK_compare_func(kry_alias_compare);
    if (ctx->keypairs != nullptr)
        ctx->symkeys = new_STACK_compare_func(kry_alias_compare);
    if (ctx->keypairs == nullptr || ctx->symkeys == nullptr) {
        release_context(ctx);
        return KRY_R_MALLOC;
    }
    ctx->valid = 1;
    ctx->selftest = selftest_flag == 1 ? 1 : 0;
    *handle = ctx;
    return 0;
}

}  // namespace kry::api

using namespace kry::api;

namespace {

// ---- helpers for the operation calls ------------------------------------

inline HMAC_UNIT *unit_of(KRY_HMAC *h) { return reinterpret_cast<HMAC_UNIT *>(h); }
inline DIGEST_UNIT *unit_of(KRY_MD *m) { return reinterpret_cast<DIGEST_UNIT *>(m); }
inline BLOCK_CIPHER_UNIT *unit_of(KRY_CIPHER *c) { return reinterpret_cast<BLOCK_CIPHER_UNIT *>(c); }

// Heap scratch released with a wipe.
class Scratch {
  public:
    explicit Scratch(size_t size) : size_(size == 0 ? 1 : size), p_(static_cast<uint8_t *>(std::calloc(size_, 1))) {}
    ~Scratch() { api_free(p_, size_); }
    Scratch(const Scratch &) = delete;
    Scratch &operator=(const Scratch &) = delete;
    uint8_t *get() const { return p_; }
    size_t size() const { return size_; }
  private:
    size_t size_;
    uint8_t *p_;
};

// An operation's "new" call: the out handle must hold null.
template <class Handle, class Make>
uint32_t make_object(KRY_Context *ctx, Handle **out, Make make) {
    if (uint32_t r = common_checks(ctx); r != 0)
        return r;
    if (out == nullptr || *out != nullptr)
        return KRY_R_INVALID_ARGUMENT;
    Handle *made = make();
    if (made == nullptr)
        return KRY_R_MALLOC;
    *out = made;
    return 0;
}

// An operation's "free" call: the unit is cleaned (wiped), then released.
template <class Handle, class Unit>
uint32_t free_object(KRY_Context *ctx, Handle *object, void (*clean)(Unit *), void (*release)(Unit *)) {
    if (uint32_t r = common_checks(ctx); r != 0)
        return r;
    if (object == nullptr)
        return KRY_R_INVALID_ARGUMENT;
    Unit *unit = reinterpret_cast<Unit *>(object);
    clean(unit);
    release(unit);
    return 0;
}

// Largest output an update may produce beyond its input: the staged partial
// block and a held-back block.
constexpr uint64_t kUpdateSlack = 64;
constexpr uint32_t kFinalMax = 64;

// update_BlockCipher, keeping every write inside the caller's `size` bytes:
// when the output could exceed them it is produced in scratch and the part
// that fits is copied.  The size check comes after the toolkit call.
uint32_t cipher_update(KRY_Context *ctx, KRY_CIPHER *cipher, uint8_t *out, uint32_t size, uint32_t *length,
                       const uint8_t *in, uint32_t in_length, uint32_t failure) {
    if (uint32_t r = common_checks(ctx); r != 0)
        return r;
    if (cipher == nullptr || out == nullptr || in == nullptr || length == nullptr)
        return KRY_R_INVALID_ARGUMENT;
    uint32_t status;
    if (static_cast<uint64_t>(in_length) + kUpdateSlack <= size) {
        status = update_BlockCipher(unit_of(cipher), out, length, in, in_length);
    } else {
        Scratch tmp(static_cast<size_t>(in_length) + kUpdateSlack);
        if (tmp.get() == nullptr)
            return failure;
        uint32_t produced = 0;
        status = update_BlockCipher(unit_of(cipher), tmp.get(), &produced, in, in_length);
        *length = produced;
        if (status == 0)
            std::memcpy(out, tmp.get(), produced < size ? produced : size);
    }
    if (status != 0)
        return failure;
    return *length > size ? KRY_R_BUFFER_TOO_SMALL : 0;
}

uint32_t cipher_final(KRY_Context *ctx, KRY_CIPHER *cipher, uint8_t *out, uint32_t size, uint32_t *length,
                      uint32_t failure) {
    if (uint32_t r = common_checks(ctx); r != 0)
        return r;
    if (cipher == nullptr || out == nullptr || length == nullptr)
        return KRY_R_INVALID_ARGUMENT;
    uint8_t tmp[kFinalMax] = {};
    kry::WipeOnExit wipe_tmp(tmp);
    uint32_t produced = 0;
    const uint32_t status = final_BlockCipher(unit_of(cipher), size >= kFinalMax ? out : tmp, &produced);
    *length = produced;
    if (status != 0)
        return failure;
    if (size < kFinalMax)
        std::memcpy(out, tmp, produced < size ? produced : size);
    return produced > size ? KRY_R_BUFFER_TOO_SMALL : 0;
}

uint32_t cipher_init(KRY_Context *ctx, KRY_CIPHER *cipher, uint32_t number, uint8_t mode, const char *alias,
                     const uint8_t *iv, uint32_t direction, uint32_t failure) {
    if (uint32_t r = common_checks(ctx); r != 0)
        return r;
    if (cipher == nullptr || alias == nullptr)
        return KRY_R_INVALID_ARGUMENT;
    // The key is fetched before the cipher number is looked at.
    uint8_t key[32] = {};
    kry::WipeOnExit wipe_key(key);
    uint32_t key_length = 0;
    if (kry_find_symkey(ctx, alias, key, &key_length) != 0)
        return KRY_R_SYMKEY_NOT_FOUND;
    const uint32_t id = map_cipher(number, mode, key_length);
    if (static_cast<int32_t>(id) < 1)
        return KRY_R_UNSUPPORTED_CIPHER;
    if (init_BlockCipher(unit_of(cipher), id, key, iv, direction) != 0)
        return failure;
    return 0;
}

// ---- signatures ----------------------------------------------------------

// Digest numbers of the signing calls: 1 and 4 SHA-1, 5 HAS-160; anything
// else is passed on as 0xFFFFFFFF for the unit to judge.
uint32_t sign_digest(uint32_t number) {
    if (number == 1 || number == 4)
        return KRY_SHA1;
    if (number == 5)
        return KRY_HAS160;
    return 0xFFFFFFFFu;
}

uint32_t key_type(const KRY_SIGNVERIFY *sv) { return sv->key != nullptr ? sv->key->type : 0; }

template <class T> T *key_unit(const KRY_SIGNVERIFY *sv) { return static_cast<T *>(sv->key->unit); }

// Byte length of a unit's q (0 when absent).
uint32_t q_bytes(const BIGINT *q) {
    if (q == nullptr)
        return 0;
    const int32_t bits = get_BIGINT_bits_length(q);
    return bits > 0 ? static_cast<uint32_t>(bits + 7) / 8 : 0;
}

const BIGINT *unit_q(const KRY_SIGNVERIFY *sv) {
    if (sv->key == nullptr || sv->key->unit == nullptr)
        return nullptr;
    if (sv->key->type == KRY_KEY_DSA)
        return key_unit<DSA>(sv)->q;
    if (sv->key->type == KRY_KEY_KCDSA)
        return key_unit<KCDSA>(sv)->q;
    return nullptr;
}

// r and s buffers for the DSA and KCDSA finals: at least `size` bytes (the
// caller's buffer size) and enough for any value below q with the signer's
// extra byte.
size_t half_capacity(const KRY_SIGNVERIFY *sv, uint32_t size) {
    const size_t need = static_cast<size_t>(q_bytes(unit_q(sv))) + 8;
    const size_t cap = size > need ? size : need;
    return cap < 64 ? 64 : cap;
}

uint32_t dsa_like_final(const KRY_SIGNVERIFY *sv, uint8_t *r, uint32_t *r_length, uint8_t *s,
                        uint32_t *s_length) {
    if (sv->key->type == KRY_KEY_DSA)
        return final_DSA(key_unit<DSA>(sv), r, r_length, s, s_length);
    return final_KCDSA(key_unit<KCDSA>(sv), r, r_length, s, s_length);
}

// The signature string: 30 (rlen+slen+5) 30 (rlen+1) 00 r 30 slen s.
uint32_t sign_final_dsa(const KRY_SIGNVERIFY *sv, uint8_t *out, uint32_t size, uint32_t *length) {
    const size_t cap = half_capacity(sv, size);
    Scratch r(cap), s(cap);
    if (r.get() == nullptr || s.get() == nullptr)
        return KRY_R_SIGN;
    uint32_t r_length = 0, s_length = 0;
    if (dsa_like_final(sv, r.get(), &r_length, s.get(), &s_length) != 0)
        return KRY_R_SIGN;
    if (r_length > cap || s_length > cap)
        return KRY_R_SIGN;
    const size_t total = static_cast<size_t>(r_length) + s_length + 7;
    if (total > size)
        return KRY_R_SIGN;
    Scratch sig(total);
    if (sig.get() == nullptr)
        return KRY_R_SIGN;
    uint8_t *p = sig.get();
    p[0] = 0x30;
    p[1] = static_cast<uint8_t>(r_length + s_length + 5);
    p[2] = 0x30;
    p[3] = static_cast<uint8_t>(r_length + 1);
    p[4] = 0x00;
    std::memcpy(p + 5, r.get(), r_length);
    p[5 + r_length] = 0x30;
    p[6 + r_length] = static_cast<uint8_t>(s_length);
    std::memcpy(p + 7 + r_length, s.get(), s_length);
    *length = static_cast<uint32_t>(total);
    std::memcpy(out, p, total);
    return 0;
}

// Parses the signature string by position, inside its `length` bytes, and
// verifies it.  A DSA signature is accepted only when v equals r.
uint32_t verify_final_dsa(const KRY_SIGNVERIFY *sv, const uint8_t *sig, uint32_t length) {
    if (length < 7 || sig[3] == 0)
        return KRY_R_BAD_SIGNATURE;
    const uint32_t r_length = sig[3] - 1u;
    if (static_cast<uint64_t>(r_length) + 7 > length)
        return KRY_R_BAD_SIGNATURE;
    const uint32_t s_length = sig[r_length + 6];
    if (static_cast<uint64_t>(r_length) + 7 + s_length > length)
        return KRY_R_BAD_SIGNATURE;

    const size_t cap = half_capacity(sv, r_length > s_length ? r_length : s_length);
    Scratch r(cap), s(cap);
    if (r.get() == nullptr || s.get() == nullptr)
        return KRY_R_VERIFY;
    std::memcpy(r.get(), sig + 5, r_length);
    std::memcpy(s.get(), sig + 7 + r_length, s_length);

    if (sv->key->type == KRY_KEY_DSA) {
        DSA *unit = key_unit<DSA>(sv);
        if (unit != nullptr && unit->operation == KRY_DSA_SIGN) {
            // A unit set up for signing signs instead (final_DSA's rule).
            uint32_t rl = r_length, sl = s_length;
            return final_DSA(unit, r.get(), &rl, s.get(), &sl) == 0 ? 0 : KRY_R_VERIFY;
        }
        int match = 0;
        if (kry::dsa_verify_result(unit, r.get(), r_length, s.get(), s_length, &match, true) != 0)
            return KRY_R_VERIFY;
        return match == 1 ? 0 : KRY_R_BAD_SIGNATURE;
    }
    uint32_t rl = r_length, sl = s_length;
    const uint32_t result = final_KCDSA(key_unit<KCDSA>(sv), r.get(), &rl, s.get(), &sl);
    if (result == 0)
        return 0;
    return result == 1 ? KRY_R_BAD_SIGNATURE : KRY_R_VERIFY;
}

uint32_t sign_or_verify_init(KRY_Context *ctx, KRY_SIGNVERIFY *sv, uint32_t digest, const char *alias, bool sign) {
    if (uint32_t r = common_checks(ctx); r != 0)
        return r;
    if (sv == nullptr || alias == nullptr)
        return KRY_R_INVALID_ARGUMENT;
    const uint32_t failure = sign ? KRY_R_SIGN : KRY_R_VERIFY;
    KRY_KEYPAIR_ENTRY *entry = kry_find_keypair(ctx, alias);
    if (entry == nullptr)
        return sign ? KRY_R_SIGN_KEY_NOT_FOUND : KRY_R_VERIFY_KEY_NOT_FOUND;
    sv->key = entry->key;
    sv->digest_id = sign_digest(digest);
    uint32_t status;
    switch (key_type(sv)) {
    case KRY_KEY_RSA:
        status = init_RSASSA(key_unit<RSA>(sv), sv->digest_id, KRY_RSA_ENC_NONE, sign ? 1 : 0);
        break;
    case KRY_KEY_DSA:
        status = init_DSA(key_unit<DSA>(sv), sv->digest_id, sign ? KRY_DSA_SIGN : KRY_DSA_VERIFY, nullptr, 0);
        break;
    case KRY_KEY_KCDSA:
        status = init_KCDSA(key_unit<KCDSA>(sv), sign ? 1 : 0);
        break;
    default:
        return failure;
    }
    return status != 0 ? failure : 0;
}

uint32_t sign_or_verify_update(const KRY_SIGNVERIFY *sv, const uint8_t *data, uint32_t length) {
    switch (key_type(sv)) {
    case KRY_KEY_RSA: return update_RSASSA(key_unit<RSA>(sv), data, length);
    case KRY_KEY_DSA: return update_DSA(key_unit<DSA>(sv), data, length);
    case KRY_KEY_KCDSA: return update_KCDSA(key_unit<KCDSA>(sv), data, length);
    default: return 1;
    }
}

// ---- RSA encryption ------------------------------------------------------

uint32_t rsa_crypt(KRY_Context *ctx, const uint8_t *in, uint32_t in_length, uint8_t *out, uint32_t size,
                   uint32_t *length, const char *alias, uint32_t encoding, bool decrypt) {
    if (uint32_t r = common_checks(ctx); r != 0)
        return r;
    if (in == nullptr || out == nullptr || length == nullptr || alias == nullptr)
        return KRY_R_INVALID_ARGUMENT;
    const uint32_t failure = decrypt ? KRY_R_RSA_DECRYPT : KRY_R_RSA_ENCRYPT;
    KRY_KEYPAIR_ENTRY *entry = kry_find_keypair(ctx, alias);
    if (entry == nullptr)
        return decrypt ? KRY_R_SIGN_KEY_NOT_FOUND : KRY_R_VERIFY_KEY_NOT_FOUND;
    if (entry->key_type != KRY_KEY_RSA || entry->key == nullptr)
        return KRY_R_NOT_RSA;
    RSA *rsa = static_cast<RSA *>(entry->key->unit);
    const uint32_t selector = map_rsa_encoding(encoding);
    if (init_RSAES(rsa, static_cast<int32_t>(selector), decrypt ? 1 : 0, 0) != 0)
        return failure;
    // The result is made in scratch of the modulus length (or the input's,
    // if longer) and copied out only when it fits the caller's buffer.
    const uint32_t k = get_RSA_length(rsa);
    const size_t cap = (k > in_length ? k : in_length) + 16u;
    Scratch tmp(cap);
    if (tmp.get() == nullptr)
        return failure;
    uint32_t produced = 0;
    const uint32_t status = decrypt ? decrypt_RSAES(rsa, tmp.get(), &produced, in, in_length)
                                    : encrypt_RSAES(rsa, tmp.get(), &produced, in, in_length);
    if (status != 0 || produced > cap || produced > size)
        return failure;
    std::memcpy(out, tmp.get(), produced);
    *length = produced;
    return 0;
}

// ---- key store -----------------------------------------------------------

uint32_t store_symkey(KRY_Context *ctx, const char *alias, const uint8_t *key, uint32_t key_length) {
    KRY_SYMKEY_ENTRY *entry = kry_new_symkey_entry(alias, key, key_length);
    if (entry == nullptr)
        return KRY_R_MALLOC;
    if (uint32_t r = kry_add_symkey_entry(ctx, entry); r != 0) {
        kry_free_symkey_entry(entry);
        return r;
    }
    return 0;
}

// Files a key record under an alias; the record is released on failure.
uint32_t store_keypair(KRY_Context *ctx, const char *alias, KEY *key) {
    KRY_KEYPAIR_ENTRY *entry = kry_new_keypair_entry(alias, key);
    if (entry == nullptr) {
        free_KEY(key);
        return KRY_R_MALLOC;
    }
    if (uint32_t r = kry_add_keypair_entry(ctx, entry); r != 0) {
        kry_free_keypair_entry(entry);
        return r;
    }
    return 0;
}

template <class Create>
uint32_t create_keypair(KRY_Context *ctx, const char *alias, uint32_t failure, Create create) {
    KEY *key = new_KEY();
    if (key == nullptr)
        return KRY_R_MALLOC;
    if (create(key) != 0) {
        free_KEY(key);
        return failure;
    }
    return store_keypair(ctx, alias, key);
}

uint32_t destroy_entry(KRY_Context *ctx, const char *alias, STACK *KRY_Context::*store, void (*release)(void *)) {
    if (uint32_t r = common_checks(ctx); r != 0)
        return r;
    if (alias == nullptr)
        return KRY_R_INVALID_ARGUMENT;
    const int32_t index = find_index(ctx->*store, alias);
    if (index < 0)
        return KRY_R_ALIAS_NOT_FOUND;
    void *entry = remove_STACK_value(ctx->*store, index);
    if (entry == nullptr)
        return KRY_R_NO_ENTRY;
    release(entry);
    return 0;
}

uint32_t count_entries(KRY_Context *ctx, uint32_t *count, STACK *KRY_Context::*store) {
    if (uint32_t r = common_checks(ctx); r != 0)
        return r;
    if (count == nullptr)
        return KRY_R_INVALID_ARGUMENT;
    const int32_t n = get_STACK_count(ctx->*store);
    if (n < 0)
        return KRY_R_COUNT;
    *count = static_cast<uint32_t>(n);
    return 0;
}

uint32_t alias_at(KRY_Context *ctx, int32_t index, char *out, uint32_t size, uint32_t *length,
                  STACK *KRY_Context::*store) {
    if (uint32_t r = common_checks(ctx); r != 0)
        return r;
    if (out == nullptr || length == nullptr)
        return KRY_R_INVALID_ARGUMENT;
    // Both entry kinds begin with (alias, alias length).
    const auto *entry = static_cast<const AliasProbe *>(get_STACK_value(ctx->*store, index));
    if (entry == nullptr || entry->alias == nullptr)
        return KRY_R_NO_ENTRY;
    // The alias and its NUL must fit in the buffer.
    if (static_cast<uint64_t>(entry->alias_length) + 1 > size)
        return KRY_R_BUFFER_TOO_SMALL;
    std::memcpy(out, entry->alias, entry->alias_length);
    out[entry->alias_length] = '\0';
    *length = entry->alias_length;
    return 0;
}

}  // namespace

extern "C" {

// ---- module --------------------------------------------------------------

KRY_API uint32_t KRY_Initialize(void) {
    g_initialized.store(1, std::memory_order_release);
    return 0;
}

KRY_API uint32_t KRY_Initialize_r(void) { return KRY_Initialize(); }

KRY_API uint32_t KRY_IsProven(void) { return proven_flag(); }

KRY_API uint32_t KRY_ChangeNonProvenMode(void) {
    g_proven.store(0, std::memory_order_release);
    return 0;
}

KRY_API uint32_t KRY_GetVersion(KRY_Context *ctx, uint8_t *out, uint32_t size, uint32_t *length) {
    if (uint32_t r = common_checks(ctx); r != 0)
        return r;
    if (out == nullptr || length == nullptr)
        return KRY_R_INVALID_ARGUMENT;
    if (size < sizeof kVersion)
        return KRY_R_BUFFER_TOO_SMALL;
    std::memcpy(out, kVersion, sizeof kVersion);
    *length = sizeof kVersion - 1;
    return 0;
}

KRY_API uint32_t KRY_Context_new(KRY_Context **ctx) { return context_new(ctx, 0); }

KRY_API uint32_t KRY_Context_free(KRY_Context *ctx) {
    if (uint32_t r = common_checks(ctx); r != 0)
        return r;
    release_context(ctx);
    return 0;
}

// ---- objects -------------------------------------------------------------

KRY_API uint32_t KRY_HMAC_new(KRY_Context *ctx, KRY_HMAC **hmac) {
    return make_object(ctx, hmac, [] { return reinterpret_cast<KRY_HMAC *>(new_HMAC_UNIT_EX(proven_flag())); });
}

KRY_API uint32_t KRY_HMAC_free(KRY_Context *ctx, KRY_HMAC *hmac) {
    return free_object(ctx, hmac, clean_HMAC_UNIT, free_HMAC_UNIT);
}

KRY_API uint32_t KRY_MD_new(KRY_Context *ctx, KRY_MD **md) {
    return make_object(ctx, md, [] { return reinterpret_cast<KRY_MD *>(new_DIGEST_UNIT_EX(proven_flag())); });
}

KRY_API uint32_t KRY_MD_free(KRY_Context *ctx, KRY_MD *md) {
    return free_object(ctx, md, clean_DIGEST_UNIT, free_DIGEST_UNIT);
}

KRY_API uint32_t KRY_CIPHER_new(KRY_Context *ctx, KRY_CIPHER **cipher) {
    return make_object(ctx, cipher,
                       [] { return reinterpret_cast<KRY_CIPHER *>(new_BLOCK_CIPHER_UNIT_EX(proven_flag())); });
}

KRY_API uint32_t KRY_CIPHER_free(KRY_Context *ctx, KRY_CIPHER *cipher) {
    return free_object(ctx, cipher, clean_BLOCK_CIPHER_UNIT, free_BLOCK_CIPHER_UNIT);
}

KRY_API uint32_t KRY_SIGNVERIFY_new(KRY_Context *ctx, KRY_SIGNVERIFY **sv) {
    return make_object(ctx, sv, [] {
        auto *made = static_cast<KRY_SIGNVERIFY *>(api_malloc(sizeof(KRY_SIGNVERIFY)));
        if (made != nullptr)
            std::memset(made, 0, sizeof *made);
        return made;
    });
}

// The record stays allocated: callers may go on reading it after this call.
KRY_API uint32_t KRY_SIGNVERIFY_free(KRY_Context *ctx, KRY_SIGNVERIFY *sv) {
    if (uint32_t r = common_checks(ctx); r != 0)
        return r;
    if (sv == nullptr)
        return KRY_R_INVALID_ARGUMENT;
    return 0;
}

KRY_API uint32_t KRY_RandomBytes(KRY_Context *ctx, uint8_t *out, uint32_t length) {
    if (uint32_t r = common_checks(ctx); r != 0)
        return r;
    if (out == nullptr)
        return KRY_R_INVALID_ARGUMENT;
    if (static_cast<int32_t>(RAND_BYTES(out, length)) < 0)
        return KRY_R_RANDOM;
    return 0;
}

KRY_API uint32_t KRY_HMACInit(KRY_Context *ctx, KRY_HMAC *hmac, const uint8_t *key, uint32_t key_length,
                              uint32_t digest) {
    if (uint32_t r = common_checks(ctx); r != 0)
        return r;
    if (hmac == nullptr || key == nullptr)
        return KRY_R_INVALID_ARGUMENT;
    const uint32_t id = map_digest(digest);
    if (id == 0xFFFFFFFFu)
        return KRY_R_UNKNOWN_DIGEST;
    return init_HMAC(unit_of(hmac), id, key, key_length) != 0 ? KRY_R_HMAC_INIT : 0;
}

KRY_API uint32_t KRY_HMACUpdate(KRY_Context *ctx, KRY_HMAC *hmac, const uint8_t *data, uint32_t length) {
    if (uint32_t r = common_checks(ctx); r != 0)
        return r;
    if (hmac == nullptr || data == nullptr)
        return KRY_R_INVALID_ARGUMENT;
    return update_HMAC(unit_of(hmac), data, length) != 0 ? KRY_R_HMAC_UPDATE : 0;
}

KRY_API uint32_t KRY_HMACFinal(KRY_Context *ctx, KRY_HMAC *hmac, uint8_t *out, uint32_t size, uint32_t *length) {
    if (uint32_t r = common_checks(ctx); r != 0)
        return r;
    if (hmac == nullptr || out == nullptr || length == nullptr)
        return KRY_R_INVALID_ARGUMENT;
    const DIGEST_UNIT *digest = unit_of(hmac)->digest;
    if (digest != nullptr && digest->digest_length > size)
        return KRY_R_BUFFER_TOO_SMALL;
    return final_HMAC(unit_of(hmac), out, length) != 0 ? KRY_R_HMAC_FINAL : 0;
}

KRY_API uint32_t KRY_DigestInit(KRY_Context *ctx, KRY_MD *md, uint32_t digest) {
    if (uint32_t r = common_checks(ctx); r != 0)
        return r;
    if (md == nullptr)
        return KRY_R_INVALID_ARGUMENT;
    const uint32_t id = map_digest(digest);
    if (id == 0xFFFFFFFFu)
        return KRY_R_UNKNOWN_DIGEST;
    return init_Digest(unit_of(md), id) != 0 ? KRY_R_DIGEST_INIT : 0;
}

KRY_API uint32_t KRY_DigestUpdate(KRY_Context *ctx, KRY_MD *md, const uint8_t *data, uint32_t length) {
    if (uint32_t r = common_checks(ctx); r != 0)
        return r;
    if (md == nullptr || data == nullptr)
        return KRY_R_INVALID_ARGUMENT;
    return update_Digest(unit_of(md), data, length) != 0 ? KRY_R_DIGEST_UPDATE : 0;
}

KRY_API uint32_t KRY_DigestFinal(KRY_Context *ctx, KRY_MD *md, uint8_t *out, uint32_t size, uint32_t *length) {
    if (uint32_t r = common_checks(ctx); r != 0)
        return r;
    if (md == nullptr || out == nullptr || length == nullptr)
        return KRY_R_INVALID_ARGUMENT;
    if (unit_of(md)->digest_length > size)
        return KRY_R_BUFFER_TOO_SMALL;
    return final_Digest(unit_of(md), out, length) != 0 ? KRY_R_DIGEST_FINAL : 0;
}

KRY_API uint32_t KRY_EncryptInit(KRY_Context *ctx, KRY_CIPHER *cipher, uint32_t cipher_number, uint8_t mode,
                                 const char *alias, const uint8_t *iv) {
    return cipher_init(ctx, cipher, cipher_number, mode, alias, iv, KRY_ENCRYPT, KRY_R_ENCRYPT_INIT);
}

KRY_API uint32_t KRY_EncryptUpdate(KRY_Context *ctx, KRY_CIPHER *cipher, uint8_t *out, uint32_t size,
                                   uint32_t *length, const uint8_t *in, uint32_t in_length) {
    return cipher_update(ctx, cipher, out, size, length, in, in_length, KRY_R_ENCRYPT_UPDATE);
}

KRY_API uint32_t KRY_EncryptFinal(KRY_Context *ctx, KRY_CIPHER *cipher, uint8_t *out, uint32_t size,
                                  uint32_t *length) {
    return cipher_final(ctx, cipher, out, size, length, KRY_R_ENCRYPT_FINAL);
}

KRY_API uint32_t KRY_DecryptInit(KRY_Context *ctx, KRY_CIPHER *cipher, uint32_t cipher_number, uint8_t mode,
                                 const char *alias, const uint8_t *iv) {
    return cipher_init(ctx, cipher, cipher_number, mode, alias, iv, KRY_DECRYPT, KRY_R_DECRYPT_INIT);
}

KRY_API uint32_t KRY_DecryptUpdate(KRY_Context *ctx, KRY_CIPHER *cipher, uint8_t *out, uint32_t size,
                                   uint32_t *length, const uint8_t *in, uint32_t in_length) {
    return cipher_update(ctx, cipher, out, size, length, in, in_length, KRY_R_DECRYPT_UPDATE);
}

KRY_API uint32_t KRY_DecryptFinal(KRY_Context *ctx, KRY_CIPHER *cipher, uint8_t *out, uint32_t size,
                                  uint32_t *length) {
    return cipher_final(ctx, cipher, out, size, length, KRY_R_DECRYPT_FINAL);
}

// ---- signatures and RSA encryption --------------------------------------

KRY_API uint32_t KRY_SignInit(KRY_Context *ctx, KRY_SIGNVERIFY *sv, uint32_t digest, const char *alias) {
    return sign_or_verify_init(ctx, sv, digest, alias, true);
}

KRY_API uint32_t KRY_SignUpdate(KRY_Context *ctx, KRY_SIGNVERIFY *sv, const uint8_t *data, uint32_t length) {
    if (uint32_t r = common_checks(ctx); r != 0)
        return r;
    if (sv == nullptr || data == nullptr)
        return KRY_R_INVALID_ARGUMENT;
    return sign_or_verify_update(sv, data, length) != 0 ? KRY_R_SIGN : 0;
}

KRY_API uint32_t KRY_SignFinal(KRY_Context *ctx, KRY_SIGNVERIFY *sv, uint8_t *out, uint32_t size,
                               uint32_t *length) {
    if (uint32_t r = common_checks(ctx); r != 0)
        return r;
    if (sv == nullptr || out == nullptr || length == nullptr)
        return KRY_R_INVALID_ARGUMENT;
    switch (key_type(sv)) {
    case KRY_KEY_RSA: {
        // The signature is made in scratch and copied out only when it fits.
        RSA *rsa = key_unit<RSA>(sv);
        const uint32_t k = get_RSA_length(rsa);
        Scratch tmp(static_cast<size_t>(k) + 16);
        if (tmp.get() == nullptr)
            return KRY_R_SIGN;
        uint32_t produced = 0;
        if (final_RSASSA(rsa, tmp.get(), &produced) != 0 || produced > tmp.size() || produced > size)
            return KRY_R_SIGN;
        std::memcpy(out, tmp.get(), produced);
        *length = produced;
        return 0;
    }
    case KRY_KEY_DSA:
    case KRY_KEY_KCDSA:
        if (sv->key->unit == nullptr)
            return KRY_R_SIGN;
        return sign_final_dsa(sv, out, size, length);
    default:
        return KRY_R_SIGN;
    }
}

KRY_API uint32_t KRY_VerifyInit(KRY_Context *ctx, KRY_SIGNVERIFY *sv, uint32_t digest, const char *alias) {
    return sign_or_verify_init(ctx, sv, digest, alias, false);
}

// Unit failures and unknown key types surface at the final call.
KRY_API uint32_t KRY_VerifyUpdate(KRY_Context *ctx, KRY_SIGNVERIFY *sv, const uint8_t *data, uint32_t length) {
    if (uint32_t r = common_checks(ctx); r != 0)
        return r;
    if (sv == nullptr || data == nullptr)
        return KRY_R_INVALID_ARGUMENT;
    (void)sign_or_verify_update(sv, data, length);
    return 0;
}

KRY_API uint32_t KRY_VerifyFinal(KRY_Context *ctx, KRY_SIGNVERIFY *sv, const uint8_t *signature, uint32_t length) {
    if (uint32_t r = common_checks(ctx); r != 0)
        return r;
    if (sv == nullptr || signature == nullptr)
        return KRY_R_INVALID_ARGUMENT;
    switch (key_type(sv)) {
    case KRY_KEY_RSA: {
        RSA *rsa = key_unit<RSA>(sv);
        // A unit set up for signing writes a signature: give it room.
        const uint32_t k = get_RSA_length(rsa);
        Scratch copy((k > length ? k : length) + 16u);
        if (copy.get() == nullptr)
            return KRY_R_VERIFY;
        std::memcpy(copy.get(), signature, length);
        uint32_t len = length;
        const uint32_t result = final_RSASSA(rsa, copy.get(), &len);
        if (result == 0)
            return 0;
        return result == 1 ? KRY_R_BAD_SIGNATURE : KRY_R_VERIFY;
    }
    case KRY_KEY_DSA:
    case KRY_KEY_KCDSA:
        if (sv->key->unit == nullptr)
            return KRY_R_VERIFY;
        return verify_final_dsa(sv, signature, length);
    default:
        return KRY_R_BAD_SIGNATURE;
    }
}

KRY_API uint32_t KRY_RSA_pub_encrypt(KRY_Context *ctx, const uint8_t *in, uint32_t in_length, uint8_t *out,
                                     uint32_t size, uint32_t *length, const char *alias, uint32_t encoding) {
    return rsa_crypt(ctx, in, in_length, out, size, length, alias, encoding, false);
}

KRY_API uint32_t KRY_RSA_pri_decrypt(KRY_Context *ctx, const uint8_t *in, uint32_t in_length, uint8_t *out,
                                     uint32_t size, uint32_t *length, const char *alias, uint32_t encoding) {
    return rsa_crypt(ctx, in, in_length, out, size, length, alias, encoding, true);
}

// ---- key store -----------------------------------------------------------

KRY_API uint32_t KRY_SymKeyCreate(KRY_Context *ctx, const char *alias, uint32_t key_length) {
    if (uint32_t r = common_checks(ctx); r != 0)
        return r;
    if (alias == nullptr || key_length == 0)
        return KRY_R_INVALID_ARGUMENT;
    // A key longer than an entry holds cannot be stored; nothing is drawn.
    if (key_length > kSymKeyMax)
        return KRY_R_MALLOC;
    uint8_t key[kSymKeyMax] = {};
    kry::WipeOnExit wipe_key(key);
    if (static_cast<int32_t>(RAND_BYTES(key, key_length)) < 0)
        return KRY_R_RANDOM;
    return store_symkey(ctx, alias, key, key_length);
}

KRY_API uint32_t KRY_SymKeyImport(KRY_Context *ctx, const char *alias, const uint8_t *key, uint32_t key_length) {
    if (uint32_t r = common_checks(ctx); r != 0)
        return r;
    if (alias == nullptr || key == nullptr || key_length == 0)
        return KRY_R_INVALID_ARGUMENT;
    return store_symkey(ctx, alias, key, key_length);
}

KRY_API uint32_t KRY_SymKeyExport(KRY_Context *ctx, const char *alias, uint8_t *out, uint32_t size,
                                  uint32_t *length) {
    if (uint32_t r = common_checks(ctx); r != 0)
        return r;
    if (alias == nullptr || out == nullptr || length == nullptr)
        return KRY_R_INVALID_ARGUMENT;
    uint8_t key[32] = {};
    kry::WipeOnExit wipe_key(key);
    uint32_t key_length = 0;
    if (kry_find_symkey(ctx, alias, key, &key_length) != 0)
        return KRY_R_SYMKEY_NOT_FOUND;
    if (key_length > size)
        return KRY_R_BUFFER_TOO_SMALL;
    std::memcpy(out, key, key_length);
    *length = key_length;
    return 0;
}

KRY_API uint32_t KRY_SymKeyDestroy(KRY_Context *ctx, const char *alias) {
    return destroy_entry(ctx, alias, &KRY_Context::symkeys, kry_free_symkey_entry);
}

KRY_API uint32_t KRY_RSACreate(KRY_Context *ctx, const char *alias, uint32_t bits, uint32_t option) {
    if (uint32_t r = common_checks(ctx); r != 0)
        return r;
    if (alias == nullptr)
        return KRY_R_INVALID_ARGUMENT;
    return create_keypair(ctx, alias, KRY_R_RSA_GENERATE, [&](KEY *key) {
        return create_RSA_KEY(key, static_cast<int32_t>(bits), static_cast<int32_t>(option));
    });
}

KRY_API uint32_t KRY_DSACreate(KRY_Context *ctx, uint32_t parameter_id, const char *alias, uint32_t option) {
    if (uint32_t r = common_checks(ctx); r != 0)
        return r;
    if (alias == nullptr)
        return KRY_R_INVALID_ARGUMENT;
    // In proven mode only the SHA-1, ARIA and SEED generator choices.
    if (IsProven() == 1 && parameter_id != KRY_ARIA_128 && parameter_id != KRY_SEED && parameter_id != KRY_SHA1)
        return KRY_R_PROVEN_REFUSED;
    return create_keypair(ctx, alias, KRY_R_DSA_GENERATE,
                          [&](KEY *key) { return create_DSA_KEY(key, parameter_id, option, nullptr); });
}

KRY_API uint32_t KRY_KCDSACreate(KRY_Context *ctx, const char *alias, uint32_t p_bits, uint32_t q_bits) {
    if (uint32_t r = common_checks(ctx); r != 0)
        return r;
    if (alias == nullptr)
        return KRY_R_INVALID_ARGUMENT;
    return create_keypair(ctx, alias, KRY_R_KCDSA_GENERATE, [&](KEY *key) {
        return create_KCDSA_KEY(key, static_cast<int32_t>(p_bits), static_cast<int32_t>(q_bits));
    });
}

KRY_API uint32_t KRY_KeyPairImport(KRY_Context *ctx, const char *alias, uint32_t key_type, const uint8_t *encoded,
                                   uint32_t encoded_length, const char *password) {
    if (uint32_t r = common_checks(ctx); r != 0)
        return r;
    if (alias == nullptr || encoded == nullptr || password == nullptr)
        return KRY_R_INVALID_ARGUMENT;
    if (key_type != KRY_KEY_RSA && key_type != KRY_KEY_DSA && key_type != KRY_KEY_KCDSA)
        return KRY_R_IMPORT;
    return create_keypair(ctx, alias, KRY_R_IMPORT, [&](KEY *key) {
        return kry::import_key_bounded(key_type, key, encoded, encoded_length, password);
    });
}

KRY_API uint32_t KRY_KeyPairExport(KRY_Context *ctx, const char *alias, uint8_t *out, uint32_t size,
                                   uint32_t *length, const char *password) {
    if (uint32_t r = common_checks(ctx); r != 0)
        return r;
    if (alias == nullptr || out == nullptr || length == nullptr || password == nullptr)
        return KRY_R_INVALID_ARGUMENT;
    KRY_KEYPAIR_ENTRY *entry = kry_find_keypair(ctx, alias);
    if (entry == nullptr)
        return KRY_R_SIGN_KEY_NOT_FOUND;
    // The export takes its buffer size from *length; it never exceeds the
    // size of the buffer given.
    uint32_t in_out = *length < size ? *length : size;
    uint32_t status;
    switch (entry->key_type) {
    case KRY_KEY_RSA: status = export_RSA_KEY(entry->key, out, &in_out, password); break;
    case KRY_KEY_DSA: status = export_DSA_KEY(entry->key, out, &in_out, password); break;
    case KRY_KEY_KCDSA: status = export_KCDSA_KEY(entry->key, out, &in_out, password); break;
    default: return KRY_R_EXPORT;
    }
    if (status != 0)
        return KRY_R_EXPORT;
    *length = in_out;
    return 0;
}

KRY_API uint32_t KRY_KeyPairDestory(KRY_Context *ctx, const char *alias) {
    return destroy_entry(ctx, alias, &KRY_Context::keypairs, kry_free_keypair_entry);
}

KRY_API uint32_t KRY_NumKeyPair(KRY_Context *ctx, uint32_t *count) {
    return count_entries(ctx, count, &KRY_Context::keypairs);
}

KRY_API uint32_t KRY_NumSymKey(KRY_Context *ctx, uint32_t *count) {
    return count_entries(ctx, count, &KRY_Context::symkeys);
}

KRY_API uint32_t KRY_GetKeyPairAlias(KRY_Context *ctx, int32_t index, char *out, uint32_t size, uint32_t *length) {
    return alias_at(ctx, index, out, size, length, &KRY_Context::keypairs);
}

KRY_API uint32_t KRY_GetSymKeyAlias(KRY_Context *ctx, int32_t index, char *out, uint32_t size, uint32_t *length) {
    return alias_at(ctx, index, out, size, length, &KRY_Context::symkeys);
}

}  // extern "C"
