// playlist_api_coll_mgmt: adding, asking for and removing the idents of a collection.
#include <cstddef>

#include "playlist_collection.h"
#include "playlist_column.h"
#include "playlist_error.h"
#include "playlist_services.h"
#include "vrel_layout.h"
#include "vrel_string.h"

namespace {

const char kSource[] = "playlist_api_coll_mgmt";

// Where the log places these failures, wherever the code stands.
const char kRemoveSource[] = "playlist_api_coll_create";
constexpr uint32_t kAddCollectionLine = 82;
constexpr uint32_t kAddDataLine = 83;
constexpr uint32_t kExistsCollectionLine = 144;
constexpr uint32_t kSetIntegerContextLine = 277;
constexpr uint32_t kSetIntegerFailedLine = 290;
constexpr uint32_t kSetStringContextLine = 309;
constexpr uint32_t kSetStringFailedLine = 329;

// What an attribute's capture operation hands back to the callbacks. It lives on the stack of one
// trova_playlist_collection_ident_add().
struct CaptureContext {
  uint32_t magic;  // kCaptureMagic; set before the handle manager first sees the record
  Collection* collection;
  AttributeInfo* attrinfo;  // of the attribute that captures now
  const char* ident;        // the application's text
};
VREL_LAYOUT_SIZE(CaptureContext, 16);
VREL_LAYOUT_FIELD(CaptureContext, magic, 0);
VREL_LAYOUT_FIELD(CaptureContext, collection, 4);
VREL_LAYOUT_FIELD(CaptureContext, attrinfo, 8);
VREL_LAYOUT_FIELD(CaptureContext, ident, 12);

// One trova_playlist_collection_ident_add(). All its values are the same ident's, which is looked
// up for the first of them.
struct Capture {
  CaptureContext context;
  uint32_t ident;  // id; 0 until a value was captured
};
static_assert(offsetof(Capture, context) == 0, "attributes hand the context's address back");

uint32_t intern_ident(Capture* capture, uint32_t* out_id) {
  const CaptureContext& context = capture->context;
  if (capture->ident == 0) {
    PL_TRY(playlist_collection_intern_ident(context.collection, context.ident, &capture->ident));
  } else {
    // An attribute may remove the ident that it captures.
    PL_TRY(playlist_collection_revive_ident(context.collection, capture->ident, context.ident));
  }
  *out_id = capture->ident;
  return 0;
}

uint32_t append_value(Capture* capture, uint32_t kind, uint32_t value) {
  ValueEntry entry = {kind, value, 0};
  PL_TRY(intern_ident(capture, &entry.ident));
  playlist_attrinfo_values_changed(capture->context.attrinfo);
  return vrel_vector2_add(capture->context.attrinfo->values, &entry, sizeof entry, nullptr);
}

uint32_t append_string(Capture* capture, const char* text) {
  uint32_t value = 0;
  PL_TRY(vrel_stringtable_add_value(capture->context.collection->values, text, &value));
  return append_value(capture, kValueString, value);
}

uint32_t _playlist_coll_set_integer_data(void* writer, uint32_t value) {
  PL_REQUIRE(playlist_check_handle(kSetIntegerContextLine, kSource, writer, kCaptureMagic));
  const uint32_t code = append_value(static_cast<Capture*>(writer), kValueInteger, value);
  return vrel_log_error(kSetIntegerFailedLine, kSource, code);
}

uint32_t _playlist_coll_set_string_data(void* writer, const char* value) {
  PL_REQUIRE(playlist_check_handle(kSetStringContextLine, kSource, writer, kCaptureMagic));
  const uint32_t code = append_string(static_cast<Capture*>(writer), value);
  return vrel_log_error(kSetStringFailedLine, kSource, code);
}

constexpr trova_playlist_capture_callbacks kCaptureCallbacks = {_playlist_coll_set_integer_data,
                                                                _playlist_coll_set_string_data};

// Lets every attribute read the data object. What a single attribute answers is not looked at: one
// that finds nothing, or fails, must not keep the others from capturing. Caller holds the lock.
void capture_all(Capture* capture, trova_gdo* data) {
  CaptureContext* const context = &capture->context;
  uint32_t count = 0;
  static_cast<void>(vrel_hashtable_count(context->collection->attributes, &count));
  static_cast<void>(g_playlist_handlemanager_interface->handle_add(context));
  for (uint32_t i = 0; i < count; ++i) {
    AttributeInfo* info = nullptr;
    if (playlist_collection_attrinfo_at(context->collection, i, &info) != 0) continue;
    context->attrinfo = info;
    static_cast<void>(info->provider->capture(context, data, &kCaptureCallbacks));
  }
}

// The index behind the entries of the ident, which begin at `first` in a sorted vector.
uint32_t entries_end(vrel_vector2* values, uint32_t ident, uint32_t first) {
  uint32_t end = first;
  void* entry = nullptr;
  while (vrel_vector2_getindex(values, end, &entry) == 0 &&
         static_cast<const ValueEntry*>(entry)->ident == ident) {
    ++end;
  }
  return end;
}

// Deletes every entry of the ident. The vector is left sorted by ident.
uint32_t delete_entries(AttributeInfo* info, uint32_t ident) {
  PL_TRY(playlist_attrinfo_sort(info));
  uint32_t first = 0;
  const uint32_t code = playlist_attrdata_find_ident(info->values, ident, &first);
  if (playlist_not_found(code)) return 0;
  if (code != 0) return code;
  playlist_attrinfo_values_changed(info);
  return vrel_vector2_deleterange(info->values, first, entries_end(info->values, ident, first) - 1);
}

}  // namespace

