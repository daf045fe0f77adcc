// RC4 stream cipher: the key-scheduling algorithm (KSA) and the keystream
// generator (PRGA) as commonly published.  Encryption and decryption are
// the same operation.
//
// The record is public, so every state index is reduced modulo 256 before
// use: a state a caller has tampered with gives wrong bytes, never an access
// outside S.  (The entries of S are 32-bit words; only their low bytes take
// part in the indices and the output, as in the byte-wise description.)
#include "foundation/common.h"

#include <kry/rc4.h>

#include <cstddef>
#include <cstring>

namespace kry {
namespace {

constexpr const char *kSource = "rc4.c";
constexpr uint32_t kErrInput = 0x07000003;  // L_RC4_INTERFACE, invalid input

// One PRGA step on the record's state: i = i + 1, j = j + S[i], swap S[i]
// and S[j], output S[S[i] + S[j]].
inline uint8_t step(uint32_t *S, uint8_t &i, uint8_t &j) {
    i = static_cast<uint8_t>(i + 1);
    const uint32_t si = S[i];
    j = static_cast<uint8_t>(j + si);
    const uint32_t sj = S[j];
    S[i] = sj;
    S[j] = si;
    return static_cast<uint8_t>(S[static_cast<uint8_t>(si + sj)]);
}

// j = (j + s) mod 256 for j < 256.  On x86 an 8-bit add does it in one
// operation, the upper bits of j staying zero, which keeps the chain of j
// updates (the only chain from one step to the next) at one cycle a step.
inline void add_low_byte(size_t &j, uint32_t s) {
#if (defined(__x86_64__) || defined(__i386__)) && !defined(KRY_PORTABLE)
    __asm__("addb %b1, %b0" : "+q"(j) : "q"(s));
#else
    j = (j + s) & 0xFF;
#endif
}

// Eight steps at a time from an i that is a multiple of 8, so that the
// eight entries S[i..i+7] lie at fixed offsets from one pointer.  S[i] for
// the next step is loaded before the current step's swap is stored, so the
// load need not wait for those stores; the swap changes that entry only
// when j lands on it (once in 256 steps on average, a rarely taken branch
// rather than a conditional move on the chain of j), and the entry then
// holds the old S[i].  Returns the bytes left over (fewer than 8).
uint32_t generate_words(uint32_t *S, uint8_t &i8, uint8_t &j8, const uint8_t *in, uint32_t length, uint8_t *out) {
    size_t i = static_cast<uint8_t>(i8 + 1), j = j8;  // i: the next step's index
    uint32_t si = S[i];
    for (; length >= 8; length -= 8, in += 8, out += 8) {
        uint32_t *Si = S + i;
        const size_t i_end = (i + 8) & 0xFF;
        uint64_t ks = 0;
#pragma GCC unroll 8
        for (uint32_t b = 0; b < 8; b++) {
            add_low_byte(j, si);
            const size_t i_next = b < 7 ? i + b + 1 : i_end;
            uint32_t s_next = b < 7 ? Si[b + 1] : S[i_end];
            const uint32_t sj = S[j];
            Si[b] = sj;
            S[j] = si;
            if (__builtin_expect(i_next == j, 0)) {
                __asm__ volatile("" : "+r"(s_next) : "r"(si));  // keeps this a branch
                s_next = si;
            }
            ks |= uint64_t{static_cast<uint8_t>(S[static_cast<uint8_t>(si + sj)])} << (8 * b);
            si = s_next;
        }
        i = i_end;
        // in and out may be the same buffer: the word is read before it is
        // written.
        uint64_t word;
        std::memcpy(&word, in, 8);
        word ^= ks;
        std::memcpy(out, &word, 8);
    }
    i8 = static_cast<uint8_t>(i - 1);
    j8 = static_cast<uint8_t>(j);
    return length;
}

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
    // The record's indices are reduced modulo 256, so the state stays
    // within S whatever the record holds.
    uint32_t *S = unit->S;
    auto i = static_cast<uint8_t>(unit->i), j = static_cast<uint8_t>(unit->j);
    // Single steps up to an index that is a multiple of 8, whole words, the
    // rest in single steps.
    for (; length != 0 && (i & 7) != 7; length--)
        *out++ = static_cast<uint8_t>(*in++ ^ step(S, i, j));
    if (length >= 8) {
        const uint32_t rest = generate_words(S, i, j, in, length, out);
        in += length - rest, out += length - rest, length = rest;
    }
    for (; length != 0; length--)
        *out++ = static_cast<uint8_t>(*in++ ^ step(S, i, j));
    unit->i = i;
    unit->j = j;
    return 0;
}

}  // extern "C"
