// Memory buffers: appending across blocks, flattening with memBufToArray,
// the four-bytes-per-byte address stride and the failures with 35.
//
// The stride: the write position inside a block is its data pointer plus
// four times its used count, the source advances four bytes per byte copied,
// and memBufToArray places each block four times the bytes already counted
// into the array.  The library sizes its blocks for that (four bytes of data
// area per counted byte), reads nothing past the caller's data and writes
// nothing past the array; the first access that would leave its buffer ends
// the call with 35, keeping what was done.  A small model of those rules
// below predicts every block and array byte.

#include <kry/error.h>
#include <kry/mempool.h>

#include "test_support.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <memory>
#include <string>
#include <vector>

namespace {

using kry_test::Bytes;

struct PoolDeleter {
    void operator()(MEM_POOL *p) const { memPoolDestroy(p); }
};
using PoolPtr = std::unique_ptr<MEM_POOL, PoolDeleter>;

Bytes text(const std::string &s) { return Bytes(s.begin(), s.end()); }

// Appends from an exactly sized heap copy, so any read past the data shows up
// under the address sanitizer and valgrind.
uint32_t update(MEM_BUF *b, const Bytes &data) {
    std::unique_ptr<uint8_t[]> exact(new uint8_t[data.size() ? data.size() : 1]);
    std::copy(data.begin(), data.end(), exact.get());
    return memBufUpdate(b, exact.get(), static_cast<uint32_t>(data.size()));
}

std::vector<const MEM_BUF_BLOCK *> blocks_of(const MEM_BUF &b) {
    std::vector<const MEM_BUF_BLOCK *> out;
    for (const MEM_BUF_BLOCK *k = b.first; k != nullptr; k = k->next) out.push_back(k);
    return out;
}

Bytes area(const MEM_BUF_BLOCK *k, size_t from, size_t n) {
    return Bytes(k->data + from, k->data + from + n);
}

// ---- model ---------------------------------------------------------------

struct ModelBlock {
    uint32_t used = 0, free = 0;
    Bytes area;  // 4 x capacity bytes, zero-filled
};

struct Model {
    uint32_t block_size = 0;
    uint32_t length = 0;
    std::vector<ModelBlock> blocks;

    static void copy(ModelBlock &k, const Bytes &data, uint64_t &source, uint32_t n) {
        std::copy(data.begin() + static_cast<long>(source),
                  data.begin() + static_cast<long>(source + n), k.area.begin() + 4 * k.used);
        k.used += n;
        k.free -= n;
        source += 4ull * n;
    }

    uint32_t update(const Bytes &data) {
        const uint32_t len = static_cast<uint32_t>(data.size());
        uint64_t source = 0;
        uint32_t remaining = len, result = 0;
        if (!blocks.empty() && blocks.back().free != 0) {
            const uint32_t n = std::min(remaining, blocks.back().free);
            copy(blocks.back(), data, source, n);  // the first read starts at 0
            remaining -= n;
        }
        while (remaining != 0) {
            const uint32_t n = std::min(remaining, block_size);
            if (source + n > len) {
                result = 35;
                break;
            }
            ModelBlock k;
            k.free = block_size;
            k.area.assign(4ull * block_size, 0);
            blocks.push_back(k);
            copy(blocks.back(), data, source, n);
            remaining -= n;
        }
        length += len - remaining;
        return result;
    }

