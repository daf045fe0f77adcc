// HMAC (FIPS 198, RFC 2104) over any digest of the registry.
//
// The unit owns one digest unit and keeps two snapshots of its algorithm
// state: after absorbing (K0 XOR opad) and after (K0 XOR ipad).  A message
// then costs the message itself plus one outer block, and the unit hashes
// any number of messages under the same key:
//   HMAC(K, m) = H((K0 ^ opad) || H((K0 ^ ipad) || m)).
#include "digest/md_frame.h"
#include "foundation/common.h"

#include <kry/digest.h>
#include <kry/hmac.h>

#include <cstddef>
#include <cstring>

namespace kry {
namespace {

constexpr const char *kSource = "hmac.c";
constexpr uint32_t kBound = 0xFFFFFFFF;
constexpr uint32_t kHmacBit = 0x10000000;
constexpr uint32_t kMaxBlock = sizeof(HMAC_UNIT::key_block);  // 128

// Phases of a message.
constexpr uint32_t kInnerLoaded = 1;
constexpr uint32_t kAbsorbing = 2;
constexpr uint32_t kFinished = 3;

// Error words (library 0x0B).
constexpr uint32_t kErrInitNull = 0x0B010006;
constexpr uint32_t kErrInitMalloc = 0x0B010400;
constexpr uint32_t kErrInit = 0x0B010600;
constexpr uint32_t kErrUpdate = 0x0B020600;
constexpr uint32_t kErrFinal = 0x0B030600;
constexpr uint32_t kErrHmacMalloc = 0x0B040400;

constexpr uint8_t kIpad = 0x36;
constexpr uint8_t kOpad = 0x5C;

// Wipes and frees a snapshot.
void release_snapshot(void *&snapshot, uint32_t size) {
    if (snapshot == nullptr)
        return;
    wipe(snapshot, size);
    lum_free(snapshot, kSource, __LINE__);
    snapshot = nullptr;
}

// The digest unit holds a live algorithm state of the snapshots' size.
bool state_usable(const HMAC_UNIT *unit) {
    const DIGEST_UNIT *d = unit->digest;
    return d != nullptr && d->state != nullptr && unit->state_size != 0 && d->state_size == unit->state_size;
}

// Copies a whole algorithm state.  A SHA-224/256 record is copied field by
// field in the widths its block functions read it with (the chaining value
// and the staged bytes by sixteen-byte pieces), so that the next message's
// loads are forwarded from these stores at once; a plain copy by wide
// pieces that straddle the fields makes them wait.  Every byte is copied.
void copy_state(void *dst, const void *src, uint32_t size) {
    if (size != sizeof(SHA256_STATE)) {
        std::memcpy(dst, src, size);
        return;
    }
    auto *d = static_cast<uint8_t *>(dst);
    const auto *s = static_cast<const uint8_t *>(src);
    constexpr size_t kFirst = offsetof(SHA256_STATE, h);  // bit_count and block_fill
    static_assert(kFirst == 12 && offsetof(SHA256_STATE, block) == kFirst + 32 &&
                  offsetof(SHA256_STATE, staging) == kFirst + 96 &&
                  offsetof(SHA256_STATE, staging_fill) == kFirst + 160);
    std::memcpy(d, s, 8);
    std::memcpy(d + 8, s + 8, 4);
    md::copy_pieces(d + kFirst, s + kFirst, 160);
    std::memcpy(d + kFirst + 160, s + kFirst + 160, sizeof(SHA256_STATE) - kFirst - 160);
}

// Copies a snapshot into the digest unit's algorithm state.
bool load_snapshot(HMAC_UNIT *unit, const void *snapshot) {
    if (!state_usable(unit) || snapshot == nullptr)
        return false;
    copy_state(unit->digest->state, snapshot, unit->state_size);
    return true;
}

// Feeds the first B bytes of (key block XOR pad) to the digest unit.
uint32_t absorb_pad(HMAC_UNIT *unit, uint8_t pad_byte, uint32_t block_length) {
    uint8_t pad[kMaxBlock];
    WipeOnExit guard(pad);
    for (uint32_t i = 0; i < kMaxBlock; i++)
        pad[i] = static_cast<uint8_t>(unit->key_block[i] ^ pad_byte);
    return update_Digest(unit->digest, pad, block_length);
}

// The inner digest between the two hashes of finish(), wiped on the way
// out by sixteen-byte pieces (one wipe of this size becomes a string
// store, whose start-up costs more than the stores themselves).
struct InnerDigest {
    alignas(16) uint8_t bytes[144];
    InnerDigest() = default;
    InnerDigest(const InnerDigest &) = delete;
    InnerDigest &operator=(const InnerDigest &) = delete;
    ~InnerDigest() {
        static_assert(sizeof bytes % 16 == 0);
        for (size_t c = 0; c < sizeof bytes; c += 16)
            wipe(bytes + c, 16);
    }
    operator uint8_t *() { return bytes; }
};

// The inner hash of the message absorbed so far, then the outer hash over it.
uint32_t finish(HMAC_UNIT *unit, uint8_t *out, uint32_t *out_length) {
    if (out == nullptr || !state_usable(unit) || unit->outer == nullptr)
        return kErrFinal;
    InnerDigest inner;
    // The inner digest straight from the algorithm's final entry, as
    // final_Digest would produce it, without final_Digest's fresh init of
    // the state: the outer snapshot replaces the whole state next.  Only the
    // init's test-mode gate is kept.
    DIGEST_UNIT *d = unit->digest;
    if (d->final == nullptr || d->final(d->state, inner) != 0)
        return kErrFinal;
    (void)test_mode_gate();
    const uint32_t inner_length = d->digest_length;
    if (!load_snapshot(unit, unit->outer) || update_Digest(unit->digest, inner, inner_length) != 0 ||
        final_Digest(unit->digest, out, out_length) != 0)
        return kErrFinal;
    unit->phase = kFinished;
    return 0;
}

}  // namespace
}  // namespace kry

