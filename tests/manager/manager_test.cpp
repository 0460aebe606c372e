// Start and stop, memory, errors, log and serialization of the embedded manager.
#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "ManagerTest.h"
#include "trova_playlist.h"
#include "vrel_log.h"

namespace {

TEST(Start, IsCountedAndTheLastStopEndsTheManager) {
  ManagerHandle* manager = nullptr;
  ManagerHandle* again = nullptr;
  trova_user* user = nullptr;
  void* table = nullptr;
  EXPECT_EQ(trova_manager_stop(), TROVA_MANAGER_NOT_RUNNING);
  EXPECT_EQ(trova_manager_user_create("x", &user), TROVA_MANAGER_NOT_RUNNING);
  EXPECT_EQ(trova_manager_start(nullptr, nullptr), TROVA_MANAGER_INVALID_ARG);
  ASSERT_EQ(trova_manager_start(nullptr, &manager), 0u);
  ASSERT_EQ(trova_manager_start(nullptr, &again), 0u);
  EXPECT_EQ(manager, again);
  EXPECT_EQ(manager->magic, TROVA_MANAGER_MAGIC);
  EXPECT_STREQ(manager->version, "2.0.0");
  EXPECT_EQ(trova_manager_stop(), 0u);
  EXPECT_EQ(manager->query_interface(TROVA_SERVICE_GDO, &table), 0u);
  EXPECT_EQ(trova_manager_stop(), 0u);
  EXPECT_EQ(manager->query_interface(TROVA_SERVICE_GDO, &table), TROVA_MANAGER_NOT_RUNNING);
  EXPECT_EQ(manager->register_package(137, "TAG"), TROVA_MANAGER_NOT_RUNNING);
}

TEST(Start, ReadsAsManyOptionsAsTheCallerKnows) {
  ManagerHandle* manager = nullptr;
  trova_manager_options options = {sizeof options, "de", 1, nullptr};
  const auto alloc_works = [] {
    void* const block = vrel_memory_alloc(100);
    vrel_memory_free(block);
    return block != nullptr;
  };
  ASSERT_EQ(trova_manager_start(&options, &manager), 0u);
  EXPECT_FALSE(alloc_works());
  EXPECT_EQ(trova_manager_stop(), 0u);
  EXPECT_TRUE(alloc_works());
  options.size = offsetof(trova_manager_options, memory_limit);
  ASSERT_EQ(trova_manager_start(&options, &manager), 0u);
  EXPECT_TRUE(alloc_works());
  EXPECT_EQ(trova_manager_stop(), 0u);
  options.size = 0;
  EXPECT_EQ(trova_manager_start(&options, &manager), TROVA_MANAGER_INVALID_ARG);
}

TEST_F(ManagerTest, EveryRequiredServiceIsThereAndStorageOnlyWithAFile) {
  for (const char* const name :
       {TROVA_SERVICE_ERRORINFO, TROVA_SERVICE_HANDLEMANAGER, TROVA_SERVICE_USERINFO,
        TROVA_SERVICE_LISTMANAGER, TROVA_SERVICE_GDO, TROVA_SERVICE_SERIALIZATION}) {
    // Slot 0 of every table.
    using Released = struct { uint32_t (*release)(void*); };
    const auto& table = service<Released>(name);
    EXPECT_EQ(table.release(const_cast<void*>(static_cast<const void*>(&table))), 0u) << name;
  }
  void* table = nullptr;
  for (const char* const name : {TROVA_SERVICE_STORAGE, "", "_trova_gdo_interfacE"}) {
    EXPECT_EQ(manager->query_interface(name, &table), TROVA_MANAGER_NO_SERVICE) << name;
  }
  EXPECT_EQ(manager->query_interface(nullptr, &table), TROVA_MANAGER_INVALID_ARG);
  EXPECT_EQ(manager->register_package(256, "TAG"), TROVA_MANAGER_INVALID_ARG);
}

TEST_F(ManagerTest, MemoryIsCountedAsAskedForAndLimited) {
  EXPECT_EQ(vrel_memory_initialize(nullptr), 0u);
  void* block = vrel_memory_alloc(1000);
  EXPECT_EQ(reinterpret_cast<uintptr_t>(block) % alignof(max_align_t), 0u);
  EXPECT_EQ(bytes_held(), 1000u);
  std::memset(block, 7, 1000);
  trova_manager_memory_limit_set(memory_stats().bytes_in_use + 500);
  const uint64_t failures = memory_stats().failures;
  EXPECT_EQ(vrel_memory_realloc(block, 1501), nullptr);
  EXPECT_EQ(vrel_memory_alloc(501), nullptr);
  EXPECT_EQ(vrel_memory_calloc(SIZE_MAX / 2, 3), nullptr);
  EXPECT_EQ(vrel_memory_alloc(SIZE_MAX), nullptr);
  EXPECT_EQ(memory_stats().failures, failures + 4);
  block = vrel_memory_realloc(block, 1500);
  ASSERT_NE(block, nullptr);
  EXPECT_EQ(bytes_held(), 1500u);
  const auto* const bytes = static_cast<const char*>(block);
  EXPECT_EQ(std::count(bytes, bytes + 1000, 7), 1000);
  trova_manager_memory_limit_set(1);
  block = vrel_memory_realloc(block, 10);  // giving back is always possible
  EXPECT_EQ(bytes_held(), 10u);
  EXPECT_GE(memory_stats().peak_bytes, 1500u);
  vrel_memory_free(block);
  vrel_memory_free(nullptr);
  trova_manager_memory_limit_set(0);
  auto* const zeroes = static_cast<char*>(vrel_memory_calloc(10, 10));
  EXPECT_EQ(std::count(zeroes, zeroes + 100, 0), 100);
  vrel_memory_free(zeroes);
  EXPECT_EQ(vrel_memory_shutdown(), 0u);
  EXPECT_EQ(vrel_memory_shutdown(), TROVA_MANAGER_NOT_RUNNING);
}

// @return the first failure of a task that touches everything that allocates
uint32_t use_memory(const trova_serialization_interface& serialization) {
  trova_user* user = nullptr;
  trova_gdo* track = nullptr;
  trova_gdo* album = nullptr;
  char* encoded = nullptr;
  char* decoded = nullptr;
  uint32_t length = 0;
  uint32_t code = trova_manager_user_create("a name that does not fit into a short string", &user);
  if (code == 0) code = trova_manager_gdo_create("a context of its own", &track);
  if (code == 0) code = trova_manager_gdo_create(TROVA_CTX_ALBUM, &album);
  for (uint32_t i = 0; code == 0 && i < 50; ++i) {
    const uint32_t values = i;
    code = trova_manager_gdo_add_number(track, i % 3 == 0 ? TROVA_VAL_TITLE : "other", i);
    uint32_t titles = 0, others = 0;
    trova_manager_gdo_value_count(track, TROVA_VAL_TITLE, &titles);
    trova_manager_gdo_value_count(track, "other", &others);
    EXPECT_EQ(titles + others, code == 0 ? values + 1 : values);
  }
  if (code == 0) code = trova_manager_gdo_add_child(track, "k", album);
  if (code == 0) code = serialization.encode("text", 4, &encoded);
  if (code == 0) code = serialization.decode(encoded, &decoded, &length);
  vrel_memory_free(encoded);
  serialization.free(decoded);
  trova_manager_gdo_release(album);
  trova_manager_gdo_release(track);
  trova_manager_user_release(user);
  return code;
}

TEST_F(ManagerTest, LackOfMemoryAnywhereIsACodeAndLeavesNothingBehind) {
  const auto& serialization = service<trova_serialization_interface>(TROVA_SERVICE_SERIALIZATION);
  const trova_manager_memory_stats before = memory_stats();
  uint32_t refusals = 0;
  for (size_t room = 1;; room += 20) {
    trova_manager_memory_limit_set(before.bytes_in_use + room);
    const uint32_t code = use_memory(serialization);
    ASSERT_EQ(memory_stats().blocks_in_use, before.blocks_in_use) << room;
    if (code == 0) break;
    ASSERT_EQ(code, TROVA_MANAGER_NO_MEMORY) << room;
    ++refusals;
  }
  EXPECT_GT(refusals, 50u);
}

std::string last_error_text() {
  const char* text = nullptr;
  EXPECT_EQ(trova_manager_last_error(nullptr, &text), 0u);
  return text;
}

TEST_F(ManagerTest, LastErrorBelongsToItsThreadAndKeepsTheWholeText) {
  const auto& table = service<trova_errorinfo_interface>(TROVA_SERVICE_ERRORINFO);
  const std::string long_text(100'000, 'y');
  std::string text = "expected ')' at 'x'";
  EXPECT_EQ(table.set(PLERR_Syntax, text.c_str()), 0u);
  text = "changed";
  std::thread([&] {
    uint32_t code = 1;
    EXPECT_EQ(trova_manager_last_error(&code, nullptr), 0u);
    EXPECT_EQ(code, 0u);
    EXPECT_EQ(last_error_text(), "");
    table.set(PLERR_NoMemory, long_text.c_str());
    EXPECT_EQ(last_error_text(), long_text);
  }).join();
  uint32_t code = 0;
  trova_manager_last_error(&code, nullptr);
  EXPECT_EQ(code, PLERR_Syntax);
  EXPECT_EQ(last_error_text(), "expected ')' at 'x'");
  // Without memory a long text is cut, between two characters.
  trova_manager_memory_limit_set(1);
  std::string umlauts = "x";
  for (int i = 0; i < 500; ++i) umlauts += "\u00e4";
  table.set(PLERR_Syntax, umlauts.c_str());
  trova_manager_memory_limit_set(0);
  EXPECT_GT(last_error_text().size(), 200u);
  EXPECT_EQ(last_error_text().size() % 2, 1u);
  EXPECT_EQ(umlauts.find(last_error_text()), 0u);
  table.set(0, nullptr);
  EXPECT_EQ(last_error_text(), "");
}

class LogTest : public ManagerTest {
 protected:
  void TearDown() override {
    EXPECT_EQ(trova_manager_log_to_fd(-1, 0), 0u);
    EXPECT_EQ(g_vrel_log_error_callback, nullptr);
    EXPECT_EQ(g_vrel_log_enabled_pkgs[137], 0u);
    ManagerTest::TearDown();
  }
};

TEST_F(LogTest, LinesNamePackageLevelCodeAndSource) {
  std::vector<std::string> lines;
  const auto keep = [](void* user_data, uint32_t, uint32_t, const char* line) {
    static_cast<std::vector<std::string>*>(user_data)->push_back(line);
  };
  ASSERT_EQ(trova_manager_log_to_callback(keep, &lines, VREL_LOG_ERROR | VREL_LOG_INFO), 0u);
  EXPECT_EQ(g_vrel_log_enabled_pkgs[137], VREL_LOG_ERROR | VREL_LOG_INFO);
  manager->register_package(137, "TROVA PL");
  EXPECT_EQ(g_vrel_log_error_callback(12, "playlist_file", PLERR_NoMemory, 0), PLERR_NoMemory);
  g_vrel_log_error_callback(0, "trova_playlist_x", 0x900d0002, 0);
  g_vrel_log_callback(0, nullptr, 137, VREL_LOG_INFO, "two\nlines %s", "here");
  g_vrel_log_callback(9, "file", 34, VREL_LOG_WARNING, "%d", 5);
  trova_manager_user_release(reinterpret_cast<trova_user*>(&lines));
  const std::vector<std::string> expected = {
      "TROVA PL error 0x90890002: out of memory (playlist_file:12)",
      "CONTAINERS error 0x900d0002: out of memory (trova_playlist_x)",
      "TROVA PL info: two lines here",
      "LIBRARIES warning: 5 (file:9)",
      "MANAGER error 0x90100321: the handle is not valid (trova_manager_user_release)",
  };
  EXPECT_EQ(lines, expected);
  EXPECT_EQ(trova_manager_log_to_callback(keep, &lines, 8), TROVA_MANAGER_INVALID_ARG);
}

TEST_F(LogTest, LinesOfSeveralThreadsArriveWholeAndAreCutAtOneWrite) {
  const std::unique_ptr<FILE, decltype(&fclose)> file(tmpfile(), fclose);
  ASSERT_EQ(trova_manager_log_to_fd(fileno(file.get()), VREL_LOG_INFO), 0u);
  const auto log = [](char mark) {
    const std::string text(6000, mark);
    for (int i = 0; i < 50; ++i) g_vrel_log_callback(0, nullptr, 1, 4, "%s", text.c_str());
  };
  std::thread first(log, 'a'), second(log, 'b');
  first.join();
  second.join();
  std::string all(500'000, '?');
  std::rewind(file.get());
  all.resize(fread(all.data(), 1, all.size(), file.get()));
  ASSERT_EQ(all.size(), 100u * 4096u);
  for (size_t at = 0; at < all.size(); at += 4096) {
    EXPECT_EQ(all.substr(at, 14), "UNKNOWN info: ");
    EXPECT_EQ(all.substr(at + 4092, 4), "...\n");
    const char mark = all[at + 20];
    EXPECT_EQ(std::count(&all[at + 20], &all[at + 4092], mark), 4072);
  }
}

class SerializationTest : public ManagerTest {
 protected:
  void SetUp() override {
    ManagerTest::SetUp();
    table = &service<trova_serialization_interface>(TROVA_SERVICE_SERIALIZATION);
  }

  std::string encode(const std::string& text) {
    char* encoded = nullptr;
    EXPECT_EQ(table->encode(text.data(), static_cast<uint32_t>(text.size()), &encoded), 0u);
    const std::string copy = encoded;
    vrel_memory_free(encoded);
    return copy;
  }

  uint32_t decode(const std::string& encoded, std::string* out_text) {
    char* decoded = nullptr;
    uint32_t length = 0;
    const uint32_t code = table->decode(encoded.c_str(), &decoded, &length);
    if (code == 0) out_text->assign(decoded, length);
    EXPECT_EQ(table->free(decoded), 0u);
    return code;
  }

  const trova_serialization_interface* table = nullptr;
};

TEST_F(SerializationTest, EncodedTextIsReversibleAndUnlikeTheOriginal) {
  std::string text = "GENERATE PLAYLIST";
  text += '\0';
  for (int i = 0; i < 300; ++i, text += static_cast<char>(i)) {
    std::string decoded;
    const std::string encoded = encode(text);
    EXPECT_EQ(encoded.find("GENERATE"), std::string::npos);
    EXPECT_EQ(decode(encoded, &decoded), 0u);
    EXPECT_EQ(decoded, text);
  }
}

TEST_F(SerializationTest, EveryDamageIsFound) {
  const std::string good = encode("some text");
  std::string untouched;
  for (size_t i = 0; i < good.size(); ++i) {
    EXPECT_EQ(decode(good.substr(0, i), &untouched), TROVA_MANAGER_INVALID_ARG) << "cut at " << i;
    for (const char other : {'A', '_', '+', '\xff', static_cast<char>(good[i] + 1)}) {
      std::string bad = good;
      bad[i] = other;
      EXPECT_EQ(decode(bad, &untouched), bad == good ? 0 : TROVA_MANAGER_INVALID_ARG) << bad;
    }
  }
  EXPECT_EQ(decode(good + "A", &untouched), TROVA_MANAGER_INVALID_ARG);
  EXPECT_EQ(decode(good + "AAAA", &untouched), TROVA_MANAGER_INVALID_ARG);
  EXPECT_EQ(table->encode(nullptr, 0, nullptr), TROVA_MANAGER_INVALID_ARG);
  EXPECT_EQ(table->decode(nullptr, nullptr, nullptr), TROVA_MANAGER_INVALID_ARG);
}

}  // namespace
