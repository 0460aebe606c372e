// vrel_string_accum: a text that grows at its end.
#include <cstring>

#include "vrel_error.h"
#include "vrel_memory.h"
#include "vrel_string.h"
#include "vrel_string_private.h"
#include "vrel_tuning.h"

static const char kSource[] = "vrel_string_accum";

constexpr uint32_t kFirstSize = kVrelAccumFirstSize;

struct vrel_string_accum {
  char* data;       // `length` bytes and a terminator; null until there is something to hold
  uint32_t length;  // at most kVrelStringMaxBytes
  uint32_t size;    // of the block at `data`
};

uint32_t vrel_string_accum_create(vrel_string_accum** out) {
  if (out == nullptr) return VREL_LOG_HERE(kVrelStringInvalidArg);
  auto* accum = static_cast<vrel_string_accum*>(vrel_memory_calloc(1, sizeof(vrel_string_accum)));
  if (accum == nullptr) return VREL_LOG_HERE(kVrelStringNoMemory);
  *out = accum;
  return 0;
}

// By half of the size, so that all appends together copy a text three times at most.
static uint32_t _vrel_string_grown_size(uint32_t size, uint32_t needed) {
  const uint64_t grown = uint64_t{size} + size / 2;
  if (grown < needed) return needed < kFirstSize ? kFirstSize : needed;
  return grown > kVrelStringMaxBytes ? kVrelStringMaxBytes + 1 : static_cast<uint32_t>(grown);
}

// Makes room for `more` bytes and the terminator; false when there is none to be had.
static bool _vrel_string_reserve(vrel_string_accum* accum, size_t more) {
  if (more > kVrelStringMaxBytes - accum->length) return false;
  const uint32_t needed = accum->length + static_cast<uint32_t>(more) + 1;
  if (needed <= accum->size) return true;
  const uint32_t size = _vrel_string_grown_size(accum->size, needed);
  void* const block = vrel_memory_realloc(accum->data, size);
  if (block == nullptr) return false;
  accum->data = static_cast<char*>(block);
  accum->size = size;
  return true;
}

static uint32_t _vrel_string_append(vrel_string_accum* accum, const char* bytes, size_t count) {
  if (!_vrel_string_reserve(accum, count)) return VREL_LOG_HERE(kVrelStringNoMemory);
  if (count != 0) memcpy(accum->data + accum->length, bytes, count);
  accum->length += static_cast<uint32_t>(count);
  accum->data[accum->length] = '\0';
  return 0;
}

uint32_t vrel_string_accum_append(vrel_string_accum* accum, const char* text) {
  if (accum == nullptr || text == nullptr) return VREL_LOG_HERE(kVrelStringInvalidArg);
  return _vrel_string_append(accum, text, strlen(text));
}

uint32_t vrel_string_accum_append_chars(vrel_string_accum* accum, const char* text,
                                        uint32_t chars) {
  if (accum == nullptr || text == nullptr) return VREL_LOG_HERE(kVrelStringInvalidArg);
  return _vrel_string_append(accum, text,
                             static_cast<size_t>(_utf8_skip_chars(text, chars) - text));
}

uint32_t vrel_string_accum_append_bytes(vrel_string_accum* accum, const char* bytes,
                                        uint32_t count) {
  if (accum == nullptr || (bytes == nullptr && count != 0)) {
    return VREL_LOG_HERE(kVrelStringInvalidArg);
  }
  return _vrel_string_append(accum, bytes, count);
}

struct AccumSink : vrel_string_sink {
  vrel_string_accum* accum;
};

static uint32_t _vrel_string_write_to_accum(vrel_string_sink* sink, const char* bytes,
                                            size_t count) {
  return _vrel_string_append(static_cast<AccumSink*>(sink)->accum, bytes, count);
}

uint32_t vrel_string_accum_append_vformat(vrel_string_accum* accum, const char* format,
                                          va_list arguments) {
  if (accum == nullptr) return VREL_LOG_HERE(kVrelStringInvalidArg);
  const uint32_t before = accum->length;
  AccumSink sink;
  sink.write = _vrel_string_write_to_accum;
  sink.accum = accum;
  const uint32_t error = _vrel_string_printf(&sink, format, arguments);
  if (error != 0 && accum->data != nullptr) {
    accum->length = before;
    accum->data[before] = '\0';
  }
  return error;
}

uint32_t vrel_string_accum_append_format(vrel_string_accum* accum, const char* format, ...) {
  va_list arguments;
  va_start(arguments, format);
  const uint32_t error = vrel_string_accum_append_vformat(accum, format, arguments);
  va_end(arguments);
  return error;
}

const char* vrel_string_accum_data(const vrel_string_accum* accum) {
  return accum != nullptr && accum->data != nullptr ? accum->data : "";
}

uint32_t vrel_string_accum_length(const vrel_string_accum* accum) {
  return accum != nullptr ? accum->length : 0;
}

uint32_t vrel_string_accum_detach(vrel_string_accum* accum, char** out) {
  if (accum == nullptr || out == nullptr) return VREL_LOG_HERE(kVrelStringInvalidArg);
  // Even an empty text needs its terminator.
  const uint32_t error = _vrel_string_append(accum, "", 0);
  if (error != 0) return error;
  *out = accum->data;
  *accum = {};
  return 0;
}

void vrel_string_accum_clear(vrel_string_accum* accum) {
  if (accum == nullptr || accum->data == nullptr) return;
  accum->length = 0;
  accum->data[0] = '\0';
}

void vrel_string_accum_delete(vrel_string_accum* accum) {
  if (accum == nullptr) return;
  vrel_memory_free(accum->data);
  vrel_memory_free(accum);
}
