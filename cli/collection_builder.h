// CollectionBuilder: puts tracks into a collection of the playlist library.
#ifndef TROVA_CLI_COLLECTION_BUILDER_H
#define TROVA_CLI_COLLECTION_BUILDER_H

#include <cstddef>

#include "handles.h"
#include "name_mapper.h"
#include "track_store.h"

namespace trova_cli {

class CollectionBuilder {
 public:
  // The three outlive the builder.
  CollectionBuilder(trova_playlist_collection* collection, NameMapper& mapper, TrackStore& tracks)
      : collection_(collection), mapper_(mapper), tracks_(tracks) {}

  // A track whose ident came before adds its genres to the first; nothing else of it is taken.
  // Throws CommandError when the library or the manager fails.
  void Add(const Track& track);

  // How many tracks the collection left out, because they carry nothing that an attribute reads.
  std::size_t left_out() const;

 private:
  trova_playlist_collection* collection_;
  NameMapper& mapper_;
  TrackStore& tracks_;
};

}  // namespace trova_cli

#endif
