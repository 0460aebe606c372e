// scale_test: large collections, long chains and deep parentheses on a thread with little stack.
#include <gtest/gtest.h>
#include <pthread.h>
#include <sys/mman.h>
#include <unistd.h>

#include <cstdlib>
#include <cstring>
#include <functional>
#include <string>

#include "engine_test.h"

namespace {

constexpr size_t kStackBytes = 256 * 1024;
constexpr uint32_t kIdents = 100'000;
constexpr uint32_t kLinks = 100'000;

void* run_body(void* body) {
  (*static_cast<std::function<void()>*>(body))();
  return nullptr;
}

// A thread's smallest stack grows with the sanitizers' needs; theirs is not ours to limit.
void run_on_small_stack(std::function<void()> body) {
  pthread_attr_t attributes;
  ASSERT_EQ(pthread_attr_init(&attributes), 0);
  ASSERT_EQ(pthread_attr_setstacksize(&attributes, kStackBytes), 0);
  pthread_t thread;
  ASSERT_EQ(pthread_create(&thread, &attributes, run_body, &body), 0);
  ASSERT_EQ(pthread_join(thread, nullptr), 0);
  pthread_attr_destroy(&attributes);
}

std::string repeat(const std::string& text, uint32_t times) {
  std::string all;
  all.reserve(text.size() * times);
  for (uint32_t i = 0; i < times; ++i) all += text;
  return all;
}

class ScaleTest : public EngineTest {
 protected:
  // Idents with the artist types 1 to 9, which no list knows.
  void fill(uint32_t count) {
    for (uint32_t i = 0; i < count; ++i) {
      trova_gdo* track = nullptr;
      ASSERT_EQ(trova_manager_gdo_create(TROVA_CTX_TRACK, &track), 0u);
      trova_manager_gdo_add_number(track, TROVA_VAL_ARTIST_TYPE_ID, i % 9 + 1);
      const std::string ident = "ident " + std::to_string(i);
      EXPECT_EQ(trova_playlist_collection_ident_add(collection_, ident.c_str(), track), 0u);
      trova_manager_gdo_release(track);
    }
  }

