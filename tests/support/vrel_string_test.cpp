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

namespace {

// A text in a block of exactly its size, so that the address sanitizer sees a step too far.
struct Exact {
  explicit Exact(const std::string& text) : bytes(new char[text.size() + 1]) {
    memcpy(bytes.get(), text.c_str(), text.size() + 1);
  }
  std::unique_ptr<char[]> bytes;
};

std::string taken(char* text) {
  const std::string copy = text != nullptr ? text : "(none)";
  vrel_string_free(text);
  return copy;
}

int sign(int32_t order) {
  return (order > 0) - (order < 0);
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

TEST(vrel_string, comparisons_order_bytes_as_unsigned_and_fold_ascii_only) {
  const struct {
    const char *a, *b;
    int plain, folded, folded_first_two;
  } cases[] = {{"", "", 0, 0, 0},        {"abc", "abd", -1, -1, 0},  {"abc", "ABC", 1, 0, 0},
               {"Ab", "aBc", -1, -1, 0}, {"ab", "a", 1, 1, 1},       {"_", "A", 1, -1, -1},
               {"\xff", "a", 1, 1, 1},   {"Ä", "ä", -1, -1, -1},     {nullptr, "", -1, -1, -1},
               {"éx", "éX", 1, 0, 0},    {nullptr, nullptr, 0, 0, 0}};
  for (const auto& c : cases) {
    SCOPED_TRACE(&c - cases);
    const uint32_t a = vrel_string_byteclen(c.a), b = vrel_string_byteclen(c.b);
    EXPECT_EQ(sign(vrel_string_strcmp(c.a, c.b)), c.plain);
    EXPECT_EQ(sign(vrel_string_strncmp(c.b, c.a, 3)), -c.plain);
    EXPECT_EQ(sign(vrel_string_stricmp(c.a, c.b)), c.folded);
    EXPECT_EQ(sign(vrel_string_strnicmp(c.a, c.b, 2)), c.folded_first_two);
    EXPECT_EQ(sign(vrel_string_strcmp_len(c.a, a, c.b, b)), c.plain);
    EXPECT_EQ(sign(vrel_string_stricmp_len(c.b, b, c.a, a)), -c.folded);
    EXPECT_EQ(sign(_vrel_string_utf8_compare(c.a, c.b, 9, 1)), c.folded);
    const bool both = c.a == c.b || (c.a != nullptr && c.b != nullptr);
    EXPECT_EQ(vrel_string_equal(c.a, c.b, 0), both && c.plain == 0);
    EXPECT_EQ(vrel_string_equal(c.a, c.b, 1), both && c.folded == 0);
  }
  EXPECT_EQ(vrel_string_strncmp("éa", "éb", 2), 0);
  EXPECT_EQ(_vrel_string_utf8_compare("éa", "éb", 1, 0), 0);
  EXPECT_EQ(vrel_string_strcmp_len("ab", 1, "ac", 1), 0);
}

TEST(vrel_string, utf8_is_judged_measured_and_cut_strictly) {
  const struct {
    const char* text;
    bool valid;
    uint32_t chars;
    const char *first_two, *reversed;
  } cases[] = {
      {"", true, 0, "", ""},
      {"abc", true, 3, "ab", "cba"},
      {"é€🎵!", true, 4, "é€", "!🎵€é"},
      {"\xf4\x8f\xbf\xbf\xee\x80\x80", true, 2, "\xf4\x8f\xbf\xbf\xee\x80\x80",
       "\xee\x80\x80\xf4\x8f\xbf\xbf"},
      {"\x80", false, 1, "\x80", "\x80"},                              // nothing to continue
      {"\xc0\x80", false, 2, "\xc0\x80", "\x80\xc0"},                  // overlong
      {"\xe0\x9f\xbf", false, 3, "\xe0\x9f", "\xbf\x9f\xe0"},          // overlong
      {"\xf0\x8f\xbf\xbf", false, 4, "\xf0\x8f", "\xbf\xbf\x8f\xf0"},  // overlong
      {"\xed\xa0\x80", false, 3, "\xed\xa0", "\x80\xa0\xed"},          // a surrogate
      {"\xf4\x90\x80\x80", false, 4, "\xf4\x90", "\x80\x80\x90\xf4"},  // above U+10FFFF
      {"1\xe2\x82", false, 3, "1\xe2", "\x82\xe2\x31"},                // cut off
      {"\xc3é", false, 2, "\xc3é", "é\xc3"},
      {"\xff\xfe", false, 2, "\xff\xfe", "\xfe\xff"},
  };
  for (const auto& c : cases) {
    const Exact exact(c.text);
    char* const text = exact.bytes.get();
    EXPECT_EQ(vrel_string_isvalid(text), c.valid) << c.text;
    EXPECT_EQ(vrel_string_charlen(text), c.chars) << c.text;
    EXPECT_EQ(vrel_string_charnlen(text, 2), std::min(c.chars, 2u)) << c.text;
    EXPECT_EQ(taken(vrel_string_strdupn(text, 2)), c.first_two);
    EXPECT_EQ(vrel_string_reverse(text), 0u);
    EXPECT_STREQ(text, c.reversed);
  }
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

// What is UTF-8 is written back as it stands, each byte that is not is skipped alone, and the way
// through 16-bit units changes nothing but those bytes.
TEST(vrel_string, a_walk_over_damaged_text_ends_at_its_terminator) {
  const std::string base = "xé€🎵z";
  for (size_t i = 0; i < base.size() * 256; ++i) {
    const std::string damaged = base.substr(0, i / 256) + static_cast<char>(i % 256);
    const Exact exact(damaged);
    std::string walked, repaired;
    for (const char *at = exact.bytes.get(), *start = at; *at != '\0'; start = at) {
      uint32_t code = kVrelReplacementChar;
      const uint32_t error = _utf8_get_next_char(&at, &code);
      char again[kVrelUtf8MaxBytes];
      const std::string character(again, vrel_string_setchar(again, code));
      walked += error == 0 ? character : std::string(1, *start);
      repaired += character;
      ASSERT_EQ(vrel_string_charnext(start), at);
    }
    ASSERT_EQ(walked, damaged.c_str());
    uint16_t* wide = nullptr;
    char* back = nullptr;
    ASSERT_EQ(vrel_string_utf8_to_ucs2(exact.bytes.get(), &wide), 0u);
    ASSERT_EQ(vrel_string_ucs2_to_utf8(wide, &back), 0u);
    vrel_string_free(wide);
    ASSERT_EQ(taken(back), repaired);
  }
}

TEST(vrel_string, bounded_copies_keep_what_fits_and_always_end) {
  const std::string from = "a€b\xff";
  const Exact exact(from);
  for (uint32_t size = 1; size < 9; ++size) {
    const std::string kept = from.substr(0, size - 1);
    const auto to = std::make_unique<char[]>(size);
    EXPECT_EQ(vrel_string_strncpy(to.get(), exact.bytes.get(), size), 0u);
    EXPECT_EQ(to.get(), kept);
    EXPECT_EQ(_vrel_string_utf8_copy(to.get(), size, exact.bytes.get(), 9), 0u);
    EXPECT_EQ(to.get(), size < 2 ? "" : size < 5 ? "a" : kept);
    to[0] = '\0';
    EXPECT_EQ(vrel_string_strncat(to.get(), exact.bytes.get(), size), 0u);
    EXPECT_EQ(vrel_string_strncat(to.get(), "tail", size), 0u);
    EXPECT_EQ(to.get(), (from + "tail").substr(0, size - 1));
  }
  char to[8] = "keep";
  EXPECT_EQ(vrel_string_strncpy(to, "x", 0), kVrelStringInvalidArg);
  EXPECT_EQ(vrel_string_strncat(to, "x", 4), kVrelStringInvalidArg) << "no terminator in its size";
  EXPECT_STREQ(to, "keep");
  EXPECT_EQ(vrel_string_strcpy(to, "ab") | vrel_string_strcat(to, "cd"), 0u);
  EXPECT_STREQ(to, "abcd");
  EXPECT_EQ(_vrel_string_utf8_copy(to, 8, "été", 2), 0u);
  EXPECT_STREQ(to, "ét");
}

TEST(vrel_string, duplicates_count_what_their_names_say) {
  const char unterminated[] = {'a', 'b'};
  EXPECT_EQ(taken(vrel_string_strdup("")), "");
  EXPECT_EQ(taken(vrel_string_strndup(unterminated, 2)), "ab");
  EXPECT_EQ(taken(vrel_string_strndup("ét", 1)), "\xc3");
  EXPECT_EQ(taken(vrel_string_strdupn("ét", 1)), "é");
  EXPECT_EQ(taken(vrel_string_worddup(" \n\x7fé b")), "\x7fé");
  EXPECT_EQ(taken(vrel_string_worddup("\t ")), "");
  EXPECT_EQ(vrel_string_strdup(nullptr), nullptr);
  test_memory_fail_after(0);
  EXPECT_EQ(taken(vrel_string_strdup("a")) + taken(vrel_string_worddup("a")), "(none)(none)");
  test_memory_fail_after(-1);
  EXPECT_EQ(test_memory_blocks(), 0u);
}

TEST(vrel_string, searches_find_characters_and_texts_from_either_end) {
  const char* const text = "béaaéaaX";
  const auto place = [&](const char* found) { return found == nullptr ? -1 : found - text; };
  const auto expect_places = [&](const char* sought, long first, long last) {
    EXPECT_EQ(place(vrel_string_strstr(text, sought)), first);
    EXPECT_EQ(place(vrel_string_strrstr(text, sought)), last);
  };
  const auto expect_places_of = [&](uint32_t character, long first, long last) {
    EXPECT_EQ(place(vrel_string_strchr(text, character)), first) << character;
    EXPECT_EQ(place(vrel_string_strrchr(text, character)), last) << character;
  };
  expect_places_of('a', 3, 8);
  expect_places_of(0xe9, 1, 5);
  expect_places_of(0, 10, 10);
  for (const uint32_t absent : {0x78u, 0xe8u, 0xd800u, 0x110000u}) expect_places_of(absent, -1, -1);
  expect_places("aa", 3, 7);
  expect_places("a", 3, 8);
  expect_places("", 0, 10);
  expect_places("aaX!", -1, -1);
  char list[] = ";;a,b;,é";
  char* state = nullptr;
  EXPECT_STREQ(vrel_string_strtok(list, ",;", &state), "a");
  EXPECT_STREQ(vrel_string_strtok(nullptr, ",;", &state), "b");
  EXPECT_STREQ(vrel_string_strtok(nullptr, ",;", &state), "é");
  EXPECT_EQ(vrel_string_strtok(nullptr, ",;", &state), nullptr);
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

// The C library's conversions in 64 bits, cut to the limits of 32.
void expect_number_as_libc(const char* text, uint32_t base) {
  SCOPED_TRACE(std::string(text) + " in base " + std::to_string(base));
  char* their_end = nullptr;
  const int64_t value = strtoll(text, &their_end, static_cast<int>(base));
  const auto as_signed = static_cast<int32_t>(std::clamp<int64_t>(value, INT32_MIN, INT32_MAX));
  const bool overflow = value > UINT32_MAX || value < -int64_t{UINT32_MAX};
  const uint32_t as_unsigned = overflow ? UINT32_MAX : static_cast<uint32_t>(value);
  const char *end = nullptr, *unsigned_end = nullptr;
  EXPECT_EQ(vrel_string_strtol(text, &end, base), as_signed);
  EXPECT_EQ(vrel_string_strtoul(text, &unsigned_end, base), as_unsigned);
  EXPECT_TRUE(end == their_end && unsigned_end == their_end);
  if (base != 10) return;
  EXPECT_EQ(vrel_string_atoi32(text), as_signed);
  EXPECT_EQ(vrel_string_atou32(text), as_unsigned);
}

TEST(vrel_string, integers_are_read_as_with_a_long_of_32_bits) {
  for (const uint32_t base : {0u, 2u, 10u, 16u, 36u}) {
    for (const char* edge : {"2147483647", "2147483648", "4294967295", "4294967296", "-2147483648",
                             "-2147483649", "-1", "-4294967295", "-4294967296", "42949672960x"}) {
      expect_number_as_libc(edge, base);
    }
    for (const char* form : {"", "+-1", "- 1", " \t\n\v\f\r+1.5", "abc", "\u00a05", "0xFfg", "0x",
                             "-0x10", "0X", "0779", "-zZ1"}) {
      expect_number_as_libc(form, base);
    }
  }
  for (const uint32_t no_base : {1u, 37u}) EXPECT_EQ(vrel_string_strtol("1", nullptr, no_base), 0);
  EXPECT_EQ(vrel_string_atoi32(nullptr), 0);
}

void expect_double_as_libc(const std::string& text) {
  const double expected = strtod(text.c_str(), nullptr);
  const double value = vrel_string_atof64(text.c_str());
  EXPECT_TRUE(value == expected && std::signbit(value) == std::signbit(expected)) << text;
}

TEST(vrel_string, doubles_are_read_to_the_nearest_value) {
  for (const char* form :
       {" \t-12.75e2x", "+.5", "5.", "-0", ".", "-", "1e", "1e-x", "1.e1", "e5"}) {
    expect_double_as_libc(form);
  }
  for (const char* edge : {"1e308", "-1e309", "4.9e-324", "2e-324", "1e-400", "0e99999",
                           "1e99999999999", "9007199254740993"}) {
    expect_double_as_libc(edge);
  }
  const std::string half = "1.00000000000000011102230246251565404236316680908203125";
  const std::string many(3000, '7'), zeros(2000, '0');
  for (const auto& text : {half + "0", half + zeros + "1", many + "." + many + "e-2990",
                           "0." + zeros + "5e2000", "1" + zeros + "e-2000"}) {
    expect_double_as_libc(text);
  }
  for (const char* text : {"inf", "nan", "0x10"}) EXPECT_EQ(vrel_string_atof64(text), 0.0) << text;
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
    EXPECT_EQ(vrel_string_isspace(c), i < 128 && isspace(i)) << i;
    EXPECT_EQ(vrel_string_isxdigit(c), i < 128 && isxdigit(i)) << i;
    EXPECT_EQ(vrel_string_isprint(c), i < 128 && isprint(i)) << i;
  }
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
