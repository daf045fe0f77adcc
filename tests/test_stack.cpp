// STACK: growth, insertion and removal, sorting and lookup, copying and
// release, and the neutral results of null or damaged stacks.

#include <kry/stack.h>

#include <gtest/gtest.h>

#include <cstdint>
#include <memory>
#include <vector>

namespace {

void *v(uintptr_t n) { return reinterpret_cast<void *>(n); }
uintptr_t n(const void *p) { return reinterpret_cast<uintptr_t>(p); }

// Orders slots by the numbers they hold.
int by_number(const void *a, const void *b) {
    const uintptr_t x = n(*static_cast<void *const *>(a));
    const uintptr_t y = n(*static_cast<void *const *>(b));
    return x < y ? -1 : x > y ? 1 : 0;
}

// Orders slots by number / 10, so 10..19 all compare equal.
int by_tens(const void *a, const void *b) {
    const uintptr_t x = n(*static_cast<void *const *>(a)) / 10;
    const uintptr_t y = n(*static_cast<void *const *>(b)) / 10;
    return x < y ? -1 : x > y ? 1 : 0;
}

struct StackDeleter {
    void operator()(STACK *s) const { free_STACK(s); }
};
using StackPtr = std::unique_ptr<STACK, StackDeleter>;

StackPtr make(STACK_COMPARE_FUNC compare, std::initializer_list<uintptr_t> values) {
    StackPtr s(new_STACK_compare_func(compare));
    for (uintptr_t x : values) push_STACK_value(s.get(), v(x));
    return s;
}

std::vector<uintptr_t> contents(const STACK *s) {
    std::vector<uintptr_t> out;
    for (int32_t i = 0; i < get_STACK_count(s); i++) out.push_back(n(get_STACK_value(s, i)));
    return out;
}

using Values = std::vector<uintptr_t>;

}  // namespace

TEST(Stack, NewStack) {
    StackPtr s(new_STACK());
    ASSERT_NE(s, nullptr);
    EXPECT_EQ(s->count, 0);
    EXPECT_EQ(s->sorted, 0);
    EXPECT_EQ(s->capacity, 4);
    EXPECT_EQ(s->compare, nullptr);
    ASSERT_NE(s->data, nullptr);
    for (int i = 0; i < 4; i++) EXPECT_EQ(s->data[i], nullptr);
    EXPECT_EQ(get_STACK_count(s.get()), 0);
    EXPECT_EQ(is_STACK_sorted(s.get()), 0);

    StackPtr c(new_STACK_compare_func(by_number));
    ASSERT_NE(c, nullptr);
    EXPECT_EQ(c->compare, &by_number);
    EXPECT_EQ(c->capacity, 4);
}

TEST(Stack, GrowsByOneSlotAfterFour) {
    StackPtr s(new_STACK());
    for (uintptr_t i = 1; i <= 4; i++) {
        EXPECT_EQ(push_STACK_value(s.get(), v(i)), static_cast<int32_t>(i));
        EXPECT_EQ(s->capacity, 4);
    }
    EXPECT_EQ(push_STACK_value(s.get(), v(5)), 5);
    EXPECT_EQ(s->capacity, 5);  // one reallocation, to five slots
    EXPECT_EQ(push_STACK_value(s.get(), v(6)), 6);
    EXPECT_EQ(s->capacity, 6);
    for (uintptr_t i = 7; i <= 40; i++) push_STACK_value(s.get(), v(i));
    EXPECT_EQ(s->capacity, 40);
    EXPECT_EQ(s->count, 40);
    for (int32_t i = 0; i < 40; i++) EXPECT_EQ(n(get_STACK_value(s.get(), i)), uintptr_t(i + 1));
}

TEST(Stack, InsertOutsideTheValuesAppends) {
    StackPtr s = make(nullptr, {1, 2});
    EXPECT_EQ(insert_STACK_value(s.get(), v(3), -1), 3);
    EXPECT_EQ(insert_STACK_value(s.get(), v(4), 3), 4);  // index == count
    EXPECT_EQ(insert_STACK_value(s.get(), v(5), 100), 5);
    EXPECT_EQ(insert_STACK_value(s.get(), v(6), INT32_MIN), 6);
    EXPECT_EQ(contents(s.get()), (Values{1, 2, 3, 4, 5, 6}));
}

TEST(Stack, InsertInTheMiddle) {
    StackPtr s = make(nullptr, {10, 20, 30});
    EXPECT_EQ(insert_STACK_value(s.get(), v(15), 1), 4);
    EXPECT_EQ(contents(s.get()), (Values{10, 15, 20, 30}));
    // The array is full: growth comes first, then the move.
    EXPECT_EQ(s->capacity, 4);
    EXPECT_EQ(insert_STACK_value(s.get(), v(5), 0), 5);
    EXPECT_EQ(s->capacity, 5);
    EXPECT_EQ(contents(s.get()), (Values{5, 10, 15, 20, 30}));
    EXPECT_EQ(insert_STACK_value(s.get(), v(25), 4), 6);
    EXPECT_EQ(contents(s.get()), (Values{5, 10, 15, 20, 25, 30}));
    EXPECT_EQ(s->capacity, 6);
}

