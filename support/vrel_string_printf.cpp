// vrel_string_printf: the engine behind all formatted output.
#include <cmath>
#include <cstdio>
#include <cstring>

#include "vrel_error.h"
#include "vrel_string.h"
#include "vrel_string_private.h"
#include "vrel_tuning.h"

static const char kSource[] = "vrel_string_printf";

// -- conversions ----------------------------------------------------------------------------------

enum ConversionKind : uint8_t {
  kSigned,
  kUnsigned,
  kPointer,
  kDouble,
  kString,
  kWord,
  kCharacter,
  kPercent
};

static const char kDigits[] = "0123456789ABCDEF0123456789abcdef";
constexpr uint8_t kUpperCase = 0;
constexpr uint8_t kLowerCase = 16;

struct Conversion {
  char letter;
  uint8_t base;
  ConversionKind kind;
  uint8_t digits;  // where in kDigits this base begins
  char prefix[3];  // what "#" puts before a value that is not zero
};

static const Conversion kConversions[] = {
    {'d', 10, kSigned, kUpperCase, ""},
    {'i', 10, kSigned, kUpperCase, ""},
    {'h', 10, kSigned, kUpperCase, ""},
    {'u', 10, kUnsigned, kUpperCase, ""},
    {'o', 8, kUnsigned, kUpperCase, "0"},
    {'x', 16, kUnsigned, kLowerCase, "0x"},
    {'X', 16, kUnsigned, kUpperCase, "0X"},
    {'b', 2, kUnsigned, kUpperCase, ""},
    {'p', 16, kPointer, kLowerCase, "0x"},
    {'f', 0, kDouble, 0, ""},
    {'e', 0, kDouble, 0, ""},
    {'E', 0, kDouble, 0, ""},
    {'g', 0, kDouble, 0, ""},
    {'G', 0, kDouble, 0, ""},
    {'s', 0, kString, 0, ""},
    {'w', 0, kWord, 0, ""},
    {'c', 0, kCharacter, 0, ""},
    {'%', 0, kPercent, 0, ""},
};

static const Conversion* _vrel_string_find_conversion(char letter) {
  for (const Conversion& row : kConversions) {
    if (row.letter == letter) return &row;
  }
  return nullptr;
}

// -- directives -----------------------------------------------------------------------------------

constexpr uint32_t kMostWidth = 340;
constexpr uint32_t kMostPrecision = 310;

enum LengthModifier : uint8_t { kPlain, kChar, kShort, kLong, kLongLong };

struct Directive {
  bool blank;
  bool characters;  // "!"
  bool alternate;   // "#"
  bool plus;
  bool left;
  bool zero;
  bool has_precision;
  LengthModifier length;
  uint32_t width;
  uint32_t precision;
  const Conversion* row;
};

// A va_list that can be handed on by pointer: where it is an array, a parameter of it is none.
struct ArgumentList {
  va_list list;
};

static bool* _vrel_string_find_flag(Directive* d, char flag) {
  switch (flag) {
    case ' ':
      return &d->blank;
    case '!':
      return &d->characters;
    case '#':
      return &d->alternate;
    case '+':
      return &d->plus;
    case '-':
      return &d->left;
    case '0':
      return &d->zero;
    default:
      return nullptr;
  }
}

static void _vrel_string_read_flags(const char** at, Directive* d) {
  for (bool* flag = _vrel_string_find_flag(d, **at); flag != nullptr;
       flag = _vrel_string_find_flag(d, **at)) {
    *flag = true;
    ++*at;
  }
}

// number: "*" or digits or nothing, which is 0. A "*" gives its absolute value and its sign.
static uint32_t _vrel_string_read_number(const char** at, ArgumentList* arguments, bool* negative) {
  if (**at == '*') {
    ++*at;
    const int value = va_arg(arguments->list, int);
    *negative = value < 0;
    return value < 0 ? 0 - static_cast<uint32_t>(value) : static_cast<uint32_t>(value);
  }
  uint64_t value = 0;
  for (; vrel_string_isdigit(static_cast<uint8_t>(**at)); ++*at) {
    if (value <= UINT32_MAX) value = value * 10 + static_cast<uint8_t>(**at) - '0';
  }
  return value < UINT32_MAX ? static_cast<uint32_t>(value) : UINT32_MAX;
}

