// playlist_api_attributes: the exported queries about attributes, of the library and of a
// collection.
#include "playlist_attributes.h"
#include "playlist_collection.h"
#include "playlist_error.h"
#include "trova_playlist.h"

namespace {

const char kSource[] = "playlist_api_attributes";

uint32_t attribute_name(uint32_t index, const char** out_name) {
  const AttributeProvider* provider = nullptr;
  PL_TRY(playlist_attributes_get(index, &provider));
  return provider->get_name(out_name);
}

}  // namespace

uint32_t trova_playlist_attributes_count(uint32_t* out_count) {
  PL_REQUIRE_INITIALIZED();
  PL_REQUIRE_ARG(out_count != nullptr);
  PL_RETURN(vrel_vector2_count(g_playlist_attribute_mgr, out_count));
}

uint32_t trova_playlist_attributes_enum(uint32_t index, const char** out_name) {
  PL_REQUIRE_INITIALIZED();
  PL_REQUIRE_ARG(out_name != nullptr);
  PL_RETURN(attribute_name(index, out_name));
}

// Not asked whether the library is up, and not mapped: the registry's own answer tells.
uint32_t trova_playlist_register_attribute_provider(
    const trova_playlist_attribute_provider* provider) {
  return vrel_log_error(0, __func__, playlist_register_attribute(provider));
}

uint32_t trova_playlist_collection_attributes_count(trova_playlist_collection* collection,
                                                    uint32_t* out_count) {
  PL_REQUIRE_INITIALIZED();
  PL_REQUIRE_ARG(out_count != nullptr);
  PL_REQUIRE_COLLECTION(collection);
  CollectionLock lock(collection);
  const uint32_t code = vrel_hashtable_count(collection->attributes, out_count);
  lock.leave();
  PL_RETURN(code);
}

uint32_t trova_playlist_collection_attributes_enum(trova_playlist_collection* collection,
                                                   uint32_t index, const char** out_name) {
  PL_REQUIRE_INITIALIZED();
  PL_REQUIRE_ARG(out_name != nullptr);
  PL_REQUIRE_COLLECTION(collection);
  CollectionLock lock(collection);
  AttributeInfo* info = nullptr;
  uint32_t code = playlist_collection_attrinfo_at(collection, index, &info);
  if (code == 0) code = info->provider->get_name(out_name);
  lock.leave();
  PL_RETURN(code);
}
