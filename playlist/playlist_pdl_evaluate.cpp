// playlist_pdl_evaluate: what prepared comparisons say about the values of a collection.
//
// A comparison of an attribute of our own is asked once for each value that occurs, and the column
// of the attribute finds the entries. Providers of applications are asked about every entry, in
// order. Where memory for the quicker way is missing, ours are, too.
#include "playlist_pdl_evaluate.h"

#include <cstring>

#include "playlist_array.h"
#include "playlist_column.h"
#include "playlist_error.h"
#include "playlist_memories.h"
#include "playlist_score_cache.h"
#include "playlist_walk.h"
#include "vrel_memory.h"
#include "vrel_sort.h"
#include "vrel_tuning.h"

namespace {

constexpr uint32_t kSteps = kPlaylistJoinSteps;
constexpr uint32_t kBatch = kPlaylistEntryBatch;

// One comparison and the values that it is asked about.
struct Question {
  const PdlNode* identifier;
  Collection* collection;
};

Question question_of(const PdlNode* comparison, const Results* results) {
  return {comparison->left, results->collection};
}

const AttributeTraits& traits_of(const Question& question) {
  return playlist_attribute_traits(question.identifier->attribute->provider);
}

// How well one captured value meets the comparison. Warnings come back with their score.
uint32_t evaluate(const Question& question, const ValueEntry& record, int32_t* out_score) {
  *out_score = 0;
  const PdlNode* const identifier = question.identifier;
  const AttributeProvider* const provider = identifier->attribute->provider;
  if (record.kind == kValueInteger) {
    return playlist_provider_evaluate_integer(provider, identifier->context, record.value,
                                              out_score);
  }
  const char* text = nullptr;
  PL_TRY(vrel_stringtable_get_value(question.collection->values, record.value, &text));
  return playlist_provider_evaluate_string(provider, identifier->context, text, out_score);
}

// ------------------------------------------------------------------------------ By column

// The column, when the comparison's answers may be remembered.
ValueColumn* column_for(const Question& question) {
  if (!traits_of(question).remembers) return nullptr;
  return playlist_column_of(question.identifier->attribute);
}

bool start_answers(const Question& question, ValueColumn* column) {
  const auto same_answers = traits_of(question).same_answers;
  const void* const context = question.identifier->context;
  const void* const before = column->answers.context;
  const bool same = before != nullptr && same_answers != nullptr && same_answers(before, context);
  return playlist_column_start_answers(column, context, same);
}

// Asks for the score of a value. Failures are not remembered: the next question may fare better.
uint32_t ask(const Question& question, ValueColumn* column, uint32_t value, int32_t* out_score) {
  ColumnAnswers* const answers = &column->answers;
  const uint32_t code = evaluate(question, column->first_entry(value), out_score);
  if (vrel_failed(code)) return code;
  answers->scores[value] = *out_score;
  return 0;
}

inline uint32_t answer(const Question& question, ValueColumn* column, uint32_t value,
                       int32_t* out_score) {
  *out_score = column->answers.scores[value];
  return *out_score != kScoreUnknown ? 0 : ask(question, column, value, out_score);
}

// Hands entries to a playlist in batches.
class Adder {
 public:
  explicit Adder(Results* results) : results_(results) {}

  void add(const ValueEntry& record, int32_t score) {
    batch_[used_++] = {score, record, 0};
    if (used_ == kBatch) flush();
  }
  // The first code that adding answered.
  uint32_t finish() {
    flush();
    return code_;
  }

 private:
  void flush() {
    if (code_ == 0 && used_ != 0) code_ = _playlist_results_append(results_, batch_, used_);
    used_ = 0;
  }

  Results* results_;
  uint32_t used_ = 0;
  uint32_t code_ = 0;
  ResultEntry batch_[kBatch];
};

// What a comparison selects from a column.
struct Selection {
  const PdlTest* test;  // that scores must pass besides not being 0; may be null
  uint32_t total;       // entries of all values that are selected
  uint32_t values;      // how many of those there are
  uint32_t only;        // the first of them
  int32_t only_score;   // of that one
  uint32_t end;         // entries from this index on are not reached
  uint32_t value_end;   // nor values from this one on

