// vrel_hashtable: values by string key, enumerated in the order of their insertion.
#include "vrel_hashtable.h"

#include <stddef.h>
#include <string.h>

#include "vrel_error.h"
#include "vrel_hash_private.h"
#include "vrel_layout.h"
#include "vrel_memory.h"
#include "vrel_spinlock.h"
#include "vrel_string.h"
#include "vrel_thread.h"
#include "vrel_tuning.h"

static const char kSource[] = "vrel_hashtable";

static constexpr uint32_t kMagic = 0x12abcdefu;
static constexpr uint32_t kFirstBuckets = 16;

// The hash stored for an entry whose real one an entry in its chain had already: it is compared by
// its key.
static constexpr uint32_t kMatchByKey = 0;

// One allocation: this header, the copy of the key, then, aligned, the copy of the value.
struct Entry {
  uint32_t hash;  // of the key, or kMatchByKey
  void* value;
  uint32_t size;
  uint8_t copied;  // the value lies in this allocation
  Entry* chain_next;
  Entry* chain_previous;
  Entry* chain_last;  // kept up in the first entry of a chain only
  Entry* order_next;
  Entry* order_previous;
  const char* key;
};
VREL_LAYOUT_FIELD(Entry, hash, 0);
VREL_LAYOUT_FIELD(Entry, value, 4);
VREL_LAYOUT_FIELD(Entry, size, 8);
VREL_LAYOUT_FIELD(Entry, copied, 12);
VREL_LAYOUT_FIELD(Entry, chain_next, 16);
VREL_LAYOUT_FIELD(Entry, chain_previous, 20);
VREL_LAYOUT_FIELD(Entry, chain_last, 24);
VREL_LAYOUT_FIELD(Entry, order_next, 28);
VREL_LAYOUT_FIELD(Entry, order_previous, 32);
VREL_LAYOUT_FIELD(Entry, key, 36);

struct vrel_hashtable {
  uint32_t magic;
  vrel_critsec* lock;  // guards everything but the cursor; null unless thread safe
  vrel_spinlock cursor_lock;
  uint32_t flags;
  vrel_hashtable_release release;  // may be null
  Entry* first;                    // in order of insertion, as `last`
  Entry* last;
  uint32_t count;
  Entry* cursor;          // the entry last handed out by index, and
  uint32_t cursor_index;  // that index; guarded by cursor_lock
  uint32_t bucket_count;  // a power of two, or 0 before the first entry
  uint32_t used_buckets;  // those that are not empty
  Entry** buckets;
};
VREL_LAYOUT_FIELD(vrel_hashtable, magic, 0);
VREL_LAYOUT_FIELD(vrel_hashtable, lock, 4);
VREL_LAYOUT_FIELD(vrel_hashtable, cursor_lock, 8);
VREL_LAYOUT_FIELD(vrel_hashtable, flags, 8 + sizeof(vrel_spinlock));
VREL_LAYOUT_FIELD(vrel_hashtable, release, 12 + sizeof(vrel_spinlock));
VREL_LAYOUT_FIELD(vrel_hashtable, first, 16 + sizeof(vrel_spinlock));
VREL_LAYOUT_FIELD(vrel_hashtable, last, 20 + sizeof(vrel_spinlock));
VREL_LAYOUT_FIELD(vrel_hashtable, count, 24 + sizeof(vrel_spinlock));
VREL_LAYOUT_FIELD(vrel_hashtable, cursor, 28 + sizeof(vrel_spinlock));
VREL_LAYOUT_FIELD(vrel_hashtable, cursor_index, 32 + sizeof(vrel_spinlock));
VREL_LAYOUT_FIELD(vrel_hashtable, bucket_count, 36 + sizeof(vrel_spinlock));
VREL_LAYOUT_FIELD(vrel_hashtable, used_buckets, 40 + sizeof(vrel_spinlock));

// A key and its hash under the table's rule for case.
struct Key {
  const char* text;
  uint32_t hash;
};

