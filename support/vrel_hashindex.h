// vrel_hashindex: ids by the hashes of their strings, in ascending order of the hashes.
//
// The entries lie in sorted pages. A search picks the page by a list of the pages' first hashes and
// guesses where in the page the hash is, as if hashes were spread evenly; where they are not it
// halves the page. So it takes a logarithmic number of steps whatever the hashes are, and one or
// two fetches from memory when they are spread. An entry takes 8 bytes, 16 where pages are half
// full.
//
// Nothing here is logged or locked; that is the owner's part. Reading changes nothing.
#ifndef VREL_HASHINDEX_H
#define VREL_HASHINDEX_H

#include <cstdint>

struct vrel_hashindex;

struct vrel_hashindex_entry {
  uint32_t hash;
  uint32_t id;
};
static_assert(sizeof(vrel_hashindex_entry) == 8, "two words");

// Null when memory is short.
vrel_hashindex* vrel_hashindex_create();
void vrel_hashindex_delete(vrel_hashindex* index);
void vrel_hashindex_clear(vrel_hashindex* index);

uint32_t vrel_hashindex_count(const vrel_hashindex* index);

// Where an entry is or goes. Good until the index changes.
struct vrel_hashindex_place {
  uint32_t page;
  uint32_t offset;
};

// True when there is an entry of the hash. `*out_place` is that of the first one, else where a new
// one goes.
bool vrel_hashindex_find(const vrel_hashindex* index, uint32_t hash,
                         vrel_hashindex_place* out_place);

uint32_t vrel_hashindex_id(const vrel_hashindex* index, vrel_hashindex_place place);

// Puts an entry where the search for its hash, which found none, said. False, and nothing is
// changed, when memory is short.
[[nodiscard]] bool vrel_hashindex_insert(vrel_hashindex* index, vrel_hashindex_place place,
                                         vrel_hashindex_entry entry);

// The same for a hash that may have entries. Which of them the new one goes in front of is what
// the search of a sorted vector would hit: the order of equal hashes decides which string is found,
// and it must be the same in every index of a text.
[[nodiscard]] bool vrel_hashindex_insert_equal(vrel_hashindex* index, vrel_hashindex_entry entry);

// Fills an empty index with entries in ascending order. False, and it stays empty, when memory is
// short.
[[nodiscard]] bool vrel_hashindex_fill(vrel_hashindex* index, const vrel_hashindex_entry* entries,
                                       uint32_t count);

// The entry at `position`, which must exist, and how many lie side by side from it on.
const vrel_hashindex_entry* vrel_hashindex_span(const vrel_hashindex* index, uint32_t position,
                                                uint32_t* out_count);

#endif  // VREL_HASHINDEX_H
