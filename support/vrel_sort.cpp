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
#include "vrel_radix.h"
#include "vrel_tuning.h"

static const char kSource[] = "vrel_sort";

static constexpr uint32_t kInvalidArg = 0x900f0001u;

// Up to here the quicksort runs to its end, whatever it costs.
static constexpr uint32_t kPlainCount = 1024;

// Elements of any size that only a comparison can order. Elements are named by their index, ranges
// by [low, high).
struct Elements {
  char* base;
  size_t size;  // of an element, in bytes
  vrel_utils_compare compare;
  void* context;
};

// Keys that are ordered by their upper halves.
struct Keys {
  uint64_t* base;
  uint32_t* places;  // room for as many indexes as there are keys, for the quicksort
};

// How far a sort has come.
struct Course {
  bool plain;       // up to kPlainCount elements: nothing but the quicksort itself
  uint64_t budget;  // comparisons that the quicksort may still spend, unless plain
  uint32_t wanted;  // places behind these need not be right
};

static char* _vrel_sort_at(const Elements& elements, uint32_t index) {
  return elements.base + size_t{index} * elements.size;
}

static int32_t _vrel_sort_compare(const Elements& elements, uint32_t a, uint32_t b) {
  return elements.compare(_vrel_sort_at(elements, a), _vrel_sort_at(elements, b), elements.context);
}

static uint32_t _vrel_sort_upper(uint64_t key) {
  return static_cast<uint32_t>(key >> 32);
}