    // `copied` marks the array bytes the copies define.
    uint32_t to_array(Bytes &array, std::vector<bool> &copied, uint32_t &out_length) const {
        array.assign(length, 0);
        copied.assign(length, false);
        uint32_t counted = 0;
        for (const ModelBlock &k : blocks) {
            const uint64_t destination = 4ull * counted;
            if (k.used != 0 && destination + k.used > length) {
                out_length = counted;
                return 35;
            }
            std::copy(k.area.begin(), k.area.begin() + k.used,
                      array.begin() + static_cast<long>(destination));
            std::fill(copied.begin() + static_cast<long>(destination),
                      copied.begin() + static_cast<long>(destination + k.used), true);
            counted += k.used;
        }
        out_length = counted;
        return 0;
    }
};

void expect_matches(const MEM_BUF &b, const Model &m) {
    ASSERT_EQ(b.length, m.length);
    auto chain = blocks_of(b);
    ASSERT_EQ(chain.size(), m.blocks.size());
    for (size_t i = 0; i < chain.size(); i++) {
        ASSERT_EQ(chain[i]->used, m.blocks[i].used) << "block " << i;
        ASSERT_EQ(chain[i]->free, m.blocks[i].free) << "block " << i;
        ASSERT_EQ(area(chain[i], 0, m.blocks[i].area.size()), m.blocks[i].area) << "block " << i;
    }
    if (!chain.empty()) {
        ASSERT_EQ(b.last, chain.back());
    }
}

// Flattens and returns the array as bytes of the buffer's length.
Bytes flatten(MEM_BUF *b, uint32_t *result, uint32_t *out_length) {
    uint8_t *array = nullptr;
    *out_length = 0xDEADBEEF;
    *result = memBufToArray(b, &array, out_length);
    if (array == nullptr)
        return {};
    return Bytes(array, array + b->length);
}

}  // namespace

TEST(MemBuf, InitZeroesAndDefaultsBlockSize) {
    PoolPtr pool(memPoolInit(nullptr, 0));
    MEM_BUF b;
    std::memset(&b, 0xA5, sizeof b);
    EXPECT_EQ(memBufInit(&b, pool.get(), 0), 0u);
    EXPECT_EQ(b.pool, pool.get());
    EXPECT_EQ(b.first, nullptr);
    EXPECT_EQ(b.last, nullptr);
    EXPECT_EQ(b.length, 0u);
    EXPECT_EQ(b.block_size, 512u);
    EXPECT_EQ(memBufInit(&b, pool.get(), 100), 0u);
    EXPECT_EQ(b.block_size, 100u);
    EXPECT_EQ(memBufInit(nullptr, pool.get(), 0), 35u);
}

TEST(MemBuf, NullArguments) {
    PoolPtr pool(memPoolInit(nullptr, 0));
    MEM_BUF b;
    memBufInit(&b, pool.get(), 16);
    const uint8_t x[4] = {1, 2, 3, 4};
    EXPECT_EQ(memBufUpdate(nullptr, x, 4), 35u);
    EXPECT_EQ(memBufUpdate(&b, nullptr, 4), 35u);
    EXPECT_EQ(memBufUpdate(&b, nullptr, 0), 0u);
    EXPECT_EQ(memBufUpdate(&b, x, 0), 0u);
    EXPECT_EQ(b.first, nullptr);
    EXPECT_EQ(b.length, 0u);
    uint8_t *array = nullptr;
    uint32_t len = 0;
    EXPECT_EQ(memBufToArray(nullptr, &array, &len), 35u);
    EXPECT_EQ(memBufToArray(&b, nullptr, &len), 35u);
    EXPECT_EQ(memBufToArray(&b, &array, nullptr), 35u);
}

TEST(MemBuf, EmptyBufferFlattensToNothing) {
    PoolPtr pool(memPoolInit(nullptr, 0));
    MEM_BUF b;
    memBufInit(&b, pool.get(), 16);
    uint8_t *array = nullptr;
    uint32_t len = 99;
    EXPECT_EQ(memBufToArray(&b, &array, &len), 0u);
    EXPECT_NE(array, nullptr);
    EXPECT_EQ(len, 0u);
}

