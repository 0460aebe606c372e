// fuzz_printf: the input is a format, a zero byte, and what its arguments are made of.
//
// What the directives ask for is read here by the documented rules, once more. A buffer of any size
// gets the start of what a new text holds, and every way of printing says the same. Where the
// engine means what the C library means, both print the same.
#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <limits>
#include <memory>
#include <string>
#include <vector>

#include "fuzz_target.h"
#include "vrel_string.h"

namespace {

// -- what a format asks for -----------------------------------------------------------------------

enum class Kind { kInt, kLong, kDouble, kText };

struct Argument {
  Kind kind;
  int number = 0;
  long long long_number = 0;
  double real = 0;
  const char* text = nullptr;
};

// A part of a format with few enough arguments, and whether the C library prints it the same.
struct Part {
  std::string format = {};
  std::vector<Argument> arguments = {};
  bool is_c = true;
};

constexpr size_t kMostArguments = 4;
constexpr char kLetters[] = "dihuoxXbpfeEgGswc%";

bool is_letter(char c) {
  return c != '\0' && std::strchr(kLetters, c) != nullptr;
}

// What the arguments point to lives as long as the reader.
class Reader {
 public:
  Reader(const std::string& format, FuzzBytes* bytes) : format_(format), bytes_(bytes) {
    for (const char* const text : {"", "word", "  two words", "Beyonc\xc3\xa9", "\xff\xfe\x80"}) {
      texts_.emplace_back(text);
    }
    texts_.push_back(bytes->text(40));
  }

  // The directives are taken by turns; a broken one ends the format, and is its last part's.
  std::vector<Part> read() {
    while (at_ < format_.size()) {
      if (parts_.empty() || parts_.back().arguments.size() + 3 > kMostArguments) {
        parts_.emplace_back();
      }
      const size_t begin = at_;
      if (format_[at_] == '%') {
        ++at_;
        read_directive(&parts_.back());
      } else {
        while (at_ < format_.size() && format_[at_] != '%') ++at_;
      }
      parts_.back().format += format_.substr(begin, at_ - begin);
    }
    return parts_;
  }

 private:
  char next() const { return at_ < format_.size() ? format_[at_] : '\0'; }
  char after(size_t n) const { return at_ + n < format_.size() ? format_[at_ + n] : '\0'; }

  struct Number {
    bool given = false;
    bool is_star = false;
    long long value = 0;  // of a star with its sign
  };

  Number read_number(Part* part) {
    Number number;
    if (next() == '*') {
      ++at_;
      static constexpr int kStars[] = {0, 1, -1, 7, -12, 339, 341, -500, 1000};
      const uint32_t pick = bytes_->byte();
      const int star = pick < 200 ? kStars[pick % 9] : static_cast<int>(bytes_->word());
      Argument argument = {Kind::kInt};
      argument.number = star;
      part->arguments.push_back(argument);
      return {true, true, star};
    }
    for (; next() >= '0' && next() <= '9'; ++at_) {
      number.given = true;
      if (number.value < 1000000000) number.value = number.value * 10 + (next() - '0');
    }
    return number;
  }

  bool read_flags(std::string* flags) {
    while (next() != '\0' && std::strchr(" !#+-0", next()) != nullptr) *flags += format_[at_++];
    return flags->find('!') == std::string::npos;
  }

  std::string read_length() {
    const char first = next();
    size_t count = 0;
    if (first == 'l') {
      count = after(1) == 'l' ? 2 : 1;
    } else if (first == 'h' && after(1) != '%' && is_letter(after(1))) {
      count = after(1) == 'h' && after(2) != '%' && is_letter(after(2)) ? 2 : 1;
    }
    const std::string length = format_.substr(at_, count);
    at_ += count;
    return length;
  }

