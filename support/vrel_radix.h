// vrel_radix: sorts many elements by a 32-bit key, in linear time and with as much memory again.
#ifndef VREL_RADIX_H
#define VREL_RADIX_H

#include <string.h>

#include <cstdint>

// Sorts in ascending order of key(element); elements of equal keys stay in their order. `scratch`
// has room for `count` elements too.
template <typename T, typename Key>
void vrel_radix_sort(T* elements, T* scratch, uint32_t count, Key key) {
  constexpr uint32_t kDigits = 4;
  if (count == 0) return;
  uint32_t starts[kDigits][256] = {};
  for (uint32_t i = 0; i < count; ++i) {
    const uint32_t word = key(elements[i]);
    for (uint32_t digit = 0; digit < kDigits; ++digit) ++starts[digit][word >> 8 * digit & 0xffu];
  }
  T* from = elements;
  T* to = scratch;
  for (uint32_t digit = 0; digit < kDigits; ++digit) {
    // A digit that all elements share moves none of them.
    if (starts[digit][key(from[0]) >> 8 * digit & 0xffu] == count) continue;
    uint32_t sum = 0;
    for (uint32_t& start : starts[digit]) {
      const uint32_t size = start;
      start = sum;
      sum += size;
    }
    for (uint32_t i = 0; i < count; ++i) {
      to[starts[digit][key(from[i]) >> 8 * digit & 0xffu]++] = from[i];
    }
    T* const sorted = to;
    to = from;
    from = sorted;
  }
  if (from != elements) memcpy(elements, from, count * sizeof(T));
}

#endif  // VREL_RADIX_H
