// Playlist: what a run gave, ready to be written in any form.
#ifndef TROVA_CLI_PLAYLIST_H
#define TROVA_CLI_PLAYLIST_H

#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "locations.h"
#include "name_lists.h"
#include "output.h"
#include "track_store.h"

namespace trova_cli {

class Playlist {
 public:
  // @param tracks, lists  outlive the playlist
  // @param order          indexes of tracks, best first
  Playlist(const TrackStore& tracks, NameLists& lists, std::vector<std::uint32_t> order,
           Locations locations)
      : tracks_(tracks),
        lists_(lists),
        order_(std::move(order)),
        locations_(std::move(locations)) {}

  std::size_t size() const noexcept { return order_.size(); }
  TrackView At(std::size_t index) const { return tracks_.Get(order_[index]); }

  // The file of a track as a path; its ident when the library names no file.
  std::string PathOf(const TrackView& track);
  // The file of a track as a URI; "" when the library names none.
  std::string UriOf(const TrackView& track);

  // Names of list elements, in the language of the lists. Unknown ids have none.
  std::string NameOf(ListKind kind, std::uint32_t id);
  std::vector<std::string> NamesOf(ListKind kind, std::span<const std::uint32_t> ids);

 private:
  const TrackStore& tracks_;
  NameLists& lists_;
  std::vector<std::uint32_t> order_;
  Locations locations_;
};

// "a, b"
std::string Join(const std::vector<std::string>& texts, std::string_view separator);

}  // namespace trova_cli

#endif
