// vrel_string_printf_test: formatted output, against the C library's and in its own parts.
#include <gtest/gtest.h>

#include <cfloat>
#include <climits>
#include <clocale>
#include <cmath>
#include <cstdio>
#include <limits>
#include <memory>
#include <string>
#include <vector>

#include "memory_for_tests.h"
#include "vrel_string.h"

namespace {

using Strings = std::vector<std::string>;

template <class... Arguments>
std::string ours(const std::string& format, Arguments... arguments) {
  char text[1024];
  const int32_t length = vrel_string_snprintf(text, sizeof text, format.c_str(), arguments...);
  return length < 0 ? "failed" : std::string(text, static_cast<size_t>(length));
}

template <class... Arguments>
std::string theirs(const std::string& format, Arguments... arguments) {
  char text[1024];
  const int length = snprintf(text, sizeof text, format.c_str(), arguments...);
  return {text, static_cast<size_t>(length)};
}

// Every directive of these parts, without its letter.
Strings directives(const std::string& flags, const Strings& widths, const Strings& precisions) {
  Strings made;
  for (unsigned subset = 0; subset < 1u << flags.size(); ++subset) {
    std::string start = "<%";
    for (size_t i = 0; i < flags.size(); ++i) {
      if ((subset >> i & 1) != 0) start += flags[i];
    }
    for (const auto& width : widths) {
      for (const auto& precision : precisions) made.push_back(start + width + precision);
    }
  }
  return made;
}

template <class Value>
void expect_integers_as_libc(const std::string& length, std::vector<Value> values) {
  for (const auto& directive :
       directives(" #+-0", {"", "1", "70", "339"}, {"", ".", ".0", ".1", ".5", ".24", ".310"})) {
    for (const char letter : std::string("diuoxX")) {
      const std::string format = directive + length + letter + ">";
      for (const Value value : values) {
        // The one difference: "#" never touches a zero, even one without digits.
        if (letter == 'o' && value == 0 && format.find('#') != std::string::npos) continue;
        ASSERT_EQ(ours(format, value), theirs(format, value)) << format << " of " << value;
      }
    }
  }
}

TEST(vrel_string_printf, integers_are_those_of_the_c_library) {
  expect_integers_as_libc<int>("", {0, 1, -1, 42, 1000, INT_MAX, INT_MIN});
  expect_integers_as_libc<int>("h", {0, -1, 40000, SHRT_MIN, 0x12345678});
  expect_integers_as_libc<int>("hh", {0, -1, 200, SCHAR_MIN, 0x1234});
  expect_integers_as_libc<long>("l", {0, -1, LONG_MAX, LONG_MIN});
  expect_integers_as_libc<long long>("ll", {0, -1, 1LL << 40, LLONG_MAX, LLONG_MIN});
}

TEST(vrel_string_printf, doubles_are_those_of_the_c_library) {
  const double values[] = {0.0,     -0.0,    0.5,     1.5,      2.5,         -9.995,
                           1.0 / 3, 0.1,     9.9999,  1e-5,     123456,      999999.5,
                           1e22,    DBL_MIN, DBL_MAX, -DBL_MAX, DBL_TRUE_MIN};
  for (const auto& directive :
       directives(" #+-0", {"", "9", "339"}, {"", ".", ".0", ".1", ".3", ".17", ".40", ".310"})) {
    for (const char letter : std::string("feEgG")) {
      const std::string format = directive + letter + ">";
      for (const double value : values) {
        ASSERT_EQ(ours(format, value), theirs(format, value)) << format << " of " << value;
      }
    }
  }
}

TEST(vrel_string_printf, the_librarys_own_conversions_print_what_they_say) {
  const auto is = [](const std::string& expected, const std::string& format, auto... arguments) {
    EXPECT_EQ(ours(format, arguments...), expected) << format;
  };
  const char* const no_text = nullptr;
  // Words.
  is("GENERATE", "%w", "   GENERATE PLAYLIST");
  is("GEN", "%.3w", "   GENERATE PLAYLIST");
  is("(null) (nu", "%w %.3w", no_text, no_text);
  is("[]", "[%w]", " \t\r\n");
  is("[]", "[%.0w]", "word");
  is("[ é\x7f\xff]", "[%5w]", "\x01é\x7f\xff\x1fz");
  is("[ab  ]", "[%-4w]", "ab\ncd");
  // Texts.
  const char unterminated[] = {'a', 'b', 'c'};
  is("abcabcabc", "%.3s%!.3s%.3w", unterminated, unterminated, unterminated);
  is("(null) (nu", "%s %.3s", no_text, no_text);
  is("[   ab]", "[%05s]", "ab");
  is("[ ét]", "[%!3.2s]", "été");
  is("[ é\xff]", "[%!3.2w]", " é\xff ");
  is("[t]", "[%!.9w]", "t é");
  // Binary, pointers, prefixes.
  is("101 0 " + std::string(64, '1'), "%b %#b %llb", 5u, 0u, ~0ull);
  is("0xff 010 0XFF 0 0 0", "%#x %#o %#X %#x %#o %#X", 255u, 8u, 255u, 0u, 0u, 0u);
  is("[]", "[%#.0o]", 0u);
  is("1a 0x1a     1a 0", "%p %#p %6p %#p", reinterpret_cast<void*>(0x1a),
     reinterpret_cast<void*>(0x1a), reinterpret_cast<void*>(0x1a), no_text);
  // An h before a letter modifies it.
  is("-7,770000", "%h,%h%lh", -7, 7, 70000L);
  is("1 1 -1 -1", "%hd %hhd %hh %hhh", 65537, 257, 65535, 255);
  is("  +5.", "%+4h.", 5);
  // Characters.
  is("[A][€][🎵][\ufffd]", "[%c][%c][%c][%c]", 'A', 0x20ac, 0x1f3b5, 0xd800);
  is("[---][  x][x  ][éé]", "[%.3c][%3c][%-3.0c][%.2c]", '-', 'x', 'x', 0xe9);
  is(std::string("a\0b", 3), "a%cb", 0);
  is("100%", "%d%%", 100);
  // Doubles that are no numbers.
  const double inf = std::numeric_limits<double>::infinity();
  is("Inf +Inf -Inf Inf", "%f %+e %+g % G", inf, inf, -inf, inf);
  is("NaN NaN   NaN", "%f %+f %05g", std::nan(""), -std::nan(""), std::nan(""));
  is("   Inf", "%06f", inf);
  // A negative precision counts as its absolute value.
  is("abc 00012", "%.*s %.*d", -3, "abcdef", -5, 12);
}

TEST(vrel_string_printf, widths_and_precisions_have_their_caps) {
  const std::string kilobyte(1000, 'k');
  EXPECT_EQ(ours("%339d", 1).size(), 339u);
  for (const char* format : {"%340d", "%400d", "%-4294967297d", "%99999999999999999999d"}) {
    EXPECT_EQ(ours(format, 1).size(), 340u) << format;
  }
  EXPECT_EQ(ours("%*d", INT_MIN, 1), "1" + std::string(339, ' '));
  EXPECT_EQ(ours("%.1000s", kilobyte.c_str()), kilobyte);
  EXPECT_EQ(ours("%.*w", INT_MIN, kilobyte.c_str()), kilobyte);
  EXPECT_EQ(ours("%.1000f", 0.1), theirs("%.310f", 0.1));
  EXPECT_EQ(ours("%.1000d", 1).size(), 310u);
  EXPECT_EQ(ours("%.1000c", 'x').size(), 310u);
}

TEST(vrel_string_printf, a_directive_without_a_known_letter_fails_the_call) {
  const char* const formats[] = {"%",   "abc%", "%5",    "%-", "%l",  "%.",   "%k",
                                 "%zu", "%jd",  "%.-5d", "%n", "%Lf", "%lll", "%é"};
  for (const char* format : formats) {
    char text[] = "before";
    EXPECT_EQ(static_cast<uint32_t>(vrel_string_snprintf(text, sizeof text, format, 1)),
              kVrelStringBadFormat)
        << format;
    EXPECT_STREQ(text, "") << format;
    EXPECT_EQ(vrel_string_mprintf(format, 1), nullptr) << format;
  }
  EXPECT_EQ(test_memory_blocks(), 0u);
}

TEST(vrel_string_printf, a_buffer_and_a_format_are_required) {
  char text[4];
  EXPECT_EQ(vrel_string_snprintf(nullptr, 0, "%d", 1234), 4);
  EXPECT_EQ(static_cast<uint32_t>(vrel_string_snprintf(nullptr, 1, "")), kVrelStringInvalidArg);
  EXPECT_EQ(static_cast<uint32_t>(vrel_string_snprintf(text, 4, nullptr)), kVrelStringInvalidArg);
}

TEST(vrel_string_printf, a_new_text_holds_all_of_it_or_nothing_is_left) {
  const std::string word(5000, 'w');
  char* text = nullptr;
  int needed = 0;
  for (; text == nullptr; ++needed) {
    test_memory_fail_after(needed);
    text = vrel_string_mprintf("%s|%w|%5d", word.c_str(), word.c_str(), 7);
    test_memory_fail_after(-1);
    EXPECT_EQ(test_memory_blocks(), text != nullptr ? 1u : 0u);
  }
  EXPECT_GT(needed, 2);
  EXPECT_EQ(text, word + "|" + word + "|    7");
  vrel_string_free(text);
}

TEST(vrel_string_printf, a_locale_changes_neither_output_nor_input) {
  const char* const commas[] = {"de_DE.UTF-8", "fr_FR.UTF-8", "de_DE", "ps_AF.UTF-8"};
  const char* set = nullptr;
  for (const char* name : commas) set = set != nullptr ? set : setlocale(LC_NUMERIC, name);
  const std::string printed = ours("%.2f %#.0f %g %.1e", 1234.5, 3.0, 0.25, 12.5);
  const double read = vrel_string_atof64("1234.5e-1");
  setlocale(LC_NUMERIC, "C");
  EXPECT_EQ(printed, "1234.50 3. 0.25 1.2e+01");
  EXPECT_EQ(read, 123.45);
  if (set == nullptr) GTEST_SKIP() << "no locale with a decimal comma is installed";
}

}  // namespace
