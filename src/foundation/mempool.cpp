// Memory pools and memory buffers.
//
// A pool hands out 8-byte-aligned blocks from fragments (see memfrag.cpp)
// and releases them all at once.  The pool record and its inline fragment's
// data area share one allocation; further fragments are added at the head of
// the list when no fragment has room.  Pools form a tree: a new pool becomes
// its parent's first child, and each pool keeps a back link to the word that
// points to it (the parent's first-child word or the previous sibling's
// next-sibling word) so it can unlink itself.  Clearing or destroying a pool
// destroys its child pools with everything they hold.
//
// A memory buffer collects appended bytes in a chain of blocks taken from a
// pool and can be flattened into one array.  Its address arithmetic follows
// the four-times stride described in mempool_internal.h.
//
// Memory is wiped before it is released.

#include <kry/mempool.h>

#include "foundation/common.h"
#include "foundation/mempool_internal.h"

#include <cstdint>
#include <cstring>

namespace {

constexpr char kFile[] = ".\\src\\mempool";
constexpr uint32_t kDefaultChunk = 512;
constexpr uint32_t kMaxAligned = 0xFFFFFFF8u;  // largest size that rounds up to 8 in 32 bits

uint8_t *fragment_data(MEM_FRAG *fragment) { return reinterpret_cast<uint8_t *>(fragment + 1); }

uint64_t fragment_capacity(const MEM_FRAG *fragment) {
    return uint64_t{fragment->used} + fragment->free;
}

// Wipes and frees every fragment of the pool but the inline one, and leaves
// the inline one empty and alone in the list.
void release_fragments(MEM_POOL *pool) {
    MEM_FRAG *inline_fragment = &pool->inline_fragment;
    MEM_FRAG *fragment = pool->fragments;
    while (fragment != nullptr) {
        MEM_FRAG *next = fragment->next;
        if (fragment != inline_fragment) {
            kry::wipe(fragment, static_cast<size_t>(sizeof(MEM_FRAG) + fragment_capacity(fragment)));
            lum_free(fragment, kFile, __LINE__);
        }
        fragment = next;
    }
    const uint64_t chunk = fragment_capacity(inline_fragment);
    kry::wipe(fragment_data(inline_fragment), static_cast<size_t>(chunk));
    memFragInit(inline_fragment, static_cast<uint32_t>(chunk));
    pool->fragments = inline_fragment;
}

// Releases one pool whose children are already gone.
void release_pool(MEM_POOL *pool) {
    release_fragments(pool);
    const uint64_t chunk = fragment_capacity(&pool->inline_fragment);
    kry::wipe(pool, static_cast<size_t>(sizeof(MEM_POOL) + chunk));
    lum_free(pool, kFile, __LINE__);
}

// Destroys every descendant of the pool.  The child and sibling links are
// walked as the left and right links of a binary tree, rotating left
// subtrees away, so the work is linear and needs no stack however deep the
// tree is.
void destroy_children(MEM_POOL *pool) {
    MEM_POOL *node = pool->child;
    pool->child = nullptr;
    while (node != nullptr) {
        if (node->child != nullptr) {
            MEM_POOL *child = node->child;
            node->child = child->sibling;
            child->sibling = node;
            node = child;
        } else {
            MEM_POOL *next = node->sibling;
            release_pool(node);
            node = next;
        }
    }
}

// True when [block, block + size) lies inside one of the pool's fragments.
bool inside_pool(MEM_POOL *pool, const void *block, uint64_t size) {
    const auto start = reinterpret_cast<uintptr_t>(block);
    for (MEM_FRAG *f = pool->fragments; f != nullptr; f = f->next) {
        const auto data = reinterpret_cast<uintptr_t>(fragment_data(f));
        if (start >= data && start - data <= fragment_capacity(f) &&
            size <= fragment_capacity(f) - (start - data))
            return true;
    }
    return false;
}

// Appends `n` bytes of the caller's data, read at address offset `*source`,
// to the block; false when the read would leave the caller's data.
bool copy_into(MEM_BUF_BLOCK *block, const uint8_t *data, uint32_t length, uint64_t *source,
               uint32_t n) {
    if (*source > length || n > length - *source)
        return false;
    if (block->data == nullptr || n > block->free)
        return false;
    std::memcpy(block->data + kry::membuf_offset(block->used), data + *source, n);
    block->used += n;
    block->free -= n;
    *source += kry::membuf_offset(n);
    return true;
}

}  // namespace

