// Key pairs: the KEY record, key-pair generation for RSA, DSA and KCDSA, and
// the encoded key-pair format (a count byte, a 4-byte big-endian payload
// length, and the component list, plain or enciphered with SEED-CBC under a
// key and IV taken from SHA-256 of a password).
#include <kry/key.h>

#include <kry/bigint.h>
#include <kry/blockcipher.h>
#include <kry/digest.h>
#include <kry/dsa.h>
#include <kry/error.h>
#include <kry/kcdsa.h>
#include <kry/rsa.h>

#include "api/api_internal.h"
#include "foundation/common.h"

#include <climits>
#include <cstddef>
#include <cstdint>
#include <cstring>

namespace {

constexpr const char *kSource = "key";

constexpr uint32_t kLibKey = 0x12;

// Reasons.
constexpr uint32_t kInvalidInput = 0x0003;
constexpr uint32_t kMalloc = 0x0400;
constexpr uint32_t kBufTooShort = 0x1000;
constexpr uint32_t kInvalidPassword = 0x1100;
constexpr uint32_t kKeyGenFail = 0x1200;
constexpr uint32_t kReadFromBinary = 0x1400;

constexpr uint32_t kSha256 = 0x05000300u;
constexpr uint32_t kSeedCbc = 0x04000120u;  // SEED, CBC, PKCS #7 padding
constexpr uint32_t kDigestBytes = 32;

// Header: count byte + 4-byte payload length.
constexpr size_t kHeader = 5;
// Per component: tag byte + 4-byte value length.
constexpr uint64_t kComponentHeader = 5;
// Export needs the list plus this much room (header and padding).
constexpr uint64_t kExportSlack = 24;

constexpr uint32_t kMaxComponents = 8;

// One family of key pairs: its KEY type and its function numbers in the
// error words (create, export, import, destroy follow each other).
struct Family {
    uint32_t type;
    uint32_t create_fn;
    uint32_t components;  // highest tag
};

constexpr Family kRsa{KRY_KEY_RSA, 0x05, 8};
constexpr Family kDsa{KRY_KEY_DSA, 0x09, 5};
constexpr Family kKcdsa{KRY_KEY_KCDSA, 0x0D, 5};

constexpr uint32_t word(uint32_t function, uint32_t reason) { return kry::error_word(kLibKey, function, reason); }
constexpr uint32_t create_word(const Family &f, uint32_t reason) { return word(f.create_fn, reason); }
constexpr uint32_t export_word(const Family &f, uint32_t reason) { return word(f.create_fn + 1, reason); }
constexpr uint32_t import_word(const Family &f, uint32_t reason) { return word(f.create_fn + 2, reason); }
constexpr uint32_t destroy_word(const Family &f, uint32_t reason) { return word(f.create_fn + 3, reason); }

const Family *family_of(uint32_t type) {
    switch (type) {
    case KRY_KEY_RSA:
        return &kRsa;
    case KRY_KEY_DSA:
        return &kDsa;
    case KRY_KEY_KCDSA:
        return &kKcdsa;
    default:
        return nullptr;
    }
}

// Heap bytes from lum_malloc, wiped before release.
class SecretBuffer {
  public:
    explicit SecretBuffer(size_t size) : size_(size != 0 ? size : 1) {
        if (size_ <= UINT32_MAX)
            data_ = static_cast<uint8_t *>(lum_malloc(static_cast<uint32_t>(size_), kSource, __LINE__));
    }
    ~SecretBuffer() {
        if (data_ != nullptr) {
            kry::wipe(data_, size_);
            lum_free(data_, kSource, __LINE__);
        }
    }
    SecretBuffer(const SecretBuffer &) = delete;
    SecretBuffer &operator=(const SecretBuffer &) = delete;
    uint8_t *get() { return data_; }

