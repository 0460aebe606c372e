// vrel_hashindex: ids by the hashes of their strings, in ascending order of the hashes.
#include "vrel_hashindex.h"

#include <string.h>

#include "vrel_array_private.h"
#include "vrel_counts_private.h"
#include "vrel_memory.h"
#include "vrel_tuning.h"

using Entry = vrel_hashindex_entry;
using Place = vrel_hashindex_place;

static constexpr uint32_t kPerPage = kVrelIndexPerPage;
static constexpr uint32_t kReach = kVrelIndexReach;
static_assert(kPerPage >= 2, "a page must be able to give away a half and keep one");

struct HashPage {
  Entry* entries;
  uint32_t count;  // at least 1
  uint32_t room;
};

// No page is empty. The three arrays are as long as `room`, `tree` by one more.
struct vrel_hashindex {
  uint32_t count;
  uint32_t page_count;
  uint32_t room;
  uint32_t* firsts;  // the hash that each page begins with
  HashPage* pages;
  uint32_t* tree;  // of the counts of the pages, as in vrel_counts_private.h
};

// ---- Searching ----

static uint32_t _vrel_hashindex_hash(uint32_t first) {
  return first;
}
static uint32_t _vrel_hashindex_hash(const Entry& entry) {
  return entry.hash;
}

// How many of `count` elements in ascending order have a hash below this one.
template <typename Element>
static uint32_t _vrel_hashindex_below(const Element* elements, uint32_t count, uint32_t hash) {
  const Element* base = elements;
  for (uint32_t left = count; left > 0;) {
    const uint32_t half = (left + 1) / 2;
    // Which half it is no processor can guess, so there is no branch here.
    const bool is_below = _vrel_hashindex_hash(base[half - 1]) < hash;
    base += half & (0u - static_cast<uint32_t>(is_below));
    left -= half;
  }
  return static_cast<uint32_t>(base - elements);
}

// delta * count / span, nearly, for a delta not above the span: in 32 bits.
static uint32_t _vrel_hashindex_share(uint32_t delta, uint32_t span, uint32_t count) {
  const int shift = span < 0x10000u ? 0 : 16 - __builtin_clz(span);
  return (delta >> shift) * count / ((span >> shift) + 1);
}

// How many entries of a page have a hash below this one, which is above the page's first, `first`.
// `limit` is above all of them, or the first hash of the next page.
static uint32_t _vrel_hashindex_below_in_page(const HashPage& page, uint32_t hash, uint32_t first,
                                              uint32_t limit) {
  const uint32_t guess = _vrel_hashindex_share(hash - first, limit - first, page.count);
  const uint32_t low = guess > kReach ? guess - kReach : 0;
  const uint32_t high = page.count - low > 2 * kReach ? low + 2 * kReach : page.count;
  const bool from_low = low == 0 || page.entries[low].hash < hash;
  const bool to_high = high == page.count || page.entries[high].hash >= hash;
  if (!from_low || !to_high) return _vrel_hashindex_below(page.entries, page.count, hash);
  return low + _vrel_hashindex_below(page.entries + low, high - low, hash);
}

static uint32_t _vrel_hashindex_limit(const vrel_hashindex* index, uint32_t page) {
  return page + 1 < index->page_count ? index->firsts[page + 1] : UINT32_MAX;
}

bool vrel_hashindex_find(const vrel_hashindex* index, uint32_t hash,
                         vrel_hashindex_place* out_place) {
  *out_place = {0, 0};
  if (index->page_count == 0) return false;
  // The last page that begins below the hash holds its first entry, or ends right in front of it.
  const uint32_t next = _vrel_hashindex_below(index->firsts, index->page_count, hash);
  if (next == 0) return index->firsts[0] == hash;
  const HashPage& page = index->pages[next - 1];
  const uint32_t limit = _vrel_hashindex_limit(index, next - 1);
  const uint32_t first = index->firsts[next - 1];
  const uint32_t offset = _vrel_hashindex_below_in_page(page, hash, first, limit);
  *out_place = {next - 1, offset};
  if (offset < page.count) return page.entries[offset].hash == hash;
  if (next == index->page_count || limit != hash) return false;
  *out_place = {next, 0};
  return true;
}

