// vrel_stringmap: strings by string key, in a hash table.
#include "vrel_stringmap.h"

#include <string.h>

#include "vrel_error.h"
#include "vrel_hashtable.h"
#include "vrel_memory.h"

static const char kSource[] = "vrel_stringmap";

static constexpr uint32_t kMagic = 0x13abcdefu;

struct vrel_stringmap {
  uint32_t magic;
  uint32_t flags;
  vrel_hashtable* table;  // its values are the strings with their terminators
};

static uint32_t _vrel_stringmap_check(const vrel_stringmap* map) {
  if (map == nullptr) return kVrelInvalidArg;
  return map->magic == kMagic ? 0 : kVrelBadHandle2;
}

// Opens a public operation: returns what the check of the handle says, if anything.
#define ENTER(map) \
  if (const uint32_t bad = _vrel_stringmap_check(map)) return VREL_LOG_HERE(bad)

// ---- Create and delete ----

// A map without a table.
static vrel_stringmap* _vrel_stringmap_new(uint32_t flags) {
  auto* map = static_cast<vrel_stringmap*>(vrel_memory_calloc(1, sizeof(vrel_stringmap)));
  if (map == nullptr) return nullptr;
  map->magic = kMagic;
  map->flags = flags;
  return map;
}

uint32_t vrel_stringmap_create(vrel_stringmap** out, uint32_t flags) {
  if (vrel_datatypes_initchecks() == 0) return VREL_LOG_HERE(kVrelNotInited);
  if (out == nullptr) return VREL_LOG_HERE(kVrelInvalidArg);
  vrel_stringmap* map = _vrel_stringmap_new(flags);
  if (map == nullptr) return VREL_LOG_HERE(kVrelNoMemory);
  const uint32_t error = vrel_hashtable_create(&map->table, flags, nullptr);
  if (error != 0) {
    vrel_memory_free(map);
    return error;
  }
  *out = map;
  return 0;
}

uint32_t vrel_stringmap_delete(vrel_stringmap* map) {
  ENTER(map);
  const uint32_t error = vrel_hashtable_delete(map->table);
  if (error != 0) return error;
  map->magic = 0;
  vrel_memory_free(map);
  return 0;
}

// ---- Add, find, remove ----

uint32_t vrel_stringmap_value_add(vrel_stringmap* map, const char* key, const char* string) {
  ENTER(map);
  if (string == nullptr) return VREL_LOG_HERE(kVrelInvalidArg);
  const size_t size = strlen(string) + 1;
  if (size > UINT32_MAX) return VREL_LOG_HERE(kVrelNoMemory);
  const uint8_t copy = (map->flags & kVrelReferenceStrings) == 0 ? 1 : 0;
  return vrel_hashtable_value_add(map->table, key, string, static_cast<uint32_t>(size), copy);
}

uint32_t vrel_stringmap_value_find(const vrel_stringmap* map, const char* key,
                                   const char** out_string) {
  ENTER(map);
  void* value = nullptr;
  const uint32_t error = vrel_hashtable_value_find(map->table, key, &value, nullptr);
  if (error == 0 && out_string != nullptr) *out_string = static_cast<const char*>(value);
  return error;
}

uint32_t vrel_stringmap_value_delete(vrel_stringmap* map, const char* key) {
  ENTER(map);
  return vrel_hashtable_value_delete(map->table, key);
}

uint32_t vrel_stringmap_count(const vrel_stringmap* map, uint32_t* out_count) {
  ENTER(map);
  return vrel_hashtable_count(map->table, out_count);
}

// ---- Bulk ----

uint32_t vrel_stringmap_clear(vrel_stringmap* map) {
  ENTER(map);
  return vrel_hashtable_clear(map->table);
}

uint32_t vrel_stringmap_copy(const vrel_stringmap* source, vrel_stringmap** out) {
  ENTER(source);
  if (out == nullptr) return VREL_LOG_HERE(kVrelInvalidArg);
  vrel_stringmap* map = _vrel_stringmap_new(source->flags);
  if (map == nullptr) return VREL_LOG_HERE(kVrelNoMemory);
  const uint32_t error = vrel_hashtable_copy(source->table, &map->table);
  if (error != 0) {
    vrel_memory_free(map);
    return error;
  }
  *out = map;
  return 0;
}

// ---- Iteration ----

uint32_t vrel_stringmap_value_get(vrel_stringmap* map, uint32_t index, const char** out_key,
                                  const char** out_string) {
  ENTER(map);
  void* value = nullptr;
  const uint32_t error = vrel_hashtable_value_get(map->table, index, out_key, &value, nullptr);
  if (error == 0 && out_string != nullptr) *out_string = static_cast<const char*>(value);
  return error;
}
