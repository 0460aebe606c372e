// vrel_stringtable: strings interned in one text; an id is a byte offset.
#include "vrel_stringtable.h"

#include <string.h>

#include <atomic>

#include "vrel_error.h"
#include "vrel_hash_private.h"
#include "vrel_hashindex.h"
#include "vrel_layout.h"
#include "vrel_memory.h"
#include "vrel_radix.h"
#include "vrel_tuning.h"
#include "vrel_vector2.h"

static const char kSource[] = "vrel_stringtable";

static constexpr uint32_t kMagic = 0x2abcdef3u;

// Room for new strings is made an eighth of the text at a time, within these limits.
static constexpr uint32_t kLeastPower = kVrelTextLeastPower;
static constexpr uint32_t kLeastBlock = 1u << kLeastPower;
static constexpr uint32_t kLargestBlock = 1u << kVrelTextLargestPower;
static constexpr uint32_t kFirstRoom = kVrelTextFirstRoom;

static constexpr uint32_t kGuidedRoom = kVrelTextGuidedRoom;
static constexpr uint32_t kNearChunks = kVrelTextNearChunks;
static_assert(kLeastPower >= 3, "there are eight buckets for each power of two");
static constexpr uint32_t kBuckets = 1 + (32 - kLeastPower) * 8;

// A run of zero bytes this long in an attached text is what a removed string has left.
static constexpr uint32_t kLeastHole = 3;

// ---- Records ----

// Opens every allocation that readers without the lock may be looking at: blocks of text and lists
// of them. All stay until the table goes.
struct Kept {
  Kept* next;
};

// A stretch of the text, in a block of its own. No string reaches over its end.
struct Chunk {
  uint32_t start;  // the id of its first byte
  char* bytes;
};

// One version of the text, followed by the array of its chunks. The counters only rise and are
// published last, so who sees a length finds all bytes in front of it. Where two chunks start at
// the same id, the first of them is empty.
struct Text {
  Kept kept;
  std::atomic<uint32_t> length;
  std::atomic<uint32_t> chunk_count;
  uint32_t room;  // in chunks

  Chunk* chunks() { return reinterpret_cast<Chunk*>(this + 1); }
  const Chunk* chunks() const { return reinterpret_cast<const Chunk*>(this + 1); }

  // Behind the chunks of a text with many of them: by bucket of ids, the last chunk that does not
  // start behind the bucket's first id. A chunk that is added changes buckets behind all ids that
  // anybody has, so it is read without the lock, too.
  bool has_guide() const { return room >= kGuidedRoom; }
  uint16_t* guide() { return reinterpret_cast<uint16_t*>(chunks() + room); }
  const uint16_t* guide() const { return reinterpret_cast<const uint16_t*>(chunks() + room); }
};

// The bucket of an id: eight for each power of two. Chunks grow with the text up to a size, so few
// of them start in one bucket until there are many megabytes.
static uint32_t _vrel_stringtable_bucket(uint32_t id) {
  if (id < kLeastBlock) return 0;
  const auto power = static_cast<uint32_t>(31 - __builtin_clz(id));
  return 1 + (power - kLeastPower) * 8 + ((id >> (power - 3)) & 7);
}

// The first id of a bucket.
static uint32_t _vrel_stringtable_bucket_start(uint32_t bucket) {
  if (bucket == 0) return 0;
  return (8 + (bucket - 1) % 8) << (kLeastPower - 3 + (bucket - 1) / 8);
}

struct Hole {
  uint32_t offset;
  uint32_t length;  // of the string that was removed from there first
};
static_assert(sizeof(Hole) == 8 && offsetof(Hole, length) == 4, "two words");

