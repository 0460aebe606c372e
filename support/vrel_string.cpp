// vrel_string: the module's start and stop; comparing, copying, measuring and searching text.
#include "vrel_string.h"

#include <atomic>
#include <cstring>

#include "vrel_error.h"
#include "vrel_memory.h"
#include "vrel_module.h"
#include "vrel_string_private.h"

static const char kSource[] = "vrel_string";
static const char kVersion[] = "2.0.0.94";

static vrel_module g_module;

// -- module ---------------------------------------------------------------------------------------

static uint32_t _vrel_string_setup() {
  return vrel_memory_initialize(nullptr);
}

static uint32_t _vrel_string_teardown() {
  return vrel_memory_shutdown();
}

uint32_t vrel_string_initialize() {
  return vrel_module_start(&g_module, _vrel_string_setup);
}

uint32_t vrel_string_shutdown() {
  return vrel_module_stop(&g_module, _vrel_string_teardown);
}

uint32_t vrel_string_initchecks() {
  return g_module.count.load(std::memory_order_acquire);
}

const char* vrel_string_get_version() {
  return kVersion;
}

// -- compare --------------------------------------------------------------------------------------

static int32_t _vrel_string_folded(char byte) {
  return static_cast<int32_t>(vrel_string_char_tolower(static_cast<uint8_t>(byte)));
}

static int32_t _vrel_string_null_order(const char* a, const char* b) {
  return (a != nullptr) - (b != nullptr);
}

bool vrel_string_equal(const char* a, const char* b, int fold) {
  if (a == b) return true;
  if (a == nullptr || b == nullptr) return false;
  return (fold != 0 ? vrel_string_stricmp(a, b) : strcmp(a, b)) == 0;
}

int32_t vrel_string_strcmp(const char* a, const char* b) {
  return a && b ? strcmp(a, b) : _vrel_string_null_order(a, b);
}

int32_t vrel_string_stricmp(const char* a, const char* b) {
  return vrel_string_strnicmp(a, b, UINT32_MAX);
}

int32_t vrel_string_strncmp(const char* a, const char* b, uint32_t bytes) {
  return a && b ? strncmp(a, b, bytes) : _vrel_string_null_order(a, b);
}

int32_t vrel_string_strnicmp(const char* a, const char* b, uint32_t bytes) {
  if (a == nullptr || b == nullptr) return _vrel_string_null_order(a, b);
  for (uint32_t i = 0; i < bytes; ++i) {
    const int32_t difference = _vrel_string_folded(a[i]) - _vrel_string_folded(b[i]);
    if (difference != 0 || a[i] == '\0') return difference;
  }
  return 0;
}

static int32_t _vrel_string_length_order(uint32_t a_bytes, uint32_t b_bytes) {
  return (a_bytes > b_bytes) - (a_bytes < b_bytes);
}

int32_t vrel_string_strcmp_len(const char* a, uint32_t a_bytes, const char* b, uint32_t b_bytes) {
  if (a == nullptr || b == nullptr) return _vrel_string_null_order(a, b);
  const int32_t order = memcmp(a, b, a_bytes < b_bytes ? a_bytes : b_bytes);
  return order != 0 ? order : _vrel_string_length_order(a_bytes, b_bytes);
}

int32_t vrel_string_stricmp_len(const char* a, uint32_t a_bytes, const char* b, uint32_t b_bytes) {
  if (a == nullptr || b == nullptr) return _vrel_string_null_order(a, b);
  for (uint32_t i = 0; i < a_bytes && i < b_bytes; ++i) {
    const int32_t difference = _vrel_string_folded(a[i]) - _vrel_string_folded(b[i]);
    if (difference != 0) return difference;
  }
  return _vrel_string_length_order(a_bytes, b_bytes);
}

// -- copy and allocate ----------------------------------------------------------------------------

uint32_t vrel_string_strcpy(char* to, const char* from) {
  if (to == nullptr || from == nullptr) return VREL_LOG_HERE(kVrelStringInvalidArg);
  memmove(to, from, strlen(from) + 1);
  return 0;
}

uint32_t vrel_string_strcat(char* to, const char* from) {
  if (to == nullptr) return VREL_LOG_HERE(kVrelStringInvalidArg);
  return vrel_string_strcpy(to + strlen(to), from);
}

