// libFuzzer target: STACK, memory pools and memory buffers driven by
// operation sequences read from the input.
//
//   * STACK: every operation is mirrored on a std::vector model; counts,
//     values and find results are compared (bisection on a stack flagged
//     sorted but no longer in order is only checked for a consistent hit);
//   * memory pools: blocks from a tree of pools are filled with a tag and
//     checked intact until their pool is cleared or destroyed (an overlap
//     or a block handed out twice shows up), and must be 8-byte aligned;
//   * memory buffers: appends from exactly sized heap copies and
//     flattening, checked for the result codes and the length bookkeeping
//     (the sanitizers check the memory accesses).
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <vector>

#include <kry/error.h>
#include <kry/mempool.h>
#include <kry/stack.h>

// A failed check names itself and aborts: libFuzzer keeps the input.
#define check(ok)                                                                  \
    do {                                                                           \
        if (!(ok)) {                                                               \
            fprintf(stderr, "check failed: %s (%s:%d)\n", #ok, __FILE__, __LINE__); \
            abort();                                                               \
        }                                                                          \
    } while (0)

namespace {


struct Reader {
    const uint8_t *p;
    size_t n;
    bool empty() const { return n == 0; }
    uint8_t byte() {
        if (n == 0) return 0;
        --n;
        return *p++;
    }
};

int by_number(const void *a, const void *b) {
    const uintptr_t x = reinterpret_cast<uintptr_t>(*static_cast<void *const *>(a));
    const uintptr_t y = reinterpret_cast<uintptr_t>(*static_cast<void *const *>(b));
    return x < y ? -1 : x > y ? 1 : 0;
}

void *v(uintptr_t x) { return reinterpret_cast<void *>(x); }

void stack_ops(Reader &rd) {
    const bool with_compare = rd.byte() & 1;
    STACK *s = with_compare ? new_STACK_compare_func(by_number) : new_STACK();
    check(s != nullptr);
    std::vector<uintptr_t> model;
    bool sorted_flag = is_STACK_sorted(s) != 0;
    bool really_sorted = true;  // the model is in order while the flag is set
    for (int step = 0; step < 200 && !rd.empty(); ++step) {
        const uint8_t op = rd.byte();
        const uintptr_t value = rd.byte() % 16;
        const int32_t index = static_cast<int32_t>(static_cast<int8_t>(rd.byte()));
        const int32_t count = static_cast<int32_t>(model.size());
        const bool in_range = index >= 0 && index < count;
        switch (op % 9) {
        case 0:
            check(push_STACK_value(s, v(value)) == count + 1);
            model.push_back(value);
            sorted_flag = false;
            break;
        case 1:
            check(insert_STACK_value(s, v(value), index) == count + 1);
            if (in_range)
                model.insert(model.begin() + index, value);
            else
                model.push_back(value);
            sorted_flag = false;
            break;
        case 2: {
            void *got = remove_STACK_value(s, index);
            if (in_range) {
                check(got == v(model[static_cast<size_t>(index)]));
                model.erase(model.begin() + index);
            } else {
                check(got == nullptr);
            }
            break;
        }
        case 3: {
            void *got = pop_STACK_value(s);
            if (count > 0) {
                check(got == v(model.back()));
                model.pop_back();
            } else {
                check(got == nullptr);
            }
            break;
        }
        case 4: {
            void *got = set_STACK_value(s, v(value), index);
            if (in_range) {
                check(got == v(value));
                model[static_cast<size_t>(index)] = value;
                if (sorted_flag) really_sorted = std::is_sorted(model.begin(), model.end());
            } else {
                check(got == nullptr);
            }
            break;
        }
        case 5:
            check(get_STACK_value(s, index) == (in_range ? v(model[static_cast<size_t>(index)]) : nullptr));
            break;
        case 6:
            sort_STACK(s);
            if (with_compare && !sorted_flag) {
                std::sort(model.begin(), model.end());
                sorted_flag = true;
                really_sorted = true;
            }
            break;
        case 7: {
            const int32_t found = find_STACK_value(s, v(value));
            if (with_compare) {
                if (!sorted_flag) {
                    std::sort(model.begin(), model.end());
                    sorted_flag = true;
                    really_sorted = true;
                }
                if (found >= 0) {
                    check(found < count && model[static_cast<size_t>(found)] == value);
                }
                if (really_sorted && value != 0) {
                    auto it = std::lower_bound(model.begin(), model.end(), value);
                    const int32_t want = (it != model.end() && *it == value)
                                             ? static_cast<int32_t>(it - model.begin())
                                             : -1;
                    check(found == want);
                }
            } else {
                auto it = std::find(model.begin(), model.end(), value);
                check(found == (it == model.end() ? -1 : static_cast<int32_t>(it - model.begin())));
            }
            break;
        }
        case 8: {
            STACK *d = dup_STACK(s);
            check(d != nullptr);
            check(get_STACK_count(d) == count);
            for (int32_t i = 0; i < count; ++i) check(get_STACK_value(d, i) == v(model[static_cast<size_t>(i)]));
            check(is_STACK_sorted(d) == is_STACK_sorted(s));
            free_STACK(d);
            break;
        }
        }
        check(get_STACK_count(s) == static_cast<int32_t>(model.size()));
        if (with_compare) check((is_STACK_sorted(s) != 0) == sorted_flag);
    }
    free_STACK(s);
}

struct Block {
    uint8_t *p;
    uint32_t size;
    uint8_t tag;
    size_t pool;  // index into the pool list
};

void pool_ops(Reader &rd) {
    std::vector<MEM_POOL *> pools;  // pools[i] == nullptr once destroyed
    std::vector<size_t> parent;     // parent index, or SIZE_MAX for a root
    std::vector<Block> blocks;
    auto alive = [&](size_t i) { return i < pools.size() && pools[i] != nullptr; };
    auto is_descendant = [&](size_t i, size_t of) {
        for (size_t k = i; k != SIZE_MAX; k = parent[k])
            if (k == of) return true;
        return false;
    };
    auto forget_under = [&](size_t of, bool destroy_too) {
        blocks.erase(std::remove_if(blocks.begin(), blocks.end(),
                                    [&](const Block &b) { return is_descendant(b.pool, of); }),
                     blocks.end());
        for (size_t i = 0; i < pools.size(); ++i)
            if (is_descendant(i, of) && (i != of || destroy_too)) pools[i] = nullptr;
    };
    auto verify = [&]() {
        for (const Block &b : blocks)
            for (uint32_t i = 0; i < b.size; ++i) check(b.p[i] == b.tag);
    };
    uint8_t next_tag = 1;
    for (int step = 0; step < 100 && !rd.empty(); ++step) {
        const uint8_t op = rd.byte();
        const size_t which = pools.empty() ? 0 : rd.byte() % pools.size();
        const uint32_t size = static_cast<uint32_t>(rd.byte()) * ((op & 0x80) ? 37u : 1u);
        switch (op % 6) {
        case 0: {  // new pool, root or child
            MEM_POOL *par = (op & 0x40) && alive(which) ? pools[which] : nullptr;
            MEM_POOL *p = memPoolInit(par, size);
            check(p != nullptr);
            check(memPoolChunk(p) % 8 == 0);
            pools.push_back(p);
            parent.push_back(par ? which : SIZE_MAX);
            break;
        }
        case 1:
        case 2: {  // alloc / calloc
            if (!alive(which)) break;
            uint8_t *b = static_cast<uint8_t *>(op % 6 == 1 ? memPoolAlloc(pools[which], size)
                                                            : memPoolCalloc(pools[which], size));
            check(b != nullptr);
            check(reinterpret_cast<uintptr_t>(b) % 8 == 0);
            if (op % 6 == 2)
                for (uint32_t i = 0; i < size; ++i) check(b[i] == 0);
            const uint8_t tag = next_tag++;
            memset(b, tag, size);
            blocks.push_back({b, size, tag, which});
            break;
        }
        case 3: {  // realloc the newest block of the pool
            if (!alive(which)) break;
            for (size_t k = blocks.size(); k-- > 0;) {
                if (blocks[k].pool != which) continue;
                Block &blk = blocks[k];
                uint8_t *b = static_cast<uint8_t *>(memPoolRealloc(pools[which], blk.p, blk.size, size));
                check(b != nullptr);
                const uint32_t keep = std::min(blk.size, size);
                for (uint32_t i = 0; i < keep; ++i) check(b[i] == blk.tag);
                blk.p = b;
                blk.size = size;
                memset(b, blk.tag, size);
                break;
            }
            break;
        }
        case 4:  // clear: blocks of the pool and its children go
            if (!alive(which)) break;
            memPoolClear(pools[which]);
            forget_under(which, false);
            break;
        case 5:  // destroy: the pool and its children go
            if (!alive(which)) break;
            memPoolDestroy(pools[which]);
            forget_under(which, true);
            break;
        }
        verify();
    }
    for (size_t i = 0; i < pools.size(); ++i)
        if (pools[i] != nullptr && parent[i] == SIZE_MAX) memPoolDestroy(pools[i]);
}

void membuf_ops(Reader &rd) {
    const bool on_heap = rd.byte() & 1;
    MEM_POOL *pool = on_heap ? nullptr : memPoolInit(nullptr, 256);
    MEM_BUF buf;
    check(memBufInit(&buf, pool, 4u * (rd.byte() % 64u)) == 0);
    uint32_t total = 0;
    std::vector<uint8_t *> arrays;
    for (int step = 0; step < 40 && !rd.empty(); ++step) {
        const uint8_t op = rd.byte();
        if (op & 1) {
            const size_t n = std::min<size_t>(rd.byte() % 80u, rd.n);
            uint8_t *copy = static_cast<uint8_t *>(malloc(n ? n : 1));
            check(copy != nullptr);
            memcpy(copy, rd.p, n);
            rd.p += n;
            rd.n -= n;
            const uint32_t rc = memBufUpdate(&buf, copy, static_cast<uint32_t>(n));
            free(copy);
            check(rc == 0 || rc == 35);
            check(buf.length >= total && buf.length <= total + n);
            if (rc == 0) check(buf.length == total + n);
            total = buf.length;
        } else {
            uint8_t *array = nullptr;
            uint32_t len = 0xFFFFFFFFu;
            const uint32_t rc = memBufToArray(&buf, &array, &len);
            check(rc == 0 || rc == 35);
            check(array != nullptr);
            check(len <= buf.length);
            if (on_heap) arrays.push_back(array);
        }
    }
    // Heap buffers: release the blocks and arrays ourselves.
    if (on_heap) {
        for (uint8_t *a : arrays) lum_free(a, __FILE__, __LINE__);
        for (MEM_BUF_BLOCK *b = buf.first; b != nullptr;) {
            MEM_BUF_BLOCK *next = b->next;
            lum_free(b->data, __FILE__, __LINE__);
            lum_free(b, __FILE__, __LINE__);
            b = next;
        }
    }
    memPoolDestroy(pool);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    Reader rd{data, size};
    switch (rd.byte() % 3) {
    case 0: stack_ops(rd); break;
    case 1: pool_ops(rd); break;
    case 2: membuf_ops(rd); break;
    }
    return 0;
}