struct vrel_stringtable {
  uint32_t magic;
  uint32_t reserved;
  uint32_t flags;
  uint32_t count;
  vrel_hashindex* index;
  std::atomic<Text*> text;  // null while there is none
  vrel_vector2* holes;      // of Hole, sorted by offset, one for each; null before the first
  uint32_t last_room;       // bytes free behind the text, in its last chunk
  Kept* kept;
};
VREL_LAYOUT_FIELD(vrel_stringtable, magic, 0);
VREL_LAYOUT_FIELD(vrel_stringtable, reserved, 4);
VREL_LAYOUT_FIELD(vrel_stringtable, flags, 8);
VREL_LAYOUT_FIELD(vrel_stringtable, count, 12);
VREL_LAYOUT_FIELD(vrel_stringtable, index, 16);
VREL_LAYOUT_FIELD(vrel_stringtable, text, 20);
VREL_LAYOUT_FIELD(vrel_stringtable, holes, 24);

static uint32_t _vrel_stringtable_check(const vrel_stringtable* table) {
  if (table == nullptr) return kVrelInvalidArg;
  return table->magic == kMagic ? 0 : kVrelBadHandle2;
}

// Opens a public operation: returns what the check of the handle says, if anything.
#define ENTER(table) \
  if (const uint32_t bad = _vrel_stringtable_check(table)) return VREL_LOG_HERE(bad)

static bool _vrel_stringtable_no_string(const char* string) {
  return string == nullptr || *string == '\0';
}

// ---- Reading the text ----

static uint32_t _vrel_stringtable_text_length(const Text* text) {
  return text == nullptr ? 0 : text->length.load(std::memory_order_acquire);
}

// The number of the chunk that holds byte `id`, which must be in front of a length that the caller
// has seen: the last chunk that does not start behind it.
static uint32_t _vrel_stringtable_chunk_of(const Text* text, uint32_t id, uint32_t chunk_count) {
  const Chunk* chunks = text->chunks();
  uint32_t low = 0;
  if (text->has_guide()) {
    low = text->guide()[_vrel_stringtable_bucket(id)];
    for (const uint32_t last = low + kNearChunks; low < last; ++low) {
      if (low + 1 == chunk_count || chunks[low + 1].start > id) return low;
    }
  }
  uint32_t high = chunk_count - 1;
  if (chunks[high].start <= id) return high;
  while (high - low > 1) {
    const uint32_t middle = low + (high - low) / 2;
    (chunks[middle].start <= id ? low : high) = middle;
  }
  return low;
}

static char* _vrel_stringtable_at(const Text* text, uint32_t id) {
  const uint32_t count = text->chunk_count.load(std::memory_order_acquire);
  const Chunk& chunk = text->chunks()[_vrel_stringtable_chunk_of(text, id, count)];
  return chunk.bytes + (id - chunk.start);
}

// The bytes from `offset` on that lie in one piece, up to the length that the caller has seen.
static const char* _vrel_stringtable_piece(const Text* text, uint32_t offset, uint32_t length,
                                           uint32_t* out_size) {
  const uint32_t count = text->chunk_count.load(std::memory_order_acquire);
  const uint32_t number = _vrel_stringtable_chunk_of(text, offset, count);
  const Chunk* chunk = text->chunks() + number;
  const bool ends_earlier = number + 1 < count && chunk[1].start < length;
  *out_size = (ends_earlier ? chunk[1].start : length) - offset;
  return chunk->bytes + (offset - chunk->start);
}

static void _vrel_stringtable_copy_out(const Text* text, uint32_t offset, uint32_t size, char* to) {
  const uint32_t end = offset + size;
  while (offset < end) {
    uint32_t piece = 0;
    const char* bytes = _vrel_stringtable_piece(text, offset, end, &piece);
    memcpy(to, bytes, piece);
    to += piece;
    offset += piece;
  }
}

// ---- Making room ----

// Memory that stays until the table goes, behind its link. Null when memory is short.
static Kept* _vrel_stringtable_keep(vrel_stringtable* table, uint64_t size) {
  const auto bytes = static_cast<size_t>(size);
  auto* kept = bytes == size ? static_cast<Kept*>(vrel_memory_alloc(bytes)) : nullptr;
  if (kept == nullptr) return nullptr;
  kept->next = table->kept;
  table->kept = kept;
  return kept;
}

