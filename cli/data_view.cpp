// Data view: texts under the manager's keys, numbers among them in decimal.
#include "data_view.h"

#include <charconv>
#include <filesystem>
#include <string_view>

namespace trova_cli {
namespace {

std::uint32_t LeadingNumber(std::string_view text) {
  std::uint32_t number = 0;
  std::from_chars(text.data(), text.data() + text.size(), number);
  return number;
}

std::uint32_t ReadNumber(const DataObject& view, const char* key) {
  return LeadingNumber(ReadView(view, key).value_or(""));
}

// "id:weight,id:weight"
std::vector<std::uint32_t> MoodsOf(std::string_view profile) {
  std::vector<std::uint32_t> moods;
  for (std::size_t at = 0; at < profile.size();) {
    moods.push_back(LeadingNumber(profile.substr(at)));
    const std::size_t comma = profile.find(',', at);
    at = comma == std::string_view::npos ? profile.size() : comma + 1;
  }
  return moods;
}

}  // namespace

DataObject ViewIdent(trova_playlist_collection* collection, const std::string& ident) {
  trova_gdo* view = nullptr;
  Check(trova_playlist_collection_ident_get_gdo(collection, ident.c_str(), &view),
        "look up a track");
  return DataObject(view);
}

std::optional<std::string> ReadView(const DataObject& view, const char* key) {
  if (!view) return std::nullopt;
  std::uint32_t count = 0;
  Check(trova_manager_gdo_value_count(view.get(), key, &count), "read a track");
  if (count == 0) return std::nullopt;
  const char* text = nullptr;
  Check(trova_manager_gdo_get_value(view.get(), key, 1, &text), "read a track");
  if (text == nullptr) return std::nullopt;
  return text;
}

CatalogueRow TrackOfView(trova_playlist_collection* collection, const std::string& ident) {
  const DataObject view = ViewIdent(collection, ident);
  CatalogueRow row;
  row.ident = ident;
  row.track.ident = ident;
  const bool is_path = ident.starts_with('/');
  if (is_path) row.track.path = ident;
  row.track.title = is_path ? std::filesystem::path(ident).stem().native() : ident;
  row.track.artist = ReadView(view, TROVA_VAL_ARTIST).value_or("");
  if (auto album = ReadView(view, TROVA_VAL_TITLE)) row.track.albums.push_back(*album);
  row.track.bpm = ReadNumber(view, TROVA_VAL_TEMPO);
  const std::uint32_t genre = ReadNumber(view, TROVA_VAL_GENRE_ID);
  if (genre != 0) row.ids.genres.push_back(genre);
  row.ids.moods = MoodsOf(ReadView(view, TROVA_VAL_MOOD_DATA).value_or(""));
  row.ids.era = ReadNumber(view, TROVA_VAL_ERA_ID);
  row.ids.origin = ReadNumber(view, TROVA_VAL_ORIGIN_ID);
  row.ids.artist_type = ReadNumber(view, TROVA_VAL_ARTIST_TYPE_ID);
  return row;
}

}  // namespace trova_cli