  bool takes(int32_t score) const { return score != 0 && (test == nullptr || (*test)(score)); }
};

// Adds the entries of the one value that is selected.
void add_only(const ValueColumn& column, const Selection& selection, Adder* adder) {
  const uint32_t* const positions = column.positions + column.starts[selection.only];
  const uint32_t count = column.entries_of(selection.only);
  for (uint32_t i = 0; i < count; ++i) {
    adder->add(column.entries[positions[i]], selection.only_score);
  }
}

// Adds all entries that are selected by looking at each.
void add_by_scan(const ValueColumn& column, const Selection& selection, Adder* adder) {
  const int32_t* const scores = column.answers.scores;
  for (uint32_t i = 0; i < selection.end; ++i) {
    const int32_t score = scores[column.values[i]];
    if (selection.takes(score)) adder->add(column.entries[i], score);
  }
}

// The same for few of them: marks them first, which brings them in order.
bool add_by_marks(const ValueColumn& column, const Selection& selection, Adder* adder) {
  const uint32_t words = column.entry_count / 32 + 1;
  auto* const marks = static_cast<uint32_t*>(vrel_memory_calloc(words, sizeof(uint32_t)));
  if (marks == nullptr) return false;
  const int32_t* const scores = column.answers.scores;
  for (uint32_t value = 0; value < selection.value_end; ++value) {
    if (!selection.takes(scores[value])) continue;
    for (uint32_t i = column.starts[value]; i < column.starts[value + 1]; ++i) {
      marks[column.positions[i] / 32] |= 1u << column.positions[i] % 32;
    }
  }
  for (uint32_t word = 0; word < words && word * 32 < selection.end; ++word) {
    for (uint32_t left = marks[word]; left != 0; left &= left - 1) {
      const uint32_t i = word * 32 + static_cast<uint32_t>(__builtin_ctz(left));
      if (i < selection.end) adder->add(column.entries[i], scores[column.values[i]]);
    }
  }
  vrel_memory_free(marks);
  return true;
}

// Asks about every value. A failure ends the selection at the first entry that has the value, and
// takes all that scores in front of it, untested: the values that appear there have been asked.
uint32_t select_values(const Question& question, ValueColumn* column, Selection* out) {
  for (uint32_t value = 0; value < column->value_count; ++value) {
    int32_t score = 0;
    if (const uint32_t code = answer(question, column, value, &score)) {
      out->end = column->positions[column->starts[value]];
      out->total = out->end;
      out->values = value;
      out->value_end = value;
      out->test = nullptr;
      return code;
    }
    if (!out->takes(score)) continue;
    if (out->values++ == 0) {
      out->only = value;
      out->only_score = score;
    }
    out->total += column->entries_of(value);
  }
  return 0;
}

// Where at most one value can satisfy the comparison, finds it by its text. False where that is not
// so.
bool select_text(const Question& question, ValueColumn* column, Selection* out) {
  const auto wanted_text = traits_of(question).wanted_text;
  if (wanted_text == nullptr) return false;
  const char* const text = wanted_text(question.identifier->context);
  uint32_t count = 0;
  uint32_t value = 0;
  if (text == nullptr) return false;
  if (!playlist_column_find_text(column, question.collection->values, text, &count, &value)) {
    return false;
  }
  if (count == 0) return true;
  if (count > 1 || evaluate(question, column->first_entry(value), &out->only_score) != 0)
    return false;
  if (!out->takes(out->only_score)) return true;
  out->values = 1;
  out->only = value;
  out->total = column->entries_of(value);
  return true;
}

// False when there is no memory.
bool select(const Question& question, ValueColumn* column, Selection* out, uint32_t* out_code) {
  out->end = column->entry_count;
  out->value_end = column->value_count;
  *out_code = 0;
  if (select_text(question, column, out)) return true;
  if (!start_answers(question, column)) return false;
  *out_code = select_values(question, column, out);
  return true;
}

// False, and nothing was added, when there is no memory.
bool add_selected(const ValueColumn& column, const Selection& selection, Results* results,
                  uint32_t* out_code) {
  if (_playlist_results_reserve(results, selection.total) != 0) return false;
  Adder adder(results);
  const bool few = selection.total <= column.entry_count / kPlaylistFewShare;
  if (selection.values == 1 && selection.end == column.entry_count) {
    add_only(column, selection, &adder);
  } else if (selection.values != 0 && !(few && add_by_marks(column, selection, &adder))) {
    add_by_scan(column, selection, &adder);
  }
  *out_code = adder.finish();
  return true;
}

// The same when it takes memory that is not there.
bool add_from_column(const PdlNode* comparison, Results* results, ValueColumn* column,
                     uint32_t* out_code) {
  Selection selection = {};
  uint32_t code = 0;
  if (!select(question_of(comparison, results), column, &selection, &code)) return false;
  if (!add_selected(*column, selection, results, out_code)) return false;
  if (*out_code == 0) *out_code = code;
  return true;
}

uint32_t keep_passing(void* element, void* context, uint8_t* out_keep) {
  const auto& test = *static_cast<const PdlTest*>(context);
  *out_keep = test(static_cast<const ResultEntry*>(element)->score) ? 1 : 0;
  return 0;
}

// ------------------------------------------------------------------------- Entry by entry

// A copy of a record, as a provider that is asked about it may change the vector. False behind the
// end.
bool read_record(const vrel_vector2* values, uint32_t index, ValueEntry* out_record) {
  void* element = nullptr;
  if (vrel_vector2_getindex(values, index, &element) != 0) return false;
  *out_record = *static_cast<const ValueEntry*>(element);
  return true;
}

// As many records as there are now: those that a provider adds meanwhile are not asked, and where
// it removes some the end comes earlier.
uint32_t add_by_walk(PdlNode* comparison, Results* results) {
  const Question question = question_of(comparison, results);
  vrel_vector2* const values = question.identifier->attribute->values;
  uint32_t count = 0;
  PL_TRY(vrel_vector2_count(values, &count));
  ValueEntry record = {};
  for (uint32_t i = 0; i < count && read_record(values, i, &record); ++i) {
    int32_t score = 0;
    const uint32_t code = evaluate(question, record, &score);
    if (vrel_failed(code)) return code;
    if (score != 0) PL_TRY(_playlist_results_add_result(results, record, score));
  }
  return 0;
}

struct MatchFilter {
  Question question;
  ScoreCache* cache;  // null: every entry is asked
};

uint32_t keep_match(void* element, void* context, uint8_t* out_keep) {
  const auto* const filter = static_cast<const MatchFilter*>(context);
  const ValueEntry& record = static_cast<const ResultEntry*>(element)->record;
  int32_t score = 0;
  const auto evaluate_it = [&](int32_t* out) { return evaluate(filter->question, record, out); };
  const uint32_t code = filter->cache != nullptr
                            ? playlist_score_cached(filter->cache, record, &score, evaluate_it)
                            : evaluate_it(&score);
  *out_keep = score != 0 ? 1 : 0;
  return vrel_failed(code) ? code : 0;
}

// Where the records of an ident stand in a vector that is sorted by ident.
struct Run {
  uint32_t first;
  uint32_t end;
};

uint32_t find_run(vrel_vector2* values, uint32_t ident, Run* out) {
  PL_TRY(playlist_attrdata_find_ident(values, ident, &out->first));
  ValueEntry record = {};
  out->end = out->first + 1;
  while (read_record(values, out->end, &record) && record.ident == ident) ++out->end;
  return 0;
}

// What the records of one ident say together: the highest outcome that is not 0, or 0 when all are.
class Verdict {
 public:
  void add(uint32_t code, int32_t score) {
    if (vrel_failed(code)) {
      if (failure_ == 0) failure_ = code;
    } else if (score != 0 && (score_ == 0 || score > score_)) {
      score_ = score;
    }
  }
  int32_t score() const { return score_; }
  // The first of those of the records; a record that fails counts as 0.
  uint32_t failure() const { return failure_; }

