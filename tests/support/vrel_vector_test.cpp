// vrel_vector_test: both vectors, flat and paged, against models that follow their rules literally.
#include "vrel_vector.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <utility>
#include <vector>

#include "containers_for_tests.h"
#include "vrel_memory.h"
#include "vrel_tuning.h"
#include "vrel_vector2.h"

namespace {

using vrel_vector_test = ContainersTest;

struct Item {
  uint32_t key;  // what is compared
  uint32_t tag;  // tells equal items apart
  bool operator==(const Item& other) const { return key == other.key && tag == other.tag; }
};
constexpr uint32_t kSize = sizeof(Item);

int32_t by_key(const void* a, const void* b, uint32_t size) {
  EXPECT_EQ(size, kSize);
  const uint32_t key_a = static_cast<const Item*>(a)->key;
  const uint32_t key_b = static_cast<const Item*>(b)->key;
  return (key_a > key_b) - (key_a < key_b);
}
int32_t by_key_falling(const void* a, const void* b, uint32_t size) {
  return by_key(b, a, size);
}

// These contradict themselves: three elements may each go before the next.
int32_t by_difference(const void* a, const void* b, uint32_t) {
  return static_cast<int32_t>(static_cast<const Item*>(a)->key - static_cast<const Item*>(b)->key);
}
int32_t by_chance(const void* a, const void* b, uint32_t) {
  const uint32_t key_a = static_cast<const Item*>(a)->key;
  return static_cast<int32_t>((key_a * 31 ^ static_cast<const Item*>(b)->key) >> 7) % 3 - 1;
}

int g_released = 0;
void count_release(void*) {
  ++g_released;
}

// A vector2 as its rules describe it, in a plain array.
struct Model {
  std::vector<Item> items;
  uint32_t capacity = 0;
  uint32_t flags;
  vrel_vector2_compare compare = by_key;
  int placed = 0;

  int32_t order(const Item& a, const Item& b) const { return compare(&a, &b, kSize); }
  bool sorted() const { return (flags & kVrelSorted) != 0; }

