// vrel_stringtable_test: string tables against a model in one std::string.
#include "vrel_stringtable.h"

#include <gtest/gtest.h>

#include <atomic>
#include <map>
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

// A table as its rules describe it.
struct Model {
  std::string text;
  std::vector<std::pair<uint32_t, uint32_t>> index;  // hash, id
  std::map<uint32_t, size_t> holes;                  // the first at each offset
  uint32_t count = 0;

  std::string at(uint32_t id) const { return text.c_str() + id; }

  std::pair<bool, uint32_t> search(uint32_t hash) const {
    return plain_search(
        index, [=](const auto& entry) { return entry.first < hash ? -1 : entry.first > hash; });
  }
  bool find(uint32_t hash, uint32_t* id) const {
    auto [found, place] = search(hash);
    while (found && place > 0 && index[place - 1].first == hash) --place;
    if (found) *id = index[place].second;
    return found;
  }
  void enter(uint32_t hash, uint32_t id) {
    index.insert(index.begin() + search(hash).second, {hash, id});
    ++count;
  }
  uint32_t add(const std::string& string) {
    uint32_t id = 0;
    if (find(hash_of(string), &id)) return id;
    if (text.empty()) text = "\0"s;
    id = static_cast<uint32_t>(text.size());
    text += string + "\0"s;
    enter(hash_of(string), id);
    return id;
  }
  uint32_t remove(uint32_t id) {
    if (id == 0 || id > text.size() || text[id - 1] != '\0') return 0x900d0363u;
    const size_t length = at(id).size();
    if (length > 0) holes.emplace(id, length);
    text.replace(id, length, length, '\0');
    return 0;
  }
  bool restore(uint32_t id, const std::string& string) {
    const auto hole = holes.find(id);
    if (hole == holes.end() || hole->second != string.size() || text[id] != '\0') return false;
    text.replace(id, string.size(), string);
    return true;
  }
  void attach(std::string bytes) {
    *this = {};
    text = bytes;
    if (!text.empty() && text.back() != '\0') text += '\0';
    const size_t length = bytes.size();
    for (size_t p = 0;;) {
      while (p < length && bytes[p] != '\0') ++p;
      const size_t q = p + 1;
      if (q >= length) return;
      p = q;
      if (bytes[q] != '\0') {
        const auto id = static_cast<uint32_t>(q);
        enter(hash_of(at(id)), id);
        continue;
      }
      while (p < length && bytes[p] == '\0') ++p;
      if (p == length) return;
    }
  }
};

void expect_same(vrel_stringtable* table, const Model& model, bool whole) {
  uint32_t count = 0;
  uint32_t length = 0;
  ASSERT_EQ(vrel_stringtable_count(table, &count), 0u);
  ASSERT_EQ(count, model.count);
  ASSERT_EQ(vrel_stringtable_length(table, &length), 0u);
  ASSERT_EQ(length, model.text.size());
  std::string text(length, 'x');
  ASSERT_EQ(vrel_stringtable_copy_text(table, 0, text.data(), length), 0u);
  ASSERT_EQ(text, model.text);
  if (!whole) return;
  uint32_t id = 0;
  const char* string = nullptr;
  for (uint32_t i = 0; i < model.index.size(); ++i) {
    ASSERT_EQ(vrel_stringtable_enum(table, i, &id, &string), 0u);
    ASSERT_EQ(id, model.index[i].second) << "at " << i;
    ASSERT_EQ(string, model.at(id));
  }
  ASSERT_EQ(vrel_stringtable_enum(table, count, &id, nullptr), 0x100d0361u);
  const char* bytes = nullptr;
  ASSERT_EQ(vrel_stringtable_get_buffer(table, &bytes, &length), 0u);
  ASSERT_EQ(std::string(bytes == nullptr ? "" : bytes, length), model.text);
}

// Strings of many lengths; "Ez" and "FY", as "xEz" and "xFY", have one hash.
std::string random_string(Random& random) {
  static const char* const kTwins[] = {"Ez", "FY", "xEz", "xFY", "EzEz", "FYFY"};
  if (random() % 8 == 0) return kTwins[random() % std::size(kTwins)];
  return std::string(1 + random() % 40, static_cast<char>('a' + random() % 26));
}