static void _vrel_string_read_width(const char** at, ArgumentList* arguments, Directive* d) {
  bool negative = false;
  d->width = _vrel_string_read_number(at, arguments, &negative);
  if (d->width >= kMostWidth) d->width = kMostWidth;
  if (negative) d->left = true;
}

static void _vrel_string_read_precision(const char** at, ArgumentList* arguments, Directive* d) {
  d->has_precision = **at == '.';
  if (!d->has_precision) return;
  ++*at;
  bool ignored;
  d->precision = _vrel_string_read_number(at, arguments, &ignored);
}

// Whether the text at `at` is what an "h" can modify. A "%" is not: it begins the next directive.
static bool _vrel_string_can_be_modified(const char* at) {
  return *at != '%' && _vrel_string_find_conversion(*at) != nullptr;
}

// An "h" is a modifier before a letter, and else the letter itself.
static LengthModifier _vrel_string_read_length(const char** at) {
  const char* const text = *at;
  if (text[0] == 'l') {
    *at += text[1] == 'l' ? 2 : 1;
    return text[1] == 'l' ? kLongLong : kLong;
  }
  if (text[0] != 'h' || !_vrel_string_can_be_modified(text + 1)) return kPlain;
  const bool twice = text[1] == 'h' && _vrel_string_can_be_modified(text + 2);
  *at += twice ? 2 : 1;
  return twice ? kChar : kShort;
}

// directive: flag* number ["." number] ["l" | "ll" | "h" | "hh"] letter; false without a letter.
static bool _vrel_string_read_directive(const char** at, ArgumentList* arguments, Directive* d) {
  _vrel_string_read_flags(at, d);
  _vrel_string_read_width(at, arguments, d);
  _vrel_string_read_precision(at, arguments, d);
  d->length = _vrel_string_read_length(at);
  d->row = _vrel_string_find_conversion(**at);
  if (d->row == nullptr) return false;
  ++*at;
  const bool is_text = d->row->kind == kString || d->row->kind == kWord;
  if (!is_text && d->precision > kMostPrecision) d->precision = kMostPrecision;
  return true;
}

// -- fields ---------------------------------------------------------------------------------------

// What a directive prints between its padding: prefix, zeros, and the body so many times.
struct Field {
  const char* prefix;
  uint32_t prefix_bytes;
  uint32_t zeros;
  const char* body;
  size_t body_bytes;
  uint32_t repeat;
  size_t columns;  // what all of that takes of the width
};

static uint32_t _vrel_string_put(vrel_string_sink* sink, const char* bytes, size_t count) {
  return count != 0 ? sink->write(sink, bytes, count) : 0;
}

static uint32_t _vrel_string_put_repeated(vrel_string_sink* sink, const char* bytes, size_t count,
                                          uint32_t times) {
  uint32_t error = 0;
  for (; times > 0 && error == 0; --times) error = _vrel_string_put(sink, bytes, count);
  return error;
}

static uint32_t _vrel_string_put_fill(vrel_string_sink* sink, char fill, size_t count) {
  if (count == 0) return 0;
  char chunk[kVrelPrintfChunk];
  memset(chunk, fill, sizeof chunk);
  uint32_t error = 0;
  for (; count > sizeof chunk && error == 0; count -= sizeof chunk) {
    error = _vrel_string_put(sink, chunk, sizeof chunk);
  }
  return error == 0 ? _vrel_string_put(sink, chunk, count) : error;
}

static uint32_t _vrel_string_put_field(vrel_string_sink* sink, const Directive& d, const Field& f) {
  const size_t padding = d.width > f.columns ? d.width - f.columns : 0;
  const bool zero = d.zero && !d.left;
  uint32_t error = _vrel_string_put_fill(sink, ' ', d.left || zero ? 0 : padding);
  if (error == 0) error = _vrel_string_put(sink, f.prefix, f.prefix_bytes);
  if (error == 0) error = _vrel_string_put_fill(sink, '0', f.zeros + (zero ? padding : 0));
  if (error == 0) error = _vrel_string_put_repeated(sink, f.body, f.body_bytes, f.repeat);
  if (error == 0) error = _vrel_string_put_fill(sink, ' ', d.left ? padding : 0);
  return error;
}

