/**
 * @file kry/stack.h
 * @brief STACK, a growable array of pointer-sized values.
 *
 * A STACK holds pointer-sized values (it never owns what they point to)
 * with an optional comparison function (qsort contract: it receives
 * pointers to two slots).  Indexes run from 0 to count - 1.
 */
#ifndef KRY_STACK_H
#define KRY_STACK_H

#include <stdint.h>
#include <kry/export.h>

KRY_BEGIN_DECLS

/** Comparison function of a sorted STACK: receives pointers to two slots
 *  and returns a negative, zero or positive number, as for qsort. */
typedef int (*STACK_COMPARE_FUNC)(const void *a, const void *b);

/** A growable array of pointer-sized values. */
typedef struct STACK {
    int32_t count;              /**< values held */
    void **data;                /**< value array, one slot per value */
    int32_t sorted;             /**< 1 when data is known to be in compare order */
    int32_t capacity;           /**< slots allocated */
    STACK_COMPARE_FUNC compare; /**< may be NULL */
} STACK;

/** Creates an empty stack that sorts and searches with @p compare.
 *  @param compare the comparison function, or NULL.
 *  @return the stack, or NULL when out of memory; release it with
 *          free_STACK() or free_STACK_values(). */
KRY_API STACK *new_STACK_compare_func(STACK_COMPARE_FUNC compare);
/** Creates an empty stack without a comparison function.
 *  @return the stack, or NULL when out of memory. */
KRY_API STACK *new_STACK(void);
/** Inserts a value at @p index, moving the values from there up one slot;
 *  any index outside 0 .. count - 1 appends.  Clears the sorted flag.
 *  @param stack the stack.
 *  @param value the value (not copied, not owned).
 *  @param index where to insert.
 *  @return the new count, or 0 on failure (null stack, no memory). */
KRY_API int32_t insert_STACK_value(STACK *stack, void *value, int32_t index);
/** Appends a value.
 *  @param stack the stack.
 *  @param value the value.
 *  @return the new count, or 0 on failure. */
KRY_API int32_t push_STACK_value(STACK *stack, void *value);
/** Removes the value at @p index, moving the later values down one slot.
 *  @param stack the stack.
 *  @param index 0 .. count - 1.
 *  @return the removed value, or NULL when the index is out of range. */
KRY_API void *remove_STACK_value(STACK *stack, int32_t index);
/** Removes the last value.
 *  @param stack the stack.
 *  @return the removed value, or NULL when the stack is empty. */
KRY_API void *pop_STACK_value(STACK *stack);
/** Overwrites the slot at @p index.  The sorted flag is kept even if the
 *  order breaks.
 *  @param stack the stack.
 *  @param value the new value.
 *  @param index 0 .. count - 1.
 *  @return @p value, or NULL when the index is out of range. */
KRY_API void *set_STACK_value(STACK *stack, void *value, int32_t index);
/** Reads the value at @p index.
 *  @param stack the stack.
 *  @param index 0 .. count - 1.
 *  @return the value, or NULL when the index is out of range. */
KRY_API void *get_STACK_value(const STACK *stack, int32_t index);
/** Counts the values.
 *  @param stack the stack.
 *  @return the count, or -1 for a null stack. */
KRY_API int32_t get_STACK_count(const STACK *stack);
/** Tells whether the values are known to be in comparison order.
 *  @param stack the stack.
 *  @return the sorted flag (1 for a null stack). */
KRY_API int32_t is_STACK_sorted(const STACK *stack);
/** Sorts an unsorted stack with its comparison function; a stack without
 *  one is left as it is.
 *  @param stack the stack. */
KRY_API void sort_STACK(STACK *stack);
/** Finds a value.  With a comparison function the stack is sorted first and
 *  searched by bisection (the sorted flag is trusted); without one the
 *  values are scanned for @p key itself.
 *  @param stack the stack.
 *  @param key   the value, or a record the comparison function matches.
 *  @return the index of the value found, or -1. */
KRY_API int32_t find_STACK_value(STACK *stack, void *key);
/** Copies a stack: the same values (not what they point to), capacity,
 *  sorted flag and comparison function.
 *  @param stack the stack.
 *  @return the copy, or NULL; release it with free_STACK(). */
KRY_API STACK *dup_STACK(const STACK *stack);
/** Releases the stack and its slot array, not the values (NULL is ignored).
 *  @param stack the stack. */
KRY_API void free_STACK(STACK *stack);
/** Releases every non-null value with @p release, then the stack.  Does
 *  nothing when @p release is NULL.
 *  @param stack   the stack.
 *  @param release called once per non-null value. */
KRY_API void free_STACK_values(STACK *stack, void (*release)(void *));

KRY_END_DECLS

#endif /* KRY_STACK_H */