void random_change(Random& random, vrel_stringtable* table, Model* model) {
  const std::string string = random_string(random);
  uint32_t id = 0;
  uint32_t expected = 0;
  switch (random() % 8) {
    default:
      ASSERT_EQ(vrel_stringtable_add_value(table, string.c_str(), &id), 0u);
      ASSERT_EQ(id, model->add(string));
      ASSERT_EQ(vrel_stringtable_restore_value(table, id, string.c_str()),
                model->restore(id, string) ? 0u : 0x100d0003u);
      break;
    case 0:
    case 1:
      if (!model->find(hash_of(string), &id)) {
        id = random() % (static_cast<uint32_t>(model->text.size()) + 3);
      }
      ASSERT_EQ(vrel_stringtable_remove_value(table, id), model->remove(id));
      break;
    case 2: {
      const bool known = model->find(hash_of(string), &expected);
      ASSERT_EQ(vrel_stringtable_get_value_ref(table, string.c_str(), &id),
                known ? 0u : 0x100d0003u);
      if (known) {
        ASSERT_EQ(id, expected);
      }
      break;
    }
    case 3:
      if (random() % 20 != 0) break;
      // Loads what was stored, sometimes cut off anywhere and sometimes twice over.
      std::string bytes =
          model->text.substr(0, random() % 3 != 0 ? model->text.size() : random() % 400);
      if (random() % 3 == 0) bytes += bytes;
      model->attach(bytes);
      ASSERT_EQ(
          vrel_stringtable_attach_buffer(table, bytes.data(), static_cast<uint32_t>(bytes.size())),
          0u);
      break;
  }
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

TEST_F(vrel_stringtable_test, tables_do_what_the_rules_say) {
  for (uint32_t seed = 0; seed < 4; ++seed) {
    Random random(seed);
    vrel_stringtable* table = nullptr;
    ASSERT_EQ(vrel_stringtable_create(&table, 0), 0u);
    Model model;
    for (int step = 0; step < 3000 && !HasFatalFailure(); ++step) {
      random_change(random, table, &model);
      ASSERT_NO_FATAL_FAILURE(expect_same(table, model, step % 50 == 0)) << step;
    }
    ASSERT_EQ(vrel_stringtable_clear(table), 0u);
    expect_same(table, Model(), true);
    EXPECT_EQ(vrel_stringtable_delete(table), 0u);
  }
}

TEST_F(vrel_stringtable_test, strings_of_one_hash_stand_alike_however_many_there_are) {
  vrel_stringtable* table = nullptr;
  ASSERT_EQ(vrel_stringtable_create(&table, 0), 0u);
  for (const uint32_t count : {100u, 1500u, 4000u}) {
    const std::string text = large_text(count, count);
    Model model;
    model.attach(text);
    ASSERT_EQ(
        vrel_stringtable_attach_buffer(table, text.data(), static_cast<uint32_t>(text.size())), 0u);
    ASSERT_NO_FATAL_FAILURE(expect_same(table, model, true)) << count;
    uint32_t id = 0;
    for (uint32_t i = 0; i < 2000; ++i) {
      const std::string string = std::to_string(i * 7919) + "ident";
      ASSERT_EQ(vrel_stringtable_add_value(table, string.c_str(), &id), 0u);
      ASSERT_EQ(id, model.add(string));
    }
    ASSERT_NO_FATAL_FAILURE(expect_same(table, model, true)) << count;
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
  Model model;
  const auto change = [&] {
    uint32_t id = 0;
    uint32_t code = 0;
    for (size_t i = 1; i < 40 && code == 0; ++i) {
      const std::string string(i, 'x');
      code = vrel_stringtable_add_value(table, string.c_str(), &id);
      if (code == 0) model.add(string);
    }
    const char* bytes = nullptr;
    if (code == 0) code = vrel_stringtable_get_buffer(table, &bytes, &id);
    if (code == 0) code = vrel_stringtable_remove_value(table, 1);
    if (code == 0) model.remove(1);
    return code;
  };
  each_allocation_failing(change, [&] { expect_same(table, model, true); });
  const auto attach = [&] {
    return vrel_stringtable_attach_buffer(table, model.text.data(),
                                          static_cast<uint32_t>(model.text.size()));
  };
  each_allocation_failing(attach, [] {});
  model.attach(model.text);
  expect_same(table, model, true);
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
