// vrel_pages: a sequence of elements in pages, for vectors too long to move their tail.
//
// Finding an element by its index takes a logarithmic number of steps in the number of pages;
// inserting and removing move at most half a page's elements besides. No page is empty. Building at
// either end fills the pages; elsewhere a full page is split in half.
//
// Nothing here is logged or locked; that is the owner's part. Reading changes nothing, so any
// number of threads may read at once.
#ifndef VREL_PAGES_H
#define VREL_PAGES_H

#include <cstdint>

struct vrel_pages;

// ---- Create and delete ----

// Takes over an array of `count` elements from the allocator: most pages are cut from it and stay
// where they are. Null, and the array is still the caller's, when memory is short.
vrel_pages* vrel_pages_adopt(void* array, uint32_t count, uint32_t element_size,
                             uint32_t page_bytes);
void vrel_pages_delete(vrel_pages* pages);

// ---- Add, find, remove ----

// Puts a copy of the element at `index`, which may be the count. False, and nothing is changed,
// when memory is short.
[[nodiscard]] bool vrel_pages_insert(vrel_pages* pages, uint32_t index, const void* element);

// The element at `index`, which must exist, and how many lie side by side from it on.
void* vrel_pages_span(const vrel_pages* pages, uint32_t index, uint32_t* out_count);

// Negative, zero or positive as element `a` goes before, beside or after element `b`.
typedef int32_t (*vrel_pages_compare)(const void* a, const void* b, uint32_t element_size);

// In pages that are sorted by `compare`: how many elements compare below `limit` with the value.
// That is the index of the first equal element for 0, and of the one behind the last for 1.
uint32_t vrel_pages_rank(const vrel_pages* pages, vrel_pages_compare compare, const void* value,
                         int32_t limit);

// Removes `count` elements from `index` on, all of which must exist.
void vrel_pages_erase(vrel_pages* pages, uint32_t index, uint32_t count);

// ---- Bulk ----

// Copies all elements, in order, to where they lie side by side.
void vrel_pages_copy_out(const vrel_pages* pages, void* to);

#endif  // VREL_PAGES_H
