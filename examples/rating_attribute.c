/* rating_attribute.c: an attribute of an application's own: QX_Rating, one to five stars. */
#include <stdint.h>
#include <stdio.h>
#include <stdlib.h>

#include "trova_manager.h"
#include "trova_playlist.h"
#include "vrel_memory.h"

/* The value of a data object that the attribute reads. */
#define RATING_KEY "rating"

enum { kLowest = 1, kHighest = 5, kScoreOfAStar = 250 };

/* What one comparison of a statement compares with. */
typedef struct rating_context {
  uint32_t op;
  uint32_t stars;
} rating_context;

/* Nothing but a whole number from one to five is a rating. */
static uint32_t parse_stars(const char* text, uint32_t* out_stars) {
  char* end = NULL;
  const long number = strtol(text, &end, 10);
  if (end == text || *end != '\0' || number < kLowest || number > kHighest) {
    return PLERR_InvalidData;
  }
  *out_stars = (uint32_t)number;
  return 0;
}

static uint32_t read_stars(trova_gdo* data, uint32_t* out_stars) {
  const char* text = NULL;
  const uint32_t code = trova_manager_gdo_get_value(data, RATING_KEY, 1, &text);
  return code != 0 ? code : parse_stars(text, out_stars);
}

/* --------------------------------------------------------------------- The slots, in order */

static uint32_t get_name(const char** out_name) {
  *out_name = "QX_Rating";
  return 0;
}

static uint32_t enum_operators(uint32_t index, uint32_t* out_operator) {
  static const uint32_t kOperators[] = {
      TROVA_PLAYLIST_OP_EQUAL,   TROVA_PLAYLIST_OP_NOT_EQUAL,
      TROVA_PLAYLIST_OP_GREATER, TROVA_PLAYLIST_OP_GREATER_OR_EQUAL,
      TROVA_PLAYLIST_OP_LESS,    TROVA_PLAYLIST_OP_LESS_OR_EQUAL,
      TROVA_PLAYLIST_OP_LIKE};
  if (index >= sizeof kOperators / sizeof kOperators[0]) return PLERR_NotFound;
  *out_operator = kOperators[index];
  return 0;
}

/* A track without a rating, or with one that is none, hands nothing over. */
static uint32_t capture(void* writer, trova_gdo* data,
                        const trova_playlist_capture_callbacks* callbacks) {
  uint32_t stars = 0;
  const uint32_t code = read_stars(data, &stars);
  return code != 0 ? code : callbacks->set_integer(writer, stars);
}

static uint32_t create_context(void** out_context) {
  *out_context = vrel_memory_calloc(1, sizeof(rating_context));
  return *out_context == NULL ? PLERR_NoMemory : 0;
}

static uint32_t set_value_from_string(void* context, uint32_t op, const char* literal) {
  rating_context* const self = (rating_context*)context;
  self->op = op;
  return parse_stars(literal, &self->stars);
}

/* A seed that nobody rated is like nothing; that does not make the statement wrong. */
static uint32_t set_value_from_seed(void* context, uint32_t op, trova_gdo* seed) {
  rating_context* const self = (rating_context*)context;
  self->op = op;
  return read_stars(seed, &self->stars) == 0 ? 0 : TROVA_PLAYLIST_NO_VALUE;
}

static int32_t score_of(int holds) {
  return holds ? TROVA_PLAYLIST_SCORE_HOLDS : 0;
}

/* 1000 for the same rating, 250 less for each star between. */
static int32_t likeness(uint32_t a, uint32_t b) {
  const int32_t apart = (int32_t)(a > b ? a - b : b - a);
  return TROVA_PLAYLIST_SCORE_HOLDS - kScoreOfAStar * apart;
}

/* "and" hands over the values that its left side found, of whatever attribute: what is no rating
 * matches nothing. */
static uint32_t evaluate_integer(void* context, uint32_t value, int32_t* out_score) {
  const rating_context* const self = (const rating_context*)context;
  *out_score = 0;
  if (value < kLowest || value > kHighest) return 0;
  switch (self->op) {
    case TROVA_PLAYLIST_OP_EQUAL:
      *out_score = score_of(value == self->stars);
      return 0;
    case TROVA_PLAYLIST_OP_NOT_EQUAL:
      *out_score = score_of(value != self->stars);
      return 0;
    case TROVA_PLAYLIST_OP_GREATER:
      *out_score = score_of(value > self->stars);
      return 0;
    case TROVA_PLAYLIST_OP_GREATER_OR_EQUAL:
      *out_score = score_of(value >= self->stars);
      return 0;
    case TROVA_PLAYLIST_OP_LESS:
      *out_score = score_of(value < self->stars);
      return 0;
    case TROVA_PLAYLIST_OP_LESS_OR_EQUAL:
      *out_score = score_of(value <= self->stars);
      return 0;
    case TROVA_PLAYLIST_OP_LIKE:
      *out_score = likeness(value, self->stars);
      return 0;
    default:
      return PLERR_Unsupported;
  }
}

