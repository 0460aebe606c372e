// vrel_array_private: how both vectors grow and search.
#ifndef VREL_ARRAY_PRIVATE_H
#define VREL_ARRAY_PRIVATE_H

#include <cstdint>

constexpr uint32_t kVrelFirstCapacity = 8;

// The capacity from which `capacity` reaches `needed` by doubling, 0 standing for the first one.
// 0 when the array would take more bytes than 32 bits count.
inline uint32_t _vrel_array_grown(uint32_t capacity, uint64_t needed, uint32_t element_size) {
  uint64_t grown = capacity;
  while (grown < needed) grown = grown == 0 ? kVrelFirstCapacity : grown * 2;
  return grown * element_size > UINT32_MAX ? 0 : static_cast<uint32_t>(grown);
}

// Where a search ended.
struct vrel_search {
  bool found;
  uint32_t index;  // of the element found, else where to insert the value
};

// `order(i)` compares element i with the value: negative when the element goes before it. Which of
// several equal elements is hit decides where the next equal one is inserted, so the steps of this
// search are fixed.
template <typename Order>
vrel_search _vrel_search_sorted(uint32_t count, Order order) {
  if (count == 0) return {false, 0};
  int64_t low = -1;
  int64_t high = int64_t{count} - 1;
  while (high - low >= 2) {
    const int64_t middle = (low + high) / 2;
    const int32_t result = order(static_cast<uint32_t>(middle));
    if (result == 0) return {true, static_cast<uint32_t>(middle)};
    (result < 0 ? low : high) = middle;
  }
  const auto last = static_cast<uint32_t>(high);
  const int32_t result = order(last);
  return {result == 0, result < 0 ? last + 1 : last};
}

template <typename Order>
vrel_search _vrel_search_linear(uint32_t count, Order order) {
  for (uint32_t i = 0; i < count; ++i) {
    if (order(i) == 0) return {true, i};
  }
  return {false, count};
}

// From any element of a run of equal ones to its first.
template <typename Order>
uint32_t _vrel_search_run_start(uint32_t index, Order order) {
  uint32_t step = 1;
  while (step > 0 && step <= index) {
    if (order(index - step) == 0) {
      index -= step;
      step = step > index / 2 ? index : step * 2;
    } else if (step == 1) {
      break;
    } else {
      step /= 2;
    }
  }
  return index;
}

// The lowest index of an element that equals the value.
template <typename Order>
vrel_search _vrel_search_lowest(bool sorted, uint32_t count, Order order) {
  if (!sorted) return _vrel_search_linear(count, order);
  vrel_search hit = _vrel_search_sorted(count, order);
  if (hit.found) hit.index = _vrel_search_run_start(hit.index, order);
  return hit;
}

#endif  // VREL_ARRAY_PRIVATE_H