TEST(Stack, InsertAndPushClearTheSortedFlag) {
    StackPtr s = make(by_number, {3, 1, 2});
    sort_STACK(s.get());
    EXPECT_EQ(is_STACK_sorted(s.get()), 1);
    push_STACK_value(s.get(), v(4));
    EXPECT_EQ(is_STACK_sorted(s.get()), 0);
    sort_STACK(s.get());
    insert_STACK_value(s.get(), v(0), 0);
    EXPECT_EQ(is_STACK_sorted(s.get()), 0);
}

TEST(Stack, Remove) {
    StackPtr s = make(nullptr, {1, 2, 3, 4});
    EXPECT_EQ(n(remove_STACK_value(s.get(), 3)), 4u);  // the last: nothing moves
    EXPECT_EQ(contents(s.get()), (Values{1, 2, 3}));
    EXPECT_EQ(n(remove_STACK_value(s.get(), 0)), 1u);
    EXPECT_EQ(contents(s.get()), (Values{2, 3}));
    EXPECT_EQ(remove_STACK_value(s.get(), 2), nullptr);
    EXPECT_EQ(remove_STACK_value(s.get(), -1), nullptr);
    EXPECT_EQ(contents(s.get()), (Values{2, 3}));
    EXPECT_EQ(s->capacity, 4);
}

TEST(Stack, RemovePopAndSetKeepTheSortedFlag) {
    StackPtr s = make(by_number, {1, 2, 3, 4});
    sort_STACK(s.get());
    remove_STACK_value(s.get(), 1);
    EXPECT_EQ(is_STACK_sorted(s.get()), 1);
    pop_STACK_value(s.get());
    EXPECT_EQ(is_STACK_sorted(s.get()), 1);
    set_STACK_value(s.get(), v(99), 0);
    EXPECT_EQ(is_STACK_sorted(s.get()), 1);
    EXPECT_EQ(contents(s.get()), (Values{99, 3}));
}

TEST(Stack, Pop) {
    StackPtr s = make(nullptr, {7, 8});
    EXPECT_EQ(n(pop_STACK_value(s.get())), 8u);
    EXPECT_EQ(n(pop_STACK_value(s.get())), 7u);
    EXPECT_EQ(pop_STACK_value(s.get()), nullptr);  // empty
    EXPECT_EQ(get_STACK_count(s.get()), 0);
    EXPECT_EQ(pop_STACK_value(s.get()), nullptr);
}

TEST(Stack, GetAndSetRange) {
    StackPtr s = make(nullptr, {1, 2, 3});
    EXPECT_EQ(n(get_STACK_value(s.get(), 0)), 1u);
    EXPECT_EQ(n(get_STACK_value(s.get(), 2)), 3u);
    EXPECT_EQ(get_STACK_value(s.get(), 3), nullptr);
    EXPECT_EQ(get_STACK_value(s.get(), -1), nullptr);
    EXPECT_EQ(get_STACK_value(s.get(), INT32_MAX), nullptr);
    EXPECT_EQ(n(set_STACK_value(s.get(), v(9), 1)), 9u);
    EXPECT_EQ(set_STACK_value(s.get(), v(9), 3), nullptr);
    EXPECT_EQ(set_STACK_value(s.get(), v(9), -1), nullptr);
    EXPECT_EQ(contents(s.get()), (Values{1, 9, 3}));
}

TEST(Stack, FindSortsFirst) {
    StackPtr s = make(by_number, {40, 10, 30, 20});
    EXPECT_EQ(is_STACK_sorted(s.get()), 0);
    EXPECT_EQ(find_STACK_value(s.get(), v(30)), 2);
    EXPECT_EQ(is_STACK_sorted(s.get()), 1);
    EXPECT_EQ(contents(s.get()), (Values{10, 20, 30, 40}));
    EXPECT_EQ(find_STACK_value(s.get(), v(10)), 0);
    EXPECT_EQ(find_STACK_value(s.get(), v(40)), 3);
    EXPECT_EQ(find_STACK_value(s.get(), v(25)), -1);
    EXPECT_EQ(find_STACK_value(s.get(), v(50)), -1);
    EXPECT_EQ(find_STACK_value(s.get(), v(5)), -1);
}

