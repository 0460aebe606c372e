// fuzz_library: a manager, tracks and failing allocations for fuzzers.
#include "fuzz_library.h"

#include <cstring>

#include "fuzz_target.h"
#include "vrel_memory.h"

// The linker hands calls of the playlist library over to the functions below (-Wl,--wrap).
extern "C" {
void* __real_vrel_memory_alloc(size_t size);
void* __real_vrel_memory_calloc(size_t count, size_t size);
void* __real_vrel_memory_realloc(void* block, size_t size);
void* __wrap_vrel_memory_alloc(size_t size);
void* __wrap_vrel_memory_calloc(size_t count, size_t size);
void* __wrap_vrel_memory_realloc(void* block, size_t size);
// vrel_random_rand(uint32_t*)
uint32_t __real__Z16vrel_random_randPj(uint32_t* state);
uint32_t __wrap__Z16vrel_random_randPj(uint32_t* state);
// playlist_column_of(AttributeInfo*)
void* __real__Z18playlist_column_ofP13AttributeInfo(void* info);
void* __wrap__Z18playlist_column_ofP13AttributeInfo(void* info);
}

namespace {

struct Faults {
  uint64_t count = 0;
  uint32_t due = 0;
  bool stays = false;
  bool failed = false;
};
Faults g_faults;

constexpr uint32_t kFirstRandom = 0x12345678;
uint32_t g_random = kFirstRandom;

bool refuses() {
  ++g_faults.count;
  if (g_faults.due == 0) return false;
  if (g_faults.due > 1) {
    --g_faults.due;
    return false;
  }
  if (!g_faults.stays) g_faults.due = 0;
  g_faults.failed = true;
  return true;
}

}  // namespace

void* __wrap_vrel_memory_alloc(size_t size) {
  return refuses() ? nullptr : __real_vrel_memory_alloc(size);
}
void* __wrap_vrel_memory_calloc(size_t count, size_t size) {
  return refuses() ? nullptr : __real_vrel_memory_calloc(count, size);
}
void* __wrap_vrel_memory_realloc(void* block, size_t size) {
  return refuses() ? nullptr : __real_vrel_memory_realloc(block, size);
}
uint32_t __wrap__Z16vrel_random_randPj(uint32_t* state) {
  return __real__Z16vrel_random_randPj(state == nullptr ? &g_random : state);
}

void fuzz_fail_allocation(uint32_t n, bool all_later) {
  g_faults.due = n;
  g_faults.stays = all_later;
  g_faults.failed = false;
}

bool fuzz_allocation_failed() {
  g_faults.due = 0;
  return g_faults.failed;
}

uint64_t fuzz_allocations() {
  return g_faults.count;
}

void fuzz_rewind_random() {
  g_random = kFirstRandom;
}

ManagerHandle* fuzz_manager() {
  static ManagerHandle* manager = nullptr;
  if (manager == nullptr) {
    const trova_manager_options options = {sizeof options, "en", 0, ":memory:"};
    FUZZ_REQUIRE(trova_manager_start(&options, &manager) == 0);
  }
  return manager;
}

// -- attributes of an application -----------------------------------------------------------------

