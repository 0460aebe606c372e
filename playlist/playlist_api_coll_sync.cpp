// playlist_api_coll_sync: telling an application what its collection lacks and has too much of.
#include "playlist_collection.h"
#include "playlist_error.h"
#include "playlist_owner.h"
#include "vrel_memory.h"
#include "vrel_radix.h"
#include "vrel_string.h"
#include "vrel_tuning.h"

namespace {

const char kSource[] = "playlist_api_coll_sync";

constexpr uint32_t kBatch = kPlaylistSyncBatch;

void delete_strings(vrel_stringtable* table) {
  static_cast<void>(vrel_stringtable_delete(table));
}
void delete_ids(vrel_vector2* ids) {
  static_cast<void>(vrel_vector2_delete(ids));
}
using StringsOwner = PlaylistOwner<vrel_stringtable, delete_strings>;
using IdsOwner = PlaylistOwner<vrel_vector2, delete_ids>;

// What was reported since the last processing.
struct Report {
  explicit Report(Collection* collection)
      : fresh(collection->sync_new), present(collection->sync_present) {
    collection->sync_new = nullptr;
    collection->sync_present = nullptr;
  }

  StringsOwner fresh;  // idents that the collection did not know
  IdsOwner present;    // ids of those that it knew, once for each time they were reported
};

// Whom to tell, until it wants no more.
struct Listener {
  trova_playlist_sync_callback callback;
  void* user_data;
  Collection* collection;
  uint8_t stop;

