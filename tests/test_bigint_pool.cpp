// BIGINT_POOL: blocks of eight records, nested frames, reuse of records and
// their arrays, clearing, and the refusals that keep a misused pool inside
// its memory.

#include <kry/bigint.h>

#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <memory>
#include <vector>

#include "test_support.h"

namespace {

struct PoolFree {
    void operator()(BIGINT_POOL *p) const { free_BIGINT_POOL(p); }
};
using Pool = std::unique_ptr<BIGINT_POOL, PoolFree>;

Pool make_pool() {
    Pool p(new_BIGINT_POOL());
    EXPECT_NE(p, nullptr);
    return p;
}

// Record number i of the chain: slot i mod 8 of block i / 8.
BIGINT *record_at(const BIGINT_POOL *pool, uint32_t i) {
    BIGINT_POOL_BLOCK *block = pool->head;
    for (uint32_t k = 0; k < i / 8 && block != nullptr; k++) block = block->next;
    return block != nullptr ? &block->records[i % 8] : nullptr;
}

uint32_t block_count(const BIGINT_POOL *pool) {
    uint32_t n = 0;
    for (BIGINT_POOL_BLOCK *b = pool->head; b != nullptr; b = b->next) n++;
    return n;
}

TEST(BigintPool, NewAndInitState) {
    Pool p = make_pool();
    EXPECT_EQ(p->head, nullptr);
    EXPECT_EQ(p->current, nullptr);
    EXPECT_EQ(p->tail, nullptr);
    EXPECT_EQ(p->used, 0u);
    EXPECT_EQ(p->available, 0u);
    EXPECT_EQ(p->depth, -1);
    for (uint32_t c : p->frame_counts) EXPECT_EQ(c, 0u);

    BIGINT_POOL local;
    std::memset(&local, 0xA5, sizeof local);
    EXPECT_EQ(init_BIGINT_POOL(&local), 0);
    EXPECT_EQ(local.head, nullptr);
    EXPECT_EQ(local.used, 0u);
    EXPECT_EQ(local.available, 0u);
    EXPECT_EQ(local.depth, -1);
    EXPECT_EQ(local.frame_counts[79], 0u);
    EXPECT_EQ(init_BIGINT_POOL(nullptr), 1);
}

TEST(BigintPool, NullArguments) {
    EXPECT_EQ(start_BIGINT_POOL(nullptr), 1);
    EXPECT_EQ(get_BIGINT_POOL(nullptr), nullptr);
    EXPECT_EQ(finish_BIGINT_POOL(nullptr), 1);
    EXPECT_EQ(clear_BIGINT_POOL(nullptr), 1);
    EXPECT_EQ(free_BIGINT_POOL(nullptr), 1);
}

TEST(BigintPool, FirstTakeAllocatesABlockOfInPlaceRecords) {
    Pool p = make_pool();
    ASSERT_EQ(start_BIGINT_POOL(p.get()), 0);
    EXPECT_EQ(p->depth, 0);
    BIGINT *r = get_BIGINT_POOL(p.get());
    ASSERT_NE(r, nullptr);
    ASSERT_NE(p->head, nullptr);
    EXPECT_EQ(p->head, p->tail);
    EXPECT_EQ(p->current, p->head);
    EXPECT_EQ(r, &p->head->records[0]);
    EXPECT_EQ(p->head->prev, nullptr);
    EXPECT_EQ(p->head->next, nullptr);
    EXPECT_EQ(p->available, 8u);
    EXPECT_EQ(p->used, 1u);
    EXPECT_EQ(p->frame_counts[0], 1u);
    for (const BIGINT &rec : p->head->records) {
        EXPECT_EQ(rec.data, nullptr);
        EXPECT_EQ(rec.length, 0);
        EXPECT_EQ(rec.size, 0);
        EXPECT_EQ(rec.flags, BIGINT_IN_PLACE);
    }
    EXPECT_EQ(finish_BIGINT_POOL(p.get()), 0);
}

TEST(BigintPool, NinthTakeAllocatesSecondBlockAndNextNineAllocateNothing) {
    Pool p = make_pool();
    ASSERT_EQ(start_BIGINT_POOL(p.get()), 0);
    std::vector<BIGINT *> first;
    for (int i = 0; i < 8; i++) first.push_back(get_BIGINT_POOL(p.get()));
    EXPECT_EQ(p->available, 8u);
    EXPECT_EQ(p->head, p->tail);
    BIGINT_POOL_BLOCK *block0 = p->head;
    first.push_back(get_BIGINT_POOL(p.get()));
    ASSERT_NE(first.back(), nullptr);
    EXPECT_EQ(p->available, 16u);
    EXPECT_EQ(p->used, 9u);
    EXPECT_EQ(p->frame_counts[0], 9u);
    BIGINT_POOL_BLOCK *block1 = p->tail;
    ASSERT_NE(block1, block0);
    EXPECT_EQ(p->head, block0);
    EXPECT_EQ(block0->next, block1);
    EXPECT_EQ(block1->prev, block0);
    EXPECT_EQ(block1->next, nullptr);
    EXPECT_EQ(p->current, block1);
    EXPECT_EQ(first[8], &block1->records[0]);
    for (uint32_t i = 0; i < 9; i++) EXPECT_EQ(first[i], record_at(p.get(), i));

    for (BIGINT *r : first) set_BIGINT_bit(r, 200);  // give every record an array
    ASSERT_EQ(finish_BIGINT_POOL(p.get()), 0);
    EXPECT_EQ(p->used, 0u);
    EXPECT_EQ(p->depth, -1);

    ASSERT_EQ(start_BIGINT_POOL(p.get()), 0);
    for (uint32_t i = 0; i < 9; i++) {
        BIGINT *r = get_BIGINT_POOL(p.get());
        EXPECT_EQ(r, first[i]) << i;  // the same records, in the same order
        EXPECT_EQ(r->size, 7) << i;   // arrays kept: nothing was allocated
    }
    EXPECT_EQ(p->available, 16u);
    EXPECT_EQ(p->head, block0);
    EXPECT_EQ(p->tail, block1);
    EXPECT_EQ(block_count(p.get()), 2u);
    ASSERT_EQ(finish_BIGINT_POOL(p.get()), 0);
}

TEST(BigintPool, RecordTakenAgainIsZeroAndKeepsItsArray) {
    Pool p = make_pool();
    start_BIGINT_POOL(p.get());
    BIGINT *r = get_BIGINT_POOL(p.get());
    ASSERT_EQ(set_BIGINT_bit(r, 100), 0);
    ASSERT_EQ(add_BIGINT_word(r, 0x1234), 0);
    uint32_t *array = r->data;
    finish_BIGINT_POOL(p.get());

    start_BIGINT_POOL(p.get());
    BIGINT *again = get_BIGINT_POOL(p.get());
    ASSERT_EQ(again, r);
    EXPECT_EQ(again->length, 0);
    EXPECT_EQ(again->size, 4);
    EXPECT_EQ(again->data, array);
    EXPECT_EQ(again->data[0], 0u);
    EXPECT_EQ(get_BIGINT_word(again), 0u);
    finish_BIGINT_POOL(p.get());
}

TEST(BigintPool, FinishRightAfterStartChangesOnlyDepth) {
    Pool p = make_pool();
    start_BIGINT_POOL(p.get());
    for (int i = 0; i < 11; i++) get_BIGINT_POOL(p.get());
    ASSERT_EQ(start_BIGINT_POOL(p.get()), 0);
    BIGINT_POOL before;
    std::memcpy(&before, p.get(), sizeof before);
    ASSERT_EQ(finish_BIGINT_POOL(p.get()), 0);
    EXPECT_EQ(p->depth, before.depth - 1);
    before.depth = p->depth;
    EXPECT_EQ(std::memcmp(&before, p.get(), sizeof before), 0);
    finish_BIGINT_POOL(p.get());
}

TEST(BigintPool, NestedFramesWalkCurrentBack) {
    Pool p = make_pool();
    start_BIGINT_POOL(p.get());
    for (int i = 0; i < 3; i++) get_BIGINT_POOL(p.get());
    start_BIGINT_POOL(p.get());
    for (int i = 0; i < 14; i++) get_BIGINT_POOL(p.get());
    EXPECT_EQ(p->used, 17u);
    EXPECT_EQ(p->available, 24u);
    EXPECT_EQ(p->frame_counts[0], 3u);
    EXPECT_EQ(p->frame_counts[1], 14u);
    EXPECT_EQ(p->current, p->tail);

    ASSERT_EQ(finish_BIGINT_POOL(p.get()), 0);
    EXPECT_EQ(p->used, 3u);
    EXPECT_EQ(p->depth, 0);
    EXPECT_EQ(p->frame_counts[1], 0u);
    EXPECT_EQ(p->current, p->head);  // the block of record 2
    // The next take continues right after the outer frame's records.
    BIGINT *r = get_BIGINT_POOL(p.get());
    EXPECT_EQ(r, record_at(p.get(), 3));
    EXPECT_EQ(p->frame_counts[0], 4u);
    ASSERT_EQ(finish_BIGINT_POOL(p.get()), 0);
    EXPECT_EQ(p->used, 0u);
}

TEST(BigintPool, ClosingTheOnlyFrameLeavesCurrentNull) {
    Pool p = make_pool();
    start_BIGINT_POOL(p.get());
    get_BIGINT_POOL(p.get());
    finish_BIGINT_POOL(p.get());
    EXPECT_EQ(p->current, nullptr);
    // The next take starts again at head.
    start_BIGINT_POOL(p.get());
    EXPECT_EQ(get_BIGINT_POOL(p.get()), &p->head->records[0]);
    EXPECT_EQ(p->current, p->head);
    finish_BIGINT_POOL(p.get());

    start_BIGINT_POOL(p.get());
    for (int i = 0; i < 16; i++) get_BIGINT_POOL(p.get());
    finish_BIGINT_POOL(p.get());
    EXPECT_EQ(p->current, nullptr);
    EXPECT_EQ(p->available, 16u);
}

TEST(BigintPool, RecordsFollowTheChainAcrossManyFrames) {
    Pool p = make_pool();
    kry_test::TestRng rng(5);
    std::vector<uint32_t> counts;
    for (int step = 0; step < 3000; step++) {
        const uint32_t action = rng.below(3);
        if (action == 0 && counts.size() < 80) {
            ASSERT_EQ(start_BIGINT_POOL(p.get()), 0);
            counts.push_back(0);
        } else if (action == 1 && !counts.empty()) {
            const uint32_t used = p->used;
            BIGINT *r = get_BIGINT_POOL(p.get());
            ASSERT_NE(r, nullptr);
            ASSERT_EQ(r, record_at(p.get(), used));
            EXPECT_EQ(r->length, 0);
            set_BIGINT_word(r, 0xFFFFFFFF);
            add_BIGINT_word(r, step);
            counts.back()++;
        } else if (!counts.empty()) {
            const uint32_t used = p->used;
            ASSERT_EQ(finish_BIGINT_POOL(p.get()), 0);
            EXPECT_EQ(p->used, used - counts.back());
            counts.pop_back();
            if (p->used > 0) {
                BIGINT *last = record_at(p.get(), p->used - 1);
                EXPECT_TRUE(last >= &p->current->records[0] && last <= &p->current->records[7]);
            } else {
                EXPECT_EQ(p->current, nullptr);
            }
        }
        ASSERT_EQ(p->depth, static_cast<int32_t>(counts.size()) - 1);
        ASSERT_EQ(p->available, 8 * block_count(p.get()));
    }
}

TEST(BigintPool, ClearReleasesBlocksAndKeepsCounters) {
    Pool p = make_pool();
    start_BIGINT_POOL(p.get());
    for (int i = 0; i < 10; i++) set_BIGINT_bit(get_BIGINT_POOL(p.get()), 64 * i);
    BIGINT_POOL_BLOCK *tail = p->tail;
    ASSERT_EQ(clear_BIGINT_POOL(p.get()), 0);
    EXPECT_EQ(p->head, nullptr);
    EXPECT_EQ(p->tail, tail);  // left as it is
    EXPECT_EQ(p->used, 10u);
    EXPECT_EQ(p->available, 16u);
    EXPECT_EQ(p->depth, 0);
    EXPECT_EQ(p->frame_counts[0], 10u);
    // A cleared pool hands out nothing until it is set up again.
    EXPECT_EQ(get_BIGINT_POOL(p.get()), nullptr);
    EXPECT_EQ(finish_BIGINT_POOL(p.get()), 0);
    EXPECT_EQ(get_BIGINT_POOL(p.get()), nullptr);
    start_BIGINT_POOL(p.get());
    EXPECT_EQ(get_BIGINT_POOL(p.get()), nullptr);
    EXPECT_EQ(clear_BIGINT_POOL(p.get()), 0);

    ASSERT_EQ(init_BIGINT_POOL(p.get()), 0);
    start_BIGINT_POOL(p.get());
    BIGINT *r = get_BIGINT_POOL(p.get());
    ASSERT_NE(r, nullptr);
    EXPECT_EQ(r->data, nullptr);
    finish_BIGINT_POOL(p.get());
}

TEST(BigintPool, PoolInCallerMemory) {
    BIGINT_POOL pool;
    ASSERT_EQ(init_BIGINT_POOL(&pool), 0);
    start_BIGINT_POOL(&pool);
    for (int i = 0; i < 20; i++) set_BIGINT_word(get_BIGINT_POOL(&pool), i + 1);
    finish_BIGINT_POOL(&pool);
    EXPECT_EQ(clear_BIGINT_POOL(&pool), 0);
    EXPECT_EQ(pool.head, nullptr);
}

TEST(BigintPool, FrameDepthIsBounded) {
    Pool p = make_pool();
    for (int i = 0; i < 80; i++) ASSERT_EQ(start_BIGINT_POOL(p.get()), 0) << i;
    EXPECT_EQ(p->depth, 79);
    EXPECT_EQ(start_BIGINT_POOL(p.get()), 1);  // an 81st frame is refused
    EXPECT_EQ(p->depth, 79);
    EXPECT_NE(get_BIGINT_POOL(p.get()), nullptr);
    EXPECT_EQ(p->frame_counts[79], 1u);
    for (int i = 0; i < 80; i++) ASSERT_EQ(finish_BIGINT_POOL(p.get()), 0) << i;
    EXPECT_EQ(p->depth, -1);
    EXPECT_EQ(p->used, 0u);
    EXPECT_EQ(finish_BIGINT_POOL(p.get()), 1);  // no open frame
    EXPECT_EQ(p->depth, -1);
    EXPECT_EQ(get_BIGINT_POOL(p.get()), nullptr);  // no frame to count it in
    EXPECT_EQ(p->used, 0u);
}

TEST(BigintPool, DamagedCountersAreRefused) {
    Pool p = make_pool();
    start_BIGINT_POOL(p.get());
    get_BIGINT_POOL(p.get());
    p->frame_counts[0] = 5;  // more than were taken
    EXPECT_EQ(finish_BIGINT_POOL(p.get()), 1);
    p->frame_counts[0] = 1;
    p->used = 12;  // more than the chain holds
    EXPECT_EQ(get_BIGINT_POOL(p.get()), nullptr);
    p->used = 1;
    p->depth = 200;
    EXPECT_EQ(start_BIGINT_POOL(p.get()), 1);
    EXPECT_EQ(get_BIGINT_POOL(p.get()), nullptr);
    EXPECT_EQ(finish_BIGINT_POOL(p.get()), 1);
    p->depth = -7;
    EXPECT_EQ(start_BIGINT_POOL(p.get()), 1);
    p->depth = 0;
    p->available = 64;  // the chain is shorter than available says
    for (int i = 1; i < 8; i++) EXPECT_NE(get_BIGINT_POOL(p.get()), nullptr);
    EXPECT_EQ(get_BIGINT_POOL(p.get()), nullptr);
    p->available = 8;
    EXPECT_EQ(finish_BIGINT_POOL(p.get()), 0);
}

}  // namespace
