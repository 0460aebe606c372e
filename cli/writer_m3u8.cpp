// M3U8 and plain lists of paths: forms in which a line is a record.
#include <fmt/format.h>

#include "text.h"
#include "writers.h"

namespace trova_cli {
namespace {

constexpr int kUnknownDuration = -1;

bool BreaksLines(std::string_view path) {
  return path.find_first_of("\r\n") != std::string_view::npos;
}

// A line of its own for each file. No path can hold a line break here, but a URI can spell it.
std::string LineOf(Playlist& playlist, const TrackView& track) {
  const std::string path = playlist.PathOf(track);
  if (!BreaksLines(path)) return path;
  const std::string uri = playlist.UriOf(track);
  return uri.empty() ? Printable(path) : uri;
}

std::string Caption(const TrackView& track) {
  const std::string title = Printable(track.title);
  return *track.artist == '\0' ? title : fmt::format("{} - {}", Printable(track.artist), title);
}

}  // namespace

void WriteM3u8(Playlist& playlist, Output& output) {
  output.Write("#EXTM3U\n");
  for (std::size_t i = 0; i < playlist.size(); ++i) {
    const TrackView track = playlist.At(i);
    const int seconds = track.seconds == 0 ? kUnknownDuration : static_cast<int>(track.seconds);
    const std::string line = LineOf(playlist, track);
    output.Write(fmt::format("#EXTINF:{},{}\n", seconds, Caption(track)));
    // A line that begins with "#" is a comment.
    output.Write(fmt::format("{}{}\n", line.starts_with('#') ? "./" : "", line));
  }
}

void WritePaths(Playlist& playlist, Output& output) {
  for (std::size_t i = 0; i < playlist.size(); ++i) {
    output.Write(LineOf(playlist, playlist.At(i)) + '\n');
  }
}

void WritePathsZero(Playlist& playlist, Output& output) {
  for (std::size_t i = 0; i < playlist.size(); ++i) {
    output.Write(playlist.PathOf(playlist.At(i)) + '\0');
  }
}

}  // namespace trova_cli
