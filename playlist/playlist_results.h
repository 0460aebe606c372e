// playlist_results: a playlist, the ordered entries that a statement selected from a collection.
#ifndef PLAYLIST_RESULTS_H
#define PLAYLIST_RESULTS_H

#include <cstddef>
#include <cstdint>

#include "playlist_collection.h"
#include "trova_playlist.h"
#include "vrel_layout.h"
#include "vrel_thread.h"
#include "vrel_vector2.h"

// One entry of a playlist.
struct ResultEntry {
  int32_t score;
  ValueEntry record;  // the captured value that admitted the entry, and its ident
  uint32_t group;     // value of its ident for the attribute of LIMIT ... PER
};
static_assert(sizeof(ResultEntry) == 20, "there may be a million of them");

// Filled by one thread under the collection's lock, never changed once handed out: reading takes
// no lock.
struct trova_playlist_results {
  uint32_t magic;          // kResultsMagic
  vrel_critsec* lock;      // guards `refcount`; taken alone, last
  uint32_t refcount;       // 1 at creation
  Collection* collection;  // holds a reference, so the texts of the idents outlive the results
  vrel_vector2* entries;   // of ResultEntry
  bool distinct;           // no ident twice and in ident order: nothing was added since unique
  bool scored_later;       // ORDER will give every entry another score
};
using Results = trova_playlist_results;

static_assert(offsetof(Results, magic) == 0, "the handle manager reads the first word");
VREL_LAYOUT_FIELD(Results, lock, 4);
VREL_LAYOUT_FIELD(Results, refcount, 8);
VREL_LAYOUT_FIELD(Results, collection, 12);
VREL_LAYOUT_FIELD(Results, entries, 16);

// An empty playlist of a collection.
uint32_t _playlist_results_create(Collection* collection, Results** out_results);

// Appends one entry; in results that are sorted it goes to its place in the order.
uint32_t _playlist_results_add_result(Results* results, const ValueEntry& record, int32_t score);

// Appends entries, all or none; in results that are sorted each goes to its place, as far as they
// find room.
uint32_t _playlist_results_append(Results* results, const ResultEntry* entries, uint32_t count);

// Makes room for so many more entries.
uint32_t _playlist_results_reserve(Results* results, uint32_t count);

// Adds a copy of every entry of `source`, in its order. Answers what the last addition answered.
uint32_t _playlist_results_merge(Results* destination, Results* source);

// Brings the entries in ident order and keeps one of each ident: the one that the sort puts first,
// which is not necessarily the best. With `last` nothing will look at the records any more: where
// the scores do not tell entries of one ident apart either, any of them will do.
uint32_t _playlist_results_unique(Results* results, bool last);

// Ascending by ident.
int32_t playlist_results_sort_by_ident(const void* a, const void* b, uint32_t size);

// Gives one reference back; the last one also takes the handle out of the handle manager.
uint32_t _playlist_results_release(Results* results);

// Destroys results that were never handed out. Null is accepted.
void _playlist_results_delete(Results* results);

uint32_t playlist_results_count(const Results* results);

#endif  // PLAYLIST_RESULTS_H
