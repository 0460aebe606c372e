// vrel_vector2: a growable array of elements of one size, held by value.
#include "vrel_vector2.h"

#include <string.h>

#include "vrel_array_private.h"
#include "vrel_error.h"
#include "vrel_layout.h"
#include "vrel_memory.h"
#include "vrel_pages.h"
#include "vrel_sort.h"
#include "vrel_thread.h"
#include "vrel_tuning.h"

static const char kSource[] = "vrel_vector2";

static constexpr uint32_t kMagic = 0xabcdef13u;

// Flat: `pages` is null and `data` holds the elements. Paged: `pages` holds them, `data` is null
// and `capacity` is what the flat array will have when the vector turns back.
struct vrel_vector2 {
  uint32_t magic;
  vrel_critsec* lock;  // guards the rest, behind its owner's locks; null unless thread safe
  char* data;
  uint32_t capacity;      // in elements
  uint32_t element_size;  // in bytes
  uint32_t count;
  uint32_t owns_data;  // 0: `data` belongs to who attached it; never with `pages`
  uint32_t flags;
  vrel_vector2_compare compare;  // may be null
  vrel_vector2_release release;  // may be null
  vrel_pages* pages;
  uint32_t long_tail;   // in bytes
  uint32_t page_bytes;  // of pages to be made
};
VREL_LAYOUT_FIELD(vrel_vector2, magic, 0);
VREL_LAYOUT_FIELD(vrel_vector2, lock, 4);
VREL_LAYOUT_FIELD(vrel_vector2, data, 8);
VREL_LAYOUT_FIELD(vrel_vector2, capacity, 12);
VREL_LAYOUT_FIELD(vrel_vector2, element_size, 16);
VREL_LAYOUT_FIELD(vrel_vector2, count, 20);
VREL_LAYOUT_FIELD(vrel_vector2, owns_data, 24);
VREL_LAYOUT_FIELD(vrel_vector2, flags, 28);
VREL_LAYOUT_FIELD(vrel_vector2, compare, 32);
VREL_LAYOUT_FIELD(vrel_vector2, release, 36);

// 0, or the code for a handle that cannot be used; `bad_handle` is the caller's code for the magic.
static uint32_t _vrel_vector2_check(const vrel_vector2* vector, uint32_t bad_handle) {
  if (vector == nullptr) return kVrelInvalidArg;
  return vector->magic == kMagic ? 0 : bad_handle;
}

// Opens a public operation: checks the handle and holds its lock until the end of the scope.
#define ENTER(vector, bad_handle)                                         \
  if (const uint32_t bad = _vrel_vector2_check((vector), (bad_handle))) { \
    return VREL_LOG_HERE(bad);                                            \
  }                                                                       \
  const vrel_critsec_guard guard((vector)->lock);                         \
  if (guard.error() != 0) return guard.error()

// ---- Elements ----

static size_t _vrel_vector2_bytes(const vrel_vector2* vector, uint32_t count) {
  return size_t{count} * vector->element_size;
}

// The element at `index` and how many lie side by side from it on.
static char* _vrel_vector2_run(const vrel_vector2* vector, uint32_t index, uint32_t* out_count) {
  if (vector->pages != nullptr) {
    return static_cast<char*>(vrel_pages_span(vector->pages, index, out_count));
  }
  *out_count = vector->count - index;
  return vector->data + _vrel_vector2_bytes(vector, index);
}

static char* _vrel_vector2_at(const vrel_vector2* vector, uint32_t index) {
  uint32_t run = 0;
  return _vrel_vector2_run(vector, index, &run);
}

// Walks the elements in order. There must be one left for each call of next().
class ElementCursor {
 public:
  explicit ElementCursor(const vrel_vector2* vector, uint32_t index = 0)
      : vector_(vector), index_(index) {}

  char* next() {
    if (left_ == 0) next_ = _vrel_vector2_run(vector_, index_, &left_);
    char* element = next_;
    next_ += vector_->element_size;
    ++index_;
    --left_;
    return element;
  }

