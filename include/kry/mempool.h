/**
 * @file kry/mempool.h
 * @brief Memory pools (arena allocation with 8-byte-aligned blocks, pools in
 * a tree), fragments and growable memory buffers.
 *
 *
 * Pool blocks are released all at once by memPoolClear / memPoolDestroy;
 * destroying a pool destroys its child pools too.
 *
 * Memory buffers collect appended bytes in a chain of blocks allocated from a
 * pool.  Inside a block the write position advances four bytes per byte
 * counted (see memBufUpdate): give buffers a block size of at least four
 * times the bytes a block is to hold.
 */
#ifndef KRY_MEMPOOL_H
#define KRY_MEMPOOL_H

#include <stdint.h>
#include <kry/export.h>

KRY_BEGIN_DECLS

/** A fragment: this header, then its data area. */
typedef struct MEM_FRAG {
    struct MEM_FRAG *next; /**< next fragment of the same pool */
    uint32_t used;         /**< bytes handed out from the start of the data area */
    uint32_t free;         /**< bytes still available */
} MEM_FRAG;

/** A pool: this record, then the data area of its inline fragment. */
typedef struct MEM_POOL {
    struct MEM_POOL *child;   /**< first child pool */
    struct MEM_POOL *sibling; /**< next sibling pool */
    struct MEM_POOL **back;   /**< the word that points to this pool, or NULL for a root */
    MEM_FRAG *fragments;      /**< newest first; initially &inline_fragment */
    MEM_FRAG inline_fragment; /**< capacity (used + free) is the chunk size */
} MEM_POOL;

/** One block of a memory buffer. */
typedef struct MEM_BUF_BLOCK {
    uint32_t used;              /**< bytes written into data */
    uint32_t free;              /**< bytes still available in data */
    uint8_t *data;              /**< the block's bytes, from the buffer's pool */
    struct MEM_BUF_BLOCK *next; /**< next block, or NULL */
} MEM_BUF_BLOCK;

/** A growable memory buffer: a chain of blocks allocated from a pool. */
typedef struct MEM_BUF {
    MEM_POOL *pool;       /**< where the blocks come from (NULL: the heap) */
    MEM_BUF_BLOCK *first; /**< first block, or NULL while empty */
    MEM_BUF_BLOCK *last;  /**< block being filled */
    uint32_t length;     /**< total bytes */
    uint32_t block_size; /**< default 512 */
} MEM_BUF;

/** Rounds a size up to a multiple of 8 (32-bit arithmetic: sizes above
 *  0xFFFFFFF8 wrap to 0).
 *  @param size bytes.
 *  @return the rounded size. */
KRY_API uint32_t memAlignmentCeiling(uint32_t size);
/** Sets up a fragment header: nothing used, @p capacity bytes free.
 *  @param fragment the header (NULL is ignored).
 *  @param capacity bytes of its data area. */
KRY_API void memFragInit(MEM_FRAG *fragment, uint32_t capacity);
/** Allocates a fragment: header and data area in one block.
 *  @param capacity bytes of the data area.
 *  @return the fragment, or NULL; release it with lum_free(). */
KRY_API MEM_FRAG *memFragAlloc(uint32_t capacity);
/** Takes @p size bytes from the front of the fragment's free area.
 *  @param fragment the fragment.
 *  @param size     bytes.
 *  @return the block, or NULL when it does not fit. */
KRY_API void *memFragAllocAppend(MEM_FRAG *fragment, uint32_t size);
/** Takes @p size bytes from the end of the fragment's free area.
 *  @param fragment the fragment.
 *  @param size     bytes.
 *  @return the block, or NULL when it does not fit. */
KRY_API void *memFragAllocPrepend(MEM_FRAG *fragment, uint32_t size);

/** Creates a pool, as a child of @p parent when it is not NULL.
 *  @param parent     the parent pool, or NULL for a root pool.
 *  @param chunk_size bytes of each fragment, rounded up to 8 (0: the default).
 *  @return the pool, or NULL; release it with memPoolDestroy() (or with its
 *          parent). */
KRY_API MEM_POOL *memPoolInit(MEM_POOL *parent, uint32_t chunk_size);
/** Allocates an 8-byte-aligned block from the pool, adding a fragment when
 *  none has room.  With a NULL pool the block comes from the heap.
 *  @param pool the pool, or NULL.
 *  @param size bytes.
 *  @return the block, or NULL.  Pool blocks are released with the pool. */
KRY_API void *memPoolAlloc(MEM_POOL *pool, uint32_t size);
/** As memPoolAlloc(), with the block zeroed.
 *  @param pool the pool, or NULL.
 *  @param size bytes.
 *  @return the block, or NULL. */
KRY_API void *memPoolCalloc(MEM_POOL *pool, uint32_t size);
/** Resizes a block.  The newest block of the pool grows or shrinks in
 *  place when it can; otherwise a new block is taken and the old bytes
 *  copied.  With a NULL pool this is lum_realloc() (a new size of 0 frees).
 *  @param pool     the pool, or NULL.
 *  @param block    the block, or NULL.
 *  @param old_size its size in bytes.
 *  @param new_size the size wanted.
 *  @return the block, or NULL. */
KRY_API void *memPoolRealloc(MEM_POOL *pool, void *block, uint32_t old_size, uint32_t new_size);
/** The largest free area of the pool's fragments.
 *  @param pool the pool.
 *  @return bytes, 0 for a NULL pool. */
KRY_API uint32_t memPoolAvail(MEM_POOL *pool);
/** The pool's chunk size.
 *  @param pool the pool.
 *  @return bytes, 0 for a NULL pool. */
KRY_API uint32_t memPoolChunk(MEM_POOL *pool);
/** Releases every block of the pool and destroys its child pools; the pool
 *  itself stays usable.  The inline fragment is wiped.
 *  @param pool the pool (NULL is ignored). */
KRY_API void memPoolClear(MEM_POOL *pool);
/** Destroys a pool with its child pools and every block, and unlinks it
 *  from its parent.
 *  @param pool the pool (NULL is ignored). */
KRY_API void memPoolDestroy(MEM_POOL *pool);

/** Sets up an empty memory buffer.
 *  @param buffer     the buffer record.
 *  @param pool       where its blocks come from (NULL: the heap).
 *  @param block_size bytes per block (0: 512); see the note on the write
 *                    position above.
 *  @return 0, or 35 for a NULL buffer. */
KRY_API uint32_t memBufInit(MEM_BUF *buffer, MEM_POOL *pool, uint32_t block_size);
/** Appends bytes: to the last block, then to new blocks of the buffer's
 *  block size.  What was copied stays counted, on success and failure.
 *  @param buffer the buffer.
 *  @param data   the bytes.
 *  @param length bytes at @p data.
 *  @return 0, or 35 when a block cannot be allocated or a copy would read
 *          past @p data. */
KRY_API uint32_t memBufUpdate(MEM_BUF *buffer, const uint8_t *data, uint32_t length);
/** Copies the buffer's blocks, in order, into one new array allocated from
 *  the buffer's pool (zero-filled first).
 *  @param buffer     the buffer.
 *  @param out        receives the array.
 *  @param out_length receives the bytes copied.
 *  @return 0, or 35 when a block would not fit the array (the array and the
 *          count copied are still handed back). */
KRY_API uint32_t memBufToArray(MEM_BUF *buffer, uint8_t **out, uint32_t *out_length);

KRY_END_DECLS

#endif /* KRY_MEMPOOL_H */
