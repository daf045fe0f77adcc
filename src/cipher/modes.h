// The mode engine: ECB, CBC, full-block CFB, OFB and CTR written once over
// any block cipher, and the pieces every algorithm's key-schedule function
// shares.
//
// An algorithm supplies a traits class:
//
//   struct Cipher {
//       static constexpr uint32_t kBlock;          // 8 or 16 bytes
//       using Schedule = ...;                      // the key-schedule record
//       static void encrypt(const Schedule &, const uint8_t *in, uint8_t *out);
//       static void decrypt(const Schedule &, const uint8_t *in, uint8_t *out);
//       static constexpr ModeErrors kErrors;       // invalid-argument word per mode
//       static uint32_t key_schedule(BLOCK_CIPHER_UNIT *, const uint8_t *key,
//                                    const uint8_t *iv, uint32_t direction);
//   };
//
// encrypt and decrypt may be given in == out.  decrypt is what ECB and CBC
// run in direction 0 with the schedule the key-schedule function built for
// that direction (for ciphers whose decryption schedule is the encryption
// one reversed, decrypt is the same block function as encrypt).  CFB, OFB
// and CTR run encrypt in both directions.
#ifndef KRY_SRC_CIPHER_MODES_H
#define KRY_SRC_CIPHER_MODES_H

#include "foundation/common.h"

#include <kry/blockcipher.h>

#include <algorithm>
#include <cstdint>
#include <cstring>

