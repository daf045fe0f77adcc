/*
 * kry - memory pools (arena allocation with 8-byte-aligned blocks, pools in
 * a tree), fragments and growable memory buffers.
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

/* A fragment: this header, then its data area. */
typedef struct MEM_FRAG {
    struct MEM_FRAG *next; /* next fragment of the same pool */
    uint32_t used;         /* bytes handed out from the start of the data area */
    uint32_t free;         /* bytes still available */
} MEM_FRAG;

/* A pool: this record, then the data area of its inline fragment. */
typedef struct MEM_POOL {
    struct MEM_POOL *child;   /* first child pool */
    struct MEM_POOL *sibling; /* next sibling pool */
    struct MEM_POOL **back;   /* the word that points to this pool, or NULL for a root */
    MEM_FRAG *fragments;      /* newest first; initially &inline_fragment */
    MEM_FRAG inline_fragment; /* capacity (used + free) is the chunk size */
} MEM_POOL;

typedef struct MEM_BUF_BLOCK {
    uint32_t used;
    uint32_t free;
    uint8_t *data;
    struct MEM_BUF_BLOCK *next;
} MEM_BUF_BLOCK;

typedef struct MEM_BUF {
    MEM_POOL *pool;
    MEM_BUF_BLOCK *first;
    MEM_BUF_BLOCK *last;
    uint32_t length;     /* total bytes */
    uint32_t block_size; /* default 512 */
} MEM_BUF;

KRY_API uint32_t memAlignmentCeiling(uint32_t size);
KRY_API void memFragInit(MEM_FRAG *fragment, uint32_t capacity);
KRY_API MEM_FRAG *memFragAlloc(uint32_t capacity);
KRY_API void *memFragAllocAppend(MEM_FRAG *fragment, uint32_t size);
KRY_API void *memFragAllocPrepend(MEM_FRAG *fragment, uint32_t size);

KRY_API MEM_POOL *memPoolInit(MEM_POOL *parent, uint32_t chunk_size);
KRY_API void *memPoolAlloc(MEM_POOL *pool, uint32_t size);
KRY_API void *memPoolCalloc(MEM_POOL *pool, uint32_t size);
KRY_API void *memPoolRealloc(MEM_POOL *pool, void *block, uint32_t old_size, uint32_t new_size);
KRY_API uint32_t memPoolAvail(MEM_POOL *pool);
KRY_API uint32_t memPoolChunk(MEM_POOL *pool);
KRY_API void memPoolClear(MEM_POOL *pool);
KRY_API void memPoolDestroy(MEM_POOL *pool);

/* 0, or 35 when a block cannot be allocated. */
KRY_API uint32_t memBufInit(MEM_BUF *buffer, MEM_POOL *pool, uint32_t block_size);
KRY_API uint32_t memBufUpdate(MEM_BUF *buffer, const uint8_t *data, uint32_t length);
/* The array is allocated from the buffer's pool. */
KRY_API uint32_t memBufToArray(MEM_BUF *buffer, uint8_t **out, uint32_t *out_length);

KRY_END_DECLS

#endif /* KRY_MEMPOOL_H */
