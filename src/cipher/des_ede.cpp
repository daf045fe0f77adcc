// DES-EDE (triple DES, ANSI X9.52 / NIST SP 800-67) for the block-cipher
// unit: two-key (16-byte key, K3 = K1) and three-key (24-byte key) forms.
// The schedule holds the three passes' DES schedules already in the order
// and direction the passes run them, so encryption and decryption are the
// same block function.
#include "cipher/des.h"
#include "cipher/modes.h"
#include "foundation/common.h"

namespace kry::cipher {
namespace {

struct DesEde {
    static constexpr uint32_t kBlock = 8;
    using Schedule = DesEdeKeySchedule;
    static void encrypt(const Schedule &ks, const uint8_t *in, uint8_t *out) { des_ede_block(ks, in, out); }
    static void decrypt(const Schedule &ks, const uint8_t *in, uint8_t *out) { des_ede_block(ks, in, out); }
    static void encrypt_blocks(const Schedule &ks, const uint8_t *in, uint8_t *out, size_t n) {
        des_ede_blocks(ks, in, out, n);
    }
    static void decrypt_blocks(const Schedule &ks, const uint8_t *in, uint8_t *out, size_t n) {
        des_ede_blocks(ks, in, out, n);
    }
    static void cbc_encrypt_blocks(const Schedule &ks, const uint8_t *in, uint8_t *out, size_t n, uint8_t *chain) {
        des_ede_cbc_encrypt(ks, in, out, n, chain);
    }
    static constexpr ModeErrors kErrors{0x04020003, 0x04030003, 0x04040003, 0x04050003, 0x04060003};
    static constexpr uint32_t kErrInit = 0x04010003;  // F_INIT_DES_EDE_KEY, invalid input

    // The unit's key length (16 or 24) selects the two- or three-key form;
    // the decryption arrangement is built only for ECB and CBC decryption.
    // The expansion's own result is not passed on.
    static uint32_t key_schedule(BLOCK_CIPHER_UNIT *unit, const uint8_t *key, const uint8_t *iv,
                                 uint32_t direction) {
        const uint32_t key_length = unit == nullptr ? 0 : unit->key_length;
        // The schedule's own result (a bad key length) is not passed on.
        return expand_key<DesEde>(unit, key, iv, direction, kErrInit,
                                  [key_length](Schedule &ks, const uint8_t *k, bool decrypt) {
                                      (void)des_ede_set_key(k, key_length, ks, decrypt ? 0 : 1);
                                      return 0u;
                                  });
    }
};
static_assert(sizeof(DesEde::Schedule) == 384);

}  // namespace

const Modes kDesEdeModes = modes_of<DesEde>();

}  // namespace kry::cipher