// ---- Pages ----

static bool _vrel_hashindex_reserve(vrel_hashindex* index, uint32_t room) {
  if (room <= index->room) return true;
  void* const firsts = vrel_memory_realloc(index->firsts, size_t{room} * sizeof(uint32_t));
  if (firsts == nullptr) return false;
  index->firsts = static_cast<uint32_t*>(firsts);
  void* const pages = vrel_memory_realloc(index->pages, size_t{room} * sizeof(HashPage));
  if (pages == nullptr) return false;
  index->pages = static_cast<HashPage*>(pages);
  void* const tree = vrel_memory_realloc(index->tree, (size_t{room} + 1) * sizeof(uint32_t));
  if (tree == nullptr) return false;
  index->tree = static_cast<uint32_t*>(tree);
  index->room = room;
  return true;
}

static bool _vrel_hashindex_grow_page(HashPage* page, uint32_t room) {
  void* const entries = vrel_memory_realloc(page->entries, size_t{room} * sizeof(Entry));
  if (entries == nullptr) return false;
  page->entries = static_cast<Entry*>(entries);
  page->room = room;
  return true;
}

// Makes page number `at`, without entries: the caller fills it, and builds the tree.
static bool _vrel_hashindex_open(vrel_hashindex* index, uint32_t at, uint32_t room) {
  const bool is_full = index->page_count == index->room;
  const uint32_t wanted = index->room == 0 ? kVrelIndexFirstPages : index->room + index->room / 2;
  if (is_full && !_vrel_hashindex_reserve(index, wanted)) return false;
  HashPage fresh = {};
  if (!_vrel_hashindex_grow_page(&fresh, room)) return false;
  const uint32_t behind = index->page_count - at;
  memmove(index->pages + at + 1, index->pages + at, behind * sizeof(HashPage));
  memmove(index->firsts + at + 1, index->firsts + at, behind * sizeof(uint32_t));
  index->pages[at] = fresh;
  ++index->page_count;
  return true;
}

static void _vrel_hashindex_build_tree(vrel_hashindex* index) {
  _vrel_counts_build(index->tree, index->page_count,
                     [=](uint32_t page) { return index->pages[page].count; });
}

// Splits the full page of the place and moves the place along. Behind its last entry a page is
// opened beside it instead, so that ascending hashes fill the pages.
static bool _vrel_hashindex_split(vrel_hashindex* index, Place* place) {
  const uint32_t number = place->page;
  if (!_vrel_hashindex_open(index, number + 1, kPerPage)) return false;
  HashPage& lower = index->pages[number];
  HashPage& upper = index->pages[number + 1];
  const uint32_t kept = place->offset == lower.count ? lower.count : lower.count / 2;
  upper.count = lower.count - kept;
  lower.count = kept;
  memcpy(upper.entries, lower.entries + kept, upper.count * sizeof(Entry));
  if (upper.count > 0) index->firsts[number + 1] = upper.entries[0].hash;
  if (place->offset >= kept) *place = {number + 1, place->offset - kept};
  return true;
}

// Sees to it that the page of the place has room.
static bool _vrel_hashindex_make_room(vrel_hashindex* index, Place* place) {
  if (index->page_count == 0) return _vrel_hashindex_open(index, 0, kVrelIndexFirstEntries);
  HashPage* const page = index->pages + place->page;
  if (page->count < page->room) return true;
  if (page->room < kPerPage) {
    return _vrel_hashindex_grow_page(page, page->room < kPerPage / 2 ? page->room * 2 : kPerPage);
  }
  return _vrel_hashindex_split(index, place);
}

// ---- Create and delete ----

vrel_hashindex* vrel_hashindex_create() {
  return static_cast<vrel_hashindex*>(vrel_memory_calloc(1, sizeof(vrel_hashindex)));
}

