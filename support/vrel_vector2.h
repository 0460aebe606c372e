// vrel_vector2: a growable array of elements of one size, held by value.
//
// Small vectors, and large ones that only grow at their end, are one flat array. A large vector
// that is changed in its middle turns into a list of pages, so that no single change moves more
// than a page; operations that need one array turn it back. Nothing but the cost tells the two
// apart, and that elements move on every change in either.
//
// Errors with bit 31 are logged as "vrel_vector2". Unless a function says otherwise: null
// arguments give kVrelInvalidArg, `out` parameters are written on success only, and a failed call
// leaves the vector as it was. Values to be added must not lie in the vector itself: it may move
// while it grows.
//
// Operations that only read (find, getindex, span, count) may run at the same time on several
// threads. All others need the caller's lock, or the flag kVrelThreadSafe.
#ifndef VREL_VECTOR2_H
#define VREL_VECTOR2_H

#include <cstdint>

#include "vrel_datatypes.h"

struct vrel_vector2;

// Negative, zero or positive as element `a` goes before, beside or after element `b`.
typedef int32_t (*vrel_vector2_compare)(const void* a, const void* b, uint32_t element_size);

// Called once for each element that the vector discards. It must not touch the vector.
typedef void (*vrel_vector2_release)(void* element);

// ---- Create and delete ----

// Flags: kVrelThreadSafe, kVrelSorted, kVrelUnique. Without a comparison the addresses of the
// elements are compared, which orders nothing: who sorts or finds must give one.
//
// When the lock of a thread-safe vector cannot be created, that failure is returned AND the vector
// is handed out, without a lock; the caller deletes it.
// Codes: kVrelNotInited, kVrelNoMemory.
uint32_t vrel_vector2_create(vrel_vector2** out, uint32_t element_size, uint32_t flags,
                             vrel_vector2_compare compare, vrel_vector2_release release);

// Releases every element, then the vector. Code: kVrelBadHandle2.
uint32_t vrel_vector2_delete(vrel_vector2* vector);

// ---- Add, find, remove ----

// Adds a copy of the element: at its place in a sorted vector (in front of the equal element that
// the search hit, if any), at the end of any other. A unique vector that holds an equal element
// stays as it is; the result is 0 and the index that of the element found.
// `out_index` may be null. Codes: kVrelBadHandle, kVrelSizeMismatch, kVrelNoMemory.
uint32_t vrel_vector2_add(vrel_vector2* vector, const void* value, uint32_t value_size,
                          uint32_t* out_index);

// Puts a copy of the element at `index`; the count itself appends. A vector that is out of order
// afterwards is no longer sorted.
// Codes: kVrelBadHandle, kVrelOutOfRange, kVrelSizeMismatch, kVrelNoMemory.
uint32_t vrel_vector2_insert(vrel_vector2* vector, uint32_t index, const void* value,
                             uint32_t value_size);

// The element itself, not a copy: valid until the vector's next change.
// Codes: kVrelBadHandle2, kVrelOutOfRange.
uint32_t vrel_vector2_getindex(const vrel_vector2* vector, uint32_t index, void** out_element);

// Code: kVrelBadHandle2.
uint32_t vrel_vector2_count(const vrel_vector2* vector, uint32_t* out_count);

// The lowest index of an equal element. `out_index` may be null.
// Codes: kVrelBadHandle2, kVrelNotFound.
uint32_t vrel_vector2_find(const vrel_vector2* vector, const void* value, uint32_t* out_index);

// Codes: kVrelBadHandle2, kVrelOutOfRange.
uint32_t vrel_vector2_deleteindex(vrel_vector2* vector, uint32_t index);

// Both ends included. `last` may lie past the end; a range that ends before it starts is empty.
// Codes: kVrelBadHandle2, kVrelOutOfRange (for `first`).
uint32_t vrel_vector2_deleterange(vrel_vector2* vector, uint32_t first, uint32_t last);

// ---- Bulk ----

// Sorts by `compare`, which becomes the vector's own; null takes the comparison away and sorts
// nothing. With `force` 0 a vector that is sorted that way already is left alone.
//
// Ties end up where vrel_utils_qsort leaves them: up to 1,024 elements that is always the order of
// its quicksort. Above, input that would take a healthy quicksort too many comparisons is sorted in
// another way, and its ties may be in any order.
// Codes: kVrelBadHandle2, kVrelNoMemory (a paged vector found no room for one array).
uint32_t vrel_vector2_sort(vrel_vector2* vector, vrel_vector2_compare compare, uint8_t force);

// Where elements carry the 32-bit number that a comparison orders them by.
struct vrel_vector2_key {
  uint32_t offset;  // in the element
  uint32_t flip;    // bits to turn round, after which the numbers ascend
  bool free_ties;   // equal elements may end up in any order
  bool unique;      // of equal elements all but the first may be dropped on the way
};

