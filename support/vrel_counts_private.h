// vrel_counts_private: which page holds element `index`, for sequences in pages.
//
// A Fenwick tree over the counts of `count` pages in an array of count + 1 words: for i from 1 on,
// tree[i] is the sum of the counts of the (i & -i) pages that end with page i - 1.
#ifndef VREL_COUNTS_PRIVATE_H
#define VREL_COUNTS_PRIVATE_H

#include <cstdint>

// `page(i)` is the count of page i.
template <typename Page>
void _vrel_counts_build(uint32_t* tree, uint32_t count, Page page) {
  for (uint32_t i = 1; i <= count; ++i) tree[i] = page(i - 1);
  for (uint32_t i = 1; i <= count; ++i) {
    const uint32_t parent = i + (i & (0u - i));
    if (parent <= count) tree[parent] += tree[i];
  }
}

inline void _vrel_counts_add(uint32_t* tree, uint32_t count, uint32_t page, uint32_t change) {
  for (uint32_t i = page + 1; i <= count; i += i & (0u - i)) tree[i] += change;
}

// How many elements lie in front of the page.
inline uint32_t _vrel_counts_before(const uint32_t* tree, uint32_t page) {
  uint32_t sum = 0;
  for (uint32_t i = page; i > 0; i -= i & (0u - i)) sum += tree[i];
  return sum;
}

// The page of element `*index`, which becomes its offset in there; the number of pages for an index
// behind all. There must be a page.
inline uint32_t _vrel_counts_locate(const uint32_t* tree, uint32_t count, uint32_t* index) {
  uint32_t passed = 0;  // pages that lie in front of the element
  for (uint32_t bit = 0x80000000u >> __builtin_clz(count); bit != 0; bit /= 2) {
    // Every second step is taken and no processor can guess which, so there is no branch here.
    const uint32_t next = passed + bit;
    const uint32_t sum = next <= count ? tree[next] : UINT32_MAX;
    const uint32_t taken = 0u - static_cast<uint32_t>(sum <= *index);
    passed += bit & taken;
    *index -= sum & taken;
  }
  return passed;
}

#endif  // VREL_COUNTS_PRIVATE_H
