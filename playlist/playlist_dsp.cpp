// playlist_dsp: the arithmetic of mood and tempo similarity.
#include "playlist_dsp.h"

#include <math.h>

#include "playlist_error.h"
#include "playlist_services.h"
#include "vrel_memory.h"
#include "vrel_string.h"
#include "vrel_tuning.h"

namespace {

const char kSource[] = "playlist_dsp";

constexpr int32_t kBestScore = 1000;
constexpr int32_t kWorstScore = -1000;
constexpr int32_t kCoordinateLimit = 100;

// The tempo scale reaches its upper end at 320 beats per minute and stays there.
constexpr uint32_t kTempoCurveEnd = 320;
constexpr double kTempoScale = 12.0;

// The tempo scale at 0 to kTempoCurveEnd beats per minute. Made at start, before any reader.
double* g_tempo_curve;

template <typename T>
T clamp(T value, T low, T high) {
  if (value < low) return low;
  return value > high ? high : value;
}

// Beats per minute to the perceptual scale of 0 to 12.
double tempo_point(uint32_t tempo) {
  const double x = tempo / 290.0;
  const double y = 21.41256661842911 * x * x * x + (-44.71767914238594) * x * x +
                   32.696596322861204 * x + 1.630119227133498;
  if (y > kTempoScale) return kTempoScale;
  return y > 0 ? y : 0.0;
}

double tempo_curve(uint32_t tempo) {
  if (g_tempo_curve == nullptr) return tempo_point(tempo);
  return g_tempo_curve[tempo < kTempoCurveEnd ? tempo : kTempoCurveEnd];
}

uint32_t count_weights(const RawMoodVector& raw) {
  uint32_t count = 0;
  for (uint32_t i = 0; i < raw.count; ++i) count += raw.weights[i] != 0 ? 1 : 0;
  return count;
}

// Quotients of places on an axis: reading one is quicker than dividing.
struct Hundredths {
  float of[2 * kCoordinateLimit + 1];
  constexpr Hundredths() : of() {
    for (int32_t i = -kCoordinateLimit; i <= kCoordinateLimit; ++i) {
      of[i + kCoordinateLimit] = static_cast<float>(i) / 100.0f;
    }
  }
};
constexpr Hundredths kHundredths;

float hundredth(int32_t place) {
  return kHundredths.of[place + kCoordinateLimit];
}

// The place on an axis for a sum of weighted scores.
int32_t place_of(uint32_t sum) {
  return clamp(static_cast<int32_t>(sum) / 1000, -kCoordinateLimit, kCoordinateLimit);
}

// Places the first `count` pairs on the axis of one mood. A score that cannot be had drops its
// pair.
int32_t project(const RawMoodVector& raw, uint32_t count, trova_correlate_set* axis) {
  uint32_t sum = 0;  // signed arithmetic that wraps
  for (uint32_t i = 0; i < count; ++i) {
    int32_t score = 0;
    if (g_playlist_lists_interface->correlate_score(axis, raw.ids[i], &score) != 0) continue;
    sum += raw.weights[i] * static_cast<uint32_t>(score);
  }
  return place_of(sum);
}

// The scores of one mood on all axes, 0 where it has none. False when one could not be had now:
// such an answer is not remembered.
bool read_row(const NormalizedMoodVector& seed, uint32_t id, int32_t* out_row) {
  bool complete = true;
  for (uint32_t k = 0; k < seed.count; ++k) {
    trova_correlate_set* const axis = seed.correlate_sets[k];
    int32_t score = 0;
    uint32_t code = 0;
    if (axis != nullptr) {
      code = g_playlist_lists_interface->correlate_score(axis, id, &score);
    }
    complete = complete && !vrel_failed(code);
    out_row[k] = code == 0 ? score : 0;
  }
  return complete;
}

// A record of the memo: the mood, whether it is known, and its row. A mood is within a few records
// from where its hash points to, or replaces the one there.
constexpr uint32_t kMemoBits = kPlaylistMoodMemoBits;
constexpr uint32_t kMemoRecords = 1u << kMemoBits;
constexpr uint32_t kMemoProbes = kPlaylistMoodMemoProbes;
constexpr uint32_t kMemoHead = 2;

uint32_t memo_record_size(const NormalizedMoodVector& seed) {
  return kMemoHead + seed.count;
}

bool make_memo(MoodMemo* memo, const NormalizedMoodVector& seed) {
  if (memo->records != nullptr) return true;
  memo->records = static_cast<uint32_t*>(vrel_memory_calloc(
      kMemoRecords + kMemoProbes + 1, memo_record_size(seed) * sizeof(uint32_t)));
  return memo->records != nullptr;
}

// The row of one mood, good until the next one is asked for. `spare` has room for it where there is
// no memo.
const int32_t* row_of(const NormalizedMoodVector& seed, uint32_t id, MoodMemo* memo,
                      int32_t* spare) {
  if (memo == nullptr || !make_memo(memo, seed)) {
    static_cast<void>(read_row(seed, id, spare));
    return spare;
  }
  const uint32_t size = memo_record_size(seed);
  uint32_t* const first = memo->records + ((id * 0x9e3779b9u) >> (32 - kMemoBits)) * size;
  uint32_t* record = first;
  for (uint32_t probe = 0; probe < kMemoProbes && record[1] != 0; ++probe, record += size) {
    if (record[0] == id) return reinterpret_cast<const int32_t*>(record + kMemoHead);
  }
  if (record[1] != 0) record = first;
  auto* const row = reinterpret_cast<int32_t*>(record + kMemoHead);
  record[0] = id;
  record[1] = read_row(seed, id, row) ? 1 : 0;
  return row;
}

// Null when the table has no such mood, or there is no table.
trova_correlate_set* open_axis(trova_correlates* correlates, uint32_t id) {
  trova_correlate_set* axis = nullptr;
  if (correlates == nullptr) return nullptr;
  const uint32_t code = g_playlist_lists_interface->correlate_set_open(correlates, id, &axis);
  return code == 0 ? axis : nullptr;
}

const char* after(const char* text, char mark) {
  while (*text != mark && *text != '\0') ++text;
  return *text == mark ? text + 1 : nullptr;
}

constexpr uint32_t kPlainDigits = kPlaylistPlainDigits;

// The number at the cursor, which moves behind its digits as far as they are plain.
uint32_t read_number(const char** cursor) {
  const char* const start = *cursor;
  const char* at = start;
  uint32_t number = 0;
  for (uint32_t digit = 0; (digit = static_cast<uint8_t>(*at) - uint32_t{'0'}) < 10; ++at) {
    number = number * 10 + digit;
  }
  *cursor = at;
  const auto length = static_cast<size_t>(at - start);
  return length != 0 && length <= kPlainDigits ? number : vrel_string_atou32(start);
}

int32_t score_of_distance(float total, float limit) {
  float r = (sqrtf(total) / limit) * 2000.0f;
  if (r > 2000.0f) {
    r = 2000.0f;
  } else if (!(r > 0.0f)) {
    return kBestScore;
  }
  return clamp(static_cast<int32_t>(1000.0f - r), kWorstScore, kBestScore);
}

}  // namespace