 private:
  const vrel_vector2* vector_;
  uint32_t index_;
  uint32_t left_ = 0;  // of the run that next_ points into
  char* next_ = nullptr;
};

// A size that the compiler knows, or that of a vector's elements.
template <size_t kSize>
struct KnownSize {
  constexpr operator size_t() const { return kSize; }
};

// Calls visit(size), which copies elements of that size: those of a few words take no call each.
template <typename Visit>
static void _vrel_vector2_with_size(const vrel_vector2* vector, Visit visit) {
  switch (vector->element_size) {
    case 4:
      return visit(KnownSize<4>());
    case 8:
      return visit(KnownSize<8>());
    case 12:
      return visit(KnownSize<12>());
    case 16:
      return visit(KnownSize<16>());
    case 20:
      return visit(KnownSize<20>());
    case 24:
      return visit(KnownSize<24>());
    default:
      return visit(size_t{vector->element_size});
  }
}

static void _vrel_vector2_release_range(vrel_vector2* vector, uint32_t first, uint32_t count) {
  if (vector->release == nullptr) return;
  ElementCursor cursor(vector, first);
  for (uint32_t i = 0; i < count; ++i) vector->release(cursor.next());
}

// ---- Comparing and searching ----

static int32_t _vrel_vector2_order(const vrel_vector2* vector, const void* a, const void* b) {
  if (vector->compare != nullptr) return vector->compare(a, b, vector->element_size);
  // Where the elements lie says nothing about them: a vector without a comparison can neither be
  // searched nor kept in order.
  const auto address_a = reinterpret_cast<uintptr_t>(a);
  const auto address_b = reinterpret_cast<uintptr_t>(b);
  return (address_a > address_b) - (address_a < address_b);
}

static int32_t _vrel_vector2_sort_order(const void* a, const void* b, void* context) {
  const auto* vector = static_cast<const vrel_vector2*>(context);
  return vector->compare(a, b, vector->element_size);
}

static bool _vrel_vector2_is_sorted(const vrel_vector2* vector) {
  return (vector->flags & kVrelSorted) != 0;
}

// The lowest equal element, or where to insert the value.
static vrel_search _vrel_vector2_search_lowest(const vrel_vector2* vector, const void* value) {
  const auto order = [=](uint32_t i) {
    return _vrel_vector2_order(vector, _vrel_vector2_at(vector, i), value);
  };
  const bool is_sorted = _vrel_vector2_is_sorted(vector);
  if (!is_sorted || vector->pages == nullptr || vector->compare == nullptr) {
    return _vrel_search_lowest(is_sorted, vector->count, order);
  }
  // Going from page to page is quicker than finding each element by its index.
  const uint32_t rank = vrel_pages_rank(vector->pages, vector->compare, value, 0);
  return {rank < vector->count && order(rank) == 0, rank};
}

// The equal element that the search of a sorted vector hits, or where to insert the value.
static vrel_search _vrel_vector2_search_sorted(const vrel_vector2* vector, const void* value) {
  const auto order = [=](uint32_t i) {
    return _vrel_vector2_order(vector, _vrel_vector2_at(vector, i), value);
  };
  // Some vectors grow at their front, where one comparison tells.
  if (vector->compare != nullptr && vector->count > 0 && order(0) > 0) return {false, 0};
  if (vector->pages == nullptr || vector->compare == nullptr) {
    return _vrel_search_sorted(vector->count, order);
  }
  const vrel_search lowest = _vrel_vector2_search_lowest(vector, value);
  if (!lowest.found) return lowest;
  // Between the ends of the run of equal elements the search's own steps decide.
  uint32_t end = lowest.index + 1;
  if (end < vector->count && order(end) == 0) {
    end = vrel_pages_rank(vector->pages, vector->compare, value, 1);
  }
  return _vrel_search_sorted(vector->count, [=](uint32_t i) {
    return i < lowest.index ? -1 : static_cast<int32_t>(i >= end);
  });
}

// ---- The two forms ----

