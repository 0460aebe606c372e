// vrel_hashtable_test: hash tables, string maps and stacks.
#include "vrel_hashtable.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "containers_for_tests.h"
#include "vrel_stack.h"
#include "vrel_stringmap.h"

namespace {

using vrel_hashtable_test = ContainersTest;

std::vector<uintptr_t> g_released;
void note_release(void* value, uint32_t size) {
  EXPECT_EQ(size, 1u);
  g_released.push_back(reinterpret_cast<uintptr_t>(value));
}
void* as_value(uintptr_t number) {
  return reinterpret_cast<void*>(number);
}

// What a table holds, in the order of its enumeration.
using Listing = std::vector<std::pair<std::string, uintptr_t>>;
Listing listing(vrel_hashtable* table) {
  Listing all;
  const char* key = nullptr;
  void* value = nullptr;
  for (uint32_t i = 0; vrel_hashtable_value_get(table, i, &key, &value, nullptr) == 0; ++i) {
    all.emplace_back(key, reinterpret_cast<uintptr_t>(value));
  }
  return all;
}

std::vector<uintptr_t> values_of(const vrel_hashtable* table, const char* key) {
  std::vector<uintptr_t> all;
  void* value = nullptr;
  for (uint32_t i = 0; vrel_hashtable_value_find_ex(table, key, i, &value, nullptr) == 0; ++i) {
    all.push_back(reinterpret_cast<uintptr_t>(value));
  }
  return all;
}

std::string random_key(Random& random) {
  return "k" + std::to_string(random() % 60);
}

// One random change, to the table and to the list that stands for it.
void random_change(Random& random, vrel_hashtable* table, bool multi, Listing* model) {
  const std::string key = random_key(random);
  const auto matches = [&](const auto& pair) { return pair.first == key; };
  const uintptr_t value = random() | 1;
  std::vector<size_t> places;
  for (size_t i = 0; i < model->size(); ++i) {
    if ((*model)[i].first == key) places.push_back(i);
  }
  const auto pick = static_cast<uint32_t>(random() % 3);
  const uint32_t expected = pick < places.size() ? 0 : 0x100d0003u;
  switch (random() % 8) {
    default:
      ASSERT_EQ(vrel_hashtable_value_add(table, key.c_str(), as_value(value), 1, 0), 0u);
      if (!multi) model->erase(std::remove_if(model->begin(), model->end(), matches), model->end());
      model->emplace_back(key, value);
      break;
    case 0:
      ASSERT_EQ(vrel_hashtable_value_remove_ex(table, key.c_str(), pick), expected);
      if (expected == 0) model->erase(model->begin() + static_cast<ptrdiff_t>(places[pick]));
      break;
    case 1:
      ASSERT_EQ(vrel_hashtable_value_update_ex(table, key.c_str(), pick, as_value(value), 1, 0),
                expected);
      if (expected == 0) (*model)[places[pick]].second = value;
      break;
    case 2:
      ASSERT_EQ(vrel_hashtable_value_delete(table, key.c_str()), places.empty() ? 0x100d0003u : 0u);
      model->erase(std::remove_if(model->begin(), model->end(), matches), model->end());
      break;
  }
  uint32_t count = 0;
  ASSERT_EQ(vrel_hashtable_count(table, &count), 0u);
  ASSERT_EQ(count, model->size());
}

}  // namespace

TEST_F(vrel_hashtable_test, tables_keep_values_by_key_and_in_order) {
  for (const uint32_t flags : {0u, kVrelMultiValue, kVrelThreadSafe | kVrelCaseSensitive}) {
    Random random(flags);
    g_released.clear();
    vrel_hashtable* table = nullptr;
    ASSERT_EQ(vrel_hashtable_create(&table, flags, note_release), 0u);
    Listing model;
    for (int step = 0; step < 4000 && !HasFatalFailure(); ++step) {
      random_change(random, table, (flags & kVrelMultiValue) != 0, &model);
      ASSERT_EQ(listing(table), model) << step;
      const std::string key = random_key(random);
      std::vector<uintptr_t> expected;
      for (const auto& [k, v] : model) {
        if (k == key) expected.push_back(v);
      }
      uint32_t count = 0;
      ASSERT_EQ(vrel_hashtable_value_count(table, key.c_str(), &count), 0u);
      ASSERT_EQ(count, expected.size());
      ASSERT_EQ(values_of(table, key.c_str()), expected);
    }
    const size_t released = g_released.size();
    EXPECT_EQ(vrel_hashtable_delete(table), 0u);
    EXPECT_EQ(g_released.size(), released + model.size());
  }
}

