// vrel_sort_test: the order of the sort, ties included, and what it costs.
#include "vrel_sort.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <functional>
#include <vector>

#include "containers_for_tests.h"

namespace {

struct Item {
  uint16_t key;
  uint16_t tag;
  bool operator==(const Item& other) const { return key == other.key && tag == other.tag; }
};
using Items = std::vector<Item>;
using Compare = int32_t (*)(const Item&, const Item&);

int32_t by_key(const Item& a, const Item& b) {
  return (a.key > b.key) - (a.key < b.key);
}
int32_t always_above(const Item&, const Item&) {
  return 1;
}
int32_t by_difference(const Item& a, const Item& b) {
  return static_cast<int16_t>(a.key - b.key);
}
int32_t by_chance(const Item& a, const Item& b) {
  return static_cast<int32_t>((a.tag * 0x9e3779b9u ^ b.tag * 0x85ebca6bu) >> 7) % 3 - 1;
}

struct Sorted {
  Items items;
  uint64_t comparisons;
};

// Sorts the items as the first bytes of elements of `size` bytes.
Sorted sorted_as_elements(const Items& items, uint32_t size, Compare compare) {
  std::vector<char> bytes(items.size() * size + 1);
  for (size_t i = 0; i < items.size(); ++i) memcpy(&bytes[i * size], &items[i], sizeof(Item));
  std::pair<Compare, uint64_t> context = {compare, 0};
  const auto adapter = [](const void* a, const void* b, void* data) {
    auto* use = static_cast<std::pair<Compare, uint64_t>*>(data);
    ++use->second;
    Item both[2];
    memcpy(&both[0], a, sizeof(Item));
    memcpy(&both[1], b, sizeof(Item));
    return use->first(both[0], both[1]);
  };
  const auto count = static_cast<uint32_t>(items.size());
  EXPECT_EQ(vrel_utils_qsort(bytes.data(), count, size, adapter, &context), 0u);
  Sorted result = {Items(items.size()), context.second};
  for (size_t i = 0; i < count; ++i) memcpy(&result.items[i], &bytes[i * size], sizeof(Item));
  return result;
}

// The items in the order of their keys, as far as they are wanted.
Items sorted_by_keys(const Items& items, uint32_t wanted) {
  const auto count = static_cast<uint32_t>(items.size());
  std::vector<uint64_t> keys(count);
  std::vector<uint64_t> spare(count);
  for (uint32_t i = 0; i < count; ++i) keys[i] = uint64_t{items[i].key} << 32 | i;
  vrel_utils_qsort_keys(keys.data(), count, wanted, false, spare.data());
  Items result;
  for (uint32_t i = 0; i < std::min(wanted, count); ++i) {
    result.push_back(items[static_cast<uint32_t>(keys[i])]);
  }
  return result;
}

struct Shape {
  const char* name;
  std::function<uint32_t(uint32_t i, uint32_t n, Random& random)> key;
};
const std::vector<Shape>& shapes() {
  static const std::vector<Shape> all = {
      {"shuffled", [](uint32_t, uint32_t n, Random& r) { return r() % (4 * n); }},
      {"many ties", [](uint32_t, uint32_t n, Random& r) { return r() % (n / 4 + 1); }},
      {"two values", [](uint32_t, uint32_t, Random& r) { return r() % 2; }},
      {"equal", [](uint32_t, uint32_t, Random&) { return 7u; }},
      {"rising", [](uint32_t i, uint32_t, Random&) { return i; }},
      {"falling", [](uint32_t i, uint32_t n, Random&) { return n - i; }},
      {"rising with ties", [](uint32_t i, uint32_t, Random&) { return i / 3; }},
      {"falling with ties", [](uint32_t i, uint32_t n, Random&) { return (n - i) / 3; }},
      {"scattered", [](uint32_t, uint32_t, Random& r) { return r(); }},
      {"pipe", [](uint32_t i, uint32_t n, Random&) { return std::min(i, n - i); }}};
  return all;
}

Items make(const Shape& shape, uint32_t n) {
  Random random(n);
  Items items(n);
  for (uint32_t i = 0; i < n; ++i) {
    items[i] = {static_cast<uint16_t>(shape.key(i, n, random)), static_cast<uint16_t>(i)};
  }
  return items;
}

Items by_tag(Items items) {
  std::sort(items.begin(), items.end(), [](auto& a, auto& b) { return a.tag < b.tag; });
  return items;
}

}  // namespace

