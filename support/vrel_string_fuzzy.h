// vrel_string_fuzzy: how alike two texts are, by the pairs of characters that they share.
//
// The likeness is the Dice coefficient of the texts' multisets of character pairs: 1.0 for equal
// texts, 0.0 for texts without a common pair. ASCII letters are compared without their case.
// Characters above U+FFFF count by their low 16 bits, and a byte that is not UTF-8 ends its text.
//
// Failures are logged as "vrel_string_fuzzy".
#ifndef VREL_STRING_FUZZY_H
#define VREL_STRING_FUZZY_H

#include <cstdint>

#include "vrel_layout.h"

// The pairs of one text: the first character in the low 16 bits, the second in the high ones, 0
// where there is none. The first character also stands alone, and so does the last.
struct vrel_bigrams {
  uint32_t count;
  uint32_t* entries;
};
VREL_LAYOUT_SIZE(vrel_bigrams, 8);
VREL_LAYOUT_FIELD(vrel_bigrams, count, 0);
VREL_LAYOUT_FIELD(vrel_bigrams, entries, 4);

// 0.0 to 1.0; 0.0 when a text is null or empty. With `flags` non-zero, blanks and control
// characters are breaks between words instead of characters. Without memory for a long text: 0.0.
float vrel_string_fuzzycmp(const char* a, const char* b, uint32_t flags);

// The table of a text, in one block that is freed with vrel_string_bigrams_delete().
// 0; 0x90050001 for a null, 0x90050002 without memory.
uint32_t vrel_string_create_bigrams(const char* text, uint32_t flags, vrel_bigrams** out_table);
void vrel_string_bigrams_delete(vrel_bigrams* table);

// For comparing many texts with one: sorts that one's table once, and then answers for each text
// what vrel_string_fuzzycmp() would, with the flags that the table was made with. The table is one
// of vrel_string_create_bigrams().
void vrel_string_bigrams_sort(vrel_bigrams* table);
float vrel_string_fuzzycmp_sorted(const char* text, const vrel_bigrams* sorted, uint32_t flags);

#endif  // VREL_STRING_FUZZY_H