// As vrel_vector2_sort with `force` 0, for a comparison that agrees with a key: many times quicker,
// to the same order, that of ties included unless `free_ties` (above 1,024 elements both functions
// may leave ties in any order, and not the same one). Numbers that lie 2^31 or more apart are left
// to the comparison, which may take a difference that wraps around.
uint32_t vrel_vector2_sort_by_key(vrel_vector2* vector, vrel_vector2_compare compare,
                                  const vrel_vector2_key* key);

// Sorts like that and drops (releasing them) all but the first `count` elements.
uint32_t vrel_vector2_sort_first(vrel_vector2* vector, vrel_vector2_compare compare,
                                 const vrel_vector2_key* key, uint32_t count);

// Releases every element and the array. The sorted flag stays as it is. Code: kVrelBadHandle2.
uint32_t vrel_vector2_clear(vrel_vector2* vector);

// Sets the capacity, which may also shrink; a capacity below the count changes nothing.
// A null vector returns 0. Codes: kVrelBadHandle, kVrelNoMemory.
uint32_t vrel_vector2_set_min_size(vrel_vector2* vector, uint32_t capacity);

// Makes room for `count` more elements, and an eighth beyond them when that takes a larger array.
// Codes: kVrelBadHandle, kVrelNoMemory.
uint32_t vrel_vector2_reserve(vrel_vector2* vector, uint32_t count);

// Whether the vector is in the order of its comparison, which adding keeps. False also for a null
// or dead vector.
bool vrel_vector2_is_sorted(const vrel_vector2* vector);

// Sets the capacity to the count. Codes: kVrelBadHandle2, kVrelNoMemory.
uint32_t vrel_vector2_trim(vrel_vector2* vector);

// Adds copies of `count` elements at the end, or none of them; the order is checked as
// vrel_vector2_insert does. Codes: kVrelBadHandle, kVrelSizeMismatch, kVrelNoMemory.
uint32_t vrel_vector2_append_n(vrel_vector2* vector, const void* values, uint32_t count,
                               uint32_t value_size);

// Decides about one element: `*out_keep` arrives as 1, and 0 drops the element. A result other
// than 0 ends the walk.
typedef uint32_t (*vrel_vector2_keep)(void* element, void* context, uint8_t* out_keep);

// Asks `keep` about every element in order, in one pass, and drops (releasing them) those that it
// does not keep; the others stay in order, and a sorted vector stays sorted. A result of `keep`
// other than 0 is returned; that element and all behind it stay.
// `keep` must not touch the vector. Code: kVrelBadHandle2.
uint32_t vrel_vector2_retain(vrel_vector2* vector, vrel_vector2_keep keep, void* context);

// The live array, its size in bytes (count times element size) and the element size; valid until
// the next change. Codes: kVrelBadHandle, kVrelNoMemory.
uint32_t vrel_vector2_get_buffer(vrel_vector2* vector, void** out_data, uint32_t* out_size,
                                 uint32_t* out_element_size);

// Clears the vector and lets it work on the caller's array, of `size` bytes. With `owns_data` it
// comes from vrel_memory_alloc and is now the vector's; else it stays the caller's, must outlive
// the attachment, and is copied before the vector grows. The vector is no longer sorted.
// Codes: kVrelBadHandle, kVrelSizeMismatch.
uint32_t vrel_vector2_attach(vrel_vector2* vector, void* data, uint32_t size, uint32_t element_size,
                             uint8_t owns_data);

// Hands out array, capacity and element size and then clears the vector, releasing every element.
// So the array survives only when it was attached without ownership; any other is freed by the
// time the caller sees the pointer. Codes: kVrelBadHandle, kVrelNoMemory.
uint32_t vrel_vector2_detach(vrel_vector2* vector, void** out_data, uint32_t* out_capacity,
                             uint32_t* out_element_size);

// ---- Iteration ----

// The longest run of elements from `index` on that lie side by side: the first of them, and how
// many there are. Valid until the vector's next change. Codes: kVrelBadHandle2, kVrelOutOfRange.
//
//   for (uint32_t i = 0; vrel_vector2_span(vector, i, &first, &run) == 0; i += run) ...
uint32_t vrel_vector2_span(const vrel_vector2* vector, uint32_t index, void** out_first,
                           uint32_t* out_count);

// ---- Tuning ----

// From how many bytes of moved tail on a change in the middle turns the vector into pages, and how
// large a page is. Vectors start with figures that suit them; tests make pages tiny with this.
// Takes effect when the vector next turns into pages. Code: kVrelBadHandle2.
uint32_t vrel_vector2_set_paging(vrel_vector2* vector, uint32_t long_tail, uint32_t page_bytes);

#endif  // VREL_VECTOR2_H
