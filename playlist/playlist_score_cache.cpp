// playlist_score_cache: what a comparison answered for the values that it has met.
#include "playlist_score_cache.h"

#include "vrel_memory.h"
#include "vrel_tuning.h"

namespace {

constexpr uint32_t kSlotBits = kPlaylistScoreCacheBits;
constexpr uint32_t kSlots = 1u << kSlotBits;
constexpr uint32_t kQuestionsBeforeSlots = kPlaylistScoreCacheQuestions;

ScoreCacheSlot* slot_of(const ScoreCache* cache, const ValueEntry& value) {
  // Multiplying by 2^32 divided by the golden ratio spreads neighbouring values; the upper bits are
  // the well-mixed ones.
  return &cache->slots[(value.value * 0x9e3779b9u) >> (32 - kSlotBits)];
}

}  // namespace

bool playlist_score_cache_find(const ScoreCache* cache, const ValueEntry& value,
                               int32_t* out_score) {
  if (cache->slots == nullptr) return false;
  const ScoreCacheSlot* const slot = slot_of(cache, value);
  if (slot->used == 0 || slot->value != value.value || slot->kind != value.kind) return false;
  *out_score = slot->score;
  return true;
}

void playlist_score_cache_put(ScoreCache* cache, const ValueEntry& value, int32_t score) {
  if (cache->slots == nullptr) {
    if (++cache->questions != kQuestionsBeforeSlots) return;
    cache->slots = static_cast<ScoreCacheSlot*>(vrel_memory_calloc(kSlots, sizeof(ScoreCacheSlot)));
    if (cache->slots == nullptr) return;
  }
  *slot_of(cache, value) = {value.value, value.kind, score, 1};
}

void playlist_score_cache_clear(ScoreCache* cache) {
  vrel_memory_free(cache->slots);
  cache->slots = nullptr;
}