  private:
    size_t size_;
    uint8_t *data_ = nullptr;
};

// The unit's value slots in tag order (tag i is slots[i - 1]).
uint32_t unit_slots(uint32_t type, void *unit, BIGINT **slots[kMaxComponents]) {
    if (unit == nullptr)
        return 0;
    switch (type) {
    case KRY_KEY_RSA: {
        auto *rsa = static_cast<RSA *>(unit);
        BIGINT **list[8] = {&rsa->n, &rsa->e, &rsa->d, &rsa->p, &rsa->q, &rsa->dP, &rsa->dQ, &rsa->qInv};
        for (uint32_t i = 0; i < 8; i++)
            slots[i] = list[i];
        return 8;
    }
    case KRY_KEY_DSA: {
        auto *dsa = static_cast<DSA *>(unit);
        BIGINT **list[5] = {&dsa->p, &dsa->q, &dsa->g, &dsa->y, &dsa->x};
        for (uint32_t i = 0; i < 5; i++)
            slots[i] = list[i];
        return 5;
    }
    case KRY_KEY_KCDSA: {
        auto *kcdsa = static_cast<KCDSA *>(unit);
        BIGINT **list[5] = {&kcdsa->p, &kcdsa->q, &kcdsa->g, &kcdsa->y, &kcdsa->x};
        for (uint32_t i = 0; i < 5; i++)
            slots[i] = list[i];
        return 5;
    }
    default:
        return 0;
    }
}

void *new_unit(uint32_t type) {
    switch (type) {
    case KRY_KEY_RSA:
        return new_RSA();
    case KRY_KEY_DSA:
        return new_DSA();
    case KRY_KEY_KCDSA:
        return new_KCDSA();
    default:
        return nullptr;
    }
}

// Releases a unit by type; the units wipe their values themselves.
void free_unit(uint32_t type, void *unit) {
    if (unit == nullptr)
        return;
    switch (type) {
    case KRY_KEY_RSA:
        free_RSA(static_cast<RSA *>(unit));
        break;
    case KRY_KEY_DSA:
        free_DSA(static_cast<DSA *>(unit));
        break;
    case KRY_KEY_KCDSA:
        free_KCDSA(static_cast<KCDSA *>(unit));
        break;
    default:
        break;
    }
}

uint32_t byte_length(const BIGINT *b) {
    if (b == nullptr)
        return 0;
    const int32_t bits = get_BIGINT_bits_length(b);
    return bits > 0 ? (static_cast<uint32_t>(bits) + 7) / 8 : 0;
}

// Puts a new unit into the record, releasing the one it held.
void install(KEY *key, uint32_t type, void *unit, uint32_t length) {
    free_unit(key->type, key->unit);
    key->type = type;
    key->unit = unit;
    key->length = length;
}

// SHA-256 of the password text: bytes 0..15 are the SEED key, 16..31 the IV.
uint32_t password_digest(const char *password, uint8_t digest[kDigestBytes]) {
    const size_t text_length = std::strlen(password);
    if (text_length > UINT32_MAX)
        return 1;
    uint32_t digest_length = kDigestBytes;
    const uint32_t r = Digest(kSha256, reinterpret_cast<const uint8_t *>(password),
                              static_cast<uint32_t>(text_length), digest, &digest_length);
    if (r != 0)
        return r;
    return digest_length == kDigestBytes ? 0 : 1;
}

uint32_t export_key(const Family &f, KEY *key, uint8_t *out, uint32_t *length, const char *password) {
    if (key == nullptr || out == nullptr || length == nullptr || key->unit == nullptr || key->type != f.type)
        return export_word(f, kInvalidInput);

    BIGINT **slots[kMaxComponents] = {};
    const uint32_t slot_count = unit_slots(f.type, key->unit, slots);
    uint32_t count = 0;
    uint64_t list_length = 0;
    for (uint32_t i = 0; i < slot_count; i++) {
        if (*slots[i] == nullptr)
            continue;
        count++;
        list_length += kComponentHeader + byte_length(*slots[i]);
    }

    if (static_cast<uint64_t>(*length) < list_length + kExportSlack)
        return export_word(f, kBufTooShort);
    // The cipher takes a signed 32-bit length.
    if (list_length > static_cast<uint64_t>(INT32_MAX) - 32)
        return export_word(f, kBufTooShort);

    SecretBuffer list(static_cast<size_t>(list_length));
    if (list.get() == nullptr)
        return export_word(f, kMalloc);
    size_t pos = 0;
    for (uint32_t i = 0; i < slot_count; i++) {
        const BIGINT *value = *slots[i];
        if (value == nullptr)
            continue;
        const uint32_t n = byte_length(value);
        list.get()[pos] = static_cast<uint8_t>(i + 1);
        kry::store32_be(list.get() + pos + 1, n);
        if (n != 0 && BIGINT_to_binary_unsigned(value, list.get() + pos + 5) != static_cast<int32_t>(n))
            return export_word(f, kMalloc);
        pos += kComponentHeader + n;
    }
    const auto plain_length = static_cast<uint32_t>(list_length);

    out[0] = static_cast<uint8_t>(count);
    if (password == nullptr) {
        kry::store32_be(out + 1, plain_length);
        if (plain_length != 0)
            std::memcpy(out + kHeader, list.get(), plain_length);
        // A plain export reports the payload length without the header.
        *length = plain_length;
        return 0;
    }

    uint8_t digest[kDigestBytes] = {};
    kry::WipeOnExit wipe_digest(digest);
    if (password_digest(password, digest) != 0)
        return 1;
    uint32_t cipher_length = 0;
    if (BlockCipher(kSeedCbc, 1, digest, digest + 16, list.get(), static_cast<int32_t>(plain_length),
                    out + kHeader, &cipher_length) != 0)
        return 1;
    kry::store32_be(out + 1, cipher_length);
    *length = cipher_length + static_cast<uint32_t>(kHeader);
    return 0;
}

uint32_t import_key(const Family &f, KEY *key, const uint8_t *encoded, size_t available, const char *password) {
    if (key == nullptr || encoded == nullptr)
        return import_word(f, kInvalidInput);
    if (available < kHeader)
        return import_word(f, kReadFromBinary);
    const uint32_t count = encoded[0];
    const uint32_t payload_length = kry::load32_be(encoded + 1);
    if (static_cast<uint64_t>(payload_length) > static_cast<uint64_t>(available - kHeader))
        return import_word(f, kReadFromBinary);

    SecretBuffer payload(payload_length);
    if (payload.get() == nullptr)
        return import_word(f, kMalloc);
    uint32_t plain_length = 0;
    if (password == nullptr) {
        if (payload_length != 0)
            std::memcpy(payload.get(), encoded + kHeader, payload_length);
        plain_length = payload_length;
    } else {
        uint8_t digest[kDigestBytes] = {};
        kry::WipeOnExit wipe_digest(digest);
        if (const uint32_t r = password_digest(password, digest); r != 0)
            return f.type == KRY_KEY_RSA ? r : 1;
        if (payload_length > static_cast<uint32_t>(INT32_MAX))
            return import_word(f, kInvalidPassword);
        // The output is never longer than the input for a padded decipherment.
        if (BlockCipher(kSeedCbc, 0, digest, digest + 16, encoded + kHeader, static_cast<int32_t>(payload_length),
                        payload.get(), &plain_length) != 0 ||
            plain_length > payload_length)
            return import_word(f, kInvalidPassword);
    }

    void *unit = new_unit(f.type);
    if (unit == nullptr)
        return import_word(f, kMalloc);
    BIGINT **slots[kMaxComponents] = {};
    const uint32_t slot_count = unit_slots(f.type, unit, slots);

    const uint8_t *list = payload.get();
    size_t pos = 0;
    uint32_t status = 0;
    for (uint32_t i = 0; i < count; i++) {
        if (pos >= plain_length) {
            status = import_word(f, kReadFromBinary);
            break;
        }
        const uint32_t tag = list[pos];
        // A tag outside the family's range uses up one entry of the count
        // and leaves the read position where it is.
        if (tag == 0 || tag > slot_count)
            continue;
        if (plain_length - pos < kComponentHeader) {
            status = import_word(f, kReadFromBinary);
            break;
        }
        const uint32_t n = kry::load32_be(list + pos + 1);
        if (static_cast<uint64_t>(n) > plain_length - pos - kComponentHeader) {
            status = import_word(f, kReadFromBinary);
            break;
        }
        BIGINT **slot = slots[tag - 1];
        BIGINT *value = binary_to_BIGINT(list + pos + kComponentHeader, static_cast<int32_t>(n), *slot);
        if (value == nullptr) {
            status = import_word(f, kReadFromBinary);
            break;
        }
        *slot = value;
        pos += kComponentHeader + n;
    }
    if (status != 0) {
        free_unit(f.type, unit);
        return status;
    }

    if (f.type == KRY_KEY_RSA) {
        // All eight values: every key part including the CRT values;
        // otherwise the public part.
        static_cast<RSA *>(unit)->key_state = count == kMaxComponents ? 31u : 3u;
    }
    install(key, f.type, unit, byte_length(*slots[0]));
    return 0;
}

uint32_t destroy_key(const Family &f, KEY *key) {
    if (key == nullptr)
        return destroy_word(f, kInvalidInput);
    // The unit is released by the type it was made with.
    free_unit(family_of(key->type) != nullptr ? key->type : f.type, key->unit);
    key->unit = nullptr;
    return 0;
}

}  // namespace

