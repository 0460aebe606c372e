// vrel_pages: a sequence of elements in pages, for vectors too long to move their tail.
#include "vrel_pages.h"

#include <string.h>

#include "vrel_counts_private.h"
#include "vrel_memory.h"
#include "vrel_tuning.h"

// A page must be able to give away a half and keep one.
static constexpr uint32_t kLeastPerPage = 2;
static constexpr uint32_t kFirstRoom = kVrelPagesFirstRoom;

// A block with room for per_page elements. Elements come in at whichever end is nearer.
struct Page {
  char* block;
  uint32_t start;  // where in the block the first element is
  uint32_t count;  // 1 to per_page
};

struct vrel_pages {
  uint32_t element_size;
  uint32_t per_page;  // the most elements that a page holds
  uint32_t page_count;
  uint32_t room;  // pages for which `list` has room, and `tree` for one more
  Page* list;
  uint32_t* tree;    // of the counts of the pages, as in vrel_counts_private.h
  char* array;       // what was taken over; null when none of it is in use
  size_t array_end;  // the bytes of it that blocks of pages were cut from
  uint32_t cut;      // pages whose block is a cut of the array
};

// An element's place. An offset equal to the page's count is the place behind its last element.
struct Place {
  uint32_t page;
  uint32_t offset;
};

static size_t _vrel_pages_bytes(const vrel_pages* pages, uint32_t count) {
  return size_t{count} * pages->element_size;
}

static char* _vrel_pages_at(const vrel_pages* pages, const Page& page, uint32_t offset) {
  return page.block + _vrel_pages_bytes(pages, page.start + offset);
}

static char* _vrel_pages_address(const vrel_pages* pages, Place place) {
  return _vrel_pages_at(pages, pages->list[place.page], place.offset);
}

// After pages came, went or changed places.
static void _vrel_pages_tree_build(vrel_pages* pages) {
  _vrel_counts_build(pages->tree, pages->page_count,
                     [=](uint32_t page) { return pages->list[page].count; });
}

// The place of element `index`; for the count, the one behind the last element. There must be a
// page.
static Place _vrel_pages_locate(const vrel_pages* pages, uint32_t index) {
  const uint32_t page = _vrel_counts_locate(pages->tree, pages->page_count, &index);
  if (page < pages->page_count) return {page, index};
  return {page - 1, pages->list[page - 1].count};
}

// ---- The list of pages ----

static bool _vrel_pages_reserve(vrel_pages* pages, uint32_t room) {
  if (room <= pages->room) return true;
  void* list = vrel_memory_realloc(pages->list, room * sizeof(Page));
  if (list == nullptr) return false;
  pages->list = static_cast<Page*>(list);
  void* tree = vrel_memory_realloc(pages->tree, (size_t{room} + 1) * sizeof(uint32_t));
  if (tree == nullptr) return false;
  pages->tree = static_cast<uint32_t*>(tree);
  pages->room = room;
  return true;
}

// Makes room in the list for page number `at` and puts it there. The caller builds the tree.
static bool _vrel_pages_enter(vrel_pages* pages, uint32_t at, Page fresh) {
  if (pages->page_count == pages->room) {
    const uint32_t room = pages->room == 0 ? kFirstRoom : pages->room + pages->room / 2;
    if (!_vrel_pages_reserve(pages, room)) return false;
  }
  Page* page = pages->list + at;
  memmove(page + 1, page, (pages->page_count - at) * sizeof(Page));
  *page = fresh;
  ++pages->page_count;
  return true;
}

// Makes page number `at`, without elements, of which the first goes to `start` in its block.
static bool _vrel_pages_open(vrel_pages* pages, uint32_t at, uint32_t start) {
  auto* block = static_cast<char*>(vrel_memory_alloc(_vrel_pages_bytes(pages, pages->per_page)));
  if (block == nullptr) return false;
  if (_vrel_pages_enter(pages, at, {block, start, 0})) return true;
  vrel_memory_free(block);
  return false;
}

static bool _vrel_pages_is_cut(const vrel_pages* pages, const char* block) {
  const auto begin = reinterpret_cast<uintptr_t>(pages->array);
  return pages->array != nullptr && reinterpret_cast<uintptr_t>(block) - begin < pages->array_end;
}

static void _vrel_pages_free_block(vrel_pages* pages, char* block) {
  if (!_vrel_pages_is_cut(pages, block)) {
    vrel_memory_free(block);
  } else if (--pages->cut == 0) {
    vrel_memory_free(pages->array);
    pages->array = nullptr;
  }
}

