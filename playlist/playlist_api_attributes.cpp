// playlist_api_attributes: the exported queries about attributes, of the library and of a
// collection.
#include "playlist_attributes.h"
#include "playlist_collection.h"
#include "playlist_error.h"
#include "trova_playlist.h"

namespace {

const char kSource[] = "playlist_api_attributes";

// A provider that fails may have written already: the caller's text stays as it is.
uint32_t name_of(const AttributeProvider* provider, const char** out_name) {
  const char* name = nullptr;
  PL_TRY(provider->get_name(&name));
  *out_name = name;
  return 0;
}

uint32_t attribute_name(uint32_t index, const char** out_name) {
  const AttributeProvider* provider = nullptr;
  PL_TRY(playlist_attributes_get(index, &provider));
  return name_of(provider, out_name);
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
  return vrel_report_error(__func__, playlist_register_attribute(provider));
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
  if (code == 0) code = name_of(info->provider, out_name);
  lock.leave();
  PL_RETURN(code);
}
