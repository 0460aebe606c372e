// CollectionBuilder: puts tracks into a collection of the playlist library.
#ifndef TROVA_CLI_COLLECTION_BUILDER_H
#define TROVA_CLI_COLLECTION_BUILDER_H

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

#include "console.h"
#include "handles.h"
#include "name_mapper.h"
#include "track_store.h"

namespace trova_cli {

// The data object that describes a track. Of several genres it carries the first.
DataObject DescribeTrack(const TrackView& track);
// The artist that it carries; "" for none.
const char* DescribedArtist(const TrackView& track);
// The weights of its moods: they share 100 alike, and what is left over goes to the first. Beyond
// 100 moods nothing is left to give, and the rest are not carried.
std::vector<std::size_t> MoodWeights(std::size_t count);

class CollectionBuilder {
 public:
  // The three outlive the builder.
  CollectionBuilder(trova_playlist_collection* collection, NameMapper& mapper, TrackStore& tracks)
      : collection_(collection), mapper_(mapper), tracks_(tracks) {}

  // A track whose ident came before adds its genres to the first; nothing else of it is taken.
  // Throws CommandError when the library or the manager fails.
  void Add(const Track& track);

  // Says how many tracks the collection left out, because they carry nothing that an attribute
  // reads.
  void ReportLeftOut(Console& console) const;

 private:
  void AddGenres(std::uint32_t index, std::span<const std::uint32_t> genres);
  void AddData(std::uint32_t index, const DataObject& data);

  trova_playlist_collection* collection_;
  NameMapper& mapper_;
  TrackStore& tracks_;
};

}  // namespace trova_cli

#endif
