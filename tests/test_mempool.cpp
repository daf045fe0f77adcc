// Memory pools and fragments: size rounding, fragment carving in both
// directions, pool allocation across fragments, reallocation in place and by
// copy, clearing, and the pool tree with its back links.

#include <kry/error.h>
#include <kry/mempool.h>

#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <memory>
#include <vector>

namespace {

uint8_t *data_of(MEM_FRAG *f) { return reinterpret_cast<uint8_t *>(f + 1); }
uint8_t *inline_data(MEM_POOL *p) { return data_of(&p->inline_fragment); }

struct PoolDeleter {
    void operator()(MEM_POOL *p) const { memPoolDestroy(p); }
};
using PoolPtr = std::unique_ptr<MEM_POOL, PoolDeleter>;

size_t fragment_count(const MEM_POOL *p) {
    size_t n = 0;
    for (const MEM_FRAG *f = p->fragments; f != nullptr; f = f->next) n++;
    return n;
}

}  // namespace

TEST(MemAlignment, RoundsUpToMultipleOfEight) {
    EXPECT_EQ(memAlignmentCeiling(8), 8u);
    EXPECT_EQ(memAlignmentCeiling(9), 16u);
    EXPECT_EQ(memAlignmentCeiling(0), 0u);
    EXPECT_EQ(memAlignmentCeiling(1), 8u);
    EXPECT_EQ(memAlignmentCeiling(7), 8u);
    EXPECT_EQ(memAlignmentCeiling(16), 16u);
    EXPECT_EQ(memAlignmentCeiling(600), 600u);
    EXPECT_EQ(memAlignmentCeiling(601), 608u);
    EXPECT_EQ(memAlignmentCeiling(0xFFFFFFF8u), 0xFFFFFFF8u);
}

TEST(MemFrag, InitSetsCounts) {
    MEM_FRAG f;
    std::memset(&f, 0xA5, sizeof f);
    memFragInit(&f, 100);
    EXPECT_EQ(f.next, nullptr);
    EXPECT_EQ(f.used, 0u);
    EXPECT_EQ(f.free, 100u);
    memFragInit(nullptr, 100);  // ignored
}

TEST(MemFrag, AppendTakesBottomUp) {
    MEM_FRAG *f = memFragAlloc(64);
    ASSERT_NE(f, nullptr);
    EXPECT_EQ(f->next, nullptr);
    EXPECT_EQ(f->used, 0u);
    EXPECT_EQ(f->free, 64u);
    uint8_t *d = data_of(f);
    EXPECT_EQ(memFragAllocAppend(f, 8), d);
    EXPECT_EQ(memFragAllocAppend(f, 16), d + 8);
    EXPECT_EQ(f->used, 24u);
    EXPECT_EQ(f->free, 40u);
    EXPECT_EQ(memFragAllocAppend(f, 41), nullptr);  // more than is free
    EXPECT_EQ(f->used, 24u);
    EXPECT_EQ(f->free, 40u);
    EXPECT_EQ(memFragAllocAppend(f, 40), d + 24);  // exactly what is free
    EXPECT_EQ(f->free, 0u);
    EXPECT_EQ(memFragAllocAppend(f, 0), d + 64);
    EXPECT_EQ(memFragAllocAppend(f, 1), nullptr);
    std::memset(d, 0x5A, 64);  // the whole data area is writable
    lum_free(f, __FILE__, __LINE__);
}

TEST(MemFrag, PrependTakesTopDown) {
    MEM_FRAG *f = memFragAlloc(64);
    ASSERT_NE(f, nullptr);
    uint8_t *d = data_of(f);
    EXPECT_EQ(memFragAllocPrepend(f, 8), d + 56);
    EXPECT_EQ(f->used, 8u);
    EXPECT_EQ(f->free, 56u);
    EXPECT_EQ(memFragAllocPrepend(f, 16), d + 40);
    EXPECT_EQ(memFragAllocPrepend(f, 41), nullptr);
    EXPECT_EQ(f->used, 24u);
    EXPECT_EQ(f->free, 40u);
    EXPECT_EQ(memFragAllocPrepend(f, 40), d);
    EXPECT_EQ(f->free, 0u);
    EXPECT_EQ(memFragAllocPrepend(f, 1), nullptr);
    lum_free(f, __FILE__, __LINE__);
}

