// CSV: the columns that a library table has, so that a playlist can be read as a library again.
#include <fmt/format.h>

#include <array>

#include "writers.h"

namespace trova_cli {
namespace {

constexpr std::string_view kHeader =
    "ident,path,title,artist,album,album_artist,year,genre,origin,artist_type,bpm,mood,"
    "duration\r\n";
constexpr std::string_view kLineEnd = "\r\n";
constexpr std::string_view kSeveral = "; ";  // between the genres or moods of one track

std::string Quoted(std::string_view text) {
  const bool blank_edge = text.starts_with(' ') || text.ends_with(' ');
  if (text.find_first_of(",\"\r\n") == std::string_view::npos && !blank_edge) {
    return std::string(text);
  }
  std::string quoted = "\"";
  for (const char c : text) {
    if (c == '"') quoted += '"';
    quoted += c;
  }
  return quoted + '"';
}

std::string Number(std::uint32_t number) {
  return number == 0 ? "" : fmt::to_string(number);
}

}  // namespace

void WriteCsv(Playlist& playlist, Output& output) {
  output.Write(kHeader);
  for (std::size_t i = 0; i < playlist.size(); ++i) {
    const TrackView track = playlist.At(i);
    const std::array<std::string, 13> fields = {
        track.ident,
        *track.path == '\0' ? "" : playlist.PathOf(track),
        track.title,
        track.artist,
        track.albums.empty() ? "" : track.albums.front(),
        track.album_artist,
        Number(track.year),
        Join(playlist.NamesOf(ListKind::kGenres, track.genres), kSeveral),
        playlist.NameOf(ListKind::kOrigins, track.origin),
        playlist.NameOf(ListKind::kArtistTypes, track.artist_type),
        Number(track.bpm),
        Join(playlist.NamesOf(ListKind::kMoods, track.moods), kSeveral),
        Number(track.seconds),
    };
    for (std::size_t j = 0; j < fields.size(); ++j) {
      if (j > 0) output.Write(",");
      output.Write(Quoted(fields[j]));
    }
    output.Write(kLineEnd);
  }
}

}  // namespace trova_cli