using namespace kry;

extern "C" {

KRY_API HMAC_UNIT *new_HMAC_UNIT(void) {
    auto *unit = static_cast<HMAC_UNIT *>(lum_malloc(sizeof(HMAC_UNIT), kSource, __LINE__));
    if (unit != nullptr)
        std::memset(unit, 0, sizeof *unit);
    return unit;
}

KRY_API HMAC_UNIT *new_HMAC_UNIT_EX(uint8_t proven) {
    HMAC_UNIT *unit = new_HMAC_UNIT();
    if (unit != nullptr)
        unit->proven = proven;
    return unit;
}

KRY_API void clean_HMAC_UNIT(HMAC_UNIT *unit) {
    if (unit == nullptr || unit->bound != kBound)
        return;
    free_DIGEST_UNIT(unit->digest);
    unit->digest = nullptr;
    release_snapshot(unit->inner, unit->state_size);
    release_snapshot(unit->outer, unit->state_size);
    wipe_object(*unit);  // the key block with everything else
}

KRY_API void free_HMAC_UNIT(HMAC_UNIT *unit) {
    if (unit == nullptr)
        return;
    clean_HMAC_UNIT(unit);
    lum_Free(unit, sizeof *unit);  // an unbound unit is not wiped by the clean
}

KRY_API uint32_t init_HMAC(HMAC_UNIT *unit, uint32_t digest_id, const uint8_t *key, uint32_t key_length) {
    if (uint32_t r = test_mode_gate(); r != 0)
        return r;
    if (unit == nullptr || key == nullptr)
        return kErrInitNull;

    // A bound unit is released first, its proven flag with it.
    clean_HMAC_UNIT(unit);
    unit->bound = kBound;
    unit->hmac_id = digest_id | kHmacBit;
    unit->digest = new_DIGEST_UNIT_EX(unit->proven);
    unit->phase = kInnerLoaded;
    if (uint32_t r = init_Digest(unit->digest, digest_id); r != 0)
        return r;  // proven-mode refusals and unknown digests pass through

    DIGEST_UNIT *d = unit->digest;
    const uint32_t size = d->state_size;
    unit->inner = lum_malloc(size, kSource, __LINE__);
    unit->outer = lum_malloc(size, kSource, __LINE__);
    unit->state_size = size;
    if (unit->inner == nullptr || unit->outer == nullptr)
        return kErrInitMalloc;

    // K0: the key, or its digest when it is longer than a block, then zeros.
    const uint32_t B = d->block_length;
    if (B > kMaxBlock)
        return kErrInit;
    if (key_length > B) {
        uint32_t n = 0;
        if (update_Digest(d, key, key_length) != 0 || final_Digest(d, unit->key_block, &n) != 0)
            return kErrInit;
        unit->key_length = n;
    } else {
        if (key_length > kMaxBlock)
            return kErrInit;
        std::memcpy(unit->key_block, key, key_length);
        unit->key_length = key_length;
    }
    if (unit->key_length < kMaxBlock)
        wipe(unit->key_block + unit->key_length, kMaxBlock - unit->key_length);

    // Outer snapshot: H state after (K0 ^ opad).
    if (uint32_t r = absorb_pad(unit, kOpad, B); r != 0)
        return r;
    std::memcpy(unit->outer, d->state, size);

    // Inner snapshot: a fresh state after (K0 ^ ipad); it stays loaded.
    if (d->init(d->state) != 0 || absorb_pad(unit, kIpad, B) != 0)
        return kErrInit;
    std::memcpy(unit->inner, d->state, size);
    return 0;
}

KRY_API uint32_t update_HMAC(HMAC_UNIT *unit, const uint8_t *data, uint32_t length) {
    if (unit == nullptr)
        return kErrUpdate;
    // A new message after a final starts again from the inner snapshot.
    if (unit->phase == kFinished) {
        if (!load_snapshot(unit, unit->inner))
            return kErrUpdate;
        unit->phase = kInnerLoaded;
    }
    if (update_Digest(unit->digest, data, length) != 0)
        return kErrUpdate;
    unit->phase = kAbsorbing;
    return 0;
}

KRY_API uint32_t final_HMAC(HMAC_UNIT *unit, uint8_t *out, uint32_t *out_length) {
    if (unit == nullptr)
        return kErrFinal;
    return finish(unit, out, out_length);
}

KRY_API uint32_t HMac(uint32_t digest_id, const uint8_t *key, uint32_t key_length, const uint8_t *data,
                      uint32_t length, uint8_t *out, uint32_t *out_length) {
    HMAC_UNIT *unit = new_HMAC_UNIT();
    if (unit == nullptr)
        return kErrHmacMalloc;
    uint32_t r = init_HMAC(unit, digest_id, key, key_length);
    if (r == 0 && update_Digest(unit->digest, data, length) != 0)
        r = kErrUpdate;
    if (r == 0)
        r = finish(unit, out, out_length);
    free_HMAC_UNIT(unit);
    return r;
}

KRY_API char *getHMAC_name(uint32_t hmac_id) {
    static constexpr char kPrefix[] = "HMAC_";
    static constexpr char kTestFail[] = "TEST_FAIL";
    const char *name = nullptr;
    const char *prefix = "";
    if (test_mode_gate() != 0) {
        name = kTestFail;  // returned in a buffer of its own: callers free it
    } else {
        if ((hmac_id & kHmacBit) == 0)
            return nullptr;
        name = get_DigestAlg_Name(hmac_id ^ kHmacBit);
        if (name == nullptr)
            return nullptr;
        prefix = kPrefix;
    }
    const size_t p = std::strlen(prefix), n = std::strlen(name);
    auto *text = static_cast<char *>(lum_malloc(static_cast<uint32_t>(p + n + 1), kSource, __LINE__));
    if (text == nullptr)
        return nullptr;
    std::memcpy(text, prefix, p);
    std::memcpy(text + p, name, n + 1);
    return text;
}

}  // extern "C"
