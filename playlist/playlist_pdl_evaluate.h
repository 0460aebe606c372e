// playlist_pdl_evaluate: what prepared comparisons say about the values of a collection.
#ifndef PLAYLIST_PDL_EVALUATE_H
#define PLAYLIST_PDL_EVALUATE_H

#include <cstdint>

#include "playlist_pdl.h"
#include "playlist_results.h"

// The entries of a playlist in the order of their idents, to go through an attribute's values
// beside them.
struct EntryOrder {
  uint32_t count;
  uint32_t* idents;   // ascending; null until asked for
  uint32_t* entries;  // of each ident; null: the entries stand in this order, or the reverse
  bool reversed;
};

// The scores of a playlist's entries while ORDER, or a comparison of expressions, works on them.
// They start as what the entries have.
struct PdlScores {
  Results* results;
  uint32_t count;
  int32_t* scores;  // by entry
  EntryOrder order;
  uint32_t failure;  // memory that was missing; other failures of a part leave its scores at 0
};

uint32_t playlist_pdl_scores_create(Results* results, PdlScores** out_scores);
// Null is accepted.
void playlist_pdl_scores_delete(PdlScores* scores);
// Gives the entries the scores that stand.
void playlist_pdl_scores_store(const PdlScores* scores);

// Evaluation looks for its identifier on the left: one on the right is prepared, never matches.
inline bool playlist_pdl_is_usable(const PdlNode* comparison) {
  return comparison->left->usable != 0;
}

// Adds an entry for every value of the attribute that does not score 0.
uint32_t playlist_pdl_add_matches(PdlNode* comparison, Results* results);

// Compares two numbers by a comparison's kind.
bool playlist_pdl_holds(uint32_t kind, int32_t left, int32_t right);

// What a score must be.
struct PdlTest {
  uint32_t kind;  // of the comparison with `number`
  int32_t number;
  bool number_left;

  bool operator()(int32_t score) const {
    return number_left ? playlist_pdl_holds(kind, number, score)
                       : playlist_pdl_holds(kind, score, number);
  }
};

// Adds the matches and removes all entries whose score fails the test, those that were there before
// among them; nothing is removed when a value cannot be scored. False, and nothing was added, when
// the matches must be added first: an application's provider is asked entry by entry, the entries
// are sorted, or there is no memory.
bool playlist_pdl_add_passing(PdlNode* comparison, Results* results, const PdlTest& test,
                              uint32_t* out_code);

// Removes the entries that score 0. An entry is judged by the record that admitted it, whichever
// attribute that is of.
uint32_t playlist_pdl_filter_matches(PdlNode* comparison, Results* results);

// Gives every entry the score of its ident's record for the compared attribute, 0 where there is
// none. A failure leaves that entry at 0 and the next one is scored; the result is that of the last
// entry: its lookup's, or its evaluation's when that failed.
uint32_t playlist_pdl_score(const PdlNode* comparison, PdlScores* scores);

// Gives every entry its ident's value as its group; 0 where there is none. The values are sorted.
void playlist_pdl_set_groups(Results* results, AttributeInfo* info);

#endif  // PLAYLIST_PDL_EVALUATE_H