TEST(Stack, FindNullKeyWithCompareSortsAndMisses) {
    StackPtr s = make(by_number, {2, 0, 1});
    EXPECT_EQ(find_STACK_value(s.get(), nullptr), -1);  // even though 0 is held
    EXPECT_EQ(is_STACK_sorted(s.get()), 1);
    EXPECT_EQ(contents(s.get()), (Values{0, 1, 2}));
}

TEST(Stack, FindOnEmptyStack) {
    StackPtr s(new_STACK_compare_func(by_number));
    EXPECT_EQ(find_STACK_value(s.get(), v(1)), -1);
    EXPECT_EQ(is_STACK_sorted(s.get()), 1);
    StackPtr p(new_STACK());
    EXPECT_EQ(find_STACK_value(p.get(), v(1)), -1);
    EXPECT_EQ(find_STACK_value(p.get(), nullptr), -1);
}

TEST(Stack, FindReturnsFirstOfEqualValues) {
    StackPtr three = make(by_number, {5, 5, 5});
    EXPECT_EQ(find_STACK_value(three.get(), v(5)), 0);

    // The bisection lands on slot 2 and steps back to slot 1.
    StackPtr five = make(by_number, {1, 5, 5, 5, 9});
    EXPECT_EQ(find_STACK_value(five.get(), v(5)), 1);

    // Values that compare equal without being identical.
    StackPtr tens = make(by_tens, {12, 15, 11, 30, 2});
    EXPECT_EQ(find_STACK_value(tens.get(), v(19)), 1);
    EXPECT_EQ(n(get_STACK_value(tens.get(), 0)), 2u);
    EXPECT_EQ(find_STACK_value(tens.get(), v(31)), 4);
}

TEST(Stack, SetOnSortedStackSearchesAsIfSorted) {
    StackPtr s = make(by_number, {10, 20, 30, 40, 50});
    EXPECT_EQ(find_STACK_value(s.get(), v(10)), 0);
    ASSERT_EQ(is_STACK_sorted(s.get()), 1);
    EXPECT_EQ(n(set_STACK_value(s.get(), v(60), 0)), 60u);
    EXPECT_EQ(is_STACK_sorted(s.get()), 1);
    // 60 sits in slot 0, but the bisection walks right of 30 and misses it;
    // the array is not re-sorted.
    EXPECT_EQ(find_STACK_value(s.get(), v(60)), -1);
    EXPECT_EQ(contents(s.get()), (Values{60, 20, 30, 40, 50}));
    EXPECT_EQ(find_STACK_value(s.get(), v(20)), 1);
    // sort_STACK does not re-sort a stack flagged as sorted.
    sort_STACK(s.get());
    EXPECT_EQ(contents(s.get()), (Values{60, 20, 30, 40, 50}));
}

TEST(Stack, FindWithoutCompareScansForTheValue) {
    StackPtr s = make(nullptr, {30, 10, 20, 10});
    EXPECT_EQ(find_STACK_value(s.get(), v(10)), 1);
    EXPECT_EQ(find_STACK_value(s.get(), v(30)), 0);
    EXPECT_EQ(find_STACK_value(s.get(), v(99)), -1);
    EXPECT_EQ(find_STACK_value(s.get(), nullptr), -1);
    EXPECT_EQ(is_STACK_sorted(s.get()), 0);  // nothing reordered
    EXPECT_EQ(contents(s.get()), (Values{30, 10, 20, 10}));
    push_STACK_value(s.get(), nullptr);
    EXPECT_EQ(find_STACK_value(s.get(), nullptr), 4);  // null matches a null slot
}

TEST(Stack, SortWithoutCompareDoesNothing) {
    StackPtr s = make(nullptr, {3, 1, 2});
    sort_STACK(s.get());
    EXPECT_EQ(is_STACK_sorted(s.get()), 0);
    EXPECT_EQ(contents(s.get()), (Values{3, 1, 2}));
}

TEST(Stack, Sort) {
    StackPtr s = make(by_number, {3, 1, 2, 9, 0, 7});
    sort_STACK(s.get());
    EXPECT_EQ(is_STACK_sorted(s.get()), 1);
    EXPECT_EQ(contents(s.get()), (Values{0, 1, 2, 3, 7, 9}));
    StackPtr e(new_STACK_compare_func(by_number));
    sort_STACK(e.get());
    EXPECT_EQ(is_STACK_sorted(e.get()), 1);
}

