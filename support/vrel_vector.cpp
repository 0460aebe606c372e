// vrel_vector: a growable array of values the size of a pointer.
#include "vrel_vector.h"

#include <string.h>

#include "vrel_array_private.h"
#include "vrel_error.h"
#include "vrel_layout.h"
#include "vrel_memory.h"
#include "vrel_sort.h"
#include "vrel_thread.h"

static const char kSource[] = "vrel_vector";

static constexpr uint32_t kMagic = 0xabcdef12u;

struct vrel_vector {
  uint32_t magic;
  vrel_critsec* lock;  // guards the rest, behind its owner's locks; null unless thread safe
  uintptr_t* data;
  uint32_t capacity;
  uint32_t count;
  uint32_t flags;
  vrel_vector_compare compare;  // may be null
  vrel_vector_release release;  // may be null
};
VREL_LAYOUT_FIELD(vrel_vector, magic, 0);
VREL_LAYOUT_FIELD(vrel_vector, lock, 4);
VREL_LAYOUT_FIELD(vrel_vector, data, 8);
VREL_LAYOUT_FIELD(vrel_vector, capacity, 12);
VREL_LAYOUT_FIELD(vrel_vector, count, 16);
VREL_LAYOUT_FIELD(vrel_vector, flags, 20);
VREL_LAYOUT_FIELD(vrel_vector, compare, 24);
VREL_LAYOUT_FIELD(vrel_vector, release, 28);

// 0, or the code for a handle that cannot be used; `bad_handle` is the caller's code for the magic.
static uint32_t _vrel_vector_check(const vrel_vector* vector, uint32_t bad_handle) {
  if (vector == nullptr) return kVrelInvalidArg;
  return vector->magic == kMagic ? 0 : bad_handle;
}

// Opens a public operation: checks the handle and holds its lock until the end of the scope.
#define ENTER(vector, bad_handle)                                        \
  if (const uint32_t bad = _vrel_vector_check((vector), (bad_handle))) { \
    return VREL_LOG_HERE(bad);                                           \
  }                                                                      \
  const vrel_critsec_guard guard((vector)->lock);                        \
  if (guard.error() != 0) return guard.error()

// ---- Comparing and searching ----

static int32_t _vrel_vector_order(const vrel_vector* vector, uintptr_t a, uintptr_t b,
                                  bool literal) {
  if (vector->compare != nullptr) {
    const int32_t result = vector->compare(a, b);
    if (result != 0 || !literal) return result;
  }
  return (a > b) - (a < b);
}

// Values that the comparison calls equal are sorted as numbers, so that a literal search may rely
// on the order.
static int32_t _vrel_vector_sort_order(const void* a, const void* b, void* context) {
  return _vrel_vector_order(static_cast<const vrel_vector*>(context),
                            *static_cast<const uintptr_t*>(a), *static_cast<const uintptr_t*>(b),
                            true);
}

static bool _vrel_vector_is_sorted(const vrel_vector* vector) {
  return (vector->flags & kVrelSorted) != 0;
}

static uint32_t _vrel_vector_search(const vrel_vector* vector, uintptr_t value, bool literal,
                                    uint32_t* out_index) {
  ENTER(vector, kVrelBadHandle2);
  const auto order = [=](uint32_t i) {
    return _vrel_vector_order(vector, vector->data[i], value, literal);
  };
  const vrel_search hit = _vrel_search_lowest(_vrel_vector_is_sorted(vector), vector->count, order);
  if (!hit.found) return kVrelNotFound;
  if (out_index != nullptr) *out_index = hit.index;
  return 0;
}

// ---- Growing and placing ----

static uint32_t _vrel_vector_set_capacity(vrel_vector* vector, uint32_t capacity) {
  const uint64_t bytes = uint64_t{capacity} * sizeof(uintptr_t);
  if (bytes > UINT32_MAX) return VREL_LOG_HERE(kVrelNoMemory);
  void* data = vrel_memory_realloc(vector->data, static_cast<size_t>(bytes));
  if (data == nullptr) return VREL_LOG_HERE(kVrelNoMemory);
  vector->data = static_cast<uintptr_t*>(data);
  vector->capacity = capacity;
  return 0;
}

static uint32_t _vrel_vector_place(vrel_vector* vector, uint32_t index, uintptr_t value) {
  if (vector->count == vector->capacity) {
    const uint32_t grown =
        _vrel_array_grown(vector->capacity, uint64_t{vector->count} + 1, sizeof(uintptr_t));
    if (grown == 0) return VREL_LOG_HERE(kVrelNoMemory);
    const uint32_t error = _vrel_vector_set_capacity(vector, grown);
    if (error != 0) return error;
  }
  uintptr_t* place = vector->data + index;
  memmove(place + 1, place, (vector->count - index) * sizeof(uintptr_t));
  *place = value;
  ++vector->count;
  return 0;
}

// Clears the sorted flag when the value at `index` stands wrong beside its neighbours.
static void _vrel_vector_check_order(vrel_vector* vector, uint32_t index) {
  if (!_vrel_vector_is_sorted(vector)) return;
  const uintptr_t* place = vector->data + index;
  const bool below_previous =
      index > 0 && _vrel_vector_order(vector, place[0], place[-1], true) < 0;
  const bool above_next =
      index + 1 < vector->count && _vrel_vector_order(vector, place[1], place[0], true) < 0;
  if (below_previous || above_next) vector->flags &= ~kVrelSorted;
}

