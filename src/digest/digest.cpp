// The digest unit: binds one hash algorithm from the registry and drives its
// init/update/final entries.
#include "foundation/common.h"

#include <kry/digest.h>

#include <array>
#include <cctype>
#include <cstring>

namespace kry {
namespace {

constexpr const char *kSource = "digest.c";

constexpr uint32_t kBound = 0xFFFFFFFF;

// Error words of the unit (library 0x0A).
constexpr uint32_t kErrInitAlg = 0x0A010001;      // the algorithm's init failed
constexpr uint32_t kErrUnitNull = 0x0A010006;     // also final_Digest's null unit
constexpr uint32_t kErrUpdateNull = 0x0A020006;
constexpr uint32_t kErrUpdate = 0x0A020009;
constexpr uint32_t kErrFinal = 0x0A03000A;
constexpr uint32_t kErrUnknownAlg = 0x0A040004;
constexpr uint32_t kErrDigestNull = 0x0A050006;
constexpr uint32_t kErrDigestMalloc = 0x0A050400;

// Adapters from the unit's type-erased entry slots to the typed entries.
template <class S, uint32_t (*F)(S *)>
uint32_t init_entry(void *s) { return F(static_cast<S *>(s)); }
template <class S, uint32_t (*F)(S *, const uint8_t *, uint32_t)>
uint32_t update_entry(void *s, const uint8_t *d, uint32_t n) { return F(static_cast<S *>(s), d, n); }
template <class S, uint32_t (*F)(S *, uint8_t *)>
uint32_t final_entry(void *s, uint8_t *out) { return F(static_cast<S *>(s), out); }

struct Algorithm {
    uint32_t id;
    const char *name;
    uint32_t digest_length;
    uint32_t block_length;
    uint32_t state_size;
    DIGEST_INIT_FUNC init;
    DIGEST_UPDATE_FUNC update;
    DIGEST_FINAL_FUNC final;
};

template <class S, uint32_t (*I)(S *), uint32_t (*U)(S *, const uint8_t *, uint32_t), uint32_t (*F)(S *, uint8_t *)>
constexpr Algorithm algorithm(uint32_t id, const char *name, uint32_t digest_length, uint32_t block_length) {
    return {id, name, digest_length, block_length, sizeof(S), init_entry<S, I>, update_entry<S, U>, final_entry<S, F>};
}

constexpr std::array kRegistry = {
    algorithm<SHA1_STATE, init_SHA1, update_SHA1, final_SHA1>(KRY_SHA1, "SHA1", 20, 64),
    algorithm<SHA256_STATE, init_SHA224, update_SHA224, final_SHA224>(KRY_SHA224, "SHA224", 28, 64),
    algorithm<SHA256_STATE, init_SHA256, update_SHA256, final_SHA256>(KRY_SHA256, "SHA256", 32, 64),
    algorithm<SHA512_STATE, init_SHA384, update_SHA384, final_SHA384>(KRY_SHA384, "SHA384", 48, 128),
    algorithm<SHA512_STATE, init_SHA512, update_SHA512, final_SHA512>(KRY_SHA512, "SHA512", 64, 128),
    algorithm<MD5_STATE, init_MD5, update_MD5, final_MD5>(KRY_MD5, "MD5", 16, 64),
    algorithm<HAS160_STATE, init_HAS160, update_HAS160, final_HAS160>(KRY_HAS160, "HAS160", 20, 64),
    algorithm<MDC2_STATE, init_MDC2, update_MDC2, final_MDC2>(KRY_MDC2, "MDC2", 16, 8),
};

// Name lookups compare in this order.
constexpr std::array kNameOrder = {KRY_MD5, KRY_SHA1, KRY_SHA224, KRY_SHA256,
                                   KRY_SHA384, KRY_SHA512, KRY_HAS160, KRY_MDC2};

const Algorithm *find(uint32_t id) {
    for (const auto &a : kRegistry)
        if (a.id == id)
            return &a;
    return nullptr;
}

// Not approved: refused while the module is in proven mode.
constexpr bool refused_in_proven_mode(uint32_t id) { return id == KRY_SHA224 || id == KRY_MD5 || id == KRY_MDC2; }

// Zeroes and frees the state, then zeroes every field of the unit.
void release_binding(DIGEST_UNIT *unit) {
    if (unit->state != nullptr) {
        wipe(unit->state, unit->state_size);
        lum_free(unit->state, kSource, __LINE__);
    }
    wipe_object(*unit);
}

}  // namespace
}  // namespace kry