TEST(MemFrag, NullFragment) {
    EXPECT_EQ(memFragAllocAppend(nullptr, 0), nullptr);
    EXPECT_EQ(memFragAllocPrepend(nullptr, 8), nullptr);
}

TEST(MemFrag, AllocZeroCapacityAndTooLarge) {
    MEM_FRAG *f = memFragAlloc(0);
    ASSERT_NE(f, nullptr);
    EXPECT_EQ(f->free, 0u);
    EXPECT_EQ(memFragAllocAppend(f, 1), nullptr);
    lum_free(f, __FILE__, __LINE__);
    EXPECT_EQ(memFragAlloc(0xFFFFFFFFu), nullptr);  // header and data exceed 32 bits
}

TEST(MemPool, InitDefaultsAndRounds) {
    PoolPtr a(memPoolInit(nullptr, 0));
    ASSERT_NE(a, nullptr);
    EXPECT_EQ(memPoolChunk(a.get()), 512u);
    EXPECT_EQ(a->back, nullptr);
    EXPECT_EQ(a->child, nullptr);
    EXPECT_EQ(a->sibling, nullptr);
    EXPECT_EQ(a->fragments, &a->inline_fragment);
    EXPECT_EQ(a->inline_fragment.used, 0u);
    EXPECT_EQ(a->inline_fragment.free, 512u);
    EXPECT_EQ(memPoolAvail(a.get()), 512u);

    PoolPtr b(memPoolInit(nullptr, 13));
    ASSERT_NE(b, nullptr);
    EXPECT_EQ(memPoolChunk(b.get()), 16u);
    EXPECT_EQ(memPoolAvail(b.get()), 16u);

    PoolPtr c(memPoolInit(nullptr, 8));
    EXPECT_EQ(memPoolChunk(c.get()), 8u);

    EXPECT_EQ(memPoolInit(nullptr, 0xFFFFFFFFu), nullptr);
}

TEST(MemPool, NullPoolQueries) {
    EXPECT_EQ(memPoolChunk(nullptr), 0u);
    EXPECT_EQ(memPoolAvail(nullptr), 0u);
    memPoolClear(nullptr);
    memPoolDestroy(nullptr);
}

TEST(MemPool, AllocFromInlineFragmentBottomUp) {
    PoolPtr p(memPoolInit(nullptr, 64));
    uint8_t *d = inline_data(p.get());
    EXPECT_EQ(memPoolAlloc(p.get(), 1), d);
    EXPECT_EQ(memPoolAlloc(p.get(), 9), d + 8);  // 9 rounds to 16
    EXPECT_EQ(memPoolAlloc(p.get(), 16), d + 24);
    EXPECT_EQ(p->inline_fragment.used, 40u);
    EXPECT_EQ(p->inline_fragment.free, 24u);
    EXPECT_EQ(memPoolAvail(p.get()), 24u);
    EXPECT_EQ(fragment_count(p.get()), 1u);
}

TEST(MemPool, LargeAllocationMakesOwnFragment) {
    PoolPtr p(memPoolInit(nullptr, 512));
    void *small = memPoolAlloc(p.get(), 100);  // 104 from the inline fragment
    EXPECT_EQ(small, inline_data(p.get()));
    void *big = memPoolAlloc(p.get(), 600);
    ASSERT_NE(big, nullptr);
    ASSERT_EQ(fragment_count(p.get()), 2u);
    MEM_FRAG *newest = p->fragments;
    EXPECT_NE(newest, &p->inline_fragment);
    EXPECT_EQ(newest->next, &p->inline_fragment);
    EXPECT_EQ(big, data_of(newest));
    EXPECT_EQ(newest->used, 600u);
    EXPECT_EQ(newest->free, 0u);
    // The larger free count of the two fragments.
    EXPECT_EQ(memPoolAvail(p.get()), 408u);
    std::memset(big, 0x11, 600);
}

TEST(MemPool, AvailAfter600FromFreshPool) {
    PoolPtr p(memPoolInit(nullptr, 512));
    ASSERT_NE(memPoolAlloc(p.get(), 600), nullptr);
    EXPECT_EQ(fragment_count(p.get()), 2u);
    EXPECT_EQ(memPoolAvail(p.get()), 512u);  // the untouched inline fragment
}

