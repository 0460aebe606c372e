// playlist_dsp: the arithmetic of mood and tempo similarity.
//
// Floating point is part of the results: every operation stands in the precision and the order that
// playlists are compared in on all targets. Do not rearrange.
#ifndef PLAYLIST_DSP_H
#define PLAYLIST_DSP_H

#include <cstdint>

#include "trova_manager_services.h"
#include "vrel_layout.h"

// What the functions below answer when there is nothing to compute with: a bare number, no code of
// any package, and no failure.
constexpr uint32_t kDspNothing = 62;

// How many pairs a mood profile may have; what follows is not read.
constexpr uint32_t kMoodPairs = 17;

// A mood profile as its text gives it: "id:weight,id:weight".
struct RawMoodVector {
  uint32_t count;  // pairs read
  uint32_t ids[kMoodPairs];
  uint32_t weights[kMoodPairs];
};
static_assert(sizeof(RawMoodVector) == 4 + 2 * 4 * kMoodPairs, "words only");

// A profile placed among its own moods: a coordinate for each, and the scores to place others
// there.
struct NormalizedMoodVector {
  uint32_t count;
  uint32_t ids[kMoodPairs];
  float coordinates[kMoodPairs];                    // -100 to 100
  trova_correlate_set* correlate_sets[kMoodPairs];  // owned; null: the table has no such mood
};
VREL_LAYOUT_SIZE(NormalizedMoodVector, 4 + 3 * 4 * kMoodPairs);

// Prepares what the arithmetic looks up, and frees it.
uint32_t playlist_dsp_initialize();
uint32_t playlist_dsp_shutdown();

// Reads a profile. An id without a weight is stored but not counted.
uint32_t playlist_fill_mood_vector(const char* text, RawMoodVector* out_vector);

uint32_t playlist_create_normalized_mood_vector(NormalizedMoodVector** out_vector);
// Null is accepted.
void playlist_delete_normalized_mood_vector(NormalizedMoodVector* vector);

// Places a profile. 0, or kDspNothing without vectors or without pairs.
uint32_t dsp_mood_normalize_vector(const RawMoodVector* raw, NormalizedMoodVector* out_vector,
                                   trova_correlates* correlates);

// Whether two profiles stand in one place, measured on the same axes.
bool dsp_mood_same_place(const NormalizedMoodVector* a, const NormalizedMoodVector* b);

// What moods score on the axes of one profile, as far as it was asked. Starts as zeros.
struct MoodMemo {
  uint32_t* records;  // owned; null until the first question, and without memory
};
void playlist_mood_memo_clear(MoodMemo* memo);

// 1000 for the same place down to -1000 for the largest possible distance. 0, or kDspNothing:
// without pointers; and, with the score 0, when either vector has no pairs. `memo` belongs to the
// seed and may be null.
uint32_t dsp_mood_similarity(const NormalizedMoodVector* seed, const RawMoodVector* raw,
                             MoodMemo* memo, int32_t* out_score);

// 1000 for the same point of the tempo scale down to -727. 0, or kDspNothing without `out_score`.
uint32_t dsp_primary_tempo_similarity(uint32_t tempo_a, uint32_t tempo_b, int32_t* out_score);

#endif  // PLAYLIST_DSP_H