TEST_F(vrel_hashtable_test, keys_and_copies_are_the_tables_own_unless_asked_otherwise) {
  vrel_hashtable* table = nullptr;
  std::string key = "Key";
  uint32_t number = 7;
  void* value = nullptr;
  uint32_t size = 0;
  g_released.clear();
  ASSERT_EQ(vrel_hashtable_create(&table, 0, note_release), 0u);
  ASSERT_EQ(vrel_hashtable_value_add(table, key.c_str(), &number, 4, 1), 0u);
  key = "Xyz";
  number = 8;
  ASSERT_EQ(vrel_hashtable_value_find(table, "KEY", &value, &size), 0u);
  EXPECT_EQ(*static_cast<uint32_t*>(value), 7u);
  EXPECT_EQ(size, 4u);
  ASSERT_EQ(vrel_hashtable_value_update(table, "key", &number, 4, 1), 0u);
  ASSERT_EQ(vrel_hashtable_value_find(table, "kEY", &value, nullptr), 0u);
  EXPECT_EQ(*static_cast<uint32_t*>(value), 8u);
  ASSERT_EQ(vrel_hashtable_value_add(table, "none", nullptr, 1, 1), 0u);
  EXPECT_EQ(vrel_hashtable_delete(table), 0u);
  EXPECT_TRUE(g_released.empty()) << "copies and nulls are not released";

  const char* stored = nullptr;
  ASSERT_EQ(vrel_hashtable_create(&table, kVrelReferenceKeys | kVrelCaseSensitive, nullptr), 0u);
  ASSERT_EQ(vrel_hashtable_value_add(table, key.c_str(), &number, 4, 0), 0u);
  EXPECT_EQ(vrel_hashtable_value_find(table, "xyz", &value, &size), 0x100d0003u);
  ASSERT_EQ(vrel_hashtable_value_get(table, 0, &stored, &value, nullptr), 0u);
  EXPECT_EQ(stored, key.c_str());
  EXPECT_EQ(value, &number);
  EXPECT_EQ(vrel_hashtable_value_get(table, 1, &stored, &value, nullptr), 0x100d0361u);
  EXPECT_EQ(vrel_hashtable_value_add(table, "", &number, 4, 0), 0x900d0001u);
  EXPECT_EQ(vrel_hashtable_delete(table), 0u);
}

// "Ez" and "FY" have one hash.
TEST_F(vrel_hashtable_test, keys_of_one_hash_are_one_key_unless_keys_hold_several_values) {
  vrel_hashtable* table = nullptr;
  ASSERT_EQ(vrel_hashtable_create(&table, kVrelCaseSensitive, nullptr), 0u);
  ASSERT_EQ(vrel_hashtable_value_add(table, "Ez", as_value(1), 1, 0), 0u);
  ASSERT_EQ(vrel_hashtable_value_add(table, "FY", as_value(2), 1, 0), 0u);
  EXPECT_EQ(listing(table), (Listing{{"FY", 2}}));
  EXPECT_EQ(values_of(table, "Ez"), std::vector<uintptr_t>{2});
  EXPECT_EQ(vrel_hashtable_delete(table), 0u);

  ASSERT_EQ(vrel_hashtable_create(&table, kVrelCaseSensitive | kVrelMultiValue, nullptr), 0u);
  ASSERT_EQ(vrel_hashtable_value_add(table, "Ez", as_value(1), 1, 0), 0u);
  ASSERT_EQ(vrel_hashtable_value_add(table, "FY", as_value(2), 1, 0), 0u);
  for (int i = 0; i < 100; ++i) {
    ASSERT_EQ(vrel_hashtable_value_add(table, std::to_string(i).c_str(), nullptr, 0, 0), 0u);
  }
  EXPECT_EQ(values_of(table, "Ez"), std::vector<uintptr_t>{1});
  EXPECT_EQ(values_of(table, "FY"), (std::vector<uintptr_t>{1, 2})) << "found after the growth";
  ASSERT_EQ(vrel_hashtable_value_remove(table, "Ez"), 0u);
  EXPECT_EQ(values_of(table, "FY"), std::vector<uintptr_t>{2});
  vrel_hashtable* copy = nullptr;
  ASSERT_EQ(vrel_hashtable_copy(table, &copy), 0u);
  Listing theirs = listing(table);
  Listing ours = listing(copy);
  EXPECT_NE(ours, theirs) << "a copy enumerates by bucket";
  std::sort(theirs.begin(), theirs.end());
  std::sort(ours.begin(), ours.end());
  EXPECT_EQ(ours, theirs);
  EXPECT_EQ(vrel_hashtable_delete(copy), 0u);
  EXPECT_EQ(vrel_hashtable_delete(table), 0u);
}

TEST_F(vrel_hashtable_test, a_value_that_could_not_be_added_stays_the_callers) {
  vrel_hashtable* table = nullptr;
  ASSERT_EQ(vrel_hashtable_create(&table, 0, note_release), 0u);
  g_released.clear();
  const auto fill = [&] {
    uint32_t code = 0;
    for (int i = 0; i < 30 && code == 0; ++i) {
      code = vrel_hashtable_value_add(table, std::to_string(i).c_str(), as_value(5), 1, 0);
    }
    return code;
  };
  each_allocation_failing(fill, [&] {
    const size_t held = listing(table).size();
    ASSERT_EQ(vrel_hashtable_clear(table), 0u);
    ASSERT_EQ(g_released.size(), held);
    g_released.clear();
  });
  const auto copy = [&] {
    vrel_hashtable* fresh = nullptr;
    const uint32_t code = vrel_hashtable_copy(table, &fresh);
    if (code == 0) (void)vrel_hashtable_delete(fresh);
    return code;
  };
  each_allocation_failing(copy, [] { EXPECT_TRUE(g_released.empty()) << "they are the source's"; });
  EXPECT_EQ(vrel_hashtable_delete(table), 0u);
}