void vrel_hashindex_clear(vrel_hashindex* index) {
  for (uint32_t i = 0; i < index->page_count; ++i) vrel_memory_free(index->pages[i].entries);
  vrel_memory_free(index->firsts);
  vrel_memory_free(index->pages);
  vrel_memory_free(index->tree);
  *index = {};
}

void vrel_hashindex_delete(vrel_hashindex* index) {
  if (index == nullptr) return;
  vrel_hashindex_clear(index);
  vrel_memory_free(index);
}

// ---- Add ----

bool vrel_hashindex_insert(vrel_hashindex* index, vrel_hashindex_place place,
                           vrel_hashindex_entry entry) {
  const uint32_t pages_before = index->page_count;
  if (!_vrel_hashindex_make_room(index, &place)) return false;
  HashPage& page = index->pages[place.page];
  Entry* const to = page.entries + place.offset;
  memmove(to + 1, to, (page.count - place.offset) * sizeof(Entry));
  *to = entry;
  ++page.count;
  ++index->count;
  if (place.offset == 0) index->firsts[place.page] = entry.hash;
  if (index->page_count == pages_before) {
    _vrel_counts_add(index->tree, index->page_count, place.page, 1);
  } else {
    _vrel_hashindex_build_tree(index);
  }
  return true;
}

static uint32_t _vrel_hashindex_position(const vrel_hashindex* index, Place place) {
  return _vrel_counts_before(index->tree, place.page) + place.offset;
}

// The position of the first entry above the hash.
static uint32_t _vrel_hashindex_end(const vrel_hashindex* index, uint32_t hash) {
  Place place = {0, 0};
  if (hash == UINT32_MAX) return index->count;
  (void)vrel_hashindex_find(index, hash + 1, &place);
  return _vrel_hashindex_position(index, place);
}

bool vrel_hashindex_insert_equal(vrel_hashindex* index, vrel_hashindex_entry entry) {
  Place place = {0, 0};
  if (vrel_hashindex_find(index, entry.hash, &place)) {
    const uint32_t first = _vrel_hashindex_position(index, place);
    const uint32_t end = _vrel_hashindex_end(index, entry.hash);
    place.offset = _vrel_search_sorted(index->count, [=](uint32_t i) {
                     return i < first ? -1 : static_cast<int32_t>(i >= end);
                   }).index;
    place.page = _vrel_counts_locate(index->tree, index->page_count, &place.offset);
  }
  return vrel_hashindex_insert(index, place, entry);
}

bool vrel_hashindex_fill(vrel_hashindex* index, const vrel_hashindex_entry* entries,
                         uint32_t count) {
  bool fits = _vrel_hashindex_reserve(index, count / kPerPage + kVrelIndexFirstPages);
  for (uint32_t left = count; fits && left > 0;) {
    const uint32_t take = left < kPerPage ? left : kPerPage;
    fits = _vrel_hashindex_open(index, index->page_count, take);
    if (!fits) break;
    HashPage& page = index->pages[index->page_count - 1];
    memcpy(page.entries, entries, take * sizeof(Entry));
    page.count = take;
    index->firsts[index->page_count - 1] = entries[0].hash;
    entries += take;
    left -= take;
  }
  if (!fits) {
    vrel_hashindex_clear(index);
    return false;
  }
  index->count = count;
  _vrel_hashindex_build_tree(index);
  return true;
}

// ---- Reading ----

uint32_t vrel_hashindex_count(const vrel_hashindex* index) {
  return index->count;
}

uint32_t vrel_hashindex_id(const vrel_hashindex* index, vrel_hashindex_place place) {
  return index->pages[place.page].entries[place.offset].id;
}

const vrel_hashindex_entry* vrel_hashindex_span(const vrel_hashindex* index, uint32_t position,
                                                uint32_t* out_count) {
  const uint32_t number = _vrel_counts_locate(index->tree, index->page_count, &position);
  const HashPage& page = index->pages[number];
  *out_count = page.count - position;
  return page.entries + position;
}
