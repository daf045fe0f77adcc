// Fragments: the large allocations a memory pool carves its blocks from.
//
// A fragment is a header (next fragment, used, free) followed by its data
// area; used + free is its capacity.  Blocks are taken either bottom-up from
// the start of the free area (memFragAllocAppend) or top-down from its end
// (memFragAllocPrepend).  The two directions share the used and free counts,
// so a fragment is meant to be filled in one direction only.

#include <kry/mempool.h>

#include "foundation/common.h"

#include <cstdint>

namespace {

constexpr char kFile[] = ".\\src\\memfrag";

uint8_t *fragment_data(MEM_FRAG *fragment) { return reinterpret_cast<uint8_t *>(fragment + 1); }

}  // namespace

extern "C" {

// The size rounded up to a multiple of 8 (32-bit arithmetic: sizes above
// 0xFFFFFFF8 wrap to 0; the pool calls refuse them before rounding).
KRY_API uint32_t memAlignmentCeiling(uint32_t size) { return (size + 7u) & ~7u; }

KRY_API void memFragInit(MEM_FRAG *fragment, uint32_t capacity) {
    if (fragment == nullptr)
        return;
    fragment->next = nullptr;
    fragment->used = 0;
    fragment->free = capacity;
}

// Header and data area in one allocation.
KRY_API MEM_FRAG *memFragAlloc(uint32_t capacity) {
    if (capacity > UINT32_MAX - sizeof(MEM_FRAG))
        return nullptr;
    auto *fragment = static_cast<MEM_FRAG *>(
        lum_malloc(static_cast<uint32_t>(sizeof(MEM_FRAG) + capacity), kFile, __LINE__));
    memFragInit(fragment, capacity);
    return fragment;
}

KRY_API void *memFragAllocAppend(MEM_FRAG *fragment, uint32_t size) {
    if (fragment == nullptr || size > fragment->free)
        return nullptr;
    uint8_t *block = fragment_data(fragment) + fragment->used;
    fragment->used += size;
    fragment->free -= size;
    return block;
}

KRY_API void *memFragAllocPrepend(MEM_FRAG *fragment, uint32_t size) {
    if (fragment == nullptr || size > fragment->free)
        return nullptr;
    fragment->used += size;
    fragment->free -= size;
    return fragment_data(fragment) + fragment->free;
}

}  // extern "C"