  // Found or not, and where, or where to insert.
  std::pair<bool, uint32_t> search(const Item& value) const {
    if (sorted()) return plain_search(items, [&](const Item& item) { return order(item, value); });
    const auto is_equal = [&](const Item& item) { return order(item, value) == 0; };
    const auto hit = std::find_if(items.begin(), items.end(), is_equal);
    return {hit != items.end(), static_cast<uint32_t>(hit - items.begin())};
  }
  std::pair<bool, uint32_t> find(const Item& value) const {
    auto [found, index] = search(value);
    while (found && index > 0 && order(items[index - 1], value) == 0) --index;
    return {found, index};
  }
  void grow(size_t needed) {
    while (capacity < needed) capacity = capacity == 0 ? 8 : capacity * 2;
  }
  void place(uint32_t index, const Item& value) {
    grow(items.size() + 1);
    items.insert(items.begin() + index, value);
    ++placed;
  }
  uint32_t add(const Item& value) {
    std::pair<bool, uint32_t> hit = {false, static_cast<uint32_t>(items.size())};
    if ((flags & (kVrelSorted | kVrelUnique)) != 0) hit = search(value);
    if (!hit.first || (flags & kVrelUnique) == 0) place(hit.second, value);
    return hit.second;
  }
  void insert(uint32_t index, const Item& value) {
    place(index, value);
    const bool low = index > 0 && order(value, items[index - 1]) < 0;
    const bool high = index + 1 < items.size() && order(items[index + 1], value) < 0;
    if (low || high) flags &= ~kVrelSorted;
  }
  void sort(vrel_vector2_compare by, bool force) {
    if (by != compare) flags &= ~kVrelSorted;
    compare = by;
    if (by == nullptr || (sorted() && !force)) return;
    plain_quicksort(items, 0, items.size(), [this](auto& a, auto& b) { return order(a, b); });
    flags |= kVrelSorted;
  }
};

std::vector<Item> contents(const vrel_vector2* vector) {
  std::vector<Item> items;
  void* first = nullptr;
  uint32_t run = 0;
  for (uint32_t i = 0; vrel_vector2_span(vector, i, &first, &run) == 0; i += run) {
    EXPECT_GT(run, 0u);
    items.insert(items.end(), static_cast<Item*>(first), static_cast<Item*>(first) + run);
  }
  return items;
}

uint32_t keep_odd(void* element, void* context, uint8_t* out_keep) {
  *out_keep = static_cast<Item*>(element)->key % 2 == 1 ? 1 : 0;
  auto* left = static_cast<int*>(context);
  return (*left)-- == 0 ? 77u : 0u;
}

void random_change(Random& random, vrel_vector2* vector, Model* model) {
  const auto count = static_cast<uint32_t>(model->items.size());
  // Few keys, for long runs of equals; more of them where each may occur only once.
  const Item item = {random() % ((model->flags & kVrelUnique) != 0 ? 60 : 6), random()};
  uint32_t index = 0;
  switch (random() % 16) {
    default:
      ASSERT_EQ(vrel_vector2_add(vector, &item, kSize, &index), 0u);
      ASSERT_EQ(index, model->add(item));
      break;
    case 0:
    case 1:
      index = random() % (count + 2);
      ASSERT_EQ(vrel_vector2_insert(vector, index, &item, kSize), index > count ? 0x100d0361u : 0u);
      if (index <= count) model->insert(index, item);
      break;
    case 2:
    case 3:
    case 4:
      index = random() % (count + 1);
      ASSERT_EQ(vrel_vector2_deleteindex(vector, index), index >= count ? 0x100d0361u : 0u);
      if (index < count) model->items.erase(model->items.begin() + index);
      break;
    case 5: {
      const uint32_t first = random() % (count + 1);
      const uint32_t last = first + random() % 12 - 2;
      ASSERT_EQ(vrel_vector2_deleterange(vector, first, last), first >= count ? 0x100d0361u : 0u);
      if (first >= count || first > last) break;
      model->items.erase(model->items.begin() + first,
                         model->items.begin() + std::min(last, count - 1) + 1);
      break;
    }
    case 6:
    case 7: {
      const auto [found, place] = model->find(item);
      ASSERT_EQ(vrel_vector2_find(vector, &item, &index), found ? 0u : 0x100d0003u);
      ASSERT_EQ(index, found ? place : 0u);
      break;
    }
    case 8: {
      if (random() % 4 != 0) break;
      const auto compare = random() % 4 == 0 ? by_key_falling : by_key;
      const uint8_t force = random() % 4 == 0 ? 1 : 0;
      ASSERT_EQ(vrel_vector2_sort(vector, compare, force), 0u);
      model->sort(compare, force != 0);
      break;
    }
    case 9: {
      if (random() % 8 != 0) break;
      int left = static_cast<int>(random() % 40);
      auto end = model->items.begin() + std::min<int>(left, static_cast<int>(count));
      const bool stops = left < static_cast<int>(count);
      ASSERT_EQ(vrel_vector2_retain(vector, keep_odd, &left), stops ? 77u : 0u);
      const auto is_even = [](const Item& i) { return i.key % 2 == 0; };
      model->items.erase(std::remove_if(model->items.begin(), end, is_even), end);
      break;
    }
    case 10: {
      if (random() % 8 != 0) break;
      const uint32_t capacity = random() % 80;
      ASSERT_EQ(vrel_vector2_set_min_size(vector, capacity), 0u);
      if (capacity >= count) model->capacity = capacity;
      break;
    }
    case 11: {
      const Item both[] = {item, {item.key + random() % 2, 1}};
      const uint32_t added = random() % 3;
      ASSERT_EQ(vrel_vector2_append_n(vector, both, added, kSize), 0u);
      model->grow(count + added);
      for (uint32_t i = 0; i < added; ++i) model->insert(count + i, both[i]);
      break;
    }
  }
}

std::vector<uint32_t> tags_of(const vrel_vector2* vector) {
  std::vector<uint32_t> tags;
  for (const Item& item : contents(vector)) tags.push_back(item.tag);
  std::sort(tags.begin(), tags.end());
  return tags;
}

// Detaching shows the capacity; the array itself is gone by then.
uint32_t capacity_by_detaching(vrel_vector2* vector) {
  void* data = nullptr;
  uint32_t capacity = 0;
  uint32_t size = 0;
  EXPECT_EQ(vrel_vector2_detach(vector, &data, &capacity, &size), 0u);
  return capacity;
}

}  // namespace