static Field _vrel_string_make_field(const char* prefix, uint32_t zeros, const char* body,
                                     size_t body_bytes) {
  const auto prefix_bytes = static_cast<uint32_t>(strlen(prefix));
  return {prefix, prefix_bytes, zeros, body, body_bytes, 1, prefix_bytes + zeros + body_bytes};
}

static const char* _vrel_string_sign_text(const Directive& d, bool negative) {
  if (negative) return "-";
  if (d.plus) return "+";
  return d.blank ? " " : "";
}

// -- integers -------------------------------------------------------------------------------------

static int64_t _vrel_string_take_signed(ArgumentList* arguments, LengthModifier length) {
  switch (length) {
    case kLongLong:
      return va_arg(arguments->list, long long);
    case kLong:
      return va_arg(arguments->list, long);
    case kShort:
      return static_cast<int16_t>(va_arg(arguments->list, int));
    case kChar:
      return static_cast<int8_t>(va_arg(arguments->list, int));
    default:
      return va_arg(arguments->list, int);
  }
}

static uint64_t _vrel_string_take_unsigned(ArgumentList* arguments, LengthModifier length) {
  switch (length) {
    case kLongLong:
      return va_arg(arguments->list, unsigned long long);
    case kLong:
      return va_arg(arguments->list, unsigned long);
    case kShort:
      return static_cast<uint16_t>(va_arg(arguments->list, unsigned));
    case kChar:
      return static_cast<uint8_t>(va_arg(arguments->list, unsigned));
    default:
      return va_arg(arguments->list, unsigned);
  }
}

// A 0 of precision 0 has no digits at all.
static uint32_t _vrel_string_put_integer(vrel_string_sink* sink, Directive d, uint64_t value,
                                         const char* prefix) {
  constexpr uint32_t kMostDigits = 64;
  char digits[kMostDigits];
  uint32_t first = kMostDigits;
  for (uint64_t rest = value; rest != 0; rest /= d.row->base) {
    digits[--first] = kDigits[d.row->digits + rest % d.row->base];
  }
  const uint32_t count = kMostDigits - first;
  const uint32_t least = d.has_precision ? d.precision : 1;
  const uint32_t zeros = least > count ? least - count : 0;
  // A leading zero is all that the octal prefix asks for.
  if (d.row->base == 8 && zeros > 0) prefix = "";
  // A precision says where zeros go, so the flag "0" gives way to it.
  if (d.has_precision) d.zero = false;
  return _vrel_string_put_field(sink, d,
                                _vrel_string_make_field(prefix, zeros, digits + first, count));
}

static uint32_t _vrel_string_put_signed(vrel_string_sink* sink, const Directive& d, int64_t value) {
  const auto bits = static_cast<uint64_t>(value);
  return _vrel_string_put_integer(sink, d, value < 0 ? 0 - bits : bits,
                                  _vrel_string_sign_text(d, value < 0));
}

static uint32_t _vrel_string_put_unsigned(vrel_string_sink* sink, const Directive& d,
                                          uint64_t value) {
  return _vrel_string_put_integer(sink, d, value, d.alternate && value != 0 ? d.row->prefix : "");
}

// -- doubles --------------------------------------------------------------------------------------

constexpr uint32_t kDefaultPrecision = 6;
// The longest double: its integer digits, a locale's decimal point, the precision, a terminator.
constexpr uint32_t kDoubleBytes = 309 + 16 + kMostPrecision + 1;

static bool _vrel_string_is_number_byte(char byte) {
  return vrel_string_isdigit(static_cast<uint8_t>(byte)) || byte == 'e' || byte == 'E' ||
         byte == '\0';
}

// Replaces whatever bytes the locale took for its decimal point.
static void _vrel_string_set_decimal_point(char* text) {
  while (vrel_string_isdigit(static_cast<uint8_t>(*text))) ++text;
  if (_vrel_string_is_number_byte(*text)) return;
  char* rest = text;
  while (!_vrel_string_is_number_byte(*rest)) ++rest;
  *text = '.';
  memmove(text + 1, rest, strlen(rest) + 1);
}