TEST(MemBuf, BlocksAreSizedForTheStride) {
    PoolPtr pool(memPoolInit(nullptr, 4096));
    MEM_BUF b;
    memBufInit(&b, pool.get(), 16);
    ASSERT_EQ(update(&b, text("abc")), 0u);
    // Header, then a zero-filled data area of 4 x 16 bytes, from the pool.
    const uint32_t header = memAlignmentCeiling(sizeof(MEM_BUF_BLOCK));
    EXPECT_EQ(pool->inline_fragment.used, header + 64u);
    auto *data = reinterpret_cast<uint8_t *>(&pool->inline_fragment + 1);
    EXPECT_EQ(reinterpret_cast<uint8_t *>(b.first), data);
    EXPECT_EQ(b.first->data, data + header);
    EXPECT_EQ(b.first->used, 3u);
    EXPECT_EQ(b.first->free, 13u);
    Bytes expect(64, 0);
    expect[0] = 'a';
    expect[1] = 'b';
    expect[2] = 'c';
    EXPECT_EQ(area(b.first, 0, 64), expect);
}

TEST(MemBuf, SecondAppendLandsFourTimesFurther) {
    PoolPtr pool(memPoolInit(nullptr, 0));
    MEM_BUF b;
    memBufInit(&b, pool.get(), 16);
    ASSERT_EQ(update(&b, text("ABCD")), 0u);
    ASSERT_EQ(update(&b, text("EFGH")), 0u);
    ASSERT_EQ(blocks_of(b).size(), 1u);
    EXPECT_EQ(b.first->used, 8u);
    EXPECT_EQ(b.first->free, 8u);
    EXPECT_EQ(b.length, 8u);
    EXPECT_EQ(area(b.first, 0, 4), text("ABCD"));
    EXPECT_EQ(area(b.first, 4, 12), Bytes(12, 0));
    EXPECT_EQ(area(b.first, 16, 4), text("EFGH"));

    uint32_t result, len;
    Bytes array = flatten(&b, &result, &len);
    EXPECT_EQ(result, 0u);
    EXPECT_EQ(len, 8u);
    EXPECT_EQ(array, (Bytes{'A', 'B', 'C', 'D', 0, 0, 0, 0}));

    // 12 more bytes: 8 fit the block (written at 32), then the source would
    // move to offset 32 of a 12-byte input: 35, the 8 bytes stay.
    EXPECT_EQ(update(&b, text("0123456789ab")), 35u);
    ASSERT_EQ(blocks_of(b).size(), 1u);
    EXPECT_EQ(b.first->used, 16u);
    EXPECT_EQ(b.first->free, 0u);
    EXPECT_EQ(area(b.first, 32, 8), text("01234567"));
    EXPECT_EQ(area(b.first, 40, 24), Bytes(24, 0));
    EXPECT_EQ(b.length, 16u);
}

TEST(MemBuf, OneByteAppendsAcrossBlockBoundary) {
    PoolPtr pool(memPoolInit(nullptr, 0));
    MEM_BUF b;
    memBufInit(&b, pool.get(), 4);
    for (char c : std::string("abcdef")) ASSERT_EQ(update(&b, Bytes{uint8_t(c)}), 0u);
    auto chain = blocks_of(b);
    ASSERT_EQ(chain.size(), 2u);
    EXPECT_EQ(chain[0]->used, 4u);
    EXPECT_EQ(chain[0]->free, 0u);
    EXPECT_EQ(area(chain[0], 0, 16),
              (Bytes{'a', 0, 0, 0, 'b', 0, 0, 0, 'c', 0, 0, 0, 'd', 0, 0, 0}));
    EXPECT_EQ(chain[1]->used, 2u);
    EXPECT_EQ(chain[1]->free, 2u);
    EXPECT_EQ(area(chain[1], 0, 16), (Bytes{'e', 0, 0, 0, 'f', 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0}));
    EXPECT_EQ(b.length, 6u);
    EXPECT_EQ(b.last, chain[1]);

    // The second block would go to offset 16 of a 6-byte array: 35 after the
    // first block's 4 bytes.
    uint32_t result, len;
    Bytes array = flatten(&b, &result, &len);
    EXPECT_EQ(result, 35u);
    EXPECT_EQ(len, 4u);
    EXPECT_EQ(array, (Bytes{'a', 0, 0, 0, 0, 0}));
}