  void read_directive(Part* part) {
    std::string flags;
    bool is_c = read_flags(&flags);
    const Number width = read_number(part);
    Number precision;
    const bool has_precision = next() == '.';
    if (has_precision) {
      ++at_;
      precision = read_number(part);
    }
    const std::string length = read_length();
    const char letter = next();
    if (!is_letter(letter)) {
      // Nothing behind it is read.
      at_ = format_.size();
      part->is_c = false;
      return;
    }
    ++at_;
    is_c = is_c && std::abs(width.value) < 340;
    is_c = is_c && precision.value >= 0 && precision.value <= (letter == 's' ? 100000 : 310);
    const bool plain = flags.empty() && !width.given && !has_precision && length.empty();
    take(part, letter, length, flags, has_precision, plain, &is_c);
    part->is_c = part->is_c && is_c;
  }

  void take(Part* part, char letter, const std::string& length, const std::string& flags,
            bool has_precision, bool plain, bool* is_c) {
    const bool zero = flags.find('0') != std::string::npos;
    const bool alternate = flags.find('#') != std::string::npos;
    Argument argument = {Kind::kInt};
    switch (letter) {
      case '%':
        *is_c = *is_c && plain;
        return;
      case 'f':
      case 'e':
      case 'E':
      case 'g':
      case 'G':
        argument.kind = Kind::kDouble;
        argument.real = some_double();
        *is_c = *is_c && (length.empty() || length == "l") && std::isfinite(argument.real);
        break;
      case 's':
      case 'w':
        argument.kind = Kind::kText;
        argument.text = some_text();
        *is_c = *is_c && letter == 's' && length.empty() && !zero && !alternate &&
                argument.text != nullptr;
        break;
      case 'p':
        argument.kind = Kind::kText;
        argument.text = some_text();
        *is_c = false;
        break;
      case 'c':
        argument.number = static_cast<int>(some_number() & 0x1fffff);
        *is_c = *is_c && length.empty() && !zero && !alternate && !has_precision &&
                argument.number < 0x80;
        break;
      default:
        if (length == "ll" || (length == "l" && sizeof(long) == sizeof(long long))) {
          argument.kind = Kind::kLong;
          argument.long_number = some_number();
        } else {
          argument.number = static_cast<int>(some_number());
        }
        // "#" and a precision of 0 leave nothing of an octal 0 here.
        *is_c = *is_c && letter != 'h' && letter != 'b' &&
                !(alternate &&
                  (std::strchr("dui", letter) != nullptr || (letter == 'o' && has_precision)));
        break;
    }
    part->arguments.push_back(argument);
  }

  long long some_number() {
    static constexpr long long kNumbers[] = {0, 1, -1, 42, 127, 255, 40000, 0x7fffffff};
    const uint32_t pick = bytes_->byte();
    return pick < 128 ? kNumbers[pick % 8] : static_cast<long long>(bytes_->long_word());
  }

  double some_double() {
    static constexpr double kDoubles[] = {0.0, -0.0, 1.5, -2.5, 0.1, 1e22, 9.9999, 1e300, 5e-324};
    const uint32_t pick = bytes_->byte();
    if (pick < 100) return kDoubles[pick % 9];
    if (pick < 110) return std::numeric_limits<double>::infinity();
    const uint64_t bits = bytes_->long_word();
    double real = 0;
    std::memcpy(&real, &bits, sizeof real);
    return real;
  }

  const char* some_text() {
    const uint32_t pick = bytes_->below(7);
    return pick == 6 ? nullptr : texts_[pick].c_str();
  }

