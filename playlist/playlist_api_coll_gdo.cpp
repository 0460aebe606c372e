// playlist_api_coll_gdo: what a collection holds for one ident, read back as a data object.
#include "playlist_collection.h"
#include "playlist_error.h"
#include "playlist_gdo_read.h"
#include "playlist_list_service.h"
#include "playlist_owner.h"
#include "playlist_services.h"
#include "vrel_layout.h"
#include "vrel_memory.h"
#include "vrel_string.h"

namespace {

const char kSource[] = "playlist_api_coll_gdo";

// Where the log places these failures, wherever the code stands.
constexpr uint32_t kCollectionLine = 133;
constexpr uint32_t kGetValueLine = 435;

// What the operations of the data object work on. All but `ident` is guarded by the collection's
// lock.
struct IdentView {
  Collection* collection;  // holds a reference
  uint32_t ident;          // id in the collection's `idents`
  trova_locale* locale;    // holds a reference; null when none could be loaded
  vrel_hashtable* cache;   // attribute name to ViewCacheEntry*, owned
};
VREL_LAYOUT_SIZE(IdentView, 16);
VREL_LAYOUT_FIELD(IdentView, collection, 0);
VREL_LAYOUT_FIELD(IdentView, ident, 4);
VREL_LAYOUT_FIELD(IdentView, locale, 8);
VREL_LAYOUT_FIELD(IdentView, cache, 12);

// An attribute that was read through the view. Its context owns the texts that were handed out.
struct ViewCacheEntry {
  AttributeInfo* info;  // the collection's
  void* context;        // of info->provider; null until made
};
VREL_LAYOUT_SIZE(ViewCacheEntry, 8);
VREL_LAYOUT_FIELD(ViewCacheEntry, info, 0);
VREL_LAYOUT_FIELD(ViewCacheEntry, context, 4);

// A context that outlived its provider, by a shutdown, is lost: nobody is left to free it.
void delete_entry(ViewCacheEntry* entry) {
  const AttributeProvider* const provider = entry->info->provider;
  if (entry->context != nullptr && playlist_attributes_has(provider)) {
    playlist_provider_delete_context(provider, entry->context);
  }
  vrel_memory_free(entry);
}
using EntryOwner = PlaylistOwner<ViewCacheEntry, delete_entry>;

// The release operation of `cache`.
void release_cached(void* entry, uint32_t /*size*/) {
  delete_entry(static_cast<ViewCacheEntry*>(entry));
}

// After a shutdown the service is gone, and its locales with it.
void release_locale(trova_locale* locale) {
  if (locale == nullptr || g_playlist_lists_interface == nullptr) return;
  static_cast<void>(g_playlist_lists_interface->locale_release(locale));
}

void delete_cache(IdentView* view) {
  if (view->cache == nullptr) return;
  CollectionLock lock(view->collection);
  static_cast<void>(vrel_hashtable_delete(view->cache));
}

// The contexts go before the collection, whose attributes they belong to.
void delete_view(IdentView* view) {
  release_locale(view->locale);
  delete_cache(view);
  static_cast<void>(playlist_collection_release(view->collection));
  vrel_memory_free(view);
}
using ViewOwner = PlaylistOwner<IdentView, delete_view>;

// ---- Reading a value ----

bool find_entry(const IdentView* view, const char* attribute, ViewCacheEntry** out_entry) {
  void* cached = nullptr;
  if (vrel_hashtable_value_find(view->cache, attribute, &cached, nullptr) != 0) return false;
  *out_entry = static_cast<ViewCacheEntry*>(cached);
  return true;
}

uint32_t make_entry(IdentView* view, const char* attribute, AttributeInfo* info,
                    ViewCacheEntry** out_entry) {
  EntryOwner entry(static_cast<ViewCacheEntry*>(vrel_memory_calloc(1, sizeof(ViewCacheEntry))));
  if (!entry) return PLERR_NoMemory;
  entry->info = info;
  PL_TRY(info->provider->create_context(&entry->context));
  // The provider may have read the view: texts that it was given belong to the entry made then.
  if (find_entry(view, attribute, out_entry)) return 0;
  PL_TRY(vrel_hashtable_value_add(view->cache, attribute, entry.get(), sizeof(ViewCacheEntry), 0));
  *out_entry = entry.take();
  return 0;
}

uint32_t get_entry(IdentView* view, const char* attribute, ViewCacheEntry** out_entry) {
  AttributeInfo* info = nullptr;
  PL_TRY(playlist_collection_get_attrinfo(view->collection, attribute, &info));
  if (find_entry(view, attribute, out_entry)) return 0;
  return make_entry(view, attribute, info, out_entry);
}

// The first value of an ident; the sort decides which one that is.
uint32_t find_value(AttributeInfo* info, uint32_t ident, ValueEntry* out) {
  uint32_t index = 0;
  void* element = nullptr;
  PL_TRY(playlist_attrinfo_sort(info));
  PL_TRY(playlist_attrdata_find_ident(info->values, ident, &index));
  PL_TRY(vrel_vector2_getindex(info->values, index, &element));
  *out = *static_cast<const ValueEntry*>(element);
  return 0;
}

uint32_t render_string(const IdentView* view, const ViewCacheEntry* entry, uint32_t value,
                       const char* key, const char** out_text) {
  const AttributeProvider* const provider = entry->info->provider;
  const char* text = nullptr;
  PL_TRY(vrel_stringtable_get_value(view->collection->values, value, &text));
  if (provider->render_string == nullptr) return PLERR_InvalidData;
  return provider->render_string(entry->context, text, key, view->locale, out_text);
}

uint32_t render_integer(const IdentView* view, const ViewCacheEntry* entry, uint32_t value,
                        const char* key, const char** out_text) {
  const AttributeProvider* const provider = entry->info->provider;
  if (provider->render_integer == nullptr) return PLERR_InvalidData;
  return provider->render_integer(entry->context, value, key, view->locale, out_text);
}

// Caller holds the lock.
uint32_t read_value(IdentView* view, const char* key, const char** out_text) {
  // What is no value key is taken for the name of an attribute.
  const char* attribute = nullptr;
  if (vrel_stringmap_value_find(g_playlist_gdo_key_map, key, &attribute) != 0) attribute = key;

  ViewCacheEntry* entry = nullptr;
  ValueEntry value = {};
  PL_TRY(get_entry(view, attribute, &entry));
  PL_TRY(find_value(entry->info, view->ident, &value));
  return value.kind == kValueString ? render_string(view, entry, value.value, key, out_text)
                                    : render_integer(view, entry, value.value, key, out_text);
}

// ---- The operations of the data object ----

// The data object counts its references itself and has one on the view.
void* addref(void* view) {
  return view;
}

uint32_t get_context(void* /*view*/, const char** out_text) {
  *out_text = kExtdataContext;
  return 0;
}

uint32_t child_count(void* /*view*/, const char* /*key*/, uint32_t* out_count) {
  *out_count = 0;
  return 0;
}

uint32_t get_child(void* /*view*/, const char* /*key*/, uint32_t /*ordinal*/, uint32_t /*flags*/,
                   trova_gdo** /*out_child*/) {
  return PLERR_NotFound;
}

// An ordinal of 0 is the first value, as 1 is; there is no second one.
uint32_t get_value(void* view, const char* key, uint32_t ordinal, const char** out_text) {
  PL_REQUIRE_INITIALIZED();
  if (ordinal > 1) return PLERR_NotFound;
  auto* const ident_view = static_cast<IdentView*>(view);
  CollectionLock lock(ident_view->collection);
  const char* text = nullptr;
  const uint32_t code = read_value(ident_view, key, &text);
  lock.leave();
  if (code != 0) return vrel_log_error(kGetValueLine, kSource, _playlist_map_error(code));
  *out_text = text;
  return 0;
}

uint32_t value_count(void* view, const char* key, uint32_t* out_count) {
  const char* text = nullptr;
  *out_count = get_value(view, key, 1, &text) == 0 ? 1 : 0;
  return 0;
}

// The view has no locale after a failure, nor when it is given none. The new one is taken before
// the old one is given back: they may be one.
uint32_t set_locale(void* view, trova_locale* locale) {
  PL_REQUIRE_INITIALIZED();
  auto* const ident_view = static_cast<IdentView*>(view);
  CollectionLock lock(ident_view->collection);
  const uint32_t code = locale == nullptr ? 0 : g_playlist_lists_interface->locale_addref(locale);
  release_locale(ident_view->locale);
  ident_view->locale = code == 0 ? locale : nullptr;
  return _playlist_map_error(code);
}

uint32_t get_locale(void* view, trova_locale** out_locale) {
  auto* const ident_view = static_cast<IdentView*>(view);
  CollectionLock lock(ident_view->collection);
  *out_locale = ident_view->locale;
  return 0;
}

uint32_t release_view(void* view) {
  if (view != nullptr) delete_view(static_cast<IdentView*>(view));
  return 0;
}

constexpr trova_gdo_operations kViewOperations = {addref,      get_context, child_count,
                                                  get_child,   value_count, get_value,
                                                  nullptr,  // 6
                                                  set_locale,  get_locale,
                                                  nullptr,  // 9
                                                  release_view};

// ---- Making the view ----

// Caller holds the lock.
uint32_t make_view(Collection* collection, const char* ident, IdentView** out_view) {
  uint32_t id = 0;
  PL_TRY(playlist_gdo_initialize());
  PL_TRY(vrel_stringtable_get_value_ref(collection->idents, ident, &id));
  ViewOwner view(static_cast<IdentView*>(vrel_memory_calloc(1, sizeof(IdentView))));
  if (!view) return PLERR_NoMemory;
  PL_TRY(playlist_collection_addref(collection));
  view->collection = collection;
  view->ident = id;
  // Without a locale the view still answers what needs none.
  static_cast<void>(playlist_load_locale(&view->locale));
  PL_TRY(vrel_hashtable_create(&view->cache, 0, release_cached));
  *out_view = view.take();
  return 0;
}

uint32_t make_object(Collection* collection, const char* ident, trova_gdo** out_data) {
  ViewOwner view;
  PL_TRY(make_view(collection, ident, view.out()));
  PL_TRY(g_playlist_gdo_interface->gdo_create(view.get(), &kViewOperations, 0, out_data));
  // The data object's from now on.
  static_cast<void>(view.take());
  return 0;
}

}  // namespace

uint32_t trova_playlist_collection_ident_get_gdo(trova_playlist_collection* collection,
                                                 const char* ident, trova_gdo** out_data) {
  PL_REQUIRE_INITIALIZED();
  PL_REQUIRE_ARG(!vrel_string_isempty(ident));
  PL_REQUIRE_ARG(out_data != nullptr);
  PL_REQUIRE(playlist_check_handle(kCollectionLine, kSource, collection, kCollectionMagic));
  CollectionLock lock(collection);
  const uint32_t code = make_object(collection, ident, out_data);
  lock.leave();
  PL_RETURN(code);
}
