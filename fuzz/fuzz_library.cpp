// fuzz_library: a manager, tracks and failing allocations for fuzzers.
#include "fuzz_library.h"

#include <cstdlib>
#include <cstring>
#include <fstream>
#include <sstream>

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

// The n-th operator, of the first `count`.
uint32_t operator_at(uint32_t index, uint32_t count, uint32_t* out_operator) {
  if (index >= count) return PLERR_NotFound;
  *out_operator = index < 6 ? TROVA_PLAYLIST_OP_EQUAL + index : TROVA_PLAYLIST_OP_LIKE;
  return 0;
}

bool holds(uint32_t op, int order) {
  const bool answers[] = {order == 0, order != 0, order > 0, order >= 0, order < 0, order <= 0};
  return answers[op - TROVA_PLAYLIST_OP_EQUAL];
}

uint32_t read_rating(trova_gdo* data, int32_t* out_number) {
  const char* text = nullptr;
  const uint32_t code = trova_manager_gdo_get_value(data, "rating", 1, &text);
  if (code == 0) *out_number = std::atoi(text);
  return code;
}

// Odd numbers come with a warning, large ones fail.
uint32_t evaluate_rating(void* context, uint32_t value, int32_t* out_score) {
  const auto* const self = static_cast<const Comparison*>(context);
  const auto number = static_cast<int32_t>(value);
  if (number > 1000 && number < 2000) return PLERR_InvalidData;
  if (self->op == TROVA_PLAYLIST_OP_LIKE) {
    *out_score = 1000 - 250 * std::abs(number % 100 - self->number % 100);
  } else {
    *out_score = holds(self->op, (number > self->number) - (number < self->number)) ? 1000 : 0;
  }
  return number % 2 == 0 ? 0 : PLERR_NotFound;
}

constexpr trova_playlist_attribute_provider kRating = {
    .get_name = [](const char** out) -> uint32_t { return *out = "QX_Rating", 0; },
    .enum_operators = [](uint32_t n, uint32_t* out) { return operator_at(n, 7, out); },
    .capture =
        [](void* writer, trova_gdo* data, const trova_playlist_capture_callbacks* to) {
          int32_t number = 0;
          const uint32_t code = read_rating(data, &number);
          return code != 0 ? code : to->set_integer(writer, static_cast<uint32_t>(number));
        },
    .create_context = create_comparison,
    .set_value_from_string = [](void* context, uint32_t op, const char* literal) -> uint32_t {
      *static_cast<Comparison*>(context) = {op, std::atoi(literal), ""};
      return *literal == 'x' ? PLERR_InvalidData : 0;
    },
    .set_value_from_seed = [](void* context, uint32_t op, trova_gdo* seed) -> uint32_t {
      auto* const self = static_cast<Comparison*>(context);
      self->op = op;
      return read_rating(seed, &self->number) == 0 ? 0 : TROVA_PLAYLIST_NO_VALUE;
    },
    .evaluate_integer = evaluate_rating,
    .evaluate_string = nullptr,
    .render_integer = [](void*, uint32_t value, const char*, trova_locale*,
                         const char** out) -> uint32_t {
      static const char* const kTexts[] = {"none", "one", "two", "three"};
      return value < 4 ? (*out = kTexts[value], 0) : PLERR_NotFound;
    },
    .render_string = nullptr,
    .delete_context = delete_comparison,
};

constexpr trova_playlist_attribute_provider kNote = {
    .get_name = [](const char** out) -> uint32_t { return *out = "QX_Note", 0; },
    .enum_operators = [](uint32_t n, uint32_t* out) { return operator_at(n, 6, out); },
    .capture = [](void* writer, trova_gdo* data,
                  const trova_playlist_capture_callbacks* to) -> uint32_t {
      const char* text = nullptr;
      for (uint32_t i = 1; trova_manager_gdo_get_value(data, "note", i, &text) == 0; ++i) {
        (void)to->set_string(writer, text);
      }
      return 0;
    },
    .create_context = create_comparison,
    .set_value_from_string = [](void* context, uint32_t op, const char* literal) -> uint32_t {
      auto* const self = static_cast<Comparison*>(context);
      self->op = op;
      std::strncpy(self->text, literal, sizeof self->text - 1);
      return 0;
    },
    .set_value_from_seed = nullptr,
    .evaluate_integer = nullptr,
    .evaluate_string = [](void* context, const char* value, int32_t* out_score) -> uint32_t {
      const auto* const self = static_cast<const Comparison*>(context);
      *out_score = holds(self->op, std::strcmp(value, self->text)) ? 1000 : 0;
      return 0;
    },
    .render_integer = nullptr,
    .render_string = [](void*, const char* value, const char*, trova_locale*,
                        const char** out) -> uint32_t { return *out = value, 0; },
    .delete_context = delete_comparison,
};

}  // namespace

void fuzz_register_attributes() {
  FUZZ_REQUIRE(trova_playlist_register_attribute_provider(&kRating) == 0);
  FUZZ_REQUIRE(trova_playlist_register_attribute_provider(&kNote) == 0);
}

// -- tracks ---------------------------------------------------------------------------------------

namespace {

// The tracks of tracks.txt, by column.
using Track = std::vector<std::string>;

std::vector<Track> read_tracks() {
  std::vector<Track> tracks;
  std::ifstream lines(FUZZ_TRACKS);
  for (std::string line; std::getline(lines, line);) {
    if (line.starts_with('#')) continue;
    Track track(10);
    std::istringstream columns(line);
    for (std::string& column : track) std::getline(columns, column, '\t');
    tracks.push_back(track);
  }
  FUZZ_REQUIRE(!tracks.empty());
  return tracks;
}

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
  add_value(object, TROVA_VAL_ARTIST, track[0]);
  add_id(object, TROVA_VAL_GENRE_ID, TROVA_LIST_GENRES, track[2]);
  add_id(object, TROVA_VAL_ERA_ID, TROVA_LIST_ERAS, track[3]);
  add_id(object, TROVA_VAL_ORIGIN_ID, TROVA_LIST_ORIGINS, track[4]);
  add_id(object, TROVA_VAL_ARTIST_TYPE_ID, TROVA_LIST_ARTIST_TYPES, track[5]);
  add_moods(object, track[6]);
  add_value(object, TROVA_VAL_TEMPO, track[7]);
  add_value(object, "rating", track[8]);
  add_value(object, "note", track[9]);
  if (!track[1].empty()) {
    trova_gdo* const album = new_object(TROVA_CTX_ALBUM);
    add_value(album, TROVA_VAL_TITLE, track[1]);
    add_child(object, TROVA_CHILD_ALBUM, album);
  }
  return object;
}

std::vector<trova_gdo*> make_objects() {
  std::vector<trova_gdo*> objects;
  const std::vector<Track> tracks = read_tracks();
  for (const Track& track : tracks) objects.push_back(track_object(track));
  trova_gdo* const album = new_object(TROVA_CTX_ALBUM);
  add_value(album, TROVA_VAL_TITLE, "Blue Train");
  add_value(album, TROVA_VAL_ARTIST, "John Coltrane");
  add_child(album, TROVA_CHILD_MATCHED_TRACK, track_object(tracks[1]));
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