// 0, or the code for arguments that cannot be used.
static uint32_t _vrel_hashtable_check(const vrel_hashtable* table) {
  if (table == nullptr) return kVrelInvalidArg;
  return table->magic == kMagic ? 0 : kVrelBadHandle2;
}
static uint32_t _vrel_hashtable_check(const vrel_hashtable* table, const char* key) {
  if (key == nullptr || *key == '\0') return kVrelInvalidArg;
  return _vrel_hashtable_check(table);
}

// Opens a public operation: returns what the check of its arguments says, if anything, and holds
// the table's lock until the end of the scope.
#define ENTER(table, check)                                    \
  if (const uint32_t bad = (check)) return VREL_LOG_HERE(bad); \
  const vrel_critsec_guard guard((table)->lock);               \
  if (guard.error() != 0) return guard.error()

// ---- Keys ----

static bool _vrel_hashtable_folds(const vrel_hashtable* table) {
  return (table->flags & kVrelCaseSensitive) == 0;
}

static Key _vrel_hashtable_key(const vrel_hashtable* table, const char* text) {
  return {text, _vrel_hashtable_folds(table) ? _vrel_hash_folded(text) : _vrel_hash(text)};
}

static bool _vrel_hashtable_same_key(const vrel_hashtable* table, const char* a, const char* b) {
  return vrel_string_equal(a, b, _vrel_hashtable_folds(table) ? 1 : 0);
}

// Equal hashes count as equal keys; nobody looks at the text. So a key whose hash another key has
// finds the other's value, and, unless keys hold several values, replaces it.
static bool _vrel_hashtable_matches(const vrel_hashtable* table, const Entry* entry, Key key) {
  if (entry->hash == key.hash) return true;
  return entry->hash == kMatchByKey && _vrel_hashtable_same_key(table, entry->key, key.text);
}

// The hash that a new entry is to store, at the end of the chain from `first` to `last`.
//
// All entries that store the same hash have the same key, so any of them decides. It is looked for
// from both ends at once: a key with many values mostly has one at either.
static uint32_t _vrel_hashtable_stored_hash(const vrel_hashtable* table, const Entry* first,
                                            const Entry* last, Key key) {
  if (key.hash == kMatchByKey) return kMatchByKey;
  const Entry* low = first;
  const Entry* high = last;
  while (low != nullptr) {
    const Entry* const entry = low->hash == key.hash ? low : high;
    if (entry->hash == key.hash) {
      return _vrel_hashtable_same_key(table, entry->key, key.text) ? key.hash : kMatchByKey;
    }
    if (low == high || low->chain_next == high) break;
    low = low->chain_next;
    high = high->chain_previous;
  }
  return key.hash;
}

// ---- Entries ----

static constexpr size_t _vrel_hashtable_align(size_t size) {
  return (size + alignof(max_align_t) - 1) / alignof(max_align_t) * alignof(max_align_t);
}

// An entry in no list, with its copies made. Null when memory is short.
static Entry* _vrel_hashtable_entry_create(const vrel_hashtable* table, const char* key,
                                           const void* value, uint32_t size, bool copy) {
  const size_t key_bytes = (table->flags & kVrelReferenceKeys) != 0 ? 0 : strlen(key) + 1;
  const size_t header_bytes = _vrel_hashtable_align(sizeof(Entry) + key_bytes);
  const size_t value_bytes = copy ? size : 0;
  if (value_bytes > SIZE_MAX - header_bytes) return nullptr;
  auto* entry = static_cast<Entry*>(vrel_memory_calloc(1, header_bytes + value_bytes));
  if (entry == nullptr) return nullptr;
  char* bytes = reinterpret_cast<char*>(entry);
  entry->key = key;
  if (key_bytes > 0) {
    entry->key = static_cast<char*>(memcpy(bytes + sizeof(Entry), key, key_bytes));
  }
  entry->value = const_cast<void*>(value);
  if (copy) entry->value = memcpy(bytes + header_bytes, value, value_bytes);
  entry->size = size;
  entry->copied = copy ? 1 : 0;
  return entry;
}