static char* _vrel_stringtable_block(vrel_stringtable* table, uint32_t capacity) {
  Kept* kept = _vrel_stringtable_keep(table, sizeof(Kept) + uint64_t{capacity});
  return kept == nullptr ? nullptr : reinterpret_cast<char*>(kept + 1);
}

// A version of the text with no chunks yet, which nobody else knows.
static Text* _vrel_stringtable_text_create(vrel_stringtable* table, uint32_t room) {
  const uint32_t buckets = room >= kGuidedRoom ? kBuckets : 0;
  Kept* kept = _vrel_stringtable_keep(
      table, sizeof(Text) + uint64_t{room} * sizeof(Chunk) + buckets * sizeof(uint16_t));
  if (kept == nullptr) return nullptr;
  auto* text = reinterpret_cast<Text*>(kept);
  text->length.store(0, std::memory_order_relaxed);
  text->chunk_count.store(0, std::memory_order_relaxed);
  text->room = room;
  return text;
}

// Lets the buckets from an id on know that a chunk starts there.
static void _vrel_stringtable_guide_to(Text* text, uint32_t id, uint32_t number) {
  if (!text->has_guide()) return;
  uint32_t bucket = _vrel_stringtable_bucket(id);
  if (_vrel_stringtable_bucket_start(bucket) < id) ++bucket;
  for (; bucket < kBuckets; ++bucket) text->guide()[bucket] = static_cast<uint16_t>(number);
}

static void _vrel_stringtable_add_chunk(Text* text, Chunk chunk) {
  const uint32_t count = text->chunk_count.load(std::memory_order_relaxed);
  text->chunks()[count] = chunk;
  _vrel_stringtable_guide_to(text, chunk.start, count);
  text->chunk_count.store(count + 1, std::memory_order_release);
}

// The text in force, or its successor if it cannot take a chunk more. Null when memory is short.
static Text* _vrel_stringtable_text_with_room(vrel_stringtable* table) {
  Text* old = table->text.load(std::memory_order_relaxed);
  const uint32_t count = old == nullptr ? 0 : old->chunk_count.load(std::memory_order_relaxed);
  if (old != nullptr && count < old->room) return old;
  Text* text = _vrel_stringtable_text_create(table, count == 0 ? kFirstRoom : count * 2);
  if (text == nullptr || old == nullptr) return text;
  memcpy(text->chunks(), old->chunks(), count * sizeof(Chunk));
  for (uint32_t i = 0; i < count; ++i) {
    _vrel_stringtable_guide_to(text, text->chunks()[i].start, i);
  }
  text->chunk_count.store(count, std::memory_order_relaxed);
  text->length.store(old->length.load(std::memory_order_relaxed), std::memory_order_relaxed);
  return text;
}

// Opens a chunk at the end of the text with room for `needed` bytes at least.
static uint32_t _vrel_stringtable_open_chunk(vrel_stringtable* table, uint32_t needed) {
  Text* text = _vrel_stringtable_text_with_room(table);
  if (text == nullptr) return kVrelNoMemory;
  const uint32_t length = text->length.load(std::memory_order_relaxed);
  uint32_t capacity = length / 8;
  if (capacity < kLeastBlock) capacity = kLeastBlock;
  if (capacity > kLargestBlock) capacity = kLargestBlock;
  if (capacity < needed) capacity = needed;
  char* block = _vrel_stringtable_block(table, capacity);
  if (block == nullptr) return kVrelNoMemory;
  _vrel_stringtable_add_chunk(text, {length, block});
  table->text.store(text, std::memory_order_release);
  table->last_room = capacity;
  return 0;
}

// ---- Holes ----

static int32_t _vrel_stringtable_compare_offset(const void* a, const void* b, uint32_t) {
  const uint32_t offset_a = static_cast<const Hole*>(a)->offset;
  const uint32_t offset_b = static_cast<const Hole*>(b)->offset;
  return (offset_a > offset_b) - (offset_a < offset_b);
}

