// Placeholder until the algorithm lands.
#include "cipher/modes.h"

namespace kry::cipher {
namespace {
struct SeedPlaceholder {
    static constexpr uint32_t kBlock = 16;
    struct Schedule {
        uint8_t bytes[128];
    };
    static void encrypt(const Schedule &, const uint8_t *, uint8_t *) {}
    static void decrypt(const Schedule &, const uint8_t *, uint8_t *) {}
    static constexpr ModeErrors kErrors{1, 1, 1, 1, 1};
    static uint32_t key_schedule(BLOCK_CIPHER_UNIT *, const uint8_t *, const uint8_t *, uint32_t) { return 0; }
};
}  // namespace
const Modes kSeedModes = modes_of<SeedPlaceholder>();
}  // namespace kry::cipher