  // The number of entries of a statement's playlist, or its code with bit 31.
  uint32_t count_of(const std::string& statement) {
    trova_playlist_results* results = nullptr;
    const uint32_t code = trova_playlist_generate_playlist(nullptr, statement.c_str(), collection_,
                                                           nullptr, &results);
    if (code != 0) return code;
    uint32_t count = 0;
    EXPECT_EQ(trova_playlist_results_count(results, &count), 0u);
    EXPECT_EQ(trova_playlist_results_release(results), 0u);
    return count;
  }
};

TEST_F(ScaleTest, a_large_collection_is_selected_filtered_and_cut_on_a_small_stack) {
  fill(kIdents);
  const uint32_t of_one_type = kIdents / 9 + 1;
  run_on_small_stack([&] {
    EXPECT_EQ(count_of("generate playlist;"), kIdents);
    EXPECT_EQ(count_of("genpl where qx_artisttype = 1 or qx_artisttype != 1"), kIdents);
    EXPECT_EQ(count_of("genpl where qx_artisttype = 1 or qx_artisttype = 1"), of_one_type);
    EXPECT_EQ(count_of("genpl where qx_artisttype != 2 and qx_artisttype = 1"), of_one_type);
    EXPECT_EQ(count_of("genpl order rand(5, 3) limit 100 per qx_artisttype"), 900u);
  });
}

TEST_F(ScaleTest, chains_of_any_length_use_no_stack) {
  fill(3);
  const std::string wheres[] = {
      repeat("qx_artisttype = 7 or ", kLinks),
      repeat("qx_artisttype = 1 and ", kLinks),
      repeat("qx_artisttype = 1 >= qx_artisttype = 1 or ", kLinks),
  };
  const uint32_t counts[] = {1, 1, 1};
  run_on_small_stack([&] {
    for (int i = 0; i < 3; ++i) {
      const std::string statement = "genpl where " + wheres[i] + "qx_artisttype = 1";
      EXPECT_EQ(count_of(statement), counts[i]) << "chain " << i;
    }
    EXPECT_EQ(count_of("genpl order " + repeat("1 + ", kLinks) + "1"), 3u);
    EXPECT_EQ(count_of("genpl limit " + repeat("9 results, ", kLinks) + "2 results"), 2u);
  });
}

TEST_F(ScaleTest, parentheses_nest_a_thousand_deep_and_no_deeper) {
  fill(3);
  const auto nested = [](uint32_t depth) {
    return "genpl where " + repeat("(", depth) + "qx_artisttype = 1" + repeat(")", depth) +
           " order " + repeat("(", depth) + "rand(9)" + repeat(")", depth);
  };
  // Each level is an operator of its own, on the left of the one around it.
  const std::string left = "genpl where " + repeat("(", 1000) + "qx_artisttype = 1" +
                           repeat(" or qx_artisttype = 2)", 1000) + " order " + repeat("(", 1000) +
                           "1" + repeat(" + rand(3))", 1000);
  run_on_small_stack([&] {
    EXPECT_EQ(count_of(nested(1000)), 1u);
    EXPECT_EQ(count_of(left), 2u);
    EXPECT_EQ(count_of(nested(1001)), PLERR_Syntax);
    const char* text = nullptr;
    EXPECT_EQ(trova_manager_last_error(nullptr, &text), 0u);
    EXPECT_STREQ(text, "statement nested too deeply");
  });
}

#if SIZE_MAX > UINT32_MAX && !defined(__SANITIZE_THREAD__)

// A text of some GiB and four bytes: who counts one of 4 GiB in 32 bits takes it for one of four.
// One block is mapped over and over, so that it takes no memory.
class LongText {
 public:
  explicit LongText(size_t gib = 4) : length_(gib << 30) {
    const std::string block(kBlock, 'x');
    const int file = memfd_create("text", 0);
    EXPECT_EQ(write(file, block.data(), kBlock), static_cast<ssize_t>(kBlock));
    text_ = mmap(nullptr, length_ + kBlock, PROT_READ | PROT_WRITE,
                 MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
    auto* const text = static_cast<char*>(text_);
    for (size_t at = 0; at < length_; at += kBlock) {
      mmap(text + at, kBlock, PROT_READ, MAP_PRIVATE | MAP_FIXED, file, 0);
    }
    memcpy(text + length_, "xxxx", 5);
    close(file);
  }
  ~LongText() { munmap(text_, length_ + kBlock); }
  LongText(const LongText&) = delete;
  LongText& operator=(const LongText&) = delete;

  operator const char*() const { return static_cast<const char*>(text_); }

 private:
  static constexpr size_t kBlock = 16 << 20;
  size_t length_;
  void* text_;
};

// An attribute whose values are the text that is at hand, which one is told.
const char* g_captured = nullptr;
uint32_t g_captured_code = 0;

trova_playlist_attribute_provider provider_of_captured() {
  trova_playlist_attribute_provider provider = {};
  provider.get_name = [](const char** out_name) -> uint32_t {
    *out_name = "captured";
    return 0;
  };
  provider.enum_operators = [](uint32_t, uint32_t*) -> uint32_t { return 1; };
  provider.capture = [](void* writer, trova_gdo*,
                        const trova_playlist_capture_callbacks* callbacks) -> uint32_t {
    g_captured_code = callbacks->set_string(writer, g_captured);
    return 0;
  };
  provider.create_context = [](void**) -> uint32_t { return PLERR_Unsupported; };
  return provider;
}

TEST_F(ScaleTest, a_value_that_32_bits_cannot_count_is_not_held) {
  const LongText text;
  const trova_playlist_attribute_provider provider = provider_of_captured();
  ASSERT_EQ(trova_playlist_register_attribute_provider(&provider), 0u);
  trova_playlist_collection* collection = nullptr;
  ASSERT_EQ(trova_playlist_collection_create("captured", &collection), 0u);
  trova_gdo* track = nullptr;
  ASSERT_EQ(trova_manager_gdo_create(TROVA_CTX_TRACK, &track), 0u);
  struct {
    const char* captured;
    uint32_t code;
    uint8_t exists;
  } const cases[] = {{"short", 0, 1}, {text, 0x900d0002, 0}, {"xxx", 0, 1}};
  for (const auto& [captured, code, exists] : cases) {
    g_captured = captured;
    EXPECT_EQ(trova_playlist_collection_ident_add(collection, captured, track), 0u);
    EXPECT_EQ(g_captured_code, code);
    uint8_t exists_now = 77;
    EXPECT_EQ(trova_playlist_collection_ident_exists(collection, captured, &exists_now), 0u);
    EXPECT_EQ(exists_now, exists);
  }
  trova_manager_gdo_release(track);
  EXPECT_EQ(trova_playlist_collection_release(collection), 0u);
}

TEST_F(ScaleTest, texts_that_32_bits_cannot_count_are_refused) {
  fill(1);
  const LongText text;
  trova_playlist_collection* made = nullptr;
  trova_gdo* track = nullptr;
  uint8_t exists = 77;
  uint32_t count = 0;
  EXPECT_EQ(trova_playlist_collection_create(text, &made), PLERR_NoMemory);
  EXPECT_EQ(trova_playlist_collection_update_name(collection_, text), PLERR_NoMemory);
  // An attribute that has no room leaves the ident outside.
  ASSERT_EQ(trova_manager_gdo_create(TROVA_CTX_TRACK, &track), 0u);
  trova_manager_gdo_add_number(track, TROVA_VAL_ARTIST_TYPE_ID, 1);
  EXPECT_EQ(trova_playlist_collection_ident_add(collection_, text, track), 0u);
  trova_manager_gdo_release(track);
  EXPECT_EQ(trova_playlist_collection_ident_exists(collection_, text, &exists), 0u);
  EXPECT_EQ(exists, 0);
  EXPECT_EQ(trova_playlist_collection_ident_count(collection_, &count), 0u);
  EXPECT_EQ(count, 1u);
  EXPECT_EQ(trova_playlist_collection_sync_ident_add(collection_, text), PLERR_NoMemory);
}

// Takes 4 GiB of memory, so only where that was said to be there.
TEST_F(ScaleTest, idents_end_where_32_bits_cannot_order_them) {
  if (getenv("TROVA_TEST_GIB") == nullptr) GTEST_SKIP() << "TROVA_TEST_GIB is not set";
  fill(1);
  const LongText text(2);
  trova_gdo* track = nullptr;
  ASSERT_EQ(trova_manager_gdo_create(TROVA_CTX_TRACK, &track), 0u);
  trova_manager_gdo_add_number(track, TROVA_VAL_ARTIST_TYPE_ID, 1);
  for (const char* ident : {static_cast<const char*>(text), "behind", "ident 0"}) {
    EXPECT_EQ(trova_playlist_collection_ident_add(collection_, ident, track), 0u);
  }
  uint8_t exists = 77;
  EXPECT_EQ(trova_playlist_collection_ident_exists(collection_, "behind", &exists), 0u);
  EXPECT_EQ(exists, 0);
  EXPECT_EQ(count_of("genpl"), 2u);
  EXPECT_EQ(trova_playlist_collection_ident_remove(collection_, text), 0u);
  EXPECT_EQ(trova_playlist_collection_ident_add(collection_, "behind", track), 0u);
  EXPECT_EQ(trova_playlist_collection_ident_add(collection_, text, track), 0u);
  EXPECT_EQ(count_of("genpl"), 2u);
  trova_manager_gdo_release(track);
}

#endif

}  // namespace
