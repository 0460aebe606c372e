// vrel_sort: the sort of both vectors, for elements of any fixed size.
#ifndef VREL_SORT_H
#define VREL_SORT_H

#include <cstdint>

// Negative, zero or positive as `a` goes before, beside or after `b`.
typedef int32_t (*vrel_utils_compare)(const void* a, const void* b, void* context);

// Sorts in place. Not stable, yet the order of elements that compare equal is fixed: up to 1,024
// elements, and above as long as the input costs no more than a healthy quicksort, it is that of
// the quicksort in vrel_sort.cpp. In particular n equal elements 0 .. n-1 come out as
// 1, 2, ..., n-1, 0. Above 1,024 elements no input costs more than n log n comparisons; what is
// left when a healthy quicksort would have finished is merged, and ties in it may stand otherwise.
//
// A comparison that contradicts itself gives some order of the same elements and no worse.
// Code: 0x900f0001 for a null array or comparison.
uint32_t vrel_utils_qsort(void* array, uint32_t count, uint32_t element_size,
                          vrel_utils_compare compare, void* context);

// ---- By keys ----
// Where a 32-bit number tells the order, sorting these keys instead of the elements is many times
// quicker. The upper half of a key is the number, the lower half the index of its element.

// Keys must be at the indexes that they name.

// Sorts by the upper halves, and leaves the keys where vrel_utils_qsort leaves elements that
// compare as their numbers do; with `free_ties` it does not matter where ties come to stand. Places
// from `wanted` on hold the other keys in any order. `spare` has room for as many keys.
void vrel_utils_qsort_keys(uint64_t* keys, uint32_t count, uint32_t wanted, bool free_ties,
                           uint64_t* spare);

#endif  // VREL_SORT_H