// Gives the flat vector an array of exactly `capacity` elements, which is not below the count.
static uint32_t _vrel_vector2_set_capacity(vrel_vector2* vector, uint32_t capacity) {
  const uint64_t bytes = uint64_t{capacity} * vector->element_size;
  if (bytes > UINT32_MAX) return VREL_LOG_HERE(kVrelNoMemory);
  if (bytes == 0) {
    if (vector->owns_data != 0) vrel_memory_free(vector->data);
    vector->data = nullptr;
  } else {
    char* old = vector->owns_data != 0 ? vector->data : nullptr;
    auto* data = static_cast<char*>(vrel_memory_realloc(old, static_cast<size_t>(bytes)));
    if (data == nullptr) return VREL_LOG_HERE(kVrelNoMemory);
    if (old != vector->data) memcpy(data, vector->data, _vrel_vector2_bytes(vector, vector->count));
    vector->data = data;
  }
  vector->owns_data = 1;
  vector->capacity = capacity;
  return 0;
}

// Makes the vector flat, with an array of `capacity` elements if it was paged.
static uint32_t _vrel_vector2_flatten(vrel_vector2* vector, uint32_t capacity) {
  if (vector->pages == nullptr) return 0;
  const uint64_t bytes = uint64_t{capacity} * vector->element_size;
  if (bytes > UINT32_MAX) return VREL_LOG_HERE(kVrelNoMemory);
  char* data = nullptr;
  if (bytes > 0) {
    data = static_cast<char*>(vrel_memory_alloc(static_cast<size_t>(bytes)));
    if (data == nullptr) return VREL_LOG_HERE(kVrelNoMemory);
    vrel_pages_copy_out(vector->pages, data);
  }
  vrel_pages_delete(vector->pages);
  vector->pages = nullptr;
  vector->data = data;
  vector->capacity = capacity;
  return 0;
}

// Turns the vector into pages when a change at `index` would move a long tail. It stays flat while
// the array is not its own to free, and when memory is short.
static void _vrel_vector2_prepare_change(vrel_vector2* vector, uint32_t index) {
  if (vector->pages != nullptr || vector->owns_data == 0) return;
  if (_vrel_vector2_bytes(vector, vector->count - index) <= vector->long_tail) return;
  vector->pages =
      vrel_pages_adopt(vector->data, vector->count, vector->element_size, vector->page_bytes);
  if (vector->pages != nullptr) vector->data = nullptr;
}

// ---- Placing and removing ----

static uint32_t _vrel_vector2_place_flat(vrel_vector2* vector, uint32_t index, const void* value,
                                         uint32_t capacity) {
  if (capacity != vector->capacity) {
    const uint32_t error = _vrel_vector2_set_capacity(vector, capacity);
    if (error != 0) return error;
  }
  char* place = vector->data + _vrel_vector2_bytes(vector, index);
  memmove(place + vector->element_size, place, _vrel_vector2_bytes(vector, vector->count - index));
  memcpy(place, value, vector->element_size);
  return 0;
}

static uint32_t _vrel_vector2_place(vrel_vector2* vector, uint32_t index, const void* value) {
  if (index == vector->count && index < vector->capacity && vector->pages == nullptr) {
    char* const to = vector->data + _vrel_vector2_bytes(vector, index);
    _vrel_vector2_with_size(vector, [=](auto size) { memcpy(to, value, size); });
    ++vector->count;
    return 0;
  }
  const uint32_t capacity =
      _vrel_array_grown(vector->capacity, uint64_t{vector->count} + 1, vector->element_size);
  if (capacity == 0) return VREL_LOG_HERE(kVrelNoMemory);
  _vrel_vector2_prepare_change(vector, index);
  if (vector->pages == nullptr) {
    const uint32_t error = _vrel_vector2_place_flat(vector, index, value, capacity);
    if (error != 0) return error;
  } else {
    if (!vrel_pages_insert(vector->pages, index, value)) return VREL_LOG_HERE(kVrelNoMemory);
    vector->capacity = capacity;
  }
  ++vector->count;
  return 0;
}

