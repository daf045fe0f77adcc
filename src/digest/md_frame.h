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
    wipe(s->block, sizeof s->block);
    wipe(s->staging, sizeof s->staging);
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
        std::memcpy(s->staging + s->staging_fill, data, take);
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
    s->bit_count += 8 * static_cast<uint64_t>(s->block_fill);

    size_t fill = s->block_fill;
    s->block[fill++] = 0x80;
    if (fill > kPadLimit) {
        std::memset(s->block + fill, 0, B - fill);
        T::compress(*s, s->block);
        fill = 0;
    }
    std::memset(s->block + fill, 0, kLengthAt - fill);
    if constexpr (T::kBigEndian)
        store64_be(s->block + kLengthAt, s->bit_count);
    else
        store64_le(s->block + kLengthAt, s->bit_count);
    T::compress(*s, s->block);
    T::output(*s, out);

    s->staging_fill = 0;
    s->block_fill = 0;
    wipe(s->block, sizeof s->block);
    wipe(s->staging, sizeof s->staging);
    return 0;
}

}  // namespace kry::md

#endif  // KRY_SRC_DIGEST_MD_FRAME_H