// Records a hole, unless the place has one already: the first one counts.
static uint32_t _vrel_stringtable_add_hole(vrel_stringtable* table, Hole hole) {
  if (table->holes == nullptr) {
    const uint32_t error =
        vrel_vector2_create(&table->holes, sizeof(Hole), kVrelSorted | kVrelUnique,
                            _vrel_stringtable_compare_offset, nullptr);
    if (error != 0) return error;
  }
  return vrel_vector2_add(table->holes, &hole, sizeof(hole), nullptr);
}

// The length of the first hole at the offset, 0 when there is none.
static uint32_t _vrel_stringtable_hole_length(const vrel_stringtable* table, uint32_t offset) {
  const Hole wanted = {offset, 0};
  uint32_t place = 0;
  void* hole = nullptr;
  if (table->holes == nullptr) return 0;
  if (vrel_vector2_find(table->holes, &wanted, &place) != 0) return 0;
  if (vrel_vector2_getindex(table->holes, place, &hole) != 0) return 0;
  return static_cast<const Hole*>(hole)->length;
}

static void _vrel_stringtable_drop_holes(vrel_stringtable* table) {
  if (table->holes != nullptr) (void)vrel_vector2_delete(table->holes);
  table->holes = nullptr;
}

// Changes a byte that a reader without the lock may be looking at.
static void _vrel_stringtable_set_byte(char* at, char byte) {
  __atomic_store_n(at, byte, __ATOMIC_RELEASE);
}

// ---- Create and delete ----

uint32_t vrel_stringtable_create(vrel_stringtable** out, uint32_t flags) {
  if (vrel_datatypes_initchecks() == 0) return VREL_LOG_HERE(kVrelNotInited);
  if (out == nullptr) return VREL_LOG_HERE(kVrelInvalidArg);
  auto* table = static_cast<vrel_stringtable*>(vrel_memory_calloc(1, sizeof(vrel_stringtable)));
  if (table == nullptr) return VREL_LOG_HERE(kVrelNoMemory);
  table->index = vrel_hashindex_create();
  if (table->index == nullptr) {
    vrel_memory_free(table);
    return VREL_LOG_HERE(kVrelNoMemory);
  }
  table->flags = flags;
  table->magic = kMagic;
  *out = table;
  return 0;
}

uint32_t vrel_stringtable_delete(vrel_stringtable* table) {
  ENTER(table);
  _vrel_stringtable_drop_holes(table);
  vrel_hashindex_delete(table->index);
  Kept* kept = table->kept;
  while (kept != nullptr) {
    Kept* const next = kept->next;
    vrel_memory_free(kept);
    kept = next;
  }
  table->magic = 0;
  vrel_memory_free(table);
  return 0;
}

// ---- Add, find, remove ----

// A string that is looked up or added.
struct Wanted {
  const char* string;
  size_t length;
  uint32_t hash;
};

static Wanted _vrel_stringtable_wanted(const char* string) {
  const size_t length = strlen(string);
  return {string, length, _vrel_hash_bytes(string, length)};
}

// Writes a string behind the text's end, where no reader looks yet. `*out_length` is the text's
// length with it.
static uint32_t _vrel_stringtable_write_behind(vrel_stringtable* table, const Wanted& wanted,
                                               uint32_t* out_id, uint32_t* out_length) {
  const uint32_t length =
      _vrel_stringtable_text_length(table->text.load(std::memory_order_relaxed));
  const size_t size = wanted.length + 1;
  const uint32_t lead = length == 0 ? 1 : 0;  // the zero byte that opens every text
  if (size > UINT32_MAX - lead - length) return kVrelNoMemory;
  const uint32_t needed = static_cast<uint32_t>(size) + lead;
  if (table->last_room < needed) {
    const uint32_t error = _vrel_stringtable_open_chunk(table, needed);
    if (error != 0) return error;
  }
  const Text* text = table->text.load(std::memory_order_relaxed);
  char* to = _vrel_stringtable_at(text, length);
  if (lead != 0) *to++ = '\0';
  memcpy(to, wanted.string, size);
  *out_id = length + lead;
  *out_length = length + needed;
  return 0;
}

