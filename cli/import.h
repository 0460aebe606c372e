// Import: a stored collection made of the tracks of a table.
#ifndef TROVA_CLI_IMPORT_H
#define TROVA_CLI_IMPORT_H

#include <cstddef>
#include <cstdint>
#include <string>
#include <unordered_map>

#include "catalogue.h"
#include "handles.h"
#include "name_mapper.h"
#include "store.h"
#include "track_reader.h"
#include "track_store.h"

namespace trova_cli {

class Import {
 public:
  // @param collection  its name
  // @param mapper      outlives the import
  Import(const std::string& collection, NameMapper& mapper)
      : name_(collection), mapper_(mapper), collection_(MakeCollection(collection)) {}

  // Throws CommandError when nothing can be read, or on an interrupt.
  void Read(TrackReader& reader);

  // Replaces what is stored under the name.
  void StoreIn(Store& store);

  // That the collection holds.
  std::size_t tracks() const noexcept { return tracks_.size() - left_out_; }
  // That have nothing an attribute reads.
  std::size_t left_out() const noexcept { return left_out_; }

 private:
  void Add(const Track& track);
  bool Holds(const std::string& ident) const;
  std::string IdentOf(std::uint32_t index) const;
  void PutRows(Catalogue& catalogue, std::int64_t number);

  const std::string name_;
  NameMapper& mapper_;
  Collection collection_;
  TrackStore tracks_;
  // By index, where the ident of a track has the hash of another's.
  std::unordered_map<std::uint32_t, std::string> other_idents_;
  std::size_t left_out_ = 0;
};

}  // namespace trova_cli

#endif
