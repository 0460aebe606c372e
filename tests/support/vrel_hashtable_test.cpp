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

// A table as its rules describe it, with one chain for all keys.
struct Model {
  struct Row {
    std::string key;
    uintptr_t value;
    uint32_t hash;  // as stored: 0 where an entry of another key has it
  };
  uint32_t flags;
  std::vector<Row> rows = {};

  std::string folded(std::string key) const {
    for (char& c : key) c = static_cast<char>((flags & kVrelCaseSensitive) != 0 ? c : toupper(c));
    return key;
  }
  uint32_t hash(const std::string& key) const {
    uint32_t hash = 5381;
    for (const char c : folded(key)) hash = hash * 33 + static_cast<unsigned char>(c);
    return hash;
  }
  std::vector<size_t> places(const std::string& key) const {
    std::vector<size_t> all;
    for (size_t i = 0; i < rows.size(); ++i) {
      const bool same = rows[i].hash == 0 && folded(rows[i].key) == folded(key);
      if (same || rows[i].hash == hash(key)) all.push_back(i);
    }
    return all;
  }
  void erase(size_t place) { rows.erase(rows.begin() + static_cast<ptrdiff_t>(place)); }
  void add(const std::string& key, uintptr_t value) {
    const std::vector<size_t> old = places(key);
    if (!old.empty() && (flags & kVrelMultiValue) == 0) erase(old[0]);
    const bool has_rival = std::any_of(rows.begin(), rows.end(), [&](const Row& row) {
      return row.hash == hash(key) && folded(row.key) != folded(key);
    });
    rows.push_back({key, value, has_rival ? 0 : hash(key)});
  }
  Listing listing() const {
    Listing all;
    for (const Row& row : rows) all.emplace_back(row.key, row.value);
    return all;
  }
  std::vector<uintptr_t> values_of(const std::string& key) const {
    std::vector<uintptr_t> all;
    for (const size_t place : places(key)) all.push_back(rows[place].value);
    return all;
  }
};

// "EZ" and "F9" have one hash, "Ez" and "FY" have one if case counts.
std::string random_key(Random& random) {
  static const char* const kTwins[] = {"EZ",   "F9",   "Ez",   "FY",  "ez",
                                       "EZEZ", "F9F9", "EZF9", "F9EZ"};
  const uint32_t pick = random() % 50;
  return pick < std::size(kTwins) ? kTwins[pick] : "k" + std::to_string(pick);
}

// One random change, to the table and to the model.
void random_change(Random& random, vrel_hashtable* table, Model* model) {
  const std::string key = random_key(random);
  const uintptr_t value = random() | 1;
  const std::vector<size_t> places = model->places(key);
  const auto pick = static_cast<uint32_t>(random() % 3);
  const uint32_t expected = pick < places.size() ? 0 : 0x100d0003u;
  switch (random() % 9) {
    default:
      ASSERT_EQ(vrel_hashtable_value_add(table, key.c_str(), as_value(value), 1, 0), 0u);
      model->add(key, value);
      break;
    case 0:
    case 1:
      ASSERT_EQ(vrel_hashtable_value_remove_ex(table, key.c_str(), pick), expected);
      if (expected == 0) model->erase(places[pick]);
      break;
    case 2:
      ASSERT_EQ(vrel_hashtable_value_update_ex(table, key.c_str(), pick, as_value(value), 1, 0),
                expected);
      if (expected == 0) model->rows[places[pick]].value = value;
      break;
    case 3:
      ASSERT_EQ(vrel_hashtable_value_delete(table, key.c_str()), places.empty() ? 0x100d0003u : 0u);
      for (size_t i = places.size(); i > 0; --i) model->erase(places[i - 1]);
      break;
  }
}

void expect_same(vrel_hashtable* table, const Model& model, const std::string& key) {
  uint32_t count = 0;
  ASSERT_EQ(vrel_hashtable_count(table, &count), 0u);
  ASSERT_EQ(count, model.rows.size());
  ASSERT_EQ(vrel_hashtable_value_count(table, key.c_str(), &count), 0u);
  ASSERT_EQ(count, model.places(key).size());
  ASSERT_EQ(values_of(table, key.c_str()), model.values_of(key));
}