// `place` is what the search for the hash, which found nothing, said.
static uint32_t _vrel_stringtable_intern(vrel_stringtable* table, const Wanted& wanted,
                                         vrel_hashindex_place place, uint32_t* out_id) {
  uint32_t id = 0;
  uint32_t length = 0;
  const uint32_t error = _vrel_stringtable_write_behind(table, wanted, &id, &length);
  if (error != 0) return error;
  if (!vrel_hashindex_insert(table->index, place, {wanted.hash, id})) return kVrelNoMemory;
  Text* text = table->text.load(std::memory_order_relaxed);
  table->last_room -= length - text->length.load(std::memory_order_relaxed);
  text->length.store(length, std::memory_order_release);
  ++table->count;
  *out_id = id;
  return 0;
}

// Hashes stand for strings here: nobody compares the strings.
uint32_t vrel_stringtable_add_value(vrel_stringtable* table, const char* string, uint32_t* out_id) {
  if (_vrel_stringtable_no_string(string) || out_id == nullptr) {
    return VREL_LOG_HERE(kVrelInvalidArg);
  }
  ENTER(table);
  const Wanted wanted = _vrel_stringtable_wanted(string);
  vrel_hashindex_place place = {};
  if (!vrel_hashindex_find(table->index, wanted.hash, &place)) {
    return VREL_LOG_HERE(_vrel_stringtable_intern(table, wanted, place, out_id));
  }
  *out_id = vrel_hashindex_id(table->index, place);
  return 0;
}

uint32_t vrel_stringtable_get_value(const vrel_stringtable* table, uint32_t id,
                                    const char** out_string) {
  if (out_string == nullptr) return VREL_LOG_HERE(kVrelInvalidArg);
  ENTER(table);
  const Text* text = table->text.load(std::memory_order_acquire);
  const uint32_t length = _vrel_stringtable_text_length(text);
  if (id > length) return VREL_LOG_HERE(kVrelInvalidId);
  *out_string = id == length ? "" : _vrel_stringtable_at(text, id);
  return 0;
}

uint32_t vrel_stringtable_get_value_ref(const vrel_stringtable* table, const char* string,
                                        uint32_t* out_id) {
  if (_vrel_stringtable_no_string(string) || out_id == nullptr) {
    return VREL_LOG_HERE(kVrelInvalidArg);
  }
  ENTER(table);
  vrel_hashindex_place place = {};
  if (!vrel_hashindex_find(table->index, _vrel_hash(string), &place)) return kVrelNotFound;
  *out_id = vrel_hashindex_id(table->index, place);
  return 0;
}

// True where a string can start: behind a zero byte.
static bool _vrel_stringtable_may_start(const Text* text, uint32_t id, uint32_t length) {
  return id > 0 && id <= length && *_vrel_stringtable_at(text, id - 1) == '\0';
}

uint32_t vrel_stringtable_remove_value(vrel_stringtable* table, uint32_t id) {
  ENTER(table);
  const Text* text = table->text.load(std::memory_order_relaxed);
  const uint32_t length = _vrel_stringtable_text_length(text);
  if (!_vrel_stringtable_may_start(text, id, length)) return VREL_LOG_HERE(kVrelInvalidId);
  if (id == length) return 0;
  char* string = _vrel_stringtable_at(text, id);
  const auto size = static_cast<uint32_t>(strlen(string));
  if (size == 0) return 0;
  const uint32_t error = _vrel_stringtable_add_hole(table, {id, size});
  if (error != 0) return VREL_LOG_HERE(error);
  for (uint32_t i = 0; i < size; ++i) _vrel_stringtable_set_byte(string + i, '\0');
  return 0;
}

uint32_t vrel_stringtable_restore_value(vrel_stringtable* table, uint32_t id, const char* string) {
  if (_vrel_stringtable_no_string(string)) return VREL_LOG_HERE(kVrelInvalidArg);
  ENTER(table);
  const size_t size = strlen(string);
  if (_vrel_stringtable_hole_length(table, id) != size) return kVrelNotFound;
  char* to = _vrel_stringtable_at(table->text.load(std::memory_order_relaxed), id);
  // A hole of an attached text ends right in front of a string: there the terminator is missing.
  if (to[0] != '\0' || to[size] != '\0') return kVrelNotFound;
  // The first byte comes last: until then a reader finds the place empty.
  for (size_t i = size; i > 0; --i) _vrel_stringtable_set_byte(to + i - 1, string[i - 1]);
  return 0;
}