static uint32_t _vrel_string_put_not_finite(vrel_string_sink* sink, Directive d, double value) {
  d.zero = false;
  const bool is_number = !std::isnan(value);
  const char* const sign = !is_number ? "" : value < 0 ? "-" : d.plus ? "+" : "";
  const char* const name = is_number ? "Inf" : "NaN";
  return _vrel_string_put_field(sink, d, _vrel_string_make_field(sign, 0, name, strlen(name)));
}

// The digits are the C library's: it rounds the exact value correctly at every precision.
static uint32_t _vrel_string_put_double(vrel_string_sink* sink, const Directive& d, double value) {
  if (!std::isfinite(value)) return _vrel_string_put_not_finite(sink, d, value);
  // Without a width the flag "-" changes nothing, so it can hold the place of "#".
  const char format[] = {'%', d.alternate ? '#' : '-', '.', '*', d.row->letter, '\0'};
  const uint32_t precision = d.has_precision ? d.precision : kDefaultPrecision;
  char text[kDoubleBytes];
  snprintf(text, sizeof text, format, static_cast<int>(precision), std::fabs(value));
  _vrel_string_set_decimal_point(text);
  const char* const sign = _vrel_string_sign_text(d, std::signbit(value));
  return _vrel_string_put_field(sink, d, _vrel_string_make_field(sign, 0, text, strlen(text)));
}

// -- texts ----------------------------------------------------------------------------------------

static size_t _vrel_string_columns_of(const Directive& d, const char* text, size_t bytes) {
  if (!d.characters) return bytes;
  size_t count = 0;
  for (const char* const end = text + bytes; text < end; ++count) text = vrel_string_charnext(text);
  return count;
}

// The precision in bytes, for a text that need not be terminated when it is longer than that.
static uint32_t _vrel_string_most_bytes(const Directive& d, const char* text) {
  if (!d.has_precision) return UINT32_MAX;
  if (!d.characters) return d.precision;
  return static_cast<uint32_t>(_utf8_skip_chars(text, d.precision) - text);
}

static uint32_t _vrel_string_put_text(vrel_string_sink* sink, Directive d, const char* text) {
  const bool is_word = d.row->kind == kWord;
  if (text == nullptr) text = "(null)";
  if (is_word) _vrel_string_find_word(text, 0, &text);
  const uint32_t most = _vrel_string_most_bytes(d, text);
  const size_t bytes = is_word ? _vrel_string_find_word(text, most, &text) : strnlen(text, most);
  d.zero = false;
  Field f = _vrel_string_make_field("", 0, text, bytes);
  f.columns = _vrel_string_columns_of(d, text, bytes);
  return _vrel_string_put_field(sink, d, f);
}

static uint32_t _vrel_string_put_character(vrel_string_sink* sink, Directive d,
                                           uint32_t character) {
  char bytes[kVrelUtf8MaxBytes];
  char* end = bytes;
  _utf8_set_next_char(&end, character);
  d.zero = false;
  Field f = _vrel_string_make_field("", 0, bytes, static_cast<size_t>(end - bytes));
  if (d.precision > 1) f.repeat = d.precision;
  f.columns = f.body_bytes * f.repeat;
  return _vrel_string_put_field(sink, d, f);
}

// -- the engine -----------------------------------------------------------------------------------

static uint32_t _vrel_string_put_directive(vrel_string_sink* sink, const Directive& d,
                                           ArgumentList* arguments) {
  switch (d.row->kind) {
    case kSigned:
      return _vrel_string_put_signed(sink, d, _vrel_string_take_signed(arguments, d.length));
    case kUnsigned:
      return _vrel_string_put_unsigned(sink, d, _vrel_string_take_unsigned(arguments, d.length));
    case kPointer:
      return _vrel_string_put_unsigned(sink, d,
                                       reinterpret_cast<uintptr_t>(va_arg(arguments->list, void*)));
    case kDouble:
      return _vrel_string_put_double(sink, d, va_arg(arguments->list, double));
    case kString:
    case kWord:
      return _vrel_string_put_text(sink, d, va_arg(arguments->list, const char*));
    case kCharacter:
      return _vrel_string_put_character(sink, d,
                                        static_cast<uint32_t>(va_arg(arguments->list, int)));
    case kPercent:
      return _vrel_string_put(sink, "%", 1);
  }
  return VREL_LOG_HERE(kVrelStringBadFormat);
}