  const std::string& format_;
  FuzzBytes* bytes_;
  std::vector<std::string> texts_;
  size_t at_ = 0;
  std::vector<Part> parts_ = {};
};

// -- calls with what was asked for ----------------------------------------------------------------

// Calls print(arguments...) with the arguments as a caller in C passes them.
template <class Print, class... Passed>
auto call(const std::vector<Argument>& arguments, Print print, Passed... passed) {
  if constexpr (sizeof...(passed) < kMostArguments) {
    if (sizeof...(passed) < arguments.size()) {
      const Argument& next = arguments[sizeof...(passed)];
      switch (next.kind) {
        case Kind::kInt:
          return call(arguments, print, passed..., next.number);
        case Kind::kLong:
          return call(arguments, print, passed..., next.long_number);
        case Kind::kDouble:
          return call(arguments, print, passed..., next.real);
        default:
          return call(arguments, print, passed..., next.text);
      }
    }
  }
  return print(passed...);
}

struct Printed {
  int32_t result;
  std::string text;
};

#pragma GCC diagnostic ignored "-Wformat-security"
#pragma GCC diagnostic ignored "-Wformat-nonliteral"

Printed ours(const Part& part, uint32_t size) {
  // A block of its own shows a write past its end.
  const std::unique_ptr<char[]> buffer(size == 0 ? nullptr : new char[size]);
  if (size != 0) std::memset(buffer.get(), '?', size);
  const int32_t result = call(part.arguments, [&](auto... passed) {
    return vrel_string_snprintf(buffer.get(), size, part.format.c_str(), passed...);
  });
  if (size == 0) return {result, ""};
  const size_t held = result < 0 ? 0 : std::min<size_t>(static_cast<size_t>(result), size - 1);
  FUZZ_REQUIRE(buffer[held] == '\0');
  return {result, std::string(buffer.get(), held)};
}

Printed theirs(const Part& part) {
  const auto print = [&](char* to, size_t size) {
    return call(part.arguments, [&](auto... passed) {
      return std::snprintf(to, size, part.format.c_str(), passed...);
    });
  };
  const int length = print(nullptr, 0);
  FUZZ_REQUIRE(length >= 0);
  std::string text(static_cast<size_t>(length) + 1, '?');
  (void)print(text.data(), text.size());
  text.pop_back();
  return {length, text};
}

void compare(const Part& part, uint32_t small) {
  const int32_t length = ours(part, 0).result;
  if (length < 0) {
    FUZZ_REQUIRE(static_cast<uint32_t>(length) == kVrelStringBadFormat);
    const Printed refused = ours(part, 5);
    FUZZ_REQUIRE(refused.result == length && refused.text.empty());
    FUZZ_REQUIRE(call(part.arguments, [&](auto... passed) {
                   return vrel_string_mprintf(part.format.c_str(), passed...);
                 }) == nullptr);
    return;
  }
  const Printed whole = ours(part, static_cast<uint32_t>(length) + 1);
  FUZZ_REQUIRE(whole.result == length && whole.text.size() == static_cast<size_t>(length));
  const Printed cut = ours(part, 1 + small);
  FUZZ_REQUIRE(cut.result == length && cut.text == whole.text.substr(0, small));

  char* const text = call(part.arguments, [&](auto... passed) {
    return vrel_string_mprintf(part.format.c_str(), passed...);
  });
  FUZZ_REQUIRE(text != nullptr &&
               std::memcmp(text, whole.text.c_str(), whole.text.size() + 1) == 0);
  vrel_string_free(text);

  vrel_string_accum* accum = nullptr;
  FUZZ_REQUIRE(vrel_string_accum_create(&accum) == 0);
  FUZZ_REQUIRE(vrel_string_accum_append(accum, "before ") == 0);
  FUZZ_REQUIRE(call(part.arguments, [&](auto... passed) {
                 return vrel_string_accum_append_format(accum, part.format.c_str(), passed...);
               }) == 0);
  const std::string appended(vrel_string_accum_data(accum), vrel_string_accum_length(accum));
  FUZZ_REQUIRE(appended == "before " + whole.text);
  vrel_string_accum_delete(accum);

  if (!part.is_c) return;
  const Printed expected = theirs(part);
  FUZZ_REQUIRE(expected.result == length && expected.text == whole.text);
}

}  // namespace

int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  FuzzBytes bytes(data, size);
  const std::string format = bytes.text(200);
  const uint32_t small = bytes.below(40);
  Reader reader(format, &bytes);
  for (const Part& part : reader.read()) compare(part, small);
  return 0;
}
