/* player.c: an application that runs the playlist library on a manager of its own. */
#include <stdint.h>
#include <stdio.h>

#include "own_manager.h"
#include "trova_playlist.h"

typedef struct track {
  const char* ident;
  const char* artist;
  const char* tempo;
} track;

static const track kTracks[] = {
    {"So What", "Miles Davis", "136"},
    {"Autobahn", "Kraftwerk", "83"},
    {"Milestones", "Miles Davis", "240"},
    {"Teardrop", "Massive Attack", "77"},
};

/* Passes a code on; a failure is told, with the reason where there is one. */
static uint32_t report(const char* step, uint32_t code) {
  if (code != 0) printf("%s: 0x%08x %s\n", step, (unsigned)code, own_manager_last_error());
  return code;
}

static uint32_t add_track(trova_playlist_collection* collection, const track* it) {
  trova_gdo* const data = own_object_create();
  uint32_t code = data == NULL ? PLERR_NoMemory : 0;
  if (code == 0) code = own_object_add(data, "trova_val_artist", it->artist);
  if (code == 0) code = own_object_add(data, "_sdkmgr_val_list_tempo_value", it->tempo);
  if (code == 0) code = trova_playlist_collection_ident_add(collection, it->ident, data);
  own_object_release(data);
  return report(it->ident, code);
}

/* A track with its tempo, read back from the collection through a data object. */
static uint32_t print_track(trova_playlist_collection* collection, const char* ident) {
  trova_gdo* data = NULL;
  const char* tempo = "";
  uint32_t code = trova_playlist_collection_ident_get_gdo(collection, ident, &data);
  if (code == 0) code = own_object_get(data, "_sdkmgr_val_list_tempo_value", &tempo);
  if (code == 0) printf("%s, %s bpm\n", ident, tempo);
  own_object_release(data);
  return report(ident, code);
}

static uint32_t play(trova_playlist_collection* collection, const char* statement) {
  trova_playlist_results* results = NULL;
  uint32_t count = 0;
  uint32_t code = trova_playlist_generate_playlist(NULL, statement, collection, NULL, &results);
  if (report(statement, code) != 0) return code;
  code = trova_playlist_results_count(results, &count);
  for (uint32_t i = 0; i < count && code == 0; ++i) {
    const char* ident = NULL;
    code = trova_playlist_results_enum(results, i, &ident);
    if (code == 0) code = print_track(collection, ident);
  }
  trova_playlist_results_release(results);
  return code;
}

/* The wrong statement and the released handle show what comes back from the manager. */
static uint32_t run(void) {
  trova_playlist_collection* collection = NULL;
  uint32_t count = 0;
  uint32_t code = report("collection", trova_playlist_collection_create("own", &collection));
  for (size_t i = 0; i < sizeof kTracks / sizeof kTracks[0] && code == 0; ++i) {
    code = add_track(collection, &kTracks[i]);
  }
  if (code == 0) {
    code = play(collection,
                "generate playlist where qx_tempo > 80 order qx_artistname like 'miles davis'");
  }
  (void)play(collection, "generate playlist where qx_tempo 80");
  trova_playlist_collection_release(collection);
  if (code == 0 && trova_playlist_collection_ident_count(collection, &count) == 0) code = 1;
  return code;
}

int main(void) {
  uint32_t code = report("library", trova_playlist_initialize(own_manager()));
  if (code != 0) return 1;
  code = run();
  trova_playlist_shutdown();
  return code == 0 ? 0 : 1;
}