 private:
  int32_t score_ = 0;
  uint32_t failure_ = 0;
};

// Asks about every record of an ident that has any.
uint32_t score_ident(const Question& question, uint32_t ident, int32_t* out_score) {
  vrel_vector2* const values = question.identifier->attribute->values;
  Run run = {};
  PL_TRY(find_run(values, ident, &run));
  Verdict verdict;
  ValueEntry record = {};
  for (uint32_t i = run.first; i < run.end && read_record(values, i, &record); ++i) {
    // A provider that is asked may have moved the others.
    if (record.ident != ident) continue;
    int32_t score = 0;
    const uint32_t code = evaluate(question, record, &score);
    verdict.add(code, score);
  }
  *out_score = verdict.score();
  return verdict.failure();
}

uint32_t score_by_lookup(const Question& question, PdlScores* scores) {
  uint32_t last = 0;
  int32_t* score = scores->scores;
  PL_TRY(playlist_for_each<ResultEntry>(scores->results->entries, [&](const ResultEntry& entry) {
    *score = 0;
    last = score_ident(question, entry.record.ident, score++);
    return uint32_t{0};
  }));
  return last;
}

// ----------------------------------------------------------------------- Entries by ident

// Whether the entries stand in ascending or descending order; their idents are read on the way.
bool read_idents(const Results* results, uint32_t* idents, bool* out_reversed) {
  bool ascending = true;
  bool descending = true;
  uint32_t last = 0;
  uint32_t* next = idents;
  static_cast<void>(playlist_for_each<ResultEntry>(results->entries, [&](const ResultEntry& entry) {
    const uint32_t ident = entry.record.ident;
    ascending = ascending && ident >= last;
    descending = descending && (next == idents || ident <= last);
    last = ident;
    *next++ = ident;
    return uint32_t{0};
  }));
  *out_reversed = !ascending;
  return ascending || descending;
}

void reverse(uint32_t* numbers, uint32_t count) {
  for (uint32_t low = 0, high = count; low + 1 < high; ++low, --high) {
    const uint32_t number = numbers[low];
    numbers[low] = numbers[high - 1];
    numbers[high - 1] = number;
  }
}

// Sorts the idents, and tells which entry each is of.
bool sort_idents(EntryOrder* order) {
  const uint32_t count = order->count;
  auto* const keys = playlist_array<uint64_t>(uint64_t{count} * 2);
  order->entries = playlist_array<uint32_t>(count);
  if (keys != nullptr && order->entries != nullptr) {
    for (uint32_t i = 0; i < count; ++i) keys[i] = uint64_t{order->idents[i]} << 32 | i;
    vrel_utils_qsort_keys(keys, count, count, true, keys + count);
    for (uint32_t i = 0; i < count; ++i) {
      order->idents[i] = static_cast<uint32_t>(keys[i] >> 32);
      order->entries[i] = static_cast<uint32_t>(keys[i]);
    }
  }
  const bool done = keys != nullptr && order->entries != nullptr;
  vrel_memory_free(keys);
  return done;
}

void free_order(EntryOrder* order) {
  vrel_memory_free(order->idents);
  vrel_memory_free(order->entries);
  *order = {};
}

// False when there is no memory.
bool make_order(const Results* results, EntryOrder* order) {
  if (order->idents != nullptr) return true;
  *order = {playlist_results_count(results), nullptr, nullptr, false};
  order->idents = playlist_array<uint32_t>(order->count);
  if (order->idents == nullptr) return false;
  bool done = true;
  if (!read_idents(results, order->idents, &order->reversed)) {
    order->reversed = false;
    done = sort_idents(order);
  } else if (order->reversed) {
    reverse(order->idents, order->count);
  }
  if (!done) free_order(order);
  return done;
}

uint32_t entry_at(const EntryOrder& order, uint32_t index) {
  if (order.entries != nullptr) return order.entries[index];
  return order.reversed ? order.count - 1 - index : index;
}

// The lowest index below `end` of an ident that is not above the wanted one, in values sorted by
// ident, the larger first. It is mostly near: a few steps, then strides that double.
[[gnu::always_inline]] inline uint32_t seek(const ValueEntry* values, uint32_t end,
                                            uint32_t ident) {
  // As they descend, the number of those that are not above is the number of steps.
  if (end >= kSteps) {
    const ValueEntry* const near = values + end - kSteps;
    uint32_t steps = 0;
    for (uint32_t i = 0; i < kSteps; ++i) steps += near[i].ident <= ident;
    end -= steps;
    if (steps < kSteps) return end;
  }
  uint32_t stride = 1;
  while (end >= stride && values[end - stride].ident <= ident) {
    end -= stride;
    stride *= 2;
  }
  for (stride /= 2; stride > 0; stride /= 2) {
    if (end >= stride && values[end - stride].ident <= ident) end -= stride;
  }
  return end;
}

// What an ident has of an attribute. One is what nearly all have.
enum class Records { kNone, kOne, kSeveral };

// Calls visit(entry index, index of its ident's first record, how many there are) for every entry.
template <typename Visit>
void join(const EntryOrder& order, const ValueEntry* values, uint32_t count, Visit visit) {
  uint32_t place = count;
  bool several = false;
  for (uint32_t i = 0; i < order.count; ++i) {
    const uint32_t ident = order.idents[i];
    const uint32_t before = place;
    place = seek(values, before, ident);
    const bool found = place < count && values[place].ident == ident;
    // All from here to where the ident before began are this one's, or below it.
    if (place != before) several = place + 1 < before && values[place + 1].ident == ident;
    const Records records = several ? Records::kSeveral : Records::kOne;
    visit(entry_at(order, i), place, found ? records : Records::kNone);
  }
}

// The records of an ident that has some, by its first.
Run run_at(const ValueEntry* values, uint32_t count, uint32_t first) {
  uint32_t end = first + 1;
  while (end < count && values[end].ident == values[first].ident) ++end;
  return {first, end};
}

uint32_t score_run(const Question& question, ValueColumn* column, Run run, int32_t* out_score) {
  Verdict verdict;
  for (uint32_t i = run.first; i < run.end; ++i) {
    int32_t score = 0;
    const uint32_t code = answer(question, column, column->values[i], &score);
    verdict.add(code, score);
  }
  *out_score = verdict.score();
  return verdict.failure();
}

// The same for entry after entry: those of one ident follow each other, and share their verdict
// unless it is a failure.
class RunScores {
 public:
  RunScores(const Question& question, ValueColumn* column) : question_(question), column_(column) {}