uint32_t vrel_stringtable_count(const vrel_stringtable* table, uint32_t* out_count) {
  if (out_count == nullptr) return VREL_LOG_HERE(kVrelInvalidArg);
  ENTER(table);
  *out_count = table->count;
  return 0;
}

// ---- Bulk ----

// Makes a text of one chunk the table's.
static void _vrel_stringtable_publish(vrel_stringtable* table, Text* text, char* block,
                                      uint32_t length, uint32_t capacity) {
  _vrel_stringtable_add_chunk(text, {0, block});
  text->length.store(length, std::memory_order_relaxed);
  table->text.store(text, std::memory_order_release);
  table->last_room = capacity - length;
}

// Forgets everything but the text.
static void _vrel_stringtable_forget(vrel_stringtable* table) {
  vrel_hashindex_clear(table->index);
  _vrel_stringtable_drop_holes(table);
  table->count = 0;
}

uint32_t vrel_stringtable_clear(vrel_stringtable* table) {
  ENTER(table);
  _vrel_stringtable_forget(table);
  table->text.store(nullptr, std::memory_order_release);
  table->last_room = 0;
  return 0;
}

// A text in one piece, which ends in a zero byte.
struct WholeText {
  const char* bytes;
  uint32_t length;
};

static uint32_t _vrel_stringtable_string_end(const WholeText& text, uint32_t from) {
  const void* end = memchr(text.bytes + from, '\0', text.length - from);
  return static_cast<uint32_t>(static_cast<const char*>(end) - text.bytes);
}

// Calls on_string(id, length) and on_hole(Hole) for all that the text holds. The string right
// behind a run of zero bytes is stepped over: it keeps its id and can be read, but nobody finds it
// by its text, and adding it again gives it a second id.
template <typename OnString, typename OnHole>
static void _vrel_stringtable_scan(const WholeText& text, OnString on_string, OnHole on_hole) {
  uint32_t end = _vrel_stringtable_string_end(text, 0);
  for (uint32_t start = end + 1; start < text.length; start = end + 1) {
    uint32_t at = start;
    while (at < text.length && text.bytes[at] == '\0') ++at;
    if (at == text.length) return;
    end = _vrel_stringtable_string_end(text, at);
    if (at == start) {
      on_string(start, end - start);
    } else if (at - start >= kLeastHole) {
      on_hole(Hole{start, at - start});
    }
  }
}

static vrel_hashindex_entry _vrel_stringtable_entry_of(const WholeText& text, uint32_t id,
                                                       uint32_t length) {
  return {_vrel_hash_bytes(text.bytes + id, length), id};
}

// The entries of a text, in the order of their strings.
struct EntryList {
  vrel_hashindex_entry* entries;
  uint32_t count;
  uint32_t room;
};

static bool _vrel_stringtable_list_add(EntryList* list, vrel_hashindex_entry entry) {
  if (list->count == list->room) {
    const uint32_t room = list->room == 0 ? kVrelTextFirstEntries : list->room * 2;
    const uint64_t bytes = uint64_t{room} * sizeof(entry);
    if (bytes > SIZE_MAX) return false;
    void* entries = vrel_memory_realloc(list->entries, static_cast<size_t>(bytes));
    if (entries == nullptr) return false;
    list->entries = static_cast<vrel_hashindex_entry*>(entries);
    list->room = room;
  }
  list->entries[list->count++] = entry;
  return true;
}

static bool _vrel_stringtable_has_equal_hashes(const EntryList& list) {
  for (uint32_t i = 1; i < list.count; ++i) {
    if (list.entries[i - 1].hash == list.entries[i].hash) return true;
  }
  return false;
}