TEST(MemPool, NewFragmentTakesChunkSizeWhenLarger) {
    PoolPtr p(memPoolInit(nullptr, 64));
    ASSERT_NE(memPoolAlloc(p.get(), 48), nullptr);
    void *b = memPoolAlloc(p.get(), 24);  // 16 left inline: new 64-byte fragment
    ASSERT_EQ(fragment_count(p.get()), 2u);
    EXPECT_EQ(b, data_of(p->fragments));
    EXPECT_EQ(p->fragments->used, 24u);
    EXPECT_EQ(p->fragments->free, 40u);
}

TEST(MemPool, SearchesNewestFragmentFirst) {
    PoolPtr p(memPoolInit(nullptr, 64));
    ASSERT_EQ(memPoolAlloc(p.get(), 40), inline_data(p.get()));  // inline: 24 left
    void *big = memPoolAlloc(p.get(), 100);                     // new full fragment
    ASSERT_EQ(big, data_of(p->fragments));
    // The newest fragment has no room; the inline one serves.
    EXPECT_EQ(memPoolAlloc(p.get(), 16), inline_data(p.get()) + 40);
    // Now neither fits 16 (8 inline, 0 newest): a third fragment at the head.
    void *c = memPoolAlloc(p.get(), 16);
    EXPECT_EQ(fragment_count(p.get()), 3u);
    EXPECT_EQ(c, data_of(p->fragments));
    // The newest (48 free) serves before the inline one (8 free).
    EXPECT_EQ(memPoolAlloc(p.get(), 8), data_of(p->fragments) + 16);
    EXPECT_EQ(p->inline_fragment.free, 8u);
}

TEST(MemPool, EveryBlockIsEightByteAlignedAndDistinct) {
    PoolPtr p(memPoolInit(nullptr, 100));
    std::vector<std::pair<uint8_t *, uint32_t>> blocks;
    for (uint32_t i = 0; i < 200; i++) {
        const uint32_t size = (i * 37) % 150;
        auto *b = static_cast<uint8_t *>(memPoolAlloc(p.get(), size));
        ASSERT_NE(b, nullptr);
        EXPECT_EQ(reinterpret_cast<uintptr_t>(b) % 8, 0u) << "block " << i;
        std::memset(b, static_cast<int>(i), size);
        blocks.emplace_back(b, size);
    }
    for (uint32_t i = 0; i < blocks.size(); i++)
        for (uint32_t j = 0; j < blocks[i].second; j++)
            ASSERT_EQ(blocks[i].first[j], static_cast<uint8_t>(i)) << "block " << i;
}

TEST(MemPool, AllocRejectsSizesThatCannotBeRounded) {
    PoolPtr p(memPoolInit(nullptr, 64));
    EXPECT_EQ(memPoolAlloc(p.get(), 0xFFFFFFFFu), nullptr);
    EXPECT_EQ(fragment_count(p.get()), 1u);
}

TEST(MemPool, CallocZeroesRequestedSize) {
    PoolPtr p(memPoolInit(nullptr, 64));
    auto *a = static_cast<uint8_t *>(memPoolAlloc(p.get(), 32));
    std::memset(a, 0xFF, 32);
    // Give the block back (it is the last one), so calloc gets the same bytes.
    EXPECT_EQ(memPoolRealloc(p.get(), a, 32, 0), a);
    EXPECT_EQ(p->inline_fragment.used, 0u);
    auto *b = static_cast<uint8_t *>(memPoolCalloc(p.get(), 30));
    ASSERT_EQ(b, a);
    for (int i = 0; i < 30; i++) EXPECT_EQ(b[i], 0) << i;
}

TEST(MemPool, NullPoolUsesAllocator) {
    auto *a = static_cast<uint8_t *>(memPoolAlloc(nullptr, 24));
    ASSERT_NE(a, nullptr);
    std::memset(a, 0x33, 24);
    lum_free(a, __FILE__, __LINE__);
    auto *b = static_cast<uint8_t *>(memPoolCalloc(nullptr, 40));
    ASSERT_NE(b, nullptr);
    for (int i = 0; i < 40; i++) EXPECT_EQ(b[i], 0);
    lum_free(b, __FILE__, __LINE__);
}