// Takes elements out without releasing them.
static void _vrel_vector2_take(vrel_vector2* vector, uint32_t index, uint32_t count) {
  _vrel_vector2_prepare_change(vector, index + count);
  if (vector->pages != nullptr) {
    vrel_pages_erase(vector->pages, index, count);
  } else if (count > 0) {
    char* place = vector->data + _vrel_vector2_bytes(vector, index);
    const uint32_t tail = vector->count - index - count;
    memmove(place, place + _vrel_vector2_bytes(vector, count), _vrel_vector2_bytes(vector, tail));
  }
  vector->count -= count;
}

// Clears the sorted flag when an element from `first` on, `count` of them, goes before the one in
// front of it.
static void _vrel_vector2_check_order(vrel_vector2* vector, uint32_t first, uint32_t count) {
  if (!_vrel_vector2_is_sorted(vector) || count == 0) return;
  ElementCursor cursor(vector, first > 0 ? first - 1 : 0);
  const char* previous = cursor.next();
  for (uint32_t i = first > 0 ? 0 : 1; i < count; ++i) {
    const char* element = cursor.next();
    if (_vrel_vector2_order(vector, element, previous) < 0) {
      vector->flags &= ~kVrelSorted;
      return;
    }
    previous = element;
  }
}

// Caller holds vector->lock, or is the only one to know the vector.
static void _vrel_vector2_clear(vrel_vector2* vector) {
  _vrel_vector2_release_range(vector, 0, vector->count);
  vrel_pages_delete(vector->pages);
  if (vector->owns_data != 0) vrel_memory_free(vector->data);
  vector->pages = nullptr;
  vector->data = nullptr;
  vector->capacity = 0;
  vector->count = 0;
  vector->owns_data = 1;
}

// ---- Create and delete ----

uint32_t vrel_vector2_create(vrel_vector2** out, uint32_t element_size, uint32_t flags,
                             vrel_vector2_compare compare, vrel_vector2_release release) {
  if (vrel_datatypes_initchecks() == 0) return VREL_LOG_HERE(kVrelNotInited);
  if (out == nullptr || element_size == 0) return VREL_LOG_HERE(kVrelInvalidArg);
  auto* vector = static_cast<vrel_vector2*>(vrel_memory_calloc(1, sizeof(vrel_vector2)));
  if (vector == nullptr) return VREL_LOG_HERE(kVrelNoMemory);
  vector->element_size = element_size;
  vector->owns_data = 1;
  vector->flags = flags;
  vector->compare = compare;
  vector->release = release;
  vector->long_tail = kVrelVectorLongTail;
  vector->page_bytes = kVrelVectorPageBytes;
  vector->magic = kMagic;
  *out = vector;
  // The vector is handed out even when its lock fails: callers delete it by what they were given.
  return (flags & kVrelThreadSafe) != 0 ? vrel_thread_critsec_create(&vector->lock) : 0;
}

uint32_t vrel_vector2_delete(vrel_vector2* vector) {
  const uint32_t error = vrel_vector2_clear(vector);
  if (error != 0) return error;
  if (vector->lock != nullptr) (void)vrel_thread_critsec_delete(vector->lock);
  vector->magic = 0;
  vrel_memory_free(vector);
  return 0;
}

// ---- Add, find, remove ----

uint32_t vrel_vector2_add(vrel_vector2* vector, const void* value, uint32_t value_size,
                          uint32_t* out_index) {
  if (value == nullptr) return VREL_LOG_HERE(kVrelInvalidArg);
  ENTER(vector, kVrelBadHandle);
  if (value_size != vector->element_size) return VREL_LOG_HERE(kVrelSizeMismatch);
  vrel_search place = {false, vector->count};
  if (_vrel_vector2_is_sorted(vector)) {
    place = _vrel_vector2_search_sorted(vector, value);
  } else if ((vector->flags & kVrelUnique) != 0) {
    place = _vrel_vector2_search_lowest(vector, value);
  }
  if (!place.found || (vector->flags & kVrelUnique) == 0) {
    const uint32_t error = _vrel_vector2_place(vector, place.index, value);
    if (error != 0) return error;
  }
  if (out_index != nullptr) *out_index = place.index;
  return 0;
}