// Frees the empty ones of the pages [first, last).
static void _vrel_pages_drop_empty(vrel_pages* pages, uint32_t first, uint32_t last) {
  uint32_t kept = first;
  for (uint32_t i = first; i < last; ++i) {
    if (pages->list[i].count == 0) {
      _vrel_pages_free_block(pages, pages->list[i].block);
    } else {
      pages->list[kept++] = pages->list[i];
    }
  }
  memmove(pages->list + kept, pages->list + last, (pages->page_count - last) * sizeof(Page));
  pages->page_count -= last - kept;
}

// ---- Create and delete ----

// Cuts the array into pages. What is left at its end, and has no room for a page, is copied into
// one of its own.
static bool _vrel_pages_cut_up(vrel_pages* pages, char* array, uint32_t count) {
  const uint32_t whole = count / pages->per_page;
  const uint32_t rest = count - whole * pages->per_page;
  if (!_vrel_pages_reserve(pages, whole + kFirstRoom)) return false;
  const char* end = array + _vrel_pages_bytes(pages, count - rest);
  if (rest > 0) {
    if (!_vrel_pages_open(pages, 0, 0)) return false;
    pages->list[0].count = rest;
    memcpy(pages->list[0].block, end, _vrel_pages_bytes(pages, rest));
  }
  char* block = array;
  for (uint32_t i = 0; i < whole; ++i) {
    (void)_vrel_pages_enter(pages, i, {block, 0, pages->per_page});  // there is room
    block += _vrel_pages_bytes(pages, pages->per_page);
  }
  pages->array = array;
  pages->array_end = static_cast<size_t>(end - array);
  pages->cut = whole;
  _vrel_pages_tree_build(pages);
  return true;
}

vrel_pages* vrel_pages_adopt(void* array, uint32_t count, uint32_t element_size,
                             uint32_t page_bytes) {
  auto* pages = static_cast<vrel_pages*>(vrel_memory_calloc(1, sizeof(vrel_pages)));
  if (pages == nullptr) return nullptr;
  const uint32_t per_page = page_bytes / element_size;
  pages->element_size = element_size;
  pages->per_page = per_page < kLeastPerPage ? kLeastPerPage : per_page;
  if (!_vrel_pages_cut_up(pages, static_cast<char*>(array), count)) {
    vrel_pages_delete(pages);
    return nullptr;
  }
  if (pages->cut == 0) {
    vrel_memory_free(array);
    pages->array = nullptr;
  }
  return pages;
}

void vrel_pages_delete(vrel_pages* pages) {
  if (pages == nullptr) return;
  for (uint32_t i = 0; i < pages->page_count; ++i) {
    _vrel_pages_free_block(pages, pages->list[i].block);
  }
  vrel_memory_free(pages->list);
  vrel_memory_free(pages->tree);
  vrel_memory_free(pages);
}

// ---- Add, find, remove ----

// Splits the full page of the place in half, or, at either end of the page, opens a page beside it,
// and moves the place along.
static bool _vrel_pages_make_room(vrel_pages* pages, Place* place) {
  const bool in_front = place->offset == 0;
  const uint32_t fresh = in_front ? place->page : place->page + 1;
  if (!_vrel_pages_open(pages, fresh, in_front ? pages->per_page : 0)) return false;
  if (in_front) return true;
  Page& full = pages->list[place->page];
  if (place->offset == full.count) {
    *place = {fresh, 0};
    return true;
  }
  const uint32_t half = full.count / 2;
  Page& upper = pages->list[fresh];
  upper.count = full.count - half;
  full.count = half;
  memcpy(upper.block, _vrel_pages_at(pages, full, half), _vrel_pages_bytes(pages, upper.count));
  if (place->offset > half) *place = {fresh, place->offset - half};
  return true;
}

// The page has room at one end at least. The elements on the shorter side of the place move, if
// there is room for them.
static void _vrel_pages_put(vrel_pages* pages, Place place, const void* element) {
  Page& page = pages->list[place.page];
  const bool is_at_end = page.start + page.count == pages->per_page;
  const uint32_t behind = page.count - place.offset;
  char* to = _vrel_pages_at(pages, page, place.offset);
  if (page.start > 0 && (is_at_end || place.offset < behind)) {
    char* first = _vrel_pages_at(pages, page, 0);
    memmove(first - pages->element_size, first, _vrel_pages_bytes(pages, place.offset));
    to -= pages->element_size;
    --page.start;
  } else {
    memmove(to + pages->element_size, to, _vrel_pages_bytes(pages, behind));
  }
  memcpy(to, element, pages->element_size);
  ++page.count;
}

// Where to insert: between two pages, the end of the first is as good as the front of the second,
// and better when it has room.
static Place _vrel_pages_insert_place(const vrel_pages* pages, uint32_t index) {
  const Place place = _vrel_pages_locate(pages, index);
  if (place.offset > 0 || place.page == 0) return place;
  const uint32_t before = pages->list[place.page - 1].count;
  return before < pages->per_page ? Place{place.page - 1, before} : place;
}

