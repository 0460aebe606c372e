// playlist_api_coll_create: making, naming, counting and deleting collections.
#include "playlist_collection.h"
#include "playlist_column.h"
#include "playlist_error.h"
#include "playlist_services.h"
#include "vrel_memory.h"
#include "vrel_string.h"

namespace {

const char kSource[] = "playlist_api_coll_create";

uint32_t build(Collection* collection) {
  collection->magic = kCollectionMagic;
  collection->refcount = 1;
  PL_TRY(vrel_hashtable_create(&collection->attributes, 0, _playlist_attrinfo_delete));
  PL_TRY(vrel_thread_critsec_create(&collection->lock));
  PL_TRY(vrel_stringtable_create(&collection->idents, 0));
  return vrel_stringtable_create(&collection->values, 0);
}

// Whether the attribute cannot say its name is for `out_nameless`: that is no failure of ours.
uint32_t add_attribute(Collection* collection, const AttributeProvider* provider,
                       bool* out_nameless) {
  AttributeInfoOwner info;
  PL_TRY(playlist_attrinfo_create(provider, info.out()));
  const char* name = nullptr;
  *out_nameless = provider->get_name(&name) != 0;
  if (*out_nameless) return 0;
  PL_TRY(playlist_collection_adopt_attribute(collection, name, info.get()));
  static_cast<void>(info.take());
  return 0;
}

// Gives the collection every attribute of the registry that can say its name. One that fails is
// left out, and only the last one's result is reported: the others may still be asked for in
// statements.
uint32_t add_registered_attributes(Collection* collection) {
  uint32_t count = 0;
  PL_TRY(vrel_vector2_count(g_playlist_attribute_mgr, &count));
  uint32_t code = 0;
  for (uint32_t i = 0; i < count; ++i) {
    bool nameless = false;
    const AttributeProvider* provider = nullptr;
    uint32_t added = playlist_attributes_get(i, &provider);
    if (added == 0) added = add_attribute(collection, provider, &nameless);
    if (!nameless) code = added;
    // No memory for the record of an attribute ends the walk.
    if (added == PLERR_NoMemory) break;
  }
  return VREL_LOG_HERE(code);
}

uint32_t set_name(Collection* collection, const char* name) {
  char* const copy = vrel_string_strdup(name);
  if (copy == nullptr) return PLERR_NoMemory;
  vrel_string_free(collection->name);
  collection->name = copy;
  return 0;
}

uint32_t create_collection(const char* name, Collection** out_collection) {
  CollectionOwner collection;
  PL_TRY(playlist_collection_create(collection.out()));
  PL_TRY(add_registered_attributes(collection.get()));
  PL_TRY(set_name(collection.get(), name));
  return playlist_collection_publish(collection.take(), out_collection);
}

// Counts down under the lock. True when nobody holds the collection any more.
bool drop_reference(Collection* collection) {
  CollectionLock lock(collection);
  return --collection->refcount == 0;
}

}  // namespace

uint32_t playlist_collection_create(Collection** out_collection) {
  CollectionOwner collection(static_cast<Collection*>(vrel_memory_calloc(1, sizeof(Collection))));
  if (!collection) return VREL_LOG_HERE(PLERR_NoMemory);
  const uint32_t code = build(collection.get());
  if (code != 0) return VREL_LOG_HERE(code);
  *out_collection = collection.take();
  return 0;
}

void playlist_collection_delete(Collection* collection) {
  if (collection == nullptr) return;
  if (collection->lock != nullptr) static_cast<void>(vrel_thread_critsec_delete(collection->lock));
  if (collection->attributes != nullptr) {
    static_cast<void>(vrel_hashtable_delete(collection->attributes));
  }
  if (collection->idents != nullptr) static_cast<void>(vrel_stringtable_delete(collection->idents));
  if (collection->values != nullptr) static_cast<void>(vrel_stringtable_delete(collection->values));
  // A report that was never processed goes with its collection.
  if (collection->sync_new != nullptr) {
    static_cast<void>(vrel_stringtable_delete(collection->sync_new));
  }
  if (collection->sync_present != nullptr) {
    static_cast<void>(vrel_vector2_delete(collection->sync_present));
  }
  vrel_string_free(collection->name);
  vrel_string_free(collection->stored_name);
  vrel_memory_free(collection->load_buffer);
  vrel_memory_free(collection);
}

