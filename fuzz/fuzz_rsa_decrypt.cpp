// Fuzzes RSAES decryption (decrypt_RSAES) with raw RSA, EME-OAEP in both
// block forms (PKCS #1 v2.0, k - 1 bytes; v2.1, k bytes) and
// RSAES-PKCS1-v1_5 on the fixed published 1024-bit private key of
// fuzz_keys.h (with its CRT values).
//
// Input: byte 0 selects the encoding (bits 0-1: raw, OAEP v2.0, OAEP v2.1,
// PKCS #1 v1.5) and the OAEP digest (bits 2-4); the rest is the ciphertext,
// of any length.
#include "fuzz_keys.h"

#include <memory>

namespace {

RSA *g_rsa = nullptr;

const int32_t kEncodings[4] = {KRY_RSA_ENC_NONE, KRY_RSA_OAEP_V20, KRY_RSA_OAEP_V21, KRY_RSA_RSAES_PKCS1_V15};
const uint32_t kDigests[8] = {0, KRY_SHA1, KRY_SHA256, KRY_SHA224, KRY_SHA384, KRY_SHA512, KRY_MD5, KRY_HAS160};

}  // namespace

extern "C" int LLVMFuzzerInitialize(int *, char ***) {
    ChangeNonProvenMode();
    g_rsa = kry_fuzz::fixed_rsa(true);
    if (g_rsa == nullptr)
        std::abort();
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    if (size < 1 || size > 8192)
        return 0;
    const int32_t encoding = kEncodings[data[0] & 3];
    const uint32_t digest = kDigests[(data[0] >> 2) & 7];
    if (init_RSAES(g_rsa, encoding, 1, digest) != 0)
        return 0;
    // The ciphertext in a buffer of exactly its length; the message buffer
    // holds k bytes, the longest message a block of k bytes can carry.
    const kry_fuzz::Bytes ciphertext(data + 1, data + size);
    static const uint8_t kEmpty[1] = {0};
    const uint32_t k = get_RSA_length(g_rsa);
    std::unique_ptr<uint8_t[]> out(new uint8_t[k]);
    uint32_t out_length = k;
    const uint32_t r = decrypt_RSAES(g_rsa, out.get(), &out_length, ciphertext.empty() ? kEmpty : ciphertext.data(),
                                     static_cast<uint32_t>(ciphertext.size()));
    if (r == 0 && out_length > k)
        __builtin_trap();
    return 0;
}