uint32_t vrel_vector2_insert(vrel_vector2* vector, uint32_t index, const void* value,
                             uint32_t value_size) {
  if (value == nullptr) return VREL_LOG_HERE(kVrelInvalidArg);
  ENTER(vector, kVrelBadHandle);
  if (value_size != vector->element_size) return VREL_LOG_HERE(kVrelSizeMismatch);
  if (index > vector->count) return kVrelOutOfRange;
  const uint32_t error = _vrel_vector2_place(vector, index, value);
  if (error != 0) return error;
  const bool is_last = index + 1 == vector->count;
  _vrel_vector2_check_order(vector, index, is_last ? 1 : 2);
  return 0;
}

uint32_t vrel_vector2_getindex(const vrel_vector2* vector, uint32_t index, void** out_element) {
  uint32_t run = 0;
  return vrel_vector2_span(vector, index, out_element, &run);
}

uint32_t vrel_vector2_count(const vrel_vector2* vector, uint32_t* out_count) {
  if (out_count == nullptr) return VREL_LOG_HERE(kVrelInvalidArg);
  ENTER(vector, kVrelBadHandle2);
  *out_count = vector->count;
  return 0;
}

uint32_t vrel_vector2_find(const vrel_vector2* vector, const void* value, uint32_t* out_index) {
  if (value == nullptr) return VREL_LOG_HERE(kVrelInvalidArg);
  ENTER(vector, kVrelBadHandle2);
  const vrel_search hit = _vrel_vector2_search_lowest(vector, value);
  if (!hit.found) return kVrelNotFound;
  if (out_index != nullptr) *out_index = hit.index;
  return 0;
}

uint32_t vrel_vector2_deleteindex(vrel_vector2* vector, uint32_t index) {
  return vrel_vector2_deleterange(vector, index, index);
}

uint32_t vrel_vector2_deleterange(vrel_vector2* vector, uint32_t first, uint32_t last) {
  ENTER(vector, kVrelBadHandle2);
  if (first >= vector->count) return kVrelOutOfRange;
  if (first > last) return 0;
  if (last >= vector->count) last = vector->count - 1;
  const uint32_t count = last - first + 1;
  _vrel_vector2_release_range(vector, first, count);
  _vrel_vector2_take(vector, first, count);
  return 0;
}

// ---- Bulk ----

// The key of each element, and room behind them to sort. False where the numbers lie 2^31 or more
// apart, or there is no memory.
static bool _vrel_vector2_make_keys(const vrel_vector2* vector, const vrel_vector2_key& key,
                                    uint64_t** out_keys) {
  const uint64_t bytes = uint64_t{vector->count} * 2 * sizeof(uint64_t);
  if (bytes > UINT32_MAX) return false;
  auto* const keys = static_cast<uint64_t*>(vrel_memory_alloc(static_cast<size_t>(bytes)));
  if (keys == nullptr) return false;
  uint32_t least = UINT32_MAX;
  uint32_t most = 0;
  const char* place = vector->data + key.offset;
  for (uint32_t i = 0; i < vector->count; ++i, place += vector->element_size) {
    uint32_t number = 0;
    memcpy(&number, place, sizeof number);
    number ^= key.flip;
    least = number < least ? number : least;
    most = number > most ? number : most;
    keys[i] = uint64_t{number} << 32 | i;
  }
  if (most - least > INT32_MAX) {
    vrel_memory_free(keys);
    return false;
  }
  *out_keys = keys;
  return true;
}

