// KRY_SelfTests: known-answer and pair-wise checks over the whole context
// API, run on a context of the self-test's own while the self-test lock
// keeps every other context out.
//
// Vectors:
//   digests  - "abc": FIPS 180-2 appendices A-D and its change notice
//              (SHA-1, SHA-224, SHA-256, SHA-384, SHA-512), RFC 1321 A.5
//              (MD5), TTAS.KO-12.0011/R2 (HAS-160);
//   ciphers  - DES-EDE (three keys): NIST SP 800-67 TDEA example (ECB),
//              NIST CAVP TCBCMMT3 COUNT 2 (CBC);
//              SEED: RFC 4269 B.1 (ECB), RFC 4196 case 1 (CBC);
//              ARIA-128/192/256: RFC 5794 A.1-A.3 (ECB), the first 64
//              bytes of the KISA ARIA test vectors, sections 1-3 (CBC; a
//              prefix of a CBC vector is itself a CBC vector).
//              The padded ciphertexts (PKCS #7) are the same encryptions
//              with the padding block added; the tests check them against
//              an independent implementation.
//   HMAC     - HMAC-MD5 with an empty key over "More text test vectors to
//              stuff up EBCDIC machines :-)", and the RFC 2104 sample
//              (key 16 x 0x0b, "Hi There").
#include "api/selftest_internal.h"

#include "api/api_internal.h"
#include "foundation/common.h"

#include <cstdio>
#include <cstring>

