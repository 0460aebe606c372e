// Import: everything is read before anything is stored.
#include "import.h"

#include <algorithm>

#include "error.h"
#include "interrupt.h"
#include "stored_collections.h"
#include "track_description.h"
#include "track_ident.h"

namespace trova_cli {
namespace {

// Other processes wait for the end of a transaction, and not for ever.
constexpr std::uint32_t kRowsPerTransaction = 50'000;

CatalogueRow RowOf(const std::string& ident, const TrackView& view) {
  CatalogueRow row;
  row.ident = ident;
  row.track = {.ident = view.ident,
               .path = view.path,
               .title = view.title,
               .artist = view.artist,
               .album_artist = view.album_artist,
               .albums = {view.albums.begin(), view.albums.end()},
               .genres = {},
               .moods = {},
               .origin = {},
               .artist_type = {},
               .year = view.year,
               .bpm = view.bpm,
               .seconds = view.seconds};
  row.ids = {.genres = {view.genres.begin(), view.genres.end()},
             .moods = {view.moods.begin(), view.moods.end()},
             .era = view.era,
             .origin = view.origin,
             .artist_type = view.artist_type};
  return row;
}

}  // namespace

void Import::Read(TrackReader& reader) {
  reader.Read([&](Track& track) {
    if (Interrupted()) throw CommandError("interrupted; nothing was changed");
    Add(track);
  });
}

// A track whose ident came before adds its genres to the first; nothing else of it is taken.
void Import::Add(const Track& track) {
  const TrackIds ids = mapper_.Map(track);
  if (const std::optional<std::uint32_t> known = tracks_.Find(track.ident)) {
    const std::string ident = IdentOf(*known);
    const bool was_held = Holds(ident);
    CaptureGenres(collection_.get(), ident.c_str(), tracks_.AddGenres(*known, ids.genres));
    if (!was_held && Holds(ident)) --left_out_;
    return;
  }
  const std::uint32_t index = tracks_.Add(track, ids);
  for (int number = 2; Holds(IdentOf(index)); ++number) {
    other_idents_[index] = IdentVariant(track.ident, number);
  }
  const std::string ident = IdentOf(index);
  CaptureTrack(collection_.get(), ident.c_str(), tracks_.Get(index));
  if (!Holds(ident)) ++left_out_;
}

bool Import::Holds(const std::string& ident) const {
  return IdentExists(collection_.get(), ident.c_str());
}

std::string Import::IdentOf(std::uint32_t index) const {
  const auto other = other_idents_.find(index);
  return other == other_idents_.end() ? tracks_.Get(index).ident : other->second;
}

// A disk that is full, or a process that ends, leaves what there was.
void Import::StoreIn(Store& store) {
  const Store::Locked locked = store.Lock(name_);
  store.Replace(name_, collection_, [&](std::int64_t rows) { PutRows(store.catalogue(), rows); });
}

void Import::PutRows(Catalogue& catalogue, std::int64_t number) {
  for (std::uint32_t i = 0; i < tracks_.size();) {
    Transaction transaction(catalogue.database());
    const std::uint32_t end = std::min(tracks_.size(), i + kRowsPerTransaction);
    for (; i < end; ++i) {
      const std::string ident = IdentOf(i);
      if (Holds(ident)) catalogue.Put(number, RowOf(ident, tracks_.Get(i)));
    }
    transaction.Commit();
  }
}

}  // namespace trova_cli
