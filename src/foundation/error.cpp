// GetErrorCode: prints an error word as its library, function and reason
// texts, run together on standard output.
//
// An error word is library (bits 31..24), function (23..16) and reason
// (15..0).  Parts of a word that have no text print nothing, so a word with
// an unknown reason ends without a newline.

#include "foundation/common.h"

#include <cstdio>
#include <span>

namespace {

using Texts = std::span<const char *const>;

// Function texts, indexed by function code - 1.
constexpr const char *kBlockCipher[] = {
    "F_INIT_BLOCKCIPHER ",  "F_UPDATE_ENCRYPTION ", "F_UPDATE_DECRYPTION ",
    "F_FINAL_ENCRYPTION ",  "F_FINAL_DECRYPTION ",  "F_INIT_ALGORITHM "};
constexpr const char *kAes[] = {
    "F_INIT_AES_KEY ", "F_DO_AES_ECB ", "F_DO_AES_CBC ",
    "F_DO_AES_CFB ",   "F_DO_AES_OFB ", "F_DO_AES_CTR "};
// DES has no mode texts of its own: its modes print the AES ones.
constexpr const char *kDes[] = {
    "F_INIT_DES_KEY ", kAes[1], kAes[2], kAes[3], kAes[4], kAes[5]};
constexpr const char *kDesEde[] = {
    "F_INIT_DES_EDE_KEY ", "F_DO_DES_EDE_ECB ", "F_DO_DES_EDE_CBC ",
    "F_DO_DES_EDE_CFB ",   "F_DO_DES_EDE_OFB ", "F_DO_DES_EDE_CTR "};
constexpr const char *kSeed[] = {
    "F_INIT_SEED_KEY ", "F_DO_SEED_ECB ", "F_DO_SEED_CBC ",
    "F_DO_SEED_CFB ",   "F_DO_SEED_OFB ", "F_DO_SEED_CTR "};
constexpr const char *kAria[] = {
    "F_INIT_ARIA_KEY ", "F_DO_ARIA_ECB ", "F_DO_ARIA_CBC ",
    "F_DO_ARIA_CFB ",   "F_DO_ARIA_OFB ", "F_DO_ARIA_CTR "};
constexpr const char *kRc5[] = {
    "F_INIT_RC5_KEY ", "F_DO_RC5_ECB ", "F_DO_RC5_CBC ",
    "F_DO_RC5_CFB ",   "F_DO_RC5_OFB ", "F_DO_RC5_CTR "};
constexpr const char *kBf[] = {
    "F_INIT_BF_KEY ", "F_DO_BF_ECB ", "F_DO_BF_CBC ",
    "F_DO_BF_CFB ",   "F_DO_BF_OFB ", "F_DO_BF_CTR "};
constexpr const char *kDigest[] = {
    "F_INIT_DIGEST ", "F_UPDATE_DIGEST ", "F_FINAL_DIGEST ",
    "F_INIT_DIGEST_ALG ", "F_DIGEST "};
constexpr const char *kHmac[] = {
    "F_INIT_HMAC ", "F_UPDATE_HMAC ", "F_FINAL_HMAC ", "F_HMAC "};
constexpr const char *kMdc2[] = {
    "F_INIT_MDC2 ", "F_UPDATE_MDC2 ", "F_FINAL_MDC2 ", "F_ENCRYPT_MDC2 "};
constexpr const char *kPrng[] = {
    "F_INIT_PRNG ", "F_INIT_PRNG_ALG ", "F_GET_RAND "};
constexpr const char *kDsa[] = {
    "F_INIT_DSA ",       "F_UPDATE_DSA ",       "F_FINAL_DSA ",
    "F_SIGN_DSA ",       "F_VERIFY_DSA ",       "F_SET_DSA_PARAMS ",
    "F_GENERATE_DSA_PARAMS ", "F_GENERATE_DSA_KEY "};
constexpr const char *kKcdsa[] = {
    "F_INIT_KCDSA ",  "F_UPDATE_KCDSA ", "F_FINAL_KCDSA ",
    "F_SIGN_KCDSA ",  "F_VERIFY_KCDSA ", "F_GENERATE_KCDSA_PARAMS ",
    "F_SET_KCDSA_PARAMS "};
constexpr const char *kRsa[] = {
    "F_SIGN_RSASSA ",        "F_VERIFY_RSASSA ",         "F_INIT_RSASSA ",
    "F_UPDATE_RSASSA ",      "F_FINAL_RSASSA ",          "F_CRT_RSA ",
    "F_GENERATE_RSA_PARAMS ", "F_SET_RSA_PRAMS ",        "F_SET_RSA_PUBLIC_PRAMS ",
    "F_ENCRYPT_RSAES ",      "F_DECRYPT_RSAES ",         "F_INIT_RSAES ",
    "F_ADD_RSASSA_ENCODING ", "F_CHECK_RSASSA_ENCODING "};
constexpr const char *kBigintUtils[] = {
    "F_COPY_BIGINT ",     "F_EXPAND_DATA_BIGINT ", "F_HEX_TO_BIGINT ",
    "F_BIGINT_TO_HEX ",   "F_SET_BIGINT_WORD ",    "F_SET_BIGINT_BIT "};
constexpr const char *kKey[] = {
    "F_CREATE_BLOCK_KEY ", "F_EXPORT_BLOCK_KEY ", "F_IMPORT_BLOCK_KEY ", "F_DESTROY_BLOCK_KEY ",
    "F_CREATE_RSA_KEY ",   "F_EXPORT_RSA_KEY ",   "F_IMPORT_RSA_KEY ",   "F_DESTROY_RSA_KEY ",
    "F_CREATE_DSA_KEY ",   "F_EXPORT_DSA_KEY ",   "F_IMPORT_DSA_KEY ",   "F_DESTROY_DSA_KEY ",
    "F_CREATE_KCDSA_KEY ", "F_EXPORT_KCDSA_KEY ", "F_IMPORT_KCDSA_KEY ", "F_DESTROY_KCDSA_KEY "};
constexpr const char *kCbcMac[] = {
    "F_INIT_CBC_MAC ", "F_UPDATE_CBC_MAC ", "F_FINAL_CBC_MAC ", "F_CBC_MAC "};
constexpr const char *kDesMac[] = {"F_DES_MAC "};
constexpr const char *kFoundation[] = {"F_MEMORY ", "F_IO "};
constexpr const char *kHas160[] = {
    "F_INIT_HAS160 ", "F_UPDATE_HAS160 ", "F_FINAL_HAS160 "};
constexpr const char *kMd5[] = {
    "F_INIT_MD5 ", "F_UPDATE_MD5 ", "F_FINAL_MD5 ", "F_COMP_MD5 "};
constexpr const char *kSha[] = {
    "F_INIT_SHA1 ",   "F_UPDATE_SHA1 ",   "F_FINAL_SHA1 ",   "F_COMP_SHA1 ",
    "F_INIT_SHA224 ", "F_UPDATE_SHA224 ", "F_FINAL_SHA224 ",
    "F_INIT_SHA256 ", "F_UPDATE_SHA256 ", "F_FINAL_SHA256 ", "F_COMP_SHA256 ",
    "F_INIT_SHA384 ", "F_UPDATE_SHA384 ", "F_FINAL_SHA384 ",
    "F_INIT_SHA512 ", "F_UPDATE_SHA512 ", "F_FINAL_SHA512 "};
constexpr const char *kSelfTest[] = {
    "F_LIB_INTEGRITY_CHECK ", "F_CONTEXT_CHECK ",     "F_VERSION_CHECK ",
    "F_PRNG_CHECK ",          "F_HMAC_CHECK ",        "F_DIGEST_CHECK ",
    "F_SYMMETIC_KEY_CHECK ",  "F_SYMMETIC_ALGORITHM_CHECK ",
    "F_ASYMMETIC_KEY_CHECK ", "F_RSAES_OAEP_CHECK ",  "F_SIGN_VERIFY_CHECK "};

struct Library {
    uint8_t code;
    const char *text;
    Texts functions;  // empty: the library prints no function text
};

constexpr Library kLibraries[] = {
    {0x01, ">> ERROR : L_BLOCK_CIPHER ", kBlockCipher},
    {0x02, ">> ERROR : L_AES_INTERFACE ", kAes},
    {0x03, ">> ERROR : L_DES_INTERFACE ", kDes},
    {0x04, ">> ERROR : L_DES_EDE_INTERFACE ", kDesEde},
    {0x05, ">> ERROR : F_INIT_SEED_KEY ", kSeed},  // SEED's library text reads like a function
    {0x06, ">> ERROR : L_ARIA_INTERFACE ", kAria},
    {0x07, ">> ERROR : L_RC4_INTERFACE ", {}},
    {0x08, ">> ERROR : L_RC5_INTERFACE ", kRc5},
    {0x09, ">> ERROR : L_BF_INTERFACE ", kBf},
    {0x0A, ">> ERROR : L_DIGEST ", kDigest},
    {0x0B, ">> ERROR : L_HMAC ", kHmac},
    {0x0C, ">> ERROR : L_MDC2 ", kMdc2},
    {0x0D, ">> ERROR : L_PRNG ", kPrng},
    {0x0E, ">> ERROR : L_DSA ", kDsa},
    {0x0F, ">> ERROR : L_KCDSA ", kKcdsa},
    {0x10, ">> ERROR : L_RSA ", kRsa},
    {0x11, ">> ERROR : L_BIGINT_UTILS ", kBigintUtils},
    {0x12, ">> ERROR : L_KEY ", kKey},
    {0x13, ">> ERROR : L_CBC_MAC ", kCbcMac},
    {0x14, ">> ERROR : L_DES_MAC ", kDesMac},
    {0x22, ">> ERROR : L_FOUNDATION ", kFoundation},
    {0x23, ">> ERROR : L_HAS160 ", kHas160},
    {0x24, ">> ERROR : L_MD5 ", kMd5},
    {0x25, ">> ERROR : L_SHA ", kSha},
    {0x29, ">> ERROR : L_SELF_TEST ", kSelfTest},
};

// Reasons 1..15 (13 and 14 have no text).
constexpr const char *kSmallReasons[16] = {
    nullptr,
    "ERR_INIT_FAILURE\n",           "ERR_INIT_KEY_FAILURE\n",
    "ERR_INVALID_INPUT\n",          "ERR_INVALID_ALGORITHM_ID\n",
    "ERR_INVALID_OPERATION_MASK\n", "ERR_INVALID_PADDING\n",
    "ERR_CIPHER_ENCRYPT_FAILURE\n", "ERR_CIPHER_DECRYPT_FAILURE\n",
    "ERR_UPDATE_FAILURE\n",         "ERR_FINAL_FAILURE\n",
    "ERR_INVALID_UNIT\n",           "ERR_DIVIDE_BY_ZERO\n",
    nullptr,                        nullptr,
    "ERR_OPERATE_FUNCTION\n"};

// Reasons 0x0100..0x1800, in steps of 0x0100.
constexpr const char *kWideReasons[] = {
    "ERR_SIGN_FAILURE\n",         "ERR_VERIFY_FAILURE\n",
    "ERR_INVALID_ENCODE_MODE\n",  "ERR_MALLOC\n",
    "ERR_BIGINT_MEM_EXPAND_FAILURE\n", "ERR_SUB_OPEATION_FAILURE\n",
    "ERR_RANDOM_GEN_FAILURE\n",   "ERR_ENCODING_FAILURE\n",
    "ERR_DECODING_FAILURE\n",     "ERR_INVALID_RSA_ENCODING\n",
    "ERR_NO_PUBLIC_VALUE\n",      "ERR_NO_PRIVATE_VALUE\n",
    "ERR_MESSAGE_TOO_LONG\n",     "ERR_SIGNATURE_TOO_LONG\n",
    "ERR_NULL_XKEY_VALUE\n",      "ERR_INPUT_BUF_TOO_SHORT\n",
    "ERR_INVALID_PASSWORD\n",     "ERR_KEY_GEN_FAIL\n",
    "ERR_READ_FROM_FILE\n",       "ERR_READ_FROM_BINARY\n",
    "ERR_WRITE_TO_FILE\n",        "ERR_WRITE_TO_BINARY\n",
    "ERR_INVALID_IV_LENGTH\n",    "ERR_INVALID_KEY_LENGTH\n"};
static_assert(std::size(kWideReasons) == 0x18);

const Library *find_library(uint32_t code) {
    for (const Library &lib : kLibraries)
        if (lib.code == code)
            return &lib;
    return nullptr;
}

const char *function_text(const Library &lib, uint32_t code) {
    if (code == 0 || code > lib.functions.size())
        return nullptr;
    return lib.functions[code - 1];
}

const char *reason_text(uint32_t reason) {
    if (reason < std::size(kSmallReasons))
        return kSmallReasons[reason];
    if ((reason & 0xFF) == 0 && (reason >> 8) <= std::size(kWideReasons))
        return kWideReasons[(reason >> 8) - 1];
    return nullptr;
}

void put(const char *text) {
    if (text != nullptr)
        std::fputs(text, stdout);
}

}  // namespace

extern "C" KRY_API void GetErrorCode(uint32_t error) {
    if (error == KRY_ERR_NOT_PROVEN) {
        put(">> ERROR : NON-PROVEN ALGORITM IN PROVEN MODE!! \n");
    } else if (const Library *lib = find_library(error >> 24)) {
        put(lib->text);
        put(function_text(*lib, (error >> 16) & 0xFF));
    } else {
        // Words outside the library table: the gate / self-test failure word,
        // and success (any other word is reported as success too).
        put(error == KRY_ERR_TEST_FAIL ? "SELF_TEST FAIL!! \n" : ">> SUCCESS!! \n");
    }
    put(reason_text(error & 0xFFFF));
}