// A copy is filled bucket by bucket, and so the order of keys is another one.
void expect_copy(vrel_hashtable* table, const Model& model, const std::string& key) {
  vrel_hashtable* copy = nullptr;
  ASSERT_EQ(vrel_hashtable_copy(table, &copy), 0u);
  Model fresh = {model.flags};
  for (const Model::Row& row : model.rows) fresh.add(row.key, row.value);
  expect_same(copy, fresh, key);
  Listing theirs = model.listing();
  Listing ours = listing(copy);
  std::sort(theirs.begin(), theirs.end());
  std::sort(ours.begin(), ours.end());
  EXPECT_EQ(ours, theirs);
  const size_t released = g_released.size();
  EXPECT_EQ(vrel_hashtable_delete(copy), 0u);
  g_released.resize(released);
}

}  // namespace

TEST_F(vrel_hashtable_test, tables_keep_values_by_key_and_in_order) {
  for (const uint32_t flags : {0u, kVrelMultiValue, kVrelThreadSafe | kVrelCaseSensitive,
                               kVrelMultiValue | kVrelCaseSensitive}) {
    Random random(flags);
    g_released.clear();
    vrel_hashtable* table = nullptr;
    ASSERT_EQ(vrel_hashtable_create(&table, flags, note_release), 0u);
    Model model = {flags};
    for (int step = 0; step < 4000 && !HasFatalFailure(); ++step) {
      random_change(random, table, &model);
      ASSERT_EQ(listing(table), model.listing()) << step;
      expect_same(table, model, random_key(random));
      if (step % 100 == 0) expect_copy(table, model, random_key(random));
    }
    const size_t released = g_released.size();
    EXPECT_EQ(vrel_hashtable_delete(table), 0u);
    EXPECT_EQ(g_released.size(), released + model.rows.size());
  }
}

// Each addition that looks at all values of its key, or of a rival's, takes hours here.
TEST_F(vrel_hashtable_test, keys_hold_as_many_values_as_they_are_given) {
  constexpr uint32_t kCount = 100000;
  vrel_hashtable* table = nullptr;
  ASSERT_EQ(vrel_hashtable_create(&table, kVrelMultiValue, nullptr), 0u);
  uint32_t expected = 0;
  for (const auto& [even, odd] : {std::pair{"EZ", "EZ"}, {"F9", "F9"}, {"EZ", "F9"}}) {
    for (uint32_t i = 0; i < kCount; ++i) {
      ASSERT_EQ(vrel_hashtable_value_add(table, i % 2 == 0 ? even : odd, nullptr, 0, 0), 0u);
    }
    uint32_t count = 0;
    ASSERT_EQ(vrel_hashtable_value_count(table, "F9", &count), 0u);
    EXPECT_EQ(count, expected += kCount) << "those of its rival are found, too";
  }
  ASSERT_EQ(vrel_hashtable_value_delete(table, "EZ"), 0u);
  ASSERT_EQ(vrel_hashtable_count(table, &expected), 0u);
  EXPECT_EQ(expected, kCount + kCount / 2);
  EXPECT_EQ(vrel_hashtable_delete(table), 0u);
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
  for (size_t length = 1; length < 40; ++length) {
    const std::string long_key(length, 'x');
    const char* stored = nullptr;
    ASSERT_EQ(vrel_hashtable_value_add(table, long_key.c_str(), "value", 6, 1), 0u);
    ASSERT_EQ(vrel_hashtable_value_get(table, static_cast<uint32_t>(length) + 1, &stored, nullptr,
                                       nullptr),
              0u);
    EXPECT_EQ(stored, long_key) << "it ends in front of the value";
  }
  const char* next = nullptr;
  ASSERT_EQ(vrel_hashtable_value_get(table, 30, &next, nullptr, nullptr), 0u);
  ASSERT_EQ(vrel_hashtable_value_remove(table, next), 0u);
  ASSERT_EQ(vrel_hashtable_value_get(table, 30, &next, nullptr, nullptr), 0u);
  EXPECT_EQ(next, std::string(30, 'x')) << "the one behind moves up";
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
