/*
 * kry - STACK, a growable array of pointer-sized values with an optional
 * comparison function (qsort contract: it receives pointers to two slots).
 */
#ifndef KRY_STACK_H
#define KRY_STACK_H

#include <stdint.h>
#include <kry/export.h>

KRY_BEGIN_DECLS

typedef int (*STACK_COMPARE_FUNC)(const void *a, const void *b);

typedef struct STACK {
    int32_t count;              /* values held */
    void **data;                /* value array, one slot per value */
    int32_t sorted;             /* 1 when data is known to be in compare order */
    int32_t capacity;           /* slots allocated */
    STACK_COMPARE_FUNC compare; /* may be NULL */
} STACK;

KRY_API STACK *new_STACK_compare_func(STACK_COMPARE_FUNC compare);
KRY_API STACK *new_STACK(void);
KRY_API int32_t insert_STACK_value(STACK *stack, void *value, int32_t index);
KRY_API int32_t push_STACK_value(STACK *stack, void *value);
KRY_API void *remove_STACK_value(STACK *stack, int32_t index);
KRY_API void *pop_STACK_value(STACK *stack);
KRY_API void *set_STACK_value(STACK *stack, void *value, int32_t index);
KRY_API void *get_STACK_value(const STACK *stack, int32_t index);
KRY_API int32_t get_STACK_count(const STACK *stack);
KRY_API int32_t is_STACK_sorted(const STACK *stack);
KRY_API void sort_STACK(STACK *stack);
KRY_API int32_t find_STACK_value(STACK *stack, void *key);
KRY_API STACK *dup_STACK(const STACK *stack);
KRY_API void free_STACK(STACK *stack);
KRY_API void free_STACK_values(STACK *stack, void (*release)(void *));

KRY_END_DECLS

#endif /* KRY_STACK_H */
