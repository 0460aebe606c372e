// vrel_hashtable: values by string key, enumerated in the order of their insertion.
//
// Keys compare without regard to ASCII case unless the table is made kVrelCaseSensitive.
//
// A key is told from others by its 32-bit hash. Two different keys with one hash therefore are one
// key; only in a kVrelMultiValue table does the second of them get an entry of its own, which is
// found by its text from then on.
//
// Errors with bit 31 are logged as "vrel_hashtable". Unless a function says otherwise: a null table
// or key and an empty key give kVrelInvalidArg, a dead table kVrelBadHandle2, other `out`
// parameters may be null and are written on success only, and a failed call leaves the table as it
// was. What is found stays valid until its entry goes.
//
// Operations that only read, value_get among them, may run at the same time on several threads.
// All others need the caller's lock, or the flag kVrelThreadSafe.
#ifndef VREL_HASHTABLE_H
#define VREL_HASHTABLE_H

#include <cstdint>

#include "vrel_datatypes.h"

struct vrel_hashtable;

// Called for each value that the table discards, unless the value is null or was copied in. It
// must not touch the table.
typedef void (*vrel_hashtable_release)(void* value, uint32_t size);

// ---- Create and delete ----

// Flags: kVrelThreadSafe, kVrelCaseSensitive, kVrelMultiValue, kVrelReferenceKeys. `release` may be
// null. Codes: kVrelNotInited, kVrelNoMemory; a null `out` gives kVrelInvalidArg.
uint32_t vrel_hashtable_create(vrel_hashtable** out, uint32_t flags,
                               vrel_hashtable_release release);

// Discards every value, then the table.
uint32_t vrel_hashtable_delete(vrel_hashtable* table);

// ---- Add, find, remove ----

// Adds a value under a key. A key that is there already has its value replaced, which moves it to
// the end of the enumeration; in a kVrelMultiValue table it gains one more. With `copy` the `size`
// bytes are copied into the table, else the pointer is kept and becomes the table's to release.
// Code: kVrelNoMemory; the value then stays the caller's.
uint32_t vrel_hashtable_value_add(vrel_hashtable* table, const char* key, const void* value,
                                  uint32_t size, uint8_t copy);

// The first value under the key, or the one at `index`, in the order of addition.
// Code: kVrelNotFound.
uint32_t vrel_hashtable_value_find(const vrel_hashtable* table, const char* key, void** out_value,
                                   uint32_t* out_size);
uint32_t vrel_hashtable_value_find_ex(const vrel_hashtable* table, const char* key, uint32_t index,
                                      void** out_value, uint32_t* out_size);

// Replaces a value that is there, in its place. Codes: kVrelNotFound, kVrelNoMemory.
uint32_t vrel_hashtable_value_update(vrel_hashtable* table, const char* key, const void* value,
                                     uint32_t size, uint8_t copy);
uint32_t vrel_hashtable_value_update_ex(vrel_hashtable* table, const char* key, uint32_t index,
                                        const void* value, uint32_t size, uint8_t copy);

// Discards the first value under the key, the one at `index`, or all of them.
// Code: kVrelNotFound.
uint32_t vrel_hashtable_value_remove(vrel_hashtable* table, const char* key);
uint32_t vrel_hashtable_value_remove_ex(vrel_hashtable* table, const char* key, uint32_t index);
uint32_t vrel_hashtable_value_delete(vrel_hashtable* table, const char* key);

// How many values there are, in all or under one key (0 is no error). A null output gives
// kVrelInvalidArg.
uint32_t vrel_hashtable_count(const vrel_hashtable* table, uint32_t* out_count);
uint32_t vrel_hashtable_value_count(const vrel_hashtable* table, const char* key,
                                    uint32_t* out_count);

// ---- Bulk ----

// Discards every value.
uint32_t vrel_hashtable_clear(vrel_hashtable* table);

// A new table with the same flags, release function and values. The copy enumerates by bucket, not
// in the source's order. Values that were not copied in are shared, so with a release function
// both tables will release them.
uint32_t vrel_hashtable_copy(const vrel_hashtable* source, vrel_hashtable** out);

// ---- Iteration ----

// The value at `index` in the order of insertion. Rising indexes cost one step each.
// Code: kVrelOutOfRange.
uint32_t vrel_hashtable_value_get(vrel_hashtable* table, uint32_t index, const char** out_key,
                                  void** out_value, uint32_t* out_size);

#endif  // VREL_HASHTABLE_H