bool vrel_pages_insert(vrel_pages* pages, uint32_t index, const void* element) {
  Place place = {0, 0};
  if (pages->page_count > 0) place = _vrel_pages_insert_place(pages, index);
  if (pages->page_count > 0 && pages->list[place.page].count < pages->per_page) {
    _vrel_pages_put(pages, place, element);
    _vrel_counts_add(pages->tree, pages->page_count, place.page, 1);
    return true;
  }
  if (!_vrel_pages_make_room(pages, &place)) return false;
  _vrel_pages_put(pages, place, element);
  _vrel_pages_tree_build(pages);
  return true;
}

void* vrel_pages_span(const vrel_pages* pages, uint32_t index, uint32_t* out_count) {
  const Place place = _vrel_pages_locate(pages, index);
  *out_count = pages->list[place.page].count - place.offset;
  return _vrel_pages_address(pages, place);
}

uint32_t vrel_pages_rank(const vrel_pages* pages, vrel_pages_compare compare, const void* value,
                         int32_t limit) {
  const auto is_below = [=](Place place) {
    return compare(_vrel_pages_address(pages, place), value, pages->element_size) < limit;
  };
  // The last page whose first element is below holds the border.
  uint32_t page = 0;
  for (uint32_t left = pages->page_count; left > 1;) {
    const uint32_t half = left / 2;
    if (is_below({page + half, 0})) page += half;
    left -= half;
  }
  if (pages->page_count == 0) return 0;
  uint32_t below = 0;
  for (uint32_t left = pages->list[page].count; left > 0;) {
    const uint32_t half = left / 2;
    if (is_below({page, below + half})) {
      below += half + 1;
      left -= half + 1;
    } else {
      left = half;
    }
  }
  return _vrel_counts_before(pages->tree, page) + below;
}

// Takes up to `count` elements out of one page; returns how many.
static uint32_t _vrel_pages_cut(vrel_pages* pages, Place place, uint32_t count) {
  Page& page = pages->list[place.page];
  const uint32_t left = page.count - place.offset;
  const uint32_t cut = count < left ? count : left;
  const uint32_t behind = left - cut;
  if (place.offset < behind) {
    char* first = _vrel_pages_at(pages, page, 0);
    memmove(first + _vrel_pages_bytes(pages, cut), first, _vrel_pages_bytes(pages, place.offset));
    page.start += cut;
  } else {
    char* to = _vrel_pages_address(pages, place);
    memmove(to, to + _vrel_pages_bytes(pages, cut), _vrel_pages_bytes(pages, behind));
  }
  page.count -= cut;
  return cut;
}

// Empties a page into the one before it when both together would leave a page half empty. So
// pages are not left almost empty by removals, nor filled to the next split by a merge. The tree
// is not kept up.
static void _vrel_pages_merge_down(vrel_pages* pages, uint32_t page) {
  if (page == 0 || page >= pages->page_count) return;
  Page& left = pages->list[page - 1];
  Page& right = pages->list[page];
  if (left.count + right.count > pages->per_page / 2) return;
  if (left.start + left.count + right.count > pages->per_page) {
    memmove(left.block, _vrel_pages_at(pages, left, 0), _vrel_pages_bytes(pages, left.count));
    left.start = 0;
  }
  memcpy(_vrel_pages_at(pages, left, left.count), _vrel_pages_at(pages, right, 0),
         _vrel_pages_bytes(pages, right.count));
  left.count += right.count;
  right.count = 0;
}

void vrel_pages_erase(vrel_pages* pages, uint32_t index, uint32_t count) {
  if (count == 0) return;
  const Place first = _vrel_pages_locate(pages, index);
  const uint32_t cut = _vrel_pages_cut(pages, first, count);
  uint32_t end = first.page + 1;
  for (uint32_t left = count - cut; left > 0; ++end) {
    left -= _vrel_pages_cut(pages, {end, 0}, left);
  }
  _vrel_pages_merge_down(pages, end);
  _vrel_pages_merge_down(pages, first.page);
  const uint32_t pages_before = pages->page_count;
  const uint32_t reach = end < pages_before ? end + 1 : end;
  _vrel_pages_drop_empty(pages, first.page, reach);
  if (end == first.page + 1 && pages->page_count == pages_before) {
    _vrel_counts_add(pages->tree, pages->page_count, first.page, 0u - cut);
  } else {
    _vrel_pages_tree_build(pages);
  }
}

// ---- Bulk ----

void vrel_pages_copy_out(const vrel_pages* pages, void* to) {
  char* next = static_cast<char*>(to);
  for (uint32_t i = 0; i < pages->page_count; ++i) {
    const size_t bytes = _vrel_pages_bytes(pages, pages->list[i].count);
    memcpy(next, _vrel_pages_at(pages, pages->list[i], 0), bytes);
    next += bytes;
  }
}
