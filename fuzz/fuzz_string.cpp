// fuzz_string: two texts and a number out of the input, through the string and UTF-8 functions,
// each beside the plainest way to say what it does, or beside the C library.
#include <algorithm>
#include <cerrno>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <iterator>
#include <memory>
#include <string>
#include <vector>

#include "fuzz_target.h"
#include "vrel_string.h"
#include "vrel_string_fuzzy.h"

namespace {

// -- UTF-8, once more -----------------------------------------------------------------------------

struct Character {
  bool valid;
  uint32_t code;
  std::string bytes;
};

uint32_t byte_at(const std::string& text, size_t at) {
  return at < text.size() ? static_cast<uint8_t>(text[at]) : 0;
}

// By the table of well-formed sequences.
size_t well_formed(const std::string& text, size_t at) {
  const uint32_t first = byte_at(text, at);
  const auto tail = [&](size_t i, uint32_t low = 0x80, uint32_t high = 0xbf) {
    return byte_at(text, at + i) >= low && byte_at(text, at + i) <= high;
  };
  if (first < 0x80) return 1;
  if (first >= 0xc2 && first <= 0xdf) return tail(1) ? 2 : 0;
  if (first == 0xe0) return tail(1, 0xa0) && tail(2) ? 3 : 0;
  if (first == 0xed) return tail(1, 0x80, 0x9f) && tail(2) ? 3 : 0;
  if (first >= 0xe1 && first <= 0xef) return tail(1) && tail(2) ? 3 : 0;
  if (first == 0xf0) return tail(1, 0x90) && tail(2) && tail(3) ? 4 : 0;
  if (first == 0xf4) return tail(1, 0x80, 0x8f) && tail(2) && tail(3) ? 4 : 0;
  if (first >= 0xf1 && first <= 0xf3) return tail(1) && tail(2) && tail(3) ? 4 : 0;
  return 0;
}

std::vector<Character> characters_of(const std::string& text) {
  std::vector<Character> characters;
  for (size_t at = 0; at < text.size();) {
    const size_t size = well_formed(text, at);
    const std::string bytes = text.substr(at, size == 0 ? 1 : size);
    uint32_t code = byte_at(bytes, 0);
    if (size > 1) code &= 0x7fu >> size;
    for (size_t i = 1; i < size; ++i) code = code << 6 | (byte_at(bytes, i) & 0x3f);
    characters.push_back({size != 0, code, bytes});
    at += bytes.size();
  }
  return characters;
}

std::string joined(const std::vector<Character>& characters, size_t from, size_t count) {
  std::string text;
  for (size_t i = from; i < characters.size() && i < from + count; ++i) text += characters[i].bytes;
  return text;
}

int sign(int64_t number) {
  return (number > 0) - (number < 0);
}

std::string folded(std::string text) {
  for (char& c : text) c = c >= 'A' && c <= 'Z' ? static_cast<char>(c + 'a' - 'A') : c;
  return text;
}

// What the function handed out, freed.
std::string taken(char* text) {
  FUZZ_REQUIRE(text != nullptr);
  const std::string copy = text;
  vrel_string_free(text);
  return copy;
}

// -- checks ---------------------------------------------------------------------------------------

void check_characters(const std::string& text) {
  const std::vector<Character> characters = characters_of(text);
  const char* at = text.c_str();
  const char* to_decode = at;
  bool all_valid = true;
  for (const Character& character : characters) {
    FUZZ_REQUIRE(vrel_string_nextcharsize(at) == character.bytes.size());
    uint32_t code = 0;
    FUZZ_REQUIRE(_utf8_get_next_char(&to_decode, &code) ==
                 (character.valid ? 0 : kVrelStringBadUtf8));
    FUZZ_REQUIRE(!character.valid || code == character.code);
    at = vrel_string_charnext(at);
    FUZZ_REQUIRE(at == to_decode);
    all_valid = all_valid && character.valid;
    char written[kVrelUtf8MaxBytes];
    if (!character.valid) continue;
    FUZZ_REQUIRE(vrel_string_setchar(written, code) == character.bytes.size());
    FUZZ_REQUIRE(std::memcmp(written, character.bytes.data(), character.bytes.size()) == 0);
    const size_t first = text.find(character.bytes);
    FUZZ_REQUIRE(vrel_string_strchr(text.c_str(), code) == text.c_str() + first);
    FUZZ_REQUIRE(vrel_string_strrchr(text.c_str(), code) ==
                 text.c_str() + text.rfind(character.bytes));
  }
  FUZZ_REQUIRE(*at == '\0' && vrel_string_nextcharsize(at) == 0 && vrel_string_charnext(at) == at);
  FUZZ_REQUIRE(vrel_string_isvalid(text.c_str()) == all_valid);
  FUZZ_REQUIRE(vrel_string_charlen(text.c_str()) == characters.size());
  FUZZ_REQUIRE(vrel_string_byteclen(text.c_str()) == text.size());
  FUZZ_REQUIRE(vrel_string_isempty(text.c_str()) == text.empty());
}

void check_counted(const std::string& text, uint32_t number) {
  const std::vector<Character> characters = characters_of(text);
  const std::string cut = joined(characters, 0, number);
  FUZZ_REQUIRE(vrel_string_charnlen(text.c_str(), number) ==
               std::min<size_t>(number, characters.size()));
  FUZZ_REQUIRE(taken(vrel_string_strdupn(text.c_str(), number)) == cut);
  FUZZ_REQUIRE(taken(vrel_string_strndup(text.c_str(), number)) == text.substr(0, number));
  FUZZ_REQUIRE(taken(vrel_string_strdup(text.c_str())) == text);

  const uint32_t size = 1 + number % 64;
  const std::unique_ptr<char[]> buffer(new char[size]);
  FUZZ_REQUIRE(vrel_string_strncpy(buffer.get(), text.c_str(), size) == 0);
  FUZZ_REQUIRE(buffer.get() == text.substr(0, size - 1));
  FUZZ_REQUIRE(vrel_string_strncat(buffer.get(), text.c_str(), size) == 0);
  FUZZ_REQUIRE(buffer.get() == (text.substr(0, size - 1) + text).substr(0, size - 1));
  FUZZ_REQUIRE(_vrel_string_utf8_copy(buffer.get(), size, text.c_str(), number) == 0);
  const std::string copied = buffer.get();
  FUZZ_REQUIRE(cut.compare(0, copied.size(), copied) == 0);
  const size_t whole = characters_of(copied).size();
  FUZZ_REQUIRE(joined(characters, 0, whole) == copied);
  FUZZ_REQUIRE(copied == cut || joined(characters, 0, whole + 1).size() >= size);

  std::vector<char> reversed(text.begin(), text.end());
  reversed.push_back('\0');
  FUZZ_REQUIRE(vrel_string_reverse(reversed.data()) == 0);
  std::string expected;
  for (const Character& character : characters) expected = character.bytes + expected;
  FUZZ_REQUIRE(expected == reversed.data());

  const size_t begin = text.find_first_not_of(
      "\x01\x02\x03\x04\x05\x06\x07\x08\x09\x0a\x0b\x0c\x0d\x0e\x0f\x10\x11\x12\x13\x14\x15\x16\x17"
      "\x18\x19\x1a\x1b\x1c\x1d\x1e\x1f ");
  std::string word = begin == std::string::npos ? "" : text.substr(begin);
  word.resize(std::min<size_t>(
      word.size(),
      static_cast<size_t>(std::find_if(word.begin(), word.end(),
                                       [](char c) { return static_cast<uint8_t>(c) <= 32; }) -
                          word.begin())));
  FUZZ_REQUIRE(taken(vrel_string_worddup(text.c_str())) == word);
}

void check_compared(const std::string& a, const std::string& b, uint32_t number) {
  const std::string fa = folded(a);
  const std::string fb = folded(b);
  const char* const ca = a.c_str();
  const char* const cb = b.c_str();
  FUZZ_REQUIRE(vrel_string_equal(ca, cb, 0) == (a == b));
  FUZZ_REQUIRE(vrel_string_equal(ca, cb, 1) == (fa == fb));
  FUZZ_REQUIRE(sign(vrel_string_strcmp(ca, cb)) == sign(a.compare(b)));
  FUZZ_REQUIRE(sign(vrel_string_stricmp(ca, cb)) == sign(fa.compare(fb)));
  const auto first = [&](const std::string& text) { return text.substr(0, number); };
  FUZZ_REQUIRE(sign(vrel_string_strncmp(ca, cb, number)) == sign(first(a).compare(first(b))));
  FUZZ_REQUIRE(sign(vrel_string_strnicmp(ca, cb, number)) == sign(first(fa).compare(first(fb))));
  const auto bytes = [](const std::string& text) { return static_cast<uint32_t>(text.size()); };
  FUZZ_REQUIRE(sign(vrel_string_strcmp_len(ca, bytes(a), cb, bytes(b))) == sign(a.compare(b)));
  FUZZ_REQUIRE(sign(vrel_string_stricmp_len(ca, bytes(a), cb, bytes(b))) == sign(fa.compare(fb)));
  const auto cut = [&](const std::string& text) { return joined(characters_of(text), 0, number); };
  FUZZ_REQUIRE(sign(_vrel_string_utf8_compare(ca, cb, number, 0)) == sign(cut(a).compare(cut(b))));
  FUZZ_REQUIRE(sign(_vrel_string_utf8_compare(ca, cb, number, 1)) ==
               sign(cut(fa).compare(cut(fb))));
}

void check_searched(const std::string& text, const std::string& sought) {
  const auto place = [&](size_t at) {
    return at == std::string::npos ? nullptr : text.c_str() + at;
  };
  FUZZ_REQUIRE(vrel_string_strstr(text.c_str(), sought.c_str()) == place(text.find(sought)));
  FUZZ_REQUIRE(vrel_string_strrstr(text.c_str(), sought.c_str()) == place(text.rfind(sought)));

  std::vector<char> a(text.c_str(), text.c_str() + text.size() + 1);
  std::vector<char> b = a;
  char* state = nullptr;
  char* c_state = nullptr;
  char* token = vrel_string_strtok(a.data(), sought.c_str(), &state);
  char* c_token = strtok_r(b.data(), sought.c_str(), &c_state);
  while (token != nullptr && c_token != nullptr) {
    FUZZ_REQUIRE(token - a.data() == c_token - b.data());
    FUZZ_REQUIRE(std::strcmp(token, c_token) == 0);
    token = vrel_string_strtok(nullptr, sought.c_str(), &state);
    c_token = strtok_r(nullptr, sought.c_str(), &c_state);
  }
  FUZZ_REQUIRE(token == nullptr && c_token == nullptr);
}

// Of 32 bits, whatever a long has here.
void check_numbers(const std::string& text, uint32_t number) {
  const char* const at = text.c_str();
  const uint32_t base = number % 40;
  const char* end = nullptr;
  char* c_end = nullptr;
  const int32_t value = vrel_string_strtol(at, &end, base);
  const bool is_base = base == 0 || (base >= 2 && base <= 36);
  if (is_base) {
    errno = 0;
    const long long wide = std::strtoll(at, &c_end, static_cast<int>(base));
    FUZZ_REQUIRE(value == std::clamp<long long>(wide, INT32_MIN, INT32_MAX));
    FUZZ_REQUIRE(end == c_end);
    const uint32_t positive = vrel_string_strtoul(at, &end, base);
    FUZZ_REQUIRE(end == c_end);
    if (errno == 0 && wide <= UINT32_MAX && -wide <= static_cast<long long>(UINT32_MAX)) {
      FUZZ_REQUIRE(positive == static_cast<uint32_t>(wide));
    } else {
      FUZZ_REQUIRE(positive == UINT32_MAX);
    }
  } else {
    FUZZ_REQUIRE(value == 0 && end == at);
  }
  FUZZ_REQUIRE(vrel_string_atoi32(at) == vrel_string_strtol(at, nullptr, 10));
  FUZZ_REQUIRE(vrel_string_atou32(at) == vrel_string_strtoul(at, nullptr, 10));
  (void)vrel_string_atobool(at);
  // The C library also reads names and hexadecimals.
  if (text.find_first_of("xXnNiI") != std::string::npos) return (void)vrel_string_atof64(at);
  FUZZ_REQUIRE(vrel_string_atof64(at) == std::strtod(at, nullptr));
}

void check_wide(const std::string& text, uint32_t number) {
  uint16_t* wide = nullptr;
  FUZZ_REQUIRE(vrel_string_utf8_to_ucs2(text.c_str(), &wide) == 0);
  std::string expected;
  for (const Character& character : characters_of(text)) {
    expected += character.valid ? character.bytes : "\xef\xbf\xbd";
  }
  char* back = nullptr;
  FUZZ_REQUIRE(vrel_string_ucs2_to_utf8(wide, &back) == 0);
  FUZZ_REQUIRE(taken(back) == expected);
  const uint32_t size = 1 + number % 20;
  const std::unique_ptr<char[]> buffer(new char[size]);
  const int32_t length = vrel_string_ucs2_to_utf8_buf(wide, buffer.get(), size);
  FUZZ_REQUIRE(length == static_cast<int32_t>(expected.size()));
  FUZZ_REQUIRE(expected.compare(0, std::strlen(buffer.get()), buffer.get()) == 0);
  vrel_string_free(wide);
}

// Any units, with halves of pairs.
void check_units(const std::string& bytes) {
  std::vector<uint16_t> units;
  for (size_t i = 0; i + 1 < bytes.size(); i += 2) {
    units.push_back(static_cast<uint16_t>(byte_at(bytes, i) << 8 | byte_at(bytes, i + 1)));
  }
  units.push_back(0);
  const std::unique_ptr<uint16_t[]> block(new uint16_t[units.size()]);
  std::copy(units.begin(), units.end(), block.get());
  char* text = nullptr;
  FUZZ_REQUIRE(vrel_string_ucs2_to_utf8(block.get(), &text) == 0);
  FUZZ_REQUIRE(vrel_string_isvalid(text));
  vrel_string_free(text);
}

// Up to the first byte that is not UTF-8, behind which there is no end.
std::vector<uint32_t> pairs_of(const std::string& text) {
  std::vector<uint32_t> pairs;
  uint32_t before = 0;
  bool ends = true;
  for (const Character& character : characters_of(folded(text))) {
    ends = character.valid;
    if (!ends) break;
    const uint32_t code = character.code & 0xffff;
    pairs.push_back(pairs.empty() ? code : before | code << 16);
    before = code;
  }
  if (ends && !pairs.empty()) pairs.push_back(before);
  std::sort(pairs.begin(), pairs.end());
  return pairs;
}

void check_likeness(const std::string& a, const std::string& b) {
  const std::vector<uint32_t> of_a = pairs_of(a);
  const std::vector<uint32_t> of_b = pairs_of(b);
  std::vector<uint32_t> shared;
  std::set_intersection(of_a.begin(), of_a.end(), of_b.begin(), of_b.end(),
                        std::back_inserter(shared));
  const float likeness = vrel_string_fuzzycmp(a.c_str(), b.c_str(), 0);
  FUZZ_REQUIRE(likeness >= 0.0f && likeness <= 1.0f);
  if (!of_a.empty() && !of_b.empty() && !a.empty() && !b.empty()) {
    const double expected =
        2.0 * static_cast<double>(shared.size()) / static_cast<double>(of_a.size() + of_b.size());
    FUZZ_REQUIRE(std::fabs(likeness - expected) < 1e-6);
  }
  FUZZ_REQUIRE(vrel_string_fuzzycmp(b.c_str(), a.c_str(), 0) == likeness);
  for (const uint32_t flags : {0u, 1u}) {
    vrel_bigrams* table = nullptr;
    FUZZ_REQUIRE(vrel_string_create_bigrams(b.c_str(), flags, &table) == 0);
    vrel_string_bigrams_sort(table);
    FUZZ_REQUIRE(vrel_string_fuzzycmp_sorted(a.c_str(), table, flags) ==
                 vrel_string_fuzzycmp(a.c_str(), b.c_str(), flags));
    vrel_string_bigrams_delete(table);
  }
}

}  // namespace

int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  FuzzBytes bytes(data, size);
  const uint32_t number = bytes.byte() < 200 ? bytes.byte() : bytes.word();
  const std::string a = bytes.text(200);
  const std::string b = bytes.text(200);
  const std::string rest = bytes.rest();
  check_characters(a);
  check_counted(a, number);
  check_compared(a, b, number);
  check_searched(a, b);
  check_numbers(a, number);
  check_wide(a, number);
  check_units(rest);
  check_likeness(a, b);
  return 0;
}