static uintptr_t _vrel_vector_take(vrel_vector* vector, uint32_t index) {
  uintptr_t* place = vector->data + index;
  const uintptr_t value = *place;
  memmove(place, place + 1, (vector->count - index - 1) * sizeof(uintptr_t));
  --vector->count;
  return value;
}

// ---- Create and delete ----

uint32_t vrel_vector_create(vrel_vector** out, uint32_t flags, vrel_vector_compare compare,
                            vrel_vector_release release) {
  if (vrel_datatypes_initchecks() == 0) return VREL_LOG_HERE(kVrelNotInited);
  if (out == nullptr) return VREL_LOG_HERE(kVrelInvalidArg);
  auto* vector = static_cast<vrel_vector*>(vrel_memory_calloc(1, sizeof(vrel_vector)));
  if (vector == nullptr) return VREL_LOG_HERE(kVrelNoMemory);
  if ((flags & kVrelThreadSafe) != 0) {
    const uint32_t error = vrel_thread_critsec_create(&vector->lock);
    if (error != 0) {
      vrel_memory_free(vector);
      return error;
    }
  }
  vector->flags = flags;
  vector->compare = compare;
  vector->release = release;
  vector->magic = kMagic;
  *out = vector;
  return 0;
}

uint32_t vrel_vector_delete(vrel_vector* vector) {
  const uint32_t error = vrel_vector_clear(vector);
  if (error != 0) return error;
  if (vector->lock != nullptr) (void)vrel_thread_critsec_delete(vector->lock);
  vector->magic = 0;
  vrel_memory_free(vector->data);
  vrel_memory_free(vector);
  return 0;
}

// ---- Add, find, remove ----

uint32_t vrel_vector_add(vrel_vector* vector, uintptr_t value) {
  ENTER(vector, kVrelBadHandle);
  uint32_t index = vector->count;
  if (_vrel_vector_is_sorted(vector)) {
    const auto order = [=](uint32_t i) {
      return _vrel_vector_order(vector, vector->data[i], value, true);
    };
    index = _vrel_search_sorted(vector->count, order).index;
  }
  return _vrel_vector_place(vector, index, value);
}

uint32_t vrel_vector_insert(vrel_vector* vector, uint32_t index, uintptr_t value) {
  ENTER(vector, kVrelBadHandle);
  if (index > vector->count) return kVrelOutOfRange;
  const uint32_t error = _vrel_vector_place(vector, index, value);
  if (error == 0) _vrel_vector_check_order(vector, index);
  return error;
}

uint32_t vrel_vector_getindex(const vrel_vector* vector, uint32_t index, uintptr_t* out_value) {
  if (out_value == nullptr) return VREL_LOG_HERE(kVrelInvalidArg);
  ENTER(vector, kVrelBadHandle2);
  if (index >= vector->count) return kVrelOutOfRange;
  *out_value = vector->data[index];
  return 0;
}

uint32_t vrel_vector_count(const vrel_vector* vector, uint32_t* out_count) {
  if (out_count == nullptr) return VREL_LOG_HERE(kVrelInvalidArg);
  ENTER(vector, kVrelBadHandle2);
  *out_count = vector->count;
  return 0;
}

uint32_t vrel_vector_find(const vrel_vector* vector, uintptr_t value, uint32_t* out_index) {
  return _vrel_vector_search(vector, value, false, out_index);
}
uint32_t vrel_vector_find_literal(const vrel_vector* vector, uintptr_t value, uint32_t* out_index) {
  return _vrel_vector_search(vector, value, true, out_index);
}

uint32_t vrel_vector_removeindex(vrel_vector* vector, uint32_t index, uintptr_t* out_value) {
  ENTER(vector, kVrelBadHandle2);
  if (index >= vector->count) return kVrelOutOfRange;
  const uintptr_t value = _vrel_vector_take(vector, index);
  if (out_value != nullptr) *out_value = value;
  return 0;
}

uint32_t vrel_vector_deleteindex(vrel_vector* vector, uint32_t index) {
  ENTER(vector, kVrelBadHandle2);
  if (index >= vector->count) return kVrelOutOfRange;
  const uintptr_t value = _vrel_vector_take(vector, index);
  if (vector->release != nullptr) vector->release(value);
  return 0;
}

// ---- Bulk ----

uint32_t vrel_vector_sort(vrel_vector* vector, vrel_vector_compare compare, uint8_t force) {
  ENTER(vector, kVrelBadHandle2);
  if (compare != vector->compare) {
    vector->compare = compare;
    vector->flags &= ~kVrelSorted;
  }
  if (compare == nullptr) return 0;
  if (force == 0 && _vrel_vector_is_sorted(vector)) return 0;
  if (vector->count > 0) {
    const uint32_t error = vrel_utils_qsort(vector->data, vector->count, sizeof(uintptr_t),
                                            _vrel_vector_sort_order, vector);
    if (error != 0) return error;
  }
  vector->flags |= kVrelSorted;
  return 0;
}

uint32_t vrel_vector_clear(vrel_vector* vector) {
  ENTER(vector, kVrelBadHandle2);
  for (uint32_t i = 0; vector->release != nullptr && i < vector->count; ++i) {
    vector->release(vector->data[i]);
  }
  vector->count = 0;
  return 0;
}

uint32_t vrel_vector_set_min_size(vrel_vector* vector, uint32_t capacity) {
  ENTER(vector, kVrelBadHandle);
  return capacity <= vector->capacity ? 0 : _vrel_vector_set_capacity(vector, capacity);
}