// Fills the index with all strings at once. False, and it stays empty, when memory is short, and
// when some hashes are equal: then the order in which they came decides who is found.
static bool _vrel_stringtable_fill_index(vrel_stringtable* table, const EntryList& list) {
  using Entry = vrel_hashindex_entry;
  auto* scratch = static_cast<Entry*>(vrel_memory_alloc(list.count * sizeof(Entry)));
  if (scratch == nullptr) return false;
  vrel_radix_sort(list.entries, scratch, list.count, [](const Entry& entry) { return entry.hash; });
  vrel_memory_free(scratch);
  if (_vrel_stringtable_has_equal_hashes(list)) return false;
  return vrel_hashindex_fill(table->index, list.entries, list.count);
}

// Enters every string at its sorted place, and goes on after a failure. Returns the last one.
static uint32_t _vrel_stringtable_index_one_by_one(vrel_stringtable* table, const WholeText& text) {
  uint32_t last_error = 0;
  const auto on_string = [&](uint32_t id, uint32_t length) {
    const vrel_hashindex_entry entry = _vrel_stringtable_entry_of(text, id, length);
    if (!vrel_hashindex_insert_equal(table->index, entry)) last_error = kVrelNoMemory;
  };
  _vrel_stringtable_scan(text, on_string, [](Hole) {});
  return last_error;
}

// Enters all strings and holes, and goes on after a failure. Returns the last one.
static uint32_t _vrel_stringtable_build_index(vrel_stringtable* table, const WholeText& text) {
  uint32_t last_error = 0;
  EntryList list = {};
  bool has_all = true;
  const auto on_string = [&](uint32_t id, uint32_t length) {
    has_all =
        has_all && _vrel_stringtable_list_add(&list, _vrel_stringtable_entry_of(text, id, length));
  };
  const auto on_hole = [&](Hole hole) {
    const uint32_t error = _vrel_stringtable_add_hole(table, hole);
    if (error != 0) last_error = error;
  };
  _vrel_stringtable_scan(text, on_string, on_hole);
  if (!has_all || !_vrel_stringtable_fill_index(table, list)) {
    const uint32_t error = _vrel_stringtable_index_one_by_one(table, text);
    if (error != 0) last_error = error;
  }
  vrel_memory_free(list.entries);
  table->count = vrel_hashindex_count(table->index);
  return last_error;
}

uint32_t vrel_stringtable_attach_buffer(vrel_stringtable* table, const void* bytes,
                                        uint32_t length) {
  if (bytes == nullptr && length > 0) return VREL_LOG_HERE(kVrelInvalidArg);
  ENTER(table);
  if (length == 0) return vrel_stringtable_clear(table);
  const bool terminated = static_cast<const char*>(bytes)[length - 1] == '\0';
  if (!terminated && length == UINT32_MAX) return VREL_LOG_HERE(kVrelNoMemory);
  const uint32_t full_length = terminated ? length : length + 1;
  Text* text = _vrel_stringtable_text_create(table, kFirstRoom);
  char* block = text == nullptr ? nullptr : _vrel_stringtable_block(table, full_length);
  if (block == nullptr) return VREL_LOG_HERE(kVrelNoMemory);
  memcpy(block, bytes, length);
  if (!terminated) block[length] = '\0';
  _vrel_stringtable_forget(table);
  _vrel_stringtable_publish(table, text, block, full_length, full_length);
  return VREL_LOG_HERE(_vrel_stringtable_build_index(table, {block, full_length}));
}

// Copies the text into one chunk, with half as much room again: so a caller that adds and asks for
// the buffer in turn does not copy, and keep, the same bytes over and over.
static uint32_t _vrel_stringtable_join(vrel_stringtable* table) {
  const Text* old = table->text.load(std::memory_order_relaxed);
  const uint32_t length = _vrel_stringtable_text_length(old);
  const uint32_t spare = length / 2 < UINT32_MAX - length ? length / 2 : UINT32_MAX - length;
  Text* text = _vrel_stringtable_text_create(table, kFirstRoom);
  char* block = text == nullptr ? nullptr : _vrel_stringtable_block(table, length + spare);
  if (block == nullptr) return kVrelNoMemory;
  _vrel_stringtable_copy_out(old, 0, length, block);
  _vrel_stringtable_publish(table, text, block, length, length + spare);
  return 0;
}

