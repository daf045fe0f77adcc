// STACK: a growable array of pointer-sized values with an optional
// comparison function and a sortedness flag.
//
// The array grows by exactly one slot at a time once its first four slots
// are used, which keeps memory tight; the stores built on it hold few
// values.  Sorting is deferred until a lookup or sort_STACK needs it.
//
// The record is public, so every call first checks that count and capacity
// describe a usable array; a stack whose fields were damaged is treated like
// a null stack and no slot outside 0..capacity-1 is ever touched.

#include <kry/stack.h>

#include "foundation/common.h"

#include <cstdint>
#include <cstdlib>
#include <cstring>

namespace {

constexpr char kFile[] = ".\\src\\stack";
constexpr int32_t kInitialCapacity = 4;
constexpr size_t kSlot = sizeof(void *);

bool usable(const STACK *s) {
    return s != nullptr && s->count >= 0 && s->capacity >= s->count &&
           (s->data != nullptr || s->capacity == 0);
}

bool in_range(const STACK *s, int32_t index) { return index >= 0 && index < s->count; }

// Byte size of n slots, or 0 when it does not fit the allocator's 32-bit
// size argument.
uint32_t slot_bytes(int64_t n) {
    const int64_t bytes = n * static_cast<int64_t>(kSlot);
    return bytes > 0 && bytes <= INT64_C(0xFFFFFFFF) ? static_cast<uint32_t>(bytes) : 0;
}

// Adds one slot; the stack is unchanged on failure.
bool grow(STACK *s) {
    const uint32_t bytes = slot_bytes(int64_t{s->capacity} + 1);
    if (s->capacity == INT32_MAX || bytes == 0)
        return false;
    void *data = lum_realloc(s->data, bytes, kFile, __LINE__);
    if (data == nullptr)
        return false;
    s->data = static_cast<void **>(data);
    s->capacity++;
    return true;
}

// Binary search over slots 0..count-1; returns the first of the values that
// compare equal to the key, or -1.
int32_t search_sorted(const STACK *s, void *key) {
    int32_t low = 0, high = s->count;
    while (low < high) {
        int32_t mid = (low + high) / 2;
        const int c = s->compare(&key, &s->data[mid]);
        if (c < 0) {
            high = mid;
        } else if (c > 0) {
            low = mid + 1;
        } else {
            while (mid > 0 && s->compare(&key, &s->data[mid - 1]) == 0)
                mid--;
            return mid;
        }
    }
    return -1;
}

int32_t search_linear(const STACK *s, const void *key) {
    for (int32_t i = 0; i < s->count; i++)
        if (s->data[i] == key)
            return i;
    return -1;
}

}  // namespace

