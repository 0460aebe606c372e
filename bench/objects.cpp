#include "objects.h"

namespace bench {

std::string profile(const Library& library, const Track& track) {
  std::string text;
  for (int k = 0; k < kMoods; ++k) {
    if (k > 0) text += ',';
    text +=
        std::to_string(library.moods.ids[track.moods[k]]) + ':' + std::to_string(track.weights[k]);
  }
  return text;
}

trova_gdo* describe(const Library& library, uint32_t number) {
  const Track& track = library.track(number);
  trova_gdo* gdo = nullptr;
  require(trova_manager_gdo_create(TROVA_CTX_TRACK, &gdo), "data object");
  const auto add_number = [gdo](const char* key, uint32_t value) {
    if (value != 0) require(trova_manager_gdo_add_number(gdo, key, value), key);
  };
  const auto add_text = [gdo](const char* key, const std::string& text) {
    require(trova_manager_gdo_add_value(gdo, key, text.c_str()), key);
  };
  add_number(TROVA_VAL_GENRE_ID, library.genres.ids[track.genre]);
  add_number(TROVA_VAL_ERA_ID, track.year == 0 ? 0 : kYearIds + track.year);
  add_number(TROVA_VAL_ORIGIN_ID, library.origins.ids[track.origin]);
  add_number(TROVA_VAL_ARTIST_TYPE_ID, library.artist_types.ids[track.artist_type]);
  add_number(TROVA_VAL_TEMPO, track.tempo);
  if (track.artist != 0) add_text(TROVA_VAL_ARTIST, library.artist(track.artist));
  if (track.moods[0] != 0) add_text(TROVA_VAL_MOOD_DATA, profile(library, track));
  return gdo;
}

DataObjects::DataObjects(const Library& library, uint32_t first, uint32_t last) : first_(first) {
  objects_.reserve(last - first);
  for (uint32_t number = first; number < last; ++number) {
    objects_.push_back(describe(library, number));
  }
}

DataObjects::~DataObjects() {
  for (trova_gdo* const object : objects_) trova_manager_gdo_release(object);
}

}  // namespace bench