static void _vrel_hashtable_entry_release(const vrel_hashtable* table, Entry* entry) {
  if (table->release != nullptr && entry->copied == 0 && entry->value != nullptr) {
    table->release(entry->value, entry->size);
  }
  vrel_memory_free(entry);
}

// ---- Chains ----

static uint32_t _vrel_hashtable_bucket(const vrel_hashtable* table, uint32_t hash) {
  return hash & (table->bucket_count - 1);
}

// An entry that stores no hash of its own is still in the bucket of its key's.
static uint32_t _vrel_hashtable_bucket_of(const vrel_hashtable* table, const Entry* entry) {
  const bool stored = entry->hash != kMatchByKey;
  return _vrel_hashtable_bucket(table,
                                stored ? entry->hash : _vrel_hashtable_key(table, entry->key).hash);
}

static void _vrel_hashtable_chain_append(vrel_hashtable* table, Entry* entry) {
  Entry*& first = table->buckets[_vrel_hashtable_bucket_of(table, entry)];
  entry->chain_next = nullptr;
  if (first == nullptr) {
    entry->chain_previous = nullptr;
    first = entry;
    ++table->used_buckets;
  } else {
    entry->chain_previous = first->chain_last;
    first->chain_last->chain_next = entry;
  }
  first->chain_last = entry;
}

static void _vrel_hashtable_chain_remove(vrel_hashtable* table, Entry* entry) {
  Entry*& first = table->buckets[_vrel_hashtable_bucket_of(table, entry)];
  Entry* const last = first->chain_last;
  if (entry->chain_next != nullptr) entry->chain_next->chain_previous = entry->chain_previous;
  (entry == first ? first : entry->chain_previous->chain_next) = entry->chain_next;
  if (first == nullptr) {
    --table->used_buckets;
  } else {
    first->chain_last = entry == last ? entry->chain_previous : last;
  }
}

// Makes room for an entry more in a table of which `used` buckets are not empty.
static uint32_t _vrel_hashtable_reserve(vrel_hashtable* table, uint32_t used) {
  const uint64_t threshold = uint64_t{used} * 4 / 3;
  if (table->bucket_count > threshold) return 0;
  uint32_t wanted = kFirstBuckets;
  while (wanted <= threshold) wanted *= 2;
  auto* buckets = static_cast<Entry**>(vrel_memory_calloc(wanted, sizeof(Entry*)));
  if (buckets == nullptr) return VREL_LOG_HERE(kVrelNoMemory);
  vrel_memory_free(table->buckets);
  table->buckets = buckets;
  table->bucket_count = wanted;
  table->used_buckets = 0;
  for (Entry* entry = table->first; entry != nullptr; entry = entry->order_next) {
    _vrel_hashtable_chain_append(table, entry);
  }
  return 0;
}

// ---- The order of insertion ----

static void _vrel_hashtable_cursor_reset(vrel_hashtable* table) {
  (void)vrel_spinlock_lock(&table->cursor_lock);
  table->cursor = table->first;
  table->cursor_index = 0;
  (void)vrel_spinlock_unlock(&table->cursor_lock);
}

static void _vrel_hashtable_link(vrel_hashtable* table, Entry* entry) {
  entry->order_next = nullptr;
  entry->order_previous = table->last;
  (table->last == nullptr ? table->first : table->last->order_next) = entry;
  table->last = entry;
  _vrel_hashtable_chain_append(table, entry);
  ++table->count;
  _vrel_hashtable_cursor_reset(table);
}

static void _vrel_hashtable_unlink(vrel_hashtable* table, Entry* entry) {
  Entry* const next = entry->order_next;
  Entry* const previous = entry->order_previous;
  (previous == nullptr ? table->first : previous->order_next) = next;
  (next == nullptr ? table->last : next->order_previous) = previous;
  _vrel_hashtable_chain_remove(table, entry);
  --table->count;
  _vrel_hashtable_cursor_reset(table);
}

