// Playlist: looks up what writers ask for.
#include "playlist.h"

namespace trova_cli {

std::string Playlist::PathOf(const TrackView& track) {
  return *track.path == '\0' ? track.ident : locations_.Path(track.path);
}

std::string Playlist::UriOf(const TrackView& track) {
  return *track.path == '\0' ? std::string() : locations_.Uri(track.path);
}

std::string Playlist::NameOf(ListKind kind, std::uint32_t id) {
  if (id == 0) return {};
  const std::optional<Element> element = lists_.ById(kind, id);
  return element ? element->name : "";
}

std::vector<std::string> Playlist::NamesOf(ListKind kind, std::span<const std::uint32_t> ids) {
  std::vector<std::string> names;
  for (const std::uint32_t id : ids) names.push_back(NameOf(kind, id));
  return names;
}

std::string Join(const std::vector<std::string>& texts, std::string_view separator) {
  std::string joined;
  for (const std::string& text : texts) {
    if (!joined.empty()) joined += separator;
    joined += text;
  }
  return joined;
}

}  // namespace trova_cli
