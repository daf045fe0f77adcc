// MDC-2 (ISO/IEC 10118-2), the double-length hash built on DES: 8-byte
// blocks, a 16-byte chaining value h || hh and a 16-byte digest.
#include <kry/digest.h>

#include "cipher/des.h"
#include "foundation/common.h"

namespace {

constexpr uint32_t kLibMdc2 = 0x0C;
constexpr uint32_t kErrInitNull = kry::error_word(kLibMdc2, 1, 6);    // 0x0C010006
constexpr uint32_t kErrUpdateNull = kry::error_word(kLibMdc2, 2, 6);  // 0x0C020006
constexpr uint32_t kErrFinalNull = kry::error_word(kLibMdc2, 3, 6);   // 0x0C030006

constexpr uint32_t kBlock = 8;
constexpr uint8_t kInitH = 0x52;   // ISO/IEC 10118-2 initial value of h
constexpr uint8_t kInitHH = 0x25;  // and of hh

// Compresses nblocks 8-byte blocks into the chaining value.  For each block
// M the keys are h and hh with the second and third bits of their first
// byte forced to 10 and 01; A = E(h', M) xor M and B = E(hh', M) xor M; the
// new h is the left half of A with the right half of B, the new hh the left
// half of B with the right half of A.  Both encryptions share M's IP.
void mdc2_blocks(MDC2_STATE &st, const uint8_t *data, size_t nblocks) {
    kry::DesKeySchedule ks1, ks2;
    kry::WipeOnExit wipe_ks1(ks1), wipe_ks2(ks2);
    uint64_t h = kry::load64_be(st.h), hh = kry::load64_be(st.hh);

    for (; nblocks != 0; --nblocks, data += kBlock) {
        kry::des_set_key64(ks1, (h & 0x9FFFFFFFFFFFFFFFull) | 0x4000000000000000ull);
        kry::des_set_key64(ks2, (hh & 0x9FFFFFFFFFFFFFFFull) | 0x2000000000000000ull);

        const uint32_t ml = kry::load32_be(data), mr = kry::load32_be(data + 4);
        uint32_t al = ml, ar = mr;
        kry::des_ip(al, ar);
        uint32_t bl = al, br = ar;
        kry::des_crypt_words(ks1, al, ar, false);
        kry::des_crypt_words(ks2, bl, br, false);
        kry::des_fp(al, ar);
        kry::des_fp(bl, br);

        h = (uint64_t{al ^ ml} << 32) | (br ^ mr);
        hh = (uint64_t{bl ^ ml} << 32) | (ar ^ mr);
    }
    kry::store64_be(st.h, h);
    kry::store64_be(st.hh, hh);
}

}  // namespace

extern "C" {

KRY_API uint32_t init_MDC2(MDC2_STATE *state) {
    if (uint32_t r = kry::test_mode_gate(); r != 0) return r;
    if (state == nullptr) return kErrInitNull;
    state->num = 0;
    state->pad_type = 1;
    std::memset(state->h, kInitH, sizeof state->h);
    std::memset(state->hh, kInitHH, sizeof state->hh);
    // The data buffer is left as it is.
    return 0;
}

KRY_API uint32_t update_MDC2(MDC2_STATE *state, const uint8_t *data, uint32_t length) {
    if (state == nullptr || state->num >= kBlock) return kErrUpdateNull;
    if (length == 0) return 0;
    if (data == nullptr) return kErrUpdateNull;

    if (state->num != 0) {
        uint32_t room = kBlock - state->num;
        if (length < room) {  // the block is still not complete
            std::memcpy(state->data + state->num, data, length);
            state->num += length;
            return 0;
        }
        std::memcpy(state->data + state->num, data, room);
        mdc2_blocks(*state, state->data, 1);
        data += room;
        length -= room;
        state->num = 0;
    }
    const uint32_t whole = length / kBlock;
    mdc2_blocks(*state, data, whole);
    data += size_t{whole} * kBlock;
    length -= whole * kBlock;
    std::memcpy(state->data, data, length);
    state->num = length;
    return 0;
}

KRY_API uint32_t final_MDC2(MDC2_STATE *state, uint8_t *out) {
    if (state == nullptr || out == nullptr || state->num >= kBlock) return kErrFinalNull;

    uint32_t used = state->num;
    if (used != 0 || state->pad_type == 2) {
        if (state->pad_type == 2) state->data[used++] = 0x80;
        std::memset(state->data + used, 0, kBlock - used);
        mdc2_blocks(*state, state->data, 1);
    }
    std::memcpy(out, state->h, kBlock);
    std::memcpy(out + kBlock, state->hh, kBlock);
    // The state is not cleared: the caller may read or reuse it.
    return 0;
}

}  // extern "C"