TEST_F(vrel_vector_test, flat_and_paged_vectors_do_what_the_rules_say) {
  const uint32_t paging[][2] = {{UINT32_MAX, 64}, {0, 2 * kSize}, {0, 5 * kSize}, {64, 4 * kSize}};
  for (const uint32_t flags : {0u, kVrelSorted, kVrelUnique, kVrelSorted | kVrelUnique}) {
    for (const auto& [long_tail, page_bytes] : paging) {
      Random random(flags + page_bytes);
      vrel_vector2* vector = nullptr;
      ASSERT_EQ(vrel_vector2_create(&vector, kSize, flags, by_key, count_release), 0u);
      ASSERT_EQ(vrel_vector2_set_paging(vector, long_tail, page_bytes), 0u);
      Model model = {{}, 0, flags};
      g_released = 0;
      for (int step = 0; step < 1500 && !HasFatalFailure(); ++step) {
        random_change(random, vector, &model);
        ASSERT_EQ(contents(vector), model.items) << "flags " << flags << " step " << step;
      }
      EXPECT_EQ(capacity_by_detaching(vector), model.capacity);
      EXPECT_EQ(vrel_vector2_delete(vector), 0u);
      EXPECT_EQ(g_released, model.placed) << "each element is released once";
    }
  }
}

TEST_F(vrel_vector_test, comparisons_that_contradict_themselves_lose_no_element) {
  const vrel_vector2_key key = {offsetof(Item, key), 0, false, false};
  for (const vrel_vector2_compare compare : {by_difference, by_chance}) {
    for (uint32_t n = 0; n <= 3000; n += n < 40 ? 1 : 370) {
      Random random(n);
      vrel_vector2* vector = nullptr;
      ASSERT_EQ(vrel_vector2_create(&vector, kSize, kVrelSorted, compare, count_release), 0u);
      ASSERT_EQ(vrel_vector2_set_paging(vector, n % 2 == 0 ? 0 : UINT32_MAX, 5 * kSize), 0u);
      g_released = 0;
      std::vector<uint32_t> expected;
      for (uint32_t i = 0; i < n; ++i) {
        const Item item = {random(), i};
        expected.push_back(i);
        (void)vrel_vector2_find(vector, &item, nullptr);
        const bool adds = random() % 16 != 0;
        ASSERT_EQ(adds ? vrel_vector2_add(vector, &item, kSize, nullptr)
                       : vrel_vector2_insert(vector, random() % (i + 1), &item, kSize),
                  0u);
        ASSERT_EQ(vrel_vector2_sort(vector, compare, i % 64 == 0 ? 1 : 0), 0u);
      }
      ASSERT_EQ(tags_of(vector), expected);
      ASSERT_EQ(vrel_vector2_sort_by_key(vector, by_key, &key), 0u);
      ASSERT_EQ(vrel_vector2_sort_by_key(vector, compare, &key), 0u);
      ASSERT_EQ(tags_of(vector), expected);
      ASSERT_EQ(vrel_vector2_sort_first(vector, by_key, &key, n / 2), 0u);
      EXPECT_EQ(tags_of(vector).size(), n / 2);
      EXPECT_EQ(vrel_vector2_delete(vector), 0u);
      EXPECT_EQ(g_released, static_cast<int>(n));
    }
  }
}