uint32_t playlist_collection_addref(Collection* collection) {
  if (collection == nullptr) return VREL_LOG_HERE(PLERR_InvalidArg);
  CollectionLock lock(collection);
  ++collection->refcount;
  return 0;
}

uint32_t playlist_collection_release(Collection* collection) {
  if (collection == nullptr) return 0;
  if (drop_reference(collection)) playlist_collection_delete(collection);
  return 0;
}

uint32_t playlist_collection_release_handle(Collection* collection) {
  return drop_reference(collection) ? playlist_collection_end(collection) : 0;
}

uint32_t playlist_collection_end(Collection* collection) {
  const uint32_t code = g_playlist_handlemanager_interface->handle_remove(collection);
  playlist_collection_delete(collection);
  return code;
}

uint32_t playlist_collection_publish(Collection* collection, Collection** out_collection) {
  CollectionOwner owner(collection);
  PL_TRY(g_playlist_handlemanager_interface->handle_add(collection));
  *out_collection = owner.take();
  return 0;
}

uint32_t playlist_attrinfo_create(const AttributeProvider* provider, AttributeInfo** out_info) {
  AttributeInfoOwner info(
      static_cast<AttributeInfo*>(vrel_memory_calloc(1, sizeof(AttributeInfo))));
  if (!info) return PLERR_NoMemory;
  info->provider = provider;
  PL_TRY(vrel_vector2_create(&info->values, sizeof(ValueEntry), 0, nullptr, nullptr));
  *out_info = info.take();
  return 0;
}

uint32_t playlist_collection_adopt_attribute(Collection* collection, const char* name,
                                             AttributeInfo* info) {
  return vrel_hashtable_value_add(collection->attributes, name, info, sizeof *info, 0);
}

void _playlist_attrinfo_delete(void* info, uint32_t /*size*/) {
  if (info == nullptr) return;
  auto* const record = static_cast<AttributeInfo*>(info);
  playlist_column_delete(record->column);
  if (record->values != nullptr) static_cast<void>(vrel_vector2_delete(record->values));
  vrel_memory_free(record);
}

uint32_t trova_playlist_collection_create(const char* name,
                                          trova_playlist_collection** out_collection) {
  PL_REQUIRE_INITIALIZED();
  PL_REQUIRE_ARG(!vrel_string_isempty(name));
  PL_REQUIRE_ARG(out_collection != nullptr);
  PL_RETURN(create_collection(name, out_collection));
}

uint32_t trova_playlist_collection_release(trova_playlist_collection* collection) {
  PL_REQUIRE_INITIALIZED();
  if (collection == nullptr) return 0;
  PL_REQUIRE_COLLECTION(collection);
  PL_RETURN(playlist_collection_release_handle(collection));
}

uint32_t trova_playlist_collection_get_name(trova_playlist_collection* collection,
                                            const char** out_name) {
  PL_REQUIRE_INITIALIZED();
  PL_REQUIRE_ARG(out_name != nullptr);
  PL_REQUIRE_COLLECTION(collection);
  CollectionLock lock(collection);
  *out_name = collection->name;
  return 0;
}

uint32_t trova_playlist_collection_update_name(trova_playlist_collection* collection,
                                               const char* name) {
  PL_REQUIRE_INITIALIZED();
  PL_REQUIRE_ARG(!vrel_string_isempty(name));
  PL_REQUIRE_COLLECTION(collection);
  CollectionLock lock(collection);
  const uint32_t code = set_name(collection, name);
  lock.leave();
  PL_RETURN(code);
}
