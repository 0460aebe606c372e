// vrel_stringtable_test: large string tables, their edges, failing memory and threads.
#include "vrel_stringtable.h"

#include <gtest/gtest.h>

#include <atomic>
#include <cstring>
#include <string>
#include <string_view>
#include <thread>
#include <utility>
#include <vector>

#include "containers_for_tests.h"
#include "vrel_log.h"

namespace {

using namespace std::string_literals;
using vrel_stringtable_test = ContainersTest;

uint32_t hash_of(std::string_view text) {
  uint32_t hash = 5381;
  for (const char c : text) hash = hash * 33 + static_cast<unsigned char>(c);
  return hash;
}

// Ids by hash: each goes in where the search of a sorted array puts it.
struct Index {
  std::vector<std::pair<uint32_t, uint32_t>> entries;  // hash, id

  void enter(std::string_view string, uint32_t id) {
    const uint32_t hash = hash_of(string);
    const auto order = [=](const auto& e) { return e.first < hash ? -1 : e.first > hash; };
    entries.insert(entries.begin() + plain_search(entries, order).second, {hash, id});
  }
  std::vector<uint32_t> ids() const {
    std::vector<uint32_t> ids;
    for (const auto& [hash, id] : entries) ids.push_back(id);
    return ids;
  }
};

std::vector<uint32_t> ids_of(const vrel_stringtable* table) {
  std::vector<uint32_t> ids;
  uint32_t id = 0;
  for (uint32_t i = 0; vrel_stringtable_enum(table, i, &id, nullptr) == 0; ++i) ids.push_back(id);
  std::vector<uint32_t> copied(ids.size() + 1);
  const auto count = static_cast<uint32_t>(ids.size());
  EXPECT_EQ(vrel_stringtable_copy_ids(table, 0, count, copied.data()), 0u);
  copied.pop_back();
  EXPECT_EQ(copied, ids);
  return ids;
}

std::string text_of(const vrel_stringtable* table) {
  uint32_t length = 0;
  EXPECT_EQ(vrel_stringtable_length(table, &length), 0u);
  std::string text(length, '?');
  EXPECT_EQ(vrel_stringtable_copy_text(table, 0, text.data(), length), 0u);
  return text;
}

// Numbered strings, whose hashes lie in clusters, and every third time one of 2^12 of one hash.
std::string large_text(uint32_t first, uint32_t count) {
  std::string text = "\0"s;
  for (uint32_t i = first; i < first + count; ++i) {
    std::string twin;
    for (uint32_t bit = 0; bit < 12; ++bit) twin += (i >> bit & 1) != 0 ? "Ez" : "FY";
    text += (i % 3 == 0 ? twin : "ident " + std::to_string(i)) + "\0"s;
  }
  return text;
}

}  // namespace

// What is done to small tables is left to the fuzzer of string tables and its corpus.
TEST_F(vrel_stringtable_test, strings_of_one_hash_stand_alike_however_many_there_are) {
  vrel_stringtable* table = nullptr;
  ASSERT_EQ(vrel_stringtable_create(&table, 0), 0u);
  for (const uint32_t count : {100u, 1500u, 4000u}) {
    const std::string text = large_text(count, count);
    const auto length = static_cast<uint32_t>(text.size());
    ASSERT_EQ(vrel_stringtable_attach_buffer(table, text.data(), length), 0u);
    Index index;
    for (uint32_t id = 1; id < length; id += static_cast<uint32_t>(strlen(&text[id])) + 1) {
      index.enter(&text[id], id);
    }
    ASSERT_EQ(ids_of(table), index.ids()) << count;
    uint32_t id = 0;
    for (uint32_t i = 0; i < 2000; ++i) {
      const std::string string = std::to_string(i * 7919) + "ident";
      ASSERT_EQ(vrel_stringtable_add_value(table, string.c_str(), &id), 0u);
      index.enter(string, id);
    }
    ASSERT_EQ(ids_of(table), index.ids()) << count;
  }
  EXPECT_EQ(vrel_stringtable_delete(table), 0u);
}

TEST_F(vrel_stringtable_test, ids_end_with_the_text_and_restored_strings_fit_their_place) {
  vrel_stringtable* table = nullptr;
  ASSERT_EQ(vrel_stringtable_create(&table, 0), 0u);
  uint32_t id = 0;
  const char* string = nullptr;
  for (const uint32_t end : {0u, 4u}) {
    EXPECT_EQ(vrel_stringtable_get_value(table, end, &string), 0u);
    EXPECT_STREQ(string, "");
    EXPECT_EQ(vrel_stringtable_get_value(table, end + 1, &string), 0x900d0363u);
    ASSERT_EQ(vrel_stringtable_add_value(table, "ab", &id), 0u);
    EXPECT_EQ(id, 1u);
  }
  EXPECT_EQ(vrel_stringtable_get_value(table, id, &string), 0u);
  EXPECT_EQ(vrel_stringtable_remove_value(table, id), 0u);
  EXPECT_EQ(vrel_stringtable_remove_value(table, id), 0u) << "again changes nothing";
  EXPECT_STREQ(string, "");
  EXPECT_EQ(vrel_stringtable_restore_value(table, id, "abc"), 0x100d0003u);
  EXPECT_EQ(vrel_stringtable_restore_value(table, id, "ab"), 0u);
  EXPECT_STREQ(string, "ab");
  EXPECT_EQ(vrel_stringtable_add_value(table, "", &id), 0x900d0001u);
  EXPECT_EQ(vrel_stringtable_delete(table), 0u);
  alignas(16) char dead[128] = {};
  EXPECT_EQ(vrel_stringtable_count(reinterpret_cast<vrel_stringtable*>(dead), &id), 0x900d0321u);
}

