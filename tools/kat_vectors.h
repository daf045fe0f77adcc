// Known-answer data for "kry kat" and the fixed keys of "kry speed".
//
// Every value but the RC2 one (see there) is copied from a published
// standard or reference set, named next to it.  Hex strings, big-endian.
// The same values are carried, with their provenance, in tests/vectors/.
#ifndef KRY_TOOL_KAT_VECTORS_H
#define KRY_TOOL_KAT_VECTORS_H

#include <kry.h>

#include <cstdint>

namespace kry_tool::kat {

// ---- digests ----------------------------------------------------------------

struct DigestVector {
    const char *row;      // table row (algorithm)
    uint32_t digest_id;
    const char *source;   // standard the value comes from
    const char *message;  // hex
    const char *digest;   // hex
};

constexpr DigestVector kDigestVectors[] = {
    // FIPS 180-2 A.1, A.2: "abc"
    {"SHA-1", KRY_SHA1, "FIPS 180-2", "616263",
     "a9993e364706816aba3e25717850c26c9cd0d89d"},
    // FIPS 180-2 A.1, A.2: the two-block message
    {"SHA-1", KRY_SHA1, "FIPS 180-2", "6162636462636465636465666465666765666768666768696768696a68696a6b"
     "696a6b6c6a6b6c6d6b6c6d6e6c6d6e6f6d6e6f706e6f7071",
     "84983e441c3bd26ebaae4aa1f95129e5e54670f1"},
    // FIPS 180-2 (CN 1): "abc"
    {"SHA-224", KRY_SHA224, "FIPS 180-2", "616263",
     "23097d223405d8228642a477bda255b32aadbce4bda0b3f7e36c9da7"},
    // FIPS 180-2 (CN 1): the two-block message
    {"SHA-224", KRY_SHA224, "FIPS 180-2", "6162636462636465636465666465666765666768666768696768696a68696a6b"
     "696a6b6c6a6b6c6d6b6c6d6e6c6d6e6f6d6e6f706e6f7071",
     "75388b16512776cc5dba5da1fd890150b0c6455cb4f58b1952522525"},
    // FIPS 180-2 B.1, B.2: "abc"
    {"SHA-256", KRY_SHA256, "FIPS 180-2", "616263",
     "ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad"},
    // FIPS 180-2 B.1, B.2: the two-block message
    {"SHA-256", KRY_SHA256, "FIPS 180-2", "6162636462636465636465666465666765666768666768696768696a68696a6b"
     "696a6b6c6a6b6c6d6b6c6d6e6c6d6e6f6d6e6f706e6f7071",
     "248d6a61d20638b8e5c026930c3e6039a33ce45964ff2167f6ecedd419db06c1"},
    // FIPS 180-2 D.1, D.2: "abc"
    {"SHA-384", KRY_SHA384, "FIPS 180-2", "616263",
     "cb00753f45a35e8bb5a03d699ac65007272c32ab0eded1631a8b605a43ff5bed"
     "8086072ba1e7cc2358baeca134c825a7"},
    // FIPS 180-2 D.1, D.2: the two-block message
    {"SHA-384", KRY_SHA384, "FIPS 180-2", "61626364656667686263646566676869636465666768696a6465666768696a6b"
     "65666768696a6b6c666768696a6b6c6d6768696a6b6c6d6e68696a6b6c6d6e6f"
     "696a6b6c6d6e6f706a6b6c6d6e6f70716b6c6d6e6f7071726c6d6e6f70717273"
     "6d6e6f70717273746e6f707172737475",
     "09330c33f71147e83d192fc782cd1b4753111b173b3b05d22fa08086e3b0f712"
     "fcc7c71a557e2db966c3e9fa91746039"},
    // FIPS 180-2 C.1, C.2: "abc"
    {"SHA-512", KRY_SHA512, "FIPS 180-2", "616263",
     "ddaf35a193617abacc417349ae20413112e6fa4e89a97ea20a9eeee64b55d39a"
     "2192992a274fc1a836ba3c23a3feebbd454d4423643ce80e2a9ac94fa54ca49f"},
    // FIPS 180-2 C.1, C.2: the two-block message
    {"SHA-512", KRY_SHA512, "FIPS 180-2", "61626364656667686263646566676869636465666768696a6465666768696a6b"
     "65666768696a6b6c666768696a6b6c6d6768696a6b6c6d6e68696a6b6c6d6e6f"
     "696a6b6c6d6e6f706a6b6c6d6e6f70716b6c6d6e6f7071726c6d6e6f70717273"
     "6d6e6f70717273746e6f707172737475",
     "8e959b75dae313da8cf4f72814fc143f8f7779c6eb9f7fa17299aeadb6889018"
     "501d289e4900f7e4331b99dec4b5433ac7d329eeb6dd26545e96e55b874be909"},
    // RFC 1321 appendix A.5: MD5 ("abc")
    {"MD5", KRY_MD5, "RFC 1321", "616263", "900150983cd24fb0d6963f7d28e17f72"},
    // RFC 1321 appendix A.5: MD5 ("message digest")
    {"MD5", KRY_MD5, "RFC 1321", "6d65737361676520646967657374", "f96b697d7cb7938d525a2f31aaf161d0"},
    // TTAS.KO-12.0011 test vectors: HAS-160 ("abc")
    {"HAS-160", KRY_HAS160, "TTAS.KO-12.0011", "616263", "975e810488cf2a3d49838478124afce4b1c78804"},
    // TTAS.KO-12.0011 test vectors: HAS-160 ("message digest")
    {"HAS-160", KRY_HAS160, "TTAS.KO-12.0011", "6d65737361676520646967657374", "2338dbc8638d31225f73086246ba529f96710bc6"},
    // ISO/IEC 10118-2 MDC-2 with DES: "Now is the time for all " (24 bytes, no padding block)
    {"MDC-2", KRY_MDC2, "ISO/IEC 10118-2", "4e6f77206973207468652074696d6520666f7220616c6c20",
     "42e50cd224baceba760bdd2bd409281a"},
};

// ---- block ciphers -------------------------------------------------------------

// Enciphered and deciphered with the no-padding bit set.
struct CipherVector {
    const char *row;
    uint32_t cipher_id;   // base identifier | mode | KRY_NO_PADDING
    const char *source;
    const char *key;
    const char *iv;       // nullptr for ECB
    const char *plaintext;
    const char *ciphertext;
};

constexpr CipherVector kCipherVectors[] = {
    // FIPS 197 appendix C.1
    {"AES-128", KRY_AES_128 | KRY_MODE_ECB | KRY_NO_PADDING, "FIPS 197",
     "000102030405060708090a0b0c0d0e0f",
     nullptr,
     "00112233445566778899aabbccddeeff",
     "69c4e0d86a7b0430d8cdb78070b4c55a"},
    // FIPS 197 appendix C.2
    {"AES-192", KRY_AES_192 | KRY_MODE_ECB | KRY_NO_PADDING, "FIPS 197",
     "000102030405060708090a0b0c0d0e0f1011121314151617",
     nullptr,
     "00112233445566778899aabbccddeeff",
     "dda97ca4864cdfe06eaf70a0ec0d7191"},
    // FIPS 197 appendix C.3
    {"AES-256", KRY_AES_256 | KRY_MODE_ECB | KRY_NO_PADDING, "FIPS 197",
     "000102030405060708090a0b0c0d0e0f101112131415161718191a1b1c1d1e1f",
     nullptr,
     "00112233445566778899aabbccddeeff",
     "8ea2b7ca516745bfeafc49904b496089"},
    // NIST SP 800-38A F.1.1, ECB
    {"AES-128", KRY_AES_128 | KRY_MODE_ECB | KRY_NO_PADDING, "FIPS 197",
     "2b7e151628aed2a6abf7158809cf4f3c",
     nullptr,
     "6bc1bee22e409f96e93d7e117393172aae2d8a571e03ac9c9eb76fac45af8e51"
     "30c81c46a35ce411e5fbc1191a0a52eff69f2445df4f9b17ad2b417be66c3710",
     "3ad77bb40d7a3660a89ecaf32466ef97f5d3d58503b9699de785895a96fdbaaf"
     "43b1cd7f598ece23881b00e3ed0306887b0c785e27e8ad3f8223207104725dd4"},
    // NIST SP 800-38A F.1.3, ECB
    {"AES-192", KRY_AES_192 | KRY_MODE_ECB | KRY_NO_PADDING, "FIPS 197",
     "8e73b0f7da0e6452c810f32b809079e562f8ead2522c6b7b",
     nullptr,
     "6bc1bee22e409f96e93d7e117393172aae2d8a571e03ac9c9eb76fac45af8e51"
     "30c81c46a35ce411e5fbc1191a0a52eff69f2445df4f9b17ad2b417be66c3710",
     "bd334f1d6e45f25ff712a214571fa5cc974104846d0ad3ad7734ecb3ecee4eef"
     "ef7afd2270e2e60adce0ba2face6444e9a4b41ba738d6c72fb16691603c18e0e"},
    // NIST SP 800-38A F.1.5, ECB
    {"AES-256", KRY_AES_256 | KRY_MODE_ECB | KRY_NO_PADDING, "FIPS 197",
     "603deb1015ca71be2b73aef0857d77811f352c073b6108d72d9810a30914dff4",
     nullptr,
     "6bc1bee22e409f96e93d7e117393172aae2d8a571e03ac9c9eb76fac45af8e51"
     "30c81c46a35ce411e5fbc1191a0a52eff69f2445df4f9b17ad2b417be66c3710",
     "f3eed1bdb5d2a03c064b5a7e3db181f8591ccb10d410ed26dc5ba74a31362870"
     "b6ed21b99ca6f4f9f153e7b1beafed1d23304b7a39f9f3ff067d8d8f9e24ecc7"},
    // NIST SP 800-38A F.2.1, CBC-AES128
    {"AES-128-CBC", KRY_AES_128 | KRY_MODE_CBC | KRY_NO_PADDING, "SP 800-38A",
     "2b7e151628aed2a6abf7158809cf4f3c",
     "000102030405060708090a0b0c0d0e0f",
     "6bc1bee22e409f96e93d7e117393172aae2d8a571e03ac9c9eb76fac45af8e51"
     "30c81c46a35ce411e5fbc1191a0a52eff69f2445df4f9b17ad2b417be66c3710",
     "7649abac8119b246cee98e9b12e9197d5086cb9b507219ee95db113a917678b2"
     "73bed6b8e3c1743b7116e69e222295163ff1caa1681fac09120eca307586e1a7"},
    // NIST SP 800-38A F.3.13, CFB128-AES128
    {"AES-128-CFB", KRY_AES_128 | KRY_MODE_CFB128 | KRY_NO_PADDING, "SP 800-38A",
     "2b7e151628aed2a6abf7158809cf4f3c",
     "000102030405060708090a0b0c0d0e0f",
     "6bc1bee22e409f96e93d7e117393172aae2d8a571e03ac9c9eb76fac45af8e51"
     "30c81c46a35ce411e5fbc1191a0a52eff69f2445df4f9b17ad2b417be66c3710",
     "3b3fd92eb72dad20333449f8e83cfb4ac8a64537a0b3a93fcde3cdad9f1ce58b"
     "26751f67a3cbb140b1808cf187a4f4dfc04b05357c5d1c0eeac4c66f9ff7f2e6"},
    // NIST SP 800-38A F.4.1, OFB-AES128
    {"AES-128-OFB", KRY_AES_128 | KRY_MODE_OFB | KRY_NO_PADDING, "SP 800-38A",
     "2b7e151628aed2a6abf7158809cf4f3c",
     "000102030405060708090a0b0c0d0e0f",
     "6bc1bee22e409f96e93d7e117393172aae2d8a571e03ac9c9eb76fac45af8e51"
     "30c81c46a35ce411e5fbc1191a0a52eff69f2445df4f9b17ad2b417be66c3710",
     "3b3fd92eb72dad20333449f8e83cfb4a7789508d16918f03f53c52dac54ed825"
     "9740051e9c5fecf64344f7a82260edcc304c6528f659c77866a510d9c1d6ae5e"},
    // NIST SP 800-38A F.5.1, CTR-AES128
    {"AES-128-CTR", KRY_AES_128 | KRY_MODE_CTR | KRY_NO_PADDING, "SP 800-38A",
     "2b7e151628aed2a6abf7158809cf4f3c",
     "f0f1f2f3f4f5f6f7f8f9fafbfcfdfeff",
     "6bc1bee22e409f96e93d7e117393172aae2d8a571e03ac9c9eb76fac45af8e51"
     "30c81c46a35ce411e5fbc1191a0a52eff69f2445df4f9b17ad2b417be66c3710",
     "874d6191b620e3261bef6864990db6ce9806f66b7970fdff8617187bb9fffdff"
     "5ae4df3edbd5d35e5b4f09020db03eab1e031dda2fbe03d1792170a0f3009cee"},
    // RFC 5794 appendix A.1
    {"ARIA-128", KRY_ARIA_128 | KRY_MODE_ECB | KRY_NO_PADDING, "RFC 5794",
     "000102030405060708090a0b0c0d0e0f",
     nullptr,
     "00112233445566778899aabbccddeeff",
     "d718fbd6ab644c739da95f3be6451778"},
    // RFC 5794 appendix A.2
    {"ARIA-192", KRY_ARIA_192 | KRY_MODE_ECB | KRY_NO_PADDING, "RFC 5794",
     "000102030405060708090a0b0c0d0e0f1011121314151617",
     nullptr,
     "00112233445566778899aabbccddeeff",
     "26449c1805dbe7aa25a468ce263a9e79"},
    // RFC 5794 appendix A.3
    {"ARIA-256", KRY_ARIA_256 | KRY_MODE_ECB | KRY_NO_PADDING, "RFC 5794",
     "000102030405060708090a0b0c0d0e0f101112131415161718191a1b1c1d1e1f",
     nullptr,
     "00112233445566778899aabbccddeeff",
     "f92bd7c79fb72e2f2b8f80c1972d24fc"},
    // RFC 4269 appendix B.1
    {"SEED", KRY_SEED | KRY_MODE_ECB | KRY_NO_PADDING, "RFC 4269",
     "00000000000000000000000000000000",
     nullptr,
     "000102030405060708090a0b0c0d0e0f",
     "5ebac6e0054e166819aff1cc6d346cdb"},
    // RFC 4269 appendix B.2
    {"SEED", KRY_SEED | KRY_MODE_ECB | KRY_NO_PADDING, "RFC 4269",
     "000102030405060708090a0b0c0d0e0f",
     nullptr,
     "00000000000000000000000000000000",
     "c11f22f20140505084483597e4370f43"},
    // FIPS PUB 81 example, ECB: "Now is the time for all "
    {"DES", KRY_DES | KRY_MODE_ECB | KRY_NO_PADDING, "FIPS 81, SP 800-20",
     "0123456789abcdef",
     nullptr,
     "4e6f77206973207468652074696d6520666f7220616c6c20",
     "3fa40e8a984d48156a271787ab8883f9893d51ec4b563b53"},
    // FIPS PUB 81 example, CBC
    {"DES", KRY_DES | KRY_MODE_CBC | KRY_NO_PADDING, "FIPS 81, SP 800-20",
     "0123456789abcdef",
     "1234567890abcdef",
     "4e6f77206973207468652074696d6520666f7220616c6c20",
     "e5c7cdde872bf27c43e934008c389c0f683788499a7c05f6"},
    // NIST SP 800-20 table 1 (variable plaintext), entry 0
    {"DES", KRY_DES | KRY_MODE_ECB | KRY_NO_PADDING, "FIPS 81, SP 800-20",
     "0101010101010101",
     nullptr,
     "8000000000000000",
     "95f8a5e5dd31d900"},
    // NIST CAVS TDES multi-block message test, two keys (TECBMMT2.rsp, encrypt, COUNT = 0)
    {"DES-EDE2", KRY_DES_EDE2 | KRY_MODE_ECB | KRY_NO_PADDING, "SP 800-67 (CAVS TECBMMT2)",
     "ad192fd064b5579e7a4fb3c8f794f22a",
     nullptr,
     "13bad542f3652d67",
     "908e543cf2cb254f"},
    // NIST SP 800-67 TDEA example, three keys, ECB
    {"DES-EDE3", KRY_DES_EDE3 | KRY_MODE_ECB | KRY_NO_PADDING, "SP 800-67",
     "0123456789abcdef23456789abcdef01456789abcdef0123",
     nullptr,
     "54686520717566636b2062726f776e20666f78206a756d70",
     "a826fd8ce53b855fcce21c8112256fe668d5c05dd9b6b900"},
    // "The RC5 Encryption Algorithm", RC5-32/12/16 example 1
    {"RC5", KRY_RC5 | KRY_MODE_ECB | KRY_NO_PADDING, "RC5 paper (RC5-32/12/16)",
     "00000000000000000000000000000000",
     nullptr,
     "0000000000000000",
     "21a5dbee154b8f6d"},
    // "The RC5 Encryption Algorithm", RC5-32/12/16 example 2
    {"RC5", KRY_RC5 | KRY_MODE_ECB | KRY_NO_PADDING, "RC5 paper (RC5-32/12/16)",
     "915f4619be41b2516355a50110a9ce91",
     nullptr,
     "21a5dbee154b8f6d",
     "f7c013ac5b2b8952"},
    // Blowfish test vectors (E. Young), set_key data, 16-byte key
    {"BLOWFISH", KRY_BLOWFISH | KRY_MODE_ECB | KRY_NO_PADDING, "Schneier set",
     "f0e1d2c3b4a5968778695a4b3c2d1e0f",
     nullptr,
     "fedcba9876543210",
     "93142887ee3be15c"},
    // Blowfish test vectors (E. Young), chaining mode data, CBC
    {"BLOWFISH", KRY_BLOWFISH | KRY_MODE_CBC | KRY_NO_PADDING, "Schneier set",
     "0123456789abcdeff0e1d2c3b4a59687",
     "fedcba9876543210",
     "37363534333231204e6f77206973207468652074696d6520666f722000000000",
     "6b77b4d63006dee605b156e27403979358deb9e7154616d959f1652bd5ff92cc"},
    // RC2 (RFC 2268) as the unit runs it: 8-byte key, 1024 effective key bits.
    // RFC 2268 publishes no vector for that configuration; this value was
    // computed with OpenSSL's RC2-ECB (key length 8, 1024 effective bits).
    {"RC2", KRY_RC2 | KRY_MODE_ECB | KRY_NO_PADDING, "RFC 2268 (1024 effective bits)",
     "0001020304050607",
     nullptr,
     "00112233445566778899aabbccddeeff",
     "6e8a34c27939418db9fbc8417c957a0a"},
};

// ---- RC4 ----------------------------------------------------------------------
// RFC 6229 section 2, 128-bit key 0102...10: keystream at offsets 0 and 16
// (the plaintext is zero, so the ciphertext is the keystream).
constexpr const char *kRc4Key =
    "0102030405060708090a0b0c0d0e0f10";
constexpr const char *kRc4Keystream =
    "9ac7cc9a609d1ef7b2932899cde41b975248c4959014126a6e8a84f11d1a9e1c";

// ---- HMAC -------------------------------------------------------------------------

struct HmacVector {
    const char *row;
    uint32_t digest_id;
    const char *source;
    const char *key;
    const char *message;
    const char *mac;       // compare its length (a truncated value is a prefix)
};

constexpr HmacVector kHmacVectors[] = {
    // RFC 2202, HMAC-MD5 test case 1
    {"HMAC-MD5", KRY_MD5, "RFC 2202",
     "0b0b0b0b0b0b0b0b0b0b0b0b0b0b0b0b",
     "4869205468657265",
     "9294727a3638bb1c13f48ef8158bfc9d"},
    // RFC 2202, HMAC-MD5 test case 2
    {"HMAC-MD5", KRY_MD5, "RFC 2202",
     "4a656665",
     "7768617420646f2079612077616e7420666f72206e6f7468696e673f",
     "750c783e6ab0b503eaa86e310a5db738"},
    // RFC 2202, HMAC-MD5 test case 6
    {"HMAC-MD5", KRY_MD5, "RFC 2202",
     "aaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaa"
     "aaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaa"
     "aaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaa",
     "54657374205573696e67204c6172676572205468616e20426c6f636b2d53697a"
     "65204b6579202d2048617368204b6579204669727374",
     "6b1ab7fe4bd7bf8f0b62e6ce61b9d0cd"},
    // RFC 2202, HMAC-SHA1 test case 1
    {"HMAC-SHA1", KRY_SHA1, "RFC 2202",
     "0b0b0b0b0b0b0b0b0b0b0b0b0b0b0b0b0b0b0b0b",
     "4869205468657265",
     "b617318655057264e28bc0b6fb378c8ef146be00"},
    // RFC 2202, HMAC-SHA1 test case 2
    {"HMAC-SHA1", KRY_SHA1, "RFC 2202",
     "4a656665",
     "7768617420646f2079612077616e7420666f72206e6f7468696e673f",
     "effcdf6ae5eb2fa2d27416d5f184df9c259a7c79"},
    // RFC 2202, HMAC-SHA1 test case 6
    {"HMAC-SHA1", KRY_SHA1, "RFC 2202",
     "aaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaa"
     "aaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaa"
     "aaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaa",
     "54657374205573696e67204c6172676572205468616e20426c6f636b2d53697a"
     "65204b6579202d2048617368204b6579204669727374",
     "aa4ae5e15272d00e95705637ce8a3b55ed402112"},
    // RFC 4231, HMAC-SHA224 test case 1
    {"HMAC-SHA224", KRY_SHA224, "RFC 4231",
     "0b0b0b0b0b0b0b0b0b0b0b0b0b0b0b0b0b0b0b0b",
     "4869205468657265",
     "896fb1128abbdf196832107cd49df33f47b4b1169912ba4f53684b22"},
    // RFC 4231, HMAC-SHA224 test case 2
    {"HMAC-SHA224", KRY_SHA224, "RFC 4231",
     "4a656665",
     "7768617420646f2079612077616e7420666f72206e6f7468696e673f",
     "a30e01098bc6dbbf45690f3a7e9e6d0f8bbea2a39e6148008fd05e44"},
    // RFC 4231, HMAC-SHA224 test case 6
    {"HMAC-SHA224", KRY_SHA224, "RFC 4231",
     "aaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaa"
     "aaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaa"
     "aaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaa"
     "aaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaa"
     "aaaaaa",
     "54657374205573696e67204c6172676572205468616e20426c6f636b2d53697a"
     "65204b6579202d2048617368204b6579204669727374",
     "95e9a0db962095adaebe9b2d6f0dbce2d499f112f2d2b7273fa6870e"},
    // RFC 4231, HMAC-SHA256 test case 1
    {"HMAC-SHA256", KRY_SHA256, "RFC 4231",
     "0b0b0b0b0b0b0b0b0b0b0b0b0b0b0b0b0b0b0b0b",
     "4869205468657265",
     "b0344c61d8db38535ca8afceaf0bf12b881dc200c9833da726e9376c2e32cff7"},
    // RFC 4231, HMAC-SHA256 test case 2
    {"HMAC-SHA256", KRY_SHA256, "RFC 4231",
     "4a656665",
     "7768617420646f2079612077616e7420666f72206e6f7468696e673f",
     "5bdcc146bf60754e6a042426089575c75a003f089d2739839dec58b964ec3843"},
    // RFC 4231, HMAC-SHA256 test case 6
    {"HMAC-SHA256", KRY_SHA256, "RFC 4231",
     "aaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaa"
     "aaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaa"
     "aaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaa"
     "aaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaa"
     "aaaaaa",
     "54657374205573696e67204c6172676572205468616e20426c6f636b2d53697a"
     "65204b6579202d2048617368204b6579204669727374",
     "60e431591ee0b67f0d8a26aacbf5b77f8e0bc6213728c5140546040f0ee37f54"},
    // RFC 4231, HMAC-SHA384 test case 1
    {"HMAC-SHA384", KRY_SHA384, "RFC 4231",
     "0b0b0b0b0b0b0b0b0b0b0b0b0b0b0b0b0b0b0b0b",
     "4869205468657265",
     "afd03944d84895626b0825f4ab46907f15f9dadbe4101ec682aa034c7cebc59c"
     "faea9ea9076ede7f4af152e8b2fa9cb6"},
    // RFC 4231, HMAC-SHA384 test case 2
    {"HMAC-SHA384", KRY_SHA384, "RFC 4231",
     "4a656665",
     "7768617420646f2079612077616e7420666f72206e6f7468696e673f",
     "af45d2e376484031617f78d2b58a6b1b9c7ef464f5a01b47e42ec3736322445e"
     "8e2240ca5e69e2c78b3239ecfab21649"},
    // RFC 4231, HMAC-SHA384 test case 6
    {"HMAC-SHA384", KRY_SHA384, "RFC 4231",
     "aaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaa"
     "aaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaa"
     "aaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaa"
     "aaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaa"
     "aaaaaa",
     "54657374205573696e67204c6172676572205468616e20426c6f636b2d53697a"
     "65204b6579202d2048617368204b6579204669727374",
     "4ece084485813e9088d2c63a041bc5b44f9ef1012a2b588f3cd11f05033ac4c6"
     "0c2ef6ab4030fe8296248df163f44952"},
    // RFC 4231, HMAC-SHA512 test case 1
    {"HMAC-SHA512", KRY_SHA512, "RFC 4231",
     "0b0b0b0b0b0b0b0b0b0b0b0b0b0b0b0b0b0b0b0b",
     "4869205468657265",
     "87aa7cdea5ef619d4ff0b4241a1d6cb02379f4e2ce4ec2787ad0b30545e17cde"
     "daa833b7d6b8a702038b274eaea3f4e4be9d914eeb61f1702e696c203a126854"},
    // RFC 4231, HMAC-SHA512 test case 2
    {"HMAC-SHA512", KRY_SHA512, "RFC 4231",
     "4a656665",
     "7768617420646f2079612077616e7420666f72206e6f7468696e673f",
     "164b7a7bfcf819e2e395fbe73b56e0a387bd64222e831fd610270cd7ea250554"
     "9758bf75c05a994a6d034f65f8f0e6fdcaeab1a34d4a6b4b636e070a38bce737"},
    // RFC 4231, HMAC-SHA512 test case 6
    {"HMAC-SHA512", KRY_SHA512, "RFC 4231",
     "aaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaa"
     "aaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaa"
     "aaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaa"
     "aaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaa"
     "aaaaaa",
     "54657374205573696e67204c6172676572205468616e20426c6f636b2d53697a"
     "65204b6579202d2048617368204b6579204669727374",
     "80b24263c7c1a3ebb71493c1dd7be8b49b46d1f41b4aeec1121b013783f8f352"
     "6b56d037e05f2598bd0fd2215d6a1e5295e64f73f63f0aec8b915a985d786598"},
};

// ---- CBC-MAC / DES-MAC -------------------------------------------------------------
// FIPS PUB 113 appendix 2 (ANSI X9.9): DES, key 0123456789abcdef, message
// "7654321 Now is the time for " zero-padded to 32 bytes; the MAC is the last
// CBC block, of which ANSI X9.9 transmits the leftmost 32 bits.
constexpr const char *kDesMacKey =
    "0123456789abcdef";
constexpr const char *kDesMacMessage =
    "37363534333231204e6f77206973207468652074696d6520666f722000000000";
constexpr const char *kDesMacFull =
    "f1d30f6849312ca4";

// ---- RSA ---------------------------------------------------------------------------

struct RsaKey {
    const char *n, *e, *d, *p, *q, *dp, *dq, *qinv;
};

// RSA PKCS #1 v1.5 signature test vectors (RSA Laboratories), example 1: 1024-bit key.
constexpr RsaKey kRsaSigKey = {
    "a56e4a0e701017589a5187dc7ea841d156f2ec0e36ad52a44dfeb1e61f7ad991"
    "d8c51056ffedb162b4c0f283a12a88a394dff526ab7291cbb307ceabfce0b1df"
    "d5cd9508096d5b2b8b6df5d671ef6377c0921cb23c270a70e2598e6ff89d19f1"
    "05acc2d3f0cb35f29280e1386b6f64c4ef22e1e1f20d0ce8cffb2249bd9a2137",
    "010001",
    "33a5042a90b27d4f5451ca9bbbd0b44771a101af884340aef9885f2a4bbe92e8"
    "94a724ac3c568c8f97853ad07c0266c8c6a3ca0929f1e8f11231884429fc4d9a"
    "e55fee896a10ce707c3ed7e734e44727a39574501a532683109c2abacaba283c"
    "31b4bd2f53c3ee37e352cee34f9e503bd80c0622ad79c6dcee883547c6a3b325",
    "e7e8942720a877517273a356053ea2a1bc0c94aa72d55c6e86296b2dfc967948"
    "c0a72cbccca7eacb35706e09a1df55a1535bd9b3cc34160b3b6dcd3eda8e6443",
    "b69dca1cf7d4d7ec81e75b90fcca874abcde123fd2700180aa90479b6e48de8d"
    "67ed24f9f19d85ba275874f542cd20dc723e6963364a1f9425452b269a6799fd",
    "28fa13938655be1f8a159cbaca5a72ea190c30089e19cd274a556f36c4f6e19f"
    "554b34c077790427bbdd8dd3ede2448328f385d81b30e8e43b2fffa027861979",
    "1a8b38f398fa712049898d7fb79ee0a77668791299cdfa09efc0e507acb21ed7"
    "4301ef5bfd48be455eaeb6e1678255827580a8e4e8e14151d1510a82a3f2e729",
    "27156aba4126d24a81f3a528cbfb27f56886f840a9f6e86e17a44b94fe931958"
    "4b8e22fdde1e5a2e3bd8aa5ba8d8584194eb2190acf832b847f13a3d24a79f4d",
};
// Its example 1.1: SHA-1, EMSA-PKCS1-v1_5.
constexpr const char *kRsaPkcs1Message =
    "cdc87da223d786df3b45e0bbbc721326d1ee2af806cc315475cc6f0d9c66e1b6"
    "2371d45ce2392e1ac92844c310102f156a0d8d52c1f4c40ba3aa65095786cb76"
    "9757a6563ba958fed0bcc984e8b517a3d5f515b23b8a41e74aa867693f90dfb0"
    "61a6e86dfaaee64472c00e5f20945729cbebe77f06ce78e08f4098fba41f9d61"
    "93c0317e8b60d4b6084acb42d29e3808a3bc372d85e331170fcbf7cc72d0b71c"
    "296648b3a4d10f416295d0807aa625cab2744fd9ea8fd223c42537029828bd16"
    "be02546f130fd2e33b936d2676e08aed1b73318b750a0167d0";
constexpr const char *kRsaPkcs1Signature =
    "6bc3a06656842930a247e30d5864b4d819236ba7c68965862ad7dbc4e24af28e"
    "86bb531f03358be5fb74777c6086f850caef893f0d6fcc2d0c91ec013693b4ea"
    "00b80cd49aac4ecb5f8911afe539ada4a8f3823d1d13e472d1490547c659c761"
    "7f3d24087ddb6f2b72096167fc097cab18e9a458fcb634cdce8ee35894c484d7";

// RSAES-OAEP test vectors (RSA Laboratories, oaep-vect.txt), example 1: 1024-bit key.
constexpr RsaKey kRsaOaepKey = {
    "a8b3b284af8eb50b387034a860f146c4919f318763cd6c5598c8ae4811a1e0ab"
    "c4c7e0b082d693a5e7fced675cf4668512772c0cbc64a742c6c630f533c8cc72"
    "f62ae833c40bf25842e984bb78bdbf97c0107d55bdb662f5c4e0fab9845cb514"
    "8ef7392dd3aaff93ae1e6b667bb3d4247616d4f5ba10d4cfd226de88d39f16fb",
    "010001",
    "53339cfdb79fc8466a655c7316aca85c55fd8f6dd898fdaf119517ef4f52e8fd"
    "8e258df93fee180fa0e4ab29693cd83b152a553d4ac4d1812b8b9fa5af0e7f55"
    "fe7304df41570926f3311f15c4d65a732c483116ee3d3d2d0af3549ad9bf7cbf"
    "b78ad884f84d5beb04724dc7369b31def37d0cf539e9cfcdd3de653729ead5d1",
    "d32737e7267ffe1341b2d5c0d150a81b586fb3132bed2f8d5262864a9cb9f30a"
    "f38be448598d413a172efb802c21acf1c11c520c2f26a471dcad212eac7ca39d",
    "cc8853d1d54da630fac004f471f281c7b8982d8224a490edbeb33d3e3d5cc93c"
    "4765703d1dd791642f1f116a0dd852be2419b2af72bfe9a030e860b0288b5d77",
    "0e12bf1718e9cef5599ba1c3882fe8046a90874eefce8f2ccc20e4f2741fb0a3"
    "3a3848aec9c9305fbecbd2d76819967d4671acc6431e4037968db37878e695c1",
    "95297b0f95a2fa67d00707d609dfd4fc05c89dafc2ef6d6ea55bec771ea33373"
    "4d9251e79082ecda866efef13c459e1a631386b7e354c899f5f112ca85d71583",
    "4f456c502493bdc0ed2ab756a3a6ed4d67352a697d4216e93212b127a63d5411"
    "ce6fa98d5dbefd73263e3728142743818166ed7dd63687dd2a8ca1d2f4fbd8e1",
};
// Its example 1.1: OAEP with SHA-1 and MGF1-SHA-1, empty label.
constexpr const char *kRsaOaepMessage =
    "6628194e12073db03ba94cda9ef9532397d50dba79b987004afefe34";
constexpr const char *kRsaOaepCiphertext =
    "354fe67b4a126d5d35fe36c777791a3f7ba13def484e2d3908aff722fad468fb"
    "21696de95d0be911c2d3174f8afcc201035f7b6d8e69402de5451618c21a535f"
    "a9d7bfc5b8dd9fc243f8cf927db31322d6e881eaa91a996170e657a05a266426"
    "d98c88003f8477c1227094a0d9fa1e8c4024309ce1ecccb5210035d47ac72e8a";

// RSASSA-PSS test vectors (RSA Laboratories, pss-vect.txt), example 1: 1024-bit key.
constexpr RsaKey kRsaPssKey = {
    "a56e4a0e701017589a5187dc7ea841d156f2ec0e36ad52a44dfeb1e61f7ad991"
    "d8c51056ffedb162b4c0f283a12a88a394dff526ab7291cbb307ceabfce0b1df"
    "d5cd9508096d5b2b8b6df5d671ef6377c0921cb23c270a70e2598e6ff89d19f1"
    "05acc2d3f0cb35f29280e1386b6f64c4ef22e1e1f20d0ce8cffb2249bd9a2137",
    "010001",
    "33a5042a90b27d4f5451ca9bbbd0b44771a101af884340aef9885f2a4bbe92e8"
    "94a724ac3c568c8f97853ad07c0266c8c6a3ca0929f1e8f11231884429fc4d9a"
    "e55fee896a10ce707c3ed7e734e44727a39574501a532683109c2abacaba283c"
    "31b4bd2f53c3ee37e352cee34f9e503bd80c0622ad79c6dcee883547c6a3b325",
    "e7e8942720a877517273a356053ea2a1bc0c94aa72d55c6e86296b2dfc967948"
    "c0a72cbccca7eacb35706e09a1df55a1535bd9b3cc34160b3b6dcd3eda8e6443",
    "b69dca1cf7d4d7ec81e75b90fcca874abcde123fd2700180aa90479b6e48de8d"
    "67ed24f9f19d85ba275874f542cd20dc723e6963364a1f9425452b269a6799fd",
    "28fa13938655be1f8a159cbaca5a72ea190c30089e19cd274a556f36c4f6e19f"
    "554b34c077790427bbdd8dd3ede2448328f385d81b30e8e43b2fffa027861979",
    "1a8b38f398fa712049898d7fb79ee0a77668791299cdfa09efc0e507acb21ed7"
    "4301ef5bfd48be455eaeb6e1678255827580a8e4e8e14151d1510a82a3f2e729",
    "27156aba4126d24a81f3a528cbfb27f56886f840a9f6e86e17a44b94fe931958"
    "4b8e22fdde1e5a2e3bd8aa5ba8d8584194eb2190acf832b847f13a3d24a79f4d",
};
// Its example 1.1: SHA-1, MGF1-SHA-1, 20-byte salt.
constexpr const char *kRsaPssMessage =
    "cdc87da223d786df3b45e0bbbc721326d1ee2af806cc315475cc6f0d9c66e1b6"
    "2371d45ce2392e1ac92844c310102f156a0d8d52c1f4c40ba3aa65095786cb76"
    "9757a6563ba958fed0bcc984e8b517a3d5f515b23b8a41e74aa867693f90dfb0"
    "61a6e86dfaaee64472c00e5f20945729cbebe77f06ce78e08f4098fba41f9d61"
    "93c0317e8b60d4b6084acb42d29e3808a3bc372d85e331170fcbf7cc72d0b71c"
    "296648b3a4d10f416295d0807aa625cab2744fd9ea8fd223c42537029828bd16"
    "be02546f130fd2e33b936d2676e08aed1b73318b750a0167d0";
constexpr const char *kRsaPssSignature =
    "9074308fb598e9701b2294388e52f971faac2b60a5145af185df5287b5ed2887"
    "e57ce7fd44dc8634e407c8e0e4360bc226f3ec227f9d9e54638e8d31f5051215"
    "df6ebb9c2f9579aa77598a38f914b5b9c1bd83c4e2f9f382a0d0aa3542ffee65"
    "984a601bc69eb28deb27dca12c82c2d4c3f66cd500f1ff2b994d8a4e30cbb33c";

// For "kry speed": RSA PKCS #1 v1.5 signature test vectors, example 15: 2048-bit key.
constexpr RsaKey kRsa2048Key = {
    "df271fd25f8644496b0c81be4bd50297ef099b002a6fd67727eb449cea566ed6"
    "a3981a71312a141cabc9815c1209e320a25b32464e9999f18ca13a9fd3892558"
    "f9e0adefdd3650dd23a3f036d60fe398843706a40b0b8462c8bee3bce12f1f28"
    "60c2444cdc6a44476a75ff4aa24273ccbe3bf80248465f8ff8c3a7f3367dfc0d"
    "f5b6509a4f82811cedd81cdaaa73c491da412170d544d4ba96b97f0afc806549"
    "8d3a49fd910992a1f0725be24f465cfe7e0eabf678996c50bc5e7524abf73f15"
    "e5bef7d518394e3138ce4944506aaaaf3f9b236dcab8fc00f87af596fdc3d9d6"
    "c75cd508362fae2cbeddcc4c7450b17b776c079ecca1f256351a43b97dbe2153",
    "010001",
    "5bd910257830dce17520b03441a51a8cab94020ac6ecc252c808f3743c95b7c8"
    "3b8c8af1a5014346ebc4242cdfb5d718e30a733e71f291e4d473b61bfba6daca"
    "ed0a77bd1f0950ae3c91a8f90111882589e1d62765ee671e7baeea309f64d447"
    "bbcfa9ea12dce05e9ea8939bc5fe6108581279c982b308794b3448e7f7b95229"
    "2df88c80cb40142c4b5cf5f8ddaa0891678d610e582fcb880f0d707caf47d09a"
    "84e14ca65841e5a3abc5e9dba94075a9084341f0edad9b68e3b8e082b80b6e6e"
    "8a0547b44fb5061b6a9131603a5537ddabd01d8e863d8922e9aa3e4bfaea0b39"
    "d79283ad2cbc8a59cce7a6ecf4e4c81ed4c6591c807defd71ab06866bb5e7745",
    "f44f5e4246391f482b2f5296e3602eb34aa136427710f7c0416d403fd69d4b29"
    "130cfebef34e885abdb1a8a0a5f0e9b5c33e1fc3bfc285b1ae17e40cc67a1913"
    "dd563719815ebaf8514c2a7aa0018e63b6c631dc315a46235716423d11ff5803"
    "4e610645703606919f5c7ce2660cd148bd9efc123d9c54b6705590d006cfcf3f",
    "e9d49841e0e0a6ad0d517857133e36dc72c1bdd90f9174b52e26570f373640f1"
    "c185e7ea8e2ed7f1e4ebb951f70a58023633b0097aec67c6dcb800fc1a67f9bb"
    "0563610f08ebc8746ad129772136eb1ddaf46436450d318332a84982fe5d28db"
    "e5b3e912407c3e0e03100d87d436ee409eec1cf85e80aba079b2e6106b97bced",
    "ed102acdb26871534d1c414ecad9a4d732fe95b10eea370da62f05de2c393b1a"
    "633303ea741b6b3269c97f704b352702c9ae79922f7be8d10db67f026a8145de"
    "41b30c0a42bf923bac5f7504c248604b9faa57ed6b3246c6ba158e36c644f8b9"
    "548fcf4f07e054a56f768674054440bc0dcbbc9b528f64a01706e05b0b91106f",
    "6827924a85e88b55ba00f8219128bd3724c6b7d1dfe5629ef197925fecaff5ed"
    "b9cdf3a7befd8ea2e8dd3707138b3ff87c3c39c57f439e562e2aa805a39d7cd7"
    "9966d2ece7845f1dbc16bee99999e4d0bf9eeca45fcda8a8500035fe6b5f03bc"
    "2f6d1bfc4d4d0a3723961af0cdce4a01eec82d7f5458ec19e71b90eeef7dff61",
    "57b73888d183a99a6307422277551a3d9e18adf06a91e8b55ceffef9077c8496"
    "948ecb3b16b78155cb2a3a57c119d379951c010aa635edcf62d84c5a122a8d67"
    "ab5fa9e5a4a8772a1e943bafc70ae3a4c1f0f3a4ddffaefd1892c8cb33bb0d0b"
    "9590e963a69110fb34db7b906fc4ba2836995aac7e527490ac952a02268a4f18",
};

// ---- DSA ---------------------------------------------------------------------------
// FIPS 186-2 appendix 5, example of the DSA (L = 512, SHA-1, M = "abc").
constexpr const char *kDsaP =
    "8df2a494492276aa3d25759bb06869cbeac0d83afb8d0cf7cbb8324f0d7882e5"
    "d0762fc5b7210eafc2e9adac32ab7aac49693dfbf83724c2ec0736ee31c80291";
constexpr const char *kDsaQ =
    "c773218c737ec8ee993b4f2ded30f48edace915f";
constexpr const char *kDsaG =
    "626d027839ea0a13413163a55b4cb500299d5522956cefcb3bff10f399ce2c2e"
    "71cb9de5fa24babf58e5b79521925c9cc42e9f6f464b088cc572af53e6d78802";
constexpr const char *kDsaX =
    "2070b3223dba372fde1c0ffc7b2e3b498b260614";
constexpr const char *kDsaY =
    "19131871d75b1612a819f29d78d1b0d7346f7aa77bb62a859bfd6c5675da9d21"
    "2d3a36ef1672ef660b8c7c255cc0ec74858fba33f44c06699630a76b030ee333";
constexpr const char *kDsaMsg =
    "616263";
constexpr const char *kDsaR =
    "8bac1ab66410435cb7181f95b16ab97c92b341c0";
constexpr const char *kDsaS =
    "41e2345f1f56df2458f426d155b4ba2db6dcd8c8";

// For "kry speed": a 1024-bit domain and key pair from the NIST CAVS FIPS 186-2
// SigGen file (mod = 1024, first entry).
constexpr const char *kDsa1024P =
    "f5422387a66acb198173f466e987ca692fd2337af0ed1ec7aa5f2e2088d0742c"
    "2d41ded76317001ca4044115f00aff09ad59d49b07c35ec2b25088be17ac391a"
    "f17575d52c232153df94f0023a0a17ca29d8548dfa08c5f034bad0bd4511ffae"
    "6b3c504c6f728d31d1e92aad9e88382a8a42b050441a747bb71dd84cb01d9ee7";
constexpr const char *kDsa1024Q =
    "f4a9d1750b46e27c3af7587c5d019ffc99f11f25";
constexpr const char *kDsa1024G =
    "7400ad91528a6c9e891f3f5fce7496ef4d01bf91a979736547049406ab4a2d2f"
    "e49fa3730cfb86a5af3ff21f5022f07e4ee0c15a88b8bd7b5f0bf8dea3863afb"
    "4f1cac16aba490d93f44be79c1cd01ce2e12dfdb75c593d64e5bf97e839526db"
    "cc0288cd3beb2fd7941f67d138faa88f9de90901efdc752569a4d1afbd193846";
constexpr const char *kDsa1024X =
    "485e8ad4a4e49a85e0397af0bb115df175ead894";
constexpr const char *kDsa1024Y =
    "ec86482ea1c463198d074bad01790283fb8866e53ab5e821219f0f4a25e7d047"
    "3f9cbd2ab7348625d322ea7f09ec9a15bbcc5a9ff1f3692392768970e9e86554"
    "5d3aa2934148f6d0a6ec410a16d5059c58ce428912f532cbc8f9bbbcf3657367"
    "d159212c11afd856587b1b092ab1bdae3c443661e6ba27078d03eb31e63e5922";

// ---- KCDSA -------------------------------------------------------------------------
// TTAK.KO-12.0001/R4 appendix, (1024, 160) HAS-160 example:
// M = "This is a test message for KCDSA usage!".
constexpr const char *kKcdsaP =
    "d7b9afc104f4d53f737db88d6bf77e12cd7ec3d71cbe3cb74cd224bff348154a"
    "fba6bfed797044dfc655dcc20c952c0ec43a97e1ad67e687d10729caf622845d"
    "162afca8f0248cc412b3596c4c5d3384f7e25ee644ba87bb09b164fb465477b8"
    "7fdba5eaa400ffa0925714ae19464ffacead3a9750d121948ab2d8d65c82379f";
constexpr const char *kKcdsaQ =
    "c3ddd3717bf05b8f8dd725c162f0b9432c6f77fb";
constexpr const char *kKcdsaG =
    "50e414c7a56892d1ad633e42d5cd8346f2c09808111c772cc30b0c544102c27e"
    "7b5f9bec57b9df2a153128919d795e46652b2a072e1f2517f2a3afff5815253a"
    "aefe35724cfa1af6afce3a6b41e3d0e13bed0eff54383c4665e69b47ba79bbc3"
    "339f86b9be2b58894a18b201afc41fe3a0d93d3125efda79bc50dbbb2c3ab639";
constexpr const char *kKcdsaX =
    "068c4ef355d8b6f53eff1df6f243f98563896c58";
constexpr const char *kKcdsaY =
    "96dce0e7b2f170093d9b51d2ba78202733b62c406d3769758b3e0cbba1ff6c78"
    "727a35703cb6bc2476c3c293743dfee94aa4b9efa9a17fa6bf790ac25a82c615"
    "23f50abaac7b64647eb15c957b07f5ed7d467243089f74695cd58fbf57920cc0"
    "c05d45829c0a8161b943f18451845760ed096540e78aa9750b03d02448cbf8de";
constexpr const char *kKcdsaMsg =
    "5468697320697320612074657374206d65737361676520666f72204b43445341"
    "20757361676521";
constexpr const char *kKcdsaR =
    "8f996a98eda57cc8d88aa6ffdfaea22f39d7fa8a";
constexpr const char *kKcdsaS =
    "541f7dc4f92c65eb7f63b6b4f22177f1ee2cf339";

// ---- FIPS 186-2 random number generator ------------------------------------------------
// FIPS 186-2 change notice 1 general-purpose example (b = 160, XSEED = 0):
// the first value W0 from XKEY0, and XKEY1 = 1 + XKEY0 + W0 mod 2^160.
constexpr const char *kPrngXkey0 =
    "bd029bbe7f51960bcf9edb2b61f06f0feb5a38b6";
constexpr const char *kPrngXseed =
    "0000000000000000000000000000000000000000";
constexpr const char *kPrngW0 =
    "2070b3223dba372fde1c0ffc7b2e3b498b260614";
// FIPS 186-2 appendix 5: x = G(t, XKEY) mod q for the example's q.
constexpr const char *kPrngXkey =
    "bd029bbe7f51960bcf9edb2b61f06f0feb5a38b6";
constexpr const char *kPrngQ =
    "c773218c737ec8ee993b4f2ded30f48edace915f";
constexpr const char *kPrngX =
    "2070b3223dba372fde1c0ffc7b2e3b498b260614";

}  // namespace kry_tool::kat

#endif  // KRY_TOOL_KAT_VECTORS_H
