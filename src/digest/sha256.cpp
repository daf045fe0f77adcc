// SHA-224 and SHA-256 (FIPS 180-2 section 6.2 and Change Notice 1).
#include "digest/md_frame.h"
#include "digest/sha2.h"

#include <kry/digest.h>

namespace kry {
namespace {

struct Sha256IV {
    static constexpr uint32_t value[8] = {0x6a09e667, 0xbb67ae85, 0x3c6ef372, 0xa54ff53a,
                                          0x510e527f, 0x9b05688c, 0x1f83d9ab, 0x5be0cd19};
};
struct Sha224IV {
    static constexpr uint32_t value[8] = {0xc1059ed8, 0x367cd507, 0x3070dd17, 0xf70e5939,
                                          0xffc00b31, 0x68581511, 0x64f98fa7, 0xbefa4fa4};
};
using Sha256 = sha2::Frame<SHA256_STATE, Sha256IV>;
using Sha224 = sha2::Frame<SHA256_STATE, Sha224IV>;

// The SHA-256 entries' error words; those of update_SHA256 and
// final_SHA256 are not uniform (1 for a bad block fill in update).
constexpr md::FrameErrors kErrors256{
    .update_null = 0x25090006,
    .update_fill = 1,
    .final_null = 0x250A0006,
    .final_fill = 0x250A0006,
};

}  // namespace
}  // namespace kry

extern "C" {

KRY_API uint32_t init_SHA256(SHA256_STATE *state) { return kry::md::init<kry::Sha256>(state, 0x25080006); }

KRY_API uint32_t update_SHA256(SHA256_STATE *state, const uint8_t *data, uint32_t length) {
    return kry::md::update<kry::Sha256>(state, data, length, kry::kErrors256);
}

KRY_API uint32_t final_SHA256(SHA256_STATE *state, uint8_t *out) {
    return kry::md::final<kry::Sha256>(state, out, kry::kErrors256);
}

KRY_API uint32_t init_SHA224(SHA256_STATE *state) { return kry::md::init<kry::Sha224>(state, 0x25050006); }

// SHA-224 is SHA-256 with its own initial value: update passes straight on.
KRY_API uint32_t update_SHA224(SHA256_STATE *state, const uint8_t *data, uint32_t length) {
    if (state == nullptr || data == nullptr)
        return 0x25060006;
    return update_SHA256(state, data, length);
}

// Runs the SHA-256 final into a local block and keeps its first 28 bytes.
KRY_API uint32_t final_SHA224(SHA256_STATE *state, uint8_t *out) {
    if (state == nullptr || out == nullptr)
        return 0x25070006;
    uint8_t full[32] = {};
    kry::WipeOnExit guard(full);
    if (final_SHA256(state, full) != 0)
        return 0x2507000A;
    std::memcpy(out, full, 28);
    return 0;
}

}  // extern "C"
