// playlist_api_coll_storage: collections as bytes for the application, and by name in the manager's
// storage service.
#include "playlist_coll_stream.h"
#include "playlist_collection.h"
#include "playlist_error.h"
#include "playlist_owner.h"
#include "playlist_services.h"
#include "vrel_memory.h"
#include "vrel_string.h"

namespace {

const char kSource[] = "playlist_api_coll_storage";

// The store: one record for each collection.
const char kStoreName[] = "trova_collection.store";

// A field of the store. Type and flags are the storage service's own codes.
struct StoreField {
  const char* name;
  uint32_t type;
  uint32_t flags;
};

const char kNameField[] = "coll_name";
const char kDataField[] = "coll_data";

// In the order in which the store has them.
constexpr StoreField kFields[] = {
    {kNameField, 1, 3},  // text that records are found by
    {kDataField, 3, 0},  // bytes: the collection's stream
};
constexpr uint32_t kFieldCount = sizeof kFields / sizeof kFields[0];

#define PL_REQUIRE_STORAGE()                               \
  do {                                                     \
    if (g_playlist_storage_interface == nullptr)           \
      return vrel_report_error(__func__, PLERR_NoStorage); \
  } while (0)

void store_release(trova_store* store) {
  static_cast<void>(g_playlist_storage_interface->store_release(store));
}
void record_release(trova_record* record) {
  static_cast<void>(g_playlist_storage_interface->record_release(record));
}
void cursor_release(trova_cursor* cursor) {
  static_cast<void>(g_playlist_storage_interface->cursor_release(cursor));
}

using StoreOwner = PlaylistOwner<trova_store, store_release>;
using RecordOwner = PlaylistOwner<trova_record, record_release>;
using CursorOwner = PlaylistOwner<trova_cursor, cursor_release>;
using BlockOwner = PlaylistOwner<char, vrel_memory_free>;
using TextOwner = PlaylistOwner<char, vrel_string_free>;

// ---- The stream ----

struct Stream {
  BlockOwner bytes;
  uint32_t size = 0;
};

// Caller holds the lock.
uint32_t serialize(Collection* collection, Stream* out) {
  uint32_t bound = 0;
  PL_TRY(playlist_stream_bound(collection, &bound));
  *out->bytes.out() = static_cast<char*>(vrel_memory_alloc(bound));
  if (!out->bytes) return PLERR_NoMemory;
  return playlist_stream_write(collection, out->bytes.get(), bound, &out->size);
}

// Caller holds the lock.
uint32_t serialize_into(Collection* collection, void* buffer, uint32_t* size) {
  uint32_t bound = 0;
  PL_TRY(playlist_stream_bound(collection, &bound));
  if (buffer == nullptr) {
    *size = bound;
    return 0;
  }
  if (*size < bound) return PLERR_BufferTooSmall;
  return playlist_stream_write(collection, buffer, bound, size);
}

// ---- The store ----

bool has_field(const StoreField& field, const char* name, uint32_t type, uint32_t flags) {
  return vrel_string_equal(name, field.name, 0) && type == field.type && flags == field.flags;
}

uint32_t check_layout(trova_store* store) {
  uint32_t count = 0;
  PL_TRY(g_playlist_storage_interface->field_count(store, &count));
  if (count != kFieldCount) return VREL_LOG_HERE(PLERR_StoreInvalid);
  for (uint32_t i = 0; i < kFieldCount; ++i) {
    const char* name = nullptr;
    uint32_t type = 0;
    uint32_t flags = 0;
    PL_TRY(g_playlist_storage_interface->field_info(store, i, &name, &type, &flags));
    if (!has_field(kFields[i], name, type, flags)) return VREL_LOG_HERE(PLERR_StoreInvalid);
  }
  return 0;
}

// A store that is not ours is closed, which is the end of it.
uint32_t accept_store(trova_store* store, trova_store** out_store) {
  const uint32_t code = check_layout(store);
  if (code == 0) {
    *out_store = store;
  } else {
    static_cast<void>(g_playlist_storage_interface->close(store));
  }
  return code;
}

uint32_t open_store(trova_store** out_store) {
  trova_store* store = nullptr;
  PL_TRY(g_playlist_storage_interface->open(kStoreName, &store));
  return accept_store(store, out_store);
}

uint32_t create_store(trova_store** out_store) {
  StoreOwner store;
  PL_TRY(g_playlist_storage_interface->create(kStoreName, store.out()));
  for (const StoreField& field : kFields) {
    PL_TRY(
        g_playlist_storage_interface->add_field(store.get(), field.name, field.type, field.flags));
  }
  PL_TRY(g_playlist_storage_interface->finish(store.get()));
  *out_store = store.take();
  return 0;
}

// Whatever keeps the store from being opened, a new one is tried: only the service knows whether
// there is one.
uint32_t open_or_create_store(trova_store** out_store) {
  trova_store* store = nullptr;
  if (g_playlist_storage_interface->open(kStoreName, &store) != 0) return create_store(out_store);
  return accept_store(store, out_store);
}

uint32_t make_criteria(trova_store* store, const char* name, trova_record** out_criteria) {
  RecordOwner criteria;
  PL_TRY(g_playlist_storage_interface->record_new(store, criteria.out()));
  PL_TRY(g_playlist_storage_interface->set_string(criteria.get(), kNameField, name));
  *out_criteria = criteria.take();
  return 0;
}

// A record that was found. It is read through the cursor, which is given back after it.
struct Match {
  CursorOwner cursor;
  RecordOwner record;
};

uint32_t first_match(trova_store* store, trova_record* criteria, Match* out) {
  PL_TRY(g_playlist_storage_interface->query(store, criteria, out->cursor.out()));
  return g_playlist_storage_interface->cursor_next(out->cursor.get(), out->record.out());
}

// The first record of that name.
uint32_t find_record(trova_store* store, const char* name, Match* out) {
  RecordOwner criteria;
  PL_TRY(make_criteria(store, name, criteria.out()));
  return first_match(store, criteria.get(), out);
}

uint32_t fill_record(trova_record* record, const char* name, const Stream& stream) {
  PL_TRY(g_playlist_storage_interface->set_string(record, kNameField, name));
  return g_playlist_storage_interface->set_binary(record, kDataField, stream.bytes.get(),
                                                  stream.size);
}

uint32_t insert_record(trova_store* store, const char* name, const Stream& stream) {
  RecordOwner record;
  PL_TRY(g_playlist_storage_interface->record_new(store, record.out()));
  PL_TRY(fill_record(record.get(), name, stream));
  return g_playlist_storage_interface->record_insert(record.get());
}

// Replaces the record that is found under `key`. Where none is found, for whatever reason, one is
// added.
uint32_t put_record(trova_store* store, const char* key, const char* name, const Stream& stream) {
  Match match;
  RecordOwner criteria;
  PL_TRY(make_criteria(store, key, criteria.out()));
  if (first_match(store, criteria.get(), &match) != 0) {
    return insert_record(store, name, stream);
  }
  PL_TRY(fill_record(match.record.get(), name, stream));
  return g_playlist_storage_interface->record_update(match.record.get());
}

// ---- The operations ----

// The name that the collection's record has now: the one it was stored under, as long as no newer
// name was stored.
const char* record_key(const Collection* collection) {
  const bool renamed = !vrel_string_isempty(collection->stored_name) &&
                       !vrel_string_equal(collection->stored_name, collection->name, 0);
  return renamed ? collection->stored_name : collection->name;
}

// Caller holds the lock.
uint32_t store_collection(Collection* collection) {
  Stream stream;
  StoreOwner store;
  PL_TRY(serialize(collection, &stream));
  PL_TRY(open_or_create_store(store.out()));
  // Copied first: once the record is written nothing may fail.
  TextOwner stored_name(vrel_string_strdup(collection->name));
  if (!stored_name) return PLERR_NoMemory;
  PL_TRY(put_record(store.get(), record_key(collection), collection->name, stream));
  vrel_string_free(collection->stored_name);
  collection->stored_name = stored_name.take();
  return 0;
}

uint32_t load_collection(const char* name, Collection** out_collection) {
  StoreOwner store;
  Match match;
  const void* bytes = nullptr;
  uint32_t size = 0;
  PL_TRY(open_store(store.out()));
  PL_TRY(find_record(store.get(), name, &match));
  PL_TRY(g_playlist_storage_interface->get_binary(match.record.get(), kDataField, &bytes, &size));

  CollectionOwner collection;
  PL_TRY(playlist_stream_read(bytes, size, collection.out()));
  collection->stored_name = vrel_string_strdup(name);
  if (collection->stored_name == nullptr) return PLERR_NoMemory;
  return playlist_collection_publish(collection.take(), out_collection);
}

uint32_t count_collections(uint32_t* out_count) {
  StoreOwner store;
  CursorOwner cursor;
  PL_TRY(open_store(store.out()));
  PL_TRY(g_playlist_storage_interface->query(store.get(), nullptr, cursor.out()));
  uint32_t count = 0;
  while (g_playlist_storage_interface->cursor_next(cursor.get(), nullptr) == 0) ++count;
  *out_count = count;
  return 0;
}

uint32_t enum_collections(uint32_t index, char* buffer, uint32_t size) {
  StoreOwner store;
  Match match;
  const char* name = nullptr;
  PL_TRY(open_store(store.out()));
  PL_TRY(g_playlist_storage_interface->query(store.get(), nullptr, match.cursor.out()));
  for (uint32_t i = 0; i < index; ++i) {
    PL_TRY(g_playlist_storage_interface->cursor_next(match.cursor.get(), nullptr));
  }
  PL_TRY(g_playlist_storage_interface->cursor_next(match.cursor.get(), match.record.out()));
  PL_TRY(g_playlist_storage_interface->get_string(match.record.get(), kNameField, &name));
  return vrel_string_strncpy(buffer, name, size);
}

uint32_t remove_collection(const char* name) {
  StoreOwner store;
  Match match;
  PL_TRY(open_store(store.out()));
  PL_TRY(find_record(store.get(), name, &match));
  return g_playlist_storage_interface->record_delete(match.record.get());
}

}  // namespace

