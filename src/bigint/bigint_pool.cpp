// BIGINT_POOL: scratch integers handed out in nested frames.
//
// Records live in blocks of eight chained both ways; the records handed out
// are always the first `used` ones in chain order, so record i is slot
// i mod 8 of block i / 8 and `current` is the block of the last one taken.
// Closing a frame gives back the records it took by walking `current` back;
// records keep their word arrays for the next taker, so a pool in steady use
// does not allocate.
//
// The record is public, so every call checks that its fields describe a
// state it can act on (depth inside the 80 frames, counts that fit `used`,
// a chain to walk) and fails instead of leaving the pool's memory.

#include <kry/bigint.h>
#include <kry/error.h>

#include "foundation/common.h"

#include <cstdint>
#include <cstring>

namespace {

constexpr char kFile[] = ".\\src\\bigint_pool";
constexpr int32_t kFrames = 80;
constexpr uint32_t kBlockRecords = 8;

void reset(BIGINT_POOL *pool) {
    std::memset(pool, 0, sizeof *pool);
    pool->depth = -1;
}

bool frame_open(const BIGINT_POOL *pool) { return pool->depth >= 0 && pool->depth < kFrames; }

BIGINT_POOL_BLOCK *new_block(BIGINT_POOL_BLOCK *prev) {
    auto *block = static_cast<BIGINT_POOL_BLOCK *>(
        lum_malloc(sizeof(BIGINT_POOL_BLOCK), kFile, __LINE__));
    if (block == nullptr)
        return nullptr;
    std::memset(block, 0, sizeof *block);
    for (BIGINT &record : block->records)
        init_BIGINT(&record);
    block->prev = prev;
    block->next = nullptr;
    return block;
}

// A record handed out again starts at zero and keeps its array.
void recycle(BIGINT *record) {
    if ((record->flags & BIGINT_STATIC_DATA) != 0 || record->length < 0 ||
        record->length > record->size || (record->data == nullptr && record->size != 0)) {
        // A caller left a constant or damaged array here: drop it.
        *record = BIGINT{nullptr, 0, 0, BIGINT_IN_PLACE};
        return;
    }
    if (record->data != nullptr && record->size > 0) {
        record->data[0] = 0;  // what set_BIGINT_word(record, 0) leaves
        record->length = 0;
    }
}

}  // namespace

extern "C" {

KRY_API BIGINT_POOL *new_BIGINT_POOL(void) {
    auto *pool = static_cast<BIGINT_POOL *>(lum_malloc(sizeof(BIGINT_POOL), kFile, __LINE__));
    if (pool != nullptr)
        reset(pool);
    return pool;
}

KRY_API int init_BIGINT_POOL(BIGINT_POOL *pool) {
    if (pool == nullptr)
        return 1;
    reset(pool);
    return 0;
}

// Opens a frame; refuses an 81st nested one.
KRY_API int start_BIGINT_POOL(BIGINT_POOL *pool) {
    if (pool == nullptr || pool->depth < -1 || pool->depth >= kFrames - 1)
        return 1;
    pool->depth++;
    pool->frame_counts[pool->depth] = 0;
    return 0;
}

// Hands out the next record in the innermost open frame; null without an
// open frame, for a cleared pool or when a block cannot be allocated.
KRY_API BIGINT *get_BIGINT_POOL(BIGINT_POOL *pool) {
    if (pool == nullptr || !frame_open(pool) || pool->used > pool->available)
        return nullptr;
    if (pool->used < pool->available) {
        if (pool->head == nullptr)
            return nullptr;  // cleared: `current` no longer points into a chain
        const uint32_t slot = pool->used % kBlockRecords;
        BIGINT_POOL_BLOCK *block = pool->current;
        if (pool->used == 0)
            block = pool->head;
        else if (slot == 0)
            block = block != nullptr ? block->next : nullptr;
        if (block == nullptr)
            return nullptr;  // the chain is shorter than `available` says
        pool->current = block;
        BIGINT *record = &block->records[slot];
        pool->used++;
        recycle(record);
        pool->frame_counts[pool->depth]++;
        return record;
    }
    // A cleared pool keeps `available` and `tail` but has no chain.
    if (pool->head == nullptr && (pool->available != 0 || pool->tail != nullptr))
        return nullptr;
    if (pool->available > UINT32_MAX - kBlockRecords)
        return nullptr;
    BIGINT_POOL_BLOCK *block = new_block(pool->tail);
    if (block == nullptr)
        return nullptr;
    if (pool->tail != nullptr)
        pool->tail->next = block;
    else
        pool->head = block;
    pool->current = pool->tail = block;
    pool->available += kBlockRecords;
    pool->used++;
    pool->frame_counts[pool->depth]++;
    return &block->records[0];
}

// Closes the innermost frame: `used` drops by the frame's count and
// `current` walks back one record at a time.
KRY_API int finish_BIGINT_POOL(BIGINT_POOL *pool) {
    if (pool == nullptr || !frame_open(pool))
        return 1;
    const uint32_t n = pool->frame_counts[pool->depth];
    if (n > pool->used)
        return 1;
    if (n > 0) {
        uint32_t slot = (pool->used - 1) % kBlockRecords;
        pool->used -= n;
        // Without a chain (a cleared pool) there is nothing to walk.
        BIGINT_POOL_BLOCK *block = pool->head != nullptr ? pool->current : nullptr;
        for (uint32_t i = 0; i < n && block != nullptr; i++) {
            if (slot == 0) {
                slot = kBlockRecords - 1;
                block = block->prev;
            } else {
                slot--;
            }
        }
        if (pool->head != nullptr)
            pool->current = block;
    }
    pool->frame_counts[pool->depth] = 0;
    pool->depth--;
    return 0;
}

// Zeroises and releases every record's array and every block.  The counts,
// `current` and `tail` are left as they are: a cleared pool is set up again
// with init_BIGINT_POOL before reuse.
KRY_API int clear_BIGINT_POOL(BIGINT_POOL *pool) {
    if (pool == nullptr)
        return 1;
    BIGINT_POOL_BLOCK *block = pool->head;
    while (block != nullptr) {
        BIGINT_POOL_BLOCK *next = block->next;
        for (BIGINT &record : block->records)
            if (record.data != nullptr)
                clear_BIGINT(&record);
        kry::wipe_object(*block);
        lum_free(block, kFile, __LINE__);
        block = next;
    }
    pool->head = nullptr;
    return 0;
}

KRY_API int free_BIGINT_POOL(BIGINT_POOL *pool) {
    if (pool == nullptr)
        return 1;
    clear_BIGINT_POOL(pool);
    kry::wipe_object(*pool);
    lum_free(pool, kFile, __LINE__);
    return 0;
}

}  // extern "C"
