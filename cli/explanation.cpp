// Explanation: the collection says which attributes there are, the track store what they hold.
#include "explanation.h"

#include <fmt/format.h>

#include <optional>
#include <string_view>
#include <vector>

#include "text.h"
#include "track_description.h"

namespace trova_cli {
namespace {

constexpr std::string_view kAlbumName = "qx_albumname";
constexpr std::string_view kArtistName = "qx_artistname";
constexpr std::string_view kNothing = "-";
constexpr std::string_view kSeparator = ", ";

// An id as a list of ids, without the 0 that stands for "not known".
std::span<const std::uint32_t> ListOf(const std::uint32_t& id) {
  return {&id, id == 0 ? 0u : 1u};
}

std::span<const std::uint32_t> IdsOf(ListKind kind, const TrackView& track) {
  switch (kind) {
    case ListKind::kArtistTypes:
      return ListOf(track.artist_type);
    case ListKind::kEras:
      return ListOf(track.era);
    case ListKind::kGenres:
      return track.genres;
    case ListKind::kMoods:
      return track.moods;
    case ListKind::kOrigins:
      return ListOf(track.origin);
    case ListKind::kTempos:
      break;
  }
  return {};
}

std::string TitleLine(const std::string& rank, const TrackView& track) {
  return Printable(fmt::format("{}  {} - {}  [{}]", rank, track.artist, track.title, track.ident));
}

}  // namespace

void Explanation::Write(Playlist& picks, Output& output) {
  if (picks.size() == 0) return;
  WriteTrack("seed", seed_, output);
  for (std::size_t i = 0; i < picks.size(); ++i) {
    output.Write("\n");
    WriteTrack(fmt::to_string(i + 1), picks.At(i), output);
  }
}

void Explanation::WriteTrack(const std::string& rank, const TrackView& track, Output& output) {
  output.Write(TitleLine(rank, track) + '\n');
  std::uint32_t count = 0;
  Check(trova_playlist_collection_attributes_count(collection_, &count), "count the attributes");
  for (std::uint32_t i = 0; i < count; ++i) {
    const char* attribute = nullptr;
    Check(trova_playlist_collection_attributes_enum(collection_, i, &attribute),
          "read the attributes");
    const std::string held = Held(attribute, track);
    output.Write(fmt::format("      {:<15}{}\n", attribute, held.empty() ? kNothing : held));
  }
}

// What the command gave the collection for an attribute; nothing for one that it gives nothing.
std::string Explanation::Held(const char* attribute, const TrackView& track) {
  if (const auto kind = ListOfAttribute(attribute)) return HeldInList(*kind, track);
  if (EqualIgnoringCase(attribute, kArtistName)) return Printable(DescribedArtist(track));
  if (!EqualIgnoringCase(attribute, kAlbumName)) return {};
  return Printable(Join({track.albums.begin(), track.albums.end()}, kSeparator));
}

std::string Explanation::HeldInList(ListKind kind, const TrackView& track) {
  if (kind == ListKind::kMoods) return WeighedMoods(track.moods);
  if (kind == ListKind::kTempos) return track.bpm == 0 ? "" : fmt::format("{} bpm", track.bpm);
  return Compared(kind, IdsOf(kind, track), IdsOf(kind, seed_));
}

std::string Explanation::Compared(ListKind kind, std::span<const std::uint32_t> ids,
                                  std::span<const std::uint32_t> seed_ids) {
  std::vector<std::string> values;
  for (const std::uint32_t id : ids) {
    values.push_back(NameOf(kind, id));
    if (seed_ids.empty()) continue;
    values.back() += fmt::format(" ({})", lists_.Likeness(kind, id, seed_ids.front()));
  }
  return Join(values, kSeparator);
}

std::string Explanation::WeighedMoods(std::span<const std::uint32_t> moods) {
  const std::vector<std::size_t> weights = MoodWeights(moods.size());
  std::vector<std::string> values;
  for (std::size_t i = 0; i < weights.size(); ++i) {
    values.push_back(fmt::format("{} {} %", NameOf(ListKind::kMoods, moods[i]), weights[i]));
  }
  return Join(values, kSeparator);
}

std::string Explanation::NameOf(ListKind kind, std::uint32_t id) {
  const std::optional<Element> element = lists_.ById(kind, id);
  return element ? element->name : fmt::to_string(id);
}

}  // namespace trova_cli