// Puts an entry into all the places of another, which is then in no list.
static void _vrel_hashtable_substitute(vrel_hashtable* table, const Entry* old, Entry* entry) {
  Entry*& first = table->buckets[_vrel_hashtable_bucket_of(table, old)];
  entry->hash = old->hash;
  entry->chain_next = old->chain_next;
  entry->chain_previous = old->chain_previous;
  entry->chain_last = old->chain_last;
  entry->order_next = old->order_next;
  entry->order_previous = old->order_previous;
  (old == first ? first : entry->chain_previous->chain_next) = entry;
  if (entry->chain_next != nullptr) entry->chain_next->chain_previous = entry;
  if (first->chain_last == old) first->chain_last = entry;
  (entry->order_previous == nullptr ? table->first : entry->order_previous->order_next) = entry;
  (entry->order_next == nullptr ? table->last : entry->order_next->order_previous) = entry;
  _vrel_hashtable_cursor_reset(table);
}

// The entry at `index` among those of the key, or null.
static Entry* _vrel_hashtable_find(const vrel_hashtable* table, Key key, uint32_t index) {
  if (table->bucket_count == 0) return nullptr;
  Entry* entry = table->buckets[_vrel_hashtable_bucket(table, key.hash)];
  for (; entry != nullptr; entry = entry->chain_next) {
    if (_vrel_hashtable_matches(table, entry, key) && index-- == 0) return entry;
  }
  return nullptr;
}

// ---- Create and delete ----

uint32_t vrel_hashtable_create(vrel_hashtable** out, uint32_t flags,
                               vrel_hashtable_release release) {
  if (vrel_datatypes_initchecks() == 0) return VREL_LOG_HERE(kVrelNotInited);
  if (out == nullptr) return VREL_LOG_HERE(kVrelInvalidArg);
  auto* table = static_cast<vrel_hashtable*>(vrel_memory_calloc(1, sizeof(vrel_hashtable)));
  if (table == nullptr) return VREL_LOG_HERE(kVrelNoMemory);
  if ((flags & kVrelThreadSafe) != 0) {
    const uint32_t error = vrel_thread_critsec_create(&table->lock);
    if (error != 0) {
      vrel_memory_free(table);
      return error;
    }
  }
  table->flags = flags;
  table->release = release;
  table->magic = kMagic;
  *out = table;
  return 0;
}

uint32_t vrel_hashtable_delete(vrel_hashtable* table) {
  const uint32_t error = vrel_hashtable_clear(table);
  if (error != 0) return error;
  if (table->lock != nullptr) (void)vrel_thread_critsec_delete(table->lock);
  table->magic = 0;
  vrel_memory_free(table);
  return 0;
}

// ---- Add, find, remove ----

// Caller holds table->lock, and does so below.
static uint32_t _vrel_hashtable_add(vrel_hashtable* table, Key key, const void* value,
                                    uint32_t size, bool copy) {
  const bool replaces = (table->flags & kVrelMultiValue) == 0;
  Entry* old = replaces ? _vrel_hashtable_find(table, key, 0) : nullptr;
  Entry* entry = _vrel_hashtable_entry_create(table, key.text, value, size, copy);
  if (entry == nullptr) return VREL_LOG_HERE(kVrelNoMemory);
  // The load is that of the table without the old entry, which stays until nothing can fail.
  const bool frees_bucket =
      old != nullptr && old->chain_next == nullptr && old->chain_previous == nullptr;
  const uint32_t error =
      _vrel_hashtable_reserve(table, table->used_buckets - (frees_bucket ? 1 : 0));
  if (error != 0) {
    vrel_memory_free(entry);
    return error;
  }
  if (old != nullptr) _vrel_hashtable_unlink(table, old);
  const Entry* chain = table->buckets[_vrel_hashtable_bucket(table, key.hash)];
  const Entry* last = chain == nullptr ? nullptr : chain->chain_last;
  entry->hash = _vrel_hashtable_stored_hash(table, chain, last, key);
  _vrel_hashtable_link(table, entry);
  if (old != nullptr) _vrel_hashtable_entry_release(table, old);
  return 0;
}

