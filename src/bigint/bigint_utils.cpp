// BIGINT conversions: big-endian byte strings, hexadecimal and decimal text,
// and the printing helpers.
//
// As in bigint.cpp, a record whose length and size do not describe a usable
// array is treated like a null argument.

#include <kry/bigint.h>
#include <kry/error.h>

#include "bigint/bigint_internal.h"
#include "foundation/common.h"

#include <cstdint>
#include <cstdio>
#include <cstring>

namespace {

constexpr char kFile[] = ".\\src\\bigint_utils";
constexpr char kDigits[] = "0123456789ABCDEF";
constexpr uint32_t kDecimalChunk = 1000000000u;  // 10^9: nine digits per chunk

bool usable(const BIGINT *b) {
    return b != nullptr && b->length >= 0 && b->length <= b->size &&
           (b->data != nullptr || b->size == 0);
}

// Byte k of the magnitude, counted from the least significant byte; bytes
// above the used words read as zero.
inline uint8_t byte_at(const BIGINT *b, int32_t k) {
    const int32_t word = k / 4;
    if (word >= b->length)
        return 0;
    return static_cast<uint8_t>(b->data[word] >> (8 * (k % 4)));
}

// Writes the n low bytes of b big-endian.
void export_bytes(const BIGINT *b, uint8_t *out, int32_t n) {
    for (int32_t k = n - 1, i = 0; k >= 0; k--, i++)
        out[i] = byte_at(b, k);
}

int hex_value(char c) {
    if (c >= '0' && c <= '9')
        return c - '0';
    if (c >= 'a' && c <= 'f')
        return c - 'a' + 10;
    if (c >= 'A' && c <= 'F')
        return c - 'A' + 10;
    return -1;
}

char *new_text(size_t bytes) {
    if (bytes == 0 || bytes > UINT32_MAX)
        return nullptr;
    return static_cast<char *>(lum_malloc(static_cast<uint32_t>(bytes), kFile, __LINE__));
}

}  // namespace

