// Fuzzes KRY_VerifyFinal through the context interface: the signature
// string (and the message) come from the input, the key pairs are the fixed
// published DSA, KCDSA and RSA keys of fuzz_keys.h, imported once through
// KRY_KeyPairImport.
//
// Input: byte 0 selects the key pair (value mod 3: DSA, KCDSA, RSA) and the
// digest (bit 2: SHA-1 or HAS-160; KCDSA always hashes with HAS-160); byte 1
// is the message length (cut to what is there); the message follows, then
// the signature string.
#include "fuzz_keys.h"

namespace {

KRY_Context *g_ctx = nullptr;
KRY_SIGNVERIFY *g_sv = nullptr;
const char *const kAliases[3] = {"dsa", "kcdsa", "rsa"};

bool import_fixed(const char *alias, uint32_t type, const char *const *hex, size_t count) {
    const kry_fuzz::Bytes list = kry_fuzz::component_list(hex, count);
    const kry_fuzz::Bytes encoded =
        kry_fuzz::enciphered_encoding(static_cast<uint8_t>(count), list, kry_fuzz::kPassword);
    return !encoded.empty() && KRY_KeyPairImport(g_ctx, alias, type, encoded.data(),
                                                 static_cast<uint32_t>(encoded.size()), kry_fuzz::kPassword) == 0;
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int *, char ***) {
    ChangeNonProvenMode();
    KRY_ChangeNonProvenMode();
    if (KRY_Initialize() != 0 || KRY_Context_new(&g_ctx) != 0 ||
        !import_fixed(kAliases[0], KRY_KEYPAIR_DSA, kry_fuzz::kDsaHex, 5) ||
        !import_fixed(kAliases[1], KRY_KEYPAIR_KCDSA, kry_fuzz::kKcdsaHex, 5) ||
        !import_fixed(kAliases[2], KRY_KEYPAIR_RSA, kry_fuzz::kRsaHex, 8) || KRY_SIGNVERIFY_new(g_ctx, &g_sv) != 0)
        std::abort();
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    if (size < 2 || size > 8192)
        return 0;
    const char *alias = kAliases[data[0] % 3];
    const uint32_t digest = (data[0] & 4) != 0 ? KRY_SIGN_HAS160 : KRY_SIGN_SHA1;
    size_t message_length = data[1];
    if (message_length > size - 2)
        message_length = size - 2;
    // Copies of exactly the given length, so that a read past either end is seen.
    const kry_fuzz::Bytes message(data + 2, data + 2 + message_length);
    const kry_fuzz::Bytes signature(data + 2 + message_length, data + size);
    if (KRY_VerifyInit(g_ctx, g_sv, digest, alias) != 0)
        return 0;
    static const uint8_t kEmpty[1] = {0};
    (void)KRY_VerifyUpdate(g_ctx, g_sv, message.empty() ? kEmpty : message.data(),
                           static_cast<uint32_t>(message.size()));
    (void)KRY_VerifyFinal(g_ctx, g_sv, signature.empty() ? kEmpty : signature.data(),
                          static_cast<uint32_t>(signature.size()));
    return 0;
}
