// Allocation wrappers and hexadecimal printing.
//
// The lum_ wrappers carry the caller's source file and line for
// diagnostics; they pass the request straight to the C allocator.  The names
// are parenthesised because the check build (KRY_WIPE_CHECK) redirects the
// library's own calls through function-like macros; these exported
// definitions serve callers outside the library, and in that build forget a
// released block that the library had handed over.

#include "foundation/common.h"

#include <cstdio>
#include <cstdlib>

namespace {

// Only the check build tracks blocks; elsewhere there is nothing to forget
// and the release path makes no call for it.
inline void forget([[maybe_unused]] void *ptr) {
#if defined(KRY_WIPE_CHECK)
    kry::wipecheck::forget(ptr);
#endif
}

}  // namespace

extern "C" {

KRY_API void *(lum_malloc)(uint32_t size, const char *, int32_t) { return std::malloc(size); }

// calloc checks count * size for overflow itself.
KRY_API void *(lum_calloc)(uint32_t count, uint32_t size, const char *, int32_t) {
    return std::calloc(count, size);
}

KRY_API void *(lum_realloc)(void *ptr, uint32_t size, const char *, int32_t) {
    forget(ptr);
    return std::realloc(ptr, size);
}

KRY_API void (lum_free)(void *ptr, const char *, int32_t) {
    forget(ptr);
    std::free(ptr);
}

// Zeroes the buffer before releasing it.  A null pointer has nothing to
// zero, whatever length comes with it.
KRY_API void (lum_Free)(void *ptr, uint32_t length) {
    if (ptr == nullptr)
        return;
    kry::wipe(ptr, length);
    forget(ptr);
    std::free(ptr);
}

}  // extern "C"

namespace {

// Prints each byte as "XX:" and the last one with last_format.
void print_bytes(const uint8_t *bytes, int32_t length, const char *last_format) {
    for (int32_t i = 0; i < length - 1; i++)
        std::printf("%02X:", static_cast<unsigned>(bytes[i]));
    std::printf(last_format, static_cast<unsigned>(bytes[length - 1]));
}

}  // namespace

extern "C" {

KRY_API void print_hex(const uint8_t *bytes, int32_t length) {
    if (bytes == nullptr || length < 1)
        return;
    print_bytes(bytes, length, "%02X\n");
}

// Like print_hex, but an empty (non-null) buffer still ends the line.
KRY_API void print_hex_nl(const uint8_t *bytes, int32_t length) {
    if (bytes == nullptr || length < 0)
        return;
    if (length == 0) {
        std::fputs("\n", stdout);
        return;
    }
    print_bytes(bytes, length, "%02X\n");
}

KRY_API void print_hex_no_nl(const uint8_t *bytes, int32_t length) {
    if (bytes == nullptr || length < 1)
        return;
    print_bytes(bytes, length, "%02X");
}

// "01:AB" text in a zeroed buffer of 3 x length bytes: two digits per byte
// and a colon between bytes fill 3 x length - 1 bytes, the last holds the
// NUL.  An empty input gives an empty string (one NUL byte).
KRY_API char *dump_hex(const uint8_t *bytes, int32_t length) {
    static constexpr char kDigits[] = "0123456789ABCDEF";
    if (bytes == nullptr)
        return nullptr;
    if (length < 1)
        return static_cast<char *>(lum_calloc(1, 1, ".\\src\\utils", __LINE__));
    // Three bytes per input byte; calloc checks the product (at most
    // 3 x 2^31, which fits in size_t).
    auto *text = static_cast<char *>(
        lum_calloc(static_cast<uint32_t>(length), 3, ".\\src\\utils", __LINE__));
    if (text == nullptr)
        return nullptr;
    char *out = text;
    for (int32_t i = 0; i < length; i++) {
        if (i > 0)
            *out++ = ':';
        *out++ = kDigits[bytes[i] >> 4];
        *out++ = kDigits[bytes[i] & 0x0F];
    }
    return text;  // the final byte is still the calloc's zero
}

}  // extern "C"
