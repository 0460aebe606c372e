// playlist_api_results: building, reading and releasing playlists.
#include <cstddef>

#include "playlist_error.h"
#include "playlist_owner.h"
#include "playlist_results.h"
#include "playlist_services.h"
#include "playlist_walk.h"
#include "vrel_memory.h"

namespace {

const char kSource[] = "playlist_api_results";

using ResultsOwner = PlaylistOwner<Results, _playlist_results_delete>;

#define PL_REQUIRE_RESULTS(results) \
  PL_REQUIRE(playlist_check_handle(__LINE__, kSource, (results), kResultsMagic))

uint32_t build(Results* results, Collection* collection) {
  results->magic = kResultsMagic;
  results->refcount = 1;
  PL_TRY(playlist_collection_addref(collection));
  results->collection = collection;
  PL_TRY(vrel_thread_critsec_create(&results->lock));
  return vrel_vector2_create(&results->entries, sizeof(ResultEntry), 0, nullptr, nullptr);
}

// Keeps the first entry of each run of one ident.
struct FirstOfIdent {
  bool any;
  uint32_t ident;
};

uint32_t keep_first_of_ident(void* element, void* context, uint8_t* out_keep) {
  const auto* const entry = static_cast<const ResultEntry*>(element);
  auto* const last = static_cast<FirstOfIdent*>(context);
  *out_keep = !last->any || entry->record.ident != last->ident ? 1 : 0;
  last->any = true;
  last->ident = entry->record.ident;
  return 0;
}

bool scores_are_equal(const Results* results) {
  void* first = nullptr;
  if (vrel_vector2_getindex(results->entries, 0, &first) != 0) return true;
  const int32_t score = static_cast<const ResultEntry*>(first)->score;
  return playlist_for_each<ResultEntry>(results->entries, [=](const ResultEntry& entry) {
           return uint32_t{entry.score != score};
         }) == 0;
}

uint32_t ident_at(Results* results, uint32_t index, const char** out_ident) {
  void* element = nullptr;
  PL_TRY(vrel_vector2_getindex(results->entries, index, &element));
  const uint32_t ident = static_cast<const ResultEntry*>(element)->record.ident;
  return vrel_stringtable_get_value(results->collection->idents, ident, out_ident);
}

}  // namespace

uint32_t _playlist_results_create(Collection* collection, Results** out_results) {
  ResultsOwner results(static_cast<Results*>(vrel_memory_calloc(1, sizeof(Results))));
  if (!results) return VREL_LOG_HERE(PLERR_NoMemory);
  PL_TRY(build(results.get(), collection));
  *out_results = results.take();
  return 0;
}

uint32_t _playlist_results_add_result(Results* results, const ValueEntry& record, int32_t score) {
  const ResultEntry entry = {score, record, 0};
  results->distinct = false;
  return vrel_vector2_add(results->entries, &entry, sizeof entry, nullptr);
}

uint32_t _playlist_results_append(Results* results, const ResultEntry* entries, uint32_t count) {
  results->distinct = false;
  if (!vrel_vector2_is_sorted(results->entries)) {
    return vrel_vector2_append_n(results->entries, entries, count, sizeof *entries);
  }
  for (uint32_t i = 0; i < count; ++i) {
    PL_TRY(vrel_vector2_add(results->entries, &entries[i], sizeof *entries, nullptr));
  }
  return 0;
}

uint32_t _playlist_results_reserve(Results* results, uint32_t count) {
  return count == 0 ? 0 : vrel_vector2_reserve(results->entries, count);
}

uint32_t _playlist_results_merge(Results* destination, Results* source) {
  destination->distinct = false;
  uint32_t last = 0;
  // Every entry is tried, whatever became of the one before it.
  PL_TRY(playlist_for_each<ResultEntry>(source->entries, [&](const ResultEntry& entry) {
    last = vrel_vector2_add(destination->entries, &entry, sizeof entry, nullptr);
    return uint32_t{0};
  }));
  return last;
}

uint32_t _playlist_results_unique(Results* results, bool last) {
  if (results->distinct || playlist_results_count(results) < 2) return 0;
  const bool interchangeable = last && (results->scored_later || scores_are_equal(results));
  const vrel_vector2_key by_ident = {offsetof(ResultEntry, record.ident), 0, interchangeable, true};
  PL_TRY(vrel_vector2_sort_by_key(results->entries, playlist_results_sort_by_ident, &by_ident));
  FirstOfIdent first = {};
  PL_TRY(vrel_vector2_retain(results->entries, keep_first_of_ident, &first));
  results->distinct = true;
  return 0;
}

int32_t playlist_results_sort_by_ident(const void* a, const void* b, uint32_t /*size*/) {
  const auto* const entry_a = static_cast<const ResultEntry*>(a);
  const auto* const entry_b = static_cast<const ResultEntry*>(b);
  return static_cast<int32_t>(entry_a->record.ident - entry_b->record.ident);
}

uint32_t _playlist_results_release(Results* results) {
  if (results == nullptr) return 0;
  static_cast<void>(vrel_thread_critsec_enter(results->lock));
  const uint32_t left = --results->refcount;
  static_cast<void>(vrel_thread_critsec_leave(results->lock));
  if (left != 0) return 0;

  const uint32_t code = g_playlist_handlemanager_interface->handle_remove(results);
  _playlist_results_delete(results);
  return code;
}

void _playlist_results_delete(Results* results) {
  if (results == nullptr) return;
  static_cast<void>(playlist_collection_release(results->collection));
  if (results->lock != nullptr) static_cast<void>(vrel_thread_critsec_delete(results->lock));
  if (results->entries != nullptr) static_cast<void>(vrel_vector2_delete(results->entries));
  vrel_memory_free(results);
}

uint32_t playlist_results_count(const Results* results) {
  uint32_t count = 0;
  static_cast<void>(vrel_vector2_count(results->entries, &count));
  return count;
}

uint32_t trova_playlist_results_count(trova_playlist_results* results, uint32_t* out_count) {
  PL_REQUIRE_INITIALIZED();
  PL_REQUIRE_ARG(out_count != nullptr);
  PL_REQUIRE_RESULTS(results);
  PL_RETURN(vrel_vector2_count(results->entries, out_count));
}

uint32_t trova_playlist_results_enum(trova_playlist_results* results, uint32_t index,
                                     const char** out_ident) {
  PL_REQUIRE_INITIALIZED();
  PL_REQUIRE_ARG(out_ident != nullptr);
  PL_REQUIRE_RESULTS(results);
  PL_RETURN(ident_at(results, index, out_ident));
}

uint32_t trova_playlist_results_release(trova_playlist_results* results) {
  PL_REQUIRE_INITIALIZED();
  if (results == nullptr) return 0;
  PL_REQUIRE_RESULTS(results);
  PL_RETURN(_playlist_results_release(results));
}
