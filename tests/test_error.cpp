// GetErrorCode: every library, function and reason text, byte for byte,
// and the words outside the library table.

#include <kry/error.h>

#include <gtest/gtest.h>

#include "test_support.h"

#include <cstdint>
#include <string>
#include <vector>

namespace {

using kry_test::capture_stdout;

std::string printed(uint32_t word) {
    return capture_stdout([word] { GetErrorCode(word); });
}

constexpr uint32_t word(uint32_t library, uint32_t function, uint32_t reason) {
    return library << 24 | function << 16 | reason;
}

struct LibraryTexts {
    uint32_t code;
    std::string text;
    std::vector<std::string> functions;  // function code i + 1
};

const std::vector<LibraryTexts> &libraries() {
    static const std::vector<LibraryTexts> table = {
        {0x01, ">> ERROR : L_BLOCK_CIPHER ",
         {"F_INIT_BLOCKCIPHER ", "F_UPDATE_ENCRYPTION ", "F_UPDATE_DECRYPTION ",
          "F_FINAL_ENCRYPTION ", "F_FINAL_DECRYPTION ", "F_INIT_ALGORITHM "}},
        {0x02, ">> ERROR : L_AES_INTERFACE ",
         {"F_INIT_AES_KEY ", "F_DO_AES_ECB ", "F_DO_AES_CBC ", "F_DO_AES_CFB ",
          "F_DO_AES_OFB ", "F_DO_AES_CTR "}},
        {0x03, ">> ERROR : L_DES_INTERFACE ",
         {"F_INIT_DES_KEY ", "F_DO_AES_ECB ", "F_DO_AES_CBC ", "F_DO_AES_CFB ",
          "F_DO_AES_OFB ", "F_DO_AES_CTR "}},
        {0x04, ">> ERROR : L_DES_EDE_INTERFACE ",
         {"F_INIT_DES_EDE_KEY ", "F_DO_DES_EDE_ECB ", "F_DO_DES_EDE_CBC ",
          "F_DO_DES_EDE_CFB ", "F_DO_DES_EDE_OFB ", "F_DO_DES_EDE_CTR "}},
        {0x05, ">> ERROR : F_INIT_SEED_KEY ",
         {"F_INIT_SEED_KEY ", "F_DO_SEED_ECB ", "F_DO_SEED_CBC ", "F_DO_SEED_CFB ",
          "F_DO_SEED_OFB ", "F_DO_SEED_CTR "}},
        {0x06, ">> ERROR : L_ARIA_INTERFACE ",
         {"F_INIT_ARIA_KEY ", "F_DO_ARIA_ECB ", "F_DO_ARIA_CBC ", "F_DO_ARIA_CFB ",
          "F_DO_ARIA_OFB ", "F_DO_ARIA_CTR "}},
        {0x07, ">> ERROR : L_RC4_INTERFACE ", {}},
        {0x08, ">> ERROR : L_RC5_INTERFACE ",
         {"F_INIT_RC5_KEY ", "F_DO_RC5_ECB ", "F_DO_RC5_CBC ", "F_DO_RC5_CFB ",
          "F_DO_RC5_OFB ", "F_DO_RC5_CTR "}},
        {0x09, ">> ERROR : L_BF_INTERFACE ",
         {"F_INIT_BF_KEY ", "F_DO_BF_ECB ", "F_DO_BF_CBC ", "F_DO_BF_CFB ",
          "F_DO_BF_OFB ", "F_DO_BF_CTR "}},
        {0x0A, ">> ERROR : L_DIGEST ",
         {"F_INIT_DIGEST ", "F_UPDATE_DIGEST ", "F_FINAL_DIGEST ", "F_INIT_DIGEST_ALG ",
          "F_DIGEST "}},
        {0x0B, ">> ERROR : L_HMAC ",
         {"F_INIT_HMAC ", "F_UPDATE_HMAC ", "F_FINAL_HMAC ", "F_HMAC "}},
        {0x0C, ">> ERROR : L_MDC2 ",
         {"F_INIT_MDC2 ", "F_UPDATE_MDC2 ", "F_FINAL_MDC2 ", "F_ENCRYPT_MDC2 "}},
        {0x0D, ">> ERROR : L_PRNG ", {"F_INIT_PRNG ", "F_INIT_PRNG_ALG ", "F_GET_RAND "}},
        {0x0E, ">> ERROR : L_DSA ",
         {"F_INIT_DSA ", "F_UPDATE_DSA ", "F_FINAL_DSA ", "F_SIGN_DSA ", "F_VERIFY_DSA ",
          "F_SET_DSA_PARAMS ", "F_GENERATE_DSA_PARAMS ", "F_GENERATE_DSA_KEY "}},
        {0x0F, ">> ERROR : L_KCDSA ",
         {"F_INIT_KCDSA ", "F_UPDATE_KCDSA ", "F_FINAL_KCDSA ", "F_SIGN_KCDSA ",
          "F_VERIFY_KCDSA ", "F_GENERATE_KCDSA_PARAMS ", "F_SET_KCDSA_PARAMS "}},
        {0x10, ">> ERROR : L_RSA ",
         {"F_SIGN_RSASSA ", "F_VERIFY_RSASSA ", "F_INIT_RSASSA ", "F_UPDATE_RSASSA ",
          "F_FINAL_RSASSA ", "F_CRT_RSA ", "F_GENERATE_RSA_PARAMS ", "F_SET_RSA_PRAMS ",
          "F_SET_RSA_PUBLIC_PRAMS ", "F_ENCRYPT_RSAES ", "F_DECRYPT_RSAES ", "F_INIT_RSAES ",
          "F_ADD_RSASSA_ENCODING ", "F_CHECK_RSASSA_ENCODING "}},
        {0x11, ">> ERROR : L_BIGINT_UTILS ",
         {"F_COPY_BIGINT ", "F_EXPAND_DATA_BIGINT ", "F_HEX_TO_BIGINT ", "F_BIGINT_TO_HEX ",
          "F_SET_BIGINT_WORD ", "F_SET_BIGINT_BIT "}},
        {0x12, ">> ERROR : L_KEY ",
         {"F_CREATE_BLOCK_KEY ", "F_EXPORT_BLOCK_KEY ", "F_IMPORT_BLOCK_KEY ",
          "F_DESTROY_BLOCK_KEY ", "F_CREATE_RSA_KEY ", "F_EXPORT_RSA_KEY ",
          "F_IMPORT_RSA_KEY ", "F_DESTROY_RSA_KEY ", "F_CREATE_DSA_KEY ",
          "F_EXPORT_DSA_KEY ", "F_IMPORT_DSA_KEY ", "F_DESTROY_DSA_KEY ",
          "F_CREATE_KCDSA_KEY ", "F_EXPORT_KCDSA_KEY ", "F_IMPORT_KCDSA_KEY ",
          "F_DESTROY_KCDSA_KEY "}},
        {0x13, ">> ERROR : L_CBC_MAC ",
         {"F_INIT_CBC_MAC ", "F_UPDATE_CBC_MAC ", "F_FINAL_CBC_MAC ", "F_CBC_MAC "}},
        {0x14, ">> ERROR : L_DES_MAC ", {"F_DES_MAC "}},
        {0x22, ">> ERROR : L_FOUNDATION ", {"F_MEMORY ", "F_IO "}},
        {0x23, ">> ERROR : L_HAS160 ",
         {"F_INIT_HAS160 ", "F_UPDATE_HAS160 ", "F_FINAL_HAS160 "}},
        {0x24, ">> ERROR : L_MD5 ", {"F_INIT_MD5 ", "F_UPDATE_MD5 ", "F_FINAL_MD5 ", "F_COMP_MD5 "}},
        {0x25, ">> ERROR : L_SHA ",
         {"F_INIT_SHA1 ", "F_UPDATE_SHA1 ", "F_FINAL_SHA1 ", "F_COMP_SHA1 ",
          "F_INIT_SHA224 ", "F_UPDATE_SHA224 ", "F_FINAL_SHA224 ", "F_INIT_SHA256 ",
          "F_UPDATE_SHA256 ", "F_FINAL_SHA256 ", "F_COMP_SHA256 ", "F_INIT_SHA384 ",
          "F_UPDATE_SHA384 ", "F_FINAL_SHA384 ", "F_INIT_SHA512 ", "F_UPDATE_SHA512 ",
          "F_FINAL_SHA512 "}},
        {0x29, ">> ERROR : L_SELF_TEST ",
         {"F_LIB_INTEGRITY_CHECK ", "F_CONTEXT_CHECK ", "F_VERSION_CHECK ", "F_PRNG_CHECK ",
          "F_HMAC_CHECK ", "F_DIGEST_CHECK ", "F_SYMMETIC_KEY_CHECK ",
          "F_SYMMETIC_ALGORITHM_CHECK ", "F_ASYMMETIC_KEY_CHECK ", "F_RSAES_OAEP_CHECK ",
          "F_SIGN_VERIFY_CHECK "}},
    };
    return table;
}

const std::vector<std::pair<uint32_t, std::string>> &reasons() {
    static const std::vector<std::pair<uint32_t, std::string>> table = {
        {1, "ERR_INIT_FAILURE\n"},
        {2, "ERR_INIT_KEY_FAILURE\n"},
        {3, "ERR_INVALID_INPUT\n"},
        {4, "ERR_INVALID_ALGORITHM_ID\n"},
        {5, "ERR_INVALID_OPERATION_MASK\n"},
        {6, "ERR_INVALID_PADDING\n"},
        {7, "ERR_CIPHER_ENCRYPT_FAILURE\n"},
        {8, "ERR_CIPHER_DECRYPT_FAILURE\n"},
        {9, "ERR_UPDATE_FAILURE\n"},
        {10, "ERR_FINAL_FAILURE\n"},
        {11, "ERR_INVALID_UNIT\n"},
        {12, "ERR_DIVIDE_BY_ZERO\n"},
        {15, "ERR_OPERATE_FUNCTION\n"},
        {0x0100, "ERR_SIGN_FAILURE\n"},
        {0x0200, "ERR_VERIFY_FAILURE\n"},
        {0x0300, "ERR_INVALID_ENCODE_MODE\n"},
        {0x0400, "ERR_MALLOC\n"},
        {0x0500, "ERR_BIGINT_MEM_EXPAND_FAILURE\n"},
        {0x0600, "ERR_SUB_OPEATION_FAILURE\n"},
        {0x0700, "ERR_RANDOM_GEN_FAILURE\n"},
        {0x0800, "ERR_ENCODING_FAILURE\n"},
        {0x0900, "ERR_DECODING_FAILURE\n"},
        {0x0A00, "ERR_INVALID_RSA_ENCODING\n"},
        {0x0B00, "ERR_NO_PUBLIC_VALUE\n"},
        {0x0C00, "ERR_NO_PRIVATE_VALUE\n"},
        {0x0D00, "ERR_MESSAGE_TOO_LONG\n"},
        {0x0E00, "ERR_SIGNATURE_TOO_LONG\n"},
        {0x0F00, "ERR_NULL_XKEY_VALUE\n"},
        {0x1000, "ERR_INPUT_BUF_TOO_SHORT\n"},
        {0x1100, "ERR_INVALID_PASSWORD\n"},
        {0x1200, "ERR_KEY_GEN_FAIL\n"},
        {0x1300, "ERR_READ_FROM_FILE\n"},
        {0x1400, "ERR_READ_FROM_BINARY\n"},
        {0x1500, "ERR_WRITE_TO_FILE\n"},
        {0x1600, "ERR_WRITE_TO_BINARY\n"},
        {0x1700, "ERR_INVALID_IV_LENGTH\n"},
        {0x1800, "ERR_INVALID_KEY_LENGTH\n"},
    };
    return table;
}

std::string reason_of(uint32_t reason) {
    for (const auto &[code, text] : reasons())
        if (code == reason) return text;
    return "";
}

bool known_library(uint32_t code) {
    for (const auto &lib : libraries())
        if (lib.code == code) return true;
    return false;
}

}  // namespace