namespace {

struct Comparison {
  uint32_t op;
  int32_t number;
  char text[64];
};

uint32_t create_comparison(void** out_context) {
  *out_context = vrel_memory_calloc(1, sizeof(Comparison));
  return *out_context == nullptr ? PLERR_NoMemory : 0;
}

uint32_t delete_comparison(void* context) {
  vrel_memory_free(context);
  return 0;
}

uint32_t no_such_operator(uint32_t count, const uint32_t* from, uint32_t index,
                          uint32_t* out_operator) {
  if (index >= count) return PLERR_NotFound;
  *out_operator = from[index];
  return 0;
}

bool holds(uint32_t op, int order) {
  switch (op) {
    case TROVA_PLAYLIST_OP_EQUAL:
      return order == 0;
    case TROVA_PLAYLIST_OP_NOT_EQUAL:
      return order != 0;
    case TROVA_PLAYLIST_OP_GREATER:
      return order > 0;
    case TROVA_PLAYLIST_OP_GREATER_OR_EQUAL:
      return order >= 0;
    case TROVA_PLAYLIST_OP_LESS:
      return order < 0;
    default:
      return order <= 0;
  }
}

constexpr uint32_t kOperators[] = {TROVA_PLAYLIST_OP_EQUAL,   TROVA_PLAYLIST_OP_NOT_EQUAL,
                                   TROVA_PLAYLIST_OP_GREATER, TROVA_PLAYLIST_OP_GREATER_OR_EQUAL,
                                   TROVA_PLAYLIST_OP_LESS,    TROVA_PLAYLIST_OP_LESS_OR_EQUAL,
                                   TROVA_PLAYLIST_OP_LIKE};

namespace rating {

uint32_t get_name(const char** out_name) {
  *out_name = "QX_Rating";
  return 0;
}

uint32_t enum_operators(uint32_t index, uint32_t* out_operator) {
  return no_such_operator(7, kOperators, index, out_operator);
}

uint32_t read(trova_gdo* data, int32_t* out_number) {
  const char* text = nullptr;
  const uint32_t code = trova_manager_gdo_get_value(data, "rating", 1, &text);
  if (code == 0) *out_number = std::atoi(text);
  return code;
}

uint32_t capture(void* writer, trova_gdo* data, const trova_playlist_capture_callbacks* callbacks) {
  int32_t number = 0;
  const uint32_t code = read(data, &number);
  return code != 0 ? code : callbacks->set_integer(writer, static_cast<uint32_t>(number));
}

uint32_t set_string(void* context, uint32_t op, const char* literal) {
  auto* const self = static_cast<Comparison*>(context);
  self->op = op;
  self->number = std::atoi(literal);
  return *literal == 'x' ? PLERR_InvalidData : 0;
}

uint32_t set_seed(void* context, uint32_t op, trova_gdo* seed) {
  auto* const self = static_cast<Comparison*>(context);
  self->op = op;
  return read(seed, &self->number) == 0 ? 0 : TROVA_PLAYLIST_NO_VALUE;
}

// Odd numbers come with a warning, large ones fail.
uint32_t evaluate(void* context, uint32_t value, int32_t* out_score) {
  const auto* const self = static_cast<const Comparison*>(context);
  const auto number = static_cast<int32_t>(value);
  if (number > 1000 && number < 2000) return PLERR_InvalidData;
  if (self->op == TROVA_PLAYLIST_OP_LIKE) {
    *out_score =
        1000 - 250 * (number % 100 > self->number % 100 ? number % 100 - self->number % 100
                                                        : self->number % 100 - number % 100);
  } else {
    *out_score = holds(self->op, (number > self->number) - (number < self->number)) ? 1000 : 0;
  }
  return number % 2 == 0 ? 0 : PLERR_NotFound;
}

uint32_t render(void*, uint32_t value, const char*, trova_locale*, const char** out_text) {
  static const char* const kTexts[] = {"none", "one", "two", "three"};
  if (value >= 4) return PLERR_NotFound;
  *out_text = kTexts[value];
  return 0;
}

constexpr trova_playlist_attribute_provider kProvider = {
    get_name, enum_operators, capture, create_comparison, set_string,       set_seed,
    evaluate, nullptr,        render,  nullptr,           delete_comparison};

}  // namespace rating

namespace note {

uint32_t get_name(const char** out_name) {
  *out_name = "QX_Note";
  return 0;
}

uint32_t enum_operators(uint32_t index, uint32_t* out_operator) {
  return no_such_operator(6, kOperators, index, out_operator);
}

uint32_t capture(void* writer, trova_gdo* data, const trova_playlist_capture_callbacks* callbacks) {
  const char* text = nullptr;
  for (uint32_t i = 1; trova_manager_gdo_get_value(data, "note", i, &text) == 0; ++i) {
    (void)callbacks->set_string(writer, text);
  }
  return 0;
}

uint32_t set_string(void* context, uint32_t op, const char* literal) {
  auto* const self = static_cast<Comparison*>(context);
  self->op = op;
  std::strncpy(self->text, literal, sizeof self->text - 1);
  return 0;
}

uint32_t evaluate(void* context, const char* value, int32_t* out_score) {
  const auto* const self = static_cast<const Comparison*>(context);
  *out_score = holds(self->op, std::strcmp(value, self->text)) ? 1000 : 0;
  return 0;
}

uint32_t render(void*, const char* value, const char*, trova_locale*, const char** out_text) {
  *out_text = value;
  return 0;
}

constexpr trova_playlist_attribute_provider kProvider = {
    get_name, enum_operators, capture, create_comparison, set_string, nullptr, nullptr,
    evaluate, nullptr,        render,  delete_comparison};

}  // namespace note

}  // namespace

