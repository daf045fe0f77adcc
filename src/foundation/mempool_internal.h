// Internal pieces of the memory pools and memory buffers shared with the
// memory-buffer streams.
//
// The memory buffer's address stride.  Wherever the buffer code adds a byte
// count to an address (the write position inside a block, the source pointer
// after a partial copy, the destination inside the array memBufToArray
// fills) it adds four times the count, while the counts themselves grow by
// one per byte.  This is the buffer layer's defined behaviour, shared with
// the streams over memory buffers.
//
// Every strided access is kept inside its buffer: a block the library
// allocates has a data area of kMemBufStride times its capacity (used + free)
// bytes, zero-filled, so every write of memBufUpdate stays inside it; reads
// from the caller's data and writes into the array of memBufToArray are
// checked, and the first access that would leave its buffer ends the call
// with kMemBufFailed, keeping what was done.
#ifndef KRY_SRC_FOUNDATION_MEMPOOL_INTERNAL_H
#define KRY_SRC_FOUNDATION_MEMPOOL_INTERNAL_H

#include <kry/mempool.h>

#include <cstdint>

namespace kry {

// Address bytes per counted byte.
inline constexpr uint32_t kMemBufStride = 4;

// Result of a memory-buffer call that failed.
inline constexpr uint32_t kMemBufFailed = 35;

// Block size used when none is given.
inline constexpr uint32_t kMemBufDefaultBlockSize = 512;

// Address offset of `count` counted bytes.
inline constexpr uint64_t membuf_offset(uint64_t count) { return count * kMemBufStride; }

// Bytes in the data area the library allocates for a block holding
// `capacity` counted bytes.
inline constexpr uint64_t membuf_data_bytes(uint64_t capacity) {
    return capacity * kMemBufStride;
}

// Bytes in the data area of a block the library allocated.
inline uint64_t membuf_block_bytes(const MEM_BUF_BLOCK *block) {
    return membuf_data_bytes(uint64_t{block->used} + block->free);
}

}  // namespace kry

#endif  // KRY_SRC_FOUNDATION_MEMPOOL_INTERNAL_H
