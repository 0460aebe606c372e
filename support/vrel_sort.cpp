// vrel_sort: the quicksort of both vectors, and the merge sort that steps in where it turns bad.
//
// Callers depend on where this quicksort leaves elements that compare equal, so its pivot, its scan
// and its swaps are part of what it promises, for as long as it stays within the comparisons that a
// healthy quicksort needs; beyond that, any right order will do. Three inputs would make it
// quadratic. Sorted and reversed input is recognised up front. In a range of equal elements the
// quicksort ends in a rotation, which is done at once. For everything else there is a budget of
// comparisons.
#include "vrel_sort.h"

#include <string.h>

#include "vrel_error.h"
#include "vrel_memory.h"

static const char kSource[] = "vrel_sort";

static constexpr uint32_t kInvalidArg = 0x900f0001u;

// Up to here the quicksort runs to its end, whatever it costs.
static constexpr uint32_t kPlainCount = 1024;

// One call of vrel_utils_qsort. Elements are named by their index, ranges by [low, high).
struct Sort {
  char* base;
  size_t size;  // of an element, in bytes
  vrel_utils_compare compare;
  void* context;
  bool plain;       // up to kPlainCount elements: nothing but the quicksort itself
  uint64_t budget;  // comparisons that the quicksort may still spend, unless plain
};

static char* _vrel_sort_at(const Sort& sort, uint32_t index) {
  return sort.base + size_t{index} * sort.size;
}

static int32_t _vrel_sort_compare(const Sort& sort, uint32_t a, uint32_t b) {
  return sort.compare(_vrel_sort_at(sort, a), _vrel_sort_at(sort, b), sort.context);
}

// ---- Moving elements ----

// Swaps N bytes through registers.
template <size_t N>
static void _vrel_sort_swap_block(char* a, char* b) {
  char from_a[N];
  char from_b[N];
  memcpy(from_a, a, N);
  memcpy(from_b, b, N);
  memcpy(a, from_b, N);
  memcpy(b, from_a, N);
}

static void _vrel_sort_swap(const Sort& sort, uint32_t first, uint32_t second) {
  char* a = _vrel_sort_at(sort, first);
  char* b = _vrel_sort_at(sort, second);
  size_t left = sort.size;
  for (; left >= 16; left -= 16, a += 16, b += 16) _vrel_sort_swap_block<16>(a, b);
  for (; left >= 4; left -= 4, a += 4, b += 4) _vrel_sort_swap_block<4>(a, b);
  for (; left > 0; --left, ++a, ++b) _vrel_sort_swap_block<1>(a, b);
}

static void _vrel_sort_reverse(const Sort& sort, uint32_t low, uint32_t high) {
  for (; low + 1 < high; ++low, --high) _vrel_sort_swap(sort, low, high - 1);
}

// Moves the first element behind all others of the range.
static void _vrel_sort_rotate(const Sort& sort, uint32_t low, uint32_t high) {
  for (; low + 1 < high; ++low) _vrel_sort_swap(sort, low, low + 1);
}

// ---- Heap sort: when not even half a range of memory is there ----

// Sinks the element at `root` of the heap [low, high) to its place; roots count from 0.
static void _vrel_sort_sink(const Sort& sort, uint32_t low, uint32_t high, uint32_t root) {
  const uint32_t count = high - low;
  for (uint64_t child = uint64_t{root} * 2 + 1; child < count; child = uint64_t{root} * 2 + 1) {
    auto larger = static_cast<uint32_t>(child);
    if (larger + 1 < count && _vrel_sort_compare(sort, low + larger, low + larger + 1) < 0) {
      ++larger;
    }
    if (_vrel_sort_compare(sort, low + root, low + larger) >= 0) return;
    _vrel_sort_swap(sort, low + root, low + larger);
    root = larger;
  }
}

static void _vrel_sort_heap(const Sort& sort, uint32_t low, uint32_t high) {
  for (uint32_t root = (high - low) / 2; root > 0; --root) {
    _vrel_sort_sink(sort, low, high, root - 1);
  }
  for (; high - low > 1; --high) {
    _vrel_sort_swap(sort, low, high - 1);
    _vrel_sort_sink(sort, low, high - 1, 0);
  }
}

// ---- Merge sort ----

// Merges the sorted [low, middle) and [middle, high), the left one winning ties. `spare` has room
// for the left one.
static void _vrel_sort_merge_runs(const Sort& sort, uint32_t low, uint32_t middle, uint32_t high,
                                  char* spare) {
  if (_vrel_sort_compare(sort, middle - 1, middle) <= 0) return;
  const size_t size = sort.size;
  char* to = _vrel_sort_at(sort, low);
  const char* right = _vrel_sort_at(sort, middle);
  const char* const right_end = _vrel_sort_at(sort, high);
  const char* left = spare;
  const char* const left_end = spare + (right - to);
  memcpy(spare, to, static_cast<size_t>(right - to));
  // `to` never overtakes `right`: it is behind by what is left of the left run.
  while (left < left_end && right < right_end) {
    const char*& from = sort.compare(left, right, sort.context) <= 0 ? left : right;
    memcpy(to, from, size);
    from += size;
    to += size;
  }
  memcpy(to, left, static_cast<size_t>(left_end - left));
}