uint32_t vrel_hashtable_value_add(vrel_hashtable* table, const char* key, const void* value,
                                  uint32_t size, uint8_t copy) {
  ENTER(table, _vrel_hashtable_check(table, key));
  const bool copies = copy != 0 && value != nullptr;
  return _vrel_hashtable_add(table, _vrel_hashtable_key(table, key), value, size, copies);
}

uint32_t vrel_hashtable_value_find(const vrel_hashtable* table, const char* key, void** out_value,
                                   uint32_t* out_size) {
  return vrel_hashtable_value_find_ex(table, key, 0, out_value, out_size);
}

uint32_t vrel_hashtable_value_find_ex(const vrel_hashtable* table, const char* key, uint32_t index,
                                      void** out_value, uint32_t* out_size) {
  ENTER(table, _vrel_hashtable_check(table, key));
  const Entry* entry = _vrel_hashtable_find(table, _vrel_hashtable_key(table, key), index);
  if (entry == nullptr) return kVrelNotFound;
  if (out_value != nullptr) *out_value = entry->value;
  if (out_size != nullptr) *out_size = entry->size;
  return 0;
}

uint32_t vrel_hashtable_value_update(vrel_hashtable* table, const char* key, const void* value,
                                     uint32_t size, uint8_t copy) {
  return vrel_hashtable_value_update_ex(table, key, 0, value, size, copy);
}

uint32_t vrel_hashtable_value_update_ex(vrel_hashtable* table, const char* key, uint32_t index,
                                        const void* value, uint32_t size, uint8_t copy) {
  ENTER(table, _vrel_hashtable_check(table, key));
  Entry* old = _vrel_hashtable_find(table, _vrel_hashtable_key(table, key), index);
  if (old == nullptr) return kVrelNotFound;
  const bool copies = copy != 0 && value != nullptr;
  Entry* entry = _vrel_hashtable_entry_create(table, old->key, value, size, copies);
  if (entry == nullptr) return VREL_LOG_HERE(kVrelNoMemory);
  _vrel_hashtable_substitute(table, old, entry);
  _vrel_hashtable_entry_release(table, old);
  return 0;
}

uint32_t vrel_hashtable_value_remove(vrel_hashtable* table, const char* key) {
  return vrel_hashtable_value_remove_ex(table, key, 0);
}

uint32_t vrel_hashtable_value_remove_ex(vrel_hashtable* table, const char* key, uint32_t index) {
  ENTER(table, _vrel_hashtable_check(table, key));
  Entry* entry = _vrel_hashtable_find(table, _vrel_hashtable_key(table, key), index);
  if (entry == nullptr) return kVrelNotFound;
  _vrel_hashtable_unlink(table, entry);
  _vrel_hashtable_entry_release(table, entry);
  return 0;
}

uint32_t vrel_hashtable_value_delete(vrel_hashtable* table, const char* key) {
  ENTER(table, _vrel_hashtable_check(table, key));
  const Key hashed = _vrel_hashtable_key(table, key);
  // The key may be one that the table handed out, so it must outlive the search.
  Entry* removed = nullptr;
  Entry** end = &removed;
  Entry* entry = _vrel_hashtable_find(table, hashed, 0);
  while (entry != nullptr) {
    Entry* const next = entry->chain_next;
    if (_vrel_hashtable_matches(table, entry, hashed)) {
      _vrel_hashtable_unlink(table, entry);
      entry->chain_next = nullptr;
      *end = entry;
      end = &entry->chain_next;
    }
    entry = next;
  }
  if (removed == nullptr) return kVrelNotFound;
  while (removed != nullptr) {
    Entry* const next = removed->chain_next;
    _vrel_hashtable_entry_release(table, removed);
    removed = next;
  }
  return 0;
}

uint32_t vrel_hashtable_count(const vrel_hashtable* table, uint32_t* out_count) {
  if (out_count == nullptr) return VREL_LOG_HERE(kVrelInvalidArg);
  ENTER(table, _vrel_hashtable_check(table));
  *out_count = table->count;
  return 0;
}

