// KnownTracks: one pool of texts, two ways into it.
#include "known_tracks.h"

#include "handles.h"
#include "track_ident.h"

namespace trova_cli {
void KnownTracks::Load(Catalogue& catalogue, std::int64_t collection) {
  catalogue.ForEachFile(collection, [&](const std::string& ident, const std::string& path,
                                        TrackState state, const FileStamp& stamp) {
    KnownTrack& track = tracks_[Add(ident, path)];
    track.state = state;
    track.stamp = stamp;
    track.in_catalogue = true;
  });
}

void KnownTracks::Compare(trova_playlist_collection* collection) {
  std::uint32_t count = 0;
  Check(trova_playlist_collection_ident_count(collection, &count), "count the tracks");
  for (std::uint32_t i = 0; i < count; ++i) {
    const char* ident = nullptr;
    Check(trova_playlist_collection_ident_enum(collection, i, &ident), "list the tracks");
    if (*ident == '\0') continue;  // one that was removed
    const std::optional<std::uint32_t> known = FindIdent(ident);
    const std::uint32_t index = known ? *known : Add(ident, std::string(NameOfVariant(ident)));
    tracks_[index].in_collection = true;
  }
}

std::optional<std::uint32_t> KnownTracks::FindPath(std::string_view path) const {
  const std::optional<std::uint32_t> text = texts_.Find(path);
  if (!text || *text >= by_path_.size() || by_path_[*text] == 0) return std::nullopt;
  return by_path_[*text] - 1;
}

std::optional<std::uint32_t> KnownTracks::FindIdent(std::string_view ident) const {
  const std::optional<std::uint32_t> text = texts_.Find(ident);
  if (!text || *text >= by_ident_.size() || by_ident_[*text] == 0) return std::nullopt;
  return by_ident_[*text] - 1;
}

std::uint32_t KnownTracks::AddFile(const std::string& path) {
  return Add(path, path);
}

// An ident that this scan removed comes back when it is added. Any other that the collection knows
// is another track's.
void KnownTracks::ClaimIdent(std::uint32_t index, trova_playlist_collection* collection) {
  const KnownTrack& track = tracks_[index];
  if (track.in_collection || track.taken_out) return;
  std::string ident = Ident(index);
  const std::string name(NameOfVariant(ident));
  for (int number = 2; IdentExists(collection, ident.c_str()) || FindIdent(ident) != index;
       ++number) {
    ident = IdentVariant(name, number);
    if (!FindIdent(ident)) SetIdent(index, ident);
  }
}

std::uint32_t KnownTracks::Add(const std::string& ident, const std::string& path) {
  const std::uint32_t index = size();
  const std::uint32_t number = texts_.Intern(ident);
  tracks_.push_back(
      {.ident = number, .path = texts_.Intern(path), .row_ident = number, .stamp = {}});
  Note(by_ident_, tracks_[index].ident, index);
  Note(by_path_, tracks_[index].path, index);
  return index;
}

void KnownTracks::SetIdent(std::uint32_t index, const std::string& ident) {
  tracks_[index].ident = texts_.Intern(ident);
  Note(by_ident_, tracks_[index].ident, index);
}

// The first track of a text keeps it.
void KnownTracks::Note(std::vector<std::uint32_t>& places, std::uint32_t text,
                       std::uint32_t index) {
  if (places.size() <= text) places.resize(text + 1);
  if (places[text] == 0) places[text] = index + 1;
}

}  // namespace trova_cli