namespace kry::selftest {

namespace {

const uint8_t kMsgAbc[3] = {
    0x61, 0x62, 0x63,
};

const uint8_t kMd5Abc[16] = {
    0x90, 0x01, 0x50, 0x98, 0x3c, 0xd2, 0x4f, 0xb0, 0xd6, 0x96, 0x3f, 0x7d,
    0x28, 0xe1, 0x7f, 0x72,
};

const uint8_t kSha1Abc[20] = {
    0xa9, 0x99, 0x3e, 0x36, 0x47, 0x06, 0x81, 0x6a, 0xba, 0x3e, 0x25, 0x71,
    0x78, 0x50, 0xc2, 0x6c, 0x9c, 0xd0, 0xd8, 0x9d,
};

const uint8_t kSha224Abc[28] = {
    0x23, 0x09, 0x7d, 0x22, 0x34, 0x05, 0xd8, 0x22, 0x86, 0x42, 0xa4, 0x77,
    0xbd, 0xa2, 0x55, 0xb3, 0x2a, 0xad, 0xbc, 0xe4, 0xbd, 0xa0, 0xb3, 0xf7,
    0xe3, 0x6c, 0x9d, 0xa7,
};

const uint8_t kSha256Abc[32] = {
    0xba, 0x78, 0x16, 0xbf, 0x8f, 0x01, 0xcf, 0xea, 0x41, 0x41, 0x40, 0xde,
    0x5d, 0xae, 0x22, 0x23, 0xb0, 0x03, 0x61, 0xa3, 0x96, 0x17, 0x7a, 0x9c,
    0xb4, 0x10, 0xff, 0x61, 0xf2, 0x00, 0x15, 0xad,
};

const uint8_t kSha384Abc[48] = {
    0xcb, 0x00, 0x75, 0x3f, 0x45, 0xa3, 0x5e, 0x8b, 0xb5, 0xa0, 0x3d, 0x69,
    0x9a, 0xc6, 0x50, 0x07, 0x27, 0x2c, 0x32, 0xab, 0x0e, 0xde, 0xd1, 0x63,
    0x1a, 0x8b, 0x60, 0x5a, 0x43, 0xff, 0x5b, 0xed, 0x80, 0x86, 0x07, 0x2b,
    0xa1, 0xe7, 0xcc, 0x23, 0x58, 0xba, 0xec, 0xa1, 0x34, 0xc8, 0x25, 0xa7,
};

const uint8_t kSha512Abc[64] = {
    0xdd, 0xaf, 0x35, 0xa1, 0x93, 0x61, 0x7a, 0xba, 0xcc, 0x41, 0x73, 0x49,
    0xae, 0x20, 0x41, 0x31, 0x12, 0xe6, 0xfa, 0x4e, 0x89, 0xa9, 0x7e, 0xa2,
    0x0a, 0x9e, 0xee, 0xe6, 0x4b, 0x55, 0xd3, 0x9a, 0x21, 0x92, 0x99, 0x2a,
    0x27, 0x4f, 0xc1, 0xa8, 0x36, 0xba, 0x3c, 0x23, 0xa3, 0xfe, 0xeb, 0xbd,
    0x45, 0x4d, 0x44, 0x23, 0x64, 0x3c, 0xe8, 0x0e, 0x2a, 0x9a, 0xc9, 0x4f,
    0xa5, 0x4c, 0xa4, 0x9f,
};

const uint8_t kHas160Abc[20] = {
    0x97, 0x5e, 0x81, 0x04, 0x88, 0xcf, 0x2a, 0x3d, 0x49, 0x83, 0x84, 0x78,
    0x12, 0x4a, 0xfc, 0xe4, 0xb1, 0xc7, 0x88, 0x04,
};

const uint8_t kTdesEcbKey[24] = {
    0x01, 0x23, 0x45, 0x67, 0x89, 0xab, 0xcd, 0xef, 0x23, 0x45, 0x67, 0x89,
    0xab, 0xcd, 0xef, 0x01, 0x45, 0x67, 0x89, 0xab, 0xcd, 0xef, 0x01, 0x23,
};

const uint8_t kTdesEcbPt[24] = {
    0x54, 0x68, 0x65, 0x20, 0x71, 0x75, 0x66, 0x63, 0x6b, 0x20, 0x62, 0x72,
    0x6f, 0x77, 0x6e, 0x20, 0x66, 0x6f, 0x78, 0x20, 0x6a, 0x75, 0x6d, 0x70,
};

const uint8_t kTdesEcbCt[24] = {
    0xa8, 0x26, 0xfd, 0x8c, 0xe5, 0x3b, 0x85, 0x5f, 0xcc, 0xe2, 0x1c, 0x81,
    0x12, 0x25, 0x6f, 0xe6, 0x68, 0xd5, 0xc0, 0x5d, 0xd9, 0xb6, 0xb9, 0x00,
};

const uint8_t kTdesEcbCtPad[32] = {
    0xa8, 0x26, 0xfd, 0x8c, 0xe5, 0x3b, 0x85, 0x5f, 0xcc, 0xe2, 0x1c, 0x81,
    0x12, 0x25, 0x6f, 0xe6, 0x68, 0xd5, 0xc0, 0x5d, 0xd9, 0xb6, 0xb9, 0x00,
    0x83, 0x28, 0x46, 0xb5, 0x2f, 0x9e, 0x21, 0x3d,
};

const uint8_t kTdesCbcKey[24] = {
    0x1a, 0x5d, 0x4c, 0x08, 0x25, 0x07, 0x2a, 0x15, 0xa8, 0xad, 0x9d, 0xfd,
    0xae, 0xda, 0x8c, 0x04, 0x8a, 0xdf, 0xfb, 0x85, 0xbc, 0x4f, 0xce, 0xd0,
};

const uint8_t kTdesCbcIv[8] = {
    0x7f, 0xcf, 0xa7, 0x36, 0xf7, 0x54, 0x8b, 0x6f,
};

const uint8_t kTdesCbcPt[24] = {
    0x98, 0x3c, 0x3e, 0xda, 0xcd, 0x93, 0x94, 0x06, 0x01, 0x0e, 0x1b, 0xc6,
    0xff, 0x9e, 0x12, 0x32, 0x0a, 0xc5, 0x00, 0x81, 0x17, 0xfa, 0x8f, 0x84,
};

const uint8_t kTdesCbcCt[24] = {
    0xd8, 0x4f, 0xa2, 0x4f, 0x38, 0xcf, 0x45, 0x1c, 0xa2, 0xc9, 0xad, 0xc9,
    0x60, 0x12, 0x0b, 0xd8, 0xff, 0x98, 0x71, 0x58, 0x4f, 0xe3, 0x1c, 0xee,
};

const uint8_t kTdesCbcCtPad[32] = {
    0xd8, 0x4f, 0xa2, 0x4f, 0x38, 0xcf, 0x45, 0x1c, 0xa2, 0xc9, 0xad, 0xc9,
    0x60, 0x12, 0x0b, 0xd8, 0xff, 0x98, 0x71, 0x58, 0x4f, 0xe3, 0x1c, 0xee,
    0x2f, 0x8c, 0xc4, 0xdf, 0x94, 0x7d, 0xdb, 0xbf,
};

const uint8_t kSeedEcbKey[16] = {
    0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00,
    0x00, 0x00, 0x00, 0x00,
};

const uint8_t kSeedEcbPt[16] = {
    0x00, 0x01, 0x02, 0x03, 0x04, 0x05, 0x06, 0x07, 0x08, 0x09, 0x0a, 0x0b,
    0x0c, 0x0d, 0x0e, 0x0f,
};

const uint8_t kSeedEcbCt[16] = {
    0x5e, 0xba, 0xc6, 0xe0, 0x05, 0x4e, 0x16, 0x68, 0x19, 0xaf, 0xf1, 0xcc,
    0x6d, 0x34, 0x6c, 0xdb,
};

const uint8_t kSeedEcbCtPad[32] = {
    0x5e, 0xba, 0xc6, 0xe0, 0x05, 0x4e, 0x16, 0x68, 0x19, 0xaf, 0xf1, 0xcc,
    0x6d, 0x34, 0x6c, 0xdb, 0x7f, 0x54, 0xe0, 0x3d, 0x31, 0x09, 0x37, 0x85,
    0xc5, 0xe7, 0x5e, 0x41, 0xfb, 0x77, 0x73, 0x8d,
};

const uint8_t kSeedCbcKey[16] = {
    0xed, 0x24, 0x01, 0xad, 0x22, 0xfa, 0x25, 0x59, 0x91, 0xba, 0xfd, 0xb0,
    0x1f, 0xef, 0xd6, 0x97,
};

const uint8_t kSeedCbcIv[16] = {
    0x93, 0xeb, 0x14, 0x9f, 0x92, 0xc9, 0x90, 0x5b, 0xae, 0x5c, 0xd3, 0x4d,
    0xa0, 0x6c, 0x3c, 0x8e,
};

const uint8_t kSeedCbcPt[32] = {
    0xb4, 0x0d, 0x70, 0x03, 0xd9, 0xb6, 0x90, 0x4b, 0x35, 0x62, 0x27, 0x50,
    0xc9, 0x1a, 0x24, 0x57, 0x5b, 0xb9, 0xa6, 0x32, 0x36, 0x4a, 0xa2, 0x6e,
    0x3a, 0xc0, 0xcf, 0x3a, 0x9c, 0x9d, 0x0d, 0xcb,
};

const uint8_t kSeedCbcCt[32] = {
    0xf0, 0x72, 0xc5, 0xb1, 0xa0, 0x58, 0x8c, 0x10, 0x5a, 0xf8, 0x30, 0x1a,
    0xdc, 0xd9, 0x1d, 0xd0, 0x67, 0xf6, 0x82, 0x21, 0x55, 0x30, 0x4b, 0xf3,
    0xaa, 0xd7, 0x5c, 0xeb, 0x44, 0x34, 0x1c, 0x25,
};

const uint8_t kSeedCbcCtPad[48] = {
    0xf0, 0x72, 0xc5, 0xb1, 0xa0, 0x58, 0x8c, 0x10, 0x5a, 0xf8, 0x30, 0x1a,
    0xdc, 0xd9, 0x1d, 0xd0, 0x67, 0xf6, 0x82, 0x21, 0x55, 0x30, 0x4b, 0xf3,
    0xaa, 0xd7, 0x5c, 0xeb, 0x44, 0x34, 0x1c, 0x25, 0x46, 0xd1, 0x2d, 0x53,
    0x2c, 0x0e, 0xdd, 0xdb, 0xa8, 0x24, 0x74, 0x1b, 0x5b, 0x06, 0x82, 0xfa,
};

const uint8_t kAriaEcbPt[16] = {
    0x00, 0x11, 0x22, 0x33, 0x44, 0x55, 0x66, 0x77, 0x88, 0x99, 0xaa, 0xbb,
    0xcc, 0xdd, 0xee, 0xff,
};

const uint8_t kAria128EcbKey[16] = {
    0x00, 0x01, 0x02, 0x03, 0x04, 0x05, 0x06, 0x07, 0x08, 0x09, 0x0a, 0x0b,
    0x0c, 0x0d, 0x0e, 0x0f,
};

const uint8_t kAria128EcbCt[16] = {
    0xd7, 0x18, 0xfb, 0xd6, 0xab, 0x64, 0x4c, 0x73, 0x9d, 0xa9, 0x5f, 0x3b,
    0xe6, 0x45, 0x17, 0x78,
};

const uint8_t kAria128EcbCtPad[32] = {
    0xd7, 0x18, 0xfb, 0xd6, 0xab, 0x64, 0x4c, 0x73, 0x9d, 0xa9, 0x5f, 0x3b,
    0xe6, 0x45, 0x17, 0x78, 0xf3, 0xdb, 0x02, 0xac, 0xf7, 0xd1, 0xfe, 0xb5,
    0x92, 0x79, 0xbb, 0x4e, 0x3d, 0x14, 0x13, 0x9b,
};

const uint8_t kAria192EcbKey[24] = {
    0x00, 0x01, 0x02, 0x03, 0x04, 0x05, 0x06, 0x07, 0x08, 0x09, 0x0a, 0x0b,
    0x0c, 0x0d, 0x0e, 0x0f, 0x10, 0x11, 0x12, 0x13, 0x14, 0x15, 0x16, 0x17,
};

const uint8_t kAria192EcbCt[16] = {
    0x26, 0x44, 0x9c, 0x18, 0x05, 0xdb, 0xe7, 0xaa, 0x25, 0xa4, 0x68, 0xce,
    0x26, 0x3a, 0x9e, 0x79,
};

const uint8_t kAria192EcbCtPad[32] = {
    0x26, 0x44, 0x9c, 0x18, 0x05, 0xdb, 0xe7, 0xaa, 0x25, 0xa4, 0x68, 0xce,
    0x26, 0x3a, 0x9e, 0x79, 0x9a, 0xad, 0x1d, 0x67, 0x1c, 0x88, 0x51, 0x37,
    0xae, 0x29, 0x9f, 0x80, 0x7f, 0xbb, 0x52, 0x17,
};

const uint8_t kAria256EcbKey[32] = {
    0x00, 0x01, 0x02, 0x03, 0x04, 0x05, 0x06, 0x07, 0x08, 0x09, 0x0a, 0x0b,
    0x0c, 0x0d, 0x0e, 0x0f, 0x10, 0x11, 0x12, 0x13, 0x14, 0x15, 0x16, 0x17,
    0x18, 0x19, 0x1a, 0x1b, 0x1c, 0x1d, 0x1e, 0x1f,
};

const uint8_t kAria256EcbCt[16] = {
    0xf9, 0x2b, 0xd7, 0xc7, 0x9f, 0xb7, 0x2e, 0x2f, 0x2b, 0x8f, 0x80, 0xc1,
    0x97, 0x2d, 0x24, 0xfc,
};

const uint8_t kAria256EcbCtPad[32] = {
    0xf9, 0x2b, 0xd7, 0xc7, 0x9f, 0xb7, 0x2e, 0x2f, 0x2b, 0x8f, 0x80, 0xc1,
    0x97, 0x2d, 0x24, 0xfc, 0xaf, 0x03, 0x24, 0xd7, 0x8e, 0xfa, 0xc2, 0xf6,
    0x31, 0xa8, 0x30, 0x6a, 0xc8, 0x0e, 0x99, 0xef,
};

const uint8_t kAriaCbcIv[16] = {
    0x0f, 0x1e, 0x2d, 0x3c, 0x4b, 0x5a, 0x69, 0x78, 0x87, 0x96, 0xa5, 0xb4,
    0xc3, 0xd2, 0xe1, 0xf0,
};

const uint8_t kAriaCbcPt[64] = {
    0x11, 0x11, 0x11, 0x11, 0xaa, 0xaa, 0xaa, 0xaa, 0x11, 0x11, 0x11, 0x11,
    0xbb, 0xbb, 0xbb, 0xbb, 0x11, 0x11, 0x11, 0x11, 0xcc, 0xcc, 0xcc, 0xcc,
    0x11, 0x11, 0x11, 0x11, 0xdd, 0xdd, 0xdd, 0xdd, 0x22, 0x22, 0x22, 0x22,
    0xaa, 0xaa, 0xaa, 0xaa, 0x22, 0x22, 0x22, 0x22, 0xbb, 0xbb, 0xbb, 0xbb,
    0x22, 0x22, 0x22, 0x22, 0xcc, 0xcc, 0xcc, 0xcc, 0x22, 0x22, 0x22, 0x22,
    0xdd, 0xdd, 0xdd, 0xdd,
};

const uint8_t kAria128CbcKey[16] = {
    0x00, 0x11, 0x22, 0x33, 0x44, 0x55, 0x66, 0x77, 0x88, 0x99, 0xaa, 0xbb,
    0xcc, 0xdd, 0xee, 0xff,
};

const uint8_t kAria128CbcCt[64] = {
    0x49, 0xd6, 0x18, 0x60, 0xb1, 0x49, 0x09, 0x10, 0x9c, 0xef, 0x0d, 0x22,
    0xa9, 0x26, 0x81, 0x34, 0xfa, 0xdf, 0x9f, 0xb2, 0x31, 0x51, 0xe9, 0x64,
    0x5f, 0xba, 0x75, 0x01, 0x8b, 0xdb, 0x15, 0x38, 0xb5, 0x33, 0x34, 0x63,
    0x4b, 0xbf, 0x7d, 0x4c, 0xd4, 0xb5, 0x37, 0x70, 0x33, 0x06, 0x0c, 0x15,
    0x5f, 0xe3, 0x94, 0x8c, 0xa7, 0x5d, 0xe1, 0x03, 0x1e, 0x1d, 0x85, 0x61,
    0x9e, 0x0a, 0xd6, 0x1e,
};

const uint8_t kAria128CbcCtPad[64] = {
    0x49, 0xd6, 0x18, 0x60, 0xb1, 0x49, 0x09, 0x10, 0x9c, 0xef, 0x0d, 0x22,
    0xa9, 0x26, 0x81, 0x34, 0xfa, 0xdf, 0x9f, 0xb2, 0x31, 0x51, 0xe9, 0x64,
    0x5f, 0xba, 0x75, 0x01, 0x8b, 0xdb, 0x15, 0x38, 0xb5, 0x33, 0x34, 0x63,
    0x4b, 0xbf, 0x7d, 0x4c, 0xd4, 0xb5, 0x37, 0x70, 0x33, 0x06, 0x0c, 0x15,
    0x46, 0xf2, 0xff, 0x29, 0xda, 0x9d, 0x40, 0x04, 0x91, 0x0f, 0x2e, 0xa5,
    0x8a, 0xca, 0xe5, 0x58,
};

const uint8_t kAria192CbcKey[24] = {
    0x00, 0x11, 0x22, 0x33, 0x44, 0x55, 0x66, 0x77, 0x88, 0x99, 0xaa, 0xbb,
    0xcc, 0xdd, 0xee, 0xff, 0x00, 0x11, 0x22, 0x33, 0x44, 0x55, 0x66, 0x77,
};

const uint8_t kAria192CbcCt[64] = {
    0xaf, 0xe6, 0xcf, 0x23, 0x97, 0x4b, 0x53, 0x3c, 0x67, 0x2a, 0x82, 0x62,
    0x64, 0xea, 0x78, 0x5f, 0x4e, 0x4f, 0x7f, 0x78, 0x0d, 0xc7, 0xf3, 0xf1,
    0xe0, 0x96, 0x2b, 0x80, 0x90, 0x23, 0x86, 0xd5, 0x14, 0xe9, 0xc3, 0xe7,
    0x72, 0x59, 0xde, 0x92, 0xdd, 0x11, 0x02, 0xff, 0xab, 0x08, 0x6c, 0x1e,
    0xa5, 0x2a, 0x71, 0x26, 0x0d, 0xb5, 0x92, 0x0a, 0x83, 0x29, 0x5c, 0x25,
    0x32, 0x0e, 0x42, 0x11,
};

const uint8_t kAria192CbcCtPad[64] = {
    0xaf, 0xe6, 0xcf, 0x23, 0x97, 0x4b, 0x53, 0x3c, 0x67, 0x2a, 0x82, 0x62,
    0x64, 0xea, 0x78, 0x5f, 0x4e, 0x4f, 0x7f, 0x78, 0x0d, 0xc7, 0xf3, 0xf1,
    0xe0, 0x96, 0x2b, 0x80, 0x90, 0x23, 0x86, 0xd5, 0x14, 0xe9, 0xc3, 0xe7,
    0x72, 0x59, 0xde, 0x92, 0xdd, 0x11, 0x02, 0xff, 0xab, 0x08, 0x6c, 0x1e,
    0xd9, 0xef, 0x2e, 0x1a, 0x02, 0xaa, 0x03, 0x06, 0x1b, 0x4c, 0xeb, 0xfa,
    0xdf, 0xd7, 0x43, 0x83,
};

const uint8_t kAria256CbcKey[32] = {
    0x00, 0x11, 0x22, 0x33, 0x44, 0x55, 0x66, 0x77, 0x88, 0x99, 0xaa, 0xbb,
    0xcc, 0xdd, 0xee, 0xff, 0x00, 0x11, 0x22, 0x33, 0x44, 0x55, 0x66, 0x77,
    0x88, 0x99, 0xaa, 0xbb, 0xcc, 0xdd, 0xee, 0xff,
};

const uint8_t kAria256CbcCt[64] = {
    0x52, 0x3a, 0x8a, 0x80, 0x6a, 0xe6, 0x21, 0xf1, 0x55, 0xfd, 0xd2, 0x8d,
    0xbc, 0x34, 0xe1, 0xab, 0x7b, 0x9b, 0x42, 0x43, 0x2a, 0xd8, 0xb2, 0xef,
    0xb9, 0x6e, 0x23, 0xb1, 0x3f, 0x0a, 0x6e, 0x52, 0xf3, 0x61, 0x85, 0xd5,
    0x0a, 0xd0, 0x02, 0xc5, 0xf6, 0x01, 0xbe, 0xe5, 0x49, 0x3f, 0x11, 0x8b,
    0x24, 0x3e, 0xe2, 0xe3, 0x13, 0x64, 0x2b, 0xff, 0xc3, 0x90, 0x2e, 0x7b,
    0x2e, 0xfd, 0x9a, 0x12,
};

const uint8_t kAria256CbcCtPad[64] = {
    0x52, 0x3a, 0x8a, 0x80, 0x6a, 0xe6, 0x21, 0xf1, 0x55, 0xfd, 0xd2, 0x8d,
    0xbc, 0x34, 0xe1, 0xab, 0x7b, 0x9b, 0x42, 0x43, 0x2a, 0xd8, 0xb2, 0xef,
    0xb9, 0x6e, 0x23, 0xb1, 0x3f, 0x0a, 0x6e, 0x52, 0xf3, 0x61, 0x85, 0xd5,
    0x0a, 0xd0, 0x02, 0xc5, 0xf6, 0x01, 0xbe, 0xe5, 0x49, 0x3f, 0x11, 0x8b,
    0x8a, 0x14, 0xfd, 0xf6, 0xd0, 0x44, 0x32, 0x2a, 0xa9, 0x49, 0x74, 0x9f,
    0xa2, 0x27, 0xaa, 0x8e,
};

}  // namespace

// ---- tables --------------------------------------------------------------

// Each entry's bytes after its MAC are the next entry's key: the SHA-1 and
// SHA-512 runs compare their longer outputs against those bytes as well.
const HmacVector kHmacVectors[kHmacVectorCount] = {
    {{0},
     0,
     {'M', 'o', 'r', 'e', ' ', 't', 'e', 'x', 't', ' ', 't', 'e', 's', 't', ' ', 'v', 'e', 'c',
      't', 'o', 'r', 's', ' ', 't', 'o', ' ', 's', 't', 'u', 'f', 'f', ' ', 'u', 'p', ' ', 'E',
      'B', 'C', 'D', 'I', 'C', ' ', 'm', 'a', 'c', 'h', 'i', 'n', 'e', 's', ' ', ':', '-', ')'},
     54,
     {0xe9, 0x13, 0x9d, 0x1e, 0x6e, 0xe0, 0x64, 0xef, 0x8c, 0xf5, 0x14, 0xfc, 0x7d, 0xc8, 0x3e, 0x86}},
    {{0x0b, 0x0b, 0x0b, 0x0b, 0x0b, 0x0b, 0x0b, 0x0b, 0x0b, 0x0b, 0x0b, 0x0b, 0x0b, 0x0b, 0x0b, 0x0b},
     16,
     {'H', 'i', ' ', 'T', 'h', 'e', 'r', 'e'},
     8,
     {0x92, 0x94, 0x72, 0x7a, 0x36, 0x38, 0xbb, 0x1c, 0x13, 0xf4, 0x8e, 0xf8, 0x15, 0x8b, 0xfc, 0x9d}},
};

const uint32_t kHmacDigests[kHmacRunCount] = {KRY_MD_MD5, KRY_MD_SHA1, KRY_MD_SHA512};
const uint32_t kHmacOutLengths[kHmacRunCount] = {16, 20, 64};

const DigestVector kDigestVectors[] = {
    {KRY_MD_MD5, kMsgAbc, sizeof kMsgAbc, kMd5Abc, sizeof kMd5Abc},
    {KRY_MD_SHA1, kMsgAbc, sizeof kMsgAbc, kSha1Abc, sizeof kSha1Abc},
    {KRY_MD_SHA224, kMsgAbc, sizeof kMsgAbc, kSha224Abc, sizeof kSha224Abc},
    {KRY_MD_SHA256, kMsgAbc, sizeof kMsgAbc, kSha256Abc, sizeof kSha256Abc},
    {KRY_MD_SHA384, kMsgAbc, sizeof kMsgAbc, kSha384Abc, sizeof kSha384Abc},
    {KRY_MD_SHA512, kMsgAbc, sizeof kMsgAbc, kSha512Abc, sizeof kSha512Abc},
    {KRY_MD_HAS160, kMsgAbc, sizeof kMsgAbc, kHas160Abc, sizeof kHas160Abc},
};
const size_t kDigestVectorCount = sizeof kDigestVectors / sizeof kDigestVectors[0];

#define KRY_ST_VEC(cipher, mode, key, iv, pt, ptlen, ct) \
    {cipher, mode, key, sizeof key, iv, pt, ptlen, ct, sizeof ct}

const CipherVector kCipherVectors[] = {
    // DES-EDE, three keys
    KRY_ST_VEC(KRY_CIPHER_DES_EDE, 0x11, kTdesEcbKey, nullptr, kTdesEcbPt, 24, kTdesEcbCt),
    KRY_ST_VEC(KRY_CIPHER_DES_EDE, 0x01, kTdesEcbKey, nullptr, kTdesEcbPt, 24, kTdesEcbCtPad),
    KRY_ST_VEC(KRY_CIPHER_DES_EDE, 0x12, kTdesCbcKey, kTdesCbcIv, kTdesCbcPt, 24, kTdesCbcCt),
    KRY_ST_VEC(KRY_CIPHER_DES_EDE, 0x02, kTdesCbcKey, kTdesCbcIv, kTdesCbcPt, 24, kTdesCbcCtPad),
    // SEED
    KRY_ST_VEC(KRY_CIPHER_SEED, 0x11, kSeedEcbKey, nullptr, kSeedEcbPt, 16, kSeedEcbCt),
    KRY_ST_VEC(KRY_CIPHER_SEED, 0x01, kSeedEcbKey, nullptr, kSeedEcbPt, 16, kSeedEcbCtPad),
    KRY_ST_VEC(KRY_CIPHER_SEED, 0x12, kSeedCbcKey, kSeedCbcIv, kSeedCbcPt, 32, kSeedCbcCt),
    KRY_ST_VEC(KRY_CIPHER_SEED, 0x02, kSeedCbcKey, kSeedCbcIv, kSeedCbcPt, 32, kSeedCbcCtPad),
    // ARIA-128
    KRY_ST_VEC(KRY_CIPHER_ARIA128, 0x11, kAria128EcbKey, nullptr, kAriaEcbPt, 16, kAria128EcbCt),
    KRY_ST_VEC(KRY_CIPHER_ARIA128, 0x01, kAria128EcbKey, nullptr, kAriaEcbPt, 16, kAria128EcbCtPad),
    KRY_ST_VEC(KRY_CIPHER_ARIA128, 0x12, kAria128CbcKey, kAriaCbcIv, kAriaCbcPt, 64, kAria128CbcCt),
    KRY_ST_VEC(KRY_CIPHER_ARIA128, 0x02, kAria128CbcKey, kAriaCbcIv, kAriaCbcPt, 48, kAria128CbcCtPad),
    // ARIA-192
    KRY_ST_VEC(KRY_CIPHER_ARIA192, 0x11, kAria192EcbKey, nullptr, kAriaEcbPt, 16, kAria192EcbCt),
    KRY_ST_VEC(KRY_CIPHER_ARIA192, 0x01, kAria192EcbKey, nullptr, kAriaEcbPt, 16, kAria192EcbCtPad),
    KRY_ST_VEC(KRY_CIPHER_ARIA192, 0x12, kAria192CbcKey, kAriaCbcIv, kAriaCbcPt, 64, kAria192CbcCt),
    KRY_ST_VEC(KRY_CIPHER_ARIA192, 0x02, kAria192CbcKey, kAriaCbcIv, kAriaCbcPt, 48, kAria192CbcCtPad),
    // ARIA-256
    KRY_ST_VEC(KRY_CIPHER_ARIA256, 0x11, kAria256EcbKey, nullptr, kAriaEcbPt, 16, kAria256EcbCt),
    KRY_ST_VEC(KRY_CIPHER_ARIA256, 0x01, kAria256EcbKey, nullptr, kAriaEcbPt, 16, kAria256EcbCtPad),
    KRY_ST_VEC(KRY_CIPHER_ARIA256, 0x12, kAria256CbcKey, kAriaCbcIv, kAriaCbcPt, 64, kAria256CbcCt),
    KRY_ST_VEC(KRY_CIPHER_ARIA256, 0x02, kAria256CbcKey, kAriaCbcIv, kAriaCbcPt, 48, kAria256CbcCtPad),
};
#undef KRY_ST_VEC
const size_t kCipherVectorCount = sizeof kCipherVectors / sizeof kCipherVectors[0];
const char kCipherKeyAlias[] = "stcipher";

namespace {
const uint32_t kDsaParameterIds[] = {0x03000100u, 0x04000100u, 0x05000100u};
}  // namespace

const KeyPairPlan kKeyPairPlan = {
    "rsa", 1024, 1,
    "dsa", kDsaParameterIds, sizeof kDsaParameterIds / sizeof kDsaParameterIds[0], 1024,
    "kcdsa", 1024, 160,
    "kry!",
};

const uint8_t kMessage[14] = {'H', 'e', 'l', 'l', 'o', ' ', 'W', 'o', 'r', 'l', 'd', '!', '!', '!'};
const uint32_t kRsaEncoding = KRY_RSAENC_OAEP_V21;

const SignVerifyVector kSignVerifyVectors[] = {
    {KRY_SIGN_SHA1, "rsa"},
    {KRY_SIGN_SHA1, "dsa"},
    {KRY_SIGN_SHA1, "kcdsa"},
};
const size_t kSignVerifyVectorCount = sizeof kSignVerifyVectors / sizeof kSignVerifyVectors[0];

// ---- progress lines ------------------------------------------------------

void progress(const void *verbose, const char *line) {
    if (verbose != nullptr)
        std::printf("%s", line);
}

namespace {

// "<name> CHECK 0\n" at the start of a check, "<name> CHECK 1\n" when it passed.
void check_line(const Session &s, const char *name, int passed) {
    if (s.verbose != nullptr)
        std::printf("%s CHECK %d\n", name, passed);
}

bool same(const uint8_t *a, const uint8_t *b, size_t n) { return std::memcmp(a, b, n) == 0; }

}  // namespace

// ---- steps ---------------------------------------------------------------

uint32_t step_flags(Session &s) {
    check_line(s, "FLAGS", 0);
    if (api::initialized() == 0) {
        api::set_selftest_lock(0);
        return KRY_R_NOT_INITIALIZED;
    }
    api::set_selftest_lock(1);
    check_line(s, "FLAGS", 1);
    return KRY_R_OK;
}

uint32_t step_context(Session &s) {
    check_line(s, "CONTEXT", 0);
    uint32_t r = api::context_new(&s.ctx, 1);
    if (r == KRY_R_OK)
        r = KRY_HMAC_new(s.ctx, &s.hmac);
    if (r == KRY_R_OK)
        r = KRY_MD_new(s.ctx, &s.md);
    if (r == KRY_R_OK)
        r = KRY_CIPHER_new(s.ctx, &s.cipher);
    if (r == KRY_R_OK)
        r = KRY_SIGNVERIFY_new(s.ctx, &s.sv);
    if (r != KRY_R_OK)
        return r;
    check_line(s, "CONTEXT", 1);
    return KRY_R_OK;
}

uint32_t step_version(Session &s, const char *expected) {
    check_line(s, "VERSION", 0);
    uint8_t version[256] = {0};
    uint32_t length = 0;
    const uint32_t r = KRY_GetVersion(s.ctx, version, sizeof version, &length);
    if (r != KRY_R_OK)
        return r;
    if (expected == nullptr || length != 9 || std::strlen(expected) != 9 ||
        !same(version, reinterpret_cast<const uint8_t *>(expected), 10))
        return KRY_R_SELFTEST_KAT;
    check_line(s, "VERSION", 1);
    return KRY_R_OK;
}

uint32_t step_prng(Session &s) {
    check_line(s, "PRNG", 0);
    uint8_t random[20];
    const uint32_t r = KRY_RandomBytes(s.ctx, random, sizeof random);
    wipe(random, sizeof random);
    if (r != KRY_R_OK)
        return r;
    check_line(s, "PRNG", 1);
    return KRY_R_OK;
}

void hmac_expected_window(const HmacVector *table, size_t count, size_t index, uint8_t window[64]) {
    std::memset(window, 0, 64);
    if (table == nullptr || index >= count)
        return;
    // The table viewed as bytes; the window starts at the entry's MAC and
    // stops at the end of the table.
    const auto *bytes = reinterpret_cast<const uint8_t *>(table);
    const size_t table_size = count * sizeof(HmacVector);
    const size_t start = index * sizeof(HmacVector) + offsetof(HmacVector, mac);
    const size_t available = table_size - start;
    std::memcpy(window, bytes + start, available < 64 ? available : 64);
}

uint32_t step_hmac(Session &s, const HmacVector *table, size_t count) {
    check_line(s, "HMAC", 0);
    if (table == nullptr)
        return KRY_R_SELFTEST_KAT;
    for (size_t i = 0; i < count; ++i) {
        const HmacVector &v = table[i];
        if (v.key_length > sizeof v.key || v.message_length > sizeof v.message)
            return KRY_R_SELFTEST_KAT;
        uint8_t expected[64];
        hmac_expected_window(table, count, i, expected);
        for (size_t run = 0; run < kHmacRunCount; ++run) {
            // Room for the longest MAC, though the final is told 20 bytes.
            uint8_t mac[64] = {0};
            uint32_t length = 0;
            uint32_t r = KRY_HMACInit(s.ctx, s.hmac, v.key, v.key_length, kHmacDigests[run]);
            if (r == KRY_R_OK)
                r = KRY_HMACUpdate(s.ctx, s.hmac, v.message, v.message_length);
            if (r == KRY_R_OK)
                r = KRY_HMACFinal(s.ctx, s.hmac, mac, kHmacDeclaredSize, &length);
            if (r == KRY_R_OK && (length != kHmacOutLengths[run] || !same(mac, expected, length)))
                r = KRY_R_SELFTEST_KAT;
            wipe(mac, sizeof mac);
            if (r != KRY_R_OK)
                return r;
        }
    }
    check_line(s, "HMAC", 1);
    return KRY_R_OK;
}

uint32_t step_md(Session &s, const DigestVector *table, size_t count) {
    check_line(s, "MD", 0);
    if (table == nullptr)
        return KRY_R_SELFTEST_KAT;
    for (size_t i = 0; i < count; ++i) {
        const DigestVector &v = table[i];
        uint8_t digest[64] = {0};
        uint32_t length = 0;
        uint32_t r = KRY_DigestInit(s.ctx, s.md, v.digest);
        if (r == KRY_R_OK)
            r = KRY_DigestUpdate(s.ctx, s.md, v.message, v.message_length);
        if (r == KRY_R_OK)
            r = KRY_DigestFinal(s.ctx, s.md, digest, sizeof digest, &length);
        if (r == KRY_R_OK &&
            (length != v.expected_length || length > sizeof digest || !same(digest, v.expected, length)))
            r = KRY_R_SELFTEST_KAT;
        if (r != KRY_R_OK)
            return r;
    }
    check_line(s, "MD", 1);
    return KRY_R_OK;
}

uint32_t step_symkey(Session &s) {
    check_line(s, "SYMKEY", 0);
    uint32_t r = KRY_SymKeyCreate(s.ctx, "skey32", 32);
    if (r == KRY_R_OK)
        r = KRY_SymKeyCreate(s.ctx, "skey16", 16);
    if (r == KRY_R_OK)
        r = KRY_SymKeyCreate(s.ctx, "skey24", 24);
    if (r != KRY_R_OK)
        return r;

    uint8_t key[16] = {0};
    uint32_t key_length = 0;
    r = KRY_SymKeyExport(s.ctx, "skey16", key, sizeof key, &key_length);
    if (r == KRY_R_OK)
        r = KRY_SymKeyDestroy(s.ctx, "skey16");
    if (r == KRY_R_OK)
        r = KRY_SymKeyImport(s.ctx, "skey16", key, key_length);
    wipe(key, sizeof key);
    if (r != KRY_R_OK)
        return r;

    uint32_t count = 0;
    r = KRY_NumSymKey(s.ctx, &count);
    if (r != KRY_R_OK)
        return r;

    // Equal lengths: the store keeps the aliases in bytewise order.
    static const char *const kOrder[3] = {"skey16", "skey24", "skey32"};
    for (int32_t i = 0; i < 3; ++i) {
        // An alias getter may write two bytes past the size it is given.
        char alias[16 + 2] = {0};
        uint32_t length = 0;
        r = KRY_GetSymKeyAlias(s.ctx, i, alias, 16, &length);
        if (r != KRY_R_OK)
            return r;
        if (std::memcmp(alias, kOrder[i], 7) != 0)
            return KRY_R_SELFTEST_KAT;
    }
    check_line(s, "SYMKEY", 1);
    return KRY_R_OK;
}

namespace {

// One direction of a cipher vector: init, one update into the buffer, final
// into the rest of it.  out must hold kCipherBufferSize + 32 bytes: update
// and final write before they compare with the size they were given.
uint32_t cipher_pass(Session &s, bool encrypt, const CipherVector &v, const uint8_t *in, uint32_t in_length,
                     uint8_t *out, uint32_t *out_length) {
    uint32_t length = 0, tail = 0;
    uint32_t r = encrypt ? KRY_EncryptInit(s.ctx, s.cipher, v.cipher, v.mode, kCipherKeyAlias, v.iv)
                         : KRY_DecryptInit(s.ctx, s.cipher, v.cipher, v.mode, kCipherKeyAlias, v.iv);
    if (r != KRY_R_OK)
        return r;
    r = encrypt ? KRY_EncryptUpdate(s.ctx, s.cipher, out, kCipherBufferSize, &length, in, in_length)
                : KRY_DecryptUpdate(s.ctx, s.cipher, out, kCipherBufferSize, &length, in, in_length);
    if (r != KRY_R_OK)
        return r;
    if (length > kCipherBufferSize)
        return encrypt ? KRY_R_ENCRYPT_UPDATE : KRY_R_DECRYPT_UPDATE;
    r = encrypt ? KRY_EncryptFinal(s.ctx, s.cipher, out + length, kCipherBufferSize - length, &tail)
                : KRY_DecryptFinal(s.ctx, s.cipher, out + length, kCipherBufferSize - length, &tail);
    if (r != KRY_R_OK)
        return r;
    *out_length = length + tail;
    return KRY_R_OK;
}

uint32_t cipher_vector(Session &s, const CipherVector &v) {
    if (v.key == nullptr || v.plaintext == nullptr || v.ciphertext == nullptr ||
        v.plaintext_length > kCipherBufferSize || v.ciphertext_length > kCipherBufferSize)
        return KRY_R_SELFTEST_KAT;
    uint32_t r = KRY_SymKeyImport(s.ctx, kCipherKeyAlias, v.key, v.key_length);
    if (r != KRY_R_OK)
        return r;

    uint8_t out[kCipherBufferSize + 32] = {0};
    uint32_t length = 0;
    r = cipher_pass(s, true, v, v.plaintext, v.plaintext_length, out, &length);
    if (r == KRY_R_OK && (length != v.ciphertext_length || !same(out, v.ciphertext, length)))
        r = KRY_R_SELFTEST_KAT;
    if (r == KRY_R_OK) {
        std::memset(out, 0, sizeof out);
        r = cipher_pass(s, false, v, v.ciphertext, v.ciphertext_length, out, &length);
        if (r == KRY_R_OK && (length != v.plaintext_length || !same(out, v.plaintext, length)))
            r = KRY_R_SELFTEST_KAT;
    }
    wipe(out, sizeof out);

    const uint32_t d = KRY_SymKeyDestroy(s.ctx, kCipherKeyAlias);
    return r != KRY_R_OK ? r : d;
}

}  // namespace

uint32_t step_cipher(Session &s, const CipherVector *table, size_t count) {
    check_line(s, "CIPHER", 0);
    if (table == nullptr)
        return KRY_R_SELFTEST_KAT;
    for (size_t i = 0; i < count; ++i) {
        const uint32_t r = cipher_vector(s, table[i]);
        if (r != KRY_R_OK)
            return r;
    }
    check_line(s, "CIPHER", 1);
    return KRY_R_OK;
}

uint32_t step_prikey(Session &s, const KeyPairPlan &plan) {
    check_line(s, "PRIKEY", 0);

    progress(s.verbose, "RSA GEN 0\n");
    uint32_t r = KRY_RSACreate(s.ctx, plan.rsa_alias, plan.rsa_bits, plan.rsa_option);
    if (r != KRY_R_OK)
        return r;
    progress(s.verbose, "RSA GEN 1\n");

    for (size_t i = 0; i < plan.dsa_count; ++i) {
        progress(s.verbose, "DSA GEN 0\n");
        r = KRY_DSACreate(s.ctx, plan.dsa_ids[i], plan.dsa_alias, plan.dsa_option);
        if (r != KRY_R_OK)
            return r;
        progress(s.verbose, "DSA GEN 1\n");
    }

    progress(s.verbose, "KCDSA GEN 0\n");
    r = KRY_KCDSACreate(s.ctx, plan.kcdsa_alias, plan.kcdsa_p_bits, plan.kcdsa_q_bits);
    if (r != KRY_R_OK)
        return r;
    progress(s.verbose, "KCDSA GEN 1\n");

    // The RSA key pair leaves the context enciphered under the password and
    // comes back in.
    uint8_t encoded[1024] = {0};
    uint32_t length = sizeof encoded;
    r = KRY_KeyPairExport(s.ctx, plan.rsa_alias, encoded, sizeof encoded, &length, plan.password);
    if (r == KRY_R_OK)
        r = KRY_KeyPairDestory(s.ctx, plan.rsa_alias);
    if (r == KRY_R_OK)
        r = KRY_KeyPairImport(s.ctx, plan.rsa_alias, KRY_KEYPAIR_RSA, encoded, length, plan.password);
    wipe(encoded, sizeof encoded);
    if (r != KRY_R_OK)
        return r;

    uint32_t count = 0;
    r = KRY_NumKeyPair(s.ctx, &count);
    if (r != KRY_R_OK)
        return r;
    check_line(s, "PRIKEY", 1);
    return KRY_R_OK;
}

uint32_t step_rsaenc(Session &s, const char *alias, uint32_t encoding, const uint8_t *message,
                     uint32_t length) {
    check_line(s, "RSAENC", 0);
    // Large enough for a 4096-bit modulus: the calls do not check the size.
    uint8_t cipher[512] = {0};
    uint8_t plain[512] = {0};
    uint32_t cipher_length = 0, plain_length = 0;
    uint32_t r = KRY_RSA_pub_encrypt(s.ctx, message, length, cipher, sizeof cipher, &cipher_length, alias,
                                     encoding);
    if (r == KRY_R_OK && cipher_length > sizeof cipher)
        r = KRY_R_RSA_ENCRYPT;
    if (r == KRY_R_OK)
        r = KRY_RSA_pri_decrypt(s.ctx, cipher, cipher_length, plain, sizeof plain, &plain_length, alias,
                                encoding);
    if (r == KRY_R_OK && (message == nullptr || plain_length != length || length > sizeof plain ||
                          !same(plain, message, length)))
        r = KRY_R_SELFTEST_KAT;
    wipe(plain, sizeof plain);
    if (r != KRY_R_OK)
        return r;
    check_line(s, "RSAENC", 1);
    return KRY_R_OK;
}

uint32_t step_signverify(Session &s, const SignVerifyVector *table, size_t count) {
    check_line(s, "SIGNVERIFY", 0);
    if (table == nullptr)
        return KRY_R_SELFTEST_KAT;
    for (size_t i = 0; i < count; ++i) {
        const SignVerifyVector &v = table[i];
        uint8_t signature[512] = {0};
        uint32_t length = 0;
        uint32_t r = KRY_SignInit(s.ctx, s.sv, v.digest, v.alias);
        if (r == KRY_R_OK)
            r = KRY_SignUpdate(s.ctx, s.sv, kMessage, sizeof kMessage);
        if (r == KRY_R_OK)
            r = KRY_SignFinal(s.ctx, s.sv, signature, sizeof signature, &length);
        if (r == KRY_R_OK && length > sizeof signature)
            r = KRY_R_SIGN;
        if (r == KRY_R_OK)
            r = KRY_VerifyInit(s.ctx, s.sv, v.digest, v.alias);
        if (r == KRY_R_OK)
            r = KRY_VerifyUpdate(s.ctx, s.sv, kMessage, sizeof kMessage);
        if (r == KRY_R_OK)
            r = KRY_VerifyFinal(s.ctx, s.sv, signature, length);
        if (r != KRY_R_OK)
            return r;
    }
    check_line(s, "SIGNVERIFY", 1);
    return KRY_R_OK;
}

void release(Session &s) {
    if (s.sv != nullptr) {
        KRY_SIGNVERIFY_free(s.ctx, s.sv);
        // KRY_SIGNVERIFY_free keeps the record for its callers; this one is
        // the self-test's own and nobody else holds it.
        api::api_free(s.sv, sizeof *s.sv);
        s.sv = nullptr;
    }
    if (s.cipher != nullptr) {
        KRY_CIPHER_free(s.ctx, s.cipher);
        s.cipher = nullptr;
    }
    if (s.md != nullptr) {
        KRY_MD_free(s.ctx, s.md);
        s.md = nullptr;
    }
    if (s.hmac != nullptr) {
        KRY_HMAC_free(s.ctx, s.hmac);
        s.hmac = nullptr;
    }
    if (s.ctx != nullptr) {
        KRY_Context_free(s.ctx);
        s.ctx = nullptr;
    }
}

namespace {

uint32_t run_checks(Session &s) {
    uint32_t r;
    if ((r = step_context(s)) != KRY_R_OK)
        return r;
    if ((r = step_version(s, "KRY 5.0.0")) != KRY_R_OK)
        return r;
    if ((r = step_prng(s)) != KRY_R_OK)
        return r;
    if ((r = step_hmac(s, kHmacVectors, kHmacVectorCount)) != KRY_R_OK)
        return r;
    if ((r = step_md(s, kDigestVectors, kDigestVectorCount)) != KRY_R_OK)
        return r;
    if ((r = step_symkey(s)) != KRY_R_OK)
        return r;
    if ((r = step_cipher(s, kCipherVectors, kCipherVectorCount)) != KRY_R_OK)
        return r;
    if ((r = step_prikey(s, kKeyPairPlan)) != KRY_R_OK)
        return r;
    if ((r = step_rsaenc(s, kKeyPairPlan.rsa_alias, kRsaEncoding, kMessage, sizeof kMessage)) != KRY_R_OK)
        return r;
    return step_signverify(s, kSignVerifyVectors, kSignVerifyVectorCount);
}

}  // namespace

}  // namespace kry::selftest

extern "C" KRY_API uint32_t KRY_SelfTests(const void *verbose) {
    using namespace kry::selftest;
    Session s{};
    s.verbose = verbose;
    uint32_t r = step_flags(s);
    if (r == KRY_R_OK) {
        r = run_checks(s);
        release(s);
    }
    kry::api::set_selftest_lock(0);
    return r;
}