uint32_t vrel_stringtable_get_buffer(vrel_stringtable* table, const char** out_bytes,
                                     uint32_t* out_length) {
  if (out_bytes == nullptr || out_length == nullptr) return VREL_LOG_HERE(kVrelInvalidArg);
  ENTER(table);
  const Text* text = table->text.load(std::memory_order_relaxed);
  const uint32_t length = _vrel_stringtable_text_length(text);
  if (length > 0 && text->chunk_count.load(std::memory_order_relaxed) > 1) {
    const uint32_t error = _vrel_stringtable_join(table);
    if (error != 0) return VREL_LOG_HERE(error);
    text = table->text.load(std::memory_order_relaxed);
  }
  *out_bytes = length == 0 ? nullptr : text->chunks()[0].bytes;
  *out_length = length;
  return 0;
}

uint32_t vrel_stringtable_length(const vrel_stringtable* table, uint32_t* out_length) {
  if (out_length == nullptr) return VREL_LOG_HERE(kVrelInvalidArg);
  ENTER(table);
  *out_length = _vrel_stringtable_text_length(table->text.load(std::memory_order_acquire));
  return 0;
}

uint32_t vrel_stringtable_copy_text(const vrel_stringtable* table, uint32_t offset, void* to,
                                    uint32_t size) {
  if (to == nullptr) return VREL_LOG_HERE(kVrelInvalidArg);
  ENTER(table);
  const Text* text = table->text.load(std::memory_order_acquire);
  const uint32_t length = _vrel_stringtable_text_length(text);
  if (offset > length || size > length - offset) return kVrelOutOfRange;
  _vrel_stringtable_copy_out(text, offset, size, static_cast<char*>(to));
  return 0;
}

// ---- Iteration ----

uint32_t vrel_stringtable_enum(const vrel_stringtable* table, uint32_t index, uint32_t* out_id,
                               const char** out_string) {
  if (out_id == nullptr) return VREL_LOG_HERE(kVrelInvalidArg);
  ENTER(table);
  if (index >= vrel_hashindex_count(table->index)) return kVrelOutOfRange;
  uint32_t run = 0;
  const uint32_t id = vrel_hashindex_span(table->index, index, &run)->id;
  uint32_t error = 0;
  if (out_string != nullptr) error = vrel_stringtable_get_value(table, id, out_string);
  if (error == 0) *out_id = id;
  return error;
}

uint32_t vrel_stringtable_copy_ids(const vrel_stringtable* table, uint32_t first, uint32_t count,
                                   uint32_t* to) {
  if (to == nullptr) return VREL_LOG_HERE(kVrelInvalidArg);
  ENTER(table);
  const uint32_t held = vrel_hashindex_count(table->index);
  if (first > held || count > held - first) return kVrelOutOfRange;
  const uint32_t end = first + count;
  for (uint32_t at = first; at < end;) {
    uint32_t run = 0;
    const vrel_hashindex_entry* entries = vrel_hashindex_span(table->index, at, &run);
    if (run > end - at) run = end - at;
    for (uint32_t i = 0; i < run; ++i) *to++ = entries[i].id;
    at += run;
  }
  return 0;
}

uint32_t vrel_stringtable_span(const vrel_stringtable* table, uint32_t offset,
                               const char** out_bytes, uint32_t* out_length) {
  if (out_bytes == nullptr || out_length == nullptr) return VREL_LOG_HERE(kVrelInvalidArg);
  ENTER(table);
  const Text* text = table->text.load(std::memory_order_acquire);
  const uint32_t length = _vrel_stringtable_text_length(text);
  if (offset >= length) return kVrelOutOfRange;
  *out_bytes = _vrel_stringtable_piece(text, offset, length, out_length);
  return 0;
}