  uint32_t score(uint32_t first, int32_t* out_score) {
    uint32_t code = 0;
    if (first != known_) {
      const Run run = run_at(column_->entries, column_->entry_count, first);
      code = score_run(question_, column_, run, &score_);
      known_ = code == 0 ? first : UINT32_MAX;
    }
    *out_score = score_;
    return code;
  }

 private:
  const Question& question_;
  ValueColumn* column_;
  uint32_t known_ = UINT32_MAX;  // the first record of the run that has the score
  int32_t score_ = 0;
};

uint32_t score_by_column(const Question& question, ValueColumn* column, PdlScores* scores) {
  uint32_t last = 0;
  RunScores runs(question, column);
  const uint32_t last_entry = scores->count - 1;
  const uint32_t* const values = column->values;
  int32_t* const to = scores->scores;
  join(scores->order, column->entries, column->entry_count,
       [=, &question, &runs, &last](uint32_t entry, uint32_t record, Records records) {
         int32_t score = 0;
         uint32_t code = kVrelNotFound;
         if (records == Records::kOne) {
           code = answer(question, column, values[record], &score);
           if (code != 0) score = 0;
         } else if (records == Records::kSeveral) {
           code = runs.score(record, &score);
         }
         to[entry] = score;
         if (entry == last_entry) last = code;
       });
  return last;
}

// What an ident is grouped by: its first integer, or its first record where it has none.
uint32_t read_group(vrel_vector2* values, Run run) {
  ValueEntry first = {};
  ValueEntry record = {};
  static_cast<void>(read_record(values, run.first, &first));
  for (uint32_t i = run.first; i < run.end && read_record(values, i, &record); ++i) {
    if (record.kind == kValueInteger) return record.value;
  }
  return first.value;
}

// False when there is no memory.
bool set_groups_by_join(Results* results, AttributeInfo* info) {
  void* entries = nullptr;
  void* values = nullptr;
  uint32_t bytes = 0;
  uint32_t size = 0;
  EntryOrder order = {};
  if (vrel_vector2_get_buffer(results->entries, &entries, &bytes, &size) != 0) return false;
  if (vrel_vector2_get_buffer(info->values, &values, &bytes, &size) != 0) return false;
  if (!make_order(results, &order)) return false;
  auto* const entry = static_cast<ResultEntry*>(entries);
  const auto* const record = static_cast<const ValueEntry*>(values);
  const uint32_t count = bytes / size;
  uint32_t known = UINT32_MAX;  // the first record of the several that have the group
  uint32_t group = 0;
  join(order, record, count, [=, &known, &group](uint32_t index, uint32_t first, Records records) {
    if (records == Records::kSeveral && first != known) {
      group = read_group(info->values, run_at(record, count, first));
      known = first;
    }
    const uint32_t one = records == Records::kOne ? record[first].value : 0;
    entry[index].group = records == Records::kSeveral ? group : one;
  });
  free_order(&order);
  return true;
}

}  // namespace

