// vrel_string_fuzzy: how alike two texts are, by the pairs of characters that they share.
#include "vrel_string_fuzzy.h"

#include "vrel_error.h"
#include "vrel_memory.h"
#include "vrel_sort.h"
#include "vrel_string.h"
#include "vrel_tuning.h"

static const char kSource[] = "vrel_string_fuzzy";

namespace {

// Texts of fewer bytes keep their tables on the stack, as comparing them must not fail: such a text
// has at most this many pairs.
constexpr uint32_t kStackEntries = 200;
// What a heap table takes beside four bytes for each byte of its text: the record, the one pair
// that a text has more than bytes, and the word behind the pairs.
constexpr uint64_t kHeapExtra = sizeof(vrel_bigrams) + 2 * sizeof(uint32_t);

bool is_blank(uint32_t character) {
  return character >= 1 && character <= 32;
}

uint32_t fold(uint32_t character) {
  return character >= 'A' && character <= 'Z' ? character + 32 : character;
}

// The next character, folded and cut to 16 bits. False for bytes that are not UTF-8.
bool next_character(const char** at, uint32_t* out) {
  uint32_t character = 0;
  if (_utf8_get_next_char(at, &character) != 0) return false;
  *out = fold(character);
  return true;
}

// The next character that is no blank. False at the end of the text.
bool next_word(const char** at, uint32_t* character) {
  while (is_blank(*character)) {
    if (!next_character(at, character)) return false;
  }
  return *character != 0;
}

uint32_t pair(uint32_t first, uint32_t second) {
  return (first & 0xffffu) | ((second & 0xffffu) << 16);
}

// Writes the pairs of a text, of which there are at most one more than it has bytes, and answers
// how many. A text of blanks alone has none when blanks are breaks.
uint32_t fill(const char* text, uint32_t flags, uint32_t* entries) {
  const bool by_words = flags != 0;
  const char* at = text;
  uint32_t previous = 0;
  uint32_t next = 0;
  uint32_t count = 0;
  if (!next_character(&at, &previous)) return 0;
  if (by_words && !next_word(&at, &previous)) return 0;
  entries[count++] = pair(previous, 0);
  while (previous != 0 && next_character(&at, &next)) {
    if (by_words && is_blank(next)) {
      entries[count++] = pair(previous, 0);
      if (!next_word(&at, &next)) return count;
      entries[count++] = pair(next, 0);
    } else {
      entries[count++] = pair(previous, next);
    }
    previous = next;
  }
  return count;
}

// A text's pairs, on the stack or, for long texts, on the heap.
class Bigrams {
 public:
  Bigrams(const char* text, uint32_t flags) {
    const uint32_t bytes = vrel_string_byteclen(text);
    if (bytes >= kStackEntries) {
      if (vrel_string_create_bigrams(text, flags, &heap_) == 0) table_ = *heap_;
      return;
    }
    table_ = {fill(text, flags, stack_), stack_};
  }
  ~Bigrams() { vrel_string_bigrams_delete(heap_); }
  Bigrams(const Bigrams&) = delete;
  Bigrams& operator=(const Bigrams&) = delete;

  vrel_bigrams* table() { return &table_; }

