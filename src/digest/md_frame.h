// The Merkle-Damgard frame shared by SHA-1, SHA-224/256, SHA-384/512 and MD5.
//
// Update gathers input in the state's staging buffer and compresses it each
// time a whole block has been gathered; the block buffer is used only by
// final, for the last partial block and the padding.  The algorithms
// differ in block size, in the byte order of the length field and of the
// output, and in the error words each entry returns; a traits class
// supplies those:
//
//   struct Traits {
//       using State = ...;                   // the public state record
//       static constexpr size_t kBlock;      // 64 or 128 bytes
//       static constexpr bool kBigEndian;    // length field byte order
//       static constexpr uint64_t kFlushBits;// bits counted when final's flush fills a block
//       static constexpr Word kIV[];         // initial hash value
//       static Word *chain(State &);         // the chaining words
//       static void compress(State &, const uint8_t *blocks, size_t n = 1);
//       static void output(const State &, uint8_t *out);
//   };
#ifndef KRY_SRC_DIGEST_MD_FRAME_H
#define KRY_SRC_DIGEST_MD_FRAME_H

#include "foundation/common.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <iterator>

namespace kry::md {

// Error words of one algorithm's update and final entries.
struct FrameErrors {
    uint32_t update_null;   // state or data null
    uint32_t update_fill;   // block fill above the block size
    uint32_t final_null;    // state or output null
    uint32_t final_fill;    // block fill at or above the block size
};

// Sixteen-byte lanes for assembling blocks: every byte of a block the
// block function reads is written by one sixteen-byte store, which the
// processor forwards to its load at once (a load spanning several smaller
// stores waits for them to reach the cache).
typedef signed char V16 __attribute__((vector_size(16)));
typedef uint64_t V2x64 __attribute__((vector_size(16)));

// dst = the first n (< B) bytes of src, the 0x80 byte at n, zeros, and with
// `length` the length field (already in its byte order) in the last 8 bytes.
template <size_t B>
inline void last_block(uint8_t *dst, const uint8_t *src, size_t n, bool length, uint64_t length_field) {
    static_assert(B % 16 == 0 && B <= 128);
    const V16 index = {0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15};
    const V16 limit = V16{} + static_cast<signed char>(n);
    const V16 marker = V16{} + static_cast<signed char>(-128);
    for (size_t c = 0; c < B; c += 16) {
        // Lanes wholly past the staged bytes are not read: the staging
        // buffer there may still hold bytes of wider or misplaced stores
        // (a state copied in whole), whose forwarding would stall the load.
        V16 v = {};
        if (c < n)
            std::memcpy(&v, src + c, 16);
        const V16 at = index + static_cast<signed char>(c);
        v = (v & (at < limit)) | (marker & (at == limit));
        if (c == B - 16 && length) {
            V2x64 u = (V2x64)v;  // the same sixteen bytes as two words
            u[1] = length_field;
            v = (V16)u;
        }
        std::memcpy(dst + c, &v, 16);
    }
}

// dst = zeros and the length field in the last 8 bytes.
template <size_t B>
inline void length_block(uint8_t *dst, uint64_t length_field) {
    for (size_t c = 0; c < B; c += 16) {
        V2x64 u = {0, c == B - 16 ? length_field : 0};
        std::memcpy(dst + c, &u, 16);
    }
}

// Copies n bytes; short copies move sixteen bytes at a time, so that a
// block written that way is read back by the same sixteen-byte pieces.
inline void copy_bytes(uint8_t *dst, const uint8_t *src, size_t n) {
    if (n > 64) {
        std::memcpy(dst, src, n);
        return;
    }
    for (; n >= 16; n -= 16, dst += 16, src += 16)
        std::memcpy(dst, src, 16);
    for (; n != 0; n--)
        *dst++ = *src++;
}

// True when the sixteen bytes at p straddle a 4 KiB page boundary.  The
// records are allocated anywhere, their buffers at any offset: a piece
// across a page costs many times an ordinary access, store or load.
inline bool crosses_page(const void *p) { return (reinterpret_cast<uintptr_t>(p) & 4095) > 4096 - 16; }

// Zeroes a buffer of the record as wipe() does, by sixteen-byte stores,
// but a piece across a page boundary by two stores that end and start at
// the boundary.
template <size_t n>
inline void wipe_pieces(uint8_t (&p)[n]) {
    static_assert(n % 16 == 0);
    const V2x64 zero = {};
    for (size_t c = 0; c < n; c += 16) {
        if (crosses_page(p + c)) [[unlikely]] {
            const size_t k = 4096 - (reinterpret_cast<uintptr_t>(p + c) & 4095);
            std::memset(p + c, 0, k);
            std::memset(p + c + k, 0, 16 - k);
        } else {
            std::memcpy(p + c, &zero, 16);
        }
        __asm__ __volatile__("" : : "r"(p) : "memory");  // no dead stores, no string store
    }
}

// Copies n bytes (a multiple of 16) by sixteen-byte pieces, a piece across
// a page boundary of dst by two copies meeting at the boundary.
inline void copy_pieces(uint8_t *dst, const uint8_t *src, size_t n) {
    for (size_t c = 0; c < n; c += 16) {
        if (crosses_page(dst + c)) [[unlikely]] {
            const size_t k = 4096 - (reinterpret_cast<uintptr_t>(dst + c) & 4095);
            std::memcpy(dst + c, src + c, k);
            std::memcpy(dst + c + k, src + c + k, 16 - k);
        } else {
            std::memcpy(dst + c, src + c, 16);
        }
    }
}

// init: the initial hash value, counts and fills zero, both buffers zeroed.
template <class T>
uint32_t init(typename T::State *s, uint32_t null_error) {
    if (uint32_t r = test_mode_gate(); r != 0)
        return r;
    if (s == nullptr)
        return null_error;
    s->bit_count = 0;
    s->block_fill = 0;
    s->staging_fill = 0;
    std::copy(std::begin(T::kIV), std::end(T::kIV), T::chain(*s));
    wipe_pieces(s->block);
    wipe_pieces(s->staging);
    return 0;
}

template <class T>
uint32_t update(typename T::State *s, const uint8_t *data, uint32_t len, const FrameErrors &e) {
    constexpr size_t B = T::kBlock;
    if (s == nullptr || data == nullptr)
        return e.update_null;
    // A staging fill of a whole block or more cannot come out of this
    // frame; a record in that state is refused like a bad block fill.
    if (s->block_fill > B || s->staging_fill >= B)
        return e.update_fill;
    while (len > 0) {
        if (s->staging_fill == 0 && len >= B) {
            // Whole blocks are compressed straight from the input.  The last
            // of them is left in the staging buffer, so the record ends up
            // exactly as if every block had been staged first.
            const size_t n = len / B;
            T::compress(*s, data, n);
            s->bit_count += 8 * B * n;
            std::memcpy(s->staging, data + (n - 1) * B, B);
            data += n * B;
            len -= static_cast<uint32_t>(n * B);
            continue;
        }
        size_t take = std::min<size_t>(B - s->staging_fill, len);
        copy_bytes(s->staging + s->staging_fill, data, take);
        s->staging_fill = static_cast<uint8_t>(s->staging_fill + take);
        data += take;
        len -= static_cast<uint32_t>(take);
        if (s->staging_fill == B) {
            T::compress(*s, s->staging);
            s->bit_count += 8 * B;
            s->staging_fill = 0;
        }
    }
    return 0;
}

template <class T>
uint32_t final(typename T::State *s, uint8_t *out, const FrameErrors &e) {
    constexpr size_t B = T::kBlock;
    constexpr size_t kLengthAt = B - 8;            // low 64 bits of the length field
    constexpr size_t kPadLimit = B == 64 ? 56 : 112; // room left for the length field
    if (s == nullptr || out == nullptr)
        return e.final_null;
    if (s->block_fill >= B || s->staging_fill >= B)
        return e.final_fill;

    auto length_field = [s] {
        return T::kBigEndian ? __builtin_bswap64(s->bit_count) : s->bit_count;
    };
    // The last block is assembled here, in a buffer of its own on the
    // stack, aligned so that none of its sixteen-byte pieces straddles a
    // cache line or a page; the record's block buffer, which ends wiped
    // either way, may sit across a page boundary wherever the record was
    // allocated, and every access to such a piece is slow.
    alignas(64) uint8_t local[B];
    const uint8_t *last = s->block;
    if (s->block_fill == 0) {
        // The usual case (update never fills the block buffer): the staged
        // bytes, fewer than a block, become the start of the last block;
        // the bytes the staging buffer keeps past them are not taken.
        const size_t fill = s->staging_fill;
        s->bit_count += 8 * static_cast<uint64_t>(fill);
        const bool fits = fill < kPadLimit;
        last_block<B>(local, s->staging, fill, fits, length_field());
        if (!fits) {
            T::compress(*s, local);
            length_block<B>(local, length_field());
        }
        last = local;
    } else {
        // Move the staged bytes behind whatever the block buffer holds.
        if (s->staging_fill != 0) {
            size_t n = std::min<size_t>(s->staging_fill, B - s->block_fill);
            std::memcpy(s->block + s->block_fill, s->staging, n);
            s->block_fill += static_cast<uint32_t>(n);
            if (s->block_fill == B) {
                T::compress(*s, s->block);
                s->bit_count += T::kFlushBits;
                s->block_fill = 0;
            }
        }
        size_t fill = s->block_fill;
        s->bit_count += 8 * static_cast<uint64_t>(fill);
        std::memset(s->block + fill, 0, B - fill);
        s->block[fill++] = 0x80;
        if (fill > kPadLimit) {
            T::compress(*s, s->block);
            std::memset(s->block, 0, kLengthAt);
        }
        if constexpr (T::kBigEndian)
            store64_be(s->block + kLengthAt, s->bit_count);
        else
            store64_le(s->block + kLengthAt, s->bit_count);
    }
    T::compress(*s, last);
    T::output(*s, out);
    if (last == local) {
        // Wiped by sixteen-byte pieces: one wipe of the whole buffer may
        // become a string store, whose start-up costs more than the stores.
        for (size_t c = 0; c < B; c += 16)
            wipe(local + c, 16);
    }

    s->staging_fill = 0;
    s->block_fill = 0;
    wipe_pieces(s->block);
    wipe_pieces(s->staging);
    return 0;
}

}  // namespace kry::md

#endif  // KRY_SRC_DIGEST_MD_FRAME_H