TEST_F(vrel_vector_test, a_million_additions_anywhere_keep_the_order) {
  // Tiny pages are too many for that.
  constexpr uint32_t kCount = vrel_tuned(350000, 10000);
  for (const int mode : {0, 1, 2}) {
    vrel_vector2* vector = nullptr;
    ASSERT_EQ(vrel_vector2_create(&vector, kSize, kVrelSorted, by_key, nullptr), 0u);
    Random random(1);
    for (uint32_t i = 0; i < kCount; ++i) {
      const Item item = {mode == 0 ? i : mode == 1 ? kCount - i : random(), i};
      ASSERT_EQ(vrel_vector2_add(vector, &item, kSize, nullptr), 0u);
    }
    const std::vector<Item> items = contents(vector);
    ASSERT_EQ(items.size(), kCount);
    EXPECT_TRUE(
        std::is_sorted(items.begin(), items.end(), [](auto& a, auto& b) { return a.key < b.key; }));
    for (uint32_t left = kCount; left > kCount / 2; --left) {
      ASSERT_EQ(vrel_vector2_deleteindex(vector, mode == 0 ? 0 : random() % left), 0u);
    }
    EXPECT_EQ(contents(vector).size(), kCount / 2);
    EXPECT_EQ(vrel_vector2_delete(vector), 0u);
  }
}

TEST_F(vrel_vector_test, a_vector_that_runs_out_of_memory_stays_as_it_was) {
  for (const uint32_t long_tail : {0u, UINT32_MAX}) {
    vrel_vector2* vector = nullptr;
    ASSERT_EQ(vrel_vector2_create(&vector, kSize, kVrelSorted, by_key, count_release), 0u);
    ASSERT_EQ(vrel_vector2_set_paging(vector, long_tail, 2 * kSize), 0u);
    g_released = 0;
    for (uint32_t i = 0; i < 200; ++i) {
      const Item item = {i * 37 % 101, i};
      test_memory_fail_after(static_cast<int>(i % 6));
      const uint32_t code = vrel_vector2_add(vector, &item, kSize, nullptr);
      const uint32_t sort_code = vrel_vector2_sort(vector, by_key, 1);
      test_memory_fail_after(-1);
      ASSERT_TRUE((code == 0 || code == 0x900d0002u) &&
                  (sort_code == 0 || sort_code == 0x900d0002u));
      ASSERT_EQ(tags_of(vector).size(), i + (code == 0 ? 1 : 0));
      ASSERT_EQ(code == 0 ? 0 : vrel_vector2_add(vector, &item, kSize, nullptr), 0u);
      ASSERT_EQ(tags_of(vector).back(), i);
    }
    EXPECT_EQ(vrel_vector2_delete(vector), 0u);
    EXPECT_EQ(g_released, 200);
  }
  vrel_vector2* pages = nullptr;
  const Item items[7] = {};
  ASSERT_EQ(vrel_vector2_create(&pages, kSize, 0, by_key, nullptr), 0u);
  ASSERT_EQ(vrel_vector2_set_paging(pages, 0, 2 * kSize), 0u);
  for (uint32_t i = 0; i < 5; ++i) ASSERT_EQ(vrel_vector2_insert(pages, 0, &items[i], kSize), 0u);
  each_allocation_failing([&] { return vrel_vector2_append_n(pages, items, 7, kSize); },
                          [&] { EXPECT_EQ(tags_of(pages).size(), 5u); });
  EXPECT_EQ(tags_of(pages).size(), 12u);
  EXPECT_EQ(vrel_vector2_delete(pages), 0u);

  const auto create = [] {
    vrel_vector2* vector = nullptr;
    const uint32_t code = vrel_vector2_create(&vector, 4, kVrelThreadSafe, nullptr, nullptr);
    // A vector whose lock failed is handed out all the same.
    if (vector != nullptr) (void)vrel_vector2_delete(vector);
    return code;
  };
  each_allocation_failing(create, [] {});
}

