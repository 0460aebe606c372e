// vrel_vector: a growable array of values the size of a pointer.
//
// Errors with bit 31 are logged as "vrel_vector". Unless a function says otherwise: null arguments
// give kVrelInvalidArg, `out` parameters are written on success only, and a failed call leaves the
// vector as it was.
//
// Two values are the same when the comparison says so, or, in the "literal" functions, when it
// says so and they are the same number, so that a pointer finds itself among equals.
#ifndef VREL_VECTOR_H
#define VREL_VECTOR_H

#include <cstdint>

#include "vrel_datatypes.h"

struct vrel_vector;

// Negative, zero or positive as value `a` goes before, beside or after value `b`.
typedef int32_t (*vrel_vector_compare)(uintptr_t a, uintptr_t b);

// Called once for each value that the vector discards. It must not touch the vector.
typedef void (*vrel_vector_release)(uintptr_t value);

// ---- Create and delete ----

// Flags: kVrelThreadSafe, kVrelSorted. Both callbacks may be null; without a comparison the values
// are compared as unsigned numbers. Codes: kVrelNotInited, kVrelNoMemory.
uint32_t vrel_vector_create(vrel_vector** out, uint32_t flags, vrel_vector_compare compare,
                            vrel_vector_release release);

// Releases every value, then the vector. Code: kVrelBadHandle2.
uint32_t vrel_vector_delete(vrel_vector* vector);

// ---- Add, find, remove ----

// Adds the value at its place in a sorted vector, literally compared, at the end of any other.
// Codes: kVrelBadHandle, kVrelNoMemory.
uint32_t vrel_vector_add(vrel_vector* vector, uintptr_t value);

// Puts the value at `index`; the count itself appends. A vector that is out of order afterwards is
// no longer sorted. Codes: kVrelBadHandle, kVrelOutOfRange, kVrelNoMemory.
uint32_t vrel_vector_insert(vrel_vector* vector, uint32_t index, uintptr_t value);

// Codes: kVrelBadHandle2, kVrelOutOfRange.
uint32_t vrel_vector_getindex(const vrel_vector* vector, uint32_t index, uintptr_t* out_value);

// Code: kVrelBadHandle2.
uint32_t vrel_vector_count(const vrel_vector* vector, uint32_t* out_count);

// The lowest index of an equal value, or of the very same one. `out_index` may be null.
// Codes: kVrelBadHandle2, kVrelNotFound.
uint32_t vrel_vector_find(const vrel_vector* vector, uintptr_t value, uint32_t* out_index);
uint32_t vrel_vector_find_literal(const vrel_vector* vector, uintptr_t value, uint32_t* out_index);

// Takes a value out without releasing it. `out_value` may be null.
// Codes: kVrelBadHandle2, kVrelOutOfRange.
uint32_t vrel_vector_removeindex(vrel_vector* vector, uint32_t index, uintptr_t* out_value);

// Takes a value out and releases it. Codes: kVrelBadHandle2, kVrelOutOfRange.
uint32_t vrel_vector_deleteindex(vrel_vector* vector, uint32_t index);

// ---- Bulk ----

// Sorts by `compare`, which becomes the vector's own; null takes the comparison away and sorts
// nothing. Values that it calls equal are ordered as numbers. With `force` 0 a vector that is
// sorted that way already is left alone. Code: kVrelBadHandle2.
uint32_t vrel_vector_sort(vrel_vector* vector, vrel_vector_compare compare, uint8_t force);

// Releases every value and keeps the array. The sorted flag stays as it is. Code: kVrelBadHandle2.
uint32_t vrel_vector_clear(vrel_vector* vector);

// Raises the capacity; it never falls. Codes: kVrelBadHandle, kVrelNoMemory.
uint32_t vrel_vector_set_min_size(vrel_vector* vector, uint32_t capacity);

#endif  // VREL_VECTOR_H