static void _vrel_sort_merge(const Sort& sort, uint32_t low, uint32_t high, char* spare) {
  if (high - low < 2) return;
  const uint32_t middle = low + (high - low) / 2;
  _vrel_sort_merge(sort, low, middle, spare);
  _vrel_sort_merge(sort, middle, high, spare);
  _vrel_sort_merge_runs(sort, low, middle, high, spare);
}

// Sorts a range in n log n comparisons, whatever is in it.
static void _vrel_sort_surely(const Sort& sort, uint32_t low, uint32_t high) {
  if (high - low < 2) return;
  void* spare = vrel_memory_alloc((high - low) / 2 * sort.size);
  if (spare == nullptr) {
    _vrel_sort_heap(sort, low, high);
    return;
  }
  _vrel_sort_merge(sort, low, high, static_cast<char*>(spare));
  vrel_memory_free(spare);
}

// ---- Quicksort ----

// Gathers the elements above the pivot (the first of the range) at the range's end.
struct Scan {
  uint32_t split;  // the first of those above the pivot
  bool all_equal;  // every element compared equal to the pivot
};

static Scan _vrel_sort_scan(const Sort& sort, uint32_t low, uint32_t high) {
  const char* pivot = _vrel_sort_at(sort, low);
  bool all_equal = true;
  uint32_t i = low + 1;
  uint32_t j = high;
  while (j > i) {
    const int32_t order = sort.compare(_vrel_sort_at(sort, i), pivot, sort.context);
    all_equal = all_equal && order == 0;
    if (order <= 0) {
      ++i;
      continue;
    }
    --j;
    if (j != i) _vrel_sort_swap(sort, i, j);
  }
  return {i, all_equal};
}

// True while the quicksort may scan [low, high); the scan's comparisons are then taken from the
// budget.
static bool _vrel_sort_afford(Sort& sort, uint32_t low, uint32_t high) {
  const uint32_t cost = high - low - 1;
  if (sort.plain) return true;
  if (sort.budget < cost) return false;
  sort.budget -= cost;
  return true;
}

// The two sides of a pivot are independent of each other. Recursing into the smaller one and
// looping on the larger keeps the depth logarithmic.
static void _vrel_sort_quick(Sort& sort, uint32_t low, uint32_t high) {
  while (low < high) {
    if (!_vrel_sort_afford(sort, low, high)) {
      _vrel_sort_surely(sort, low, high);
      return;
    }
    const Scan scan = _vrel_sort_scan(sort, low, high);
    if (scan.all_equal && !sort.plain) {
      // Swapping the pivot with the last element and sorting what is in front of it, again and
      // again, amounts to this.
      _vrel_sort_rotate(sort, low, high);
      return;
    }
    const uint32_t pivot = scan.split - 1;
    if (pivot != low) _vrel_sort_swap(sort, low, pivot);
    if (pivot - low < high - scan.split) {
      _vrel_sort_quick(sort, low, pivot);
      low = scan.split;
    } else {
      _vrel_sort_quick(sort, scan.split, high);
      high = pivot;
    }
  }
}

// ---- The sort ----

// Sorts what is ascending or descending already, ties included; false for anything else. Elements
// that are all equal are left to the quicksort, which rotates them.
static bool _vrel_sort_presorted(const Sort& sort, uint32_t count) {
  bool ascending = true;
  bool descending = true;
  for (uint32_t i = 0; i + 1 < count && (ascending || descending); ++i) {
    const int32_t order = _vrel_sort_compare(sort, i, i + 1);
    ascending = ascending && order <= 0;
    descending = descending && order >= 0;
  }
  if (ascending == descending) return false;
  if (descending) _vrel_sort_reverse(sort, 0, count);
  return true;
}

// Shuffled input costs the quicksort about 1.39 n log2 n comparisons, and hardly ever n more.
static uint64_t _vrel_sort_budget(uint32_t count) {
  uint64_t log2 = 0;
  while ((count >> log2) > 1) ++log2;
  return uint64_t{count} * (log2 + 1) * 3 / 2;
}

uint32_t vrel_utils_qsort(void* array, uint32_t count, uint32_t element_size,
                          vrel_utils_compare compare, void* context) {
  if (array == nullptr || compare == nullptr) return VREL_LOG_HERE(kInvalidArg);
  Sort sort = {static_cast<char*>(array), element_size, compare, context, count <= kPlainCount,
               _vrel_sort_budget(count)};
  if (!sort.plain && _vrel_sort_presorted(sort, count)) return 0;
  _vrel_sort_quick(sort, 0, count);
  return 0;
}