extern "C" {

KRY_API MEM_POOL *memPoolInit(MEM_POOL *parent, uint32_t chunk_size) {
    if (chunk_size > kMaxAligned)
        return nullptr;
    const uint32_t chunk = chunk_size == 0 ? kDefaultChunk : memAlignmentCeiling(chunk_size);
    if (chunk > UINT32_MAX - sizeof(MEM_POOL))
        return nullptr;
    auto *pool = static_cast<MEM_POOL *>(
        lum_malloc(static_cast<uint32_t>(sizeof(MEM_POOL) + chunk), kFile, __LINE__));
    if (pool == nullptr)
        return nullptr;
    pool->child = nullptr;
    pool->sibling = nullptr;
    pool->back = nullptr;
    memFragInit(&pool->inline_fragment, chunk);
    pool->fragments = &pool->inline_fragment;
    if (parent != nullptr) {
        pool->sibling = parent->child;
        if (pool->sibling != nullptr)
            pool->sibling->back = &pool->sibling;
        parent->child = pool;
        pool->back = &parent->child;
    }
    return pool;
}

KRY_API void *memPoolAlloc(MEM_POOL *pool, uint32_t size) {
    if (pool == nullptr)
        return lum_malloc(size, kFile, __LINE__);
    if (size > kMaxAligned)
        return nullptr;
    size = memAlignmentCeiling(size);
    for (MEM_FRAG *f = pool->fragments; f != nullptr; f = f->next)
        if (f->free >= size)
            return memFragAllocAppend(f, size);
    const uint32_t chunk = static_cast<uint32_t>(fragment_capacity(&pool->inline_fragment));
    MEM_FRAG *fragment = memFragAlloc(size > chunk ? size : chunk);
    if (fragment == nullptr)
        return nullptr;
    fragment->next = pool->fragments;
    pool->fragments = fragment;
    return memFragAllocAppend(fragment, size);
}

KRY_API void *memPoolCalloc(MEM_POOL *pool, uint32_t size) {
    void *block = memPoolAlloc(pool, size);
    if (block != nullptr)
        std::memset(block, 0, size);
    return block;
}

KRY_API void *memPoolRealloc(MEM_POOL *pool, void *block, uint32_t old_size, uint32_t new_size) {
    if (pool == nullptr) {
        if (new_size != 0)
            return lum_realloc(block, new_size, kFile, __LINE__);
        kry::wipecheck::free_unsized(block, kFile, __LINE__);  // wiped whatever old_size says
        return nullptr;
    }
    if (old_size > kMaxAligned || new_size > kMaxAligned)
        return nullptr;
    const uint32_t old_rounded = memAlignmentCeiling(old_size);
    const uint32_t new_rounded = memAlignmentCeiling(new_size);
    const int64_t delta = int64_t{new_rounded} - int64_t{old_rounded};

    // The last block handed out from the newest fragment ends where that
    // fragment's used area ends.
    MEM_FRAG *newest = pool->fragments;
    if (block != nullptr && newest != nullptr && old_rounded <= newest->used &&
        static_cast<uint8_t *>(block) == fragment_data(newest) + (newest->used - old_rounded)) {
        if (delta <= int64_t{newest->free}) {
            newest->used = static_cast<uint32_t>(int64_t{newest->used} + delta);
            newest->free = static_cast<uint32_t>(int64_t{newest->free} - delta);
            return block;
        }
        newest->used -= old_rounded;
        newest->free += old_rounded;
    } else if (delta <= 0) {
        return block;
    }

    void *moved = memPoolAlloc(pool, new_size);
    if (moved == nullptr)
        return nullptr;
    // The old bytes: the rounded size for a block of this pool, otherwise
    // only what the caller says the block holds.
    uint32_t copy = old_rounded;
    if (block == nullptr)
        copy = 0;
    else if (!inside_pool(pool, block, old_rounded))
        copy = old_size;
    if (copy != 0)
        std::memmove(moved, block, copy);
    return moved;
}

KRY_API uint32_t memPoolAvail(MEM_POOL *pool) {
    if (pool == nullptr)
        return 0;
    uint32_t largest = 0;
    for (MEM_FRAG *f = pool->fragments; f != nullptr; f = f->next)
        if (f->free > largest)
            largest = f->free;
    return largest;
}

KRY_API uint32_t memPoolChunk(MEM_POOL *pool) {
    if (pool == nullptr)
        return 0;
    return static_cast<uint32_t>(fragment_capacity(&pool->inline_fragment));
}

KRY_API void memPoolClear(MEM_POOL *pool) {
    if (pool == nullptr)
        return;
    destroy_children(pool);
    release_fragments(pool);
}

KRY_API void memPoolDestroy(MEM_POOL *pool) {
    if (pool == nullptr)
        return;
    if (pool->back != nullptr) {
        *pool->back = pool->sibling;
        if (pool->sibling != nullptr)
            pool->sibling->back = pool->back;
    }
    destroy_children(pool);
    release_pool(pool);
}

KRY_API uint32_t memBufInit(MEM_BUF *buffer, MEM_POOL *pool, uint32_t block_size) {
    if (buffer == nullptr)
        return kry::kMemBufFailed;
    std::memset(buffer, 0, sizeof *buffer);
    buffer->pool = pool;
    buffer->block_size = block_size == 0 ? kry::kMemBufDefaultBlockSize : block_size;
    return 0;
}

// Appends to the last block, then to new blocks of the buffer's block size.
// The source advances four bytes per byte copied (mempool_internal.h); a
// copy that would read past the caller's data ends the call with 35.  What
// was copied stays, and the total length counts it, on success and failure.
KRY_API uint32_t memBufUpdate(MEM_BUF *buffer, const uint8_t *data, uint32_t length) {
    if (buffer == nullptr)
        return kry::kMemBufFailed;
    if (length == 0)
        return 0;
    if (data == nullptr)
        return kry::kMemBufFailed;

    uint64_t source = 0;        // address offset into data
    uint32_t remaining = length;  // bytes still to be counted
    uint32_t result = 0;

    MEM_BUF_BLOCK *last = buffer->last;
    if (last != nullptr && last->free != 0) {
        const uint32_t n = remaining < last->free ? remaining : last->free;
        if (copy_into(last, data, length, &source, n))
            remaining -= n;
        else
            result = kry::kMemBufFailed;
    }

    const uint32_t block_size =
        buffer->block_size == 0 ? kry::kMemBufDefaultBlockSize : buffer->block_size;
    const uint64_t data_bytes = kry::membuf_data_bytes(block_size);
    while (result == 0 && remaining != 0) {
        const uint32_t n = remaining < block_size ? remaining : block_size;
        if (source > length || n > length - source || data_bytes > kMaxAligned) {
            result = kry::kMemBufFailed;
            break;
        }
        auto *block = static_cast<MEM_BUF_BLOCK *>(memPoolAlloc(buffer->pool, sizeof(MEM_BUF_BLOCK)));
        if (block == nullptr) {
            result = kry::kMemBufFailed;
            break;
        }
        auto *area = static_cast<uint8_t *>(
            memPoolAlloc(buffer->pool, static_cast<uint32_t>(data_bytes)));
        if (area == nullptr) {
            result = kry::kMemBufFailed;
            break;
        }
        std::memset(area, 0, static_cast<size_t>(data_bytes));
        block->used = 0;
        block->free = block_size;
        block->data = area;
        block->next = nullptr;
        if (buffer->last != nullptr)
            buffer->last->next = block;
        else
            buffer->first = block;
        buffer->last = block;
        if (!copy_into(block, data, length, &source, n)) {
            result = kry::kMemBufFailed;
            break;
        }
        remaining -= n;
    }

    buffer->length += length - remaining;
    return result;
}

// Allocates the buffer's total length from its pool and copies the blocks
// in order, the destination advancing four bytes per byte copied.  The array
// is zero-filled first, so bytes no copy reaches are 0.  A block that would
// not fit the array ends the call with 35; the array, with what was copied,
// and the count of bytes copied are still handed back.
KRY_API uint32_t memBufToArray(MEM_BUF *buffer, uint8_t **out, uint32_t *out_length) {
    if (buffer == nullptr || out == nullptr || out_length == nullptr)
        return kry::kMemBufFailed;
    const uint32_t total = buffer->length;
    auto *array = static_cast<uint8_t *>(memPoolAlloc(buffer->pool, total));
    if (array == nullptr)
        return kry::kMemBufFailed;
    std::memset(array, 0, total);
    *out = array;
    uint32_t counted = 0;
    uint32_t result = 0;
    for (MEM_BUF_BLOCK *b = buffer->first; b != nullptr; b = b->next) {
        const uint64_t destination = kry::membuf_offset(counted);
        if (b->used != 0) {
            if (b->data == nullptr || destination > total || b->used > total - destination ||
                b->used > kry::membuf_block_bytes(b)) {
                result = kry::kMemBufFailed;
                break;
            }
            std::memcpy(array + destination, b->data, b->used);
        }
        counted += b->used;
    }
    *out_length = counted;
    return result;
}

}  // extern "C"