TEST(GetErrorCode, SuccessWord) { EXPECT_EQ(printed(0), ">> SUCCESS!! \n"); }

TEST(GetErrorCode, TestFailWord) {
    EXPECT_EQ(printed(0xFFFFFFFEu), "SELF_TEST FAIL!! \n");
    EXPECT_EQ(printed(KRY_ERR_TEST_FAIL), "SELF_TEST FAIL!! \n");
}

TEST(GetErrorCode, NotProvenWord) {
    EXPECT_EQ(printed(0xFFFFFFFFu), ">> ERROR : NON-PROVEN ALGORITM IN PROVEN MODE!! \n");
    EXPECT_EQ(printed(KRY_ERR_NOT_PROVEN), ">> ERROR : NON-PROVEN ALGORITM IN PROVEN MODE!! \n");
}

TEST(GetErrorCode, DesModesShareTheAesTexts) {
    EXPECT_EQ(printed(0x03020003),
              std::string(">> ERROR : L_DES_INTERFACE ") + "F_DO_AES_ECB " + "ERR_INVALID_INPUT\n");
}

TEST(GetErrorCode, Rc4PrintsNoFunctionText) {
    EXPECT_EQ(printed(0x07050006), ">> ERROR : L_RC4_INTERFACE ERR_INVALID_PADDING\n");
    for (uint32_t f = 0; f <= 0xFF; f++)
        EXPECT_EQ(printed(word(0x07, f, 1)), ">> ERROR : L_RC4_INTERFACE ERR_INIT_FAILURE\n")
            << "function " << f;
}