uint32_t vrel_hashtable_value_count(const vrel_hashtable* table, const char* key,
                                    uint32_t* out_count) {
  if (out_count == nullptr) return VREL_LOG_HERE(kVrelInvalidArg);
  ENTER(table, _vrel_hashtable_check(table, key));
  const Key hashed = _vrel_hashtable_key(table, key);
  uint32_t count = 0;
  const Entry* entry = _vrel_hashtable_find(table, hashed, 0);
  for (; entry != nullptr; entry = entry->chain_next) {
    if (_vrel_hashtable_matches(table, entry, hashed)) ++count;
  }
  *out_count = count;
  return 0;
}

// ---- Bulk ----

uint32_t vrel_hashtable_clear(vrel_hashtable* table) {
  ENTER(table, _vrel_hashtable_check(table));
  Entry* entry = table->first;
  while (entry != nullptr) {
    Entry* const next = entry->order_next;
    _vrel_hashtable_entry_release(table, entry);
    entry = next;
  }
  vrel_memory_free(table->buckets);
  table->buckets = nullptr;
  table->bucket_count = 0;
  table->used_buckets = 0;
  table->first = nullptr;
  table->last = nullptr;
  table->count = 0;
  _vrel_hashtable_cursor_reset(table);
  return 0;
}

static uint32_t _vrel_hashtable_add_chain(vrel_hashtable* to, const Entry* chain) {
  for (const Entry* entry = chain; entry != nullptr; entry = entry->chain_next) {
    const uint32_t error =
        vrel_hashtable_value_add(to, entry->key, entry->value, entry->size, entry->copied);
    if (error != 0) return error;
  }
  return 0;
}

uint32_t vrel_hashtable_copy(const vrel_hashtable* source, vrel_hashtable** out) {
  if (out == nullptr) return VREL_LOG_HERE(kVrelInvalidArg);
  ENTER(source, _vrel_hashtable_check(source));
  vrel_hashtable* copy = nullptr;
  uint32_t error = vrel_hashtable_create(&copy, source->flags, source->release);
  for (uint32_t i = 0; error == 0 && i < source->bucket_count; ++i) {
    error = _vrel_hashtable_add_chain(copy, source->buckets[i]);
  }
  if (error == 0) {
    *out = copy;
    return 0;
  }
  if (copy == nullptr) return error;
  // What the copy has been given so far is still the source's.
  copy->release = nullptr;
  (void)vrel_hashtable_delete(copy);
  return error;
}

// ---- Iteration ----

static Entry* _vrel_hashtable_walk(Entry* entry, uint32_t steps) {
  for (; steps > 0; --steps) entry = entry->order_next;
  return entry;
}

// The entry at `index`, from the one that was handed out last if that is on the way.
static Entry* _vrel_hashtable_move_cursor(vrel_hashtable* table, uint32_t index) {
  (void)vrel_spinlock_lock(&table->cursor_lock);
  Entry* entry = table->cursor;
  uint32_t at = table->cursor_index;
  (void)vrel_spinlock_unlock(&table->cursor_lock);
  if (at > index) {
    entry = table->first;
    at = 0;
  }
  entry = _vrel_hashtable_walk(entry, index - at);
  (void)vrel_spinlock_lock(&table->cursor_lock);
  table->cursor = entry;
  table->cursor_index = index;
  (void)vrel_spinlock_unlock(&table->cursor_lock);
  return entry;
}

uint32_t vrel_hashtable_value_get(vrel_hashtable* table, uint32_t index, const char** out_key,
                                  void** out_value, uint32_t* out_size) {
  ENTER(table, _vrel_hashtable_check(table));
  if (index >= table->count) return kVrelOutOfRange;
  const Entry* entry = index <= kVrelHashtableNearIndex ? _vrel_hashtable_walk(table->first, index)
                                                        : _vrel_hashtable_move_cursor(table, index);
  if (out_key != nullptr) *out_key = entry->key;
  if (out_value != nullptr) *out_value = entry->value;
  if (out_size != nullptr) *out_size = entry->size;
  return 0;
}