TEST(MemPoolRealloc, NullPoolReallocatesAndFrees) {
    auto *a = static_cast<uint8_t *>(memPoolRealloc(nullptr, nullptr, 0, 10));
    ASSERT_NE(a, nullptr);
    std::memcpy(a, "0123456789", 10);
    auto *b = static_cast<uint8_t *>(memPoolRealloc(nullptr, a, 10, 1000));
    ASSERT_NE(b, nullptr);
    EXPECT_EQ(std::memcmp(b, "0123456789", 10), 0);
    EXPECT_EQ(memPoolRealloc(nullptr, b, 1000, 0), nullptr);  // freed (checked by leak tools)
}

TEST(MemPoolRealloc, LastBlockGrowsInPlace) {
    PoolPtr p(memPoolInit(nullptr, 128));
    auto *a = static_cast<uint8_t *>(memPoolAlloc(p.get(), 16));
    auto *b = static_cast<uint8_t *>(memPoolAlloc(p.get(), 16));
    std::memset(b, 0x42, 16);
    EXPECT_EQ(memPoolRealloc(p.get(), b, 16, 40), b);
    EXPECT_EQ(p->inline_fragment.used, 56u);
    EXPECT_EQ(p->inline_fragment.free, 72u);
    std::memset(b, 0x43, 40);
    // Sizes are rounded: 13 -> 16, 33 -> 40, so no change.
    EXPECT_EQ(memPoolRealloc(p.get(), b, 33, 40), b);
    EXPECT_EQ(p->inline_fragment.used, 56u);
    // Exactly the free count.
    EXPECT_EQ(memPoolRealloc(p.get(), b, 40, 112), b);
    EXPECT_EQ(p->inline_fragment.free, 0u);
    // Shrinking the last block hands bytes back.
    EXPECT_EQ(memPoolRealloc(p.get(), b, 112, 8), b);
    EXPECT_EQ(p->inline_fragment.used, 24u);
    EXPECT_EQ(p->inline_fragment.free, 104u);
    EXPECT_EQ(memPoolAlloc(p.get(), 8), b + 8);
    (void)a;
}

TEST(MemPoolRealloc, LastBlockWithoutRoomIsCopied) {
    PoolPtr p(memPoolInit(nullptr, 64));
    auto *a = static_cast<uint8_t *>(memPoolAlloc(p.get(), 16));
    auto *b = static_cast<uint8_t *>(memPoolAlloc(p.get(), 32));
    for (int i = 0; i < 32; i++) b[i] = static_cast<uint8_t>(i + 1);
    ASSERT_EQ(p->inline_fragment.free, 16u);
    auto *c = static_cast<uint8_t *>(memPoolRealloc(p.get(), b, 32, 56));  // needs 24 more
    ASSERT_NE(c, nullptr);
    EXPECT_NE(c, b);
    // The old block's bytes went back to the inline fragment.
    EXPECT_EQ(p->inline_fragment.used, 16u);
    EXPECT_EQ(p->inline_fragment.free, 48u);
    // The copy lives in a new fragment of chunk size.
    ASSERT_EQ(fragment_count(p.get()), 2u);
    EXPECT_EQ(c, data_of(p->fragments));
    EXPECT_EQ(p->fragments->used, 56u);
    for (int i = 0; i < 32; i++) EXPECT_EQ(c[i], i + 1) << i;
    (void)a;
}

