// vrel_string_ucs2: text of 16-bit units to and from UTF-8.
#include <cstring>

#include "vrel_error.h"
#include "vrel_memory.h"
#include "vrel_string.h"

static const char kSource[] = "vrel_string_ucs2";

static bool _vrel_string_is_high_surrogate(uint32_t unit) {
  return unit >= 0xd800 && unit <= 0xdbff;
}
static bool _vrel_string_is_low_surrogate(uint32_t unit) {
  return unit >= 0xdc00 && unit <= 0xdfff;
}

// Writes a character as one unit or two and answers how many.
static uint32_t _vrel_string_set_units(uint16_t* to, uint32_t character) {
  if (character < 0x10000) {
    to[0] = static_cast<uint16_t>(character);
    return 1;
  }
  const uint32_t rest = character - 0x10000;
  to[0] = static_cast<uint16_t>(0xd800 + (rest >> 10));
  to[1] = static_cast<uint16_t>(0xdc00 + (rest & 0x3ff));
  return 2;
}

// Writes a text with its terminator, or nothing at all when `to` is null; the units it takes.
static uint64_t _vrel_string_widen(const char* text, uint16_t* to) {
  uint64_t count = 0;
  uint32_t character;
  do {
    if (_utf8_get_next_char(&text, &character) != 0) character = kVrelReplacementChar;
    uint16_t units[2];
    const uint32_t size = _vrel_string_set_units(units, character);
    if (to != nullptr) memcpy(to + count, units, size * sizeof *to);
    count += size;
  } while (character != 0);
  return count;
}

uint32_t vrel_string_utf8_to_ucs2(const char* text, uint16_t** out) {
  if (text == nullptr || out == nullptr) return VREL_LOG_HERE(kVrelStringInvalidArg);
  const uint64_t bytes = _vrel_string_widen(text, nullptr) * sizeof **out;
  void* const block =
      bytes <= kVrelStringMaxBytes ? vrel_memory_alloc(static_cast<size_t>(bytes)) : nullptr;
  if (block == nullptr) return VREL_LOG_HERE(kVrelStringNoMemory);
  *out = static_cast<uint16_t*>(block);
  _vrel_string_widen(text, *out);
  return 0;
}

static uint32_t _vrel_string_next_character(const uint16_t** at) {
  const uint32_t unit = *(*at)++;
  if (_vrel_string_is_high_surrogate(unit) && _vrel_string_is_low_surrogate(**at)) {
    const uint32_t low = *(*at)++;
    return 0x10000 + ((unit - 0xd800) << 10) + (low - 0xdc00);
  }
  return _vrel_string_is_high_surrogate(unit) || _vrel_string_is_low_surrogate(unit)
             ? kVrelReplacementChar
             : unit;
}

int32_t vrel_string_ucs2_to_utf8_buf(const uint16_t* wide, char* to, uint32_t size) {
  if (wide == nullptr || (to == nullptr && size != 0)) {
    return static_cast<int32_t>(VREL_LOG_HERE(kVrelStringInvalidArg));
  }
  uint64_t length = 0;
  uint32_t used = 0;
  bool cut = size == 0;
  while (*wide != 0) {
    char bytes[kVrelUtf8MaxBytes];
    const uint32_t count = vrel_string_setchar(bytes, _vrel_string_next_character(&wide));
    length += count;
    // Nothing follows a character that was left out, not even a shorter one.
    cut = cut || count >= size - used;
    if (cut) continue;
    memcpy(to + used, bytes, count);
    used += count;
  }
  if (length > kVrelStringMaxBytes) used = 0;
  if (size != 0) to[used] = '\0';
  if (length > kVrelStringMaxBytes) return static_cast<int32_t>(VREL_LOG_HERE(kVrelStringNoMemory));
  return static_cast<int32_t>(length);
}

uint32_t vrel_string_ucs2_to_utf8(const uint16_t* wide, char** out) {
  if (wide == nullptr || out == nullptr) return VREL_LOG_HERE(kVrelStringInvalidArg);
  const int32_t length = vrel_string_ucs2_to_utf8_buf(wide, nullptr, 0);
  if (length < 0) return static_cast<uint32_t>(length);
  const uint32_t size = static_cast<uint32_t>(length) + 1;
  char* const text = static_cast<char*>(vrel_memory_alloc(size));
  if (text == nullptr) return VREL_LOG_HERE(kVrelStringNoMemory);
  vrel_string_ucs2_to_utf8_buf(wide, text, size);
  *out = text;
  return 0;
}