uint32_t playlist_dsp_initialize() {
  auto* const curve =
      static_cast<double*>(vrel_memory_alloc((kTempoCurveEnd + 1) * sizeof(double)));
  if (curve == nullptr) return VREL_LOG_HERE(PLERR_NoMemory);
  for (uint32_t tempo = 0; tempo <= kTempoCurveEnd; ++tempo) curve[tempo] = tempo_point(tempo);
  g_tempo_curve = curve;
  return 0;
}

uint32_t playlist_dsp_shutdown() {
  vrel_memory_free(g_tempo_curve);
  g_tempo_curve = nullptr;
  return 0;
}

uint32_t playlist_fill_mood_vector(const char* text, RawMoodVector* out_vector) {
  if (out_vector == nullptr) return VREL_LOG_HERE(PLERR_InvalidArg);
  *out_vector = {};
  const char* cursor = text;
  while (cursor != nullptr && out_vector->count < kMoodPairs) {
    out_vector->ids[out_vector->count] = read_number(&cursor);
    cursor = after(cursor, ':');
    if (cursor == nullptr) break;
    out_vector->weights[out_vector->count++] = read_number(&cursor);
    cursor = after(cursor, ',');
  }
  return 0;
}

uint32_t playlist_create_normalized_mood_vector(NormalizedMoodVector** out_vector) {
  void* const vector = vrel_memory_calloc(1, sizeof(NormalizedMoodVector));
  if (vector == nullptr) return VREL_LOG_HERE(PLERR_NoMemory);
  *out_vector = static_cast<NormalizedMoodVector*>(vector);
  return 0;
}

