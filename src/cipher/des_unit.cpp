// DES (FIPS 46-3) for the block-cipher unit.  The schedule is one DES
// schedule whose subkey order sets the direction, so encryption and
// decryption are the same block function.
#include "cipher/des.h"
#include "cipher/modes.h"
#include "foundation/common.h"

namespace kry::cipher {
namespace {

struct Des {
    static constexpr uint32_t kBlock = 8;
    using Schedule = DesKeySchedule;
    static void encrypt(const Schedule &ks, const uint8_t *in, uint8_t *out) { des_encrypt_block(ks, in, out); }
    static void decrypt(const Schedule &ks, const uint8_t *in, uint8_t *out) { des_encrypt_block(ks, in, out); }
    static void encrypt_blocks(const Schedule &ks, const uint8_t *in, uint8_t *out, size_t n) {
        des_encrypt_blocks(ks, in, out, n);
    }
    static void decrypt_blocks(const Schedule &ks, const uint8_t *in, uint8_t *out, size_t n) {
        des_encrypt_blocks(ks, in, out, n);
    }
    static void cbc_encrypt_blocks(const Schedule &ks, const uint8_t *in, uint8_t *out, size_t n, uint8_t *chain) {
        des_cbc_encrypt(ks, in, out, n, chain);
    }
    static constexpr ModeErrors kErrors{0x03020003, 0x03030003, 0x03040003, 0x03050003, 0x03060003};
    static constexpr uint32_t kErrInit = 0x03010003;  // F_INIT_DES_KEY, invalid input

    // Decryption order only for ECB and CBC decryption: the stream modes
    // encrypt in both directions.
    static uint32_t key_schedule(BLOCK_CIPHER_UNIT *unit, const uint8_t *key, const uint8_t *iv,
                                 uint32_t direction) {
        return expand_key<Des>(unit, key, iv, direction, kErrInit, [](Schedule &ks, const uint8_t *k, bool decrypt) {
            des_set_key(ks, k, decrypt ? DesOrder::decrypt : DesOrder::encrypt);
            return 0u;
        });
    }
};
static_assert(sizeof(Des::Schedule) == 128);

}  // namespace

const Modes kDesModes = modes_of<Des>();

}  // namespace kry::cipher
