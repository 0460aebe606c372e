// vrel_string_private: what the sources of the string module share with each other.
#ifndef VREL_STRING_PRIVATE_H
#define VREL_STRING_PRIVATE_H

#include <cstdarg>
#include <cstddef>
#include <cstdint>

// A code point that UTF-8 can carry.
constexpr bool _utf8_is_character(uint32_t code) {
  return code <= 0x10ffff && (code < 0xd800 || code > 0xdfff);
}

// The place behind `chars` characters, or the terminator when that comes first.
const char* _utf8_skip_chars(const char* text, uint32_t chars);

// Where formatted output goes, piece by piece. A code other than 0 ends the output.
struct vrel_string_sink {
  uint32_t (*write)(vrel_string_sink* sink, const char* bytes, size_t count);
};

// The engine behind everything that formats: linear in its output, with a bounded stack. What it
// wrote before a failure stays with the sink.
// Codes: 0, kVrelStringInvalidArg, kVrelStringBadFormat, the sink's.
[[nodiscard]] uint32_t _vrel_string_printf(vrel_string_sink* sink, const char* format,
                                           va_list arguments);

// The first word of a text, of `limit` bytes at most: it begins behind all bytes of 1 to 32 and
// ends before the next byte of 32 or below. Gives where it begins and answers its length.
uint32_t _vrel_string_find_word(const char* text, uint32_t limit, const char** begin);

#endif  // VREL_STRING_PRIVATE_H
