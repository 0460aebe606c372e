// playlist_api_generate: checking statements and generating playlists.
#include "playlist_column.h"
#include "playlist_error.h"
#include "playlist_owner.h"
#include "playlist_pdl.h"
#include "playlist_results.h"
#include "playlist_services.h"
#include "vrel_string.h"

namespace {

const char kSource[] = "playlist_api_generate";

// Operators group from right to left, so the weighted sum is divided by 100 plus the random number.
const char kMoreLikeThis[] =
    "generate playlist where (qx_mood like seed) >= -160 or (qx_genre like seed) >= 600 order ((90 "
    "* qx_mood like seed) + (6 * qx_genre like seed) + (2 * qx_origin like seed) + (1 * qx_era "
    "like "
    "seed) + (1 * qx_artisttype like seed)) / 100 + RAND(100);";

void delete_actions(vrel_vector* actions) {
  static_cast<void>(vrel_vector_delete(actions));
}
using ActionsOwner = PlaylistOwner<vrel_vector, delete_actions>;
using ResultsOwner = PlaylistOwner<Results, _playlist_results_delete>;

void free_text(char* text) {
  vrel_string_free(text);
}
using TextOwner = PlaylistOwner<char, free_text>;

// Lets the application read what was wrong, in words where the parser had some.
void report(uint32_t code, const char* message) {
  if (code != 0) static_cast<void>(g_playlist_errorinfo_interface->set(code, message));
}

uint32_t run_parsed(vrel_vector* actions, trova_gdo* seed, Collection* collection,
                    Results** out_results) {
  PL_TRY(_playlist_pdl_setup_actions(actions, seed));
  ResultsOwner results;
  PL_TRY(_playlist_results_create(collection, results.out()));
  const uint32_t code = _playlist_pdl_perform_actions(actions, results.get());
  // What a statement could not do for lack of memory must not be for the columns' sake next time.
  playlist_columns_forget(collection, vrel_error_low(code) == vrel_error_low(PLERR_NoMemory));
  PL_TRY(code);
  *out_results = results.take();
  return 0;
}

uint32_t parse_and_run(const char* statement, trova_gdo* seed, Collection* collection,
                       Results** out_results, ActionsOwner* actions, char** out_message) {
  uint8_t seed_used = 0;
  PL_TRY(_playlist_pdl_parse(statement, collection, &seed_used, actions->out(), out_message));
  if (seed_used != 0 && seed == nullptr) return PLERR_StatementMismatch;
  return run_parsed(actions->get(), seed, collection, out_results);
}

// Caller holds collection->lock. The contexts of the comparisons go after the report.
uint32_t _playlist_generate_run(const char* statement, trova_gdo* seed, Collection* collection,
                                Results** out_results) {
  TextOwner message;
  ActionsOwner actions;
  const uint32_t code =
      parse_and_run(statement, seed, collection, out_results, &actions, message.out());
  report(code, message.get());
  return code;
}

// Runs under the lock and makes the results a handle outside it.
uint32_t generate(const char* statement, trova_gdo* seed, Collection* collection,
                  Results** out_results) {
  ResultsOwner results;
  CollectionHold hold(collection);
  PL_TRY(_playlist_generate_run(statement, seed, collection, results.out()));
  PL_TRY(hold.end());
  PL_TRY(g_playlist_handlemanager_interface->handle_add(results.get()));
  *out_results = results.take();
  return 0;
}

// Caller holds collection->lock.
uint32_t validate(const char* statement, Collection* collection, uint8_t* out_seed_used) {
  TextOwner message;
  ActionsOwner actions;
  const uint32_t code =
      _playlist_pdl_parse(statement, collection, out_seed_used, actions.out(), message.out());
  report(code, message.get());
  return code;
}

}  // namespace

uint32_t trova_playlist_statement_validate(const char* statement,
                                           trova_playlist_collection* collection,
                                           uint8_t* out_seed_used) {
  PL_REQUIRE_INITIALIZED();
  PL_REQUIRE_ARG(!vrel_string_isempty(statement));
  PL_REQUIRE_COLLECTION(collection);
  CollectionHold hold(collection);
  const uint32_t code = validate(statement, collection, out_seed_used);
  const uint32_t release_code = hold.end();
  PL_RETURN(code != 0 ? code : release_code);
}

uint32_t trova_playlist_generate_playlist(trova_user* /*user*/, const char* statement,
                                          trova_playlist_collection* collection, trova_gdo* seed,
                                          trova_playlist_results** out_results) {
  PL_REQUIRE_INITIALIZED();
  PL_REQUIRE_ARG(!vrel_string_isempty(statement));
  PL_REQUIRE_ARG(out_results != nullptr);
  PL_REQUIRE_COLLECTION(collection);
  if (seed != nullptr) PL_REQUIRE(playlist_check_object(__LINE__, kSource, seed));
  PL_RETURN(generate(statement, seed, collection, out_results));
}

uint32_t trova_playlist_generate_morelikethis(trova_user* user,
                                              trova_playlist_collection* collection,
                                              trova_gdo* seed,
                                              trova_playlist_results** out_results) {
  PL_REQUIRE_INITIALIZED();
  PL_REQUIRE_ARG(out_results != nullptr);
  PL_REQUIRE(playlist_check_user(__LINE__, kSource, user));
  PL_REQUIRE_COLLECTION(collection);
  PL_REQUIRE(playlist_check_object(__LINE__, kSource, seed));
  PL_RETURN(generate(kMoreLikeThis, seed, collection, out_results));
}
