// SHA-384 and SHA-512 (FIPS 180-2 section 6.3 and 6.4).
#include "digest/md_frame.h"
#include "digest/sha2.h"

#include <kry/digest.h>

namespace kry {
namespace {

struct Sha512IV {
    static constexpr uint64_t value[8] = {0x6a09e667f3bcc908, 0xbb67ae8584caa73b, 0x3c6ef372fe94f82b,
                                          0xa54ff53a5f1d36f1, 0x510e527fade682d1, 0x9b05688c2b3e6c1f,
                                          0x1f83d9abfb41bd6b, 0x5be0cd19137e2179};
};
struct Sha384IV {
    static constexpr uint64_t value[8] = {0xcbbb9d5dc1059ed8, 0x629a292a367cd507, 0x9159015a3070dd17,
                                          0x152fecd8f70e5939, 0x67332667ffc00b31, 0x8eb44a8768581511,
                                          0xdb0c2e0d64f98fa7, 0x47b5481dbefa4fa4};
};
using Sha512 = sha2::Frame<SHA512_STATE, Sha512IV>;
using Sha384 = sha2::Frame<SHA512_STATE, Sha384IV>;

constexpr md::FrameErrors kErrors512{
    .update_null = 0x25100006,
    .update_fill = 0x25100006,
    .final_null = 0x25110006,
    .final_fill = 0x25110006,
};

}  // namespace
}  // namespace kry

extern "C" {

KRY_API uint32_t init_SHA512(SHA512_STATE *state) { return kry::md::init<kry::Sha512>(state, 0x250F0006); }

KRY_API uint32_t update_SHA512(SHA512_STATE *state, const uint8_t *data, uint32_t length) {
    return kry::md::update<kry::Sha512>(state, data, length, kry::kErrors512);
}

KRY_API uint32_t final_SHA512(SHA512_STATE *state, uint8_t *out) {
    return kry::md::final<kry::Sha512>(state, out, kry::kErrors512);
}

KRY_API uint32_t init_SHA384(SHA512_STATE *state) { return kry::md::init<kry::Sha384>(state, 0x250C0006); }

KRY_API uint32_t update_SHA384(SHA512_STATE *state, const uint8_t *data, uint32_t length) {
    if (state == nullptr || data == nullptr)
        return 0x250D0006;
    return update_SHA512(state, data, length);
}

// Runs the SHA-512 final into a local block and keeps its first 48 bytes.
KRY_API uint32_t final_SHA384(SHA512_STATE *state, uint8_t *out) {
    if (state == nullptr || out == nullptr || state->block_fill >= 128)
        return 0x250E0006;
    uint8_t full[64] = {};
    kry::WipeOnExit guard(full);
    if (final_SHA512(state, full) != 0)
        return 0x25110600;
    std::memcpy(out, full, 48);
    return 0;
}

}  // extern "C"
