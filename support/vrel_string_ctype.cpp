// vrel_string_ctype: the classes of characters, which are ASCII's and no locale's.
#include "vrel_string.h"

static bool _vrel_string_is_between(uint32_t character, char first, char last) {
  return character >= static_cast<uint8_t>(first) && character <= static_cast<uint8_t>(last);
}

static bool _vrel_string_is_letter(uint32_t character) {
  return vrel_string_islower(character) || vrel_string_isupper(character);
}

bool vrel_string_isalnum(uint32_t character) {
  return _vrel_string_is_letter(character) || vrel_string_isdigit(character);
}

bool vrel_string_isdigit(uint32_t character) {
  return _vrel_string_is_between(character, '0', '9');
}

bool vrel_string_isspace(uint32_t character) {
  return character == ' ' || _vrel_string_is_between(character, '\t', '\r');
}

bool vrel_string_isxdigit(uint32_t character) {
  return vrel_string_isdigit(character) || _vrel_string_is_between(character, 'a', 'f') ||
         _vrel_string_is_between(character, 'A', 'F');
}

bool vrel_string_isprint(uint32_t character) {
  return _vrel_string_is_between(character, ' ', '~');
}

bool vrel_string_islower(uint32_t character) {
  return _vrel_string_is_between(character, 'a', 'z');
}

bool vrel_string_isupper(uint32_t character) {
  return _vrel_string_is_between(character, 'A', 'Z');
}

uint32_t vrel_string_char_tolower(uint32_t character) {
  return vrel_string_isupper(character) ? character + ('a' - 'A') : character;
}

uint32_t vrel_string_char_toupper(uint32_t character) {
  return vrel_string_islower(character) ? character - ('a' - 'A') : character;
}