void fuzz_register_attributes() {
  FUZZ_REQUIRE(trova_playlist_register_attribute_provider(&rating::kProvider) == 0);
  FUZZ_REQUIRE(trova_playlist_register_attribute_provider(&note::kProvider) == 0);
}

// -- tracks ---------------------------------------------------------------------------------------

namespace {

struct Track {
  const char* artist;
  const char* album;
  const char* genre;
  const char* era;
  const char* origin;
  const char* artist_type;
  const char* moods;  // one name, or two for a profile
  const char* tempo;
  const char* rating;
  const char* note;
};

constexpr Track kTracks[] = {
    {"Miles Davis", "Kind of Blue", "Modal Jazz", "1959", "United States", "Male Solo Artist",
     "Peaceful", "136", "3", "live"},
    {"Miles Davis", "Milestones", "Hard Bop", "1958", "United States", "Male Solo Artist",
     "Restless|Energetic", "240", "2", "red"},
    {"Kraftwerk", "Autobahn", "Electronic", "1974", "Germany", "Male Group", "Peaceful|Dreamy",
     "83", "1", "blue"},
    {"Massive Attack", "Mezzanine", "Trip Hop", "1998", "England", "Mixed Group", "Brooding", "77",
     "0", "red"},
    {"Getz & Gilberto", "Getz/Gilberto", "Bossa Nova", "1964", "Brazil", "Male Duo",
     "Peaceful|Romantic", "120", "5", "blue"},
    {"H\xc3\xa9"
     "ctor Lavoe",
     "Comedia", "Salsa", "1978", "Puerto Rico", "Male Solo Artist", "Wistful|Dramatic", "92", "4",
     "LIVE"},
    {"Idir", "A vava inouva", "Berber Music", "1976", "Algeria", "Male Solo Artist", "Nostalgic",
     "92", "1500", "a long note that goes on"},
    {"Amanaz", "Africa", "Psychedelic Rock", "1975", "Zambia", "Male Group", "Melancholic|Dreamy",
     "84", "", "x"},
    {"Focus", "Moving Waves", "Progressive Rock", "1971", "Netherlands", "Male Group",
     "Playful|Energetic", "190", "7", ""},
    {"ABBA", "Arrival", "Disco", "1976", "Sweden", "Mixed Group", "Joyful", "100", "-3", "blue"},
    {"Aretha Franklin", "Lady Soul", "Soul", "1968", "United States", "Female Solo Artist",
     "Tender|Energetic", "118", "3", "red"},
    {"Bob Marley", "Exodus", "Reggae", "1977", "Jamaica", "Male Solo Artist", "Laid-Back", "76",
     "99", "red"},
    {"MILES DAVIS", "Kind Of Blue", "Cool Jazz", "1957", "United States", "Male Solo Artist",
     "Laid-Back|Graceful", "0", "3", "Live"},
    {"", "", "Jazz", "1970s", "Europe", "", "", "320", "", ""},
    {"x", "y", "", "", "", "", "", "", "2000000000", "z"},
};

void add_value(trova_gdo* object, const char* key, const std::string& text) {
  if (!text.empty()) FUZZ_REQUIRE(trova_manager_gdo_add_value(object, key, text.c_str()) == 0);
}

// The id of a name; a list that lacks it gives the first element's.
uint32_t id_of(const char* type, const std::string& name) {
  trova_list* list = nullptr;
  trova_manager_element element = {};
  FUZZ_REQUIRE(trova_manager_list_load(type, &list) == 0);
  if (trova_manager_list_find(list, name.c_str(), &element) != 0) {
    FUZZ_REQUIRE(trova_manager_list_get(list, 0, &element) == 0);
  }
  (void)trova_manager_list_release(list);
  return element.id;
}

void add_id(trova_gdo* object, const char* key, const char* type, const std::string& name) {
  if (!name.empty()) add_value(object, key, std::to_string(id_of(type, name)));
}

void add_moods(trova_gdo* object, const std::string& moods) {
  const size_t bar = moods.find('|');
  const std::string first = moods.substr(0, bar);
  add_id(object, TROVA_VAL_MOOD_ID, TROVA_LIST_MOODS, first);
  if (bar == std::string::npos) return;
  add_value(object, TROVA_VAL_MOOD_DATA,
            std::to_string(id_of(TROVA_LIST_MOODS, first)) + ":60," +
                std::to_string(id_of(TROVA_LIST_MOODS, moods.substr(bar + 1))) + ":40");
}

trova_gdo* new_object(const char* context) {
  trova_gdo* object = nullptr;
  FUZZ_REQUIRE(trova_manager_gdo_create(context, &object) == 0);
  return object;
}

void add_child(trova_gdo* object, const char* key, trova_gdo* child) {
  FUZZ_REQUIRE(trova_manager_gdo_add_child(object, key, child) == 0);
  (void)trova_manager_gdo_release(child);
}

trova_gdo* track_object(const Track& track) {
  trova_gdo* const object = new_object(TROVA_CTX_TRACK);
  add_value(object, TROVA_VAL_ARTIST, track.artist);
  add_id(object, TROVA_VAL_GENRE_ID, TROVA_LIST_GENRES, track.genre);
  add_id(object, TROVA_VAL_ERA_ID, TROVA_LIST_ERAS, track.era);
  add_id(object, TROVA_VAL_ORIGIN_ID, TROVA_LIST_ORIGINS, track.origin);
  add_id(object, TROVA_VAL_ARTIST_TYPE_ID, TROVA_LIST_ARTIST_TYPES, track.artist_type);
  add_moods(object, track.moods);
  add_value(object, TROVA_VAL_TEMPO, track.tempo);
  add_value(object, "rating", track.rating);
  add_value(object, "note", track.note);
  if (*track.album != '\0') {
    trova_gdo* const album = new_object(TROVA_CTX_ALBUM);
    add_value(album, TROVA_VAL_TITLE, track.album);
    add_child(object, TROVA_CHILD_ALBUM, album);
  }
  return object;
}

std::vector<trova_gdo*> make_objects() {
  std::vector<trova_gdo*> objects;
  for (const Track& track : kTracks) objects.push_back(track_object(track));
  trova_gdo* const album = new_object(TROVA_CTX_ALBUM);
  add_value(album, TROVA_VAL_TITLE, "Blue Train");
  add_value(album, TROVA_VAL_ARTIST, "John Coltrane");
  add_child(album, TROVA_CHILD_MATCHED_TRACK, track_object(kTracks[1]));
  objects.push_back(album);
  objects.push_back(new_object(TROVA_CTX_TRACK));
  objects.push_back(new_object("something else"));
  return objects;
}

std::string make_collection_bytes() {
  trova_playlist_collection* collection = nullptr;
  FUZZ_REQUIRE(trova_playlist_collection_create("tracks", &collection) == 0);
  const std::vector<trova_gdo*>& objects = fuzz_objects();
  for (size_t i = 0; i < objects.size() * 2; ++i) {
    // The second round gives some idents a second value, and others the values of the first.
    const std::string ident = "track " + std::to_string(i < objects.size() ? i : i * 5 % 40);
    const size_t object = i < objects.size() ? i : i * 7 % objects.size();
    FUZZ_REQUIRE(trova_playlist_collection_ident_add(collection, ident.c_str(), objects[object]) ==
                 0);
  }
  uint32_t size = 0;
  FUZZ_REQUIRE(trova_playlist_collection_serialize_size(collection, &size) == 0);
  std::string bytes(size, '\0');
  FUZZ_REQUIRE(trova_playlist_collection_serialize(collection, bytes.data(), &size) == 0);
  bytes.resize(size);
  (void)trova_playlist_collection_release(collection);
  return bytes;
}

}  // namespace

const std::vector<trova_gdo*>& fuzz_objects() {
  static const std::vector<trova_gdo*>& objects = *new std::vector<trova_gdo*>(make_objects());
  return objects;
}

const std::string& fuzz_collection_bytes() {
  static const std::string& bytes = *new std::string(make_collection_bytes());
  return bytes;
}

trova_playlist_collection* fuzz_collection_of(const std::string& bytes) {
  trova_playlist_collection* collection = nullptr;
  FUZZ_REQUIRE(trova_playlist_collection_deserialize(
                   bytes.data(), static_cast<uint32_t>(bytes.size()), &collection) == 0);
  return collection;
}

std::vector<std::string> fuzz_playlist(trova_playlist_results* results) {
  uint32_t count = 0;
  FUZZ_REQUIRE(trova_playlist_results_count(results, &count) == 0);
  std::vector<std::string> idents;
  const char* ident = nullptr;
  for (uint32_t i = 0; i < count; ++i) {
    FUZZ_REQUIRE(trova_playlist_results_enum(results, i, &ident) == 0);
    idents.emplace_back(ident);
  }
  FUZZ_REQUIRE(trova_playlist_results_enum(results, count, &ident) == PLERR_EndOfAttributes);
  return idents;
}