extern "C" {

KRY_API BIGINT *binary_to_BIGINT(const uint8_t *bytes, int32_t len, BIGINT *b) {
    if (bytes == nullptr || len < 0)
        return nullptr;
    if (b != nullptr && !usable(b))
        return nullptr;
    BIGINT *made = nullptr;
    if (b == nullptr) {
        made = b = new_BIGINT();
        if (b == nullptr)
            return nullptr;
    }
    if (len == 0) {
        if (kry::expand_BIGINT(b, 0) == nullptr) {
            free_BIGINT(made);
            return nullptr;
        }
        b->length = 0;
        return b;
    }
    const int32_t words = (len - 1) / 4 + 1;
    if (kry::expand_BIGINT(b, words) == nullptr) {
        free_BIGINT(made);
        return nullptr;
    }
    uint32_t *d = b->data;
    // Whole words from the end of the string, then the short top word.
    int32_t pos = len;
    int32_t i = 0;
    for (; pos >= 4; i++, pos -= 4)
        d[i] = kry::load32_be(bytes + pos - 4);
    if (pos > 0) {
        uint32_t w = 0;
        for (int32_t j = 0; j < pos; j++)
            w = (w << 8) | bytes[j];
        d[i] = w;
    }
    b->length = words;
    kry::normalize_BIGINT(b);
    return b;
}

// (bits + 8) / 8 bytes: one more than the magnitude needs when its top bit
// fills a byte, so the string reads as a positive two's-complement number.
KRY_API int32_t BIGINT_to_binary(const BIGINT *b, uint8_t *out) {
    if (!usable(b) || out == nullptr)
        return 0;
    const int32_t n = (get_BIGINT_bits_length(b) + 8) / 8;
    export_bytes(b, out, n);
    return n;
}

KRY_API int32_t BIGINT_to_binary_unsigned(const BIGINT *b, uint8_t *out) {
    if (!usable(b) || out == nullptr)
        return 0;
    const int32_t n = (get_BIGINT_bits_length(b) + 7) / 8;
    export_bytes(b, out, n);
    return n;
}

// Reads the leading run of hexadecimal digits.  Leading zero digits give
// zero top words: the result is left as read, not normalised.
KRY_API BIGINT *HEX_to_BIGINT(const char *text) {
    if (text == nullptr || text[0] == '\0')
        return nullptr;
    size_t digits = 0;
    while (hex_value(text[digits]) >= 0)
        digits++;
    BIGINT *b = new_BIGINT();
    if (b == nullptr || digits == 0)
        return b;
    const size_t words = (4 * digits + 31) / 32;
    if (words > INT32_MAX || kry::expand_BIGINT(b, static_cast<int32_t>(words)) == nullptr) {
        free_BIGINT(b);
        return nullptr;
    }
    // Word i holds the digits [digits - 8(i + 1), digits - 8i).
    size_t end = digits;
    for (size_t i = 0; i < words; i++) {
        const size_t start = end >= 8 ? end - 8 : 0;
        uint32_t w = 0;
        for (size_t j = start; j < end; j++)
            w = (w << 4) | static_cast<uint32_t>(hex_value(text[j]));
        b->data[i] = w;
        end = start;
    }
    b->length = static_cast<int32_t>(words);
    return b;
}

// Two upper-case digits per byte from the first nonzero byte; "0" for zero.
KRY_API char *BIGINT_to_HEX(const BIGINT *b) {
    if (!usable(b))
        return nullptr;
    char *text = new_text(8 * static_cast<size_t>(b->length) + 2);
    if (text == nullptr)
        return nullptr;
    // Skip the zero bytes at the top, then two digits for every byte.
    int32_t top = b->length * 4 - 1;
    while (top >= 0 && byte_at(b, top) == 0)
        top--;
    char *p = text;
    if (top < 0)
        *p++ = '0';
    for (int32_t k = top; k >= 0; k--) {
        const uint8_t byte = byte_at(b, k);
        *p++ = kDigits[byte >> 4];
        *p++ = kDigits[byte & 0x0F];
    }
    *p = '\0';
    return text;
}

// Repeated division of a copy by 10^9; the most significant chunk is
// printed as it is, every later one with nine digits.
KRY_API char *BIGINT_to_DEC(const BIGINT *b) {
    if (!usable(b))
        return nullptr;
    const size_t bits = static_cast<size_t>(get_BIGINT_bits_length(b));
    const size_t digits_bound = bits * 3 / 10 + bits * 3 / 1000;
    const size_t text_bytes = digits_bound + 5;
    const size_t chunk_count = (digits_bound + 2) / 9 + 1;
    char *text = new_text(text_bytes);
    if (text == nullptr)
        return nullptr;
    auto *chunks = static_cast<uint32_t *>(
        lum_malloc(static_cast<uint32_t>(chunk_count * sizeof(uint32_t)), kFile, __LINE__));
    BIGINT copy{nullptr, 0, 0, 0};
    init_BIGINT(&copy);
    bool ok = chunks != nullptr && copy_BIGINT(&copy, b) == 0;
    size_t used = 0;
    while (ok && copy.length > 0) {
        if (used == chunk_count) {
            ok = false;
            break;
        }
        const uint32_t chunk = div_BIGINT_word(&copy, kDecimalChunk);
        if (chunk == 0xFFFFFFFFu) {
            ok = false;
            break;
        }
        chunks[used++] = chunk;
    }
    if (ok) {
        size_t pos = 0;
        if (used == 0) {
            std::snprintf(text, text_bytes, "0");
        } else {
            for (size_t i = used; i-- > 0 && ok;) {
                const int n = std::snprintf(text + pos, text_bytes - pos,
                                            i + 1 == used ? "%lu" : "%09lu",
                                            static_cast<unsigned long>(chunks[i]));
                if (n < 0 || static_cast<size_t>(n) >= text_bytes - pos)
                    ok = false;
                else
                    pos += static_cast<size_t>(n);
            }
        }
    }
    clear_BIGINT(&copy);
    if (chunks != nullptr) {
        kry::wipe(chunks, chunk_count * sizeof(uint32_t));
        lum_free(chunks, kFile, __LINE__);
    }
    if (!ok) {
        kry::wipe(text, text_bytes);
        lum_free(text, kFile, __LINE__);
        return nullptr;
    }
    return text;
}

KRY_API char *dump_BIGINT(const BIGINT *b) {
    char *hex = BIGINT_to_HEX(b);
    if (hex == nullptr)
        return nullptr;
    const size_t n = std::strlen(hex);
    char *text = new_text(n + 3);
    if (text != nullptr) {
        text[0] = '0';
        text[1] = 'x';
        std::memcpy(text + 2, hex, n + 1);
    }
    lum_Free(hex, 8 * static_cast<uint32_t>(b->length) + 2);  // BIGINT_to_HEX's whole block
    return text;
}

// Prints the prefix only; the digits are computed and released unprinted.
KRY_API void print_BIGINT(const BIGINT *b) {
    char *hex = BIGINT_to_HEX(b);
    if (hex == nullptr)
        return;
    std::fputs("0x", stdout);
    lum_Free(hex, 8 * static_cast<uint32_t>(b->length) + 2);  // BIGINT_to_HEX's whole block
}

}  // extern "C"
