/* playlist.c: a whole application in C: a collection of ten tracks, a statement, a playlist. */
#include <stdint.h>
#include <stdio.h>

#include "trova_manager.h"
#include "trova_playlist.h"

typedef struct track {
  const char* ident;
  const char* genre;
  const char* year;
} track;

static const track kTracks[] = {
    {"Charlie Parker: Ornithology", "Bebop", "1946"},
    {"Miles Davis: So What", "Modal Jazz", "1959"},
    {"Kraftwerk: Autobahn", "Krautrock", "1974"},
    {"Lee Morgan: The Sidewinder", "Hard Bop", "1964"},
    {"Fela Kuti: Zombie", "Afrobeat", "1976"},
    {"Dexter Gordon: Cheese Cake", "Hard Bop", "1962"},
    {"Joni Mitchell: A Case of You", "Folk", "1971"},
    {"John Coltrane: Blue Train", "Hard Bop", "1958"},
    {"Weather Report: Birdland", "Jazz Fusion", "1977"},
    {"Massive Attack: Teardrop", "Trip Hop", "1998"},
};
static const size_t kTrackCount = sizeof kTracks / sizeof kTracks[0];

/* Passes a code on; a failure is reported with the step and the reason. */
static uint32_t report(const char* step, uint32_t code) {
  uint32_t last_code = 0;
  const char* reason = "";
  if (code == 0) return 0;
  if (trova_manager_last_error(&last_code, &reason) != 0 || last_code != code || !reason[0]) {
    reason = trova_manager_error_text(code);
  }
  fprintf(stderr, "%s: %s (0x%08x)\n", step, reason, (unsigned)code);
  return code;
}

/* The id of a name such as "Hard Bop" in a list such as TROVA_LIST_GENRES. */
static uint32_t find_id(const char* list_type, const char* name, uint32_t* out_id) {
  trova_list* list = NULL;
  trova_manager_element element;
  uint32_t code = trova_manager_list_load(list_type, &list);
  if (code != 0) return report(list_type, code);
  code = trova_manager_list_find(list, name, &element);
  if (code == 0) *out_id = element.id;
  trova_manager_list_release(list);
  return report(name, code);
}

/* Describes a track to the library in a data object, which is needed no longer than the call. */
static uint32_t add_track(trova_playlist_collection* collection, const track* it) {
  uint32_t genre = 0;
  uint32_t era = 0;
  trova_gdo* data = NULL;
  uint32_t code = find_id(TROVA_LIST_GENRES, it->genre, &genre);
  if (code == 0) code = find_id(TROVA_LIST_ERAS, it->year, &era);
  if (code == 0) code = report("data object", trova_manager_gdo_create(TROVA_CTX_TRACK, &data));
  if (code == 0)
    code = report("genre", trova_manager_gdo_add_number(data, TROVA_VAL_GENRE_ID, genre));
  if (code == 0) code = report("era", trova_manager_gdo_add_number(data, TROVA_VAL_ERA_ID, era));
  if (code == 0) {
    code = report(it->ident, trova_playlist_collection_ident_add(collection, it->ident, data));
  }
  trova_manager_gdo_release(data);
  return code;
}

static uint32_t print_playlist(trova_playlist_results* results) {
  uint32_t count = 0;
  uint32_t code = report("results", trova_playlist_results_count(results, &count));
  for (uint32_t i = 0; i < count && code == 0; ++i) {
    const char* ident = NULL;
    code = report("results", trova_playlist_results_enum(results, i, &ident));
    if (code == 0) printf("%u. %s\n", (unsigned)(i + 1), ident);
  }
  return code;
}

/* Jazz of any kind, nearest to 1959 first. */
static uint32_t play_jazz(trova_playlist_collection* collection) {
  uint32_t jazz = 0;
  uint32_t year = 0;
  char statement[128];
  trova_playlist_results* results = NULL;
  uint32_t code = find_id(TROVA_LIST_GENRES, "Jazz", &jazz);
  if (code == 0) code = find_id(TROVA_LIST_ERAS, "1959", &year);
  if (code != 0) return code;
  snprintf(statement, sizeof statement,
           "generate playlist where qx_genre = %u order qx_era like %u limit 5 results",
           (unsigned)jazz, (unsigned)year);
  code = trova_playlist_generate_playlist(NULL, statement, collection, NULL, &results);
  if (report(statement, code) == 0) code = print_playlist(results);
  trova_playlist_results_release(results);
  return code;
}

static uint32_t run(void) {
  trova_playlist_collection* collection = NULL;
  uint32_t code = report("collection", trova_playlist_collection_create("example", &collection));
  for (size_t i = 0; i < kTrackCount && code == 0; ++i) code = add_track(collection, &kTracks[i]);
  if (code == 0) code = play_jazz(collection);
  trova_playlist_collection_release(collection);
  return code;
}

int main(void) {
  ManagerHandle* manager = NULL;
  uint32_t code = report("manager", trova_manager_start(NULL, &manager));
  if (code != 0) return 1;
  code = report("library", trova_playlist_initialize(manager));
  if (code == 0) {
    code = run();
    trova_playlist_shutdown();
  }
  trova_manager_stop();
  return code == 0 ? 0 : 1;
}