namespace kry::cipher {

struct ModeErrors {
    uint32_t ecb, cbc, cfb, ofb, ctr;
};

// What an algorithm module gives the unit's registry.
struct Modes {
    uint32_t schedule_size;  // bytes of the key-schedule record
    BLOCK_KEY_FUNC key_func;
    BLOCK_MODE_FUNC ecb, cbc, cfb, ofb, ctr;  // ctr is null for a cipher without CTR
};

// ---- shared steps of the key-schedule functions ---------------------------

// Copies the IV (when given) into the IV field, then the IV field into the
// feedback register.
inline void load_iv(BLOCK_CIPHER_UNIT *unit, const uint8_t *iv) {
    if (iv != nullptr)
        std::memcpy(unit->iv, iv, std::min<uint32_t>(unit->iv_length, sizeof unit->iv));
    std::memcpy(unit->feedback, unit->iv, sizeof unit->feedback);
}

// Ciphers with distinct schedules build the decryption one only for ECB and
// CBC decryption; the stream modes always encrypt.
inline bool decryption_schedule(const BLOCK_CIPHER_UNIT *unit, uint32_t direction) {
    return direction == 0 && (unit->mode == KRY_MODE_ECB || unit->mode == KRY_MODE_CBC);
}

// The key schedule of a unit, typed; null when the unit has none.
template <class C>
const typename C::Schedule *schedule_of(const BLOCK_CIPHER_UNIT *unit) {
    if (unit == nullptr || unit->key_schedule == nullptr || unit->key_schedule_size < sizeof(typename C::Schedule))
        return nullptr;
    return static_cast<const typename C::Schedule *>(unit->key_schedule);
}

template <class C>
typename C::Schedule *mutable_schedule_of(BLOCK_CIPHER_UNIT *unit) {
    return const_cast<typename C::Schedule *>(schedule_of<C>(unit));
}

// The key-schedule function most ciphers share: the test-mode gate, the IV,
// the expansion when a key is given, then the direction.  expand(schedule,
// key, decrypt) answers 0 or the word to return; err_unit answers a unit
// without a usable schedule (only a damaged record has none).
template <class C, class Expand>
uint32_t expand_key(BLOCK_CIPHER_UNIT *unit, const uint8_t *key, const uint8_t *iv, uint32_t direction,
                    uint32_t err_unit, Expand &&expand) {
    if (uint32_t r = test_mode_gate(); r != 0)
        return r;
    if (unit == nullptr)
        return err_unit;
    load_iv(unit, iv);
    if (key != nullptr) {
        typename C::Schedule *ks = mutable_schedule_of<C>(unit);
        if (ks == nullptr)
            return err_unit;
        if (uint32_t r = expand(*ks, key, decryption_schedule(unit, direction)); r != 0)
            return r;
    }
    unit->direction = direction;
    return 0;
}

// The variant of RC5 and RC2: without a key nothing is expanded and the
// direction is not recorded; the answer is then 1, or 0 when this very call
// ran the module start-up hook through the gate.
template <class C, class Expand>
uint32_t expand_key_or_one(BLOCK_CIPHER_UNIT *unit, const uint8_t *key, const uint8_t *iv, uint32_t direction,
                           uint32_t err_key, Expand &&expand) {
    uint32_t result = 1;
    if (flag_load(test_mode) == 1 && flag_load(initialize_flag) != 0) {
        result = LUMCryptoInitialize();
        if (result != 0)
            return result;
    }
    if (unit == nullptr)
        return err_key;
    load_iv(unit, iv);
    if (key == nullptr)
        return result;
    typename C::Schedule *ks = mutable_schedule_of<C>(unit);
    if (ks == nullptr || expand(*ks, key) != 0)
        return err_key;
    unit->direction = direction;
    return 0;
}

// Adds 1 to an 8-byte big-endian counter (the 64-bit-block ciphers' CTR).
inline void increment_counter64(uint8_t *block) { store64_be(block, load64_be(block) + 1); }

// ---- modes -----------------------------------------------------------------

// Ciphers may also give multi-block ECB functions (several blocks in flight
// at once):  static void encrypt_blocks(const Schedule &, const uint8_t *in,
// uint8_t *out, size_t n) and decrypt_blocks; in == out allowed.
template <class C>
concept MultiBlock = requires(const typename C::Schedule &ks, const uint8_t *in, uint8_t *out, size_t n) {
    C::encrypt_blocks(ks, in, out, n);
    C::decrypt_blocks(ks, in, out, n);
};
// A cipher may give CBC encryption of whole blocks:  static void
// cbc_encrypt_blocks(const Schedule &, const uint8_t *in, uint8_t *out,
// size_t n, uint8_t *chain).
template <class C>
concept CbcBlocks = requires(const typename C::Schedule &ks, const uint8_t *in, uint8_t *out, size_t n, uint8_t *c) {
    C::cbc_encrypt_blocks(ks, in, out, n, c);
};
// A 16-byte-block cipher may give CBC decryption of whole blocks:  static
// void cbc_decrypt_blocks(const Schedule &, const uint8_t *in, uint8_t *out,
// size_t n, uint8_t *chain) (chain updated to the last ciphertext block).
template <class C>
concept CbcDecryptBlocks = requires(const typename C::Schedule &ks, const uint8_t *in, uint8_t *out, size_t n,
                                    uint8_t *c) {
    C::cbc_decrypt_blocks(ks, in, out, n, c);
};
// and CTR over whole blocks:  static void ctr_blocks(const Schedule &, const
// uint8_t *in, uint8_t *out, size_t n, uint8_t *counter, uint8_t *stream),
// which increments the counter n times as a 128-bit big-endian number and
// leaves the last keystream block in stream (when n != 0).
template <class C>
concept CtrBlocks = requires(const typename C::Schedule &ks, const uint8_t *in, uint8_t *out, size_t n, uint8_t *c,
                             uint8_t *s) {
    C::ctr_blocks(ks, in, out, n, c, s);
};
constexpr uint32_t kBatch = 8;  // blocks per multi-block call in CBC, CFB and CTR

// out = a ^ b over one block (any of them may alias).
template <uint32_t B>
inline void xor_block(uint8_t *out, const uint8_t *a, const uint8_t *b) {
    for (uint32_t i = 0; i < B; i += 8) {
        uint64_t x, y;
        std::memcpy(&x, a + i, 8);
        std::memcpy(&y, b + i, 8);
        x ^= y;
        std::memcpy(out + i, &x, 8);
    }
}

template <class C>
uint32_t ecb(BLOCK_CIPHER_UNIT *unit, uint8_t *out, const uint8_t *in, uint32_t length) {
    const auto *ks = schedule_of<C>(unit);
    if (ks == nullptr || out == nullptr || in == nullptr)
        return C::kErrors.ecb;
    const bool enc = unit->direction == 1;
    if constexpr (MultiBlock<C>) {
        if (enc)
            C::encrypt_blocks(*ks, in, out, length / C::kBlock);
        else
            C::decrypt_blocks(*ks, in, out, length / C::kBlock);
        return 0;
    }
    for (uint32_t n = length / C::kBlock; n != 0; n--, in += C::kBlock, out += C::kBlock) {
        if (enc)
            C::encrypt(*ks, in, out);
        else
            C::decrypt(*ks, in, out);
    }
    return 0;
}

template <class C>
uint32_t cbc(BLOCK_CIPHER_UNIT *unit, uint8_t *out, const uint8_t *in, uint32_t length) {
    constexpr uint32_t B = C::kBlock;
    const auto *ks = schedule_of<C>(unit);
    if (ks == nullptr || out == nullptr || in == nullptr)
        return C::kErrors.cbc;
    uint8_t *chain = unit->feedback;
    const uint32_t rest = length % B;
    uint8_t block[B] = {};
    WipeOnExit wipe_block(block);

    if (unit->direction == 1) {
        if constexpr (CbcBlocks<C>) {
            C::cbc_encrypt_blocks(*ks, in, out, length / B, chain);
            in += length - rest, out += length - rest;
        } else {
            for (uint32_t n = length / B; n != 0; n--, in += B, out += B) {
                for (uint32_t i = 0; i < B; i++)
                    block[i] = chain[i] ^ in[i];
                C::encrypt(*ks, block, chain);
                std::memcpy(out, chain, B);
            }
        }
        if (rest != 0) {
            // A trailing partial block is combined with the chaining value
            // over its length (the chaining value's own bytes fill the rest)
            // and encrypted whole; only its length reaches the output.
            std::memcpy(block, chain, B);
            for (uint32_t i = 0; i < rest; i++)
                block[i] ^= in[i];
            C::encrypt(*ks, block, chain);
            std::memcpy(out, chain, rest);
        }
        return 0;
    }

    uint32_t whole = length / B;
    if constexpr (CbcDecryptBlocks<C> && B == 16) {
        C::cbc_decrypt_blocks(*ks, in, out, whole, chain);
        in += whole * B, out += whole * B, whole = 0;
    }
    if constexpr (MultiBlock<C>) {
        uint8_t cts[kBatch * B], pts[kBatch * B];
        WipeOnExit wipe_cts(cts), wipe_pts(pts);
        while (whole >= 2) {
            const uint32_t m = std::min(whole, kBatch);
            std::memcpy(cts, in, m * B);  // in may be out
            C::decrypt_blocks(*ks, cts, pts, m);
            xor_block<B>(out, pts, chain);
            for (uint32_t j = 1; j < m; j++)
                xor_block<B>(out + j * B, pts + j * B, cts + (j - 1) * B);
            std::memcpy(chain, cts + (m - 1) * B, B);
            in += m * B, out += m * B, whole -= m;
        }
    }
    uint8_t saved[B] = {};
    WipeOnExit wipe_saved(saved);
    for (uint32_t n = whole; n != 0; n--, in += B, out += B) {
        std::memcpy(saved, in, B);  // in may be out
        C::decrypt(*ks, saved, block);
        for (uint32_t i = 0; i < B; i++)
            out[i] = block[i] ^ chain[i];
        std::memcpy(chain, saved, B);
    }
    if (rest != 0) {
        // A trailing partial block is decrypted from a zero-filled copy and
        // only its length is output; the copy becomes the chaining value.
        std::memset(saved, 0, B);
        std::memcpy(saved, in, rest);
        C::decrypt(*ks, saved, block);
        for (uint32_t i = 0; i < rest; i++)
            out[i] = block[i] ^ chain[i];
        std::memcpy(chain, saved, B);
    }
    return 0;
}

// Full-block CFB: the register is encrypted in place at each block start and
// then takes the ciphertext bytes.  Whole blocks at a block start take the
// fast path; the byte loop serves the rest (same results).
template <class C>
uint32_t cfb(BLOCK_CIPHER_UNIT *unit, uint8_t *out, const uint8_t *in, uint32_t length) {
    constexpr uint32_t B = C::kBlock;
    const auto *ks = schedule_of<C>(unit);
    if (ks == nullptr || out == nullptr || in == nullptr)
        return C::kErrors.cfb;
    uint8_t *reg = unit->feedback;
    uint32_t pos = unit->position & (B - 1);
    const bool enc = unit->direction == 1;
    while (length > 0) {
        if (pos == 0 && length >= B) {
            C::encrypt(*ks, reg, reg);
            if (enc) {
                xor_block<B>(reg, reg, in);
                std::memcpy(out, reg, B);
            } else {
                uint8_t c[B];
                std::memcpy(c, in, B);  // in may be out
                xor_block<B>(out, reg, c);
                std::memcpy(reg, c, B);
            }
            in += B, out += B, length -= B;
            continue;
        }
        if (pos == 0)
            C::encrypt(*ks, reg, reg);
        const uint8_t x = *in++;
        const uint8_t y = static_cast<uint8_t>(reg[pos] ^ x);
        *out++ = y;
        reg[pos] = enc ? y : x;
        pos = (pos + 1) & (B - 1);
        length--;
    }
    unit->position = pos;
    return 0;
}

template <class C>
uint32_t ofb(BLOCK_CIPHER_UNIT *unit, uint8_t *out, const uint8_t *in, uint32_t length) {
    constexpr uint32_t B = C::kBlock;
    const auto *ks = schedule_of<C>(unit);
    if (ks == nullptr || out == nullptr || in == nullptr)
        return C::kErrors.ofb;
    uint8_t *reg = unit->feedback;
    uint32_t pos = unit->position & (B - 1);
    while (length > 0) {
        if (pos == 0 && length >= B) {
            C::encrypt(*ks, reg, reg);
            xor_block<B>(out, in, reg);
            in += B, out += B, length -= B;
            continue;
        }
        if (pos == 0)
            C::encrypt(*ks, reg, reg);
        *out++ = static_cast<uint8_t>(reg[pos] ^ *in++);
        pos = (pos + 1) & (B - 1);
        length--;
    }
    unit->position = pos;
    return 0;
}

// CTR: the first keystream block is the encryption of the IV itself; the
// counter is incremented after each block (16-byte blocks as a 128-bit,
// 8-byte blocks as a 64-bit big-endian number).
template <class C>
uint32_t ctr(BLOCK_CIPHER_UNIT *unit, uint8_t *out, const uint8_t *in, uint32_t length) {
    constexpr uint32_t B = C::kBlock;
    const auto *ks = schedule_of<C>(unit);
    if (ks == nullptr || out == nullptr || in == nullptr)
        return C::kErrors.ctr;
    uint8_t *counter = unit->feedback;
    uint8_t *stream = unit->keystream;
    const auto next_block = [&] {
        C::encrypt(*ks, counter, stream);
        if constexpr (B == 16)
            increaseCounter(counter);
        else
            increment_counter64(counter);
    };
    uint32_t pos = unit->position & (B - 1);
    if constexpr (CtrBlocks<C> && B == 16) {
        if (pos == 0 && length >= B) {
            const uint32_t whole = length / B;
            C::ctr_blocks(*ks, in, out, whole, counter, stream);
            in += whole * B, out += whole * B, length -= whole * B;
        }
    }
    if constexpr (MultiBlock<C> && B == 16) {
        if (pos == 0 && length >= 2 * B) {
            uint8_t ks_buf[kBatch * B];
            WipeOnExit wipe_ks(ks_buf);
            while (length >= 2 * B) {
                const uint32_t m = std::min(length / B, kBatch);
                uint64_t hi = load64_be(counter), lo = load64_be(counter + 8);
                for (uint32_t j = 0; j < m; j++) {
                    store64_be(ks_buf + j * B, hi);
                    store64_be(ks_buf + j * B + 8, lo);
                    hi += (++lo == 0);  // the 128-bit big-endian increment of increaseCounter
                }
                store64_be(counter, hi);
                store64_be(counter + 8, lo);
                C::encrypt_blocks(*ks, ks_buf, ks_buf, m);
                for (uint32_t j = 0; j < m; j++)
                    xor_block<B>(out + j * B, in + j * B, ks_buf + j * B);
                std::memcpy(stream, ks_buf + (m - 1) * B, B);
                in += m * B, out += m * B, length -= m * B;
            }
        }
    }
    if constexpr (MultiBlock<C> && B == 8) {
        if (pos == 0 && length >= 2 * B) {
            uint8_t ks_buf[kBatch * B];
            WipeOnExit wipe_ks(ks_buf);
            while (length >= 2 * B) {
                const uint32_t m = std::min(length / B, kBatch);
                uint64_t c = load64_be(counter);
                for (uint32_t j = 0; j < m; j++)
                    store64_be(ks_buf + j * B, c++);  // the 64-bit increment of increment_counter64
                store64_be(counter, c);
                C::encrypt_blocks(*ks, ks_buf, ks_buf, m);
                for (uint32_t j = 0; j < m; j++)
                    xor_block<B>(out + j * B, in + j * B, ks_buf + j * B);
                std::memcpy(stream, ks_buf + (m - 1) * B, B);
                in += m * B, out += m * B, length -= m * B;
            }
        }
    }
    while (length > 0) {
        if (pos == 0 && length >= B) {
            next_block();
            xor_block<B>(out, in, stream);
            in += B, out += B, length -= B;
            continue;
        }
        if (pos == 0)
            next_block();
        *out++ = static_cast<uint8_t>(stream[pos] ^ *in++);
        pos = (pos + 1) & (B - 1);
        length--;
    }
    unit->position = pos;
    return 0;
}

template <class C, bool kHasCtr = true>
constexpr Modes modes_of() {
    static_assert(C::kBlock == 8 || C::kBlock == 16);
    return Modes{
        static_cast<uint32_t>(sizeof(typename C::Schedule)),
        C::key_schedule,
        ecb<C>,
        cbc<C>,
        cfb<C>,
        ofb<C>,
        kHasCtr ? ctr<C> : nullptr,
    };
}

// The algorithm modules' tables for the unit's registry.
extern const Modes kAesModes;
extern const Modes kAriaModes;
extern const Modes kSeedModes;
extern const Modes kDesModes;
extern const Modes kDesEdeModes;
extern const Modes kRc5Modes;
extern const Modes kBlowfishModes;
extern const Modes kRc2Modes;

}  // namespace kry::cipher

#endif  // KRY_SRC_CIPHER_MODES_H