TEST(MemPoolRealloc, OtherBlockShrinksInPlaceAndGrowsByCopy) {
    PoolPtr p(memPoolInit(nullptr, 128));
    auto *a = static_cast<uint8_t *>(memPoolAlloc(p.get(), 16));
    auto *b = static_cast<uint8_t *>(memPoolAlloc(p.get(), 16));
    for (int i = 0; i < 16; i++) a[i] = static_cast<uint8_t>(0xA0 + i);
    std::memset(b, 0xBB, 16);
    EXPECT_EQ(memPoolRealloc(p.get(), a, 16, 8), a);
    EXPECT_EQ(memPoolRealloc(p.get(), a, 16, 16), a);
    EXPECT_EQ(memPoolRealloc(p.get(), a, 16, 0), a);
    EXPECT_EQ(p->inline_fragment.used, 32u);  // nothing handed back
    auto *c = static_cast<uint8_t *>(memPoolRealloc(p.get(), a, 16, 24));
    EXPECT_EQ(c, b + 16);  // a new block after b
    EXPECT_EQ(p->inline_fragment.used, 56u);
    for (int i = 0; i < 16; i++) EXPECT_EQ(c[i], 0xA0 + i) << i;
    for (int i = 0; i < 16; i++) EXPECT_EQ(b[i], 0xBB) << i;
}

TEST(MemPoolRealloc, LastBlockOfOlderFragmentIsNotInPlace) {
    PoolPtr p(memPoolInit(nullptr, 64));
    auto *a = static_cast<uint8_t *>(memPoolAlloc(p.get(), 16));  // inline
    ASSERT_NE(memPoolAlloc(p.get(), 100), nullptr);               // newest fragment
    std::memset(a, 0x77, 16);
    auto *c = static_cast<uint8_t *>(memPoolRealloc(p.get(), a, 16, 24));
    ASSERT_NE(c, nullptr);
    EXPECT_NE(c, a);
    EXPECT_EQ(c, a + 16);  // served from the inline fragment's free space
    for (int i = 0; i < 16; i++) EXPECT_EQ(c[i], 0x77);
}

TEST(MemPoolRealloc, NullBlockWithPool) {
    PoolPtr p(memPoolInit(nullptr, 64));
    auto *b = static_cast<uint8_t *>(memPoolRealloc(p.get(), nullptr, 16, 24));
    EXPECT_EQ(b, inline_data(p.get()));
    EXPECT_EQ(p->inline_fragment.used, 24u);
}

TEST(MemPoolRealloc, ForeignBlockCopiesOnlyItsSize) {
    PoolPtr p(memPoolInit(nullptr, 64));
    std::vector<uint8_t> outside(5, 0x5C);  // not a pool block, 5 bytes long
    auto *c = static_cast<uint8_t *>(memPoolRealloc(p.get(), outside.data(), 5, 16));
    ASSERT_EQ(c, inline_data(p.get()));
    for (int i = 0; i < 5; i++) EXPECT_EQ(c[i], 0x5C);
    EXPECT_EQ(memPoolRealloc(p.get(), c, 8, 0xFFFFFFFFu), nullptr);
}

TEST(MemPool, ClearKeepsInlineFragmentAndDropsTheRest) {
    PoolPtr p(memPoolInit(nullptr, 64));
    ASSERT_NE(memPoolAlloc(p.get(), 40), nullptr);
    ASSERT_NE(memPoolAlloc(p.get(), 200), nullptr);
    ASSERT_NE(memPoolAlloc(p.get(), 60), nullptr);
    MEM_POOL *child = memPoolInit(p.get(), 32);
    ASSERT_NE(child, nullptr);
    ASSERT_NE(memPoolAlloc(child, 100), nullptr);
    ASSERT_NE(memPoolInit(child, 32), nullptr);  // a grandchild
    EXPECT_EQ(fragment_count(p.get()), 3u);

    memPoolClear(p.get());
    EXPECT_EQ(p->fragments, &p->inline_fragment);
    EXPECT_EQ(p->inline_fragment.next, nullptr);
    EXPECT_EQ(p->inline_fragment.used, 0u);
    EXPECT_EQ(p->inline_fragment.free, 64u);
    EXPECT_EQ(p->child, nullptr);
    EXPECT_EQ(memPoolAvail(p.get()), 64u);
    EXPECT_EQ(memPoolChunk(p.get()), 64u);
    EXPECT_EQ(memPoolAlloc(p.get(), 8), inline_data(p.get()));
    // A cleared pool takes children again.
    MEM_POOL *again = memPoolInit(p.get(), 0);
    EXPECT_EQ(p->child, again);
    EXPECT_EQ(again->back, &p->child);
}