static uint32_t _vrel_string_put_all(vrel_string_sink* sink, const char* format,
                                     ArgumentList* arguments) {
  for (;;) {
    const size_t literal = strcspn(format, "%");
    uint32_t error = _vrel_string_put(sink, format, literal);
    format += literal;
    if (error != 0 || *format == '\0') return error;
    ++format;
    Directive d = {};
    if (!_vrel_string_read_directive(&format, arguments, &d)) {
      return VREL_LOG_HERE(kVrelStringBadFormat);
    }
    error = _vrel_string_put_directive(sink, d, arguments);
    if (error != 0) return error;
  }
}

uint32_t _vrel_string_printf(vrel_string_sink* sink, const char* format, va_list arguments) {
  if (format == nullptr) return VREL_LOG_HERE(kVrelStringInvalidArg);
  ArgumentList list;
  va_copy(list.list, arguments);
  const uint32_t error = _vrel_string_put_all(sink, format, &list);
  va_end(list.list);
  return error;
}

// -- into a buffer --------------------------------------------------------------------------------

struct BufferSink : vrel_string_sink {
  char* to;
  uint32_t size;
  uint32_t length;  // of the whole text, at most kVrelStringMaxBytes, however much of it fits
};

static uint32_t _vrel_string_write_to_buffer(vrel_string_sink* sink, const char* bytes,
                                             size_t count) {
  auto* buffer = static_cast<BufferSink*>(sink);
  if (count > kVrelStringMaxBytes - buffer->length) return VREL_LOG_HERE(kVrelStringNoMemory);
  if (buffer->length < buffer->size) {
    const uint32_t room = buffer->size - buffer->length;
    memcpy(buffer->to + buffer->length, bytes, count < room ? count : room);
  }
  buffer->length += static_cast<uint32_t>(count);
  return 0;
}

int32_t vrel_string_vsnprintf(char* to, uint32_t size, const char* format, va_list arguments) {
  if (to == nullptr && size != 0) return static_cast<int32_t>(VREL_LOG_HERE(kVrelStringInvalidArg));
  BufferSink sink;
  sink.write = _vrel_string_write_to_buffer;
  sink.to = to;
  sink.size = size;
  sink.length = 0;
  const uint32_t error = _vrel_string_printf(&sink, format, arguments);
  const uint32_t length = error == 0 ? sink.length : 0;
  if (size != 0) to[length < size ? length : size - 1] = '\0';
  return static_cast<int32_t>(error == 0 ? length : error);
}

int32_t vrel_string_snprintf(char* to, uint32_t size, const char* format, ...) {
  va_list arguments;
  va_start(arguments, format);
  const int32_t result = vrel_string_vsnprintf(to, size, format, arguments);
  va_end(arguments);
  return result;
}

// -- as a new text --------------------------------------------------------------------------------

uint32_t _vrel_string_mvprintf(char** out, const char* format, va_list arguments) {
  if (out == nullptr) return VREL_LOG_HERE(kVrelStringInvalidArg);
  vrel_string_accum* accum = nullptr;
  uint32_t error = vrel_string_accum_create(&accum);
  if (error == 0) error = vrel_string_accum_append_vformat(accum, format, arguments);
  if (error == 0) error = vrel_string_accum_detach(accum, out);
  vrel_string_accum_delete(accum);
  return error;
}

char* vrel_string_vmprintf(const char* format, va_list arguments) {
  char* text = nullptr;
  return _vrel_string_mvprintf(&text, format, arguments) == 0 ? text : nullptr;
}

char* vrel_string_mprintf(const char* format, ...) {
  va_list arguments;
  va_start(arguments, format);
  char* const text = vrel_string_vmprintf(format, arguments);
  va_end(arguments);
  return text;
}