// Replaces the array by one of the elements that the first keys name, and releases the others.
// False, and nothing has changed, when there is no memory.
static bool _vrel_vector2_keep_named(vrel_vector2* vector, const uint64_t* keys, uint32_t count) {
  const size_t size = vector->element_size;
  auto* const data = static_cast<char*>(vrel_memory_alloc(count * size));
  if (data == nullptr) return false;
  const char* const from = vector->data;
  _vrel_vector2_with_size(vector, [=](auto element_size) {
    char* to = data;
    for (uint32_t i = 0; i < count; ++i, to += element_size) {
      memcpy(to, from + static_cast<uint32_t>(keys[i]) * element_size, element_size);
    }
  });
  for (uint32_t i = count; i < vector->count && vector->release != nullptr; ++i) {
    vector->release(vector->data + static_cast<uint32_t>(keys[i]) * size);
  }
  if (vector->owns_data != 0) vrel_memory_free(vector->data);
  vector->data = data;
  vector->owns_data = 1;
  vector->capacity = count;
  vector->count = count;
  return true;
}

// Moves the keys that equal the one in front of them to the end. Answers how many are left.
static uint32_t _vrel_vector2_drop_equal_keys(uint64_t* keys, uint32_t count) {
  uint32_t kept = 0;
  for (uint32_t i = 0; i < count; ++i) {
    const uint64_t key = keys[i];
    if (kept != 0 && (keys[kept - 1] >> 32) == (key >> 32)) continue;
    keys[i] = keys[kept];
    keys[kept++] = key;
  }
  return kept;
}

// Sorts the flat array, and may drop what is not wanted. False when nothing was done.
static bool _vrel_vector2_sort_keys(vrel_vector2* vector, const vrel_vector2_key& key,
                                    uint32_t wanted) {
  uint64_t* keys = nullptr;
  if (!_vrel_vector2_make_keys(vector, key, &keys)) return false;
  const uint32_t count = vector->count;
  if (wanted == 0 || wanted > count) wanted = count;
  vrel_utils_qsort_keys(keys, count, wanted, key.free_ties, keys + count);
  if (key.unique) wanted = _vrel_vector2_drop_equal_keys(keys, count);
  // The room to sort in is gone before the elements are copied.
  if (void* const shrunk = vrel_memory_realloc(keys, count * sizeof *keys)) {
    keys = static_cast<uint64_t*>(shrunk);
  }
  const bool done = _vrel_vector2_keep_named(vector, keys, wanted);
  vrel_memory_free(keys);
  return done;
}

static uint32_t _vrel_vector2_sort_elements(vrel_vector2* vector) {
  return vrel_utils_qsort(vector->data, vector->count, vector->element_size,
                          _vrel_vector2_sort_order, vector);
}

// Caller holds vector->lock. `key` may be null.
static uint32_t _vrel_vector2_sort(vrel_vector2* vector, vrel_vector2_compare compare,
                                   uint8_t force, const vrel_vector2_key* key, uint32_t wanted) {
  const bool is_new = compare != vector->compare;
  const bool must_sort =
      compare != nullptr && (is_new || force != 0 || !_vrel_vector2_is_sorted(vector));
  if (must_sort) {
    const uint32_t error = _vrel_vector2_flatten(vector, vector->capacity);
    if (error != 0) return error;
  }
  vector->compare = compare;
  if (is_new) vector->flags &= ~kVrelSorted;
  if (!must_sort) return 0;
  const bool by_key = key != nullptr && vector->count > 1;
  if (vector->count > 0 && !(by_key && _vrel_vector2_sort_keys(vector, *key, wanted))) {
    const uint32_t error = _vrel_vector2_sort_elements(vector);
    if (error != 0) return error;
  }
  vector->flags |= kVrelSorted;
  return 0;
}

uint32_t vrel_vector2_sort(vrel_vector2* vector, vrel_vector2_compare compare, uint8_t force) {
  ENTER(vector, kVrelBadHandle2);
  return _vrel_vector2_sort(vector, compare, force, nullptr, UINT32_MAX);
}

uint32_t vrel_vector2_sort_by_key(vrel_vector2* vector, vrel_vector2_compare compare,
                                  const vrel_vector2_key* key) {
  if (key == nullptr) return VREL_LOG_HERE(kVrelInvalidArg);
  ENTER(vector, kVrelBadHandle2);
  return _vrel_vector2_sort(vector, compare, 0, key, UINT32_MAX);
}

