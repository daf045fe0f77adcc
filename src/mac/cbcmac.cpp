// CBC-MAC over any block cipher of the block-cipher unit, and DES-MAC
// (FIPS 113 / ANSI X9.9, ISO/IEC 9797-1 MAC algorithm 1 with zero padding).
//
// The CBC-MAC unit runs its cipher in ECB and chains itself from a zero
// block.  Whole-block updates give the textbook CBC-MAC with a zero IV; the
// bytes of a block split over several updates are combined with the chaining
// value by this unit's own rule (see update_CBC_MAC), so such results depend
// on where the input was split once the chaining value is non-zero.
#include "foundation/common.h"

#include <kry/blockcipher.h>
#include <kry/cbcmac.h>

#include <cstring>

namespace kry {
namespace {

constexpr const char *kSource = "cbcmac.c";
constexpr uint32_t kMaxBlock = sizeof(CBC_MAC_UNIT::chain);  // 64

// Error words (library 0x13 CBC-MAC, 0x14 DES-MAC).
constexpr uint32_t kErrInitNull = 0x13010006;
constexpr uint32_t kErrUpdateNull = 0x13020006;
constexpr uint32_t kErrFinalNull = 0x13030006;
constexpr uint32_t kErrCbcMacMalloc = 0x13040400;
constexpr uint32_t kErrDesMacNull = 0x14010006;
constexpr uint32_t kErrDesMacMalloc = 0x14010400;
// What the cipher unit answers when its mode function cannot run; given
// for a cipher unit that was never set up (no block length to chain over).
constexpr uint32_t kErrCipher = 0x0102000F;

constexpr uint32_t kDesCbc = 0x02000120;  // DES, CBC, PKCS #7 padding
constexpr uint32_t kDesBlock = 8;

// The cipher's block length, or 0 when the unit cannot chain over it.
uint32_t block_length_of(const CBC_MAC_UNIT *unit) {
    if (unit->cipher == nullptr)
        return 0;
    const uint32_t B = unit->cipher->block_length;
    if (B == 0 || B > kMaxBlock || unit->pending_count < 0 || static_cast<uint32_t>(unit->pending_count) >= B)
        return 0;
    return B;
}

// One block through the cipher (ECB): in -> out, the cipher's word on failure.
uint32_t encrypt_block(CBC_MAC_UNIT *unit, const uint8_t *in, uint8_t *out, uint32_t *out_length) {
    const uint32_t B = unit->cipher->block_length;
    return update_BlockCipher(unit->cipher, out, out_length, in, static_cast<int32_t>(B));
}

uint32_t encrypt_block(CBC_MAC_UNIT *unit, const uint8_t *in, uint8_t *out) {
    uint32_t n = 0;
    return encrypt_block(unit, in, out, &n);
}

}  // namespace
}  // namespace kry

using namespace kry;

