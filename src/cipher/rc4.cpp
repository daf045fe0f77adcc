// RC4 stream cipher: the key-scheduling algorithm (KSA) and the keystream
// generator (PRGA) as commonly published.  Encryption and decryption are
// the same operation.
//
// The record is public, so every state index is reduced modulo 256 before
// use: a state a caller has tampered with gives wrong bytes, never an access
// outside S.
#include "foundation/common.h"

#include <kry/rc4.h>

#include <cstring>

namespace kry {
namespace {

constexpr const char *kSource = "rc4.c";
constexpr uint32_t kErrInput = 0x07000003;  // L_RC4_INTERFACE, invalid input

// The generator's running state.  S[i] for the next step is loaded one step
// ahead, before the current step's swap is stored, so the load need not
// wait for those stores; the swap can only have changed that entry when j
// lands on it, and then the entry now holds the old S[i].
//
// Indices are 8-bit, so they stay inside S whatever the record holds.
struct Generator {
    uint32_t *S;
    uint8_t i, j;
    uint32_t si;  // S[i] for the step about to run (i already advanced)

    explicit Generator(RC4_UNIT &unit) : S(unit.S), i(static_cast<uint8_t>(unit.i + 1)), j(static_cast<uint8_t>(unit.j)) {
        si = S[i];
    }
    void save(RC4_UNIT &unit) const {
        unit.i = static_cast<uint8_t>(i - 1);
        unit.j = j;
    }

    // One PRGA step: j = j + S[i], swap S[i] and S[j], output
    // S[S[i] + S[j]]; then i = i + 1.
    uint8_t next() {
        j = static_cast<uint8_t>(j + si);
        const uint8_t i_next = static_cast<uint8_t>(i + 1);
        uint32_t s_next = S[i_next];
        const uint32_t sj = S[j];
        S[j] = si;
        S[i] = sj;
        if (i_next == j)
            s_next = si;
        const auto k = static_cast<uint8_t>(S[static_cast<uint8_t>(si + sj)]);
        i = i_next;
        si = s_next;
        return k;
    }
};

}  // namespace
}  // namespace kry

using namespace kry;

extern "C" {

KRY_API RC4_UNIT *new_RC4_UNIT(void) {
    auto *unit = static_cast<RC4_UNIT *>(lum_malloc(sizeof(RC4_UNIT), kSource, __LINE__));
    if (unit != nullptr)
        std::memset(unit, 0, sizeof *unit);
    return unit;
}

KRY_API void clean_RC4_UNIT(RC4_UNIT *unit) {
    if (unit != nullptr)
        wipe_object(*unit);
}

KRY_API void free_RC4_UNIT(RC4_UNIT *unit) {
    if (unit == nullptr)
        return;
    wipe_object(*unit);
    lum_free(unit, kSource, __LINE__);
}

KRY_API uint32_t init_RC4(RC4_UNIT *unit, const uint8_t *key, int32_t key_length) {
    if (unit == nullptr || key == nullptr || key_length < 1)
        return kErrInput;
    wipe_object(*unit);
    uint32_t *S = unit->S;
    for (uint32_t n = 0; n < 256; n++)
        S[n] = n;
    // KSA: j = j + S[i] + key[i mod key_length], swap S[i] and S[j].
    const auto length = static_cast<uint32_t>(key_length);
    uint32_t j = 0, k = 0;
    for (uint32_t i = 0; i < 256; i++) {
        const uint32_t si = S[i];
        j = (j + si + key[k]) & 0xFF;
        S[i] = S[j];
        S[j] = si;
        if (++k == length)
            k = 0;
    }
    unit->i = 0;
    unit->j = 0;
    return 0;
}

KRY_API uint32_t do_RC4(RC4_UNIT *unit, const uint8_t *in, uint32_t length, uint8_t *out) {
    if (unit == nullptr || in == nullptr || out == nullptr || length == 0)
        return kErrInput;
    Generator gen(*unit);
    // Eight keystream bytes per step, combined with the input as one word
    // (in and out may be the same buffer: each word is read before it is
    // written).
    for (; length >= 8; length -= 8, in += 8, out += 8) {
        uint64_t ks = 0;
#pragma GCC unroll 8
        for (int b = 0; b < 8; b++)
            ks |= uint64_t{gen.next()} << (8 * b);
        uint64_t word;
        std::memcpy(&word, in, 8);
        word ^= ks;
        std::memcpy(out, &word, 8);
    }
    for (uint32_t n = 0; n < length; n++)
        out[n] = static_cast<uint8_t>(in[n] ^ gen.next());
    gen.save(*unit);
    return 0;
}

}  // extern "C"