/* Static text lives longer than any context. A stored collection may hold a value that no capture
 * of ours made. */
static uint32_t render_integer(void* context, uint32_t value, const char* key, trova_locale* locale,
                               const char** out_text) {
  static const char* const kTexts[] = {"1", "2", "3", "4", "5"};
  (void)context;
  (void)key;
  (void)locale;
  if (value < kLowest || value > kHighest) return PLERR_InvalidData;
  *out_text = kTexts[value - kLowest];
  return 0;
}

static uint32_t delete_context(void* context) {
  vrel_memory_free(context);
  return 0;
}

static const trova_playlist_attribute_provider kRating = {
    get_name,
    enum_operators,
    capture,
    create_context,
    set_value_from_string,
    set_value_from_seed,
    evaluate_integer,
    NULL, /* evaluate_string: no rating is captured as text */
    render_integer,
    NULL, /* render_string: nor shown as one */
    delete_context,
};

/* ---------------------------------------------------------------------- The application */

typedef struct track {
  const char* ident;
  const char* rating; /* null: not rated yet */
} track;

static const track kTracks[] = {
    {"Autobahn", "4"}, {"Blue Train", "5"}, {"Birdland", "2"},
    {"Teardrop", "3"}, {"So What", "5"},    {"Zombie", NULL},
};

/* Passes a code on; a failure is told. */
static uint32_t report(const char* step, uint32_t code) {
  if (code != 0) fprintf(stderr, "%s: %s\n", step, trova_manager_error_text(code));
  return code;
}

static uint32_t describe(const char* rating, trova_gdo** out_data) {
  uint32_t code = trova_manager_gdo_create(TROVA_CTX_TRACK, out_data);
  if (code == 0) code = trova_manager_gdo_add_value(*out_data, TROVA_VAL_ARTIST, "Various");
  if (code == 0 && rating != NULL)
    code = trova_manager_gdo_add_value(*out_data, RATING_KEY, rating);
  return report("data object", code);
}

static uint32_t add_track(trova_playlist_collection* collection, const track* it) {
  trova_gdo* data = NULL;
  uint32_t code = describe(it->rating, &data);
  if (code == 0) {
    code = report(it->ident, trova_playlist_collection_ident_add(collection, it->ident, data));
  }
  trova_manager_gdo_release(data);
  return code;
}

/* The rating that the collection holds, as the attribute renders it. */
static uint32_t print_with_rating(trova_playlist_collection* collection, const char* ident) {
  trova_gdo* data = NULL;
  const char* stars = NULL;
  uint32_t code = trova_playlist_collection_ident_get_gdo(collection, ident, &data);
  if (code == 0) code = trova_manager_gdo_get_value(data, "QX_Rating", 1, &stars);
  if (code == 0) printf("  %s (%s)\n", ident, stars);
  trova_manager_gdo_release(data);
  return report(ident, code);
}

static uint32_t print_playlist(trova_playlist_collection* collection, const char* statement,
                               trova_gdo* seed) {
  trova_playlist_results* results = NULL;
  uint32_t count = 0;
  uint32_t code = trova_playlist_generate_playlist(NULL, statement, collection, seed, &results);
  if (report(statement, code) != 0) return code;
  printf("%s\n", statement);
  code = trova_playlist_results_count(results, &count);
  for (uint32_t i = 0; i < count && code == 0; ++i) {
    const char* ident = NULL;
    code = trova_playlist_results_enum(results, i, &ident);
    if (code == 0) code = print_with_rating(collection, ident);
  }
  trova_playlist_results_release(results);
  return code;
}

static uint32_t run(void) {
  trova_playlist_collection* collection = NULL;
  trova_gdo* seed = NULL;
  uint32_t code = report("collection", trova_playlist_collection_create("rated", &collection));
  for (size_t i = 0; i < sizeof kTracks / sizeof kTracks[0] && code == 0; ++i) {
    code = add_track(collection, &kTracks[i]);
  }
  if (code == 0) code = describe("3", &seed);
  if (code == 0) {
    code =
        print_playlist(collection, "generate playlist where qx_rating >= 4 limit 2 results", NULL);
  }
  if (code == 0) {
    code = print_playlist(collection,
                          "generate playlist where (qx_rating like seed) > 500 "
                          "order qx_rating like seed",
                          seed);
  }
  trova_manager_gdo_release(seed);
  trova_playlist_collection_release(collection);
  return code;
}

/* Registered before the first collection is made: collections have the attributes of their time. */
int main(void) {
  ManagerHandle* manager = NULL;
  uint32_t code = report("manager", trova_manager_start(NULL, &manager));
  if (code != 0) return 1;
  code = report("library", trova_playlist_initialize(manager));
  if (code == 0) {
    code = report("QX_Rating", trova_playlist_register_attribute_provider(&kRating));
    if (code == 0) code = run();
    trova_playlist_shutdown();
  }
  trova_manager_stop();
  return code == 0 ? 0 : 1;
}
