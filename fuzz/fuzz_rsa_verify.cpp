// Fuzzes RSASSA verification (verify_RSASSA) with the raw, PKCS #1 v1.5 and
// PSS encodings on the fixed published 1024-bit public key of fuzz_keys.h.
//
// Input: byte 0 selects the encoding (value mod 3: raw, EMSA-PKCS1-v1_5,
// EMSA-PSS) and the digest (bits 2-4); byte 1 is the message length (cut to
// what is there); the message follows, then the signature.
#include "fuzz_keys.h"

namespace {

RSA *g_rsa = nullptr;

const uint32_t kDigests[8] = {KRY_SHA1, KRY_SHA256, KRY_SHA224, KRY_SHA384,
                              KRY_SHA512, KRY_MD5,  KRY_HAS160, KRY_MDC2};

}  // namespace

extern "C" int LLVMFuzzerInitialize(int *, char ***) {
    ChangeNonProvenMode();
    g_rsa = kry_fuzz::fixed_rsa(false);
    if (g_rsa == nullptr)
        std::abort();
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    if (size < 2 || size > 8192)
        return 0;
    const int32_t encoding = data[0] % 3;
    const uint32_t digest = kDigests[(data[0] >> 2) & 7];
    size_t message_length = data[1];
    if (message_length > size - 2)
        message_length = size - 2;
    // Copies of exactly the given length, so that a read past either end is seen.
    const kry_fuzz::Bytes message(data + 2, data + 2 + message_length);
    const kry_fuzz::Bytes signature(data + 2 + message_length, data + size);
    static const uint8_t kEmpty[1] = {0};
    if (init_RSASSA(g_rsa, digest, encoding, 0) != 0)
        return 0;
    (void)update_RSASSA(g_rsa, message.empty() ? kEmpty : message.data(), static_cast<uint32_t>(message.size()));
    (void)verify_RSASSA(g_rsa, signature.empty() ? kEmpty : signature.data(),
                        static_cast<uint32_t>(signature.size()));
    return 0;
}
