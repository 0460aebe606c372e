// vrel_string_test: text, characters, numbers and growing texts.
#include "vrel_string.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cctype>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <string>
#include <vector>

#include "memory_for_tests.h"
#include "vrel_log.h"
#include "vrel_string_fuzzy.h"

namespace {

std::string taken(char* text) {
  const std::string copy = text != nullptr ? text : "(none)";
  vrel_string_free(text);
  return copy;
}

TEST(vrel_string, starts_and_stops_are_counted) {
  EXPECT_EQ(vrel_string_initialize() | vrel_string_initialize(), 0u);
  EXPECT_EQ(test_memory_starts(), 1);
  EXPECT_EQ(vrel_string_shutdown(), 0u);
  EXPECT_NE(vrel_string_initchecks(), 0u);
  EXPECT_EQ(vrel_string_shutdown(), 0u);
  EXPECT_EQ(vrel_string_shutdown(), 7u);
  EXPECT_EQ(test_memory_starts(), 0);
}

// What two texts say to each other is the fuzzer's; it knows no null.
TEST(vrel_string, a_null_text_goes_before_all_others) {
  const char* const none = nullptr;
  for (const auto compare : {vrel_string_strcmp, vrel_string_stricmp}) {
    EXPECT_TRUE(compare(none, "") < 0 && compare("", none) > 0 && compare(none, none) == 0);
  }
  for (const auto compare : {vrel_string_strncmp, vrel_string_strnicmp}) {
    EXPECT_TRUE(compare(none, "", 2) < 0 && compare("", none, 2) > 0 &&
                compare(none, none, 2) == 0);
  }
  for (const auto compare : {vrel_string_strcmp_len, vrel_string_stricmp_len}) {
    EXPECT_TRUE(compare(none, 0, "", 0) < 0 && compare("", 0, none, 0) > 0);
  }
  EXPECT_TRUE(_vrel_string_utf8_compare(none, "", 9, 1) < 0);
  EXPECT_TRUE(vrel_string_equal(none, none, 0) && !vrel_string_equal(none, "", 1));
}

TEST(vrel_string, each_character_reads_back_as_it_was_written) {
  for (uint32_t code = 1; code < 0x110800; ++code) {
    char text[kVrelUtf8MaxBytes + 1] = {};
    const char *const end = text + vrel_string_setchar(text, code), *at = text;
    uint32_t back = 0;
    ASSERT_EQ(_utf8_get_next_char(&at, &back), 0u);
    const bool real = code < 0x110000 && (code < 0xd800 || code > 0xdfff);
    ASSERT_TRUE(at == end && back == (real ? code : kVrelReplacementChar)) << code;
  }
}

TEST(vrel_string, copies_refuse_what_has_no_room_or_end) {
  char to[8] = "keep";
  EXPECT_EQ(vrel_string_strncpy(to, "x", 0), kVrelStringInvalidArg);
  EXPECT_EQ(vrel_string_strncat(to, "x", 4), kVrelStringInvalidArg) << "no terminator in its size";
  EXPECT_STREQ(to, "keep");
  EXPECT_EQ(vrel_string_strcpy(to, "ab") | vrel_string_strcat(to, "cd"), 0u);
  EXPECT_STREQ(to, "abcd");
}

TEST(vrel_string, duplicates_end_in_time_or_with_nothing) {
  const char unterminated[] = {'a', 'b'};
  EXPECT_EQ(taken(vrel_string_strndup(unterminated, 2)), "ab");
  EXPECT_EQ(vrel_string_strdup(nullptr), nullptr);
  test_memory_fail_after(0);
  EXPECT_EQ(taken(vrel_string_strdup("a")) + taken(vrel_string_worddup("a")), "(none)(none)");
  test_memory_fail_after(-1);
  EXPECT_EQ(test_memory_blocks(), 0u);
}

TEST(vrel_string, searches_find_no_character_that_is_none) {
  EXPECT_STREQ(vrel_string_strrstr("aaa", "aa"), "aa") << "texts may overlap";
  for (const uint32_t absent : {0x78u, 0x80u, 0xe8u, 0xd800u, 0x110000u}) {
    EXPECT_EQ(vrel_string_strchr("b\x80\u00e9X", absent), nullptr);
    EXPECT_EQ(vrel_string_strrchr("b\x80\u00e9X", absent), nullptr);
  }
  const char* const text = "b";
  EXPECT_TRUE(vrel_string_strchr(text, 0) == text + 1 && vrel_string_strrchr(text, 0) == text + 1);
  char* unset = nullptr;
  EXPECT_EQ(vrel_string_strtok(nullptr, ",", &unset), nullptr);
}

TEST(vrel_string, wide_text_has_surrogate_pairs_and_replaces_broken_ones) {
  const uint16_t wide[] = {'a', 0xe9, 0xd83c, 0xdfb5, 0xd83c, 'b', 0xdfb5, 0xd83c, 0};
  const std::string utf8 = "aé🎵\ufffdb\ufffd\ufffd";
  for (uint32_t size = 1; size <= utf8.size() + 1; ++size) {
    const auto to = std::make_unique<char[]>(size);
    EXPECT_EQ(vrel_string_ucs2_to_utf8_buf(wide, to.get(), size),
              static_cast<int32_t>(utf8.size()));
    const std::string kept = to.get();
    EXPECT_TRUE(vrel_string_isvalid(to.get())) << size;
    EXPECT_EQ(kept, utf8.substr(0, kept.size()));
    EXPECT_LE(size - 1 - kept.size(), 3u);
  }
  uint16_t* units = nullptr;
  char* none = nullptr;
  test_memory_fail_after(0);
  EXPECT_EQ(vrel_string_ucs2_to_utf8(wide, &none), kVrelStringNoMemory);
  EXPECT_EQ(vrel_string_utf8_to_ucs2("a", &units), kVrelStringNoMemory);
  test_memory_fail_after(-1);
}

// Shorter numbers are the fuzzer's.
TEST(vrel_string, doubles_of_many_digits_are_read_to_the_nearest_value) {
  const std::string half = "1.00000000000000011102230246251565404236316680908203125";
  const std::string many(3000, '7'), zeros(2000, '0');
  for (const auto& text : {half + "0", half + zeros + "1", many + "." + many + "e-2990",
                           "0." + zeros + "5e2000", "1" + zeros + "e-2000"}) {
    EXPECT_EQ(vrel_string_atof64(text.c_str()), strtod(text.c_str(), nullptr)) << text;
  }
  EXPECT_TRUE(std::signbit(vrel_string_atof64("-0")));
  for (const char* text : {"inf", "nan", "0x10"}) EXPECT_EQ(vrel_string_atof64(text), 0.0) << text;
  EXPECT_TRUE(vrel_string_atou32(nullptr) == 0 && vrel_string_atof64(nullptr) == 0);
}

TEST(vrel_string, truth_is_a_word_or_a_number_that_is_not_zero) {
  for (const char* text : {"true", "YES", "Y", "y", "2", " +7x", "-1"}) {
    EXPECT_TRUE(vrel_string_atobool(text)) << text;
  }
  for (const char* text : {"", "0", "no", "yess", " yes", "x1", "00"}) {
    EXPECT_FALSE(vrel_string_atobool(text)) << text;
  }
  EXPECT_FALSE(vrel_string_atobool(nullptr));
}

TEST(vrel_string, character_classes_are_those_of_the_c_locale) {
  for (int i = 0; i < 300; ++i) {
    const auto c = static_cast<uint32_t>(i);
    EXPECT_EQ(vrel_string_isalnum(c), i < 128 && isalnum(i)) << i;
    EXPECT_EQ(vrel_string_isdigit(c), i < 128 && isdigit(i)) << i;
    EXPECT_EQ(vrel_string_isspace(c), i < 128 && isspace(i)) << i;
    EXPECT_EQ(vrel_string_isxdigit(c), i < 128 && isxdigit(i)) << i;
    EXPECT_EQ(vrel_string_isprint(c), i < 128 && isprint(i)) << i;
    EXPECT_EQ(vrel_string_char_tolower(c), static_cast<uint32_t>(i < 128 ? tolower(i) : i));
    EXPECT_EQ(vrel_string_char_toupper(c), static_cast<uint32_t>(i < 128 ? toupper(i) : i));
  }
}

// Characters above U+FFFF count by their low 16 bits, which may be 0 as the end of a text is.
TEST(vrel_string, a_table_of_pairs_answers_as_its_text_does) {
  const std::string texts[] = {"",
                               " ",
                               " \t ",
                               "a",
                               "\U00010000",
                               "\U00010000\U00010000",
                               "aA ",
                               "\U00010061\U00020061",
                               "a\U00010000 b",
                               "\xff",
                               "\U00010000\xff",
                               std::string(199, 'x'),
                               std::string(200, 'x'),
                               std::string(201, ' ') + "\U00010000"};
  for (const uint32_t flags : {0u, 1u}) {
    for (const std::string& b : texts) {
      vrel_bigrams* table = nullptr;
      ASSERT_EQ(vrel_string_create_bigrams(b.c_str(), flags, &table), 0u);
      vrel_string_bigrams_sort(table);
      for (const std::string& a : texts) {
        const float likeness = vrel_string_fuzzycmp(a.c_str(), b.c_str(), flags);
        EXPECT_EQ(vrel_string_fuzzycmp_sorted(a.c_str(), table, flags), likeness) << a << "|" << b;
        EXPECT_EQ(vrel_string_fuzzycmp(b.c_str(), a.c_str(), flags), likeness) << a << "|" << b;
        EXPECT_TRUE(a.empty() || b.empty() ? likeness == 0 : likeness >= 0 && likeness <= 1);
      }
      vrel_string_bigrams_delete(table);
    }
  }
  EXPECT_EQ(vrel_string_fuzzycmp("\U00010000\xff", "\U00010000\xff", 0), 1.0f);
}

TEST(vrel_string, failures_of_the_fuzzy_comparison_are_logged) {
  static std::vector<std::string> logged;
  g_vrel_log_error_callback = [](uint32_t, const char* source, uint32_t code, uint32_t) {
    logged.push_back(source + std::to_string(code));
    return code;
  };
  g_vrel_log_enabled_pkgs[0x05] = VREL_LOG_ERROR;
  vrel_bigrams* table = nullptr;
  EXPECT_EQ(vrel_string_create_bigrams(nullptr, 0, &table), kVrelStringInvalidArg);
  test_memory_fail_after(0);
  EXPECT_EQ(vrel_string_fuzzycmp("a", std::string(200, 'a').c_str(), 0), 0.0f);
  test_memory_fail_after(-1);
  g_vrel_log_enabled_pkgs[0x05] = 0;
  g_vrel_log_error_callback = nullptr;
  const std::string source = "vrel_string_fuzzy";
  EXPECT_EQ(logged, (std::vector<std::string>{source + std::to_string(kVrelStringInvalidArg),
                                              source + std::to_string(kVrelStringNoMemory)}));
}

TEST(vrel_string, an_accumulator_grows_hands_over_and_starts_again) {
  vrel_string_accum* accum = nullptr;
  ASSERT_EQ(vrel_string_accum_create(&accum), 0u);
  std::string expected;
  for (int i = 0; i < 2000; ++i) {
    ASSERT_EQ(vrel_string_accum_append(accum, "ab"), 0u);
    ASSERT_EQ(vrel_string_accum_append_chars(accum, "été", 2), 0u);
    ASSERT_EQ(vrel_string_accum_append_bytes(accum, "x\0y", 3), 0u);
    ASSERT_EQ(vrel_string_accum_append_format(accum, "%d;", i), 0u);
    expected += "abét" + std::string("x\0y", 3) + std::to_string(i) + ";";
  }
  const char* const data = vrel_string_accum_data(accum);
  EXPECT_EQ(std::string(data, vrel_string_accum_length(accum) + 1), expected + '\0');
  vrel_string_accum_clear(accum);
  EXPECT_EQ(vrel_string_accum_append(accum, "again"), 0u);
  for (const char* left : {"again", ""}) {
    char* text = nullptr;
    EXPECT_EQ(vrel_string_accum_detach(accum, &text), 0u);
    EXPECT_EQ(taken(text), left);
  }
  vrel_string_accum_delete(accum);
  EXPECT_EQ(test_memory_blocks(), 0u);
}

TEST(vrel_string, a_failed_append_leaves_the_accumulator_as_it_was) {
  vrel_string_accum* accum = nullptr;
  ASSERT_EQ(vrel_string_accum_create(&accum), 0u);
  ASSERT_EQ(vrel_string_accum_append(accum, "kept"), 0u);
  const std::string more(200, 'm');
  test_memory_fail_after(0);
  EXPECT_EQ(vrel_string_accum_append(accum, more.c_str()), kVrelStringNoMemory);
  EXPECT_EQ(vrel_string_accum_append_format(accum, "lost%s", more.c_str()), kVrelStringNoMemory);
  EXPECT_EQ(vrel_string_accum_append_bytes(accum, "", kVrelStringMaxBytes), kVrelStringNoMemory);
  test_memory_fail_after(-1);
  EXPECT_EQ(vrel_string_accum_append_format(accum, "%s%k", "lost"), kVrelStringBadFormat);
  EXPECT_EQ(vrel_string_accum_append(accum, nullptr), kVrelStringInvalidArg);
  EXPECT_STREQ(vrel_string_accum_data(accum), "kept");
  EXPECT_EQ(vrel_string_accum_length(accum), 4u);
  vrel_string_accum_delete(accum);
}

}  // namespace
