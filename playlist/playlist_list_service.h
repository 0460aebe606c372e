// playlist_list_service: what attributes ask of the manager's lists.
#ifndef PLAYLIST_LIST_SERVICE_H
#define PLAYLIST_LIST_SERVICE_H

#include <cstdint>

#include "trova_manager_services.h"
#include "vrel_vector.h"

// A list and its correlate table as a comparison context holds them, either may be null: "not
// loaded". `correlates_name` null loads no table.
struct LoadedList {
  trova_list* list;
  trova_correlates* correlates;
};

// The locale of playlists, or of music when there is none.
uint32_t playlist_load_locale(trova_locale** out_locale);

// Loads both for the locale of playlists, or of music when there is none. What cannot be loaded
// stays null; that is no error before somebody needs it.
LoadedList playlist_load_list(const char* type, const char* correlates_name);

// Gives both back; the service is told even about what is null.
void playlist_release_list(const LoadedList& loaded);

// Looks an element up at a level (0: itself) and reads its id.
uint32_t playlist_list_roll_up(trova_list* list, uint32_t id, uint32_t level, uint32_t* out_id);

// Looks an element up by id and reads its level and id.
uint32_t playlist_list_locate(trova_list* list, uint32_t id, uint32_t* out_level, uint32_t* out_id);

// Calls compare(id) with the id of the element's ancestor at a level. An id that cannot be rolled
// up is compared as it is: the score stands, and the list's answer is the result all the same. A
// null list compares as it is, too.
template <typename Compare>
uint32_t playlist_list_compare(trova_list* list, uint32_t id, uint32_t level, Compare compare) {
  const uint32_t code = list == nullptr ? 0 : playlist_list_roll_up(list, id, level, &id);
  const uint32_t compared = compare(id);
  return compared != 0 ? compared : code;
}

// Texts that a context handed out and owns until it is deleted. `texts` is made on first use.
// Takes `text` over, also on failure.
uint32_t playlist_keep_text(vrel_vector** texts, char* text, const char** out_text);

// keep_text for the display text of an element at a level, in the language of a locale.
// PLERR_ListUnavailable when the locale cannot tell its language.
uint32_t playlist_list_show(const char* type, trova_locale* locale, uint32_t id, uint32_t level,
                            vrel_vector** texts, const char** out_text);

// keep_text for a number in decimal.
uint32_t playlist_keep_number(vrel_vector** texts, uint32_t number, const char** out_text);

#endif  // PLAYLIST_LIST_SERVICE_H