uint32_t playlist_pdl_scores_create(Results* results, PdlScores** out_scores) {
  auto* const scores = static_cast<PdlScores*>(vrel_memory_calloc(1, sizeof(PdlScores)));
  if (scores == nullptr) return PLERR_NoMemory;
  scores->results = results;
  scores->count = playlist_results_count(results);
  if (scores->count != 0) scores->scores = playlist_array<int32_t>(scores->count);
  if (scores->count != 0 && scores->scores == nullptr) {
    vrel_memory_free(scores);
    return PLERR_NoMemory;
  }
  int32_t* next = scores->scores;
  static_cast<void>(playlist_for_each<ResultEntry>(results->entries, [&](const ResultEntry& entry) {
    *next++ = entry.score;
    return uint32_t{0};
  }));
  *out_scores = scores;
  return 0;
}

void playlist_pdl_scores_delete(PdlScores* scores) {
  if (scores == nullptr) return;
  free_order(&scores->order);
  vrel_memory_free(scores->scores);
  vrel_memory_free(scores);
}

void playlist_pdl_scores_store(const PdlScores* scores) {
  const int32_t* next = scores->scores;
  static_cast<void>(
      playlist_for_each<ResultEntry>(scores->results->entries, [&](ResultEntry& entry) {
        entry.score = *next++;
        return uint32_t{0};
      }));
}