// Who counts the bytes in 32 bits, or asks for them all the same, gets some: the sums are just
// above 4 GiB.
TEST_F(vrel_vector_test, arrays_that_32_bits_cannot_count_are_not_made) {
  const std::vector<char> value(24);
  for (const auto& [size, count] : {std::pair{12u, 357'913'942u},
                                    {20u, 214'748'365u},
                                    {24u, 178'956'971u},
                                    {24u, UINT32_MAX}}) {
    vrel_vector2* vector = nullptr;
    ASSERT_EQ(vrel_vector2_create(&vector, size, 0, nullptr, nullptr), 0u);
    for (uint32_t held = 0; held < 2; ++held) {
      EXPECT_EQ(vrel_vector2_reserve(vector, count - held), 0x900d0002u) << size;
      EXPECT_EQ(vrel_vector2_set_min_size(vector, count), 0x900d0002u) << size;
      EXPECT_EQ(vrel_vector2_append_n(vector, value.data(), count - held, size), 0x900d0002u);
      EXPECT_EQ(vrel_vector2_add(vector, value.data(), size, nullptr), 0u);
    }
    EXPECT_EQ(vrel_vector2_delete(vector), 0u);
  }
  vrel_vector2* vector = nullptr;
  ASSERT_EQ(vrel_vector2_create(&vector, (1u << 29) + 1, 0, nullptr, nullptr), 0u);
  EXPECT_EQ(vrel_vector2_add(vector, value.data(), (1u << 29) + 1, nullptr), 0x900d0002u);
  EXPECT_EQ(vrel_vector2_delete(vector), 0u);
  vrel_vector* values = nullptr;
  ASSERT_EQ(vrel_vector_create(&values, 0, nullptr, nullptr), 0u);
  EXPECT_EQ(vrel_vector_set_min_size(values, (1u << 30) + 1), 0x900d0002u);
  EXPECT_EQ(vrel_vector_add(values, 7), 0u);
  EXPECT_EQ(vrel_vector_delete(values), 0u);
}

TEST_F(vrel_vector_test, an_attached_array_stays_the_callers_until_the_vector_grows) {
  Item lent[] = {{3, 0}, {1, 0}, {2, 0}};
  vrel_vector2* vector = nullptr;
  ASSERT_EQ(vrel_vector2_create(&vector, 4, kVrelSorted, by_key, nullptr), 0u);
  EXPECT_EQ(vrel_vector2_attach(vector, lent, sizeof(lent) - 1, kSize, 0), 0x900d0209u);
  ASSERT_EQ(vrel_vector2_attach(vector, lent, sizeof(lent), kSize, 0), 0u);
  uint32_t index = 0;
  EXPECT_EQ(vrel_vector2_find(vector, &lent[2], &index), 0u) << "it is searched one by one";
  EXPECT_EQ(index, 2u);
  void* data = nullptr;
  uint32_t size = 0;
  ASSERT_EQ(vrel_vector2_get_buffer(vector, &data, &size, &index), 0u);
  EXPECT_EQ(data, lent);
  EXPECT_EQ(size, sizeof(lent));
  ASSERT_EQ(vrel_vector2_deleteindex(vector, 0), 0u);
  EXPECT_EQ(lent[0].key, 1u) << "changes that need no room are made in the lent array";
  ASSERT_EQ(vrel_vector2_set_min_size(vector, 4), 0u);
  const Item item = {9, 9};
  ASSERT_EQ(vrel_vector2_insert(vector, 0, &item, kSize), 0u);
  EXPECT_EQ(lent[0].key, 1u);
  ASSERT_EQ(vrel_vector2_trim(vector), 0u);
  EXPECT_EQ(capacity_by_detaching(vector), 3u);
  ASSERT_EQ(vrel_vector2_attach(vector, lent, sizeof(lent), kSize, 0), 0u);
  ASSERT_EQ(vrel_vector2_detach(vector, &data, &index, &size), 0u);
  EXPECT_EQ(data, lent);
  void* given = vrel_memory_alloc(2 * kSize);
  ASSERT_EQ(vrel_vector2_attach(vector, given, 2 * kSize, kSize, 1), 0u);
  EXPECT_EQ(vrel_vector2_delete(vector), 0u);
}

