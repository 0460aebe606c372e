// vrel_tuning: the thresholds, table sizes and batches that decide what things cost, never what
// comes out.
//
// Each has its normal value and its tiny one, the smallest that the code is correct with. Built
// with TROVA_TINY the library takes the tiny ones, so a test of a few elements comes through
// everything that is otherwise made for thousands: pages split, chunks are full, tables grow,
// memories forget.
//
// Figures that show outside (how vectors grow, the buckets of a hash table, how long a sort is
// nothing but the quicksort, the texts that are compared without memory) are part of what their
// owners promise and stay with them.
#ifndef VREL_TUNING_H
#define VREL_TUNING_H

#include <cstdint>

constexpr uint32_t vrel_tuned(uint32_t normal, uint32_t tiny) {
#ifdef TROVA_TINY
  return static_cast<void>(normal), tiny;
#else
  return static_cast<void>(tiny), normal;
#endif
}

// ---- Vectors and pages ----

// The tail in bytes that a change may move before a vector turns into pages: moving this much costs
// about as much as finding one's way through them.
constexpr uint32_t kVrelVectorLongTail = vrel_tuned(16 * 1024, 0);
// A page in bytes: small ones are quick to change, large ones to find and to walk. No page holds
// fewer than two elements.
constexpr uint32_t kVrelVectorPageBytes = vrel_tuned(8 * 1024, 1);
// Pages that a list of them first has room for. It grows by half, so one would never become two.
constexpr uint32_t kVrelPagesFirstRoom = vrel_tuned(16, 2);

// ---- Sorting ----

// Below this many keys the quicksort is as quick as going through all digits.
constexpr uint32_t kVrelSortLeastRadix = vrel_tuned(48, 1);
// If fewer than one in this many elements are wanted, the rest is left unsorted.
constexpr uint32_t kVrelSortMuchMore = vrel_tuned(16, 1);
// The quicksort is not tried if ties alone will cost it this multiple of its budget.
constexpr uint32_t kVrelSortOvertaxed = vrel_tuned(2, 1);

// ---- String tables ----

// As powers of two, the least and the largest chunk of text in bytes: small ones waste little,
// large ones are few. Between them a chunk is an eighth of the text. The guide to chunks divides
// each power of two by eight, so the least power is 3.
constexpr uint32_t kVrelTextLeastPower = vrel_tuned(8, 3);
constexpr uint32_t kVrelTextLargestPower = vrel_tuned(20, 3);
// Chunks that a text first has room for.
constexpr uint32_t kVrelTextFirstRoom = vrel_tuned(4, 1);
// From this room on chunks are found through a guide, which costs some 400 bytes.
constexpr uint32_t kVrelTextGuidedRoom = vrel_tuned(32, 1);
// Chunks that are tried one by one, from where the guide points to, before a search.
constexpr uint32_t kVrelTextNearChunks = vrel_tuned(4, 0);
// Entries that are first made room for when a text is indexed.
constexpr uint32_t kVrelTextFirstEntries = vrel_tuned(64, 1);

// Entries in a page of the index: half of them move when one goes into the middle. A page must be
// able to give away a half and keep one.
constexpr uint32_t kVrelIndexPerPage = vrel_tuned(512, 2);
// What the first page, and the list of pages, first have room for.
constexpr uint32_t kVrelIndexFirstEntries = vrel_tuned(8, 1);
constexpr uint32_t kVrelIndexFirstPages = vrel_tuned(4, 2);
// How far from the guess a hash is looked for before the page is halved. Where hashes are spread
// evenly, nearly all are found: the guess is wrong by some half of the root of the page's count.
constexpr uint32_t kVrelIndexReach = vrel_tuned(24, 0);

// ---- Hash tables ----

// Up to this index walking from the first entry is quicker than asking the cursor, which has a
// lock.
constexpr uint32_t kVrelHashtableNearIndex = vrel_tuned(8, 0);

// ---- Strings ----

// What an accumulator first makes room for.
constexpr uint32_t kVrelAccumFirstSize = vrel_tuned(64, 1);
// Padding is written in pieces of this many characters, which are on the stack.
constexpr uint32_t kVrelPrintfChunk = vrel_tuned(32, 1);
// Digits that surely fit 32 bits: up to here a number is read without looking for more. At most 9.
constexpr uint32_t kVrelSafeDigits = vrel_tuned(9, 0);
// A table with more than this multiple of another's entries is searched for them; tables of similar
// size are merged.
constexpr uint32_t kVrelFuzzyMuchLonger = vrel_tuned(8, 1);
// Up to here the simplest sort of pairs is the quickest.
constexpr uint32_t kVrelFuzzyShortTable = vrel_tuned(48, 1);

// ---- Playlists: what comparisons remember ----

// The rows of moods that one comparison remembers, as a power of two, and how many places are
// tried for one.
constexpr uint32_t kPlaylistMoodMemoBits = vrel_tuned(9, 1);
constexpr uint32_t kPlaylistMoodMemoProbes = vrel_tuned(4, 1);
// The places of a score cache, as a power of two, and the questions before it is made: a statement
// may have many comparisons over few values.
constexpr uint32_t kPlaylistScoreCacheBits = vrel_tuned(9, 1);
constexpr uint32_t kPlaylistScoreCacheQuestions = vrel_tuned(64, 1);
// The first table of a column's distinct values, as a power of two.
constexpr uint32_t kPlaylistColumnSlotBits = vrel_tuned(8, 1);
// The least table of a column's texts; a power of two.
constexpr uint32_t kPlaylistColumnTexts = vrel_tuned(4, 1);
// Places of it that are looked at for one text: where more would be needed there is no table.
constexpr uint32_t kPlaylistColumnPlaces = vrel_tuned(1024, 2);

// ---- Playlists: walking and handing on ----

// Values that are looked at one by one before they are searched.
constexpr uint32_t kPlaylistJoinSteps = vrel_tuned(4, 1);
// Entries that are handed to a playlist at a time.
constexpr uint32_t kPlaylistEntryBatch = vrel_tuned(32, 1);
// If a comparison selects at most one in this many entries, they are marked and then collected;
// else all entries are looked at.
constexpr uint32_t kPlaylistFewShare = vrel_tuned(8, 1);
// Idents that a statement without WHERE takes at a time.
constexpr uint32_t kPlaylistIdentBatch = vrel_tuned(64, 1);
// Ids that a synchronisation copies at a time.
constexpr uint32_t kPlaylistSyncBatch = vrel_tuned(256, 1);
// Room for names that a reader makes besides what it needs.
constexpr uint32_t kPlaylistNamesRoom = vrel_tuned(64, 0);
// As kVrelSafeDigits, for the numbers of a mood profile.
constexpr uint32_t kPlaylistPlainDigits = vrel_tuned(9, 0);

#endif  // VREL_TUNING_H
