// CollectionBuilder: tracks by index, so that no two meet under one hash.
#include "collection_builder.h"

#include <optional>

#include "error.h"
#include "library_ident.h"
#include "track_description.h"

namespace trova_cli {

void CollectionBuilder::Add(const Track& track) {
  const TrackIds ids = mapper_.Map(track);
  if (const std::optional<std::uint32_t> known = tracks_.Find(track.ident)) {
    const auto added = tracks_.AddGenres(*known, ids.genres);
    return CaptureGenres(collection_, IdentOfIndex(*known).data(), added);
  }
  if (tracks_.size() == kMaxTracks) throw CommandError("the library has too many tracks");
  const std::uint32_t index = tracks_.Add(track, ids);
  CaptureTrack(collection_, IdentOfIndex(index).data(), tracks_.Get(index));
}

std::size_t CollectionBuilder::left_out() const {
  std::uint32_t count = 0;
  Check(trova_playlist_collection_ident_count(collection_, &count), "count the tracks");
  return tracks_.size() - count;
}

}  // namespace trova_cli