uint32_t vrel_vector2_sort_first(vrel_vector2* vector, vrel_vector2_compare compare,
                                 const vrel_vector2_key* key, uint32_t count) {
  if (key == nullptr) return VREL_LOG_HERE(kVrelInvalidArg);
  ENTER(vector, kVrelBadHandle2);
  const uint32_t error = _vrel_vector2_sort(vector, compare, 0, key, count);
  if (error != 0 || count >= vector->count) return error;
  _vrel_vector2_release_range(vector, count, vector->count - count);
  _vrel_vector2_take(vector, count, vector->count - count);
  return 0;
}

uint32_t vrel_vector2_clear(vrel_vector2* vector) {
  ENTER(vector, kVrelBadHandle2);
  _vrel_vector2_clear(vector);
  return 0;
}

// Caller holds vector->lock. A capacity that is too small or in force already changes nothing.
static uint32_t _vrel_vector2_resize(vrel_vector2* vector, uint32_t capacity) {
  if (capacity < vector->count || capacity == vector->capacity) return 0;
  if (vector->pages != nullptr) return _vrel_vector2_flatten(vector, capacity);
  return _vrel_vector2_set_capacity(vector, capacity);
}

uint32_t vrel_vector2_set_min_size(vrel_vector2* vector, uint32_t capacity) {
  if (vector == nullptr) return 0;
  ENTER(vector, kVrelBadHandle);
  return _vrel_vector2_resize(vector, capacity);
}

uint32_t vrel_vector2_reserve(vrel_vector2* vector, uint32_t count) {
  ENTER(vector, kVrelBadHandle);
  const uint64_t needed = uint64_t{vector->count} + count;
  if (needed <= vector->capacity) return 0;
  const uint64_t capacity = vector->capacity == 0 ? needed : needed + needed / 8;
  if (capacity > UINT32_MAX) return VREL_LOG_HERE(kVrelNoMemory);
  return _vrel_vector2_resize(vector, static_cast<uint32_t>(capacity));
}

static uint32_t _vrel_vector2_get_flags(const vrel_vector2* vector, uint32_t* out_flags) {
  ENTER(vector, kVrelBadHandle2);
  *out_flags = vector->flags;
  return 0;
}

bool vrel_vector2_is_sorted(const vrel_vector2* vector) {
  uint32_t flags = 0;
  return _vrel_vector2_get_flags(vector, &flags) == 0 && (flags & kVrelSorted) != 0;
}

uint32_t vrel_vector2_trim(vrel_vector2* vector) {
  ENTER(vector, kVrelBadHandle2);
  return _vrel_vector2_resize(vector, vector->count);
}

// Caller holds vector->lock.
static uint32_t _vrel_vector2_append(vrel_vector2* vector, const char* values, uint32_t count) {
  const uint64_t needed = uint64_t{vector->count} + count;
  const uint32_t capacity = _vrel_array_grown(vector->capacity, needed, vector->element_size);
  if (capacity == 0) return VREL_LOG_HERE(kVrelNoMemory);
  if (vector->pages == nullptr) {
    const uint32_t error = _vrel_vector2_resize(vector, capacity);
    if (error != 0) return error;
    memcpy(vector->data + _vrel_vector2_bytes(vector, vector->count), values,
           _vrel_vector2_bytes(vector, count));
    vector->count += count;
    return 0;
  }
  for (uint32_t i = 0; i < count; ++i, values += vector->element_size) {
    if (!vrel_pages_insert(vector->pages, vector->count + i, values)) {
      vrel_pages_erase(vector->pages, vector->count, i);
      return VREL_LOG_HERE(kVrelNoMemory);
    }
  }
  vector->capacity = capacity;
  vector->count += count;
  return 0;
}

uint32_t vrel_vector2_append_n(vrel_vector2* vector, const void* values, uint32_t count,
                               uint32_t value_size) {
  if (values == nullptr) return VREL_LOG_HERE(kVrelInvalidArg);
  ENTER(vector, kVrelBadHandle);
  if (value_size != vector->element_size) return VREL_LOG_HERE(kVrelSizeMismatch);
  if (count == 0) return 0;
  const uint32_t first = vector->count;
  const uint32_t error = _vrel_vector2_append(vector, static_cast<const char*>(values), count);
  if (error == 0) _vrel_vector2_check_order(vector, first, count);
  return error;
}