TEST_F(vrel_hashtable_test, enumerating_from_several_threads_at_once_gives_every_entry) {
  vrel_hashtable* table = nullptr;
  ASSERT_EQ(vrel_hashtable_create(&table, 0, nullptr), 0u);
  for (uintptr_t i = 0; i < 300; ++i) {
    ASSERT_EQ(vrel_hashtable_value_add(table, std::to_string(i).c_str(), as_value(i), 0, 0), 0u);
  }
  std::vector<std::thread> threads;
  for (int t = 0; t < 3; ++t) {
    threads.emplace_back([=] {
      const Listing all = listing(table);
      ASSERT_EQ(all.size(), 300u);
      for (uintptr_t i = 0; i < 300; ++i) {
        EXPECT_EQ(all[i].second, i);
      }
    });
  }
  for (auto& thread : threads) thread.join();
  EXPECT_EQ(vrel_hashtable_delete(table), 0u);
}

TEST_F(vrel_hashtable_test, string_maps_copy_strings_unless_asked_to_refer_to_them) {
  for (const uint32_t flags : {0u, kVrelReferenceStrings}) {
    vrel_stringmap* map = nullptr;
    vrel_stringmap* copy = nullptr;
    char text[] = "one";
    const char* found = nullptr;
    ASSERT_EQ(vrel_stringmap_create(&map, flags), 0u);
    ASSERT_EQ(vrel_stringmap_value_add(map, "Key", text), 0u);
    text[0] = 'O';
    ASSERT_EQ(vrel_stringmap_copy(map, &copy), 0u);
    EXPECT_EQ(vrel_stringmap_value_delete(map, "key"), 0u);
    EXPECT_EQ(vrel_stringmap_value_find(map, "key", &found), 0x100d0003u);
    EXPECT_EQ(vrel_stringmap_value_find(copy, "KEY", &found), 0u);
    EXPECT_STREQ(found, flags == 0 ? "one" : "One");
    EXPECT_EQ(vrel_stringmap_delete(map), 0u);
    EXPECT_EQ(vrel_stringmap_delete(copy), 0u);
  }
}

TEST_F(vrel_hashtable_test, stacks_hand_over_what_is_popped_and_release_the_rest) {
  static std::vector<uintptr_t> released;
  released.clear();
  vrel_stack* stack = nullptr;
  uintptr_t value = 99;
  ASSERT_EQ(vrel_stack_create(&stack, 0, [](uintptr_t v) { released.push_back(v); }), 0u);
  EXPECT_EQ(vrel_stack_pop(stack, &value), 0x100d0003u);
  EXPECT_EQ(vrel_stack_top(stack, &value), 0x100d0003u);
  for (uintptr_t i = 1; i <= 5; ++i) ASSERT_EQ(vrel_stack_push(stack, i), 0u);
  EXPECT_EQ(vrel_stack_pop(stack, &value), 0u);
  EXPECT_EQ(value, 5u);
  EXPECT_EQ(vrel_stack_top(stack, &value), 0u);
  EXPECT_EQ(value, 4u);
  EXPECT_EQ(vrel_stack_pop(stack, nullptr), 0u);
  EXPECT_EQ(released, std::vector<uintptr_t>{4});
  test_memory_fail_after(0);
  EXPECT_EQ(vrel_stack_push(stack, 0), 0u) << "the item popped last is used again";
  EXPECT_EQ(vrel_stack_push(stack, 0), 0x900d0002u);
  test_memory_fail_after(-1);
  EXPECT_EQ(vrel_stack_delete(stack), 0u);
  EXPECT_EQ(released, (std::vector<uintptr_t>{4, 3, 2, 1}));
  EXPECT_EQ(vrel_stack_delete(nullptr), 0u);
  alignas(16) char dead[64] = {};
  EXPECT_EQ(vrel_stack_push(reinterpret_cast<vrel_stack*>(dead), 1), 0x900d0320u);
}

TEST_F(vrel_hashtable_test, stacks_take_values_from_several_threads) {
  vrel_stack* stack = nullptr;
  ASSERT_EQ(vrel_stack_create(&stack, kVrelThreadSafe, nullptr), 0u);
  std::vector<std::thread> threads;
  for (int t = 0; t < 4; ++t) {
    threads.emplace_back([=] {
      uintptr_t value = 0;
      for (int i = 0; i < 500; ++i) {
        EXPECT_EQ(vrel_stack_push(stack, 1), 0u);
        EXPECT_EQ(vrel_stack_push(stack, 1), 0u);
        EXPECT_EQ(vrel_stack_pop(stack, &value), 0u);
      }
    });
  }
  for (auto& thread : threads) thread.join();
  uint32_t count = 0;
  EXPECT_EQ(vrel_stack_count(stack, &count), 0u);
  EXPECT_EQ(count, 2000u);
  EXPECT_EQ(vrel_stack_delete(stack), 0u);
}
