// Store: the file of the stored collections, open: the library's side of it and the command's.
#ifndef TROVA_CLI_STORE_H
#define TROVA_CLI_STORE_H

#include <cstdint>
#include <functional>
#include <memory>
#include <string>

#include "catalogue.h"
#include "collection_lock.h"
#include "console.h"
#include "handles.h"

namespace trova_cli {

enum class StoreUse {
  kRead,    // the file must be there
  kChange,  // the same, and is written
  kWrite,   // the file and its folder are made when they are not there
  kDryRun,  // as for writing, but nothing is written: a file that is not there is an empty one
};

class Store {
 public:
  // Starts the engine with it. Throws CommandError when the file cannot be used.
  // @param console  outlives the store
  Store(const std::string& path, StoreUse use, Console& console);

  const std::string& path() const noexcept { return path_; }
  Catalogue& catalogue() noexcept { return catalogue_; }

  // Of the collection of this name, which need not be stored yet.
  struct Locked {
    std::int64_t number;  // in the catalogue
    std::unique_ptr<CollectionLock> lock;
  };
  // The right to change a collection; see CollectionLock.
  Locked Lock(const std::string& name);

  // Stores the collection under its name, which is locked, with the rows that `put_rows` puts into
  // the catalogue's collection of that number. What takes room comes first: where it fails, the old
  // collection and its rows are as they were.
  void Replace(const std::string& name, const Collection& collection,
               const std::function<void(std::int64_t number)>& put_rows);

 private:
  void DropQuietly(const std::string& name);

  const std::string path_;
  Console& console_;
  const std::string file_;  // ":memory:" for one that is not there
  Engine engine_;
  Catalogue catalogue_;
};

}  // namespace trova_cli

#endif
