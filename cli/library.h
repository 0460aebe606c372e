// Library: where the tracks of a playlist come from.
#ifndef TROVA_CLI_LIBRARY_H
#define TROVA_CLI_LIBRARY_H

#include <cstdint>
#include <functional>
#include <optional>
#include <string>

#include "handles.h"
#include "name_lists.h"
#include "track_store.h"

namespace trova_cli {

// Every function throws CommandError when the library cannot be read.
class Library {
 public:
  virtual ~Library() = default;

  // Makes the collection ready, and says what it leaves out.
  virtual void Read(NameLists& lists) = 0;

  // Null until Read().
  trova_playlist_collection* collection() const noexcept { return collection_.get(); }
  // Tracks as they are shown: those at least that IndexOf() was asked for.
  const TrackStore& tracks() const noexcept { return tracks_; }

  // The place in tracks() of the one that the collection calls `ident`.
  virtual std::uint32_t IndexOf(const char* ident) = 0;
  // What the collection calls the track that the user calls `name`.
  virtual std::optional<std::string> IdentOf(const std::string& name) = 0;
  // Hands over every track, with what the collection calls it. Both are valid during the call.
  using Visitor = std::function<void(const char* ident, const TrackView& track)>;
  virtual void ForEach(const Visitor& visit) = 0;

 protected:
  Collection collection_;
  TrackStore tracks_;
};

}  // namespace trova_cli

#endif
