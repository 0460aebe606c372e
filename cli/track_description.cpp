// Track description: values under the manager's keys.
#include "track_description.h"

#include <fmt/format.h>

#include <algorithm>
#include <iterator>
#include <string>

namespace trova_cli {
namespace {

constexpr std::size_t kWholeWeight = 100;

void AddText(const DataObject& object, const char* key, const char* text) {
  if (*text == '\0') return;
  Check(trova_manager_gdo_add_value(object.get(), key, text), "fill a data object");
}

void AddNumber(const DataObject& object, const char* key, std::uint32_t number) {
  if (number == 0) return;
  Check(trova_manager_gdo_add_number(object.get(), key, number), "fill a data object");
}

void AddAlbums(const DataObject& object, const TrackView& track) {
  const char* artist = *track.album_artist == '\0' ? track.artist : track.album_artist;
  for (const char* title : track.albums) {
    const DataObject album = MakeDataObject(TROVA_CTX_ALBUM);
    AddText(album, TROVA_VAL_TITLE, title);
    AddText(album, TROVA_VAL_ARTIST, artist);
    Check(trova_manager_gdo_add_child(object.get(), TROVA_CHILD_ALBUM, album.get()),
          "fill a data object");
  }
}

// "id:weight,id:weight"
std::string MoodProfile(std::span<const std::uint32_t> moods) {
  const std::vector<std::size_t> weights = MoodWeights(moods.size());
  std::string profile;
  for (std::size_t i = 0; i < weights.size(); ++i) {
    fmt::format_to(std::back_inserter(profile), "{}{}:{}", i > 0 ? "," : "", moods[i], weights[i]);
  }
  return profile;
}

void AddData(trova_playlist_collection* collection, const char* ident, const DataObject& data) {
  Check(trova_playlist_collection_ident_add(collection, ident, data.get()), "add a track");
}

}  // namespace

const char* DescribedArtist(const TrackView& track) {
  return *track.artist == '\0' ? track.album_artist : track.artist;
}

std::vector<std::size_t> MoodWeights(std::size_t count) {
  if (count == 0) return {};
  count = std::min(count, kWholeWeight);
  std::vector<std::size_t> weights(count, kWholeWeight / count);
  weights.front() += kWholeWeight % count;
  return weights;
}

DataObject DescribeTrack(const TrackView& track) {
  DataObject object = MakeDataObject(TROVA_CTX_TRACK);
  AddText(object, TROVA_VAL_TITLE, track.title);
  AddText(object, TROVA_VAL_ARTIST, DescribedArtist(track));
  AddAlbums(object, track);
  AddNumber(object, TROVA_VAL_ERA_ID, track.era);
  AddNumber(object, TROVA_VAL_ORIGIN_ID, track.origin);
  AddNumber(object, TROVA_VAL_ARTIST_TYPE_ID, track.artist_type);
  AddNumber(object, TROVA_VAL_TEMPO, track.bpm);
  if (!track.genres.empty()) AddNumber(object, TROVA_VAL_GENRE_ID, track.genres.front());
  if (!track.moods.empty()) {
    AddNumber(object, TROVA_VAL_MOOD_ID, track.moods.front());
    AddText(object, TROVA_VAL_MOOD_DATA, MoodProfile(track.moods).c_str());
  }
  return object;
}

void CaptureTrack(trova_playlist_collection* collection, const char* ident,
                  const TrackView& track) {
  AddData(collection, ident, DescribeTrack(track));
  if (track.genres.size() > 1) CaptureGenres(collection, ident, track.genres.subspan(1));
}

// An attribute reads one genre per data object; the library gathers what it reads under an ident.
void CaptureGenres(trova_playlist_collection* collection, const char* ident,
                   std::span<const std::uint32_t> genres) {
  for (const std::uint32_t id : genres) {
    const DataObject genre = MakeDataObject(TROVA_CTX_TRACK);
    AddNumber(genre, TROVA_VAL_GENRE_ID, id);
    AddData(collection, ident, genre);
  }
}

}  // namespace trova_cli
