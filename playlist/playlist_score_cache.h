// playlist_score_cache: what a comparison answered for the values that it has met.
//
// The lists never change under a statement, so a value scores the same each time. The cache only
// saves the way there: one that finds no memory, or no room, answers "not known".
#ifndef PLAYLIST_SCORE_CACHE_H
#define PLAYLIST_SCORE_CACHE_H

#include <cstdint>

#include "vrel_error.h"

// One place per hash of the key; a value that meets another in its place replaces it.
struct ScoreCacheSlot {
  uintptr_t key;  // the value, or the address of its text
  int32_t score;
  uint32_t code;
  uint32_t used;
};

struct ScoreCache {
  uint32_t questions;  // asked so far; slots are made once they pay
  ScoreCacheSlot* slots;
};

// True when the value was met: then score and code are what was answered. A score that the answer
// left alone is remembered as 0.
bool playlist_score_cache_find(ScoreCache* cache, uintptr_t key, int32_t* out_score,
                               uint32_t* out_code);

// Remembers an answer.
void playlist_score_cache_put(ScoreCache* cache, uintptr_t key, int32_t score, uint32_t code);

// The answer of `ask`, which takes an out score and returns a code, unless it is known already.
// Failures are not remembered: the next question may fare better.
template <typename Ask>
uint32_t playlist_score_cached(ScoreCache* cache, uintptr_t key, int32_t* out_score, Ask ask) {
  uint32_t code = 0;
  if (playlist_score_cache_find(cache, key, out_score, &code)) return code;
  *out_score = 0;
  code = ask(out_score);
  if (!vrel_failed(code)) playlist_score_cache_put(cache, key, *out_score, code);
  return code;
}

// Frees the slots.
void playlist_score_cache_clear(ScoreCache* cache);

#endif  // PLAYLIST_SCORE_CACHE_H