uint32_t trova_playlist_collection_serialize_size(trova_playlist_collection* collection,
                                                  uint32_t* out_size) {
  PL_REQUIRE_INITIALIZED();
  PL_REQUIRE_ARG(out_size != nullptr);
  PL_REQUIRE_COLLECTION(collection);
  CollectionLock lock(collection);
  const uint32_t code = playlist_stream_bound(collection, out_size);
  lock.leave();
  PL_RETURN(code);
}

uint32_t trova_playlist_collection_serialize(trova_playlist_collection* collection, void* buffer,
                                             uint32_t* size) {
  PL_REQUIRE_INITIALIZED();
  PL_REQUIRE_ARG(size != nullptr);
  PL_REQUIRE_COLLECTION(collection);
  CollectionLock lock(collection);
  const uint32_t code = serialize_into(collection, buffer, size);
  lock.leave();
  PL_RETURN(code);
}

// The handle manager does not learn of this collection, unlike one that the store hands out.
uint32_t trova_playlist_collection_deserialize(const void* bytes, uint32_t size,
                                               trova_playlist_collection** out_collection) {
  PL_REQUIRE_INITIALIZED();
  PL_REQUIRE_ARG(bytes != nullptr);
  PL_REQUIRE_ARG(out_collection != nullptr);
  PL_RETURN(playlist_stream_read(bytes, size, out_collection));
}

