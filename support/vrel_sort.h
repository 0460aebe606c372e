// vrel_sort: the sort of both vectors, for elements of any fixed size.
#ifndef VREL_SORT_H
#define VREL_SORT_H

#include <cstdint>

// Negative, zero or positive as `a` goes before, beside or after `b`.
typedef int32_t (*vrel_utils_compare)(const void* a, const void* b, void* context);

// Sorts in place. The sort is not stable, but the order of ties is defined:
//
// - Up to 1,024 elements it is always that of the quicksort in vrel_sort.cpp. For example, n equal
//   elements 0 .. n-1 come out as 1, 2, ..., n-1, 0.
// - Above 1,024 elements it is the same as long as the quicksort needs no more comparisons than it
//   does on shuffled input. Once it has spent those, a merge sort finishes the job, in n log n
//   comparisons; ties that it sorts may be in any order. So may ties in input that is ascending or
//   descending already.
//
// A comparison that contradicts itself gives some order of the same elements and no worse.
// Code: 0x900f0001 for a null array or comparison.
uint32_t vrel_utils_qsort(void* array, uint32_t count, uint32_t element_size,
                          vrel_utils_compare compare, void* context);

// ---- By keys ----
// Where a 32-bit number tells the order, sorting these keys instead of the elements is many times
// quicker. The upper half of a key is the number, the lower half the index of its element.

// Keys must be at the indexes that they name.

// Sorts by the upper halves. Up to 1,024 keys ties end up where vrel_utils_qsort leaves elements
// that compare as their numbers do; with `free_ties`, and above 1,024 where that function gives no
// order, they may end up in any order. The places from `wanted` on hold the other keys in any
// order. `spare` has room for as many keys.
void vrel_utils_qsort_keys(uint64_t* keys, uint32_t count, uint32_t wanted, bool free_ties,
                           uint64_t* spare);

#endif  // VREL_SORT_H
