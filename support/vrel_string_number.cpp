// vrel_string_number: numbers read from text, the same on every host and under every locale.
#include <cstdlib>

#include "vrel_string.h"
#include "vrel_tuning.h"

// -- integers -------------------------------------------------------------------------------------

// A number before its sign is applied. Without digits `end` is null.
struct Magnitude {
  uint32_t value;
  bool overflow;
  bool negative;
  const char* end;
};

static const char* _vrel_string_skip_blanks(const char* text) {
  while (vrel_string_isspace(static_cast<uint8_t>(*text))) ++text;
  return text;
}

static bool _vrel_string_take_sign(const char** at) {
  const bool negative = **at == '-';
  if (negative || **at == '+') ++*at;
  return negative;
}

// The value of a digit in base 36; 36 for anything else.
static uint32_t _vrel_string_digit_value(char digit) {
  const uint32_t character = static_cast<uint8_t>(digit);
  if (vrel_string_isdigit(character)) return character - '0';
  if (!vrel_string_isalnum(character)) return 36;
  return vrel_string_char_tolower(character) - 'a' + 10;
}

// Settles base 0 and skips "0x". Without a hexadecimal digit behind it that is a 0 and an x.
static uint32_t _vrel_string_take_base(const char** at, uint32_t base) {
  const char* const text = *at;
  const bool hexadecimal = text[0] == '0' && (text[1] == 'x' || text[1] == 'X') &&
                           _vrel_string_digit_value(text[2]) < 16;
  if (hexadecimal && (base == 0 || base == 16)) {
    *at += 2;
    return 16;
  }
  if (base != 0) return base;
  return text[0] == '0' ? 8 : 10;
}

static Magnitude _vrel_string_read_magnitude(const char* text, uint32_t base) {
  Magnitude number = {};
  if (text == nullptr || base == 1 || base > 36) return number;
  const char* at = _vrel_string_skip_blanks(text);
  number.negative = _vrel_string_take_sign(&at);
  base = _vrel_string_take_base(&at, base);
  for (uint32_t digit = _vrel_string_digit_value(*at); digit < base;
       digit = _vrel_string_digit_value(*at)) {
    const uint64_t value = uint64_t{number.value} * base + digit;
    number.overflow = number.overflow || value > UINT32_MAX;
    number.value = static_cast<uint32_t>(value);
    number.end = ++at;
  }
  return number;
}

static void _vrel_string_give_end(const char** end, const char* text, const Magnitude& number) {
  if (end != nullptr) *end = number.end != nullptr ? number.end : text;
}

int32_t vrel_string_strtol(const char* text, const char** end, uint32_t base) {
  const Magnitude number = _vrel_string_read_magnitude(text, base);
  _vrel_string_give_end(end, text, number);
  const uint32_t limit = number.negative ? 0x80000000u : 0x7fffffffu;
  if (number.overflow || number.value > limit) return number.negative ? INT32_MIN : INT32_MAX;
  return static_cast<int32_t>(number.negative ? 0 - number.value : number.value);
}

uint32_t vrel_string_strtoul(const char* text, const char** end, uint32_t base) {
  const Magnitude number = _vrel_string_read_magnitude(text, base);
  _vrel_string_give_end(end, text, number);
  if (number.overflow) return UINT32_MAX;
  return number.negative ? 0 - number.value : number.value;
}

int32_t vrel_string_atoi32(const char* text) {
  return vrel_string_strtol(text, nullptr, 10);
}

// Most numbers are nothing but a few digits.
uint32_t vrel_string_atou32(const char* text) {
  uint32_t value = 0;
  for (uint32_t i = 0; text != nullptr && i <= kVrelSafeDigits; ++i) {
    if (i > 0 && text[i] == '\0') return value;
    const uint32_t digit = static_cast<uint8_t>(text[i]) - uint32_t{'0'};
    if (digit > 9) break;
    value = value * 10 + digit;
  }
  return vrel_string_strtoul(text, nullptr, 10);
}

bool vrel_string_atobool(const char* text) {
  static const char kTrueWords[][5] = {"true", "yes", "y"};
  for (const char* word : kTrueWords) {
    if (vrel_string_equal(text, word, 1)) return true;
  }
  return vrel_string_atou32(text) != 0;
}

// -- doubles --------------------------------------------------------------------------------------

// 767 digits tell any double from the middle between two; of those that follow it only matters
// whether one is not zero.
constexpr uint32_t kMostDigits = 770;
// Beyond every double, with any digits kept.
constexpr int64_t kMostExponent = 5000;

// A decimal number as digits without a point, which no locale changes.
struct Decimal {
  bool negative;
  bool any_digit;
  bool dropped_nonzero;
  uint32_t count;
  int64_t exponent;  // of ten, for the digits read as an integer
  char digits[kMostDigits];
};

static void _vrel_string_add_digit(Decimal* number, char digit, bool is_fraction) {
  number->any_digit = true;
  const bool leading_zero = number->count == 0 && digit == '0';
  const bool kept = !leading_zero && number->count < kMostDigits;
  if (kept) number->digits[number->count++] = digit;
  if (!kept && digit != '0') number->dropped_nonzero = true;
  if (is_fraction && (kept || leading_zero)) --number->exponent;
  if (!is_fraction && !kept && !leading_zero) ++number->exponent;
}

// exponent: "e" [sign] digit+, or nothing.
static int64_t _vrel_string_read_exponent(const char* at) {
  constexpr int64_t kHuge = INT64_MAX / 100;
  if (*at != 'e' && *at != 'E') return 0;
  ++at;
  const bool negative = _vrel_string_take_sign(&at);
  int64_t value = 0;
  for (; vrel_string_isdigit(static_cast<uint8_t>(*at)); ++at) {
    if (value < kHuge) value = value * 10 + (*at - '0');
  }
  return negative ? -value : value;
}

static void _vrel_string_read_digits(const char** at, Decimal* number, bool is_fraction) {
  for (; vrel_string_isdigit(static_cast<uint8_t>(**at)); ++*at) {
    _vrel_string_add_digit(number, **at, is_fraction);
  }
}

// number: blank* [sign] digit* ["." digit*] [exponent], with one digit at least.
static void _vrel_string_read_decimal(const char* text, Decimal* number) {
  const char* at = _vrel_string_skip_blanks(text);
  number->negative = _vrel_string_take_sign(&at);
  _vrel_string_read_digits(&at, number, false);
  if (*at == '.') {
    ++at;
    _vrel_string_read_digits(&at, number, true);
  }
  number->exponent += _vrel_string_read_exponent(at);
}

static int32_t _vrel_string_clamped_exponent(int64_t exponent) {
  if (exponent > kMostExponent) return static_cast<int32_t>(kMostExponent);
  if (exponent < -kMostExponent) return static_cast<int32_t>(-kMostExponent);
  return static_cast<int32_t>(exponent);
}

double vrel_string_atof64(const char* text) {
  if (text == nullptr) return 0.0;
  Decimal number = {};
  _vrel_string_read_decimal(text, &number);
  if (!number.any_digit) return 0.0;
  // A further digit 1 stands for everything that was dropped.
  const int64_t exponent = number.exponent - (number.dropped_nonzero ? 1 : 0);
  char plain[kMostDigits + 16];
  vrel_string_snprintf(plain, sizeof plain, "%s0%.*s%se%d", number.negative ? "-" : "",
                       static_cast<int>(number.count), number.digits,
                       number.dropped_nonzero ? "1" : "", _vrel_string_clamped_exponent(exponent));
  return strtod(plain, nullptr);
}