TEST(GetErrorCode, UnknownFunctionAndReasonPrintOnlyTheLibrary) {
    EXPECT_EQ(printed(0x0A090000), ">> ERROR : L_DIGEST ");
}

TEST(GetErrorCode, ExampleWord) {
    EXPECT_EQ(printed(0x0A020006), ">> ERROR : L_DIGEST F_UPDATE_DIGEST ERR_INVALID_PADDING\n");
}

TEST(GetErrorCode, SeedLibraryTextReadsLikeAFunction) {
    EXPECT_EQ(printed(0x05010002), ">> ERROR : F_INIT_SEED_KEY F_INIT_SEED_KEY ERR_INIT_KEY_FAILURE\n");
}

TEST(GetErrorCode, EveryLibraryAndFunctionText) {
    for (const auto &lib : libraries()) {
        // Function 0 and the first code past the row have no text.
        EXPECT_EQ(printed(word(lib.code, 0, 3)), lib.text + "ERR_INVALID_INPUT\n");
        const auto past = static_cast<uint32_t>(lib.functions.size() + 1);
        EXPECT_EQ(printed(word(lib.code, past, 3)), lib.text + "ERR_INVALID_INPUT\n");
        EXPECT_EQ(printed(word(lib.code, 0xFF, 0)), lib.text);
        for (size_t i = 0; i < lib.functions.size(); i++) {
            const auto f = static_cast<uint32_t>(i + 1);
            EXPECT_EQ(printed(word(lib.code, f, 0x0400)),
                      lib.text + lib.functions[i] + "ERR_MALLOC\n")
                << std::hex << "library 0x" << lib.code << " function " << f;
            EXPECT_EQ(printed(word(lib.code, f, 0)), lib.text + lib.functions[i]);
        }
    }
}

