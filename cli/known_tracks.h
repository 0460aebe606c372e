// KnownTracks: what a collection holds, what the catalogue says of it, and what a scan finds.
#ifndef TROVA_CLI_KNOWN_TRACKS_H
#define TROVA_CLI_KNOWN_TRACKS_H

#include <trova_playlist.h>

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "catalogue.h"
#include "text_pool.h"

namespace trova_cli {

struct KnownTrack {
  std::uint32_t ident;  // these are numbers of texts
  std::uint32_t path;
  std::uint32_t row_ident;  // the ident as the catalogue has it
  FileStamp stamp;
  TrackState state = TrackState::kHeld;
  bool in_catalogue = false;  // state and stamp are the catalogue's
  bool in_collection = false;
  bool taken_out = false;  // of the collection, which still knows its ident
  bool found = false;      // by the scan
  bool queued = false;     // for capture
};

class KnownTracks {
 public:
  void Load(Catalogue& catalogue, std::int64_t collection);
  // Looks up which tracks a collection holds; the ones that are not known yet are added.
  void Compare(trova_playlist_collection* collection);

  std::uint32_t size() const noexcept { return static_cast<std::uint32_t>(tracks_.size()); }
  KnownTrack& operator[](std::uint32_t index) { return tracks_[index]; }
  // Valid until a track or an ident is added.
  const char* Ident(std::uint32_t index) const { return texts_.Get(tracks_[index].ident); }
  const char* Path(std::uint32_t index) const { return texts_.Get(tracks_[index].path); }
  const char* RowIdent(std::uint32_t index) const { return texts_.Get(tracks_[index].row_ident); }

  std::optional<std::uint32_t> FindPath(std::string_view path) const;
  std::optional<std::uint32_t> FindIdent(std::string_view ident) const;
  std::uint32_t AddFile(const std::string& path);
  // Gives a track that the collection does not hold an ident that is no other's there.
  void ClaimIdent(std::uint32_t index, trova_playlist_collection* collection);

 private:
  std::uint32_t Add(const std::string& ident, const std::string& path);
  void SetIdent(std::uint32_t index, const std::string& ident);
  static void Note(std::vector<std::uint32_t>& places, std::uint32_t text, std::uint32_t index);

  TextPool texts_;
  std::vector<KnownTrack> tracks_;
  std::vector<std::uint32_t> by_ident_;  // by number of text: index plus 1, or 0
  std::vector<std::uint32_t> by_path_;
};

}  // namespace trova_cli

#endif