namespace kry {

uint32_t import_key_bounded(uint32_t type, KEY *key, const uint8_t *encoded, size_t available,
                            const char *password) {
    const Family *f = family_of(type);
    if (f == nullptr)
        return 1;
    return import_key(*f, key, encoded, available, password);
}

}  // namespace kry

extern "C" {

KRY_API KEY *new_KEY(void) { return static_cast<KEY *>(lum_calloc(1, sizeof(KEY), kSource, __LINE__)); }

KRY_API void clean_KEY(KEY *key) {
    if (key == nullptr)
        return;
    // Releasing the unit rather than only cleaning it: the record forgets
    // the pointer, so the unit could not be reached again.
    free_unit(key->type, key->unit);
    kry::wipe(key, sizeof(KEY));
}

KRY_API void free_KEY(KEY *key) {
    if (key == nullptr)
        return;
    free_unit(key->type, key->unit);
    kry::wipe(key, sizeof(KEY));
    lum_free(key, kSource, __LINE__);
}

KRY_API uint32_t destroy_RSA_KEY(KEY *key) { return destroy_key(kRsa, key); }
KRY_API uint32_t destroy_DSA_KEY(KEY *key) { return destroy_key(kDsa, key); }
KRY_API uint32_t destroy_KCDSA_KEY(KEY *key) { return destroy_key(kKcdsa, key); }

KRY_API uint32_t create_RSA_KEY(KEY *key, int32_t bits, int32_t kind) {
    if (key == nullptr)
        return create_word(kRsa, kInvalidInput);
    BIGINT *exponent = new_BIGINT();
    if (exponent == nullptr)
        return create_word(kRsa, kMalloc);
    if (set_BIGINT_word(exponent, 65537) != 0) {
        free_BIGINT(exponent);
        return create_word(kRsa, kMalloc);
    }
    RSA *rsa = new_RSA();
    if (rsa == nullptr) {
        free_BIGINT(exponent);
        return create_word(kRsa, kMalloc);
    }
    const uint32_t r = generate_RSA_params(rsa, exponent, bits, kind);
    free_BIGINT(exponent);
    if (r != 0) {
        free_RSA(rsa);
        return create_word(kRsa, kKeyGenFail);
    }
    install(key, KRY_KEY_RSA, rsa, static_cast<uint32_t>(bits / 8));
    return 0;
}

KRY_API uint32_t create_DSA_KEY(KEY *key, uint32_t parameter_id, uint32_t p_bits, const uint8_t *seed) {
    if (key == nullptr)
        return create_word(kDsa, kInvalidInput);
    DSA *dsa = new_DSA();
    if (dsa == nullptr)
        return create_word(kDsa, kMalloc);
    if (generate_DSA_params(dsa, parameter_id, p_bits, seed) != 0) {
        free_DSA(dsa);
        return create_word(kDsa, kKeyGenFail);
    }
    // The signer keys its per-message generator with the bytes of x and
    // needs at least 20 of them, so a private key below 2^152 (about one
    // draw in 256) could never sign: such a key pair is drawn again.
    constexpr int kAttempts = 64;
    constexpr uint32_t kMinPrivateBytes = 20;
    bool drawn = false;
    for (int attempt = 0; attempt < kAttempts; attempt++) {
        if (generate_DSA_key_pair(dsa) != 0)
            break;
        if (byte_length(dsa->x) >= kMinPrivateBytes) {
            drawn = true;
            break;
        }
    }
    if (!drawn) {
        free_DSA(dsa);
        return create_word(kDsa, kKeyGenFail);
    }
    install(key, KRY_KEY_DSA, dsa, byte_length(dsa->p));
    return 0;
}

KRY_API uint32_t create_KCDSA_KEY(KEY *key, int32_t p_bits, int32_t q_bits) {
    if (key == nullptr)
        return create_word(kKcdsa, kInvalidInput);
    KCDSA *kcdsa = new_KCDSA();
    if (kcdsa == nullptr)
        return create_word(kKcdsa, kMalloc);
    if (generate_KCDSA_params(kcdsa, p_bits, q_bits) != 0 || generate_KCDSA_key_pair(kcdsa) != 0) {
        free_KCDSA(kcdsa);
        return create_word(kKcdsa, kKeyGenFail);
    }
    install(key, KRY_KEY_KCDSA, kcdsa, byte_length(kcdsa->p));
    return 0;
}

KRY_API uint32_t export_RSA_KEY(KEY *key, uint8_t *out, uint32_t *length, const char *password) {
    return export_key(kRsa, key, out, length, password);
}
KRY_API uint32_t export_DSA_KEY(KEY *key, uint8_t *out, uint32_t *length, const char *password) {
    return export_key(kDsa, key, out, length, password);
}
KRY_API uint32_t export_KCDSA_KEY(KEY *key, uint8_t *out, uint32_t *length, const char *password) {
    return export_key(kKcdsa, key, out, length, password);
}

KRY_API uint32_t import_RSA_KEY(KEY *key, const uint8_t *encoded, const char *password) {
    return import_key(kRsa, key, encoded, SIZE_MAX, password);
}
KRY_API uint32_t import_DSA_KEY(KEY *key, const uint8_t *encoded, const char *password) {
    return import_key(kDsa, key, encoded, SIZE_MAX, password);
}
KRY_API uint32_t import_KCDSA_KEY(KEY *key, const uint8_t *encoded, const char *password) {
    return import_key(kKcdsa, key, encoded, SIZE_MAX, password);
}

}  // extern "C"