TEST(MemPoolTree, ChildrenAreLinkedNewestFirst) {
    PoolPtr parent(memPoolInit(nullptr, 0));
    MEM_POOL *a = memPoolInit(parent.get(), 0);
    MEM_POOL *b = memPoolInit(parent.get(), 0);
    MEM_POOL *c = memPoolInit(parent.get(), 0);
    ASSERT_TRUE(a && b && c);
    EXPECT_EQ(parent->child, c);
    EXPECT_EQ(c->sibling, b);
    EXPECT_EQ(b->sibling, a);
    EXPECT_EQ(a->sibling, nullptr);
    EXPECT_EQ(c->back, &parent->child);
    EXPECT_EQ(b->back, &c->sibling);
    EXPECT_EQ(a->back, &b->sibling);
}

TEST(MemPoolTree, DestroyMiddleChildKeepsListWhole) {
    PoolPtr parent(memPoolInit(nullptr, 0));
    MEM_POOL *a = memPoolInit(parent.get(), 0);
    MEM_POOL *b = memPoolInit(parent.get(), 0);
    MEM_POOL *c = memPoolInit(parent.get(), 0);
    MEM_POOL *b1 = memPoolInit(b, 16);
    MEM_POOL *b2 = memPoolInit(b, 16);
    ASSERT_TRUE(a && b && c && b1 && b2);
    ASSERT_NE(memPoolInit(b1, 16), nullptr);
    ASSERT_NE(memPoolAlloc(b2, 1000), nullptr);
    ASSERT_NE(memPoolAlloc(b, 1000), nullptr);

    memPoolDestroy(b);  // with its children and grandchild
    EXPECT_EQ(parent->child, c);
    EXPECT_EQ(c->sibling, a);
    EXPECT_EQ(a->back, &c->sibling);
    EXPECT_EQ(a->sibling, nullptr);

    memPoolDestroy(c);  // the first child
    EXPECT_EQ(parent->child, a);
    EXPECT_EQ(a->back, &parent->child);

    memPoolDestroy(a);  // the only child
    EXPECT_EQ(parent->child, nullptr);
}

TEST(MemPoolTree, DestroyLastChild) {
    PoolPtr parent(memPoolInit(nullptr, 0));
    MEM_POOL *a = memPoolInit(parent.get(), 0);
    MEM_POOL *b = memPoolInit(parent.get(), 0);
    memPoolDestroy(a);
    EXPECT_EQ(parent->child, b);
    EXPECT_EQ(b->sibling, nullptr);
    EXPECT_EQ(b->back, &parent->child);
}

TEST(MemPoolTree, DestroyParentDestroysAll) {
    // Leaks or double frees here show up under ASan and valgrind.
    MEM_POOL *root = memPoolInit(nullptr, 64);
    for (int i = 0; i < 5; i++) {
        MEM_POOL *child = memPoolInit(root, 32);
        ASSERT_NE(child, nullptr);
        ASSERT_NE(memPoolAlloc(child, 200), nullptr);
        for (int j = 0; j < 3; j++) {
            MEM_POOL *grandchild = memPoolInit(child, 16);
            ASSERT_NE(grandchild, nullptr);
            ASSERT_NE(memPoolAlloc(grandchild, 100), nullptr);
        }
    }
    memPoolDestroy(root);
}

TEST(MemPoolTree, DestroyChildOfChildUpdatesItsParentOnly) {
    PoolPtr root(memPoolInit(nullptr, 0));
    MEM_POOL *child = memPoolInit(root.get(), 0);
    MEM_POOL *g1 = memPoolInit(child, 0);
    MEM_POOL *g2 = memPoolInit(child, 0);
    memPoolDestroy(g2);
    EXPECT_EQ(root->child, child);
    EXPECT_EQ(child->child, g1);
    EXPECT_EQ(g1->back, &child->child);
}

TEST(MemPoolTree, DeepTreeIsDestroyed) {
    MEM_POOL *root = memPoolInit(nullptr, 8);
    MEM_POOL *p = root;
    for (int i = 0; i < 200000; i++) {
        MEM_POOL *next = memPoolInit(p, 8);
        ASSERT_NE(next, nullptr);
        if (i % 3 == 0) {
            ASSERT_NE(memPoolInit(p, 8), nullptr);  // a sibling now and then
        }
        p = next;
    }
    memPoolDestroy(root);
}