uint32_t vrel_vector2_retain(vrel_vector2* vector, vrel_vector2_keep keep, void* context) {
  if (keep == nullptr) return VREL_LOG_HERE(kVrelInvalidArg);
  ENTER(vector, kVrelBadHandle2);
  // `to` walks behind `from`, over places whose elements have moved down or are gone.
  ElementCursor from(vector);
  ElementCursor to(vector);
  uint32_t error = 0;
  uint32_t dropped = 0;
  for (uint32_t i = 0; i < vector->count; ++i) {
    char* element = from.next();
    uint8_t kept = 1;
    if (error == 0) error = keep(element, context, &kept);
    if (error == 0 && kept == 0) {
      if (vector->release != nullptr) vector->release(element);
      ++dropped;
      continue;
    }
    char* place = to.next();
    if (place != element) memcpy(place, element, vector->element_size);
  }
  _vrel_vector2_take(vector, vector->count - dropped, dropped);
  return error;
}

uint32_t vrel_vector2_get_buffer(vrel_vector2* vector, void** out_data, uint32_t* out_size,
                                 uint32_t* out_element_size) {
  if (out_data == nullptr || out_size == nullptr || out_element_size == nullptr) {
    return VREL_LOG_HERE(kVrelInvalidArg);
  }
  ENTER(vector, kVrelBadHandle);
  const uint32_t error = _vrel_vector2_flatten(vector, vector->capacity);
  if (error != 0) return error;
  *out_data = vector->data;
  *out_size = vector->count * vector->element_size;
  *out_element_size = vector->element_size;
  return 0;
}

uint32_t vrel_vector2_attach(vrel_vector2* vector, void* data, uint32_t size, uint32_t element_size,
                             uint8_t owns_data) {
  if ((data == nullptr && size > 0) || element_size == 0) return VREL_LOG_HERE(kVrelInvalidArg);
  ENTER(vector, kVrelBadHandle);
  if (size % element_size != 0) return VREL_LOG_HERE(kVrelSizeMismatch);
  _vrel_vector2_clear(vector);
  vector->data = static_cast<char*>(data);
  vector->element_size = element_size;
  vector->owns_data = owns_data;
  vector->capacity = size / element_size;
  vector->count = vector->capacity;
  vector->flags &= ~kVrelSorted;
  return 0;
}

uint32_t vrel_vector2_detach(vrel_vector2* vector, void** out_data, uint32_t* out_capacity,
                             uint32_t* out_element_size) {
  if (out_data == nullptr || out_capacity == nullptr || out_element_size == nullptr) {
    return VREL_LOG_HERE(kVrelInvalidArg);
  }
  ENTER(vector, kVrelBadHandle);
  const uint32_t error = _vrel_vector2_flatten(vector, vector->capacity);
  if (error != 0) return error;
  *out_data = vector->data;
  *out_capacity = vector->capacity;
  *out_element_size = vector->element_size;
  // Frees an array of the vector's own while the caller learns its address: handing it over was
  // never meant, only giving back an array that was lent.
  _vrel_vector2_clear(vector);
  return 0;
}

// ---- Iteration ----

uint32_t vrel_vector2_span(const vrel_vector2* vector, uint32_t index, void** out_first,
                           uint32_t* out_count) {
  if (out_first == nullptr || out_count == nullptr) return VREL_LOG_HERE(kVrelInvalidArg);
  ENTER(vector, kVrelBadHandle2);
  if (index >= vector->count) return kVrelOutOfRange;
  *out_first = _vrel_vector2_run(vector, index, out_count);
  return 0;
}

// ---- Tuning ----

uint32_t vrel_vector2_set_paging(vrel_vector2* vector, uint32_t long_tail, uint32_t page_bytes) {
  ENTER(vector, kVrelBadHandle2);
  vector->long_tail = long_tail;
  vector->page_bytes = page_bytes;
  return 0;
}