static int32_t _vrel_sort_compare(const Keys& keys, uint32_t a, uint32_t b) {
  const uint32_t upper_a = _vrel_sort_upper(keys.base[a]);
  const uint32_t upper_b = _vrel_sort_upper(keys.base[b]);
  return (upper_a > upper_b) - (upper_a < upper_b);
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

static void _vrel_sort_swap(const Elements& elements, uint32_t first, uint32_t second) {
  char* a = _vrel_sort_at(elements, first);
  char* b = _vrel_sort_at(elements, second);
  size_t left = elements.size;
  for (; left >= 16; left -= 16, a += 16, b += 16) _vrel_sort_swap_block<16>(a, b);
  for (; left >= 4; left -= 4, a += 4, b += 4) _vrel_sort_swap_block<4>(a, b);
  for (; left > 0; --left, ++a, ++b) _vrel_sort_swap_block<1>(a, b);
}

static void _vrel_sort_swap(const Keys& keys, uint32_t first, uint32_t second) {
  const uint64_t key = keys.base[first];
  keys.base[first] = keys.base[second];
  keys.base[second] = key;
}

template <typename Items>
static void _vrel_sort_reverse(const Items& items, uint32_t low, uint32_t high) {
  for (; low + 1 < high; ++low, --high) _vrel_sort_swap(items, low, high - 1);
}

// Moves the first element behind all others of the range.
template <typename Items>
static void _vrel_sort_rotate(const Items& items, uint32_t low, uint32_t high) {
  for (; low + 1 < high; ++low) _vrel_sort_swap(items, low, low + 1);
}

// ---- Heap sort: when not even half a range of memory is there ----

// Sinks the element at `root` of the heap [low, high) to its place; roots count from 0.
template <typename Items>
static void _vrel_sort_sink(const Items& items, uint32_t low, uint32_t high, uint32_t root) {
  const uint32_t count = high - low;
  for (uint64_t child = uint64_t{root} * 2 + 1; child < count; child = uint64_t{root} * 2 + 1) {
    auto larger = static_cast<uint32_t>(child);
    if (larger + 1 < count && _vrel_sort_compare(items, low + larger, low + larger + 1) < 0) {
      ++larger;
    }
    if (_vrel_sort_compare(items, low + root, low + larger) >= 0) return;
    _vrel_sort_swap(items, low + root, low + larger);
    root = larger;
  }
}

template <typename Items>
static void _vrel_sort_heap(const Items& items, uint32_t low, uint32_t high) {
  for (uint32_t root = (high - low) / 2; root > 0; --root) {
    _vrel_sort_sink(items, low, high, root - 1);
  }
  for (; high - low > 1; --high) {
    _vrel_sort_swap(items, low, high - 1);
    _vrel_sort_sink(items, low, high - 1, 0);
  }
}

// ---- Merge sort, of elements ----

// Merges the sorted [low, middle) and [middle, high), the left one winning ties. `spare` has room
// for the left one.
static void _vrel_sort_merge_runs(const Elements& elements, uint32_t low, uint32_t middle,
                                  uint32_t high, char* spare) {
  if (_vrel_sort_compare(elements, middle - 1, middle) <= 0) return;
  const size_t size = elements.size;
  char* to = _vrel_sort_at(elements, low);
  const char* right = _vrel_sort_at(elements, middle);
  const char* const right_end = _vrel_sort_at(elements, high);
  const char* left = spare;
  const char* const left_end = spare + (right - to);
  memcpy(spare, to, static_cast<size_t>(right - to));
  // `to` never overtakes `right`: it is behind by what is left of the left run.
  while (left < left_end && right < right_end) {
    const char*& from = elements.compare(left, right, elements.context) <= 0 ? left : right;
    memcpy(to, from, size);
    from += size;
    to += size;
  }
  memcpy(to, left, static_cast<size_t>(left_end - left));
}

static void _vrel_sort_merge(const Elements& elements, uint32_t low, uint32_t high, char* spare) {
  if (high - low < 2) return;
  const uint32_t middle = low + (high - low) / 2;
  _vrel_sort_merge(elements, low, middle, spare);
  _vrel_sort_merge(elements, middle, high, spare);
  _vrel_sort_merge_runs(elements, low, middle, high, spare);
}

// ---- Radix sort, of keys ----

// Sorts by the upper halves; ties keep their order. `spare` has room for all keys.
static void _vrel_sort_radix(uint64_t* keys, uint32_t count, uint64_t* spare) {
  vrel_radix_sort(keys, spare, count, _vrel_sort_upper);
}

// ---- Sorting a range in n log n comparisons, whatever is in it ----

static void _vrel_sort_surely(const Elements& elements, uint32_t low, uint32_t high) {
  if (high - low < 2) return;
  void* spare = vrel_memory_alloc((high - low) / 2 * elements.size);
  if (spare == nullptr) {
    _vrel_sort_heap(elements, low, high);
    return;
  }
  _vrel_sort_merge(elements, low, high, static_cast<char*>(spare));
  vrel_memory_free(spare);
}

static void _vrel_sort_surely(const Keys& keys, uint32_t low, uint32_t high) {
  if (high - low < 2) return;
  void* spare = vrel_memory_alloc((high - low) * sizeof *keys.base);
  if (spare == nullptr) {
    _vrel_sort_heap(keys, low, high);
    return;
  }
  _vrel_sort_radix(keys.base + low, high - low, static_cast<uint64_t*>(spare));
  vrel_memory_free(spare);
}

// ---- Quicksort ----

// Gathers the elements above the pivot (the first of the range) at the range's end.
struct Scan {
  uint32_t split;  // the first of those above the pivot
  bool all_equal;  // every element compared equal to the pivot
};

static Scan _vrel_sort_scan(const Elements& elements, uint32_t low, uint32_t high) {
  const char* pivot = _vrel_sort_at(elements, low);
  bool all_equal = true;
  uint32_t i = low + 1;
  uint32_t j = high;
  while (j > i) {
    const int32_t order = elements.compare(_vrel_sort_at(elements, i), pivot, elements.context);
    all_equal = all_equal && order == 0;
    if (order <= 0) {
      ++i;
      continue;
    }
    --j;
    if (j != i) _vrel_sort_swap(elements, i, j);
  }
  return {i, all_equal};
}

static void _vrel_sort_rotate(const Keys& keys, uint32_t low, uint32_t high) {
  const uint64_t first = keys.base[low];
  memmove(keys.base + low, keys.base + low + 1, (high - low - 1) * sizeof first);
  keys.base[high - 1] = first;
}

// What the same scan comes to, in passes without branches that depend on the keys.
//
// It ends with the keys that are not above the pivot in front of `split`, and those above behind
// it. Of the keys in front of `split` those above the pivot, from the left, each make room for one
// from behind it that is not, from the right; all others there stay where they are. A key that
// leaves for the back comes to stand at its end as it then is, and what is above the pivot already
// moves down by one place for it. So the back as a whole moves down by one; each key that leaves
// takes the place that the one taken before it left free, and the first one the end. At last the
// key at `split` itself leaves: the scan meets it from both sides.
static Scan _vrel_sort_scan(const Keys& keys, uint32_t low, uint32_t high) {
  uint64_t* const base = keys.base;
  const uint64_t pivot = base[low] | UINT32_MAX;
  uint32_t split = low + 1;
  uint64_t differing = 0;
  for (uint32_t i = low + 1; i < high; ++i) {
    split += base[i] <= pivot;
    differing |= base[i] ^ pivot;
  }
  if (_vrel_sort_upper(differing) == 0) return {high, true};
  if (split == high) return {high, false};

  // As many leave the front as the back.
  uint32_t* const leaving = keys.places + low;
  uint32_t count = 0;
  for (uint32_t i = low + 1; i < split; ++i) {
    leaving[count] = i;
    count += base[i] > pivot;
  }
  uint32_t* const taken = leaving + count;
  uint32_t found = 0;
  for (uint32_t j = high - 1; found < count; --j) {
    taken[found] = j;
    found += base[j] <= pivot;
  }
  uint64_t next = base[split];
  for (uint32_t k = count; k > 0; --k) {
    const uint64_t leaves = base[leaving[k - 1]];
    base[leaving[k - 1]] = base[taken[k - 1]];
    base[taken[k - 1]] = next;
    next = leaves;
  }
  memmove(base + split, base + split + 1, (high - split - 1) * sizeof next);
  base[high - 1] = next;
  return {split, false};
}

// Comparisons that contradict themselves may call elements equal that are not.
static bool _vrel_sort_trusts_equality(const Elements&, const Course& course) {
  return !course.plain;
}
static bool _vrel_sort_trusts_equality(const Keys&, const Course&) {
  return true;
}

// True while the quicksort may scan [low, high); the scan's comparisons are then taken from the
// budget.
static bool _vrel_sort_afford(Course* course, uint32_t low, uint32_t high) {
  const uint32_t cost = high - low - 1;
  if (course->plain) return true;
  if (course->budget < cost) return false;
  course->budget -= cost;
  return true;
}

// The two sides of a pivot are independent of each other. Recursing into the smaller one and
// looping on the larger keeps the depth logarithmic.
template <typename Items>
static void _vrel_sort_quick(const Items& items, Course* course, uint32_t low, uint32_t high) {
  while (low < high && low < course->wanted) {
    if (!_vrel_sort_afford(course, low, high)) {
      _vrel_sort_surely(items, low, high);
      return;
    }
    const Scan scan = _vrel_sort_scan(items, low, high);
    if (scan.all_equal && _vrel_sort_trusts_equality(items, *course)) {
      // Swapping the pivot with the last element and sorting what is in front of it, again and
      // again, amounts to this.
      _vrel_sort_rotate(items, low, high);
      return;
    }
    const uint32_t pivot = scan.split - 1;
    if (pivot != low) _vrel_sort_swap(items, low, pivot);
    if (pivot - low < high - scan.split) {
      _vrel_sort_quick(items, course, low, pivot);
      low = scan.split;
    } else {
      _vrel_sort_quick(items, course, scan.split, high);
      high = pivot;
    }
  }
}

// ---- The sorts ----

static uint32_t _vrel_sort_log2(uint32_t count) {
  uint32_t log2 = 0;
  while ((count >> log2) > 1) ++log2;
  return log2;
}

// Shuffled input costs the quicksort about 1.39 n log2 n comparisons, and hardly ever n more. Where
// the budget ends shows in the order of ties.
static Course _vrel_sort_course(uint32_t count, uint32_t wanted) {
  return {count <= kPlainCount, uint64_t{count} * (_vrel_sort_log2(count) + 1) * 3 / 2, wanted};
}

// Rotates what is all equal, as the quicksort would, and sorts what is ascending or descending
// already; false for anything else. With ties that is left to
// the quicksort while it costs little: it takes a scan for every second value that is there.
template <typename Items>
static bool _vrel_sort_presorted(const Items& items, uint32_t count) {
  uint32_t ascents = 0;
  uint32_t descents = 0;
  for (uint32_t i = 0; i + 1 < count && (ascents == 0 || descents == 0); ++i) {
    const int32_t order = _vrel_sort_compare(items, i, i + 1);
    ascents += order < 0;
    descents += order > 0;
  }
  if (ascents != 0 && descents != 0) return false;
  const uint32_t steps = ascents + descents;
  if (steps == 0 && count > 0) {
    _vrel_sort_rotate(items, 0, count);
    return true;
  }
  const bool few = count <= kPlainCount || steps < 6 * (_vrel_sort_log2(count) + 1);
  if (steps + 1 < count && few) return false;
  if (descents != 0) _vrel_sort_reverse(items, 0, count);
  return true;
}

uint32_t vrel_utils_qsort(void* array, uint32_t count, uint32_t element_size,
                          vrel_utils_compare compare, void* context) {
  if (array == nullptr || compare == nullptr) return VREL_LOG_HERE(kInvalidArg);
  const Elements elements = {static_cast<char*>(array), element_size, compare, context};
  Course course = _vrel_sort_course(count, count);
  if (!course.plain && _vrel_sort_presorted(elements, count)) return 0;
  _vrel_sort_quick(elements, &course, 0, count);
  return 0;
}

// ---- By keys ----

static constexpr uint32_t kLeastRadix = kVrelSortLeastRadix;
static constexpr uint32_t kMuchMore = kVrelSortMuchMore;
static constexpr uint32_t kOvertaxed = kVrelSortOvertaxed;

// How many pairs of keys in sorted order are equal. The quicksort compares each of them: equal
// elements stay side by side until one of them is the pivot.
static uint64_t _vrel_sort_equal_pairs(const uint64_t* keys, uint32_t count) {
  uint64_t pairs = 0;
  uint64_t before = 0;
  for (uint32_t i = 1; i < count; ++i) {
    before = _vrel_sort_upper(keys[i]) == _vrel_sort_upper(keys[i - 1]) ? before + 1 : 0;
    pairs += before;
  }
  return pairs;
}

// Sorts digit by digit, where the quicksort comes to the same or would be overtaxed. Otherwise the
// keys are where they were.
static bool _vrel_sort_by_digits(uint64_t* keys, uint32_t count, bool free_ties, uint64_t* spare) {
  if (count < kLeastRadix) return false;
  _vrel_sort_radix(keys, count, spare);
  const Course course = _vrel_sort_course(count, count);
  const uint64_t pairs = free_ties ? 0 : _vrel_sort_equal_pairs(keys, count);
  if (pairs == 0 || (!course.plain && pairs > course.budget * kOvertaxed)) return true;
  // Back to the beginning: each key knows where it came from.
  for (uint32_t i = 0; i < count; ++i) spare[static_cast<uint32_t>(keys[i])] = keys[i];
  memcpy(keys, spare, count * sizeof *keys);
  return false;
}

void vrel_utils_qsort_keys(uint64_t* keys, uint32_t count, uint32_t wanted, bool free_ties,
                           uint64_t* spare) {
  const Keys all = {keys, reinterpret_cast<uint32_t*>(spare)};
  if (_vrel_sort_presorted(all, count)) return;
  const bool few_wanted = wanted < count / kMuchMore;
  if (!few_wanted && _vrel_sort_by_digits(keys, count, free_ties, spare)) return;
  Course course = _vrel_sort_course(count, wanted);
  _vrel_sort_quick(all, &course, 0, count);
}