TEST(Stack, Dup) {
    StackPtr s = make(by_number, {4, 2, 8, 6, 1});
    sort_STACK(s.get());
    StackPtr d(dup_STACK(s.get()));
    ASSERT_NE(d, nullptr);
    EXPECT_NE(d->data, s->data);
    EXPECT_EQ(d->count, 5);
    EXPECT_EQ(d->capacity, s->capacity);
    EXPECT_EQ(d->sorted, 1);
    EXPECT_EQ(d->compare, &by_number);
    EXPECT_EQ(contents(d.get()), contents(s.get()));
    // Independent arrays.
    set_STACK_value(d.get(), v(100), 0);
    EXPECT_EQ(n(get_STACK_value(s.get(), 0)), 1u);

    StackPtr u = make(nullptr, {3, 1});
    StackPtr du(dup_STACK(u.get()));
    ASSERT_NE(du, nullptr);
    EXPECT_EQ(du->sorted, 0);
    EXPECT_EQ(du->compare, nullptr);
    EXPECT_EQ(du->capacity, 4);
    EXPECT_EQ(contents(du.get()), (Values{3, 1}));
    // The copy grows like any stack.
    for (uintptr_t i = 0; i < 3; i++) push_STACK_value(du.get(), v(i));
    EXPECT_EQ(du->capacity, 5);
}

namespace {
std::vector<uintptr_t> released;
void record_release(void *p) { released.push_back(n(p)); }
}  // namespace

TEST(Stack, FreeValuesReleasesEachNonNullValue) {
    released.clear();
    STACK *s = new_STACK();
    for (uintptr_t x : {5, 0, 7, 0, 9, 11}) push_STACK_value(s, v(x));
    free_STACK_values(s, record_release);
    EXPECT_EQ(released, (Values{5, 7, 9, 11}));

    released.clear();
    STACK *e = new_STACK();
    free_STACK_values(e, record_release);
    EXPECT_TRUE(released.empty());
    free_STACK_values(nullptr, record_release);
    EXPECT_TRUE(released.empty());
}

TEST(Stack, NullStackNeutralValues) {
    EXPECT_EQ(get_STACK_count(nullptr), -1);
    EXPECT_EQ(is_STACK_sorted(nullptr), 1);
    EXPECT_EQ(insert_STACK_value(nullptr, v(1), 0), 0);
    EXPECT_EQ(push_STACK_value(nullptr, v(1)), 0);
    EXPECT_EQ(remove_STACK_value(nullptr, 0), nullptr);
    EXPECT_EQ(pop_STACK_value(nullptr), nullptr);
    EXPECT_EQ(set_STACK_value(nullptr, v(1), 0), nullptr);
    EXPECT_EQ(get_STACK_value(nullptr, 0), nullptr);
    EXPECT_EQ(find_STACK_value(nullptr, v(1)), -1);
    EXPECT_EQ(find_STACK_value(nullptr, nullptr), -1);
    EXPECT_EQ(dup_STACK(nullptr), nullptr);
    sort_STACK(nullptr);
    free_STACK(nullptr);
    free_STACK_values(nullptr, record_release);
}

// A caller may damage the public record; no call then reaches outside the
// array.
TEST(Stack, DamagedRecordIsRefused) {
    StackPtr s = make(by_number, {3, 1, 2});
    const int32_t count = s->count;

    s->count = 9;  // more values than slots
    EXPECT_EQ(get_STACK_value(s.get(), 5), nullptr);
    EXPECT_EQ(set_STACK_value(s.get(), v(1), 5), nullptr);
    EXPECT_EQ(remove_STACK_value(s.get(), 5), nullptr);
    EXPECT_EQ(pop_STACK_value(s.get()), nullptr);
    EXPECT_EQ(insert_STACK_value(s.get(), v(1), -1), 0);
    EXPECT_EQ(push_STACK_value(s.get(), v(1)), 0);
    EXPECT_EQ(find_STACK_value(s.get(), v(1)), -1);
    EXPECT_EQ(dup_STACK(s.get()), nullptr);
    sort_STACK(s.get());
    EXPECT_EQ(s->sorted, 0);
    EXPECT_EQ(s->capacity, 4);

    s->count = -2;
    EXPECT_EQ(pop_STACK_value(s.get()), nullptr);
    EXPECT_EQ(get_STACK_value(s.get(), 0), nullptr);
    EXPECT_EQ(push_STACK_value(s.get(), v(1)), 0);
    EXPECT_EQ(find_STACK_value(s.get(), v(1)), -1);

    s->count = count;
    s->capacity = -1;
    EXPECT_EQ(push_STACK_value(s.get(), v(1)), 0);
    EXPECT_EQ(get_STACK_value(s.get(), 0), nullptr);
    s->capacity = 4;

    void **data = s->data;
    s->data = nullptr;
    EXPECT_EQ(get_STACK_value(s.get(), 0), nullptr);
    EXPECT_EQ(push_STACK_value(s.get(), v(1)), 0);
    s->data = data;

    // Restored, the stack works again.
    EXPECT_EQ(contents(s.get()), (Values{3, 1, 2}));
    EXPECT_EQ(push_STACK_value(s.get(), v(0)), 4);
}
