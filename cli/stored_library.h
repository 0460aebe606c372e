// StoredLibrary: a stored collection. Of its tracks only those are looked up that are shown.
#ifndef TROVA_CLI_STORED_LIBRARY_H
#define TROVA_CLI_STORED_LIBRARY_H

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "known_tracks.h"
#include "library.h"
#include "store.h"
#include "text_pool.h"

namespace trova_cli {

class StoredLibrary : public Library {
 public:
  // Throws CommandError when there is no such collection.
  // @param name   nothing stands for the default collection; see ChooseCollection()
  // @param store  outlives the library
  StoredLibrary(const std::optional<std::string>& name, Store& store);

  const std::string& name() const noexcept { return name_; }

  void Read(NameLists& lists) override;
  std::uint32_t IndexOf(const char* ident) override;
  std::optional<std::string> IdentOf(const std::string& name) override;
  void ForEach(const Visitor& visit) override;

 private:
  // The tracks of a collection that came from elsewhere; nothing where the catalogue has them all.
  KnownTracks& Uncatalogued();
  std::uint32_t Look(const std::string& ident);

  Store& store_;
  std::string name_;
  std::int64_t number_;  // in the catalogue; 0, which no collection has, when it is not there
  TextPool idents_;      // that were looked up
  std::vector<std::uint32_t> places_;  // in tracks(), by number of ident
  std::optional<KnownTracks> uncatalogued_;
};

}  // namespace trova_cli

#endif
