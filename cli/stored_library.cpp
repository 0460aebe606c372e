// StoredLibrary: the catalogue knows most tracks; what it does not, the collection itself tells.
#include "stored_library.h"

#include <utility>

#include "data_view.h"
#include "stored_collections.h"

namespace trova_cli {

StoredLibrary::StoredLibrary(const std::optional<std::string>& name, Store& store)
    : store_(store),
      name_(ChooseCollection(name, store.path())),
      number_(store.catalogue().Find(name_).value_or(0)) {}

void StoredLibrary::Read(NameLists&) {
  collection_ = RequireCollection(name_);
}

std::uint32_t StoredLibrary::IndexOf(const char* ident) {
  const std::uint32_t number = idents_.Intern(ident);
  if (number == places_.size()) places_.push_back(Look(ident));
  return places_[number];
}

std::uint32_t StoredLibrary::Look(const std::string& ident) {
  CatalogueRow row;
  if (auto known = store_.catalogue().Get(number_, ident)) {
    row = std::move(*known);
  } else {
    row = TrackOfView(collection(), ident);
  }
  const std::optional<std::uint32_t> place = tracks_.Find(row.track.ident);
  return place ? *place : tracks_.Add(row.track, row.ids);
}

std::optional<std::string> StoredLibrary::IdentOf(const std::string& name) {
  if (auto ident = store_.catalogue().IdentOf(number_, name)) return ident;
  KnownTracks& known = Uncatalogued();
  const std::optional<std::uint32_t> index = known.FindIdent(name);
  if (!index || !known[*index].in_collection) return std::nullopt;
  return name;
}

void StoredLibrary::ForEach(const Visitor& visit) {
  store_.catalogue().ForEach(number_, TrackState::kHeld, [&](const CatalogueRow& row) {
    visit(row.ident.c_str(), ViewOf(row.track, row.ids));
  });
  KnownTracks& known = Uncatalogued();
  for (std::uint32_t i = 0; i < known.size(); ++i) {
    if (!known[i].in_collection || known[i].in_catalogue) continue;
    const CatalogueRow row = TrackOfView(collection(), known.Ident(i));
    visit(row.ident.c_str(), ViewOf(row.track, row.ids));
  }
}

KnownTracks& StoredLibrary::Uncatalogued() {
  if (uncatalogued_) return *uncatalogued_;
  uncatalogued_.emplace();
  std::uint32_t count = 0;
  Check(trova_playlist_collection_ident_count(collection(), &count), "count the tracks");
  if (store_.catalogue().Count(number_, TrackState::kHeld) < count) {
    uncatalogued_->Load(store_.catalogue(), number_);
    uncatalogued_->Compare(collection());
  }
  return *uncatalogued_;
}

}  // namespace trova_cli
