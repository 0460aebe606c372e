// playlist_list_service: what attributes ask of the manager's lists.
#include "playlist_list_service.h"

#include "playlist_attributes.h"
#include "playlist_error.h"
#include "playlist_owner.h"
#include "playlist_services.h"
#include "vrel_string.h"

namespace {

const char kPlaylistLocale[] = "trova_locale_playlist";
const char kMusicLocale[] = "trova_locale_music";

// A 32-bit number in decimal has at most ten digits.
constexpr uint32_t kNumberTextSize = 33;

struct LocaleTexts {
  const char* language;
  const char* region;
  const char* descriptor;
};

void release_locale(trova_locale* locale) {
  static_cast<void>(g_playlist_lists_interface->locale_release(locale));
}
using LocaleOwner = PlaylistOwner<trova_locale, release_locale>;

void release_list(trova_list* list) {
  static_cast<void>(g_playlist_lists_interface->list_release(list));
}
using ListOwner = PlaylistOwner<trova_list, release_list>;

uint32_t locale_texts(trova_locale* locale, LocaleTexts* out) {
  LocaleTexts texts = {};
  PL_TRY(g_playlist_lists_interface->locale_info(locale, &texts.language, &texts.region,
                                                 &texts.descriptor));
  *out = texts;
  return 0;
}

uint32_t load_list(const char* type, const LocaleTexts& texts, trova_list** out_list) {
  return g_playlist_lists_interface->list_load(type, texts.language, texts.region, texts.descriptor,
                                               out_list);
}

uint32_t copy_display(trova_list* list, uint32_t id, uint32_t level, char** out_text) {
  trova_list_element* element = nullptr;
  const char* text = nullptr;
  PL_TRY(g_playlist_lists_interface->element_lookup(list, id, level, &element));
  PL_TRY(g_playlist_lists_interface->element_display(element, &text));
  *out_text = vrel_string_strdup(text);
  return *out_text == nullptr ? PLERR_NoMemory : 0;
}

// A copy for the caller.
uint32_t display(const char* type, trova_locale* locale, uint32_t id, uint32_t level,
                 char** out_text) {
  LocaleTexts texts = {};
  if (locale == nullptr || locale_texts(locale, &texts) != 0) return PLERR_ListUnavailable;
  ListOwner list;
  PL_TRY(load_list(type, texts, list.out()));
  return copy_display(list.get(), id, level, out_text);
}

}  // namespace

uint32_t playlist_load_locale(trova_locale** out_locale) {
  if (g_playlist_lists_interface->locale_load(kPlaylistLocale, out_locale) == 0) return 0;
  return g_playlist_lists_interface->locale_load(kMusicLocale, out_locale);
}

LoadedList playlist_load_list(const char* type, const char* correlates_name) {
  LoadedList loaded = {};
  LocaleOwner locale;
  LocaleTexts texts = {};
  if (playlist_load_locale(locale.out()) != 0) return loaded;
  if (locale_texts(locale.get(), &texts) != 0) return loaded;
  static_cast<void>(load_list(type, texts, &loaded.list));
  if (correlates_name != nullptr) {
    static_cast<void>(
        g_playlist_lists_interface->correlates_load(correlates_name, &loaded.correlates));
  }
  return loaded;
}

void playlist_release_list(const LoadedList& loaded) {
  static_cast<void>(g_playlist_lists_interface->list_release(loaded.list));
  static_cast<void>(g_playlist_lists_interface->correlates_release(loaded.correlates));
}

uint32_t playlist_list_roll_up(trova_list* list, uint32_t id, uint32_t level, uint32_t* out_id) {
  trova_list_element* element = nullptr;
  PL_TRY(g_playlist_lists_interface->element_lookup(list, id, level, &element));
  return g_playlist_lists_interface->element_id(element, out_id);
}

uint32_t playlist_list_locate(trova_list* list, uint32_t id, uint32_t* out_level,
                              uint32_t* out_id) {
  trova_list_element* element = nullptr;
  PL_TRY(g_playlist_lists_interface->element_lookup(list, id, 0, &element));
  PL_TRY(g_playlist_lists_interface->element_level(element, out_level));
  return g_playlist_lists_interface->element_id(element, out_id);
}

uint32_t playlist_keep_text(vrel_vector** texts, char* text, const char** out_text) {
  uint32_t code = 0;
  if (*texts == nullptr)
    code = vrel_vector_create(texts, 0, nullptr, _playlist_value_strings_delete);
  if (code == 0) code = vrel_vector_add(*texts, reinterpret_cast<uintptr_t>(text));
  if (code != 0) {
    vrel_string_free(text);
    return code;
  }
  *out_text = text;
  return 0;
}

uint32_t playlist_list_show(const char* type, trova_locale* locale, uint32_t id, uint32_t level,
                            vrel_vector** texts, const char** out_text) {
  char* text = nullptr;
  PL_TRY(display(type, locale, id, level, &text));
  return playlist_keep_text(texts, text, out_text);
}

uint32_t playlist_keep_number(vrel_vector** texts, uint32_t number, const char** out_text) {
  char digits[kNumberTextSize];
  static_cast<void>(vrel_string_snprintf(digits, sizeof digits, "%u", number));
  char* const text = vrel_string_strdup(digits);
  if (text == nullptr) return PLERR_NoMemory;
  return playlist_keep_text(texts, text, out_text);
}