TEST_F(vrel_stringtable_test, a_string_behind_a_run_of_zeros_is_read_by_id_but_not_found) {
  const std::string bytes = "\0a\0\0\0bc\0d\0"s;
  vrel_stringtable* table = nullptr;
  ASSERT_EQ(vrel_stringtable_create(&table, 0), 0u);
  ASSERT_EQ(vrel_stringtable_attach_buffer(table, bytes.data(), 10), 0u);
  uint32_t id = 0;
  const char* string = nullptr;
  EXPECT_EQ(vrel_stringtable_get_value_ref(table, "d", &id), 0u);
  EXPECT_EQ(id, 8u);
  EXPECT_EQ(vrel_stringtable_get_value_ref(table, "bc", &id), 0x100d0003u);
  EXPECT_EQ(vrel_stringtable_get_value(table, 5, &string), 0u);
  EXPECT_STREQ(string, "bc");
  // The four zeros from 3 on are a hole that ends at a string: no text may go there.
  const std::string holed = "\0a\0\0\0\0\0bc\0d\0"s;
  ASSERT_EQ(vrel_stringtable_attach_buffer(table, holed.data(), 12), 0u);
  EXPECT_EQ(vrel_stringtable_restore_value(table, 3, "wxyz"), 0x100d0003u);
  EXPECT_STREQ(string, "bc") << "what was handed out stays, whatever happens to the table";
  EXPECT_EQ(vrel_stringtable_delete(table), 0u);
}

TEST_F(vrel_stringtable_test, a_table_survives_every_failing_allocation) {
  vrel_stringtable* table = nullptr;
  ASSERT_EQ(vrel_stringtable_create(&table, 0), 0u);
  std::string text = "\0"s;
  size_t strings = 0;
  const auto change = [&] {
    uint32_t id = 0;
    for (size_t i = 1; i < 40; ++i) {
      const std::string string(i, 'x');
      if (const uint32_t code = vrel_stringtable_add_value(table, string.c_str(), &id)) return code;
      if (i <= strings) continue;
      EXPECT_EQ(id, text.size());
      text += string + "\0"s;
      strings = i;
    }
    const char* bytes = nullptr;
    const uint32_t code = vrel_stringtable_get_buffer(table, &bytes, &id);
    return code != 0 ? code : vrel_stringtable_remove_value(table, 1);
  };
  const auto check = [&] {
    EXPECT_EQ(text_of(table), strings == 0 ? "" : text);
    EXPECT_EQ(ids_of(table).size(), strings);
  };
  each_allocation_failing(change, check);
  text[1] = '\0';
  check();
  const std::string attached = large_text(0, 50);
  const auto attach = [&] {
    return vrel_stringtable_attach_buffer(table, attached.data(),
                                          static_cast<uint32_t>(attached.size()));
  };
  each_allocation_failing(attach, [] {});
  EXPECT_EQ(text_of(table), attached);
  EXPECT_EQ(ids_of(table).size(), 50u);
  EXPECT_EQ(vrel_stringtable_delete(table), 0u);
}

TEST_F(vrel_stringtable_test, strings_are_read_without_a_lock_while_others_are_added) {
  vrel_stringtable* table = nullptr;
  ASSERT_EQ(vrel_stringtable_create(&table, 0), 0u);
  std::vector<std::atomic<uint32_t>> ids(4000);
  std::thread reader([&] {
    for (size_t i = 0; i < ids.size(); ++i) {
      while (ids[i].load(std::memory_order_relaxed) == 0) std::this_thread::yield();
      const char* string = nullptr;
      ASSERT_EQ(vrel_stringtable_get_value(table, ids[i].load(std::memory_order_relaxed), &string),
                0u);
      ASSERT_EQ(string, "ident " + std::to_string(i));
    }
  });
  for (size_t i = 0; i < ids.size(); ++i) {
    uint32_t id = 0;
    const std::string string = "ident " + std::to_string(i);
    ASSERT_EQ(vrel_stringtable_add_value(table, string.c_str(), &id), 0u);
    ids[i].store(id, std::memory_order_relaxed);
    const char* bytes = nullptr;
    uint32_t length = 0;
    if (i % 500 == 0) {
      ASSERT_EQ(vrel_stringtable_get_buffer(table, &bytes, &length), 0u);
    }
  }
  reader.join();
  EXPECT_EQ(vrel_stringtable_delete(table), 0u);
}

TEST_F(vrel_stringtable_test, failures_are_logged_once_with_the_source_and_warnings_never) {
  static std::vector<std::string> logged;
  g_vrel_log_error_callback = [](uint32_t, const char* source, uint32_t code, uint32_t) {
    logged.emplace_back(source);
    return code;
  };
  vrel_stringtable* table = nullptr;
  uint32_t id = 0;
  EXPECT_EQ(vrel_stringtable_create(&table, 0), 0u);
  for (const uint32_t enabled : {VREL_LOG_ERROR, UINT32_C(0)}) {
    g_vrel_log_enabled_pkgs[0x0d] = enabled;
    EXPECT_EQ(vrel_stringtable_get_value_ref(table, "absent", &id), 0x100d0003u);
    EXPECT_EQ(vrel_stringtable_remove_value(table, 5), 0x900d0363u);
  }
  g_vrel_log_error_callback = nullptr;
  EXPECT_EQ(vrel_stringtable_delete(table), 0u);
  EXPECT_EQ(logged, std::vector<std::string>{"vrel_stringtable"});
}
