// playlist_column: the values of an attribute told apart, so that a comparison is asked once for
// each value and finds the entries that have it.
//
// Providers that may answer differently from call to call have no use for it; see
// AttributeTraits::remembers. A column is made when a statement first asks, and goes with the next
// change of the attribute's values. Nobody depends on it: without memory for it, the values
// themselves are asked one by one.
#ifndef PLAYLIST_COLUMN_H
#define PLAYLIST_COLUMN_H

#include <cstdint>

#include "playlist_collection.h"

// The score of a value that was not asked for. One that really has it is asked for again.
constexpr int32_t kScoreUnknown = INT32_MIN;

// What one comparison answered about the values; for the length of one statement.
struct ColumnAnswers {
  const void* context;  // the comparison's; null: no answers
  int32_t* scores;      // by value
};

// Values go by their number, in the order in which they first appear among the entries.
struct ValueColumn {
  const ValueEntry* entries;  // of the attribute, in one piece
  uint32_t entry_count;
  uint32_t value_count;
  uint32_t* values;     // by entry: the number of its value
  uint32_t* starts;     // by value, and for the end: where its entries start in `positions`
  uint32_t* positions;  // indexes of entries by value, ascending for each
  uint32_t* texts;      // hash table of values by text, letter case ignored; null until asked for
  uint32_t text_mask;   // its size less one
  bool no_texts;        // values that are no texts, or whose hashes are too much alike for a table
  ColumnAnswers answers;

  const ValueEntry& first_entry(uint32_t value) const { return entries[positions[starts[value]]]; }
  uint32_t entries_of(uint32_t value) const { return starts[value + 1] - starts[value]; }
};

// The column of an attribute. Null when it has no values, or no memory is there. Caller holds the
// collection's lock, here and below.
ValueColumn* playlist_column_of(AttributeInfo* info);

// Whether no value has the text, letter case ignored, one, or more: 0, 1 or 2; `out_value` is the
// first of them. False when the table of texts cannot be made, or not every value has a text.
bool playlist_column_find_text(ValueColumn* column, const vrel_stringtable* texts, const char* text,
                               uint32_t* out_count, uint32_t* out_value);

// Makes room for the answers of one comparison, and forgets those of another unless `same`. False
// when there is no memory.
bool playlist_column_start_answers(ValueColumn* column, const void* context, bool same);

// Forgets the answers of all attributes: their contexts are about to go. With `columns` it gives
// the columns up, too.
void playlist_columns_forget(Collection* collection, bool columns);

// Null is accepted.
void playlist_column_delete(ValueColumn* column);

#endif  // PLAYLIST_COLUMN_H