extern "C" {

KRY_API CBC_MAC_UNIT *new_CBC_MAC_UNIT(void) {
    BLOCK_CIPHER_UNIT *cipher = new_BLOCK_CIPHER_UNIT();
    auto *unit = static_cast<CBC_MAC_UNIT *>(lum_malloc(sizeof(CBC_MAC_UNIT), kSource, __LINE__));
    if (unit == nullptr || cipher == nullptr) {
        free_BLOCK_CIPHER_UNIT(cipher);
        if (unit != nullptr)
            lum_free(unit, kSource, __LINE__);
        return nullptr;
    }
    std::memset(unit, 0, sizeof *unit);
    unit->cipher = cipher;
    return unit;
}

KRY_API void clean_CBC_MAC_UNIT(CBC_MAC_UNIT *unit) {
    if (unit == nullptr)
        return;
    clean_BLOCK_CIPHER_UNIT(unit->cipher);
    wipe_object(unit->pending);
    wipe_object(unit->chain);
    unit->pending_count = 0;
}

KRY_API void free_CBC_MAC_UNIT(CBC_MAC_UNIT *unit) {
    if (unit == nullptr)
        return;
    clean_CBC_MAC_UNIT(unit);
    free_BLOCK_CIPHER_UNIT(unit->cipher);
    wipe_object(*unit);
    lum_free(unit, kSource, __LINE__);
}

KRY_API uint32_t init_CBC_MAC(CBC_MAC_UNIT *unit, uint32_t cipher_id, const uint8_t *key) {
    if (IsProven() == 1)
        return KRY_ERR_NOT_PROVEN;  // checked before the gate
    if (test_mode_gate() != 0)
        return KRY_ERR_TEST_FAIL;
    clean_CBC_MAC_UNIT(unit);
    if (unit == nullptr || key == nullptr)
        return kErrInitNull;
    // The cipher always runs in ECB (mode and padding bits dropped); the
    // chaining is done here, from the zero block the clean left.
    if (uint32_t r = init_BlockCipher(unit->cipher, cipher_id & 0xFFFFFF00u, key, nullptr, KRY_ENCRYPT); r != 0)
        return r;
    unit->pending_count = 0;
    return 0;
}

KRY_API uint32_t update_CBC_MAC(CBC_MAC_UNIT *unit, const uint8_t *data, uint32_t length) {
    if (IsProven() == 1)
        return KRY_ERR_NOT_PROVEN;
    if (unit == nullptr || (data == nullptr && length != 0))
        return kErrUpdateNull;
    const uint32_t B = block_length_of(unit);
    if (B == 0)
        return kErrCipher;

    uint8_t *chain = unit->chain;
    uint8_t *pending = unit->pending;
    if (unit->pending_count > 0) {
        const uint32_t p = static_cast<uint32_t>(unit->pending_count);
        const uint32_t need = B - p;
        if (length < need) {
            // Still short of a block: kept as it came.
            if (length != 0)
                std::memcpy(pending + p, data, length);
            unit->pending_count += static_cast<int32_t>(length);
            return 0;
        }
        // The completing bytes meet chaining bytes 0..need-1; the bytes
        // already pending are enciphered as they stand.
        for (uint32_t k = 0; k < need; k++)
            pending[p + k] = static_cast<uint8_t>(chain[k] ^ data[k]);
        if (uint32_t r = encrypt_block(unit, pending, chain); r != 0)
            return r;
        data += need;
        length -= need;
        unit->pending_count = 0;
    }
    // Whole blocks: textbook CBC.
    for (; length >= B; data += B, length -= B) {
        for (uint32_t k = 0; k < B; k++)
            pending[k] = static_cast<uint8_t>(chain[k] ^ data[k]);
        if (uint32_t r = encrypt_block(unit, pending, chain); r != 0)
            return r;
    }
    if (length != 0)
        std::memcpy(pending, data, length);
    unit->pending_count = static_cast<int32_t>(length);
    return 0;
}

KRY_API uint32_t final_CBC_MAC(CBC_MAC_UNIT *unit, uint8_t *out, uint32_t *out_length) {
    if (IsProven() == 1)
        return KRY_ERR_NOT_PROVEN;
    if (unit == nullptr || out == nullptr)
        return kErrFinalNull;
    if (unit->pending_count == 0) {
        // Nothing pending: the chaining value is the MAC.
        const uint32_t B = unit->cipher == nullptr ? 0 : unit->cipher->block_length;
        if (B > kMaxBlock)
            return kErrCipher;
        std::memcpy(out, unit->chain, B);
        if (out_length != nullptr)
            *out_length = B;
        return 0;
    }
    const uint32_t B = block_length_of(unit);
    if (B == 0)
        return kErrCipher;
    // Zero padding combined with the chaining value; the raw pending bytes
    // are enciphered as they stand.  The unit is not reset.
    const uint32_t p = static_cast<uint32_t>(unit->pending_count);
    std::memcpy(unit->pending + p, unit->chain + p, B - p);
    return encrypt_block(unit, unit->pending, out, out_length);
}

KRY_API uint32_t CBC_MAC(uint32_t cipher_id, const uint8_t *key, const uint8_t *data, uint32_t length,
                         uint8_t *out, uint32_t *out_length) {
    CBC_MAC_UNIT *unit = new_CBC_MAC_UNIT();
    if (unit == nullptr)
        return kErrCbcMacMalloc;
    uint32_t r = init_CBC_MAC(unit, cipher_id, key);
    if (r == 0)
        r = update_CBC_MAC(unit, data, length);
    if (r == 0)
        r = final_CBC_MAC(unit, out, out_length);
    free_CBC_MAC_UNIT(unit);
    return r;
}

KRY_API uint32_t DES_MAC(const uint8_t *key, const uint8_t *data, uint32_t length, uint8_t *out) {
    BLOCK_CIPHER_UNIT *cipher = new_BLOCK_CIPHER_UNIT();
    uint32_t r = test_mode_gate();
    if (r == 0 && IsProven() == 1)
        r = KRY_ERR_NOT_PROVEN;
    if (r == 0 && cipher == nullptr)
        r = kErrDesMacMalloc;
    if (r == 0 && (data == nullptr || length == 0 || key == nullptr || out == nullptr))
        r = kErrDesMacNull;
    if (r != 0) {
        free_BLOCK_CIPHER_UNIT(cipher);
        return r;
    }

    // ISO/IEC 9797-1 MAC algorithm 1, padding method 1: the data zero-padded
    // to whole blocks, each block XORed into the previous cipher result and
    // enciphered; every step runs DES-CBC afresh from the zero IV.  The
    // step's padded CBC output is two blocks; the first is E(current).
    static constexpr uint8_t kZeroIv[kDesBlock] = {};
    uint8_t current[kDesBlock] = {};
    uint8_t result[2 * kDesBlock] = {};
    WipeOnExit guard_current(current);
    WipeOnExit guard_result(result);

    uint32_t taken = length < kDesBlock ? length : kDesBlock;
    std::memcpy(current, data, taken);
    for (;;) {
        uint32_t first = 0, last = 0;
        r = init_BlockCipher(cipher, kDesCbc, key, kZeroIv, KRY_ENCRYPT);
        if (r == 0)
            r = update_BlockCipher(cipher, result, &first, current, kDesBlock);
        if (r == 0)
            r = final_BlockCipher(cipher, result + first, &last);
        if (r != 0)
            break;
        if (taken == length)
            break;
        const uint32_t n = length - taken < kDesBlock ? length - taken : kDesBlock;
        std::memcpy(current, result, kDesBlock);
        for (uint32_t k = 0; k < n; k++)
            current[k] = static_cast<uint8_t>(current[k] ^ data[taken + k]);
        taken += n;
    }
    if (r == 0)
        std::memcpy(out, result, kDesBlock);
    free_BLOCK_CIPHER_UNIT(cipher);
    return r;
}

}  // extern "C"