TEST(vrel_sort, up_to_1024_elements_stand_where_the_plain_quicksort_leaves_them) {
  for (const Shape& shape : shapes()) {
    for (const uint32_t n : {0u, 1u, 2u, 3u, 17u, 200u, 1024u}) {
      for (const Compare compare : {by_key, always_above, by_difference, by_chance}) {
        const Items input = make(shape, n);
        Items expected = input;
        plain_quicksort(expected, 0, n, compare);
        const uint32_t size = n % 2 == 0 ? 40 : 7;
        EXPECT_EQ(sorted_as_elements(input, size, compare).items, expected)
            << shape.name << " " << n;
        if (compare != by_key) continue;
        for (const uint32_t wanted : {n, n / 20}) {
          const Items first(expected.begin(), expected.begin() + wanted);
          EXPECT_EQ(sorted_by_keys(input, wanted), first) << shape.name << " " << n;
        }
      }
    }
  }
}

TEST(vrel_sort, healthy_large_input_stands_there_too_and_equal_elements_rotate_by_one) {
  for (const char* name : {"shuffled", "many ties", "equal"}) {
    const auto shape = std::find_if(shapes().begin(), shapes().end(),
                                    [=](const Shape& s) { return strcmp(s.name, name) == 0; });
    const Items input = make(*shape, 5000);
    Items expected = input;
    plain_quicksort(expected, 0, input.size(), by_key);
    EXPECT_EQ(sorted_as_elements(input, 12, by_key).items, expected) << name;
    EXPECT_EQ(sorted_by_keys(input, 5000), expected) << name;
  }
}

TEST(vrel_sort, no_large_input_costs_more_than_n_log_n_or_loses_an_element) {
  for (const Shape& shape : shapes()) {
    for (const Compare compare : {by_key, by_difference, by_chance}) {
      for (const auto& [n, allowed] : {std::pair{1025u, -1}, {3000u, 0}, {6000u, -1}, {6000u, 0}}) {
        const Items input = make(shape, n);
        test_memory_fail_after(allowed);
        const Sorted sorted = sorted_as_elements(input, 6, compare);
        test_memory_fail_after(-1);
        EXPECT_TRUE(compare != by_key ||
                    std::is_sorted(sorted.items.begin(), sorted.items.end(),
                                   [](auto& a, auto& b) { return a.key < b.key; }))
            << shape.name;
        const Items by_keys = sorted_by_keys(input, n);
        EXPECT_EQ(by_tag(by_keys), input) << shape.name << ": not the same elements";
        EXPECT_TRUE(std::is_sorted(by_keys.begin(), by_keys.end(), [](auto& a, auto& b) {
          return a.key < b.key;
        })) << shape.name;
        const Items some = sorted_by_keys(input, n / 20);
        EXPECT_TRUE(std::equal(some.begin(), some.end(), by_keys.begin(), [](auto& a, auto& b) {
          return a.key == b.key;
        })) << shape.name;
        EXPECT_EQ(by_tag(sorted.items), input) << shape.name << ": not the same elements";
        EXPECT_LT(static_cast<double>(sorted.comparisons), 4.5 * n * std::log2(n));
      }
    }
  }
}

TEST(vrel_sort, an_array_and_a_comparison_are_required) {
  int word = 0;
  const auto compare = [](const void*, const void*, void*) { return 0; };
  EXPECT_EQ(vrel_utils_qsort(nullptr, 1, 4, compare, nullptr), 0x900f0001u);
  EXPECT_EQ(vrel_utils_qsort(&word, 1, 4, nullptr, nullptr), 0x900f0001u);
}
