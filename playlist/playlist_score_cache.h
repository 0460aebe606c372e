// playlist_score_cache: what a comparison answered for the values that it has met.
//
// The lists never change under a statement, so a value scores the same each time. The cache only
// saves the way there: one that finds no memory, or no room, answers "not known".
#ifndef PLAYLIST_SCORE_CACHE_H
#define PLAYLIST_SCORE_CACHE_H

#include <cstdint>

#include "playlist_collection.h"
#include "vrel_error.h"

// One place per hash of the value; a value that meets another in its place replaces it.
struct ScoreCacheSlot {
  uint32_t value;
  uint32_t kind;
  int32_t score;
  uint32_t used;
};

struct ScoreCache {
  uint32_t questions;  // asked so far; slots are made once they pay
  ScoreCacheSlot* slots;
};

// True when the value was met: then the score is what was answered.
bool playlist_score_cache_find(const ScoreCache* cache, const ValueEntry& value,
                               int32_t* out_score);

// Remembers an answer.
void playlist_score_cache_put(ScoreCache* cache, const ValueEntry& value, int32_t score);

// The score that `ask` sets, unless it is known already. Failures are not remembered: the next
// question may fare better. Warnings are not repeated.
template <typename Ask>
uint32_t playlist_score_cached(ScoreCache* cache, const ValueEntry& value, int32_t* out_score,
                               Ask ask) {
  if (playlist_score_cache_find(cache, value, out_score)) return 0;
  const uint32_t code = ask(out_score);
  if (!vrel_failed(code)) playlist_score_cache_put(cache, value, *out_score);
  return code;
}

// Frees the slots.
void playlist_score_cache_clear(ScoreCache* cache);

#endif  // PLAYLIST_SCORE_CACHE_H