void playlist_delete_normalized_mood_vector(NormalizedMoodVector* vector) {
  if (vector == nullptr) return;
  for (uint32_t i = 0; i < vector->count; ++i) {
    static_cast<void>(g_playlist_lists_interface->correlate_set_release(vector->correlate_sets[i]));
  }
  vrel_memory_free(vector);
}

// The axes are the first moods of the profile, as many as there are weights that are not zero,
// whether or not it is their own weights: a profile "1:0,2:50" is placed on the axis of mood 1.
uint32_t dsp_mood_normalize_vector(const RawMoodVector* raw, NormalizedMoodVector* out_vector,
                                   trova_correlates* correlates) {
  if (raw == nullptr || out_vector == nullptr || raw->count == 0) return kDspNothing;
  const uint32_t count = count_weights(*raw);
  out_vector->count = count;
  for (uint32_t k = 0; k < count; ++k) {
    out_vector->ids[k] = raw->ids[k];
    out_vector->coordinates[k] = 0.0f;
    trova_correlate_set* const axis = open_axis(correlates, raw->ids[k]);
    out_vector->correlate_sets[k] = axis;
    if (axis == nullptr) continue;
    out_vector->coordinates[k] = static_cast<float>(project(*raw, count, axis));
  }
  return 0;
}

bool dsp_mood_same_place(const NormalizedMoodVector* a, const NormalizedMoodVector* b) {
  if (a == nullptr || b == nullptr || a->count != b->count) return false;
  for (uint32_t k = 0; k < a->count; ++k) {
    const bool same_axis = (a->correlate_sets[k] == nullptr) == (b->correlate_sets[k] == nullptr);
    const bool same_place =
        !(a->coordinates[k] < b->coordinates[k]) && !(a->coordinates[k] > b->coordinates[k]);
    if (a->ids[k] != b->ids[k] || !same_axis || !same_place) return false;
  }
  return true;
}

void playlist_mood_memo_clear(MoodMemo* memo) {
  vrel_memory_free(memo->records);
  memo->records = nullptr;
}

uint32_t dsp_mood_similarity(const NormalizedMoodVector* seed, const RawMoodVector* raw,
                             MoodMemo* memo, int32_t* out_score) {
  if (seed == nullptr || raw == nullptr || out_score == nullptr) return kDspNothing;
  if (seed->count == 0 || raw->count == 0) {
    *out_score = 0;
    return kDspNothing;
  }
  const uint32_t count = count_weights(*raw);
  uint32_t sums[kMoodPairs] = {};  // by axis; signed arithmetic that wraps
  for (uint32_t i = 0; i < count; ++i) {
    int32_t spare[kMoodPairs];
    const int32_t* const row = row_of(*seed, raw->ids[i], memo, spare);
    for (uint32_t k = 0; k < seed->count; ++k) {
      sums[k] += raw->weights[i] * static_cast<uint32_t>(row[k]);
    }
  }
  float total = 0.0f;
  for (uint32_t k = 0; k < seed->count; ++k) {
    const auto a = static_cast<int32_t>(seed->coordinates[k]);
    const float difference = static_cast<float>(a) / 100.0f - hundredth(place_of(sums[k]));
    total += difference * difference;
  }
  // Two coordinates are at most 2 apart, so this is the largest possible distance.
  const float limit = sqrtf(static_cast<float>(seed->count) * 4.0f);
  *out_score = score_of_distance(total, limit);
  return 0;
}

uint32_t dsp_primary_tempo_similarity(uint32_t tempo_a, uint32_t tempo_b, int32_t* out_score) {
  if (out_score == nullptr) return kDspNothing;
  double distance = fabs(tempo_curve(tempo_a) - tempo_curve(tempo_b));
  if (distance > kTempoScale) distance = kTempoScale;
  if (!(distance > 0)) {
    *out_score = kBestScore;
    return 0;
  }
  *out_score = static_cast<int32_t>(1000.0 - (distance / kTempoScale) * 2000.0 + 0.5);
  return 0;
}