uint32_t trova_playlist_storage_store_collection(trova_playlist_collection* collection) {
  PL_REQUIRE_INITIALIZED();
  PL_REQUIRE_COLLECTION(collection);
  PL_REQUIRE_STORAGE();
  CollectionLock lock(collection);
  const uint32_t code = store_collection(collection);
  lock.leave();
  PL_RETURN(code);
}

uint32_t trova_playlist_storage_load_collection(const char* name,
                                                trova_playlist_collection** out_collection) {
  PL_REQUIRE_INITIALIZED();
  PL_REQUIRE_ARG(!vrel_string_isempty(name));
  PL_REQUIRE_ARG(out_collection != nullptr);
  PL_REQUIRE_STORAGE();
  PL_RETURN(load_collection(name, out_collection));
}

uint32_t trova_playlist_storage_count_collections(uint32_t* out_count) {
  PL_REQUIRE_INITIALIZED();
  PL_REQUIRE_ARG(out_count != nullptr);
  PL_REQUIRE_STORAGE();
  const uint32_t code = count_collections(out_count);
  if (playlist_not_found(code)) {
    // No store yet: nobody stored anything.
    *out_count = 0;
    return 0;
  }
  PL_RETURN(code);
}

uint32_t trova_playlist_storage_enum_collections(uint32_t index, char* buffer, uint32_t size) {
  PL_REQUIRE_INITIALIZED();
  PL_REQUIRE_ARG(buffer != nullptr);
  PL_REQUIRE_ARG(size != 0);
  PL_REQUIRE_STORAGE();
  PL_RETURN(enum_collections(index, buffer, size));
}

uint32_t trova_playlist_storage_remove_collection(const char* name) {
  PL_REQUIRE_INITIALIZED();
  PL_REQUIRE_ARG(!vrel_string_isempty(name));
  PL_REQUIRE_STORAGE();
  PL_RETURN(remove_collection(name));
}