int32_t playlist_attrdata_compare_ident(const void* a, const void* b, uint32_t /*size*/) {
  const uint32_t ident_a = static_cast<const ValueEntry*>(a)->ident;
  const uint32_t ident_b = static_cast<const ValueEntry*>(b)->ident;
  if (ident_a == ident_b) return 0;
  return ident_a > ident_b ? -1 : 1;
}

uint32_t playlist_attrinfo_sort(AttributeInfo* info) {
  if (info->sorted) return 0;
  playlist_attrinfo_values_changed(info);
  const vrel_vector2_key key = {offsetof(ValueEntry, ident), UINT32_MAX, false, false};
  PL_TRY(vrel_vector2_sort_by_key(info->values, playlist_attrdata_compare_ident, &key));
  info->sorted = true;
  return 0;
}

void playlist_attrinfo_values_changed(AttributeInfo* info) {
  playlist_column_delete(info->column);
  info->column = nullptr;
}

uint32_t playlist_attrdata_find_ident(vrel_vector2* values, uint32_t ident, uint32_t* out_index) {
  const ValueEntry wanted = {0, 0, ident};
  return vrel_vector2_find(values, &wanted, out_index);
}

uint32_t playlist_collection_get_attrinfo(Collection* collection, const char* attribute_name,
                                          AttributeInfo** out_info) {
  void* value = nullptr;
  PL_TRY(vrel_hashtable_value_find(collection->attributes, attribute_name, &value, nullptr));
  *out_info = static_cast<AttributeInfo*>(value);
  return 0;
}

uint32_t playlist_collection_attrinfo_at(Collection* collection, uint32_t index,
                                         AttributeInfo** out_info) {
  void* value = nullptr;
  PL_TRY(vrel_hashtable_value_get(collection->attributes, index, nullptr, &value, nullptr));
  *out_info = static_cast<AttributeInfo*>(value);
  return 0;
}

uint32_t playlist_collection_intern_ident(Collection* collection, const char* ident,
                                          uint32_t* out_id) {
  uint32_t id = 0;
  uint32_t length = 0;
  PL_TRY(vrel_stringtable_length(collection->idents, &length));
  if (length > kMostIdentText) {
    const bool is_known = vrel_stringtable_get_value_ref(collection->idents, ident, &id) == 0;
    if (!is_known) return VREL_LOG_HERE(PLERR_NoMemory);
  } else {
    PL_TRY(vrel_stringtable_add_value(collection->idents, ident, &id));
  }
  PL_TRY(playlist_collection_revive_ident(collection, id, ident));
  *out_id = id;
  return 0;
}