TEST_F(vrel_vector_test, handles_sizes_and_indexes_are_checked) {
  alignas(16) char bytes[256] = {};
  auto* dead = reinterpret_cast<vrel_vector2*>(bytes);
  auto* dead_values = reinterpret_cast<vrel_vector*>(bytes);
  const Item item = {1, 1};
  uint32_t number = 0;
  void* data = nullptr;
  for (const uint32_t code :
       {vrel_vector2_add(dead, &item, kSize, nullptr), vrel_vector2_insert(dead, 0, &item, kSize),
        vrel_vector2_set_min_size(dead, 1), vrel_vector2_attach(dead, nullptr, 0, 4, 0),
        vrel_vector2_detach(dead, &data, &number, &number),
        vrel_vector2_get_buffer(dead, &data, &number, &number), vrel_vector_add(dead_values, 1)}) {
    EXPECT_EQ(code, 0x900d0320u);
  }
  for (const uint32_t code :
       {vrel_vector2_find(dead, &item, &number), vrel_vector2_getindex(dead, 0, &data),
        vrel_vector2_sort(dead, by_key, 0), vrel_vector2_clear(dead), vrel_vector2_trim(dead),
        vrel_vector_find_literal(dead_values, 1, &number),
        vrel_vector_removeindex(dead_values, 0, nullptr)}) {
    EXPECT_EQ(code, 0x900d0321u);
  }
  vrel_vector2* vector = nullptr;
  ASSERT_EQ(vrel_vector2_create(&vector, kSize, 0, nullptr, nullptr), 0u);
  EXPECT_EQ(vrel_vector2_add(vector, &item, 4, nullptr), 0x900d0209u);
  EXPECT_EQ(vrel_vector2_add(vector, nullptr, kSize, nullptr), 0x900d0001u);
  EXPECT_EQ(vrel_vector2_getindex(vector, 0, &data), 0x100d0361u);
  EXPECT_EQ(vrel_vector2_count(nullptr, &number), 0x900d0001u);
  EXPECT_EQ(vrel_vector2_set_min_size(nullptr, 1), 0u);
  EXPECT_EQ(vrel_vector2_delete(vector), 0u);
  ASSERT_EQ(vrel_datatypes_shutdown(), 0u);
  EXPECT_EQ(vrel_vector2_create(&vector, 4, 0, nullptr, nullptr), 0x900d0007u);
  ASSERT_EQ(vrel_datatypes_initialize(), 0u);
}

TEST_F(vrel_vector_test, values_that_compare_equal_are_ordered_and_found_as_numbers) {
  static std::vector<uintptr_t> released;
  released.clear();
  const auto tens = [](uintptr_t a, uintptr_t b) {
    return static_cast<int32_t>(a / 10) - static_cast<int32_t>(b / 10);
  };
  const auto release = [](uintptr_t value) { released.push_back(value); };
  vrel_vector* vector = nullptr;
  ASSERT_EQ(vrel_vector_create(&vector, kVrelSorted, tens, release), 0u);
  for (const uintptr_t value : {25u, 13u, 21u, 13u, 29u, 11u, 40u}) {
    ASSERT_EQ(vrel_vector_add(vector, value), 0u);
  }
  uint32_t index = 9;
  EXPECT_EQ(vrel_vector_find(vector, 29, &index), 0u);
  EXPECT_EQ(index, 3u) << "the lowest of those that compare equal";
  EXPECT_EQ(vrel_vector_find_literal(vector, 29, &index), 0u);
  EXPECT_EQ(index, 5u);
  EXPECT_EQ(vrel_vector_find_literal(vector, 22, &index), 0x100d0003u);
  ASSERT_EQ(vrel_vector_insert(vector, 0, 99), 0u);
  EXPECT_EQ(vrel_vector_find_literal(vector, 13, &index), 0u) << "out of order: one by one";
  EXPECT_EQ(vrel_vector_sort(vector, tens, 0), 0u);
  uintptr_t taken = 0;
  EXPECT_EQ(vrel_vector_removeindex(vector, 1, &taken), 0u);
  EXPECT_EQ(taken, 13u);
  EXPECT_EQ(vrel_vector_deleteindex(vector, 0), 0u);
  EXPECT_EQ(vrel_vector_delete(vector), 0u);
  EXPECT_EQ(released, (std::vector<uintptr_t>{11, 13, 21, 25, 29, 40, 99}));
}