extern "C" {

KRY_API DIGEST_UNIT *new_DIGEST_UNIT(void) {
    auto *unit = static_cast<DIGEST_UNIT *>(lum_malloc(sizeof(DIGEST_UNIT), kry::kSource, __LINE__));
    if (unit != nullptr)
        std::memset(unit, 0, sizeof *unit);
    return unit;
}

KRY_API DIGEST_UNIT *new_DIGEST_UNIT_EX(uint8_t proven) {
    DIGEST_UNIT *unit = new_DIGEST_UNIT();
    if (unit != nullptr)
        unit->proven = proven;
    return unit;
}

KRY_API void clean_DIGEST_UNIT(DIGEST_UNIT *unit) {
    if (unit != nullptr && unit->bound == kry::kBound)
        kry::release_binding(unit);
}

KRY_API void free_DIGEST_UNIT(DIGEST_UNIT *unit) {
    if (unit == nullptr)
        return;
    clean_DIGEST_UNIT(unit);
    lum_Free(unit, sizeof *unit);
}

KRY_API uint32_t init_DigestAlg(DIGEST_UNIT *unit, uint32_t algorithm_id) {
    if (kry::test_mode_gate() != 0)
        return 1;
    if (unit == nullptr)
        return kry::kErrUnitNull;
    // The identifier is stored first, so a refused algorithm stays visible.
    unit->algorithm_id = algorithm_id;
    if (kry::refused_in_proven_mode(algorithm_id) && IsProven() == 1)
        return KRY_ERR_NOT_PROVEN;
    const kry::Algorithm *alg = kry::find(algorithm_id);
    if (alg == nullptr || (algorithm_id == KRY_MDC2 && unit->proven != 0)) {
        unit->algorithm_id = 0;
        return kry::kErrUnknownAlg;
    }
    unit->block_length = alg->block_length;
    unit->digest_length = alg->digest_length;
    unit->state = nullptr;
    unit->state_size = alg->state_size;
    unit->init = alg->init;
    unit->update = alg->update;
    unit->final = alg->final;
    return 0;
}

KRY_API uint32_t init_Digest(DIGEST_UNIT *unit, uint32_t algorithm_id) {
    if (unit == nullptr)
        return kry::kErrUnitNull;
    if (unit->bound == kry::kBound)
        kry::release_binding(unit);
    unit->bound = kry::kBound;
    if (uint32_t r = kry::test_mode_gate(); r != 0)
        return r;
    if (uint32_t r = init_DigestAlg(unit, algorithm_id); r != 0)
        return r;
    unit->state = lum_malloc(unit->state_size, kry::kSource, __LINE__);
    if (unit->state == nullptr)
        return kry::kErrInitAlg;
    std::memset(unit->state, 0, unit->state_size);
    if (unit->init(unit->state) != 0)
        return kry::kErrInitAlg;
    return 0;
}

KRY_API uint32_t update_Digest(DIGEST_UNIT *unit, const uint8_t *data, uint32_t length) {
    if (unit == nullptr || data == nullptr)
        return kry::kErrUpdateNull;
    if (unit->update == nullptr || unit->update(unit->state, data, length) != 0)
        return kry::kErrUpdate;
    return 0;
}

KRY_API uint32_t final_Digest(DIGEST_UNIT *unit, uint8_t *out, uint32_t *out_length) {
    if (unit == nullptr || out == nullptr)
        return kry::kErrUnitNull;
    if (unit->final == nullptr || unit->final(unit->state, out) != 0)
        return kry::kErrFinal;
    // Ready for the next message under the same algorithm.
    unit->init(unit->state);
    if (out_length != nullptr)
        *out_length = unit->digest_length;
    return 0;
}

KRY_API uint32_t Digest(uint32_t algorithm_id, const uint8_t *data, uint32_t length, uint8_t *out,
                        uint32_t *out_length) {
    if (data == nullptr)
        return kry::kErrDigestNull;
    DIGEST_UNIT *unit = new_DIGEST_UNIT();
    if (unit == nullptr)
        return kry::kErrDigestMalloc;
    uint32_t r = init_Digest(unit, algorithm_id);
    if (r == 0 && unit->update(unit->state, data, length) != 0)
        r = kry::kErrUpdate;
    if (r == 0)
        r = final_Digest(unit, out, out_length);
    free_DIGEST_UNIT(unit);
    return r;
}

KRY_API uint32_t get_DigestAlg_ID(const DIGEST_UNIT *unit) {
    if (kry::test_mode_gate() != 0)
        return KRY_ERR_TEST_FAIL;
    return unit == nullptr ? 0 : unit->algorithm_id;
}

KRY_API const char *get_DigestAlg_Name(uint32_t algorithm_id) {
    if (kry::reduced_gate() != 0)
        return "TEST_FAIL";
    const kry::Algorithm *alg = kry::find(algorithm_id);
    return alg == nullptr ? nullptr : alg->name;
}

KRY_API uint32_t get_DigestAlg_ID_by_Name(const char *name) {
    if (kry::reduced_gate() != 0)
        return KRY_ERR_TEST_FAIL;
    if (name == nullptr)
        return 0xFFFFFFFF;
    // At most 16 characters, upper-cased, always terminated.
    char upper[17] = {};
    for (size_t i = 0; i < 16 && name[i] != '\0'; i++)
        upper[i] = static_cast<char>(std::toupper(static_cast<unsigned char>(name[i])));
    for (uint32_t id : kry::kNameOrder)
        if (std::strcmp(upper, kry::find(id)->name) == 0)
            return id;
    return 0xFFFFFFFF;
}

KRY_API uint32_t get_DigestLength(uint32_t algorithm_id) {
    if (kry::test_mode_gate() != 0)
        return KRY_ERR_TEST_FAIL;
    const kry::Algorithm *alg = kry::find(algorithm_id);
    return alg == nullptr ? 0 : alg->digest_length;
}

}  // extern "C"