uint32_t playlist_collection_revive_ident(Collection* collection, uint32_t id, const char* ident) {
  const char* text = nullptr;
  PL_TRY(vrel_stringtable_get_value(collection->idents, id, &text));
  if (*text == '\0')
    static_cast<void>(vrel_stringtable_restore_value(collection->idents, id, ident));
  return 0;
}

uint32_t playlist_collection_remove_ident(Collection* collection, const char* ident) {
  uint32_t id = 0;
  PL_TRY(vrel_stringtable_get_value_ref(collection->idents, ident, &id));
  PL_TRY(vrel_stringtable_remove_value(collection->idents, id));

  uint32_t code = 0;
  AttributeInfo* info = nullptr;
  for (uint32_t i = 0; playlist_collection_attrinfo_at(collection, i, &info) == 0; ++i) {
    code = delete_entries(info, id);
    if (code != 0) break;
  }
  return vrel_log_error(__LINE__, kRemoveSource, code);
}

uint32_t trova_playlist_collection_ident_add(trova_playlist_collection* collection,
                                             const char* ident, trova_gdo* data) {
  PL_REQUIRE_INITIALIZED();
  PL_REQUIRE_ARG(!vrel_string_isempty(ident));
  PL_REQUIRE(playlist_check_handle(kAddCollectionLine, kSource, collection, kCollectionMagic));
  PL_REQUIRE(playlist_check_object(kAddDataLine, kSource, data));

  Capture capture = {{kCaptureMagic, collection, nullptr, ident}, 0};
  CollectionHold hold(collection);
  capture_all(&capture, data);
  const uint32_t release_code = hold.end();
  const uint32_t code = g_playlist_handlemanager_interface->handle_remove(&capture.context);
  PL_RETURN(code != 0 ? code : release_code);
}

uint32_t trova_playlist_collection_ident_exists(trova_playlist_collection* collection,
                                                const char* ident, uint8_t* out_exists) {
  PL_REQUIRE_INITIALIZED();
  PL_REQUIRE_ARG(out_exists != nullptr && !vrel_string_isempty(ident));
  PL_REQUIRE(playlist_check_handle(kExistsCollectionLine, kSource, collection, kCollectionMagic));
  CollectionLock lock(collection);
  uint32_t id = 0;
  *out_exists = vrel_stringtable_get_value_ref(collection->idents, ident, &id) == 0 ? 1 : 0;
  return 0;
}

uint32_t trova_playlist_collection_ident_count(trova_playlist_collection* collection,
                                               uint32_t* out_count) {
  PL_REQUIRE_INITIALIZED();
  PL_REQUIRE_ARG(out_count != nullptr);
  PL_REQUIRE_COLLECTION(collection);
  CollectionLock lock(collection);
  const uint32_t code = vrel_stringtable_count(collection->idents, out_count);
  lock.leave();
  PL_RETURN(code);
}

uint32_t trova_playlist_collection_ident_enum(trova_playlist_collection* collection, uint32_t index,
                                              const char** out_ident) {
  PL_REQUIRE_INITIALIZED();
  PL_REQUIRE_ARG(out_ident != nullptr);
  PL_REQUIRE_COLLECTION(collection);
  CollectionLock lock(collection);
  uint32_t id = 0;
  const uint32_t code = vrel_stringtable_enum(collection->idents, index, &id, out_ident);
  lock.leave();
  PL_RETURN(code);
}

uint32_t trova_playlist_collection_ident_remove(trova_playlist_collection* collection,
                                                const char* ident) {
  PL_REQUIRE_INITIALIZED();
  PL_REQUIRE_ARG(!vrel_string_isempty(ident));
  PL_REQUIRE_COLLECTION(collection);
  CollectionLock lock(collection);
  const uint32_t code = playlist_collection_remove_ident(collection, ident);
  lock.leave();
  PL_RETURN(code);
}
