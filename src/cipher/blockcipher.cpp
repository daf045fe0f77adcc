// The block-cipher unit: binds an algorithm, a mode and a padding choice
// from one cipher identifier and streams data through the algorithm's mode
// function, buffering partial blocks, adding PKCS #7 padding when encrypting
// and removing it when decrypting.
#include "cipher/modes.h"
#include "foundation/common.h"
#include "foundation/ct.h"

#include <kry/blockcipher.h>

#include <array>
#include <cstring>

namespace kry {
namespace {

constexpr const char *kSource = "blockcipher.c";
constexpr uint32_t kInitialised = 0xFFFFFFFF;
constexpr uint32_t kMaxBlock = 32;  // size of the unit's block buffers

// Error words of the unit (library 0x01).
constexpr uint32_t kErrKeySchedule = 0x01010001;
constexpr uint32_t kErrMode = 0x01010005;
constexpr uint32_t kErrMalloc = 0x01010400;
constexpr uint32_t kErrIvLength = 0x01011700;
constexpr uint32_t kErrEncLength = 0x01020003;
constexpr uint32_t kErrEncBlock = 0x01020007;
constexpr uint32_t kErrEncMode = 0x0102000F;
constexpr uint32_t kErrDecBlock = 0x01030008;
constexpr uint32_t kErrFinalEncPending = 0x01040006;
constexpr uint32_t kErrFinalEncBlock = 0x01040007;
constexpr uint32_t kErrFinalDec = 0x01050008;
constexpr uint32_t kErrUnknown = 0x01060004;

struct Algorithm {
    uint32_t id;
    const char *name;  // null: the cipher has no name (RC2)
    uint32_t block, key, iv, schedule;
    bool approved;     // usable in proven mode
    const cipher::Modes *modes;
};

// The registry.  Schedule sizes are those of the algorithms' key-schedule
// records (checked against them at set-up).
constexpr std::array kAlgorithms = {
    Algorithm{KRY_AES_128, "AES_128", 16, 16, 16, 244, false, &cipher::kAesModes},
    Algorithm{KRY_AES_192, "AES_192", 16, 24, 16, 244, false, &cipher::kAesModes},
    Algorithm{KRY_AES_256, "AES_256", 16, 32, 16, 244, false, &cipher::kAesModes},
    Algorithm{KRY_DES, "DES", 8, 8, 8, 128, false, &cipher::kDesModes},
    Algorithm{KRY_DES_EDE3, "DES_EDE", 8, 24, 8, 384, false, &cipher::kDesEdeModes},
    Algorithm{KRY_DES_EDE2, "DES_EDE", 8, 16, 8, 384, false, &cipher::kDesEdeModes},
    Algorithm{KRY_DES_EDE3_B, "DES_EDE", 8, 24, 8, 384, false, &cipher::kDesEdeModes},
    Algorithm{KRY_ARIA_128, "ARIA_128", 16, 16, 16, 548, true, &cipher::kAriaModes},
    Algorithm{KRY_ARIA_192, "ARIA_192", 16, 24, 16, 548, true, &cipher::kAriaModes},
    Algorithm{KRY_ARIA_256, "ARIA_256", 16, 32, 16, 548, true, &cipher::kAriaModes},
    Algorithm{KRY_SEED, "SEED", 16, 16, 16, 128, true, &cipher::kSeedModes},
    Algorithm{KRY_RC5, "RC5", 8, 16, 8, 140, false, &cipher::kRc5Modes},
    Algorithm{KRY_BLOWFISH, "BlowFish", 8, 16, 8, 4168, false, &cipher::kBlowfishModes},
    Algorithm{KRY_RC2, nullptr, 8, 8, 8, 256, false, &cipher::kRc2Modes},
};

const Algorithm *find(uint32_t id) {
    const uint32_t base = id & 0xFFFFFF00u;
    for (const auto &a : kAlgorithms)
        if (a.id == base)
            return &a;
    return nullptr;
}

// Mode byte (bit 0 cleared) -> name; CFB128 is stored as CFB.
struct ModeRow {
    uint8_t mode;
    const char *name;
};
constexpr ModeRow kModes[] = {{0x00, "ECB"}, {0x20, "CBC"}, {0x40, "CFB"},
                              {0x4C, "CFB128"}, {0x60, "OFB"}, {0x80, "CTR"}};

const ModeRow *find_mode(uint32_t id) {
    for (const auto &m : kModes)
        if (m.mode == (id & 0xFE))
            return &m;
    return nullptr;
}

// Zeroes and frees the key schedule, then zeroes the whole unit.
void release(BLOCK_CIPHER_UNIT *unit) {
    if (unit->key_schedule != nullptr) {
        wipe(unit->key_schedule, unit->key_schedule_size);
        lum_free(unit->key_schedule, kSource, __LINE__);
    }
    wipe_object(*unit);
}

bool stream_mode(const BLOCK_CIPHER_UNIT *unit) {
    return unit->mode == KRY_MODE_CFB || unit->mode == KRY_MODE_OFB || unit->mode == KRY_MODE_CTR;
}

uint32_t run_mode(BLOCK_CIPHER_UNIT *unit, uint8_t *out, const uint8_t *in, uint32_t length) {
    if (unit->mode_func == nullptr)
        return kErrEncMode;
    return unit->mode_func(unit, out, in, length);
}

// The record is public: before the buffers are indexed, check that its
// lengths are ones init_BlockCipher can have left (the buffers hold
// kMaxBlock bytes).
bool lengths_usable(const BLOCK_CIPHER_UNIT *unit) {
    const uint32_t B = unit->block_length;
    return B != 0 && B <= kMaxBlock && unit->block_mask == B - 1 && unit->pending_count < B;
}

void set_length(uint32_t *out_length, uint32_t value) {
    if (out_length != nullptr)
        *out_length = value;
}

}  // namespace
}  // namespace kry

