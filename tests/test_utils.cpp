// Allocation wrappers and hexadecimal printing.

#include <kry/error.h>

#include <gtest/gtest.h>

#include "test_support.h"

#include <cstdint>
#include <cstring>
#include <string>

namespace {

using kry_test::capture_stdout;

const uint8_t kTwo[] = {0x01, 0xAB};
const uint8_t kOne[] = {0xFF};
const uint8_t kFour[] = {0x00, 0x0F, 0xF0, 0x7a};

template <class Fn> std::string out(Fn fn, const uint8_t *p, int32_t n) {
    return capture_stdout([&] { fn(p, n); });
}

}  // namespace

TEST(PrintHex, Bytes) {
    EXPECT_EQ(out(print_hex, kTwo, 2), "01:AB\n");
    EXPECT_EQ(out(print_hex, kOne, 1), "FF\n");
    EXPECT_EQ(out(print_hex, kFour, 4), "00:0F:F0:7A\n");
    EXPECT_EQ(out(print_hex, kFour, 3), "00:0F:F0\n");
}

TEST(PrintHex, NothingForNullOrShortLength) {
    EXPECT_EQ(out(print_hex, nullptr, 2), "");
    EXPECT_EQ(out(print_hex, nullptr, 0), "");
    EXPECT_EQ(out(print_hex, kTwo, 0), "");
    EXPECT_EQ(out(print_hex, kTwo, -1), "");
    EXPECT_EQ(out(print_hex, kTwo, INT32_MIN), "");
}

TEST(PrintHexNl, Bytes) {
    EXPECT_EQ(out(print_hex_nl, kTwo, 2), "01:AB\n");
    EXPECT_EQ(out(print_hex_nl, kOne, 1), "FF\n");
    EXPECT_EQ(out(print_hex_nl, kFour, 4), "00:0F:F0:7A\n");
}

TEST(PrintHexNl, EmptyBufferEndsTheLine) {
    EXPECT_EQ(out(print_hex_nl, kTwo, 0), "\n");
    EXPECT_EQ(out(print_hex_nl, nullptr, 0), "");  // the null check comes first
    EXPECT_EQ(out(print_hex_nl, nullptr, 2), "");
    EXPECT_EQ(out(print_hex_nl, kTwo, -1), "");
    EXPECT_EQ(out(print_hex_nl, kTwo, INT32_MIN), "");
}

TEST(PrintHexNoNl, Bytes) {
    EXPECT_EQ(out(print_hex_no_nl, kTwo, 2), "01:AB");
    EXPECT_EQ(out(print_hex_no_nl, kOne, 1), "FF");
    EXPECT_EQ(out(print_hex_no_nl, kFour, 4), "00:0F:F0:7A");
    EXPECT_EQ(out(print_hex_no_nl, nullptr, 2), "");
    EXPECT_EQ(out(print_hex_no_nl, kTwo, 0), "");
    EXPECT_EQ(out(print_hex_no_nl, kTwo, -3), "");
}

TEST(DumpHex, TwoBytesInSixByteBuffer) {
    char *text = dump_hex(kTwo, 2);
    ASSERT_NE(text, nullptr);
    const char expected[6] = {'0', '1', ':', 'A', 'B', '\0'};
    EXPECT_EQ(std::memcmp(text, expected, 6), 0);
    EXPECT_STREQ(text, "01:AB");
    lum_free(text, __FILE__, __LINE__);
}

TEST(DumpHex, OneAndManyBytes) {
    char *one = dump_hex(kOne, 1);
    ASSERT_NE(one, nullptr);
    EXPECT_EQ(std::memcmp(one, "FF\0", 3), 0);
    lum_free(one, __FILE__, __LINE__);

    uint8_t all[256];
    std::string expected;
    for (int i = 0; i < 256; i++) {
        all[i] = static_cast<uint8_t>(i);
        char digits[3];
        std::snprintf(digits, sizeof digits, "%02X", i);
        if (i) expected += ':';
        expected += digits;
    }
    char *text = dump_hex(all, 256);
    ASSERT_NE(text, nullptr);
    EXPECT_EQ(std::string(text), expected);
    EXPECT_EQ(expected.size(), 3u * 256 - 1);
    lum_free(text, __FILE__, __LINE__);
}

TEST(DumpHex, NullAndEmpty) {
    EXPECT_EQ(dump_hex(nullptr, 2), nullptr);
    EXPECT_EQ(dump_hex(nullptr, 0), nullptr);
    for (int32_t n : {0, -1, INT32_MIN}) {
        char *text = dump_hex(kTwo, n);
        ASSERT_NE(text, nullptr) << n;
        EXPECT_EQ(text[0], '\0');
        lum_free(text, __FILE__, __LINE__);
    }
}

TEST(Allocation, Wrappers) {
    auto *p = static_cast<uint8_t *>(lum_malloc(16, ".\\src\\utils", 1));
    ASSERT_NE(p, nullptr);
    std::memset(p, 0xA5, 16);
    p = static_cast<uint8_t *>(lum_realloc(p, 64, ".\\src\\utils", 2));
    ASSERT_NE(p, nullptr);
    for (int i = 0; i < 16; i++) EXPECT_EQ(p[i], 0xA5);
    lum_free(p, ".\\src\\utils", 3);

    auto *z = static_cast<uint8_t *>(lum_calloc(8, 4, ".\\src\\utils", 4));
    ASSERT_NE(z, nullptr);
    for (int i = 0; i < 32; i++) EXPECT_EQ(z[i], 0);
    lum_Free(z, 32);

    lum_free(nullptr, ".\\src\\utils", 6);
    void *fresh = lum_realloc(nullptr, 8, ".\\src\\utils", 7);
    ASSERT_NE(fresh, nullptr);
    lum_Free(fresh, 8);
}

TEST(Allocation, FreeWithWipeOnNull) {
    lum_Free(nullptr, 0);
    lum_Free(nullptr, 16);  // nothing to zero
    SUCCEED();
}