TEST(MemBuf, LongAppendFollowsSourceStride) {
    PoolPtr pool(memPoolInit(nullptr, 0));
    MEM_BUF b;
    memBufInit(&b, pool.get(), 4);
    Bytes in(20);
    for (int i = 0; i < 20; i++) in[i] = static_cast<uint8_t>(i);
    // Copies 0..3, then 16..19 (source offset 16), then the source would be
    // at 32 of 20 bytes: 35.
    EXPECT_EQ(update(&b, in), 35u);
    auto chain = blocks_of(b);
    ASSERT_EQ(chain.size(), 2u);
    EXPECT_EQ(area(chain[0], 0, 4), (Bytes{0, 1, 2, 3}));
    EXPECT_EQ(area(chain[1], 0, 4), (Bytes{16, 17, 18, 19}));
    EXPECT_EQ(chain[1]->used, 4u);
    EXPECT_EQ(b.length, 8u);

    uint32_t result, len;
    Bytes array = flatten(&b, &result, &len);
    EXPECT_EQ(result, 35u);
    EXPECT_EQ(len, 4u);
    EXPECT_EQ(array, (Bytes{0, 1, 2, 3, 0, 0, 0, 0}));
}

TEST(MemBuf, FullBlockThenNewBlock) {
    PoolPtr pool(memPoolInit(nullptr, 0));
    MEM_BUF b;
    memBufInit(&b, pool.get(), 8);
    ASSERT_EQ(update(&b, text("12345678")), 0u);
    uint32_t result, len;
    Bytes array = flatten(&b, &result, &len);
    EXPECT_EQ(result, 0u);
    EXPECT_EQ(len, 8u);
    EXPECT_EQ(array, text("12345678"));  // one copy: the bytes as given

    // The last block is full, so the next append starts a block and reads
    // its data from the start.
    ASSERT_EQ(update(&b, text("xyz")), 0u);
    auto chain = blocks_of(b);
    ASSERT_EQ(chain.size(), 2u);
    EXPECT_EQ(area(chain[1], 0, 3), text("xyz"));
    EXPECT_EQ(b.length, 11u);
    array = flatten(&b, &result, &len);
    EXPECT_EQ(result, 35u);  // the second block would start at 32 of 11
    EXPECT_EQ(len, 8u);
    EXPECT_EQ(Bytes(array.begin(), array.begin() + 8), text("12345678"));
}

TEST(MemBuf, ArrayComesFromThePool) {
    PoolPtr pool(memPoolInit(nullptr, 4096));
    MEM_BUF b;
    memBufInit(&b, pool.get(), 16);
    ASSERT_EQ(update(&b, text("hello")), 0u);
    auto *data = reinterpret_cast<uint8_t *>(&pool->inline_fragment + 1);
    uint8_t *expected_at = data + pool->inline_fragment.used;
    uint8_t *array = nullptr;
    uint32_t len = 0;
    ASSERT_EQ(memBufToArray(&b, &array, &len), 0u);
    EXPECT_EQ(array, expected_at);
    EXPECT_EQ(len, 5u);
    EXPECT_EQ(Bytes(array, array + 5), text("hello"));
}

TEST(MemBuf, BlockTooLargeForStrideFails) {
    PoolPtr pool(memPoolInit(nullptr, 0));
    MEM_BUF b;
    memBufInit(&b, pool.get(), 0x40000000u);  // 4 x the size exceeds 32 bits
    EXPECT_EQ(update(&b, text("abc")), 35u);
    EXPECT_EQ(b.first, nullptr);
    EXPECT_EQ(b.length, 0u);
}

