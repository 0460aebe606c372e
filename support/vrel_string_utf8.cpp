// vrel_string_utf8: characters in UTF-8 text: reading, writing, counting and cutting between them.
#include <cstring>

#include "vrel_error.h"
#include "vrel_string.h"
#include "vrel_string_private.h"

static const char kSource[] = "vrel_string_utf8";

static bool _utf8_is_continuation(uint8_t byte) {
  return (byte & 0xc0) == 0x80;
}

// How many bytes must follow a first byte; 0 for ASCII and for bytes that begin nothing.
static uint32_t _utf8_bytes_to_follow(uint8_t first) {
  if (first < 0xc0) return 0;
  if (first < 0xe0) return 1;
  if (first < 0xf0) return 2;
  return first < 0xf8 ? 3 : 0;
}

// Reads one character and answers its size, 0 when there is none. A terminator is no continuation,
// so nothing behind it is ever looked at.
static uint32_t _utf8_read_char(const char* text, uint32_t* out) {
  static const uint32_t kLeastOfSize[] = {0, 0x80, 0x800, 0x10000};
  const auto* bytes = reinterpret_cast<const uint8_t*>(text);
  if (bytes[0] < 0x80) {
    *out = bytes[0];
    return 1;
  }
  const uint32_t follow = _utf8_bytes_to_follow(bytes[0]);
  if (follow == 0) return 0;
  uint32_t code = bytes[0] & (0x3fu >> follow);
  for (uint32_t i = 1; i <= follow; ++i) {
    if (!_utf8_is_continuation(bytes[i])) return 0;
    code = code << 6 | (bytes[i] & 0x3fu);
  }
  // Each character has one form only, the shortest.
  if (code < kLeastOfSize[follow] || !_utf8_is_character(code)) return 0;
  *out = code;
  return follow + 1;
}

uint32_t _utf8_get_next_char(const char** at, uint32_t* out) {
  uint32_t code = 0;
  const uint32_t size = _utf8_read_char(*at, &code);
  if (size == 0) {
    ++*at;
    return kVrelStringBadUtf8;
  }
  if (code != 0) *at += size;
  *out = code;
  return 0;
}

uint32_t vrel_string_setchar(char* to, uint32_t character) {
  uint32_t code = _utf8_is_character(character) ? character : kVrelReplacementChar;
  if (code < 0x80) {
    *to = static_cast<char>(code);
    return 1;
  }
  const uint32_t size = code < 0x800 ? 2 : code < 0x10000 ? 3 : 4;
  for (uint32_t i = size - 1; i > 0; --i) {
    to[i] = static_cast<char>(0x80 | (code & 0x3f));
    code >>= 6;
  }
  // As many ones from the top as there are bytes.
  const uint32_t size_mark = 0xf00u >> size & 0xffu;
  to[0] = static_cast<char>(size_mark | code);
  return size;
}

void _utf8_set_next_char(char** at, uint32_t character) {
  *at += vrel_string_setchar(*at, character);
}

const char* vrel_string_charnext(const char* text) {
  if (text == nullptr || *text == '\0') return text;
  uint32_t ignored;
  const uint32_t size = _utf8_read_char(text, &ignored);
  return text + (size == 0 ? 1 : size);
}

uint32_t vrel_string_nextcharsize(const char* text) {
  return static_cast<uint32_t>(vrel_string_charnext(text) - text);
}

const char* _utf8_skip_chars(const char* text, uint32_t chars) {
  for (; chars > 0 && *text != '\0'; --chars) text = vrel_string_charnext(text);
  return text;
}

uint32_t vrel_string_charnlen(const char* text, uint32_t chars) {
  if (text == nullptr) return 0;
  uint32_t count = 0;
  for (; count < chars && *text != '\0'; ++count) text = vrel_string_charnext(text);
  return count;
}

uint32_t vrel_string_charlen(const char* text) {
  return vrel_string_charnlen(text, UINT32_MAX);
}

bool vrel_string_isvalid(const char* text) {
  if (text == nullptr) return false;
  uint32_t code = 1;
  while (code != 0) {
    if (_utf8_get_next_char(&text, &code) != 0) return false;
  }
  return true;
}

int32_t _vrel_string_utf8_compare(const char* a, const char* b, uint32_t chars, int fold) {
  const uint32_t a_bytes = a ? static_cast<uint32_t>(_utf8_skip_chars(a, chars) - a) : 0;
  const uint32_t b_bytes = b ? static_cast<uint32_t>(_utf8_skip_chars(b, chars) - b) : 0;
  return fold != 0 ? vrel_string_stricmp_len(a, a_bytes, b, b_bytes)
                   : vrel_string_strcmp_len(a, a_bytes, b, b_bytes);
}

uint32_t _vrel_string_utf8_copy(char* to, uint32_t size, const char* from, uint32_t chars) {
  if (to == nullptr || from == nullptr || size == 0) return VREL_LOG_HERE(kVrelStringInvalidArg);
  uint32_t used = 0;
  for (; chars > 0; --chars) {
    const uint32_t bytes = vrel_string_nextcharsize(from + used);
    if (bytes == 0 || bytes >= size - used) break;
    used += bytes;
  }
  memmove(to, from, used);
  to[used] = '\0';
  return 0;
}

static void _utf8_reverse_bytes(char* from, char* end) {
  while (from < end) {
    const char first = *from;
    *from++ = *--end;
    *end = first;
  }
}

uint32_t vrel_string_reverse(char* text) {
  if (text == nullptr) return VREL_LOG_HERE(kVrelStringInvalidArg);
  char* end = text;
  while (*end != '\0') {
    char* const start = end;
    end += vrel_string_nextcharsize(start);
    _utf8_reverse_bytes(start, end);
  }
  // The bytes of each character stand backwards now, so this puts them right again.
  _utf8_reverse_bytes(text, end);
  return 0;
}