uint32_t vrel_string_strncpy(char* to, const char* from, uint32_t size) {
  if (to == nullptr || from == nullptr || size == 0) return VREL_LOG_HERE(kVrelStringInvalidArg);
  const size_t bytes = strnlen(from, size - 1);
  memmove(to, from, bytes);
  to[bytes] = '\0';
  return 0;
}

uint32_t vrel_string_strncat(char* to, const char* from, uint32_t size) {
  const uint32_t used = to != nullptr ? static_cast<uint32_t>(strnlen(to, size)) : 0;
  return vrel_string_strncpy(to == nullptr ? nullptr : to + used, from, size - used);
}

static char* _vrel_string_new_text(const char* bytes, size_t count) {
  char* const text =
      count <= kVrelStringMaxBytes ? static_cast<char*>(vrel_memory_alloc(count + 1)) : nullptr;
  if (text == nullptr) {
    VREL_LOG_HERE(kVrelStringNoMemory);
    return nullptr;
  }
  memcpy(text, bytes, count);
  text[count] = '\0';
  return text;
}

char* vrel_string_strdup(const char* text) {
  return text != nullptr ? _vrel_string_new_text(text, strlen(text)) : nullptr;
}

char* vrel_string_strndup(const char* text, uint32_t bytes) {
  return text != nullptr ? _vrel_string_new_text(text, strnlen(text, bytes)) : nullptr;
}

char* vrel_string_strdupn(const char* text, uint32_t chars) {
  if (text == nullptr) return nullptr;
  return _vrel_string_new_text(text, static_cast<size_t>(_utf8_skip_chars(text, chars) - text));
}

uint32_t _vrel_string_find_word(const char* text, uint32_t limit, const char** begin) {
  const auto* at = reinterpret_cast<const uint8_t*>(text);
  while (*at >= 1 && *at <= 32) ++at;
  *begin = reinterpret_cast<const char*>(at);
  uint32_t bytes = 0;
  while (bytes < limit && at[bytes] > 32) ++bytes;
  return bytes;
}

char* vrel_string_worddup(const char* text) {
  if (text == nullptr) return nullptr;
  const char* word;
  const uint32_t bytes = _vrel_string_find_word(text, UINT32_MAX, &word);
  return _vrel_string_new_text(word, bytes);
}

void vrel_string_free(const void* text) {
  vrel_memory_free(const_cast<void*>(text));
}

// -- measure and test -----------------------------------------------------------------------------

uint32_t vrel_string_byteclen(const char* text) {
  return text != nullptr ? static_cast<uint32_t>(strnlen(text, UINT32_MAX)) : 0;
}

bool vrel_string_isempty(const char* text) {
  return text == nullptr || *text == '\0';
}

// -- search ---------------------------------------------------------------------------------------

// A character as a text of its own; false for what is no character.
static bool _vrel_string_make_char_text(uint32_t character, char (&out)[kVrelUtf8MaxBytes + 1]) {
  if (!_utf8_is_character(character)) return false;
  out[vrel_string_setchar(out, character)] = '\0';
  return true;
}

const char* vrel_string_strchr(const char* text, uint32_t character) {
  if (text == nullptr) return nullptr;
  if (character < 0x80) return strchr(text, static_cast<int>(character));
  char sought[kVrelUtf8MaxBytes + 1];
  return _vrel_string_make_char_text(character, sought) ? strstr(text, sought) : nullptr;
}

const char* vrel_string_strrchr(const char* text, uint32_t character) {
  if (text == nullptr) return nullptr;
  if (character < 0x80) return strrchr(text, static_cast<int>(character));
  char sought[kVrelUtf8MaxBytes + 1];
  if (!_vrel_string_make_char_text(character, sought)) return nullptr;
  return vrel_string_strrstr(text, sought);
}

const char* vrel_string_strstr(const char* text, const char* sought) {
  return text != nullptr && sought != nullptr ? strstr(text, sought) : nullptr;
}

const char* vrel_string_strrstr(const char* text, const char* sought) {
  if (text == nullptr || sought == nullptr) return nullptr;
  if (*sought == '\0') return text + strlen(text);
  const char* last = nullptr;
  for (const char* at = strstr(text, sought); at != nullptr; at = strstr(at + 1, sought)) last = at;
  return last;
}

char* vrel_string_strtok(char* text, const char* delimiters, char** state) {
  if (delimiters == nullptr || state == nullptr) return nullptr;
  if (text == nullptr && *state == nullptr) return nullptr;
  return strtok_r(text, delimiters, state);
}
