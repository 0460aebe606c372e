// playlist_column: the values of an attribute told apart.
#include "playlist_column.h"

#include <cstring>

#include "playlist_array.h"
#include "playlist_memories.h"
#include "playlist_owner.h"
#include "vrel_memory.h"
#include "vrel_string.h"
#include "vrel_tuning.h"

namespace {

using ColumnOwner = PlaylistOwner<ValueColumn, playlist_column_delete>;

constexpr uint32_t kFirstSlotBits = kPlaylistColumnSlotBits;

template <typename T>
void release(T* block) {
  vrel_memory_free(block);
}

// ------------------------------------------------------------------- Telling values apart

// One value that was met.
struct Slot {
  uint32_t value;
  uint32_t tag;  // its number + 1, and its kind in the lowest bit; 0: nothing here
};
using SlotsOwner = PlaylistOwner<Slot, release<Slot>>;

// Open addressing, at most half full.
class SlotTable {
 public:
  bool start() { return make(kFirstSlotBits); }

  // The number of a value; the next one for a value that was not met before.
  uint32_t number_of(const ValueEntry& entry) {
    const uint32_t kind = entry.kind == kValueInteger ? 0 : 1;
    Slot* slot = find(entry.value, kind);
    if (slot->tag == 0) *slot = {entry.value, (++count_ << 1) | kind};
    return (slot->tag >> 1) - 1;
  }

  uint32_t count() const { return count_; }

  // To be called after each number. False when there is no memory.
  bool keep_room() { return count_ <= (1u << bits_) / 2 || grow(); }

 private:
  bool make(uint32_t bits) {
    bits_ = bits;
    slots_.reset();
    *slots_.out() = playlist_array_of_zeros<Slot>(uint64_t{1} << bits);
    return static_cast<bool>(slots_);
  }

  // Multiplying by 2^32 divided by the golden ratio spreads neighbouring values; the upper bits are
  // the well-mixed ones.
  Slot* find(uint32_t value, uint32_t kind) const {
    const uint32_t mask = (1u << bits_) - 1;
    uint32_t at = (value * 0x9e3779b9u) >> (32 - bits_);
    Slot* const slots = slots_.get();
    while (slots[at].tag != 0 && (slots[at].value != value || (slots[at].tag & 1) != kind)) {
      at = (at + 1) & mask;
    }
    return &slots[at];
  }

  bool grow() {
    SlotsOwner old(slots_.take());
    const uint32_t old_size = 1u << bits_;
    if (!make(bits_ + 1)) return false;
    for (uint32_t i = 0; i < old_size; ++i) {
      const Slot& slot = old.get()[i];
      if (slot.tag != 0) *find(slot.value, slot.tag & 1) = slot;
    }
    return true;
  }