  void tell(const char* ident, uint32_t status) {
    callback(user_data, collection, ident, status, &stop);
  }
};

// The difference is taken as signed: the ascending order of ids up to kMostIdentText.
int32_t compare_ids(const void* a, const void* b, uint32_t /*size*/) {
  return static_cast<int32_t>(*static_cast<const uint32_t*>(a) - *static_cast<const uint32_t*>(b));
}

// Both containers, or none.
uint32_t start_report(Collection* collection) {
  if (collection->sync_new != nullptr && collection->sync_present != nullptr) return 0;
  StringsOwner fresh;
  IdsOwner present;
  PL_TRY(vrel_stringtable_create(fresh.out(), 0));
  PL_TRY(vrel_vector2_create(present.out(), sizeof(uint32_t), 0, nullptr, nullptr));
  collection->sync_new = fresh.take();
  collection->sync_present = present.take();
  return 0;
}

uint32_t report_ident(Collection* collection, const char* ident) {
  PL_TRY(start_report(collection));
  uint32_t id = 0;
  // A removed ident still has its id, so it counts as present.
  if (vrel_stringtable_get_value_ref(collection->idents, ident, &id) == 0) {
    return vrel_vector2_add(collection->sync_present, &id, sizeof id, nullptr);
  }
  return vrel_stringtable_add_value(collection->sync_new, ident, &id);
}

// Adds the id of every ident of the collection, once.
uint32_t add_held_ids(Collection* collection, vrel_vector2* ids) {
  uint32_t reported = 0;
  uint32_t held = 0;
  PL_TRY(vrel_vector2_count(ids, &reported));
  PL_TRY(vrel_stringtable_count(collection->idents, &held));
  if (held > UINT32_MAX - reported) return PLERR_NoMemory;
  PL_TRY(vrel_vector2_set_min_size(ids, reported + held));
  uint32_t batch[kBatch];
  for (uint32_t first = 0; first < held; first += kBatch) {
    const uint32_t count = held - first < kBatch ? held - first : kBatch;
    PL_TRY(vrel_stringtable_copy_ids(collection->idents, first, count, batch));
    PL_TRY(vrel_vector2_append_n(ids, batch, count, sizeof batch[0]));
  }
  return 0;
}

// The ids in an array of their own.
struct Ids {
  uint32_t* first;
  uint32_t count;
};

uint32_t ids_of(vrel_vector2* ids, Ids* out) {
  void* data = nullptr;
  uint32_t size = 0;
  uint32_t id_size = 0;
  PL_TRY(vrel_vector2_get_buffer(ids, &data, &size, &id_size));
  *out = {static_cast<uint32_t*>(data), size / id_size};
  return 0;
}

// False when memory is short, and for ids that compare_ids() takes for negative.
bool sort_by_digits(const Ids& ids) {
  uint32_t bits = 0;
  for (uint32_t i = 0; i < ids.count; ++i) bits |= ids.first[i];
  if (bits > INT32_MAX) return false;
  void* const scratch = vrel_memory_alloc(size_t{ids.count} * sizeof(uint32_t));
  if (scratch == nullptr) return false;
  vrel_radix_sort(ids.first, static_cast<uint32_t*>(scratch), ids.count,
                  [](uint32_t id) { return id; });
  vrel_memory_free(scratch);
  return true;
}

// Sorts what was reported and what is held together. Then a run of one id tells how often it was
// reported: its length less one.
uint32_t sort_ids(vrel_vector2* ids, Ids* out) {
  PL_TRY(ids_of(ids, out));
  if (sort_by_digits(*out)) return 0;
  PL_TRY(vrel_vector2_sort(ids, compare_ids, 0));
  return ids_of(ids, out);
}

// An ident that was not reported is to be removed. One that was reported more than once is named
// for every time beyond the first, as if it were missing: a report takes one id away, not all.
constexpr uint32_t times_to_remove(uint32_t run_length) {
  return run_length == 1 ? 1 : run_length - 2;
}

// The length of the run of equal ids that starts at the index.
uint32_t run_length(const Ids& ids, uint32_t index) {
  uint32_t end = index + 1;
  while (end < ids.count && ids.first[end] == ids.first[index]) ++end;
  return end - index;
}

uint32_t tell_removals(Listener* listener, const Ids& ids) {
  uint32_t code = 0;
  for (uint32_t index = 0; index < ids.count;) {
    const uint32_t run = run_length(ids, index);
    for (uint32_t times = times_to_remove(run); times > 0; --times) {
      const char* ident = nullptr;
      code = vrel_stringtable_get_value(listener->collection->idents, ids.first[index], &ident);
      if (code != 0) continue;
      listener->tell(ident, TROVA_PLAYLIST_SYNC_REMOVE);
      if (listener->stop != 0) return 0;
    }
    index += run;
  }
  return code;
}

uint32_t tell_additions(Listener* listener, const vrel_stringtable* fresh) {
  uint32_t count = 0;
  PL_TRY(vrel_stringtable_count(fresh, &count));
  uint32_t code = 0;
  for (uint32_t i = 0; i < count && listener->stop == 0; ++i) {
    uint32_t id = 0;
    const char* ident = nullptr;
    code = vrel_stringtable_enum(fresh, i, &id, &ident);
    if (code == 0) listener->tell(ident, TROVA_PLAYLIST_SYNC_ADD);
  }
  return code;
}

// Caller holds the lock. The report has left the collection before the first call, so the callback
// may start the next one.
uint32_t process(Listener* listener) {
  Collection* const collection = listener->collection;
  if (collection->sync_new == nullptr || collection->sync_present == nullptr) {
    return PLERR_SyncNotStarted;
  }
  Report report(collection);
  Ids ids = {};
  PL_TRY(add_held_ids(collection, report.present.get()));
  PL_TRY(sort_ids(report.present.get(), &ids));
  const uint32_t code = tell_removals(listener, ids);
  return listener->stop != 0 ? code : tell_additions(listener, report.fresh.get());
}

}  // namespace

uint32_t trova_playlist_collection_sync_ident_add(trova_playlist_collection* collection,
                                                  const char* ident) {
  PL_REQUIRE_INITIALIZED();
  PL_REQUIRE_ARG(!vrel_string_isempty(ident));
  PL_REQUIRE_COLLECTION(collection);
  CollectionLock lock(collection);
  const uint32_t code = report_ident(collection, ident);
  lock.leave();
  PL_RETURN(code);
}

uint32_t trova_playlist_collection_sync_process(trova_playlist_collection* collection,
                                                trova_playlist_sync_callback callback,
                                                void* user_data) {
  PL_REQUIRE_INITIALIZED();
  PL_REQUIRE_ARG(callback != nullptr);
  PL_REQUIRE_COLLECTION(collection);
  Listener listener = {callback, user_data, collection, 0};
  CollectionHold hold(collection);
  const uint32_t code = process(&listener);
  const uint32_t release_code = hold.end();
  PL_RETURN(code != 0 ? code : release_code);
}