TEST(MemBuf, ArrayAllocationFailure) {
    PoolPtr pool(memPoolInit(nullptr, 0));
    MEM_BUF b;
    memBufInit(&b, pool.get(), 16);
    ASSERT_EQ(update(&b, text("abc")), 0u);
    b.length = 0xFFFFFFFFu;  // more than the pool can hand out
    uint8_t *array = nullptr;
    uint32_t len = 7;
    EXPECT_EQ(memBufToArray(&b, &array, &len), 35u);
    EXPECT_EQ(array, nullptr);
    EXPECT_EQ(len, 7u);
}

TEST(MemBuf, NullPoolUsesAllocator) {
    MEM_BUF b;
    memBufInit(&b, nullptr, 8);
    ASSERT_EQ(update(&b, text("ab")), 0u);
    ASSERT_EQ(update(&b, text("cdefghij")), 35u);  // 6 fit, then the source runs out
    uint8_t *array = nullptr;
    uint32_t len = 0;
    ASSERT_EQ(memBufToArray(&b, &array, &len), 0u);
    EXPECT_EQ(len, 8u);
    EXPECT_EQ(Bytes(array, array + 8), (Bytes{'a', 'b', 0, 0, 0, 0, 0, 0}));
    EXPECT_EQ(area(b.first, 8, 6), text("cdefgh"));
    lum_free(array, __FILE__, __LINE__);
    // Without a pool the blocks came from lum_malloc; the caller frees them.
    for (MEM_BUF_BLOCK *k = b.first; k != nullptr;) {
        MEM_BUF_BLOCK *next = k->next;
        lum_free(k->data, __FILE__, __LINE__);
        lum_free(k, __FILE__, __LINE__);
        k = next;
    }
}

TEST(MemBuf, MatchesModelOfTheStrideRules) {
    kry_test::TestRng rng(20261122);
    const uint32_t block_sizes[] = {1, 2, 3, 4, 7, 8, 16, 33, 512};
    int results[2] = {0, 0};     // memBufToArray: 0, 35
    int updates[2] = {0, 0};     // memBufUpdate: 0, 35
    int multi_block = 0;         // buffers that reached a second block
    for (uint32_t bs : block_sizes) {
        for (int round = 0; round < 20; round++) {
            PoolPtr pool(memPoolInit(nullptr, rng.below(3) * 200));
            MEM_BUF b;
            memBufInit(&b, pool.get(), bs);
            Model m;
            m.block_size = bs;
            for (int step = 0; step < 30; step++) {
                const uint32_t len = rng.below(4) == 0 ? rng.below(6 * bs + 2) : rng.below(4);
                Bytes in = rng.bytes(len);
                const uint32_t want = m.update(in);
                ASSERT_EQ(update(&b, in), want) << "bs " << bs << " step " << step;
                updates[want == 0 ? 0 : 1]++;
                if (step == 29 && m.blocks.size() > 1) {
                    multi_block++;
                }
                ASSERT_NO_FATAL_FAILURE(expect_matches(b, m));
                if (step % 5 == 4) {
                    Bytes want;
                    std::vector<bool> copied;
                    uint32_t want_len = 0, result = 0, len_out = 0;
                    const uint32_t want_result = m.to_array(want, copied, want_len);
                    Bytes got = flatten(&b, &result, &len_out);
                    ASSERT_EQ(result, want_result);
                    ASSERT_EQ(len_out, want_len);
                    ASSERT_EQ(got.size(), want.size());
                    // The array is zero-filled before the copies.
                    ASSERT_EQ(got, want);
                    if (want_result == 0) {
                        ASSERT_EQ(std::count(copied.begin(), copied.end(), true),
                                  static_cast<long>(want.size()));
                    }
                    results[want_result == 0 ? 0 : 1]++;
                }
            }
        }
    }
    // Both outcomes of both calls, and multi-block chains, were exercised.
    EXPECT_GT(results[0], 20);
    EXPECT_GT(results[1], 20);
    EXPECT_GT(updates[0], 100);
    EXPECT_GT(updates[1], 20);
    EXPECT_GT(multi_block, 20);
}