 private:
  uint32_t stack_[kStackEntries];
  vrel_bigrams* heap_ = nullptr;
  vrel_bigrams table_ = {};
};

int32_t compare_entries(const void* a, const void* b, void* /*context*/) {
  const uint32_t entry_a = *static_cast<const uint32_t*>(a);
  const uint32_t entry_b = *static_cast<const uint32_t*>(b);
  if (entry_a == entry_b) return 0;
  return entry_a < entry_b ? -1 : 1;
}

// The first entry of a sorted table from `low` on that is not below the wanted one.
uint32_t lower_bound(const vrel_bigrams& sorted, uint32_t low, uint32_t wanted) {
  uint32_t high = sorted.count;
  while (low < high) {
    const uint32_t middle = low + (high - low) / 2;
    if (sorted.entries[middle] < wanted) {
      low = middle + 1;
    } else {
      high = middle;
    }
  }
  return low;
}

// The size of the multiset that two sorted tables have in common, by going through both.
uint32_t merge_common(const vrel_bigrams& a, const vrel_bigrams& b) {
  uint32_t common = 0;
  for (uint32_t i = 0, j = 0; i < a.count && j < b.count;) {
    const uint32_t entry_a = a.entries[i];
    const uint32_t entry_b = b.entries[j];
    common += entry_a == entry_b;
    i += entry_a <= entry_b;
    j += entry_b <= entry_a;
  }
  return common;
}

// The same by searching the longer table for what the shorter one holds, so a title against a book
// costs what the title does.
uint32_t search_common(const vrel_bigrams& shorter, const vrel_bigrams& longer) {
  uint32_t common = 0;
  uint32_t at = 0;
  for (uint32_t i = 0; i < shorter.count; ++i) {
    at = lower_bound(longer, at, shorter.entries[i]);
    if (at == longer.count) break;
    if (longer.entries[at] != shorter.entries[i]) continue;
    ++common;
    ++at;
  }
  return common;
}

uint32_t count_common(const vrel_bigrams& shorter, const vrel_bigrams& longer) {
  const bool alike = longer.count / kVrelFuzzyMuchLonger <= shorter.count;
  return alike ? merge_common(shorter, longer) : search_common(shorter, longer);
}

// Equal entries are all alike, so any sort gives the same.
void insertion_sort(vrel_bigrams* table) {
  for (uint32_t i = 1; i < table->count; ++i) {
    const uint32_t entry = table->entries[i];
    uint32_t place = i;
    for (; place > 0 && table->entries[place - 1] > entry; --place) {
      table->entries[place] = table->entries[place - 1];
    }
    table->entries[place] = entry;
  }
}

// An empty text has one pair, 0. So may a text that begins above U+FFFF and goes on with bytes that
// are not UTF-8, but there the word behind the pair is not 0.
bool is_of_empty_text(const vrel_bigrams& heap_table) {
  const uint32_t* const entries = heap_table.entries;
  return heap_table.count == 1 && entries[0] == 0 && entries[1] == 0;
}

float likeness(const vrel_bigrams& a, const vrel_bigrams& b) {
  const uint32_t total = a.count + b.count;
  if (total == 0) return 0.0f;
  const uint32_t common = a.count < b.count ? count_common(a, b) : count_common(b, a);
  return static_cast<float>(common) / (static_cast<float>(total) * 0.5f);
}

float likeness_to_sorted(const char* text, const vrel_bigrams& sorted, uint32_t flags) {
  Bigrams pairs(text, flags);
  vrel_string_bigrams_sort(pairs.table());
  return likeness(*pairs.table(), sorted);
}

}  // namespace

float vrel_string_fuzzycmp(const char* a, const char* b, uint32_t flags) {
  if (vrel_string_isempty(a) || vrel_string_isempty(b)) return 0.0f;
  Bigrams pairs_b(b, flags);
  vrel_string_bigrams_sort(pairs_b.table());
  return likeness_to_sorted(a, *pairs_b.table(), flags);
}

uint32_t vrel_string_create_bigrams(const char* text, uint32_t flags, vrel_bigrams** out_table) {
  if (text == nullptr || out_table == nullptr) return VREL_LOG_HERE(kVrelStringInvalidArg);
  const uint64_t size = uint64_t{4} * vrel_string_byteclen(text) + kHeapExtra;
  if (size > SIZE_MAX) return VREL_LOG_HERE(kVrelStringNoMemory);
  auto* const table = static_cast<vrel_bigrams*>(vrel_memory_calloc(1, static_cast<size_t>(size)));
  if (table == nullptr) return VREL_LOG_HERE(kVrelStringNoMemory);
  table->entries = reinterpret_cast<uint32_t*>(table + 1);
  table->count = fill(text, flags, table->entries);
  table->entries[table->count] = vrel_string_isempty(text) ? 0 : 1;
  *out_table = table;
  return 0;
}

void vrel_string_bigrams_delete(vrel_bigrams* table) {
  vrel_memory_free(table);
}

void vrel_string_bigrams_sort(vrel_bigrams* table) {
  if (table->count <= kVrelFuzzyShortTable) return insertion_sort(table);
  static_cast<void>(
      vrel_utils_qsort(table->entries, table->count, sizeof(uint32_t), compare_entries, nullptr));
}

float vrel_string_fuzzycmp_sorted(const char* text, const vrel_bigrams* sorted, uint32_t flags) {
  if (vrel_string_isempty(text) || is_of_empty_text(*sorted)) return 0.0f;
  return likeness_to_sorted(text, *sorted, flags);
}
