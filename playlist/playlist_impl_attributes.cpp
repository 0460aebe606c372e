// playlist_impl_attributes: the registry of attribute providers and the map of value keys.
#include "playlist_attributes.h"

#include <cstddef>

#include "playlist_error.h"
#include "vrel_datatypes.h"
#include "vrel_memory.h"
#include "vrel_spinlock.h"
#include "vrel_string.h"

vrel_vector2* g_playlist_attribute_mgr;
vrel_stringmap* g_playlist_gdo_key_map;

namespace {

const char kSource[] = "playlist_impl_attributes";

// Neither keys nor texts are copied, as both are constants below. Letter case of keys is ignored.
constexpr uint32_t kKeyMapFlags = kVrelReferenceKeys | kVrelReferenceStrings;

// Texts in place: a table of pointers would be written to whenever the library is loaded.
struct KeyMapEntry {
  char key[32];
  char attribute[14];
};

constexpr KeyMapEntry kKeyMap[] = {
    {"trova_val_title_display", "QX_AlbumName"},
    {"trova_val_artist", "QX_ArtistName"},
    {"trova_val_list_arttype", "QX_ArtistType"},
    {"_sdkmgr_val_list_artist_type_id", "QX_ArtistType"},
    {"trova_val_desc_era", "QX_Era"},
    {"_sdkmgr_val_list_era_id", "QX_Era"},
    {"trova_val_list_genremeta", "QX_Genre"},
    {"trova_val_list_genre", "QX_Genre"},
    {"trova_val_list_genremicro", "QX_Genre"},
    {"_sdkmgr_val_list_genre_id", "QX_Genre"},
    {"trova_val_list_origin", "QX_Origin"},
    {"_sdkmgr_val_list_origin_id", "QX_Origin"},
    {"trova_val_list_mood", "QX_Mood"},
    {"trova_val_moodsub", "QX_Mood"},
    {"_sdkmgr_val_list_mood_data", "QX_Mood"},
    {"_sdkmgr_val_list_mood_id", "QX_Mood"},
    {"trova_val_tempometa", "QX_Tempo"},
    {"trova_val_temposub", "QX_Tempo"},
    {"_sdkmgr_val_list_tempo_value", "QX_Tempo"},
};

// The order is that of every enumeration of attributes.
constexpr uint32_t (*kBuiltIns[])() = {
    playlist_initialize_attribute_albumname, playlist_initialize_attribute_artistname,
    playlist_initialize_attribute_arttype,   playlist_initialize_attribute_era,
    playlist_initialize_attribute_genre,     playlist_initialize_attribute_origin,
    playlist_initialize_attribute_mood,      playlist_initialize_attribute_tempo,
};

// What the registry points to. Whoever has the provider has the record.
struct Registered {
  AttributeProvider provider;
  AttributeTraits traits;
};
static_assert(offsetof(Registered, provider) == 0, "a provider's address is its record's");

// Guards the making of the key map, which the first data view asks for. Lock order: behind a
// collection's lock or g_init_lock; under it only memory is taken.
vrel_spinlock g_key_map_lock;

void release_record(void* element) {
  vrel_memory_free(*static_cast<AttributeProvider**>(element));
}

uint32_t build_key_map(vrel_stringmap** out_map) {
  vrel_stringmap* map = nullptr;
  PL_TRY(vrel_stringmap_create(&map, kKeyMapFlags));
  for (const KeyMapEntry& entry : kKeyMap) {
    const uint32_t code = vrel_stringmap_value_add(map, entry.key, entry.attribute);
    if (code != 0) {
      static_cast<void>(vrel_stringmap_delete(map));
      return code;
    }
  }
  *out_map = map;
  return 0;
}

}  // namespace

uint32_t playlist_attributes_initialize() {
  PL_TRY(vrel_vector2_create(&g_playlist_attribute_mgr, sizeof(AttributeProvider*), 0, nullptr,
                             release_record));
  uint32_t code = 0;
  for (const auto initialize : kBuiltIns) code = initialize();
  return code;
}

uint32_t playlist_attributes_shutdown() {
  vrel_spinlock_lock(&g_key_map_lock);
  if (g_playlist_gdo_key_map != nullptr) {
    static_cast<void>(vrel_stringmap_delete(g_playlist_gdo_key_map));
  }
  g_playlist_gdo_key_map = nullptr;
  vrel_spinlock_unlock(&g_key_map_lock);
  return playlist_shutdown_attribute_mood();
}

uint32_t playlist_register_attribute(const AttributeProvider* provider,
                                     const AttributeTraits& traits) {
  if (provider == nullptr || provider->get_name == nullptr || provider->capture == nullptr ||
      provider->create_context == nullptr || provider->enum_operators == nullptr) {
    return VREL_LOG_HERE(PLERR_InvalidArg);
  }
  auto* record = static_cast<Registered*>(vrel_memory_alloc(sizeof(Registered)));
  if (record == nullptr) return VREL_LOG_HERE(PLERR_NoMemory);
  *record = {*provider, traits};
  const uint32_t code = vrel_vector2_add(g_playlist_attribute_mgr, &record, sizeof record, nullptr);
  if (code != 0) vrel_memory_free(record);
  return code;
}

const AttributeTraits& playlist_attribute_traits(const AttributeProvider* provider) {
  return reinterpret_cast<const Registered*>(provider)->traits;
}

uint32_t playlist_attributes_get(uint32_t index, const AttributeProvider** out_provider) {
  void* element = nullptr;
  PL_TRY(vrel_vector2_getindex(g_playlist_attribute_mgr, index, &element));
  *out_provider = *static_cast<AttributeProvider**>(element);
  return 0;
}

bool playlist_attributes_has(const AttributeProvider* provider) {
  const AttributeProvider* registered = nullptr;
  if (g_playlist_attribute_mgr == nullptr) return false;
  for (uint32_t i = 0; playlist_attributes_get(i, &registered) == 0; ++i) {
    if (registered == provider) return true;
  }
  return false;
}

uint32_t playlist_gdo_initialize() {
  vrel_spinlock_lock(&g_key_map_lock);
  const uint32_t code =
      g_playlist_gdo_key_map == nullptr ? build_key_map(&g_playlist_gdo_key_map) : 0;
  vrel_spinlock_unlock(&g_key_map_lock);
  return code;
}

void _playlist_value_strings_delete(uintptr_t text) {
  vrel_string_free(reinterpret_cast<char*>(text));
}

uint32_t playlist_provider_set_value_from_string(const AttributeProvider* provider, void* context,
                                                 uint32_t op, const char* literal) {
  if (provider->set_value_from_string == nullptr) return PLERR_Unsupported;
  return provider->set_value_from_string(context, op, literal);
}

uint32_t playlist_provider_set_value_from_seed(const AttributeProvider* provider, void* context,
                                               uint32_t op, trova_gdo* seed) {
  if (provider->set_value_from_seed == nullptr) return PLERR_Unsupported;
  return provider->set_value_from_seed(context, op, seed);
}

void playlist_provider_delete_context(const AttributeProvider* provider, void* context) {
  if (provider->delete_context != nullptr) {
    static_cast<void>(provider->delete_context(context));
  }
}

bool playlist_provider_supports(const AttributeProvider* provider, uint32_t op) {
  uint32_t listed = 0;
  for (uint32_t index = 0; provider->enum_operators(index, &listed) == 0; ++index) {
    if (listed == op) return true;
  }
  return false;
}