extern "C" {

KRY_API STACK *new_STACK_compare_func(STACK_COMPARE_FUNC compare) {
    auto *s = static_cast<STACK *>(lum_malloc(sizeof(STACK), kFile, __LINE__));
    if (s == nullptr)
        return nullptr;
    void *data = lum_malloc(slot_bytes(kInitialCapacity), kFile, __LINE__);
    if (data == nullptr) {
        lum_Free(s, sizeof(STACK));
        return nullptr;
    }
    std::memset(data, 0, slot_bytes(kInitialCapacity));
    *s = STACK{0, static_cast<void **>(data), 0, kInitialCapacity, compare};
    return s;
}

KRY_API STACK *new_STACK(void) { return new_STACK_compare_func(nullptr); }

// Places the value at index (0..count-1), moving the values from there up
// one slot; any other index appends.  Returns the new count, 0 on failure.
KRY_API int32_t insert_STACK_value(STACK *stack, void *value, int32_t index) {
    if (!usable(stack) || stack->count == INT32_MAX)
        return 0;
    if (stack->capacity <= stack->count && !grow(stack))
        return 0;
    if (in_range(stack, index)) {
        std::memmove(&stack->data[index + 1], &stack->data[index],
                     static_cast<size_t>(stack->count - index) * kSlot);
        stack->data[index] = value;
    } else {
        stack->data[stack->count] = value;
    }
    stack->count++;
    stack->sorted = 0;
    return stack->count;
}

KRY_API int32_t push_STACK_value(STACK *stack, void *value) {
    if (stack == nullptr)
        return 0;
    return insert_STACK_value(stack, value, stack->count);
}

// Removes the value at index, moving the later values down one slot.
KRY_API void *remove_STACK_value(STACK *stack, int32_t index) {
    if (!usable(stack) || !in_range(stack, index))
        return nullptr;
    void *value = stack->data[index];
    std::memmove(&stack->data[index], &stack->data[index + 1],
                 static_cast<size_t>(stack->count - index - 1) * kSlot);
    stack->count--;
    return value;
}

KRY_API void *pop_STACK_value(STACK *stack) {
    if (!usable(stack) || stack->count == 0)
        return nullptr;
    return remove_STACK_value(stack, stack->count - 1);
}

// Overwrites a slot.  The sorted flag is kept even if the order breaks.
KRY_API void *set_STACK_value(STACK *stack, void *value, int32_t index) {
    if (!usable(stack) || !in_range(stack, index))
        return nullptr;
    stack->data[index] = value;
    return value;
}

KRY_API void *get_STACK_value(const STACK *stack, int32_t index) {
    if (!usable(stack) || !in_range(stack, index))
        return nullptr;
    return stack->data[index];
}

KRY_API int32_t get_STACK_count(const STACK *stack) {
    return stack == nullptr ? -1 : stack->count;
}

KRY_API int32_t is_STACK_sorted(const STACK *stack) {
    return stack == nullptr ? 1 : stack->sorted;
}

// Sorts an unsorted stack with its comparison function.  Without one there
// is no order to establish, and the stack is left as it is.
KRY_API void sort_STACK(STACK *stack) {
    if (!usable(stack) || stack->sorted != 0 || stack->compare == nullptr)
        return;
    if (stack->count > 1)
        std::qsort(stack->data, static_cast<size_t>(stack->count), kSlot, stack->compare);
    stack->sorted = 1;
}

// With a comparison function the stack is sorted first (a lookup may
// reorder it) and searched by bisection; the sorted flag is trusted, so a
// stack whose order was broken by set_STACK_value is searched as if sorted.
// Without one, the values are scanned for the key itself.
KRY_API int32_t find_STACK_value(STACK *stack, void *key) {
    if (!usable(stack))
        return -1;
    if (stack->compare == nullptr)
        return search_linear(stack, key);
    sort_STACK(stack);
    if (key == nullptr)
        return -1;
    return search_sorted(stack, key);
}

// A copy with the same values, capacity, sorted flag and comparison function.
KRY_API STACK *dup_STACK(const STACK *stack) {
    if (!usable(stack))
        return nullptr;
    const int32_t capacity = stack->capacity > 0 ? stack->capacity : 1;
    const uint32_t bytes = slot_bytes(capacity);
    if (bytes == 0)
        return nullptr;
    auto *copy = static_cast<STACK *>(lum_malloc(sizeof(STACK), kFile, __LINE__));
    if (copy == nullptr)
        return nullptr;
    auto *data = static_cast<void **>(lum_malloc(bytes, kFile, __LINE__));
    if (data == nullptr) {
        lum_Free(copy, sizeof(STACK));
        return nullptr;
    }
    std::memset(data, 0, bytes);
    if (stack->count > 0)
        std::memcpy(data, stack->data, static_cast<size_t>(stack->count) * kSlot);
    *copy = STACK{stack->count, data, stack->sorted, stack->capacity, stack->compare};
    return copy;
}

KRY_API void free_STACK(STACK *stack) {
    if (stack == nullptr)
        return;
    // The slots may point at key material; wipe them with the header.
    if (usable(stack))
        lum_Free(stack->data, slot_bytes(stack->capacity > 0 ? stack->capacity : 1));
    else
        lum_free(stack->data, kFile, __LINE__);
    lum_Free(stack, sizeof(STACK));
}

// Releases every non-null value (clearing its slot), then the stack.
KRY_API void free_STACK_values(STACK *stack, void (*release)(void *)) {
    if (!usable(stack) || release == nullptr)
        return;
    for (int32_t i = 0; i < stack->count; i++) {
        if (stack->data[i] != nullptr) {
            release(stack->data[i]);
            stack->data[i] = nullptr;
        }
    }
    free_STACK(stack);
}

}  // extern "C"
