// JSON and JSPF: one object per track, written as they come. Bytes that are no UTF-8 become U+FFFD;
// the location, which is percent-encoded, has them all.
#include <fmt/format.h>

#include <nlohmann/json.hpp>

#include "writers.h"

namespace trova_cli {
namespace {

using nlohmann::ordered_json;

constexpr std::uint32_t kMillisecondsPerSecond = 1000;

void Put(ordered_json& object, const char* key, std::string text) {
  if (!text.empty()) object[key] = std::move(text);
}

void Put(ordered_json& object, const char* key, std::uint32_t number) {
  if (number != 0) object[key] = number;
}

void Put(ordered_json& object, const char* key, std::vector<std::string> texts) {
  if (!texts.empty()) object[key] = std::move(texts);
}

ordered_json JsonTrack(Playlist& playlist, const TrackView& track) {
  ordered_json object;
  Put(object, "ident", track.ident);
  if (*track.path != '\0') Put(object, "path", playlist.PathOf(track));
  Put(object, "location", playlist.UriOf(track));
  Put(object, "title", track.title);
  Put(object, "artist", track.artist);
  Put(object, "album", std::vector<std::string>(track.albums.begin(), track.albums.end()));
  Put(object, "album_artist", track.album_artist);
  Put(object, "year", track.year);
  Put(object, "genre", playlist.NamesOf(ListKind::kGenres, track.genres));
  Put(object, "origin", playlist.NameOf(ListKind::kOrigins, track.origin));
  Put(object, "artist_type", playlist.NameOf(ListKind::kArtistTypes, track.artist_type));
  Put(object, "bpm", track.bpm);
  Put(object, "mood", playlist.NamesOf(ListKind::kMoods, track.moods));
  Put(object, "duration", track.seconds);
  return object;
}

ordered_json JspfTrack(Playlist& playlist, const TrackView& track) {
  ordered_json object = ordered_json::object();
  const std::string uri = playlist.UriOf(track);
  if (!uri.empty()) object["location"] = {uri};
  Put(object, "title", track.title);
  Put(object, "creator", track.artist);
  if (!track.albums.empty()) Put(object, "album", track.albums.front());
  Put(object, "duration", track.seconds * kMillisecondsPerSecond);
  return object;
}

using MakeTrack = ordered_json (*)(Playlist&, const TrackView&);

void WriteArray(Playlist& playlist, Output& output, MakeTrack make) {
  output.Write("[");
  for (std::size_t i = 0; i < playlist.size(); ++i) {
    output.Write(i == 0 ? "\n" : ",\n");
    const ordered_json object = make(playlist, playlist.At(i));
    output.Write(object.dump(-1, ' ', false, ordered_json::error_handler_t::replace));
  }
  output.Write("\n]");
}

}  // namespace

void WriteJson(Playlist& playlist, Output& output) {
  WriteArray(playlist, output, JsonTrack);
  output.Write("\n");
}

void WriteJspf(Playlist& playlist, Output& output) {
  output.Write("{\"playlist\": {\"track\": ");
  WriteArray(playlist, output, JspfTrack);
  output.Write("}}\n");
}

}  // namespace trova_cli