uint32_t playlist_pdl_add_matches(PdlNode* comparison, Results* results) {
  uint32_t code = 0;
  ValueColumn* const column = column_for(question_of(comparison, results));
  if (column != nullptr && add_from_column(comparison, results, column, &code)) return code;
  return add_by_walk(comparison, results);
}

bool playlist_pdl_holds(uint32_t kind, int32_t left, int32_t right) {
  switch (kind) {
    case kPdlEqual:
      return left == right;
    case kPdlNotEqual:
      return left != right;
    case kPdlLess:
      return left < right;
    case kPdlLessOrEqual:
      return left <= right;
    case kPdlGreater:
      return left > right;
    case kPdlGreaterOrEqual:
      return left >= right;
    default:
      return false;  // LIKE between two expressions keeps nothing
  }
}

bool playlist_pdl_add_passing(PdlNode* comparison, Results* results, const PdlTest& test,
                              uint32_t* out_code) {
  const Question question = question_of(comparison, results);
  ValueColumn* const column = column_for(question);
  // Where an entry goes among sorted ones depends on which of them are there.
  if (column == nullptr || vrel_vector2_is_sorted(results->entries)) return false;
  Selection selection = {};
  selection.test = &test;
  uint32_t code = 0;
  if (!select(question, column, &selection, &code)) return false;
  PdlTest keep = test;
  if (code == 0) static_cast<void>(vrel_vector2_retain(results->entries, keep_passing, &keep));
  // No more room than both take: what was dropped may have been the larger part.
  const uint64_t needed = uint64_t{playlist_results_count(results)} + selection.total;
  if (needed > UINT32_MAX) return false;
  if (vrel_vector2_set_min_size(results->entries, static_cast<uint32_t>(needed)) != 0) return false;
  const bool added = add_selected(*column, selection, results, out_code);
  if (*out_code == 0) *out_code = code;
  return added;
}

uint32_t playlist_pdl_filter_matches(PdlNode* comparison, Results* results) {
  if (!playlist_pdl_is_usable(comparison)) return vrel_vector2_clear(results->entries);
  ScoreCache cache = {};
  MatchFilter filter = {question_of(comparison, results), nullptr};
  if (traits_of(filter.question).remembers && g_playlist_memories) filter.cache = &cache;
  const uint32_t code = vrel_vector2_retain(results->entries, keep_match, &filter);
  playlist_score_cache_clear(&cache);
  return code;
}

uint32_t playlist_pdl_score(const PdlNode* comparison, PdlScores* scores) {
  // Looking up is what sorts the values, so without entries they stay in the order of capture.
  if (scores->count == 0) return 0;
  if (!playlist_pdl_is_usable(comparison)) {
    memset(scores->scores, 0, scores->count * sizeof *scores->scores);
    return 0;
  }
  const Question question = question_of(comparison, scores->results);
  PL_TRY(playlist_attrinfo_sort(question.identifier->attribute));
  ValueColumn* const column = column_for(question);
  if (column != nullptr && start_answers(question, column) &&
      make_order(scores->results, &scores->order)) {
    return score_by_column(question, column, scores);
  }
  return score_by_lookup(question, scores);
}

void playlist_pdl_set_groups(Results* results, AttributeInfo* info) {
  if (set_groups_by_join(results, info)) return;
  static_cast<void>(playlist_for_each<ResultEntry>(results->entries, [&](ResultEntry& entry) {
    Run run = {};
    const bool found = find_run(info->values, entry.record.ident, &run) == 0;
    entry.group = found ? read_group(info->values, run) : 0;
    return uint32_t{0};
  }));
}