TEST(GetErrorCode, EveryReasonText) {
    for (const auto &[code, text] : reasons())
        EXPECT_EQ(printed(word(0x0B, 1, code)), ">> ERROR : L_HMAC F_INIT_HMAC " + text)
            << std::hex << "reason 0x" << code;
}

TEST(GetErrorCode, ReasonsWithoutText) {
    for (uint32_t r : {0u, 13u, 14u, 16u, 0x20u, 0xFFu, 0x0101u, 0x1900u, 0x8000u, 0xFFFFu})
        EXPECT_EQ(printed(word(0x0B, 1, r)), ">> ERROR : L_HMAC F_INIT_HMAC ") << "reason " << r;
}

// All 65536 reasons after one library and function, in one capture.
TEST(GetErrorCode, WholeReasonRange) {
    const std::string prefix = ">> ERROR : L_SHA F_FINAL_SHA512 ";
    std::string expected;
    for (uint32_t r = 0; r <= 0xFFFF; r++) expected += prefix + reason_of(r);
    const std::string got = capture_stdout([] {
        for (uint32_t r = 0; r <= 0xFFFF; r++) GetErrorCode(word(0x25, 17, r));
    });
    EXPECT_EQ(got, expected);
    for (uint32_t r = 16; r <= 0xFF; r++) EXPECT_EQ(reason_of(r), "");
}

// A library byte outside the table reports success, then the reason.
TEST(GetErrorCode, UnknownLibraries) {
    for (uint32_t lib = 0; lib <= 0xFF; lib++) {
        if (known_library(lib)) continue;
        EXPECT_EQ(printed(word(lib, 1, 0)), ">> SUCCESS!! \n") << "library " << lib;
        EXPECT_EQ(printed(word(lib, 2, 6)), ">> SUCCESS!! \nERR_INVALID_PADDING\n")
            << "library " << lib;
    }
    EXPECT_EQ(printed(0xFFFE0000u), ">> SUCCESS!! \n");
    EXPECT_EQ(printed(0xFF000400u), ">> SUCCESS!! \nERR_MALLOC\n");
    EXPECT_EQ(printed(0x15010001u), ">> SUCCESS!! \nERR_INIT_FAILURE\n");
}
