// vrel_stringmap: strings by string key, in a hash table.
//
// Rules and codes are those of vrel_hashtable.h, which also does the logging.
#ifndef VREL_STRINGMAP_H
#define VREL_STRINGMAP_H

#include <cstdint>

#include "vrel_datatypes.h"

struct vrel_stringmap;

// ---- Create and delete ----

// Flags: those of a hash table, and kVrelReferenceStrings.
uint32_t vrel_stringmap_create(vrel_stringmap** out, uint32_t flags);
uint32_t vrel_stringmap_delete(vrel_stringmap* map);

// ---- Add, find, remove ----

// The string is copied, or kept as a pointer under kVrelReferenceStrings. It must not be null.
uint32_t vrel_stringmap_value_add(vrel_stringmap* map, const char* key, const char* string);
uint32_t vrel_stringmap_value_find(const vrel_stringmap* map, const char* key,
                                   const char** out_string);
uint32_t vrel_stringmap_value_delete(vrel_stringmap* map, const char* key);
uint32_t vrel_stringmap_count(const vrel_stringmap* map, uint32_t* out_count);

// ---- Bulk ----

uint32_t vrel_stringmap_clear(vrel_stringmap* map);
uint32_t vrel_stringmap_copy(const vrel_stringmap* source, vrel_stringmap** out);

// ---- Iteration ----

uint32_t vrel_stringmap_value_get(vrel_stringmap* map, uint32_t index, const char** out_key,
                                  const char** out_string);

#endif  // VREL_STRINGMAP_H
