// Explanation: why a playlist of what is like a track is what it is.
#ifndef TROVA_CLI_EXPLANATION_H
#define TROVA_CLI_EXPLANATION_H

#include <cstdint>
#include <span>
#include <string>

#include "handles.h"
#include "name_lists.h"
#include "output.h"
#include "playlist.h"
#include "track_store.h"

namespace trova_cli {

class Explanation {
 public:
  // @param collection, lists  outlive the explanation
  // @param seed               what the tracks are compared with
  Explanation(trova_playlist_collection* collection, NameLists& lists, TrackView seed)
      : collection_(collection), lists_(lists), seed_(std::move(seed)) {}

  // The seed and each pick, with a line for every attribute of the collection. Nothing for an empty
  // playlist.
  void Write(Playlist& picks, Output& output);

 private:
  void WriteTrack(const std::string& rank, const TrackView& track, Output& output);
  std::string Held(const char* attribute, const TrackView& track);
  std::string HeldInList(ListKind kind, const TrackView& track);
  // "Cool Jazz (900), Bebop (780)": with the likeness to the seed's first value, where both exist.
  std::string Compared(ListKind kind, std::span<const std::uint32_t> ids,
                       std::span<const std::uint32_t> seed_ids);
  // "Wistful 50 %, Calm 50 %"
  std::string WeighedMoods(std::span<const std::uint32_t> moods);
  std::string NameOf(ListKind kind, std::uint32_t id);

  trova_playlist_collection* collection_;
  NameLists& lists_;
  TrackView seed_;
};

}  // namespace trova_cli

#endif
