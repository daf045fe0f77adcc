// Random integers of a given bit length, each drawn from a fresh generator
// (FIPS 186-2 over the chosen G function, seeded from the entropy pool).
#include "foundation/common.h"

#include <kry/bigint.h>
#include <kry/digest.h>
#include <kry/prng.h>

#include <cstring>

namespace {

constexpr const char *kSource = "bigint_operation";

// Forces the top bits and the parity of a big-endian buffer of n bytes
// that is to hold a bits-bit number; bits above the top bit are cleared.
//   top 0: the top bit is set; top 1: the two top bits are set (when the top
//   bit is bit 0 of the first byte, that byte becomes 1 and the second
//   byte's high bit is set); any other top: nothing is forced.
void shape(uint8_t *buffer, uint32_t n, int32_t bits, int32_t top, int32_t bottom) {
    const int b = (bits - 1) % 8;  // position of the top bit in the first byte
    if (top == 0) {
        buffer[0] = static_cast<uint8_t>(buffer[0] | (1u << b));
    } else if (top == 1) {
        if (b == 0) {
            buffer[0] = 1;
            if (n > 1)
                buffer[1] = static_cast<uint8_t>(buffer[1] | 0x80);
        } else {
            buffer[0] = static_cast<uint8_t>(buffer[0] | (3u << (b - 1)));
        }
    }
    buffer[0] = static_cast<uint8_t>(buffer[0] & (0xFFu >> (7 - b)));
    if (bottom != 0)
        buffer[n - 1] = static_cast<uint8_t>(buffer[n - 1] | 1);
}

}  // namespace

extern "C" {

KRY_API int rand_BIGINT(BIGINT *r, int32_t bits, int32_t top, int32_t bottom, BIGINT_POOL *pool,
                        uint32_t digest_id) {
    if (r == nullptr || bits < 0)
        return 1;
    if (bits == 0)
        return set_BIGINT_word(r, 0);

    const uint32_t n = (static_cast<uint32_t>(bits) + 7) / 8;
    auto *buffer = static_cast<uint8_t *>(lum_calloc(n, 1, kSource, __LINE__));
    PRNG_UNIT *unit = new_PRNG_UNIT();
    int result = 1;
    if (buffer != nullptr && unit != nullptr &&
        init_PRNG(unit, digest_id == 0 ? KRY_SHA1 : digest_id, nullptr, 0, nullptr, 0, pool) == 0 &&
        get_rand(unit, buffer, n) == 0) {
        shape(buffer, n, bits, top, bottom);
        result = binary_to_BIGINT(buffer, static_cast<int32_t>(n), r) != nullptr ? 0 : 1;
    }
    free_PRNG_UNIT(unit);
    if (buffer != nullptr) {
        kry::wipe(buffer, n);
        lum_free(buffer, kSource, __LINE__);
    }
    return result;
}

}  // extern "C"