  SlotsOwner slots_;
  uint32_t bits_ = 0;
  uint32_t count_ = 0;
};

bool number_values(ValueColumn* column) {
  SlotTable table;
  column->values = playlist_array_of_zeros<uint32_t>(column->entry_count);
  if (column->values == nullptr || !table.start()) return false;
  for (uint32_t i = 0; i < column->entry_count; ++i) {
    column->values[i] = table.number_of(column->entries[i]);
    if (!table.keep_room()) return false;
  }
  column->value_count = table.count();
  return true;
}

bool group_positions(ValueColumn* column) {
  column->starts = playlist_array_of_zeros<uint32_t>(uint64_t{column->value_count} + 1);
  column->positions = playlist_array_of_zeros<uint32_t>(column->entry_count);
  if (column->starts == nullptr || column->positions == nullptr) return false;
  uint32_t* const starts = column->starts;
  for (uint32_t i = 0; i < column->entry_count; ++i) ++starts[column->values[i] + 1];
  for (uint32_t value = 0; value < column->value_count; ++value) starts[value + 1] += starts[value];
  for (uint32_t i = 0; i < column->entry_count; ++i) {
    column->positions[starts[column->values[i]]++] = i;
  }
  // Each start has moved to its end, which is where the next one starts.
  memmove(starts + 1, starts, column->value_count * sizeof *starts);
  starts[0] = 0;
  return true;
}

ValueColumn* build(AttributeInfo* info) {
  void* data = nullptr;
  uint32_t bytes = 0;
  uint32_t entry_size = 0;
  if (vrel_vector2_get_buffer(info->values, &data, &bytes, &entry_size) != 0) return nullptr;
  if (bytes == 0) return nullptr;
  ColumnOwner column(playlist_array_of_zeros<ValueColumn>(1));
  if (!column) return nullptr;
  column->entries = static_cast<const ValueEntry*>(data);
  column->entry_count = bytes / entry_size;
  if (!number_values(column.get()) || !group_positions(column.get())) return nullptr;
  return column.take();
}

// ---------------------------------------------------------------------------------- Texts

uint32_t folded_hash(const char* text) {
  uint32_t hash = 0;
  for (; *text != '\0'; ++text) {
    hash = hash * 33 + vrel_string_char_tolower(static_cast<uint8_t>(*text));
  }
  return hash * 0x9e3779b9u;
}

const char* text_of(const ValueColumn& column, const vrel_stringtable* texts, uint32_t value) {
  const ValueEntry& entry = column.first_entry(value);
  const char* text = nullptr;
  if (entry.kind != kValueString) return nullptr;
  return vrel_stringtable_get_value(texts, entry.value, &text) == 0 ? text : nullptr;
}

// A place of the table of texts: 0, or the number of a value + 1, with a bit where more values have
// its text. There are fewer values than 2^31: their entries have twelve bytes each.
constexpr uint32_t kMoreValues = 0x80000000u;

constexpr uint32_t value_at(uint32_t place) {
  return (place & ~kMoreValues) - 1;
}

// How many places may be looked at for one text. Texts whose hashes are made to meet would else
// cost the square of their number.
constexpr uint32_t kMostPlaces = kPlaylistColumnPlaces;

// The place of a text, or the free one where it belongs; null when there are too many before it.
uint32_t* place_of(const ValueColumn& column, uint32_t* table, uint32_t mask,
                   const vrel_stringtable* texts, const char* text) {
  uint32_t at = folded_hash(text) & mask;
  for (uint32_t places = 0; places < kMostPlaces; ++places, at = (at + 1) & mask) {
    if (table[at] == 0) return &table[at];
    if (vrel_string_equal(text_of(column, texts, value_at(table[at])), text, 1)) return &table[at];
  }
  return nullptr;
}

bool index_texts(ValueColumn* column, const vrel_stringtable* texts) {
  uint32_t size = kPlaylistColumnTexts;
  while (size / 2 < column->value_count) size *= 2;
  PlaylistOwner<uint32_t, release<uint32_t>> table(playlist_array_of_zeros<uint32_t>(size));
  if (!table) return false;
  for (uint32_t value = 0; value < column->value_count; ++value) {
    const char* const text = text_of(*column, texts, value);
    uint32_t* const place =
        text != nullptr ? place_of(*column, table.get(), size - 1, texts, text) : nullptr;
    column->no_texts = place == nullptr;
    if (place == nullptr) return false;
    *place = *place == 0 ? value + 1 : *place | kMoreValues;
  }
  column->texts = table.take();
  column->text_mask = size - 1;
  return true;
}

}  // namespace

ValueColumn* playlist_column_of(AttributeInfo* info) {
  if (!g_playlist_memories) return nullptr;
  if (info->column == nullptr) info->column = build(info);
  return info->column;
}

bool playlist_column_find_text(ValueColumn* column, const vrel_stringtable* texts, const char* text,
                               uint32_t* out_count, uint32_t* out_value) {
  if (column->no_texts) return false;
  if (column->texts == nullptr && !index_texts(column, texts)) return false;
  // Of a text that is not in the table, all before it have been looked at: it is nowhere.
  const uint32_t* const place = place_of(*column, column->texts, column->text_mask, texts, text);
  const bool found = place != nullptr && *place != 0;
  *out_count = 0;
  if (!found) return true;
  *out_count = (*place & kMoreValues) != 0 ? 2 : 1;
  *out_value = value_at(*place);
  return true;
}

bool playlist_column_start_answers(ValueColumn* column, const void* context, bool same) {
  ColumnAnswers* const answers = &column->answers;
  if (same || answers->context == context) return true;
  if (answers->scores == nullptr)
    answers->scores = playlist_array_of_zeros<int32_t>(column->value_count);
  if (answers->scores == nullptr) return false;
  for (uint32_t i = 0; i < column->value_count; ++i) answers->scores[i] = kScoreUnknown;
  answers->context = context;
  return true;
}

void playlist_columns_forget(Collection* collection, bool columns) {
  AttributeInfo* info = nullptr;
  for (uint32_t i = 0; playlist_collection_attrinfo_at(collection, i, &info) == 0; ++i) {
    if (columns) playlist_attrinfo_values_changed(info);
    if (info->column == nullptr) continue;
    release(info->column->answers.scores);
    info->column->answers = {};
  }
}

void playlist_column_delete(ValueColumn* column) {
  if (column == nullptr) return;
  release(column->values);
  release(column->starts);
  release(column->positions);
  release(column->texts);
  release(column->answers.scores);
  release(column);
}
