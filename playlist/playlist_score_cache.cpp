// playlist_score_cache: what a comparison answered for the values that it has met.
#include "playlist_score_cache.h"

#include "vrel_memory.h"

namespace {

constexpr uint32_t kSlotBits = 9;
constexpr uint32_t kSlots = 1u << kSlotBits;
// A statement may have many comparisons over few values: those never make slots.
constexpr uint32_t kQuestionsBeforeSlots = 64;

ScoreCacheSlot* slot_of(const ScoreCache* cache, uintptr_t key) {
  // Multiplying by 2^32 divided by the golden ratio spreads neighbouring values; the upper bits are
  // the well-mixed ones.
  const uint32_t hash = static_cast<uint32_t>(key ^ (key >> 4)) * 0x9e3779b9u;
  return &cache->slots[hash >> (32 - kSlotBits)];
}

}  // namespace

bool playlist_score_cache_find(ScoreCache* cache, uintptr_t key, int32_t* out_score,
                               uint32_t* out_code) {
  if (cache->slots == nullptr) return false;
  const ScoreCacheSlot* const slot = slot_of(cache, key);
  if (slot->used == 0 || slot->key != key) return false;
  *out_score = slot->score;
  *out_code = slot->code;
  return true;
}

void playlist_score_cache_put(ScoreCache* cache, uintptr_t key, int32_t score, uint32_t code) {
  if (cache->slots == nullptr) {
    if (++cache->questions != kQuestionsBeforeSlots) return;
    cache->slots = static_cast<ScoreCacheSlot*>(vrel_memory_calloc(kSlots, sizeof(ScoreCacheSlot)));
    if (cache->slots == nullptr) return;
  }
  *slot_of(cache, key) = {key, score, code, 1};
}

void playlist_score_cache_clear(ScoreCache* cache) {
  vrel_memory_free(cache->slots);
  cache->slots = nullptr;
}
