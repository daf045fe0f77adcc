// Fuzzes the encoded key-pair readers import_RSA_KEY, import_DSA_KEY and
// import_KCDSA_KEY (plain and enciphered) and the bounded reader behind
// KRY_KeyPairImport.  A successful import is exported again, plain and
// enciphered, and the plain export read back.
//
// Input: byte 0 selects the family (bits 0-1: RSA, DSA, KCDSA) and the form
// (bits 2-3):
//   0  the rest is an encoded key pair, read plain;
//   1  the rest is an encoded key pair, read with a password;
//   2  byte 1 is the component count, the rest the component list, which is
//      enciphered here under the password before it is read.
// The unbounded readers take 5 + L bytes where L comes from the header: they
// are handed an exactly-sized copy whose header claims what it holds.
#include "fuzz_keys.h"

#include <api/api_internal.h>

#include <memory>

namespace {

uint32_t import_direct(uint32_t type, KEY *key, const uint8_t *encoded, const char *password) {
    switch (type) {
    case KRY_KEY_RSA: return import_RSA_KEY(key, encoded, password);
    case KRY_KEY_DSA: return import_DSA_KEY(key, encoded, password);
    default: return import_KCDSA_KEY(key, encoded, password);
    }
}

uint32_t export_any(uint32_t type, KEY *key, uint8_t *out, uint32_t *length, const char *password) {
    switch (type) {
    case KRY_KEY_RSA: return export_RSA_KEY(key, out, length, password);
    case KRY_KEY_DSA: return export_DSA_KEY(key, out, length, password);
    default: return export_KCDSA_KEY(key, out, length, password);
    }
}

// Exports an imported key pair both ways and reads the plain export back.
void exercise(uint32_t type, KEY *key, size_t input_size) {
    // Every exported value came from the input: the export is no longer
    // than the input plus the component headers, the header and a block.
    const size_t room = input_size + 8 * 5 + 5 + 32;
    std::unique_ptr<uint8_t[]> out(new uint8_t[room]);
    uint32_t length = static_cast<uint32_t>(room);
    if (export_any(type, key, out.get(), &length, nullptr) == 0) {
        // A plain export reports the payload length without the header.
        if (static_cast<size_t>(length) + 5 <= room) {
            std::unique_ptr<uint8_t[]> exact(new uint8_t[length + 5]);
            std::memcpy(exact.get(), out.get(), length + 5);
            KEY *again = new_KEY();
            if (again != nullptr) {
                (void)import_direct(type, again, exact.get(), nullptr);
                free_KEY(again);
            }
        }
    }
    length = static_cast<uint32_t>(room);
    (void)export_any(type, key, out.get(), &length, kry_fuzz::kPassword);
    // A buffer too small for the export.
    length = 3;
    (void)export_any(type, key, out.get(), &length, nullptr);
}

void import_both(uint32_t type, const uint8_t *encoded, size_t size, const char *password) {
    // Bounded: exactly what a caller of KRY_KeyPairImport can hand in.
    {
        std::unique_ptr<uint8_t[]> copy(new uint8_t[size == 0 ? 1 : size]);
        if (size != 0)
            std::memcpy(copy.get(), encoded, size);
        KEY *key = new_KEY();
        if (key == nullptr)
            return;
        if (kry::import_key_bounded(type, key, copy.get(), size, password) == 0)
            exercise(type, key, size);
        free_KEY(key);
    }
    // Unbounded: the header must claim exactly the bytes that follow it.
    if (size < 5 || size - 5 > UINT32_MAX)
        return;
    std::unique_ptr<uint8_t[]> copy(new uint8_t[size]);
    std::memcpy(copy.get(), encoded, size);
    const auto claim = static_cast<uint32_t>(size - 5);
    copy[1] = static_cast<uint8_t>(claim >> 24);
    copy[2] = static_cast<uint8_t>(claim >> 16);
    copy[3] = static_cast<uint8_t>(claim >> 8);
    copy[4] = static_cast<uint8_t>(claim);
    KEY *key = new_KEY();
    if (key == nullptr)
        return;
    if (import_direct(type, key, copy.get(), password) == 0)
        exercise(type, key, size);
    free_KEY(key);
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int *, char ***) {
    ChangeNonProvenMode();
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    if (size < 1 || size > 16384)
        return 0;
    static const uint32_t kTypes[4] = {KRY_KEY_RSA, KRY_KEY_DSA, KRY_KEY_KCDSA, KRY_KEY_RSA};
    const uint32_t type = kTypes[data[0] & 3];
    const unsigned form = (data[0] >> 2) & 3;
    switch (form) {
    case 0: import_both(type, data + 1, size - 1, nullptr); break;
    case 1: import_both(type, data + 1, size - 1, kry_fuzz::kPassword); break;
    default: {
        if (size < 2)
            return 0;
        const kry_fuzz::Bytes list(data + 2, data + size);
        const kry_fuzz::Bytes encoded = kry_fuzz::enciphered_encoding(data[1], list, kry_fuzz::kPassword);
        if (!encoded.empty())
            import_both(type, encoded.data(), encoded.size(), kry_fuzz::kPassword);
        break;
    }
    }
    return 0;
}