using namespace kry;

extern "C" {

KRY_API BLOCK_CIPHER_UNIT *new_BLOCK_CIPHER_UNIT(void) {
    auto *unit = static_cast<BLOCK_CIPHER_UNIT *>(lum_malloc(sizeof(BLOCK_CIPHER_UNIT), kSource, __LINE__));
    if (unit != nullptr)
        std::memset(unit, 0, sizeof *unit);
    return unit;
}

KRY_API BLOCK_CIPHER_UNIT *new_BLOCK_CIPHER_UNIT_EX(uint8_t proven) {
    BLOCK_CIPHER_UNIT *unit = new_BLOCK_CIPHER_UNIT();
    if (unit != nullptr)
        unit->proven = proven;
    return unit;
}

KRY_API void clean_BLOCK_CIPHER_UNIT(BLOCK_CIPHER_UNIT *unit) {
    if (unit != nullptr && unit->initialised == kInitialised)
        release(unit);
}

KRY_API void free_BLOCK_CIPHER_UNIT(BLOCK_CIPHER_UNIT *unit) {
    if (unit == nullptr)
        return;
    clean_BLOCK_CIPHER_UNIT(unit);
    lum_Free(unit, sizeof *unit);  // a unit never set up still holds its flags
}

KRY_API uint32_t init_BlockAlg(BLOCK_CIPHER_UNIT *unit, uint32_t cipher_id) {
    if (uint32_t r = test_mode_gate(); r != 0)
        return r;
    if (unit == nullptr)
        return kErrUnknown;
    unit->algorithm_id = cipher_id & 0xFFFFFF00u;
    const Algorithm *alg = find(cipher_id);
    if (alg == nullptr) {
        unit->algorithm_id = 0;
        return kErrUnknown;
    }
    if (!alg->approved && unit->proven != 0)
        return KRY_ERR_NOT_PROVEN;
    const ModeRow *mode = find_mode(cipher_id);
    if (mode == nullptr) {
        unit->algorithm_id = 0;
        return kErrUnknown;
    }
    const uint8_t stored = mode->mode == KRY_MODE_CFB128 ? KRY_MODE_CFB : mode->mode;
    const cipher::Modes &m = *alg->modes;
    BLOCK_MODE_FUNC func = nullptr;
    switch (stored) {
    case KRY_MODE_ECB: func = m.ecb; break;
    case KRY_MODE_CBC: func = m.cbc; break;
    case KRY_MODE_CFB: func = m.cfb; break;
    case KRY_MODE_OFB: func = m.ofb; break;
    default: func = m.ctr; break;
    }
    // A cipher without a CTR function (RC2) answers 1, having filled nothing
    // but the identifier.
    if (func == nullptr)
        return 1;
    unit->block_length = alg->block;
    unit->key_length = alg->key;
    unit->iv_length = alg->iv;
    unit->effective_bits = 1024;
    unit->mode = stored;
    unit->key_func = m.key_func;
    unit->mode_func = func;
    unit->position = 0;
    unit->key_schedule = nullptr;
    unit->key_schedule_size = alg->schedule;
    return 0;
}

KRY_API uint32_t init_BlockCipher(BLOCK_CIPHER_UNIT *unit, uint32_t cipher_id, const uint8_t *key,
                                  const uint8_t *iv, uint32_t direction) {
    if (unit == nullptr)
        return kErrUnknown;
    if (unit->initialised == kInitialised)
        release(unit);
    unit->initialised = kInitialised;
    unit->proven = flag_load(statusisproven);
    if (uint32_t r = test_mode_gate(); r != 0)
        return r;
    if (uint32_t r = init_BlockAlg(unit, cipher_id); r != 0)
        return r;

    unit->direction = direction;
    if (unit->key_schedule_size != 0) {
        unit->key_schedule = lum_malloc(unit->key_schedule_size, kSource, __LINE__);
        if (unit->key_schedule == nullptr)
            return kErrMalloc;
        std::memset(unit->key_schedule, 0, unit->key_schedule_size);
    }
    unit->no_padding = static_cast<uint8_t>(cipher_id & 1);

    switch (unit->mode) {
    case KRY_MODE_ECB:
        break;
    case KRY_MODE_CBC:
        if (unit->iv_length > 16)
            return kErrIvLength;
        if (iv != nullptr)
            std::memcpy(unit->iv, iv, unit->iv_length);
        std::memcpy(unit->feedback, unit->iv, sizeof unit->feedback);
        break;
    case KRY_MODE_CFB:
    case KRY_MODE_OFB:
        unit->position = 0;
        break;
    case KRY_MODE_CTR:
        if (unit->proven != 0)
            return KRY_ERR_NOT_PROVEN;  // CTR is not approved
        break;
    default:
        return kErrMode;
    }

    // RC2's reduced effective key sizes; these identifiers never reach this
    // point (the registry does not know them), so RC2 keeps 1024 bits.
    if (cipher_id == 0x07000200)
        unit->effective_bits = 40;
    if (cipher_id == 0x07000300)
        unit->effective_bits = 64;

    if (unit->key_func == nullptr || unit->key_func(unit, key, iv, direction) != 0)
        return kErrKeySchedule;
    unit->pending_count = 0;
    unit->hold_back = 0;
    unit->block_mask = unit->block_length - 1;
    return 0;
}

KRY_API uint32_t update_Encryption(BLOCK_CIPHER_UNIT *unit, uint8_t *out, uint32_t *out_length,
                                   const uint8_t *in, int32_t in_length) {
    if (in_length < 1)
        return kErrEncLength;
    if (unit == nullptr || in == nullptr)
        return kErrEncMode;
    uint32_t length = static_cast<uint32_t>(in_length);
    if (unit->pending_count == 0 && (length & unit->block_mask) == 0) {
        if (run_mode(unit, out, in, length) != 0) {
            set_length(out_length, 0);
            return kErrEncMode;
        }
        set_length(out_length, length);
        return 0;
    }
    if (unit->block_length > kMaxBlock)
        return kErrEncBlock;
    if (!lengths_usable(unit))
        return kErrEncMode;

    const uint32_t B = unit->block_length;
    uint32_t produced = 0;
    if (unit->pending_count != 0) {
        const uint32_t have = unit->pending_count;
        if (have + length < B) {
            std::memcpy(unit->pending + have, in, length);
            unit->pending_count += length;
            set_length(out_length, 0);
            return 0;
        }
        const uint32_t take = B - have;
        std::memcpy(unit->pending + have, in, take);
        if (run_mode(unit, out, unit->pending, B) != 0)
            return kErrEncMode;
        in += take;
        length -= take;
        out += B;
        produced = B;
    }
    const uint32_t tail = length & unit->block_mask;
    const uint32_t whole = length - tail;
    if (whole != 0) {
        if (run_mode(unit, out, in, whole) != 0)
            return kErrEncMode;
        produced += whole;
    }
    set_length(out_length, produced);
    std::memcpy(unit->pending, in + whole, tail);
    unit->pending_count = tail;
    return 0;
}

KRY_API uint32_t update_Decryption(BLOCK_CIPHER_UNIT *unit, uint8_t *out, uint32_t *out_length,
                                   const uint8_t *in, int32_t in_length) {
    if (in_length == 0) {
        set_length(out_length, 0);
        return 0;
    }
    if (unit == nullptr)
        return kErrEncMode;
    if (unit->no_padding != 0)
        return update_Encryption(unit, out, out_length, in, in_length);
    if (unit->block_length > kMaxBlock)
        return kErrDecBlock;

    const uint32_t B = unit->block_length;
    const bool released = unit->hold_back != 0;
    if (released && out == nullptr)
        return kErrEncMode;
    if (released) {
        std::memcpy(out, unit->held, B);
        out += B;
    }
    uint32_t produced = 0;
    if (uint32_t r = update_Encryption(unit, out, &produced, in, in_length); r != 0)
        return r;
    if (B > 1 && unit->pending_count == 0 && produced >= B) {
        produced -= B;
        std::memcpy(unit->held, out + produced, B);
        unit->hold_back = 1;
    } else {
        unit->hold_back = 0;
    }
    if (released)
        produced += B;
    set_length(out_length, produced);
    return 0;
}

KRY_API uint32_t final_Encryption(BLOCK_CIPHER_UNIT *unit, uint8_t *out, uint32_t *out_length) {
    if (unit == nullptr)
        return kErrFinalEncBlock;
    const uint32_t B = unit->block_length;
    if (B > kMaxBlock)
        return kErrFinalEncBlock;
    if (B == 1) {
        set_length(out_length, 0);
        return 0;
    }
    if (!lengths_usable(unit) || unit->mode_func == nullptr)
        return kErrEncMode;  // never set up, or a damaged record
    const bool padded_mode = unit->mode == KRY_MODE_ECB || unit->mode == KRY_MODE_CBC;
    if (padded_mode && unit->no_padding != 0) {
        if (unit->pending_count != 0)
            return kErrFinalEncPending;
        set_length(out_length, 0);
        return 0;
    }
    if (padded_mode) {
        // PKCS #7: p bytes of value p, a whole block of them when nothing is
        // pending.
        const uint8_t p = static_cast<uint8_t>(B - unit->pending_count);
        std::memset(unit->pending + unit->pending_count, p, p);
    }
    uint8_t block[kMaxBlock] = {};
    WipeOnExit guard(block);
    if (uint32_t r = run_mode(unit, block, unit->pending, B); r != 0)
        return r;
    const uint32_t n = padded_mode ? B : unit->pending_count;
    if (n != 0 && out == nullptr)
        return kErrFinalEncPending;
    if (n != 0)
        std::memcpy(out, block, n);
    set_length(out_length, n);
    return 0;
}

KRY_API uint32_t final_Decryption(BLOCK_CIPHER_UNIT *unit, uint8_t *out, uint32_t *out_length) {
    set_length(out_length, 0);
    if (unit == nullptr)
        return kErrFinalDec;
    const uint32_t B = unit->block_length;
    if (stream_mode(unit)) {
        if (unit->pending_count == 0)
            return 0;
        if (B > kMaxBlock || !lengths_usable(unit))
            return kErrFinalDec;
        uint8_t block[kMaxBlock] = {};
        WipeOnExit guard(block);
        if (run_mode(unit, block, unit->pending, B) != 0 || out == nullptr)
            return kErrFinalDec;
        std::memcpy(out, block, unit->pending_count);
        set_length(out_length, unit->pending_count);
        return 0;
    }
    if (unit->no_padding != 0)
        return unit->pending_count != 0 ? kErrFinalDec : 0;
    if (B < 2)
        return 0;
    if (unit->pending_count != 0 || unit->hold_back == 0 || B > kMaxBlock)
        return kErrFinalDec;
    // PKCS #7 check over the whole block, without exit on the first bad byte.
    const uint8_t p = unit->held[B - 1];
    uint32_t bad = kry::ct_is_zero(p) | kry::ct_lt(B, p);
    for (uint32_t i = 0; i < B; i++) {
        const uint32_t in_pad = kry::ct_lt(B - 1 - i, p);
        bad |= in_pad & kry::ct_is_nonzero(static_cast<uint32_t>(unit->held[i] ^ p));
    }
    if (bad != 0)
        return kErrFinalDec;
    const uint32_t n = B - p;
    if (n != 0 && out == nullptr)
        return kErrFinalDec;
    if (n != 0)
        std::memcpy(out, unit->held, n);
    set_length(out_length, n);
    return 0;
}

KRY_API uint32_t update_BlockCipher(BLOCK_CIPHER_UNIT *unit, uint8_t *out, uint32_t *out_length,
                                    const uint8_t *in, int32_t in_length) {
    if (unit != nullptr && unit->direction == 0)
        return update_Decryption(unit, out, out_length, in, in_length);
    return update_Encryption(unit, out, out_length, in, in_length);
}

KRY_API uint32_t final_BlockCipher(BLOCK_CIPHER_UNIT *unit, uint8_t *out, uint32_t *out_length) {
    if (unit != nullptr && unit->direction == 0)
        return final_Decryption(unit, out, out_length);
    return final_Encryption(unit, out, out_length);
}

KRY_API uint32_t BlockCipher(uint32_t cipher_id, uint32_t direction, const uint8_t *key, const uint8_t *iv,
                             const uint8_t *in, int32_t in_length, uint8_t *out, uint32_t *out_length) {
    BLOCK_CIPHER_UNIT *unit = new_BLOCK_CIPHER_UNIT();
    if (unit == nullptr)
        return kErrMalloc;
    uint32_t first = 0, last = 0;
    uint32_t r = init_BlockCipher(unit, cipher_id, key, iv, direction);
    if (r == 0)
        r = update_BlockCipher(unit, out, &first, in, in_length);
    if (r == 0)
        r = final_BlockCipher(unit, out == nullptr ? nullptr : out + first, &last);
    if (r == 0)
        set_length(out_length, first + last);
    free_BLOCK_CIPHER_UNIT(unit);
    return r;
}

KRY_API void increaseCounter(uint8_t *block) {
    if (block == nullptr)
        return;
    // Big-endian 128-bit increment, one 32-bit word at a time from the end.
    for (int word = 3; word >= 0; word--) {
        const uint32_t v = load32_be(block + 4 * word) + 1;
        store32_be(block + 4 * word, v);
        if (v != 0)
            break;
    }
}

KRY_API uint32_t get_BlockAlg_ID(const BLOCK_CIPHER_UNIT *unit) { return unit == nullptr ? 0 : unit->algorithm_id; }

KRY_API const char *get_BlockAlg_Name(uint32_t cipher_id) {
    if (test_mode_gate() != 0)
        return "TEST_FAIL";
    const Algorithm *alg = find(cipher_id);
    return alg == nullptr ? nullptr : alg->name;
}

KRY_API const char *get_ModeName(uint32_t cipher_id) {
    if (test_mode_gate() != 0)
        return "TEST_FAIL";
    const ModeRow *mode = find_mode(cipher_id);
    return mode == nullptr ? nullptr : mode->name;
}

KRY_API uint32_t get_BlockLength(uint32_t cipher_id) {
    if (test_mode_gate() != 0)
        return KRY_ERR_TEST_FAIL;
    const Algorithm *alg = find(cipher_id);
    return alg == nullptr || alg->name == nullptr ? 1 : alg->block;
}

KRY_API uint32_t get_KeyLength(uint32_t cipher_id) {
    if (test_mode_gate() != 0)
        return KRY_ERR_TEST_FAIL;
    const Algorithm *alg = find(cipher_id);
    return alg == nullptr || alg->name == nullptr ? 1 : alg->key;
}

KRY_API uint32_t get_IVLength(uint32_t cipher_id) {
    if (test_mode_gate() != 0)
        return KRY_ERR_TEST_FAIL;
    const Algorithm *alg = find(cipher_id);
    return alg == nullptr ? 1 : alg->iv;
}

KRY_API uint32_t get_ModeLength(const BLOCK_CIPHER_UNIT *unit) {
    if (test_mode_gate() != 0)
        return KRY_ERR_TEST_FAIL;
    if (unit == nullptr)
        return 0;
    switch (unit->mode) {
    case 0x00: case 0x20: case 0x40: case 0x60: case 0x80: return unit->block_length;
    case 0x42: case 0x44: return 1;
    case 0x46: return 2;
    case 0x48: return 4;
    case 0x4A: return 8;
    case 0x4C: return 16;
    default: return 0;
    }
}

}  // extern "C"
