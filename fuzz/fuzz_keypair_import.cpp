// Fuzzes KRY_KeyPairImport, the context interface's reader of encoded key
// pairs (bounded by encoded_length), and the export and removal of what it
// stored.
//
// Input: byte 0 selects the key type (bits 0-1: RSA, DSA, KCDSA, or the
// unknown type 0), the password (bit 2: the fixed password or the empty
// one) and the form (bit 3):
//   0  the rest is the encoded key pair as handed to the import;
//   1  byte 1 is the component count, the rest the component list, which is
//      enciphered here under the password before the import.
// Bits 4-7, when not zero, shorten encoded_length by that many bytes (the
// buffer keeps its full size).
#include "fuzz_keys.h"

#include <memory>

namespace {

KRY_Context *g_ctx = nullptr;

}  // namespace

extern "C" int LLVMFuzzerInitialize(int *, char ***) {
    ChangeNonProvenMode();
    KRY_ChangeNonProvenMode();
    if (KRY_Initialize() != 0 || KRY_Context_new(&g_ctx) != 0)
        std::abort();
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    if (size < 2 || size > 16384)
        return 0;
    static const uint32_t kTypes[4] = {KRY_KEYPAIR_RSA, KRY_KEYPAIR_DSA, KRY_KEYPAIR_KCDSA, 0};
    const uint32_t type = kTypes[data[0] & 3];
    const char *password = (data[0] & 4) != 0 ? "" : kry_fuzz::kPassword;
    const uint32_t shorten = data[0] >> 4;
    kry_fuzz::Bytes encoded;
    if ((data[0] & 8) == 0) {
        encoded.assign(data + 1, data + size);
    } else {
        const kry_fuzz::Bytes list(data + 2, data + size);
        encoded = kry_fuzz::enciphered_encoding(data[1], list, password);
        if (encoded.empty())
            return 0;
    }
    // A buffer of exactly the encoding's size, so that a read past it is seen.
    std::unique_ptr<uint8_t[]> buffer(new uint8_t[encoded.size()]);
    std::memcpy(buffer.get(), encoded.data(), encoded.size());
    const auto length = static_cast<uint32_t>(encoded.size() > shorten ? encoded.size() - shorten : 0);
    if (KRY_KeyPairImport(g_ctx, "fuzz", type, buffer.get(), length, password) != 0)
        return 0;
    // Stored: export it (once into a buffer far too small), then remove it.
    const size_t room = encoded.size() + 8 * 5 + 5 + 32;
    std::unique_ptr<uint8_t[]> out(new uint8_t[room]);
    uint32_t out_length = 4;
    (void)KRY_KeyPairExport(g_ctx, "fuzz", out.get(), 4, &out_length, password);
    out_length = static_cast<uint32_t>(room);
    (void)KRY_KeyPairExport(g_ctx, "fuzz", out.get(), static_cast<uint32_t>(room), &out_length, password);
    uint32_t count = 0;
    if (KRY_KeyPairDestory(g_ctx, "fuzz") != 0 || KRY_NumKeyPair(g_ctx, &count) != 0 || count != 0)
        __builtin_trap();
    return 0;
}
