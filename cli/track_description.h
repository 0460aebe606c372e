// What the playlist library is told of a track.
#ifndef TROVA_CLI_TRACK_DESCRIPTION_H
#define TROVA_CLI_TRACK_DESCRIPTION_H

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

#include "handles.h"
#include "track_store.h"

namespace trova_cli {

// The data object that describes a track. Of several genres it carries the first.
DataObject DescribeTrack(const TrackView& track);
// The artist that it carries; "" for none.
const char* DescribedArtist(const TrackView& track);
// The weights of its moods: they share 100 alike, and what is left over goes to the first. Beyond
// 100 moods nothing is left to give, and the rest are not carried.
std::vector<std::size_t> MoodWeights(std::size_t count);

// Files everything that the attributes read of a track, all its genres among it, under an ident.
// Both throw CommandError when the library or the manager fails.
void CaptureTrack(trova_playlist_collection* collection, const char* ident, const TrackView& track);
void CaptureGenres(trova_playlist_collection* collection, const char* ident,
                   std::span<const std::uint32_t> genres);

}  // namespace trova_cli

#endif
